// Identifiers of CSQLiteDBBase: a counter per id type in last_id_table and a
// pool of returned ids in pooled_id_table. The pool is always tried first, so
// ids stay small and dense, and every id is drawn inside the open
// transaction, so that a Reopen takes counter and pool changes back too.
#include "storage/result_codes.h"
#include "storage/sqlite_db_base.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kSelectLastId[] = u"SELECT id_type,last_id FROM last_id_table WHERE id_type=? LIMIT 1";
constexpr WCHAR kUpdateLastId[] = u"UPDATE last_id_table SET last_id=? WHERE id_type=?";
constexpr WCHAR kInsertLastId[] = u"INSERT INTO last_id_table (id_type,last_id) VALUES (?,?)";
constexpr WCHAR kSelectPooledId[] = u"SELECT id_type,pooled_id FROM pooled_id_table WHERE id_type=? LIMIT 1";
constexpr WCHAR kDeletePooledId[] = u"DELETE FROM pooled_id_table WHERE id_type=? AND pooled_id=?";
constexpr WCHAR kInsertPooledId[] = u"INSERT INTO pooled_id_table (id_type,pooled_id) VALUES (?,?)";

}  // namespace

HRESULT CSQLiteDBBase::NewID(uint32_t idType, uint64_t* outId) {
    if (outId == nullptr) return E_FAIL;
    *outId = 0;
    if (!m_inTransaction) BeginTransaction();

    uint64_t pooled = 0;
    if (TakePooledID(idType, &pooled) == S_OK) {
        *outId = pooled;
        return S_OK;
    }

    bool haveRow = false;
    uint64_t lastId = 0;
    {
        Statement select(m_db, kSelectLastId);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindInt(1, static_cast<int32_t>(idType));
        if (select.Step() == SQLITE_ROW) {
            haveRow = true;
            lastId = static_cast<uint64_t>(select.ColumnInt64(1));
        }
    }

    uint64_t newId = haveRow ? lastId + 1 : 1;
    Statement write(m_db, haveRow ? kUpdateLastId : kInsertLastId);
    if (write.IsPrepared()) {
        if (haveRow) {
            write.BindInt64(1, static_cast<int64_t>(newId));
            write.BindInt(2, static_cast<int32_t>(idType));
        } else {
            write.BindInt(1, static_cast<int32_t>(idType));
            write.BindInt64(2, static_cast<int64_t>(newId));
        }
        write.Step();
    }
    // The id is written even when the counter could not be stored; callers go
    // by the answer, not by *outId.
    *outId = newId;
    return write.IsPrepared() && write.Finalize() == SQLITE_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteDBBase::TakePooledID(uint32_t idType, uint64_t* outId) {
    if (outId == nullptr) return E_INVALIDARG;
    *outId = 0;
    bool found = false;
    {
        Statement select(m_db, kSelectPooledId);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindInt(1, static_cast<int32_t>(idType));
        if (select.Step() == SQLITE_ROW) {
            found = true;
            *outId = static_cast<uint64_t>(select.ColumnInt64(1));
        }
    }
    if (!found) return S_FALSE;

    Statement remove(m_db, kDeletePooledId);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt(1, static_cast<int32_t>(idType));
    remove.BindInt64(2, static_cast<int64_t>(*outId));
    remove.Step();
    return zandb4::ResultOf(remove.Finalize());
}

HRESULT CSQLiteDBBase::PoolID(uint64_t id, uint32_t idType) {
    Statement insert(m_db, kInsertPooledId);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt(1, static_cast<int32_t>(idType));
    insert.BindInt64(2, static_cast<int64_t>(id));
    int step = insert.Step();
    if (insert.Finalize() != SQLITE_OK) return E_FAIL;
    return zandb4::ResultOfDoneStep(step);
}
