// The access log over ranges of time: launches per month with the month
// index arithmetic, the bit histogram of a kind, and the walk over daily
// values with its callback.
#include <string>
#include <vector>

#include "logs_fixture.h"
#include "storage/statement.h"

namespace logs_test {
namespace {

class AccessLogMonths : public LogsTest {
protected:
    void Launches(const CZanTDateTime& day, uint32_t count) {
        ASSERT_EQ(m_accessLog->AddLaunchCount(count, &day), S_OK);
    }
    void Bits(uint32_t type, const CZanTDateTime& day, uint32_t bits) {
        ASSERT_EQ(m_accessLog->SetDailyBits(type, bits, &day), S_OK);
    }
    static std::vector<uint32_t> Values(const CArray<uint32_t>& counts) {
        return std::vector<uint32_t>(counts.GetData(), counts.GetData() + counts.GetSize());
    }
};

// What the walk's callback was given.
struct Walked {
    int64_t day;
    uint32_t type;
    uint32_t value;
};

struct WalkLog {
    std::vector<Walked> seen;
    size_t stopAfter = 0;  // 0: never stop
};

int32_t Collect(const CZanTDateTime& date, uint32_t type, uint32_t value, void* context) {
    auto* log = static_cast<WalkLog*>(context);
    log->seen.push_back({date.GetPacked(), type, value});
    return log->stopAfter != 0 && log->seen.size() >= log->stopAfter ? 1 : 0;
}

TEST_F(AccessLogMonths, MonthlyLaunchCountsHaveAnElementPerMonthFromTheMonthOfFrom) {
    Launches(Date(2023, 11, 3), 2);
    Launches(Date(2023, 11, 30), 1);
    Launches(Date(2024, 1, 15), 7);
    Launches(Date(2024, 2, 29), 4);
    Launches(Date(2024, 3, 1), 100);
    Launches(Date(2023, 10, 31), 100);
    CArray<uint32_t> counts;
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2023, 11, 1), Date(2024, 2, 29), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{3, 0, 7, 4}));
}

TEST_F(AccessLogMonths, ALaunchOnTheDayOfToLandsInTheLastElement) {
    Launches(Date(2024, 5, 20, 9), 6);
    CArray<uint32_t> counts;
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 3, 1), Date(2024, 5, 20, 18), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{0, 0, 6}));
}

TEST_F(AccessLogMonths, OneMonthGivesOneElement) {
    Launches(Date(2024, 5, 2), 1);
    Launches(Date(2024, 5, 31), 2);
    CArray<uint32_t> counts;
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 5, 1), Date(2024, 5, 31), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{3}));
}

TEST_F(AccessLogMonths, AToMonthBeforeFromFailsForLaunchesAndTheWalk) {
    Launches(Date(2024, 5, 2), 1);
    CArray<uint32_t> counts;
    counts.Add(77);
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 5, 1), Date(2024, 4, 30), &counts), E_FAIL);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{77}));
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 1, 1), Date(2023, 12, 31), &counts), E_FAIL);
    WalkLog log;
    EXPECT_EQ(m_accessLog->EnumDailyValues(Date(2024, 5, 1), Date(2024, 4, 30), Collect, &log), E_FAIL);
    EXPECT_TRUE(log.seen.empty());
    // A later day of the same month is no earlier month.
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 5, 20), Date(2024, 5, 2), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{0}));
}

TEST_F(AccessLogMonths, MonthsZeroAndThirteenFollowTheArithmeticWithoutHarm) {
    Launches(Date(2025, 1, 10), 4);
    CArray<uint32_t> counts;
    // Month 13 of 2024 counts as the month before January 2025.
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 13, 1), Date(2025, 1, 31), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{4}));
    // Month 0 of 2025 lies before January: two months, the launch in the
    // second.
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2025, 0, 1), Date(2025, 1, 31), &counts), S_OK);
    EXPECT_EQ(Values(counts), (std::vector<uint32_t>{0, 4}));
    // A to month of 0 against a from month of 13 in one year.
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2025, 13, 1), Date(2025, 0, 1), &counts), E_FAIL);
    WalkLog log;
    EXPECT_EQ(m_accessLog->EnumDailyValues(Date(2025, 13, 1), Date(2025, 0, 1), Collect, &log), E_FAIL);
}

TEST_F(AccessLogMonths, ALaunchRowWithAnImpossibleMonthIsLeftOut) {
    // A day key written by another program with month 200 lies inside the
    // range as an integer but outside every element.
    AccessLogStore().BeginTransaction();
    ASSERT_EQ(zandb4::RunStatement(AccessLogStore().m_db,
                                   (u"INSERT INTO access_launch_data VALUES (" +
                                    CZanTString::FromUtf8(std::to_string(DayKey(2024, 200, 1)).c_str()) + u", 9)")
                                       .GetString()),
              S_OK);
    Launches(Date(2025, 1, 1), 1);
    CArray<uint32_t> counts;
    ASSERT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 1, 1), Date(2025, 1, 31), &counts), S_OK);
    std::vector<uint32_t> expected(13, 0);
    expected[12] = 1;
    EXPECT_EQ(Values(counts), expected);
}

