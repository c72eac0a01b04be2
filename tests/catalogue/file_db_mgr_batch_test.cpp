// The file manager's batch operations and object rules: Commit and
// Rollback by flag, the recount dropped by a rollback, Lock and Unlock
// across threads, reference counts and QueryInterface.
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrBatch : public FileMgrFixture {};

TEST_F(FileMgrBatch, FlagFourMakesStagedRowsDurableWithoutMovingThem) {
    uint64_t id = AddStaged(Spec("/photos/s", "s.jpg"));
    ASSERT_EQ(m_mgr->AddThumbnail(id, 1, "t", 1), S_OK);
    EXPECT_EQ(CountOnDisk("async_file_table", "1=1", "FileBasicAsync.db"), 0);
    EXPECT_EQ(m_mgr->Commit(4), S_OK);
    EXPECT_EQ(CountOnDisk("async_file_table", "file_id=" + std::to_string(id), "FileBasicAsync.db"), 1);
    EXPECT_EQ(ThumbRows(1, id), 1);
    EXPECT_EQ(FileRows(id), 0);
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), kFail);
}

TEST_F(FileMgrBatch, FlagTwoMovesAndFlagOneMakesTheCatalogueDurable) {
    uint64_t id = AddStaged(Spec("/photos/s", "s.jpg"));
    EXPECT_EQ(m_mgr->Commit(2), S_OK);
    // Moved into the catalogue's open transaction: visible here, not on disk.
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
    EXPECT_EQ(FileRows(id), 0);
    EXPECT_EQ(CountOnDisk("async_file_table", "1=1", "FileBasicAsync.db"), 0);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(FileRows(id), 1);
}

TEST_F(FileMgrBatch, CommitWithoutFlagsWritesNothing) {
    uint64_t id = AddDirect(Spec("/photos/d", "d.jpg"));
    EXPECT_EQ(m_mgr->Commit(0), S_OK);
    EXPECT_EQ(FileRows(id), 0);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(FileRows(id), 1);
}

TEST_F(FileMgrBatch, RollbackOfStagingDropsTheStagedRow) {
    uint64_t id = AddStaged(Spec("/photos/s", "s.jpg"));
    FilePtr record = MakeFile(Spec("/photos/other", "o.jpg"));
    EXPECT_EQ(m_mgr->Rollback(2), S_OK);
    // Neither store has the file any more.
    EXPECT_EQ(m_mgr->UpdateFile(id, record.Get()), kInvalidArg);
    EXPECT_EQ(m_mgr->Commit(2 | 1), S_OK);
    EXPECT_EQ(FileRows(id), 0);
}

