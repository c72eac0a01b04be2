// CZanDB4GPSLogFileRecord: one imported track log as a value: its id, path,
// name, first and last moment in local time and in UTC, the application's
// attribute word and state value, and a location name. It holds no store
// pointer and reads nothing after it is made. Made empty by the factory, and
// filled by the log store's row reader.
//
// The interface has no way to set the id: the store sets it, when it adds
// the log or reads it from a row, through the private SetStoredID.
//
// Not thread-safe: a record belongs to one thread at a time.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "zandb4/gps.h"
#include "zandb4/identifiers.h"

class CSQLiteGPSLogDB;

class CZanDB4GPSLogFileRecord : public zandb4::ComObject<IZanDB4GPSLogFileRecord, IID_IZanDB4GPSLogFileRecord> {
public:
    CZanDB4GPSLogFileRecord() = default;

    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetPath(const CZanTString& path) override;
    HRESULT GetPath(CZanTString& outPath) override;
    HRESULT SetName(const CZanTString& name) override;
    HRESULT GetName(CZanTString& outName) override;
    HRESULT SetDates(const SYSTEMTIME* start, const SYSTEMTIME* end) override;
    HRESULT GetDates(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) override;
    HRESULT SetDatesUTC(const SYSTEMTIME* start, const SYSTEMTIME* end) override;
    HRESULT GetDatesUTC(SYSTEMTIME* outStart, SYSTEMTIME* outEnd) override;
    HRESULT SetAttributes(uint32_t attributes) override;
    HRESULT GetAttributes(uint32_t* outAttributes) override;
    HRESULT SetState(uint32_t state) override;
    HRESULT GetState(uint32_t* outState) override;
    HRESULT SetLocationName(const CZanTString& name) override;
    HRESULT GetLocationName(CZanTString& outName) override;

protected:
    ~CZanDB4GPSLogFileRecord() override = default;

private:
    friend class CSQLiteGPSLogDB;
    void SetStoredID(uint64_t id) { m_id = id; }

    uint64_t m_id = 0;
    CZanTString m_path;
    CZanTString m_name;
    CZanTDateTime m_startDate;
    CZanTDateTime m_endDate;
    CZanTDateTime m_startDateUTC;
    CZanTDateTime m_endDateUTC;
    uint32_t m_attributes = 0;
    uint32_t m_state = 0;
    CZanTString m_locationName;
};
