// The texts the search manager builds, compared whole. The store appends a
// node's text to its statements as it is, so every character counts: the
// operator, the quotes (single for comparisons and the bit test, double for
// the LIKE forms), the number formats, the parentheses of combinations, the
// ordering of date ranges. Also the refusals, each of which leaves the out
// pointer null, and the reference counts of nodes, children and manager.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "frame/com_ptr.h"
#include "records/query_mgr.h"
#include "records/query_node.h"
#include "zandb4.h"

namespace {

using zandb4::ComPtr;
using NodePtr = ComPtr<IZanDB4QueryNode>;

// The two BOOL values as the interface uses them.
constexpr BOOL kTrue = 1;
constexpr BOOL kFalse = 0;

// Stands in an out pointer before a call that must clear it; never used as
// a node.
IZanDB4QueryNode* const kSentinel = reinterpret_cast<IZanDB4QueryNode*>(static_cast<uintptr_t>(0x5A5A5A5A));

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

int32_t Refs(IZanDB4QueryNode* node) { return static_cast<CZanDB4ElementNode*>(node)->RefCount(); }

std::string Utf8(const std::u16string& text) { return CZanTString(text).ToUtf8(); }

SYSTEMTIME MakeTime(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
                    uint16_t second = 0, uint16_t milliseconds = 0) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    time.wMilliseconds = milliseconds;
    return time;
}

// A node that is not the library's own, to see what the manager does with
// the interface it is given: how often it takes and gives back references,
// and what it does with a GetText that fails.
class FakeNode : public IZanDB4QueryNode {
public:
    FakeNode(const char16_t* text, HRESULT answer) : m_text(text), m_answer(answer) {}
    ~FakeNode() override = default;

    HRESULT QueryInterface(REFIID, void** out) override {
        if (out != nullptr) *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return static_cast<ULONG>(++m_addRefs); }
    ULONG Release() override { return static_cast<ULONG>(++m_releases); }
    HRESULT Reset() override { return S_OK; }
    HRESULT GetText(CZanTString& outText) override {
        ++m_getTexts;
        outText = m_text.c_str();
        return m_answer;
    }
    HRESULT SetText(const WCHAR* text) override {
        m_text = text;
        return S_OK;
    }

    std::u16string m_text;
    HRESULT m_answer;
    int m_addRefs = 0;
    int m_releases = 0;
    int m_getTexts = 0;
};

class QueryMgrText : public ::testing::Test {
protected:
    // The text of the node that make answers, which must be S_OK with a node
    // of one reference; the node is released.
    template <class Make>
    std::u16string U16TextOf(Make make) {
        IZanDB4QueryNode* node = kSentinel;
        HRESULT result = make(&node);
        EXPECT_EQ(result, S_OK);
        if (result != S_OK || node == nullptr || node == kSentinel) {
            ADD_FAILURE() << "no node made";
            return u"<no node>";
        }
        EXPECT_EQ(Refs(node), 1);
        CZanTString text;
        EXPECT_EQ(node->GetText(text), S_OK);
        EXPECT_EQ(node->Release(), 0u);
        return text.Value();
    }

    template <class Make>
    std::string TextOf(Make make) {
        return Utf8(U16TextOf(make));
    }

    // make must answer expected and leave the out pointer null.
    template <class Make>
    void ExpectRefused(HRESULT expected, Make make) {
        IZanDB4QueryNode* node = kSentinel;
        EXPECT_EQ(make(&node), expected);
        EXPECT_EQ(node, nullptr);
        if (node != nullptr && node != kSentinel) node->Release();
    }

    // A plain node holding text.
    static NodePtr NodeWith(const char16_t* text) {
        NodePtr node = NodePtr::Adopt(new CZanDB4ElementNode());
        node->SetText(text);
        return node;
    }

    static std::u16string Text(IZanDB4QueryNode* node) {
        CZanTString text;
        node->GetText(text);
        return text.Value();
    }

    std::string Manage(uint32_t op, uint32_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateManageNode(out, op, value); });
    }

    std::string Latitude(float lower, float upper) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateLatitudeNode(out, lower, upper); });
    }

    std::string Longitude(float lower, float upper) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateLongitudeNode(out, lower, upper); });
    }

    std::string Dates(uint32_t mode, const SYSTEMTIME* first, const SYSTEMTIME* second) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateShootingDateNode(out, mode, first, second); });
    }

    std::string Combined(IZanDB4QueryNode* left, IZanDB4QueryNode* right, uint32_t code, BOOL parentheses) {
        return TextOf(
            [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, left, right, code, parentheses); });
    }

    ComPtr<IZanDB4QueryMgr> m_mgr = ComPtr<IZanDB4QueryMgr>::Adopt(new CZanDB4DBQueryMgr());
};

// --- Operator codes, through the one column that takes any of them ---

