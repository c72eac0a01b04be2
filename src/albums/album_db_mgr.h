// CZanDB4AlbumDBMgr: the application's door to the catalogue's albums and
// their thumbnails (family albm, under the album id). It borrows the
// catalogue, the staging store and the albm family from the registry, and
// holds the catalogue's lock for each operation but DeleteAllThumbnails.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CSQLiteAsyncDB;
class CSQLiteFileBasicDB;
class CSQLiteThumbDBFactory;
class CSQLiteThumbDBMgr;

class CZanDB4AlbumDBMgr : public zandb4::ComObject<IZanDB4AlbumDBMgr, IID_IZanDB4AlbumDBMgr> {
public:
    // Every pointer is borrowed and may be null in a manager made while the
    // library lacked that store; what needs it then answers E_FAIL (0 for
    // the counts).
    CZanDB4AlbumDBMgr(CSQLiteFileBasicDB* fileBasicDB, CSQLiteThumbDBMgr* albumThumbMgr, CSQLiteAsyncDB* asyncDB)
        : m_fileBasicDB(fileBasicDB), m_albumThumbMgr(albumThumbMgr), m_asyncDB(asyncDB) {}

    HRESULT AddAlbum(IZanDB4AlbumDBRecord* record, uint64_t* outId) override;
    HRESULT UpdateAlbum(uint64_t albumId, IZanDB4AlbumDBRecord* record) override;
    HRESULT DeleteAlbum(uint64_t albumId) override;
    HRESULT GetAlbum(uint64_t albumId, IZanDB4AlbumDBRecord** outRecord) override;
    uint32_t GetAlbumCount() override;
    HRESULT GetAlbumIDs(CArray<uint64_t>* outIds) override;
    HRESULT GetAlbums(CArray<IZanDB4AlbumDBRecord*>* outAlbums) override;
    HRESULT GetAlbumsByPerson(uint64_t personId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) override;
    uint32_t GetAlbumCountByPerson(uint64_t personId) override;
    HRESULT GetAlbumsByPet(uint64_t petId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) override;
    uint32_t GetAlbumCountByPet(uint64_t petId) override;
    HRESULT AddThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) override;
    HRESULT AddThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT UpdateThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) override;
    HRESULT UpdateThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT DeleteThumbnail(uint64_t albumId, uint32_t kind) override;
    HRESULT GetThumbnail(uint64_t albumId, uint32_t kind, IZanDB4FileCache** outCache) override;
    HRESULT DeleteAllThumbnails() override;
    HRESULT Commit() override;
    HRESULT Rollback() override;

private:
    // Runs operation on the factory of kind under the catalogue's lock (and
    // the factory's too with factoryLock). E_INVALIDARG for a kind other
    // than 1 or 2, E_FAIL without catalogue or family.
    template <class Operation>
    HRESULT ThumbnailCall(uint32_t kind, bool factoryLock, Operation&& operation);
    HRESULT ListAlbumsOfIndividual(uint64_t individualId, uint32_t type, CArray<IZanDB4AlbumDBRecord*>* outAlbums);
    // The staged files of a deleted album go to album 0; the outcome is not
    // looked at.
    void ClearAlbumOfStagedFiles(uint64_t albumId);

    CSQLiteFileBasicDB* m_fileBasicDB;
    CSQLiteThumbDBMgr* m_albumThumbMgr;
    CSQLiteAsyncDB* m_asyncDB;
};
