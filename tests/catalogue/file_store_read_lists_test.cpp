// The list reads of the file store: ListFiles with its query, sort flag and
// load modes, ListFileFormats and ListManageFlags, and ListMissingFiles,
// which checks every file against the disk. An empty result is a failure in
// all of them; the list is emptied first without releasing what it held.
#include <fstream>

#include "catalogue/file_rows.h"
#include "file_store_read_fixture.h"

namespace file_store_read_test {
namespace {

class FileStoreReadLists : public FileStoreReadTest {
protected:
    // Four files whose shooting-date-then-name order (3, 1, 4, 2) differs
    // from their id order.
    void InsertFourFiles() {
        InsertFileRow(RowOf(1, Packed(2021, 5, 1, 10), "b.jpg"));
        InsertFileRow(RowOf(2, Packed(2022, 1, 1), "a.jpg"));
        InsertFileRow(RowOf(3, Packed(2020, 12, 31), "z.jpg"));
        InsertFileRow(RowOf(4, Packed(2021, 5, 1, 10), "c.jpg"));
    }
};

// ------------------------------------------------------------------ ListFiles

TEST_F(FileStoreReadLists, ListFilesOnAnEmptyCatalogueFailsWithAnEmptyList) {
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadLists, ListFilesEmptiesTheListWithoutReleasingWhatItHeld) {
    InsertFourFiles();
    RecordPtr held = NewRecord();
    ASSERT_TRUE(held);
    OwnedFiles files;
    files.List().AddTail(held.Get());
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, files.List(), kLoadAll), S_OK);
    std::vector<IZanDB4FileDBRecord*> entries = Entries(files.List());
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(std::count(entries.begin(), entries.end(), held.Get()), 0);
    // The list's reference was the test's own: it was not given back.
    EXPECT_EQ(Count(held.Get()), 1);
}

TEST_F(FileStoreReadLists, ListFilesThatFindsNothingStillEmptiesTheList) {
    RecordPtr held = NewRecord();
    ASSERT_TRUE(held);
    OwnedFiles files;
    files.List().AddTail(held.Get());
    EXPECT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(Count(held.Get()), 1);
}

TEST_F(FileStoreReadLists, ListFilesGivesEveryFileWithOneReferenceForTheCaller) {
    InsertFourFiles();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(Sorted(IdsOf(files.List())), (std::vector<uint64_t>{1, 2, 3, 4}));
    for (IZanDB4FileDBRecord* record : Entries(files.List())) {
        EXPECT_EQ(Count(record), 2);
        EXPECT_EQ(Known(record), kAllFieldsKnown);
    }
    EXPECT_EQ(CacheSize(), 4u);
    files.Release();
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadLists, ListFilesWithSortFlagOneOrdersByShootingDateThenName) {
    InsertFourFiles();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1, 4, 2}));
}

TEST_F(FileStoreReadLists, ListFilesSortsInTheShortModeToo) {
    InsertFourFiles();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, files.List(), kLoadShort), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1, 4, 2}));
}

TEST_F(FileStoreReadLists, ListFilesInModeTwoReadsTheShortColumnList) {
    FileRow row;
    row.fileId = 5;
    row.classifyId = 7;
    InsertFileRow(row);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadShort), S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    IZanDB4FileDBRecord* record = Entries(files.List())[0];
    EXPECT_EQ(IdOf(record), 5u);
    EXPECT_EQ(Known(record), kReducedKnown);
    // Values that only land right when the columns are those of the short
    // list.
    CZanTString path;
    uint32_t diskVsn = 0;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(path.ToUtf8(), row.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    uint32_t format = 0;
    EXPECT_EQ(record->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    int64_t date = 0;
    EXPECT_EQ(record->GetShootingDateValue(&date), S_OK);
    EXPECT_EQ(date, row.shootingDate);
    uint64_t album = 0;
    EXPECT_EQ(record->GetAlbumID(&album), S_OK);
    EXPECT_EQ(album, 42u);
    uint64_t parent = 0;
    EXPECT_EQ(record->GetParent(&parent, nullptr), S_OK);
    EXPECT_EQ(parent, 9u);
    uint16_t orientation = 0;
    EXPECT_EQ(record->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6);
    EXPECT_EQ(Known(record), kReducedKnown);
}

TEST_F(FileStoreReadLists, ListFilesInModeOneHandsOutRecordsThatKnowNothing) {
    InsertFourFiles();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, files.List(), kLoadNothing), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1, 4, 2}));
    for (IZanDB4FileDBRecord* record : Entries(files.List())) EXPECT_EQ(Known(record), 0u);
}

