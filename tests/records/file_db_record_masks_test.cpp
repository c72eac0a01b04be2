// The two field masks of a file record as the file store uses them: asking
// what changed, marking columns and relations changed or saved, emptying
// fields with ClearFields (which leaves the known mask, disk_vsn and
// classify_id alone), and the tag set with its ordering and the fetch from
// tag_file_table that never happens.
#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

using FileRecordMasks = FileRecordTest;

std::vector<uint64_t> TagsOf(IZanDB4FileDBRecord* record, HRESULT expected) {
    CArray<uint64_t> tags;
    EXPECT_EQ(record->GetTagList(&tags), expected);
    std::vector<uint64_t> values;
    for (ptrdiff_t i = 0; i < tags.GetSize(); ++i) values.push_back(tags[i]);
    return values;
}

TEST_F(FileRecordMasks, IsChangedWithMaskZeroTellsWhetherAnythingChanged) {
    RecordPtr record = NewRecord();
    EXPECT_FALSE(record->IsChanged(0));
    const uint32_t manage = 1;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    EXPECT_TRUE(record->IsChanged(0));
}

TEST_F(FileRecordMasks, IsChangedWithAMaskTellsWhetherOneOfItsFieldsChanged) {
    RecordPtr record = NewRecord();
    const uint32_t manage = 1;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    EXPECT_TRUE(record->IsChanged(kManageBit));
    EXPECT_FALSE(record->IsChanged(kPathBit));
    EXPECT_TRUE(record->IsChanged(kPathBit | kManageBit));
    EXPECT_FALSE(record->IsChanged(kTagBit));
}

TEST_F(FileRecordMasks, ChangedMaskGivesTheWholeMaskAndWhetherItIsNotZero) {
    RecordPtr record = NewRecord();
    uint32_t mask = 99;
    EXPECT_FALSE(record->GetChangedMask(&mask));
    EXPECT_EQ(mask, 0u);
    const uint64_t tag = 3;
    const uint32_t format = 2;
    ASSERT_EQ(record->AddTag(&tag), S_OK);
    ASSERT_EQ(record->SetFileFormat(&format), S_OK);
    EXPECT_TRUE(record->GetChangedMask(&mask));
    EXPECT_EQ(mask, kTagBit | kFormatBit);
    EXPECT_TRUE(record->GetChangedMask(nullptr));
}

TEST_F(FileRecordMasks, MarkColumnsChangedTrueSetsTheLow24BitsInBothMasks) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    const uint64_t tag = 1;
    ASSERT_EQ(record->AddTag(&tag), S_OK);

    EXPECT_TRUE(record->MarkColumnsChanged(1));
    EXPECT_EQ(Changed(record.Get()), kAllColumns | kTagBit);
    EXPECT_EQ(Known(record.Get()), kAllColumns | kTagBit);
    // The values read stay as they were.
    uint32_t manage = 0;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 1u);
}

TEST_F(FileRecordMasks, MarkColumnsChangedTrueAnswersItsArgument) {
    RecordPtr record = NewRecord();
    EXPECT_EQ(record->MarkColumnsChanged(5), 5);
    EXPECT_EQ(record->MarkColumnsChanged(0), 0);
}

TEST_F(FileRecordMasks, MarkColumnsChangedOnAnUnreadRecordStopsItsGettersFromReading) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_TRUE(record->MarkColumnsChanged(1));
    uint32_t manage = 99;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 0u);  // every column counts as known: nothing is read
}

TEST_F(FileRecordMasks, MarkColumnsChangedFalseClearsOnlyTheColumnBits) {
    RecordPtr record = NewRecord();
    const uint32_t manage = 1;
    const uint64_t tag = 7;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    ASSERT_EQ(record->AddTag(&tag), S_OK);
    EXPECT_FALSE(record->MarkColumnsChanged(0));
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(Known(record.Get()), kManageBit | kTagBit);
}

TEST_F(FileRecordMasks, MarkRelationsChangedFalseClearsOnlyTheRelationBits) {
    RecordPtr record = NewRecord();
    MetaPtr meta = NewMetaRecord();
    const uint32_t manage = 1;
    const uint64_t tag = 7;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    ASSERT_EQ(record->AddTag(&tag), S_OK);
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    EXPECT_FALSE(record->MarkRelationsChanged(0));
    EXPECT_EQ(Changed(record.Get()), kManageBit);
    EXPECT_EQ(Known(record.Get()), kManageBit | kTagBit | kMetaBit);
}

TEST_F(FileRecordMasks, MarkRelationsChangedTrueCopiesTheKnownRelationBits) {
    RecordPtr record = NewRecord();
    const uint64_t tag = 7;
    ASSERT_EQ(record->AddTag(&tag), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));
    ASSERT_EQ(Changed(record.Get()), 0u);

    EXPECT_TRUE(record->MarkRelationsChanged(1));
    // Only the tag set is known; the metadata bit is not made up.
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(Known(record.Get()), kTagBit);
}

