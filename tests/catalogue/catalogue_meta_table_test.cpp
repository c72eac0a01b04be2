// The catalogue's single-row operations on meta_table: InsertMetaRow with and
// without retry, FindMetaRecord, UpdateMetaRow, DeleteMetaRecord,
// HasMetaRecord and MetaValuesOf. Rows are checked on disk after a commit,
// column by column in their stored form, and read back through records from
// the factory.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

#include "records/meta_rows.h"
#include "catalogue_meta_fixture.h"

using namespace catalogue_meta_test;

namespace {

class CatalogueMetaTable : public MetaTableTest {
protected:
    // The record FindMetaRecord gives for fileId; the caller releases it.
    IZanDB4FileMetaDBRecord* Find(uint64_t fileId) {
        IZanDB4FileMetaDBRecord* record = nullptr;
        EXPECT_EQ(Store()->FindMetaRecord(&record, fileId), S_OK);
        return record;
    }

    // Inserts fields, commits, and answers the row found again.
    IZanDB4FileMetaDBRecord* RoundTrip(const MetaFields& fields) {
        EXPECT_EQ(Insert(fields), S_OK);
        Commit();
        return Find(fields.fileId);
    }

    // The committed filter_data of fileId, read as a blob.
    std::vector<unsigned char> DiskBlob(uint64_t fileId) {
        zandb4::testing::SqliteProbe probe(File());
        std::vector<unsigned char> bytes;
        sqlite3_stmt* statement = nullptr;
        std::string sql = "SELECT filter_data FROM meta_table WHERE file_id=" + std::to_string(fileId);
        if (sqlite3_prepare_v2(probe.Handle(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            const auto* data = static_cast<const unsigned char*>(sqlite3_column_blob(statement, 0));
            bytes.assign(data, data + sqlite3_column_bytes(statement, 0));
        }
        sqlite3_finalize(statement);
        return bytes;
    }
};

// ---- insert and find ----

TEST_F(CatalogueMetaTable, InsertWritesEveryColumnInItsStoredForm) {
    MetaFields fields = SampleFields(41, 3);
    EXPECT_EQ(Insert(fields), S_OK);
    Commit();
    EXPECT_EQ(DiskRows(), Rows{ExpectedRow(fields)});
}

TEST_F(CatalogueMetaTable, InsertedRowReachesTheDiskOnlyWithTheCommit) {
    EXPECT_EQ(Insert(SampleFields(5)), S_OK);
    EXPECT_TRUE(DiskRows().empty());
    Commit();
    EXPECT_EQ(DiskRows().size(), 1u);
}

TEST_F(CatalogueMetaTable, FindReadsEveryColumnBackExactly) {
    MetaFields fields = SampleFields(77, 9);
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, FindSeesARowOfTheOpenTransaction) {
    MetaFields fields = SampleFields(8);
    ASSERT_EQ(Insert(fields), S_OK);
    IZanDB4FileMetaDBRecord* found = Find(8);
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, FoundRecordCarriesOneReferenceAndIsNewEachTime) {
    ASSERT_EQ(Insert(SampleFields(12)), S_OK);
    IZanDB4FileMetaDBRecord* first = Find(12);
    IZanDB4FileMetaDBRecord* second = Find(12);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->AddRef(), 2u);
    EXPECT_EQ(first->Release(), 1u);
    EXPECT_EQ(first->Release(), 0u);
    EXPECT_EQ(second->Release(), 0u);
}

TEST_F(CatalogueMetaTable, FindOfAnUnknownIdIsFailAndLeavesTheOutNull) {
    ASSERT_EQ(Insert(SampleFields(1)), S_OK);
    auto* record = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(Store()->FindMetaRecord(&record, 2), E_FAIL);
    EXPECT_EQ(record, nullptr);
}

TEST_F(CatalogueMetaTable, FindWithANullOutIsInvalidArg) {
    ASSERT_EQ(Insert(SampleFields(1)), S_OK);
    EXPECT_EQ(Store()->FindMetaRecord(nullptr, 1), E_INVALIDARG);
}

TEST_F(CatalogueMetaTable, DatesLoseMillisecondsAndDayOfWeekOnTheWayThrough) {
    MetaFields fields = SampleFields(3);
    fields.fileUpdateDate.wMilliseconds = 999;
    fields.fileUpdateDate.wDayOfWeek = 4;
    fields.importDate.wMilliseconds = 1;
    fields.importDate.wDayOfWeek = 6;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);

