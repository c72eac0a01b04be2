// "zandb4 stats" run as a user runs it, on usage logs the test wrote through
// the library's access log manager (and older or broken ones written with
// SQLite alone): the chart, the JSON, the months asked for, the months it
// refuses, and the files it cannot read; and that it changes nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/com_ptr.h"
#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"
#include "zandb4.h"

namespace {

namespace fs = std::filesystem;
using zandb4::ComPtr;
using zandb4::testing::JsonValue;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

CZanTDateTime Day(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 12) {
    SYSTEMTIME moment{};
    moment.wYear = year;
    moment.wMonth = month;
    moment.wDay = day;
    moment.wHour = hour;
    return CZanTDateTime(moment);
}

struct Launch {
    CZanTDateTime day;
    uint32_t count;
};
struct DayBits {
    uint32_t type;
    CZanTDateTime day;
    uint32_t bits;
};

// Starts the library on root, records the launches and day bits through
// the access log manager, and stops it, which writes them.
void RecordUsage(const fs::path& root, const std::vector<Launch>& launches, const std::vector<DayBits>& days) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    ASSERT_EQ(ZanDB4_Initialize(wideRoot.GetString()), S_OK);
    {
        ComPtr<IZanDB4AccessLogDBMgr> log;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AccessLogDBMgr, reinterpret_cast<void**>(log.Receive())), S_OK);
        for (const Launch& launch : launches) EXPECT_EQ(log->AddLaunchCount(launch.count, &launch.day), S_OK);
        for (const DayBits& day : days) EXPECT_EQ(log->SetDailyBits(day.type, day.bits, &day.day), S_OK);
        EXPECT_EQ(log->Commit(), S_OK);
    }
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
}

class StatsCommand : public ::testing::Test {
protected:
    void SetUp() override {
        RecordUsage(m_root.Path(),
                    {{Day(2023, 12, 31), 1},
                     {Day(2024, 1, 5), 2},
                     {Day(2024, 1, 20), 3},
                     {Day(2024, 3, 1), 10},
                     {Day(2024, 3, 31, 23), 4}},
                    {{267, Day(2024, 1, 2), 0x1},
                     {267, Day(2024, 1, 3), 0x5},
                     {267, Day(2024, 3, 31), 0x80000001u},
                     {12, Day(2024, 2, 10), 0x2},
                     {12, Day(2023, 12, 1), 0x8}});
    }
    std::string File() const { return (m_root / "database" / "UserLog.db").string(); }

    TempFolder m_root;
};

TEST_F(StatsCommand, ChartsEveryMonthWithDataByDefault) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "usage log " + File() +
                           "\n"
                           "months    2023-12 to 2024-03\n"
                           "\n"
                           "launches per month\n"
                           "  2023-12       1  ###\n"
                           "  2024-01       5  ###############\n"
                           "  2024-02       0\n"
                           "  2024-03      14  ########################################\n"
                           "  total        20\n"
                           "\n"
                           "days with each bit set, kind 12 (2 days with a value)\n"
                           "  bit  1       1  ########################################\n"
                           "  bit  3       1  ########################################\n"
                           "days with each bit set, kind 267 (3 days with a value)\n"
                           "  bit  0       3  ########################################\n"
                           "  bit  2       1  ##############\n"
                           "  bit 31       1  ##############\n");
}

TEST_F(StatsCommand, FromAndToChooseWholeMonths) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", "2024-01", "--to=2024-02"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "months    2024-01 to 2024-02\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  2024-01       5  ########################################\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  2024-02       0\n  total         5\n")) << run.out;
    EXPECT_FALSE(Contains(run.out, "2024-03")) << run.out;
    EXPECT_TRUE(Contains(run.out, "kind 12 (1 day with a value)\n  bit  1       1")) << run.out;
    EXPECT_TRUE(Contains(run.out, "kind 267 (2 days with a value)\n  bit  0       2")) << run.out;
    EXPECT_FALSE(Contains(run.out, "bit 31")) << run.out;
}

