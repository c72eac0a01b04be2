// The catalogue's rows of cached images, over a real catalogue file:
// image_file_table through EditFileCacheRows and main_image_cache_file_table
// through MainImageCacheRows. Every write is checked on disk by a separate
// connection after the store's Commit, and the transaction each write opens
// (or, for the edit cache update, does not open) is checked as well. Values
// are bound, so a path with an apostrophe is an ordinary path here. Last,
// the file store's delete of a file row takes the file's main image cache
// row with it.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

#include "../catalogue/catalogue_test_helpers.h"
#include "catalogue/file_rows.h"
#include "frame/com_ptr.h"
#include "shards/edit_file_cache.h"
#include "shards/edit_file_cache_rows.h"
#include "shards/main_image_cache.h"
#include "shards/main_image_cache_rows.h"

namespace {

using catalogue_test::CopyNewCatalogueFile;
using catalogue_test::ExecAll;
using catalogue_test::kCatalogueName;
using catalogue_test::PlaceCatalogue;
using storage_test::Rows;
using storage_test::SqliteTransactionOpen;
using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

// Filter bytes with zeros inside and at the end.
const std::vector<unsigned char> kFilter = {0x00, 0x01, 0xFE, 0x00, 0x7F, 0x80, 0x00};
constexpr char kFilterHex[] = "0001FE007F8000";
const std::vector<unsigned char> kOtherFilter = {0xAB, 0xCD};

constexpr char16_t kEditPath[] = u"/edits/O'Brien's trip/IMG_0001.jpg";
constexpr char kEditPathUtf8[] = "/edits/O'Brien's trip/IMG_0001.jpg";
constexpr char16_t kMainPath[] = u"/cache/main/l'\u00e9t\u00e9/IMG_0002.jpg";
constexpr char kMainPathUtf8[] = "/cache/main/l'\u00e9t\u00e9/IMG_0002.jpg";

std::vector<unsigned char> BytesAt(const void* data, uint32_t size) {
    if (data == nullptr) return {};
    const auto* bytes = static_cast<const unsigned char*>(data);
    return std::vector<unsigned char>(bytes, bytes + size);
}

ComPtr<IZanDB4EditFileCache> EditCache(uint32_t type, const char16_t* path, const std::vector<unsigned char>* filter,
                                       uint16_t orientation) {
    ComPtr<IZanDB4EditFileCache> cache = ComPtr<IZanDB4EditFileCache>::Adopt(new CZanDB4EditFileCache());
    EXPECT_EQ(cache->SetImageFileType(type), S_OK);
    EXPECT_EQ(cache->SetImageFilePath(path), S_OK);
    if (filter != nullptr) {
        EXPECT_EQ(cache->SetFilterData(filter->data(), static_cast<uint32_t>(filter->size())), S_OK);
    }
    EXPECT_EQ(cache->SetFilterDataOrientation(orientation), S_OK);
    return cache;
}

ComPtr<IZanDB4MainImageCache> MainCache(uint32_t type, const char16_t* path) {
    ComPtr<IZanDB4MainImageCache> cache = ComPtr<IZanDB4MainImageCache>::Adopt(new CZanDB4MainImageCache());
    EXPECT_EQ(cache->SetFileType(type), S_OK);
    EXPECT_EQ(cache->SetFilePath(path), S_OK);
    return cache;
}

// A new catalogue, opened, with no transaction open.
class ImageCacheRows : public ::testing::Test {
protected:
    void SetUp() override {
        CopyNewCatalogueFile(m_folder);
        PlaceCatalogue(m_store, m_folder);
        ASSERT_EQ(m_store.Open(), S_OK);
        ASSERT_FALSE(SqliteTransactionOpen(m_store.m_db));
    }

    EditFileCacheRows Edits() { return EditFileCacheRows(m_store); }
    MainImageCacheRows Mains() { return MainImageCacheRows(m_store); }

    // Rows of sql as another connection finds the file now.
    Rows OnDisk(const std::string& sql) {
        SqliteProbe probe(m_folder / kCatalogueName);
        EXPECT_TRUE(probe.IsOpen());
        return probe.Rows(sql);
    }

