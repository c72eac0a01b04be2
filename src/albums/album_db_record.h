// CZanDB4AlbumDBRecord: one album as a value, with a back link to the
// catalogue. Once the record has an id, the dates and the file count are
// read from the album's row on every get: only the recount at the
// catalogue's Commit changes them, and a stored record always shows them as
// they stand.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CSQLiteFileBasicDB;

class CZanDB4AlbumDBRecord : public zandb4::ComObject<IZanDB4AlbumDBRecord, IID_IZanDB4AlbumDBRecord> {
public:
    // fileBasicDB is borrowed; null in a record made while the library had
    // no catalogue, whose getters then deliver what was set.
    explicit CZanDB4AlbumDBRecord(CSQLiteFileBasicDB* fileBasicDB) : m_fileBasicDB(fileBasicDB) {}

    HRESULT SetID(uint64_t id) override;
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetName(const CZanTString& name) override;
    HRESULT GetName(CZanTString& outName) override;
    HRESULT SetGPS(const float* latitude, const float* longitude) override;
    HRESULT GetGPS(float* outLatitude, float* outLongitude) override;
    HRESULT SetAreaInfo(const CZanTString& areaInfo) override;
    HRESULT GetAreaInfo(CZanTString& outAreaInfo) override;
    HRESULT SetOldestDate(const SYSTEMTIME* date) override;
    HRESULT GetOldestDate(SYSTEMTIME* outDate) override;
    HRESULT SetLatestDate(const SYSTEMTIME* date) override;
    HRESULT GetLatestDate(SYSTEMTIME* outDate) override;
    HRESULT SetFileCount(uint32_t count) override;
    HRESULT GetFileCount(uint32_t* outCount) override;

private:
    // Reads the row of the record's id under the catalogue's lock and passes
    // its stored value of column to apply. Nothing happens for a record
    // without id, a failed statement or a missing row.
    template <class Apply>
    void ReadThrough(int column, Apply&& apply);

    uint64_t m_id = 0;
    CZanTString m_name;
    float m_latitude = 0.0f;
    float m_longitude = 0.0f;
    CZanTString m_areaInfo;
    CZanTDateTime m_oldestDate;
    CZanTDateTime m_latestDate;
    uint32_t m_fileCount = 0;
    CSQLiteFileBasicDB* m_fileBasicDB;
};
