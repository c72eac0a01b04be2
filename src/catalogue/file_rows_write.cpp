// FileTableRows: the writes of file_table. A row is inserted from a record
// or from plain values, changed by an UPDATE generated from the record's
// changed mask, and deleted with everything that hangs on it.
#include "albums/tag_links.h"
#include "catalogue/file_rows.h"
#include "catalogue/file_table.h"
#include "faces/face_rows.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"
#include "records/file_record_values.h"
#include "records/meta_rows.h"
#include "shards/main_image_cache_rows.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::FileRecordCache;
using zandb4::Statement;
using file_record_values::SetList;

namespace {

constexpr WCHAR kItemGroupPath[] = u":ITEM_GROUP:";
constexpr uint32_t kItemGroupManage = 2;

enum class InsertOutcome { kDone, kNotPrepared, kFailed };

// Runs the insert of one file_table row. Paths and the key are derived by
// the bind, so both insert forms apply the same separator rules.
InsertOutcome RunFileInsert(sqlite3* db, const FileRowValues& row) {
    Statement insert(db, file_table::kInsert);
    if (!insert.IsPrepared()) return InsertOutcome::kNotPrepared;
    file_table::BindInsert(insert, row);
    int step = insert.Step();
    insert.Finalize();
    return step == SQLITE_DONE ? InsertOutcome::kDone : InsertOutcome::kFailed;
}

// The catalogue's path rules: a trailing separator goes from the path and a
// leading one from the name, and path_key is made afresh with the path.
void CataloguePathColumns(SetList& set, const CZanTString& path, uint32_t diskVsn) {
    set.Text(u"file_path", file_table::StoredFilePath(path));
    set.Unsigned(u"disk_vsn", diskVsn);
    set.Text(u"path_key", file_table::PathKeyOf(path, diskVsn));
}

constexpr file_record_values::UpdateRules kCatalogueUpdate = {
    u"file_table",
    CataloguePathColumns,
    file_table::StoredFileName,
    true,
};

}  // namespace

HRESULT FileTableRows::InsertFileRecord(IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    m_store.BeginTransaction();
    FileRowValues row = file_record_values::ValuesOf(record);
    InsertOutcome outcome = RunFileInsert(m_store.m_db, row);
    // A statement that does not prepare is not reported: callers find out
    // from a later read. Existing clients are written against this.
    if (outcome == InsertOutcome::kNotPrepared) return S_OK;
    if (outcome == InsertOutcome::kFailed) return E_FAIL;

    if (row.albumId != 0) m_store.NoteAlbumForRecount(row.albumId);
    // A file without tags or metadata is still a good file: these results
    // do not decide the insert's.
    TagFileLinks(m_store).WriteFileTags(row.fileId, record);
    MetaTableRows(m_store).InsertMetaRecord(row.fileId, record, 1);
    FileRecordCache::Use(zandb4::g_fileRecordCache,
                         [&](FileRecordCache& cache) { cache.AddUnlessLive(row.fileId, record); });
    return S_OK;
}

HRESULT FileTableRows::InsertFileRow(const FileRowValues& values) {
    m_store.BeginTransaction();
    if (RunFileInsert(m_store.m_db, values) != InsertOutcome::kDone) return E_FAIL;
    if (values.albumId != 0) m_store.NoteAlbumForRecount(values.albumId);
    return S_OK;
}

HRESULT FileTableRows::AddItemGroupFile(uint64_t fileId, IZanDB4FileDBRecord* source) {
    if (source == nullptr) return E_INVALIDARG;
    ComPtr<IZanDB4FileDBRecord> held = ComPtr<IZanDB4FileDBRecord>::Share(source);

    // The row names no real file: the path is the marker followed by the id,
    // the name the id alone, and there is no volume.
    FileRowValues row;
    row.fileId = fileId;
    row.filePath.Format(u"%s%llu", kItemGroupPath, static_cast<unsigned long long>(fileId));
    row.fileName.Format(u"%llu", static_cast<unsigned long long>(fileId));
    row.diskVsn = 0;
    row.fileFormat = 0;
    row.manage = kItemGroupManage;
    row.parentId = 0;

    ComPtr<IZanDB4FileMetaDBRecord> meta;
    source->GetMetaRecord(meta.Receive());  // brings the metadata in for the insert below
    file_record_values::ReadDescriptiveValues(source, row);
    row.parentShootingDate = row.shootingDate;

    HRESULT result = InsertFileRow(row);
    if (result != S_OK) return result;
    source->SetFileID(fileId);
    source->MarkColumnsChanged(0);
    source->MarkRelationsChanged(0);
    if (row.albumId != 0) m_store.NoteAlbumForRecount(row.albumId);
    TagFileLinks(m_store).WriteFileTags(fileId, source);
    MetaTableRows(m_store).InsertMetaRecord(fileId, source, 1);
    return result;
}

