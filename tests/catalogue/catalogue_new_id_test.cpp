// NewID of the catalogue: an id drawn from the pool or the counter is drawn
// again while its table already has a row under it, so a pool or counter
// that fell behind the tables walks forward by itself. Only the eight id
// types with a table of their own are tested against a table.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "catalogue_test_helpers.h"

namespace {

using catalogue_test::CopyNewCatalogueFile;
using catalogue_test::ExecAll;
using catalogue_test::kCatalogueName;
using catalogue_test::PlaceCatalogue;
using catalogue_test::QueryOn;
using storage_test::Rows;
using storage_test::StatementTrace;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

// An id type with the table its ids key, and a row of that table whose
// key is the id and whose other id columns are otherId.
struct IdTable {
    uint32_t idType;
    std::string table;
    std::string key;
    // The row test NewID runs for this type.
    std::string rowTest;
    std::string RowSql(int id, int otherId) const {
        std::string other = std::to_string(otherId);
        std::string columns = key;
        std::string values = std::to_string(id);
        if (table == "person_face_table") {
            columns += ", file_id, person_id";
            values += ", " + other + ", " + other;
        } else if (table == "pet_face_table") {
            columns += ", file_id, pet_id";
            values += ", " + other + ", " + other;
        } else if (table == "file_table") {
            columns += ", album_id, parent_id";
            values += ", " + other + ", " + other;
        }
        return "INSERT INTO " + table + " (" + columns + ") VALUES (" + values + ")";
    }
};

void PrintTo(const IdTable& table, std::ostream* out) { *out << table.idType << " " << table.table; }

const std::vector<IdTable>& IdTables() {
    static const std::vector<IdTable> tables = {
        {1, "file_table", "file_id", "SELECT * FROM file_table WHERE file_id=? LIMIT 1"},
        {2, "album_table", "album_id", "SELECT * FROM album_table WHERE album_id=? LIMIT 1"},
        {3, "face_group_table", "face_group_id", "SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1"},
        {4, "person_table", "person_id", "SELECT * FROM person_table WHERE person_id=? LIMIT 1"},
        {5, "person_face_table", "person_face_id",
         "SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1"},
        {6, "pet_table", "pet_id", "SELECT * FROM pet_table WHERE pet_id=? LIMIT 1"},
        {7, "pet_face_table", "pet_face_id", "SELECT * FROM pet_face_table WHERE pet_face_id=? LIMIT 1"},
        {8, "tag_table", "tag_id", "SELECT * FROM tag_table WHERE tag_id=? LIMIT 1"},
    };
    return tables;
}

// A new catalogue, opened.
class CatalogueNewId : public ::testing::Test {
protected:
    void SetUp() override {
        CopyNewCatalogueFile(folder);
        PlaceCatalogue(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
    }

    void Exec(const std::vector<std::string>& statements) { ExecAll(store.m_db, statements); }

    // Counter and pool rows of idType as the store's connection sees them.
    Rows Counter(uint32_t idType) {
        return QueryOn(store.m_db, "SELECT last_id FROM last_id_table WHERE id_type=" + std::to_string(idType));
    }
    Rows Pool(uint32_t idType) {
        return QueryOn(store.m_db, "SELECT pooled_id FROM pooled_id_table WHERE id_type=" + std::to_string(idType));
    }

    TempFolder folder;
    CSQLiteFileBasicDB store;
};

TEST_F(CatalogueNewId, CounterBehindTheFileTableWalksPastTheTakenId) {
    Exec({"INSERT INTO last_id_table (id_type, last_id) VALUES (1, 4)",
          "INSERT INTO file_table (file_id, path_key) VALUES (5, 'five')"});
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(1, &id), S_OK);

    EXPECT_EQ(id, 6u);
    EXPECT_EQ(Counter(1), (Rows{{"6"}}));
    ASSERT_EQ(store.Commit(false), S_OK);
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(probe.Rows("SELECT id_type, last_id FROM last_id_table"), (Rows{{"1", "6"}}));
}

TEST_F(CatalogueNewId, CounterWalksPastARunOfTakenIds) {
    Exec({"INSERT INTO album_table (album_id) VALUES (1), (2), (3), (5)"});
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(2, &id), S_OK);

    EXPECT_EQ(id, 4u);
    EXPECT_EQ(Counter(2), (Rows{{"4"}}));
}

TEST_F(CatalogueNewId, PooledIdWithARowIsSkippedAndDroppedFromThePool) {
    Exec({"INSERT INTO file_table (file_id, path_key) VALUES (3, 'three')"});
    ASSERT_EQ(store.PoolID(3, 1), S_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(1, &id), S_OK);

    EXPECT_EQ(id, 1u);
    EXPECT_EQ(Pool(1), Rows{});
    EXPECT_EQ(Counter(1), (Rows{{"1"}}));
}

TEST_F(CatalogueNewId, FreePooledIdIsHandedOutWithoutTouchingTheCounter) {
    Exec({"INSERT INTO last_id_table (id_type, last_id) VALUES (8, 20)"});
    ASSERT_EQ(store.PoolID(9, 8), S_OK);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(8, &id), S_OK);

    EXPECT_EQ(id, 9u);
    EXPECT_EQ(Pool(8), Rows{});
    EXPECT_EQ(Counter(8), (Rows{{"20"}}));
}

