// UpgradeTables of the catalogue on files laid out as older builds made
// them: meta_table without the six late columns is rebuilt from its first 15
// columns (losing its unique index) and then given the six, a file that has
// them is left alone, and the version row is never written here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "catalogue_test_helpers.h"

namespace {

using catalogue_test::CatalogueIndexes;
using catalogue_test::CatalogueTables;
using catalogue_test::ColumnsOf;
using catalogue_test::ColumnLayout;
using catalogue_test::CreateIndexSql;
using catalogue_test::CreateTableSql;
using catalogue_test::CopyNewCatalogueFile;
using catalogue_test::ExecAll;
using catalogue_test::ExpectedColumns;
using catalogue_test::IndexNamesOf;
using catalogue_test::kCatalogueName;
using catalogue_test::kEarlyMetaColumnCount;
using catalogue_test::MakeDatabaseFile;
using catalogue_test::MetaColumns;
using catalogue_test::PlaceCatalogue;
using catalogue_test::QueryOn;
using storage_test::Rows;
using storage_test::StatementTrace;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

std::vector<ColumnLayout> EarlyMetaColumns() {
    return {MetaColumns().begin(), MetaColumns().begin() + kEarlyMetaColumnCount};
}

const ColumnLayout& MetaColumn(const std::string& name) {
    for (const ColumnLayout& column : MetaColumns())
        if (column.name == name) return column;
    ADD_FAILURE() << name;
    return MetaColumns().front();
}

// The statements that make a catalogue of an older build: every table and
// index as today, but meta_table with metaColumns and, if metaIndex,
// meta_file_idx; the version row holds version.
std::vector<std::string> OldCatalogue(uint32_t version, const std::vector<ColumnLayout>& metaColumns, bool metaIndex) {
    std::vector<std::string> statements;
    for (const auto& table : catalogue_test::BaseTables()) statements.push_back(CreateTableSql(table));
    statements.push_back("INSERT INTO version_info_table VALUES(" + std::to_string(version) + ")");
    for (const auto& table : CatalogueTables()) {
        statements.push_back(table.name == "meta_table" ? CreateTableSql({"meta_table", metaColumns})
                                                        : CreateTableSql(table));
        for (const auto& index : CatalogueIndexes())
            if (index.table == table.name && (index.name != "meta_file_idx" || metaIndex))
                statements.push_back(CreateIndexSql(index));
    }
    return statements;
}

// Two metadata rows with a value in each of the first 15 columns.
const std::vector<std::string> kEarlyMetaRows = {
    "INSERT INTO meta_table (file_id, filter_data, file_size, file_update_date, import_date, duration, "
    "pixel_width, pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, "
    "gps_direction, gps_areainfo) VALUES (1, X'0102', 1000, 2000, 3000, 4, 640, 480, 1, 2, 30, 5, 100, 90, 'north')",
    "INSERT INTO meta_table (file_id, filter_data, file_size, file_update_date, import_date, duration, "
    "pixel_width, pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, "
    "gps_direction, gps_areainfo) VALUES (2, X'FF', 1001, 2001, 3001, 0, 1920, 1080, 0, 0, 60, 6, -5, 180, 'south')",
};

// Those two rows read back, with the six late columns after them.
const std::string kSelectMetaRows =
    "SELECT file_id, hex(filter_data), file_size, file_update_date, import_date, duration, pixel_width, "
    "pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, gps_direction, "
    "gps_areainfo, model_name, picture_mode, finishing_mode, art_filter, focus_mode, param_flag FROM meta_table "
    "ORDER BY file_id";
const Rows kEarlyRowsWithNullLateColumns = {
    {"1", "0102", "1000", "2000", "3000", "4", "640", "480", "1", "2", "30", "5", "100", "90", "north", "NULL", "NULL",
     "NULL", "NULL", "NULL", "NULL"},
    {"2", "FF", "1001", "2001", "3001", "0", "1920", "1080", "0", "0", "60", "6", "-5", "180", "south", "NULL", "NULL",
     "NULL", "NULL", "NULL", "NULL"},
};

const std::vector<std::string> kAddLateColumns = {
    "ALTER TABLE meta_table ADD COLUMN model_name TEXT",        "ALTER TABLE meta_table ADD COLUMN picture_mode INTEGER",
    "ALTER TABLE meta_table ADD COLUMN finishing_mode INTEGER", "ALTER TABLE meta_table ADD COLUMN art_filter INTEGER",
    "ALTER TABLE meta_table ADD COLUMN focus_mode INTEGER",     "ALTER TABLE meta_table ADD COLUMN param_flag INTEGER",
};

// The statements of a trace that change the file or its transaction.
std::vector<std::string> Writes(const StatementTrace& trace) {
    std::vector<std::string> writes;
    for (const std::string& statement : trace.Statements())
        for (const char* verb : {"BEGIN", "COMMIT", "VACUUM", "ALTER", "CREATE", "INSERT", "DROP", "UPDATE", "DELETE"})
            if (statement.rfind(verb, 0) == 0) writes.push_back(statement);
    return writes;
}

// A catalogue file made beforehand, then opened as the store.
class CatalogueUpgrade : public ::testing::Test {
protected:
    void MakeFile(const std::vector<std::string>& statements) {
        MakeDatabaseFile(folder / kCatalogueName, statements);
    }
    void OpenStore() {
        PlaceCatalogue(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
    }
    // meta_table on disk after the store is closed.
    Rows MetaColumnsOnDisk() {
        SqliteProbe probe(folder / kCatalogueName);
        return ColumnsOf(probe.Handle(), "meta_table");
    }
    Rows OnDisk(const std::string& sql) {
        SqliteProbe probe(folder / kCatalogueName);
        return probe.Rows(sql);
    }

    TempFolder folder;
    CSQLiteFileBasicDB store;
};

TEST_F(CatalogueUpgrade, Version1100WithoutLateColumnsGetsAllTwentyOneInOrder) {
    MakeFile(OldCatalogue(1100, EarlyMetaColumns(), true));
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(ColumnsOf(store.m_db, "meta_table"), ExpectedColumns(MetaColumns()));
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
}

TEST_F(CatalogueUpgrade, RebuildKeepsTheFirstFifteenValuesAndLeavesTheLateColumnsNull) {
    std::vector<std::string> statements = OldCatalogue(1100, EarlyMetaColumns(), true);
    statements.insert(statements.end(), kEarlyMetaRows.begin(), kEarlyMetaRows.end());
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(OnDisk(kSelectMetaRows), kEarlyRowsWithNullLateColumns);
    EXPECT_EQ(OnDisk("SELECT name FROM sqlite_master WHERE name='tmp_table'"), Rows{});
}

TEST_F(CatalogueUpgrade, RebuildLosesTheUniqueIndexOnFileId) {
    MakeFile(OldCatalogue(1100, EarlyMetaColumns(), true));
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(IndexNamesOf(store.m_db, "meta_table"), Rows{});
    ASSERT_EQ(store.Close(), S_OK);
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(IndexNamesOf(probe.Handle(), "meta_table"), Rows{});
    // Nothing keeps file_id unique any more.
    EXPECT_EQ(probe.Exec("INSERT INTO meta_table (file_id) VALUES (9), (9)"), SQLITE_OK);
}

TEST_F(CatalogueUpgrade, VersionRowIsNotWritten) {
    MakeFile(OldCatalogue(1100, EarlyMetaColumns(), true));
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1100u);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(OnDisk("SELECT version FROM version_info_table"), (Rows{{"1100"}}));
}

TEST_F(CatalogueUpgrade, RebuildRunsItsStatementsInOrderThenAddsTheColumns) {
    MakeFile(OldCatalogue(1100, EarlyMetaColumns(), true));
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    std::vector<std::string> writes = Writes(trace);
    ASSERT_EQ(writes.size(), 13u);
    EXPECT_EQ(writes[0], "BEGIN;");
    EXPECT_EQ(writes[1], "ALTER TABLE meta_table RENAME TO tmp_table");
    EXPECT_EQ(writes[2].rfind("CREATE TABLE meta_table (", 0), 0u) << writes[2];
    EXPECT_EQ(writes[3],
              "INSERT INTO meta_table SELECT file_id, filter_data, file_size, file_update_date, import_date, duration, "
              "pixel_width, pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, "
              "gps_direction, gps_areainfo FROM tmp_table");
    EXPECT_EQ(writes[4], "DROP TABLE tmp_table");
    EXPECT_EQ(writes[5], "COMMIT;");
    EXPECT_EQ(writes[6], "VACUUM;");
    EXPECT_EQ(std::vector<std::string>(writes.begin() + 7, writes.end()), kAddLateColumns);
    EXPECT_EQ(store.HasCommitted(), 1);
}

TEST_F(CatalogueUpgrade, Version1150WithAllSixColumnsIsLeftAsItIs) {
    std::vector<std::string> statements = OldCatalogue(1150, MetaColumns(), true);
    statements.push_back(
        "INSERT INTO meta_table (file_id, file_size, model_name, picture_mode, param_flag) VALUES (1, 10, 'm', 2, 3)");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(Writes(trace), std::vector<std::string>{});
    // Once among the six column probes, once more as the probe of the
    // columns being there.
    EXPECT_EQ(trace.Count("SELECT count(picture_mode) FROM meta_table"), 2u);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(IndexNamesOf(probe.Handle(), "meta_table"), (Rows{{"meta_file_idx"}}));
    EXPECT_EQ(probe.Rows("SELECT file_id, file_size, model_name, picture_mode, param_flag FROM meta_table"),
              (Rows{{"1", "10", "m", "2", "3"}}));
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1150"}}));
}

TEST_F(CatalogueUpgrade, SomeLateColumnsPresentLoseTheirValuesAndAllSixAreAddedInOrder) {
    std::vector<ColumnLayout> columns = EarlyMetaColumns();
    columns.push_back(MetaColumn("model_name"));
    columns.push_back(MetaColumn("picture_mode"));
    std::vector<std::string> statements = OldCatalogue(1100, columns, true);
    statements.insert(statements.end(), kEarlyMetaRows.begin(), kEarlyMetaRows.end());
    statements.push_back("UPDATE meta_table SET model_name='camera', picture_mode=7");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    std::vector<std::string> writes = Writes(trace);
    ASSERT_GE(writes.size(), 6u);
    EXPECT_EQ(std::vector<std::string>(writes.end() - 6, writes.end()), kAddLateColumns);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    EXPECT_EQ(OnDisk(kSelectMetaRows), kEarlyRowsWithNullLateColumns);
}

TEST_F(CatalogueUpgrade, CurrentFileIsLeftAlone) {
    CopyNewCatalogueFile(folder);
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    ExecAll(store.m_db, {"INSERT INTO meta_table (file_id, model_name) VALUES (1, 'm')"});
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(Writes(trace), std::vector<std::string>{});
    EXPECT_EQ(store.m_inTransaction, 0);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(IndexNamesOf(probe.Handle(), "meta_table"), (Rows{{"meta_file_idx"}}));
    EXPECT_EQ(probe.Rows("SELECT file_id, model_name FROM meta_table"), (Rows{{"1", "m"}}));
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1201"}}));
}

TEST_F(CatalogueUpgrade, Version1200WithMissingColumnsIsRebuiltAndThenGetsThem) {
    std::vector<std::string> statements = OldCatalogue(1200, EarlyMetaColumns(), true);
    statements.insert(statements.end(), kEarlyMetaRows.begin(), kEarlyMetaRows.end());
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(trace.Count("ALTER TABLE meta_table RENAME TO tmp_table"), 1u);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    EXPECT_EQ(OnDisk(kSelectMetaRows), kEarlyRowsWithNullLateColumns);
    EXPECT_EQ(OnDisk("SELECT version FROM version_info_table"), (Rows{{"1200"}}));
}

TEST_F(CatalogueUpgrade, FailedRenameAtVersion1200SkipsTheRebuildAndAddsNothing) {
    std::vector<std::string> statements = OldCatalogue(1200, EarlyMetaColumns(), true);
    // A table already named tmp_table makes the rename fail.
    statements.push_back("CREATE TABLE tmp_table (x)");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());
    StatementTrace trace(store);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    // The version as read (1200) ends the upgrade.
    EXPECT_EQ(trace.Count("SELECT count(picture_mode) FROM meta_table"), 0u);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns(), kEarlyMetaColumnCount));
    EXPECT_EQ(OnDisk("SELECT name FROM pragma_table_info('tmp_table')"), (Rows{{"x"}}));
}

