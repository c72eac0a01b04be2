// CZanDB4TethraImportFileMgr and ZanCamDB_CreateMgrInstance.
#include "camera/tethra_import_file_mgr.h"

#include <new>
#include <utility>

#include "camera/tethra_import_file_record.h"
#include "platform/files.h"
#include "storage/locked_call.h"
#include "zandb4/exports.h"

using zandb4::platform::ProcessLock;

namespace {

// Takes the named lock as a new holder would: at once if nobody has it,
// after waiting for the holder if wait is set, else not at all.
std::unique_ptr<ProcessLock> TakeLock(bool wait) {
    auto lock = std::make_unique<ProcessLock>();
    if (lock->Acquire(CZanDB4TethraImportFileMgr::kLockName, wait) != ProcessLock::Outcome::kAcquired) return nullptr;
    return lock;
}

CZanTString StorePath(const WCHAR* folder) {
    CZanTString path(folder);
    path.AppendPath(CZanDB4TethraImportFileMgr::kStoreFileName);
    return path;
}

}  // namespace

CZanDB4TethraImportFileMgr::CZanDB4TethraImportFileMgr() = default;

CZanDB4TethraImportFileMgr::~CZanDB4TethraImportFileMgr() {
    if (m_store) m_store->Close();
    m_store.reset();
    // The lock is deliberately not given back: it stays held until the
    // process ends. Callers must call Close.
    if (m_mutex) ProcessLock::KeepUntilExit(std::move(m_mutex));
}

HRESULT CZanDB4TethraImportFileMgr::Open(const WCHAR* folder, bool wait) {
    std::unique_ptr<ProcessLock> lock = TakeLock(wait);
    if (!lock) return E_FAIL;
    m_mutex = std::move(lock);
    if (m_store) m_store->Close();
    m_store = std::make_unique<CZanTethraFileDB>();
    m_store->m_folder = CZanTString(folder);
    m_store->m_fileName = kStoreFileName;
    // If the store cannot open, the lock stays held until Close and the
    // operations fail at the missing connection.
    return m_store->Open();
}

HRESULT CZanDB4TethraImportFileMgr::Close() {
    if (m_store) {
        if (m_store->HasCommitted()) m_store->Commit(false);
        m_store->Close();
        m_store.reset();
    }
    m_mutex.reset();
    return S_OK;
}

HRESULT CZanDB4TethraImportFileMgr::DeleteStore(const WCHAR* folder, bool wait) {
    // An open list cannot be deleted from under its own manager.
    if (m_mutex) return E_FAIL;
    std::unique_ptr<ProcessLock> lock = TakeLock(wait);
    if (!lock) return E_FAIL;
    bool deleted = zandb4::platform::DeleteFile(StorePath(folder).ToUtf8());
    lock.reset();
    return deleted ? S_OK : E_FAIL;
}

HRESULT CZanDB4TethraImportFileMgr::CreateRecord(IZanDB4TethraImportFileRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    // A failed allocation still answers S_OK, with a null record.
    *outRecord = new (std::nothrow) CZanDB4TethraImportFileRecord();
    return S_OK;
}

template <class Result, class Operation>
Result CZanDB4TethraImportFileMgr::WithOpenStore(Result closedAnswer, Operation&& operation) {
    if (!m_mutex) return closedAnswer;
    return zandb4::LockedCall(m_store.get(), closedAnswer, std::forward<Operation>(operation));
}

HRESULT CZanDB4TethraImportFileMgr::AddFile(IZanDB4TethraImportFileRecord* record, uint64_t* outId) {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.AddFile(record, outId); });
}

HRESULT CZanDB4TethraImportFileMgr::UpdateFile(uint64_t id, IZanDB4TethraImportFileRecord* record) {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.UpdateFile(id, record); });
}

HRESULT CZanDB4TethraImportFileMgr::DeleteFileByPath(const WCHAR* path) {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.DeleteFileByPath(CZanTString(path)); });
}

HRESULT CZanDB4TethraImportFileMgr::DeleteFileByID(uint64_t id) {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.DeleteFileByID(id); });
}

BOOL CZanDB4TethraImportFileMgr::HasFilePath(const WCHAR* path) {
    return WithOpenStore(BOOL{0}, [&](CZanTethraFileDB& store) { return store.HasFilePath(CZanTString(path)); });
}

BOOL CZanDB4TethraImportFileMgr::HasFileID(uint64_t id) {
    return WithOpenStore(BOOL{0}, [&](CZanTethraFileDB& store) { return store.HasFileID(id); });
}

HRESULT CZanDB4TethraImportFileMgr::GetFileByPath(const WCHAR* path, IZanDB4TethraImportFileRecord** outRecord) {
    return WithOpenStore(E_FAIL,
                         [&](CZanTethraFileDB& store) { return store.GetFileByPath(CZanTString(path), outRecord); });
}

HRESULT CZanDB4TethraImportFileMgr::GetAllFiles(CList<IZanDB4TethraImportFileRecord*>* outList) {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.GetAllFiles(outList); });
}

HRESULT CZanDB4TethraImportFileMgr::DeleteAllFiles() {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.DeleteAllFiles(); });
}

HRESULT CZanDB4TethraImportFileMgr::Commit() {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.Commit(false); });
}

HRESULT CZanDB4TethraImportFileMgr::Rollback() {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.Reopen(); });
}

HRESULT CZanDB4TethraImportFileMgr::Vacuum() {
    return WithOpenStore(E_FAIL, [&](CZanTethraFileDB& store) { return store.Vacuum(); });
}

extern "C" HRESULT ZanCamDB_CreateMgrInstance(IZanDB4TethraImportFileMgr** out) {
    if (out == nullptr) return E_INVALIDARG;
    *out = new (std::nothrow) CZanDB4TethraImportFileMgr();
    return *out != nullptr ? S_OK : E_FAIL;
}
