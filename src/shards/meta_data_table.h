// meta_data_table, the one table of a large-metadata shard: a file's block of
// metadata too large for meta_table, with the client's type number. Described
// once for the shard, its factory and the tests.
#pragma once

#include "zandb4/foundation.h"

namespace meta_data_table {

// The blank after the parenthesis stays: it is the text stored in every file.
inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE meta_data_table ( file_id INTEGER PRIMARY KEY, meta_data_type INTEGER, meta_data BLOB)";

// Positions of "SELECT *".
enum Column {
    kFileId = 0,
    // A 32-bit number of the client's.
    kMetaDataType = 1,
    // The bytes, never looked into.
    kMetaData = 2,
};

// The orphan count of a shard, with the quoted identifier list for %s.
inline constexpr WCHAR kCountOrphansFormat[] = u"SELECT COUNT(*) FROM meta_data_table WHERE file_id NOT IN (%s)";
// The same count over the rows of one span of file ids, for a list too long
// for one statement, cut into runs: 1 for no lower bound, the bound (the
// previous run's highest id), 1 for no upper bound, the bound (this run's
// highest id).
inline constexpr WCHAR kCountOrphansInRangeFormat[] =
    u"SELECT COUNT(*) FROM meta_data_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";

}  // namespace meta_data_table
