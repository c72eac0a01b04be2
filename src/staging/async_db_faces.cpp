// CSQLiteAsyncDB: staged faces and the detection status of staged files.
#include "faces/face_rows.h"
#include "staging/async_db.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kInsertPersonFace[] =
    u"INSERT INTO async_person_face_table (async_person_face_id, file_id, person_id, rect) VALUES (?,?,?,?)";
constexpr WCHAR kInsertPetFace[] =
    u"INSERT INTO async_pet_face_table (async_pet_face_id, file_id, pet_id, rect) VALUES (?,?,?,?)";
constexpr WCHAR kInsertPersonStatus[] =
    u"INSERT INTO async_person_face_status_table (file_id, can_commit, did_commit) VALUES (?, '1', '0')";
constexpr WCHAR kInsertPetStatus[] =
    u"INSERT INTO async_pet_face_status_table (file_id, can_commit, did_commit) VALUES (?, '1', '0')";
constexpr WCHAR kHasPersonFace[] =
    u"SELECT async_person_face_id FROM async_person_face_table WHERE async_person_face_id=? LIMIT 1";
constexpr WCHAR kHasPetFace[] = u"SELECT async_pet_face_id FROM async_pet_face_table WHERE async_pet_face_id=? LIMIT 1";
constexpr WCHAR kUpdatePersonFace[] =
    u"UPDATE async_person_face_table SET rect=?, file_id=?, person_id=? WHERE async_person_face_id=?";
constexpr WCHAR kUpdatePetFace[] =
    u"UPDATE async_pet_face_table SET rect=?, file_id=?, pet_id=? WHERE async_pet_face_id=?";
constexpr WCHAR kDeletePersonFace[] = u"DELETE FROM async_person_face_table WHERE async_person_face_id=?";
constexpr WCHAR kDeletePetFace[] = u"DELETE FROM async_pet_face_table WHERE async_pet_face_id=?";
constexpr const WCHAR* kMarkDetected[] = {
    u"UPDATE async_file_table SET did_detect_face='1' WHERE file_id=?",
    u"UPDATE async_person_face_status_table SET can_commit='1' WHERE file_id=?",
    u"UPDATE async_pet_face_status_table SET can_commit='1' WHERE file_id=?",
};

constexpr uint32_t kPerson = 1;
constexpr uint32_t kPet = 2;

}  // namespace

HRESULT CSQLiteAsyncDB::AddFace(uint64_t faceId, IZanDB4FaceDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    uint32_t type = 0;
    record->GetIndividualType(&type);
    if (type != kPerson && type != kPet) return E_INVALIDARG;
    uint64_t fileId = 0, individualId = 0;
    RECT rect{};
    record->GetFileID(&fileId);
    record->GetIndividualID(&individualId);
    record->GetRect(&rect);

    BeginTransaction();
    {
        Statement insert(m_db, type == kPerson ? kInsertPersonFace : kInsertPetFace);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(1, static_cast<int64_t>(faceId));
        insert.BindInt64(2, static_cast<int64_t>(fileId));
        insert.BindInt64(3, static_cast<int64_t>(individualId));
        insert.BindInt64(4, FaceTableRows::PackRect(rect));
        if (insert.Step() != SQLITE_DONE) return E_FAIL;
    }
    // The second face of a file meets the status row's key; that is
    // expected, and the outcome is not looked at.
    Statement status(m_db, type == kPerson ? kInsertPersonStatus : kInsertPetStatus);
    status.BindInt64(1, static_cast<int64_t>(fileId));
    status.Step();
    return S_OK;
}

BOOL CSQLiteAsyncDB::HasFace(uint64_t faceId, uint32_t type) {
    if (type != kPerson && type != kPet) return 0;
    Statement select(m_db, type == kPerson ? kHasPersonFace : kHasPetFace);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(faceId));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

HRESULT CSQLiteAsyncDB::UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record) {
    if (record == nullptr || (type != kPerson && type != kPet)) return E_INVALIDARG;
    BeginTransaction();
    uint64_t fileId = 0, individualId = 0;
    RECT rect{};
    record->GetFileID(&fileId);
    record->GetRect(&rect);
    record->GetIndividualID(&individualId);
    Statement update(m_db, type == kPerson ? kUpdatePersonFace : kUpdatePetFace);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, FaceTableRows::PackRect(rect));
    update.BindInt64(2, static_cast<int64_t>(fileId));
    update.BindInt64(3, static_cast<int64_t>(individualId));
    update.BindInt64(4, static_cast<int64_t>(faceId));
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAsyncDB::DeleteFace(uint64_t faceId, uint32_t type) {
    if (type != kPerson && type != kPet) return E_INVALIDARG;
    BeginTransaction();
    Statement remove(m_db, type == kPerson ? kDeletePersonFace : kDeletePetFace);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(faceId));
    return zandb4::StepToDone(remove);
}

HRESULT CSQLiteAsyncDB::MarkFaceDetected(uint64_t fileId) {
    // These updates do not open the store's transaction: they join the one
    // open (staging always has one while files are being added), and with
    // none open each commits on its own.
    for (const WCHAR* sql : kMarkDetected) {
        Statement update(m_db, sql);
        if (!update.IsPrepared()) return E_FAIL;
        update.BindInt64(1, static_cast<int64_t>(fileId));
        // The step's outcome is not looked at: a file that is not staged
        // changes nothing and is no failure.
        update.Step();
    }
    return S_OK;
}
