// The group operations when a family or one of its sets is missing, and the
// group thumbnails by kind: a null family is E_INVALIDARG, a family without
// its sets E_FAIL (the blob writers answer E_FAIL for both), and a thumbnail
// kind other than 1 or 2, or no group thumbnail family, is E_INVALIDARG.
#include "feature_point_group_fixture.h"

namespace feature_point_test {
namespace {

const unsigned char kThumbnail[] = {0x89, 'P', 'N', 'G', 9};

class FeaturePointGroupFamilies : public FeaturePointGroupTest {
protected:
    // The operations with this test's type served by family (null for
    // none), the other type by the registry's.
    FeaturePointGroups GroupsWith(CSQLiteFaceFeaturePointDBMgr* family, CSQLiteThumbDBMgr* thumbs = nullptr) {
        CSQLiteFaceFeaturePointDBMgr* persons = Type() == kPerson ? family : DatabaseRegistry::rfpMgr;
        CSQLiteFaceFeaturePointDBMgr* pets = Type() == kPet ? family : DatabaseRegistry::tfpMgr;
        return FeaturePointGroups(Catalogue(), persons, pets, thumbs);
    }
    // A family that was never initialised: it has no sets.
    CSQLiteFaceFeaturePointDBMgr m_empty;
};

TEST_P(FeaturePointGroupFamilies, CreateWithoutAFamilyIsInvalidArgAndWithoutItsSetsFails) {
    AddFaceWithPoint(11);
    const uint64_t faces[] = {11};
    uint64_t groupId = 99;
    EXPECT_EQ(GroupsWith(nullptr).CreateFeaturePointGroup(Type(), faces, 1, &groupId, 1), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    groupId = 99;
    EXPECT_EQ(GroupsWith(&m_empty).CreateFeaturePointGroup(Type(), faces, 1, &groupId, 1), kFail);
    EXPECT_EQ(groupId, 0u);
    CommitAll();
    EXPECT_TRUE(GroupRows().empty());
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{11}));
}

TEST_P(FeaturePointGroupFamilies, RemoveFaceFeaturePointWithoutAFamilyIsInvalidArgAndWithoutItsSetsFails) {
    AddFaceWithPoint(11);
    MakeGroup({11});
    EXPECT_EQ(GroupsWith(nullptr).RemoveFaceFeaturePoint(11, Type()), kInvalidArg);
    EXPECT_EQ(GroupsWith(&m_empty).RemoveFaceFeaturePoint(11, Type()), kFail);
    CommitAll();
    EXPECT_EQ(ItemRows().size(), 1u);
}

TEST_P(FeaturePointGroupFamilies, RemoveGroupWithoutAFamilyIsInvalidArgAndWithoutItsSetsFails) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    // The group is read first; only then is the family looked at.
    EXPECT_EQ(GroupsWith(nullptr).RemoveFeaturePointGroup(groupId, Type()), kInvalidArg);
    EXPECT_EQ(GroupsWith(&m_empty).RemoveFeaturePointGroup(groupId, Type()), kFail);
    ASSERT_TRUE(LoadGroup(groupId));
    // Without a family, a group that is not there still counts as removed.
    EXPECT_EQ(GroupsWith(nullptr).RemoveFeaturePointGroup(groupId + 1, Type()), S_OK);
    CommitAll();
    EXPECT_EQ(GroupRows().size(), 1u);
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), groupId), 0);
}

TEST_P(FeaturePointGroupFamilies, ARecordReadWithoutAFamilyCannotReadItsBlob) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    GroupPtr group;
    ASSERT_EQ(GroupsWith(nullptr).GetFeaturePointGroup(groupId, Type(), group.Receive()), S_OK);
    DataPtr data;
    EXPECT_EQ(group->GetFeaturePoint(data.Receive()), kFail);
    GroupPtr fromEmpty;
    ASSERT_EQ(GroupsWith(&m_empty).GetFeaturePointGroup(groupId, Type(), fromEmpty.Receive()), S_OK);
    EXPECT_EQ(fromEmpty->GetFeaturePoint(data.Receive()), kFail);
}

TEST_P(FeaturePointGroupFamilies, BlobWritersWithoutAFamilyOrItsSetsFail) {
    Bytes block = Point(1);
    const void* data[] = {block.data()};
    const uint32_t sizes[] = {4};
    for (FeaturePointGroups groups : {GroupsWith(nullptr), GroupsWith(&m_empty)}) {
        EXPECT_EQ(groups.UpdateGroupFeaturePoints(1, Type(), data, sizes, 1), kFail);
        EXPECT_EQ(groups.UpdateIndividualFeaturePoints(1, Type(), data, sizes, 1), kFail);
        EXPECT_EQ(groups.UpdateGroupFeaturePoint(1, Type(), block.data(), 4), kFail);
    }
}

TEST_P(FeaturePointGroupFamilies, RemovingAGroupWithoutAThumbnailFamilyStillSucceeds) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    EXPECT_EQ(GroupsWith(Family(Type()), nullptr).RemoveFeaturePointGroup(groupId, Type()), S_OK);
    CommitAll();
    EXPECT_TRUE(GroupRows().empty());
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), groupId), 1);
}

TEST_P(FeaturePointGroupFamilies, RemoveGroupThumbnailTakesKindOneOrTwoOfTheGroupFamily) {
    CSQLiteThumbDBMgr* thumbs = DatabaseRegistry::grfThumbMgr;
    for (uint32_t kind : {1u, 2u}) ASSERT_EQ(thumbs->Factory(kind)->AddThumbnail(7, kThumbnail, 5), S_OK);
    FeaturePointGroups groups = Groups();
    EXPECT_EQ(groups.RemoveGroupThumbnail(7, 0), kInvalidArg);
    EXPECT_EQ(groups.RemoveGroupThumbnail(7, 3), kInvalidArg);
    EXPECT_EQ(GroupsWith(Family(Type()), nullptr).RemoveGroupThumbnail(7, 1), kInvalidArg);
    EXPECT_TRUE(thumbs->Factory(1)->HasThumbnail(7));
    EXPECT_TRUE(thumbs->Factory(2)->HasThumbnail(7));
    EXPECT_EQ(groups.RemoveGroupThumbnail(7, 2), S_OK);
    EXPECT_TRUE(thumbs->Factory(1)->HasThumbnail(7));
    EXPECT_FALSE(thumbs->Factory(2)->HasThumbnail(7));
    EXPECT_EQ(groups.RemoveGroupThumbnail(7, 1), S_OK);
    EXPECT_FALSE(thumbs->Factory(1)->HasThumbnail(7));
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointGroupFamilies, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
