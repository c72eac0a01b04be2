// CZanDB4FaceFeaturePointData: a stored feature point on its way to the
// client: the blob (owned, malloc'd), its key, format and date. Only the
// library makes these objects. A blob of format 1 is read block by block.
#pragma once

#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CZanDB4FaceFeaturePointData
    : public zandb4::ComObject<IZanDB4FaceFeaturePointData, IID_IZanDB4FaceFeaturePointData> {
public:
    CZanDB4FaceFeaturePointData() = default;

    HRESULT SetFeaturePointID(uint64_t featurePointId) override;
    HRESULT GetFeaturePointID(uint64_t* outFeaturePointId) override;
    HRESULT SetFaceID(uint64_t faceId) override;
    HRESULT GetFaceID(uint64_t* outFaceId) override;
    HRESULT SetFeaturePoint(const void* data, uint32_t size) override;
    HRESULT GetFeaturePoint(const void** outData, uint32_t* outSize, uint32_t blockIndex) override;
    uint32_t GetBlockCount() override;
    HRESULT SetIndividualType(uint32_t type) override;
    HRESULT GetIndividualType(uint32_t* outType) override;
    HRESULT SetUpdateDate(const SYSTEMTIME* updateDate) override;
    HRESULT GetUpdateDate(SYSTEMTIME* outUpdateDate) override;
    HRESULT SetDataFormat(uint32_t dataFormat) override;
    HRESULT GetDataFormat(uint32_t* outDataFormat) override;

protected:
    ~CZanDB4FaceFeaturePointData() override;

private:
    uint64_t m_featurePointId = 0;
    uint64_t m_faceId = 0;
    uint8_t* m_data = nullptr;
    uint32_t m_size = 0;
    uint32_t m_individualType = 1;
    CZanTDateTime m_updateDate;
    uint32_t m_dataFormat = 0;
};
