// CZanDB4FileLargeMetaData: a holder for one file's metadata blob too large
// for meta_table: file id, the client's type number and the bytes, which it
// owns. Its bytes are stored in the large-metadata shards.
#pragma once

#include "frame/com_object.h"
#include "frame/owned_buffer.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"

class CZanDB4FileLargeMetaData
    : public zandb4::ComObject<IZanDB4FileLargeMetaData, IID_IZanDB4FileLargeMetaData> {
public:
    HRESULT SetType(uint32_t type) override;
    HRESULT GetType(uint32_t* outType) override;
    HRESULT SetData(const void* data, uint32_t size) override;
    HRESULT GetData(const void** outData, uint32_t* outSize) override;
    HRESULT AttachData(void* data, uint32_t size) override;
    HRESULT SetFileID(uint64_t id) override;
    HRESULT GetFileID(uint64_t* outId) override;

private:
    uint64_t m_fileId = 0;
    uint32_t m_type = 0;
    zandb4::OwnedBuffer m_data;
};