    EXPECT_EQ(DiskCell(3), std::to_string(Packed(fields.fileUpdateDate)));
    fields.fileUpdateDate.wMilliseconds = 0;
    fields.fileUpdateDate.wDayOfWeek = 0;
    fields.importDate.wMilliseconds = 0;
    fields.importDate.wDayOfWeek = 0;
    ExpectHolds(found, fields);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, ZeroDatesStoreZero) {
    MetaFields fields = SampleFields(4);
    fields.fileUpdateDate = SYSTEMTIME{};
    fields.importDate = SYSTEMTIME{};
    ASSERT_EQ(Insert(fields), S_OK);
    Commit();
    Rows rows = DiskRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][3], "0");
    EXPECT_EQ(rows[0][4], "0");
}

// ---- the joined GPS columns ----

TEST_F(CatalogueMetaTable, AltitudeOneAndMinusOneStores4294967295AndReadsBackAsZeroAndMinusOne) {
    MetaFields fields = SampleFields(20);
    fields.altitudeFirst = 1;
    fields.altitudeSecond = -1;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(DiskCell(12), "4294967295");
    int32_t first = 7, second = 7;
    EXPECT_EQ(found->GetGPSAltitude(&first, &second), S_OK);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, -1);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, AltitudeWithANegativeFirstHalfAndAPositiveSecondComesBackUnchanged) {
    MetaFields fields = SampleFields(21);
    fields.altitudeFirst = -2;
    fields.altitudeSecond = 7;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(DiskCell(12), "-8589934585");
    int32_t first = 0, second = 0;
    EXPECT_EQ(found->GetGPSAltitude(&first, &second), S_OK);
    EXPECT_EQ(first, -2);
    EXPECT_EQ(second, 7);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, AltitudeWithANegativeSecondHalfBorrowsFromTheFirst) {
    MetaFields fields = SampleFields(22);
    fields.altitudeFirst = 0;
    fields.altitudeSecond = -5;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(DiskCell(12), "-5");
    int32_t first = 0, second = 0;
    EXPECT_EQ(found->GetGPSAltitude(&first, &second), S_OK);
    EXPECT_EQ(first, -1);
    EXPECT_EQ(second, -5);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, DirectionHalvesPackWithoutSignExtension) {
    MetaFields fields = SampleFields(23);
    fields.directionFirst = 1;
    fields.directionSecond = 0xFFFFFFFFu;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(DiskCell(13), std::to_string(0x1FFFFFFFFLL));
    uint32_t first = 0, second = 0;
    EXPECT_EQ(found->GetGPSDirection(&first, &second), S_OK);
    EXPECT_EQ(first, 1u);
    EXPECT_EQ(second, 0xFFFFFFFFu);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, DirectionWithEveryBitSetStoresMinusOneAndComesBackWhole) {
    MetaFields fields = SampleFields(24);
    fields.directionFirst = 0xFFFFFFFFu;
    fields.directionSecond = 0xFFFFFFFFu;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(DiskCell(13), "-1");
    uint32_t first = 0, second = 0;
    EXPECT_EQ(found->GetGPSDirection(&first, &second), S_OK);
    EXPECT_EQ(first, 0xFFFFFFFFu);
    EXPECT_EQ(second, 0xFFFFFFFFu);
    EXPECT_EQ(found->Release(), 0u);
}

// ---- value ranges ----

TEST_F(CatalogueMetaTable, ThirtyTwoBitValuesWithTheTopBitSetAreStoredSignedAndComeBackWhole) {
    MetaFields fields = SampleFields(30);
    fields.pixelWidth = 0xFFFFFFFFu;
    fields.pixelHeight = 0x80000000u;
    fields.panoramaNumber = 0x80000001u;
    fields.driveNumber = 0xFFFFFFFEu;
    fields.frameRate = 0x90000000u;
    fields.importClass = 0xA0000000u;
    fields.pictureMode = 0xB0000000u;
    fields.finishingMode = 0xC0000000u;
    fields.artFilter = 0xD0000000u;
    fields.focusMode = 0xE0000000u;
    fields.paramFlag = 0xF0000000u;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    EXPECT_EQ(DiskRows(), Rows{ExpectedRow(fields)});
    EXPECT_EQ(DiskCell(6), "-1");
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, SixtyFourBitValuesKeepEveryBit) {
    MetaFields fields = SampleFields(31);
    fields.fileId = 0x7FFFFFFFFFFFFFF0ull;
    fields.fileSize = 0xFFFFFFFFFFFFFFFFull;
    fields.duration = 0x8000000000000000ull;
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, FilterBlobOfSeveralMegabytesComesBackByteForByte) {
    MetaFields fields = SampleFields(50);
    fields.filter.resize(5u << 20);
    for (size_t i = 0; i < fields.filter.size(); ++i)
        fields.filter[i] = static_cast<unsigned char>((i * 2654435761u) >> 13);
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    EXPECT_TRUE(DiskBlob(50) == fields.filter) << "the blob on disk differs";
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, FilterOfSizeZeroStoresNoBytesAndComesBackAsNoData) {
    MetaFields fields = SampleFields(51);
    fields.filter.clear();
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    ASSERT_NE(found, nullptr);
    zandb4::testing::SqliteProbe probe(File());
    EXPECT_EQ(probe.Integer("SELECT IFNULL(length(filter_data), 0) FROM meta_table WHERE file_id=51"), 0);
    const void* data = nullptr;
    uint32_t size = 9;
    EXPECT_EQ(found->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(size, 0u);
    ExpectHolds(found, fields);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CatalogueMetaTable, EmptyTextsAreStoredEmptyAndComeBackEmpty) {
    MetaFields fields = SampleFields(52);
    fields.areaInfo.clear();
    fields.modelName.clear();
    IZanDB4FileMetaDBRecord* found = RoundTrip(fields);
    Rows rows = DiskRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][14], "");
    EXPECT_EQ(rows[0][15], "");
    ExpectHolds(found, fields);
    ReleaseLast(found);
}

