// The file manager's adds: through staging (AddFile) and straight into the
// catalogue (AddFileDirect), item groups on both roads, the pooling of ids
// after a failed add, and duplicate paths on each road.
#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrAdd : public FileMgrFixture {};

TEST_F(FileMgrAdd, AddFileStagesTheRowUnderANewCatalogueIdAndMarksTheRecordSaved) {
    FilePtr record = MakeFile(Spec("/photos/a", "a.jpg"));
    uint64_t id = 99;
    ASSERT_EQ(m_mgr->AddFile(record.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t recordId = 0;
    EXPECT_EQ(record->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, id);
    uint32_t mask = 0xFFFFFFFF;
    EXPECT_FALSE(record->GetChangedMask(&mask));
    EXPECT_EQ(mask, 0u);
    // Staged, not catalogued: GetFile does not see it.
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), kFail);
    ASSERT_EQ(m_mgr->Commit(4 | 1), S_OK);
    EXPECT_EQ(Disk("SELECT file_id, file_path, file_name FROM async_file_table", "FileBasicAsync.db"),
              (Rows{{"1", "/photos/a", "a.jpg"}}));
    EXPECT_EQ(FileRows(id), 0);
    // The id was drawn from the catalogue's counter.
    EXPECT_EQ(DiskInteger("SELECT last_id FROM last_id_table WHERE id_type=1"), 1);
}

TEST_F(FileMgrAdd, AddFileWithANullOutIdStillSetsTheRecordsId) {
    FilePtr record = MakeFile(Spec("/photos/a", "a.jpg"));
    ASSERT_EQ(m_mgr->AddFile(record.Get(), nullptr), S_OK);
    uint64_t recordId = 0;
    EXPECT_EQ(record->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, 1u);
}

TEST_F(FileMgrAdd, AddFileDeletesThumbnailsLeftUnderTheIdItDraws) {
    // Thumbnails stand under id 1 before any file has it; the next id is 1.
    ASSERT_EQ(m_mgr->AddThumbnail(1, 1, "old", 3), S_OK);
    ASSERT_EQ(m_mgr->AddThumbnail(1, 2, "old", 3), S_OK);
    uint64_t id = AddStaged(Spec("/photos/new", "new.jpg"));
    ASSERT_EQ(id, 1u);
    EXPECT_FALSE(m_mgr->HasThumbnail(id, 1));
    EXPECT_FALSE(m_mgr->HasThumbnail(id, 2));
}

