// CZanDB4GPSLogDBRecord: one point of a track as a value: its id, the id of
// its log file, its moment in local time and in UTC, and its position in
// degrees as floats (the table keeps doubles). It holds no store pointer and
// reads nothing after it is made. Made empty by the factory, and filled by
// the log store's row reader.
//
// The interface has no way to set the id: the store sets it, when it adds
// the point or reads it from a row, through the private SetStoredID.
//
// Not thread-safe: a record belongs to one thread at a time.
#pragma once

#include <cstdint>

#include "frame/com_object.h"
#include "zandb4/gps.h"
#include "zandb4/identifiers.h"

class CSQLiteGPSLogDB;

class CZanDB4GPSLogDBRecord : public zandb4::ComObject<IZanDB4GPSLogDBRecord, IID_IZanDB4GPSLogDBRecord> {
public:
    CZanDB4GPSLogDBRecord() = default;

    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetLogFileID(uint64_t logFileId) override;
    HRESULT GetLogFileID(uint64_t* outLogFileId) override;
    HRESULT SetDate(const SYSTEMTIME* date) override;
    HRESULT GetDate(SYSTEMTIME* outDate) override;
    HRESULT SetDateUTC(const SYSTEMTIME* date) override;
    HRESULT GetDateUTC(SYSTEMTIME* outDate) override;
    HRESULT SetLocation(float latitude, float longitude) override;
    HRESULT GetLocation(float* outLatitude, float* outLongitude) override;

protected:
    ~CZanDB4GPSLogDBRecord() override = default;

private:
    friend class CSQLiteGPSLogDB;
    void SetStoredID(uint64_t id) { m_id = id; }

    uint64_t m_id = 0;
    uint64_t m_logFileId = 0;
    CZanTDateTime m_date;
    CZanTDateTime m_dateUTC;
    float m_latitude = 0.0f;
    float m_longitude = 0.0f;
};
