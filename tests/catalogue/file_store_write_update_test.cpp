// UpdateFileRecord: one UPDATE built from the record's changed mask, with
// the values written into its text. Each changed bit writes its columns and
// no other; the rows are compared column by column with what a separate
// connection found before the update. Text values are not escaped, so an
// apostrophe breaks the statement. Tags and metadata are written after the
// columns when their bits are set.
#include <cstdlib>
#include <map>
#include <set>

#include "catalogue/file_rows.h"
#include "storage/statement.h"
#include "file_store_write_fixture.h"

namespace file_store_write_test {
namespace {

using FileStoreWriteUpdate = FileStoreWriteTest;

constexpr int64_t kNewShootingPacked = 0x7E60506070809;  // 2022-05-06 07:08:09
constexpr uint32_t kManageBit = file_record_test::kManageBit;
constexpr uint32_t kNameBit = file_record_test::kNameBit;
constexpr uint32_t kPathBit = file_record_test::kPathBit;
constexpr uint32_t kTagBit = file_record_test::kTagBit;
constexpr uint32_t kMetaBit = file_record_test::kMetaBit;

// A raw row of file_table (the fixture's FileRow: file 10 with a value of its
// own in every column), committed, and its columns as the file has them.
class FileStoreWriteUpdateRow : public FileStoreWriteTest {
protected:
    void SetUp() override {
        FileStoreWriteTest::SetUp();
        if (HasFatalFailure()) return;
        InsertFileRow(FileRow{});
        m_before = CommittedFileRow(10);
        ASSERT_EQ(m_before.size(), size_t{kColumnCount});
    }

    // The row after a commit must be the row before with these columns changed.
    // Columns in skip are left to the caller.
    void ExpectRowChangedOnly(const std::map<int, std::string>& changes, const std::set<int>& skip = {}) {
        std::vector<std::string> after = CommittedFileRow(10);
        ASSERT_EQ(after.size(), size_t{kColumnCount});
        std::vector<std::string> expected = m_before;
        for (const auto& [column, value] : changes) expected[column] = value;
        for (int column = 0; column < kColumnCount; ++column) {
            if (skip.count(column) != 0) continue;
            EXPECT_EQ(after[column], expected[column]) << "column " << column;
        }
    }

