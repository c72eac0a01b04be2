// CSQLiteFileBasicDB: the catalogue, "FileBasic.db". One row per known file,
// and the persons, pets, albums, tags, metadata and import history around
// those rows.
//
// This class keeps the store's life cycle, its schema and upgrades, NewID,
// the recount sets and Commit. The statements on each subject's tables live
// with that subject, as small classes over this store's connection:
//   catalogue/file_rows.h          file_table (the file store)
//   records/meta_rows.h            meta_table
//   albums/album_rows.h            album_table
//   albums/tag_rows.h              tag_table
//   albums/tag_links.h             tag_file_table
//   albums/import_history_rows.h   import_history_table
//   faces/face_rows.h              person_face_table, pet_face_table
//   faces/individual_rows.h        person_table, pet_table, their group items,
//                                  face_group_table
//   shards/main_image_cache_rows.h main_image_cache_file_table
// and each table is described once in the header named after it.
//
// Stored counters (a person's file_count, an album's file count and date
// range) are not kept up to date row by row: operations note the ids to
// recount, and Commit recounts them once per batch. The notes have no lock
// of their own; the manager holds m_lock around every call.
#pragma once

#include <set>

#include "records/file_row.h"
#include "storage/sqlite_db_base.h"

class CSQLiteFileBasicDB : public CSQLiteDBBase, public IFileRowSource {
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

    // Recount notes, kept until the next Commit or Reopen.
    //
    // A person (type 1) or pet (type 2) whose file_count is recounted;
    // another type notes nothing.
    void NoteIndividualForRecount(uint64_t individualId, uint32_t type);
    // Takes a noted person or pet out again, for one whose row is gone.
    void ForgetIndividualRecount(uint64_t individualId, uint32_t type);
    // An album whose file count and date range are recounted.
    void NoteAlbumForRecount(uint64_t albumId) override;
    // A group of persons (type 1) or pets (type 2). Nothing in the library
    // notes groups today; Commit still walks these sets.
    void NoteGroupForRecount(uint64_t groupId, uint32_t type);
    // Forgets the pending person, pet and album recounts without running
    // them, as Reopen does; the group notes stay.
    void ForgetRecounts();
    // What the next Commit will recount.
    const std::set<uint64_t>& PersonRecounts() const { return m_personRecount; }
    const std::set<uint64_t>& PetRecounts() const { return m_petRecount; }
    const std::set<uint64_t>& AlbumRecounts() const { return m_albumRecount; }
    const std::set<uint64_t>& PersonGroupRecounts() const { return m_personGroupRecount; }
    const std::set<uint64_t>& PetGroupRecounts() const { return m_petGroupRecount; }

    // The number of distinct files holding a face of the individual; 0 for
    // any failure, which is every call for a pet.
    uint32_t CountFilesOfIndividual(uint64_t individualId, uint32_t type);

    // Whether a row of the table of idType (1 file, 2 album, 3 face group,
    // 4 person, 5 person face, 6 pet, 7 pet face, 8 tag) holds the id; false
    // for any other id type.
    bool IsIDInUse(uint64_t id, uint32_t idType);

    // What a file record reads through (catalogue/file_basic_db.cpp).
    CCriticalSection& RowLock() override { return m_lock; }
    HRESULT ReadFileRow(uint64_t fileId, FileRowValues& row) override;
    void ReadFileTags(uint64_t fileId, std::set<uint64_t>& tagIds) override;
    HRESULT FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId) override;

private:
    void RecountIndividuals(uint32_t individualType, const std::set<uint64_t>& ids);
    void RecountGroups(uint32_t individualType, const std::set<uint64_t>& ids);
    void RecountAlbum(uint64_t albumId);
    // Writes file_count of a person (type 1) or pet (type 2).
    void WriteFileCount(uint32_t individualType, uint64_t id, int64_t count);

    std::set<uint64_t> m_personRecount;
    std::set<uint64_t> m_petRecount;
    std::set<uint64_t> m_albumRecount;
    std::set<uint64_t> m_personGroupRecount;
    std::set<uint64_t> m_petGroupRecount;
};
