// AlbumRows: the statements on album_table (CSQLiteFileBasicDB's AddAlbum ...
// GetAlbumCountByPet), over the catalogue's connection. Made on the stack for
// a call: it borrows the store and holds nothing.
//
// Writers open the store's transaction; nothing commits until Commit. The
// caller holds the store's lock and has checked records and names.
#pragma once

#include "catalogue/file_basic_db.h"
#include "zandb4/albums.h"

class AlbumRows {
public:
    explicit AlbumRows(CSQLiteFileBasicDB& store) : m_store(store) {}

    // A new row from the record's values under a new id of pool 2, set on
    // the record and written to *outId (may be null). The id goes back to
    // the pool when the row cannot be written.
    HRESULT AddAlbum(IZanDB4AlbumDBRecord* record, uint64_t* outId);
    // Every column of albumId's row from the record.
    HRESULT UpdateAlbum(uint64_t albumId, IZanDB4AlbumDBRecord* record);
    // The row; when its delete ran through, the id goes back to the pool and
    // the catalogue's files of the album go to album 0. The album is noted
    // for the recount in any case.
    HRESULT DeleteAlbum(uint64_t albumId);
    // *outRecord is cleared, then holds a new record; E_FAIL for no row.
    HRESULT GetAlbum(uint64_t albumId, IZanDB4AlbumDBRecord** outRecord);
    // 0 also on failure.
    uint32_t GetAlbumCount();
    // Oldest album first, appended; E_FAIL when the array ends empty.
    HRESULT GetAlbumIDs(CZanTArray<uint64_t>& ids);
    HRESULT GetAlbums(CZanTArray<IZanDB4AlbumDBRecord*>& albums);
    // The albums of the files in which a person (type 1) or a pet (type 2)
    // has a face, and their number (0 also on failure).
    HRESULT GetAlbumsOfIndividual(uint64_t individualId, uint32_t type, CZanTArray<IZanDB4AlbumDBRecord*>& albums);
    uint32_t CountAlbumsOfIndividual(uint64_t individualId, uint32_t type);

private:
    CSQLiteFileBasicDB& m_store;
};
