// UpgradeDatabases over stores of every kind as older builds left them:
// staging, the access log, the GPS logs and the catalogue reach the current
// version with their rows, memory data keeps its version, a second run does
// nothing but the last progress call, and stores it cannot or must not
// change (newer, not databases, missing, unwritable) are left as they were.
#include <sys/stat.h>

#include <map>

#include "old_stores.h"
#include "support/unprivileged.h"

namespace maintenance_test {
namespace {

using Calls = std::vector<std::pair<uint32_t, uint32_t>>;

const char* const kStoreNames[] = {"FileBasic.db", "FileBasicAsync.db", "Location.db", "Memory.db", "UserLog.db"};

class Upgrade : public MaintenanceTest {
protected:
    // Every single-file store as an older build left it.
    void MakeOldStores() {
        MakeStores();
        ExecOn(Catalogue(), OldCatalogue());
        ExecOn(Staging(), OldStaging());
        ExecOn(AccessLog(), OldAccessLog());
        ExecOn(MemoryData(), OldMemoryData());
        ExecOn(GpsLogs(), OldGpsLogs());
    }
    // The bytes of every single-file store.
    std::map<std::string, std::string> StoreBytes() const {
        std::map<std::string, std::string> bytes;
        for (const char* name : kStoreNames) bytes[name] = ReadFile(StoreFile(name));
        return bytes;
    }
    std::vector<std::string> ColumnNames(const fs::path& file, const std::string& table) const {
        std::vector<std::string> names;
        for (const auto& row : FileRows(file, "SELECT name FROM pragma_table_info('" + table + "')"))
            names.push_back(row[0]);
        return names;
    }
    void ExpectStoresUpgraded() const {
        EXPECT_EQ(VersionOf(Catalogue()), 1201);
        EXPECT_EQ(FileRows(Catalogue(), kSelectMetaRows), kOldMetaRowsWithLateColumns);

        EXPECT_EQ(VersionOf(Staging()), 1201);
        EXPECT_EQ(ColumnNames(Staging(), "async_file_table").size(), 41u);
        EXPECT_EQ(FileRows(Staging(), "SELECT file_id, file_name, can_commit, picture_mode FROM async_file_table"),
                  (Rows{{"7", "a.jpg", "1", "NULL"}}));

        EXPECT_EQ(VersionOf(AccessLog()), 1201);
        EXPECT_EQ(FileRows(AccessLog(), "SELECT log_type, log_data FROM access_date_log_data ORDER BY log_type"),
                  (Rows{{"12", "99"}, {"267", "0"}}));
        EXPECT_EQ(FileInteger(AccessLog(),
                              "SELECT COUNT(*) FROM sqlite_master WHERE name IN ('access_launch_data', "
                              "'access_history_data', 'access_edit_param_data')"),
                  3);

        // Memory data is never upgraded.
        EXPECT_EQ(VersionOf(MemoryData()), 1000);
        EXPECT_EQ(FileInteger(MemoryData(), "SELECT COUNT(*) FROM memory_data"), 1);

        EXPECT_EQ(VersionOf(GpsLogs()), 1201);
        EXPECT_EQ(ColumnNames(GpsLogs(), "gps_log_data"),
                  (std::vector<std::string>{"log_id", "log_file_id", "date", "latitude", "longitude", "date_utc"}));
        EXPECT_EQ(FileRows(GpsLogs(), "SELECT log_id, date_utc FROM gps_log_data ORDER BY log_id"),
                  (Rows{{"10", std::to_string(Packed(2020, 7, 1, 1, 0, 0))},
                        {"11", std::to_string(Packed(2020, 6, 30, 23, 30, 0))},
                        {"12", std::to_string(Packed(2020, 7, 1, 14, 59, 59))}}));
        EXPECT_EQ(FileRows(GpsLogs(), "SELECT log_file_id, state FROM gps_log_file ORDER BY log_file_id"),
                  (Rows{{"1", "1"}, {"2", "1"}}));
    }
};

TEST_F(Upgrade, EveryOlderStoreButMemoryDataReachesTheCurrentVersionWithItsRows) {
    MakeOldStores();
    LocalZone zone("UTC-9");
    Start();
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    // Three GPS points: a third, two thirds, all of 50; the logs; the end.
    // The GPS store was rebuilt first, so the scale is 200.
    EXPECT_EQ(progress.Values(), (Calls{{16, 200}, {33, 200}, {50, 200}, {100, 200}, {200, 200}}));
    Stop();
    ExpectStoresUpgraded();
}

TEST_F(Upgrade, TheUpgradeIsCommittedBeforeTheLibraryStops) {
    MakeOldStores();
    LocalZone zone("UTC-9");
    Start();
    EXPECT_EQ(m_utility->UpgradeDatabases(nullptr, nullptr), S_OK);
    // Every store committed its own upgrade: a separate connection sees it
    // while the library still runs.
    ExpectStoresUpgraded();
}

TEST_F(Upgrade, ANullCallbackRunsTheSameStepsSilently) {
    MakeOldStores();
    LocalZone zone("UTC-9");
    Start();
    EXPECT_EQ(m_utility->UpgradeDatabases(nullptr, reinterpret_cast<void*>(0x5EA7)), S_OK);
    Stop();
    ExpectStoresUpgraded();
}

TEST_F(Upgrade, ASecondRunDoesNothingButTheLastProgressCall) {
    MakeOldStores();
    LocalZone zone("UTC-9");
    Start();
    ASSERT_EQ(m_utility->UpgradeDatabases(nullptr, nullptr), S_OK);
    auto before = StoreBytes();
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    EXPECT_EQ(progress.Values(), (Calls{{100, 100}}));
    EXPECT_EQ(StoreBytes(), before);
    Stop();
    ExpectStoresUpgraded();
}

TEST_F(Upgrade, CurrentStoresAreLeftAsTheyAre) {
    MakeStores();
    Start();
    auto before = StoreBytes();
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    EXPECT_EQ(progress.Values(), (Calls{{100, 100}}));
    EXPECT_EQ(StoreBytes(), before);
}

TEST_F(Upgrade, StoresOfANewerVersionAreLeftAsTheyAre) {
    MakeStores();
    // Old layouts under newer versions: only the version decides.
    ExecOn(Catalogue(), DropLateColumns("meta_table") + SetVersion(2000));
    ExecOn(Staging(), DropLateColumns("async_file_table") + SetVersion(1500));
    ExecOn(AccessLog(), SetVersion(2000));
    ExecOn(MemoryData(), SetVersion(2000));
    ExecOn(GpsLogs(),
           GpsTablesOfVersion1000() + SetVersion(2000) + GpsPointRow(10, 1, Packed(2020, 7, 1, 10, 0, 0), 35.5, 139.5));
    Start();
    auto before = StoreBytes();
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    EXPECT_EQ(progress.Values(), (Calls{{100, 100}}));
    Stop();
    EXPECT_EQ(VersionOf(Catalogue()), 2000);
    EXPECT_EQ(VersionOf(Staging()), 1500);
    EXPECT_EQ(VersionOf(GpsLogs()), 2000);
    EXPECT_EQ(ColumnNames(Catalogue(), "meta_table").size(), 15u);
    EXPECT_EQ(ColumnNames(GpsLogs(), "gps_log_data").size(), 5u);
    auto after = StoreBytes();
    // The stop compacts the staging store, which rewrites it; every other
    // file is as it was.
    before.erase("FileBasicAsync.db");
    after.erase("FileBasicAsync.db");
    EXPECT_EQ(after, before);
}

TEST_F(Upgrade, StoreFilesThatAreNoDatabasesAreLeftAsTheyAre) {
    fs::create_directories(DatabaseFolder());
    for (const char* name : kStoreNames) zandb4::testing::WriteFile(StoreFile(name), std::string("garbage ") + name);
    auto before = StoreBytes();
    Start();
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    EXPECT_EQ(progress.Values(), (Calls{{100, 100}}));
    Stop();
    EXPECT_EQ(StoreBytes(), before);
}

TEST_F(Upgrade, StoresThatCouldNotOpenAreSkippedWithoutHarm) {
    // A folder where each file should be: no store gets a connection.
    for (const char* name : kStoreNames) fs::create_directories(StoreFile(name));
    Start();
    ASSERT_EQ(DatabaseRegistry::gpsLogDB->m_db, nullptr);
    ProgressRecorder progress;
    EXPECT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress), S_OK);
    EXPECT_EQ(progress.Values(), (Calls{{100, 100}}));
    Stop();
    for (const char* name : kStoreNames) EXPECT_TRUE(fs::is_empty(StoreFile(name))) << name;
}