TEST_F(QueryMgrText, ComparisonOperatorsPutTheValueInSingleQuotes) {
    EXPECT_EQ(Manage(0, 1), "manage='1'");
    EXPECT_EQ(Manage(1, 0), "manage!='0'");
    EXPECT_EQ(Manage(2, 3), "manage<'3'");
    EXPECT_EQ(Manage(3, 3), "manage<='3'");
    EXPECT_EQ(Manage(4, 2), "manage>'2'");
    EXPECT_EQ(Manage(5, 2), "manage>='2'");
}

TEST_F(QueryMgrText, LikeOperatorsPutTheValueInDoubleQuotesWithTheirWildcards) {
    EXPECT_EQ(Manage(6, 1), "manage LIKE \"1%\"");
    EXPECT_EQ(Manage(7, 1), "manage LIKE \"%1\"");
    EXPECT_EQ(Manage(8, 1), "manage LIKE \"%1%\"");
    EXPECT_EQ(Manage(9, 1), "manage LIKE \"1\"");
}

TEST_F(QueryMgrText, BitTestOperatorUsesAmpersandAndSingleQuotes) { EXPECT_EQ(Manage(10, 4), "manage&'4'"); }

TEST_F(QueryMgrText, OperatorAboveTenIsRefusedWithNullOut) {
    for (uint32_t op : {11u, 12u, 100u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(op);
        ExpectRefused(E_INVALIDARG, [&](IZanDB4QueryNode** out) { return m_mgr->CreateManageNode(out, op, 1); });
        ExpectRefused(E_INVALIDARG,
                      [&](IZanDB4QueryNode** out) { return m_mgr->CreateParentIDNode(out, op, 1); });
    }
}

TEST_F(QueryMgrText, ManageValueIsPrintedSigned) {
    EXPECT_EQ(Manage(0, 0x7FFFFFFFu), "manage='2147483647'");
    EXPECT_EQ(Manage(0, 0x80000000u), "manage='-2147483648'");
    EXPECT_EQ(Manage(8, 0xFFFFFFFFu), "manage LIKE \"%-1%\"");
}

// --- One operation per column ---

TEST_F(QueryMgrText, FileFormatIsAnEqualityPrintedWithPercentD) {
    auto format = [&](uint32_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFileFormatNode(out, value); });
    };
    EXPECT_EQ(format(3), "file_format='3'");
    EXPECT_EQ(format(0), "file_format='0'");
    EXPECT_EQ(format(0x7FFFFFFFu), "file_format='2147483647'");
    // "%d" of a value above 0x7FFFFFFF prints it as a negative number.
    EXPECT_EQ(format(0x80000000u), "file_format='-2147483648'");
    EXPECT_EQ(format(0xFFFFFFFFu), "file_format='-1'");
}

TEST_F(QueryMgrText, BooleanColumnsPrintOneOrZero) {
    struct Column {
        const char* name;
        HRESULT (IZanDB4QueryMgr::*make)(IZanDB4QueryNode**, BOOL);
    };
    const Column columns[] = {
        {"did_edit", &IZanDB4QueryMgr::CreateDidEditNode},
        {"is_favorite", &IZanDB4QueryMgr::CreateIsFavoriteNode},
        {"did_detect_face", &IZanDB4QueryMgr::CreateDidDetectFaceNode},
        {"upload_flag", &IZanDB4QueryMgr::CreateUploadFlagNode},
    };
    for (const Column& column : columns) {
        SCOPED_TRACE(column.name);
        const std::string yes = std::string(column.name) + "='1'";
        const std::string no = std::string(column.name) + "='0'";
        IZanDB4QueryMgr* mgr = m_mgr.Get();
        auto text = [&](BOOL value) {
            return TextOf([&](IZanDB4QueryNode** out) { return (mgr->*column.make)(out, value); });
        };
        EXPECT_EQ(text(kTrue), yes);
        EXPECT_EQ(text(kFalse), no);
        // Any non-zero BOOL counts as true and is written as 1.
        EXPECT_EQ(text(2), yes);
        EXPECT_EQ(text(-1), yes);
        EXPECT_EQ(text(0x100), yes);
        EXPECT_EQ(text(static_cast<BOOL>(0x80000000u)), yes);
    }
}

TEST_F(QueryMgrText, ParentIdTakesAnyOperatorAndPrintsSigned64Bit) {
    auto parent = [&](uint32_t op, uint64_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateParentIDNode(out, op, value); });
    };
    EXPECT_EQ(parent(0, 0), "parent_id='0'");
    EXPECT_EQ(parent(0, 1234567890123ull), "parent_id='1234567890123'");
    EXPECT_EQ(parent(1, 0), "parent_id!='0'");
    EXPECT_EQ(parent(4, 9), "parent_id>'9'");
    EXPECT_EQ(parent(6, 12), "parent_id LIKE \"12%\"");
    EXPECT_EQ(parent(10, 3), "parent_id&'3'");
    EXPECT_EQ(parent(0, 0x7FFFFFFFFFFFFFFFull), "parent_id='9223372036854775807'");
    EXPECT_EQ(parent(0, 0x8000000000000000ull), "parent_id='-9223372036854775808'");
    EXPECT_EQ(parent(0, 0xFFFFFFFFFFFFFFFFull), "parent_id='-1'");
}

