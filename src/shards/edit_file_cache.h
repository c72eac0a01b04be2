// CZanDB4EditFileCache: one row of image_file_table in memory: the file
// kept on disk for an edited image, its type, and its filter data (owned)
// with their orientation. No link to a store, no lock.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "frame/owned_buffer.h"
#include "zandb4/caches.h"
#include "zandb4/identifiers.h"

class CZanDB4EditFileCache : public zandb4::ComObject<IZanDB4EditFileCache, IID_IZanDB4EditFileCache> {
public:
    HRESULT SetFileID(uint64_t fileId) override;
    HRESULT GetFileID(uint64_t* outFileId) override;
    HRESULT SetImageFileType(uint32_t imageFileType) override;
    HRESULT GetImageFileType(uint32_t* outImageFileType) override;
    HRESULT SetImageFilePath(const WCHAR* imageFilePath) override;
    HRESULT GetImageFilePath(CZanTString& outImageFilePath) override;
    HRESULT SetFilterData(const void* data, uint32_t size) override;
    HRESULT GetFilterData(const void** outData, uint32_t* outSize) override;
    HRESULT SetFilterDataOrientation(uint16_t orientation) override;
    HRESULT GetFilterDataOrientation(uint16_t* outOrientation) override;

private:
    uint64_t m_fileId = 0;
    uint32_t m_imageFileType = 0;
    CZanTString m_imageFilePath;
    zandb4::OwnedBuffer m_filterData;
    // Kept apart from the buffer: after a failed copy the buffer is null
    // while the size given stays.
    uint32_t m_filterDataSize = 0;
    uint16_t m_filterDataOrientation = 0;
};
