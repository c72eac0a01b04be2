// The plain and the working feature point shard.
#include "faces/feature_point_db.h"

#include <cstdlib>
#include <cstring>

#include "faces/feature_point_data.h"
#include "faces/feature_point_factory.h"
#include "faces/feature_point_tables.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "storage/statement.h"

using zandb4::Statement;
using namespace feature_point_tables;

namespace {

constexpr uint32_t kRawFormat = 0;
constexpr uint32_t kPackedFormat = 1;

int64_t NowPacked() { return CZanTDateTime(zandb4::platform::GetSystemTime()).GetPacked(); }

void WriteLength(uint8_t* at, uint32_t length) {
    at[0] = static_cast<uint8_t>(length);
    at[1] = static_cast<uint8_t>(length >> 8);
    at[2] = static_cast<uint8_t>(length >> 16);
    at[3] = static_cast<uint8_t>(length >> 24);
}

uint32_t ReadLength(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8) | (static_cast<uint32_t>(at[2]) << 16) |
           (static_cast<uint32_t>(at[3]) << 24);
}

HRESULT RunToDone(Statement& statement) {
    int step = statement.Step();
    int finalized = statement.Finalize();
    return step == SQLITE_DONE && finalized == SQLITE_OK ? S_OK : E_FAIL;
}

// Appends the ids (and dates) a listing statement gives, stopping at id 0.
HRESULT ListRows(sqlite3* db, const WCHAR* all, const WCHAR* limited, CArray<uint64_t>* ids, CArray<int64_t>* dates,
                 uint32_t limit) {
    if (ids == nullptr) return E_INVALIDARG;
    Statement select(db, limit == 0 ? all : limited);
    if (!select.IsPrepared()) return E_FAIL;
    if (limit != 0) select.BindInt(1, static_cast<int32_t>(limit));
    while (select.Step() == SQLITE_ROW) {
        uint64_t id = static_cast<uint64_t>(select.ColumnInt64(kId));
        if (id == 0) break;
        ids->Add(id);
        if (dates != nullptr) dates->Add(select.ColumnInt64(kUpdateDate));
    }
    return select.Finalize() == SQLITE_OK ? S_OK : E_FAIL;
}

// The file or folder at the store's path goes from the disk.
HRESULT DeleteStoreFiles(const CSQLiteDBBase& store) {
    if (store.m_db != nullptr) return E_FAIL;
    if (store.IsInMemory()) return S_OK;
    CZanTString path = store.FullPath();
    std::string narrow = path.ToUtf8();
    uint32_t attributes = zandb4::platform::GetFileAttributes(narrow);
    if (attributes != zandb4::platform::kInvalidFileAttributes &&
        (attributes & zandb4::platform::kAttributeDirectory) != 0)
        path.DeleteFolder();
    else
        zandb4::platform::DeleteFile(narrow);
    return S_OK;
}

}  // namespace

// ------------------------------------------------------------- plain shard

HRESULT CSQLiteFaceFeaturePointDB::CreateTables() {
    HRESULT base = CSQLiteDBBase::CreateTables();
    if (base != S_OK) return base;
    return ExecuteStatement(kCreatePointTable);
}

