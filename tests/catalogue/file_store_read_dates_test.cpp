// The date reads of the file store: GetShootingDateRange and
// ListShootingDates with their three cases of query (none: managed files
// only; a query of empty text: every file; a query with text: its condition
// and managed files only), ListFilesByDate on the shooting or the parent
// date, and ListFilesByImport on the import date and class of meta_table.
#include "catalogue/file_rows.h"
#include "file_store_read_fixture.h"

namespace file_store_read_test {
namespace {

using file_record_test::FilledTime;
using file_record_test::IsZeroTime;
using file_record_test::MakeTime;
using file_record_test::SameTime;

class FileStoreReadDates : public FileStoreReadTest {
protected:
    void InsertDated(int64_t fileId, int64_t shootingDate, int64_t manage, int64_t format = 3) {
        FileRow row = RowOf(fileId, shootingDate, "f" + std::to_string(fileId) + ".jpg", manage);
        row.fileFormat = format;
        InsertFileRow(row);
    }

    // Oldest and latest of the query, both outputs pre-filled so that a
    // field left unwritten shows.
    HRESULT Range(IZanDB4QueryNode* query, SYSTEMTIME& oldest, SYSTEMTIME& latest) {
        CZanTDateTime first(FilledTime());
        CZanTDateTime last(FilledTime());
        HRESULT result = FileTableRows(*m_store).GetShootingDateRange(query, first, last);
        oldest = first.m_time;
        latest = last.m_time;
        return result;
    }

