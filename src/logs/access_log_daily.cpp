// CSQLiteAccessLogDB: daily values (counters and bit sets), strings, the bit
// histogram and the walk over daily values.
#include <array>

#include "logs/access_log_db.h"
#include "logs/access_log_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace tables = access_log_tables;
using zandb4::Statement;

namespace {

// Values and counts are 32-bit numbers of the application. Read as 64 bits
// and cut, so that a value stored as a negative 32-bit number by another
// writer reads the same.
uint32_t ColumnValue(const Statement& row, int column) { return static_cast<uint32_t>(row.ColumnInt64(column)); }

int64_t Stored(uint32_t value) { return static_cast<int64_t>(value); }

constexpr size_t kBits = 32;

}  // namespace

HRESULT CSQLiteAccessLogDB::SetDailyBits(uint32_t type, uint32_t bits, const CZanTDateTime& date) {
    // A missing row reads as 0. The value is set again every time the
    // application sees the event; only a new bit writes.
    uint32_t value = 0;
    const bool found = GetDailyValue(type, &value, date) == S_OK;
    if ((value & bits) == bits) return S_OK;
    BeginTransaction();
    const int64_t day = GetDayKey(date);
    if (!found) {
        Statement insert(m_db, tables::kInsertDailyValue);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(1, day);
        insert.BindInt64(2, Stored(type));
        insert.BindInt64(3, 0);
        insert.BindInt64(4, Stored(bits));
        insert.BindInt64(5, 0);
        return zandb4::StepToDone(insert);
    }
    Statement update(m_db, tables::kUpdateDailyValue);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, Stored(value | bits));
    update.BindInt64(2, day);
    update.BindInt64(3, Stored(type));
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAccessLogDB::AddDailyCount(uint32_t type, uint32_t count, const CZanTDateTime& date) {
    BeginTransaction();
    uint32_t value = 0;
    const bool found = GetDailyValue(type, &value, date) == S_OK;
    const int64_t day = GetDayKey(date);
    if (!found) {
        Statement insert(m_db, tables::kInsertDailyValue);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(1, day);
        insert.BindInt64(2, Stored(type));
        insert.BindInt64(3, 0);
        insert.BindInt64(4, Stored(count));
        insert.BindInt64(5, 0);
        return zandb4::StepToDone(insert);
    }
    Statement update(m_db, tables::kUpdateDailyValue);
    if (!update.IsPrepared()) return E_FAIL;
    // A 32-bit counter: it wraps as the application's own counter does.
    update.BindInt64(1, Stored(value + count));
    update.BindInt64(2, day);
    update.BindInt64(3, Stored(type));
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteAccessLogDB::GetDailyValue(uint32_t type, uint32_t* outValue, const CZanTDateTime& date) {
    Statement select(m_db, tables::kSelectDailyValue);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, GetDayKey(date));
    select.BindInt64(2, Stored(type));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    *outValue = ColumnValue(select, tables::kDailyData);
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::AddString(const CZanTString& text, uint32_t type) {
    if (HasString(text, type)) return S_OK;
    BeginTransaction();
    Statement insert(m_db, tables::kInsertString);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindText(1, text);
    insert.BindInt64(2, Stored(type));
    return zandb4::StepToDone(insert);
}

HRESULT CSQLiteAccessLogDB::CountDaysWithBits(uint32_t type, uint32_t bits, uint32_t* outCount) {
    *outCount = 0;
    Statement select(m_db, tables::kSelectDailyValuesOfType);
    if (!select.IsPrepared()) return S_OK;
    select.BindInt64(1, Stored(type));
    while (select.Step() == SQLITE_ROW) {
        if ((ColumnValue(select, tables::kDailyData) & bits) == bits) ++*outCount;
    }
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::SumDailyValues(uint32_t type, uint32_t* outSum) {
    *outSum = 0;
    Statement select(m_db, tables::kSelectDailyValuesOfType);
    if (!select.IsPrepared()) return S_OK;
    select.BindInt64(1, Stored(type));
    while (select.Step() == SQLITE_ROW) *outSum += ColumnValue(select, tables::kDailyData);
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::GetStrings(CZanTArray<CZanTString>& outStrings, uint32_t type) {
    Statement select(m_db, tables::kSelectStringsOfType);
    if (!select.IsPrepared()) return S_OK;
    select.BindInt64(1, Stored(type));
    while (select.Step() == SQLITE_ROW) outStrings.Add(select.ColumnText(tables::kStringText));
    return S_OK;
}

HRESULT CSQLiteAccessLogDB::GetBitHistogram(uint32_t type, const CZanTDateTime& from, const CZanTDateTime& to,
                                            CZanTArray<uint32_t>& outCounts) {
    std::array<uint32_t, kBits> counts{};
    HRESULT result = E_FAIL;
    {
        // The bounds are the packed moments as given, not day keys: a from
        // with a time of day leaves its own day out.
        Statement select(m_db, tables::kSelectDailyValuesOfTypeInRange);
        if (select.IsPrepared()) {
            select.BindInt64(1, Stored(type));
            select.BindInt64(2, from.GetPacked());
            select.BindInt64(3, to.GetPacked());
            while (select.Step() == SQLITE_ROW) {
                const uint32_t value = ColumnValue(select, tables::kDailyData);
                for (size_t bit = 0; bit < kBits; ++bit) {
                    if ((value >> bit) & 1u) ++counts[bit];
                }
            }
            result = S_OK;
        }
    }
    // Written in every case: zeros when the days could not be read.
    CArray<uint32_t>& out = outCounts.Container();
    out.SetSize(static_cast<ptrdiff_t>(kBits));
    for (size_t bit = 0; bit < kBits; ++bit) out[static_cast<ptrdiff_t>(bit)] = counts[bit];
    return result;
}

HRESULT CSQLiteAccessLogDB::EnumDailyValues(const CZanTDateTime& from, const CZanTDateTime& to,
                                            ZanDB4DailyValueCallback callback, void* context) {
    if (MonthsBetween(from, to) < 1) return E_FAIL;
    Statement select(m_db, tables::kSelectDailyValuesInRange);
    if (!select.IsPrepared()) return E_FAIL;
    // Whole days: every value of the day of from and of the day of to.
    select.BindInt64(1, GetDayKey(from));
    select.BindInt64(2, GetDayKey(to));
    while (select.Step() == SQLITE_ROW) {
        const CZanTDateTime day(select.ColumnInt64(tables::kDailyDate));
        if (callback(day, ColumnValue(select, tables::kDailyType), ColumnValue(select, tables::kDailyData), context) !=
            0)
            break;
    }
    return S_OK;
}
