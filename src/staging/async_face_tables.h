// The staged faces and their detection status: async_person_face_table and
// async_pet_face_table (one row per face, keyed by the face's own id, which
// it keeps in the catalogue), and one status row per file and individual
// type. Twins told apart by the individual type (1 person, 2 pet).
// Described once for the staging store's schema, its writes, the move of
// faces and the tests.
#pragma once

#include "zandb4/foundation.h"

namespace async_face_tables {

inline constexpr WCHAR kCreatePersonFaceTable[] =
    u"CREATE TABLE async_person_face_table (async_person_face_id INTEGER PRIMARY KEY, file_id INTEGER, "
    u"person_id INTEGER, rect INTEGER)";
inline constexpr WCHAR kCreatePetFaceTable[] =
    u"CREATE TABLE async_pet_face_table (async_pet_face_id INTEGER PRIMARY KEY, file_id INTEGER, pet_id INTEGER, "
    u"rect INTEGER)";
// did_commit is written 0 and read by nothing.
inline constexpr WCHAR kCreatePersonStatusTable[] =
    u"CREATE TABLE async_person_face_status_table (file_id INTEGER PRIMARY KEY, can_commit INTEGER, "
    u"did_commit INTEGER)";
inline constexpr WCHAR kCreatePetStatusTable[] =
    u"CREATE TABLE async_pet_face_status_table (file_id INTEGER PRIMARY KEY, can_commit INTEGER, did_commit INTEGER)";

// Positions in "SELECT *" of either face table.
enum Column : int { kFaceId, kFileId, kIndividualId, kRect, kColumnCount };

}  // namespace async_face_tables
