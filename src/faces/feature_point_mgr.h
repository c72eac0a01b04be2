// CSQLiteFaceFeaturePointDBMgr: one family of feature points, persons
// ("rfpw", "rfpg", "rfpi") or pets ("tfpw", "tfpg", "tfpi"), as three sets:
//   working     the point of each face not yet in a group, keyed by face id
//   group       the merged points of feature point groups, one per group
//   individual  the reference points of named persons or pets
// Only the working set opens its shards at start; the others open a shard
// when an id needs it.
#pragma once

#include <memory>

#include "faces/feature_point_factory.h"

class CSQLiteFaceFeaturePointDBMgr {
public:
    CSQLiteFaceFeaturePointDBMgr() = default;
    // Drops the empty working shards, then destroys the sets.
    virtual ~CSQLiteFaceFeaturePointDBMgr();

    // Makes the three sets in root's folders of those names. E_INVALIDARG
    // when any of the four is empty.
    HRESULT Initialize(const CZanTString& root, const CZanTString& workingName, const CZanTString& groupName,
                       const CZanTString& individualName);
    // Working, group, individual in that order; E_FAIL if any failed.
    HRESULT CommitAllShards();
    HRESULT VacuumAllShards();
    // Drops the empty working shards, then closes every shard of the three.
    void CloseAllShards();

    // Null until Initialize.
    CSQLiteFaceFeaturePointDBFactory* Working() { return m_working.get(); }
    CSQLiteFaceFeaturePointDBFactory* Group() { return m_group.get(); }
    CSQLiteFaceFeaturePointDBFactory* Individual() { return m_individual.get(); }

private:
    std::unique_ptr<CSQLiteFaceFeaturePointDBFactory> m_working;
    std::unique_ptr<CSQLiteFaceFeaturePointDBFactory> m_group;
    std::unique_ptr<CSQLiteFaceFeaturePointDBFactory> m_individual;
};
