// The layout of a new catalogue file: every table column by column, every
// index with its columns, the order they are made in, the page size, and
// which failures end CreateTables and which go unnoticed.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "albums/import_history_rows.h"
#include "albums/tag_tables.h"
#include "catalogue/file_table.h"
#include "catalogue_test_helpers.h"
#include "faces/face_tables.h"
#include "records/meta_table.h"

namespace {

using catalogue_test::CatalogueIndexes;
using catalogue_test::CatalogueTables;
using catalogue_test::ColumnsOf;
using catalogue_test::CreationOrder;
using catalogue_test::ExpectedColumns;
using catalogue_test::IndexesOf;
using catalogue_test::IndexLayout;
using catalogue_test::kCatalogueName;
using catalogue_test::PlaceCatalogue;
using catalogue_test::QueryOn;
using catalogue_test::SchemaObject;
using catalogue_test::TableNamed;
using storage_test::Rows;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

// Every table of the file: the three every store has, then the catalogue's.
std::vector<std::string> AllTableNames() {
    std::vector<std::string> names;
    for (const auto& table : catalogue_test::BaseTables()) names.push_back(table.name);
    for (const auto& table : CatalogueTables()) names.push_back(table.name);
    return names;
}

std::string ParamName(const ::testing::TestParamInfo<std::string>& info) { return info.param; }

// One new catalogue, made once for all the layout tests, which only read it.
class CatalogueLayout : public ::testing::TestWithParam<std::string> {
protected:
    static void SetUpTestSuite() {
        folder = new TempFolder();
        CSQLiteFileBasicDB store;
        PlaceCatalogue(store, *folder);
        ASSERT_EQ(store.Open(), S_OK);
        ASSERT_EQ(store.Close(), S_OK);
    }
    static void TearDownTestSuite() {
        delete folder;
        folder = nullptr;
    }
    void SetUp() override {
        ASSERT_NE(folder, nullptr);
        probe = std::make_unique<SqliteProbe>(*folder / kCatalogueName);
        ASSERT_TRUE(probe->IsOpen());
    }

    static TempFolder* folder;
    std::unique_ptr<SqliteProbe> probe;
};
TempFolder* CatalogueLayout::folder = nullptr;

TEST_P(CatalogueLayout, ColumnsAreNamedTypedAndKeyedInOrder) {
    const std::string& table = GetParam();

    Rows columns = ColumnsOf(probe->Handle(), table);

    EXPECT_EQ(columns, ExpectedColumns(TableNamed(table).columns));
}

TEST_P(CatalogueLayout, IndexesHaveTheirNamesUniquenessAndColumnsInOrder) {
    const std::string& table = GetParam();
    std::vector<IndexLayout> expected = IndexesOf(table);
    std::sort(expected.begin(), expected.end(),
              [](const IndexLayout& a, const IndexLayout& b) { return a.name < b.name; });

    // Name, unique, origin ("c": made by CREATE INDEX), partial.
    Rows indexes = QueryOn(probe->Handle(),
                           "SELECT name, \"unique\", origin, partial FROM pragma_index_list('" + table + "') ORDER BY name");

    Rows expectedIndexes;
    for (const IndexLayout& index : expected) expectedIndexes.push_back({index.name, index.unique ? "1" : "0", "c", "0"});
    EXPECT_EQ(indexes, expectedIndexes);
    for (const IndexLayout& index : expected) {
        SCOPED_TRACE(index.name);
        // Key columns only, in their order: name and direction.
        Rows keyColumns = QueryOn(probe->Handle(), "SELECT name, \"desc\" FROM pragma_index_xinfo('" + index.name +
                                                       "') WHERE key=1 ORDER BY seqno");
        Rows expectedColumns;
        for (const auto& column : index.columns) expectedColumns.push_back({column.name, column.descending ? "1" : "0"});
        EXPECT_EQ(keyColumns, expectedColumns);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTable, CatalogueLayout, ::testing::ValuesIn(AllTableNames()), ParamName);

class CatalogueSchema : public ::testing::Test {
protected:
    void SetUp() override { PlaceCatalogue(store, folder); }

    // The objects of the file on disk in the order they were made.
    Rows ObjectsOnDisk() {
        SqliteProbe probe(folder / kCatalogueName);
        return probe.Rows("SELECT type, name FROM sqlite_master ORDER BY rowid");
    }

    TempFolder folder;
    CSQLiteFileBasicDB store;
};

TEST_F(CatalogueSchema, NewFileHoldsExactlyTheTablesAndIndexesInTheOrderTheyAreMade) {
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.Close(), S_OK);

    Rows objects = ObjectsOnDisk();

    EXPECT_EQ(objects, CreationOrder());
    EXPECT_EQ(objects.size(), 22u + 22u);
}

TEST_F(CatalogueSchema, NewFileHasPageSize4096) {
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.Close(), S_OK);

