// The file record's getters: what a record without a row gives, how each
// column of file_table arrives in memory when its getter first needs it
// (thumbnail size split in two halves, REAL coordinates narrowed to float,
// flags read as 0 or 1), the getter of did_edit that never reads, the
// parent's date that a read does not bring, and QueryInterface.
#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

using FileRecordFields = FileRecordTest;

TEST_F(FileRecordFields, RecordWithoutFileIdGivesDefaultsFromEveryGetter) {
    InsertFileRow(FileRow{});  // a row exists, but the record stands for none
    RecordPtr record = NewRecord();
    ASSERT_TRUE(record);

    uint64_t id = 99;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    uint32_t number = 99;
    EXPECT_EQ(record->GetManage(&number), S_OK);
    EXPECT_EQ(number, 0u);
    CZanTString text(u"left over");
    uint32_t diskVsn = 99;
    EXPECT_EQ(record->GetFilePath(text, &diskVsn), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(diskVsn, 0u);
    text = u"left over";
    EXPECT_EQ(record->GetFileName(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());
    number = 99;
    EXPECT_EQ(record->GetFileFormat(&number), S_OK);
    EXPECT_EQ(number, 0u);
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetShootingDate(&date), E_INVALIDARG);
    EXPECT_TRUE(IsZeroTime(date));
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
    flag = 99;
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    flag = 99;
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    uint64_t parentId = 99;
    date = FilledTime();
    EXPECT_EQ(record->GetParent(&parentId, &date), S_OK);
    EXPECT_EQ(parentId, 0u);
    EXPECT_TRUE(IsZeroTime(date));
    flag = 99;
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    flag = 99;
    EXPECT_EQ(record->GetClassifyID(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    uint64_t albumId = 99;
    EXPECT_EQ(record->GetAlbumID(&albumId), S_OK);
    EXPECT_EQ(albumId, 0u);
    number = 99;
    EXPECT_EQ(record->GetTagCount(&number), S_OK);
    EXPECT_EQ(number, 0u);
    CArray<uint64_t> tags;
    EXPECT_EQ(record->GetTagList(&tags), E_FAIL);
    EXPECT_EQ(tags.GetSize(), 0);
    IZanDB4FileMetaDBRecord* meta = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(record->GetMetaRecord(&meta), E_FAIL);
    EXPECT_EQ(meta, nullptr);

    // Nothing was read and nothing changed.
    EXPECT_EQ(Known(record.Get()), 0u);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordFields, RecordWhoseRowIsMissingGivesDefaultsAndNoDate) {
    RecordPtr record = RecordFor(500);  // no row 500
    CZanTString path;
    EXPECT_EQ(record->GetFilePath(path, nullptr), E_FAIL);
    uint32_t manage = 99;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 0u);
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetShootingDate(&date), E_INVALIDARG);
    EXPECT_TRUE(IsZeroTime(date));
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordFields, EachGetterReadsItsOwnColumnFromTheRow) {
    FileRow row;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);

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
    uint16_t orientation = 0;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6u);
    EXPECT_EQ(record->GetFileAttributes(&number), S_OK);
    EXPECT_EQ(number, 0x21u);
    uint8_t flag = 0;
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    flag = 0;
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    flag = 0;
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(record->GetClassifyID(&flag), S_OK);
    EXPECT_EQ(flag, 5u);
    uint64_t id = 0;
    EXPECT_EQ(record->GetAlbumID(&id), S_OK);
    EXPECT_EQ(id, 42u);
    EXPECT_EQ(record->GetParent(&id, nullptr), S_OK);
    EXPECT_EQ(id, 9u);

    // Each read marked its own field known; none marked anything changed.
    EXPECT_EQ(Known(record.Get()), kManageBit | kPathBit | kNameBit | kFormatBit | kDateBit | kOrientationBit |
                                       kAttributesBit | kFavoriteBit | kDetectFaceBit | kUploadBit | kClassifyBit |
                                       kAlbumBit | kParentBit);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordFields, AGetterReadsOnlyItsOwnField) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    EXPECT_EQ(Known(record.Get()), kFormatBit);
}