TEST_F(AccessLogMonths, BitHistogramOfAnEmptyRangeIsThirtyTwoZeros) {
    Bits(4, Date(2024, 6, 1), 0xFF);
    CArray<uint32_t> counts;
    counts.Add(5);
    counts.Add(6);
    ASSERT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 7, 1), Date(2024, 7, 31, 23, 59, 59), &counts), S_OK);
    EXPECT_EQ(Values(counts), std::vector<uint32_t>(32, 0));
}

TEST_F(AccessLogMonths, BitHistogramCountsTheDaysEachBitWasSetOn) {
    Bits(4, Date(2024, 6, 1), 0x1);
    Bits(4, Date(2024, 6, 2), 0x3);
    Bits(4, Date(2024, 6, 3), 0x80000001u);
    Bits(5, Date(2024, 6, 3), 0x2);
    Bits(4, Date(2024, 7, 1), 0x1);
    CArray<uint32_t> counts;
    ASSERT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 6, 1), Date(2024, 6, 30, 23, 59, 59), &counts), S_OK);
    std::vector<uint32_t> expected(32, 0);
    expected[0] = 3;
    expected[1] = 1;
    expected[31] = 1;
    EXPECT_EQ(Values(counts), expected);
}

TEST_F(AccessLogMonths, BitHistogramBoundsAreMomentsNotDays) {
    Bits(4, Date(2024, 6, 1), 0x1);
    Bits(4, Date(2024, 6, 2), 0x1);
    CArray<uint32_t> counts;
    // A from with a time of day lies after its own day's key.
    ASSERT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 6, 1, 0, 0, 1), Date(2024, 6, 2), &counts), S_OK);
    EXPECT_EQ(counts[0], 1u);
}

TEST_F(AccessLogMonths, BitHistogramWritesZerosAndFailsWhenTheDaysCannotBeRead) {
    Bits(4, Date(2024, 6, 1), 0x1);
    AccessLogStore().BeginTransaction();
    ASSERT_EQ(zandb4::RunStatement(AccessLogStore().m_db, u"DROP TABLE access_date_log_data"), S_OK);
    CArray<uint32_t> counts;
    counts.Add(9);
    EXPECT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 6, 1), Date(2024, 6, 30), &counts), E_FAIL);
    EXPECT_EQ(Values(counts), std::vector<uint32_t>(32, 0));
    ASSERT_EQ(m_accessLog->Rollback(), S_OK);
    EXPECT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 6, 1), Date(2024, 6, 30), &counts), S_OK);
    EXPECT_EQ(m_accessLog->GetBitHistogram(4, Date(2024, 6, 1), Date(2024, 6, 30), nullptr), E_INVALIDARG);
}

TEST_F(AccessLogMonths, EnumDailyValuesWalksTheDaysNewestFirst) {
    Bits(4, Date(2024, 6, 1), 0x1);
    const CZanTDateTime second = Date(2024, 6, 2);
    ASSERT_EQ(m_accessLog->AddDailyCount(7, 12, &second), S_OK);
    Bits(4, Date(2024, 6, 30, 20), 0x8);
    Bits(4, Date(2024, 7, 1), 0x2);
    Bits(4, Date(2024, 5, 31), 0x2);
    WalkLog log;
    ASSERT_EQ(m_accessLog->EnumDailyValues(Date(2024, 6, 1, 12), Date(2024, 6, 30, 8), Collect, &log), S_OK);
    ASSERT_EQ(log.seen.size(), 3u);
    EXPECT_EQ(log.seen[0].day, DayKey(2024, 6, 30));
    EXPECT_EQ(log.seen[0].type, 4u);
    EXPECT_EQ(log.seen[0].value, 0x8u);
    EXPECT_EQ(log.seen[1].day, DayKey(2024, 6, 2));
    EXPECT_EQ(log.seen[1].type, 7u);
    EXPECT_EQ(log.seen[1].value, 12u);
    EXPECT_EQ(log.seen[2].day, DayKey(2024, 6, 1));
}

TEST_F(AccessLogMonths, ANonZeroAnswerOfTheCallbackEndsTheWalk) {
    for (uint16_t day = 1; day <= 5; ++day) Bits(4, Date(2024, 6, day), 0x1);
    WalkLog log;
    log.stopAfter = 2;
    EXPECT_EQ(m_accessLog->EnumDailyValues(Date(2024, 6, 1), Date(2024, 6, 30), Collect, &log), S_OK);
    ASSERT_EQ(log.seen.size(), 2u);
    EXPECT_EQ(log.seen[1].day, DayKey(2024, 6, 4));
}

TEST_F(AccessLogMonths, EnumDailyValuesOverNothingCallsNothing) {
    WalkLog log;
    EXPECT_EQ(m_accessLog->EnumDailyValues(Date(2024, 6, 1), Date(2024, 6, 30), Collect, &log), S_OK);
    EXPECT_TRUE(log.seen.empty());
}

TEST_F(AccessLogMonths, NullCallbacksAndArraysAreInvalidNotACrash) {
    Bits(4, Date(2024, 6, 1), 0x1);
    EXPECT_EQ(m_accessLog->EnumDailyValues(Date(2024, 6, 1), Date(2024, 6, 30), nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_accessLog->GetMonthlyLaunchCounts(Date(2024, 6, 1), Date(2024, 6, 30), nullptr), E_INVALIDARG);
    EXPECT_EQ(m_accessLog->GetStrings(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(m_accessLog->AddString(nullptr, 1), E_INVALIDARG);
}

}  // namespace
}  // namespace logs_test
