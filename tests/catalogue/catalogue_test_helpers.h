// Helpers shared by the catalogue tests: the catalogue's expected layout as
// plain data (every table with its columns, every index with its columns and
// whether its failure ends CreateTables), the catalogue placed in a temporary
// folder, SQL runs on the store's own connection, and old catalogue files
// written directly with SQLite.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "../storage/store_test_helpers.h"
#include "catalogue/file_basic_db.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace catalogue_test {

using storage_test::Rows;

inline constexpr char kCatalogueName[] = "FileBasic.db";

struct ColumnLayout {
    std::string name;
    // The declared type; empty where the column is declared without one.
    std::string type;
    // 1 for the INTEGER PRIMARY KEY column.
    int pk;
};

struct TableLayout {
    std::string name;
    std::vector<ColumnLayout> columns;
};

struct IndexColumn {
    std::string name;
    bool descending;
};

struct IndexLayout {
    std::string name;
    std::string table;
    bool unique;
    std::vector<IndexColumn> columns;
    // Whether a failure to make this index ends CreateTables with E_FAIL.
    bool failureEnds;
};

// The three tables every store has, in the order they are made.
inline const std::vector<TableLayout>& BaseTables() {
    static const std::vector<TableLayout> tables = {
        {"version_info_table", {{"version", "INTEGER", 0}}},
        {"last_id_table", {{"id_type", "INTEGER", 0}, {"last_id", "INTEGER", 0}}},
        {"pooled_id_table", {{"id_type", "INTEGER", 0}, {"pooled_id", "INTEGER", 0}}},
    };
    return tables;
}

// The person and pet tables differ only in the name of their key.
inline std::vector<ColumnLayout> IndividualColumns(const std::string& key) {
    return {{key, "INTEGER", 1},           {"name", "TEXT", 0},         {"email", "TEXT", 0},
            {"birthday", "INTEGER", 0},    {"file_count", "INTEGER", 0}, {"register_date", "INTEGER", 0},
            {"custom_index", "INTEGER", 0}, {"atrributes", "INTEGER", 0}, {"recommend", "INTEGER", 0}};
}

inline std::vector<ColumnLayout> FeaturePointGroupColumns() {
    return {{"group_id", "INTEGER", 1},
            {"feature_point_id", "INTEGER", 0},
            {"face_id", "INTEGER", 0},
            {"create_date", "INTEGER", 0},
            {"face_count", "INTEGER", 0}};
}

inline std::vector<ColumnLayout> FeaturePointGroupItemColumns() {
    return {{"face_id", "INTEGER", 1}, {"feature_point_id", "INTEGER", 0}, {"group_id", "INTEGER", 0}};
}

// meta_table in full; the first 15 columns (up to gps_areainfo) are what
// files of older builds have.
inline const std::vector<ColumnLayout>& MetaColumns() {
    static const std::vector<ColumnLayout> columns = {
        {"file_id", "INTEGER", 0},          {"filter_data", "BLOB", 0},     {"file_size", "INTEGER", 0},
        {"file_update_date", "INTEGER", 0}, {"import_date", "INTEGER", 0},  {"duration", "INTEGER", 0},
        {"pixel_width", "INTEGER", 0},      {"pixel_height", "INTEGER", 0}, {"panorama_number", "INTEGER", 0},
        {"drive_number", "INTEGER", 0},     {"frame_rate", "INTEGER", 0},   {"import_class", "INTEGER", 0},
        {"gps_altitude", "INTEGER", 0},     {"gps_direction", "INTEGER", 0}, {"gps_areainfo", "TEXT", 0},
        {"model_name", "TEXT", 0},          {"picture_mode", "INTEGER", 0}, {"finishing_mode", "INTEGER", 0},
        {"art_filter", "INTEGER", 0},       {"focus_mode", "INTEGER", 0},   {"param_flag", "INTEGER", 0},
    };
    return columns;
}
inline constexpr size_t kEarlyMetaColumnCount = 15;

