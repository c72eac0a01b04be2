// "zandb4 thumb" on thumbnails written by the library's own thumbnail
// families: the bytes come out exactly, to standard output or to a file,
// for the first and the last identifier and across shard boundaries; a
// missing thumbnail, a bad argument, a missing catalogue, a shard that
// cannot be read and an output that cannot be written each give their exit
// code and a message naming the file; and reading never changes the tree.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>

#include "command.h"
#include "commands.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::SqliteProbe;
using zandb4::testing::StoredThumbnail;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;
using zandb4::testing::TreeSnapshot;

constexpr uint64_t kLastId = UINT64_MAX;  // 18446744073709551615

// The table of a thumbnail shard, as every build has made it.
constexpr char kThumbnailTable[] =
    "CREATE TABLE thumbnail_table (file_id INTEGER PRIMARY KEY, thumbnail_update_date INTEGER, thumbnail_data BLOB, "
    "source_id INTEGER)";

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Every byte value, NUL and newline among them, in a scrambled order.
std::string BinaryBytes(uint32_t seed, size_t count) {
    std::mt19937 generator(seed);
    std::string bytes;
    for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
    while (bytes.size() < count) bytes += static_cast<char>(generator() & 0xFF);
    std::shuffle(bytes.begin(), bytes.end(), generator);
    return bytes;
}

const std::string kFirst = BinaryBytes(1, 3000);
const std::string kBeforeBoundary = BinaryBytes(2, 700);
const std::string kAfterBoundary = BinaryBytes(3, 900);
const std::string kKindTwo = BinaryBytes(4, 400);
const std::string kLast = BinaryBytes(5, 256);
const std::string kAlbum = "\x89PNG\r\n\x1a\n album cover";
// An image large enough to span many SQLite pages.
const std::string kLarge = BinaryBytes(6, 200000);

class ThumbCommand : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(), {});
        zandb4::testing::StoreThumbnails(m_root.Path(), {
                                                            {"thumb", 1, 0, kFirst},
                                                            {"thumb", 1, 9999, kBeforeBoundary},
                                                            {"thumb", 1, 10000, kAfterBoundary},
                                                            {"thumb", 1, 655360000, kLarge},
                                                            {"thumb", 2, 0, kKindTwo},
                                                            {"thumb", 1, kLastId, kLast},
                                                            {"albm", 2, 12, kAlbum},
                                                        });
    }

    fs::path Shard(const std::string& folder, const std::string& name) const {
        return m_root / "database" / folder / name;
    }

    TempFolder m_root;
};

TEST_F(ThumbCommand, TheLibrarysShardFilesAreWhereTheToolLooks) {
    // The library made these names; the tool reads from the same ones below.
    for (const char* name : {"00000000.db", "00000001.db", "00010000.db", "BAC710CB.db"})
        EXPECT_TRUE(fs::is_regular_file(Shard("thumb_0s", name))) << name;
    EXPECT_TRUE(fs::is_regular_file(Shard("thumb_1s", "00000000.db")));
    EXPECT_TRUE(fs::is_regular_file(Shard("albm_1s", "00000000.db")));
}

TEST_F(ThumbCommand, WritesTheStoredBytesToStandardOutput) {
    struct Case {
        std::vector<std::string> arguments;
        const std::string& bytes;
    };
    const std::vector<Case> cases = {
        {{"0"}, kFirst},
        {{"9999"}, kBeforeBoundary},
        {{"10000"}, kAfterBoundary},
        {{"655360000"}, kLarge},
        {{"0", "--kind", "2"}, kKindTwo},
        {{"0", "--kind=1"}, kFirst},
        {{"18446744073709551615"}, kLast},
        {{"000000000000000000000000018446744073709551615"}, kLast},
        {{"12", "--family", "albm", "--kind", "2"}, kAlbum},
        {{"9999", "-o", "-"}, kBeforeBoundary},
    };
    for (const Case& thumbnail : cases) {
        std::vector<std::string> arguments = {"thumb", m_root.Utf8()};
        arguments.insert(arguments.end(), thumbnail.arguments.begin(), thumbnail.arguments.end());
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 0) << thumbnail.arguments[0] << ": " << run.err;
        EXPECT_EQ(run.err, "") << thumbnail.arguments[0];
        EXPECT_EQ(run.out.size(), thumbnail.bytes.size()) << thumbnail.arguments[0];
        EXPECT_TRUE(run.out == thumbnail.bytes) << thumbnail.arguments[0];
    }
}

