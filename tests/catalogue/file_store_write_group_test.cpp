// Item groups: AddItemGroupFile gives a file that stands for a group of files
// a row of its own, made from a source record's values with a marker path,
// no volume and manage 2; SetParentOfFiles then gives each child the group
// as its parent, in the rows and in any record a client still holds.
#include "catalogue/file_rows.h"
#include "file_store_write_fixture.h"

namespace file_store_write_test {
namespace {

constexpr uint32_t kParentBit = file_record_test::kParentBit;

using FileStoreWriteItemGroup = FileStoreWriteTest;

TEST_F(FileStoreWriteItemGroup, NullSourceIsRefused) {
    EXPECT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, nullptr), E_INVALIDARG);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 0);
}

TEST_F(FileStoreWriteItemGroup, RowHasTheMarkerPathAndTheSourcesValues) {
    RecordValues values;
    values.fileId = 0;
    values.path = "/somewhere/real";
    values.diskVsn = 0x77;
    values.name = "member.jpg";
    values.format = 9;    // the group's is 0 whatever this is
    values.manage = 1;    // the group's is 2
    values.parentId = 5;  // the group has none
    RecordPtr source = MakeRecord(values);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, source.Get()), S_OK);

    RecordValues group = values;
    group.fileId = 1234;
    group.path = ":ITEM_GROUP:1234";
    group.diskVsn = 0;
    group.name = "1234";
    group.format = 0;
    group.manage = 2;
    group.parentId = 0;
    std::vector<std::string> expected = ExpectedRow(group);
    expected[kParentShootingDate] = Int(values.shootingDate);
    expected[kPathKey] = ":ITEM_GROUP:1234_0";
    EXPECT_EQ(CommittedFileRow(1234), expected);
}

TEST_F(FileStoreWriteItemGroup, SourceTakesTheNewIdWithItsMasksCleared) {
    RecordPtr source = MakeRecord(RecordValues{});
    AddTag(source.Get(), 4);
    MetaPtr meta = MakeMeta(10, "m");
    ASSERT_EQ(source->AttachMetaRecord(meta.Get()), S_OK);
    ASSERT_NE(Changed(source.Get()), 0u);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, source.Get()), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(source->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 1234u);
    EXPECT_EQ(Changed(source.Get()), 0u);
}

TEST_F(FileStoreWriteItemGroup, SourceKeepsItsReferenceCountAndStaysOutOfTheCache) {
    RecordPtr source = MakeRecord(RecordValues{});
    ASSERT_EQ(Count(source.Get()), 1);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, source.Get()), S_OK);
    EXPECT_EQ(Count(source.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreWriteItemGroup, TagsAndMetadataOfTheSourceAreCopied) {
    RecordPtr source = MakeRecord(RecordValues{});
    AddTag(source.Get(), 8);
    AddTag(source.Get(), 2);
    MetaPtr meta = MakeMeta(5555, "group-cam");
    ASSERT_EQ(source->AttachMetaRecord(meta.Get()), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, source.Get()), S_OK);
    EXPECT_EQ(CommittedTagsOf(1234), (std::vector<uint64_t>{2, 8}));
    EXPECT_EQ(Disk("SELECT file_id, file_size, model_name FROM meta_table"), (Rows{{"1234", "5555", "group-cam"}}));
}

TEST_F(FileStoreWriteItemGroup, AlbumIsNotedForItsRecount) {
    RecordPtr source = MakeRecord(RecordValues{});
    m_store->ForgetRecounts();
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1234, source.Get()), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{42}));
}

