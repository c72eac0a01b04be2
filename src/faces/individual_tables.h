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

// Positions in "SELECT *" of person_table and pet_table.
enum Column : int {
    kId,
    kName,
    kEmail,
    kBirthday,
    kFileCount,
    kRegisterDate,
    kCustomIndex,
    kAttributes,
    kRecommend,
    kColumnCount
};

// Positions in "SELECT *" of face_group_table.
enum GroupColumn : int { kGroupId, kGroupType, kGroupName, kGroupDescription, kGroupColumnCount };

inline constexpr WCHAR kInsertPerson[] =
    u"INSERT INTO person_table (person_id, name, email, birthday, register_date, custom_index, atrributes, "
    u"recommend) VALUES (?,?,?,?,?,?,?,?)";
inline constexpr WCHAR kInsertPet[] =
    u"INSERT INTO pet_table (pet_id, name, email, birthday, register_date, custom_index, atrributes, recommend) "
    u"VALUES (?,?,?,?,?,?,?,?)";
inline constexpr WCHAR kUpdatePerson[] =
    u"UPDATE person_table SET name=?, email=?, birthday=?, atrributes=?, recommend=? WHERE person_id=?";
inline constexpr WCHAR kUpdatePet[] =
    u"UPDATE pet_table SET name=?, email=?, birthday=?, atrributes=?, recommend=? WHERE pet_id=?";
inline constexpr WCHAR kDeletePerson[] = u"DELETE FROM person_table WHERE person_id=?";
inline constexpr WCHAR kDeletePet[] = u"DELETE FROM pet_table WHERE pet_id=?";

// The lists of individuals; an order suffix may follow each.
inline constexpr WCHAR kSelectPersons[] = u"SELECT * FROM person_table";
inline constexpr WCHAR kSelectPets[] = u"SELECT * FROM pet_table";
inline constexpr WCHAR kSelectPersonsInAlbum[] =
    u"SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_face_table WHERE file_id IN ( "
    u"SELECT file_id FROM file_table WHERE album_id=?) )";
inline constexpr WCHAR kSelectPetsInAlbum[] =
    u"SELECT * FROM pet_table WHERE pet_id IN ( SELECT pet_id FROM pet_face_table WHERE file_id IN ( SELECT "
    u"file_id FROM file_table WHERE album_id=?) )";
inline constexpr WCHAR kSelectPersonsInFaceGroup[] =
    u"SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_group_item_table WHERE "
    u"face_group_id=?)";
inline constexpr WCHAR kSelectPetsInFaceGroup[] =
    u"SELECT * FROM pet_table WHERE pet_id IN ( SELECT pet_id FROM pet_group_item_table WHERE face_group_id=?)";
inline constexpr WCHAR kSelectPersonsInFile[] =
    u"SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_face_table WHERE file_id=?)";
inline constexpr WCHAR kSelectPetsInFile[] =
    u"SELECT * FROM pet_table WHERE pet_id IN ( SELECT pet_id FROM pet_face_table WHERE file_id=?)";

inline constexpr WCHAR kCountPersons[] = u"SELECT COUNT(*) FROM person_table";
inline constexpr WCHAR kCountPets[] = u"SELECT COUNT(*) FROM pet_table";
// One closing parenthesis too many in both: neither ever prepares, and the
// id list of a face group has always answered E_FAIL. Kept as they are;
// the record lists of a face group use the sound statements above.
inline constexpr WCHAR kSelectPersonIdsInFaceGroup[] =
    u"SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_group_item_table WHERE "
    u"face_group_id=?) )";
inline constexpr WCHAR kSelectPetIdsInFaceGroup[] =
    u"SELECT * FROM pet_table WHERE pet_id IN ( SELECT pet_id FROM pet_group_item_table WHERE face_group_id=?) )";

// User groups of individuals.
inline constexpr WCHAR kInsertFaceGroup[] =
    u"INSERT INTO face_group_table (face_group_id, face_group_type, face_group_name, face_group_desc) VALUES "
    u"(?,?,?,?)";
inline constexpr WCHAR kUpdateFaceGroup[] =
    u"UPDATE face_group_table SET face_group_type=?, face_group_name=?, face_group_desc=? WHERE face_group_id=?";
inline constexpr WCHAR kDeleteFaceGroup[] = u"DELETE FROM face_group_table WHERE face_group_id=?";
inline constexpr WCHAR kCountFaceGroups[] = u"SELECT COUNT(*) FROM face_group_table";
inline constexpr WCHAR kSelectFaceGroups[] = u"SELECT * FROM face_group_table";

// Order suffixes of the lists: 2 by name, 3 by registration, 4 by the
// user's order. Any other order adds nothing.
inline constexpr WCHAR kOrderByName[] = u" ORDER BY name ASC";
inline constexpr WCHAR kOrderByRegisterDate[] = u" ORDER BY register_date ASC";
inline constexpr WCHAR kOrderByCustomIndex[] = u" ORDER BY custom_index ASC, register_date ASC";

inline constexpr WCHAR kUpdatePersonCustomIndex[] = u"UPDATE person_table SET custom_index=? WHERE person_id=?";
inline constexpr WCHAR kUpdatePetCustomIndex[] = u"UPDATE pet_table SET custom_index=? WHERE pet_id=?";
inline constexpr WCHAR kClearPersonCustomIndexes[] = u"UPDATE person_table SET custom_index=0";
inline constexpr WCHAR kClearPetCustomIndexes[] = u"UPDATE pet_table SET custom_index=0";

// Group items are read and cleared only: no statement anywhere inserts one.
inline constexpr WCHAR kSelectPersonGroupItems[] = u"SELECT * FROM person_group_item_table WHERE person_id=?";
inline constexpr WCHAR kSelectPetGroupItems[] = u"SELECT * FROM pet_group_item_table WHERE pet_id=?";
inline constexpr WCHAR kDeletePersonGroupItems[] = u"DELETE FROM person_group_item_table WHERE person_id=?";
inline constexpr WCHAR kDeletePetGroupItems[] = u"DELETE FROM pet_group_item_table WHERE pet_id=?";
// Position of face_group_id in a group item row.
inline constexpr int kGroupItemGroupId = 1;

inline constexpr WCHAR kSelectPersonById[] = u"SELECT * FROM person_table WHERE person_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetById[] = u"SELECT * FROM pet_table WHERE pet_id=? LIMIT 1";
inline constexpr WCHAR kSelectFaceGroupById[] = u"SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1";

inline constexpr WCHAR kUpdatePersonFileCount[] = u"UPDATE person_table SET file_count=? WHERE person_id=?";
inline constexpr WCHAR kUpdatePetFileCount[] = u"UPDATE pet_table SET file_count=? WHERE pet_id=?";

}  // namespace individual_tables
