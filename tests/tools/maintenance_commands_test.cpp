// "zandb4 upgrade", "zandb4 compact" and "zandb4 backup" run as a user runs
// them: on catalogues the library made, with stores set back to older
// versions or forward to a newer major one with SQLite alone, and on backup
// targets that cannot be written.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "json_reader.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::CatalogueFileRow;
using zandb4::testing::JsonValue;
using zandb4::testing::MakeCatalogue;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::StoredThumbnail;
using zandb4::testing::StoreThumbnails;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Runs one statement on a store file with SQLite alone.
void Execute(const fs::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK) << file;
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

int64_t StoredVersion(const fs::path& file) {
    sqlite3* db = nullptr;
    int64_t version = -1;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* select = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT version FROM version_info_table", -1, &select, nullptr) == SQLITE_OK &&
            sqlite3_step(select) == SQLITE_ROW)
            version = sqlite3_column_int64(select, 0);
        sqlite3_finalize(select);
    }
    sqlite3_close(db);
    return version;
}

class MaintenanceCommands : public ::testing::Test {
protected:
    void SetUp() override {
        MakeCatalogue(m_root.Path(), {CatalogueFileRow{1, "/photos/a", "a.jpg", 1, 0, false, 0},
                                      CatalogueFileRow{2, "/photos/b", "b.jpg", 1, 0, false, 0}});
    }
    fs::path Root() const { return m_root.Path(); }
    fs::path Database() const { return m_root.Path() / "database"; }

    TempFolder m_root;
};

