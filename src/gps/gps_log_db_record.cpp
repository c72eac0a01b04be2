// CZanDB4GPSLogDBRecord: the accessors of a track point's values.
#include "gps/gps_log_db_record.h"

#include "frame/deliver.h"

HRESULT CZanDB4GPSLogDBRecord::GetID(uint64_t* outId) {
    return zandb4::Deliver(outId, m_id);
}

HRESULT CZanDB4GPSLogDBRecord::SetLogFileID(uint64_t logFileId) {
    m_logFileId = logFileId;
    return S_OK;
}

HRESULT CZanDB4GPSLogDBRecord::GetLogFileID(uint64_t* outLogFileId) {
    return zandb4::Deliver(outLogFileId, m_logFileId);
}

HRESULT CZanDB4GPSLogDBRecord::SetDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_date.m_time = *date;
    return S_OK;
}

HRESULT CZanDB4GPSLogDBRecord::GetDate(SYSTEMTIME* outDate) {
    return zandb4::Deliver(outDate, m_date.m_time);
}

HRESULT CZanDB4GPSLogDBRecord::SetDateUTC(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_dateUTC.m_time = *date;
    return S_OK;
}

HRESULT CZanDB4GPSLogDBRecord::GetDateUTC(SYSTEMTIME* outDate) {
    return zandb4::Deliver(outDate, m_dateUTC.m_time);
}

HRESULT CZanDB4GPSLogDBRecord::SetLocation(float latitude, float longitude) {
    // Any value goes in: a track point is stored as the log gave it.
    m_latitude = latitude;
    m_longitude = longitude;
    return S_OK;
}

HRESULT CZanDB4GPSLogDBRecord::GetLocation(float* outLatitude, float* outLongitude) {
    if (outLatitude == nullptr && outLongitude == nullptr) return E_INVALIDARG;
    if (outLatitude != nullptr) *outLatitude = m_latitude;
    if (outLongitude != nullptr) *outLongitude = m_longitude;
    return S_OK;
}
