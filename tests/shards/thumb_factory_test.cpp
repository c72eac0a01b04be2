// The walks of one folder of thumbnail shards: deleting a list or all rows
// from the open shards, committing, dropping what no commit wrote, closing,
// vacuuming every shard file of the folder and counting orphans over them.
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "../storage/store_test_helpers.h"
#include "shards/thumb_db_factory.h"
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
using shards_test::NamesIn;
using shards_test::ReadWholeFile;
using shards_test::RowCountOnDisk;
using shards_test::Rows;
using shards_test::ThumbRowsOnDisk;
using shards_test::Wide;
using storage_test::VolumeSerialOverride;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace fs = std::filesystem;

using IdSet = std::set<uint64_t>;

// The result of a commit that failed, as CountOrphans gives it back.
constexpr uint32_t kFailedCount = 0x80004005u;

CZanTArray<uint64_t>* NewIdArray(std::initializer_list<uint64_t> ids) {
    auto* array = new CZanTArray<uint64_t>();
    for (uint64_t id : ids) array->Add(id);
    return array;
}

class ThumbFactory : public ::testing::Test {
protected:
    fs::path Folder() const { return m_root / "thumb_1s"; }
    fs::path ShardFile(const std::string& name) const { return Folder() / name; }

    void Add(uint64_t id) { ASSERT_EQ(m_factory.AddThumbnail(id, kPicture, sizeof kPicture), S_OK) << id; }

    // Writes and commits the rows, then closes every shard.
    void AddCommittedAndClose(std::initializer_list<uint64_t> ids) {
        for (uint64_t id : ids) Add(id);
        ASSERT_EQ(m_factory.CommitShards(), S_OK);
        m_factory.CloseShards();
        ASSERT_EQ(m_factory.OpenShardCount(), 0u);
    }

    // Puts text in place of the first shard's file, before anything opens it.
    void MakeFirstShardNotADatabase() {
        fs::create_directories(Folder());
        zandb4::testing::WriteFile(ShardFile("00000000.db"), m_garbage);
    }

    uint32_t CountOrphans(std::initializer_list<uint64_t> ids) {
        std::unique_ptr<CZanTArray<uint64_t>> array(NewIdArray(ids));
        return m_factory.CountOrphans(*array);
    }

    TempFolder m_root;
    CSQLiteThumbDBFactory m_factory{Wide(m_root / "thumb_1s")};
    const std::string m_garbage = "not a database, just text where a shard should be";
};

// DeleteThumbnails

TEST_F(ThumbFactory, DeleteThumbnailsWithNullOrEmptySetDoesNothing) {
    Add(1);
    IdSet empty;

    EXPECT_EQ(m_factory.DeleteThumbnails(nullptr), S_OK);
    EXPECT_EQ(m_factory.DeleteThumbnails(&empty), S_OK);

    EXPECT_TRUE(m_factory.HasThumbnail(1));
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
}

