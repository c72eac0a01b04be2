// Large-metadata shards: which file a file id lands in, what a shard file
// holds, adding, updating, reading and deleting a block, and the walks over
// the open shards and over every shard file of the folder.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "../storage/store_test_helpers.h"
#include "shards/meta_data_db_factory.h"
#include "shards_fixture.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

using shards_test::FreePagesOf;
using shards_test::kOtherPicture;
using shards_test::kOtherPictureHex;
using shards_test::kPicture;
using shards_test::kPictureHex;
using shards_test::LeaveFreePages;
using shards_test::MetaRowsOnDisk;
using shards_test::NamesIn;
using shards_test::ReadWholeFile;
using shards_test::RowCountOnDisk;
using shards_test::Rows;
using shards_test::Wide;
using storage_test::VolumeSerialOverride;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace fs = std::filesystem;

constexpr uint32_t kFailedCount = 0x80004005u;

class MetaDataShard : public ::testing::Test {
protected:
    fs::path Folder() const { return m_root / "meta"; }
    fs::path ShardFile(const std::string& name) const { return Folder() / name; }

    void Add(uint64_t fileId, uint32_t type = 1) {
        ASSERT_EQ(m_factory.AddMetaData(fileId, type, kPicture, sizeof kPicture), S_OK) << fileId;
    }

    void AddCommittedAndClose(std::initializer_list<uint64_t> ids) {
        for (uint64_t id : ids) Add(id);
        ASSERT_EQ(m_factory.CommitShards(), S_OK);
        m_factory.CloseShards();
        ASSERT_EQ(m_factory.OpenShardCount(), 0u);
    }

    uint32_t CountOrphans(std::initializer_list<uint64_t> ids) {
        CZanTArray<uint64_t> array;
        for (uint64_t id : ids) array.Add(id);
        return m_factory.CountOrphans(array);
    }

    TempFolder m_root;
    CSQLiteMetaDataDBFactory m_factory{Wide(m_root / "meta")};
};

// Shard names and files

TEST_F(MetaDataShard, FileIds9999And10000And100000LieInShards0And1AndA) {
    Add(9999);
    Add(10000);
    Add(100000);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), (std::vector<std::string>{"0.db", "1.db", "A.db"}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"9999", "1", kPictureHex}}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("1.db")), (Rows{{"10000", "1", kPictureHex}}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("A.db")), (Rows{{"100000", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, ShardNamesAreNotZeroFilled) {
    Add(160000);
    Add(655360000);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), (std::vector<std::string>{"10.db", "10000.db"}));
}

TEST_F(MetaDataShard, LargestFileIdIsNamedFromTheLow32BitsOfItsShardNumber) {
    Add(UINT64_MAX, 4);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"BAC710CB.db"});
    SqliteProbe probe(ShardFile("BAC710CB.db"));
    EXPECT_EQ(static_cast<uint64_t>(probe.Integer("SELECT file_id FROM meta_data_table")), UINT64_MAX);
    uint32_t type = 0;
    ASSERT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, UINT64_MAX), S_OK);
    EXPECT_EQ(type, 4u);
}

TEST_F(MetaDataShard, ShardFileHoldsTheBaseTablesAndMetaDataTableAsDefined) {
    Add(1);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    // The blank after the parenthesis is part of the stored text.
    EXPECT_EQ(shards_test::CreateTextOf(ShardFile("0.db"), "meta_data_table"),
              "CREATE TABLE meta_data_table ( file_id INTEGER PRIMARY KEY, meta_data_type INTEGER, meta_data BLOB)");
    EXPECT_EQ(shards_test::TablesOf(ShardFile("0.db")),
              (std::vector<std::string>{"last_id_table", "meta_data_table", "pooled_id_table", "version_info_table"}));
    SqliteProbe probe(ShardFile("0.db"));
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), Rows{{"1201"}});
}

TEST_F(MetaDataShard, FirstTouchMakesTheFolderAndTheShardFile) {
    ASSERT_FALSE(fs::exists(Folder()));
    uint32_t size = 9;

    EXPECT_EQ(m_factory.GetMetaData(nullptr, nullptr, &size, 20000), E_FAIL);

    EXPECT_EQ(NamesIn(Folder()), std::vector<std::string>{"2.db"});
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
}