// The catalogue's own tables, in the order CreateTables makes them.
inline const std::vector<TableLayout>& CatalogueTables() {
    static const std::vector<TableLayout> tables = {
        {"file_table",
         {{"file_id", "INTEGER", 1},
          {"file_path", "TEXT", 0},
          {"disk_vsn", "INTEGER", 0},
          {"path_key", "TEXT", 0},
          {"file_name", "TEXT", 0},
          {"file_format", "INTEGER", 0},
          {"shooting_date", "INTEGER", 0},
          {"gps_latitude", "REAL", 0},
          {"gps_longitude", "REAL", 0},
          {"file_attributes", "INTEGER", 0},
          {"thumbnail_size", "INTEGER", 0},
          {"thumbnail_orientation", "INTEGER", 0},
          {"did_edit", "INTEGER", 0},
          {"is_favorite", "INTEGER", 0},
          {"did_detect_face", "INTEGER", 0},
          {"album_id", "INTEGER", 0},
          {"manage", "INTEGER", 0},
          {"parent_id", "INTEGER", 0},
          {"parent_shooting_date", "INTEGER", 0},
          {"upload_flag", "INTEGER", 0},
          {"classify_id", "INTEGER", 0}}},
        {"person_table", IndividualColumns("person_id")},
        {"person_group_item_table", {{"person_id", "INTEGER", 0}, {"face_group_id", "", 0}}},
        {"face_group_table",
         {{"face_group_id", "INTEGER", 1},
          {"face_group_type", "INTEGER", 0},
          {"face_group_name", "TEXT", 0},
          {"face_group_desc", "TEXT", 0}}},
        {"pet_table", IndividualColumns("pet_id")},
        {"pet_group_item_table", {{"pet_id", "INTEGER", 1}, {"face_group_id", "INTEGER", 0}}},
        {"person_face_table",
         {{"person_face_id", "INTEGER", 1}, {"file_id", "INTEGER", 0}, {"person_id", "INTEGER", 0}, {"rect", "INTEGER", 0}}},
        {"pet_face_table",
         {{"pet_face_id", "INTEGER", 1}, {"file_id", "INTEGER", 0}, {"pet_id", "INTEGER", 0}, {"rect", "INTEGER", 0}}},
        {"album_table",
         {{"album_id", "INTEGER", 1},
          {"album_name", "TEXT", 0},
          {"gps_latitude", "REAL", 0},
          {"gps_longitude", "REAL", 0},
          {"gps_areainfo", "TEXT", 0},
          {"shooting_date_oldest", "INTEGER", 0},
          {"shooting_date_latest", "INTEGER", 0},
          {"album_file_count", "INTEGER", 0}}},
        {"tag_table", {{"tag_id", "INTEGER", 1}, {"tag_name", "TEXT", 0}, {"tag_type", "INTEGER", 0}}},
        {"tag_file_table", {{"tag_id", "INTEGER", 0}, {"file_id", "INTEGER", 0}}},
        {"meta_table", MetaColumns()},
        {"image_file_table",
         {{"file_id", "INTEGER", 1},
          {"image_file_type", "INTEGER", 0},
          {"image_file_path", "TEXT", 0},
          {"filter_data", "BLOB", 0},
          {"filter_data_orientation", "", 0}}},
        {"import_history_table",
         {{"import_date", "INTEGER", 0}, {"import_class", "INTEGER", 0}, {"import_attribute", "INTEGER", 0}}},
        {"person_face_feature_point_group_table", FeaturePointGroupColumns()},
        {"pet_face_feature_point_group_table", FeaturePointGroupColumns()},
        {"person_face_feature_point_group_item_table", FeaturePointGroupItemColumns()},
        {"pet_face_feature_point_group_item_table", FeaturePointGroupItemColumns()},
        {"main_image_cache_file_table",
         {{"file_id", "INTEGER", 1}, {"file_type", "INTEGER", 0}, {"file_path", "TEXT", 0}}},
    };
    return tables;
}

