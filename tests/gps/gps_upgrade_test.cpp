// The GPS log store on files of older builds, made here with SQLite alone: a
// version 1000 file in the old layout, a half-upgraded one, and a current
// one. The store is run as the library's upgrade runs it: the rebuild of a
// half-upgraded file, then UpgradeTables, then SetVersion(1201) and
// Commit(true). The library's start itself never upgrades.
#include <algorithm>

#include "gps/gps_log_db_record.h"
#include "gps/gps_log_file_record.h"
#include "gps_fixture.h"

namespace gps_test {
namespace {

namespace fs = std::filesystem;

// A log and two points in the old layout.
std::string OldRows() {
    return "INSERT INTO gps_log_file VALUES (3, '/old/a.gpx', 'a.gpx', " +
           std::to_string(Packed(Moment(2019, 5, 1, 9))) + ", " + std::to_string(Packed(Moment(2019, 5, 1, 11))) +
           ", 6);"
           "INSERT INTO gps_log_data VALUES (7, 3, " +
           std::to_string(Packed(Moment(2019, 5, 1, 9))) +
           ", 35.5, 139.5);"
           "INSERT INTO gps_log_data VALUES (8, 3, " +
           std::to_string(Packed(Moment(2019, 5, 1, 10))) +
           ", 35.75, 139.75);"
           "INSERT INTO last_id_table VALUES (0, 3);"
           "INSERT INTO last_id_table VALUES (1, 8);";
}

class GpsUpgrade : public GpsFilesTest {
protected:
    fs::path File() const { return m_root / "Location.db"; }

    // Opens the file as the library's store does, without the library.
    void Open() {
        m_store.m_folder = m_root.Wide();
        m_store.m_fileName = u"Location.db";
        ASSERT_EQ(m_store.Open(), S_OK);
    }
    // The library's upgrade of this store, from a version below 1100.
    HRESULT Upgrade() {
        HRESULT upgraded = m_store.UpgradeTables();
        EXPECT_EQ(m_store.SetVersion(1201), S_OK);
        EXPECT_EQ(m_store.Commit(true), S_OK);
        return upgraded;
    }
    uint32_t Version() {
        uint32_t version = 0;
        EXPECT_EQ(m_store.GetVersion(&version), S_OK);
        return version;
    }

    CSQLiteGPSLogDB m_store;
};

const std::vector<std::string> kOldLogFileColumns = {"log_file_id", "log_file_path", "log_file_name",
                                                     "start_date",  "end_date",      "attributes"};
const std::vector<std::string> kOldLogDataColumns = {"log_id", "log_file_id", "date", "latitude", "longitude"};
const std::vector<std::string> kNewLogFileColumns = {
    "log_file_id", "log_file_path", "log_file_name",  "start_date",   "end_date",
    "attributes",  "state",         "start_date_utc", "end_date_utc", "log_location_name"};
const std::vector<std::string> kNewLogDataColumns = {"log_id",   "log_file_id", "date",
                                                     "latitude", "longitude",   "date_utc"};

TEST_F(GpsUpgrade, ANewFileHasBothTablesTheirIndexesAndTheCurrentVersion) {
    Open();
    EXPECT_EQ(Version(), 1201u);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kNewLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kNewLogDataColumns);
    EXPECT_EQ(IndexesOf(File()),
              (std::vector<std::string>{"gps_log_data_file_id_idx", "gps_log_data_uidx", "gps_log_file_uidx"}));
}

TEST_F(GpsUpgrade, AVersion1000FileIsRebuiltThenUpgradedAndReadsItsNullsAsEmpty) {
    MakeSqliteFile(File(), Version1000File() + OldRows());
    Open();
    EXPECT_EQ(Version(), 1000u);
    EXPECT_TRUE(m_store.RevertPartialUpgrade());
    EXPECT_EQ(Version(), 1000u);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kOldLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kOldLogDataColumns);
    // The rebuild made no index again.
    EXPECT_TRUE(IndexesOf(File()).empty());

    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kNewLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kNewLogDataColumns);
    EXPECT_TRUE(IndexesOf(File()).empty());
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT state, start_date_utc, end_date_utc, log_location_name FROM "
                                       "gps_log_file"),
              (Rows{{"NULL", "NULL", "NULL", "NULL"}}));

    ComPtr<IZanDB4GPSLogFileRecord> log;
    ASSERT_EQ(m_store.GetLogFile(3, log.Receive()), S_OK);
    CZanTString text;
    EXPECT_EQ(log->GetPath(text), S_OK);
    EXPECT_EQ(text, CZanTString(u"/old/a.gpx"));
    uint32_t value = 99;
    log->GetState(&value);
    EXPECT_EQ(value, 0u);
    log->GetAttributes(&value);
    EXPECT_EQ(value, 6u);
    SYSTEMTIME start = Moment(1, 1, 1), end = Moment(1, 1, 1);
    log->GetDatesUTC(&start, &end);
    EXPECT_EQ(Packed(start), 0);
    EXPECT_EQ(Packed(end), 0);
    log->GetDates(&start, &end);
    EXPECT_TRUE(SameMoment(start, Moment(2019, 5, 1, 9)));
    EXPECT_EQ(log->GetLocationName(text), E_FAIL);
    EXPECT_TRUE(text.IsEmpty());

    ComPtr<IZanDB4GPSLogDBRecord> point;
    ASSERT_EQ(m_store.GetLogData(8, point.Receive()), S_OK);
    SYSTEMTIME date = Moment(1, 1, 1);
    point->GetDateUTC(&date);
    EXPECT_EQ(Packed(date), 0);
    float latitude = 0.0f;
    point->GetLocation(&latitude, nullptr);
    EXPECT_EQ(latitude, 35.75f);
}

