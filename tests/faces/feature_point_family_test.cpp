// The two feature point families over the library's start and stop: made
// by ZanDB4_Initialize on "rfpw", "rfpg", "rfpi" and "tfpw", "tfpg",
// "tfpi" (working, group, individual), the working set opening what is on
// disk; closed by ZanDB4_Finalize, which first deletes the working shards
// left without a live point. After a restart only the working set has
// shards open, so a removal in the other two sets finds nothing to do.
#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

class FeaturePointFamily : public FeaturePointTypes {
protected:
    static HRESULT Insert(CSQLiteFaceFeaturePointDBFactory* set, uint64_t id, const Bytes& bytes) {
        return set->InsertFeaturePoint(id, bytes.data(), static_cast<uint32_t>(bytes.size()), kRawFormat, 0);
    }
};

TEST_P(FeaturePointFamily, StartMakesTheThreeSetsOnTheirFoldersAndNoFolder) {
    CSQLiteFaceFeaturePointDBMgr* family = Family(Type());
    ASSERT_NE(family, nullptr);
    ASSERT_NE(family->Working(), nullptr);
    ASSERT_NE(family->Group(), nullptr);
    ASSERT_NE(family->Individual(), nullptr);
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual}) {
        EXPECT_EQ(fs::path(Factory(Type(), set)->Folder().ToUtf8()), Folder(Type(), set));
        EXPECT_EQ(Factory(Type(), set)->OpenShardCount(), 0u);
        EXPECT_FALSE(fs::exists(Folder(Type(), set)));
    }
    EXPECT_TRUE(family->Working()->IsWorking());
    EXPECT_FALSE(family->Group()->IsWorking());
    EXPECT_FALSE(family->Individual()->IsWorking());
    EXPECT_NE(DatabaseRegistry::rfpMgr, DatabaseRegistry::tfpMgr);
}

TEST_P(FeaturePointFamily, StopClosesTheFamilyAndCommitsWhatItsShardsHold) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Group(Type()), 6, Point(6)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 7, Point(7)), S_OK);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 6), "");
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::rfpMgr, nullptr);
    EXPECT_EQ(DatabaseRegistry::tfpMgr, nullptr);
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), 5), Hex(Point(5)));
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 5), 0);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 6), Hex(Point(6)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 7), Hex(Point(7)));
    // No journal is left beside a shard that was closed cleanly.
    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kGroup, 0).string() + "-journal"));
}

TEST_P(FeaturePointFamily, SecondStartKeepsTheFamiliesOfTheFirst) {
    TempFolder other;
    CSQLiteFaceFeaturePointDBMgr* first = Family(Type());
    ASSERT_EQ(ZanDB4_Initialize(other.Wide().GetString()), S_OK);
    EXPECT_EQ(Family(Type()), first);
    EXPECT_EQ(fs::path(Working(Type())->Folder().ToUtf8()), Folder(Type(), Set::kWorking));
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(Family(Type()), first);
}

TEST_P(FeaturePointFamily, StopDeletesTheWorkingShardsWithoutALivePointAndKeepsTheOthers) {
    // Shard 0: every point removed softly. Shard 1: one live point.
    for (uint64_t id : {5, 6, 1005}) ASSERT_EQ(Insert(Working(Type()), id, Point(id)), S_OK);
    ASSERT_EQ(Working(Type())->RemoveFeaturePoint(5), S_OK);
    ASSERT_EQ(Working(Type())->RemoveFeaturePoint(6), S_OK);
    // Shard 2 opened by a read, never written.
    DataPtr none;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(2005, none.Receive()), kFail);
    ASSERT_TRUE(fs::exists(ShardFile(Type(), Set::kWorking, 2)));
    // Group and individual shards without a row are not dropped.
    ASSERT_EQ(Group(Type())->GetFeaturePoint(5, none.Receive()), kFail);
    ASSERT_EQ(Insert(Individual(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Individual(Type())->RemoveFeaturePoint(5), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);

    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 0)));
    EXPECT_FALSE(fs::exists(CompanionFile(Type(), 0)));
    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 2)));
    EXPECT_FALSE(fs::exists(CompanionFile(Type(), 2)));
    EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kWorking, 1)));
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 1), 1005), Hex(Point(1005)));
    EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kGroup, 0)));
    EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kIndividual, 0)));
}

