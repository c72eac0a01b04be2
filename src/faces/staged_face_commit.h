// The move of staged faces into the catalogue: the faces of every staged
// file whose detection is done (can_commit 1) go into person_face_table and
// pet_face_table, leave the staging store, and both stores commit. The face
// manager's Commit runs it; it is apart from the file manager's Commit, so
// faces move when the client commits faces.
#pragma once

#include <cstdint>
#include <set>

#include "zandb4/types.h"

class CSQLiteFileBasicDB;
class CSQLiteAsyncDB;

namespace zandb4 {

// Under the catalogue's lock for the whole run: commits staging, reads the
// ready faces (none: S_OK, with staging committed), inserts them into the
// catalogue (a failure is answered and every staged face stays for the next
// call), deletes them from staging with both status tables, then commits
// the catalogue and then staging. faceIds is cleared first and ends with the
// ids read. The first failing step's result is answered; E_FAIL when either
// store is missing.
HRESULT CommitStagedFaces(CSQLiteFileBasicDB* catalogue, CSQLiteAsyncDB* staging, std::set<uint64_t>& faceIds);

}  // namespace zandb4
