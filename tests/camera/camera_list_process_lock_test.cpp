// The camera list's lock between processes. A forked child opens the list
// and holds it while this process tries to open or delete it; the two talk
// over pipes, never by sleeping. The child uses the library and plain system
// calls only and leaves with _exit, so it never returns into the test runner.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "camera_list_fixture.h"
#include "lock_waiters.h"

namespace zandb4::testing {
namespace {

// How long this process waits for a child's message or exit.
constexpr int kTimeoutMs = 10000;
// How long a child looks for this process to block on the lock; shorter, so
// that a child that never sees it still ends within kTimeoutMs.
constexpr int kWaiterTimeoutMs = 5000;

// Child side of the pipes: one byte at a time; -1 when the other end is gone.
void SendByte(int fd, char byte) {
    ssize_t written;
    do {
        written = ::write(fd, &byte, 1);
    } while (written < 0 && errno == EINTR);
}

int ReceiveByte(int fd) {
    char byte = 0;
    ssize_t got;
    do {
        got = ::read(fd, &byte, 1);
    } while (got < 0 && errno == EINTR);
    return got == 1 ? static_cast<unsigned char>(byte) : -1;
}

// A forked child process with a pipe each way. The child runs a body and
// leaves with _exit(body's answer). Closing the pipe to the child tells it
// that this process gave up; the pipe from the child ends when it exits,
// which is what Wait watches, within a time limit.
class ChildProcess {
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (m_pid > 0) Wait();
        CloseFd(m_toChild);
        CloseFd(m_fromChild);
    }

    // Body: int(int fromParent, int toParent). False when fork failed.
    template <class Body>
    bool Start(Body body) {
        int down[2];
        int up[2];
        if (::pipe(down) != 0) return false;
        if (::pipe(up) != 0) {
            ::close(down[0]);
            ::close(down[1]);
            return false;
        }
        pid_t pid = ::fork();
        if (pid == 0) {
            ::close(down[1]);
            ::close(up[0]);
            int code = body(down[0], up[1]);
            ::_exit(code);
        }
        ::close(down[0]);
        ::close(up[1]);
        if (pid < 0) {
            ::close(down[1]);
            ::close(up[0]);
            return false;
        }
        m_pid = pid;
        m_toChild = down[1];
        m_fromChild = up[0];
        return true;
    }

    void Send(char byte) { SendByte(m_toChild, byte); }

    // The next byte from the child, or -1 if it exited or kTimeoutMs passed.
    int Receive() {
        if (!Readable(kTimeoutMs)) return -1;
        return ReceiveByte(m_fromChild);
    }

    // Waits at most kTimeoutMs for the child to exit and answers its exit
    // code; a child still there after that is killed and -1 is the answer.
    int Wait() {
        if (m_pid <= 0) return -1;
        CloseFd(m_toChild);
        bool ended = false;
        while (Readable(kTimeoutMs)) {
            if (ReceiveByte(m_fromChild) < 0) {
                ended = true;
                break;
            }
        }
        if (!ended) ::kill(m_pid, SIGKILL);
        int status = 0;
        pid_t done;
        do {
            done = ::waitpid(m_pid, &status, 0);
        } while (done < 0 && errno == EINTR);
        m_pid = -1;
        if (!ended || done < 0 || !WIFEXITED(status)) return -1;
        return WEXITSTATUS(status);
    }

private:
    bool Readable(int timeoutMs) {
        pollfd entry{m_fromChild, POLLIN, 0};
        int ready;
        do {
            ready = ::poll(&entry, 1, timeoutMs);
        } while (ready < 0 && errno == EINTR);
        return ready == 1;
    }
    static void CloseFd(int& fd) {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }

