// The move of staged faces into the catalogue: with nothing staged it only
// commits the staging store; otherwise the faces of the files whose
// detection is done go into the catalogue's face tables, leave staging with
// both status tables, and both stores commit, the catalogue first, with the
// file_count recount of that commit. A face the catalogue already holds
// makes the insert fail, and then every staged face stays.
#include "faces/staged_face_commit.h"

#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

const std::string kStagingFile = "FileBasicAsync.db";

class StagedFaceCommit : public FaceStoreTest {
protected:
    void Stage(uint32_t type, uint64_t faceId, uint64_t fileId, uint64_t individualId,
               const RECT& rect = MakeRect(10, 20, 30, 40)) {
        FacePtr face = MakeFace(type, faceId, fileId, individualId, rect);
        ASSERT_TRUE(face);
        ASSERT_EQ(Staging().AddFace(faceId, face.Get()), kOk);
    }

    HRESULT Move(std::set<uint64_t>& faceIds) { return zandb4::CommitStagedFaces(&Catalogue(), &Staging(), faceIds); }

    Rows StagingDisk(const std::string& sql) { return Disk(sql, kStagingFile); }
    int64_t StagingDiskCount(const std::string& table) {
        return DiskInteger("SELECT COUNT(*) FROM " + table, kStagingFile);
    }
};

TEST_F(StagedFaceCommit, NoStagedFaceIsOkAndCommitsTheStagingStore) {
    Staging().BeginTransaction();
    StagingExec("INSERT INTO async_person_face_status_table (file_id, can_commit, did_commit) VALUES (10, 0, 0)");
    ASSERT_EQ(StagingDiskCount("async_person_face_status_table"), 0);

    std::set<uint64_t> faceIds{999};
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_TRUE(faceIds.empty());
    EXPECT_EQ(Staging().m_inTransaction, 0);
    // Committed, and left alone: nothing was read, so nothing was deleted.
    EXPECT_EQ(StagingDisk("SELECT file_id, can_commit FROM async_person_face_status_table"), (Rows{{"10", "0"}}));
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_face_table"), 0);
}

TEST_F(StagedFaceCommit, AnEmptyStagingStoreIsOk) {
    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_TRUE(faceIds.empty());
    EXPECT_EQ(Staging().m_inTransaction, 0);
}

TEST_F(StagedFaceCommit, ReadyFacesMoveIntoTheCatalogueAndBothStoresCommit) {
    Stage(kPerson, 100, 10, 5, MakeRect(100, 50, 300, 250));
    Stage(kPerson, 101, 11, 0);
    Stage(kPet, 200, 10, 6, MakeRect(1, 2, 3, 4));
    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_EQ(faceIds, (std::set<uint64_t>{100, 101, 200}));

    EXPECT_EQ(Catalogue().m_inTransaction, 0);
    EXPECT_EQ(Staging().m_inTransaction, 0);
    EXPECT_EQ(Disk("SELECT person_face_id, file_id, person_id, rect FROM person_face_table ORDER BY person_face_id"),
              (Rows{{"100", "10", "5", S(0x0064003200C800C8)},
                    {"101", "11", "0", S(FaceTableRows::PackRect(MakeRect(10, 20, 30, 40)))}}));
    EXPECT_EQ(Disk("SELECT pet_face_id, file_id, pet_id, rect FROM pet_face_table"),
              (Rows{{"200", "10", "6", S(FaceTableRows::PackRect(MakeRect(1, 2, 3, 4)))}}));
    for (const char* table : {"async_person_face_table", "async_pet_face_table", "async_person_face_status_table",
                              "async_pet_face_status_table"})
        EXPECT_EQ(StagingDiskCount(table), 0) << table;
}

