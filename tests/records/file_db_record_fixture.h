// The setting shared by the file record tests: the library started on a
// temporary root (with a copy of an empty catalogue the library made, and
// the record cache made by ZanDB4_Initialize),
// rows of file_table and meta_table written with SQL on the catalogue's own
// connection, records made through the factory, a stepped statement for the
// read operations that take a row, and short ways to reach the record
// cache, the reference counts and the two field masks.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/file_table.h"
#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"
#include "records/file_meta_db_record.h"
#include "storage/statement.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace file_record_test {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using zandb4::FileRecordCache;
using Rows = std::vector<std::vector<std::string>>;
using RecordPtr = ComPtr<IZanDB4FileDBRecord>;
using MetaPtr = ComPtr<IZanDB4FileMetaDBRecord>;

// Mask bits, spelt out so that a wrong constant in the class shows.
// A stepped "SELECT *" row, or a row of the file store's short column list,
// read into a record as the file store reads it.
inline HRESULT ReadFullRow(CZanDB4FileDBRecord* record, uint32_t mask, const zandb4::Statement& row) {
    FileRowValues values = file_table::ReadRow(row);
    return record->ReadFields(mask, &values);
}
inline HRESULT ReadShortRow(CZanDB4FileDBRecord* record, uint32_t mask, const zandb4::Statement& row) {
    FileRowValues values = file_table::ReadShortRow(row);
    return record->ReadFields(mask, &values, file_table::kShortRowFields);
}

inline constexpr uint32_t kManageBit = 0x1;
inline constexpr uint32_t kPathBit = 0x2;
inline constexpr uint32_t kNameBit = 0x4;
inline constexpr uint32_t kFormatBit = 0x8;
inline constexpr uint32_t kDateBit = 0x10;
inline constexpr uint32_t kThumbSizeBit = 0x20;
inline constexpr uint32_t kOrientationBit = 0x40;
inline constexpr uint32_t kGpsBit = 0x80;
inline constexpr uint32_t kAttributesBit = 0x100;
inline constexpr uint32_t kDidEditBit = 0x200;
inline constexpr uint32_t kFavoriteBit = 0x400;
inline constexpr uint32_t kDetectFaceBit = 0x800;
inline constexpr uint32_t kParentBit = 0x4000;
inline constexpr uint32_t kUploadBit = 0x8000;
inline constexpr uint32_t kAlbumBit = 0x10000;
inline constexpr uint32_t kClassifyBit = 0x20000;
inline constexpr uint32_t kAllColumns = 0xFFFFFF;
inline constexpr uint32_t kTagBit = 0x20000000;
inline constexpr uint32_t kMetaBit = 0x40000000;
// Every field bit there is.
inline constexpr uint32_t kEveryField = 0x3CFFF;
// What the short column list can fill: every field but file_name,
// file_attributes and did_detect_face.
inline constexpr uint32_t kShortListFields = 0x3C6FB;
// The reduced read of the file store.
inline constexpr uint32_t kReducedMask = 0x1C6FB;

inline constexpr WCHAR kSelectFullRow[] = u"SELECT * FROM file_table WHERE file_id=?";
inline constexpr WCHAR kSelectShortRow[] =
    u"SELECT file_id, file_path, disk_vsn, file_format, shooting_date, gps_latitude, gps_longitude, "
    u"thumbnail_size, thumbnail_orientation, did_edit, is_favorite, album_id, manage, parent_id, upload_flag, "
    u"classify_id FROM file_table WHERE file_id=? LIMIT 1";

// 2021-03-04 05:06:07 packed.
inline constexpr int64_t kShootingPacked = 0x7E50304050607;
// 2020-01-02 03:04:05 packed.
inline constexpr int64_t kParentPacked = 0x7E40102030405;

