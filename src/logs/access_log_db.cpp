// CSQLiteAccessLogDB: schema, upgrade, the day key and the store's own
// lookups.
#include "logs/access_log_db.h"

#include "logs/access_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = access_log_tables;
using zandb4::Statement;

namespace {

// Each table with its index, in the order they are made.
struct TableAndIndex {
    const WCHAR* table;
    const WCHAR* index;
};

constexpr TableAndIndex kNewFileTables[] = {
    {tables::kCreateDaily, tables::kCreateDailyIndex},
    {tables::kCreateStrings, tables::kCreateStringsIndex},
    {tables::kCreateLaunches, tables::kCreateLaunchesIndex},
    {tables::kCreateHistories, tables::kCreateHistoriesIndex},
    {tables::kCreateEditParams, tables::kCreateEditParamsIndex},
};

// What version 1200 files may lack, and older ones do.
constexpr TableAndIndex kTablesAddedIn1200[] = {
    {tables::kCreateLaunchesIfMissing, tables::kCreateLaunchesIndexIfMissing},
    {tables::kCreateHistoriesIfMissing, tables::kCreateHistoriesIndexIfMissing},
    {tables::kCreateEditParamsIfMissing, tables::kCreateEditParamsIndexIfMissing},
};

constexpr uint32_t kVersionWithAllTables = 1200;

}  // namespace

HRESULT CSQLiteAccessLogDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    for (const TableAndIndex& made : kNewFileTables) {
        if (ExecuteStatement(made.table) != S_OK || ExecuteStatement(made.index) != S_OK) return E_FAIL;
    }
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::UpgradeTables() {
    uint32_t version = 0;
    if (GetVersion(&version) != S_OK) return E_FAIL;
    if (version > kVersionWithAllTables) return S_OK;
    // Values of kind 267 written before 1200 counted something else; they
    // are zeroed once, on the way up from such a file. Its outcome does not
    // stop the tables.
    if (version < kVersionWithAllTables) ResetDailyValues(kKindResetByUpgrade);
    // Each index only behind its table; the answer is that of the last
    // table and index, as an older caller of this upgrade expects.
    HRESULT made = S_OK;
    for (const TableAndIndex& missing : kTablesAddedIn1200) {
        made = ExecuteStatement(missing.table);
        if (made == S_OK) made = ExecuteStatement(missing.index);
    }
    return made;
}

bool CSQLiteAccessLogDB::HasDailyValue(uint32_t type, const CZanTDateTime& date) {
    Statement select(m_db, tables::kSelectDailyValue);
    if (!select.IsPrepared()) return false;
    select.BindInt64(1, GetDayKey(date));
    select.BindInt64(2, static_cast<int64_t>(type));
    return select.Step() == SQLITE_ROW;
}

bool CSQLiteAccessLogDB::HasString(const CZanTString& text, uint32_t type) {
    Statement select(m_db, tables::kSelectString);
    if (!select.IsPrepared()) return false;
    select.BindText(1, text);
    select.BindInt64(2, static_cast<int64_t>(type));
    return select.Step() == SQLITE_ROW;
}

int64_t CSQLiteAccessLogDB::GetDayKey(const CZanTDateTime& date) {
    const SYSTEMTIME& day = date.m_time;
    return ((static_cast<int64_t>(day.wYear) << 16) + (static_cast<int64_t>(day.wMonth) << 8) +
            static_cast<int64_t>(day.wDay))
           << 24;
}

HRESULT CSQLiteAccessLogDB::ResetDailyValues(uint32_t type) {
    BeginTransaction();
    Statement reset(m_db, tables::kResetDailyValuesOfType);
    // A file without the table has nothing to reset.
    if (!reset.IsPrepared()) return S_OK;
    reset.BindInt64(1, static_cast<int64_t>(type));
    return zandb4::ResultOfDoneStep(reset.Step());
}

int32_t CSQLiteAccessLogDB::MonthsBetween(const CZanTDateTime& from, const CZanTDateTime& to) {
    const int32_t months = static_cast<int32_t>(to.m_time.wMonth) - static_cast<int32_t>(from.m_time.wMonth) + 1;
    return months + 12 * (static_cast<int32_t>(to.m_time.wYear) - static_cast<int32_t>(from.m_time.wYear));
}
