// The output of "zandb4 tags" and "zandb4 albums": one line per tag or
// album with tab-separated fields, escaped as every text field is, or a JSON
// array of objects with the same fields.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "album_tag_reader.h"
#include "command.h"

namespace zandb4::tool {

// The shortest decimal text that reads back as the same float: "35.6895".
std::string FloatText(float value);

// id, name, type, files
void PrintTagsText(const std::vector<TagRow>& tags, std::ostream& out);
// [{"id": 1, "name": "...", "type": 0, "files": 2}, ...]
void PrintTagsJson(const std::vector<TagRow>& tags, std::ostream& out);

// id, name, files, oldest date, latest date (each "-" for none), latitude,
// longitude, area info
void PrintAlbumsText(const std::vector<AlbumRow>& albums, std::ostream& out);
// [{"id": 1, "name": "...", "files": 2, "oldest": "2024-03-07 10:00:00",
// "latest": ..., "latitude": 35.5, "longitude": 139.25, "area": "..."}, ...];
// a date is null when there is none.
void PrintAlbumsJson(const std::vector<AlbumRow>& albums, std::ostream& out);

// The whole run of "zandb4 tags" (albums false) or "zandb4 albums": the
// catalogue checked, read read-only, printed as lines or with --json as JSON;
// none found is a note on standard error and still exit 0.
int RunLabelListing(const Invocation& invocation, bool albums);

}  // namespace zandb4::tool
