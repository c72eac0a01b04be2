// A named lock shared by every process of the machine: an exclusive flock on
// a lock file named after the lock, in $XDG_RUNTIME_DIR or /tmp. Each
// ProcessLock opens its own descriptor, so two holders exclude each other
// inside one process too. A holder that dies gives the lock up with its
// descriptor.
#pragma once

#include <memory>
#include <string>

namespace zandb4::platform {

class ProcessLock {
public:
    enum class Outcome {
        kAcquired,  // this object holds the lock now
        kBusy,      // someone else holds it and we did not wait
        kFailed,    // the lock file could not be opened, or waiting failed
    };

    ProcessLock() = default;
    ~ProcessLock();  // gives the lock up if held
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;

    // Takes the lock of that name. Without wait, a lock held elsewhere is
    // kBusy at once; with wait, blocks until the holder lets go.
    Outcome Acquire(const std::string& name, bool wait);
    void Release();
    bool IsHeld() const { return m_fd >= 0; }

    // Keeps a held lock, and its descriptor, until the process ends.
    static void KeepUntilExit(std::unique_ptr<ProcessLock> lock);

    // The folder that holds the lock files now.
    static std::string LockFolder();
    // Test seam: lock files go to folder instead; empty restores the default.
    static void SetLockFolderForTesting(const std::string& folder);

private:
    int m_fd = -1;
};

}  // namespace zandb4::platform