TEST_F(MetaDataShard, GetShardAnswersTheOpenShardOfTheRange) {
    CSQLiteMetaDataDB* first = nullptr;
    CSQLiteMetaDataDB* again = nullptr;
    CSQLiteMetaDataDB* other = nullptr;

    ASSERT_EQ(m_factory.GetShard(&first, 100000), S_OK);
    ASSERT_EQ(m_factory.GetShard(&again, 109999), S_OK);
    ASSERT_EQ(m_factory.GetShard(&other, 110000), S_OK);

    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, again);
    EXPECT_NE(first, other);
    EXPECT_EQ(m_factory.m_shards.at(10).get(), first);
    EXPECT_EQ(first->m_fileName, CZanTString(u"A.db"));
    EXPECT_EQ(other->m_fileName, CZanTString(u"B.db"));
}

TEST_F(MetaDataShard, GetShardWithNullOutIsInvalidArgument) {
    EXPECT_EQ(m_factory.GetShard(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
}

TEST_F(MetaDataShard, EmptyFolderPathFailsEveryAccess) {
    CSQLiteMetaDataDBFactory factory{CZanTString()};
    CSQLiteMetaDataDB* shard = reinterpret_cast<CSQLiteMetaDataDB*>(0x1);
    uint32_t type = 0;

    EXPECT_EQ(factory.GetShard(&shard, 1), E_FAIL);
    EXPECT_EQ(shard, nullptr);
    EXPECT_EQ(factory.AddMetaData(1, 1, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(factory.UpdateMetaData(1, 1, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(factory.DeleteMetaData(1), E_FAIL);
    EXPECT_EQ(factory.GetMetaData(&type, nullptr, nullptr, 1), E_FAIL);
    EXPECT_EQ(factory.OpenShardCount(), 0u);
}

TEST_F(MetaDataShard, GetMetaDataClearsItsOutsEvenWhenTheShardCannotBeGot) {
    CSQLiteMetaDataDBFactory factory{CZanTString()};
    uint32_t type = 77, size = 88;
    void* data = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(factory.GetMetaData(&type, &data, &size, 1), E_FAIL);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(MetaDataShard, FolderThatCannotBeWrittenFailsAndKeepsTheMapEmpty) {
    fs::path locked = m_root / "locked";
    fs::create_directory(locked);
    zandb4::testing::OpenToEveryone(m_root.Path(), m_root.Path());
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
    CZanTString folder = Wide(locked / "meta");

    bool held = zandb4::testing::RunUnprivileged([&] {
        CSQLiteMetaDataDBFactory factory(folder);
        CSQLiteMetaDataDB* shard = nullptr;
        bool failed = factory.GetShard(&shard, 1) == E_FAIL && shard == nullptr;
        bool addFailed = factory.AddMetaData(1, 1, kPicture, sizeof kPicture) == E_FAIL;
        return failed && addFailed && factory.OpenShardCount() == 0;
    });

    EXPECT_TRUE(held);
    EXPECT_TRUE(NamesIn(locked).empty());
}

TEST_F(MetaDataShard, ShardFileThatIsNotADatabaseFailsItsOperationsOnly) {
    fs::create_directories(Folder());
    zandb4::testing::WriteFile(ShardFile("0.db"), "no database here");
    uint32_t type = 0;

    EXPECT_EQ(m_factory.AddMetaData(1, 1, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 1), E_FAIL);
    EXPECT_EQ(m_factory.UpdateMetaData(1, 1, kPicture, sizeof kPicture), E_FAIL);
    EXPECT_EQ(m_factory.DeleteMetaData(1), E_FAIL);

    Add(10001, 6);
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 10001), S_OK);
    EXPECT_EQ(type, 6u);
    m_factory.CloseShards();
    EXPECT_EQ(ReadWholeFile(ShardFile("0.db")), "no database here");
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("1.db")), (Rows{{"10001", "6", kPictureHex}}));
}

// Rows

TEST_F(MetaDataShard, SecondAddOfOneFileIdFails) {
    Add(5, 2);

    EXPECT_EQ(m_factory.AddMetaData(5, 3, kOtherPicture, sizeof kOtherPicture), E_FAIL);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"5", "2", kPictureHex}}));
}

