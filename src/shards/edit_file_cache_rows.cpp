// EditFileCacheRows: the statements on image_file_table.
#include "shards/edit_file_cache_rows.h"

#include <new>

#include "frame/com_ptr.h"
#include "shards/edit_file_cache.h"
#include "shards/image_cache_tables.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr WCHAR kInsert[] =
    u"INSERT INTO image_file_table (file_id, image_file_type,image_file_path,filter_data,filter_data_orientation) "
    u"VALUES (?,?,?,?,?)";
constexpr WCHAR kUpdate[] =
    u"UPDATE image_file_table SET image_file_type=?, image_file_path=?, filter_data=?, filter_data_orientation=? "
    u"WHERE file_id=?";
constexpr WCHAR kDelete[] = u"DELETE FROM image_file_table WHERE file_id=?";
constexpr WCHAR kSelectById[] = u"SELECT * FROM image_file_table WHERE file_id=? LIMIT 1";

// What a write takes from the cache object, read through its interface.
struct EditCacheValues {
    uint32_t type = 0;
    CZanTString path;
    const void* filterData = nullptr;
    uint32_t filterDataSize = 0;
    uint16_t orientation = 0;
};

EditCacheValues ReadValues(IZanDB4EditFileCache& cache) {
    EditCacheValues values;
    cache.GetImageFileType(&values.type);
    cache.GetImageFilePath(values.path);
    // No filter data binds a null blob.
    if (cache.GetFilterData(&values.filterData, &values.filterDataSize) != S_OK) {
        values.filterData = nullptr;
        values.filterDataSize = 0;
    }
    cache.GetFilterDataOrientation(&values.orientation);
    return values;
}

}  // namespace

HRESULT EditFileCacheRows::AddEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) {
    if (cache == nullptr) return E_INVALIDARG;
    EditCacheValues values = ReadValues(*cache);
    m_store.BeginTransaction();
    Statement insert(m_store.m_db, kInsert);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(fileId));
    insert.BindInt64(2, values.type);
    insert.BindText(3, values.path);
    insert.BindBlob(4, values.filterData, static_cast<int>(values.filterDataSize));
    insert.BindInt(5, values.orientation);
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT EditFileCacheRows::UpdateEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) {
    if (cache == nullptr) return E_INVALIDARG;
    EditCacheValues values = ReadValues(*cache);
    // No BeginTransaction here, unlike the other writes: the update joins
    // the transaction that is open, and without one it commits on its own.
    // It has always been so.
    Statement update(m_store.m_db, kUpdate);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, values.type);
    update.BindText(2, values.path);
    update.BindBlob(3, values.filterData, static_cast<int>(values.filterDataSize));
    update.BindInt(4, values.orientation);
    update.BindInt64(5, static_cast<int64_t>(fileId));
    return update.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT EditFileCacheRows::DeleteEditFileCache(uint64_t fileId) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, kDelete);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    return remove.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT EditFileCacheRows::GetEditFileCache(uint64_t fileId, IZanDB4EditFileCache** outCache) {
    if (outCache == nullptr) return E_INVALIDARG;
    *outCache = nullptr;
    Statement select(m_store.m_db, kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4EditFileCache> cache = ComPtr<IZanDB4EditFileCache>::Adopt(new CZanDB4EditFileCache());
    cache->SetFileID(static_cast<uint64_t>(select.ColumnInt64(image_cache_tables::kImageFileId)));
    cache->SetImageFileType(static_cast<uint32_t>(select.ColumnInt64(image_cache_tables::kImageFileType)));
    cache->SetImageFilePath(select.ColumnText(image_cache_tables::kImageFilePath).GetString());
    int size = select.ColumnBytes(image_cache_tables::kFilterData);
    cache->SetFilterData(select.ColumnBlob(image_cache_tables::kFilterData), static_cast<uint32_t>(size));
    cache->SetFilterDataOrientation(
        static_cast<uint16_t>(select.ColumnInt(image_cache_tables::kFilterDataOrientation)));
    *outCache = cache.Detach();
    return S_OK;
}
