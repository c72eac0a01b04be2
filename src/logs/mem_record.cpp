// CZanDB4MemRecord: the accessors and the record's own copy of the data.
#include "logs/mem_record.h"

#include <cstdlib>
#include <cstring>

#include "frame/deliver.h"

CZanDB4MemRecord::~CZanDB4MemRecord() { std::free(m_data); }

HRESULT CZanDB4MemRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4MemRecord::GetID(uint64_t* outId) { return zandb4::Deliver(outId, m_id); }

HRESULT CZanDB4MemRecord::SetType(uint32_t type) {
    m_type = type;
    return S_OK;
}

HRESULT CZanDB4MemRecord::GetType(uint32_t* outType) {
    // The type's getter was never meant to test its out; a null one is
    // answered rather than written through.
    return zandb4::Deliver(outType, m_type);
}

HRESULT CZanDB4MemRecord::SetCondition(const CZanTString& condition) {
    m_condition = condition;
    return S_OK;
}

HRESULT CZanDB4MemRecord::GetCondition(CZanTString& outCondition) {
    outCondition = m_condition;
    return S_OK;
}

HRESULT CZanDB4MemRecord::SetData(const void* data, uint32_t size) {
    // The record's own buffer handed back in: freeing it first would leave
    // nothing to copy from.
    if (data != nullptr && data == m_data) return S_OK;
    std::free(m_data);
    m_data = nullptr;
    m_dataSize = 0;
    if (data == nullptr || size == 0) return S_OK;
    void* copy = std::malloc(size);
    if (copy == nullptr) return E_OUTOFMEMORY;
    std::memcpy(copy, data, size);
    m_data = copy;
    m_dataSize = size;
    return S_OK;
}

const void* CZanDB4MemRecord::GetData() { return m_data; }

uint32_t CZanDB4MemRecord::GetDataSize() { return m_dataSize; }