TEST_P(FeaturePointFamily, ADroppedFirstWorkingShardLeavesAGapForTheNextStart) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Working(Type()), 1005, Point(1005)), S_OK);
    ASSERT_EQ(Working(Type())->RemoveFeaturePoint(5), S_OK);
    Restart();
    // 00000000.db went at the stop, so the scan loads nothing.
    EXPECT_EQ(Working(Type())->OpenShardCount(), 0u);
    CArray<uint64_t> ids;
    EXPECT_EQ(Working(Type())->ListFeaturePoints(&ids, nullptr, 0), kFail);
    DataPtr data;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(1005, data.Receive()), S_OK);
    EXPECT_EQ(Block(data.Get(), 0), Point(1005));
}

TEST_P(FeaturePointFamily, AfterARestartRemovalInAGroupOrIndividualShardNotYetOpenedLeavesTheRow) {
    ASSERT_EQ(Insert(Group(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 5, Point(5)), S_OK);
    Restart();
    EXPECT_EQ(Group(Type())->RemoveFeaturePoint(5), S_OK);
    EXPECT_EQ(Individual(Type())->RemoveFeaturePoint(5), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 5), Hex(Point(5)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 5), Hex(Point(5)));
}

TEST_P(FeaturePointFamily, AfterARestartRemovalInAWorkingShardLoadedAtStartIsSoft) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Working(Type()), 6, Point(6)), S_OK);
    Restart();
    EXPECT_EQ(Working(Type())->RemoveFeaturePoint(5), S_OK);
    CommitShards();
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 5), 1);
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 6), 0);
}

TEST_P(FeaturePointFamily, CommitAllShardsCommitsTheThreeSets) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Group(Type()), 6, Point(6)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 7, Point(7)), S_OK);
    EXPECT_EQ(Family(Type())->CommitAllShards(), S_OK);
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), 5), Hex(Point(5)));
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 5), 0);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 6), Hex(Point(6)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 7), Hex(Point(7)));
}

TEST_P(FeaturePointFamily, CommitAllShardsFailsWhenASetFailed) {
    ASSERT_EQ(Insert(Group(Type()), 6, Point(6)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 7, Point(7)), S_OK);
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    ASSERT_EQ(Group(Type())->GetShard(&shard, 6, false), S_OK);
    ASSERT_EQ(shard->Close(), S_OK);
    EXPECT_EQ(Family(Type())->CommitAllShards(), kFail);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 7), Hex(Point(7)));
}

TEST_P(FeaturePointFamily, VacuumAllShardsClosesEveryShardOfTheThreeSets) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Group(Type()), 6, Point(6)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 7, Point(7)), S_OK);
    EXPECT_EQ(Family(Type())->VacuumAllShards(), S_OK);
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual})
        EXPECT_EQ(Factory(Type(), set)->OpenShardCount(), 0u);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 6), Hex(Point(6)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 7), Hex(Point(7)));
    EXPECT_TRUE(fs::is_regular_file(Folder(Type(), Set::kWorking) / "__00000000.db"));
}

TEST_P(FeaturePointFamily, CloseAllShardsDropsEmptyWorkingShardsAndClosesTheRest) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Working(Type())->RemoveFeaturePoint(5), S_OK);
    ASSERT_EQ(Insert(Working(Type()), 1005, Point(1005)), S_OK);
    ASSERT_EQ(Insert(Group(Type()), 6, Point(6)), S_OK);
    Family(Type())->CloseAllShards();
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual}) {
        EXPECT_EQ(Factory(Type(), set)->OpenShardCount(), 0u);
        CSQLiteFaceFeaturePointDB* shard = nullptr;
        EXPECT_EQ(Factory(Type(), set)->GetShard(&shard, 5, false), kFail);
    }
    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 0)));
    EXPECT_TRUE(fs::exists(ShardFile(Type(), Set::kWorking, 1)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 6), Hex(Point(6)));
}

