// CSQLiteAsyncDB: staged files, their tags and the rewrite of a staged row.
#include "frame/com_ptr.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"
#include "records/file_record_values.h"
#include "records/meta_rows.h"
#include "staging/async_db.h"
#include "staging/async_file_table.h"
#include "storage/statement.h"

using file_record_values::SetList;
using zandb4::ComPtr;
using zandb4::FileRecordCache;
using zandb4::Statement;

namespace {

constexpr WCHAR kInsert[] =
    u"INSERT INTO async_file_table (file_id, file_path, disk_vsn, file_name, file_format, shooting_date, "
    u"gps_latitude, gps_longitude, file_attributes, thumbnail_size, thumbnail_orientation, did_edit, is_favorite, "
    u"did_detect_face, album_id, manage, parent_id, parent_shooting_date, upload_flag, classify_id, import_date, "
    u"import_class, filter_data, file_size, file_update_date, duration, pixel_width, pixel_height, panorama_number, "
    u"drive_number, frame_rate, gps_altitude, gps_direction, gps_areainfo, model_name, picture_mode, "
    u"finishing_mode, art_filter, focus_mode, param_flag, can_commit) VALUES "
    u"(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
constexpr WCHAR kDeleteFilesFormat[] = u"DELETE FROM async_file_table WHERE file_id IN (%s)";
constexpr WCHAR kDeleteTagsOfFilesFormat[] = u"DELETE FROM async_tag_file_table WHERE file_id IN (%s)";
constexpr WCHAR kDeleteTagsOfFile[] = u"DELETE FROM async_tag_file_table WHERE file_id=?";
// param_flagr names no column, so this never prepares: the metadata of a
// staged file cannot change, and what AddFile wrote is what moves to the
// catalogue. Files and clients rely on that; the text must stay as it is.
constexpr WCHAR kUpdateMetadata[] =
    u"UPDATE async_file_table SET filter_data=?, file_size=?, file_update_date=?, import_date=?, pixel_width=?, "
    u"pixel_height=?, panorama_number=?, drive_number=?, duration=?, import_class=?, frame_rate=?, gps_altitude=?, "
    u"gps_direction=?, gps_areainfo=?, model_name=?, picture_mode=?, finishing_mode=?, art_filter=?, focus_mode=?, "
    u"param_flagr=? WHERE file_id=?";

// Staged rows keep path and name as the client gave them: the catalogue's
// separator rules and path_key apply when the row moves.
void StagedPathColumns(SetList& set, const CZanTString& path, uint32_t diskVsn) {
    set.Text(u"file_path", path);
    set.Unsigned(u"disk_vsn", diskVsn);
}

CZanTString StagedName(const CZanTString& name) { return name; }

constexpr file_record_values::UpdateRules kStagedUpdate = {
    u"async_file_table",
    StagedPathColumns,
    StagedName,
    false,
};

void ApplyOverrides(const StagedFileOverrides& overrides, FileRowValues& row) {
    if (overrides.mask & StagedFileOverrides::kManage) row.manage = overrides.manage;
    if (overrides.mask & StagedFileOverrides::kFilePath) row.filePath = overrides.filePath;
    if (overrides.mask & StagedFileOverrides::kDiskVsn) row.diskVsn = overrides.diskVsn;
    if (overrides.mask & StagedFileOverrides::kFileName) row.fileName = overrides.fileName;
}

// The 41 parameters of the insert, in the statement's order.
void BindStagedRow(Statement& insert, const FileRowValues& row, const MetaRowValues& meta) {
    int index = 1;
    insert.BindInt64(index++, static_cast<int64_t>(row.fileId));
    insert.BindText(index++, row.filePath);
    insert.BindInt64(index++, row.diskVsn);
    insert.BindText(index++, row.fileName);
    insert.BindInt64(index++, row.fileFormat);
    insert.BindInt64(index++, row.shootingDate);
    insert.BindDouble(index++, row.latitude);
    insert.BindDouble(index++, row.longitude);
    insert.BindInt64(index++, row.fileAttributes);
    insert.BindInt64(index++, row.thumbnailSize);
    insert.BindInt64(index++, row.thumbnailOrientation);
    insert.BindInt(index++, row.didEdit ? 1 : 0);
    insert.BindInt(index++, row.isFavorite ? 1 : 0);
    insert.BindInt(index++, row.didDetectFace ? 1 : 0);
    insert.BindInt64(index++, static_cast<int64_t>(row.albumId));
    insert.BindInt64(index++, row.manage);
    insert.BindInt64(index++, static_cast<int64_t>(row.parentId));
    insert.BindInt64(index++, row.parentShootingDate);
    insert.BindInt(index++, row.uploadFlag ? 1 : 0);
    insert.BindInt64(index++, row.classifyId);
    insert.BindInt64(index++, meta.importDate);
    insert.BindInt64(index++, meta.importClass);
    // Declared TEXT, written as a blob of the size the record gives.
    insert.BindBlob(index++, meta.filterData, static_cast<int>(meta.filterDataSize));
    insert.BindInt64(index++, meta.fileSize);
    insert.BindInt64(index++, meta.fileUpdateDate);
    insert.BindInt64(index++, meta.duration);
    insert.BindInt64(index++, meta.pixelWidth);
    insert.BindInt64(index++, meta.pixelHeight);
    insert.BindInt64(index++, meta.panoramaNumber);
    insert.BindInt64(index++, meta.driveNumber);
    insert.BindInt64(index++, meta.frameRate);
    insert.BindInt64(index++, meta.gpsAltitude);
    insert.BindInt64(index++, meta.gpsDirection);
    insert.BindText(index++, meta.gpsAreaInfo);
    insert.BindText(index++, meta.modelName);
    insert.BindInt64(index++, meta.pictureMode);
    insert.BindInt64(index++, meta.finishingMode);
    insert.BindInt64(index++, meta.artFilter);
    insert.BindInt64(index++, meta.focusMode);
    insert.BindInt64(index++, meta.paramFlag);
    insert.BindInt(index, 1);  // can_commit
}

}  // namespace

