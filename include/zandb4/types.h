// Basic types shared by every ZanDB4 interface: result codes, the wide
// character, identifiers, the broken-down date and time, and IUnknown.
//
// The library is a COM-style component: every object it hands out derives
// from IUnknown, every operation answers an HRESULT, and interfaces are found
// by 16-byte identifiers. These types keep the names and layouts the
// application already knows from that model.
#pragma once

#include <cstddef>
#include <cstdint>

#define ZANDB4_API __attribute__((visibility("default")))

typedef int32_t HRESULT;
typedef uint32_t ULONG;
typedef int32_t BOOL;
// Wide strings are null-terminated UTF-16, the form SQLite's *16 calls take.
typedef char16_t WCHAR;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

inline constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
inline constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// A 16-byte identifier in the usual layout: one 32-bit field, two 16-bit
// fields and eight bytes, little endian.
struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
typedef GUID IID;
typedef const IID& REFIID;

inline bool operator==(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i]) return false;
    return true;
}
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

// Broken-down date and time, eight 16-bit fields in this order.
struct SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

// The root of every interface. It has no destructor of its own: objects are
// destroyed by their last Release, never by the caller.
class IUnknown {
public:
    virtual HRESULT QueryInterface(REFIID iid, void** out) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;
};
