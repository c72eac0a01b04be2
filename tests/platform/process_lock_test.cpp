// platform/process_lock.h: the named lock shared by every process of the
// machine, an exclusive flock on "<name>.lock" in the lock folder. Each
// ProcessLock has its own descriptor, so two holders exclude each other in
// one process as well; a holder that dies gives the lock up.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "platform/process_lock.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

namespace fs = std::filesystem;
using zandb4::platform::ProcessLock;
using zandb4::testing::TempFolder;
using Outcome = ProcessLock::Outcome;

const char kName[] = "{DB9F83ED-CEFD-4DF9-AF69-3E7797E43CD1}ZanTethraDB";

// Sends lock files to a folder of the test's own and puts the default back
// when the test ends.
class LockFolderGuard {
public:
    explicit LockFolderGuard(const std::string& folder) { ProcessLock::SetLockFolderForTesting(folder); }
    ~LockFolderGuard() { ProcessLock::SetLockFolderForTesting(""); }
    LockFolderGuard(const LockFolderGuard&) = delete;
    LockFolderGuard& operator=(const LockFolderGuard&) = delete;
};

// Sets or clears an environment variable for one test.
class EnvironmentGuard {
public:
    EnvironmentGuard(const char* name, const char* value) : m_name(name) {
        const char* previous = std::getenv(name);
        m_had = previous != nullptr;
        if (m_had) m_previous = previous;
        if (value != nullptr)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    ~EnvironmentGuard() {
        if (m_had)
            ::setenv(m_name.c_str(), m_previous.c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    std::string m_name;
    std::string m_previous;
    bool m_had = false;
};

// Whether /proc/locks shows a process waiting for a lock on that file.
// 1 if so, 0 if not, -1 when /proc/locks cannot be read.
int SomeoneWaitsOn(const fs::path& file) {
    struct stat info;
    if (::stat(file.c_str(), &info) != 0) return 0;
    char id[64];
    std::snprintf(id, sizeof(id), " %02x:%02x:%lu ", ::major(info.st_dev), ::minor(info.st_dev),
                  static_cast<unsigned long>(info.st_ino));
    std::ifstream locks("/proc/locks");
    if (!locks) return -1;
    std::string line;
    while (std::getline(locks, line))
        if (line.find("->") != std::string::npos && (line + " ").find(id) != std::string::npos) return 1;
    return 0;
}

TEST(PlatformProcessLock, SeamSendsTheLockFileToTheGivenFolder) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock lock;

    Outcome outcome = lock.Acquire(kName, false);

    EXPECT_EQ(outcome, Outcome::kAcquired);
    EXPECT_EQ(ProcessLock::LockFolder(), temp.Utf8());
    EXPECT_TRUE(fs::is_regular_file(temp / (std::string(kName) + ".lock")));
}

TEST(PlatformProcessLock, DefaultFolderIsTheRuntimeFolder) {
    TempFolder temp;
    ProcessLock::SetLockFolderForTesting("");
    EnvironmentGuard runtime("XDG_RUNTIME_DIR", temp.Utf8().c_str());

    EXPECT_EQ(ProcessLock::LockFolder(), temp.Utf8());
}

TEST(PlatformProcessLock, DefaultFolderIsTmpWithoutARuntimeFolder) {
    ProcessLock::SetLockFolderForTesting("");
    {
        EnvironmentGuard runtime("XDG_RUNTIME_DIR", nullptr);
        EXPECT_EQ(ProcessLock::LockFolder(), "/tmp");
    }
    {
        EnvironmentGuard runtime("XDG_RUNTIME_DIR", "");
        EXPECT_EQ(ProcessLock::LockFolder(), "/tmp");
    }
}

TEST(PlatformProcessLock, EmptySeamFolderRestoresTheDefault) {
    TempFolder temp;
    EnvironmentGuard runtime("XDG_RUNTIME_DIR", nullptr);
    ProcessLock::SetLockFolderForTesting(temp.Utf8());
    ASSERT_EQ(ProcessLock::LockFolder(), temp.Utf8());

    ProcessLock::SetLockFolderForTesting("");

    EXPECT_EQ(ProcessLock::LockFolder(), "/tmp");
}

TEST(PlatformProcessLock, FreeLockIsAcquired) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock lock;
    EXPECT_FALSE(lock.IsHeld());

    Outcome outcome = lock.Acquire(kName, false);

    EXPECT_EQ(outcome, Outcome::kAcquired);
    EXPECT_TRUE(lock.IsHeld());
}

TEST(PlatformProcessLock, SecondHolderInTheSameProcessIsBusyWithoutWaiting) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock first, second;
    ASSERT_EQ(first.Acquire(kName, false), Outcome::kAcquired);

