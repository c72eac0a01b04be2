// A set of feature point shards: which file an id lies in, opening shards
// by id and at start (the working set only, up to the first gap), the
// listing over the open shards with a limit, removal that only looks at
// open shards, and the whole-set operations: drop the empty working shards,
// commit, close, vacuum (which takes companions for shards).
#include <set>

#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

class FeaturePointSet : public FeaturePointTypes {
protected:
    static HRESULT Insert(CSQLiteFaceFeaturePointDBFactory* set, uint64_t id, const Bytes& bytes) {
        return set->InsertFeaturePoint(id, bytes.data(), static_cast<uint32_t>(bytes.size()), kRawFormat, 0);
    }
    static HRESULT List(CSQLiteFaceFeaturePointDBFactory* set, std::vector<uint64_t>& out, uint32_t limit = 0) {
        CArray<uint64_t> ids;
        HRESULT result = set->ListFeaturePoints(&ids, nullptr, limit);
        out = Ids(ids);
        return result;
    }
    static std::vector<uint64_t> Range(uint64_t first, uint64_t end) {
        std::vector<uint64_t> ids;
        for (uint64_t id = first; id < end; ++id) ids.push_back(id);
        return ids;
    }
    // The file that holds the blob of id in a set: the shard itself, or a
    // working shard's companion.
    fs::path BlobFile(Set set, uint64_t key) const {
        return set == Set::kWorking ? CompanionFile(Type(), key) : ShardFile(Type(), set, key);
    }
};

constexpr Set kAllSets[] = {Set::kWorking, Set::kGroup, Set::kIndividual};

// ------------------------------------------------------------ shard files

TEST_P(FeaturePointSet, IdsLieInShardsOfOneThousand) {
    for (Set set : kAllSets) {
        CSQLiteFaceFeaturePointDBFactory* factory = Factory(Type(), set);
        for (uint64_t id : {999, 1000, 10000}) ASSERT_EQ(Insert(factory, id, Point(id)), S_OK);
    }
    CommitShards();
    for (Set set : kAllSets) {
        EXPECT_EQ(DiskBlob(BlobFile(set, 0), 999), Hex(Point(999)));
        EXPECT_EQ(DiskBlob(BlobFile(set, 1), 1000), Hex(Point(1000)));
        EXPECT_EQ(DiskBlob(BlobFile(set, 10), 10000), Hex(Point(10000)));
        EXPECT_TRUE(fs::is_regular_file(Folder(Type(), set) / "0000000A.db"));
        // Each shard holds its own id only.
        for (uint64_t key : {0, 1, 10})
            EXPECT_EQ(DiskInteger(BlobFile(set, key), "SELECT COUNT(*) FROM face_feature_point_table"), 1) << key;
    }
    // In the working set the index rows lie in the shard files themselves.
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 999), 0);
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 1), 1000), 0);
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 10), 10000), 0);
}

TEST_P(FeaturePointSet, OnlyTheLowThirtyTwoBitsOfTheShardKeyNameTheFile) {
    // Key 0x100000000: its name is that of key 0.
    const uint64_t id = 0x100000000ull * 1000 + 7;
    ASSERT_EQ(Insert(Group(Type()), id, Point(7)), S_OK);
    CommitShards();
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), id), Hex(Point(7)));
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder(Type(), Set::kGroup)))
        names.insert(entry.path().filename().string());
    EXPECT_EQ(names, (std::set<std::string>{"00000000.db"}));
}

TEST_P(FeaturePointSet, GetShardRefusesANullOut) {
    EXPECT_EQ(Group(Type())->GetShard(nullptr, 1, true), kInvalidArg);
    EXPECT_FALSE(fs::exists(Folder(Type(), Set::kGroup)));
}

