// CZanDB4MemoryDataMgr: the application's door to "Memory.db". It borrows
// the store from the registry and holds the store's lock for the whole of
// each operation, Commit, Rollback and Vacuum included; changes stay in the
// store's open transaction until Commit. A manager made while the library
// had no memory data store answers E_FAIL (Exists: false) to everything.
//
// Arguments: a null record, null data or a size of 0 is E_INVALIDARG for
// every add and update (an empty blob cannot be stored), and so is a null
// condition or out-pointer, a null list, and a size too large for SQLite to
// bind (above 2^31 - 1 bytes).
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/logs.h"

class CSQLiteMemDB;

class CZanDB4MemoryDataMgr : public zandb4::ComObject<IZanDB4MemoryDataMgr, IID_IZanDB4MemoryDataMgr> {
public:
    explicit CZanDB4MemoryDataMgr(CSQLiteMemDB* memDB) : m_memDB(memDB) {}

    HRESULT AddRecord(IZanDB4MemRecord* record) override;
    HRESULT AddData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size, uint64_t* outId) override;
    HRESULT UpdateDataByID(uint64_t id, const void* data, uint32_t size) override;
    HRESULT UpdateRecord(IZanDB4MemRecord* record) override;
    HRESULT UpdateData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size) override;
    HRESULT DeleteByID(uint64_t id) override;
    HRESULT DeleteData(uint32_t type, const WCHAR* condition) override;
    HRESULT GetRecord(uint32_t type, const WCHAR* condition, IZanDB4MemRecord** outRecord) override;
    HRESULT QueryRecords(uint32_t type, const WCHAR* condition, uint32_t mode,
                         CList<IZanDB4MemRecord*>* outList) override;
    HRESULT ChangeKey(uint32_t oldType, const WCHAR* oldCondition, uint32_t newType,
                      const WCHAR* newCondition) override;
    BOOL Exists(uint32_t type, const WCHAR* condition) override;
    HRESULT DeleteAll() override;
    HRESULT DeleteByType(uint32_t type) override;
    HRESULT Commit() override;
    HRESULT Rollback() override;
    HRESULT Vacuum() override;

private:
    // Runs operation under the store's lock; E_FAIL without a store.
    template <class Operation>
    HRESULT Locked(Operation&& operation);

    CSQLiteMemDB* m_memDB;
};
