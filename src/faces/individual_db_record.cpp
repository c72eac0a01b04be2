// CZanDB4IndividualDBRecord: plain accessors, the lazily loaded group set and
// the live file count.
#include "faces/individual_db_record.h"

#include "catalogue/file_basic_db.h"
#include "faces/individual_rows.h"
#include "frame/deliver.h"
#include "storage/locked_call.h"

using zandb4::Deliver;

HRESULT CZanDB4IndividualDBRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetID(uint64_t* outId) { return Deliver(outId, m_id); }

// Any value is kept; the manager answers E_INVALIDARG to a type other than
// 1 or 2 when it sees the record.
HRESULT CZanDB4IndividualDBRecord::SetIndividualType(uint32_t type) {
    m_individualType = type;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetIndividualType(uint32_t* outType) { return Deliver(outType, m_individualType); }

HRESULT CZanDB4IndividualDBRecord::SetName(const CZanTString& name) {
    m_name = name;
    return S_OK;
}

// The empty text is assigned too, so that the caller's string never keeps
// an older value; E_FAIL only tells that it is empty.
HRESULT CZanDB4IndividualDBRecord::GetName(CZanTString& outName) {
    outName = m_name;
    return m_name.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4IndividualDBRecord::SetEmail(const CZanTString& email) {
    m_email = email;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetEmail(CZanTString& outEmail) {
    outEmail = m_email;
    return m_email.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4IndividualDBRecord::SetBirthday(const SYSTEMTIME* birthday) {
    if (birthday == nullptr) return E_INVALIDARG;
    m_birthday = CZanTDateTime(*birthday);
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetBirthday(SYSTEMTIME* outBirthday) {
    return Deliver(outBirthday, m_birthday.m_time);
}

HRESULT CZanDB4IndividualDBRecord::SetAttributes(uint32_t attributes) {
    m_attributes = attributes;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetAttributes(uint32_t* outAttributes) {
    return Deliver(outAttributes, m_attributes);
}

HRESULT CZanDB4IndividualDBRecord::SetRecommend(uint32_t recommend) {
    m_recommend = recommend;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::GetRecommend(uint32_t* outRecommend) { return Deliver(outRecommend, m_recommend); }

void CZanDB4IndividualDBRecord::LoadGroups() {
    if (m_groupsLoaded != 0) return;
    zandb4::LockedCall(m_fileBasicDB, 0, [&](CSQLiteFileBasicDB& store) {
        IndividualRows(store).LoadIndividualGroupIDs(m_groupIds, m_id, m_individualType);
        return 0;
    });
    // Loaded whatever the read answered: a failed read is not tried again.
    m_groupsLoaded = 1;
}

HRESULT CZanDB4IndividualDBRecord::AddGroup(uint64_t groupId) {
    LoadGroups();
    m_groupIds.insert(groupId);
    m_groupsChanged = 1;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::RemoveGroup(uint64_t groupId) {
    LoadGroups();
    m_groupIds.erase(groupId);
    m_groupsChanged = 1;
    return S_OK;
}

HRESULT CZanDB4IndividualDBRecord::ClearGroups() {
    m_groupIds.clear();
    m_groupsLoaded = 1;
    m_groupsChanged = 1;
    return S_OK;
}

uint32_t CZanDB4IndividualDBRecord::GetGroupCount() {
    LoadGroups();
    return static_cast<uint32_t>(m_groupIds.size());
}

HRESULT CZanDB4IndividualDBRecord::GetGroups(CArray<uint64_t>* outGroupIds) {
    if (outGroupIds == nullptr) return E_INVALIDARG;
    LoadGroups();
    outGroupIds->RemoveAll();
    for (uint64_t groupId : m_groupIds) outGroupIds->Add(groupId);
    return m_groupIds.empty() ? E_FAIL : S_OK;
}

BOOL CZanDB4IndividualDBRecord::IsGroupSetChanged() { return m_groupsChanged; }

// Counted live from the face table each time; the file_count read with the
// row is not used.
HRESULT CZanDB4IndividualDBRecord::GetFileCount(uint32_t* outFileCount) {
    if (outFileCount == nullptr) return E_INVALIDARG;
    return zandb4::LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) {
        *outFileCount = store.CountFilesOfIndividual(m_id, m_individualType);
        return S_OK;
    });
}

HRESULT CZanDB4IndividualDBRecord::SetFileCount(uint32_t fileCount) {
    m_fileCount = fileCount;
    return S_OK;
}
