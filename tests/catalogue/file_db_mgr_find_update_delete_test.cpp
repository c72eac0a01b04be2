// The file manager's FindFileByPath, GetFile, UpdateFile and DeleteFile:
// the path key as the search makes it, updates that reach the catalogue or
// staging, and a delete that takes everything hanging on a file along.
#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrFind : public FileMgrFixture {};

TEST_F(FileMgrFind, FindsByPathWithoutRegardToCaseOnTheSameVolume) {
    FileSpec spec = Spec("/Photos/Trip", "trip.jpg");
    spec.diskVsn = 0xBEEF;
    uint64_t id = AddDirect(spec);
    uint64_t found = 0;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 0xBEEF, u"/photos/TRIP"), S_OK);
    EXPECT_EQ(found, id);
    FilePtr record;
    found = 0;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, record.Receive(), 0xBEEF, u"/Photos/Trip"), S_OK);
    ASSERT_TRUE(record);
    uint64_t recordId = 0;
    EXPECT_EQ(record->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, id);
    EXPECT_EQ(found, id);
    EXPECT_EQ(Text(record.Get(), true), "/Photos/Trip");
    // Another volume is another file.
    found = 77;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 0xBEEE, u"/Photos/Trip"), kFail);
    EXPECT_EQ(found, 0u);
}

TEST_F(FileMgrFind, TrailingSeparatorsInTheSearchFindNothing) {
    // Stored with a trailing separator ('/' on this platform), which the
    // store removes; the search keeps whatever it is given.
    uint64_t id = AddDirect(Spec("/Photos/Trip/", "trip.jpg"));
    ASSERT_NE(id, 0u);
    uint64_t found = 0;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, u"/Photos/Trip/"), kFail);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, u"/Photos/Trip\\"), kFail);
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, u"/photos/trip"), S_OK);
    EXPECT_EQ(found, id);
}

TEST_F(FileMgrFind, StagedFilesAreNotSearched) {
    AddStaged(Spec("/photos/staged", "s.jpg"));
    uint64_t found = 0;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, u"/photos/staged"), kFail);
}

TEST_F(FileMgrFind, PathsWithApostrophesAndLettersBeyondAsciiAreFound) {
    const std::string path = "/Fotos/Grandma's K\xC3\xB6ln \xE5\x86\x99\xE7\x9C\x9F";
    uint64_t id = AddDirect(Spec(path, "g.jpg"));
    ASSERT_NE(id, 0u);
    CZanTString wide = W(path);
    uint64_t found = 0;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, wide.GetString()), S_OK);
    EXPECT_EQ(found, id);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT file_path FROM file_table WHERE file_id=" + std::to_string(id)), (Rows{{path}}));
}

TEST_F(FileMgrFind, BadArgumentsOfTheSearch) {
    AddDirect(Spec("/photos/a", "a.jpg"));
    EXPECT_EQ(m_mgr->FindFileByPath(nullptr, nullptr, 1, u"/photos/a"), kInvalidArg);
    uint64_t found = 5;
    EXPECT_EQ(m_mgr->FindFileByPath(&found, nullptr, 1, u""), kFail);
    EXPECT_EQ(found, 0u);
    FilePtr record;
    EXPECT_EQ(m_mgr->FindFileByPath(nullptr, record.Receive(), 1, u"/photos/none"), kFail);
    EXPECT_FALSE(record);
}

TEST_F(FileMgrFind, GetFileHandsOutTheCataloguedRecord) {
    FileSpec spec = Spec("/photos/g", "g.jpg");
    spec.shot = Date(2022, 2, 2, 2, 2, 2);
    uint64_t id = AddDirect(spec);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    FilePtr record;
    ASSERT_EQ(m_mgr->GetFile(id, record.Receive()), S_OK);
    ASSERT_TRUE(record);
    EXPECT_EQ(Text(record.Get(), false), "g.jpg");
    int64_t packed = 0;
    EXPECT_EQ(record->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, Packed(spec.shot));
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
    EXPECT_EQ(m_mgr->GetFile(id + 100, nullptr), kFail);
    FilePtr none;
    EXPECT_EQ(m_mgr->GetFile(id + 100, none.Receive()), kFail);
    EXPECT_FALSE(none);
}

class FileMgrUpdate : public FileMgrFixture {};

