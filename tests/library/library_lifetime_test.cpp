// The counted start and stop of the library, the folders it makes under the
// root, and the dropping of a catalogue while the library is down.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "library/tool_access.h"
#include "platform/files.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"
#include "zandb4.h"

namespace fs = std::filesystem;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

// Every test starts and ends with the library down at a count of 0.
class LibraryLifetime : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
        EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
        EXPECT_EQ(DatabaseRegistry::fileBasicDB, nullptr);
    }

    TempFolder m_root;
};

// The folder of the file the library's code lives in: for these tests the
// test program itself, which links the library's code statically.
fs::path LibraryFolder() { return fs::path(zandb4::platform::LibraryFolder()); }

TEST_F(LibraryLifetime, InitializeMakesTheLayoutTheCatalogueAndTheRecordCache) {
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 1);
    EXPECT_TRUE(fs::is_directory(m_root / "database"));
    EXPECT_TRUE(fs::is_directory(m_root / "information"));
    EXPECT_NE(DatabaseRegistry::fileRecordCache, nullptr);
    ASSERT_NE(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_NE(DatabaseRegistry::fileBasicDB->m_db, nullptr);
    EXPECT_TRUE(fs::is_regular_file(m_root / "database" / "FileBasic.db"));
    // Shard folders come into being only when a shard is needed.
    EXPECT_FALSE(fs::exists(m_root / "database" / "thumb_0s"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "thumb_0a"));

    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
    EXPECT_EQ(DatabaseRegistry::fileBasicDB, nullptr);
    // Finalize leaves the catalogue on disk, with its version row.
    zandb4::testing::SqliteProbe catalogue(m_root / "database" / "FileBasic.db");
    ASSERT_TRUE(catalogue.IsOpen());
    EXPECT_EQ(catalogue.Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(catalogue.Integer("PRAGMA page_size"), 4096);
}

TEST_F(LibraryLifetime, FinalizeCommitsTheCatalogue) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    CSQLiteFileBasicDB* catalogue = DatabaseRegistry::fileBasicDB;
    uint64_t id = 0;
    ASSERT_EQ(catalogue->NewID(CSQLiteFileBasicDB::kTagIdType, &id), S_OK);
    EXPECT_EQ(catalogue->m_inTransaction, 1);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    zandb4::testing::SqliteProbe probe(m_root / "database" / "FileBasic.db");
    EXPECT_EQ(probe.Integer("SELECT last_id FROM last_id_table WHERE id_type=8"), 1);
}

TEST_F(LibraryLifetime, InitializeMakesMissingParentsOfTheRoot) {
    fs::path nested = m_root / "a" / "b";
    CZanTString root = CZanTString::FromUtf8(nested.c_str());
    EXPECT_EQ(ZanDB4_Initialize(root.GetString()), S_OK);
    EXPECT_TRUE(fs::is_directory(nested / "database"));
    EXPECT_TRUE(fs::is_directory(nested / "information"));
}

TEST_F(LibraryLifetime, SecondInitializeWithAnotherRootChangesNothing) {
    TempFolder other;
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    zandb4::FileRecordCache* cache = DatabaseRegistry::fileRecordCache;

    EXPECT_EQ(ZanDB4_Initialize(other.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 2);
    EXPECT_FALSE(fs::exists(other / "database"));
    EXPECT_FALSE(fs::exists(other / "information"));
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, cache);

    // The first Finalize only counts down; the library stays up.
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 1);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, cache);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
}

TEST_F(LibraryLifetime, FinalizeWhileDownTakesTheCountBelowZero) {
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, -1);

    // The next start only brings the count back to 0 and opens nothing.
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    EXPECT_FALSE(fs::exists(m_root / "database"));
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
    void* sentinel = reinterpret_cast<void*>(0x1234);
    void* out = sentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, &out), E_FAIL);
    EXPECT_EQ(out, sentinel);

    // Only the call after it, which reads 0, really starts the library.
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 1);
    EXPECT_TRUE(fs::is_directory(m_root / "database"));
    EXPECT_NE(DatabaseRegistry::fileRecordCache, nullptr);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(LibraryLifetime, FileNamedDatabaseIsAccessDeniedAndDropDeletesIt) {
    WriteFile(m_root / "database", "not a folder");
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    // The count stays raised and nothing was made.
    EXPECT_EQ(DatabaseRegistry::initCount, 1);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
    EXPECT_FALSE(fs::exists(m_root / "information"));

    // A retry only raises the count.
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 2);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 0);

    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(fs::exists(m_root / "database"));
}

