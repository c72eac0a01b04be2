// CZanDB4DBUtility: the catalogue's version, compaction, and the repair that
// stands in the interface without doing anything.
#include "maintenance/db_utility.h"

#include "catalogue/file_basic_db.h"
#include "faces/feature_point_mgr.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"

HRESULT CZanDB4DBUtility::GetDBVersion(uint32_t* outStoredVersion, uint32_t* outCurrentVersion) {
    if (outStoredVersion != nullptr) *outStoredVersion = 0;
    if (outCurrentVersion != nullptr) *outCurrentVersion = 0;
    CSQLiteFileBasicDB* catalogue = m_stores.fileBasicDB;
    if (catalogue == nullptr || (outStoredVersion == nullptr && outCurrentVersion == nullptr)) return E_FAIL;
    // Without a connection the stored version stays 0; the answer is S_OK
    // all the same.
    if (outStoredVersion != nullptr) catalogue->GetVersion(outStoredVersion);
    if (outCurrentVersion != nullptr) catalogue->GetCurrentVersion(outCurrentVersion);
    return S_OK;
}

HRESULT CZanDB4DBUtility::CompactDatabases(BOOL all) {
    CSQLiteFileBasicDB* catalogue = m_stores.fileBasicDB;
    if (catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard guard(catalogue->m_lock);
    HRESULT result = catalogue->Vacuum();
    if (!all || result != S_OK) return result;

    if (m_stores.thumbMgr != nullptr && (result = m_stores.thumbMgr->VacuumAll()) != S_OK) return result;
    // Only the shards open now; every one is tried.
    if (m_stores.metaFactory != nullptr && (result = m_stores.metaFactory->VacuumOpenShards()) != S_OK) return result;
    for (CSQLiteThumbDBMgr* family : {m_stores.psniThumbMgr, m_stores.ptiThumbMgr, m_stores.psnfThumbMgr,
                                      m_stores.ptfThumbMgr, m_stores.albmThumbMgr, m_stores.grfThumbMgr}) {
        if (family != nullptr && (result = family->VacuumAll()) != S_OK) return result;
    }
    for (CSQLiteFaceFeaturePointDBMgr* family : {m_stores.rfpMgr, m_stores.tfpMgr}) {
        if (family != nullptr && (result = family->VacuumAllShards()) != S_OK) return result;
    }
    return S_OK;
}

HRESULT CZanDB4DBUtility::RepairDeadLinks(IZanDB4DeadLinkInfo* info) {
    return E_NOTIMPL;
}
