// Making and removing feature point groups: the faces' points merged into
// one packed blob of the group set, a group row and one item row per face
// in the catalogue, the members softly removed from the working set; a
// face's removal takes its item row and, with the last face, the group with
// its blob and thumbnails; a group's removal keeps the item rows with group
// 0, which keeps those faces out of any new group. Ids: merged points of
// id_type 9 (persons) or 10 (pets), groups of 11 or 12.
#include <set>

#include "feature_point_group_fixture.h"

namespace feature_point_test {
namespace {

using FeaturePointGroupOps = FeaturePointGroupTest;

const unsigned char kThumbnail[] = {0x89, 'P', 'N', 'G', 1, 2, 3};

// ------------------------------------------------------------ making

TEST_P(FeaturePointGroupOps, AGroupOfThreeFacesHoldsTheirPointsAsThreeBlocks) {
    for (uint64_t face : {11, 12, 13, 14}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12, 13});
    GroupPtr group = LoadGroup(groupId);
    ASSERT_TRUE(group);
    DataPtr data;
    ASSERT_EQ(group->GetFeaturePoint(data.Receive()), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 3u);
    EXPECT_EQ(Block(data.Get(), 0), PointOf(11));
    EXPECT_EQ(Block(data.Get(), 1), PointOf(12));
    EXPECT_EQ(Block(data.Get(), 2), PointOf(13));
    // The three have left the working set; the fourth face stays.
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{14}));
}

TEST_P(FeaturePointGroupOps, AGroupOfThreeFacesWritesItsRowsBlobAndSoftRemovals) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({12, 11, 13});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    ASSERT_NE(pointId, 0u);
    CommitAll();
    const std::string g = std::to_string(groupId);
    const std::string p = std::to_string(pointId);
    // The first face of the array stands for the group.
    EXPECT_EQ(GroupRows(), (Rows{{g, p, "12", std::to_string(NowPacked()), "3"}}));
    EXPECT_EQ(ItemRows(), (Rows{{"11", p, g}, {"12", p, g}, {"13", p, g}}));
    fs::path blob = ShardFile(Type(), Set::kGroup, pointId / 1000);
    EXPECT_EQ(DiskFormat(blob, pointId), 1);
    EXPECT_EQ(DiskBlob(blob, pointId), Hex(Packed({PointOf(12), PointOf(11), PointOf(13)})));
    // Softly removed: index rows marked, blobs kept.
    for (uint64_t face : {11, 12, 13}) {
        EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), face), 1) << face;
        EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), face), Hex(PointOf(face))) << face;
    }
}

TEST_P(FeaturePointGroupOps, GroupAndPointIdsComeFromTheirOwnIdTypes) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    // One point id drawn beforehand, so that the two counters part.
    uint64_t drawn = 0;
    ASSERT_EQ(Catalogue()->NewID(PointIdType(), &drawn), S_OK);
    ASSERT_EQ(drawn, 1u);
    const uint64_t groupId = MakeGroup({11, 12});
    EXPECT_EQ(groupId, 1u);
    EXPECT_EQ(FeaturePointIdOf(LoadGroup(groupId).Get()), 2u);
    CommitAll();
    EXPECT_EQ(LastId(PointIdType()), 2);
    EXPECT_EQ(LastId(GroupIdType()), 1);
    // The other type's counters are untouched.
    EXPECT_EQ(LastId(Type() == kPet ? 9 : 10), -1);
    EXPECT_EQ(LastId(Type() == kPet ? 11 : 12), -1);
}

TEST_P(FeaturePointGroupOps, TheMergeCountAndTheItemCountAreTwoArguments) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t faces[] = {11, 12, 13};
    uint64_t groupId = 0;
    ASSERT_EQ(Groups().CreateFeaturePointGroup(Type(), faces, 3, &groupId, 2), S_OK);
    GroupPtr group = LoadGroup(groupId);
    DataPtr data;
    ASSERT_EQ(group->GetFeaturePoint(data.Receive()), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 2u);
    EXPECT_EQ(Block(data.Get(), 1), PointOf(12));
    uint32_t count = 0;
    EXPECT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 3u);
    EXPECT_TRUE(WorkingList().empty());
    CommitAll();
    EXPECT_EQ(ItemRows().size(), 3u);
}

