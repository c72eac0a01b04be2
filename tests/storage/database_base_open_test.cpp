// Opening a store: the base tables of a new file, files that already exist,
// files of other versions, files that are not databases, the version row, and
// the volume serial noted at open.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/volume.h"
#include "storage/sqlite_db_base.h"
#include "store_test_helpers.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace {

using storage_test::kStoreName;
using storage_test::MakeStoreFileOfVersion;
using storage_test::PlaceStore;
using storage_test::Rows;
using storage_test::VolumeSerialOverride;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

std::string ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A store whose own table cannot be made: it makes the base tables and then
// fails, as a store with a broken statement in its CreateTables would.
class StoreWithFailingTables : public CSQLiteDBBase {
public:
    HRESULT CreateTables() override {
        ++createCalls;
        if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
        return ExecuteStatement(u"CREATE TABLE broken_table (");
    }
    int createCalls = 0;
};

TEST(DatabaseBaseOpen, ConstructedStoreStartsClosedWithTheCurrentVersion) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_version, 1201u);
    EXPECT_EQ(store.m_tooNew, 0);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.m_volumeSerial, 0u);
    EXPECT_TRUE(store.m_folder.IsEmpty());
    EXPECT_TRUE(store.m_fileName.IsEmpty());
    EXPECT_EQ(store.m_hasCommitted, 0);
    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST(DatabaseBaseOpen, FullPathJoinsFolderAndFileName) {
    CSQLiteDBBase store;
    store.m_folder = u"/data/root/database";
    store.m_fileName = u"Memory.db";

    EXPECT_EQ(store.FullPath().ToUtf8(), "/data/root/database/Memory.db");
    EXPECT_FALSE(store.IsInMemory());
}

TEST(DatabaseBaseOpen, FullPathOfMemoryStoreIsTheNameAlone) {
    CSQLiteDBBase store;
    store.m_folder = u"/data/root/database";
    store.m_fileName = u":memory:";

    EXPECT_EQ(store.FullPath().ToUtf8(), ":memory:");
    EXPECT_TRUE(store.IsInMemory());
}

TEST(DatabaseBaseOpen, NewFileGetsTheThreeBaseTablesWithTheCurrentVersion) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_NE(store.m_db, nullptr);
    EXPECT_EQ(store.m_tooNew, 0);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_FALSE(storage_test::SqliteTransactionOpen(store.m_db));
    ASSERT_TRUE(std::filesystem::exists(folder / kStoreName));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"),
              (Rows{{"last_id_table"}, {"pooled_id_table"}, {"version_info_table"}}));
    EXPECT_EQ(probe.Rows("SELECT version, typeof(version) FROM version_info_table"), (Rows{{"1201", "integer"}}));
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM pooled_id_table"), 0);
}

TEST(DatabaseBaseOpen, BaseTablesHaveExactlyTheirColumns) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    SqliteProbe probe(folder / kStoreName);

    // Name, declared type and primary-key flag of every column, in order.
    EXPECT_EQ(probe.Rows("SELECT name, type, pk FROM pragma_table_info('version_info_table')"),
              (Rows{{"version", "INTEGER", "0"}}));
    EXPECT_EQ(probe.Rows("SELECT name, type, pk FROM pragma_table_info('last_id_table')"),
              (Rows{{"id_type", "INTEGER", "0"}, {"last_id", "INTEGER", "0"}}));
    EXPECT_EQ(probe.Rows("SELECT name, type, pk FROM pragma_table_info('pooled_id_table')"),
              (Rows{{"id_type", "INTEGER", "0"}, {"pooled_id", "INTEGER", "0"}}));
    // Neither id table has an index.
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM sqlite_master WHERE type='index'"), 0);
}

TEST(DatabaseBaseOpen, ExistingFileOpensWithoutMakingItsTablesAgain) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 1201);
    StoreWithFailingTables store;
    PlaceStore(store, folder);

    // Making the tables would fail for this store, so a success shows it was not tried.
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.createCalls, 0);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM version_info_table"), 1);
}

