// The file manager's lists, counts and walks on a small catalogue: three
// ordinary files, one unmanaged, with and without a query node, and the
// lists of albums, tags, dates, imports and metadata records.
#include <algorithm>

#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrLists : public FileMgrFixture {
protected:
    void SetUp() override {
        FileMgrFixture::SetUp();
        if (HasFatalFailure()) return;
        FileSpec a = Spec("/p/a", "a.jpg");
        a.shot = Date(2020, 1, 2, 3, 4, 5);
        a.format = 1;
        a.withMeta = true;
        a.importDate = Date(2023, 5, 5, 10, 0, 0);
        a.importClass = 3;
        a.model = "Model A";
        FileSpec b = Spec("/p/b", "b.jpg");
        b.shot = Date(2021, 6, 7);
        b.format = 2;
        b.withMeta = true;
        b.importDate = Date(2023, 5, 5, 10, 0, 0);
        b.importClass = 4;
        FileSpec c = Spec("/p/c", "c.jpg");
        c.shot = Date(2019, 8, 9);
        c.format = 1;
        c.manage = 0;
        m_a = AddDirect(a);
        m_b = AddDirect(b);
        m_c = AddDirect(c);
        ASSERT_EQ(m_mgr->Commit(1), S_OK);
        m_queries = Make<IZanDB4QueryMgr>(IID_IZanDB4QueryMgr);
        ASSERT_TRUE(m_queries);
    }
    void TearDown() override {
        m_queries.Reset();
        FileMgrFixture::TearDown();
    }

    ComPtr<IZanDB4QueryNode> FormatNode(uint32_t format) {
        ComPtr<IZanDB4QueryNode> node;
        EXPECT_EQ(m_queries->CreateFileFormatNode(node.Receive(), format), S_OK);
        return node;
    }
    ComPtr<IZanDB4QueryNode> TextNode(const WCHAR* text) {
        ComPtr<IZanDB4QueryNode> node = FormatNode(1);
        EXPECT_EQ(node->SetText(text), S_OK);
        return node;
    }

    uint64_t m_a = 0, m_b = 0, m_c = 0;
    ComPtr<IZanDB4QueryMgr> m_queries;
};

TEST_F(FileMgrLists, ListFilesWithAndWithoutAQuery) {
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFiles(nullptr, kTrue, &list, 0), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_c, m_a, m_b}));
    EXPECT_EQ(m_mgr->ListFiles(FormatNode(1).Get(), kTrue, &list, 2), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_c, m_a}));
    EXPECT_EQ(m_mgr->ListFiles(FormatNode(5).Get(), kTrue, &list, 0), kFail);
    EXPECT_TRUE(list.IsEmpty());
    // Unsorted: every file, in whatever order.
    EXPECT_EQ(m_mgr->ListFiles(nullptr, kFalse, &list, 1), S_OK);
    Ids unsorted = IdsOf(list);
    std::sort(unsorted.begin(), unsorted.end());
    EXPECT_EQ(unsorted, (Ids{m_a, m_b, m_c}));
    EXPECT_EQ(m_mgr->ListFiles(nullptr, kTrue, nullptr, 0), kInvalidArg);
}

