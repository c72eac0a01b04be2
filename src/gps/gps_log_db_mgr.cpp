// CZanDB4GPSLogDBMgr: argument checks, the store's lock around each
// operation, and the manager's own statements: the searches for logs, the
// delete of one point, the range query and the two counts.
#include "gps/gps_log_db_mgr.h"

#include "gps/gps_log_db.h"
#include "gps/gps_log_tables.h"
#include "storage/locked_call.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = gps_log_tables;
using zandb4::Statement;

namespace {

// The logs that a statement with one text parameter selects.
HRESULT FindLogFilesByText(CSQLiteGPSLogDB& store, const WCHAR* sql, const WCHAR* text,
                           CList<IZanDB4GPSLogFileRecord*>& list) {
    Statement select(store.m_db, sql);
    if (select.IsPrepared()) select.BindText(1, CZanTString(text));
    return CSQLiteGPSLogDB::AppendLogFileRows(select, list);
}

// The first column of a count statement's row into *outCount. A row that is
// not there leaves the value as it was.
HRESULT ReadCount(CSQLiteGPSLogDB& store, const WCHAR* sql, uint32_t* outCount) {
    Statement count(store.m_db, sql);
    if (!count.IsPrepared()) return E_FAIL;
    if (count.Step() == SQLITE_ROW) *outCount = static_cast<uint32_t>(count.ColumnInt64(0));
    return zandb4::ResultOf(count.Finalize());
}

}  // namespace

template <class Operation>
HRESULT CZanDB4GPSLogDBMgr::Locked(Operation&& operation) {
    return zandb4::LockedCall(m_gpsLogDB, E_FAIL, [&](CSQLiteGPSLogDB& store) { return operation(store); });
}

HRESULT CZanDB4GPSLogDBMgr::AddLogFile(IZanDB4GPSLogFileRecord* record, uint64_t* outId) {
    if (record == nullptr) return E_INVALIDARG;
    if (outId != nullptr) *outId = 0;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.AddLogFile(record, outId); });
}

HRESULT CZanDB4GPSLogDBMgr::UpdateLogFile(uint64_t id, IZanDB4GPSLogFileRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.UpdateLogFile(id, record); });
}

HRESULT CZanDB4GPSLogDBMgr::DeleteLogFile(uint64_t id) {
    return Locked([&](CSQLiteGPSLogDB& store) { return store.DeleteLogFile(id); });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogFile(uint64_t id, IZanDB4GPSLogFileRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.GetLogFile(id, outRecord); });
}

HRESULT CZanDB4GPSLogDBMgr::FindLogFilesByName(const WCHAR* name, CList<IZanDB4GPSLogFileRecord*>* outList) {
    if (name == nullptr || outList == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) {
        return FindLogFilesByText(store, tables::kSelectLogFilesByName, name, *outList);
    });
}

HRESULT CZanDB4GPSLogDBMgr::FindLogFilesByPath(const WCHAR* path, CList<IZanDB4GPSLogFileRecord*>* outList) {
    if (path == nullptr || outList == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) {
        return FindLogFilesByText(store, tables::kSelectLogFilesByPath, path, *outList);
    });
}

HRESULT CZanDB4GPSLogDBMgr::FindLogFilesByAttributes(uint32_t attributes, CList<IZanDB4GPSLogFileRecord*>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) {
        Statement select(store.m_db, tables::kSelectLogFilesByAttributes);
        // Bound as the insert binds it, so that every 32-bit value finds its
        // rows.
        if (select.IsPrepared()) select.BindInt(1, static_cast<int32_t>(attributes));
        return CSQLiteGPSLogDB::AppendLogFileRows(select, *outList);
    });
}

HRESULT CZanDB4GPSLogDBMgr::AddLogData(IZanDB4GPSLogDBRecord* record, uint64_t* outId) {
    if (record == nullptr) return E_INVALIDARG;
    if (outId != nullptr) *outId = 0;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.AddLogData(record, outId); });
}

HRESULT CZanDB4GPSLogDBMgr::UpdateLogData(uint64_t id, IZanDB4GPSLogDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.UpdateLogData(id, record); });
}

HRESULT CZanDB4GPSLogDBMgr::DeleteLogData(uint64_t id) {
    return Locked([&](CSQLiteGPSLogDB& store) {
        store.BeginTransaction();
        Statement remove(store.m_db, tables::kDeleteLogData);
        if (remove.IsPrepared()) remove.BindInt64(1, static_cast<int64_t>(id));
        if (zandb4::StepToDone(remove) != S_OK) return E_FAIL;
        // A delete of no row is done as well, so an id that no point had is
        // pooled too. The dates of the point's log are left as they are.
        store.PoolID(id, tables::kLogIdType);
        return S_OK;
    });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogData(uint64_t id, IZanDB4GPSLogDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.GetLogData(id, outRecord); });
}

HRESULT CZanDB4GPSLogDBMgr::GetAllLogData(CList<IZanDB4GPSLogDBRecord*>* outList, bool joined) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.GetAllLogData(outList, joined ? 1u : 0u); });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogDataInRange(const SYSTEMTIME* start, const SYSTEMTIME* end,
                                              CList<IZanDB4GPSLogDBRecord*>* outList) {
    if (start == nullptr || end == nullptr || outList == nullptr) return E_INVALIDARG;
    // Both moments are taken as UTC, in the stored form.
    const int64_t from = CZanTDateTime(*start).GetPacked();
    const int64_t to = CZanTDateTime(*end).GetPacked();
    return Locked([&](CSQLiteGPSLogDB& store) {
        Statement select(store.m_db, tables::kSelectLogDataInRange);
        if (select.IsPrepared()) {
            select.BindInt64(1, from);
            select.BindInt64(2, to);
        }
        return CSQLiteGPSLogDB::AppendLogDataRows(select, *outList);
    });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogDataOfFile(uint64_t logFileId, CList<IZanDB4GPSLogDBRecord*>* outList) {
    if (outList == nullptr || logFileId == 0) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return store.GetLogDataOfFile(logFileId, outList); });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogDataCount(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return ReadCount(store, tables::kCountLogData, outCount); });
}

HRESULT CZanDB4GPSLogDBMgr::GetLogFileCount(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteGPSLogDB& store) { return ReadCount(store, tables::kCountLogFiles, outCount); });
}

HRESULT CZanDB4GPSLogDBMgr::Commit() {
    return Locked([&](CSQLiteGPSLogDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4GPSLogDBMgr::Rollback() {
    // Closing the connection without a commit drops the open transaction,
    // the ids drawn and pooled in it included.
    return Locked([&](CSQLiteGPSLogDB& store) { return store.Reopen(); });
}
