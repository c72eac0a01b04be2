// platform/clock.h: the current time in UTC, broken down, and the seam
// through which a test sets "now" instead of waiting for real time.
#include <gtest/gtest.h>

#include <time.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/clock.h"

namespace {

namespace platform = zandb4::platform;

// Puts the real clock back when a test ends, whatever it set.
class ClockSeamGuard {
public:
    ClockSeamGuard() = default;
    ~ClockSeamGuard() { platform::SetSystemTimeForTesting(std::nullopt); }
    ClockSeamGuard(const ClockSeamGuard&) = delete;
    ClockSeamGuard& operator=(const ClockSeamGuard&) = delete;
};

SYSTEMTIME Moment(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute, uint16_t second,
                  uint16_t milliseconds) {
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

// Seconds since 1970 of a broken-down UTC time, to compare moments.
time_t Seconds(const SYSTEMTIME& time) {
    struct tm parts {};
    parts.tm_year = time.wYear - 1900;
    parts.tm_mon = time.wMonth - 1;
    parts.tm_mday = time.wDay;
    parts.tm_hour = time.wHour;
    parts.tm_min = time.wMinute;
    parts.tm_sec = time.wSecond;
    return ::timegm(&parts);
}

TEST(PlatformClock, SeamMakesGetSystemTimeAnswerTheSetMoment) {
    ClockSeamGuard guard;
    SYSTEMTIME set = Moment(2021, 3, 4, 5, 6, 7, 890);
    set.wDayOfWeek = 4;

    platform::SetSystemTimeForTesting(set);
    const SYSTEMTIME now = platform::GetSystemTime();

    EXPECT_EQ(now.wYear, 2021);
    EXPECT_EQ(now.wMonth, 3);
    EXPECT_EQ(now.wDayOfWeek, 4);
    EXPECT_EQ(now.wDay, 4);
    EXPECT_EQ(now.wHour, 5);
    EXPECT_EQ(now.wMinute, 6);
    EXPECT_EQ(now.wSecond, 7);
    EXPECT_EQ(now.wMilliseconds, 890);
}

TEST(PlatformClock, SetMomentStaysUntilChanged) {
    ClockSeamGuard guard;
    platform::SetSystemTimeForTesting(Moment(2000, 1, 1, 0, 0, 0, 0));

    const SYSTEMTIME first = platform::GetSystemTime();
    const SYSTEMTIME second = platform::GetSystemTime();
    platform::SetSystemTimeForTesting(Moment(2001, 2, 3, 4, 5, 6, 7));
    const SYSTEMTIME third = platform::GetSystemTime();

    EXPECT_EQ(first.wYear, 2000);
    EXPECT_EQ(second.wYear, 2000);
    EXPECT_EQ(third.wYear, 2001);
    EXPECT_EQ(third.wMilliseconds, 7);
}

TEST(PlatformClock, ClearingTheSeamRestoresTheRealClock) {
    ClockSeamGuard guard;
    platform::SetSystemTimeForTesting(Moment(1999, 12, 31, 23, 59, 59, 0));

    platform::SetSystemTimeForTesting(std::nullopt);
    const time_t before = ::time(nullptr);
    const SYSTEMTIME now = platform::GetSystemTime();
    const time_t after = ::time(nullptr);

    EXPECT_GE(Seconds(now), before);
    EXPECT_LE(Seconds(now), after);
}

TEST(PlatformClock, RealClockAnswersUtcBrokenDown) {
    const time_t before = ::time(nullptr);

    const SYSTEMTIME now = platform::GetSystemTime();
    const time_t after = ::time(nullptr);

    // The broken-down fields read as UTC lie between the two readings, so
    // they are not local time (unless the zone is UTC itself).
    EXPECT_GE(Seconds(now), before);
    EXPECT_LE(Seconds(now), after);
    EXPECT_GE(now.wMonth, 1);
    EXPECT_LE(now.wMonth, 12);
    EXPECT_GE(now.wDay, 1);
    EXPECT_LE(now.wDay, 31);
    EXPECT_LE(now.wHour, 23);
    EXPECT_LE(now.wMinute, 59);
    EXPECT_LE(now.wSecond, 60);
    EXPECT_LE(now.wMilliseconds, 999);
}

TEST(PlatformClock, RealClockGivesTheDayOfTheWeek) {
    const SYSTEMTIME now = platform::GetSystemTime();

    struct tm parts {};
    parts.tm_year = now.wYear - 1900;
    parts.tm_mon = now.wMonth - 1;
    parts.tm_mday = now.wDay;
    const time_t midnight = ::timegm(&parts);
    struct tm check {};
    ::gmtime_r(&midnight, &check);

    EXPECT_EQ(now.wDayOfWeek, check.tm_wday);
}

TEST(PlatformClock, RealClockIgnoresTheTimeZone) {
    const char* previous = ::getenv("TZ");
    const std::string saved = previous != nullptr ? previous : "";
    ::setenv("TZ", "ZAN-14", 1);  // fourteen hours ahead of UTC: local and UTC differ in the day
    ::tzset();

    const time_t before = ::time(nullptr);
    const SYSTEMTIME now = platform::GetSystemTime();
    const time_t after = ::time(nullptr);

    if (previous != nullptr)
        ::setenv("TZ", saved.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
    EXPECT_GE(Seconds(now), before);
    EXPECT_LE(Seconds(now), after);
}

TEST(PlatformClock, SystemTimeToUnixSecondsCountsFrom1970InUtc) {
    EXPECT_EQ(platform::SystemTimeToUnixSeconds(Moment(1970, 1, 1, 0, 0, 0, 0)), 0);
    // 2024-02-29 12:34:56 UTC: the leap day counts, and milliseconds are
    // dropped.
    EXPECT_EQ(platform::SystemTimeToUnixSeconds(Moment(2024, 2, 29, 12, 34, 56, 999)), 1709210096);
    EXPECT_EQ(platform::SystemTimeToUnixSeconds(Moment(2024, 3, 1, 0, 0, 0, 0)) -
                  platform::SystemTimeToUnixSeconds(Moment(2024, 2, 28, 0, 0, 0, 0)),
              2 * 86400);
}

TEST(PlatformClock, SystemTimeToUnixSecondsIgnoresTheTimeZone) {
    const char* previous = ::getenv("TZ");
    const std::string saved = previous != nullptr ? previous : "";
    ::setenv("TZ", "ZAN-14", 1);
    ::tzset();
    const int64_t seconds = platform::SystemTimeToUnixSeconds(Moment(2000, 1, 1, 0, 0, 0, 0));
    if (previous != nullptr)
        ::setenv("TZ", saved.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
    EXPECT_EQ(seconds, 946684800);
}

}  // namespace
