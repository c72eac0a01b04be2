// Albums, tags and the import journal of the catalogue.
//
// An album is a named group of files: a file belongs to at most one album
// through its album id, and the album row carries a name, a place and three
// values derived from its files (oldest and latest shooting date, count of
// managed files) that are refreshed when the catalogue commits. A tag is a
// unique name with a type, linked to files many to many. The import journal
// keeps one row per import run with its date, class and attribute.
//
// Managers borrow the catalogue store and hold its lock for each operation
// unless said otherwise. Records are reference-counted values; a record
// returned through an out pointer or in an array carries one reference for
// the caller, who releases it. Changes stay in the catalogue's open
// transaction until Commit.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// One album. A value holder that keeps a link to the catalogue: once the
// record has an id, the dates and the file count are read from the album's
// row on every get, so a stored record always shows what the catalogue holds
// and their setters only matter for a record without an id.
class IZanDB4AlbumDBRecord : public IUnknown {
public:
    // The album id, 0 until the album is stored. SetID always answers S_OK;
    // GetID answers E_INVALIDARG for a null out.
    virtual HRESULT SetID(uint64_t id) = 0;
    virtual HRESULT GetID(uint64_t* outId) = 0;
    // Copies the name in.
    virtual HRESULT SetName(const CZanTString& name) = 0;
    // Copies the name out; E_FAIL when it is empty, the empty string being
    // written all the same.
    virtual HRESULT GetName(CZanTString& outName) = 0;
    // Takes latitude and longitude by pointer. E_INVALIDARG for a null
    // pointer, a latitude outside -90..90 or a longitude outside -180..180
    // (the bounds are valid); nothing is stored then.
    virtual HRESULT SetGPS(const float* latitude, const float* longitude) = 0;
    // E_INVALIDARG for a null out.
    virtual HRESULT GetGPS(float* outLatitude, float* outLongitude) = 0;
    // Free text naming the place: copied in; copied out with E_FAIL when
    // empty, as GetName.
    virtual HRESULT SetAreaInfo(const CZanTString& areaInfo) = 0;
    virtual HRESULT GetAreaInfo(CZanTString& outAreaInfo) = 0;
    // Oldest shooting date of the album's files. Set: E_INVALIDARG for a null
    // date. Get: E_INVALIDARG for a null out; with an id, the value is read
    // from the row first, and a failed read leaves the held value, still S_OK.
    virtual HRESULT SetOldestDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetOldestDate(SYSTEMTIME* outDate) = 0;
    // Latest shooting date, as the oldest.
    virtual HRESULT SetLatestDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetLatestDate(SYSTEMTIME* outDate) = 0;
    // Number of managed files in the album. Set always answers S_OK; get reads
    // through as the dates do.
    virtual HRESULT SetFileCount(uint32_t count) = 0;
    virtual HRESULT GetFileCount(uint32_t* outCount) = 0;
};

// The albums of the catalogue and their thumbnails. A thumbnail kind is 1 or
// 2 and picks the first or second thumbnail set; any other kind answers
// E_INVALIDARG.
class IZanDB4AlbumDBMgr : public IUnknown {
public:
    // Stores the record's values under a new id, which is set on the record
    // and written to outId (may be null). E_INVALIDARG for a null record or
    // an empty name; E_FAIL if the row could not be written, and the id is
    // then given back.
    virtual HRESULT AddAlbum(IZanDB4AlbumDBRecord* record, uint64_t* outId) = 0;
    // Rewrites the row of albumId (not the record's id) from the record.
    // E_INVALIDARG for a null record or an empty name. A stored record reads
    // its dates and count from the row, so they are written back unchanged.
    virtual HRESULT UpdateAlbum(uint64_t albumId, IZanDB4AlbumDBRecord* record) = 0;
    // Deletes the album's thumbnails and its row, then takes its files out of
    // the album. S_OK also for an id that has no row.
    virtual HRESULT DeleteAlbum(uint64_t albumId) = 0;
    // E_INVALIDARG for a null out; *outRecord is cleared, E_FAIL when there
    // is no such album.
    virtual HRESULT GetAlbum(uint64_t albumId, IZanDB4AlbumDBRecord** outRecord) = 0;
    // The number of albums; 0 also on failure.
    virtual uint32_t GetAlbumCount() = 0;
    // Every album id, oldest album first. The array is emptied first; E_FAIL
    // when it stays empty.
    virtual HRESULT GetAlbumIDs(CArray<uint64_t>* outIds) = 0;
    // Every album as a record, oldest first, one reference each. The array
    // is emptied first; E_FAIL when it stays empty.
    virtual HRESULT GetAlbums(CArray<IZanDB4AlbumDBRecord*>* outAlbums) = 0;
    // The albums holding a file in which the person appears, as GetAlbums.
    virtual HRESULT GetAlbumsByPerson(uint64_t personId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) = 0;
    // Their number; 0 also on failure.
    virtual uint32_t GetAlbumCountByPerson(uint64_t personId) = 0;
    // The same for a pet.
    virtual HRESULT GetAlbumsByPet(uint64_t petId, CArray<IZanDB4AlbumDBRecord*>* outAlbums) = 0;
    virtual uint32_t GetAlbumCountByPet(uint64_t petId) = 0;
    // Stores or replaces the album's thumbnail of one kind, from a cache
    // object (borrowed for the call) or from bytes the callee copies.
    virtual HRESULT AddThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) = 0;
    virtual HRESULT AddThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT UpdateThumbnailFromCache(uint64_t albumId, uint32_t kind, IZanDB4FileCache* cache) = 0;
    virtual HRESULT UpdateThumbnail(uint64_t albumId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT DeleteThumbnail(uint64_t albumId, uint32_t kind) = 0;
    // *outCache is cleared first; on success it holds a new cache object with
    // one reference for the caller.
    virtual HRESULT GetThumbnail(uint64_t albumId, uint32_t kind, IZanDB4FileCache** outCache) = 0;
    // Empties both thumbnail sets of albums. Takes no catalogue lock. E_FAIL
    // if either set failed.
    virtual HRESULT DeleteAllThumbnails() = 0;
    // Commits the catalogue, the staging store and the album thumbnails; all
    // three always run, and E_FAIL if any failed.
    virtual HRESULT Commit() = 0;
    // Drops the open changes of the catalogue and of the album thumbnails.
    // The staging store is left as it is. E_FAIL if any part failed.
    virtual HRESULT Rollback() = 0;
};