    // The store's Commit, then the rows of sql on disk.
    Rows Committed(const std::string& sql) {
        EXPECT_EQ(m_store.Commit(false), S_OK);
        return OnDisk(sql);
    }

    Rows EditRowsCommitted() {
        return Committed(
            "SELECT file_id, image_file_type, image_file_path, hex(filter_data), typeof(filter_data), "
            "filter_data_orientation, typeof(filter_data_orientation) FROM image_file_table ORDER BY file_id");
    }

    Rows MainRowsCommitted() {
        return Committed("SELECT file_id, file_type, file_path FROM main_image_cache_file_table ORDER BY file_id");
    }

    // Rows put in with SQL on the store's connection, committed at once
    // when no transaction is open.
    void Insert(const std::vector<std::string>& statements) { ExecAll(m_store.m_db, statements); }

    TempFolder m_folder;
    CSQLiteFileBasicDB m_store;
};

// ---- AddEditFileCache ----

TEST_F(ImageCacheRows, AddEditFileCacheWritesEveryColumn) {
    auto cache = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, cache.Get()), S_OK);
    EXPECT_EQ(EditRowsCommitted(), (Rows{{"42", "7", kEditPathUtf8, kFilterHex, "blob", "6", "integer"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheWritesInTheOpenTransaction) {
    auto cache = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, cache.Get()), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM image_file_table"), (Rows{{"0"}}));
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM image_file_table"), (Rows{{"1"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheKeepsTheFullSixteenBitsOfTheOrientation) {
    // 0xFFFF is stored as 65535, not as a negative 16-bit number.
    auto cache = EditCache(1, kEditPath, &kFilter, 0xFFFF);
    ASSERT_EQ(Edits().AddEditFileCache(3, cache.Get()), S_OK);
    EXPECT_EQ(Committed("SELECT filter_data_orientation FROM image_file_table WHERE file_id=3"), (Rows{{"65535"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheWithoutFilterDataStoresNull) {
    auto cache = EditCache(2, kEditPath, nullptr, 1);
    ASSERT_EQ(Edits().AddEditFileCache(5, cache.Get()), S_OK);
    EXPECT_EQ(EditRowsCommitted(), (Rows{{"5", "2", kEditPathUtf8, "", "null", "1", "integer"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheStoresTheFullTypeAndId) {
    auto cache = EditCache(0xFFFFFFFFu, kEditPath, &kFilter, 0);
    ASSERT_EQ(Edits().AddEditFileCache(0x7FFFFFFFFFFFFFFFull, cache.Get()), S_OK);
    EXPECT_EQ(Committed("SELECT file_id, image_file_type FROM image_file_table"),
              (Rows{{"9223372036854775807", "4294967295"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheTwiceForOneFileIsFailAndKeepsTheFirstRow) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    auto second = EditCache(8, u"/edits/other.jpg", &kOtherFilter, 3);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    EXPECT_EQ(Edits().AddEditFileCache(42, second.Get()), E_FAIL);
    EXPECT_EQ(EditRowsCommitted(), (Rows{{"42", "7", kEditPathUtf8, kFilterHex, "blob", "6", "integer"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheTwiceFailsAlsoAcrossACommit) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    EXPECT_EQ(Edits().AddEditFileCache(42, first.Get()), E_FAIL);
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM image_file_table"), (Rows{{"1"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheWithNullCacheIsInvalidArgAndOpensNothing) {
    EXPECT_EQ(Edits().AddEditFileCache(42, nullptr), E_INVALIDARG);
    EXPECT_FALSE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM image_file_table"), (Rows{{"0"}}));
}

TEST_F(ImageCacheRows, AddEditFileCacheLeavesTheCacheObjectAsItWas) {
    auto cache = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, cache.Get()), S_OK);
    // The id goes in as an argument; the object's own id is not set by it.
    uint64_t fileId = 99;
    EXPECT_EQ(cache->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 0u);
    EXPECT_EQ(static_cast<CZanDB4EditFileCache*>(cache.Get())->RefCount(), 1);
}

// ---- UpdateEditFileCache ----

TEST_F(ImageCacheRows, UpdateEditFileCacheRewritesEveryColumnButTheKey) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    auto neighbour = EditCache(1, u"/edits/n.jpg", &kFilter, 1);
    ASSERT_EQ(Edits().AddEditFileCache(43, neighbour.Get()), S_OK);
    auto second = EditCache(9, u"/edits/second.jpg", &kOtherFilter, 0xFFFF);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    EXPECT_EQ(EditRowsCommitted(), (Rows{{"42", "9", "/edits/second.jpg", "ABCD", "blob", "65535", "integer"},
                                         {"43", "1", "/edits/n.jpg", kFilterHex, "blob", "1", "integer"}}));
}

TEST_F(ImageCacheRows, UpdateEditFileCacheWithoutFilterDataStoresNull) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    auto second = EditCache(7, kEditPath, nullptr, 6);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    EXPECT_EQ(Committed("SELECT typeof(filter_data) FROM image_file_table WHERE file_id=42"), (Rows{{"null"}}));
}

// With no transaction open the update does not open one: SQLite commits the
// single statement at once, so another connection sees it without the
// store's Commit.
TEST_F(ImageCacheRows, UpdateEditFileCacheWithNoTransactionOpenIsOnDiskAtOnce) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    ASSERT_FALSE(SqliteTransactionOpen(m_store.m_db));

    auto second = EditCache(9, u"/edits/second.jpg", &kOtherFilter, 2);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    EXPECT_FALSE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(m_store.m_inTransaction, 0);
    EXPECT_EQ(OnDisk("SELECT image_file_type, image_file_path, hex(filter_data), filter_data_orientation FROM "
                     "image_file_table"),
              (Rows{{"9", "/edits/second.jpg", "ABCD", "2"}}));
}

// The same write with no transaction open survives a Reopen, which throws
// away only what an open transaction holds.
TEST_F(ImageCacheRows, UpdateEditFileCacheWithNoTransactionOpenSurvivesAReopen) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    auto second = EditCache(9, u"/edits/second.jpg", &kOtherFilter, 2);
    ASSERT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    ASSERT_EQ(m_store.Reopen(), S_OK);
    EXPECT_EQ(OnDisk("SELECT image_file_type FROM image_file_table WHERE file_id=42"), (Rows{{"9"}}));
}

// With a transaction open the update joins it: nothing shows on disk before
// the store's Commit, and a Reopen drops it with the rest.
TEST_F(ImageCacheRows, UpdateEditFileCacheJoinsTheOpenTransaction) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    m_store.BeginTransaction();

    auto second = EditCache(9, u"/edits/second.jpg", &kOtherFilter, 2);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT image_file_type FROM image_file_table WHERE file_id=42"), (Rows{{"7"}}));
    EXPECT_EQ(Committed("SELECT image_file_type FROM image_file_table WHERE file_id=42"), (Rows{{"9"}}));
}

TEST_F(ImageCacheRows, UpdateEditFileCacheInTheOpenTransactionGoesWithAReopen) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);
    m_store.BeginTransaction();
    auto second = EditCache(9, u"/edits/second.jpg", &kOtherFilter, 2);
    ASSERT_EQ(Edits().UpdateEditFileCache(42, second.Get()), S_OK);
    ASSERT_EQ(m_store.Reopen(), S_OK);
    EXPECT_EQ(OnDisk("SELECT image_file_type FROM image_file_table WHERE file_id=42"), (Rows{{"7"}}));
}

TEST_F(ImageCacheRows, UpdateEditFileCacheWithoutARowIsOkAndWritesNothing) {
    auto cache = EditCache(9, kEditPath, &kFilter, 2);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, cache.Get()), S_OK);
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM image_file_table"), (Rows{{"0"}}));
}

TEST_F(ImageCacheRows, UpdateEditFileCacheWithNullCacheIsInvalidArg) {
    auto first = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, first.Get()), S_OK);
    EXPECT_EQ(Edits().UpdateEditFileCache(42, nullptr), E_INVALIDARG);
    EXPECT_EQ(Committed("SELECT image_file_type FROM image_file_table WHERE file_id=42"), (Rows{{"7"}}));
}

// ---- DeleteEditFileCache ----

TEST_F(ImageCacheRows, DeleteEditFileCacheRemovesOnlyThatRow) {
    auto cache = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, cache.Get()), S_OK);
    ASSERT_EQ(Edits().AddEditFileCache(43, cache.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);

    EXPECT_EQ(Edits().DeleteEditFileCache(42), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT file_id FROM image_file_table ORDER BY file_id"), (Rows{{"42"}, {"43"}}));
    EXPECT_EQ(Committed("SELECT file_id FROM image_file_table ORDER BY file_id"), (Rows{{"43"}}));
}

TEST_F(ImageCacheRows, DeleteEditFileCacheWithoutARowIsOk) {
    EXPECT_EQ(Edits().DeleteEditFileCache(42), S_OK);
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM image_file_table"), (Rows{{"0"}}));
}

// ---- GetEditFileCache ----

TEST_F(ImageCacheRows, GetEditFileCacheFillsANewObjectFromTheRow) {
    auto written = EditCache(7, kEditPath, &kFilter, 0xFFFF);
    ASSERT_EQ(Edits().AddEditFileCache(42, written.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);

    ComPtr<IZanDB4EditFileCache> read;
    ASSERT_EQ(Edits().GetEditFileCache(42, read.Receive()), S_OK);
    ASSERT_TRUE(read);
    EXPECT_NE(read.Get(), written.Get());
    EXPECT_EQ(static_cast<CZanDB4EditFileCache*>(read.Get())->RefCount(), 1);
    uint64_t fileId = 0;
    EXPECT_EQ(read->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 42u);
    uint32_t type = 0;
    EXPECT_EQ(read->GetImageFileType(&type), S_OK);
    EXPECT_EQ(type, 7u);
    CZanTString path;
    EXPECT_EQ(read->GetImageFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(kEditPath));
    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(read->GetFilterData(&data, &size), S_OK);
    EXPECT_EQ(BytesAt(data, size), kFilter);
    uint16_t orientation = 0;
    EXPECT_EQ(read->GetFilterDataOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 0xFFFF);
}

TEST_F(ImageCacheRows, GetEditFileCacheSeesTheUncommittedRow) {
    auto written = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, written.Get()), S_OK);
    ComPtr<IZanDB4EditFileCache> read;
    ASSERT_EQ(Edits().GetEditFileCache(42, read.Receive()), S_OK);
    uint32_t type = 0;
    EXPECT_EQ(read->GetImageFileType(&type), S_OK);
    EXPECT_EQ(type, 7u);
}

TEST_F(ImageCacheRows, GetEditFileCacheOfARowWithoutFilterDataHasNone) {
    Insert({"INSERT INTO image_file_table (file_id, image_file_type, image_file_path, filter_data, "
            "filter_data_orientation) VALUES (8, 3, '/edits/x.jpg', NULL, 1)"});
    ComPtr<IZanDB4EditFileCache> read;
    ASSERT_EQ(Edits().GetEditFileCache(8, read.Receive()), S_OK);
    const void* data = &data;
    uint32_t size = 99;
    EXPECT_EQ(read->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(ImageCacheRows, GetEditFileCacheOfARowWithoutPathGivesAnEmptyPath) {
    Insert({"INSERT INTO image_file_table (file_id, image_file_type, image_file_path, filter_data, "
            "filter_data_orientation) VALUES (8, 3, NULL, NULL, 1)"});
    ComPtr<IZanDB4EditFileCache> read;
    ASSERT_EQ(Edits().GetEditFileCache(8, read.Receive()), S_OK);
    CZanTString path(u"stale");
    EXPECT_EQ(read->GetImageFilePath(path), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(ImageCacheRows, GetEditFileCacheWithNullOutIsInvalidArg) {
    auto written = EditCache(7, kEditPath, &kFilter, 6);
    ASSERT_EQ(Edits().AddEditFileCache(42, written.Get()), S_OK);
    EXPECT_EQ(Edits().GetEditFileCache(42, nullptr), E_INVALIDARG);
}

TEST_F(ImageCacheRows, GetEditFileCacheWithoutARowIsFailAndNoObject) {
    IZanDB4EditFileCache* read = nullptr;
    EXPECT_EQ(Edits().GetEditFileCache(42, &read), E_FAIL);
    EXPECT_EQ(read, nullptr);
}

// ---- AddMainImageCache ----

TEST_F(ImageCacheRows, AddMainImageCacheWritesTheRow) {
    auto cache = MainCache(0xFFFFFFFFu, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, cache.Get()), S_OK);
    EXPECT_EQ(MainRowsCommitted(), (Rows{{"42", "4294967295", kMainPathUtf8}}));
}

TEST_F(ImageCacheRows, AddMainImageCacheWritesInTheOpenTransaction) {
    auto cache = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, cache.Get()), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"0"}}));
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"1"}}));
}

