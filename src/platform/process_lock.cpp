// ProcessLock on flock(2).
#include "platform/process_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <vector>

namespace zandb4::platform {
namespace {

std::mutex& FolderMutex() {
    static std::mutex mutex;
    return mutex;
}

std::string& FolderOverride() {
    static std::string folder;
    return folder;
}

std::vector<std::unique_ptr<ProcessLock>>& KeptLocks() {
    static std::vector<std::unique_ptr<ProcessLock>> locks;
    return locks;
}

}  // namespace

void ProcessLock::KeepUntilExit(std::unique_ptr<ProcessLock> lock) {
    std::lock_guard<std::mutex> guard(FolderMutex());
    KeptLocks().push_back(std::move(lock));
}

ProcessLock::~ProcessLock() { Release(); }

std::string ProcessLock::LockFolder() {
    {
        std::lock_guard<std::mutex> guard(FolderMutex());
        if (!FolderOverride().empty()) return FolderOverride();
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] != '\0') return runtime;
    return "/tmp";
}

void ProcessLock::SetLockFolderForTesting(const std::string& folder) {
    std::lock_guard<std::mutex> guard(FolderMutex());
    FolderOverride() = folder;
}

ProcessLock::Outcome ProcessLock::Acquire(const std::string& name, bool wait) {
    Release();
    std::string path = LockFolder() + "/" + name + ".lock";
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    // The file may belong to another user, as in a /tmp shared by every
    // user: the umask left it without write access for others, and a sticky
    // folder refuses O_CREAT on another's file. A flock needs no write
    // access, so the lock is taken on the file opened for reading: the two
    // users still exclude each other.
    if (fd < 0 && errno == EACCES) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return Outcome::kFailed;
    int result;
    do {
        result = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        if (errno != EWOULDBLOCK || !wait) {
            bool busy = errno == EWOULDBLOCK;
            ::close(fd);
            return busy ? Outcome::kBusy : Outcome::kFailed;
        }
        do {
            result = ::flock(fd, LOCK_EX);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            ::close(fd);
            return Outcome::kFailed;
        }
    }
    m_fd = fd;
    return Outcome::kAcquired;
}

void ProcessLock::Release() {
    if (m_fd < 0) return;
    ::flock(m_fd, LOCK_UN);
    ::close(m_fd);
    m_fd = -1;
}

}  // namespace zandb4::platform
