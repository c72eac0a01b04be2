// CSQLiteAsyncDB: the staging store's tables and their upgrade.
#include "staging/async_db.h"
#include "staging/async_face_tables.h"
#include "staging/async_file_table.h"
#include "storage/late_column_upgrade.h"

namespace {

// In the order they are made; the index follows its table.
constexpr const WCHAR* kTables[] = {
    async_file_table::kCreate,
    async_file_table::kCreateDirNameIndex,
    async_file_table::kCreateTagTable,
    async_face_tables::kCreatePersonFaceTable,
    async_face_tables::kCreatePetFaceTable,
    async_face_tables::kCreatePersonStatusTable,
    async_face_tables::kCreatePetStatusTable,
};

constexpr WCHAR kRenameToTemporary[] = u"ALTER TABLE async_file_table RENAME TO tmp_table";
constexpr WCHAR kRenameBack[] = u"ALTER TABLE tmp_table RENAME TO async_file_table";
constexpr WCHAR kCopyEarlyColumns[] =
    u"INSERT INTO async_file_table SELECT file_id, file_path, disk_vsn, file_name, file_format, shooting_date, "
    u"gps_latitude, gps_longitude, file_attributes, thumbnail_size, thumbnail_orientation, did_edit, is_favorite, "
    u"did_detect_face, album_id, manage, parent_id, parent_shooting_date, upload_flag, classify_id, import_date, "
    u"import_class, filter_data, file_size, file_update_date, duration, pixel_width, pixel_height, panorama_number, "
    u"drive_number, frame_rate, gps_altitude, gps_direction, gps_areainfo, can_commit FROM tmp_table";
constexpr WCHAR kDropTemporary[] = u"DROP TABLE tmp_table";
constexpr WCHAR kProbePictureMode[] = u"SELECT count(picture_mode) FROM async_file_table";
constexpr const WCHAR* kAddLateColumns[] = {
    u"ALTER TABLE async_file_table ADD COLUMN model_name TEXT",
    u"ALTER TABLE async_file_table ADD COLUMN picture_mode INTEGER",
    u"ALTER TABLE async_file_table ADD COLUMN finishing_mode INTEGER",
    u"ALTER TABLE async_file_table ADD COLUMN art_filter INTEGER",
    u"ALTER TABLE async_file_table ADD COLUMN focus_mode INTEGER",
    u"ALTER TABLE async_file_table ADD COLUMN param_flag INTEGER",
};

// The unique index on name and path goes with a rebuilt table and is not
// made again.
constexpr zandb4::LateColumnTable kAsyncFileTableUpgrade = {
    u"async_file_table", kRenameToTemporary, kRenameBack,       async_file_table::kCreateEarly,
    kCopyEarlyColumns,   kDropTemporary,     kProbePictureMode, kAddLateColumns,
};

}  // namespace

HRESULT CSQLiteAsyncDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    for (const WCHAR* statement : kTables)
        if (ExecuteStatement(statement) != S_OK) return E_FAIL;
    return S_OK;
}

HRESULT CSQLiteAsyncDB::UpgradeTables() { return zandb4::UpgradeLateColumns(*this, kAsyncFileTableUpgrade); }
