// ZanDB4_Initialize, ZanDB4_Finalize and ZanDB4_DropDatabase: the counted
// start and stop of the library, the folders under the root, and the order in
// which stores are made and closed.
//
// Under the root:
//   database/      every store but the application log
//   information/   the application log store
// Stores are made in a fixed order and closed in another, with the catalogue
// last because everything before it may still reach it.
#include "catalogue/file_basic_db.h"
#include "faces/feature_point_mgr.h"
#include "frame/factory.h"
#include "gps/gps_log_db.h"
#include "library/database_registry.h"
#include "library/library_paths.h"
#include "logs/access_log_db.h"
#include "logs/app_log_db.h"
#include "logs/memory_data_db.h"
#include "platform/files.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "shards/thumbnail_families.h"
#include "staging/async_db.h"
#include "zandb4/exports.h"
#include "zandb4/foundation.h"
#include "zandb4/identifiers.h"
#include "zandb4/maintenance.h"

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

// Makes a store of that class in the registry member, names its file and
// opens it. The outcome of Open is not looked at.
template <class Store>
void OpenStore(Store*& member, const CZanTString& folder, const WCHAR* fileName) {
    member = new Store();
    member->m_folder = folder;
    member->m_fileName = fileName;
    member->Open();
}

// Makes a thumbnail family in the registry member on the four folder names
// "<name>_0s", "_0a", "_1s", "_1a". Its Initialize result is not looked at:
// a family without factories answers E_INVALIDARG to every kind.
void MakeThumbnailFamily(CSQLiteThumbDBMgr*& member, const CZanTString& databaseFolder, const WCHAR* name) {
    member = new CSQLiteThumbDBMgr();
    CZanTString base(name);
    namespace families = thumbnail_families;
    member->Initialize(databaseFolder, base + families::kKind1Suffix, base + families::kKind1UnusedSuffix,
                       base + families::kKind2Suffix, base + families::kKind2UnusedSuffix);
}

// Closes the shards of both kinds of a family and destroys it.
void CloseThumbnailFamily(CSQLiteThumbDBMgr*& member) {
    if (member == nullptr) return;
    member->CloseShards();
    delete member;
    member = nullptr;
}

// A feature point family with its working, group and individual sets; the
// working set opens the shards already on disk.
void MakeFeaturePointFamily(CSQLiteFaceFeaturePointDBMgr*& member, const CZanTString& databaseFolder,
                            const WCHAR* working, const WCHAR* group, const WCHAR* individual) {
    member = new CSQLiteFaceFeaturePointDBMgr();
    member->Initialize(databaseFolder, working, group, individual);
}

// Drops the empty working shards, closes every shard and destroys the family.
void CloseFeaturePointFamily(CSQLiteFaceFeaturePointDBMgr*& member) {
    if (member == nullptr) return;
    member->CloseAllShards();
    delete member;
    member = nullptr;
}

template <class Store>
void CloseStore(Store*& member) {
    if (member == nullptr) return;
    member->Close();
    delete member;
    member = nullptr;
}

// A store's commit at the end, and whether it ever committed.
template <class Store>
void CommitStore(Store* store, BOOL& anyCommitted) {
    if (store == nullptr) return;
    store->Commit(false);
    anyCommitted = store->HasCommitted();
}

