// FeaturePointGroupRows: feature point groups in the catalogue.
#include "faces/feature_point_group_rows.h"

#include "faces/face_rows.h"
#include "faces/face_tables.h"
#include "faces/feature_point_group.h"
#include "faces/feature_point_group_tables.h"
#include "platform/clock.h"
#include "storage/statement.h"

using zandb4::Statement;
using namespace feature_point_group_tables;
using face_tables::ForType;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

HRESULT RunToDone(Statement& statement) {
    int step = statement.Step();
    int finalized = statement.Finalize();
    return step == SQLITE_DONE && finalized == SQLITE_OK ? S_OK : E_FAIL;
}

}  // namespace

HRESULT FeaturePointGroupRows::ReadFeaturePointGroupRow(IZanDB4FaceFeaturePointGroup** outGroup, const Statement& row,
                                                        uint32_t type) {
    if (outGroup == nullptr) return E_INVALIDARG;
    auto* group = new CZanDB4FaceFeaturePointGroup();
    group->SetID(static_cast<uint64_t>(row.ColumnInt64(kGroupId)));
    group->SetFaceID(static_cast<uint64_t>(row.ColumnInt64(kFaceId)));
    group->SetIndividualType(type);
    group->SetFeaturePointID(static_cast<uint64_t>(row.ColumnInt64(kFeaturePointId)));
    CZanTDateTime created(row.ColumnInt64(kCreateDate));
    group->SetCreateDate(&created.m_time);
    group->SetStore(&m_store);
    *outGroup = group;
    return S_OK;
}

HRESULT FeaturePointGroupRows::ListGroupFaceIDs(std::vector<uint64_t>& outFaceIds, uint64_t groupId, uint32_t type) {
    outFaceIds.clear();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupFaceIds, kSelectPetGroupFaceIds));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(groupId));
    while (select.Step() == SQLITE_ROW) outFaceIds.push_back(static_cast<uint64_t>(select.ColumnInt64(0)));
    return outFaceIds.empty() ? E_FAIL : S_OK;
}

HRESULT FeaturePointGroupRows::ListGroupFaces(std::vector<IZanDB4FaceDBRecord*>& outFaces, uint64_t groupId,
                                              uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupFaces, kSelectPetGroupFaces));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(groupId));
    while (select.Step() == SQLITE_ROW) {
        IZanDB4FaceDBRecord* face = nullptr;
        if (FaceTableRows::ReadFaceRow(&face, select, type, 0) == S_OK && face != nullptr) outFaces.push_back(face);
    }
    return outFaces.empty() ? E_FAIL : S_OK;
}

uint32_t FeaturePointGroupRows::CountGroupItems(uint64_t groupId, uint32_t type) {
    if (!IsIndividualType(type)) return 0;
    Statement count(m_store.m_db, ForType(type, kCountPersonGroupItems, kCountPetGroupItems));
    if (!count.IsPrepared()) return 0;
    count.BindInt64(1, static_cast<int64_t>(groupId));
    return count.Step() == SQLITE_ROW ? static_cast<uint32_t>(count.ColumnInt64(0)) : 0;
}

uint32_t FeaturePointGroupRows::GroupFaceCount(uint64_t groupId, uint32_t type) {
    if (!IsIndividualType(type)) return 0;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupFaceCount, kSelectPetGroupFaceCount));
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(groupId));
    return select.Step() == SQLITE_ROW ? static_cast<uint32_t>(select.ColumnInt64(0)) : 0;
}

