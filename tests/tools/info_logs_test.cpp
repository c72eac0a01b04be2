// The memory data and usage log lines of "zandb4 info": the entries of
// database/Memory.db and the rows of each table of database/UserLog.db,
// written through the library's managers, and what the report says of a
// store that is missing, older or not a database. Nothing is made.
#include <gtest/gtest.h>

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
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class InfoLogs : public ::testing::Test {
protected:
    // A catalogue with two memos, and in the usage log three day values, a
    // string, a launch day, one kept history and two edit parameters.
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(), {});
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        {
            ComPtr<IZanDB4MemoryDataMgr> memory;
            ComPtr<IZanDB4AccessLogDBMgr> log;
            ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemoryDataMgr, reinterpret_cast<void**>(memory.Receive())),
                      S_OK);
            ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AccessLogDBMgr, reinterpret_cast<void**>(log.Receive())), S_OK);
            EXPECT_EQ(memory->AddData(1, u"window", "abc", 3, nullptr), S_OK);
            EXPECT_EQ(memory->AddData(2, u"it's", "d", 1, nullptr), S_OK);
            SYSTEMTIME moment{};
            moment.wYear = 2024;
            moment.wMonth = 2;
            for (uint16_t day = 1; day <= 3; ++day) {
                moment.wDay = day;
                CZanTDateTime date(moment);
                EXPECT_EQ(log->SetDailyBits(4, 1, &date), S_OK);
            }
            EXPECT_EQ(log->AddString(u"Grandma's", 1), S_OK);
            EXPECT_EQ(log->AddLaunchCount(2, nullptr), S_OK);
            int64_t key = 0;
            EXPECT_EQ(log->BeginHistory(&key, nullptr), S_OK);
            for (int32_t item : {1, 2, 3}) EXPECT_EQ(log->AddHistoryItem(key, item), S_OK);
            EXPECT_EQ(log->EndHistory(key), S_OK);
            EXPECT_EQ(log->AddEditParamCount(1, 1), S_OK);
            EXPECT_EQ(log->AddEditParamCount(2, 1), S_OK);
        }
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    TempFolder m_root;
};

TEST_F(InfoLogs, TextEndsWithTheMemosAndTheUsageCounts) {
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "\nmemos   2 entries\nusage   3 day values, 1 string, 1 launch day, 1 history, "
                                  "2 edit parameters\n"))
        << run.out;
    EXPECT_TRUE(Contains(run.out, "  database/UserLog.db  version 1201, page size 4096\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "    memory_data: 2 rows\n")) << run.out;
}

TEST_F(InfoLogs, JsonHasTheMemoryDataAndUsageLogMembers) {
    ToolRun run = RunZandb4({"info", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    const JsonValue& memory = *report->Find("memory_data");
    EXPECT_TRUE(memory.Find("present")->boolean);
    EXPECT_EQ(memory.Find("problem")->type, JsonValue::Type::kNull);
    EXPECT_EQ(memory.Find("entries")->Integer(), 2);
    const JsonValue& usage = *report->Find("usage_log");
    EXPECT_TRUE(usage.Find("present")->boolean);
    EXPECT_EQ(usage.Find("day_values")->Integer(), 3);
    EXPECT_EQ(usage.Find("strings")->Integer(), 1);
    EXPECT_EQ(usage.Find("launch_days")->Integer(), 1);
    EXPECT_EQ(usage.Find("histories")->Integer(), 1);
    EXPECT_EQ(usage.Find("edit_parameters")->Integer(), 2);
}

TEST_F(InfoLogs, MissingStoresAreReportedAsMissingAndNotMade) {
    fs::remove(m_root / "database" / "Memory.db");
    fs::remove(m_root / "database" / "UserLog.db");
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "memos   (database/Memory.db missing)\nusage   (database/UserLog.db missing)\n"))
        << run.out;
    EXPECT_FALSE(fs::exists(m_root / "database" / "Memory.db"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "UserLog.db"));
    run = RunZandb4({"info", m_root.Utf8(), "--json"});
    std::optional<JsonValue> report = ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_FALSE(report->Find("memory_data")->Find("present")->boolean);
    EXPECT_EQ(report->Find("memory_data")->Find("entries")->type, JsonValue::Type::kNull);
    EXPECT_FALSE(report->Find("usage_log")->Find("present")->boolean);
}

TEST_F(InfoLogs, AnOlderUsageLogShowsWhatItsTablesHold) {
    fs::remove(m_root / "database" / "UserLog.db");
    zandb4::testing::MakeSqliteFile(m_root / "database" / "UserLog.db",
                                    "CREATE TABLE version_info_table (version INTEGER);"
                                    "INSERT INTO version_info_table VALUES(1000);"
                                    "CREATE TABLE access_date_log_data (log_date INTEGER,log_type INTEGER, "
                                    "log_subtype INTEGER, log_data INTEGER, sub_log_data INTEGER);"
                                    "CREATE TABLE access_string_data (log_type INTEGER, log_string TEXT);"
                                    "INSERT INTO access_string_data VALUES (1, 'a');");
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "usage   0 day values, 1 string, ? launch days, ? histories, ? edit parameters\n"))
        << run.out;
}

TEST_F(InfoLogs, AStoreThatIsNotADatabaseIsNamedWithItsReason) {
    zandb4::testing::WriteFile(m_root / "database" / "Memory.db", "text, not a database");
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    // Only the catalogue decides the exit code.
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "memos   (not a database")) << run.out;
    run = RunZandb4({"info", m_root.Utf8(), "--json"});
    std::optional<JsonValue> report = ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_TRUE(Contains(report->Find("memory_data")->Find("problem")->text, "not a database"));
}

}  // namespace