    Outcome outcome = second.Acquire(kName, false);

    EXPECT_EQ(outcome, Outcome::kBusy);
    EXPECT_FALSE(second.IsHeld());
    EXPECT_TRUE(first.IsHeld());
}

TEST(PlatformProcessLock, LocksOfDifferentNamesDoNotExcludeEachOther) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock first, second;

    EXPECT_EQ(first.Acquire("one", false), Outcome::kAcquired);
    EXPECT_EQ(second.Acquire("two", false), Outcome::kAcquired);
}

TEST(PlatformProcessLock, ReleaseLetsTheNextHolderIn) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock first, second;
    ASSERT_EQ(first.Acquire(kName, false), Outcome::kAcquired);
    ASSERT_EQ(second.Acquire(kName, false), Outcome::kBusy);

    first.Release();

    EXPECT_FALSE(first.IsHeld());
    EXPECT_EQ(second.Acquire(kName, false), Outcome::kAcquired);
    EXPECT_EQ(first.Acquire(kName, false), Outcome::kBusy);
}

TEST(PlatformProcessLock, DestructorGivesTheLockUp) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    {
        ProcessLock scoped;
        ASSERT_EQ(scoped.Acquire(kName, false), Outcome::kAcquired);
    }
    ProcessLock next;

    EXPECT_EQ(next.Acquire(kName, false), Outcome::kAcquired);
}

TEST(PlatformProcessLock, ReleaseOfALockNotHeldDoesNothing) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock idle, holder;
    ASSERT_EQ(holder.Acquire(kName, false), Outcome::kAcquired);

    idle.Release();
    idle.Release();

    EXPECT_FALSE(idle.IsHeld());
    EXPECT_TRUE(holder.IsHeld());
    EXPECT_EQ(idle.Acquire(kName, false), Outcome::kBusy);
}

TEST(PlatformProcessLock, AcquiringAgainOnTheSameObjectKeepsItHeld) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock lock, other;
    ASSERT_EQ(lock.Acquire(kName, false), Outcome::kAcquired);

    Outcome outcome = lock.Acquire(kName, false);

    EXPECT_EQ(outcome, Outcome::kAcquired);
    EXPECT_TRUE(lock.IsHeld());
    EXPECT_EQ(other.Acquire(kName, false), Outcome::kBusy);
}

TEST(PlatformProcessLock, AcquiringAnotherNameGivesTheFirstUp) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    ProcessLock lock, other;
    ASSERT_EQ(lock.Acquire("first", false), Outcome::kAcquired);

    ASSERT_EQ(lock.Acquire("second", false), Outcome::kAcquired);

    EXPECT_EQ(other.Acquire("first", false), Outcome::kAcquired);
}

TEST(PlatformProcessLock, MissingLockFolderFails) {
    TempFolder temp;
    LockFolderGuard folder((temp / "missing").string());
    ProcessLock lock;

    Outcome outcome = lock.Acquire(kName, false);

    EXPECT_EQ(outcome, Outcome::kFailed);
    EXPECT_FALSE(lock.IsHeld());
}

