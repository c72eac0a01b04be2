// The path and name of a file record: the text holder that keeps short
// texts inside the record and long ones on the heap, and records whose
// texts come from rows read in place, are set by a client, or are longer
// than the room inside the record.
#include <string>
#include <vector>

#include "catalogue/file_rows.h"
#include "file_db_record_fixture.h"
#include "records/inline_text.h"

namespace file_record_test {
namespace {

using zandb4::InlineText;

std::u16string Units(size_t count, char16_t unit) { return std::u16string(count, unit); }

TEST(InlineText, StartsEmpty) {
    InlineText<8> text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.Length(), 0u);
    EXPECT_EQ(text.View(), u"");
    EXPECT_FALSE(text.OnHeap());
}

TEST(InlineText, TextThatFillsTheRoomExactlyStaysInside) {
    InlineText<8> text;
    text.Assign(u"12345678");
    EXPECT_EQ(text.View(), u"12345678");
    EXPECT_FALSE(text.OnHeap());
}

TEST(InlineText, OneUnitMoreThanTheRoomGoesToTheHeap) {
    InlineText<8> text;
    text.Assign(u"123456789");
    EXPECT_EQ(text.View(), u"123456789");
    EXPECT_TRUE(text.OnHeap());
}

TEST(InlineText, ShorterTextAfterALongOneKeepsTheHeapBufferAndTheNewValue) {
    InlineText<4> text;
    text.Assign(u"a long value");
    ASSERT_TRUE(text.OnHeap());
    text.Assign(u"ab");
    EXPECT_EQ(text.View(), u"ab");
    EXPECT_TRUE(text.OnHeap());
    // Longer than the heap buffer: a new one, the value whole.
    text.Assign(u"a still longer value");
    EXPECT_EQ(text.View(), u"a still longer value");
}

TEST(InlineText, EmptyKeepsNothingAndTakesANewValue) {
    InlineText<4> text;
    text.Assign(u"abc");
    text.Empty();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.View(), u"");
    text.Assign(u"xy");
    EXPECT_EQ(text.View(), u"xy");
    text.Assign(std::u16string_view());
    EXPECT_TRUE(text.IsEmpty());
}

TEST(InlineText, PartOfItsOwnValueCanBeAssignedInsideAndOnTheHeap) {
    InlineText<8> inside;
    inside.Assign(u"abcdef");
    inside.Assign(inside.View().substr(2));
    EXPECT_EQ(inside.View(), u"cdef");

    InlineText<4> heap;
    heap.Assign(u"0123456789");
    ASSERT_TRUE(heap.OnHeap());
    heap.Assign(heap.View().substr(3, 5));
    EXPECT_EQ(heap.View(), u"34567");
}

TEST(InlineText, SurrogatePairsAndNulUnitsAreKeptUnitForUnit) {
    InlineText<4> text;
    std::u16string value = u"a\U0001F600";
    value.push_back(u'\0');
    value += u"\u00e9z";
    text.Assign(value);
    EXPECT_EQ(text.Length(), 6u);
    EXPECT_EQ(text.View(), value);
}

using FileRecordTexts = FileRecordTest;

// Units a path and a name hold inside a record.
constexpr size_t kPathRoom = 80;
constexpr size_t kNameRoom = 40;

CZanTString PathOf(IZanDB4FileDBRecord* record) {
    CZanTString path;
    record->GetFilePath(path, nullptr);
    return path;
}
CZanTString NameOf(IZanDB4FileDBRecord* record) {
    CZanTString name;
    record->GetFileName(name);
    return name;
}

TEST_F(FileRecordTexts, PathsAndNamesAtAndAroundTheRoomInsideTheRecordReadBackWhole) {
    for (size_t pathUnits : {size_t{1}, kPathRoom - 1, kPathRoom, kPathRoom + 1, size_t{1000}}) {
        for (size_t nameUnits : {size_t{1}, kNameRoom, kNameRoom + 1, size_t{300}}) {
            SCOPED_TRACE(std::to_string(pathUnits) + " path units, " + std::to_string(nameUnits) + " name units");
            std::u16string path = u"/" + Units(pathUnits - 1, u'p');
            std::u16string name = Units(nameUnits, u'n');
            RecordPtr record = NewRecord();
            uint32_t diskVsn = 7;
            ASSERT_EQ(record->SetFilePath(path.c_str(), &diskVsn), S_OK);
            ASSERT_EQ(record->SetFileName(name.c_str()), S_OK);
            EXPECT_EQ(PathOf(record.Get()).Value(), path);
            EXPECT_EQ(NameOf(record.Get()).Value(), name);
        }
    }
}

