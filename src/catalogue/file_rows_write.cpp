// FileTableRows: the writes of file_table. A row is inserted from a record
// or from plain values, changed by an UPDATE generated from the record's
// changed mask, and deleted with everything that hangs on it.
#include <cstdarg>

#include "albums/tag_links.h"
#include "catalogue/file_rows.h"
#include "catalogue/file_table.h"
#include "faces/face_rows.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"
#include "records/meta_rows.h"
#include "shards/main_image_cache_rows.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::FileRecordCache;
using zandb4::Statement;

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

uint32_t ThumbnailSizeOf(IZanDB4FileDBRecord* record) {
    uint32_t width = 0, height = 0;
    record->GetThumbnailSize(&width, &height);
    return width * 65536u + height;
}

uint32_t Flag(IZanDB4FileDBRecord* record, HRESULT (IZanDB4FileDBRecord::*getter)(uint8_t*)) {
    uint8_t value = 0;
    (record->*getter)(&value);
    return value != 0 ? 1u : 0u;
}

// The values a file row takes over from a record, whether the row is the
// record's own or an item group's made from it: shooting date, position,
// attributes, thumbnail, flags, album and class.
void ReadDescriptiveValues(IZanDB4FileDBRecord* record, FileRowValues& row) {
    record->GetShootingDateValue(&row.shootingDate);
    float latitude = 0, longitude = 0;
    record->GetGPS(&latitude, &longitude);
    row.latitude = latitude;
    row.longitude = longitude;
    record->GetFileAttributes(&row.fileAttributes);
    row.thumbnailSize = ThumbnailSizeOf(record);
    uint16_t orientation = 0;
    record->GetThumbnailOrientation(&orientation);
    row.thumbnailOrientation = orientation;
    row.didEdit = Flag(record, &IZanDB4FileDBRecord::GetDidEdit) != 0;
    row.isFavorite = Flag(record, &IZanDB4FileDBRecord::GetIsFavorite) != 0;
    row.didDetectFace = Flag(record, &IZanDB4FileDBRecord::GetDidDetectFace) != 0;
    record->GetAlbumID(&row.albumId);
    row.uploadFlag = Flag(record, &IZanDB4FileDBRecord::GetUploadFlag) != 0;
    uint8_t classifyId = 0;
    record->GetClassifyID(&classifyId);
    row.classifyId = classifyId;
}

// Every column value of a record, read through its getters.
FileRowValues RowValuesOf(IZanDB4FileDBRecord* record) {
    FileRowValues row;
    record->GetFileID(&row.fileId);
    record->GetFilePath(row.filePath, &row.diskVsn);
    record->GetFileName(row.fileName);
    record->GetFileFormat(&row.fileFormat);
    ReadDescriptiveValues(record, row);
    record->GetManage(&row.manage);
    SYSTEMTIME parentDate{};
    record->GetParent(&row.parentId, &parentDate);
    row.parentShootingDate = CZanTDateTime(parentDate).GetPacked();
    return row;
}

// The SET list of a generated UPDATE: the first item bare, every later one
// behind a comma. Values stand in the text unescaped.
class SetList {
public:
    void Unsigned(const WCHAR* column, uint32_t value) { Add(u"%s='%u'", column, value); }
    void Text(const WCHAR* column, const CZanTString& value) { Add(u"%s='%s'", column, value.GetString()); }
    void Wide(const WCHAR* column, uint64_t value) { Add(u"%s='%llu'", column, static_cast<unsigned long long>(value)); }
    void Real(const WCHAR* column, float value) { Add(u"%s='%f'", column, static_cast<double>(value)); }
    CZanTString& Sql() { return m_sql; }

private:
    void Add(const WCHAR* format, ...) {
        va_list args;
        va_start(args, format);
        if (!m_first) m_sql += u",";
        m_sql.AppendFormatV(format, args);
        va_end(args);
        m_first = false;
    }

    CZanTString m_sql;
    bool m_first = true;
};

