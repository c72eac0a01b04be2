#include "faces/face_db_record.h"

namespace {

template <class T>
HRESULT CopyOut(T* out, const T& value) {
    if (out == nullptr) return E_INVALIDARG;
    *out = value;
    return S_OK;
}

}  // namespace

HRESULT CZanDB4FaceDBRecord::SetFaceID(uint64_t faceId) {
    m_faceId = faceId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetFaceID(uint64_t* outFaceId) { return CopyOut(outFaceId, m_faceId); }

HRESULT CZanDB4FaceDBRecord::SetIndividualID(uint64_t individualId) {
    m_individualId = individualId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetIndividualID(uint64_t* outIndividualId) {
    return CopyOut(outIndividualId, m_individualId);
}

HRESULT CZanDB4FaceDBRecord::SetFileID(uint64_t fileId) {
    m_fileId = fileId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetFileID(uint64_t* outFileId) { return CopyOut(outFileId, m_fileId); }

HRESULT CZanDB4FaceDBRecord::SetRect(const RECT* rect) {
    if (rect == nullptr) return E_INVALIDARG;
    m_rect = *rect;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetRect(RECT* outRect) { return CopyOut(outRect, m_rect); }

// Any value is kept; the store operations answer E_INVALIDARG to a type
// other than 1 or 2 when they see the record.
HRESULT CZanDB4FaceDBRecord::SetIndividualType(uint32_t type) {
    m_individualType = type;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetIndividualType(uint32_t* outType) { return CopyOut(outType, m_individualType); }
