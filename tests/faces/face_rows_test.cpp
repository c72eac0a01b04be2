// The face rows of the catalogue, for persons and for pets: the packed
// rectangle as it lies on disk (and its out-of-range forms), the insert that
// notes its individual even when it fails, the batch insert that skips null
// entries and goes on after a failure, the update that refuses a face the
// catalogue does not hold, the delete, the reads by id and by file, and the
// counts of faces outside a list of ids.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

// The packed value's bytes from the highest down.
std::vector<int> BytesOf(int64_t packed) {
    std::vector<int> bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<int>((static_cast<uint64_t>(packed) >> shift) & 0xFF));
    return bytes;
}

class FaceRows : public FaceTwinTest {
protected:
    // The rect column of a face as the file on disk holds it.
    int64_t DiskRect(uint64_t faceId) {
        return DiskInteger("SELECT rect FROM " + FaceTable() + " WHERE " + FaceIdColumn() + "=" + S(faceId));
    }
    RECT LoadedRect(uint64_t faceId) {
        FacePtr face;
        EXPECT_EQ(Faces().LoadFace(faceId, Type(), face.Receive()), kOk);
        RECT rect = MakeRect(-1, -1, -1, -1);
        if (face) {
            EXPECT_EQ(face->GetRect(&rect), kOk);
        }
        return rect;
    }
    // The face row on the store's connection: file, individual, rect.
    Rows LiveFace(uint64_t faceId) {
        return Live("SELECT file_id, " + FaceOwnerColumn() + ", rect FROM " + FaceTable() + " WHERE " + FaceIdColumn() +
                    "=" + S(faceId));
    }
};

INSTANTIATE_TEST_SUITE_P(Twins, FaceRows, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

// ------------------------------------------------------ packed rectangle

TEST_P(FaceRows, RectanglePacksToItsBytesOnDiskAndReadsBack) {
    InsertFace(Type(), 100, 10, 5, MakeRect(100, 50, 300, 250));
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(BytesOf(DiskRect(100)), (std::vector<int>{0x00, 0x64, 0x00, 0x32, 0x00, 0xC8, 0x00, 0xC8}));
    EXPECT_TRUE(SameRect(LoadedRect(100), MakeRect(100, 50, 300, 250)));
}

TEST_P(FaceRows, NegativeWidthSetsTheTopHalfAndReadsBackWithLeftAndTopAllOnes) {
    FacePtr face = MakeFace(Type(), 100, 10, 5, MakeRect(100, 50, 90, 250));
    ASSERT_TRUE(face);
    EXPECT_EQ(Faces().InsertFace(100, Type(), face.Get()), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    const uint64_t packed = static_cast<uint64_t>(DiskRect(100));
    EXPECT_EQ(packed >> 32, 0xFFFFFFFFull);
    // Width -10 in 16 bits, then the height.
    EXPECT_EQ(packed & 0xFFFFFFFFull, 0xFFF600C8ull);
    RECT back = LoadedRect(100);
    EXPECT_EQ(back.left, 65535);
    EXPECT_EQ(back.top, 65535);
    EXPECT_EQ(back.right, 65535 + 0xFFF6);
    EXPECT_EQ(back.bottom, 65535 + 200);
}

TEST_P(FaceRows, NegativeHeightSetsEveryBitAboveItAndReadsBackSo) {
    FacePtr face = MakeFace(Type(), 100, 10, 5, MakeRect(100, 50, 300, 40));
    ASSERT_TRUE(face);
    EXPECT_EQ(Faces().InsertFace(100, Type(), face.Get()), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(static_cast<uint64_t>(DiskRect(100)), 0xFFFFFFFFFFFFFFF6ull);
    RECT back = LoadedRect(100);
    EXPECT_EQ(back.left, 65535);
    EXPECT_EQ(back.top, 65535);
    EXPECT_EQ(back.right, 65535 + 65535);
    EXPECT_EQ(back.bottom, 65535 + 0xFFF6);
}

TEST_P(FaceRows, ASideAbove65535SpillsIntoItsNeighbour) {
    // Left 0, top 0x10001: top's 17th bit lands in left.
    InsertFace(Type(), 100, 10, 5, MakeRect(0, 0x10001, 2, 0x10004));
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(static_cast<uint64_t>(DiskRect(100)), 0x0001000100020003ull);
    EXPECT_TRUE(SameRect(LoadedRect(100), MakeRect(1, 1, 3, 4)));
}

// ----------------------------------------------------------------- insert

TEST_P(FaceRows, InsertFaceWritesTheRowAndNotesItsIndividual) {
    InsertFace(Type(), 100, 10, 5, MakeRect(1, 2, 3, 4));
    EXPECT_EQ(LiveFace(100), (Rows{{"10", "5", S(FaceTableRows::PackRect(MakeRect(1, 2, 3, 4)))}}));
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{5}));
    const std::set<uint64_t>& other = Type() == kPerson ? Catalogue().PetRecounts() : Catalogue().PersonRecounts();
    EXPECT_TRUE(other.empty());
}

TEST_P(FaceRows, InsertFaceOfAnUnassignedFaceNotesIndividualZero) {
    InsertFace(Type(), 100, 10, 0);
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{0}));
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT " + FaceOwnerColumn() + " FROM " + FaceTable()), (Rows{{"0"}}));
}

