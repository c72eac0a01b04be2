// Feature points and their groups as an application reaches them: through
// the face manager the factory serves. Faces get their points in the
// working set, a group takes them out of it into one merged blob, removing
// a group's last face takes the group with its blob and thumbnails, and
// UpdateGroupFeaturePoint lands in the individual set. Commit of the
// manager makes the shards durable with the catalogue.
#include "feature_point_group_fixture.h"

namespace feature_point_test {
namespace {

class FeaturePointGroupManager : public FeaturePointGroupTest {
protected:
    void SetUp() override {
        FeaturePointGroupTest::SetUp();
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(m_mgr.Receive())), S_OK);
        ASSERT_TRUE(m_mgr);
    }
    void TearDown() override {
        m_mgr.Reset();
        FeaturePointGroupTest::TearDown();
    }
    // A face in the catalogue with its point set through the manager.
    void AddFaceAndPoint(uint64_t faceId) {
        AddFace(faceId);
        Bytes bytes = PointOf(faceId);
        ASSERT_EQ(m_mgr->SetFaceFeaturePoint(faceId, Type(), bytes.data(), static_cast<uint32_t>(bytes.size()),
                                             nullptr),
                  S_OK);
    }
    std::vector<uint64_t> PointIds() {
        CArray<uint64_t> ids;
        HRESULT listed = m_mgr->GetFaceFeaturePointIDs(Type(), &ids, nullptr, 0, 0);
        EXPECT_TRUE(listed == S_OK || listed == kFail);
        return Ids(ids);
    }

    ComPtr<IZanDB4FaceDBMgr> m_mgr;
};

const unsigned char kThumbnail[] = {0x89, 'P', 'N', 'G', 4, 5};

TEST_P(FeaturePointGroupManager, AGroupOfThreeFacesHasThreeBlocksAndTakesThemOutOfTheWorkingSet) {
    for (uint64_t face : {11, 12, 13, 14}) AddFaceAndPoint(face);
    const uint64_t faces[] = {11, 12, 13};
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->CreateFeaturePointGroup(Type(), faces, 3, &groupId, 3), S_OK);
    EXPECT_EQ(PointIds(), (std::vector<uint64_t>{14}));
    GroupPtr group;
    ASSERT_EQ(m_mgr->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    DataPtr data;
    ASSERT_EQ(group->GetFeaturePoint(data.Receive()), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 3u);
    EXPECT_EQ(Block(data.Get(), 2), PointOf(13));
    // A grouped face's point can still be read by face.
    DataPtr own;
    ASSERT_EQ(m_mgr->GetFaceFeaturePoint(12, Type(), own.Receive()), S_OK);
    EXPECT_EQ(Block(own.Get(), 0), PointOf(12));

    ASSERT_EQ(m_mgr->Commit(), S_OK);
    const std::string g = std::to_string(groupId);
    const std::string p = std::to_string(FeaturePointIdOf(group.Get()));
    EXPECT_EQ(GroupRows(), (Rows{{g, p, "11", std::to_string(NowPacked()), "3"}}));
    EXPECT_EQ(ItemRows(), (Rows{{"11", p, g}, {"12", p, g}, {"13", p, g}}));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), FeaturePointIdOf(group.Get())),
              Hex(Packed({PointOf(11), PointOf(12), PointOf(13)})));
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 11), 1);
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 14), 0);
}

