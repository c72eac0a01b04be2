// Shared by the tests of the catalogue's meta_table operations: a full set of
// metadata values with the row they must give on disk (worked out here from
// the stored forms, not by the library's own packing), metadata records made
// and checked through the public interface, and the library started on a
// temporary root with the registry's catalogue at hand.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "records/meta_rows.h"
#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace catalogue_meta_test {

using Rows = std::vector<std::vector<std::string>>;

// Every value of one meta_table row as the record holds it.
struct MetaFields {
    uint64_t fileId = 0;
    std::vector<unsigned char> filter;
    uint64_t fileSize = 0;
    SYSTEMTIME fileUpdateDate{};
    SYSTEMTIME importDate{};
    uint32_t importClass = 0;
    uint32_t pixelWidth = 0;
    uint32_t pixelHeight = 0;
    uint32_t panoramaNumber = 0;
    uint32_t driveNumber = 0;
    uint64_t duration = 0;
    uint32_t frameRate = 0;
    int32_t altitudeFirst = 0;
    int32_t altitudeSecond = 0;
    uint32_t directionFirst = 0;
    uint32_t directionSecond = 0;
    std::u16string areaInfo;
    std::u16string modelName;
    uint32_t pictureMode = 0;
    uint32_t finishingMode = 0;
    uint32_t artFilter = 0;
    uint32_t focusMode = 0;
    uint32_t paramFlag = 0;
};

inline SYSTEMTIME MakeTime(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
                           uint16_t second) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    return time;
}

// A full set of values, different in every field and for every salt, all
// inside the ranges that come back unchanged.
inline MetaFields SampleFields(uint64_t fileId, uint32_t salt = 0) {
    MetaFields fields;
    fields.fileId = fileId;
    for (uint32_t i = 0; i < 16 + salt; ++i) fields.filter.push_back(static_cast<unsigned char>(i * 37 + salt));
    fields.fileSize = 5000000000ull + salt;
    fields.fileUpdateDate = MakeTime(static_cast<uint16_t>(2020 + salt % 5), 3, 14, 15, 9, 26);
    fields.importDate = MakeTime(2024, 12, static_cast<uint16_t>(1 + salt % 28), 23, 58, 59);
    fields.importClass = 2 + salt;
    fields.pixelWidth = 6000 + salt;
    fields.pixelHeight = 4000 + salt;
    fields.panoramaNumber = 3 + salt;
    fields.driveNumber = 7 + salt;
    fields.duration = 123456789012ull + salt;
    fields.frameRate = 2997 + salt;
    fields.altitudeFirst = static_cast<int32_t>(1234 + salt);
    fields.altitudeSecond = static_cast<int32_t>(100 + salt);
    fields.directionFirst = 270 + salt;
    fields.directionSecond = 10 + salt;
    fields.areaInfo = u"Z\u00FCrich \u6771\u4EAC " + std::u16string(1, static_cast<char16_t>(u'A' + salt % 26));
    fields.modelName = u"CAM-" + std::u16string(1, static_cast<char16_t>(u'0' + salt % 10));
    fields.pictureMode = 11 + salt;
    fields.finishingMode = 12 + salt;
    fields.artFilter = 13 + salt;
    fields.focusMode = 14 + salt;
    fields.paramFlag = 0x15 + salt;
    return fields;
}

// The packed date: year<<40, month<<32, day<<24, hour<<16, minute<<8, second.
inline int64_t Packed(const SYSTEMTIME& time) {
    return (static_cast<int64_t>(time.wYear) << 40) | (static_cast<int64_t>(time.wMonth) << 32) |
           (static_cast<int64_t>(time.wDay) << 24) | (static_cast<int64_t>(time.wHour) << 16) |
           (static_cast<int64_t>(time.wMinute) << 8) | static_cast<int64_t>(time.wSecond);
}

inline std::string Utf8(const std::u16string& text) { return CZanTString(text).ToUtf8(); }

// 32-bit values are bound as signed 32-bit integers.
inline std::string Stored32(uint32_t value) { return std::to_string(static_cast<int32_t>(value)); }