TEST_F(MetaDataShard, TypeIsStoredAndGivenBackAsAll32Bits) {
    Add(6, 0xFFFFFFFFu);
    uint32_t type = 0;

    ASSERT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 6), S_OK);

    EXPECT_EQ(type, 0xFFFFFFFFu);
}

TEST_F(MetaDataShard, UpdateMetaDataReplacesTypeAndData) {
    Add(7, 2);

    EXPECT_EQ(m_factory.UpdateMetaData(7, 9, kOtherPicture, sizeof kOtherPicture), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"7", "9", kOtherPictureHex}}));
}

TEST_F(MetaDataShard, UpdateMetaDataOfAFileIdWithoutARowIsOkAndChangesNothing) {
    Add(8, 2);

    EXPECT_EQ(m_factory.UpdateMetaData(9, 9, kOtherPicture, sizeof kOtherPicture), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"8", "2", kPictureHex}}));
    uint32_t type = 5;
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 9), E_FAIL);
}

TEST_F(MetaDataShard, DeleteMetaDataRemovesTheRowAndAMissingRowIsNoFailure) {
    Add(10);
    Add(11);

    EXPECT_EQ(m_factory.DeleteMetaData(10), S_OK);
    EXPECT_EQ(m_factory.DeleteMetaData(10), S_OK);
    EXPECT_EQ(m_factory.DeleteMetaData(12), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"11", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, GetMetaDataGivesTypeSizeAndAHeapCopyTheCallerFrees) {
    ASSERT_EQ(m_factory.AddMetaData(13, 21, kOtherPicture, sizeof kOtherPicture), S_OK);
    uint32_t type = 0;
    void* data = nullptr;
    uint32_t size = 0;

    ASSERT_EQ(m_factory.GetMetaData(&type, &data, &size, 13), S_OK);

    EXPECT_EQ(type, 21u);
    ASSERT_EQ(size, sizeof kOtherPicture);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::memcmp(data, kOtherPicture, size), 0);
    // A second read gives a buffer of its own.
    void* second = nullptr;
    ASSERT_EQ(m_factory.GetMetaData(nullptr, &second, nullptr, 13), S_OK);
    EXPECT_NE(second, data);
    EXPECT_EQ(std::memcmp(second, kOtherPicture, sizeof kOtherPicture), 0);
    std::free(data);
    std::free(second);
}

TEST_F(MetaDataShard, GetMetaDataWithOnlyTheSizeRequestedAllocatesNothing) {
    ASSERT_EQ(m_factory.AddMetaData(14, 3, kOtherPicture, sizeof kOtherPicture), S_OK);
    uint32_t size = 0;
    uint32_t type = 0;

    EXPECT_EQ(m_factory.GetMetaData(nullptr, nullptr, &size, 14), S_OK);
    EXPECT_EQ(size, sizeof kOtherPicture);
    size = 0;
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, &size, 14), S_OK);

    EXPECT_EQ(type, 3u);
    EXPECT_EQ(size, sizeof kOtherPicture);
}

TEST_F(MetaDataShard, GetMetaDataWithAllThreeOutsNullIsInvalidArgument) {
    Add(15);

    EXPECT_EQ(m_factory.GetMetaData(nullptr, nullptr, nullptr, 15), E_INVALIDARG);
}

