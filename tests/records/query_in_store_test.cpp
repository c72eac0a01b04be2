// Search nodes at work inside the file store's statements, on a real
// catalogue: which rows each kind of node selects once its text follows
// " WHERE ". This is where the text has to be valid SQL and mean what the
// operation promises: a quoted number against an integer column, LIKE
// without regard to ASCII case, a '%' in a prefix acting as a wildcard, a
// top-level OR meeting the " AND manage=1" of the date reads, a column that
// file_table does not have, and an apostrophe that breaks the statement.
#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/file_rows.h"
#include "file_db_record_fixture.h"
#include "records/query_mgr.h"
#include "records/query_node.h"

namespace file_record_test {
namespace {

using NodePtr = ComPtr<IZanDB4QueryNode>;
using Ids = std::vector<uint64_t>;

// The two BOOL values as the interface uses them.
constexpr BOOL kTrue = 1;
constexpr BOOL kFalse = 0;

// 2024-01-01 00:00:00 packed; rows are a second apart from here unless a
// test gives them dates of their own.
constexpr int64_t kBaseDate = (int64_t{2024} << 40) + (int64_t{1} << 32) + (int64_t{1} << 24);

int64_t Packed(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
               uint16_t second = 0) {
    return CZanTDateTime(MakeTime(year, month, day, hour, minute, second)).GetPacked();
}

class QueryInStore : public FileRecordTest {
protected:
    void SetUp() override {
        FileRecordTest::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(m_mgr.Receive())), S_OK);
        ASSERT_TRUE(m_mgr);
    }

    void TearDown() override {
        m_mgr.Reset();
        FileRecordTest::TearDown();
    }

    // A row with plain values in every column that a test does not set, so
    // that only the column under test tells the rows apart.
    static FileRow Row(int64_t id) {
        FileRow row;
        row.fileId = id;
        row.filePath = "/plain/" + std::to_string(id);
        row.diskVsn = 1;
        row.fileName = "IMG_" + std::to_string(id) + ".JPG";
        row.fileFormat = 1;
        row.shootingDate = kBaseDate + id;
        row.gpsLatitude = 0.0;
        row.gpsLongitude = 0.0;
        row.fileAttributes = 0;
        row.didEdit = 0;
        row.isFavorite = 0;
        row.didDetectFace = 0;
        row.albumId = 0;
        row.manage = 1;
        row.parentId = 0;
        row.parentShootingDate = 0;
        row.uploadFlag = 0;
        row.classifyId = 0;
        return row;
    }

    // The ids of the files ListFiles returns for node, in the order it
    // returns them. Every record is released.
    Ids Listed(IZanDB4QueryNode* node, HRESULT* result, uint32_t sortFlag = 1, uint32_t mode = 0) {
        CZanTList<IZanDB4FileDBRecord*> records;
        *result = FileTableRows(*m_store).ListFiles(node, sortFlag, records, mode);
        Ids ids;
        for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
            RecordPtr record = RecordPtr::Adopt(records.GetNext(position));
            uint64_t id = 0;
            EXPECT_EQ(record->GetFileID(&id), S_OK);
            ids.push_back(id);
        }
        return ids;
    }

    // The ids for a node that must find something; sorted for comparison.
    Ids Found(IZanDB4QueryNode* node) {
        HRESULT result = E_FAIL;
        Ids ids = Listed(node, &result, 0);
        EXPECT_EQ(result, S_OK);
        std::sort(ids.begin(), ids.end());
        return ids;
    }

    // A node that must select nothing: ListFiles answers E_FAIL with an
    // empty list.
    void ExpectNothing(IZanDB4QueryNode* node) {
        HRESULT result = S_OK;
        Ids ids = Listed(node, &result);
        EXPECT_EQ(result, E_FAIL);
        EXPECT_TRUE(ids.empty());
    }

    static std::vector<uint32_t> Values(CZanTList<uint32_t>& list) {
        std::vector<uint32_t> values;
        for (POSITION position = list.GetHeadPosition(); position != nullptr;) values.push_back(list.GetNext(position));
        std::sort(values.begin(), values.end());
        return values;
    }

    NodePtr Format(uint32_t format) {
        NodePtr node;
        EXPECT_EQ(m_mgr->CreateFileFormatNode(node.Receive(), format), S_OK);
        return node;
    }

    NodePtr Path(const char16_t* path, BOOL prefix) {
        NodePtr node;
        EXPECT_EQ(m_mgr->CreateFilePathNode(node.Receive(), path, prefix), S_OK);
        return node;
    }

    NodePtr Combine(IZanDB4QueryNode* left, IZanDB4QueryNode* right, uint32_t code, BOOL parentheses) {
        NodePtr node;
        EXPECT_EQ(m_mgr->CombineNodes(node.Receive(), left, right, code, parentheses), S_OK);
        return node;
    }

    void InsertPaths(const std::vector<std::string>& paths) {
        int64_t id = 1;
        for (const std::string& path : paths) {
            FileRow row = Row(id++);
            row.filePath = path;
            InsertFileRow(row);
        }
    }

    ComPtr<IZanDB4QueryMgr> m_mgr;
};

