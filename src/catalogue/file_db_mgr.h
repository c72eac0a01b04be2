// CZanDB4FileDBMgr: the file manager, the application's door to the
// catalogue. It borrows the catalogue, the staging store, the large-metadata
// shards and the file thumbnail family from the registry and owns no data,
// so any number of managers can live side by side.
//
// Its own logic is small: it takes the lock, routes each call to the store
// that keeps what it asks for, draws file ids from the catalogue and gives
// them back when an add fails, and ties the stores together when a file is
// added or deleted. The operations live in four files:
//   file_db_mgr_files.cpp   add, find, get, update, delete
//   file_db_mgr_lists.cpp   lists, counts and walks
//   file_db_mgr_caches.cpp  thumbnails, edit and main image caches, large
//                           metadata, Lock and Unlock
//   file_db_mgr_commit.cpp  Commit, Rollback and the move of staged files
//
// Threading: every operation holds the catalogue's lock for its whole run,
// which also guards the staging store, the thumbnail family and the
// metadata shards as far as they are reached from here; thumbnail walks take
// their factory's lock inside it.
#pragma once

#include <cstdint>
#include <set>
#include <utility>

#include "catalogue/file_basic_db.h"
#include "frame/com_object.h"
#include "frame/critical_section.h"
#include "zandb4/catalogue.h"
#include "zandb4/identifiers.h"

class CSQLiteAsyncDB;
class CSQLiteFileBasicDB;
class CSQLiteMetaDataDBFactory;
class CSQLiteThumbDBMgr;

class CSQLiteThumbDBFactory;

class CZanDB4FileDBMgr : public zandb4::ComObject<IZanDB4FileDBMgr, IID_IZanDB4FileDBMgr> {
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

    // Files (catalogue/file_db_mgr_files.cpp).
    HRESULT AddFile(IZanDB4FileDBRecord* record, uint64_t* outId) override;
    HRESULT AddItemGroup(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record) override;
    HRESULT FindFileByPath(uint64_t* outId, IZanDB4FileDBRecord** outRecord, uint32_t diskVsn,
                           const WCHAR* path) override;
    HRESULT GetFile(uint64_t fileId, IZanDB4FileDBRecord** outRecord) override;
    HRESULT UpdateFile(uint64_t fileId, IZanDB4FileDBRecord* record) override;
    HRESULT DeleteFile(uint64_t fileId) override;
    HRESULT AddFileDirect(IZanDB4FileDBRecord* record, uint64_t* outId, const uint32_t* kinds,
                          IZanDB4FileCache** caches, uint32_t count, IZanDB4EditFileCache* editCache) override;
    HRESULT AddItemGroupDirect(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record) override;