TEST_F(ImageCacheRows, AddMainImageCacheWithFileIdZeroIsInvalidArgAndOpensNothing) {
    auto cache = MainCache(1, kMainPath);
    EXPECT_EQ(Mains().AddMainImageCache(0, cache.Get()), E_INVALIDARG);
    EXPECT_FALSE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"0"}}));
}

TEST_F(ImageCacheRows, AddMainImageCacheWithNullCacheIsInvalidArgAndOpensNothing) {
    EXPECT_EQ(Mains().AddMainImageCache(42, nullptr), E_INVALIDARG);
    EXPECT_FALSE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"0"}}));
}

TEST_F(ImageCacheRows, AddMainImageCacheTwiceForOneFileIsFailAndKeepsTheFirstRow) {
    auto first = MainCache(1, kMainPath);
    auto second = MainCache(2, u"/cache/other.jpg");
    ASSERT_EQ(Mains().AddMainImageCache(42, first.Get()), S_OK);
    EXPECT_EQ(Mains().AddMainImageCache(42, second.Get()), E_FAIL);
    EXPECT_EQ(MainRowsCommitted(), (Rows{{"42", "1", kMainPathUtf8}}));
}

// ---- UpdateMainImageCache ----

TEST_F(ImageCacheRows, UpdateMainImageCacheRewritesTypeAndPath) {
    auto first = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, first.Get()), S_OK);
    ASSERT_EQ(Mains().AddMainImageCache(43, first.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);

    auto second = MainCache(5, u"/cache/it's new.jpg");
    EXPECT_EQ(Mains().UpdateMainImageCache(42, second.Get()), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(MainRowsCommitted(), (Rows{{"42", "5", "/cache/it's new.jpg"}, {"43", "1", kMainPathUtf8}}));
}

TEST_F(ImageCacheRows, UpdateMainImageCacheWithoutARowWritesNothingAndOpensNothing) {
    auto cache = MainCache(5, kMainPath);
    int changesBefore = sqlite3_total_changes(m_store.m_db);
    EXPECT_EQ(Mains().UpdateMainImageCache(42, cache.Get()), S_OK);
    EXPECT_EQ(sqlite3_total_changes(m_store.m_db), changesBefore);
    EXPECT_FALSE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"0"}}));
}

