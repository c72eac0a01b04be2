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

// Test seam: while set, GetSystemTime answers this value. std::nullopt
// restores the real clock. Not exported.
void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now);

}  // namespace zandb4::platform