TEST_F(FileRecordFields, ShootingDateUnpacksTheColumn) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetShootingDate(&date), S_OK);
    EXPECT_TRUE(SameTime(date, MakeTime(2021, 3, 4, 5, 6, 7)));
}

TEST_F(FileRecordFields, ShootingDateZeroInTheRowGivesAZeroDateWithSuccess) {
    FileRow row;
    row.shootingDate = 0;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetShootingDate(&date), S_OK);
    EXPECT_TRUE(IsZeroTime(date));
}

TEST_F(FileRecordFields, ThumbnailSizeHoldsTheWidthInTheHigh16Bits) {
    FileRow row;
    row.thumbnailSize = (int64_t{0xFFFF} << 16) | 0x8001;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
    // Zero-extended halves: no sign comes in from the top bit of either.
    EXPECT_EQ(width, 0xFFFFu);
    EXPECT_EQ(height, 0x8001u);
}

TEST_F(FileRecordFields, ThumbnailSizeGivesEitherHalfAlone) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, nullptr), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(record->GetThumbnailSize(nullptr, &height), S_OK);
    EXPECT_EQ(height, 480u);
    EXPECT_EQ(record->GetThumbnailSize(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(FileRecordFields, GpsColumnsAreNarrowedToFloat) {
    FileRow row;
    row.gpsLatitude = -33.868819999999;
    row.gpsLongitude = 151.2092955555;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(row.gpsLatitude));
    EXPECT_EQ(longitude, static_cast<float>(row.gpsLongitude));
    // The narrowing loses the digits a float cannot hold.
    EXPECT_NE(static_cast<double>(latitude), row.gpsLatitude);
}

TEST_F(FileRecordFields, GpsGivesEitherCoordinateAloneButNotNeither) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, nullptr), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(FileRow{}.gpsLatitude));
    EXPECT_EQ(record->GetGPS(nullptr, &longitude), S_OK);
    EXPECT_EQ(longitude, static_cast<float>(FileRow{}.gpsLongitude));
    EXPECT_EQ(record->GetGPS(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(FileRecordFields, FlagsReadAnyNonZeroColumnValueAsOne) {
    FileRow row;
    row.didEdit = 7;
    row.isFavorite = -1;
    row.didDetectFace = 256;  // its low byte is 0: a plain cut would give 0
    row.uploadFlag = 2;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    uint8_t flag = 0;
    EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    flag = 0;
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    flag = 0;
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    flag = 0;
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
}

TEST_F(FileRecordFields, FlagsReadZeroAsZero) {
    FileRow row;
    row.didEdit = row.isFavorite = row.didDetectFace = row.uploadFlag = 0;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    uint8_t flag = 9;
    EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    flag = 9;
    EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    flag = 9;
    EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    flag = 9;
    EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
}

TEST_F(FileRecordFields, DidEditOnAFreshRecordIsZeroEvenIfTheRowSaysOne) {
    InsertFileRow(FileRow{});  // did_edit 1
    RecordPtr record = RecordFor(10);
    uint8_t didEdit = 9;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0u);
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordFields, DidEditStaysZeroWhenOnlyIsFavoriteWasRead) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint8_t favorite = 0;
    ASSERT_EQ(record->GetIsFavorite(&favorite), S_OK);
    ASSERT_EQ(favorite, 1u);
    ASSERT_EQ(Known(record.Get()), kFavoriteBit);
    uint8_t didEdit = 9;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0u);
}

TEST_F(FileRecordFields, DidEditGivesTheRowsValueAfterAFullRead) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    ASSERT_EQ(Known(record.Get()), kEveryField);
    uint8_t didEdit = 0;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 1u);
}

TEST_F(FileRecordFields, DidEditGivesTheRowsValueAfterARowWasReadIntoTheRecord) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    SteppedRow row(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    ASSERT_EQ(ReadFullRow(Impl(record.Get()), kAllColumns, row.Row()), S_OK);
    uint8_t didEdit = 0;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 1u);
}

TEST_F(FileRecordFields, ParentAfterAReadGivesTheIdAndAZeroDate) {
    InsertFileRow(FileRow{});  // parent_shooting_date is not 0
    RecordPtr record = RecordFor(10);
    uint64_t parentId = 0;
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetParent(&parentId, &date), S_OK);
    EXPECT_EQ(parentId, 9u);
    EXPECT_TRUE(IsZeroTime(date));
    EXPECT_EQ(Known(record.Get()), kParentBit);
}

