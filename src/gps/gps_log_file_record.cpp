// CZanDB4GPSLogFileRecord: the accessors of a track log's values.
#include "gps/gps_log_file_record.h"

#include "frame/deliver.h"

namespace {

// A text getter: the value goes out in any case, and an empty one answers
// E_FAIL, so a caller can tell "not set" from a value.
HRESULT DeliverText(const CZanTString& value, CZanTString& out) {
    out = value;
    return value.IsEmpty() ? E_FAIL : S_OK;
}

// Setters and getters of a pair of moments: either pointer may be null and is
// then skipped, but one of them must be there.
HRESULT StorePair(const SYSTEMTIME* start, const SYSTEMTIME* end, CZanTDateTime& startField, CZanTDateTime& endField) {
    if (start == nullptr && end == nullptr) return E_INVALIDARG;
    if (start != nullptr) startField.m_time = *start;
    if (end != nullptr) endField.m_time = *end;
    return S_OK;
}

HRESULT DeliverPair(const CZanTDateTime& startField, const CZanTDateTime& endField, SYSTEMTIME* outStart,
                    SYSTEMTIME* outEnd) {
    if (outStart == nullptr && outEnd == nullptr) return E_INVALIDARG;
    if (outStart != nullptr) *outStart = startField.m_time;
    if (outEnd != nullptr) *outEnd = endField.m_time;
    return S_OK;
}

}  // namespace

HRESULT CZanDB4GPSLogFileRecord::GetID(uint64_t* outId) {
    return zandb4::Deliver(outId, m_id);
}

HRESULT CZanDB4GPSLogFileRecord::SetPath(const CZanTString& path) {
    m_path = path;
    return S_OK;
}

HRESULT CZanDB4GPSLogFileRecord::GetPath(CZanTString& outPath) {
    return DeliverText(m_path, outPath);
}

HRESULT CZanDB4GPSLogFileRecord::SetName(const CZanTString& name) {
    m_name = name;
    return S_OK;
}

HRESULT CZanDB4GPSLogFileRecord::GetName(CZanTString& outName) {
    return DeliverText(m_name, outName);
}

HRESULT CZanDB4GPSLogFileRecord::SetDates(const SYSTEMTIME* start, const SYSTEMTIME* end) {
    return StorePair(start, end, m_startDate, m_endDate);
}

HRESULT CZanDB4GPSLogFileRecord::GetDates(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) {
    return DeliverPair(m_startDate, m_endDate, outStart, outEnd);
}

HRESULT CZanDB4GPSLogFileRecord::SetDatesUTC(const SYSTEMTIME* start, const SYSTEMTIME* end) {
    return StorePair(start, end, m_startDateUTC, m_endDateUTC);
}

HRESULT CZanDB4GPSLogFileRecord::GetDatesUTC(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) {
    return DeliverPair(m_startDateUTC, m_endDateUTC, outStart, outEnd);
}

HRESULT CZanDB4GPSLogFileRecord::SetAttributes(uint32_t attributes) {
    m_attributes = attributes;
    return S_OK;
}

HRESULT CZanDB4GPSLogFileRecord::GetAttributes(uint32_t* outAttributes) {
    return zandb4::Deliver(outAttributes, m_attributes);
}

HRESULT CZanDB4GPSLogFileRecord::SetState(uint32_t state) {
    m_state = state;
    return S_OK;
}

HRESULT CZanDB4GPSLogFileRecord::GetState(uint32_t* outState) {
    return zandb4::Deliver(outState, m_state);
}

HRESULT CZanDB4GPSLogFileRecord::SetLocationName(const CZanTString& name) {
    m_locationName = name;
    return S_OK;
}

HRESULT CZanDB4GPSLogFileRecord::GetLocationName(CZanTString& outName) {
    return DeliverText(m_locationName, outName);
}
