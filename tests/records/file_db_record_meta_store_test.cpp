// The catalogue's two writes of meta_table that take a file record:
// InsertMetaRecord, which writes the metadata record the file record gives
// (and with its retry flag replaces a row already there), and
// UpdateMetaRecord, which deletes the row of a record without metadata,
// inserts one for a file without a row, and otherwise rewrites every column
// whatever the metadata record's changed flag says. Rows are checked in the
// file on disk after the catalogue commits.
#include <set>

#include "records/meta_rows.h"
#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

constexpr char kMetaRows[] =
    "SELECT file_id, hex(filter_data), file_size, file_update_date, import_date, duration, pixel_width, pixel_height, "
    "panorama_number, drive_number, frame_rate, import_class, gps_altitude, gps_direction, gps_areainfo, "
    "model_name, picture_mode, finishing_mode, art_filter, focus_mode, param_flag FROM meta_table ORDER BY file_id";

std::string Hex(const std::string& bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char byte : bytes) {
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0xF];
    }
    return hex;
}

// The row of meta_table as the probe reads it, every column as text and the
// filter data in hexadecimal.
std::vector<std::string> Expected(const MetaRow& row) {
    auto n = [](int64_t value) { return std::to_string(value); };
    return {n(row.fileId),        Hex(row.filterData),        n(row.fileSize),       n(row.fileUpdateDate),
            n(row.importDate),    n(row.duration),       n(row.pixelWidth),     n(row.pixelHeight),
            n(row.panoramaNumber), n(row.driveNumber),   n(row.frameRate),      n(row.importClass),
            n(row.gpsAltitude),   n(row.gpsDirection),   row.gpsAreaInfo,       row.modelName,
            n(row.pictureMode),   n(row.finishingMode),  n(row.artFilter),      n(row.focusMode),
            n(row.paramFlag)};
}

// Values unlike those of MetaRow{} in every column.
MetaRow OtherValues(int64_t fileId) {
    MetaRow row;
    row.fileId = fileId;
    row.filterData = "other-filter";
    row.fileSize = 999;
    row.fileUpdateDate = 0x7E60506070809;
    row.importDate = 0x7E6060708090A;
    row.duration = 3;
    row.pixelWidth = 1920;
    row.pixelHeight = 1080;
    row.panoramaNumber = 21;
    row.driveNumber = 22;
    row.frameRate = 60;
    row.importClass = 23;
    row.gpsAltitude = (int64_t{24} << 32) | 25;
    row.gpsDirection = (int64_t{26} << 32) | 27;
    row.gpsAreaInfo = "mountain";
    row.modelName = "model-y";
    row.pictureMode = 31;
    row.finishingMode = 32;
    row.artFilter = 33;
    row.focusMode = 34;
    row.paramFlag = 35;
    return row;
}

class FileRecordMetaStore : public FileRecordTest {
protected:
    // A metadata record holding the values of row (its file id aside).
    MetaPtr MetaRecordOf(const MetaRow& row) {
        MetaPtr meta = NewMetaRecord();
        if (!meta) return meta;
        EXPECT_EQ(meta->SetFilterData(row.filterData.data(), static_cast<uint32_t>(row.filterData.size())), S_OK);
        EXPECT_EQ(meta->SetFileSize(static_cast<uint64_t>(row.fileSize)), S_OK);
        CZanTDateTime updated(row.fileUpdateDate);
        EXPECT_EQ(meta->SetFileUpdateDate(&updated.m_time), S_OK);
        CZanTDateTime imported(row.importDate);
        EXPECT_EQ(meta->SetImportDate(&imported.m_time, static_cast<uint32_t>(row.importClass)), S_OK);
        EXPECT_EQ(meta->SetDuration(static_cast<uint64_t>(row.duration)), S_OK);
        EXPECT_EQ(meta->SetPixelSize(static_cast<uint32_t>(row.pixelWidth), static_cast<uint32_t>(row.pixelHeight)),
                  S_OK);
        EXPECT_EQ(meta->SetPanoramaNumber(static_cast<uint32_t>(row.panoramaNumber)), S_OK);
        EXPECT_EQ(meta->SetDriveNumber(static_cast<uint32_t>(row.driveNumber)), S_OK);
        EXPECT_EQ(meta->SetFrameRate(static_cast<uint32_t>(row.frameRate)), S_OK);
        EXPECT_EQ(meta->SetGPSAltitude(static_cast<int32_t>(row.gpsAltitude >> 32),
                                       static_cast<int32_t>(row.gpsAltitude & 0xFFFFFFFF)),
                  S_OK);
        EXPECT_EQ(meta->SetGPSDirection(static_cast<uint32_t>(row.gpsDirection >> 32),
                                        static_cast<uint32_t>(row.gpsDirection & 0xFFFFFFFF)),
                  S_OK);
        CZanTString area = CZanTString::FromUtf8(row.gpsAreaInfo.c_str());
        EXPECT_EQ(meta->SetAreaInfo(area.GetString()), S_OK);
        CZanTString model = CZanTString::FromUtf8(row.modelName.c_str());
        EXPECT_EQ(meta->SetModelInfo(model.GetString(), static_cast<uint32_t>(row.pictureMode),
                                     static_cast<uint32_t>(row.finishingMode), static_cast<uint32_t>(row.artFilter),
                                     static_cast<uint32_t>(row.focusMode), static_cast<uint32_t>(row.paramFlag)),
                  S_OK);
        return meta;
    }