    std::vector<std::string> m_before;
};

// ---- one bit, its columns ----

struct BitCase {
    const char* name;
    uint32_t bit;
    void (*change)(IZanDB4FileDBRecord*);
    std::map<int, std::string> columns;
};

std::vector<BitCase> BitCases() {
    return {
        {"Manage",
         0x1,
         [](IZanDB4FileDBRecord* r) {
             uint32_t v = 7;
             r->SetManage(&v);
         },
         {{kManage, "7"}}},
        {"Path",
         0x2,
         [](IZanDB4FileDBRecord* r) {
             uint32_t vsn = 0xBEEF;
             r->SetFilePath(u"/new/Place/", &vsn);
         },
         {{kFilePath, "/new/Place"}, {kDiskVsn, "48879"}, {kPathKey, "/NEW/PLACE_BEEF"}}},
        {"Name", 0x4, [](IZanDB4FileDBRecord* r) { r->SetFileName(u"/renamed.jpg"); }, {{kFileName, "renamed.jpg"}}},
        {"Format",
         0x8,
         [](IZanDB4FileDBRecord* r) {
             uint32_t v = 12;
             r->SetFileFormat(&v);
         },
         {{kFileFormat, "12"}}},
        {"ShootingDate",
         0x10,
         [](IZanDB4FileDBRecord* r) {
             int64_t v = kNewShootingPacked;
             r->SetShootingDateValue(&v);
         },
         {{kShootingDate, Int(kNewShootingPacked)}}},
        {"ThumbnailSize",
         0x20,
         [](IZanDB4FileDBRecord* r) {
             uint16_t w = 320, h = 200;
             r->SetThumbnailSize(&w, &h);
         },
         {{kThumbnailSize, Int(320 * 65536 + 200)}}},
        {"Orientation",
         0x40,
         [](IZanDB4FileDBRecord* r) {
             uint16_t v = 8;
             r->SetThumbnailOrientation(&v);
         },
         {{kThumbnailOrientation, "8"}}},
        {"Gps",
         0x80,
         [](IZanDB4FileDBRecord* r) {
             float lat = -33.25f, lon = 151.5f;
             r->SetGPS(&lat, &lon);
         },
         {{kLatitude, "-33.25"}, {kLongitude, "151.5"}}},
        {"Attributes",
         0x100,
         [](IZanDB4FileDBRecord* r) {
             uint32_t v = 0x400;
             r->SetFileAttributes(&v);
         },
         {{kFileAttributes, "1024"}}},
        {"DidEdit",
         0x200,
         [](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             r->SetDidEdit(&v);
         },
         {{kDidEdit, "0"}}},
        {"IsFavorite",
         0x400,
         [](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             r->SetIsFavorite(&v);
         },
         {{kIsFavorite, "0"}}},
        {"DidDetectFace",
         0x800,
         [](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             r->SetDidDetectFace(&v);
         },
         {{kDidDetectFace, "0"}}},
        {"Parent",
         0x4000,
         [](IZanDB4FileDBRecord* r) {
             uint64_t id = 55;
             SYSTEMTIME date = MakeTime(2019, 8, 7, 6, 5, 4);
             r->SetParent(&id, &date);
         },
         {{kParentId, "55"}, {kParentShootingDate, Int(CZanTDateTime(MakeTime(2019, 8, 7, 6, 5, 4)).GetPacked())}}},
        {"UploadFlag",
         0x8000,
         [](IZanDB4FileDBRecord* r) {
             uint8_t v = 0;
             r->SetUploadFlag(&v);
         },
         {{kUploadFlag, "0"}}},
        {"AlbumId",
         0x10000,
         [](IZanDB4FileDBRecord* r) {
             uint64_t v = 99;
             r->SetAlbumID(&v);
         },
         {{kAlbumId, "99"}}},
        {"ClassifyId",
         0x20000,
         [](IZanDB4FileDBRecord* r) {
             uint8_t v = 200;
             r->SetClassifyID(&v);
         },
         {{kClassifyId, "200"}}},
    };
}

class FileStoreWriteUpdateBit : public FileStoreWriteUpdateRow, public ::testing::WithParamInterface<BitCase> {};

TEST_P(FileStoreWriteUpdateBit, WritesItsColumnsAndNoOther) {
    const BitCase& bitCase = GetParam();
    RecordPtr record = RecordFor(10);
    bitCase.change(record.Get());
    ASSERT_EQ(Changed(record.Get()), bitCase.bit);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    ExpectRowChangedOnly(bitCase.columns);
}

INSTANTIATE_TEST_SUITE_P(FileStoreWriteEveryColumnBit, FileStoreWriteUpdateBit, ::testing::ValuesIn(BitCases()),
                         [](const ::testing::TestParamInfo<BitCase>& bitInfo) {
                             return std::string(bitInfo.param.name);
                         });

// ---- the statement as a whole ----

using FileStoreWriteUpdateCase = FileStoreWriteUpdateRow;

TEST_F(FileStoreWriteUpdate, NullRecordFails) {
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, nullptr), E_FAIL);
}

TEST_F(FileStoreWriteUpdateCase, RecordWithoutChangesWritesNothing) {
    // The record holds a manage value the row does not, but nothing marks
    // it changed: no column may be written.
    RecordPtr record = RecordFor(10);
    uint32_t manage = 6;
    ASSERT_EQ(record->SetManage(&manage), S_OK);
    record->MarkColumnsChanged(0);
    ASSERT_EQ(Changed(record.Get()), 0u);
    int changesBefore = TotalChanges();
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(TotalChanges(), changesBefore);
    ExpectRowChangedOnly({});
}

TEST_F(FileStoreWriteUpdateCase, SeveralBitsWriteTheirColumnsInOneStatement) {
    RecordPtr record = RecordFor(10);
    uint32_t manage = 3;
    record->SetManage(&manage);
    record->SetFileName(u"two.jpg");
    uint8_t favorite = 0;
    record->SetIsFavorite(&favorite);
    uint8_t classify = 9;
    record->SetClassifyID(&classify);
    int changesBefore = TotalChanges();
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(TotalChanges(), changesBefore + 1);
    EXPECT_EQ(Changed(record.Get()), 0u);
    ExpectRowChangedOnly({{kManage, "3"}, {kFileName, "two.jpg"}, {kIsFavorite, "0"}, {kClassifyId, "9"}});
}

