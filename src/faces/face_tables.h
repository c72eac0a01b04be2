// person_face_table and pet_face_table: one row per face found in a file,
// twins told apart by the individual type (1 person, 2 pet). Described once
// for the schema, the face rows, NewID and the person recount of Commit.
#pragma once

#include <cstdint>

#include "zandb4/foundation.h"

namespace face_tables {

inline constexpr WCHAR kCreatePersonFaceTable[] =
    u"CREATE TABLE person_face_table (person_face_id INTEGER PRIMARY KEY, file_id INTEGER, person_id INTEGER, "
    u"rect INTEGER)";
inline constexpr WCHAR kCreatePersonFacePersonIndex[] =
    u"CREATE INDEX person_face_person_idx ON person_face_table(person_id)";
inline constexpr WCHAR kCreatePersonFaceFileIndex[] =
    u"CREATE INDEX person_face_file_idx ON person_face_table(file_id)";

// No person_id column here, though some statements on this table name one.
inline constexpr WCHAR kCreatePetFaceTable[] =
    u"CREATE TABLE pet_face_table (pet_face_id INTEGER PRIMARY KEY, file_id INTEGER, pet_id INTEGER, rect INTEGER)";
inline constexpr WCHAR kCreatePetFacePetIndex[] = u"CREATE INDEX pet_face_pet_idx ON pet_face_table(pet_id)";
inline constexpr WCHAR kCreatePetFaceFileIndex[] = u"CREATE INDEX pet_face_file_idx ON pet_face_table(file_id)";

// Positions in "SELECT *" of either table, from its first column.
enum Column : int { kFaceId, kFileId, kIndividualId, kRect, kColumnCount };

inline constexpr WCHAR kSelectPersonFaceById[] = u"SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetFaceById[] = u"SELECT * FROM pet_face_table WHERE pet_face_id=? LIMIT 1";
inline constexpr WCHAR kDeletePersonFace[] = u"DELETE FROM person_face_table WHERE person_face_id=?";
inline constexpr WCHAR kDeletePetFace[] = u"DELETE FROM pet_face_table WHERE pet_face_id=?";
inline constexpr WCHAR kInsertPersonFace[] =
    u"INSERT INTO person_face_table (person_face_id, rect, person_id, file_id) VALUES (?,?,?,?)";
inline constexpr WCHAR kInsertPetFace[] =
    u"INSERT INTO pet_face_table (pet_face_id, rect, pet_id, file_id) VALUES (?,?,?,?)";
inline constexpr WCHAR kUpdatePersonFace[] =
    u"UPDATE person_face_table SET rect=?, person_id=?, file_id=? WHERE person_face_id=?";
inline constexpr WCHAR kUpdatePetFace[] = u"UPDATE pet_face_table SET rect=?, pet_id=?, file_id=? WHERE pet_face_id=?";
inline constexpr WCHAR kSelectPersonFaceIdById[] =
    u"SELECT person_face_id FROM person_face_table WHERE person_face_id=? LIMIT 1";
inline constexpr WCHAR kSelectPetFaceIdById[] = u"SELECT pet_face_id FROM pet_face_table WHERE pet_face_id=? LIMIT 1";
inline constexpr WCHAR kSelectPersonFacesOfFile[] = u"SELECT * FROM person_face_table WHERE file_id=?";
inline constexpr WCHAR kSelectPetFacesOfFile[] = u"SELECT * FROM pet_face_table WHERE file_id=?";

// Faces whose file or individual is not among the listed ids, for the dead
// link check. The %s is a list of quoted ids, "'1','2'".
inline constexpr WCHAR kCountPersonFacesOutsideFiles[] =
    u"SELECT COUNT(*) FROM person_face_table WHERE file_id NOT IN (%s)";
inline constexpr WCHAR kCountPetFacesOutsideFiles[] = u"SELECT COUNT(*) FROM pet_face_table WHERE file_id NOT IN (%s)";
inline constexpr WCHAR kCountPersonFacesOutsideIndividuals[] =
    u"SELECT COUNT(*) FROM person_face_table WHERE person_id NOT IN (%s)";
inline constexpr WCHAR kCountPetFacesOutsideIndividuals[] =
    u"SELECT COUNT(*) FROM pet_face_table WHERE pet_id NOT IN (%s)";
// The same counts over one span of ids, for a list too long for one
// statement, cut into runs (shard_files::NotInList): 1 for no lower bound,
// the bound, 1 for no upper bound, the bound.
inline constexpr WCHAR kCountPersonFacesOutsideFilesInRange[] =
    u"SELECT COUNT(*) FROM person_face_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";
inline constexpr WCHAR kCountPetFacesOutsideFilesInRange[] =
    u"SELECT COUNT(*) FROM pet_face_table WHERE file_id NOT IN (%s) AND (? OR file_id>?) AND (? OR file_id<=?)";
inline constexpr WCHAR kCountPersonFacesOutsideIndividualsInRange[] =
    u"SELECT COUNT(*) FROM person_face_table WHERE person_id NOT IN (%s) AND (? OR person_id>?) AND "
    u"(? OR person_id<=?)";
inline constexpr WCHAR kCountPetFacesOutsideIndividualsInRange[] =
    u"SELECT COUNT(*) FROM pet_face_table WHERE pet_id NOT IN (%s) AND (? OR pet_id>?) AND (? OR pet_id<=?)";

// An individual's faces go back to nobody when it is deleted. The quoted 0
// is text; the column's integer affinity stores it as the integer 0.
inline constexpr WCHAR kUnassignPersonFaces[] = u"UPDATE person_face_table SET person_id='0' WHERE person_id=?";
inline constexpr WCHAR kUnassignPetFaces[] = u"UPDATE pet_face_table SET pet_id='0' WHERE pet_id=?";

inline constexpr WCHAR kCountPersonFiles[] =
    u"SELECT COUNT( DISTINCT person_face_table.file_id ) FROM person_face_table WHERE person_face_table.person_id=?";
// pet_face_table has no person_id column, so this never prepares and every
// recounted pet gets a file_count of 0. Catalogues and the application rely
// on the count staying so; the statement must stay as it is.
inline constexpr WCHAR kCountPetFiles[] =
    u"SELECT COUNT( DISTINCT pet_face_table.file_id ) FROM pet_face_table WHERE pet_face_table.person_id=?";

// Faces given to someone. The pet twin names the person's column too, and
// never prepares either.
inline constexpr WCHAR kCountAssignedPersonFaces[] =
    u"SELECT COUNT(person_id) FROM person_face_table WHERE person_face_table.person_id!=0";
inline constexpr WCHAR kCountAssignedPetFaces[] =
    u"SELECT COUNT(person_id) FROM pet_face_table WHERE pet_face_table.person_id!=0";

// The face manager's own reads.
inline constexpr WCHAR kCountPersonFaces[] = u"SELECT COUNT(*) FROM person_face_table";
inline constexpr WCHAR kCountPetFaces[] = u"SELECT COUNT(*) FROM pet_face_table";
inline constexpr WCHAR kSelectPersonFaces[] = u"SELECT * FROM person_face_table";
inline constexpr WCHAR kSelectPetFaces[] = u"SELECT * FROM pet_face_table";
inline constexpr WCHAR kSelectPersonFaceIds[] = u"SELECT person_face_id FROM person_face_table";
// "pet_face_idd" is no column: the pet form never prepares, and the list of
// pet face ids has always come back empty with E_FAIL. It stays so.
inline constexpr WCHAR kSelectPetFaceIds[] = u"SELECT pet_face_idd FROM pet_face_table";
inline constexpr WCHAR kSelectUnassignedPersonFaces[] = u"SELECT * FROM person_face_table WHERE person_id=0";
inline constexpr WCHAR kSelectUnassignedPetFaces[] = u"SELECT * FROM pet_face_table WHERE pet_id=0";

// The statement of the twin for an individual type: type 1 the person's,
// any other the pet's.
inline const WCHAR* ForType(uint32_t type, const WCHAR* person, const WCHAR* pet) { return type == 1 ? person : pet; }

}  // namespace face_tables
