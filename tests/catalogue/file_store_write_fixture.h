// The setting of the file_table write tests: the library started on a copy
// of an empty catalogue (the file record fixture), records filled through
// their setters with one distinct value per column, and short ways to look
// at what a separate SQLite connection finds in the file after a commit.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "catalogue/file_table.h"
#include "../records/file_db_record_fixture.h"

namespace file_store_write_test {

using file_record_test::Changed;
using file_record_test::Count;
using file_record_test::FileRow;
using file_record_test::kParentPacked;
using file_record_test::kShootingPacked;
using file_record_test::MakeTime;
using file_record_test::MetaPtr;
using file_record_test::RecordPtr;
using file_record_test::Rows;
using zandb4::ComPtr;

// Positions of the columns of file_table in "SELECT *", as the table's
// description gives them.
using file_table::Column;
using file_table::kFileId;
using file_table::kFilePath;
using file_table::kDiskVsn;
using file_table::kPathKey;
using file_table::kFileName;
using file_table::kFileFormat;
using file_table::kShootingDate;
using file_table::kFileAttributes;
using file_table::kThumbnailSize;
using file_table::kThumbnailOrientation;
using file_table::kDidEdit;
using file_table::kIsFavorite;
using file_table::kDidDetectFace;
using file_table::kAlbumId;
using file_table::kManage;
using file_table::kParentId;
using file_table::kParentShootingDate;
using file_table::kUploadFlag;
using file_table::kClassifyId;
using file_table::kColumnCount;
inline constexpr Column kLatitude = file_table::kGpsLatitude;
inline constexpr Column kLongitude = file_table::kGpsLongitude;

inline CZanTString W(const std::string& utf8) {
    return CZanTString::FromUtf8(utf8.c_str());
}

inline std::string Hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%X", value);
    return text;
}

// The key of an ASCII path, worked out here independently of the library.
inline std::string AsciiKey(std::string storedPath, uint32_t diskVsn) {
    for (char& ch : storedPath) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return storedPath + "_" + Hex(diskVsn);
}

// The value of every column a record is given. The coordinates are exact in
// a float, so that their text on disk is short and certain.
struct RecordValues {
    uint64_t fileId = 77;
    std::string path = "/photos/Trip";
    uint32_t diskVsn = 0x1A2B;
    std::string name = "IMG_0077.JPG";
    uint32_t format = 4;
    int64_t shootingDate = kShootingPacked;
    float latitude = 35.5f;
    float longitude = -120.25f;
    uint32_t attributes = 0x21;
    uint16_t width = 640;
    uint16_t height = 480;
    uint16_t orientation = 6;
    uint8_t didEdit = 1;
    uint8_t isFavorite = 0;
    uint8_t didDetectFace = 1;
    uint64_t albumId = 42;
    uint32_t manage = 1;
    uint64_t parentId = 9;
    SYSTEMTIME parentDate = MakeTime(2020, 1, 2, 3, 4, 5);
    uint8_t uploadFlag = 1;
    uint8_t classifyId = 5;
};

// Text of an integer column as SQLite gives it.
inline std::string Int(int64_t value) {
    return std::to_string(value);
}

class FileStoreWriteTest : public file_record_test::FileRecordTest {
protected:
    // A record from the factory with every field set from values.
    RecordPtr MakeRecord(const RecordValues& v) {
        RecordPtr record = NewRecord();
        if (!record) return record;
        EXPECT_EQ(record->SetFileID(v.fileId), S_OK);
        CZanTString path = W(v.path);
        EXPECT_EQ(record->SetFilePath(path.GetString(), &v.diskVsn), S_OK);
        CZanTString name = W(v.name);
        EXPECT_EQ(record->SetFileName(name.GetString()), S_OK);
        EXPECT_EQ(record->SetFileFormat(&v.format), S_OK);
        EXPECT_EQ(record->SetShootingDateValue(&v.shootingDate), S_OK);
        EXPECT_EQ(record->SetGPS(&v.latitude, &v.longitude), S_OK);
        EXPECT_EQ(record->SetFileAttributes(&v.attributes), S_OK);
        EXPECT_EQ(record->SetThumbnailSize(&v.width, &v.height), S_OK);
        EXPECT_EQ(record->SetThumbnailOrientation(&v.orientation), S_OK);
        EXPECT_EQ(record->SetDidEdit(&v.didEdit), S_OK);
        EXPECT_EQ(record->SetIsFavorite(&v.isFavorite), S_OK);
        EXPECT_EQ(record->SetDidDetectFace(&v.didDetectFace), S_OK);
        EXPECT_EQ(record->SetAlbumID(&v.albumId), S_OK);
        EXPECT_EQ(record->SetManage(&v.manage), S_OK);
        EXPECT_EQ(record->SetParent(&v.parentId, &v.parentDate), S_OK);
        EXPECT_EQ(record->SetUploadFlag(&v.uploadFlag), S_OK);
        EXPECT_EQ(record->SetClassifyID(&v.classifyId), S_OK);
        return record;
    }

