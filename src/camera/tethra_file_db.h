// CZanTethraFileDB: the store "TethraDB.db" of files taken from the camera.
// One table, tethra_file, keyed by ids of id type 0 of this store. The
// column "atrributes" is spelt so in files written by every build.
// Not thread-safe: the manager holds m_lock around each call.
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/camera.h"

class CZanTethraFileDB : public CSQLiteDBBase {
public:
    static constexpr uint32_t kFileIdType = 0;

    HRESULT CreateTables() override;

    // Inserts the record's path, date and attributes under a new id. E_FAIL
    // when the path is listed already; the id is not given back.
    virtual HRESULT AddFile(IZanDB4TethraImportFileRecord* record, uint64_t* outId);
    // E_FAIL for an id that has no row.
    virtual HRESULT UpdateFile(uint64_t id, IZanDB4TethraImportFileRecord* record);
    virtual HRESULT DeleteFileByPath(const CZanTString& path);
    virtual HRESULT DeleteFileByID(uint64_t id);
    virtual BOOL HasFilePath(const CZanTString& path);
    virtual BOOL HasFileID(uint64_t id);
    // No row: S_OK with *outRecord as it was.
    virtual HRESULT GetFileByPath(const CZanTString& path, IZanDB4TethraImportFileRecord** outRecord);
    // Empties the list (without releasing what it held), then appends a
    // record per row, one reference each; rows that cannot be read are left
    // out. An empty table is S_OK.
    virtual HRESULT GetAllFiles(CList<IZanDB4TethraImportFileRecord*>* outList);
    virtual HRESULT DeleteAllFiles();
};
