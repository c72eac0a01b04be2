// The command line of the zandb4 tool as a new user meets it: help for the
// tool and for every command (which touches nothing), the version, usage
// errors that say what was wrong and where the help is, and failures of
// init that name the path, the result code and the reason.
#include <gtest/gtest.h>

#include <sstream>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::JsonValue;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;
using zandb4::testing::TreeSnapshot;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The command names listed under "commands:" by zandb4 --help. A name may
// be two words ("gps import"); two spaces end it.
std::vector<std::string> ListedCommands() {
    ToolRun help = RunZandb4({"--help"});
    std::vector<std::string> names;
    std::istringstream lines(help.out);
    bool inList = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == "commands:") {
            inList = true;
        } else if (inList && line.rfind("  ", 0) == 0) {
            names.push_back(line.substr(2, line.find("  ", 2) - 2));
        } else if (inList) {
            break;
        }
    }
    return names;
}

// A command's name as arguments: "gps import" is two.
std::vector<std::string> Words(const std::string& name) {
    std::vector<std::string> words;
    std::istringstream parts(name);
    for (std::string word; parts >> word;) words.push_back(word);
    return words;
}

TEST(ToolCommandLine, HelpListsEveryCommandAndTheExitCodes) {
    for (const char* option : {"--help", "-h"}) {
        ToolRun run = RunZandb4({option});
        EXPECT_EQ(run.exitCode, 0) << option;
        EXPECT_EQ(run.err, "");
        EXPECT_TRUE(Contains(run.out, "usage: zandb4 COMMAND")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  init        make (or open) the catalogue under ROOT")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  info        list the folders and stores")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  ls          list the files of the catalogue")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  thumb       write one stored thumbnail's bytes")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  commit      move the files waiting in staging")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  tags        list the tags of the catalogue")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  albums      list the albums of the catalogue")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  import      add the pictures and movies of folders")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  stats       chart the launches per month")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  applog      show the counters and records of the application log"))
            << run.out;
        EXPECT_TRUE(Contains(run.out, "  gps import  store GPX track logs")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  gps geotag  give the files of the catalogue under ROOT without a position"))
            << run.out;
        EXPECT_TRUE(Contains(run.out, "  gps ls      list the GPS logs")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  upgrade     bring every store under ROOT to the schema")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  compact     give the free pages of the catalogue")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  backup      copy the database folder under ROOT aside")) << run.out;
        EXPECT_TRUE(Contains(run.out, "  check       check every store and shard file under ROOT")) << run.out;
        for (const char* code : {"  0  success", "  1  bad usage", "  2  ROOT missing",
                                 "  3  the library could not start", "  4  the catalogue cannot be read",
                                 "  5  the output cannot be written", "  6  import stopped by Ctrl-C"})
            EXPECT_TRUE(Contains(run.out, code)) << code << "\n" << run.out;
    }
    EXPECT_EQ(ListedCommands(),
              (std::vector<std::string>{"init", "info", "ls", "thumb", "commit", "tags", "albums", "import", "faces",
                                        "stats", "applog", "gps import", "gps geotag", "gps ls", "upgrade", "compact",
                                        "backup", "check"}));
}

TEST(ToolCommandLine, EveryCommandHasHelpThatTouchesNothing) {
    TempFolder cwd;
    TreeSnapshot before = SnapshotTree(cwd.Path());
    for (const std::string& command : ListedCommands()) {
        for (const std::vector<std::string>& tail : std::vector<std::vector<std::string>>{
                 {"--help"}, {"-h"}, {"somewhere", "--help"}, {"--bogus", "-h"}, {"help"}}) {
            std::vector<std::string> arguments = Words(command);
            arguments.insert(tail[0] == "help" ? arguments.begin() : arguments.end(), tail.begin(), tail.end());
            ToolRun run = RunZandb4(arguments, cwd.Path());
            EXPECT_EQ(run.exitCode, 0) << command;
            EXPECT_EQ(run.err, "") << command;
            EXPECT_EQ(run.out.rfind("usage: zandb4 " + command + " ROOT", 0), 0u) << run.out;
            EXPECT_TRUE(Contains(run.out, "\n  -h, --help ")) << run.out;
            EXPECT_TRUE(Contains(run.out, " show this help\n")) << run.out;
            EXPECT_TRUE(Contains(run.out, "exit codes:")) << run.out;
        }
    }
    // In particular "init --help" made no catalogue in a folder "--help".
    EXPECT_EQ(TreeDifference(before, SnapshotTree(cwd.Path())), "");
    EXPECT_FALSE(fs::exists(cwd / "--help"));
}