TEST_F(ThumbCommand, WritesTheBytesToAFileNamedWithO) {
    TempFolder out;
    fs::path file = out / "first.jpg";
    ToolRun run = RunZandb4({"thumb", m_root.Utf8(), "0", "-o", file.string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(ReadBytes(file) == kFirst);

    // An existing file is replaced whole, even by fewer bytes.
    ToolRun again = RunZandb4({"thumb", "-o=" + file.string(), m_root.Utf8(), "12", "--family=albm", "--kind=2"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(ReadBytes(file), kAlbum);
}

TEST_F(ThumbCommand, NoSuchThumbnailIsExitOneNamingTheShardFile) {
    TempFolder out;
    struct Case {
        std::vector<std::string> arguments;
        fs::path subject;
        std::string reason;
    };
    const std::vector<Case> cases = {
        // The shard file is there, the row is not.
        {{"1"}, Shard("thumb_0s", "00000000.db"), "no thumbnail of kind 1 for file 1"},
        {{"10001", "--kind", "1"}, Shard("thumb_0s", "00000001.db"), "no thumbnail of kind 1 for file 10001"},
        // A row's key is the whole identifier: 2^64 - 1 - 10000 * 2^32 has
        // the same file name but no row.
        {{"18446701124036591615"},
         Shard("thumb_0s", "BAC710CB.db"),
         "no thumbnail of kind 1 for file 18446701124036591615"},
        // No shard file for the identifier's run.
        {{"20000"},
         Shard("thumb_0s", "00000002.db"),
         "no thumbnail of kind 1 for file 20000 (the shard file does not exist)"},
        {{"10000", "--kind", "2"},
         Shard("thumb_1s", "00000001.db"),
         "no thumbnail of kind 2 for file 10000 (the shard file does not exist)"},
        // No folder for the family's kind.
        {{"3", "--family", "psni"},
         m_root / "database" / "psni_0s",
         "no thumbnail of kind 1 for person 3 (the folder does not exist)"},
        {{"12", "--family", "albm"},
         m_root / "database" / "albm_0s",
         "no thumbnail of kind 1 for album 12 (the folder does not exist)"},
    };
    for (const Case& missing : cases) {
        std::vector<std::string> arguments = {"thumb", m_root.Utf8(), "-o", (out / "none.jpg").string()};
        arguments.insert(arguments.end(), missing.arguments.begin(), missing.arguments.end());
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 1) << missing.arguments[0];
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zandb4 thumb: " + missing.subject.string() + ": " + missing.reason + "\n");
        // Nothing was written for a thumbnail that is not there.
        EXPECT_FALSE(fs::exists(out / "none.jpg")) << missing.arguments[0];
    }
    EXPECT_FALSE(fs::exists(m_root / "database" / "psni_0s"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "albm_0s"));
}

TEST_F(ThumbCommand, BadArgumentsAreUsageErrors) {
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    const std::string id = "not a whole number from 0 to 18446744073709551615\n";
    const std::vector<Case> cases = {
        {{"abc"}, "bad ID 'abc': " + id},
        {{"-1"}, "bad ID '-1': " + id},
        {{"-18446744073709551615"}, "bad ID '-18446744073709551615': " + id},
        {{"18446744073709551616"}, "bad ID '18446744073709551616': " + id},
        {{"99999999999999999999999"}, "bad ID '99999999999999999999999': " + id},
        {{""}, "bad ID '': " + id},
        {{"+5"}, "bad ID '+5': " + id},
        {{" 5"}, "bad ID ' 5': " + id},
        {{"1.5"}, "bad ID '1.5': " + id},
        {{"0x10"}, "bad ID '0x10': " + id},
        {{"5", "--kind", "0"}, "bad kind '0': must be 1 or 2\n"},
        {{"5", "--kind", "3"}, "bad kind '3': must be 1 or 2\n"},
        {{"5", "--kind=one"}, "bad kind 'one': must be 1 or 2\n"},
        {{"5", "--kind", "-1"}, "bad kind '-1': must be 1 or 2\n"},
        {{"5", "--kind="}, "bad kind '': must be 1 or 2\n"},
        {{"5", "--family", "meta"}, "unknown family 'meta': must be one of thumb, psni, pti, psnf, ptf, albm, grf\n"},
        {{"5", "-o", ""}, "-o needs a FILE name ('-' for standard output)\n"},
        {{"5", "--kind", "1", "--kind", "2"}, "option '--kind' given twice\n"},
        {{"5", "-o"}, "option '-o' needs a value (FILE)\n"},
        {{"5", "-x"}, "unknown option '-x'\n"},
        {{}, "missing ID\n"},
        {{"5", "6"}, "unexpected argument '6'\n"},
    };
    TreeSnapshot before = SnapshotTree(m_root.Path());
    for (const Case& usage : cases) {
        std::vector<std::string> arguments = {"thumb", m_root.Utf8()};
        arguments.insert(arguments.end(), usage.arguments.begin(), usage.arguments.end());
        ToolRun run = RunZandb4(arguments);
        std::string shown = usage.arguments.empty() ? "(none)" : usage.arguments.back();
        EXPECT_EQ(run.exitCode, 1) << shown;
        EXPECT_EQ(run.out, "") << shown;
        EXPECT_EQ(run.err.rfind("zandb4 thumb: " + usage.message, 0), 0u) << run.err;
        EXPECT_TRUE(Contains(run.err, "usage: zandb4 thumb ROOT ID")) << run.err;
        EXPECT_TRUE(Contains(run.err, "Try 'zandb4 thumb --help'")) << run.err;
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
}

TEST_F(ThumbCommand, WithoutACatalogueIsExitTwo) {
    TempFolder work;
    fs::create_directories(work / "plain" / "database" / "thumb_0s");
    zandb4::testing::WriteFile(work / "afile", "x");
    struct Case {
        fs::path root;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {work / "missing", "does not exist"},
        {work / "afile", "is not a folder"},
        {work / "plain",
         "holds no catalogue (" + (work / "plain" / "database" / "FileBasic.db").string() + " does not exist)"},
    };
    TreeSnapshot before = SnapshotTree(work.Path());
    for (const Case& root : cases) {
        ToolRun run = RunZandb4({"thumb", root.root.string(), "0"});
        EXPECT_EQ(run.exitCode, 2) << root.root;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zandb4 thumb: " + root.root.string() + ": " + root.reason + "\n");
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(work.Path())), "");
}

TEST_F(ThumbCommand, AShardThatCannotBeReadIsExitFour) {
    TempFolder out;
    fs::path folder = m_root / "database" / "thumb_0s";
    // Random bytes where shard 3 belongs.
    zandb4::testing::WriteFile(folder / "00000003.db", BinaryBytes(7, 8192));
    // An SQLite file without the table.
    zandb4::testing::MakeSqliteFile(folder / "00000004.db", "CREATE TABLE something_else (x INTEGER)");
    // A row whose image is empty, and one whose image is null, as a file
    // written by another program might hold.
    zandb4::testing::MakeSqliteFile(folder / "00000005.db", std::string(kThumbnailTable) +
                                                                "; INSERT INTO thumbnail_table VALUES "
                                                                "(50000, 0, X'', 0), (50001, 0, NULL, 0)");
    // A folder where shard 6 belongs.
    fs::create_directories(folder / "00000006.db");
    // A file where the folder of kind 1 of the pets belongs.
    zandb4::testing::WriteFile(m_root / "database" / "pti_0s", "not a folder");

    struct Case {
        std::vector<std::string> arguments;
        fs::path subject;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {{"30000"}, folder / "00000003.db", "not a database (the file is not an SQLite file)"},
        {{"40000"}, folder / "00000004.db", "not a thumbnail shard (it has no thumbnail_table)"},
        {{"50000"},
         folder / "00000005.db",
         "the thumbnail of kind 1 for file 50000 holds no bytes (its thumbnail_data is empty)"},
        {{"50001"},
         folder / "00000005.db",
         "the thumbnail of kind 1 for file 50001 holds no bytes (its thumbnail_data is empty)"},
        {{"60000"}, folder / "00000006.db", "cannot be opened (it is a folder)"},
        {{"1", "--family", "pti"}, m_root / "database" / "pti_0s", "is not a folder"},
    };
    TreeSnapshot before = SnapshotTree(m_root.Path());
    for (const Case& unreadable : cases) {
        std::vector<std::string> arguments = {"thumb", m_root.Utf8(), "-o", (out / "t.jpg").string()};
        arguments.insert(arguments.end(), unreadable.arguments.begin(), unreadable.arguments.end());
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 4) << unreadable.arguments[0];
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zandb4 thumb: " + unreadable.subject.string() + ": " + unreadable.reason + "\n");
        EXPECT_FALSE(fs::exists(out / "t.jpg")) << unreadable.arguments[0];
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
}

TEST_F(ThumbCommand, DamagedPagesOfAShardAreReportedAsDamage) {
    fs::path shard = Shard("thumb_0s", "00010000.db");
    std::string bytes = ReadBytes(shard);
    ASSERT_GT(bytes.size(), 8192u);
    // The first page (the header and the schema) stays; every page after it
    // is overwritten, the rows of the large image among them.
    std::string noise = BinaryBytes(8, bytes.size());
    zandb4::testing::WriteFile(shard, bytes.substr(0, 4096) + noise.substr(4096));
    ToolRun run = RunZandb4({"thumb", m_root.Utf8(), "655360000"});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Contains(run.err, "zandb4 thumb: " + shard.string() + ": damaged (")) << run.err;
}

TEST_F(ThumbCommand, AShardLockedByAnotherProcessIsReportedAfterTheWait) {
    fs::path shard = Shard("thumb_0s", "00000000.db");
    TreeSnapshot before = SnapshotTree(m_root.Path());
    {
        SqliteProbe other(shard);
        ASSERT_EQ(other.Exec("BEGIN EXCLUSIVE"), SQLITE_OK);
        auto started = std::chrono::steady_clock::now();
        ToolRun run = RunZandb4({"thumb", m_root.Utf8(), "0"});
        EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1500));
        EXPECT_EQ(run.exitCode, 4);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zandb4 thumb: " + shard.string() +
                               ": locked by another process (still locked after waiting 2000 ms)\n");
        ASSERT_EQ(other.Exec("ROLLBACK"), SQLITE_OK);
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    EXPECT_TRUE(RunZandb4({"thumb", m_root.Utf8(), "0"}).out == kFirst);
}

