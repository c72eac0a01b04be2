// MetaTableRows: metadata rows to records and back.
#include "records/meta_rows.h"

#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "records/file_meta_db_record.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

using namespace meta_table;

// The bind position of a column in kInsert.
int Position(Column column) { return column + 1; }

uint32_t Column32(const Statement& row, int column) { return static_cast<uint32_t>(row.ColumnInt64(column)); }

// A record made through the factory and filled from the current row by its
// setters. Null when it cannot be made.
ComPtr<IZanDB4FileMetaDBRecord> MetaRecordFromRow(const Statement& row) {
    ComPtr<IZanDB4FileMetaDBRecord> record;
    if (zandb4::CreateInstance(IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(record.Receive())) != S_OK)
        return nullptr;
    record->SetFileID(static_cast<uint64_t>(row.ColumnInt64(kFileId)));
    record->SetFilterData(row.ColumnBlob(kFilterData), static_cast<uint32_t>(row.ColumnBytes(kFilterData)));
    record->SetFileSize(static_cast<uint64_t>(row.ColumnInt64(kFileSize)));
    CZanTDateTime updated(row.ColumnInt64(kFileUpdateDate));
    record->SetFileUpdateDate(&updated.m_time);
    CZanTDateTime imported(row.ColumnInt64(kImportDate));
    record->SetImportDate(&imported.m_time, Column32(row, kImportClass));
    record->SetDuration(static_cast<uint64_t>(row.ColumnInt64(kDuration)));
    record->SetPixelSize(Column32(row, kPixelWidth), Column32(row, kPixelHeight));
    record->SetPanoramaNumber(Column32(row, kPanoramaNumber));
    record->SetDriveNumber(Column32(row, kDriveNumber));
    record->SetFrameRate(Column32(row, kFrameRate));
    uint32_t high = 0, low = 0;
    CZanDB4FileMetaDBRecord::SplitColumn(row.ColumnInt64(kGpsAltitude), &high, &low);
    record->SetGPSAltitude(static_cast<int32_t>(high), static_cast<int32_t>(low));
    CZanDB4FileMetaDBRecord::SplitColumn(row.ColumnInt64(kGpsDirection), &high, &low);
    record->SetGPSDirection(high, low);
    record->SetAreaInfo(row.ColumnText(kGpsAreaInfo).GetString());
    record->SetModelInfo(row.ColumnText(kModelName).GetString(), Column32(row, kPictureMode),
                         Column32(row, kFinishingMode), Column32(row, kArtFilter), Column32(row, kFocusMode),
                         Column32(row, kParamFlag));
    return record;
}

}  // namespace

MetaRowValues MetaTableRows::MetaValuesOf(IZanDB4FileMetaDBRecord* record) {
    MetaRowValues values;
    record->GetFilterData(&values.filterData, &values.filterDataSize);
    uint64_t fileSize = 0, duration = 0;
    record->GetFileSize(&fileSize);
    record->GetDuration(&duration);
    values.fileSize = static_cast<int64_t>(fileSize);
    values.duration = static_cast<int64_t>(duration);
    SYSTEMTIME date{};
    record->GetFileUpdateDate(&date);
    values.fileUpdateDate = CZanTDateTime(date).GetPacked();
    uint32_t importClass = 0;
    record->GetImportDate(&date, &importClass);
    values.importDate = CZanTDateTime(date).GetPacked();
    values.importClass = importClass;
    uint32_t width = 0, height = 0, panorama = 0, drive = 0, frameRate = 0;
    record->GetPixelSize(&width, &height);
    record->GetPanoramaNumber(&panorama);
    record->GetDriveNumber(&drive);
    record->GetFrameRate(&frameRate);
    values.pixelWidth = width;
    values.pixelHeight = height;
    values.panoramaNumber = panorama;
    values.driveNumber = drive;
    values.frameRate = frameRate;
    int32_t altitudeFirst = 0, altitudeSecond = 0;
    record->GetGPSAltitude(&altitudeFirst, &altitudeSecond);
    values.gpsAltitude = CZanDB4FileMetaDBRecord::PackAltitude(altitudeFirst, altitudeSecond);
    uint32_t directionFirst = 0, directionSecond = 0;
    record->GetGPSDirection(&directionFirst, &directionSecond);
    values.gpsDirection = CZanDB4FileMetaDBRecord::PackDirection(directionFirst, directionSecond);
    record->GetAreaInfo(values.gpsAreaInfo);
    uint32_t picture = 0, finishing = 0, artFilter = 0, focus = 0, paramFlag = 0;
    record->GetModelInfo(values.modelName, &picture, &finishing, &artFilter, &focus, &paramFlag);
    values.pictureMode = picture;
    values.finishingMode = finishing;
    values.artFilter = artFilter;
    values.focusMode = focus;
    values.paramFlag = paramFlag;
    return values;
}

