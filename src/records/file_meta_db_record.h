// CZanDB4FileMetaDBRecord: one row of meta_table in memory, what was read out
// of an image or movie file when it came into the library. Unlike the file
// record it is filled whole and has no field masks; one changed flag tells
// whether it was changed. The flag is raised by the setters of the original
// columns only: GPS altitude and direction, the area name and the model
// information leave it as it was. It has no store pointer and no lock.
#pragma once

#include "frame/com_object.h"
#include "frame/owned_buffer.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"

class CZanDB4FileMetaDBRecord
    : public zandb4::ComObject<IZanDB4FileMetaDBRecord, IID_IZanDB4FileMetaDBRecord> {
public:
    // The 64-bit column forms of the two split GPS values. Altitude is
    // first * 2^32 + second with the second half sign-extended; direction
    // puts the first half in the high word and the second in the low word.
    static int64_t PackAltitude(int32_t first, int32_t second);
    static int64_t PackDirection(uint32_t first, uint32_t second);
    // Reading either: the high word to the first half, the low word to the second.
    static void SplitColumn(int64_t column, uint32_t* high, uint32_t* low);

    HRESULT ClearAll() override;
    HRESULT GetFileID(uint64_t* outId) override;
    HRESULT SetFileID(uint64_t id) override;
    HRESULT SetFilterData(const void* data, uint32_t size) override;
    HRESULT GetFilterData(const void** outData, uint32_t* outSize) override;
    HRESULT SetFileSize(uint64_t fileSize) override;
    HRESULT GetFileSize(uint64_t* outFileSize) override;
    HRESULT SetFileUpdateDate(const SYSTEMTIME* date) override;
    HRESULT GetFileUpdateDate(SYSTEMTIME* outDate) override;
    HRESULT SetImportDate(const SYSTEMTIME* date, uint32_t importClass) override;
    HRESULT GetImportDate(SYSTEMTIME* outDate, uint32_t* outClass) override;
    HRESULT SetPixelSize(uint32_t width, uint32_t height) override;
    HRESULT GetPixelSize(uint32_t* outWidth, uint32_t* outHeight) override;
    HRESULT SetPanoramaNumber(uint32_t number) override;
    HRESULT GetPanoramaNumber(uint32_t* outNumber) override;
    HRESULT SetDriveNumber(uint32_t number) override;
    HRESULT GetDriveNumber(uint32_t* outNumber) override;
    HRESULT SetDuration(uint64_t duration) override;
    HRESULT GetDuration(uint64_t* outDuration) override;
    HRESULT SetFrameRate(uint32_t frameRate) override;
    HRESULT GetFrameRate(uint32_t* outFrameRate) override;
    HRESULT SetGPSAltitude(int32_t first, int32_t second) override;
    HRESULT GetGPSAltitude(int32_t* outFirst, int32_t* outSecond) override;
    HRESULT SetGPSDirection(uint32_t first, uint32_t second) override;
    HRESULT GetGPSDirection(uint32_t* outFirst, uint32_t* outSecond) override;
    HRESULT GetAreaInfo(CZanTString& outAreaInfo) override;
    HRESULT SetAreaInfo(const WCHAR* areaInfo) override;
    HRESULT GetModelInfo(CZanTString& outModelName, uint32_t* outPictureMode, uint32_t* outFinishingMode,
                         uint32_t* outArtFilter, uint32_t* outFocusMode, uint32_t* outParamFlag) override;
    HRESULT SetModelInfo(const WCHAR* modelName, uint32_t pictureMode, uint32_t finishingMode, uint32_t artFilter,
                         uint32_t focusMode, uint32_t paramFlag) override;
    HRESULT SetChanged(uint32_t changed) override;
    HRESULT GetChanged(uint32_t* outChanged) override;

private:
    uint64_t m_fileId = 0;
    zandb4::OwnedBuffer m_filterData;
    uint64_t m_fileSize = 0;
    CZanTDateTime m_fileUpdateDate;
    CZanTDateTime m_importDate;
    uint32_t m_importClass = 0;
    uint32_t m_pixelWidth = 0;
    uint32_t m_pixelHeight = 0;
    uint32_t m_panoramaNumber = 0;
    uint32_t m_driveNumber = 0;
    uint64_t m_duration = 0;
    uint32_t m_frameRate = 0;
    int32_t m_altitudeFirst = 0;
    int32_t m_altitudeSecond = 0;
    uint32_t m_directionFirst = 0;
    uint32_t m_directionSecond = 0;
    CZanTString m_areaInfo;
    CZanTString m_modelName;
    uint32_t m_pictureMode = 0;
    uint32_t m_finishingMode = 0;
    uint32_t m_artFilter = 0;
    uint32_t m_focusMode = 0;
    uint32_t m_paramFlag = 0;
    uint32_t m_changed = 0;
};
