// Store files as earlier builds left them, made here with SQLite alone from
// files that a first start of the library made: every statement below turns
// a current file into the layout of an older version, with rows of its own.
//
//   catalogue   1100: meta_table without its six late columns
//   staging     1100: async_file_table without its six late columns
//   access log  1000: only the daily values and the strings
//   memory data 1000: as today but for the version row
//   GPS logs    1000: no UTC dates, no state, no location name
#pragma once

#include <cstdint>
#include <string>

#include "maintenance_fixture.h"

namespace maintenance_test {

inline const char* const kLateColumns[] = {"model_name", "picture_mode", "finishing_mode",
                                           "art_filter", "focus_mode",   "param_flag"};

inline std::string DropLateColumns(const std::string& table) {
    std::string sql;
    for (const char* column : kLateColumns) sql += "ALTER TABLE " + table + " DROP COLUMN " + column + ";";
    return sql;
}

inline std::string SetVersion(uint32_t version) {
    return "UPDATE version_info_table SET version=" + std::to_string(version) + ";";
}

// Two metadata rows with a value in each of their 15 columns.
inline std::string OldCatalogue() {
    return DropLateColumns("meta_table") + SetVersion(1100) +
           "INSERT INTO meta_table VALUES (1, X'0102', 1000, 2000, 3000, 4, 640, 480, 1, 2, 30, 5, 100, 90, 'north');"
           "INSERT INTO meta_table VALUES (2, X'FF', 1001, 2001, 3001, 0, 1920, 1080, 0, 0, 60, 6, -5, 180, 'south');";
}
inline const Rows kOldMetaRowsWithLateColumns = {
    {"1", "0102", "1000", "2000",  "3000", "4",    "640",  "480",  "1",    "2",   "30",
     "5", "100",  "90",   "north", "NULL", "NULL", "NULL", "NULL", "NULL", "NULL"},
    {"2", "FF", "1001", "2001",  "3001", "0",    "1920", "1080", "0",    "0",   "60",
     "6", "-5", "180",  "south", "NULL", "NULL", "NULL", "NULL", "NULL", "NULL"},
};
inline const std::string kSelectMetaRows =
    "SELECT file_id, hex(filter_data), file_size, file_update_date, import_date, duration, pixel_width, "
    "pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, gps_direction, "
    "gps_areainfo, model_name, picture_mode, finishing_mode, art_filter, focus_mode, param_flag FROM meta_table "
    "ORDER BY file_id";

// One staged file, committed to staging.
inline std::string OldStaging() {
    return DropLateColumns("async_file_table") + SetVersion(1100) +
           "INSERT INTO async_file_table (file_id, file_path, file_name, shooting_date, can_commit) "
           "VALUES (7, '/pictures', 'a.jpg', 123456, 1);";
}

// Daily values of kinds 267 (which the upgrade zeroes) and 12, and a string.
inline std::string OldAccessLog() {
    return "DROP TABLE access_launch_data; DROP TABLE access_history_data; DROP TABLE access_edit_param_data;" +
           SetVersion(1000) +
           "INSERT INTO access_date_log_data VALUES (1, 267, 0, 41, 0);"
           "INSERT INTO access_date_log_data VALUES (1, 12, 0, 99, 0);"
           "INSERT INTO access_string_data VALUES (3, 'kept');";
}

inline std::string OldMemoryData() {
    return SetVersion(1000) + "INSERT INTO memory_data VALUES (1, 5, 'key', X'0A0B');";
}

// Both GPS tables in the layout of version 1000, empty.
inline std::string GpsTablesOfVersion1000() {
    return "DROP TABLE gps_log_file; DROP TABLE gps_log_data;"
           "CREATE TABLE gps_log_file (log_file_id INTEGER PRIMARY KEY,log_file_path TEXT, log_file_name TEXT, "
           "start_date INTEGER, end_date INTEGER, attributes INTEGER);"
           "CREATE UNIQUE INDEX gps_log_file_uidx ON gps_log_file (log_file_path);"
           "CREATE TABLE gps_log_data (log_id INTEGER PRIMARY KEY,log_file_id INTEGER,date INTEGER,latitude REAL,"
           "longitude REAL);"
           "CREATE INDEX gps_log_data_file_id_idx ON gps_log_data (log_file_id, date);"
           "CREATE UNIQUE INDEX gps_log_data_uidx ON gps_log_data (log_file_id, date, latitude, longitude);" +
           SetVersion(1000);
}

inline std::string GpsLogRow(uint64_t id, const std::string& path, const std::string& name, int64_t start, int64_t end,
                             uint32_t attributes) {
    return "INSERT INTO gps_log_file VALUES (" + std::to_string(id) + ", '" + path + "', '" + name + "', " +
           std::to_string(start) + ", " + std::to_string(end) + ", " + std::to_string(attributes) + ");";
}

inline std::string GpsPointRow(uint64_t id, uint64_t logId, int64_t date, double latitude, double longitude) {
    return "INSERT INTO gps_log_data VALUES (" + std::to_string(id) + ", " + std::to_string(logId) + ", " +
           std::to_string(date) + ", " + std::to_string(latitude) + ", " + std::to_string(longitude) + ");";
}

// One log of three points, its stored dates unlike its points', and a log
// without points.
inline std::string OldGpsLogs() {
    return GpsTablesOfVersion1000() +
           GpsLogRow(1, "/logs/walk.log", "walk.log", Packed(2020, 1, 1), Packed(2020, 1, 2), 4) +
           GpsLogRow(2, "/logs/empty.log", "empty.log", Packed(2019, 5, 5, 5, 5, 5), Packed(2019, 5, 6), 0) +
           GpsPointRow(10, 1, Packed(2020, 7, 1, 10, 0, 0), 35.5, 139.5) +
           GpsPointRow(11, 1, Packed(2020, 7, 1, 8, 30, 0), 35.6, 139.6) +
           GpsPointRow(12, 1, Packed(2020, 7, 1, 23, 59, 59), 35.7, 139.7);
}

}  // namespace maintenance_test
