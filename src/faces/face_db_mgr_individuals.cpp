// CZanDB4FaceDBMgr: persons and pets, and user groups of them.
#include "catalogue/file_basic_db.h"
#include "faces/face_db_mgr.h"
#include "faces/face_tables.h"
#include "faces/individual_rows.h"
#include "faces/individual_tables.h"
#include "storage/locked_call.h"
#include "storage/statement.h"

using zandb4::LockedCall;
using zandb4::Statement;
using namespace individual_tables;
using face_tables::ForType;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

uint32_t IndividualIdType(uint32_t type) {
    return type == CSQLiteFileBasicDB::kPerson ? CSQLiteFileBasicDB::kPersonIdType : CSQLiteFileBasicDB::kPetIdType;
}

// How many fresh ids AddIndividual tests before it takes one untested.
constexpr int kIdTests = 100;

// Column 0 of every row of sql (bound to id unless null) into the emptied
// array; E_FAIL when it ends empty.
HRESULT ReadIds(sqlite3* db, const WCHAR* sql, const uint64_t* id, CArray<uint64_t>& outIds) {
    outIds.RemoveAll();
    Statement select(db, sql);
    if (!select.IsPrepared()) return E_FAIL;
    if (id != nullptr) select.BindInt64(1, static_cast<int64_t>(*id));
    while (select.Step() == SQLITE_ROW) outIds.Add(static_cast<uint64_t>(select.ColumnInt64(0)));
    return outIds.IsEmpty() ? E_FAIL : S_OK;
}

}  // namespace

HRESULT CZanDB4FaceDBMgr::AddIndividual(IZanDB4IndividualDBRecord* individual, uint64_t* outId) {
    if (outId != nullptr) *outId = 0;
    if (individual == nullptr) return E_INVALIDARG;
    uint32_t type = 0;
    individual->GetIndividualType(&type);
    if (!IsIndividualType(type)) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        const uint32_t idType = IndividualIdType(type);
        uint64_t id = 0;
        HRESULT drawn = catalogue.NewID(idType, &id);
        if (drawn != S_OK) return drawn;
        // The pool of individuals also receives the numbers of removed faces
        // and each removed individual twice: a drawn id may be taken. After
        // 100 tested draws the next one is taken as it comes.
        bool inUse = catalogue.IsIDInUse(id, idType);
        for (int draws = 0; inUse && draws < kIdTests; ++draws) {
            drawn = catalogue.NewID(idType, &id);
            if (drawn != S_OK) return drawn;
            inUse = catalogue.IsIDInUse(id, idType);
        }
        if (inUse) {
            drawn = catalogue.NewID(idType, &id);
            if (drawn != S_OK) return drawn;
        }
        HRESULT inserted = IndividualRows(catalogue).InsertIndividual(id, individual);
        if (inserted != S_OK) {
            catalogue.PoolID(id, idType);
            return inserted;
        }
        individual->SetID(id);
        if (outId != nullptr) *outId = id;
        return S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::UpdateIndividual(uint64_t id, IZanDB4IndividualDBRecord* individual, uint32_t type) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).UpdateIndividual(id, individual, type);
    });
}

HRESULT CZanDB4FaceDBMgr::RemoveIndividual(uint64_t id, uint32_t type) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        HRESULT deleted = IndividualRows(catalogue).DeleteIndividual(id, type);
        if (deleted != S_OK) return deleted;
        // A second time after the store's own: the pool holds the id twice,
        // as catalogues have always had it.
        catalogue.PoolID(id, IndividualIdType(type));
        RemoveIndividualFeaturePoint(id, type);
        RemoveThumbnail(id, 2, type, 1);
        RemoveThumbnail(id, 1, type, 1);
        return deleted;
    });
}