TEST_P(FeaturePointGroupOps, AMergeThatGaveNoBlobStillMakesAGroupWithFeaturePointZero) {
    AddFaceWithPoint(11);
    AddFace(12);  // no feature point
    const uint64_t groupId = MakeGroup({11, 12});
    GroupPtr group = LoadGroup(groupId);
    EXPECT_EQ(FeaturePointIdOf(group.Get()), 0u);
    DataPtr data;
    EXPECT_EQ(group->GetFeaturePoint(data.Receive()), kFail);
    EXPECT_FALSE(data);
    // The members left the working set all the same.
    EXPECT_TRUE(WorkingList().empty());
    CommitAll();
    const std::string g = std::to_string(groupId);
    EXPECT_EQ(ItemRows(), (Rows{{"11", "0", g}, {"12", "0", g}}));
    EXPECT_EQ(LastId(PointIdType()), -1);
}

TEST_P(FeaturePointGroupOps, CreateRefusesNullArraysZeroCountsAndBadTypes) {
    AddFaceWithPoint(11);
    const uint64_t faces[] = {11};
    FeaturePointGroups groups = Groups();
    uint64_t groupId = 99;
    EXPECT_EQ(groups.CreateFeaturePointGroup(Type(), nullptr, 1, &groupId, 1), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    groupId = 99;
    EXPECT_EQ(groups.CreateFeaturePointGroup(Type(), faces, 0, &groupId, 1), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    groupId = 99;
    EXPECT_EQ(groups.CreateFeaturePointGroup(Type(), faces, 1, &groupId, 0), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    for (uint32_t bad : {0u, 3u}) {
        groupId = 99;
        EXPECT_EQ(groups.CreateFeaturePointGroup(bad, faces, 1, &groupId, 1), kInvalidArg) << bad;
        EXPECT_EQ(groupId, 0u);
    }
    // A null out group id is allowed.
    EXPECT_EQ(groups.CreateFeaturePointGroup(Type(), faces, 1, nullptr, 1), S_OK);
    CommitAll();
    EXPECT_EQ(GroupRows().size(), 1u);
    EXPECT_EQ(LastId(PointIdType()), 1);
}

TEST_P(FeaturePointGroupOps, CreateFailsAtTheItemRowOfAFaceAlreadyInAGroupAndUndoesNothing) {
    for (uint64_t face : {11, 12, 21}) AddFaceWithPoint(face);
    const uint64_t first = MakeGroup({11, 12});
    const uint64_t faces[] = {21, 12};
    uint64_t second = 0;
    EXPECT_EQ(Groups().CreateFeaturePointGroup(Type(), faces, 2, &second, 2), kFail);
    // The group row and the earlier item stay, and the id was handed out.
    ASSERT_NE(second, 0u);
    EXPECT_NE(second, first);
    GroupPtr group = LoadGroup(second);
    ASSERT_TRUE(group);
    CommitAll();
    EXPECT_EQ(GroupRows().size(), 2u);
    EXPECT_EQ(ItemOfFace(21).at(0).at(2), std::to_string(second));
    EXPECT_EQ(ItemOfFace(12).at(0).at(2), std::to_string(first));
    // The working removal did not run: face 21 is still live.
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{21}));
}

TEST_P(FeaturePointGroupOps, TwoGroupsMadeInTheSameSecondBothListAndANewerOneListsFirst) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t a = MakeGroup({11});
    const uint64_t b = MakeGroup({12});
    zandb4::platform::SetSystemTimeForTesting(Moment(2024, 3, 9, 14, 30, 6));
    const uint64_t c = MakeGroup({13});

    CArray<uint64_t> ids;
    ASSERT_EQ(Groups().GetFeaturePointGroupIDs(Type(), &ids), S_OK);
    std::vector<uint64_t> listed = Ids(ids);
    ASSERT_EQ(listed.size(), 3u);
    EXPECT_EQ(listed[0], c);
    // The order of the two of one second is left open.
    EXPECT_EQ((std::set<uint64_t>{listed[1], listed[2]}), (std::set<uint64_t>{a, b}));
    SYSTEMTIME dateA{}, dateB{};
    ASSERT_EQ(LoadGroup(a)->GetCreateDate(&dateA), S_OK);
    ASSERT_EQ(LoadGroup(b)->GetCreateDate(&dateB), S_OK);
    EXPECT_EQ(PackedDate(dateA), PackedDate(dateB));
    EXPECT_EQ(PackedDate(dateA), NowPacked());

    CArray<IZanDB4FaceFeaturePointGroup*> groups;
    ASSERT_EQ(Groups().GetFeaturePointGroups(Type(), &groups), S_OK);
    ASSERT_EQ(groups.GetSize(), 3);
    uint64_t firstId = 0;
    EXPECT_EQ(groups.GetAt(0)->GetID(&firstId), S_OK);
    EXPECT_EQ(firstId, c);
    for (ptrdiff_t i = 0; i < groups.GetSize(); ++i) {
        // Each listed record is bound to the family and reads its blob.
        DataPtr data;
        EXPECT_EQ(groups.GetAt(i)->GetFeaturePoint(data.Receive()), S_OK) << i;
        EXPECT_EQ(groups.GetAt(i)->Release(), 0u);
    }
}