TEST(ToolCommandLine, AGroupOfCommandsListsItsCommands) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"gps", "--help"}, {"gps", "-h"}, {"help", "gps"}}) {
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.out.rfind("usage: zandb4 gps COMMAND ARGUMENTS...\n", 0), 0u) << run.out;
        EXPECT_TRUE(Contains(run.out, "\ncommands:\n  gps import  store GPX track logs")) << run.out;
        EXPECT_TRUE(Contains(run.out, "\n  gps geotag  ")) << run.out;
        EXPECT_TRUE(Contains(run.out, "\n  gps ls      ")) << run.out;
        EXPECT_TRUE(Contains(run.out, "exit codes:")) << run.out;
    }
}

TEST(ToolCommandLine, DoubleDashEndsTheOptions) {
    TempFolder cwd;
    ToolRun run = RunZandb4({"init", "--", "--help"}, cwd.Path());
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(fs::exists(cwd / "--help" / "database" / "FileBasic.db"));
}

TEST(ToolCommandLine, VersionIsTheProjectVersion) {
    ToolRun run = RunZandb4({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, std::string("zandb4 ") + ZANDB4_EXPECTED_VERSION + "\n");
    EXPECT_EQ(run.err, "");
}

TEST(ToolCommandLine, UsageErrorsSayWhatWasWrong) {
    TempFolder cwd;
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
        std::string help;
    };
    const std::vector<Case> cases = {
        {{}, "zandb4: missing COMMAND\n", "Try 'zandb4 --help'"},
        {{"frobnicate", "x"}, "zandb4: unknown command 'frobnicate'\n", "Try 'zandb4 --help'"},
        {{"--frobnicate"}, "zandb4: unknown option '--frobnicate'\n", "Try 'zandb4 --help'"},
        {{"help", "nope"}, "zandb4: unknown command 'nope'\n", "Try 'zandb4 --help'"},
        {{"init"}, "zandb4 init: missing ROOT\n", "Try 'zandb4 init --help'"},
        {{"info"}, "zandb4 info: missing ROOT\n", "Try 'zandb4 info --help'"},
        {{"ls"}, "zandb4 ls: missing ROOT\n", "Try 'zandb4 ls --help'"},
        {{"ls", "--json"}, "zandb4 ls: missing ROOT\n", "Try 'zandb4 ls --help'"},
        {{"tags"}, "zandb4 tags: missing ROOT\n", "Try 'zandb4 tags --help'"},
        {{"albums", "--json"}, "zandb4 albums: missing ROOT\n", "Try 'zandb4 albums --help'"},
        {{"tags", "a", "b"}, "zandb4 tags: unexpected argument 'b'\n", "Try 'zandb4 tags --help'"},
        {{"albums", "r", "--where", "album=1"},
         "zandb4 albums: unknown option '--where'\n",
         "Try 'zandb4 albums --help'"},
        {{"info", "a", "b"}, "zandb4 info: unexpected argument 'b'\n", "Try 'zandb4 info --help'"},
        {{"import"}, "zandb4 import: missing ROOT\n", "Try 'zandb4 import --help'"},
        {{"faces"}, "zandb4 faces: missing ROOT\n", "Try 'zandb4 faces --help'"},
        {{"faces", "r", "--person"}, "zandb4 faces: option '--person' needs a value (NAME)\n",
         "Try 'zandb4 faces --help'"},
        {{"import", "r", "--recursive"}, "zandb4 import: missing FOLDER\n", "Try 'zandb4 import --help'"},
        {{"stats"}, "zandb4 stats: missing ROOT\n", "Try 'zandb4 stats --help'"},
        {{"applog"}, "zandb4 applog: missing ROOT\n", "Try 'zandb4 applog --help'"},
        {{"applog", "r", "--json=yes"}, "zandb4 applog: option '--json' takes no value\n",
         "Try 'zandb4 applog --help'"},
        {{"applog", "r", "s"}, "zandb4 applog: unexpected argument 's'\n", "Try 'zandb4 applog --help'"},
        {{"stats", "r", "--from"}, "zandb4 stats: option '--from' needs a value (YYYY-MM)\n",
         "Try 'zandb4 stats --help'"},
        {{"stats", "r", "--to", "2024-13"}, "zandb4 stats: --to: '2024-13' is not a month", "Try 'zandb4 stats --help'"},
        {{"stats", "r", "--from", "2024-05", "--to", "2024-04"},
         "zandb4 stats: --to 2024-04 lies before --from 2024-05\n",
         "Try 'zandb4 stats --help'"},
        {{"import", "r", "f", "--batch", "0"},
         "zandb4 import: bad batch size '0': must be a number from 1 to",
         "Try 'zandb4 import --help'"},
        {{"import", "r", "f", "g", "--batch", "ten"},
         "zandb4 import: bad batch size 'ten'",
         "Try 'zandb4 import --help'"},
        {{"import", "r", "f", "--batch"},
         "zandb4 import: option '--batch' needs a value (N)\n",
         "Try 'zandb4 import --help'"},
        {{"init", "r", "--sort"}, "zandb4 init: unknown option '--sort'\n", "Try 'zandb4 init --help'"},
        {{"info", "r", "-x"}, "zandb4 info: unknown option '-x'\n", "Try 'zandb4 info --help'"},
        {{"info", "r", "--where", "format=1"}, "zandb4 info: unknown option '--where'\n", "Try 'zandb4 info --help'"},
        {{"ls", "r", "--json=yes"}, "zandb4 ls: option '--json' takes no value\n", "Try 'zandb4 ls --help'"},
        {{"ls", "r", "--json", "--json"}, "zandb4 ls: option '--json' given twice\n", "Try 'zandb4 ls --help'"},
        {{"ls", "r", "--where"}, "zandb4 ls: option '--where' needs a value (KEY=VALUE)\n", "Try 'zandb4 ls --help'"},
        {{"ls", "r", "--where", "x=1"}, "zandb4 ls: bad condition 'x=1': unknown key 'x'", "Try 'zandb4 ls --help'"},
        {{"gps"}, "zandb4: missing gps COMMAND (import, geotag, ls)\n", "Try 'zandb4 --help'"},
        {{"gps", "frob", "r"}, "zandb4: unknown command 'gps frob'\n", "Try 'zandb4 --help'"},
        {{"help", "gps", "import", "r"}, "zandb4: help takes one COMMAND\n", "Try 'zandb4 --help'"},
        {{"gps", "import"}, "zandb4 gps import: missing ROOT\n", "Try 'zandb4 gps import --help'"},
        {{"gps", "import", "r"}, "zandb4 gps import: missing FILE\n", "Try 'zandb4 gps import --help'"},
        {{"gps", "import", "r", "f", "--offset", "+01:00"},
         "zandb4 gps import: unknown option '--offset'\n",
         "Try 'zandb4 gps import --help'"},
        {{"gps", "import", "r", "f", "--tz"},
         "zandb4 gps import: option '--tz' needs a value (ZONE)\n",
         "Try 'zandb4 gps import --help'"},
        {{"gps", "geotag", "r", "s"}, "zandb4 gps geotag: unexpected argument 's'\n", "Try 'zandb4 gps geotag --help'"},
        {{"gps", "ls", "r", "--dry-run"}, "zandb4 gps ls: unknown option '--dry-run'\n", "Try 'zandb4 gps ls --help'"},
    };
    TreeSnapshot before = SnapshotTree(cwd.Path());
    for (const Case& usage : cases) {
        ToolRun run = RunZandb4(usage.arguments, cwd.Path());
        std::string shown = usage.arguments.empty() ? "(none)" : usage.arguments[0];
        EXPECT_EQ(run.exitCode, 1) << shown;
        EXPECT_EQ(run.out, "") << shown;
        EXPECT_EQ(run.err.rfind(usage.message, 0), 0u) << run.err;
        EXPECT_TRUE(Contains(run.err, "usage: zandb4 ")) << run.err;
        EXPECT_TRUE(Contains(run.err, usage.help)) << run.err;
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(cwd.Path())), "");
}

