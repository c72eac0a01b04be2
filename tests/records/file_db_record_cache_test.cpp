// A file record and FileRecordCache together, put in the cache the way the
// file store does it: one live object per file id shared by every user, the
// two-stage Release that lets the cache go when only its reference is left
// (and not when another user found the record in between), the deletion of a
// row that zeroes the id of a record still held, ZanDB4_Finalize doing the
// same for every record the application keeps, and two threads working on
// one cached record at once.
//
// Whether a record was destroyed is seen through a metadata record attached
// to it: the file record holds one reference to it and gives it back when it
// is destroyed.
#include <atomic>
#include <thread>

#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

void SpinUntil(const std::atomic<bool>& flag) {
    while (!flag.load()) std::this_thread::yield();
}

class FileRecordCaching : public FileRecordTest {
protected:
    // A record for fileId with the watch attached, put into the cache: the
    // caller holds one reference and the cache one.
    IZanDB4FileDBRecord* MakeCached(uint64_t fileId) {
        IZanDB4FileDBRecord* record = RecordFor(fileId).Detach();
        if (record == nullptr) return nullptr;
        EXPECT_EQ(record->AttachMetaRecord(m_watch.Get()), S_OK);
        EXPECT_TRUE(CacheAdd(fileId, record));
        EXPECT_EQ(Count(record), 2);
        return record;
    }
    // Whether the record that holds the watch is still alive.
    bool WatchedRecordAlive() { return MetaCount(m_watch.Get()) == 2; }

    void SetUp() override {
        FileRecordTest::SetUp();
        m_watch = NewMetaRecord();
        ASSERT_TRUE(m_watch);
    }
    void TearDown() override {
        m_watch.Reset();
        FileRecordTest::TearDown();
    }

    MetaPtr m_watch;
};

TEST_F(FileRecordCaching, AddingToTheCacheGivesTheCacheAReferenceOfItsOwn) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(Count(record), 2);
    EXPECT_EQ(CacheSize(), 1u);
    record->Release();
}

TEST_F(FileRecordCaching, TwoLookupsOfOneFileGiveOneSharedObject) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    IZanDB4FileDBRecord* first = CacheFind(10);
    IZanDB4FileDBRecord* second = CacheFind(10);
    EXPECT_EQ(first, record);
    EXPECT_EQ(second, record);
    EXPECT_EQ(Count(record), 4);

    // One count for every holder: an AddRef through one is seen by all.
    EXPECT_EQ(first->AddRef(), 5u);
    EXPECT_EQ(Count(second), 5);
    // What one user sets, the other sees.
    const uint32_t manage = 2;
    ASSERT_EQ(first->SetManage(&manage), S_OK);
    uint32_t seen = 0;
    EXPECT_EQ(second->GetManage(&seen), S_OK);
    EXPECT_EQ(seen, 2u);

    EXPECT_EQ(first->Release(), 4u);
    EXPECT_EQ(first->Release(), 3u);
    EXPECT_EQ(second->Release(), 2u);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_TRUE(WatchedRecordAlive());
    record->Release();
}

TEST_F(FileRecordCaching, ReleasingTheLastClientReferenceRemovesItFromTheCacheAndDestroysIt) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    IZanDB4FileDBRecord* found = CacheFind(10);
    ASSERT_EQ(found, record);
    EXPECT_EQ(found->Release(), 2u);
    EXPECT_TRUE(WatchedRecordAlive());

    EXPECT_EQ(record->Release(), 0u);
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
    EXPECT_EQ(MetaCount(m_watch.Get()), 1);
    EXPECT_EQ(CacheFind(10), nullptr);
}

TEST_F(FileRecordCaching, AnotherUserWhoFindsTheRecordBetweenTheTwoStagesKeepsItAlive) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    std::atomic<bool> cacheLocked{false};
    IZanDB4FileDBRecord* found = nullptr;

    // The other user holds the cache's lock, waits until the client's
    // Release has brought the count to 1, and finds the record before that
    // Release can reach its second stage.
    std::thread other([&] {
        FileRecordCache::Use(DatabaseRegistry::fileRecordCache, [&](FileRecordCache& cache) {
            cacheLocked = true;
            while (Count(record) != 1) std::this_thread::yield();
            if (!cache.Find(10, &found)) found = nullptr;
        });
    });
    SpinUntil(cacheLocked);
    record->Release();  // the client's reference
    other.join();

    ASSERT_EQ(found, record);
    EXPECT_EQ(Count(found), 2);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_TRUE(WatchedRecordAlive());
    uint64_t id = 0;
    EXPECT_EQ(found->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 10u);

    // The new user's Release is now the last one.
    found->Release();
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
}

