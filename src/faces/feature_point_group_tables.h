// The feature point group tables of the catalogue, persons and pets as
// twins: one row per group, and one item row per face in a group. Described
// once for the schema and the group recounts of Commit.
#pragma once

#include "zandb4/foundation.h"

namespace feature_point_group_tables {

inline constexpr WCHAR kCreatePersonGroupTable[] =
    u"CREATE TABLE person_face_feature_point_group_table (group_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
    u"face_id INTEGER, create_date INTEGER, face_count INTEGER)";
inline constexpr WCHAR kCreatePersonGroupIndex[] =
    u"CREATE INDEX person_face_feature_point_group_idx ON person_face_feature_point_group_table(create_date DESC)";
inline constexpr WCHAR kCreatePetGroupTable[] =
    u"CREATE TABLE pet_face_feature_point_group_table (group_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
    u"face_id INTEGER, create_date INTEGER, face_count INTEGER)";
inline constexpr WCHAR kCreatePetGroupIndex[] =
    u"CREATE INDEX pet_face_feature_point_group_idx ON pet_face_feature_point_group_table(create_date DESC)";
inline constexpr WCHAR kCreatePersonGroupItemTable[] =
    u"CREATE TABLE person_face_feature_point_group_item_table (face_id INTEGER PRIMARY KEY, "
    u"feature_point_id INTEGER, group_id INTEGER)";
inline constexpr WCHAR kCreatePetGroupItemTable[] =
    u"CREATE TABLE pet_face_feature_point_group_item_table (face_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
    u"group_id INTEGER)";

inline constexpr WCHAR kCountPersonGroupItems[] =
    u"SELECT COUNT(*) FROM person_face_feature_point_group_item_table WHERE group_id=?";
inline constexpr WCHAR kCountPetGroupItems[] =
    u"SELECT COUNT(*) FROM pet_face_feature_point_group_item_table WHERE group_id=?";

}  // namespace feature_point_group_tables