TEST_F(FileMgrUpdate, UpdatesACataloguedRow) {
    uint64_t id = AddDirect(Spec("/photos/u", "u.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    FilePtr record;
    ASSERT_EQ(m_mgr->GetFile(id, record.Receive()), S_OK);
    ASSERT_EQ(record->SetFileName(u"renamed.jpg"), S_OK);
    uint8_t favorite = 1;
    ASSERT_EQ(record->SetIsFavorite(&favorite), S_OK);
    EXPECT_EQ(m_mgr->UpdateFile(id, record.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT file_name, is_favorite FROM file_table WHERE file_id=" + std::to_string(id)),
              (Rows{{"renamed.jpg", "1"}}));
}

TEST_F(FileMgrUpdate, UpdatesAStagedRow) {
    FilePtr record = MakeFile(Spec("/photos/s", "s.jpg"));
    uint64_t id = 0;
    ASSERT_EQ(m_mgr->AddFile(record.Get(), &id), S_OK);
    ASSERT_EQ(record->SetFileName(u"staged-renamed.jpg"), S_OK);
    EXPECT_EQ(m_mgr->UpdateFile(id, record.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(4), S_OK);
    EXPECT_EQ(Disk("SELECT file_name FROM async_file_table WHERE file_id=" + std::to_string(id), "FileBasicAsync.db"),
              (Rows{{"staged-renamed.jpg"}}));
}

TEST_F(FileMgrUpdate, AFileInNeitherStoreIsAnInvalidArgument) {
    FilePtr record = MakeFile(Spec("/photos/x", "x.jpg"));
    EXPECT_EQ(m_mgr->UpdateFile(12345, record.Get()), kInvalidArg);
}

TEST_F(FileMgrUpdate, ANameWithAnApostropheFailsAndLeavesTheRow) {
    uint64_t id = AddDirect(Spec("/photos/q", "q.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    FilePtr record;
    ASSERT_EQ(m_mgr->GetFile(id, record.Receive()), S_OK);
    ASSERT_EQ(record->SetFileName(u"it's.jpg"), S_OK);
    EXPECT_EQ(m_mgr->UpdateFile(id, record.Get()), kFail);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT file_name FROM file_table WHERE file_id=" + std::to_string(id)), (Rows{{"q.jpg"}}));
}

class FileMgrDelete : public FileMgrFixture {};

TEST_F(FileMgrDelete, DeleteTakesEverythingThatHangsOnTheFile) {
    FileSpec spec = Spec("/photos/del", "del.jpg");
    spec.tags = {5, 6};
    spec.withMeta = true;
    spec.fileSize = 4096;
    auto small = Thumb({1, 1}, 0);
    auto large = Thumb({2, 2}, 0);
    IZanDB4FileCache* caches[] = {small.Get(), large.Get()};
    const uint32_t kinds[] = {1, 2};
    auto edit = EditCache(1, "/edits/del.jpg", {3}, 1);
    FilePtr record = MakeFile(spec);
    uint64_t id = 0;
    ASSERT_EQ(m_mgr->AddFileDirect(record.Get(), &id, kinds, caches, 2, edit.Get()), S_OK);
    auto large_meta = LargeMeta(8, {1, 2, 3, 4});
    ASSERT_EQ(m_mgr->AddLargeMetaData(id, large_meta.Get()), S_OK);
    auto main = MainCache(2, "/cache/main.jpg");
    ASSERT_EQ(m_mgr->AddMainImageCache(id, main.Get()), S_OK);
    // A second file keeps its own things.
    uint64_t other = AddDirect(Spec("/photos/keep", "keep.jpg"));
    ASSERT_EQ(m_mgr->AddThumbnail(other, 1, "k", 1), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);

    const std::string where = "file_id=" + std::to_string(id);
    ASSERT_EQ(FileRows(id), 1);
    ASSERT_EQ(CountOnDisk("tag_file_table", where), 2);
    ASSERT_EQ(CountOnDisk("meta_table", where), 1);
    ASSERT_EQ(CountOnDisk("image_file_table", where), 1);
    ASSERT_EQ(CountOnDisk("main_image_cache_file_table", where), 1);
    ASSERT_EQ(ThumbRows(1, id), 1);
    ASSERT_EQ(ThumbRows(2, id), 1);
    ASSERT_EQ(LargeMetaRows(id), 1);

    EXPECT_EQ(m_mgr->DeleteFile(id), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(FileRows(id), 0);
    EXPECT_EQ(CountOnDisk("tag_file_table", where), 0);
    EXPECT_EQ(CountOnDisk("meta_table", where), 0);
    EXPECT_EQ(CountOnDisk("image_file_table", where), 0);
    EXPECT_EQ(CountOnDisk("main_image_cache_file_table", where), 0);
    EXPECT_EQ(ThumbRows(1, id), 0);
    EXPECT_EQ(ThumbRows(2, id), 0);
    EXPECT_EQ(LargeMetaRows(id), 0);
    EXPECT_EQ(PooledFileIds(id), 1);
    EXPECT_EQ(FileRows(other), 1);
    EXPECT_EQ(ThumbRows(1, other), 1);
    // The record held by the caller no longer stands for a row.
    uint64_t recordId = 99;
    EXPECT_EQ(record->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);
}

TEST_F(FileMgrDelete, DeleteReachesAStagedFile) {
    uint64_t id = AddStaged(Spec("/photos/staged", "s.jpg"));
    ASSERT_EQ(m_mgr->Commit(4), S_OK);
    ASSERT_EQ(CountOnDisk("async_file_table", "file_id=" + std::to_string(id), "FileBasicAsync.db"), 1);
    EXPECT_EQ(m_mgr->DeleteFile(id), S_OK);
    ASSERT_EQ(m_mgr->Commit(4 | 1), S_OK);
    EXPECT_EQ(CountOnDisk("async_file_table", "file_id=" + std::to_string(id), "FileBasicAsync.db"), 0);
    EXPECT_EQ(PooledFileIds(id), 1);
    // Nothing is left to move.
    EXPECT_EQ(m_mgr->Commit(2 | 1), S_OK);
    EXPECT_EQ(FileRows(id), 0);
}

TEST_F(FileMgrDelete, DeleteOfAnUnknownIdAnswersSOkAndPoolsIt) {
    EXPECT_EQ(m_mgr->DeleteFile(500), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(PooledFileIds(500), 1);
    // The id never handed out comes out first.
    EXPECT_EQ(AddDirect(Spec("/photos/early", "e.jpg")), 500u);
}

}  // namespace
}  // namespace file_mgr_test
