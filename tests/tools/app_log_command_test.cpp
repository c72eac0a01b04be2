// "zandb4 applog" run as a user runs it, on application logs the test wrote
// through the library's manager (and others written with SQLite alone):
// the text and JSON, the file's size, age and expiry, the files it cannot
// read, and that it changes nothing and never makes the file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <string>
#include <vector>

#include "app_log_reader.h"
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

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A record as the application hands it to the library.
class Item : public IZanAppLogItem {
public:
    Item(uint32_t version, uint32_t logID, uint32_t logType, std::string bytes)
        : m_version(version), m_logID(logID), m_logType(logType), m_bytes(std::move(bytes)) {}
    virtual ~Item() = default;
    HRESULT QueryInterface(REFIID, void** out) override {
        if (out != nullptr) *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return static_cast<ULONG>(++m_refCount); }
    ULONG Release() override { return static_cast<ULONG>(--m_refCount); }
    uint32_t GetVersion() override { return m_version; }
    uint32_t GetLogID() override { return m_logID; }
    uint32_t GetLogType() override { return m_logType; }
    const void* GetData() override { return m_bytes.data(); }
    uint32_t GetDataSize() override { return static_cast<uint32_t>(m_bytes.size()); }

private:
    std::atomic<int32_t> m_refCount{1};
    uint32_t m_version;
    uint32_t m_logID;
    uint32_t m_logType;
    std::string m_bytes;
};

struct Counter {
    uint32_t logID;
    uint32_t logType;
    uint32_t count;
};
struct Record {
    uint32_t version;
    uint32_t logID;
    uint32_t logType;
    std::string bytes;
};

// Starts the library on root, writes the counters, history and keyed
// records through the application log manager, and stops it.
void RecordAppLog(const fs::path& root, const std::vector<Counter>& counters, const std::vector<Record>& history,
                  const std::vector<Record>& information) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    ASSERT_EQ(ZanDB4_Initialize(wideRoot.GetString()), S_OK);
    {
        ComPtr<IZanDB4AppLogDBMgr> log;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AppLogDBMgr, reinterpret_cast<void**>(log.Receive())), S_OK);
        for (const Counter& counter : counters)
            EXPECT_EQ(log->AddCount(counter.logID, counter.logType, counter.count), S_OK);
        for (const Record& record : history) {
            Item item(record.version, record.logID, record.logType, record.bytes);
            EXPECT_EQ(log->AddHistory(&item), S_OK);
        }
        for (const Record& record : information) {
            Item item(record.version, record.logID, record.logType, record.bytes);
            EXPECT_EQ(log->SetInformation(&item), S_OK);
        }
        EXPECT_EQ(log->Commit(), S_OK);
    }
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
}

class AppLogCommand : public ::testing::Test {
protected:
    fs::path File() const { return m_root / "information" / "appcahce.db"; }
    TempFolder m_root;
};

TEST_F(AppLogCommand, PrintsTheFileTheCountersAndTheRecords) {
    RecordAppLog(m_root.Path(), {{1, 2, 7}, {3, 4, 4000000000u}}, {{5, 10, 1, "first"}, {6, 10, 2, "second record"}},
                 {{9, 20, 3, "keyed"}});
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::string size = std::to_string(fs::file_size(File()));
    EXPECT_EQ(run.out.rfind("application log " + File().string() +
                                "\n"
                                "version   1201\n"
                                "size      " +
                                size +
                                " bytes\n"
                                "created   ",
                            0),
              0u)
        << run.out;
    EXPECT_TRUE(Contains(run.out, " UTC (birth time)\n") || Contains(run.out, " UTC (modification time)\n")) << run.out;
    EXPECT_TRUE(Contains(run.out,
                         "age       0 days\n"
                         "expired   no\n"
                         "\n"
                         "counters: 2 counters\n"
                         "  log_id  log_type       count\n"
                         "       1         2           7\n"
                         "       3         4  4000000000\n"
                         "\n"
                         "history: 2 records\n"
                         "  id  ver  log_id  log_type  size\n"
                         "   1    5      10         1     5\n"
                         "   2    6      10         2    13\n"
                         "\n"
                         "information: 1 record\n"
                         "  id  ver  log_id  log_type  size\n"
                         "   1    9      20         3     5\n"))
        << run.out;
}