TEST_P(FeaturePointSet, GetShardWithoutCreateFindsOnlyOpenShards) {
    for (Set set : kAllSets) {
        CSQLiteFaceFeaturePointDBFactory* factory = Factory(Type(), set);
        auto* out = reinterpret_cast<CSQLiteFaceFeaturePointDB*>(factory);
        EXPECT_EQ(factory->GetShard(&out, 1500, false), kFail);
        EXPECT_EQ(out, nullptr);
        EXPECT_FALSE(fs::exists(ShardFile(Type(), set, 1)));

        CSQLiteFaceFeaturePointDB* made = nullptr;
        ASSERT_EQ(factory->GetShard(&made, 1500, true), S_OK);
        ASSERT_NE(made, nullptr);
        EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), set, 1)));
        // Any id of the same thousand finds the same store, with or without
        // create.
        CSQLiteFaceFeaturePointDB* found = nullptr;
        EXPECT_EQ(factory->GetShard(&found, 1999, false), S_OK);
        EXPECT_EQ(found, made);
        EXPECT_EQ(factory->GetShard(&found, 1000, true), S_OK);
        EXPECT_EQ(found, made);
        EXPECT_EQ(factory->OpenShardCount(), 1u);
    }
}

TEST_P(FeaturePointSet, GetShardOfASetWithoutFolderFails) {
    CSQLiteFaceFeaturePointDBFactory nowhere(CZanTString(), false, Type() == kPerson);
    CSQLiteFaceFeaturePointDB* out = nullptr;
    EXPECT_EQ(nowhere.GetShard(&out, 1, true), kFail);
    EXPECT_EQ(out, nullptr);
    Bytes bytes = Point(1);
    EXPECT_EQ(nowhere.InsertFeaturePoint(1, bytes.data(), 4, kRawFormat, 0), kFail);
}

TEST_P(FeaturePointSet, AReadOfAMissingShardMakesItsFile) {
    for (Set set : kAllSets) {
        DataPtr data;
        EXPECT_EQ(Factory(Type(), set)->GetFeaturePoint(5000, data.Receive()), kFail);
        EXPECT_FALSE(data);
        EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), set, 5)));
    }
    EXPECT_TRUE(fs::is_regular_file(CompanionFile(Type(), 5)));
}

// ------------------------------------------------------------ removal

TEST_P(FeaturePointSet, RemoveOnAShardThatDoesNotExistAnswersOkAndMakesNoFile) {
    for (Set set : kAllSets) {
        EXPECT_EQ(Factory(Type(), set)->RemoveFeaturePoint(2500), S_OK);
        EXPECT_FALSE(fs::exists(ShardFile(Type(), set, 2)));
        EXPECT_FALSE(fs::exists(Folder(Type(), set)));
        EXPECT_EQ(Factory(Type(), set)->OpenShardCount(), 0u);
    }
}

TEST_P(FeaturePointSet, RemoveIsSoftInTheWorkingSetAndRealInTheOthers) {
    for (Set set : kAllSets) ASSERT_EQ(Insert(Factory(Type(), set), 12, Point(12)), S_OK);
    for (Set set : kAllSets) EXPECT_EQ(Factory(Type(), set)->RemoveFeaturePoint(12), S_OK);
    CommitShards();
    EXPECT_EQ(DiskRemoveFlag(ShardFile(Type(), Set::kWorking, 0), 12), 1);
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), 12), Hex(Point(12)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 12), "");
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 0), 12), "");
    // Removing an id without a row in an open shard is no failure either.
    EXPECT_EQ(Group(Type())->RemoveFeaturePoint(13), S_OK);
}

// ------------------------------------------------------------ listing

