// CZanDB4AlbumDBMgr: argument checks, the locks, and the three stores an
// album touches (catalogue rows, staged files, albm thumbnails).
#include "albums/album_db_mgr.h"

#include <utility>

#include "albums/album_rows.h"
#include "albums/album_table.h"
#include "catalogue/file_basic_db.h"
#include "frame/critical_section.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "storage/locked_call.h"
#include "storage/statement.h"

using zandb4::LockedCall;
using zandb4::Statement;

namespace {

// A record fit to be written: present and named.
HRESULT CheckRecord(IZanDB4AlbumDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    CZanTString name;
    if (record->GetName(name) != S_OK || name.IsEmpty()) return E_INVALIDARG;
    return S_OK;
}

}  // namespace

template <class Operation>
HRESULT CZanDB4AlbumDBMgr::ThumbnailCall(uint32_t kind, bool factoryLock, Operation&& operation) {
    if (kind != 1 && kind != 2) return E_INVALIDARG;
    CSQLiteThumbDBFactory* factory = m_albumThumbMgr == nullptr ? nullptr : m_albumThumbMgr->Factory(kind);
    if (factory == nullptr) return E_FAIL;
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB&) {
        if (!factoryLock) return std::forward<Operation>(operation)(*factory);
        CriticalSectionGuard guard(factory->m_lock);
        return std::forward<Operation>(operation)(*factory);
    });
}

HRESULT CZanDB4AlbumDBMgr::AddAlbum(IZanDB4AlbumDBRecord* record, uint64_t* outId) {
    if (outId != nullptr) *outId = 0;
    HRESULT checked = CheckRecord(record);
    if (checked != S_OK) return checked;
    return LockedCall(m_fileBasicDB, E_FAIL,
                      [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).AddAlbum(record, outId); });
}

HRESULT CZanDB4AlbumDBMgr::UpdateAlbum(uint64_t albumId, IZanDB4AlbumDBRecord* record) {
    HRESULT checked = CheckRecord(record);
    if (checked != S_OK) return checked;
    // The row of the argument's id is written, whatever id the record holds.
    return LockedCall(m_fileBasicDB, E_FAIL,
                      [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).UpdateAlbum(albumId, record); });
}

void CZanDB4AlbumDBMgr::ClearAlbumOfStagedFiles(uint64_t albumId) {
    if (m_asyncDB == nullptr) return;
    // Written under the catalogue's lock alone, as the delete always has.
    m_asyncDB->BeginTransaction();
    Statement clear(m_asyncDB->m_db, album_table::kClearAlbumOfStagedFiles);
    if (!clear.IsPrepared()) return;
    clear.BindInt64(1, static_cast<int64_t>(albumId));
    clear.Step();
}

HRESULT CZanDB4AlbumDBMgr::DeleteAlbum(uint64_t albumId) {
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) {
        // Thumbnails first, over both kinds and twice, without the factories'
        // locks; a thumbnail already gone is no failure, and no result counts.
        if (m_albumThumbMgr != nullptr) {
            for (int pass = 0; pass < 2; ++pass)
                for (uint32_t kind : {1u, 2u})
                    if (CSQLiteThumbDBFactory* factory = m_albumThumbMgr->Factory(kind)) factory->DeleteThumbnail(albumId);
        }
        HRESULT result = AlbumRows(store).DeleteAlbum(albumId);
        if (result == S_OK) ClearAlbumOfStagedFiles(albumId);
        return result;
    });
}

HRESULT CZanDB4AlbumDBMgr::GetAlbum(uint64_t albumId, IZanDB4AlbumDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    return LockedCall(m_fileBasicDB, E_FAIL,
                      [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).GetAlbum(albumId, outRecord); });
}

uint32_t CZanDB4AlbumDBMgr::GetAlbumCount() {
    return LockedCall(m_fileBasicDB, 0u, [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).GetAlbumCount(); });
}

HRESULT CZanDB4AlbumDBMgr::GetAlbumIDs(CArray<uint64_t>* outIds) {
    if (outIds == nullptr) return E_INVALIDARG;
    // Emptied first, so that an earlier content is gone even on failure.
    outIds->RemoveAll();
    CZanTArray<uint64_t> ids(outIds);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).GetAlbumIDs(ids); });
}

HRESULT CZanDB4AlbumDBMgr::GetAlbums(CArray<IZanDB4AlbumDBRecord*>* outAlbums) {
    if (outAlbums == nullptr) return E_INVALIDARG;
    outAlbums->RemoveAll();
    CZanTArray<IZanDB4AlbumDBRecord*> albums(outAlbums);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) { return AlbumRows(store).GetAlbums(albums); });
}

