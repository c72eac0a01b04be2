// CSQLiteMemDB: the store of "Memory.db", the application's keyed memos. It
// adds the memory_data table to the base's tables and nothing else: it has
// no upgrade of its own, and the library's upgrade leaves its version as it
// was stored, for good. The statements on its rows are MemoryDataRows.
//
// Threading: as every store, none of its own; CZanDB4MemoryDataMgr holds
// m_lock around each operation.
#pragma once

#include "storage/sqlite_db_base.h"

class CSQLiteMemDB : public CSQLiteDBBase {
public:
    // The base's tables, then memory_data and its unique key index. E_FAIL
    // when any statement fails.
    HRESULT CreateTables() override;
};
