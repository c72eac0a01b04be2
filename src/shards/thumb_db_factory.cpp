// CSQLiteThumbDBFactory: the open shards of one thumbnail folder, the rule
// from identifier to shard, and the walks over the open shards and over the
// shard files of the folder.
#include "shards/thumb_db_factory.h"

#include "shards/shard_files.h"
#include "shards/thumbnail_table.h"

namespace {

// What a write from a cache object takes from it: its bytes, their size and
// its source identifier.
struct CacheContents {
    const void* data = nullptr;
    uint32_t size = 0;
    uint64_t sourceId = 0;
};

// E_INVALIDARG for a null cache or one that holds no bytes.
HRESULT ReadCache(IZanDB4FileCache* cache, CacheContents& contents) {
    if (cache == nullptr) return E_INVALIDARG;
    contents.data = cache->GetData();
    contents.size = cache->GetSize();
    cache->GetSourceID(&contents.sourceId);
    if (contents.data == nullptr || contents.size == 0) return E_INVALIDARG;
    return S_OK;
}

}  // namespace

CSQLiteThumbDBFactory::CSQLiteThumbDBFactory(const CZanTString& folder)
    : m_shardSpan(shard_files::kIdsPerShard), m_folder(folder) {}

CSQLiteThumbDBFactory::~CSQLiteThumbDBFactory() = default;

HRESULT CSQLiteThumbDBFactory::GetShard(CSQLiteThumbDB** outShard, uint64_t id) {
    return shard_files::GetShardOf(m_shards, m_folder, m_shardSpan, shard_files::kPaddedNameFormat, id, outShard);
}

HRESULT CSQLiteThumbDBFactory::DeleteThumbnail(uint64_t id) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    return shard->DeleteThumbnail(id);
}

HRESULT CSQLiteThumbDBFactory::DeleteThumbnails(const std::set<uint64_t>* ids) {
    if (ids == nullptr || ids->empty()) return S_OK;
    CZanTString list;
    for (uint64_t id : *ids) list.AppendFormat(list.IsEmpty() ? u"%llu" : u",%llu", static_cast<unsigned long long>(id));
    // The whole list goes to every open shard: the identifiers in question
    // were written in this run, so their shards are open. A shard that is
    // not open is not visited and keeps its rows.
    for (auto& [number, shard] : m_shards)
        if (shard->DeleteThumbnails(list) != S_OK) return E_FAIL;
    return S_OK;
}

HRESULT CSQLiteThumbDBFactory::DeleteAllThumbnails() {
    CriticalSectionGuard guard(m_lock);
    HRESULT result = S_OK;
    for (auto& [number, shard] : m_shards)
        if (shard->DeleteAllRows() != S_OK) result = E_FAIL;
    return result;
}

HRESULT CSQLiteThumbDBFactory::CommitShards() {
    // The lock is taken before the map is looked at, so that a caller
    // without the catalogue's lock does not race a shard being opened.
    CriticalSectionGuard guard(m_lock);
    if (m_shards.empty()) return S_OK;
    // The first failure ends the walk; the shards after it stay uncommitted.
    for (auto& [number, shard] : m_shards) {
        HRESULT committed = shard->Commit(false);
        if (committed != S_OK) return committed;
        shard->ReleaseCacheMemory();
    }
    return S_OK;
}

HRESULT CSQLiteThumbDBFactory::AddThumbnail(uint64_t id, const void* data, uint32_t size) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    return shard->InsertThumbnail(id, data, size, 0);
}

HRESULT CSQLiteThumbDBFactory::AddThumbnailFromCache(uint64_t id, IZanDB4FileCache* cache) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    CacheContents contents;
    HRESULT read = ReadCache(cache, contents);
    if (read != S_OK) return read;
    return shard->InsertThumbnail(id, contents.data, contents.size, contents.sourceId);
}

HRESULT CSQLiteThumbDBFactory::GetThumbnail(uint64_t id, IZanDB4FileCache** outCache) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    return shard->GetThumbnail(id, outCache);
}

BOOL CSQLiteThumbDBFactory::HasThumbnail(uint64_t id) {
    CSQLiteThumbDB* shard = nullptr;
    if (GetShard(&shard, id) != S_OK) return 0;
    return shard->Exists(id);
}

HRESULT CSQLiteThumbDBFactory::UpdateThumbnail(uint64_t id, const void* data, uint32_t size) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    return shard->UpdateThumbnail(id, data, size, nullptr);
}

HRESULT CSQLiteThumbDBFactory::UpdateThumbnailFromCache(uint64_t id, IZanDB4FileCache* cache) {
    CSQLiteThumbDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id);
    if (got != S_OK) return got;
    CacheContents contents;
    HRESULT read = ReadCache(cache, contents);
    if (read != S_OK) return read;
    return shard->UpdateThumbnail(id, contents.data, contents.size, &contents.sourceId);
}

HRESULT CSQLiteThumbDBFactory::VacuumShards() {
    HRESULT committed = CommitShards();
    if (committed != S_OK) return committed;
    CriticalSectionGuard guard(m_lock);
    CloseShards();
    return shard_files::WalkShardFiles<CSQLiteThumbDB>(m_folder, [](CSQLiteThumbDB& shard) { return shard.Vacuum(); });
}

HRESULT CSQLiteThumbDBFactory::ReopenShards() {
    CriticalSectionGuard guard(m_lock);
    HRESULT result = S_OK;
    for (auto& [number, shard] : m_shards)
        if (shard->Reopen() != S_OK) result = E_FAIL;
    return result;
}

uint32_t CSQLiteThumbDBFactory::CountOrphans(const CZanTArray<uint64_t>& ids) {
    HRESULT committed = CommitShards();
    // The failure goes back in place of the count, as it always did.
    if (committed != S_OK) return static_cast<uint32_t>(committed);
    CloseShards();
    return shard_files::CountOrphansInFolder<CSQLiteThumbDB>(m_folder, ids, thumbnail_table::kCountOrphansFormat,
                                                             thumbnail_table::kCountOrphansInRangeFormat);
}

void CSQLiteThumbDBFactory::CloseShards() {
    CriticalSectionGuard guard(m_lock);
    for (auto& [number, shard] : m_shards) shard->Close();
    m_shards.clear();
}
