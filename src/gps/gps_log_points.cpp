// CSQLiteGPSLogDB: the rows of gps_log_data, one per track point.
#include "gps/gps_log_db.h"
#include "gps/gps_log_db_record.h"
#include "gps/gps_log_tables.h"
#include "storage/result_codes.h"

namespace tables = gps_log_tables;
using zandb4::Statement;

namespace {

// The columns of a point as its record gives them.
struct LogDataValues {
    uint64_t logFileId = 0;
    SYSTEMTIME date{};
    SYSTEMTIME dateUTC{};
    float latitude = 0.0f;
    float longitude = 0.0f;
};

LogDataValues ReadValues(IZanDB4GPSLogDBRecord& record) {
    LogDataValues values;
    record.GetLogFileID(&values.logFileId);
    record.GetDate(&values.date);
    record.GetLocation(&values.latitude, &values.longitude);
    record.GetDateUTC(&values.dateUTC);
    return values;
}

int64_t Packed(const SYSTEMTIME& moment) {
    return CZanTDateTime(moment).GetPacked();
}

}  // namespace

HRESULT CSQLiteGPSLogDB::AddLogData(IZanDB4GPSLogDBRecord* record, uint64_t* outId) {
    if (record == nullptr) return E_INVALIDARG;
    if (outId != nullptr) *outId = 0;
    const LogDataValues values = ReadValues(*record);
    BeginTransaction();
    uint64_t id = 0;
    HRESULT drawn = NewID(tables::kLogIdType, &id);
    if (drawn != S_OK) return drawn;
    int step = SQLITE_MISUSE;
    {
        Statement insert(m_db, tables::kInsertLogData);
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(id));
            insert.BindInt64(2, static_cast<int64_t>(values.logFileId));
            insert.BindInt64(3, Packed(values.date));
            insert.BindDouble(4, values.latitude);
            insert.BindDouble(5, values.longitude);
            insert.BindInt64(6, Packed(values.dateUTC));
            // A point of the same log, date and position breaks
            // gps_log_data_uidx here, in a file that has the index. Only this
            // statement is undone; the transaction goes on. A caller that
            // imports a log again takes this for a point already there.
            step = insert.Step();
        }
    }
    if (step != SQLITE_DONE) {
        PoolID(id, tables::kLogIdType);
        return E_FAIL;
    }
    if (outId != nullptr) *outId = id;
    // Only a record of the library's own class can take the id.
    if (auto* own = dynamic_cast<CZanDB4GPSLogDBRecord*>(record)) own->SetStoredID(id);
    return S_OK;
}

HRESULT CSQLiteGPSLogDB::UpdateLogData(uint64_t id, IZanDB4GPSLogDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    const LogDataValues values = ReadValues(*record);
    {
        Statement select(m_db, tables::kSelectLogDataId);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindInt64(1, static_cast<int64_t>(id));
        if (select.Step() != SQLITE_ROW) return E_FAIL;
    }
    BeginTransaction();
    Statement update(m_db, tables::kUpdateLogData);
    if (update.IsPrepared()) {
        update.BindInt64(1, static_cast<int64_t>(values.logFileId));
        update.BindInt64(2, Packed(values.date));
        update.BindDouble(3, values.latitude);
        update.BindDouble(4, values.longitude);
        update.BindInt64(5, Packed(values.dateUTC));
        update.BindInt64(6, static_cast<int64_t>(id));
    }
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteGPSLogDB::GetLogData(uint64_t id, IZanDB4GPSLogDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    Statement select(m_db, tables::kSelectLogData);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadLogDataRow(select, outRecord) == S_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteGPSLogDB::GetAllLogData(CList<IZanDB4GPSLogDBRecord*>* outList, uint32_t joined) {
    if (outList == nullptr) return E_INVALIDARG;
    // Only the flag's low byte counts.
    const bool inTrackOrder = (joined & 0xFFu) != 0;
    Statement select(m_db, inTrackOrder ? tables::kSelectAllLogDataJoined : tables::kSelectAllLogData);
    return AppendLogDataRows(select, *outList);
}

HRESULT CSQLiteGPSLogDB::GetLogDataOfFile(uint64_t logFileId, CList<IZanDB4GPSLogDBRecord*>* outList) {
    if (outList == nullptr || logFileId == 0) return E_INVALIDARG;
    Statement select(m_db, tables::kSelectLogDataOfFile);
    if (select.IsPrepared()) select.BindInt64(1, static_cast<int64_t>(logFileId));
    return AppendLogDataRows(select, *outList);
}
