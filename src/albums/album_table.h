// album_table: one row per album, with its file count and date range, which
// Commit recounts from file_table. Described once for the schema, NewID and
// the recounts.
#pragma once

#include "zandb4/foundation.h"

namespace album_table {

inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE album_table (album_id INTEGER PRIMARY KEY, album_name TEXT, gps_latitude REAL, "
    u"gps_longitude REAL, gps_areainfo TEXT, shooting_date_oldest INTEGER, shooting_date_latest INTEGER, "
    u"album_file_count INTEGER)";
inline constexpr WCHAR kCreateNameIndex[] = u"CREATE INDEX album_table_name_idx ON album_table(album_name)";
inline constexpr WCHAR kCreateOldestDateIndex[] =
    u"CREATE INDEX album_table_sdate_old_idx ON album_table(shooting_date_oldest)";

inline constexpr WCHAR kSelectById[] = u"SELECT * FROM album_table WHERE album_id=? LIMIT 1";

// The recount: managed files count; every file of the album, managed or
// not, spans the date range.
inline constexpr WCHAR kCountFiles[] = u"SELECT COUNT(*) FROM file_table WHERE album_id=? AND file_table.manage=1";
inline constexpr WCHAR kUpdateFileCount[] = u"UPDATE album_table SET album_file_count=? WHERE album_id=?";
inline constexpr WCHAR kSelectFiles[] =
    u"SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date ASC, file_name ASC";
inline constexpr WCHAR kUpdateDates[] =
    u"UPDATE album_table SET shooting_date_oldest=?, shooting_date_latest=? WHERE album_id=?";

}  // namespace album_table