// Every index of the catalogue, each listed after the indexes of the tables
// made before its own.
inline const std::vector<IndexLayout>& CatalogueIndexes() {
    static const std::vector<IndexLayout> indexes = {
        {"file_table_sdate_fname_idx", "file_table", false, {{"shooting_date", false}, {"file_name", false}}, false},
        {"file_table_album_sdate_fname_idx",
         "file_table",
         false,
         {{"album_id", false}, {"shooting_date", false}, {"file_name", false}},
         false},
        {"file_pathkey", "file_table", true, {{"path_key", false}}, true},
        {"person_table_rd_idx", "person_table", false, {{"register_date", false}}, true},
        {"person_table_ctm_idx", "person_table", false, {{"custom_index", false}, {"register_date", false}}, true},
        {"person_table_nm_idx", "person_table", false, {{"name", false}}, true},
        {"person_group_item_idx",
         "person_group_item_table",
         false,
         {{"person_id", false}, {"face_group_id", false}},
         true},
        {"pet_table_rd_idx", "pet_table", false, {{"register_date", false}}, true},
        {"pet_table_ctm_idx", "pet_table", false, {{"custom_index", false}, {"register_date", false}}, true},
        {"pet_table_nm_idx", "pet_table", false, {{"name", false}}, true},
        {"pet_group_item_idx", "pet_group_item_table", false, {{"pet_id", false}, {"face_group_id", false}}, true},
        {"person_face_person_idx", "person_face_table", false, {{"person_id", false}}, false},
        {"person_face_file_idx", "person_face_table", false, {{"file_id", false}}, true},
        {"pet_face_pet_idx", "pet_face_table", false, {{"pet_id", false}}, false},
        {"pet_face_file_idx", "pet_face_table", false, {{"file_id", false}}, true},
        {"album_table_name_idx", "album_table", false, {{"album_name", false}}, false},
        {"album_table_sdate_old_idx", "album_table", false, {{"shooting_date_oldest", false}}, true},
        {"tag_tag_name_idx", "tag_table", true, {{"tag_name", false}}, true},
        {"tag_file_idx", "tag_file_table", false, {{"tag_id", false}, {"file_id", false}}, true},
        {"meta_file_idx", "meta_table", true, {{"file_id", false}}, true},
        {"person_face_feature_point_group_idx",
         "person_face_feature_point_group_table",
         false,
         {{"create_date", true}},
         true},
        {"pet_face_feature_point_group_idx", "pet_face_feature_point_group_table", false, {{"create_date", true}}, true},
    };
    return indexes;
}

inline const TableLayout& TableNamed(const std::string& name) {
    for (const TableLayout& table : BaseTables())
        if (table.name == name) return table;
    for (const TableLayout& table : CatalogueTables())
        if (table.name == name) return table;
    ADD_FAILURE() << "no table " << name;
    static const TableLayout none;
    return none;
}

inline std::vector<IndexLayout> IndexesOf(const std::string& table) {
    std::vector<IndexLayout> found;
    for (const IndexLayout& index : CatalogueIndexes())
        if (index.table == table) found.push_back(index);
    return found;
}

// One schema object as sqlite_master lists it: type and name.
using SchemaObject = std::vector<std::string>;

// The objects of a new catalogue in the order they are made: the base
// tables, then each catalogue table followed by its indexes.
inline std::vector<SchemaObject> CreationOrder() {
    std::vector<SchemaObject> objects;
    for (const TableLayout& table : BaseTables()) objects.push_back({"table", table.name});
    for (const TableLayout& table : CatalogueTables()) {
        objects.push_back({"table", table.name});
        for (const IndexLayout& index : IndexesOf(table.name)) objects.push_back({"index", index.name});
    }
    return objects;
}

