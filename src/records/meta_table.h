// meta_table: one row of metadata per file, unique by file_id through
// meta_file_idx (which a file upgraded from an early build lacks). Described
// once for the schema, the upgrade, the metadata rows and the tests.
#pragma once

#include <cstdint>

#include "zandb4/foundation.h"

namespace meta_table {

inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE meta_table (file_id INTEGER, filter_data BLOB, file_size INTEGER, file_update_date INTEGER, "
    u"import_date INTEGER, duration INTEGER, pixel_width INTEGER, pixel_height INTEGER, panorama_number INTEGER, "
    u"drive_number INTEGER, frame_rate INTEGER, import_class INTEGER, gps_altitude INTEGER, gps_direction INTEGER, "
    u"gps_areainfo TEXT, model_name TEXT, picture_mode INTEGER, finishing_mode INTEGER, art_filter INTEGER, "
    u"focus_mode INTEGER, param_flag INTEGER)";
inline constexpr WCHAR kCreateFileIndex[] = u"CREATE UNIQUE INDEX meta_file_idx ON meta_table(file_id)";

// Positions in "SELECT * FROM meta_table".
enum Column : int {
    kFileId, kFilterData, kFileSize, kFileUpdateDate, kImportDate, kDuration, kPixelWidth, kPixelHeight,
    kPanoramaNumber, kDriveNumber, kFrameRate, kImportClass, kGpsAltitude, kGpsDirection, kGpsAreaInfo,
    kModelName, kPictureMode, kFinishingMode, kArtFilter, kFocusMode, kParamFlag, kColumnCount
};

inline constexpr WCHAR kSelectByFileId[] = u"SELECT * FROM meta_table WHERE file_id=? LIMIT 1";
// Binds kColumnCount values in the order of Column.
inline constexpr WCHAR kInsert[] =
    u"INSERT INTO meta_table (file_id,filter_data,file_size,file_update_date,import_date,duration, "
    u"pixel_width,pixel_height,panorama_number,drive_number,frame_rate, import_class, gps_altitude, gps_direction, "
    u"gps_areainfo, model_name, picture_mode, finishing_mode, art_filter, focus_mode, param_flag) "
    u"VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
// Not in column order: import_date and import_class come last, then file_id.
inline constexpr WCHAR kUpdate[] =
    u"UPDATE meta_table SET filter_data=?, file_size=?, file_update_date=?, duration=?, pixel_width=?, "
    u"pixel_height=?, panorama_number=?, drive_number=?, frame_rate=?, gps_altitude=?, gps_direction=?, "
    u"gps_areainfo=?, model_name=?, picture_mode=?, finishing_mode=?, art_filter=?, focus_mode=?, param_flag=?, "
    u"import_date=?, import_class=? WHERE file_id=?";
inline constexpr WCHAR kDeleteByFileId[] = u"DELETE FROM meta_table WHERE file_id=?";
inline constexpr WCHAR kCountByFileId[] = u"SELECT COUNT(*) FROM meta_table WHERE file_id=?";
inline constexpr WCHAR kSelectAll[] = u"SELECT * FROM meta_table";
// "model_name!=''" is false for NULL too, so rows without a model are
// skipped either way.
inline constexpr WCHAR kSelectWithModel[] = u"SELECT * FROM meta_table WHERE model_name!=''";

// The layout of builds before the six late columns (model_name ... param_flag):
// its first 15 columns. The upgrade rebuilds an old table into it, then adds
// the six.
inline constexpr WCHAR kCreateEarly[] =
    u"CREATE TABLE meta_table (file_id INTEGER, filter_data BLOB, file_size INTEGER, file_update_date INTEGER, "
    u"import_date INTEGER, duration INTEGER, pixel_width INTEGER, pixel_height INTEGER, panorama_number INTEGER, "
    u"drive_number INTEGER, frame_rate INTEGER, import_class INTEGER, gps_altitude INTEGER, gps_direction INTEGER, "
    u"gps_areainfo TEXT)";

}  // namespace meta_table

// The 21 columns of a meta_table row, dates packed, GPS halves joined.
// 32-bit values are bound as signed 32-bit integers, as every store binds
// flags and small numbers.
struct MetaRowValues {
    const void* filterData = nullptr;  // borrowed for the call
    uint32_t filterDataSize = 0;
    int64_t fileSize = 0;
    int64_t fileUpdateDate = 0;
    int64_t importDate = 0;
    int64_t duration = 0;
    uint32_t pixelWidth = 0;
    uint32_t pixelHeight = 0;
    uint32_t panoramaNumber = 0;
    uint32_t driveNumber = 0;
    uint32_t frameRate = 0;
    uint32_t importClass = 0;
    int64_t gpsAltitude = 0;
    int64_t gpsDirection = 0;
    CZanTString gpsAreaInfo;
    CZanTString modelName;
    uint32_t pictureMode = 0;
    uint32_t finishingMode = 0;
    uint32_t artFilter = 0;
    uint32_t focusMode = 0;
    uint32_t paramFlag = 0;
};