TEST_F(FileStoreWriteUpdate, FlagsAreWrittenAsZeroOrOne) {
    FileRow row;
    row.didEdit = row.isFavorite = row.didDetectFace = row.uploadFlag = 0;
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    uint8_t nine = 9, high = 0x80, all = 255, two = 2;
    record->SetDidEdit(&nine);
    record->SetIsFavorite(&high);
    record->SetDidDetectFace(&all);
    record->SetUploadFlag(&two);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    std::vector<std::string> after = CommittedFileRow(10);
    ASSERT_EQ(after.size(), size_t{kColumnCount});
    EXPECT_EQ(after[kDidEdit], "1");
    EXPECT_EQ(after[kIsFavorite], "1");
    EXPECT_EQ(after[kDidDetectFace], "1");
    EXPECT_EQ(after[kUploadFlag], "1");
}

TEST_F(FileStoreWriteUpdateCase, CoordinatesAreWrittenWithSixDecimals) {
    // "%f" rounds the float to six decimals; the column holds the decimal,
    // not the float's own value that an insert would bind.
    RecordPtr record = RecordFor(10);
    float latitude = 35.1234567f, longitude = -120.9876543f;
    ASSERT_EQ(record->SetGPS(&latitude, &longitude), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    CommitStore();
    double storedLatitude = DiskReal("SELECT gps_latitude FROM file_table WHERE file_id=10");
    double storedLongitude = DiskReal("SELECT gps_longitude FROM file_table WHERE file_id=10");
    char latitudeText[32], longitudeText[32];
    std::snprintf(latitudeText, sizeof latitudeText, "%f", static_cast<double>(latitude));
    std::snprintf(longitudeText, sizeof longitudeText, "%f", static_cast<double>(longitude));
    ASSERT_STREQ(latitudeText, "35.123455");  // the float is 35.12345504...
    EXPECT_EQ(storedLatitude, std::strtod(latitudeText, nullptr));
    EXPECT_EQ(storedLongitude, std::strtod(longitudeText, nullptr));
    EXPECT_NE(storedLatitude, static_cast<double>(latitude));
    EXPECT_EQ(Disk("SELECT typeof(gps_latitude), typeof(gps_longitude) FROM file_table"), (Rows{{"real", "real"}}));
}

TEST_F(FileStoreWriteUpdateCase, UnsignedColumnsAreStoredAsIntegers) {
    RecordPtr record = RecordFor(10);
    uint32_t format = 4000000000u;
    record->SetFileFormat(&format);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_format, typeof(file_format) FROM file_table"), (Rows{{"4000000000", "integer"}}));
}

TEST_F(FileStoreWriteUpdateCase, NewPathRewritesSerialAndKey) {
    RecordPtr record = RecordFor(10);
    uint32_t vsn = 0x7;
    ASSERT_EQ(record->SetFilePath(u"/Renamed/Folder", &vsn), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly({{kFilePath, "/Renamed/Folder"}, {kDiskVsn, "7"}, {kPathKey, "/RENAMED/FOLDER_7"}});
}

TEST_F(FileStoreWriteUpdateCase, PathChangeKeepsTheSerialTheRecordHeld) {
    // SetFilePath without a serial leaves the one the record read from the
    // row; the key is made afresh from it.
    RecordPtr record = RecordFor(10);
    CZanTString path;
    ASSERT_EQ(record->GetFilePath(path, nullptr), S_OK);
    ASSERT_EQ(record->SetFilePath(u"/moved", nullptr), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly({{kFilePath, "/moved"}, {kPathKey, "/MOVED_1234ABCD"}});
}

TEST_F(FileStoreWriteUpdateCase, PathOfAnotherFileOnTheSameVolumeFails) {
    FileRow other;
    other.fileId = 11;
    InsertFileRow(other);
    RecordPtr first = RecordFor(11);
    uint32_t vsn = 5;
    first->SetFilePath(u"/taken", &vsn);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(11, first.Get()), S_OK);

    RecordPtr record = RecordFor(10);
    record->SetFilePath(u"/TAKEN/", &vsn);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), kPathBit);
    ExpectRowChangedOnly({});
}

