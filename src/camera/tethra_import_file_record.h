// CZanDB4TethraImportFileRecord: one file of the camera list as a plain value
// holder, with no link to the store. Made by the manager's CreateRecord and
// by the store's row reader, never by ZanDB4_CreateInstance.
#pragma once

#include "frame/com_object.h"
#include "zandb4/camera.h"
#include "zandb4/identifiers.h"

class CZanDB4TethraImportFileRecord
    : public zandb4::ComObject<IZanDB4TethraImportFileRecord, IID_IZanDB4TethraImportFileRecord> {
public:
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetID(uint64_t id) override;
    HRESULT SetPath(const CZanTString& path) override;
    HRESULT GetPath(CZanTString& outPath) override;
    HRESULT SetDate(const SYSTEMTIME* date) override;
    HRESULT GetDate(SYSTEMTIME* outDate) override;
    HRESULT SetAttributes(uint32_t attributes) override;
    HRESULT GetAttributes(uint32_t* outAttributes) override;

private:
    uint64_t m_id = 0;
    CZanTString m_path;
    SYSTEMTIME m_date{};
    uint32_t m_attributes = 0;
};
