// CSQLiteFileBasicDB as a file record sees it: its own row, its tags and its
// metadata, read through the subjects that hold those statements.
#include "catalogue/file_basic_db.h"

#include "albums/tag_links.h"
#include "catalogue/file_table.h"
#include "records/meta_rows.h"
#include "storage/statement.h"

using zandb4::Statement;

HRESULT CSQLiteFileBasicDB::ReadFileRow(uint64_t fileId, FileRowValues& row) {
    Statement select(m_db, file_table::kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    row = file_table::ReadRow(select);
    return S_OK;
}

void CSQLiteFileBasicDB::ReadFileTags(uint64_t fileId, std::set<uint64_t>& tagIds) {
    TagFileLinks(*this).ReadTagsOfFile(fileId, tagIds);
}

HRESULT CSQLiteFileBasicDB::FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId) {
    return MetaTableRows(*this).FindMetaRecord(outRecord, fileId);
}
