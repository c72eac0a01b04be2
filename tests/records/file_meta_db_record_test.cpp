// IZanDB4FileMetaDBRecord as the application gets it from the factory: its
// reference counting, each value's setter and getter, the null arguments of
// the getters, and ClearAll. The filter bytes and the changed flag have files
// of their own.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "file_meta_record_fixture.h"

using meta_record_test::FieldsOf;
using meta_record_test::MakeTime;

namespace {

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

class FileMetaRecord : public meta_record_test::LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        if (HasFatalFailure()) return;
        m_record = Create<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
        ASSERT_NE(m_record, nullptr);
    }
    void TearDown() override {
        // The test's own reference is the last one: nothing inside kept one.
        if (m_record != nullptr) {
            EXPECT_EQ(m_record->Release(), 0u);
        }
        LibraryTest::TearDown();
    }

    IZanDB4FileMetaDBRecord* m_record = nullptr;
};

// ---- object conventions ----

TEST_F(FileMetaRecord, FactoryHandsOutTheRecordWithOneReference) {
    EXPECT_EQ(m_record->AddRef(), 2u);
    EXPECT_EQ(m_record->Release(), 1u);
}

TEST_F(FileMetaRecord, QueryInterfaceForItsOwnIdentifierGivesItselfWithAReference) {
    void* out = nullptr;
    EXPECT_EQ(m_record->QueryInterface(IID_IZanDB4FileMetaDBRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(m_record));
    EXPECT_EQ(m_record->Release(), 1u);
}

TEST_F(FileMetaRecord, QueryInterfaceForIUnknownIsNoInterfaceWithANullOut) {
    void* out = m_record;
    EXPECT_EQ(m_record->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_record->AddRef(), 2u);
    EXPECT_EQ(m_record->Release(), 1u);
}

TEST_F(FileMetaRecord, QueryInterfaceWithANullOutIsInvalidArg) {
    EXPECT_EQ(m_record->QueryInterface(IID_IZanDB4FileMetaDBRecord, nullptr), E_INVALIDARG);
}

// ---- a fresh record ----

TEST_F(FileMetaRecord, FreshRecordHoldsZerosEmptyTextsAndNoFilterData) {
    uint64_t id = 9, fileSize = 9, duration = 9;
    EXPECT_EQ(m_record->GetFileID(&id), S_OK);
    EXPECT_EQ(m_record->GetFileSize(&fileSize), S_OK);
    EXPECT_EQ(m_record->GetDuration(&duration), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(fileSize, 0u);
    EXPECT_EQ(duration, 0u);

    SYSTEMTIME updated = MakeTime(1, 1, 1, 1, 1, 1, 1, 1), imported = updated;
    uint32_t importClass = 9;
    EXPECT_EQ(m_record->GetFileUpdateDate(&updated), S_OK);
    EXPECT_EQ(m_record->GetImportDate(&imported, &importClass), S_OK);
    EXPECT_EQ(FieldsOf(updated), FieldsOf(SYSTEMTIME{}));
    EXPECT_EQ(FieldsOf(imported), FieldsOf(SYSTEMTIME{}));
    EXPECT_EQ(importClass, 0u);

    uint32_t width = 9, height = 9, panorama = 9, drive = 9, frameRate = 9, changed = 9;
    EXPECT_EQ(m_record->GetPixelSize(&width, &height), S_OK);
    EXPECT_EQ(m_record->GetPanoramaNumber(&panorama), S_OK);
    EXPECT_EQ(m_record->GetDriveNumber(&drive), S_OK);
    EXPECT_EQ(m_record->GetFrameRate(&frameRate), S_OK);
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(width, 0u);
    EXPECT_EQ(height, 0u);
    EXPECT_EQ(panorama, 0u);
    EXPECT_EQ(drive, 0u);
    EXPECT_EQ(frameRate, 0u);
    EXPECT_EQ(changed, 0u);

    int32_t altitudeFirst = 9, altitudeSecond = 9;
    uint32_t directionFirst = 9, directionSecond = 9;
    EXPECT_EQ(m_record->GetGPSAltitude(&altitudeFirst, &altitudeSecond), S_OK);
    EXPECT_EQ(m_record->GetGPSDirection(&directionFirst, &directionSecond), S_OK);
    EXPECT_EQ(altitudeFirst, 0);
    EXPECT_EQ(altitudeSecond, 0);
    EXPECT_EQ(directionFirst, 0u);
    EXPECT_EQ(directionSecond, 0u);

    CZanTString area(u"x"), model(u"x");
    uint32_t picture = 9, finishing = 9, artFilter = 9, focus = 9, paramFlag = 9;
    EXPECT_EQ(m_record->GetAreaInfo(area), S_OK);
    EXPECT_EQ(m_record->GetModelInfo(model, &picture, &finishing, &artFilter, &focus, &paramFlag), S_OK);
    EXPECT_TRUE(area.IsEmpty());
    EXPECT_TRUE(model.IsEmpty());
    EXPECT_EQ(picture, 0u);
    EXPECT_EQ(finishing, 0u);
    EXPECT_EQ(artFilter, 0u);
    EXPECT_EQ(focus, 0u);
    EXPECT_EQ(paramFlag, 0u);

    uint32_t filterSize = 9;
    EXPECT_EQ(m_record->GetFilterData(nullptr, &filterSize), S_OK);
    EXPECT_EQ(filterSize, 0u);
}

// ---- the 64-bit values ----

TEST_F(FileMetaRecord, FileIdKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_record->SetFileID(0xFEDCBA9876543210ull), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(m_record->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0xFEDCBA9876543210ull);
}

TEST_F(FileMetaRecord, GetFileIdWithANullOutIsInvalidArg) { EXPECT_EQ(m_record->GetFileID(nullptr), E_INVALIDARG); }

TEST_F(FileMetaRecord, FileSizeKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_record->SetFileSize(0x8000000000000001ull), S_OK);
    uint64_t fileSize = 0;
    EXPECT_EQ(m_record->GetFileSize(&fileSize), S_OK);
    EXPECT_EQ(fileSize, 0x8000000000000001ull);
}

TEST_F(FileMetaRecord, GetFileSizeWithANullOutIsInvalidArg) { EXPECT_EQ(m_record->GetFileSize(nullptr), E_INVALIDARG); }

TEST_F(FileMetaRecord, DurationKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_record->SetDuration(0xFFFFFFFF00000002ull), S_OK);
    uint64_t duration = 0;
    EXPECT_EQ(m_record->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, 0xFFFFFFFF00000002ull);
}