TEST_F(FileRecordTexts, LongPathSetAgainShorterAndEmptyReadsTheLastValue) {
    RecordPtr record = NewRecord();
    std::u16string longPath = u"/" + Units(500, u'x');
    ASSERT_EQ(record->SetFilePath(longPath.c_str(), nullptr), S_OK);
    ASSERT_EQ(record->SetFilePath(u"/short", nullptr), S_OK);
    EXPECT_EQ(PathOf(record.Get()).Value(), u"/short");
    // An empty path is E_FAIL from the getter, with the empty value.
    ASSERT_EQ(record->SetFilePath(u"", nullptr), S_OK);
    CZanTString path(u"was here");
    EXPECT_EQ(record->GetFilePath(path, nullptr), E_FAIL);
    EXPECT_TRUE(path.IsEmpty());
    // ClearFields empties a long name too.
    std::u16string longName = Units(200, u'n');
    ASSERT_EQ(record->SetFileName(longName.c_str()), S_OK);
    EXPECT_EQ(record->ClearFields(kNameBit), 1);
    CZanTString name(u"was here");
    EXPECT_EQ(record->GetFileName(name), E_FAIL);
    EXPECT_TRUE(name.IsEmpty());
}

TEST_F(FileRecordTexts, RowReadInPlaceFillsTheRecordWithCopiesThatOutliveTheStatement) {
    FileRow row;
    // Longer than the room inside the record, with letters outside ASCII and
    // outside the basic plane.
    row.filePath = "/photos/" + std::string(150, 'd') + "/\xC3\xA9t\xC3\xA9/\xF0\x9F\x93\xB7";
    row.fileName = std::string(60, 'f') + "\xE5\x86\x99\xE7\x9C\x9F.JPG";
    InsertFileRow(row);
    RecordPtr record = NewRecord();
    {
        SteppedRow stepped(m_store->m_db, kSelectFullRow, 10);
        ASSERT_TRUE(stepped.HasRow());
        FileRowView view = file_table::ReadRowView(stepped.Row());
        EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, view), S_OK);
    }
    EXPECT_EQ(Known(record.Get()), kEveryField);
    EXPECT_EQ(PathOf(record.Get()), CZanTString::FromUtf8(row.filePath.c_str()));
    EXPECT_EQ(NameOf(record.Get()), CZanTString::FromUtf8(row.fileName.c_str()));
    uint32_t diskVsn = 0;
    CZanTString path;
    EXPECT_EQ(record->GetFilePath(path, &diskVsn), S_OK);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
}

TEST_F(FileRecordTexts, ShortRowReadInPlaceLeavesTheNameToALaterRead) {
    FileRow row;
    row.filePath = "/" + std::string(120, 's');
    row.fileName = std::string(50, 'm') + ".JPG";
    InsertFileRow(row);
    RecordPtr record = RecordFor(10);
    {
        SteppedRow stepped(m_store->m_db, kSelectShortRow, 10);
        ASSERT_TRUE(stepped.HasRow());
        EXPECT_EQ(Impl(record.Get())->ReadFields(kAllColumns, file_table::ReadShortRowView(stepped.Row()),
                                                 file_table::kShortRowFields),
                  S_OK);
    }
    EXPECT_EQ(Known(record.Get()), kShortListFields);
    EXPECT_EQ(PathOf(record.Get()), CZanTString::FromUtf8(row.filePath.c_str()));
    // The name was not in the short row: its getter reads it from the row.
    EXPECT_EQ(NameOf(record.Get()), CZanTString::FromUtf8(row.fileName.c_str()));
}

TEST_F(FileRecordTexts, SearchGivesEachRecordItsOwnTextsWhateverTheirLength) {
    // Paths and names of many lengths, so that records made one after the
    // other from one statement, some inside and some on the heap, each keep
    // the texts of their own row.
    std::vector<FileRow> rows;
    for (int i = 0; i < 12; ++i) {
        FileRow row;
        row.fileId = 100 + i;
        row.filePath = "/d" + std::to_string(i) + "/" + std::string(static_cast<size_t>(i * 17), 'a' + i);
        row.fileName = std::string(static_cast<size_t>(i * 7 + 1), 'A' + i) + ".JPG";
        row.shootingDate = kShootingPacked + i;
        InsertFileRow(row);
        rows.push_back(row);
    }
    CZanTList<IZanDB4FileDBRecord*> records;
    {
        CriticalSectionGuard guard(m_store->m_lock);
        ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, records, FileTableRows::kLoadAll), S_OK);
    }
    ASSERT_EQ(records.GetCount(), 12);
    size_t index = 0;
    for (POSITION position = records.GetHeadPosition(); position != nullptr; ++index) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        uint64_t id = 0;
        record->GetFileID(&id);
        EXPECT_EQ(id, rows[index].fileId);
        EXPECT_EQ(PathOf(record), CZanTString::FromUtf8(rows[index].filePath.c_str()));
        EXPECT_EQ(NameOf(record), CZanTString::FromUtf8(rows[index].fileName.c_str()));
        EXPECT_EQ(Known(record), kEveryField);
        record->Release();
    }
    EXPECT_EQ(DatabaseRegistry::fileRecordCache->Size(), 0u);
}