HRESULT CZanDB4AlbumDBMgr::ListAlbumsOfIndividual(uint64_t individualId, uint32_t type,
                                                  CArray<IZanDB4AlbumDBRecord*>* outAlbums) {
    if (outAlbums == nullptr) return E_INVALIDARG;
    outAlbums->RemoveAll();
    CZanTArray<IZanDB4AlbumDBRecord*> albums(outAlbums);
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) {
        return AlbumRows(store).GetAlbumsOfIndividual(individualId, type, albums);
    });
}

HRESULT CZanDB4AlbumDBMgr::GetAlbumsByPerson(uint64_t personId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) {
    return ListAlbumsOfIndividual(personId, CSQLiteFileBasicDB::kPerson, outAlbums);
}

uint32_t CZanDB4AlbumDBMgr::GetAlbumCountByPerson(uint64_t personId) {
    return LockedCall(m_fileBasicDB, 0u, [&](CSQLiteFileBasicDB& store) {
        return AlbumRows(store).CountAlbumsOfIndividual(personId, CSQLiteFileBasicDB::kPerson);
    });
}

HRESULT CZanDB4AlbumDBMgr::GetAlbumsByPet(uint64_t petId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) {
    return ListAlbumsOfIndividual(petId, CSQLiteFileBasicDB::kPet, outAlbums);
}

uint32_t CZanDB4AlbumDBMgr::GetAlbumCountByPet(uint64_t petId) {
    return LockedCall(m_fileBasicDB, 0u, [&](CSQLiteFileBasicDB& store) {
        return AlbumRows(store).CountAlbumsOfIndividual(petId, CSQLiteFileBasicDB::kPet);
    });
}

HRESULT CZanDB4AlbumDBMgr::AddThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) {
    return ThumbnailCall(kind, false, [&](CSQLiteThumbDBFactory& factory) {
        return factory.AddThumbnailFromCache(albumId, cache);
    });
}

HRESULT CZanDB4AlbumDBMgr::AddThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) {
    return ThumbnailCall(kind, false,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.AddThumbnail(albumId, data, size); });
}

HRESULT CZanDB4AlbumDBMgr::UpdateThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) {
    return ThumbnailCall(kind, false, [&](CSQLiteThumbDBFactory& factory) {
        return factory.UpdateThumbnailFromCache(albumId, cache);
    });
}

HRESULT CZanDB4AlbumDBMgr::UpdateThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) {
    return ThumbnailCall(kind, false,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.UpdateThumbnail(albumId, data, size); });
}

HRESULT CZanDB4AlbumDBMgr::DeleteThumbnail(uint64_t albumId, uint32_t kind) {
    return ThumbnailCall(kind, false, [&](CSQLiteThumbDBFactory& factory) { return factory.DeleteThumbnail(albumId); });
}

HRESULT CZanDB4AlbumDBMgr::GetThumbnail(uint64_t albumId, uint32_t kind, IZanDB4FileCache** outCache) {
    if (outCache != nullptr) *outCache = nullptr;
    // The read also holds the factory's lock, so that a commit of the shards
    // cannot close the file under it.
    return ThumbnailCall(kind, true,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.GetThumbnail(albumId, outCache); });
}

HRESULT CZanDB4AlbumDBMgr::DeleteAllThumbnails() {
    // The factories' own locks guard this; the catalogue is not involved.
    if (m_albumThumbMgr == nullptr) return E_FAIL;
    bool failed = false;
    for (uint32_t kind : {1u, 2u}) {
        CSQLiteThumbDBFactory* factory = m_albumThumbMgr->Factory(kind);
        if (factory == nullptr || factory->DeleteAllThumbnails() != S_OK) failed = true;
    }
    return failed ? E_FAIL : S_OK;
}

HRESULT CZanDB4AlbumDBMgr::Commit() {
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) {
        // All three run whatever the others answered.
        bool failed = store.Commit(false) != S_OK;
        if (m_asyncDB == nullptr || m_asyncDB->Commit(false) != S_OK) failed = true;
        if (m_albumThumbMgr == nullptr || m_albumThumbMgr->CommitAll(1, nullptr) != S_OK) failed = true;
        return failed ? E_FAIL : S_OK;
    });
}

HRESULT CZanDB4AlbumDBMgr::Rollback() {
    return LockedCall(m_fileBasicDB, E_FAIL, [&](CSQLiteFileBasicDB& store) {
        // Reopen drops the pending album recounts with the transaction. The
        // staging store is left alone, although DeleteAlbum writes to it.
        bool failed = store.Reopen() != S_OK;
        for (uint32_t kind : {1u, 2u}) {
            CSQLiteThumbDBFactory* factory = m_albumThumbMgr == nullptr ? nullptr : m_albumThumbMgr->Factory(kind);
            if (factory == nullptr || factory->ReopenShards() != S_OK) failed = true;
        }
        return failed ? E_FAIL : S_OK;
    });
}
