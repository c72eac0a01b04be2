// CZanDB4AccessLogDBMgr: the application's door to "UserLog.db", a thin
// locked layer over CSQLiteAccessLogDB. It borrows the store from the
// registry and holds the store's lock for the whole of each operation, the
// callback of EnumDailyValues included; changes stay in the store's open
// transaction until Commit. An optional date that is null means the current
// moment from the system clock, that is a UTC day.
//
// Arguments: a null out-pointer, array, text or callback is E_INVALIDARG. A
// manager made while the library had no access log store answers E_FAIL.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/logs.h"

class CSQLiteAccessLogDB;

class CZanDB4AccessLogDBMgr : public zandb4::ComObject<IZanDB4AccessLogDBMgr, IID_IZanDB4AccessLogDBMgr> {
public:
    explicit CZanDB4AccessLogDBMgr(CSQLiteAccessLogDB* accessLogDB) : m_accessLogDB(accessLogDB) {}

    HRESULT SetDailyBits(uint32_t type, uint32_t bits, const CZanTDateTime* date) override;
    HRESULT AddDailyCount(uint32_t type, uint32_t count, const CZanTDateTime* date) override;
    HRESULT GetDailyValue(uint32_t type, uint32_t* outValue, const CZanTDateTime* date) override;
    HRESULT AddString(const WCHAR* text, uint32_t type) override;
    HRESULT CountDaysWithBits(uint32_t type, uint32_t bits, uint32_t* outCount) override;
    HRESULT SumDailyValues(uint32_t type, uint32_t* outSum) override;
    HRESULT GetStrings(CArray<CZanTString>* outStrings, uint32_t type) override;
    HRESULT GetBitHistogram(uint32_t type, const CZanTDateTime& from, const CZanTDateTime& to,
                            CArray<uint32_t>* outCounts) override;
    HRESULT EnumDailyValues(const CZanTDateTime& from, const CZanTDateTime& to, ZanDB4DailyValueCallback callback,
                            void* context) override;
    HRESULT AddLaunchCount(uint32_t count, const CZanTDateTime* date) override;
    HRESULT GetLaunchCount(uint32_t* outCount, const CZanTDateTime* date) override;
    HRESULT BeginHistory(int64_t* outKey, const CZanTDateTime* date) override;
    HRESULT AddHistoryItem(int64_t key, int32_t item) override;
    HRESULT GetHistory(int64_t key, uint32_t* outCount, CZanTString& outText) override;
    HRESULT EndHistory(int64_t key) override;
    HRESULT GetHistoryCount(uint32_t* outCount) override;
    HRESULT DeleteHistory(int64_t key) override;
    HRESULT GetMonthlyLaunchCounts(const CZanTDateTime& from, const CZanTDateTime& to,
                                   CArray<uint32_t>* outCounts) override;
    HRESULT GetHistories(uint32_t max, CArray<CZanTString>* outHistories) override;
    HRESULT AddEditParamCount(uint32_t type, uint32_t count) override;
    HRESULT GetEditParamCount(uint32_t type, uint32_t* outCount) override;
    HRESULT Commit() override;
    HRESULT Rollback() override;
    HRESULT Vacuum() override;

private:
    // Runs operation under the store's lock; E_FAIL without a store.
    template <class Operation>
    HRESULT Locked(Operation&& operation);

    CSQLiteAccessLogDB* m_accessLogDB;
};
