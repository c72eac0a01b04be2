// file_table: one row per known file. Its column order, its column lists,
// its statement texts and its separator and key rules, described once for
// the schema, the file store, the commit recounts, NewID and the tests.
//
// "SELECT *" is read by position, so the order of Column is part of the file
// format. Statement texts stand exactly as files and callers know them.
#pragma once

#include <cstdint>

#include "records/file_db_record.h"
#include "records/file_row.h"
#include "zandb4/foundation.h"

namespace zandb4 {
class Statement;
}

namespace file_table {

inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE file_table (file_id INTEGER PRIMARY KEY, file_path TEXT, disk_vsn INTEGER, path_key TEXT, "
    u"file_name TEXT, file_format INTEGER, shooting_date INTEGER, gps_latitude REAL, gps_longitude REAL, "
    u"file_attributes INTEGER, thumbnail_size INTEGER, thumbnail_orientation INTEGER, did_edit INTEGER, "
    u"is_favorite INTEGER, did_detect_face INTEGER, album_id INTEGER, manage INTEGER, parent_id INTEGER, "
    u"parent_shooting_date INTEGER, upload_flag INTEGER, classify_id INTEGER)";
inline constexpr WCHAR kCreateDateNameIndex[] =
    u"CREATE INDEX file_table_sdate_fname_idx ON file_table(shooting_date ASC, file_name ASC)";
inline constexpr WCHAR kCreateAlbumDateNameIndex[] =
    u"CREATE INDEX file_table_album_sdate_fname_idx ON file_table(album_id ASC, shooting_date ASC, file_name ASC)";
inline constexpr WCHAR kCreatePathKeyIndex[] = u"CREATE UNIQUE INDEX file_pathkey ON file_table(path_key)";

// Positions in "SELECT * FROM file_table".
enum Column : int {
    kFileId,
    kFilePath,
    kDiskVsn,
    kPathKey,
    kFileName,
    kFileFormat,
    kShootingDate,
    kGpsLatitude,
    kGpsLongitude,
    kFileAttributes,
    kThumbnailSize,
    kThumbnailOrientation,
    kDidEdit,
    kIsFavorite,
    kDidDetectFace,
    kAlbumId,
    kManage,
    kParentId,
    kParentShootingDate,
    kUploadFlag,
    kClassifyId,
    kColumnCount
};

// The short column list of the reduced load: no path_key, file_name,
// file_attributes, did_detect_face or parent_shooting_date.
inline constexpr WCHAR kSelectShortRows[] =
    u"SELECT file_id, file_path, disk_vsn, file_format, shooting_date, gps_latitude, gps_longitude, "
    u"thumbnail_size, thumbnail_orientation, did_edit, is_favorite, album_id, manage, parent_id, upload_flag, "
    u"classify_id FROM file_table";
// Positions in kSelectShortRows.
enum ShortColumn : int {
    kShortFileId,
    kShortFilePath,
    kShortDiskVsn,
    kShortFileFormat,
    kShortShootingDate,
    kShortGpsLatitude,
    kShortGpsLongitude,
    kShortThumbnailSize,
    kShortThumbnailOrientation,
    kShortDidEdit,
    kShortIsFavorite,
    kShortAlbumId,
    kShortManage,
    kShortParentId,
    kShortUploadFlag,
    kShortClassifyId,
    kShortColumnCount
};
// The record fields a short row holds.
inline constexpr uint32_t kShortRowFields =
    CZanDB4FileDBRecord::kAllColumns &
    ~(CZanDB4FileDBRecord::kFileName | CZanDB4FileDBRecord::kFileAttributes | CZanDB4FileDBRecord::kDidDetectFace);

inline constexpr WCHAR kSelectById[] = u"SELECT * FROM file_table WHERE file_id=? LIMIT 1";
// Faces have been searched for in the file.
inline constexpr WCHAR kMarkFaceDetected[] = u"UPDATE file_table SET did_detect_face='1' WHERE file_id=?";
inline constexpr WCHAR kSelectAll[] = u"SELECT * FROM file_table";
// Every file id, for the dead link check.
inline constexpr WCHAR kSelectAllIds[] = u"SELECT file_id FROM file_table";
// Binds kColumnCount values in the order of Column, path_key derived.
inline constexpr WCHAR kInsert[] =
    u"INSERT INTO file_table (file_id, file_path, disk_vsn, path_key, file_name, file_format, shooting_date, "
    u"gps_latitude, gps_longitude, file_attributes, thumbnail_size, thumbnail_orientation, did_edit, is_favorite, "
    u"did_detect_face, album_id, manage, parent_id, parent_shooting_date, upload_flag, classify_id ) "
    u"VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
inline constexpr WCHAR kDeleteById[] = u"DELETE FROM file_table WHERE file_id=?";
inline constexpr WCHAR kSelectAlbumById[] = u"SELECT album_id FROM file_table WHERE file_id=? LIMIT 1";
inline constexpr WCHAR kOrderByDateAndName[] = u" ORDER BY shooting_date ASC, file_name ASC";

// The values of the current "SELECT *" row (its file_table columns starting
// at firstColumn, for joins that put them elsewhere).
FileRowValues ReadRow(const zandb4::Statement& row, int firstColumn = 0);
// The same, its texts left where SQLite holds them (valid until the
// statement steps again).
FileRowView ReadRowView(const zandb4::Statement& row, int firstColumn = 0);
// The values of the current kSelectShortRows row; the fields it lacks stay
// at their defaults, and classify_id keeps only whether there is a class.
FileRowValues ReadShortRow(const zandb4::Statement& row);
FileRowView ReadShortRowView(const zandb4::Statement& row);
// Binds the values of a row to kInsert, with the stored path and name and
// the derived path_key.
void BindInsert(zandb4::Statement& insert, const FileRowValues& row);

// file_path as stored: one trailing separator removed.
CZanTString StoredFilePath(const CZanTString& path);
// file_name as stored: one leading separator removed.
CZanTString StoredFileName(const CZanTString& name);
// The unique key of a file apart from its id: the stored path upper-cased,
// "_", and the volume serial in upper-case hexadecimal. The file name plays
// no part.
CZanTString PathKeyOf(const CZanTString& path, uint32_t diskVsn);

}  // namespace file_table