// One row of file_table. Every column holds a value of its own, so that a
// column read from the wrong position shows.
struct FileRow {
    int64_t fileId = 10;
    std::string filePath = "/photos/2021/trip";
    int64_t diskVsn = 0x1234ABCD;
    std::string fileName = "IMG_0001.JPG";
    int64_t fileFormat = 3;
    int64_t shootingDate = kShootingPacked;
    double gpsLatitude = 35.6812345678;
    double gpsLongitude = 139.7671234567;
    int64_t fileAttributes = 0x21;
    int64_t thumbnailSize = (640 << 16) | 480;
    int64_t thumbnailOrientation = 6;
    int64_t didEdit = 1;
    int64_t isFavorite = 1;
    int64_t didDetectFace = 1;
    int64_t albumId = 42;
    int64_t manage = 1;
    int64_t parentId = 9;
    int64_t parentShootingDate = kParentPacked;
    int64_t uploadFlag = 1;
    int64_t classifyId = 5;
};

// One row of meta_table, in its column order.
struct MetaRow {
    int64_t fileId = 10;
    std::string filterData = "filter-bytes";
    int64_t fileSize = 123456;
    int64_t fileUpdateDate = kShootingPacked;
    int64_t importDate = kParentPacked;
    int64_t duration = 77;
    int64_t pixelWidth = 4000;
    int64_t pixelHeight = 3000;
    int64_t panoramaNumber = 2;
    int64_t driveNumber = 4;
    int64_t frameRate = 30;
    int64_t importClass = 8;
    int64_t gpsAltitude = (int64_t{5} << 32) | 6;
    int64_t gpsDirection = (int64_t{7} << 32) | 8;
    std::string gpsAreaInfo = "harbour";
    std::string modelName = "model-x";
    int64_t pictureMode = 11;
    int64_t finishingMode = 12;
    int64_t artFilter = 13;
    int64_t focusMode = 14;
    int64_t paramFlag = 15;
};

// A statement prepared on a connection, with the file id bound as its one
// parameter and stepped once: what the file store hands to the record's read
// operations. Finalized when it goes.
class SteppedRow {
public:
    SteppedRow(sqlite3* db, const WCHAR* sql, uint64_t fileId) : m_statement(db, sql) {
        if (!m_statement.IsPrepared()) return;
        m_statement.BindInt64(1, static_cast<int64_t>(fileId));
        m_stepCode = m_statement.Step();
    }
    bool HasRow() const { return m_stepCode == SQLITE_ROW; }
    const zandb4::Statement& Row() const { return m_statement; }

private:
    zandb4::Statement m_statement;
    int m_stepCode = SQLITE_ERROR;
};

inline CZanDB4FileDBRecord* Impl(IZanDB4FileDBRecord* record) { return static_cast<CZanDB4FileDBRecord*>(record); }
inline CZanDB4FileMetaDBRecord* MetaImpl(IZanDB4FileMetaDBRecord* record) {
    return static_cast<CZanDB4FileMetaDBRecord*>(record);
}

inline int32_t Count(IZanDB4FileDBRecord* record) { return Impl(record)->RefCount(); }
inline int32_t MetaCount(IZanDB4FileMetaDBRecord* record) { return MetaImpl(record)->RefCount(); }
inline uint32_t Known(IZanDB4FileDBRecord* record) { return Impl(record)->KnownMask(); }
inline uint32_t Changed(IZanDB4FileDBRecord* record) {
    uint32_t mask = 0xDEADBEEF;
    record->GetChangedMask(&mask);
    return mask;
}

inline SYSTEMTIME MakeTime(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
                           uint16_t second, uint16_t milliseconds = 0) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    time.wMilliseconds = milliseconds;
    return time;
}

// A SYSTEMTIME with every byte set, to see that an operation wrote it.
inline SYSTEMTIME FilledTime() {
    SYSTEMTIME time;
    time.wYear = time.wMonth = time.wDayOfWeek = time.wDay = 0xFFFF;
    time.wHour = time.wMinute = time.wSecond = time.wMilliseconds = 0xFFFF;
    return time;
}

inline bool IsZeroTime(const SYSTEMTIME& time) {
    return time.wYear == 0 && time.wMonth == 0 && time.wDayOfWeek == 0 && time.wDay == 0 && time.wHour == 0 &&
           time.wMinute == 0 && time.wSecond == 0 && time.wMilliseconds == 0;
}

