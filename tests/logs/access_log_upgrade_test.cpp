// The upgrade of older "UserLog.db" files, made here with SQLite alone: from
// 1000 the values of kind 267 are zeroed and the missing tables made, from
// 1200 only the tables; newer files are left alone. The store is run as the
// library's upgrade runs it: UpgradeTables, SetVersion(1201), Commit(true).
// The library's start itself never upgrades.
#include <fstream>
#include <sstream>
#include <string>

#include "logs_fixture.h"

namespace logs_test {
namespace {

namespace fs = std::filesystem;

// The tables a version 1000 file has: daily values and strings only.
std::string Version1000Tables() {
    return "CREATE TABLE access_date_log_data (log_date INTEGER,log_type INTEGER, log_subtype INTEGER, log_data "
           "INTEGER, sub_log_data INTEGER);"
           "CREATE UNIQUE INDEX access_log_data_uidx ON access_date_log_data (log_date, log_type);"
           "CREATE TABLE access_string_data (log_type INTEGER, log_string TEXT);"
           "CREATE UNIQUE INDEX access_string_data_uidx ON access_string_data (log_type, log_string);";
}

// Daily values of kinds 267 and 12 on two days, and a string.
std::string OlderRows() {
    return "INSERT INTO access_date_log_data VALUES (" + std::to_string(DayKey(2019, 5, 1)) +
           ", 267, 0, 41, 0);"
           "INSERT INTO access_date_log_data VALUES (" +
           std::to_string(DayKey(2019, 5, 2)) +
           ", 267, 0, 7, 0);"
           "INSERT INTO access_date_log_data VALUES (" +
           std::to_string(DayKey(2019, 5, 1)) +
           ", 12, 0, 99, 0);"
           "INSERT INTO access_string_data VALUES (3, 'kept');";
}

std::string FileText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class AccessLogUpgrade : public LogsFilesTest {
protected:
    fs::path File() const { return m_root / "UserLog.db"; }

    // Opens the file as the library's store does, without the library.
    void Open() {
        m_store.m_folder = m_root.Wide();
        m_store.m_fileName = u"UserLog.db";
        ASSERT_EQ(m_store.Open(), S_OK);
    }
    // The library's upgrade of this store.
    HRESULT Upgrade() {
        HRESULT upgraded = m_store.UpgradeTables();
        EXPECT_EQ(m_store.SetVersion(1201), S_OK);
        EXPECT_EQ(m_store.Commit(true), S_OK);
        return upgraded;
    }
    Rows FileRows(const std::string& sql) const { return SqliteProbe(File()).Rows(sql); }
    std::vector<std::string> TableNames() const {
        std::vector<std::string> names;
        for (const auto& row : FileRows("SELECT name FROM sqlite_master ORDER BY name")) names.push_back(row[0]);
        return names;
    }

    CSQLiteAccessLogDB m_store;
};

const std::vector<std::string> kAllNames = {
    "access_date_log_data",        "access_edit_param_data", "access_edit_param_data_uidx", "access_history_data",
    "access_history_data_uidx",    "access_launch_data",     "access_launch_data_uidx",     "access_log_data_uidx",
    "access_string_data",          "access_string_data_uidx", "last_id_table",              "pooled_id_table",
    "version_info_table"};

TEST_F(AccessLogUpgrade, FromVersion1000Kind267IsZeroedAndEverythingElseKept) {
    MakeSqliteFile(File(), BaseTablesAtVersion(1000) + Version1000Tables() + OlderRows());
    Open();
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(FileRows("SELECT log_date, log_type, log_data FROM access_date_log_data ORDER BY log_type, log_date"),
              (Rows{{std::to_string(DayKey(2019, 5, 1)), "12", "99"},
                    {std::to_string(DayKey(2019, 5, 1)), "267", "0"},
                    {std::to_string(DayKey(2019, 5, 2)), "267", "0"}}));
    EXPECT_EQ(FileRows("SELECT log_type, log_string FROM access_string_data"), (Rows{{"3", "kept"}}));
    EXPECT_EQ(TableNames(), kAllNames);
    EXPECT_EQ(FileRows("SELECT version FROM version_info_table"), (Rows{{"1201"}}));
}

TEST_F(AccessLogUpgrade, AfterTheUpgradeTheNewTablesWork) {
    MakeSqliteFile(File(), BaseTablesAtVersion(1000) + Version1000Tables() + OlderRows());
    Open();
    ASSERT_EQ(Upgrade(), S_OK);
    const CZanTDateTime day = Date(2024, 1, 2);
    EXPECT_EQ(m_store.AddLaunchCount(2, day), S_OK);
    EXPECT_EQ(m_store.AddEditParamCount(8, 1), S_OK);
    int64_t key = 0;
    EXPECT_EQ(m_store.BeginHistory(&key, day), S_OK);
    EXPECT_EQ(m_store.Commit(false), S_OK);
    EXPECT_EQ(FileRows("SELECT log_count FROM access_launch_data"), (Rows{{"2"}}));
    // Kind 267 counts again from zero.
    EXPECT_EQ(m_store.AddDailyCount(267, 3, Date(2019, 5, 1)), S_OK);
    uint32_t value = 0;
    EXPECT_EQ(m_store.GetDailyValue(267, &value, Date(2019, 5, 1)), S_OK);
    EXPECT_EQ(value, 3u);
}

TEST_F(AccessLogUpgrade, FromVersion1200OnlyTheMissingTablesAreMade) {
    MakeSqliteFile(File(), BaseTablesAtVersion(1200) + Version1000Tables() + OlderRows() +
                               "CREATE TABLE access_launch_data (log_date INTEGER, log_count INTEGER);"
                               "INSERT INTO access_launch_data VALUES (" +
                               std::to_string(DayKey(2019, 5, 1)) + ", 4);");
    Open();
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(FileRows("SELECT log_type, log_data FROM access_date_log_data ORDER BY log_type, log_date"),
              (Rows{{"12", "99"}, {"267", "41"}, {"267", "7"}}));
    EXPECT_EQ(FileRows("SELECT log_count FROM access_launch_data"), (Rows{{"4"}}));
    // The launch table stood without its index; the index was made beside
    // it.
    EXPECT_EQ(TableNames(), kAllNames);
}

TEST_F(AccessLogUpgrade, FromVersion1200WithEveryTableNothingChanges) {
    MakeSqliteFile(File(), BaseTablesAtVersion(1200) + Version1000Tables() + OlderRows() +
                               "CREATE TABLE access_launch_data (log_date INTEGER, log_count INTEGER);"
                               "CREATE UNIQUE INDEX access_launch_data_uidx ON access_launch_data (log_date);"
                               "CREATE TABLE access_history_data (log_date INTEGER, log_count INTEGER, log_history "
                               "TEXT);"
                               "CREATE UNIQUE INDEX access_history_data_uidx ON access_history_data (log_date);"
                               "CREATE TABLE access_edit_param_data (log_type INTEGER, log_count INTEGER);"
                               "CREATE UNIQUE INDEX access_edit_param_data_uidx ON access_edit_param_data (log_type);"
                               "INSERT INTO access_edit_param_data VALUES (1, 5);");
    Open();
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(TableNames(), kAllNames);
    EXPECT_EQ(FileRows("SELECT log_data FROM access_date_log_data WHERE log_type=267 ORDER BY log_date"),
              (Rows{{"41"}, {"7"}}));
    EXPECT_EQ(FileRows("SELECT log_type, log_count FROM access_edit_param_data"), (Rows{{"1", "5"}}));
}

TEST_F(AccessLogUpgrade, AFileWithoutTheDailyTableStillGetsTheNewTables) {
    // The reset's statement does not prepare on such a file; that is no
    // failure.
    MakeSqliteFile(File(), BaseTablesAtVersion(1000) +
                               "CREATE TABLE access_string_data (log_type INTEGER, log_string TEXT);");
    Open();
    EXPECT_EQ(m_store.ResetDailyValues(267), S_OK);
    EXPECT_EQ(Upgrade(), S_OK);
    EXPECT_EQ(FileRows("SELECT COUNT(*) FROM sqlite_master WHERE name IN ('access_launch_data', "
                       "'access_history_data', 'access_edit_param_data')"),
              (Rows{{"3"}}));
}

TEST_F(AccessLogUpgrade, AFileWithoutAVersionCountsAsOlder) {
    MakeSqliteFile(File(), Version1000Tables() + OlderRows());
    Open();
    EXPECT_EQ(m_store.UpgradeTables(), S_OK);
    EXPECT_EQ(m_store.Commit(true), S_OK);
    EXPECT_EQ(FileRows("SELECT log_data FROM access_date_log_data WHERE log_type=267"), (Rows{{"0"}, {"0"}}));
}

TEST_F(AccessLogUpgrade, TheCurrentAndNewerVersionsAreLeftAlone) {
    for (uint32_t version : {1201u, 2000u}) {
        const fs::path file = File();
        fs::remove(file);
        MakeSqliteFile(file, BaseTablesAtVersion(version) + Version1000Tables() + OlderRows());
        Open();
        EXPECT_EQ(m_store.UpgradeTables(), S_OK) << version;
        m_store.Close();
        EXPECT_EQ(FileRows("SELECT log_data FROM access_date_log_data WHERE log_type=267 ORDER BY log_date"),
                  (Rows{{"41"}, {"7"}}))
            << version;
        EXPECT_EQ(FileRows("SELECT COUNT(*) FROM sqlite_master WHERE name='access_launch_data'"), (Rows{{"0"}}))
            << version;
    }
}

TEST_F(AccessLogUpgrade, WithoutAConnectionTheUpgradeFails) {
    CSQLiteAccessLogDB unopened;
    EXPECT_EQ(unopened.UpgradeTables(), E_FAIL);
}

TEST_F(AccessLogUpgrade, TheLibrarysStartDoesNotUpgradeAndLosesNothing) {
    const fs::path file = UserLogFile();
    MakeSqliteFile(file, BaseTablesAtVersion(1000) + Version1000Tables() + OlderRows());
    Start();
    // The launch table is not there yet: those operations fail, the others
    // work.
    EXPECT_EQ(m_accessLog->AddLaunchCount(1, nullptr), E_FAIL);
    CArray<uint32_t> counts;
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2019, 1, 1), Date(2019, 12, 31), &counts), E_FAIL);
    int64_t key = 0;
    EXPECT_EQ(m_accessLog->BeginHistory(&key, nullptr), E_FAIL);
    const CZanTDateTime day = Date(2019, 5, 1);
    uint32_t value = 0;
    ASSERT_EQ(m_accessLog->GetDailyValue(267, &value, &day), S_OK);
    EXPECT_EQ(value, 41u);
    ASSERT_EQ(m_accessLog->AddDailyCount(12, 1, &day), S_OK);
    Stop();
    SqliteProbe probe(file);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1000);
    EXPECT_EQ(probe.Rows("SELECT log_type, log_data FROM access_date_log_data ORDER BY log_type, log_date"),
              (Rows{{"12", "100"}, {"267", "41"}, {"267", "7"}}));
}

