// The single long transaction of a store: BeginTransaction without nesting,
// Commit with and without force, the volume guard, Close, Reopen as the one
// way back, Vacuum, and what the destructor does with an open transaction.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "storage/sqlite_db_base.h"
#include "store_test_helpers.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace {

using storage_test::kStoreName;
using storage_test::PlaceStore;
using storage_test::Rows;
using storage_test::SqliteTransactionOpen;
using storage_test::StatementTrace;
using storage_test::VolumeSerialOverride;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

// The rows of last_id_table on disk, as another connection sees them.
Rows CountersOnDisk(const TempFolder& folder) {
    SqliteProbe probe(folder / kStoreName);
    return probe.Rows("SELECT id_type, last_id FROM last_id_table ORDER BY id_type");
}

// Draws one id of type 1 so that the open transaction holds a write.
void WriteOneCounter(CSQLiteDBBase& store) {
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(1, &id), S_OK);
}

// Counts the calls that reach a store's own Open and Commit.
class CountingStore : public CSQLiteDBBase {
public:
    HRESULT Open() override {
        ++openCalls;
        return CSQLiteDBBase::Open();
    }
    HRESULT Commit(bool force) override {
        ++commitCalls;
        return refuseCommit ? E_FAIL : CSQLiteDBBase::Commit(force);
    }
    int openCalls = 0;
    int commitCalls = 0;
    bool refuseCommit = false;
};

TEST(DatabaseBaseTransaction, BeginTransactionRunsBeginAndSetsTheFlag) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    StatementTrace trace(store);

    store.BeginTransaction();

    EXPECT_EQ(trace.Statements(), std::vector<std::string>{"BEGIN;"});
    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_TRUE(SqliteTransactionOpen(store.m_db));
}

TEST(DatabaseBaseTransaction, SecondBeginTransactionIssuesNoSecondBegin) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    StatementTrace trace(store);
    store.BeginTransaction();

    store.BeginTransaction();

    EXPECT_EQ(trace.Count("BEGIN;"), 1u);
    EXPECT_EQ(trace.Statements().size(), 1u);
    EXPECT_EQ(store.m_inTransaction, 1);
}

TEST(DatabaseBaseTransaction, BeginTransactionWithoutConnectionSetsTheFlag) {
    CSQLiteDBBase store;

    store.BeginTransaction();

    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(store.m_db, nullptr);
}

TEST(DatabaseBaseTransaction, CommitEndsTheTransactionAndMakesWritesDurable) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    ASSERT_EQ(CountersOnDisk(folder), Rows{});
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(trace.Statements(), std::vector<std::string>{"COMMIT;"});
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_FALSE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseTransaction, OneCommitEndsTheWholeTransaction) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    store.BeginTransaction();
    WriteOneCounter(store);
    store.BeginTransaction();
    WriteOneCounter(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_FALSE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "2"}}));
}

TEST(DatabaseBaseTransaction, ForcedCommitWithoutTransactionAnswersOkAndCountsAsCommitted) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.HasCommitted(), 0);
    StatementTrace trace(store);

    // SQLite refuses this COMMIT, as no transaction is active.
    EXPECT_EQ(store.Commit(true), S_OK);

    EXPECT_EQ(trace.Statements(), std::vector<std::string>{"COMMIT;"});
    EXPECT_EQ(store.m_hasCommitted, 1);
    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_EQ(store.m_inTransaction, 0);
}

TEST(DatabaseBaseTransaction, CommitOfIdleStoreRunsNothingAndLeavesHasCommittedClear) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_TRUE(trace.Statements().empty());
    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST(DatabaseBaseTransaction, CommitOfIdleStoreLeavesHasCommittedSet) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    ASSERT_EQ(store.Commit(false), S_OK);
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_TRUE(trace.Statements().empty());
    EXPECT_EQ(store.HasCommitted(), 1);
}

TEST(DatabaseBaseTransaction, CommitWithoutConnectionFails) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    store.BeginTransaction();

    EXPECT_EQ(store.Commit(false), E_FAIL);
    EXPECT_EQ(store.Commit(true), E_FAIL);

    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST(DatabaseBaseTransaction, CommitWithoutFolderFailsAndKeepsTheTransaction) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    store.m_folder.Empty();

    EXPECT_EQ(store.Commit(true), E_FAIL);

    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_TRUE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(store.HasCommitted(), 0);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, CommitOnSwappedVolumeFailsAndKeepsTheTransaction) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    StatementTrace trace(store);
    serial.Set(0x2222);

    EXPECT_EQ(store.Commit(false), E_FAIL);

    EXPECT_TRUE(trace.Statements().empty());
    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_TRUE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(store.HasCommitted(), 0);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, ForcedCommitOnSwappedVolumeFailsToo) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    serial.Set(0x2222);

    EXPECT_EQ(store.Commit(true), E_FAIL);

    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST(DatabaseBaseTransaction, CommitSucceedsOnceTheVolumeComesBack) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    serial.Set(0x2222);
    ASSERT_EQ(store.Commit(false), E_FAIL);
    serial.Set(0x1111);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseTransaction, CommitFailsWhenTheSerialCannotBeReadAnyMore) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    serial.Set(0);

    EXPECT_EQ(store.Commit(false), E_FAIL);

    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, CloseCommitsTheOpenTransaction) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);

    EXPECT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseTransaction, CloseWithVolumeGuardRefusingThrowsTheTransactionAway) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    serial.Set(0x2222);

    EXPECT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.m_volumeSerial, 0u);
    EXPECT_EQ(store.HasCommitted(), 0);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, CloseClearsConnectionFlagAndSerial) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.m_volumeSerial, 0u);
}