TEST_F(QueryInStore, FormatNodeSelectsTheRowsOfThatFormat) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = Row(id);
        row.fileFormat = id == 2 ? 7 : 3;
        InsertFileRow(row);
    }
    NodePtr three = Format(3);
    EXPECT_EQ(Found(three.Get()), (Ids{1, 3}));
    EXPECT_EQ(Found(Format(7).Get()), (Ids{2}));
    ExpectNothing(Format(9).Get());

    CZanTList<uint32_t> formats;
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(three.Get(), formats), S_OK);
    EXPECT_EQ(Values(formats), (std::vector<uint32_t>{3, 3}));
}

TEST_F(QueryInStore, FormatAboveSignedRangeMatchesTheRowAsStoredSigned) {
    // A 32-bit format is bound signed, so 0xFFFFFFFF sits in the row as -1,
    // which is what the "%d" text compares with.
    FileRow high = Row(1);
    high.fileFormat = -1;
    InsertFileRow(high);
    InsertFileRow(Row(2));
    EXPECT_EQ(Found(Format(0xFFFFFFFFu).Get()), (Ids{1}));
}

TEST_F(QueryInStore, FavouriteNodeSelectsByFlag) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = Row(id);
        row.isFavorite = id == 2 ? 0 : 1;
        InsertFileRow(row);
    }
    NodePtr yes, no;
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(yes.Receive(), kTrue), S_OK);
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(no.Receive(), kFalse), S_OK);
    EXPECT_EQ(Found(yes.Get()), (Ids{1, 3}));
    EXPECT_EQ(Found(no.Get()), (Ids{2}));
}

TEST_F(QueryInStore, OtherFlagAndNumberColumnsSelectTheirRows) {
    FileRow a = Row(1), b = Row(2), c = Row(3);
    a.didEdit = 1;
    b.didDetectFace = 1;
    c.uploadFlag = 1;
    a.classifyId = 5;
    c.classifyId = 5;
    b.parentId = 9;
    c.parentId = 12;
    for (const FileRow& row : {a, b, c}) InsertFileRow(row);

    NodePtr node;
    ASSERT_EQ(m_mgr->CreateDidEditNode(node.Receive(), kTrue), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1}));
    ASSERT_EQ(m_mgr->CreateDidDetectFaceNode(node.Receive(), kTrue), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2}));
    ASSERT_EQ(m_mgr->CreateUploadFlagNode(node.Receive(), kFalse), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2}));
    ASSERT_EQ(m_mgr->CreateClassifyIDNode(node.Receive(), 5), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 3}));
    // parent_id > '9' compares as numbers: 12 is above 9 though "12" < "9".
    ASSERT_EQ(m_mgr->CreateParentIDNode(node.Receive(), 4, 9), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{3}));
    ASSERT_EQ(m_mgr->CreateParentIDNode(node.Receive(), 1, 0), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3}));
}