TEST_F(FileRecordMasks, MarkRelationsChangedTrueLeavesTheColumnBitsAlone) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_TRUE(record->MarkRelationsChanged(1));
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordMasks, RelationsChangedMaskGivesOnlyTheTopBits) {
    RecordPtr record = NewRecord();
    const uint32_t manage = 1;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    uint32_t mask = 99;
    EXPECT_FALSE(record->GetRelationsChangedMask(&mask));
    EXPECT_EQ(mask, 0u);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    EXPECT_TRUE(record->GetRelationsChangedMask(&mask));
    EXPECT_EQ(mask, kMetaBit);
    EXPECT_TRUE(record->GetRelationsChangedMask(nullptr));
}

TEST_F(FileRecordMasks, ClearFieldsWithMaskZeroAnswersFalseAndDoesNothing) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_FALSE(record->ClearFields(0));
    EXPECT_EQ(Changed(record.Get()), 0u);
    uint32_t manage = 0;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 1u);
}

TEST_F(FileRecordMasks, ClearFieldsEmptiesEveryColumnButDiskVsnAndClassifyId) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    const uint64_t parent = 3;
    const SYSTEMTIME parentDate = MakeTime(2020, 1, 2, 3, 4, 5);
    ASSERT_EQ(record->SetParent(&parent, &parentDate), S_OK);
    ASSERT_FALSE(record->MarkColumnsChanged(0));

    EXPECT_TRUE(record->ClearFields(kAllColumns));
    EXPECT_EQ(Changed(record.Get()), kAllColumns);
    EXPECT_EQ(Known(record.Get()), kEveryField);

    uint32_t number = 99;
    EXPECT_EQ(record->GetManage(&number), S_OK);
    EXPECT_EQ(number, 0u);
    CZanTString text;
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(text, &diskVsn), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(diskVsn, 0x1234ABCDu);  // not cleared
    EXPECT_EQ(record->GetFileName(text), E_FAIL);
    number = 99;
    EXPECT_EQ(record->GetFileFormat(&number), S_OK);
    EXPECT_EQ(number, 0u);
    int64_t packed = 99;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, 0);
    uint32_t width = 99, height = 99;
    EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
    EXPECT_EQ(width, 0u);
    EXPECT_EQ(height, 0u);
    uint16_t orientation = 99;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 0u);
    float latitude = 99, longitude = 99;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 0.0f);
    EXPECT_EQ(longitude, 0.0f);
    number = 99;
    EXPECT_EQ(record->GetFileAttributes(&number), S_OK);
    EXPECT_EQ(number, 0u);
    uint8_t flag = 99;
    EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(record->GetClassifyID(&flag), S_OK);
    EXPECT_EQ(flag, 5u);  // not cleared
    uint64_t id = 99;
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetParent(&id, &date), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_TRUE(IsZeroTime(date));
    EXPECT_EQ(record->GetAlbumID(&id), S_OK);
    EXPECT_EQ(id, 0u);
}

TEST_F(FileRecordMasks, ClearFieldsOfClassifyIdOnlyMarksItChanged) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint8_t classify = 0;
    ASSERT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_TRUE(record->ClearFields(kClassifyBit));
    EXPECT_EQ(Changed(record.Get()), kClassifyBit);
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 5u);
}

TEST_F(FileRecordMasks, AFieldEmptiedByClearFieldsStaysEmptyAfterALaterRead) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    CZanTString path;
    ASSERT_EQ(record->GetFilePath(path, nullptr), S_OK);
    ASSERT_TRUE(record->ClearFields(kPathBit));

    EXPECT_EQ(Impl(record.Get())->ReadFields(kPathBit, nullptr), S_OK);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_EQ(record->GetFilePath(path, nullptr), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_EQ(Changed(record.Get()), kPathBit);
}

TEST_F(FileRecordMasks, ClearFieldsLeavesTheKnownMaskAsItWas) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint32_t format = 0;
    ASSERT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_TRUE(record->ClearFields(kFormatBit | kAlbumBit));
    EXPECT_EQ(Known(record.Get()), kFormatBit);
    EXPECT_EQ(Changed(record.Get()), kFormatBit | kAlbumBit);
}

TEST_F(FileRecordMasks, ClearAllClearsEveryColumnAndMarksThemChanged) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_EQ(record->ClearAll(), S_OK);
    EXPECT_EQ(Changed(record.Get()), kAllColumns);
    uint32_t manage = 99;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 0u);
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 5u);
}

