// CSQLiteFileBasicDB: the catalogue, "FileBasic.db". One row per known file,
// and the persons, pets, albums, tags, metadata and import history around
// those rows.
//
// Stored counters (a person's file_count, an album's file count and date
// range) are not kept up to date row by row: operations note the ids to
// recount in five sets, and Commit recounts them once per batch. The sets
// have no lock of their own; the manager holds m_lock around every call.
//
// The statements on the catalogue's tables are plain member functions, in
// the files of the subsystems that use them.
#pragma once

#include <set>

#include "storage/sqlite_db_base.h"
#include "zandb4/albums.h"
#include "zandb4/faces.h"
#include "zandb4/records.h"

namespace zandb4 {
class Statement;
}

class CSQLiteFileBasicDB : public CSQLiteDBBase {
public:
    // Id types of this store.
    static constexpr uint32_t kFileIdType = 1;
    static constexpr uint32_t kAlbumIdType = 2;
    static constexpr uint32_t kFaceGroupIdType = 3;
    static constexpr uint32_t kPersonIdType = 4;
    static constexpr uint32_t kPersonFaceIdType = 5;
    static constexpr uint32_t kPetIdType = 6;
    static constexpr uint32_t kPetFaceIdType = 7;
    static constexpr uint32_t kTagIdType = 8;

    // Individual types: 1 a person, 2 a pet.
    static constexpr uint32_t kPerson = 1;
    static constexpr uint32_t kPet = 2;

    ~CSQLiteFileBasicDB() override;

    // Every table and index of the catalogue, on a page size of 4096.
    HRESULT CreateTables() override;
    // Brings meta_table of an older file up to date; writes no version row
    // and commits nothing it adds (the caller does both).
    HRESULT UpgradeTables() override;
    // Recounts what the batch changed, empties the recount sets, then
    // commits. The recounts run even when the commit is refused.
    HRESULT Commit(bool force) override;
    // Drops the pending person, pet and album recounts, then reopens.
    HRESULT Reopen() override;
    // The base NewID, drawn again while the id already has a row: a pool or
    // counter that fell behind the tables walks forward by itself.
    HRESULT NewID(uint32_t idType, uint64_t* outId) override;

    // The 21 columns of a meta_table row, dates packed, GPS halves joined.
    // 32-bit values are bound as signed 32-bit integers, as every store binds
    // flags and small numbers.
    struct MetaRowValues {
        const void* filterData = nullptr;  // borrowed for the call
        uint32_t filterDataSize = 0;
        int64_t fileSize = 0;
        int64_t fileUpdateDate = 0;
        int64_t importDate = 0;
        int64_t duration = 0;
        uint32_t pixelWidth = 0;
        uint32_t pixelHeight = 0;
        uint32_t panoramaNumber = 0;
        uint32_t driveNumber = 0;
        uint32_t frameRate = 0;
        uint32_t importClass = 0;
        int64_t gpsAltitude = 0;
        int64_t gpsDirection = 0;
        CZanTString gpsAreaInfo;
        CZanTString modelName;
        uint32_t pictureMode = 0;
        uint32_t finishingMode = 0;
        uint32_t artFilter = 0;
        uint32_t focusMode = 0;
        uint32_t paramFlag = 0;
    };
    // The values of a metadata record, read through its getters. The filter
    // data stays the record's.
    static MetaRowValues MetaValuesOf(IZanDB4FileMetaDBRecord* record);

    // How a result row reaches a file record: every column ("SELECT *"), the
    // short column list, or not at all for a record found in the cache.
    static constexpr uint32_t kLoadAll = 0;
    static constexpr uint32_t kLoadNothing = 1;
    static constexpr uint32_t kLoadShort = 2;

    // The columns of a file_table row as InsertFileRow writes them. Paths go
    // in as the caller has them; the separator rules apply on the way in.
    struct FileRowValues {
        uint64_t fileId = 0;
        CZanTString filePath;
        uint32_t diskVsn = 0;
        CZanTString fileName;
        uint32_t fileFormat = 0;
        int64_t shootingDate = 0;
        double latitude = 0;
        double longitude = 0;
        uint32_t fileAttributes = 0;
        uint32_t thumbnailSize = 0;  // width * 65536 + height
        uint32_t thumbnailOrientation = 0;
        bool didEdit = false;
        bool isFavorite = false;
        bool didDetectFace = false;
        uint64_t albumId = 0;
        uint32_t manage = 0;
        uint64_t parentId = 0;
        int64_t parentShootingDate = 0;
        bool uploadFlag = false;
        uint32_t classifyId = 0;
    };

    // file_path as stored: one trailing separator removed.
    static CZanTString StoredFilePath(const CZanTString& path);
    // file_name as stored: one leading separator removed.
    static CZanTString StoredFileName(const CZanTString& name);
    // The unique key of a file apart from its id: the stored path upper-cased,
    // "_", and the volume serial in upper-case hexadecimal. The file name plays
    // no part.
    static CZanTString PathKeyOf(const CZanTString& path, uint32_t diskVsn);

