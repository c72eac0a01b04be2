// CZanDB4DBUtility::UpgradeDatabases: every store of the database folder
// brought to the current schema in a fixed order, the catalogue last, with
// the GPS log store's data migration on the way. Nothing here stops on a
// failure or reports one: a store whose upgrade failed still gets the new
// version, and the result is always S_OK.
#include "catalogue/file_basic_db.h"
#include "gps/gps_log_db.h"
#include "gps/gps_log_tables.h"
#include "logs/access_log_db.h"
#include "logs/memory_data_db.h"
#include "maintenance/db_utility.h"
#include "maintenance/gps_date_migration.h"
#include "staging/async_db.h"

namespace {

// The version a store file has; 0 when it cannot be read.
uint32_t StoredVersion(CSQLiteDBBase& store) {
    uint32_t version = 0;
    store.GetVersion(&version);
    return version;
}

// A store behind the current version gets its tables upgraded, then the
// current version and a forced commit, whatever the upgrade answered.
void UpgradeStore(CSQLiteDBBase* store) {
    if (store == nullptr) return;
    if (StoredVersion(*store) >= CSQLiteDBBase::kCurrentVersion) return;
    store->UpgradeTables();
    store->SetVersion(CSQLiteDBBase::kCurrentVersion);
    store->Commit(true);
}

// The GPS log store. A file with any of the later columns missing is first
// taken back to the old layout (version 1000), and total becomes 200. A
// file below 1100 gets the columns; one at exactly 1000 has its dates
// migrated too. A file from 1100 to 1200 is left as it stands.
void UpgradeGpsLogStore(CSQLiteGPSLogDB& store, ZanDB4UpgradeProgressCallback callback, void* context,
                        uint32_t& total) {
    namespace tables = gps_log_tables;
    uint32_t version = StoredVersion(store);
    if (version < CSQLiteDBBase::kCurrentVersion) {
        if (store.RevertPartialUpgrade()) total = 200;
        // The rebuild sets the version to 1000.
        version = StoredVersion(store);
    }
    if (version >= tables::kVersionWithUtcColumns) return;
    HRESULT upgraded = store.UpgradeTables();
    if (version == tables::kVersionOldLayout)
        gps_date_migration::Run(store, upgraded == S_OK, callback, total, context);
    store.SetVersion(CSQLiteDBBase::kCurrentVersion);
    store.Commit(true);
}

}  // namespace

HRESULT CZanDB4DBUtility::UpgradeDatabases(ZanDB4UpgradeProgressCallback callback, void* context) {
    // The catalogue's version is read first; it decides nothing here.
    if (m_stores.fileBasicDB != nullptr) StoredVersion(*m_stores.fileBasicDB);
    UpgradeStore(m_stores.asyncDB);
    // The memory data store is read and never upgraded: its version stays
    // what it was stored with, for good.
    if (m_stores.memDB != nullptr) StoredVersion(*m_stores.memDB);
    UpgradeStore(m_stores.accessLogDB);
    uint32_t total = 100;
    if (m_stores.gpsLogDB != nullptr) UpgradeGpsLogStore(*m_stores.gpsLogDB, callback, context, total);
    // The catalogue goes last.
    UpgradeStore(m_stores.fileBasicDB);
    if (callback != nullptr) callback(total, total, context);
    return S_OK;
}
