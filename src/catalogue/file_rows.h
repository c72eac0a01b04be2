// FileTableRows: the file store, the statements on file_table
// (CSQLiteFileBasicDB's InsertFileRecord, GetFileRecord, ListFiles and the
// other file-row operations), over the catalogue's connection. Made on the
// stack for a call: it borrows the store and holds nothing.
//
// Result rows become the one live record of their file through
// FileRecordCache, so two searches that find one file hand out one object.
// Every writer opens the store's transaction; nothing commits until Commit.
// The caller holds the store's lock.
#pragma once

#include "catalogue/file_basic_db.h"
#include "zandb4/catalogue.h"
#include "zandb4/faces.h"
#include "zandb4/records.h"

namespace zandb4 {
class Statement;
}

class FileTableRows {
public:
    // How a result row reaches a file record: every column ("SELECT *"), the
    // short column list, or not at all for a record found in the cache.
    static constexpr uint32_t kLoadAll = 0;
    static constexpr uint32_t kLoadNothing = 1;
    static constexpr uint32_t kLoadShort = 2;

    explicit FileTableRows(CSQLiteFileBasicDB& store) : m_store(store) {}

    // Writes (catalogue/file_rows_write.cpp).
    //
    // A new row from a record whose id is set, with its tags and metadata
    // row; the record joins FileRecordCache. A statement that does not
    // prepare answers S_OK: callers learn of it from a later read.
    HRESULT InsertFileRecord(IZanDB4FileDBRecord* record);
    // The same row from values, without tags, metadata or the cache.
    HRESULT InsertFileRow(const FileRowValues& values);
    // A row of its own for a file that stands for a group of files.
    HRESULT AddItemGroupFile(uint64_t fileId, IZanDB4FileDBRecord* source);
    // Gives each file of the array the parent and the parent's date.
    HRESULT SetParentOfFiles(const CZanTArray<uint64_t>& fileIds, uint64_t parentId, const CZanTDateTime& parentDate);
    // Writes the columns the record's changed mask names, then its tags and
    // metadata when their bits are set. A relation that fails to save stays
    // marked changed.
    HRESULT UpdateFileRecord(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Deletes the row and what hangs on it: faces, metadata, tag links and the
    // main image cache row. An unknown id is S_OK. The id is not pooled.
    HRESULT DeleteFileRow(uint64_t fileId);

    // Reads (catalogue/file_rows_read.cpp).
    //
    // The row of fileId in mode 0; a null outRecord only tests that it exists.
    HRESULT GetFileRecord(uint64_t fileId, IZanDB4FileDBRecord** outRecord);
    // The record of the current "SELECT *" row: the live one from the cache,
    // refreshed by the row in modes 0 and 2, or a new one that joins the
    // cache. With outRecord null only a cached record is touched.
    HRESULT RecordFromRow(uint64_t* outId, IZanDB4FileDBRecord** outRecord, const zandb4::Statement* row,
                          uint32_t mode);
    // The same for a row of the short column list.
    HRESULT RecordFromShortRow(uint64_t* outId, IZanDB4FileDBRecord** outRecord, const zandb4::Statement* row,
                               uint32_t mode);
    // The files the query selects, one reference each; sortFlag 1 orders them
    // by shooting date and name. The list is emptied first (without releasing).
    // E_FAIL when it ends empty.
    HRESULT ListFiles(IZanDB4QueryNode* query, uint32_t sortFlag, CZanTList<IZanDB4FileDBRecord*>& records,
                      uint32_t mode);
    // The number of selected rows into *outCount, cleared first. A query
    // whose text is empty answers E_FAIL without running anything.
    HRESULT CountFiles(IZanDB4QueryNode* query, uint32_t* outCount);
    // S_OK when a row is selected, else E_FAIL (also for a query whose text
    // is empty).
    HRESULT HasFiles(IZanDB4QueryNode* query);
    // Calls callback(context) once per row until it answers 0; a null
    // callback walks every row. E_FAIL when the walk could not run.
    HRESULT ForEachFile(ZanDB4FileWalkCallback callback, void* context);
    // file_format, or manage, of each selected row, appended.
    HRESULT ListFileFormats(IZanDB4QueryNode* query, CZanTList<uint32_t>& formats);
    HRESULT ListManageFlags(IZanDB4QueryNode* query, CZanTList<uint32_t>& flags);
    // The ids of files whose path and name, joined, name nothing on disk.
    HRESULT ListMissingFiles(CZanTArray<uint64_t>& fileIds);
    // The files holding a face of the individual, newest first; with faces
    // given, one entry per face, and the face records too.
    HRESULT ListFilesOfIndividual(uint64_t individualId, uint32_t type, CZanTList<IZanDB4FileDBRecord*>& files,
                                  uint32_t mode, CZanTList<IZanDB4FaceDBRecord*>* faces);
    // The oldest and latest shooting dates of the selected managed files.
    HRESULT GetShootingDateRange(IZanDB4QueryNode* query, CZanTDateTime& oldest, CZanTDateTime& latest);
    // Every selected shooting date, unsorted and with repeats, appended.
    HRESULT ListShootingDates(IZanDB4QueryNode* query, CZanTList<SYSTEMTIME>* dates);
    // Files shot between the two dates (with parent set, whose parent was),
    // oldest first.
    HRESULT ListFilesByDate(const SYSTEMTIME& first, const SYSTEMTIME& last, BOOL parent,
                            CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode);
    // Files of one import run, of one class when importClass is given. Option
    // bit 0x10 leaves the order to the database.
    HRESULT ListFilesByImport(const SYSTEMTIME& importDate, const uint32_t* importClass, uint32_t options,
                              CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode);

    // The files of an album: order 2 newest first, any other order oldest
    // first, then by name. E_FAIL when the list ends empty.
    HRESULT ListFilesInAlbum(uint64_t albumId, uint32_t order, CZanTList<IZanDB4FileDBRecord*>& records,
                             uint32_t mode);
    // The managed files of an album into *outCount, cleared first.
    // E_INVALIDARG for a null out, E_FAIL when the count cannot be read.
    HRESULT CountFilesInAlbum(uint64_t albumId, uint32_t* outCount);
    // The files linked to a tag. E_FAIL when the list ends empty.
    HRESULT ListFilesOfTag(uint64_t tagId, CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode);
    // The links of a tag into *outCount, cleared first, a file linked twice
    // counted twice. E_INVALIDARG for a null out; a count that cannot be read
    // is 0 with S_OK.
    HRESULT CountFilesOfTag(uint64_t tagId, uint32_t* outCount);

private:
    // The "SELECT *" rows of sql with id bound to its one parameter, as
    // records; E_FAIL when the list ends empty.
    HRESULT ListFilesOfId(const WCHAR* sql, uint64_t id, CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode);
    // The album notes of an update that changes album_id.
    void NoteAlbumsOfUpdate(uint64_t fileId, IZanDB4FileDBRecord* record);

    CSQLiteFileBasicDB& m_store;
};