TEST_F(QueryMgrText, DiskVsnIsPrintedSignedAsTheColumnIsBound) {
    auto vsn = [&](int32_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateDiskVsnNode(out, value); });
    };
    EXPECT_EQ(vsn(0x1234ABCD), "disk_vsn='305441741'");
    EXPECT_EQ(vsn(0), "disk_vsn='0'");
    EXPECT_EQ(vsn(static_cast<int32_t>(0x89ABCDEFu)), "disk_vsn='-1985229329'");
    EXPECT_EQ(vsn(-1), "disk_vsn='-1'");
}

TEST_F(QueryMgrText, AlbumIdIsAnEqualityPrintedWithPercentLld) {
    auto album = [&](uint64_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateAlbumIDNode(out, value); });
    };
    EXPECT_EQ(album(42), "album_id='42'");
    EXPECT_EQ(album(0), "album_id='0'");
    EXPECT_EQ(album(1ull << 40), "album_id='1099511627776'");
    EXPECT_EQ(album(0xFFFFFFFFFFFFFFFFull), "album_id='-1'");
}

TEST_F(QueryMgrText, ClassifyIdIsAnEqualityOfTheSixteenBitValue) {
    auto classify = [&](uint16_t value) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateClassifyIDNode(out, value); });
    };
    EXPECT_EQ(classify(5), "classify_id='5'");
    EXPECT_EQ(classify(0), "classify_id='0'");
    // Widened as a 16-bit unsigned value, never negative.
    EXPECT_EQ(classify(0xFFFF), "classify_id='65535'");
    EXPECT_EQ(classify(0x8000), "classify_id='32768'");
}

TEST_F(QueryMgrText, FilePathWithoutPrefixFlagIsAnEquality) {
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) {
                  return m_mgr->CreateFilePathNode(out, u"/photos/2024/IMG_0001.JPG", kFalse);
              }),
              "file_path='/photos/2024/IMG_0001.JPG'");
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, u"", kFalse); }),
              "file_path=''");
}

TEST_F(QueryMgrText, FilePathWithPrefixFlagIsALikeWithTrailingPercent) {
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, u"/photos/2024", kTrue); }),
              "file_path LIKE \"/photos/2024%\"");
    // Any non-zero flag selects the prefix form.
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, u"/photos/2024", 7); }),
              "file_path LIKE \"/photos/2024%\"");
}

TEST_F(QueryMgrText, FileAttributesIgnoresItsFirstArgumentAndAlwaysTestsBits) {
    auto attributes = [&](uint32_t unused, uint32_t value) {
        return TextOf(
            [&](IZanDB4QueryNode** out) { return m_mgr->CreateFileAttributesNode(out, unused, value); });
    };
    EXPECT_EQ(attributes(0, 4), "file_attributes&'4'");
    // The first argument looks like an operator code, but none of them
    // changes the text: not "=" (0), not a LIKE form (8), not a code that
    // would be refused (11).
    EXPECT_EQ(attributes(0, 0x21), "file_attributes&'33'");
    EXPECT_EQ(attributes(8, 0x21), "file_attributes&'33'");
    EXPECT_EQ(attributes(11, 0x21), "file_attributes&'33'");
    EXPECT_EQ(attributes(0xFFFFFFFFu, 0x21), "file_attributes&'33'");
    EXPECT_EQ(attributes(0, 0x80000000u), "file_attributes&'-2147483648'");
}

TEST_F(QueryMgrText, HasGpsIsAnOrOfTwoInequalitiesWithoutParentheses) {
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateHasGPSNode(out); }),
              "gps_latitude!='0.000000' OR gps_longitude!='0.000000'");
}

TEST_F(QueryMgrText, AreaInfoUsesSingleQuotesInBothFormsAndAddsNoWildcard) {
    auto area = [&](BOOL pattern, const char16_t* text) {
        return TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateAreaInfoNode(out, pattern, text); });
    };
    EXPECT_EQ(area(kTrue, u"Kyo%"), "gps_areainfo LIKE 'Kyo%'");
    EXPECT_EQ(area(kFalse, u"Kyoto"), "gps_areainfo='Kyoto'");
    EXPECT_EQ(area(kTrue, u"Kyoto"), "gps_areainfo LIKE 'Kyoto'");
    EXPECT_EQ(area(3, u"K_oto"), "gps_areainfo LIKE 'K_oto'");
}

