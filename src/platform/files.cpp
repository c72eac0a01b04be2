// Files and folders on POSIX: stat, statx, unlink, rmdir, rename, fsync,
// mkdir, opendir, dladdr.
#include "platform/files.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace zandb4::platform {

uint32_t GetFileAttributes(const std::string& path) {
    struct stat info;
    if (path.empty() || ::stat(path.c_str(), &info) != 0) return kInvalidFileAttributes;
    return S_ISDIR(info.st_mode) ? kAttributeDirectory : kAttributeNormal;
}

bool PathFileExists(const std::string& path) {
    struct stat info;
    return !path.empty() && ::stat(path.c_str(), &info) == 0;
}

bool GetFileStatus(const std::string& path, FileStatus& status) {
    if (path.empty()) return false;
    struct statx info {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME | STATX_SIZE, &info) != 0) return false;
    status.size = info.stx_size;
    status.isBirthTime = (info.stx_mask & STATX_BTIME) != 0;
    status.creationTime = status.isBirthTime ? info.stx_btime.tv_sec : info.stx_mtime.tv_sec;
    return true;
}

bool DeleteFile(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool RemoveDirectory(const std::string& path) { return ::rmdir(path.c_str()) == 0; }

bool RenameFile(const std::string& from, const std::string& to) { return ::rename(from.c_str(), to.c_str()) == 0; }

namespace {

// Opens path with flags and fsyncs it; an interrupted open or fsync is tried
// again.
bool SyncPath(const std::string& path, int flags) {
    int descriptor;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return false;
    int synced;
    do {
        synced = ::fsync(descriptor);
    } while (synced != 0 && errno == EINTR);
    ::close(descriptor);
    return synced == 0;
}

}  // namespace

bool SyncFile(const std::string& path) { return SyncPath(path, O_RDONLY); }

bool SyncFolder(const std::string& folder) { return SyncPath(folder, O_RDONLY | O_DIRECTORY); }

bool MakeSureDirectoryPathExists(const std::string& path) {
    size_t last = path.rfind('/');
    if (last == std::string::npos) return true;
    bool ok = true;
    for (size_t slash = path.find('/', 1); slash != std::string::npos && slash <= last; slash = path.find('/', slash + 1)) {
        std::string folder = path.substr(0, slash);
        if (folder.empty() || folder.back() == '/') continue;
        if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) ok = false;
    }
    struct stat info;
    std::string deepest = path.substr(0, last == 0 ? 1 : last);
    return ok && ::stat(deepest.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool ListFolder(const std::string& folder, std::vector<FolderEntry>& entries) {
    entries.clear();
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) return false;
    while (struct dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat info;
        std::string path = folder.empty() || folder.back() == '/' ? folder + name : folder + "/" + name;
        bool isFolder = ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
        entries.push_back({std::move(name), isFolder});
    }
    ::closedir(dir);
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return true;
}

std::string LibraryFolder() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&LibraryFolder), &info) == 0 || info.dli_fname == nullptr) return {};
    std::string path = info.dli_fname;
    if (path.find('/') != std::string::npos && path.front() != '/') {
        // A library or program started by a relative path: make it absolute
        // while the working folder is still the one it was found from.
        char* absolute = ::realpath(path.c_str(), nullptr);
        if (absolute != nullptr) {
            path = absolute;
            std::free(absolute);
        }
    }
    if (path.find('/') == std::string::npos) {
        // A bare name means the main program; ask the process for its own path.
        char buffer[4096];
        ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
        if (length <= 0) return {};
        path.assign(buffer, static_cast<size_t>(length));
    }
    size_t slash = path.rfind('/');
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

}  // namespace zandb4::platform