TEST(ToolCommandLine, AFailedStartNamesTheCodeAndTheReason) {
    TempFolder work;
    fs::create_directories(work / "root");
    zandb4::testing::WriteFile(work / "root" / "database", "a file where the folder should be");
    ToolRun run = RunZandb4({"init", (work / "root").string()});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 init: " + (work / "root").string() +
                           ": the library could not start: E_ACCESSDENIED (0x80070005): access denied\n");
    EXPECT_TRUE(fs::is_regular_file(work / "root" / "database"));
}

TEST(ToolCommandLine, InitOnAFileOrAPathThatCannotBeMade) {
    TempFolder work;
    zandb4::testing::WriteFile(work / "afile", "x");
    ToolRun file = RunZandb4({"init", (work / "afile").string()});
    EXPECT_EQ(file.exitCode, 2);
    EXPECT_EQ(file.err, "zandb4 init: " + (work / "afile").string() + ": is not a folder\n");
    ToolRun below = RunZandb4({"init", (work / "afile" / "root").string()});
    EXPECT_EQ(below.exitCode, 2);
    EXPECT_TRUE(Contains(below.err, "zandb4 init: " + (work / "afile" / "root").string() + ": cannot be made ("))
        << below.err;
    EXPECT_EQ(SnapshotTree(work.Path()).size(), 2u);  // the folder and afile
}

