// FaceTableRows: face rows to face records and back, the packed rectangle,
// and the writes that note individuals for the recount.
#include "faces/face_rows.h"

#include <set>

#include "faces/face_tables.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "shards/shard_files.h"
#include "storage/result_codes.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;
using namespace face_tables;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

}  // namespace

// The parts are ORed, not masked: a side outside 0..65535 or a negative
// width spills into the fields above it, and reads back so.
int64_t FaceTableRows::PackRect(const RECT& rect) {
    int64_t packed = static_cast<int64_t>(rect.left);
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) | static_cast<int64_t>(rect.top);
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) |
             (static_cast<int64_t>(rect.right) - static_cast<int64_t>(rect.left));
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) |
             (static_cast<int64_t>(rect.bottom) - static_cast<int64_t>(rect.top));
    return packed;
}

RECT FaceTableRows::UnpackRect(int64_t packed) {
    uint64_t bits = static_cast<uint64_t>(packed);
    uint32_t left = static_cast<uint32_t>((bits >> 48) & 0xFFFF);
    uint32_t top = static_cast<uint32_t>((bits >> 32) & 0xFFFF);
    uint32_t width = static_cast<uint32_t>((bits >> 16) & 0xFFFF);
    uint32_t height = static_cast<uint32_t>(bits & 0xFFFF);
    RECT rect;
    rect.left = static_cast<int32_t>(left);
    rect.top = static_cast<int32_t>(top);
    rect.right = static_cast<int32_t>(left + width);
    rect.bottom = static_cast<int32_t>(top + height);
    return rect;
}

HRESULT FaceTableRows::ReadFaceRow(IZanDB4FaceDBRecord** outRecord, const Statement& row, uint32_t type,
                                        int firstColumn) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    ComPtr<IZanDB4FaceDBRecord> face;
    HRESULT result = zandb4::CreateInstance(IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive()));
    if (result != S_OK) return result;
    face->SetFaceID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kFaceId)));
    face->SetFileID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kFileId)));
    face->SetIndividualID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kIndividualId)));
    RECT rect = UnpackRect(row.ColumnInt64(firstColumn + kRect));
    face->SetRect(&rect);
    face->SetIndividualType(type);
    *outRecord = face.Detach();
    return S_OK;
}

HRESULT FaceTableRows::InsertFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record) {
    if (record == nullptr || !IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    RECT rect{};
    uint64_t individualId = 0;
    uint64_t fileId = 0;
    record->GetRect(&rect);
    record->GetIndividualID(&individualId);
    record->GetFileID(&fileId);
    Statement insert(m_store.m_db, ForType(type, kInsertPersonFace, kInsertPetFace));
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(faceId));
    insert.BindInt64(2, PackRect(rect));
    insert.BindInt64(3, static_cast<int64_t>(individualId));
    insert.BindInt64(4, static_cast<int64_t>(fileId));
    int step = insert.Step();
    m_store.NoteIndividualForRecount(individualId, type);
    int finalized = insert.Finalize();
    return step == SQLITE_DONE && finalized == SQLITE_OK ? S_OK : E_FAIL;
}

HRESULT FaceTableRows::InsertFaces(const std::vector<IZanDB4FaceDBRecord*>& records) {
    HRESULT answer = S_OK;
    for (IZanDB4FaceDBRecord* record : records) {
        if (record == nullptr) continue;
        uint64_t faceId = 0;
        uint32_t type = 0;
        record->GetFaceID(&faceId);
        record->GetIndividualType(&type);
        if (InsertFace(faceId, type, record) != S_OK) answer = E_FAIL;
    }
    return answer;
}

