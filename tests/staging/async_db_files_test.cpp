// Staged files: the row of a new file with its metadata and tags, the
// replacement of an id that comes round again, the unique name and path, the
// generated UPDATE of a staged row (with the metadata rewrite that never
// works), parents, and the staged faces with their status rows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "faces/face_db_record.h"
#include "frame/com_ptr.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"
#include "records/file_meta_db_record.h"
#include "staging/async_db.h"
#include "staging/async_file_table.h"
#include "storage/statement.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

namespace {

using Rows = std::vector<std::vector<std::string>>;

class StagedFiles : public ::testing::Test {
protected:
    void SetUp() override {
        m_store.m_folder = m_folder.Wide();
        m_store.m_fileName = u"FileBasicAsync.db";
        ASSERT_EQ(m_store.Open(), S_OK);
    }

    // A new file record with a path, a name, a favourite flag and tags.
    static ComPtr<IZanDB4FileDBRecord> File(const WCHAR* path, const WCHAR* name, std::vector<uint64_t> tags = {}) {
        ComPtr<IZanDB4FileDBRecord> record = ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(nullptr));
        uint32_t diskVsn = 0x1234;
        record->SetFilePath(path, &diskVsn);
        record->SetFileName(name);
        uint32_t manage = 1;
        record->SetManage(&manage);
        int64_t date = 0x7E50304050607;
        record->SetShootingDateValue(&date);
        for (uint64_t tag : tags) record->AddTag(&tag);
        return record;
    }

    static ComPtr<IZanDB4FileMetaDBRecord> Meta(uint64_t fileSize, const WCHAR* model) {
        ComPtr<IZanDB4FileMetaDBRecord> meta = ComPtr<IZanDB4FileMetaDBRecord>::Adopt(new CZanDB4FileMetaDBRecord());
        meta->SetFileSize(fileSize);
        const unsigned char filter[] = {1, 2, 3};
        meta->SetFilterData(filter, sizeof filter);
        meta->SetModelInfo(model, 7, 8, 9, 10, 11);
        meta->SetAreaInfo(u"north");
        return meta;
    }

    // Commits and reads what is on disk.
    Rows OnDisk(const std::string& sql) {
        EXPECT_EQ(m_store.Commit(false), S_OK);
        SqliteProbe probe(m_folder / "FileBasicAsync.db");
        return probe.Rows(sql);
    }

    TempFolder m_folder;
    CSQLiteAsyncDB m_store;
};

TEST_F(StagedFiles, AddWritesOneRowWithMetadataTagsAndCanCommit) {
    ComPtr<IZanDB4FileDBRecord> file = File(u"/pictures", u"a.jpg", {3, 1});
    file->AttachMetaRecord(Meta(4096, u"camera").Get());
    EXPECT_EQ(m_store.AddFile(42, file.Get(), nullptr, 0), S_OK);
    EXPECT_TRUE(m_store.HasFile(42));
    EXPECT_FALSE(m_store.HasFile(43));
    Rows rows = OnDisk("SELECT * FROM async_file_table");
    ASSERT_EQ(rows.size(), 1u);
    const auto& row = rows[0];
    EXPECT_EQ(row[async_file_table::kFileId], "42");
    EXPECT_EQ(row[async_file_table::kFilePath], "/pictures");
    EXPECT_EQ(row[async_file_table::kDiskVsn], std::to_string(0x1234));
    EXPECT_EQ(row[async_file_table::kFileName], "a.jpg");
    EXPECT_EQ(row[async_file_table::kShootingDate], "2222125952075271");
    EXPECT_EQ(row[async_file_table::kManage], "1");
    EXPECT_EQ(row[async_file_table::kFileSize], "4096");
    EXPECT_EQ(row[async_file_table::kGpsAreaInfo], "north");
    EXPECT_EQ(row[async_file_table::kModelName], "camera");
    EXPECT_EQ(row[async_file_table::kPictureMode], "7");
    EXPECT_EQ(row[async_file_table::kParamFlag], "11");
    EXPECT_EQ(row[async_file_table::kCanCommit], "1");
    EXPECT_EQ(OnDisk("SELECT typeof(filter_data), hex(filter_data) FROM async_file_table"),
              (Rows{{"blob", "010203"}}));
    EXPECT_EQ(OnDisk("SELECT tag_id, file_id FROM async_tag_file_table ORDER BY tag_id"),
              (Rows{{"1", "42"}, {"3", "42"}}));
}