BOOL CSQLiteAsyncDB::HasFile(uint64_t fileId) {
    Statement select(m_db, async_file_table::kSelectById);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

HRESULT CSQLiteAsyncDB::AddFile(uint64_t fileId, IZanDB4FileDBRecord* record, const StagedFileOverrides* overrides,
                                BOOL joinRecordCache) {
    if (record == nullptr) return E_INVALIDARG;
    BeginTransaction();
    // An id that comes round again replaces what was staged under it.
    if (HasFile(fileId)) DeleteFile(fileId);

    Statement insert(m_db, kInsert);
    if (!insert.IsPrepared()) return E_FAIL;
    FileRowValues row = file_record_values::ValuesOf(record);
    row.fileId = fileId;
    if (overrides != nullptr) ApplyOverrides(*overrides, row);
    // The metadata record stays held while its filter data is bound.
    ComPtr<IZanDB4FileMetaDBRecord> meta;
    record->GetMetaRecord(meta.Receive());
    MetaRowValues metaValues = meta ? MetaTableRows::MetaValuesOf(meta.Get()) : MetaRowValues();
    BindStagedRow(insert, row, metaValues);
    // The unique index on name and path refuses a second file of the same
    // name in the same folder; nothing is written then.
    int step = insert.Step();
    insert.Finalize();
    if (step != SQLITE_DONE) return E_FAIL;

    HRESULT tags = InsertTags(fileId, record);
    if (tags != S_OK) return tags;
    // The object the client holds becomes the one later searches give.
    if (overrides == nullptr || joinRecordCache) {
        FileRecordCache::Use(zandb4::g_fileRecordCache,
                             [&](FileRecordCache& cache) { cache.AddUnlessLive(fileId, record); });
    }
    return S_OK;
}

HRESULT CSQLiteAsyncDB::InsertTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    CArray<uint64_t> tags;
    record->GetTagList(&tags);
    for (ptrdiff_t index = 0; index < tags.GetSize(); ++index) {
        Statement insert(m_db, async_file_table::kInsertTag);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(1, static_cast<int64_t>(tags[index]));
        insert.BindInt64(2, static_cast<int64_t>(fileId));
        insert.Step();
        if (insert.Finalize() != SQLITE_OK) return E_FAIL;
    }
    return S_OK;
}