TEST_F(ThumbCommand, AnOutputThatCannotBeWrittenIsExitFiveAndLeavesNoFile) {
    TempFolder out;
    fs::path below = out / "missing" / "t.jpg";
    ToolRun run = RunZandb4({"thumb", m_root.Utf8(), "0", "-o", below.string()});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_EQ(run.err, "zandb4 thumb: " + below.string() + ": cannot be written (No such file or directory)\n");
    EXPECT_FALSE(fs::exists(out / "missing"));

    fs::create_directories(out / "a folder");
    ToolRun folder = RunZandb4({"thumb", m_root.Utf8(), "0", "-o", (out / "a folder").string()});
    EXPECT_EQ(folder.exitCode, 5);
    EXPECT_EQ(folder.err, "zandb4 thumb: " + (out / "a folder").string() + ": cannot be written (it is a folder)\n");
    EXPECT_TRUE(fs::is_directory(out / "a folder"));

    // A device that takes no byte: the write fails and nothing is claimed.
    if (fs::exists("/dev/full")) {
        ToolRun full = RunZandb4({"thumb", m_root.Utf8(), "0", "-o", "/dev/full"});
        EXPECT_EQ(full.exitCode, 5);
        EXPECT_EQ(full.err, "zandb4 thumb: /dev/full: cannot be written (No space left on device)\n");
    }
}

