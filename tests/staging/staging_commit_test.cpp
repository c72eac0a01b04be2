// The move of staged files into the catalogue through the file manager's
// Commit and Rollback: every flag, the order of the stores, the failed set
// with its pooled ids and deleted thumbnails, the trailing separator, tag
// links, and what each failure leaves behind. Runs on a started library.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "records/file_db_record.h"
#include "records/file_meta_db_record.h"
#include "zandb4/identifiers.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "platform/volume.h"
#include "storage/statement.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;
using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

using Rows = std::vector<std::vector<std::string>>;
const unsigned char kPicture[] = {9, 8, 7, 6};

class StagingCommit : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        m_manager = std::make_unique<CZanDB4FileDBMgr>(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB,
                                                       DatabaseRegistry::metaFactory, DatabaseRegistry::thumbMgr);
    }
    void TearDown() override {
        m_manager.reset();
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
    }

    CSQLiteFileBasicDB& Catalogue() { return *DatabaseRegistry::fileBasicDB; }
    CSQLiteAsyncDB& Staging() { return *DatabaseRegistry::asyncDB; }
    CSQLiteThumbDBFactory& Thumbnails(uint32_t kind) { return *DatabaseRegistry::thumbMgr->Factory(kind); }

    // Stages a file under a new id from the catalogue, as AddFile does,
    // with a thumbnail of kind 1; answers the id.
    uint64_t Stage(const WCHAR* path, const WCHAR* name, std::vector<uint64_t> tags = {}) {
        uint64_t id = 0;
        EXPECT_EQ(Catalogue().NewID(1, &id), S_OK);
        ComPtr<IZanDB4FileDBRecord> record =
            ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(DatabaseRegistry::fileBasicDB));
        uint32_t diskVsn = 7, manage = 1;
        record->SetFilePath(path, &diskVsn);
        record->SetFileName(name);
        record->SetManage(&manage);
        for (uint64_t tag : tags) record->AddTag(&tag);
        ComPtr<IZanDB4FileMetaDBRecord> meta = ComPtr<IZanDB4FileMetaDBRecord>::Adopt(new CZanDB4FileMetaDBRecord());
        meta->SetFileSize(1000 + id);
        record->AttachMetaRecord(meta.Get());
        EXPECT_EQ(Staging().AddFile(id, record.Get(), nullptr, 0), S_OK);
        EXPECT_EQ(Thumbnails(1).AddThumbnail(id, kPicture, sizeof kPicture), S_OK);
        return id;
    }

    Rows Disk(const std::string& file, const std::string& sql) {
        SqliteProbe probe(m_root / "database" / file);
        return probe.Rows(sql);
    }
    int64_t Count(const std::string& file, const std::string& sql) {
        SqliteProbe probe(m_root / "database" / file);
        return probe.Integer(sql);
    }
    int64_t ThumbnailRows() {
        fs::path shard = m_root / "database" / "thumb_0s" / "00000000.db";
        if (!fs::exists(shard)) return 0;
        SqliteProbe probe(shard);
        return probe.Integer("SELECT COUNT(*) FROM thumbnail_table");
    }

    TempFolder m_root;
    std::unique_ptr<CZanDB4FileDBMgr> m_manager;
};

TEST_F(StagingCommit, MoveWithNothingStagedCommitsThumbnailsAndStaging) {
    ASSERT_EQ(Thumbnails(1).AddThumbnail(5, kPicture, sizeof kPicture), S_OK);
    EXPECT_EQ(ThumbnailRows(), 0);
    EXPECT_EQ(m_manager->Commit(2), S_OK);
    EXPECT_EQ(ThumbnailRows(), 1);
    EXPECT_EQ(Staging().m_inTransaction, 0);
}

