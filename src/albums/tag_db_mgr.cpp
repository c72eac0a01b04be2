// CZanDB4TagDBMgr: argument checks and the lock around the tag statements.
#include "albums/tag_db_mgr.h"

#include "albums/tag_rows.h"
#include "catalogue/file_basic_db.h"
#include "storage/locked_call.h"

using zandb4::LockedCall;

HRESULT CZanDB4TagDBMgr::AddTag(IZanDB4TagDBRecord* record, uint64_t* outId) {
    if (outId != nullptr) *outId = 0;
    if (record == nullptr) return E_INVALIDARG;
    CZanTString name;
    if (record->GetName(name) != S_OK || name.IsEmpty()) return E_INVALIDARG;
    uint32_t type = 0;
    record->GetType(&type);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return TagRows(store).AddTag(name, type, outId); });
}

HRESULT CZanDB4TagDBMgr::UpdateTag(uint64_t tagId, IZanDB4TagDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    CZanTString name;
    if (record->GetName(name) != S_OK || name.IsEmpty()) return E_INVALIDARG;
    uint32_t type = 0;
    HRESULT typed = record->GetType(&type);
    if (typed != S_OK) return typed;
    // The row of the argument's id is written, whatever id the record holds.
    return LockedCall(m_fileBasicDB, E_FAIL,
                      [&](CSQLiteFileBasicDB& store) { return TagRows(store).UpdateTag(tagId, name, type); });
}

HRESULT CZanDB4TagDBMgr::DeleteTag(uint64_t tagId) {
    // Links of staged files to this tag stay in staging and come into the
    // catalogue at the staging commit, where the dead link check counts them.
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return TagRows(store).DeleteTag(tagId); });
}

HRESULT CZanDB4TagDBMgr::GetTag(uint64_t tagId, IZanDB4TagDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    return LockedCall(m_fileBasicDB, E_FAIL,
                      [&](CSQLiteFileBasicDB& store) { return TagRows(store).GetTag(tagId, outRecord); });
}

uint32_t CZanDB4TagDBMgr::GetTagCount() {
    return LockedCall(m_fileBasicDB, 0u, [&](CSQLiteFileBasicDB& store) { return TagRows(store).GetTagCount(); });
}

HRESULT CZanDB4TagDBMgr::GetTagIDs(CArray<uint64_t>* outIds) {
    if (outIds == nullptr) return E_INVALIDARG;
    // Emptied first, so that an earlier content is gone even on failure.
    outIds->RemoveAll();
    CZanTArray<uint64_t> ids(outIds);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return TagRows(store).GetTagIDs(ids); });
}

HRESULT CZanDB4TagDBMgr::GetTags(CArray<IZanDB4TagDBRecord*>* outTags) {
    if (outTags == nullptr) return E_INVALIDARG;
    outTags->RemoveAll();
    CZanTArray<IZanDB4TagDBRecord*> tags(outTags);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return TagRows(store).GetTags(tags); });
}

// Commit and Rollback go to the store without the lock: the store's own
// Commit and Reopen are what every manager calls, and the tag manager adds
// nothing to guard.
HRESULT CZanDB4TagDBMgr::Commit() { return m_fileBasicDB == nullptr ? E_FAIL : m_fileBasicDB->Commit(false); }

HRESULT CZanDB4TagDBMgr::Rollback() { return m_fileBasicDB == nullptr ? E_FAIL : m_fileBasicDB->Reopen(); }
