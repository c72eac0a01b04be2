// async_file_table: one row per staged file, the columns of file_table
// (without path_key) and of meta_table joined, and async_tag_file_table, the
// tags of staged files. Described once for the staging store's schema, its
// upgrade, its writes, the move into the catalogue and the tests.
//
// "SELECT *" is read by position. Files from builds before 1200 had the
// table without the last six columns; the upgrade adds them behind
// can_commit, so can_commit stays at position 34 in every file.
#pragma once

#include "zandb4/foundation.h"

namespace async_file_table {

// The columns up to and including can_commit, which every build had.
#define ZANDB4_ASYNC_FILE_EARLY_COLUMNS                                                                           \
    u"file_id INTEGER PRIMARY KEY, file_path TEXT, disk_vsn INTEGER, file_name TEXT, file_format INTEGER, "       \
    u"shooting_date INTEGER, gps_latitude REAL, gps_longitude REAL, file_attributes INTEGER, "                     \
    u"thumbnail_size INTEGER, thumbnail_orientation INTEGER, did_edit INTEGER, is_favorite INTEGER, "              \
    u"did_detect_face INTEGER, album_id INTEGER, manage INTEGER, parent_id INTEGER, parent_shooting_date INTEGER, " \
    u"upload_flag INTEGER, classify_id INTEGER, import_date INTEGER, import_class INTEGER, filter_data TEXT, "     \
    u"file_size INTEGER, file_update_date INTEGER, duration INTEGER, pixel_width INTEGER, pixel_height INTEGER, "  \
    u"panorama_number INTEGER, drive_number INTEGER, frame_rate INTEGER, gps_altitude INTEGER, "                  \
    u"gps_direction INTEGER, gps_areainfo TEXT, can_commit INTEGER"

inline constexpr WCHAR kCreate[] = u"CREATE TABLE async_file_table (" ZANDB4_ASYNC_FILE_EARLY_COLUMNS
    u", model_name TEXT, picture_mode INTEGER, finishing_mode INTEGER, art_filter INTEGER, focus_mode INTEGER, "
    u"param_flag INTEGER)";
// The table as builds before 1200 made it, which the upgrade's rebuild makes.
inline constexpr WCHAR kCreateEarly[] = u"CREATE TABLE async_file_table (" ZANDB4_ASYNC_FILE_EARLY_COLUMNS u")";
#undef ZANDB4_ASYNC_FILE_EARLY_COLUMNS

inline constexpr WCHAR kCreateDirNameIndex[] =
    u"CREATE UNIQUE INDEX async_file_table_dir_name_idx ON async_file_table(file_name,file_path)";
inline constexpr WCHAR kCreateTagTable[] = u"CREATE TABLE async_tag_file_table (tag_id INTEGER, file_id INTEGER)";

// Positions in "SELECT * FROM async_file_table".
enum Column : int {
    kFileId,
    kFilePath,
    kDiskVsn,
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
    kImportDate,
    kImportClass,
    // Declared TEXT, written as a blob.
    kFilterData,
    kFileSize,
    kFileUpdateDate,
    kDuration,
    kPixelWidth,
    kPixelHeight,
    kPanoramaNumber,
    kDriveNumber,
    kFrameRate,
    kGpsAltitude,
    kGpsDirection,
    kGpsAreaInfo,
    // 1 on every insert, and nothing writes another value: every staged file
    // is ready to move. Every move still asks for can_commit='1'.
    kCanCommit,
    kModelName,
    kPictureMode,
    kFinishingMode,
    kArtFilter,
    kFocusMode,
    kParamFlag,
    kColumnCount
};

inline constexpr WCHAR kSelectById[] = u"SELECT * FROM async_file_table WHERE file_id=? LIMIT 1";
inline constexpr WCHAR kInsertTag[] = u"INSERT INTO async_tag_file_table (tag_id, file_id) VALUES (?,?)";

}  // namespace async_file_table
