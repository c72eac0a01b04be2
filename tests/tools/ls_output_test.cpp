// What "zandb4 ls" makes of the text it finds: path= as a literal,
// case-sensitive prefix whatever characters the prefix holds; tabs,
// newlines, carriage returns and backslashes in names escaped in text
// output; and --json parsed back as a program would read it.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

using zandb4::testing::JsonValue;
using zandb4::testing::PackedDate;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

// The first field of each line: the ids listed, in order.
std::vector<std::string> IdsOf(const std::string& out) {
    std::vector<std::string> ids;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) ids.push_back(line.substr(0, line.find('\t')));
    return ids;
}

class LsPathPrefix : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(),
                                       {
                                           {10, "/data/100%/a", "P10.JPG", 3, PackedDate(2024, 1, 10, 0)},
                                           {11, "/data/100x/b", "P11.JPG", 3, PackedDate(2024, 1, 11, 0)},
                                           {12, "/data/a_b", "P12.JPG", 3, PackedDate(2024, 1, 12, 0)},
                                           {13, "/data/axb", "P13.JPG", 3, PackedDate(2024, 1, 13, 0)},
                                           {14, "/data/it's", "P14.JPG", 3, PackedDate(2024, 1, 14, 0)},
                                           {15, "/data/its", "P15.JPG", 3, PackedDate(2024, 1, 15, 0)},
                                           {16, "/Data/upper", "P16.JPG", 3, PackedDate(2024, 1, 16, 0)},
                                           {17, "/data/say \"hi\"", "P17.JPG", 3, PackedDate(2024, 1, 17, 0)},
                                       });
    }

    std::vector<std::string> Listed(const std::string& prefix) {
        ToolRun run = RunZandb4({"ls", m_root.Utf8(), "--where", "path=" + prefix});
        EXPECT_EQ(run.exitCode, 0) << prefix << ": " << run.err;
        return IdsOf(run.out);
    }

    TempFolder m_root;
};

using Ids = std::vector<std::string>;

TEST_F(LsPathPrefix, PercentIsAPlainCharacter) {
    EXPECT_EQ(Listed("/data/100%"), Ids{"10"});
    EXPECT_EQ(Listed("/data/100"), (Ids{"10", "11"}));
}

TEST_F(LsPathPrefix, UnderscoreIsAPlainCharacter) {
    EXPECT_EQ(Listed("/data/a_"), Ids{"12"});
    EXPECT_EQ(Listed("/data/a_b"), Ids{"12"});
}

TEST_F(LsPathPrefix, QuotesAreTakenLiterally) {
    EXPECT_EQ(Listed("/data/it'"), Ids{"14"});
    EXPECT_EQ(Listed("/data/it's"), Ids{"14"});
    EXPECT_EQ(Listed("'"), Ids{});
    EXPECT_EQ(Listed("/data/say \""), Ids{"17"});
    EXPECT_EQ(Listed("/data/' OR '1'='1"), Ids{});
}

TEST_F(LsPathPrefix, CaseCounts) {
    EXPECT_EQ(Listed("/data/"), (Ids{"10", "11", "12", "13", "14", "15", "17"}));
    EXPECT_EQ(Listed("/Data"), Ids{"16"});
    ToolRun none = RunZandb4({"ls", m_root.Utf8(), "--where", "path=/DATA"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "zandb4 ls: no files\n");
}

TEST_F(LsPathPrefix, JoinsOtherConditions) {
    ToolRun run = RunZandb4({"ls", m_root.Utf8(), "--where", "path=/data/", "--where", "date=2024-01-12..2024-01-14"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(IdsOf(run.out), (Ids{"12", "13", "14"}));
}

class LsOddNames : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(),
                                       {
                                           {1, "/odd/tab", "a\tb.JPG", 3, PackedDate(2024, 5, 1, 0)},
                                           {2, "/odd/newline", "two\nlines.JPG", 3, PackedDate(2024, 5, 2, 0)},
                                           {3, "/odd/cr", "cr\rhere.JPG", 3, PackedDate(2024, 5, 3, 0)},
                                           {4, "/odd/back\\slash", "c:\\x\\t.JPG", 3, PackedDate(2024, 5, 4, 0)},
                                           {5, "/odd/in\tpath", "plain.JPG", 3, PackedDate(2024, 5, 5, 0)},
                                           {6, "/odd/unicode", "Ünï \"cødé\" 😀.JPG", 3, PackedDate(2024, 5, 6, 0)},
                                           {7, "/odd/control", "bell\x01\x1f.JPG", 3, 0},
                                       });
    }

    TempFolder m_root;
};

