// CSQLiteFaceFeaturePointDBMgr: the three sets of one family.
#include "faces/feature_point_mgr.h"

CSQLiteFaceFeaturePointDBMgr::~CSQLiteFaceFeaturePointDBMgr() {
    if (m_working) m_working->DropEmptyShards();
    // The order the sets have always gone in.
    m_individual.reset();
    m_working.reset();
    m_group.reset();
}

HRESULT CSQLiteFaceFeaturePointDBMgr::Initialize(const CZanTString& root, const CZanTString& workingName,
                                                 const CZanTString& groupName, const CZanTString& individualName) {
    if (root.IsEmpty() || workingName.IsEmpty() || groupName.IsEmpty() || individualName.IsEmpty())
        return E_INVALIDARG;
    CZanTString working(root);
    working.AppendPath(workingName);
    CZanTString group(root);
    group.AppendPath(groupName);
    CZanTString individual(root);
    individual.AppendPath(individualName);
    m_working = std::make_unique<CSQLiteFaceFeaturePointDBFactory>(working, true, true);
    m_group = std::make_unique<CSQLiteFaceFeaturePointDBFactory>(group, false, false);
    m_individual = std::make_unique<CSQLiteFaceFeaturePointDBFactory>(individual, false, false);
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDBMgr::CommitAllShards() {
    HRESULT result = S_OK;
    for (CSQLiteFaceFeaturePointDBFactory* set : {m_working.get(), m_group.get(), m_individual.get()})
        if (set != nullptr && set->CommitShards() != S_OK) result = E_FAIL;
    return result;
}

HRESULT CSQLiteFaceFeaturePointDBMgr::VacuumAllShards() {
    HRESULT result = S_OK;
    for (CSQLiteFaceFeaturePointDBFactory* set : {m_working.get(), m_group.get(), m_individual.get()})
        if (set != nullptr && set->VacuumShards() != S_OK) result = E_FAIL;
    return result;
}

void CSQLiteFaceFeaturePointDBMgr::CloseAllShards() {
    if (m_working) m_working->DropEmptyShards();
    for (CSQLiteFaceFeaturePointDBFactory* set : {m_working.get(), m_group.get(), m_individual.get()})
        if (set != nullptr) set->CloseShards();
}