TEST_F(QueryInStore, DayOfShootingDateSelectsFromMidnightToTheLastSecond) {
    const int64_t dates[] = {Packed(2024, 3, 6, 23, 59, 59), Packed(2024, 3, 7, 0, 0, 0),
                             Packed(2024, 3, 7, 12, 30, 0), Packed(2024, 3, 7, 23, 59, 59),
                             Packed(2024, 3, 8, 0, 0, 0)};
    int64_t id = 1;
    for (int64_t date : dates) {
        FileRow row = Row(id++);
        row.shootingDate = date;
        InsertFileRow(row);
    }
    const SYSTEMTIME day = MakeTime(2024, 3, 7, 18, 0, 0);
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateShootingDateNode(node.Receive(), 3, &day, nullptr), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3, 4}));

    const SYSTEMTIME nextDay = MakeTime(2024, 3, 8, 1, 0, 0);
    ASSERT_EQ(m_mgr->CreateShootingDateNode(node.Receive(), 1, &day, &nextDay), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3, 4, 5}));
    // Reversed, the first date still gets 00:00:00 and the second 23:59:59:
    // the range shrinks to 2024-03-07 23:59:59 .. 2024-03-08 00:00:00.
    ASSERT_EQ(m_mgr->CreateShootingDateNode(node.Receive(), 1, &nextDay, &day), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{4, 5}));

    const SYSTEMTIME from = MakeTime(2024, 3, 7, 0, 0, 0), to = MakeTime(2024, 3, 7, 12, 30, 0, 999);
    ASSERT_EQ(m_mgr->CreateShootingDateNode(node.Receive(), 2, &to, &from), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3}));
}

TEST_F(QueryInStore, LatitudeRangeIncludesBothBounds) {
    const double latitudes[] = {9.99, 10.0, 15.5, 20.0, 20.01};
    int64_t id = 1;
    for (double latitude : latitudes) {
        FileRow row = Row(id++);
        row.gpsLatitude = latitude;
        row.gpsLongitude = 100.0;
        InsertFileRow(row);
    }
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateLatitudeNode(node.Receive(), 10.0f, 20.0f), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3, 4}));
    ASSERT_EQ(m_mgr->CreateLatitudeNode(node.Receive(), -90.0f, 90.0f), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3, 4, 5}));
    ASSERT_EQ(m_mgr->CreateLongitudeNode(node.Receive(), 99.5f, 100.5f), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3, 4, 5}));
    ASSERT_EQ(m_mgr->CreateLongitudeNode(node.Receive(), -180.0f, 99.5f), S_OK);
    ExpectNothing(node.Get());
}

TEST_F(QueryInStore, HasGpsSelectsEveryRowOffTheOrigin) {
    const double positions[][2] = {{0.0, 0.0}, {0.0, 5.0}, {5.0, 0.0}, {35.68, 139.76}, {-33.9, 0.0}};
    int64_t id = 1;
    for (const auto& position : positions) {
        FileRow row = Row(id++);
        row.gpsLatitude = position[0];
        row.gpsLongitude = position[1];
        InsertFileRow(row);
    }
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateHasGPSNode(node.Receive()), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3, 4, 5}));
}

TEST_F(QueryInStore, PathPrefixIgnoresAsciiCaseAndEqualityDoesNot) {
    InsertPaths({"/Photos/2024/a", "/photos/2024b", "/photos/2023/x", "/PHOTOS/2024/c", "/other/photos/2024"});
    EXPECT_EQ(Found(Path(u"/photos/2024", kTrue).Get()), (Ids{1, 2, 4}));
    EXPECT_EQ(Found(Path(u"/photos/2023/x", kFalse).Get()), (Ids{3}));
    ExpectNothing(Path(u"/PHOTOS/2023/X", kFalse).Get());
    // Equality wants the whole path; a folder alone is no match.
    ExpectNothing(Path(u"/photos/2023", kFalse).Get());
}

TEST_F(QueryInStore, PercentAndUnderscoreInAPrefixActAsWildcards) {
    InsertPaths({"/100%/a", "/1000/a", "/100/a", "/10/a", "/a_c/x", "/abc/x"});
    // Meant as the folder "/100%", the prefix matches every path that starts
    // with "/100".
    EXPECT_EQ(Found(Path(u"/100%", kTrue).Get()), (Ids{1, 2, 3}));
    EXPECT_EQ(Found(Path(u"/a_c", kTrue).Get()), (Ids{5, 6}));
    // The same values in an equality are plain characters.
    EXPECT_EQ(Found(Path(u"/100%/a", kFalse).Get()), (Ids{1}));
    EXPECT_EQ(Found(Path(u"/a_c/x", kFalse).Get()), (Ids{5}));
}

