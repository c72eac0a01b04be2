// The two kinds of feature point shard, reached through the sets of the
// registry's families: a plain shard (group and individual sets) keeps the
// blobs in face_feature_point_table; a working shard keeps an index
// face_feature_table with a remove flag in its own file and the blobs in a
// companion "_" + its name. Writes replace, a soft removal keeps row and
// blob, and a softly removed point can still be read. Each check looks at
// the result code and at what another connection finds in the files.
#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

constexpr char kPointTableSql[] =
    "CREATE TABLE face_feature_point_table (feature_point_id INTEGER PRIMARY KEY, update_date INTEGER, "
    "data_format INTEGER, feature_point BLOB)";
constexpr char kIndexTableSql[] =
    "CREATE TABLE face_feature_table (feature_point_id INTEGER PRIMARY KEY, update_date INTEGER, remove INTEGER)";

class FeaturePointShard : public FeaturePointTypes {
protected:
    CSQLiteFaceFeaturePointDB* Shard(Set set, uint64_t id) {
        CSQLiteFaceFeaturePointDB* shard = nullptr;
        EXPECT_EQ(Factory(Type(), set)->GetShard(&shard, id, true), S_OK);
        return shard;
    }
    HRESULT Insert(CSQLiteFaceFeaturePointDB* shard, uint64_t id, const Bytes& bytes, uint32_t format = kRawFormat,
                   int64_t date = 0) {
        return shard->InsertFeaturePoint(id, bytes.data(), static_cast<uint32_t>(bytes.size()), format, date);
    }
    HRESULT Update(CSQLiteFaceFeaturePointDB* shard, uint64_t id, const Bytes& bytes, uint32_t format = kRawFormat) {
        return shard->UpdateFeaturePoint(id, bytes.data(), static_cast<uint32_t>(bytes.size()), format);
    }
    fs::path GroupShard(uint64_t key = 0) const { return ShardFile(Type(), Set::kGroup, key); }
    fs::path WorkingShard(uint64_t key = 0) const { return ShardFile(Type(), Set::kWorking, key); }
    fs::path Companion(uint64_t key = 0) const { return CompanionFile(Type(), key); }
    static std::string TableSql(const fs::path& file, const std::string& table) {
        Rows rows = Disk(file, "SELECT sql FROM sqlite_master WHERE name='" + table + "'");
        return rows.empty() ? std::string() : rows[0][0];
    }
    static std::vector<uint64_t> List(CSQLiteFaceFeaturePointDB* shard, uint32_t limit = 0) {
        CArray<uint64_t> ids;
        EXPECT_EQ(shard->ListFeaturePoints(&ids, nullptr, limit), S_OK);
        return Ids(ids);
    }
};

// ------------------------------------------------------------------ schema

TEST_P(FeaturePointShard, PlainShardHoldsTheBlobTableBesideTheBaseTables) {
    ASSERT_NE(Shard(Set::kGroup, 5), nullptr);
    ASSERT_NE(Shard(Set::kIndividual, 5), nullptr);
    CommitShards();
    for (const fs::path& file : {GroupShard(), ShardFile(Type(), Set::kIndividual, 0)}) {
        EXPECT_EQ(Tables(file), (std::vector<std::string>{"face_feature_point_table", "last_id_table",
                                                          "pooled_id_table", "version_info_table"}))
            << file;
        EXPECT_EQ(TableSql(file, "face_feature_point_table"), kPointTableSql) << file;
    }
}

TEST_P(FeaturePointShard, WorkingShardFileHoldsTheIndexAndItsCompanionTheBlobs) {
    ASSERT_NE(Shard(Set::kWorking, 5), nullptr);
    CommitShards();
    EXPECT_EQ(Tables(WorkingShard()), (std::vector<std::string>{"face_feature_table", "last_id_table",
                                                                "pooled_id_table", "version_info_table"}));
    EXPECT_EQ(TableSql(WorkingShard(), "face_feature_table"), kIndexTableSql);
    EXPECT_EQ(Tables(Companion()), (std::vector<std::string>{"face_feature_point_table", "last_id_table",
                                                             "pooled_id_table", "version_info_table"}));
    EXPECT_EQ(TableSql(Companion(), "face_feature_point_table"), kPointTableSql);
    auto* working = dynamic_cast<CSQLiteFaceFeaturePointDBWorking*>(Shard(Set::kWorking, 5));
    ASSERT_NE(working, nullptr);
    ASSERT_NE(working->Companion(), nullptr);
    EXPECT_EQ(dynamic_cast<CSQLiteFaceFeaturePointDBWorking*>(working->Companion()), nullptr);
    EXPECT_EQ(dynamic_cast<CSQLiteFaceFeaturePointDBWorking*>(Shard(Set::kGroup, 5)), nullptr);
    EXPECT_EQ(dynamic_cast<CSQLiteFaceFeaturePointDBWorking*>(Shard(Set::kIndividual, 5)), nullptr);
}

