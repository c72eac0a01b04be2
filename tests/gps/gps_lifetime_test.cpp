// The GPS log store over the library's start and stop: "Location.db" made in
// the database folder, the store committed and closed with the rest, the
// three GPS objects served by the factory, and a manager made while the
// library has no store.
#include "catalogue/file_basic_db.h"
#include "gps_fixture.h"

namespace gps_test {
namespace {

namespace fs = std::filesystem;

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

using GpsLifetime = GpsFilesTest;

TEST_F(GpsLifetime, StartMakesLocationDbBesideTheCatalogue) {
    Start();
    ASSERT_NE(DatabaseRegistry::gpsLogDB, nullptr);
    EXPECT_NE(Store().m_db, nullptr);
    EXPECT_TRUE(fs::is_regular_file(LocationFile()));
    EXPECT_EQ(Store().m_folder, DatabaseRegistry::fileBasicDB->m_folder);
    EXPECT_EQ(Store().m_fileName, CZanTString(u"Location.db"));
    EXPECT_EQ(SqliteProbe(LocationFile()).Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(ColumnsOf(LocationFile(), "gps_log_data").size(), 6u);
}

TEST_F(GpsLifetime, StopCommitsAndClosesTheStore) {
    Start();
    uint64_t log = AddLog("/a.gpx", Moment(2024, 5, 1), Moment(2024, 5, 2));
    AddPoint(log, Moment(2024, 5, 1, 9));
    Stop();
    EXPECT_EQ(DatabaseRegistry::gpsLogDB, nullptr);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_file"), 1);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_data"), 1);
    EXPECT_FALSE(fs::exists(m_root / "database" / "Location.db-journal"));
}

TEST_F(GpsLifetime, ASecondStartReadsWhatTheFirstStored) {
    Start();
    uint64_t log = AddLog("/a.gpx", Moment(2024, 5, 1), Moment(2024, 5, 2));
    uint64_t point = AddPoint(log, Moment(2024, 5, 1, 9));
    Stop();
    Start();
    Points points;
    ASSERT_EQ(m_gps->GetLogDataOfFile(log, points.Out()), S_OK);
    EXPECT_EQ(points.Ids(), std::vector<uint64_t>{point});
    // The counters go on from where the first run left them.
    EXPECT_EQ(AddLog("/b.gpx"), log + 1);
}

TEST_F(GpsLifetime, TheFactoryMakesTheManagerAndBothRecords) {
    Start();
    const IID* const identifiers[] = {&IID_IZanDB4GPSLogDBMgr, &IID_IZanDB4GPSLogDBRecord,
                                      &IID_IZanDB4GPSLogFileRecord};
    for (const IID* iid : identifiers) {
        IUnknown* object = nullptr;
        ASSERT_EQ(ZanDB4_CreateInstance(iid, reinterpret_cast<void**>(&object)), S_OK);
        ASSERT_NE(object, nullptr);
        void* same = nullptr;
        EXPECT_EQ(object->QueryInterface(*iid, &same), S_OK);
        EXPECT_EQ(same, static_cast<void*>(object));
        void* other = &other;
        EXPECT_EQ(object->QueryInterface(kIUnknownId, &other), E_NOINTERFACE);
        EXPECT_EQ(other, nullptr);
        // One reference from the factory, one from QueryInterface.
        EXPECT_EQ(object->Release(), 1u);
        EXPECT_EQ(object->Release(), 0u);
    }
    // A blank record from the factory has no id.
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/a.gpx", "a.gpx");
    uint64_t id = 9;
    EXPECT_EQ(log->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
}

TEST_F(GpsLifetime, TheFactoryRefusesWhileTheLibraryIsDown) {
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogDBMgr, &out), E_FAIL);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogDBRecord, &out), E_FAIL);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogFileRecord, &out), E_FAIL);
    EXPECT_EQ(out, reinterpret_cast<void*>(0x5EA7));
}

TEST_F(GpsLifetime, AfterAccessDeniedTheManagerHasNoStoreAndFails) {
    zandb4::testing::WriteFile(m_root / "database", "a file in the way");
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    EXPECT_EQ(DatabaseRegistry::gpsLogDB, nullptr);
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4GPSLogDBMgr, reinterpret_cast<void**>(m_gps.Receive())), S_OK);
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/a.gpx", "a.gpx");
    uint64_t id = 9;
    EXPECT_EQ(m_gps->AddLogFile(log.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    ComPtr<IZanDB4GPSLogDBRecord> point = NewPoint(1, Moment(2024, 5, 1), 1.0f, 1.0f);
    EXPECT_EQ(m_gps->AddLogData(point.Get(), nullptr), E_FAIL);
    EXPECT_EQ(m_gps->DeleteLogData(1), E_FAIL);
    IZanDB4GPSLogDBRecord* out = point.Get();
    EXPECT_EQ(m_gps->GetLogData(1, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    Points points;
    const SYSTEMTIME moment = Moment(2024, 5, 1);
    EXPECT_EQ(m_gps->GetLogDataInRange(&moment, &moment, points.Out()), E_FAIL);
    uint32_t count = 7;
    EXPECT_EQ(m_gps->GetLogFileCount(&count), E_FAIL);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(m_gps->Commit(), E_FAIL);
    EXPECT_EQ(m_gps->Rollback(), E_FAIL);
    // Argument checks come first all the same.
    EXPECT_EQ(m_gps->AddLogFile(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(GpsLifetime, AStoreFileThatIsNoDatabaseLeavesAManagerThatFails) {
    fs::create_directories(LocationFile().parent_path());
    zandb4::testing::WriteFile(LocationFile(), "text, not a database, long enough to be looked at by SQLite");
    Start();
    ASSERT_NE(DatabaseRegistry::gpsLogDB, nullptr);
    ComPtr<IZanDB4GPSLogFileRecord> log = NewLogFile("/a.gpx", "a.gpx");
    EXPECT_EQ(m_gps->AddLogFile(log.Get(), nullptr), E_FAIL);
    uint32_t count = 7;
    EXPECT_EQ(m_gps->GetLogFileCount(&count), E_FAIL);
    LogFiles logs;
    EXPECT_EQ(m_gps->FindLogFilesByName(u"a.gpx", logs.Out()), E_FAIL);
    // The file is left as it was.
    EXPECT_EQ(fs::file_size(LocationFile()), 59u);
}

}  // namespace
}  // namespace gps_test
