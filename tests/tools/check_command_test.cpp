// "zandb4 check" run as a user runs it: a sound root, a root with orphans
// the library made, a damaged shard file and a shard file that is not a
// database at all; the findings, the exit codes, and that nothing changes.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::CatalogueFileRow;
using zandb4::testing::JsonValue;
using zandb4::testing::MakeCatalogue;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::SnapshotTree;
using zandb4::testing::StoredThumbnail;
using zandb4::testing::StoreThumbnails;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;
using zandb4::testing::TreeDifference;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

int64_t CountOf(const JsonValue& json, const std::string& key) {
    const JsonValue* links = json.Find("dead_links");
    if (links == nullptr || links->Find(key) == nullptr) return -1;
    return links->Find(key)->Integer();
}

class CheckCommand : public ::testing::Test {
protected:
    void SetUp() override {
        // Files 1 and 2, each in a folder of its own (the catalogue keys a
        // file by its path), neither of which exists.
        MakeCatalogue(m_root.Path(), {CatalogueFileRow{1, "/nowhere/a", "a.jpg", 1, 0, false, 0},
                                      CatalogueFileRow{2, "/nowhere/b", "b.jpg", 1, 0, false, 0}});
    }
    fs::path Root() const { return m_root.Path(); }
    fs::path Database() const { return m_root.Path() / "database"; }

    TempFolder m_root;
};

TEST_F(CheckCommand, ASoundRootPassesAndNothingChanges) {
    StoreThumbnails(Root(), {StoredThumbnail{"thumb", 1, 1, "one"}, StoredThumbnail{"thumb", 2, 2, "two"}});
    const auto before = SnapshotTree(Root());
    ToolRun run = RunZandb4({"check", Root().string(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(TreeDifference(before, SnapshotTree(Root())), "");
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    EXPECT_GE(json->Find("files_checked")->Integer(), 6);
    EXPECT_TRUE(json->Find("unsound")->items.empty());
    EXPECT_EQ(CountOf(*json, "orphan_thumbnails"), 0);
    EXPECT_TRUE(json->Find("sound")->boolean);
    // Without --files the files on disk are not looked for.
    EXPECT_EQ(CountOf(*json, "dead_files"), -1);
}

TEST_F(CheckCommand, OrphansAndMissingFilesAreCountedWithExitCode1) {
    // Thumbnails of ids no file has.
    StoreThumbnails(Root(), {StoredThumbnail{"thumb", 1, 7, "seven"}, StoredThumbnail{"thumb", 2, 9, "nine"},
                             StoredThumbnail{"thumb", 1, 1, "one"}});
    const auto before = SnapshotTree(Root());
    ToolRun run = RunZandb4({"check", Root().string(), "--files", "--json"});
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_EQ(TreeDifference(before, SnapshotTree(Root())), "");
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    EXPECT_EQ(CountOf(*json, "orphan_thumbnails"), 2);
    // Both catalogued files lie in a folder that does not exist.
    EXPECT_EQ(CountOf(*json, "dead_files"), 2);
    EXPECT_FALSE(json->Find("sound")->boolean);

    ToolRun text = RunZandb4({"check", Root().string()});
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_TRUE(Contains(text.out, "file thumbnails without their file: 2\n")) << text.out;
    EXPECT_FALSE(Contains(text.out, "missing on disk")) << text.out;
}

TEST_F(CheckCommand, ADamagedShardFileIsNamedWithItsProblem) {
    std::vector<StoredThumbnail> many;
    for (uint64_t id = 1; id <= 2; ++id) many.push_back(StoredThumbnail{"thumb", 1, id, std::string(3000, 'a')});
    for (uint64_t id = 3; id <= 60; ++id) many.push_back(StoredThumbnail{"thumb", 1, id, std::string(3000, 'b')});
    StoreThumbnails(Root(), many);
    // Damage the middle of the shard: its pages no longer hold what their
    // headers say.
    const fs::path shard = Database() / "thumb_0s" / "00000000.db";
    ASSERT_TRUE(fs::exists(shard));
    const auto size = fs::file_size(shard);
    ASSERT_GT(size, 40000u);
    {
        std::fstream file(shard, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(size / 2));
        const std::string garbage(8192, '\x5a');
        file.write(garbage.data(), static_cast<std::streamsize>(garbage.size()));
    }
    // And a shard file that is no database at all.
    std::ofstream(Database() / "thumb_0s" / "00000009.db") << "this is not an SQLite file, just text";

    ToolRun run = RunZandb4({"check", Root().string()});
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_TRUE(Contains(run.out, "database/thumb_0s/00000000.db: not sound\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "database/thumb_0s/00000009.db: not sound\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "not a database")) << run.out;
    EXPECT_TRUE(Contains(run.err, shard.string())) << run.err;
    EXPECT_TRUE(Contains(run.err, (Database() / "thumb_0s" / "00000009.db").string())) << run.err;
    // The catalogue itself is sound, so the links were still counted.
    EXPECT_TRUE(Contains(run.out, "dead links: ")) << run.out;
    EXPECT_FALSE(Contains(run.out, "not counted")) << run.out;
}

TEST_F(CheckCommand, ADamagedCatalogueIsNamedAndItsLinksAreNotCounted) {
    std::ofstream(Database() / "FileBasic.db", std::ios::trunc) << "garbage where the catalogue was";
    ToolRun run = RunZandb4({"check", Root().string(), "--json"});
    EXPECT_EQ(run.exitCode, 1);
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    ASSERT_FALSE(json->Find("unsound")->items.empty());
    EXPECT_EQ(json->Find("unsound")->items.front().Find("file")->text, "database/FileBasic.db");
    EXPECT_EQ(json->Find("dead_links")->type, JsonValue::Type::kNull);
    EXPECT_TRUE(Contains(json->Find("dead_links_problem")->text, "not sound")) << run.out;
    EXPECT_TRUE(Contains(run.err, (Database() / "FileBasic.db").string())) << run.err;
}

TEST_F(CheckCommand, ARootWithoutCatalogueIsExitCode2) {
    TempFolder empty;
    ToolRun run = RunZandb4({"check", empty.Path().string()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(Contains(run.err, "FileBasic.db")) << run.err;
    EXPECT_TRUE(fs::is_empty(empty.Path()));
}

}  // namespace