TEST_P(FeaturePointSet, ListingWithALimitOf2500TakesTheFirstThreeShardsTheThirdAskedFor500) {
    CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
    // Four shards of 1 000 live points each: 1000-1999 ... 4000-4999.
    for (uint64_t id = 1000; id < 5000; ++id) ASSERT_EQ(Insert(working, id, Point(id, 4)), S_OK);
    ASSERT_EQ(working->OpenShardCount(), 4u);
    CArray<uint64_t> ids;
    CArray<int64_t> dates;
    ASSERT_EQ(working->ListFeaturePoints(&ids, &dates, 2500), S_OK);
    // Shards 1 and 2 whole, and 500 of shard 3; nothing of shard 4.
    EXPECT_EQ(Ids(ids), Range(1000, 3500));
    EXPECT_EQ(dates.GetSize(), 2500);
    EXPECT_EQ(dates.GetAt(2499), NowPacked());
}

TEST_P(FeaturePointSet, ListingOfASetWithNoOpenShardFails) {
    for (Set set : kAllSets) {
        std::vector<uint64_t> ids;
        EXPECT_EQ(List(Factory(Type(), set), ids), kFail);
        EXPECT_TRUE(ids.empty());
    }
}

TEST_P(FeaturePointSet, ListingRunsInAscendingShardOrderAndAppendsToTheCallersArrays) {
    CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
    for (uint64_t id : {7000, 3001, 3000, 12}) ASSERT_EQ(Insert(working, id, Point(id)), S_OK);
    ASSERT_EQ(working->RemoveFeaturePoint(3001), S_OK);
    CArray<uint64_t> ids;
    CArray<int64_t> dates;
    ids.Add(1);
    dates.Add(2);
    ASSERT_EQ(working->ListFeaturePoints(&ids, &dates, 0), S_OK);
    EXPECT_EQ(Ids(ids), (std::vector<uint64_t>{1, 12, 3000, 7000}));
    ASSERT_EQ(dates.GetSize(), 4);
    EXPECT_EQ(dates.GetAt(0), 2);
    EXPECT_EQ(dates.GetAt(3), NowPacked());
    // Without a dates array.
    CArray<uint64_t> only;
    ASSERT_EQ(working->ListFeaturePoints(&only, nullptr, 0), S_OK);
    EXPECT_EQ(Ids(only), (std::vector<uint64_t>{12, 3000, 7000}));
}

TEST_P(FeaturePointSet, ListingLimitStopsWithinAShardAndAtAShardsEnd) {
    CSQLiteFaceFeaturePointDBFactory* group = Group(Type());
    for (uint64_t id : {1, 2, 3, 1001, 1002, 2001}) ASSERT_EQ(Insert(group, id, Point(id)), S_OK);
    std::vector<uint64_t> ids;
    ASSERT_EQ(List(group, ids, 2), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{1, 2}));
    ASSERT_EQ(List(group, ids, 3), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{1, 2, 3}));
    ASSERT_EQ(List(group, ids, 4), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{1, 2, 3, 1001}));
    ASSERT_EQ(List(group, ids, 0), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{1, 2, 3, 1001, 1002, 2001}));
}

TEST_P(FeaturePointSet, ListingGoesOnAfterAFailedShardAndAnswersTheLastShard) {
    CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
    for (uint64_t id : {5, 1005, 2005}) ASSERT_EQ(Insert(working, id, Point(id)), S_OK);
    CSQLiteFaceFeaturePointDB* middle = nullptr;
    ASSERT_EQ(working->GetShard(&middle, 1005, false), S_OK);
    ASSERT_EQ(middle->Close(), S_OK);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(working, ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5, 2005}));

    CSQLiteFaceFeaturePointDB* last = nullptr;
    ASSERT_EQ(working->GetShard(&last, 2005, false), S_OK);
    ASSERT_EQ(last->Close(), S_OK);
    EXPECT_EQ(List(working, ids), kFail);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5}));
}

// ------------------------------------------------------------ start

TEST_P(FeaturePointSet, TheStartScanOfTheWorkingSetStopsAtTheFirstGap) {
    for (uint64_t id : {5, 2005}) ASSERT_EQ(Insert(Working(Type()), id, Point(id)), S_OK);
    Restart();
    ASSERT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kWorking, 0)));
    ASSERT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 1)));
    ASSERT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kWorking, 2)));
    EXPECT_EQ(Working(Type())->OpenShardCount(), 1u);
    std::vector<uint64_t> ids;
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5}));
    // The shard above the gap opens when an id needs it.
    DataPtr data;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(2005, data.Receive()), S_OK);
    EXPECT_EQ(Block(data.Get(), 0), Point(2005));
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5, 2005}));
}