TEST_F(FileMetaRecord, GetDurationWithANullOutIsInvalidArg) { EXPECT_EQ(m_record->GetDuration(nullptr), E_INVALIDARG); }

// ---- dates ----

TEST_F(FileMetaRecord, FileUpdateDateComesBackAsSet) {
    SYSTEMTIME date = MakeTime(2023, 11, 30, 23, 59, 58);
    EXPECT_EQ(m_record->SetFileUpdateDate(&date), S_OK);
    SYSTEMTIME read{};
    EXPECT_EQ(m_record->GetFileUpdateDate(&read), S_OK);
    EXPECT_EQ(FieldsOf(read), FieldsOf(date));
}

TEST_F(FileMetaRecord, SetFileUpdateDateWithANullDateIsInvalidArgAndKeepsTheOldDate) {
    SYSTEMTIME date = MakeTime(2020, 2, 29, 12, 0, 0);
    ASSERT_EQ(m_record->SetFileUpdateDate(&date), S_OK);
    EXPECT_EQ(m_record->SetFileUpdateDate(nullptr), E_INVALIDARG);
    SYSTEMTIME read{};
    EXPECT_EQ(m_record->GetFileUpdateDate(&read), S_OK);
    EXPECT_EQ(FieldsOf(read), FieldsOf(date));
}

TEST_F(FileMetaRecord, GetFileUpdateDateWithANullOutIsInvalidArg) {
    EXPECT_EQ(m_record->GetFileUpdateDate(nullptr), E_INVALIDARG);
}

