// CZanDB4IndividualDBRecord: one person or one pet, a row of person_table or
// pet_table, and the set of user groups the individual belongs to. The
// individual type (1 person, 2 pet) is a plain field; the store's operations
// choose their table by it.
//
// A detached value: changing it changes nothing on disk until a manager
// writes it. Two things read through to the catalogue, under its lock: the
// group set, loaded once on first use (a failed load is not tried again),
// and GetFileCount, which counts the live faces every time.
//
// The group set is one-way: it can be read and changed here, but nothing
// writes it back.
#pragma once

#include <set>

#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CSQLiteFileBasicDB;

class CZanDB4IndividualDBRecord
    : public zandb4::ComObject<IZanDB4IndividualDBRecord, IID_IZanDB4IndividualDBRecord> {
public:
    // fileBasicDB is borrowed: the catalogue open when the record was made,
    // or null, in which case the group set loads empty and GetFileCount
    // answers E_FAIL.
    explicit CZanDB4IndividualDBRecord(CSQLiteFileBasicDB* fileBasicDB) : m_fileBasicDB(fileBasicDB) {}

    HRESULT SetID(uint64_t id) override;
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetIndividualType(uint32_t type) override;
    HRESULT GetIndividualType(uint32_t* outType) override;
    HRESULT SetName(const CZanTString& name) override;
    HRESULT GetName(CZanTString& outName) override;
    HRESULT SetEmail(const CZanTString& email) override;
    HRESULT GetEmail(CZanTString& outEmail) override;
    HRESULT SetBirthday(const SYSTEMTIME* birthday) override;
    HRESULT GetBirthday(SYSTEMTIME* outBirthday) override;
    HRESULT SetAttributes(uint32_t attributes) override;
    HRESULT GetAttributes(uint32_t* outAttributes) override;
    HRESULT SetRecommend(uint32_t recommend) override;
    HRESULT GetRecommend(uint32_t* outRecommend) override;
    HRESULT AddGroup(uint64_t groupId) override;
    HRESULT RemoveGroup(uint64_t groupId) override;
    HRESULT ClearGroups() override;
    uint32_t GetGroupCount() override;
    HRESULT GetGroups(CArray<uint64_t>* outGroupIds) override;
    BOOL IsGroupSetChanged() override;
    HRESULT GetFileCount(uint32_t* outFileCount) override;
    HRESULT SetFileCount(uint32_t fileCount) override;

    // The file_count read with the row, which no getter gives back; for
    // tests.
    uint32_t StoredFileCount() const { return m_fileCount; }

private:
    // Reads the group set from the catalogue unless it is loaded already.
    void LoadGroups();

    uint64_t m_id = 0;
    uint32_t m_individualType = 0;
    CZanTString m_name;
    CZanTString m_email;
    CZanTDateTime m_birthday;
    uint32_t m_fileCount = 0;
    uint32_t m_attributes = 0;
    uint32_t m_recommend = 0;
    int32_t m_groupsLoaded = 0;
    int32_t m_groupsChanged = 0;
    std::set<uint64_t> m_groupIds;
    CSQLiteFileBasicDB* m_fileBasicDB;
};