// ------------------------------------------------------------------ insert

TEST_P(FeaturePointShard, PlainInsertWritesIdDateFormatAndBytes) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 42);
    const int64_t given = PackedDate(Moment(2020, 1, 2, 3, 4, 5));
    ASSERT_EQ(Insert(shard, 42, Point(42), kPackedFormat, given), S_OK);
    CommitShards();
    EXPECT_EQ(Disk(GroupShard(), "SELECT feature_point_id, update_date, data_format, hex(feature_point) FROM "
                                 "face_feature_point_table"),
              (Rows{{"42", std::to_string(given), "1", Hex(Point(42))}}));
}

TEST_P(FeaturePointShard, InsertWithDateZeroStampsTheMomentOfTheCall) {
    ASSERT_EQ(Insert(Shard(Set::kIndividual, 3), 3, Point(3)), S_OK);
    ASSERT_EQ(Insert(Shard(Set::kWorking, 3), 3, Point(3)), S_OK);
    CommitShards();
    fs::path individual = ShardFile(Type(), Set::kIndividual, 0);
    EXPECT_EQ(DiskInteger(individual, "SELECT update_date FROM face_feature_point_table WHERE feature_point_id=3"),
              NowPacked());
    EXPECT_EQ(DiskInteger(WorkingShard(), "SELECT update_date FROM face_feature_table WHERE feature_point_id=3"),
              NowPacked());
    EXPECT_EQ(DiskInteger(Companion(), "SELECT update_date FROM face_feature_point_table WHERE feature_point_id=3"),
              NowPacked());
}

TEST_P(FeaturePointShard, PlainInsertOfAnIdThatExistsReplacesIt) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 7);
    ASSERT_EQ(Insert(shard, 7, Point(1), kPackedFormat), S_OK);
    ASSERT_EQ(Insert(shard, 7, Point(2, 9), kRawFormat), S_OK);
    CommitShards();
    EXPECT_EQ(Disk(GroupShard(), "SELECT feature_point_id, data_format, hex(feature_point) FROM "
                                 "face_feature_point_table"),
              (Rows{{"7", "0", Hex(Point(2, 9))}}));
    EXPECT_EQ(shard->GetFeaturePointCount(), 1u);
}

TEST_P(FeaturePointShard, WorkingInsertOfAnIdThatExistsReplacesIt) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 7);
    ASSERT_EQ(Insert(shard, 7, Point(1)), S_OK);
    ASSERT_EQ(Insert(shard, 7, Point(2, 9)), S_OK);
    CommitShards();
    EXPECT_EQ(Disk(WorkingShard(), "SELECT feature_point_id, remove FROM face_feature_table"), (Rows{{"7", "0"}}));
    EXPECT_EQ(Disk(Companion(), "SELECT feature_point_id, hex(feature_point) FROM face_feature_point_table"),
              (Rows{{"7", Hex(Point(2, 9))}}));
    EXPECT_EQ(shard->GetFeaturePointCount(), 1u);
}

TEST_P(FeaturePointShard, WorkingInsertBringsASoftlyRemovedPointBackToLife) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 8);
    ASSERT_EQ(Insert(shard, 8, Point(1)), S_OK);
    ASSERT_EQ(shard->DeleteFeaturePoint(8, 0), S_OK);
    ASSERT_FALSE(shard->HasFeaturePoint(8));
    ASSERT_EQ(Insert(shard, 8, Point(5, 12)), S_OK);

    EXPECT_TRUE(shard->HasFeaturePoint(8));
    EXPECT_EQ(shard->GetFeaturePointCount(), 1u);
    EXPECT_EQ(List(shard), (std::vector<uint64_t>{8}));
    CommitShards();
    EXPECT_EQ(DiskRemoveFlag(WorkingShard(), 8), 0);
    EXPECT_EQ(DiskInteger(WorkingShard(), "SELECT COUNT(*) FROM face_feature_table"), 1);
    EXPECT_EQ(DiskBlob(Companion(), 8), Hex(Point(5, 12)));
}