TEST_P(FeaturePointSet, WithoutTheFirstShardTheStartScanLoadsNothing) {
    ASSERT_EQ(Insert(Working(Type()), 1005, Point(1005)), S_OK);
    Restart();
    EXPECT_EQ(Working(Type())->OpenShardCount(), 0u);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(Working(Type()), ids), kFail);
    EXPECT_TRUE(ids.empty());
}

TEST_P(FeaturePointSet, TheStartScanOpensEveryShardUpToTheGap) {
    for (uint64_t id : {5, 1005, 2005, 4005}) ASSERT_EQ(Insert(Working(Type()), id, Point(id)), S_OK);
    Restart();
    EXPECT_EQ(Working(Type())->OpenShardCount(), 3u);
    std::vector<uint64_t> ids;
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5, 1005, 2005}));
}

TEST_P(FeaturePointSet, GroupAndIndividualSetsOpenNoShardAtStart) {
    ASSERT_EQ(Insert(Group(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Individual(Type()), 5, Point(5)), S_OK);
    Restart();
    for (Set set : {Set::kGroup, Set::kIndividual}) {
        EXPECT_EQ(Factory(Type(), set)->OpenShardCount(), 0u);
        std::vector<uint64_t> ids;
        EXPECT_EQ(List(Factory(Type(), set), ids), kFail);
        // The point is there for a read by id.
        DataPtr data;
        ASSERT_EQ(Factory(Type(), set)->GetFeaturePoint(5, data.Receive()), S_OK);
        EXPECT_EQ(Block(data.Get(), 0), Point(5));
    }
}

// ------------------------------------------------------------ whole set

TEST_P(FeaturePointSet, DropEmptyShardsDeletesTheFilesOfShardsWithoutLivePoints) {
    CSQLiteFaceFeaturePointDBFactory* working = Working(Type());
    for (uint64_t id : {5, 6, 1005}) ASSERT_EQ(Insert(working, id, Point(id)), S_OK);
    ASSERT_EQ(working->RemoveFeaturePoint(5), S_OK);
    ASSERT_EQ(working->RemoveFeaturePoint(6), S_OK);
    working->DropEmptyShards();

    EXPECT_FALSE(fs::exists(ShardFile(Type(), Set::kWorking, 0)));
    EXPECT_FALSE(fs::exists(CompanionFile(Type(), 0)));
    EXPECT_TRUE(fs::is_regular_file(ShardFile(Type(), Set::kWorking, 1)));
    EXPECT_TRUE(fs::is_regular_file(CompanionFile(Type(), 1)));
    // The stores stay in the map, closed: nothing is open, nothing lists.
    EXPECT_EQ(working->OpenShardCount(), 0u);
    CSQLiteFaceFeaturePointDB* kept = nullptr;
    EXPECT_EQ(working->GetShard(&kept, 1005, false), S_OK);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->m_db, nullptr);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(working, ids), kFail);
    // What the kept shard held was committed by its close.
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 1), 1005), Hex(Point(1005)));
    working->CloseShards();
}

TEST_P(FeaturePointSet, CommitShardsMakesTheWritesVisibleAndFailsOnAClosedShard) {
    ASSERT_EQ(Insert(Group(Type()), 9, Point(9)), S_OK);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 9), "");
    EXPECT_EQ(Group(Type())->CommitShards(), S_OK);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 9), Hex(Point(9)));

    ASSERT_EQ(Insert(Group(Type()), 1009, Point(1009)), S_OK);
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    ASSERT_EQ(Group(Type())->GetShard(&shard, 9, false), S_OK);
    ASSERT_EQ(shard->Close(), S_OK);
    EXPECT_EQ(Group(Type())->CommitShards(), kFail);
    // The other shard was committed all the same.
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 1), 1009), Hex(Point(1009)));
}

