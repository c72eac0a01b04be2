// The tag link writer of the file store (WriteFileTags, ReplaceFileTags) and
// the packing of face rectangles that the face rows of a file hold.
#include "faces/face_rows.h"
#include "catalogue/file_rows.h"
#include "albums/tag_links.h"
#include "file_store_write_fixture.h"

namespace file_store_write_test {
namespace {

class FileStoreWriteTags : public FileStoreWriteTest {
protected:
    void SetUp() override {
        FileStoreWriteTest::SetUp();
        if (HasFatalFailure()) return;
        Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (5, 10), (6, 10), (5, 11)");
    }
};

TEST_F(FileStoreWriteTags, RecordWithoutTagsWritesNothing) {
    RecordPtr record = RecordFor(20);
    int changesBefore = TotalChanges();
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(20, record.Get()), S_OK);
    EXPECT_EQ(TotalChanges(), changesBefore);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 3);
}

TEST_F(FileStoreWriteTags, NullRecordIsRefused) {
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(20, nullptr), E_INVALIDARG);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 3);
}

TEST_F(FileStoreWriteTags, IdsGoInAscendingOrderAsUnsigned) {
    // 64-bit ids compare unsigned: one with the top bit set comes last,
    // although SQLite stores it as a negative number.
    RecordPtr record = RecordFor(20);
    for (uint64_t tag : {uint64_t{9}, uint64_t{0x8000000000000001}, uint64_t{2}, uint64_t{0x100000000}, uint64_t{7}})
        AddTag(record.Get(), tag);
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(20, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(20), (std::vector<uint64_t>{2, 7, 9, 0x100000000, 0x8000000000000001}));
}

TEST_F(FileStoreWriteTags, WriterAddsToWhatIsThere) {
    // Only the replacement deletes first; the writer alone appends, and the
    // table does not refuse a link that exists already.
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 5);
    AddTag(record.Get(), 8);
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(10, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5, 6, 5, 8}));
}

TEST_F(FileStoreWriteTags, LinksGoUnderTheGivenIdNotTheRecords) {
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 3);
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(30, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(30), (std::vector<uint64_t>{3}));
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5, 6}));
}

TEST_F(FileStoreWriteTags, ReplacementDeletesTheOldLinksOfThatFileOnly) {
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 12);
    AddTag(record.Get(), 11);
    EXPECT_EQ(TagFileLinks(*m_store).ReplaceFileTags(10, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{11, 12}));
    EXPECT_EQ(CommittedTagsOf(11), (std::vector<uint64_t>{5}));
}

TEST_F(FileStoreWriteTags, ReplacementWithAClearedListRemovesEveryLink) {
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(record->ClearTags(), S_OK);
    EXPECT_EQ(TagFileLinks(*m_store).ReplaceFileTags(10, record.Get()), S_OK);
    EXPECT_TRUE(CommittedTagsOf(10).empty());
    EXPECT_EQ(CommittedTagsOf(11), (std::vector<uint64_t>{5}));
}

TEST_F(FileStoreWriteTags, RecordReadFromItsRowHasNoTagsToWrite) {
    // A record is not given the links of its row by a read; writing it
    // back adds nothing.
    InsertFileRow(FileRow{});
    RecordPtr record;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, record.Receive()), S_OK);
    uint32_t count = 99;
    ASSERT_EQ(record->GetTagCount(&count), S_OK);
    ASSERT_EQ(count, 0u);
    EXPECT_EQ(TagFileLinks(*m_store).WriteFileTags(10, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5, 6}));
}

// ---- face rectangles ----

RECT Rect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    RECT rect;
    rect.left = left;
    rect.top = top;
    rect.right = right;
    rect.bottom = bottom;
    return rect;
}

TEST(FileStoreWriteRect, SidesPackIntoFourSixteenBitFieldsFromTheTop) {
    int64_t packed = FaceTableRows::PackRect(Rect(100, 50, 300, 250));
    EXPECT_EQ(static_cast<uint64_t>(packed), 0x0064003200C800C8u);
    const unsigned char expected[8] = {0x00, 0x64, 0x00, 0x32, 0x00, 0xC8, 0x00, 0xC8};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(static_cast<unsigned>((static_cast<uint64_t>(packed) >> (56 - 8 * i)) & 0xFF), expected[i])
            << "byte " << i;
}

TEST(FileStoreWriteRect, PackedValueUnpacksToTheSameSides) {
    RECT rect = FaceTableRows::UnpackRect(0x0064003200C800C8);
    EXPECT_EQ(rect.left, 100);
    EXPECT_EQ(rect.top, 50);
    EXPECT_EQ(rect.right, 300);
    EXPECT_EQ(rect.bottom, 250);
}

TEST(FileStoreWriteRect, LargestSidesRoundTrip) {
    RECT rect = FaceTableRows::UnpackRect(FaceTableRows::PackRect(Rect(65535, 65535, 131070, 131070)));
    EXPECT_EQ(rect.left, 65535);
    EXPECT_EQ(rect.top, 65535);
    EXPECT_EQ(rect.right, 131070);
    EXPECT_EQ(rect.bottom, 131070);
}

TEST(FileStoreWriteRect, NegativeWidthSetsEveryBitAboveIt) {
    // right < left: the width -200 is ORed in unmasked and fills bits 63 to
    // 16 before the last shift; no error is reported.
    int64_t packed = FaceTableRows::PackRect(Rect(300, 50, 100, 250));
    EXPECT_EQ(static_cast<uint64_t>(packed), 0xFFFFFFFFFF3800C8u);
    EXPECT_EQ(static_cast<uint64_t>(packed) >> 32, 0xFFFFFFFFu);
    RECT rect = FaceTableRows::UnpackRect(packed);
    EXPECT_EQ(rect.left, 65535);
    EXPECT_EQ(rect.top, 65535);
    EXPECT_EQ(rect.right, 65535 + 0xFF38);
    EXPECT_EQ(rect.bottom, 65535 + 200);
}

TEST(FileStoreWriteRect, PartAbove65535SpillsIntoItsNeighbour) {
    // top 0x10000 does not fit its field and carries into left; right and
    // bottom follow the shifted sides as they are unpacked.
    int64_t packed = FaceTableRows::PackRect(Rect(0, 0x10000, 0, 0x10000));
    EXPECT_EQ(static_cast<uint64_t>(packed), 0x0001000000000000u);
    RECT rect = FaceTableRows::UnpackRect(packed);
    EXPECT_EQ(rect.left, 1);
    EXPECT_EQ(rect.top, 0);
    EXPECT_EQ(rect.right, 1);
    EXPECT_EQ(rect.bottom, 0);
}

}  // namespace
}  // namespace file_store_write_test
