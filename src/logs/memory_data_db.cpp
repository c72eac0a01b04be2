// CSQLiteMemDB: the schema of a new "Memory.db".
#include "logs/memory_data_db.h"

#include "logs/memory_data_table.h"

HRESULT CSQLiteMemDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    if (ExecuteStatement(memory_data_table::kCreate) != S_OK) return E_FAIL;
    return ExecuteStatement(memory_data_table::kCreateKeyIndex);
}
