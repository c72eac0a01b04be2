// CZanDB4ImportDBRecord: one row of the import journal as a value: class,
// attribute and date. It holds no store pointer.
#pragma once

#include "frame/com_object.h"
#include "zandb4/albums.h"
#include "zandb4/identifiers.h"

class CZanDB4ImportDBRecord : public zandb4::ComObject<IZanDB4ImportDBRecord, IID_IZanDB4ImportDBRecord> {
public:
    HRESULT SetDate(const SYSTEMTIME* date) override;
    HRESULT GetDate(SYSTEMTIME* outDate) override;
    HRESULT SetClass(uint32_t importClass) override;
    HRESULT GetClass(uint32_t* outClass) override;
    HRESULT SetAttribute(uint32_t attribute) override;
    HRESULT GetAttribute(uint32_t* outAttribute) override;

private:
    uint32_t m_class = 0;
    uint32_t m_attribute = 0;
    CZanTDateTime m_date;
};