TEST_P(FeaturePointFamily, DropRemovesTheFeaturePointFoldersAFormerRunMade) {
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual})
        ASSERT_EQ(Insert(Factory(Type(), set), 5, Point(5)), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual})
        ASSERT_TRUE(fs::is_regular_file(ShardFile(Type(), set, 0)));
    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(fs::exists(Database()));
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(Working(Type())->OpenShardCount(), 0u);
    DataPtr data;
    EXPECT_EQ(Group(Type())->GetFeaturePoint(5, data.Receive()), kFail);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointFamily, ::testing::Values(kPerson, kPet), TypeName);

// ------------------------------------------------- the family on its own

class FeaturePointFamilyAlone : public ::testing::Test {
protected:
    CZanTString Root() const { return m_root.Wide(); }
    TempFolder m_root;
};

TEST_F(FeaturePointFamilyAlone, InitializeWithAnEmptyNameIsInvalidArgAndMakesNoSet) {
    const CZanTString empty;
    const CZanTString w(u"w"), g(u"g"), i(u"i");
    const CZanTString root = Root();
    struct Names {
        const CZanTString& root;
        const CZanTString& working;
        const CZanTString& group;
        const CZanTString& individual;
    };
    for (const Names& names : {Names{empty, w, g, i}, Names{root, empty, g, i}, Names{root, w, empty, i},
                               Names{root, w, g, empty}}) {
        CSQLiteFaceFeaturePointDBMgr family;
        EXPECT_EQ(family.Initialize(names.root, names.working, names.group, names.individual), kInvalidArg);
        EXPECT_EQ(family.Working(), nullptr);
        EXPECT_EQ(family.Group(), nullptr);
        EXPECT_EQ(family.Individual(), nullptr);
    }
}

TEST_F(FeaturePointFamilyAlone, InitializeAppendsTheNamesToTheRootAndScansOnlyTheWorkingSet) {
    {
        CSQLiteFaceFeaturePointDBMgr family;
        ASSERT_EQ(family.Initialize(Root(), u"w", u"g", u"i"), S_OK);
        Bytes bytes = Point(1);
        for (CSQLiteFaceFeaturePointDBFactory* set : {family.Working(), family.Group(), family.Individual()})
            ASSERT_EQ(set->InsertFeaturePoint(1, bytes.data(), 4, kRawFormat, 0), S_OK);
        family.CloseAllShards();
    }
    CSQLiteFaceFeaturePointDBMgr family;
    ASSERT_EQ(family.Initialize(Root(), u"w", u"g", u"i"), S_OK);
    EXPECT_EQ(fs::path(family.Working()->Folder().ToUtf8()), m_root / "w");
    EXPECT_EQ(fs::path(family.Group()->Folder().ToUtf8()), m_root / "g");
    EXPECT_EQ(fs::path(family.Individual()->Folder().ToUtf8()), m_root / "i");
    EXPECT_EQ(family.Working()->OpenShardCount(), 1u);
    EXPECT_EQ(family.Group()->OpenShardCount(), 0u);
    EXPECT_EQ(family.Individual()->OpenShardCount(), 0u);
}

TEST_F(FeaturePointFamilyAlone, DestroyingTheFamilyDropsItsEmptyWorkingShards) {
    {
        CSQLiteFaceFeaturePointDBMgr family;
        ASSERT_EQ(family.Initialize(Root(), u"w", u"g", u"i"), S_OK);
        Bytes bytes = Point(1);
        ASSERT_EQ(family.Working()->InsertFeaturePoint(1, bytes.data(), 4, kRawFormat, 0), S_OK);
        ASSERT_EQ(family.Working()->InsertFeaturePoint(1001, bytes.data(), 4, kRawFormat, 0), S_OK);
        ASSERT_EQ(family.Working()->RemoveFeaturePoint(1), S_OK);
        ASSERT_TRUE(fs::exists(m_root / "w" / "00000000.db"));
    }
    EXPECT_FALSE(fs::exists(m_root / "w" / "00000000.db"));
    EXPECT_FALSE(fs::exists(m_root / "w" / "_00000000.db"));
    EXPECT_TRUE(fs::exists(m_root / "w" / "00000001.db"));
    EXPECT_TRUE(fs::exists(m_root / "w" / "_00000001.db"));
}

}  // namespace
}  // namespace feature_point_test
