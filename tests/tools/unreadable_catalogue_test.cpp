// A catalogue the tool cannot read is an error that names the file and the
// reason, with exit code 4 (or 2 when there is no catalogue), never an empty
// success: random bytes, damaged pages, another process's lock, a newer
// major version, a file that is no catalogue, and a missing one. None of
// these is changed by looking at it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>
#include <thread>

#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::PackedDate;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;
using zandb4::testing::TreeSnapshot;

std::string RandomBytes(size_t count) {
    std::mt19937 generator(20240229);
    std::string bytes(count, '\0');
    for (char& byte : bytes) byte = static_cast<char>(generator() & 0xFF);
    return bytes;
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class UnreadableCatalogue : public ::testing::Test {
protected:
    fs::path Catalogue() const { return m_root / "database" / "FileBasic.db"; }

    void MakeCatalogueWithFiles() {
        zandb4::testing::MakeCatalogue(m_root.Path(), {
                                                          {1, "/photos/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10)},
                                                          {2, "/photos/b", "B.JPG", 3, PackedDate(2024, 3, 8, 10)},
                                                      });
    }

    // Runs ls, info and init on the root; each must fail with code and a
    // message naming the catalogue file and holding reason, and leave the
    // tree as it was.
    void ExpectEveryCommandFails(int code, const std::string& reason) {
        TreeSnapshot before = SnapshotTree(m_root.Path());
        ExpectEveryCommandFailsWithoutLooking(code, reason);
        EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    }

    // The same without reading the tree in between: closing any file of the
    // catalogue in this process would drop the locks its connection holds.
    void ExpectEveryCommandFailsWithoutLooking(int code, const std::string& reason) {
        for (const char* command : {"ls", "info", "init"}) {
            ToolRun run = RunZandb4({command, m_root.Utf8()});
            EXPECT_EQ(run.exitCode, code) << command << ": " << run.err;
            std::string expected = std::string("zandb4 ") + command + ": " + Catalogue().string() + ": ";
            EXPECT_TRUE(Contains(run.err, expected)) << command << ": " << run.err;
            EXPECT_TRUE(Contains(run.err, reason)) << command << ": " << run.err;
            if (std::string(command) == "ls") {
                EXPECT_EQ(run.out, "");
            }
        }
    }

    TempFolder m_root;
};

TEST_F(UnreadableCatalogue, RandomBytesAreNotADatabase) {
    fs::create_directories(m_root / "database");
    zandb4::testing::WriteFile(Catalogue(), RandomBytes(8192));
    ExpectEveryCommandFails(4, "not a database");
    // info still shows what it found.
    ToolRun info = RunZandb4({"info", m_root.Utf8()});
    EXPECT_TRUE(Contains(info.out, "  database/FileBasic.db  not a database")) << info.out;
}

TEST_F(UnreadableCatalogue, DamagedPagesAreReportedAsDamage) {
    MakeCatalogueWithFiles();
    // The first page (the header and the schema) stays; every page after it
    // is overwritten.
    std::string bytes = RandomBytes(static_cast<size_t>(fs::file_size(Catalogue())));
    std::string kept;
    {
        std::ifstream in(Catalogue(), std::ios::binary);
        kept.resize(4096);
        in.read(kept.data(), 4096);
    }
    zandb4::testing::WriteFile(Catalogue(), kept + bytes.substr(4096));
    ExpectEveryCommandFails(4, "damaged");
}

TEST_F(UnreadableCatalogue, LockedByAnotherProcessAfterAShortWait) {
    MakeCatalogueWithFiles();
    TreeSnapshot before = SnapshotTree(m_root.Path());
    SqliteProbe other(Catalogue());
    ASSERT_EQ(other.Exec("BEGIN EXCLUSIVE"), SQLITE_OK);
    auto started = std::chrono::steady_clock::now();
    ExpectEveryCommandFailsWithoutLooking(4, "locked by another process");
    // Three commands, each of which waited for the lock before giving up.
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(3 * 1500));
    ASSERT_EQ(other.Exec("ROLLBACK"), SQLITE_OK);
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    ToolRun after = RunZandb4({"ls", m_root.Utf8()});
    EXPECT_EQ(after.exitCode, 0) << after.err;
    EXPECT_EQ(std::count(after.out.begin(), after.out.end(), '\n'), 2);
}

TEST_F(UnreadableCatalogue, ALockReleasedWithinTheWaitIsWaitedFor) {
    MakeCatalogueWithFiles();
    SqliteProbe other(Catalogue());
    ASSERT_EQ(other.Exec("BEGIN EXCLUSIVE"), SQLITE_OK);
    std::thread release([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        other.Exec("ROLLBACK");
    });
    ToolRun run = RunZandb4({"ls", m_root.Utf8()});
    release.join();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "1\t2024-03-07 10:00:00\t3\t0\t0\t/photos/a\tA.JPG\n"
              "2\t2024-03-08 10:00:00\t3\t0\t0\t/photos/b\tB.JPG\n");
}

