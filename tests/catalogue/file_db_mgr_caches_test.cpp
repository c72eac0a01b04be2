// The file manager's thumbnails (the kind rule, the folders), edit caches,
// main image caches and large metadata, each written, read back, changed
// and deleted through the manager.
#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrThumbnails : public FileMgrFixture {};

std::vector<uint8_t> BytesOf(IZanDB4FileCache* cache) {
    const auto* data = static_cast<const uint8_t*>(cache->GetData());
    return std::vector<uint8_t>(data, data + cache->GetSize());
}

TEST_F(FileMgrThumbnails, AddGetUpdateDeleteForBothKinds) {
    uint64_t id = AddDirect(Spec("/photos/t", "t.jpg"));
    for (uint32_t kind : {1u, 2u}) {
        SCOPED_TRACE(kind);
        const uint8_t first[] = {1, 2, 3};
        EXPECT_FALSE(m_mgr->HasThumbnail(id, kind));
        EXPECT_EQ(m_mgr->AddThumbnail(id, kind, first, sizeof first), S_OK);
        EXPECT_TRUE(m_mgr->HasThumbnail(id, kind));
        // A second add over an existing thumbnail fails.
        EXPECT_EQ(m_mgr->AddThumbnail(id, kind, first, sizeof first), kFail);
        ComPtr<IZanDB4FileCache> got;
        ASSERT_EQ(m_mgr->GetThumbnail(id, kind, got.Receive()), S_OK);
        EXPECT_EQ(BytesOf(got.Get()), (std::vector<uint8_t>{1, 2, 3}));
        const uint8_t second[] = {4, 5};
        EXPECT_EQ(m_mgr->UpdateThumbnail(id, kind, second, sizeof second), S_OK);
        ASSERT_EQ(m_mgr->GetThumbnail(id, kind, got.Receive()), S_OK);
        EXPECT_EQ(BytesOf(got.Get()), (std::vector<uint8_t>{4, 5}));
        auto third = Thumb({6, 7, 8, 9}, 33);
        EXPECT_EQ(m_mgr->UpdateThumbnailFromCache(id, kind, third.Get()), S_OK);
        ASSERT_EQ(m_mgr->GetThumbnail(id, kind, got.Receive()), S_OK);
        EXPECT_EQ(BytesOf(got.Get()), (std::vector<uint8_t>{6, 7, 8, 9}));
        uint64_t source = 0;
        EXPECT_EQ(got->GetSourceID(&source), S_OK);
        EXPECT_EQ(source, 33u);
        EXPECT_EQ(m_mgr->DeleteThumbnail(id, kind), S_OK);
        EXPECT_FALSE(m_mgr->HasThumbnail(id, kind));
        EXPECT_EQ(m_mgr->GetThumbnail(id, kind, got.Receive()), kFail);
        // Updating a missing thumbnail fails.
        EXPECT_EQ(m_mgr->UpdateThumbnail(id, kind, second, sizeof second), kFail);
        auto fourth = Thumb({10}, 44);
        EXPECT_EQ(m_mgr->AddThumbnailFromCache(id, kind, fourth.Get()), S_OK);
    }
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT hex(thumbnail_data), source_id FROM thumbnail_table", "thumb_0s/00000000.db"),
              (Rows{{"0A", "44"}}));
    EXPECT_EQ(Disk("SELECT hex(thumbnail_data), source_id FROM thumbnail_table", "thumb_1s/00000000.db"),
              (Rows{{"0A", "44"}}));
}

