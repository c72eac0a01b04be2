// CSQLiteFileBasicDB::CreateTables: every table of the catalogue with its
// indexes, in a fixed order. "SELECT *" reads columns by position, so the
// column order of each table is part of the file format; each table's text
// stands in the header that describes the table.
#include "albums/album_table.h"
#include "albums/import_history_rows.h"
#include "albums/tag_tables.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_table.h"
#include "faces/face_tables.h"
#include "faces/feature_point_group_tables.h"
#include "faces/individual_tables.h"
#include "records/meta_table.h"
#include "shards/image_cache_tables.h"

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
    {file_table::kCreate, true},
    {file_table::kCreateDateNameIndex, false},
    {file_table::kCreateAlbumDateNameIndex, false},
    {file_table::kCreatePathKeyIndex, true},

    {individual_tables::kCreatePersonTable, true},
    {individual_tables::kCreatePersonRegisterDateIndex, true},
    {individual_tables::kCreatePersonCustomIndexIndex, true},
    {individual_tables::kCreatePersonNameIndex, true},
    {individual_tables::kCreatePersonGroupItemTable, true},
    {individual_tables::kCreatePersonGroupItemIndex, true},
    {individual_tables::kCreateFaceGroupTable, true},
    {individual_tables::kCreatePetTable, true},
    {individual_tables::kCreatePetRegisterDateIndex, true},
    {individual_tables::kCreatePetCustomIndexIndex, true},
    {individual_tables::kCreatePetNameIndex, true},
    {individual_tables::kCreatePetGroupItemTable, true},
    {individual_tables::kCreatePetGroupItemIndex, true},

    {face_tables::kCreatePersonFaceTable, true},
    {face_tables::kCreatePersonFacePersonIndex, false},
    {face_tables::kCreatePersonFaceFileIndex, true},
    {face_tables::kCreatePetFaceTable, true},
    {face_tables::kCreatePetFacePetIndex, false},
    {face_tables::kCreatePetFaceFileIndex, true},

    {album_table::kCreate, true},
    {album_table::kCreateNameIndex, false},
    {album_table::kCreateOldestDateIndex, true},

    {tag_tables::kCreateTagTable, true},
    {tag_tables::kCreateTagNameIndex, true},
    {tag_tables::kCreateLinkTable, true},
    {tag_tables::kCreateLinkIndex, true},

    {meta_table::kCreate, true},
    {meta_table::kCreateFileIndex, true},

    {image_cache_tables::kCreateImageFileTable, true},

    {import_history_table::kCreate, true},

    {feature_point_group_tables::kCreatePersonGroupTable, true},
    {feature_point_group_tables::kCreatePersonGroupIndex, true},
    {feature_point_group_tables::kCreatePetGroupTable, true},
    {feature_point_group_tables::kCreatePetGroupIndex, true},
    {feature_point_group_tables::kCreatePersonGroupItemTable, true},
    {feature_point_group_tables::kCreatePetGroupItemTable, true},

    {image_cache_tables::kCreateMainImageCacheTable, true},
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
