// CZanDB4FileMetaDBRecord: accessors and the packing of the split GPS values.
#include "records/file_meta_db_record.h"

#include "frame/deliver.h"

using zandb4::Deliver;

int64_t CZanDB4FileMetaDBRecord::PackAltitude(int32_t first, int32_t second) {
    // A negative second half borrows from the first: (1, -1) is 4294967295.
    return static_cast<int64_t>(static_cast<uint64_t>(static_cast<int64_t>(first)) << 32) + second;
}

int64_t CZanDB4FileMetaDBRecord::PackDirection(uint32_t first, uint32_t second) {
    return static_cast<int64_t>((static_cast<uint64_t>(first) << 32) | second);
}

void CZanDB4FileMetaDBRecord::SplitColumn(int64_t column, uint32_t* high, uint32_t* low) {
    uint64_t bits = static_cast<uint64_t>(column);
    *high = static_cast<uint32_t>(bits >> 32);
    *low = static_cast<uint32_t>(bits);
}

HRESULT CZanDB4FileMetaDBRecord::ClearAll() {
    const SYSTEMTIME noDate{};
    SetFileID(0);
    SetFilterData(nullptr, 0);
    SetFileSize(0);
    SetFileUpdateDate(&noDate);
    SetImportDate(&noDate, 0);
    SetPixelSize(0, 0);
    SetPanoramaNumber(0);
    SetDriveNumber(0);
    SetDuration(0);
    SetFrameRate(0);
    SetGPSAltitude(0, 0);
    SetGPSDirection(0, 0);
    SetAreaInfo(u"");
    SetModelInfo(u"", 0, 0, 0, 0, 0);
    return SetChanged(1);
}

HRESULT CZanDB4FileMetaDBRecord::GetFileID(uint64_t* outId) { return Deliver(outId, m_fileId); }

HRESULT CZanDB4FileMetaDBRecord::SetFileID(uint64_t id) {
    m_fileId = id;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetFilterData(const void* data, uint32_t size) {
    HRESULT copied = m_filterData.CopyFrom(data, size);
    if (copied == S_OK) m_changed = 1;
    return copied;
}

HRESULT CZanDB4FileMetaDBRecord::GetFilterData(const void** outData, uint32_t* outSize) {
    return m_filterData.Get(outData, outSize);
}

HRESULT CZanDB4FileMetaDBRecord::SetFileSize(uint64_t fileSize) {
    m_fileSize = fileSize;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetFileSize(uint64_t* outFileSize) { return Deliver(outFileSize, m_fileSize); }

HRESULT CZanDB4FileMetaDBRecord::SetFileUpdateDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    m_fileUpdateDate.m_time = *date;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetFileUpdateDate(SYSTEMTIME* outDate) {
    return Deliver(outDate, m_fileUpdateDate.m_time);
}

HRESULT CZanDB4FileMetaDBRecord::SetImportDate(const SYSTEMTIME* date, uint32_t importClass) {
    if (date == nullptr) return E_INVALIDARG;
    m_importDate.m_time = *date;
    m_importClass = importClass;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetImportDate(SYSTEMTIME* outDate, uint32_t* outClass) {
    if (outDate == nullptr) return E_INVALIDARG;
    *outDate = m_importDate.m_time;
    if (outClass != nullptr) *outClass = m_importClass;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetPixelSize(uint32_t width, uint32_t height) {
    m_pixelWidth = width;
    m_pixelHeight = height;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetPixelSize(uint32_t* outWidth, uint32_t* outHeight) {
    // Both missing is E_FAIL here, not E_INVALIDARG; callers test for it.
    if (outWidth == nullptr && outHeight == nullptr) return E_FAIL;
    if (outWidth != nullptr) *outWidth = m_pixelWidth;
    if (outHeight != nullptr) *outHeight = m_pixelHeight;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetPanoramaNumber(uint32_t number) {
    m_panoramaNumber = number;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetPanoramaNumber(uint32_t* outNumber) { return Deliver(outNumber, m_panoramaNumber); }

HRESULT CZanDB4FileMetaDBRecord::SetDriveNumber(uint32_t number) {
    m_driveNumber = number;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetDriveNumber(uint32_t* outNumber) { return Deliver(outNumber, m_driveNumber); }

HRESULT CZanDB4FileMetaDBRecord::SetDuration(uint64_t duration) {
    m_duration = duration;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetDuration(uint64_t* outDuration) { return Deliver(outDuration, m_duration); }

HRESULT CZanDB4FileMetaDBRecord::SetFrameRate(uint32_t frameRate) {
    m_frameRate = frameRate;
    m_changed = 1;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetFrameRate(uint32_t* outFrameRate) { return Deliver(outFrameRate, m_frameRate); }

// The setters below came with later columns and leave the changed flag alone.
HRESULT CZanDB4FileMetaDBRecord::SetGPSAltitude(int32_t first, int32_t second) {
    m_altitudeFirst = first;
    m_altitudeSecond = second;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetGPSAltitude(int32_t* outFirst, int32_t* outSecond) {
    if (outFirst == nullptr || outSecond == nullptr) return E_INVALIDARG;
    *outFirst = m_altitudeFirst;
    *outSecond = m_altitudeSecond;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetGPSDirection(uint32_t first, uint32_t second) {
    m_directionFirst = first;
    m_directionSecond = second;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetGPSDirection(uint32_t* outFirst, uint32_t* outSecond) {
    if (outFirst == nullptr || outSecond == nullptr) return E_INVALIDARG;
    *outFirst = m_directionFirst;
    *outSecond = m_directionSecond;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetAreaInfo(CZanTString& outAreaInfo) {
    outAreaInfo = m_areaInfo;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetAreaInfo(const WCHAR* areaInfo) {
    m_areaInfo = areaInfo;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetModelInfo(CZanTString& outModelName, uint32_t* outPictureMode,
                                              uint32_t* outFinishingMode, uint32_t* outArtFilter,
                                              uint32_t* outFocusMode, uint32_t* outParamFlag) {
    if (outPictureMode == nullptr || outFinishingMode == nullptr || outArtFilter == nullptr) return E_INVALIDARG;
    outModelName = m_modelName;
    *outPictureMode = m_pictureMode;
    *outFinishingMode = m_finishingMode;
    *outArtFilter = m_artFilter;
    if (outFocusMode != nullptr) *outFocusMode = m_focusMode;
    if (outParamFlag != nullptr) *outParamFlag = m_paramFlag;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetModelInfo(const WCHAR* modelName, uint32_t pictureMode, uint32_t finishingMode,
                                              uint32_t artFilter, uint32_t focusMode, uint32_t paramFlag) {
    m_modelName = modelName;
    m_pictureMode = pictureMode;
    m_finishingMode = finishingMode;
    m_artFilter = artFilter;
    m_focusMode = focusMode;
    m_paramFlag = paramFlag;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::SetChanged(uint32_t changed) {
    m_changed = changed;
    return S_OK;
}

HRESULT CZanDB4FileMetaDBRecord::GetChanged(uint32_t* outChanged) { return Deliver(outChanged, m_changed); }