TEST_F(ThumbCommand, StandardOutputThatCannotBeWrittenIsExitFive) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    std::string command =
        std::string("'") + ZANDB4_TOOL_PATH + "' thumb '" + m_root.Utf8() + "' 0 >/dev/full 2>/dev/null";
    int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 5);
}

TEST_F(ThumbCommand, ReadingLeavesTheRootUnchanged) {
    TempFolder out;
    TreeSnapshot before = SnapshotTree(m_root.Path());
    const std::vector<std::vector<std::string>> runs = {
        {"0"},
        {"0", "-o", (out / "a.jpg").string()},
        {"18446744073709551615"},
        {"1"},
        {"20000"},
        {"3", "--family", "grf"},
        {"3", "--family", "grf", "--kind", "2"},
        {"0", "--kind", "2"},
        {"10000", "--kind", "2"},
        {"bad"},
        {"0", "--help"},
    };
    for (const std::vector<std::string>& extra : runs) {
        std::vector<std::string> arguments = {"thumb", m_root.Utf8()};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        ToolRun run = RunZandb4(arguments);
        EXPECT_NE(run.exitCode, -1);
        EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "") << extra[0];
    }
    EXPECT_TRUE(ReadBytes(out / "a.jpg") == kFirst);
    EXPECT_FALSE(fs::exists(m_root / "database" / "grf_0s"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "grf_1s"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "thumb_0s" / "00000002.db"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "thumb_1s" / "00000001.db"));
}