TEST_F(Upgrade, ACatalogueWhoseRebuildCannotStartKeepsItsRowsAndGetsTheColumns) {
    MakeStores();
    // A table of the name the rebuild moves meta_table to stands in the way,
    // so the rename fails and the columns are added to the table as it is.
    ExecOn(Catalogue(), OldCatalogue() + "CREATE TABLE tmp_table (x INTEGER); INSERT INTO tmp_table VALUES (5);");
    Start();
    EXPECT_EQ(m_utility->UpgradeDatabases(nullptr, nullptr), S_OK);
    Stop();
    EXPECT_EQ(VersionOf(Catalogue()), 1201);
    EXPECT_EQ(FileRows(Catalogue(), kSelectMetaRows), kOldMetaRowsWithLateColumns);
    EXPECT_EQ(FileRows(Catalogue(), "SELECT x FROM tmp_table"), (Rows{{"5"}}));
    // The table was not rebuilt, so its unique index is still there.
    EXPECT_EQ(FileInteger(Catalogue(), "SELECT COUNT(*) FROM sqlite_master WHERE name='meta_file_idx'"), 1);
}

TEST_F(Upgrade, ACatalogueWhoseUpgradeFailsStillGetsTheNewVersion) {
    MakeStores();
    // meta_table lacks five of the six late columns but has param_flag; the
    // rebuild cannot start, so the six are added to the table as it is, and
    // the last of them fails as a duplicate: the upgrade answers E_FAIL.
    ExecOn(Catalogue(), OldCatalogue() + "ALTER TABLE meta_table ADD COLUMN param_flag INTEGER;" +
                            "CREATE TABLE tmp_table (x INTEGER);");
    Start();
    ASSERT_EQ(DatabaseRegistry::fileBasicDB->UpgradeTables(), E_FAIL);
    EXPECT_EQ(m_utility->UpgradeDatabases(nullptr, nullptr), S_OK);
    Stop();
    EXPECT_EQ(VersionOf(Catalogue()), 1201);
    EXPECT_EQ(FileRows(Catalogue(), kSelectMetaRows), kOldMetaRowsWithLateColumns);
}

