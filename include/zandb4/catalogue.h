// The file manager: the application's door to the catalogue. It adds, finds,
// lists, updates and deletes files, stores their thumbnails, edit caches,
// main image caches and large metadata, and ends a batch of changes with
// Commit or Rollback.
//
// A manager owns no data; any number of them may live at once. Operations
// hold the catalogue's lock for their whole run, and that one lock also covers staging, thumbnails and large metadata as far
// as this manager reaches them. Lock and Unlock let a caller hold it across
// several calls. Writes stay in open transactions until Commit.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"
#include "zandb4/records.h"

// Called once per file row during ForEachFile, with the caller's context and
// nothing of the row. Answer FALSE to end the walk, TRUE to go on.
typedef BOOL (*ZanDB4FileWalkCallback)(void* context);

// Files are known by unsigned 64-bit ids. Lists and arrays are the caller's:
// an operation that fills one empties it first without releasing what it held,
// then appends records with one reference each. A record returned through an
// out pointer carries one reference for the caller. Load modes: 0 reads every
// column into the records, 2 the short column list, any other value nothing
// (columns are then read on first use). Thumbnail kinds are 1 and 2; any other
// kind answers E_INVALIDARG. A null required argument answers E_INVALIDARG
// before anything else; a store failure answers E_FAIL.
class IZanDB4FileDBMgr : public IUnknown {
public:
    // Stages record under a new id, written to record and to outId (may be
    // null); the row reaches the catalogue at Commit with flag 2, where a
    // duplicate path is turned away. On failure the id goes back to the pool.
    virtual HRESULT AddFile(IZanDB4FileDBRecord* record, uint64_t* outId) = 0;
    // Stages a row standing for a group of files and makes it the parent of
    // children, which must not be empty. outId may be null.
    virtual HRESULT AddItemGroup(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record) = 0;
    // The catalogued file with this path on the volume of diskVsn; case does
    // not count, and the path is taken as given, a trailing '/' included.
    // Either out may be null, not both. E_FAIL for an empty path or when no
    // file matches. Staged files are not searched.
    virtual HRESULT FindFileByPath(uint64_t* outId, IZanDB4FileDBRecord** outRecord, uint32_t diskVsn,
                                   const WCHAR* path) = 0;
    // E_FAIL when the catalogue has no such file. A null outRecord only tests
    // that it exists.
    virtual HRESULT GetFile(uint64_t fileId, IZanDB4FileDBRecord** outRecord) = 0;
    // Saves the changed fields of record, to the catalogue or to staging,
    // wherever the file stands. E_INVALIDARG when it is in neither.
    virtual HRESULT UpdateFile(uint64_t fileId, IZanDB4FileDBRecord* record) = 0;
    // Removes the file from catalogue and staging with its thumbnails, large
    // metadata and faces, and pools its id. E_FAIL only if both stores failed;
    // an unknown id answers S_OK.
    virtual HRESULT DeleteFile(uint64_t fileId) = 0;
    // Writes record to the catalogue at once under a new id (outId may be
    // null), then count thumbnails, caches[i] of kinds[i], and editCache (may
    // be null). E_FAIL for a duplicate path; on failure the id goes back to
    // the pool, while thumbnails already written stay.
    virtual HRESULT AddFileDirect(IZanDB4FileDBRecord* record, uint64_t* outId, const uint32_t* kinds,
                                  IZanDB4FileCache** caches, uint32_t count, IZanDB4EditFileCache* editCache) = 0;
    // AddItemGroup, written to the catalogue at once.
    virtual HRESULT AddItemGroupDirect(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record) = 0;

