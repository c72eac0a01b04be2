// The thumbnail families and the large-metadata shards over the library's
// start and stop: made with the catalogue, on the folders of the layout, no
// folder made before a shard is needed, what the shards hold committed when
// the library stops, and all of it gone with a dropped catalogue.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "library/database_registry.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::WriteFile;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

// The registry member of each family with its folder name.
std::vector<std::pair<CSQLiteThumbDBMgr**, std::string>> Families() {
    return {{&DatabaseRegistry::thumbMgr, "thumb"}, {&DatabaseRegistry::psniThumbMgr, "psni"},
            {&DatabaseRegistry::ptiThumbMgr, "pti"},   {&DatabaseRegistry::psnfThumbMgr, "psnf"},
            {&DatabaseRegistry::ptfThumbMgr, "ptf"},   {&DatabaseRegistry::albmThumbMgr, "albm"},
            {&DatabaseRegistry::grfThumbMgr, "grf"}};
}

class ShardFamiliesLifetime : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
        for (auto& [member, name] : Families()) EXPECT_EQ(*member, nullptr) << name;
        EXPECT_EQ(DatabaseRegistry::metaFactory, nullptr);
    }

    fs::path Database() const { return m_root / "database"; }

    TempFolder m_root;
};

const unsigned char kPicture[] = {0x89, 'P', 'N', 'G', 0, 1, 2, 3};

TEST_F(ShardFamiliesLifetime, StartMakesEveryFamilyOnItsTwoFoldersAndNoFolder) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    for (auto& [member, name] : Families()) {
        ASSERT_NE(*member, nullptr) << name;
        CSQLiteThumbDBFactory* kind1 = (*member)->Factory(1);
        CSQLiteThumbDBFactory* kind2 = (*member)->Factory(2);
        ASSERT_NE(kind1, nullptr) << name;
        ASSERT_NE(kind2, nullptr) << name;
        EXPECT_EQ(fs::path(kind1->Folder().ToUtf8()), Database() / (name + "_0s"));
        EXPECT_EQ(fs::path(kind2->Folder().ToUtf8()), Database() / (name + "_1s"));
        EXPECT_EQ(kind1->OpenShardCount(), 0u);
        // No folder of any of the four names before a shard is needed.
        for (const char* suffix : {"_0s", "_0a", "_1s", "_1a"})
            EXPECT_FALSE(fs::exists(Database() / (name + suffix))) << name << suffix;
    }
    ASSERT_NE(DatabaseRegistry::metaFactory, nullptr);
    EXPECT_EQ(fs::path(DatabaseRegistry::metaFactory->Folder().ToUtf8()), Database() / "meta");
    EXPECT_FALSE(fs::exists(Database() / "meta"));
    // Each family is a store of its own, not one shared object.
    EXPECT_NE(DatabaseRegistry::thumbMgr, DatabaseRegistry::albmThumbMgr);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ShardFamiliesLifetime, StopCommitsWhatTheShardsHoldAndClearsTheMembers) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_EQ(DatabaseRegistry::thumbMgr->Factory(1)->AddThumbnail(12345, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(DatabaseRegistry::albmThumbMgr->Factory(2)->AddThumbnail(7, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(DatabaseRegistry::grfThumbMgr->Factory(1)->AddThumbnail(20000, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(100000, 3, kPicture, sizeof kPicture), S_OK);
    // Nothing was committed: another connection sees no row yet.
    {
        SqliteProbe shard(Database() / "thumb_0s" / "00000001.db");
        EXPECT_EQ(shard.Integer("SELECT COUNT(*) FROM thumbnail_table"), 0);
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    SqliteProbe files(Database() / "thumb_0s" / "00000001.db");
    EXPECT_EQ(files.Integer("SELECT file_id FROM thumbnail_table"), 12345);
    SqliteProbe albums(Database() / "albm_1s" / "00000000.db");
    EXPECT_EQ(albums.Integer("SELECT file_id FROM thumbnail_table"), 7);
    SqliteProbe groups(Database() / "grf_0s" / "00000002.db");
    EXPECT_EQ(groups.Integer("SELECT file_id FROM thumbnail_table"), 20000);
    SqliteProbe meta(Database() / "meta" / "A.db");
    EXPECT_EQ(meta.Integer("SELECT meta_data_type FROM meta_data_table WHERE file_id=100000"), 3);
    // No journal is left beside a shard that was closed cleanly.
    EXPECT_FALSE(fs::exists(Database() / "thumb_0s" / "00000001.db-journal"));
}

TEST_F(ShardFamiliesLifetime, SecondStartKeepsTheFamiliesOfTheFirst) {
    TempFolder other;
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    CSQLiteThumbDBMgr* first = DatabaseRegistry::thumbMgr;
    CSQLiteMetaDataDBFactory* firstMeta = DatabaseRegistry::metaFactory;
    ASSERT_EQ(ZanDB4_Initialize(other.Wide().GetString()), S_OK);
    EXPECT_EQ(DatabaseRegistry::thumbMgr, first);
    EXPECT_EQ(DatabaseRegistry::metaFactory, firstMeta);
    EXPECT_EQ(fs::path(first->Factory(1)->Folder().ToUtf8()), Database() / "thumb_0s");
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    // Still up after the first of two stops.
    EXPECT_EQ(DatabaseRegistry::thumbMgr, first);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ShardFamiliesLifetime, AccessDeniedStartMakesNoFamilyAndStopsCleanly) {
    WriteFile(m_root / "database", "a file in the way");
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    for (auto& [member, name] : Families()) EXPECT_EQ(*member, nullptr) << name;
    EXPECT_EQ(DatabaseRegistry::metaFactory, nullptr);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ShardFamiliesLifetime, DropRemovesTheShardFoldersAFormerRunMade) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    ASSERT_EQ(DatabaseRegistry::psnfThumbMgr->Factory(1)->AddThumbnail(1, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(1, 1, kPicture, sizeof kPicture), S_OK);
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    ASSERT_TRUE(fs::is_regular_file(Database() / "psnf_0s" / "00000000.db"));
    ASSERT_TRUE(fs::is_regular_file(Database() / "meta" / "0.db"));

    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(fs::exists(Database()));
    // A new start finds no thumbnail of the dropped catalogue.
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(DatabaseRegistry::psnfThumbMgr->Factory(1)->HasThumbnail(1));
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST_F(ShardFamiliesLifetime, FactoryServesTheThreeCacheObjects) {
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
    for (const IID* iid : {&IID_IZanDB4FileCache, &IID_IZanDB4EditFileCache, &IID_IZanDB4MainImageCache}) {
        IUnknown* object = nullptr;
        ASSERT_EQ(ZanDB4_CreateInstance(iid, reinterpret_cast<void**>(&object)), S_OK) << std::hex << iid->Data1;
        ASSERT_NE(object, nullptr);
        void* same = nullptr;
        EXPECT_EQ(object->QueryInterface(*iid, &same), S_OK);
        EXPECT_EQ(same, static_cast<void*>(object));
        // One reference for the caller, one from QueryInterface.
        EXPECT_EQ(object->Release(), 1u);
        EXPECT_EQ(object->Release(), 0u);
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

}  // namespace
