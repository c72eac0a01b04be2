// FeaturePointGroups: making and removing feature point groups.
#include "faces/feature_point_groups.h"

#include "catalogue/file_basic_db.h"
#include "faces/feature_point_group.h"
#include "faces/feature_point_group_rows.h"
#include "faces/feature_point_mgr.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "shards/thumbnail_kind_call.h"

using zandb4::ComPtr;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

}  // namespace

CSQLiteFaceFeaturePointDBMgr* FeaturePointGroups::FamilyOf(uint32_t type) const {
    if (type == CSQLiteFileBasicDB::kPerson) return m_persons;
    if (type == CSQLiteFileBasicDB::kPet) return m_pets;
    return nullptr;
}

HRESULT FeaturePointGroups::CreateFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount,
                                                    uint64_t* outGroupId, uint32_t mergeCount) {
    if (outGroupId != nullptr) *outGroupId = 0;
    if (faceIds == nullptr || itemCount == 0 || mergeCount == 0 || !IsIndividualType(type)) return E_INVALIDARG;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    if (family == nullptr) return E_INVALIDARG;
    CSQLiteFaceFeaturePointDBFactory* working = family->Working();
    CSQLiteFaceFeaturePointDBFactory* groups = family->Group();
    if (working == nullptr || groups == nullptr) return E_FAIL;

    uint64_t featurePointId = 0;
    HRESULT merged;
    {
        CriticalSectionGuard workingGuard(working->m_lock);
        CriticalSectionGuard groupGuard(groups->m_lock);
        merged = working->MergeFeaturePoints(groups, faceIds, mergeCount, &featurePointId, m_catalogue,
                                             FeaturePointGroupRows::FeaturePointIdType(type));
    }
    if (merged != S_OK) return merged;

    HRESULT inserted = FeaturePointGroupRows(*m_catalogue)
                           .InsertFeaturePointGroup(type, faceIds, itemCount, faceIds[0], featurePointId, outGroupId);
    if (inserted == S_OK) {
        // The members leave the working set softly; their blobs stay until
        // the shard is dropped.
        for (uint32_t index = 0; index < itemCount; ++index) working->RemoveFeaturePoint(faceIds[index]);
    }
    return inserted;
}

HRESULT FeaturePointGroups::RemoveFaceFeaturePoint(uint64_t faceId, uint32_t type) {
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    if (family == nullptr) return E_INVALIDARG;
    CSQLiteFaceFeaturePointDBFactory* working = family->Working();
    if (working == nullptr) return E_FAIL;
    HRESULT removed;
    {
        CriticalSectionGuard workingGuard(working->m_lock);
        removed = working->RemoveFeaturePoint(faceId);
    }
    if (removed != S_OK) return removed;

    FeaturePointGroupRows rows(*m_catalogue);
    uint64_t groupId = 0;
    if (!rows.FindGroupOfFace(faceId, type, groupId)) return S_OK;
    if (rows.DeleteItemOfFace(faceId, type) != S_OK) return removed;
    // The last face gone takes the group with it. With group 0 the count
    // is that of every face left over from removed groups, and a removal
    // finds no group 0 anyway.
    if (rows.CountGroupItems(groupId, type) == 0) return RemoveFeaturePointGroup(groupId, type);
    return removed;
}

HRESULT FeaturePointGroups::RemoveFeaturePointGroup(uint64_t groupId, uint32_t type) {
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    ComPtr<IZanDB4FaceFeaturePointGroup> group;
    // A group that is not there (a bad type included) counts as removed.
    if (GetFeaturePointGroup(groupId, type, group.Receive()) != S_OK) return S_OK;
    if (!IsIndividualType(type)) return E_INVALIDARG;
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    if (family == nullptr) return E_INVALIDARG;
    CSQLiteFaceFeaturePointDBFactory* groups = family->Group();
    if (groups == nullptr) return E_FAIL;

    CriticalSectionGuard groupGuard(groups->m_lock);
    uint64_t featurePointId = 0;
    group->GetFeaturePointID(&featurePointId);
    // Only an open shard is looked at: after a restart the blob may stay.
    HRESULT result = groups->RemoveFeaturePoint(featurePointId);
    if (result != S_OK) return result;
    // The group id, not the feature point id, goes to the pool of feature
    // point ids; catalogues and applications have lived with it, and it
    // stays.
    m_catalogue->PoolID(groupId, FeaturePointGroupRows::FeaturePointIdType(type));
    result = FeaturePointGroupRows(*m_catalogue).DeleteGroupKeepingItems(groupId, type);
    if (result == S_OK) {
        m_catalogue->PoolID(groupId, FeaturePointGroupRows::GroupIdType(type));
        RemoveGroupThumbnail(groupId, 1);
        RemoveGroupThumbnail(groupId, 2);
    }
    return result;
}

