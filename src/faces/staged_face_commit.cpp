// CommitStagedFaces: staged faces into the catalogue.
#include "faces/staged_face_commit.h"

#include <vector>

#include "catalogue/file_basic_db.h"
#include "faces/face_rows.h"
#include "frame/critical_section.h"
#include "staging/async_db.h"

namespace zandb4 {

HRESULT CommitStagedFaces(CSQLiteFileBasicDB* catalogue, CSQLiteAsyncDB* staging, std::set<uint64_t>& faceIds) {
    faceIds.clear();
    if (catalogue == nullptr || staging == nullptr) return E_FAIL;
    CriticalSectionGuard guard(catalogue->m_lock);
    HRESULT result = staging->Commit(false);
    if (result != S_OK) return result;

    std::vector<IZanDB4FaceDBRecord*> faces;
    if (staging->ReadFaces(faces, faceIds) != S_OK) {
        for (IZanDB4FaceDBRecord* face : faces) face->Release();
        return S_OK;
    }
    result = FaceTableRows(*catalogue).InsertFaces(faces);
    if (result == S_OK) {
        // Persons and pets have id types of their own, so one set serves
        // both deletes.
        staging->DeleteFaces(faceIds, CSQLiteFileBasicDB::kPerson);
        staging->DeleteFaces(faceIds, CSQLiteFileBasicDB::kPet);
        // The catalogue first: a crash between the two leaves the faces in
        // both stores rather than in neither.
        result = catalogue->Commit(false);
        HRESULT stagingResult = staging->Commit(false);
        if (result == S_OK) result = stagingResult;
    }
    for (IZanDB4FaceDBRecord* face : faces) face->Release();
    return result;
}

}  // namespace zandb4
