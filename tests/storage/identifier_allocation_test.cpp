// Identifiers of a store: the counter per id type in last_id_table, the pool
// of returned ids in pooled_id_table, the transaction every id is drawn in,
// and what each operation leaves behind when SQLite refuses a step.
#include <gtest/gtest.h>

#include <string>

#include "storage/sqlite_db_base.h"
#include "store_test_helpers.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace {

using storage_test::ExecOn;
using storage_test::kStoreName;
using storage_test::PlaceStore;
using storage_test::Rows;
using storage_test::StatementTrace;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

// A store opened on a fresh file in its own temporary folder.
class IdentifierAllocation : public ::testing::Test {
protected:
    void SetUp() override {
        PlaceStore(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
    }

    // Commits and answers the rows of table on disk, ordered by both columns.
    Rows DurableRows(const std::string& table, const std::string& idColumn) {
        EXPECT_EQ(store.Commit(false), S_OK);
        SqliteProbe probe(folder / kStoreName);
        return probe.Rows("SELECT id_type, " + idColumn + " FROM " + table + " ORDER BY id_type, " + idColumn);
    }
    Rows Counters() { return DurableRows("last_id_table", "last_id"); }
    Rows Pool() { return DurableRows("pooled_id_table", "pooled_id"); }

    uint64_t Draw(uint32_t idType) {
        uint64_t id = 0;
        EXPECT_EQ(store.NewID(idType, &id), S_OK);
        return id;
    }

    TempFolder folder;
    CSQLiteDBBase store;
};

TEST_F(IdentifierAllocation, FirstIdsOfATypeAreOneThenTwoInOneCounterRow) {
    uint64_t first = 0;
    uint64_t second = 0;

    EXPECT_EQ(store.NewID(1, &first), S_OK);
    EXPECT_EQ(store.NewID(1, &second), S_OK);

    EXPECT_EQ(first, 1u);
    EXPECT_EQ(second, 2u);
    EXPECT_EQ(Counters(), (Rows{{"1", "2"}}));
}

TEST_F(IdentifierAllocation, EachTypeHasItsOwnCounter) {
    EXPECT_EQ(Draw(2), 1u);
    EXPECT_EQ(Draw(2), 2u);
    EXPECT_EQ(Draw(0), 1u);
    EXPECT_EQ(Draw(7), 1u);
    EXPECT_EQ(Draw(2), 3u);

    EXPECT_EQ(Counters(), (Rows{{"0", "1"}, {"2", "3"}, {"7", "1"}}));
}

TEST_F(IdentifierAllocation, CounterContinuesFromTheStoredLastId) {
    ASSERT_EQ(ExecOn(store, "INSERT INTO last_id_table (id_type,last_id) VALUES (4,41)"), SQLITE_OK);

    EXPECT_EQ(Draw(4), 42u);

    EXPECT_EQ(Counters(), (Rows{{"4", "42"}}));
}

TEST_F(IdentifierAllocation, IdsUseAllSixtyFourBits) {
    ASSERT_EQ(ExecOn(store, "INSERT INTO last_id_table (id_type,last_id) VALUES (1,5000000000)"), SQLITE_OK);
    ASSERT_EQ(store.PoolID(0x123456789ABull, 2), S_OK);

    EXPECT_EQ(Draw(1), 5000000001u);
    EXPECT_EQ(Draw(2), 0x123456789ABull);

    EXPECT_EQ(Counters(), (Rows{{"1", "5000000001"}}));
}

TEST_F(IdentifierAllocation, NewIdOpensTheTransaction) {
    StatementTrace trace(store);
    ASSERT_EQ(store.m_inTransaction, 0);

    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(store.m_inTransaction, 1);
    ASSERT_FALSE(trace.Statements().empty());
    EXPECT_EQ(trace.Statements().front(), "BEGIN;");
    EXPECT_EQ(trace.Count("BEGIN;"), 1u);
    // Nothing is on disk before a commit.
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
}

TEST_F(IdentifierAllocation, NewIdInsideAnOpenTransactionIssuesNoBegin) {
    store.BeginTransaction();
    StatementTrace trace(store);

    EXPECT_EQ(Draw(1), 1u);
    EXPECT_EQ(Draw(1), 2u);

    EXPECT_EQ(trace.Count("BEGIN;"), 0u);
}

TEST_F(IdentifierAllocation, NewIdWithNullOutFailsWithoutOpeningATransaction) {
    EXPECT_EQ(store.NewID(1, nullptr), E_FAIL);

    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(Counters(), Rows{});
}

TEST_F(IdentifierAllocation, PooledIdComesBackFirstAndTheCounterStays) {
    EXPECT_EQ(Draw(1), 1u);
    EXPECT_EQ(Draw(1), 2u);
    ASSERT_EQ(store.PoolID(1, 1), S_OK);

    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(Counters(), (Rows{{"1", "2"}}));
    EXPECT_EQ(Pool(), Rows{});
    EXPECT_EQ(Draw(1), 3u);
}

TEST_F(IdentifierAllocation, PooledIdOfAnotherTypeIsNotUsed) {
    ASSERT_EQ(store.PoolID(9, 2), S_OK);

    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(Pool(), (Rows{{"2", "9"}}));
}

TEST_F(IdentifierAllocation, IdPooledTwiceIsHandedOutTwice) {
    // The base never asks whether an id is in use: an id given back, handed
    // out, and given back again while its holder still has it, is handed
    // out a second time.
    ASSERT_EQ(store.PoolID(3, 1), S_OK);
    EXPECT_EQ(Draw(1), 3u);
    ASSERT_EQ(store.PoolID(3, 1), S_OK);
    EXPECT_EQ(Draw(1), 3u);
    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(Pool(), Rows{});
    EXPECT_EQ(Counters(), (Rows{{"1", "1"}}));
}

TEST_F(IdentifierAllocation, TakingAPooledIdRemovesEveryCopyOfIt) {
    // The delete names the id, not one row, so two copies side by side go
    // together and the id is handed out once.
    ASSERT_EQ(store.PoolID(3, 1), S_OK);
    ASSERT_EQ(store.PoolID(3, 1), S_OK);
    EXPECT_EQ(Draw(1), 3u);
    EXPECT_EQ(Pool(), Rows{});
    EXPECT_EQ(Draw(1), 1u);
}

TEST_F(IdentifierAllocation, PoolIdWritesItsRowWithoutOpeningATransaction) {
    EXPECT_EQ(store.PoolID(7, 2), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    // Outside a transaction the row is on disk at once.
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT id_type, pooled_id FROM pooled_id_table"), (Rows{{"2", "7"}}));
}

TEST_F(IdentifierAllocation, PoolIdDoesNotCheckForDuplicates) {
    EXPECT_EQ(store.PoolID(4, 1), S_OK);
    EXPECT_EQ(store.PoolID(4, 1), S_OK);

    EXPECT_EQ(Pool(), (Rows{{"1", "4"}, {"1", "4"}}));
}

TEST_F(IdentifierAllocation, PoolIdFailsWhenTheInsertIsRefused) {
    ASSERT_EQ(ExecOn(store, "CREATE TEMP TRIGGER refuse_pool BEFORE INSERT ON pooled_id_table "
                            "BEGIN SELECT RAISE(ABORT,'x'); END"),
              SQLITE_OK);

    EXPECT_EQ(store.PoolID(5, 1), E_FAIL);

    EXPECT_EQ(Pool(), Rows{});
}

TEST_F(IdentifierAllocation, PoolIdFailsWithoutPoolTable) {
    ASSERT_EQ(ExecOn(store, "DROP TABLE pooled_id_table"), SQLITE_OK);

    EXPECT_EQ(store.PoolID(5, 1), E_FAIL);
}

TEST_F(IdentifierAllocation, TakePooledIdOfEmptyPoolAnswersFalseAndZero) {
    uint64_t id = 99;

    EXPECT_EQ(store.TakePooledID(1, &id), S_FALSE);

    EXPECT_EQ(id, 0u);
}

TEST_F(IdentifierAllocation, TakePooledIdWithNullOutAnswersInvalidArg) {
    ASSERT_EQ(store.PoolID(5, 1), S_OK);

    EXPECT_EQ(store.TakePooledID(1, nullptr), E_INVALIDARG);

    EXPECT_EQ(Pool(), (Rows{{"1", "5"}}));
}

TEST_F(IdentifierAllocation, TakePooledIdRemovesOneRowAndLeavesTheCounterAlone) {
    ASSERT_EQ(store.PoolID(5, 1), S_OK);
    ASSERT_EQ(store.PoolID(8, 1), S_OK);
    ASSERT_EQ(store.PoolID(5, 2), S_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.TakePooledID(1, &id), S_OK);

    ASSERT_TRUE(id == 5u || id == 8u) << id;
    Rows expectedPool = id == 5u ? Rows{{"1", "8"}, {"2", "5"}} : Rows{{"1", "5"}, {"2", "5"}};
    EXPECT_EQ(Pool(), expectedPool);
    EXPECT_EQ(Counters(), Rows{});
}

TEST_F(IdentifierAllocation, TakePooledIdOnlyTakesItsOwnType) {
    ASSERT_EQ(store.PoolID(5, 2), S_OK);
    uint64_t id = 99;

    EXPECT_EQ(store.TakePooledID(1, &id), S_FALSE);

    EXPECT_EQ(id, 0u);
    EXPECT_EQ(Pool(), (Rows{{"2", "5"}}));
}

TEST_F(IdentifierAllocation, TakePooledIdWithoutPoolTableFails) {
    ASSERT_EQ(ExecOn(store, "DROP TABLE pooled_id_table"), SQLITE_OK);
    uint64_t id = 99;

    EXPECT_EQ(store.TakePooledID(1, &id), E_FAIL);

    EXPECT_EQ(id, 0u);
}

TEST_F(IdentifierAllocation, TakePooledIdFailsWhenTheDeleteIsRefusedButReportsTheId) {
    ASSERT_EQ(store.PoolID(6, 1), S_OK);
    ASSERT_EQ(ExecOn(store, "CREATE TEMP TRIGGER refuse_take BEFORE DELETE ON pooled_id_table "
                            "BEGIN SELECT RAISE(ABORT,'x'); END"),
              SQLITE_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.TakePooledID(1, &id), E_FAIL);

    EXPECT_EQ(id, 6u);
    EXPECT_EQ(Pool(), (Rows{{"1", "6"}}));
}

TEST_F(IdentifierAllocation, NewIdMovesOnToTheCounterWhenThePoolFails) {
    ASSERT_EQ(store.PoolID(6, 1), S_OK);
    ASSERT_EQ(ExecOn(store, "CREATE TEMP TRIGGER refuse_take BEFORE DELETE ON pooled_id_table "
                            "BEGIN SELECT RAISE(ABORT,'x'); END"),
              SQLITE_OK);

    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(Pool(), (Rows{{"1", "6"}}));
    EXPECT_EQ(Counters(), (Rows{{"1", "1"}}));
}

TEST_F(IdentifierAllocation, NewIdUsesTheCounterWhenThePoolTableIsMissing) {
    ASSERT_EQ(ExecOn(store, "DROP TABLE pooled_id_table"), SQLITE_OK);

    EXPECT_EQ(Draw(1), 1u);

    EXPECT_EQ(Counters(), (Rows{{"1", "1"}}));
}

TEST_F(IdentifierAllocation, NewIdFailsWithZeroWhenTheCounterCannotBeRead) {
    ASSERT_EQ(ExecOn(store, "DROP TABLE last_id_table"), SQLITE_OK);
    uint64_t id = 99;

    EXPECT_EQ(store.NewID(1, &id), E_FAIL);

    EXPECT_EQ(id, 0u);
    EXPECT_EQ(store.m_inTransaction, 1);
}

TEST_F(IdentifierAllocation, NewIdFailingToUpdateTheCounterStillReportsTheId) {
    EXPECT_EQ(Draw(1), 1u);
    ASSERT_EQ(ExecOn(store, "CREATE TEMP TRIGGER refuse_counter BEFORE UPDATE ON last_id_table "
                            "BEGIN SELECT RAISE(ABORT,'x'); END"),
              SQLITE_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(1, &id), E_FAIL);

    EXPECT_EQ(id, 2u);
    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(Counters(), (Rows{{"1", "1"}}));
}

TEST_F(IdentifierAllocation, NewIdFailingToMakeTheCounterRowStillReportsTheId) {
    ASSERT_EQ(ExecOn(store, "CREATE TEMP TRIGGER refuse_counter BEFORE INSERT ON last_id_table "
                            "BEGIN SELECT RAISE(ABORT,'x'); END"),
              SQLITE_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(1, &id), E_FAIL);

    EXPECT_EQ(id, 1u);
    EXPECT_EQ(Counters(), Rows{});
}

TEST_F(IdentifierAllocation, ReopenTakesBackCounterAndPoolChanges) {
    EXPECT_EQ(Draw(1), 1u);
    ASSERT_EQ(store.PoolID(1, 1), S_OK);
    ASSERT_EQ(store.Commit(false), S_OK);
    EXPECT_EQ(Draw(1), 1u);
    EXPECT_EQ(Draw(1), 2u);
    ASSERT_EQ(store.PoolID(2, 3), S_OK);

    ASSERT_EQ(store.Reopen(), S_OK);

    EXPECT_EQ(Counters(), (Rows{{"1", "1"}}));
    EXPECT_EQ(Pool(), (Rows{{"1", "1"}}));
}

TEST(IdentifierAllocationWithoutConnection, NewIdFailsAndStillSetsTheTransactionFlag) {
    CSQLiteDBBase store;
    uint64_t id = 99;

    EXPECT_EQ(store.NewID(1, &id), E_FAIL);

    EXPECT_EQ(id, 0u);
    EXPECT_EQ(store.m_inTransaction, 1);
}

TEST(IdentifierAllocationWithoutConnection, PoolIdFails) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.PoolID(1, 1), E_FAIL);
}

TEST(IdentifierAllocationWithoutConnection, TakePooledIdFails) {
    CSQLiteDBBase store;
    uint64_t id = 99;

    EXPECT_EQ(store.TakePooledID(1, &id), E_FAIL);

    EXPECT_EQ(id, 0u);
}

}  // namespace