inline std::string Hex(const std::vector<unsigned char>& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

// The columns of meta_table in their order, the blob as hex.
inline constexpr char kDiskColumns[] =
    "SELECT file_id, hex(filter_data), file_size, file_update_date, import_date, duration, pixel_width, "
    "pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, gps_direction, "
    "gps_areainfo, model_name, picture_mode, finishing_mode, art_filter, focus_mode, param_flag FROM meta_table";

// The row that fields must give, in the order of kDiskColumns. Altitude is
// first * 2^32 + second with the second sign-extended; direction is the
// first half in the high word and the second in the low word.
inline std::vector<std::string> ExpectedRow(const MetaFields& f) {
    int64_t altitude = static_cast<int64_t>(f.altitudeFirst) * 4294967296LL + f.altitudeSecond;
    int64_t direction = static_cast<int64_t>((static_cast<uint64_t>(f.directionFirst) << 32) | f.directionSecond);
    return {std::to_string(f.fileId),          Hex(f.filter),
            std::to_string(f.fileSize),        std::to_string(Packed(f.fileUpdateDate)),
            std::to_string(Packed(f.importDate)), std::to_string(f.duration),
            Stored32(f.pixelWidth),            Stored32(f.pixelHeight),
            Stored32(f.panoramaNumber),        Stored32(f.driveNumber),
            Stored32(f.frameRate),             Stored32(f.importClass),
            std::to_string(altitude),          std::to_string(direction),
            Utf8(f.areaInfo),                  Utf8(f.modelName),
            Stored32(f.pictureMode),           Stored32(f.finishingMode),
            Stored32(f.artFilter),             Stored32(f.focusMode),
            Stored32(f.paramFlag)};
}

// Gives every value of fields to record through its setters.
inline void Fill(IZanDB4FileMetaDBRecord* record, const MetaFields& f) {
    ASSERT_EQ(record->SetFileID(f.fileId), S_OK);
    ASSERT_EQ(record->SetFilterData(f.filter.data(), static_cast<uint32_t>(f.filter.size())), S_OK);
    ASSERT_EQ(record->SetFileSize(f.fileSize), S_OK);
    ASSERT_EQ(record->SetFileUpdateDate(&f.fileUpdateDate), S_OK);
    ASSERT_EQ(record->SetImportDate(&f.importDate, f.importClass), S_OK);
    ASSERT_EQ(record->SetPixelSize(f.pixelWidth, f.pixelHeight), S_OK);
    ASSERT_EQ(record->SetPanoramaNumber(f.panoramaNumber), S_OK);
    ASSERT_EQ(record->SetDriveNumber(f.driveNumber), S_OK);
    ASSERT_EQ(record->SetDuration(f.duration), S_OK);
    ASSERT_EQ(record->SetFrameRate(f.frameRate), S_OK);
    ASSERT_EQ(record->SetGPSAltitude(f.altitudeFirst, f.altitudeSecond), S_OK);
    ASSERT_EQ(record->SetGPSDirection(f.directionFirst, f.directionSecond), S_OK);
    ASSERT_EQ(record->SetAreaInfo(f.areaInfo.c_str()), S_OK);
    ASSERT_EQ(record->SetModelInfo(f.modelName.c_str(), f.pictureMode, f.finishingMode, f.artFilter, f.focusMode,
                                   f.paramFlag),
              S_OK);
}

inline std::vector<uint16_t> DateFields(const SYSTEMTIME& t) {
    return {t.wYear, t.wMonth, t.wDayOfWeek, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds};
}

// Checks every value of record against fields through its getters.
inline void ExpectHolds(IZanDB4FileMetaDBRecord* record, const MetaFields& f) {
    ASSERT_NE(record, nullptr);
    uint64_t id = 0, fileSize = 0, duration = 0;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    EXPECT_EQ(record->GetFileSize(&fileSize), S_OK);
    EXPECT_EQ(record->GetDuration(&duration), S_OK);
    EXPECT_EQ(id, f.fileId);
    EXPECT_EQ(fileSize, f.fileSize);
    EXPECT_EQ(duration, f.duration);

    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(record->GetFilterData(&data, &size), f.filter.empty() ? E_FAIL : S_OK);
    ASSERT_EQ(size, f.filter.size());
    if (size != 0) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        EXPECT_TRUE(std::vector<unsigned char>(bytes, bytes + size) == f.filter) << "filter bytes differ";
    }

    SYSTEMTIME updated{}, imported{};
    uint32_t importClass = 0;
    EXPECT_EQ(record->GetFileUpdateDate(&updated), S_OK);
    EXPECT_EQ(record->GetImportDate(&imported, &importClass), S_OK);
    EXPECT_EQ(DateFields(updated), DateFields(f.fileUpdateDate));
    EXPECT_EQ(DateFields(imported), DateFields(f.importDate));
    EXPECT_EQ(importClass, f.importClass);

    uint32_t width = 0, height = 0, panorama = 0, drive = 0, frameRate = 0;
    EXPECT_EQ(record->GetPixelSize(&width, &height), S_OK);
    EXPECT_EQ(record->GetPanoramaNumber(&panorama), S_OK);
    EXPECT_EQ(record->GetDriveNumber(&drive), S_OK);
    EXPECT_EQ(record->GetFrameRate(&frameRate), S_OK);
    EXPECT_EQ(width, f.pixelWidth);
    EXPECT_EQ(height, f.pixelHeight);
    EXPECT_EQ(panorama, f.panoramaNumber);
    EXPECT_EQ(drive, f.driveNumber);
    EXPECT_EQ(frameRate, f.frameRate);

    int32_t altitudeFirst = 0, altitudeSecond = 0;
    uint32_t directionFirst = 0, directionSecond = 0;
    EXPECT_EQ(record->GetGPSAltitude(&altitudeFirst, &altitudeSecond), S_OK);
    EXPECT_EQ(record->GetGPSDirection(&directionFirst, &directionSecond), S_OK);
    EXPECT_EQ(altitudeFirst, f.altitudeFirst);
    EXPECT_EQ(altitudeSecond, f.altitudeSecond);
    EXPECT_EQ(directionFirst, f.directionFirst);
    EXPECT_EQ(directionSecond, f.directionSecond);

    CZanTString area, model;
    uint32_t picture = 0, finishing = 0, artFilter = 0, focus = 0, paramFlag = 0;
    EXPECT_EQ(record->GetAreaInfo(area), S_OK);
    EXPECT_EQ(record->GetModelInfo(model, &picture, &finishing, &artFilter, &focus, &paramFlag), S_OK);
    EXPECT_EQ(area.ToUtf8(), Utf8(f.areaInfo));
    EXPECT_EQ(model.ToUtf8(), Utf8(f.modelName));
    EXPECT_EQ(picture, f.pictureMode);
    EXPECT_EQ(finishing, f.finishingMode);
    EXPECT_EQ(artFilter, f.artFilter);
    EXPECT_EQ(focus, f.focusMode);
    EXPECT_EQ(paramFlag, f.paramFlag);
}

