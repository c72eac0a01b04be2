// The shard part of "zandb4 info": for each thumbnail family and kind, and
// for the large metadata, the shard files and their rows, in text and JSON;
// shard files that cannot be read are listed with their reason; files that
// are no shards by the library's rule are not counted; and counting changes
// nothing on disk.
#include <gtest/gtest.h>

#include <chrono>

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

// The shard folder object of the JSON report for a family and kind (0 for
// the large metadata); null when there is none.
const JsonValue* ShardFolder(const JsonValue& report, const std::string& family, int kind) {
    const JsonValue* shards = report.Find("shards");
    if (shards == nullptr) return nullptr;
    for (const JsonValue& folder : shards->items) {
        const JsonValue* kindValue = folder.Find("kind");
        bool sameKind = kind == 0 ? kindValue->type == JsonValue::Type::kNull
                                  : kindValue->type == JsonValue::Type::kNumber && kindValue->Integer() == kind;
        if (folder.Find("family")->text == family && sameKind) return &folder;
    }
    return nullptr;
}

class InfoShards : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(), {});
        zandb4::testing::StoreThumbnails(m_root.Path(), {
                                                            {"thumb", 1, 1, "one"},
                                                            {"thumb", 1, 2, "two"},
                                                            {"thumb", 1, 10000, "ten thousand"},
                                                            {"thumb", 2, 1, "one, kind 2"},
                                                            {"albm", 2, 7, "album 7"},
                                                            {"psnf", 1, 18446744073709551615u, "last face"},
                                                        });
        zandb4::testing::StoreMetaData(m_root.Path(), {{1, "exif"}, {100000, "maker notes"}, {100001, "more"}});
        fs::path thumb = m_root / "database" / "thumb_0s";
        // Beside the shards: one that is not a database, and entries that are
        // no shards by the library's rule.
        zandb4::testing::WriteFile(thumb / "00000009.db", "not a database at all");
        zandb4::testing::WriteFile(thumb / "notes.txt", "kept");
        zandb4::testing::WriteFile(thumb / "00000000.DB", "upper-case extension");
        zandb4::testing::WriteFile(thumb / "00000000.db-journal", "");
        fs::create_directories(thumb / "folder.db");
        // An SQLite file in a shard folder without the folder's table.
        fs::create_directories(m_root / "database" / "grf_0s");
        zandb4::testing::MakeSqliteFile(m_root / "database" / "grf_0s" / "00000000.db", "CREATE TABLE other (x)");
        // A file where the folder of kind 1 of the pets belongs.
        zandb4::testing::WriteFile(m_root / "database" / "pti_0s", "not a folder");
    }

    TempFolder m_root;
};

TEST_F(InfoShards, TextCountsShardFilesAndRowsPerFamilyAndKind) {
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const std::string expected =
        "shard folders\n"
        "  database/thumb_0s  thumb kind 1: 3 shard files, 3 thumbnails; 1 unreadable, its rows not counted\n"
        "    database/thumb_0s/00000009.db  not a database (the file is not an SQLite file)\n"
        "  database/thumb_1s  thumb kind 2: 1 shard file, 1 thumbnail\n"
        "  database/psni_0s  psni kind 1: missing\n"
        "  database/psni_1s  psni kind 2: missing\n"
        "  database/pti_0s  pti kind 1: is not a folder\n"
        "  database/pti_1s  pti kind 2: missing\n"
        "  database/psnf_0s  psnf kind 1: 1 shard file, 1 thumbnail\n"
        "  database/psnf_1s  psnf kind 2: missing\n"
        "  database/ptf_0s  ptf kind 1: missing\n"
        "  database/ptf_1s  ptf kind 2: missing\n"
        "  database/albm_0s  albm kind 1: missing\n"
        "  database/albm_1s  albm kind 2: 1 shard file, 1 thumbnail\n"
        "  database/grf_0s  grf kind 1: 1 shard file, 0 thumbnails; 1 unreadable, its rows not counted\n"
        "    database/grf_0s/00000000.db  not a shard of this folder (it has no thumbnail_table)\n"
        "  database/grf_1s  grf kind 2: missing\n"
        "  database/meta  large metadata: 2 shard files, 3 metadata blocks\n"
        "feature point sets\n"
        "  database/rfpw  rfp working: missing\n"
        "  database/rfpg  rfp group: missing\n"
        "  database/rfpi  rfp individual: missing\n"
        "  database/tfpw  tfp working: missing\n"
        "  database/tfpg  tfp group: missing\n"
        "  database/tfpi  tfp individual: missing\n"
        "staged  0 files, 0 person faces, 0 pet faces\n"
        "memos   0 entries\n"
        "usage   0 day values, 0 strings, 0 launch days, 0 histories, 0 edit parameters\n";
    size_t at = run.out.find("shard folders\n");
    ASSERT_NE(at, std::string::npos) << run.out;
    // The shard part, the staged counts and the application's stores come
    // last.
    EXPECT_EQ(run.out.substr(at), expected);
}