TEST_F(FileMgrLists, ListFilesOnAnEmptyCatalogueFails) {
    ASSERT_EQ(m_mgr->DeleteFile(m_a), S_OK);
    ASSERT_EQ(m_mgr->DeleteFile(m_b), S_OK);
    ASSERT_EQ(m_mgr->DeleteFile(m_c), S_OK);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFiles(nullptr, kTrue, &list, 0), kFail);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(m_mgr->HasFiles(nullptr), kFail);
    uint32_t count = 9;
    EXPECT_EQ(m_mgr->CountFiles(nullptr, &count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FileMgrLists, CountAndHasFilesWithAndWithoutAQuery) {
    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFiles(nullptr, &count), S_OK);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(m_mgr->CountFiles(FormatNode(1).Get(), &count), S_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(m_mgr->CountFiles(FormatNode(5).Get(), &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_mgr->HasFiles(nullptr), S_OK);
    EXPECT_EQ(m_mgr->HasFiles(FormatNode(2).Get()), S_OK);
    EXPECT_EQ(m_mgr->HasFiles(FormatNode(5).Get()), kFail);
    EXPECT_EQ(m_mgr->CountFiles(nullptr, nullptr), kInvalidArg);
}

TEST_F(FileMgrLists, ANodeWithEmptyTextFailsCountAndHas) {
    auto empty = TextNode(u"");
    uint32_t count = 7;
    EXPECT_EQ(m_mgr->CountFiles(empty.Get(), &count), kFail);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_mgr->HasFiles(empty.Get()), kFail);
}

TEST_F(FileMgrLists, FileFormatsAndManageFlags) {
    CList<uint32_t> values;
    EXPECT_EQ(m_mgr->ListFileFormats(nullptr, &values), S_OK);
    std::vector<uint32_t> formats = ValuesOf(values);
    std::sort(formats.begin(), formats.end());
    EXPECT_EQ(formats, (std::vector<uint32_t>{1, 1, 2}));
    EXPECT_EQ(m_mgr->ListFileFormats(FormatNode(2).Get(), &values), S_OK);
    EXPECT_EQ(ValuesOf(values), (std::vector<uint32_t>{2}));
    EXPECT_EQ(m_mgr->ListFileFormats(FormatNode(5).Get(), &values), kFail);
    EXPECT_EQ(m_mgr->ListManageFlags(nullptr, &values), S_OK);
    std::vector<uint32_t> flags = ValuesOf(values);
    std::sort(flags.begin(), flags.end());
    EXPECT_EQ(flags, (std::vector<uint32_t>{0, 1, 1}));
    EXPECT_EQ(m_mgr->ListManageFlags(FormatNode(1).Get(), &values), S_OK);
    flags = ValuesOf(values);
    std::sort(flags.begin(), flags.end());
    EXPECT_EQ(flags, (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(m_mgr->ListFileFormats(nullptr, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->ListManageFlags(nullptr, nullptr), kInvalidArg);
}

TEST_F(FileMgrLists, ShootingDateRangeOfOrdinaryFiles) {
    SYSTEMTIME oldest{}, latest{};
    EXPECT_EQ(m_mgr->GetShootingDateRange(nullptr, &oldest, &latest), S_OK);
    EXPECT_TRUE(SameDay(oldest, Date(2020, 1, 2, 3, 4, 5)));
    EXPECT_TRUE(SameDay(latest, Date(2021, 6, 7)));
    // With a query the unmanaged file of format 1 still does not count.
    EXPECT_EQ(m_mgr->GetShootingDateRange(FormatNode(1).Get(), &oldest, &latest), S_OK);
    EXPECT_TRUE(SameDay(oldest, Date(2020, 1, 2, 3, 4, 5)));
    EXPECT_TRUE(SameDay(latest, Date(2020, 1, 2, 3, 4, 5)));
    // Either output may be left out.
    SYSTEMTIME only{};
    EXPECT_EQ(m_mgr->GetShootingDateRange(nullptr, nullptr, &only), S_OK);
    EXPECT_TRUE(SameDay(only, Date(2021, 6, 7)));
}

TEST_F(FileMgrLists, ShootingDateRangeWritesNothingOnFailure) {
    auto broken = TextNode(u"no_such_column=1");
    SYSTEMTIME oldest = Date(1999, 9, 9), latest = Date(1999, 9, 9);
    EXPECT_EQ(m_mgr->GetShootingDateRange(broken.Get(), &oldest, &latest), kFail);
    EXPECT_TRUE(SameDay(oldest, Date(1999, 9, 9)));
    EXPECT_TRUE(SameDay(latest, Date(1999, 9, 9)));
}

TEST_F(FileMgrLists, ShootingDatesOfOrdinaryFiles) {
    CList<SYSTEMTIME> dates;
    EXPECT_EQ(m_mgr->ListShootingDates(nullptr, &dates), S_OK);
    std::vector<int64_t> packed;
    for (const SYSTEMTIME& date : ValuesOf(dates)) packed.push_back(Packed(date));
    std::sort(packed.begin(), packed.end());
    EXPECT_EQ(packed, (std::vector<int64_t>{Packed(Date(2020, 1, 2, 3, 4, 5)), Packed(Date(2021, 6, 7))}));
    // An empty result is S_OK.
    EXPECT_EQ(m_mgr->ListShootingDates(FormatNode(5).Get(), &dates), S_OK);
    EXPECT_TRUE(dates.IsEmpty());
    EXPECT_EQ(m_mgr->ListShootingDates(nullptr, nullptr), kInvalidArg);
}

TEST_F(FileMgrLists, FilesByDate) {
    SYSTEMTIME first = Date(2000, 1, 1), last = Date(2030, 1, 1);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesByDate(&first, &last, &list, kFalse, 0), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_a, m_b}));
    SYSTEMTIME narrowFirst = Date(2021, 1, 1);
    EXPECT_EQ(m_mgr->ListFilesByDate(&narrowFirst, &last, &list, kFalse, 0), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_b}));
    SYSTEMTIME emptyFirst = Date(2025, 1, 1);
    EXPECT_EQ(m_mgr->ListFilesByDate(&emptyFirst, &last, &list, kFalse, 0), kFail);
    EXPECT_EQ(m_mgr->ListFilesByDate(&first, &last, nullptr, kFalse, 0), kInvalidArg);
}

