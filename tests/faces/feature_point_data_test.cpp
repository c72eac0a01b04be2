// The feature point data record: a blob with its key, date and format, the
// blocks of a packed blob (format 1) walked by their lengths, the whole blob
// for any other format, and what a shard read puts into it.
#include "feature_point_fixture.h"

namespace feature_point_test {
namespace {

DataPtr NewData() { return DataPtr::Adopt(new CZanDB4FaceFeaturePointData()); }

DataPtr DataWith(const Bytes& blob, uint32_t format) {
    DataPtr data = NewData();
    EXPECT_EQ(data->SetFeaturePoint(blob.data(), static_cast<uint32_t>(blob.size())), S_OK);
    EXPECT_EQ(data->SetDataFormat(format), S_OK);
    return data;
}

// ------------------------------------------------------------------ the object

TEST(FeaturePointData, StartsWithOneReferencePersonTypeAndNoBlob) {
    DataPtr data = NewData();
    EXPECT_EQ(RefCount(data.Get()), 1);
    uint32_t value = 99;
    EXPECT_EQ(data->GetIndividualType(&value), S_OK);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(data->GetDataFormat(&value), S_OK);
    EXPECT_EQ(value, 0u);
    uint64_t id = 99;
    EXPECT_EQ(data->GetFeaturePointID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(data->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(data->GetBlockCount(), 0u);
    const void* bytes = &id;
    uint32_t size = 7;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(FeaturePointData, QueryInterfaceAnswersItsIdentifierWithANewReference) {
    DataPtr data = NewData();
    void* out = nullptr;
    ASSERT_EQ(data->QueryInterface(IID_IZanDB4FaceFeaturePointData, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(data.Get()));
    EXPECT_EQ(RefCount(data.Get()), 2);
    static_cast<IZanDB4FaceFeaturePointData*>(out)->Release();
    out = data.Get();
    EXPECT_EQ(data->QueryInterface(IID_IZanDB4FaceFeaturePointGroup, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(RefCount(data.Get()), 1);
    EXPECT_EQ(data->AddRef(), 2u);
    EXPECT_EQ(data->Release(), 1u);
    EXPECT_EQ(data.Detach()->Release(), 0u);
}

TEST(FeaturePointData, PlainAccessorsKeepValuesAndRefuseNullOuts) {
    DataPtr data = NewData();
    EXPECT_EQ(data->SetFeaturePointID(0xFFFFFFFFFFFFFFF0ull), S_OK);
    EXPECT_EQ(data->SetFaceID(77), S_OK);
    EXPECT_EQ(data->SetIndividualType(2), S_OK);
    EXPECT_EQ(data->SetDataFormat(5), S_OK);
    const SYSTEMTIME date = Moment(2023, 12, 31, 23, 59, 58);
    EXPECT_EQ(data->SetUpdateDate(&date), S_OK);
    EXPECT_EQ(data->SetUpdateDate(nullptr), kInvalidArg);

    uint64_t id = 0;
    EXPECT_EQ(data->GetFeaturePointID(&id), S_OK);
    EXPECT_EQ(id, 0xFFFFFFFFFFFFFFF0ull);
    EXPECT_EQ(data->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 77u);
    uint32_t value = 0;
    EXPECT_EQ(data->GetIndividualType(&value), S_OK);
    EXPECT_EQ(value, 2u);
    EXPECT_EQ(data->GetDataFormat(&value), S_OK);
    EXPECT_EQ(value, 5u);
    SYSTEMTIME seen{};
    EXPECT_EQ(data->GetUpdateDate(&seen), S_OK);
    EXPECT_EQ(PackedDate(seen), PackedDate(date));

    EXPECT_EQ(data->GetFeaturePointID(nullptr), kInvalidArg);
    EXPECT_EQ(data->GetFaceID(nullptr), kInvalidArg);
    EXPECT_EQ(data->GetIndividualType(nullptr), kInvalidArg);
    EXPECT_EQ(data->GetDataFormat(nullptr), kInvalidArg);
    EXPECT_EQ(data->GetUpdateDate(nullptr), kInvalidArg);
}

// ------------------------------------------------------------ SetFeaturePoint

TEST(FeaturePointData, SetFeaturePointTakesACopy) {
    Bytes blob = Point(1);
    DataPtr data = DataWith(blob, kRawFormat);
    const void* held = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(data->GetFeaturePoint(&held, &size, 0), S_OK);
    EXPECT_NE(held, static_cast<const void*>(blob.data()));
    blob[0] ^= 0xFF;
    EXPECT_EQ(BytesAt(held, size), Point(1));
}

TEST(FeaturePointData, SetFeaturePointWithTheHeldPointerOnlyTakesTheSize) {
    DataPtr data = DataWith(Point(2, 16), kRawFormat);
    const void* held = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(data->GetFeaturePoint(&held, &size, 0), S_OK);
    ASSERT_EQ(size, 16u);

    EXPECT_EQ(data->SetFeaturePoint(held, 6), S_OK);
    const void* after = nullptr;
    ASSERT_EQ(data->GetFeaturePoint(&after, &size, 0), S_OK);
    // The same block, not a copy, cut to the new size.
    EXPECT_EQ(after, held);
    EXPECT_EQ(size, 6u);
    Bytes full = Point(2, 16);
    EXPECT_EQ(BytesAt(after, size), Bytes(full.begin(), full.begin() + 6));
}

TEST(FeaturePointData, SetFeaturePointWithANullPointerDropsTheBlobButKeepsTheSize) {
    DataPtr data = DataWith(Point(3), kRawFormat);
    EXPECT_EQ(data->SetFeaturePoint(nullptr, 9), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 0u);
    const void* bytes = &data;
    uint32_t size = 0;
    // No blob: E_FAIL, with the outs set to what the object holds.
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 9u);
}

TEST(FeaturePointData, SetFeaturePointWithSizeZeroLeavesNoBlob) {
    DataPtr data = DataWith(Point(4), kRawFormat);
    Bytes other = Point(5);
    EXPECT_EQ(data->SetFeaturePoint(other.data(), 0), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 0u);
    const void* bytes = &data;
    uint32_t size = 1;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
}

// ------------------------------------------------------------ GetFeaturePoint

TEST(FeaturePointData, GetFeaturePointWithBothOutsNullIsInvalidArg) {
    DataPtr raw = DataWith(Point(6), kRawFormat);
    EXPECT_EQ(raw->GetFeaturePoint(nullptr, nullptr, 0), kInvalidArg);
    DataPtr packed = DataWith(Packed({Point(6)}), kPackedFormat);
    EXPECT_EQ(packed->GetFeaturePoint(nullptr, nullptr, 0), kInvalidArg);
}

TEST(FeaturePointData, GetFeaturePointTakesEitherOutAlone) {
    DataPtr data = DataWith(Packed({Point(7, 3), Point(8, 5)}), kPackedFormat);
    uint32_t size = 0;
    EXPECT_EQ(data->GetFeaturePoint(nullptr, &size, 1), S_OK);
    EXPECT_EQ(size, 5u);
    const void* bytes = nullptr;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, nullptr, 1), S_OK);
    EXPECT_EQ(BytesAt(bytes, 5), Point(8, 5));
}

TEST(FeaturePointData, GetFeaturePointWithIndexOneOnAFormatZeroBlobGivesTheWholeBlob) {
    Bytes blob = Point(9, 30);
    DataPtr data = DataWith(blob, kRawFormat);
    EXPECT_EQ(Block(data.Get(), 1), blob);
    EXPECT_EQ(Block(data.Get(), 0), blob);
    EXPECT_EQ(Block(data.Get(), 12345), blob);
}

TEST(FeaturePointData, AnyFormatButOneIsOneWholeBlock) {
    // A packed-looking blob under another format is not walked.
    Bytes blob = Packed({Point(10, 4), Point(11, 4)});
    DataPtr data = DataWith(blob, 7);
    EXPECT_EQ(data->GetBlockCount(), 1u);
    EXPECT_EQ(Block(data.Get(), 1), blob);
}

TEST(FeaturePointData, PackedBlobGivesEachBlockByIndex) {
    std::vector<Bytes> blocks = {Point(12, 3), Point(13, 17), Point(14, 1)};
    DataPtr data = DataWith(Packed(blocks), kPackedFormat);
    EXPECT_EQ(data->GetBlockCount(), 3u);
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(Block(data.Get(), i), blocks[i]) << i;
    // The pointer handed out points into the object.
    const void* bytes = nullptr;
    uint32_t size = 0;
    const void* whole = nullptr;
    ASSERT_EQ(data->SetDataFormat(kRawFormat), S_OK);
    ASSERT_EQ(data->GetFeaturePoint(&whole, &size, 0), S_OK);
    ASSERT_EQ(data->SetDataFormat(kPackedFormat), S_OK);
    ASSERT_EQ(data->GetFeaturePoint(&bytes, &size, 1), S_OK);
    EXPECT_EQ(static_cast<const uint8_t*>(bytes), static_cast<const uint8_t*>(whole) + 4 + 4 + 3 + 4);
}

TEST(FeaturePointData, PackedBlobIndexPastTheLastBlockFails) {
    DataPtr data = DataWith(Packed({Point(15, 3), Point(16, 3)}), kPackedFormat);
    const void* bytes = &data;
    uint32_t size = 8;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 2), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(FeaturePointData, PackedBlobWalkDoesNotConsultTheStoredCount) {
    // The count says 1, but two blocks follow: the second is still found,
    // and the block count answers the stored number.
    Bytes blob = Packed({Point(17, 4), Point(18, 6)});
    blob[0] = 1;
    DataPtr data = DataWith(blob, kPackedFormat);
    EXPECT_EQ(data->GetBlockCount(), 1u);
    EXPECT_EQ(Block(data.Get(), 1), Point(18, 6));
    // And a count of 5 over two blocks: the third is not there.
    blob[0] = 5;
    DataPtr more = DataWith(blob, kPackedFormat);
    EXPECT_EQ(more->GetBlockCount(), 5u);
    const void* bytes = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(more->GetFeaturePoint(&bytes, &size, 2), kFail);
}

TEST(FeaturePointData, PackedBlobUnderFourBytesFails) {
    Bytes blob = {1, 0, 0};
    DataPtr data = DataWith(blob, kPackedFormat);
    EXPECT_EQ(data->GetBlockCount(), 0u);
    const void* bytes = &data;
    uint32_t size = 3;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(FeaturePointData, PackedBlobWithABlockOverrunningTheSizeFails) {
    Bytes blob = Packed({Point(19, 4), Point(20, 8)});
    // The second block claims 9 bytes where 8 are left.
    blob[4 + 4 + 4] = 9;
    DataPtr data = DataWith(blob, kPackedFormat);
    EXPECT_EQ(Block(data.Get(), 0), Point(19, 4));
    const void* bytes = &data;
    uint32_t size = 1;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 1), kFail);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0u);
    // A length near 4 GiB must not wrap around the end either.
    Bytes huge = Packed({Point(21, 4)});
    huge[4] = 0xFF;
    huge[5] = 0xFF;
    huge[6] = 0xFF;
    huge[7] = 0xFF;
    DataPtr wrapped = DataWith(huge, kPackedFormat);
    EXPECT_EQ(wrapped->GetFeaturePoint(&bytes, &size, 0), kFail);
}

TEST(FeaturePointData, PackedBlobWithACountOnlyHasNoBlock) {
    DataPtr data = DataWith(Packed({}), kPackedFormat);
    EXPECT_EQ(data->GetBlockCount(), 0u);
    const void* bytes = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(data->GetFeaturePoint(&bytes, &size, 0), kFail);
}

TEST(FeaturePointData, PackedBlockCountIsReadLittleEndian) {
    Bytes blob = Packed({Point(22, 2)});
    blob[0] = 0x02;
    blob[1] = 0x01;
    DataPtr data = DataWith(blob, kPackedFormat);
    EXPECT_EQ(data->GetBlockCount(), 0x0102u);
}

TEST(FeaturePointData, BlockCountOfAnotherFormatIsOneWithABlobAndZeroWithout) {
    DataPtr data = DataWith(Point(23), kRawFormat);
    EXPECT_EQ(data->GetBlockCount(), 1u);
    ASSERT_EQ(data->SetDataFormat(2), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 1u);
    ASSERT_EQ(data->SetFeaturePoint(nullptr, 0), S_OK);
    EXPECT_EQ(data->GetBlockCount(), 0u);
}

}  // namespace
}  // namespace feature_point_test
