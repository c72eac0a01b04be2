// The library's own road to the factory: records built from rows and the
// cross-calls between managers go through the same identifier table and the
// same test on initCount as the application's calls.
#pragma once

#include "zandb4/types.h"

namespace zandb4 {

// ZanDB4_CreateInstance for callers inside the library.
HRESULT CreateInstance(const IID& iid, void** out);

}  // namespace zandb4
