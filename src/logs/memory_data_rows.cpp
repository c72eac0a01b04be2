// MemoryDataRows: memory_data rows to records and back.
#include "logs/memory_data_rows.h"

#include "frame/com_ptr.h"
#include "logs/mem_record.h"
#include "logs/memory_data_table.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

// The prefix search that mode 2 of QueryRecords was meant to run. "?*" makes
// LIMIT the right operand of a multiplication, so the text never prepares
// and mode 2 always fails. Kept as it is: callers know mode 2 as a failure
// and use GetRecord.
constexpr WCHAR kSelectByConditionPrefix[] =
    u"SELECT * FROM memory_data WHERE mem_type=? and mem_condition LIKE ?* LIMIT 1";

constexpr uint32_t kQueryByKey = 1;
constexpr uint32_t kQueryByConditionPrefix = 2;

void BindKey(Statement& statement, int first, uint32_t type, const CZanTString& condition) {
    statement.BindInt64(first, static_cast<int64_t>(type));
    statement.BindText(first + 1, condition);
}

// A record from the current row of "SELECT * FROM memory_data", made by its
// class (the factory does not make memory records) with one reference.
HRESULT MemRecordFromRow(const Statement* row, IZanDB4MemRecord** outRecord) {
    if (row == nullptr || outRecord == nullptr) return E_INVALIDARG;
    uint64_t id = static_cast<uint64_t>(row->ColumnInt64(memory_data_table::kMemId));
    uint32_t type = static_cast<uint32_t>(row->ColumnInt64(memory_data_table::kMemType));
    CZanTString condition = row->ColumnText(memory_data_table::kMemCondition);
    int size = row->ColumnBytes(memory_data_table::kMemDate);
    const void* data = size != 0 ? row->ColumnBlob(memory_data_table::kMemDate) : nullptr;
    ComPtr<IZanDB4MemRecord> record = ComPtr<IZanDB4MemRecord>::Adopt(new CZanDB4MemRecord());
    record->SetID(id);
    record->SetType(type);
    record->SetCondition(condition);
    HRESULT copied = record->SetData(data, static_cast<uint32_t>(size));
    if (copied != S_OK) return copied;
    *outRecord = record.Detach();
    return S_OK;
}

}  // namespace

HRESULT MemoryDataRows::Insert(uint32_t type, const CZanTString& condition, const void* data, uint32_t size,
                               uint64_t* outId) {
    m_store.BeginTransaction();
    uint64_t id = 0;
    HRESULT drawn = m_store.NewID(memory_data_table::kIdType, &id);
    if (drawn != S_OK) return drawn;
    Statement insert(m_store.m_db, memory_data_table::kInsert);
    int step = SQLITE_MISUSE;
    if (insert.IsPrepared()) {
        insert.BindInt64(1, static_cast<int64_t>(id));
        BindKey(insert, 2, type, condition);
        insert.BindBlob(4, data, static_cast<int>(size));
        // A second entry of one key breaks memory_data_uidx here. There is no
        // replace: a caller that does not know whether the key exists asks
        // Exists and then updates.
        step = insert.Step();
    }
    if (insert.Finalize() != SQLITE_OK) return E_FAIL;
    if (outId != nullptr) *outId = id;
    return zandb4::ResultOfDoneStep(step);
}

HRESULT MemoryDataRows::UpdateDataByID(uint64_t id, const void* data, uint32_t size) {
    {
        Statement select(m_store.m_db, memory_data_table::kSelectById);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindInt64(1, static_cast<int64_t>(id));
        if (select.Step() != SQLITE_ROW) return E_FAIL;
    }
    m_store.BeginTransaction();
    Statement update(m_store.m_db, memory_data_table::kUpdateDataById);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindBlob(1, data, static_cast<int>(size));
    update.BindInt64(2, static_cast<int64_t>(id));
    return zandb4::StepToDone(update);
}

HRESULT MemoryDataRows::UpdateData(uint32_t type, const CZanTString& condition, const void* data, uint32_t size) {
    if (!Exists(type, condition)) return E_FAIL;
    m_store.BeginTransaction();
    Statement update(m_store.m_db, memory_data_table::kUpdateDataByKey);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindBlob(1, data, static_cast<int>(size));
    BindKey(update, 2, type, condition);
    return zandb4::StepToDone(update);
}

