// ImportHistoryRows: the import journal's rows to records and back.
#include "albums/import_history_rows.h"

#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "storage/result_codes.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr WCHAR kInsertHistory[] =
    u"INSERT INTO import_history_table (import_date, import_class, import_attribute) VALUES (?,?,?)";
constexpr WCHAR kUpdateHistory[] =
    u"UPDATE import_history_table SET import_attribute=? WHERE import_date=? AND import_class=?";
constexpr WCHAR kSelectNewest[] = u"SELECT * FROM import_history_table ORDER BY import_date DESC";
constexpr WCHAR kSelectOldestFirst[] = u"SELECT * FROM import_history_table ORDER BY import_date";
constexpr WCHAR kDeleteByDate[] = u"DELETE FROM import_history_table WHERE import_date=?";
constexpr WCHAR kDeleteAll[] = u"DELETE FROM import_history_table";

// A record from the current row, made through the factory as every record
// the library builds from a row is. Null when it cannot be made.
ComPtr<IZanDB4ImportDBRecord> ImportRecordFromRow(const Statement& row) {
    ComPtr<IZanDB4ImportDBRecord> record;
    if (zandb4::CreateInstance(IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(record.Receive())) != S_OK)
        return nullptr;
    using namespace import_history_table;
    CZanTDateTime date(row.ColumnInt64(kImportDate));
    if (record->SetDate(&date.m_time) != S_OK ||
        record->SetClass(static_cast<uint32_t>(row.ColumnInt64(kImportClass))) != S_OK ||
        record->SetAttribute(static_cast<uint32_t>(row.ColumnInt64(kImportAttribute))) != S_OK)
        return nullptr;
    return record;
}

}  // namespace

HRESULT ImportHistoryRows::AddImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute) {
    m_store.BeginTransaction();
    Statement insert(m_store.m_db, kInsertHistory);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, importDate);
    insert.BindInt(2, static_cast<int32_t>(importClass));
    insert.BindInt(3, static_cast<int32_t>(attribute));
    if (insert.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(insert.Finalize());
}

HRESULT ImportHistoryRows::UpdateImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute) {
    m_store.BeginTransaction();
    Statement update(m_store.m_db, kUpdateHistory);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt(1, static_cast<int32_t>(attribute));
    update.BindInt64(2, importDate);
    update.BindInt(3, static_cast<int32_t>(importClass));
    if (update.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(update.Finalize());
}

HRESULT ImportHistoryRows::GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord) {
    Statement select(m_store.m_db, kSelectNewest);
    if (select.IsPrepared() && select.Step() == SQLITE_ROW) {
        ComPtr<IZanDB4ImportDBRecord> record = ImportRecordFromRow(select);
        if (record) *outRecord = record.Detach();
    }
    return *outRecord != nullptr ? S_OK : E_FAIL;
}

HRESULT ImportHistoryRows::GetImportHistories(CZanTArray<IZanDB4ImportDBRecord*>& records) {
    Statement select(m_store.m_db, kSelectOldestFirst);
    if (select.IsPrepared()) {
        while (select.Step() == SQLITE_ROW) {
            ComPtr<IZanDB4ImportDBRecord> record = ImportRecordFromRow(select);
            if (!record) break;
            records.Add(record.Detach());
        }
    }
    return records.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT ImportHistoryRows::DeleteImportHistory(int64_t importDate) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, kDeleteByDate);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, importDate);
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}

HRESULT ImportHistoryRows::ClearImportHistory() {
    m_store.BeginTransaction();
    return zandb4::RunStatement(m_store.m_db, kDeleteAll);
}
