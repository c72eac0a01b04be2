// A thumbnail family: its two factories on the "_0s" and "_1s" folders, the
// four names it is given, the walks over both kinds, and how the managers run
// one operation of a kind under the catalogue's and the factory's locks.
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "../storage/store_test_helpers.h"
#include "shards/thumb_db_mgr.h"
#include "shards/thumbnail_kind_call.h"
#include "shards_fixture.h"
#include "storage/sqlite_db_base.h"
#include "support/temp_folder.h"

namespace {

using shards_test::FreePagesOf;
using shards_test::kPicture;
using shards_test::kPictureHex;
using shards_test::LeaveFreePages;
using shards_test::NamesIn;
using shards_test::RowCountOnDisk;
using shards_test::Rows;
using shards_test::ThumbRowsOnDisk;
using shards_test::Wide;
using zandb4::testing::TempFolder;
namespace fs = std::filesystem;

using IdSet = std::set<uint64_t>;

class ThumbFamily : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_family.Initialize(Wide(m_root.Path()), u"psnf_0s", u"psnf_0a", u"psnf_1s", u"psnf_1a"), S_OK);
        ASSERT_NE(m_family.Factory(1), nullptr);
        ASSERT_NE(m_family.Factory(2), nullptr);
    }

    fs::path Kind1() const { return m_root / "psnf_0s"; }
    fs::path Kind2() const { return m_root / "psnf_1s"; }

    void Add(uint32_t kind, uint64_t id) {
        ASSERT_EQ(m_family.Factory(kind)->AddThumbnail(id, kPicture, sizeof kPicture), S_OK) << kind << " " << id;
    }

    TempFolder m_root;
    CSQLiteThumbDBMgr m_family;
};

TEST_F(ThumbFamily, KindsOneAndTwoLiveInTheFoldersEndingIn0sAnd1s) {
    EXPECT_EQ(m_family.Factory(1)->Folder(), Wide(Kind1()));
    EXPECT_EQ(m_family.Factory(2)->Folder(), Wide(Kind2()));
    EXPECT_EQ(m_family.Factory(1), m_family.m_kind1.get());
    EXPECT_EQ(m_family.Factory(2), m_family.m_kind2.get());
    EXPECT_EQ(m_family.Factory(0), nullptr);
    EXPECT_EQ(m_family.Factory(3), nullptr);
    EXPECT_EQ(m_family.Factory(UINT32_MAX), nullptr);
}

TEST_F(ThumbFamily, InitializeMakesNoFolder) {
    EXPECT_TRUE(NamesIn(m_root.Path()).empty());
    EXPECT_EQ(m_family.Factory(1)->OpenShardCount(), 0u);
    EXPECT_EQ(m_family.Factory(2)->OpenShardCount(), 0u);
}

TEST_F(ThumbFamily, OnlyTheTwoShardFoldersAreEverMade) {
    Add(1, 1);
    Add(2, 1);
    m_family.CloseShards();

    EXPECT_EQ(NamesIn(m_root.Path()), (std::vector<std::string>{"psnf_0s", "psnf_1s"}));
    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
}

TEST_F(ThumbFamily, RootEndingInASeparatorGivesOneSeparator) {
    CSQLiteThumbDBMgr family;
    CZanTString root = Wide(m_root.Path()) + CZanTString(u"/");

    ASSERT_EQ(family.Initialize(root, u"albm_0s", u"albm_0a", u"albm_1s", u"albm_1a"), S_OK);

    EXPECT_EQ(family.Factory(1)->Folder(), Wide(m_root / "albm_0s"));
    EXPECT_EQ(family.Factory(2)->Folder(), Wide(m_root / "albm_1s"));
}

TEST_F(ThumbFamily, EmptyUnusedName0aMakesInitializeFail) {
    CSQLiteThumbDBMgr family;

    EXPECT_EQ(family.Initialize(Wide(m_root.Path()), u"grf_0s", CZanTString(), u"grf_1s", u"grf_1a"), E_INVALIDARG);

    EXPECT_EQ(family.Factory(1), nullptr);
    EXPECT_EQ(family.Factory(2), nullptr);
}

