// CZanTDateTime and the packed date every date column holds:
// year<<40 + month<<32 + day<<24 + hour<<16 + minute<<8 + second. Packed
// dates compare as integers, 0 means no date, and day of week and
// milliseconds are dropped.
#include <gtest/gtest.h>

#include <cstdint>

#include "zandb4/foundation.h"

namespace {

SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute, uint16_t second,
                  uint16_t dayOfWeek = 0, uint16_t milliseconds = 0) {
    SYSTEMTIME time{};
    time.wYear = year;
    time.wMonth = month;
    time.wDayOfWeek = dayOfWeek;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = minute;
    time.wSecond = second;
    time.wMilliseconds = milliseconds;
    return time;
}

void ExpectAllFieldsZero(const SYSTEMTIME& time) {
    EXPECT_EQ(time.wYear, 0);
    EXPECT_EQ(time.wMonth, 0);
    EXPECT_EQ(time.wDayOfWeek, 0);
    EXPECT_EQ(time.wDay, 0);
    EXPECT_EQ(time.wHour, 0);
    EXPECT_EQ(time.wMinute, 0);
    EXPECT_EQ(time.wSecond, 0);
    EXPECT_EQ(time.wMilliseconds, 0);
}

TEST(DateTime, DefaultMadeHasEveryFieldZeroAndPacksToZero) {
    CZanTDateTime date;

    ExpectAllFieldsZero(date.m_time);
    EXPECT_EQ(date.GetPacked(), 0);
}

TEST(DateTime, MadeFromPackedZeroHasEveryFieldZero) {
    CZanTDateTime date(static_cast<int64_t>(0));

    ExpectAllFieldsZero(date.m_time);
    EXPECT_EQ(date.GetPacked(), 0);
}

TEST(DateTime, SetPackedZeroClearsEveryFieldAndPacksToZero) {
    CZanTDateTime date(Moment(2021, 3, 4, 5, 6, 7, 4, 500));

    HRESULT hr = date.SetPacked(0);

    EXPECT_EQ(hr, S_OK);
    ExpectAllFieldsZero(date.m_time);
    EXPECT_EQ(date.GetPacked(), 0);
}

TEST(DateTime, PacksTheWorkedExample) {
    CZanTDateTime date(Moment(2021, 3, 4, 5, 6, 7));

    const int64_t packed = date.GetPacked();

    EXPECT_EQ(packed, 0x7E50304050607LL);
    EXPECT_EQ(packed, 2222125952075271LL);
}

TEST(DateTime, UnpacksTheWorkedExample) {
    CZanTDateTime date(static_cast<int64_t>(2222125952075271LL));

    EXPECT_EQ(date.m_time.wYear, 2021);
    EXPECT_EQ(date.m_time.wMonth, 3);
    EXPECT_EQ(date.m_time.wDay, 4);
    EXPECT_EQ(date.m_time.wHour, 5);
    EXPECT_EQ(date.m_time.wMinute, 6);
    EXPECT_EQ(date.m_time.wSecond, 7);
    EXPECT_EQ(date.m_time.wDayOfWeek, 0);
    EXPECT_EQ(date.m_time.wMilliseconds, 0);
}

TEST(DateTime, EachFieldSitsInItsOwnBits) {
    EXPECT_EQ(CZanTDateTime(Moment(1, 0, 0, 0, 0, 0)).GetPacked(), int64_t{1} << 40);
    EXPECT_EQ(CZanTDateTime(Moment(0, 1, 0, 0, 0, 0)).GetPacked(), int64_t{1} << 32);
    EXPECT_EQ(CZanTDateTime(Moment(0, 0, 1, 0, 0, 0)).GetPacked(), int64_t{1} << 24);
    EXPECT_EQ(CZanTDateTime(Moment(0, 0, 0, 1, 0, 0)).GetPacked(), int64_t{1} << 16);
    EXPECT_EQ(CZanTDateTime(Moment(0, 0, 0, 0, 1, 0)).GetPacked(), int64_t{1} << 8);
    EXPECT_EQ(CZanTDateTime(Moment(0, 0, 0, 0, 0, 1)).GetPacked(), int64_t{1});
}

TEST(DateTime, MillisecondsNineHundredNinetyNineAreDropped) {
    CZanTDateTime date(Moment(2020, 2, 29, 23, 59, 59, 6, 999));

    CZanTDateTime unpacked(date.GetPacked());

    EXPECT_EQ(unpacked.m_time.wMilliseconds, 0);
    EXPECT_EQ(unpacked.m_time.wSecond, 59);
    EXPECT_EQ(unpacked.GetPacked(), date.GetPacked());
}

TEST(DateTime, DayOfWeekIsDroppedAndDoesNotChangeThePackedValue) {
    CZanTDateTime withDay(Moment(2021, 3, 4, 5, 6, 7, 4));
    CZanTDateTime withoutDay(Moment(2021, 3, 4, 5, 6, 7, 0));

    CZanTDateTime unpacked(withDay.GetPacked());

    EXPECT_EQ(withDay.GetPacked(), withoutDay.GetPacked());
    EXPECT_EQ(unpacked.m_time.wDayOfWeek, 0);
}