// The backup after a session that committed. It asks the factory for the
// utility, but the count is 0 by the time this runs and the factory refuses
// every request then, so no backup is ever taken here. The step stays, in
// its place, as it always stood.
void BackUpAfterCommittedSession(BOOL anyCommitted) {
    if (!anyCommitted) return;
    IZanDB4DBUtility* utility = nullptr;
    if (zandb4::CreateInstance(IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK || utility == nullptr)
        return;
    utility->BackupDatabases(nullptr, 0);
    utility->Release();
}

HRESULT StartLibrary(const WCHAR* root) {
    CZanTString databaseFolder = SubFolder(zandb4::ResolveRoot(root), u"database");
    // The outcome of making the folder is not looked at: what counts is
    // whether a folder stands there afterwards.
    platform::MakeSureDirectoryPathExists(databaseFolder.ToUtf8());
    uint32_t attributes = platform::GetFileAttributes(databaseFolder.ToUtf8());
    if (attributes == platform::kInvalidFileAttributes || (attributes & platform::kAttributeDirectory) == 0)
        return E_ACCESSDENIED;

    // The stores, in their fixed order. A store that fails to open stays in
    // the registry without a connection; its operations then answer E_FAIL.
    // No shard folder is made here: each is made when its first shard is.
    OpenStore(DatabaseRegistry::fileBasicDB, databaseFolder, u"FileBasic.db");
    OpenStore(DatabaseRegistry::asyncDB, databaseFolder, u"FileBasicAsync.db");
    OpenStore(DatabaseRegistry::gpsLogDB, databaseFolder, u"Location.db");
    OpenStore(DatabaseRegistry::memDB, databaseFolder, u"Memory.db");
    OpenStore(DatabaseRegistry::accessLogDB, databaseFolder, u"UserLog.db");
    MakeThumbnailFamily(DatabaseRegistry::thumbMgr, databaseFolder, u"thumb");
    MakeThumbnailFamily(DatabaseRegistry::psniThumbMgr, databaseFolder, u"psni");
    MakeThumbnailFamily(DatabaseRegistry::ptiThumbMgr, databaseFolder, u"pti");
    MakeThumbnailFamily(DatabaseRegistry::psnfThumbMgr, databaseFolder, u"psnf");
    MakeThumbnailFamily(DatabaseRegistry::ptfThumbMgr, databaseFolder, u"ptf");
    MakeThumbnailFamily(DatabaseRegistry::albmThumbMgr, databaseFolder, u"albm");
    MakeFeaturePointFamily(DatabaseRegistry::rfpMgr, databaseFolder, u"rfpw", u"rfpg", u"rfpi");
    MakeFeaturePointFamily(DatabaseRegistry::tfpMgr, databaseFolder, u"tfpw", u"tfpg", u"tfpi");
    MakeThumbnailFamily(DatabaseRegistry::grfThumbMgr, databaseFolder, u"grf");
    CZanTString metaFolder(databaseFolder);
    metaFolder.AppendPath(thumbnail_families::kMetaDataFolder);
    DatabaseRegistry::metaFactory = new CSQLiteMetaDataDBFactory(metaFolder);

    if (DatabaseRegistry::fileRecordCache == nullptr)
        DatabaseRegistry::fileRecordCache = new FileRecordCache(&DatabaseRegistry::fileRecordCache);

    // The root is worked out a second time for the application log's folder;
    // nothing checks that this folder could be made: if it could not, the
    // store fails to open and stays without a connection.
    CZanTString informationFolder = SubFolder(zandb4::ResolveRoot(root), u"information");
    platform::MakeSureDirectoryPathExists(informationFolder.ToUtf8());
    OpenStore(DatabaseRegistry::appLogDB, informationFolder, u"appcahce.db");
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
    // Each commit's answer replaces the flag: staging, GPS and memory data;
    // the application log closes, then the catalogue commits. The access log
    // is not committed here: closing it commits what it holds.
    BOOL anyCommitted = 0;
    CommitStore(DatabaseRegistry::asyncDB, anyCommitted);
    CommitStore(DatabaseRegistry::gpsLogDB, anyCommitted);
    CommitStore(DatabaseRegistry::memDB, anyCommitted);
    // Closing the application log commits what it holds and, if the
    // application asked for it, deletes its file.
    CloseStore(DatabaseRegistry::appLogDB);
    CommitStore(DatabaseRegistry::fileBasicDB, anyCommitted);
    BackUpAfterCommittedSession(anyCommitted);
    EmptyRecordCache();
    // The staging store is the only one compacted at every stop: it fills
    // and empties with each import.
    if (DatabaseRegistry::asyncDB != nullptr) DatabaseRegistry::asyncDB->Vacuum();
    CloseStore(DatabaseRegistry::asyncDB);
    // GPS, memory data and the access log close, each committing an open
    // transaction. Then the thumbnail families close (each commits what its
    // shards hold), then the metadata shards, then
    // the file thumbnails, and the catalogue last, because everything before
    // it may still reach it.
    CloseStore(DatabaseRegistry::gpsLogDB);
    CloseStore(DatabaseRegistry::memDB);
    CloseStore(DatabaseRegistry::accessLogDB);
    CloseFeaturePointFamily(DatabaseRegistry::rfpMgr);
    CloseFeaturePointFamily(DatabaseRegistry::tfpMgr);
    CloseThumbnailFamily(DatabaseRegistry::albmThumbMgr);
    CloseThumbnailFamily(DatabaseRegistry::psniThumbMgr);
    CloseThumbnailFamily(DatabaseRegistry::ptiThumbMgr);
    CloseThumbnailFamily(DatabaseRegistry::psnfThumbMgr);
    CloseThumbnailFamily(DatabaseRegistry::ptfThumbMgr);
    CloseThumbnailFamily(DatabaseRegistry::grfThumbMgr);
    delete DatabaseRegistry::metaFactory;
    DatabaseRegistry::metaFactory = nullptr;
    CloseThumbnailFamily(DatabaseRegistry::thumbMgr);
    CloseStore(DatabaseRegistry::fileBasicDB);
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