TEST_P(FaceRows, InsertFaceOfATakenIdFailsAndStillNotesTheIndividual) {
    InsertFace(Type(), 100, 10, 5);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_TRUE(Recounts().empty());

    FacePtr again = MakeFace(Type(), 100, 11, 6);
    ASSERT_TRUE(again);
    EXPECT_EQ(Faces().InsertFace(100, Type(), again.Get()), kFail);
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{6}));
    EXPECT_EQ(LiveFace(100).size(), 1u);
    EXPECT_EQ(LiveFace(100)[0][0], "10");
    EXPECT_EQ(LiveFace(100)[0][1], "5");
}

TEST_F(FaceStoreTest, InsertFaceRefusesANullRecordAndATypeOtherThanPersonOrPet) {
    EXPECT_EQ(Faces().InsertFace(100, kPerson, nullptr), kInvalidArg);
    for (uint32_t type : {0u, 3u}) {
        FacePtr face = MakeFace(type, 100, 10, 5);
        ASSERT_TRUE(face);
        EXPECT_EQ(Faces().InsertFace(100, type, face.Get()), kInvalidArg) << type;
        EXPECT_EQ(RefCountOf(face.Get()), 1);
    }
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_face_table"), 0);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_face_table"), 0);
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
}

TEST_F(FaceStoreTest, InsertFacesSkipsNullEntriesAndGoesOnAfterAFailure) {
    InsertFace(kPerson, 50, 9, 4);
    ASSERT_EQ(Catalogue().Commit(false), kOk);

    FacePtr first = MakeFace(kPerson, 100, 10, 5);
    FacePtr taken = MakeFace(kPerson, 50, 10, 6);
    FacePtr pet = MakeFace(kPet, 200, 10, 7);
    FacePtr odd = MakeFace(3, 300, 10, 9);
    FacePtr last = MakeFace(kPerson, 101, 11, 8);
    ASSERT_TRUE(first && taken && pet && odd && last);
    std::vector<IZanDB4FaceDBRecord*> faces{nullptr, first.Get(), taken.Get(), pet.Get(),
                                            nullptr, odd.Get(),   last.Get()};
    EXPECT_EQ(Faces().InsertFaces(faces), kFail);

    EXPECT_EQ(Live("SELECT person_face_id, file_id, person_id FROM person_face_table ORDER BY person_face_id"),
              (Rows{{"50", "9", "4"}, {"100", "10", "5"}, {"101", "11", "8"}}));
    EXPECT_EQ(Live("SELECT pet_face_id, file_id, pet_id FROM pet_face_table"), (Rows{{"200", "10", "7"}}));
    EXPECT_EQ(Catalogue().PersonRecounts(), (std::set<uint64_t>{5, 6, 8}));
    EXPECT_EQ(Catalogue().PetRecounts(), (std::set<uint64_t>{7}));
    for (IZanDB4FaceDBRecord* face : {first.Get(), taken.Get(), pet.Get(), odd.Get(), last.Get()})
        EXPECT_EQ(RefCountOf(face), 1);
}

