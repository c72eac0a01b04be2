// CZanTethraFileDB: schema and statements of the camera list.
#include "camera/tethra_file_db.h"

#include <new>

#include "camera/tethra_import_file_record.h"
#include "frame/com_ptr.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

// "atrributes" is the column's name in every file; it must stay misspelt.
constexpr WCHAR kCreateTable[] =
    u"CREATE TABLE tethra_file (file_id INTEGER PRIMARY KEY,file_path TEXT, import_date INTEGER, atrributes INTEGER)";
constexpr WCHAR kCreateIndex[] = u"CREATE UNIQUE INDEX tethra_file_uidx ON tethra_file (file_path)";
constexpr WCHAR kInsertFile[] =
    u"INSERT INTO tethra_file (file_id,file_path,import_date,atrributes) VALUES (?,?,?,?)";
constexpr WCHAR kUpdateFile[] = u"UPDATE tethra_file SET file_path=?, import_date=?, atrributes=? WHERE file_id=?";
constexpr WCHAR kDeleteByPath[] = u"DELETE FROM tethra_file WHERE file_path=?";
constexpr WCHAR kDeleteById[] = u"DELETE FROM tethra_file WHERE file_id=?";
constexpr WCHAR kSelectByPath[] = u"SELECT * FROM tethra_file WHERE file_path=? LIMIT 1";
constexpr WCHAR kSelectById[] = u"SELECT * FROM tethra_file WHERE file_id=? LIMIT 1";
constexpr WCHAR kSelectAll[] = u"SELECT * FROM tethra_file";
constexpr WCHAR kDeleteAll[] = u"DELETE FROM tethra_file";

// Row reader: a record made from the current row of a "SELECT *".
HRESULT RecordFromRow(Statement* row, IZanDB4TethraImportFileRecord** outRecord) {
    if (outRecord == nullptr || row == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    ComPtr<IZanDB4TethraImportFileRecord> record = ComPtr<IZanDB4TethraImportFileRecord>::Adopt(new CZanDB4TethraImportFileRecord());
    CZanTDateTime importDate(row->ColumnInt64(2));
    record->SetID(static_cast<uint64_t>(row->ColumnInt64(0)));
    record->SetPath(row->ColumnText(1));
    record->SetDate(&importDate.m_time);
    HRESULT result = record->SetAttributes(static_cast<uint32_t>(row->ColumnInt64(3)));
    if (result != S_OK) return result;
    *outRecord = record.Detach();
    return S_OK;
}

// Reads the three columns the record gives to a row.
struct FileValues {
    CZanTString path;
    int64_t importDate = 0;
    uint32_t attributes = 0;
};

FileValues ValuesOf(IZanDB4TethraImportFileRecord* record) {
    FileValues values;
    SYSTEMTIME date{};
    record->GetPath(values.path);
    record->GetDate(&date);
    record->GetAttributes(&values.attributes);
    values.importDate = CZanTDateTime(date).GetPacked();
    return values;
}

}  // namespace

HRESULT CZanTethraFileDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    if (m_db == nullptr) return S_OK;
    if (ExecuteStatement(kCreateTable) != S_OK) return E_FAIL;
    if (ExecuteStatement(kCreateIndex) != S_OK) return E_FAIL;
    return S_OK;
}

HRESULT CZanTethraFileDB::AddFile(IZanDB4TethraImportFileRecord* record, uint64_t* outId) {
    if (record == nullptr) return E_INVALIDARG;
    BeginTransaction();
    uint64_t id = 0;
    HRESULT drawn = NewID(kFileIdType, &id);
    if (drawn != S_OK) return drawn;
    FileValues values = ValuesOf(record);

    Statement insert(m_db, kInsertFile);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(id));
    insert.BindText(2, values.path);
    insert.BindInt64(3, values.importDate);
    insert.BindInt(4, static_cast<int32_t>(values.attributes));
    // A path already listed fails here on the unique index. The id stays
    // drawn: this store never pools ids.
    if (insert.Step() != SQLITE_DONE) return E_FAIL;
    if (insert.Finalize() != SQLITE_OK) return E_FAIL;
    if (outId != nullptr) *outId = id;
    return S_OK;
}

HRESULT CZanTethraFileDB::UpdateFile(uint64_t id, IZanDB4TethraImportFileRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    if (!HasFileID(id)) return E_FAIL;
    BeginTransaction();
    FileValues values = ValuesOf(record);
    Statement update(m_db, kUpdateFile);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindText(1, values.path);
    update.BindInt64(2, values.importDate);
    update.BindInt(3, static_cast<int32_t>(values.attributes));
    update.BindInt64(4, static_cast<int64_t>(id));
    if (update.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(update.Finalize());
}

HRESULT CZanTethraFileDB::DeleteFileByPath(const CZanTString& path) {
    BeginTransaction();
    Statement remove(m_db, kDeleteByPath);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindText(1, path);
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}

HRESULT CZanTethraFileDB::DeleteFileByID(uint64_t id) {
    BeginTransaction();
    Statement remove(m_db, kDeleteById);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(id));
    if (remove.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(remove.Finalize());
}

BOOL CZanTethraFileDB::HasFilePath(const CZanTString& path) {
    Statement select(m_db, kSelectByPath);
    if (!select.IsPrepared()) return 0;
    select.BindText(1, path);
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

BOOL CZanTethraFileDB::HasFileID(uint64_t id) {
    Statement select(m_db, kSelectById);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

HRESULT CZanTethraFileDB::GetFileByPath(const CZanTString& path, IZanDB4TethraImportFileRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    Statement select(m_db, kSelectByPath);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindText(1, path);
    HRESULT result = S_OK;
    if (select.Step() == SQLITE_ROW) result = RecordFromRow(&select, outRecord);
    if (select.Finalize() != SQLITE_OK) {
        if (result == S_OK && *outRecord != nullptr) {
            (*outRecord)->Release();
            *outRecord = nullptr;
        }
        return E_FAIL;
    }
    return result;
}

HRESULT CZanTethraFileDB::GetAllFiles(CList<IZanDB4TethraImportFileRecord*>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    // The caller's list is emptied first, dropping its nodes without
    // releasing what they pointed to, as every list operation does.
    CZanTList<IZanDB4TethraImportFileRecord*> list(outList);
    list.RemoveAll();
    Statement select(m_db, kSelectAll);
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) {
        IZanDB4TethraImportFileRecord* record = nullptr;
        if (RecordFromRow(&select, &record) == S_OK) list.AddTail(record);
    }
    // An empty table is S_OK here, unlike the lists of the other managers.
    return zandb4::ResultOf(select.Finalize());
}

HRESULT CZanTethraFileDB::DeleteAllFiles() {
    BeginTransaction();
    return zandb4::Exec(m_db, kDeleteAll) > 0 ? E_FAIL : S_OK;
}