TEST_F(FileStoreWriteItemGroup, SourceStandingForARowIsReadThroughItsGetters) {
    // A source that only knows its id reads its values lazily from its row.
    // did_edit is the exception: its getter never reads, so a source that
    // has not read it gives 0 although the row says 1.
    InsertFileRow(FileRow{});
    RecordPtr source = RecordFor(10);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(500, source.Get()), S_OK);
    std::vector<std::string> row = CommittedFileRow(500);
    ASSERT_EQ(row.size(), size_t{kColumnCount});
    std::vector<std::string> original = CommittedFileRow(10);
    ASSERT_EQ(original.size(), size_t{kColumnCount});
    EXPECT_EQ(row[kFilePath], ":ITEM_GROUP:500");
    EXPECT_EQ(row[kFileName], "500");
    EXPECT_EQ(row[kFileFormat], "0");
    EXPECT_EQ(row[kShootingDate], Int(kShootingPacked));
    EXPECT_EQ(row[kParentShootingDate], Int(kShootingPacked));
    // The coordinates pass through the record's floats.
    EXPECT_EQ(DiskReal("SELECT gps_latitude FROM file_table WHERE file_id=500"),
              static_cast<double>(static_cast<float>(FileRow{}.gpsLatitude)));
    EXPECT_EQ(DiskReal("SELECT gps_longitude FROM file_table WHERE file_id=500"),
              static_cast<double>(static_cast<float>(FileRow{}.gpsLongitude)));
    for (int column : {kFileAttributes, kThumbnailSize, kThumbnailOrientation, kIsFavorite, kDidDetectFace, kAlbumId,
                       kUploadFlag, kClassifyId})
        EXPECT_EQ(row[column], original[column]) << "column " << column;
    EXPECT_EQ(row[kDidEdit], "0");
    EXPECT_EQ(row[kManage], "2");
    EXPECT_EQ(row[kParentId], "0");
}

TEST_F(FileStoreWriteItemGroup, TakenIdFailsAndLeavesTheSourceAlone) {
    InsertFileRow(FileRow{});
    RecordValues values;
    values.fileId = 0;
    RecordPtr source = MakeRecord(values);
    AddTag(source.Get(), 6);
    uint32_t mask = Changed(source.Get());
    m_store->ForgetRecounts();
    EXPECT_EQ(FileTableRows(*m_store).AddItemGroupFile(10, source.Get()), E_FAIL);
    uint64_t id = 99;
    source->GetFileID(&id);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(Changed(source.Get()), mask);
    EXPECT_TRUE(AlbumRecount().empty());
    EXPECT_EQ(Count(source.Get()), 1);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 0);
    EXPECT_EQ(CommittedFileRow(10).at(kFilePath), FileRow{}.filePath);
}

TEST_F(FileStoreWriteItemGroup, TwoGroupsHaveTwoKeys) {
    RecordPtr first = MakeRecord(RecordValues{});
    RecordPtr second = MakeRecord(RecordValues{});
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(1, first.Get()), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).AddItemGroupFile(2, second.Get()), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT path_key FROM file_table ORDER BY file_id"),
              (Rows{{":ITEM_GROUP:1_0"}, {":ITEM_GROUP:2_0"}}));
}

// ---- SetParentOfFiles ----

class FileStoreWriteSetParent : public FileStoreWriteTest {
protected:
    void SetUp() override {
        FileStoreWriteTest::SetUp();
        if (HasFatalFailure()) return;
        for (int64_t id : {10, 11, 12}) {
            FileRow row;
            row.fileId = id;
            InsertFileRow(row);
        }
        CommitStore();
        m_before = Disk("SELECT * FROM file_table ORDER BY file_id");
        ASSERT_EQ(m_before.size(), 3u);
    }

    // The parent of the files, through an array the caller owns.
    HRESULT SetParent(std::initializer_list<uint64_t> fileIds, uint64_t parentId, const CZanTDateTime& date) {
        CZanTArray<uint64_t> array;
        for (uint64_t id : fileIds) array.Add(id);
        return FileTableRows(*m_store).SetParentOfFiles(array, parentId, date);
    }

    Rows m_before;
    const SYSTEMTIME m_date = MakeTime(2023, 4, 5, 6, 7, 8, 900);
    const int64_t m_packed = CZanTDateTime(MakeTime(2023, 4, 5, 6, 7, 8)).GetPacked();
};

TEST_F(FileStoreWriteSetParent, EveryListedFileGetsTheParentAndItsDate) {
    ASSERT_EQ(SetParent({10, 12}, 77, CZanTDateTime(m_date)), S_OK);
    CommitStore();
    Rows after = Disk("SELECT * FROM file_table ORDER BY file_id");
    Rows expected = m_before;
    for (size_t i : {0u, 2u}) {
        expected[i][kParentId] = "77";
        expected[i][kParentShootingDate] = Int(m_packed);
    }
    EXPECT_EQ(after, expected);
}