TEST_F(FileRecordMasks, TagsComeOutInAscendingUnsignedOrder) {
    RecordPtr record = NewRecord();
    for (uint64_t tag : {0x8000000000000001ull, 0x100000000ull, 5ull, 0xFFFFFFFFull, 0x100000001ull, 1ull}) {
        EXPECT_EQ(record->AddTag(&tag), S_OK);
    }
    uint32_t count = 0;
    EXPECT_EQ(record->GetTagCount(&count), S_OK);
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(TagsOf(record.Get(), S_OK), (std::vector<uint64_t>{1ull, 5ull, 0xFFFFFFFFull, 0x100000000ull,
                                                                 0x100000001ull, 0x8000000000000001ull}));
}

TEST_F(FileRecordMasks, AddTagMarksTheTagSetInBothMasksAndKeepsOneOfEach) {
    RecordPtr record = NewRecord();
    const uint64_t tag = 4;
    EXPECT_EQ(record->AddTag(&tag), S_OK);
    EXPECT_EQ(record->AddTag(&tag), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(Known(record.Get()), kTagBit);
    EXPECT_EQ(TagsOf(record.Get(), S_OK), std::vector<uint64_t>{4});
}

TEST_F(FileRecordMasks, RemoveTagErasesAPresentTagAndMarksTheSet) {
    RecordPtr record = NewRecord();
    for (uint64_t tag : {1ull, 2ull, 3ull}) ASSERT_EQ(record->AddTag(&tag), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));
    const uint64_t two = 2;
    EXPECT_EQ(record->RemoveTag(&two), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(TagsOf(record.Get(), S_OK), (std::vector<uint64_t>{1, 3}));
}

TEST_F(FileRecordMasks, RemoveTagOfAnAbsentTagStillMarksTheSet) {
    RecordPtr record = NewRecord();
    const uint64_t absent = 8;
    EXPECT_EQ(record->RemoveTag(&absent), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(Known(record.Get()), kTagBit);
    uint32_t count = 99;
    EXPECT_EQ(record->GetTagCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FileRecordMasks, ClearTagsEmptiesTheSetAndMarksIt) {
    RecordPtr record = NewRecord();
    for (uint64_t tag : {1ull, 2ull}) ASSERT_EQ(record->AddTag(&tag), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));
    EXPECT_EQ(record->ClearTags(), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(TagsOf(record.Get(), E_FAIL), std::vector<uint64_t>{});
}

TEST_F(FileRecordMasks, ClearTagsOnAnUnreadRecordMarksTheSetWithoutFetching) {
    InsertFileRow(FileRow{});
    Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (1, 10), (2, 10)");
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(record->ClearTags(), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(Known(record.Get()), kTagBit);
    uint32_t count = 99;
    EXPECT_EQ(record->GetTagCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FileRecordMasks, TagListEmptiesTheCallersArrayFirst) {
    RecordPtr record = NewRecord();
    const uint64_t tag = 30;
    ASSERT_EQ(record->AddTag(&tag), S_OK);
    CArray<uint64_t> tags;
    for (uint64_t value : {7ull, 8ull, 9ull}) tags.Add(value);
    EXPECT_EQ(record->GetTagList(&tags), S_OK);
    ASSERT_EQ(tags.GetSize(), 1);
    EXPECT_EQ(tags[0], 30u);
}

TEST_F(FileRecordMasks, EmptyTagListFailsAndFreesTheCallersBuffer) {
    RecordPtr record = NewRecord();
    CArray<uint64_t> tags;
    for (uint64_t value : {7ull, 8ull, 9ull}) tags.Add(value);
    ASSERT_GT(tags.GetCapacity(), 0);
    EXPECT_EQ(record->GetTagList(&tags), E_FAIL);
    EXPECT_EQ(tags.GetSize(), 0);
    EXPECT_EQ(tags.GetCapacity(), 0);
}

TEST_F(FileRecordMasks, RecordReadFromARowHasNoTagsEvenIfTheTableHasRows) {
    InsertFileRow(FileRow{});
    Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (1, 10), (2, 10), (3, 10)");
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);

    uint32_t count = 99;
    EXPECT_EQ(record->GetTagCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(TagsOf(record.Get(), E_FAIL), std::vector<uint64_t>{});
    Impl(record.Get())->ReadRelations(kTagBit);
    EXPECT_EQ(Known(record.Get()) & kTagBit, 0u);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordMasks, AddTagOnARecordWithTagRowsHoldsOnlyWhatWasAdded) {
    InsertFileRow(FileRow{});
    Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (1, 10), (2, 10)");
    RecordPtr record = RecordFor(10);
    const uint64_t tag = 50;
    EXPECT_EQ(record->AddTag(&tag), S_OK);
    EXPECT_EQ(TagsOf(record.Get(), S_OK), std::vector<uint64_t>{50});
}

}  // namespace
}  // namespace file_record_test
