// CSQLiteMetaDataDBFactory: the folder "meta" of large-metadata shards, one
// per run of 10 000 file ids, named "%X.db" (no zero-fill: "0.db", "A.db").
// Shards open on first touch, the folder and the file made then if missing,
// and stay open until the factory goes or a walk closes them. The factory
// owns them.
//
// Threading: no lock of its own. Every path holds the catalogue's lock,
// taken by the file manager.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "shards/meta_data_db.h"

class CSQLiteMetaDataDBFactory {
public:
    explicit CSQLiteMetaDataDBFactory(const CZanTString& folder);
    CSQLiteMetaDataDBFactory(const CSQLiteMetaDataDBFactory&) = delete;
    CSQLiteMetaDataDBFactory& operator=(const CSQLiteMetaDataDBFactory&) = delete;
    // Destroys the open shards, which commits what they hold.
    ~CSQLiteMetaDataDBFactory();

    // The shard of the file id, opened (and made) if it is not open yet; it
    // stays the factory's. E_INVALIDARG for a null out; E_FAIL for an empty
    // folder path, or when the shard cannot be opened or made (or an
    // exception is raised on the way): nothing then enters the map.
    HRESULT GetShard(CSQLiteMetaDataDB** outShard, uint64_t fileId);

    // Each of these first gets the shard and answers its failure, then opens
    // the shard's transaction. E_FAIL unless the statement ran to its end.
    // A second add of one file id fails; a delete or update of a missing row
    // is S_OK and changes nothing.
    HRESULT AddMetaData(uint64_t fileId, uint32_t type, const void* data, uint32_t size);
    HRESULT DeleteMetaData(uint64_t fileId);
    HRESULT UpdateMetaData(uint64_t fileId, uint32_t type, const void* data, uint32_t size);
    // Any of the outs may be null, not all three (E_INVALIDARG). The data,
    // when asked for and not empty, is a new malloc buffer that the caller
    // owns and frees; asking for the size alone allocates nothing.
    // E_OUTOFMEMORY when the buffer cannot be made or the blob is null;
    // E_FAIL without a row.
    HRESULT GetMetaData(uint32_t* outType, void** outData, uint32_t* outSize, uint64_t fileId);
    // Commits every open shard; a failure does not stop the walk and gives
    // E_FAIL at the end. S_OK with none open.
    HRESULT CommitShards();
    // Drops what each open shard holds uncommitted (closes without a commit
    // and opens again); a failure is noted (E_FAIL) and the walk goes on.
    HRESULT ReopenShards();
    // Vacuums every open shard; all are tried, a failure gives E_FAIL.
    HRESULT VacuumOpenShards();
    // Commits and closes every shard, then counts over every ".db" file of
    // the folder the rows whose file id is not in ids. A failed commit is
    // answered as the count; a failing count adds 0.
    uint32_t CountOrphans(const CZanTArray<uint64_t>& ids);
    // Closes (committing) and destroys every open shard.
    void CloseShards();

    const CZanTString& Folder() const { return m_folder; }
    size_t OpenShardCount() const { return m_shards.size(); }

    // Opened shards by shard number, in ascending order.
    std::map<uint64_t, std::unique_ptr<CSQLiteMetaDataDB>> m_shards;
    CZanTString m_folder;
};
