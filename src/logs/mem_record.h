// CZanDB4MemRecord: one memory data entry as a value: the data bytes, which
// the record owns (from malloc) and frees when it goes, their size, the id,
// the type and the condition text. It holds no store pointer. Made by the
// memory data rows for each entry read, or by the application through its
// own implementation of the interface; the factory does not make it.
//
// Not thread-safe: a record belongs to one thread at a time.
#pragma once

#include "frame/com_object.h"
#include "zandb4/identifiers.h"
#include "zandb4/logs.h"

class CZanDB4MemRecord : public zandb4::ComObject<IZanDB4MemRecord, IID_IZanDB4MemRecord> {
public:
    CZanDB4MemRecord() = default;

    HRESULT SetID(uint64_t id) override;
    HRESULT GetID(uint64_t* outId) override;
    HRESULT SetType(uint32_t type) override;
    HRESULT GetType(uint32_t* outType) override;
    HRESULT SetCondition(const CZanTString& condition) override;
    HRESULT GetCondition(CZanTString& outCondition) override;
    HRESULT SetData(const void* data, uint32_t size) override;
    const void* GetData() override;
    uint32_t GetDataSize() override;

protected:
    ~CZanDB4MemRecord() override;

private:
    void* m_data = nullptr;
    uint32_t m_dataSize = 0;
    uint64_t m_id = 0;
    uint32_t m_type = 0;
    CZanTString m_condition;
};
