// CZanDB4MainImageCache: one row of main_image_cache_file_table in memory:
// the path of a cached main image of a file, with its type. No link to a
// store, no lock.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "zandb4/caches.h"
#include "zandb4/identifiers.h"

class CZanDB4MainImageCache : public zandb4::ComObject<IZanDB4MainImageCache, IID_IZanDB4MainImageCache> {
public:
    HRESULT SetFileID(uint64_t fileId) override;
    HRESULT GetFileID(uint64_t* outFileId) override;
    HRESULT SetFileType(uint32_t fileType) override;
    HRESULT GetFileType(uint32_t* outFileType) override;
    HRESULT SetFilePath(const WCHAR* filePath) override;
    HRESULT GetFilePath(CZanTString& outFilePath) override;

private:
    uint64_t m_fileId = 0;
    uint32_t m_fileType = 0;
    CZanTString m_filePath;
};
