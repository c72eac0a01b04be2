// Stores the application keeps for itself: memory data (opaque blobs kept
// under a type and a condition text from one run to the next), the access
// log (usage statistics per day and kind of event, launch counts, histories
// of actions, edit parameter totals) and the application log (counters, a
// history of records and keyed records, each record a blob with a version).
//
// None of these stores gives the application's numbers, texts or blobs a
// meaning of its own. Each manager holds its store's lock for each operation,
// and callbacks run under that lock. Changes stay in the store's open
// transaction until Commit.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// One memory data entry: id, type, condition text and the data bytes, which
// the record owns and frees when it is destroyed.
class IZanDB4MemRecord : public IUnknown {
public:
    // SetID always answers S_OK; GetID E_INVALIDARG for a null out.
    virtual HRESULT SetID(uint64_t id) = 0;
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // SetType always answers S_OK; GetType E_INVALIDARG for a null out.
    virtual HRESULT SetType(uint32_t type) = 0;
    virtual HRESULT GetType(uint32_t* outType) = 0;
    // Copies the condition in, or out (always S_OK, also when empty).
    virtual HRESULT SetCondition(const CZanTString& condition) = 0;
    virtual HRESULT GetCondition(CZanTString& outCondition) = 0;
    // Copies size bytes into a buffer of the record's own, freeing the old
    // one. Null data or a size of 0 leaves the record empty; passing the
    // record's own buffer changes nothing. E_OUTOFMEMORY if the copy cannot
    // be allocated.
    virtual HRESULT SetData(const void* data, uint32_t size) = 0;
    // The record's own buffer (null when empty), valid while the record lives
    // and its data is not set again; and its size in bytes.
    virtual const void* GetData() = 0;
    virtual uint32_t GetDataSize() = 0;
};

// The memory data store: blobs under a key of type and condition, the key
// unique. An empty blob cannot be stored: null data or a size of 0 answers
// E_INVALIDARG from every add and update. Ids used up by failures or deletes
// are not reused.
class IZanDB4MemoryDataMgr : public IUnknown {
public:
    // Stores the record's type, condition and data under a new id, which is
    // set on the record when the insert went through; a record refused on
    // its key keeps its id. E_INVALIDARG for a null record; E_FAIL for a key
    // that is already stored.
    virtual HRESULT AddRecord(IZanDB4MemRecord* record) = 0;
    // Stores the data under the key and a new id, written to outId (may be
    // null). E_FAIL for a key that is already stored.
    virtual HRESULT AddData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size,
                            uint64_t* outId) = 0;
    // Replaces the data of the entry id. E_INVALIDARG also for id 0; E_FAIL
    // for an unknown id.
    virtual HRESULT UpdateDataByID(uint64_t id, const void* data, uint32_t size) = 0;
    // UpdateData with the record's key and data.
    virtual HRESULT UpdateRecord(IZanDB4MemRecord* record) = 0;
    // Replaces the data stored under the key; E_FAIL for an unknown key.
    virtual HRESULT UpdateData(uint32_t type, const WCHAR* condition, const void* data, uint32_t size) = 0;
    // Deletes by id, or by key; deleting what is not there answers S_OK.
    virtual HRESULT DeleteByID(uint64_t id) = 0;
    virtual HRESULT DeleteData(uint32_t type, const WCHAR* condition) = 0;
    // The entry of the key as a new record, with one reference for the
    // caller. E_INVALIDARG for a null out; *outRecord is cleared, E_FAIL when
    // the key is not stored.
    virtual HRESULT GetRecord(uint32_t type, const WCHAR* condition, IZanDB4MemRecord** outRecord) = 0;
    // Meant to append the entries of a key (mode 1) or of a condition prefix
    // (mode 2) to outList, one reference each. Mode 1 answers S_OK and adds
    // nothing whether the key exists or not, mode 2 answers E_FAIL, and any
    // other mode answers S_OK with the list unchanged. Callers use GetRecord.
    virtual HRESULT QueryRecords(uint32_t type, const WCHAR* condition, uint32_t mode,
                                 CList<IZanDB4MemRecord*>* outList) = 0;
    // Moves the entry of the old key to the new key, deleting an entry that
    // stands under the new key first. S_FALSE when the old key is not stored;
    // E_FAIL when the entry cannot be found after that delete (so equal keys
    // delete the entry and answer E_FAIL).
    virtual HRESULT ChangeKey(uint32_t oldType, const WCHAR* oldCondition, uint32_t newType,
                              const WCHAR* newCondition) = 0;
    // Whether the key is stored; false also when the lookup fails.
    virtual BOOL Exists(uint32_t type, const WCHAR* condition) = 0;
    // Deletes every entry, or every entry of one type.
    virtual HRESULT DeleteAll() = 0;
    virtual HRESULT DeleteByType(uint32_t type) = 0;
    // Makes the open changes durable, drops them, or compacts the file.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
    virtual HRESULT Vacuum() = 0;
};