TEST_F(GpsUpgrade, ADoubledPointIsStoredAsASecondRowInARebuiltFile) {
    MakeSqliteFile(File(), Version1000File() + OldRows());
    Open();
    ASSERT_TRUE(m_store.RevertPartialUpgrade());
    ASSERT_EQ(Upgrade(), S_OK);
    const SYSTEMTIME date = Moment(2020, 1, 1, 8);
    ComPtr<IZanDB4GPSLogDBRecord> first = ComPtr<IZanDB4GPSLogDBRecord>::Adopt(new CZanDB4GPSLogDBRecord());
    first->SetLogFileID(3);
    first->SetDate(&date);
    first->SetLocation(35.0f, 139.0f);
    uint64_t a = 0, b = 0;
    ASSERT_EQ(m_store.AddLogData(first.Get(), &a), S_OK);
    EXPECT_EQ(m_store.AddLogData(first.Get(), &b), S_OK);
    EXPECT_EQ(a, 9u);
    EXPECT_EQ(b, 10u);
    // A second log of the same path goes in as well: no unique index is left.
    ComPtr<IZanDB4GPSLogFileRecord> log = ComPtr<IZanDB4GPSLogFileRecord>::Adopt(new CZanDB4GPSLogFileRecord());
    log->SetPath(u"/old/a.gpx");
    log->SetName(u"a.gpx");
    EXPECT_EQ(m_store.AddLogFile(log.Get(), nullptr), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    EXPECT_EQ(
        SqliteProbe(File()).Integer("SELECT COUNT(*) FROM gps_log_data WHERE date=" + std::to_string(Packed(date))), 2);
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT COUNT(*) FROM gps_log_file WHERE log_file_path='/old/a.gpx'"), 2);
}

TEST_F(GpsUpgrade, ADoubledPointFailsInANewFile) {
    Open();
    const SYSTEMTIME date = Moment(2020, 1, 1, 8);
    ComPtr<IZanDB4GPSLogDBRecord> point = ComPtr<IZanDB4GPSLogDBRecord>::Adopt(new CZanDB4GPSLogDBRecord());
    point->SetLogFileID(3);
    point->SetDate(&date);
    point->SetLocation(35.0f, 139.0f);
    uint64_t id = 0;
    ASSERT_EQ(m_store.AddLogData(point.Get(), &id), S_OK);
    EXPECT_EQ(m_store.AddLogData(point.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT COUNT(*) FROM gps_log_data"), 1);
}

TEST_F(GpsUpgrade, UpgradeWithoutARebuildKeepsTheOldIndexes) {
    MakeSqliteFile(File(), Version1000File() + OldRows());
    Open();
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kNewLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kNewLogDataColumns);
    EXPECT_EQ(IndexesOf(File()),
              (std::vector<std::string>{"gps_log_data_file_id_idx", "gps_log_data_uidx", "gps_log_file_uidx"}));
}

TEST_F(GpsUpgrade, StartDateUtcAloneStandsForAllFourColumnsOfTheLogTable) {
    // A half-upgraded file: gps_log_file has start_date_utc but none of the
    // three others, gps_log_data has no date_utc.
    MakeSqliteFile(File(), Version1000File() + "ALTER TABLE gps_log_file ADD COLUMN start_date_utc INTEGER;");
    Open();
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kNewLogDataColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"),
              (std::vector<std::string>{"log_file_id", "log_file_path", "log_file_name", "start_date", "end_date",
                                        "attributes", "start_date_utc"}));
}

TEST_F(GpsUpgrade, AHalfUpgradedFileIsRebuiltToTheOldLayout) {
    MakeSqliteFile(File(), Version1000File() + OldRows() +
                               "ALTER TABLE gps_log_data ADD COLUMN date_utc INTEGER;"
                               "UPDATE gps_log_data SET date_utc=5;"
                               "ALTER TABLE gps_log_file ADD COLUMN start_date_utc INTEGER;"
                               "UPDATE version_info_table SET version=1100;");
    Open();
    EXPECT_TRUE(m_store.RevertPartialUpgrade());
    EXPECT_EQ(Version(), 1000u);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kOldLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kOldLogDataColumns);
    // The rows of the older columns came over; the UTC dates are gone.
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT log_id, log_file_id, latitude FROM gps_log_data ORDER BY log_id"),
              (Rows{{"7", "3", "35.5"}, {"8", "3", "35.75"}}));
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT log_file_id, log_file_path, attributes FROM gps_log_file"),
              (Rows{{"3", "/old/a.gpx", "6"}}));
    // The file was committed and compacted: no transaction stays open.
    EXPECT_EQ(m_store.m_inTransaction, 0);
    EXPECT_EQ(m_store.HasCommitted(), 1);
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kNewLogFileColumns);
}