TEST_F(FileStoreWriteUpdateCase, UnknownIdTouchesNoRowAndSucceeds) {
    // The UPDATE matches no row, which SQLite does not count as an error.
    RecordPtr record = RecordFor(10);
    uint32_t manage = 4;
    record->SetManage(&manage);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(999, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    ExpectRowChangedOnly({});
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteUpdateCase, FullRewriteOfAReadRecord) {
    // Every column of a record read from the row, all marked changed: the
    // values come back as the update formats them. The key is made afresh,
    // the coordinates pass through a float and six decimals, and the parent
    // date is the record's member, which a read never fills.
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(file_record_test::Impl(record.Get())->ReadFields(file_record_test::kAllColumns, nullptr), S_OK);
    record->MarkColumnsChanged(1);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    char latitude[32], longitude[32];
    std::snprintf(latitude, sizeof latitude, "%f", static_cast<double>(static_cast<float>(FileRow{}.gpsLatitude)));
    std::snprintf(longitude, sizeof longitude, "%f", static_cast<double>(static_cast<float>(FileRow{}.gpsLongitude)));
    ExpectRowChangedOnly({{kPathKey, "/PHOTOS/2021/TRIP_1234ABCD"}, {kParentShootingDate, "0"}},
                         {kLatitude, kLongitude});
    CommitStore();
    EXPECT_EQ(DiskReal("SELECT gps_latitude FROM file_table"), std::strtod(latitude, nullptr));
    EXPECT_EQ(DiskReal("SELECT gps_longitude FROM file_table"), std::strtod(longitude, nullptr));
}

// ---- characters in the text of the statement ----

TEST_F(FileStoreWriteUpdateCase, ApostropheInNameFailsAndLeavesRowAndMask) {
    RecordPtr record = RecordFor(10);
    uint32_t manage = 8;
    record->SetManage(&manage);
    record->SetFileName(u"it's.jpg");
    uint32_t mask = Changed(record.Get());
    ASSERT_EQ(mask, kManageBit | kNameBit);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), mask);
    ExpectRowChangedOnly({});
}

TEST_F(FileStoreWriteUpdateCase, ApostropheInPathFailsAndLeavesRowAndMask) {
    RecordPtr record = RecordFor(10);
    uint32_t vsn = 3;
    record->SetFilePath(u"/o'brien/", &vsn);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), kPathBit);
    ExpectRowChangedOnly({});
}

TEST_F(FileStoreWriteUpdateCase, BalancedApostrophesAreReadAsSql) {
    // The value is not escaped: a name whose apostrophes pair up is no
    // error, and the statement makes of it what SQL makes of it.
    RecordPtr record = RecordFor(10);
    record->SetFileName(u"a'||'b");
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly({{kFileName, "ab"}});
}

TEST_F(FileStoreWriteUpdateCase, NameCarryingASecondCommandFailsAndRunsNothing) {
    // A quote in a name may break the generated statement, never smuggle
    // another command behind it: this name would delete file 11.
    FileRow other;
    other.fileId = 11;
    other.filePath = "/photos/other";
    InsertFileRow(other);
    RecordPtr record = RecordFor(10);
    record->SetFileName(u"x'; DELETE FROM file_table WHERE file_id=11; --");
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), kNameBit);
    ExpectRowChangedOnly({});
    Rows left = CommitAndRead("SELECT file_id, file_name FROM file_table ORDER BY file_id");
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(left[0][1], FileRow{}.fileName);
    EXPECT_EQ(left[1][0], "11");
}

TEST_F(FileStoreWriteUpdateCase, FailedUpdateLeavesRelationsUnwritten) {
    Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (5, 10)");
    RecordPtr record = RecordFor(10);
    record->SetFileName(u"bad'name");
    AddTag(record.Get(), 6);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), kNameBit | kTagBit);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5}));
}

