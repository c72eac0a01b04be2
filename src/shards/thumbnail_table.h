// thumbnail_table, the one table of a thumbnail shard: one row per
// identifier, whatever the family keys by (file, face, individual, album or
// face group); the key column is called file_id in every family. Described
// once for the shard, its factory, the tests and the tool.
#pragma once

#include "zandb4/foundation.h"

namespace thumbnail_table {

inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE thumbnail_table (file_id INTEGER PRIMARY KEY, thumbnail_update_date INTEGER, thumbnail_data BLOB, "
    u"source_id INTEGER)";

// Positions of "SELECT *".
enum Column {
    kFileId = 0,
    // Packed UTC date of the last write.
    kThumbnailUpdateDate = 1,
    // The image as the client gave it.
    kThumbnailData = 2,
    // The client's number given with the data, 0 when none was given.
    kSourceId = 3,
};

inline constexpr WCHAR kSelectById[] = u"SELECT * FROM thumbnail_table WHERE file_id=? LIMIT 1";
// The orphan count of a shard, with the quoted identifier list for %s.
inline constexpr WCHAR kCountOrphansFormat[] = u"SELECT COUNT(*) FROM thumbnail_table WHERE file_id NOT IN (%s)";
// The same count over the rows of one span of file ids, for a list too long
// for one statement, cut into runs: 1 for no lower bound, the bound (the
// previous run's highest id), 1 for no upper bound, the bound (this run's
// highest id).
inline constexpr WCHAR kCountOrphansInRangeFormat[] =
    u"SELECT COUNT(*) FROM thumbnail_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";

}  // namespace thumbnail_table