TEST_F(FileMgrLists, FilesByDateOfTheirParent) {
    CArray<uint64_t> children;
    children.Add(m_a);
    children.Add(m_b);
    FileSpec groupSpec = Spec("/g", "g");
    groupSpec.shot = Date(2015, 5, 5);
    FilePtr group = MakeFile(groupSpec);
    uint64_t groupId = 0;
    ASSERT_EQ(m_mgr->AddItemGroupDirect(&children, &groupId, group.Get()), S_OK);
    SYSTEMTIME first = Date(2015, 1, 1), last = Date(2015, 12, 31);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesByDate(&first, &last, &list, kTrue, 0), S_OK);
    // The group's own parent date is its shooting date, and manage 2 counts.
    Ids ids = IdsOf(list);
    std::sort(ids.begin(), ids.end());
    Ids expected{m_a, m_b, groupId};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(ids, expected);
}

TEST_F(FileMgrLists, FilesByImport) {
    SYSTEMTIME imported = Date(2023, 5, 5, 10, 0, 0);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesByImport(&imported, nullptr, &list, 0), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_a, m_b}));
    uint32_t importClass = 4;
    EXPECT_EQ(m_mgr->ListFilesByImport(&imported, &importClass, &list, 0x10), S_OK);
    EXPECT_EQ(IdsOf(list), (Ids{m_b}));
    SYSTEMTIME never = Date(2001, 1, 1);
    EXPECT_EQ(m_mgr->ListFilesByImport(&never, nullptr, &list, 0), kFail);
    EXPECT_EQ(m_mgr->ListFilesByImport(&imported, nullptr, nullptr, 0), kInvalidArg);
}

