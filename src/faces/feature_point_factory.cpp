// CSQLiteFaceFeaturePointDBFactory: the shards of one feature point set.
#include "faces/feature_point_factory.h"

#include <cstdlib>

#include "faces/feature_point_tables.h"
#include "platform/files.h"
#include "shards/shard_files.h"

namespace {

constexpr uint32_t kPackedFormat = 1;

}  // namespace

CSQLiteFaceFeaturePointDBFactory::CSQLiteFaceFeaturePointDBFactory(const CZanTString& folder, bool scan,
                                                                   bool working)
    : m_idsPerShard(feature_point_tables::kIdsPerShard), m_folder(folder), m_working(working) {
    if (scan) LoadExistingShards();
}

CSQLiteFaceFeaturePointDBFactory::~CSQLiteFaceFeaturePointDBFactory() = default;

std::unique_ptr<CSQLiteFaceFeaturePointDB> CSQLiteFaceFeaturePointDBFactory::MakeStore() const {
    if (m_working) return std::make_unique<CSQLiteFaceFeaturePointDBWorking>();
    return std::make_unique<CSQLiteFaceFeaturePointDB>();
}

size_t CSQLiteFaceFeaturePointDBFactory::OpenShardCount() const {
    size_t open = 0;
    for (const auto& [key, shard] : m_shards)
        if (shard && shard->m_db != nullptr) ++open;
    return open;
}

HRESULT CSQLiteFaceFeaturePointDBFactory::GetShard(CSQLiteFaceFeaturePointDB** outShard, uint64_t id, bool create) {
    if (outShard == nullptr) return E_INVALIDARG;
    *outShard = nullptr;
    uint64_t key = shard_files::ShardNumberOf(id, m_idsPerShard);
    auto found = m_shards.find(key);
    if (found != m_shards.end() && found->second) {
        *outShard = found->second.get();
        return S_OK;
    }
    if (!create || m_folder.IsEmpty()) return E_FAIL;
    try {
        m_folder.MakeFolder();
        std::unique_ptr<CSQLiteFaceFeaturePointDB> shard = MakeStore();
        shard->m_folder = m_folder;
        shard->m_fileName = shard_files::FileNameOf(key, shard_files::kPaddedNameFormat);
        HRESULT opened = shard->Open();
        if (opened != S_OK) return opened;
        *outShard = shard.get();
        m_shards[key] = std::move(shard);
        return S_OK;
    } catch (...) {
        *outShard = nullptr;
        return E_FAIL;
    }
}

void CSQLiteFaceFeaturePointDBFactory::LoadExistingShards() {
    for (uint64_t key = 0;; ++key) {
        std::unique_ptr<CSQLiteFaceFeaturePointDB> shard = MakeStore();
        shard->m_folder = m_folder;
        shard->m_fileName = shard_files::FileNameOf(key, shard_files::kPaddedNameFormat);
        if (!zandb4::platform::PathFileExists(shard->FullPath().ToUtf8())) return;
        if (shard->Open() != S_OK) return;
        m_shards[key] = std::move(shard);
    }
}

HRESULT CSQLiteFaceFeaturePointDBFactory::InsertFeaturePoint(uint64_t id, const void* data, uint32_t size,
                                                            uint32_t format, int64_t packedDate) {
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id, true);
    if (got != S_OK) return got;
    return shard->InsertFeaturePoint(id, data, size, format, packedDate);
}

HRESULT CSQLiteFaceFeaturePointDBFactory::InsertFeaturePoints(uint64_t id, const void* const* data,
                                                             const uint32_t* sizes, uint32_t count) {
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id, true);
    if (got != S_OK) return got;
    return shard->InsertFeaturePoints(id, data, sizes, count);
}

HRESULT CSQLiteFaceFeaturePointDBFactory::UpdateFeaturePoints(uint64_t id, const void* const* data,
                                                             const uint32_t* sizes, uint32_t count) {
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id, true);
    if (got != S_OK) return got;
    return shard->UpdateFeaturePoints(id, data, sizes, count);
}

HRESULT CSQLiteFaceFeaturePointDBFactory::GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData) {
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    HRESULT got = GetShard(&shard, id, true);
    if (got != S_OK) return got;
    return shard->GetFeaturePoint(id, outData);
}

HRESULT CSQLiteFaceFeaturePointDBFactory::RemoveFeaturePoint(uint64_t id) {
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    if (GetShard(&shard, id, false) != S_OK) return S_OK;
    return shard->DeleteFeaturePoint(id, 0);
}

