// The staging store over the library's start and stop: made beside the
// catalogue, committed first at the stop, compacted and closed.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "library/database_registry.h"
#include "staging/async_db.h"
#include "storage/statement.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

class StagingLifetime : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
        EXPECT_EQ(DatabaseRegistry::asyncDB, nullptr);
    }
    fs::path StagingFile() const { return m_root / "database" / "FileBasicAsync.db"; }

    TempFolder m_root;
};

TEST_F(StagingLifetime, StartMakesTheStagingFileBesideTheCatalogue) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_NE(DatabaseRegistry::asyncDB, nullptr);
    EXPECT_NE(DatabaseRegistry::asyncDB->m_db, nullptr);
    EXPECT_TRUE(fs::is_regular_file(StagingFile()));
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(DatabaseRegistry::asyncDB, nullptr);
}

TEST_F(StagingLifetime, StopCommitsWhatIsStagedAndCompactsTheFile) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    CSQLiteAsyncDB& staging = *DatabaseRegistry::asyncDB;
    staging.BeginTransaction();
    ASSERT_EQ(zandb4::RunStatement(staging.m_db,
                                   u"INSERT INTO async_file_table (file_id, file_path, file_name, can_commit) "
                                   u"VALUES (5, '/p', 'a.jpg', 1)"),
              S_OK);
    // Fill the file with pages that a delete frees, so compaction shows.
    ASSERT_EQ(zandb4::RunStatement(staging.m_db,
                                   u"WITH RECURSIVE n(v) AS (SELECT 1 UNION ALL SELECT v + 1 FROM n WHERE v < 20000) "
                                   u"INSERT INTO async_tag_file_table SELECT v, 5 FROM n"),
              S_OK);
    ASSERT_EQ(zandb4::RunStatement(staging.m_db, u"DELETE FROM async_tag_file_table"), S_OK);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    SqliteProbe probe(StagingFile());
    EXPECT_EQ(probe.Integer("SELECT file_id FROM async_file_table"), 5);
    // Vacuumed: no free page is left.
    EXPECT_EQ(probe.Integer("PRAGMA freelist_count"), 0);
    EXPECT_FALSE(fs::exists(m_root / "database" / "FileBasicAsync.db-journal"));
}

TEST_F(StagingLifetime, StagingFileThatIsNotADatabaseDoesNotStopTheStart) {
    fs::create_directories(m_root / "database");
    const std::string text = "this is not a database, it is text long enough to be read";
    zandb4::testing::WriteFile(StagingFile(), text);
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_NE(DatabaseRegistry::asyncDB, nullptr);
    EXPECT_NE(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    // The file is left as it was.
    EXPECT_EQ(fs::file_size(StagingFile()), text.size());
}

}  // namespace