TEST_F(FileMgrLists, MetaRecordsAndModelMetaRecords) {
    CList<IZanDB4FileMetaDBRecord*> records;
    EXPECT_EQ(m_mgr->ListMetaRecords(&records), S_OK);
    std::vector<uint64_t> ids;
    for (IZanDB4FileMetaDBRecord* record : ValuesOf(records)) {
        uint64_t id = 0;
        EXPECT_EQ(record->GetFileID(&id), S_OK);
        ids.push_back(id);
        record->Release();
    }
    records.RemoveAll();
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (Ids{m_a, m_b}));

    EXPECT_EQ(m_mgr->ListModelMetaRecords(&records), S_OK);
    ASSERT_EQ(records.GetCount(), 1);
    IZanDB4FileMetaDBRecord* model = records.GetHead();
    CZanTString name;
    uint32_t picture = 0, finishing = 0, art = 0;
    EXPECT_EQ(model->GetModelInfo(name, &picture, &finishing, &art, nullptr, nullptr), S_OK);
    EXPECT_EQ(name.ToUtf8(), "Model A");
    model->Release();
    records.RemoveAll();
    EXPECT_EQ(m_mgr->ListMetaRecords(nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->ListModelMetaRecords(nullptr), kInvalidArg);
}

struct ModelWalk {
    int calls = 0;
    int32_t answer = 0;
    std::vector<uint64_t> ids;
};

int32_t CountModels(IZanDB4FileMetaDBRecord* record, void* context) {
    auto* walk = static_cast<ModelWalk*>(context);
    uint64_t id = 0;
    record->GetFileID(&id);
    walk->ids.push_back(id);
    ++walk->calls;
    return walk->answer;
}

TEST_F(FileMgrLists, ForEachModelMetaRecordCallsBackPerRecordWithAModel) {
    FileSpec d = Spec("/p/d", "d.jpg");
    d.withMeta = true;
    d.model = "Model D";
    uint64_t idD = AddDirect(d);
    ModelWalk walk;
    EXPECT_EQ(m_mgr->ForEachModelMetaRecord(CountModels, &walk), S_OK);
    EXPECT_EQ(walk.calls, 2);
    std::sort(walk.ids.begin(), walk.ids.end());
    EXPECT_EQ(walk.ids, (Ids{m_a, idD}));
    // A non-zero answer ends the walk.
    ModelWalk stop;
    stop.answer = 1;
    EXPECT_EQ(m_mgr->ForEachModelMetaRecord(CountModels, &stop), S_OK);
    EXPECT_EQ(stop.calls, 1);
    EXPECT_EQ(m_mgr->ForEachModelMetaRecord(nullptr, &walk), kInvalidArg);
}

struct FileWalk {
    int calls = 0;
    int stopAfter = 1000;
};

BOOL CountFileRows(void* context) {
    auto* walk = static_cast<FileWalk*>(context);
    ++walk->calls;
    return walk->calls < walk->stopAfter ? kTrue : kFalse;
}

TEST_F(FileMgrLists, ForEachFileCallsBackOncePerRowUntilToldToStop) {
    FileWalk all;
    EXPECT_EQ(m_mgr->ForEachFile(CountFileRows, &all), S_OK);
    EXPECT_EQ(all.calls, 3);
    FileWalk two;
    two.stopAfter = 2;
    EXPECT_EQ(m_mgr->ForEachFile(CountFileRows, &two), S_OK);
    EXPECT_EQ(two.calls, 2);
    FileWalk one;
    one.stopAfter = 1;
    EXPECT_EQ(m_mgr->ForEachFile(CountFileRows, &one), S_OK);
    EXPECT_EQ(one.calls, 1);
    EXPECT_EQ(m_mgr->ForEachFile(nullptr, nullptr), S_OK);
}

