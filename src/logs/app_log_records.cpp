// CSQLiteAppLogDataDB: records, each the application's blob with the
// version of its layout: a history appended without limit, and keyed
// records, one per log id and type. The library reads the items it is given
// and never looks into a blob.
#include <cstdint>
#include <limits>

#include "logs/app_log_db.h"
#include "logs/app_log_select.h"
#include "logs/app_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = app_log_tables;
using zandb4::Statement;

namespace {

// What is bound of an item: read once, in the order the library has always
// asked for them.
struct ItemValues {
    uint32_t version;
    uint32_t logID;
    uint32_t logType;
    const void* data;
    uint32_t size;
};

ItemValues ReadItem(IZanAppLogItem& item) {
    ItemValues values{};
    values.version = item.GetVersion();
    values.logID = item.GetLogID();
    values.logType = item.GetLogType();
    values.data = item.GetData();
    values.size = item.GetDataSize();
    return values;
}

// SQLite binds a blob's size as an int.
bool BindableSize(uint32_t size) {
    return size <= static_cast<uint32_t>(std::numeric_limits<int>::max());
}

// Appends a record: "INSERT INTO ... (ver, log_id, log_type, log_size,
// log_data)", the same for both tables.
HRESULT InsertRecord(sqlite3* db, const WCHAR* insertSql, const ItemValues& values) {
    Statement insert(db, insertSql);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, values.version);
    insert.BindInt64(2, values.logID);
    insert.BindInt64(3, values.logType);
    insert.BindInt64(4, values.size);
    insert.BindBlob(5, values.data, static_cast<int>(values.size));
    return zandb4::StepToDone(insert);
}

HRESULT DeleteRecordsOf(sqlite3* db, const WCHAR* deleteSql, uint32_t logID) {
    Statement remove(db, deleteSql);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, logID);
    return zandb4::StepToDone(remove);
}

}  // namespace

HRESULT CSQLiteAppLogDataDB::AddHistory(IZanAppLogItem* item) {
    if (item == nullptr) return E_INVALIDARG;
    const ItemValues values = ReadItem(*item);
    if (!BindableSize(values.size)) return E_INVALIDARG;
    return InsertRecord(m_db, tables::kInsertHistory, values);
}

HRESULT CSQLiteAppLogDataDB::EnumHistory(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                         uint32_t limit, uint32_t offset) {
    return EnumRecords(tables::kSelectHistory, callback, context, logID, limit, offset);
}

HRESULT CSQLiteAppLogDataDB::DeleteHistory(uint32_t logID) {
    return DeleteRecordsOf(m_db, tables::kDeleteHistory, logID);
}

HRESULT CSQLiteAppLogDataDB::SetInformation(IZanAppLogItem* item) {
    if (item == nullptr) return E_INVALIDARG;
    const ItemValues values = ReadItem(*item);
    if (!BindableSize(values.size)) return E_INVALIDARG;
    bool exists = false;
    {
        Statement select(m_db, tables::kSelectInformationOfKey);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindInt64(1, values.logID);
        select.BindInt64(2, values.logType);
        exists = select.Step() == SQLITE_ROW;
    }
    // The one write of this store that opens a transaction: the record
    // becomes durable with the next Commit, and a Rollback drops it.
    BeginTransaction();
    if (!exists) return InsertRecord(m_db, tables::kInsertInformation, values);
    Statement update(m_db, tables::kUpdateInformation);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, values.version);
    update.BindInt64(2, values.size);
    update.BindBlob(3, values.data, static_cast<int>(values.size));
    update.BindInt64(4, values.logID);
    update.BindInt64(5, values.logType);
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAppLogDataDB::EnumInformation(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID,
                                             uint32_t limit, uint32_t offset) {
    return EnumRecords(tables::kSelectInformation, callback, context, logID, limit, offset);
}

HRESULT CSQLiteAppLogDataDB::DeleteInformation(uint32_t logID) {
    return DeleteRecordsOf(m_db, tables::kDeleteInformation, logID);
}

HRESULT CSQLiteAppLogDataDB::EnumRecords(const WCHAR* selectAll, ZanDB4AppLogRecordCallback callback, void* context,
                                         uint32_t logID, uint32_t limit, uint32_t offset) {
    AppLogSelect select(selectAll);
    if (logID != 0) select.Add(tables::kWhereLogID, logID);
    if (limit != 0) select.Add(tables::kLimit, limit);
    // As for the counters: an offset without a limit does not prepare.
    if (offset != 0) select.Add(tables::kOffset, offset);
    Statement statement(m_db, select.Sql());
    if (!statement.IsPrepared()) return E_FAIL;
    select.Bind(statement);
    bool anyRow = false;
    // Rows come in SQLite's natural order, which for these tables is that
    // of id.
    while (statement.Step() == SQLITE_ROW) {
        anyRow = true;
        if (callback == nullptr) return S_FALSE;
        // The blob pointer is SQLite's and valid only until the next step,
        // so only during the call.
        const HRESULT answer = callback(static_cast<uint64_t>(statement.ColumnInt64(tables::kRecordID)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kRecordVersion)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kRecordLogID)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kRecordLogType)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kRecordSize)),
                                        statement.ColumnBlob(tables::kRecordData), context);
        if (answer != 0) return answer;
    }
    if (statement.Finalize() != SQLITE_OK) return E_FAIL;
    return anyRow ? S_OK : S_FALSE;
}