HRESULT FaceTableRows::UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record) {
    if (record == nullptr || !IsIndividualType(type)) return E_INVALIDARG;
    if (!FaceExists(faceId, type)) return E_FAIL;
    m_store.BeginTransaction();
    ComPtr<IZanDB4FaceDBRecord> old;
    if (LoadFace(faceId, type, old.Receive()) == S_OK) {
        uint64_t oldIndividualId = 0;
        old->GetIndividualID(&oldIndividualId);
        m_store.NoteIndividualForRecount(oldIndividualId, type);
    }
    RECT rect{};
    uint64_t individualId = 0;
    uint64_t fileId = 0;
    record->GetRect(&rect);
    record->GetIndividualID(&individualId);
    record->GetFileID(&fileId);
    Statement update(m_store.m_db, ForType(type, kUpdatePersonFace, kUpdatePetFace));
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, PackRect(rect));
    update.BindInt64(2, static_cast<int64_t>(individualId));
    update.BindInt64(3, static_cast<int64_t>(fileId));
    update.BindInt64(4, static_cast<int64_t>(faceId));
    int step = update.Step();
    m_store.NoteIndividualForRecount(individualId, type);
    int finalized = update.Finalize();
    return step == SQLITE_DONE && finalized == SQLITE_OK ? S_OK : E_FAIL;
}

bool FaceTableRows::FaceExists(uint64_t faceId, uint32_t type) {
    if (!IsIndividualType(type)) return false;
    Statement select(m_store.m_db, ForType(type, kSelectPersonFaceIdById, kSelectPetFaceIdById));
    if (!select.IsPrepared()) return false;
    select.BindInt64(1, static_cast<int64_t>(faceId));
    return select.Step() == SQLITE_ROW;
}

HRESULT FaceTableRows::GetFacesInFile(uint64_t fileId, uint32_t type, CArray<IZanDB4FaceDBRecord*>& outRecords) {
    outRecords.RemoveAll();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonFacesOfFile, kSelectPetFacesOfFile));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    while (select.Step() == SQLITE_ROW) {
        IZanDB4FaceDBRecord* face = nullptr;
        if (ReadFaceRow(&face, select, type, 0) == S_OK) outRecords.Add(face);
    }
    return outRecords.IsEmpty() ? E_FAIL : S_OK;
}

uint32_t FaceTableRows::CountFacesOutsideFiles(uint32_t type, const CZanTArray<uint64_t>& fileIds) {
    if (!IsIndividualType(type)) return 0;
    return shard_files::NotInList(fileIds).Count(
        m_store.m_db, ForType(type, kCountPersonFacesOutsideFiles, kCountPetFacesOutsideFiles),
        ForType(type, kCountPersonFacesOutsideFilesInRange, kCountPetFacesOutsideFilesInRange));
}

uint32_t FaceTableRows::CountFacesOutsideIndividuals(uint32_t type, const CZanTArray<uint64_t>& individualIds) {
    if (!IsIndividualType(type)) return 0;
    return shard_files::NotInList(individualIds)
        .Count(m_store.m_db, ForType(type, kCountPersonFacesOutsideIndividuals, kCountPetFacesOutsideIndividuals),
               ForType(type, kCountPersonFacesOutsideIndividualsInRange, kCountPetFacesOutsideIndividualsInRange));
}

HRESULT FaceTableRows::LoadFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonFaceById, kSelectPetFaceById));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(faceId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadFaceRow(outRecord, select, type, 0);
}

HRESULT FaceTableRows::DeleteFace(uint64_t faceId, uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    ComPtr<IZanDB4FaceDBRecord> face;
    if (LoadFace(faceId, type, face.Receive()) == S_OK) {
        uint64_t individualId = 0;
        face->GetIndividualID(&individualId);
        m_store.NoteIndividualForRecount(individualId, type);
    }
    Statement remove(m_store.m_db, ForType(type, kDeletePersonFace, kDeletePetFace));
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(faceId));
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}

HRESULT FaceTableRows::DeleteFacesOfFile(uint64_t fileId) {
    for (uint32_t type : {CSQLiteFileBasicDB::kPerson, CSQLiteFileBasicDB::kPet}) {
        std::set<uint64_t> faceIds;
        {
            Statement select(m_store.m_db, ForType(type, kSelectPersonFacesOfFile, kSelectPetFacesOfFile));
            if (!select.IsPrepared()) continue;
            select.BindInt64(1, static_cast<int64_t>(fileId));
            while (select.Step() == SQLITE_ROW) faceIds.insert(static_cast<uint64_t>(select.ColumnInt64(kFaceId)));
        }
        for (uint64_t faceId : faceIds) {
            HRESULT result = DeleteFace(faceId, type);
            if (result != S_OK) return result;
        }
    }
    return S_OK;
}
