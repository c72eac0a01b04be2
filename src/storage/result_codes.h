// The one place where SQLite outcomes become the library's result codes.
// SQLite's own codes never cross the library boundary: any failure is
// E_FAIL, and S_OK/S_FALSE stand where an operation defines them.
#pragma once

#include <sqlite3.h>

#include "zandb4/types.h"

namespace zandb4 {

// A finalize or exec code: 0 is S_OK, anything else E_FAIL.
inline HRESULT ResultOf(int sqliteCode) { return sqliteCode == SQLITE_OK ? S_OK : E_FAIL; }

// A step that must have finished its statement: 101 (done) is S_OK.
inline HRESULT ResultOfDoneStep(int stepCode) { return stepCode == SQLITE_DONE ? S_OK : E_FAIL; }

}  // namespace zandb4
