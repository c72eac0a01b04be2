// CZanDB4FaceFeaturePointGroup: a feature point group as the client sees
// it, a snapshot of its row with lazy caches: the merged blob (from the
// family's group set) and the member faces (from the item table). Only the
// library makes these objects. Reads take the catalogue's lock, then the
// group set's lock.
#pragma once

#include <vector>

#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CSQLiteFaceFeaturePointDBMgr;
class CSQLiteFileBasicDB;

class CZanDB4FaceFeaturePointGroup
    : public zandb4::ComObject<IZanDB4FaceFeaturePointGroup, IID_IZanDB4FaceFeaturePointGroup> {
public:
    CZanDB4FaceFeaturePointGroup() = default;

    HRESULT SetID(uint64_t groupId) override;
    HRESULT GetID(uint64_t* outGroupId) override;
    HRESULT SetFaceID(uint64_t faceId) override;
    HRESULT GetFaceID(uint64_t* outFaceId) override;
    HRESULT SetIndividualType(uint32_t type) override;
    HRESULT GetIndividualType(uint32_t* outType) override;
    HRESULT SetFeaturePointID(uint64_t featurePointId) override;
    HRESULT GetFeaturePointID(uint64_t* outFeaturePointId) override;
    HRESULT GetFeaturePoint(IZanDB4FaceFeaturePointData** outData) override;
    HRESULT ReleaseFeaturePoint() override;
    HRESULT GetFaceIDs(CArray<uint64_t>* outFaceIds, BOOL useCache) override;
    HRESULT GetFaces(CArray<IZanDB4FaceDBRecord*>* outFaces, BOOL useCache) override;
    HRESULT GetFaceCount(uint32_t* outFaceCount) override;
    HRESULT SetCreateDate(const SYSTEMTIME* createDate) override;
    HRESULT GetCreateDate(SYSTEMTIME* outCreateDate) override;

    // Set by the row reader and by the manager's reads; both borrowed.
    void SetStore(CSQLiteFileBasicDB* store) { m_store = store; }
    void SetFamily(CSQLiteFaceFeaturePointDBMgr* family) { m_family = family; }

protected:
    ~CZanDB4FaceFeaturePointGroup() override;

private:
    static constexpr int32_t kFaceIdsLoaded = 1;
    static constexpr int32_t kFacesLoaded = 2;

    void DropFaceCache();

    uint64_t m_groupId = 0;
    uint64_t m_faceId = 0;
    uint64_t m_featurePointId = 0;
    uint32_t m_individualType = 1;
    IZanDB4FaceFeaturePointData* m_mergedData = nullptr;
    std::vector<IZanDB4FaceDBRecord*> m_faces;
    std::vector<uint64_t> m_faceIds;
    int32_t m_cacheFlags = 0;
    CZanTDateTime m_createDate;
    CSQLiteFileBasicDB* m_store = nullptr;
    CSQLiteFaceFeaturePointDBMgr* m_family = nullptr;
};
