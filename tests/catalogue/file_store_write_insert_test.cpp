// Inserting file_table rows: InsertFileRecord from a record's getters and
// InsertFileRow from plain values. Every column is checked as a separate
// connection finds it after a commit, with the separator rules of file_path
// and file_name, the unique path_key (upper-cased path, "_", the volume
// serial in hexadecimal), the album noted for its recount, the tag links and
// metadata row of a record, and the record joining the record cache.
#include <clocale>

#include "catalogue/file_table.h"
#include "catalogue/file_rows.h"
#include "../frame/foundation_locale_guard.h"
#include "file_store_write_fixture.h"

namespace file_store_write_test {
namespace {

using FileStoreWriteInsert = FileStoreWriteTest;
using FileStoreWriteInsertRow = FileStoreWriteTest;

// ---- InsertFileRecord: the row ----

TEST_F(FileStoreWriteInsert, EveryColumnReachesTheDiskAsBound) {
    RecordValues values;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(CommittedFileRow(77), ExpectedRow(values));
    Rows types = Disk(
        "SELECT typeof(file_path), typeof(disk_vsn), typeof(path_key), typeof(shooting_date), typeof(gps_latitude), "
        "typeof(gps_longitude), typeof(thumbnail_size), typeof(parent_shooting_date) FROM file_table");
    EXPECT_EQ(types, (Rows{{"text", "integer", "text", "integer", "real", "real", "integer", "integer"}}));
}

TEST_F(FileStoreWriteInsert, RowIsOnlyOnDiskAfterTheCommit) {
    RecordPtr record = MakeRecord(RecordValues{});
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_TRUE(Disk("SELECT file_id FROM file_table").empty());
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteInsert, CoordinatesAreTheFloatValuesWidened) {
    // 35.6812 and 139.7671 are not exact in a float: the column must hold the
    // float's own value, not the decimal the client had in mind.
    RecordValues values;
    values.latitude = 35.6812f;
    values.longitude = 139.7671f;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(DiskReal("SELECT gps_latitude FROM file_table"), static_cast<double>(35.6812f));
    EXPECT_EQ(DiskReal("SELECT gps_longitude FROM file_table"), static_cast<double>(139.7671f));
    EXPECT_NE(DiskReal("SELECT gps_latitude FROM file_table"), 35.6812);
}

TEST_F(FileStoreWriteInsert, FlagsAreWrittenAsZeroOrOne) {
    RecordValues values;
    values.didEdit = 9;
    values.isFavorite = 0x80;
    values.didDetectFace = 255;
    values.uploadFlag = 2;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kDidEdit], "1");
    EXPECT_EQ(row[kIsFavorite], "1");
    EXPECT_EQ(row[kDidDetectFace], "1");
    EXPECT_EQ(row[kUploadFlag], "1");
}

TEST_F(FileStoreWriteInsert, ThumbnailSizeIsWidthTimes65536PlusHeight) {
    RecordValues values;
    values.width = 1;
    values.height = 2;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(CommittedFileRow(77).at(kThumbnailSize), "65538");
}

TEST_F(FileStoreWriteInsert, ParentDateIsPackedWithoutMilliseconds) {
    RecordValues values;
    values.parentDate = MakeTime(2019, 12, 31, 23, 59, 58, 999);
    values.parentDate.wDayOfWeek = 2;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    int64_t packed = (int64_t{2019} << 40) + (int64_t{12} << 32) + (int64_t{31} << 24) + (int64_t{23} << 16) +
                     (int64_t{59} << 8) + 58;
    EXPECT_EQ(CommittedFileRow(77).at(kParentShootingDate), Int(packed));
}

TEST_F(FileStoreWriteInsert, NullRecordIsRefusedBeforeAnyStatement) {
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(nullptr), E_INVALIDARG);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 0);
}

// ---- separators and the key ----

TEST_F(FileStoreWriteInsert, TrailingSeparatorOfPathAndLeadingOfNameAreDropped) {
    RecordValues values;
    values.path = "/photos/Trip/";
    values.name = "/IMG_0077.JPG";
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], "/photos/Trip");
    EXPECT_EQ(row[kPathKey], "/PHOTOS/TRIP_1A2B");
    EXPECT_EQ(row[kFileName], "IMG_0077.JPG");
}

TEST_F(FileStoreWriteInsert, OnlyOneSeparatorIsDroppedAtEitherEnd) {
    RecordValues values;
    values.path = "/photos/Trip//";
    values.name = "//IMG.JPG";
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], "/photos/Trip/");
    EXPECT_EQ(row[kPathKey], "/PHOTOS/TRIP/_1A2B");
    EXPECT_EQ(row[kFileName], "/IMG.JPG");
}