TEST_F(QueryInStore, AttributesNodeSelectsRowsSharingAnyBit) {
    const int64_t attributes[] = {0x1, 0x20, 0x21, 0x0, 0x4};
    int64_t id = 1;
    for (int64_t value : attributes) {
        FileRow row = Row(id++);
        row.fileAttributes = value;
        InsertFileRow(row);
    }
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateFileAttributesNode(node.Receive(), 999, 0x21), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3}));
    // The first argument changes nothing.
    ASSERT_EQ(m_mgr->CreateFileAttributesNode(node.Receive(), 0, 0x21), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3}));
    ASSERT_EQ(m_mgr->CreateFileAttributesNode(node.Receive(), 0, 0x4), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{5}));
    ASSERT_EQ(m_mgr->CreateFileAttributesNode(node.Receive(), 0, 0x40), S_OK);
    ExpectNothing(node.Get());
}

TEST_F(QueryInStore, ManageTakesComparisonsAndLikeForms) {
    const int64_t manages[] = {1, 10, 21, 0, 2};
    int64_t id = 1;
    for (int64_t value : manages) {
        FileRow row = Row(id++);
        row.manage = value;
        InsertFileRow(row);
    }
    NodePtr node;
    // The substring form looks at the number's digits.
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 8, 1), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3}));
    CZanTList<uint32_t> flags;
    EXPECT_EQ(FileTableRows(*m_store).ListManageFlags(node.Get(), flags), S_OK);
    EXPECT_EQ(Values(flags), (std::vector<uint32_t>{1, 10, 21}));

    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 6, 2), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{3, 5}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 7, 1), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 3}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 9, 10), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 0, 1), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 1, 0), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 2, 3, 5}));
    // The quoted number meets an integer column and compares as a number:
    // as text, "10" and "21" would sort below "2".
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 4, 2), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 3}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 2, 2), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 4}));
    ASSERT_EQ(m_mgr->CreateManageNode(node.Receive(), 10, 2), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2, 5}));
}

TEST_F(QueryInStore, AlbumIdNodeSelectsTheFilesOfThatAlbum) {
    const int64_t albums[] = {42, 43, 0, 42};
    int64_t id = 1;
    for (int64_t album : albums) {
        FileRow row = Row(id++);
        row.albumId = album;
        InsertFileRow(row);
    }
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateAlbumIDNode(node.Receive(), 42), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1, 4}));
    ASSERT_EQ(m_mgr->CreateAlbumIDNode(node.Receive(), 0), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{3}));
}

TEST_F(QueryInStore, DiskVsnNodeMatchesTheSerialAsTheStoreBindsIt) {
    FileRowValues high;
    high.fileId = 1;
    high.filePath = u"/photos/a";
    high.fileName = u"A.JPG";
    high.diskVsn = 0x89ABCDEFu;
    high.manage = 1;
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(high), S_OK);
    FileRowValues low = high;
    low.fileId = 2;
    low.diskVsn = 0x1234;
    ASSERT_EQ(FileTableRows(*m_store).InsertFileRow(low), S_OK);

    NodePtr node;
    ASSERT_EQ(m_mgr->CreateDiskVsnNode(node.Receive(), static_cast<int32_t>(0x89ABCDEFu)), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{1}));
    ASSERT_EQ(m_mgr->CreateDiskVsnNode(node.Receive(), 0x1234), S_OK);
    EXPECT_EQ(Found(node.Get()), (Ids{2}));
}