HRESULT MetaTableRows::FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId) {
    if (outRecord == nullptr) return E_INVALIDARG;
    *outRecord = nullptr;
    Statement select(m_store.m_db, kSelectByFileId);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(fileId));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    ComPtr<IZanDB4FileMetaDBRecord> record = MetaRecordFromRow(select);
    if (!record) return E_FAIL;
    *outRecord = record.Detach();
    return S_OK;
}

HRESULT MetaTableRows::InsertMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord, BOOL retry) {
    if (fileRecord == nullptr) return E_INVALIDARG;
    ComPtr<IZanDB4FileMetaDBRecord> meta;
    HRESULT found = fileRecord->GetMetaRecord(meta.Receive());
    if (found != S_OK) return found;
    if (!meta) return E_FAIL;
    return InsertMetaRow(fileId, MetaValuesOf(meta.Get()), retry);
}

HRESULT MetaTableRows::InsertMetaRow(uint64_t fileId, const MetaRowValues& v, BOOL retry) {
    m_store.BeginTransaction();
    bool inserted;
    {
        Statement insert(m_store.m_db, kInsert);
        if (!insert.IsPrepared()) return E_FAIL;
        insert.BindInt64(Position(kFileId), static_cast<int64_t>(fileId));
        insert.BindBlob(Position(kFilterData), v.filterData, static_cast<int>(v.filterDataSize));
        insert.BindInt64(Position(kFileSize), v.fileSize);
        insert.BindInt64(Position(kFileUpdateDate), v.fileUpdateDate);
        insert.BindInt64(Position(kImportDate), v.importDate);
        insert.BindInt64(Position(kDuration), v.duration);
        insert.BindInt(Position(kPixelWidth), static_cast<int32_t>(v.pixelWidth));
        insert.BindInt(Position(kPixelHeight), static_cast<int32_t>(v.pixelHeight));
        insert.BindInt(Position(kPanoramaNumber), static_cast<int32_t>(v.panoramaNumber));
        insert.BindInt(Position(kDriveNumber), static_cast<int32_t>(v.driveNumber));
        insert.BindInt(Position(kFrameRate), static_cast<int32_t>(v.frameRate));
        insert.BindInt(Position(kImportClass), static_cast<int32_t>(v.importClass));
        insert.BindInt64(Position(kGpsAltitude), v.gpsAltitude);
        insert.BindInt64(Position(kGpsDirection), v.gpsDirection);
        insert.BindText(Position(kGpsAreaInfo), v.gpsAreaInfo);
        insert.BindText(Position(kModelName), v.modelName);
        insert.BindInt(Position(kPictureMode), static_cast<int32_t>(v.pictureMode));
        insert.BindInt(Position(kFinishingMode), static_cast<int32_t>(v.finishingMode));
        insert.BindInt(Position(kArtFilter), static_cast<int32_t>(v.artFilter));
        insert.BindInt(Position(kFocusMode), static_cast<int32_t>(v.focusMode));
        insert.BindInt(Position(kParamFlag), static_cast<int32_t>(v.paramFlag));
        bool stepped = insert.Step() == SQLITE_DONE;
        inserted = insert.Finalize() == SQLITE_OK && stepped;
    }
    if (inserted) return S_OK;
    if (!retry) return E_FAIL;
    // A row of that file_id stands in the way of the unique index: replace it.
    DeleteMetaRecord(fileId);
    return InsertMetaRow(fileId, v, 0);
}

