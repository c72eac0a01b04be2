// CSQLiteFileBasicDB: the face rows of person_face_table and pet_face_table
// that the file store reads and deletes along with a file. Persons and pets
// are one code path; type 1 picks the person statement, type 2 the pet one.
#include <set>

#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "storage/result_codes.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

// Column positions of a face row from its first column.
enum FaceColumn { kFaceId = 0, kFaceFileId = 1, kFaceIndividualId = 2, kFaceRect = 3 };

const WCHAR* LoadFaceStatement(uint32_t type) {
    return type == CSQLiteFileBasicDB::kPerson ? u"SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1"
                                               : u"SELECT * FROM pet_face_table WHERE pet_face_id=? LIMIT 1";
}

const WCHAR* DeleteFaceStatement(uint32_t type) {
    return type == CSQLiteFileBasicDB::kPerson ? u"DELETE FROM person_face_table WHERE person_face_id=?"
                                               : u"DELETE FROM pet_face_table WHERE pet_face_id=?";
}

const WCHAR* FacesOfFileStatement(uint32_t type) {
    return type == CSQLiteFileBasicDB::kPerson ? u"SELECT * FROM person_face_table WHERE file_id=?"
                                               : u"SELECT * FROM pet_face_table WHERE file_id=?";
}

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

}  // namespace

// The parts are ORed, not masked: a side outside 0..65535 or a negative
// width spills into the fields above it, and reads back so.
int64_t CSQLiteFileBasicDB::PackRect(const RECT& rect) {
    int64_t packed = static_cast<int64_t>(rect.left);
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) | static_cast<int64_t>(rect.top);
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) |
             (static_cast<int64_t>(rect.right) - static_cast<int64_t>(rect.left));
    packed = static_cast<int64_t>(static_cast<uint64_t>(packed) << 16) |
             (static_cast<int64_t>(rect.bottom) - static_cast<int64_t>(rect.top));
    return packed;
}

RECT CSQLiteFileBasicDB::UnpackRect(int64_t packed) {
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

HRESULT CSQLiteFileBasicDB::ReadFaceRow(IZanDB4FaceDBRecord** outRecord, const Statement& row, uint32_t type,
                                        int firstColumn) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    ComPtr<IZanDB4FaceDBRecord> face;
    HRESULT result = zandb4::CreateInstance(IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive()));
    if (result != S_OK) return result;
    face->SetFaceID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kFaceId)));
    face->SetFileID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kFaceFileId)));
    face->SetIndividualID(static_cast<uint64_t>(row.ColumnInt64(firstColumn + kFaceIndividualId)));
    RECT rect = UnpackRect(row.ColumnInt64(firstColumn + kFaceRect));
    face->SetRect(&rect);
    face->SetIndividualType(type);
    *outRecord = face.Detach();
    return S_OK;
}

HRESULT CSQLiteFileBasicDB::LoadFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_db, LoadFaceStatement(type));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(faceId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadFaceRow(outRecord, select, type, 0);
}

void CSQLiteFileBasicDB::NoteIndividualForRecount(uint64_t individualId, uint32_t type) {
    if (type == kPerson) m_personRecount.insert(individualId);
    if (type == kPet) m_petRecount.insert(individualId);
}

HRESULT CSQLiteFileBasicDB::DeleteFace(uint64_t faceId, uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    BeginTransaction();
    ComPtr<IZanDB4FaceDBRecord> face;
    if (LoadFace(faceId, type, face.Receive()) == S_OK) {
        uint64_t individualId = 0;
        face->GetIndividualID(&individualId);
        NoteIndividualForRecount(individualId, type);
    }
    Statement remove(m_db, DeleteFaceStatement(type));
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(faceId));
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}

HRESULT CSQLiteFileBasicDB::DeleteFacesOfFile(uint64_t fileId) {
    for (uint32_t type : {kPerson, kPet}) {
        std::set<uint64_t> faceIds;
        {
            Statement select(m_db, FacesOfFileStatement(type));
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
