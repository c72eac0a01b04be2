// MetaTableRows: the catalogue's statements on meta_table
// (CSQLiteFileBasicDB's FindMetaRecord, InsertMetaRecord, UpdateMetaRecord,
// DeleteMetaRecord, HasMetaRecord and the lists), over a store's connection.
// Made on the stack for a call: it borrows the store and holds nothing.
//
// Writers open the store's transaction; nothing commits until Commit. The
// caller holds the store's lock.
#pragma once

#include "records/meta_table.h"
#include "storage/sqlite_db_base.h"
#include "zandb4/records.h"

class MetaTableRows {
public:
    explicit MetaTableRows(CSQLiteDBBase& store) : m_store(store) {}

    // The values of a metadata record, read through its getters. The filter
    // data stays the record's.
    static MetaRowValues MetaValuesOf(IZanDB4FileMetaDBRecord* record);

    // The row of fileId as a new record through the factory; no row leaves
    // *outRecord null and answers E_FAIL. A null out does nothing (E_INVALIDARG).
    HRESULT FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId);
    // Inserts the file record's metadata record under fileId. With retry, a
    // row already there is deleted and the insert tried once more.
    HRESULT InsertMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord, BOOL retry);
    // The same from values, for rows moved out of staging.
    HRESULT InsertMetaRow(uint64_t fileId, const MetaRowValues& values, BOOL retry);
    // Writes the file record's metadata: deletes the row when the record has
    // none, inserts when there is no row, else rewrites every column.
    HRESULT UpdateMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord);
    // The rewrite of every column of an existing row.
    HRESULT UpdateMetaRow(uint64_t fileId, const MetaRowValues& values);
    HRESULT DeleteMetaRecord(uint64_t fileId);
    BOOL HasMetaRecord(uint64_t fileId);
    // Empty the list (without releasing what it held), then append a record
    // per row, one reference each. E_FAIL when the list ends empty.
    HRESULT ListMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records);
    // Only rows with a model name (neither empty nor NULL).
    HRESULT ListModelMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records);
    // Lends each record with a model name to callback; a non-zero answer
    // ends the walk.
    HRESULT ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context);

private:
    CSQLiteDBBase& m_store;
};