TEST_F(QueryInStore, CombinedNodesSelectByAndOrAndNot) {
    // 1: format 3, favourite; 2: format 3; 3: format 7, favourite; 4: format 7.
    for (int64_t id : {1, 2, 3, 4}) {
        FileRow row = Row(id);
        row.fileFormat = id <= 2 ? 3 : 7;
        row.isFavorite = id % 2;
        InsertFileRow(row);
    }
    NodePtr format = Format(3), favourite;
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(favourite.Receive(), kTrue), S_OK);
    EXPECT_EQ(Found(Combine(format.Get(), favourite.Get(), 0, kFalse).Get()), (Ids{1}));
    EXPECT_EQ(Found(Combine(format.Get(), favourite.Get(), 1, kFalse).Get()), (Ids{1, 2, 3}));
    EXPECT_EQ(Found(Combine(format.Get(), favourite.Get(), 2, kFalse).Get()), (Ids{4}));
    EXPECT_EQ(Found(Combine(format.Get(), favourite.Get(), 2, kTrue).Get()), (Ids{4}));
    EXPECT_EQ(Found(Combine(format.Get(), format.Get(), 1, kTrue).Get()), (Ids{1, 2}));

    // Without parentheses SQL's own precedence applies: AND binds first.
    NodePtr seven = Format(7);
    NodePtr either = Combine(format.Get(), seven.Get(), 1, kFalse);
    NodePtr eitherWrapped = Combine(format.Get(), seven.Get(), 1, kTrue);
    // format 3 OR (format 7 AND favourite)
    EXPECT_EQ(Found(Combine(either.Get(), favourite.Get(), 0, kFalse).Get()), (Ids{1, 2, 3}));
    // (format 3 OR format 7) AND favourite
    EXPECT_EQ(Found(Combine(eitherWrapped.Get(), favourite.Get(), 0, kFalse).Get()), (Ids{1, 3}));
}

TEST_F(QueryInStore, TopLevelOrWithoutParenthesesEscapesTheManagedFilterOfTheDateReads) {
    // 1: format 3, managed, 2024-05-01
    // 2: format 3, not managed, 2030-01-01 (newest)
    // 3: format 7, not managed, 2031-01-01 (newer still, but format 7)
    // 4: format 7, managed, 2025-06-01
    // 5: format 3, not managed, 2019-01-01 (oldest)
    struct Shot {
        int64_t format, manage, date;
    };
    const Shot shots[] = {{3, 1, Packed(2024, 5, 1)}, {3, 0, Packed(2030, 1, 1)}, {7, 0, Packed(2031, 1, 1)},
                          {7, 1, Packed(2025, 6, 1)}, {3, 0, Packed(2019, 1, 1)}};
    int64_t id = 1;
    for (const Shot& shot : shots) {
        FileRow row = Row(id++);
        row.fileFormat = shot.format;
        row.manage = shot.manage;
        row.shootingDate = shot.date;
        InsertFileRow(row);
    }
    NodePtr three = Format(3), seven = Format(7);
    NodePtr bare = Combine(three.Get(), seven.Get(), 1, kFalse);
    NodePtr wrapped = Combine(three.Get(), seven.Get(), 1, kTrue);

    // "file_format='3' OR file_format='7' AND manage=1": every file of
    // format 3, managed or not, and the managed files of format 7.
    CZanTDateTime oldest, latest;
    ASSERT_EQ(FileTableRows(*m_store).GetShootingDateRange(bare.Get(), oldest, latest), S_OK);
    EXPECT_EQ(oldest.GetPacked(), Packed(2019, 1, 1));
    EXPECT_EQ(latest.GetPacked(), Packed(2030, 1, 1));
    CZanTList<SYSTEMTIME> dates;
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(bare.Get(), &dates), S_OK);
    EXPECT_EQ(dates.GetCount(), 4);

    // "(file_format='3' OR file_format='7') AND manage=1": managed files only.
    ASSERT_EQ(FileTableRows(*m_store).GetShootingDateRange(wrapped.Get(), oldest, latest), S_OK);
    EXPECT_EQ(oldest.GetPacked(), Packed(2024, 5, 1));
    EXPECT_EQ(latest.GetPacked(), Packed(2025, 6, 1));
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(wrapped.Get(), &dates), S_OK);
    EXPECT_EQ(dates.GetCount(), 2);

    // ListFiles adds nothing behind the text: both forms select the same.
    EXPECT_EQ(Found(bare.Get()), (Ids{1, 2, 3, 4, 5}));
    EXPECT_EQ(Found(wrapped.Get()), (Ids{1, 2, 3, 4, 5}));
}