TEST_F(FileStoreWriteInsert, SeparatorsElsewhereStay) {
    // Only the end of the path and the start of the name are touched: a
    // leading '/' of the path, a trailing one of the name and separators
    // inside either are part of the value.
    RecordValues values;
    values.path = "/photos//Trip";
    values.name = "sub/dir/IMG.JPG/";
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], "/photos//Trip");
    EXPECT_EQ(row[kFileName], "sub/dir/IMG.JPG/");
}

TEST_F(FileStoreWriteInsert, KeyIsUpperCasedPathAndSerialInHexWithoutLeadingZeros) {
    EXPECT_EQ(file_table::PathKeyOf(W("/Photos/trip"), 0x00AB01).ToUtf8(), "/PHOTOS/TRIP_AB01");
    EXPECT_EQ(file_table::PathKeyOf(W("/Photos/trip"), 0).ToUtf8(), "/PHOTOS/TRIP_0");
    EXPECT_EQ(file_table::PathKeyOf(W("/Photos/trip"), 0xFFFFFFFF).ToUtf8(), "/PHOTOS/TRIP_FFFFFFFF");
    // The file name plays no part, and a path with a trailing separator
    // gives the key of the same path without it.
    EXPECT_EQ(file_table::PathKeyOf(W("/Photos/trip/"), 0x10).ToUtf8(), "/PHOTOS/TRIP_10");
    EXPECT_EQ(file_table::StoredFilePath(W("/a/b/")).ToUtf8(), "/a/b");
    EXPECT_EQ(file_table::StoredFilePath(W("/")).ToUtf8(), "");
    EXPECT_EQ(file_table::StoredFileName(W("/x.jpg")).ToUtf8(), "x.jpg");
    EXPECT_EQ(file_table::StoredFileName(W("x.jpg/")).ToUtf8(), "x.jpg/");
}

TEST_F(FileStoreWriteInsert, SerialAboveTheSignedRangeIsStoredSignedAndKeyedUnsigned) {
    // disk_vsn is bound as a signed 32-bit number, the form the search on
    // disk_vsn compares with; the key spells the serial unsigned.
    RecordValues values;
    values.diskVsn = 0x89ABCDEF;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kDiskVsn], Int(static_cast<int32_t>(0x89ABCDEFu)));
    EXPECT_EQ(row[kPathKey], "/PHOTOS/TRIP_89ABCDEF");
}

TEST_F(FileStoreWriteInsert, SamePathOnSameVolumeFailsWhateverTheCase) {
    RecordValues first;
    first.fileId = 1;
    first.path = "/photos/trip";
    first.diskVsn = 5;
    RecordPtr one = MakeRecord(first);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(one.Get()), S_OK);

    for (const char* path : {"/photos/trip", "/PHOTOS/Trip", "/Photos/TRIP/"}) {
        SCOPED_TRACE(path);
        RecordValues second;
        second.fileId = 2;
        second.path = path;
        second.diskVsn = 5;
        second.name = "other.jpg";  // the name plays no part in the key
        RecordPtr two = MakeRecord(second);
        m_store->ForgetRecounts();
        EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(two.Get()), E_FAIL);
        // Nothing that follows a good insert happened.
        EXPECT_TRUE(AlbumRecount().empty());
        EXPECT_EQ(CacheFind(2), nullptr);
        EXPECT_EQ(Count(two.Get()), 1);
    }
    EXPECT_EQ(CommittedFileRow(1), ExpectedRow(first));
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteInsert, SamePathOnAnotherVolumeIsAnotherFile) {
    RecordValues first;
    first.fileId = 1;
    first.diskVsn = 5;
    RecordValues second = first;
    second.fileId = 2;
    second.diskVsn = 6;
    RecordPtr one = MakeRecord(first);
    RecordPtr two = MakeRecord(second);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(one.Get()), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(two.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, path_key FROM file_table ORDER BY file_id"),
              (Rows{{"1", "/PHOTOS/TRIP_5"}, {"2", "/PHOTOS/TRIP_6"}}));
}

TEST_F(FileStoreWriteInsert, NonAsciiLettersAreUpperCasedInTheKeyAndKeptInThePath) {
    RecordValues values;
    values.path = "/fotoğraflar/istanbul/Ärger/çiçek/жизнь/σοφία/é\xF0\x90\x90\xA8";  // last: U+10428
    values.diskVsn = 1;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], values.path);
    EXPECT_EQ(row[kPathKey], "/FOTOĞRAFLAR/ISTANBUL/ÄRGER/ÇIÇEK/ЖИЗНЬ/ΣΟΦΊΑ/É\xF0\x90\x90\x80_1");  // U+10400
}

