// The search of "zandb4 ls": the library started read-only on a catalogue,
// the conditions turned into the library's query tree, and the files found
// copied out as plain rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "conditions.h"
#include "zandb4/records.h"
#include "zandb4/types.h"

namespace zandb4::tool {

struct FileRow {
    uint64_t id = 0;
    int64_t shootingDate = 0;  // packed; 0 for none
    uint32_t format = 0;
    bool favorite = false;
    uint64_t album = 0;
    std::string path;  // UTF-8
    std::string name;
};

struct SearchResult {
    enum class Outcome {
        kFound,        // files holds every file found, possibly none
        kStartFailed,  // the read-only start answered result
        kQueryFailed,  // the query tree could not be built: result
        kReadFailed,   // the catalogue could not be read: reason
        kUnknownName,  // a tag or album name names no tag or album, or
                       // several albums: reason
    };
    Outcome outcome = Outcome::kFound;
    HRESULT result = S_OK;
    std::string reason;
    std::vector<FileRow> files;  // oldest first, then by name
};

// Starts the library read-only on root (nothing on disk is made or
// changed), lists the files that meet every condition and stops it again.
// Tag and album names are looked up through the library's managers, and
// the count of matching rows is read, in the same read transaction as the
// files, so a read cut short by a lock or damage is a kReadFailed, never a
// shorter list.
SearchResult SearchFiles(const std::string& root, const std::vector<Condition>& conditions, int busyMilliseconds);

// The row of a file record as the listings print it.
FileRow FileRowOf(IZanDB4FileDBRecord* record);

// The SQL condition that holds for the file paths starting with prefix,
// literally and case-sensitively: '%', '_' and '"' are plain characters,
// and an apostrophe is doubled inside the SQL literal.
std::string LiteralPathPrefixCondition(const std::string& prefix);

// The SQL condition that holds for the files linked to the tag.
std::string TagCondition(uint64_t tagId);

}  // namespace zandb4::tool