TEST_F(ThumbFamily, AnyEmptyNameMakesInitializeFail) {
    const CZanTString root = Wide(m_root.Path());
    const CZanTString empty;
    {
        CSQLiteThumbDBMgr family;
        EXPECT_EQ(family.Initialize(empty, u"grf_0s", u"grf_0a", u"grf_1s", u"grf_1a"), E_INVALIDARG);
        EXPECT_EQ(family.Factory(1), nullptr);
    }
    {
        CSQLiteThumbDBMgr family;
        EXPECT_EQ(family.Initialize(root, empty, u"grf_0a", u"grf_1s", u"grf_1a"), E_INVALIDARG);
        EXPECT_EQ(family.Factory(1), nullptr);
    }
    {
        CSQLiteThumbDBMgr family;
        EXPECT_EQ(family.Initialize(root, u"grf_0s", u"grf_0a", empty, u"grf_1a"), E_INVALIDARG);
        EXPECT_EQ(family.Factory(2), nullptr);
    }
    {
        CSQLiteThumbDBMgr family;
        EXPECT_EQ(family.Initialize(root, u"grf_0s", u"grf_0a", u"grf_1s", empty), E_INVALIDARG);
        EXPECT_EQ(family.Factory(2), nullptr);
    }
    EXPECT_TRUE(NamesIn(m_root.Path()).empty());
}

// VacuumAll

TEST_F(ThumbFamily, VacuumAllCompactsBothKindsAndClosesTheirShards) {
    LeaveFreePages(*m_family.Factory(1), 1);
    LeaveFreePages(*m_family.Factory(2), 1);
    ASSERT_GT(FreePagesOf(Kind1() / "00000000.db"), 0);
    ASSERT_GT(FreePagesOf(Kind2() / "00000000.db"), 0);

    EXPECT_EQ(m_family.VacuumAll(), S_OK);

    EXPECT_EQ(FreePagesOf(Kind1() / "00000000.db"), 0);
    EXPECT_EQ(FreePagesOf(Kind2() / "00000000.db"), 0);
    EXPECT_EQ(m_family.Factory(1)->OpenShardCount(), 0u);
    EXPECT_EQ(m_family.Factory(2)->OpenShardCount(), 0u);
}

TEST_F(ThumbFamily, VacuumAllFailsWhenKindOneFailsAndStillVacuumsKindTwo) {
    fs::create_directories(Kind1());
    zandb4::testing::WriteFile(Kind1() / "00000000.db", "not a database");
    LeaveFreePages(*m_family.Factory(2), 1);

    EXPECT_EQ(m_family.VacuumAll(), E_FAIL);

    EXPECT_EQ(FreePagesOf(Kind2() / "00000000.db"), 0);
}

TEST_F(ThumbFamily, VacuumAllFailsWhenKindTwoFails) {
    LeaveFreePages(*m_family.Factory(1), 1);
    fs::create_directories(Kind2());
    zandb4::testing::WriteFile(Kind2() / "00000000.db", "not a database");

    EXPECT_EQ(m_family.VacuumAll(), E_FAIL);

    EXPECT_EQ(FreePagesOf(Kind1() / "00000000.db"), 0);
}

// CommitAll

TEST_F(ThumbFamily, CommitAllWithFlagZeroDeletesTheSetFromBothKindsThenCommits) {
    for (uint64_t id : {1, 2, 10001}) Add(1, id);
    for (uint64_t id : {1, 2}) Add(2, id);
    IdSet failed{2, 10001};

    EXPECT_EQ(m_family.CommitAll(0, &failed), S_OK);

    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(RowCountOnDisk(Kind1() / "00000001.db", "thumbnail_table"), 0);
    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
}