TEST_F(ImageCacheRows, UpdateMainImageCacheWithNullCacheIsInvalidArg) {
    auto first = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, first.Get()), S_OK);
    EXPECT_EQ(Mains().UpdateMainImageCache(42, nullptr), E_INVALIDARG);
    EXPECT_EQ(MainRowsCommitted(), (Rows{{"42", "1", kMainPathUtf8}}));
}

// ---- DeleteMainImageCache ----

TEST_F(ImageCacheRows, DeleteMainImageCacheRemovesOnlyThatRow) {
    auto cache = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, cache.Get()), S_OK);
    ASSERT_EQ(Mains().AddMainImageCache(43, cache.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);

    EXPECT_EQ(Mains().DeleteMainImageCache(42), S_OK);
    EXPECT_TRUE(SqliteTransactionOpen(m_store.m_db));
    EXPECT_EQ(OnDisk("SELECT file_id FROM main_image_cache_file_table ORDER BY file_id"), (Rows{{"42"}, {"43"}}));
    EXPECT_EQ(Committed("SELECT file_id FROM main_image_cache_file_table ORDER BY file_id"), (Rows{{"43"}}));
}

TEST_F(ImageCacheRows, DeleteMainImageCacheWithoutARowIsOk) {
    EXPECT_EQ(Mains().DeleteMainImageCache(42), S_OK);
    EXPECT_EQ(Committed("SELECT COUNT(*) FROM main_image_cache_file_table"), (Rows{{"0"}}));
}