TEST_F(ThumbFactory, DeleteThumbnailsRemovesTheListedRowsFromTheOpenShards) {
    for (uint64_t id : {5, 6, 10005, 20005}) Add(id);
    IdSet ids{5, 20005, 10006};

    EXPECT_EQ(m_factory.DeleteThumbnails(&ids), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"6", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10005", kPictureHex, "0"}}));
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000002.db"), "thumbnail_table"), 0);
}

TEST_F(ThumbFactory, DeleteThumbnailsLeavesTheRowsOfShardsThatAreNotOpen) {
    AddCommittedAndClose({5, 10005});
    // Only the first shard is open in this run.
    ASSERT_TRUE(m_factory.HasThumbnail(5));
    IdSet ids{5, 10005};

    EXPECT_EQ(m_factory.DeleteThumbnails(&ids), S_OK);

    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10005", kPictureHex, "0"}}));
}

TEST_F(ThumbFactory, DeleteThumbnailsSendsTheWholeListToEveryOpenShard) {
    AddCommittedAndClose({1, 10005});
    {
        // A row out of its range in the first shard: the list is not split
        // by shard, so it goes too.
        SqliteProbe probe(ShardFile("00000000.db"));
        ASSERT_EQ(probe.Exec("INSERT INTO thumbnail_table VALUES (10005, 0, x'01', 0)"), SQLITE_OK);
    }
    ASSERT_TRUE(m_factory.HasThumbnail(1));
    ASSERT_TRUE(m_factory.HasThumbnail(10005));
    IdSet ids{10005};

    EXPECT_EQ(m_factory.DeleteThumbnails(&ids), S_OK);

    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000001.db"), "thumbnail_table"), 0);
}

TEST_F(ThumbFactory, DeleteThumbnailsStopsAtAShardWhoseStatementFails) {
    MakeFirstShardNotADatabase();
    Add(10005);
    Add(20005);
    ASSERT_FALSE(m_factory.HasThumbnail(5));
    IdSet ids{10005, 20005};

    EXPECT_EQ(m_factory.DeleteThumbnails(&ids), E_FAIL);

    // The walk ended at the first shard; the ones after it keep their rows.
    EXPECT_TRUE(m_factory.HasThumbnail(10005));
    EXPECT_TRUE(m_factory.HasThumbnail(20005));
}

// DeleteAllThumbnails

TEST_F(ThumbFactory, DeleteAllThumbnailsEmptiesTheOpenShardsOnly) {
    AddCommittedAndClose({1, 2, 10001});
    ASSERT_TRUE(m_factory.HasThumbnail(1));

    EXPECT_EQ(m_factory.DeleteAllThumbnails(), S_OK);

    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10001", kPictureHex, "0"}}));
}

TEST_F(ThumbFactory, DeleteAllThumbnailsNotesAFailingShardAndGoesOn) {
    MakeFirstShardNotADatabase();
    ASSERT_FALSE(m_factory.HasThumbnail(5));
    Add(10001);
    Add(20001);

    EXPECT_EQ(m_factory.DeleteAllThumbnails(), E_FAIL);

    EXPECT_FALSE(m_factory.HasThumbnail(10001));
    EXPECT_FALSE(m_factory.HasThumbnail(20001));
}

TEST_F(ThumbFactory, DeleteAllThumbnailsWithNoShardOpenIsOk) {
    EXPECT_EQ(m_factory.DeleteAllThumbnails(), S_OK);
    EXPECT_FALSE(fs::exists(Folder()));
}

// CommitShards

TEST_F(ThumbFactory, CommitShardsWithNoShardOpenIsOkAndMakesNothing) {
    EXPECT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(ThumbFactory, RowsReachOtherConnectionsOnlyAtCommit) {
    Add(1);
    Add(10001);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000001.db"), "thumbnail_table"), 0);

    EXPECT_EQ(m_factory.CommitShards(), S_OK);

    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10001", kPictureHex, "0"}}));
    // Every shard stays open.
    EXPECT_EQ(m_factory.OpenShardCount(), 2u);
}

TEST_F(ThumbFactory, CommitShardsStopsAtTheFirstShardThatFails) {
    AddCommittedAndClose({1, 10001});
    // A file of a newer major version opens, but refuses every commit.
    shards_test::SetStoredVersion(ShardFile("00000000.db"), 2000);
    Add(2);
    Add(10002);

    EXPECT_EQ(m_factory.CommitShards(), E_FAIL);

    // The shard after the failing one stays uncommitted.
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10001", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
}

TEST_F(ThumbFactory, CommitShardsFailsOnAReplacedVolumeAndSucceedsWhenItComesBack) {
    VolumeSerialOverride volume(7);
    Add(1);
    volume.Set(8);

    EXPECT_EQ(m_factory.CommitShards(), E_FAIL);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);

    volume.Set(7);
    EXPECT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
}

// ReopenShards

TEST_F(ThumbFactory, ReopenShardsDropsWhatNoCommitWrote) {
    Add(1);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    Add(2);
    Add(10002);
    ASSERT_EQ(m_factory.UpdateThumbnail(1, kOtherPicture, sizeof kOtherPicture), S_OK);

    EXPECT_EQ(m_factory.ReopenShards(), S_OK);

    EXPECT_EQ(m_factory.OpenShardCount(), 2u);
    EXPECT_TRUE(m_factory.HasThumbnail(1));
    EXPECT_FALSE(m_factory.HasThumbnail(2));
    EXPECT_FALSE(m_factory.HasThumbnail(10002));
    // The reopened shards take writes again.
    EXPECT_EQ(m_factory.AddThumbnail(2, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}, {"2", kPictureHex, "0"}}));
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000001.db"), "thumbnail_table"), 0);
}

