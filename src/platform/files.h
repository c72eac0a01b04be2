// Files and folders. Paths are UTF-8 with '/' as the separator.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zandb4::platform {

inline constexpr uint32_t kInvalidFileAttributes = 0xFFFFFFFFu;
inline constexpr uint32_t kAttributeDirectory = 0x10u;
inline constexpr uint32_t kAttributeNormal = 0x80u;

// 0xFFFFFFFF for a path that does not exist (so the directory bit is set
// then too), 0x10 for a folder, 0x80 for anything else.
uint32_t GetFileAttributes(const std::string& path);
bool PathFileExists(const std::string& path);
bool DeleteFile(const std::string& path);
bool RemoveDirectory(const std::string& path);

// Makes every missing folder up to the last '/', mode 0777 before the umask.
// True when every folder on the way exists afterwards.
bool MakeSureDirectoryPathExists(const std::string& path);

struct FolderEntry {
    std::string name;
    bool isFolder;  // a real folder; a link to a folder counts as a file
};

// Every entry of folder but "." and "..", in ascending byte order of the
// name, so that walks and backups are deterministic. False if the folder
// cannot be read.
bool ListFolder(const std::string& folder, std::vector<FolderEntry>& entries);

// The folder that holds the library file itself (no trailing '/'), found
// with dladdr on a function of the library. Empty if it cannot be found.
std::string LibraryFolder();

}  // namespace zandb4::platform