TEST_P(FeaturePointShard, InsertOfNullDataOrSizeZeroIsInvalidArgInBothClasses) {
    Bytes bytes = Point(1);
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 9);
        EXPECT_EQ(shard->InsertFeaturePoint(9, nullptr, 4, kRawFormat, 0), kInvalidArg);
        EXPECT_EQ(shard->InsertFeaturePoint(9, bytes.data(), 0, kRawFormat, 0), kInvalidArg);
        EXPECT_FALSE(shard->HasFeaturePoint(9));
        DataPtr data;
        EXPECT_EQ(shard->GetFeaturePoint(9, data.Receive()), kFail);
    }
}

TEST_P(FeaturePointShard, InsertFeaturePointsOfOneBlockWritesItRawAsFormatZero) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kIndividual, 11);
    Bytes block = Point(11, 10);
    const void* data[] = {block.data()};
    const uint32_t sizes[] = {10};
    ASSERT_EQ(shard->InsertFeaturePoints(11, data, sizes, 1), S_OK);
    CommitShards();
    fs::path file = ShardFile(Type(), Set::kIndividual, 0);
    EXPECT_EQ(DiskFormat(file, 11), 0);
    EXPECT_EQ(DiskBlob(file, 11), Hex(block));
    EXPECT_EQ(DiskInteger(file, "SELECT update_date FROM face_feature_point_table"), NowPacked());
}

TEST_P(FeaturePointShard, InsertFeaturePointsOfSeveralBlocksPacksThemAsFormatOne) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kIndividual, 12);
    std::vector<Bytes> blocks = {Point(1, 3), Point(2, 7), Point(3, 1)};
    const void* data[] = {blocks[0].data(), blocks[1].data(), blocks[2].data()};
    const uint32_t sizes[] = {3, 7, 1};
    ASSERT_EQ(shard->InsertFeaturePoints(12, data, sizes, 3), S_OK);
    CommitShards();
    fs::path file = ShardFile(Type(), Set::kIndividual, 0);
    EXPECT_EQ(DiskFormat(file, 12), 1);
    EXPECT_EQ(DiskBlob(file, 12), Hex(Packed(blocks)));
    DataPtr read;
    ASSERT_EQ(shard->GetFeaturePoint(12, read.Receive()), S_OK);
    EXPECT_EQ(read->GetBlockCount(), 3u);
    EXPECT_EQ(Block(read.Get(), 1), blocks[1]);
}

TEST_P(FeaturePointShard, InsertAndUpdateFeaturePointsRefuseNullArraysAndCountZero) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kIndividual, 13);
    Bytes block = Point(13);
    const void* data[] = {block.data()};
    const uint32_t sizes[] = {static_cast<uint32_t>(block.size())};
    EXPECT_EQ(shard->InsertFeaturePoints(13, nullptr, sizes, 1), kInvalidArg);
    EXPECT_EQ(shard->InsertFeaturePoints(13, data, nullptr, 1), kInvalidArg);
    EXPECT_EQ(shard->InsertFeaturePoints(13, data, sizes, 0), kInvalidArg);
    // A single null block goes on to the insert, which refuses it.
    const void* nullBlock[] = {nullptr};
    EXPECT_EQ(shard->InsertFeaturePoints(13, nullBlock, sizes, 1), kInvalidArg);
    EXPECT_FALSE(shard->HasFeaturePoint(13));
    ASSERT_EQ(shard->InsertFeaturePoints(13, data, sizes, 1), S_OK);
    EXPECT_EQ(shard->UpdateFeaturePoints(13, nullptr, sizes, 1), kInvalidArg);
    EXPECT_EQ(shard->UpdateFeaturePoints(13, data, nullptr, 1), kInvalidArg);
    EXPECT_EQ(shard->UpdateFeaturePoints(13, data, sizes, 0), kInvalidArg);
}

// ------------------------------------------------------------------ update