// --- Coordinate ranges ---

TEST_F(QueryMgrText, LatitudeRangeIsTwoComparisonsJoinedByAnd) {
    EXPECT_EQ(Latitude(10.0f, 20.0f), "gps_latitude>='10.000000' AND gps_latitude<='20.000000'");
    EXPECT_EQ(Latitude(-90.0f, 90.0f), "gps_latitude>='-90.000000' AND gps_latitude<='90.000000'");
    EXPECT_EQ(Latitude(-33.25f, -33.25f), "gps_latitude>='-33.250000' AND gps_latitude<='-33.250000'");
}

TEST_F(QueryMgrText, LatitudeValuesAreTheFloatsWidenedToDouble) {
    // 35.681234 is not a float; the nearest float prints as 35.681232.
    EXPECT_EQ(Latitude(35.681234f, 35.681234f), "gps_latitude>='35.681232' AND gps_latitude<='35.681232'");
}

TEST_F(QueryMgrText, LatitudeOutsideItsRangeOrReversedIsRefused) {
    const float bad[][2] = {{20.0f, 10.0f},  {90.5f, 90.5f},       {0.0f, 90.5f},      {-90.5f, 0.0f},
                            {-91.0f, -90.5f}, {kNaN, 10.0f},       {10.0f, kNaN},      {kNaN, kNaN},
                            {-kInfinity, 0.0f}, {0.0f, kInfinity}, {100.0f, 170.0f}};
    for (const auto& range : bad) {
        SCOPED_TRACE(testing::Message() << range[0] << ", " << range[1]);
        ExpectRefused(E_INVALIDARG,
                      [&](IZanDB4QueryNode** out) { return m_mgr->CreateLatitudeNode(out, range[0], range[1]); });
    }
}

TEST_F(QueryMgrText, LongitudeRangeUsesItsOwnColumnAndBoundsOf180) {
    EXPECT_EQ(Longitude(-180.0f, 180.0f), "gps_longitude>='-180.000000' AND gps_longitude<='180.000000'");
    // Beyond the latitude bounds, inside the longitude ones.
    EXPECT_EQ(Longitude(100.0f, 170.0f), "gps_longitude>='100.000000' AND gps_longitude<='170.000000'");
    EXPECT_EQ(Longitude(139.767123f, 139.767123f),
              "gps_longitude>='139.767120' AND gps_longitude<='139.767120'");
}

TEST_F(QueryMgrText, LongitudeOutsideItsRangeOrReversedIsRefused) {
    const float bad[][2] = {{20.0f, 10.0f}, {0.0f, 180.5f},      {-180.5f, 0.0f}, {kNaN, 10.0f},
                            {10.0f, kNaN},  {-kInfinity, 0.0f}, {0.0f, kInfinity}};
    for (const auto& range : bad) {
        SCOPED_TRACE(testing::Message() << range[0] << ", " << range[1]);
        ExpectRefused(E_INVALIDARG,
                      [&](IZanDB4QueryNode** out) { return m_mgr->CreateLongitudeNode(out, range[0], range[1]); });
    }
}

// --- Shooting dates ---

TEST_F(QueryMgrText, ShootingDateModeThreeCoversTheWholeDay) {
    const SYSTEMTIME day = MakeTime(2024, 3, 7);
    EXPECT_EQ(Dates(3, &day, nullptr),
              "(shooting_date>='2225424536961024' AND shooting_date<='2225424538483515')");
}

TEST_F(QueryMgrText, ShootingDateModeThreeReplacesTheTimeAndIgnoresTheSecondDate) {
    SYSTEMTIME day = MakeTime(2024, 3, 7, 13, 14, 15, 678);
    day.wDayOfWeek = 4;
    const SYSTEMTIME other = MakeTime(1999, 12, 31, 1, 2, 3);
    const std::string expected = "(shooting_date>='2225424536961024' AND shooting_date<='2225424538483515')";
    EXPECT_EQ(Dates(3, &day, nullptr), expected);
    EXPECT_EQ(Dates(3, &day, &other), expected);
}

TEST_F(QueryMgrText, ShootingDateModeOneRunsFromMidnightOfTheFirstToTheEndOfTheSecond) {
    const SYSTEMTIME first = MakeTime(2024, 3, 7, 15, 45, 10, 500);
    const SYSTEMTIME second = MakeTime(2024, 3, 9, 8, 0, 0);
    // 2024-03-07 00:00:00 to 2024-03-09 23:59:59.
    EXPECT_EQ(Dates(1, &first, &second),
              "(shooting_date>='2225424536961024' AND shooting_date<='2225424572037947')");
}