HRESULT CSQLiteAsyncDB::DeleteFile(uint64_t fileId) {
    BeginTransaction();
    CZanTString list;
    list.Format(u"%llu", static_cast<unsigned long long>(fileId));
    CZanTString deleteFiles, deleteTags;
    deleteFiles.Format(kDeleteFilesFormat, list.GetString());
    deleteTags.Format(kDeleteTagsOfFilesFormat, list.GetString());
    if (ExecuteStatement(deleteFiles.GetString()) != S_OK) return E_FAIL;
    return ExecuteStatement(deleteTags.GetString());
}

HRESULT CSQLiteAsyncDB::UpdateFile(uint64_t fileId, IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    BeginTransaction();
    uint32_t mask = 0;
    if (record->GetChangedMask(&mask)) {
        CZanTString sql = file_record_values::ColumnUpdateOf(record, mask, fileId, kStagedUpdate);
        // A failure is not reported: a change of relations alone leaves the
        // SET list empty, the statement fails, and the relations go on.
        if (ExecuteStatement(sql.GetString()) == S_OK) record->MarkColumnsChanged(0);
    }
    uint32_t relations = 0;
    if (!record->GetRelationsChangedMask(&relations)) return S_OK;
    HRESULT written = S_OK;
    if (relations & CZanDB4FileDBRecord::kMetaRecord) written = WriteMetadata(fileId, record);
    if (relations & CZanDB4FileDBRecord::kTagSet) written = WriteTags(fileId, record);
    if (written == S_OK) record->MarkRelationsChanged(0);
    return written;
}

HRESULT CSQLiteAsyncDB::WriteTags(uint64_t fileId, IZanDB4FileDBRecord* record) {
    {
        Statement remove(m_db, kDeleteTagsOfFile);
        remove.BindInt64(1, static_cast<int64_t>(fileId));
        if (zandb4::StepToDone(remove) != S_OK) return E_FAIL;
    }
    return InsertTags(fileId, record);
}

HRESULT CSQLiteAsyncDB::WriteMetadata(uint64_t fileId, IZanDB4FileDBRecord* record) {
    Statement update(m_db, kUpdateMetadata);
    if (!update.IsPrepared()) return E_FAIL;
    // Reached only on a table that has a column of that name.
    ComPtr<IZanDB4FileMetaDBRecord> meta;
    record->GetMetaRecord(meta.Receive());
    MetaRowValues values = meta ? MetaTableRows::MetaValuesOf(meta.Get()) : MetaRowValues();
    int index = 1;
    update.BindBlob(index++, values.filterData, static_cast<int>(values.filterDataSize));
    update.BindInt64(index++, values.fileSize);
    update.BindInt64(index++, values.fileUpdateDate);
    update.BindInt64(index++, values.importDate);
    update.BindInt64(index++, values.pixelWidth);
    update.BindInt64(index++, values.pixelHeight);
    update.BindInt64(index++, values.panoramaNumber);
    update.BindInt64(index++, values.driveNumber);
    update.BindInt64(index++, values.duration);
    update.BindInt64(index++, values.importClass);
    update.BindInt64(index++, values.frameRate);
    update.BindInt64(index++, values.gpsAltitude);
    update.BindInt64(index++, values.gpsDirection);
    update.BindText(index++, values.gpsAreaInfo);
    update.BindText(index++, values.modelName);
    update.BindInt64(index++, values.pictureMode);
    update.BindInt64(index++, values.finishingMode);
    update.BindInt64(index++, values.artFilter);
    update.BindInt64(index++, values.focusMode);
    update.BindInt64(index++, values.paramFlag);
    update.BindInt64(index, static_cast<int64_t>(fileId));
    return update.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

HRESULT CSQLiteAsyncDB::SetParentOfFiles(const CZanTArray<uint64_t>& fileIds, uint64_t parentId,
                                         const SYSTEMTIME& parentDate) {
    // A blank record that only carries the parent; it belongs to no store.
    ComPtr<IZanDB4FileDBRecord> carrier = ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(nullptr));
    HRESULT result = S_OK;
    for (ptrdiff_t index = 0; index < fileIds.GetSize(); ++index) {
        // Each update clears the changed bit it wrote: set it for every id.
        carrier->SetParent(&parentId, &parentDate);
        if (UpdateFile(fileIds.GetAt(index), carrier.Get()) != S_OK) result = E_FAIL;
    }
    return result;
}