TEST_F(MetaDataShard, GetMetaDataWithoutARowFailsWithTheOutsCleared) {
    Add(16);
    uint32_t type = 77;
    void* data = reinterpret_cast<void*>(0x1);
    uint32_t size = 77;

    EXPECT_EQ(m_factory.GetMetaData(&type, &data, &size, 17), E_FAIL);

    EXPECT_EQ(type, 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(MetaDataShard, ZeroSizeBlockIsStoredAndReadBackWithoutABuffer) {
    ASSERT_EQ(m_factory.AddMetaData(18, 8, kPicture, 0), S_OK);
    ASSERT_EQ(m_factory.AddMetaData(19, 9, nullptr, 0), S_OK);
    uint32_t type = 0;
    void* data = reinterpret_cast<void*>(0x1);
    uint32_t size = 5;

    ASSERT_EQ(m_factory.GetMetaData(&type, &data, &size, 18), S_OK);
    EXPECT_EQ(type, 8u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);

    data = reinterpret_cast<void*>(0x1);
    size = 5;
    ASSERT_EQ(m_factory.GetMetaData(&type, &data, &size, 19), S_OK);
    EXPECT_EQ(type, 9u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(RowCountOnDisk(ShardFile("0.db"), "meta_data_table"), 2);
}

// Commit, reopen, close

TEST_F(MetaDataShard, CommitShardsWithNoShardOpenIsOk) {
    EXPECT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(MetaDataShard, RowsReachOtherConnectionsOnlyAtCommit) {
    Add(1);
    Add(10001);
    EXPECT_EQ(RowCountOnDisk(ShardFile("0.db"), "meta_data_table"), 0);
    EXPECT_EQ(RowCountOnDisk(ShardFile("1.db"), "meta_data_table"), 0);

    EXPECT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"1", "1", kPictureHex}}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("1.db")), (Rows{{"10001", "1", kPictureHex}}));
    EXPECT_EQ(m_factory.OpenShardCount(), 2u);
}

TEST_F(MetaDataShard, CommitShardsDoesNotStopAtAFailingShard) {
    AddCommittedAndClose({1, 10001});
    // A file of a newer major version refuses every commit.
    shards_test::SetStoredVersion(ShardFile("0.db"), 2000);
    Add(2);
    Add(10002);

    EXPECT_EQ(m_factory.CommitShards(), E_FAIL);

    EXPECT_EQ(MetaRowsOnDisk(ShardFile("1.db")), (Rows{{"10001", "1", kPictureHex}, {"10002", "1", kPictureHex}}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"1", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, ReopenShardsDropsWhatNoCommitWrote) {
    Add(1, 1);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    ASSERT_EQ(m_factory.UpdateMetaData(1, 2, kOtherPicture, sizeof kOtherPicture), S_OK);
    Add(2);
    Add(10002);

    EXPECT_EQ(m_factory.ReopenShards(), S_OK);

    EXPECT_EQ(m_factory.OpenShardCount(), 2u);
    uint32_t type = 0;
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 1), S_OK);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 2), E_FAIL);
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 10002), E_FAIL);
    // The reopened shards take writes again.
    Add(2);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"1", "1", kPictureHex}, {"2", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, ReopenShardsNotesAShardThatDoesNotOpenAgainAndGoesOn) {
    Add(1);
    Add(10001);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    Add(10002);
    ASSERT_TRUE(fs::remove(ShardFile("0.db")));
    ASSERT_TRUE(fs::create_directory(ShardFile("0.db")));

    EXPECT_EQ(m_factory.ReopenShards(), E_FAIL);

    uint32_t type = 0;
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 10001), S_OK);
    EXPECT_EQ(m_factory.GetMetaData(&type, nullptr, nullptr, 10002), E_FAIL);
}

TEST_F(MetaDataShard, CloseShardsCommitsAndEmptiesTheMap) {
    Add(1);
    Add(20001);

    m_factory.CloseShards();

    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"1", "1", kPictureHex}}));
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("2.db")), (Rows{{"20001", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, DestroyingTheFactoryCommitsWhatItsShardsHold) {
    {
        CSQLiteMetaDataDBFactory factory(Wide(Folder()));
        ASSERT_EQ(factory.AddMetaData(3, 4, kOtherPicture, sizeof kOtherPicture), S_OK);
    }
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"3", "4", kOtherPictureHex}}));
}

// VacuumOpenShards

