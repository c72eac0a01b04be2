// "appcahce.db" as a file: when Open takes it for expired (its age in days,
// of which only the low 16 bits count, and its size), what Close deletes on
// each SetDeleteOnClose mode, and the upgrade that completes a file of the
// current version only.
#include <unistd.h>

#include "app_log_fixture.h"
#include "logs/app_log_tables.h"

namespace logs_test {
namespace {

namespace fs = std::filesystem;

using AppLogFile = AppLogStoreTest;

// The table and index names of a file, in the order they were made.
std::vector<std::string> SchemaNames(const fs::path& file) {
    std::vector<std::string> names;
    for (const auto& row : SqliteProbe(file).Rows("SELECT name FROM sqlite_master ORDER BY rowid"))
        names.push_back(row[0]);
    return names;
}

const std::vector<std::string> kAllNames = {
    "version_info_table",           "last_id_table",           "pooled_id_table", "applog_accumulation_tbl",
    "applog_accumulation_tbl_uidx", "applog_history_data_tbl", "sqlite_sequence", "applog_information_tbl",
    "applog_information_tbl_uidx"};

// Lengthens the file to size bytes without writing them (a sparse file).
// SQLite takes the page count from the file's header, which it keeps valid,
// so the bytes past the last page are never read and the file stays a
// readable and writable database.
void Lengthen(const fs::path& file, off_t size) {
    ASSERT_EQ(::truncate(file.c_str(), size), 0) << file;
}

TEST_F(AppLogFile, ANewFileHasTheBaseTablesAndTheThreeLogTables) {
    auto store = OpenStore();
    EXPECT_EQ(store->m_expired, 0u);
    store->Close();
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT type, name, sql FROM sqlite_master WHERE name LIKE 'applog%' "
                                       "ORDER BY rowid"),
              (Rows{{"table", "applog_accumulation_tbl",
                     "CREATE TABLE applog_accumulation_tbl (log_id INTEGER, log_type INTEGER, log_count INTEGER)"},
                    {"index", "applog_accumulation_tbl_uidx",
                     "CREATE UNIQUE INDEX applog_accumulation_tbl_uidx ON applog_accumulation_tbl (log_id, log_type)"},
                    {"table", "applog_history_data_tbl",
                     "CREATE TABLE applog_history_data_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, "
                     "log_id INTEGER, log_type INTEGER, log_size INTEGER, log_data BLOB)"},
                    {"table", "applog_information_tbl",
                     "CREATE TABLE applog_information_tbl (id INTEGER PRIMARY KEY AUTOINCREMENT, ver INTEGER, "
                     "log_id INTEGER, log_type INTEGER, log_size INTEGER, log_data BLOB)"},
                    {"index", "applog_information_tbl_uidx",
                     "CREATE UNIQUE INDEX applog_information_tbl_uidx ON applog_information_tbl (log_id, log_type)"}}));
    EXPECT_EQ(SchemaNames(File()), kAllNames);
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT version FROM version_info_table"), 1201);
}

TEST_F(AppLogFile, AFileOf180DaysIsNotExpired) {
    MakeFile();
    // The last second of the 180th day still counts as 180 days.
    EXPECT_EQ(OpenAged(180 * kDay)->m_expired, 0u);
    EXPECT_EQ(OpenAged(181 * kDay - 1)->m_expired, 0u);
}

TEST_F(AppLogFile, AFileOf181DaysIsExpired) {
    MakeFile();
    auto store = OpenAged(181 * kDay);
    EXPECT_EQ(store->m_expired, 1u);
    // Expired or not, the store is open and used as normal.
    EXPECT_NE(store->m_db, nullptr);
    EXPECT_EQ(store->AddCount(1, 1, 1), S_OK);
}

TEST_F(AppLogFile, OnlyTheLow16BitsOfTheAgeInDaysCount) {
    MakeFile();
    // 65536 + 10 days reads as 10 days, 65536 + 181 as 181.
    EXPECT_EQ(OpenAged((65536 + 10) * kDay)->m_expired, 0u);
    EXPECT_EQ(OpenAged((65536 + 181) * kDay)->m_expired, 1u);
}

TEST_F(AppLogFile, AFileMadeADayAfterNowReadsAsVeryOldAndExpires) {
    MakeFile();
    // Less than a day ahead divides to 0; a whole day ahead is -1, whose low
    // 16 bits are 65535 days.
    EXPECT_EQ(OpenAged(-kDay + 1)->m_expired, 0u);
    EXPECT_EQ(OpenAged(-kDay)->m_expired, 1u);
}

