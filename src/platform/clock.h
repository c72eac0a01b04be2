// The current time in UTC, broken down, with a seam through which tests set
// "now" instead of waiting for real time.
#pragma once

#include <cstdint>
#include <optional>

#include "zandb4/types.h"

namespace zandb4::platform {

SYSTEMTIME GetSystemTime();

// Whole seconds since 1970 of a broken-down UTC time (timegm); the
// milliseconds and the day of the week are not looked at.
int64_t SystemTimeToUnixSeconds(const SYSTEMTIME& time);

// Converts a broken-down local time into UTC by the offset of the local
// zone from UTC at the moment of the call ("now", as GetSystemTime gives
// it), not by the rules at the date converted: a summer date converted in
// winter is shifted by the winter offset. The day of the week of the result
// is set; milliseconds carry over. False, with *utc untouched, when local is
// not a valid moment (year 1601 to 30827, month 1 to 12, a day of that month,
// hour below 24, minute and second below 60, milliseconds below 1000) or the
// result falls outside those years.
bool LocalTimeToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc);

// Test seam: while set, GetSystemTime answers this value. std::nullopt
// restores the real clock. Not exported.
void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now);

}  // namespace zandb4::platform
