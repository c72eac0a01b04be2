// "zandb4 ls" run as a user runs it, on a catalogue whose files the test
// wrote through the library: the lines it prints for each kind of condition,
// its exit codes, and its messages for conditions it cannot use.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

using zandb4::testing::PackedDate;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

class LsCommand : public ::testing::Test {
protected:
    void SetUp() override {
        // Written out of date order, so that the listing's order shows. Each
        // file has a folder of its own: the catalogue keys a file by its path
        // and volume alone.
        zandb4::testing::MakeCatalogue(m_root.Path(),
                                       {
                                           {3, "/photos/2024/b", "C.JPG", 3, PackedDate(2024, 3, 8, 9), true, 0},
                                           {1, "/photos/2024/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10), false, 7},
                                           {2, "/photos/2024/a2", "B.MOV", 5, PackedDate(2024, 3, 7, 23), true, 7},
                                           {4, "/archive/it's", "D.JPG", 3, 0, false, 0},
                                       });
    }

    ToolRun Ls(const std::vector<std::string>& conditions) {
        std::vector<std::string> arguments = {"ls", m_root.Utf8()};
        for (const std::string& condition : conditions) {
            arguments.push_back("--where");
            arguments.push_back(condition);
        }
        return RunZandb4(arguments);
    }

    TempFolder m_root;
};

constexpr char kLineA[] = "1\t2024-03-07 10:00:00\t3\t0\t7\t/photos/2024/a\tA.JPG\n";
constexpr char kLineB[] = "2\t2024-03-07 23:00:00\t5\t1\t7\t/photos/2024/a2\tB.MOV\n";
constexpr char kLineC[] = "3\t2024-03-08 09:00:00\t3\t1\t0\t/photos/2024/b\tC.JPG\n";
constexpr char kLineD[] = "4\t-\t3\t0\t0\t/archive/it's\tD.JPG\n";

TEST_F(LsCommand, ListsEveryFileOldestFirst) {
    ToolRun run = Ls({});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, std::string(kLineD) + kLineA + kLineB + kLineC);
    EXPECT_EQ(run.err, "");
}

TEST_F(LsCommand, EachKindOfCondition) {
    EXPECT_EQ(Ls({"format=5"}).out, kLineB);
    EXPECT_EQ(Ls({"favorite=yes"}).out, std::string(kLineB) + kLineC);
    EXPECT_EQ(Ls({"favorite=no"}).out, std::string(kLineD) + kLineA);
    EXPECT_EQ(Ls({"date=2024-03-07"}).out, std::string(kLineA) + kLineB);
    EXPECT_EQ(Ls({"date=2024-03-07..2024-03-08"}).out, std::string(kLineA) + kLineB + kLineC);
    EXPECT_EQ(Ls({"date=2024-03-08..2024-03-08"}).out, kLineC);
    EXPECT_EQ(Ls({"path=/photos/2024/b"}).out, kLineC);
    EXPECT_EQ(Ls({"path=/photos/2024/a"}).out, std::string(kLineA) + kLineB);
    EXPECT_EQ(Ls({"path=/archive/it's"}).out, kLineD);
    EXPECT_EQ(Ls({"album=7"}).out, std::string(kLineA) + kLineB);
}