TEST_F(AppLogFile, AFileOfExactly512MiBIsNotExpired) {
    MakeFile();
    {
        auto store = OpenAged(0);
        ASSERT_EQ(store->AddCount(4, 2, 7), S_OK);
    }
    Lengthen(File(), 0x20000000);
    auto store = OpenAged(0);
    EXPECT_EQ(store->m_expired, 0u);
    // The lengthened file is still the store it was.
    uint32_t count = 0;
    EXPECT_EQ(store->GetCount(4, 2, &count), S_OK);
    EXPECT_EQ(count, 7u);
}

TEST_F(AppLogFile, OneByteMoreThan512MiBIsExpiredAndTheFileStillWorks) {
    MakeFile();
    Lengthen(File(), 0x20000001);
    auto store = OpenAged(0);
    EXPECT_EQ(store->m_expired, 1u);
    EXPECT_EQ(store->AddCount(5, 1, 3), S_OK);
    uint32_t count = 0;
    EXPECT_EQ(store->GetCount(5, 1, &count), S_OK);
    EXPECT_EQ(count, 3u);
    store->Close();
    EXPECT_EQ(SqliteProbe(File()).Integer("SELECT log_count FROM applog_accumulation_tbl WHERE log_id=5"), 3);
}

TEST_F(AppLogFile, AMissingFileIsMadeAndHasNotExpired) {
    ASSERT_FALSE(fs::exists(File()));
    // Whatever "now" is, a file that was not there has no age to count.
    ClockAt farAhead(Moment(2200, 1, 1));
    auto store = OpenStore();
    EXPECT_EQ(store->m_expired, 0u);
    EXPECT_TRUE(fs::is_regular_file(File()));
}

TEST_F(AppLogFile, ExpiryIsNeverTakenBackByALaterOpen) {
    MakeFile();
    auto store = OpenAged(200 * kDay);
    ASSERT_EQ(store->m_expired, 1u);
    ClockAt now(UtcMoment(CreationTime(File())));
    ASSERT_EQ(store->Reopen(), S_OK);
    EXPECT_EQ(store->m_expired, 1u);
}

TEST_F(AppLogFile, DeleteOnCloseTwoOnAFreshFileDeletesNothing) {
    MakeFile();
    auto store = OpenAged(kDay);
    ASSERT_EQ(store->m_expired, 0u);
    EXPECT_EQ(store->SetDeleteOnClose(2), S_OK);
    EXPECT_EQ(store->m_deleteOnClose, 0u);
    EXPECT_EQ(store->Close(), S_OK);
    EXPECT_TRUE(fs::is_regular_file(File()));
}

TEST_F(AppLogFile, DeleteOnCloseTwoOnAnExpiredFileDeletesIt) {
    MakeFile();
    auto store = OpenAged(181 * kDay);
    ASSERT_EQ(store->m_expired, 1u);
    EXPECT_EQ(store->SetDeleteOnClose(2), S_OK);
    EXPECT_EQ(store->m_deleteOnClose, 1u);
    EXPECT_EQ(store->Close(), S_OK);
    EXPECT_EQ(store->m_db, nullptr);
    EXPECT_FALSE(fs::exists(File()));
    EXPECT_FALSE(fs::exists(m_folder / "appcahce.db-journal"));
    EXPECT_TRUE(fs::is_directory(m_folder.Path()));
}

TEST_F(AppLogFile, ALaterDeleteOnCloseZeroTakesTheDeletionBack) {
    MakeFile();
    auto store = OpenAged(181 * kDay);
    ASSERT_EQ(store->SetDeleteOnClose(2), S_OK);
    ASSERT_EQ(store->m_deleteOnClose, 1u);
    EXPECT_EQ(store->SetDeleteOnClose(0), S_OK);
    EXPECT_EQ(store->m_deleteOnClose, 0u);
    store->Close();
    EXPECT_TRUE(fs::is_regular_file(File()));
}

TEST_F(AppLogFile, DeleteOnCloseOneDeletesAFreshFileAndTwoDoesNotTakeItBack) {
    MakeFile();
    auto store = OpenAged(0);
    ASSERT_EQ(store->m_expired, 0u);
    EXPECT_EQ(store->SetDeleteOnClose(1), S_OK);
    // Mode 2 only adds the expiry to what was asked before.
    EXPECT_EQ(store->SetDeleteOnClose(2), S_OK);
    EXPECT_EQ(store->m_deleteOnClose, 1u);
    store->Close();
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(AppLogFile, AnyOtherModeIsStoredAsItStandsAndDeletes) {
    MakeFile();
    auto store = OpenAged(0);
    EXPECT_EQ(store->SetDeleteOnClose(7), S_OK);
    EXPECT_EQ(store->m_deleteOnClose, 7u);
    store->Close();
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(AppLogFile, CloseCommitsTheOpenTransactionWhenTheFileStays) {
    auto store = OpenStore();
    FakeAppLogItem item(1, 2, 3, "kept");
    ASSERT_EQ(store->SetInformation(&item), S_OK);
    ASSERT_EQ(store->m_inTransaction, 1);
    EXPECT_EQ(store->Close(), S_OK);
    EXPECT_EQ(store->m_inTransaction, 0);
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT ver, log_id, log_type, log_size, hex(log_data) "
                                       "FROM applog_information_tbl"),
              (Rows{{"1", "2", "3", "4", Hex("kept")}}));
}

