// CZanDB4TethraImportFileRecord: plain accessors.
#include "camera/tethra_import_file_record.h"

HRESULT CZanDB4TethraImportFileRecord::GetID(uint64_t* outId) {
    if (outId == nullptr) return E_INVALIDARG;
    *outId = m_id;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::SetPath(const CZanTString& path) {
    m_path = path;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::GetPath(CZanTString& outPath) {
    outPath = m_path;
    return S_OK;
}

// The date accessors copy the 16 bytes; a null pointer is the caller's fault
// and answered with E_INVALIDARG rather than a crash.
HRESULT CZanDB4TethraImportFileRecord::SetDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_date = *date;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::GetDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    *outDate = m_date;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::SetAttributes(uint32_t attributes) {
    m_attributes = attributes;
    return S_OK;
}

HRESULT CZanDB4TethraImportFileRecord::GetAttributes(uint32_t* outAttributes) {
    if (outAttributes == nullptr) return E_INVALIDARG;
    *outAttributes = m_attributes;
    return S_OK;
}
