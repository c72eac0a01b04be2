// CZanDB4MemoryDataMgr: argument checks and the lock around the memory data
// statements.
#include "logs/memory_data_mgr.h"

#include <climits>

#include "logs/memory_data_db.h"
#include "logs/memory_data_rows.h"
#include "storage/locked_call.h"

namespace {

// Data that can be stored: bytes there, at least one, and few enough for
// SQLite's binding, which takes the size as an int.
bool IsStorableData(const void* data, uint32_t size) {
    return data != nullptr && size != 0 && size <= static_cast<uint32_t>(INT_MAX);
}

}  // namespace

template <class Operation>
HRESULT CZanDB4MemoryDataMgr::Locked(Operation&& operation) {
    return zandb4::LockedCall(m_memDB, E_FAIL, [&](CSQLiteMemDB& store) { return operation(store); });
}

HRESULT CZanDB4MemoryDataMgr::AddRecord(IZanDB4MemRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    const void* data = record->GetData();
    uint32_t size = record->GetDataSize();
    if (!IsStorableData(data, size)) return E_INVALIDARG;
    uint32_t type = 0;
    record->GetType(&type);
    CZanTString condition;
    record->GetCondition(condition);
    return Locked([&](CSQLiteMemDB& store) {
        // Ids start at 1: 0 here means that the insert drew none or did not
        // finalize, and the record keeps its id.
        uint64_t id = 0;
        HRESULT added = MemoryDataRows(store).Insert(type, condition, data, size, &id);
        if (id != 0) record->SetID(id);
        return added;
    });
}

HRESULT CZanDB4MemoryDataMgr::AddData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size,
                                      uint64_t* outId) {
    if (condition == nullptr || !IsStorableData(data, size)) return E_INVALIDARG;
    return Locked(
        [&](CSQLiteMemDB& store) { return MemoryDataRows(store).Insert(type, condition, data, size, outId); });
}

HRESULT CZanDB4MemoryDataMgr::UpdateDataByID(uint64_t id, const void* data, uint32_t size) {
    if (id == 0 || !IsStorableData(data, size)) return E_INVALIDARG;
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).UpdateDataByID(id, data, size); });
}

HRESULT CZanDB4MemoryDataMgr::UpdateRecord(IZanDB4MemRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    uint32_t type = 0;
    record->GetType(&type);
    CZanTString condition;
    record->GetCondition(condition);
    return UpdateData(type, condition.GetString(), record->GetData(), record->GetDataSize());
}

HRESULT CZanDB4MemoryDataMgr::UpdateData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size) {
    if (condition == nullptr || !IsStorableData(data, size)) return E_INVALIDARG;
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).UpdateData(type, condition, data, size); });
}

HRESULT CZanDB4MemoryDataMgr::DeleteByID(uint64_t id) {
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).DeleteByID(id); });
}

HRESULT CZanDB4MemoryDataMgr::DeleteData(uint32_t type, const WCHAR* condition) {
    if (condition == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).DeleteData(type, condition); });
}

HRESULT CZanDB4MemoryDataMgr::GetRecord(uint32_t type, const WCHAR* condition, IZanDB4MemRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    if (condition == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).GetRecord(type, condition, outRecord); });
}

HRESULT CZanDB4MemoryDataMgr::QueryRecords(uint32_t type, const WCHAR* condition, uint32_t mode,
                                           CList<IZanDB4MemRecord*>* outList) {
    if (condition == nullptr || outList == nullptr) return E_INVALIDARG;
    // The list is appended to, not emptied: a mode that finds nothing leaves
    // it as the caller passed it.
    CZanTList<IZanDB4MemRecord*> list(outList);
    return Locked(
        [&](CSQLiteMemDB& store) { return MemoryDataRows(store).QueryRecords(type, condition, mode, list); });
}

HRESULT CZanDB4MemoryDataMgr::ChangeKey(uint32_t oldType, const WCHAR* oldCondition, uint32_t newType,
                                        const WCHAR* newCondition) {
    if (oldCondition == nullptr || newCondition == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteMemDB& store) {
        return MemoryDataRows(store).ChangeKey(oldType, oldCondition, newType, newCondition);
    });
}

BOOL CZanDB4MemoryDataMgr::Exists(uint32_t type, const WCHAR* condition) {
    if (condition == nullptr) return 0;
    return zandb4::LockedCall(m_memDB, BOOL{0}, [&](CSQLiteMemDB& store) -> BOOL {
        return MemoryDataRows(store).Exists(type, condition) ? 1 : 0;
    });
}

HRESULT CZanDB4MemoryDataMgr::DeleteAll() {
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).DeleteAll(); });
}

HRESULT CZanDB4MemoryDataMgr::DeleteByType(uint32_t type) {
    return Locked([&](CSQLiteMemDB& store) { return MemoryDataRows(store).DeleteByType(type); });
}

HRESULT CZanDB4MemoryDataMgr::Commit() {
    return Locked([&](CSQLiteMemDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4MemoryDataMgr::Rollback() {
    // Closing the connection without a commit drops the open transaction.
    return Locked([&](CSQLiteMemDB& store) { return store.Reopen(); });
}

HRESULT CZanDB4MemoryDataMgr::Vacuum() {
    return Locked([&](CSQLiteMemDB& store) { return store.Vacuum(); });
}