    // file_table writes (catalogue/file_basic_db_file_write.cpp). Every writer
    // opens the transaction; nothing commits until Commit.
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
    // metadata when their bits are set.
    HRESULT UpdateFileRecord(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Deletes the row and what hangs on it: faces, metadata, tag links and the
    // main image cache row. An unknown id is S_OK. The id is not pooled.
    HRESULT DeleteFileRow(uint64_t fileId);

    // file_table reads (catalogue/file_basic_db_file_read.cpp).
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
    // file_format, or manage, of each selected row, appended.
    HRESULT ListFileFormats(IZanDB4QueryNode* query, CZanTList<uint32_t>& formats);
    HRESULT ListManageFlags(IZanDB4QueryNode* query, CZanTList<uint32_t>& flags);
    // The ids of files whose path and name, joined, name nothing on disk.
    HRESULT ListMissingFiles(CZanTArray<uint64_t>& fileIds);
    // The files holding a face of the individual, newest first; with faces
    // given, one entry per face, and the face records too.
    HRESULT ListFilesOfIndividual(uint64_t individualId, uint32_t type, CZanTList<IZanDB4FileDBRecord*>& files,
                                  uint32_t mode, CZanTList<IZanDB4FaceDBRecord*>* faces);
    // The number of distinct files holding a face of the individual; 0 for
    // any failure, which is every call for a pet.
    uint32_t CountFilesOfIndividual(uint64_t individualId, uint32_t type);
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

    // Tag links of files (albums/file_basic_db_tags.cpp).
    //
    // Inserts a link for each tag of the record; no tags is S_OK.
    HRESULT WriteFileTags(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Deletes every link of the file, then writes the record's.
    HRESULT ReplaceFileTags(uint64_t fileId, IZanDB4FileDBRecord* record);

    // Faces (faces/file_basic_db_faces.cpp). type is 1 person or 2 pet.
    //
    // The rectangle as one 64-bit value: left, top, width, height in 16 bits
    // each from the top, ORed without masks.
    static int64_t PackRect(const RECT& rect);
    static RECT UnpackRect(int64_t packed);
    // A face record from the row, reading the face columns from firstColumn.
    static HRESULT ReadFaceRow(IZanDB4FaceDBRecord** outRecord, const zandb4::Statement& row, uint32_t type,
                               int firstColumn);
    HRESULT LoadFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord** outRecord);
    // Deletes one face and notes its individual for the recount; a missing
    // row is S_OK.
    HRESULT DeleteFace(uint64_t faceId, uint32_t type);
    // Deletes every person face, then every pet face of the file, in
    // ascending face id, stopping at the first failure.
    HRESULT DeleteFacesOfFile(uint64_t fileId);
    // Notes the id in m_personRecount (type 1) or m_petRecount (type 2).
    void NoteIndividualForRecount(uint64_t individualId, uint32_t type);

    // main_image_cache_file_table (shards/file_basic_db_main_image_cache.cpp).
    HRESULT DeleteMainImageCache(uint64_t fileId);

    // meta_table (catalogue/file_basic_db_meta.cpp).
    // The row of fileId as a new record through the factory; no row leaves
    // *outRecord null and answers E_FAIL. A null out does nothing (E_INVALIDARG).
    HRESULT FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId);
    // Inserts the file record's metadata record under fileId. With retry, a
    // row already there is deleted and the insert tried once more.
    HRESULT InsertMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord, BOOL retry);
    // The same from values, for rows moved out of staging.
    HRESULT InsertMetaRow(uint64_t fileId, const MetaRowValues& values, BOOL retry);
    // Writes the file record's metadata: deletes the row when the record has
    // none, inserts when there is no row, else rewrites every column.
    HRESULT UpdateMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord);
    // The rewrite of every column of an existing row.
    HRESULT UpdateMetaRow(uint64_t fileId, const MetaRowValues& values);
    HRESULT DeleteMetaRecord(uint64_t fileId);
    BOOL HasMetaRecord(uint64_t fileId);
    // Empty the list (without releasing what it held), then append a record
    // per row, one reference each. E_FAIL when the list ends empty.
    HRESULT ListMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records);
    // Only rows with a model name (neither empty nor NULL).
    HRESULT ListModelMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records);
    // Lends each record with a model name to callback; a non-zero answer
    // ends the walk.
    HRESULT ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context);

    // Import history (albums/file_basic_db_import_history.cpp). Writers open
    // the transaction; nothing commits until Commit.
    HRESULT AddImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute);
    // Sets the attribute of the rows of that date and class; no row is S_OK.
    HRESULT UpdateImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute);
    // The newest row into *outRecord, which the caller passes null and which
    // is not cleared here. E_FAIL when no record ends up there.
    HRESULT GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord);
    // Appends every row, oldest first. E_FAIL when the array is empty at the end.
    HRESULT GetImportHistories(CZanTArray<IZanDB4ImportDBRecord*>& records);
    // Deletes the rows of that date, whatever their class.
    HRESULT DeleteImportHistory(int64_t importDate);
    HRESULT ClearImportHistory();

    std::set<uint64_t> m_personRecount;
    std::set<uint64_t> m_petRecount;
    std::set<uint64_t> m_albumRecount;
    // Nothing in the library fills these two; Commit still walks them.
    std::set<uint64_t> m_personGroupRecount;
    std::set<uint64_t> m_petGroupRecount;

private:
    // The album notes of an update that changes album_id.
    void NoteAlbumsOfUpdate(uint64_t fileId, IZanDB4FileDBRecord* record);
    bool IsIdTaken(uint32_t idType, uint64_t id);
    void RecountIndividuals(uint32_t individualType, const std::set<uint64_t>& ids);
    void RecountGroups(uint32_t individualType, const std::set<uint64_t>& ids);
    void RecountAlbum(uint64_t albumId);
    // Writes file_count of a person (type 1) or pet (type 2).
    void WriteFileCount(uint32_t individualType, uint64_t id, int64_t count);
    // "SELECT count(column) FROM table" prepares and gives a row.
    bool HasColumn(const WCHAR* table, const WCHAR* column);
    // The rebuild of an old meta_table; answers the version to go on with.
    uint32_t RebuildMetaTable(uint32_t version);
};
