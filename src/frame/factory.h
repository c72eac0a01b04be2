// The library's own road to the factory: records built from rows and the
// cross-calls between managers go through the same identifier table and the
// same test on initCount as the application's calls. Declared here, at the
// bottom, so that records and stores can make objects; defined with the
// factory table in the library's assembly (library/factory.cpp), which is
// the only place that knows every class.
#pragma once

#include "zandb4/types.h"

namespace zandb4 {

// ZanDB4_CreateInstance for callers inside the library.
HRESULT CreateInstance(const IID& iid, void** out);

}  // namespace zandb4