HRESULT CSQLiteFaceFeaturePointDB::PackBlocks(const void* const* data, const uint32_t* sizes, uint32_t count,
                                              uint8_t** outBlob, uint32_t* outSize) {
    if (outBlob == nullptr || outSize == nullptr) return E_INVALIDARG;
    *outBlob = nullptr;
    *outSize = 0;
    uint64_t total = 4;
    for (uint32_t index = 0; index < count; ++index) total += 4 + static_cast<uint64_t>(sizes[index]);
    if (total > UINT32_MAX) return E_OUTOFMEMORY;
    auto* blob = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(total)));
    if (blob == nullptr) return E_OUTOFMEMORY;
    WriteLength(blob, count);
    uint8_t* at = blob + 4;
    for (uint32_t index = 0; index < count; ++index) {
        WriteLength(at, sizes[index]);
        at += 4;
        if (data[index] != nullptr && sizes[index] != 0) std::memcpy(at, data[index], sizes[index]);
        at += sizes[index];
    }
    *outBlob = blob;
    *outSize = static_cast<uint32_t>(total);
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDB::AppendBlock(uint8_t** blob, uint32_t* size, const void* data, uint32_t length) {
    if (data == nullptr || length == 0) return S_OK;
    if (blob == nullptr || size == nullptr) return E_INVALIDARG;
    if (*blob == nullptr) {
        auto* fresh = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(length) + 8));
        if (fresh == nullptr) return E_OUTOFMEMORY;
        WriteLength(fresh, 1);
        WriteLength(fresh + 4, length);
        std::memcpy(fresh + 8, data, length);
        *blob = fresh;
        *size = length + 8;
        return S_OK;
    }
    uint64_t grown = static_cast<uint64_t>(*size) + 4 + length;
    if (grown > UINT32_MAX) return E_OUTOFMEMORY;
    auto* larger = static_cast<uint8_t*>(std::realloc(*blob, static_cast<size_t>(grown)));
    if (larger == nullptr) return E_OUTOFMEMORY;
    WriteLength(larger, ReadLength(larger) + 1);
    WriteLength(larger + *size, length);
    std::memcpy(larger + *size + 4, data, length);
    *blob = larger;
    *size = static_cast<uint32_t>(grown);
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDB::InsertFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes,
                                                      uint32_t count) {
    if (data == nullptr || sizes == nullptr || count == 0) return E_INVALIDARG;
    if (count == 1) return InsertFeaturePoint(id, data[0], sizes[0], kRawFormat, 0);
    uint8_t* blob = nullptr;
    uint32_t size = 0;
    HRESULT packed = PackBlocks(data, sizes, count, &blob, &size);
    if (packed != S_OK) return packed;
    HRESULT result = InsertFeaturePoint(id, blob, size, kPackedFormat, 0);
    std::free(blob);
    return result;
}

HRESULT CSQLiteFaceFeaturePointDB::InsertFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format,
                                                     int64_t packedDate) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    BeginTransaction();
    // An insert that replaces: a point of that id goes first.
    DeleteFeaturePoint(id, 0);
    Statement insert(m_db, kInsertPoint);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(id));
    insert.BindInt64(2, packedDate == 0 ? NowPacked() : packedDate);
    insert.BindBlob(3, data, static_cast<int>(size));
    insert.BindInt64(4, format);
    return RunToDone(insert);
}

HRESULT CSQLiteFaceFeaturePointDB::UpdateFeaturePoints(uint64_t id, const void* const* data, const uint32_t* sizes,
                                                      uint32_t count) {
    if (data == nullptr || sizes == nullptr || count == 0) return E_INVALIDARG;
    if (count == 1) return UpdateFeaturePoint(id, data[0], sizes[0], kRawFormat);
    uint8_t* blob = nullptr;
    uint32_t size = 0;
    HRESULT packed = PackBlocks(data, sizes, count, &blob, &size);
    if (packed != S_OK) return packed;
    HRESULT result = UpdateFeaturePoint(id, blob, size, kPackedFormat);
    std::free(blob);
    return result;
}

HRESULT CSQLiteFaceFeaturePointDB::UpdateFeaturePoint(uint64_t id, const void* data, uint32_t size, uint32_t format) {
    if (data == nullptr || size == 0 || !HasFeaturePoint(id)) return E_INVALIDARG;
    BeginTransaction();
    Statement update(m_db, kUpdatePoint);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, NowPacked());
    update.BindBlob(2, data, static_cast<int>(size));
    update.BindInt64(3, format);
    update.BindInt64(4, static_cast<int64_t>(id));
    return RunToDone(update);
}

HRESULT CSQLiteFaceFeaturePointDB::DeleteFeaturePoint(uint64_t id, BOOL /*purge*/) {
    BeginTransaction();
    Statement remove(m_db, kDeletePoint);
    if (!remove.IsPrepared()) return E_FAIL;
    remove.BindInt64(1, static_cast<int64_t>(id));
    return RunToDone(remove);
}

HRESULT CSQLiteFaceFeaturePointDB::DeleteAllFeaturePoints() {
    BeginTransaction();
    return ExecuteStatement(kDeleteAllPoints);
}