TEST_F(AppLogCommand, JsonHoldsTheSameFactsAndRows) {
    RecordAppLog(m_root.Path(), {{1, 2, 7}}, {{5, 10, 1, "first"}}, {});
    ToolRun run = RunZandb4({"applog", m_root.Utf8(), "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_EQ(report->Find("file")->text, File().string());
    EXPECT_EQ(report->Find("version")->Integer(), 1201);
    EXPECT_EQ(report->Find("size")->Integer(), static_cast<int64_t>(fs::file_size(File())));
    EXPECT_EQ(report->Find("age_days")->Integer(), 0);
    EXPECT_FALSE(report->Find("expired")->boolean);
    const std::string createdFrom = report->Find("created_from")->text;
    EXPECT_TRUE(createdFrom == "birth time" || createdFrom == "modification time") << createdFrom;
    EXPECT_TRUE(Contains(report->Find("created")->text, " UTC"));
    const JsonValue& counters = *report->Find("counters");
    ASSERT_EQ(counters.items.size(), 1u);
    EXPECT_EQ(counters.items[0].Find("log_id")->Integer(), 1);
    EXPECT_EQ(counters.items[0].Find("log_type")->Integer(), 2);
    EXPECT_EQ(counters.items[0].Find("count")->Integer(), 7);
    const JsonValue& history = *report->Find("history");
    ASSERT_EQ(history.items.size(), 1u);
    EXPECT_EQ(history.items[0].Find("id")->Integer(), 1);
    EXPECT_EQ(history.items[0].Find("ver")->Integer(), 5);
    EXPECT_EQ(history.items[0].Find("log_id")->Integer(), 10);
    EXPECT_EQ(history.items[0].Find("log_type")->Integer(), 1);
    EXPECT_EQ(history.items[0].Find("size")->Integer(), 5);
    EXPECT_EQ(report->Find("information")->type, JsonValue::Type::kArray);
    EXPECT_TRUE(report->Find("information")->items.empty());
}

TEST_F(AppLogCommand, AnEmptyLogSaysSo) {
    RecordAppLog(m_root.Path(), {}, {}, {});
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "counters: 0 counters\n\nhistory: 0 records\n\ninformation: 0 records\n")) << run.out;
}

TEST_F(AppLogCommand, ALogWithoutTheTablesShowsThemAsAbsent) {
    fs::create_directories(File().parent_path());
    zandb4::testing::MakeSqliteFile(File(),
                                    "CREATE TABLE version_info_table (version INTEGER);"
                                    "INSERT INTO version_info_table VALUES('1201');");
    ToolRun text = RunZandb4({"applog", m_root.Utf8()});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_TRUE(Contains(text.out, "counters: (this file has no counter table)\n")) << text.out;
    EXPECT_TRUE(Contains(text.out, "history: (this file has no history table)\n")) << text.out;
    EXPECT_TRUE(Contains(text.out, "information: (this file has no information table)\n")) << text.out;
    ToolRun json = RunZandb4({"applog", m_root.Utf8(), "--json"});
    std::optional<JsonValue> report = ParseJson(json.out);
    ASSERT_TRUE(report) << json.out;
    EXPECT_EQ(report->Find("counters")->type, JsonValue::Type::kNull);
    EXPECT_EQ(report->Find("history")->type, JsonValue::Type::kNull);
    EXPECT_EQ(report->Find("information")->type, JsonValue::Type::kNull);
}

TEST_F(AppLogCommand, ALogLargerThan512MiBIsShownExpired) {
    RecordAppLog(m_root.Path(), {{1, 1, 1}}, {}, {});
    ASSERT_EQ(::truncate(File().c_str(), 0x20000001), 0);
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "size      536870913 bytes\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "expired   yes\n")) << run.out;
    // SQLite reads the pages the header counts; the rest is never read.
    EXPECT_TRUE(Contains(run.out, "       1         1      1\n")) << run.out;
}

TEST_F(AppLogCommand, AMissingLogIsExitTwoNamingTheFileAndNothingIsMade) {
    fs::create_directories(m_root / "information");
    auto before = SnapshotTree(m_root.Path());
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"applog", m_root.Utf8()}, {"applog", m_root.Utf8(), "--json"}}) {
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zandb4 applog: " + m_root.Utf8() + ": holds no application log (" + File().string() +
                               " does not exist)\n");
    }
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(AppLogCommand, AMissingOrFileRootIsExitTwo) {
    ToolRun missing = RunZandb4({"applog", (m_root / "nowhere").string()});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.err, "zandb4 applog: " + (m_root / "nowhere").string() + ": does not exist\n");
    zandb4::testing::WriteFile(m_root / "plain", "x");
    ToolRun file = RunZandb4({"applog", (m_root / "plain").string()});
    EXPECT_EQ(file.exitCode, 2);
    EXPECT_EQ(file.err, "zandb4 applog: " + (m_root / "plain").string() + ": is not a folder\n");
    EXPECT_FALSE(fs::exists(m_root / "nowhere"));
}

