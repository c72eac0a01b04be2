// CSQLiteAccessLogDB: histories, sequences of action item numbers kept one
// per moment. Only a history of at least three items outlives its
// EndHistory.
#include "logs/access_log_db.h"
#include "logs/access_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = access_log_tables;
using zandb4::Statement;

HRESULT CSQLiteAccessLogDB::BeginHistory(int64_t* outKey, const CZanTDateTime& date) {
    BeginTransaction();
    // The key is handed out before the insert: a second history at the same
    // moment fails on the unique index, and the caller still learns which
    // moment that was.
    const int64_t key = date.GetPacked();
    *outKey = key;
    Statement insert(m_db, tables::kInsertHistory);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, key);
    insert.BindInt64(2, 0);
    return zandb4::StepToDone(insert);
}

HRESULT CSQLiteAccessLogDB::AddHistoryItem(int64_t key, int32_t item) {
    uint32_t count = 0;
    CZanTString text;
    // An item for a history that is not there would be an update of no row.
    if (GetHistory(key, &count, text) != S_OK) return E_FAIL;
    if (text.IsEmpty())
        text.Format(u"%d", item);
    else
        text.AppendFormat(u"/%d", item);
    BeginTransaction();
    Statement update(m_db, tables::kUpdateHistory);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, static_cast<int64_t>(count + 1));
    update.BindText(2, text);
    update.BindInt64(3, key);
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAccessLogDB::GetHistory(int64_t key, uint32_t* outCount, CZanTString& outText) {
    Statement select(m_db, tables::kSelectHistory);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, key);
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    *outCount = static_cast<uint32_t>(select.ColumnInt64(tables::kHistoryCount));
    // A history without items has a NULL text, read as empty.
    outText = select.ColumnText(tables::kHistoryText);
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::EndHistory(int64_t key) {
    uint32_t count = 0;
    CZanTString text;
    GetHistory(key, &count, text);
    // Too short to tell anything: it goes. The outcome is not reported.
    if (count < tables::kItemsOfAKeptHistory) DeleteHistory(key);
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::GetHistoryCount(uint32_t* outCount) {
    Statement count(m_db, tables::kCountHistories);
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return E_FAIL;
    *outCount = static_cast<uint32_t>(count.ColumnInt64(0));
    return zandb4::ResultOf(count.Finalize());
}

HRESULT CSQLiteAccessLogDB::DeleteHistory(int64_t key) {
    BeginTransaction();
    Statement remove(m_db, tables::kDeleteHistory);
    if (remove.IsPrepared()) remove.BindInt64(1, key);
    return zandb4::StepToDone(remove);
}

HRESULT CSQLiteAccessLogDB::GetHistories(uint32_t max, CZanTArray<CZanTString>& outHistories) {
    Statement select(m_db, tables::kSelectKeptHistories);
    if (!select.IsPrepared()) return E_FAIL;
    bool anyRow = false;
    uint32_t gathered = 0;
    while (select.Step() == SQLITE_ROW) {
        anyRow = true;
        if (gathered >= max) break;
        outHistories.Add(select.ColumnText(tables::kHistoryText));
        ++gathered;
        if (gathered >= max) break;
    }
    return anyRow ? S_OK : E_FAIL;
}
