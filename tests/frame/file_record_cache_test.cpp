// FileRecordCache: the process-wide map from file id to the one live file
// record of that id. The tests use a small stand-in record that counts its
// references and follows the file record's two-stage release: when a Release
// brings its count to 1, the last reference may be the cache's, so it asks
// the cache to let go (ReleaseIfOnlyCached), which zeroes its id and
// destroys it, unless a new user found it meanwhile.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <unistd.h>
#include <vector>

#include "frame/file_record_cache.h"

namespace {

class StandInRecord;
using TestCache = zandb4::FileRecordCacheOf<StandInRecord>;

// What happened to the records of one test, kept outside the records so
// that it can be read after they are destroyed.
struct Tally {
    std::atomic<int> destroyed{0};
    std::atomic<int> setFileIdCalls{0};
    std::atomic<uint64_t> idAtDestruction{UINT64_MAX};
};

class StandInRecord {
public:
    StandInRecord(uint64_t fileId, TestCache** registrySlot, Tally* tally, int32_t initialCount = 1)
        : m_count(initialCount), m_fileId(fileId), m_registrySlot(registrySlot), m_tally(tally) {}

    ULONG AddRef() { return static_cast<ULONG>(++m_count); }

    ULONG Release() {
        int32_t left = --m_count;
        if (left == 0) {
            delete this;
            return 0;
        }
        if (left == 1) {
            // Another user may act between the decrement and the second
            // stage; a test puts that user's steps here.
            if (m_betweenStages) {
                std::function<void()> between = std::move(m_betweenStages);
                m_betweenStages = nullptr;
                between();
            }
            uint64_t id = m_fileId;
            TestCache::ReleaseIfOnlyCached(*m_registrySlot, this, id, [this] { return m_count.load(); });
            // This record may be gone now; touch nothing of it.
        }
        return static_cast<ULONG>(left);
    }

    HRESULT SetFileID(uint64_t id) {
        m_fileId = id;
        ++m_tally->setFileIdCalls;
        return S_OK;
    }

    uint64_t GetFileID() const { return m_fileId; }
    int32_t Count() const { return m_count.load(); }
    void RunBetweenStages(std::function<void()> steps) { m_betweenStages = std::move(steps); }

private:
    ~StandInRecord() {
        m_tally->idAtDestruction = m_fileId;
        ++m_tally->destroyed;
    }

    std::atomic<int32_t> m_count;
    uint64_t m_fileId;
    TestCache** m_registrySlot;
    Tally* m_tally;
    std::function<void()> m_betweenStages;
};

// Each test has its own registry slot with a fresh cache in it, as
// ZanDB4_Initialize makes one; the registry's reference goes at the end.
class FileRecordCacheTest : public ::testing::Test {
protected:
    void SetUp() override { m_slot = new TestCache(&m_slot); }
    void TearDown() override {
        if (m_slot != nullptr) m_slot->Release();
    }

    StandInRecord* NewRecord(uint64_t id, int32_t initialCount = 1) {
        return new StandInRecord(id, &m_slot, &m_tally, initialCount);
    }
    TestCache& Cache() { return *m_slot; }