TEST_F(StagingCommit, MoveAndCommitPutsFilesMetadataAndTagsIntoTheCatalogue) {
    uint64_t first = Stage(u"/pictures/a.jpg", u"a.jpg", {4});
    uint64_t second = Stage(u"/pictures/b.jpg", u"b.jpg");
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Disk("FileBasic.db", "SELECT file_id, file_path, file_name FROM file_table ORDER BY file_id"),
              (Rows{{std::to_string(first), "/pictures/a.jpg", "a.jpg"},
                    {std::to_string(second), "/pictures/b.jpg", "b.jpg"}}));
    EXPECT_EQ(Count("FileBasic.db", "SELECT file_size FROM meta_table WHERE file_id=" + std::to_string(first)),
              static_cast<int64_t>(1000 + first));
    EXPECT_EQ(Disk("FileBasic.db", "SELECT tag_id, file_id FROM tag_file_table"),
              (Rows{{"4", std::to_string(first)}}));
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_tag_file_table"), 0);
    EXPECT_EQ(ThumbnailRows(), 2);
}

TEST_F(StagingCommit, MoveWithoutCatalogueCommitLeavesTheRowsInItsOpenTransaction) {
    Stage(u"/p/a.jpg", u"a.jpg");
    EXPECT_EQ(m_manager->Commit(2), S_OK);
    // Staging is committed empty; the catalogue's file holds nothing yet.
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 0);
    EXPECT_EQ(m_manager->Commit(1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(StagingCommit, FailingFileGivesSFalseWithoutFlagOneAndIsGoneWithItsThumbnailAndId) {
    Stage(u"/p/taken.jpg", u"taken.jpg");
    ASSERT_EQ(m_manager->Commit(2 | 1), S_OK);
    // The same path again: its path_key exists in the catalogue.
    uint64_t clash = Stage(u"/p/taken.jpg", u"other.jpg");
    EXPECT_EQ(m_manager->Commit(2), S_FALSE);
    EXPECT_EQ(m_manager->Commit(1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=" + std::to_string(clash)), 0);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_FALSE(Thumbnails(1).HasThumbnail(clash));
    // The id went back to the pool and is handed out next.
    uint64_t next = 0;
    ASSERT_EQ(Catalogue().NewID(1, &next), S_OK);
    EXPECT_EQ(next, clash);
}

TEST_F(StagingCommit, FailingFileWithFlagOneAnswersSOk) {
    Stage(u"/p/taken.jpg", u"taken.jpg");
    ASSERT_EQ(m_manager->Commit(2 | 1), S_OK);
    uint64_t clash = Stage(u"/p/taken.jpg", u"other.jpg");
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 1);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_FALSE(Thumbnails(1).HasThumbnail(clash));
}

TEST_F(StagingCommit, MoveSetReportsTheFailedIdsAndPoolsThem) {
    Stage(u"/p/taken.jpg", u"taken.jpg");
    ASSERT_EQ(m_manager->Commit(2 | 1), S_OK);
    uint64_t clash = Stage(u"/p/taken.jpg", u"other.jpg");
    uint64_t good = Stage(u"/p/fine.jpg", u"fine.jpg");
    std::set<uint64_t> failed = {12345};
    EXPECT_EQ(m_manager->MoveStagedFiles(failed), S_OK);
    EXPECT_EQ(failed, (std::set<uint64_t>{clash}));
    EXPECT_EQ(m_manager->Commit(1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=" + std::to_string(good)), 1);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM pooled_id_table WHERE id_type=1 AND pooled_id=" +
                                        std::to_string(clash)),
              1);
}

TEST_F(StagingCommit, TrailingSeparatorOfNameAndPathGoesOnTheWayIn) {
    uint64_t id = Stage(u"/p/folder/", u"a/");
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Disk("FileBasic.db", "SELECT file_path, file_name FROM file_table WHERE file_id=" + std::to_string(id)),
              (Rows{{"/p/folder", "a"}}));
}

TEST_F(StagingCommit, TagDeletedMeanwhileArrivesAsALinkToNoTag) {
    uint64_t id = Stage(u"/p/a.jpg", u"a.jpg", {77});
    // No tag 77 exists in the catalogue at all.
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM tag_table"), 0);
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Disk("FileBasic.db", "SELECT tag_id, file_id FROM tag_file_table"),
              (Rows{{"77", std::to_string(id)}}));
}

TEST_F(StagingCommit, FailingStagingCommitMovesNothing) {
    Stage(u"/p/a.jpg", u"a.jpg");
    // A staging file of a newer major version refuses every commit.
    Staging().m_tooNew = 1;
    EXPECT_EQ(m_manager->Commit(4 | 2), E_FAIL);
    Staging().m_tooNew = 0;
    EXPECT_EQ(Staging().m_inTransaction, 1);
    // Not even the catalogue's own connection sees a moved row.
    {
        zandb4::Statement rows(Catalogue().m_db, u"SELECT COUNT(*) FROM file_table");
        ASSERT_EQ(rows.Step(), SQLITE_ROW);
        EXPECT_EQ(rows.ColumnInt64(0), 0);
    }
    // The staged row is still there and moves on the next commit.
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(StagingCommit, FileRowStaysWhenOnlyItsMetadataFails) {
    ASSERT_EQ(zandb4::RunStatement(Catalogue().m_db, u"DROP TABLE meta_table"), S_OK);
    uint64_t id = Stage(u"/p/a.jpg", u"a.jpg");
    EXPECT_EQ(m_manager->Commit(2), S_FALSE);
    EXPECT_EQ(m_manager->Commit(1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=" + std::to_string(id)), 1);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM pooled_id_table WHERE pooled_id=" + std::to_string(id)), 1);
}

TEST_F(StagingCommit, ReadingPassThatCannotStartIsBadEvenWithFlagOne) {
    Stage(u"/p/a.jpg", u"a.jpg");
    ASSERT_EQ(zandb4::RunStatement(Staging().m_db, u"ALTER TABLE async_file_table RENAME TO elsewhere"), S_OK);
    EXPECT_EQ(m_manager->Commit(2 | 1), E_FAIL);
    // The catalogue committed anyway; it had nothing to hold.
    EXPECT_EQ(Catalogue().m_inTransaction, 0);
}

TEST_F(StagingCommit, FailingCatalogueCommitIsAnsweredAndLeavesThumbnailsAndMetadataOpen) {
    Stage(u"/p/a.jpg", u"a.jpg");
    ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(3, 1, kPicture, sizeof kPicture), S_OK);
    Catalogue().m_tooNew = 1;
    EXPECT_EQ(m_manager->Commit(2 | 1), E_FAIL);
    Catalogue().m_tooNew = 0;
    // Staging was committed before: the row is gone from its file.
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_EQ(DatabaseRegistry::metaFactory->m_shards.begin()->second->m_inTransaction, 1);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 0);
}

