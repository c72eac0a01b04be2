// CZanDB4FaceDBMgr: thumbnails of faces, individuals and groups; feature
// points of faces and individuals; feature point groups.
#include "catalogue/file_basic_db.h"
#include "faces/face_db_mgr.h"
#include "faces/face_rows.h"
#include "faces/feature_point_mgr.h"
#include "shards/thumb_db_mgr.h"
#include "shards/thumbnail_kind_call.h"
#include "staging/async_db.h"
#include "storage/locked_call.h"

using zandb4::LockedCall;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

constexpr uint32_t kRawFormat = 0;

// A group thumbnail operation: the catalogue's lock first, as every
// operation of the manager, then the kind's factory of the grf family.
template <class Operation>
HRESULT GroupThumbnailCall(const FaceStores& stores, uint32_t kind, Operation&& operation) {
    return LockedCall(stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return zandb4::ThumbnailKindCall(catalogue, stores.groupThumbnails, kind, E_INVALIDARG, operation);
    });
}

}  // namespace

// ------------------------------------------------------------- thumbnails

CSQLiteThumbDBFactory* CZanDB4FaceDBMgr::ThumbnailFactory(uint32_t kind, uint32_t type, BOOL forIndividual) const {
    if (!IsIndividualType(type) || (kind != 1 && kind != 2)) return nullptr;
    CSQLiteThumbDBMgr* family = nullptr;
    if (forIndividual != 0)
        family = type == CSQLiteFileBasicDB::kPerson ? m_stores.personIcons : m_stores.petIcons;
    else
        family = type == CSQLiteFileBasicDB::kPerson ? m_stores.personFaces : m_stores.petFaces;
    return family == nullptr ? nullptr : family->Factory(kind);
}

template <class Operation>
HRESULT CZanDB4FaceDBMgr::ThumbnailCall(uint64_t /*id*/, uint32_t kind, uint32_t type, BOOL forIndividual,
                                        Operation&& operation) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteThumbDBFactory* factory = ThumbnailFactory(kind, type, forIndividual);
        if (factory == nullptr) return E_INVALIDARG;
        CriticalSectionGuard factoryGuard(factory->m_lock);
        return operation(*factory);
    });
}

HRESULT CZanDB4FaceDBMgr::AddThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                                IZanDB4FileCache* cache) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.AddThumbnailFromCache(id, cache); });
}

HRESULT CZanDB4FaceDBMgr::AddThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                       const void* data, uint32_t size) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.AddThumbnail(id, data, size); });
}

HRESULT CZanDB4FaceDBMgr::UpdateThumbnailFromCache(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                                   IZanDB4FileCache* cache) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.UpdateThumbnailFromCache(id, cache); });
}

HRESULT CZanDB4FaceDBMgr::UpdateThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                          const void* data, uint32_t size) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.UpdateThumbnail(id, data, size); });
}

HRESULT CZanDB4FaceDBMgr::RemoveThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.DeleteThumbnail(id); });
}

HRESULT CZanDB4FaceDBMgr::GetThumbnail(uint64_t id, uint32_t kind, uint32_t type, BOOL forIndividual,
                                       IZanDB4FileCache** outCache) {
    return ThumbnailCall(id, kind, type, forIndividual,
                         [&](CSQLiteThumbDBFactory& factory) { return factory.GetThumbnail(id, outCache); });
}

HRESULT CZanDB4FaceDBMgr::RemoveAllThumbnails(uint32_t type, BOOL forIndividual) {
    // Type and family are checked before the lock is taken.
    CSQLiteThumbDBFactory* first = ThumbnailFactory(1, type, forIndividual);
    CSQLiteThumbDBFactory* second = ThumbnailFactory(2, type, forIndividual);
    if (first == nullptr || second == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        // Each factory takes its own lock for the walk.
        HRESULT firstResult = first->DeleteAllThumbnails();
        HRESULT secondResult = second->DeleteAllThumbnails();
        return firstResult == S_OK && secondResult == S_OK ? S_OK : E_FAIL;
    });
}

// ---------------------------------------------------- face feature points

CSQLiteFaceFeaturePointDBMgr* CZanDB4FaceDBMgr::FamilyOf(uint32_t type) const {
    if (type == CSQLiteFileBasicDB::kPerson) return m_stores.personPoints;
    if (type == CSQLiteFileBasicDB::kPet) return m_stores.petPoints;
    return nullptr;
}

