// A start of the library for commands that only look into a catalogue (the
// zandb4 tool's info and ls): nothing on disk is made or changed. Internal to
// the library's own tools; the application starts with ZanDB4_Initialize.
#pragma once

#include "zandb4/foundation.h"

namespace zandb4 {

// Like ZanDB4_Initialize on root, except that no folder and no store file is
// made: the catalogue "database/FileBasic.db" must exist, and it opens for
// reading only (a read that meets another process's lock waits up to
// busyMilliseconds). Stop with ZanDB4_Finalize, which then commits nothing.
//
// S_OK with the library up. E_FAIL when the library is up already, or when
// the catalogue file is missing or SQLite cannot open it; the library is then
// left down. Whether its rows can be read (a damaged or locked file) shows in
// the first read, not here.
HRESULT StartReadOnly(const WCHAR* root, int busyMilliseconds);

}  // namespace zandb4