TEST_F(QueryMgrText, ShootingDateModeOneReversedKeepsTheTimesOfEachEndAndPutsTheSmallerFirst) {
    const SYSTEMTIME first = MakeTime(2024, 3, 9, 12, 0, 0);
    const SYSTEMTIME second = MakeTime(2024, 3, 7, 8, 0, 0);
    // The first date gets 00:00:00 (2024-03-09 00:00:00), the second
    // 23:59:59 (2024-03-07 23:59:59); the smaller of the two comes first.
    EXPECT_EQ(Dates(1, &first, &second),
              "(shooting_date>='2225424538483515' AND shooting_date<='2225424570515456')");
}

TEST_F(QueryMgrText, ShootingDateModeOneAcrossTheTurnOfAYear) {
    const SYSTEMTIME first = MakeTime(2023, 12, 31, 9, 0, 0);
    const SYSTEMTIME second = MakeTime(2024, 1, 1, 9, 0, 0);
    const std::string expected = "(shooting_date>='2224364082692096' AND shooting_date<='2225415847885627')";
    EXPECT_EQ(Dates(1, &first, &second), expected);
}

TEST_F(QueryMgrText, ShootingDateModeTwoTakesBothTimesExactlyWithoutMilliseconds) {
    const SYSTEMTIME first = MakeTime(2024, 3, 7, 10, 20, 30, 999);
    const SYSTEMTIME second = MakeTime(2024, 3, 8, 1, 2, 3, 500);
    const std::string expected = "(shooting_date>='2225424537621534' AND shooting_date<='2225424553804291')";
    EXPECT_EQ(Dates(2, &first, &second), expected);
    // Either order gives the same range.
    EXPECT_EQ(Dates(2, &second, &first), expected);
    // Milliseconds play no part.
    const SYSTEMTIME firstWithout = MakeTime(2024, 3, 7, 10, 20, 30, 0);
    EXPECT_EQ(Dates(2, &firstWithout, &second), expected);
}

TEST_F(QueryMgrText, ShootingDateModeTwoOrdersEndsThatDifferOnlyInTheTime) {
    const SYSTEMTIME later = MakeTime(2024, 3, 7, 10, 0, 0);
    const SYSTEMTIME earlier = MakeTime(2024, 3, 7, 9, 59, 59);
    const int64_t low = CZanTDateTime(earlier).GetPacked();
    const int64_t high = CZanTDateTime(later).GetPacked();
    ASSERT_LT(low, high);
    const std::string expected = "(shooting_date>='" + std::to_string(low) + "' AND shooting_date<='" +
                                 std::to_string(high) + "')";
    EXPECT_EQ(Dates(2, &later, &earlier), expected);
    EXPECT_EQ(Dates(2, &earlier, &later), expected);
    // The same moment at both ends is a range of one second.
    EXPECT_EQ(Dates(2, &later, &later),
              "(shooting_date>='" + std::to_string(high) + "' AND shooting_date<='" + std::to_string(high) + "')");
}

TEST_F(QueryMgrText, ShootingDateUnknownModeIsRefusedWithOutCleared) {
    const SYSTEMTIME day = MakeTime(2024, 3, 7);
    for (uint32_t mode : {0u, 4u, 5u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        ExpectRefused(E_INVALIDARG,
                      [&](IZanDB4QueryNode** out) { return m_mgr->CreateShootingDateNode(out, mode, &day, &day); });
    }
}

TEST_F(QueryMgrText, ShootingDateWithoutADateTheModeNeedsIsRefused) {
    const SYSTEMTIME day = MakeTime(2024, 3, 7);
    auto refuse = [&](uint32_t mode, const SYSTEMTIME* first, const SYSTEMTIME* second) {
        SCOPED_TRACE(testing::Message() << "mode " << mode << (first ? "" : " no first") << (second ? "" : " no second"));
        ExpectRefused(E_INVALIDARG, [&](IZanDB4QueryNode** out) {
            return m_mgr->CreateShootingDateNode(out, mode, first, second);
        });
    };
    refuse(1, nullptr, &day);
    refuse(1, &day, nullptr);
    refuse(1, nullptr, nullptr);
    refuse(2, nullptr, &day);
    refuse(2, &day, nullptr);
    refuse(2, nullptr, nullptr);
    refuse(3, nullptr, &day);
    refuse(3, nullptr, nullptr);
}

// --- Combination ---

TEST_F(QueryMgrText, CombineJoinsTheTextsByEachCode) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 0, kFalse), "A AND B");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 1, kFalse), "A OR B");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 2, kFalse), "NOT(A OR B)");
}

TEST_F(QueryMgrText, CombineWithParenthesesFlagWrapsTheWhole) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 0, kTrue), "(A AND B)");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 1, kTrue), "(A OR B)");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 2, kTrue), "(NOT(A OR B))");
    // Any non-zero flag counts.
    EXPECT_EQ(Combined(a.Get(), b.Get(), 0, 2), "(A AND B)");
    EXPECT_EQ(Combined(a.Get(), b.Get(), 0, -1), "(A AND B)");
}