TEST_F(AppLogCommand, ALogThatIsNotADatabaseIsExitFour) {
    fs::create_directories(File().parent_path());
    zandb4::testing::WriteFile(File(), std::string(4096, 'z'));
    auto before = SnapshotTree(m_root.Path());
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind("zandb4 applog: " + File().string() + ": ", 0), 0u) << run.err;
    EXPECT_TRUE(Contains(run.err, "not a database")) << run.err;
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
}

TEST_F(AppLogCommand, AFolderInPlaceOfTheLogIsExitFour) {
    fs::create_directories(File());
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_EQ(run.err, "zandb4 applog: " + File().string() + ": cannot be opened (it is a folder)\n");
}

TEST_F(AppLogCommand, ALogOfANewerMajorVersionIsExitFour) {
    fs::create_directories(File().parent_path());
    zandb4::testing::MakeSqliteFile(File(),
                                    "CREATE TABLE version_info_table (version INTEGER);"
                                    "INSERT INTO version_info_table VALUES('2201');");
    ToolRun run = RunZandb4({"applog", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_TRUE(Contains(run.err, "of a newer major version (version 2201")) << run.err;
}

TEST_F(AppLogCommand, ReadingChangesNothingOnDisk) {
    RecordAppLog(m_root.Path(), {{1, 2, 3}}, {{1, 1, 1, "a"}}, {{1, 1, 1, "b"}});
    auto before = SnapshotTree(m_root.Path());
    EXPECT_EQ(RunZandb4({"applog", m_root.Utf8()}).exitCode, 0);
    EXPECT_EQ(RunZandb4({"applog", m_root.Utf8(), "--json"}).exitCode, 0);
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
}

TEST_F(AppLogCommand, HelpDescribesTheOutputAndTheExitCodes) {
    ToolRun run = RunZandb4({"applog", "--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out.rfind("usage: zandb4 applog ROOT [--json]\n", 0), 0u) << run.out;
    EXPECT_TRUE(Contains(run.out, "information/appcahce.db")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  --json      print one JSON object instead of the text\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "for applog no application log")) << run.out;
    EXPECT_TRUE(Contains(run.out, "for applog the application log")) << run.out;
}

// The reader itself, with "now" chosen: the age and the library's expiry
// rule.
TEST_F(AppLogCommand, TheReaderCountsTheAgeAsTheLibraryDoes) {
    RecordAppLog(m_root.Path(), {}, {}, {});
    const zandb4::tool::AppLogContents atCreation = zandb4::tool::ReadAppLog(File(), 100, 0);
    ASSERT_EQ(atCreation.problem, zandb4::tool::StoreProblem::kNone) << atCreation.reason;
    const int64_t created = atCreation.facts.created;
    constexpr int64_t kDay = 86400;

    const auto at180 = zandb4::tool::ReadAppLog(File(), 100, created + 181 * kDay - 1);
    EXPECT_EQ(at180.facts.ageDays, 180);
    EXPECT_FALSE(at180.facts.expired);
    const auto at181 = zandb4::tool::ReadAppLog(File(), 100, created + 181 * kDay);
    EXPECT_EQ(at181.facts.ageDays, 181);
    EXPECT_TRUE(at181.facts.expired);
    // The library keeps the low 16 bits of the days: 65546 days count as 10.
    const auto wrapped = zandb4::tool::ReadAppLog(File(), 100, created + (65536 + 10) * kDay);
    EXPECT_EQ(wrapped.facts.ageDays, 65546);
    EXPECT_FALSE(wrapped.facts.expired);
}

TEST(AppLogExpiry, TheRuleIsOlderThan180DaysOrLargerThan512MiB) {
    constexpr int64_t kDay = 86400;
    EXPECT_FALSE(zandb4::tool::IsExpiredAppLog(180 * kDay, 0x20000000));
    EXPECT_TRUE(zandb4::tool::IsExpiredAppLog(181 * kDay, 0));
    EXPECT_TRUE(zandb4::tool::IsExpiredAppLog(0, 0x20000001));
    EXPECT_TRUE(zandb4::tool::IsExpiredAppLog(-kDay, 0));
    EXPECT_FALSE(zandb4::tool::IsExpiredAppLog(-kDay + 1, 0));
}

}  // namespace
