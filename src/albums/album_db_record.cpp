// CZanDB4AlbumDBRecord: accessors, the coordinate bounds and the
// read-through of the derived values.
#include "albums/album_db_record.h"

#include <utility>

#include "albums/album_table.h"
#include "catalogue/file_basic_db.h"
#include "frame/deliver.h"
#include "storage/locked_call.h"
#include "storage/statement.h"

using zandb4::Deliver;
using zandb4::Statement;

namespace {

// Inside the closed range; NaN is inside no range.
bool IsWithin(float value, float bound) { return value >= -bound && value <= bound; }

}  // namespace

template <class Apply>
void CZanDB4AlbumDBRecord::ReadThrough(int column, Apply&& apply) {
    if (m_id == 0) return;
    zandb4::LockedCall(m_fileBasicDB, 0, [&](CSQLiteFileBasicDB& store) {
        Statement select(store.m_db, album_table::kSelectById);
        if (!select.IsPrepared()) return 0;
        select.BindInt64(1, static_cast<int64_t>(m_id));
        if (select.Step() == SQLITE_ROW) std::forward<Apply>(apply)(select.ColumnInt64(column));
        return 0;
    });
}

HRESULT CZanDB4AlbumDBRecord::SetID(uint64_t id) {
    m_id = id;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetID(uint64_t* outId) { return Deliver(outId, m_id); }

HRESULT CZanDB4AlbumDBRecord::SetName(const CZanTString& name) {
    m_name = name;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetName(CZanTString& outName) {
    // The empty name is delivered too, so that the caller's string never
    // keeps an older value.
    outName = m_name;
    return m_name.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4AlbumDBRecord::SetGPS(const float* latitude, const float* longitude) {
    if (latitude == nullptr || longitude == nullptr) return E_INVALIDARG;
    // Latitude first; the bounds themselves are valid places.
    if (!IsWithin(*latitude, 90.0f)) return E_INVALIDARG;
    if (!IsWithin(*longitude, 180.0f)) return E_INVALIDARG;
    m_latitude = *latitude;
    m_longitude = *longitude;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetGPS(float* outLatitude, float* outLongitude) {
    if (outLatitude == nullptr || outLongitude == nullptr) return E_INVALIDARG;
    *outLatitude = m_latitude;
    *outLongitude = m_longitude;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::SetAreaInfo(const CZanTString& areaInfo) {
    m_areaInfo = areaInfo;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetAreaInfo(CZanTString& outAreaInfo) {
    outAreaInfo = m_areaInfo;
    return m_areaInfo.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4AlbumDBRecord::SetOldestDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_oldestDate.m_time = *date;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetOldestDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    ReadThrough(album_table::kShootingDateOldest, [&](int64_t packed) { m_oldestDate.SetPacked(packed); });
    *outDate = m_oldestDate.m_time;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::SetLatestDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_latestDate.m_time = *date;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetLatestDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    ReadThrough(album_table::kShootingDateLatest, [&](int64_t packed) { m_latestDate.SetPacked(packed); });
    *outDate = m_latestDate.m_time;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::SetFileCount(uint32_t count) {
    m_fileCount = count;
    return S_OK;
}

HRESULT CZanDB4AlbumDBRecord::GetFileCount(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    ReadThrough(album_table::kAlbumFileCount, [&](int64_t count) { m_fileCount = static_cast<uint32_t>(count); });
    *outCount = m_fileCount;
    return S_OK;
}