TEST_F(CatalogueUpgrade, FailedRenameAtVersion1100AddsTheColumnsToTheOldTable) {
    std::vector<std::string> statements = OldCatalogue(1100, EarlyMetaColumns(), true);
    statements.insert(statements.end(), kEarlyMetaRows.begin(), kEarlyMetaRows.end());
    statements.push_back("CREATE TABLE tmp_table (x)");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    EXPECT_EQ(OnDisk(kSelectMetaRows), kEarlyRowsWithNullLateColumns);
    // Without a rebuild the old table keeps its index.
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(IndexNamesOf(probe.Handle(), "meta_table"), (Rows{{"meta_file_idx"}}));
}

TEST_F(CatalogueUpgrade, OnlyTheLastAddedColumnDecidesTheAnswerWhenItFails) {
    std::vector<ColumnLayout> columns = EarlyMetaColumns();
    columns.push_back(MetaColumn("param_flag"));
    std::vector<std::string> statements = OldCatalogue(1100, columns, true);
    statements.push_back("CREATE TABLE tmp_table (x)");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), E_FAIL);

    // The five before it went in after param_flag.
    ASSERT_EQ(store.Close(), S_OK);
    std::vector<ColumnLayout> expected = EarlyMetaColumns();
    for (const char* name : {"param_flag", "model_name", "picture_mode", "finishing_mode", "art_filter", "focus_mode"})
        expected.push_back(MetaColumn(name));
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(expected));
}

TEST_F(CatalogueUpgrade, OnlyTheLastAddedColumnDecidesTheAnswerWhenAnEarlierFails) {
    std::vector<ColumnLayout> columns = EarlyMetaColumns();
    columns.push_back(MetaColumn("model_name"));
    std::vector<std::string> statements = OldCatalogue(1100, columns, true);
    statements.push_back("CREATE TABLE tmp_table (x)");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
}

TEST_F(CatalogueUpgrade, FileWithoutAVersionRowCountsAsOldAndIsUpgraded) {
    std::vector<std::string> statements = OldCatalogue(0, EarlyMetaColumns(), true);
    statements.push_back("DELETE FROM version_info_table");
    MakeFile(statements);
    ASSERT_NO_FATAL_FAILURE(OpenStore());

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(MetaColumnsOnDisk(), ExpectedColumns(MetaColumns()));
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(IndexNamesOf(probe.Handle(), "meta_table"), Rows{});
}

}  // namespace