TEST_F(FileStoreWriteInsert, KeyDoesNotDependOnTheProcessLocale) {
    // Under a Turkish locale the C library upper-cases 'i' to a dotted
    // capital; a key made so would not match the key another process made
    // for the same path.
    zandb4::testing::ProcessLocaleGuard locale(zandb4::testing::kTurkishLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no Turkish locale on this system";
    RecordValues values;
    values.path = "/pictures/istanbul";
    values.diskVsn = 0xABC;
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(file_table::PathKeyOf(W("/ii"), 0xab).ToUtf8(), "/II_AB");
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kPathKey], "/PICTURES/ISTANBUL_ABC");

    // The same path in capitals is the same file under this locale too.
    RecordValues upper = values;
    upper.fileId = 78;
    upper.path = "/PICTURES/ISTANBUL";
    RecordPtr again = MakeRecord(upper);
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(again.Get()), E_FAIL);
}

// ---- what follows a good insert ----

TEST_F(FileStoreWriteInsert, AlbumIsNotedForItsRecount) {
    RecordPtr record = MakeRecord(RecordValues{});
    m_store->ForgetRecounts();  // the record's own SetAlbumID noted it already
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{42}));
}

TEST_F(FileStoreWriteInsert, NoAlbumNotesNothing) {
    RecordValues values;
    values.albumId = 0;
    RecordPtr record = MakeRecord(values);
    m_store->ForgetRecounts();
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_TRUE(AlbumRecount().empty());
}

TEST_F(FileStoreWriteInsert, TagsAreLinkedInAscendingOrder) {
    RecordPtr record = MakeRecord(RecordValues{});
    for (uint64_t tag : {30u, 5u, 17u}) AddTag(record.Get(), tag);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(77), (std::vector<uint64_t>{5, 17, 30}));
}

TEST_F(FileStoreWriteInsert, RecordWithoutTagsLinksNothing) {
    RecordPtr record = MakeRecord(RecordValues{});
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 0);
}

TEST_F(FileStoreWriteInsert, AttachedMetadataIsWrittenUnderTheFileId) {
    RecordPtr record = MakeRecord(RecordValues{});
    MetaPtr meta = MakeMeta(123456, "model-q");
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, file_size, pixel_width, pixel_height, model_name, picture_mode, param_flag "
                   "FROM meta_table"),
              (Rows{{"77", "123456", "4000", "3000", "model-q", "1", "5"}}));
}

TEST_F(FileStoreWriteInsert, RecordWithoutMetadataWritesNoMetadataRow) {
    RecordPtr record = MakeRecord(RecordValues{});
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM meta_table"), 0);
}

TEST_F(FileStoreWriteInsert, RecordJoinsTheCacheWithAReferenceOfItsOwn) {
    RecordPtr record = MakeRecord(RecordValues{});
    ASSERT_EQ(Count(record.Get()), 1);
    ASSERT_EQ(CacheSize(), 0u);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_EQ(Count(record.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
    RecordPtr found = RecordPtr::Adopt(CacheFind(77));
    EXPECT_EQ(found.Get(), record.Get());
    found.Reset();
    // The cache's reference goes with the client's last one.
    record.Reset();
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreWriteInsert, ReadOfTheNewRowGivesTheSameObject) {
    RecordPtr record = MakeRecord(RecordValues{});
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    RecordPtr loaded;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(77, loaded.Receive()), S_OK);
    EXPECT_EQ(loaded.Get(), record.Get());
    EXPECT_EQ(Count(record.Get()), 3);
}

TEST_F(FileStoreWriteInsert, StatementThatDoesNotPrepareStillAnswersOk) {
    // A catalogue without file_table: the insert cannot prepare, and the
    // caller is not told; nothing else of a good insert happens either.
    Exec("ALTER TABLE file_table RENAME TO file_table_away");
    RecordPtr record = MakeRecord(RecordValues{});
    AddTag(record.Get(), 3);
    m_store->ForgetRecounts();
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    EXPECT_TRUE(AlbumRecount().empty());
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(Count(record.Get()), 1);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 0);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table_away"), 0);
}

// ---- characters the statement must carry unchanged ----

TEST_F(FileStoreWriteInsert, QuotesPercentSignsAndBackslashesAreStoredByteForByte) {
    // The insert binds its values, so nothing in them is SQL.
    RecordValues values;
    values.path = "/it's \"here\"/100% %s %d/back\\slash\\/";
    values.name = "/o'neil \"x\" 5%%.jpg\\";
    RecordPtr record = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(record.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(77);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], "/it's \"here\"/100% %s %d/back\\slash\\");
    EXPECT_EQ(row[kPathKey], "/IT'S \"HERE\"/100% %S %D/BACK\\SLASH\\_1A2B");
    EXPECT_EQ(row[kFileName], "o'neil \"x\" 5%%.jpg\\");
    // Nothing was dropped or doubled on the way: the stored text is exactly
    // as long as the value given (SQLite's length() counts characters).
    EXPECT_EQ(Disk("SELECT length(file_path), length(file_name) FROM file_table"), (Rows{{"35", "19"}}));
}

