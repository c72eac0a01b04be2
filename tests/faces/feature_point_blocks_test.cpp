// Packed blobs built at once (PackBlocks) or block by block (AppendBlock,
// AppendFeaturePoint), compared byte for byte with the layout: a 32-bit
// count, then each block's 32-bit length and its bytes, little-endian. And
// CopyFeaturePoint, which no operation calls: the blob under a new id of
// the id source in another set, format 0, and on a failed write the new id
// given back to the pool of the shard that copied, not of the source.
#include <cstdlib>

#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

// Frees a malloc'd blob when it goes.
struct Blob {
    ~Blob() { std::free(data); }
    Bytes Get() const { return BytesAt(data, size); }
    uint8_t* data = nullptr;
    uint32_t size = 0;
};

// ------------------------------------------------------------ PackBlocks

TEST(FeaturePointPackBlocks, WritesTheCountThenEachLengthAndItsBytes) {
    Bytes a = {0xA1, 0xA2, 0xA3};
    Bytes b(300, 0x5B);
    Bytes c = {0xC1};
    const void* data[] = {a.data(), b.data(), c.data()};
    const uint32_t sizes[] = {3, 300, 1};
    Blob blob;
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::PackBlocks(data, sizes, 3, &blob.data, &blob.size), S_OK);
    // Sum of the lengths, plus 4 for each block, plus 4.
    EXPECT_EQ(blob.size, 3u + 300u + 1u + 3u * 4u + 4u);
    Bytes bytes = blob.Get();
    ASSERT_EQ(bytes.size(), 320u);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 15),
              (Bytes{3, 0, 0, 0, 3, 0, 0, 0, 0xA1, 0xA2, 0xA3, 0x2C, 0x01, 0, 0}));
    EXPECT_EQ(Bytes(bytes.begin() + 15, bytes.begin() + 315), b);
    EXPECT_EQ(Bytes(bytes.begin() + 315, bytes.end()), (Bytes{1, 0, 0, 0, 0xC1}));
}

TEST(FeaturePointPackBlocks, CountZeroIsACountAlone) {
    Blob blob;
    const void* data[] = {nullptr};
    const uint32_t sizes[] = {0};
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::PackBlocks(data, sizes, 0, &blob.data, &blob.size), S_OK);
    EXPECT_EQ(blob.Get(), (Bytes{0, 0, 0, 0}));
}

TEST(FeaturePointPackBlocks, ANullBlockWithASizeKeepsItsRoomAndLength) {
    Bytes a = {1, 2};
    Bytes c = {9};
    const void* data[] = {a.data(), nullptr, c.data()};
    const uint32_t sizes[] = {2, 5, 1};
    Blob blob;
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::PackBlocks(data, sizes, 3, &blob.data, &blob.size), S_OK);
    ASSERT_EQ(blob.size, 2u + 5u + 1u + 12u + 4u);
    Bytes bytes = blob.Get();
    // The room of the null block is there but not looked at.
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 10), (Bytes{3, 0, 0, 0, 2, 0, 0, 0, 1, 2}));
    EXPECT_EQ(Bytes(bytes.begin() + 10, bytes.begin() + 14), (Bytes{5, 0, 0, 0}));
    EXPECT_EQ(Bytes(bytes.begin() + 19, bytes.end()), (Bytes{1, 0, 0, 0, 9}));
    // The data record walks past the uninitialised room by its length.
    DataPtr data2 = DataPtr::Adopt(new CZanDB4FaceFeaturePointData());
    ASSERT_EQ(data2->SetFeaturePoint(blob.data, blob.size), S_OK);
    ASSERT_EQ(data2->SetDataFormat(kPackedFormat), S_OK);
    EXPECT_EQ(Block(data2.Get(), 2), c);
}

// ------------------------------------------------------------ AppendBlock