TEST_F(ThumbFactory, ReopenShardsNotesAShardThatDoesNotOpenAgainAndGoesOn) {
    Add(1);
    Add(10001);
    ASSERT_EQ(m_factory.CommitShards(), S_OK);
    Add(10002);
    // The first shard's file is replaced by a folder, which SQLite cannot open.
    ASSERT_TRUE(fs::remove(ShardFile("00000000.db")));
    ASSERT_TRUE(fs::create_directory(ShardFile("00000000.db")));

    EXPECT_EQ(m_factory.ReopenShards(), E_FAIL);

    // The shard after it was reopened all the same, without its uncommitted row.
    EXPECT_TRUE(m_factory.HasThumbnail(10001));
    EXPECT_FALSE(m_factory.HasThumbnail(10002));
}

// CloseShards and destruction

TEST_F(ThumbFactory, CloseShardsCommitsAndEmptiesTheMap) {
    Add(1);
    Add(10001);

    m_factory.CloseShards();

    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_TRUE(m_factory.m_shards.empty());
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10001", kPictureHex, "0"}}));
    EXPECT_TRUE(m_factory.HasThumbnail(1));
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
}

TEST_F(ThumbFactory, DestroyingTheFactoryCommitsWhatItsShardsHold) {
    {
        CSQLiteThumbDBFactory factory(Wide(Folder()));
        ASSERT_EQ(factory.AddThumbnail(3, kOtherPicture, sizeof kOtherPicture), S_OK);
    }
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"3", kOtherPictureHex, "0"}}));
}

// VacuumShards

TEST_F(ThumbFactory, VacuumShardsCommitsClosesAndTheNextAccessOpensAgain) {
    Add(1);
    Add(10001);

    EXPECT_EQ(m_factory.VacuumShards(), S_OK);

    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"1", kPictureHex, "0"}}));
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000001.db")), (Rows{{"10001", kPictureHex, "0"}}));
    EXPECT_TRUE(m_factory.HasThumbnail(10001));
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    EXPECT_EQ(m_factory.m_shards.begin()->first, 1u);
}

TEST_F(ThumbFactory, VacuumShardsCompactsEveryShardFileOfTheFolder) {
    LeaveFreePages(m_factory, 1);
    LeaveFreePages(m_factory, 10001);
    Add(2);
    m_factory.CloseShards();
    ASSERT_GT(FreePagesOf(ShardFile("00000000.db")), 0);
    ASSERT_GT(FreePagesOf(ShardFile("00000001.db")), 0);
    // Only the first shard is open; the second is vacuumed as a file.
    ASSERT_TRUE(m_factory.HasThumbnail(2));

    EXPECT_EQ(m_factory.VacuumShards(), S_OK);

    EXPECT_EQ(FreePagesOf(ShardFile("00000000.db")), 0);
    EXPECT_EQ(FreePagesOf(ShardFile("00000001.db")), 0);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000000.db")), (Rows{{"2", kPictureHex, "0"}}));
}

