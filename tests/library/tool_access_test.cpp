// The doors the library opens for its own zandb4 tool (tool_access.h), where
// no public call reaches: the read transaction and the counts on the
// read-only start, the commit that names the files it could not move, and
// the volume and shard naming rules; and what each answers while the library
// is down.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "library/database_registry.h"
#include "library/tool_access.h"
#include "platform/volume.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;
namespace tool_access = zandb4::tool_access;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

constexpr int kBusyMilliseconds = 100;
constexpr WCHAR kCountTags[] = u"SELECT COUNT(*) FROM tag_table";
constexpr WCHAR kCountLinksOfTag[] = u"SELECT COUNT(*) FROM tag_file_table WHERE tag_id=?";

// Every test starts and ends with the library down at a count of 0.
class ToolAccess : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }

    fs::path Catalogue() const { return m_root / "database" / "FileBasic.db"; }

    // A catalogue made by the ordinary start, with three tags, two of them
    // linked to files, and the library down again.
    void MakeCatalogueWithTags() {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
        SqliteProbe catalogue(Catalogue());
        ASSERT_TRUE(catalogue.IsOpen());
        ASSERT_EQ(catalogue.Exec("INSERT INTO tag_table (tag_id, tag_name, tag_type) VALUES (7, 'sea', 0), "
                                 "(8, 'sky', 0), (9, 'snow', 0)"),
                  SQLITE_OK);
        ASSERT_EQ(catalogue.Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (7, 1), (7, 2), (8, 1)"),
                  SQLITE_OK);
    }

    TempFolder m_root;
};

TEST_F(ToolAccess, ReadWhileTheLibraryIsDownHasNoCatalogueAndBeginsNothing) {
    tool_access::CatalogueRead read;
    EXPECT_FALSE(read.HasCatalogue());
    EXPECT_EQ(read.BeginCode(), SQLITE_MISUSE);
}

TEST_F(ToolAccess, CountWhileTheLibraryIsDownIsMisuseAndLeavesTheCountAlone) {
    int64_t count = 12345;
    EXPECT_EQ(tool_access::CountCatalogueRows(kCountTags, nullptr, count), SQLITE_MISUSE);
    EXPECT_EQ(count, 12345);
}

TEST_F(ToolAccess, CommitWhileTheLibraryIsDownFailsWithNoFailedFiles) {
    std::vector<uint64_t> failed = {1, 2, 3};
    EXPECT_EQ(tool_access::CommitWithFailedIds(3, failed), E_FAIL);
    EXPECT_TRUE(failed.empty());
}

