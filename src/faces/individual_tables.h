// The tables of persons and pets and their groups in the catalogue:
// person_table and pet_table (twins), person_group_item_table and
// pet_group_item_table (not twins: a person may be in many groups, a pet in
// one), and face_group_table. Described once for the schema, NewID and the
// recounts of Commit.
#pragma once

#include "zandb4/foundation.h"

namespace individual_tables {

// "atrributes" is misspelt in every file ever written; it stays so.
inline constexpr WCHAR kCreatePersonTable[] =
    u"CREATE TABLE person_table (person_id INTEGER PRIMARY KEY, name TEXT, email TEXT, birthday INTEGER, "
    u"file_count INTEGER, register_date INTEGER, custom_index INTEGER, atrributes INTEGER, recommend INTEGER)";
inline constexpr WCHAR kCreatePersonRegisterDateIndex[] =
    u"CREATE INDEX person_table_rd_idx ON person_table(register_date)";
inline constexpr WCHAR kCreatePersonCustomIndexIndex[] =
    u"CREATE INDEX person_table_ctm_idx ON person_table(custom_index,register_date)";
inline constexpr WCHAR kCreatePersonNameIndex[] = u"CREATE INDEX person_table_nm_idx ON person_table(name)";

// A person may be in many groups: no key, and face_group_id has no type.
inline constexpr WCHAR kCreatePersonGroupItemTable[] =
    u"CREATE TABLE person_group_item_table (person_id INTEGER, face_group_id)";
inline constexpr WCHAR kCreatePersonGroupItemIndex[] =
    u"CREATE INDEX person_group_item_idx ON person_group_item_table(person_id, face_group_id)";

inline constexpr WCHAR kCreateFaceGroupTable[] =
    u"CREATE TABLE face_group_table (face_group_id INTEGER PRIMARY KEY, face_group_type INTEGER, "
    u"face_group_name TEXT, face_group_desc TEXT)";

inline constexpr WCHAR kCreatePetTable[] =
    u"CREATE TABLE pet_table (pet_id INTEGER PRIMARY KEY, name TEXT, email TEXT, birthday INTEGER, "
    u"file_count INTEGER, register_date INTEGER, custom_index INTEGER, atrributes INTEGER, recommend INTEGER)";
inline constexpr WCHAR kCreatePetRegisterDateIndex[] = u"CREATE INDEX pet_table_rd_idx ON pet_table(register_date)";
inline constexpr WCHAR kCreatePetCustomIndexIndex[] =
    u"CREATE INDEX pet_table_ctm_idx ON pet_table(custom_index,register_date)";
inline constexpr WCHAR kCreatePetNameIndex[] = u"CREATE INDEX pet_table_nm_idx ON pet_table(name)";

// A pet is in one group at most: pet_id is the key here, unlike persons.
inline constexpr WCHAR kCreatePetGroupItemTable[] =
    u"CREATE TABLE pet_group_item_table (pet_id INTEGER PRIMARY KEY, face_group_id INTEGER)";
inline constexpr WCHAR kCreatePetGroupItemIndex[] =
    u"CREATE INDEX pet_group_item_idx ON pet_group_item_table(pet_id, face_group_id)";

inline constexpr WCHAR kSelectPersonById[] = u"SELECT * FROM person_table WHERE person_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetById[] = u"SELECT * FROM pet_table WHERE pet_id=? LIMIT 1";
inline constexpr WCHAR kSelectFaceGroupById[] = u"SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1";

inline constexpr WCHAR kUpdatePersonFileCount[] = u"UPDATE person_table SET file_count=? WHERE person_id=?";
inline constexpr WCHAR kUpdatePetFileCount[] = u"UPDATE pet_table SET file_count=? WHERE pet_id=?";

}  // namespace individual_tables
