// The staging store's file: its tables as a new file gets them, the SELECT *
// positions every reader relies on, and the upgrade of files that builds
// before 1200 made without the six late columns of async_file_table.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "staging/async_db.h"
#include "staging/async_file_table.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace fs = std::filesystem;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

namespace {

constexpr char kStagingName[] = "FileBasicAsync.db";

// The columns of async_file_table, in the order SELECT * gives them.
const std::vector<std::string> kColumns = {
    "file_id",        "file_path",       "disk_vsn",        "file_name",         "file_format",
    "shooting_date",  "gps_latitude",    "gps_longitude",   "file_attributes",   "thumbnail_size",
    "thumbnail_orientation", "did_edit", "is_favorite",     "did_detect_face",   "album_id",
    "manage",         "parent_id",       "parent_shooting_date", "upload_flag",  "classify_id",
    "import_date",    "import_class",    "filter_data",     "file_size",         "file_update_date",
    "duration",       "pixel_width",     "pixel_height",    "panorama_number",   "drive_number",
    "frame_rate",     "gps_altitude",    "gps_direction",   "gps_areainfo",      "can_commit",
    "model_name",     "picture_mode",    "finishing_mode",  "art_filter",        "focus_mode",
    "param_flag"};

std::vector<std::string> ColumnNames(SqliteProbe& probe, const std::string& table) {
    std::vector<std::string> names;
    for (const auto& row : probe.Rows("SELECT name FROM pragma_table_info('" + table + "') ORDER BY cid"))
        names.push_back(row[0]);
    return names;
}

std::string SqlOf(SqliteProbe& probe, const std::string& name) {
    auto rows = probe.Rows("SELECT sql FROM sqlite_master WHERE name='" + name + "'");
    return rows.empty() ? std::string() : rows[0][0];
}

class StagingSchema : public ::testing::Test {
protected:
    // Opens (and, if missing, makes) the staging file in the test's folder.
    void OpenStore() {
        m_store.m_folder = m_folder.Wide();
        m_store.m_fileName = CZanTString::FromUtf8(kStagingName);
        ASSERT_EQ(m_store.Open(), S_OK);
    }
    fs::path File() const { return m_folder / kStagingName; }

    // Writes an older build's staging file: the base tables with version,
    // and async_file_table with the columns given (each "name TYPE").
    void MakeOldFile(uint32_t version, const std::vector<std::string>& columns) {
        // An empty file is an empty database to SQLite.
        zandb4::testing::WriteFile(File(), "");
        SqliteProbe probe(File());
        ASSERT_TRUE(probe.IsOpen());
        std::string create = "CREATE TABLE async_file_table (";
        for (size_t index = 0; index < columns.size(); ++index) create += (index ? ", " : "") + columns[index];
        create += ")";
        for (const std::string& sql :
             {std::string("CREATE TABLE version_info_table (version INTEGER)"),
              "INSERT INTO version_info_table VALUES(" + std::to_string(version) + ")",
              std::string("CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER)"),
              std::string("CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER)"), create,
              std::string("CREATE UNIQUE INDEX async_file_table_dir_name_idx ON async_file_table(file_name,file_path)")})
            ASSERT_EQ(probe.Exec(sql), SQLITE_OK) << sql;
    }

    // The columns up to can_commit, as builds before 1200 had them, typed.
    static std::vector<std::string> EarlyColumns() {
        std::vector<std::string> typed;
        for (size_t index = 0; index <= async_file_table::kCanCommit; ++index) {
            const std::string& name = kColumns[index];
            std::string type = "INTEGER";
            if (name == "file_path" || name == "file_name" || name == "filter_data" || name == "gps_areainfo")
                type = "TEXT";
            if (name == "gps_latitude" || name == "gps_longitude") type = "REAL";
            typed.push_back(name + " " + type + (index == 0 ? " PRIMARY KEY" : ""));
        }
        return typed;
    }