TEST_F(FileStoreReadLists, ListFilesKeepsOnlyTheRowsTheQuerySelects) {
    InsertFourFiles();
    FileRow other = RowOf(5, Packed(2019, 1, 1), "other.jpg");
    other.fileFormat = 7;
    InsertFileRow(other);
    FileRow third = RowOf(6, Packed(2018, 1, 1), "third.jpg");
    third.fileFormat = 7;
    InsertFileRow(third);
    NodePtr node = FormatNode(7);
    ASSERT_TRUE(node);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(node.Get(), 1, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{6, 5}));
}

TEST_F(FileStoreReadLists, ListFilesWithAQueryThatMatchesNothingFails) {
    InsertFourFiles();
    NodePtr node = FormatNode(99);
    ASSERT_TRUE(node);
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFiles(node.Get(), 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadLists, ListFilesWithAQueryOfEmptyTextSelectsEveryFile) {
    InsertFourFiles();
    NodePtr node = TextNode(u"");
    ASSERT_TRUE(node);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(node.Get(), 1, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1, 4, 2}));
}

TEST_F(FileStoreReadLists, ListFilesWithAQueryThatDoesNotPrepareFails) {
    InsertFourFiles();
    NodePtr node = BrokenNode();
    ASSERT_TRUE(node);
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFiles(node.Get(), 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

// ------------------------------------------------ ListFileFormats, ListManageFlags

TEST_F(FileStoreReadLists, ListFileFormatsGivesOneValuePerRowRepeatsIncluded) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = RowOf(id, Packed(2021, 1, 1), "f" + std::to_string(id));
        row.fileFormat = id == 2 ? 7 : 3;
        InsertFileRow(row);
    }
    CZanTList<uint32_t> formats;
    formats.AddTail(99);
    ASSERT_EQ(FileTableRows(*m_store).ListFileFormats(nullptr, formats), S_OK);
    std::vector<uint32_t> values = Entries(formats);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, (std::vector<uint32_t>{3, 3, 7}));
    // Nothing was made into a record.
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadLists, ListFileFormatsKeepsOnlyTheRowsTheQuerySelects) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = RowOf(id, Packed(2021, 1, 1), "f" + std::to_string(id), id == 3 ? 2 : 1);
        row.fileFormat = 10 + id;
        InsertFileRow(row);
    }
    NodePtr node = ManageNode(2);
    ASSERT_TRUE(node);
    CZanTList<uint32_t> formats;
    ASSERT_EQ(FileTableRows(*m_store).ListFileFormats(node.Get(), formats), S_OK);
    EXPECT_EQ(Entries(formats), (std::vector<uint32_t>{13}));
}

TEST_F(FileStoreReadLists, ListFileFormatsThatFindsNothingFailsWithAnEmptyList) {
    CZanTList<uint32_t> formats;
    formats.AddTail(99);
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(nullptr, formats), E_FAIL);
    EXPECT_TRUE(formats.IsEmpty());

    InsertFileRow(FileRow{});
    NodePtr node = FormatNode(4);
    ASSERT_TRUE(node);
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(node.Get(), formats), E_FAIL);
    EXPECT_TRUE(formats.IsEmpty());
}

TEST_F(FileStoreReadLists, ListFileFormatsWithAQueryThatDoesNotPrepareFails) {
    InsertFileRow(FileRow{});
    NodePtr node = BrokenNode();
    ASSERT_TRUE(node);
    CZanTList<uint32_t> formats;
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(node.Get(), formats), E_FAIL);
    EXPECT_TRUE(formats.IsEmpty());
}

TEST_F(FileStoreReadLists, ListManageFlagsGivesOneValuePerRow) {
    InsertFileRow(RowOf(1, Packed(2021, 1, 1), "a", 1));
    InsertFileRow(RowOf(2, Packed(2021, 1, 1), "b", 2));
    InsertFileRow(RowOf(3, Packed(2021, 1, 1), "c", 0));
    InsertFileRow(RowOf(4, Packed(2021, 1, 1), "d", 1));
    CZanTList<uint32_t> flags;
    flags.AddTail(99);
    ASSERT_EQ(FileTableRows(*m_store).ListManageFlags(nullptr, flags), S_OK);
    std::vector<uint32_t> values = Entries(flags);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, (std::vector<uint32_t>{0, 1, 1, 2}));
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadLists, ListManageFlagsKeepsOnlyTheRowsTheQuerySelects) {
    FileRow first = RowOf(1, Packed(2021, 1, 1), "a", 2);
    first.fileFormat = 8;
    InsertFileRow(first);
    FileRow second = RowOf(2, Packed(2021, 1, 1), "b", 0);
    second.fileFormat = 8;
    InsertFileRow(second);
    InsertFileRow(RowOf(3, Packed(2021, 1, 1), "c", 1));
    NodePtr node = FormatNode(8);
    ASSERT_TRUE(node);
    CZanTList<uint32_t> flags;
    ASSERT_EQ(FileTableRows(*m_store).ListManageFlags(node.Get(), flags), S_OK);
    std::vector<uint32_t> values = Entries(flags);
    std::sort(values.begin(), values.end());
    EXPECT_EQ(values, (std::vector<uint32_t>{0, 2}));
}