TEST_P(FeaturePointGroupOps, GroupListsOfATypeWithoutGroupsFail) {
    AddFaceWithPoint(11);
    MakeGroup({11});
    CArray<uint64_t> ids;
    ids.Add(5);
    EXPECT_EQ(Groups().GetFeaturePointGroupIDs(OtherType(), &ids), kFail);
    EXPECT_TRUE(ids.IsEmpty());
    CArray<IZanDB4FaceFeaturePointGroup*> groups;
    EXPECT_EQ(Groups().GetFeaturePointGroups(OtherType(), &groups), kFail);
    EXPECT_TRUE(groups.IsEmpty());
}

TEST_P(FeaturePointGroupOps, GroupReadsRefuseNullOutsAndBadTypes) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    FeaturePointGroups groups = Groups();
    EXPECT_EQ(groups.GetFeaturePointGroup(groupId, Type(), nullptr), kInvalidArg);
    EXPECT_EQ(groups.GetFeaturePointGroupIDs(Type(), nullptr), kInvalidArg);
    EXPECT_EQ(groups.GetFeaturePointGroups(Type(), nullptr), kInvalidArg);
    for (uint32_t bad : {0u, 3u}) {
        auto* junk = reinterpret_cast<IZanDB4FaceFeaturePointGroup*>(&groups);
        IZanDB4FaceFeaturePointGroup* out = junk;
        EXPECT_EQ(groups.GetFeaturePointGroup(groupId, bad, &out), kInvalidArg) << bad;
        EXPECT_EQ(out, nullptr);
        CArray<uint64_t> ids;
        EXPECT_EQ(groups.GetFeaturePointGroupIDs(bad, &ids), kInvalidArg) << bad;
        CArray<IZanDB4FaceFeaturePointGroup*> list;
        EXPECT_EQ(groups.GetFeaturePointGroups(bad, &list), kInvalidArg) << bad;
    }
    IZanDB4FaceFeaturePointGroup* out = nullptr;
    EXPECT_EQ(groups.GetFeaturePointGroup(groupId + 100, Type(), &out), kFail);
    EXPECT_EQ(out, nullptr);
    // A person group is not a pet group.
    EXPECT_EQ(groups.GetFeaturePointGroup(groupId, OtherType(), &out), kFail);
}