TEST_F(StatsCommand, TheLastDayOfToCountsWhateverItsHour) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", "2024-03", "--to", "2024-03", "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> stats = ParseJson(run.out);
    ASSERT_TRUE(stats) << run.out;
    const JsonValue& launches = *stats->Find("launches");
    ASSERT_EQ(launches.items.size(), 1u);
    EXPECT_EQ(launches.items[0].Find("month")->text, "2024-03");
    EXPECT_EQ(launches.items[0].Find("count")->Integer(), 14);
}

TEST_F(StatsCommand, JsonHasEveryMonthAndAllThirtyTwoBitsOfEachKind) {
    ToolRun run = RunZandb4({"stats", "--json", m_root.Utf8(), "--from", "2023-11"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> stats = ParseJson(run.out);
    ASSERT_TRUE(stats) << run.out;
    EXPECT_EQ(stats->Find("file")->text, File());
    EXPECT_EQ(stats->Find("version")->Integer(), 1201);
    EXPECT_EQ(stats->Find("from")->text, "2023-11");
    EXPECT_EQ(stats->Find("to")->text, "2024-03");
    const JsonValue& launches = *stats->Find("launches");
    ASSERT_EQ(launches.items.size(), 5u);
    std::vector<int64_t> counts;
    for (const JsonValue& month : launches.items) counts.push_back(month.Find("count")->Integer());
    EXPECT_EQ(counts, (std::vector<int64_t>{0, 1, 5, 0, 14}));
    EXPECT_EQ(launches.items[4].Find("month")->text, "2024-03");
    const JsonValue& kinds = *stats->Find("kinds");
    ASSERT_EQ(kinds.items.size(), 2u);
    const JsonValue& kind = kinds.items[1];
    EXPECT_EQ(kind.Find("type")->Integer(), 267);
    EXPECT_EQ(kind.Find("days")->Integer(), 3);
    const JsonValue& bits = *kind.Find("bits");
    ASSERT_EQ(bits.items.size(), 32u);
    EXPECT_EQ(bits.items[0].Integer(), 3);
    EXPECT_EQ(bits.items[1].Integer(), 0);
    EXPECT_EQ(bits.items[2].Integer(), 1);
    EXPECT_EQ(bits.items[31].Integer(), 1);
}

TEST_F(StatsCommand, AToMonthBeforeFromIsAUsageError) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", "2024-03", "--to", "2024-02"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Contains(run.err, "zandb4 stats: --to 2024-02 lies before --from 2024-03\n")) << run.err;
    EXPECT_TRUE(Contains(run.err, "Try 'zandb4 stats --help'")) << run.err;
    run = RunZandb4({"stats", m_root.Utf8(), "--from", "2024-01", "--to", "2023-12"});
    EXPECT_EQ(run.exitCode, 1);
}

TEST_F(StatsCommand, MonthsZeroAndThirteenAndOtherTextsAreRefused) {
    for (const std::string month : {"2024-00", "2024-13", "2024-1", "24-01", "2024/01", "0000-05", "2024-01x", ""}) {
        ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", month});
        EXPECT_EQ(run.exitCode, 1) << month;
        EXPECT_TRUE(Contains(run.err, "--from: '" + month + "' is not a month")) << run.err;
        run = RunZandb4({"stats", m_root.Utf8(), "--to", month});
        EXPECT_EQ(run.exitCode, 1) << month;
        EXPECT_TRUE(Contains(run.err, "--to: '" + month + "' is not a month")) << run.err;
    }
}

TEST_F(StatsCommand, ARangeWithoutDataChartsZeros) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", "2020-01", "--to", "2020-02"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "  2020-01       0\n  2020-02       0\n  total         0\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "(no day values in these months)")) << run.out;
}