HRESULT CSQLiteFaceFeaturePointDBFactory::ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates,
                                                           uint32_t limit) {
    HRESULT result = E_FAIL;
    uint32_t remaining = limit;
    for (auto& [key, shard] : m_shards) {
        if (!shard) continue;
        CArray<uint64_t> shardIds;
        CArray<int64_t> shardDates;
        result = shard->ListFeaturePoints(&shardIds, &shardDates, remaining);
        if (result != S_OK) continue;
        for (ptrdiff_t index = 0; index < shardIds.GetSize(); ++index) {
            if (ids != nullptr) ids->Add(shardIds.GetAt(index));
            if (dates != nullptr) dates->Add(shardDates.GetAt(index));
        }
        if (limit != 0) {
            uint64_t received = static_cast<uint64_t>(shardIds.GetSize());
            if (received >= remaining) break;
            remaining -= static_cast<uint32_t>(received);
        }
    }
    return result;
}

HRESULT CSQLiteFaceFeaturePointDBFactory::MergeFeaturePoints(CSQLiteFaceFeaturePointDBFactory* groupFactory,
                                                            const uint64_t* faceIds, uint32_t count,
                                                            uint64_t* outNewId, CSQLiteDBBase* idSource,
                                                            uint32_t idType) {
    if (outNewId != nullptr) *outNewId = 0;
    if (faceIds == nullptr || count == 0 || idSource == nullptr) return S_OK;
    uint8_t* blob = nullptr;
    uint32_t size = 0;
    for (uint32_t index = 0; index < count; ++index) {
        CSQLiteFaceFeaturePointDB* shard = nullptr;
        HRESULT step = GetShard(&shard, faceIds[index], true);
        if (step == S_OK) step = shard->AppendFeaturePoint(&blob, &size, faceIds[index]);
        if (step != S_OK) {
            std::free(blob);
            blob = nullptr;
            size = 0;
            break;
        }
    }
    // Nothing merged: no id is drawn and the group gets feature point 0.
    if (blob == nullptr || size == 0) {
        std::free(blob);
        return S_OK;
    }
    uint64_t newId = 0;
    HRESULT result = idSource->NewID(idType, &newId);
    if (result == S_OK) {
        // Packed even for one face, so that the block count tells the faces.
        result = groupFactory == nullptr ? E_FAIL
                                         : groupFactory->InsertFeaturePoint(newId, blob, size, kPackedFormat, 0);
        if (result == S_OK && outNewId != nullptr) *outNewId = newId;
    }
    if (result != S_OK) idSource->PoolID(newId, idType);
    std::free(blob);
    return result;
}

void CSQLiteFaceFeaturePointDBFactory::DropEmptyShards() {
    for (auto& [key, shard] : m_shards) {
        if (!shard) continue;
        uint32_t live = shard->GetFeaturePointCount();
        shard->Close();
        if (live == 0) shard->DeleteFiles();
    }
}

HRESULT CSQLiteFaceFeaturePointDBFactory::CommitShards() {
    HRESULT result = S_OK;
    for (auto& [key, shard] : m_shards) {
        if (!shard) continue;
        if (shard->Commit(false) != S_OK) result = E_FAIL;
        shard->ReleaseCacheMemory();
    }
    return result;
}

void CSQLiteFaceFeaturePointDBFactory::CloseShards() {
    for (auto& [key, shard] : m_shards)
        if (shard) shard->Close();
    m_shards.clear();
}

void CSQLiteFaceFeaturePointDBFactory::RemoveAllShards() {
    for (auto& [key, shard] : m_shards) {
        if (!shard) continue;
        shard->Close();
        shard->DeleteFiles();
    }
    m_shards.clear();
}

HRESULT CSQLiteFaceFeaturePointDBFactory::VacuumShards() {
    HRESULT committed = CommitShards();
    if (committed != S_OK) return committed;
    CloseShards();
    // Every ".db" file counts, companions too: in a working set the
    // companion "_00000000.db" is opened as a working shard of its own and
    // gets a companion "__00000000.db" beside it.
    for (const CZanTString& name : shard_files::ShardFileNamesIn(m_folder)) {
        std::unique_ptr<CSQLiteFaceFeaturePointDB> shard = MakeStore();
        shard->m_folder = m_folder;
        shard->m_fileName = name;
        HRESULT vacuumed = S_OK;
        if (shard->Open() == S_OK) vacuumed = shard->Vacuum();
        shard->Close();
        if (vacuumed != S_OK) return vacuumed;
    }
    return S_OK;
}