TEST(FeaturePointAppendBlock, StartsABlobOfOneBlockAndGrowsItBlockByBlock) {
    Blob blob;
    Bytes a = {0x11, 0x12, 0x13, 0x14};
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, a.data(), 4), S_OK);
    EXPECT_EQ(blob.size, 12u);
    EXPECT_EQ(blob.Get(), (Bytes{1, 0, 0, 0, 4, 0, 0, 0, 0x11, 0x12, 0x13, 0x14}));

    Bytes b(0x102, 0x77);
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, b.data(), 0x102), S_OK);
    EXPECT_EQ(blob.size, 12u + 4u + 0x102u);
    Bytes c = {0xEE};
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, c.data(), 1), S_OK);
    // The same bytes PackBlocks makes of the three.
    EXPECT_EQ(blob.Get(), Packed({a, b, c}));
}

TEST(FeaturePointAppendBlock, NothingToAppendIsSuccessAndChangesNothing) {
    Blob blob;
    Bytes a = {1};
    EXPECT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, nullptr, 4), S_OK);
    EXPECT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, a.data(), 0), S_OK);
    EXPECT_EQ(blob.data, nullptr);
    EXPECT_EQ(blob.size, 0u);
    ASSERT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, a.data(), 1), S_OK);
    EXPECT_EQ(CSQLiteFaceFeaturePointDB::AppendBlock(&blob.data, &blob.size, nullptr, 0), S_OK);
    EXPECT_EQ(blob.Get(), Packed({a}));
}

// ------------------------------------------------- AppendFeaturePoint, Copy

class FeaturePointCopy : public FeaturePointTypes {
protected:
    CSQLiteFaceFeaturePointDB* Shard(Set set, uint64_t id) {
        CSQLiteFaceFeaturePointDB* shard = nullptr;
        EXPECT_EQ(Factory(Type(), set)->GetShard(&shard, id, true), S_OK);
        return shard;
    }
    static HRESULT Insert(CSQLiteFaceFeaturePointDB* shard, uint64_t id, const Bytes& bytes, uint32_t format) {
        return shard->InsertFeaturePoint(id, bytes.data(), static_cast<uint32_t>(bytes.size()), format, 0);
    }
    // The id type a caller would copy a group's point with.
    uint32_t IdType() const { return Type() == kPet ? 10 : 9; }
    int64_t LastId(uint32_t idType) const {
        return DiskInteger(CatalogueFile(), "SELECT last_id FROM last_id_table WHERE id_type=" + std::to_string(idType));
    }
};

TEST_P(FeaturePointCopy, AppendFeaturePointAddsTheStoredBlobAsOneBlock) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 5);
    ASSERT_EQ(Insert(working, 5, Point(5, 3), kRawFormat), S_OK);
    ASSERT_EQ(Insert(working, 6, Point(6, 2), kRawFormat), S_OK);
    ASSERT_EQ(working->DeleteFeaturePoint(6, 0), S_OK);
    Blob blob;
    ASSERT_EQ(working->AppendFeaturePoint(&blob.data, &blob.size, 5), S_OK);
    // A softly removed point is appended too.
    ASSERT_EQ(working->AppendFeaturePoint(&blob.data, &blob.size, 6), S_OK);
    EXPECT_EQ(blob.Get(), Packed({Point(5, 3), Point(6, 2)}));
    EXPECT_EQ(working->AppendFeaturePoint(&blob.data, &blob.size, 7), kFail);
    EXPECT_EQ(blob.Get(), Packed({Point(5, 3), Point(6, 2)}));
}

TEST_P(FeaturePointCopy, CopyWritesTheBlobUnderANewIdOfTheSourceAsFormatZero) {
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 3);
    const Bytes packed = Packed({Point(1), Point(2)});
    ASSERT_EQ(Insert(group, 3, packed, kPackedFormat), S_OK);
    uint64_t newId = 0;
    ASSERT_EQ(group->CopyFeaturePoint(Individual(Type()), 3, &newId, Catalogue(), IdType()), S_OK);
    EXPECT_EQ(newId, 1u);
    CommitShards();
    CommitCatalogue();
    fs::path individual = ShardFile(Type(), Set::kIndividual, 0);
    EXPECT_EQ(Disk(individual, "SELECT feature_point_id, update_date, data_format, hex(feature_point) FROM "
                               "face_feature_point_table"),
              (Rows{{"1", std::to_string(NowPacked()), "0", Hex(packed)}}));
    EXPECT_EQ(LastId(IdType()), 1);
}