TEST_F(FileMgrBatch, RollbackOfTheCatalogueFreesTheIdsDrawnSinceTheLastCommit) {
    uint64_t kept = AddDirect(Spec("/photos/kept", "k.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    uint64_t direct = AddDirect(Spec("/photos/direct", "d.jpg"));
    uint64_t staged = AddStaged(Spec("/photos/staged", "s.jpg"));
    ASSERT_EQ(m_mgr->AddThumbnail(direct, 1, "x", 1), S_OK);
    auto meta = LargeMeta(1, {1});
    ASSERT_EQ(m_mgr->AddLargeMetaData(direct, meta.Get()), S_OK);
    EXPECT_EQ(direct, kept + 1);
    EXPECT_EQ(staged, kept + 2);
    EXPECT_EQ(m_mgr->Rollback(1 | 2), S_OK);
    EXPECT_EQ(m_mgr->GetFile(direct, nullptr), kFail);
    EXPECT_EQ(m_mgr->GetFile(kept, nullptr), S_OK);
    EXPECT_FALSE(m_mgr->HasThumbnail(direct, 1));
    ComPtr<IZanDB4FileLargeMetaData> got;
    EXPECT_EQ(m_mgr->GetLargeMetaData(direct, got.Receive()), kFail);
    // The next ids are those drawn before the rollback.
    EXPECT_EQ(AddDirect(Spec("/photos/again1", "a1.jpg")), kept + 1);
    EXPECT_EQ(AddStaged(Spec("/photos/again2", "a2.jpg")), kept + 2);
}

TEST_F(FileMgrBatch, RollbackWithoutFlagsAnswersSOkAndKeepsTheOpenWork) {
    uint64_t id = AddDirect(Spec("/photos/d", "d.jpg"));
    EXPECT_EQ(m_mgr->Rollback(0), S_OK);
    EXPECT_EQ(m_mgr->Rollback(4), S_OK);
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(FileRows(id), 1);
}

// The stored count of an album is set wrong on disk behind the library's
// back; only a recount at the next commit puts it right.
class FileMgrRecount : public FileMgrFixture {
protected:
    void SetUp() override {
        FileMgrFixture::SetUp();
        if (HasFatalFailure()) return;
        auto albums = Make<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
        auto album = Make<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
        ASSERT_EQ(album->SetName(W("Trip")), S_OK);
        ASSERT_EQ(albums->AddAlbum(album.Get(), &m_album), S_OK);
        ASSERT_EQ(albums->Commit(), S_OK);
        FileSpec spec = Spec("/album/1", "1.jpg");
        spec.albumId = m_album;
        AddDirect(spec);
        ASSERT_EQ(m_mgr->Commit(1), S_OK);
        ASSERT_EQ(AlbumCount(), 1);
        zandb4::testing::SqliteProbe probe(DatabaseFolder() / "FileBasic.db");
        ASSERT_EQ(probe.Exec("UPDATE album_table SET album_file_count=99"), 0);
        ASSERT_EQ(AlbumCount(), 99);
    }
    int64_t AlbumCount() {
        return DiskInteger("SELECT album_file_count FROM album_table WHERE album_id=" + std::to_string(m_album));
    }
    uint64_t m_album = 0;
};

TEST_F(FileMgrRecount, AFileAddedToTheAlbumIsRecountedAtCommit) {
    FileSpec spec = Spec("/album/2", "2.jpg");
    spec.albumId = m_album;
    AddDirect(spec);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(AlbumCount(), 2);
}

TEST_F(FileMgrRecount, RollbackDropsThePendingRecount) {
    FileSpec spec = Spec("/album/2", "2.jpg");
    spec.albumId = m_album;
    AddDirect(spec);
    EXPECT_EQ(m_mgr->Rollback(1), S_OK);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    // No recount ran: the wrong count stays.
    EXPECT_EQ(AlbumCount(), 99);
}

// Lock and Unlock: while one thread holds the catalogue's lock, an
// operation on another thread waits for Unlock. The holder marks the moment
// it unlocks; the other thread reads that mark after its operation returned,
// so an operation that did not wait sees the mark unset. The pause before
// Unlock only gives the other thread the chance to run ahead; it decides
// nothing.
class FileMgrLock : public FileMgrFixture {
protected:
    void ExpectWaitsForUnlock(const char* what, const std::function<void(IZanDB4FileDBMgr*)>& operation) {
        SCOPED_TRACE(what);
        auto other = NewManager();
        ASSERT_TRUE(other);
        std::atomic<bool> started{false}, unlocked{false};
        bool sawUnlocked = false;
        ASSERT_EQ(m_mgr->Lock(), S_OK);
        std::thread worker([&] {
            started = true;
            operation(other.Get());
            sawUnlocked = unlocked.load();
        });
        while (!started.load()) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        unlocked = true;
        ASSERT_EQ(m_mgr->Unlock(), S_OK);
        worker.join();
        EXPECT_TRUE(sawUnlocked) << what << " ran while another thread held the lock";
    }
};

TEST_F(FileMgrLock, OperationsOfOtherThreadsWaitForUnlock) {
    uint64_t id = AddDirect(Spec("/photos/l", "l.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    ExpectWaitsForUnlock("GetFile", [&](IZanDB4FileDBMgr* mgr) { EXPECT_EQ(mgr->GetFile(id, nullptr), S_OK); });
    ExpectWaitsForUnlock("AddFile", [&](IZanDB4FileDBMgr* mgr) {
        FilePtr record = MakeFile(Spec("/photos/t", "t.jpg"));
        uint64_t added = 0;
        EXPECT_EQ(mgr->AddFile(record.Get(), &added), S_OK);
    });
    ExpectWaitsForUnlock("CountFiles", [&](IZanDB4FileDBMgr* mgr) {
        uint32_t count = 0;
        EXPECT_EQ(mgr->CountFiles(nullptr, &count), S_OK);
    });
    ExpectWaitsForUnlock("HasThumbnail", [&](IZanDB4FileDBMgr* mgr) { EXPECT_FALSE(mgr->HasThumbnail(id, 1)); });
    ExpectWaitsForUnlock("Commit", [&](IZanDB4FileDBMgr* mgr) { EXPECT_EQ(mgr->Commit(1), S_OK); });
}

TEST_F(FileMgrLock, CountFilesOfTagGoesThroughWhileAnotherThreadHoldsTheLock) {
    // The tag link count is the one operation taken outside the catalogue's
    // lock: it runs while this thread holds the lock. Were it to wait, the
    // other thread could not finish before Unlock.
    ASSERT_EQ(m_mgr->Lock(), S_OK);
    std::promise<HRESULT> answered;
    std::future<HRESULT> answer = answered.get_future();
    uint32_t count = 9;
    std::thread worker([&] {
        auto other = NewManager();
        answered.set_value(other ? other->CountFilesOfTag(1, &count) : E_FAIL);
    });
    // A generous bound: only a count that waits for the lock can reach it.
    bool finished = answer.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    EXPECT_EQ(m_mgr->Unlock(), S_OK);
    worker.join();
    ASSERT_TRUE(finished) << "CountFilesOfTag waited for the catalogue's lock";
    EXPECT_EQ(answer.get(), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FileMgrLock, TheHoldingThreadGoesThroughAndMayLockAgain) {
    ASSERT_EQ(m_mgr->Lock(), S_OK);
    ASSERT_EQ(m_mgr->Lock(), S_OK);
    uint64_t id = AddDirect(Spec("/photos/own", "own.jpg"));
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(m_mgr->Unlock(), S_OK);
    EXPECT_EQ(m_mgr->Unlock(), S_OK);
    EXPECT_EQ(FileRows(id), 1);
    // Fully released: another thread gets through.
    bool done = false;
    std::thread worker([&] {
        auto other = NewManager();
        done = other && other->GetFile(id, nullptr) == S_OK;
    });
    worker.join();
    EXPECT_TRUE(done);
}

class FileMgrObject : public FileMgrFixture {};

// The identifier of IUnknown, which no class of the library answers.
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

TEST_F(FileMgrObject, ReferenceCountsEndAtZero) {
    IZanDB4FileDBMgr* mgr = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&mgr)), S_OK);
    ASSERT_NE(mgr, nullptr);
    EXPECT_EQ(mgr->AddRef(), 2u);
    EXPECT_EQ(mgr->AddRef(), 3u);
    EXPECT_EQ(mgr->Release(), 2u);
    IZanDB4FileDBMgr* same = nullptr;
    EXPECT_EQ(mgr->QueryInterface(IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&same)), S_OK);
    EXPECT_EQ(same, mgr);
    EXPECT_EQ(same->Release(), 2u);
    EXPECT_EQ(mgr->Release(), 1u);
    EXPECT_EQ(mgr->Release(), 0u);
}

TEST_F(FileMgrObject, QueryInterfaceAnswersOnlyItsOwnIdentifier) {
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(m_mgr->QueryInterface(kIUnknownId, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(m_mgr->QueryInterface(IID_IZanDB4FileDBRecord, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(m_mgr->QueryInterface(IID_IZanDB4FaceDBMgr, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_mgr->QueryInterface(IID_IZanDB4FileDBMgr, nullptr), kInvalidArg);
}

TEST_F(FileMgrObject, ManyManagersShareOneCatalogue) {
    auto second = NewManager();
    uint64_t id = AddDirect(Spec("/photos/shared", "s.jpg"));
    EXPECT_EQ(second->GetFile(id, nullptr), S_OK);
    EXPECT_EQ(second->Commit(1), S_OK);
    EXPECT_EQ(FileRows(id), 1);
}

}  // namespace
}  // namespace file_mgr_test
