// MemoryDataRows: the statements on memory_data, over the connection of a
// "Memory.db" store. Made on the stack for a call: it borrows the store and
// holds nothing.
//
// The caller holds the store's lock and has checked what the manager
// documents (null records, data and outs). Writers open the store's
// transaction; nothing commits until the store's Commit. No id is ever given
// back to the pool: ids used up by failures and deletes are gone.
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/logs.h"

class MemoryDataRows {
public:
    explicit MemoryDataRows(CSQLiteDBBase& store) : m_store(store) {}

    // A new row under a new id. E_FAIL when the key is stored already (the
    // unique index refuses it) or a statement fails. *outId gets the id when
    // the insert's finalize succeeded, whatever its step answered; nothing is
    // written to it otherwise. outId may be null.
    HRESULT Insert(uint32_t type, const CZanTString& condition, const void* data, uint32_t size, uint64_t* outId);
    // Replaces the data of the row id; E_FAIL when there is no such row.
    HRESULT UpdateDataByID(uint64_t id, const void* data, uint32_t size);
    // Replaces the data of the key; E_FAIL when the key is not stored.
    HRESULT UpdateData(uint32_t type, const CZanTString& condition, const void* data, uint32_t size);
    // Deleting what is not there is S_OK.
    HRESULT DeleteByID(uint64_t id);
    HRESULT DeleteData(uint32_t type, const CZanTString& condition);
    HRESULT DeleteByType(uint32_t type);
    HRESULT DeleteAll();
    // *outRecord holds a new record of the key, one reference for the caller;
    // E_FAIL when the key is not stored.
    HRESULT GetRecord(uint32_t type, const CZanTString& condition, IZanDB4MemRecord** outRecord);
    // Mode 1: the key's statement, stepped twice before rows are taken, so
    // that the one row LIMIT 1 allows is passed over: S_OK, nothing added.
    // Mode 2: a statement that does not prepare: E_FAIL. Any other mode runs
    // nothing: S_OK. Records taken are appended with one reference each.
    HRESULT QueryRecords(uint32_t type, const CZanTString& condition, uint32_t mode, CZanTList<IZanDB4MemRecord*>& list);
    // Moves the old key's entry to the new key after deleting what stands
    // under the new key. S_FALSE when the old key is not stored. With equal
    // keys the delete takes the entry itself, and the id lookup then fails:
    // E_FAIL, with the entry gone in the open transaction.
    HRESULT ChangeKey(uint32_t oldType, const CZanTString& oldCondition, uint32_t newType,
                      const CZanTString& newCondition);
    // Whether the key has a row; false also when the statement fails.
    bool Exists(uint32_t type, const CZanTString& condition);

private:
    CSQLiteDBBase& m_store;
};