    SqliteProbe probe(folder / kCatalogueName);

    EXPECT_EQ(probe.Integer("PRAGMA page_size"), 4096);
}

// Makes the file's first pages smaller than 4096 bytes before the catalogue
// makes anything, so that only the catalogue's pragma and vacuum can bring
// the page size to 4096, and records the statements CreateTables runs.
class SmallPageCatalogue : public CSQLiteFileBasicDB {
public:
    HRESULT CreateTables() override {
        if (m_db != nullptr) {
            sqlite3_exec(m_db, "PRAGMA page_size=1024;", nullptr, nullptr, nullptr);
            sqlite3_trace_v2(m_db, SQLITE_TRACE_STMT, &SmallPageCatalogue::OnTrace, this);
        }
        HRESULT result = CSQLiteFileBasicDB::CreateTables();
        if (m_db != nullptr) sqlite3_trace_v2(m_db, 0, nullptr, nullptr);
        return result;
    }

    std::vector<std::string> m_statements;

private:
    static int OnTrace(unsigned, void* context, void*, void* text) {
        static_cast<SmallPageCatalogue*>(context)->m_statements.emplace_back(static_cast<const char*>(text));
        return 0;
    }
};

TEST_F(CatalogueSchema, PageSizeBecomes4096ThroughThePragmaAndAVacuum) {
    SmallPageCatalogue small;
    PlaceCatalogue(small, folder);

    ASSERT_EQ(small.Open(), S_OK);
    ASSERT_EQ(small.Close(), S_OK);

    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(probe.Integer("PRAGMA page_size"), 4096);
    // The pragma comes after the base tables and is followed by the vacuum.
    const std::vector<std::string>& statements = small.m_statements;
    auto pragma = std::find(statements.begin(), statements.end(), "PRAGMA page_size=4096;");
    ASSERT_NE(pragma, statements.end());
    ASSERT_NE(pragma + 1, statements.end());
    EXPECT_EQ(*(pragma + 1), "VACUUM;");
    auto pooledTable =
        std::find(statements.begin(), statements.end(), "CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER)");
    EXPECT_LT(pooledTable, pragma);
}

TEST_F(CatalogueSchema, NewFileHasVersion1201AndEmptyIdTables) {
    ASSERT_EQ(store.Open(), S_OK);
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    ASSERT_EQ(store.Close(), S_OK);

    SqliteProbe probe(folder / kCatalogueName);

    EXPECT_EQ(version, 1201u);
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1201"}}));
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM pooled_id_table"), 0);
}

// Counts the calls of CreateTables.
class CountingCatalogue : public CSQLiteFileBasicDB {
public:
    HRESULT CreateTables() override {
        ++m_createTablesCalls;
        return CSQLiteFileBasicDB::CreateTables();
    }
    int m_createTablesCalls = 0;
};

TEST_F(CatalogueSchema, OpeningAnExistingFileMakesNoTables) {
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.Close(), S_OK);
    CountingCatalogue again;
    PlaceCatalogue(again, folder);

    EXPECT_EQ(again.Open(), S_OK);
    ASSERT_EQ(again.Close(), S_OK);

    EXPECT_EQ(again.m_createTablesCalls, 0);
    EXPECT_EQ(ObjectsOnDisk(), CreationOrder());
}

TEST_F(CatalogueSchema, OpeningANewFileMakesTablesOnce) {
    CountingCatalogue fresh;
    PlaceCatalogue(fresh, folder);

    EXPECT_EQ(fresh.Open(), S_OK);
    ASSERT_EQ(fresh.Close(), S_OK);

    EXPECT_EQ(fresh.m_createTablesCalls, 1);
}

TEST_F(CatalogueSchema, CreateTablesWithoutAConnectionFailsAtThePageSize) {
    ASSERT_EQ(store.m_db, nullptr);

    // The base answers S_OK without a connection; the page size pragma then
    // has no connection to run on.
    EXPECT_EQ(store.CreateTables(), E_FAIL);

    EXPECT_FALSE(std::filesystem::exists(folder / kCatalogueName));
}

// A catalogue whose CreateTables first makes a table under a name that one
// of the catalogue's own objects needs, so that making that object fails.
class ClashingCatalogue : public CSQLiteFileBasicDB {
public:
    explicit ClashingCatalogue(std::string clash) : m_clash(std::move(clash)) {}