TEST_F(FileMgrThumbnails, KindsOtherThanOneAndTwoAreInvalid) {
    uint64_t id = AddDirect(Spec("/photos/k", "k.jpg"));
    const uint8_t bytes[] = {1};
    auto cache = Thumb({1}, 0);
    for (uint32_t kind : {0u, 3u}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(m_mgr->AddThumbnail(id, kind, bytes, 1), kInvalidArg);
        EXPECT_EQ(m_mgr->AddThumbnailFromCache(id, kind, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_mgr->UpdateThumbnail(id, kind, bytes, 1), kInvalidArg);
        EXPECT_EQ(m_mgr->UpdateThumbnailFromCache(id, kind, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_mgr->DeleteThumbnail(id, kind), kInvalidArg);
        ComPtr<IZanDB4FileCache> got;
        EXPECT_EQ(m_mgr->GetThumbnail(id, kind, got.Receive()), kInvalidArg);
        EXPECT_FALSE(got);
        EXPECT_FALSE(m_mgr->HasThumbnail(id, kind));
    }
    EXPECT_FALSE(m_mgr->HasThumbnail(id, 1));
    EXPECT_FALSE(m_mgr->HasThumbnail(id, 2));
}

TEST_F(FileMgrThumbnails, FoldersOfTheKinds) {
    CZanTString folder;
    EXPECT_EQ(m_mgr->GetThumbnailFolder(1, folder), S_OK);
    EXPECT_EQ(fs::path(folder.ToUtf8()), DatabaseFolder() / "thumb_0s");
    EXPECT_EQ(m_mgr->GetThumbnailFolder(2, folder), S_OK);
    EXPECT_EQ(fs::path(folder.ToUtf8()), DatabaseFolder() / "thumb_1s");
    EXPECT_EQ(m_mgr->GetThumbnailFolder(0, folder), kFail);
    EXPECT_EQ(m_mgr->GetThumbnailFolder(3, folder), kFail);
}

TEST_F(FileMgrThumbnails, DeleteThumbnailFoldersRemovesBothFolders) {
    ASSERT_EQ(m_mgr->AddThumbnail(1, 1, "a", 1), S_OK);
    ASSERT_EQ(m_mgr->AddThumbnail(1, 2, "b", 1), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    ASSERT_TRUE(fs::exists(DatabaseFolder() / "thumb_0s" / "00000000.db"));
    ASSERT_TRUE(fs::exists(DatabaseFolder() / "thumb_1s" / "00000000.db"));
    EXPECT_EQ(m_mgr->DeleteThumbnailFolders(), S_OK);
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "thumb_0s"));
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "thumb_1s"));
    // Nothing left to delete: still S_OK.
    EXPECT_EQ(m_mgr->DeleteThumbnailFolders(), S_OK);
    // The catalogue is untouched.
    EXPECT_TRUE(fs::exists(DatabaseFolder() / "FileBasic.db"));
}

TEST_F(FileMgrThumbnails, DeleteThumbnailFolderRemovesOneKindOnly) {
    ASSERT_EQ(m_mgr->AddThumbnail(1, 1, "a", 1), S_OK);
    ASSERT_EQ(m_mgr->AddThumbnail(1, 2, "b", 1), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(m_mgr->DeleteThumbnailFolder(2), S_OK);
    EXPECT_TRUE(fs::exists(DatabaseFolder() / "thumb_0s" / "00000000.db"));
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "thumb_1s"));
    EXPECT_TRUE(m_mgr->HasThumbnail(1, 1));
    // A kind other than 1 or 2 does nothing and answers S_OK.
    EXPECT_EQ(m_mgr->DeleteThumbnailFolder(5), S_OK);
    EXPECT_EQ(m_mgr->DeleteThumbnailFolder(0), S_OK);
    EXPECT_TRUE(fs::exists(DatabaseFolder() / "thumb_0s" / "00000000.db"));
    EXPECT_EQ(m_mgr->DeleteThumbnailFolder(1), S_OK);
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "thumb_0s"));
}

class FileMgrCaches : public FileMgrFixture {};

