// The shared parts of the zandb4 tool on their own: result codes in words,
// escaping of text fields and JSON strings, the JSON writer, the progress
// reporter on a terminal and elsewhere, calendar days, and the literal path
// prefix condition.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "catalogue_search.h"
#include "conditions.h"
#include "json_reader.h"
#include "json_writer.h"
#include "progress_reporter.h"
#include "result_names.h"
#include "shard_reader.h"
#include "shards/thumbnail_families.h"
#include "text_output.h"

namespace {

using zandb4::testing::JsonValue;
using zandb4::testing::ParseJson;
using namespace zandb4::tool;

size_t CountOf(const std::string& text, char ch) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), ch));
}

TEST(ResultNames, EveryCodeOfTheLibraryHasANameAndAReason) {
    EXPECT_EQ(DescribeResult(S_OK), "S_OK (0x00000000): success");
    EXPECT_EQ(DescribeResult(S_FALSE), "S_FALSE (0x00000001): done, with nothing to do or a negative answer");
    EXPECT_EQ(DescribeResult(E_FAIL), "E_FAIL (0x80004005): the operation failed");
    EXPECT_EQ(DescribeResult(E_INVALIDARG), "E_INVALIDARG (0x80070057): an argument is not valid");
    EXPECT_EQ(DescribeResult(E_NOINTERFACE), "E_NOINTERFACE (0x80004002): that interface is not offered");
    EXPECT_EQ(DescribeResult(E_OUTOFMEMORY), "E_OUTOFMEMORY (0x8007000E): out of memory");
    EXPECT_EQ(DescribeResult(E_ACCESSDENIED), "E_ACCESSDENIED (0x80070005): access denied");
    EXPECT_EQ(DescribeResult(E_NOTIMPL), "E_NOTIMPL (0x80004001): not implemented");
    EXPECT_EQ(DescribeResult(static_cast<HRESULT>(0x8000FFFFu)), "0x8000FFFF: unknown result code");
}

// The tool's list of families is the library's: a family added to one and
// not the other would go unreported by info and unreachable by thumb.
TEST(ShardReader, FamiliesAndFoldersAreTheLibrarys) {
    ASSERT_EQ(std::size(zandb4::tool::kThumbnailFamilies), std::size(thumbnail_families::kNames));
    for (size_t index = 0; index < std::size(thumbnail_families::kNames); ++index)
        EXPECT_EQ(zandb4::tool::kThumbnailFamilies[index], CZanTString(thumbnail_families::kNames[index]).ToUtf8());
    EXPECT_EQ(zandb4::tool::kMetaDataFolder, CZanTString(thumbnail_families::kMetaDataFolder).ToUtf8());
    EXPECT_EQ(zandb4::tool::ThumbnailFolderName("albm", 1), "albm_0s");
    EXPECT_EQ(zandb4::tool::ThumbnailFolderName("albm", 2), "albm_1s");
}

TEST(TextOutput, EscapesTheFourCharactersThatWouldBreakALine) {
    EXPECT_EQ(EscapeField("plain name.JPG"), "plain name.JPG");
    EXPECT_EQ(EscapeField("a\tb\nc\rd\\e"), "a\\tb\\nc\\rd\\\\e");
    EXPECT_EQ(EscapeField("\\t"), "\\\\t");  // a backslash before a t stays apart from an escaped tab
    EXPECT_EQ(EscapeField("Ünï\x01"), "Ünï\x01");
    std::ostringstream out;
    WriteRecord(out, {"1", "a\tb", "", "x\ny"});
    EXPECT_EQ(out.str(), "1\ta\\tb\t\tx\\ny\n");
}

TEST(JsonStrings, EscapesQuotesBackslashesAndControlCharacters) {
    EXPECT_EQ(JsonQuoted("say \"hi\" \\ /"), "\"say \\\"hi\\\" \\\\ /\"");
    EXPECT_EQ(JsonQuoted("\b\f\n\r\t"), "\"\\b\\f\\n\\r\\t\"");
    EXPECT_EQ(JsonQuoted(std::string("\x00\x01\x1f\x7f", 4)), "\"\\u0000\\u0001\\u001f\x7f\"");
}