TEST_F(StagingCommit, RollbackOfStagingDropsTheRowWhileTheIdStaysTaken) {
    uint64_t id = Stage(u"/p/a.jpg", u"a.jpg");
    EXPECT_EQ(m_manager->Rollback(2), S_OK);
    EXPECT_FALSE(Staging().HasFile(id));
    uint64_t next = 0;
    ASSERT_EQ(Catalogue().NewID(1, &next), S_OK);
    EXPECT_EQ(next, id + 1);
    // The catalogue's rollback takes the ids back as well.
    EXPECT_EQ(m_manager->Rollback(1), S_OK);
    ASSERT_EQ(Catalogue().NewID(1, &next), S_OK);
    EXPECT_EQ(next, id);
}

TEST_F(StagingCommit, RollbackOfTheCatalogueDropsThumbnailsAndMetadata) {
    ASSERT_EQ(Thumbnails(2).AddThumbnail(4, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(4, 1, kPicture, sizeof kPicture), S_OK);
    EXPECT_EQ(m_manager->Rollback(1), S_OK);
    EXPECT_FALSE(Thumbnails(2).HasThumbnail(4));
    uint32_t type = 0;
    EXPECT_EQ(DatabaseRegistry::metaFactory->GetMetaData(&type, nullptr, nullptr, 4), E_FAIL);
    EXPECT_EQ(m_manager->Rollback(0), S_OK);
}

TEST_F(StagingCommit, HeldRecordStaysTheLiveRecordThroughTheMove) {
    uint64_t id = 0;
    ASSERT_EQ(Catalogue().NewID(1, &id), S_OK);
    ComPtr<IZanDB4FileDBRecord> record =
        ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(DatabaseRegistry::fileBasicDB));
    uint32_t diskVsn = 1;
    record->SetFilePath(u"/p/held.jpg", &diskVsn);
    record->SetFileName(u"held.jpg");
    ASSERT_EQ(Staging().AddFile(id, record.Get(), nullptr, 0), S_OK);
    record->SetFileID(id);
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    IZanDB4FileDBRecord* live = nullptr;
    ASSERT_TRUE(DatabaseRegistry::fileRecordCache->Find(id, &live));
    EXPECT_EQ(live, record.Get());
    live->Release();
}