TEST_P(FeaturePointShard, PlainUpdateRewritesBlobAndFormatAndStampsNow) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 20);
    ASSERT_EQ(Insert(shard, 20, Point(1), kRawFormat, PackedDate(Moment(2001, 1, 1, 0, 0, 0))), S_OK);
    ASSERT_EQ(Update(shard, 20, Packed({Point(2), Point(3)}), kPackedFormat), S_OK);
    CommitShards();
    EXPECT_EQ(Disk(GroupShard(), "SELECT update_date, data_format, hex(feature_point) FROM face_feature_point_table "
                                 "WHERE feature_point_id=20"),
              (Rows{{std::to_string(NowPacked()), "1", Hex(Packed({Point(2), Point(3)}))}}));
}

TEST_P(FeaturePointShard, UpdateOfAPointThatIsNotThereIsInvalidArg) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 21);
        EXPECT_EQ(Update(shard, 21, Point(1)), kInvalidArg);
        EXPECT_FALSE(shard->HasFeaturePoint(21));
    }
}

TEST_P(FeaturePointShard, UpdateOfNullDataOrSizeZeroIsInvalidArg) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 22);
        ASSERT_EQ(Insert(shard, 22, Point(1)), S_OK);
        Bytes bytes = Point(2);
        EXPECT_EQ(shard->UpdateFeaturePoint(22, nullptr, 4, kRawFormat), kInvalidArg);
        EXPECT_EQ(shard->UpdateFeaturePoint(22, bytes.data(), 0, kRawFormat), kInvalidArg);
        DataPtr data;
        ASSERT_EQ(shard->GetFeaturePoint(22, data.Receive()), S_OK);
        EXPECT_EQ(Block(data.Get(), 0), Point(1));
    }
}

TEST_P(FeaturePointShard, WorkingUpdateRewritesTheCompanionBlobAndTheIndexDate) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 23);
    const int64_t old = PackedDate(Moment(2001, 1, 1, 0, 0, 0));
    ASSERT_EQ(Insert(shard, 23, Point(1), kRawFormat, old), S_OK);
    ASSERT_EQ(Update(shard, 23, Point(2, 5), kPackedFormat), S_OK);
    CommitShards();
    EXPECT_EQ(Disk(WorkingShard(), "SELECT update_date, remove FROM face_feature_table WHERE feature_point_id=23"),
              (Rows{{std::to_string(NowPacked()), "0"}}));
    EXPECT_EQ(Disk(Companion(), "SELECT update_date, data_format, hex(feature_point) FROM face_feature_point_table "
                                "WHERE feature_point_id=23"),
              (Rows{{std::to_string(NowPacked()), "1", Hex(Point(2, 5))}}));
}

TEST_P(FeaturePointShard, UpdateOfASoftlyRemovedWorkingPointIsInvalidArgWhileGetStillReadsIt) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 24);
    ASSERT_EQ(Insert(shard, 24, Point(1)), S_OK);
    ASSERT_EQ(shard->DeleteFeaturePoint(24, 0), S_OK);

    EXPECT_EQ(Update(shard, 24, Point(2)), kInvalidArg);
    DataPtr data;
    ASSERT_EQ(shard->GetFeaturePoint(24, data.Receive()), S_OK);
    EXPECT_EQ(Block(data.Get(), 0), Point(1));
    // Through the set as well.
    DataPtr viaSet;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(24, viaSet.Receive()), S_OK);
    EXPECT_EQ(Block(viaSet.Get(), 0), Point(1));
    CommitShards();
    EXPECT_EQ(DiskBlob(Companion(), 24), Hex(Point(1)));
    EXPECT_EQ(DiskRemoveFlag(WorkingShard(), 24), 1);
}

TEST_P(FeaturePointShard, UpdateFeaturePointsOfOneBlockIsFormatZeroAndOfMoreIsPacked) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 25);
    ASSERT_EQ(Insert(shard, 25, Point(1), kPackedFormat), S_OK);
    Bytes one = Point(2, 6);
    const void* data[] = {one.data()};
    const uint32_t sizes[] = {6};
    ASSERT_EQ(shard->UpdateFeaturePoints(25, data, sizes, 1), S_OK);
    CommitShards();
    EXPECT_EQ(DiskFormat(GroupShard(), 25), 0);
    EXPECT_EQ(DiskBlob(GroupShard(), 25), Hex(one));

    Bytes two = Point(3, 2);
    const void* both[] = {one.data(), two.data()};
    const uint32_t bothSizes[] = {6, 2};
    ASSERT_EQ(shard->UpdateFeaturePoints(25, both, bothSizes, 2), S_OK);
    CommitShards();
    EXPECT_EQ(DiskFormat(GroupShard(), 25), 1);
    EXPECT_EQ(DiskBlob(GroupShard(), 25), Hex(Packed({one, two})));
}

