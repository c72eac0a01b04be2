// CSQLiteThumbDBFactory: one folder of thumbnail shards (one family, one
// kind) and the rule from identifier to shard: identifier / 10 000 is the
// shard number, "%08X.db" of it the file. Shards are opened on first touch,
// the folder and the file made then if missing, and stay open, without
// limit or eviction, until CloseShards or VacuumShards. The factory owns them.
//
// Threading: m_lock guards the map of open shards, and since a shard has no
// guard of its own, every operation on one factory must run under it. The
// managers take the catalogue's lock and then this one around each single
// operation (see ThumbnailKindCall); CommitShards, DeleteAllThumbnails,
// ReopenShards and VacuumShards take it themselves. It is recursive.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "frame/critical_section.h"
#include "shards/thumb_db.h"
#include "zandb4/caches.h"

class CSQLiteThumbDBFactory {
public:
    explicit CSQLiteThumbDBFactory(const CZanTString& folder);
    CSQLiteThumbDBFactory(const CSQLiteThumbDBFactory&) = delete;
    CSQLiteThumbDBFactory& operator=(const CSQLiteThumbDBFactory&) = delete;
    // Destroys the open shards, which commits what they hold.
    ~CSQLiteThumbDBFactory();

    // The shard of the identifier, opened (and made) if it is not open yet;
    // it stays the factory's. E_INVALIDARG for a null out; E_FAIL for an
    // empty folder path, or when the shard cannot be opened or made (or an
    // exception is raised on the way): nothing then enters the map.
    HRESULT GetShard(CSQLiteThumbDB** outShard, uint64_t id);

    // Each operation that takes an identifier first gets its shard and
    // answers that failure if there is one. Writes open the shard's
    // transaction, which the next CommitShards ends.
    HRESULT DeleteThumbnail(uint64_t id);
    // Deletes the rows of every identifier of the set from every open shard
    // (not only from the shard each lies in); shards not open are not
    // visited. Null or empty: S_OK with nothing done. E_FAIL stops the walk.
    HRESULT DeleteThumbnails(const std::set<uint64_t>* ids);
    // Empties every open shard; a failure is noted and the walk goes on.
    HRESULT DeleteAllThumbnails();
    // Commits every open shard in order, stopping at the first failure,
    // which it answers. S_OK with none open.
    HRESULT CommitShards();
    HRESULT AddThumbnail(uint64_t id, const void* data, uint32_t size);
    // E_INVALIDARG for a null cache, or a cache without data.
    HRESULT AddThumbnailFromCache(uint64_t id, IZanDB4FileCache* cache);
    // A new cache object with one reference for the caller. E_INVALIDARG for
    // a null out; E_FAIL without a row.
    HRESULT GetThumbnail(uint64_t id, IZanDB4FileCache** outCache);
    // False when the shard cannot be got. Getting it makes the folder and
    // the shard file if they are missing, so this can write to the disk.
    BOOL HasThumbnail(uint64_t id);
    // Keeps the row's source_id.
    HRESULT UpdateThumbnail(uint64_t id, const void* data, uint32_t size);
    // Takes the cache's source_id too. E_INVALIDARG as AddThumbnailFromCache.
    HRESULT UpdateThumbnailFromCache(uint64_t id, IZanDB4FileCache* cache);
    // Commits, closes every shard, then vacuums each ".db" file of the folder
    // in turn; a file that does not open is passed over, the first failing
    // vacuum ends the walk with its result. No shard is open afterwards.
    HRESULT VacuumShards();
    // Drops what each open shard holds uncommitted (closes without a commit
    // and opens again). A failure is noted (E_FAIL) and the walk goes on.
    HRESULT ReopenShards();
    // Commits and closes every shard, then counts over every ".db" file of
    // the folder the rows whose identifier is not in ids. A failed commit is
    // answered as the count, as it always was; a failing count adds 0.
    uint32_t CountOrphans(const CZanTArray<uint64_t>& ids);
    // Closes (committing) and destroys every open shard.
    void CloseShards();

    const CZanTString& Folder() const { return m_folder; }
    // How many shards are open now.
    size_t OpenShardCount() const { return m_shards.size(); }

    // Opened shards by shard number; ascending order is the order of every
    // walk over them.
    std::map<uint64_t, std::unique_ptr<CSQLiteThumbDB>> m_shards;
    // Identifiers per shard.
    const uint32_t m_shardSpan;
    CZanTString m_folder;
    CCriticalSection m_lock;
};