inline uint64_t FileIdOf(IZanDB4FileMetaDBRecord* record) {
    uint64_t id = 0;
    EXPECT_EQ(record->GetFileID(&id), S_OK);
    return id;
}

// What the operations of the catalogue need around them: a started library,
// its catalogue, records from the factory and the committed rows on disk.
// Derived fixtures decide when the library starts and stops.
class MetaTableTestBase : public ::testing::Test {
protected:
    static std::filesystem::path CatalogueFile(const zandb4::testing::TempFolder& root) {
        return root / "database" / "FileBasic.db";
    }

    CSQLiteFileBasicDB* Store() const { return zandb4::DatabaseRegistry::fileBasicDB; }

    // A blank record from the factory, with the caller's one reference.
    static IZanDB4FileMetaDBRecord* NewRecord() {
        IZanDB4FileMetaDBRecord* record = nullptr;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(&record)), S_OK);
        return record;
    }

    // The record's values, as the move out of staging passes them, inserted
    // under fields.fileId.
    HRESULT Insert(const MetaFields& fields, BOOL retry = 0) {
        IZanDB4FileMetaDBRecord* record = NewRecord();
        if (record == nullptr) return kNoRecord;
        Fill(record, fields);
        HRESULT result = MetaTableRows(*Store()).InsertMetaRow(fields.fileId, MetaTableRows::MetaValuesOf(record), retry);
        EXPECT_EQ(record->Release(), 0u);
        return result;
    }

    HRESULT Update(const MetaFields& fields) {
        IZanDB4FileMetaDBRecord* record = NewRecord();
        if (record == nullptr) return kNoRecord;
        Fill(record, fields);
        HRESULT result = MetaTableRows(*Store()).UpdateMetaRow(fields.fileId, MetaTableRows::MetaValuesOf(record));
        EXPECT_EQ(record->Release(), 0u);
        return result;
    }

    // Runs sql on the store's own connection.
    void ExecOnStore(const std::string& sql) {
        char* message = nullptr;
        EXPECT_EQ(sqlite3_exec(Store()->m_db, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK)
            << sql << ": " << (message != nullptr ? message : "");
        sqlite3_free(message);
    }

    // Releases every record of the list, each expected to hold exactly the
    // one reference the list carried, and empties the list.
    static void ReleaseAll(CList<IZanDB4FileMetaDBRecord*>& list) {
        for (POSITION position = list.GetHeadPosition(); position != nullptr;) {
            IZanDB4FileMetaDBRecord* record = list.GetNext(position);
            EXPECT_EQ(record->Release(), 0u);
        }
        list.RemoveAll();
    }

    // Gives back the last reference to a record, which must be the caller's.
    static void ReleaseLast(IZanDB4FileMetaDBRecord* record) {
        if (record == nullptr) return;
        EXPECT_EQ(record->Release(), 0u);
    }

    static std::vector<uint64_t> IdsOf(CList<IZanDB4FileMetaDBRecord*>& list) {
        std::vector<uint64_t> ids;
        for (POSITION position = list.GetHeadPosition(); position != nullptr;)
            ids.push_back(FileIdOf(list.GetNext(position)));
        return ids;
    }

    // A value no operation answers, for results of a helper that could not
    // even make its record.
    static constexpr HRESULT kNoRecord = static_cast<HRESULT>(0x8000FFFFu);
};