HRESULT CSQLiteFaceFeaturePointDB::ReadFeaturePointRow(IZanDB4FaceFeaturePointData** outData, const Statement& row) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    auto* point = new CZanDB4FaceFeaturePointData();
    point->SetFeaturePointID(static_cast<uint64_t>(row.ColumnInt64(kId)));
    CZanTDateTime date(row.ColumnInt64(kUpdateDate));
    point->SetUpdateDate(&date.m_time);
    point->SetDataFormat(static_cast<uint32_t>(row.ColumnInt64(kDataFormat)));
    int bytes = row.ColumnBytes(kFeaturePoint);
    if (bytes != 0) {
        HRESULT set = point->SetFeaturePoint(row.ColumnBlob(kFeaturePoint), static_cast<uint32_t>(bytes));
        if (set != S_OK) {
            point->Release();
            return set;
        }
    }
    *outData = point;
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDB::GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData) {
    if (outData == nullptr) return E_INVALIDARG;
    *outData = nullptr;
    Statement select(m_db, kSelectPoint);
    if (!select.IsPrepared()) return E_FAIL;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return ReadFeaturePointRow(outData, select);
}

HRESULT CSQLiteFaceFeaturePointDB::ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates, uint32_t limit) {
    return ListRows(m_db, kSelectPoints, kSelectPointsLimited, ids, dates, limit);
}

