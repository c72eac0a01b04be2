// Seeing that someone waits for the camera list's lock. The kernel lists
// every flock request that is blocked in /proc/locks, with the process that
// made it and the inode of the file; a test reads that to know for certain
// that an Open or DeleteStore with wait is blocked, instead of guessing with
// a sleep. Only plain system calls and strings are used, so a forked child
// may call these too.
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <string>

namespace zandb4::testing {

// The inode of the file at path, or 0 when it cannot be read.
inline uint64_t InodeOf(const char* path) {
    struct stat status {};
    if (::stat(path, &status) != 0) return 0;
    return static_cast<uint64_t>(status.st_ino);
}

// Whether /proc/locks shows a blocked flock request that process pid made on
// the file with this inode. Such a line reads, e.g.,
// "2: -> FLOCK  ADVISORY  WRITE 8060 fe:00:10953256 0 EOF".
inline bool HasBlockedFlockRequest(pid_t pid, uint64_t inode) {
    int fd = ::open("/proc/locks", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    std::string text;
    char buffer[4096];
    ssize_t got;
    while ((got = ::read(fd, buffer, sizeof(buffer))) > 0) text.append(buffer, static_cast<size_t>(got));
    ::close(fd);

    const std::string pidField = " " + std::to_string(pid) + " ";
    const std::string inodeField = ":" + std::to_string(inode) + " ";
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.find(" -> FLOCK ") == std::string::npos) continue;
        if (line.find(pidField) != std::string::npos && line.find(inodeField) != std::string::npos) return true;
    }
    return false;
}

// Looks until such a blocked request shows up, for at most timeoutMs
// milliseconds. True once it is seen.
inline bool WaitForBlockedFlockRequest(pid_t pid, uint64_t inode, int timeoutMs) {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t deadline = now.tv_sec * 1000 + now.tv_nsec / 1000000 + timeoutMs;
    for (;;) {
        if (HasBlockedFlockRequest(pid, inode)) return true;
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        if (now.tv_sec * 1000 + now.tv_nsec / 1000000 > deadline) return false;
        ::sched_yield();
    }
}

}  // namespace zandb4::testing