    // The packed form of each listed date, sorted.
    static std::vector<int64_t> PackedDates(CZanTList<SYSTEMTIME>& dates) {
        std::vector<int64_t> packed;
        for (const SYSTEMTIME& date : Entries(dates)) {
            EXPECT_EQ(date.wMilliseconds, 0);
            EXPECT_EQ(date.wDayOfWeek, 0);
            packed.push_back(CZanTDateTime(date).GetPacked());
        }
        std::sort(packed.begin(), packed.end());
        return packed;
    }
};

// -------------------------------------------------------- GetShootingDateRange

TEST_F(FileStoreReadDates, RangeOfAnEmptyTableIsOkWithBothDatesAllZero) {
    SYSTEMTIME oldest, latest;
    EXPECT_EQ(Range(nullptr, oldest, latest), S_OK);
    EXPECT_TRUE(IsZeroTime(oldest));
    EXPECT_TRUE(IsZeroTime(latest));
}

TEST_F(FileStoreReadDates, RangeWithoutAQueryCountsManagedFilesOnly) {
    InsertDated(1, Packed(2020, 3, 4, 5, 6, 7), 1);
    InsertDated(2, Packed(2021, 8, 9, 10, 11, 12), 1);
    InsertDated(3, Packed(2019, 1, 1), 0);
    InsertDated(4, Packed(2023, 1, 1), 2);
    SYSTEMTIME oldest, latest;
    ASSERT_EQ(Range(nullptr, oldest, latest), S_OK);
    EXPECT_TRUE(SameTime(oldest, MakeTime(2020, 3, 4, 5, 6, 7)));
    EXPECT_TRUE(SameTime(latest, MakeTime(2021, 8, 9, 10, 11, 12)));
}

TEST_F(FileStoreReadDates, RangeWithoutManagedFilesIsOkAndZero) {
    InsertDated(1, Packed(2019, 1, 1), 0);
    InsertDated(2, Packed(2023, 1, 1), 2);
    SYSTEMTIME oldest, latest;
    EXPECT_EQ(Range(nullptr, oldest, latest), S_OK);
    EXPECT_TRUE(IsZeroTime(oldest));
    EXPECT_TRUE(IsZeroTime(latest));
}

TEST_F(FileStoreReadDates, RangeUnderAQueryOfEmptyTextCountsEveryFile) {
    InsertDated(1, Packed(2020, 3, 4), 1);
    InsertDated(2, Packed(2021, 8, 9), 1);
    InsertDated(3, Packed(2019, 1, 1), 0);
    InsertDated(4, Packed(2023, 1, 1), 2);
    NodePtr node = TextNode(u"");
    ASSERT_TRUE(node);
    SYSTEMTIME oldest, latest;
    ASSERT_EQ(Range(node.Get(), oldest, latest), S_OK);
    EXPECT_TRUE(SameTime(oldest, MakeTime(2019, 1, 1, 0, 0, 0)));
    EXPECT_TRUE(SameTime(latest, MakeTime(2023, 1, 1, 0, 0, 0)));
}

TEST_F(FileStoreReadDates, RangeUnderAQueryWithTextCountsItsManagedFilesOnly) {
    InsertDated(1, Packed(2020, 3, 4), 1, 3);
    InsertDated(2, Packed(2021, 8, 9), 1, 3);
    InsertDated(3, Packed(2019, 1, 1), 0, 3);
    InsertDated(4, Packed(2023, 1, 1), 2, 3);
    InsertDated(5, Packed(2018, 1, 1), 1, 7);
    InsertDated(6, Packed(2024, 1, 1), 1, 7);
    NodePtr node = FormatNode(3);
    ASSERT_TRUE(node);
    SYSTEMTIME oldest, latest;
    ASSERT_EQ(Range(node.Get(), oldest, latest), S_OK);
    EXPECT_TRUE(SameTime(oldest, MakeTime(2020, 3, 4, 0, 0, 0)));
    EXPECT_TRUE(SameTime(latest, MakeTime(2021, 8, 9, 0, 0, 0)));
}

TEST_F(FileStoreReadDates, RangeAppendsTheManagedConditionBehindTheQueryTextWithoutParentheses) {
    // "file_format='3' OR file_format='7' AND manage=1": the AND binds to the
    // right-hand side only, so unmanaged files of format 3 still count.
    InsertDated(1, Packed(2015, 1, 1), 0, 3);
    InsertDated(2, Packed(2016, 1, 1), 1, 7);
    InsertDated(3, Packed(2030, 1, 1), 0, 7);
    NodePtr left = FormatNode(3);
    NodePtr right = FormatNode(7);
    ASSERT_TRUE(left);
    ASSERT_TRUE(right);
    NodePtr either;
    ASSERT_EQ(m_queries->CombineNodes(either.Receive(), left.Get(), right.Get(), 1, 0), S_OK);
    SYSTEMTIME oldest, latest;
    ASSERT_EQ(Range(either.Get(), oldest, latest), S_OK);
    EXPECT_TRUE(SameTime(oldest, MakeTime(2015, 1, 1, 0, 0, 0)));
    EXPECT_TRUE(SameTime(latest, MakeTime(2016, 1, 1, 0, 0, 0)));
}

TEST_F(FileStoreReadDates, RangeWithAQueryThatDoesNotPrepareFails) {
    InsertDated(1, Packed(2020, 3, 4), 1);
    NodePtr node = BrokenNode();
    ASSERT_TRUE(node);
    SYSTEMTIME oldest, latest;
    EXPECT_EQ(Range(node.Get(), oldest, latest), E_FAIL);
}

// ------------------------------------------------------------ ListShootingDates

TEST_F(FileStoreReadDates, ListShootingDatesWithoutAListIsInvalid) {
    InsertDated(1, Packed(2020, 3, 4), 1);
    EXPECT_EQ(FileTableRows(*m_store).ListShootingDates(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(FileStoreReadDates, ListShootingDatesKeepsRepeatsOfManagedFiles) {
    InsertDated(1, Packed(2020, 3, 4, 5, 6, 7), 1);
    InsertDated(2, Packed(2020, 3, 4, 5, 6, 7), 1);
    InsertDated(3, Packed(2021, 1, 2), 1);
    InsertDated(4, Packed(2019, 1, 1), 0);
    InsertDated(5, Packed(2022, 1, 1), 2);
    CZanTList<SYSTEMTIME> dates;
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(nullptr, &dates), S_OK);
    EXPECT_EQ(PackedDates(dates),
              (std::vector<int64_t>{Packed(2020, 3, 4, 5, 6, 7), Packed(2020, 3, 4, 5, 6, 7), Packed(2021, 1, 2)}));
}

TEST_F(FileStoreReadDates, ListShootingDatesOfNothingIsOkAndEmpty) {
    CZanTList<SYSTEMTIME> dates;
    EXPECT_EQ(FileTableRows(*m_store).ListShootingDates(nullptr, &dates), S_OK);
    EXPECT_TRUE(dates.IsEmpty());

    InsertDated(1, Packed(2019, 1, 1), 0);
    EXPECT_EQ(FileTableRows(*m_store).ListShootingDates(nullptr, &dates), S_OK);
    EXPECT_TRUE(dates.IsEmpty());
}

TEST_F(FileStoreReadDates, ListShootingDatesUnderAQueryOfEmptyTextListsEveryFile) {
    InsertDated(1, Packed(2020, 3, 4), 1);
    InsertDated(2, Packed(2019, 1, 1), 0);
    InsertDated(3, Packed(2022, 1, 1), 2);
    NodePtr node = TextNode(u"");
    ASSERT_TRUE(node);
    CZanTList<SYSTEMTIME> dates;
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(node.Get(), &dates), S_OK);
    EXPECT_EQ(PackedDates(dates), (std::vector<int64_t>{Packed(2019, 1, 1), Packed(2020, 3, 4), Packed(2022, 1, 1)}));
}

TEST_F(FileStoreReadDates, ListShootingDatesUnderAQueryWithTextListsItsManagedFiles) {
    InsertDated(1, Packed(2020, 3, 4), 1, 3);
    InsertDated(2, Packed(2020, 3, 4), 1, 3);
    InsertDated(3, Packed(2019, 1, 1), 0, 3);
    InsertDated(4, Packed(2021, 1, 1), 1, 7);
    NodePtr node = FormatNode(3);
    ASSERT_TRUE(node);
    CZanTList<SYSTEMTIME> dates;
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(node.Get(), &dates), S_OK);
    EXPECT_EQ(PackedDates(dates), (std::vector<int64_t>{Packed(2020, 3, 4), Packed(2020, 3, 4)}));
}

TEST_F(FileStoreReadDates, ListShootingDatesWithAQueryThatDoesNotPrepareFails) {
    InsertDated(1, Packed(2020, 3, 4), 1);
    NodePtr node = BrokenNode();
    ASSERT_TRUE(node);
    CZanTList<SYSTEMTIME> dates;
    EXPECT_EQ(FileTableRows(*m_store).ListShootingDates(node.Get(), &dates), E_FAIL);
    EXPECT_TRUE(dates.IsEmpty());
}

// -------------------------------------------------------------- ListFilesByDate

class FileStoreReadByDate : public FileStoreReadDates {
protected:
    void InsertWithParentDate(int64_t fileId, int64_t shootingDate, int64_t parentDate, int64_t manage) {
        FileRow row = RowOf(fileId, shootingDate, "p" + std::to_string(fileId) + ".jpg", manage);
        row.parentShootingDate = parentDate;
        InsertFileRow(row);
    }
};

TEST_F(FileStoreReadByDate, TakesManagedFilesInTheInclusiveRangeOldestFirst) {
    InsertFileRow(RowOf(1, Packed(2021, 6, 1, 12, 0, 0), "b.jpg"));   // inside
    InsertFileRow(RowOf(2, Packed(2021, 6, 1, 0, 0, 0), "x.jpg"));    // first second
    InsertFileRow(RowOf(3, Packed(2021, 6, 30, 23, 59, 59), "a.jpg"));  // last second
    InsertFileRow(RowOf(4, Packed(2021, 5, 31, 23, 59, 59), "c.jpg"));  // just before
    InsertFileRow(RowOf(5, Packed(2021, 7, 1, 0, 0, 0), "d.jpg"));    // just after
    InsertFileRow(RowOf(6, Packed(2021, 6, 1, 12, 0, 0), "a.jpg"));   // inside, same date as 1
    InsertFileRow(RowOf(7, Packed(2021, 6, 10), "e.jpg", 0));         // inside, unmanaged
    InsertFileRow(RowOf(8, Packed(2021, 6, 10), "f.jpg", 2));         // inside, item group

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(MakeTime(2021, 6, 1, 0, 0, 0), MakeTime(2021, 6, 30, 23, 59, 59), 0,
                                       files.List(), kLoadAll),
              S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 6, 1, 3}));
    for (IZanDB4FileDBRecord* record : Entries(files.List())) {
        EXPECT_EQ(Known(record), kAllFieldsKnown);
        EXPECT_EQ(Count(record), 2);
    }
}