TEST_F(QueryMgrText, CombineKeepsTheOrderOfLeftAndRight) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    EXPECT_EQ(Combined(b.Get(), a.Get(), 0, kFalse), "B AND A");
    EXPECT_EQ(Combined(b.Get(), a.Get(), 2, kFalse), "NOT(B OR A)");
}

TEST_F(QueryMgrText, CombineOfColumnNodesAndNesting) {
    NodePtr format, favourite, path;
    ASSERT_EQ(m_mgr->CreateFileFormatNode(format.Receive(), 3), S_OK);
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(favourite.Receive(), kTrue), S_OK);
    ASSERT_EQ(m_mgr->CreateFilePathNode(path.Receive(), u"/photos", kTrue), S_OK);
    EXPECT_EQ(Combined(format.Get(), favourite.Get(), 1, kTrue), "(file_format='3' OR is_favorite='1')");

    NodePtr either;
    ASSERT_EQ(m_mgr->CombineNodes(either.Receive(), format.Get(), favourite.Get(), 1, kTrue), S_OK);
    EXPECT_EQ(Combined(either.Get(), path.Get(), 0, kFalse),
              "(file_format='3' OR is_favorite='1') AND file_path LIKE \"/photos%\"");
    EXPECT_EQ(Combined(path.Get(), either.Get(), 2, kFalse),
              "NOT(file_path LIKE \"/photos%\" OR (file_format='3' OR is_favorite='1'))");
}

TEST_F(QueryMgrText, CombineWithoutParenthesesLeavesPrecedenceToSql) {
    NodePtr gps, format;
    ASSERT_EQ(m_mgr->CreateHasGPSNode(gps.Receive()), S_OK);
    ASSERT_EQ(m_mgr->CreateFileFormatNode(format.Receive(), 3), S_OK);
    // The OR inside the GPS node gets no parentheses of its own here.
    EXPECT_EQ(Combined(gps.Get(), format.Get(), 0, kFalse),
              "gps_latitude!='0.000000' OR gps_longitude!='0.000000' AND file_format='3'");
    NodePtr range;
    ASSERT_EQ(m_mgr->CreateLatitudeNode(range.Receive(), 10.0f, 20.0f), S_OK);
    EXPECT_EQ(Combined(range.Get(), format.Get(), 1, kFalse),
              "gps_latitude>='10.000000' AND gps_latitude<='20.000000' OR file_format='3'");
}

TEST_F(QueryMgrText, CombineWithUnknownCodeIsRefused) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    for (uint32_t code : {3u, 4u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(code);
        ExpectRefused(E_INVALIDARG,
                      [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, a.Get(), b.Get(), code, kTrue); });
    }
    EXPECT_EQ(Refs(a.Get()), 1);
    EXPECT_EQ(Refs(b.Get()), 1);
}

TEST_F(QueryMgrText, CombineWithNullChildOrOutIsInvalidArgument) {
    NodePtr a = NodeWith(u"A");
    ExpectRefused(E_INVALIDARG,
                  [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, nullptr, a.Get(), 0, kFalse); });
    ExpectRefused(E_INVALIDARG,
                  [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, a.Get(), nullptr, 1, kFalse); });
    ExpectRefused(E_INVALIDARG,
                  [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, nullptr, nullptr, 2, kTrue); });
    EXPECT_EQ(m_mgr->CombineNodes(nullptr, a.Get(), a.Get(), 0, kFalse), E_INVALIDARG);
    EXPECT_EQ(Refs(a.Get()), 1);
}

TEST_F(QueryMgrText, CombineWithAnEmptyChildFailsWithNullOut) {
    NodePtr a = NodeWith(u"A");
    NodePtr empty = NodePtr::Adopt(new CZanDB4ElementNode());
    NodePtr emptied = NodeWith(u"was here");
    ASSERT_EQ(emptied->SetText(u""), S_OK);
    for (IZanDB4QueryNode* blank : {empty.Get(), emptied.Get()}) {
        ExpectRefused(E_FAIL, [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, blank, a.Get(), 0, kFalse); });
        ExpectRefused(E_FAIL, [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, a.Get(), blank, 1, kTrue); });
        ExpectRefused(E_FAIL, [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, blank, blank, 2, kFalse); });
    }
    EXPECT_EQ(Refs(a.Get()), 1);
    EXPECT_EQ(Refs(empty.Get()), 1);
    EXPECT_EQ(Refs(emptied.Get()), 1);
}