TEST_F(MetaDataShard, VacuumOpenShardsCompactsTheOpenShardsOnly) {
    LeaveFreePages(m_factory, 1);
    LeaveFreePages(m_factory, 10001);
    m_factory.CloseShards();
    uint32_t size = 0;
    ASSERT_EQ(m_factory.GetMetaData(nullptr, nullptr, &size, 1), E_FAIL);
    ASSERT_EQ(m_factory.OpenShardCount(), 1u);

    EXPECT_EQ(m_factory.VacuumOpenShards(), S_OK);

    EXPECT_EQ(FreePagesOf(ShardFile("0.db")), 0);
    EXPECT_GT(FreePagesOf(ShardFile("1.db")), 0);
    // The shards stay open.
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
}

TEST_F(MetaDataShard, VacuumOpenShardsTriesEveryShardAndAnswersAFailure) {
    LeaveFreePages(m_factory, 1);
    LeaveFreePages(m_factory, 10001);
    m_factory.CloseShards();
    shards_test::SetStoredVersion(ShardFile("0.db"), 2000);
    uint32_t size = 0;
    ASSERT_EQ(m_factory.GetMetaData(nullptr, nullptr, &size, 1), E_FAIL);
    ASSERT_EQ(m_factory.GetMetaData(nullptr, nullptr, &size, 10001), E_FAIL);

    EXPECT_EQ(m_factory.VacuumOpenShards(), E_FAIL);

    EXPECT_GT(FreePagesOf(ShardFile("0.db")), 0);
    EXPECT_EQ(FreePagesOf(ShardFile("1.db")), 0);
}

TEST_F(MetaDataShard, VacuumOpenShardsCommitsFirst) {
    Add(1);

    EXPECT_EQ(m_factory.VacuumOpenShards(), S_OK);

    EXPECT_EQ(MetaRowsOnDisk(ShardFile("0.db")), (Rows{{"1", "1", kPictureHex}}));
}

// CountOrphans

TEST_F(MetaDataShard, CountOrphansCountsRowsNotInTheArrayOverEveryShardFile) {
    AddCommittedAndClose({1, 2, 10001});
    Add(10002);
    Add(100001);
    ASSERT_EQ(m_factory.OpenShardCount(), 2u);

    EXPECT_EQ(CountOrphans({1, 10001, 100001}), 2u);

    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_EQ(MetaRowsOnDisk(ShardFile("A.db")), (Rows{{"100001", "1", kPictureHex}}));
}

TEST_F(MetaDataShard, CountOrphansReadsShardFilesNeverOpenedInThisRun) {
    {
        CSQLiteMetaDataDBFactory earlier(Wide(Folder()));
        for (uint64_t id : {5, 6, 160005}) ASSERT_EQ(earlier.AddMetaData(id, 1, kPicture, sizeof kPicture), S_OK);
    }

    EXPECT_EQ(CountOrphans({5}), 2u);
    EXPECT_EQ(CountOrphans({5, 6, 160005}), 0u);
}

TEST_F(MetaDataShard, CountOrphansLeavesFilesOfOtherExtensionsAndFoldersNamedDbAlone) {
    AddCommittedAndClose({1, 2});
    fs::copy_file(ShardFile("0.db"), ShardFile("0.db.bak"));
    fs::create_directory(ShardFile("x.db"));
    const std::string spareBefore = ReadWholeFile(ShardFile("0.db.bak"));

    EXPECT_EQ(CountOrphans({2}), 1u);

    EXPECT_EQ(ReadWholeFile(ShardFile("0.db.bak")), spareBefore);
    EXPECT_TRUE(fs::is_directory(ShardFile("x.db")));
}

TEST_F(MetaDataShard, CountOrphansAddsNothingForAFileWhoseStatementFails) {
    AddCommittedAndClose({10001, 10002});
    zandb4::testing::WriteFile(ShardFile("0.db"), "no database here");

    EXPECT_EQ(CountOrphans({10002}), 1u);
}

TEST_F(MetaDataShard, CountOrphansAnswersAFailedCommitAsTheCount) {
    VolumeSerialOverride volume(7);
    Add(1);
    volume.Set(8);

    EXPECT_EQ(CountOrphans({1}), kFailedCount);

    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    volume.Set(7);
}

}  // namespace