TEST_F(ThumbFamily, CommitAllWithFlagOneIgnoresTheSet) {
    Add(1, 1);
    Add(2, 2);
    IdSet ids{1, 2};

    EXPECT_EQ(m_family.CommitAll(1, &ids), S_OK);

    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000000.db"), (Rows{{"2", kPictureHex, "0"}}));
}

TEST_F(ThumbFamily, CommitAllWithFlagZeroAndNoSetOnlyCommits) {
    Add(1, 1);
    Add(2, 2);
    IdSet empty;

    EXPECT_EQ(m_family.CommitAll(0, nullptr), S_OK);
    Add(1, 3);
    EXPECT_EQ(m_family.CommitAll(0, &empty), S_OK);

    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}, {"3", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000000.db"), (Rows{{"2", kPictureHex, "0"}}));
}

TEST_F(ThumbFamily, CommitAllWithNoShardOpenIsOk) {
    EXPECT_EQ(m_family.CommitAll(1, nullptr), S_OK);
    EXPECT_TRUE(NamesIn(m_root.Path()).empty());
}

TEST_F(ThumbFamily, CommitAllAnswersAFailingKindOneWithoutCommittingKindTwo) {
    Add(1, 1);
    Add(2, 1);
    m_family.CloseShards();
    shards_test::SetStoredVersion(Kind1() / "00000000.db", 2000);
    Add(1, 2);
    Add(2, 2);

    EXPECT_EQ(m_family.CommitAll(1, nullptr), E_FAIL);

    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
}

TEST_F(ThumbFamily, CommitAllAnswersAFailingKindTwoAfterCommittingKindOne) {
    Add(1, 1);
    Add(2, 1);
    m_family.CloseShards();
    shards_test::SetStoredVersion(Kind2() / "00000000.db", 2000);
    Add(1, 2);
    Add(2, 2);

    EXPECT_EQ(m_family.CommitAll(1, nullptr), E_FAIL);

    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}, {"2", kPictureHex, "0"}}));
}

// CountOrphans and CloseShards

TEST_F(ThumbFamily, CountOrphansSumsBothKinds) {
    for (uint64_t id : {1, 2, 10001}) Add(1, id);
    for (uint64_t id : {1, 3, 30003}) Add(2, id);
    CZanTArray<uint64_t> known;
    known.Add(1);
    known.Add(10001);

    // Kind 1: 2. Kind 2: 3 and 30003.
    EXPECT_EQ(m_family.CountOrphans(known), 3u);

    EXPECT_EQ(m_family.Factory(1)->OpenShardCount(), 0u);
    EXPECT_EQ(m_family.Factory(2)->OpenShardCount(), 0u);
}

TEST_F(ThumbFamily, CloseShardsClosesBothKindsAndCommits) {
    Add(1, 1);
    Add(2, 20002);

    m_family.CloseShards();

    EXPECT_EQ(m_family.Factory(1)->OpenShardCount(), 0u);
    EXPECT_EQ(m_family.Factory(2)->OpenShardCount(), 0u);
    EXPECT_EQ(ThumbRowsOnDisk(Kind1() / "00000000.db"), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(Kind2() / "00000002.db"), (Rows{{"20002", kPictureHex, "0"}}));
}

// ThumbnailKindCall

// A thread that takes lock and leaves it at once.
std::future<void> TakeOnAnotherThread(CCriticalSection& lock) {
    return std::async(std::launch::async, [&lock] {
        lock.lock();
        lock.unlock();
    });
}

// Whether another thread can take lock now. If this thread still holds it,
// it is given back here, so that the other thread does not hang.
bool FreeForOtherThreads(CCriticalSection& lock) {
    std::future<void> taker = TakeOnAnotherThread(lock);
    if (taker.wait_for(std::chrono::seconds(5)) == std::future_status::ready) return true;
    lock.unlock();
    taker.wait();
    return false;
}

constexpr HRESULT kInvalidKind = E_INVALIDARG;