TEST_F(FileMgrAdd, AddFileOfAPathAlreadyCataloguedSucceedsAndFailsOnlyAtTheMove) {
    uint64_t first = AddDirect(Spec("/photos/taken", "taken.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    // Same path, other case and other name: the same path_key.
    uint64_t clash = 0;
    FilePtr record = MakeFile(Spec("/PHOTOS/Taken", "other.jpg"));
    ASSERT_EQ(m_mgr->AddFile(record.Get(), &clash), S_OK);
    EXPECT_NE(clash, 0u);
    EXPECT_NE(clash, first);
    ASSERT_EQ(m_mgr->AddThumbnail(clash, 1, "pic", 3), S_OK);
    // The move turns it away: S_FALSE without flag 1.
    EXPECT_EQ(m_mgr->Commit(2), S_FALSE);
    EXPECT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(FileRows(clash), 0);
    EXPECT_EQ(FileRows(first), 1);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM async_file_table", "FileBasicAsync.db"), 0);
    EXPECT_EQ(PooledFileIds(clash), 1);
    EXPECT_FALSE(m_mgr->HasThumbnail(clash, 1));
}

TEST_F(FileMgrAdd, DuplicateStagedPathMovedWithFlagOneAnswersSOkAndIsGone) {
    AddDirect(Spec("/photos/taken", "taken.jpg"));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    uint64_t clash = AddStaged(Spec("/photos/taken", "again.jpg"));
    EXPECT_EQ(m_mgr->Commit(2 | 1), S_OK);
    EXPECT_EQ(FileRows(clash), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM file_table"), 1);
    EXPECT_EQ(PooledFileIds(clash), 1);
}

TEST_F(FileMgrAdd, AddFileDirectWritesTheCatalogueAtOnce) {
    // The path separator of this platform is '/': a trailing one goes from
    // the path, a leading one from the name.
    FileSpec spec = Spec("/photos/b/", "/b.jpg");
    spec.diskVsn = 0x1A2B;
    spec.shot = Date(2020, 3, 4, 5, 6, 7);
    spec.format = 7;
    FilePtr record = MakeFile(spec);
    uint64_t id = 0;
    ASSERT_EQ(m_mgr->AddFileDirect(record.Get(), &id, nullptr, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t recordId = 0;
    EXPECT_EQ(record->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, id);
    EXPECT_FALSE(record->GetChangedMask(nullptr));
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT file_path, disk_vsn, path_key, file_name, file_format, shooting_date, manage FROM "
                   "file_table WHERE file_id=1"),
              (Rows{{"/photos/b", std::to_string(0x1A2B), "/PHOTOS/B_1A2B", "b.jpg", "7",
                     std::to_string(Packed(spec.shot)), "1"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM async_file_table", "FileBasicAsync.db"), 0);
}

TEST_F(FileMgrAdd, AddFileDirectStoresThumbnailsOfBothKindsAndTheEditCache) {
    auto small = Thumb({1, 2, 3}, 11);
    auto large = Thumb({4, 5, 6, 7}, 12);
    IZanDB4FileCache* caches[] = {small.Get(), large.Get()};
    const uint32_t kinds[] = {1, 2};
    auto edit = EditCache(3, "/edits/e.jpg", {9, 9}, 6);
    FilePtr record = MakeFile(Spec("/photos/c", "c.jpg"));
    uint64_t id = 0;
    ASSERT_EQ(m_mgr->AddFileDirect(record.Get(), &id, kinds, caches, 2, edit.Get()), S_OK);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(Disk("SELECT hex(thumbnail_data), source_id FROM thumbnail_table WHERE file_id=" + std::to_string(id),
                   "thumb_0s/00000000.db"),
              (Rows{{"010203", "11"}}));
    EXPECT_EQ(Disk("SELECT hex(thumbnail_data), source_id FROM thumbnail_table WHERE file_id=" + std::to_string(id),
                   "thumb_1s/00000000.db"),
              (Rows{{"04050607", "12"}}));
    EXPECT_EQ(Disk("SELECT image_file_type, image_file_path, hex(filter_data), filter_data_orientation FROM "
                   "image_file_table WHERE file_id=" +
                   std::to_string(id)),
              (Rows{{"3", "/edits/e.jpg", "0909", "6"}}));
}

TEST_F(FileMgrAdd, AddFileDirectWithABadKindAnswersInvalidArgKeepsEarlierThumbnailsAndPoolsTheId) {
    auto first = Thumb({1}, 0);
    auto second = Thumb({2}, 0);
    IZanDB4FileCache* caches[] = {first.Get(), second.Get()};
    const uint32_t kinds[] = {1, 3};
    FilePtr record = MakeFile(Spec("/photos/d", "d.jpg"));
    uint64_t id = 0;
    EXPECT_EQ(m_mgr->AddFileDirect(record.Get(), &id, kinds, caches, 2, nullptr), kInvalidArg);
    // The id stays written, its thumbnail of kind 1 stays, and it is pooled.
    ASSERT_EQ(id, 1u);
    EXPECT_TRUE(m_mgr->HasThumbnail(id, 1));
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(ThumbRows(1, id), 1);
    EXPECT_EQ(PooledFileIds(id), 1);
}

TEST_F(FileMgrAdd, AddFileDirectOfADuplicatePathFailsAndPoolsTheId) {
    uint64_t first = AddDirect(Spec("/photos/dup", "dup.jpg"));
    FilePtr record = MakeFile(Spec("/Photos/DUP", "other.jpg"));
    uint64_t id = 0;
    EXPECT_EQ(m_mgr->AddFileDirect(record.Get(), &id, nullptr, nullptr, 0, nullptr), kFail);
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, first);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(PooledFileIds(id), 1);
    EXPECT_EQ(FileRows(id), 0);
    // The pooled id is the next one handed out.
    EXPECT_EQ(AddDirect(Spec("/photos/fresh", "fresh.jpg")), id);
}

TEST_F(FileMgrAdd, SamePathOnAnotherVolumeIsAnotherFile) {
    FileSpec one = Spec("/photos/same", "x.jpg");
    FileSpec two = one;
    two.diskVsn = 2;
    uint64_t a = AddDirect(one);
    uint64_t b = AddDirect(two);
    EXPECT_NE(a, b);
    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFiles(nullptr, &count), S_OK);
    EXPECT_EQ(count, 2u);
}

TEST_F(FileMgrAdd, AddItemGroupStagesAGroupRowAndMakesItTheParentOfItsChildren) {
    uint64_t catalogued = AddDirect(Spec("/photos/c1", "c1.jpg"));
    uint64_t staged = AddStaged(Spec("/photos/s1", "s1.jpg"));
    CArray<uint64_t> children;
    children.Add(catalogued);
    children.Add(staged);
    FileSpec groupSpec = Spec("/ignored", "ignored");
    groupSpec.shot = Date(2019, 7, 8, 9, 10, 11);
    FilePtr group = MakeFile(groupSpec);
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->AddItemGroup(&children, &groupId, group.Get()), S_OK);
    EXPECT_EQ(groupId, 3u);
    ASSERT_EQ(m_mgr->Commit(4 | 1), S_OK);
    const std::string g = std::to_string(groupId);
    EXPECT_EQ(Disk("SELECT file_path, file_name, manage, disk_vsn FROM async_file_table WHERE file_id=" + g,
                   "FileBasicAsync.db"),
              (Rows{{":ITEM_GROUP:" + g, g, "2", "0"}}));
    const std::string date = std::to_string(Packed(groupSpec.shot));
    EXPECT_EQ(Disk("SELECT parent_id, parent_shooting_date FROM file_table WHERE file_id=" + std::to_string(catalogued)),
              (Rows{{g, date}}));
    EXPECT_EQ(Disk("SELECT parent_id, parent_shooting_date FROM async_file_table WHERE file_id=" +
                       std::to_string(staged),
                   "FileBasicAsync.db"),
              (Rows{{g, date}}));
    // The group and the staged child reach the catalogue at the move.
    ASSERT_EQ(m_mgr->Commit(2 | 1), S_OK);
    EXPECT_EQ(Disk("SELECT file_path, file_name, manage FROM file_table WHERE file_id=" + g),
              (Rows{{":ITEM_GROUP:" + g, g, "2"}}));
    EXPECT_EQ(Disk("SELECT parent_id FROM file_table WHERE file_id=" + std::to_string(staged)), (Rows{{g}}));
}

TEST_F(FileMgrAdd, AddItemGroupDirectWritesTheGroupRowToTheCatalogue) {
    uint64_t child = AddDirect(Spec("/photos/c1", "c1.jpg"));
    uint64_t stagedChild = AddStaged(Spec("/photos/s1", "s1.jpg"));
    CArray<uint64_t> children;
    children.Add(child);
    children.Add(stagedChild);
    FileSpec groupSpec = Spec("/ignored", "ignored");
    groupSpec.format = 9;
    groupSpec.shot = Date(2018, 1, 2);
    FilePtr group = MakeFile(groupSpec);
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->AddItemGroupDirect(&children, &groupId, group.Get()), S_OK);
    ASSERT_NE(groupId, 0u);
    uint64_t recordId = 0;
    EXPECT_EQ(group->GetFileID(&recordId), S_OK);
    EXPECT_EQ(recordId, groupId);
    ASSERT_EQ(m_mgr->Commit(4 | 1), S_OK);
    const std::string g = std::to_string(groupId);
    const std::string date = std::to_string(Packed(groupSpec.shot));
    EXPECT_EQ(Disk("SELECT file_path, file_name, disk_vsn, file_format, manage, parent_id, parent_shooting_date FROM "
                   "file_table WHERE file_id=" +
                   g),
              (Rows{{":ITEM_GROUP:" + g, g, "0", "0", "2", "0", date}}));
    EXPECT_EQ(Disk("SELECT parent_id, parent_shooting_date FROM file_table WHERE file_id=" + std::to_string(child)),
              (Rows{{g, date}}));
    EXPECT_EQ(Disk("SELECT parent_id, parent_shooting_date FROM async_file_table WHERE file_id=" +
                       std::to_string(stagedChild),
                   "FileBasicAsync.db"),
              (Rows{{g, date}}));
}

TEST_F(FileMgrAdd, AddItemGroupWithAnEmptyArrayDrawsNoId) {
    CArray<uint64_t> empty;
    FilePtr group = MakeFile(Spec("/g", "g"));
    uint64_t groupId = 42;
    EXPECT_EQ(m_mgr->AddItemGroup(&empty, &groupId, group.Get()), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    EXPECT_EQ(m_mgr->AddItemGroupDirect(&empty, &groupId, group.Get()), kInvalidArg);
    EXPECT_EQ(m_mgr->AddItemGroup(nullptr, &groupId, group.Get()), kInvalidArg);
    // No id was drawn: the first file still gets 1.
    EXPECT_EQ(AddDirect(Spec("/photos/a", "a.jpg")), 1u);
}

TEST_F(FileMgrAdd, AddItemGroupWithANullRecordPoolsTheIdItDrew) {
    uint64_t child = AddDirect(Spec("/photos/c", "c.jpg"));
    CArray<uint64_t> children;
    children.Add(child);
    uint64_t groupId = 42;
    EXPECT_EQ(m_mgr->AddItemGroup(&children, &groupId, nullptr), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(PooledFileIds(child + 1), 1);
    EXPECT_EQ(Disk("SELECT parent_id FROM file_table WHERE file_id=" + std::to_string(child)), (Rows{{"0"}}));
}

TEST_F(FileMgrAdd, AddItemGroupDirectWithANullRecordAnswersInvalidArgAndPoolsTheId) {
    uint64_t child = AddDirect(Spec("/photos/c", "c.jpg"));
    CArray<uint64_t> children;
    children.Add(child);
    uint64_t groupId = 42;
    EXPECT_EQ(m_mgr->AddItemGroupDirect(&children, &groupId, nullptr), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);
    EXPECT_EQ(PooledFileIds(child + 1), 1);
    EXPECT_EQ(FileRows(child + 1), 0);
}

}  // namespace
}  // namespace file_mgr_test
