// The list of files taken from a tethered camera, kept in "TethraDB.db" in a
// folder the caller names. It works without ZanDB4_Initialize, and one
// cross-process lock serialises every user of the list from Open to Close.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// One file of the camera list. A plain value holder with no link to the store.
class IZanDB4TethraImportFileRecord : public IUnknown {
public:
    // E_INVALIDARG for a null out.
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // Always S_OK.
    virtual HRESULT SetID(uint64_t id) = 0;
    // Copies the path; always S_OK.
    virtual HRESULT SetPath(const CZanTString& path) = 0;
    // Copies the path out; always S_OK, also for an empty path.
    virtual HRESULT GetPath(CZanTString& outPath) = 0;
    // Copy the broken-down date in and out; the pointer must not be null.
    virtual HRESULT SetDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetDate(SYSTEMTIME* outDate) = 0;
    // Always S_OK.
    virtual HRESULT SetAttributes(uint32_t attributes) = 0;
    // E_INVALIDARG for a null out.
    virtual HRESULT GetAttributes(uint32_t* outAttributes) = 0;
};

// The camera list. Made closed by ZanCamDB_CreateMgrInstance; Open takes the
// cross-process lock and opens the store, Close commits what was committed
// before, closes and gives the lock back. Open, Close and DeleteStore must run
// on one thread. Every operation from AddFile on answers E_FAIL (or 0 where
// it answers a boolean) while the manager is closed.
class IZanDB4TethraImportFileMgr : public IUnknown {
public:
    // Takes the lock (waiting for it without limit if wait is true, else
    // E_FAIL at once when another holder has it) and opens "TethraDB.db" in
    // folder. Answers E_FAIL or the store's open result; if the store cannot
    // open, the lock stays held until Close.
    virtual HRESULT Open(const WCHAR* folder, bool wait) = 0;
    // Always S_OK.
    virtual HRESULT Close() = 0;
    // Deletes "TethraDB.db" in folder while nobody holds the list. E_FAIL if
    // this manager has it open, the lock cannot be had, or the file could not
    // be deleted (also when it is not there).
    virtual HRESULT DeleteStore(const WCHAR* folder, bool wait) = 0;
    // A blank record for the caller. E_INVALIDARG for a null out.
    virtual HRESULT CreateRecord(IZanDB4TethraImportFileRecord** outRecord) = 0;
    // Adds the record's path, date and attributes under a new id, written to
    // outId (may be null). E_FAIL for a path already listed.
    virtual HRESULT AddFile(IZanDB4TethraImportFileRecord* record, uint64_t* outId) = 0;
    // Rewrites the row of id from the record. E_FAIL for an unknown id.
    virtual HRESULT UpdateFile(uint64_t id, IZanDB4TethraImportFileRecord* record) = 0;
    virtual HRESULT DeleteFileByPath(const WCHAR* path) = 0;
    virtual HRESULT DeleteFileByID(uint64_t id) = 0;
    virtual BOOL HasFilePath(const WCHAR* path) = 0;
    virtual BOOL HasFileID(uint64_t id) = 0;
    // S_OK with *outRecord untouched when the path is not listed.
    virtual HRESULT GetFileByPath(const WCHAR* path, IZanDB4TethraImportFileRecord** outRecord) = 0;
    // Empties the caller's list (without releasing what it held), then
    // appends every listed file, one reference each. An empty list is S_OK.
    virtual HRESULT GetAllFiles(CList<IZanDB4TethraImportFileRecord*>* outList) = 0;
    virtual HRESULT DeleteAllFiles() = 0;
    // Makes the open transaction durable.
    virtual HRESULT Commit() = 0;
    // Drops the open transaction by reopening the store.
    virtual HRESULT Rollback() = 0;
    virtual HRESULT Vacuum() = 0;
};