TEST_F(StagedFiles, RecordWithoutMetadataStagesZerosAndEmptyTexts) {
    EXPECT_EQ(m_store.AddFile(1, File(u"/p", u"b.jpg").Get(), nullptr, 0), S_OK);
    EXPECT_EQ(OnDisk("SELECT import_date, file_size, filter_data, gps_areainfo, model_name FROM async_file_table"),
              (Rows{{"0", "0", "NULL", "", ""}}));
}

TEST_F(StagedFiles, AnIdThatComesRoundAgainReplacesTheRowAndItsTags) {
    ASSERT_EQ(m_store.AddFile(5, File(u"/old", u"old.jpg", {1, 2}).Get(), nullptr, 0), S_OK);
    EXPECT_EQ(m_store.AddFile(5, File(u"/new", u"new.jpg", {9}).Get(), nullptr, 0), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_id, file_path, file_name FROM async_file_table"),
              (Rows{{"5", "/new", "new.jpg"}}));
    EXPECT_EQ(OnDisk("SELECT tag_id, file_id FROM async_tag_file_table"), (Rows{{"9", "5"}}));
}

TEST_F(StagedFiles, SameNameInOneFolderFailsAndInTwoFoldersPasses) {
    ASSERT_EQ(m_store.AddFile(1, File(u"/p", u"a.jpg", {4}).Get(), nullptr, 0), S_OK);
    EXPECT_EQ(m_store.AddFile(2, File(u"/p", u"a.jpg", {5}).Get(), nullptr, 0), E_FAIL);
    EXPECT_FALSE(m_store.HasFile(2));
    EXPECT_EQ(m_store.AddFile(3, File(u"/q", u"a.jpg").Get(), nullptr, 0), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_id FROM async_file_table ORDER BY file_id"), (Rows{{"1"}, {"3"}}));
    // The refused file left no tag behind.
    EXPECT_EQ(OnDisk("SELECT tag_id, file_id FROM async_tag_file_table"), (Rows{{"4", "1"}}));
}

TEST_F(StagedFiles, OverridesReplaceTheRecordsValuesAndKeepItOutOfTheCacheUnlessAsked) {
    StagedFileOverrides overrides;
    overrides.mask = StagedFileOverrides::kManage | StagedFileOverrides::kFilePath | StagedFileOverrides::kDiskVsn |
                     StagedFileOverrides::kFileName;
    overrides.manage = 2;
    overrides.filePath = u":ITEM_GROUP:8";
    overrides.diskVsn = 0;
    overrides.fileName = u"8";
    EXPECT_EQ(m_store.AddFile(8, File(u"/p", u"a.jpg").Get(), &overrides, 0), S_OK);
    EXPECT_EQ(OnDisk("SELECT manage, file_path, disk_vsn, file_name FROM async_file_table"),
              (Rows{{"2", ":ITEM_GROUP:8", "0", "8"}}));

    // Only the manage bit: the record's path and name stay.
    overrides.mask = StagedFileOverrides::kManage;
    EXPECT_EQ(m_store.AddFile(9, File(u"/p", u"b.jpg").Get(), &overrides, 0), S_OK);
    EXPECT_EQ(OnDisk("SELECT manage, file_path, file_name FROM async_file_table WHERE file_id=9"),
              (Rows{{"2", "/p", "b.jpg"}}));
}

TEST_F(StagedFiles, StagedRecordBecomesTheLiveRecordOfItsId) {
    zandb4::FileRecordCache* cache = new zandb4::FileRecordCache(&zandb4::g_fileRecordCache);
    zandb4::g_fileRecordCache = cache;
    ComPtr<IZanDB4FileDBRecord> file = File(u"/p", u"a.jpg");
    ASSERT_EQ(m_store.AddFile(11, file.Get(), nullptr, 0), S_OK);
    IZanDB4FileDBRecord* found = nullptr;
    ASSERT_TRUE(cache->Find(11, &found));
    EXPECT_EQ(found, file.Get());
    found->Release();
    // With overrides and no cache flag the record stays out of the cache.
    StagedFileOverrides overrides;
    overrides.mask = StagedFileOverrides::kManage;
    overrides.manage = 2;
    ComPtr<IZanDB4FileDBRecord> group = File(u"/p", u"g.jpg");
    ASSERT_EQ(m_store.AddFile(12, group.Get(), &overrides, 0), S_OK);
    EXPECT_FALSE(cache->Find(12, &found));
    ASSERT_EQ(m_store.AddFile(13, File(u"/p", u"h.jpg").Get(), &overrides, 1), S_OK);
    EXPECT_TRUE(cache->Find(13, &found));
    found->Release();
    cache->Clear();
    cache->Release();
    EXPECT_EQ(zandb4::g_fileRecordCache, nullptr);
}

TEST_F(StagedFiles, DeleteTakesTheRowAndItsTagsAndNothingStagedIsOk) {
    ASSERT_EQ(m_store.AddFile(1, File(u"/p", u"a.jpg", {1}).Get(), nullptr, 0), S_OK);
    ASSERT_EQ(m_store.AddFile(2, File(u"/p", u"b.jpg", {1}).Get(), nullptr, 0), S_OK);
    EXPECT_EQ(m_store.DeleteFile(1), S_OK);
    EXPECT_EQ(m_store.DeleteFile(77), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_id FROM async_file_table"), (Rows{{"2"}}));
    EXPECT_EQ(OnDisk("SELECT tag_id, file_id FROM async_tag_file_table"), (Rows{{"1", "2"}}));
}

TEST_F(StagedFiles, ChangedTagSetReplacesAllTagRows) {
    ComPtr<IZanDB4FileDBRecord> file = File(u"/p", u"a.jpg", {1, 2});
    ASSERT_EQ(m_store.AddFile(1, file.Get(), nullptr, 0), S_OK);
    file->MarkColumnsChanged(0);
    file->MarkRelationsChanged(0);
    uint64_t removed = 1, added = 5;
    file->RemoveTag(&removed);
    file->AddTag(&added);
    // Only the relation changed: the empty SET fails unreported, tags go in.
    EXPECT_EQ(m_store.UpdateFile(1, file.Get()), S_OK);
    EXPECT_EQ(OnDisk("SELECT tag_id FROM async_tag_file_table ORDER BY tag_id"), (Rows{{"2"}, {"5"}}));
    uint32_t relations = 0;
    EXPECT_FALSE(file->GetRelationsChangedMask(&relations));
}

TEST_F(StagedFiles, ColumnChangeLandsAndMetadataChangeFailsLeavingTheRowsMetadata) {
    ComPtr<IZanDB4FileDBRecord> file = File(u"/p", u"a.jpg");
    file->AttachMetaRecord(Meta(100, u"first").Get());
    ASSERT_EQ(m_store.AddFile(1, file.Get(), nullptr, 0), S_OK);
    file->MarkColumnsChanged(0);
    file->MarkRelationsChanged(0);

    uint8_t favourite = 1;
    file->SetIsFavorite(&favourite);
    file->AttachMetaRecord(Meta(999, u"second").Get());
    EXPECT_EQ(m_store.UpdateFile(1, file.Get()), E_FAIL);
    EXPECT_EQ(OnDisk("SELECT is_favorite, file_size, model_name FROM async_file_table"),
              (Rows{{"1", "100", "first"}}));
    // The column was written; the metadata stays marked for the next update.
    uint32_t mask = 0;
    file->GetChangedMask(&mask);
    EXPECT_EQ(mask & CZanDB4FileDBRecord::kAllColumns, 0u);
    EXPECT_TRUE(file->GetRelationsChangedMask(&mask));
    EXPECT_EQ(mask & CZanDB4FileDBRecord::kMetaRecord, CZanDB4FileDBRecord::kMetaRecord);
}

TEST_F(StagedFiles, MetadataRewriteWorksOnlyWhereTheMisspeltColumnExists) {
    // The rewrite names param_flagr; on a table that has such a column it
    // prepares and writes the record's metadata.
    ASSERT_EQ(zandb4::RunStatement(m_store.m_db, u"ALTER TABLE async_file_table ADD COLUMN param_flagr INTEGER"),
              S_OK);
    ComPtr<IZanDB4FileDBRecord> file = File(u"/p", u"a.jpg");
    ASSERT_EQ(m_store.AddFile(1, file.Get(), nullptr, 0), S_OK);
    file->AttachMetaRecord(Meta(555, u"later").Get());
    EXPECT_EQ(m_store.UpdateFile(1, file.Get()), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_size, model_name, param_flagr, param_flag FROM async_file_table"),
              (Rows{{"555", "later", "11", "0"}}));
}

TEST_F(StagedFiles, ApostropheInANewNameFailsTheUpdateAndChangesNothing) {
    ComPtr<IZanDB4FileDBRecord> file = File(u"/p", u"a.jpg");
    ASSERT_EQ(m_store.AddFile(1, file.Get(), nullptr, 0), S_OK);
    file->MarkColumnsChanged(0);
    file->MarkRelationsChanged(0);
    file->SetFileName(u"it's.jpg");
    // The failed statement is not reported, and the change stays marked.
    EXPECT_EQ(m_store.UpdateFile(1, file.Get()), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_name FROM async_file_table"), (Rows{{"a.jpg"}}));
    uint32_t mask = 0;
    EXPECT_TRUE(file->GetChangedMask(&mask));
}

TEST_F(StagedFiles, ApostropheInANewPathFailsTheUpdateAndAddingSuchAPathWorks) {
    // Bound values take an apostrophe; the generated UPDATE does not.
    ComPtr<IZanDB4FileDBRecord> file = File(u"/it's/here", u"a.jpg");
    ASSERT_EQ(m_store.AddFile(1, file.Get(), nullptr, 0), S_OK);
    file->MarkColumnsChanged(0);
    file->MarkRelationsChanged(0);
    uint32_t diskVsn = 9;
    file->SetFilePath(u"/o'clock", &diskVsn);
    uint8_t favourite = 1;
    file->SetIsFavorite(&favourite);
    EXPECT_EQ(m_store.UpdateFile(1, file.Get()), S_OK);
    // The whole statement failed: neither the path nor the flag changed.
    EXPECT_EQ(OnDisk("SELECT file_path, disk_vsn, is_favorite FROM async_file_table"),
              (Rows{{"/it's/here", std::to_string(0x1234), "0"}}));
}

TEST_F(StagedFiles, NullRecordIsInvalid) {
    EXPECT_EQ(m_store.UpdateFile(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_store.AddFile(1, nullptr, nullptr, 0), E_INVALIDARG);
}

TEST_F(StagedFiles, SetParentOfFilesWritesEveryStagedFile) {
    ASSERT_EQ(m_store.AddFile(1, File(u"/p", u"a.jpg").Get(), nullptr, 0), S_OK);
    ASSERT_EQ(m_store.AddFile(2, File(u"/p", u"b.jpg").Get(), nullptr, 0), S_OK);
    CArray<uint64_t> ids;
    ids.Add(1);
    ids.Add(2);
    CZanTArray<uint64_t> wrapped(&ids);
    SYSTEMTIME parentDate{2021, 3, 0, 4, 5, 6, 7, 0};
    EXPECT_EQ(m_store.SetParentOfFiles(wrapped, 99, parentDate), S_OK);
    EXPECT_EQ(OnDisk("SELECT file_id, parent_id, parent_shooting_date FROM async_file_table ORDER BY file_id"),
              (Rows{{"1", "99", "2222125952075271"}, {"2", "99", "2222125952075271"}}));
}

class StagedFaces : public StagedFiles {
protected:
    static ComPtr<IZanDB4FaceDBRecord> Face(uint32_t type, uint64_t fileId, uint64_t individualId) {
        ComPtr<IZanDB4FaceDBRecord> face = ComPtr<IZanDB4FaceDBRecord>::Adopt(new CZanDB4FaceDBRecord());
        face->SetIndividualType(type);
        face->SetFileID(fileId);
        face->SetIndividualID(individualId);
        RECT rect{1, 2, 11, 22};
        face->SetRect(&rect);
        return face;
    }
};

TEST_F(StagedFaces, SecondFaceOfAFileAddsAFaceRowAndKeepsOneStatusRow) {
    EXPECT_EQ(m_store.AddFace(100, Face(1, 7, 3).Get()), S_OK);
    EXPECT_EQ(m_store.AddFace(101, Face(1, 7, 4).Get()), S_OK);
    EXPECT_EQ(OnDisk("SELECT async_person_face_id, file_id, person_id, rect FROM async_person_face_table "
                     "ORDER BY async_person_face_id"),
              (Rows{{"100", "7", "3", std::to_string((1LL << 48) | (2LL << 32) | (10LL << 16) | 20)},
                    {"101", "7", "4", std::to_string((1LL << 48) | (2LL << 32) | (10LL << 16) | 20)}}));
    EXPECT_EQ(OnDisk("SELECT file_id, can_commit, did_commit FROM async_person_face_status_table"),
              (Rows{{"7", "1", "0"}}));
    EXPECT_TRUE(m_store.HasFace(100, 1));
    EXPECT_FALSE(m_store.HasFace(100, 2));
    EXPECT_FALSE(m_store.HasFace(100, 3));
}

TEST_F(StagedFaces, PetFacesGoToTheirOwnTables) {
    EXPECT_EQ(m_store.AddFace(5, Face(2, 8, 6).Get()), S_OK);
    EXPECT_EQ(OnDisk("SELECT async_pet_face_id, file_id, pet_id FROM async_pet_face_table"),
              (Rows{{"5", "8", "6"}}));
    EXPECT_EQ(OnDisk("SELECT file_id FROM async_pet_face_status_table"), (Rows{{"8"}}));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM async_person_face_table"), (Rows{{"0"}}));
    EXPECT_TRUE(m_store.HasFace(5, 2));
}

TEST_F(StagedFaces, UnknownTypeOrNullRecordWritesNothing) {
    EXPECT_EQ(m_store.AddFace(1, Face(0, 7, 3).Get()), E_INVALIDARG);
    EXPECT_EQ(m_store.AddFace(1, Face(3, 7, 3).Get()), E_INVALIDARG);
    EXPECT_EQ(m_store.AddFace(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(OnDisk("SELECT (SELECT COUNT(*) FROM async_person_face_table) + (SELECT COUNT(*) FROM "
                     "async_pet_face_table) + (SELECT COUNT(*) FROM async_person_face_status_table)"),
              (Rows{{"0"}}));
}

TEST_F(StagedFaces, MarkFaceDetectedSetsTheFlagAndAFileNotStagedIsOk) {
    ASSERT_EQ(m_store.AddFile(7, File(u"/p", u"a.jpg").Get(), nullptr, 0), S_OK);
    EXPECT_EQ(m_store.MarkFaceDetected(7), S_OK);
    EXPECT_EQ(m_store.MarkFaceDetected(12345), S_OK);
    EXPECT_EQ(OnDisk("SELECT did_detect_face FROM async_file_table WHERE file_id=7"), (Rows{{"1"}}));
}

TEST_F(StagedFaces, MarkFaceDetectedOnAFileWithoutTablesFails) {
    ASSERT_EQ(zandb4::RunStatement(m_store.m_db, u"DROP TABLE async_pet_face_status_table"), S_OK);
    EXPECT_EQ(m_store.MarkFaceDetected(7), E_FAIL);
}

}  // namespace