HRESULT MetaTableRows::UpdateMetaRecord(uint64_t fileId, IZanDB4FileDBRecord* fileRecord) {
    if (fileRecord == nullptr) return E_INVALIDARG;
    m_store.BeginTransaction();
    ComPtr<IZanDB4FileMetaDBRecord> meta;
    if (fileRecord->GetMetaRecord(meta.Receive()) != S_OK || !meta) return DeleteMetaRecord(fileId);
    if (!HasMetaRecord(fileId)) return InsertMetaRecord(fileId, fileRecord, 1);
    // Every column is written, whatever the record's changed flag says.
    return UpdateMetaRow(fileId, MetaValuesOf(meta.Get()));
}

HRESULT MetaTableRows::UpdateMetaRow(uint64_t fileId, const MetaRowValues& v) {
    m_store.BeginTransaction();
    Statement update(m_store.m_db, kUpdate);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindBlob(1, v.filterData, static_cast<int>(v.filterDataSize));
    update.BindInt64(2, v.fileSize);
    update.BindInt64(3, v.fileUpdateDate);
    update.BindInt64(4, v.duration);
    update.BindInt(5, static_cast<int32_t>(v.pixelWidth));
    update.BindInt(6, static_cast<int32_t>(v.pixelHeight));
    update.BindInt(7, static_cast<int32_t>(v.panoramaNumber));
    update.BindInt(8, static_cast<int32_t>(v.driveNumber));
    update.BindInt(9, static_cast<int32_t>(v.frameRate));
    update.BindInt64(10, v.gpsAltitude);
    update.BindInt64(11, v.gpsDirection);
    update.BindText(12, v.gpsAreaInfo);
    update.BindText(13, v.modelName);
    update.BindInt(14, static_cast<int32_t>(v.pictureMode));
    update.BindInt(15, static_cast<int32_t>(v.finishingMode));
    update.BindInt(16, static_cast<int32_t>(v.artFilter));
    update.BindInt(17, static_cast<int32_t>(v.focusMode));
    update.BindInt(18, static_cast<int32_t>(v.paramFlag));
    update.BindInt64(19, v.importDate);
    update.BindInt(20, static_cast<int32_t>(v.importClass));
    update.BindInt64(21, static_cast<int64_t>(fileId));
    if (update.Step() != SQLITE_DONE) return E_FAIL;
    return zandb4::ResultOf(update.Finalize());
}

HRESULT MetaTableRows::DeleteMetaRecord(uint64_t fileId) {
    m_store.BeginTransaction();
    Statement remove(m_store.m_db, kDeleteByFileId);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(fileId));
    return remove.Step() == SQLITE_DONE ? S_OK : E_FAIL;
}

BOOL MetaTableRows::HasMetaRecord(uint64_t fileId) {
    Statement count(m_store.m_db, kCountByFileId);
    if (!count.IsPrepared()) return 0;
    count.BindInt64(1, static_cast<int64_t>(fileId));
    return count.Step() == SQLITE_ROW && count.ColumnInt64(0) > 0 ? 1 : 0;
}

namespace {

// Empties the list (without releasing what it held), then appends a record
// per row of select, one reference each; E_FAIL when the list ends empty.
HRESULT FillMetaRecords(sqlite3* db, const WCHAR* sql, CZanTList<IZanDB4FileMetaDBRecord*>& records) {
    records.RemoveAll();
    Statement select(db, sql);
    if (!select.IsPrepared()) return E_FAIL;
    bool appended = false;
    while (select.Step() == SQLITE_ROW) {
        ComPtr<IZanDB4FileMetaDBRecord> record = MetaRecordFromRow(select);
        if (!record) continue;
        records.AddTail(record.Detach());
        appended = true;
    }
    return appended ? S_OK : E_FAIL;
}

}  // namespace

HRESULT MetaTableRows::ListMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records) {
    return FillMetaRecords(m_store.m_db, kSelectAll, records);
}

HRESULT MetaTableRows::ListModelMetaRecords(CZanTList<IZanDB4FileMetaDBRecord*>& records) {
    return FillMetaRecords(m_store.m_db, kSelectWithModel, records);
}

HRESULT MetaTableRows::ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context) {
    if (callback == nullptr) return E_INVALIDARG;
    Statement select(m_store.m_db, kSelectWithModel);
    if (!select.IsPrepared()) return E_FAIL;
    while (select.Step() == SQLITE_ROW) {
        ComPtr<IZanDB4FileMetaDBRecord> record = MetaRecordFromRow(select);
        if (!record) continue;
        if (callback(record.Get(), context) != 0) break;
    }
    return S_OK;
}