// The UPDATE of the columns that mask names, in the fixed order of the mask
// bits, with the values written into the text.
CZanTString ColumnUpdateOf(IZanDB4FileDBRecord* record, uint32_t mask, uint64_t fileId) {
    SetList set;
    set.Sql().Format(u"UPDATE %s SET ", u"file_table");
    if (mask & CZanDB4FileDBRecord::kManage) {
        uint32_t manage = 0;
        record->GetManage(&manage);
        set.Unsigned(u"manage", manage);
    }
    if (mask & CZanDB4FileDBRecord::kFilePath) {
        CZanTString path;
        uint32_t diskVsn = 0;
        record->GetFilePath(path, &diskVsn);
        set.Text(u"file_path", file_table::StoredFilePath(path));
        set.Unsigned(u"disk_vsn", diskVsn);
        set.Text(u"path_key", file_table::PathKeyOf(path, diskVsn));
    }
    if (mask & CZanDB4FileDBRecord::kFileName) {
        CZanTString name;
        record->GetFileName(name);
        set.Text(u"file_name", file_table::StoredFileName(name));
    }
    if (mask & CZanDB4FileDBRecord::kFileFormat) {
        uint32_t format = 0;
        record->GetFileFormat(&format);
        set.Unsigned(u"file_format", format);
    }
    if (mask & CZanDB4FileDBRecord::kShootingDate) {
        int64_t date = 0;
        record->GetShootingDateValue(&date);
        set.Wide(u"shooting_date", static_cast<uint64_t>(date));
    }
    if (mask & CZanDB4FileDBRecord::kThumbnailSize) set.Unsigned(u"thumbnail_size", ThumbnailSizeOf(record));
    if (mask & CZanDB4FileDBRecord::kThumbnailOrientation) {
        uint16_t orientation = 0;
        record->GetThumbnailOrientation(&orientation);
        set.Unsigned(u"thumbnail_orientation", orientation);
    }
    if (mask & CZanDB4FileDBRecord::kGps) {
        float latitude = 0, longitude = 0;
        record->GetGPS(&latitude, &longitude);
        set.Real(u"gps_latitude", latitude);
        set.Real(u"gps_longitude", longitude);
    }
    if (mask & CZanDB4FileDBRecord::kFileAttributes) {
        uint32_t attributes = 0;
        record->GetFileAttributes(&attributes);
        set.Unsigned(u"file_attributes", attributes);
    }
    if (mask & CZanDB4FileDBRecord::kDidEdit) set.Unsigned(u"did_edit", Flag(record, &IZanDB4FileDBRecord::GetDidEdit));
    if (mask & CZanDB4FileDBRecord::kIsFavorite)
        set.Unsigned(u"is_favorite", Flag(record, &IZanDB4FileDBRecord::GetIsFavorite));
    if (mask & CZanDB4FileDBRecord::kDidDetectFace)
        set.Unsigned(u"did_detect_face", Flag(record, &IZanDB4FileDBRecord::GetDidDetectFace));
    if (mask & CZanDB4FileDBRecord::kAlbumId) {
        uint64_t albumId = 0;
        record->GetAlbumID(&albumId);
        set.Wide(u"album_id", albumId);
    }
    if (mask & CZanDB4FileDBRecord::kParent) {
        uint64_t parentId = 0;
        SYSTEMTIME parentDate{};
        record->GetParent(&parentId, &parentDate);
        int64_t date = CZanTDateTime(parentDate).GetPacked();
        // A file without a parent carries its own shooting date there.
        if (parentId == 0) record->GetShootingDateValue(&date);
        set.Wide(u"parent_id", parentId);
        set.Wide(u"parent_shooting_date", static_cast<uint64_t>(date));
    }
    if (mask & CZanDB4FileDBRecord::kUploadFlag)
        set.Unsigned(u"upload_flag", Flag(record, &IZanDB4FileDBRecord::GetUploadFlag));
    if (mask & CZanDB4FileDBRecord::kClassifyId) {
        uint8_t classifyId = 0;
        record->GetClassifyID(&classifyId);
        set.Unsigned(u"classify_id", classifyId);
    }
    set.Sql().AppendFormat(u" WHERE %s='%llu'", u"file_id", static_cast<unsigned long long>(fileId));
    return set.Sql();
}

}  // namespace

HRESULT FileTableRows::InsertFileRecord(IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    m_store.BeginTransaction();
    FileRowValues row = RowValuesOf(record);
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
    FileRecordCache::Use(zandb4::g_fileRecordCache, [&](FileRecordCache& cache) {
        IZanDB4FileDBRecord* live = nullptr;
        if (cache.Find(row.fileId, &live)) {
            live->Release();  // the id already has its live record
            return;
        }
        cache.Add(row.fileId, record);
    });
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
    ReadDescriptiveValues(source, row);
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
        CZanTString sql = ColumnUpdateOf(record, mask, fileId);
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
