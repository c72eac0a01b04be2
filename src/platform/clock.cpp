// GetSystemTime from clock_gettime(CLOCK_REALTIME) and gmtime_r.
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

void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now) {
    std::lock_guard<std::mutex> guard(OverrideMutex());
    Override() = now;
}

}  // namespace zandb4::platform
