// CZanDB4IndividualGroupDBRecord: one user-made group of individuals, a row
// of face_group_table, shared by persons and pets. A plain value.
#pragma once

#include "frame/com_object.h"
#include "zandb4/faces.h"
#include "zandb4/identifiers.h"

class CZanDB4IndividualGroupDBRecord
    : public zandb4::ComObject<IZanDB4IndividualGroupDBRecord, IID_IZanDB4IndividualGroupDBRecord> {
public:
    HRESULT SetID(uint64_t id) override;
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetName(const CZanTString& name) override;
    HRESULT GetName(CZanTString& outName) override;
    HRESULT SetType(uint32_t type) override;
    HRESULT GetType(uint32_t* outType) override;
    HRESULT SetDescription(const CZanTString& description) override;
    HRESULT GetDescription(CZanTString& outDescription) override;

private:
    uint64_t m_id = 0;
    CZanTString m_name;
    // The application's own value, stored and given back unread.
    uint32_t m_type = 0;
    CZanTString m_description;
};
