// ZanDB4_Initialize, ZanDB4_Finalize and ZanDB4_DropDatabase: the counted
// start and stop of the library, the folders under the root, and the order in
// which stores are made and closed.
//
// Under the root:
//   database/      every store but the application log
//   information/   the application log store
// Stores are made in a fixed order and closed in another, with the catalogue
// last because everything before it may still reach it.
#include "frame/database_registry.h"
#include "frame/library_paths.h"
#include "platform/files.h"
#include "zandb4/exports.h"
#include "zandb4/foundation.h"

using zandb4::FileRecordCache;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;
namespace platform = zandb4::platform;

namespace {

// The folder joined with name and given a trailing separator, as the folders
// of the layout are before they are made.
CZanTString SubFolder(const CZanTString& root, const WCHAR* name) {
    CZanTString folder(root);
    folder.AppendPath(name);
    folder += u'/';
    return folder;
}

HRESULT StartLibrary(const WCHAR* root) {
    CZanTString databaseFolder = SubFolder(zandb4::ResolveRoot(root), u"database");
    // The outcome of making the folder is not looked at: what counts is
    // whether a folder stands there afterwards.
    platform::MakeSureDirectoryPathExists(databaseFolder.ToUtf8());
    uint32_t attributes = platform::GetFileAttributes(databaseFolder.ToUtf8());
    if (attributes == platform::kInvalidFileAttributes || (attributes & platform::kAttributeDirectory) == 0)
        return E_ACCESSDENIED;

    // The single-file stores and the shard families are made here, in their
    // fixed order, as their classes join the library. A store that fails to
    // open stays in the registry without a connection.

    if (DatabaseRegistry::fileRecordCache == nullptr)
        DatabaseRegistry::fileRecordCache = new FileRecordCache(&DatabaseRegistry::fileRecordCache);

    // The root is worked out a second time for the application log's folder;
    // nothing checks that this folder could be made.
    CZanTString informationFolder = SubFolder(zandb4::ResolveRoot(root), u"information");
    platform::MakeSureDirectoryPathExists(informationFolder.ToUtf8());
    return S_OK;
}

void EmptyRecordCache() {
    FileRecordCache* cache = DatabaseRegistry::fileRecordCache;
    if (cache == nullptr) return;
    // One reference for the emptying, then the registry's own: the cache
    // goes, and clears the registry's pointer, when the last user in flight
    // lets go of it.
    cache->AddRef();
    cache->Clear();
    cache->Release();
    cache->Release();
}

}  // namespace

extern "C" HRESULT ZanDB4_Initialize(const WCHAR* root) {
    int32_t previous = DatabaseRegistry::initCount;
    DatabaseRegistry::initCount = previous + 1;
    if (previous != 0) return S_OK;
    try {
        return StartLibrary(root);
    } catch (...) {
        // Stores made so far stay in the registry and the count stays raised;
        // ZanDB4_Finalize clears them.
        return E_FAIL;
    }
}

extern "C" HRESULT ZanDB4_Finalize() {
    DatabaseRegistry::initCount = DatabaseRegistry::initCount - 1;
    if (DatabaseRegistry::initCount != 0) return S_OK;
    // The stores commit here (staging, GPS, memory data, then the catalogue),
    // in that order, as their classes join the library.
    EmptyRecordCache();
    // The stores close here: staging (the only one vacuumed), GPS, memory
    // data, access log, the feature point and thumbnail families, the
    // metadata shards, and the catalogue last.
    return S_OK;
}

extern "C" HRESULT ZanDB4_DropDatabase(const WCHAR* root) {
    if (DatabaseRegistry::initCount > 0) return E_FAIL;
    CZanTString databasePath = zandb4::ResolveRoot(root);
    if (databasePath.IsEmpty()) return E_INVALIDARG;
    databasePath.AppendPath(u"database");
    // A missing path answers all ones, whose directory bit is set, so it
    // takes the folder branch and comes to nothing. The outcome of the
    // deletion is dropped on purpose; "information" is never touched.
    if ((platform::GetFileAttributes(databasePath.ToUtf8()) & platform::kAttributeDirectory) != 0)
        databasePath.DeleteFolder();
    else
        platform::DeleteFile(databasePath.ToUtf8());
    return S_OK;
}