HRESULT FeaturePointGroups::GetFeaturePointGroup(uint64_t groupId, uint32_t type,
                                                 IZanDB4FaceFeaturePointGroup** outGroup) {
    if (outGroup == nullptr) return E_INVALIDARG;
    *outGroup = nullptr;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    HRESULT loaded = FeaturePointGroupRows(*m_catalogue).LoadFeaturePointGroup(groupId, type, outGroup);
    if (loaded == S_OK) static_cast<CZanDB4FaceFeaturePointGroup*>(*outGroup)->SetFamily(FamilyOf(type));
    return loaded;
}

HRESULT FeaturePointGroups::GetFeaturePointGroupIDs(uint32_t type, CArray<uint64_t>* outGroupIds) {
    if (outGroupIds == nullptr) return E_INVALIDARG;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    return FeaturePointGroupRows(*m_catalogue).ListGroupIDs(type, *outGroupIds);
}

HRESULT FeaturePointGroups::GetFeaturePointGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>* outGroups) {
    if (outGroups == nullptr) return E_INVALIDARG;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    HRESULT listed = FeaturePointGroupRows(*m_catalogue).ListGroups(type, *outGroups);
    for (ptrdiff_t index = 0; index < outGroups->GetSize(); ++index)
        static_cast<CZanDB4FaceFeaturePointGroup*>(outGroups->GetAt(index))->SetFamily(FamilyOf(type));
    return listed;
}

HRESULT FeaturePointGroups::UpdateGroupFeaturePoints(uint64_t featurePointId, uint32_t type, const void* const* data,
                                                     const uint32_t* sizes, uint32_t count) {
    if (data == nullptr || sizes == nullptr || count == 0) return E_INVALIDARG;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    CSQLiteFaceFeaturePointDBFactory* groups = family == nullptr ? nullptr : family->Group();
    if (groups == nullptr) return E_FAIL;
    CriticalSectionGuard groupGuard(groups->m_lock);
    return groups->UpdateFeaturePoints(featurePointId, data, sizes, count);
}

HRESULT FeaturePointGroups::UpdateIndividualFeaturePoints(uint64_t individualId, uint32_t type,
                                                          const void* const* data, const uint32_t* sizes,
                                                          uint32_t count) {
    if (data == nullptr || sizes == nullptr || count == 0) return E_INVALIDARG;
    if (m_catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    CSQLiteFaceFeaturePointDBFactory* individuals = family == nullptr ? nullptr : family->Individual();
    if (individuals == nullptr) return E_FAIL;
    CriticalSectionGuard individualGuard(individuals->m_lock);
    return individuals->UpdateFeaturePoints(individualId, data, sizes, count);
}

HRESULT FeaturePointGroups::UpdateGroupFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    return UpdateIndividualFeaturePoints(id, type, &data, &size, 1);
}

HRESULT FeaturePointGroups::RemoveGroupThumbnail(uint64_t groupId, uint32_t kind) {
    if (m_catalogue == nullptr) return E_FAIL;
    // The catalogue's lock before the kind is looked at, then the factory's.
    CriticalSectionGuard catalogueGuard(m_catalogue->m_lock);
    return zandb4::ThumbnailKindCall(*m_catalogue, m_groupThumbnails, kind, E_INVALIDARG,
                                     [&](CSQLiteThumbDBFactory& factory) { return factory.DeleteThumbnail(groupId); });
}
