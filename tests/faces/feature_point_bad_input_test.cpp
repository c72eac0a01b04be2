// Feature point shards given what they should survive: a blob of 16 MB, a
// packed blob whose count or block lengths run past its end (refused, never
// read past it), a working shard whose companion file has gone, and a shard
// file that is not a database. Each answers its code, nothing crashes, and
// the other shards are untouched.
#include <fstream>
#include <iterator>

#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

using BadInput = FeaturePointTypes;

std::string FileBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_P(BadInput, ASixteenMegabyteBlobIsStoredAndReadBackWhole) {
    Bytes big = Point(9, 16u * 1024 * 1024);
    ASSERT_EQ(Working(Type())->InsertFeaturePoint(42, big.data(), static_cast<uint32_t>(big.size()), kRawFormat, 0),
              S_OK);
    CommitShards();
    DataPtr data;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(42, data.Receive()), S_OK);
    const void* bytes = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(data->GetFeaturePoint(&bytes, &size, 0), S_OK);
    ASSERT_EQ(size, big.size());
    EXPECT_EQ(BytesAt(bytes, size), big);
    EXPECT_EQ(DiskInteger(CompanionFile(Type(), 0),
                          "SELECT length(feature_point) FROM face_feature_point_table WHERE feature_point_id=42"),
              16 * 1024 * 1024);
}

TEST_P(BadInput, ABlobOfSizeZeroIsRefusedInEverySet) {
    Bytes point = Point(1);
    for (Set set : {Set::kWorking, Set::kGroup, Set::kIndividual}) {
        EXPECT_EQ(Factory(Type(), set)->InsertFeaturePoint(7, point.data(), 0, kRawFormat, 0), kInvalidArg);
        EXPECT_EQ(Factory(Type(), set)->InsertFeaturePoint(7, nullptr, 24, kRawFormat, 0), kInvalidArg);
    }
    CommitShards();
    // The shard files the calls made hold no row.
    EXPECT_EQ(DiskInteger(ShardFile(Type(), Set::kGroup, 0), "SELECT COUNT(*) FROM face_feature_point_table"), 0);
    EXPECT_EQ(DiskInteger(ShardFile(Type(), Set::kWorking, 0), "SELECT COUNT(*) FROM face_feature_table"), 0);
}

TEST_P(BadInput, APackedBlobWhoseCountOrLengthsOverrunItsSizeIsRefusedNotReadPastItsEnd) {
    // Two real blocks, a count that claims five.
    Bytes blob = Packed({Point(1, 8), Point(2, 6)});
    blob[0] = 5;
    ASSERT_EQ(Group(Type())->InsertFeaturePoint(3, blob.data(), static_cast<uint32_t>(blob.size()), kPackedFormat, 0),
              S_OK);
    // The second block claims 200 bytes where 6 follow.
    Bytes overrun = Packed({Point(3, 8), Point(4, 6)});
    overrun[4 + 4 + 8] = 200;
    ASSERT_EQ(Group(Type())->InsertFeaturePoint(4, overrun.data(), static_cast<uint32_t>(overrun.size()),
                                                kPackedFormat, 0),
              S_OK);

    DataPtr counted;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(3, counted.Receive()), S_OK);
    // The count is what the blob says; the blocks are what it holds.
    EXPECT_EQ(counted->GetBlockCount(), 5u);
    EXPECT_EQ(Block(counted.Get(), 1), Point(2, 6));
    const void* bytes = reinterpret_cast<const void*>(1);
    uint32_t size = 99;
    EXPECT_EQ(counted->GetFeaturePoint(&bytes, &size, 2), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);

    DataPtr overrunning;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(4, overrunning.Receive()), S_OK);
    EXPECT_EQ(Block(overrunning.Get(), 0), Point(3, 8));
    EXPECT_EQ(overrunning->GetFeaturePoint(&bytes, &size, 1), kFail);
    EXPECT_EQ(overrunning->GetFeaturePoint(&bytes, &size, 7), kFail);

    // A blob cut inside a length field.
    Bytes cut = {1, 0, 0, 0, 9, 0};
    ASSERT_EQ(Group(Type())->InsertFeaturePoint(5, cut.data(), static_cast<uint32_t>(cut.size()), kPackedFormat, 0),
              S_OK);
    DataPtr truncated;
    ASSERT_EQ(Group(Type())->GetFeaturePoint(5, truncated.Receive()), S_OK);
    EXPECT_EQ(truncated->GetFeaturePoint(&bytes, &size, 0), kFail);
}

TEST_P(BadInput, AWorkingShardWhoseCompanionWentKeepsItsIndexAndLosesOnlyItsBlobs) {
    Bytes first = Point(1);
    Bytes second = Point(2);
    ASSERT_EQ(Working(Type())->InsertFeaturePoint(5, first.data(), static_cast<uint32_t>(first.size()), 0, 0), S_OK);
    ASSERT_EQ(Working(Type())->InsertFeaturePoint(1005, second.data(), static_cast<uint32_t>(second.size()), 0, 0),
              S_OK);
    CommitShards();
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    ASSERT_TRUE(fs::remove(CompanionFile(Type(), 0)));
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);

    // The index still lists the point; its blob is gone, and a read says so.
    CArray<uint64_t> ids;
    EXPECT_EQ(Working(Type())->ListFeaturePoints(&ids, nullptr, 0), S_OK);
    EXPECT_EQ(Ids(ids), (std::vector<uint64_t>{5, 1005}));
    DataPtr lost;
    EXPECT_EQ(Working(Type())->GetFeaturePoint(5, lost.Receive()), kFail);
    EXPECT_FALSE(lost);
    // The other shard reads as before.
    DataPtr kept;
    ASSERT_EQ(Working(Type())->GetFeaturePoint(1005, kept.Receive()), S_OK);
    EXPECT_EQ(Block(kept.Get(), 0), second);
    // The open made a new, empty companion.
    EXPECT_TRUE(fs::exists(CompanionFile(Type(), 0)));
}

TEST_P(BadInput, AShardFileThatIsNoDatabaseFailsAndStaysAsItWas) {
    Bytes point = Point(3);
    ASSERT_EQ(Individual(Type())->InsertFeaturePoint(1001, point.data(), static_cast<uint32_t>(point.size()), 0, 0),
              S_OK);
    CommitShards();
    fs::create_directories(Folder(Type(), Set::kIndividual));
    const std::string garbage(4096, 'x');
    zandb4::testing::WriteFile(ShardFile(Type(), Set::kIndividual, 0), garbage);

    DataPtr data;
    EXPECT_EQ(Individual(Type())->GetFeaturePoint(7, data.Receive()), kFail);
    EXPECT_FALSE(data);
    EXPECT_EQ(Individual(Type())->InsertFeaturePoint(7, point.data(), static_cast<uint32_t>(point.size()), 0, 0),
              kFail);
    // The read opened the shard (SQLite reads a file only when asked), so the
    // removal reaches it and fails there.
    EXPECT_EQ(Individual(Type())->RemoveFeaturePoint(7), kFail);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(FileBytes(ShardFile(Type(), Set::kIndividual, 0)), garbage);
    // The shard beside it is untouched.
    EXPECT_EQ(DiskBlob(ShardFile(Type(), Set::kIndividual, 1), 1001), Hex(point));
}

INSTANTIATE_TEST_SUITE_P(Types, BadInput, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