// The command run in this process with standard output said to be a
// terminal.
int RunInProcess(const std::vector<std::string>& arguments, bool outIsTerminal, std::string& out, std::string& err) {
    using namespace zandb4::tool;
    const Command* commands[] = {&zandb4::tool::ThumbCommand()};
    std::vector<const char*> argv;
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    std::ostringstream outStream, errStream;
    int code = RunTool(commands, argv, outStream, errStream, false, outIsTerminal);
    out = outStream.str();
    err = errStream.str();
    return code;
}

TEST_F(ThumbCommand, RefusesToWriteToATerminalUnlessToldTo) {
    std::string out, err;
    EXPECT_EQ(RunInProcess({"thumb", m_root.Utf8(), "0"}, true, out, err), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err.rfind("zandb4 thumb: standard output is a terminal: give -o FILE, or -o - to write the bytes to "
                        "the terminal all the same\n",
                        0),
              0u)
        << err;
    // "-o -" writes there all the same; a pipe or file needs no option.
    EXPECT_EQ(RunInProcess({"thumb", m_root.Utf8(), "0", "-o", "-"}, true, out, err), 0) << err;
    EXPECT_TRUE(out == kFirst);
    EXPECT_EQ(RunInProcess({"thumb", m_root.Utf8(), "0"}, false, out, err), 0) << err;
    EXPECT_TRUE(out == kFirst);
    // A file named with -o is written whatever standard output is.
    TempFolder folder;
    EXPECT_EQ(RunInProcess({"thumb", m_root.Utf8(), "0", "-o", (folder / "t.jpg").string()}, true, out, err), 0);
    EXPECT_EQ(out, "");
    EXPECT_TRUE(ReadBytes(folder / "t.jpg") == kFirst);
}

// The built tool with its standard output on a real pseudo-terminal: what
// reaches the terminal, and the exit code.
struct TerminalRun {
    int exitCode = -1;
    std::string shown;
    std::string err;
};

TerminalRun RunOnTerminal(const std::vector<std::string>& arguments) {
    TerminalRun run;
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return run;
    std::string terminal = ptsname(master);
    TempFolder capture;
    std::string command = std::string("'") + ZANDB4_TOOL_PATH + "'";
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " >" + terminal + " 2>'" + (capture / "err.txt").string() + "' </dev/null";
    int status = std::system(command.c_str());
    run.exitCode = status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
    char buffer[4096];
    ssize_t got = 0;
    while ((got = read(master, buffer, sizeof buffer)) > 0) run.shown.append(buffer, static_cast<size_t>(got));
    close(master);
    run.err = ReadBytes(capture / "err.txt");
    return run;
}

TEST_F(ThumbCommand, OnARealTerminalNothingIsWrittenWithoutDashOMinus) {
    // Bytes that a terminal passes through unchanged.
    zandb4::testing::StoreThumbnails(m_root.Path(), {{"thumb", 1, 77, "plain-letters"}});
    TerminalRun refused = RunOnTerminal({"thumb", m_root.Utf8(), "77"});
    ASSERT_NE(refused.exitCode, -1) << "no pseudo-terminal";
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.shown, "");
    EXPECT_TRUE(Contains(refused.err, "standard output is a terminal")) << refused.err;
    TerminalRun forced = RunOnTerminal({"thumb", m_root.Utf8(), "77", "-o", "-"});
    EXPECT_EQ(forced.exitCode, 0) << forced.err;
    EXPECT_EQ(forced.shown, "plain-letters");
}

}  // namespace
