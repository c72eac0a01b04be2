// CSQLiteGPSLogDB: the rows of gps_log_file, one per imported track log.
#include "gps/gps_log_db.h"
#include "gps/gps_log_file_record.h"
#include "gps/gps_log_tables.h"
#include "storage/result_codes.h"

namespace tables = gps_log_tables;
using zandb4::Statement;

namespace {

// The columns of a log as its record gives them.
struct LogFileValues {
    CZanTString path;
    CZanTString name;
    SYSTEMTIME start{};
    SYSTEMTIME end{};
    SYSTEMTIME startUTC{};
    SYSTEMTIME endUTC{};
    uint32_t attributes = 0;
    uint32_t state = 0;
    CZanTString locationName;
};

// Reads the record; false when its path or name is empty, which no stored
// log may have. The other values go in as they come, unset ones as 0 and
// empty.
bool ReadValues(IZanDB4GPSLogFileRecord& record, LogFileValues& values) {
    if (record.GetPath(values.path) != S_OK || record.GetName(values.name) != S_OK) return false;
    record.GetDates(&values.start, &values.end);
    record.GetDatesUTC(&values.startUTC, &values.endUTC);
    record.GetAttributes(&values.attributes);
    record.GetState(&values.state);
    record.GetLocationName(values.locationName);
    return true;
}

int64_t Packed(const SYSTEMTIME& moment) {
    return CZanTDateTime(moment).GetPacked();
}

// Binds the nine columns after the id, in the order both the insert and the
// update name them, from first on.
void BindValues(Statement& statement, int first, const LogFileValues& values) {
    statement.BindText(first, values.path);
    statement.BindText(first + 1, values.name);
    statement.BindInt64(first + 2, Packed(values.start));
    statement.BindInt64(first + 3, Packed(values.end));
    statement.BindInt(first + 4, static_cast<int32_t>(values.attributes));
    statement.BindInt(first + 5, static_cast<int32_t>(values.state));
    statement.BindInt64(first + 6, Packed(values.startUTC));
    statement.BindInt64(first + 7, Packed(values.endUTC));
    statement.BindText(first + 8, values.locationName);
}

bool LogFileExists(sqlite3* db, uint64_t id) {
    Statement select(db, tables::kSelectLogFileId);
    if (!select.IsPrepared()) return false;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW;
}

}  // namespace

HRESULT CSQLiteGPSLogDB::AddLogFile(IZanDB4GPSLogFileRecord* record, uint64_t* outId) {
    if (record == nullptr) return E_INVALIDARG;
    if (outId != nullptr) *outId = 0;
    LogFileValues values;
    if (!ReadValues(*record, values)) return E_INVALIDARG;

    uint64_t id = 0;
    HRESULT drawn = NewID(tables::kLogFileIdType, &id);
    if (drawn != S_OK) return drawn;
    BeginTransaction();
    int step = SQLITE_MISUSE;
    {
        Statement insert(m_db, tables::kInsertLogFile);
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(id));
            BindValues(insert, 2, values);
            // A path stored already breaks gps_log_file_uidx here, in a file
            // that has the index.
            step = insert.Step();
        }
    }
    if (step != SQLITE_DONE) {
        PoolID(id, tables::kLogFileIdType);
        return E_FAIL;
    }
    if (outId != nullptr) *outId = id;
    // Only a record of the library's own class can take the id.
    if (auto* own = dynamic_cast<CZanDB4GPSLogFileRecord*>(record)) own->SetStoredID(id);
    return S_OK;
}

HRESULT CSQLiteGPSLogDB::UpdateLogFile(uint64_t id, IZanDB4GPSLogFileRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    LogFileValues values;
    if (!ReadValues(*record, values)) return E_INVALIDARG;
    if (!LogFileExists(m_db, id)) return E_FAIL;
    BeginTransaction();
    Statement update(m_db, tables::kUpdateLogFile);
    if (update.IsPrepared()) {
        BindValues(update, 1, values);
        update.BindInt64(10, static_cast<int64_t>(id));
    }
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteGPSLogDB::DeleteLogFile(uint64_t id) {
    BeginTransaction();
    {
        Statement remove(m_db, tables::kDeleteLogFile);
        if (remove.IsPrepared()) remove.BindInt64(1, static_cast<int64_t>(id));
        if (zandb4::StepToDone(remove) != S_OK) return E_FAIL;
    }
    // The id goes back even when no row had it: a delete of no row is done.
    PoolID(id, tables::kLogFileIdType);
    {
        // Every point's id goes back to the pool on its own, before the
        // points go.
        Statement points(m_db, tables::kSelectLogIdsOfFile);
        if (points.IsPrepared()) {
            points.BindInt64(1, static_cast<int64_t>(id));
            while (points.Step() == SQLITE_ROW)
                PoolID(static_cast<uint64_t>(points.ColumnInt64(0)), tables::kLogIdType);
        }
    }
    Statement removePoints(m_db, tables::kDeleteLogDataOfFile);
    if (removePoints.IsPrepared()) removePoints.BindInt64(1, static_cast<int64_t>(id));
    return zandb4::StepToDone(removePoints);
}

HRESULT CSQLiteGPSLogDB::GetLogFile(uint64_t id, IZanDB4GPSLogFileRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    Statement select(m_db, tables::kSelectLogFile);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadLogFileRow(select, outRecord) == S_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteGPSLogDB::GetAllLogFiles(CList<IZanDB4GPSLogFileRecord*>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    Statement select(m_db, tables::kSelectAllLogFiles);
    return AppendLogFileRows(select, *outList);
}