TEST_F(FaceStoreTest, InsertFacesTakesEachRecordsOwnIdAndType) {
    FacePtr person = MakeFace(kPerson, 100, 10, 5);
    FacePtr pet = MakeFace(kPet, 100, 11, 6);
    ASSERT_TRUE(person && pet);
    std::vector<IZanDB4FaceDBRecord*> faces{person.Get(), pet.Get()};
    EXPECT_EQ(Faces().InsertFaces(faces), kOk);
    EXPECT_EQ(Live("SELECT person_face_id, file_id, person_id FROM person_face_table"), (Rows{{"100", "10", "5"}}));
    EXPECT_EQ(Live("SELECT pet_face_id, file_id, pet_id FROM pet_face_table"), (Rows{{"100", "11", "6"}}));
}

TEST_F(FaceStoreTest, InsertFacesOfAnEmptyListIsOkAndOpensNoTransaction) {
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(Catalogue().m_inTransaction, 0);
    std::vector<IZanDB4FaceDBRecord*> none;
    EXPECT_EQ(Faces().InsertFaces(none), kOk);
    EXPECT_EQ(Catalogue().m_inTransaction, 0);
}

TEST_F(FaceStoreTest, InsertFaceOpensTheTransactionAndCommitsNothing) {
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    InsertFace(kPerson, 100, 10, 5);
    EXPECT_EQ(Catalogue().m_inTransaction, 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM person_face_table"), 0);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM person_face_table"), 1);
}

// ----------------------------------------------------------------- update

TEST_P(FaceRows, UpdateFaceRewritesTheRowAndNotesTheOldAndTheNewIndividual) {
    InsertFace(Type(), 100, 10, 5);
    ASSERT_EQ(Catalogue().Commit(false), kOk);

    // The face id of the record is not used; the argument names the row.
    FacePtr changed = MakeFace(Type(), 999, 11, 6, MakeRect(7, 8, 9, 10));
    ASSERT_TRUE(changed);
    EXPECT_EQ(Faces().UpdateFace(100, Type(), changed.Get()), kOk);
    EXPECT_EQ(LiveFace(100), (Rows{{"11", "6", S(FaceTableRows::PackRect(MakeRect(7, 8, 9, 10)))}}));
    EXPECT_TRUE(LiveFace(999).empty());
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{5, 6}));
}

TEST_P(FaceRows, UpdateFaceOfAFaceOnlyInStagingFailsAndTouchesNeither) {
    FacePtr staged = MakeFace(Type(), 600, 10, 5);
    ASSERT_TRUE(staged);
    ASSERT_EQ(Staging().AddFace(600, staged.Get()), kOk);

    FacePtr changed = MakeFace(Type(), 600, 11, 6);
    ASSERT_TRUE(changed);
    EXPECT_EQ(Faces().UpdateFace(600, Type(), changed.Get()), kFail);
    EXPECT_TRUE(LiveFace(600).empty());
    EXPECT_TRUE(Recounts().empty());
    const std::string stagedTable = std::string("async_") + T().faceTable;
    const std::string stagedId = std::string("async_") + T().faceIdColumn;
    EXPECT_EQ(
        StagingLive("SELECT file_id, " + FaceOwnerColumn() + " FROM " + stagedTable + " WHERE " + stagedId + "=600"),
        (Rows{{"10", "5"}}));
}

TEST_F(FaceStoreTest, UpdateFaceRefusesBadInput) {
    InsertFace(kPerson, 100, 10, 5);
    FacePtr changed = MakeFace(kPerson, 100, 11, 6);
    ASSERT_TRUE(changed);
    EXPECT_EQ(Faces().UpdateFace(100, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(Faces().UpdateFace(100, 0, changed.Get()), kInvalidArg);
    EXPECT_EQ(Faces().UpdateFace(100, 3, changed.Get()), kInvalidArg);
    // A face of the other twin's table is not this one.
    EXPECT_EQ(Faces().UpdateFace(100, kPet, changed.Get()), kFail);
    EXPECT_EQ(Faces().UpdateFace(101, kPerson, changed.Get()), kFail);
    EXPECT_EQ(Live("SELECT file_id, person_id FROM person_face_table"), (Rows{{"10", "5"}}));
}

// ----------------------------------------------------------------- delete

TEST_P(FaceRows, DeleteFaceRemovesTheRowAndNotesItsIndividual) {
    InsertFace(Type(), 100, 10, 5);
    InsertFace(Type(), 101, 10, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Faces().DeleteFace(100, Type()), kOk);
    EXPECT_TRUE(LiveFace(100).empty());
    EXPECT_EQ(LiveFace(101).size(), 1u);
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{5}));
}

