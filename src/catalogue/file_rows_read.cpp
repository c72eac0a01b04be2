// FileTableRows: the reads of file_table. Result rows become the one live
// record of their file through FileRecordCache, so two searches that find
// one file hand out one object.
#include "albums/album_table.h"
#include "albums/tag_rows.h"
#include "albums/tag_tables.h"
#include "catalogue/file_rows.h"
#include "catalogue/file_table.h"
#include "faces/face_rows.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "frame/file_record_cache.h"
#include "platform/files.h"
#include "records/file_db_record.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::FileRecordCache;
using zandb4::Statement;

namespace {

constexpr WCHAR kSelectFormats[] = u"SELECT file_format FROM file_table";
constexpr WCHAR kCountAllFiles[] = u"SELECT COUNT(file_id) FROM file_table";
constexpr WCHAR kSelectAllFiles[] = u"SELECT * FROM file_table";
constexpr WCHAR kSelectEveryShootingDate[] = u"SELECT shooting_date FROM file_table";
constexpr WCHAR kSelectManageFlags[] = u"SELECT manage FROM file_table";
constexpr WCHAR kSelectLatestDate[] = u"SELECT MAX(shooting_date) FROM file_table";
constexpr WCHAR kSelectOldestDate[] = u"SELECT MIN(shooting_date) FROM file_table";
constexpr WCHAR kSelectDates[] = u"SELECT shooting_date FROM file_table";

constexpr WCHAR kFilesOfPerson[] =
    u"SELECT * FROM file_table WHERE EXISTS (SELECT * FROM person_face_table WHERE person_face_table.person_id=? "
    u"AND person_face_table.file_id=file_table.file_id) ORDER BY shooting_date DESC, file_name DESC";
constexpr WCHAR kFilesOfPet[] =
    u"SELECT * FROM file_table WHERE EXISTS (SELECT * FROM pet_face_table WHERE pet_face_table.pet_id=? AND "
    u"pet_face_table.file_id=file_table.file_id) ORDER BY shooting_date DESC, file_name DESC";
constexpr WCHAR kFaceRowsOfPerson[] =
    u"SELECT * FROM file_table LEFT OUTER JOIN person_face_table ON file_table.file_id=person_face_table.file_id "
    u"WHERE person_face_table.person_id=? ORDER BY shooting_date DESC, file_name DESC";
constexpr WCHAR kFaceRowsOfPet[] =
    u"SELECT * FROM file_table LEFT OUTER JOIN pet_face_table ON file_table.file_id=pet_face_table.file_id "
    u"WHERE pet_face_table.pet_id=? ORDER BY shooting_date DESC, file_name DESC";
// The face columns follow the columns of file_table.
constexpr int kFirstFaceColumn = file_table::kColumnCount;

constexpr WCHAR kFilesByDate[] =
    u"SELECT * FROM file_table WHERE ( shooting_date>=? AND shooting_date<=? AND manage=1 ) "
    u"ORDER BY shooting_date ASC, file_name ASC";
constexpr WCHAR kFilesByParentDate[] =
    u"SELECT * FROM file_table WHERE ( parent_shooting_date>=? AND parent_shooting_date<=? AND manage!=0 ) "
    u"ORDER BY shooting_date ASC, file_name ASC";
constexpr WCHAR kFilesOfImportClass[] =
    u"SELECT * FROM file_table WHERE EXISTS (SELECT * FROM meta_table WHERE import_date=? AND import_class=? AND "
    u"file_table.file_id = meta_table.file_id )";
constexpr WCHAR kFilesOfImport[] =
    u"SELECT * FROM file_table WHERE EXISTS (SELECT * FROM meta_table WHERE import_date=? AND "
    u"file_table.file_id = meta_table.file_id )";
// Written directly behind the closing parenthesis, without a space.
constexpr WCHAR kImportOrder[] = u"ORDER BY shooting_date ASC, file_name ASC";
constexpr uint32_t kImportUnordered = 0x10;

constexpr uint32_t kReducedMask = CZanDB4FileDBRecord::kReducedColumns;

// The mask a load mode reads into a record; 0 reads nothing.
uint32_t MaskOfMode(uint32_t mode) {
    switch (mode) {
        case FileTableRows::kLoadAll: return CZanDB4FileDBRecord::kAllColumns;
        case FileTableRows::kLoadShort: return kReducedMask;
        default: return 0;
    }
}

// The query's condition, or empty when there is no query or no text.
CZanTString ConditionOf(IZanDB4QueryNode* query) {
    CZanTString condition;
    if (query != nullptr) query->GetText(condition);
    return condition;
}

// " WHERE condition" when there is a condition.
void AppendCondition(CZanTString& sql, IZanDB4QueryNode* query) {
    CZanTString condition = ConditionOf(query);
    if (condition.IsEmpty()) return;
    sql += u" WHERE ";
    sql += condition;
}

// The date statements count managed files only, except under a query whose
// text is empty, which counts every file. The condition is not put in
// parentheses: a top-level OR in it binds looser than the AND behind it.
void AppendManagedCondition(CZanTString& sql, IZanDB4QueryNode* query) {
    if (query == nullptr) {
        sql += u" WHERE manage=1";
        return;
    }
    CZanTString condition = ConditionOf(query);
    if (condition.IsEmpty()) return;
    sql += u" WHERE ";
    sql += condition;
    sql += u" AND manage=1";
}

int64_t PackedWithoutMilliseconds(const SYSTEMTIME& date) { return CZanTDateTime(date).GetPacked(); }

// The two row forms a record is made from: "SELECT *" and the short list.
// Read leaves the texts in the statement's row (valid until the next step).
struct FullRowForm {
    static constexpr uint32_t kFields = CZanDB4FileDBRecord::kAllColumns;
    static FileRowView Read(const Statement& row) { return file_table::ReadRowView(row); }
};
struct ShortRowForm {
    static constexpr uint32_t kFields = file_table::kShortRowFields;
    static FileRowView Read(const Statement& row) { return file_table::ReadShortRowView(row); }
};

// The record of the current row: the live record of its file_id, refreshed
// by the row, or a new one filled from the row with the mask of the mode
// and added to the cache. cache: the record cache, whose lock the caller
// holds; null while the library goes down, when a record is still made.
template <class Form>
HRESULT RecordFromRowIn(FileRecordCache* cache, uint64_t* outId, IZanDB4FileDBRecord** outRecord,
                        const Statement* row, uint32_t mode) {
    if (outId != nullptr) *outId = 0;
    if (outRecord != nullptr) *outRecord = nullptr;
    if (row == nullptr) return E_INVALIDARG;
    // file_id leads both row forms.
    static_assert(file_table::kFileId == 0 && file_table::kShortFileId == 0);
    uint64_t fileId = static_cast<uint64_t>(row->ColumnInt64(file_table::kFileId));
    if (outId != nullptr) *outId = fileId;
    uint32_t mask = MaskOfMode(mode);

    IZanDB4FileDBRecord* live = nullptr;
    if (cache != nullptr && cache->FindHeld(fileId, &live)) {
        // The live record is refreshed by the row; ReadFields keeps every
        // field the record already holds, a client's change included.
        if (mask != 0) {
            auto* record = dynamic_cast<CZanDB4FileDBRecord*>(live);
            if (record != nullptr && !record->KnowsAnyOf(mask))
                record->ReadFields(mask, Form::Read(*row), Form::kFields);
        }
        if (outRecord != nullptr)
            *outRecord = live;
        else
            live->Release();
        return S_OK;
    }
    if (outRecord == nullptr) return S_OK;
    IZanDB4FileDBRecord* made = nullptr;
    HRESULT result = zandb4::CreateInstance(IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(&made));
    if (result != S_OK) return result;
    made->SetFileID(fileId);
    if (mask != 0) static_cast<CZanDB4FileDBRecord*>(made)->FillUnshared(mask, Form::Read(*row), Form::kFields);
    if (cache != nullptr) cache->AddHeld(fileId, made);
    *outRecord = made;
    return S_OK;
}

// The same for one row, taking the cache's lock for it.
template <class Form>
HRESULT RecordFromRowThroughCache(uint64_t* outId, IZanDB4FileDBRecord** outRecord, const Statement* row,
                                  uint32_t mode) {
    HRESULT result = S_OK;
    if (!FileRecordCache::Use(zandb4::g_fileRecordCache, [&](FileRecordCache& cache) {
            result = RecordFromRowIn<Form>(&cache, outId, outRecord, row, mode);
        }))
        result = RecordFromRowIn<Form>(nullptr, outId, outRecord, row, mode);
    return result;
}

}  // namespace

