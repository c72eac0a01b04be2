// The single-row reads of the file store: GetFileRecord, and RecordFromRow
// and RecordFromShortRow, which turn a result row into the one live record
// of its file. Checked here: the result codes, the outputs zeroed first, the
// fields each load mode brings in (seen through the known mask and through
// GetDidEdit, the getter that never reads by itself), the record cache
// (found records handed out with a new reference, new records joining it
// with a reference of the cache's own), and that nothing is made when the
// caller asks for no record.
#include "catalogue/file_rows.h"
#include "file_store_read_fixture.h"

namespace file_store_read_test {
namespace {

class FileStoreReadRows : public FileStoreReadTest {
protected:
    // Every value of the default FileRow, read without a further row read:
    // the record already knows them all.
    void ExpectDefaultRowValues(IZanDB4FileDBRecord* record) {
        const FileRow row;
        uint32_t manage = 0;
        EXPECT_EQ(record->GetManage(&manage), S_OK);
        EXPECT_EQ(manage, 1u);
        CZanTString path;
        uint32_t diskVsn = 0;
        EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
        EXPECT_EQ(path.ToUtf8(), row.filePath);
        EXPECT_EQ(diskVsn, 0x1234ABCDu);
        CZanTString name;
        EXPECT_EQ(record->GetFileName(name), S_OK);
        EXPECT_EQ(name.ToUtf8(), row.fileName);
        uint32_t format = 0;
        EXPECT_EQ(record->GetFileFormat(&format), S_OK);
        EXPECT_EQ(format, 3u);
        int64_t date = 0;
        EXPECT_EQ(record->GetShootingDateValue(&date), S_OK);
        EXPECT_EQ(date, file_record_test::kShootingPacked);
        uint32_t width = 0, height = 0;
        EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
        EXPECT_EQ(width, 640u);
        EXPECT_EQ(height, 480u);
        uint16_t orientation = 0;
        EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
        EXPECT_EQ(orientation, 6);
        float latitude = 0, longitude = 0;
        EXPECT_EQ(record->GetGPS(&latitude, &longitude), S_OK);
        EXPECT_FLOAT_EQ(latitude, static_cast<float>(row.gpsLatitude));
        EXPECT_FLOAT_EQ(longitude, static_cast<float>(row.gpsLongitude));
        uint32_t attributes = 0;
        EXPECT_EQ(record->GetFileAttributes(&attributes), S_OK);
        EXPECT_EQ(attributes, 0x21u);
        uint8_t flag = 0;
        EXPECT_EQ(record->GetDidEdit(&flag), S_OK);
        EXPECT_EQ(flag, 1);
        flag = 0;
        EXPECT_EQ(record->GetIsFavorite(&flag), S_OK);
        EXPECT_EQ(flag, 1);
        flag = 0;
        EXPECT_EQ(record->GetDidDetectFace(&flag), S_OK);
        EXPECT_EQ(flag, 1);
        uint64_t album = 0;
        EXPECT_EQ(record->GetAlbumID(&album), S_OK);
        EXPECT_EQ(album, 42u);
        uint64_t parent = 0;
        SYSTEMTIME parentDate = file_record_test::FilledTime();
        EXPECT_EQ(record->GetParent(&parent, &parentDate), S_OK);
        EXPECT_EQ(parent, 9u);
        // parent_shooting_date is not part of a row read.
        EXPECT_TRUE(file_record_test::IsZeroTime(parentDate));
        flag = 0;
        EXPECT_EQ(record->GetUploadFlag(&flag), S_OK);
        EXPECT_EQ(flag, 1);
        uint8_t classify = 0;
        EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
        EXPECT_EQ(classify, 5);
    }

