// What the face store and the records show through the face manager: a
// record of individual type 3 refused by the first manager operation that
// sees it, a staged face updated in staging once the catalogue has answered
// E_FAIL, the faces of a deleted individual among the unassigned ones, and
// the two manager reads whose statements never prepare (the pet face ids,
// the individual ids of a face group).
#include <gtest/gtest.h>

#include <algorithm>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class ThroughManager : public FaceTwinTest {
protected:
    void SetUp() override {
        FaceTwinTest::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(m_manager.Receive())), kOk);
        ASSERT_TRUE(m_manager);
    }
    void TearDown() override {
        m_manager.Reset();
        FaceTwinTest::TearDown();
    }

    ComPtr<IZanDB4FaceDBMgr> m_manager;
};

INSTANTIATE_TEST_SUITE_P(Twins, ThroughManager, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

TEST_P(ThroughManager, ARecordOfTypeThreeIsRefusedByTheFirstManagerOperation) {
    IndividualPtr individual = MakeIndividual(3, 0, "Nobody");
    ASSERT_TRUE(individual);
    uint64_t id = 99;
    EXPECT_EQ(m_manager->AddIndividual(individual.Get(), &id), kInvalidArg);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_table"), 0);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_table"), 0);
    uint32_t type = 0;
    EXPECT_EQ(individual->GetIndividualType(&type), kOk);
    EXPECT_EQ(type, 3u);

    // The same record, once its type is set, goes in.
    ASSERT_EQ(individual->SetIndividualType(Type()), kOk);
    EXPECT_EQ(m_manager->AddIndividual(individual.Get(), &id), kOk);
    EXPECT_NE(id, 0u);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table() + " WHERE " + Column() + "=" + S(id)), 1);
}

TEST_P(ThroughManager, AStagedFaceIsUpdatedInStagingAfterTheCatalogueFails) {
    FacePtr face = MakeFace(Type(), 0, 10, 5, MakeRect(1, 2, 3, 4));
    ASSERT_TRUE(face);
    uint64_t faceId = 0;
    ASSERT_EQ(m_manager->AddFace(face.Get(), &faceId), kOk);
    ASSERT_NE(faceId, 0u);

    FacePtr changed = MakeFace(Type(), faceId, 11, 6, MakeRect(100, 50, 300, 250));
    ASSERT_TRUE(changed);
    // The catalogue does not hold the face ...
    EXPECT_EQ(Faces().UpdateFace(faceId, Type(), changed.Get()), kFail);
    // ... and the manager goes on to the staged row.
    EXPECT_EQ(m_manager->UpdateFace(faceId, Type(), changed.Get()), kOk);
    const std::string stagedTable = std::string("async_") + T().faceTable;
    const std::string stagedId = std::string("async_") + T().faceIdColumn;
    EXPECT_EQ(StagingLive("SELECT file_id, " + FaceOwnerColumn() + ", rect FROM " + stagedTable + " WHERE " + stagedId +
                          "=" + S(faceId)),
              (Rows{{"11", "6", S(0x0064003200C800C8)}}));
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + FaceTable()), 0);
    EXPECT_TRUE(Recounts().empty());
}

TEST_P(ThroughManager, TheFacesOfADeletedIndividualAreAmongTheUnassigned) {
    InsertIndividual(Type(), 7, "Gone");
    InsertFace(Type(), 100, 10, 7);
    InsertFace(Type(), 101, 11, 7);
    InsertFace(Type(), 102, 11, 8);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    CArray<IZanDB4FaceDBRecord*> faces;
    EXPECT_EQ(m_manager->GetUnassignedFaces(Type(), &faces), kFail);
    EXPECT_TRUE(faces.IsEmpty());

    EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk);
    EXPECT_EQ(m_manager->GetUnassignedFaces(Type(), &faces), kOk);
    Ids ids = IdsOf(faces);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (Ids{100, 101}));
}

TEST_P(ThroughManager, FaceIdsAreReadForPersonsAndNeverForPets) {
    InsertFace(Type(), 100, 10, 5);
    InsertFace(Type(), 101, 11, 0);
    CArray<uint64_t> ids;
    ids.Add(99);
    if (Type() == kPerson) {
        EXPECT_EQ(m_manager->GetFaceIDs(Type(), &ids), kOk);
        EXPECT_EQ(ValuesOf(ids), (Ids{100, 101}));
    } else {
        EXPECT_EQ(m_manager->GetFaceIDs(Type(), &ids), kFail);
        EXPECT_TRUE(ids.IsEmpty());
    }
    // The face records of the same table are read for both.
    CArray<IZanDB4FaceDBRecord*> faces;
    EXPECT_EQ(m_manager->GetFaces(Type(), &faces), kOk);
    EXPECT_EQ(IdsOf(faces).size(), 2u);
}

TEST_P(ThroughManager, IndividualIdsOfAFaceGroupAreNeverReadThoughItsIndividualsAre) {
    InsertIndividual(Type(), 7, "Member");
    Exec("INSERT INTO " + GroupItems() + " (" + Column() + ", face_group_id) VALUES (7, 50)");
    CArray<uint64_t> ids;
    ids.Add(99);
    EXPECT_EQ(m_manager->GetIndividualIDsInFaceGroup(50, Type(), &ids), kFail);
    EXPECT_TRUE(ids.IsEmpty());
    CArray<IZanDB4IndividualDBRecord*> individuals;
    EXPECT_EQ(m_manager->GetIndividualsInFaceGroup(50, Type(), &individuals, 1), kOk);
    EXPECT_EQ(IdsOf(individuals), (Ids{7}));
}

}  // namespace
}  // namespace face_store_test