TEST_F(QueryMgrText, CombinePassesOnTheFailureOfAChildsGetText) {
    FakeNode good(u"A", S_OK), broken(u"B", E_ACCESSDENIED);
    ExpectRefused(E_ACCESSDENIED,
                  [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, &good, &broken, 0, kFalse); });
    ExpectRefused(E_ACCESSDENIED,
                  [&](IZanDB4QueryNode** out) { return m_mgr->CombineNodes(out, &broken, &good, 1, kFalse); });
}

TEST_F(QueryMgrText, CombineBorrowsItsChildrenThroughTheirInterface) {
    FakeNode left(u"X", S_OK), right(u"Y", S_OK);
    EXPECT_EQ(Combined(&left, &right, 2, kTrue), "(NOT(X OR Y))");
    EXPECT_GE(left.m_getTexts, 1);
    EXPECT_GE(right.m_getTexts, 1);
    // Whatever references it took, it gave back.
    EXPECT_EQ(left.m_addRefs, left.m_releases);
    EXPECT_EQ(right.m_addRefs, right.m_releases);
}

TEST_F(QueryMgrText, SameNodeMayBeBothChildren) {
    NodePtr a;
    ASSERT_EQ(m_mgr->CreateIsFavoriteNode(a.Receive(), kTrue), S_OK);
    EXPECT_EQ(Combined(a.Get(), a.Get(), 1, kFalse), "is_favorite='1' OR is_favorite='1'");
    EXPECT_EQ(Combined(a.Get(), a.Get(), 2, kTrue), "(NOT(is_favorite='1' OR is_favorite='1'))");
    EXPECT_EQ(Refs(a.Get()), 1);
}

TEST_F(QueryMgrText, CombiningLeavesTheChildrensCountsAndTextsAsTheyWere) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    a->AddRef();  // a count other than 1, to see that it is kept too
    NodePtr combined;
    ASSERT_EQ(m_mgr->CombineNodes(combined.Receive(), a.Get(), b.Get(), 0, kTrue), S_OK);
    EXPECT_EQ(Refs(a.Get()), 2);
    EXPECT_EQ(Refs(b.Get()), 1);
    EXPECT_EQ(Refs(combined.Get()), 1);
    EXPECT_EQ(Text(a.Get()), u"A");
    EXPECT_EQ(Text(b.Get()), u"B");
    EXPECT_NE(combined.Get(), a.Get());
    EXPECT_NE(combined.Get(), b.Get());
    a->Release();
}

TEST_F(QueryMgrText, CombinedNodeOutlivesItsChildren) {
    IZanDB4QueryNode* left = nullptr;
    IZanDB4QueryNode* right = nullptr;
    ASSERT_EQ(m_mgr->CreateFileFormatNode(&left, 3), S_OK);
    ASSERT_EQ(m_mgr->CreateDidEditNode(&right, kFalse), S_OK);
    NodePtr combined;
    ASSERT_EQ(m_mgr->CombineNodes(combined.Receive(), left, right, 1, kTrue), S_OK);
    // The children go first; the combined node keeps a copy of their texts.
    EXPECT_EQ(left->Release(), 0u);
    EXPECT_EQ(right->Release(), 0u);
    EXPECT_EQ(Text(combined.Get()), u"(file_format='3' OR did_edit='0')");
    EXPECT_EQ(Refs(combined.Get()), 1);
}

TEST_F(QueryMgrText, LaterChangeToAChildDoesNotReachTheCombinedNode) {
    NodePtr a = NodeWith(u"A"), b = NodeWith(u"B");
    NodePtr combined;
    ASSERT_EQ(m_mgr->CombineNodes(combined.Receive(), a.Get(), b.Get(), 1, kFalse), S_OK);
    ASSERT_EQ(a->SetText(u"C"), S_OK);
    EXPECT_EQ(Text(combined.Get()), u"A OR B");
}

// --- Values go in unescaped ---

TEST_F(QueryMgrText, QuotesPercentAndBackslashPassThroughUnescaped) {
    // A path holding both kinds of quote, a percent sign and a backslash.
    const char16_t* path = u"/it's \"q\" 100%\\x";
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, path, kFalse); }),
              "file_path='/it's \"q\" 100%\\x'");
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, path, kTrue); }),
              "file_path LIKE \"/it's \"q\" 100%\\x%\"");
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateAreaInfoNode(out, kFalse, u"O'Hare"); }),
              "gps_areainfo='O'Hare'");
    EXPECT_EQ(TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateAreaInfoNode(out, kTrue, u"\"50%\"_\\"); }),
              "gps_areainfo LIKE '\"50%\"_\\'");
}

