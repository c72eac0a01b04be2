// Helpers shared by the shard tests: sample pictures, a pinned clock, cache
// objects held by a smart pointer, and looks at shard files on disk through
// SQLite directly (rows, tables, free pages, the stored version).
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../storage/store_test_helpers.h"
#include "platform/clock.h"
#include "shards/file_cache.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_factory.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4/foundation.h"

namespace shards_test {

namespace fs = std::filesystem;
using storage_test::Rows;
using zandb4::testing::SqliteProbe;

inline const unsigned char kPicture[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x01};
inline constexpr char kPictureHex[] = "89504E470D0A1A0A0001";
inline const unsigned char kOtherPicture[] = {0xFF, 0xD8, 0xFF, 0xE0, 0x00};
inline constexpr char kOtherPictureHex[] = "FFD8FFE000";

inline CZanTString Wide(const fs::path& path) { return CZanTString::FromUtf8(path.c_str()); }

// The names in folder, files and folders alike, in ascending order.
inline std::vector<std::string> NamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

inline std::string ReadWholeFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The rows of a thumbnail shard file as another connection sees them:
// file_id, the data in hexadecimal, source_id; by file_id.
inline Rows ThumbRowsOnDisk(const fs::path& file) {
    SqliteProbe probe(file);
    EXPECT_TRUE(probe.IsOpen()) << file;
    return probe.Rows("SELECT file_id, hex(thumbnail_data), source_id FROM thumbnail_table ORDER BY file_id");
}

// The rows of a large-metadata shard file: file_id, type, data in
// hexadecimal; by file_id.
inline Rows MetaRowsOnDisk(const fs::path& file) {
    SqliteProbe probe(file);
    EXPECT_TRUE(probe.IsOpen()) << file;
    return probe.Rows("SELECT file_id, meta_data_type, hex(meta_data) FROM meta_data_table ORDER BY file_id");
}

// COUNT(*) of the table as another connection sees it; -1 when the file
// cannot be read, so that a locked file never passes for an empty one.
inline int64_t RowCountOnDisk(const fs::path& file, const std::string& table) {
    SqliteProbe probe(file);
    return probe.Integer("SELECT COUNT(*) FROM " + table);
}

// The CREATE text of a table as SQLite stored it.
inline std::string CreateTextOf(const fs::path& file, const std::string& table) {
    SqliteProbe probe(file);
    Rows rows = probe.Rows("SELECT sql FROM sqlite_master WHERE type='table' AND name='" + table + "'");
    return rows.size() == 1 ? rows[0][0] : std::string();
}

// The names of the tables of a file, in ascending order.
inline std::vector<std::string> TablesOf(const fs::path& file) {
    SqliteProbe probe(file);
    std::vector<std::string> names;
    for (const auto& row : probe.Rows("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"))
        names.push_back(row[0]);
    return names;
}

// Pages of the file that hold nothing; a vacuum brings them to 0.
inline int64_t FreePagesOf(const fs::path& file) {
    SqliteProbe probe(file);
    return probe.Integer("PRAGMA freelist_count");
}

// Writes version into the version row of an existing store file.
inline void SetStoredVersion(const fs::path& file, int64_t version) {
    SqliteProbe probe(file);
    ASSERT_TRUE(probe.IsOpen()) << file;
    ASSERT_EQ(probe.Exec("UPDATE version_info_table SET version=" + std::to_string(version)), SQLITE_OK);
}

// Bytes enough to fill several pages, so that deleting them leaves free
// pages behind.
inline std::vector<unsigned char> LargePicture() { return std::vector<unsigned char>(64 * 1024, 0x5A); }

// Writes a large thumbnail under id, commits, deletes it and commits again:
// the shard file of id is left with free pages.
inline void LeaveFreePages(CSQLiteThumbDBFactory& factory, uint64_t id) {
    std::vector<unsigned char> large = LargePicture();
    ASSERT_EQ(factory.AddThumbnail(id, large.data(), static_cast<uint32_t>(large.size())), S_OK);
    ASSERT_EQ(factory.CommitShards(), S_OK);
    ASSERT_EQ(factory.DeleteThumbnail(id), S_OK);
    ASSERT_EQ(factory.CommitShards(), S_OK);
}

inline void LeaveFreePages(CSQLiteMetaDataDBFactory& factory, uint64_t fileId) {
    std::vector<unsigned char> large = LargePicture();
    ASSERT_EQ(factory.AddMetaData(fileId, 1, large.data(), static_cast<uint32_t>(large.size())), S_OK);
    ASSERT_EQ(factory.CommitShards(), S_OK);
    ASSERT_EQ(factory.DeleteMetaData(fileId), S_OK);
    ASSERT_EQ(factory.CommitShards(), S_OK);
}

inline SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
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

inline int64_t Packed(const SYSTEMTIME& time) { return CZanTDateTime(time).GetPacked(); }

// While alive, the library's clock answers the moment set here.
class ClockPin {
public:
    explicit ClockPin(const SYSTEMTIME& now) { zandb4::platform::SetSystemTimeForTesting(now); }
    ~ClockPin() { zandb4::platform::SetSystemTimeForTesting(std::nullopt); }
    ClockPin(const ClockPin&) = delete;
    ClockPin& operator=(const ClockPin&) = delete;

    void Set(const SYSTEMTIME& now) { zandb4::platform::SetSystemTimeForTesting(now); }
};

// Holds one reference to a cache object and gives it back when it goes.
struct CacheRelease {
    void operator()(IZanDB4FileCache* cache) const {
        if (cache != nullptr) cache->Release();
    }
};
using CachePtr = std::unique_ptr<IZanDB4FileCache, CacheRelease>;

// A new cache object holding a copy of data, with a source identifier.
inline CachePtr NewCache(const void* data, uint32_t size, uint64_t sourceId) {
    CachePtr cache(new CZanDB4FileCache());
    EXPECT_EQ(cache->SetData(data, size), S_OK);
    EXPECT_EQ(cache->SetSourceID(sourceId), S_OK);
    return cache;
}

// The reference count of a cache object made by the library.
inline int32_t RefCountOf(IZanDB4FileCache* cache) {
    auto* object = dynamic_cast<CZanDB4FileCache*>(cache);
    EXPECT_NE(object, nullptr);
    return object == nullptr ? -1 : object->RefCount();
}

inline std::string HexOf(const void* data, size_t size) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) {
        hex += kDigits[bytes[i] >> 4];
        hex += kDigits[bytes[i] & 0xF];
    }
    return hex;
}

}  // namespace shards_test