TEST(JsonStrings, KeepsValidUtf8AndReplacesEveryInvalidByte) {
    EXPECT_EQ(JsonQuoted("Ünïcødé 😀 \u2028"), "\"Ünïcødé 😀 \u2028\"");
    EXPECT_EQ(JsonQuoted("a\xff"
                         "b"),
              "\"a\\ufffdb\"");
    EXPECT_EQ(JsonQuoted("\xc0\xaf"), "\"\\ufffd\\ufffd\"");                        // overlong '/'
    EXPECT_EQ(JsonQuoted("\xed\xa0\x80"), "\"\\ufffd\\ufffd\\ufffd\"");             // a surrogate
    EXPECT_EQ(JsonQuoted("\xf4\x90\x80\x80"), "\"\\ufffd\\ufffd\\ufffd\\ufffd\"");  // past U+10FFFF
    EXPECT_EQ(JsonQuoted("cut \xe2\x82"), "\"cut \\ufffd\\ufffd\"");
    // Whatever the bytes, a reader takes the result as one string.
    std::string every;
    for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
    std::optional<JsonValue> parsed = ParseJson(JsonQuoted(every));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->text.substr(0, 128), every.substr(0, 128));
}

TEST(JsonWriter, NestedContainersMakeOneValidDocument) {
    std::ostringstream out;
    JsonWriter json(out);
    json.BeginObject();
    json.Key("empty");
    json.BeginArray();
    json.EndArray();
    json.Key("rows");
    json.BeginArray();
    for (int i = 0; i < 2; ++i) {
        json.BeginObject(true);
        json.Key("n");
        json.Integer(-i);
        json.Key("u");
        json.Unsigned(UINT64_MAX);
        json.Key("list");
        json.BeginArray();
        json.Bool(true);
        json.Null();
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
    json.Key("text");
    json.String("a\"b");
    json.EndObject();
    json.Finish();
    EXPECT_EQ(out.str(),
              "{\n"
              "  \"empty\": [],\n"
              "  \"rows\": [\n"
              "    {\"n\": 0, \"u\": 18446744073709551615, \"list\": [true, null]},\n"
              "    {\"n\": -1, \"u\": 18446744073709551615, \"list\": [true, null]}\n"
              "  ],\n"
              "  \"text\": \"a\\\"b\"\n"
              "}\n");
    std::optional<JsonValue> parsed = ParseJson(out.str());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->Find("rows")->items.size(), 2u);
}

TEST(ProgressReporter, PlainLinesAtEachTenthWhenNotOnATerminal) {
    std::ostringstream out;
    ProgressReporter progress(out, false, "copying", 1000);
    for (uint64_t done = 0; done <= 1000; ++done) progress.Update(done);
    progress.Finish();
    std::string text = out.str();
    EXPECT_EQ(CountOf(text, '\r'), 0u);
    EXPECT_EQ(CountOf(text, '\n'), 10u);
    EXPECT_EQ(text.substr(0, text.find('\n') + 1), "copying: 100/1000 (10%)\n");
    EXPECT_EQ(text.substr(text.rfind("copying")), "copying: 1000/1000 (100%)\n");
}

TEST(ProgressReporter, FinishShowsWhereWorkThatStoppedEarlyGotTo) {
    std::ostringstream out;
    ProgressReporter progress(out, false, "copying", 200);
    progress.Update(45);
    progress.Update(55);
    progress.Finish();
    progress.Update(200);  // after Finish, nothing more
    EXPECT_EQ(out.str(), "copying: 45/200 (22%)\ncopying: 55/200 (27%)\n");
}

TEST(ProgressReporter, ABarRedrawnInPlaceOnATerminal) {
    std::ostringstream out;
    ProgressReporter progress(out, true, "copying", 1000000);
    for (uint64_t done = 0; done <= 1000000; ++done) progress.Update(done);
    progress.Finish();
    std::string text = out.str();
    // Redrawn only when the bar or the percentage changes, and one line in all.
    EXPECT_GE(CountOf(text, '\r'), 100u);
    EXPECT_LE(CountOf(text, '\r'), 131u);
    EXPECT_EQ(CountOf(text, '\n'), 1u);
    EXPECT_EQ(text.substr(0, text.find('\r', 1)), "\rcopying [..............................]   0% 0/1000000");
    EXPECT_EQ(text.substr(text.rfind('\r')), "\rcopying [##############################] 100% 1000000/1000000\n");
}

