// CZanDB4FaceFeaturePointGroup: accessors and the lazy reads of the merged
// blob and of the members.
#include "faces/feature_point_group.h"

#include "catalogue/file_basic_db.h"
#include "faces/feature_point_group_rows.h"
#include "faces/feature_point_mgr.h"
#include "frame/critical_section.h"
#include "frame/deliver.h"

using zandb4::Deliver;

CZanDB4FaceFeaturePointGroup::~CZanDB4FaceFeaturePointGroup() {
    if (m_mergedData != nullptr) m_mergedData->Release();
    DropFaceCache();
}

void CZanDB4FaceFeaturePointGroup::DropFaceCache() {
    for (IZanDB4FaceDBRecord* face : m_faces) face->Release();
    m_faces.clear();
    m_faceIds.clear();
    m_cacheFlags = 0;
}

// A new id is another group: the member caches go.
HRESULT CZanDB4FaceFeaturePointGroup::SetID(uint64_t groupId) {
    m_groupId = groupId;
    DropFaceCache();
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetID(uint64_t* outGroupId) { return Deliver(outGroupId, m_groupId); }

HRESULT CZanDB4FaceFeaturePointGroup::SetFaceID(uint64_t faceId) {
    m_faceId = faceId;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetFaceID(uint64_t* outFaceId) { return Deliver(outFaceId, m_faceId); }

HRESULT CZanDB4FaceFeaturePointGroup::SetIndividualType(uint32_t type) {
    m_individualType = type;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetIndividualType(uint32_t* outType) { return Deliver(outType, m_individualType); }

// Another blob: the cached one goes.
HRESULT CZanDB4FaceFeaturePointGroup::SetFeaturePointID(uint64_t featurePointId) {
    if (m_mergedData != nullptr) {
        m_mergedData->Release();
        m_mergedData = nullptr;
    }
    m_featurePointId = featurePointId;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetFeaturePointID(uint64_t* outFeaturePointId) {
    return Deliver(outFeaturePointId, m_featurePointId);
}

HRESULT CZanDB4FaceFeaturePointGroup::GetFeaturePoint(IZanDB4FaceFeaturePointData** outData) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    if (m_store == nullptr) return E_FAIL;
    CriticalSectionGuard storeGuard(m_store->m_lock);
    if (m_mergedData == nullptr && m_family != nullptr && m_family->Group() != nullptr) {
        CSQLiteFaceFeaturePointDBFactory* groups = m_family->Group();
        CriticalSectionGuard groupGuard(groups->m_lock);
        IZanDB4FaceFeaturePointData* data = nullptr;
        if (groups->GetFeaturePoint(m_featurePointId, &data) == S_OK) m_mergedData = data;
    }
    if (m_mergedData == nullptr) return E_FAIL;
    m_mergedData->AddRef();
    *outData = m_mergedData;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::ReleaseFeaturePoint() {
    if (m_store == nullptr) {
        if (m_mergedData != nullptr) m_mergedData->Release();
        m_mergedData = nullptr;
        return S_OK;
    }
    CriticalSectionGuard storeGuard(m_store->m_lock);
    if (m_mergedData != nullptr) m_mergedData->Release();
    m_mergedData = nullptr;
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetFaceIDs(CArray<uint64_t>* outFaceIds, BOOL useCache) {
    if (outFaceIds == nullptr) return E_INVALIDARG;
    if (m_store == nullptr) {
        outFaceIds->RemoveAll();
        return E_FAIL;
    }
    CriticalSectionGuard storeGuard(m_store->m_lock);
    outFaceIds->RemoveAll();
    FeaturePointGroupRows rows(*m_store);
    if (useCache != 0) {
        if ((m_cacheFlags & kFaceIdsLoaded) == 0) {
            // Marked loaded before the read: a failed read is not repeated.
            m_cacheFlags |= kFaceIdsLoaded;
            HRESULT loaded = rows.ListGroupFaceIDs(m_faceIds, m_groupId, m_individualType);
            if (loaded != S_OK) return loaded;
        }
        for (uint64_t faceId : m_faceIds) outFaceIds->Add(faceId);
    } else {
        std::vector<uint64_t> faceIds;
        rows.ListGroupFaceIDs(faceIds, m_groupId, m_individualType);
        for (uint64_t faceId : faceIds) outFaceIds->Add(faceId);
    }
    return outFaceIds->IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetFaces(CArray<IZanDB4FaceDBRecord*>* outFaces, BOOL useCache) {
    if (outFaces == nullptr) return E_INVALIDARG;
    if (m_store == nullptr) {
        outFaces->RemoveAll();
        return E_FAIL;
    }
    CriticalSectionGuard storeGuard(m_store->m_lock);
    outFaces->RemoveAll();
    FeaturePointGroupRows rows(*m_store);
    if (useCache != 0) {
        if ((m_cacheFlags & kFacesLoaded) == 0) {
            m_cacheFlags |= kFacesLoaded;
            HRESULT loaded = rows.ListGroupFaces(m_faces, m_groupId, m_individualType);
            if (loaded != S_OK) return loaded;
        }
        // The cache keeps its references; the caller gets new ones.
        for (IZanDB4FaceDBRecord* face : m_faces) {
            if (face == nullptr) continue;
            face->AddRef();
            outFaces->Add(face);
        }
    } else {
        std::vector<IZanDB4FaceDBRecord*> faces;
        rows.ListGroupFaces(faces, m_groupId, m_individualType);
        // Each record's one reference passes to the caller.
        for (IZanDB4FaceDBRecord* face : faces)
            if (face != nullptr) outFaces->Add(face);
    }
    return outFaces->IsEmpty() ? E_FAIL : S_OK;
}

// The number the group was made with, read from its row every time; it does
// not follow later removals of faces.
HRESULT CZanDB4FaceFeaturePointGroup::GetFaceCount(uint32_t* outFaceCount) {
    if (outFaceCount == nullptr) return E_INVALIDARG;
    *outFaceCount = 0;
    if (m_store == nullptr) return S_OK;
    CriticalSectionGuard storeGuard(m_store->m_lock);
    *outFaceCount = FeaturePointGroupRows(*m_store).GroupFaceCount(m_groupId, m_individualType);
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::SetCreateDate(const SYSTEMTIME* createDate) {
    if (createDate == nullptr) return E_INVALIDARG;
    m_createDate = CZanTDateTime(*createDate);
    return S_OK;
}

HRESULT CZanDB4FaceFeaturePointGroup::GetCreateDate(SYSTEMTIME* outCreateDate) {
    return Deliver(outCreateDate, m_createDate.m_time);
}