// The library started once for the suite, on one root; every test starts
// from an empty, committed meta_table, so no test sees another's rows.
class MetaTableTest : public MetaTableTestBase {
protected:
    static void SetUpTestSuite() {
        s_root = new zandb4::testing::TempFolder();
        s_started = zandb4::DatabaseRegistry::initCount == 0 &&
                    ZanDB4_Initialize(s_root->Wide().GetString()) == S_OK;
    }
    static void TearDownTestSuite() {
        if (s_started) ZanDB4_Finalize();
        s_started = false;
        delete s_root;
        s_root = nullptr;
    }
    void SetUp() override {
        ASSERT_TRUE(s_started) << "the library did not start on a fresh root";
        ASSERT_NE(Store(), nullptr);
        ASSERT_NE(Store()->m_db, nullptr);
        ExecOnStore("DELETE FROM meta_table");
        ASSERT_EQ(Store()->Commit(false), S_OK);
    }

    void Commit() { ASSERT_EQ(Store()->Commit(false), S_OK); }

    // The committed rows of meta_table, in row order, as kDiskColumns reads them.
    Rows DiskRows(const std::string& where = "") {
        zandb4::testing::SqliteProbe probe(CatalogueFile(*s_root));
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(std::string(kDiskColumns) + where + " ORDER BY rowid");
    }

    // One column of the only committed row; a marker when there is no such row.
    std::string DiskCell(size_t column) {
        Rows rows = DiskRows();
        if (rows.size() != 1 || column >= rows[0].size()) return "<not exactly one row>";
        return rows[0][column];
    }

    static std::filesystem::path File() { return CatalogueFile(*s_root); }

private:
    static inline zandb4::testing::TempFolder* s_root = nullptr;
    static inline bool s_started = false;
};

}  // namespace catalogue_meta_test
