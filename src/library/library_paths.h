// The root folder of a catalogue: the one the application names, or the
// folder of the library file itself.
#pragma once

#include "zandb4/foundation.h"

namespace zandb4 {

// A copy of root if it is not null, else the folder of the library file.
CZanTString ResolveRoot(const WCHAR* root);

}  // namespace zandb4
