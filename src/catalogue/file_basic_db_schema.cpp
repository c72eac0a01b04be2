// CSQLiteFileBasicDB::CreateTables: every table of the catalogue with its
// indexes, in a fixed order. "SELECT *" reads columns by position, so the
// column order of each table is part of the file format. A blank column type
// stays blank, and "atrributes" stays misspelt: files written by every
// earlier build have them so.
#include "catalogue/file_basic_db.h"

namespace {

struct SchemaStatement {
    const WCHAR* sql;
    // Whether a failure ends CreateTables. Some index failures have always
    // gone unnoticed.
    bool failureCounts;
};

constexpr WCHAR kPageSize[] = u"PRAGMA page_size=4096;";

// In the order they are made; each index follows its table.
constexpr SchemaStatement kSchema[] = {
    {u"CREATE TABLE file_table (file_id INTEGER PRIMARY KEY, file_path TEXT, disk_vsn INTEGER, path_key TEXT, "
     u"file_name TEXT, file_format INTEGER, shooting_date INTEGER, gps_latitude REAL, gps_longitude REAL, "
     u"file_attributes INTEGER, thumbnail_size INTEGER, thumbnail_orientation INTEGER, did_edit INTEGER, "
     u"is_favorite INTEGER, did_detect_face INTEGER, album_id INTEGER, manage INTEGER, parent_id INTEGER, "
     u"parent_shooting_date INTEGER, upload_flag INTEGER, classify_id INTEGER)",
     true},
    {u"CREATE INDEX file_table_sdate_fname_idx ON file_table(shooting_date ASC, file_name ASC)", false},
    {u"CREATE INDEX file_table_album_sdate_fname_idx ON file_table(album_id ASC, shooting_date ASC, file_name ASC)",
     false},
    {u"CREATE UNIQUE INDEX file_pathkey ON file_table(path_key)", true},

    {u"CREATE TABLE person_table (person_id INTEGER PRIMARY KEY, name TEXT, email TEXT, birthday INTEGER, "
     u"file_count INTEGER, register_date INTEGER, custom_index INTEGER, atrributes INTEGER, recommend INTEGER)",
     true},
    {u"CREATE INDEX person_table_rd_idx ON person_table(register_date)", true},
    {u"CREATE INDEX person_table_ctm_idx ON person_table(custom_index,register_date)", true},
    {u"CREATE INDEX person_table_nm_idx ON person_table(name)", true},

    // A person may be in many groups: no key, and face_group_id has no type.
    {u"CREATE TABLE person_group_item_table (person_id INTEGER, face_group_id)", true},
    {u"CREATE INDEX person_group_item_idx ON person_group_item_table(person_id, face_group_id)", true},

    {u"CREATE TABLE face_group_table (face_group_id INTEGER PRIMARY KEY, face_group_type INTEGER, "
     u"face_group_name TEXT, face_group_desc TEXT)",
     true},

    {u"CREATE TABLE pet_table (pet_id INTEGER PRIMARY KEY, name TEXT, email TEXT, birthday INTEGER, "
     u"file_count INTEGER, register_date INTEGER, custom_index INTEGER, atrributes INTEGER, recommend INTEGER)",
     true},
    {u"CREATE INDEX pet_table_rd_idx ON pet_table(register_date)", true},
    {u"CREATE INDEX pet_table_ctm_idx ON pet_table(custom_index,register_date)", true},
    {u"CREATE INDEX pet_table_nm_idx ON pet_table(name)", true},

    // A pet is in one group at most: pet_id is the key here, unlike persons.
    {u"CREATE TABLE pet_group_item_table (pet_id INTEGER PRIMARY KEY, face_group_id INTEGER)", true},
    {u"CREATE INDEX pet_group_item_idx ON pet_group_item_table(pet_id, face_group_id)", true},

    {u"CREATE TABLE person_face_table (person_face_id INTEGER PRIMARY KEY, file_id INTEGER, person_id INTEGER, "
     u"rect INTEGER)",
     true},
    {u"CREATE INDEX person_face_person_idx ON person_face_table(person_id)", false},
    {u"CREATE INDEX person_face_file_idx ON person_face_table(file_id)", true},

    // No person_id column here, though some statements on this table name one.
    {u"CREATE TABLE pet_face_table (pet_face_id INTEGER PRIMARY KEY, file_id INTEGER, pet_id INTEGER, rect INTEGER)",
     true},
    {u"CREATE INDEX pet_face_pet_idx ON pet_face_table(pet_id)", false},
    {u"CREATE INDEX pet_face_file_idx ON pet_face_table(file_id)", true},

    {u"CREATE TABLE album_table (album_id INTEGER PRIMARY KEY, album_name TEXT, gps_latitude REAL, "
     u"gps_longitude REAL, gps_areainfo TEXT, shooting_date_oldest INTEGER, shooting_date_latest INTEGER, "
     u"album_file_count INTEGER)",
     true},
    {u"CREATE INDEX album_table_name_idx ON album_table(album_name)", false},
    {u"CREATE INDEX album_table_sdate_old_idx ON album_table(shooting_date_oldest)", true},

    {u"CREATE TABLE tag_table (tag_id INTEGER PRIMARY KEY, tag_name TEXT, tag_type INTEGER)", true},
    {u"CREATE UNIQUE INDEX tag_tag_name_idx ON tag_table(tag_name)", true},

    {u"CREATE TABLE tag_file_table (tag_id INTEGER, file_id INTEGER)", true},
    {u"CREATE INDEX tag_file_idx ON tag_file_table(tag_id, file_id)", true},

    {u"CREATE TABLE meta_table (file_id INTEGER, filter_data BLOB, file_size INTEGER, file_update_date INTEGER, "
     u"import_date INTEGER, duration INTEGER, pixel_width INTEGER, pixel_height INTEGER, panorama_number INTEGER, "
     u"drive_number INTEGER, frame_rate INTEGER, import_class INTEGER, gps_altitude INTEGER, gps_direction INTEGER, "
     u"gps_areainfo TEXT, model_name TEXT, picture_mode INTEGER, finishing_mode INTEGER, art_filter INTEGER, "
     u"focus_mode INTEGER, param_flag INTEGER)",
     true},
    {u"CREATE UNIQUE INDEX meta_file_idx ON meta_table(file_id)", true},

    {u"CREATE TABLE image_file_table (file_id INTEGER PRIMARY KEY, image_file_type INTEGER, image_file_path TEXT, "
     u"filter_data BLOB, filter_data_orientation)",
     true},

    {u"CREATE TABLE import_history_table (import_date INTEGER, import_class INTEGER, import_attribute INTEGER)", true},

    {u"CREATE TABLE person_face_feature_point_group_table (group_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
     u"face_id INTEGER, create_date INTEGER, face_count INTEGER)",
     true},
    {u"CREATE INDEX person_face_feature_point_group_idx ON person_face_feature_point_group_table(create_date DESC)",
     true},
    {u"CREATE TABLE pet_face_feature_point_group_table (group_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
     u"face_id INTEGER, create_date INTEGER, face_count INTEGER)",
     true},
    {u"CREATE INDEX pet_face_feature_point_group_idx ON pet_face_feature_point_group_table(create_date DESC)", true},
    {u"CREATE TABLE person_face_feature_point_group_item_table (face_id INTEGER PRIMARY KEY, "
     u"feature_point_id INTEGER, group_id INTEGER)",
     true},
    {u"CREATE TABLE pet_face_feature_point_group_item_table (face_id INTEGER PRIMARY KEY, feature_point_id INTEGER, "
     u"group_id INTEGER)",
     true},

    {u"CREATE TABLE main_image_cache_file_table (file_id INTEGER PRIMARY KEY, file_type INTEGER, file_path TEXT)",
     true},
};

}  // namespace

HRESULT CSQLiteFileBasicDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    if (ExecuteStatement(kPageSize) != S_OK) return E_FAIL;
    // The base tables exist already, so only the rewrite of a vacuum gives
    // the file its page size. Its outcome does not matter here.
    Vacuum();
    for (const SchemaStatement& statement : kSchema) {
        // What was made before a failure stays.
        if (ExecuteStatement(statement.sql) != S_OK && statement.failureCounts) return E_FAIL;
    }
    return S_OK;
}
