#include "faces/face_db_record.h"

#include "frame/deliver.h"

using zandb4::Deliver;

HRESULT CZanDB4FaceDBRecord::SetFaceID(uint64_t faceId) {
    m_faceId = faceId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetFaceID(uint64_t* outFaceId) { return Deliver(outFaceId, m_faceId); }

HRESULT CZanDB4FaceDBRecord::SetIndividualID(uint64_t individualId) {
    m_individualId = individualId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetIndividualID(uint64_t* outIndividualId) {
    return Deliver(outIndividualId, m_individualId);
}

HRESULT CZanDB4FaceDBRecord::SetFileID(uint64_t fileId) {
    m_fileId = fileId;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetFileID(uint64_t* outFileId) { return Deliver(outFileId, m_fileId); }

HRESULT CZanDB4FaceDBRecord::SetRect(const RECT* rect) {
    if (rect == nullptr) return E_INVALIDARG;
    m_rect = *rect;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetRect(RECT* outRect) { return Deliver(outRect, m_rect); }

// Any value is kept; the store operations answer E_INVALIDARG to a type
// other than 1 or 2 when they see the record.
HRESULT CZanDB4FaceDBRecord::SetIndividualType(uint32_t type) {
    m_individualType = type;
    return S_OK;
}

HRESULT CZanDB4FaceDBRecord::GetIndividualType(uint32_t* outType) { return Deliver(outType, m_individualType); }