TEST_F(MaintenanceCommands, UpgradeBringsOlderStoresToTheCurrentVersionAndSaysSo) {
    Execute(Database() / "UserLog.db", "UPDATE version_info_table SET version=1200");
    Execute(Database() / "FileBasicAsync.db", "UPDATE version_info_table SET version=1100");
    Execute(Database() / "FileBasic.db", "UPDATE version_info_table SET version=1200");
    Execute(Database() / "Memory.db", "UPDATE version_info_table SET version=1000");

    ToolRun run = RunZandb4({"upgrade", Root().string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "database/UserLog.db: 1200 -> 1201\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "database/FileBasicAsync.db: 1100 -> 1201\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "database/FileBasic.db: 1200 -> 1201\n")) << run.out;
    // The memory data store is never upgraded, and that is no failure.
    EXPECT_TRUE(Contains(run.out, "database/Memory.db: 1000\n")) << run.out;
    EXPECT_EQ(StoredVersion(Database() / "UserLog.db"), 1201);
    EXPECT_EQ(StoredVersion(Database() / "FileBasicAsync.db"), 1201);
    EXPECT_EQ(StoredVersion(Database() / "FileBasic.db"), 1201);
    EXPECT_EQ(StoredVersion(Database() / "Memory.db"), 1000);
    // Standard error is no terminal here: the progress comes as plain lines.
    EXPECT_TRUE(Contains(run.err, "upgrade")) << run.err;
    EXPECT_FALSE(Contains(run.err, "\r")) << run.err;

    // A second run finds nothing to do.
    ToolRun again = RunZandb4({"upgrade", Root().string(), "--json"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    std::optional<JsonValue> json = ParseJson(again.out);
    ASSERT_TRUE(json) << again.out;
    ASSERT_NE(json->Find("current_version"), nullptr);
    EXPECT_EQ(json->Find("current_version")->Integer(), 1201);
    const JsonValue* stores = json->Find("stores");
    ASSERT_NE(stores, nullptr);
    ASSERT_EQ(stores->items.size(), 5u);
    for (const JsonValue& store : stores->items) {
        ASSERT_NE(store.Find("before"), nullptr);
        ASSERT_NE(store.Find("after"), nullptr);
        EXPECT_EQ(store.Find("before")->number, store.Find("after")->number) << store.Find("store")->text;
    }
    EXPECT_EQ(json->Find("behind")->items.size(), 0u);
}

TEST_F(MaintenanceCommands, EveryCommandRefusesAStoreOfANewerMajorVersionAndChangesNothing) {
    Execute(Database() / "FileBasicAsync.db", "UPDATE version_info_table SET version=2001");
    Execute(Database() / "UserLog.db", "UPDATE version_info_table SET version=1200");
    for (const char* command : {"upgrade", "compact", "backup"}) {
        ToolRun run = RunZandb4({command, Root().string()});
        EXPECT_EQ(run.exitCode, 4) << command;
        EXPECT_TRUE(Contains(run.err, "FileBasicAsync.db")) << run.err;
        EXPECT_TRUE(Contains(run.err, "newer major version")) << run.err;
        EXPECT_EQ(run.out, "") << command;
    }
    EXPECT_EQ(StoredVersion(Database() / "UserLog.db"), 1200);
    EXPECT_EQ(StoredVersion(Database() / "FileBasicAsync.db"), 2001);
    EXPECT_FALSE(fs::exists(Root() / "database-backup"));
}

TEST_F(MaintenanceCommands, EveryCommandRefusesARootWithoutCatalogue) {
    TempFolder empty;
    for (const char* command : {"upgrade", "compact", "backup"}) {
        ToolRun run = RunZandb4({command, empty.Path().string()});
        EXPECT_EQ(run.exitCode, 2) << command << run.err;
        EXPECT_TRUE(Contains(run.err, empty.Path().string())) << run.err;
        // Nothing was made there.
        EXPECT_TRUE(fs::is_empty(empty.Path())) << command;
    }
}

TEST_F(MaintenanceCommands, CompactReportsTheSizesAndKeepsEveryRow) {
    StoreThumbnails(Root(), {StoredThumbnail{"thumb", 1, 1, std::string(4000, 'x')}});
    ToolRun run = RunZandb4({"compact", Root().string(), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    EXPECT_TRUE(Contains(json->Find("result")->text, "S_OK (0x00000000)")) << run.out;
    EXPECT_TRUE(json->Find("shards")->boolean);
    EXPECT_GT(json->Find("bytes_after")->Integer(), 0);
    EXPECT_LE(json->Find("bytes_after")->Integer(), json->Find("bytes_before")->Integer());

    ToolRun listed = RunZandb4({"ls", Root().string()});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_TRUE(Contains(listed.out, "a.jpg")) << listed.out;
    EXPECT_TRUE(Contains(listed.out, "b.jpg")) << listed.out;

    ToolRun catalogueOnly = RunZandb4({"compact", Root().string(), "--catalogue-only"});
    EXPECT_EQ(catalogueOnly.exitCode, 0) << catalogueOnly.err;
    EXPECT_TRUE(Contains(catalogueOnly.out, "database folder: ")) << catalogueOnly.out;
}

TEST_F(MaintenanceCommands, BackupKeepsTwoGenerationsAndCopiesShardFoldersOnlyWhenAsked) {
    StoreThumbnails(Root(), {StoredThumbnail{"thumb", 1, 1, "first"}});
    ASSERT_TRUE(fs::is_directory(Database() / "thumb_0s"));

    ToolRun first = RunZandb4({"backup", Root().string()});
    EXPECT_EQ(first.exitCode, 0) << first.err;
    const fs::path backup = Root() / "database-backup";
    const fs::path previous = Root() / "database-backup2";
    EXPECT_TRUE(fs::is_regular_file(backup / "FileBasic.db"));
    EXPECT_FALSE(fs::exists(backup / "thumb_0s"));
    EXPECT_FALSE(fs::exists(previous));
    EXPECT_TRUE(Contains(first.out, "backup: " + backup.string())) << first.out;

    // Something that only the first generation lacks.
    std::ofstream(Database() / "second.marker") << "2";
    ToolRun second = RunZandb4({"backup", Root().string(), "--with-shards", "--json"});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    std::optional<JsonValue> json = ParseJson(second.out);
    ASSERT_TRUE(json) << second.out;
    EXPECT_EQ(json->Find("backup")->text, backup.string());
    EXPECT_EQ(json->Find("previous")->text, previous.string());
    EXPECT_TRUE(json->Find("shards")->boolean);
    EXPECT_GT(json->Find("files")->Integer(), 5);
    EXPECT_TRUE(fs::is_directory(backup / "thumb_0s"));
    EXPECT_TRUE(fs::exists(backup / "second.marker"));
    EXPECT_TRUE(fs::is_regular_file(previous / "FileBasic.db"));
    EXPECT_FALSE(fs::exists(previous / "second.marker"));

    // The third run drops the first generation.
    fs::remove(Database() / "second.marker");
    std::ofstream(Database() / "third.marker") << "3";
    ToolRun third = RunZandb4({"backup", Root().string()});
    EXPECT_EQ(third.exitCode, 0) << third.err;
    EXPECT_TRUE(fs::exists(backup / "third.marker"));
    EXPECT_TRUE(fs::exists(previous / "second.marker"));
    EXPECT_TRUE(fs::is_directory(previous / "thumb_0s"));
}

TEST_F(MaintenanceCommands, BackupIntoAFileFailsNamingItAndLeavesTheFileAlone) {
    const fs::path backup = Root() / "database-backup";
    std::ofstream(backup) << "not a folder";
    ToolRun run = RunZandb4({"backup", Root().string()});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_TRUE(Contains(run.err, backup.string())) << run.err;
    EXPECT_TRUE(Contains(run.err, "is a file")) << run.err;
    EXPECT_EQ(run.out, "");
    std::ifstream kept(backup);
    std::string text;
    std::getline(kept, text);
    EXPECT_EQ(text, "not a folder");
}

TEST_F(MaintenanceCommands, BackupIntoAReadOnlyRootFailsWithExitCode5) {
    // The stores stay open to everyone; only ROOT itself, where the backup
    // folder would be made, cannot be written. The tool runs as a user for
    // whom that counts ("nobody" when the tests run as root).
    for (const auto& entry : fs::recursive_directory_iterator(Root()))
        fs::permissions(entry.path(), fs::perms::all, fs::perm_options::add);
    zandb4::testing::OpenToEveryone(Root(), Root().parent_path());
    fs::permissions(Root(), fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    const std::string root = Root().string();
    bool held = zandb4::testing::RunUnprivileged([&] {
        ToolRun run = RunZandb4({"backup", root});
        return run.exitCode == 5 && run.out.empty() && Contains(run.err, root + "/database-backup") &&
               Contains(run.err, "the backup failed");
    });
    fs::permissions(Root(), fs::perms::owner_write, fs::perm_options::add);
    EXPECT_TRUE(held);
    EXPECT_FALSE(fs::exists(Root() / "database-backup"));
}

}  // namespace
