// Filling a file record from a row: its own read of "SELECT * FROM
// file_table", a full row handed in by the file store, and the short column
// list with its different handling of classify_id. The "any bit known" rule
// that keeps a partly known record from being completed by a wide request,
// and the reduced mask that leaves classify_id unread.
#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

using FileRecordRows = FileRecordTest;

// Every field of a record read from FileRow{} in full.
void ExpectDefaultRowValues(IZanDB4FileDBRecord* record) {
    FileRow row;
    uint32_t number = 0;
    EXPECT_EQ(record->GetManage(&number), S_OK);
    EXPECT_EQ(number, 1u);
    CZanTString text;
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(text, &diskVsn), S_OK);
    EXPECT_EQ(text.ToUtf8(), row.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    EXPECT_EQ(record->GetFileName(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), row.fileName);
    EXPECT_EQ(record->GetFileFormat(&number), S_OK);
    EXPECT_EQ(number, 3u);
    int64_t packed = 0;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, kShootingPacked);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(height, 480u);
    uint16_t orientation = 0;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6u);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(row.gpsLatitude));
    EXPECT_EQ(longitude, static_cast<float>(row.gpsLongitude));
    EXPECT_EQ(record->GetFileAttributes(&number), S_OK);
    EXPECT_EQ(number, 0x21u);
    uint8_t flag = 0;
    EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetClassifyID(&flag), S_OK);
    EXPECT_EQ(flag, 5u);
    uint64_t id = 0;
    EXPECT_EQ(record->GetAlbumID(&id), S_OK);
    EXPECT_EQ(id, 42u);
    EXPECT_EQ(record->GetParent(&id, nullptr), S_OK);
    EXPECT_EQ(id, 9u);
}

TEST_F(FileRecordRows, OwnFullReadFillsEveryFieldAndMarksThemKnown) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kEveryField);
    EXPECT_EQ(Changed(record.Get()), 0u);
    ExpectDefaultRowValues(record.Get());
    EXPECT_EQ(Known(record.Get()), kEveryField);  // the getters read nothing more
}

TEST_F(FileRecordRows, FullRowHandedInFillsEveryField) {
    InsertFileRow(FileRow{});
    // The row reaches a record that has no file id of its own: the file
    // store sets the id, but the read takes the statement it is given.
    RecordPtr record = NewRecord();
    SteppedRow row(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadFullRow(Impl(record.Get()), kAllColumns, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kEveryField);
    ExpectDefaultRowValues(record.Get());
}

TEST_F(FileRecordRows, OwnReadWithoutFileIdFails) {
    InsertFileRow(FileRow{});
    RecordPtr record = NewRecord();
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), E_FAIL);
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordRows, OwnReadOfAMissingRowFails) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(11);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), E_FAIL);
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordRows, RecordToldItsRowIsAbsentReadsNothingUntilToldOtherwise) {
    // A writer that has just drawn the id says so; the row written here stands
    // for one that appears later, and the record must not read it meanwhile.
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    Impl(record.Get())->SetRowAbsent(true);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), E_FAIL);
    EXPECT_EQ(Known(record.Get()), 0u);
    // A row handed in is still taken: only the record's own read is skipped.
    SteppedRow row(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadFullRow(Impl(record.Get()), kManageBit, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kManageBit);

    Impl(record.Get())->SetRowAbsent(false);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns & ~kManageBit, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kEveryField);
    ExpectDefaultRowValues(record.Get());
}

TEST_F(FileRecordRows, OwnReadOfOneFieldFillsOnlyThatField) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAlbumBit | kGpsBit, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kAlbumBit | kGpsBit);
}

TEST_F(FileRecordRows, WideReadOnARecordThatKnowsOneFieldReadsNothingFurther) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint32_t manage = 0;
    ASSERT_EQ(record->GetManage(&manage), S_OK);
    ASSERT_EQ(Known(record.Get()), kManageBit);

    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kManageBit);
    SteppedRow row(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadFullRow(Impl(record.Get()), kAllColumns, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kManageBit);
    // did_edit, which only a wider read brings, is still unread.
    uint8_t didEdit = 9;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0u);
}

TEST_F(FileRecordRows, FieldsOfAPartlyKnownRecordStillArriveOneByOneThroughTheirGetters) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint32_t manage = 0;
    ASSERT_EQ(record->GetManage(&manage), S_OK);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    ASSERT_EQ(Known(record.Get()), kManageBit);

    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    EXPECT_EQ(Known(record.Get()), kManageBit | kFormatBit);
    CZanTString name;
    EXPECT_EQ(record->GetFileName(name), S_OK);
    EXPECT_EQ(name.ToUtf8(), FileRow{}.fileName);
    EXPECT_EQ(Known(record.Get()), kManageBit | kFormatBit | kNameBit);
}

TEST_F(FileRecordRows, AnyKnownBitOfTheRequestIsEnough) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint8_t favorite = 0;
    ASSERT_EQ(record->GetIsFavorite(&favorite), S_OK);
    // One known bit among several requested: nothing is read.
    EXPECT_EQ(Impl(record.Get())->ReadFields(kFavoriteBit | kDidEditBit | kAlbumBit, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kFavoriteBit);
    // Bits of the request none of which is known: those are read.
    EXPECT_EQ(Impl(record.Get())->ReadFields(kDidEditBit | kAlbumBit, nullptr), S_OK);
    EXPECT_EQ(Known(record.Get()), kFavoriteBit | kDidEditBit | kAlbumBit);
}