TEST(PlatformProcessLock, WaitingHolderGetsTheLockWhenTheFirstLetsGo) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    const fs::path file = temp / (std::string(kName) + ".lock");
    ProcessLock first;
    ASSERT_EQ(first.Acquire(kName, false), Outcome::kAcquired);
    if (SomeoneWaitsOn(file) < 0) GTEST_SKIP() << "/proc/locks cannot be read, so waiting cannot be seen";
    std::atomic<bool> firstLetGo{false};
    std::atomic<bool> gotItBeforeRelease{false};
    Outcome waited = Outcome::kFailed;

    std::thread waiter([&] {
        ProcessLock second;
        waited = second.Acquire(kName, true);
        gotItBeforeRelease = !firstLetGo;
    });
    // The waiter shows in /proc/locks as blocked on the file.
    bool sawWaiting = false;
    for (auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
         !sawWaiting && std::chrono::steady_clock::now() < deadline;) {
        sawWaiting = SomeoneWaitsOn(file) == 1;
        if (!sawWaiting) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    firstLetGo = true;
    first.Release();
    waiter.join();

    EXPECT_TRUE(sawWaiting);
    EXPECT_EQ(waited, Outcome::kAcquired);
    EXPECT_FALSE(gotItBeforeRelease);
}

TEST(PlatformProcessLock, LockHeldByAnotherProcessIsBusyAndComesFreeWhenThatProcessDies) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    int ready[2], finish[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(finish), 0);

    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The other process: take the lock, say so, wait for the word, then
        // die without giving the lock up.
        ProcessLock held;
        char byte = held.Acquire(kName, false) == Outcome::kAcquired ? 'y' : 'n';
        if (::write(ready[1], &byte, 1) != 1) ::_exit(2);
        if (::read(finish[0], &byte, 1) != 1) ::_exit(3);
        ::_exit(0);
    }
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    ASSERT_EQ(answer, 'y');
    ProcessLock mine;

    Outcome whileHeld = mine.Acquire(kName, false);
    char go = 'g';
    ASSERT_EQ(::write(finish[1], &go, 1), 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    Outcome afterDeath = mine.Acquire(kName, false);

    for (int fd : {ready[0], ready[1], finish[0], finish[1]}) ::close(fd);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(whileHeld, Outcome::kBusy);
    EXPECT_EQ(afterDeath, Outcome::kAcquired);
}

TEST(PlatformProcessLock, KeptLockStaysHeldAfterItsOwnerLetsGoOfIt) {
    TempFolder temp;
    LockFolderGuard folder(temp.Utf8());
    const std::string name = "kept-until-exit";
    auto kept = std::make_unique<ProcessLock>();
    ASSERT_EQ(kept->Acquire(name, false), Outcome::kAcquired);

    ProcessLock::KeepUntilExit(std::move(kept));
    ProcessLock other;

    EXPECT_EQ(other.Acquire(name, false), Outcome::kBusy);
}

// A lock file another user made in a shared folder such as /tmp (sticky,
// everyone may write) has no write access for others and may not be opened
// with O_CREAT by them. The lock is still taken, on the file opened for
// reading, and still excludes the other user's holder.
TEST(PlatformProcessLock, LockFileOfAnotherUserInASharedFolderStillLocksAndExcludes) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root, to make the file of another user";
    TempFolder temp;
    fs::path shared = temp.Path() / "shared";
    fs::create_directories(shared);
    zandb4::testing::OpenToEveryone(shared, temp.Path().parent_path());
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    LockFolderGuard folder(shared.string());
    fs::path file = shared / (std::string(kName) + ".lock");

    auto rootHolder = std::make_unique<ProcessLock>();
    ASSERT_EQ(rootHolder->Acquire(kName, false), Outcome::kAcquired);
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    bool busyWhileHeld = zandb4::testing::RunUnprivileged([] {
        ProcessLock other;
        return other.Acquire(kName, false) == Outcome::kBusy;
    });
    rootHolder.reset();
    bool takenWhenFree = zandb4::testing::RunUnprivileged([] {
        ProcessLock other;
        return other.Acquire(kName, false) == Outcome::kAcquired;
    });

    EXPECT_TRUE(busyWhileHeld);
    EXPECT_TRUE(takenWhenFree);
    struct stat info {};
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 0u);
}

}  // namespace