TEST_F(QueryInStore, HasGpsNodeAloneAlsoEscapesTheManagedFilter) {
    // 1: position, managed, 2024; 2: latitude only, not managed, 2030;
    // 3: longitude only, not managed, 2031.
    FileRow a = Row(1), b = Row(2), c = Row(3);
    a.gpsLatitude = 35.0;
    a.gpsLongitude = 139.0;
    a.shootingDate = Packed(2024, 1, 1);
    b.gpsLatitude = 10.0;
    b.manage = 0;
    b.shootingDate = Packed(2030, 1, 1);
    c.gpsLongitude = 10.0;
    c.manage = 0;
    c.shootingDate = Packed(2031, 1, 1);
    for (const FileRow& row : {a, b, c}) InsertFileRow(row);

    NodePtr gps;
    ASSERT_EQ(m_mgr->CreateHasGPSNode(gps.Receive()), S_OK);
    CZanTDateTime oldest, latest;
    // "gps_latitude!='0.000000' OR gps_longitude!='0.000000' AND manage=1":
    // the unmanaged file 2 gets in through the left side, file 3 does not.
    ASSERT_EQ(FileTableRows(*m_store).GetShootingDateRange(gps.Get(), oldest, latest), S_OK);
    EXPECT_EQ(oldest.GetPacked(), Packed(2024, 1, 1));
    EXPECT_EQ(latest.GetPacked(), Packed(2030, 1, 1));

    // Wrapping it by combining it with itself in parentheses restores the
    // managed filter.
    NodePtr wrapped = Combine(gps.Get(), gps.Get(), 1, kTrue);
    ASSERT_EQ(FileTableRows(*m_store).GetShootingDateRange(wrapped.Get(), oldest, latest), S_OK);
    EXPECT_EQ(oldest.GetPacked(), Packed(2024, 1, 1));
    EXPECT_EQ(latest.GetPacked(), Packed(2024, 1, 1));
}

TEST_F(QueryInStore, AreaInfoNodeAloneFailsBecauseFileTableHasNoSuchColumn) {
    InsertFileRow(Row(1));
    MetaRow meta;
    meta.fileId = 1;
    meta.gpsAreaInfo = "Kyoto";
    InsertMetaRow(meta);

    for (BOOL pattern : {kFalse, kTrue}) {
        SCOPED_TRACE(pattern);
        NodePtr area;
        ASSERT_EQ(m_mgr->CreateAreaInfoNode(area.Receive(), pattern, pattern ? u"Kyo%" : u"Kyoto"), S_OK);
        ExpectNothing(area.Get());
        CZanTList<uint32_t> formats;
        EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(area.Get(), formats), E_FAIL);
        EXPECT_TRUE(formats.IsEmpty());
        CZanTDateTime oldest, latest;
        EXPECT_EQ(FileTableRows(*m_store).GetShootingDateRange(area.Get(), oldest, latest), E_FAIL);
    }
    // The store still works afterwards.
    EXPECT_EQ(Found(nullptr), (Ids{1}));
}

TEST_F(QueryInStore, ApostropheInAnEqualityPathBreaksTheStatementAndChangesNothing) {
    InsertPaths({"/photos/it's", "/photos/its"});
    NodePtr broken = Path(u"/photos/it's", kFalse);
    CZanTString text;
    ASSERT_EQ(broken->GetText(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), "file_path='/photos/it's'");

    // Even the row whose path is exactly this value is not found: the
    // statement does not prepare.
    ExpectNothing(broken.Get());
    CZanTList<uint32_t> formats;
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(broken.Get(), formats), E_FAIL);
    CZanTList<uint32_t> flags;
    EXPECT_EQ(FileTableRows(*m_store).ListManageFlags(broken.Get(), flags), E_FAIL);

    const Rows rows = CommitAndRead("SELECT file_id, file_path, manage FROM file_table ORDER BY file_id");
    EXPECT_EQ(rows, (Rows{{"1", "/photos/it's", "1"}, {"2", "/photos/its", "1"}}));
    EXPECT_EQ(Found(nullptr), (Ids{1, 2}));
}