TEST_F(StagingCommit, WithoutACatalogueCommitAndRollbackFail) {
    CZanDB4FileDBMgr orphan(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(orphan.Commit(7), E_FAIL);
    EXPECT_EQ(orphan.Rollback(3), E_FAIL);
}

}  // namespace

namespace {

class StagedFaceMove : public StagingCommit {
protected:
    void AddFace(uint64_t faceId, uint32_t type, uint64_t fileId) {
        ComPtr<IZanDB4FaceDBRecord> face;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())), S_OK);
        face->SetIndividualType(type);
        face->SetFileID(fileId);
        face->SetIndividualID(30 + faceId);
        RECT rect{10, 20, 110, 220};
        face->SetRect(&rect);
        ASSERT_EQ(Staging().AddFace(faceId, face.Get()), S_OK);
    }
    static void ReleaseAll(std::vector<IZanDB4FaceDBRecord*>& faces) {
        for (IZanDB4FaceDBRecord* face : faces) face->Release();
        faces.clear();
    }
};

TEST_F(StagedFaceMove, ReadFacesGivesPersonsThenPetsWithTheirValues) {
    AddFace(2, 2, 5);
    AddFace(1, 1, 5);
    std::vector<IZanDB4FaceDBRecord*> faces;
    std::set<uint64_t> ids = {99};
    ASSERT_EQ(Staging().ReadFaces(faces, ids), S_OK);
    ASSERT_EQ(faces.size(), 2u);
    EXPECT_EQ(ids, (std::set<uint64_t>{1, 2}));
    uint64_t faceId = 0, fileId = 0, individualId = 0;
    uint32_t type = 0;
    RECT rect{};
    faces[0]->GetFaceID(&faceId);
    faces[0]->GetFileID(&fileId);
    faces[0]->GetIndividualID(&individualId);
    faces[0]->GetIndividualType(&type);
    faces[0]->GetRect(&rect);
    EXPECT_EQ(faceId, 1u);
    EXPECT_EQ(fileId, 5u);
    EXPECT_EQ(individualId, 31u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(rect.left, 10);
    EXPECT_EQ(rect.bottom, 220);
    faces[1]->GetIndividualType(&type);
    EXPECT_EQ(type, 2u);
    ReleaseAll(faces);
}

TEST_F(StagedFaceMove, ReadFacesWithNothingStagedFails) {
    std::vector<IZanDB4FaceDBRecord*> faces;
    std::set<uint64_t> ids;
    EXPECT_EQ(Staging().ReadFaces(faces, ids), E_FAIL);
    EXPECT_TRUE(faces.empty());
}

TEST_F(StagedFaceMove, DeleteFacesTakesTheSetAndTheWholeStatusTable) {
    AddFace(1, 1, 5);
    AddFace(2, 1, 6);
    AddFace(3, 2, 6);
    // A status row of a file whose faces are not in the set goes too.
    ASSERT_EQ(zandb4::RunStatement(Staging().m_db,
                                   u"INSERT INTO async_person_face_status_table VALUES (9, '1', '0')"),
              S_OK);
    std::set<uint64_t> ids = {1, 3};
    EXPECT_EQ(Staging().DeleteFaces(ids, 1), S_OK);
    EXPECT_EQ(Staging().DeleteFaces(ids, 2), S_OK);
    EXPECT_TRUE(Staging().HasFace(2, 1));
    EXPECT_FALSE(Staging().HasFace(1, 1));
    EXPECT_FALSE(Staging().HasFace(3, 2));
    ASSERT_EQ(Staging().Commit(false), S_OK);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_person_face_status_table"), 0);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_pet_face_status_table"), 0);
}

