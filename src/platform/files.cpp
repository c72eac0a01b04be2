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
#include <filesystem>
#include <functional>
#include <mutex>
#include <system_error>
#include <utility>

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

std::string RemoveFileSpec(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return {};
    // The root keeps its separator.
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string FindFileName(const std::string& path) {
    // A separator at the very end belongs to the last component, so the
    // search starts before it.
    size_t end = path.size();
    if (end > 1 && path[end - 1] == '/') --end;
    size_t slash = end == 0 ? std::string::npos : path.rfind('/', end - 1);
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

namespace {

// The error number of a failed file system call, never 0.
int ErrorNumberOf(const std::error_code& error) {
    return error.value() != 0 ? error.value() : EIO;
}

std::mutex& CopyFaultMutex() {
    static std::mutex mutex;
    return mutex;
}
std::function<int(const std::string&, const std::string&)>& CopyFault() {
    static std::function<int(const std::string&, const std::string&)> fault;
    return fault;
}

}  // namespace

void SetCopyFaultForTesting(std::function<int(const std::string& from, const std::string& target)> fault) {
    std::lock_guard<std::mutex> guard(CopyFaultMutex());
    CopyFault() = std::move(fault);
}

int ShellCopy(const std::string& from, const std::string& toFolder) {
    namespace fs = std::filesystem;
    std::error_code error;
    // A missing target folder is made, as the shell makes it without asking;
    // a failure shows in the copy below.
    fs::create_directories(toFolder, error);
    std::string name = FindFileName(from);
    while (name.size() > 1 && name.back() == '/') name.pop_back();
    fs::path target = fs::path(toFolder) / name;
    {
        std::lock_guard<std::mutex> guard(CopyFaultMutex());
        if (CopyFault()) {
            if (int failed = CopyFault()(from, target.string()); failed != 0) return failed;
        }
    }
    error.clear();
    fs::file_status source = fs::status(from, error);
    if (error) return ErrorNumberOf(error);
    if (fs::is_directory(source))
        fs::copy(from, target, fs::copy_options::recursive | fs::copy_options::overwrite_existing, error);
    else
        fs::copy_file(from, target, fs::copy_options::overwrite_existing, error);
    return error ? ErrorNumberOf(error) : 0;
}

int ShellRename(const std::string& from, const std::string& to) {
    std::error_code error;
    std::filesystem::rename(from, to, error);
    return error ? ErrorNumberOf(error) : 0;
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
