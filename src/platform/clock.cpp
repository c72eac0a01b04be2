// GetSystemTime from clock_gettime(CLOCK_REALTIME) and gmtime_r; the local
// zone's offset from localtime_r against the same moment.
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

namespace {

// Days from 1970-01-01 to the civil date, proleptic Gregorian calendar.
int64_t DaysFromCivil(int64_t year, int64_t month, int64_t day) {
    year -= month <= 2 ? 1 : 0;
    int64_t era = (year >= 0 ? year : year - 399) / 400;
    int64_t yearOfEra = year - era * 400;
    int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// The civil date of a day count from 1970-01-01.
void CivilFromDays(int64_t days, int64_t& year, int64_t& month, int64_t& day) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    int64_t dayOfEra = days - era * 146097;
    int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
    month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
}

bool IsLeapYear(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int64_t DaysInMonth(int64_t year, int64_t month) {
    static const int64_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The range of years a moment may have, as the file time conversions of the
// platform the stored dates came from accept them.
constexpr int64_t kFirstYear = 1601;
constexpr int64_t kLastYear = 30827;

bool IsValidMoment(const SYSTEMTIME& time) {
    return time.wYear >= kFirstYear && time.wYear <= kLastYear && time.wMonth >= 1 && time.wMonth <= 12 &&
           time.wDay >= 1 && time.wDay <= DaysInMonth(time.wYear, time.wMonth) && time.wHour < 24 &&
           time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

// Seconds from 1970-01-01 00:00:00 to the broken-down moment, taken as UTC.
int64_t SecondsOf(const SYSTEMTIME& time) {
    return DaysFromCivil(time.wYear, time.wMonth, time.wDay) * 86400 + time.wHour * 3600 + time.wMinute * 60 +
           time.wSecond;
}

// How far local time runs ahead of UTC at the moment now, in seconds.
int64_t LocalOffsetAt(const SYSTEMTIME& now) {
    // The zone may have been changed since the last look (TZ in the
    // environment); tzset reads it again.
    ::tzset();
    time_t moment = static_cast<time_t>(SecondsOf(now));
    struct tm local {};
    if (::localtime_r(&moment, &local) == nullptr) return 0;
    SYSTEMTIME localNow{};
    localNow.wYear = static_cast<uint16_t>(local.tm_year + 1900);
    localNow.wMonth = static_cast<uint16_t>(local.tm_mon + 1);
    localNow.wDay = static_cast<uint16_t>(local.tm_mday);
    localNow.wHour = static_cast<uint16_t>(local.tm_hour);
    localNow.wMinute = static_cast<uint16_t>(local.tm_min);
    localNow.wSecond = static_cast<uint16_t>(local.tm_sec);
    return SecondsOf(localNow) - static_cast<int64_t>(moment);
}

}  // namespace

bool LocalTimeToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc) {
    if (utc == nullptr || !IsValidMoment(local)) return false;
    int64_t seconds = SecondsOf(local) - LocalOffsetAt(GetSystemTime());
    int64_t days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400;
    int64_t secondOfDay = seconds - days * 86400;
    int64_t year = 0, month = 0, day = 0;
    CivilFromDays(days, year, month, day);
    if (year < kFirstYear || year > kLastYear) return false;
    SYSTEMTIME result{};
    result.wYear = static_cast<uint16_t>(year);
    result.wMonth = static_cast<uint16_t>(month);
    // 1970-01-01 was a Thursday (4, with Sunday 0).
    result.wDayOfWeek = static_cast<uint16_t>(((days % 7) + 7 + 4) % 7);
    result.wDay = static_cast<uint16_t>(day);
    result.wHour = static_cast<uint16_t>(secondOfDay / 3600);
    result.wMinute = static_cast<uint16_t>(secondOfDay / 60 % 60);
    result.wSecond = static_cast<uint16_t>(secondOfDay % 60);
    result.wMilliseconds = local.wMilliseconds;
    *utc = result;
    return true;
}

void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now) {
    std::lock_guard<std::mutex> guard(OverrideMutex());
    Override() = now;
}

}  // namespace zandb4::platform
