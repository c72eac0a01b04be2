// "zandb4 ls": the catalogue's files, searched through the library's query
// tree and listed one line per file.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace zandb4::tool {

// One --where condition, checked and parsed.
struct Condition {
    enum class Kind { kFormat, kDay, kDayRange, kFavorite, kPathPrefix, kAlbum };
    Kind kind;
    uint64_t number = 0;      // format or album id; favourite as 0 or 1
    uint16_t from[3] = {};    // year, month, day
    uint16_t to[3] = {};
    std::string text;         // path prefix
};

// Parses "KEY=VALUE": format=N, date=YYYY-MM-DD, date=YYYY-MM-DD..YYYY-MM-DD,
// favorite=yes|no, path=PREFIX, album=ID. False with a message in error when
// the condition is not one of these.
bool ParseCondition(const std::string& text, Condition& condition, std::string& error);

// Lists the files of the catalogue under root that meet every condition,
// oldest first, as "id<TAB>date<TAB>format<TAB>favourite<TAB>album<TAB>path<TAB>name".
// Answers the tool's exit code; messages go to err.
int ListFiles(const std::string& root, const std::vector<Condition>& conditions, std::ostream& out,
              std::ostream& err);

}  // namespace zandb4::tool
