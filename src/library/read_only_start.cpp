// The tool's read-only start: the registry filled with a read-only catalogue
// over an existing file, and the thumbnail families and large-metadata
// shards that the dead-link check counts in. Those make no folder and open
// no shard when they are made; the check opens each existing shard file on
// its own for its count, which reads and writes nothing.
#include "library/tool_access.h"

#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "library/library_paths.h"
#include "library/store_families.h"

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
    // catalogue, the families the dead-link check reaches and the record
    // cache.
    DatabaseRegistry::initCount = 1;
    DatabaseRegistry::fileBasicDB = catalogue;
    MakeThumbnailFamily(DatabaseRegistry::thumbMgr, databaseFolder, u"thumb");
    MakeThumbnailFamily(DatabaseRegistry::psniThumbMgr, databaseFolder, u"psni");
    MakeThumbnailFamily(DatabaseRegistry::ptiThumbMgr, databaseFolder, u"pti");
    MakeThumbnailFamily(DatabaseRegistry::psnfThumbMgr, databaseFolder, u"psnf");
    MakeThumbnailFamily(DatabaseRegistry::ptfThumbMgr, databaseFolder, u"ptf");
    MakeThumbnailFamily(DatabaseRegistry::albmThumbMgr, databaseFolder, u"albm");
    MakeThumbnailFamily(DatabaseRegistry::grfThumbMgr, databaseFolder, u"grf");
    MakeMetaDataShards(databaseFolder);
    if (DatabaseRegistry::fileRecordCache == nullptr)
        DatabaseRegistry::fileRecordCache = new FileRecordCache(&DatabaseRegistry::fileRecordCache);
    return S_OK;
}

}  // namespace zandb4::tool_access
