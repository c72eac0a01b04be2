// CZanDB4TagDBRecord: one tag as a value (name, type, id). It holds no store
// pointer: a tag record read from the catalogue does not follow later
// changes of the row.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CZanDB4TagDBRecord : public zandb4::ComObject<IZanDB4TagDBRecord, IID_IZanDB4TagDBRecord> {
public:
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetID(uint64_t id) override;
    HRESULT SetName(const CZanTString& name) override;
    HRESULT GetName(CZanTString& outName) override;
    HRESULT SetType(uint32_t type) override;
    HRESULT GetType(uint32_t* outType) override;

private:
    CZanTString m_name;
    uint32_t m_type = 0;
    uint64_t m_id = 0;
};