TEST_F(FileRecordTexts, LongSearchHandsOutLiveRecordsAndNewOnesAcrossManyRowsInOrder) {
    // More rows than one hold of the cache's lock covers, with every third
    // file held live by the client beforehand, its name changed.
    constexpr int kRows = 300;
    for (int i = 1; i <= kRows; ++i) {
        FileRow row;
        row.fileId = i;
        row.filePath = "/many/" + std::to_string(i);
        row.fileName = "N" + std::to_string(i) + ".JPG";
        row.shootingDate = kShootingPacked + i;
        InsertFileRow(row);
    }
    std::vector<IZanDB4FileDBRecord*> held;
    for (int i = 3; i <= kRows; i += 3) {
        IZanDB4FileDBRecord* record = nullptr;
        {
            CriticalSectionGuard guard(m_store->m_lock);
            ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(static_cast<uint64_t>(i), &record), S_OK);
        }
        ASSERT_EQ(record->SetFileName(u"changed"), S_OK);
        held.push_back(record);
    }
    ASSERT_EQ(DatabaseRegistry::fileRecordCache->Size(), held.size());

    CZanTList<IZanDB4FileDBRecord*> records;
    {
        CriticalSectionGuard guard(m_store->m_lock);
        ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 1, records, FileTableRows::kLoadAll), S_OK);
    }
    ASSERT_EQ(records.GetCount(), kRows);
    EXPECT_EQ(DatabaseRegistry::fileRecordCache->Size(), static_cast<size_t>(kRows));
    int index = 1;
    for (POSITION position = records.GetHeadPosition(); position != nullptr; ++index) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        uint64_t id = 0;
        record->GetFileID(&id);
        ASSERT_EQ(id, static_cast<uint64_t>(index));
        if (index % 3 == 0) {
            EXPECT_EQ(record, held[static_cast<size_t>(index / 3 - 1)]);
            EXPECT_EQ(NameOf(record).Value(), u"changed");
            EXPECT_EQ(Count(record), 3);  // the client, the search and the cache
        } else {
            EXPECT_EQ(NameOf(record), CZanTString::FromUtf8(("N" + std::to_string(index) + ".JPG").c_str()));
            EXPECT_EQ(Count(record), 2);  // the search and the cache
        }
        record->Release();
    }
    EXPECT_EQ(DatabaseRegistry::fileRecordCache->Size(), held.size());
    for (IZanDB4FileDBRecord* record : held) record->Release();
    EXPECT_EQ(DatabaseRegistry::fileRecordCache->Size(), 0u);
}

TEST_F(FileRecordTexts, ClientPathOfALiveRecordIsNotReplacedByASearchRow) {
    FileRow row;
    row.filePath = "/" + std::string(100, 'r');
    InsertFileRow(row);
    // The record becomes live through a search, then the client changes its
    // path to a long one; a second search finds the live record and must
    // leave the client's path alone.
    CZanTList<IZanDB4FileDBRecord*> first, second;
    {
        CriticalSectionGuard guard(m_store->m_lock);
        ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, first, FileTableRows::kLoadAll), S_OK);
    }
    ASSERT_EQ(first.GetCount(), 1);
    POSITION head = first.GetHeadPosition();
    IZanDB4FileDBRecord* live = first.GetNext(head);
    std::u16string clientPath = u"/client/" + Units(90, u'c');
    ASSERT_EQ(live->SetFilePath(clientPath.c_str(), nullptr), S_OK);
    {
        CriticalSectionGuard guard(m_store->m_lock);
        ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, second, FileTableRows::kLoadAll), S_OK);
    }
    ASSERT_EQ(second.GetCount(), 1);
    POSITION again = second.GetHeadPosition();
    IZanDB4FileDBRecord* found = second.GetNext(again);
    EXPECT_EQ(found, live);
    EXPECT_EQ(PathOf(live).Value(), clientPath);
    EXPECT_EQ(Count(live), 3);  // two searches and the cache
    found->Release();
    live->Release();
}

}  // namespace
}  // namespace file_record_test