TEST_F(FileStoreReadByDate, IgnoresTheMillisecondsAndDayOfWeekOfBothEnds) {
    InsertFileRow(RowOf(1, Packed(2021, 6, 1, 8, 0, 0), "a.jpg"));
    InsertFileRow(RowOf(2, Packed(2021, 6, 2, 8, 0, 0), "b.jpg"));
    SYSTEMTIME first = MakeTime(2021, 6, 1, 8, 0, 0, 999);
    first.wDayOfWeek = 2;
    SYSTEMTIME last = MakeTime(2021, 6, 2, 8, 0, 0, 500);
    last.wDayOfWeek = 3;
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(first, last, 0, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{1, 2}));
}

TEST_F(FileStoreReadByDate, WithTheParentFlagTakesTheParentDateOfEveryFileThatIsManagedAtAll) {
    const int64_t inRange = Packed(2021, 6, 15);
    const int64_t outOfRange = Packed(2022, 1, 1);
    InsertWithParentDate(1, Packed(2010, 1, 2), inRange, 1);
    InsertWithParentDate(2, Packed(2010, 1, 1), inRange, 2);
    InsertWithParentDate(3, Packed(2010, 1, 3), inRange, 0);
    // Shot inside the range, but its parent was not.
    InsertWithParentDate(4, Packed(2021, 6, 15), outOfRange, 1);
    InsertWithParentDate(5, Packed(2010, 1, 4), inRange, 7);

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(MakeTime(2021, 6, 1, 0, 0, 0), MakeTime(2021, 6, 30, 23, 59, 59), 1,
                                       files.List(), kLoadAll),
              S_OK);
    // Ordered by their own shooting date.
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 1, 5}));
}