TEST_P(FaceRows, DeleteFaceOfAMissingRowIsOkAndNotesNothing) {
    InsertFace(Type(), 100, 10, 5);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Faces().DeleteFace(101, Type()), kOk);
    EXPECT_TRUE(Recounts().empty());
    EXPECT_EQ(LiveFace(100).size(), 1u);
}

TEST_F(FaceStoreTest, DeleteFaceOfATypeOtherThanPersonOrPetIsInvalid) {
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPet, 100, 10, 5);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Faces().DeleteFace(100, 0), kInvalidArg);
    EXPECT_EQ(Faces().DeleteFace(100, 3), kInvalidArg);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_face_table"), 1);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_face_table"), 1);
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
}

// ------------------------------------------------------------------ reads

TEST_P(FaceRows, FaceExistsLooksInItsOwnTableOnly) {
    InsertFace(Type(), 100, 10, 5);
    EXPECT_TRUE(Faces().FaceExists(100, Type()));
    EXPECT_FALSE(Faces().FaceExists(101, Type()));
    EXPECT_FALSE(Faces().FaceExists(100, Type() == kPerson ? kPet : kPerson));
    EXPECT_FALSE(Faces().FaceExists(100, 0));
    EXPECT_FALSE(Faces().FaceExists(100, 3));
}

TEST_P(FaceRows, LoadFaceOfATypeOtherThanPersonOrPetIsInvalidWithANullRecord) {
    InsertFace(Type(), 100, 10, 5);
    FacePtr held = NewFace();
    ASSERT_TRUE(held);
    IZanDB4FaceDBRecord* out = held.Get();
    EXPECT_EQ(Faces().LoadFace(100, 3, &out), kInvalidArg);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(RefCountOf(held.Get()), 1);
}

TEST_P(FaceRows, GetFacesInFileGivesOneNewRecordPerRowOfTheFile) {
    InsertFace(Type(), 100, 10, 5, MakeRect(1, 2, 3, 4));
    InsertFace(Type(), 101, 10, 0, MakeRect(5, 6, 7, 8));
    InsertFace(Type(), 102, 11, 5);
    CArray<IZanDB4FaceDBRecord*> faces;
    // What the array held before is dropped from it, not released.
    FacePtr held = NewFace();
    ASSERT_TRUE(held);
    faces.Add(held.Get());
    ASSERT_EQ(Faces().GetFacesInFile(10, Type(), faces), kOk);
    ASSERT_EQ(faces.GetSize(), 2);
    EXPECT_EQ(RefCountOf(held.Get()), 1);
    for (ptrdiff_t i = 0; i < faces.GetSize(); ++i) {
        IZanDB4FaceDBRecord* face = faces.GetAt(i);
        uint64_t id = 0, file = 0, individual = 99;
        uint32_t type = 0;
        RECT rect{};
        EXPECT_EQ(face->GetFaceID(&id), kOk);
        EXPECT_EQ(face->GetFileID(&file), kOk);
        EXPECT_EQ(face->GetIndividualID(&individual), kOk);
        EXPECT_EQ(face->GetIndividualType(&type), kOk);
        EXPECT_EQ(face->GetRect(&rect), kOk);
        EXPECT_EQ(file, 10u);
        EXPECT_EQ(type, Type());
        EXPECT_EQ(individual, id == 100 ? 5u : 0u);
        EXPECT_TRUE(SameRect(rect, id == 100 ? MakeRect(1, 2, 3, 4) : MakeRect(5, 6, 7, 8)));
    }
    Ids ids = IdsOf(faces);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (Ids{100, 101}));
}

TEST_P(FaceRows, GetFacesInFileOfAFileWithoutFacesFailsWithAnEmptyArray) {
    InsertFace(Type(), 100, 10, 5);
    CArray<IZanDB4FaceDBRecord*> faces;
    FacePtr held = NewFace();
    ASSERT_TRUE(held);
    faces.Add(held.Get());
    EXPECT_EQ(Faces().GetFacesInFile(12, Type(), faces), kFail);
    EXPECT_TRUE(faces.IsEmpty());
    EXPECT_EQ(RefCountOf(held.Get()), 1);
}

