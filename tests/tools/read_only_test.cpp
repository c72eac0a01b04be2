// The commands that only read (info, ls, tags and albums, in every form,
// failures included) leave a catalogue root byte for byte as it was: no new file or
// folder, the same bytes, the same modification times.
#include <gtest/gtest.h>

#include <chrono>

#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::PackedDate;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;
using zandb4::testing::TreeSnapshot;

// Sets every entry's modification time a day back, so that any write by a
// command would show as a later time.
void AgeTree(const fs::path& folder) {
    fs::file_time_type past = fs::file_time_type::clock::now() - std::chrono::hours(24);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        fs::last_write_time(entry.path(), past);
    fs::last_write_time(folder, past);
}

class ReadOnlyCommands : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(),
                                       {
                                           {1, "/photos/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10), true, 7},
                                           {2, "/photos/b", "B.JPG", 5, PackedDate(2024, 3, 8, 10)},
                                       });
        zandb4::testing::WriteFile(m_root / "database" / "Broken.db", "not a database");
        zandb4::testing::WriteFile(m_root / "information" / "notes.txt", "kept");
        AgeTree(m_root.Path());
    }

    TempFolder m_root;
};

TEST_F(ReadOnlyCommands, LeaveTheRootUnchanged) {
    TreeSnapshot before = SnapshotTree(m_root.Path());
    ASSERT_TRUE(before.count("database/FileBasic.db"));
    const std::vector<std::vector<std::string>> runs = {
        {"info", m_root.Utf8()},
        {"info", m_root.Utf8(), "--json"},
        {"ls", m_root.Utf8()},
        {"ls", m_root.Utf8(), "--json"},
        {"ls", m_root.Utf8(), "--where", "favorite=yes", "--where", "path=/photos", "--where", "date=2024-03-07"},
        {"ls", m_root.Utf8(), "--where", "format=99"},
        {"ls", m_root.Utf8(), "--where", "date=2024-02-30"},
        {"ls", m_root.Utf8(), "--help"},
        {"info", m_root.Utf8(), "--bogus"},
    };
    for (const std::vector<std::string>& arguments : runs) {
        ToolRun run = RunZandb4(arguments);
        EXPECT_NE(run.exitCode, -1);
        EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "") << arguments[0] << " " << arguments.back();
    }
    // The runs did run: a listing was printed from this root.
    EXPECT_EQ(RunZandb4({"ls", m_root.Utf8(), "--where", "format=5"}).out,
              "2\t2024-03-08 10:00:00\t5\t0\t0\t/photos/b\tB.JPG\n");
}

TEST(ReadOnlyLabelCommands, TagsAlbumsAndNameConditionsLeaveTheRootUnchanged) {
    TempFolder root;
    zandb4::testing::LabelIds ids = zandb4::testing::MakeLabelledCatalogue(
        root.Path(), {{"Holiday", 1}, {"it's", 2}}, {{"Summer", 35.5f, 139.25f, "Tokyo"}, {"Twin", 0, 0, ""}, {"Twin", 0, 0, ""}},
        {{{1, "/photos/a", "A.JPG", 3, PackedDate(2024, 3, 7, 10), false, 0}, 1, {0, 1}, true},
         {{2, "/photos/b", "B.JPG", 3, PackedDate(2024, 3, 8, 10), false, 0}, 2, {1}, true}});
    ASSERT_EQ(ids.albums.size(), 3u);
    AgeTree(root.Path());
    TreeSnapshot before = SnapshotTree(root.Path());
    const std::vector<std::vector<std::string>> runs = {
        {"tags", root.Utf8()},
        {"tags", root.Utf8(), "--json"},
        {"albums", root.Utf8()},
        {"albums", root.Utf8(), "--json"},
        {"ls", root.Utf8(), "--where", "tag=it's", "--where", "album=Summer"},
        {"ls", root.Utf8(), "--where", "tag=Nope"},
        {"ls", root.Utf8(), "--where", "album=Twin"},
        {"ls", root.Utf8(), "--where", "album=Nope", "--json"},
        {"tags", root.Utf8(), "--help"},
        {"albums", root.Utf8(), "--bogus"},
    };
    for (const std::vector<std::string>& arguments : runs) {
        ToolRun run = RunZandb4(arguments);
        EXPECT_NE(run.exitCode, -1);
        EXPECT_EQ(TreeDifference(before, SnapshotTree(root.Path())), "") << arguments[0] << " " << arguments.back();
    }
    // The runs did run: the names were read from this root.
    EXPECT_EQ(RunZandb4({"tags", root.Utf8()}).out,
              std::to_string(ids.tags[0]) + "\tHoliday\t1\t1\n" + std::to_string(ids.tags[1]) + "\tit's\t2\t2\n");
    EXPECT_EQ(RunZandb4({"ls", root.Utf8(), "--where", "tag=it's", "--where", "album=Summer"}).out,
              "1\t2024-03-07 10:00:00\t3\t0\t" + std::to_string(ids.albums[0]) + "\t/photos/a\tA.JPG\n");
}

TEST_F(ReadOnlyCommands, ACatalogueWithoutItsInformationFolderGetsNone) {
    fs::remove_all(m_root / "information");
    AgeTree(m_root.Path());
    TreeSnapshot before = SnapshotTree(m_root.Path());
    EXPECT_EQ(RunZandb4({"ls", m_root.Utf8()}).exitCode, 0);
    ToolRun info = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("information/  (missing)\n"), std::string::npos) << info.out;
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    EXPECT_FALSE(fs::exists(m_root / "information"));
}

TEST_F(ReadOnlyCommands, ARootWithoutACatalogueGetsNone) {
    TempFolder empty;
    AgeTree(empty.Path());
    TreeSnapshot before = SnapshotTree(empty.Path());
    EXPECT_EQ(RunZandb4({"ls", empty.Utf8()}).exitCode, 2);
    EXPECT_EQ(RunZandb4({"info", empty.Utf8()}).exitCode, 2);
    EXPECT_EQ(RunZandb4({"ls", empty.Utf8(), "--json"}).exitCode, 2);
    EXPECT_EQ(TreeDifference(before, SnapshotTree(empty.Path())), "");
    EXPECT_EQ(before.size(), 1u);  // the folder alone
}

}  // namespace