TEST_P(FeaturePointCopy, CopyFromAWorkingShardReadsASoftlyRemovedPoint) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 4);
    ASSERT_EQ(Insert(working, 4, Point(4), kRawFormat), S_OK);
    ASSERT_EQ(working->DeleteFeaturePoint(4, 0), S_OK);
    uint64_t newId = 0;
    ASSERT_EQ(working->CopyFeaturePoint(Group(Type()), 4, &newId, Catalogue(), IdType()), S_OK);
    ASSERT_NE(newId, 0u);
    DataPtr copy;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(newId, copy.Receive()), S_OK);
    EXPECT_EQ(Block(copy.Get(), 0), Point(4));
}

TEST_P(FeaturePointCopy, CopyRefusesANullFactoryOrSource) {
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 3);
    ASSERT_EQ(Insert(group, 3, Point(3), kRawFormat), S_OK);
    EXPECT_EQ(group->CopyFeaturePoint(nullptr, 3, nullptr, Catalogue(), IdType()), kInvalidArg);
    EXPECT_EQ(group->CopyFeaturePoint(Individual(Type()), 3, nullptr, nullptr, IdType()), kInvalidArg);
}

TEST_P(FeaturePointCopy, CopyOfAnIdWithoutARowFailsAndDrawsNoId) {
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 3);
    uint64_t newId = 55;
    EXPECT_EQ(group->CopyFeaturePoint(Individual(Type()), 3, &newId, Catalogue(), IdType()), kFail);
    CommitCatalogue();
    EXPECT_EQ(LastId(IdType()), -1);
}

TEST_P(FeaturePointCopy, FailedCopyPoolsTheNewIdInTheCopyingShardsOwnPool) {
    CSQLiteFaceFeaturePointDB* group = Shard(Set::kGroup, 3);
    ASSERT_EQ(Insert(group, 3, Point(3), kRawFormat), S_OK);
    // A set without a folder cannot open a shard, so the write fails.
    CSQLiteFaceFeaturePointDBFactory nowhere(CZanTString(), false, false);
    uint64_t newId = 0;
    EXPECT_NE(group->CopyFeaturePoint(&nowhere, 3, &newId, Catalogue(), IdType()), S_OK);
    CommitShards();
    CommitCatalogue();
    // The source drew id 1 and lost it to the shard's pool.
    EXPECT_EQ(LastId(IdType()), 1);
    EXPECT_EQ(Pooled(ShardFile(Type(), Set::kGroup, 0), IdType(), 1), 1);
    EXPECT_EQ(Pooled(CatalogueFile(), IdType(), 1), 0);
}

TEST_P(FeaturePointCopy, FailedCopyFromAWorkingShardPoolsInItsCompanion) {
    CSQLiteFaceFeaturePointDB* working = Shard(Set::kWorking, 3);
    ASSERT_EQ(Insert(working, 3, Point(3), kRawFormat), S_OK);
    CSQLiteFaceFeaturePointDBFactory nowhere(CZanTString(), false, false);
    EXPECT_NE(working->CopyFeaturePoint(&nowhere, 3, nullptr, Catalogue(), IdType()), S_OK);
    CommitShards();
    CommitCatalogue();
    // The copy is forwarded to the companion, whose pool takes the id.
    EXPECT_EQ(Pooled(CompanionFile(Type(), 0), IdType(), 1), 1);
    EXPECT_EQ(Pooled(ShardFile(Type(), Set::kWorking, 0), IdType(), 1), 0);
    EXPECT_EQ(Pooled(CatalogueFile(), IdType(), 1), 0);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointCopy, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