HRESULT FileTableRows::RecordFromRow(uint64_t* outId, IZanDB4FileDBRecord** outRecord, const Statement* row,
                                     uint32_t mode) {
    return RecordFromRowThroughCache<FullRowForm>(outId, outRecord, row, mode);
}

HRESULT FileTableRows::RecordFromShortRow(uint64_t* outId, IZanDB4FileDBRecord** outRecord, const Statement* row,
                                          uint32_t mode) {
    return RecordFromRowThroughCache<ShortRowForm>(outId, outRecord, row, mode);
}

HRESULT FileTableRows::GetFileRecord(uint64_t fileId, IZanDB4FileDBRecord** outRecord) {
    if (outRecord != nullptr) *outRecord = nullptr;
    Statement select(m_store.m_db, file_table::kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    HRESULT result = S_OK;
    if (outRecord != nullptr) result = RecordFromRow(nullptr, outRecord, &select, kLoadAll);
    if (select.Finalize() != SQLITE_OK) {
        if (outRecord != nullptr && *outRecord != nullptr) {
            (*outRecord)->Release();
            *outRecord = nullptr;
        }
        return E_FAIL;
    }
    return result;
}

namespace {

// Rows a search turns into records per hold of the record cache's lock.
// Taking the lock (and a reference on the cache) once for a run of rows
// instead of once a row is a good part of what a record costs; a thread
// that releases a record meanwhile waits for at most this many rows.
constexpr int kRowsPerCacheHold = 64;

// Appends the record of every row of statement, read in the row form Form
// with the mask of mode, to records. Records made before a failure stay in
// the list.
template <class Form>
void CollectRecords(Statement& statement, CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode) {
    // The first step, which runs the search (a sort, or a wait for another
    // process's lock on the file), is taken outside the cache's lock.
    int code = statement.Step();
    auto run = [&](FileRecordCache* cache) {
        for (int rows = 0; rows < kRowsPerCacheHold && code == SQLITE_ROW; ++rows) {
            IZanDB4FileDBRecord* record = nullptr;
            if (RecordFromRowIn<Form>(cache, nullptr, &record, &statement, mode) == S_OK && record != nullptr)
                records.AddTail(record);
            code = statement.Step();
        }
    };
    while (code == SQLITE_ROW) {
        if (!FileRecordCache::Use(zandb4::g_fileRecordCache, [&](FileRecordCache& cache) { run(&cache); }))
            run(nullptr);
    }
}

HRESULT NonEmpty(bool hasEntries) { return hasEntries ? S_OK : E_FAIL; }

}  // namespace

HRESULT FileTableRows::ListFiles(IZanDB4QueryNode* query, uint32_t sortFlag,
                                      CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode) {
    records.RemoveAll();
    bool shortRows = mode == kLoadShort;
    CZanTString sql;
    sql = shortRows ? file_table::kSelectShortRows : file_table::kSelectAll;
    AppendCondition(sql, query);
    if (sortFlag == 1) sql += file_table::kOrderByDateAndName;
    Statement select(m_store.m_db, sql.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    if (shortRows)
        CollectRecords<ShortRowForm>(select, records, mode);
    else
        CollectRecords<FullRowForm>(select, records, mode);
    select.Finalize();
    return NonEmpty(!records.IsEmpty());
}

namespace {

HRESULT ListColumnValues(sqlite3* db, const WCHAR* prefix, IZanDB4QueryNode* query, CZanTList<uint32_t>& values) {
    values.RemoveAll();
    CZanTString sql;
    sql = prefix;
    AppendCondition(sql, query);
    Statement select(db, sql.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) values.AddTail(static_cast<uint32_t>(select.ColumnInt(0)));
    select.Finalize();
    return NonEmpty(!values.IsEmpty());
}

}  // namespace

HRESULT FileTableRows::ListFileFormats(IZanDB4QueryNode* query, CZanTList<uint32_t>& formats) {
    return ListColumnValues(m_store.m_db, kSelectFormats, query, formats);
}

HRESULT FileTableRows::ListManageFlags(IZanDB4QueryNode* query, CZanTList<uint32_t>& flags) {
    return ListColumnValues(m_store.m_db, kSelectManageFlags, query, flags);
}

HRESULT FileTableRows::ListMissingFiles(CZanTArray<uint64_t>& fileIds) {
    fileIds.RemoveAll();
    CZanTList<IZanDB4FileDBRecord*> records;
    ListFiles(nullptr, 0, records, kLoadAll);
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileDBRecord* record = records.GetNext(position);
        CZanTString path, name;
        if (record->GetFilePath(path, nullptr) == S_OK && record->GetFileName(name) == S_OK) {
            path.AppendPath(name);
            if (zandb4::platform::GetFileAttributes(path.ToUtf8()) == zandb4::platform::kInvalidFileAttributes) {
                uint64_t fileId = 0;
                record->GetFileID(&fileId);
                fileIds.Add(fileId);
            }
        }
        record->Release();
    }
    return NonEmpty(!fileIds.IsEmpty());
}

HRESULT FileTableRows::ListFilesOfIndividual(uint64_t individualId, uint32_t type,
                                                  CZanTList<IZanDB4FileDBRecord*>& files, uint32_t mode,
                                                  CZanTList<IZanDB4FaceDBRecord*>* faces) {
    files.RemoveAll();
    if (faces != nullptr) faces->RemoveAll();
    if (type != CSQLiteFileBasicDB::kPerson && type != CSQLiteFileBasicDB::kPet) return E_FAIL;
    const WCHAR* sql = faces != nullptr ? (type == CSQLiteFileBasicDB::kPerson ? kFaceRowsOfPerson : kFaceRowsOfPet)
                                        : (type == CSQLiteFileBasicDB::kPerson ? kFilesOfPerson : kFilesOfPet);
    Statement select(m_store.m_db, sql);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(individualId));
    while (select.Step() == SQLITE_ROW) {
        IZanDB4FileDBRecord* file = nullptr;
        if (RecordFromRow(nullptr, &file, &select, mode) == S_OK && file != nullptr) files.AddTail(file);
        if (faces == nullptr) continue;
        IZanDB4FaceDBRecord* face = nullptr;
        if (FaceTableRows::ReadFaceRow(&face, select, type, kFirstFaceColumn) == S_OK) faces->AddTail(face);
    }
    select.Finalize();
    return NonEmpty(!files.IsEmpty());
}