// "CREATE TABLE name (...)" with the first columnCount columns of table.
inline std::string CreateTableSql(const TableLayout& table, size_t columnCount = SIZE_MAX) {
    std::string sql = "CREATE TABLE " + table.name + " (";
    for (size_t i = 0; i < table.columns.size() && i < columnCount; ++i) {
        const ColumnLayout& column = table.columns[i];
        if (i != 0) sql += ", ";
        sql += column.name;
        if (!column.type.empty()) sql += " " + column.type;
        if (column.pk) sql += " PRIMARY KEY";
    }
    return sql + ")";
}

inline std::string CreateIndexSql(const IndexLayout& index) {
    std::string sql = std::string(index.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") + index.name + " ON " +
                      index.table + "(";
    for (size_t i = 0; i < index.columns.size(); ++i) {
        if (i != 0) sql += ", ";
        sql += index.columns[i].name + (index.columns[i].descending ? " DESC" : "");
    }
    return sql + ")";
}

// Points store at folder/FileBasic.db without opening it.
inline void PlaceCatalogue(CSQLiteFileBasicDB& store, const zandb4::testing::TempFolder& folder) {
    storage_test::PlaceStore(store, folder, kCatalogueName);
}

// Rows of sql run on a live connection (the store's own, so uncommitted
// changes show), each column as text, "NULL" for null.
inline Rows QueryOn(sqlite3* db, const std::string& sql) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << "cannot prepare " << sql << ": " << sqlite3_errmsg(db);
        return rows;
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const unsigned char* text = sqlite3_column_text(statement, i);
            row.push_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

// Runs every statement on a connection, failing the test at the first error.
inline void ExecAll(sqlite3* db, const std::vector<std::string>& statements) {
    for (const std::string& sql : statements) {
        char* message = nullptr;
        int code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(code, SQLITE_OK) << sql << ": " << (message != nullptr ? message : "");
        sqlite3_free(message);
    }
}

// Writes a database file at path from statements, in one transaction,
// with SQLite alone.
inline void MakeDatabaseFile(const std::filesystem::path& path, const std::vector<std::string>& statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    ExecAll(db, {"BEGIN"});
    ExecAll(db, statements);
    ExecAll(db, {"COMMIT"});
    sqlite3_close(db);
}

// Puts a copy of a catalogue file as the store makes it new into
// folder/FileBasic.db. The original is made once per program, since making
// one costs a disk sync per table; each test gets its own copy.
inline void CopyNewCatalogueFile(const zandb4::testing::TempFolder& folder) {
    static const std::unique_ptr<zandb4::testing::TempFolder> templateFolder = [] {
        auto made = std::make_unique<zandb4::testing::TempFolder>();
        CSQLiteFileBasicDB maker;
        storage_test::PlaceStore(maker, *made, kCatalogueName);
        EXPECT_EQ(maker.Open(), S_OK);
        EXPECT_EQ(maker.Close(), S_OK);
        return made;
    }();
    std::filesystem::copy_file(*templateFolder / kCatalogueName, folder / kCatalogueName);
}

// PRAGMA table_info of table, each row: name, declared type, notnull,
// default, pk. The column number is left out: the order of rows is it.
inline Rows ColumnsOf(sqlite3* db, const std::string& table) {
    return QueryOn(db, "SELECT name, type, \"notnull\", dflt_value, pk FROM pragma_table_info('" + table +
                           "') ORDER BY cid");
}

// What ColumnsOf answers for a table laid out as columns.
inline Rows ExpectedColumns(const std::vector<ColumnLayout>& columns, size_t columnCount = SIZE_MAX) {
    Rows rows;
    for (size_t i = 0; i < columns.size() && i < columnCount; ++i)
        rows.push_back({columns[i].name, columns[i].type, "0", "NULL", std::to_string(columns[i].pk)});
    return rows;
}

// Names of the indexes on table, sorted.
inline Rows IndexNamesOf(sqlite3* db, const std::string& table) {
    return QueryOn(db, "SELECT name FROM pragma_index_list('" + table + "') ORDER BY name");
}

}  // namespace catalogue_test