TEST_F(LsOddNames, TextOutputEscapesTabsNewlinesAndBackslashes) {
    ToolRun run = RunZandb4({"ls", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "7\t-\t3\t0\t0\t/odd/control\tbell\x01\x1f.JPG\n"
              "1\t2024-05-01 00:00:00\t3\t0\t0\t/odd/tab\ta\\tb.JPG\n"
              "2\t2024-05-02 00:00:00\t3\t0\t0\t/odd/newline\ttwo\\nlines.JPG\n"
              "3\t2024-05-03 00:00:00\t3\t0\t0\t/odd/cr\tcr\\rhere.JPG\n"
              "4\t2024-05-04 00:00:00\t3\t0\t0\t/odd/back\\\\slash\tc:\\\\x\\\\t.JPG\n"
              "5\t2024-05-05 00:00:00\t3\t0\t0\t/odd/in\\tpath\tplain.JPG\n"
              "6\t2024-05-06 00:00:00\t3\t0\t0\t/odd/unicode\tÜnï \"cødé\" 😀.JPG\n");
    // Every line has exactly seven fields.
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 6) << line;
}

TEST_F(LsOddNames, JsonIsAnArrayOfObjectsWithTheNamesIntact) {
    ToolRun run = RunZandb4({"ls", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::optional<JsonValue> parsed = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(parsed) << run.out;
    ASSERT_EQ(parsed->type, JsonValue::Type::kArray);
    ASSERT_EQ(parsed->items.size(), 7u);
    std::vector<std::string> names, paths;
    for (const JsonValue& file : parsed->items) {
        ASSERT_EQ(file.type, JsonValue::Type::kObject);
        ASSERT_NE(file.Find("name"), nullptr);
        ASSERT_NE(file.Find("path"), nullptr);
        names.push_back(file.Find("name")->text);
        paths.push_back(file.Find("path")->text);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"bell\x01\x1f.JPG", "a\tb.JPG", "two\nlines.JPG", "cr\rhere.JPG",
                                               "c:\\x\\t.JPG", "plain.JPG", "Ünï \"cødé\" 😀.JPG"}));
    EXPECT_EQ(paths[3], "/odd/cr");
    EXPECT_EQ(paths[4], "/odd/back\\slash");
    EXPECT_EQ(paths[5], "/odd/in\tpath");
    // The escapes themselves, as written.
    EXPECT_NE(run.out.find(R"("name": "bell\u0001\u001f.JPG")"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(R"("name": "a\tb.JPG")"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(R"("name": "Ünï \"cødé\" 😀.JPG")"), std::string::npos) << run.out;
}

class LsJson : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(),
                                       {
                                           {3, "/photos/b", "C.JPG", 3, PackedDate(2024, 3, 8, 9), true, 0},
                                           {1, "/photos/a", "A.JPG", 5, PackedDate(2024, 3, 7, 10), false, 7},
                                           {4, "/archive", "D.JPG", 3, 0, false, 18446744073709551615u},
                                       });
    }

    TempFolder m_root;
};

TEST_F(LsJson, OneObjectPerFileWithTheSameFieldsAsTheText) {
    ToolRun run = RunZandb4({"ls", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> parsed = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(parsed) << run.out;
    ASSERT_EQ(parsed->type, JsonValue::Type::kArray);
    ASSERT_EQ(parsed->items.size(), 3u);
    const std::vector<std::string> keys = {"id", "date", "format", "favorite", "album", "path", "name"};
    for (const JsonValue& file : parsed->items) {
        ASSERT_EQ(file.members.size(), keys.size());
        for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(file.members[i].first, keys[i]);
    }
    const JsonValue& undated = parsed->items[0];
    EXPECT_EQ(undated.Find("id")->number, "4");
    EXPECT_EQ(undated.Find("date")->type, JsonValue::Type::kNull);
    EXPECT_EQ(undated.Find("album")->number, "18446744073709551615");
    const JsonValue& first = parsed->items[1];
    EXPECT_EQ(first.Find("id")->Integer(), 1);
    EXPECT_EQ(first.Find("date")->text, "2024-03-07 10:00:00");
    EXPECT_EQ(first.Find("format")->Integer(), 5);
    EXPECT_EQ(first.Find("favorite")->type, JsonValue::Type::kBool);
    EXPECT_FALSE(first.Find("favorite")->boolean);
    EXPECT_EQ(first.Find("album")->Integer(), 7);
    EXPECT_EQ(first.Find("path")->text, "/photos/a");
    EXPECT_EQ(first.Find("name")->text, "A.JPG");
    EXPECT_TRUE(parsed->items[2].Find("favorite")->boolean);
    // Conditions apply to --json as to text.
    ToolRun favourites = RunZandb4({"ls", m_root.Utf8(), "--json", "--where", "favorite=yes"});
    std::optional<JsonValue> one = zandb4::testing::ParseJson(favourites.out);
    ASSERT_TRUE(one) << favourites.out;
    ASSERT_EQ(one->items.size(), 1u);
    EXPECT_EQ(one->items[0].Find("id")->Integer(), 3);
}

}  // namespace