TEST_F(LsCommand, ConditionsMustAllHold) {
    ToolRun run = Ls({"format=3", "date=2024-03-07..2024-03-08", "favorite=yes"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, kLineC);
    EXPECT_EQ(RunZandb4({"ls", m_root.Utf8(), "--where=album=7", "--where=format=3"}).out, kLineA);
    // Options may also stand before ROOT.
    EXPECT_EQ(RunZandb4({"ls", "--where", "format=5", m_root.Utf8()}).out, kLineB);
}

TEST_F(LsCommand, NoMatchSaysNoFilesOnStandardErrorAndSucceeds) {
    ToolRun run = Ls({"format=99"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 ls: no files\n");
}

TEST_F(LsCommand, NoMatchInJsonIsAnEmptyArray) {
    ToolRun run = RunZandb4({"ls", m_root.Utf8(), "--where", "format=99", "--json"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "[]\n");
    EXPECT_EQ(run.err, "zandb4 ls: no files\n");
}

TEST_F(LsCommand, BadConditionsAreUsageErrors) {
    struct Case {
        std::string condition;
        std::string message;
    };
    for (const Case& bad :
         {Case{"colour=red", "unknown key 'colour'"}, Case{"format", "expected KEY=VALUE"},
          Case{"", "expected KEY=VALUE"}, Case{"format=-1", "format takes a number"},
          Case{"format=4294967296", "format takes a number"}, Case{"date=2024-3-7", "date takes YYYY-MM-DD"},
          Case{"date=2024-03-07..", "date takes YYYY-MM-DD"}, Case{"favorite=maybe", "favorite takes yes or no"},
          Case{"path=", "non-empty prefix"}, Case{"album=", "album takes an id or a non-empty name"},
          Case{"tag=", "tag takes a non-empty name"}}) {
        ToolRun run = Ls({bad.condition});
        EXPECT_EQ(run.exitCode, 1) << bad.condition;
        EXPECT_EQ(run.out, "") << bad.condition;
        EXPECT_NE(run.err.find("zandb4 ls: bad condition '" + bad.condition + "': "), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(bad.message), std::string::npos) << run.err;
        EXPECT_NE(run.err.find("Try 'zandb4 ls --help'"), std::string::npos) << run.err;
    }
}

TEST_F(LsCommand, DatesMustBeRealCalendarDays) {
    struct Case {
        std::string date;
        std::string message;
    };
    for (const Case& bad :
         {Case{"2024-02-30", "February 2024 has no day 30 (it has 29 days)"},
          Case{"2023-02-29", "February 2023 has no day 29 (it has 28 days)"},
          Case{"1900-02-29", "February 1900 has no day 29"}, Case{"2024-04-31", "April 2024 has no day 31"},
          Case{"2024-01-00", "January 2024 has no day 00"}, Case{"2024-13-01", "there is no month 13"},
          Case{"2024-00-10", "there is no month 00"}, Case{"0000-01-01", "there is no year 0000"},
          Case{"2024-03-01..2024-02-30", "February 2024 has no day 30"},
          Case{"2024-03-08..2024-03-07", "the range runs backwards: 2024-03-08 is after 2024-03-07"},
          Case{"2025-01-01..2024-12-31", "the range runs backwards"}}) {
        ToolRun run = Ls({"date=" + bad.date});
        EXPECT_EQ(run.exitCode, 1) << bad.date;
        EXPECT_EQ(run.out, "") << bad.date;
        EXPECT_NE(run.err.find("bad condition 'date=" + bad.date + "': " + bad.message), std::string::npos) << run.err;
    }
    // Leap days that exist are days like any other.
    for (std::string good : {"2024-02-29", "2000-02-29", "2024-02-29..2024-03-01"}) {
        ToolRun run = Ls({"date=" + good});
        EXPECT_EQ(run.exitCode, 0) << good << ": " << run.err;
    }
}

TEST_F(LsCommand, UnknownOptionsAndAMissingConditionAreUsageErrors) {
    ToolRun unknown = RunZandb4({"ls", m_root.Utf8(), "--sort"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.out, "");
    EXPECT_NE(unknown.err.find("zandb4 ls: unknown option '--sort'"), std::string::npos) << unknown.err;
    ToolRun bare = RunZandb4({"ls", m_root.Utf8(), "--where"});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_NE(bare.err.find("zandb4 ls: option '--where' needs a value (KEY=VALUE)"), std::string::npos) << bare.err;
}

TEST_F(LsCommand, MissingRootOrNoCatalogue) {
    TempFolder work;
    ToolRun missing = RunZandb4({"ls", (work / "missing").string()});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.err, "zandb4 ls: " + (work / "missing").string() + ": does not exist\n");
    std::filesystem::create_directories(work / "plain");
    ToolRun plain = RunZandb4({"ls", (work / "plain").string()});
    EXPECT_EQ(plain.exitCode, 2);
    EXPECT_NE(plain.err.find("holds no catalogue"), std::string::npos) << plain.err;
    EXPECT_NE(plain.err.find((work / "plain" / "database" / "FileBasic.db").string()), std::string::npos) << plain.err;
    EXPECT_FALSE(std::filesystem::exists(work / "plain" / "database"));
    EXPECT_FALSE(std::filesystem::exists(work / "missing"));
}

TEST_F(LsCommand, ListingChangesNoRow) {
    std::filesystem::path catalogue = m_root / "database" / "FileBasic.db";
    auto before = zandb4::testing::SqliteProbe(catalogue).Rows("SELECT * FROM file_table ORDER BY file_id");
    ASSERT_EQ(before.size(), 4u);
    Ls({"favorite=yes"});
    Ls({"path=/photos"});
    auto after = zandb4::testing::SqliteProbe(catalogue).Rows("SELECT * FROM file_table ORDER BY file_id");
    EXPECT_EQ(after, before);
}

}  // namespace