TEST_F(StagedFaceMove, DeleteFacesOfAnEmptySetOrAnUnknownType) {
    AddFace(1, 1, 5);
    EXPECT_EQ(Staging().DeleteFaces({}, 3), S_OK);
    EXPECT_EQ(Staging().DeleteFaces({1}, 3), E_INVALIDARG);
    EXPECT_TRUE(Staging().HasFace(1, 1));
}

}  // namespace

namespace {

// The stores of a started library on a volume whose serial a test decides:
// every path answers 7 until a test swaps the volume under one store.
class StagingCommitOnAVolume : public StagingCommit {
protected:
    void SetUp() override {
        zandb4::platform::SetVolumeSerialSourceForTesting([this](const std::string& path) -> uint32_t {
            return !m_swapped.empty() && path.find(m_swapped) != std::string::npos ? 8u : 7u;
        });
        StagingCommit::SetUp();
    }
    void TearDown() override {
        StagingCommit::TearDown();
        zandb4::platform::SetVolumeSerialSourceForTesting({});
    }

    std::string m_swapped;
};

TEST_F(StagingCommitOnAVolume, StagingVolumeGoneFailsTheCommitAndKeepsTheRowsOpen) {
    uint64_t id = Stage(u"/p/a.jpg", u"a.jpg");
    m_swapped = "FileBasicAsync.db";
    EXPECT_EQ(m_manager->Commit(4 | 2 | 1), E_FAIL);
    // Nothing moved; the row waits in staging's open transaction.
    EXPECT_TRUE(Staging().HasFile(id));
    EXPECT_EQ(Staging().m_inTransaction, 1);
    m_swapped.clear();
    EXPECT_EQ(m_manager->Commit(2 | 1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=" + std::to_string(id)), 1);
}

TEST_F(StagingCommitOnAVolume, CatalogueGuardTrippingLosesNoMovedFile) {
    uint64_t id = Stage(u"/p/a.jpg", u"a.jpg");
    m_swapped = "FileBasic.db";
    EXPECT_EQ(m_manager->Commit(2 | 1), E_FAIL);
    // Staging was committed without the row; the catalogue still holds it in
    // its open transaction, and commits it once its volume is back.
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 0);
    m_swapped.clear();
    EXPECT_EQ(m_manager->Commit(1), S_OK);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=" + std::to_string(id)), 1);
}

TEST(StagingOfANewerBuild, IsReadButNeverCommitted) {
    TempFolder root;
    // A staging file of a newer major version, with one staged row.
    {
        ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
        SqliteProbe probe(root / "database" / "FileBasicAsync.db");
        ASSERT_EQ(probe.Exec("UPDATE version_info_table SET version=2001"), SQLITE_OK);
        ASSERT_EQ(probe.Exec("INSERT INTO async_file_table (file_id, file_path, file_name, can_commit) VALUES "
                             "(3, '/p/a.jpg', 'a.jpg', 1)"),
                  SQLITE_OK);
    }
    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
    CZanDB4FileDBMgr manager(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB, DatabaseRegistry::metaFactory,
                             DatabaseRegistry::thumbMgr);
    EXPECT_TRUE(DatabaseRegistry::asyncDB->HasFile(3));
    EXPECT_EQ(manager.Commit(4), E_FAIL);
    EXPECT_EQ(manager.Commit(2 | 1), E_FAIL);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    // The staged row is still on disk: nothing of the newer file was lost.
    SqliteProbe probe(root / "database" / "FileBasicAsync.db");
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM async_file_table WHERE file_id=3"), 1);
}

}  // namespace
