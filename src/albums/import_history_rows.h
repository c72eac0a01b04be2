// import_history_table, the catalogue's import journal: one row per import
// run, with no key of its own; rows are told apart by their date, or by
// date and class. ImportHistoryRows holds its statements
// (CSQLiteFileBasicDB's AddImportHistory ... ClearImportHistory) over a
// store's connection. Made on the stack for a call: it borrows the store.
//
// Writers open the store's transaction; nothing commits until Commit. The
// caller holds the store's lock.
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/albums.h"

namespace import_history_table {

inline constexpr WCHAR kCreate[] =
    u"CREATE TABLE import_history_table (import_date INTEGER, import_class INTEGER, import_attribute INTEGER)";
// Positions in "SELECT * FROM import_history_table".
enum Column : int { kImportDate, kImportClass, kImportAttribute };

}  // namespace import_history_table

class ImportHistoryRows {
public:
    explicit ImportHistoryRows(CSQLiteDBBase& store) : m_store(store) {}

    HRESULT AddImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute);
    // Sets the attribute of the rows of that date and class; no row is S_OK.
    HRESULT UpdateImportHistory(int64_t importDate, uint32_t importClass, uint32_t attribute);
    // The newest row into *outRecord, which the caller passes null and which
    // is not cleared here. E_FAIL when no record ends up there.
    HRESULT GetLatestImportHistory(IZanDB4ImportDBRecord** outRecord);
    // Appends every row, oldest first. E_FAIL when the array is empty at the end.
    HRESULT GetImportHistories(CZanTArray<IZanDB4ImportDBRecord*>& records);
    // Deletes the rows of that date, whatever their class.
    HRESULT DeleteImportHistory(int64_t importDate);
    HRESULT ClearImportHistory();

private:
    CSQLiteDBBase& m_store;
};