// A bad type answers E_INVALIDARG's value as if it were the count, where
// GetFaceCount answers 0; applications see both, and both stay.
uint32_t CZanDB4FaceDBMgr::GetIndividualCount(uint32_t type) {
    return LockedCall(m_stores.catalogue, 0u, [&](CSQLiteFileBasicDB& catalogue) -> uint32_t {
        if (!IsIndividualType(type)) return static_cast<uint32_t>(E_INVALIDARG);
        Statement count(catalogue.m_db, ForType(type, kCountPersons, kCountPets));
        if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
        return static_cast<uint32_t>(count.ColumnInt64(0));
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividual(uint64_t id, uint32_t type, IZanDB4IndividualDBRecord** outIndividual) {
    if (outIndividual == nullptr) return E_INVALIDARG;
    *outIndividual = nullptr;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).LoadIndividual(id, type, outIndividual);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividuals(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                                         uint32_t order) {
    if (outIndividuals == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ListIndividuals(type, *outIndividuals, order);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualIDs(uint32_t type, CArray<uint64_t>* outIds) {
    if (outIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ListIndividualIDs(type, *outIds);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualsInFile(uint64_t fileId, uint32_t type,
                                               CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) {
    if (outIndividuals == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ListIndividualsInFile(fileId, type, *outIndividuals, order);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualsInAlbum(uint64_t albumId, uint32_t type,
                                                CArray<IZanDB4IndividualDBRecord*>* outIndividuals, uint32_t order) {
    if (outIndividuals == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ListIndividualsInAlbum(albumId, type, *outIndividuals, order);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualIDsInAlbum(uint64_t albumId, uint32_t type, CArray<uint64_t>* outIds) {
    if (outIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        return ReadIds(catalogue.m_db, ForType(type, kSelectPersonsInAlbum, kSelectPetsInAlbum), &albumId, *outIds);
    });
}

HRESULT CZanDB4FaceDBMgr::GetIndividualsInFaceGroup(uint64_t groupId, uint32_t type,
                                                    CArray<IZanDB4IndividualDBRecord*>* outIndividuals,
                                                    uint32_t order) {
    if (outIndividuals == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ListIndividualsInFaceGroup(groupId, type, *outIndividuals, order);
    });
}

// Its statements never prepare (see individual_tables.h): always E_FAIL with
// the array emptied.
HRESULT CZanDB4FaceDBMgr::GetIndividualIDsInFaceGroup(uint64_t groupId, uint32_t type, CArray<uint64_t>* outIds) {
    if (outIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (!IsIndividualType(type)) return E_INVALIDARG;
        return ReadIds(catalogue.m_db, ForType(type, kSelectPersonIdsInFaceGroup, kSelectPetIdsInFaceGroup),
                       &groupId, *outIds);
    });
}

HRESULT CZanDB4FaceDBMgr::SetCustomOrder(uint32_t type, CArray<IZanDB4IndividualDBRecord*>* individuals) {
    if (individuals == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).SetCustomOrder(type, *individuals);
    });
}

HRESULT CZanDB4FaceDBMgr::ClearCustomOrder(uint32_t type) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).ClearCustomOrder(type);
    });
}

HRESULT CZanDB4FaceDBMgr::AddFaceGroup(IZanDB4IndividualGroupDBRecord* group, uint64_t* outGroupId) {
    if (outGroupId != nullptr) *outGroupId = 0;
    if (group == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        uint64_t groupId = 0;
        HRESULT drawn = catalogue.NewID(CSQLiteFileBasicDB::kFaceGroupIdType, &groupId);
        if (drawn != S_OK) return drawn;
        uint32_t groupType = 0;
        CZanTString name;
        CZanTString description;
        group->GetType(&groupType);
        group->GetName(name);
        group->GetDescription(description);
        catalogue.BeginTransaction();
        Statement insert(catalogue.m_db, kInsertFaceGroup);
        HRESULT inserted = E_FAIL;
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(groupId));
            insert.BindInt64(2, groupType);
            insert.BindText(3, name);
            insert.BindText(4, description);
            inserted = zandb4::StepToDone(insert);
        }
        if (inserted != S_OK) {
            catalogue.PoolID(groupId, CSQLiteFileBasicDB::kFaceGroupIdType);
            return inserted;
        }
        group->SetID(groupId);
        if (outGroupId != nullptr) *outGroupId = groupId;
        return S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::UpdateFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord* group) {
    if (group == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        uint32_t groupType = 0;
        CZanTString name;
        CZanTString description;
        group->GetType(&groupType);
        group->GetName(name);
        group->GetDescription(description);
        catalogue.BeginTransaction();
        Statement update(catalogue.m_db, kUpdateFaceGroup);
        if (!update.IsPrepared()) return E_FAIL;
        update.BindInt64(1, groupType);
        update.BindText(2, name);
        update.BindText(3, description);
        update.BindInt64(4, static_cast<int64_t>(groupId));
        return zandb4::StepToDone(update);
    });
}

// The group items that name the group stay behind.
HRESULT CZanDB4FaceDBMgr::RemoveFaceGroup(uint64_t groupId) {
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        catalogue.BeginTransaction();
        Statement remove(catalogue.m_db, kDeleteFaceGroup);
        if (!remove.IsPrepared()) return E_FAIL;
        remove.BindInt64(1, static_cast<int64_t>(groupId));
        HRESULT removed = zandb4::StepToDone(remove);
        if (removed == S_OK) catalogue.PoolID(groupId, CSQLiteFileBasicDB::kFaceGroupIdType);
        return removed;
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord** outGroup) {
    if (outGroup == nullptr) return E_INVALIDARG;
    *outGroup = nullptr;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return IndividualRows(catalogue).LoadFaceGroup(groupId, outGroup);
    });
}

uint32_t CZanDB4FaceDBMgr::GetFaceGroupCount() {
    return LockedCall(m_stores.catalogue, 0u, [&](CSQLiteFileBasicDB& catalogue) -> uint32_t {
        Statement count(catalogue.m_db, kCountFaceGroups);
        if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
        return static_cast<uint32_t>(count.ColumnInt64(0));
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaceGroups(CArray<IZanDB4IndividualGroupDBRecord*>* outGroups) {
    if (outGroups == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        outGroups->RemoveAll();
        Statement select(catalogue.m_db, kSelectFaceGroups);
        if (!select.IsPrepared()) return E_FAIL;
        while (select.Step() == SQLITE_ROW) {
            IZanDB4IndividualGroupDBRecord* group = nullptr;
            if (IndividualRows::ReadFaceGroupRow(&group, select) == S_OK && group != nullptr) outGroups->Add(group);
        }
        return outGroups->IsEmpty() ? E_FAIL : S_OK;
    });
}

HRESULT CZanDB4FaceDBMgr::GetFaceGroupIDs(CArray<uint64_t>* outGroupIds) {
    if (outGroupIds == nullptr) return E_INVALIDARG;
    return LockedCall(m_stores.catalogue, E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return ReadIds(catalogue.m_db, kSelectFaceGroups, nullptr, *outGroupIds);
    });
}