TEST_F(FileMetaRecord, ImportDateComesBackWithItsClass) {
    SYSTEMTIME date = MakeTime(2024, 1, 2, 3, 4, 5);
    EXPECT_EQ(m_record->SetImportDate(&date, 0xC0000003u), S_OK);
    SYSTEMTIME read{};
    uint32_t importClass = 0;
    EXPECT_EQ(m_record->GetImportDate(&read, &importClass), S_OK);
    EXPECT_EQ(FieldsOf(read), FieldsOf(date));
    EXPECT_EQ(importClass, 0xC0000003u);
}

TEST_F(FileMetaRecord, GetImportDateWithANullClassStillGivesTheDate) {
    SYSTEMTIME date = MakeTime(2024, 7, 8, 9, 10, 11);
    ASSERT_EQ(m_record->SetImportDate(&date, 4), S_OK);
    SYSTEMTIME read{};
    EXPECT_EQ(m_record->GetImportDate(&read, nullptr), S_OK);
    EXPECT_EQ(FieldsOf(read), FieldsOf(date));
}

TEST_F(FileMetaRecord, GetImportDateWithANullDateIsInvalidArgAndWritesNoClass) {
    SYSTEMTIME date = MakeTime(2024, 7, 8, 9, 10, 11);
    ASSERT_EQ(m_record->SetImportDate(&date, 4), S_OK);
    uint32_t importClass = 77;
    EXPECT_EQ(m_record->GetImportDate(nullptr, &importClass), E_INVALIDARG);
    EXPECT_EQ(importClass, 77u);
}

TEST_F(FileMetaRecord, SetImportDateWithANullDateIsInvalidArgAndKeepsDateAndClass) {
    SYSTEMTIME date = MakeTime(2019, 5, 6, 7, 8, 9);
    ASSERT_EQ(m_record->SetImportDate(&date, 2), S_OK);
    EXPECT_EQ(m_record->SetImportDate(nullptr, 5), E_INVALIDARG);
    SYSTEMTIME read{};
    uint32_t importClass = 0;
    EXPECT_EQ(m_record->GetImportDate(&read, &importClass), S_OK);
    EXPECT_EQ(FieldsOf(read), FieldsOf(date));
    EXPECT_EQ(importClass, 2u);
}

// ---- pixel size ----

TEST_F(FileMetaRecord, PixelSizeComesBackWithBothOuts) {
    EXPECT_EQ(m_record->SetPixelSize(6000, 0xFFFFFFFFu), S_OK);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(m_record->GetPixelSize(&width, &height), S_OK);
    EXPECT_EQ(width, 6000u);
    EXPECT_EQ(height, 0xFFFFFFFFu);
}

TEST_F(FileMetaRecord, GetPixelSizeGivesTheWidthAlone) {
    ASSERT_EQ(m_record->SetPixelSize(640, 480), S_OK);
    uint32_t width = 0;
    EXPECT_EQ(m_record->GetPixelSize(&width, nullptr), S_OK);
    EXPECT_EQ(width, 640u);
}

TEST_F(FileMetaRecord, GetPixelSizeGivesTheHeightAlone) {
    ASSERT_EQ(m_record->SetPixelSize(640, 480), S_OK);
    uint32_t height = 0;
    EXPECT_EQ(m_record->GetPixelSize(nullptr, &height), S_OK);
    EXPECT_EQ(height, 480u);
}

TEST_F(FileMetaRecord, GetPixelSizeWithBothOutsNullIsFailNotInvalidArg) {
    EXPECT_EQ(m_record->GetPixelSize(nullptr, nullptr), E_FAIL);
}

// ---- the 32-bit numbers ----

TEST_F(FileMetaRecord, PanoramaNumberComesBackAsSet) {
    EXPECT_EQ(m_record->SetPanoramaNumber(0x80000001u), S_OK);
    uint32_t number = 0;
    EXPECT_EQ(m_record->GetPanoramaNumber(&number), S_OK);
    EXPECT_EQ(number, 0x80000001u);
}

TEST_F(FileMetaRecord, GetPanoramaNumberWithANullOutIsInvalidArg) {
    EXPECT_EQ(m_record->GetPanoramaNumber(nullptr), E_INVALIDARG);
}