TEST_F(FileStoreReadLists, ListManageFlagsThatFindsNothingFails) {
    CZanTList<uint32_t> flags;
    flags.AddTail(5);
    EXPECT_EQ(FileTableRows(*m_store).ListManageFlags(nullptr, flags), E_FAIL);
    EXPECT_TRUE(flags.IsEmpty());

    InsertFileRow(FileRow{});
    NodePtr broken = BrokenNode();
    ASSERT_TRUE(broken);
    EXPECT_EQ(FileTableRows(*m_store).ListManageFlags(broken.Get(), flags), E_FAIL);
    EXPECT_TRUE(flags.IsEmpty());
}

// ------------------------------------------------------------ ListMissingFiles

class FileStoreReadMissing : public FileStoreReadLists {
protected:
    void SetUp() override {
        FileStoreReadLists::SetUp();
        std::filesystem::create_directories(m_photos);
        std::ofstream(m_photos / "present.jpg") << "image";
        std::filesystem::create_directories(m_photos / "folder.jpg");
    }

    // A row naming path and name as they are stored.
    void InsertNamed(int64_t fileId, const std::string& path, const std::string& name) {
        FileRow row = RowOf(fileId, Packed(2021, 1, 1), name);
        row.filePath = path;
        InsertFileRow(row);
    }

    std::string Photos() const { return m_photos.string(); }

    zandb4::testing::TempFolder m_disk;
    std::filesystem::path m_photos = m_disk / "photos";
};

TEST_F(FileStoreReadMissing, ListsOnlyFilesWhosePathAndNameNameNothingOnDisk) {
    InsertNamed(1, Photos(), "present.jpg");
    InsertNamed(2, Photos(), "absent.jpg");
    // A separator at the end of the path or the start of the name is joined
    // into one.
    InsertNamed(3, Photos() + "/", "present.jpg");
    InsertNamed(4, Photos(), "/present.jpg");
    // A folder is something on disk too.
    InsertNamed(5, Photos(), "folder.jpg");
    InsertNamed(6, Photos() + "/gone", "present.jpg");

    CZanTArray<uint64_t> ids;
    ids.Add(999);
    ASSERT_EQ(FileTableRows(*m_store).ListMissingFiles(ids), S_OK);
    std::vector<uint64_t> missing;
    for (ptrdiff_t i = 0; i < ids.GetSize(); ++i) missing.push_back(ids[i]);
    EXPECT_EQ(Sorted(missing), (std::vector<uint64_t>{2, 6}));
    // Every record it made was given back, and the cache let them go.
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadMissing, SkipsFilesWithAnEmptyPathOrName) {
    InsertNamed(1, "", "absent.jpg");
    InsertNamed(2, Photos() + "/nowhere", "");
    InsertNamed(3, Photos(), "present.jpg");
    CZanTArray<uint64_t> ids;
    EXPECT_EQ(FileTableRows(*m_store).ListMissingFiles(ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadMissing, FailsWithAnEmptyArrayWhenNothingIsMissing) {
    InsertNamed(1, Photos(), "present.jpg");
    CZanTArray<uint64_t> ids;
    ids.Add(999);
    EXPECT_EQ(FileTableRows(*m_store).ListMissingFiles(ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadMissing, FailsOnAnEmptyCatalogue) {
    CZanTArray<uint64_t> ids;
    EXPECT_EQ(FileTableRows(*m_store).ListMissingFiles(ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);
}

TEST_F(FileStoreReadMissing, LeavesTheReferencesOfAClientUntouched) {
    InsertNamed(1, Photos(), "absent.jpg");
    InsertNamed(2, Photos(), "present.jpg");
    IZanDB4FileDBRecord* raw = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(1, &raw), S_OK);
    RecordPtr held = RecordPtr::Adopt(raw);
    ASSERT_EQ(Count(held.Get()), 2);

    CZanTArray<uint64_t> ids;
    ASSERT_EQ(FileTableRows(*m_store).ListMissingFiles(ids), S_OK);
    ASSERT_EQ(ids.GetSize(), 1);
    EXPECT_EQ(ids[0], 1u);
    EXPECT_EQ(Count(held.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
    held.Reset();
    EXPECT_EQ(CacheSize(), 0u);
}

}  // namespace
}  // namespace file_store_read_test