    // The row an ASCII record of values must leave on disk, every column as
    // text. The coordinates of RecordValues are exact in a float.
    static std::vector<std::string> ExpectedRow(const RecordValues& v) {
        std::string path = v.path;
        if (!path.empty() && path.back() == '/') path.pop_back();
        std::string name = v.name;
        if (!name.empty() && name.front() == '/') name.erase(0, 1);
        char latitude[32], longitude[32];
        std::snprintf(latitude, sizeof latitude, "%g", static_cast<double>(v.latitude));
        std::snprintf(longitude, sizeof longitude, "%g", static_cast<double>(v.longitude));
        return {Int(static_cast<int64_t>(v.fileId)),
                path,
                Int(static_cast<int32_t>(v.diskVsn)),
                AsciiKey(path, v.diskVsn),
                name,
                Int(v.format),
                Int(v.shootingDate),
                latitude,
                longitude,
                Int(v.attributes),
                Int(int64_t{v.width} * 65536 + v.height),
                Int(v.orientation),
                v.didEdit != 0 ? "1" : "0",
                v.isFavorite != 0 ? "1" : "0",
                v.didDetectFace != 0 ? "1" : "0",
                Int(static_cast<int64_t>(v.albumId)),
                Int(v.manage),
                Int(static_cast<int64_t>(v.parentId)),
                Int(CZanTDateTime(v.parentDate).GetPacked()),
                v.uploadFlag != 0 ? "1" : "0",
                Int(v.classifyId)};
    }

    void CommitStore() { EXPECT_EQ(m_store->Commit(false), S_OK); }

    // Rows of sql as a separate connection sees the file, without a commit.
    Rows Disk(const std::string& sql) {
        zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(sql);
    }

    // The first column of the first row of sql as a double, from the file.
    double DiskReal(const std::string& sql) {
        zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
        double value = -9999.0;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(probe.Handle(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            value = sqlite3_column_double(statement, 0);
        sqlite3_finalize(statement);
        return value;
    }

    // Every 64-bit value of the first column of sql, from the file.
    std::vector<uint64_t> DiskIds(const std::string& sql) {
        zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
        std::vector<uint64_t> values;
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(probe.Handle(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK)
            while (sqlite3_step(statement) == SQLITE_ROW)
                values.push_back(static_cast<uint64_t>(sqlite3_column_int64(statement, 0)));
        sqlite3_finalize(statement);
        return values;
    }

    // The committed row of fileId, every column as text; empty without one.
    std::vector<std::string> CommittedFileRow(uint64_t fileId) {
        CommitStore();
        Rows rows = Disk("SELECT * FROM file_table WHERE file_id=" + std::to_string(fileId));
        return rows.empty() ? std::vector<std::string>{} : rows.front();
    }

    // The tag links of fileId in the order they were written.
    std::vector<uint64_t> CommittedTagsOf(uint64_t fileId) {
        CommitStore();
        return DiskIds("SELECT tag_id FROM tag_file_table WHERE file_id=" + std::to_string(fileId) + " ORDER BY rowid");
    }

    int64_t CommittedCount(const std::string& sql) {
        CommitStore();
        zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
        return probe.Integer(sql);
    }

    // Rows that SQL has changed on the store's connection so far.
    int TotalChanges() { return sqlite3_total_changes(m_store->m_db); }

    // A metadata record from the factory with a few distinct values.
    MetaPtr MakeMeta(uint64_t fileSize, const std::string& model) {
        MetaPtr meta = NewMetaRecord();
        if (!meta) return meta;
        EXPECT_EQ(meta->SetFileSize(fileSize), S_OK);
        EXPECT_EQ(meta->SetPixelSize(4000, 3000), S_OK);
        CZanTString modelName = W(model);
        EXPECT_EQ(meta->SetModelInfo(modelName.GetString(), 1, 2, 3, 4, 5), S_OK);
        return meta;
    }

    void AddTag(IZanDB4FileDBRecord* record, uint64_t tagId) { EXPECT_EQ(record->AddTag(&tagId), S_OK); }

    const std::set<uint64_t>& AlbumRecount() { return m_store->AlbumRecounts(); }
};

}  // namespace file_store_write_test
