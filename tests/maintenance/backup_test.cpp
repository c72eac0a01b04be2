// BackupDatabases: the files of the database folder (and its shard folders
// when asked) copied beside it or into a folder of the caller's, one older
// generation kept with "2" appended, nothing committed first; what it does
// with paths in the way, targets it may not write, and a copy that fails
// half way.
#include <errno.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "logs/memory_data_db.h"
#include "maintenance/db_utility.h"
#include "maintenance_fixture.h"
#include "shards/thumb_db_mgr.h"
#include "support/unprivileged.h"

namespace maintenance_test {
namespace {

const std::set<std::string> kStoreFiles = {"FileBasic.db", "FileBasicAsync.db", "Location.db", "Memory.db",
                                           "UserLog.db"};

// The names of the entries of a folder.
std::set<std::string> EntriesOf(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
    return names;
}

// Gives everyone every permission on everything below folder and on folder.
void OpenTreeToEveryone(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        fs::permissions(entry.path(), fs::perms::all, fs::perm_options::add);
    fs::permissions(folder, fs::perms::all, fs::perm_options::add);
}

class Backup : public MaintenanceTest {
protected:
    fs::path DefaultBackup() const { return m_root / "database-backup"; }
    fs::path OlderBackup() const { return m_root / "database-backup2"; }

    // A committed memo, so that each backup can be told apart by how many
    // memos its Memory.db holds.
    void AddMemo(const std::string& key, bool commit = true) {
        ComPtr<IZanDB4MemoryDataMgr> memory;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemoryDataMgr, reinterpret_cast<void**>(memory.Receive())), S_OK);
        const char data[] = "memo";
        CZanTString condition = CZanTString::FromUtf8(key.c_str());
        ASSERT_EQ(memory->AddData(1, condition.GetString(), data, sizeof(data), nullptr), S_OK);
        if (commit) {
            ASSERT_EQ(memory->Commit(), S_OK);
        }
    }
    int64_t MemosIn(const fs::path& backup) const {
        return FileInteger(backup / "Memory.db", "SELECT COUNT(*) FROM memory_data");
    }
    // A file thumbnail, so that the shard folder "thumb_0s" exists.
    void AddThumbnail() {
        const char data[] = "thumbnail bytes";
        CSQLiteThumbDBFactory* factory = DatabaseRegistry::thumbMgr->Factory(1);
        ASSERT_EQ(factory->AddThumbnail(5, data, sizeof(data)), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
    }
    HRESULT BackUp(const fs::path& folder, BOOL includeFolders) {
        CZanTString wide = CZanTString::FromUtf8(folder.c_str());
        return m_utility->BackupDatabases(wide.GetString(), includeFolders);
    }
};

TEST_F(Backup, ByDefaultTheFilesGoBesideTheDatabaseFolderWithoutTheShardFolders) {
    Start();
    AddThumbnail();
    AddMemo("one");
    ASSERT_TRUE(fs::is_directory(DatabaseFolder() / "thumb_0s"));
    EXPECT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(EntriesOf(DefaultBackup()), kStoreFiles);
    EXPECT_EQ(MemosIn(DefaultBackup()), 1);
    EXPECT_FALSE(fs::exists(OlderBackup()));
}

TEST_F(Backup, WithIncludeFoldersTheShardFoldersComeWithTheirContent) {
    Start();
    AddThumbnail();
    EXPECT_EQ(m_utility->BackupDatabases(nullptr, 1), S_OK);
    std::set<std::string> expected = EntriesOf(DatabaseFolder());
    EXPECT_EQ(EntriesOf(DefaultBackup()), expected);
    EXPECT_TRUE(expected.count("thumb_0s"));
    EXPECT_EQ(FileRows(DefaultBackup() / "thumb_0s" / "00000000.db", "SELECT file_id FROM thumbnail_table"),
              (Rows{{"5"}}));
}

TEST_F(Backup, TwoRunsKeepTwoGenerationsAndAThirdDiscardsTheFirst) {
    Start();
    AddMemo("one");
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    AddMemo("two");
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(MemosIn(DefaultBackup()), 2);
    EXPECT_EQ(MemosIn(OlderBackup()), 1);
    AddMemo("three");
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(MemosIn(DefaultBackup()), 3);
    EXPECT_EQ(MemosIn(OlderBackup()), 2);
    EXPECT_EQ(EntriesOf(m_root.Path()),
              (std::set<std::string>{"database", "database-backup", "database-backup2", "information"}));
}

TEST_F(Backup, AGenerationWithShardFoldersIsReplacedWhole) {
    Start();
    AddThumbnail();
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 1), S_OK);
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    // The generation that had the shard folder went with the third run.
    EXPECT_EQ(EntriesOf(DefaultBackup()), kStoreFiles);
    EXPECT_EQ(EntriesOf(OlderBackup()), kStoreFiles);
}