TEST(DateTime, RoundTripKeepsTheSixStoredFields) {
    const SYSTEMTIME moments[] = {Moment(1601, 1, 1, 0, 0, 0), Moment(1999, 12, 31, 23, 59, 59),
                                  Moment(2038, 1, 19, 3, 14, 8), Moment(9999, 12, 31, 23, 59, 59),
                                  Moment(65535, 12, 31, 23, 59, 59)};
    for (const SYSTEMTIME& moment : moments) {
        CZanTDateTime original(moment);

        CZanTDateTime copy(original.GetPacked());

        EXPECT_EQ(copy.m_time.wYear, moment.wYear);
        EXPECT_EQ(copy.m_time.wMonth, moment.wMonth);
        EXPECT_EQ(copy.m_time.wDay, moment.wDay);
        EXPECT_EQ(copy.m_time.wHour, moment.wHour);
        EXPECT_EQ(copy.m_time.wMinute, moment.wMinute);
        EXPECT_EQ(copy.m_time.wSecond, moment.wSecond);
    }
}

TEST(DateTime, LargestYearStillPacksToAPositiveNumber) {
    CZanTDateTime date(Moment(65535, 12, 31, 23, 59, 59));

    const int64_t packed = date.GetPacked();

    EXPECT_GT(packed, 0);
    EXPECT_EQ(packed, (int64_t{65535} << 40) + (int64_t{12} << 32) + (int64_t{31} << 24) + (int64_t{23} << 16) +
                          (int64_t{59} << 8) + 59);
}

TEST(DateTime, YearIsCutToSixteenBits) {
    CZanTDateTime date;

    HRESULT hr = date.SetPacked((int64_t{0x10000 + 2021} << 40) + (int64_t{3} << 32));

    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(date.m_time.wYear, 2021);
    EXPECT_EQ(date.m_time.wMonth, 3);
}

TEST(DateTime, FieldsBelowTheYearComeFromTheirOwnByte) {
    CZanTDateTime date;

    date.SetPacked(static_cast<int64_t>(0x07E5FFFEFDFCFBULL));

    EXPECT_EQ(date.m_time.wYear, 0x07E5);
    EXPECT_EQ(date.m_time.wMonth, 0xFF);
    EXPECT_EQ(date.m_time.wDay, 0xFE);
    EXPECT_EQ(date.m_time.wHour, 0xFD);
    EXPECT_EQ(date.m_time.wMinute, 0xFC);
    EXPECT_EQ(date.m_time.wSecond, 0xFB);
}

TEST(DateTime, GetPackedIsTheSumOfTheShiftedFields) {
    // A field beyond its byte carries into the next one, because the packed
    // value is a plain sum; the library never makes such a date itself.
    CZanTDateTime date(Moment(0, 0, 0, 0, 0, 256));

    EXPECT_EQ(date.GetPacked(), int64_t{1} << 8);
}

TEST(DateTime, LaterMomentsPackToLargerIntegers) {
    const SYSTEMTIME ordered[] = {Moment(2020, 12, 31, 23, 59, 59), Moment(2021, 1, 1, 0, 0, 0),
                                  Moment(2021, 1, 1, 0, 0, 1), Moment(2021, 1, 1, 0, 1, 0),
                                  Moment(2021, 1, 1, 1, 0, 0), Moment(2021, 1, 2, 0, 0, 0),
                                  Moment(2021, 2, 1, 0, 0, 0), Moment(2022, 1, 1, 0, 0, 0)};

    for (size_t i = 1; i < sizeof(ordered) / sizeof(ordered[0]); ++i)
        EXPECT_LT(CZanTDateTime(ordered[i - 1]).GetPacked(), CZanTDateTime(ordered[i]).GetPacked()) << "pair " << i;
}

TEST(DateTime, NoDateSortsBeforeEveryRealDate) {
    EXPECT_LT(CZanTDateTime().GetPacked(), CZanTDateTime(Moment(1, 1, 1, 0, 0, 0)).GetPacked());
}

TEST(DateTime, MadeFromASystemTimeKeepsAllEightFields) {
    const SYSTEMTIME moment = Moment(2021, 3, 4, 5, 6, 7, 4, 321);

    CZanTDateTime date(moment);

    EXPECT_EQ(date.m_time.wYear, 2021);
    EXPECT_EQ(date.m_time.wDayOfWeek, 4);
    EXPECT_EQ(date.m_time.wMilliseconds, 321);
    EXPECT_EQ(date.m_time.wSecond, 7);
}

TEST(DateTime, CopyCopiesTheTime) {
    CZanTDateTime original(Moment(2021, 3, 4, 5, 6, 7));

    CZanTDateTime copy(original);
    CZanTDateTime assigned;
    assigned = original;
    original.SetPacked(0);

    EXPECT_EQ(copy.GetPacked(), 2222125952075271LL);
    EXPECT_EQ(assigned.GetPacked(), 2222125952075271LL);
}

TEST(DateTime, TimeIsAPublicMemberThatCanBeSetDirectly) {
    CZanTDateTime date;

    date.m_time = Moment(2021, 3, 4, 5, 6, 7);

    EXPECT_EQ(date.GetPacked(), 2222125952075271LL);
}

}  // namespace
