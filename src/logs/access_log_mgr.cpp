// CZanDB4AccessLogDBMgr: argument checks, the current moment for an absent
// date, and the lock around the store's operations.
#include "logs/access_log_mgr.h"

#include "logs/access_log_db.h"
#include "platform/clock.h"
#include "storage/locked_call.h"

namespace {

// The date given, or now in UTC.
CZanTDateTime DateOrNow(const CZanTDateTime* date) {
    return date != nullptr ? *date : CZanTDateTime(zandb4::platform::GetSystemTime());
}

}  // namespace

template <class Operation>
HRESULT CZanDB4AccessLogDBMgr::Locked(Operation&& operation) {
    return zandb4::LockedCall(m_accessLogDB, E_FAIL, [&](CSQLiteAccessLogDB& store) { return operation(store); });
}

HRESULT CZanDB4AccessLogDBMgr::SetDailyBits(uint32_t type, uint32_t bits, const CZanTDateTime* date) {
    const CZanTDateTime day = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.SetDailyBits(type, bits, day); });
}

HRESULT CZanDB4AccessLogDBMgr::AddDailyCount(uint32_t type, uint32_t count, const CZanTDateTime* date) {
    const CZanTDateTime day = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.AddDailyCount(type, count, day); });
}

HRESULT CZanDB4AccessLogDBMgr::GetDailyValue(uint32_t type, uint32_t* outValue, const CZanTDateTime* date) {
    if (outValue == nullptr) return E_INVALIDARG;
    const CZanTDateTime day = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetDailyValue(type, outValue, day); });
}

HRESULT CZanDB4AccessLogDBMgr::AddString(const WCHAR* text, uint32_t type) {
    if (text == nullptr) return E_INVALIDARG;
    const CZanTString value(text);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.AddString(value, type); });
}

HRESULT CZanDB4AccessLogDBMgr::CountDaysWithBits(uint32_t type, uint32_t bits, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    *outCount = 0;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.CountDaysWithBits(type, bits, outCount); });
}

HRESULT CZanDB4AccessLogDBMgr::SumDailyValues(uint32_t type, uint32_t* outSum) {
    if (outSum == nullptr) return E_INVALIDARG;
    *outSum = 0;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.SumDailyValues(type, outSum); });
}

HRESULT CZanDB4AccessLogDBMgr::GetStrings(CArray<CZanTString>* outStrings, uint32_t type) {
    if (outStrings == nullptr) return E_INVALIDARG;
    // Emptied first, so that no earlier content stays behind.
    outStrings->RemoveAll();
    CZanTArray<CZanTString> strings(outStrings);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetStrings(strings, type); });
}

HRESULT CZanDB4AccessLogDBMgr::GetBitHistogram(uint32_t type, const CZanTDateTime& from, const CZanTDateTime& to,
                                               CArray<uint32_t>* outCounts) {
    if (outCounts == nullptr) return E_INVALIDARG;
    CZanTArray<uint32_t> counts(outCounts);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetBitHistogram(type, from, to, counts); });
}

HRESULT CZanDB4AccessLogDBMgr::EnumDailyValues(const CZanTDateTime& from, const CZanTDateTime& to,
                                               ZanDB4DailyValueCallback callback, void* context) {
    if (callback == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.EnumDailyValues(from, to, callback, context); });
}

HRESULT CZanDB4AccessLogDBMgr::AddLaunchCount(uint32_t count, const CZanTDateTime* date) {
    const CZanTDateTime day = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.AddLaunchCount(count, day); });
}

HRESULT CZanDB4AccessLogDBMgr::GetLaunchCount(uint32_t* outCount, const CZanTDateTime* date) {
    if (outCount == nullptr) return E_INVALIDARG;
    const CZanTDateTime day = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetLaunchCount(outCount, day); });
}

HRESULT CZanDB4AccessLogDBMgr::BeginHistory(int64_t* outKey, const CZanTDateTime* date) {
    if (outKey == nullptr) return E_INVALIDARG;
    const CZanTDateTime moment = DateOrNow(date);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.BeginHistory(outKey, moment); });
}

HRESULT CZanDB4AccessLogDBMgr::AddHistoryItem(int64_t key, int32_t item) {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.AddHistoryItem(key, item); });
}

HRESULT CZanDB4AccessLogDBMgr::GetHistory(int64_t key, uint32_t* outCount, CZanTString& outText) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetHistory(key, outCount, outText); });
}

HRESULT CZanDB4AccessLogDBMgr::EndHistory(int64_t key) {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.EndHistory(key); });
}

HRESULT CZanDB4AccessLogDBMgr::GetHistoryCount(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetHistoryCount(outCount); });
}

HRESULT CZanDB4AccessLogDBMgr::DeleteHistory(int64_t key) {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.DeleteHistory(key); });
}

HRESULT CZanDB4AccessLogDBMgr::GetMonthlyLaunchCounts(const CZanTDateTime& from, const CZanTDateTime& to,
                                                      CArray<uint32_t>* outCounts) {
    if (outCounts == nullptr) return E_INVALIDARG;
    CZanTArray<uint32_t> counts(outCounts);
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetMonthlyLaunchCounts(from, to, counts); });
}

HRESULT CZanDB4AccessLogDBMgr::GetHistories(uint32_t max, CArray<CZanTString>* outHistories) {
    if (outHistories == nullptr) return E_INVALIDARG;
    // Gathered apart, then the caller's array is sized to what came and
    // filled: on a failure it ends empty.
    CZanTArray<CZanTString> gathered;
    HRESULT result = Locked([&](CSQLiteAccessLogDB& store) { return store.GetHistories(max, gathered); });
    outHistories->SetSize(gathered.GetSize());
    for (ptrdiff_t index = 0; index < gathered.GetSize(); ++index) (*outHistories)[index] = gathered[index];
    return result;
}

HRESULT CZanDB4AccessLogDBMgr::AddEditParamCount(uint32_t type, uint32_t count) {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.AddEditParamCount(type, count); });
}

HRESULT CZanDB4AccessLogDBMgr::GetEditParamCount(uint32_t type, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked([&](CSQLiteAccessLogDB& store) { return store.GetEditParamCount(type, outCount); });
}

HRESULT CZanDB4AccessLogDBMgr::Commit() {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4AccessLogDBMgr::Rollback() {
    // Closing the connection without a commit drops the open transaction.
    return Locked([&](CSQLiteAccessLogDB& store) { return store.Reopen(); });
}

HRESULT CZanDB4AccessLogDBMgr::Vacuum() {
    return Locked([&](CSQLiteAccessLogDB& store) { return store.Vacuum(); });
}
