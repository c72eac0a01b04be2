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
#include "zandb4/records.h"

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