TEST_F(Upgrade, StoresTheUpgradeMayNotWriteStayAsTheyWere) {
    MakeOldStores();
    auto before = StoreBytes();
    // The files and their folder belong to another user and are read-only:
    // SQLite opens them for reading only.
    zandb4::testing::OpenToEveryone(DatabaseFolder(), m_root.Path());
    fs::permissions(DatabaseFolder(), fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
    for (const char* name : kStoreNames)
        fs::permissions(StoreFile(name), fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    CZanTString root = m_root.Wide();
    bool held = zandb4::testing::RunUnprivileged([&] {
        if (ZanDB4_Initialize(root.GetString()) != S_OK) return false;
        IZanDB4DBUtility* utility = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK) return false;
        ProgressRecorder progress;
        bool upgraded = utility->UpgradeDatabases(&ProgressRecorder::Callback, &progress) == S_OK;
        // Nothing could be written, so the GPS store was not rebuilt.
        bool reported =
            progress.calls.size() == 1 && progress.calls[0].current == 100 && progress.calls[0].total == 100;
        utility->Release();
        return upgraded && reported && ZanDB4_Finalize() == S_OK;
    });
    EXPECT_TRUE(held);
    EXPECT_EQ(StoreBytes(), before);
    EXPECT_EQ(VersionOf(Catalogue()), 1100);
    EXPECT_EQ(VersionOf(GpsLogs()), 1000);
}

}  // namespace
}  // namespace maintenance_test
