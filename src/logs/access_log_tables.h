// The five tables of "UserLog.db", the application's usage statistics:
// access_date_log_data (a value per day and kind of event: a counter or a
// bit set, as the application uses the kind), access_string_data (distinct
// strings per kind), access_launch_data (launches per day),
// access_history_data (action sequences, one per moment) and
// access_edit_param_data (a total per edit parameter). Described once for
// the schema, the upgrade, the store's operations and the tool.
//
// Dates: log_date of the daily values and of the launches is a day key, the
// packed date with its time of day zeroed; log_date of a history is the full
// packed moment. Both compare as integers.
#pragma once

#include "zandb4/foundation.h"

namespace access_log_tables {

// Daily values. log_subtype and sub_log_data are always written as 0.
inline constexpr WCHAR kCreateDaily[] =
    u"CREATE TABLE access_date_log_data (log_date INTEGER,log_type INTEGER, log_subtype INTEGER, log_data INTEGER, "
    u"sub_log_data INTEGER)";
inline constexpr WCHAR kCreateDailyIndex[] =
    u"CREATE UNIQUE INDEX access_log_data_uidx ON access_date_log_data (log_date, log_type)";
// Positions in "SELECT * FROM access_date_log_data".
enum DailyColumn : int { kDailyDate, kDailyType, kDailySubtype, kDailyData, kDailySubData };
inline constexpr WCHAR kSelectDailyValue[] =
    u"SELECT * FROM access_date_log_data WHERE log_date=? and log_type=? LIMIT 1";
inline constexpr WCHAR kInsertDailyValue[] =
    u"INSERT INTO access_date_log_data (log_date, log_type, log_subtype, log_data, sub_log_data) VALUES (?,?,?,?,?)";
inline constexpr WCHAR kUpdateDailyValue[] = u"UPDATE access_date_log_data SET log_data=? WHERE log_date=? and log_type=?";
inline constexpr WCHAR kSelectDailyValuesOfType[] = u"SELECT * FROM access_date_log_data WHERE log_type=?";
inline constexpr WCHAR kResetDailyValuesOfType[] = u"UPDATE access_date_log_data SET log_data=0 WHERE log_type=?";
// Bound with the packed moments of from and to, time of day included.
inline constexpr WCHAR kSelectDailyValuesOfTypeInRange[] =
    u"SELECT * FROM access_date_log_data WHERE log_type=? AND log_date>=? AND log_date<=? ORDER BY log_date DESC";
inline constexpr WCHAR kSelectDailyValuesInRange[] =
    u"SELECT * FROM access_date_log_data WHERE log_date>=? AND log_date<=? ORDER BY log_date DESC";

// Strings.
inline constexpr WCHAR kCreateStrings[] = u"CREATE TABLE access_string_data (log_type INTEGER, log_string TEXT)";
inline constexpr WCHAR kCreateStringsIndex[] =
    u"CREATE UNIQUE INDEX access_string_data_uidx ON access_string_data (log_type, log_string)";
// Positions in "SELECT * FROM access_string_data".
enum StringColumn : int { kStringType, kStringText };
inline constexpr WCHAR kSelectString[] =
    u"SELECT * FROM access_string_data WHERE log_string=? and log_type=? LIMIT 1";
inline constexpr WCHAR kInsertString[] = u"INSERT INTO access_string_data (log_string, log_type) VALUES (?,?)";
inline constexpr WCHAR kSelectStringsOfType[] = u"SELECT * FROM access_string_data WHERE log_type=?";

// Launches.
inline constexpr WCHAR kCreateLaunches[] = u"CREATE TABLE access_launch_data (log_date INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateLaunchesIndex[] =
    u"CREATE UNIQUE INDEX access_launch_data_uidx ON access_launch_data (log_date)";
inline constexpr WCHAR kCreateLaunchesIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS access_launch_data (log_date INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateLaunchesIndexIfMissing[] =
    u"CREATE UNIQUE INDEX IF NOT EXISTS access_launch_data_uidx ON access_launch_data (log_date)";
// Positions in "SELECT * FROM access_launch_data".
enum LaunchColumn : int { kLaunchDate, kLaunchCount };
inline constexpr WCHAR kSelectLaunchCount[] = u"SELECT * FROM access_launch_data WHERE log_date=? LIMIT 1";
inline constexpr WCHAR kInsertLaunchCount[] = u"INSERT INTO access_launch_data (log_date, log_count) VALUES (?,?)";
inline constexpr WCHAR kUpdateLaunchCount[] = u"UPDATE access_launch_data SET log_count=? WHERE log_date=?";
inline constexpr WCHAR kSelectLaunchesInRange[] =
    u"SELECT * FROM access_launch_data WHERE log_date>=? AND log_date<=? ORDER BY log_date DESC";

// Histories. log_history is the items' decimal numbers joined by "/", in the
// order they were added; log_count is their number.
inline constexpr WCHAR kCreateHistories[] =
    u"CREATE TABLE access_history_data (log_date INTEGER, log_count INTEGER, log_history TEXT)";
inline constexpr WCHAR kCreateHistoriesIndex[] =
    u"CREATE UNIQUE INDEX access_history_data_uidx ON access_history_data (log_date)";
inline constexpr WCHAR kCreateHistoriesIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS access_history_data (log_date INTEGER, log_count INTEGER, log_history TEXT)";
inline constexpr WCHAR kCreateHistoriesIndexIfMissing[] =
    u"CREATE UNIQUE INDEX IF NOT EXISTS access_history_data_uidx ON access_history_data (log_date)";
// Positions in "SELECT * FROM access_history_data".
enum HistoryColumn : int { kHistoryDate, kHistoryCount, kHistoryText };
inline constexpr WCHAR kInsertHistory[] = u"INSERT INTO access_history_data (log_date, log_count) VALUES (?,?)";
inline constexpr WCHAR kSelectHistory[] = u"SELECT * FROM access_history_data WHERE log_date=? LIMIT 1";
inline constexpr WCHAR kUpdateHistory[] =
    u"UPDATE access_history_data SET log_count=?, log_history=? WHERE log_date=?";
inline constexpr WCHAR kCountHistories[] = u"SELECT COUNT(*) FROM access_history_data";
inline constexpr WCHAR kDeleteHistory[] = u"DELETE FROM access_history_data WHERE log_date=?";
inline constexpr WCHAR kSelectKeptHistories[] =
    u"SELECT * FROM access_history_data WHERE log_count>=3 ORDER BY log_date DESC";
// A history needs this many items to be kept. kSelectKeptHistories holds the
// same number, and the two must stay equal.
inline constexpr uint32_t kItemsOfAKeptHistory = 3;

// Edit parameters.
inline constexpr WCHAR kCreateEditParams[] =
    u"CREATE TABLE access_edit_param_data (log_type INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateEditParamsIndex[] =
    u"CREATE UNIQUE INDEX access_edit_param_data_uidx ON access_edit_param_data (log_type)";
inline constexpr WCHAR kCreateEditParamsIfMissing[] =
    u"CREATE TABLE IF NOT EXISTS access_edit_param_data (log_type INTEGER, log_count INTEGER)";
inline constexpr WCHAR kCreateEditParamsIndexIfMissing[] =
    u"CREATE UNIQUE INDEX IF NOT EXISTS access_edit_param_data_uidx ON access_edit_param_data (log_type)";
// Positions in "SELECT * FROM access_edit_param_data".
enum EditParamColumn : int { kEditParamType, kEditParamCount };
inline constexpr WCHAR kSelectEditParam[] = u"SELECT * FROM access_edit_param_data WHERE log_type=? LIMIT 1";
inline constexpr WCHAR kInsertEditParam[] = u"INSERT INTO access_edit_param_data (log_type, log_count) VALUES (?,?)";
inline constexpr WCHAR kUpdateEditParam[] = u"UPDATE access_edit_param_data SET log_count=? WHERE log_type=?";

}  // namespace access_log_tables
