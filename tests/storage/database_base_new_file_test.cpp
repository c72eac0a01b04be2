// Making a new store file: it is built under a temporary name and appears
// under its own name whole, with nothing left beside it; what a crash left
// while building (a half-made temporary file, its journal) is cleared away
// by the next Open; a journal whose database is gone is not played into the
// new file; the building connection runs without syncs while the store's own
// connection keeps SQLite's defaults; and a file that is there is opened as
// always.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>

#include "storage/sqlite_db_base.h"
#include "store_test_helpers.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using storage_test::kStoreName;
using storage_test::MakeStoreFileOfVersion;
using storage_test::PlaceStore;
using storage_test::Rows;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;

// The name a new store.db is built under.
constexpr char kBuildingName[] = "store.db.creating";

const Rows kBaseTables = {{"last_id_table"}, {"pooled_id_table"}, {"version_info_table"}};

std::set<std::string> NamesIn(const TempFolder& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.Path()))
        names.insert(entry.path().filename().string());
    return names;
}

Rows TablesOf(SqliteProbe& probe) {
    return probe.Rows("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name");
}

// Leaves at path a database with a hot journal beside it, as a process
// killed in the middle of a transaction does: the file already holds pages
// of the transaction, and only the journal can take them back. The database
// holds marker_table with rows of 1000 bytes, which the unfinished
// transaction rewrote.
void MakeFileWithHotJournal(const fs::path& path, int rows) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        sqlite3* db = nullptr;
        bool ok = sqlite3_open(path.c_str(), &db) == SQLITE_OK;
        std::string insert = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<" +
                             std::to_string(rows) + ") INSERT INTO marker_table SELECT zeroblob(1000) FROM n";
        // A cache of a few pages makes SQLite write changed pages into the
        // file before the commit.
        for (const std::string& sql :
             {std::string("PRAGMA cache_size=2"), std::string("CREATE TABLE marker_table (value BLOB)"), insert,
              std::string("BEGIN"), std::string("UPDATE marker_table SET value=randomblob(1000)")})
            ok = ok && sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
        // Ends without COMMIT or close, as a killed process would.
        ::_exit(ok ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    fs::path journal = path;
    journal += "-journal";
    ASSERT_TRUE(fs::exists(journal));
    ASSERT_GT(fs::file_size(journal), 512u);
}

// Notes, while its tables are made, which file the connection is on and
// how it syncs and journals, and what a vacuum answers there.
class ObservingStore : public CSQLiteDBBase {
public:
    HRESULT CreateTables() override {
        if (m_db != nullptr) {
            const char* file = sqlite3_db_filename(m_db, "main");
            buildingFile = file != nullptr ? file : "";
            SqliteAnswer(m_db, "PRAGMA synchronous", synchronous);
            SqliteAnswer(m_db, "PRAGMA journal_mode", journalMode);
        }
        if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
        // A page size other than the first one takes effect only through the
        // rewrite of a vacuum, as a store that sets its page size does.
        if (ExecuteStatement(u"PRAGMA page_size=8192;") != S_OK) return E_FAIL;
        vacuum = Vacuum();
        // Work left in an open transaction, as NewID leaves it.
        uint64_t id = 0;
        drawn = NewID(5, &id);
        return S_OK;
    }

    static void SqliteAnswer(sqlite3* db, const char* sql, std::string& answer) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW)
            answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        sqlite3_finalize(statement);
    }

    std::string buildingFile;
    std::string synchronous;
    std::string journalMode;
    HRESULT vacuum = E_NOTIMPL;
    HRESULT drawn = E_NOTIMPL;
};

// A store whose own table cannot be made, after the base tables.
class StoreWithFailingTables : public CSQLiteDBBase {
public:
    HRESULT CreateTables() override {
        if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
        // Work in an open transaction, which a failure throws away.
        uint64_t id = 0;
        NewID(5, &id);
        return ExecuteStatement(u"CREATE TABLE broken_table (");
    }
};

TEST(DatabaseBaseNewFile, NewFileStandsAloneUnderItsOwnName) {
    TempFolder folder;
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    EXPECT_EQ(fs::path(sqlite3_db_filename(store.m_db, "main")), fs::canonical(folder / kStoreName));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(TablesOf(probe), kBaseTables);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

TEST(DatabaseBaseNewFile, TablesAreMadeOnTheTemporaryFileWithoutSyncsAndAJournalInMemory) {
    TempFolder folder;
    ObservingStore store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(fs::path(store.buildingFile), fs::canonical(folder.Path()) / kBuildingName);
    EXPECT_EQ(store.synchronous, "0");
    EXPECT_EQ(store.journalMode, "memory");
}

TEST(DatabaseBaseNewFile, StoresOwnConnectionKeepsSQLitesSyncAndJournal) {
    TempFolder folder;
    ObservingStore store;
    PlaceStore(store, folder);
    sqlite3* plain = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &plain), SQLITE_OK);
    std::string defaultSynchronous;
    ObservingStore::SqliteAnswer(plain, "PRAGMA synchronous", defaultSynchronous);
    sqlite3_close(plain);

    ASSERT_EQ(store.Open(), S_OK);

    std::string synchronous;
    std::string journalMode;
    ObservingStore::SqliteAnswer(store.m_db, "PRAGMA synchronous", synchronous);
    ObservingStore::SqliteAnswer(store.m_db, "PRAGMA journal_mode", journalMode);
    EXPECT_EQ(synchronous, defaultSynchronous);
    EXPECT_EQ(journalMode, "delete");
}

