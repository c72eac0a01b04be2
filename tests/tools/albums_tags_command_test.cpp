// "zandb4 tags", "zandb4 albums" and the tag and album-name conditions of
// "zandb4 ls", run as a user runs them on a catalogue whose tags, albums and
// files the test wrote through the library's managers and file records:
// their lines and JSON, names that need care (apostrophes, percent signs,
// tabs, letters beyond ASCII, names that differ only in case, an album name
// two albums share), and the messages for names the catalogue does not hold.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

using zandb4::testing::JsonValue;
using zandb4::testing::LabelIds;
using zandb4::testing::PackedDate;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

// Tags, by index.
enum : size_t { kHoliday, kPercent, kTab, kAccents, kHolidayLower, kUnused };
// Albums, by index into the albums given (the file's album is index + 1).
enum : size_t { kSummer, kZurich, kEmpty, kTwinNorth, kTwinSouth, kDigits };

const std::string kTabName = "tab\there";
const std::string kAccentsName = "Caf\xC3\xA9 Zo\xC3\xAB \xE2\x9C\x93";  // Café Zoë ✓
const std::string kZurichName = "\xC3\x89t\xC3\xA9 \xC3\xA0 Z\xC3\xBCrich";  // Été à Zürich

std::string Id(uint64_t id) {
    return std::to_string(id);
}