TEST_F(FileStoreWriteInsert, AnApostropheInTheKeyStillKeepsPathsApartByCaseOnly) {
    RecordValues first;
    first.fileId = 1;
    first.path = "/it's";
    RecordValues second = first;
    second.fileId = 2;
    second.path = "/IT'S";
    RecordPtr one = MakeRecord(first);
    RecordPtr two = MakeRecord(second);
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRecord(one.Get()), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRecord(two.Get()), E_FAIL);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

// ---- InsertFileRow ----

FileRowValues SampleRowValues() {
    FileRowValues v;
    v.fileId = 501;
    v.filePath = W("/Import/Cam/");
    v.diskVsn = 0xC0FFEE;
    v.fileName = W("/DSC_0001.NEF");
    v.fileFormat = 11;
    v.shootingDate = kShootingPacked;
    v.latitude = 12.125;
    v.longitude = -0.5;
    v.fileAttributes = 0x80;
    v.thumbnailSize = 160 * 65536 + 120;
    v.thumbnailOrientation = 3;
    v.didEdit = true;
    v.isFavorite = false;
    v.didDetectFace = true;
    v.albumId = 8;
    v.manage = 1;
    v.parentId = 4;
    v.parentShootingDate = kParentPacked;
    v.uploadFlag = false;
    v.classifyId = 250;
    return v;
}

TEST_F(FileStoreWriteInsertRow, EveryValueReachesTheDiskWithTheSeparatorRules) {
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(SampleRowValues()), S_OK);
    std::vector<std::string> expected = {"501",
                                         "/Import/Cam",
                                         Int(0xC0FFEE),
                                         "/IMPORT/CAM_C0FFEE",
                                         "DSC_0001.NEF",
                                         "11",
                                         Int(kShootingPacked),
                                         "12.125",
                                         "-0.5",
                                         "128",
                                         Int(160 * 65536 + 120),
                                         "3",
                                         "1",
                                         "0",
                                         "1",
                                         "8",
                                         "1",
                                         "4",
                                         Int(kParentPacked),
                                         "0",
                                         "250"};
    EXPECT_EQ(CommittedFileRow(501), expected);
}

TEST_F(FileStoreWriteInsertRow, AlbumIsNotedButNothingElseFollows) {
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(SampleRowValues()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{8}));
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 0);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM meta_table"), 0);
}

TEST_F(FileStoreWriteInsertRow, SameKeyFailsAndNotesNoAlbum) {
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(SampleRowValues()), S_OK);
    m_store->ForgetRecounts();
    FileRowValues again = SampleRowValues();
    again.fileId = 502;
    again.filePath = W("/import/CAM");
    again.albumId = 9;
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRow(again), E_FAIL);
    EXPECT_TRUE(AlbumRecount().empty());
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteInsertRow, SameIdFails) {
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(SampleRowValues()), S_OK);
    FileRowValues again = SampleRowValues();
    again.filePath = W("/elsewhere");
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRow(again), E_FAIL);
    EXPECT_EQ(CommittedFileRow(501).at(kFilePath), "/Import/Cam");
}

TEST_F(FileStoreWriteInsertRow, QuotesPercentSignsBackslashesAndNonAsciiAreBoundAsGiven) {
    FileRowValues v = SampleRowValues();
    v.filePath = W("/l'été \"chaud\"/50% %x/a\\b/ıi/");
    v.fileName = W("/x'y%n\\z.jpg");
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(v), S_OK);
    std::vector<std::string> row = CommittedFileRow(501);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], "/l'été \"chaud\"/50% %x/a\\b/ıi");
    EXPECT_EQ(row[kPathKey], "/L'ÉTÉ \"CHAUD\"/50% %X/A\\B/II_C0FFEE");
    EXPECT_EQ(row[kFileName], "x'y%n\\z.jpg");
}

TEST_F(FileStoreWriteInsertRow, StatementThatDoesNotPrepareFails) {
    // Unlike the record form, the value form reports the missing table.
    Exec("ALTER TABLE file_table RENAME TO file_table_away");
    EXPECT_EQ(FileTableRows(*m_store).InsertFileRow(SampleRowValues()), E_FAIL);
    EXPECT_TRUE(AlbumRecount().empty());
}

}  // namespace
}  // namespace file_store_write_test
