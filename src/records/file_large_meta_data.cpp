// CZanDB4FileLargeMetaData: accessors.
#include "records/file_large_meta_data.h"

HRESULT CZanDB4FileLargeMetaData::SetType(uint32_t type) {
    m_type = type;
    return S_OK;
}

HRESULT CZanDB4FileLargeMetaData::GetType(uint32_t* outType) {
    if (outType == nullptr) return E_INVALIDARG;
    *outType = m_type;
    return S_OK;
}

HRESULT CZanDB4FileLargeMetaData::SetData(const void* data, uint32_t size) { return m_data.CopyFrom(data, size); }

HRESULT CZanDB4FileLargeMetaData::GetData(const void** outData, uint32_t* outSize) {
    return m_data.Get(outData, outSize);
}

HRESULT CZanDB4FileLargeMetaData::AttachData(void* data, uint32_t size) {
    m_data.Reset(data, size);
    return S_OK;
}

HRESULT CZanDB4FileLargeMetaData::SetFileID(uint64_t id) {
    m_fileId = id;
    return S_OK;
}

HRESULT CZanDB4FileLargeMetaData::GetFileID(uint64_t* outId) {
    if (outId == nullptr) return E_INVALIDARG;
    *outId = m_fileId;
    return S_OK;
}