TEST_F(Backup, AnEmptyFolderArgumentMeansTheDefault) {
    Start();
    EXPECT_EQ(m_utility->BackupDatabases(u"", 0), S_OK);
    EXPECT_EQ(EntriesOf(DefaultBackup()), kStoreFiles);
}

TEST_F(Backup, AFolderOfTheCallersHasItsOwnOlderGeneration) {
    Start();
    fs::path target = m_root / "elsewhere" / "copy";
    AddMemo("one");
    EXPECT_EQ(BackUp(target, 0), S_OK);
    AddMemo("two");
    EXPECT_EQ(BackUp(target, 0), S_OK);
    EXPECT_EQ(MemosIn(target), 2);
    EXPECT_EQ(MemosIn(m_root / "elsewhere" / "copy2"), 1);
    EXPECT_FALSE(fs::exists(DefaultBackup()));
}

TEST_F(Backup, NothingIsCommittedFirst) {
    Start();
    AddMemo("one");
    AddMemo("open", false);
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(MemosIn(DefaultBackup()), 1);
    ASSERT_EQ(DatabaseRegistry::memDB->Commit(false), S_OK);
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(MemosIn(DefaultBackup()), 2);
}

TEST_F(Backup, ABackupPathThatIsAFileBecomesTheOlderGeneration) {
    Start();
    fs::path target = m_root / "copy";
    zandb4::testing::WriteFile(target, "a file in the way");
    EXPECT_EQ(BackUp(target, 0), S_OK);
    EXPECT_EQ(EntriesOf(target), kStoreFiles);
    EXPECT_EQ(ReadFile(m_root / "copy2"), "a file in the way");
}

TEST_F(Backup, AnOlderGenerationThatIsAFileIsDeleted) {
    Start();
    fs::path target = m_root / "copy";
    ASSERT_EQ(BackUp(target, 0), S_OK);
    zandb4::testing::WriteFile(m_root / "copy2", "a file in the way");
    EXPECT_EQ(BackUp(target, 0), S_OK);
    EXPECT_EQ(EntriesOf(m_root / "copy2"), kStoreFiles);
    EXPECT_EQ(EntriesOf(target), kStoreFiles);
}

TEST_F(Backup, ABackupPathBelowAFileFailsWithTheCopysCode) {
    Start();
    zandb4::testing::WriteFile(m_root / "afile", "not a folder");
    EXPECT_EQ(BackUp(m_root / "afile" / "copy", 0), static_cast<HRESULT>(ENOTDIR));
    EXPECT_EQ(ReadFile(m_root / "afile"), "not a folder");
}

