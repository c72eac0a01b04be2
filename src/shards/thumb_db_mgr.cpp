// CSQLiteThumbDBMgr: a thumbnail family, its two factories by kind, and the
// walks over both.
#include "shards/thumb_db_mgr.h"

HRESULT CSQLiteThumbDBMgr::Initialize(const CZanTString& root, const CZanTString& name0s, const CZanTString& name0a,
                                      const CZanTString& name1s, const CZanTString& name1a) {
    if (root.IsEmpty() || name0s.IsEmpty() || name0a.IsEmpty() || name1s.IsEmpty() || name1a.IsEmpty())
        return E_INVALIDARG;
    // The "_0a" and "_1a" names are joined like the others and then dropped:
    // the family keeps the four names of its interface, but only two folders.
    CZanTString folder0s(root), folder0a(root), folder1s(root), folder1a(root);
    folder0s.AppendPath(name0s);
    folder0a.AppendPath(name0a);
    folder1s.AppendPath(name1s);
    folder1a.AppendPath(name1a);
    m_kind1 = std::make_unique<CSQLiteThumbDBFactory>(folder0s);
    m_kind2 = std::make_unique<CSQLiteThumbDBFactory>(folder1s);
    return S_OK;
}

CSQLiteThumbDBFactory* CSQLiteThumbDBMgr::Factory(uint32_t kind) const {
    if (kind == 1) return m_kind1.get();
    if (kind == 2) return m_kind2.get();
    return nullptr;
}

HRESULT CSQLiteThumbDBMgr::VacuumAll() {
    if (!m_kind1 || !m_kind2) return E_FAIL;
    HRESULT kind1 = m_kind1->VacuumShards();
    HRESULT kind2 = m_kind2->VacuumShards();
    return kind1 != S_OK || kind2 != S_OK ? E_FAIL : S_OK;
}

HRESULT CSQLiteThumbDBMgr::CommitAll(uint32_t flag, const std::set<uint64_t>* ids) {
    if (!m_kind1 || !m_kind2) return E_FAIL;
    // Flag 0 comes with the identifiers whose files could not be moved out
    // of staging: their thumbnails go before the commit.
    if (flag == 0 && ids != nullptr && !ids->empty()) {
        m_kind1->DeleteThumbnails(ids);
        m_kind2->DeleteThumbnails(ids);
    }
    HRESULT kind1 = m_kind1->CommitShards();
    if (kind1 != S_OK) return kind1;
    return m_kind2->CommitShards();
}

uint32_t CSQLiteThumbDBMgr::CountOrphans(const CZanTArray<uint64_t>& ids) {
    uint32_t kind1 = m_kind1 ? m_kind1->CountOrphans(ids) : 0;
    uint32_t kind2 = m_kind2 ? m_kind2->CountOrphans(ids) : 0;
    return kind1 + kind2;
}

void CSQLiteThumbDBMgr::CloseShards() {
    if (m_kind1) m_kind1->CloseShards();
    if (m_kind2) m_kind2->CloseShards();
}
