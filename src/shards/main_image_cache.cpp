// CZanDB4MainImageCache: accessors of a main image cache row in memory.
#include "shards/main_image_cache.h"

HRESULT CZanDB4MainImageCache::SetFileID(uint64_t fileId) {
    m_fileId = fileId;
    return S_OK;
}

HRESULT CZanDB4MainImageCache::GetFileID(uint64_t* outFileId) {
    if (outFileId == nullptr) return E_INVALIDARG;
    *outFileId = m_fileId;
    return S_OK;
}

HRESULT CZanDB4MainImageCache::SetFileType(uint32_t fileType) {
    m_fileType = fileType;
    return S_OK;
}

HRESULT CZanDB4MainImageCache::GetFileType(uint32_t* outFileType) {
    if (outFileType == nullptr) return E_INVALIDARG;
    *outFileType = m_fileType;
    return S_OK;
}

HRESULT CZanDB4MainImageCache::SetFilePath(const WCHAR* filePath) {
    m_filePath = filePath;
    return S_OK;
}

HRESULT CZanDB4MainImageCache::GetFilePath(CZanTString& outFilePath) {
    outFilePath = m_filePath;
    return m_filePath.IsEmpty() ? E_FAIL : S_OK;
}