    // The live record of fileId put into the cache as the store would: the
    // test keeps one reference, the cache one.
    RecordPtr CachedBlank(uint64_t fileId) {
        RecordPtr record = RecordFor(fileId);
        if (record) {
            EXPECT_TRUE(CacheAdd(fileId, record.Get()));
        }
        return record;
    }
};

// ---------------------------------------------------------------- GetFileRecord

TEST_F(FileStoreReadRows, GetFileRecordOfAnExistingRowGivesARecordThatKnowsEveryColumn) {
    InsertFileRow(FileRow{});
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, &raw), S_OK);
    ASSERT_NE(raw, nullptr);
    RecordPtr record = RecordPtr::Adopt(raw);
    EXPECT_EQ(IdOf(record.Get()), 10u);
    EXPECT_EQ(Known(record.Get()), kAllFieldsKnown);
    EXPECT_EQ(file_record_test::Changed(record.Get()), 0u);
    // One reference for the caller, one for the cache.
    EXPECT_EQ(Count(record.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
    ExpectDefaultRowValues(record.Get());
    EXPECT_EQ(Known(record.Get()), kAllFieldsKnown);
}

TEST_F(FileStoreReadRows, GetFileRecordWithoutAnOutRecordOnlyTestsThatTheRowExists) {
    InsertFileRow(FileRow{});
    EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(10, nullptr), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(11, nullptr), E_FAIL);
    // Nothing was made for the existence test.
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadRows, GetFileRecordOfAMissingRowFailsAndNullsTheOutRecord) {
    InsertFileRow(FileRow{});
    RecordPtr other = NewRecord();
    ASSERT_TRUE(other);
    IZanDB4FileDBRecord* out = other.Get();
    EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(11, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    // What the out pointer held before is not released.
    EXPECT_EQ(Count(other.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadRows, GetFileRecordOnAnEmptyCatalogueFails) {
    IZanDB4FileDBRecord* out = nullptr;
    EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(10, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
}

TEST_F(FileStoreReadRows, GetFileRecordHandsOutTheCachedRecordWithANewReference) {
    InsertFileRow(FileRow{});
    RecordPtr cached = CachedBlank(10);
    ASSERT_TRUE(cached);
    ASSERT_EQ(Count(cached.Get()), 2);
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, &raw), S_OK);
    RecordPtr found = RecordPtr::Adopt(raw);
    EXPECT_EQ(found.Get(), cached.Get());
    EXPECT_EQ(Count(cached.Get()), 3);
    EXPECT_EQ(CacheSize(), 1u);
    // The blank record knew nothing, so the row filled it.
    EXPECT_EQ(Known(cached.Get()), kAllFieldsKnown);
}

// --------------------------------------------------- RecordFromRow: arguments

TEST_F(FileStoreReadRows, RecordFromRowWithoutAStatementIsInvalidAndZeroesBothOutputs) {
    RecordPtr other = NewRecord();
    ASSERT_TRUE(other);
    uint64_t id = 77;
    IZanDB4FileDBRecord* out = other.Get();
    EXPECT_EQ(FileTableRows(*m_store).RecordFromRow(&id, &out, nullptr, kLoadAll), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Count(other.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadRows, RecordFromShortRowWithoutAStatementIsInvalidAndZeroesBothOutputs) {
    RecordPtr other = NewRecord();
    ASSERT_TRUE(other);
    uint64_t id = 77;
    IZanDB4FileDBRecord* out = other.Get();
    EXPECT_EQ(FileTableRows(*m_store).RecordFromShortRow(&id, &out, nullptr, kLoadShort), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Count(other.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadRows, RecordFromRowWithoutOutputsStillAnswersOk) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    EXPECT_EQ(FileTableRows(*m_store).RecordFromRow(nullptr, nullptr, &row.Row(), kLoadAll), S_OK);
    EXPECT_EQ(CacheSize(), 0u);
}

// ------------------------------------------------ RecordFromRow: a new record

TEST_F(FileStoreReadRows, RecordFromRowInModeZeroMakesARecordThatKnowsEveryColumnAndJoinsTheCache) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromRow(&id, &raw, &row.Row(), kLoadAll), S_OK);
    ASSERT_NE(raw, nullptr);
    RecordPtr record = RecordPtr::Adopt(raw);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(IdOf(record.Get()), 10u);
    EXPECT_EQ(Known(record.Get()), kAllFieldsKnown);
    EXPECT_EQ(file_record_test::Changed(record.Get()), 0u);
    EXPECT_EQ(Count(record.Get()), 2);
    IZanDB4FileDBRecord* inCache = CacheFind(10);
    EXPECT_EQ(inCache, record.Get());
    if (inCache != nullptr) inCache->Release();
    ExpectDefaultRowValues(record.Get());
}

TEST_F(FileStoreReadRows, RecordFromRowInModeTwoReadsTheReducedFieldsOnly) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromRow(nullptr, &raw, &row.Row(), kLoadShort), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    ASSERT_TRUE(record);
    EXPECT_EQ(Known(record.Get()), kReducedKnown);
    uint8_t didEdit = 0;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 1);
}

TEST_F(FileStoreReadRows, RecordFromRowInModeOneMakesARecordThatKnowsNothing) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromRow(&id, &raw, &row.Row(), kLoadNothing), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    ASSERT_TRUE(record);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(IdOf(record.Get()), 10u);
    EXPECT_EQ(Known(record.Get()), 0u);
    EXPECT_EQ(Count(record.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
    // did_edit is 1 in the row, but nothing was read.
    uint8_t didEdit = 9;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0);
    // The id is set, so a getter still reads its own field lazily.
    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    EXPECT_EQ(Known(record.Get()), file_record_test::kFormatBit);
}

TEST_F(FileStoreReadRows, RecordFromRowWithoutAnOutRecordMakesNothingWhenNothingIsCached) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    EXPECT_EQ(FileTableRows(*m_store).RecordFromRow(&id, nullptr, &row.Row(), kLoadAll), S_OK);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(CacheFind(10), nullptr);
}

// --------------------------------------------- RecordFromRow: a cached record

TEST_F(FileStoreReadRows, RecordFromRowHandsOutTheCachedRecordWithOneMoreReference) {
    InsertFileRow(FileRow{});
    RecordPtr cached = CachedBlank(10);
    ASSERT_TRUE(cached);
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromRow(nullptr, &raw, &row.Row(), kLoadAll), S_OK);
    RecordPtr found = RecordPtr::Adopt(raw);
    EXPECT_EQ(found.Get(), cached.Get());
    EXPECT_EQ(Count(cached.Get()), 3);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_EQ(Known(cached.Get()), kAllFieldsKnown);
}