TEST_F(ThumbFactory, VacuumShardsLeavesFilesOfOtherExtensionsAndFoldersNamedDbAlone) {
    LeaveFreePages(m_factory, 1);
    m_factory.CloseShards();
    // A shard file under another extension is no shard, and a folder named
    // like one is none either.
    fs::copy_file(ShardFile("00000000.db"), ShardFile("spare.txt"));
    fs::create_directory(ShardFile("x.db"));
    zandb4::testing::WriteFile(ShardFile("x.db") / "inside.txt", "kept");
    const std::string spareBefore = ReadWholeFile(ShardFile("spare.txt"));
    ASSERT_GT(FreePagesOf(ShardFile("spare.txt")), 0);

    EXPECT_EQ(m_factory.VacuumShards(), S_OK);

    EXPECT_EQ(FreePagesOf(ShardFile("00000000.db")), 0);
    EXPECT_EQ(ReadWholeFile(ShardFile("spare.txt")), spareBefore);
    EXPECT_TRUE(fs::is_directory(ShardFile("x.db")));
    EXPECT_EQ(ReadWholeFile(ShardFile("x.db") / "inside.txt"), "kept");
    EXPECT_EQ(NamesIn(Folder()), (std::vector<std::string>{"00000000.db", "spare.txt", "x.db"}));
}

TEST_F(ThumbFactory, VacuumShardsStopsAtTheFirstVacuumThatFails) {
    LeaveFreePages(m_factory, 10001);
    m_factory.CloseShards();
    // Listed first, it opens (SQLite reads lazily) but cannot be vacuumed.
    MakeFirstShardNotADatabase();

    EXPECT_EQ(m_factory.VacuumShards(), E_FAIL);

    EXPECT_GT(FreePagesOf(ShardFile("00000001.db")), 0);
    EXPECT_EQ(ReadWholeFile(ShardFile("00000000.db")), m_garbage);
    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
}

TEST_F(ThumbFactory, VacuumShardsPassesOverAFileThatDoesNotOpen) {
    LeaveFreePages(m_factory, 1);
    LeaveFreePages(m_factory, 10001);
    m_factory.CloseShards();
    zandb4::testing::OpenToEveryone(Folder(), m_root.Path());
    fs::permissions(ShardFile("00000001.db"), fs::perms::all, fs::perm_options::add);
    // Nobody but root may read the first shard.
    fs::permissions(ShardFile("00000000.db"), fs::perms::none);
    CZanTString folder = Wide(Folder());

    bool held = zandb4::testing::RunUnprivileged([&] {
        CSQLiteThumbDBFactory factory(folder);
        return factory.VacuumShards() == S_OK && factory.OpenShardCount() == 0;
    });

    EXPECT_TRUE(held);
    EXPECT_EQ(FreePagesOf(ShardFile("00000001.db")), 0);
    // Readable again, the first shard shows it was not vacuumed.
    fs::permissions(ShardFile("00000000.db"), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_GT(FreePagesOf(ShardFile("00000000.db")), 0);
}

TEST_F(ThumbFactory, VacuumShardsAnswersAFailedCommitAndKeepsTheShardsOpen) {
    VolumeSerialOverride volume(7);
    Add(1);
    volume.Set(8);

    EXPECT_EQ(m_factory.VacuumShards(), E_FAIL);

    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    EXPECT_EQ(RowCountOnDisk(ShardFile("00000000.db"), "thumbnail_table"), 0);
    volume.Set(7);
}

TEST_F(ThumbFactory, VacuumShardsOfAFolderThatDoesNotExistIsOk) {
    EXPECT_EQ(m_factory.VacuumShards(), S_OK);
    EXPECT_FALSE(fs::exists(Folder()));
}

// CountOrphans

TEST_F(ThumbFactory, CountOrphansCountsRowsNotInTheArrayOverEveryShardFile) {
    AddCommittedAndClose({1, 2, 10001});
    // Uncommitted rows in open shards count too: the count commits first.
    Add(10002);
    Add(20001);
    ASSERT_EQ(m_factory.OpenShardCount(), 2u);

    // The array holds identifiers of three shards; each shard sees all of them.
    EXPECT_EQ(CountOrphans({1, 10001, 20001, 99999}), 2u);

    EXPECT_EQ(m_factory.OpenShardCount(), 0u);
    EXPECT_EQ(ThumbRowsOnDisk(ShardFile("00000002.db")), (Rows{{"20001", kPictureHex, "0"}}));
}

TEST_F(ThumbFactory, CountOrphansReadsShardFilesNeverOpenedInThisRun) {
    {
        CSQLiteThumbDBFactory earlier(Wide(Folder()));
        for (uint64_t id : {5, 6, 7, 50005})
            ASSERT_EQ(earlier.AddThumbnail(id, kPicture, sizeof kPicture), S_OK);
    }
    ASSERT_EQ(m_factory.OpenShardCount(), 0u);

    EXPECT_EQ(CountOrphans({6}), 3u);
    EXPECT_EQ(CountOrphans({5, 6, 7, 50005}), 0u);
}

TEST_F(ThumbFactory, CountOrphansWithAnEmptyArrayCountsEveryRow) {
    AddCommittedAndClose({1, 10001, 10002});

    EXPECT_EQ(CountOrphans({}), 3u);
}

TEST_F(ThumbFactory, CountOrphansLeavesFilesOfOtherExtensionsAndFoldersNamedDbAlone) {
    AddCommittedAndClose({1, 2});
    fs::copy_file(ShardFile("00000000.db"), ShardFile("spare.txt"));
    fs::create_directory(ShardFile("x.db"));
    const std::string spareBefore = ReadWholeFile(ShardFile("spare.txt"));

    EXPECT_EQ(CountOrphans({1}), 1u);

    EXPECT_EQ(ReadWholeFile(ShardFile("spare.txt")), spareBefore);
    EXPECT_TRUE(fs::is_directory(ShardFile("x.db")));
}

TEST_F(ThumbFactory, CountOrphansAddsNothingForAFileWhoseStatementFails) {
    AddCommittedAndClose({10001, 10002});
    MakeFirstShardNotADatabase();

    EXPECT_EQ(CountOrphans({10001}), 1u);
}

TEST_F(ThumbFactory, CountOrphansAnswersAFailedCommitAsTheCount) {
    VolumeSerialOverride volume(7);
    Add(1);
    volume.Set(8);

    EXPECT_EQ(CountOrphans({}), kFailedCount);

    // The walk ended before the shards were closed.
    EXPECT_EQ(m_factory.OpenShardCount(), 1u);
    volume.Set(7);
}

TEST_F(ThumbFactory, CountOrphansOfAFolderThatDoesNotExistIsZero) {
    EXPECT_EQ(CountOrphans({1}), 0u);
    EXPECT_FALSE(fs::exists(Folder()));
}

}  // namespace

