// platform/clock.h: a broken-down local time converted to UTC by the zone's
// offset at the moment of the call, which the clock seam sets, and the
// moments that are refused.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

#include "platform/clock.h"

namespace {

namespace platform = zandb4::platform;

SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
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

// Sets TZ and the clock's "now" while it lives.
class Zone {
public:
    explicit Zone(const char* zone, std::optional<SYSTEMTIME> now = std::nullopt) {
        if (const char* previous = ::getenv("TZ")) m_previous = previous;
        ::setenv("TZ", zone, 1);
        ::tzset();
        platform::SetSystemTimeForTesting(now);
    }
    ~Zone() {
        platform::SetSystemTimeForTesting(std::nullopt);
        if (m_previous)
            ::setenv("TZ", m_previous->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    std::optional<std::string> m_previous;
};

// The six fields and the day of the week, as one text.
std::string Text(const SYSTEMTIME& time) {
    char text[64];
    snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u.%03u w%u", time.wYear, time.wMonth, time.wDay,
             time.wHour, time.wMinute, time.wSecond, time.wMilliseconds, time.wDayOfWeek);
    return text;
}

std::string Utc(const SYSTEMTIME& local) {
    SYSTEMTIME utc{};
    if (!platform::LocalTimeToUtc(local, &utc)) return "refused";
    return Text(utc);
}

TEST(PlatformLocalTime, AZoneAheadOfUtcGoesBack) {
    Zone zone("UTC-9");
    EXPECT_EQ(Utc(Moment(2020, 7, 1, 10, 0, 0, 250)), "2020-07-01 01:00:00.250 w3");
}

TEST(PlatformLocalTime, AZoneBehindUtcGoesForward) {
    Zone zone("UTC+5");
    EXPECT_EQ(Utc(Moment(2020, 12, 31, 22, 30)), "2021-01-01 03:30:00.000 w5");
}

TEST(PlatformLocalTime, DaysMonthsAndYearsRollBack) {
    Zone zone("UTC-9");
    EXPECT_EQ(Utc(Moment(2021, 1, 1, 0, 30)), "2020-12-31 15:30:00.000 w4");
    EXPECT_EQ(Utc(Moment(2020, 3, 1, 5)), "2020-02-29 20:00:00.000 w6");
}

TEST(PlatformLocalTime, UtcItselfIsUnchanged) {
    Zone zone("UTC0");
    EXPECT_EQ(Utc(Moment(1999, 12, 31, 23, 59, 59)), "1999-12-31 23:59:59.000 w5");
}

TEST(PlatformLocalTime, TheOffsetIsThatOfNowNotOfTheDate) {
    {
        Zone winter("CET-1CEST,M3.5.0,M10.5.0/3", Moment(2022, 1, 15, 12));
        EXPECT_EQ(Utc(Moment(2021, 7, 1, 12)), "2021-07-01 11:00:00.000 w4");
        EXPECT_EQ(Utc(Moment(2021, 1, 1, 12)), "2021-01-01 11:00:00.000 w5");
    }
    {
        Zone summer("CET-1CEST,M3.5.0,M10.5.0/3", Moment(2022, 7, 15, 12));
        EXPECT_EQ(Utc(Moment(2021, 7, 1, 12)), "2021-07-01 10:00:00.000 w4");
        EXPECT_EQ(Utc(Moment(2021, 1, 1, 12)), "2021-01-01 10:00:00.000 w5");
    }
}

TEST(PlatformLocalTime, MomentsThatAreNoDatesAreRefused) {
    Zone zone("UTC-9");
    EXPECT_EQ(Utc(SYSTEMTIME{}), "refused");
    EXPECT_EQ(Utc(Moment(2021, 13, 1)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 2, 29)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 4, 31)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 1, 1, 24)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 1, 1, 0, 60)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 1, 1, 0, 0, 60)), "refused");
    EXPECT_EQ(Utc(Moment(2021, 1, 1, 0, 0, 0, 1000)), "refused");
    EXPECT_EQ(Utc(Moment(1600, 12, 31)), "refused");
    EXPECT_EQ(Utc(Moment(30828, 1, 1)), "refused");
    EXPECT_EQ(Utc(Moment(2020, 2, 29, 12)), "2020-02-29 03:00:00.000 w6");
}

TEST(PlatformLocalTime, AResultBeforeTheFirstYearIsRefused) {
    Zone zone("UTC-9");
    EXPECT_EQ(Utc(Moment(1601, 1, 1, 5)), "refused");
    EXPECT_EQ(Utc(Moment(1601, 1, 1, 9)), "1601-01-01 00:00:00.000 w1");
}

TEST(PlatformLocalTime, ANullOutIsRefused) {
    EXPECT_FALSE(platform::LocalTimeToUtc(Moment(2021, 1, 1), nullptr));
}

TEST(PlatformLocalTime, TheOutIsUntouchedWhenRefused) {
    Zone zone("UTC-9");
    SYSTEMTIME utc = Moment(1, 2, 3, 4, 5, 6, 7);
    EXPECT_FALSE(platform::LocalTimeToUtc(Moment(2021, 2, 30), &utc));
    EXPECT_EQ(Text(utc), Text(Moment(1, 2, 3, 4, 5, 6, 7)));
}

}  // namespace
