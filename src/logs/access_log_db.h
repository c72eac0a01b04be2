// CSQLiteAccessLogDB: the store of "UserLog.db", the application's usage
// statistics: per day and kind of event a counter or a bit set, distinct
// strings per kind, launches per day, histories of action item numbers and
// a total per edit parameter (access_log_tables.h). The library gives the
// kinds no meaning, except 267, whose older values the upgrade from a
// version below 1200 zeroes.
//
// Its operations carry the names of IZanDB4AccessLogDBMgr's and stand in
// the same order, then the four of its own. They take dates as given: the
// manager turns an absent date into the current moment in UTC. Out-pointers
// and arrays are the caller's and must be there (the manager checks them).
//
// Threading: as every store, none of its own; CZanDB4AccessLogDBMgr holds
// m_lock around each operation, and EnumDailyValues' callback runs under it.
#pragma once

#include <cstdint>

#include "storage/sqlite_db_base.h"
#include "zandb4/logs.h"

class CSQLiteAccessLogDB : public CSQLiteDBBase {
public:
    // The kind whose daily values the upgrade from below 1200 zeroes.
    static constexpr uint32_t kKindResetByUpgrade = 267;

    // The base's tables, then the five tables with their unique indexes.
    // E_FAIL when any statement fails.
    HRESULT CreateTables() override;
    // From exactly 1200: makes the launch, history and edit parameter tables
    // that are missing. From below 1200: zeroes the values of kind 267 first,
    // then the same. Any other version: nothing, S_OK. Only the last table
    // and index made decide the result.
    HRESULT UpgradeTables() override;

    // ORs bits into the day's value of the kind; writes nothing (and opens no
    // transaction) when the value has all of them already.
    virtual HRESULT SetDailyBits(uint32_t type, uint32_t bits, const CZanTDateTime& date);
    // Adds count to the day's value of the kind, making the row if needed.
    virtual HRESULT AddDailyCount(uint32_t type, uint32_t count, const CZanTDateTime& date);
    // E_FAIL when the day has no value of the kind.
    virtual HRESULT GetDailyValue(uint32_t type, uint32_t* outValue, const CZanTDateTime& date);
    // S_OK also when the kind has the string already.
    virtual HRESULT AddString(const CZanTString& text, uint32_t type);
    // Days of the kind whose value has all of bits set; cleared first, S_OK.
    virtual HRESULT CountDaysWithBits(uint32_t type, uint32_t bits, uint32_t* outCount);
    // The sum of the kind's values (wrapping at 2^32); cleared first, S_OK.
    virtual HRESULT SumDailyValues(uint32_t type, uint32_t* outSum);
    // The kind's strings, appended; S_OK.
    virtual HRESULT GetStrings(CZanTArray<CZanTString>& outStrings, uint32_t type);
    // For each bit, the days of the kind from..to (packed moments, time of
    // day included) that had it set. outCounts is sized to 32 even when the
    // days cannot be read, and then holds zeros with E_FAIL.
    virtual HRESULT GetBitHistogram(uint32_t type, const CZanTDateTime& from, const CZanTDateTime& to,
                                    CZanTArray<uint32_t>& outCounts);
    // Calls callback for each day value of the days of from..to, newest
    // first, until it answers non-zero. E_FAIL when to lies in a month before
    // from, or the values cannot be read.
    virtual HRESULT EnumDailyValues(const CZanTDateTime& from, const CZanTDateTime& to,
                                    ZanDB4DailyValueCallback callback, void* context);
    // Adds count to the day's launches; reads them, E_FAIL when none.
    virtual HRESULT AddLaunchCount(uint32_t count, const CZanTDateTime& date);
    virtual HRESULT GetLaunchCount(uint32_t* outCount, const CZanTDateTime& date);
    // Opens a history under the packed moment of date, which goes to *outKey
    // before the insert; E_FAIL when that moment has a history.
    virtual HRESULT BeginHistory(int64_t* outKey, const CZanTDateTime& date);
    // Appends an item number; E_FAIL for an unknown key.
    virtual HRESULT AddHistoryItem(int64_t key, int32_t item);
    // The history's item count and text; E_FAIL for an unknown key.
    virtual HRESULT GetHistory(int64_t key, uint32_t* outCount, CZanTString& outText);
    // Deletes the history when it has fewer than three items. Always S_OK.
    virtual HRESULT EndHistory(int64_t key);
    virtual HRESULT GetHistoryCount(uint32_t* outCount);
    virtual HRESULT DeleteHistory(int64_t key);
    // Launches per month of from..to (days, as day keys), element 0 for the
    // month of from; outCounts is sized to the months. E_FAIL when to lies in
    // a month before from, or the launches cannot be read; outCounts is then
    // left as it was.
    virtual HRESULT GetMonthlyLaunchCounts(const CZanTDateTime& from, const CZanTDateTime& to,
                                           CZanTArray<uint32_t>& outCounts);
    // Appends the texts of at most max histories of three items or more,
    // newest first. E_FAIL when there is no such history at all.
    virtual HRESULT GetHistories(uint32_t max, CZanTArray<CZanTString>& outHistories);
    // Adds count to the edit parameter's total; reads it, E_FAIL when none.
    virtual HRESULT AddEditParamCount(uint32_t type, uint32_t count);
    virtual HRESULT GetEditParamCount(uint32_t type, uint32_t* outCount);

    // Whether the day has a value of the kind, or the kind the string; false
    // also when the statement fails.
    virtual bool HasDailyValue(uint32_t type, const CZanTDateTime& date);
    virtual bool HasString(const CZanTString& text, uint32_t type);
    // The day key of date: its packed form with the time of day zeroed, so
    // that every moment of a day reads and writes one row.
    virtual int64_t GetDayKey(const CZanTDateTime& date);
    // Zeroes every value of the kind. A statement that does not prepare (an
    // older file without the table) is S_OK; E_FAIL when the step fails.
    virtual HRESULT ResetDailyValues(uint32_t type);

    // The months from the month of from to that of to, both counted: to's
    // month minus from's plus 1, plus 12 per year between. Below 1 when to
    // lies in a month before from. Month fields are taken as they are, 0 and
    // 13 included.
    static int32_t MonthsBetween(const CZanTDateTime& from, const CZanTDateTime& to);
};
