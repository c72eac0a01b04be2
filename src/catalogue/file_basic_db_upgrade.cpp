// CSQLiteFileBasicDB::UpgradeTables: brings meta_table of files written by
// earlier builds up to date. Files of several builds exist, so every step
// goes by the columns found, not by the version row alone.
#include "catalogue/file_basic_db.h"
#include "records/meta_table.h"
#include "storage/late_column_upgrade.h"

namespace {

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

// A rebuilt file has no unique index on file_id (meta_file_idx) from then on.
constexpr zandb4::LateColumnTable kMetaTableUpgrade = {
    u"meta_table",    kRenameToTemporary, kRenameBack,       meta_table::kCreateEarly,
    kCopyEarlyColumns, kDropTemporary,    kProbePictureMode, kAddLateColumns,
};

}  // namespace

HRESULT CSQLiteFileBasicDB::UpgradeTables() { return zandb4::UpgradeLateColumns(*this, kMetaTableUpgrade); }
