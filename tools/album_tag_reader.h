// The tags and albums of a catalogue for the zandb4 tool, read through the
// library's tag and album managers on its read-only start: for "zandb4 tags"
// and "zandb4 albums", and to turn the names of "ls --where tag=NAME" and
// "album=NAME" into ids.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zandb4/types.h"

namespace zandb4::tool {

struct TagRow {
    uint64_t id = 0;
    std::string name;  // UTF-8
    uint32_t type = 0;
    int64_t files = 0;  // links in tag_file_table
};

struct AlbumRow {
    uint64_t id = 0;
    std::string name;  // UTF-8
    uint32_t files = 0;  // managed files, as the album row holds it
    int64_t oldest = 0;  // packed shooting dates; 0 for none
    int64_t latest = 0;
    float latitude = 0;
    float longitude = 0;
    std::string areaInfo;  // UTF-8; empty for none
};

// What a read of the catalogue's tags or albums came to. On a read that did
// not succeed the lists are empty.
struct LabelsResult {
    enum class Outcome {
        kRead,         // tags or albums holds every row, possibly none
        kStartFailed,  // the read-only start answered result
        kReadFailed,   // the catalogue could not be read: reason
    };
    Outcome outcome = Outcome::kRead;
    HRESULT result = S_OK;
    std::string reason;
    std::vector<TagRow> tags;
    std::vector<AlbumRow> albums;
};

// Starts the library read-only on root, reads every tag (in the table's
// order, each with its count of file links) or every album (oldest first)
// and stops it again. Nothing on disk is made or changed.
LabelsResult ReadTags(const std::string& root, int busyMilliseconds);
LabelsResult ReadAlbums(const std::string& root, int busyMilliseconds);

// With the library up (read-only start), inside the read transaction the
// caller holds on the catalogue (tool_access::CatalogueRead, which also
// holds the catalogue's lock): every tag through the tag manager
// (with file counts when countFiles), every album through the album manager.
// The number of rows is counted alongside, so that a list cut short by a lock
// or damage is a failure, not a shorter list. Answer SQLITE_OK, or the SQLite
// code of the failure with reason set.
int ReadTagsOfStartedLibrary(bool countFiles, std::vector<TagRow>& tags, std::string& reason, int busyMilliseconds);
int ReadAlbumsOfStartedLibrary(std::vector<AlbumRow>& albums, std::string& reason, int busyMilliseconds);

}  // namespace zandb4::tool
