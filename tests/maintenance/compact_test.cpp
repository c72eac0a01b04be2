// CompactDatabases: the catalogue alone, or with all set every shard family
// after it in a fixed order, stopping at the first failure; the catalogue's
// lock held throughout. Free pages left by deleted rows show whether a file
// was compacted.
#include <atomic>
#include <chrono>
#include <thread>

#include "faces/feature_point_mgr.h"
#include "maintenance/db_utility.h"
#include "maintenance_fixture.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"

namespace maintenance_test {
namespace {

// Enough bytes per row that deleting a few rows frees whole pages.
const std::string kBigValue(20000, 'x');

class Compact : public MaintenanceTest {
protected:
    // Free pages in a file, as SQLite counts them.
    int64_t FreePages(const fs::path& file) const { return FileInteger(file, "PRAGMA freelist_count"); }

    // Leaves free pages in the catalogue.
    void FreePagesInCatalogue() {
        ExecOnCatalogue("CREATE TABLE scratch (x BLOB)");
        for (int row = 0; row < 10; ++row) ExecOnCatalogue("INSERT INTO scratch VALUES (zeroblob(20000))");
        ExecOnCatalogue("DROP TABLE scratch");
    }
    // Writes thumbnails 1 to 10 into the kind 1 shard of a family, commits,
    // deletes them and commits again: the shard file has free pages.
    void FreePagesInThumbnails(CSQLiteThumbDBMgr* family) {
        CSQLiteThumbDBFactory* factory = family->Factory(1);
        for (uint64_t id = 1; id <= 10; ++id)
            ASSERT_EQ(factory->AddThumbnail(id, kBigValue.data(), static_cast<uint32_t>(kBigValue.size())), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
        for (uint64_t id = 1; id <= 10; ++id) ASSERT_EQ(factory->DeleteThumbnail(id), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
    }
    void FreePagesInMetaData(uint64_t firstId) {
        CSQLiteMetaDataDBFactory* factory = DatabaseRegistry::metaFactory;
        for (uint64_t id = firstId; id < firstId + 10; ++id)
            ASSERT_EQ(factory->AddMetaData(id, 1, kBigValue.data(), static_cast<uint32_t>(kBigValue.size())), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
        for (uint64_t id = firstId; id < firstId + 10; ++id) ASSERT_EQ(factory->DeleteMetaData(id), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
    }
    void FreePagesInFeaturePoints(CSQLiteFaceFeaturePointDBMgr* family) {
        // The individual set deletes for real (the working set only marks).
        CSQLiteFaceFeaturePointDBFactory* factory = family->Individual();
        for (uint64_t id = 1; id <= 10; ++id)
            ASSERT_EQ(factory->InsertFeaturePoint(id, kBigValue.data(), static_cast<uint32_t>(kBigValue.size()), 1,
                                                  Packed(2021, 1, 1)),
                      S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
        for (uint64_t id = 1; id <= 9; ++id) ASSERT_EQ(factory->RemoveFeaturePoint(id), S_OK);
        ASSERT_EQ(factory->CommitShards(), S_OK);
    }
    fs::path ThumbShard(const std::string& family) const { return DatabaseFolder() / (family + "_0s") / "00000000.db"; }
    fs::path MetaShard(const std::string& name) const { return DatabaseFolder() / "meta" / name; }
    fs::path FeaturePointShard(const std::string& folder) const { return DatabaseFolder() / folder / "00000000.db"; }
};

TEST_F(Compact, WithoutAllOnlyTheCatalogueIsCompacted) {
    Start();
    FreePagesInCatalogue();
    FreePagesInThumbnails(DatabaseRegistry::thumbMgr);
    ASSERT_GT(FreePages(Catalogue()), 0);
    ASSERT_GT(FreePages(ThumbShard("thumb")), 0);
    EXPECT_EQ(m_utility->CompactDatabases(0), S_OK);
    EXPECT_EQ(FreePages(Catalogue()), 0);
    EXPECT_GT(FreePages(ThumbShard("thumb")), 0);
}

TEST_F(Compact, WithAllEveryShardFamilyIsCompactedToo) {
    Start();
    FreePagesInCatalogue();
    for (CSQLiteThumbDBMgr* family :
         {DatabaseRegistry::thumbMgr, DatabaseRegistry::psniThumbMgr, DatabaseRegistry::ptiThumbMgr,
          DatabaseRegistry::psnfThumbMgr, DatabaseRegistry::ptfThumbMgr, DatabaseRegistry::albmThumbMgr,
          DatabaseRegistry::grfThumbMgr})
        FreePagesInThumbnails(family);
    FreePagesInMetaData(1);
    FreePagesInFeaturePoints(DatabaseRegistry::rfpMgr);
    FreePagesInFeaturePoints(DatabaseRegistry::tfpMgr);
    const char* const families[] = {"thumb", "psni", "pti", "psnf", "ptf", "albm", "grf"};
    for (const char* family : families) ASSERT_GT(FreePages(ThumbShard(family)), 0) << family;
    ASSERT_GT(FreePages(MetaShard("0.db")), 0);
    ASSERT_GT(FreePages(FeaturePointShard("rfpi")), 0);
    ASSERT_GT(FreePages(FeaturePointShard("tfpi")), 0);

    EXPECT_EQ(m_utility->CompactDatabases(1), S_OK);
    EXPECT_EQ(FreePages(Catalogue()), 0);
    for (const char* family : families) EXPECT_EQ(FreePages(ThumbShard(family)), 0) << family;
    EXPECT_EQ(FreePages(MetaShard("0.db")), 0);
    EXPECT_EQ(FreePages(FeaturePointShard("rfpi")), 0);
    EXPECT_EQ(FreePages(FeaturePointShard("tfpi")), 0);
}

TEST_F(Compact, OnlyTheMetadataShardsOpenNowAreCompacted) {
    Start();
    FreePagesInMetaData(1);
    FreePagesInMetaData(10001);
    Stop();
    Start();
    // Only the shard of ids from 10000 is opened in this run.
    uint32_t size = 0;
    EXPECT_EQ(DatabaseRegistry::metaFactory->GetMetaData(nullptr, nullptr, &size, 10001), E_FAIL);
    ASSERT_EQ(DatabaseRegistry::metaFactory->OpenShardCount(), 1u);
    EXPECT_EQ(m_utility->CompactDatabases(1), S_OK);
    EXPECT_GT(FreePages(MetaShard("0.db")), 0);
    EXPECT_EQ(FreePages(MetaShard("1.db")), 0);
}

TEST_F(Compact, ACatalogueThatCannotBeCompactedEndsItAndNothingElseIsTouched) {
    MakeStores();
    ExecOn(Catalogue(), "UPDATE version_info_table SET version=2000");
    Start();
    FreePagesInThumbnails(DatabaseRegistry::thumbMgr);
    EXPECT_EQ(m_utility->CompactDatabases(1), E_FAIL);
    EXPECT_GT(FreePages(ThumbShard("thumb")), 0);
}

TEST_F(Compact, TheFirstFamilyThatFailsEndsItAndTheFamiliesAfterItAreLeft) {
    Start();
    FreePagesInThumbnails(DatabaseRegistry::psniThumbMgr);
    Stop();
    // A psni shard of a newer version refuses to be compacted.
    ExecOn(ThumbShard("psni"), "UPDATE version_info_table SET version=2000");
    Start();
    FreePagesInCatalogue();
    FreePagesInThumbnails(DatabaseRegistry::thumbMgr);
    FreePagesInThumbnails(DatabaseRegistry::albmThumbMgr);
    EXPECT_EQ(m_utility->CompactDatabases(1), E_FAIL);
    // Before the failing family: compacted. After it: left.
    EXPECT_EQ(FreePages(Catalogue()), 0);
    EXPECT_EQ(FreePages(ThumbShard("thumb")), 0);
    EXPECT_GT(FreePages(ThumbShard("albm")), 0);
}

TEST_F(Compact, ACatalogueThatIsNoDatabaseCannotBeCompacted) {
    fs::create_directories(DatabaseFolder());
    zandb4::testing::WriteFile(Catalogue(), "garbage, not an SQLite file");
    Start();
    EXPECT_EQ(m_utility->CompactDatabases(1), E_FAIL);
    EXPECT_EQ(ReadFile(Catalogue()), "garbage, not an SQLite file");
}

TEST_F(Compact, WithoutACatalogueItFails) {
    CZanDB4DBUtility utility{DBUtilityStores{}};
    EXPECT_EQ(utility.CompactDatabases(0), E_FAIL);
    EXPECT_EQ(utility.CompactDatabases(1), E_FAIL);
}

TEST_F(Compact, ItWaitsForTheCataloguesLock) {
    Start();
    ComPtr<IZanDB4FileDBMgr> files;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(files.Receive())), S_OK);
    ASSERT_EQ(files->Lock(), S_OK);
    std::atomic<bool> done{false};
    std::thread compacting([&] {
        EXPECT_EQ(m_utility->CompactDatabases(0), S_OK);
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(done);
    ASSERT_EQ(files->Unlock(), S_OK);
    compacting.join();
    EXPECT_TRUE(done);
}

}  // namespace
}  // namespace maintenance_test