    pid_t m_pid = -1;
    int m_toChild = -1;
    int m_fromChild = -1;
};

// Exit codes of the children, so that a failure says where it happened.
enum ChildExit : int {
    kChildOk = 0,
    kChildNoManager = 10,
    kChildOpenFailed = 11,
    kChildWriteFailed = 12,
    kChildNeverSawTheWaiter = 13,
    kChildOpenSucceeded = 14,
};

// Adds a file under a fixed date and commits it; true when both answered S_OK.
bool AddAndCommit(IZanDB4TethraImportFileMgr* manager, const WCHAR* path, bool commit) {
    IZanDB4TethraImportFileRecord* record = nullptr;
    if (manager->CreateRecord(&record) != S_OK || record == nullptr) return false;
    const SYSTEMTIME date = MakeDate(2024, 6, 1, 12, 0, 0);
    record->SetPath(CZanTString(path));
    record->SetDate(&date);
    HRESULT added = manager->AddFile(record, nullptr);
    record->Release();
    if (added != S_OK) return false;
    return !commit || manager->Commit() == S_OK;
}

class CameraListProcessLock : public CameraListTest {
protected:
    // The child opens the list and says 'O' (or 'F'). Then it keeps the
    // list until this process sends a byte or goes away, and closes it.
    int HoldUntilTold(int fromParent, int toParent) {
        IZanDB4TethraImportFileMgr* manager = nullptr;
        if (ZanCamDB_CreateMgrInstance(&manager) != S_OK || manager == nullptr) return kChildNoManager;
        if (manager->Open(Folder(), false) != S_OK) {
            SendByte(toParent, 'F');
            return kChildOpenFailed;
        }
        SendByte(toParent, 'O');
        ReceiveByte(fromParent);
        manager->Close();
        manager->Release();
        return kChildOk;
    }

    // The child opens the list and says 'O', then keeps it until it sees this
    // process blocked on the lock. Only then does it add and commit path and
    // close the list.
    int HoldUntilSomeoneWaits(pid_t waiter, const WCHAR* path, int toParent) {
        IZanDB4TethraImportFileMgr* manager = nullptr;
        if (ZanCamDB_CreateMgrInstance(&manager) != S_OK || manager == nullptr) return kChildNoManager;
        if (manager->Open(Folder(), false) != S_OK) {
            SendByte(toParent, 'F');
            return kChildOpenFailed;
        }
        SendByte(toParent, 'O');
        const std::string lockFile = LockFile().string();
        // Closing the list even when the waiter is not seen lets it go on.
        bool seen = WaitForBlockedFlockRequest(waiter, InodeOf(lockFile.c_str()), kWaiterTimeoutMs);
        bool written = path == nullptr || AddAndCommit(manager, path, true);
        manager->Close();
        manager->Release();
        if (!seen) return kChildNeverSawTheWaiter;
        return written ? kChildOk : kChildWriteFailed;
    }
};

TEST_F(CameraListProcessLock, OpenWithoutWaitFailsWhileAnotherProcessHoldsTheList) {
    ChildProcess child;
    ASSERT_TRUE(child.Start([this](int in, int out) { return HoldUntilTold(in, out); }));
    ASSERT_EQ(child.Receive(), 'O');
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->Open(Folder(), false), E_FAIL);

    EXPECT_EQ(manager->HasFileID(1), 0);
    child.Send('C');
    EXPECT_EQ(child.Wait(), kChildOk);
    EXPECT_EQ(manager->Open(Folder(), false), S_OK);
}

TEST_F(CameraListProcessLock, OpenWithWaitBlocksUntilTheOtherProcessCloses) {
    ChildProcess child;
    const pid_t self = ::getpid();
    ASSERT_TRUE(child.Start([this, self](int, int out) {
        return HoldUntilSomeoneWaits(self, u"/card/written-while-parent-waited.JPG", out);
    }));
    ASSERT_EQ(child.Receive(), 'O');
    ManagerHandle manager = NewManager();
    // Were this to open, waiting on the list below would wait on itself.
    ASSERT_EQ(manager->Open(Folder(), false), E_FAIL);

    EXPECT_EQ(manager->Open(Folder(), true), S_OK);

    // The child saw this process blocked before it wrote and closed, and
    // what it wrote is here: the open came after its Close.
    EXPECT_EQ(child.Wait(), kChildOk);
    EXPECT_EQ(manager->HasFilePath(u"/card/written-while-parent-waited.JPG"), 1);
}

