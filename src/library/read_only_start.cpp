// The tool's read-only start: the registry filled with a read-only catalogue
// over an existing file.
#include "library/tool_access.h"

#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "library/library_paths.h"

namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace zandb4::tool_access {

HRESULT StartReadOnly(const WCHAR* root, int busyMilliseconds) {
    if (DatabaseRegistry::initCount != 0) return E_FAIL;
    CZanTString databaseFolder = ResolveRoot(root);
    databaseFolder.AppendPath(u"database");
    auto* catalogue = new CSQLiteFileBasicDB();
    catalogue->m_folder = databaseFolder;
    catalogue->m_fileName = u"FileBasic.db";
    if (catalogue->OpenReadOnly(busyMilliseconds) != S_OK) {
        delete catalogue;
        return E_FAIL;
    }
    // Exactly what ZanDB4_Finalize takes down again: the count, the
    // catalogue and the record cache.
    DatabaseRegistry::initCount = 1;
    DatabaseRegistry::fileBasicDB = catalogue;
    if (DatabaseRegistry::fileRecordCache == nullptr)
        DatabaseRegistry::fileRecordCache = new FileRecordCache(&DatabaseRegistry::fileRecordCache);
    return S_OK;
}

}  // namespace zandb4::tool_access
