// The file record's setters: each writes its member and marks its own field
// in the changed and the known mask; a null pointer changes nothing. Also
// the ones with rules of their own: the thumbnail size and the GPS position,
// which read their field first and may leave one side alone, the range test
// on GPS values, the album setter that notes albums to recount, and a value
// set in memory that a later read of the row leaves standing.
#include <functional>
#include <set>

#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

using FileRecordSetters = FileRecordTest;
using IdSet = std::set<uint64_t>;

struct SetterCase {
    const char* name;
    uint32_t bit;
    std::function<HRESULT(IZanDB4FileDBRecord*)> set;
    std::function<void(IZanDB4FileDBRecord*)> expectValue;
};

TEST_F(FileRecordSetters, EachSetterWritesItsValueAndMarksItsBitInBothMasks) {
    const uint32_t manage = 2, format = 17, attributes = 0x80000001u;
    const int64_t packed = kShootingPacked;
    const uint16_t width = 320, height = 240, orientation = 8;
    const float latitude = -12.5f, longitude = 45.25f;
    const uint8_t flagValue = 1, classify = 200;
    const uint64_t parent = 1234, album = 56;
    const SYSTEMTIME parentDate = MakeTime(2020, 1, 2, 3, 4, 5);
    const SYSTEMTIME shootingDate = MakeTime(2021, 3, 4, 5, 6, 7);

    const std::vector<SetterCase> cases = {
        {"SetManage", kManageBit, [&](IZanDB4FileDBRecord* r) { return r->SetManage(&manage); },
         [&](IZanDB4FileDBRecord* r) {
             uint32_t v = 0;
             EXPECT_EQ(r->GetManage(&v), S_OK);
             EXPECT_EQ(v, manage);
         }},
        {"SetFilePath", kPathBit,
         [&](IZanDB4FileDBRecord* r) {
             uint32_t vsn = 0xCAFE;
             return r->SetFilePath(u"/a/b", &vsn);
         },
         [&](IZanDB4FileDBRecord* r) {
             CZanTString v;
             uint32_t vsn = 0;
             EXPECT_EQ(r->GetFilePath(v, &vsn), S_OK);
             EXPECT_EQ(v.ToUtf8(), "/a/b");
             EXPECT_EQ(vsn, 0xCAFEu);
         }},
        {"SetFileName", kNameBit, [&](IZanDB4FileDBRecord* r) { return r->SetFileName(u"b.jpg"); },
         [&](IZanDB4FileDBRecord* r) {
             CZanTString v;
             EXPECT_EQ(r->GetFileName(v), S_OK);
             EXPECT_EQ(v.ToUtf8(), "b.jpg");
         }},
        {"SetFileFormat", kFormatBit, [&](IZanDB4FileDBRecord* r) { return r->SetFileFormat(&format); },
         [&](IZanDB4FileDBRecord* r) {
             uint32_t v = 0;
             EXPECT_EQ(r->GetFileFormat(&v), S_OK);
             EXPECT_EQ(v, format);
         }},
        {"SetShootingDateValue", kDateBit, [&](IZanDB4FileDBRecord* r) { return r->SetShootingDateValue(&packed); },
         [&](IZanDB4FileDBRecord* r) {
             int64_t v = 0;
             EXPECT_EQ(r->GetShootingDateValue(&v), S_OK);
             EXPECT_EQ(v, packed);
         }},
        {"SetShootingDate", kDateBit, [&](IZanDB4FileDBRecord* r) { return r->SetShootingDate(&shootingDate); },
         [&](IZanDB4FileDBRecord* r) {
             SYSTEMTIME v = FilledTime();
             EXPECT_EQ(r->GetShootingDate(&v), S_OK);
             EXPECT_TRUE(SameTime(v, shootingDate));
         }},
        {"SetThumbnailSize", kThumbSizeBit, [&](IZanDB4FileDBRecord* r) { return r->SetThumbnailSize(&width, &height); },
         [&](IZanDB4FileDBRecord* r) {
             uint32_t w = 0, h = 0;
             EXPECT_EQ(r->GetThumbnailSize(&w, &h), S_OK);
             EXPECT_EQ(w, width);
             EXPECT_EQ(h, height);
         }},
        {"SetThumbnailOrientation", kOrientationBit,
         [&](IZanDB4FileDBRecord* r) { return r->SetThumbnailOrientation(&orientation); },
         [&](IZanDB4FileDBRecord* r) {
             uint16_t v = 0;
             EXPECT_EQ(r->GetThumbnailOrientation(&v), S_OK);
             EXPECT_EQ(v, orientation);
         }},
        {"SetGPS", kGpsBit, [&](IZanDB4FileDBRecord* r) { return r->SetGPS(&latitude, &longitude); },
         [&](IZanDB4FileDBRecord* r) {
             float a = 0, b = 0;
             EXPECT_EQ(r->GetGPS(&a, &b), S_OK);
             EXPECT_EQ(a, latitude);
             EXPECT_EQ(b, longitude);
         }},
        {"SetFileAttributes", kAttributesBit, [&](IZanDB4FileDBRecord* r) { return r->SetFileAttributes(&attributes); },
         [&](IZanDB4FileDBRecord* r) {
             uint32_t v = 0;
             EXPECT_EQ(r->GetFileAttributes(&v), S_OK);
             EXPECT_EQ(v, attributes);
         }},
        {"SetDidEdit", kDidEditBit, [&](IZanDB4FileDBRecord* r) { return r->SetDidEdit(&flagValue); },
         [&](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             EXPECT_EQ(r->GetDidEdit(&v), S_OK);
             EXPECT_EQ(v, flagValue);
         }},
        {"SetIsFavorite", kFavoriteBit, [&](IZanDB4FileDBRecord* r) { return r->SetIsFavorite(&flagValue); },
         [&](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             EXPECT_EQ(r->GetIsFavorite(&v), S_OK);
             EXPECT_EQ(v, flagValue);
         }},
        {"SetDidDetectFace", kDetectFaceBit, [&](IZanDB4FileDBRecord* r) { return r->SetDidDetectFace(&flagValue); },
         [&](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             EXPECT_EQ(r->GetDidDetectFace(&v), S_OK);
             EXPECT_EQ(v, flagValue);
         }},
        {"SetParent", kParentBit, [&](IZanDB4FileDBRecord* r) { return r->SetParent(&parent, &parentDate); },
         [&](IZanDB4FileDBRecord* r) {
             uint64_t v = 0;
             SYSTEMTIME d = FilledTime();
             EXPECT_EQ(r->GetParent(&v, &d), S_OK);
             EXPECT_EQ(v, parent);
             EXPECT_TRUE(SameTime(d, parentDate));
         }},
        {"SetUploadFlag", kUploadBit, [&](IZanDB4FileDBRecord* r) { return r->SetUploadFlag(&flagValue); },
         [&](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             EXPECT_EQ(r->GetUploadFlag(&v), S_OK);
             EXPECT_EQ(v, flagValue);
         }},
        {"SetClassifyID", kClassifyBit, [&](IZanDB4FileDBRecord* r) { return r->SetClassifyID(&classify); },
         [&](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             EXPECT_EQ(r->GetClassifyID(&v), S_OK);
             EXPECT_EQ(v, classify);
         }},
        {"SetAlbumID", kAlbumBit, [&](IZanDB4FileDBRecord* r) { return r->SetAlbumID(&album); },
         [&](IZanDB4FileDBRecord* r) {
             uint64_t v = 0;
             EXPECT_EQ(r->GetAlbumID(&v), S_OK);
             EXPECT_EQ(v, album);
         }},
    };

    for (const SetterCase& setter : cases) {
        SCOPED_TRACE(setter.name);
        RecordPtr record = NewRecord();
        ASSERT_TRUE(record);
        EXPECT_EQ(setter.set(record.Get()), S_OK);
        EXPECT_EQ(Changed(record.Get()), setter.bit);
        EXPECT_EQ(Known(record.Get()), setter.bit);
        setter.expectValue(record.Get());
    }
}

