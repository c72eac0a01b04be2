// The setting of the database utility tests: a fresh root, the library
// started on it and the utility taken from the factory, the store files of
// the database folder looked at with SQLite alone, a recorder for the
// upgrade's progress calls, and the local time zone set for a test.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "gps/gps_log_db.h"
#include "library/database_registry.h"
#include "platform/clock.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace maintenance_test {

namespace fs = std::filesystem;
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

// The packed date of a moment, written out apart from the library.
inline int64_t Packed(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                      uint16_t second = 0) {
    return (static_cast<int64_t>(year) << 40) + (static_cast<int64_t>(month) << 32) +
           (static_cast<int64_t>(day) << 24) + (static_cast<int64_t>(hour) << 16) +
           (static_cast<int64_t>(minute) << 8) + second;
}

inline std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// One call of the upgrade's progress callback.
struct ProgressCall {
    uint32_t current;
    uint32_t total;
    void* context;
    bool operator==(const ProgressCall& other) const = default;
};

inline void PrintTo(const ProgressCall& call, std::ostream* out) {
    *out << "{" << call.current << ", " << call.total << "}";
}

// Collects the progress calls; the context handed to the upgrade is the
// recorder itself.
struct ProgressRecorder {
    std::vector<ProgressCall> calls;

    static void Callback(uint32_t current, uint32_t total, void* context) {
        static_cast<ProgressRecorder*>(context)->calls.push_back({current, total, context});
    }
    // The calls as {current, total} pairs, each checked to carry this
    // recorder as its context.
    std::vector<std::pair<uint32_t, uint32_t>> Values() const {
        std::vector<std::pair<uint32_t, uint32_t>> values;
        for (const ProgressCall& call : calls) {
            EXPECT_EQ(call.context, this);
            values.emplace_back(call.current, call.total);
        }
        return values;
    }
};

// Sets the local time zone (a TZ value) for as long as it lives, and the
// clock's "now" if given; puts both back afterwards.
class LocalZone {
public:
    explicit LocalZone(const char* zone, std::optional<SYSTEMTIME> now = std::nullopt) {
        const char* previous = ::getenv("TZ");
        if (previous != nullptr) m_previous = previous;
        ::setenv("TZ", zone, 1);
        ::tzset();
        if (now) zandb4::platform::SetSystemTimeForTesting(now);
    }
    ~LocalZone() {
        zandb4::platform::SetSystemTimeForTesting(std::nullopt);
        if (m_previous)
            ::setenv("TZ", m_previous->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

private:
    std::optional<std::string> m_previous;
};

class MaintenanceTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        m_utility.Reset();
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }

    // Starts the library on the root and takes the utility.
    void Start() {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(m_utility.Receive())), S_OK);
        ASSERT_TRUE(m_utility);
    }
    // Lets go of the utility and stops the library, which commits and closes
    // every store.
    void Stop() {
        m_utility.Reset();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }
    // A first start and stop, which makes every single-file store.
    void MakeStores() {
        Start();
        Stop();
    }

    fs::path DatabaseFolder() const { return m_root / "database"; }
    fs::path StoreFile(const std::string& name) const { return DatabaseFolder() / name; }
    fs::path Catalogue() const { return StoreFile("FileBasic.db"); }
    fs::path Staging() const { return StoreFile("FileBasicAsync.db"); }
    fs::path GpsLogs() const { return StoreFile("Location.db"); }
    fs::path MemoryData() const { return StoreFile("Memory.db"); }
    fs::path AccessLog() const { return StoreFile("UserLog.db"); }

    // What a separate connection finds in a store file: only what was
    // committed.
    Rows FileRows(const fs::path& file, const std::string& sql) const { return SqliteProbe(file).Rows(sql); }
    int64_t FileInteger(const fs::path& file, const std::string& sql) const { return SqliteProbe(file).Integer(sql); }
    int64_t VersionOf(const fs::path& file) const {
        return FileInteger(file, "SELECT version FROM version_info_table");
    }
    // Runs statements on a store file with SQLite alone; the library must be
    // down, or the store not open.
    void ExecOn(const fs::path& file, const std::string& sql) const {
        SqliteProbe probe(file);
        ASSERT_TRUE(probe.IsOpen()) << file;
        char* message = nullptr;
        int code = sqlite3_exec(probe.Handle(), sql.c_str(), nullptr, nullptr, &message);
        std::string text = message != nullptr ? message : "";
        sqlite3_free(message);
        ASSERT_EQ(code, SQLITE_OK) << text;
    }
    // Runs statements on the open catalogue's own connection, inside or
    // outside its transaction, as the library would see them.
    void ExecOnCatalogue(const std::string& sql) const {
        char* message = nullptr;
        int code = sqlite3_exec(DatabaseRegistry::fileBasicDB->m_db, sql.c_str(), nullptr, nullptr, &message);
        std::string text = message != nullptr ? message : "";
        sqlite3_free(message);
        ASSERT_EQ(code, SQLITE_OK) << text;
    }

    TempFolder m_root;
    ComPtr<IZanDB4DBUtility> m_utility;
};

}  // namespace maintenance_test
