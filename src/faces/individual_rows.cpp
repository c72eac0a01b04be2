// IndividualRows: persons, pets and groups of individuals in the catalogue.
#include "faces/individual_rows.h"

#include <vector>

#include "faces/face_tables.h"
#include "faces/individual_tables.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "platform/clock.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;
using namespace individual_tables;
using face_tables::ForType;

namespace {

bool IsIndividualType(uint32_t type) { return type == CSQLiteFileBasicDB::kPerson || type == CSQLiteFileBasicDB::kPet; }

const WCHAR* OrderSuffix(uint32_t order) {
    switch (order) {
        case IndividualRows::kByName: return kOrderByName;
        case IndividualRows::kByRegistration: return kOrderByRegisterDate;
        case IndividualRows::kByCustomIndex: return kOrderByCustomIndex;
        default: return u"";
    }
}

// What the writes of an individual take from its record. An empty name or
// email is stored as an empty text: the answers of the getters are not
// looked at.
struct IndividualFields {
    explicit IndividualFields(IZanDB4IndividualDBRecord& record) {
        record.GetName(name);
        record.GetEmail(email);
        record.GetBirthday(&birthday.m_time);
        record.GetAttributes(&attributes);
        record.GetRecommend(&recommend);
    }
    CZanTString name;
    CZanTString email;
    CZanTDateTime birthday;
    uint32_t attributes = 0;
    uint32_t recommend = 0;
};

// Runs a prepared write to its end: S_OK when the step finished and the
// finalize was clean.
HRESULT RunToDone(Statement& statement) {
    int step = statement.Step();
    int finalized = statement.Finalize();
    return step == SQLITE_DONE && finalized == SQLITE_OK ? S_OK : E_FAIL;
}

}  // namespace

HRESULT IndividualRows::ReadIndividualRow(IZanDB4IndividualDBRecord** outRecord, const Statement& row, uint32_t type) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    ComPtr<IZanDB4IndividualDBRecord> individual;
    HRESULT made =
        zandb4::CreateInstance(IID_IZanDB4IndividualDBRecord, reinterpret_cast<void**>(individual.Receive()));
    if (made != S_OK) return made;
    individual->SetID(static_cast<uint64_t>(row.ColumnInt64(kId)));
    individual->SetIndividualType(type);
    individual->SetName(row.ColumnText(kName));
    individual->SetEmail(row.ColumnText(kEmail));
    CZanTDateTime birthday(row.ColumnInt64(kBirthday));
    individual->SetBirthday(&birthday.m_time);
    individual->SetAttributes(static_cast<uint32_t>(row.ColumnInt64(kAttributes)));
    individual->SetRecommend(static_cast<uint32_t>(row.ColumnInt64(kRecommend)));
    // NULL until the first recount, and read as 0.
    individual->SetFileCount(static_cast<uint32_t>(row.ColumnInt64(kFileCount)));
    *outRecord = individual.Detach();
    return S_OK;
}

HRESULT IndividualRows::ReadFaceGroupRow(IZanDB4IndividualGroupDBRecord** outRecord, const Statement& row) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    ComPtr<IZanDB4IndividualGroupDBRecord> group;
    HRESULT made =
        zandb4::CreateInstance(IID_IZanDB4IndividualGroupDBRecord, reinterpret_cast<void**>(group.Receive()));
    if (made != S_OK) return made;
    group->SetID(static_cast<uint64_t>(row.ColumnInt64(kGroupId)));
    group->SetType(static_cast<uint32_t>(row.ColumnInt64(kGroupType)));
    group->SetName(row.ColumnText(kGroupName));
    group->SetDescription(row.ColumnText(kGroupDescription));
    *outRecord = group.Detach();
    return S_OK;
}

HRESULT IndividualRows::InsertIndividual(uint64_t id, IZanDB4IndividualDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    uint32_t type = 0;
    record->GetIndividualType(&type);
    if (!IsIndividualType(type)) return E_INVALIDARG;
    IndividualFields fields(*record);
    m_store.BeginTransaction();
    Statement insert(m_store.m_db, ForType(type, kInsertPerson, kInsertPet));
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(id));
    insert.BindText(2, fields.name);
    insert.BindText(3, fields.email);
    insert.BindInt64(4, fields.birthday.GetPacked());
    insert.BindInt64(5, CZanTDateTime(zandb4::platform::GetSystemTime()).GetPacked());
    insert.BindInt64(6, 0);
    insert.BindInt64(7, fields.attributes);
    insert.BindInt64(8, fields.recommend);
    return RunToDone(insert);
}

