// TagRows: tag rows to records and back.
#include "albums/tag_rows.h"

#include "albums/tag_tables.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "storage/result_codes.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr uint32_t kTagIdType = 8;

// A record from the current row of "SELECT * FROM tag_table": the columns
// are read first, then the record is made through the factory as every
// record built from a row is.
HRESULT TagRecordFromRow(const Statement* row, IZanDB4TagDBRecord** outRecord) {
    if (row == nullptr || outRecord == nullptr) return E_INVALIDARG;
    CZanTString name = row->ColumnText(tag_tables::kTagName);
    uint32_t type = static_cast<uint32_t>(row->ColumnInt64(tag_tables::kTagType));
    uint64_t id = static_cast<uint64_t>(row->ColumnInt64(tag_tables::kTagId));
    ComPtr<IZanDB4TagDBRecord> record;
    HRESULT made = zandb4::CreateInstance(IID_IZanDB4TagDBRecord, reinterpret_cast<void**>(record.Receive()));
    if (made != S_OK) return made;
    record->SetName(name);
    record->SetType(type);
    record->SetID(id);
    *outRecord = record.Detach();
    return S_OK;
}

}  // namespace

HRESULT TagRows::AddTag(const CZanTString& name, uint32_t type, uint64_t* outId) {
    m_store.BeginTransaction();
    uint64_t tagId = 0;
    HRESULT drawn = m_store.NewID(kTagIdType, &tagId);
    if (drawn != S_OK) return drawn;
    // The caller's variable gets the id ahead of the insert and keeps it when
    // the insert fails; the result code tells whether the tag exists.
    if (outId != nullptr) *outId = tagId;
    Statement insert(m_store.m_db, tag_tables::kInsertTag);
    int step = SQLITE_ERROR;
    if (insert.IsPrepared()) {
        insert.BindInt64(1, static_cast<int64_t>(tagId));
        insert.BindText(2, name);
        insert.BindInt64(3, static_cast<int64_t>(type));
        step = insert.Step();
    }
    int finalize = insert.Finalize();
    // No search for the name beforehand: a second tag of a name breaks the
    // unique index and the step fails.
    if (!insert.IsPrepared() || step != SQLITE_DONE || finalize != SQLITE_OK) m_store.PoolID(tagId, kTagIdType);
    if (finalize != SQLITE_OK) return E_FAIL;
    return zandb4::ResultOfDoneStep(step);
}

HRESULT TagRows::UpdateTag(uint64_t tagId, const CZanTString& name, uint32_t type) {
    m_store.BeginTransaction();
    Statement update(m_store.m_db, tag_tables::kUpdateTag);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindText(1, name);
    update.BindInt64(2, static_cast<int64_t>(type));
    update.BindInt64(3, static_cast<int64_t>(tagId));
    return zandb4::StepToDone(update);
}

HRESULT TagRows::DeleteTag(uint64_t tagId) {
    m_store.BeginTransaction();
    // Links first: a tag that cannot lose its links stays.
    for (const WCHAR* sql : {tag_tables::kDeleteLinksOfTag, tag_tables::kDeleteTag}) {
        Statement remove(m_store.m_db, sql);
        if (remove.IsPrepared()) remove.BindInt64(1, static_cast<int64_t>(tagId));
        if (zandb4::StepToDone(remove) != S_OK) return E_FAIL;
    }
    m_store.PoolID(tagId, kTagIdType);
    return S_OK;
}

HRESULT TagRows::GetTag(uint64_t tagId, IZanDB4TagDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    Statement select(m_store.m_db, tag_tables::kSelectTagById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(tagId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4TagDBRecord> record;
    HRESULT made = TagRecordFromRow(&select, record.Receive());
    if (made != S_OK) return made;
    if (select.Finalize() != SQLITE_OK) return E_FAIL;
    *outRecord = record.Detach();
    return S_OK;
}

uint32_t TagRows::GetTagCount() {
    Statement count(m_store.m_db, tag_tables::kCountTags);
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
    return static_cast<uint32_t>(count.ColumnInt64(0));
}

HRESULT TagRows::GetTagIDs(CZanTArray<uint64_t>& ids) {
    Statement select(m_store.m_db, tag_tables::kSelectTags);
    if (select.IsPrepared())
        while (select.Step() == SQLITE_ROW) ids.Add(static_cast<uint64_t>(select.ColumnInt64(tag_tables::kTagId)));
    return ids.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT TagRows::GetTags(CZanTArray<IZanDB4TagDBRecord*>& tags) {
    Statement select(m_store.m_db, tag_tables::kSelectTags);
    if (select.IsPrepared()) {
        while (select.Step() == SQLITE_ROW) {
            IZanDB4TagDBRecord* record = nullptr;
            if (TagRecordFromRow(&select, &record) != S_OK) break;
            tags.Add(record);
        }
    }
    return tags.IsEmpty() ? E_FAIL : S_OK;
}

uint32_t TagRows::CountLinksOfTag(uint64_t tagId) {
    Statement count(m_store.m_db, tag_tables::kCountLinksOfTag);
    if (!count.IsPrepared()) return 0;
    count.BindInt64(1, static_cast<int64_t>(tagId));
    return count.Step() == SQLITE_ROW ? static_cast<uint32_t>(count.ColumnInt64(0)) : 0;
}