TEST_F(FileStoreWriteUpdateCase, OtherSpecialCharactersAreWrittenAsGiven) {
    // Inside the quotes of the statement a double quote, a percent sign, a
    // backslash, a separator or a non-ASCII letter is plain text.
    RecordPtr record = RecordFor(10);
    record->SetFileName(u"/sub/\"q\" 100% %s %d \\x\\ Äğ\u0131.jpg");
    uint32_t vsn = 0x20;
    record->SetFilePath(u"/dir \"a\"/50%/b\\c/çİ/", &vsn);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly({{kFileName, "sub/\"q\" 100% %s %d \\x\\ Äğı.jpg"},
                          {kFilePath, "/dir \"a\"/50%/b\\c/çİ"},
                          {kDiskVsn, "32"},
                          {kPathKey, "/DIR \"A\"/50%/B\\C/Çİ_20"}});
}

// ---- album and parent ----

TEST_F(FileStoreWriteUpdateCase, AlbumChangeOfAReadRecordNotesOldAndNewAlbum) {
    // The record knows album 42 from the row, so its SetAlbumID notes both.
    RecordPtr record;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, record.Receive()), S_OK);
    m_store->ForgetRecounts();
    uint64_t album = 7;
    ASSERT_EQ(record->SetAlbumID(&album), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{7, 42}));
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{7, 42}));
    ExpectRowChangedOnly({{kAlbumId, "7"}});
}

TEST_F(FileStoreWriteUpdateCase, AlbumChangeOfTheLiveRecordThatNeverReadItNotesOnlyTheNew) {
    // The update reads the row's record through the cache, which hands out
    // this very object: it holds the new album, so the old one, never read,
    // is noted by nobody.
    RecordPtr record = RecordFor(10);
    ASSERT_TRUE(CacheAdd(10, record.Get()));
    uint64_t album = 7;
    ASSERT_EQ(record->SetAlbumID(&album), S_OK);
    m_store->ForgetRecounts();
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{7}));
    ExpectRowChangedOnly({{kAlbumId, "7"}});
}

TEST_F(FileStoreWriteUpdateCase, AlbumChangeOfARecordOutsideTheCacheNotesTheRowsAlbumToo) {
    // With no live record for the row, the update's own read of the row, made
    // before the statement runs, gives the album the row still holds.
    RecordPtr record = RecordFor(10);
    uint64_t album = 7;
    ASSERT_EQ(record->SetAlbumID(&album), S_OK);
    m_store->ForgetRecounts();
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{7, 42}));
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreWriteUpdateCase, AlbumClearedToZeroNotesOnlyTheOldAlbum) {
    RecordPtr record;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, record.Receive()), S_OK);
    uint64_t none = 0;
    ASSERT_EQ(record->SetAlbumID(&none), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{42}));
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{42}));
    ExpectRowChangedOnly({{kAlbumId, "0"}});
}

TEST_F(FileStoreWriteUpdateCase, ParentClearedToZeroTakesTheFilesOwnShootingDate) {
    RecordPtr record = RecordFor(10);
    uint64_t none = 0;
    SYSTEMTIME date = MakeTime(2001, 2, 3, 4, 5, 6);
    ASSERT_EQ(record->SetParent(&none, &date), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly({{kParentId, "0"}, {kParentShootingDate, Int(kShootingPacked)}});
}

TEST_F(FileStoreWriteUpdateCase, ParentClearedWithANewShootingDateTakesTheNewDate) {
    RecordPtr record = RecordFor(10);
    int64_t shooting = kNewShootingPacked;
    record->SetShootingDateValue(&shooting);
    uint64_t none = 0;
    SYSTEMTIME date = MakeTime(2001, 2, 3, 4, 5, 6);
    record->SetParent(&none, &date);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    ExpectRowChangedOnly(
        {{kShootingDate, Int(kNewShootingPacked)}, {kParentId, "0"}, {kParentShootingDate, Int(kNewShootingPacked)}});
}

// ---- tags and metadata ----

class FileStoreWriteUpdateRelations : public FileStoreWriteUpdateRow {
protected:
    void SetUp() override {
        FileStoreWriteUpdateRow::SetUp();
        if (HasFatalFailure()) return;
        Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (5, 10), (6, 10), (5, 11)");
    }
    std::vector<uint64_t> LinksOfOtherFile() { return CommittedTagsOf(11); }
};

TEST_F(FileStoreWriteUpdateRelations, TagBitAloneFailsAndLeavesTheLinks) {
    // With no column in the mask the statement has an empty SET list.
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(record->ClearTags(), S_OK);
    ASSERT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), E_FAIL);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5, 6}));
    ExpectRowChangedOnly({});
}

