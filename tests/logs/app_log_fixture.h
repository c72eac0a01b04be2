// The setting of the application log tests: the library started on a fresh
// root with the manager taken from the factory, an item as the application
// would implement it, callbacks that gather what the walks hand them, the
// clock set relative to a file's creation time, and a look at what a
// separate SQLite connection finds in "information"/"appcahce.db".
#pragma once

#include <gtest/gtest.h>
#include <time.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "logs/app_log_db.h"
#include "logs_fixture.h"
#include "platform/files.h"

namespace logs_test {

// An application log record as the application implements it: fixed
// values, its own reference count, and counts of how often the library
// asked for each value.
class FakeAppLogItem : public IZanAppLogItem {
public:
    FakeAppLogItem(uint32_t version, uint32_t logID, uint32_t logType, std::string bytes)
        : m_version(version), m_logID(logID), m_logType(logType), m_bytes(std::move(bytes)) {}
    virtual ~FakeAppLogItem() = default;

    HRESULT QueryInterface(REFIID, void** out) override {
        if (out == nullptr) return E_INVALIDARG;
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return static_cast<ULONG>(++m_refCount); }
    ULONG Release() override {
        int32_t count = --m_refCount;
        if (count == 0) delete this;
        return static_cast<ULONG>(count);
    }

    uint32_t GetVersion() override {
        ++m_versionReads;
        return m_version;
    }
    uint32_t GetLogID() override { return m_logID; }
    uint32_t GetLogType() override { return m_logType; }
    // Null for an item without bytes, as an application may hand it.
    const void* GetData() override {
        ++m_dataReads;
        return m_bytes.empty() ? nullptr : m_bytes.data();
    }
    uint32_t GetDataSize() override {
        return m_sizeOverride != 0 ? m_sizeOverride : static_cast<uint32_t>(m_bytes.size());
    }

    int32_t RefCount() const { return m_refCount.load(); }
    int VersionReads() const { return m_versionReads; }
    int DataReads() const { return m_dataReads; }
    // Makes GetDataSize claim this size instead of the bytes' own.
    void ClaimSize(uint32_t size) { m_sizeOverride = size; }

private:
    std::atomic<int32_t> m_refCount{1};
    uint32_t m_version;
    uint32_t m_logID;
    uint32_t m_logType;
    std::string m_bytes;
    uint32_t m_sizeOverride = 0;
    int m_versionReads = 0;
    int m_dataReads = 0;
};

// A counter as EnumCounts hands it over.
struct SeenCount {
    uint32_t logID;
    uint32_t logType;
    uint32_t count;
    bool operator==(const SeenCount&) const = default;
};

// A record as EnumHistory and EnumInformation hand it over, its bytes copied
// during the call.
struct SeenRecord {
    uint64_t id;
    uint32_t version;
    uint32_t logID;
    uint32_t logType;
    uint32_t size;
    std::string bytes;
    bool dataWasNull;
    bool operator==(const SeenRecord&) const = default;
};

// What a walk's callbacks gather, and what they answer: `answer` for every
// row, or `stopAnswer` from the row numbered stopAt (1 for the first).
struct Gathered {
    std::vector<SeenCount> counts;
    std::vector<SeenRecord> records;
    HRESULT answer = S_OK;
    size_t stopAt = 0;
    HRESULT stopAnswer = S_OK;