namespace {

// The bytes of page cache the connection of the shard holding id uses now.
int CacheBytesOf(CSQLiteThumbDBFactory& factory, uint64_t id) {
    CSQLiteThumbDB* shard = nullptr;
    if (factory.GetShard(&shard, id) != S_OK || shard == nullptr || shard->m_db == nullptr) return -1;
    int current = 0, highest = 0;
    if (sqlite3_db_status(shard->m_db, SQLITE_DBSTATUS_CACHE_USED, &current, &highest, 0) != SQLITE_OK) return -1;
    return current;
}

// Every shard stays open until the library stops; a committed shard gives
// its page cache back, so that the memory of an import does not grow with
// the number of shards it has touched.
TEST_F(ThumbFactory, CommitShardsGivesBackTheCacheOfEveryShardAndTheRowsStayReadable) {
    const std::vector<uint64_t> ids{5, 10005, 20005, 30005};
    for (uint64_t id : ids) Add(id);
    for (uint64_t id : ids) ASSERT_GT(CacheBytesOf(m_factory, id), 16 * 1024) << id;

    ASSERT_EQ(m_factory.CommitShards(), S_OK);

    ASSERT_EQ(m_factory.OpenShardCount(), ids.size());
    for (uint64_t id : ids) EXPECT_LT(CacheBytesOf(m_factory, id), 8 * 1024) << id;
    for (uint64_t id : ids) {
        EXPECT_TRUE(m_factory.HasThumbnail(id)) << id;
        EXPECT_EQ(ThumbRowsOnDisk(ShardFile(id < 10000 ? "00000000.db" : "0000000" + std::to_string(id / 10000) + ".db")),
                  (Rows{{std::to_string(id), kPictureHex, "0"}}));
    }
}

}  // namespace
