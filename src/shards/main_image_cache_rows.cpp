// MainImageCacheRows: the delete of a file's main image cache row.
#include "shards/main_image_cache_rows.h"

#include "shards/image_cache_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::Statement;

HRESULT MainImageCacheRows::DeleteMainImageCache(uint64_t fileId) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, image_cache_tables::kDeleteMainImageCache);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}
