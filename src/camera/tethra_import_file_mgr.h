// CZanDB4TethraImportFileMgr: the application's door to the camera list.
//
// Made closed by ZanCamDB_CreateMgrInstance. Open takes the cross-process
// lock named "{DB9F83ED-CEFD-4DF9-AF69-3E7797E43CD1}ZanTethraDB" and opens
// the store, which this manager owns, unlike the stores of other managers;
// Close gives both back. Between the two, no other manager in any process can
// open or delete the list. Open, Close and DeleteStore run on one thread; the
// other operations hold the store's lock for their length.
#pragma once

#include <memory>

#include "camera/tethra_file_db.h"
#include "frame/com_object.h"
#include "platform/process_lock.h"
#include "zandb4/identifiers.h"

class CZanDB4TethraImportFileMgr
    : public zandb4::ComObject<IZanDB4TethraImportFileMgr, IID_IZanDB4TethraImportFileMgr> {
public:
    static constexpr char kLockName[] = "{DB9F83ED-CEFD-4DF9-AF69-3E7797E43CD1}ZanTethraDB";
    static constexpr WCHAR kStoreFileName[] = u"TethraDB.db";

    CZanDB4TethraImportFileMgr();

    HRESULT Open(const WCHAR* folder, bool wait) override;
    HRESULT Close() override;
    HRESULT DeleteStore(const WCHAR* folder, bool wait) override;
    HRESULT CreateRecord(IZanDB4TethraImportFileRecord** outRecord) override;
    HRESULT AddFile(IZanDB4TethraImportFileRecord* record, uint64_t* outId) override;
    HRESULT UpdateFile(uint64_t id, IZanDB4TethraImportFileRecord* record) override;
    HRESULT DeleteFileByPath(const WCHAR* path) override;
    HRESULT DeleteFileByID(uint64_t id) override;
    BOOL HasFilePath(const WCHAR* path) override;
    BOOL HasFileID(uint64_t id) override;
    HRESULT GetFileByPath(const WCHAR* path, IZanDB4TethraImportFileRecord** outRecord) override;
    HRESULT GetAllFiles(CList<IZanDB4TethraImportFileRecord*>* outList) override;
    HRESULT DeleteAllFiles() override;
    HRESULT Commit() override;
    HRESULT Rollback() override;
    HRESULT Vacuum() override;

    // The store while open, for tests; null while closed.
    CZanTethraFileDB* Store() { return m_store.get(); }

protected:
    // Closes and destroys the store but keeps the lock: a manager released
    // without Close holds the list until the process ends.
    ~CZanDB4TethraImportFileMgr() override;

private:
    // Runs an operation on the open store under its lock, or answers
    // closedAnswer when the lock or the store is missing.
    template <class Result, class Operation>
    Result WithOpenStore(Result closedAnswer, Operation&& operation);

    std::unique_ptr<zandb4::platform::ProcessLock> m_mutex;
    std::unique_ptr<CZanTethraFileDB> m_store;
};
