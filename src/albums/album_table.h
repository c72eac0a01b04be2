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

// Positions in "SELECT * FROM album_table".
enum Column : int {
    kAlbumId,
    kAlbumName,
    kGpsLatitude,
    kGpsLongitude,
    kGpsAreaInfo,
    kShootingDateOldest,
    kShootingDateLatest,
    kAlbumFileCount,
};

inline constexpr WCHAR kSelectById[] = u"SELECT * FROM album_table WHERE album_id=? LIMIT 1";
inline constexpr WCHAR kInsert[] =
    u"INSERT INTO album_table (album_id, album_name, gps_latitude, gps_longitude, gps_areainfo, "
    u"shooting_date_oldest, shooting_date_latest, album_file_count) VALUES (?,?,?,?,?,?,?,?)";
inline constexpr WCHAR kUpdate[] =
    u"UPDATE album_table SET album_name=?, gps_latitude=?, gps_longitude=?, gps_areainfo=?, "
    u"shooting_date_oldest=?, shooting_date_latest=?, album_file_count=? WHERE album_id=?";
inline constexpr WCHAR kDelete[] = u"DELETE FROM album_table WHERE album_id=?";
inline constexpr WCHAR kCount[] = u"SELECT COUNT(album_id) FROM album_table";
inline constexpr WCHAR kSelectOldestFirst[] = u"SELECT * FROM album_table ORDER BY shooting_date_oldest";

// The albums of the files in which a person, or a pet, has a face.
inline constexpr WCHAR kSelectByPerson[] =
    u"SELECT * FROM album_table WHERE album_id IN ( SELECT album_id FROM file_table WHERE file_id IN ( "
    u"SELECT file_id FROM person_face_table WHERE person_id=?))";
inline constexpr WCHAR kCountByPerson[] =
    u"SELECT COUNT(*) FROM album_table WHERE album_id IN ( SELECT album_id FROM file_table WHERE "
    u"file_table.file_id IN ( SELECT file_id FROM person_face_table WHERE person_face_table.person_id=?))";
inline constexpr WCHAR kSelectByPet[] =
    u"SELECT * FROM album_table WHERE album_id IN ( SELECT album_id FROM file_table WHERE file_id IN ( "
    u"SELECT file_id FROM pet_face_table WHERE pet_id=?))";
inline constexpr WCHAR kCountByPet[] =
    u"SELECT COUNT(*) FROM album_table WHERE album_id IN ( SELECT album_id FROM file_table WHERE "
    u"file_table.file_id IN ( SELECT file_id FROM pet_face_table WHERE pet_face_table.pet_id=?))";

// A deleted album's files, in the catalogue and in staging, go to album 0.
// The 0 is a quoted literal in both.
inline constexpr WCHAR kClearAlbumOfFiles[] = u"UPDATE file_table SET album_id='0' WHERE album_id=?";
inline constexpr WCHAR kClearAlbumOfStagedFiles[] = u"UPDATE async_file_table SET album_id='0' WHERE album_id=?";

// The file store's reads of one album, oldest or newest first.
inline constexpr WCHAR kSelectFilesNewestFirst[] =
    u"SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date DESC, file_name ASC";

// The recount: managed files count; every file of the album, managed or
// not, spans the date range.
inline constexpr WCHAR kCountFiles[] = u"SELECT COUNT(*) FROM file_table WHERE album_id=? AND file_table.manage=1";
inline constexpr WCHAR kUpdateFileCount[] = u"UPDATE album_table SET album_file_count=? WHERE album_id=?";
inline constexpr WCHAR kSelectFiles[] =
    u"SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date ASC, file_name ASC";
inline constexpr WCHAR kUpdateDates[] =
    u"UPDATE album_table SET shooting_date_oldest=?, shooting_date_latest=? WHERE album_id=?";

}  // namespace album_table
