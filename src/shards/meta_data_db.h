// CSQLiteMetaDataDB: a large-metadata shard, one SQLite file holding the
// metadata blocks of ten thousand consecutive file ids in meta_data_table.
// The file lies in the factory's folder under the name "%X.db" of its shard
// number. It adds that table to the base's tables and nothing else; the row
// statements are the factory's.
//
// Threading: not thread-safe; every path holds the catalogue's lock.
#pragma once

#include "storage/sqlite_db_base.h"

class CSQLiteMetaDataDB : public CSQLiteDBBase {
public:
    // The base's tables, then meta_data_table. E_FAIL if either fails.
    HRESULT CreateTables() override;
};