inline bool SameTime(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDayOfWeek == b.wDayOfWeek && a.wDay == b.wDay &&
           a.wHour == b.wHour && a.wMinute == b.wMinute && a.wSecond == b.wSecond &&
           a.wMilliseconds == b.wMilliseconds;
}

// An empty catalogue made once per program by the library itself. Making a
// catalogue costs several synchronous writes to disk; each test starts from a
// copy of this one instead, which keeps the program fast.
inline const std::filesystem::path& EmptyCatalogue() {
    static zandb4::testing::TempFolder folder;
    static const std::filesystem::path file = [] {
        EXPECT_EQ(ZanDB4_Initialize(folder.Wide().GetString()), S_OK);
        EXPECT_EQ(ZanDB4_Finalize(), S_OK);
        return folder / "database" / "FileBasic.db";
    }();
    return file;
}

// The library up on a fresh root for each test, holding a fresh copy of an
// empty catalogue, and down at its end.
class FileRecordTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        const std::filesystem::path& empty = EmptyCatalogue();
        ASSERT_TRUE(std::filesystem::is_regular_file(empty));
        std::filesystem::create_directories(m_root / "database");
        std::filesystem::copy_file(empty, m_root / "database" / "FileBasic.db");
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        m_up = true;
        m_store = DatabaseRegistry::fileBasicDB;
        ASSERT_NE(m_store, nullptr);
        ASSERT_NE(m_store->m_db, nullptr);
        ASSERT_NE(DatabaseRegistry::fileRecordCache, nullptr);
    }

    void TearDown() override {
        if (m_up) Finalize();
    }

    // Stops the library inside a test; every record must be released or
    // left to the cache by then.
    void Finalize() {
        m_up = false;
        EXPECT_EQ(ZanDB4_Finalize(), S_OK);
        EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
    }

    // Runs SQL on the catalogue's connection, so that the record's own reads
    // see it whether or not a transaction is open.
    void Exec(const std::string& sql) {
        char* message = nullptr;
        int code = sqlite3_exec(m_store->m_db, sql.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(code, SQLITE_OK) << sql << ": " << (message != nullptr ? message : "");
        sqlite3_free(message);
    }

    void InsertFileRow(const FileRow& row) {
        static constexpr char kInsert[] =
            "INSERT INTO file_table (file_id, file_path, disk_vsn, path_key, file_name, file_format, "
            "shooting_date, gps_latitude, gps_longitude, file_attributes, thumbnail_size, thumbnail_orientation, "
            "did_edit, is_favorite, did_detect_face, album_id, manage, parent_id, parent_shooting_date, "
            "upload_flag, classify_id) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
        sqlite3_stmt* statement = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(m_store->m_db, kInsert, -1, &statement, nullptr), SQLITE_OK);
        std::string pathKey = "key" + std::to_string(row.fileId);
        int i = 1;
        sqlite3_bind_int64(statement, i++, row.fileId);
        sqlite3_bind_text(statement, i++, row.filePath.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(statement, i++, row.diskVsn);
        sqlite3_bind_text(statement, i++, pathKey.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(statement, i++, row.fileName.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(statement, i++, row.fileFormat);
        sqlite3_bind_int64(statement, i++, row.shootingDate);
        sqlite3_bind_double(statement, i++, row.gpsLatitude);
        sqlite3_bind_double(statement, i++, row.gpsLongitude);
        sqlite3_bind_int64(statement, i++, row.fileAttributes);
        sqlite3_bind_int64(statement, i++, row.thumbnailSize);
        sqlite3_bind_int64(statement, i++, row.thumbnailOrientation);
        sqlite3_bind_int64(statement, i++, row.didEdit);
        sqlite3_bind_int64(statement, i++, row.isFavorite);
        sqlite3_bind_int64(statement, i++, row.didDetectFace);
        sqlite3_bind_int64(statement, i++, row.albumId);
        sqlite3_bind_int64(statement, i++, row.manage);
        sqlite3_bind_int64(statement, i++, row.parentId);
        sqlite3_bind_int64(statement, i++, row.parentShootingDate);
        sqlite3_bind_int64(statement, i++, row.uploadFlag);
        sqlite3_bind_int64(statement, i++, row.classifyId);
        EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE);
        sqlite3_finalize(statement);
    }

    void InsertMetaRow(const MetaRow& row) {
        static constexpr char kInsert[] =
            "INSERT INTO meta_table (file_id, filter_data, file_size, file_update_date, import_date, duration, "
            "pixel_width, pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, "
            "gps_direction, gps_areainfo, model_name, picture_mode, finishing_mode, art_filter, focus_mode, "
            "param_flag) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
        sqlite3_stmt* statement = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(m_store->m_db, kInsert, -1, &statement, nullptr), SQLITE_OK);
        int i = 1;
        sqlite3_bind_int64(statement, i++, row.fileId);
        sqlite3_bind_blob(statement, i++, row.filterData.data(), static_cast<int>(row.filterData.size()),
                          SQLITE_TRANSIENT);
        for (int64_t value : {row.fileSize, row.fileUpdateDate, row.importDate, row.duration, row.pixelWidth,
                              row.pixelHeight, row.panoramaNumber, row.driveNumber, row.frameRate, row.importClass,
                              row.gpsAltitude, row.gpsDirection})
            sqlite3_bind_int64(statement, i++, value);
        sqlite3_bind_text(statement, i++, row.gpsAreaInfo.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(statement, i++, row.modelName.c_str(), -1, SQLITE_TRANSIENT);
        for (int64_t value : {row.pictureMode, row.finishingMode, row.artFilter, row.focusMode, row.paramFlag})
            sqlite3_bind_int64(statement, i++, value);
        EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE);
        sqlite3_finalize(statement);
    }

    // A blank record from the factory, one reference for the test.
    RecordPtr NewRecord() {
        RecordPtr record;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
        return record;
    }

    // A blank record that stands for the row of fileId; nothing read yet.
    RecordPtr RecordFor(uint64_t fileId) {
        RecordPtr record = NewRecord();
        if (record) {
            EXPECT_EQ(record->SetFileID(fileId), S_OK);
        }
        return record;
    }

    MetaPtr NewMetaRecord() {
        MetaPtr meta;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(meta.Receive())),
                  S_OK);
        return meta;
    }

    // The cache operations, through the calling pattern of the file store.
    bool CacheAdd(uint64_t id, IZanDB4FileDBRecord* record) {
        bool added = false;
        EXPECT_TRUE(FileRecordCache::Use(DatabaseRegistry::fileRecordCache,
                                         [&](FileRecordCache& cache) { added = cache.Add(id, record); }));
        return added;
    }
    // The cached record with a new reference, or null.
    IZanDB4FileDBRecord* CacheFind(uint64_t id) {
        IZanDB4FileDBRecord* found = nullptr;
        FileRecordCache::Use(DatabaseRegistry::fileRecordCache, [&](FileRecordCache& cache) {
            if (!cache.Find(id, &found)) found = nullptr;
        });
        return found;
    }
    bool CacheRemove(uint64_t id) {
        bool removed = false;
        FileRecordCache::Use(DatabaseRegistry::fileRecordCache,
                             [&](FileRecordCache& cache) { removed = cache.Remove(id); });
        return removed;
    }
    size_t CacheSize() {
        FileRecordCache* cache = DatabaseRegistry::fileRecordCache;
        return cache == nullptr ? 0 : cache->Size();
    }

    // Makes what the store holds durable and answers the rows of sql as the
    // file on disk has them.
    Rows CommitAndRead(const std::string& sql) {
        EXPECT_EQ(m_store->Commit(false), S_OK);
        zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(sql);
    }

    zandb4::testing::TempFolder m_root;
    CSQLiteFileBasicDB* m_store = nullptr;
    bool m_up = false;
};

}  // namespace file_record_test