TEST_F(FileRecordCaching, ReleaseThatLosesTheRaceToAnotherUserDoesNotTouchTheDestroyedRecord) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    std::atomic<bool> cacheLocked{false};

    // The client's Release brings the count to 1 and waits for the cache's
    // lock. Meanwhile another user, holding that lock, finds the record and
    // releases it again, which lets the cache go and destroys the record.
    // The client's second stage, when it gets the lock, must see that the
    // record is no longer the cache's and leave it untouched.
    std::thread client([&] {
        SpinUntil(cacheLocked);
        record->Release();
    });
    FileRecordCache::Use(DatabaseRegistry::fileRecordCache, [&](FileRecordCache& cache) {
        cacheLocked = true;
        while (Count(record) != 1) std::this_thread::yield();
        IZanDB4FileDBRecord* found = nullptr;
        ASSERT_TRUE(cache.Find(10, &found));
        found->Release();
    });
    client.join();

    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
}

TEST_F(FileRecordCaching, ReleaseAboveOneOnlyLowersTheCount) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    record->AddRef();
    EXPECT_EQ(record->Release(), 2u);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_TRUE(WatchedRecordAlive());
    record->Release();
    EXPECT_FALSE(WatchedRecordAlive());
}

TEST_F(FileRecordCaching, RecordNeverCachedIsDestroyedAtItsNextRelease) {
    IZanDB4FileDBRecord* record = RecordFor(10).Detach();
    ASSERT_NE(record, nullptr);
    ASSERT_EQ(record->AttachMetaRecord(m_watch.Get()), S_OK);
    record->AddRef();
    // At 1 the cache is asked, finds nothing, and the record stays.
    EXPECT_EQ(record->Release(), 1u);
    EXPECT_TRUE(WatchedRecordAlive());
    EXPECT_EQ(Count(record), 1);
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(record->Release(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
}

TEST_F(FileRecordCaching, DeletedRowZeroesTheIdOfARecordAClientStillHolds) {
    InsertFileRow(FileRow{});
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);

    EXPECT_TRUE(CacheRemove(10));
    EXPECT_EQ(Count(record), 1);
    EXPECT_TRUE(WatchedRecordAlive());
    uint64_t id = 99;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    // With its id gone it reads nothing more, though the row is still there.
    uint32_t manage = 99;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 0u);
    EXPECT_EQ(Known(record) & kManageBit, 0u);
    EXPECT_EQ(CacheFind(10), nullptr);

    EXPECT_EQ(record->Release(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
}

TEST_F(FileRecordCaching, FinalizeZeroesTheIdsOfRecordsTheApplicationStillHolds) {
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    IZanDB4FileDBRecord* other = RecordFor(11).Detach();
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(CacheAdd(11, other));

    Finalize();
    uint64_t id = 99;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    id = 99;
    EXPECT_EQ(other->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(Count(record), 1);
    EXPECT_EQ(Count(other), 1);
    EXPECT_TRUE(WatchedRecordAlive());

    // The application's Release after the end destroys them.
    EXPECT_EQ(record->Release(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
    EXPECT_EQ(other->Release(), 0u);
}

TEST_F(FileRecordCaching, TwoThreadsSharingOneCachedRecordLeaveTheCountsConsistent) {
    constexpr int kIterations = 3000;
    IZanDB4FileDBRecord* record = MakeCached(10);
    ASSERT_NE(record, nullptr);
    std::atomic<bool> go{false};
    std::atomic<int> foundSame{0};
    std::atomic<int> lowestSeen{1000};

    // One thread looks the record up through the cache and lets it go; the
    // other takes and gives back references of its own on the client's
    // reference, which stays held throughout.
    std::thread finder([&] {
        SpinUntil(go);
        for (int i = 0; i < kIterations; ++i) {
            IZanDB4FileDBRecord* found = nullptr;
            FileRecordCache::Use(DatabaseRegistry::fileRecordCache, [&](FileRecordCache& cache) {
                if (!cache.Find(10, &found)) found = nullptr;
            });
            if (found == record) ++foundSame;
            if (found != nullptr) found->Release();
        }
    });
    std::thread holder([&] {
        SpinUntil(go);
        for (int i = 0; i < kIterations; ++i) {
            record->AddRef();
            int left = static_cast<int>(record->Release());
            if (left < lowestSeen.load()) lowestSeen = left;
        }
    });
    go = true;
    finder.join();
    holder.join();

    EXPECT_EQ(foundSame.load(), kIterations);
    EXPECT_GE(lowestSeen.load(), 2);
    EXPECT_EQ(Count(record), 2);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_TRUE(WatchedRecordAlive());
    IZanDB4FileDBRecord* found = CacheFind(10);
    EXPECT_EQ(found, record);
    if (found != nullptr) found->Release();

    EXPECT_EQ(record->Release(), 0u);
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_FALSE(WatchedRecordAlive());
}

}  // namespace
}  // namespace file_record_test