HRESULT CZanDB4FaceDBMgr::SetFaceFeaturePoint(uint64_t faceId, uint32_t type, const void* data, uint32_t size,
                                              const SYSTEMTIME* date) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        bool known = FaceTableRows(catalogue).FaceExists(faceId, type) ||
                     (m_stores.staging != nullptr && m_stores.staging->HasFace(faceId, type) != 0);
        if (!known) return E_INVALIDARG;
        CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
        if (family == nullptr) return E_INVALIDARG;
        CSQLiteFaceFeaturePointDBFactory* working = family->Working();
        if (working == nullptr) return E_FAIL;
        // No date: 0, which stamps the moment of writing.
        int64_t packedDate = date == nullptr ? 0 : CZanTDateTime(*date).GetPacked();
        CriticalSectionGuard workingGuard(working->m_lock);
        return working->InsertFeaturePoint(faceId, data, size, kRawFormat, packedDate);
    });
}

HRESULT CZanDB4FaceDBMgr::RemoveFaceFeaturePoint(uint64_t faceId, uint32_t type) {
    return m_groups.RemoveFaceFeaturePoint(faceId, type);
}

HRESULT CZanDB4FaceDBMgr::GetFaceFeaturePoint(uint64_t faceId, uint32_t type, IZanDB4FaceFeaturePointData** outData) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
        if (family == nullptr) return E_INVALIDARG;
        CSQLiteFaceFeaturePointDBFactory* working = family->Working();
        if (working == nullptr) return E_FAIL;
        CriticalSectionGuard workingGuard(working->m_lock);
        HRESULT got = working->GetFeaturePoint(faceId, outData);
        if (got == S_OK) {
            (*outData)->SetFaceID(faceId);
            (*outData)->SetIndividualType(type);
        }
        return got;
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaceFeaturePointIDs(uint32_t type, CArray<uint64_t>* outIds, CArray<uint64_t>* outDates,
                                                 uint32_t /*reserved*/, uint32_t limit) {
    if (outIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
        if (family == nullptr) return E_INVALIDARG;
        CSQLiteFaceFeaturePointDBFactory* working = family->Working();
        if (working == nullptr) return E_FAIL;
        outIds->RemoveAll();
        if (outDates != nullptr) outDates->RemoveAll();
        CArray<int64_t> dates;
        HRESULT listed;
        {
            CriticalSectionGuard workingGuard(working->m_lock);
            listed = working->ListFeaturePoints(outIds, outDates == nullptr ? nullptr : &dates, limit);
        }
        if (outDates != nullptr)
            for (ptrdiff_t index = 0; index < dates.GetSize(); ++index)
                outDates->Add(static_cast<uint64_t>(dates.GetAt(index)));
        return listed;
    });
}

HRESULT CZanDB4FaceDBMgr::ReservedFaceOperation() { return S_OK; }

HRESULT CZanDB4FaceDBMgr::RemoveAllFaceFeaturePoints() {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        for (uint32_t type : {CSQLiteFileBasicDB::kPerson, CSQLiteFileBasicDB::kPet}) {
            CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
            if (family == nullptr) continue;
            CSQLiteFaceFeaturePointDBFactory* working = family->Working();
            if (working == nullptr) return E_INVALIDARG;
            CriticalSectionGuard workingGuard(working->m_lock);
            working->RemoveAllShards();
        }
        return S_OK;
    });
}

// ------------------------------------------------- feature point groups

HRESULT CZanDB4FaceDBMgr::CreateFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount,
                                                  uint64_t* outGroupId, uint32_t mergeCount) {
    return m_groups.CreateFeaturePointGroup(type, faceIds, itemCount, outGroupId, mergeCount);
}

HRESULT CZanDB4FaceDBMgr::UpdateGroupFeaturePoints(uint64_t featurePointId, uint32_t type, const void* const* data,
                                                   const uint32_t* sizes, uint32_t count) {
    return m_groups.UpdateGroupFeaturePoints(featurePointId, type, data, sizes, count);
}

HRESULT CZanDB4FaceDBMgr::UpdateGroupFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) {
    return m_groups.UpdateGroupFeaturePoint(id, type, data, size);
}

HRESULT CZanDB4FaceDBMgr::RemoveFeaturePointGroup(uint64_t groupId, uint32_t type) {
    return m_groups.RemoveFeaturePointGroup(groupId, type);
}