TEST_P(FeaturePointGroupManager, RemovingTheLastFaceOfAGroupRemovesItsRowBlobAndThumbnails) {
    for (uint64_t face : {11, 12}) AddFaceAndPoint(face);
    const uint64_t faces[] = {11, 12};
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), S_OK);
    for (uint32_t kind : {1u, 2u})
        ASSERT_EQ(m_mgr->AddGroupThumbnail(groupId, kind, kThumbnail, sizeof kThumbnail), S_OK);
    GroupPtr group;
    ASSERT_EQ(m_mgr->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    const uint64_t pointId = FeaturePointIdOf(group.Get());

    ASSERT_EQ(m_mgr->RemoveFace(11, Type()), S_OK);
    uint32_t count = 0;
    EXPECT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
    ASSERT_EQ(m_mgr->RemoveFace(12, Type()), S_OK);

    GroupPtr gone;
    EXPECT_EQ(m_mgr->GetFeaturePointGroup(groupId, Type(), gone.Receive(), 0), kFail);
    for (uint32_t kind : {1u, 2u}) {
        ComPtr<IZanDB4FileCache> thumbnail;
        EXPECT_EQ(m_mgr->GetGroupThumbnail(groupId, kind, thumbnail.Receive()), kFail) << kind;
    }
    ASSERT_EQ(m_mgr->Commit(), S_OK);
    EXPECT_TRUE(GroupRows().empty());
    EXPECT_TRUE(ItemRows().empty());
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), pointId), "");
}

TEST_P(FeaturePointGroupManager, UpdateGroupFeaturePointIsSeenByGetIndividualFeaturePointNotByTheGroup) {
    for (uint64_t face : {11, 12}) AddFaceAndPoint(face);
    const uint64_t faces[] = {11, 12};
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), S_OK);
    GroupPtr group;
    ASSERT_EQ(m_mgr->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    const uint64_t pointId = FeaturePointIdOf(group.Get());

    Bytes fresh = Point(900, 9);
    // No individual point of that number yet: nothing to update.
    EXPECT_EQ(m_mgr->UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 9), kInvalidArg);
    Bytes old = Point(800, 7);
    ASSERT_EQ(m_mgr->AddIndividualFeaturePoint(pointId, Type(), old.data(), 7), S_OK);
    ASSERT_EQ(m_mgr->UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 9), S_OK);

    DataPtr individual;
    ASSERT_EQ(m_mgr->GetIndividualFeaturePoint(pointId, Type(), individual.Receive()), S_OK);
    EXPECT_EQ(Block(individual.Get(), 0), fresh);
    GroupPtr again;
    ASSERT_EQ(m_mgr->GetFeaturePointGroup(groupId, Type(), again.Receive(), 0), S_OK);
    DataPtr merged;
    ASSERT_EQ(again->GetFeaturePoint(merged.Receive()), S_OK);
    EXPECT_EQ(merged->GetBlockCount(), 2u);
    EXPECT_EQ(Block(merged.Get(), 0), PointOf(11));
    EXPECT_EQ(Block(merged.Get(), 1), PointOf(12));
}

TEST_P(FeaturePointGroupManager, AfterRemoveFeaturePointGroupAMemberCannotJoinAnotherGroup) {
    for (uint64_t face : {11, 12, 21}) AddFaceAndPoint(face);
    const uint64_t faces[] = {11, 12};
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), S_OK);
    ASSERT_EQ(m_mgr->RemoveFeaturePointGroup(groupId, Type()), S_OK);
    EXPECT_EQ(m_mgr->RemoveFeaturePointGroup(groupId, Type()), S_OK);
    const uint64_t again[] = {21, 11};
    uint64_t second = 0;
    EXPECT_EQ(m_mgr->CreateFeaturePointGroup(Type(), again, 2, &second, 2), kFail);
    // The removed group's id was pooled, under the group id type and the
    // point id type both: the new group and its blob take it again.
    EXPECT_EQ(second, groupId);
    ASSERT_EQ(m_mgr->Commit(), S_OK);
    EXPECT_EQ(ItemOfFace(11).at(0).at(2), "0");
    EXPECT_EQ(ItemOfFace(12).at(0).at(2), "0");
    EXPECT_EQ(ItemOfFace(21).at(0).at(2), std::to_string(second));
    EXPECT_EQ(GroupRows().at(0).at(1), std::to_string(groupId));
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), groupId), 0);
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), groupId), 0);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointGroupManager, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