TEST(DatabaseBaseTransaction, CloseWithoutConnectionAnswersOk) {
    CSQLiteDBBase store;
    store.BeginTransaction();

    EXPECT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST(DatabaseBaseTransaction, CloseGoesThroughTheStoresOwnCommit) {
    TempFolder folder;
    CountingStore store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    store.refuseCommit = true;

    EXPECT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.commitCalls, 1);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, HasCommittedSurvivesCloseAndOpen) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    ASSERT_EQ(store.Commit(false), S_OK);

    ASSERT_EQ(store.Close(), S_OK);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.HasCommitted(), 1);
}

TEST(DatabaseBaseTransaction, ReopenDropsUncommittedWritesAndKeepsHasCommitted) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    ASSERT_EQ(store.Commit(false), S_OK);
    WriteOneCounter(store);
    ASSERT_EQ(store.SetVersion(1300), S_OK);

    EXPECT_EQ(store.Reopen(), S_OK);

    EXPECT_NE(store.m_db, nullptr);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
}

TEST(DatabaseBaseTransaction, ReopenWithoutEarlierCommitLeavesHasCommittedClear) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    StatementTrace trace(store);

    EXPECT_EQ(store.Reopen(), S_OK);

    EXPECT_EQ(trace.Count("COMMIT;"), 0u);
    EXPECT_EQ(store.HasCommitted(), 0);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, ReopenGoesThroughTheStoresOwnOpenAndNotItsCommit) {
    TempFolder folder;
    CountingStore store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);

    EXPECT_EQ(store.Reopen(), S_OK);

    EXPECT_EQ(store.openCalls, 2);
    EXPECT_EQ(store.commitCalls, 0);
}

TEST(DatabaseBaseTransaction, ReopenAnswersWhatOpenAnswers) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    store.m_folder.Empty();

    EXPECT_EQ(store.Reopen(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, VacuumCommitsAndCompactsTheFile) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    store.BeginTransaction();
    for (uint64_t id = 1; id <= 3000; ++id) ASSERT_EQ(store.PoolID(id, 5), S_OK);
    ASSERT_EQ(store.Commit(false), S_OK);
    store.BeginTransaction();
    ASSERT_EQ(storage_test::ExecOn(store, "DELETE FROM pooled_id_table"), SQLITE_OK);
    WriteOneCounter(store);
    uintmax_t sizeBefore = std::filesystem::file_size(folder / kStoreName);
    StatementTrace trace(store);

    EXPECT_EQ(store.Vacuum(), S_OK);

    EXPECT_EQ(trace.Statements(), (std::vector<std::string>{"COMMIT;", "VACUUM;"}));
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_LT(std::filesystem::file_size(folder / kStoreName), sizeBefore);
    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM pooled_id_table"), 0);
}

TEST(DatabaseBaseTransaction, VacuumGoesThroughTheStoresOwnCommit) {
    TempFolder folder;
    CountingStore store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.Vacuum(), S_OK);

    EXPECT_EQ(store.commitCalls, 1);
}

TEST(DatabaseBaseTransaction, VacuumWithoutConnectionFails) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    EXPECT_EQ(store.Vacuum(), E_FAIL);
}

TEST(DatabaseBaseTransaction, VacuumWithoutFolderFails) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    store.m_folder.Empty();

    EXPECT_EQ(store.Vacuum(), E_FAIL);
}

TEST(DatabaseBaseTransaction, VacuumFailsWhenTheGuardKeepsTheTransactionOpen) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    serial.Set(0x2222);

    // The commit is refused and SQLite cannot vacuum inside a transaction.
    EXPECT_EQ(store.Vacuum(), E_FAIL);

    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

TEST(DatabaseBaseTransaction, MemoryStoreCommitsButDoesNotVacuum) {
    CSQLiteDBBase store;
    store.m_fileName = u":memory:";
    ASSERT_EQ(store.Open(), S_OK);
    WriteOneCounter(store);
    ASSERT_TRUE(SqliteTransactionOpen(store.m_db));

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_FALSE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 1);
    EXPECT_EQ(store.Vacuum(), E_FAIL);
}

TEST(DatabaseBaseTransaction, DestructorCommitsTheOpenTransaction) {
    TempFolder folder;
    {
        CSQLiteDBBase store;
        PlaceStore(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
        WriteOneCounter(store);
    }

    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseTransaction, DestructorCommitsEvenWhenTheStoresCommitRefuses) {
    TempFolder folder;
    {
        CountingStore store;
        PlaceStore(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
        WriteOneCounter(store);
        store.refuseCommit = true;
    }

    EXPECT_EQ(CountersOnDisk(folder), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseTransaction, DestructorOnSwappedVolumeKeepsNothing) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1111);
    {
        CSQLiteDBBase store;
        PlaceStore(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
        WriteOneCounter(store);
        serial.Set(0x2222);
    }

    EXPECT_EQ(CountersOnDisk(folder), Rows{});
}

}  // namespace