    // Lists, counts and walks (catalogue/file_db_mgr_lists.cpp).
    HRESULT ListFiles(IZanDB4QueryNode* query, BOOL sort, CList<IZanDB4FileDBRecord*>* outList,
                      uint32_t loadMode) override;
    HRESULT CountFiles(IZanDB4QueryNode* query, uint32_t* outCount) override;
    HRESULT HasFiles(IZanDB4QueryNode* query) override;
    HRESULT ListFileFormats(IZanDB4QueryNode* query, CList<uint32_t>* outList) override;
    HRESULT ListManageFlags(IZanDB4QueryNode* query, CList<uint32_t>* outList) override;
    HRESULT GetShootingDateRange(IZanDB4QueryNode* query, SYSTEMTIME* outOldest, SYSTEMTIME* outLatest) override;
    HRESULT ListShootingDates(IZanDB4QueryNode* query, CList<SYSTEMTIME>* outList) override;
    HRESULT ListFilesInAlbum(uint64_t albumId, CList<IZanDB4FileDBRecord*>* outList, uint32_t order,
                             uint32_t loadMode) override;
    HRESULT CountFilesInAlbum(uint64_t albumId, uint32_t* outCount) override;
    HRESULT ListFilesOfPerson(uint64_t personId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode,
                              CList<IZanDB4FaceDBRecord*>* outFaces) override;
    HRESULT CountFilesOfPerson(uint64_t personId, uint32_t* outCount) override;
    HRESULT CountPersonFaces(uint32_t* outCount) override;
    HRESULT ListFilesOfPet(uint64_t petId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode,
                           CList<IZanDB4FaceDBRecord*>* outFaces) override;
    HRESULT CountFilesOfPet(uint64_t petId, uint32_t* outCount) override;
    HRESULT CountPetFaces(uint32_t* outCount) override;
    HRESULT ListFilesOfTag(uint64_t tagId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode) override;
    HRESULT CountFilesOfTag(uint64_t tagId, uint32_t* outCount) override;
    HRESULT ListFilesByDate(const SYSTEMTIME* first, const SYSTEMTIME* last, CList<IZanDB4FileDBRecord*>* outList,
                            BOOL parent, uint32_t loadMode) override;
    HRESULT ReservedOperation1() override;
    HRESULT ListFilesByImport(const SYSTEMTIME* importDate, const uint32_t* importClass,
                              CList<IZanDB4FileDBRecord*>* outList, uint32_t options) override;
    HRESULT ReservedOperation2() override;
    HRESULT ListMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) override;
    HRESULT ListModelMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) override;
    HRESULT ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context) override;
    HRESULT ForEachFile(ZanDB4FileWalkCallback callback, void* context) override;

    // Thumbnails, caches, large metadata, the lock
    // (catalogue/file_db_mgr_caches.cpp).
    HRESULT AddThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) override;
    HRESULT AddThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT UpdateThumbnailFromCache(uint64_t fileId, uint32_t kind, IZanDB4FileCache* cache) override;
    HRESULT UpdateThumbnail(uint64_t fileId, uint32_t kind, const void* data, uint32_t size) override;
    HRESULT DeleteThumbnail(uint64_t fileId, uint32_t kind) override;
    HRESULT GetThumbnail(uint64_t fileId, uint32_t kind, IZanDB4FileCache** outCache) override;
    BOOL HasThumbnail(uint64_t fileId, uint32_t kind) override;
    HRESULT DeleteThumbnailFolders() override;
    HRESULT DeleteThumbnailFolder(uint32_t kind) override;
    HRESULT GetThumbnailFolder(uint32_t kind, CZanTString& outFolder) override;
    HRESULT AddEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) override;
    HRESULT GetEditFileCache(uint64_t fileId, IZanDB4EditFileCache** outCache) override;
    HRESULT UpdateEditFileCache(uint64_t fileId, IZanDB4EditFileCache* cache) override;
    HRESULT DeleteEditFileCache(uint64_t fileId) override;
    HRESULT AddLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) override;
    HRESULT GetLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData** outData) override;
    HRESULT UpdateLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data) override;
    HRESULT DeleteLargeMetaData(uint64_t fileId) override;
    HRESULT AddMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) override;
    HRESULT GetMainImageCache(uint64_t fileId, IZanDB4MainImageCache** outCache) override;
    HRESULT UpdateMainImageCache(uint64_t fileId, IZanDB4MainImageCache* cache) override;
    HRESULT DeleteMainImageCache(uint64_t fileId) override;
    HRESULT Lock() override;
    HRESULT Unlock() override;

    // Commit and rollback (catalogue/file_db_mgr_commit.cpp).
    //
    // Runs the steps of the flags in the order 4, 2, 1. S_OK; S_FALSE when
    // files failed to move and flag 1 was not given (with flag 1 that news
    // is lost); E_FAIL when a step before the catalogue's commit failed, or
    // that commit's own failure. E_FAIL without a catalogue.
    HRESULT Commit(uint32_t flags) override;
    // The same, also handing out the ids of the files that failed to move
    // (for tools that report them); failedOut may be null.
    HRESULT Commit(uint32_t flags, std::set<uint64_t>* failedOut);
    // Flag 2 drops staging's open transaction, flag 1 the catalogue's with
    // the thumbnails and metadata; the catalogue's result stands when both
    // are given. S_OK without a flag.
    HRESULT Rollback(uint32_t flags) override;
    // Moves every ready staged file into the catalogue's open transaction,
    // then deletes the ready rows and their tags from staging (whether they
    // moved or not), and gives the id of every file that failed back to the
    // pool. failed is emptied and then holds those ids. The answer is that
    // of the reading pass.
    HRESULT MoveStagedFiles(std::set<uint64_t>& failed);

private:
    // Runs operation on the catalogue under its lock; closedAnswer for a
    // manager made while the library had no catalogue.
    template <class Result, class Operation>
    Result Locked(Result closedAnswer, Operation&& operation);
    // The thumbnail factory of a kind, or null for another kind or a missing
    // family.
    CSQLiteThumbDBFactory* ThumbnailFactory(uint32_t kind) const;
    // Deletes the thumbnail of both kinds, results not looked at, so that a
    // reused id never shows the picture of the file it had before.
    void ForgetThumbnails(uint64_t fileId);
    // AddItemGroup and AddItemGroupDirect: the id drawn, the row written by
    // writeRow, and the new group made the parent of the children in staging
    // and in the catalogue.
    template <class WriteRow>
    HRESULT AddGroup(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record, bool refuseNullRecord,
                     WriteRow&& writeRow);
    // AddLargeMetaData (replace false) and UpdateLargeMetaData: the object's
    // bytes and type to the metadata shards.
    HRESULT WriteLargeMetaData(uint64_t fileId, IZanDB4FileLargeMetaData* data, bool replace);
    // Closes the shards of a factory and deletes its folder.
    static void DeleteFactoryFolder(CSQLiteThumbDBFactory* factory);

    CSQLiteFileBasicDB* m_fileBasicDB;
    CSQLiteAsyncDB* m_asyncDB;
    CSQLiteMetaDataDBFactory* m_metaFactory;
    CSQLiteThumbDBMgr* m_thumbMgr;
};

template <class Result, class Operation>
Result CZanDB4FileDBMgr::Locked(Result closedAnswer, Operation&& operation) {
    if (m_fileBasicDB == nullptr) return closedAnswer;
    CriticalSectionGuard guard(m_fileBasicDB->m_lock);
    return std::forward<Operation>(operation)(*m_fileBasicDB);
}
