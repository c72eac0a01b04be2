// CSQLiteFileBasicDB: the links between files and tags in tag_file_table,
// as the file store writes them from a file record's tag set.
#include "catalogue/file_basic_db.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kInsertLink[] = u"INSERT INTO tag_file_table (tag_id, file_id) VALUES (?,?)";
constexpr WCHAR kDeleteLinksOfFile[] = u"DELETE FROM tag_file_table WHERE file_id=?";

}  // namespace

HRESULT CSQLiteFileBasicDB::WriteFileTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    CZanTArray<uint64_t> tagIds;
    if (record->GetTagList(&tagIds.Container()) != S_OK || tagIds.IsEmpty()) return S_OK;
    BeginTransaction();
    // A link that does not go in is not noticed: only the finalize of the
    // last insert counts.
    int lastFinalize = SQLITE_OK;
    for (ptrdiff_t i = 0; i < tagIds.GetSize(); ++i) {
        Statement insert(m_db, kInsertLink);
        if (insert.IsPrepared()) {
            insert.BindInt64(1, static_cast<int64_t>(tagIds.GetAt(i)));
            insert.BindInt64(2, static_cast<int64_t>(fileId));
            insert.Step();
        }
        lastFinalize = insert.Finalize();
    }
    return lastFinalize == SQLITE_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteFileBasicDB::ReplaceFileTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    BeginTransaction();
    {
        Statement remove(m_db, kDeleteLinksOfFile);
        if (remove.IsPrepared()) {
            remove.BindInt64(1, static_cast<int64_t>(fileId));
            remove.Step();  // the result is not looked at
        }
    }
    return WriteFileTags(fileId, record);
}