TEST_F(FileStoreWriteUpdateRelations, TagBitWithAColumnReplacesTheLinksWhole) {
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 9);
    AddTag(record.Get(), 3);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{3, 9}));
    EXPECT_EQ(LinksOfOtherFile(), (std::vector<uint64_t>{5}));
    ExpectRowChangedOnly({{kManage, "2"}});
}

TEST_F(FileStoreWriteUpdateRelations, ClearedTagsWithAColumnRemoveEveryLink) {
    RecordPtr record = RecordFor(10);
    record->ClearTags();
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_TRUE(CommittedTagsOf(10).empty());
    EXPECT_EQ(LinksOfOtherFile(), (std::vector<uint64_t>{5}));
}

TEST_F(FileStoreWriteUpdateRelations, ColumnChangeWithoutTheTagBitKeepsTheLinks) {
    RecordPtr record = RecordFor(10);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(10), (std::vector<uint64_t>{5, 6}));
}

TEST_F(FileStoreWriteUpdateRelations, MetadataBitInsertsTheMissingRow) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = MakeMeta(2048, "cam-a");
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(Changed(record.Get()), kManageBit | kMetaBit);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, file_size, model_name FROM meta_table"), (Rows{{"10", "2048", "cam-a"}}));
}

TEST_F(FileStoreWriteUpdateRelations, MetadataBitRewritesTheExistingRow) {
    file_record_test::MetaRow row;
    InsertMetaRow(row);
    RecordPtr record = RecordFor(10);
    MetaPtr meta = MakeMeta(4096, "cam-b");
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, file_size, model_name FROM meta_table"), (Rows{{"10", "4096", "cam-b"}}));
}

TEST_F(FileStoreWriteUpdateRelations, DetachedMetadataDeletesTheRow) {
    file_record_test::MetaRow row;
    InsertMetaRow(row);
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(record->DetachMetaRecord(), S_OK);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM meta_table"), 0);
}

}  // namespace
}  // namespace file_store_write_test

namespace file_store_write_test {
namespace {

// Every insert into tag_file_table fails from here on, on the store's own
// connection, so a tag write answers E_FAIL.
void RefuseTagLinks(CSQLiteFileBasicDB& store) {
    ASSERT_EQ(zandb4::RunStatement(store.m_db, u"CREATE TEMP TRIGGER refuse_links BEFORE INSERT ON tag_file_table "
                                               u"BEGIN SELECT RAISE(ABORT, 'refused'); END"),
              S_OK);
}

TEST_F(FileStoreWriteUpdateRelations, FailedTagWriteLeavesTheTagBitSet) {
    RefuseTagLinks(*m_store);
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 9);
    uint32_t manage = 2;
    record->SetManage(&manage);

    // The columns went in, so the update itself succeeds; the tags did not,
    // so the record still says they are to be saved.
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), kTagBit);
    CommitStore();
    EXPECT_TRUE(CommittedTagsOf(10).empty());
    ExpectRowChangedOnly({{kManage, "2"}});
}

TEST_F(FileStoreWriteUpdateRelations, MetadataResultReplacesAFailedTagResultAndClearsBothBits) {
    RefuseTagLinks(*m_store);
    RecordPtr record = RecordFor(10);
    AddTag(record.Get(), 9);
    MetaPtr meta = MakeMeta(2048, "cam-a");
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    uint32_t manage = 2;
    record->SetManage(&manage);
    ASSERT_EQ(Changed(record.Get()), kManageBit | kTagBit | kMetaBit);

    // The metadata's success stands for both relations: the failed tag write
    // is forgotten and no bit is left. Clients depend on this.
    ASSERT_EQ(FileTableRows(*m_store).UpdateFileRecord(10, record.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    CommitStore();
    EXPECT_TRUE(CommittedTagsOf(10).empty());
    EXPECT_EQ(Disk("SELECT file_id, file_size, model_name FROM meta_table"), (Rows{{"10", "2048", "cam-a"}}));
}

}  // namespace
}  // namespace file_store_write_test