TEST_F(AppLogFile, ARollbackWithTheDeletionAskedForStartsTheFileAnew) {
    auto store = OpenStore();
    ASSERT_EQ(store->AddCount(1, 1, 9), S_OK);
    ASSERT_EQ(store->SetDeleteOnClose(1), S_OK);
    // Reopen closes through the store's own Close, which deletes the file;
    // Open then makes a new one.
    EXPECT_EQ(store->Reopen(), S_OK);
    EXPECT_TRUE(fs::is_regular_file(File()));
    uint32_t count = 5;
    EXPECT_EQ(store->GetCount(1, 1, &count), S_FALSE);
    EXPECT_EQ(count, 0u);
}

TEST_F(AppLogFile, AnInMemoryStoreNeverExpiresAndDeletesNoFile) {
    // A file under the in-memory name in the working folder is not the
    // store's: neither its age nor the deletion reach it.
    TempFolder working;
    const fs::path before = fs::current_path();
    fs::current_path(working.Path());
    zandb4::testing::WriteFile(working / ":memory:", std::string(16, 'x'));
    CSQLiteAppLogDataDB store;
    store.m_fileName = u":memory:";
    {
        ClockAt farAhead(Moment(2200, 1, 1));
        EXPECT_EQ(store.Open(), S_OK);
    }
    EXPECT_EQ(store.m_expired, 0u);
    store.SetDeleteOnClose(1);
    store.Close();
    EXPECT_TRUE(fs::exists(working / ":memory:"));
    fs::current_path(before);
}

TEST_F(AppLogFile, UpgradeMakesWhatAFileOfVersion1201Lacks) {
    MakeSqliteFile(File(), BaseTablesAtVersion(1201) +
                               "CREATE TABLE applog_accumulation_tbl (log_id INTEGER, log_type INTEGER, "
                               "log_count INTEGER);"
                               "INSERT INTO applog_accumulation_tbl VALUES (1, 2, 3);");
    auto store = OpenStore();
    EXPECT_EQ(store->UpgradeTables(), S_OK);
    store->Close();
    EXPECT_EQ(SchemaNames(File()), kAllNames);
    EXPECT_EQ(SqliteProbe(File()).Rows("SELECT * FROM applog_accumulation_tbl"), (Rows{{"1", "2", "3"}}));
    // A second run finds everything there and changes nothing.
    store = OpenStore();
    EXPECT_EQ(store->UpgradeTables(), S_OK);
    store->Close();
    EXPECT_EQ(SchemaNames(File()), kAllNames);
}

TEST_F(AppLogFile, UpgradeOfAnyOtherVersionDoesNothing) {
    for (uint32_t version : {0u, 1200u, 1202u, 2201u}) {
        SCOPED_TRACE(version);
        fs::remove(File());
        MakeSqliteFile(File(), BaseTablesAtVersion(version));
        auto store = OpenStore();
        EXPECT_EQ(store->UpgradeTables(), S_OK);
        store->Close();
        EXPECT_EQ(SchemaNames(File()),
                  (std::vector<std::string>{"version_info_table", "last_id_table", "pooled_id_table"}));
    }
}

TEST_F(AppLogFile, AFailedUpgradeStatementStopsTheOnesAfterIt) {
    // A counter table of another shape: its index cannot be made, and the
    // record tables behind it are not tried.
    MakeSqliteFile(File(), BaseTablesAtVersion(1201) + "CREATE TABLE applog_accumulation_tbl (log_id INTEGER);");
    auto store = OpenStore();
    EXPECT_EQ(store->UpgradeTables(), E_FAIL);
    store->Close();
    EXPECT_EQ(SchemaNames(File()), (std::vector<std::string>{"version_info_table", "last_id_table", "pooled_id_table",
                                                             "applog_accumulation_tbl"}));
}

TEST_F(AppLogFile, UpgradeWithoutAConnectionFails) {
    auto store = MakeStore();
    EXPECT_EQ(store->UpgradeTables(), E_FAIL);
}

}  // namespace
}  // namespace logs_test