    HRESULT CreateTables() override {
        ++m_createTablesCalls;
        if (m_db != nullptr) {
            std::string sql = "CREATE TABLE " + m_clash + " (x)";
            EXPECT_EQ(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        }
        return CSQLiteFileBasicDB::CreateTables();
    }

    std::string m_clash;
    int m_createTablesCalls = 0;
};

// The objects expected on disk after a clash on name: the clash table
// itself, then every object made before name, or every object but name
// when all of them are made.
std::vector<SchemaObject> ExpectedAfterClash(const std::string& name, bool stopsThere) {
    std::vector<SchemaObject> expected = {{"table", name}};
    for (const SchemaObject& object : CreationOrder()) {
        if (object[1] == name) {
            if (stopsThere) break;
            continue;
        }
        expected.push_back(object);
    }
    std::sort(expected.begin(), expected.end());
    return expected;
}

Rows SortedObjectsOnDisk(const TempFolder& folder) {
    SqliteProbe probe(folder / kCatalogueName);
    return probe.Rows("SELECT type, name FROM sqlite_master ORDER BY type, name");
}

std::vector<std::string> IndexNamesWhereFailureEnds(bool ends) {
    std::vector<std::string> names;
    for (const IndexLayout& index : CatalogueIndexes())
        if (index.failureEnds == ends) names.push_back(index.name);
    return names;
}

class UnnoticedIndexFailure : public ::testing::TestWithParam<std::string> {
protected:
    TempFolder folder;
};

TEST_P(UnnoticedIndexFailure, OpenSucceedsAndEverythingElseIsMade) {
    ClashingCatalogue store(GetParam());
    PlaceCatalogue(store, folder);

    EXPECT_EQ(store.Open(), S_OK);
    EXPECT_NE(store.m_db, nullptr);
    ASSERT_EQ(store.Close(), S_OK);

    EXPECT_EQ(store.m_createTablesCalls, 1);
    EXPECT_EQ(SortedObjectsOnDisk(folder), ExpectedAfterClash(GetParam(), false));
}

INSTANTIATE_TEST_SUITE_P(IndexesMarkedNo, UnnoticedIndexFailure,
                         ::testing::ValuesIn(IndexNamesWhereFailureEnds(false)), ParamName);

TEST(UnnoticedIndexFailureList, HoldsTheFiveIndexesMarkedNo) {
    EXPECT_EQ(IndexNamesWhereFailureEnds(false),
              (std::vector<std::string>{"file_table_sdate_fname_idx", "file_table_album_sdate_fname_idx",
                                        "person_face_person_idx", "pet_face_pet_idx", "album_table_name_idx"}));
}

// Failures that end CreateTables: an index marked yes, or a table.
class FailureEndingCreateTables : public ::testing::TestWithParam<std::string> {
protected:
    TempFolder folder;
};

TEST_P(FailureEndingCreateTables, OpenFailsAndLeavesTheHalfMadeFile) {
    ClashingCatalogue store(GetParam());
    PlaceCatalogue(store, folder);

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_TRUE(std::filesystem::exists(folder / kCatalogueName));
    EXPECT_EQ(SortedObjectsOnDisk(folder), ExpectedAfterClash(GetParam(), true));
}

std::vector<std::string> FailureEndingNames() {
    std::vector<std::string> names = IndexNamesWhereFailureEnds(true);
    // A table clash: CREATE TABLE of an existing table fails.
    names.push_back("tag_table");
    names.push_back("main_image_cache_file_table");
    return names;
}

INSTANTIATE_TEST_SUITE_P(IndexesMarkedYesAndTables, FailureEndingCreateTables,
                         ::testing::ValuesIn(FailureEndingNames()), ParamName);

// After a failed CreateTables the file exists, so the next Open of the same
// file goes on with what is there.
class HalfMadeFile : public ::testing::TestWithParam<std::string> {
protected:
    TempFolder folder;
};

TEST_P(HalfMadeFile, NextOpenSucceedsWithoutMakingTables) {
    ClashingCatalogue store(GetParam());
    PlaceCatalogue(store, folder);
    ASSERT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.Open(), S_OK);

    EXPECT_NE(store.m_db, nullptr);
    EXPECT_EQ(store.m_createTablesCalls, 1);
    ASSERT_EQ(store.Close(), S_OK);
    EXPECT_EQ(SortedObjectsOnDisk(folder), ExpectedAfterClash(GetParam(), true));
}

INSTANTIATE_TEST_SUITE_P(IndexAndTableClashes, HalfMadeFile, ::testing::Values("file_pathkey", "tag_table"),
                         ParamName);

TEST(FailureEndingIndexList, HoldsTheSeventeenIndexesMarkedYes) {
    EXPECT_EQ(IndexNamesWhereFailureEnds(true).size(), 17u);
}

