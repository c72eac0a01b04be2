// CSQLiteGPSLogDB: the schema of a new "Location.db", the upgrade from the
// old layout, and the rebuild of a half-upgraded file back to that layout.
#include "gps/gps_log_db.h"

#include "gps/gps_log_tables.h"
#include "storage/late_column_upgrade.h"
#include "storage/statement.h"

namespace tables = gps_log_tables;
using zandb4::Statement;

namespace {

// Whether a count probe on a column prepares and gives a row: the column is
// there.
bool ProbeFindsColumn(Statement& probe) {
    return probe.IsPrepared() && probe.Step() == SQLITE_ROW;
}

}  // namespace

HRESULT CSQLiteGPSLogDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    const WCHAR* const statements[] = {
        tables::kCreateLogFile,          tables::kCreateLogFilePathIndex,   tables::kCreateLogData,
        tables::kCreateLogDataFileIndex, tables::kCreateLogDataUniqueIndex,
    };
    for (const WCHAR* statement : statements)
        if (ExecuteStatement(statement) != S_OK) return E_FAIL;
    return S_OK;
}

HRESULT CSQLiteGPSLogDB::UpgradeTables() {
    uint32_t version = 0;
    if (GetVersion(&version) != S_OK) return E_FAIL;
    if (version >= tables::kVersionWithUtcColumns) return S_OK;

    bool hasDateUtc = false;
    {
        Statement probe(m_db, tables::kProbeDateUtc);
        hasDateUtc = ProbeFindsColumn(probe);
    }
    // Whether the column could be added shows in the next run, which probes
    // again; it does not decide this one's answer.
    if (!hasDateUtc) ExecuteStatement(tables::kAddDateUtc);

    {
        // start_date_utc came with the three other columns of gps_log_file,
        // so finding it is taken as finding them all.
        Statement probe(m_db, tables::kProbeStartDateUtc);
        if (ProbeFindsColumn(probe)) return probe.Finalize() > 0 ? E_FAIL : S_OK;
    }
    ExecuteStatement(tables::kAddState);
    ExecuteStatement(tables::kAddStartDateUtc);
    ExecuteStatement(tables::kAddEndDateUtc);
    // Only the last column's outcome is answered, as callers of this upgrade
    // have always read it.
    return ExecuteStatement(tables::kAddLogLocationName);
}

bool CSQLiteGPSLogDB::RevertPartialUpgrade() {
    bool allColumns = true;
    const WCHAR* const logFileColumns[] = {tables::kStateColumn, tables::kStartDateUtcColumn, tables::kEndDateUtcColumn,
                                           tables::kLogLocationNameColumn};
    if (!zandb4::HasColumn(*this, tables::kLogDataTable, tables::kDateUtcColumn)) allColumns = false;
    for (const WCHAR* column : logFileColumns)
        if (!zandb4::HasColumn(*this, tables::kLogFileTable, column)) allColumns = false;
    if (allColumns) return false;

    // Both tables go back to the old layout, whatever each of them lacks, so
    // that the upgrade afterwards always starts from the same place. The old
    // columns are copied over; the later ones and every index are lost.
    BeginTransaction();
    bool rebuilt = false;
    if (ExecuteStatement(tables::kRenameLogDataToTemporary) == S_OK) {
        if (ExecuteStatement(tables::kCreateOldLogData) != S_OK) {
            ExecuteStatement(tables::kRenameLogDataBack);
        } else {
            ExecuteStatement(tables::kCopyOldLogData);
            ExecuteStatement(tables::kDropLogDataTemporary);
            rebuilt = true;
        }
    }
    if (ExecuteStatement(tables::kRenameLogFileToTemporary) == S_OK) {
        if (ExecuteStatement(tables::kCreateOldLogFile) != S_OK) {
            ExecuteStatement(tables::kRenameLogFileBack);
        } else {
            ExecuteStatement(tables::kCopyOldLogFile);
            ExecuteStatement(tables::kDropLogFileTemporary);
            rebuilt = true;
        }
    }
    if (rebuilt) SetVersion(tables::kVersionOldLayout);
    Commit(false);
    Vacuum();
    return rebuilt;
}