// Called by EnumDailyValues once per stored day value, with the day, the
// event kind, the value and the caller's context. A non-zero return ends the
// walk.
typedef int32_t (*ZanDB4DailyValueCallback)(const CZanTDateTime& date, uint32_t type, uint32_t value,
                                            void* context);

// The access log: per day and event kind a counter or a bit set, distinct
// strings per kind, launches per day, histories of action item numbers and
// totals per edit parameter. An optional date may be null, and then the
// current moment in UTC is used; day values and launch counts go by the day
// of the date, whatever its time of day.
class IZanDB4AccessLogDBMgr : public IUnknown {
public:
    // ORs bits into the day's value of the kind; writes nothing when all of
    // them are set already.
    virtual HRESULT SetDailyBits(uint32_t type, uint32_t bits, const CZanTDateTime* date) = 0;
    // Adds count to the day's value of the kind, making the row if needed.
    virtual HRESULT AddDailyCount(uint32_t type, uint32_t count, const CZanTDateTime* date) = 0;
    // The day's value of the kind; E_FAIL when there is none.
    virtual HRESULT GetDailyValue(uint32_t type, uint32_t* outValue, const CZanTDateTime* date) = 0;
    // Adds the string to the kind's set; S_OK also when it is there already.
    virtual HRESULT AddString(const WCHAR* text, uint32_t type) = 0;
    // The number of days of the kind whose value has all of bits set. The
    // count is cleared first; always S_OK.
    virtual HRESULT CountDaysWithBits(uint32_t type, uint32_t bits, uint32_t* outCount) = 0;
    // The sum of all day values of the kind; always S_OK.
    virtual HRESULT SumDailyValues(uint32_t type, uint32_t* outSum) = 0;
    // The kind's strings, into the array; always S_OK.
    virtual HRESULT GetStrings(CArray<CZanTString>* outStrings, uint32_t type) = 0;
    // For each of the 32 bits, on how many days from..to (moments, not days)
    // the kind's value had it set, bit 0 in element 0. The array is sized to
    // 32; it holds zeros and the answer is E_FAIL when the days could not be
    // read.
    virtual HRESULT GetBitHistogram(uint32_t type, const CZanTDateTime& from, const CZanTDateTime& to,
                                    CArray<uint32_t>* outCounts) = 0;
    // Calls callback for every day value of the days from..to, newest first,
    // with context. E_FAIL when to lies in a month before from, or the
    // values cannot be read; else S_OK.
    virtual HRESULT EnumDailyValues(const CZanTDateTime& from, const CZanTDateTime& to,
                                    ZanDB4DailyValueCallback callback, void* context) = 0;
    // Adds count to the day's launches; reads them back, E_FAIL when none.
    virtual HRESULT AddLaunchCount(uint32_t count, const CZanTDateTime* date) = 0;
    virtual HRESULT GetLaunchCount(uint32_t* outCount, const CZanTDateTime* date) = 0;
    // Opens a history at the moment of date; its key, the packed moment, is
    // written to outKey. E_FAIL when a history of that moment exists.
    virtual HRESULT BeginHistory(int64_t* outKey, const CZanTDateTime* date) = 0;
    // Appends an item number to the history; E_FAIL for an unknown key.
    virtual HRESULT AddHistoryItem(int64_t key, int32_t item) = 0;
    // The history's item count and its items as text, decimal numbers
    // separated by '/'. E_FAIL for an unknown key.
    virtual HRESULT GetHistory(int64_t key, uint32_t* outCount, CZanTString& outText) = 0;
    // Closes the history, deleting it when it has fewer than three items.
    // Always S_OK.
    virtual HRESULT EndHistory(int64_t key) = 0;
    // The number of stored histories.
    virtual HRESULT GetHistoryCount(uint32_t* outCount) = 0;
    virtual HRESULT DeleteHistory(int64_t key) = 0;
    // Launches per month from the month of from to that of to, element 0
    // being the month of from; the array is sized to the number of months.
    // E_FAIL when to lies in a month before from.
    virtual HRESULT GetMonthlyLaunchCounts(const CZanTDateTime& from, const CZanTDateTime& to,
                                           CArray<uint32_t>* outCounts) = 0;
    // The texts of at most max histories of three items or more, newest
    // first; the array is sized to their number. E_FAIL when there is none.
    virtual HRESULT GetHistories(uint32_t max, CArray<CZanTString>* outHistories) = 0;
    // Adds count to the edit parameter's total; reads it back, E_FAIL when
    // there is none.
    virtual HRESULT AddEditParamCount(uint32_t type, uint32_t count) = 0;
    virtual HRESULT GetEditParamCount(uint32_t type, uint32_t* outCount) = 0;
    // Makes the open changes durable, drops them, or compacts the file.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
    virtual HRESULT Vacuum() = 0;
};