TEST_F(FileRecordRows, ShortRowFillsTheFieldsOfItsColumnList) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    SteppedRow row(m_store->m_db, kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadShortRow(Impl(record.Get()), kAllColumns, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kShortListFields);
    EXPECT_EQ(Changed(record.Get()), 0u);

    uint32_t number = 0;
    EXPECT_EQ(record->GetManage(&number), S_OK);
    EXPECT_EQ(number, 1u);
    CZanTString path;
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(path.ToUtf8(), FileRow{}.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    EXPECT_EQ(record->GetFileFormat(&number), S_OK);
    EXPECT_EQ(number, 3u);
    int64_t packed = 0;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, kShootingPacked);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(FileRow{}.gpsLatitude));
    EXPECT_EQ(longitude, static_cast<float>(FileRow{}.gpsLongitude));
    uint32_t width = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(height, 480u);
    uint16_t orientation = 0;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6u);
    uint8_t flag = 0;
    EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    uint64_t id = 0;
    EXPECT_EQ(record->GetAlbumID(&id), S_OK);
    EXPECT_EQ(id, 42u);
    EXPECT_EQ(record->GetParent(&id, nullptr), S_OK);
    EXPECT_EQ(id, 9u);
    EXPECT_EQ(Known(record.Get()), kShortListFields);
}

TEST_F(FileRecordRows, FieldsLeftOutOfTheShortListArriveLaterThroughTheirGetters) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    {
        SteppedRow row(m_store->m_db, kSelectShortRow, 10);
        ASSERT_TRUE(row.HasRow());
        ASSERT_EQ(ReadShortRow(Impl(record.Get()), kAllColumns, row.Row()), S_OK);
    }
    CZanTString name;
    EXPECT_EQ(record->GetFileName(name), S_OK);
    EXPECT_EQ(name.ToUtf8(), FileRow{}.fileName);
    uint32_t attributes = 0;
    EXPECT_EQ(record->GetFileAttributes(&attributes), S_OK);
    EXPECT_EQ(attributes, 0x21u);
    uint8_t detected = 0;
    EXPECT_EQ(record->GetDidDetectFace(&detected), S_OK);
    EXPECT_EQ(detected, 1u);
    EXPECT_EQ(Known(record.Get()), kEveryField);
}

TEST_F(FileRecordRows, ShortRowStoresClassifyIdAsOneForAnyNonZeroValue) {
    FileRow row;
    row.classifyId = 7;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    SteppedRow shortRow(m_store->m_db, kSelectShortRow, 10);
    ASSERT_TRUE(shortRow.HasRow());
    ASSERT_EQ(ReadShortRow(Impl(record.Get()), kClassifyBit, shortRow.Row()), S_OK);
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 1u);
}

TEST_F(FileRecordRows, ShortRowStoresClassifyIdZeroAsZero) {
    FileRow row;
    row.classifyId = 0;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    SteppedRow shortRow(m_store->m_db, kSelectShortRow, 10);
    ASSERT_TRUE(shortRow.HasRow());
    ASSERT_EQ(ReadShortRow(Impl(record.Get()), kAllColumns, shortRow.Row()), S_OK);
    uint8_t classify = 9;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 0u);
}

TEST_F(FileRecordRows, FullReadStoresTheLowEightBitsOfClassifyId) {
    FileRow row;
    row.classifyId = 0x1FF;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 0xFFu);

    RecordPtr fromRow = NewRecord();
    SteppedRow fullRow(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(fullRow.HasRow());
    ASSERT_EQ(ReadFullRow(Impl(fromRow.Get()), kAllColumns, fullRow.Row()), S_OK);
    classify = 0;
    EXPECT_EQ(fromRow->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 0xFFu);
}

TEST_F(FileRecordRows, ReducedMaskLeavesClassifyIdUnread) {
    FileRow row;
    row.classifyId = 7;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    {
        SteppedRow shortRow(m_store->m_db, kSelectShortRow, 10);
        ASSERT_TRUE(shortRow.HasRow());
        ASSERT_EQ(ReadShortRow(Impl(record.Get()), kReducedMask, shortRow.Row()), S_OK);
    }
    EXPECT_EQ(Known(record.Get()), kReducedMask);
    EXPECT_EQ(Known(record.Get()) & kClassifyBit, 0u);
    // The getter then reads it from the row in full: the low eight bits.
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 7u);
}

TEST_F(FileRecordRows, ShortRowOnARecordThatKnowsOneRequestedFieldReadsNothing) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    const uint32_t manage = 4;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    SteppedRow row(m_store->m_db, kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadShortRow(Impl(record.Get()), kReducedMask, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kManageBit);
    uint32_t got = 0;
    EXPECT_EQ(record->GetManage(&got), S_OK);
    EXPECT_EQ(got, 4u);
}

TEST_F(FileRecordRows, ShortRowReadsARequestWithoutKnownBitsAndLeavesOtherFieldsAlone) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    const uint32_t manage = 4;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    SteppedRow row(m_store->m_db, kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    // manage is outside this request, so the request is read, and manage
    // keeps the value set in memory.
    EXPECT_EQ(ReadShortRow(Impl(record.Get()), kPathBit | kAlbumBit, row.Row()), S_OK);
    EXPECT_EQ(Known(record.Get()), kManageBit | kPathBit | kAlbumBit);
    uint32_t got = 0;
    EXPECT_EQ(record->GetManage(&got), S_OK);
    EXPECT_EQ(got, 4u);
}

}  // namespace
}  // namespace file_record_test
