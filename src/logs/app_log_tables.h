// The three tables of "appcahce.db", the application's own diagnostic log:
// applog_accumulation_tbl (one counter per log id and type),
// applog_history_data_tbl (records appended without limit) and
// applog_information_tbl (one record per log id and type). A record is the
// application's blob with the version of its layout; the library gives ids,
// types and bytes no meaning. Described once for the schema, the upgrade,
// the store's operations, the tests and the tool.
//
// Rows of the two record tables take SQLite's own increasing id, not an id
// of the store's pool.
#pragma once

#include <cstdint>

#include "zandb4/foundation.h"

namespace app_log_tables {

// A file that, when the store opens it, is older than kExpiryDays (its age
// in whole days, of which only the low 16 bits count) or larger than
// kExpirySize bytes (512 MiB) has expired: the application may then have it
// deleted at the store's close.
inline constexpr uint32_t kExpiryDays = 180;
inline constexpr uint64_t kExpirySize = 0x20000000;

// Counters.
inline constexpr WCHAR kCreateAccumulation[] =
    u"CREATE TABLE applog_accumulation_tbl (log_id INTEGER, log_type INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateAccumulationIndex[] =
    u"CREATE UNIQUE INDEX applog_accumulation_tbl_uidx ON applog_accumulation_tbl (log_id, log_type)";
inline constexpr WCHAR kCreateAccumulationIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS applog_accumulation_tbl (log_id INTEGER, log_type INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateAccumulationIndexIfMissing[] =
    u"CREATE UNIQUE INDEX IF NOT EXISTS applog_accumulation_tbl_uidx ON applog_accumulation_tbl (log_id, log_type)";
// Positions in "SELECT * FROM applog_accumulation_tbl".
enum AccumulationColumn : int { kCountLogID, kCountLogType, kCountValue };
// The reads of counters are built from these pieces: the table, then a
// log id, then (only behind a log id) a type, then a limit and an offset.
inline constexpr WCHAR kSelectCounts[] = u"SELECT * FROM applog_accumulation_tbl";
inline constexpr WCHAR kInsertCount[] =
    u"INSERT INTO applog_accumulation_tbl (log_id, log_type, log_count) VALUES (?,?,?)";
inline constexpr WCHAR kUpdateCount[] = u"UPDATE applog_accumulation_tbl SET log_count=? WHERE log_id=? AND log_type=?";
// Sets count and type of every counter of the log id: the type is a bit set
// here.
inline constexpr WCHAR kUpdateMergedCount[] =
    u"UPDATE applog_accumulation_tbl SET log_count=?, log_type=? WHERE log_id=?";

// History records.
inline constexpr WCHAR kCreateHistory[] =
    u"CREATE TABLE applog_history_data_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, log_id INTEGER, "
    u"log_type INTEGER, log_size INTEGER, log_data BLOB)";
inline constexpr WCHAR kCreateHistoryIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS applog_history_data_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, "
    u"log_id INTEGER, log_type INTEGER, log_size INTEGER, log_data BLOB)";
inline constexpr WCHAR kSelectHistory[] = u"SELECT * FROM applog_history_data_tbl";
inline constexpr WCHAR kInsertHistory[] =
    u"INSERT INTO applog_history_data_tbl (ver, log_id, log_type, log_size, log_data) VALUES (?,?,?,?,?)";
inline constexpr WCHAR kDeleteHistory[] = u"DELETE FROM applog_history_data_tbl WHERE log_id=?";

// Keyed records ("information"), one per log id and type.
inline constexpr WCHAR kCreateInformation[] =
    u"CREATE TABLE applog_information_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, log_id INTEGER, "
    u"log_type INTEGER, log_size INTEGER, log_data BLOB)";
inline constexpr WCHAR kCreateInformationIndex[] =
    u"CREATE UNIQUE INDEX applog_information_tbl_uidx ON applog_information_tbl (log_id, log_type)";
inline constexpr WCHAR kCreateInformationIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS applog_information_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, "
    u"log_id INTEGER, log_type INTEGER, log_size INTEGER, log_data BLOB)";
inline constexpr WCHAR kCreateInformationIndexIfMissing[] =
    u"CREATE UNIQUE INDEX IF NOT EXISTS applog_information_tbl_uidx ON applog_information_tbl (log_id, log_type)";
inline constexpr WCHAR kSelectInformation[] = u"SELECT * FROM applog_information_tbl";
// The lower-case "and" is how this statement has always been written.
inline constexpr WCHAR kSelectInformationOfKey[] =
    u"SELECT * FROM applog_information_tbl WHERE log_id=? and log_type=? LIMIT 1";
inline constexpr WCHAR kInsertInformation[] =
    u"INSERT INTO applog_information_tbl (ver, log_id, log_type, log_size, log_data) VALUES (?,?,?,?,?)";
inline constexpr WCHAR kUpdateInformation[] =
    u"UPDATE applog_information_tbl SET ver=?, log_size=?, log_data=? WHERE log_id=? AND log_type=?";
inline constexpr WCHAR kDeleteInformation[] = u"DELETE FROM applog_information_tbl WHERE log_id=?";

// Positions in "SELECT * FROM" either record table: the two share a layout.
enum RecordColumn : int { kRecordID, kRecordVersion, kRecordLogID, kRecordLogType, kRecordSize, kRecordData };

// The pieces the reads append, in this order, each only under its rule.
inline constexpr WCHAR kWhereLogID[] = u" WHERE log_id=?";
inline constexpr WCHAR kAndLogType[] = u" AND log_type=?";
inline constexpr WCHAR kLimit[] = u" LIMIT ?";
inline constexpr WCHAR kOffset[] = u" OFFSET ?";
inline constexpr WCHAR kLimitOne[] = u" LIMIT 1";

}  // namespace app_log_tables
