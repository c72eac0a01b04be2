// CSQLiteFaceFeaturePointDBFactory: one set of feature point shards in one
// folder, "%08X.db" per 1 000 ids, the open shards kept in a map (the only
// cache here: open connections, not points). A working factory makes
// working shards, the others plain ones.
//
// Threading: m_lock guards the map and its shards, but the factory does not
// take it. The face manager holds it around each call; start, stop, commit,
// drop and vacuum run under the catalogue's lock or while nothing else runs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "faces/feature_point_db.h"
#include "frame/critical_section.h"

class CSQLiteFaceFeaturePointDBFactory {
public:
    // With scan, the shards already on disk are opened now (up to the first
    // gap).
    CSQLiteFaceFeaturePointDBFactory(const CZanTString& folder, bool scan, bool working);
    virtual ~CSQLiteFaceFeaturePointDBFactory();

    // The open shard of id, opened (and its file made) first with create.
    // E_INVALIDARG for a null out; E_FAIL without create for a shard that is
    // not open, or with an empty folder.
    HRESULT GetShard(CSQLiteFaceFeaturePointDB** outShard, uint64_t id, bool create);
    // Opens 00000000.db, 00000001.db... as long as the next one exists and
    // opens: a shard above a gap waits until an id needs it.
    void LoadExistingShards();

    // The shard's operations, on the shard of id, opened with create. A
    // read therefore makes a missing shard file.
    HRESULT InsertFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format, int64_t packedDate);
    HRESULT InsertFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes, uint32_t count);
    HRESULT UpdateFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes, uint32_t count);
    HRESULT GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData);
    // Soft in a working set, a real delete in the others. Only an open
    // shard is looked at: for any other the answer is S_OK, nothing done,
    // and a row on disk stays.
    HRESULT RemoveFeaturePoint(uint64_t id);
    // The ids (and dates) of every open shard in ascending shard order, at
    // most limit (0: all). E_FAIL with no shard open; otherwise the last
    // shard's answer.
    HRESULT ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates, uint32_t limit);
    // The blobs of the faces, packed into one blob of one block per face,
    // stored in groupFactory under a new id drawn from idSource. One face
    // without a point stops the merge. No blob made: S_OK and *outNewId 0.
    // A failure after the id was drawn pools it with idSource.
    HRESULT MergeFeaturePoints(CSQLiteFaceFeaturePointDBFactory* groupFactory, const uint64_t* faceIds,
                               uint32_t count, uint64_t* outNewId, CSQLiteDBBase* idSource, uint32_t idType);

    // Closes every open shard, and deletes the files of those that held no
    // (live) point. Closed shards stay in the map.
    void DropEmptyShards();
    // Commits every open shard; E_FAIL if any failed.
    HRESULT CommitShards();
    // Closes and destroys every open shard; the map is then empty.
    void CloseShards();
    // Closes every open shard, deletes its files and destroys it; the map is
    // then empty. Every point of the open shards is gone.
    void RemoveAllShards();
    // Commits and closes every shard, then vacuums every ".db" file of the
    // folder through a store of this factory's class. The map stays empty.
    HRESULT VacuumShards();

    // For reports and tests.
    const CZanTString& Folder() const { return m_folder; }
    bool IsWorking() const { return m_working; }
    size_t OpenShardCount() const;

    CCriticalSection m_lock;

private:
    std::unique_ptr<CSQLiteFaceFeaturePointDB> MakeStore() const;

    std::map<uint64_t, std::unique_ptr<CSQLiteFaceFeaturePointDB>> m_shards;
    uint32_t m_idsPerShard;
    CZanTString m_folder;
    bool m_working;
};