TEST(ToolCommandLine, InitAsJsonDescribesTheNewCatalogue) {
    TempFolder work;
    fs::path root = work / "new" / "root";
    ToolRun run = RunZandb4({"init", root.string(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_EQ(report->Find("root")->text, root.string());
    const JsonValue* catalogue = report->Find("catalogue");
    ASSERT_NE(catalogue, nullptr);
    EXPECT_EQ(catalogue->Find("state")->text, "readable");
    EXPECT_EQ(catalogue->Find("problem")->type, JsonValue::Type::kNull);
    EXPECT_EQ(catalogue->Find("file")->text, (root / "database" / "FileBasic.db").string());
    const JsonValue* folders = report->Find("folders");
    ASSERT_NE(folders, nullptr);
    ASSERT_EQ(folders->items.size(), 2u);
    EXPECT_EQ(folders->items[0].Find("name")->text, "database");
    EXPECT_TRUE(folders->items[0].Find("present")->boolean);
    EXPECT_EQ(folders->items[1].Find("name")->text, "information");
    EXPECT_TRUE(folders->items[1].Find("present")->boolean);
    const JsonValue& entries = *folders->items[0].Find("entries");
    // The catalogue, and beside it the staging, GPS log, memory data and
    // usage log stores.
    ASSERT_EQ(entries.items.size(), 5u);
    EXPECT_EQ(entries.items[1].Find("name")->text, "database/FileBasicAsync.db");
    EXPECT_EQ(entries.items[1].Find("kind")->text, "store");
    EXPECT_EQ(entries.items[2].Find("name")->text, "database/Location.db");
    EXPECT_EQ(entries.items[2].Find("kind")->text, "store");
    EXPECT_EQ(entries.items[3].Find("name")->text, "database/Memory.db");
    EXPECT_EQ(entries.items[3].Find("kind")->text, "store");
    EXPECT_EQ(entries.items[4].Find("name")->text, "database/UserLog.db");
    EXPECT_EQ(entries.items[4].Find("kind")->text, "store");
    const JsonValue& store = entries.items[0];
    EXPECT_EQ(store.Find("name")->text, "database/FileBasic.db");
    EXPECT_EQ(store.Find("kind")->text, "store");
    EXPECT_EQ(store.Find("version")->Integer(), 1201);
    EXPECT_EQ(store.Find("page_size")->Integer(), 4096);
    bool sawFileTable = false;
    for (const JsonValue& table : store.Find("tables")->items) {
        if (table.Find("name")->text != "file_table") continue;
        sawFileTable = true;
        EXPECT_EQ(table.Find("rows")->Integer(), 0);
    }
    EXPECT_TRUE(sawFileTable);
    EXPECT_TRUE(fs::is_directory(root / "information"));
}

}  // namespace
