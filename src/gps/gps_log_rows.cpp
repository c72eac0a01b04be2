// CSQLiteGPSLogDB: rows of gps_log_file and gps_log_data into records, and
// the walk that appends them to a caller's list.
#include "frame/com_ptr.h"
#include "gps/gps_log_db.h"
#include "gps/gps_log_db_record.h"
#include "gps/gps_log_file_record.h"
#include "gps/gps_log_tables.h"

namespace tables = gps_log_tables;
using zandb4::ComPtr;
using zandb4::Statement;

namespace {

// Steps statement to its end, reading each row with read and appending the
// record to list with the reference the reader gave it.
template <class Record>
HRESULT AppendRows(Statement& statement, CList<Record*>& list, HRESULT (*read)(const Statement&, Record**)) {
    if (statement.IsPrepared()) {
        while (statement.Step() == SQLITE_ROW) {
            Record* record = nullptr;
            if (read(statement, &record) != S_OK) continue;
            // Held until the list has it, so that a failed append gives the
            // reference back.
            ComPtr<Record> held = ComPtr<Record>::Adopt(record);
            list.AddTail(held.Get());
            held.Detach();
        }
    }
    return list.IsEmpty() ? E_FAIL : S_OK;
}

}  // namespace

HRESULT CSQLiteGPSLogDB::ReadLogFileRow(const Statement& row, IZanDB4GPSLogFileRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    ComPtr<CZanDB4GPSLogFileRecord> record = ComPtr<CZanDB4GPSLogFileRecord>::Adopt(new CZanDB4GPSLogFileRecord());
    record->SetStoredID(static_cast<uint64_t>(row.ColumnInt64(tables::kLogFileId)));
    record->SetPath(row.ColumnText(tables::kLogFilePath));
    record->SetName(row.ColumnText(tables::kLogFileName));
    const CZanTDateTime start(row.ColumnInt64(tables::kStartDate));
    const CZanTDateTime end(row.ColumnInt64(tables::kEndDate));
    record->SetDates(&start.m_time, &end.m_time);
    record->SetAttributes(static_cast<uint32_t>(row.ColumnInt64(tables::kAttributes)));
    record->SetState(static_cast<uint32_t>(row.ColumnInt64(tables::kState)));
    const CZanTDateTime startUTC(row.ColumnInt64(tables::kStartDateUtc));
    const CZanTDateTime endUTC(row.ColumnInt64(tables::kEndDateUtc));
    record->SetDatesUTC(&startUTC.m_time, &endUTC.m_time);
    record->SetLocationName(row.ColumnText(tables::kLogLocationName));
    *outRecord = record.Detach();
    return S_OK;
}

HRESULT CSQLiteGPSLogDB::ReadLogDataRow(const Statement& row, IZanDB4GPSLogDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    ComPtr<CZanDB4GPSLogDBRecord> record = ComPtr<CZanDB4GPSLogDBRecord>::Adopt(new CZanDB4GPSLogDBRecord());
    record->SetStoredID(static_cast<uint64_t>(row.ColumnInt64(tables::kLogId)));
    record->SetLogFileID(static_cast<uint64_t>(row.ColumnInt64(tables::kLogDataFileId)));
    const CZanTDateTime date(row.ColumnInt64(tables::kDate));
    record->SetDate(&date.m_time);
    // The table keeps doubles; a record carries floats.
    record->SetLocation(static_cast<float>(row.ColumnDouble(tables::kLatitude)),
                        static_cast<float>(row.ColumnDouble(tables::kLongitude)));
    const CZanTDateTime dateUTC(row.ColumnInt64(tables::kDateUtc));
    record->SetDateUTC(&dateUTC.m_time);
    *outRecord = record.Detach();
    return S_OK;
}

HRESULT CSQLiteGPSLogDB::AppendLogFileRows(Statement& statement, CList<IZanDB4GPSLogFileRecord*>& list) {
    return AppendRows(statement, list, &ReadLogFileRow);
}

HRESULT CSQLiteGPSLogDB::AppendLogDataRows(Statement& statement, CList<IZanDB4GPSLogDBRecord*>& list) {
    return AppendRows(statement, list, &ReadLogDataRow);
}