    TestCache* m_slot = nullptr;
    Tally m_tally;
};

// ---- Find ----

TEST_F(FileRecordCacheTest, FindOfIdZeroNeverFindsAnything) {
    StandInRecord* sentinel = NewRecord(7);
    StandInRecord* out = sentinel;

    bool found = Cache().Find(0, &out);

    EXPECT_FALSE(found);
    EXPECT_EQ(out, sentinel);
    EXPECT_EQ(sentinel->Count(), 1);
    sentinel->Release();
}

TEST_F(FileRecordCacheTest, FindOfAnUnknownIdAnswersFalse) {
    StandInRecord* record = NewRecord(5);
    ASSERT_TRUE(Cache().Add(5, record));
    StandInRecord* out = nullptr;

    bool found = Cache().Find(6, &out);

    EXPECT_FALSE(found);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(record->Count(), 2);
    record->Release();
}

TEST_F(FileRecordCacheTest, FindGivesTheStoredRecordWithANewReference) {
    StandInRecord* record = NewRecord(5);
    ASSERT_TRUE(Cache().Add(5, record));
    StandInRecord* out = nullptr;

    bool found = Cache().Find(5, &out);

    EXPECT_TRUE(found);
    EXPECT_EQ(out, record);
    EXPECT_EQ(record->Count(), 3);  // the caller's, the cache's and the finder's
    out->Release();
    record->Release();
}

// ---- Add ----

TEST_F(FileRecordCacheTest, AddWithIdZeroStoresNothing) {
    StandInRecord* record = NewRecord(0);

    bool added = Cache().Add(0, record);

    EXPECT_FALSE(added);
    EXPECT_EQ(record->Count(), 1);
    EXPECT_EQ(Cache().Size(), 0u);
    StandInRecord* out = nullptr;
    EXPECT_FALSE(Cache().Find(0, &out));
    record->Release();
    EXPECT_EQ(m_tally.destroyed, 1);
}

TEST_F(FileRecordCacheTest, AddOfANullRecordStoresNothing) {
    bool added = Cache().Add(5, nullptr);

    EXPECT_FALSE(added);
    EXPECT_EQ(Cache().Size(), 0u);
    StandInRecord* out = nullptr;
    EXPECT_FALSE(Cache().Find(5, &out));
}

TEST_F(FileRecordCacheTest, AddKeepsAReferenceOfTheCachesOwn) {
    StandInRecord* record = NewRecord(5);

    bool added = Cache().Add(5, record);

    EXPECT_TRUE(added);
    EXPECT_EQ(record->Count(), 2);
    EXPECT_EQ(Cache().Size(), 1u);
    record->Release();
}

TEST_F(FileRecordCacheTest, AddOfAnIdAlreadyStoredKeepsTheOldRecordAndHoldsTheNewReference) {
    StandInRecord* first = NewRecord(5);
    StandInRecord* second = NewRecord(5);
    ASSERT_TRUE(Cache().Add(5, first));

    bool added = Cache().Add(5, second);

    EXPECT_TRUE(added);
    EXPECT_EQ(Cache().Size(), 1u);
    StandInRecord* out = nullptr;
    ASSERT_TRUE(Cache().Find(5, &out));
    EXPECT_EQ(out, first);
    out->Release();
    EXPECT_EQ(second->Count(), 2);  // the reference Add took is never given back by the cache
    // The second record is not the one the cache holds under its id, so its
    // second stage leaves the first alone.
    second->Release();
    EXPECT_EQ(second->Count(), 1);
    EXPECT_EQ(first->GetFileID(), 5u);
    EXPECT_EQ(m_tally.destroyed, 0);
    second->Release();
    first->Release();
    EXPECT_EQ(m_tally.destroyed, 2);
}

TEST_F(FileRecordCacheTest, AddUnlessLiveStoresANewIdAndLeavesALiveRecordAlone) {
    StandInRecord* first = NewRecord(5);
    StandInRecord* second = NewRecord(5);

    EXPECT_TRUE(Cache().AddUnlessLive(5, first));
    EXPECT_EQ(first->Count(), 2);
    EXPECT_FALSE(Cache().AddUnlessLive(5, second));
    // No reference was taken on the second, and the first keeps the id.
    EXPECT_EQ(second->Count(), 1);
    EXPECT_EQ(first->Count(), 2);
    StandInRecord* out = nullptr;
    ASSERT_TRUE(Cache().Find(5, &out));
    EXPECT_EQ(out, first);
    out->Release();
    EXPECT_FALSE(Cache().AddUnlessLive(0, second));
    second->Release();
    first->Release();
    EXPECT_EQ(m_tally.destroyed, 2);
}

// ---- Remove ----

TEST_F(FileRecordCacheTest, RecordDeletedWhileTheApplicationHoldsItAnswersIdZero) {
    StandInRecord* record = NewRecord(42);
    ASSERT_TRUE(Cache().Add(42, record));

    bool removed = Cache().Remove(42);

    EXPECT_TRUE(removed);
    EXPECT_EQ(record->GetFileID(), 0u);
    EXPECT_EQ(record->Count(), 1);  // the application's reference only
    EXPECT_EQ(Cache().Size(), 0u);
    EXPECT_EQ(m_tally.destroyed, 0);
    record->Release();
    EXPECT_EQ(m_tally.destroyed, 1);
}

TEST_F(FileRecordCacheTest, RemoveOfIdZeroAnswersFalse) {
    StandInRecord* record = NewRecord(3);
    ASSERT_TRUE(Cache().Add(3, record));

    EXPECT_FALSE(Cache().Remove(0));

    EXPECT_EQ(Cache().Size(), 1u);
    EXPECT_EQ(record->GetFileID(), 3u);
    record->Release();
}

TEST_F(FileRecordCacheTest, RemoveOfAnUnknownIdAnswersFalseAndTouchesNothing) {
    StandInRecord* record = NewRecord(3);
    ASSERT_TRUE(Cache().Add(3, record));

    EXPECT_FALSE(Cache().Remove(4));

    EXPECT_EQ(Cache().Size(), 1u);
    EXPECT_EQ(record->Count(), 2);
    EXPECT_EQ(m_tally.setFileIdCalls, 0);
    record->Release();
}

TEST_F(FileRecordCacheTest, RemoveOfTheOnlyReferenceDestroysTheRecord) {
    StandInRecord* record = NewRecord(9, 0);  // no user holds it: the cache's reference is the only one
    ASSERT_TRUE(Cache().Add(9, record));

    EXPECT_TRUE(Cache().Remove(9));

    EXPECT_EQ(m_tally.destroyed, 1);
    EXPECT_EQ(m_tally.idAtDestruction, 0u);
}

// ---- Clear and the cache's own count ----

TEST_F(FileRecordCacheTest, ClearZeroesEveryIdAndReleasesEveryRecord) {
    StandInRecord* a = NewRecord(1);
    StandInRecord* b = NewRecord(2);
    StandInRecord* onlyCached = NewRecord(3, 0);
    ASSERT_TRUE(Cache().Add(1, a));
    ASSERT_TRUE(Cache().Add(2, b));
    ASSERT_TRUE(Cache().Add(3, onlyCached));

    Cache().Clear();

    EXPECT_EQ(Cache().Size(), 0u);
    EXPECT_EQ(a->GetFileID(), 0u);
    EXPECT_EQ(b->GetFileID(), 0u);
    EXPECT_EQ(a->Count(), 1);
    EXPECT_EQ(b->Count(), 1);
    EXPECT_EQ(m_tally.destroyed, 1);
    EXPECT_EQ(m_tally.idAtDestruction, 0u);
    a->Release();
    b->Release();
}

TEST_F(FileRecordCacheTest, ReleaseAboveZeroKeepsTheCacheAndItsRecords) {
    StandInRecord* record = NewRecord(1);
    ASSERT_TRUE(Cache().Add(1, record));

    EXPECT_EQ(m_slot->AddRef(), 2u);
    EXPECT_EQ(m_slot->Release(), 1u);

    ASSERT_NE(m_slot, nullptr);
    EXPECT_EQ(Cache().Size(), 1u);
    EXPECT_EQ(record->GetFileID(), 1u);
    record->Release();
}

// ---- the calling pattern ----

TEST_F(FileRecordCacheTest, UseWithNoCacheInTheRegistrySkipsTheWork) {
    TestCache* empty = nullptr;
    bool ran = false;

    bool used = TestCache::Use(empty, [&](TestCache&) { ran = true; });

    EXPECT_FALSE(used);
    EXPECT_FALSE(ran);
}

TEST_F(FileRecordCacheTest, UseRunsTheWorkWithOneReferenceInFlight) {
    ULONG countInside = 0;

    bool used = TestCache::Use(m_slot, [&](TestCache& cache) {
        countInside = cache.AddRef();  // registry + user in flight + this one
        cache.Release();
    });

    EXPECT_TRUE(used);
    EXPECT_EQ(countInside, 3u);
    EXPECT_EQ(m_slot->AddRef(), 2u);  // the user's reference is given back afterwards
    m_slot->Release();
}

TEST_F(FileRecordCacheTest, UseWorkCallsFindAddAndRemoveUnderTheHeldLock) {
    StandInRecord* record = NewRecord(11);
    bool found = false, removed = false;

    TestCache::Use(m_slot, [&](TestCache& cache) {
        StandInRecord* out = nullptr;
        if (!cache.Find(11, &out)) cache.Add(11, record);
        found = cache.Find(11, &out);
        if (found) out->Release();
        removed = cache.Remove(11);
    });

    EXPECT_TRUE(found);
    EXPECT_TRUE(removed);
    EXPECT_EQ(record->GetFileID(), 0u);
    EXPECT_EQ(record->Count(), 1);
    record->Release();
}

// ---- the two-stage release of a file record ----

TEST_F(FileRecordCacheTest, RecordWhoseLastReferenceIsTheCachesIsRemovedAndDestroyed) {
    StandInRecord* record = NewRecord(21);
    ASSERT_TRUE(Cache().Add(21, record));  // the caller's and the cache's: 2

    record->Release();

    EXPECT_EQ(m_tally.destroyed, 1);
    EXPECT_EQ(m_tally.idAtDestruction, 0u);
    EXPECT_EQ(m_tally.setFileIdCalls, 1);
    EXPECT_EQ(Cache().Size(), 0u);
    StandInRecord* out = nullptr;
    EXPECT_FALSE(Cache().Find(21, &out));
}

TEST_F(FileRecordCacheTest, RecordFoundByAnotherUserMeanwhileStaysCached) {
    StandInRecord* record = NewRecord(22);
    ASSERT_TRUE(Cache().Add(22, record));
    StandInRecord* other = nullptr;
    record->RunBetweenStages([&] { ASSERT_TRUE(Cache().Find(22, &other)); });

    record->Release();

    EXPECT_EQ(other, record);
    EXPECT_EQ(m_tally.destroyed, 0);
    EXPECT_EQ(record->Count(), 2);  // the other user's and the cache's
    EXPECT_EQ(record->GetFileID(), 22u);
    EXPECT_EQ(Cache().Size(), 1u);
    // When that user lets go in turn, the record goes.
    other->Release();
    EXPECT_EQ(m_tally.destroyed, 1);
    EXPECT_EQ(Cache().Size(), 0u);
}

TEST_F(FileRecordCacheTest, RecordNeverCachedIsUntouchedAtCountOne) {
    StandInRecord* record = NewRecord(23);
    record->AddRef();  // two references of the application, none of the cache

    record->Release();

    EXPECT_EQ(m_tally.destroyed, 0);
    EXPECT_EQ(record->Count(), 1);
    EXPECT_EQ(record->GetFileID(), 23u);
    EXPECT_EQ(m_tally.setFileIdCalls, 0);
    record->Release();
    EXPECT_EQ(m_tally.destroyed, 1);
    EXPECT_EQ(m_tally.idAtDestruction, 23u);
}

TEST_F(FileRecordCacheTest, RecordUnderAnIdTheCacheHoldsForAnotherObjectLeavesThatObjectAlone) {
    StandInRecord* cached = NewRecord(24);
    StandInRecord* lookalike = NewRecord(24);
    ASSERT_TRUE(Cache().Add(24, cached));
    lookalike->AddRef();

    lookalike->Release();

    EXPECT_EQ(Cache().Size(), 1u);
    EXPECT_EQ(cached->GetFileID(), 24u);
    EXPECT_EQ(cached->Count(), 2);
    EXPECT_EQ(lookalike->Count(), 1);
    EXPECT_EQ(m_tally.destroyed, 0);
    lookalike->Release();
    cached->Release();
    EXPECT_EQ(m_tally.destroyed, 2);
}

TEST_F(FileRecordCacheTest, SecondStageIsSkippedWhenThereIsNoCache) {
    StandInRecord* record = NewRecord(25);
    record->AddRef();
    m_slot->Release();
    ASSERT_EQ(m_slot, nullptr);

    record->Release();

    EXPECT_EQ(m_tally.destroyed, 0);
    EXPECT_EQ(record->GetFileID(), 25u);
    record->Release();
    EXPECT_EQ(m_tally.destroyed, 1);
}

TEST_F(FileRecordCacheTest, ThreadsLoadingAndReleasingTheirOwnRecordsLeaveTheCacheEmpty) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 250;
    std::vector<std::thread> threads;
    std::atomic<int> sharedFinds{0};

    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kPerThread; ++i) {
                const uint64_t id = static_cast<uint64_t>(t) * 100000 + static_cast<uint64_t>(i) + 1;
                StandInRecord* record = nullptr;
                // Load: find, or make and add under the same lock.
                TestCache::Use(m_slot, [&](TestCache& cache) {
                    if (cache.Find(id, &record)) return;
                    record = NewRecord(id);
                    cache.Add(id, record);
                });
                // A second load of the same row shares the object.
                StandInRecord* again = nullptr;
                TestCache::Use(m_slot, [&](TestCache& cache) {
                    if (cache.Find(id, &again)) ++sharedFinds;
                });
                if (again != record) ADD_FAILURE() << "id " << id << " loaded as two objects";
                if (again != nullptr) again->Release();
                record->Release();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(sharedFinds, kThreads * kPerThread);
    EXPECT_EQ(m_tally.destroyed, kThreads * kPerThread);
    EXPECT_EQ(Cache().Size(), 0u);
}

