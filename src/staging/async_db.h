// CSQLiteAsyncDB: the staging store, "FileBasicAsync.db" beside the
// catalogue. It takes new files (with their tags and metadata in one row)
// and the faces found in them at once, in one long transaction, until the
// file and face managers move them into the catalogue in one step. Of the
// catalogue only the identifier counter is touched while a file is staged.
//
// Threading: no lock of its own in these paths. The managers hold the
// catalogue's lock around every call, which serialises this store too.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "storage/sqlite_db_base.h"
#include "zandb4/faces.h"
#include "zandb4/records.h"

// Values that replace the record's own when a file is staged, for the row
// that stands for a group of files. Each mask bit names one value to use.
struct StagedFileOverrides {
    static constexpr uint32_t kManage = 1;
    static constexpr uint32_t kFilePath = 2;
    static constexpr uint32_t kDiskVsn = 4;
    static constexpr uint32_t kFileName = 8;

    uint32_t mask = 0;
    uint32_t manage = 0;
    CZanTString filePath;
    uint32_t diskVsn = 0;
    CZanTString fileName;
};

class CSQLiteFileBasicDB;

class CSQLiteAsyncDB : public CSQLiteDBBase {
public:
    // The base's tables, then async_file_table, its unique index on name and
    // path, the tag table and the four face tables, each by sqlite3_exec16;
    // the first failure stops with E_FAIL.
    HRESULT CreateTables() override;
    // Brings async_file_table of files from builds before 1200 up to date:
    // the six late columns are added behind can_commit (a table holding only
    // some of them is rebuilt first, losing their values and its index).
    HRESULT UpgradeTables() override;

    // Staged files (staging/async_db_files.cpp). Every write opens the
    // store's transaction.
    //
    // Whether a row of that file_id is staged.
    BOOL HasFile(uint64_t fileId);
    // Stages the record as file fileId: its fields and its metadata record
    // (zeros and empty texts without one) in one row, can_commit 1, then its
    // tags. A staged row of the same id is replaced, with its tags. E_FAIL
    // when the insert fails (the unique index on name and path: nothing is
    // written). After success, and if there were no overrides or
    // joinRecordCache is set, the record becomes the live record of fileId.
    HRESULT AddFile(uint64_t fileId, IZanDB4FileDBRecord* record, const StagedFileOverrides* overrides,
                    BOOL joinRecordCache);
    // Deletes the staged row and its tags; nothing staged is S_OK. E_FAIL
    // when a statement fails (an earlier one stands in the transaction).
    HRESULT DeleteFile(uint64_t fileId);
    // Writes the record's changed columns into the staged row by a generated
    // UPDATE (a failure of that statement is not reported), then its changed
    // relations: the tags, and the metadata, which always fails while a file
    // is staged (E_FAIL, the relation stays marked). E_INVALIDARG for a null
    // record.
    HRESULT UpdateFile(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Gives every staged file of the array the parent and the parent's date.
    // E_FAIL if any update failed; the others are written.
    HRESULT SetParentOfFiles(const CZanTArray<uint64_t>& fileIds, uint64_t parentId, const SYSTEMTIME& parentDate);

    // Staged faces (staging/async_db_faces.cpp).
    //
    // Stages the face under faceId with its file, individual and packed
    // rectangle, and marks its file's detection status ready. E_INVALIDARG
    // for a null record or a type other than 1 (person) or 2 (pet), with
    // nothing written; E_FAIL when the face row cannot be written.
    HRESULT AddFace(uint64_t faceId, IZanDB4FaceDBRecord* record);
    // Whether a face of that id and type is staged; false for other types.
    BOOL HasFace(uint64_t faceId, uint32_t type);
    // Rewrites the staged face's rectangle, file and individual. A face that
    // is not staged changes nothing and is S_OK. E_INVALIDARG for a null
    // record or a type other than 1 or 2; E_FAIL when the statement fails.
    HRESULT UpdateFace(uint64_t faceId, uint32_t type, IZanDB4FaceDBRecord* record);
    // Deletes the staged face; one that is not staged is S_OK. E_INVALIDARG
    // for a type other than 1 or 2.
    HRESULT DeleteFace(uint64_t faceId, uint32_t type);
    // Marks the staged file as searched for faces and both of its status
    // rows ready. A file that is not staged is S_OK; E_FAIL when a statement
    // does not prepare.
    HRESULT MarkFaceDetected(uint64_t fileId);

    // The move into the catalogue (staging/async_db_move.cpp). The caller
    // holds the catalogue's lock across the whole move.
    //
    // Inserts every staged row that is ready (can_commit 1) into the
    // catalogue's open transaction, its file row and then its metadata row
    // (replacing an old one), and appends to failed the id of each row
    // whose file row or metadata row did not go in (a file row that went in
    // stays). Then copies every staged tag link into the catalogue, results
    // not looked at. Staging itself is not changed. E_FAIL when a pass
    // cannot be prepared or finalized, else S_OK.
    HRESULT MoveFiles(CSQLiteFileBasicDB& catalogue, std::vector<uint64_t>& failed);
    // A new face record (one reference each) for every staged face of a file
    // whose status is ready, persons then pets, and their ids in faceIds.
    // Both are emptied first. E_FAIL when the list ends empty.
    HRESULT ReadFaces(std::vector<IZanDB4FaceDBRecord*>& faces, std::set<uint64_t>& faceIds);
    // Deletes the staged faces of that type whose ids are in the set, then
    // the whole status table of that type. An empty set is S_OK with nothing
    // done; E_INVALIDARG for a type other than 1 or 2; E_FAIL when the face
    // delete failed.
    HRESULT DeleteFaces(const std::set<uint64_t>& faceIds, uint32_t type);

private:
    // The tag links of a staged file from the record's tag list. The first
    // failure ends the walk with E_FAIL.
    HRESULT InsertTags(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Replaces the staged file's tag links with the record's tag list.
    HRESULT WriteTags(uint64_t fileId, IZanDB4FileDBRecord* record);
    // The metadata rewrite, which never prepares (see the .cpp).
    HRESULT WriteMetadata(uint64_t fileId, IZanDB4FileDBRecord* record);
};
