// GetSystemTime from clock_gettime(CLOCK_REALTIME) and gmtime_r; timegm
// back to seconds; the local zone's offset from localtime_r against now.
#include "platform/clock.h"

#include <time.h>

#include <cstdint>
#include <mutex>

namespace zandb4::platform {
namespace {

std::mutex& OverrideMutex() {
    static std::mutex mutex;
    return mutex;
}

std::optional<SYSTEMTIME>& Override() {
    static std::optional<SYSTEMTIME> now;
    return now;
}

}  // namespace

SYSTEMTIME GetSystemTime() {
    {
        std::lock_guard<std::mutex> guard(OverrideMutex());
        if (Override()) return *Override();
    }
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    struct tm parts {};
    ::gmtime_r(&now.tv_sec, &parts);
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(parts.tm_year + 1900);
    time.wMonth = static_cast<uint16_t>(parts.tm_mon + 1);
    time.wDayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time.wDay = static_cast<uint16_t>(parts.tm_mday);
    time.wHour = static_cast<uint16_t>(parts.tm_hour);
    time.wMinute = static_cast<uint16_t>(parts.tm_min);
    time.wSecond = static_cast<uint16_t>(parts.tm_sec);
    time.wMilliseconds = static_cast<uint16_t>(now.tv_nsec / 1000000);
    return time;
}

int64_t SystemTimeToUnixSeconds(const SYSTEMTIME& time) {
    struct tm parts {};
    parts.tm_year = static_cast<int>(time.wYear) - 1900;
    parts.tm_mon = static_cast<int>(time.wMonth) - 1;
    parts.tm_mday = time.wDay;
    parts.tm_hour = time.wHour;
    parts.tm_min = time.wMinute;
    parts.tm_sec = time.wSecond;
    return static_cast<int64_t>(::timegm(&parts));
}

namespace {

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The range of years a moment may have, as the file time conversions of the
// platform the stored dates came from accept them.
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

bool IsValidMoment(const SYSTEMTIME& time) {
    return time.wYear >= kFirstYear && time.wYear <= kLastYear && time.wMonth >= 1 && time.wMonth <= 12 &&
           time.wDay >= 1 && time.wDay <= DaysInMonth(time.wYear, time.wMonth) && time.wHour < 24 &&
           time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

SYSTEMTIME FromParts(const struct tm& parts) {
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(parts.tm_year + 1900);
    time.wMonth = static_cast<uint16_t>(parts.tm_mon + 1);
    time.wDayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time.wDay = static_cast<uint16_t>(parts.tm_mday);
    time.wHour = static_cast<uint16_t>(parts.tm_hour);
    time.wMinute = static_cast<uint16_t>(parts.tm_min);
    time.wSecond = static_cast<uint16_t>(parts.tm_sec);
    return time;
}

// How far local time runs ahead of UTC at the moment now, in seconds.
int64_t LocalOffsetAt(const SYSTEMTIME& now) {
    // The zone may have been changed since the last look (TZ in the
    // environment); tzset reads it again.
    ::tzset();
    time_t moment = static_cast<time_t>(SystemTimeToUnixSeconds(now));
    struct tm local {};
    if (::localtime_r(&moment, &local) == nullptr) return 0;
    return SystemTimeToUnixSeconds(FromParts(local)) - static_cast<int64_t>(moment);
}

}  // namespace

bool LocalTimeToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc) {
    if (utc == nullptr || !IsValidMoment(local)) return false;
    time_t seconds = static_cast<time_t>(SystemTimeToUnixSeconds(local) - LocalOffsetAt(GetSystemTime()));
    struct tm parts {};
    if (::gmtime_r(&seconds, &parts) == nullptr) return false;
    SYSTEMTIME result = FromParts(parts);
    if (result.wYear < kFirstYear || result.wYear > kLastYear || parts.tm_year + 1900 > kLastYear) return false;
    result.wMilliseconds = local.wMilliseconds;
    *utc = result;
    return true;
}

void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now) {
    std::lock_guard<std::mutex> guard(OverrideMutex());
    Override() = now;
}

}  // namespace zandb4::platform