    // A file record for fileId holding a metadata record with row's values.
    RecordPtr RecordWithMeta(uint64_t fileId, const MetaRow& row) {
        RecordPtr record = RecordFor(fileId);
        MetaPtr meta = MetaRecordOf(row);
        if (record && meta) {
            EXPECT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
        }
        return record;
    }
};

TEST_F(FileRecordMetaStore, InsertWithoutMetadataGivesTheFailureOfGetMetaRecord) {
    RecordPtr record = RecordFor(10);  // no metadata held and no row to fetch
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, record.Get(), 0), E_FAIL);
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, record.Get(), 1), E_FAIL);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{});
}

TEST_F(FileRecordMetaStore, InsertWritesEveryColumnOfTheMetadataRecord) {
    MetaRow values = OtherValues(10);
    RecordPtr record = RecordWithMeta(10, values);
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, record.Get(), 0), S_OK);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(values)});
}

TEST_F(FileRecordMetaStore, InsertTakesTheFileIdItIsGiven) {
    MetaRow values = OtherValues(10);
    RecordPtr record = RecordWithMeta(10, values);
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(20, record.Get(), 0), S_OK);
    values.fileId = 20;
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(values)});
}

TEST_F(FileRecordMetaStore, InsertOfARecordWithoutHeldMetadataWritesTheFetchedRow) {
    InsertMetaRow(MetaRow{});  // file 10
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(30, record.Get(), 0), S_OK);
    MetaRow copy;
    copy.fileId = 30;
    EXPECT_EQ(CommitAndRead(kMetaRows), (Rows{Expected(MetaRow{}), Expected(copy)}));
}

TEST_F(FileRecordMetaStore, InsertOverAnExistingRowFailsWithoutRetryAndKeepsTheRow) {
    InsertMetaRow(MetaRow{});
    RecordPtr record = RecordWithMeta(10, OtherValues(10));
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, record.Get(), 0), E_FAIL);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(MetaRow{})});
}

TEST_F(FileRecordMetaStore, InsertWithRetryReplacesAnExistingRow) {
    InsertMetaRow(MetaRow{});
    InsertMetaRow(MetaRow{.fileId = 11});
    MetaRow values = OtherValues(10);
    RecordPtr record = RecordWithMeta(10, values);
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, record.Get(), 1), S_OK);
    MetaRow untouched;
    untouched.fileId = 11;
    EXPECT_EQ(CommitAndRead(kMetaRows), (Rows{Expected(values), Expected(untouched)}));
}

TEST_F(FileRecordMetaStore, InsertWithANullFileRecordIsInvalidAndWritesNothing) {
    EXPECT_EQ(MetaTableRows(*m_store).InsertMetaRecord(10, nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{});
}

TEST_F(FileRecordMetaStore, UpdateOfARecordWithItsMetadataDetachedDeletesTheRow) {
    InsertMetaRow(MetaRow{});
    InsertMetaRow(MetaRow{.fileId = 11});
    RecordPtr record = RecordFor(10);
    MetaPtr fetched;
    ASSERT_EQ(record->GetMetaRecord(fetched.Receive()), S_OK);
    ASSERT_EQ(record->DetachMetaRecord(), S_OK);

    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, record.Get()), S_OK);
    MetaRow other;
    other.fileId = 11;
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(other)});
}

TEST_F(FileRecordMetaStore, UpdateOfARecordWithoutMetadataAndWithoutARowDeletesNothingElse) {
    InsertMetaRow(MetaRow{.fileId = 11});
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, record.Get()), S_OK);
    MetaRow other;
    other.fileId = 11;
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(other)});
}

TEST_F(FileRecordMetaStore, UpdateOfAFileWithoutARowInsertsOne) {
    MetaRow values = OtherValues(10);
    RecordPtr record = RecordWithMeta(10, values);
    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, record.Get()), S_OK);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(values)});
}

TEST_F(FileRecordMetaStore, UpdateRewritesEveryColumnWhateverTheChangedFlag) {
    InsertMetaRow(MetaRow{});
    MetaRow values = OtherValues(10);
    RecordPtr record = RecordWithMeta(10, values);
    MetaPtr meta;
    ASSERT_EQ(record->GetMetaRecord(meta.Receive()), S_OK);
    ASSERT_EQ(meta->SetChanged(0), S_OK);

    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, record.Get()), S_OK);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(values)});
}

TEST_F(FileRecordMetaStore, UpdateWritesAFetchedRecordsChangesThatDoNotRaiseTheFlag) {
    InsertMetaRow(MetaRow{});
    RecordPtr record = RecordFor(10);
    MetaPtr meta;
    ASSERT_EQ(record->GetMetaRecord(meta.Receive()), S_OK);
    ASSERT_EQ(meta->SetChanged(0), S_OK);
    ASSERT_EQ(meta->SetGPSAltitude(40, 41), S_OK);
    ASSERT_EQ(meta->SetAreaInfo(u"valley"), S_OK);
    uint32_t changed = 99;
    ASSERT_EQ(meta->GetChanged(&changed), S_OK);
    ASSERT_EQ(changed, 0u);

    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, record.Get()), S_OK);
    MetaRow values;
    values.gpsAltitude = (int64_t{40} << 32) | 41;
    values.gpsAreaInfo = "valley";
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(values)});
}

TEST_F(FileRecordMetaStore, UpdateWithANullFileRecordIsInvalidAndWritesNothing) {
    InsertMetaRow(MetaRow{});
    EXPECT_EQ(MetaTableRows(*m_store).UpdateMetaRecord(10, nullptr), E_INVALIDARG);
    EXPECT_EQ(CommitAndRead(kMetaRows), Rows{Expected(MetaRow{})});
}

}  // namespace
}  // namespace file_record_test