// ---- GetMainImageCache ----

TEST_F(ImageCacheRows, GetMainImageCacheFillsANewObjectFromTheRow) {
    auto written = MainCache(0x80000001u, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, written.Get()), S_OK);
    ASSERT_EQ(m_store.Commit(false), S_OK);

    ComPtr<IZanDB4MainImageCache> read;
    ASSERT_EQ(Mains().GetMainImageCache(42, read.Receive()), S_OK);
    ASSERT_TRUE(read);
    EXPECT_NE(read.Get(), written.Get());
    EXPECT_EQ(static_cast<CZanDB4MainImageCache*>(read.Get())->RefCount(), 1);
    uint64_t fileId = 0;
    EXPECT_EQ(read->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, 42u);
    uint32_t type = 0;
    EXPECT_EQ(read->GetFileType(&type), S_OK);
    EXPECT_EQ(type, 0x80000001u);
    CZanTString path;
    EXPECT_EQ(read->GetFilePath(path), S_OK);
    EXPECT_EQ(path, CZanTString(kMainPath));
}

TEST_F(ImageCacheRows, GetMainImageCacheWithNullOutIsInvalidArg) {
    auto written = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, written.Get()), S_OK);
    EXPECT_EQ(Mains().GetMainImageCache(42, nullptr), E_INVALIDARG);
}

