// Value types that cross the library boundary: the wide string with its path
// helpers, the date with the packed 64-bit form every date column holds, and
// the wrappers that carry results in the caller's containers.
#pragma once

#include <cstdarg>
#include <string>

#include "zandb4/containers.h"
#include "zandb4/types.h"

// A UTF-16 string value. Length counts 16-bit units. Copying copies the value.
// Not thread-safe; each thread uses its own strings.
class ZANDB4_API CZanTString {
public:
    CZanTString();
    CZanTString(const WCHAR* text);  // null makes an empty string
    CZanTString(const WCHAR* text, size_t length);
    CZanTString(const std::u16string& text);
    CZanTString(const CZanTString& other);
    CZanTString(CZanTString&& other) noexcept;
    virtual ~CZanTString();

    CZanTString& operator=(const CZanTString& other);
    CZanTString& operator=(CZanTString&& other) noexcept;
    CZanTString& operator=(const WCHAR* text);

    // UTF-8 in and out; invalid sequences become U+FFFD.
    static CZanTString FromUtf8(const char* text);
    std::string ToUtf8() const;

    size_t GetLength() const;
    bool IsEmpty() const;
    void Empty();
    const WCHAR* GetString() const;  // never null
    const std::u16string& Value() const;
    WCHAR GetAt(size_t index) const;  // throws std::invalid_argument past the end

    // Case-sensitive ordinal comparison: <0, 0 or >0.
    int Compare(const WCHAR* other) const;
    bool operator==(const CZanTString& other) const;
    bool operator!=(const CZanTString& other) const;
    bool operator<(const CZanTString& other) const;

    CZanTString& operator+=(const CZanTString& other);
    CZanTString& operator+=(const WCHAR* other);
    CZanTString& operator+=(WCHAR ch);

    // printf rules on UTF-16: %s takes a const WCHAR*, %c a WCHAR; the
    // integer conversions d i u x X o with the length modifiers h l ll, and
    // f e g. Flags, width and precision as printf. Numbers never depend on
    // the process locale.
    void Format(const WCHAR* format, ...);
    void AppendFormat(const WCHAR* format, ...);
    void FormatV(const WCHAR* format, va_list args);
    void AppendFormatV(const WCHAR* format, va_list args);

    // Simple (one to one) Unicode upper-casing of every code point, the same
    // whatever the process locale is.
    void MakeUpper();

    // Joins other to this path with exactly one '/' between the parts. An
    // empty part adds nothing.
    void AppendPath(const CZanTString& other);

    // Makes the folder and every missing parent. S_OK or E_FAIL.
    HRESULT MakeFolder() const;
    // Deletes the folder with everything below it. S_OK, or E_FAIL when an
    // entry or the folder itself could not be removed; entries not reached
    // after a failure stay in place.
    HRESULT DeleteFolder() const;

private:
    std::u16string m_value;
};

CZanTString ZANDB4_API operator+(const CZanTString& left, const CZanTString& right);

// A SYSTEMTIME with packing to and from the packed date:
// year<<40 | month<<32 | day<<24 | hour<<16 | minute<<8 | second.
// Packed dates compare as integers; 0 means no date; day of week and
// milliseconds are not stored.
class CZanTDateTime {
public:
    CZanTDateTime() : m_time{} {}
    explicit CZanTDateTime(int64_t packed) : m_time{} { SetPacked(packed); }
    explicit CZanTDateTime(const SYSTEMTIME& time) : m_time(time) {}
    virtual ~CZanTDateTime() = default;
    CZanTDateTime(const CZanTDateTime&) = default;
    CZanTDateTime& operator=(const CZanTDateTime&) = default;

    int64_t GetPacked() const {
        return (static_cast<int64_t>(m_time.wYear) << 40) + (static_cast<int64_t>(m_time.wMonth) << 32) +
               (static_cast<int64_t>(m_time.wDay) << 24) + (static_cast<int64_t>(m_time.wHour) << 16) +
               (static_cast<int64_t>(m_time.wMinute) << 8) + static_cast<int64_t>(m_time.wSecond);
    }