namespace {

// The single value of a MAX or MIN statement into date; NULL (no rows) reads
// as 0. False when the statement did not prepare or finalize cleanly.
bool ReadDateAggregate(sqlite3* db, const CZanTString& sql, CZanTDateTime& date) {
    date.SetPacked(0);
    Statement select(db, sql.GetString());
    if (!select.IsPrepared()) return false;
    if (select.Step() == SQLITE_ROW) date.SetPacked(select.ColumnInt64(0));
    return select.Finalize() == SQLITE_OK;
}

}  // namespace

HRESULT FileTableRows::GetShootingDateRange(IZanDB4QueryNode* query, CZanTDateTime& oldest,
                                                 CZanTDateTime& latest) {
    CZanTString latestSql, oldestSql;
    latestSql = kSelectLatestDate;
    oldestSql = kSelectOldestDate;
    AppendManagedCondition(latestSql, query);
    AppendManagedCondition(oldestSql, query);
    bool latestRead = ReadDateAggregate(m_store.m_db, latestSql, latest);
    bool oldestRead = ReadDateAggregate(m_store.m_db, oldestSql, oldest);
    return latestRead && oldestRead ? S_OK : E_FAIL;
}

HRESULT FileTableRows::ListShootingDates(IZanDB4QueryNode* query, CZanTList<SYSTEMTIME>* dates) {
    if (dates == nullptr) return E_INVALIDARG;
    dates->RemoveAll();
    CZanTString sql;
    sql = kSelectDates;
    AppendManagedCondition(sql, query);
    Statement select(m_store.m_db, sql.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) dates->AddTail(CZanTDateTime(select.ColumnInt64(0)).m_time);
    // An empty result is no failure here.
    return zandb4::ResultOf(select.Finalize());
}