TEST_P(FeaturePointSet, CloseShardsEmptiesTheMapAndKeepsTheFiles) {
    for (uint64_t id : {5, 1005}) ASSERT_EQ(Insert(Working(Type()), id, Point(id)), S_OK);
    Working(Type())->CloseShards();
    EXPECT_EQ(Working(Type())->OpenShardCount(), 0u);
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    EXPECT_EQ(Working(Type())->GetShard(&shard, 5, false), kFail);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(Working(Type()), ids), kFail);
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), 5), Hex(Point(5)));
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 1), 1005), Hex(Point(1005)));
}

TEST_P(FeaturePointSet, VacuumOfTheWorkingSetTreatsTheCompanionAsAWorkingShard) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    EXPECT_EQ(Working(Type())->VacuumShards(), S_OK);

    // "_00000000.db" was opened as a working shard with a companion of its
    // own.
    EXPECT_TRUE(fs::is_regular_file(Folder(Type(), Set::kWorking) / "__00000000.db"));
    EXPECT_EQ(Tables(Folder(Type(), Set::kWorking) / "__00000000.db"),
              (std::vector<std::string>{"face_feature_point_table", "last_id_table", "pooled_id_table",
                                        "version_info_table"}));
    // The map stays empty: the set lists nothing until a shard is opened.
    EXPECT_EQ(Working(Type())->OpenShardCount(), 0u);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(Working(Type()), ids), kFail);
    EXPECT_TRUE(ids.empty());
    // The point survived; a read by id opens its shard again.
    EXPECT_EQ(DiskBlob(CompanionFile(Type(), 0), 5), Hex(Point(5)));
    DataPtr data;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(5, data.Receive()), S_OK);
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5}));
}

TEST_P(FeaturePointSet, VacuumOfAPlainSetKeepsItsPointsAndClosesItsShards) {
    ASSERT_EQ(Insert(Group(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Insert(Group(Type()), 1005, Point(1005)), S_OK);
    EXPECT_EQ(Group(Type())->VacuumShards(), S_OK);
    EXPECT_EQ(Group(Type())->OpenShardCount(), 0u);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 5), Hex(Point(5)));
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 1), 1005), Hex(Point(1005)));
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder(Type(), Set::kGroup)))
        names.insert(entry.path().filename().string());
    EXPECT_EQ(names, (std::set<std::string>{"00000000.db", "00000001.db"}));
}

TEST_P(FeaturePointSet, VacuumOfASetThatWasNeverUsedSucceeds) {
    EXPECT_EQ(Individual(Type())->VacuumShards(), S_OK);
    EXPECT_EQ(Individual(Type())->OpenShardCount(), 0u);
}

TEST_P(FeaturePointSet, CommitShardsOfTheWorkingSetSucceedsWhateverItsShardsAnswer) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    ASSERT_EQ(Working(Type())->GetShard(&shard, 5, false), S_OK);
    ASSERT_EQ(shard->Close(), S_OK);
    EXPECT_EQ(Working(Type())->CommitShards(), S_OK);
}