TEST_F(AccessLogUpgrade, AUserLogThatIsNotADatabaseNeitherStopsTheStartNorGetsWritten) {
    fs::create_directories(UserLogFile().parent_path());
    const std::string text = "plain text where the usage log should be, long enough to be read";
    zandb4::testing::WriteFile(UserLogFile(), text);
    Start();
    EXPECT_EQ(m_accessLog->AddDailyCount(1, 1, nullptr), E_FAIL);
    EXPECT_EQ(m_accessLog->SetDailyBits(1, 1, nullptr), E_FAIL);
    EXPECT_EQ(m_accessLog->AddLaunchCount(1, nullptr), E_FAIL);
    EXPECT_EQ(m_accessLog->AddString(u"x", 1), E_FAIL);
    uint32_t count = 5;
    EXPECT_EQ(m_accessLog->CountDaysWithBits(1, 1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    CArray<uint32_t> counts;
    EXPECT_EQ(m_accessLog->GetBitHistogram(1, Date(2024, 1, 1), Date(2024, 12, 31), &counts), E_FAIL);
    EXPECT_EQ(counts.GetSize(), 32);
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 1, 1), Date(2024, 12, 31), &counts), E_FAIL);
    CArray<CZanTString> histories;
    EXPECT_EQ(m_accessLog->GetHistories(3, &histories), E_FAIL);
    // Memory data is unaffected.
    EXPECT_EQ(m_memory->AddData(1, u"k", "x", 1, nullptr), S_OK);
    Stop();
    EXPECT_EQ(FileText(UserLogFile()), text);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 1);
}

}  // namespace
}  // namespace logs_test
