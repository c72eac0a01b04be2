// Result codes of the library in words, for every message of the zandb4 tool
// that reports one: "E_ACCESSDENIED (0x80070005): access denied".
#pragma once

#include <string>

#include "zandb4/types.h"

namespace zandb4::tool {

// The code's name, its hexadecimal value and a plain reason. A code the
// library does not use shows as its hexadecimal value and "unknown result
// code".
std::string DescribeResult(HRESULT result);

}  // namespace zandb4::tool