TEST_P(FeaturePointSet, InsertAndUpdateOfSeveralBlocksGoToTheShardOfTheId) {
    Bytes a = Point(1, 3), b = Point(2, 5);
    const void* data[] = {a.data(), b.data()};
    const uint32_t sizes[] = {3, 5};
    CSQLiteFaceFeaturePointDBFactory* individual = Individual(Type());
    EXPECT_EQ(individual->UpdateFeaturePoints(3003, data, sizes, 2), kInvalidArg);
    ASSERT_EQ(individual->InsertFeaturePoints(3003, data, sizes, 2), S_OK);
    EXPECT_EQ(individual->InsertFeaturePoints(3004, data, sizes, 0), kInvalidArg);
    CommitShards();
    fs::path file = ShardFile(Type(), Set::kIndividual, 3);
    EXPECT_EQ(DiskFormat(file, 3003), 1);
    EXPECT_EQ(DiskBlob(file, 3003), Hex(Packed({a, b})));
    const void* one[] = {b.data()};
    ASSERT_EQ(individual->UpdateFeaturePoints(3003, one, sizes + 1, 1), S_OK);
    CommitShards();
    EXPECT_EQ(DiskFormat(file, 3003), 0);
    EXPECT_EQ(DiskBlob(file, 3003), Hex(b));
}

TEST_P(FeaturePointSet, AShardThatCannotBeOpenedDoesNotEnterTheMap) {
    // A file where the set's folder should be.
    fs::create_directories(Database());
    zandb4::testing::WriteFile(Folder(Type(), Set::kGroup), "in the way");
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    EXPECT_EQ(Group(Type())->GetShard(&shard, 5, true), kFail);
    EXPECT_EQ(shard, nullptr);
    EXPECT_EQ(Group(Type())->OpenShardCount(), 0u);
    EXPECT_EQ(Group(Type())->GetShard(&shard, 5, false), kFail);
    EXPECT_EQ(Insert(Group(Type()), 5, Point(5)), kFail);
    EXPECT_EQ(Group(Type())->RemoveFeaturePoint(5), S_OK);
    std::vector<uint64_t> ids;
    EXPECT_EQ(List(Group(Type()), ids), kFail);
}

TEST_P(FeaturePointSet, TheStartScanStopsAtAShardThatDoesNotOpen) {
    for (uint64_t id : {5, 2005}) ASSERT_EQ(Insert(Working(Type()), id, Point(id)), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    // A folder under the name of shard 1: it exists, but no store opens it.
    fs::create_directory(ShardFile(Type(), Set::kWorking, 1));
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(Working(Type())->OpenShardCount(), 1u);
    std::vector<uint64_t> ids;
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5}));
}

TEST_P(FeaturePointSet, AfterAVacuumARemovalInAPlainSetFindsNoOpenShard) {
    ASSERT_EQ(Insert(Group(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(Group(Type())->VacuumShards(), S_OK);
    EXPECT_EQ(Group(Type())->RemoveFeaturePoint(5), S_OK);
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 5), Hex(Point(5)));
    // Once an id has opened the shard again, the removal takes place.
    DataPtr data;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(5, data.Receive()), S_OK);
    EXPECT_EQ(Group(Type())->RemoveFeaturePoint(5), S_OK);
    CommitShards();
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kGroup, 0), 5), "");
}

TEST_P(FeaturePointSet, AnIndexRowCanStandWithoutItsBlob) {
    ASSERT_EQ(Insert(Working(Type()), 5, Point(5)), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    // The blobs are lost; the next start makes an empty companion.
    ASSERT_TRUE(fs::remove(CompanionFile(Type(), 0)));
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_TRUE(fs::is_regular_file(CompanionFile(Type(), 0)));
    std::vector<uint64_t> ids;
    ASSERT_EQ(List(Working(Type()), ids), S_OK);
    EXPECT_EQ(ids, (std::vector<uint64_t>{5}));
    DataPtr data;
    EXPECT_EQ(Working(Type())->GetFeaturePoint(5, data.Receive()), kFail);
    // The update goes by the index; what the companion answers is not
    // looked at.
    CSQLiteFaceFeaturePointDB* shard = nullptr;
    ASSERT_EQ(Working(Type())->GetShard(&shard, 5, false), S_OK);
    Bytes bytes = Point(6);
    EXPECT_EQ(shard->UpdateFeaturePoint(5, bytes.data(), 24, kRawFormat), S_OK);
    EXPECT_EQ(Working(Type())->GetFeaturePoint(5, data.Receive()), kFail);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointSet, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
