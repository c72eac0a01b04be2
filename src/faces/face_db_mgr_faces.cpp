// CZanDB4FaceDBMgr: faces, Commit, Reopen, Lock and Unlock.
#include <set>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_table.h"
#include "faces/face_db_mgr.h"
#include "faces/face_rows.h"
#include "faces/face_tables.h"
#include "faces/feature_point_mgr.h"
#include "faces/staged_face_commit.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "storage/locked_call.h"
#include "storage/statement.h"

using zandb4::LockedCall;
using zandb4::Statement;
using namespace face_tables;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

uint32_t FaceIdType(uint32_t type) {
    return type == CSQLiteFileBasicDB::kPerson ? CSQLiteFileBasicDB::kPersonFaceIdType
                                               : CSQLiteFileBasicDB::kPetFaceIdType;
}

// The faces a statement gives, one new record each, into the emptied array.
HRESULT ReadFaces(sqlite3* db, const WCHAR* sql, uint32_t type, CArray<IZanDB4FaceDBRecord*>& outFaces) {
    outFaces.RemoveAll();
    Statement select(db, sql);
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) {
        IZanDB4FaceDBRecord* face = nullptr;
        if (FaceTableRows::ReadFaceRow(&face, select, type, 0) == S_OK && face != nullptr) outFaces.Add(face);
    }
    return outFaces.IsEmpty() ? E_FAIL : S_OK;
}

}  // namespace

CZanDB4FaceDBMgr::CZanDB4FaceDBMgr(const FaceStores& stores)
    : m_stores(stores),
      m_groups(stores.catalogue, stores.personPoints, stores.petPoints, stores.groupThumbnails) {}

HRESULT CZanDB4FaceDBMgr::AddFace(IZanDB4FaceDBRecord* face, uint64_t* outFaceId) {
    if (outFaceId != nullptr) *outFaceId = 0;
    if (face == nullptr) return E_INVALIDARG;
    uint32_t type = 0;
    face->GetIndividualType(&type);
    if (!IsIndividualType(type)) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (m_stores.staging == nullptr) return E_FAIL;
        // The catalogue draws the ids of both stores: a face keeps its id
        // when it moves.
        uint64_t faceId = 0;
        HRESULT drawn = catalogue.NewID(FaceIdType(type), &faceId);
        if (drawn != S_OK) return drawn;
        HRESULT staged = m_stores.staging->AddFace(faceId, face);
        if (staged != S_OK) {
            catalogue.PoolID(faceId, FaceIdType(type));
            return staged;
        }
        face->SetFaceID(faceId);
        if (outFaceId != nullptr) *outFaceId = faceId;
        return S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* face) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (FaceTableRows(catalogue).UpdateFace(faceId, type, face) == S_OK) return S_OK;
        // Not in the catalogue: the face may still be staged.
        if (face == nullptr) return E_INVALIDARG;
        if (m_stores.staging == nullptr || !m_stores.staging->HasFace(faceId, type)) return E_FAIL;
        return m_stores.staging->UpdateFace(faceId, type, face);
    });
}

HRESULT CZanDB4FaceDBMgr::RemoveFace(uint64_t faceId, uint32_t type) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        HRESULT fromCatalogue = FaceTableRows(catalogue).DeleteFace(faceId, type);
        HRESULT fromStaging = m_stores.staging == nullptr ? E_FAIL : m_stores.staging->DeleteFace(faceId, type);
        if (fromCatalogue != S_OK && fromStaging != S_OK) return E_FAIL;
        // The face's number goes to the pool of the individuals (4 or 6),
        // not of the faces: catalogues hold such pools, and AddIndividual
        // tests every id it draws for that reason.
        catalogue.PoolID(faceId, type == CSQLiteFileBasicDB::kPerson ? CSQLiteFileBasicDB::kPersonIdType
                                                                     : CSQLiteFileBasicDB::kPetIdType);
        RemoveFaceFeaturePoint(faceId, type);
        RemoveThumbnail(faceId, 1, type, 0);
        RemoveThumbnail(faceId, 2, type, 0);
        return S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::GetFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outFace) {
    if (outFace == nullptr) return E_INVALIDARG;
    *outFace = nullptr;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return FaceTableRows(catalogue).LoadFace(faceId, type, outFace);
    });
}