TEST_F(FileStoreReadByDate, FailsWithAnEmptyListWhenNothingIsInTheRange) {
    InsertFileRow(RowOf(1, Packed(2021, 6, 1), "a.jpg"));
    RecordPtr held = NewRecord();
    ASSERT_TRUE(held);
    OwnedFiles files;
    files.List().AddTail(held.Get());
    EXPECT_EQ(FileTableRows(*m_store).ListFilesByDate(MakeTime(2022, 1, 1, 0, 0, 0), MakeTime(2022, 12, 31, 0, 0, 0), 0,
                                       files.List(), kLoadAll),
              E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(Count(held.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadByDate, ReadsTheRowsByTheRowMode) {
    InsertFileRow(RowOf(1, Packed(2021, 6, 1), "a.jpg"));
    const SYSTEMTIME first = MakeTime(2021, 1, 1, 0, 0, 0);
    const SYSTEMTIME last = MakeTime(2021, 12, 31, 0, 0, 0);
    {
        OwnedFiles files;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(first, last, 0, files.List(), kLoadNothing), S_OK);
        ASSERT_EQ(files.List().GetCount(), 1);
        EXPECT_EQ(Known(Entries(files.List())[0]), 0u);
    }
    EXPECT_EQ(CacheSize(), 0u);
    {
        OwnedFiles files;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(first, last, 0, files.List(), kLoadShort), S_OK);
        ASSERT_EQ(files.List().GetCount(), 1);
        EXPECT_EQ(Known(Entries(files.List())[0]), kReducedKnown);
    }
}

// ------------------------------------------------------------ ListFilesByImport

class FileStoreReadByImport : public FileStoreReadDates {
protected:
    void InsertImported(int64_t fileId, int64_t shootingDate, const std::string& name, int64_t importDate,
                        int64_t importClass) {
        InsertFileRow(RowOf(fileId, shootingDate, name));
        MetaRow meta;
        meta.fileId = fileId;
        meta.importDate = importDate;
        meta.importClass = importClass;
        InsertMetaRow(meta);
    }

    void InsertRun() {
        InsertImported(1, Packed(2021, 3, 1), "b.jpg", kRun, 8);
        InsertImported(2, Packed(2020, 1, 1), "z.jpg", kRun, 9);
        InsertImported(3, Packed(2021, 3, 1), "a.jpg", kRun, 8);
        InsertImported(4, Packed(2019, 1, 1), "c.jpg", kOtherRun, 8);
        // A file without a meta row belongs to no run.
        InsertFileRow(RowOf(5, Packed(2018, 1, 1), "d.jpg"));
    }

    static constexpr int64_t kRun = Packed(2022, 4, 5, 6, 7, 8);
    static constexpr int64_t kOtherRun = Packed(2022, 4, 5, 6, 7, 9);
    const SYSTEMTIME m_run = MakeTime(2022, 4, 5, 6, 7, 8, 321);
};

TEST_F(FileStoreReadByImport, WithoutAClassTakesEveryFileOfTheRunOrderedByDateThenName) {
    InsertRun();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, nullptr, 0, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 3, 1}));
    for (IZanDB4FileDBRecord* record : Entries(files.List())) {
        EXPECT_EQ(Known(record), kAllFieldsKnown);
        EXPECT_EQ(Count(record), 2);
    }
}