TEST_F(ThumbFamily, KindCallWithAKindOtherThanOneOrTwoAnswersInvalidKindWithoutRunning) {
    CSQLiteDBBase catalogue;
    int calls = 0;
    auto operation = [&calls](CSQLiteThumbDBFactory&) {
        ++calls;
        return S_OK;
    };

    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, &m_family, 0, kInvalidKind, operation), kInvalidKind);
    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, &m_family, 3, kInvalidKind, operation), kInvalidKind);
    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, nullptr, 1, kInvalidKind, operation), kInvalidKind);
    CSQLiteThumbDBMgr uninitialised;
    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, &uninitialised, 2, kInvalidKind, operation), kInvalidKind);
    // Another result type answers its own invalid value.
    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, &m_family, 7, BOOL{0},
                                        [&calls](CSQLiteThumbDBFactory&) -> BOOL {
                                            ++calls;
                                            return 1;
                                        }),
              0);

    EXPECT_EQ(calls, 0);
}

TEST_F(ThumbFamily, KindCallRunsTheOperationOnTheFactoryOfTheKind) {
    CSQLiteDBBase catalogue;
    CSQLiteThumbDBFactory* seen = nullptr;

    HRESULT result = zandb4::ThumbnailKindCall(catalogue, &m_family, 2, kInvalidKind,
                                               [&seen](CSQLiteThumbDBFactory& factory) {
                                                   seen = &factory;
                                                   return factory.AddThumbnail(9, kPicture, sizeof kPicture);
                                               });

    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(seen, m_family.Factory(2));
    EXPECT_TRUE(m_family.Factory(2)->HasThumbnail(9));
    EXPECT_EQ(m_family.Factory(1)->OpenShardCount(), 0u);
    // The operation's own failure comes back as it is.
    EXPECT_EQ(zandb4::ThumbnailKindCall(catalogue, &m_family, 2, kInvalidKind,
                                        [](CSQLiteThumbDBFactory& factory) {
                                            return factory.AddThumbnail(9, kPicture, sizeof kPicture);
                                        }),
              E_FAIL);
}

TEST_F(ThumbFamily, KindCallHoldsTheCatalogueLockAndTheFactoryLockWhileTheOperationRuns) {
    CSQLiteDBBase catalogue;
    CSQLiteThumbDBFactory* factory = m_family.Factory(1);
    std::future<void> catalogueTaker;
    std::future<void> factoryTaker;
    bool catalogueTakenMeanwhile = true;
    bool factoryTakenMeanwhile = true;

    HRESULT result = zandb4::ThumbnailKindCall(catalogue, &m_family, 1, kInvalidKind, [&](CSQLiteThumbDBFactory&) {
        catalogueTaker = TakeOnAnotherThread(catalogue.m_lock);
        factoryTaker = TakeOnAnotherThread(factory->m_lock);
        // Neither thread gets its lock while the operation runs.
        catalogueTakenMeanwhile = catalogueTaker.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
        factoryTakenMeanwhile = factoryTaker.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
        return S_OK;
    });

    EXPECT_EQ(result, S_OK);
    EXPECT_FALSE(catalogueTakenMeanwhile);
    EXPECT_FALSE(factoryTakenMeanwhile);
    // Both get theirs once the call is over.
    EXPECT_EQ(catalogueTaker.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(factoryTaker.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_TRUE(FreeForOtherThreads(catalogue.m_lock));
    EXPECT_TRUE(FreeForOtherThreads(factory->m_lock));
}

TEST_F(ThumbFamily, KindCallLeavesBothLocksWhenTheOperationThrows) {
    CSQLiteDBBase catalogue;

    EXPECT_THROW(zandb4::ThumbnailKindCall(catalogue, &m_family, 2, kInvalidKind,
                                           [](CSQLiteThumbDBFactory&) -> HRESULT {
                                               throw std::runtime_error("operation failed");
                                           }),
                 std::runtime_error);

    EXPECT_TRUE(FreeForOtherThreads(catalogue.m_lock));
    EXPECT_TRUE(FreeForOtherThreads(m_family.Factory(2)->m_lock));
}

}  // namespace