HRESULT FileTableRows::ListFilesByDate(const SYSTEMTIME& first, const SYSTEMTIME& last, BOOL parent,
                                            CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode) {
    records.RemoveAll();
    Statement select(m_store.m_db, parent ? kFilesByParentDate : kFilesByDate);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, PackedWithoutMilliseconds(first));
    select.BindInt64(2, PackedWithoutMilliseconds(last));
    CollectRecords<FullRowForm>(select, records, mode);
    select.Finalize();
    return NonEmpty(!records.IsEmpty());
}

HRESULT FileTableRows::ListFilesByImport(const SYSTEMTIME& importDate, const uint32_t* importClass,
                                              uint32_t options, CZanTList<IZanDB4FileDBRecord*>& records,
                                              uint32_t mode) {
    records.RemoveAll();
    CZanTString sql;
    sql = importClass != nullptr ? kFilesOfImportClass : kFilesOfImport;
    if ((options & kImportUnordered) == 0) sql += kImportOrder;
    Statement select(m_store.m_db, sql.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, PackedWithoutMilliseconds(importDate));
    if (importClass != nullptr) select.BindInt(2, static_cast<int32_t>(*importClass));
    CollectRecords<FullRowForm>(select, records, mode);
    select.Finalize();
    return NonEmpty(!records.IsEmpty());
}