TEST(DatabaseBaseOpen, OpenOfAnOpenStoreReplacesItsConnection) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_NE(store.m_db, nullptr);
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM version_info_table"), 1);
}

TEST(DatabaseBaseOpen, EmptyFolderFails) {
    CSQLiteDBBase store;
    store.m_fileName = u"store.db";

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_volumeSerial, 0u);
}

TEST(DatabaseBaseOpen, EmptyFolderClosesTheConnectionAlreadyOpen) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1234);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.m_volumeSerial, 0x1234u);
    store.m_folder.Empty();

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(store.m_volumeSerial, 0u);
}

TEST(DatabaseBaseOpen, MissingFolderFailsAndLeavesNoConnection) {
    TempFolder folder;
    CSQLiteDBBase store;
    store.m_folder = CZanTString::FromUtf8((folder / "not-made").c_str());
    store.m_fileName = u"store.db";

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_FALSE(std::filesystem::exists(folder / "not-made"));
}

TEST(DatabaseBaseOpen, FailedCreateTablesLeavesTheHalfMadeFile) {
    TempFolder folder;
    StoreWithFailingTables store;
    PlaceStore(store, folder);

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.createCalls, 1);
    EXPECT_EQ(store.m_db, nullptr);
    ASSERT_TRUE(std::filesystem::exists(folder / kStoreName));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"),
              (Rows{{"last_id_table"}, {"pooled_id_table"}, {"version_info_table"}}));
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
}

TEST(DatabaseBaseOpen, OpenAfterFailedCreateTablesDoesNotTryThemAgain) {
    TempFolder folder;
    StoreWithFailingTables store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.createCalls, 1);
    EXPECT_NE(store.m_db, nullptr);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM sqlite_master WHERE name='broken_table'"), 0);
}

TEST(DatabaseBaseOpen, FileThatIsNotADatabaseOpensAsVersionZeroAndStaysUntouched) {
    TempFolder folder;
    std::string garbage;
    for (int i = 0; i < 200; ++i) garbage += "these bytes are no database at all\n";
    zandb4::testing::WriteFile(folder / kStoreName, garbage);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    // The file exists, so no tables are made; its version cannot be read.
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.m_tooNew, 0);
    uint32_t version = 77;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 0u);
    uint64_t id = 77;
    EXPECT_EQ(store.NewID(1, &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(store.SetVersion(1201), E_FAIL);
    EXPECT_EQ(store.Vacuum(), E_FAIL);
    EXPECT_EQ(store.Close(), S_OK);
    EXPECT_EQ(ReadWholeFile(folder / kStoreName), garbage);
}

TEST(DatabaseBaseOpen, NewerMajorVersionOpensButIsMarkedTooNew) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 2000);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.m_tooNew, 1);
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 2000u);
}

TEST(DatabaseBaseOpen, TooNewFileRefusesCommitAndVacuumSoNothingBecomesDurable) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 2000);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(3, &id), S_OK);
    ASSERT_EQ(id, 1u);
    ASSERT_EQ(store.PoolID(9, 3), S_OK);

    EXPECT_EQ(store.Commit(false), E_FAIL);
    EXPECT_EQ(store.Commit(true), E_FAIL);
    EXPECT_EQ(store.Vacuum(), E_FAIL);
    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_EQ(store.HasCommitted(), 0);
    EXPECT_EQ(store.Close(), S_OK);

    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM pooled_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 2000);
}

class DatabaseBaseOpenSameMajor : public ::testing::TestWithParam<int64_t> {};

TEST_P(DatabaseBaseOpenSameMajor, VersionIsNotMarkedTooNew) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, GetParam());
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.m_tooNew, 0);
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(1, &id), S_OK);
    EXPECT_EQ(store.Commit(false), S_OK);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT last_id FROM last_id_table WHERE id_type=1"), 1);
}

// 1999 is a newer minor of the same major; 0 means no version; 1100 is older.
INSTANTIATE_TEST_SUITE_P(Versions, DatabaseBaseOpenSameMajor, ::testing::Values(0, 1100, 1201, 1999));