TEST_F(FileStoreReadRows, RecordFromRowInModeOneDoesNotRefreshACachedRecord) {
    InsertFileRow(FileRow{});
    RecordPtr cached = CachedBlank(10);
    ASSERT_TRUE(cached);
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromRow(nullptr, &raw, &row.Row(), kLoadNothing), S_OK);
    RecordPtr found = RecordPtr::Adopt(raw);
    EXPECT_EQ(found.Get(), cached.Get());
    EXPECT_EQ(Count(cached.Get()), 3);
    EXPECT_EQ(Known(cached.Get()), 0u);
    uint8_t didEdit = 9;
    EXPECT_EQ(cached->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0);
}

TEST_F(FileStoreReadRows, RecordFromRowWithoutAnOutRecordStillRefreshesACachedRecord) {
    InsertFileRow(FileRow{});
    RecordPtr cached = CachedBlank(10);
    ASSERT_TRUE(cached);
    SteppedRow row(m_store->m_db, file_record_test::kSelectFullRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    EXPECT_EQ(FileTableRows(*m_store).RecordFromRow(&id, nullptr, &row.Row(), kLoadAll), S_OK);
    EXPECT_EQ(id, 10u);
    // The reference Find took is given back at once.
    EXPECT_EQ(Count(cached.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_EQ(Known(cached.Get()), kAllFieldsKnown);
}

// ----------------------------------------------------------- RecordFromShortRow

TEST_F(FileStoreReadRows, RecordFromShortRowInModeTwoFillsTheReducedFieldsFromTheShortColumns) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromShortRow(&id, &raw, &row.Row(), kLoadShort), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    ASSERT_TRUE(record);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(Known(record.Get()), kReducedKnown);
    EXPECT_EQ(Count(record.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);

    // Values at the positions of the short column list.
    uint32_t manage = 0;
    EXPECT_EQ(record->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 1u);
    CZanTString path;
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(path.ToUtf8(), FileRow{}.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    int64_t date = 0;
    EXPECT_EQ(record->GetShootingDateValue(&date), S_OK);
    EXPECT_EQ(date, file_record_test::kShootingPacked);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(record->GetThumbnailSize(&width, &height), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(height, 480u);
    uint16_t orientation = 0;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6);
    uint8_t didEdit = 0;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 1);
    uint64_t album = 0;
    EXPECT_EQ(record->GetAlbumID(&album), S_OK);
    EXPECT_EQ(album, 42u);
    uint64_t parent = 0;
    EXPECT_EQ(record->GetParent(&parent, nullptr), S_OK);
    EXPECT_EQ(parent, 9u);
    EXPECT_EQ(Known(record.Get()), kReducedKnown);

    // classify_id was left out: asking for it reads the full row, which
    // keeps the low 8 bits, 5.
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 5);
    EXPECT_EQ(Known(record.Get()), kReducedKnown | file_record_test::kClassifyBit);
}

TEST_F(FileStoreReadRows, RecordFromShortRowInModeZeroReadsEveryShortColumnAndKeepsOnlyWhetherThereIsAClass) {
    FileRow values;
    values.classifyId = 0x105;  // low 8 bits 5
    InsertFileRow(values);
    SteppedRow row(m_store->m_db, file_record_test::kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromShortRow(nullptr, &raw, &row.Row(), kLoadAll), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    ASSERT_TRUE(record);
    // Everything the short list has; name, attributes and did_detect_face are
    // not in it.
    EXPECT_EQ(Known(record.Get()), file_record_test::kShortListFields);
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 1);
}

TEST_F(FileStoreReadRows, FullReadKeepsTheLowEightBitsOfTheClass) {
    FileRow values;
    values.classifyId = 0x105;
    InsertFileRow(values);
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, &raw), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    uint8_t classify = 0;
    EXPECT_EQ(record->GetClassifyID(&classify), S_OK);
    EXPECT_EQ(classify, 5);
}

TEST_F(FileStoreReadRows, RecordFromShortRowInModeOneMakesARecordThatKnowsNothing) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromShortRow(nullptr, &raw, &row.Row(), kLoadNothing), S_OK);
    RecordPtr record = RecordPtr::Adopt(raw);
    ASSERT_TRUE(record);
    EXPECT_EQ(IdOf(record.Get()), 10u);
    EXPECT_EQ(Known(record.Get()), 0u);
    EXPECT_EQ(CacheSize(), 1u);
}

TEST_F(FileStoreReadRows, RecordFromShortRowHandsOutAndRefreshesTheCachedRecord) {
    InsertFileRow(FileRow{});
    RecordPtr cached = CachedBlank(10);
    ASSERT_TRUE(cached);
    SteppedRow row(m_store->m_db, file_record_test::kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).RecordFromShortRow(nullptr, &raw, &row.Row(), kLoadShort), S_OK);
    RecordPtr found = RecordPtr::Adopt(raw);
    EXPECT_EQ(found.Get(), cached.Get());
    EXPECT_EQ(Count(cached.Get()), 3);
    EXPECT_EQ(Known(cached.Get()), kReducedKnown);
}

TEST_F(FileStoreReadRows, RecordFromShortRowWithoutAnOutRecordMakesNothingWhenNothingIsCached) {
    InsertFileRow(FileRow{});
    SteppedRow row(m_store->m_db, file_record_test::kSelectShortRow, 10);
    ASSERT_TRUE(row.HasRow());
    uint64_t id = 0;
    EXPECT_EQ(FileTableRows(*m_store).RecordFromShortRow(&id, nullptr, &row.Row(), kLoadShort), S_OK);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(CacheSize(), 0u);
}

}  // namespace
}  // namespace file_store_read_test