HRESULT MemoryDataRows::DeleteByID(uint64_t id) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, memory_data_table::kDeleteById);
    if (remove.IsPrepared()) remove.BindInt64(1, static_cast<int64_t>(id));
    return zandb4::StepToDone(remove);
}

HRESULT MemoryDataRows::DeleteData(uint32_t type, const CZanTString& condition) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, memory_data_table::kDeleteByKey);
    if (remove.IsPrepared()) BindKey(remove, 1, type, condition);
    return zandb4::StepToDone(remove);
}

HRESULT MemoryDataRows::DeleteByType(uint32_t type) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, memory_data_table::kDeleteByType);
    if (remove.IsPrepared()) remove.BindInt64(1, static_cast<int64_t>(type));
    return zandb4::StepToDone(remove);
}

HRESULT MemoryDataRows::DeleteAll() {
    m_store.BeginTransaction();
    return zandb4::ResultOf(zandb4::Exec(m_store.m_db, memory_data_table::kDeleteAll));
}

HRESULT MemoryDataRows::GetRecord(uint32_t type, const CZanTString& condition, IZanDB4MemRecord** outRecord) {
    *outRecord = nullptr;
    Statement select(m_store.m_db, memory_data_table::kSelectByKey);
    if (!select.IsPrepared()) return E_FAIL;
    BindKey(select, 1, type, condition);
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4MemRecord> record;
    HRESULT read = MemRecordFromRow(&select, record.Receive());
    if (read != S_OK) return read;
    if (select.Finalize() != SQLITE_OK) return E_FAIL;
    *outRecord = record.Detach();
    return S_OK;
}

HRESULT MemoryDataRows::QueryRecords(uint32_t type, const CZanTString& condition, uint32_t mode,
                                     CZanTList<IZanDB4MemRecord*>& list) {
    // Any other mode prepares nothing; what would follow on no statement
    // binds, steps and finalizes nothing, and answers S_OK.
    if (mode != kQueryByKey && mode != kQueryByConditionPrefix) return S_OK;
    Statement query(m_store.m_db, mode == kQueryByKey ? memory_data_table::kSelectByKey : kSelectByConditionPrefix);
    if (!query.IsPrepared()) return E_FAIL;
    BindKey(query, 1, type, condition);
    // Stepped twice before the rows are taken, and the first answer is not
    // looked at: with LIMIT 1 the first step takes the one row there can be
    // and the second reports done, so mode 1 adds nothing. Callers rely on
    // GetRecord for a key and know this operation as one that finds nothing.
    query.Step();
    while (query.Step() == SQLITE_ROW) {
        IZanDB4MemRecord* record = nullptr;
        HRESULT read = MemRecordFromRow(&query, &record);
        if (read != S_OK) return read;
        list.AddTail(record);
    }
    return zandb4::ResultOf(query.Finalize());
}

HRESULT MemoryDataRows::ChangeKey(uint32_t oldType, const CZanTString& oldCondition, uint32_t newType,
                                  const CZanTString& newCondition) {
    if (!Exists(oldType, oldCondition)) return S_FALSE;
    // What stands under the new key goes first. With the old key equal to
    // the new one, that is the entry itself, and the lookup below fails.
    if (Exists(newType, newCondition)) {
        HRESULT removed = DeleteData(newType, newCondition);
        if (removed != S_OK) return removed;
    }
    uint64_t id = 0;
    {
        Statement select(m_store.m_db, memory_data_table::kSelectIdByKey);
        if (!select.IsPrepared()) return E_FAIL;
        BindKey(select, 1, oldType, oldCondition);
        if (select.Step() != SQLITE_ROW) return E_FAIL;
        id = static_cast<uint64_t>(select.ColumnInt64(0));
    }
    if (id == 0) return S_OK;
    m_store.BeginTransaction();
    Statement update(m_store.m_db, memory_data_table::kUpdateKeyById);
    if (!update.IsPrepared()) return E_FAIL;
    BindKey(update, 1, newType, newCondition);
    update.BindInt64(3, static_cast<int64_t>(id));
    return zandb4::StepToDone(update);
}

bool MemoryDataRows::Exists(uint32_t type, const CZanTString& condition) {
    Statement select(m_store.m_db, memory_data_table::kSelectByKey);
    if (!select.IsPrepared()) return false;
    BindKey(select, 1, type, condition);
    return select.Step() == SQLITE_ROW;
}
