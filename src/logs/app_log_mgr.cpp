// CZanDB4AppLogDBMgr: argument checks and the lock around the store's
// operations.
#include "logs/app_log_mgr.h"

#include "logs/app_log_db.h"
#include "storage/locked_call.h"

template <class Operation>
HRESULT CZanDB4AppLogDBMgr::Locked(Operation&& operation) {
    return zandb4::LockedCall(m_appLogDB, E_FAIL, [&](CSQLiteAppLogDataDB& store) { return operation(store); });
}

HRESULT CZanDB4AppLogDBMgr::AddCount(uint32_t logID, uint32_t logType, uint32_t count) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.AddCount(logID, logType, count); });
}

HRESULT CZanDB4AppLogDBMgr::MergeCount(uint32_t logID, uint32_t typeBits, uint32_t count) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.MergeCount(logID, typeBits, count); });
}

HRESULT CZanDB4AppLogDBMgr::EnumCounts(ZanDB4AppLogCountCallback callback, void* context, uint32_t logID,
                                       uint32_t logType, uint32_t limit, uint32_t offset) {
    return Locked(
        [&](CSQLiteAppLogDataDB& store) { return store.EnumCounts(callback, context, logID, logType, limit, offset); });
}

HRESULT CZanDB4AppLogDBMgr::GetCount(uint32_t logID, uint32_t logType, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.GetCount(logID, logType, outCount); });
}

HRESULT CZanDB4AppLogDBMgr::AddHistory(IZanAppLogItem* item) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.AddHistory(item); });
}

HRESULT CZanDB4AppLogDBMgr::EnumHistory(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                        uint32_t limit, uint32_t offset) {
    return Locked(
        [&](CSQLiteAppLogDataDB& store) { return store.EnumHistory(callback, context, logID, limit, offset); });
}

HRESULT CZanDB4AppLogDBMgr::DeleteHistory(uint32_t logID) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.DeleteHistory(logID); });
}

HRESULT CZanDB4AppLogDBMgr::SetInformation(IZanAppLogItem* item) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.SetInformation(item); });
}

HRESULT CZanDB4AppLogDBMgr::EnumInformation(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                            uint32_t limit, uint32_t offset) {
    return Locked(
        [&](CSQLiteAppLogDataDB& store) { return store.EnumInformation(callback, context, logID, limit, offset); });
}

HRESULT CZanDB4AppLogDBMgr::DeleteInformation(uint32_t logID) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.DeleteInformation(logID); });
}

HRESULT CZanDB4AppLogDBMgr::SetDeleteOnClose(uint32_t mode) {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.SetDeleteOnClose(mode); });
}

HRESULT CZanDB4AppLogDBMgr::GetFolder(CZanTString& outFolder) {
    // The folder is set once, before the store is opened, and never changes:
    // reading it needs no lock.
    if (m_appLogDB == nullptr) return E_FAIL;
    outFolder = m_appLogDB->m_folder;
    return S_OK;
}

// Kept free in the interface for later use; they touch nothing.
HRESULT CZanDB4AppLogDBMgr::Reserved1() {
    return S_OK;
}
HRESULT CZanDB4AppLogDBMgr::Reserved2() {
    return S_OK;
}
HRESULT CZanDB4AppLogDBMgr::Reserved3() {
    return S_OK;
}

HRESULT CZanDB4AppLogDBMgr::Commit() {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4AppLogDBMgr::Rollback() {
    // Closing the connection without a commit drops the open transaction.
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.Reopen(); });
}

HRESULT CZanDB4AppLogDBMgr::Vacuum() {
    return Locked([&](CSQLiteAppLogDataDB& store) { return store.Vacuum(); });
}
