// The shard families of the registry as both starts make them: the full
// start of ZanDB4_Initialize, and the tool's read-only start, which needs
// the thumbnail families and the large-metadata shards for the dead-link
// check. Making a family makes no folder and opens no shard file; shards are
// opened when they are first reached.
#pragma once

#include "shards/thumb_db_mgr.h"
#include "zandb4/foundation.h"

namespace zandb4 {

// Makes a thumbnail family in the registry member on the four folder names
// "<name>_0s", "_0a", "_1s", "_1a". Its Initialize result is not looked at:
// a family without factories answers E_INVALIDARG to every kind.
void MakeThumbnailFamily(CSQLiteThumbDBMgr*& member, const CZanTString& databaseFolder, const WCHAR* name);

// The large-metadata shard factory of the registry, on the folder "meta".
void MakeMetaDataShards(const CZanTString& databaseFolder);

}  // namespace zandb4
