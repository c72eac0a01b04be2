// MainImageCacheRows: the statements on main_image_cache_file_table.
#include "shards/main_image_cache_rows.h"

#include "frame/com_ptr.h"
#include "shards/image_cache_tables.h"
#include "shards/main_image_cache.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr WCHAR kInsert[] = u"INSERT INTO main_image_cache_file_table (file_id,file_type,file_path) VALUES(?,?,?)";
constexpr WCHAR kSelectKey[] = u"SELECT file_id FROM main_image_cache_file_table WHERE file_id=? LIMIT 1";
constexpr WCHAR kUpdate[] = u"UPDATE main_image_cache_file_table SET file_type=?, file_path=? WHERE file_id=?";
constexpr WCHAR kSelectById[] = u"SELECT * FROM main_image_cache_file_table WHERE file_id=? LIMIT 1";

}  // namespace

HRESULT MainImageCacheRows::AddMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) {
    if (cache == nullptr || fileId == 0) return E_INVALIDARG;
    uint32_t type = 0;
    CZanTString path;
    cache->GetFileType(&type);
    cache->GetFilePath(path);
    m_store.BeginTransaction();
    Statement insert(m_store.m_db, kInsert);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(fileId));
    insert.BindInt64(2, type);
    insert.BindText(3, path);
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT MainImageCacheRows::UpdateMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) {
    if (cache == nullptr) return E_INVALIDARG;
    {
        Statement exists(m_store.m_db, kSelectKey);
        if (!exists.IsPrepared()) return E_FAIL;
        exists.BindInt64(1, static_cast<int64_t>(fileId));
        // Without a row nothing is written.
        if (exists.Step() != SQLITE_ROW) return S_OK;
    }
    uint32_t type = 0;
    CZanTString path;
    cache->GetFileType(&type);
    cache->GetFilePath(path);
    m_store.BeginTransaction();
    Statement update(m_store.m_db, kUpdate);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, type);
    update.BindText(2, path);
    update.BindInt64(3, static_cast<int64_t>(fileId));
    return update.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT MainImageCacheRows::DeleteMainImageCache(uint64_t fileId) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, image_cache_tables::kDeleteMainImageCache);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    return zandb4::StepToDone(remove);
}

HRESULT MainImageCacheRows::GetMainImageCache(uint64_t fileId, IZanDB4MainImageCache** outCache) {
    if (outCache == nullptr) return E_INVALIDARG;
    *outCache = nullptr;
    Statement select(m_store.m_db, kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4MainImageCache> cache = ComPtr<IZanDB4MainImageCache>::Adopt(new CZanDB4MainImageCache());
    cache->SetFileID(static_cast<uint64_t>(select.ColumnInt64(image_cache_tables::kMainImageFileId)));
    cache->SetFileType(static_cast<uint32_t>(select.ColumnInt64(image_cache_tables::kMainImageFileType)));
    cache->SetFilePath(select.ColumnText(image_cache_tables::kMainImageFilePath).GetString());
    *outCache = cache.Detach();
    return S_OK;
}