TEST_F(CatalogueNewId, IdPooledAgainWhileItsRowExistsIsSkipped) {
    // Given back, handed out, then given back again while its holder has
    // made its row: the second time the row test catches it.
    ASSERT_EQ(store.PoolID(7, 2), S_OK);
    uint64_t first = 0;
    ASSERT_EQ(store.NewID(2, &first), S_OK);
    ASSERT_EQ(first, 7u);
    Exec({"INSERT INTO album_table (album_id) VALUES (7)"});
    ASSERT_EQ(store.PoolID(7, 2), S_OK);
    uint64_t second = 0;

    EXPECT_EQ(store.NewID(2, &second), S_OK);

    EXPECT_EQ(second, 1u);
    EXPECT_EQ(Pool(2), Rows{});
    EXPECT_EQ(Counter(2), (Rows{{"1"}}));
}

TEST_F(CatalogueNewId, IdPooledAgainBeforeItHasARowIsHandedOutAgain) {
    ASSERT_EQ(store.PoolID(7, 2), S_OK);
    uint64_t first = 0;
    ASSERT_EQ(store.NewID(2, &first), S_OK);
    ASSERT_EQ(store.PoolID(7, 2), S_OK);
    uint64_t second = 0;

    EXPECT_EQ(store.NewID(2, &second), S_OK);

    EXPECT_EQ(first, 7u);
    EXPECT_EQ(second, 7u);
    EXPECT_EQ(Counter(2), Rows{});
}

TEST_F(CatalogueNewId, NullOutAnswersEFail) {
    EXPECT_EQ(store.NewID(1, nullptr), E_FAIL);

    EXPECT_EQ(Counter(1), Rows{});
}

TEST_F(CatalogueNewId, FailureOfTheCounterIsPassedOn) {
    Exec({"DROP TABLE last_id_table"});
    uint64_t id = 99;

    EXPECT_EQ(store.NewID(1, &id), E_FAIL);

    EXPECT_EQ(id, 0u);
}

TEST_F(CatalogueNewId, RowTestThatCannotPrepareCountsAsNotTaken) {
    Exec({"DROP TABLE tag_table"});
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(8, &id), S_OK);

    EXPECT_EQ(id, 1u);
    EXPECT_EQ(Counter(8), (Rows{{"1"}}));
}

TEST_F(CatalogueNewId, IdIsDrawnInsideTheOpenTransaction) {
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(3, &id), S_OK);

    EXPECT_EQ(id, 1u);
    EXPECT_EQ(store.m_inTransaction, 1);
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
}

TEST_F(CatalogueNewId, TypesOutsideOneToEightAreNeverTestedAgainstATable) {
    std::vector<std::string> rows;
    for (const IdTable& table : IdTables()) rows.push_back(table.RowSql(1, 1));
    Exec(rows);
    StatementTrace trace(store);

    for (uint32_t idType : {0u, 9u, 10u, 11u, 12u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(idType);
        uint64_t id = 0;
        EXPECT_EQ(store.NewID(idType, &id), S_OK);
        EXPECT_EQ(id, 1u);
    }

    for (const std::string& statement : trace.Statements()) {
        SCOPED_TRACE(statement);
        EXPECT_NE(statement.rfind("SELECT * FROM", 0), 0u);
    }
    EXPECT_EQ(trace.Count("SELECT id_type,last_id FROM last_id_table WHERE id_type=? LIMIT 1"), 6u);
}

// Each of the eight types against its own table.
class CatalogueNewIdOfType : public CatalogueNewId, public ::testing::WithParamInterface<IdTable> {};

TEST_P(CatalogueNewIdOfType, IdWithARowInItsTableIsSkipped) {
    const IdTable& type = GetParam();
    Exec({type.RowSql(1, 0)});
    StatementTrace trace(store);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(type.idType, &id), S_OK);

    EXPECT_EQ(id, 2u);
    EXPECT_EQ(Counter(type.idType), (Rows{{"2"}}));
    EXPECT_EQ(trace.Count(type.rowTest), 2u);
}

TEST_P(CatalogueNewIdOfType, RowsOfOtherTablesAndOtherColumnsDoNotCount) {
    const IdTable& type = GetParam();
    std::vector<std::string> rows;
    for (const IdTable& other : IdTables())
        rows.push_back(other.idType == type.idType ? type.RowSql(5, 1) : other.RowSql(1, 1));
    Exec(rows);
    StatementTrace trace(store);
    uint64_t id = 0;

    EXPECT_EQ(store.NewID(type.idType, &id), S_OK);

    EXPECT_EQ(id, 1u);
    EXPECT_EQ(trace.Count(type.rowTest), 1u);
    for (const IdTable& other : IdTables()) {
        if (other.idType != type.idType) {
            EXPECT_EQ(trace.Count(other.rowTest), 0u) << other.table;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EightTypes, CatalogueNewIdOfType, ::testing::ValuesIn(IdTables()),
                         [](const ::testing::TestParamInfo<IdTable>& typeInfo) { return typeInfo.param.table; });

}  // namespace