TEST_F(FileRecordFields, ParentAfterAFullReadStillGivesAZeroDate) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    uint64_t parentId = 0;
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetParent(&parentId, &date), S_OK);
    EXPECT_EQ(parentId, 9u);
    EXPECT_TRUE(IsZeroTime(date));
}

TEST_F(FileRecordFields, ParentGivesTheDateSetInThisObjectsLife) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint64_t newParent = 77;
    SYSTEMTIME set = MakeTime(2019, 12, 31, 23, 59, 58, 999);
    ASSERT_EQ(record->SetParent(&newParent, &set), S_OK);
    uint64_t parentId = 0;
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(record->GetParent(&parentId, &date), S_OK);
    EXPECT_EQ(parentId, 77u);
    // Packed and unpacked: the milliseconds are gone.
    EXPECT_TRUE(SameTime(date, MakeTime(2019, 12, 31, 23, 59, 58)));
}

TEST_F(FileRecordFields, FileNameThatIsEmptyInTheRowGivesFail) {
    FileRow row;
    row.fileName = "";
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    CZanTString name(u"left over");
    EXPECT_EQ(record->GetFileName(name), E_FAIL);
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_EQ(Known(record.Get()), kNameBit);
}

TEST_F(FileRecordFields, FilePathWithoutTheSerialOutStillGivesThePath) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    CZanTString path;
    EXPECT_EQ(record->GetFilePath(path, nullptr), S_OK);
    EXPECT_EQ(path.ToUtf8(), FileRow{}.filePath);
}

TEST_F(FileRecordFields, NullOutPointersOfGettersAreInvalidAndReadNothing) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    IZanDB4FileDBRecord* r = record.Get();
    EXPECT_EQ(r->GetFileID(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetManage(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetFileFormat(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetShootingDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetShootingDateValue(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetThumbnailSize(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetThumbnailOrientation(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetGPS(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetFileAttributes(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetDidEdit(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetIsFavorite(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetDidDetectFace(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetParent(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetUploadFlag(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetClassifyID(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetAlbumID(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetTagCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetTagList(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->GetMetaRecord(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->Clone(nullptr), E_INVALIDARG);
    EXPECT_EQ(Known(r), 0u);
    EXPECT_EQ(Changed(r), 0u);
}

TEST_F(FileRecordFields, QueryInterfaceAnswersTheRecordsOwnIdentifierWithAReference) {
    RecordPtr record = NewRecord();
    void* out = nullptr;
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4FileDBRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(record.Get()));
    EXPECT_EQ(Count(record.Get()), 2);
    record->Release();
    EXPECT_EQ(Count(record.Get()), 1);
}

TEST_F(FileRecordFields, QueryInterfaceRefusesEveryOtherIdentifier) {
    // {00000000-0000-0000-C000-000000000046}
    constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    RecordPtr record = NewRecord();
    for (const IID* iid : {&kIUnknownId, &IID_IZanDB4FileMetaDBRecord, &IID_IZanDB4FileDBMgr}) {
        void* out = reinterpret_cast<void*>(0x5EA7);
        EXPECT_EQ(record->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(Count(record.Get()), 1);
}

TEST_F(FileRecordFields, NewRecordPointsAtTheOpenCatalogue) {
    RecordPtr record = NewRecord();
    EXPECT_EQ(Impl(record.Get())->Store(), m_store);
    EXPECT_EQ(Count(record.Get()), 1);
    EXPECT_EQ(Known(record.Get()), 0u);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordFields, RecordWithoutAStoreReadsNothing) {
    InsertFileRow(FileRow{});
    // Made directly, as when no catalogue was open at the time.
    RecordPtr record = RecordPtr::Adopt(new CZanDB4FileDBRecord(nullptr));
    ASSERT_EQ(record->SetFileID(10), S_OK);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kManageBit, nullptr), E_FAIL);
    uint32_t manage = 99;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 0u);
    EXPECT_EQ(Known(record.Get()), 0u);
}

}  // namespace
}  // namespace file_record_test