TEST_F(CatalogueSchema, FailureOfTheBaseTablesEndsCreateTablesBeforeAnyCatalogueTable) {
    ClashingCatalogue clashing("version_info_table");
    PlaceCatalogue(clashing, folder);

    EXPECT_EQ(clashing.Open(), E_FAIL);

    EXPECT_EQ(clashing.m_db, nullptr);
    EXPECT_EQ(SortedObjectsOnDisk(folder), (Rows{{"table", "version_info_table"}}));
}

}  // namespace

namespace {

// The column enums that readers and writers use stand for the positions of
// the columns in the file: each enum value names the column at its position.
TEST(CatalogueColumnEnums, PositionsNameTheColumnsOfTheFile) {
    TempFolder folder;
    {
        CSQLiteFileBasicDB store;
        PlaceCatalogue(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
    }
    SqliteProbe probe(folder / kCatalogueName);
    ASSERT_TRUE(probe.IsOpen());
    auto columnAt = [&](const std::string& table, int position) {
        Rows rows = probe.Rows("SELECT name FROM pragma_table_info('" + table + "') WHERE cid=" +
                               std::to_string(position));
        return rows.size() == 1 ? rows[0][0] : std::string("(none)");
    };
    auto columnCount = [&](const std::string& table) {
        return probe.Integer("SELECT count(*) FROM pragma_table_info('" + table + "')");
    };

    EXPECT_EQ(columnCount("file_table"), file_table::kColumnCount);
    EXPECT_EQ(columnAt("file_table", file_table::kFileId), "file_id");
    EXPECT_EQ(columnAt("file_table", file_table::kDiskVsn), "disk_vsn");
    EXPECT_EQ(columnAt("file_table", file_table::kPathKey), "path_key");
    EXPECT_EQ(columnAt("file_table", file_table::kFileName), "file_name");
    EXPECT_EQ(columnAt("file_table", file_table::kShootingDate), "shooting_date");
    EXPECT_EQ(columnAt("file_table", file_table::kGpsLongitude), "gps_longitude");
    EXPECT_EQ(columnAt("file_table", file_table::kThumbnailOrientation), "thumbnail_orientation");
    EXPECT_EQ(columnAt("file_table", file_table::kDidDetectFace), "did_detect_face");
    EXPECT_EQ(columnAt("file_table", file_table::kManage), "manage");
    EXPECT_EQ(columnAt("file_table", file_table::kParentShootingDate), "parent_shooting_date");
    EXPECT_EQ(columnAt("file_table", file_table::kClassifyId), "classify_id");

    EXPECT_EQ(columnCount("meta_table"), meta_table::kColumnCount);
    EXPECT_EQ(columnAt("meta_table", meta_table::kFilterData), "filter_data");
    EXPECT_EQ(columnAt("meta_table", meta_table::kImportClass), "import_class");
    EXPECT_EQ(columnAt("meta_table", meta_table::kGpsAreaInfo), "gps_areainfo");
    EXPECT_EQ(columnAt("meta_table", meta_table::kParamFlag), "param_flag");

    for (const char* table : {"person_face_table", "pet_face_table"}) {
        SCOPED_TRACE(table);
        EXPECT_EQ(columnCount(table), face_tables::kColumnCount);
        EXPECT_EQ(columnAt(table, face_tables::kFileId), "file_id");
        EXPECT_EQ(columnAt(table, face_tables::kRect), "rect");
    }
    EXPECT_EQ(columnAt("tag_file_table", tag_tables::kLinkTagId), "tag_id");
    EXPECT_EQ(columnAt("import_history_table", import_history_table::kImportAttribute), "import_attribute");
}

// The short column list names, at each position of its enum, the column of
// that name.
TEST(CatalogueColumnEnums, ShortRowPositionsNameTheirColumns) {
    TempFolder folder;
    CSQLiteFileBasicDB store;
    PlaceCatalogue(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    sqlite3_stmt* statement = nullptr;
    CZanTString sql;
    sql = file_table::kSelectShortRows;
    ASSERT_EQ(sqlite3_prepare_v2(store.m_db, sql.ToUtf8().c_str(), -1, &statement, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_column_count(statement), file_table::kShortColumnCount);
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortFilePath), "file_path");
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortFileFormat), "file_format");
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortThumbnailSize), "thumbnail_size");
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortAlbumId), "album_id");
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortManage), "manage");
    EXPECT_STREQ(sqlite3_column_name(statement, file_table::kShortClassifyId), "classify_id");
    sqlite3_finalize(statement);
}

}  // namespace