TEST_F(FaceStoreTest, GetFacesInFileOfATypeOtherThanPersonOrPetIsInvalid) {
    InsertFace(kPerson, 100, 10, 5);
    CArray<IZanDB4FaceDBRecord*> faces;
    EXPECT_EQ(Faces().GetFacesInFile(10, 3, faces), kInvalidArg);
    EXPECT_TRUE(faces.IsEmpty());
}

// ------------------------------------------------------------------ counts

TEST_P(FaceRows, CountFacesOutsideFilesCountsTheFacesOfFilesNotListed) {
    InsertFace(Type(), 100, 10, 5);
    InsertFace(Type(), 101, 11, 5);
    InsertFace(Type(), 102, 12, 6);
    InsertFace(Type(), 103, 12, 0);
    CZanTArray<uint64_t> files;
    files.Add(10);
    files.Add(12);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), files), 1u);
    files.RemoveAll();
    files.Add(11);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), files), 3u);
    files.Add(10);
    files.Add(12);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), files), 0u);
    files.RemoveAll();
    files.Add(99);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), files), 4u);
}

TEST_P(FaceRows, CountFacesOutsideIndividualsCountsTheFacesOfIndividualsNotListed) {
    InsertFace(Type(), 100, 10, 0);
    InsertFace(Type(), 101, 10, 5);
    InsertFace(Type(), 102, 11, 6);
    InsertFace(Type(), 103, 12, 6);
    CZanTArray<uint64_t> individuals;
    individuals.Add(5);
    EXPECT_EQ(Faces().CountFacesOutsideIndividuals(Type(), individuals), 3u);
    individuals.Add(6);
    EXPECT_EQ(Faces().CountFacesOutsideIndividuals(Type(), individuals), 1u);
    individuals.Add(0);
    EXPECT_EQ(Faces().CountFacesOutsideIndividuals(Type(), individuals), 0u);
}

TEST_P(FaceRows, CountsOutsideQuoteEachIdAndSeparateThemByCommas) {
    InsertFace(Type(), 100, 10, 5);
    CZanTArray<uint64_t> ids;
    ids.Add(10);
    ids.Add(18446744073709551615ull);
    ids.Add(0);
    std::vector<std::string> texts;
    {
        StatementTrace trace(Catalogue().m_db);
        EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), ids), 0u);
        EXPECT_EQ(Faces().CountFacesOutsideIndividuals(Type(), ids), 1u);
        texts = trace.Texts();
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"SELECT COUNT(*) FROM " + FaceTable() +
                                                   " WHERE file_id NOT IN ('10','18446744073709551615','0')",
                                               "SELECT COUNT(*) FROM " + FaceTable() + " WHERE " + FaceOwnerColumn() +
                                                   " NOT IN ('10','18446744073709551615','0')"}));
}

TEST_P(FaceRows, CountsOutsideLookAtTheirOwnTwinOnly) {
    InsertFace(Type(), 100, 10, 5);
    const uint32_t other = Type() == kPerson ? kPet : kPerson;
    CZanTArray<uint64_t> ids;
    ids.Add(77);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(other, ids), 0u);
    EXPECT_EQ(Faces().CountFacesOutsideIndividuals(other, ids), 0u);
    EXPECT_EQ(Faces().CountFacesOutsideFiles(Type(), ids), 1u);
    EXPECT_EQ(Faces().CountFacesOutsideIndividuals(Type(), ids), 1u);
}

TEST_F(FaceStoreTest, CountsOutsideOfATypeOtherThanPersonOrPetAreZero) {
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPet, 100, 10, 5);
    CZanTArray<uint64_t> ids;
    ids.Add(77);
    for (uint32_t type : {0u, 3u}) {
        EXPECT_EQ(Faces().CountFacesOutsideFiles(type, ids), 0u) << type;
        EXPECT_EQ(Faces().CountFacesOutsideIndividuals(type, ids), 0u) << type;
    }
}

}  // namespace
}  // namespace face_store_test