BOOL CSQLiteFaceFeaturePointDB::HasFeaturePoint(uint64_t id) {
    Statement select(m_db, kSelectPoint);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

uint32_t CSQLiteFaceFeaturePointDB::GetFeaturePointCount() {
    Statement count(m_db, kCountPoints);
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
    return static_cast<uint32_t>(count.ColumnInt64(0));
}

HRESULT CSQLiteFaceFeaturePointDB::CopyFeaturePoint(CSQLiteFaceFeaturePointDBFactory* target, uint64_t id,
                                                   uint64_t* outNewId, CSQLiteDBBase* idSource, uint32_t idType) {
    if (target == nullptr || idSource == nullptr) return E_INVALIDARG;
    Statement select(m_db, kSelectPoint);
    if (!select.IsPrepared()) return S_OK;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    uint64_t newId = 0;
    HRESULT drawn = idSource->NewID(idType, &newId);
    if (drawn != S_OK) return drawn;
    HRESULT written = target->InsertFeaturePoint(newId, select.ColumnBlob(kFeaturePoint),
                                                 static_cast<uint32_t>(select.ColumnBytes(kFeaturePoint)),
                                                 kRawFormat, 0);
    if (written != S_OK) {
        // This store's pool, not the source's: the id is lost to the source.
        PoolID(newId, idType);
        return written;
    }
    if (outNewId != nullptr) *outNewId = newId;
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDB::AppendFeaturePoint(uint8_t** blob, uint32_t* size, uint64_t id) {
    Statement select(m_db, kSelectPoint);
    // A statement that does not prepare has always counted as nothing to do.
    if (!select.IsPrepared()) return S_OK;
    select.BindInt64(1, static_cast<int64_t>(id));
    if (select.Step() != SQLITE_ROW) return E_FAIL;
    return AppendBlock(blob, size, select.ColumnBlob(kFeaturePoint),
                       static_cast<uint32_t>(select.ColumnBytes(kFeaturePoint)));
}

HRESULT CSQLiteFaceFeaturePointDB::DeleteFiles() { return DeleteStoreFiles(*this); }

// ----------------------------------------------------------- working shard

CSQLiteFaceFeaturePointDBWorking::~CSQLiteFaceFeaturePointDBWorking() = default;

HRESULT CSQLiteFaceFeaturePointDBWorking::Open() {
    HRESULT opened = CSQLiteFaceFeaturePointDB::Open();
    if (opened != S_OK) return opened;
    auto companion = std::make_unique<CSQLiteFaceFeaturePointDB>();
    companion->m_folder = m_folder;
    companion->m_fileName = CZanTString(kCompanionPrefix) + m_fileName;
    HRESULT companionOpened = companion->Open();
    if (companionOpened != S_OK) {
        m_companion.reset();
        return companionOpened;
    }
    m_companion = std::move(companion);
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDBWorking::CreateTables() {
    HRESULT base = CSQLiteDBBase::CreateTables();
    if (base != S_OK) return base;
    return ExecuteStatement(kCreateIndexTable);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::Commit(bool force) {
    CSQLiteFaceFeaturePointDB::Commit(force);
    if (m_companion) m_companion->Commit(force);
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDBWorking::Close() {
    CSQLiteFaceFeaturePointDB::Close();
    if (m_companion) m_companion->Close();
    return S_OK;
}

HRESULT CSQLiteFaceFeaturePointDBWorking::InsertFeaturePoint(uint64_t id, const void* data, uint32_t size,
                                                            uint32_t format, int64_t packedDate) {
    if (data == nullptr || size == 0) return E_INVALIDARG;
    BeginTransaction();
    // Replaces the point, a softly removed one too.
    if (m_companion) m_companion->DeleteFeaturePoint(id, 1);
    DeleteFeaturePoint(id, 1);
    // The blob's own result is not looked at: an index row can stand
    // without its blob.
    if (m_companion) m_companion->InsertFeaturePoint(id, data, size, format, packedDate);
    Statement insert(m_db, kInsertIndex);
    if (!insert.IsPrepared()) return E_FAIL;
    insert.BindInt64(1, static_cast<int64_t>(id));
    insert.BindInt64(2, packedDate == 0 ? NowPacked() : packedDate);
    insert.BindInt64(3, 0);
    return RunToDone(insert);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::UpdateFeaturePoint(uint64_t id, const void* data, uint32_t size,
                                                            uint32_t format) {
    if (data == nullptr || size == 0 || !HasFeaturePoint(id)) return E_INVALIDARG;
    BeginTransaction();
    if (m_companion) m_companion->UpdateFeaturePoint(id, data, size, format);
    Statement update(m_db, kUpdateIndexDate);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, NowPacked());
    update.BindInt64(2, static_cast<int64_t>(id));
    return RunToDone(update);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::DeleteFeaturePoint(uint64_t id, BOOL purge) {
    BeginTransaction();
    if (purge != 0) {
        Statement remove(m_db, kDeleteIndex);
        if (!remove.IsPrepared()) return E_FAIL;
        remove.BindInt64(1, static_cast<int64_t>(id));
        HRESULT removed = RunToDone(remove);
        if (removed != S_OK) return removed;
        return m_companion ? m_companion->DeleteFeaturePoint(id, purge) : S_OK;
    }
    // Soft: the point leaves the listings, its row and blob stay.
    Statement mark(m_db, kSoftRemoveIndex);
    if (!mark.IsPrepared()) return E_FAIL;
    mark.BindInt64(1, 1);
    mark.BindInt64(2, static_cast<int64_t>(id));
    return RunToDone(mark);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::DeleteAllFeaturePoints() {
    BeginTransaction();
    if (m_companion) m_companion->DeleteAllFeaturePoints();
    return ExecuteStatement(kDeleteAllIndex);
}

// Reads the blob whether or not the point was removed softly.
HRESULT CSQLiteFaceFeaturePointDBWorking::GetFeaturePoint(uint64_t id, IZanDB4FaceFeaturePointData** outData) {
    if (!m_companion) return E_FAIL;
    return m_companion->GetFeaturePoint(id, outData);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::ListFeaturePoints(CArray<uint64_t>* ids, CArray<int64_t>* dates,
                                                           uint32_t limit) {
    return ListRows(m_db, kSelectLiveIndex, kSelectLiveIndexLimited, ids, dates, limit);
}

BOOL CSQLiteFaceFeaturePointDBWorking::HasFeaturePoint(uint64_t id) {
    Statement select(m_db, kSelectLiveIndexById);
    if (!select.IsPrepared()) return 0;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW ? 1 : 0;
}

uint32_t CSQLiteFaceFeaturePointDBWorking::GetFeaturePointCount() {
    Statement count(m_db, kCountLiveIndex);
    if (!count.IsPrepared() || count.Step() != SQLITE_ROW) return 0;
    return static_cast<uint32_t>(count.ColumnInt64(0));
}

HRESULT CSQLiteFaceFeaturePointDBWorking::CopyFeaturePoint(CSQLiteFaceFeaturePointDBFactory* target, uint64_t id,
                                                          uint64_t* outNewId, CSQLiteDBBase* idSource,
                                                          uint32_t idType) {
    if (!m_companion) return E_FAIL;
    return m_companion->CopyFeaturePoint(target, id, outNewId, idSource, idType);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::AppendFeaturePoint(uint8_t** blob, uint32_t* size, uint64_t id) {
    if (!m_companion) return E_FAIL;
    return m_companion->AppendFeaturePoint(blob, size, id);
}

HRESULT CSQLiteFaceFeaturePointDBWorking::DeleteFiles() {
    HRESULT deleted = DeleteStoreFiles(*this);
    if (deleted != S_OK) return deleted;
    if (!IsInMemory() && m_companion) m_companion->DeleteFiles();
    return S_OK;
}
