// CZanDB4TagDBRecord: plain accessors.
#include "albums/tag_db_record.h"

#include "frame/deliver.h"

HRESULT CZanDB4TagDBRecord::GetID(uint64_t* outId) { return zandb4::Deliver(outId, m_id); }

HRESULT CZanDB4TagDBRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4TagDBRecord::SetName(const CZanTString& name) {
    m_name = name;
    return S_OK;
}

HRESULT CZanDB4TagDBRecord::GetName(CZanTString& outName) {
    // The empty name is written out too, so that the caller's string never
    // keeps an older value.
    outName = m_name;
    return m_name.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4TagDBRecord::SetType(uint32_t type) {
    m_type = type;
    return S_OK;
}

HRESULT CZanDB4TagDBRecord::GetType(uint32_t* outType) { return zandb4::Deliver(outType, m_type); }