// One tag: name, type and id. A plain value with no link to the store. The
// type is the application's number and is stored as given.
class IZanDB4TagDBRecord : public IUnknown {
public:
    // GetID answers E_INVALIDARG for a null out; SetID always S_OK.
    virtual HRESULT GetID(uint64_t* outId) = 0;
    virtual HRESULT SetID(uint64_t id) = 0;
    // Copies the name in.
    virtual HRESULT SetName(const CZanTString& name) = 0;
    // Copies the name out; E_FAIL when it is empty, the empty string being
    // written all the same.
    virtual HRESULT GetName(CZanTString& outName) = 0;
    // SetType always answers S_OK; GetType E_INVALIDARG for a null out.
    virtual HRESULT SetType(uint32_t type) = 0;
    virtual HRESULT GetType(uint32_t* outType) = 0;
};

// The tags of the catalogue. Which files carry a tag is set through the file
// record; this manager keeps the tags themselves.
class IZanDB4TagDBMgr : public IUnknown {
public:
    // Stores the record's name and type under a new id, written to outId
    // (may be null) before the insert runs; the record's own id is not set.
    // E_INVALIDARG for a null record or an empty name; E_FAIL for a name that
    // another tag has, and the id is then given back.
    virtual HRESULT AddTag(IZanDB4TagDBRecord* record, uint64_t* outId) = 0;
    // Rewrites name and type of tagId (not the record's id). E_INVALIDARG for
    // a null record or an empty name; E_FAIL for a name another tag has. An
    // unknown id changes nothing and answers S_OK.
    virtual HRESULT UpdateTag(uint64_t tagId, IZanDB4TagDBRecord* record) = 0;
    // Removes every link of the tag to files, then the tag. E_FAIL if either
    // step failed; the tag then stays.
    virtual HRESULT DeleteTag(uint64_t tagId) = 0;
    // E_INVALIDARG for a null out; *outRecord is cleared, E_FAIL when there
    // is no such tag.
    virtual HRESULT GetTag(uint64_t tagId, IZanDB4TagDBRecord** outRecord) = 0;
    // The number of tags; 0 also on failure.
    virtual uint32_t GetTagCount() = 0;
    // Every tag id in the table's order. The array is emptied first; E_FAIL
    // when it stays empty, E_INVALIDARG for a null array.
    virtual HRESULT GetTagIDs(CArray<uint64_t>* outIds) = 0;
    // Every tag as a record, one reference each, as GetTagIDs.
    virtual HRESULT GetTags(CArray<IZanDB4TagDBRecord*>* outTags) = 0;
    // Makes the open changes durable, or drops them. Neither takes the lock.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
};

// One entry of the import journal: date, class and attribute, all the
// application's own. A plain value with no link to the store.
class IZanDB4ImportDBRecord : public IUnknown {
public:
    // Copies the date in; a null date clears it to all zeros. Always S_OK.
    virtual HRESULT SetDate(const SYSTEMTIME* date) = 0;
    // E_INVALIDARG for a null out.
    virtual HRESULT GetDate(SYSTEMTIME* outDate) = 0;
    // Setters always answer S_OK; getters E_INVALIDARG for a null out.
    virtual HRESULT SetClass(uint32_t importClass) = 0;
    virtual HRESULT GetClass(uint32_t* outClass) = 0;
    virtual HRESULT SetAttribute(uint32_t attribute) = 0;
    virtual HRESULT GetAttribute(uint32_t* outAttribute) = 0;
};

// The import journal. Rows have no id: a row is found by its date, or by its
// date and class.
class IZanDB4ImportMgr : public IUnknown {
public:
    // Appends a row from the record. E_INVALIDARG for a null record. Rows of
    // equal date may stand side by side.
    virtual HRESULT AddImportHistory(IZanDB4ImportDBRecord* record) = 0;
    // Sets the attribute of the rows with the record's date and class.
    // E_INVALIDARG for a null record; S_OK when no row matches.
    virtual HRESULT UpdateImportHistory(IZanDB4ImportDBRecord* record) = 0;
    // The newest row as a new record, with one reference for the caller.
    // *outRecord is not cleared; the caller passes it null. E_FAIL when the
    // journal is empty.
    virtual HRESULT GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord) = 0;
    // Appends every row, oldest first, behind what the array holds.
    // E_INVALIDARG for a null array; E_FAIL when the array is empty at the end.
    virtual HRESULT GetImportHistories(CArray<IZanDB4ImportDBRecord*>* outRecords) = 0;
    // Deletes every row of the record's date, whatever its class. The record
    // must not be null.
    virtual HRESULT DeleteImportHistory(IZanDB4ImportDBRecord* record) = 0;
    // Deletes every row.
    virtual HRESULT ClearImportHistory() = 0;
    // Makes the open changes durable, or drops them.
    virtual HRESULT Commit() = 0;
    virtual HRESULT Rollback() = 0;
};
