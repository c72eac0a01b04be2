// ComPtr: holds one reference to an interface and gives it back when it goes,
// so that no path inside the library leaks a reference. Raw pointers are used
// only where the library hands references across its boundary.
#pragma once

#include <utility>

namespace zandb4 {

template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Takes over a reference the caller already owns (e.g. a factory result).
    static ComPtr Adopt(T* pointer) {
        ComPtr held;
        held.m_pointer = pointer;
        return held;
    }
    // Takes a new reference of its own.
    static ComPtr Share(T* pointer) {
        if (pointer != nullptr) pointer->AddRef();
        return Adopt(pointer);
    }
    ComPtr(const ComPtr& other) : m_pointer(other.m_pointer) {
        if (m_pointer != nullptr) m_pointer->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(m_pointer, other.m_pointer);
        return *this;
    }
    ~ComPtr() { Reset(); }

    void Reset() {
        if (T* held = std::exchange(m_pointer, nullptr)) held->Release();
    }
    // Hands the reference to the caller, e.g. into an out-pointer.
    T* Detach() { return std::exchange(m_pointer, nullptr); }
    // For out-pointer arguments; drops what was held first.
    T** Receive() {
        Reset();
        return &m_pointer;
    }

    T* Get() const { return m_pointer; }
    T* operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }

private:
    T* m_pointer = nullptr;
};

}  // namespace zandb4
