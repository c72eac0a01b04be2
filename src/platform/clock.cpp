// GetSystemTime from clock_gettime(CLOCK_REALTIME) and gmtime_r; timegm
// back to seconds.
#include "platform/clock.h"

#include <time.h>

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

void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now) {
    std::lock_guard<std::mutex> guard(OverrideMutex());
    Override() = now;
}

}  // namespace zandb4::platform