TEST_F(FileMetaRecord, DriveNumberComesBackAsSet) {
    EXPECT_EQ(m_record->SetDriveNumber(12), S_OK);
    uint32_t number = 0;
    EXPECT_EQ(m_record->GetDriveNumber(&number), S_OK);
    EXPECT_EQ(number, 12u);
}

TEST_F(FileMetaRecord, GetDriveNumberWithANullOutIsInvalidArg) {
    EXPECT_EQ(m_record->GetDriveNumber(nullptr), E_INVALIDARG);
}

TEST_F(FileMetaRecord, FrameRateComesBackAsSet) {
    EXPECT_EQ(m_record->SetFrameRate(2997), S_OK);
    uint32_t frameRate = 0;
    EXPECT_EQ(m_record->GetFrameRate(&frameRate), S_OK);
    EXPECT_EQ(frameRate, 2997u);
}

TEST_F(FileMetaRecord, GetFrameRateWithANullOutIsInvalidArg) { EXPECT_EQ(m_record->GetFrameRate(nullptr), E_INVALIDARG); }

// ---- GPS halves (joined only in the column; the record keeps them apart) ----

TEST_F(FileMetaRecord, GPSAltitudeHalvesComeBackAsGivenInMemory) {
    EXPECT_EQ(m_record->SetGPSAltitude(1, -1), S_OK);
    int32_t first = 0, second = 0;
    EXPECT_EQ(m_record->GetGPSAltitude(&first, &second), S_OK);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, -1);
}

