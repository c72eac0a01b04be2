// CZanDB4GPSLogDBMgr: the application's door to "Location.db". It borrows
// the GPS log store from the registry and holds the store's lock for the
// whole of each operation, Commit and Rollback included; changes stay in the
// store's open transaction until Commit, and Rollback drops them by opening
// the store again. A manager made while the library had no GPS log store
// answers E_FAIL to every operation whose arguments pass their checks.
//
// Records go out with one reference for the caller, through out-pointers or
// appended to the caller's list, which is never emptied first. The list
// operations answer S_OK when the list holds anything at the end, E_FAIL
// when it is empty, E_INVALIDARG for a null list.
//
// Arguments: a null record, out-pointer, date, name or path is E_INVALIDARG.
// A null count pointer is E_INVALIDARG too, rather than a write through it.
#pragma once

#include "frame/com_object.h"
#include "zandb4/gps.h"
#include "zandb4/identifiers.h"

class CSQLiteGPSLogDB;

class CZanDB4GPSLogDBMgr : public zandb4::ComObject<IZanDB4GPSLogDBMgr, IID_IZanDB4GPSLogDBMgr> {
public:
    explicit CZanDB4GPSLogDBMgr(CSQLiteGPSLogDB* gpsLogDB) : m_gpsLogDB(gpsLogDB) {}

    HRESULT AddLogFile(IZanDB4GPSLogFileRecord* record, uint64_t* outId) override;
    HRESULT UpdateLogFile(uint64_t id, IZanDB4GPSLogFileRecord* record) override;
    HRESULT DeleteLogFile(uint64_t id) override;
    HRESULT GetLogFile(uint64_t id, IZanDB4GPSLogFileRecord** outRecord) override;
    HRESULT FindLogFilesByName(const WCHAR* name, CList<IZanDB4GPSLogFileRecord*>* outList) override;
    HRESULT FindLogFilesByPath(const WCHAR* path, CList<IZanDB4GPSLogFileRecord*>* outList) override;
    HRESULT FindLogFilesByAttributes(uint32_t attributes, CList<IZanDB4GPSLogFileRecord*>* outList) override;
    HRESULT AddLogData(IZanDB4GPSLogDBRecord* record, uint64_t* outId) override;
    HRESULT UpdateLogData(uint64_t id, IZanDB4GPSLogDBRecord* record) override;
    // Deletes the point and, when the delete ran to its end, gives the id to
    // the pool: an unknown id is S_OK and pooled, as a delete of no row is
    // done all the same.
    HRESULT DeleteLogData(uint64_t id) override;
    HRESULT GetLogData(uint64_t id, IZanDB4GPSLogDBRecord** outRecord) override;
    HRESULT GetAllLogData(CList<IZanDB4GPSLogDBRecord*>* outList, bool joined) override;
    // Every point of each log whose UTC span overlaps start..end: the log's
    // end at or after start and its start at or before end, tested as two
    // comparisons, so a range given backwards matches the logs that span
    // the gap between its two ends. A log with no UTC dates never matches.
    HRESULT GetLogDataInRange(const SYSTEMTIME* start, const SYSTEMTIME* end,
                              CList<IZanDB4GPSLogDBRecord*>* outList) override;
    HRESULT GetLogDataOfFile(uint64_t logFileId, CList<IZanDB4GPSLogDBRecord*>* outList) override;
    HRESULT GetLogDataCount(uint32_t* outCount) override;
    HRESULT GetLogFileCount(uint32_t* outCount) override;
    HRESULT Commit() override;
    HRESULT Rollback() override;

private:
    // Runs operation under the store's lock; E_FAIL without a store.
    template <class Operation>
    HRESULT Locked(Operation&& operation);

    CSQLiteGPSLogDB* m_gpsLogDB;
};