// ------------------------------------------------------------------ delete

TEST_P(FeaturePointShard, PlainDeleteRemovesTheRowWhateverThePurgeFlag) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 30);
    ASSERT_EQ(Insert(shard, 30, Point(1)), S_OK);
    ASSERT_EQ(Insert(shard, 31, Point(2)), S_OK);
    EXPECT_EQ(shard->DeleteFeaturePoint(30, 0), S_OK);
    EXPECT_EQ(shard->DeleteFeaturePoint(31, 1), S_OK);
    // An id without a row is no failure.
    EXPECT_EQ(shard->DeleteFeaturePoint(32, 0), S_OK);
    CommitShards();
    EXPECT_EQ(DiskInteger(GroupShard(), "SELECT COUNT(*) FROM face_feature_point_table"), 0);
}

TEST_P(FeaturePointShard, WorkingSoftRemovalMarksThePointAndKeepsRowAndBlob) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 33);
    ASSERT_EQ(Insert(shard, 33, Point(1)), S_OK);
    ASSERT_EQ(Insert(shard, 34, Point(2)), S_OK);
    ASSERT_EQ(shard->DeleteFeaturePoint(33, 0), S_OK);

    EXPECT_FALSE(shard->HasFeaturePoint(33));
    EXPECT_TRUE(shard->HasFeaturePoint(34));
    EXPECT_EQ(shard->GetFeaturePointCount(), 1u);
    EXPECT_EQ(List(shard), (std::vector<uint64_t>{34}));
    CommitShards();
    EXPECT_EQ(DiskRemoveFlag(WorkingShard(), 33), 1);
    EXPECT_EQ(DiskRemoveFlag(WorkingShard(), 34), 0);
    EXPECT_EQ(DiskBlob(Companion(), 33), Hex(Point(1)));
}

TEST_P(FeaturePointShard, WorkingPurgeDeletesIndexRowAndBlob) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kWorking, 35);
    ASSERT_EQ(Insert(shard, 35, Point(1)), S_OK);
    ASSERT_EQ(shard->DeleteFeaturePoint(35, 1), S_OK);
    DataPtr data;
    EXPECT_EQ(shard->GetFeaturePoint(35, data.Receive()), kFail);
    CommitShards();
    EXPECT_EQ(DiskRemoveFlag(WorkingShard(), 35), -1);
    EXPECT_EQ(DiskBlob(Companion(), 35), "");
}

TEST_P(FeaturePointShard, DeleteAllEmptiesBothFilesOfAWorkingShardAndAPlainShard) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 36);
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 36);
    for (uint64_t id : {36, 37}) {
        ASSERT_EQ(Insert(working, id, Point(id)), S_OK);
        ASSERT_EQ(Insert(group, id, Point(id)), S_OK);
    }
    ASSERT_EQ(working->DeleteFeaturePoint(37, 0), S_OK);
    EXPECT_EQ(working->DeleteAllFeaturePoints(), S_OK);
    EXPECT_EQ(group->DeleteAllFeaturePoints(), S_OK);
    CommitShards();
    EXPECT_EQ(DiskInteger(WorkingShard(), "SELECT COUNT(*) FROM face_feature_table"), 0);
    EXPECT_EQ(DiskInteger(Companion(), "SELECT COUNT(*) FROM face_feature_point_table"), 0);
    EXPECT_EQ(DiskInteger(GroupShard(), "SELECT COUNT(*) FROM face_feature_point_table"), 0);
}

// ------------------------------------------------------------------ read

TEST_P(FeaturePointShard, GetFeaturePointMakesADataObjectFromTheRow) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 40);
    const SYSTEMTIME date = Moment(2019, 7, 8, 9, 10, 11);
    ASSERT_EQ(Insert(shard, 40, Packed({Point(1), Point(2)}), kPackedFormat, PackedDate(date)), S_OK);
    DataPtr data;
    ASSERT_EQ(shard->GetFeaturePoint(40, data.Receive()), S_OK);
    ASSERT_TRUE(data);
    EXPECT_EQ(RefCount(data.Get()), 1);
    uint64_t id = 0;
    EXPECT_EQ(data->GetFeaturePointID(&id), S_OK);
    EXPECT_EQ(id, 40u);
    // Only a read by face fills the face id; the type keeps its start value.
    EXPECT_EQ(data->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    uint32_t value = 0;
    EXPECT_EQ(data->GetDataFormat(&value), S_OK);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(data->GetIndividualType(&value), S_OK);
    EXPECT_EQ(value, 1u);
    SYSTEMTIME seen{};
    EXPECT_EQ(data->GetUpdateDate(&seen), S_OK);
    EXPECT_EQ(PackedDate(seen), PackedDate(date));
    EXPECT_EQ(data->GetBlockCount(), 2u);
    EXPECT_EQ(Block(data.Get(), 0), Point(1));
    EXPECT_EQ(Block(data.Get(), 1), Point(2));
}