TEST_F(FileMetaRecord, GetGPSAltitudeWithEitherOutNullIsInvalidArg) {
    int32_t half = 0;
    EXPECT_EQ(m_record->GetGPSAltitude(nullptr, &half), E_INVALIDARG);
    EXPECT_EQ(m_record->GetGPSAltitude(&half, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_record->GetGPSAltitude(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(FileMetaRecord, GPSDirectionHalvesComeBackAsGiven) {
    EXPECT_EQ(m_record->SetGPSDirection(0xFFFFFFFFu, 1), S_OK);
    uint32_t first = 0, second = 0;
    EXPECT_EQ(m_record->GetGPSDirection(&first, &second), S_OK);
    EXPECT_EQ(first, 0xFFFFFFFFu);
    EXPECT_EQ(second, 1u);
}

TEST_F(FileMetaRecord, GetGPSDirectionWithEitherOutNullIsInvalidArg) {
    uint32_t half = 0;
    EXPECT_EQ(m_record->GetGPSDirection(nullptr, &half), E_INVALIDARG);
    EXPECT_EQ(m_record->GetGPSDirection(&half, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_record->GetGPSDirection(nullptr, nullptr), E_INVALIDARG);
}

// ---- texts ----

TEST_F(FileMetaRecord, AreaInfoComesBackAsSetIncludingNonAsciiText) {
    EXPECT_EQ(m_record->SetAreaInfo(u"Z\u00FCrich \u6771\u4EAC"), S_OK);
    CZanTString area;
    EXPECT_EQ(m_record->GetAreaInfo(area), S_OK);
    EXPECT_EQ(area.Value(), std::u16string(u"Z\u00FCrich \u6771\u4EAC"));
}

TEST_F(FileMetaRecord, GetAreaInfoOfAnEmptyAreaIsOkAndReplacesTheCallersText) {
    CZanTString area(u"left over");
    EXPECT_EQ(m_record->GetAreaInfo(area), S_OK);
    EXPECT_TRUE(area.IsEmpty());
}

TEST_F(FileMetaRecord, SetAreaInfoReplacesTheEarlierText) {
    ASSERT_EQ(m_record->SetAreaInfo(u"a longer first text"), S_OK);
    ASSERT_EQ(m_record->SetAreaInfo(u"short"), S_OK);
    CZanTString area;
    EXPECT_EQ(m_record->GetAreaInfo(area), S_OK);
    EXPECT_EQ(area.Value(), std::u16string(u"short"));
}

TEST_F(FileMetaRecord, ModelInfoComesBackWithAllSixValues) {
    EXPECT_EQ(m_record->SetModelInfo(u"CAM-9 Mark II", 1, 2, 3, 4, 0xFFFFFFFFu), S_OK);
    CZanTString model;
    uint32_t picture = 0, finishing = 0, artFilter = 0, focus = 0, paramFlag = 0;
    EXPECT_EQ(m_record->GetModelInfo(model, &picture, &finishing, &artFilter, &focus, &paramFlag), S_OK);
    EXPECT_EQ(model.Value(), std::u16string(u"CAM-9 Mark II"));
    EXPECT_EQ(picture, 1u);
    EXPECT_EQ(finishing, 2u);
    EXPECT_EQ(artFilter, 3u);
    EXPECT_EQ(focus, 4u);
    EXPECT_EQ(paramFlag, 0xFFFFFFFFu);
}

TEST_F(FileMetaRecord, GetModelInfoWithoutFocusModeAndParamFlagFillsTheOthers) {
    ASSERT_EQ(m_record->SetModelInfo(u"M", 11, 12, 13, 14, 15), S_OK);
    CZanTString model;
    uint32_t picture = 0, finishing = 0, artFilter = 0;
    EXPECT_EQ(m_record->GetModelInfo(model, &picture, &finishing, &artFilter, nullptr, nullptr), S_OK);
    EXPECT_EQ(model.Value(), std::u16string(u"M"));
    EXPECT_EQ(picture, 11u);
    EXPECT_EQ(finishing, 12u);
    EXPECT_EQ(artFilter, 13u);
}

TEST_F(FileMetaRecord, GetModelInfoWithAnyOfTheFirstThreeNumbersNullWritesNothing) {
    ASSERT_EQ(m_record->SetModelInfo(u"Model", 1, 2, 3, 4, 5), S_OK);
    for (int missing = 0; missing < 3; ++missing) {
        SCOPED_TRACE("missing number out " + std::to_string(missing));
        CZanTString model(u"untouched");
        uint32_t values[5] = {90, 91, 92, 93, 94};
        uint32_t* outs[3] = {&values[0], &values[1], &values[2]};
        outs[missing] = nullptr;
        EXPECT_EQ(m_record->GetModelInfo(model, outs[0], outs[1], outs[2], &values[3], &values[4]), E_INVALIDARG);
        EXPECT_EQ(model.Value(), std::u16string(u"untouched"));
        for (int i = 0; i < 5; ++i) EXPECT_EQ(values[i], 90u + static_cast<uint32_t>(i)) << "out " << i;
    }
}

// ---- the changed flag itself ----

TEST_F(FileMetaRecord, SetChangedStoresTheValueAsGiven) {
    EXPECT_EQ(m_record->SetChanged(7), S_OK);
    uint32_t changed = 0;
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 7u);
    EXPECT_EQ(m_record->SetChanged(0), S_OK);
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 0u);
}

TEST_F(FileMetaRecord, GetChangedWithANullOutIsInvalidArg) { EXPECT_EQ(m_record->GetChanged(nullptr), E_INVALIDARG); }

// ---- ClearAll ----

TEST_F(FileMetaRecord, ClearAllZeroesEveryValueAndSetsTheFlagToOne) {
    const unsigned char filter[] = {1, 2, 3, 4};
    SYSTEMTIME date = MakeTime(2022, 2, 2, 2, 2, 2);
    ASSERT_EQ(m_record->SetFileID(5), S_OK);
    ASSERT_EQ(m_record->SetFilterData(filter, sizeof filter), S_OK);
    ASSERT_EQ(m_record->SetFileSize(6), S_OK);
    ASSERT_EQ(m_record->SetFileUpdateDate(&date), S_OK);
    ASSERT_EQ(m_record->SetImportDate(&date, 7), S_OK);
    ASSERT_EQ(m_record->SetPixelSize(8, 9), S_OK);
    ASSERT_EQ(m_record->SetPanoramaNumber(10), S_OK);
    ASSERT_EQ(m_record->SetDriveNumber(11), S_OK);
    ASSERT_EQ(m_record->SetDuration(12), S_OK);
    ASSERT_EQ(m_record->SetFrameRate(13), S_OK);
    ASSERT_EQ(m_record->SetGPSAltitude(14, -15), S_OK);
    ASSERT_EQ(m_record->SetGPSDirection(16, 17), S_OK);
    ASSERT_EQ(m_record->SetAreaInfo(u"area"), S_OK);
    ASSERT_EQ(m_record->SetModelInfo(u"model", 18, 19, 20, 21, 22), S_OK);
    ASSERT_EQ(m_record->SetChanged(0), S_OK);

    EXPECT_EQ(m_record->ClearAll(), S_OK);

    uint64_t id = 1, fileSize = 1, duration = 1;
    EXPECT_EQ(m_record->GetFileID(&id), S_OK);
    EXPECT_EQ(m_record->GetFileSize(&fileSize), S_OK);
    EXPECT_EQ(m_record->GetDuration(&duration), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(fileSize, 0u);
    EXPECT_EQ(duration, 0u);

    const void* data = filter;
    uint32_t filterSize = 1;
    EXPECT_EQ(m_record->GetFilterData(&data, &filterSize), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(filterSize, 0u);

    SYSTEMTIME updated = date, imported = date;
    uint32_t importClass = 1;
    EXPECT_EQ(m_record->GetFileUpdateDate(&updated), S_OK);
    EXPECT_EQ(m_record->GetImportDate(&imported, &importClass), S_OK);
    EXPECT_EQ(FieldsOf(updated), FieldsOf(SYSTEMTIME{}));
    EXPECT_EQ(FieldsOf(imported), FieldsOf(SYSTEMTIME{}));
    EXPECT_EQ(importClass, 0u);

    uint32_t width = 1, height = 1, panorama = 1, drive = 1, frameRate = 1;
    EXPECT_EQ(m_record->GetPixelSize(&width, &height), S_OK);
    EXPECT_EQ(m_record->GetPanoramaNumber(&panorama), S_OK);
    EXPECT_EQ(m_record->GetDriveNumber(&drive), S_OK);
    EXPECT_EQ(m_record->GetFrameRate(&frameRate), S_OK);
    EXPECT_EQ(width, 0u);
    EXPECT_EQ(height, 0u);
    EXPECT_EQ(panorama, 0u);
    EXPECT_EQ(drive, 0u);
    EXPECT_EQ(frameRate, 0u);

    int32_t altitudeFirst = 1, altitudeSecond = 1;
    uint32_t directionFirst = 1, directionSecond = 1;
    EXPECT_EQ(m_record->GetGPSAltitude(&altitudeFirst, &altitudeSecond), S_OK);
    EXPECT_EQ(m_record->GetGPSDirection(&directionFirst, &directionSecond), S_OK);
    EXPECT_EQ(altitudeFirst, 0);
    EXPECT_EQ(altitudeSecond, 0);
    EXPECT_EQ(directionFirst, 0u);
    EXPECT_EQ(directionSecond, 0u);

    CZanTString area, model;
    uint32_t picture = 1, finishing = 1, artFilter = 1, focus = 1, paramFlag = 1;
    EXPECT_EQ(m_record->GetAreaInfo(area), S_OK);
    EXPECT_EQ(m_record->GetModelInfo(model, &picture, &finishing, &artFilter, &focus, &paramFlag), S_OK);
    EXPECT_TRUE(area.IsEmpty());
    EXPECT_TRUE(model.IsEmpty());
    EXPECT_EQ(picture, 0u);
    EXPECT_EQ(finishing, 0u);
    EXPECT_EQ(artFilter, 0u);
    EXPECT_EQ(focus, 0u);
    EXPECT_EQ(paramFlag, 0u);

    uint32_t changed = 0;
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 1u);
}

TEST_F(FileMetaRecord, ClearAllSetsTheFlagToOneWhateverItWasBefore) {
    ASSERT_EQ(m_record->SetChanged(42), S_OK);
    EXPECT_EQ(m_record->ClearAll(), S_OK);
    uint32_t changed = 0;
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 1u);
}

}  // namespace