// ---- the last Release of the cache itself ----
//
// These scenarios run in a child process: if the cache's last Release
// destroys it twice, the child dies and only this test fails. The child
// answers 0 when every check holds, else the number of the first failed one.

int LastReleaseWhileTheApplicationHoldsARecord() {
    TestCache* slot = nullptr;
    slot = new TestCache(&slot);
    Tally tally;
    StandInRecord* held = new StandInRecord(1, &slot, &tally);
    StandInRecord* onlyCached = new StandInRecord(2, &slot, &tally, 0);
    if (!slot->Add(1, held) || !slot->Add(2, onlyCached)) return 1;

    ULONG left = slot->Release();

    if (left != 0) return 2;
    if (slot != nullptr) return 3;
    if (held->GetFileID() != 0) return 4;  // what the application still holds sees its id zeroed
    if (held->Count() != 1) return 5;
    if (tally.destroyed != 1) return 6;  // the record only the cache held is gone
    held->Release();  // no cache any more: the second stage is skipped
    if (tally.destroyed != 2) return 7;
    return 0;
}

TEST(FileRecordCacheLastRelease, EmptiesTheCacheZeroesHeldRecordsAndClearsTheRegistrySlot) {
    EXPECT_EXIT(_exit(LastReleaseWhileTheApplicationHoldsARecord()), ::testing::ExitedWithCode(0), "");
}

