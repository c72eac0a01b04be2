// The cascade of deleting a person or a pet: its faces stay with individual
// 0, its group items go, then its row; the id goes into the pool with id
// type 4 (person) or 6 (pet) and out of the recount notes, so that the next
// commit writes no file_count for it. All of it in the open transaction.
#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class IndividualDelete : public FaceTwinTest {
protected:
    // Individual 7 with two faces in two files and group items; individual
    // 8 with a face in one of those files and a group item of its own. All
    // committed, nothing left to recount.
    void InsertTwoWithFaces() {
        InsertIndividual(Type(), 7, "Gone");
        InsertIndividual(Type(), 8, "Stays");
        InsertFace(Type(), 100, 10, 7);
        InsertFace(Type(), 101, 11, 7);
        InsertFace(Type(), 102, 10, 8);
        InsertGroupItem(7, 50);
        InsertGroupItem(8, 51);
        // A person may be in many groups; a pet in one.
        if (Type() == kPerson) InsertGroupItem(7, 52);
        ASSERT_EQ(Catalogue().Commit(false), kOk);
    }

    void InsertGroupItem(uint64_t id, uint64_t groupId) {
        Exec("INSERT INTO " + GroupItems() + " (" + Column() + ", face_group_id) VALUES (" + S(id) + ", " + S(groupId) +
             ")");
    }

    int64_t Pooled(uint64_t id, uint32_t idType) {
        return DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=" + std::to_string(idType) +
                           " AND pooled_id=" + S(id));
    }
};

INSTANTIATE_TEST_SUITE_P(Twins, IndividualDelete, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

TEST_P(IndividualDelete, DeleteKeepsTheFacesWithIndividualZero) {
    InsertTwoWithFaces();
    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    // The quoted 0 of the statement is stored as the integer 0.
    EXPECT_EQ(Disk("SELECT " + FaceIdColumn() + ", file_id, " + FaceOwnerColumn() + ", typeof(" + FaceOwnerColumn() +
                   ") FROM " + FaceTable() + " ORDER BY " + FaceIdColumn()),
              (Rows{{"100", "10", "0", "integer"}, {"101", "11", "0", "integer"}, {"102", "10", "8", "integer"}}));
    // They are the unassigned faces now.
    EXPECT_EQ(Disk("SELECT " + FaceIdColumn() + " FROM " + FaceTable() + " WHERE " + FaceOwnerColumn() +
                   "=0 ORDER BY " + FaceIdColumn()),
              (Rows{{"100"}, {"101"}}));
}

TEST_P(IndividualDelete, DeleteRemovesTheGroupItemsAndTheRow) {
    InsertTwoWithFaces();
    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT " + Column() + ", face_group_id FROM " + GroupItems()), (Rows{{"8", "51"}}));
    EXPECT_EQ(Disk("SELECT " + Column() + " FROM " + Table()), (Rows{{"8"}}));
}

TEST_P(IndividualDelete, DeletePoolsTheIdUnderTheIdTypeOfTheTwin) {
    InsertTwoWithFaces();
    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    const uint32_t idType = T().individualIdType;
    const uint32_t otherIdType = idType == 4 ? 6 : 4;
    EXPECT_EQ(Pooled(7, idType), 1);
    EXPECT_EQ(Pooled(7, otherIdType), 0);
    EXPECT_EQ(Pooled(8, idType), 0);
}

TEST_P(IndividualDelete, DeleteTakesTheIdOutOfTheRecountNotes) {
    InsertTwoWithFaces();
    InsertFace(Type(), 103, 12, 7);
    InsertFace(Type(), 104, 12, 8);
    ASSERT_EQ(Recounts(), (std::set<uint64_t>{7, 8}));
    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{8}));
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    // 8 was recounted: two files for a person, 0 for a pet.
    EXPECT_EQ(DiskFileCount(T(), 8), Type() == kPerson ? "2" : "0");
    EXPECT_EQ(DiskFileCount(T(), 7), "missing");
}

TEST_P(IndividualDelete, DeleteOfAnIndividualWithoutFacesTakesNoNoteItDidNotHave) {
    InsertIndividual(Type(), 9, "Faceless");
    InsertFace(Type(), 100, 10, 8);
    ASSERT_EQ(Recounts(), (std::set<uint64_t>{8}));
    EXPECT_EQ(Individuals().DeleteIndividual(9, Type()), kOk);
    EXPECT_EQ(Recounts(), (std::set<uint64_t>{8}));
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table()), 0);
}

TEST_P(IndividualDelete, DeleteWritesIntoTheOpenTransactionOnly) {
    InsertTwoWithFaces();
    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(Catalogue().m_inTransaction, 1);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table() + " WHERE " + Column() + "=7"), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + Table() + " WHERE " + Column() + "=7"), 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + FaceTable() + " WHERE " + FaceOwnerColumn() + "=7"), 2);
}

TEST_P(IndividualDelete, DeleteOfAnUnknownIdIsOkAndTouchesNoOtherRow) {
    InsertTwoWithFaces();
    EXPECT_EQ(Individuals().DeleteIndividual(99, Type()), kOk);
    EXPECT_TRUE(Recounts().empty());
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + Table()), 2);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + FaceTable() + " WHERE " + FaceOwnerColumn() + "=0"), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + GroupItems()), Type() == kPerson ? 3 : 2);
}

TEST_P(IndividualDelete, DeleteOfTheOtherTwinsIdLeavesThisTwinAlone) {
    InsertTwoWithFaces();
    const uint32_t other = Type() == kPerson ? kPet : kPerson;
    EXPECT_EQ(Individuals().DeleteIndividual(7, other), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + Table() + " WHERE " + Column() + "=7"), 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + FaceTable() + " WHERE " + FaceOwnerColumn() + "=7"), 2);
    EXPECT_EQ(Pooled(7, T().individualIdType), 0);
}

TEST_F(FaceStoreTest, DeleteOfATypeOtherThanPersonOrPetIsInvalidAndChangesNothing) {
    InsertIndividual(kPerson, 7, "Person");
    InsertIndividual(kPet, 7, "Pet");
    InsertFace(kPerson, 100, 10, 7);
    InsertFace(kPet, 100, 10, 7);
    Exec("INSERT INTO person_group_item_table (person_id, face_group_id) VALUES (7, 50)");
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (7, 50)");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    for (uint32_t type : {0u, 3u}) EXPECT_EQ(Individuals().DeleteIndividual(7, type), kInvalidArg) << type;
    EXPECT_TRUE(Catalogue().PersonRecounts().empty());
    EXPECT_TRUE(Catalogue().PetRecounts().empty());
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT person_id FROM person_table"), (Rows{{"7"}}));
    EXPECT_EQ(Disk("SELECT pet_id FROM pet_table"), (Rows{{"7"}}));
    EXPECT_EQ(Disk("SELECT person_id FROM person_face_table"), (Rows{{"7"}}));
    EXPECT_EQ(Disk("SELECT pet_id FROM pet_face_table"), (Rows{{"7"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM person_group_item_table"), 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pet_group_item_table"), 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE pooled_id=7"), 0);
}

}  // namespace
}  // namespace face_store_test