// A record of the application log, implemented by the application and
// borrowed for the call that takes it. The library reads only these values.
class IZanAppLogItem : public IUnknown {
public:
    // Version of the blob's layout, stored for the application's own reader.
    virtual uint32_t GetVersion() = 0;
    virtual uint32_t GetLogID() = 0;
    virtual uint32_t GetLogType() = 0;
    // The blob and its size in bytes; the library copies them.
    virtual const void* GetData() = 0;
    virtual uint32_t GetDataSize() = 0;
};

// Called by EnumCounts once per counter, with its log id, type, count and the
// caller's context. A non-zero return ends the walk and becomes the result of
// EnumCounts.
typedef HRESULT (*ZanDB4AppLogCountCallback)(uint32_t logID, uint32_t logType, uint32_t count, void* context);

// Called by EnumHistory and EnumInformation once per record, with its row id,
// layout version, log id, type, blob size, the blob and the caller's context.
// The blob pointer is valid only during the call. A non-zero return ends the
// walk and becomes the result.
typedef HRESULT (*ZanDB4AppLogRecordCallback)(uint64_t id, uint32_t version, uint32_t logID, uint32_t logType,
                                              uint32_t size, const void* data, void* context);

// The application log, a file that may be thrown away when it has grown old
// or large. In the enumerations a logID or logType of 0 means any, a limit
// or offset of 0 means none, and a logType is looked at only with a logID.
// They answer the callback's non-zero return, S_OK when it returned 0 for
// every row, S_FALSE when no row came, E_FAIL when the rows could not be
// read; a null callback stops after the first row with S_FALSE.
class IZanDB4AppLogDBMgr : public IUnknown {
public:
    // Adds count to the counter of logID and logType, making it if needed;
    // the counter stops at its largest value and never wraps.
    virtual HRESULT AddCount(uint32_t logID, uint32_t logType, uint32_t count) = 0;
    // Finds the counter by logID alone, adds count as AddCount does and ORs
    // typeBits into its type; makes it as AddCount does when there is none.
    virtual HRESULT MergeCount(uint32_t logID, uint32_t typeBits, uint32_t count) = 0;
    virtual HRESULT EnumCounts(ZanDB4AppLogCountCallback callback, void* context, uint32_t logID,
                               uint32_t logType, uint32_t limit, uint32_t offset) = 0;
    // The counter of logID and logType, cleared first. A logID of 0 takes
    // the first counter of all, and logType counts only with a logID.
    // S_FALSE when there is none, E_FAIL when it could not be read.
    virtual HRESULT GetCount(uint32_t logID, uint32_t logType, uint32_t* outCount) = 0;
    // Appends the item to the history. E_INVALIDARG for a null item.
    virtual HRESULT AddHistory(IZanAppLogItem* item) = 0;
    virtual HRESULT EnumHistory(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                uint32_t limit, uint32_t offset) = 0;
    // Deletes the history records of logID.
    virtual HRESULT DeleteHistory(uint32_t logID) = 0;
    // Stores the item as the one record of its log id and type, replacing
    // the one there. E_INVALIDARG for a null item.
    virtual HRESULT SetInformation(IZanAppLogItem* item) = 0;
    virtual HRESULT EnumInformation(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                    uint32_t limit, uint32_t offset) = 0;
    // Deletes the keyed records of logID.
    virtual HRESULT DeleteInformation(uint32_t logID) = 0;
    // Whether the file is deleted when the library closes: 0 keeps it, 1
    // deletes it, 2 adds deletion if the file was older than 180 days or
    // larger than 512 MiB when it was opened, keeping an earlier 1. Always
    // S_OK.
    virtual HRESULT SetDeleteOnClose(uint32_t mode) = 0;
    // The folder that holds the file. Takes no lock.
    virtual HRESULT GetFolder(CZanTString& outFolder) = 0;
    // Kept free; each answers S_OK and does nothing.
    virtual HRESULT Reserved1() = 0;
    virtual HRESULT Reserved2() = 0;
    virtual HRESULT Reserved3() = 0;

protected:
    virtual ~IZanDB4AppLogDBMgr() = default;

public:
    // Makes the open changes durable, drops them, or compacts the file.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
    virtual HRESULT Vacuum() = 0;
};