TEST_F(FileStoreWriteSetParent, ClientHoldingAChildSeesTheNewParent) {
    RecordPtr held;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(11, held.Receive()), S_OK);
    uint64_t parent = 0;
    ASSERT_EQ(held->GetParent(&parent, nullptr), S_OK);
    ASSERT_EQ(parent, 9u);
    ASSERT_EQ(Count(held.Get()), 2);

    ASSERT_EQ(SetParent({11}, 77, CZanTDateTime(m_date)), S_OK);
    SYSTEMTIME date = file_record_test::FilledTime();
    EXPECT_EQ(held->GetParent(&parent, &date), S_OK);
    EXPECT_EQ(parent, 77u);
    EXPECT_TRUE(file_record_test::SameTime(date, MakeTime(2023, 4, 5, 6, 7, 8)));
    // The held record went through its setter, so the parent is marked
    // changed there; its reference count is as before.
    EXPECT_NE(Changed(held.Get()) & kParentBit, 0u);
    EXPECT_EQ(Count(held.Get()), 2);
}

TEST_F(FileStoreWriteSetParent, RecordsOfUnlistedFilesAreNotTouched) {
    RecordPtr held;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(12, held.Receive()), S_OK);
    ASSERT_EQ(SetParent({10}, 77, CZanTDateTime(m_date)), S_OK);
    uint64_t parent = 0;
    held->GetParent(&parent, nullptr);
    EXPECT_EQ(parent, 9u);
    EXPECT_EQ(Changed(held.Get()), 0u);
}

TEST_F(FileStoreWriteSetParent, IdWithoutARowStillSucceeds) {
    // Each id gets an UPDATE of its own; one that matches no row is not an
    // error to SQLite, so nothing tells the caller and no row appears.
    ASSERT_EQ(SetParent({999, 10}, 77, CZanTDateTime(m_date)), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, parent_id FROM file_table ORDER BY file_id"),
              (Rows{{"10", "77"}, {"11", "9"}, {"12", "9"}}));
}

TEST_F(FileStoreWriteSetParent, EmptyListChangesNothing) {
    int changesBefore = TotalChanges();
    EXPECT_EQ(SetParent({}, 77, CZanTDateTime(m_date)), S_OK);
    EXPECT_EQ(TotalChanges(), changesBefore);
    CommitStore();
    EXPECT_EQ(Disk("SELECT * FROM file_table ORDER BY file_id"), m_before);
}

TEST_F(FileStoreWriteSetParent, ParentZeroWritesTheCarriersDateNotTheFiles) {
    // The update's rule for parent 0 takes the shooting date of the record
    // it is given: here the blank record that carries the parent, which has
    // no row and so no date. The file's own date does not come in.
    ASSERT_EQ(SetParent({10}, 0, CZanTDateTime(m_date)), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT parent_id, parent_shooting_date FROM file_table WHERE file_id=10"), (Rows{{"0", "0"}}));
}

TEST_F(FileStoreWriteSetParent, GroupAndChildrenTogether) {
    RecordPtr source;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, source.Receive()), S_OK);
    RecordPtr group = NewRecord();
    int64_t date = m_packed;
    ASSERT_EQ(group->SetShootingDateValue(&date), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).AddItemGroupFile(500, group.Get()), S_OK);
    ASSERT_EQ(SetParent({10, 11}, 500, CZanTDateTime(m_packed)), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT file_id, manage, parent_id, parent_shooting_date FROM file_table ORDER BY file_id"),
              (Rows{{"10", "1", "500", Int(m_packed)},
                    {"11", "1", "500", Int(m_packed)},
                    {"12", "1", "9", Int(kParentPacked)},
                    {"500", "2", "0", Int(m_packed)}}));
    uint64_t parent = 0;
    source->GetParent(&parent, nullptr);
    EXPECT_EQ(parent, 500u);
}

}  // namespace
}  // namespace file_store_write_test
