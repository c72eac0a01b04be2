// The catalogue's tables of cached images: image_file_table (edit caches by
// file id) and main_image_cache_file_table (the paths of cached main images
// by file id). Described once for the schema and the cache rows.
#pragma once

#include "zandb4/foundation.h"

namespace image_cache_tables {

// filter_data_orientation has no type; it stays so.
inline constexpr WCHAR kCreateImageFileTable[] =
    u"CREATE TABLE image_file_table (file_id INTEGER PRIMARY KEY, image_file_type INTEGER, image_file_path TEXT, "
    u"filter_data BLOB, filter_data_orientation)";

// Positions of "SELECT * FROM image_file_table".
enum ImageFileColumn {
    kImageFileId = 0,
    kImageFileType = 1,
    kImageFilePath = 2,
    kFilterData = 3,
    // Stored as the low 16 bits of the value given.
    kFilterDataOrientation = 4,
};

inline constexpr WCHAR kCreateMainImageCacheTable[] =
    u"CREATE TABLE main_image_cache_file_table (file_id INTEGER PRIMARY KEY, file_type INTEGER, file_path TEXT)";
// Positions of "SELECT * FROM main_image_cache_file_table".
enum MainImageCacheColumn {
    kMainImageFileId = 0,
    kMainImageFileType = 1,
    kMainImageFilePath = 2,
};

inline constexpr WCHAR kDeleteMainImageCache[] = u"DELETE FROM main_image_cache_file_table WHERE file_id=?";

}  // namespace image_cache_tables
