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

inline constexpr WCHAR kCreateMainImageCacheTable[] =
    u"CREATE TABLE main_image_cache_file_table (file_id INTEGER PRIMARY KEY, file_type INTEGER, file_path TEXT)";
inline constexpr WCHAR kDeleteMainImageCache[] = u"DELETE FROM main_image_cache_file_table WHERE file_id=?";

}  // namespace image_cache_tables
