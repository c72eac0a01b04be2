// The output of "zandb4 ls": the files found, as tab-separated text (one
// line per file: id, shooting date, format, favourite, album, path, name) or
// as a JSON array of objects with the same fields.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "catalogue_search.h"

namespace zandb4::tool {

// "YYYY-MM-DD HH:MM:SS" of a packed date; empty for 0 (no date).
std::string DateText(int64_t packed);

// One line per file; the date is "-" when there is none, the favourite 0 or
// 1; path and name escaped as every text field is.
void PrintFilesText(const std::vector<FileRow>& files, std::ostream& out);
// [{"id": 1, "date": "2024-03-07 10:00:00", "format": 3, "favorite": false,
// "album": 7, "path": "...", "name": "..."}, ...]; the date is null when
// there is none.
void PrintFilesJson(const std::vector<FileRow>& files, std::ostream& out);

}  // namespace zandb4::tool
