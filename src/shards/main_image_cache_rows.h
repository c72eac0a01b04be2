// MainImageCacheRows: the catalogue's statements on
// main_image_cache_file_table, the paths of cached main images by file id
// (CSQLiteFileBasicDB's DeleteMainImageCache), over a store's connection.
// Made on the stack for a call: it borrows the store. Writers open the
// store's transaction; the caller holds the store's lock.
#pragma once

#include "storage/sqlite_db_base.h"

class MainImageCacheRows {
public:
    explicit MainImageCacheRows(CSQLiteDBBase& store) : m_store(store) {}

    // Deletes the cache row of the file; no row is S_OK.
    HRESULT DeleteMainImageCache(uint64_t fileId);

private:
    CSQLiteDBBase& m_store;
};