TEST_F(FileRecordSetters, NullPointerToASetterIsInvalidAndChangesNothing) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    IZanDB4FileDBRecord* r = record.Get();
    uint32_t vsn = 5;
    uint64_t id = 5;
    SYSTEMTIME date = MakeTime(2020, 1, 1, 0, 0, 0);
    EXPECT_EQ(r->SetManage(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetFilePath(nullptr, &vsn), E_INVALIDARG);
    EXPECT_EQ(r->SetFileName(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetFileFormat(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetShootingDateValue(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetShootingDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetThumbnailSize(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetThumbnailOrientation(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetGPS(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetFileAttributes(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetDidEdit(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetIsFavorite(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetDidDetectFace(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetParent(nullptr, &date), E_INVALIDARG);
    EXPECT_EQ(r->SetParent(&id, nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetUploadFlag(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetClassifyID(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->SetAlbumID(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->AddTag(nullptr), E_INVALIDARG);
    EXPECT_EQ(r->RemoveTag(nullptr), E_INVALIDARG);

    EXPECT_EQ(Changed(r), 0u);
    EXPECT_EQ(Known(r), 0u);
    EXPECT_TRUE(m_store->AlbumRecounts().empty());
    // The values are still the row's.
    uint64_t parentId = 0;
    EXPECT_EQ(r->GetParent(&parentId, nullptr), S_OK);
    EXPECT_EQ(parentId, 9u);
    CZanTString path;
    uint32_t diskVsn = 0;
    EXPECT_EQ(r->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(path.ToUtf8(), FileRow{}.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
}

TEST_F(FileRecordSetters, SetFileIdStoresTheKeyWithoutTouchingTheMasks) {
    RecordPtr record = NewRecord();
    EXPECT_EQ(record->SetFileID(0xFFFFFFFF00000001ull), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0xFFFFFFFF00000001ull);
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordSetters, FilePathWithoutASerialLeavesTheStoredSerialAlone) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    CZanTString path;
    ASSERT_EQ(record->GetFilePath(path, nullptr), S_OK);
    EXPECT_EQ(record->SetFilePath(u"/elsewhere", nullptr), S_OK);
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(path.ToUtf8(), "/elsewhere");
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    EXPECT_EQ(Changed(record.Get()), kPathBit);
}

TEST_F(FileRecordSetters, EmptyFilePathIsStoredAndReadsAsFail) {
    RecordPtr record = NewRecord();
    uint32_t vsn = 3;
    EXPECT_EQ(record->SetFilePath(u"", &vsn), S_OK);
    CZanTString path(u"left over");
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_EQ(diskVsn, 3u);
}

TEST_F(FileRecordSetters, ShootingDateIsPackedWithoutTheMilliseconds) {
    RecordPtr record = NewRecord();
    SYSTEMTIME date = MakeTime(2021, 3, 4, 5, 6, 7, 999);
    date.wDayOfWeek = 4;
    EXPECT_EQ(record->SetShootingDate(&date), S_OK);
    int64_t packed = 0;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, 2222125952075271);
    SYSTEMTIME back = FilledTime();
    EXPECT_EQ(record->GetShootingDate(&back), S_OK);
    EXPECT_TRUE(SameTime(back, MakeTime(2021, 3, 4, 5, 6, 7)));
}

TEST_F(FileRecordSetters, ShootingDateValueIsStoredAsGiven) {
    RecordPtr record = NewRecord();
    const int64_t odd = 0x123;  // not a date a clock gives; stored anyway
    EXPECT_EQ(record->SetShootingDateValue(&odd), S_OK);
    int64_t packed = 0;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, 0x123);
}

TEST_F(FileRecordSetters, ThumbnailSizeWithoutWidthKeepsTheRowsWidth) {
    InsertFileRow(FileRow{});  // 640 x 480
    RecordPtr record = RecordFor(10);
    const uint16_t height = 100;
    EXPECT_EQ(record->SetThumbnailSize(nullptr, &height), S_OK);
    uint32_t width = 0, gotHeight = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, &gotHeight), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(gotHeight, 100u);
    EXPECT_EQ(Changed(record.Get()), kThumbSizeBit);
    EXPECT_EQ(Known(record.Get()), kThumbSizeBit);
}

TEST_F(FileRecordSetters, ThumbnailSizeWithoutHeightKeepsTheRowsHeight) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    const uint16_t width = 1024;
    EXPECT_EQ(record->SetThumbnailSize(&width, nullptr), S_OK);
    uint32_t gotWidth = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&gotWidth, &height), S_OK);
    EXPECT_EQ(gotWidth, 1024u);
    EXPECT_EQ(height, 480u);
}

TEST_F(FileRecordSetters, GpsAtTheEdgesOfTheRangeIsTaken) {
    RecordPtr record = NewRecord();
    const float north = 90.0f, west = -180.0f;
    EXPECT_EQ(record->SetGPS(&north, &west), S_OK);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, 90.0f);
    EXPECT_EQ(longitude, -180.0f);
    const float south = -90.0f, east = 180.0f;
    EXPECT_EQ(record->SetGPS(&south, &east), S_OK);
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, -90.0f);
    EXPECT_EQ(longitude, 180.0f);
    EXPECT_EQ(Changed(record.Get()), kGpsBit);
}

TEST_F(FileRecordSetters, GpsOutsideTheRangeIsInvalidAndChangesNothing) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    const float tooFarNorth = 90.5f, tooFarSouth = -90.5f, tooFarEast = 180.5f, tooFarWest = -180.5f;
    const float fine = 10.0f;
    EXPECT_EQ(record->SetGPS(&tooFarNorth, &fine), E_INVALIDARG);
    EXPECT_EQ(record->SetGPS(&tooFarSouth, &fine), E_INVALIDARG);
    EXPECT_EQ(record->SetGPS(&fine, &tooFarEast), E_INVALIDARG);
    EXPECT_EQ(record->SetGPS(&fine, &tooFarWest), E_INVALIDARG);
    EXPECT_EQ(record->SetGPS(&tooFarNorth, nullptr), E_INVALIDARG);
    EXPECT_EQ(record->SetGPS(nullptr, &tooFarEast), E_INVALIDARG);
    // A refused value neither read the field nor marked it.
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_EQ(Known(record.Get()), 0u);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(FileRow{}.gpsLatitude));
    EXPECT_EQ(longitude, static_cast<float>(FileRow{}.gpsLongitude));
}

TEST_F(FileRecordSetters, GpsRefusalKeepsAValueSetBefore) {
    RecordPtr record = NewRecord();
    const float latitude = 12.0f, longitude = 34.0f, tooFar = 90.5f;
    ASSERT_EQ(record->SetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(record->SetGPS(&tooFar, &longitude), E_INVALIDARG);
    float a = 0, b = 0;
    EXPECT_EQ(record->GetGPS(&a, &b), S_OK);
    EXPECT_EQ(a, 12.0f);
    EXPECT_EQ(b, 34.0f);
}

TEST_F(FileRecordSetters, GpsWithBothPointersNullIsInvalid) {
    RecordPtr record = NewRecord();
    EXPECT_EQ(record->SetGPS(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordSetters, GpsWithOneSideWritesOnlyThatSideAndKeepsTheRowsOther) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    // The missing latitude counts as 0.0 for the test only.
    const float longitude = -170.0f;
    EXPECT_EQ(record->SetGPS(nullptr, &longitude), S_OK);
    float a = 0, b = 0;
    EXPECT_EQ(record->GetGPS(&a, &b), S_OK);
    EXPECT_EQ(a, static_cast<float>(FileRow{}.gpsLatitude));
    EXPECT_EQ(b, -170.0f);
    EXPECT_EQ(Changed(record.Get()), kGpsBit);
}

TEST_F(FileRecordSetters, AlbumSetTwiceToTheSameValueIsNotedAndStillMarkedChanged) {
    ASSERT_TRUE(m_store->AlbumRecounts().empty());
    RecordPtr record = NewRecord();
    const uint64_t album = 7;
    EXPECT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_EQ(m_store->AlbumRecounts(), IdSet{7});
    record->MarkColumnsChanged(0);
    ASSERT_EQ(Changed(record.Get()), 0u);

    EXPECT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_EQ(m_store->AlbumRecounts(), IdSet{7});
    EXPECT_EQ(Changed(record.Get()), kAlbumBit);
}

TEST_F(FileRecordSetters, AlbumChangeNotesTheOldAlbumWhenTheRecordHadReadIt) {
    InsertFileRow(FileRow{});  // album 42
    RecordPtr record = RecordFor(10);
    uint64_t current = 0;
    ASSERT_EQ(record->GetAlbumID(&current), S_OK);
    ASSERT_EQ(current, 42u);
    const uint64_t album = 9;
    EXPECT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_EQ(m_store->AlbumRecounts(), (IdSet{9, 42}));
}

TEST_F(FileRecordSetters, AlbumChangeOnARecordThatNeverReadItNotesOnlyTheNewAlbum) {
    InsertFileRow(FileRow{});  // album 42, never read
    RecordPtr record = RecordFor(10);
    const uint64_t album = 9;
    EXPECT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_EQ(m_store->AlbumRecounts(), IdSet{9});
}

TEST_F(FileRecordSetters, AlbumSetToNoneNotesOnlyTheAlbumLeft) {
    InsertFileRow(FileRow{});
    RecordPtr record = RecordFor(10);
    uint64_t current = 0;
    ASSERT_EQ(record->GetAlbumID(&current), S_OK);
    const uint64_t none = 0;
    EXPECT_EQ(record->SetAlbumID(&none), S_OK);
    EXPECT_EQ(m_store->AlbumRecounts(), IdSet{42});
    EXPECT_EQ(record->GetAlbumID(&current), S_OK);
    EXPECT_EQ(current, 0u);
    EXPECT_EQ(Changed(record.Get()), kAlbumBit);
}

TEST_F(FileRecordSetters, AlbumOnARecordWithoutAStoreNotesNothing) {
    RecordPtr record = RecordPtr::Adopt(new CZanDB4FileDBRecord(nullptr));
    const uint64_t album = 3;
    EXPECT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_TRUE(m_store->AlbumRecounts().empty());
    uint64_t current = 0;
    EXPECT_EQ(record->GetAlbumID(&current), S_OK);
    EXPECT_EQ(current, 3u);
    EXPECT_EQ(Changed(record.Get()), kAlbumBit);
}

TEST_F(FileRecordSetters, AFieldSetInMemorySurvivesALaterReadOfTheRow) {
    InsertFileRow(FileRow{});  // manage 1, format 3
    RecordPtr record = RecordFor(10);
    const uint32_t manage = 2;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    // Another field's getter reads the row; then a full read is asked for.
    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    SteppedRow row(m_store->m_db, kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(ReadFullRow(Impl(record.Get()), kManageBit, row.Row()), S_OK);
    uint32_t got = 0;
    EXPECT_EQ(record->GetManage(&got), S_OK);
    EXPECT_EQ(got, 2u);
    EXPECT_EQ(Changed(record.Get()), kManageBit);
}

TEST_F(FileRecordSetters, ParentSetterPacksTheDateAndMarksOnlyTheParentBit) {
    RecordPtr record = NewRecord();
    const uint64_t parent = 5;
    const SYSTEMTIME date = MakeTime(2020, 1, 2, 3, 4, 5, 600);
    EXPECT_EQ(record->SetParent(&parent, &date), S_OK);
    EXPECT_EQ(Changed(record.Get()), kParentBit);
    SYSTEMTIME back = FilledTime();
    uint64_t id = 0;
    EXPECT_EQ(record->GetParent(&id, &back), S_OK);
    EXPECT_EQ(CZanTDateTime(back).GetPacked(), kParentPacked);
    EXPECT_EQ(back.wMilliseconds, 0u);
}

}  // namespace
}  // namespace file_record_test
