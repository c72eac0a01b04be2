// "Memory.db" as a file: the schema of a new one, the version it keeps, a
// file that is not a database, and its place in the library's start and
// stop.
#include <fstream>
#include <sstream>

#include "logs_fixture.h"

namespace logs_test {
namespace {

namespace fs = std::filesystem;

std::string FileText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

using MemoryDataFile = LogsFilesTest;

TEST_F(MemoryDataFile, ANewFileHasTheBaseTablesAndMemoryDataWithItsUniqueKey) {
    Start();
    ASSERT_NE(DatabaseRegistry::memDB, nullptr);
    EXPECT_NE(MemoryStore().m_db, nullptr);
    EXPECT_EQ(MemoryRows("SELECT type, name, sql FROM sqlite_master ORDER BY rowid"),
              (Rows{{"table", "version_info_table", "CREATE TABLE version_info_table (version INTEGER)"},
                    {"table", "last_id_table", "CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER)"},
                    {"table", "pooled_id_table", "CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER)"},
                    {"table", "memory_data",
                     "CREATE TABLE memory_data (mem_id INTEGER PRIMARY KEY,mem_type INTEGER, mem_condition TEXT, "
                     "mem_date BLOB)"},
                    {"index", "memory_data_uidx",
                     "CREATE UNIQUE INDEX memory_data_uidx ON memory_data (mem_type, mem_condition)"}}));
    EXPECT_EQ(MemoryInteger("SELECT version FROM version_info_table"), 1201);
}

TEST_F(MemoryDataFile, AnOlderFileKeepsItsVersionAndItsEntries) {
    MakeSqliteFile(MemoryFile(), BaseTablesAtVersion(1000) +
                                     "CREATE TABLE memory_data (mem_id INTEGER PRIMARY KEY,mem_type INTEGER, "
                                     "mem_condition TEXT, mem_date BLOB);"
                                     "CREATE UNIQUE INDEX memory_data_uidx ON memory_data (mem_type, mem_condition);"
                                     "INSERT INTO memory_data VALUES (4, 1, 'old', X'6F6C64');"
                                     "INSERT INTO last_id_table VALUES (0, 4);");
    Start();
    ComPtr<IZanDB4MemRecord> record;
    ASSERT_EQ(m_memory->GetRecord(1, u"old", record.Receive()), S_OK);
    EXPECT_EQ(Bytes(record.Get()), "old");
    uint64_t id = 0;
    ASSERT_EQ(m_memory->AddData(1, u"new", "new", 3, &id), S_OK);
    EXPECT_EQ(id, 5u);
    // The store has no upgrade: its UpgradeTables is the base's, which
    // changes nothing, and nothing moves its version.
    EXPECT_EQ(MemoryStore().UpgradeTables(), S_OK);
    Stop();
    EXPECT_EQ(MemoryInteger("SELECT version FROM version_info_table"), 1000);
    EXPECT_EQ(MemoryRows("SELECT mem_id, mem_condition FROM memory_data ORDER BY mem_id"),
              (Rows{{"4", "old"}, {"5", "new"}}));
}

TEST_F(MemoryDataFile, StopCommitsWhatTheOpenTransactionHolds) {
    Start();
    ASSERT_EQ(m_memory->AddData(2, u"unsaved", "data", 4, nullptr), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 0);
    Stop();
    EXPECT_EQ(DatabaseRegistry::memDB, nullptr);
    EXPECT_EQ(MemoryRows("SELECT mem_type, mem_condition FROM memory_data"), (Rows{{"2", "unsaved"}}));
    EXPECT_FALSE(fs::exists(m_root / "database" / "Memory.db-journal"));
}

TEST_F(MemoryDataFile, AFileThatIsNotADatabaseNeitherStopsTheStartNorGetsWritten) {
    const std::string text = "these are not the pages of a database, only text that is long enough";
    fs::create_directories(MemoryFile().parent_path());
    zandb4::testing::WriteFile(MemoryFile(), text);
    Start();
    uint64_t id = 0;
    EXPECT_EQ(m_memory->AddData(1, u"k", "x", 1, &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    EXPECT_FALSE(m_memory->Exists(1, u"k"));
    ComPtr<IZanDB4MemRecord> record;
    EXPECT_EQ(m_memory->GetRecord(1, u"k", record.Receive()), E_FAIL);
    EXPECT_EQ(m_memory->UpdateData(1, u"k", "x", 1), E_FAIL);
    EXPECT_EQ(m_memory->DeleteAll(), E_FAIL);
    // The other stores work.
    EXPECT_EQ(m_accessLog->AddLaunchCount(1, nullptr), S_OK);
    Stop();
    EXPECT_EQ(FileText(MemoryFile()), text);
}

}  // namespace
}  // namespace logs_test
