// The setting of the GPS log tests: the library started on a fresh root with
// the GPS log manager taken from the factory, records made through the
// factory and filled, lists that give back their records' references, and a
// look at what a separate SQLite connection finds in "Location.db".
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/com_ptr.h"
#include "gps/gps_log_db.h"
#include "library/database_registry.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace gps_test {

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

// The packed form of a moment, worked out apart from the library: year from
// bit 40, then month, day, hour, minute and second a byte each.
inline int64_t Packed(const SYSTEMTIME& moment) {
    return (static_cast<int64_t>(moment.wYear) << 40) | (static_cast<int64_t>(moment.wMonth) << 32) |
           (static_cast<int64_t>(moment.wDay) << 24) | (static_cast<int64_t>(moment.wHour) << 16) |
           (static_cast<int64_t>(moment.wMinute) << 8) | static_cast<int64_t>(moment.wSecond);
}

inline bool SameMoment(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return Packed(a) == Packed(b);
}

inline CZanTString W(const std::string& utf8) {
    return CZanTString::FromUtf8(utf8.c_str());
}

// The caller's list of a list operation, giving back every record's
// reference when it goes.
template <class Record>
class RecordList {
public:
    RecordList() = default;
    ~RecordList() { Clear(); }
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    // The list as the manager takes it.
    CList<Record*>* Out() { return &m_list; }
    CList<Record*>& List() { return m_list; }
    ptrdiff_t Count() const { return m_list.GetCount(); }
    std::vector<Record*> Items() {
        std::vector<Record*> items;
        for (POSITION position = m_list.GetHeadPosition(); position != nullptr;)
            items.push_back(m_list.GetNext(position));
        return items;
    }
    std::vector<uint64_t> Ids() {
        std::vector<uint64_t> ids;
        for (Record* record : Items()) {
            uint64_t id = 0;
            record->GetID(&id);
            ids.push_back(id);
        }
        return ids;
    }
    void Clear() {
        for (Record* record : Items()) record->Release();
        m_list.RemoveAll();
    }

private:
    CList<Record*> m_list;
};

using LogFiles = RecordList<IZanDB4GPSLogFileRecord>;
using Points = RecordList<IZanDB4GPSLogDBRecord>;

// A log file record made by the factory and filled; the library must be up.
inline ComPtr<IZanDB4GPSLogFileRecord> NewLogFile(const std::string& path, const std::string& name) {
    ComPtr<IZanDB4GPSLogFileRecord> record;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogFileRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
    if (!record) return record;
    record->SetPath(W(path));
    record->SetName(W(name));
    return record;
}

// A point record made by the factory and filled.
inline ComPtr<IZanDB4GPSLogDBRecord> NewPoint(uint64_t logFileId, const SYSTEMTIME& date, float latitude,
                                              float longitude, const SYSTEMTIME& dateUTC = SYSTEMTIME{}) {
    ComPtr<IZanDB4GPSLogDBRecord> record;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogDBRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
    if (!record) return record;
    record->SetLogFileID(logFileId);
    record->SetDate(&date);
    record->SetDateUTC(&dateUTC);
    record->SetLocation(latitude, longitude);
    return record;
}

// The SQL that makes a store file at version 1000 with SQLite alone: the base
// tables and both GPS tables in the old layout, with their indexes.
inline std::string Version1000File() {
    return "CREATE TABLE version_info_table (version INTEGER);"
           "INSERT INTO version_info_table VALUES('1000');"
           "CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER);"
           "CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER);"
           "CREATE TABLE gps_log_file (log_file_id INTEGER PRIMARY KEY,log_file_path TEXT, log_file_name TEXT, "
           "start_date INTEGER, end_date INTEGER, attributes INTEGER);"
           "CREATE UNIQUE INDEX gps_log_file_uidx ON gps_log_file (log_file_path);"
           "CREATE TABLE gps_log_data (log_id INTEGER PRIMARY KEY,log_file_id INTEGER,date INTEGER,latitude REAL,"
           "longitude REAL);"
           "CREATE INDEX gps_log_data_file_id_idx ON gps_log_data (log_file_id, date);"
           "CREATE UNIQUE INDEX gps_log_data_uidx ON gps_log_data (log_file_id, date, latitude, longitude);";
}

// Makes an SQLite file at path with SQLite alone, not the library, and runs
// the statements in it: a store as an older build left it.
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

// The names of the columns of a table, in order, as SQLite reports them.
inline std::vector<std::string> ColumnsOf(const std::filesystem::path& file, const std::string& table) {
    std::vector<std::string> names;
    for (const auto& row : SqliteProbe(file).Rows("SELECT name FROM pragma_table_info('" + table + "')"))
        names.push_back(row[0]);
    return names;
}

// The names of the indexes SQLite has in the file, in name order.
inline std::vector<std::string> IndexesOf(const std::filesystem::path& file) {
    std::vector<std::string> names;
    for (const auto& row :
         SqliteProbe(file).Rows("SELECT name FROM sqlite_master WHERE type='index' AND sql IS NOT NULL ORDER BY name"))
        names.push_back(row[0]);
    return names;
}

class GpsTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        Start();
    }
    void TearDown() override {
        m_gps.Reset();
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }

    // Starts the library and takes the manager.
    void Start() {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogDBMgr, reinterpret_cast<void**>(m_gps.Receive())), S_OK);
        ASSERT_TRUE(m_gps);
    }
    // Lets go of the manager and stops the library, which commits and closes
    // the store.
    void Stop() {
        m_gps.Reset();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    std::filesystem::path LocationFile() const { return m_root / "database" / "Location.db"; }
    CSQLiteGPSLogDB& Store() const { return *DatabaseRegistry::gpsLogDB; }

    // The rows of a query on the file, as a separate connection sees them:
    // only what was committed.
    Rows LocationRows(const std::string& sql) const { return SqliteProbe(LocationFile()).Rows(sql); }
    int64_t LocationInteger(const std::string& sql) const { return SqliteProbe(LocationFile()).Integer(sql); }

    // Adds a log with its UTC span; the new id, 0 on failure.
    uint64_t AddLog(const std::string& path, const SYSTEMTIME& startUTC = SYSTEMTIME{},
                    const SYSTEMTIME& endUTC = SYSTEMTIME{}) {
        ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile(path, "track.gpx");
        if (!log) return 0;
        log->SetDatesUTC(&startUTC, &endUTC);
        uint64_t id = 0;
        EXPECT_EQ(m_gps->AddLogFile(log.Get(), &id), S_OK) << path;
        return id;
    }
    // Adds a point; the new id, 0 on failure.
    uint64_t AddPoint(uint64_t logFileId, const SYSTEMTIME& date, float latitude = 35.5f, float longitude = 139.25f,
                      const SYSTEMTIME& dateUTC = SYSTEMTIME{}) {
        ComPtr<IZanDB4GPSLogDBRecord> point = NewPoint(logFileId, date, latitude, longitude, dateUTC);
        if (!point) return 0;
        uint64_t id = 0;
        EXPECT_EQ(m_gps->AddLogData(point.Get(), &id), S_OK);
        return id;
    }

    TempFolder m_root;
    ComPtr<IZanDB4GPSLogDBMgr> m_gps;
};

// The same setting for tests that lay files under the root first, or use a
// store without the library: nothing is started until the test says so.
class GpsFilesTest : public GpsTest {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
};

}  // namespace gps_test