TEST_F(CameraListProcessLock, HolderThatDiesLetsTheListBeOpenedWithWhatItCommitted) {
    ChildProcess child;
    ASSERT_TRUE(child.Start([this](int in, int out) {
        IZanDB4TethraImportFileMgr* manager = nullptr;
        if (ZanCamDB_CreateMgrInstance(&manager) != S_OK || manager == nullptr) return int{kChildNoManager};
        if (manager->Open(Folder(), false) != S_OK) return int{kChildOpenFailed};
        bool written = AddAndCommit(manager, u"/card/committed.JPG", true) &&
                       AddAndCommit(manager, u"/card/never-committed.JPG", false);
        SendByte(out, written ? 'O' : 'F');
        ReceiveByte(in);
        // Dies holding the lock and an open transaction, without Close.
        return int{kChildOk};
    }));
    ASSERT_EQ(child.Receive(), 'O');
    ManagerHandle manager = NewManager();
    ASSERT_EQ(manager->Open(Folder(), false), E_FAIL);

    child.Send('X');
    ASSERT_EQ(child.Wait(), kChildOk);

    EXPECT_EQ(manager->Open(Folder(), false), S_OK);
    EXPECT_EQ(manager->HasFilePath(u"/card/committed.JPG"), 1);
    EXPECT_EQ(manager->HasFilePath(u"/card/never-committed.JPG"), 0);
    EXPECT_EQ(manager->Close(), S_OK);
    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][1], "/card/committed.JPG");
}

TEST_F(CameraListProcessLock, DeleteStoreWithoutWaitFailsWhileAnotherProcessHoldsTheList) {
    ChildProcess child;
    ASSERT_TRUE(child.Start([this](int in, int out) { return HoldUntilTold(in, out); }));
    ASSERT_EQ(child.Receive(), 'O');
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->DeleteStore(Folder(), false), E_FAIL);

    EXPECT_TRUE(std::filesystem::exists(StoreFile()));
    child.Send('C');
    EXPECT_EQ(child.Wait(), kChildOk);
    EXPECT_EQ(manager->DeleteStore(Folder(), false), S_OK);
    EXPECT_FALSE(std::filesystem::exists(StoreFile()));
}

TEST_F(CameraListProcessLock, DeleteStoreWithWaitDeletesOnceTheOtherProcessCloses) {
    ChildProcess child;
    const pid_t self = ::getpid();
    ASSERT_TRUE(child.Start([this, self](int, int out) { return HoldUntilSomeoneWaits(self, nullptr, out); }));
    ASSERT_EQ(child.Receive(), 'O');
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->DeleteStore(Folder(), true), S_OK);

    EXPECT_EQ(child.Wait(), kChildOk);
    EXPECT_FALSE(std::filesystem::exists(StoreFile()));
}

TEST_F(CameraListProcessLock, OtherProcessCannotOpenWhileThisOneHoldsTheList) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Commit(), S_OK);
    ChildProcess child;
    ASSERT_TRUE(child.Start([this](int, int) {
        IZanDB4TethraImportFileMgr* other = nullptr;
        if (ZanCamDB_CreateMgrInstance(&other) != S_OK || other == nullptr) return int{kChildNoManager};
        HRESULT opened = other->Open(Folder(), false);
        // Leaves without Close or Release: nothing of this process's must
        // be touched on the way out.
        return int{opened == E_FAIL ? kChildOk : kChildOpenSucceeded};
    }));

    EXPECT_EQ(child.Wait(), kChildOk);

    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 1);
    EXPECT_EQ(AddPath(manager.Get(), u"/card/IMG_0002.JPG"), 2u);
}

}  // namespace
}  // namespace zandb4::testing