HRESULT IndividualRows::UpdateIndividual(uint64_t id, IZanDB4IndividualDBRecord* record, uint32_t type) {
    if (record == nullptr || !IsIndividualType(type)) return E_INVALIDARG;
    IndividualFields fields(*record);
    m_store.BeginTransaction();
    Statement update(m_store.m_db, ForType(type, kUpdatePerson, kUpdatePet));
    if (!update.IsPrepared()) return E_FAIL;
    update.BindText(1, fields.name);
    update.BindText(2, fields.email);
    update.BindInt64(3, fields.birthday.GetPacked());
    update.BindInt64(4, fields.attributes);
    update.BindInt64(5, fields.recommend);
    update.BindInt64(6, static_cast<int64_t>(id));
    return RunToDone(update);
}

HRESULT IndividualRows::DeleteIndividual(uint64_t id, uint32_t type) {
    // Two calls, as the cascade has always made them; the second opens
    // nothing.
    m_store.BeginTransaction();
    m_store.BeginTransaction();
    if (!IsIndividualType(type)) return E_INVALIDARG;

    // The faces stay, given back to nobody. A failed prepare skips the
    // recount note too; the update's own result is not looked at.
    {
        Statement unassign(m_store.m_db, ForType(type, face_tables::kUnassignPersonFaces, face_tables::kUnassignPetFaces));
        if (unassign.IsPrepared()) {
            unassign.BindInt64(1, static_cast<int64_t>(id));
            unassign.Step();
            unassign.Finalize();
            m_store.NoteIndividualForRecount(id, type);
        }
    }

    HRESULT remembered = S_OK;
    m_store.BeginTransaction();
    {
        Statement items(m_store.m_db, ForType(type, kDeletePersonGroupItems, kDeletePetGroupItems));
        if (!items.IsPrepared()) {
            remembered = E_FAIL;
        } else {
            items.BindInt64(1, static_cast<int64_t>(id));
            if (RunToDone(items) != S_OK) remembered = E_FAIL;
        }
    }

    Statement remove(m_store.m_db, ForType(type, kDeletePerson, kDeletePet));
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(id));
    bool gone = remove.Step() == SQLITE_DONE;
    if (!gone) remembered = E_FAIL;
    if (gone && remembered == S_OK)
        m_store.PoolID(id, type == CSQLiteFileBasicDB::kPerson ? CSQLiteFileBasicDB::kPersonIdType
                                                               : CSQLiteFileBasicDB::kPetIdType);
    // The recount noted above would write a file_count into a row that is
    // gone; the note goes again, whatever became of the delete.
    m_store.ForgetIndividualRecount(id, type);
    return remove.Finalize() != SQLITE_OK ? E_FAIL : remembered;
}

HRESULT IndividualRows::LoadIndividual(uint64_t id, uint32_t type, IZanDB4IndividualDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersonById, kSelectPetById));
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadIndividualRow(outRecord, select, type);
}

