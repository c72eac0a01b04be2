// Merging the working points of faces into one packed blob of the group
// set, under a new id drawn from the catalogue: one block per face in the
// order given, packed even for one face; nothing to merge answers S_OK with
// no id; one face without a point stops the merge; a failed write gives the
// drawn id back to the catalogue's pool.
#include "feature_point_group_fixture.h"

namespace feature_point_test {
namespace {

class FeaturePointMerge : public FeaturePointGroupTest {
protected:
    HRESULT Merge(const std::vector<uint64_t>& faces, uint64_t* outId,
                  CSQLiteFaceFeaturePointDBFactory* target = nullptr) {
        CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
        CSQLiteFaceFeaturePointDBFactory* groups = target != nullptr ? target : Group(Type());
        CriticalSectionGuard catalogueGuard(Catalogue()->m_lock);
        CriticalSectionGuard workingGuard(working->m_lock);
        CriticalSectionGuard groupGuard(groups->m_lock);
        return working->MergeFeaturePoints(groups, faces.data(), static_cast<uint32_t>(faces.size()), outId,
                                           Catalogue(), PointIdType());
    }
};

TEST_P(FeaturePointMerge, PacksEachFacesPointAsOneBlockUnderANewIdOfTheCatalogue) {
    for (uint64_t face : {3, 1, 2}) AddPoint(face, PointOf(face));
    uint64_t newId = 0;
    ASSERT_EQ(Merge({3, 1, 2}, &newId), S_OK);
    EXPECT_EQ(newId, 1u);
    CommitAll();
    fs::path file = ShardFile(Type(), Set::kGroup, 0);
    EXPECT_EQ(Disk(file, "SELECT feature_point_id, update_date, data_format, hex(feature_point) FROM "
                         "face_feature_point_table"),
              (Rows{{"1", std::to_string(NowPacked()), "1", Hex(Packed({PointOf(3), PointOf(1), PointOf(2)}))}}));
    EXPECT_EQ(LastId(PointIdType()), 1);
    // The merge itself leaves the working points as they were.
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{1, 2, 3}));
}

TEST_P(FeaturePointMerge, OneFaceIsPackedToo) {
    AddPoint(4, PointOf(4));
    uint64_t newId = 0;
    ASSERT_EQ(Merge({4}, &newId), S_OK);
    DataPtr data;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(newId, data.Receive()), S_OK);
    uint32_t format = 0;
    EXPECT_EQ(data->GetDataFormat(&format), S_OK);
    EXPECT_EQ(format, 1u);
    EXPECT_EQ(data->GetBlockCount(), 1u);
    EXPECT_EQ(Block(data.Get(), 0), PointOf(4));
}

TEST_P(FeaturePointMerge, ReadsSoftlyRemovedPointsAndShardsNotYetOpen) {
    AddPoint(5, PointOf(5));
    // A live point keeps shard 0 from being dropped at the stop.
    AddPoint(6, PointOf(6));
    AddPoint(4005, PointOf(4005));
    ASSERT_EQ(Working(Type())->RemoveFeaturePoint(5), S_OK);
    Restart();
    ASSERT_EQ(Working(Type())->OpenShardCount(), 1u);
    uint64_t newId = 0;
    ASSERT_EQ(Merge({5, 4005}, &newId), S_OK);
    DataPtr data;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(newId, data.Receive()), S_OK);
    EXPECT_EQ(Block(data.Get(), 0), PointOf(5));
    EXPECT_EQ(Block(data.Get(), 1), PointOf(4005));
}

TEST_P(FeaturePointMerge, NothingToMergeIsSuccessWithNoIdDrawn) {
    AddPoint(6, PointOf(6));
    CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
    const uint64_t faces[] = {6};
    uint64_t newId = 77;
    EXPECT_EQ(working->MergeFeaturePoints(Group(Type()), nullptr, 1, &newId, Catalogue(), PointIdType()), S_OK);
    EXPECT_EQ(newId, 0u);
    newId = 77;
    EXPECT_EQ(working->MergeFeaturePoints(Group(Type()), faces, 0, &newId, Catalogue(), PointIdType()), S_OK);
    EXPECT_EQ(newId, 0u);
    newId = 77;
    EXPECT_EQ(working->MergeFeaturePoints(Group(Type()), faces, 1, &newId, nullptr, PointIdType()), S_OK);
    EXPECT_EQ(newId, 0u);
    CommitAll();
    EXPECT_EQ(LastId(PointIdType()), -1);
    EXPECT_FALSE(fs::exists(Folder(Type(), Set::kGroup)));
}

TEST_P(FeaturePointMerge, AFaceWithoutAPointStopsTheMergeWithNoIdDrawn) {
    AddPoint(7, PointOf(7));
    AddPoint(9, PointOf(9));
    uint64_t newId = 77;
    EXPECT_EQ(Merge({7, 8, 9}, &newId), S_OK);
    EXPECT_EQ(newId, 0u);
    CommitAll();
    EXPECT_EQ(LastId(PointIdType()), -1);
    EXPECT_FALSE(fs::exists(Folder(Type(), Set::kGroup)));
}

TEST_P(FeaturePointMerge, AFailedWriteGivesTheDrawnIdBackToTheCatalogue) {
    AddPoint(10, PointOf(10));
    CSQLiteFaceFeaturePointDBFactory nowhere(CZanTString(), false, false);
    uint64_t newId = 77;
    EXPECT_EQ(Merge({10}, &newId, &nowhere), kFail);
    EXPECT_EQ(newId, 0u);
    CommitAll();
    EXPECT_EQ(LastId(PointIdType()), 1);
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), 1), 1);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointMerge, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
