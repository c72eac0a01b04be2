// GPS track logs: one log file record for each track log the application
// imported, one log data record for each point of a track. Every moment is
// kept twice, in local time and in UTC. The application parses the logs and
// matches shooting dates against them; the manager answers which points
// belong to which log and which logs cover a span of time.
//
// The manager holds the log store's lock for each operation. Records are
// plain reference-counted values with no link to the store; a record returned
// through an out pointer or in a list carries one reference for the caller,
// who releases it. Changes stay in the store's open transaction until Commit.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// One track log file. The id is set only by the store, when the log is added
// or read.
class IZanDB4GPSLogFileRecord : public IUnknown {
public:
    // 0 until stored. E_INVALIDARG for a null out.
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // Path and name of the log file: copied in; copied out with E_FAIL when
    // empty, the empty string being written all the same.
    virtual HRESULT SetPath(const CZanTString& path) = 0;
    virtual HRESULT GetPath(CZanTString& outPath) = 0;
    virtual HRESULT SetName(const CZanTString& name) = 0;
    virtual HRESULT GetName(CZanTString& outName) = 0;
    // First and last point of the log in local time. Either pointer may be
    // null and is then skipped; E_INVALIDARG when both are.
    virtual HRESULT SetDates(const SYSTEMTIME* start, const SYSTEMTIME* end) = 0;
    virtual HRESULT GetDates(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) = 0;
    // The same two moments in UTC, with the same rules.
    virtual HRESULT SetDatesUTC(const SYSTEMTIME* start, const SYSTEMTIME* end) = 0;
    virtual HRESULT GetDatesUTC(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) = 0;
    // The application's attribute word and state value. Setters always answer
    // S_OK; getters E_INVALIDARG for a null out.
    virtual HRESULT SetAttributes(uint32_t attributes) = 0;
    virtual HRESULT GetAttributes(uint32_t* outAttributes) = 0;
    virtual HRESULT SetState(uint32_t state) = 0;
    virtual HRESULT GetState(uint32_t* outState) = 0;
    // Free text naming the place: copied in; copied out with E_FAIL when
    // empty.
    virtual HRESULT SetLocationName(const CZanTString& name) = 0;
    virtual HRESULT GetLocationName(CZanTString& outName) = 0;
};

// One point of a track. The id is set only by the store.
class IZanDB4GPSLogDBRecord : public IUnknown {
public:
    // 0 until stored. E_INVALIDARG for a null out.
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // The owning log file. Set always answers S_OK; get E_INVALIDARG for a
    // null out. The store does not check that the log exists.
    virtual HRESULT SetLogFileID(uint64_t logFileId) = 0;
    virtual HRESULT GetLogFileID(uint64_t* outLogFileId) = 0;
    // Moment of the point in local time and in UTC. E_INVALIDARG for a null
    // pointer.
    virtual HRESULT SetDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetDate(SYSTEMTIME* outDate) = 0;
    virtual HRESULT SetDateUTC(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetDateUTC(SYSTEMTIME* outDate) = 0;
    // Position in degrees. No range test; always S_OK.
    virtual HRESULT SetLocation(float latitude, float longitude) = 0;
    // Either out may be null; E_INVALIDARG when both are.
    virtual HRESULT GetLocation(float* outLatitude, float* outLongitude) = 0;
};

// The track logs and their points. The list operations append to the
// caller's list without emptying it: E_INVALIDARG for a null list, E_FAIL
// when the list is empty at the end, else S_OK.
class IZanDB4GPSLogDBMgr : public IUnknown {
public:
    // Stores the log under a new id, which is set on the record and written
    // to outId (may be null). E_INVALIDARG for a null record or an empty path
    // or name; E_FAIL when the row could not be written (a path already
    // stored, where the file keeps paths unique), and the id is then given
    // back.
    virtual HRESULT AddLogFile(IZanDB4GPSLogFileRecord* record, uint64_t* outId) = 0;
    // Rewrites every column of the log id from the record. E_INVALIDARG for a
    // null record or an empty path or name; E_FAIL for an unknown id.
    virtual HRESULT UpdateLogFile(uint64_t id, IZanDB4GPSLogFileRecord* record) = 0;
    // Deletes the log and all its points, giving back every id. E_FAIL if the
    // log row could not be deleted; its points then stay.
    virtual HRESULT DeleteLogFile(uint64_t id) = 0;
    // E_INVALIDARG for a null out; *outRecord is cleared, E_FAIL when there
    // is no such log.
    virtual HRESULT GetLogFile(uint64_t id, IZanDB4GPSLogFileRecord** outRecord) = 0;
    // The logs of a name, of a path, or with an attribute word equal to the
    // one given, earliest start first.
    virtual HRESULT FindLogFilesByName(const WCHAR* name, CList<IZanDB4GPSLogFileRecord*>* outList) = 0;
    virtual HRESULT FindLogFilesByPath(const WCHAR* path, CList<IZanDB4GPSLogFileRecord*>* outList) = 0;
    virtual HRESULT FindLogFilesByAttributes(uint32_t attributes, CList<IZanDB4GPSLogFileRecord*>* outList) = 0;
    // Stores the point under a new id, set on the record and written to outId
    // (may be null). E_INVALIDARG for a null record; E_FAIL when the row
    // could not be written (a point of equal log, date and position, where
    // the file keeps points unique), and the id is then given back.
    virtual HRESULT AddLogData(IZanDB4GPSLogDBRecord* record, uint64_t* outId) = 0;
    // Rewrites the point id from the record. E_INVALIDARG for a null record;
    // E_FAIL for an unknown id.
    virtual HRESULT UpdateLogData(uint64_t id, IZanDB4GPSLogDBRecord* record) = 0;
    // Deletes one point and gives its id back; an unknown id answers S_OK.
    // The dates of its log are not adjusted.
    virtual HRESULT DeleteLogData(uint64_t id) = 0;
    // E_INVALIDARG for a null out; *outRecord is cleared, E_FAIL when there
    // is no such point.
    virtual HRESULT GetLogData(uint64_t id, IZanDB4GPSLogDBRecord** outRecord) = 0;
    // Every point. With joined true, in track order: logs by UTC start, then
    // by log id, points by local date; otherwise by local date alone.
    virtual HRESULT GetAllLogData(CList<IZanDB4GPSLogDBRecord*>* outList, bool joined) = 0;
    // Every point of every log whose UTC span overlaps start..end (both taken
    // as UTC), in track order; points outside the span come along with their
    // log. E_INVALIDARG for any null argument.
    virtual HRESULT GetLogDataInRange(const SYSTEMTIME* start, const SYSTEMTIME* end,
                                      CList<IZanDB4GPSLogDBRecord*>* outList) = 0;
    // The points of one log by local date. E_INVALIDARG also for id 0.
    virtual HRESULT GetLogDataOfFile(uint64_t logFileId, CList<IZanDB4GPSLogDBRecord*>* outList) = 0;
    // Number of points, of logs. The out must not be null; E_FAIL when the
    // count could not be read.
    virtual HRESULT GetLogDataCount(uint32_t* outCount) = 0;
    virtual HRESULT GetLogFileCount(uint32_t* outCount) = 0;
    // Makes the open changes durable, or drops them.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
};
