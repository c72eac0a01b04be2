// CSQLiteMetaDataDBFactory: the open large-metadata shards, the rule from
// file id to shard, the row statements and the walks.
#include "shards/meta_data_db_factory.h"

#include <cstdlib>
#include <cstring>

#include "shards/meta_data_table.h"
#include "shards/shard_files.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kInsert[] = u"INSERT INTO meta_data_table (file_id, meta_data_type, meta_data) VALUES (?,?,?)";
constexpr WCHAR kDeleteById[] = u"DELETE FROM meta_data_table WHERE file_id=?";
constexpr WCHAR kUpdate[] = u"UPDATE meta_data_table SET meta_data_type=?, meta_data=? WHERE file_id=?";
constexpr WCHAR kSelectById[] = u"SELECT * FROM meta_data_table WHERE file_id=? LIMIT 1";


}  // namespace

CSQLiteMetaDataDBFactory::CSQLiteMetaDataDBFactory(const CZanTString& folder) : m_folder(folder) {}

CSQLiteMetaDataDBFactory::~CSQLiteMetaDataDBFactory() = default;

HRESULT CSQLiteMetaDataDBFactory::GetShard(CSQLiteMetaDataDB** outShard, uint64_t fileId) {
    return shard_files::GetShardOf(m_shards, m_folder, shard_files::kIdsPerShard, shard_files::kShortNameFormat,
                                   fileId, outShard);
}

HRESULT CSQLiteMetaDataDBFactory::AddMetaData(uint64_t fileId, uint32_t type, const void* data, uint32_t size) {
    CSQLiteMetaDataDB* shard = nullptr;
    HRESULT got = GetShard(&shard, fileId);
    if (got != S_OK) return got;
    shard->BeginTransaction();
    Statement insert(shard->m_db, kInsert);
    insert.BindInt64(1, static_cast<int64_t>(fileId));
    insert.BindInt64(2, type);
    insert.BindBlob(3, data, static_cast<int>(size));
    return zandb4::StepToDone(insert);
}

HRESULT CSQLiteMetaDataDBFactory::DeleteMetaData(uint64_t fileId) {
    CSQLiteMetaDataDB* shard = nullptr;
    HRESULT got = GetShard(&shard, fileId);
    if (got != S_OK) return got;
    shard->BeginTransaction();
    Statement remove(shard->m_db, kDeleteById);
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    return zandb4::StepToDone(remove);
}

HRESULT CSQLiteMetaDataDBFactory::UpdateMetaData(uint64_t fileId, uint32_t type, const void* data, uint32_t size) {
    CSQLiteMetaDataDB* shard = nullptr;
    HRESULT got = GetShard(&shard, fileId);
    if (got != S_OK) return got;
    shard->BeginTransaction();
    Statement update(shard->m_db, kUpdate);
    update.BindInt64(1, type);
    update.BindBlob(2, data, static_cast<int>(size));
    update.BindInt64(3, static_cast<int64_t>(fileId));
    return zandb4::StepToDone(update);
}

HRESULT CSQLiteMetaDataDBFactory::GetMetaData(uint32_t* outType, void** outData, uint32_t* outSize,
                                              uint64_t fileId) {
    if (outType == nullptr && outData == nullptr && outSize == nullptr) return E_INVALIDARG;
    if (outType != nullptr) *outType = 0;
    if (outData != nullptr) *outData = nullptr;
    if (outSize != nullptr) *outSize = 0;
    CSQLiteMetaDataDB* shard = nullptr;
    HRESULT got = GetShard(&shard, fileId);
    if (got != S_OK) return got;

    Statement select(shard->m_db, kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    if (outType != nullptr) *outType = static_cast<uint32_t>(select.ColumnInt64(meta_data_table::kMetaDataType));
    if (outSize == nullptr && outData == nullptr) return S_OK;
    uint32_t size = static_cast<uint32_t>(select.ColumnBytes(meta_data_table::kMetaData));
    if (outSize != nullptr) *outSize = size;
    // Asking for the size alone allocates nothing; the caller owns the copy
    // and frees it with free().
    if (outData == nullptr || size == 0) return S_OK;
    const void* blob = select.ColumnBlob(meta_data_table::kMetaData);
    void* copy = blob == nullptr ? nullptr : std::malloc(size);
    if (copy == nullptr) return E_OUTOFMEMORY;
    std::memcpy(copy, blob, size);
    *outData = copy;
    return S_OK;
}

HRESULT CSQLiteMetaDataDBFactory::CommitShards() {
    // Every shard is committed, even after one failed.
    HRESULT result = S_OK;
    for (auto& [number, shard] : m_shards) {
        if (shard->Commit(false) != S_OK) result = E_FAIL;
        shard->ReleaseCacheMemory();
    }
    return result;
}

HRESULT CSQLiteMetaDataDBFactory::ReopenShards() {
    HRESULT result = S_OK;
    for (auto& [number, shard] : m_shards)
        if (shard->Reopen() != S_OK) result = E_FAIL;
    return result;
}

HRESULT CSQLiteMetaDataDBFactory::VacuumOpenShards() {
    HRESULT result = S_OK;
    for (auto& [number, shard] : m_shards)
        if (shard->Vacuum() != S_OK) result = E_FAIL;
    return result;
}

uint32_t CSQLiteMetaDataDBFactory::CountOrphans(const CZanTArray<uint64_t>& ids) {
    HRESULT committed = CommitShards();
    // The failure goes back in place of the count.
    if (committed != S_OK) return static_cast<uint32_t>(committed);
    CloseShards();
    return shard_files::CountOrphansInFolder<CSQLiteMetaDataDB>(m_folder, ids, meta_data_table::kCountOrphansFormat,
                                                                meta_data_table::kCountOrphansInRangeFormat);
}

void CSQLiteMetaDataDBFactory::CloseShards() {
    for (auto& [number, shard] : m_shards) shard->Close();
    m_shards.clear();
}