    TempFolder m_folder;
    CSQLiteAsyncDB m_store;
};

TEST_F(StagingSchema, NewFileHasEveryTableAndTheIndexAsWritten) {
    OpenStore();
    m_store.Close();
    SqliteProbe probe(File());
    EXPECT_EQ(SqlOf(probe, "async_file_table"), std::string("CREATE TABLE async_file_table (file_id INTEGER PRIMARY KEY, "
              "file_path TEXT, disk_vsn INTEGER, file_name TEXT, file_format INTEGER, shooting_date INTEGER, "
              "gps_latitude REAL, gps_longitude REAL, file_attributes INTEGER, thumbnail_size INTEGER, "
              "thumbnail_orientation INTEGER, did_edit INTEGER, is_favorite INTEGER, did_detect_face INTEGER, "
              "album_id INTEGER, manage INTEGER, parent_id INTEGER, parent_shooting_date INTEGER, upload_flag INTEGER, "
              "classify_id INTEGER, import_date INTEGER, import_class INTEGER, filter_data TEXT, file_size INTEGER, "
              "file_update_date INTEGER, duration INTEGER, pixel_width INTEGER, pixel_height INTEGER, "
              "panorama_number INTEGER, drive_number INTEGER, frame_rate INTEGER, gps_altitude INTEGER, "
              "gps_direction INTEGER, gps_areainfo TEXT, can_commit INTEGER, model_name TEXT, picture_mode INTEGER, "
              "finishing_mode INTEGER, art_filter INTEGER, focus_mode INTEGER, param_flag INTEGER)"));
    EXPECT_EQ(SqlOf(probe, "async_file_table_dir_name_idx"),
              "CREATE UNIQUE INDEX async_file_table_dir_name_idx ON async_file_table(file_name,file_path)");
    EXPECT_EQ(SqlOf(probe, "async_tag_file_table"), "CREATE TABLE async_tag_file_table (tag_id INTEGER, file_id INTEGER)");
    EXPECT_EQ(SqlOf(probe, "async_person_face_table"),
              "CREATE TABLE async_person_face_table (async_person_face_id INTEGER PRIMARY KEY, file_id INTEGER, "
              "person_id INTEGER, rect INTEGER)");
    EXPECT_EQ(SqlOf(probe, "async_pet_face_table"),
              "CREATE TABLE async_pet_face_table (async_pet_face_id INTEGER PRIMARY KEY, file_id INTEGER, "
              "pet_id INTEGER, rect INTEGER)");
    EXPECT_EQ(SqlOf(probe, "async_person_face_status_table"),
              "CREATE TABLE async_person_face_status_table (file_id INTEGER PRIMARY KEY, can_commit INTEGER, "
              "did_commit INTEGER)");
    EXPECT_EQ(SqlOf(probe, "async_pet_face_status_table"),
              "CREATE TABLE async_pet_face_status_table (file_id INTEGER PRIMARY KEY, can_commit INTEGER, "
              "did_commit INTEGER)");
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(ColumnNames(probe, "async_file_table"), kColumns);
}

TEST_F(StagingSchema, ColumnEnumNamesThePositionsOnDisk) {
    OpenStore();
    m_store.Close();
    SqliteProbe probe(File());
    std::vector<std::string> names = ColumnNames(probe, "async_file_table");
    ASSERT_EQ(names.size(), static_cast<size_t>(async_file_table::kColumnCount));
    EXPECT_EQ(names[async_file_table::kCanCommit], "can_commit");
    EXPECT_EQ(async_file_table::kCanCommit, 34);
    EXPECT_EQ(names[async_file_table::kFilterData], "filter_data");
    EXPECT_EQ(names[async_file_table::kParamFlag], "param_flag");
}

TEST_F(StagingSchema, UpgradeOfAnEarlyFileAddsTheSixBehindCanCommit) {
    MakeOldFile(1100, EarlyColumns());
    {
        SqliteProbe probe(File());
        ASSERT_EQ(probe.Exec("INSERT INTO async_file_table (file_id, file_path, file_name, gps_areainfo, can_commit) "
                             "VALUES (7, '/pictures', 'a.jpg', 'north', 1)"),
                  SQLITE_OK);
    }
    OpenStore();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    m_store.Close();
    SqliteProbe probe(File());
    EXPECT_EQ(ColumnNames(probe, "async_file_table"), kColumns);
    // The row kept its values in their positions; the new columns are null.
    auto rows = probe.Rows("SELECT * FROM async_file_table");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][async_file_table::kFileName], "a.jpg");
    EXPECT_EQ(rows[0][async_file_table::kGpsAreaInfo], "north");
    EXPECT_EQ(rows[0][async_file_table::kCanCommit], "1");
    EXPECT_EQ(rows[0][async_file_table::kModelName], "NULL");
    // The upgrade does not write the version row.
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1100);
}

TEST_F(StagingSchema, UpgradeRebuildsATableWithOnlySomeLateColumnsAndDropsTheirValues) {
    std::vector<std::string> columns = EarlyColumns();
    columns.push_back("model_name TEXT");
    columns.push_back("picture_mode INTEGER");
    MakeOldFile(1100, columns);
    {
        SqliteProbe probe(File());
        ASSERT_EQ(probe.Exec("INSERT INTO async_file_table (file_id, file_path, file_name, can_commit, model_name, "
                             "picture_mode) VALUES (3, '/p', 'b.jpg', 1, 'camera', 5)"),
                  SQLITE_OK);
    }
    OpenStore();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    m_store.Close();
    SqliteProbe probe(File());
    EXPECT_EQ(ColumnNames(probe, "async_file_table"), kColumns);
    auto rows = probe.Rows("SELECT file_id, file_name, can_commit, model_name, picture_mode FROM async_file_table");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"3", "b.jpg", "1", "NULL", "NULL"}));
    // The unique index went with the old table and is not made again.
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM sqlite_master WHERE name='async_file_table_dir_name_idx'"), 0);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM sqlite_master WHERE name='tmp_table'"), 0);
}

TEST_F(StagingSchema, UpgradeLeavesACurrentFileAlone) {
    OpenStore();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    m_store.Close();
    SqliteProbe probe(File());
    EXPECT_EQ(ColumnNames(probe, "async_file_table"), kColumns);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM sqlite_master WHERE name='async_file_table_dir_name_idx'"), 1);
}

TEST_F(StagingSchema, UpgradeOfAFileMarked1200WithoutTheColumnsRebuildsAndStops) {
    // A version of 1200 says the columns are there; a file that lacks them is
    // still rebuilt, and then counts as 1100 and gets them.
    MakeOldFile(1200, EarlyColumns());
    OpenStore();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    m_store.Close();
    SqliteProbe probe(File());
    EXPECT_EQ(ColumnNames(probe, "async_file_table"), kColumns);
}

TEST_F(StagingSchema, FileThatIsNotADatabaseFailsTheUpgrade) {
    zandb4::testing::WriteFile(File(), "not a database at all, only text");
    OpenStore();
    EXPECT_EQ(m_store.UpgradeTables(), E_FAIL);
    m_store.Close();
    // Nothing was written over the file.
    SqliteProbe probe(File());
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM sqlite_master"), -1);
}

}  // namespace