class AlbumsAndTags : public ::testing::Test {
protected:
    void SetUp() override {
        using zandb4::testing::LabelledFile;
        m_ids = zandb4::testing::MakeLabelledCatalogue(
            m_root.Path(),
            {{"Holiday", 1}, {"it's 100% done", 2}, {kTabName, 0}, {kAccentsName, 7}, {"holiday", 1}, {"unused", 3}},
            {{"Summer's 50% trip", 35.6895f, 139.6917f, "Tokyo\tBay"},
             {kZurichName, -33.875f, 151.25f, ""},
             {"Empty", 0, 0, ""},
             {"Twin", 90, -180, "North"},
             {"Twin", -90, 180, "South"},
             {"2024", 0, 0, ""}},
            {
                LabelledFile{{1, "/p/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10), false, 0}, kSummer + 1, {kHoliday, kPercent}, true},
                // Not managed: left out of the album's count, inside its dates.
                LabelledFile{{2, "/p/b", "B.JPG", 3, PackedDate(2024, 3, 9, 12), true, 0}, kSummer + 1,
                             {kPercent, kTab, kAccents}, false},
                LabelledFile{{3, "/p/c", "C.JPG", 5, PackedDate(2024, 3, 8, 8), false, 0}, kZurich + 1, {kAccents}, true},
                LabelledFile{{4, "/p/d", "D.JPG", 3, 0, false, 0}, 0, {kHolidayLower}, true},
                LabelledFile{{5, "/p/e", "E.JPG", 3, PackedDate(2023, 1, 1, 0), false, 0}, kTwinNorth + 1, {}, true},
                LabelledFile{{6, "/p/f", "F.JPG", 3, PackedDate(2023, 2, 1, 0), false, 0}, kTwinSouth + 1, {}, true},
                LabelledFile{{7, "/p/g", "G.JPG", 3, PackedDate(2022, 5, 5, 0), false, 0}, kDigits + 1, {}, true},
            });
        ASSERT_EQ(m_ids.tags.size(), 6u);
        ASSERT_EQ(m_ids.albums.size(), 6u);
    }

    ToolRun Ls(const std::vector<std::string>& conditions, bool json = false) {
        std::vector<std::string> arguments = {"ls", m_root.Utf8()};
        for (const std::string& condition : conditions) {
            arguments.push_back("--where");
            arguments.push_back(condition);
        }
        if (json) arguments.push_back("--json");
        return RunZandb4(arguments);
    }

    std::string Album(size_t index) const { return Id(m_ids.albums[index]); }
    std::string Tag(size_t index) const { return Id(m_ids.tags[index]); }

    // The ls lines of the files above.
    std::string LineA() const { return "1\t2024-03-07 10:00:00\t3\t0\t" + Album(kSummer) + "\t/p/a\tA.JPG\n"; }
    std::string LineB() const { return "2\t2024-03-09 12:00:00\t3\t1\t" + Album(kSummer) + "\t/p/b\tB.JPG\n"; }
    std::string LineC() const { return "3\t2024-03-08 08:00:00\t5\t0\t" + Album(kZurich) + "\t/p/c\tC.JPG\n"; }
    std::string LineD() const { return "4\t-\t3\t0\t0\t/p/d\tD.JPG\n"; }
    std::string LineG() const { return "7\t2022-05-05 00:00:00\t3\t0\t" + Album(kDigits) + "\t/p/g\tG.JPG\n"; }

    std::string CatalogueFile() const { return (m_root / "database" / "FileBasic.db").string(); }

    TempFolder m_root;
    LabelIds m_ids;
};

TEST_F(AlbumsAndTags, TagsListsEveryTagWithItsFileCount) {
    ToolRun run = RunZandb4({"tags", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, Tag(kHoliday) + "\tHoliday\t1\t1\n" +                    //
                           Tag(kPercent) + "\tit's 100% done\t2\t2\n" +         //
                           Tag(kTab) + "\ttab\\there\t0\t1\n" +                 //
                           Tag(kAccents) + "\t" + kAccentsName + "\t7\t2\n" +  //
                           Tag(kHolidayLower) + "\tholiday\t1\t1\n" +           //
                           Tag(kUnused) + "\tunused\t3\t0\n");
}

TEST_F(AlbumsAndTags, TagsAsJson) {
    ToolRun run = RunZandb4({"tags", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::optional<JsonValue> tags = ParseJson(run.out);
    ASSERT_TRUE(tags) << run.out;
    ASSERT_EQ(tags->type, JsonValue::Type::kArray);
    ASSERT_EQ(tags->items.size(), 6u);
    const std::vector<std::string> names = {"Holiday", "it's 100% done", kTabName, kAccentsName, "holiday", "unused"};
    const std::vector<int64_t> types = {1, 2, 0, 7, 1, 3};
    const std::vector<int64_t> files = {1, 2, 1, 2, 1, 0};
    for (size_t index = 0; index < 6; ++index) {
        const JsonValue& tag = tags->items[index];
        ASSERT_EQ(tag.members.size(), 4u) << index;
        EXPECT_EQ(tag.Find("id")->Integer(), static_cast<int64_t>(m_ids.tags[index]));
        EXPECT_EQ(tag.Find("name")->text, names[index]);
        EXPECT_EQ(tag.Find("type")->Integer(), types[index]);
        EXPECT_EQ(tag.Find("files")->Integer(), files[index]);
    }
}

TEST_F(AlbumsAndTags, AlbumsListsEveryAlbumOldestFirst) {
    ToolRun run = RunZandb4({"albums", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    // The unmanaged file of the summer album is not counted, and its date is
    // the album's latest.
    EXPECT_EQ(run.out,
              Album(kEmpty) + "\tEmpty\t0\t-\t-\t0\t0\t\n" +
                  Album(kDigits) + "\t2024\t1\t2022-05-05 00:00:00\t2022-05-05 00:00:00\t0\t0\t\n" +
                  Album(kTwinNorth) + "\tTwin\t1\t2023-01-01 00:00:00\t2023-01-01 00:00:00\t90\t-180\tNorth\n" +
                  Album(kTwinSouth) + "\tTwin\t1\t2023-02-01 00:00:00\t2023-02-01 00:00:00\t-90\t180\tSouth\n" +
                  Album(kSummer) +
                  "\tSummer's 50% trip\t1\t2024-03-07 10:00:00\t2024-03-09 12:00:00\t35.6895\t139.6917\tTokyo\\tBay\n" +
                  Album(kZurich) + "\t" + kZurichName +
                  "\t1\t2024-03-08 08:00:00\t2024-03-08 08:00:00\t-33.875\t151.25\t\n");
}

TEST_F(AlbumsAndTags, AlbumsAsJson) {
    ToolRun run = RunZandb4({"albums", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> albums = ParseJson(run.out);
    ASSERT_TRUE(albums) << run.out;
    ASSERT_EQ(albums->type, JsonValue::Type::kArray);
    ASSERT_EQ(albums->items.size(), 6u);
    const JsonValue& empty = albums->items[0];
    ASSERT_EQ(empty.members.size(), 8u);
    EXPECT_EQ(empty.Find("id")->Integer(), static_cast<int64_t>(m_ids.albums[kEmpty]));
    EXPECT_EQ(empty.Find("name")->text, "Empty");
    EXPECT_EQ(empty.Find("files")->Integer(), 0);
    EXPECT_EQ(empty.Find("oldest")->type, JsonValue::Type::kNull);
    EXPECT_EQ(empty.Find("latest")->type, JsonValue::Type::kNull);
    EXPECT_EQ(empty.Find("area")->text, "");

    const JsonValue& summer = albums->items[4];
    EXPECT_EQ(summer.Find("id")->Integer(), static_cast<int64_t>(m_ids.albums[kSummer]));
    EXPECT_EQ(summer.Find("name")->text, "Summer's 50% trip");
    EXPECT_EQ(summer.Find("files")->Integer(), 1);
    EXPECT_EQ(summer.Find("oldest")->text, "2024-03-07 10:00:00");
    EXPECT_EQ(summer.Find("latest")->text, "2024-03-09 12:00:00");
    ASSERT_EQ(summer.Find("latitude")->type, JsonValue::Type::kNumber);
    EXPECT_EQ(std::stof(summer.Find("latitude")->number), 35.6895f);
    EXPECT_EQ(std::stof(summer.Find("longitude")->number), 139.6917f);
    EXPECT_EQ(summer.Find("area")->text, "Tokyo\tBay");

    const JsonValue& zurich = albums->items[5];
    EXPECT_EQ(zurich.Find("name")->text, kZurichName);
    EXPECT_EQ(std::stof(zurich.Find("latitude")->number), -33.875f);
    EXPECT_EQ(albums->items[2].Find("name")->text, "Twin");
    EXPECT_EQ(albums->items[3].Find("name")->text, "Twin");
    EXPECT_EQ(albums->items[2].Find("latitude")->number, "90");
    EXPECT_EQ(albums->items[3].Find("longitude")->number, "180");
}

TEST_F(AlbumsAndTags, LsByTagName) {
    EXPECT_EQ(Ls({"tag=Holiday"}).out, LineA());
    // Case counts: "holiday" is another tag.
    EXPECT_EQ(Ls({"tag=holiday"}).out, LineD());
    EXPECT_EQ(Ls({"tag=it's 100% done"}).out, LineA() + LineB());
    EXPECT_EQ(Ls({"tag=" + kTabName}).out, LineB());
    EXPECT_EQ(Ls({"tag=" + kAccentsName}).out, LineC() + LineB());
    // A tag is a plain name: neither % nor _ is a wildcard.
    ToolRun pattern = Ls({"tag=it's 100%"});
    EXPECT_EQ(pattern.exitCode, 1);
    EXPECT_EQ(pattern.out, "");
}

TEST_F(AlbumsAndTags, LsByAlbumNameOrId) {
    EXPECT_EQ(Ls({"album=Summer's 50% trip"}).out, LineA() + LineB());
    EXPECT_EQ(Ls({"album=" + kZurichName}).out, LineC());
    EXPECT_EQ(Ls({"album=" + Album(kSummer)}).out, LineA() + LineB());
    EXPECT_EQ(Ls({"album=" + Album(kDigits)}).out, LineG());
    // Digits alone are an id, even when an album has that name.
    ToolRun digits = Ls({"album=2024"});
    EXPECT_EQ(digits.exitCode, 0) << digits.err;
    EXPECT_EQ(digits.out, "");
    EXPECT_EQ(digits.err, "zandb4 ls: no files\n");
}

TEST_F(AlbumsAndTags, LsNameConditionsCombine) {
    EXPECT_EQ(Ls({"tag=it's 100% done", "album=Summer's 50% trip", "favorite=yes"}).out, LineB());
    EXPECT_EQ(Ls({"tag=" + kAccentsName, "album=" + kZurichName}).out, LineC());
    EXPECT_EQ(Ls({"tag=Holiday", "tag=it's 100% done"}).out, LineA());
    ToolRun none = Ls({"tag=Holiday", "album=" + kZurichName});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "zandb4 ls: no files\n");
}

TEST_F(AlbumsAndTags, LsByTagAsJson) {
    ToolRun run = Ls({"tag=" + kAccentsName}, true);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> files = ParseJson(run.out);
    ASSERT_TRUE(files) << run.out;
    ASSERT_EQ(files->items.size(), 2u);
    EXPECT_EQ(files->items[0].Find("id")->Integer(), 3);
    EXPECT_EQ(files->items[0].Find("album")->Integer(), static_cast<int64_t>(m_ids.albums[kZurich]));
    EXPECT_EQ(files->items[1].Find("id")->Integer(), 2);
}

TEST_F(AlbumsAndTags, ATagWithoutFilesListsNothing) {
    ToolRun run = Ls({"tag=unused"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 ls: no files\n");
    ToolRun empty = Ls({"album=Empty"}, true);
    EXPECT_EQ(empty.exitCode, 0) << empty.err;
    EXPECT_EQ(empty.out, "[]\n");
}

TEST_F(AlbumsAndTags, UnknownNamesAreUsageErrorsNamingThem) {
    struct Case {
        std::string condition;
        std::string reason;
    };
    for (const Case& bad : {Case{"tag=Nope", "no tag is named 'Nope'"},
                            Case{"tag=HOLIDAY", "no tag is named 'HOLIDAY'"},
                            Case{"tag=Holiday ", "no tag is named 'Holiday '"},
                            Case{"tag=it's", "no tag is named 'it's'"},
                            Case{"album=Nope", "no album is named 'Nope'"},
                            Case{"album=summer's 50% trip", "no album is named 'summer's 50% trip'"},
                            Case{"album=Tokyo\tBay", "no album is named 'Tokyo\\tBay'"}}) {
        ToolRun run = Ls({bad.condition});
        EXPECT_EQ(run.exitCode, 1) << bad.condition;
        EXPECT_EQ(run.out, "") << bad.condition;
        std::string shown = bad.condition == "album=Tokyo\tBay" ? "album=Tokyo\\tBay" : bad.condition;
        EXPECT_EQ(run.err, "zandb4 ls: " + CatalogueFile() + ": bad condition '" + shown + "': " + bad.reason + "\n");
    }
}

TEST_F(AlbumsAndTags, AnAlbumNameSharedBySeveralAlbumsListsTheirIds) {
    ToolRun run = Ls({"album=Twin"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 ls: " + CatalogueFile() + ": bad condition 'album=Twin': 2 albums are named 'Twin' (ids " +
                           Album(kTwinNorth) + ", " + Album(kTwinSouth) + "); give one as album=ID\n");
    // Each of them by its id.
    EXPECT_EQ(Ls({"album=" + Album(kTwinNorth)}).out, "5\t2023-01-01 00:00:00\t3\t0\t" + Album(kTwinNorth) + "\t/p/e\tE.JPG\n");
}

TEST_F(AlbumsAndTags, EmptyNamesAndHugeIdsAreRefusedBeforeTheCatalogueIsRead) {
    struct Case {
        std::string condition;
        std::string message;
    };
    for (const Case& bad : {Case{"tag=", "tag takes a non-empty name"},
                            Case{"album=", "album takes an id or a non-empty name"},
                            Case{"album=18446744073709551616", "album id 18446744073709551616 is out of range"}}) {
        // No catalogue at all: the condition is refused first.
        ToolRun run = RunZandb4({"ls", (m_root / "nowhere").string(), "--where", bad.condition});
        EXPECT_EQ(run.exitCode, 1) << bad.condition;
        EXPECT_NE(run.err.find("zandb4 ls: bad condition '" + bad.condition + "': " + bad.message), std::string::npos)
            << run.err;
        EXPECT_NE(run.err.find("Try 'zandb4 ls --help'"), std::string::npos) << run.err;
    }
}

TEST(AlbumsAndTagsEmpty, NoTagsAndNoAlbumsSaySoAndSucceed) {
    TempFolder root;
    zandb4::testing::MakeCatalogue(root.Path(), {{1, "/p/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10), false, 0}});
    for (const char* command : {"tags", "albums"}) {
        std::string note = std::string("zandb4 ") + command + ": no " + command + "\n";
        ToolRun text = RunZandb4({command, root.Utf8()});
        EXPECT_EQ(text.exitCode, 0) << command;
        EXPECT_EQ(text.out, "") << command;
        EXPECT_EQ(text.err, note);
        ToolRun json = RunZandb4({command, root.Utf8(), "--json"});
        EXPECT_EQ(json.exitCode, 0) << command;
        EXPECT_EQ(json.out, "[]\n") << command;
        EXPECT_EQ(json.err, note);
    }
    // Any name is unknown in a catalogue without tags or albums.
    ToolRun tag = RunZandb4({"ls", root.Utf8(), "--where", "tag=x"});
    EXPECT_EQ(tag.exitCode, 1);
    EXPECT_NE(tag.err.find("no tag is named 'x'"), std::string::npos) << tag.err;
    ToolRun album = RunZandb4({"ls", root.Utf8(), "--where", "album=x"});
    EXPECT_EQ(album.exitCode, 1);
    EXPECT_NE(album.err.find("no album is named 'x'"), std::string::npos) << album.err;
}

TEST(AlbumsAndTagsEmpty, MissingRootOrNoCatalogue) {
    TempFolder work;
    std::filesystem::create_directories(work / "plain");
    for (const char* command : {"tags", "albums"}) {
        ToolRun missing = RunZandb4({command, (work / "missing").string()});
        EXPECT_EQ(missing.exitCode, 2) << command;
        EXPECT_EQ(missing.out, "");
        EXPECT_EQ(missing.err, std::string("zandb4 ") + command + ": " + (work / "missing").string() + ": does not exist\n");
        ToolRun plain = RunZandb4({command, (work / "plain").string(), "--json"});
        EXPECT_EQ(plain.exitCode, 2) << command;
        EXPECT_EQ(plain.out, "");
        EXPECT_NE(plain.err.find("holds no catalogue"), std::string::npos) << plain.err;
    }
    EXPECT_FALSE(std::filesystem::exists(work / "plain" / "database"));
    EXPECT_FALSE(std::filesystem::exists(work / "missing"));
}

TEST(AlbumsAndTagsEmpty, UnreadableCatalogue) {
    TempFolder root;
    std::filesystem::create_directories(root / "database");
    zandb4::testing::WriteFile(root / "database" / "FileBasic.db", "this is not a database at all, not even close");
    for (const char* command : {"tags", "albums"}) {
        ToolRun run = RunZandb4({command, root.Utf8()});
        EXPECT_EQ(run.exitCode, 4) << command << ": " << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind(std::string("zandb4 ") + command + ": " + (root / "database" / "FileBasic.db").string() +
                                    ": ",
                                0),
                  0u)
            << run.err;
    }
}

TEST(AlbumsAndTagsHelp, EachCommandExplainsItsFields) {
    ToolRun tags = RunZandb4({"tags", "--help"});
    EXPECT_EQ(tags.exitCode, 0);
    EXPECT_EQ(tags.out.rfind("usage: zandb4 tags ROOT [--json]\n", 0), 0u) << tags.out;
    EXPECT_NE(tags.out.find("  id, name, type, files\n"), std::string::npos) << tags.out;
    EXPECT_NE(tags.out.find("'no tags'"), std::string::npos) << tags.out;
    ToolRun albums = RunZandb4({"albums", "--help"});
    EXPECT_EQ(albums.exitCode, 0);
    EXPECT_EQ(albums.out.rfind("usage: zandb4 albums ROOT [--json]\n", 0), 0u) << albums.out;
    EXPECT_NE(albums.out.find("latitude, longitude, area info"), std::string::npos) << albums.out;
    ToolRun ls = RunZandb4({"ls", "--help"});
    EXPECT_NE(ls.out.find("  tag=NAME "), std::string::npos) << ls.out;
    EXPECT_NE(ls.out.find("  album=NAME "), std::string::npos) << ls.out;
    for (const ToolRun* run : {&tags, &albums}) {
        std::istringstream lines(run->out);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
    }
}

}  // namespace