HRESULT CZanDB4FaceDBMgr::AddGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) {
    return GroupThumbnailCall(m_stores, kind, [&](CSQLiteThumbDBFactory& factory) { return factory.AddThumbnail(groupId, data, size); });
}

HRESULT CZanDB4FaceDBMgr::UpdateGroupThumbnail(uint64_t groupId, uint32_t kind, const void* data, uint32_t size) {
    return GroupThumbnailCall(m_stores, kind, [&](CSQLiteThumbDBFactory& factory) { return factory.UpdateThumbnail(groupId, data, size); });
}

HRESULT CZanDB4FaceDBMgr::RemoveGroupThumbnail(uint64_t groupId, uint32_t kind) {
    return m_groups.RemoveGroupThumbnail(groupId, kind);
}

HRESULT CZanDB4FaceDBMgr::GetGroupThumbnail(uint64_t groupId, uint32_t kind, IZanDB4FileCache** outCache) {
    return GroupThumbnailCall(m_stores, kind, [&](CSQLiteThumbDBFactory& factory) { return factory.GetThumbnail(groupId, outCache); });
}

HRESULT CZanDB4FaceDBMgr::GetFeaturePointGroup(uint64_t groupId, uint32_t type, IZanDB4FaceFeaturePointGroup** outGroup,
                                               uint32_t /*reserved*/) {
    return m_groups.GetFeaturePointGroup(groupId, type, outGroup);
}

HRESULT CZanDB4FaceDBMgr::GetFeaturePointGroupIDs(uint32_t type, CArray<uint64_t>* outGroupIds) {
    return m_groups.GetFeaturePointGroupIDs(type, outGroupIds);
}

HRESULT CZanDB4FaceDBMgr::GetFeaturePointGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>* outGroups) {
    return m_groups.GetFeaturePointGroups(type, outGroups);
}

// ---------------------------------------------- individual feature points

// A bad type or a missing family is E_FAIL for these, not E_INVALIDARG.
CSQLiteFaceFeaturePointDBFactory* CZanDB4FaceDBMgr::IndividualSetOf(uint32_t type) const {
    CSQLiteFaceFeaturePointDBMgr* family = FamilyOf(type);
    return family == nullptr ? nullptr : family->Individual();
}

HRESULT CZanDB4FaceDBMgr::AddIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data,
                                                     const uint32_t* sizes, uint32_t count) {
    if (data == nullptr || sizes == nullptr || count == 0) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteFaceFeaturePointDBFactory* individuals = IndividualSetOf(type);
        if (individuals == nullptr) return E_FAIL;
        CriticalSectionGuard individualGuard(individuals->m_lock);
        return individuals->InsertFeaturePoints(id, data, sizes, count);
    });
}

HRESULT CZanDB4FaceDBMgr::AddIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    return AddIndividualFeaturePoints(id, type, &data, &size, 1);
}

HRESULT CZanDB4FaceDBMgr::UpdateIndividualFeaturePoints(uint64_t id, uint32_t type, const void* const* data,
                                                        const uint32_t* sizes, uint32_t count) {
    return m_groups.UpdateIndividualFeaturePoints(id, type, data, sizes, count);
}

HRESULT CZanDB4FaceDBMgr::UpdateIndividualFeaturePoint(uint64_t id, uint32_t type, const void* data, uint32_t size) {
    // The same function as UpdateGroupFeaturePoint.
    return m_groups.UpdateGroupFeaturePoint(id, type, data, size);
}

HRESULT CZanDB4FaceDBMgr::RemoveIndividualFeaturePoint(uint64_t id, uint32_t type) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteFaceFeaturePointDBFactory* individuals = IndividualSetOf(type);
        if (individuals == nullptr) return E_FAIL;
        CriticalSectionGuard individualGuard(individuals->m_lock);
        return individuals->RemoveFeaturePoint(id);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualFeaturePoint(uint64_t id, uint32_t type, IZanDB4FaceFeaturePointData** outData) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB&) {
        CSQLiteFaceFeaturePointDBFactory* individuals = IndividualSetOf(type);
        if (individuals == nullptr) return E_FAIL;
        CriticalSectionGuard individualGuard(individuals->m_lock);
        return individuals->GetFeaturePoint(id, outData);
    });
}