TEST_F(LibraryLifetime, RootThatIsAFileIsAccessDenied) {
    fs::path file = m_root / "plain-file";
    WriteFile(file, "x");
    CZanTString root = CZanTString::FromUtf8(file.c_str());
    EXPECT_EQ(ZanDB4_Initialize(root.GetString()), E_ACCESSDENIED);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    // The file itself is untouched.
    EXPECT_TRUE(fs::is_regular_file(file));
}

TEST_F(LibraryLifetime, UnwritableRootIsAccessDenied) {
    fs::path locked = m_root / "locked";
    fs::create_directory(locked);
    zandb4::testing::OpenToEveryone(m_root.Path(), m_root.Path());
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
    CZanTString root = CZanTString::FromUtf8(locked.c_str());
    bool held = zandb4::testing::RunUnprivileged([&] {
        bool denied = ZanDB4_Initialize(root.GetString()) == E_ACCESSDENIED;
        bool counted = DatabaseRegistry::initCount == 1;
        bool finalized = ZanDB4_Finalize() == S_OK && DatabaseRegistry::initCount == 0;
        return denied && counted && finalized;
    });
    EXPECT_TRUE(held);
    EXPECT_FALSE(fs::exists(locked / "database"));
}

TEST_F(LibraryLifetime, UnreadableRootIsAccessDenied) {
    fs::path hidden = m_root / "hidden";
    fs::create_directory(hidden);
    zandb4::testing::OpenToEveryone(m_root.Path(), m_root.Path());
    fs::permissions(hidden, fs::perms::owner_all);  // nothing for others
    CZanTString root = CZanTString::FromUtf8(hidden.c_str());
    bool held = zandb4::testing::RunUnprivileged([&] {
        bool denied = ZanDB4_Initialize(root.GetString()) == E_ACCESSDENIED;
        return denied && ZanDB4_Finalize() == S_OK;
    });
    EXPECT_TRUE(held);
}

TEST_F(LibraryLifetime, StoreFileThatIsNotADatabaseDoesNotStopTheStart) {
    fs::create_directories(m_root / "database");
    WriteFile(m_root / "database" / "FileBasic.db", "garbage, not an SQLite file");
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    // The store stands in the registry all the same.
    EXPECT_NE(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    // Nothing overwrote what was there.
    std::ifstream in(m_root / "database" / "FileBasic.db");
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text, "garbage, not an SQLite file");
}

TEST_F(LibraryLifetime, FinalizeLeavesTheCacheToItsLastUserInFlight) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    auto* cache = DatabaseRegistry::fileRecordCache;
    // A user elsewhere has taken a reference while Finalize runs.
    cache->AddRef();
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, cache);
    // Its Release is the last; the cache goes and clears the registry.
    EXPECT_EQ(cache->Release(), 0u);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache, nullptr);
}

TEST_F(LibraryLifetime, DropDatabaseWhileUpIsRefused) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), E_FAIL);
    EXPECT_TRUE(fs::is_directory(m_root / "database"));
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(LibraryLifetime, DropDatabaseRemovesTheWholeTreeButNotInformation) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    fs::create_directories(m_root / "database" / "thumb_0s");
    WriteFile(m_root / "database" / "thumb_0s" / "00000000.db", "shard");
    WriteFile(m_root / "database" / "FileBasic.db", "store");
    WriteFile(m_root / "information" / "appcahce.db", "log");

    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(fs::exists(m_root / "database"));
    EXPECT_TRUE(fs::is_regular_file(m_root / "information" / "appcahce.db"));

    // A new start finds the application log where it was.
    EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_TRUE(fs::is_directory(m_root / "database"));
    EXPECT_TRUE(fs::is_regular_file(m_root / "information" / "appcahce.db"));
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(LibraryLifetime, DropDatabaseOfAMissingFolderIsOk) {
    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    TempFolder gone;
    CZanTString missing = CZanTString::FromUtf8((gone / "no" / "such" / "root").c_str());
    EXPECT_EQ(ZanDB4_DropDatabase(missing.GetString()), S_OK);
}

