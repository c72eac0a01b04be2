// CZanDB4FileDBMgr: the file manager, the application's door to the
// catalogue. It borrows the catalogue, the staging store, the large-metadata
// shards and the file thumbnail family from the registry and owns no data,
// so any number of managers can live side by side.
//
// This part holds the commit and rollback of a client's work, and the move
// of staged files into the catalogue that they run. (The file operations of
// the manager's interface join it with the file manager's own work.)
//
// Threading: every operation holds the catalogue's lock for its whole run,
// which also guards the staging store, the thumbnail family and the
// metadata shards as far as they are reached from here; thumbnail walks take
// their factory's lock inside it.
#pragma once

#include <cstdint>
#include <set>

#include "zandb4/types.h"

class CSQLiteAsyncDB;
class CSQLiteFileBasicDB;
class CSQLiteMetaDataDBFactory;
class CSQLiteThumbDBMgr;

class CZanDB4FileDBMgr {
public:
    // Flags of Commit: 1 commits the catalogue, then the thumbnails and the
    // large metadata; 2 moves staged files into the catalogue, then commits
    // staging; 4 commits staging and the thumbnails without moving.
    static constexpr uint32_t kCommitCatalogue = 1;
    static constexpr uint32_t kMoveStaged = 2;
    static constexpr uint32_t kCommitStaging = 4;
    // Flags of Rollback: 1 drops the open work of the catalogue, of both
    // thumbnail kinds and of every open metadata shard; 2 that of staging.
    static constexpr uint32_t kRollbackCatalogue = 1;
    static constexpr uint32_t kRollbackStaging = 2;

    CZanDB4FileDBMgr(CSQLiteFileBasicDB* fileBasicDB, CSQLiteAsyncDB* asyncDB, CSQLiteMetaDataDBFactory* metaFactory,
                     CSQLiteThumbDBMgr* thumbMgr);

    // Runs the steps of the flags in the order 4, 2, 1. S_OK; S_FALSE when
    // files failed to move and flag 1 was not given (with flag 1 that news
    // is lost); E_FAIL when a step before the catalogue's commit failed, or
    // that commit's own failure. E_FAIL without a catalogue.
    HRESULT Commit(uint32_t flags);
    // The same, also handing out the ids of the files that failed to move
    // (for tools that report them); failedOut may be null.
    HRESULT Commit(uint32_t flags, std::set<uint64_t>* failedOut);
    // Flag 2 drops staging's open transaction, flag 1 the catalogue's with
    // the thumbnails and metadata; the catalogue's result stands when both
    // are given. S_OK without a flag.
    HRESULT Rollback(uint32_t flags);
    // Moves every ready staged file into the catalogue's open transaction,
    // then deletes the ready rows and their tags from staging (whether they
    // moved or not), and gives the id of every file that failed back to the
    // pool. failed is emptied and then holds those ids. The answer is that
    // of the reading pass.
    HRESULT MoveStagedFiles(std::set<uint64_t>& failed);

private:
    CSQLiteFileBasicDB* m_fileBasicDB;
    CSQLiteAsyncDB* m_asyncDB;
    CSQLiteMetaDataDBFactory* m_metaFactory;
    CSQLiteThumbDBMgr* m_thumbMgr;
};