TEST_F(StatsCommand, OnlyFromBeyondTheDataIsOneMonth) {
    ToolRun run = RunZandb4({"stats", m_root.Utf8(), "--from", "2030-06", "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> stats = ParseJson(run.out);
    ASSERT_TRUE(stats) << run.out;
    EXPECT_EQ(stats->Find("from")->text, "2030-06");
    EXPECT_EQ(stats->Find("to")->text, "2030-06");
    EXPECT_EQ(stats->Find("launches")->items.size(), 1u);
    EXPECT_TRUE(stats->Find("kinds")->items.empty());
}

TEST_F(StatsCommand, ChangesNothingOnDisk) {
    auto before = SnapshotTree(m_root.Path());
    EXPECT_EQ(RunZandb4({"stats", m_root.Utf8()}).exitCode, 0);
    EXPECT_EQ(RunZandb4({"stats", m_root.Utf8(), "--json", "--from", "2024-02"}).exitCode, 0);
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
}

TEST(StatsCommandFiles, AnEmptyUsageLogSaysSoAndSucceeds) {
    TempFolder root;
    RecordUsage(root.Path(), {}, {});
    ToolRun run = RunZandb4({"stats", root.Utf8()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 stats: no launches or day values recorded\n");
    run = RunZandb4({"stats", root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0);
    std::optional<JsonValue> stats = ParseJson(run.out);
    ASSERT_TRUE(stats) << run.out;
    EXPECT_EQ(stats->Find("from")->type, JsonValue::Type::kNull);
    EXPECT_EQ(stats->Find("launches")->type, JsonValue::Type::kArray);
    EXPECT_TRUE(stats->Find("launches")->items.empty());
    EXPECT_TRUE(stats->Find("kinds")->items.empty());
}

TEST(StatsCommandFiles, AMissingUsageLogIsReportedAndNotMade) {
    TempFolder root;
    fs::create_directories(root / "database");
    ToolRun run = RunZandb4({"stats", root.Utf8()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(Contains(run.err, "zandb4 stats: " + root.Utf8() + ": holds no usage log (" +
                                      (root / "database" / "UserLog.db").string() + " does not exist)"))
        << run.err;
    EXPECT_FALSE(fs::exists(root / "database" / "UserLog.db"));
    run = RunZandb4({"stats", (root / "nowhere").string()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(Contains(run.err, "does not exist")) << run.err;
    EXPECT_FALSE(fs::exists(root / "nowhere"));
}

TEST(StatsCommandFiles, AUsageLogThatIsNotADatabaseIsUnreadable) {
    TempFolder root;
    fs::create_directories(root / "database");
    zandb4::testing::WriteFile(root / "database" / "UserLog.db", "not a database, just some text in the way");
    ToolRun run = RunZandb4({"stats", root.Utf8()});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Contains(run.err, "zandb4 stats: " + (root / "database" / "UserLog.db").string() + ": not a database"))
        << run.err;
}

TEST(StatsCommandFiles, AUsageLogOfANewerMajorVersionIsUnreadable) {
    TempFolder root;
    fs::create_directories(root / "database");
    zandb4::testing::MakeSqliteFile(root / "database" / "UserLog.db",
                                    "CREATE TABLE version_info_table (version INTEGER);"
                                    "INSERT INTO version_info_table VALUES(2000);"
                                    "CREATE TABLE access_launch_data (log_date INTEGER, log_count INTEGER);");
    ToolRun run = RunZandb4({"stats", root.Utf8()});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_TRUE(Contains(run.err, "of a newer major version (version 2000")) << run.err;
}

TEST(StatsCommandFiles, AnOlderUsageLogWithoutLaunchesShowsItsBits) {
    TempFolder root;
    fs::create_directories(root / "database");
    const int64_t day = ((int64_t{2019} << 16) + (int64_t{5} << 8) + 1) << 24;
    zandb4::testing::MakeSqliteFile(
        root / "database" / "UserLog.db",
        "CREATE TABLE version_info_table (version INTEGER);"
        "INSERT INTO version_info_table VALUES(1000);"
        "CREATE TABLE access_date_log_data (log_date INTEGER,log_type INTEGER, log_subtype INTEGER, log_data "
        "INTEGER, sub_log_data INTEGER);"
        "INSERT INTO access_date_log_data VALUES(" +
            std::to_string(day) + ", 7, 0, 6, 0);");
    ToolRun run = RunZandb4({"stats", root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "months    2019-05 to 2019-05\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "(this usage log has no launch table: it is of version 1000")) << run.out;
    EXPECT_TRUE(Contains(run.out, "kind 7 (1 day with a value)\n  bit  1       1")) << run.out;
    run = RunZandb4({"stats", root.Utf8(), "--json"});
    std::optional<JsonValue> stats = ParseJson(run.out);
    ASSERT_TRUE(stats) << run.out;
    EXPECT_EQ(stats->Find("launches")->type, JsonValue::Type::kNull);
}

}  // namespace
