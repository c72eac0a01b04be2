// The upgrade of a table that builds before 1200 made without six late
// columns (model_name, picture_mode, finishing_mode, art_filter, focus_mode,
// param_flag): the catalogue's meta_table and the staging store's
// async_file_table go through the same steps, each with its own statements.
//
// A file that has some of the six but not all cannot be mended by adding the
// rest, so the table is rebuilt without any of them (their values are lost,
// and the table's indexes go with the old table and are not made again);
// then all six are added at the end, behind the older columns, so that
// "SELECT *" keeps the positions of every earlier column.
#pragma once

#include "storage/sqlite_db_base.h"

namespace zandb4 {

// The statements of one table's upgrade, exactly as files know them.
struct LateColumnTable {
    const WCHAR* table;
    // "ALTER TABLE <table> RENAME TO tmp_table" and back.
    const WCHAR* renameToTemporary;
    const WCHAR* renameBack;
    // The table with the columns before the late six.
    const WCHAR* createEarly;
    // "INSERT INTO <table> SELECT <early columns> FROM tmp_table".
    const WCHAR* copyEarlyColumns;
    const WCHAR* dropTemporary;
    // "SELECT count(picture_mode) FROM <table>".
    const WCHAR* probePictureMode;
    // The six "ALTER TABLE <table> ADD COLUMN ..." in order.
    const WCHAR* const* addLateColumns;
};

// The version after a rebuild, whichever way it went, and the first version
// whose files have the late columns.
inline constexpr uint32_t kVersionAfterRebuild = 1100;
inline constexpr uint32_t kVersionWithLateColumns = 1200;

// Whether "SELECT count(column) FROM table" prepares and gives a row.
bool HasColumn(CSQLiteDBBase& store, const WCHAR* table, const WCHAR* column);

// Runs the upgrade on the store's file:
// 1. Below the current version, a table missing any of the six is rebuilt:
//    renamed to tmp_table (a failure keeps the version and goes on at 2),
//    made again with the early columns (a failure renames it back), filled
//    from tmp_table, which is dropped; then Commit and Vacuum. The version
//    counts as 1100 from then on.
// 2. A version of 1200 or more is done: S_OK.
// 3. A table that has picture_mode is done: E_FAIL only if that probe's
//    finalize failed.
// 4. The six columns are added; only the last one's result is answered.
HRESULT UpgradeLateColumns(CSQLiteDBBase& store, const LateColumnTable& table);

}  // namespace zandb4