TEST_P(FeaturePointGroupOps, TheStoreSideRowsRefuseBadTypesAndZeroCounts) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    CriticalSectionGuard guard(Catalogue()->m_lock);
    FeaturePointGroupRows rows(*Catalogue());
    const uint64_t faces[] = {12};
    for (uint32_t bad : {0u, 3u}) {
        std::vector<uint64_t> ids = {5};
        EXPECT_EQ(rows.ListGroupFaceIDs(ids, groupId, bad), kInvalidArg) << bad;
        EXPECT_TRUE(ids.empty());
        std::vector<IZanDB4FaceDBRecord*> records;
        EXPECT_EQ(rows.ListGroupFaces(records, groupId, bad), kInvalidArg) << bad;
        EXPECT_EQ(rows.CountGroupItems(groupId, bad), 0u) << bad;
        uint64_t newGroup = 99;
        EXPECT_EQ(rows.InsertFeaturePointGroup(bad, faces, 1, 12, 0, &newGroup), kInvalidArg) << bad;
        EXPECT_EQ(newGroup, 0u);
        IZanDB4FaceFeaturePointGroup* group = nullptr;
        EXPECT_EQ(rows.LoadFeaturePointGroup(groupId, bad, &group), kInvalidArg) << bad;
        EXPECT_EQ(group, nullptr);
    }
    uint64_t newGroup = 99;
    EXPECT_EQ(rows.InsertFeaturePointGroup(Type(), faces, 0, 12, 0, &newGroup), kInvalidArg);
    EXPECT_EQ(newGroup, 0u);
    EXPECT_EQ(rows.LoadFeaturePointGroup(groupId, Type(), nullptr), kInvalidArg);
    EXPECT_EQ(rows.CountGroupItems(groupId, Type()), 1u);
    EXPECT_EQ(rows.CountGroupItems(groupId + 1, Type()), 0u);
    std::vector<uint64_t> none;
    EXPECT_EQ(rows.ListGroupFaceIDs(none, groupId + 1, Type()), kFail);
}

// ------------------------------------------------------------ a face goes

TEST_P(FeaturePointGroupOps, FaceCountStaysThreeAfterAFaceGoesWhileTheFaceIdsAreTwo) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12, 13});
    ASSERT_EQ(Groups().RemoveFaceFeaturePoint(12, Type()), S_OK);
    GroupPtr group = LoadGroup(groupId);
    ASSERT_TRUE(group);
    uint32_t count = 0;
    EXPECT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 3u);
    CArray<uint64_t> ids;
    ASSERT_EQ(group->GetFaceIDs(&ids, 0), S_OK);
    EXPECT_EQ((std::set<uint64_t>{ids.GetAt(0), ids.GetAt(1)}), (std::set<uint64_t>{11, 13}));
    EXPECT_EQ(ids.GetSize(), 2);
    CommitAll();
    EXPECT_TRUE(ItemOfFace(12).empty());
    EXPECT_EQ(GroupRows().at(0).at(4), "3");
}

TEST_P(FeaturePointGroupOps, RemovingTheLastFaceRemovesTheGroupRowItsBlobAndItsThumbnails) {
    for (uint64_t face : {11, 12, 13, 21}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12, 13});
    const uint64_t other = MakeGroup({21});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    CSQLiteThumbDBMgr* thumbs = DatabaseRegistry::grfThumbMgr;
    for (uint32_t kind : {1u, 2u}) {
        ASSERT_EQ(thumbs->Factory(kind)->AddThumbnail(groupId, kThumbnail, sizeof kThumbnail), S_OK);
        ASSERT_EQ(thumbs->Factory(kind)->AddThumbnail(other, kThumbnail, sizeof kThumbnail), S_OK);
    }
    FeaturePointGroups groups = Groups();
    ASSERT_EQ(groups.RemoveFaceFeaturePoint(11, Type()), S_OK);
    ASSERT_EQ(groups.RemoveFaceFeaturePoint(13, Type()), S_OK);
    ASSERT_TRUE(LoadGroup(groupId));
    EXPECT_EQ(groups.RemoveFaceFeaturePoint(12, Type()), S_OK);

    IZanDB4FaceFeaturePointGroup* gone = nullptr;
    EXPECT_EQ(groups.GetFeaturePointGroup(groupId, Type(), &gone), kFail);
    DataPtr blob;
    EXPECT_EQ(Group(Type())->GetFeaturePoint(pointId, blob.Receive()), kFail);
    for (uint32_t kind : {1u, 2u}) {
        EXPECT_FALSE(thumbs->Factory(kind)->HasThumbnail(groupId)) << kind;
        EXPECT_TRUE(thumbs->Factory(kind)->HasThumbnail(other)) << kind;
    }
    CommitAll();
    EXPECT_EQ(GroupRows().size(), 1u);
    EXPECT_EQ(ItemRows(), (Rows{{"21", GroupRows().at(0).at(1), std::to_string(other)}}));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, pointId / 1000), pointId), "");
    // Both ids go to their pools: the group id under the point id type too.
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), groupId), 1);
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), groupId), 1);
}