TEST_F(FileStoreReadByImport, WithAClassTakesTheFilesOfThatClassOnly) {
    InsertRun();
    const uint32_t importClass = 8;
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, &importClass, 0, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1}));
    files.Release();

    const uint32_t otherClass = 9;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, &otherClass, 0, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2}));
}

TEST_F(FileStoreReadByImport, WithAClassThatNoFileOfTheRunHasFails) {
    InsertRun();
    const uint32_t importClass = 10;
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, &importClass, 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadByImport, OptionBitSixteenLeavesTheOrderToTheDatabase) {
    InsertRun();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, nullptr, 0x10, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(Sorted(IdsOf(files.List())), (std::vector<uint64_t>{1, 2, 3}));
}

TEST_F(FileStoreReadByImport, OtherOptionBitsKeepTheOrder) {
    InsertRun();
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, nullptr, 0xFFFFFFEF, files.List(), kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 3, 1}));
}

TEST_F(FileStoreReadByImport, FailsForARunWithoutFiles) {
    InsertRun();
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFilesByImport(MakeTime(2000, 1, 1, 0, 0, 0), nullptr, 0, files.List(), kLoadAll), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
}

TEST_F(FileStoreReadByImport, ReadsTheRowsByTheRowMode) {
    InsertRun();
    {
        OwnedFiles files;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, nullptr, 0, files.List(), kLoadNothing), S_OK);
        EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 3, 1}));
        for (IZanDB4FileDBRecord* record : Entries(files.List())) EXPECT_EQ(Known(record), 0u);
    }
    {
        OwnedFiles files;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesByImport(m_run, nullptr, 0, files.List(), kLoadShort), S_OK);
        for (IZanDB4FileDBRecord* record : Entries(files.List())) EXPECT_EQ(Known(record), kReducedKnown);
    }
    EXPECT_EQ(CacheSize(), 0u);
}

}  // namespace
}  // namespace file_store_read_test
