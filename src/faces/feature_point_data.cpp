// CZanDB4FaceFeaturePointData: the blob and its blocks.
#include "faces/feature_point_data.h"

#include <cstdlib>
#include <cstring>

#include "frame/deliver.h"

using zandb4::Deliver;

namespace {

constexpr uint32_t kPackedFormat = 1;

uint32_t ReadLength(const uint8_t* at) {
    // Lengths are stored little-endian, whatever the machine.
    return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8) | (static_cast<uint32_t>(at[2]) << 16) |
           (static_cast<uint32_t>(at[3]) << 24);
}

}  // namespace

CZanDB4FaceFeaturePointData::~CZanDB4FaceFeaturePointData() { std::free(m_data); }

HRESULT CZanDB4FaceFeaturePointData::SetFeaturePointID(uint64_t featurePointId) {
    m_featurePointId = featurePointId;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetFeaturePointID(uint64_t* outFeaturePointId) {
    return Deliver(outFeaturePointId, m_featurePointId);
}

HRESULT CZanDB4FaceFeaturePointData::SetFaceID(uint64_t faceId) {
    m_faceId = faceId;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetFaceID(uint64_t* outFaceId) { return Deliver(outFaceId, m_faceId); }

HRESULT CZanDB4FaceFeaturePointData::SetFeaturePoint(const void* data, uint32_t size) {
    // The pointer already held: only the size changes (a caller trimming
    // the blob it was given).
    if (data != nullptr && data == m_data) {
        m_size = size;
        return S_OK;
    }
    std::free(m_data);
    m_data = nullptr;
    if (data != nullptr && size != 0) {
        m_data = static_cast<uint8_t*>(std::malloc(size));
        if (m_data == nullptr) return E_OUTOFMEMORY;
        std::memcpy(m_data, data, size);
    }
    // Kept even without a blob.
    m_size = size;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetFeaturePoint(const void** outData, uint32_t* outSize, uint32_t blockIndex) {
    if (outData != nullptr) *outData = nullptr;
    if (outSize != nullptr) *outSize = 0;
    if (outData == nullptr && outSize == nullptr) return E_INVALIDARG;
    if (m_dataFormat != kPackedFormat) {
        // One block: the index does not matter.
        if (outData != nullptr) *outData = m_data;
        if (outSize != nullptr) *outSize = m_size;
        return m_data == nullptr || m_size == 0 ? E_FAIL : S_OK;
    }
    if (m_data == nullptr || m_size < 4) return E_FAIL;
    // The stored count is not consulted: the walk stops at the blob's end.
    uint64_t position = 4;
    for (uint32_t block = 0;; ++block) {
        if (position >= m_size || position + 4 > m_size) return E_FAIL;
        uint32_t length = ReadLength(m_data + position);
        uint64_t start = position + 4;
        uint64_t next = start + length;
        if (next > m_size) return E_FAIL;
        if (block == blockIndex) {
            if (outData != nullptr) *outData = m_data + start;
            if (outSize != nullptr) *outSize = length;
            return S_OK;
        }
        position = next;
    }
}

uint32_t CZanDB4FaceFeaturePointData::GetBlockCount() {
    if (m_dataFormat == kPackedFormat) return m_data == nullptr || m_size < 4 ? 0 : ReadLength(m_data);
    return m_data != nullptr && m_size != 0 ? 1 : 0;
}

HRESULT CZanDB4FaceFeaturePointData::SetIndividualType(uint32_t type) {
    m_individualType = type;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetIndividualType(uint32_t* outType) { return Deliver(outType, m_individualType); }

HRESULT CZanDB4FaceFeaturePointData::SetUpdateDate(const SYSTEMTIME* updateDate) {
    if (updateDate == nullptr) return E_INVALIDARG;
    m_updateDate = CZanTDateTime(*updateDate);
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetUpdateDate(SYSTEMTIME* outUpdateDate) {
    return Deliver(outUpdateDate, m_updateDate.m_time);
}

HRESULT CZanDB4FaceFeaturePointData::SetDataFormat(uint32_t dataFormat) {
    m_dataFormat = dataFormat;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointData::GetDataFormat(uint32_t* outDataFormat) {
    return Deliver(outDataFormat, m_dataFormat);
}
