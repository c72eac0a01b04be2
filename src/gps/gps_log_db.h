// CSQLiteGPSLogDB: the store of "Location.db", the GPS track logs the
// application imported: one row per log file in gps_log_file, one per track
// point in gps_log_data (gps_log_tables.h), every moment kept in local time
// and in UTC. The ids of log files (type 0) and of points (type 1) come from
// this file's own counter and pool.
//
// Beyond the base operations it has the schema, the upgrade from the old
// layout of version 1000 (no UTC columns, no state, no location name), and
// RevertPartialUpgrade, which takes a half-upgraded file back to that layout
// so that the upgrade always starts from one known place. Then the
// operations on rows, which the GPS log manager runs under m_lock and the
// library's upgrade runs without it.
//
// Records: the store reads rows into records of its own classes, each with
// one reference for the caller, and sets the id of a record it added when the
// record is of the library's class (an application's own implementation of
// the interface has no way in for the id, and keeps its own).
//
// Lists: the list operations append to the caller's CList, never emptying
// it, and answer S_OK when the list holds anything at the end, E_FAIL when
// it is empty, E_INVALIDARG for a null list. A row that cannot be read into
// a record is left out.
//
// Threading: none of its own; callers hold m_lock.
#pragma once

#include <cstdint>

#include "storage/sqlite_db_base.h"
#include "storage/statement.h"
#include "zandb4/containers.h"
#include "zandb4/gps.h"

class CSQLiteGPSLogDB : public CSQLiteDBBase {
public:
    // The base's tables, then gps_log_file and gps_log_data with their three
    // indexes. E_FAIL when any statement fails.
    HRESULT CreateTables() override;
    // From a stored version below 1100: adds date_utc to gps_log_data when
    // it is missing (that outcome is not looked at); then, when gps_log_file
    // has no start_date_utc, adds state, start_date_utc, end_date_utc and
    // log_location_name, answering the last one's outcome. A gps_log_file
    // that has start_date_utc is taken to have all four: S_OK, or E_FAIL if
    // that probe did not finalize cleanly. From 1100 on: nothing, S_OK. The
    // version itself is the caller's to write.
    HRESULT UpgradeTables() override;

    // When any of the five later columns is missing, rebuilds both tables in
    // the old layout, copying the older columns (every index is lost, and
    // not made again), sets the version to 1000, commits and compacts: true.
    // With all five present: false, and nothing is touched, not even a
    // transaction. A table whose rebuild could not start (its rename failed)
    // stays as it was; the store commits and compacts all the same, and the
    // answer is whether either table was rebuilt.
    virtual bool RevertPartialUpgrade();

    // A new log under a new id of type 0, written to *outId (may be null,
    // cleared first) and set on the record. E_INVALIDARG for a null record,
    // an empty path or name. A failed insert (a path stored already, while
    // the file keeps paths unique) is E_FAIL and the id goes back to the pool.
    HRESULT AddLogFile(IZanDB4GPSLogFileRecord* record, uint64_t* outId);
    // Rewrites every column of log id from the record. E_INVALIDARG as for
    // AddLogFile; E_FAIL for an unknown id, which changes nothing.
    HRESULT UpdateLogFile(uint64_t id, IZanDB4GPSLogFileRecord* record);
    // Deletes the log, gives its id back, gives back the id of each of its
    // points and deletes them. E_FAIL when the log's delete failed (the
    // points then stay) or the points' delete failed. An unknown id deletes
    // nothing and is pooled all the same.
    HRESULT DeleteLogFile(uint64_t id);
    // *outRecord is cleared; a new record of the log, or E_FAIL.
    // E_INVALIDARG for a null out.
    HRESULT GetLogFile(uint64_t id, IZanDB4GPSLogFileRecord** outRecord);
    // Every log, in the table's order.
    HRESULT GetAllLogFiles(CList<IZanDB4GPSLogFileRecord*>* outList);

    // A new point under a new id of type 1, written to *outId (may be null,
    // cleared first) and set on the record. The log file is not checked.
    // E_INVALIDARG for a null record. A failed insert (a second point of one
    // log with equal date and position, while the file keeps points unique)
    // is E_FAIL and the id goes back to the pool; the transaction goes on.
    HRESULT AddLogData(IZanDB4GPSLogDBRecord* record, uint64_t* outId);
    // Rewrites point id from the record. E_INVALIDARG for a null record;
    // E_FAIL for an unknown id.
    HRESULT UpdateLogData(uint64_t id, IZanDB4GPSLogDBRecord* record);
    // As GetLogFile, for a point.
    HRESULT GetLogData(uint64_t id, IZanDB4GPSLogDBRecord** outRecord);
    // Every point. Only the low byte of joined counts: set, in track order
    // (logs by UTC start, a point of an unknown log first, then by log id,
    // points by local date); clear, by local date alone.
    HRESULT GetAllLogData(CList<IZanDB4GPSLogDBRecord*>* outList, uint32_t joined);
    // The points of one log by local date. E_INVALIDARG also for id 0.
    HRESULT GetLogDataOfFile(uint64_t logFileId, CList<IZanDB4GPSLogDBRecord*>* outList);

    // Row readers, on a statement stepped onto a row of "SELECT *" of the
    // table (or of a selection of the same columns in the same order). Each
    // makes a record of the library's class with one reference for the
    // caller. A column that an upgrade added and that holds NULL reads as 0,
    // the empty date or the empty string.
    static HRESULT ReadLogFileRow(const zandb4::Statement& row, IZanDB4GPSLogFileRecord** outRecord);
    static HRESULT ReadLogDataRow(const zandb4::Statement& row, IZanDB4GPSLogDBRecord** outRecord);
    // Steps statement to its end and appends a record for each row it gives
    // to list: S_OK when the list is not empty at the end, else E_FAIL. A
    // statement that did not prepare adds nothing.
    static HRESULT AppendLogFileRows(zandb4::Statement& statement, CList<IZanDB4GPSLogFileRecord*>& list);
    static HRESULT AppendLogDataRows(zandb4::Statement& statement, CList<IZanDB4GPSLogDBRecord*>& list);
};
