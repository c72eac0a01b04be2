// gps_log_file and gps_log_data, the two tables of "Location.db": one row for
// each track log the application imported, one for each point of a track.
// Every moment is kept twice, local and UTC, as packed dates. Described once
// here for the schema, the upgrade and its rebuild, the rows, the manager and
// the tests.
#pragma once

#include <cstdint>

#include "zandb4/foundation.h"

namespace gps_log_tables {

// The ids of log files and of points come from two types of the store's own
// counter and pool, apart from every id of the catalogue.
inline constexpr uint32_t kLogFileIdType = 0;
inline constexpr uint32_t kLogIdType = 1;

// Files below this version have the old layout: no date_utc in gps_log_data,
// none of state, start_date_utc, end_date_utc, log_location_name in
// gps_log_file.
inline constexpr uint32_t kVersionWithUtcColumns = 1100;
// The old layout, which the rebuild of a half-upgraded file returns to.
inline constexpr uint32_t kVersionOldLayout = 1000;

// --- Schema of a new file ---------------------------------------------------

inline constexpr WCHAR kCreateLogFile[] =
    u"CREATE TABLE gps_log_file (log_file_id INTEGER PRIMARY KEY,log_file_path TEXT, log_file_name TEXT, "
    u"start_date INTEGER, end_date INTEGER, attributes INTEGER, state INTEGER, start_date_utc INTEGER, "
    u"end_date_utc INTEGER,log_location_name TEXT)";
inline constexpr WCHAR kCreateLogFilePathIndex[] =
    u"CREATE UNIQUE INDEX gps_log_file_uidx ON gps_log_file (log_file_path)";
inline constexpr WCHAR kCreateLogData[] =
    u"CREATE TABLE gps_log_data (log_id INTEGER PRIMARY KEY,log_file_id INTEGER,date INTEGER,latitude REAL,"
    u"longitude REAL,date_utc INTEGER)";
inline constexpr WCHAR kCreateLogDataFileIndex[] =
    u"CREATE INDEX gps_log_data_file_id_idx ON gps_log_data (log_file_id, date)";
inline constexpr WCHAR kCreateLogDataUniqueIndex[] =
    u"CREATE UNIQUE INDEX gps_log_data_uidx ON gps_log_data (log_file_id, date, latitude, longitude)";

// Positions in "SELECT * FROM gps_log_file".
enum LogFileColumn : int {
    kLogFileId,
    kLogFilePath,
    kLogFileName,
    kStartDate,
    kEndDate,
    kAttributes,
    kState,
    kStartDateUtc,
    kEndDateUtc,
    kLogLocationName,
};

// Positions in "SELECT * FROM gps_log_data", and in the joined selections,
// which name the same six columns in the same order.
enum LogDataColumn : int {
    kLogId,
    kLogDataFileId,
    kDate,
    kLatitude,
    kLongitude,
    kDateUtc,
};

// --- Log files ----------------------------------------------------------------

inline constexpr WCHAR kInsertLogFile[] =
    u"INSERT INTO gps_log_file (log_file_id, log_file_path, log_file_name, start_date, end_date, attributes, "
    u"state, start_date_utc, end_date_utc, log_location_name) VALUES (?,?,?,?,?,?,?,?,?,?)";
inline constexpr WCHAR kSelectLogFileId[] = u"SELECT log_file_id FROM gps_log_file WHERE log_file_id=? LIMIT 1";
inline constexpr WCHAR kUpdateLogFile[] =
    u"UPDATE gps_log_file SET log_file_path=?, log_file_name=?, start_date=?, end_date=?, attributes=?, state=?, "
    u"start_date_utc=?, end_date_utc=?, log_location_name=? WHERE log_file_id=?";
inline constexpr WCHAR kDeleteLogFile[] = u"DELETE FROM gps_log_file WHERE log_file_id=?";
inline constexpr WCHAR kSelectLogFile[] = u"SELECT * FROM gps_log_file WHERE log_file_id=? LIMIT 1";
// The trailing space is part of the text as it has always been run.
inline constexpr WCHAR kSelectAllLogFiles[] = u"SELECT * FROM gps_log_file ";
inline constexpr WCHAR kSelectLogFilesByName[] =
    u"SELECT * FROM gps_log_file WHERE log_file_name=? ORDER BY start_date ASC";
inline constexpr WCHAR kSelectLogFilesByPath[] =
    u"SELECT * FROM gps_log_file WHERE log_file_path=? ORDER BY start_date ASC";
inline constexpr WCHAR kSelectLogFilesByAttributes[] =
    u"SELECT * FROM gps_log_file WHERE attributes=? ORDER BY start_date ASC";
inline constexpr WCHAR kCountLogFiles[] = u"SELECT COUNT(*) FROM gps_log_file ";

// --- Points -------------------------------------------------------------------

inline constexpr WCHAR kInsertLogData[] =
    u"INSERT INTO gps_log_data (log_id, log_file_id, date, latitude, longitude, date_utc) VALUES (?,?,?,?,?,?)";
inline constexpr WCHAR kSelectLogDataId[] = u"SELECT log_id FROM gps_log_data WHERE log_id=? LIMIT 1";
inline constexpr WCHAR kUpdateLogData[] =
    u"UPDATE gps_log_data SET log_file_id=?, date=?, latitude=?, longitude=?, date_utc=? WHERE log_id=?";
inline constexpr WCHAR kDeleteLogData[] = u"DELETE FROM gps_log_data WHERE log_id=?";
inline constexpr WCHAR kSelectLogData[] = u"SELECT * FROM gps_log_data WHERE log_id=? LIMIT 1";
inline constexpr WCHAR kSelectLogIdsOfFile[] = u"SELECT log_id FROM gps_log_data WHERE log_file_id=?";
inline constexpr WCHAR kDeleteLogDataOfFile[] = u"DELETE FROM gps_log_data WHERE log_file_id=?";
inline constexpr WCHAR kSelectLogDataOfFile[] = u"SELECT * FROM gps_log_data WHERE log_file_id=? ORDER BY date ASC";
inline constexpr WCHAR kSelectAllLogData[] = u"SELECT * FROM gps_log_data ORDER BY date ASC";
// Track order: logs by UTC start, then by log id, points by local date. A
// point of a log that does not exist has a NULL start, which sorts first.
inline constexpr WCHAR kSelectAllLogDataJoined[] =
    u"SELECT gps_log_data.log_id, gps_log_data.log_file_id, gps_log_data.date, gps_log_data.latitude, "
    u"gps_log_data.longitude, gps_log_data.date_utc FROM gps_log_data LEFT OUTER JOIN gps_log_file ON "
    u"gps_log_data.log_file_id = gps_log_file.log_file_id ORDER BY gps_log_file.start_date_utc, "
    u"gps_log_data.log_file_id, gps_log_data.date ASC";
// Every point of each log whose UTC span overlaps the range: the first
// parameter is the range's start, compared with the log's end, the second
// the range's end, compared with the log's start.
inline constexpr WCHAR kSelectLogDataInRange[] =
    u"SELECT gps_log_data.log_id, gps_log_data.log_file_id, gps_log_data.date, gps_log_data.latitude, "
    u"gps_log_data.longitude, gps_log_data.date_utc FROM gps_log_data LEFT OUTER JOIN gps_log_file ON "
    u"gps_log_data.log_file_id = gps_log_file.log_file_id WHERE ( gps_log_file.end_date_utc>=? AND "
    u"gps_log_file.start_date_utc<=? ) ORDER BY gps_log_file.start_date_utc, gps_log_data.log_file_id, "
    u"gps_log_data.date ASC";
// Counts the log_file_id values, not the rows: a point stored with a NULL
// log file id is not counted. The text stays as callers know its answers.
inline constexpr WCHAR kCountLogData[] = u"SELECT COUNT(log_file_id) FROM gps_log_data ";

// --- Upgrade from the old layout ----------------------------------------------

inline constexpr WCHAR kProbeDateUtc[] = u"SELECT count(date_utc) FROM gps_log_data";
inline constexpr WCHAR kAddDateUtc[] = u"ALTER TABLE gps_log_data ADD COLUMN date_utc INTEGER";
inline constexpr WCHAR kProbeStartDateUtc[] = u"SELECT count(start_date_utc) FROM gps_log_file";
inline constexpr WCHAR kAddState[] = u"ALTER TABLE gps_log_file ADD COLUMN state INTEGER";
inline constexpr WCHAR kAddStartDateUtc[] = u"ALTER TABLE gps_log_file ADD COLUMN start_date_utc INTEGER";
inline constexpr WCHAR kAddEndDateUtc[] = u"ALTER TABLE gps_log_file ADD COLUMN end_date_utc INTEGER";
inline constexpr WCHAR kAddLogLocationName[] = u"ALTER TABLE gps_log_file ADD COLUMN log_location_name TEXT";

// --- Rebuild of a half-upgraded file to the old layout ------------------------
// No index is made again: a rebuilt file keeps none of the three indexes,
// and then accepts duplicate points and paths.

inline constexpr WCHAR kLogDataTable[] = u"gps_log_data";
inline constexpr WCHAR kLogFileTable[] = u"gps_log_file";
inline constexpr WCHAR kDateUtcColumn[] = u"date_utc";
inline constexpr WCHAR kStateColumn[] = u"state";
inline constexpr WCHAR kStartDateUtcColumn[] = u"start_date_utc";
inline constexpr WCHAR kEndDateUtcColumn[] = u"end_date_utc";
inline constexpr WCHAR kLogLocationNameColumn[] = u"log_location_name";

inline constexpr WCHAR kRenameLogDataToTemporary[] = u"ALTER TABLE gps_log_data RENAME TO tmp_table";
inline constexpr WCHAR kCreateOldLogData[] =
    u"CREATE TABLE gps_log_data (log_id INTEGER PRIMARY KEY,log_file_id INTEGER,date INTEGER,latitude REAL,"
    u"longitude REAL)";
inline constexpr WCHAR kRenameLogDataBack[] = u"ALTER TABLE tmp_table RENAME TO gps_log_data";
inline constexpr WCHAR kCopyOldLogData[] =
    u"INSERT INTO gps_log_data SELECT log_id, log_file_id, date, latitude, longitude FROM tmp_table";
inline constexpr WCHAR kDropLogDataTemporary[] = u"DROP TABLE tmp_table";

inline constexpr WCHAR kRenameLogFileToTemporary[] = u"ALTER TABLE gps_log_file RENAME TO tmp_table_2";
inline constexpr WCHAR kCreateOldLogFile[] =
    u"CREATE TABLE gps_log_file (log_file_id INTEGER PRIMARY KEY,log_file_path TEXT, log_file_name TEXT, "
    u"start_date INTEGER, end_date INTEGER, attributes INTEGER)";
inline constexpr WCHAR kRenameLogFileBack[] = u"ALTER TABLE tmp_table_2 RENAME TO gps_log_file";
inline constexpr WCHAR kCopyOldLogFile[] =
    u"INSERT INTO gps_log_file SELECT log_file_id, log_file_path, log_file_name, start_date, end_date, "
    u"attributes FROM tmp_table_2";
inline constexpr WCHAR kDropLogFileTemporary[] = u"DROP TABLE tmp_table_2";

}  // namespace gps_log_tables
