// The five functions the library exports.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/types.h"

extern "C" {

// Starts the library on root (null: the folder of the library file). Counted:
// only the call that finds the count at 0 does anything. S_OK, E_ACCESSDENIED
// when the "database" folder cannot be made, E_FAIL on an exception.
ZANDB4_API HRESULT ZanDB4_Initialize(const WCHAR* root);

// Undoes one ZanDB4_Initialize; the call that brings the count to 0 commits
// and closes every store. Always S_OK. Release every object first.
ZANDB4_API HRESULT ZanDB4_Finalize();

// Removes the "database" folder under root (null: the folder of the library
// file) while the library is down. E_FAIL while it is up, E_INVALIDARG for an
// empty root, else S_OK whatever the deletion did.
ZANDB4_API HRESULT ZanDB4_DropDatabase(const WCHAR* root);

// Makes a manager or blank record by interface identifier, with one
// reference for the caller. E_FAIL while the library is down (*out
// untouched), E_NOINTERFACE with a null *out for an identifier it does not
// make, E_OUTOFMEMORY with a null *out when allocation fails.
ZANDB4_API HRESULT ZanDB4_CreateInstance(const IID* iid, void** out);

// Makes a closed camera-list manager; works whether the library is up or
// not. E_INVALIDARG for a null out, E_FAIL with a null *out when allocation
// fails.
ZANDB4_API HRESULT ZanCamDB_CreateMgrInstance(IZanDB4TethraImportFileMgr** out);

}  // extern "C"