TEST(ProgressReporter, PlainLinesTellTheSpeedAndTheTimeLeft) {
    std::ostringstream out;
    double now = 0;
    ProgressReporter progress(out, false, "import", 100);
    progress.ShowRate("files", [&now] { return now; });
    now = 2;
    progress.Update(10);  // 5 files/s, 90 left: 18 s
    now = 400;
    progress.Update(20);  // 0.05 files/s, 80 left: 1600 s
    now = 500;
    progress.Update(100);
    progress.Finish();
    EXPECT_EQ(out.str(),
              "import: 10/100 (10%) 5.0 files/s, 0:18 left\n"
              "import: 20/100 (20%) 0.1 files/s, 26:40 left\n"
              "import: 100/100 (100%) 0.2 files/s\n");
}

TEST(ProgressReporter, ABarWithASpeedIsRedrawnAtMostFourTimesASecond) {
    std::ostringstream out;
    double now = 0;
    ProgressReporter progress(out, true, "import", 1000000);
    progress.ShowRate("files", [&now] { return now; });
    // A million steps in 10 seconds of the fake clock: redrawn for the bar
    // and the percentage (as without a speed) and four times a second.
    for (uint64_t done = 0; done <= 1000000; ++done) {
        now = static_cast<double>(done) / 100000;
        progress.Update(done);
    }
    progress.Finish();
    std::string text = out.str();
    EXPECT_GE(CountOf(text, '\r'), 100u);
    EXPECT_LE(CountOf(text, '\r'), 131u + 41u);
    EXPECT_EQ(CountOf(text, '\n'), 1u);
    EXPECT_EQ(text.substr(0, text.find('\r', 1)),
              "\rimport [..............................]   0% 0/1000000 -- files/s   ");
    EXPECT_EQ(text.substr(text.rfind('\r')),
              "\rimport [##############################] 100% 1000000/1000000 100000.0 files/s   \n");
    EXPECT_NE(text.find("500000/1000000 100000.0 files/s, 0:05 left"), std::string::npos);
}

TEST(ProgressReporter, NothingToDoIsDoneAtOnce) {
    std::ostringstream plain, terminal;
    ProgressReporter(plain, false, "none", 0).Finish();
    ProgressReporter(terminal, true, "none", 0).Finish();
    EXPECT_EQ(plain.str(), "none: 0/0 (100%)\n");
    EXPECT_EQ(terminal.str(), "\rnone [##############################] 100% 0/0\n");
}

TEST(ProgressReporter, TellsATerminalFromAPipe) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    EXPECT_FALSE(IsTerminal(pipeEnds[1]));
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0) GTEST_SKIP() << "no pseudo-terminal on this machine";
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    EXPECT_TRUE(IsTerminal(terminal));
    close(terminal);
    close(master);
}

TEST(CalendarDays, MonthLengthsWithLeapYears) {
    EXPECT_EQ(DaysInMonth(2024, 2), 29);
    EXPECT_EQ(DaysInMonth(2023, 2), 28);
    EXPECT_EQ(DaysInMonth(1900, 2), 28);
    EXPECT_EQ(DaysInMonth(2000, 2), 29);
    EXPECT_EQ(DaysInMonth(2024, 4), 30);
    EXPECT_EQ(DaysInMonth(2024, 12), 31);
    EXPECT_EQ(DaysInMonth(2024, 13), 0);
    Condition range;
    std::string error;
    ASSERT_TRUE(ParseCondition("date=9999-12-31..9999-12-31", range, error)) << error;
    EXPECT_EQ(range.kind, Condition::Kind::kDayRange);
    EXPECT_EQ(range.to.year, 9999);
    EXPECT_FALSE(ParseCondition("date=2024-02-29..2024-02-28", range, error));
    EXPECT_EQ(error, "the range runs backwards: 2024-02-29 is after 2024-02-28");
}

TEST(PathPrefixCondition, IsALiteralComparisonWithApostrophesDoubled) {
    EXPECT_EQ(LiteralPathPrefixCondition("/photos"), "substr(file_path,1,length('/photos'))='/photos'");
    EXPECT_EQ(LiteralPathPrefixCondition("it's 100%_\""),
              "substr(file_path,1,length('it''s 100%_\"'))='it''s 100%_\"'");
}

}  // namespace
