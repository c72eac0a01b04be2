// "zandb4 commit": files waiting in staging move into the catalogue, the
// failed ones are named, and bad flags, a missing root or a staging file of
// the wrong shape are reported with their exit codes.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "json_reader.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

using zandb4::testing::JsonValue;
using zandb4::testing::RunZandb4;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class CommitCommand : public ::testing::Test {
protected:
    void SetUp() override {
        // A catalogue with one file, and two files waiting in staging: one new,
        // one on the path and volume (42) of the catalogued file, which cannot
        // move.
        zandb4::testing::MakeCatalogue(m_root.Path(), {{1, "/photos/a", "A.JPG", 3, 0}});
        SqliteProbe staging(Staging());
        ASSERT_TRUE(staging.IsOpen());
        ASSERT_EQ(staging.Exec("INSERT INTO async_file_table (file_id, file_path, disk_vsn, file_name, manage, "
                               "can_commit) VALUES (5, '/photos/c', 0, 'C.JPG', 1, 1)"),
                  SQLITE_OK);
        ASSERT_EQ(staging.Exec("INSERT INTO async_file_table (file_id, file_path, disk_vsn, file_name, manage, "
                               "can_commit) VALUES (6, '/photos/a', 42, 'OTHER.JPG', 1, 1)"),
                  SQLITE_OK);
    }
    std::filesystem::path Staging() const { return m_root / "database" / "FileBasicAsync.db"; }
    int64_t Count(const std::string& file, const std::string& sql) {
        SqliteProbe probe(m_root / "database" / file);
        return probe.Integer(sql);
    }

    TempFolder m_root;
};

TEST_F(CommitCommand, MovesWhatIsStagedAndNamesTheFileThatFailed) {
    ToolRun run = RunZandb4({"commit", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(Contains(run.out, "moved 1 files into the catalogue\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "failed to move file 6\n")) << run.out;
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=5"), 1);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table WHERE file_id=6"), 0);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 0);
}

TEST_F(CommitCommand, JsonTellsFlagsResultMovedAndFailed) {
    ToolRun run = RunZandb4({"commit", "--json", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> outcome = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(outcome) << run.out;
    EXPECT_EQ(outcome->Find("flags")->Integer(), 3);
    EXPECT_EQ(outcome->Find("moved")->Integer(), 1);
    ASSERT_EQ(outcome->Find("failed")->items.size(), 1u);
    EXPECT_EQ(outcome->Find("failed")->items[0].text, "6");
    // With flag 1 the news of a failed file is lost in the result: S_OK.
    EXPECT_TRUE(Contains(outcome->Find("result")->text, "S_OK")) << run.out;
}

TEST_F(CommitCommand, StagingOnlyFlagMovesNothing) {
    ToolRun run = RunZandb4({"commit", "--flags", "4", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_FALSE(Contains(run.out, "moved")) << run.out;
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 2);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(CommitCommand, BadFlagsAreAUsageError) {
    for (const char* flags : {"0", "8", "x", "12", ""}) {
        ToolRun run = RunZandb4({"commit", "--flags", flags, m_root.Utf8()});
        EXPECT_EQ(run.exitCode, 1) << flags;
        EXPECT_TRUE(Contains(run.err, "bad flags")) << run.err;
    }
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"), 2);
}

TEST_F(CommitCommand, MissingRootOrCatalogueIsExitTwo) {
    TempFolder empty;
    ToolRun run = RunZandb4({"commit", (empty / "none").string()});
    EXPECT_EQ(run.exitCode, 2);
    run = RunZandb4({"commit", empty.Utf8()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(Contains(run.err, "holds no catalogue")) << run.err;
}

TEST_F(CommitCommand, StagingWithoutItsTableIsACommitFailureWithNothingLost) {
    {
        SqliteProbe staging(Staging());
        ASSERT_EQ(staging.Exec("ALTER TABLE async_file_table RENAME TO elsewhere"), SQLITE_OK);
    }
    ToolRun run = RunZandb4({"commit", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_TRUE(Contains(run.err, "the commit failed")) << run.err;
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"), 1);
    EXPECT_EQ(Count("FileBasicAsync.db", "SELECT COUNT(*) FROM elsewhere"), 2);
}

TEST_F(CommitCommand, InfoCountsTheStagedFilesAndFaces) {
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "staged  2 files, 0 person faces, 0 pet faces\n")) << run.out;
    run = RunZandb4({"info", "--json", m_root.Utf8()});
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    const JsonValue* staged = report->Find("staged");
    ASSERT_NE(staged, nullptr);
    EXPECT_TRUE(staged->Find("present")->boolean);
    EXPECT_EQ(staged->Find("files")->Integer(), 2);
    EXPECT_EQ(staged->Find("pet_faces")->Integer(), 0);
}

}  // namespace
