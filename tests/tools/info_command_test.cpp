// "zandb4 info" on catalogues with rows and with store files it cannot read:
// the text report, the JSON report, and when the exit code says failure.
#include <gtest/gtest.h>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::JsonValue;
using zandb4::testing::PackedDate;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class InfoCommand : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(), {
                                                          {1, "/photos/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10)},
                                                          {2, "/photos/b", "B.JPG", 3, PackedDate(2024, 3, 8, 10)},
                                                      });
        zandb4::testing::WriteFile(m_root / "database" / "Broken.db", "this is not a database");
        zandb4::testing::WriteFile(m_root / "database" / "odd\tname.txt", "");
    }

    TempFolder m_root;
};

TEST_F(InfoCommand, AnUnreadableStoreBesideAGoodCatalogueIsShownButNotFatal) {
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(Contains(run.out, "catalogue root " + m_root.Utf8() + "\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  database/Broken.db  not a database")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  database/FileBasic.db  version 1201, page size 4096\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "    file_table: 2 rows\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "    version_info_table: 1 row\n")) << run.out;
    // A tab in a name is escaped, as in every text output.
    EXPECT_TRUE(Contains(run.out, "  database/odd\\tname.txt\n")) << run.out;
}

TEST_F(InfoCommand, JsonReportOfEveryStore) {
    ToolRun run = RunZandb4({"info", "--json", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_EQ(report->Find("catalogue")->Find("state")->text, "readable");
    const JsonValue& entries = *report->Find("folders")->items[0].Find("entries");
    ASSERT_EQ(entries.items.size(), 7u);
    const JsonValue& broken = entries.items[0];
    EXPECT_EQ(broken.Find("name")->text, "database/Broken.db");
    EXPECT_EQ(broken.Find("kind")->text, "store");
    EXPECT_TRUE(Contains(broken.Find("problem")->text, "not a database")) << run.out;
    EXPECT_EQ(broken.Find("version")->type, JsonValue::Type::kNull);
    EXPECT_TRUE(broken.Find("tables")->items.empty());
    const JsonValue& catalogue = entries.items[1];
    EXPECT_EQ(catalogue.Find("name")->text, "database/FileBasic.db");
    EXPECT_EQ(catalogue.Find("problem")->type, JsonValue::Type::kNull);
    int64_t files = -1;
    for (const JsonValue& table : catalogue.Find("tables")->items)
        if (table.Find("name")->text == "file_table") files = table.Find("rows")->Integer();
    EXPECT_EQ(files, 2);
    EXPECT_EQ(entries.items[2].Find("name")->text, "database/FileBasicAsync.db");
    EXPECT_EQ(entries.items[3].Find("name")->text, "database/Location.db");
    EXPECT_EQ(entries.items[4].Find("name")->text, "database/Memory.db");
    EXPECT_EQ(entries.items[5].Find("name")->text, "database/UserLog.db");
    EXPECT_EQ(entries.items[6].Find("name")->text, "database/odd\tname.txt");
    EXPECT_EQ(entries.items[6].Find("kind")->text, "file");
}

TEST_F(InfoCommand, AnUnreadableCatalogueIsReportedAndFails) {
    zandb4::testing::WriteFile(m_root / "database" / "FileBasic.db", "garbage, not SQLite");
    ToolRun run = RunZandb4({"info", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_TRUE(
        Contains(run.err, "zandb4 info: " + (m_root / "database" / "FileBasic.db").string() + ": not a database"))
        << run.err;
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    EXPECT_EQ(report->Find("catalogue")->Find("state")->text, "unreadable");
    EXPECT_TRUE(Contains(report->Find("catalogue")->Find("problem")->text, "not a database"));
}

}  // namespace
