// CZanDB4AppLogDBMgr: the application's door to "information"/"appcahce.db",
// a thin locked layer over CSQLiteAppLogDataDB. It borrows the store from
// the registry and holds the store's lock for the whole of each operation,
// the enumerations' callbacks included; only GetFolder takes no lock.
//
// Arguments: a null out-pointer of GetCount is E_INVALIDARG; a null item is
// E_INVALIDARG from the store; a null callback is no error (the walk stops
// after the first row with S_FALSE). A manager made while the library had no
// application log store answers E_FAIL to every operation but the three
// reserved ones, which do nothing and answer S_OK whatever the state.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/logs.h"

class CSQLiteAppLogDataDB;

class CZanDB4AppLogDBMgr : public zandb4::ComObject<IZanDB4AppLogDBMgr, IID_IZanDB4AppLogDBMgr> {
public:
    explicit CZanDB4AppLogDBMgr(CSQLiteAppLogDataDB* appLogDB) : m_appLogDB(appLogDB) {}

    HRESULT AddCount(uint32_t logID, uint32_t logType, uint32_t count) override;
    HRESULT MergeCount(uint32_t logID, uint32_t typeBits, uint32_t count) override;
    HRESULT EnumCounts(ZanDB4AppLogCountCallback callback, void* context, uint32_t logID, uint32_t logType,
                       uint32_t limit, uint32_t offset) override;
    HRESULT GetCount(uint32_t logID, uint32_t logType, uint32_t* outCount) override;
    HRESULT AddHistory(IZanAppLogItem* item) override;
    HRESULT EnumHistory(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID, uint32_t limit,
                        uint32_t offset) override;
    HRESULT DeleteHistory(uint32_t logID) override;
    HRESULT SetInformation(IZanAppLogItem* item) override;
    HRESULT EnumInformation(ZanDB4AppLogRecordCallback callback, void* context, uint32_t logID, uint32_t limit,
                            uint32_t offset) override;
    HRESULT DeleteInformation(uint32_t logID) override;
    HRESULT SetDeleteOnClose(uint32_t mode) override;
    HRESULT GetFolder(CZanTString& outFolder) override;
    HRESULT Reserved1() override;
    HRESULT Reserved2() override;
    HRESULT Reserved3() override;
    HRESULT Commit() override;
    HRESULT Rollback() override;
    HRESULT Vacuum() override;

private:
    // Runs operation under the store's lock; E_FAIL without a store.
    template <class Operation>
    HRESULT Locked(Operation&& operation);

    CSQLiteAppLogDataDB* m_appLogDB;
};
