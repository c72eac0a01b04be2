// CZanDB4ImportMgr: argument checks and the lock around the catalogue's
// import-journal statements.
#include "albums/import_mgr.h"

#include <utility>

#include "albums/import_history_rows.h"
#include "catalogue/file_basic_db.h"
#include "storage/locked_call.h"

namespace {

// The stored form of a record's date.
int64_t PackedDateOf(IZanDB4ImportDBRecord* record) {
    SYSTEMTIME date{};
    record->GetDate(&date);
    return CZanTDateTime(date).GetPacked();
}

}  // namespace

template <class Operation>
HRESULT CZanDB4ImportMgr::Locked(Operation&& operation) {
    return zandb4::LockedCall(m_fileBasicDB, E_FAIL, std::forward<Operation>(operation));
}

HRESULT CZanDB4ImportMgr::AddImportHistory(IZanDB4ImportDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteFileBasicDB& store) {
        uint32_t importClass = 0;
        uint32_t attribute = 0;
        record->GetClass(&importClass);
        record->GetAttribute(&attribute);
        return ImportHistoryRows(store).AddImportHistory(PackedDateOf(record), importClass, attribute);
    });
}

HRESULT CZanDB4ImportMgr::UpdateImportHistory(IZanDB4ImportDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteFileBasicDB& store) {
        uint32_t importClass = 0;
        uint32_t attribute = 0;
        record->GetClass(&importClass);
        record->GetAttribute(&attribute);
        return ImportHistoryRows(store).UpdateImportHistory(PackedDateOf(record), importClass, attribute);
    });
}

HRESULT CZanDB4ImportMgr::GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteFileBasicDB& store) { return ImportHistoryRows(store).GetLatestImportHistory(outRecord); });
}

HRESULT CZanDB4ImportMgr::GetImportHistories(CArray<IZanDB4ImportDBRecord*>* outRecords) {
    if (outRecords == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteFileBasicDB& store) {
        // Rows go behind what the caller's array holds already.
        CZanTArray<IZanDB4ImportDBRecord*> records(outRecords);
        return ImportHistoryRows(store).GetImportHistories(records);
    });
}

HRESULT CZanDB4ImportMgr::DeleteImportHistory(IZanDB4ImportDBRecord* record) {
    // Found by date alone, so that every class of that date goes together.
    if (record == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteFileBasicDB& store) { return ImportHistoryRows(store).DeleteImportHistory(PackedDateOf(record)); });
}

HRESULT CZanDB4ImportMgr::ClearImportHistory() {
    return Locked([&](CSQLiteFileBasicDB& store) { return ImportHistoryRows(store).ClearImportHistory(); });
}

HRESULT CZanDB4ImportMgr::Commit() {
    return Locked([&](CSQLiteFileBasicDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4ImportMgr::Rollback() {
    return Locked([&](CSQLiteFileBasicDB& store) { return store.Reopen(); });
}
