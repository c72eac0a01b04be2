// CZanDB4EditFileCache: accessors of an edit cache row in memory.
#include "shards/edit_file_cache.h"

HRESULT CZanDB4EditFileCache::SetFileID(uint64_t fileId) {
    m_fileId = fileId;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::GetFileID(uint64_t* outFileId) {
    if (outFileId == nullptr) return E_INVALIDARG;
    *outFileId = m_fileId;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::SetImageFileType(uint32_t imageFileType) {
    m_imageFileType = imageFileType;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::GetImageFileType(uint32_t* outImageFileType) {
    if (outImageFileType == nullptr) return E_INVALIDARG;
    *outImageFileType = m_imageFileType;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::SetImageFilePath(const WCHAR* imageFilePath) {
    m_imageFilePath = imageFilePath;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::GetImageFilePath(CZanTString& outImageFilePath) {
    outImageFilePath = m_imageFilePath;
    return m_imageFilePath.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4EditFileCache::SetFilterData(const void* data, uint32_t size) {
    // A failed copy is not reported: the buffer stays null and the size as
    // given, which GetFilterData then answers with E_FAIL for the pointer.
    if (m_filterData.CopyFrom(data, size) != S_OK) m_filterData.Reset(nullptr, 0);
    m_filterDataSize = size;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::GetFilterData(const void** outData, uint32_t* outSize) {
    if (outData == nullptr && outSize == nullptr) return E_INVALIDARG;
    if (outSize != nullptr) *outSize = m_filterDataSize;
    if (outData == nullptr) return S_OK;
    *outData = m_filterData.Data();
    return m_filterData.Data() == nullptr ? E_FAIL : S_OK;
}

HRESULT CZanDB4EditFileCache::SetFilterDataOrientation(uint16_t orientation) {
    m_filterDataOrientation = orientation;
    return S_OK;
}

HRESULT CZanDB4EditFileCache::GetFilterDataOrientation(uint16_t* outOrientation) {
    if (outOrientation == nullptr) return E_INVALIDARG;
    *outOrientation = m_filterDataOrientation;
    return S_OK;
}
