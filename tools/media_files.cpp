// The extensions taken by "zandb4 import" and the walk over its folders.
#include "media_files.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

// file_format numbers: 1 to 15 pictures, 16 and up movies.
constexpr MediaKind kKinds[] = {
    {"jpg", 1, false, true},  {"jpeg", 1, false, true},  {"jpe", 1, false, true},   {"tif", 2, false, true},
    {"tiff", 2, false, true}, {"png", 3, false, true},   {"heic", 4, false, false}, {"heif", 4, false, false},
    {"orf", 5, false, true},  {"cr2", 5, false, true},   {"cr3", 5, false, false},  {"nef", 5, false, true},
    {"arw", 5, false, true},  {"rw2", 5, false, true},   {"dng", 5, false, true},   {"raf", 5, false, true},
    {"pef", 5, false, true},  {"srw", 5, false, true},   {"gif", 6, false, true},   {"bmp", 7, false, true},
    {"webp", 8, false, true}, {"mp4", 16, true, false},  {"m4v", 16, true, false},  {"mov", 16, true, false},
    {"3gp", 16, true, false}, {"avi", 17, true, false},  {"mts", 18, true, false},  {"m2ts", 18, true, false},
    {"mpg", 19, true, false}, {"mpeg", 19, true, false}, {"mkv", 20, true, false},  {"wmv", 21, true, false},
};

std::string Lower(std::string_view text) {
    std::string lower(text);
    // Extensions are ASCII; bytes of other letters stay as they are.
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

void Look(const fs::path& folder, bool recursive, FolderWalk& walk, std::set<std::string>& found) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        walk.unreadable.emplace_back(folder.string(), error.message());
        return;
    }
    std::vector<fs::path> subfolders;
    for (fs::directory_iterator end; entries != end; entries.increment(error)) {
        if (error) {
            walk.unreadable.emplace_back(folder.string(), error.message());
            break;
        }
        const fs::directory_entry& entry = *entries;
        std::error_code kindError;
        if (entry.is_symlink(kindError) && entry.is_directory(kindError)) continue;
        if (entry.is_directory(kindError)) {
            if (recursive) subfolders.push_back(entry.path());
            continue;
        }
        if (!entry.is_regular_file(kindError)) {
            if (kindError) walk.unreadable.emplace_back(entry.path().string(), kindError.message());
            continue;
        }
        std::string name = entry.path().filename().string();
        if (MediaKindOf(name) == nullptr) {
            ++walk.otherFiles;
            continue;
        }
        found.insert(entry.path().string());
    }
    std::sort(subfolders.begin(), subfolders.end());
    for (const fs::path& subfolder : subfolders) Look(subfolder, recursive, walk, found);
}

}  // namespace

const MediaKind* MediaKindOf(std::string_view fileName) {
    size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return nullptr;
    std::string extension = Lower(fileName.substr(dot + 1));
    for (const MediaKind& kind : kKinds)
        if (kind.extension == extension) return &kind;
    return nullptr;
}

std::string FormatNumbers() {
    return "1 JPEG, 2 TIFF, 3 PNG, 4 HEIF, 5 camera raw, 6 GIF, 7 BMP, 8 WebP,\n"
           "16 MP4/MOV/3GP, 17 AVI, 18 MTS/M2TS, 19 MPEG, 20 MKV, 21 WMV";
}

FolderWalk WalkFolders(const std::vector<std::string>& folders, bool recursive) {
    FolderWalk walk;
    std::set<std::string> found;
    for (const std::string& folder : folders) Look(folder, recursive, walk, found);
    walk.files.assign(found.begin(), found.end());
    return walk;
}

}  // namespace zandb4::tool
