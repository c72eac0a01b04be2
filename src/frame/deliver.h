// Deliver: the getter of a plain value. Writes value through out, or
// answers E_INVALIDARG for a null out.
#pragma once

#include "zandb4/types.h"

namespace zandb4 {

template <class T>
HRESULT Deliver(T* out, const T& value) {
    if (out == nullptr) return E_INVALIDARG;
    *out = value;
    return S_OK;
}

}  // namespace zandb4