TEST_P(FeaturePointGroupOps, RemovingTheFacePointOfAFaceOutsideAnyGroupOnlyRemovesItSoftly) {
    AddFaceWithPoint(11);
    AddFaceWithPoint(12);
    EXPECT_EQ(Groups().RemoveFaceFeaturePoint(11, Type()), S_OK);
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{12}));
    // An unknown face, and one whose working shard is not open, are no
    // failure either.
    EXPECT_EQ(Groups().RemoveFaceFeaturePoint(999, Type()), S_OK);
    EXPECT_EQ(Groups().RemoveFaceFeaturePoint(5000, Type()), S_OK);
    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 5)));
    CommitAll();
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 11), 1);
}

TEST_P(FeaturePointGroupOps, RemoveFaceFeaturePointRefusesBadTypes) {
    AddFaceWithPoint(11);
    for (uint32_t bad : {0u, 3u}) EXPECT_EQ(Groups().RemoveFaceFeaturePoint(11, bad), kInvalidArg) << bad;
    EXPECT_EQ(WorkingList(), (std::vector<uint64_t>{11}));
}

// ------------------------------------------------------------ a group goes

TEST_P(FeaturePointGroupOps, RemovingAGroupWithoutARowAnswersOk) {
    FeaturePointGroups groups = Groups();
    EXPECT_EQ(groups.RemoveFeaturePointGroup(42, Type()), S_OK);
    // A bad type finds no group either, which counts as removed.
    EXPECT_EQ(groups.RemoveFeaturePointGroup(42, 0), S_OK);
    EXPECT_EQ(groups.RemoveFeaturePointGroup(42, 3), S_OK);
    CommitAll();
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), 42), 0);
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), 42), 0);
}

TEST_P(FeaturePointGroupOps, AfterARemovedGroupItsMembersKeepTheirItemRowsWithGroupZero) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12, 13});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    EXPECT_EQ(Groups().RemoveFeaturePointGroup(groupId, Type()), S_OK);
    IZanDB4FaceFeaturePointGroup* gone = nullptr;
    EXPECT_EQ(Groups().GetFeaturePointGroup(groupId, Type(), &gone), kFail);
    DataPtr blob;
    EXPECT_EQ(Group(Type())->GetFeaturePoint(pointId, blob.Receive()), kFail);
    CommitAll();
    EXPECT_TRUE(GroupRows().empty());
    for (uint64_t face : {11, 12, 13})
        EXPECT_EQ(ItemOfFace(face), (Rows{{std::to_string(face), std::to_string(pointId), "0"}})) << face;
    // The faces keep their rows in the face table.
    EXPECT_EQ(DiskInteger(CatalogueFile(), std::string("SELECT COUNT(*) FROM ") + (Type() == kPet ? "pet" : "person") +
                                               "_face_table"),
              3);
}

TEST_P(FeaturePointGroupOps, AFaceWhoseGroupWasRemovedCannotJoinANewGroup) {
    for (uint64_t face : {11, 12, 21}) AddFaceWithPoint(face);
    const uint64_t removed = MakeGroup({11, 12});
    ASSERT_EQ(Groups().RemoveFeaturePointGroup(removed, Type()), S_OK);
    const uint64_t faces[] = {21, 12};
    uint64_t groupId = 0;
    EXPECT_EQ(Groups().CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), kFail);
    ASSERT_NE(groupId, 0u);
    CommitAll();
    // The new group's row and its first item stay; face 12 keeps group 0.
    EXPECT_EQ(GroupRows().size(), 1u);
    EXPECT_EQ(GroupRows().at(0).at(0), std::to_string(groupId));
    EXPECT_EQ(ItemOfFace(21).at(0).at(2), std::to_string(groupId));
    EXPECT_EQ(ItemOfFace(12).at(0).at(2), "0");
}

TEST_P(FeaturePointGroupOps, RemovingAFaceWhoseGroupWasRemovedTakesItsItemRowSoItCanJoinAgain) {
    for (uint64_t face : {11, 12, 21}) AddFaceWithPoint(face);
    const uint64_t removed = MakeGroup({11, 12});
    ASSERT_EQ(Groups().RemoveFeaturePointGroup(removed, Type()), S_OK);
    EXPECT_EQ(Groups().RemoveFaceFeaturePoint(12, Type()), S_OK);
    // Its point is only softly removed, so it can still be merged.
    const uint64_t groupId = MakeGroup({21, 12});
    CommitAll();
    EXPECT_EQ(ItemOfFace(12).at(0).at(2), std::to_string(groupId));
    EXPECT_EQ(ItemOfFace(11).at(0).at(2), "0");
}