TEST_F(FileMgrLists, FilesInAnAlbum) {
    auto albums = Make<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
    auto album = Make<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
    ASSERT_EQ(album->SetName(W("Holiday")), S_OK);
    uint64_t albumId = 0;
    ASSERT_EQ(albums->AddAlbum(album.Get(), &albumId), S_OK);
    ASSERT_EQ(albums->Commit(), S_OK);
    FileSpec older = Spec("/al/1", "1.jpg");
    older.shot = Date(2010, 1, 1);
    older.albumId = albumId;
    FileSpec newer = Spec("/al/2", "2.jpg");
    newer.shot = Date(2011, 1, 1);
    newer.albumId = albumId;
    FileSpec unmanaged = Spec("/al/3", "3.jpg");
    unmanaged.shot = Date(2012, 1, 1);
    unmanaged.albumId = albumId;
    unmanaged.manage = 0;
    uint64_t o = AddDirect(older), n = AddDirect(newer);
    AddDirect(unmanaged);
    ASSERT_EQ(m_mgr->Commit(1), S_OK);

    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFilesInAlbum(albumId, &count), S_OK);
    EXPECT_EQ(count, 2u);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesInAlbum(albumId, &list, 2, 0), S_OK);
    Ids newestFirst = IdsOf(list);
    ASSERT_GE(newestFirst.size(), 2u);
    EXPECT_EQ(m_mgr->ListFilesInAlbum(albumId, &list, 1, 0), S_OK);
    Ids oldestFirst = IdsOf(list);
    std::reverse(oldestFirst.begin(), oldestFirst.end());
    EXPECT_EQ(newestFirst, oldestFirst);
    EXPECT_LT(std::find(newestFirst.begin(), newestFirst.end(), n) - newestFirst.begin(),
              std::find(newestFirst.begin(), newestFirst.end(), o) - newestFirst.begin());
    EXPECT_EQ(m_mgr->CountFilesInAlbum(albumId + 50, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_mgr->ListFilesInAlbum(albumId + 50, &list, 1, 0), kFail);
    EXPECT_EQ(m_mgr->ListFilesInAlbum(albumId, nullptr, 1, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->CountFilesInAlbum(albumId, nullptr), kInvalidArg);
}

TEST_F(FileMgrLists, FilesOfATag) {
    auto tags = Make<IZanDB4TagDBMgr>(IID_IZanDB4TagDBMgr);
    auto tag = Make<IZanDB4TagDBRecord>(IID_IZanDB4TagDBRecord);
    ASSERT_EQ(tag->SetName(W("family")), S_OK);
    uint64_t tagId = 0;
    ASSERT_EQ(tags->AddTag(tag.Get(), &tagId), S_OK);
    ASSERT_EQ(tags->Commit(), S_OK);
    FileSpec one = Spec("/t/1", "1.jpg");
    one.tags = {tagId};
    FileSpec two = Spec("/t/2", "2.jpg");
    two.tags = {tagId};
    uint64_t first = AddDirect(one), second = AddDirect(two);
    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFilesOfTag(tagId, &count), S_OK);
    EXPECT_EQ(count, 2u);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesOfTag(tagId, &list, 0), S_OK);
    Ids ids = IdsOf(list);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (Ids{first, second}));
    EXPECT_EQ(m_mgr->CountFilesOfTag(tagId + 9, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_mgr->ListFilesOfTag(tagId + 9, &list, 0), kFail);
    EXPECT_EQ(m_mgr->ListFilesOfTag(tagId, nullptr, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->CountFilesOfTag(tagId, nullptr), kInvalidArg);
}

TEST_F(FileMgrLists, PetCountsNeverReadACount) {
    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFilesOfPet(1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_mgr->CountPetFaces(&count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 5;
    EXPECT_EQ(m_mgr->CountFilesOfPerson(1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 5;
    EXPECT_EQ(m_mgr->CountPersonFaces(&count), S_OK);
    EXPECT_EQ(count, 0u);
}

TEST_F(FileMgrLists, ReservedOperationsAreNotImplemented) {
    EXPECT_EQ(m_mgr->ReservedOperation1(), kNotImpl);
    EXPECT_EQ(m_mgr->ReservedOperation2(), kNotImpl);
    uint32_t count = 0;
    EXPECT_EQ(m_mgr->CountFiles(nullptr, &count), S_OK);
    EXPECT_EQ(count, 3u);
}

}  // namespace
}  // namespace file_mgr_test
