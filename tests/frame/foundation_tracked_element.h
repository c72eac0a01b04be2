// Element types for container tests: TrackedElement counts how often it is
// made, assigned and destroyed, so that a test can tell which elements a
// container constructs or destroys; FakeObject is an IUnknown that counts
// AddRef and Release, to show a container never touches them.
#pragma once

#include "zandb4/types.h"

namespace zandb4::testing {

struct ElementCounts {
    int defaultMade = 0;
    int copiedOrMoved = 0;
    int assigned = 0;
    int destroyed = 0;
};

class TrackedElement {
public:
    static ElementCounts& Counts() {
        static ElementCounts counts;
        return counts;
    }
    static void ResetCounts() { Counts() = ElementCounts(); }

    TrackedElement() { ++Counts().defaultMade; }
    explicit TrackedElement(int value) : m_value(value) {}
    TrackedElement(const TrackedElement& other) : m_value(other.m_value) { ++Counts().copiedOrMoved; }
    TrackedElement(TrackedElement&& other) noexcept : m_value(other.m_value) { ++Counts().copiedOrMoved; }
    TrackedElement& operator=(const TrackedElement& other) {
        m_value = other.m_value;
        ++Counts().assigned;
        return *this;
    }
    TrackedElement& operator=(TrackedElement&& other) noexcept {
        m_value = other.m_value;
        ++Counts().assigned;
        return *this;
    }
    ~TrackedElement() { ++Counts().destroyed; }

    int Value() const { return m_value; }

private:
    int m_value = -1;  // -1: made by the default constructor
};

class FakeObject : public IUnknown {
public:
    HRESULT QueryInterface(REFIID, void** out) override {
        if (out != nullptr) *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override {
        ++addRefs;
        return 2;
    }
    ULONG Release() override {
        ++releases;
        return 1;
    }

    int addRefs = 0;
    int releases = 0;
};

}  // namespace zandb4::testing
