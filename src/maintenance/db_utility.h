// CZanDB4DBUtility: the one object that works on all stores of the database
// folder at once. It reads the catalogue's version, upgrades every store of
// an older installation (migrating the dates of the GPS logs on the way),
// compacts the stores, copies the database folder aside as a backup, and
// counts dead links across the stores.
//
// It owns nothing and keeps no state between calls: the store pointers are
// borrowed from the library's registry when the object is made and must not
// outlive it. The application log store and the camera store are outside its
// reach.
//
// Threading: CompactDatabases and BackupDatabases hold the catalogue's lock
// (and no other store's) for their whole run. UpgradeDatabases and
// CheckDeadLinks take no lock of their own; the application runs no other
// database work beside them.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/maintenance.h"

class CSQLiteAccessLogDB;
class CSQLiteAsyncDB;
class CSQLiteFaceFeaturePointDBMgr;
class CSQLiteFileBasicDB;
class CSQLiteGPSLogDB;
class CSQLiteMemDB;
class CSQLiteMetaDataDBFactory;
class CSQLiteThumbDBMgr;

// The stores the utility borrows, in the order it holds them. Any may be
// null (a library that stopped half way through its start); what needs a
// missing store is then skipped or answers as the operation says.
struct DBUtilityStores {
    CSQLiteFileBasicDB* fileBasicDB = nullptr;
    CSQLiteMetaDataDBFactory* metaFactory = nullptr;
    CSQLiteGPSLogDB* gpsLogDB = nullptr;
    CSQLiteThumbDBMgr* thumbMgr = nullptr;
    CSQLiteThumbDBMgr* psniThumbMgr = nullptr;
    CSQLiteThumbDBMgr* ptiThumbMgr = nullptr;
    CSQLiteThumbDBMgr* psnfThumbMgr = nullptr;
    CSQLiteThumbDBMgr* ptfThumbMgr = nullptr;
    CSQLiteThumbDBMgr* albmThumbMgr = nullptr;
    CSQLiteThumbDBMgr* grfThumbMgr = nullptr;
    CSQLiteAsyncDB* asyncDB = nullptr;
    CSQLiteFaceFeaturePointDBMgr* rfpMgr = nullptr;
    CSQLiteFaceFeaturePointDBMgr* tfpMgr = nullptr;
    CSQLiteMemDB* memDB = nullptr;
    CSQLiteAccessLogDB* accessLogDB = nullptr;
};

class CZanDB4DBUtility : public zandb4::ComObject<IZanDB4DBUtility, IID_IZanDB4DBUtility> {
public:
    // The name of the default backup folder, beside the database folder; the
    // generation before it has "2" appended.
    static constexpr WCHAR kBackupFolderName[] = u"database-backup";
    static constexpr WCHAR kOldGenerationSuffix[] = u"2";

    explicit CZanDB4DBUtility(const DBUtilityStores& stores) : m_stores(stores) {}

    // Both outs are cleared first (those that are not null). E_FAIL without a
    // catalogue or when both are null; otherwise S_OK, with the stored
    // version 0 for a catalogue that has no connection.
    HRESULT GetDBVersion(uint32_t* outStoredVersion, uint32_t* outCurrentVersion) override;
    // Staging, memory data (read, never changed), access log, GPS log, and
    // the catalogue last: each that is behind gets its tables upgraded, the
    // current version and a forced commit, whatever the upgrade answered.
    // Progress goes to callback (may be null) with context: while GPS points
    // are migrated up to 50, then 100, then a last call with total and total,
    // where total is 200 when the GPS store had to be taken back to its old
    // layout first, else 100. Always S_OK.
    HRESULT UpgradeDatabases(ZanDB4UpgradeProgressCallback callback, void* context) override;
    // Vacuums the catalogue, and with all set the file thumbnails, the open
    // large-metadata shards, the other six thumbnail families and both
    // feature point families, in that order, stopping at the first failure,
    // which it answers. E_FAIL without a catalogue.
    HRESULT CompactDatabases(BOOL all) override;
    // See the interface. E_FAIL without a catalogue. A copy that fails ends
    // the run with the platform's non-zero code of that copy, which is a
    // positive number (a system error number), not a failure code.
    HRESULT BackupDatabases(const WCHAR* folder, BOOL includeFolders) override;
    // See the interface. Shard folders are committed and closed on the way,
    // as the shard counts need them so.
    HRESULT CheckDeadLinks(IZanDB4DeadLinkInfo** outInfo, BOOL checkFiles) override;
    // Stands in the interface and does nothing: E_NOTIMPL.
    HRESULT RepairDeadLinks(IZanDB4DeadLinkInfo* info) override;

    const DBUtilityStores& Stores() const { return m_stores; }

private:
    DBUtilityStores m_stores;
};
