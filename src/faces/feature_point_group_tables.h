// The feature point group tables of the catalogue, persons and pets as
// twins: one row per group, and one item row per face in a group (face_id is
// the key, so a face is in one group at most; group_id 0 marks a face whose
// group was removed). Described once for the schema, the group operations
// and the group recounts of Commit.
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

// Positions in "SELECT *" of the group table and of the item table.
enum GroupColumn : int { kGroupId, kFeaturePointId, kFaceId, kCreateDate, kFaceCount, kGroupColumnCount };
enum ItemColumn : int { kItemFaceId, kItemFeaturePointId, kItemGroupId, kItemColumnCount };

inline constexpr WCHAR kInsertPersonGroup[] =
    u"INSERT INTO person_face_feature_point_group_table ( group_id, feature_point_id, face_id, create_date, "
    u"face_count) VALUES (?,?,?,?,?)";
inline constexpr WCHAR kInsertPetGroup[] =
    u"INSERT INTO pet_face_feature_point_group_table ( group_id, feature_point_id, face_id, create_date, "
    u"face_count) VALUES (?,?,?,?,?)";
inline constexpr WCHAR kInsertPersonGroupItem[] =
    u"INSERT INTO person_face_feature_point_group_item_table ( face_id, feature_point_id, group_id) VALUES (?,?,?)";
inline constexpr WCHAR kInsertPetGroupItem[] =
    u"INSERT INTO pet_face_feature_point_group_item_table ( face_id, feature_point_id, group_id) VALUES (?,?,?)";
inline constexpr WCHAR kSelectPersonGroup[] =
    u"SELECT * FROM person_face_feature_point_group_table WHERE group_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetGroup[] = u"SELECT * FROM pet_face_feature_point_group_table WHERE group_id=? LIMIT 1";
inline constexpr WCHAR kSelectPersonGroupFaceCount[] =
    u"SELECT face_count FROM person_face_feature_point_group_table WHERE group_id=?";
inline constexpr WCHAR kSelectPetGroupFaceCount[] =
    u"SELECT face_count FROM pet_face_feature_point_group_table WHERE group_id=?";
inline constexpr WCHAR kSelectPersonGroupIdsNewestFirst[] =
    u"SELECT group_id FROM person_face_feature_point_group_table ORDER BY create_date DESC";
inline constexpr WCHAR kSelectPetGroupIdsNewestFirst[] =
    u"SELECT group_id FROM pet_face_feature_point_group_table ORDER BY create_date DESC";
inline constexpr WCHAR kSelectPersonGroupsNewestFirst[] =
    u"SELECT * FROM person_face_feature_point_group_table ORDER BY create_date DESC";
inline constexpr WCHAR kSelectPetGroupsNewestFirst[] =
    u"SELECT * FROM pet_face_feature_point_group_table ORDER BY create_date DESC";
inline constexpr WCHAR kDeletePersonGroup[] = u"DELETE FROM person_face_feature_point_group_table WHERE group_id=?";
inline constexpr WCHAR kDeletePetGroup[] = u"DELETE FROM pet_face_feature_point_group_table WHERE group_id=?";

inline constexpr WCHAR kSelectPersonGroupFaceIds[] =
    u"SELECT face_id FROM person_face_feature_point_group_item_table WHERE group_id=?";
inline constexpr WCHAR kSelectPetGroupFaceIds[] =
    u"SELECT face_id FROM pet_face_feature_point_group_item_table WHERE group_id=?";
// The member faces that are still in the face table.
inline constexpr WCHAR kSelectPersonGroupFaces[] =
    u"SELECT * FROM person_face_table WHERE EXISTS (SELECT * FROM person_face_feature_point_group_item_table WHERE "
    u"person_face_feature_point_group_item_table.group_id=? AND "
    u"person_face_table.person_face_id=person_face_feature_point_group_item_table.face_id)";
inline constexpr WCHAR kSelectPetGroupFaces[] =
    u"SELECT * FROM pet_face_table WHERE EXISTS (SELECT * FROM pet_face_feature_point_group_item_table WHERE "
    u"pet_face_feature_point_group_item_table.group_id=? AND "
    u"pet_face_table.pet_face_id=pet_face_feature_point_group_item_table.face_id)";
inline constexpr WCHAR kSelectPersonGroupItemOfFace[] =
    u"SELECT * FROM person_face_feature_point_group_item_table WHERE face_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetGroupItemOfFace[] =
    u"SELECT * FROM pet_face_feature_point_group_item_table WHERE face_id=? LIMIT 1";
inline constexpr WCHAR kDeletePersonGroupItemOfFace[] =
    u"DELETE FROM person_face_feature_point_group_item_table WHERE face_id=?";
inline constexpr WCHAR kDeletePetGroupItemOfFace[] =
    u"DELETE FROM pet_face_feature_point_group_item_table WHERE face_id=?";
// The members of a removed group stay, with group 0.
inline constexpr WCHAR kReleasePersonGroupItems[] =
    u"UPDATE person_face_feature_point_group_item_table SET group_id=0 WHERE group_id=?";
inline constexpr WCHAR kReleasePetGroupItems[] =
    u"UPDATE pet_face_feature_point_group_item_table SET group_id=0 WHERE group_id=?";

inline constexpr WCHAR kCountPersonGroupItems[] =
    u"SELECT COUNT(*) FROM person_face_feature_point_group_item_table WHERE group_id=?";
inline constexpr WCHAR kCountPetGroupItems[] =
    u"SELECT COUNT(*) FROM pet_face_feature_point_group_item_table WHERE group_id=?";

}  // namespace feature_point_group_tables