TEST_P(FeaturePointShard, GetFeaturePointRefusesANullOutAndNullsTheOutForNoRow) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 41);
        EXPECT_EQ(shard->GetFeaturePoint(41, nullptr), kInvalidArg);
        IZanDB4FaceFeaturePointData* out = reinterpret_cast<IZanDB4FaceFeaturePointData*>(&shard);
        EXPECT_EQ(shard->GetFeaturePoint(41, &out), kFail);
        EXPECT_EQ(out, nullptr);
    }
}

TEST_P(FeaturePointShard, AStoredRowWithoutBytesReadsAsADataObjectWithoutABlob) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 42);
    ASSERT_EQ(Insert(shard, 41, Point(41)), S_OK);
    CommitShards();
    {
        // Rows another writer left: an empty blob and a null one.
        SqliteProbe probe(GroupShard());
        ASSERT_EQ(probe.Exec("INSERT INTO face_feature_point_table VALUES (42, 7, 1, x'')"), SQLITE_OK);
        ASSERT_EQ(probe.Exec("INSERT INTO face_feature_point_table VALUES (43, 7, 0, NULL)"), SQLITE_OK);
    }
    for (uint64_t id : {42, 43}) {
        DataPtr data;
        ASSERT_EQ(shard->GetFeaturePoint(id, data.Receive()), S_OK) << id;
        EXPECT_EQ(data->GetBlockCount(), 0u) << id;
        const void* bytes = &data;
        uint32_t size = 5;
        EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail) << id;
        EXPECT_EQ(bytes, nullptr);
        EXPECT_EQ(size, 0u);
        uint64_t read = 0;
        EXPECT_EQ(data->GetFeaturePointID(&read), S_OK);
        EXPECT_EQ(read, id);
    }
    // Appending such a point adds nothing and is no failure.
    uint8_t* blob = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(shard->AppendFeaturePoint(&blob, &size, 42), S_OK);
    EXPECT_EQ(blob, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(FeaturePointWorkingShard, WithoutACompanionReadsCopiesAndAppendsFail) {
    // A working store that was never opened has no companion.
    CSQLiteFaceFeaturePointDBWorking shard;
    ASSERT_EQ(shard.Companion(), nullptr);
    IZanDB4FaceFeaturePointData* out = nullptr;
    EXPECT_EQ(shard.GetFeaturePoint(1, &out), kFail);
    EXPECT_EQ(out, nullptr);
    CSQLiteFaceFeaturePointDBFactory target(CZanTString(u"/nonexistent"), false, false);
    CSQLiteFaceFeaturePointDB source;
    EXPECT_EQ(shard.CopyFeaturePoint(&target, 1, nullptr, &source, 9), kFail);
    uint8_t* blob = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(shard.AppendFeaturePoint(&blob, &size, 1), kFail);
    EXPECT_EQ(blob, nullptr);
}

// ------------------------------------------------------------------ lists

TEST_P(FeaturePointShard, PlainListingAppendsIdsAndDatesWithoutEmptyingTheArrays) {
    CSQLiteFaceFeaturePointDB* shard = Shard(Set::kGroup, 50);
    const int64_t first = PackedDate(Moment(2010, 1, 1, 0, 0, 0));
    const int64_t second = PackedDate(Moment(2011, 1, 1, 0, 0, 0));
    ASSERT_EQ(Insert(shard, 51, Point(1), kRawFormat, second), S_OK);
    ASSERT_EQ(Insert(shard, 50, Point(2), kRawFormat, first), S_OK);
    CArray<uint64_t> ids;
    CArray<int64_t> dates;
    ids.Add(999999);
    dates.Add(-1);
    ASSERT_EQ(shard->ListFeaturePoints(&ids, &dates, 0), S_OK);
    EXPECT_EQ(Ids(ids), (std::vector<uint64_t>{999999, 50, 51}));
    ASSERT_EQ(dates.GetSize(), 3);
    EXPECT_EQ(dates.GetAt(0), -1);
    EXPECT_EQ(dates.GetAt(1), first);
    EXPECT_EQ(dates.GetAt(2), second);
}

TEST_P(FeaturePointShard, ListingTakesALimitAndNoDates) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 52);
        for (uint64_t id = 52; id < 57; ++id) ASSERT_EQ(Insert(shard, id, Point(id)), S_OK);
        EXPECT_EQ(List(shard, 2), (std::vector<uint64_t>{52, 53}));
        EXPECT_EQ(List(shard, 0), (std::vector<uint64_t>{52, 53, 54, 55, 56}));
        EXPECT_EQ(List(shard, 100).size(), 5u);
    }
}