TEST_F(InfoShards, JsonCountsShardFilesAndRowsPerFamilyAndKind) {
    ToolRun run = RunZandb4({"info", m_root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    ASSERT_NE(report->Find("shards"), nullptr);
    EXPECT_EQ(report->Find("shards")->items.size(), 15u);

    const JsonValue* thumb = ShardFolder(*report, "thumb", 1);
    ASSERT_NE(thumb, nullptr);
    EXPECT_EQ(thumb->Find("folder")->text, "database/thumb_0s");
    EXPECT_EQ(thumb->Find("table")->text, "thumbnail_table");
    EXPECT_TRUE(thumb->Find("present")->boolean);
    EXPECT_EQ(thumb->Find("problem")->type, JsonValue::Type::kNull);
    EXPECT_EQ(thumb->Find("files")->Integer(), 3);
    EXPECT_EQ(thumb->Find("rows")->Integer(), 3);
    const JsonValue& unreadable = *thumb->Find("unreadable");
    ASSERT_EQ(unreadable.items.size(), 1u);
    EXPECT_EQ(unreadable.items[0].Find("name")->text, "database/thumb_0s/00000009.db");
    EXPECT_TRUE(Contains(unreadable.items[0].Find("problem")->text, "not a database"));

    const JsonValue* kindTwo = ShardFolder(*report, "thumb", 2);
    ASSERT_NE(kindTwo, nullptr);
    EXPECT_EQ(kindTwo->Find("folder")->text, "database/thumb_1s");
    EXPECT_EQ(kindTwo->Find("files")->Integer(), 1);
    EXPECT_EQ(kindTwo->Find("rows")->Integer(), 1);
    EXPECT_TRUE(kindTwo->Find("unreadable")->items.empty());

    const JsonValue* missing = ShardFolder(*report, "ptf", 1);
    ASSERT_NE(missing, nullptr);
    EXPECT_FALSE(missing->Find("present")->boolean);
    EXPECT_EQ(missing->Find("files")->Integer(), 0);
    EXPECT_EQ(missing->Find("rows")->Integer(), 0);

    // A file where the folder belongs: its counts are unknown, not 0.
    const JsonValue* notAFolder = ShardFolder(*report, "pti", 1);
    ASSERT_NE(notAFolder, nullptr);
    EXPECT_TRUE(notAFolder->Find("present")->boolean);
    EXPECT_EQ(notAFolder->Find("problem")->text, "is not a folder");
    EXPECT_EQ(notAFolder->Find("files")->type, JsonValue::Type::kNull);
    EXPECT_EQ(notAFolder->Find("rows")->type, JsonValue::Type::kNull);

    const JsonValue* grf = ShardFolder(*report, "grf", 1);
    ASSERT_NE(grf, nullptr);
    ASSERT_EQ(grf->Find("unreadable")->items.size(), 1u);
    EXPECT_EQ(grf->Find("unreadable")->items[0].Find("problem")->text,
              "not a shard of this folder (it has no thumbnail_table)");

    const JsonValue* meta = ShardFolder(*report, "meta", 0);
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->Find("folder")->text, "database/meta");
    EXPECT_EQ(meta->Find("table")->text, "meta_data_table");
    EXPECT_EQ(meta->Find("files")->Integer(), 2);  // 0.db and A.db
    EXPECT_EQ(meta->Find("rows")->Integer(), 3);
}

TEST_F(InfoShards, CountingChangesNothing) {
    fs::file_time_type past = fs::file_time_type::clock::now() - std::chrono::hours(24);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_root.Path()))
        fs::last_write_time(entry.path(), past);
    TreeSnapshot before = SnapshotTree(m_root.Path());
    EXPECT_EQ(RunZandb4({"info", m_root.Utf8()}).exitCode, 0);
    EXPECT_EQ(RunZandb4({"info", m_root.Utf8(), "--json"}).exitCode, 0);
    EXPECT_EQ(TreeDifference(before, SnapshotTree(m_root.Path())), "");
    EXPECT_FALSE(fs::exists(m_root / "database" / "psni_0s"));
}

TEST(InfoShardsOfANewCatalogue, EveryShardFolderIsMissing) {
    TempFolder root;
    zandb4::testing::MakeCatalogue(root.Path(), {});
    ToolRun run = RunZandb4({"info", root.Utf8(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> report = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(report) << run.out;
    const JsonValue& shards = *report->Find("shards");
    ASSERT_EQ(shards.items.size(), 15u);
    const char* families[] = {"thumb", "psni", "pti", "psnf", "ptf", "albm", "grf"};
    for (size_t i = 0; i < 14; ++i) {
        const JsonValue& folder = shards.items[i];
        EXPECT_EQ(folder.Find("family")->text, families[i / 2]);
        EXPECT_EQ(folder.Find("kind")->Integer(), static_cast<int64_t>(i % 2 + 1));
        EXPECT_EQ(folder.Find("folder")->text,
                  std::string("database/") + families[i / 2] + (i % 2 == 0 ? "_0s" : "_1s"));
        EXPECT_FALSE(folder.Find("present")->boolean);
    }
    EXPECT_EQ(shards.items[14].Find("family")->text, "meta");
    EXPECT_FALSE(shards.items[14].Find("present")->boolean);
    ToolRun text = RunZandb4({"info", root.Utf8()});
    EXPECT_TRUE(Contains(text.out, "  database/thumb_0s  thumb kind 1: missing\n")) << text.out;
    EXPECT_TRUE(Contains(text.out, "  database/meta  large metadata: missing\n")) << text.out;
}

}  // namespace
