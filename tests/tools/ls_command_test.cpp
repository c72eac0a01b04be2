// "zandb4 ls" run as a user runs it, on a catalogue whose files the test
// wrote through the library: the lines it prints for each kind of condition,
// its exit codes, and its messages for conditions it cannot use.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/file_rows.h"
#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {

using zandb4::testing::TempFolder;

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string ReadText(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// One shell word: single quotes around it, each single quote inside closed,
// escaped and reopened.
std::string Quoted(const std::string& argument) {
    std::string word = "'";
    for (char ch : argument) word += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return word + "'";
}

int64_t Packed(uint16_t year, uint16_t month, uint16_t day, uint16_t hour) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    return CZanTDateTime(time).GetPacked();
}

class LsCommand : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        CSQLiteFileBasicDB* store = zandb4::DatabaseRegistry::fileBasicDB;
        ASSERT_NE(store, nullptr);
        // Written out of date order, so that the listing's order shows.
        AddFile(store, 3, "/photos/2024/b", "C.JPG", 3, Packed(2024, 3, 8, 9), true, 0);
        AddFile(store, 1, "/photos/2024/a", "A.JPG", 3, Packed(2024, 3, 7, 10), false, 7);
        AddFile(store, 2, "/photos/2024/a2", "B.MOV", 5, Packed(2024, 3, 7, 23), true, 7);
        AddFile(store, 4, "/archive/it's", "D.JPG", 3, 0, false, 0);
        EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    }

    static void AddFile(CSQLiteFileBasicDB* store, uint64_t id, const char* path, const char* name,
                        uint32_t format, int64_t date, bool favorite, uint64_t album) {
        FileRowValues row;
        row.fileId = id;
        row.filePath = CZanTString::FromUtf8(path);
        row.fileName = CZanTString::FromUtf8(name);
        row.diskVsn = 0x2A;
        row.fileFormat = format;
        row.shootingDate = date;
        row.isFavorite = favorite;
        row.albumId = album;
        row.manage = 1;
        EXPECT_EQ(FileTableRows(*store).InsertFileRow(row), S_OK);
    }

    ToolRun Run(const std::vector<std::string>& arguments) {
        std::string command = Quoted(ZANDB4_TOOL_PATH);
        for (const std::string& argument : arguments) command += " " + Quoted(argument);
        std::filesystem::path out = m_work / "out.txt", err = m_work / "err.txt";
        std::filesystem::remove(out);
        std::filesystem::remove(err);
        command += " >" + Quoted(out.string()) + " 2>" + Quoted(err.string());
        ToolRun run;
        int status = std::system(command.c_str());
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.out = ReadText(out);
        run.err = ReadText(err);
        return run;
    }

    ToolRun Ls(std::vector<std::string> conditions) {
        std::vector<std::string> arguments = {"ls", m_root.Utf8()};
        for (const std::string& condition : conditions) {
            arguments.push_back("--where");
            arguments.push_back(condition);
        }
        return Run(arguments);
    }

    TempFolder m_root;
    TempFolder m_work;
};

// Each file has a folder of its own: the catalogue keys a file by its path
// and volume alone.
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
    EXPECT_EQ(Ls({"date=2024-03-08..2024-03-07"}).out, std::string(kLineA) + kLineB + kLineC);
    EXPECT_EQ(Ls({"path=/photos/2024/b"}).out, kLineC);
    EXPECT_EQ(Ls({"path=/archive/it's"}).out, kLineD);
    EXPECT_EQ(Ls({"album=7"}).out, std::string(kLineA) + kLineB);
}

TEST_F(LsCommand, ConditionsMustAllHold) {
    ToolRun run = Ls({"format=3", "date=2024-03-07..2024-03-08", "favorite=yes"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, kLineC);
    EXPECT_EQ(Run({"ls", m_root.Utf8(), "--where=album=7", "--where=format=3"}).out, kLineA);
}

TEST_F(LsCommand, NoMatchPrintsNothingAndSucceeds) {
    ToolRun run = Ls({"format=99"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST_F(LsCommand, BadConditionsAreUsageErrors) {
    struct Case {
        std::string condition;
        std::string message;
    };
    for (const Case& bad : {Case{"colour=red", "unknown key 'colour'"}, Case{"format", "expected KEY=VALUE"},
                            Case{"format=-1", "format takes a number"},
                            Case{"format=4294967296", "format takes a number"},
                            Case{"date=2024-13-01", "date takes YYYY-MM-DD"},
                            Case{"date=2024-03-07..", "date takes YYYY-MM-DD"},
                            Case{"favorite=maybe", "favorite takes yes or no"},
                            Case{"path=/a\"b", "without double quotes"}, Case{"path=", "non-empty prefix"},
                            Case{"album=x", "album takes a number"}}) {
        ToolRun run = Ls({bad.condition});
        EXPECT_EQ(run.exitCode, 1) << bad.condition;
        EXPECT_EQ(run.out, "") << bad.condition;
        EXPECT_NE(run.err.find("bad condition '" + bad.condition + "'"), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(bad.message), std::string::npos) << run.err;
    }
}

TEST_F(LsCommand, UnknownOptionsAndAMissingConditionAreUsageErrors) {
    ToolRun unknown = Run({"ls", m_root.Utf8(), "--sort"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.err.find("unknown option '--sort'"), std::string::npos) << unknown.err;
    ToolRun bare = Run({"ls", m_root.Utf8(), "--where"});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_NE(bare.err.find("it needs KEY=VALUE"), std::string::npos) << bare.err;
}

TEST_F(LsCommand, MissingRootOrNoCatalogue) {
    ToolRun missing = Run({"ls", (m_work / "missing").string()});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.err.find("does not exist"), std::string::npos) << missing.err;
    std::filesystem::create_directories(m_work / "plain");
    ToolRun plain = Run({"ls", (m_work / "plain").string()});
    EXPECT_EQ(plain.exitCode, 2);
    EXPECT_NE(plain.err.find("holds no catalogue"), std::string::npos) << plain.err;
    EXPECT_FALSE(std::filesystem::exists(m_work / "plain" / "database"));
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
