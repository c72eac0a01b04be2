// CZanDB4FaceDBRecord: one face found in one file, a row of person_face_table
// or pet_face_table (or of their staging twins): the rectangle, the file it
// lies in, and the individual it belongs to, 0 while nobody has named it.
// A plain value: it holds no store pointer and reads nothing by itself.
#pragma once

#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CZanDB4FaceDBRecord : public zandb4::ComObject<IZanDB4FaceDBRecord, IID_IZanDB4FaceDBRecord> {
public:
    CZanDB4FaceDBRecord() = default;

    HRESULT SetFaceID(uint64_t faceId) override;
    HRESULT GetFaceID(uint64_t* outFaceId) override;
    HRESULT SetIndividualID(uint64_t individualId) override;
    HRESULT GetIndividualID(uint64_t* outIndividualId) override;
    HRESULT SetFileID(uint64_t fileId) override;
    HRESULT GetFileID(uint64_t* outFileId) override;
    HRESULT SetRect(const RECT* rect) override;
    HRESULT GetRect(RECT* outRect) override;
    HRESULT SetIndividualType(uint32_t type) override;
    HRESULT GetIndividualType(uint32_t* outType) override;

protected:
    ~CZanDB4FaceDBRecord() override = default;

private:
    uint64_t m_individualId = 0;
    RECT m_rect{};
    uint32_t m_individualType = 0;
    uint64_t m_faceId = 0;
    uint64_t m_fileId = 0;
};