TEST_F(QueryInStore, ApostropheInsideTheDoubleQuotesOfAPrefixIsHarmless) {
    InsertPaths({"/photos/it's/a", "/photos/its/b"});
    EXPECT_EQ(Found(Path(u"/photos/it's", kTrue).Get()), (Ids{1}));
}

TEST_F(QueryInStore, NonAsciiPathPrefixFindsItsRow) {
    InsertPaths({"/\xE5\x86\x99\xE7\x9C\x9F/2024/a", "/photos/2024/b"});
    EXPECT_EQ(Found(Path(u"/\u5199\u771F/", kTrue).Get()), (Ids{1}));
    EXPECT_EQ(Found(Path(u"/\u5199\u771F/2024/a", kFalse).Get()), (Ids{1}));
}

TEST_F(QueryInStore, EmptyNodeMakesTheListsRunWithoutACondition) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = Row(id);
        row.fileFormat = id;
        row.manage = id == 2 ? 0 : 1;
        InsertFileRow(row);
    }
    NodePtr empty = Format(3);
    ASSERT_EQ(empty->SetText(u""), S_OK);
    EXPECT_EQ(Found(empty.Get()), (Ids{1, 2, 3}));
    EXPECT_EQ(Found(nullptr), (Ids{1, 2, 3}));
    CZanTList<uint32_t> formats;
    EXPECT_EQ(FileTableRows(*m_store).ListFileFormats(empty.Get(), formats), S_OK);
    EXPECT_EQ(Values(formats), (std::vector<uint32_t>{1, 2, 3}));
    CZanTList<uint32_t> flags;
    EXPECT_EQ(FileTableRows(*m_store).ListManageFlags(empty.Get(), flags), S_OK);
    EXPECT_EQ(Values(flags), (std::vector<uint32_t>{0, 1, 1}));

    // The date reads: an empty node counts the unmanaged file too, no node
    // only the managed ones.
    CZanTList<SYSTEMTIME> dates;
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(empty.Get(), &dates), S_OK);
    EXPECT_EQ(dates.GetCount(), 3);
    ASSERT_EQ(FileTableRows(*m_store).ListShootingDates(nullptr, &dates), S_OK);
    EXPECT_EQ(dates.GetCount(), 2);
}

TEST_F(QueryInStore, SortFlagOrdersTheSelectedRowsByDateThenName) {
    // Inserted out of order: ids 1..4 with dates that put them 3, 1, 4, 2,
    // and two rows sharing a date told apart by name.
    FileRow a = Row(1), b = Row(2), c = Row(3), d = Row(4), e = Row(5);
    a.shootingDate = Packed(2024, 2, 1);
    b.shootingDate = Packed(2024, 4, 1);
    c.shootingDate = Packed(2024, 1, 1);
    d.shootingDate = Packed(2024, 3, 1);
    d.fileName = "B.JPG";
    e.shootingDate = Packed(2024, 3, 1);
    e.fileName = "A.JPG";
    e.fileFormat = 9;
    for (const FileRow& row : {a, b, c, d, e}) InsertFileRow(row);
    HRESULT result = E_FAIL;
    EXPECT_EQ(Listed(Format(1).Get(), &result, 1), (Ids{3, 1, 4, 2}));
    EXPECT_EQ(result, S_OK);
    NodePtr any = Combine(Format(1).Get(), Format(9).Get(), 1, kTrue);
    EXPECT_EQ(Listed(any.Get(), &result, 1), (Ids{3, 1, 5, 4, 2}));
    EXPECT_EQ(result, S_OK);
}

TEST_F(QueryInStore, NodeWorksWithTheShortColumnList) {
    for (int64_t id : {1, 2, 3}) {
        FileRow row = Row(id);
        row.isFavorite = id == 2 ? 1 : 0;
        InsertFileRow(row);
    }
    NodePtr node;
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(node.Receive(), kFalse), S_OK);
    HRESULT result = E_FAIL;
    EXPECT_EQ(Listed(node.Get(), &result, 1, FileTableRows::kLoadShort), (Ids{1, 3}));
    EXPECT_EQ(result, S_OK);
}

}  // namespace
}  // namespace file_record_test
