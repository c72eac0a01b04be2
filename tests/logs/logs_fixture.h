// The setting of the memory data and access log tests: the library started
// on a fresh root and the two managers taken from the factory, dates built
// from their fields, the clock set through its seam, and a look at what a
// separate SQLite connection finds in "Memory.db" and "UserLog.db".
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "logs/access_log_db.h"
#include "logs/memory_data_db.h"
#include "platform/clock.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace logs_test {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using Rows = std::vector<std::vector<std::string>>;

inline SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                         uint16_t second = 0) {
    SYSTEMTIME moment{};
    moment.wYear = year;
    moment.wMonth = month;
    moment.wDay = day;
    moment.wHour = hour;
    moment.wMinute = minute;
    moment.wSecond = second;
    return moment;
}

inline CZanTDateTime Date(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                          uint16_t second = 0) {
    return CZanTDateTime(Moment(year, month, day, hour, minute, second));
}

// The day key of a day (the packed date with no time of day), written out
// apart from the store.
inline int64_t DayKey(uint16_t year, uint16_t month, uint16_t day) {
    return ((static_cast<int64_t>(year) << 16) + (static_cast<int64_t>(month) << 8) + day) << 24;
}

inline CZanTString W(const std::string& utf8) { return CZanTString::FromUtf8(utf8.c_str()); }

// Sets "now" for the library while it lives and restores the real clock.
class ClockAt {
public:
    explicit ClockAt(const SYSTEMTIME& now) { zandb4::platform::SetSystemTimeForTesting(now); }
    ~ClockAt() { zandb4::platform::SetSystemTimeForTesting(std::nullopt); }
    ClockAt(const ClockAt&) = delete;
    ClockAt& operator=(const ClockAt&) = delete;
};

class LogsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        Start();
    }
    void TearDown() override {
        m_memory.Reset();
        m_accessLog.Reset();
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }

    // Starts the library and takes both managers.
    void Start() {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemoryDataMgr, reinterpret_cast<void**>(m_memory.Receive())),
                  S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AccessLogDBMgr, reinterpret_cast<void**>(m_accessLog.Receive())),
                  S_OK);
        ASSERT_TRUE(m_memory);
        ASSERT_TRUE(m_accessLog);
    }
    // Lets go of the managers and stops the library, which commits and
    // closes both stores.
    void Stop() {
        m_memory.Reset();
        m_accessLog.Reset();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    std::filesystem::path MemoryFile() const { return m_root / "database" / "Memory.db"; }
    std::filesystem::path UserLogFile() const { return m_root / "database" / "UserLog.db"; }

    // The rows of a query on the file, as a separate connection sees them:
    // only what was committed.
    Rows MemoryRows(const std::string& sql) const { return SqliteProbe(MemoryFile()).Rows(sql); }
    Rows UserLogRows(const std::string& sql) const { return SqliteProbe(UserLogFile()).Rows(sql); }
    int64_t MemoryInteger(const std::string& sql) const { return SqliteProbe(MemoryFile()).Integer(sql); }
    int64_t UserLogInteger(const std::string& sql) const { return SqliteProbe(UserLogFile()).Integer(sql); }

    CSQLiteMemDB& MemoryStore() const { return *DatabaseRegistry::memDB; }
    CSQLiteAccessLogDB& AccessLogStore() const { return *DatabaseRegistry::accessLogDB; }

    TempFolder m_root;
    ComPtr<IZanDB4MemoryDataMgr> m_memory;
    ComPtr<IZanDB4AccessLogDBMgr> m_accessLog;
};

// The same setting for tests that lay files under the root first: the
// library is started only when the test calls Start.
class LogsFilesTest : public LogsTest {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
};

// Makes an SQLite file at path with SQLite alone, not the library, and runs
// the statements in it: a store as an older build or another program left
// it.
inline void MakeSqliteFile(const std::filesystem::path& path, const std::string& statements) {
    std::filesystem::create_directories(path.parent_path());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr), SQLITE_OK);
    char* message = nullptr;
    int code = sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &message);
    std::string text = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(db);
    ASSERT_EQ(code, SQLITE_OK) << text;
}

// The base tables of every store at a version, as SQL.
inline std::string BaseTablesAtVersion(uint32_t version) {
    return "CREATE TABLE version_info_table (version INTEGER);"
           "INSERT INTO version_info_table VALUES('" +
           std::to_string(version) +
           "');"
           "CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER);"
           "CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER);";
}

// Bytes as SQLite's hex() writes them: two upper-case digits each. (The
// files are UTF-16 databases, so a blob cast to text would be read as
// UTF-16.)
inline std::string Hex(const std::string& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char byte : bytes) {
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0xF];
    }
    return hex;
}

// The data a record holds, as bytes.
inline std::string Bytes(IZanDB4MemRecord* record) {
    if (record->GetData() == nullptr) return std::string();
    return std::string(static_cast<const char*>(record->GetData()), record->GetDataSize());
}

}  // namespace logs_test
