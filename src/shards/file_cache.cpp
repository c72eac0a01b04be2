// CZanDB4FileCache: accessors of a thumbnail in memory.
#include "shards/file_cache.h"

#include <cstdlib>
#include <cstring>

HRESULT CZanDB4FileCache::SetData(const void* data, uint32_t size) {
    // The held pointer again changes nothing, whatever size comes with it.
    if (data == m_data.Data()) return S_OK;
    if (data == nullptr || size == 0) {
        m_data.Reset(nullptr, 0);
        return S_OK;
    }
    void* copy = std::malloc(size);
    if (copy == nullptr) {
        // The old bytes are gone either way.
        m_data.Reset(nullptr, 0);
        return E_OUTOFMEMORY;
    }
    std::memcpy(copy, data, size);
    m_data.Reset(copy, size);
    return S_OK;
}

const void* CZanDB4FileCache::GetData() { return m_data.Data(); }

uint32_t CZanDB4FileCache::GetSize() { return m_data.Size(); }

HRESULT CZanDB4FileCache::GetUpdateDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    *outDate = m_updateDate.m_time;
    return S_OK;
}

HRESULT CZanDB4FileCache::SetSourceID(uint64_t sourceId) {
    m_sourceId = sourceId;
    return S_OK;
}

HRESULT CZanDB4FileCache::GetSourceID(uint64_t* outSourceId) {
    if (outSourceId == nullptr) return E_INVALIDARG;
    *outSourceId = m_sourceId;
    return S_OK;
}

void CZanDB4FileCache::SetUpdateDate(const CZanTDateTime& date) { m_updateDate = date; }