TEST_P(FeaturePointShard, ListingRefusesANullIdsArray) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 53);
        ASSERT_EQ(Insert(shard, 53, Point(1)), S_OK);
        CArray<int64_t> dates;
        EXPECT_EQ(shard->ListFeaturePoints(nullptr, &dates, 0), kInvalidArg);
        EXPECT_TRUE(dates.IsEmpty());
    }
}

TEST_P(FeaturePointShard, EmptyListingIsSuccess) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CArray<uint64_t> ids;
        EXPECT_EQ(Shard(set, 54)->ListFeaturePoints(&ids, nullptr, 0), S_OK);
        EXPECT_TRUE(ids.IsEmpty());
    }
}

TEST_P(FeaturePointShard, ARowWithIdZeroEndsTheListing) {
    for (Set set : {Set::kWorking, Set::kGroup}) {
        CSQLiteFaceFeaturePointDB* shard = Shard(set, 0);
        ASSERT_EQ(Insert(shard, 0, Point(0)), S_OK);
        ASSERT_EQ(Insert(shard, 1, Point(1)), S_OK);
        ASSERT_EQ(Insert(shard, 2, Point(2)), S_OK);
        CArray<uint64_t> ids;
        // The table holds 0 first: the scan ends there, listing nothing.
        EXPECT_EQ(shard->ListFeaturePoints(&ids, nullptr, 0), S_OK);
        EXPECT_TRUE(ids.IsEmpty());
        EXPECT_EQ(shard->GetFeaturePointCount(), 3u);
    }
}

TEST_P(FeaturePointShard, CountOfAPlainShardIsEveryRowAndOfAWorkingShardTheLivePoints) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 60);
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 60);
    for (uint64_t id = 60; id < 64; ++id) {
        ASSERT_EQ(Insert(working, id, Point(id)), S_OK);
        ASSERT_EQ(Insert(group, id, Point(id)), S_OK);
    }
    ASSERT_EQ(working->DeleteFeaturePoint(61, 0), S_OK);
    ASSERT_EQ(working->DeleteFeaturePoint(62, 0), S_OK);
    EXPECT_EQ(working->GetFeaturePointCount(), 2u);
    EXPECT_EQ(group->GetFeaturePointCount(), 4u);
    // The companion keeps all four blobs.
    auto* index = dynamic_cast<CSQLiteFaceFeaturePointDBWorking*>(working);
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index->Companion()->GetFeaturePointCount(), 4u);
}

// ------------------------------------------------------------------ files

TEST_P(FeaturePointShard, DeleteFilesRefusesAnOpenStoreAndRemovesAClosedOne) {
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 70);
    ASSERT_EQ(Insert(group, 70, Point(1)), S_OK);
    EXPECT_EQ(group->DeleteFiles(), kFail);
    EXPECT_TRUE(fs::exists(GroupShard()));
    ASSERT_EQ(group->Close(), S_OK);
    EXPECT_EQ(group->DeleteFiles(), S_OK);
    EXPECT_FALSE(fs::exists(GroupShard()));
}

TEST_P(FeaturePointShard, DeleteFilesOfAClosedWorkingShardRemovesItsCompanionToo) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 71);
    ASSERT_EQ(Insert(working, 71, Point(1)), S_OK);
    EXPECT_EQ(working->DeleteFiles(), kFail);
    ASSERT_EQ(working->Close(), S_OK);
    EXPECT_EQ(working->DeleteFiles(), S_OK);
    EXPECT_FALSE(fs::exists(WorkingShard()));
    EXPECT_FALSE(fs::exists(Companion()));
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointShard, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
