// Files and folders. Paths are UTF-8 with '/' as the separator.
#pragma once

#include <cstdint>
#include <functional>
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

// What the status of a file tells: when it was made, in whole seconds since
// 1970 UTC, and its size in bytes.
struct FileStatus {
    int64_t creationTime = 0;
    uint64_t size = 0;
    // Whether creationTime is the file system's birth time. Linux keeps one
    // only on some file systems (statx's STATX_BTIME); where it has none, the
    // modification time stands in and this is false.
    bool isBirthTime = false;
};

// The status of the file at path (links followed). False when it cannot be
// asked, as for a path that does not exist; status is then left as it was.
bool GetFileStatus(const std::string& path, FileStatus& status);
bool DeleteFile(const std::string& path);
bool RemoveDirectory(const std::string& path);

// rename(2): moves from to to, replacing a file already there. Both must lie
// on one file system, where the move is atomic: a reader sees the old name
// or the new one, never a file half moved.
bool RenameFile(const std::string& from, const std::string& to);

// Forces the file's contents to the disk (fsync). False when it cannot be
// opened or the disk reports an error, in which case the contents may not
// have reached it.
bool SyncFile(const std::string& path);

// Forces the folder's entries to the disk (fsync of the folder), which makes
// a file made or renamed in it survive a power loss under its new name.
// False when it cannot be opened or the file system refuses.
bool SyncFolder(const std::string& folder);

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

// The path less its last component and the '/' before it: "/a/b" gives
// "/a", "/a/b/" gives "/a/b", "/a" gives "/" (the root stays), and a path
// without any '/' gives "".
std::string RemoveFileSpec(const std::string& path);
// The last component of the path: what follows its last '/' that is not at
// the very end ("/a/b" gives "b", "/a/b/" gives "b/"), or the whole path
// without a '/'.
std::string FindFileName(const std::string& path);

// The shell's silent copy: from, a file or a folder with all its content,
// goes into the folder toFolder under its own name, replacing files of the
// same names there; toFolder is made when it is missing. Answers 0 on
// success, else the system's error number of the first failure (or EIO when
// there is none to tell); a failed copy may leave part of it in place.
int ShellCopy(const std::string& from, const std::string& toFolder);
// Test seam: while set, ShellCopy calls it first with the source and the
// path it would copy to; a non-zero answer becomes the copy's result and
// nothing is copied, so that a test can stand for a disk that fills up
// during a backup. An empty function restores the plain copy. Not exported.
void SetCopyFaultForTesting(std::function<int(const std::string& from, const std::string& target)> fault);
// The shell's silent rename of a file or folder from to to. 0 on success,
// else the system's error number.
int ShellRename(const std::string& from, const std::string& to);

// The folder that holds the library file itself (no trailing '/'), found
// with dladdr on a function of the library. Empty if it cannot be found.
std::string LibraryFolder();

}  // namespace zandb4::platform