TEST_F(UnreadableCatalogue, NewerMajorVersion) {
    MakeCatalogueWithFiles();
    ASSERT_EQ(SqliteProbe(Catalogue()).Exec("UPDATE version_info_table SET version=2201"), SQLITE_OK);
    ExpectEveryCommandFails(4, "of a newer major version (version 2201");
    ToolRun info = RunZandb4({"info", m_root.Utf8()});
    EXPECT_TRUE(Contains(info.out, "database/FileBasic.db  version 2201 (newer major version), page size 4096"))
        << info.out;
    EXPECT_EQ(SqliteProbe(Catalogue()).Integer("SELECT version FROM version_info_table"), 2201);
}

TEST_F(UnreadableCatalogue, ANewerMinorVersionIsRead) {
    MakeCatalogueWithFiles();
    ASSERT_EQ(SqliteProbe(Catalogue()).Exec("UPDATE version_info_table SET version=1999"), SQLITE_OK);
    ToolRun run = RunZandb4({"ls", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2);
}

TEST_F(UnreadableCatalogue, AnSQLiteFileThatIsNoCatalogue) {
    fs::create_directories(m_root / "database");
    zandb4::testing::WriteFile(Catalogue(), "");
    {
        SqliteProbe other(Catalogue());
        ASSERT_EQ(other.Exec("CREATE TABLE version_info_table (version INTEGER)"), SQLITE_OK);
        ASSERT_EQ(other.Exec("INSERT INTO version_info_table VALUES(1201)"), SQLITE_OK);
    }
    ExpectEveryCommandFails(4, "not a catalogue (it has no file_table)");
}

TEST_F(UnreadableCatalogue, AnEmptyFileIsNoCatalogue) {
    fs::create_directories(m_root / "database");
    zandb4::testing::WriteFile(Catalogue(), "");
    ExpectEveryCommandFails(4, "not a catalogue (it has no version_info_table)");
    EXPECT_EQ(fs::file_size(Catalogue()), 0u);
}

TEST_F(UnreadableCatalogue, ACatalogueThatIsAFolder) {
    fs::create_directories(Catalogue());
    ExpectEveryCommandFails(4, "cannot be opened (it is a folder)");
}

TEST_F(UnreadableCatalogue, AMissingCatalogueIsNoCatalogueAndNothingIsMade) {
    fs::create_directories(m_root / "database");
    TreeSnapshot before = SnapshotTree(m_root.Path());
    for (const char* command : {"ls", "info"}) {
        ToolRun run = RunZandb4({command, m_root.Utf8()});
        EXPECT_EQ(run.exitCode, 2) << command;
        EXPECT_EQ(run.out, "") << command;
        EXPECT_EQ(run.err, std::string("zandb4 ") + command + ": " + m_root.Utf8() + ": holds no catalogue (" +
                               Catalogue().string() + " does not exist)\n");
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    EXPECT_FALSE(fs::exists(Catalogue()));
    EXPECT_FALSE(fs::exists(m_root / "information"));
}

}  // namespace
