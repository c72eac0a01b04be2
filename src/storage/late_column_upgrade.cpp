// UpgradeLateColumns: the shared steps of the late-column upgrade.
#include "storage/late_column_upgrade.h"

#include "storage/result_codes.h"
#include "storage/statement.h"

namespace zandb4 {
namespace {

constexpr WCHAR kProbeFormat[] = u"SELECT count(%s) FROM %s";
constexpr const WCHAR* kLateColumns[] = {u"model_name", u"picture_mode", u"finishing_mode",
                                         u"art_filter", u"focus_mode",   u"param_flag"};
constexpr size_t kLateColumnCount = sizeof kLateColumns / sizeof kLateColumns[0];

uint32_t RebuildWithoutLateColumns(CSQLiteDBBase& store, const LateColumnTable& table, uint32_t version) {
    store.BeginTransaction();
    if (RunStatement(store.m_db, table.renameToTemporary) != S_OK) return version;
    if (RunStatement(store.m_db, table.createEarly) != S_OK) {
        RunStatement(store.m_db, table.renameBack);
        return kVersionAfterRebuild;
    }
    // None of these outcomes is looked at.
    RunStatement(store.m_db, table.copyEarlyColumns);
    RunStatement(store.m_db, table.dropTemporary);
    store.Commit(false);
    store.Vacuum();
    return kVersionAfterRebuild;
}

}  // namespace

bool HasColumn(CSQLiteDBBase& store, const WCHAR* table, const WCHAR* column) {
    CZanTString probe;
    probe.Format(kProbeFormat, column, table);
    Statement select(store.m_db, probe.GetString());
    return select.IsPrepared() && select.Step() == SQLITE_ROW;
}

HRESULT UpgradeLateColumns(CSQLiteDBBase& store, const LateColumnTable& table) {
    uint32_t version = 0;
    store.GetVersion(&version);

    if (version < CSQLiteDBBase::kCurrentVersion) {
        bool missingLateColumn = false;
        for (const WCHAR* column : kLateColumns)
            if (!HasColumn(store, table.table, column)) missingLateColumn = true;
        if (missingLateColumn) version = RebuildWithoutLateColumns(store, table, version);
    }
    if (version >= kVersionWithLateColumns) return S_OK;

    {
        Statement probe(store.m_db, table.probePictureMode);
        if (probe.IsPrepared() && probe.Step() == SQLITE_ROW) return ResultOf(probe.Finalize());
    }
    // Only the last of the six decides the answer.
    HRESULT added = S_OK;
    for (size_t index = 0; index < kLateColumnCount; ++index)
        added = RunStatement(store.m_db, table.addLateColumns[index]);
    return added;
}

}  // namespace zandb4
