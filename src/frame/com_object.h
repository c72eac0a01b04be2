// ComObject: the reference counting and QueryInterface every class of the
// library shares. The count starts at 1 for whoever made the object, changes
// only atomically, and the object destroys itself through its virtual
// destructor, which therefore comes after the interface's operations in the
// virtual table. QueryInterface answers the class's own identifier only, not
// even IUnknown's.
#pragma once

#include <atomic>
#include <cstdint>

#include "zandb4/types.h"

namespace zandb4 {

template <class Interface, const IID& kInterfaceId>
class ComObject : public Interface {
public:
    HRESULT QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_INVALIDARG;
        if (iid == kInterfaceId) {
            this->AddRef();
            *out = static_cast<Interface*>(this);
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }

    ULONG AddRef() override { return static_cast<ULONG>(++m_refCount); }

    ULONG Release() override {
        int32_t count = --m_refCount;
        if (count == 0) delete this;
        return static_cast<ULONG>(count);
    }

    // The current count, for tests and for the record cache's two-stage
    // release.
    int32_t RefCount() const { return m_refCount.load(); }

protected:
    ComObject() = default;
    virtual ~ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    std::atomic<int32_t> m_refCount{1};
};

}  // namespace zandb4