HRESULT FeaturePointGroupRows::InsertFeaturePointGroup(uint32_t type, const uint64_t* faceIds, uint32_t itemCount,
                                                       uint64_t firstFaceId, uint64_t featurePointId,
                                                       uint64_t* outGroupId) {
    if (outGroupId != nullptr) *outGroupId = 0;
    if (itemCount == 0 || faceIds == nullptr || !IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    uint64_t groupId = 0;
    HRESULT drawn = m_store.NewID(GroupIdType(type), &groupId);
    if (drawn != S_OK) return drawn;
    {
        Statement insert(m_store.m_db, ForType(type, kInsertPersonGroup, kInsertPetGroup));
        HRESULT inserted = E_FAIL;
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(groupId));
            insert.BindInt64(2, static_cast<int64_t>(featurePointId));
            insert.BindInt64(3, static_cast<int64_t>(firstFaceId));
            insert.BindInt64(4, CZanTDateTime(zandb4::platform::GetSystemTime()).GetPacked());
            insert.BindInt64(5, itemCount);
            inserted = RunToDone(insert);
        }
        if (inserted != S_OK) {
            m_store.PoolID(groupId, GroupIdType(type));
            return E_FAIL;
        }
    }
    if (outGroupId != nullptr) *outGroupId = groupId;
    // A face with an item row already (group 0 included) fails here, as
    // face_id is the key: a face joins a second group only once its item
    // row is gone. Nothing is undone.
    for (uint32_t index = 0; index < itemCount; ++index) {
        Statement item(m_store.m_db, ForType(type, kInsertPersonGroupItem, kInsertPetGroupItem));
        if (!item.IsPrepared()) return E_FAIL;
        item.BindInt64(1, static_cast<int64_t>(faceIds[index]));
        item.BindInt64(2, static_cast<int64_t>(featurePointId));
        item.BindInt64(3, static_cast<int64_t>(groupId));
        if (RunToDone(item) != S_OK) return E_FAIL;
    }
    return S_OK;
}

HRESULT FeaturePointGroupRows::LoadFeaturePointGroup(uint64_t groupId, uint32_t type,
                                                     IZanDB4FaceFeaturePointGroup** outGroup) {
    if (outGroup == nullptr) return E_INVALIDARG;
    *outGroup = nullptr;
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroup, kSelectPetGroup));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(groupId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadFeaturePointGroupRow(outGroup, select, type);
}

HRESULT FeaturePointGroupRows::ListGroupIDs(uint32_t type, CArray<uint64_t>& outGroupIds) {
    outGroupIds.RemoveAll();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupIdsNewestFirst, kSelectPetGroupIdsNewestFirst));
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) outGroupIds.Add(static_cast<uint64_t>(select.ColumnInt64(0)));
    return outGroupIds.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT FeaturePointGroupRows::ListGroups(uint32_t type, CArray<IZanDB4FaceFeaturePointGroup*>& outGroups) {
    outGroups.RemoveAll();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupsNewestFirst, kSelectPetGroupsNewestFirst));
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) {
        IZanDB4FaceFeaturePointGroup* group = nullptr;
        if (ReadFeaturePointGroupRow(&group, select, type) != S_OK) {
            for (ptrdiff_t index = 0; index < outGroups.GetSize(); ++index) outGroups.GetAt(index)->Release();
            outGroups.RemoveAll();
            return E_FAIL;
        }
        outGroups.Add(group);
    }
    return outGroups.IsEmpty() ? E_FAIL : S_OK;
}

bool FeaturePointGroupRows::FindGroupOfFace(uint64_t faceId, uint32_t type, uint64_t& outGroupId) {
    outGroupId = 0;
    if (!IsIndividualType(type)) return false;
    Statement select(m_store.m_db, ForType(type, kSelectPersonGroupItemOfFace, kSelectPetGroupItemOfFace));
    if (!select.IsPrepared()) return false;
    select.BindInt64(1, static_cast<int64_t>(faceId));
    if (select.Step() != SQLITE_ROW) return false;
    outGroupId = static_cast<uint64_t>(select.ColumnInt64(kItemGroupId));
    return true;
}

HRESULT FeaturePointGroupRows::DeleteItemOfFace(uint64_t faceId, uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, ForType(type, kDeletePersonGroupItemOfFace, kDeletePetGroupItemOfFace));
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(faceId));
    return RunToDone(remove);
}

HRESULT FeaturePointGroupRows::DeleteGroupKeepingItems(uint64_t groupId, uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    // No BeginTransaction here: the removal has always relied on the
    // transaction an earlier write opened.
    {
        Statement remove(m_store.m_db, ForType(type, kDeletePersonGroup, kDeletePetGroup));
        if (!remove.IsPrepared()) return E_FAIL;
        remove.BindInt64(1, static_cast<int64_t>(groupId));
        HRESULT removed = RunToDone(remove);
        if (removed != S_OK) return removed;
    }
    Statement release(m_store.m_db, ForType(type, kReleasePersonGroupItems, kReleasePetGroupItems));
    if (!release.IsPrepared()) return E_FAIL;
    release.BindInt64(1, static_cast<int64_t>(groupId));
    return RunToDone(release);
}
