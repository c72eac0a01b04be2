// CSQLiteFileBasicDB::UpgradeTables: brings meta_table of files written by
// earlier builds up to date. Files of several builds exist, so every step
// goes by the columns found, not by the version row alone.
#include "catalogue/file_basic_db.h"
#include "records/meta_table.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kProbeFormat[] = u"SELECT count(%s) FROM %s";
constexpr WCHAR kMetaTable[] = u"meta_table";
// The six columns builds before 1201 may lack, in the order they are added.
constexpr const WCHAR* kLateMetaColumns[] = {u"model_name", u"picture_mode", u"finishing_mode",
                                             u"art_filter", u"focus_mode",   u"param_flag"};

constexpr WCHAR kRenameToTemporary[] = u"ALTER TABLE meta_table RENAME TO tmp_table";
constexpr WCHAR kRenameBack[] = u"ALTER TABLE tmp_table RENAME TO meta_table";
constexpr WCHAR kCopyEarlyColumns[] =
    u"INSERT INTO meta_table SELECT file_id, filter_data, file_size, file_update_date, import_date, duration, "
    u"pixel_width, pixel_height, panorama_number, drive_number, frame_rate, import_class, gps_altitude, "
    u"gps_direction, gps_areainfo FROM tmp_table";
constexpr WCHAR kDropTemporary[] = u"DROP TABLE tmp_table";

constexpr WCHAR kProbePictureMode[] = u"SELECT count(picture_mode) FROM meta_table";
constexpr const WCHAR* kAddLateColumns[] = {
    u"ALTER TABLE meta_table ADD COLUMN model_name TEXT",        u"ALTER TABLE meta_table ADD COLUMN picture_mode INTEGER",
    u"ALTER TABLE meta_table ADD COLUMN finishing_mode INTEGER", u"ALTER TABLE meta_table ADD COLUMN art_filter INTEGER",
    u"ALTER TABLE meta_table ADD COLUMN focus_mode INTEGER",     u"ALTER TABLE meta_table ADD COLUMN param_flag INTEGER"};

constexpr uint32_t kVersionAfterRebuild = 1100;
constexpr uint32_t kVersionWithLateColumns = 1200;

}  // namespace

bool CSQLiteFileBasicDB::HasColumn(const WCHAR* table, const WCHAR* column) {
    CZanTString probe;
    probe.Format(kProbeFormat, column, table);
    Statement select(m_db, probe.GetString());
    return select.IsPrepared() && select.Step() == SQLITE_ROW;
}

uint32_t CSQLiteFileBasicDB::RebuildMetaTable(uint32_t version) {
    BeginTransaction();
    if (ExecuteStatement(kRenameToTemporary) != S_OK) return version;
    if (ExecuteStatement(meta_table::kCreateEarly) != S_OK) {
        ExecuteStatement(kRenameBack);
        return kVersionAfterRebuild;
    }
    // None of these outcomes is looked at. Values the old table had in any
    // of the six late columns are lost, and meta_file_idx goes with the old
    // table: a rebuilt file has no unique index on file_id from here on.
    ExecuteStatement(kCopyEarlyColumns);
    ExecuteStatement(kDropTemporary);
    Commit(false);
    Vacuum();
    return kVersionAfterRebuild;
}

HRESULT CSQLiteFileBasicDB::UpgradeTables() {
    uint32_t version = 0;
    GetVersion(&version);

    if (version < kCurrentVersion) {
        bool missingLateColumn = false;
        for (const WCHAR* column : kLateMetaColumns)
            if (!HasColumn(kMetaTable, column)) missingLateColumn = true;
        if (missingLateColumn) version = RebuildMetaTable(version);
    }
    if (version >= kVersionWithLateColumns) return S_OK;

    {
        Statement probe(m_db, kProbePictureMode);
        if (probe.IsPrepared() && probe.Step() == SQLITE_ROW) return zandb4::ResultOf(probe.Finalize());
    }
    // Only the last of the six decides the answer.
    HRESULT added = S_OK;
    for (const WCHAR* statement : kAddLateColumns) added = ExecuteStatement(statement);
    return added;
}