TEST_F(QueryMgrText, NonAsciiTextPassesThroughUnitForUnit) {
    const std::u16string path = u"/\u5199\u771F/\u00C4rger \u00E9t\u00E9/\U0001F4F7";
    EXPECT_EQ(U16TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, path.c_str(), kFalse); }),
              u"file_path='" + path + u"'");
    EXPECT_EQ(U16TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateFilePathNode(out, path.c_str(), kTrue); }),
              u"file_path LIKE \"" + path + u"%\"");
    const std::u16string area = u"\u4EAC\u90FD%";
    EXPECT_EQ(U16TextOf([&](IZanDB4QueryNode** out) { return m_mgr->CreateAreaInfoNode(out, kTrue, area.c_str()); }),
              u"gps_areainfo LIKE '" + area + u"'");
}

TEST_F(QueryMgrText, CombinedTextKeepsValuesUnitForUnit) {
    NodePtr path, area;
    ASSERT_EQ(m_mgr->CreateFilePathNode(path.Receive(), u"/\u00C4'x", kFalse), S_OK);
    ASSERT_EQ(m_mgr->CreateAreaInfoNode(area.Receive(), kFalse, u"\"\U0001F4F7\""), S_OK);
    NodePtr both;
    ASSERT_EQ(m_mgr->CombineNodes(both.Receive(), path.Get(), area.Get(), 0, kTrue), S_OK);
    EXPECT_EQ(Text(both.Get()), u"(file_path='/\u00C4'x' AND gps_areainfo='\"\U0001F4F7\"')");
}

// --- Null outputs and the manager itself ---

TEST_F(QueryMgrText, EveryOperationRefusesANullOut) {
    const SYSTEMTIME day = MakeTime(2024, 3, 7);
    NodePtr a = NodeWith(u"A");
    IZanDB4QueryMgr* mgr = m_mgr.Get();
    EXPECT_EQ(mgr->CombineNodes(nullptr, a.Get(), a.Get(), 0, kFalse), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateFileFormatNode(nullptr, 3), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateShootingDateNode(nullptr, 3, &day, nullptr), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateLatitudeNode(nullptr, 10.0f, 20.0f), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateLongitudeNode(nullptr, 10.0f, 20.0f), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateAreaInfoNode(nullptr, kTrue, u"Kyo%"), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateDidEditNode(nullptr, kTrue), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateIsFavoriteNode(nullptr, kTrue), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateDidDetectFaceNode(nullptr, kTrue), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateManageNode(nullptr, 0, 1), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateParentIDNode(nullptr, 0, 1), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateUploadFlagNode(nullptr, kTrue), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateClassifyIDNode(nullptr, 5), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateFilePathNode(nullptr, u"/photos", kTrue), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateFileAttributesNode(nullptr, 0, 4), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateHasGPSNode(nullptr), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateDiskVsnNode(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(mgr->CreateAlbumIDNode(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(Refs(a.Get()), 1);
}

TEST_F(QueryMgrText, EverySuccessfulOperationOverwritesTheOutWithAFreshNode) {
    const SYSTEMTIME day = MakeTime(2024, 3, 7);
    NodePtr a = NodeWith(u"A");
    IZanDB4QueryMgr* mgr = m_mgr.Get();
    // Each call starts from the sentinel and must replace it with a node of
    // one reference and some text.
    std::vector<std::u16string> texts = {
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CombineNodes(out, a.Get(), a.Get(), 0, kFalse); }),
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CreateShootingDateNode(out, 3, &day, nullptr); }),
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CreateLatitudeNode(out, 1.0f, 2.0f); }),
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CreateLongitudeNode(out, 1.0f, 2.0f); }),
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CreateAreaInfoNode(out, kFalse, u"x"); }),
        U16TextOf([&](IZanDB4QueryNode** out) { return mgr->CreateHasGPSNode(out); }),
    };
    for (const std::u16string& text : texts) EXPECT_FALSE(text.empty());
}

TEST_F(QueryMgrText, NodesDoNotHoldTheManager) {
    IZanDB4QueryMgr* mgr = new CZanDB4DBQueryMgr();
    NodePtr node;
    ASSERT_EQ(mgr->CreateAlbumIDNode(node.Receive(), 7), S_OK);
    EXPECT_EQ(static_cast<CZanDB4DBQueryMgr*>(mgr)->RefCount(), 1);
    EXPECT_EQ(mgr->Release(), 0u);
    EXPECT_EQ(Text(node.Get()), u"album_id='7'");
    EXPECT_EQ(Refs(node.Get()), 1);
}

TEST_F(QueryMgrText, EachCallMakesANewNode) {
    NodePtr first, second;
    ASSERT_EQ(m_mgr->CreateFileFormatNode(first.Receive(), 3), S_OK);
    ASSERT_EQ(m_mgr->CreateFileFormatNode(second.Receive(), 3), S_OK);
    EXPECT_NE(first.Get(), second.Get());
    ASSERT_EQ(first->SetText(u"changed"), S_OK);
    EXPECT_EQ(Text(second.Get()), u"file_format='3'");
}

}  // namespace
