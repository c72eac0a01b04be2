#include "library/store_families.h"

#include "library/database_registry.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumbnail_families.h"

namespace zandb4 {

void MakeThumbnailFamily(CSQLiteThumbDBMgr*& member, const CZanTString& databaseFolder, const WCHAR* name) {
    member = new CSQLiteThumbDBMgr();
    CZanTString base(name);
    namespace families = thumbnail_families;
    member->Initialize(databaseFolder, base + families::kKind1Suffix, base + families::kKind1UnusedSuffix,
                       base + families::kKind2Suffix, base + families::kKind2UnusedSuffix);
}

void MakeMetaDataShards(const CZanTString& databaseFolder) {
    CZanTString metaFolder(databaseFolder);
    metaFolder.AppendPath(thumbnail_families::kMetaDataFolder);
    DatabaseRegistry::metaFactory = new CSQLiteMetaDataDBFactory(metaFolder);
}

}  // namespace zandb4
