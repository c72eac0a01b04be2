// CZanDB4FileCache: a thumbnail in memory, the bytes (owned), their update
// date and a source identifier. It is what the thumbnail shards take and
// give. No link to a store, no lock: one thread at a time uses one object.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "frame/owned_buffer.h"
#include "zandb4/caches.h"
#include "zandb4/identifiers.h"

class CZanDB4FileCache : public zandb4::ComObject<IZanDB4FileCache, IID_IZanDB4FileCache> {
public:
    HRESULT SetData(const void* data, uint32_t size) override;
    const void* GetData() override;
    uint32_t GetSize() override;
    HRESULT GetUpdateDate(SYSTEMTIME* outDate) override;
    HRESULT SetSourceID(uint64_t sourceId) override;
    HRESULT GetSourceID(uint64_t* outSourceId) override;
    void SetUpdateDate(const CZanTDateTime& date) override;

private:
    zandb4::OwnedBuffer m_data;
    CZanTDateTime m_updateDate;
    uint64_t m_sourceId = 0;
};