TEST_F(Backup, ATargetItMayNotWriteFailsAndLeavesTheBackupThereAsItWas) {
    Start();
    fs::path backups = m_root / "backups";
    fs::path target = backups / "copy";
    AddMemo("one");
    ASSERT_EQ(BackUp(target, 0), S_OK);
    AddMemo("two");
    Stop();
    std::string before = ReadFile(target / "Memory.db");
    // The library's files are everyone's; the backups are not.
    OpenTreeToEveryone(m_root.Path());
    fs::permissions(backups, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                 fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(target, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                fs::perms::others_read | fs::perms::others_exec);
    for (const auto& entry : fs::directory_iterator(target))
        fs::permissions(entry.path(), fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    CZanTString root = m_root.Wide();
    CZanTString wideTarget = CZanTString::FromUtf8(target.c_str());
    bool held = zandb4::testing::RunUnprivileged([&] {
        if (ZanDB4_Initialize(root.GetString()) != S_OK) return false;
        IZanDB4DBUtility* utility = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK) return false;
        HRESULT result = utility->BackupDatabases(wideTarget.GetString(), 0);
        utility->Release();
        ZanDB4_Finalize();
        return result == static_cast<HRESULT>(EACCES);
    });
    EXPECT_TRUE(held);
    EXPECT_EQ(ReadFile(target / "Memory.db"), before);
    EXPECT_EQ(MemosIn(target), 1);
    EXPECT_FALSE(fs::exists(backups / "copy2"));
}

TEST_F(Backup, AFailedCopyLeavesAPartialBackupAndTheOlderGenerationAsItIs) {
    Start();
    AddMemo("one");
    ASSERT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    Stop();
    OpenTreeToEveryone(m_root.Path());
    // A file the copy cannot read, between the stores in listing order.
    zandb4::testing::WriteFile(DatabaseFolder() / "Journal.bin", "unreadable");
    fs::permissions(DatabaseFolder() / "Journal.bin", fs::perms::none);
    CZanTString root = m_root.Wide();
    bool held = zandb4::testing::RunUnprivileged([&] {
        if (ZanDB4_Initialize(root.GetString()) != S_OK) return false;
        IZanDB4DBUtility* utility = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK) return false;
        HRESULT result = utility->BackupDatabases(nullptr, 0);
        utility->Release();
        ZanDB4_Finalize();
        return result == static_cast<HRESULT>(EACCES);
    });
    EXPECT_TRUE(held);
    // The entries before the unreadable one were copied, none after it.
    EXPECT_EQ(EntriesOf(DefaultBackup()), (std::set<std::string>{"FileBasic.db", "FileBasicAsync.db"}));
    // The backup before moved aside and stays whole.
    EXPECT_EQ(EntriesOf(OlderBackup()), kStoreFiles);
    EXPECT_EQ(MemosIn(OlderBackup()), 1);
}

TEST_F(Backup, AnEmptyDatabaseFolderGivesOkAndMakesNothing) {
    fs::path empty = m_root / "empty" / "database";
    fs::create_directories(empty);
    CSQLiteFileBasicDB catalogue;
    catalogue.m_folder = CZanTString::FromUtf8((empty.string() + "/").c_str());
    DBUtilityStores stores;
    stores.fileBasicDB = &catalogue;
    CZanDB4DBUtility utility{stores};
    EXPECT_EQ(utility.BackupDatabases(nullptr, 1), S_OK);
    EXPECT_EQ(EntriesOf(m_root / "empty"), (std::set<std::string>{"database"}));
}

TEST_F(Backup, AFolderWithOnlyFoldersAndNoIncludeFoldersMakesNothing) {
    fs::path database = m_root / "only" / "database";
    fs::create_directories(database / "thumb_0s");
    CSQLiteFileBasicDB catalogue;
    catalogue.m_folder = CZanTString::FromUtf8((database.string() + "/").c_str());
    DBUtilityStores stores;
    stores.fileBasicDB = &catalogue;
    CZanDB4DBUtility utility{stores};
    EXPECT_EQ(utility.BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(EntriesOf(m_root / "only"), (std::set<std::string>{"database"}));
    EXPECT_EQ(utility.BackupDatabases(nullptr, 1), S_OK);
    EXPECT_EQ(EntriesOf(m_root / "only" / "database-backup"), (std::set<std::string>{"thumb_0s"}));
}

TEST_F(Backup, StoreFilesThatAreNoDatabasesAreCopiedAsTheyAre) {
    fs::create_directories(DatabaseFolder());
    zandb4::testing::WriteFile(Catalogue(), "garbage, not an SQLite file");
    Start();
    EXPECT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
    EXPECT_EQ(ReadFile(DefaultBackup() / "FileBasic.db"), "garbage, not an SQLite file");
}

TEST_F(Backup, WithoutACatalogueItFails) {
    CZanDB4DBUtility utility{DBUtilityStores{}};
    EXPECT_EQ(utility.BackupDatabases(nullptr, 0), E_FAIL);
}

TEST_F(Backup, ItWaitsForTheCataloguesLock) {
    Start();
    ComPtr<IZanDB4FileDBMgr> files;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(files.Receive())), S_OK);
    ASSERT_EQ(files->Lock(), S_OK);
    std::atomic<bool> done{false};
    std::thread backingUp([&] {
        EXPECT_EQ(m_utility->BackupDatabases(nullptr, 0), S_OK);
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(done);
    EXPECT_FALSE(fs::exists(DefaultBackup()));
    ASSERT_EQ(files->Unlock(), S_OK);
    backingUp.join();
    EXPECT_TRUE(done);
    EXPECT_EQ(EntriesOf(DefaultBackup()), kStoreFiles);
}

}  // namespace
}  // namespace maintenance_test
