// CSQLiteAppLogDataDB: counters, one per log id and type, that stop at all
// ones. None of these writes opens a transaction.
#include <limits>

#include "logs/app_log_db.h"
#include "logs/app_log_select.h"
#include "logs/app_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = app_log_tables;
using zandb4::Statement;

namespace {

// current + count, or all ones where the sum would pass them: a counter never
// wraps.
uint32_t SaturatingSum(uint32_t current, uint32_t count) {
    constexpr uint32_t kAllOnes = std::numeric_limits<uint32_t>::max();
    return count > kAllOnes - current ? kAllOnes : current + count;
}

// The read of counters under the filters: a log id of 0 selects every
// counter, and a type counts only behind a log id.
AppLogSelect CountSelect(uint32_t logID, uint32_t logType) {
    AppLogSelect select(tables::kSelectCounts);
    if (logID != 0) {
        select.Add(tables::kWhereLogID, logID);
        if (logType != 0) select.Add(tables::kAndLogType, logType);
    }
    return select;
}

}  // namespace

HRESULT CSQLiteAppLogDataDB::GetCount(uint32_t logID, uint32_t logType, uint32_t* outCount, uint32_t* outType) {
    *outCount = 0;
    if (outType != nullptr) *outType = 0;
    AppLogSelect select = CountSelect(logID, logType);
    select.Add(tables::kLimitOne);
    Statement statement(m_db, select.Sql());
    if (!statement.IsPrepared()) return E_FAIL;
    select.Bind(statement);
    const int step = statement.Step();
    if (step == SQLITE_ROW) {
        *outCount = static_cast<uint32_t>(statement.ColumnInt64(tables::kCountValue));
        if (outType != nullptr) *outType = static_cast<uint32_t>(statement.ColumnInt64(tables::kCountLogType));
        return S_OK;
    }
    return step == SQLITE_DONE ? S_FALSE : E_FAIL;
}

HRESULT CSQLiteAppLogDataDB::WriteCount(bool found, uint32_t logID, uint32_t logType, uint32_t count) {
    if (found) {
        Statement update(m_db, tables::kUpdateCount);
        if (!update.IsPrepared()) return E_FAIL;
        update.BindInt64(1, count);
        update.BindInt64(2, logID);
        update.BindInt64(3, logType);
        return zandb4::StepToDone(update);
    }
    Statement insert(m_db, tables::kInsertCount);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, logID);
    insert.BindInt64(2, logType);
    insert.BindInt64(3, count);
    return zandb4::StepToDone(insert);
}

HRESULT CSQLiteAppLogDataDB::AddCount(uint32_t logID, uint32_t logType, uint32_t count) {
    uint32_t current = 0;
    const HRESULT read = GetCount(logID, logType, &current);
    if (read == E_FAIL) return E_FAIL;
    // The counter is looked up by GetCount's rules but written by log id and
    // type: with a log id of 0 (or a type of 0) the row read may be another
    // than the one the update names, which then changes no row.
    const bool found = read == S_OK;
    return WriteCount(found, logID, logType, found ? SaturatingSum(current, count) : count);
}

HRESULT CSQLiteAppLogDataDB::MergeCount(uint32_t logID, uint32_t typeBits, uint32_t count) {
    uint32_t current = 0;
    uint32_t type = 0;
    const HRESULT read = GetCount(logID, 0, &current, &type);
    if (read == E_FAIL) return E_FAIL;
    if (read == S_FALSE) return WriteCount(false, logID, typeBits, count);
    Statement update(m_db, tables::kUpdateMergedCount);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, SaturatingSum(current, count));
    update.BindInt64(2, type | typeBits);
    update.BindInt64(3, logID);
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAppLogDataDB::EnumCounts(ZanDB4AppLogCountCallback callback, void* context, uint32_t logID,
                                        uint32_t logType, uint32_t limit, uint32_t offset) {
    AppLogSelect select = CountSelect(logID, logType);
    if (limit != 0) select.Add(tables::kLimit, limit);
    // SQLite takes no OFFSET without a LIMIT before it: an offset alone makes
    // the statement fail to prepare, and the walk answers E_FAIL.
    if (offset != 0) select.Add(tables::kOffset, offset);
    Statement statement(m_db, select.Sql());
    if (!statement.IsPrepared()) return E_FAIL;
    select.Bind(statement);
    bool anyRow = false;
    while (statement.Step() == SQLITE_ROW) {
        anyRow = true;
        // Without a callback the walk only learns that a row is there.
        if (callback == nullptr) return S_FALSE;
        const HRESULT answer = callback(static_cast<uint32_t>(statement.ColumnInt64(tables::kCountLogID)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kCountLogType)),
                                        static_cast<uint32_t>(statement.ColumnInt64(tables::kCountValue)), context);
        if (answer != 0) return answer;
    }
    // A step that failed shows in the finalize.
    if (statement.Finalize() != SQLITE_OK) return E_FAIL;
    return anyRow ? S_OK : S_FALSE;
}
