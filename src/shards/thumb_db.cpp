// CSQLiteThumbDB: thumbnail_table and the row operations of one shard.
#include "shards/thumb_db.h"

#include <new>

#include "frame/com_ptr.h"
#include "platform/clock.h"
#include "shards/file_cache.h"
#include "shards/thumbnail_table.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr WCHAR kInsert[] =
    u"INSERT INTO thumbnail_table (file_id,thumbnail_update_date,thumbnail_data,source_id) VALUES (?,?,?,?)";
constexpr WCHAR kUpdateWithSource[] =
    u"UPDATE thumbnail_table SET thumbnail_update_date=?, thumbnail_data=?, source_id=? WHERE file_id=?";
constexpr WCHAR kUpdateWithoutSource[] =
    u"UPDATE thumbnail_table SET thumbnail_update_date=?, thumbnail_data=? WHERE file_id=?";
// The existence test has blanks around its '=', unlike the read.
constexpr WCHAR kExists[] = u"SELECT * FROM thumbnail_table WHERE file_id = ? LIMIT 1";
constexpr WCHAR kDeleteById[] = u"DELETE FROM thumbnail_table WHERE file_id=?";
constexpr WCHAR kDeleteInListFormat[] = u"DELETE FROM thumbnail_table WHERE file_id IN (%s)";
constexpr WCHAR kDeleteAll[] = u"DELETE FROM thumbnail_table";

// The stamp of a write: now, in UTC, packed.
int64_t NowPacked() { return CZanTDateTime(zandb4::platform::GetSystemTime()).GetPacked(); }


}  // namespace

HRESULT CSQLiteThumbDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    return ExecuteStatement(thumbnail_table::kCreate) == S_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteThumbDB::InsertThumbnail(uint64_t id, const void* data, uint32_t size, uint64_t sourceId) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    BeginTransaction();
    Statement insert(m_db, kInsert);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(id));
    insert.BindInt64(2, NowPacked());
    insert.BindBlob(3, data, static_cast<int>(size));
    insert.BindInt64(4, static_cast<int64_t>(sourceId));
    // A row under that identifier already makes the step fail.
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT CSQLiteThumbDB::UpdateThumbnail(uint64_t id, const void* data, uint32_t size, const uint64_t* sourceId) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    if (!Exists(id)) return E_FAIL;
    BeginTransaction();
    Statement update(m_db, sourceId != nullptr ? kUpdateWithSource : kUpdateWithoutSource);
    if (!update.IsPrepared()) return E_FAIL;
    int index = 1;
    update.BindInt64(index++, NowPacked());
    update.BindBlob(index++, data, static_cast<int>(size));
    if (sourceId != nullptr) update.BindInt64(index++, static_cast<int64_t>(*sourceId));
    update.BindInt64(index, static_cast<int64_t>(id));
    return zandb4::StepToDone(update);
}

BOOL CSQLiteThumbDB::Exists(uint64_t id) {
    Statement select(m_db, kExists);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

HRESULT CSQLiteThumbDB::GetThumbnail(uint64_t id, IZanDB4FileCache** outCache) {
    if (outCache == nullptr) return E_INVALIDARG;
    *outCache = nullptr;
    Statement select(m_db, thumbnail_table::kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;

    ComPtr<IZanDB4FileCache> cache = ComPtr<IZanDB4FileCache>::Adopt(new (std::nothrow) CZanDB4FileCache());
    if (!cache) return E_FAIL;
    // The source identifier is set twice, first to the key and then to the
    // row's source_id, so the object ends with the row's value and carries
    // no key. Clients read it so.
    cache->SetSourceID(static_cast<uint64_t>(select.ColumnInt64(thumbnail_table::kFileId)));
    cache->SetUpdateDate(CZanTDateTime(select.ColumnInt64(thumbnail_table::kThumbnailUpdateDate)));
    cache->SetSourceID(static_cast<uint64_t>(select.ColumnInt64(thumbnail_table::kSourceId)));
    // The size first: a zero-size blob gives a null pointer. The bytes are
    // copied before the statement goes.
    int size = select.ColumnBytes(thumbnail_table::kThumbnailData);
    const void* data = size == 0 ? nullptr : select.ColumnBlob(thumbnail_table::kThumbnailData);
    if (cache->SetData(data, static_cast<uint32_t>(size)) != S_OK) return E_FAIL;
    *outCache = cache.Detach();
    return S_OK;
}

HRESULT CSQLiteThumbDB::DeleteThumbnail(uint64_t id) {
    BeginTransaction();
    Statement remove(m_db, kDeleteById);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(id));
    return zandb4::StepToDone(remove);
}

HRESULT CSQLiteThumbDB::DeleteThumbnails(const CZanTString& idList) {
    BeginTransaction();
    CZanTString sql;
    sql.Format(kDeleteInListFormat, idList.GetString());
    Statement remove(m_db, sql.GetString());
    return zandb4::StepToDone(remove);
}

HRESULT CSQLiteThumbDB::DeleteAllRows() {
    BeginTransaction();
    return ExecuteStatement(kDeleteAll);
}