TEST_F(FileMgrCaches, EditFileCacheRoundTrip) {
    uint64_t id = AddDirect(Spec("/photos/e", "e.jpg"));
    auto cache = EditCache(4, "/edits/K\xC3\xB6ln's.jpg", {1, 2, 3}, 0x1234);
    EXPECT_EQ(m_mgr->AddEditFileCache(id, cache.Get()), S_OK);
    EXPECT_EQ(m_mgr->AddEditFileCache(id, cache.Get()), kFail);
    ComPtr<IZanDB4EditFileCache> got;
    ASSERT_EQ(m_mgr->GetEditFileCache(id, got.Receive()), S_OK);
    uint64_t fileId = 0;
    uint32_t type = 0;
    uint16_t orientation = 0;
    CZanTString path;
    const void* filter = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(got->GetFileID(&fileId), S_OK);
    EXPECT_EQ(fileId, id);
    got->GetImageFileType(&type);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(got->GetImageFilePath(path), S_OK);
    EXPECT_EQ(path.ToUtf8(), "/edits/K\xC3\xB6ln's.jpg");
    ASSERT_EQ(got->GetFilterData(&filter, &size), S_OK);
    ASSERT_EQ(size, 3u);
    EXPECT_EQ(std::memcmp(filter, "\x01\x02\x03", 3), 0);
    got->GetFilterDataOrientation(&orientation);
    EXPECT_EQ(orientation, 0x1234);

    auto changed = EditCache(5, "/edits/new.jpg", {9}, 2);
    EXPECT_EQ(m_mgr->UpdateEditFileCache(id, changed.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT image_file_type, image_file_path, hex(filter_data), filter_data_orientation FROM "
                   "image_file_table WHERE file_id=" +
                   std::to_string(id)),
              (Rows{{"5", "/edits/new.jpg", "09", "2"}}));
    EXPECT_EQ(m_mgr->DeleteEditFileCache(id), S_OK);
    EXPECT_EQ(m_mgr->GetEditFileCache(id, got.Receive()), kFail);
    EXPECT_EQ(m_mgr->AddEditFileCache(id, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->GetEditFileCache(id, nullptr), kInvalidArg);
}

TEST_F(FileMgrCaches, MainImageCacheRoundTrip) {
    uint64_t id = AddDirect(Spec("/photos/m", "m.jpg"));
    auto cache = MainCache(7, "/cache/m.jpg");
    EXPECT_EQ(m_mgr->AddMainImageCache(id, cache.Get()), S_OK);
    ComPtr<IZanDB4MainImageCache> got;
    ASSERT_EQ(m_mgr->GetMainImageCache(id, got.Receive()), S_OK);
    uint32_t type = 0;
    CZanTString path;
    got->GetFileType(&type);
    EXPECT_EQ(type, 7u);
    EXPECT_EQ(got->GetFilePath(path), S_OK);
    EXPECT_EQ(path.ToUtf8(), "/cache/m.jpg");
    auto changed = MainCache(8, "/cache/m2.jpg");
    EXPECT_EQ(m_mgr->UpdateMainImageCache(id, changed.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT file_type, file_path FROM main_image_cache_file_table WHERE file_id=" + std::to_string(id)),
              (Rows{{"8", "/cache/m2.jpg"}}));
    // An update without a row writes nothing.
    EXPECT_EQ(m_mgr->UpdateMainImageCache(id + 1, changed.Get()), S_OK);
    EXPECT_EQ(m_mgr->GetMainImageCache(id + 1, got.Receive()), kFail);
    EXPECT_EQ(m_mgr->DeleteMainImageCache(id), S_OK);
    EXPECT_EQ(m_mgr->GetMainImageCache(id, got.Receive()), kFail);
    EXPECT_EQ(m_mgr->AddMainImageCache(0, cache.Get()), kInvalidArg);
    EXPECT_EQ(m_mgr->AddMainImageCache(id, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->GetMainImageCache(id, nullptr), kInvalidArg);
}

TEST_F(FileMgrCaches, LargeMetaDataRoundTrip) {
    uint64_t id = AddDirect(Spec("/photos/l", "l.jpg"));
    auto data = LargeMeta(12, {0xDE, 0xAD, 0xBE, 0xEF});
    EXPECT_EQ(m_mgr->AddLargeMetaData(id, data.Get()), S_OK);
    ComPtr<IZanDB4FileLargeMetaData> got;
    ASSERT_EQ(m_mgr->GetLargeMetaData(id, got.Receive()), S_OK);
    ASSERT_TRUE(got);
    uint32_t type = 0;
    EXPECT_EQ(got->GetType(&type), S_OK);
    EXPECT_EQ(type, 12u);
    const void* bytes = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(got->GetData(&bytes, &size), S_OK);
    ASSERT_EQ(size, 4u);
    EXPECT_EQ(std::memcmp(bytes, "\xDE\xAD\xBE\xEF", 4), 0);

    auto changed = LargeMeta(13, {1, 2});
    EXPECT_EQ(m_mgr->UpdateLargeMetaData(id, changed.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT meta_data_type, hex(meta_data) FROM meta_data_table WHERE file_id=" + std::to_string(id),
                   "meta/0.db"),
              (Rows{{"13", "0102"}}));
    EXPECT_EQ(m_mgr->DeleteLargeMetaData(id), S_OK);
    EXPECT_EQ(m_mgr->GetLargeMetaData(id, got.Receive()), kFail);
    EXPECT_EQ(m_mgr->AddLargeMetaData(id, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->UpdateLargeMetaData(id, nullptr), kInvalidArg);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(LargeMetaRows(id), 0);
}

}  // namespace
}  // namespace file_mgr_test