HRESULT FileTableRows::ListFilesOfId(const WCHAR* sql, uint64_t id, CZanTList<IZanDB4FileDBRecord*>& records,
                                     uint32_t mode) {
    records.RemoveAll();
    Statement select(m_store.m_db, sql);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    CollectRecords<FullRowForm>(select, records, mode);
    select.Finalize();
    return NonEmpty(!records.IsEmpty());
}

HRESULT FileTableRows::ListFilesInAlbum(uint64_t albumId, uint32_t order, CZanTList<IZanDB4FileDBRecord*>& records,
                                        uint32_t mode) {
    return ListFilesOfId(order == 2 ? album_table::kSelectFilesNewestFirst : album_table::kSelectFiles, albumId,
                         records, mode);
}

HRESULT FileTableRows::CountFilesInAlbum(uint64_t albumId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    *outCount = 0;
    Statement count(m_store.m_db, album_table::kCountFiles);
    if (!count.IsPrepared()) return E_FAIL;
    count.BindInt64(1, static_cast<int64_t>(albumId));
    if (count.Step() == SQLITE_ROW) *outCount = static_cast<uint32_t>(count.ColumnInt64(0));
    return zandb4::ResultOf(count.Finalize());
}

HRESULT FileTableRows::ListFilesOfTag(uint64_t tagId, CZanTList<IZanDB4FileDBRecord*>& records, uint32_t mode) {
    return ListFilesOfId(tag_tables::kSelectFilesOfTag, tagId, records, mode);
}

HRESULT FileTableRows::CountFilesOfTag(uint64_t tagId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    *outCount = TagRows(m_store).CountLinksOfTag(tagId);
    return S_OK;
}

HRESULT FileTableRows::CountFiles(IZanDB4QueryNode* query, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    *outCount = 0;
    // manage plays no part: groups and unmanaged files count unless the
    // condition says otherwise.
    CZanTString sql = kCountAllFiles;
    if (query != nullptr) {
        CZanTString condition = ConditionOf(query);
        if (condition.IsEmpty()) return E_FAIL;
        sql += u" WHERE ";
        sql += condition;
    }
    Statement count(m_store.m_db, sql.GetString());
    if (!count.IsPrepared()) return E_FAIL;
    if (count.Step() == SQLITE_ROW) *outCount = static_cast<uint32_t>(count.ColumnInt64(0));
    return zandb4::ResultOf(count.Finalize());
}

HRESULT FileTableRows::HasFiles(IZanDB4QueryNode* query) {
    CZanTString sql = kSelectAllFiles;
    if (query != nullptr) {
        CZanTString condition = ConditionOf(query);
        if (condition.IsEmpty()) return E_FAIL;
        sql += u" WHERE ";
        sql += condition;
    }
    sql += u" LIMIT 1";
    Statement select(m_store.m_db, sql.GetString());
    if (!select.IsPrepared()) return E_FAIL;
    return select.Step() == SQLITE_ROW ? S_OK : E_FAIL;
}

HRESULT FileTableRows::ForEachFile(ZanDB4FileWalkCallback callback, void* context) {
    // The row is not handed over: the callback can only count or stop.
    Statement walk(m_store.m_db, kSelectEveryShootingDate);
    if (!walk.IsPrepared()) return E_FAIL;
    while (walk.Step() == SQLITE_ROW)
        if (callback != nullptr && callback(context) == 0) break;
    return zandb4::ResultOf(walk.Finalize());
}