TEST_F(ImageCacheRows, GetMainImageCacheWithoutARowIsFailAndNoObject) {
    IZanDB4MainImageCache* read = nullptr;
    EXPECT_EQ(Mains().GetMainImageCache(42, &read), E_FAIL);
    EXPECT_EQ(read, nullptr);
}

TEST_F(ImageCacheRows, GetMainImageCacheAfterItsDeleteIsFail) {
    auto written = MainCache(1, kMainPath);
    ASSERT_EQ(Mains().AddMainImageCache(42, written.Get()), S_OK);
    ASSERT_EQ(Mains().DeleteMainImageCache(42), S_OK);
    IZanDB4MainImageCache* read = nullptr;
    EXPECT_EQ(Mains().GetMainImageCache(42, &read), E_FAIL);
    EXPECT_EQ(read, nullptr);
}

// ---- the file store's delete ----

TEST_F(ImageCacheRows, DeleteOfAFileRowTakesItsMainImageCacheRow) {
    for (uint64_t id : {10u, 11u}) {
        FileRowValues row;
        row.fileId = id;
        row.filePath.Format(u"/photos/%llu", static_cast<unsigned long long>(id));
        row.fileName = u"IMG.JPG";
        ASSERT_EQ(FileTableRows(m_store).InsertFileRow(row), S_OK);
        auto cache = MainCache(1, kMainPath);
        ASSERT_EQ(Mains().AddMainImageCache(id, cache.Get()), S_OK);
    }
    ASSERT_EQ(m_store.Commit(false), S_OK);

    ASSERT_EQ(FileTableRows(m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(Committed("SELECT file_id FROM main_image_cache_file_table ORDER BY file_id"), (Rows{{"11"}}));
    IZanDB4MainImageCache* read = nullptr;
    EXPECT_EQ(Mains().GetMainImageCache(10, &read), E_FAIL);
}

}  // namespace
