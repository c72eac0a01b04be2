// CZanDB4ImportDBRecord: plain accessors.
#include "albums/import_db_record.h"

HRESULT CZanDB4ImportDBRecord::SetDate(const SYSTEMTIME* date) {
    // A null date clears it to all zeros, which is stored as 0.
    m_date.m_time = date != nullptr ? *date : SYSTEMTIME{};
    return S_OK;
}

HRESULT CZanDB4ImportDBRecord::GetDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    *outDate = m_date.m_time;
    return S_OK;
}

HRESULT CZanDB4ImportDBRecord::SetClass(uint32_t importClass) {
    m_class = importClass;
    return S_OK;
}

HRESULT CZanDB4ImportDBRecord::GetClass(uint32_t* outClass) {
    if (outClass == nullptr) return E_INVALIDARG;
    *outClass = m_class;
    return S_OK;
}

HRESULT CZanDB4ImportDBRecord::SetAttribute(uint32_t attribute) {
    m_attribute = attribute;
    return S_OK;
}

HRESULT CZanDB4ImportDBRecord::GetAttribute(uint32_t* outAttribute) {
    if (outAttribute == nullptr) return E_INVALIDARG;
    *outAttribute = m_attribute;
    return S_OK;
}