    HRESULT SetPacked(int64_t packed) {
        uint64_t bits = static_cast<uint64_t>(packed);
        m_time.wYear = static_cast<uint16_t>(bits >> 40);
        m_time.wMonth = static_cast<uint16_t>((bits >> 32) & 0xFF);
        m_time.wDayOfWeek = 0;
        m_time.wDay = static_cast<uint16_t>((bits >> 24) & 0xFF);
        m_time.wHour = static_cast<uint16_t>((bits >> 16) & 0xFF);
        m_time.wMinute = static_cast<uint16_t>((bits >> 8) & 0xFF);
        m_time.wSecond = static_cast<uint16_t>(bits & 0xFF);
        m_time.wMilliseconds = 0;
        return S_OK;
    }

    SYSTEMTIME m_time;
};

// A wrapper over a CArray: either it made the array itself and destroys it
// (owned), or it wraps the caller's array for the length of a call. It never
// releases elements; that stays with whoever fills and empties the array.
template <class T>
class CZanTArray {
public:
    CZanTArray() : m_pContainer(new CArray<T>()), m_bOwned(true) {}
    explicit CZanTArray(CArray<T>* container) : m_pContainer(container), m_bOwned(false) {}
    virtual ~CZanTArray() {
        if (m_bOwned) delete m_pContainer;
    }
    CZanTArray(const CZanTArray&) = delete;
    CZanTArray& operator=(const CZanTArray&) = delete;

    CArray<T>& Container() { return *m_pContainer; }
    const CArray<T>& Container() const { return *m_pContainer; }
    bool IsOwned() const { return m_bOwned; }

    ptrdiff_t GetSize() const { return m_pContainer->GetSize(); }
    bool IsEmpty() const { return m_pContainer->IsEmpty(); }
    T& GetAt(ptrdiff_t index) { return m_pContainer->GetAt(index); }
    const T& GetAt(ptrdiff_t index) const { return m_pContainer->GetAt(index); }
    T& operator[](ptrdiff_t index) { return m_pContainer->GetAt(index); }
    ptrdiff_t Add(const T& value) { return m_pContainer->Add(value); }
    void RemoveAll() { m_pContainer->RemoveAll(); }

    // Only for arrays of CZanTString: empties the array and fills it with the
    // full path of every entry of folder but "." and "..", files and folders
    // alike, in ascending byte order of their UTF-8 names. E_FAIL if the
    // folder cannot be read, else S_OK.
    HRESULT ListFolder(const CZanTString& folder);

private:
    CArray<T>* m_pContainer;
    bool m_bOwned;
};

template <>
ZANDB4_API HRESULT CZanTArray<CZanTString>::ListFolder(const CZanTString& folder);

// A wrapper over a CList, owned or not, as CZanTArray.
template <class T>
class CZanTList {
public:
    CZanTList() : m_pContainer(new CList<T>()), m_bOwned(true) {}
    explicit CZanTList(CList<T>* container) : m_pContainer(container), m_bOwned(false) {}
    virtual ~CZanTList() {
        if (m_bOwned) delete m_pContainer;
    }
    CZanTList(const CZanTList&) = delete;
    CZanTList& operator=(const CZanTList&) = delete;

    CList<T>& Container() { return *m_pContainer; }
    const CList<T>& Container() const { return *m_pContainer; }
    bool IsOwned() const { return m_bOwned; }

    ptrdiff_t GetCount() const { return m_pContainer->GetCount(); }
    bool IsEmpty() const { return m_pContainer->IsEmpty(); }
    POSITION AddTail(const T& value) { return m_pContainer->AddTail(value); }
    POSITION GetHeadPosition() const { return m_pContainer->GetHeadPosition(); }
    T& GetNext(POSITION& position) { return m_pContainer->GetNext(position); }
    void RemoveAll() { m_pContainer->RemoveAll(); }

private:
    CList<T>* m_pContainer;
    bool m_bOwned;
};
