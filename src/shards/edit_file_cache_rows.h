// EditFileCacheRows: the catalogue's statements on image_file_table, the
// files kept for edited images by file id (CSQLiteFileBasicDB's
// AddEditFileCache, UpdateEditFileCache, DeleteEditFileCache and
// GetEditFileCache), over a store's connection. Made on the stack for a
// call: it borrows the store. The caller holds the store's lock.
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/caches.h"

class EditFileCacheRows {
public:
    explicit EditFileCacheRows(CSQLiteDBBase& store) : m_store(store) {}

    // Writes the cache's type, path, filter data (copied) and orientation
    // (its low 16 bits) under fileId, in the store's transaction.
    // E_INVALIDARG for a null cache; E_FAIL when the statement fails (a row
    // for the file exists already).
    HRESULT AddEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache);
    // Rewrites the file's row from the cache. This write does not open the
    // store's transaction: it joins the one that is open, and with none open
    // it is committed at once. No row is S_OK. E_INVALIDARG for a null cache.
    HRESULT UpdateEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache);
    // Deletes the file's row in the store's transaction; no row is S_OK.
    HRESULT DeleteEditFileCache(uint64_t fileId);
    // A new object filled from the row, one reference for the caller.
    // E_INVALIDARG for a null out; E_FAIL without a row.
    HRESULT GetEditFileCache(uint64_t fileId, IZanDB4EditFileCache** outCache);

private:
    CSQLiteDBBase& m_store;
};