HRESULT FileTableRows::SetParentOfFiles(const CZanTArray<uint64_t>& fileIds, uint64_t parentId,
                                             const CZanTDateTime& parentDate) {
    ComPtr<IZanDB4FileDBRecord> carrier;
    HRESULT result =
        zandb4::CreateInstance(IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(carrier.Receive()));
    if (result != S_OK) return result;
    result = carrier->SetParent(&parentId, &parentDate.m_time);
    if (result != S_OK) return result;

    for (ptrdiff_t i = 0; i < fileIds.GetSize(); ++i) {
        uint64_t fileId = fileIds.GetAt(i);
        if (UpdateFileRecord(fileId, carrier.Get()) != S_OK) result = E_FAIL;
        // The update cleared the changed bit it wrote; set it for the next id.
        carrier->SetParent(&parentId, &parentDate.m_time);

        // A client holding the file sees the new parent too. Its setter takes
        // the store's lock, so it runs outside the cache's lock.
        ComPtr<IZanDB4FileDBRecord> live;
        FileRecordCache::Use(zandb4::g_fileRecordCache,
                             [&](FileRecordCache& cache) { cache.Find(fileId, live.Receive()); });
        if (live) live->SetParent(&parentId, &parentDate.m_time);
    }
    return result;
}

// The new album goes to the recount, and so does the album of the row's live
// record. That record is usually this very one, so this notes the new album
// again; the record's own SetAlbumID noted the old one.
void FileTableRows::NoteAlbumsOfUpdate(uint64_t fileId, IZanDB4FileDBRecord* record) {
    uint64_t albumId = 0;
    record->GetAlbumID(&albumId);
    if (albumId != 0) m_store.NoteAlbumForRecount(albumId);
    ComPtr<IZanDB4FileDBRecord> stored;
    if (GetFileRecord(fileId, stored.Receive()) == S_OK && stored) {
        uint64_t storedAlbum = 0;
        stored->GetAlbumID(&storedAlbum);
        if (storedAlbum != 0) m_store.NoteAlbumForRecount(storedAlbum);
    }
}

HRESULT FileTableRows::UpdateFileRecord(uint64_t fileId, IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_FAIL;
    m_store.BeginTransaction();
    uint32_t mask = 0;
    record->GetChangedMask(&mask);
    if (mask != 0) {
        CZanTString sql = file_record_values::ColumnUpdateOf(record, mask, fileId, kCatalogueUpdate);
        if (mask & CZanDB4FileDBRecord::kAlbumId) NoteAlbumsOfUpdate(fileId, record);

        // With only relation bits in the mask the SET list is empty and the
        // statement fails here: such a record saves its tags along with a
        // column, or through the tag operations.
        if (zandb4::RunStatement(m_store.m_db, sql.GetString()) != S_OK) return E_FAIL;
        record->MarkColumnsChanged(0);
    }
    uint32_t relations = 0;
    if (record->GetRelationsChangedMask(&relations)) {
        HRESULT written = S_OK;
        if (relations & CZanDB4FileDBRecord::kTagSet) written = TagFileLinks(m_store).ReplaceFileTags(fileId, record);
        // The metadata's result replaces the tags': with both saved in one
        // update, a failed tag write is forgotten when the metadata goes in.
        // Clients see the bits cleared after such a save; this stays so.
        if (relations & CZanDB4FileDBRecord::kMetaRecord)
            written = MetaTableRows(m_store).UpdateMetaRecord(fileId, record);
        // A relation whose (last) write failed stays marked for the next
        // save; the update itself has succeeded.
        if (written == S_OK) record->MarkRelationsChanged(0);
    }
    return S_OK;
}

HRESULT FileTableRows::DeleteFileRow(uint64_t fileId) {
    m_store.BeginTransaction();
    FaceTableRows(m_store).DeleteFacesOfFile(fileId);
    {
        Statement album(m_store.m_db, file_table::kSelectAlbumById);
        if (album.IsPrepared()) {
            album.BindInt64(1, static_cast<int64_t>(fileId));
            if (album.Step() == SQLITE_ROW) {
                uint64_t albumId = static_cast<uint64_t>(album.ColumnInt64(0));
                if (albumId != 0) m_store.NoteAlbumForRecount(albumId);
            }
        }
    }
    MetaTableRows(m_store).DeleteMetaRecord(fileId);

    HRESULT tagsDeleted = TagFileLinks(m_store).DeleteLinksOfFile(fileId);
    MainImageCacheRows(m_store).DeleteMainImageCache(fileId);
    if (tagsDeleted != S_OK) return E_FAIL;

    Statement row(m_store.m_db, file_table::kDeleteById);
    if (!row.IsPrepared()) return E_FAIL;
    row.BindInt64(1, static_cast<int64_t>(fileId));
    int step = row.Step();
    if (step != SQLITE_DONE || row.Finalize() != SQLITE_OK) return E_FAIL;
    // A client still holding the record keeps an object whose id is now 0,
    // so it reads nothing from a row that is gone.
    FileRecordCache::Use(zandb4::g_fileRecordCache, [&](FileRecordCache& cache) { cache.Remove(fileId); });
    return S_OK;
}