TEST_P(FeaturePointGroupOps, RemovingAGroupPoolsTheGroupIdNotThePointIdUnderBothIdTypes) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    uint64_t drawn = 0;
    ASSERT_EQ(Catalogue()->NewID(PointIdType(), &drawn), S_OK);
    const uint64_t groupId = MakeGroup({11, 12});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    ASSERT_EQ(groupId, 1u);
    ASSERT_EQ(pointId, 2u);
    ASSERT_EQ(Groups().RemoveFeaturePointGroup(groupId, Type()), S_OK);
    CommitAll();
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), groupId), 1);
    EXPECT_EQ(Pooled(CatalogueFile(), GroupIdType(), groupId), 1);
    EXPECT_EQ(Pooled(CatalogueFile(), PointIdType(), pointId), 0);
    EXPECT_EQ(Pooled(CatalogueFile(), Type() == kPet ? 9 : 10, groupId), 0);
}

TEST_P(FeaturePointGroupOps, RemovingAGroupRemovesItsThumbnailsOfBothKinds) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    CSQLiteThumbDBMgr* thumbs = DatabaseRegistry::grfThumbMgr;
    for (uint32_t kind : {1u, 2u})
        ASSERT_EQ(thumbs->Factory(kind)->AddThumbnail(groupId, kThumbnail, sizeof kThumbnail), S_OK);
    ASSERT_EQ(Groups().RemoveFeaturePointGroup(groupId, Type()), S_OK);
    CommitAll();
    for (const char* folder : {"grf_0s", "grf_1s"})
        EXPECT_EQ(DiskInteger(Database() / folder / "00000000.db",
                              "SELECT COUNT(*) FROM thumbnail_table WHERE file_id=" + std::to_string(groupId)),
                  0)
            << folder;
}

TEST_P(FeaturePointGroupOps, AfterARestartRemovingAGroupLeavesItsBlobInTheUnopenedShard) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    Restart();
    ASSERT_EQ(Group(Type())->OpenShardCount(), 0u);
    EXPECT_EQ(Groups().RemoveFeaturePointGroup(groupId, Type()), S_OK);
    CommitAll();
    EXPECT_TRUE(GroupRows().empty());
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, pointId / 1000), pointId), Hex(Packed({PointOf(11)})));
}

// ------------------------------------------------------------ blobs

TEST_P(FeaturePointGroupOps, UpdateGroupFeaturePointWritesToTheIndividualSet) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    // An individual point of the same number, to be updated.
    Bytes old = Point(500);
    ASSERT_EQ(Individual(Type())->InsertFeaturePoint(pointId, old.data(), 24, kRawFormat, 0), S_OK);

    Bytes fresh = Point(600, 10);
    EXPECT_EQ(Groups().UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 10), S_OK);
    GroupPtr group = LoadGroup(groupId);
    DataPtr merged;
    ASSERT_EQ(group->GetFeaturePoint(merged.Receive()), S_OK);
    EXPECT_EQ(merged->GetBlockCount(), 2u);
    EXPECT_EQ(Block(merged.Get(), 0), PointOf(11));
    DataPtr individual;
    ASSERT_EQ(Individual(Type())->GetFeaturePoint(pointId, individual.Receive()), S_OK);
    EXPECT_EQ(Block(individual.Get(), 0), fresh);
    CommitAll();
    EXPECT_EQ(DiskFormat(ShardFile(Type(), Set::kIndividual, 0), pointId), 0);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), pointId), Hex(Packed({PointOf(11), PointOf(12)})));
}

TEST_P(FeaturePointGroupOps, UpdateGroupFeaturePointWithoutAnIndividualPointOfThatNumberIsInvalidArg) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(groupId).Get());
    Bytes fresh = Point(600, 10);
    EXPECT_EQ(Groups().UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 10), kInvalidArg);
    DataPtr individual;
    EXPECT_EQ(Individual(Type())->GetFeaturePoint(pointId, individual.Receive()), kFail);
    DataPtr merged;
    ASSERT_EQ(LoadGroup(groupId)->GetFeaturePoint(merged.Receive()), S_OK);
    EXPECT_EQ(Block(merged.Get(), 0), PointOf(11));
}