// ---- insert over an existing row ----

TEST_F(CatalogueMetaTable, InsertWithRetryReplacesTheRowOfThatFileId) {
    MetaFields old = SampleFields(60, 1);
    MetaFields replacement = SampleFields(60, 2);
    ASSERT_EQ(Insert(old), S_OK);
    EXPECT_EQ(Insert(replacement, 1), S_OK);
    Commit();
    EXPECT_EQ(DiskRows(), Rows{ExpectedRow(replacement)});
}

TEST_F(CatalogueMetaTable, InsertWithoutRetryFailsOverAnExistingRowAndLeavesItAsItWas) {
    MetaFields old = SampleFields(61, 1);
    ASSERT_EQ(Insert(old), S_OK);
    EXPECT_EQ(Insert(SampleFields(61, 2), 0), E_FAIL);
    Commit();
    EXPECT_EQ(DiskRows(), Rows{ExpectedRow(old)});
}

TEST_F(CatalogueMetaTable, InsertWithRetryOfANewFileIdJustInserts) {
    MetaFields other = SampleFields(62, 1);
    MetaFields fields = SampleFields(63, 2);
    ASSERT_EQ(Insert(other), S_OK);
    EXPECT_EQ(Insert(fields, 1), S_OK);
    Commit();
    EXPECT_EQ(DiskRows(), (Rows{ExpectedRow(other), ExpectedRow(fields)}));
}

// ---- update ----

TEST_F(CatalogueMetaTable, UpdateRewritesEveryColumnOfThatRowOnly) {
    MetaFields bystander = SampleFields(70, 1);
    ASSERT_EQ(Insert(SampleFields(71, 2)), S_OK);
    ASSERT_EQ(Insert(bystander), S_OK);
    Commit();

    MetaFields changed = SampleFields(71, 7);
    changed.altitudeFirst = 1;
    changed.altitudeSecond = -1;
    changed.directionFirst = 1;
    changed.directionSecond = 0xFFFFFFFFu;
    changed.pixelWidth = 0xFFFFFFFFu;
    EXPECT_EQ(Update(changed), S_OK);
    Commit();

    EXPECT_EQ(DiskRows(" WHERE file_id=71"), Rows{ExpectedRow(changed)});
    EXPECT_EQ(DiskRows(" WHERE file_id=70"), Rows{ExpectedRow(bystander)});
}

TEST_F(CatalogueMetaTable, UpdateWritesEmptyValuesToo) {
    ASSERT_EQ(Insert(SampleFields(72, 3)), S_OK);
    Commit();
    MetaFields empty;
    empty.fileId = 72;
    EXPECT_EQ(Update(empty), S_OK);
    Commit();
    EXPECT_EQ(DiskRows(), Rows{ExpectedRow(empty)});
    IZanDB4FileMetaDBRecord* found = Find(72);
    ExpectHolds(found, empty);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaTable, UpdateOfAFileIdWithoutARowIsOkAndAddsNone) {
    ASSERT_EQ(Insert(SampleFields(73)), S_OK);
    EXPECT_EQ(Update(SampleFields(74)), S_OK);
    Commit();
    Rows rows = DiskRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "73");
}

// ---- delete and has ----

TEST_F(CatalogueMetaTable, DeleteRemovesThatRowOnly) {
    ASSERT_EQ(Insert(SampleFields(80)), S_OK);
    ASSERT_EQ(Insert(SampleFields(81)), S_OK);
    Commit();
    EXPECT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(80), S_OK);
    Commit();
    Rows rows = DiskRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "81");
}

