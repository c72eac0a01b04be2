// CSQLiteThumbDBMgr: one thumbnail family, two folders of shards: kind 1 in
// "<name>_0s", kind 2 in "<name>_1s". It owns both factories. The family is
// given four folder names; the "_0a" and "_1a" ones must not be empty but
// are otherwise unused, and no folder of those names is ever made.
//
// Threading: as its factories; the family itself holds no state beyond them.
#pragma once

#include <memory>
#include <set>

#include "shards/thumb_db_factory.h"

class CSQLiteThumbDBMgr {
public:
    CSQLiteThumbDBMgr() = default;
    CSQLiteThumbDBMgr(const CSQLiteThumbDBMgr&) = delete;
    CSQLiteThumbDBMgr& operator=(const CSQLiteThumbDBMgr&) = delete;

    // E_INVALIDARG if any of the five is empty (the family then has no
    // factory); otherwise makes the factories on root/name0s and
    // root/name1s. Makes no folder.
    HRESULT Initialize(const CZanTString& root, const CZanTString& name0s, const CZanTString& name0a,
                       const CZanTString& name1s, const CZanTString& name1a);
    // VacuumShards on kind 1, then kind 2. E_FAIL if either failed.
    HRESULT VacuumAll();
    // Flag 0 with a non-empty set first deletes the set's thumbnails from
    // both kinds (results ignored); then commits kind 1 and, if that worked,
    // answers the commit of kind 2.
    HRESULT CommitAll(uint32_t flag, const std::set<uint64_t>* ids);
    // The sum of CountOrphans over both kinds.
    uint32_t CountOrphans(const CZanTArray<uint64_t>& ids);
    // Closes the shards of kind 1, then of kind 2.
    void CloseShards();

    // The factory of a kind (1 or 2), or null for another kind or a family
    // that failed to initialise.
    CSQLiteThumbDBFactory* Factory(uint32_t kind) const;

    std::unique_ptr<CSQLiteThumbDBFactory> m_kind1;
    std::unique_ptr<CSQLiteThumbDBFactory> m_kind2;
};