TEST_F(LibraryLifetime, DropDatabaseOfAnEmptyRootIsInvalid) {
    EXPECT_EQ(ZanDB4_DropDatabase(u""), E_INVALIDARG);
}

TEST_F(LibraryLifetime, DropDatabaseReportsSuccessEvenWhenDeletionFails) {
    fs::path locked = m_root / "database" / "locked";
    fs::create_directories(locked);
    WriteFile(locked / "inside", "x");
    zandb4::testing::OpenToEveryone(locked, m_root.Path());
    // Others may enter and read the folder but not delete from it.
    fs::permissions(locked, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec,
                    fs::perm_options::replace);
    bool held = zandb4::testing::RunUnprivileged([&] { return ZanDB4_DropDatabase(m_root.Wide().GetString()) == S_OK; });
    EXPECT_TRUE(held);
    EXPECT_TRUE(fs::exists(locked / "inside"));
}

TEST_F(LibraryLifetime, NullRootMeansTheFolderOfTheLibraryFile) {
    fs::path beside = LibraryFolder();
    ASSERT_FALSE(beside.empty());
    // Nothing of an earlier run may stand there.
    ASSERT_FALSE(fs::exists(beside / "database"));
    bool hadInformation = fs::exists(beside / "information");

    EXPECT_EQ(ZanDB4_Initialize(nullptr), S_OK);
    EXPECT_TRUE(fs::is_directory(beside / "database"));
    EXPECT_TRUE(fs::is_directory(beside / "information"));
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    // With null, the drop takes the catalogue beside the library file.
    EXPECT_EQ(ZanDB4_DropDatabase(nullptr), S_OK);
    EXPECT_FALSE(fs::exists(beside / "database"));
    if (!hadInformation) fs::remove_all(beside / "information");
}

TEST_F(LibraryLifetime, ReadOnlyStartOnARootWithoutCatalogueMakesNothingAndStaysDown) {
    EXPECT_EQ(zandb4::tool_access::StartReadOnly(m_root.Wide().GetString(), 100), E_FAIL);

    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    EXPECT_EQ(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_FALSE(fs::exists(m_root / "database"));
    EXPECT_FALSE(fs::exists(m_root / "information"));
}

TEST_F(LibraryLifetime, ReadOnlyStartOpensTheCatalogueAndChangesNothingOnDisk) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    fs::remove_all(m_root / "information");
    auto before = fs::last_write_time(m_root / "database" / "FileBasic.db");
    auto sizeBefore = fs::file_size(m_root / "database" / "FileBasic.db");

    ASSERT_EQ(zandb4::tool_access::StartReadOnly(m_root.Wide().GetString(), 100), S_OK);
    EXPECT_EQ(DatabaseRegistry::initCount, 1);
    ASSERT_NE(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_NE(DatabaseRegistry::fileBasicDB->m_db, nullptr);
    EXPECT_NE(DatabaseRegistry::fileRecordCache, nullptr);
    // A second start of any kind while up is refused.
    EXPECT_EQ(zandb4::tool_access::StartReadOnly(m_root.Wide().GetString(), 100), E_FAIL);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    EXPECT_EQ(DatabaseRegistry::initCount, 0);
    EXPECT_FALSE(fs::exists(m_root / "information"));
    EXPECT_EQ(fs::last_write_time(m_root / "database" / "FileBasic.db"), before);
    EXPECT_EQ(fs::file_size(m_root / "database" / "FileBasic.db"), sizeBefore);
    // The five stores the first start made (catalogue, staging, GPS logs,
    // memory data, access log), and nothing else.
    EXPECT_EQ(std::distance(fs::directory_iterator(m_root / "database"), fs::directory_iterator()), 5);
}

}  // namespace