HRESULT IndividualRows::List(const WCHAR* sql, const uint64_t* bound, uint32_t type,
                             CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order) {
    outRecords.RemoveAll();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    CZanTString text(sql);
    text += OrderSuffix(order);
    Statement select(m_store.m_db, text.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    if (bound != nullptr) select.BindInt64(1, static_cast<int64_t>(*bound));
    // In the user's order, custom_index 0 means "no place": SQL sorts those
    // first, but they belong after everyone placed, in registration order.
    std::vector<IZanDB4IndividualDBRecord*> unplaced;
    while (select.Step() == SQLITE_ROW) {
        IZanDB4IndividualDBRecord* individual = nullptr;
        if (ReadIndividualRow(&individual, select, type) != S_OK || individual == nullptr) continue;
        if (order == kByCustomIndex && select.ColumnInt64(kCustomIndex) == 0)
            unplaced.push_back(individual);
        else
            outRecords.Add(individual);
    }
    for (IZanDB4IndividualDBRecord* individual : unplaced) outRecords.Add(individual);
    return outRecords.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT IndividualRows::ListIndividuals(uint32_t type, CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order) {
    return List(ForType(type, kSelectPersons, kSelectPets), nullptr, type, outRecords, order);
}

HRESULT IndividualRows::ListIndividualsInAlbum(uint64_t albumId, uint32_t type,
                                               CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order) {
    return List(ForType(type, kSelectPersonsInAlbum, kSelectPetsInAlbum), &albumId, type, outRecords, order);
}

HRESULT IndividualRows::ListIndividualsInFaceGroup(uint64_t groupId, uint32_t type,
                                                   CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order) {
    return List(ForType(type, kSelectPersonsInFaceGroup, kSelectPetsInFaceGroup), &groupId, type, outRecords,
                order);
}

HRESULT IndividualRows::ListIndividualsInFile(uint64_t fileId, uint32_t type,
                                              CArray<IZanDB4IndividualDBRecord*>& outRecords, uint32_t order) {
    return List(ForType(type, kSelectPersonsInFile, kSelectPetsInFile), &fileId, type, outRecords, order);
}

HRESULT IndividualRows::ListIndividualIDs(uint32_t type, CArray<uint64_t>& outIds) {
    outIds.RemoveAll();
    if (!IsIndividualType(type)) return E_INVALIDARG;
    Statement select(m_store.m_db, ForType(type, kSelectPersons, kSelectPets));
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) outIds.Add(static_cast<uint64_t>(select.ColumnInt64(kId)));
    return outIds.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT IndividualRows::LoadIndividualGroupIDs(std::set<uint64_t>& outGroupIds, uint64_t id, uint32_t type) {
    outGroupIds.clear();
    if (type == CSQLiteFileBasicDB::kPerson) {
        // The person read has never got past its prepare: it answers at once
        // and leaves the statement open on the connection. The store takes
        // it over, so that the connection can still close.
        Statement select(m_store.m_db, kSelectPersonGroupItems);
        m_store.LeaveStatementOpen(select.Abandon());
        return E_INVALIDARG;
    }
    if (type != CSQLiteFileBasicDB::kPet) return E_INVALIDARG;
    Statement select(m_store.m_db, kSelectPetGroupItems);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    while (select.Step() == SQLITE_ROW)
        outGroupIds.insert(static_cast<uint64_t>(select.ColumnInt64(kGroupItemGroupId)));
    if (select.Finalize() != SQLITE_OK) return E_FAIL;
    return outGroupIds.empty() ? E_FAIL : S_OK;
}

HRESULT IndividualRows::SetIndividualFileCount(uint64_t id, uint32_t type, uint32_t count) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    Statement update(m_store.m_db, ForType(type, kUpdatePersonFileCount, kUpdatePetFileCount));
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, count);
    update.BindInt64(2, static_cast<int64_t>(id));
    return RunToDone(update);
}

HRESULT IndividualRows::ClearCustomOrder(uint32_t type) {
    if (!IsIndividualType(type)) return E_INVALIDARG;
    m_store.BeginTransaction();
    Statement clear(m_store.m_db, ForType(type, kClearPersonCustomIndexes, kClearPetCustomIndexes));
    if (!clear.IsPrepared()) return E_FAIL;
    return RunToDone(clear);
}

HRESULT IndividualRows::SetCustomOrder(uint32_t type, const CArray<IZanDB4IndividualDBRecord*>& records) {
    HRESULT cleared = ClearCustomOrder(type);
    if (cleared != S_OK) return cleared;
    if (records.IsEmpty()) return S_OK;
    m_store.BeginTransaction();
    HRESULT answer = S_OK;
    int64_t place = 1;
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) {
        IZanDB4IndividualDBRecord* record = records.GetAt(index);
        if (record == nullptr) continue;
        uint64_t id = 0;
        if (record->GetID(&id) != S_OK) continue;
        Statement update(m_store.m_db, ForType(type, kUpdatePersonCustomIndex, kUpdatePetCustomIndex));
        if (!update.IsPrepared()) {
            answer = E_FAIL;
            continue;
        }
        // The number is taken before the update runs: a failed update
        // leaves a gap.
        update.BindInt64(1, place++);
        update.BindInt64(2, static_cast<int64_t>(id));
        if (RunToDone(update) != S_OK) answer = E_FAIL;
    }
    return answer;
}

HRESULT IndividualRows::LoadFaceGroup(uint64_t groupId, IZanDB4IndividualGroupDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    Statement select(m_store.m_db, kSelectFaceGroupById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(groupId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadFaceGroupRow(outRecord, select);
}
