// The tables of the feature point shards. A plain shard (the group and
// individual sets, and the companion file of a working shard) holds the
// blobs in face_feature_point_table; a working shard's own file holds only
// the index face_feature_table, whose remove flag marks points removed
// softly. Described once for the schema and the statements of both classes.
#pragma once

#include "zandb4/foundation.h"

namespace feature_point_tables {

inline constexpr WCHAR kCreatePointTable[] =
    u"CREATE TABLE face_feature_point_table (feature_point_id INTEGER PRIMARY KEY, update_date INTEGER, "
    u"data_format INTEGER, feature_point BLOB)";

// Positions in "SELECT *" of face_feature_point_table.
enum Column : int { kId, kUpdateDate, kDataFormat, kFeaturePoint, kColumnCount };

inline constexpr WCHAR kInsertPoint[] =
    u"INSERT INTO face_feature_point_table (feature_point_id,update_date,feature_point,data_format) VALUES "
    u"(?,?,?,?)";
inline constexpr WCHAR kUpdatePoint[] =
    u"UPDATE face_feature_point_table SET update_date=?, feature_point=?, data_format=? WHERE feature_point_id=?";
inline constexpr WCHAR kDeletePoint[] = u"DELETE FROM face_feature_point_table WHERE feature_point_id=?";
inline constexpr WCHAR kDeleteAllPoints[] = u"DELETE FROM face_feature_point_table";
inline constexpr WCHAR kSelectPoint[] = u"SELECT * FROM face_feature_point_table WHERE feature_point_id=? LIMIT 1";
inline constexpr WCHAR kSelectPoints[] = u"SELECT * FROM face_feature_point_table";
inline constexpr WCHAR kSelectPointsLimited[] = u"SELECT * FROM face_feature_point_table Limit ?";
inline constexpr WCHAR kCountPoints[] = u"SELECT COUNT(*) FROM face_feature_point_table";

// The working index. Its column 1 is update_date too, so a listing reads
// ids and dates at the same positions as in a plain shard.
inline constexpr WCHAR kCreateIndexTable[] =
    u"CREATE TABLE face_feature_table (feature_point_id INTEGER PRIMARY KEY, update_date INTEGER, remove INTEGER)";
inline constexpr WCHAR kInsertIndex[] =
    u"INSERT INTO face_feature_table (feature_point_id,update_date,remove) VALUES (?,?,?)";
inline constexpr WCHAR kUpdateIndexDate[] = u"UPDATE face_feature_table SET update_date=? WHERE feature_point_id=?";
inline constexpr WCHAR kDeleteIndex[] = u"DELETE FROM face_feature_table WHERE feature_point_id=?";
inline constexpr WCHAR kSoftRemoveIndex[] = u"UPDATE face_feature_table SET remove=? WHERE feature_point_id=?";
inline constexpr WCHAR kDeleteAllIndex[] = u"DELETE FROM face_feature_table";
inline constexpr WCHAR kSelectLiveIndex[] = u"SELECT * FROM face_feature_table WHERE remove=0";
inline constexpr WCHAR kSelectLiveIndexLimited[] = u"SELECT * FROM face_feature_table WHERE remove=0 Limit ?";
inline constexpr WCHAR kSelectLiveIndexById[] =
    u"SELECT * FROM face_feature_table WHERE feature_point_id=? AND remove=0 LIMIT 1";
inline constexpr WCHAR kCountLiveIndex[] = u"SELECT COUNT(*) FROM face_feature_table WHERE remove=0";

// Identifiers per feature point shard, in every set.
inline constexpr uint32_t kIdsPerShard = 1000;

// The companion of a working shard is "_" plus the shard's file name.
inline constexpr WCHAR kCompanionPrefix[] = u"_";

}  // namespace feature_point_tables
