// CSQLiteAccessLogDB: launches per day and per month, and the totals of
// edit parameters.
#include <vector>

#include "logs/access_log_db.h"
#include "logs/access_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = access_log_tables;
using zandb4::Statement;

namespace {

uint32_t ColumnCount(const Statement& row, int column) { return static_cast<uint32_t>(row.ColumnInt64(column)); }

int64_t Stored(uint32_t value) { return static_cast<int64_t>(value); }

// The row of key in the table of one key column and one count: made with
// count, or grown by it. The caller has opened the transaction.
HRESULT AddToCount(sqlite3* db, const WCHAR* insertSql, const WCHAR* updateSql, bool found, uint32_t current,
                   int64_t key, uint32_t count) {
    if (!found) {
        Statement insert(db, insertSql);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(1, key);
        insert.BindInt64(2, Stored(count));
        return zandb4::StepToDone(insert);
    }
    Statement update(db, updateSql);
    if (!update.IsPrepared()) return E_FAIL;
    // 32-bit totals wrap, as the application's own counters do.
    update.BindInt64(1, Stored(current + count));
    update.BindInt64(2, key);
    return zandb4::StepToDone(update);
}

}  // namespace

HRESULT CSQLiteAccessLogDB::AddLaunchCount(uint32_t count, const CZanTDateTime& date) {
    BeginTransaction();
    uint32_t current = 0;
    const bool found = GetLaunchCount(&current, date) == S_OK;
    return AddToCount(m_db, tables::kInsertLaunchCount, tables::kUpdateLaunchCount, found, current, GetDayKey(date),
                      count);
}

HRESULT CSQLiteAccessLogDB::GetLaunchCount(uint32_t* outCount, const CZanTDateTime& date) {
    Statement select(m_db, tables::kSelectLaunchCount);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, GetDayKey(date));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    *outCount = ColumnCount(select, tables::kLaunchCount);
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::GetMonthlyLaunchCounts(const CZanTDateTime& from, const CZanTDateTime& to,
                                                   CZanTArray<uint32_t>& outCounts) {
    const int32_t months = MonthsBetween(from, to);
    if (months < 1) return E_FAIL;
    std::vector<uint32_t> counts(static_cast<size_t>(months), 0);
    {
        Statement select(m_db, tables::kSelectLaunchesInRange);
        if (!select.IsPrepared()) return E_FAIL;
        // Whole days: the launches of the day of from and of the day of to.
        select.BindInt64(1, GetDayKey(from));
        select.BindInt64(2, GetDayKey(to));
        const int64_t fromYear = from.m_time.wYear;
        const int64_t fromMonth = from.m_time.wMonth;
        while (select.Step() == SQLITE_ROW) {
            const CZanTDateTime day(select.ColumnInt64(tables::kLaunchDate));
            // Month index from the month of from. A row's date is not
            // checked: one whose month field is out of 1..12, or a from
            // month that is, can give an index outside the array, and such a
            // row is left out.
            const int64_t index = (day.m_time.wYear - fromYear) * 12 - fromMonth + day.m_time.wMonth;
            if (index >= 0 && index < months) counts[static_cast<size_t>(index)] += ColumnCount(select, tables::kLaunchCount);
        }
    }
    CArray<uint32_t>& out = outCounts.Container();
    out.SetSize(months);
    for (int32_t month = 0; month < months; ++month) out[month] = counts[static_cast<size_t>(month)];
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::AddEditParamCount(uint32_t type, uint32_t count) {
    uint32_t current = 0;
    const bool found = GetEditParamCount(type, &current) == S_OK;
    BeginTransaction();
    return AddToCount(m_db, tables::kInsertEditParam, tables::kUpdateEditParam, found, current, Stored(type), count);
}

HRESULT CSQLiteAccessLogDB::GetEditParamCount(uint32_t type, uint32_t* outCount) {
    Statement select(m_db, tables::kSelectEditParam);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, Stored(type));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    *outCount = ColumnCount(select, tables::kEditParamCount);
    return S_OK;
}
