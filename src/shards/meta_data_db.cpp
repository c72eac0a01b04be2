// CSQLiteMetaDataDB: the table of a large-metadata shard.
#include "shards/meta_data_db.h"

#include "shards/meta_data_table.h"

HRESULT CSQLiteMetaDataDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    return ExecuteStatement(meta_data_table::kCreate) == S_OK ? S_OK : E_FAIL;
}
