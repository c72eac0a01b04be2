// CSQLiteAppLogDataDB: the store of "information"/"appcahce.db" (so spelt:
// files and callers know it by that name), the application's own
// diagnostic log: counters, a history of records and one keyed record per
// log id and type (app_log_tables.h). The file is expendable: Open notes
// whether it has grown old or large (m_expired), and Close deletes it when
// m_deleteOnClose is set, which only the application's SetDeleteOnClose
// does.
//
// Transactions: only SetInformation opens one. Every other write runs in
// SQLite's autocommit and is durable at once, unless SetInformation left a
// transaction open, which then holds it until Commit, Close or Reopen.
//
// Threading: as every store, none of its own; CZanDB4AppLogDBMgr holds
// m_lock around each operation, and the enumerations' callbacks run under
// it.
#pragma once

#include <cstdint>

#include "storage/sqlite_db_base.h"
#include "zandb4/logs.h"

class CSQLiteAppLogDataDB : public CSQLiteDBBase {
public:
    // Notes m_expired from the status of the file, when there is one, then
    // opens as every store does; the answer is the base's Open.
    HRESULT Open() override;
    // The base's tables, then the three tables with their two unique indexes.
    // E_FAIL when any statement fails.
    HRESULT CreateTables() override;
    // Only for a file of exactly the current version (1201): makes each
    // table and index that is missing, each only after the one before it
    // succeeded, and answers the last one's outcome. Any other version: S_OK
    // with nothing done. E_FAIL without a connection.
    HRESULT UpgradeTables() override;
    // Commits an open transaction and closes as the base does, then deletes
    // the file when m_deleteOnClose is set. Reopen closes through here, so a
    // Rollback with the deletion asked for starts the file anew. Always S_OK.
    HRESULT Close() override;

    // 2 adds the deletion if the file had expired when it was opened; any
    // other mode is stored as it stands (0 keeps the file, else it goes).
    // Always S_OK.
    virtual HRESULT SetDeleteOnClose(uint32_t mode);

    // Adds count to the counter read by GetCount(logID, logType), stopping
    // at all ones, or makes the counter. E_FAIL when a statement fails.
    virtual HRESULT AddCount(uint32_t logID, uint32_t logType, uint32_t count);
    // Finds the counter by logID alone, adds count as AddCount does and ORs
    // typeBits into its type; makes it (with typeBits as its type) when
    // there is none.
    virtual HRESULT MergeCount(uint32_t logID, uint32_t typeBits, uint32_t count);
    // Calls callback for each counter the filters select (see
    // IZanDB4AppLogDBMgr): its first non-zero return is the answer; S_OK
    // when it returned 0 for every row, S_FALSE when no row came (or, with a
    // null callback, after the first row), E_FAIL when the rows could not
    // be read.
    virtual HRESULT EnumCounts(ZanDB4AppLogCountCallback callback, void* context, uint32_t logID, uint32_t logType,
                               uint32_t limit, uint32_t offset);
    // The first counter of logID (and logType, looked at only with a
    // logID), or of the whole table for a logID of 0. outCount is cleared
    // first, and so is outType when given. S_OK with a row, S_FALSE without,
    // E_FAIL when it could not be read. outCount must be there.
    virtual HRESULT GetCount(uint32_t logID, uint32_t logType, uint32_t* outCount, uint32_t* outType = nullptr);

    // Appends the item's record. E_INVALIDARG for a null item or a blob too
    // large to bind (above 2^31 - 1 bytes).
    virtual HRESULT AddHistory(IZanAppLogItem* item);
    // Walks the history records of logID (all for 0) as EnumCounts does.
    virtual HRESULT EnumHistory(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID, uint32_t limit,
                                uint32_t offset);
    virtual HRESULT DeleteHistory(uint32_t logID);
    // Stores the item as the one record of its log id and type, in the open
    // transaction it opens. E_INVALIDARG as AddHistory.
    virtual HRESULT SetInformation(IZanAppLogItem* item);
    virtual HRESULT EnumInformation(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID, uint32_t limit,
                                    uint32_t offset);
    virtual HRESULT DeleteInformation(uint32_t logID);

    // Set by Open when the file was older or larger than app_log_tables
    // allows (kExpiryDays, kExpirySize); never cleared.
    uint32_t m_expired = 0;
    // Non-zero: Close deletes the file.
    uint32_t m_deleteOnClose = 0;

private:
    // A record table's walk: EnumHistory and EnumInformation on the table's
    // "SELECT *".
    HRESULT EnumRecords(const WCHAR* selectAll, ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                        uint32_t limit, uint32_t offset);
    // Writes a counter's new count: the update of logID and logType when
    // GetCount found a row, else the insert.
    HRESULT WriteCount(bool found, uint32_t logID, uint32_t logType, uint32_t count);
};
