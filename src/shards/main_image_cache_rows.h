// MainImageCacheRows: the catalogue's statements on
// main_image_cache_file_table, the paths of cached main images by file id
// (CSQLiteFileBasicDB's AddMainImageCache, UpdateMainImageCache,
// DeleteMainImageCache and GetMainImageCache), over a store's connection.
// Made on the stack for a call: it borrows the store. Writers open the
// store's transaction; the caller holds the store's lock.
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/caches.h"

class MainImageCacheRows {
public:
    explicit MainImageCacheRows(CSQLiteDBBase& store) : m_store(store) {}

    // Writes the cache's type and path under fileId. E_INVALIDARG for a null
    // cache or file id 0; E_FAIL when the statement fails (a row for the file
    // exists already).
    HRESULT AddMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache);
    // Rewrites type and path of the file's row. Without a row nothing is
    // written and the answer is S_OK. E_INVALIDARG for a null cache.
    HRESULT UpdateMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache);
    // Deletes the cache row of the file; no row is S_OK.
    HRESULT DeleteMainImageCache(uint64_t fileId);
    // A new object filled from the row, one reference for the caller.
    // E_INVALIDARG for a null out; E_FAIL without a row.
    HRESULT GetMainImageCache(uint64_t fileId, IZanDB4MainImageCache** outCache);

private:
    CSQLiteDBBase& m_store;
};