TEST(DatabaseBaseOpen, OlderFileIsNotUpgradedByOpen) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 1100);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.Close(), S_OK);

    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1100"}}));
}

TEST(DatabaseBaseOpen, FirstNonZeroVersionRowCounts) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 0);
    {
        SqliteProbe probe(folder / kStoreName);
        ASSERT_EQ(probe.Exec("INSERT INTO version_info_table VALUES (2000)"), SQLITE_OK);
        ASSERT_EQ(probe.Exec("INSERT INTO version_info_table VALUES (1201)"), SQLITE_OK);
    }
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 2000u);
    EXPECT_EQ(store.m_tooNew, 1);
}

TEST(DatabaseBaseOpen, FileWithoutVersionTableIsVersionZero) {
    TempFolder folder;
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open((folder / kStoreName).c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE other_table (value INTEGER)", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    uint32_t version = 55;
    EXPECT_EQ(store.GetVersion(&version), S_OK);

    EXPECT_EQ(version, 0u);
    EXPECT_EQ(store.m_tooNew, 0);
}

TEST(DatabaseBaseOpen, GetVersionWithoutConnectionFails) {
    CSQLiteDBBase store;
    uint32_t version = 55;

    EXPECT_EQ(store.GetVersion(&version), E_FAIL);
    EXPECT_EQ(version, 55u);
}

TEST(DatabaseBaseOpen, GetVersionWithNullOutAnswersInvalidArg) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.GetVersion(nullptr), E_INVALIDARG);
}

TEST(DatabaseBaseOpen, SetVersionWritesTheVersionRow) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.SetVersion(1300), S_OK);

    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1300u);
    // No transaction was opened, so the row is on disk at once.
    EXPECT_EQ(store.m_inTransaction, 0);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1300"}}));
}

TEST(DatabaseBaseOpen, SetVersionInsideTransactionWaitsForCommit) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    store.BeginTransaction();

    ASSERT_EQ(store.SetVersion(1202), S_OK);
    {
        SqliteProbe probe(folder / kStoreName);
        EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
    }
    ASSERT_EQ(store.Commit(false), S_OK);

    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1202);
}

TEST(DatabaseBaseOpen, SetVersionWithoutConnectionFails) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.SetVersion(1201), E_FAIL);
}

TEST(DatabaseBaseOpen, SetVersionWithoutVersionTableFails) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(storage_test::ExecOn(store, "DROP TABLE version_info_table"), SQLITE_OK);

    EXPECT_EQ(store.SetVersion(1201), E_FAIL);
}

TEST(DatabaseBaseOpen, GetCurrentVersionIs1201) {
    CSQLiteDBBase store;
    uint32_t version = 0;

    EXPECT_EQ(store.GetCurrentVersion(&version), S_OK);

    EXPECT_EQ(version, 1201u);
}

TEST(DatabaseBaseOpen, GetCurrentVersionWithNullOutAnswersInvalidArg) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.GetCurrentVersion(nullptr), E_INVALIDARG);
}

TEST(DatabaseBaseOpen, UpgradeTablesOfTheBaseChangesNothing) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 1100);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.UpgradeTables(), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    ASSERT_EQ(store.Close(), S_OK);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT version FROM version_info_table"), (Rows{{"1100"}}));
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM sqlite_master"), 3);
}

TEST(DatabaseBaseOpen, UpgradeTablesWithoutConnectionAnswersOk) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.UpgradeTables(), S_OK);
}

TEST(DatabaseBaseOpen, CreateTablesWithoutConnectionDoesNothing) {
    CSQLiteDBBase store;

    EXPECT_EQ(store.CreateTables(), S_OK);

    EXPECT_EQ(store.m_db, nullptr);
}

TEST(DatabaseBaseOpen, CreateTablesOverExistingTablesFails) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.CreateTables(), E_FAIL);

    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM version_info_table"), 1);
}

TEST(DatabaseBaseOpen, OpenNotesTheSerialOfTheFilesVolume) {
    TempFolder folder;
    VolumeSerialOverride serial(0x1234ABCD);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.m_volumeSerial, 0x1234ABCDu);
    EXPECT_GE(serial.Calls(), 1);
}

