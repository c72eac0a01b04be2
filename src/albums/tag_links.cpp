// TagFileLinks: inserts, deletes and reads of tag_file_table.
#include "albums/tag_links.h"

#include "albums/tag_tables.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::Statement;

HRESULT TagFileLinks::WriteFileTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    CZanTArray<uint64_t> tagIds;
    if (record->GetTagList(&tagIds.Container()) != S_OK || tagIds.IsEmpty()) return S_OK;
    m_store.BeginTransaction();
    // A link that does not go in is not noticed: only the finalize of the
    // last insert counts.
    int lastFinalize = SQLITE_OK;
    for (ptrdiff_t i = 0; i < tagIds.GetSize(); ++i) {
        Statement insert(m_store.m_db, tag_tables::kInsertLink);
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(tagIds.GetAt(i)));
            insert.BindInt64(2, static_cast<int64_t>(fileId));
            insert.Step();
        }
        lastFinalize = insert.Finalize();
    }
    return lastFinalize == SQLITE_OK ? S_OK : E_FAIL;
}

HRESULT TagFileLinks::ReplaceFileTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    // The outcome of the delete is not looked at here.
    DeleteLinksOfFile(fileId);
    return WriteFileTags(fileId, record);
}

HRESULT TagFileLinks::DeleteLinksOfFile(uint64_t fileId) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, tag_tables::kDeleteLinksOfFile);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    int step = remove.Step();
    return step == SQLITE_DONE && remove.Finalize() == SQLITE_OK ? S_OK : E_FAIL;
}

void TagFileLinks::ReadTagsOfFile(uint64_t fileId, std::set<uint64_t>& tagIds) {
    Statement select(m_store.m_db, tag_tables::kSelectLinksOfFile);
    if (!select.IsPrepared()) return;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    while (select.Step() == SQLITE_ROW) tagIds.insert(static_cast<uint64_t>(select.ColumnInt64(tag_tables::kLinkTagId)));
}
