// AlbumRows: album rows to records and back.
#include "albums/album_rows.h"

#include "albums/album_table.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "storage/result_codes.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr uint32_t kAlbumIdType = CSQLiteFileBasicDB::kAlbumIdType;

// A record from the current row of "SELECT * FROM album_table", made
// through the factory so that it carries the catalogue for its read-through.
HRESULT AlbumRecordFromRow(const Statement& row, IZanDB4AlbumDBRecord** outRecord) {
    ComPtr<IZanDB4AlbumDBRecord> record;
    HRESULT made = zandb4::CreateInstance(IID_IZanDB4AlbumDBRecord, reinterpret_cast<void**>(record.Receive()));
    if (made != S_OK) return made;
    using namespace album_table;
    record->SetID(static_cast<uint64_t>(row.ColumnInt64(kAlbumId)));
    record->SetName(row.ColumnText(kAlbumName));
    // Stored as doubles, held as floats.
    float latitude = static_cast<float>(row.ColumnDouble(kGpsLatitude));
    float longitude = static_cast<float>(row.ColumnDouble(kGpsLongitude));
    record->SetGPS(&latitude, &longitude);
    record->SetAreaInfo(row.ColumnText(kGpsAreaInfo));
    CZanTDateTime oldest(row.ColumnInt64(kShootingDateOldest));
    CZanTDateTime latest(row.ColumnInt64(kShootingDateLatest));
    record->SetOldestDate(&oldest.m_time);
    record->SetLatestDate(&latest.m_time);
    record->SetFileCount(static_cast<uint32_t>(row.ColumnInt64(kAlbumFileCount)));
    *outRecord = record.Detach();
    return S_OK;
}

// Binds the record's values from position first on: name, latitude,
// longitude, area info, oldest, latest, count. Getters that fail leave their
// zero value: no area info is the empty string, no date the zero date.
void BindRecordValues(Statement& statement, int first, IZanDB4AlbumDBRecord* record) {
    CZanTString name, areaInfo;
    float latitude = 0.0f, longitude = 0.0f;
    SYSTEMTIME oldest{}, latest{};
    uint32_t fileCount = 0;
    record->GetName(name);
    record->GetGPS(&latitude, &longitude);
    record->GetAreaInfo(areaInfo);
    record->GetOldestDate(&oldest);
    record->GetLatestDate(&latest);
    record->GetFileCount(&fileCount);
    statement.BindText(first, name);
    statement.BindDouble(first + 1, static_cast<double>(latitude));
    statement.BindDouble(first + 2, static_cast<double>(longitude));
    statement.BindText(first + 3, areaInfo);
    statement.BindInt64(first + 4, CZanTDateTime(oldest).GetPacked());
    statement.BindInt64(first + 5, CZanTDateTime(latest).GetPacked());
    statement.BindInt64(first + 6, static_cast<int64_t>(fileCount));
}

// Appends a record of each row of the statement; a record that cannot be
// made ends the walk.
void CollectAlbums(Statement& select, CZanTArray<IZanDB4AlbumDBRecord*>& albums) {
    while (select.Step() == SQLITE_ROW) {
        IZanDB4AlbumDBRecord* record = nullptr;
        if (AlbumRecordFromRow(select, &record) != S_OK) break;
        albums.Add(record);
    }
}

int64_t CountFor(sqlite3* db, const WCHAR* sql, const uint64_t* id) {
    Statement count(db, sql);
    if (!count.IsPrepared()) return 0;
    if (id != nullptr) count.BindInt64(1, static_cast<int64_t>(*id));
    return count.Step() == SQLITE_ROW ? count.ColumnInt64(0) : 0;
}

}  // namespace

HRESULT AlbumRows::AddAlbum(IZanDB4AlbumDBRecord* record, uint64_t* outId) {
    uint64_t albumId = 0;
    HRESULT drawn = m_store.NewID(kAlbumIdType, &albumId);
    if (drawn != S_OK) return drawn;
    m_store.BeginTransaction();
    Statement insert(m_store.m_db, album_table::kInsert);
    HRESULT result = E_FAIL;
    if (insert.IsPrepared()) {
        insert.BindInt64(1, static_cast<int64_t>(albumId));
        BindRecordValues(insert, 2, record);
        result = zandb4::StepToDone(insert);
    }
    if (result != S_OK) {
        m_store.PoolID(albumId, kAlbumIdType);
        return E_FAIL;
    }
    record->SetID(albumId);
    if (outId != nullptr) *outId = albumId;
    return S_OK;
}

