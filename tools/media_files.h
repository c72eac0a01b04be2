// Which files "zandb4 import" takes, and the walk over the folders that
// finds them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zandb4::tool {

// A kind of file taken by its extension (compared without case).
struct MediaKind {
    std::string_view extension;  // without the dot, lower case
    uint32_t format;             // the file_format the catalogue keeps
    bool movie;
    // Whether libexiv2 must recognise the file for it to be taken: true for
    // the picture formats it reads; false for movies and formats it may not
    // read, which are taken with what the file system tells.
    bool mustBeRecognised;
};

// The kind of a file name by its extension; null when none is taken.
const MediaKind* MediaKindOf(std::string_view fileName);

// "1 JPEG, 2 TIFF, ...", for the help text: two lines, the first to follow
// "File formats: " within 80 columns.
std::string FormatNumbers();

struct FolderWalk {
    std::vector<std::string> files;  // absolute paths, sorted, each once
    // Files and folders that could not be looked at, with the reason.
    std::vector<std::pair<std::string, std::string>> unreadable;
    uint64_t otherFiles = 0;  // regular files of no kind taken
};

// The regular files of the kinds taken in folders (absolute paths of
// existing folders), and in their subfolders when recursive. Symbolic links
// to files are followed; links to folders are not entered, so a loop of
// links cannot trap the walk.
FolderWalk WalkFolders(const std::vector<std::string>& folders, bool recursive);

}  // namespace zandb4::tool
