// OwnedBuffer: a byte buffer from the C heap that one object owns. The
// records that carry opaque bytes (filter data, large metadata) keep them in
// one, so that a failed allocation shows as E_OUTOFMEMORY rather than an
// exception, and so that a buffer made elsewhere with malloc can be taken
// over without a copy.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zandb4/types.h"

namespace zandb4 {

class OwnedBuffer {
public:
    OwnedBuffer() = default;
    ~OwnedBuffer() { std::free(m_data); }
    OwnedBuffer(const OwnedBuffer&) = delete;
    OwnedBuffer& operator=(const OwnedBuffer&) = delete;

    // Replaces the bytes with a copy of data. Null data or size 0 leave the
    // buffer empty. The copy is made before the old bytes go, so data may
    // point into this buffer. E_OUTOFMEMORY leaves the old bytes in place.
    HRESULT CopyFrom(const void* data, uint32_t size) {
        if (data == nullptr || size == 0) {
            Reset(nullptr, 0);
            return S_OK;
        }
        void* copy = std::malloc(size);
        if (copy == nullptr) return E_OUTOFMEMORY;
        std::memcpy(copy, data, size);
        Reset(copy, size);
        return S_OK;
    }

    // Takes over a buffer from malloc; frees the old bytes.
    void Reset(void* data, uint32_t size) {
        if (data != m_data) std::free(m_data);
        m_data = data;
        m_size = data == nullptr ? 0 : size;
    }

    // The getter of both records: either out may be null, not both
    // (E_INVALIDARG); asking for the pointer while empty is E_FAIL, asking
    // for the size alone always works.
    HRESULT Get(const void** outData, uint32_t* outSize) const {
        if (outData == nullptr && outSize == nullptr) return E_INVALIDARG;
        if (outSize != nullptr) *outSize = m_size;
        if (outData == nullptr) return S_OK;
        *outData = m_data;
        return m_data == nullptr ? E_FAIL : S_OK;
    }

    const void* Data() const { return m_data; }
    uint32_t Size() const { return m_size; }

private:
    void* m_data = nullptr;
    uint32_t m_size = 0;
};

}  // namespace zandb4