int UserInFlightOutlivesTheRegistrysReference() {
    TestCache* slot = nullptr;
    slot = new TestCache(&slot);
    Tally tally;
    StandInRecord* record = new StandInRecord(8, &slot, &tally);
    ULONG registryRelease = 99;
    bool slotStoodInside = false;
    size_t sizeInside = 0;

    bool used = TestCache::Use(slot, [&](TestCache& cache) {
        cache.Add(8, record);
        registryRelease = cache.Release();  // ZanDB4_Finalize elsewhere gives up the registry's reference
        slotStoodInside = slot != nullptr;
        sizeInside = cache.Size();
    });

    if (!used) return 1;
    if (registryRelease != 1) return 2;
    if (!slotStoodInside || sizeInside != 1) return 3;
    if (slot != nullptr) return 4;  // the user's Release was the last one
    if (record->GetFileID() != 0) return 5;
    if (record->Count() != 1) return 6;
    record->Release();
    if (tally.destroyed != 1) return 7;
    return 0;
}

TEST(FileRecordCacheLastRelease, UserInFlightKeepsTheCacheAliveWhenTheRegistryLetsGo) {
    EXPECT_EXIT(_exit(UserInFlightOutlivesTheRegistrysReference()), ::testing::ExitedWithCode(0), "");
}

}  // namespace