TEST_F(CatalogueMetaTable, DeleteOfAFileIdWithoutARowIsOk) {
    ASSERT_EQ(Insert(SampleFields(82)), S_OK);
    EXPECT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(83), S_OK);
    Commit();
    EXPECT_EQ(DiskRows().size(), 1u);
}

TEST_F(CatalogueMetaTable, DeleteOpensTheTransactionSoTheRowStaysOnDiskUntilTheCommit) {
    ASSERT_EQ(Insert(SampleFields(84)), S_OK);
    Commit();
    EXPECT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(84), S_OK);
    EXPECT_EQ(DiskRows().size(), 1u);
    Commit();
    EXPECT_TRUE(DiskRows().empty());
}

TEST_F(CatalogueMetaTable, HasMetaRecordTellsWhetherTheFileIdHasARow) {
    EXPECT_EQ(MetaTableRows(*Store()).HasMetaRecord(90), 0);
    ASSERT_EQ(Insert(SampleFields(90)), S_OK);
    EXPECT_EQ(MetaTableRows(*Store()).HasMetaRecord(90), 1);
    EXPECT_EQ(MetaTableRows(*Store()).HasMetaRecord(91), 0);
    ASSERT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(90), S_OK);
    EXPECT_EQ(MetaTableRows(*Store()).HasMetaRecord(90), 0);
}

TEST_F(CatalogueMetaTable, DeletedRowIsNotFoundAnyMore) {
    ASSERT_EQ(Insert(SampleFields(92)), S_OK);
    ASSERT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(92), S_OK);
    IZanDB4FileMetaDBRecord* record = nullptr;
    EXPECT_EQ(Store()->FindMetaRecord(&record, 92), E_FAIL);
    EXPECT_EQ(record, nullptr);
}

// ---- MetaValuesOf ----

TEST_F(CatalogueMetaTable, MetaValuesOfReadsEveryValueInItsColumnForm) {
    MetaFields fields = SampleFields(100, 4);
    fields.altitudeFirst = 1;
    fields.altitudeSecond = -1;
    fields.directionFirst = 1;
    fields.directionSecond = 0xFFFFFFFFu;
    IZanDB4FileMetaDBRecord* record = NewRecord();
    ASSERT_NE(record, nullptr);
    Fill(record, fields);
    const void* own = nullptr;
    ASSERT_EQ(record->GetFilterData(&own, nullptr), S_OK);

    MetaRowValues values = MetaTableRows::MetaValuesOf(record);
    EXPECT_EQ(values.filterData, own);  // borrowed, not copied
    EXPECT_EQ(values.filterDataSize, fields.filter.size());
    EXPECT_EQ(values.fileSize, static_cast<int64_t>(fields.fileSize));
    EXPECT_EQ(values.fileUpdateDate, Packed(fields.fileUpdateDate));
    EXPECT_EQ(values.importDate, Packed(fields.importDate));
    EXPECT_EQ(values.duration, static_cast<int64_t>(fields.duration));
    EXPECT_EQ(values.pixelWidth, fields.pixelWidth);
    EXPECT_EQ(values.pixelHeight, fields.pixelHeight);
    EXPECT_EQ(values.panoramaNumber, fields.panoramaNumber);
    EXPECT_EQ(values.driveNumber, fields.driveNumber);
    EXPECT_EQ(values.frameRate, fields.frameRate);
    EXPECT_EQ(values.importClass, fields.importClass);
    EXPECT_EQ(values.gpsAltitude, 4294967295LL);
    EXPECT_EQ(values.gpsDirection, 0x1FFFFFFFFLL);
    EXPECT_EQ(values.gpsAreaInfo.ToUtf8(), Utf8(fields.areaInfo));
    EXPECT_EQ(values.modelName.ToUtf8(), Utf8(fields.modelName));
    EXPECT_EQ(values.pictureMode, fields.pictureMode);
    EXPECT_EQ(values.finishingMode, fields.finishingMode);
    EXPECT_EQ(values.artFilter, fields.artFilter);
    EXPECT_EQ(values.focusMode, fields.focusMode);
    EXPECT_EQ(values.paramFlag, fields.paramFlag);
    EXPECT_EQ(record->Release(), 0u);
}

TEST_F(CatalogueMetaTable, MetaValuesOfARecordWithoutFilterDataHasNoBlob) {
    IZanDB4FileMetaDBRecord* record = NewRecord();
    ASSERT_NE(record, nullptr);
    MetaRowValues values = MetaTableRows::MetaValuesOf(record);
    EXPECT_EQ(values.filterData, nullptr);
    EXPECT_EQ(values.filterDataSize, 0u);
    EXPECT_EQ(values.fileUpdateDate, 0);
    EXPECT_TRUE(values.modelName.IsEmpty());
    EXPECT_EQ(record->Release(), 0u);
}

}  // namespace
