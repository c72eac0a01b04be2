// The current time in UTC, broken down, with a seam through which tests set
// "now" instead of waiting for real time.
#pragma once

#include <optional>

#include "zandb4/types.h"

namespace zandb4::platform {

SYSTEMTIME GetSystemTime();

// Test seam: while set, GetSystemTime answers this value. std::nullopt
// restores the real clock. Not exported.
void SetSystemTimeForTesting(std::optional<SYSTEMTIME> now);

}  // namespace zandb4::platform