TEST_P(FeaturePointGroupOps, UpdateGroupFeaturePointRefusesNullDataSizeZeroAndBadTypes) {
    Bytes old = Point(1);
    ASSERT_EQ(Individual(Type())->InsertFeaturePoint(1, old.data(), 24, kRawFormat, 0), S_OK);
    Bytes fresh = Point(2);
    EXPECT_EQ(Groups().UpdateGroupFeaturePoint(1, Type(), nullptr, 4), kInvalidArg);
    EXPECT_EQ(Groups().UpdateGroupFeaturePoint(1, Type(), fresh.data(), 0), kInvalidArg);
    // A bad type is E_FAIL here, as for the individual points.
    for (uint32_t bad : {0u, 3u}) EXPECT_EQ(Groups().UpdateGroupFeaturePoint(1, bad, fresh.data(), 4), kFail) << bad;
    DataPtr individual;
    ASSERT_EQ(Individual(Type())->GetFeaturePoint(1, individual.Receive()), S_OK);
    EXPECT_EQ(Block(individual.Get(), 0), old);
}

TEST_P(FeaturePointGroupOps, UpdateGroupFeaturePointsRewritesTheMergedBlobInPlace) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12});
    GroupPtr group = LoadGroup(groupId);
    const uint64_t pointId = FeaturePointIdOf(group.Get());
    DataPtr before;
    ASSERT_EQ(group->GetFeaturePoint(before.Receive()), S_OK);

    std::vector<Bytes> blocks = {Point(700, 3), Point(701, 4), Point(702, 5)};
    const void* data[] = {blocks[0].data(), blocks[1].data(), blocks[2].data()};
    const uint32_t sizes[] = {3, 4, 5};
    ASSERT_EQ(Groups().UpdateGroupFeaturePoints(pointId, Type(), data, sizes, 3), S_OK);
    // The record hands out its cached blob until it lets it go.
    DataPtr cached;
    ASSERT_EQ(group->GetFeaturePoint(cached.Receive()), S_OK);
    EXPECT_EQ(cached.Get(), before.Get());
    EXPECT_EQ(cached->GetBlockCount(), 2u);
    ASSERT_EQ(group->ReleaseFeaturePoint(), S_OK);
    DataPtr after;
    ASSERT_EQ(group->GetFeaturePoint(after.Receive()), S_OK);
    EXPECT_EQ(after->GetBlockCount(), 3u);
    EXPECT_EQ(Block(after.Get(), 2), blocks[2]);
    CommitAll();
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), pointId), Hex(Packed(blocks)));
    EXPECT_EQ(GroupRows().at(0).at(1), std::to_string(pointId));
}

TEST_P(FeaturePointGroupOps, UpdateGroupFeaturePointsRefusesBadInput) {
    AddFaceWithPoint(11);
    const uint64_t pointId = FeaturePointIdOf(LoadGroup(MakeGroup({11})).Get());
    Bytes block = Point(1);
    const void* data[] = {block.data()};
    const uint32_t sizes[] = {4};
    FeaturePointGroups groups = Groups();
    EXPECT_EQ(groups.UpdateGroupFeaturePoints(pointId, Type(), nullptr, sizes, 1), kInvalidArg);
    EXPECT_EQ(groups.UpdateGroupFeaturePoints(pointId, Type(), data, nullptr, 1), kInvalidArg);
    EXPECT_EQ(groups.UpdateGroupFeaturePoints(pointId, Type(), data, sizes, 0), kInvalidArg);
    for (uint32_t bad : {0u, 3u})
        EXPECT_EQ(groups.UpdateGroupFeaturePoints(pointId, bad, data, sizes, 1), kFail) << bad;
    // An id without a blob is not updated into being.
    EXPECT_EQ(groups.UpdateGroupFeaturePoints(pointId + 1, Type(), data, sizes, 1), kInvalidArg);
    DataPtr merged;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(pointId, merged.Receive()), S_OK);
    EXPECT_EQ(Block(merged.Get(), 0), PointOf(11));
    DataPtr none;
    EXPECT_EQ(Group(Type())->GetFeaturePoint(pointId + 1, none.Receive()), kFail);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointGroupOps, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