TEST_F(StagedFaceCommit, StatusTablesAreEmptiedEvenForFilesWhoseFacesCouldNotBeRead) {
    Stage(kPerson, 100, 10, 5);
    Stage(kPerson, 101, 11, 5);
    Stage(kPet, 200, 12, 6);
    // Detection of files 11 and 12 is not done: their faces are not read.
    StagingExec("UPDATE async_person_face_status_table SET can_commit=0 WHERE file_id=11");
    StagingExec("UPDATE async_pet_face_status_table SET can_commit=0 WHERE file_id=12");

    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_EQ(faceIds, (std::set<uint64_t>{100}));
    EXPECT_EQ(Disk("SELECT person_face_id FROM person_face_table"), (Rows{{"100"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pet_face_table"), 0);
    EXPECT_EQ(StagingDiskCount("async_person_face_status_table"), 0);
    EXPECT_EQ(StagingDiskCount("async_pet_face_status_table"), 0);
    // The faces that were not read stay staged.
    EXPECT_EQ(StagingDisk("SELECT async_person_face_id FROM async_person_face_table"), (Rows{{"101"}}));
    EXPECT_EQ(StagingDisk("SELECT async_pet_face_id FROM async_pet_face_table"), (Rows{{"200"}}));
}

TEST_F(StagedFaceCommit, BothStagingDeletesTakeTheWholeSetOfMovedIds) {
    // Person and pet faces draw their ids from separate id types, so one
    // number can name a face of each. A ready pet face 300 takes the staged
    // person face 300 of an unfinished file with it.
    Stage(kPet, 300, 12, 6);
    Stage(kPerson, 300, 11, 5);
    StagingExec("UPDATE async_person_face_status_table SET can_commit=0 WHERE file_id=11");
    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_EQ(faceIds, (std::set<uint64_t>{300}));
    EXPECT_EQ(Disk("SELECT pet_face_id, pet_id FROM pet_face_table"), (Rows{{"300", "6"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM person_face_table"), 0);
    EXPECT_EQ(StagingDiskCount("async_person_face_table"), 0);
    EXPECT_EQ(StagingDiskCount("async_pet_face_table"), 0);
}

TEST_F(StagedFaceCommit, AFileMarkedDetectedHasItsFacesMoved) {
    Stage(kPerson, 100, 10, 5);
    StagingExec("UPDATE async_person_face_status_table SET can_commit=0 WHERE file_id=10");
    std::set<uint64_t> faceIds;
    ASSERT_EQ(Move(faceIds), kOk);
    ASSERT_TRUE(faceIds.empty());
    ASSERT_EQ(Staging().MarkFaceDetected(10), kOk);
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_EQ(faceIds, (std::set<uint64_t>{100}));
    EXPECT_EQ(Disk("SELECT person_face_id FROM person_face_table"), (Rows{{"100"}}));
}

TEST_F(StagedFaceCommit, AFaceTheCatalogueHoldsMakesTheMoveFailAndEveryStagedFaceStays) {
    InsertFace(kPerson, 100, 9, 4);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    Stage(kPerson, 100, 10, 5);
    Stage(kPerson, 101, 10, 5);
    Stage(kPet, 200, 10, 6);

    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kFail);
    // The staging store was committed before the read, and nothing was
    // deleted from it after the failure.
    EXPECT_EQ(StagingDisk("SELECT async_person_face_id FROM async_person_face_table ORDER BY 1"),
              (Rows{{"100"}, {"101"}}));
    EXPECT_EQ(StagingDisk("SELECT async_pet_face_id FROM async_pet_face_table"), (Rows{{"200"}}));
    EXPECT_EQ(StagingDisk("SELECT file_id, can_commit FROM async_person_face_status_table"), (Rows{{"10", "1"}}));
    EXPECT_EQ(StagingDisk("SELECT file_id, can_commit FROM async_pet_face_status_table"), (Rows{{"10", "1"}}));
    EXPECT_EQ(StagingLive("SELECT COUNT(*) FROM async_person_face_table"), (Rows{{"2"}}));
    EXPECT_EQ(StagingLive("SELECT COUNT(*) FROM async_person_face_status_table"), (Rows{{"1"}}));
    // Nothing of the move reached the catalogue's file, and the face that
    // was there is as it was.
    EXPECT_EQ(Disk("SELECT person_face_id, file_id, person_id FROM person_face_table"), (Rows{{"100", "9", "4"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pet_face_table"), 0);
}

TEST_F(StagedFaceCommit, FileCountIsRecountedAtTheCommitOfTheMove) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertIndividual(kPet, 6, "Rex");
    Exec("UPDATE pet_table SET file_count=9");
    ASSERT_EQ(Catalogue().Commit(false), kOk);

    Stage(kPerson, 100, 10, 5);
    Stage(kPerson, 101, 10, 5);
    Stage(kPerson, 102, 11, 5);
    Stage(kPet, 200, 10, 6);
    // A staged face does not count yet.
    IndividualPtr alice = MakeIndividual(kPerson, 5);
    ASSERT_TRUE(alice);
    uint32_t count = 99;
    EXPECT_EQ(alice->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 0u);
    ASSERT_EQ(DiskFileCount(kPersonTwin, 5), "NULL");

    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_EQ(DiskFileCount(kPersonTwin, 5), "2");
    EXPECT_EQ(DiskFileCount(kPetTwin, 6), "0");
    EXPECT_EQ(alice->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 2u);
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
}

TEST_F(StagedFaceCommit, StagingRefusesAFaceOfATypeOtherThanPersonOrPet) {
    for (uint32_t type : {0u, 3u}) {
        FacePtr face = MakeFace(type, 100, 10, 5);
        ASSERT_TRUE(face);
        EXPECT_EQ(Staging().AddFace(100, face.Get()), kInvalidArg) << type;
    }
    EXPECT_EQ(Staging().AddFace(100, nullptr), kInvalidArg);
    std::set<uint64_t> faceIds;
    EXPECT_EQ(Move(faceIds), kOk);
    EXPECT_TRUE(faceIds.empty());
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_face_table"), 0);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_face_table"), 0);
}

}  // namespace
}  // namespace face_store_test