    HRESULT Next(size_t seen) const { return stopAt != 0 && seen == stopAt ? stopAnswer : answer; }
};

inline HRESULT GatherCount(uint32_t logID, uint32_t logType, uint32_t count, void* context) {
    auto* gathered = static_cast<Gathered*>(context);
    gathered->counts.push_back({logID, logType, count});
    return gathered->Next(gathered->counts.size());
}

inline HRESULT GatherRecord(uint64_t id, uint32_t version, uint32_t logID, uint32_t logType, uint32_t size,
                            const void* data, void* context) {
    auto* gathered = static_cast<Gathered*>(context);
    // The blob's bytes are as many as the row's data holds, which for the
    // records the tests write is the size.
    std::string bytes = data == nullptr ? std::string() : std::string(static_cast<const char*>(data), size);
    gathered->records.push_back({id, version, logID, logType, size, bytes, data == nullptr});
    return gathered->Next(gathered->records.size());
}

// Seconds since 1970 as a broken-down UTC time, for the clock seam.
inline SYSTEMTIME UtcMoment(int64_t seconds) {
    const time_t value = static_cast<time_t>(seconds);
    struct tm parts {};
    gmtime_r(&value, &parts);
    return Moment(static_cast<uint16_t>(parts.tm_year + 1900), static_cast<uint16_t>(parts.tm_mon + 1),
                  static_cast<uint16_t>(parts.tm_mday), static_cast<uint16_t>(parts.tm_hour),
                  static_cast<uint16_t>(parts.tm_min), static_cast<uint16_t>(parts.tm_sec));
}

// The creation time the store reads from the file: its birth time, or the
// modification time where the file system keeps no birth time.
inline int64_t CreationTime(const std::filesystem::path& file) {
    zandb4::platform::FileStatus status;
    EXPECT_TRUE(zandb4::platform::GetFileStatus(file.string(), status)) << file;
    return status.creationTime;
}

inline constexpr int64_t kDay = 86400;

// The application log through the library: started on a fresh root, the
// manager taken from the factory.
class AppLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(DatabaseRegistry::initCount, 0);
        Start();
    }
    void TearDown() override {
        m_appLog.Reset();
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }

    void Start() {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AppLogDBMgr, reinterpret_cast<void**>(m_appLog.Receive())), S_OK);
        ASSERT_TRUE(m_appLog);
    }
    // Lets go of the manager and stops the library, which closes the store.
    void Stop() {
        m_appLog.Reset();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    std::filesystem::path AppLogFile() const { return m_root / "information" / "appcahce.db"; }
    // What a separate connection finds: only what was committed.
    Rows AppLogRows(const std::string& sql) const { return SqliteProbe(AppLogFile()).Rows(sql); }
    int64_t AppLogInteger(const std::string& sql) const { return SqliteProbe(AppLogFile()).Integer(sql); }
    CSQLiteAppLogDataDB& Store() const { return *DatabaseRegistry::appLogDB; }

    // Adds a record of the item's values through the manager's operation.
    HRESULT AddHistory(uint32_t version, uint32_t logID, uint32_t logType, const std::string& bytes) {
        FakeAppLogItem item(version, logID, logType, bytes);
        return m_appLog->AddHistory(&item);
    }
    HRESULT SetInformation(uint32_t version, uint32_t logID, uint32_t logType, const std::string& bytes) {
        FakeAppLogItem item(version, logID, logType, bytes);
        return m_appLog->SetInformation(&item);
    }

    TempFolder m_root;
    ComPtr<IZanDB4AppLogDBMgr> m_appLog;
};

// The store on its own, in a folder of a test's own, for the file's life
// cycle: made, opened, closed and destroyed by the test.
class AppLogStoreTest : public ::testing::Test {
protected:
    void TearDown() override { zandb4::platform::SetSystemTimeForTesting(std::nullopt); }

    std::unique_ptr<CSQLiteAppLogDataDB> MakeStore() const {
        auto store = std::make_unique<CSQLiteAppLogDataDB>();
        store->m_folder = CZanTString::FromUtf8((m_folder.Utf8() + "/").c_str());
        store->m_fileName = u"appcahce.db";
        return store;
    }
    // A store opened on the file, which Open makes when it is missing.
    std::unique_ptr<CSQLiteAppLogDataDB> OpenStore() const {
        auto store = MakeStore();
        EXPECT_EQ(store->Open(), S_OK);
        return store;
    }
    // Makes the file with its tables, as a first start does, and closes it.
    void MakeFile() const {
        auto store = OpenStore();
        store->Close();
    }
    // Opens the file with "now" set that many seconds after its creation.
    std::unique_ptr<CSQLiteAppLogDataDB> OpenAged(int64_t seconds) const {
        ClockAt now(UtcMoment(CreationTime(File()) + seconds));
        return OpenStore();
    }

    std::filesystem::path File() const { return m_folder / "appcahce.db"; }

    TempFolder m_folder;
};

}  // namespace logs_test