uint32_t CZanDB4FaceDBMgr::GetFaceCount(uint32_t type) {
    return LockedCall(m_stores.catalogue, 0u, [&](CSQLiteFileBasicDB& catalogue) -> uint32_t {
        if (!IsIndividualType(type)) return 0;
        Statement count(catalogue.m_db, ForType(type, kCountPersonFaces, kCountPetFaces));
        if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
        return static_cast<uint32_t>(count.ColumnInt64(0));
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) {
    if (outFaces == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        return ReadFaces(catalogue.m_db, ForType(type, kSelectPersonFaces, kSelectPetFaces), type, *outFaces);
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaceIDs(uint32_t type, CArray<uint64_t>* outFaceIds) {
    if (outFaceIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        outFaceIds->RemoveAll();
        Statement select(catalogue.m_db, ForType(type, kSelectPersonFaceIds, kSelectPetFaceIds));
        if (!select.IsPrepared()) return E_FAIL;
        while (select.Step() == SQLITE_ROW) outFaceIds->Add(static_cast<uint64_t>(select.ColumnInt64(0)));
        return outFaceIds->IsEmpty() ? E_FAIL : S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::GetFacesInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) {
    if (outFaces == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        return FaceTableRows(catalogue).GetFacesInFile(fileId, type, *outFaces);
    });
}

HRESULT CZanDB4FaceDBMgr::GetUnassignedFaces(uint32_t type, CArray<IZanDB4FaceDBRecord*>* outFaces) {
    if (outFaces == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        return ReadFaces(catalogue.m_db, ForType(type, kSelectUnassignedPersonFaces, kSelectUnassignedPetFaces),
                         type, *outFaces);
    });
}

HRESULT CZanDB4FaceDBMgr::RemoveFacesInFile(uint64_t fileId) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        for (uint32_t type : {CSQLiteFileBasicDB::kPerson, CSQLiteFileBasicDB::kPet}) {
            std::set<uint64_t> faceIds;
            {
                Statement select(catalogue.m_db, ForType(type, kSelectPersonFacesOfFile, kSelectPetFacesOfFile));
                if (!select.IsPrepared()) continue;
                select.BindInt64(1, static_cast<int64_t>(fileId));
                while (select.Step() == SQLITE_ROW) faceIds.insert(static_cast<uint64_t>(select.ColumnInt64(kFaceId)));
            }
            // Staged faces of the file are not touched.
            for (uint64_t faceId : faceIds) {
                HRESULT removed = RemoveFace(faceId, type);
                if (removed != S_OK) return removed;
            }
        }
        return S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::SetFaceDetected(uint64_t fileId) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        // The file lies in one of the two stores; either part working is
        // enough.
        HRESULT staged = m_stores.staging == nullptr ? E_FAIL : m_stores.staging->MarkFaceDetected(fileId);
        catalogue.BeginTransaction();
        Statement update(catalogue.m_db, file_table::kMarkFaceDetected);
        HRESULT catalogued = E_FAIL;
        if (update.IsPrepared()) {
            update.BindInt64(1, static_cast<int64_t>(fileId));
            catalogued = zandb4::StepToDone(update);
        }
        return staged == S_OK || catalogued == S_OK ? S_OK : E_FAIL;
    });
}

HRESULT CZanDB4FaceDBMgr::CommitFaces(std::set<uint64_t>& faceIds) {
    return zandb4::CommitStagedFaces(m_stores.catalogue, m_stores.staging, faceIds);
}

HRESULT CZanDB4FaceDBMgr::Commit() {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        std::set<uint64_t> faceIds;
        HRESULT staged = m_stores.staging == nullptr ? E_FAIL : m_stores.staging->Commit(false);
        HRESULT moved = staged == S_OK ? CommitFaces(faceIds) : E_FAIL;
        // Recounts file_count of the individuals whose faces changed.
        HRESULT committed = catalogue.Commit(false);
        if (staged != S_OK || moved != S_OK) return E_FAIL;
        if (committed != S_OK) return committed;
        // The shards, each only while the one before it worked.
        HRESULT chain = S_OK;
        for (CSQLiteThumbDBMgr* family : {m_stores.personIcons, m_stores.petIcons, m_stores.personFaces,
                                          m_stores.petFaces, m_stores.groupThumbnails}) {
            if (chain != S_OK) break;
            if (family != nullptr) chain = family->CommitAll(0, nullptr);
        }
        for (CSQLiteFaceFeaturePointDBMgr* points : {m_stores.personPoints, m_stores.petPoints}) {
            if (chain != S_OK) break;
            if (points != nullptr) chain = points->CommitAllShards();
        }
        return chain;
    });
}

HRESULT CZanDB4FaceDBMgr::Reopen() {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        HRESULT result = catalogue.Reopen();
        if (m_stores.staging != nullptr) m_stores.staging->Reopen();
        // The feature point shards keep what they hold.
        for (CSQLiteThumbDBMgr* family : {m_stores.personIcons, m_stores.petIcons, m_stores.personFaces,
                                          m_stores.petFaces, m_stores.groupThumbnails}) {
            if (family == nullptr) continue;
            for (uint32_t kind : {1u, 2u})
                if (CSQLiteThumbDBFactory* factory = family->Factory(kind)) factory->ReopenShards();
        }
        return result;
    });
}

HRESULT CZanDB4FaceDBMgr::Lock() {
    // Held until Unlock; the lock is recursive, so this thread's own calls
    // still go through.
    if (m_stores.catalogue != nullptr) m_stores.catalogue->m_lock.Lock();
    return S_OK;
}

HRESULT CZanDB4FaceDBMgr::Unlock() {
    if (m_stores.catalogue != nullptr) m_stores.catalogue->m_lock.Unlock();
    return S_OK;
}
