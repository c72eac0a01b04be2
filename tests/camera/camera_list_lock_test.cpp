// The camera list's cross-process lock between managers of one process, and
// DeleteStore, which wipes the list only while nobody holds it.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "camera_list_fixture.h"
#include "lock_waiters.h"

namespace zandb4::testing {
namespace {

using CameraListLock = CameraListTest;

// Tries the lock file the way a process that knows only its name would.
// True when an exclusive lock could be had at once; it is given back.
bool LockFileIsFree(const std::filesystem::path& file) {
    int fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) return false;
    bool free = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    int error = errno;
    ::close(fd);
    EXPECT_TRUE(free || error == EWOULDBLOCK);
    return free;
}

TEST_F(CameraListLock, OpenHoldsTheNamedLockFileInTheLockFolderUntilClose) {
    ManagerHandle manager = OpenManager();

    ASSERT_TRUE(std::filesystem::exists(LockFile()));
    EXPECT_FALSE(LockFileIsFree(LockFile()));

    EXPECT_EQ(manager->Close(), S_OK);

    EXPECT_TRUE(LockFileIsFree(LockFile()));
}

TEST_F(CameraListLock, SecondManagerOpenWithoutWaitFailsWhileTheFirstIsOpen) {
    ManagerHandle first = OpenManager();
    ManagerHandle second = NewManager();

    EXPECT_EQ(second->Open(Folder(), false), E_FAIL);

    // The second holds nothing and can do nothing; the first goes on.
    RecordPtr record = MakeRecord(second.Get(), u"/card/IMG_0001.JPG", MakeDate(2024, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(second->AddFile(record.Get(), nullptr), E_FAIL);
    EXPECT_EQ(second->HasFileID(1), 0);
    EXPECT_EQ(second->Close(), S_OK);
    EXPECT_EQ(AddPath(first.Get(), u"/card/IMG_0001.JPG"), 1u);
    EXPECT_FALSE(LockFileIsFree(LockFile()));
}

TEST_F(CameraListLock, FailedOpenDoesNotLoosenTheHoldersLock) {
    ManagerHandle first = OpenManager();
    ManagerHandle second = NewManager();
    ASSERT_EQ(second->Open(Folder(), false), E_FAIL);
    ASSERT_EQ(second->Close(), S_OK);
    second.Reset();

    ManagerHandle third = NewManager();
    EXPECT_EQ(third->Open(Folder(), false), E_FAIL);
}

TEST_F(CameraListLock, SecondManagerOpensOnceTheFirstHasClosed) {
    ManagerHandle first = OpenManager();
    AddPath(first.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(first->Commit(), S_OK);
    ManagerHandle second = NewManager();
    ASSERT_EQ(second->Open(Folder(), false), E_FAIL);

    EXPECT_EQ(first->Close(), S_OK);

    EXPECT_EQ(second->Open(Folder(), false), S_OK);
    EXPECT_EQ(second->HasFilePath(u"/card/IMG_0001.JPG"), 1);
}

TEST_F(CameraListLock, LockCoversTheListWhateverFolderItIsIn) {
    // One lock name guards every list: a list in another folder is held too.
    ManagerHandle first = OpenManager();
    TempFolder otherFolder;
    ManagerHandle second = NewManager();

    EXPECT_EQ(second->Open(otherFolder.Wide().GetString(), false), E_FAIL);

    EXPECT_FALSE(std::filesystem::exists(otherFolder / kCameraStoreFileName));
}

TEST_F(CameraListLock, SecondManagerWaitingOnAnotherThreadOpensWhenTheFirstCloses) {
    ManagerHandle first = OpenManager();
    AddPath(first.Get(), u"/card/IMG_0001.JPG");
    ManagerHandle second = NewManager();
    const uint64_t lockInode = InodeOf(LockFile().c_str());
    // Nobody waits yet, and the kernel's list says so.
    EXPECT_FALSE(HasBlockedFlockRequest(::getpid(), lockInode));
    HRESULT waited = E_NOTIMPL;
    std::thread waiter([&] { waited = second->Open(Folder(), true); });

    const bool seenWaiting = WaitForBlockedFlockRequest(::getpid(), lockInode, 10000);
    // Close even if the waiter was not seen, so that it cannot hang.
    EXPECT_EQ(first->Close(), S_OK);
    waiter.join();

    EXPECT_TRUE(seenWaiting);
    EXPECT_EQ(waited, S_OK);
    // What the first added before it closed is there for the second.
    EXPECT_EQ(second->HasFilePath(u"/card/IMG_0001.JPG"), 1);
}

TEST_F(CameraListLock, ManagerReleasedWithoutCloseKeepsTheLock) {
    ManagerHandle careless = OpenManager();
    AddPath(careless.Get(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(careless.Detach()->Release(), 0u);

    // The store went with the manager, and its transaction was committed.
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 1);
    // The lock did not: it stays held until this process ends.
    ManagerHandle next = NewManager();
    EXPECT_EQ(next->Open(Folder(), false), E_FAIL);
    EXPECT_EQ(next->DeleteStore(Folder(), false), E_FAIL);
    EXPECT_TRUE(std::filesystem::exists(StoreFile()));
    EXPECT_FALSE(LockFileIsFree(LockFile()));
}

TEST_F(CameraListLock, DeleteStoreRemovesTheFileWhileNobodyHoldsTheList) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Close(), S_OK);
    WriteFile(m_storeFolder / "keep.txt", "not the list");

    EXPECT_EQ(manager->DeleteStore(Folder(), false), S_OK);

    EXPECT_FALSE(std::filesystem::exists(StoreFile()));
    EXPECT_TRUE(std::filesystem::exists(m_storeFolder / "keep.txt"));
    // A new list starts empty, with ids from 1.
    ASSERT_EQ(manager->Open(Folder(), false), S_OK);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 0);
    EXPECT_EQ(AddPath(manager.Get(), u"/card/IMG_0002.JPG"), 1u);
}

TEST_F(CameraListLock, DeleteStoreWithWaitRemovesTheFileWhileNobodyHoldsTheList) {
    OpenManager().Reset();
    ASSERT_TRUE(std::filesystem::exists(StoreFile()));
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->DeleteStore(Folder(), true), S_OK);

    EXPECT_FALSE(std::filesystem::exists(StoreFile()));
}

TEST_F(CameraListLock, DeleteStoreGivesTheLockBack) {
    OpenManager().Reset();
    ManagerHandle deleter = NewManager();
    ASSERT_EQ(deleter->DeleteStore(Folder(), false), S_OK);

    EXPECT_TRUE(LockFileIsFree(LockFile()));
    ManagerHandle next = NewManager();
    EXPECT_EQ(next->Open(Folder(), false), S_OK);
    // The manager that deleted holds nothing: its operations fail.
    EXPECT_EQ(deleter->HasFileID(1), 0);
    EXPECT_EQ(deleter->Commit(), E_FAIL);
}

TEST_F(CameraListLock, DeleteStoreWhileThisManagerHasTheListOpenFails) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(manager->DeleteStore(Folder(), false), E_FAIL);
    EXPECT_EQ(manager->DeleteStore(Folder(), true), E_FAIL);

    EXPECT_TRUE(std::filesystem::exists(StoreFile()));
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 1);
    // Failing did not give the lock away.
    EXPECT_FALSE(LockFileIsFree(LockFile()));
}

TEST_F(CameraListLock, DeleteStoreWhileAnotherManagerHoldsTheListFails) {
    ManagerHandle holder = OpenManager();
    ManagerHandle deleter = NewManager();

    EXPECT_EQ(deleter->DeleteStore(Folder(), false), E_FAIL);

    EXPECT_TRUE(std::filesystem::exists(StoreFile()));
    EXPECT_EQ(AddPath(holder.Get(), u"/card/IMG_0001.JPG"), 1u);
}

TEST_F(CameraListLock, DeleteStoreOfAMissingFileFailsAndGivesTheLockBack) {
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->DeleteStore(Folder(), false), E_FAIL);

    EXPECT_TRUE(LockFileIsFree(LockFile()));
    ManagerHandle next = NewManager();
    EXPECT_EQ(next->Open(Folder(), false), S_OK);
}

}  // namespace
}  // namespace zandb4::testing