TEST(DatabaseBaseOpen, OpenWithTheRealSerialSourceNotesTheFolderVolume) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    uint32_t expected = zandb4::platform::GetVolumeSerial((folder / kStoreName).string());
    EXPECT_EQ(store.m_volumeSerial, expected);
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(1, &id), S_OK);
    EXPECT_EQ(store.Commit(false), S_OK);
    EXPECT_EQ(store.HasCommitted(), 1);
}

TEST(DatabaseBaseOpen, VolumeWithoutReadableSerialLeavesCommitUnguarded) {
    TempFolder folder;
    VolumeSerialOverride serial(0);
    CSQLiteDBBase store;
    PlaceStore(store, folder);
    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.m_volumeSerial, 0u);
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(1, &id), S_OK);
    // Whatever the volume answers now, there is no guard to refuse.
    serial.Set(0x5555);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(store.HasCommitted(), 1);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT id_type, last_id FROM last_id_table"), (Rows{{"1", "1"}}));
}

TEST(DatabaseBaseOpen, MemoryStoreOpensWithEmptyFolder) {
    VolumeSerialOverride serial(0x4242);
    CSQLiteDBBase store;
    store.m_fileName = u":memory:";

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_NE(store.m_db, nullptr);
    EXPECT_EQ(store.m_volumeSerial, 0u);
    EXPECT_EQ(store.m_tooNew, 0);
    EXPECT_EQ(store.m_inTransaction, 0);
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
}

TEST(DatabaseBaseOpen, MemoryStoreWithFolderWritesNoFile) {
    TempFolder folder;
    CSQLiteDBBase store;
    store.m_folder = folder.Wide();
    store.m_fileName = u":memory:";

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
}

TEST(DatabaseBaseOpen, MemoryStoreGetsFreshTablesAtEveryOpen) {
    CSQLiteDBBase store;
    store.m_fileName = u":memory:";
    ASSERT_EQ(store.Open(), S_OK);
    uint64_t id = 0;
    ASSERT_EQ(store.NewID(1, &id), S_OK);
    ASSERT_EQ(store.Commit(false), S_OK);

    ASSERT_EQ(store.Open(), S_OK);

    ASSERT_EQ(store.NewID(1, &id), S_OK);
    EXPECT_EQ(id, 1u);
}

}  // namespace

namespace {

TEST(DatabaseBaseOpenReadOnly, MissingFileFailsAndMakesNothing) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    EXPECT_EQ(store.OpenReadOnly(100), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_FALSE(std::filesystem::exists(folder / kStoreName));
}

TEST(DatabaseBaseOpenReadOnly, ExistingFileReadsButRefusesEveryWrite) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 1201);
    std::string before = ReadWholeFile(folder / kStoreName);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.OpenReadOnly(100), S_OK);
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
    EXPECT_EQ(store.m_tooNew, 0);
    EXPECT_EQ(store.m_volumeSerial, 0u);
    EXPECT_EQ(store.SetVersion(1300), E_FAIL);
    store.Close();

    EXPECT_EQ(ReadWholeFile(folder / kStoreName), before);
}

TEST(DatabaseBaseOpenReadOnly, NewerMajorVersionIsMarkedTooNew) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 2000);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.OpenReadOnly(100), S_OK);
    EXPECT_EQ(store.m_tooNew, 1);
}

TEST(DatabaseBaseOpenReadOnly, MemoryStoreAndEmptyFolderFail) {
    CSQLiteDBBase memory;
    memory.m_fileName = u":memory:";
    EXPECT_EQ(memory.OpenReadOnly(100), E_FAIL);
    EXPECT_EQ(memory.m_db, nullptr);

    CSQLiteDBBase unnamed;
    unnamed.m_fileName = CZanTString::FromUtf8(kStoreName);
    EXPECT_EQ(unnamed.OpenReadOnly(100), E_FAIL);
    EXPECT_EQ(unnamed.m_db, nullptr);
}

}  // namespace
