// CSQLiteFileBasicDB: main_image_cache_file_table, the paths of cached main
// images by file id.
#include "catalogue/file_basic_db.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::Statement;

HRESULT CSQLiteFileBasicDB::DeleteMainImageCache(uint64_t fileId) {
    BeginTransaction();
    Statement remove(m_db, u"DELETE FROM main_image_cache_file_table WHERE file_id=?");
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}