HRESULT AlbumRows::UpdateAlbum(uint64_t albumId, IZanDB4AlbumDBRecord* record) {
    m_store.BeginTransaction();
    Statement update(m_store.m_db, album_table::kUpdate);
    if (!update.IsPrepared()) return E_FAIL;
    // A stored record reads its dates and count from the row, so they go
    // back as they are: only the recount at Commit moves them.
    BindRecordValues(update, 1, record);
    update.BindInt64(8, static_cast<int64_t>(albumId));
    return zandb4::StepToDone(update);
}

HRESULT AlbumRows::DeleteAlbum(uint64_t albumId) {
    m_store.BeginTransaction();
    HRESULT result = E_FAIL;
    {
        Statement remove(m_store.m_db, album_table::kDelete);
        if (remove.IsPrepared()) {
            remove.BindInt64(1, static_cast<int64_t>(albumId));
            result = zandb4::StepToDone(remove);
        }
    }
    // A delete that matched no row is done as well, so a second delete of one
    // id pools it a second time.
    if (result == S_OK) m_store.PoolID(albumId, kAlbumIdType);
    m_store.NoteAlbumForRecount(albumId);
    if (result != S_OK) return result;
    m_store.BeginTransaction();
    Statement clear(m_store.m_db, album_table::kClearAlbumOfFiles);
    if (clear.IsPrepared()) {
        clear.BindInt64(1, static_cast<int64_t>(albumId));
        clear.Step();
    }
    return S_OK;
}

HRESULT AlbumRows::GetAlbum(uint64_t albumId, IZanDB4AlbumDBRecord** outRecord) {
    *outRecord = nullptr;
    Statement select(m_store.m_db, album_table::kSelectById);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(albumId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4AlbumDBRecord> record;
    HRESULT made = AlbumRecordFromRow(select, record.Receive());
    if (made != S_OK) return made;
    if (select.Finalize() != SQLITE_OK) return E_FAIL;
    *outRecord = record.Detach();
    return S_OK;
}

uint32_t AlbumRows::GetAlbumCount() { return static_cast<uint32_t>(CountFor(m_store.m_db, album_table::kCount, nullptr)); }

HRESULT AlbumRows::GetAlbumIDs(CZanTArray<uint64_t>& ids) {
    Statement select(m_store.m_db, album_table::kSelectOldestFirst);
    if (select.IsPrepared())
        while (select.Step() == SQLITE_ROW) ids.Add(static_cast<uint64_t>(select.ColumnInt64(album_table::kAlbumId)));
    return ids.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT AlbumRows::GetAlbums(CZanTArray<IZanDB4AlbumDBRecord*>& albums) {
    Statement select(m_store.m_db, album_table::kSelectOldestFirst);
    if (select.IsPrepared()) CollectAlbums(select, albums);
    return albums.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT AlbumRows::GetAlbumsOfIndividual(uint64_t individualId, uint32_t type,
                                         CZanTArray<IZanDB4AlbumDBRecord*>& albums) {
    Statement select(m_store.m_db, type == CSQLiteFileBasicDB::kPet ? album_table::kSelectByPet
                                                                    : album_table::kSelectByPerson);
    if (select.IsPrepared()) {
        select.BindInt64(1, static_cast<int64_t>(individualId));
        CollectAlbums(select, albums);
    }
    return albums.IsEmpty() ? E_FAIL : S_OK;
}

uint32_t AlbumRows::CountAlbumsOfIndividual(uint64_t individualId, uint32_t type) {
    const WCHAR* sql = type == CSQLiteFileBasicDB::kPet ? album_table::kCountByPet : album_table::kCountByPerson;
    return static_cast<uint32_t>(CountFor(m_store.m_db, sql, &individualId));
}