TEST(DatabaseBaseNewFile, VacuumInsideCreateTablesGivesTheNewFileItsPageSize) {
    TempFolder folder;
    ObservingStore store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.vacuum, S_OK);
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Integer("PRAGMA page_size"), 8192);
    EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

TEST(DatabaseBaseNewFile, WorkLeftInATransactionByCreateTablesIsInTheFile) {
    TempFolder folder;
    ObservingStore store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(store.drawn, S_OK);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_FALSE(storage_test::SqliteTransactionOpen(store.m_db));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("SELECT id_type, last_id FROM last_id_table"), (Rows{{"5", "1"}}));
}

TEST(DatabaseBaseNewFile, FailedCreateTablesLeavesTheFileUnderItsOwnNameOnly) {
    TempFolder folder;
    StoreWithFailingTables store;
    PlaceStore(store, folder);

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(TablesOf(probe), kBaseTables);
    // The transaction open at the failure went with the connection.
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM last_id_table"), 0);
}

TEST(DatabaseBaseNewFile, HalfMadeTemporaryFileWithItsJournalIsReplacedByAFreshStore) {
    TempFolder folder;
    MakeFileWithHotJournal(folder / kBuildingName, 200);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(TablesOf(probe), kBaseTables);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

TEST(DatabaseBaseNewFile, TemporaryFileOfRandomBytesIsReplacedByAFreshStore) {
    TempFolder folder;
    std::mt19937 random(7);
    std::string bytes(10000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    WriteFile(folder / kBuildingName, bytes);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(TablesOf(probe), kBaseTables);
    EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

TEST(DatabaseBaseNewFile, WholeLookingTemporaryFileIsNotTakenAsTheStore) {
    TempFolder folder;
    // A temporary file that would pass for a store, with a table of its own.
    MakeStoreFileOfVersion(folder, 1100, kBuildingName);
    {
        SqliteProbe leftover(folder / kBuildingName);
        ASSERT_EQ(leftover.Exec("CREATE TABLE leftover_table (x)"), SQLITE_OK);
    }
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(TablesOf(probe), kBaseTables);
}

TEST(DatabaseBaseNewFile, ExistingFileIsOpenedAndATemporaryFileBesideItIsLeftAlone) {
    TempFolder folder;
    MakeStoreFileOfVersion(folder, 1100);
    MakeStoreFileOfVersion(folder, 1150, kBuildingName);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);

    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1100u);
    EXPECT_EQ(fs::path(sqlite3_db_filename(store.m_db, "main")), fs::canonical(folder / kStoreName));
    SqliteProbe leftover(folder / kBuildingName);
    EXPECT_EQ(leftover.Integer("SELECT version FROM version_info_table"), 1150);
}

// A store whose new file is some forty pages long.
class StoreWithManyTables : public CSQLiteDBBase {
public:
    static constexpr int kTables = 40;

    HRESULT CreateTables() override {
        if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
        for (int table = 0; table < kTables; ++table) {
            CZanTString sql;
            sql.Format(u"CREATE TABLE extra_%d_table (value INTEGER)", table);
            if (ExecuteStatement(sql.GetString()) != S_OK) return E_FAIL;
        }
        return S_OK;
    }
};

TEST(DatabaseBaseNewFile, JournalOfAStoreFileThatIsGoneIsNotPlayedIntoTheNewFile) {
    TempFolder folder;
    // SQLite plays a hot journal back into a file at least as long as the
    // database it was written for: here some twelve pages.
    MakeFileWithHotJournal(folder / kStoreName, 40);
    fs::remove(folder / kStoreName);
    StoreWithManyTables store;
    PlaceStore(store, folder);

    ASSERT_EQ(store.Open(), S_OK);
    ASSERT_EQ(store.Close(), S_OK);

    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kStoreName}));
    SqliteProbe probe(folder / kStoreName);
    EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (Rows{{"ok"}}));
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM sqlite_master WHERE name='marker_table'"), 0);
    EXPECT_EQ(probe.Integer("SELECT count(*) FROM sqlite_master WHERE type='table'"), 3 + StoreWithManyTables::kTables);
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
}

TEST(DatabaseBaseNewFile, TemporaryNameTakenByAFolderFailsAndMakesNoStore) {
    TempFolder folder;
    fs::create_directory(folder / kBuildingName);
    CSQLiteDBBase store;
    PlaceStore(store, folder);

    EXPECT_EQ(store.Open(), E_FAIL);

    EXPECT_EQ(store.m_db, nullptr);
    EXPECT_EQ(NamesIn(folder), (std::set<std::string>{kBuildingName}));
    EXPECT_TRUE(fs::is_directory(folder / kBuildingName));
}

TEST(DatabaseBaseNewFile, MemoryStoreMakesNoFileAtAll) {
    TempFolder folder;
    ObservingStore store;
    store.m_folder = folder.Wide();
    store.m_fileName = u":memory:";

    ASSERT_EQ(store.Open(), S_OK);

    EXPECT_TRUE(fs::is_empty(folder.Path()));
    EXPECT_EQ(store.buildingFile, "");
    uint32_t version = 0;
    EXPECT_EQ(store.GetVersion(&version), S_OK);
    EXPECT_EQ(version, 1201u);
}

}  // namespace
