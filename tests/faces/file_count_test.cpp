// The upkeep of file_count: the face writes note their individuals, and the
// catalogue's Commit recounts them: a person gets the number of distinct
// files holding one of its faces, a pet always gets 0, since the pet's count
// statement names a column its table does not have. Nothing changes before
// the commit.
#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class FileCount : public FaceStoreTest {
protected:
    std::string PersonCount(uint64_t id) { return DiskFileCount(kPersonTwin, id); }
    std::string PetCount(uint64_t id) { return DiskFileCount(kPetTwin, id); }
};

TEST_F(FileCount, AnInsertedIndividualHasNoFileCountUntilARecount) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertIndividual(kPet, 6, "Rex");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "NULL");
    EXPECT_EQ(PetCount(6), "NULL");
}

TEST_F(FileCount, PersonFileCountIsTheNumberOfDistinctFilesAfterTheCommit) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPerson, 101, 10, 5);
    InsertFace(kPerson, 102, 11, 5);
    InsertFace(kPerson, 103, 12, 6);
    // Only a commit recounts.
    EXPECT_EQ(Live("SELECT file_count FROM person_table WHERE person_id=5"), (Rows{{"NULL"}}));
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "2");
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
}

TEST_F(FileCount, DeletingAFaceLowersFileCountOnlyWhenTheFileHoldsNoOtherFaceOfThePerson) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPerson, 101, 10, 5);
    InsertFace(kPerson, 102, 11, 5);
    InsertFace(kPerson, 103, 11, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(PersonCount(5), "2");

    // File 10 still holds face 101 of the person.
    EXPECT_EQ(Faces().DeleteFace(100, kPerson), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "2");

    // File 11 holds a face of someone else only.
    EXPECT_EQ(Faces().DeleteFace(102, kPerson), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "1");

    EXPECT_EQ(Faces().DeleteFace(101, kPerson), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "0");
}

TEST_F(FileCount, MovingAFaceToAnotherPersonRecountsBoth) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertIndividual(kPerson, 6, "Bob");
    InsertFace(kPerson, 100, 10, 5);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(PersonCount(5), "1");
    ASSERT_EQ(PersonCount(6), "NULL");

    FacePtr moved = MakeFace(kPerson, 100, 10, 6);
    ASSERT_TRUE(moved);
    EXPECT_EQ(Faces().UpdateFace(100, kPerson, moved.Get()), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "0");
    EXPECT_EQ(PersonCount(6), "1");
}

TEST_F(FileCount, AnInsertOfAPetFaceThenACommitSetsThePetsFileCountToZero) {
    InsertIndividual(kPet, 6, "Rex");
    Exec("UPDATE pet_table SET file_count=9 WHERE pet_id=6");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(PetCount(6), "9");
    InsertFace(kPet, 200, 10, 6);
    InsertFace(kPet, 201, 11, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PetCount(6), "0");
}

TEST_F(FileCount, AnUpdateOfAPetFaceThenACommitSetsBothPetsFileCountsToZero) {
    InsertIndividual(kPet, 6, "Rex");
    InsertIndividual(kPet, 7, "Fido");
    InsertFace(kPet, 200, 10, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    Exec("UPDATE pet_table SET file_count=9");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(PetCount(6), "9");

    FacePtr moved = MakeFace(kPet, 200, 10, 7);
    ASSERT_TRUE(moved);
    EXPECT_EQ(Faces().UpdateFace(200, kPet, moved.Get()), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PetCount(6), "0");
    EXPECT_EQ(PetCount(7), "0");
}

TEST_F(FileCount, ADeleteOfAPetFaceThenACommitSetsThePetsFileCountToZero) {
    InsertIndividual(kPet, 6, "Rex");
    InsertFace(kPet, 200, 10, 6);
    InsertFace(kPet, 201, 11, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    Exec("UPDATE pet_table SET file_count=9");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(PetCount(6), "9");

    EXPECT_EQ(Faces().DeleteFace(200, kPet), kOk);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PetCount(6), "0");
}

TEST_F(FileCount, APetWhoseFacesDidNotChangeKeepsItsFileCount) {
    InsertIndividual(kPet, 6, "Rex");
    InsertIndividual(kPet, 7, "Fido");
    Exec("UPDATE pet_table SET file_count=9");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    InsertFace(kPet, 200, 10, 6);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PetCount(6), "0");
    EXPECT_EQ(PetCount(7), "9");
}

TEST_F(FileCount, CountFilesOfIndividualCountsForPersonsAndGivesZeroForPets) {
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPerson, 101, 10, 5);
    InsertFace(kPerson, 102, 11, 5);
    InsertFace(kPet, 200, 10, 5);
    InsertFace(kPet, 201, 11, 5);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(5, kPerson), 2u);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(5, kPet), 0u);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(6, kPerson), 0u);
}

TEST_F(FileCount, NoteIndividualForRecountKeepsPersonsAndPetsApartAndIgnoresOtherTypes) {
    Catalogue().NoteIndividualForRecount(5, kPerson);
    Catalogue().NoteIndividualForRecount(6, kPet);
    Catalogue().NoteIndividualForRecount(7, 3);
    Catalogue().NoteIndividualForRecount(8, 0);
    EXPECT_EQ(Catalogue().PersonRecounts(), (std::set<uint64_t>{5}));
    EXPECT_EQ(Catalogue().PetRecounts(), (std::set<uint64_t>{6}));
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
}

TEST_F(FileCount, ReopenDropsThePendingRecounts) {
    InsertIndividual(kPerson, 5, "Alice");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPet, 200, 10, 6);
    ASSERT_FALSE(Catalogue().PersonRecounts().empty());
    ASSERT_FALSE(Catalogue().PetRecounts().empty());
    EXPECT_EQ(Catalogue().Reopen(), kOk);
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(PersonCount(5), "NULL");
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM person_face_table"), 0);
}

}  // namespace
}  // namespace face_store_test