TEST_F(ToolAccess, ReadOnTheReadOnlyStartBeginsAndCountsRowsAndLinksOfATag) {
    MakeCatalogueWithTags();
    ASSERT_EQ(tool_access::StartReadOnly(m_root.Wide().GetString(), kBusyMilliseconds), S_OK);
    {
        tool_access::CatalogueRead read;
        EXPECT_TRUE(read.HasCatalogue());
        ASSERT_EQ(read.BeginCode(), SQLITE_OK);
        int64_t tags = -1, links = -1, none = -1;
        const uint64_t sea = 7, snow = 9;
        EXPECT_EQ(tool_access::CountCatalogueRows(kCountTags, nullptr, tags), SQLITE_OK);
        EXPECT_EQ(tool_access::CountCatalogueRows(kCountLinksOfTag, &sea, links), SQLITE_OK);
        EXPECT_EQ(tool_access::CountCatalogueRows(kCountLinksOfTag, &snow, none), SQLITE_OK);
        EXPECT_EQ(tags, 3);
        EXPECT_EQ(links, 2);
        EXPECT_EQ(none, 0);
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ToolAccess, CountOfAStatementThatDoesNotPrepareAnswersItsCode) {
    MakeCatalogueWithTags();
    ASSERT_EQ(tool_access::StartReadOnly(m_root.Wide().GetString(), kBusyMilliseconds), S_OK);
    int64_t count = 12345;
    EXPECT_EQ(tool_access::CountCatalogueRows(u"SELECT COUNT(*) FROM no_such_table", nullptr, count), SQLITE_ERROR);
    EXPECT_EQ(count, 12345);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ToolAccess, CountOfAStatementWithoutARowIsAnError) {
    MakeCatalogueWithTags();
    ASSERT_EQ(tool_access::StartReadOnly(m_root.Wide().GetString(), kBusyMilliseconds), S_OK);
    int64_t count = 12345;
    EXPECT_EQ(tool_access::CountCatalogueRows(u"SELECT tag_id FROM tag_table WHERE tag_id=1", nullptr, count),
              SQLITE_ERROR);
    EXPECT_EQ(count, 12345);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

// The read holds SQLite's shared lock from its first read to its end, so
// another process cannot commit between the counts and the lists of one
// read; once it ends, the writer gets through.
TEST_F(ToolAccess, AWriterWaitsOutTheReadAndGetsThroughAfterIt) {
    MakeCatalogueWithTags();
    ASSERT_EQ(tool_access::StartReadOnly(m_root.Wide().GetString(), kBusyMilliseconds), S_OK);
    SqliteProbe writer(Catalogue());
    ASSERT_TRUE(writer.IsOpen());
    const std::string addTag = "INSERT INTO tag_table (tag_id, tag_name, tag_type) VALUES (10, 'sand', 0)";
    {
        tool_access::CatalogueRead read;
        ASSERT_EQ(read.BeginCode(), SQLITE_OK);
        int64_t before = -1;
        ASSERT_EQ(tool_access::CountCatalogueRows(kCountTags, nullptr, before), SQLITE_OK);
        EXPECT_EQ(writer.Exec(addTag), SQLITE_BUSY);
        int64_t after = -1;
        ASSERT_EQ(tool_access::CountCatalogueRows(kCountTags, nullptr, after), SQLITE_OK);
        EXPECT_EQ(after, before);
    }
    EXPECT_EQ(writer.Exec(addTag), SQLITE_OK);
    int64_t tags = -1;
    EXPECT_EQ(tool_access::CountCatalogueRows(kCountTags, nullptr, tags), SQLITE_OK);
    EXPECT_EQ(tags, 4);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

// The read also holds the catalogue's lock: another thread's count waits
// until the read ends.
TEST_F(ToolAccess, AnotherThreadsCountWaitsForTheReadToEnd) {
    MakeCatalogueWithTags();
    ASSERT_EQ(tool_access::StartReadOnly(m_root.Wide().GetString(), kBusyMilliseconds), S_OK);
    std::atomic<bool> counted{false};
    std::thread other;
    {
        tool_access::CatalogueRead read;
        ASSERT_EQ(read.BeginCode(), SQLITE_OK);
        other = std::thread([&counted] {
            int64_t tags = -1;
            tool_access::CountCatalogueRows(kCountTags, nullptr, tags);
            counted = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_FALSE(counted);
    }
    other.join();
    EXPECT_TRUE(counted);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

// On the ordinary start the catalogue runs write transactions of its own,
// which a read transaction must not cross: none is begun.
TEST_F(ToolAccess, ReadOnACatalogueOpenForWritingBeginsNothing) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    {
        tool_access::CatalogueRead read;
        EXPECT_TRUE(read.HasCatalogue());
        EXPECT_EQ(read.BeginCode(), SQLITE_MISUSE);
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ToolAccess, CommitNamesTheStagedFileThatCannotMove) {
    // A catalogue with the file /photos/a on volume 42, and two staged
    // files: /photos/c, new, and /photos/a on volume 42 again, which cannot
    // move.
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    {
        FileRowValues row;
        row.fileId = 1;
        row.filePath = u"/photos/a";
        row.fileName = u"A.JPG";
        row.diskVsn = 42;
        row.manage = 1;
        ASSERT_EQ(FileTableRows(*DatabaseRegistry::fileBasicDB).InsertFileRow(row), S_OK);
    }
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    {
        SqliteProbe staging(m_root / "database" / "FileBasicAsync.db");
        ASSERT_EQ(staging.Exec("INSERT INTO async_file_table (file_id, file_path, disk_vsn, file_name, manage, "
                               "can_commit) VALUES (5, '/photos/c', 0, 'C.JPG', 1, 1), "
                               "(6, '/photos/a', 42, 'OTHER.JPG', 1, 1)"),
                  SQLITE_OK);
    }

    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    std::vector<uint64_t> failed;
    EXPECT_EQ(tool_access::CommitWithFailedIds(2 | 1, failed), S_OK);
    EXPECT_EQ(failed, std::vector<uint64_t>{6});
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);

    SqliteProbe catalogue(Catalogue());
    EXPECT_EQ(catalogue.Integer("SELECT COUNT(*) FROM file_table WHERE file_id=5"), 1);
    EXPECT_EQ(catalogue.Integer("SELECT COUNT(*) FROM file_table WHERE file_id=6"), 0);
}

TEST_F(ToolAccess, VolumeSerialIsTheOneTheStoresKeep) {
    EXPECT_EQ(tool_access::VolumeSerialOf(m_root.Utf8()), zandb4::platform::GetVolumeSerial(m_root.Utf8()));
    zandb4::platform::SetVolumeSerialSourceForTesting([](const std::string&) { return 0x1234u; });
    uint32_t swapped = tool_access::VolumeSerialOf(m_root.Utf8());
    zandb4::platform::SetVolumeSerialSourceForTesting(nullptr);
    EXPECT_EQ(swapped, 0x1234u);
}

TEST_F(ToolAccess, ThumbnailShardNamesAreTheIdOverTenThousandInEightHexDigits) {
    EXPECT_EQ(tool_access::ThumbnailShardFileName(0).ToUtf8(), "00000000.db");
    EXPECT_EQ(tool_access::ThumbnailShardFileName(9999).ToUtf8(), "00000000.db");
    EXPECT_EQ(tool_access::ThumbnailShardFileName(10000).ToUtf8(), "00000001.db");
    EXPECT_EQ(tool_access::ThumbnailShardFileName(1711 * 10000 + 5).ToUtf8(), "000006AF.db");
    EXPECT_EQ(tool_access::ThumbnailShardFileName(UINT64_MAX).ToUtf8(), "BAC710CB.db");
}

TEST_F(ToolAccess, ShardFilesAreTheEntriesEndingInExactlyDotDbThatAreNoFolders) {
    zandb4::testing::WriteFile(m_root / "00000000.db", "");
    zandb4::testing::WriteFile(m_root / "00000001.DB", "");
    zandb4::testing::WriteFile(m_root / "00000002.db-journal", "");
    fs::create_directory(m_root / "00000003.db");
    std::vector<CZanTString> names = tool_access::ShardFileNamesIn(m_root.Wide());
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0].ToUtf8(), "00000000.db");
    EXPECT_TRUE(tool_access::ShardFileNamesIn(CZanTString::FromUtf8((m_root / "missing").c_str())).empty());
}

TEST_F(ToolAccess, StoreVersionIsTheVersionANewCatalogueIsWrittenWith) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    SqliteProbe catalogue(Catalogue());
    EXPECT_EQ(catalogue.Integer("SELECT version FROM version_info_table"),
              static_cast<int64_t>(tool_access::StoreVersion()));
}

}  // namespace