    // Catalogued files matching query (null: all), ordered by shooting date
    // and name when sort is TRUE. E_FAIL when none matched.
    virtual HRESULT ListFiles(IZanDB4QueryNode* query, BOOL sort, CList<IZanDB4FileDBRecord*>* outList,
                              uint32_t loadMode) = 0;
    // Number of catalogued files matching query (null: all). E_FAIL for a
    // node with empty text.
    virtual HRESULT CountFiles(IZanDB4QueryNode* query, uint32_t* outCount) = 0;
    // S_OK if a catalogued file matches query (null: any), else E_FAIL.
    virtual HRESULT HasFiles(IZanDB4QueryNode* query) = 0;
    // The file_format, or manage, value of each matching file, one per file.
    // E_FAIL when none matched.
    virtual HRESULT ListFileFormats(IZanDB4QueryNode* query, CList<uint32_t>* outList) = 0;
    virtual HRESULT ListManageFlags(IZanDB4QueryNode* query, CList<uint32_t>* outList) = 0;
    // Oldest and latest shooting date of the matching ordinary files; either
    // out may be null, and they are written only on S_OK.
    virtual HRESULT GetShootingDateRange(IZanDB4QueryNode* query, SYSTEMTIME* outOldest, SYSTEMTIME* outLatest) = 0;
    // The shooting date of each matching ordinary file, unordered, with
    // repeats. An empty result is S_OK.
    virtual HRESULT ListShootingDates(IZanDB4QueryNode* query, CList<SYSTEMTIME>* outList) = 0;

