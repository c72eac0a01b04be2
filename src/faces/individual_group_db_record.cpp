// CZanDB4IndividualGroupDBRecord: plain accessors.
#include "faces/individual_group_db_record.h"

#include "frame/deliver.h"

using zandb4::Deliver;

HRESULT CZanDB4IndividualGroupDBRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4IndividualGroupDBRecord::GetID(uint64_t* outId) { return Deliver(outId, m_id); }

HRESULT CZanDB4IndividualGroupDBRecord::SetName(const CZanTString& name) {
    m_name = name;
    return S_OK;
}

// The empty text is assigned too; E_FAIL only tells that it is empty.
HRESULT CZanDB4IndividualGroupDBRecord::GetName(CZanTString& outName) {
    outName = m_name;
    return m_name.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4IndividualGroupDBRecord::SetType(uint32_t type) {
    m_type = type;
    return S_OK;
}

HRESULT CZanDB4IndividualGroupDBRecord::GetType(uint32_t* outType) { return Deliver(outType, m_type); }

HRESULT CZanDB4IndividualGroupDBRecord::SetDescription(const CZanTString& description) {
    m_description = description;
    return S_OK;
}

HRESULT CZanDB4IndividualGroupDBRecord::GetDescription(CZanTString& outDescription) {
    outDescription = m_description;
    return m_description.IsEmpty() ? E_FAIL : S_OK;
}