TEST_F(GpsUpgrade, RevertOnACurrentFileChangesNothingAndOpensNoTransaction) {
    Open();
    EXPECT_FALSE(m_store.RevertPartialUpgrade());
    EXPECT_EQ(m_store.m_inTransaction, 0);
    EXPECT_EQ(m_store.HasCommitted(), 0);
    EXPECT_EQ(Version(), 1201u);
    EXPECT_EQ(IndexesOf(File()).size(), 3u);
}

TEST_F(GpsUpgrade, RevertOnACurrentFileLeavesAnOpenTransactionOpen) {
    Open();
    ComPtr<IZanDB4GPSLogFileRecord> log = ComPtr<IZanDB4GPSLogFileRecord>::Adopt(new CZanDB4GPSLogFileRecord());
    log->SetPath(u"/a.gpx");
    log->SetName(u"a.gpx");
    ASSERT_EQ(m_store.AddLogFile(log.Get(), nullptr), S_OK);
    ASSERT_EQ(m_store.m_inTransaction, 1);
    EXPECT_FALSE(m_store.RevertPartialUpgrade());
    // Nothing was committed: another connection sees no log yet.
    EXPECT_EQ(m_store.m_inTransaction, 1);
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT COUNT(*) FROM gps_log_file"), 0);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT COUNT(*) FROM gps_log_file"), 1);
}

TEST_F(GpsUpgrade, FromVersion1100OnTheUpgradeDoesNothing) {
    MakeSqliteFile(File(), Version1000File() + "UPDATE version_info_table SET version=1100;");
    Open();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_file"), kOldLogFileColumns);
    EXPECT_EQ(ColumnsOf(File(), "gps_log_data"), kOldLogDataColumns);
}

TEST_F(GpsUpgrade, UpgradeWithoutAConnectionFails) {
    EXPECT_EQ(m_store.UpgradeTables(), E_FAIL);
}

TEST_F(GpsUpgrade, GetAllLogFilesListsEveryLogForTheMigration) {
    MakeSqliteFile(
        File(), Version1000File() + OldRows() + "INSERT INTO gps_log_file VALUES (1, '/old/b.gpx', 'b.gpx', 0, 0, 0);");
    Open();
    ASSERT_TRUE(m_store.RevertPartialUpgrade());
    ASSERT_EQ(Upgrade(), S_OK);
    LogFiles logs;
    ASSERT_EQ(m_store.GetAllLogFiles(logs.Out()), S_OK);
    std::vector<uint64_t> ids = logs.Ids();
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (std::vector<uint64_t>{1, 3}));
    EXPECT_EQ(m_store.GetAllLogFiles(nullptr), E_INVALIDARG);
}

TEST_F(GpsUpgrade, GetAllLogFilesOfAnEmptyStoreFails) {
    Open();
    LogFiles logs;
    EXPECT_EQ(m_store.GetAllLogFiles(logs.Out()), E_FAIL);
    EXPECT_EQ(logs.Count(), 0);
}

}  // namespace
}  // namespace gps_test