    // Files of an album: order 2 newest first, any other value oldest first.
    // E_FAIL when the album has none.
    virtual HRESULT ListFilesInAlbum(uint64_t albumId, CList<IZanDB4FileDBRecord*>* outList, uint32_t order,
                                     uint32_t loadMode) = 0;
    // Ordinary files of an album; 0 with S_OK when it has none.
    virtual HRESULT CountFilesInAlbum(uint64_t albumId, uint32_t* outCount) = 0;
    // Files showing the person (or pet), newest first. With outFaces (may be
    // null) a file comes once per face, and each face record is appended to
    // outFaces with one reference.
    virtual HRESULT ListFilesOfPerson(uint64_t personId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode,
                                      CList<IZanDB4FaceDBRecord*>* outFaces) = 0;
    // Files showing the person, and faces assigned to any person. Both write
    // outCount only when a count was read, and always answer S_OK.
    virtual HRESULT CountFilesOfPerson(uint64_t personId, uint32_t* outCount) = 0;
    virtual HRESULT CountPersonFaces(uint32_t* outCount) = 0;
    virtual HRESULT ListFilesOfPet(uint64_t petId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode,
                                   CList<IZanDB4FaceDBRecord*>* outFaces) = 0;
    // The pet twins of the two counts. Their statements name a person_id
    // column that pet_face_table does not have, so no count is ever read and
    // the answer is S_OK. Callers depend on the interface as it is.
    virtual HRESULT CountFilesOfPet(uint64_t petId, uint32_t* outCount) = 0;
    virtual HRESULT CountPetFaces(uint32_t* outCount) = 0;
    // Files carrying the tag. E_FAIL when there is none.
    virtual HRESULT ListFilesOfTag(uint64_t tagId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode) = 0;
    // Links of the tag, a file linked twice counting twice; 0 with S_OK when
    // the count cannot be read. E_INVALIDARG for a null out.
    virtual HRESULT CountFilesOfTag(uint64_t tagId, uint32_t* outCount) = 0;
    // Ordinary files shot from first to last, or with parent set, files whose
    // parent was shot then; ordered by shooting date and name.
    virtual HRESULT ListFilesByDate(const SYSTEMTIME* first, const SYSTEMTIME* last,
                                    CList<IZanDB4FileDBRecord*>* outList, BOOL parent, uint32_t loadMode) = 0;
    // Kept for the layout of the interface; answers E_NOTIMPL.
    virtual HRESULT ReservedOperation1() = 0;
    // Files imported at importDate, of importClass unless that is null.
    // Ordered by shooting date and name unless options has bit 0x10.
    virtual HRESULT ListFilesByImport(const SYSTEMTIME* importDate, const uint32_t* importClass,
                                      CList<IZanDB4FileDBRecord*>* outList, uint32_t options) = 0;
    // Kept for the layout of the interface; answers E_NOTIMPL.
    virtual HRESULT ReservedOperation2() = 0;
    // Every metadata record, or those with a model name, in row order.
    virtual HRESULT ListMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) = 0;
    virtual HRESULT ListModelMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) = 0;
    // Calls callback with each metadata record that has a model name.
    virtual HRESULT ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context) = 0;

    // Thumbnails of a file, one per kind. The cache objects are borrowed; the
    // data is copied. Adding over an existing thumbnail, or updating a
    // missing one, answers E_FAIL.
    virtual HRESULT AddThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) = 0;
    virtual HRESULT AddThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT UpdateThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) = 0;
    virtual HRESULT UpdateThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) = 0;
    virtual HRESULT DeleteThumbnail(uint64_t fileId, uint32_t kind) = 0;
    // A new cache object holding the thumbnail; E_FAIL when there is none.
    virtual HRESULT GetThumbnail(uint64_t fileId, uint32_t kind, IZanDB4FileCache** outCache) = 0;
    // FALSE also for a bad kind.
    virtual BOOL HasThumbnail(uint64_t fileId, uint32_t kind) = 0;
    // Closes the thumbnail files and deletes the folders of both kinds, or of
    // one; always S_OK.
    virtual HRESULT DeleteThumbnailFolders() = 0;
    virtual HRESULT DeleteThumbnailFolder(uint32_t kind) = 0;
    // The folder of a kind's thumbnails. E_FAIL for a bad kind or an empty
    // folder. Takes no lock.
    virtual HRESULT GetThumbnailFolder(uint32_t kind, CZanTString& outFolder) = 0;

    // The edited-image file of a file. Get makes a new object; E_FAIL when
    // there is none.
    virtual HRESULT AddEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) = 0;
    virtual HRESULT GetEditFileCache(uint64_t fileId, IZanDB4EditFileCache** outCache) = 0;
    virtual HRESULT UpdateEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) = 0;
    virtual HRESULT DeleteEditFileCache(uint64_t fileId) = 0;

    // The large metadata block of a file. Add and Update copy the object's
    // bytes; Get makes a new object that owns its bytes, E_FAIL when there is
    // none.
    virtual HRESULT AddLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) = 0;
    virtual HRESULT GetLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData** outData) = 0;
    virtual HRESULT UpdateLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) = 0;
    virtual HRESULT DeleteLargeMetaData(uint64_t fileId) = 0;

    // flags: 1 commits the catalogue, thumbnails and large metadata; 2 moves
    // staged files into the catalogue and commits staging; 4 commits staging
    // and thumbnails without moving. S_OK, S_FALSE or E_FAIL.
    virtual HRESULT Commit(uint32_t flags) = 0;
    // flags: 1 drops the open changes of catalogue, thumbnails and large
    // metadata; 2 those of staging. Answers the reopen of the catalogue (flag
    // 1), else of staging (flag 2), else S_OK.
    virtual HRESULT Rollback(uint32_t flags) = 0;

    // The cached main image of a file. Get makes a new object; E_FAIL when
    // there is none. Add refuses file id 0.
    virtual HRESULT AddMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) = 0;
    virtual HRESULT GetMainImageCache(uint64_t fileId, IZanDB4MainImageCache** outCache) = 0;
    virtual HRESULT UpdateMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) = 0;
    virtual HRESULT DeleteMainImageCache(uint64_t fileId) = 0;

    // Calls callback once per catalogued file until it answers FALSE; a null
    // callback just walks. E_FAIL if the walk could not run.
    virtual HRESULT ForEachFile(ZanDB4FileWalkCallback callback, void* context) = 0;

    // Take and leave the catalogue's lock across calls; always S_OK. The lock
    // is recursive; a Lock without Unlock stops every other thread's use of
    // the library.
    virtual HRESULT Lock() = 0;
    virtual HRESULT Unlock() = 0;

protected:
    virtual ~IZanDB4FileDBMgr() = default;
};
