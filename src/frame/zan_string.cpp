// CZanTString: value semantics, comparison, UTF-8 conversion and
// upper-casing. Formatting and the path operations live beside this file.
#include <stdexcept>

#include "platform/text.h"
#include "zandb4/foundation.h"

CZanTString::CZanTString() = default;
CZanTString::CZanTString(const WCHAR* text) {
    if (text != nullptr) m_value = text;
}
CZanTString::CZanTString(const WCHAR* text, size_t length) {
    if (text != nullptr) m_value.assign(text, length);
}
CZanTString::CZanTString(const std::u16string& text) : m_value(text) {}
CZanTString::CZanTString(const CZanTString& other) = default;
CZanTString::CZanTString(CZanTString&& other) noexcept : m_value(std::move(other.m_value)) {}
CZanTString::~CZanTString() = default;

CZanTString& CZanTString::operator=(const CZanTString& other) = default;
CZanTString& CZanTString::operator=(CZanTString&& other) noexcept {
    m_value = std::move(other.m_value);
    return *this;
}
CZanTString& CZanTString::operator=(const WCHAR* text) {
    if (text == nullptr)
        m_value.clear();
    else
        m_value = text;
    return *this;
}

CZanTString CZanTString::FromUtf8(const char* text) {
    return text == nullptr ? CZanTString() : CZanTString(zandb4::platform::FromUtf8(text));
}
std::string CZanTString::ToUtf8() const { return zandb4::platform::ToUtf8(m_value); }

size_t CZanTString::GetLength() const { return m_value.size(); }
bool CZanTString::IsEmpty() const { return m_value.empty(); }
void CZanTString::Empty() { m_value.clear(); }
const WCHAR* CZanTString::GetString() const { return m_value.c_str(); }
const std::u16string& CZanTString::Value() const { return m_value; }
WCHAR CZanTString::GetAt(size_t index) const {
    if (index >= m_value.size()) throw std::invalid_argument("CZanTString::GetAt: index out of range");
    return m_value[index];
}

int CZanTString::Compare(const WCHAR* other) const {
    return m_value.compare(other == nullptr ? u"" : other);
}
bool CZanTString::operator==(const CZanTString& other) const { return m_value == other.m_value; }
bool CZanTString::operator!=(const CZanTString& other) const { return m_value != other.m_value; }
bool CZanTString::operator<(const CZanTString& other) const { return m_value < other.m_value; }

CZanTString& CZanTString::operator+=(const CZanTString& other) {
    m_value += other.m_value;
    return *this;
}
CZanTString& CZanTString::operator+=(const WCHAR* other) {
    if (other != nullptr) m_value += other;
    return *this;
}
CZanTString& CZanTString::operator+=(WCHAR ch) {
    m_value += ch;
    return *this;
}

CZanTString operator+(const CZanTString& left, const CZanTString& right) {
    CZanTString joined(left);
    joined += right;
    return joined;
}

void CZanTString::MakeUpper() {
    // Walks code points so that letters outside the basic plane map too; a
    // simple mapping never changes the number of UTF-16 units of a letter
    // within one plane, and the result is re-encoded either way.
    std::u16string upper;
    upper.reserve(m_value.size());
    for (size_t i = 0; i < m_value.size(); ++i) {
        char32_t cp = m_value[i];
        bool pair = cp >= 0xD800 && cp <= 0xDBFF && i + 1 < m_value.size() && m_value[i + 1] >= 0xDC00 &&
                    m_value[i + 1] <= 0xDFFF;
        if (pair) cp = 0x10000 + ((cp - 0xD800) << 10) + (m_value[i + 1] - 0xDC00);
        bool loneSurrogate = !pair && cp >= 0xD800 && cp <= 0xDFFF;
        char32_t mapped = loneSurrogate ? cp : zandb4::platform::ToUpper(cp);
        if (mapped < 0x10000) {
            upper += static_cast<char16_t>(mapped);
        } else {
            char32_t v = mapped - 0x10000;
            upper += static_cast<char16_t>(0xD800 + (v >> 10));
            upper += static_cast<char16_t>(0xDC00 + (v & 0x3FF));
        }
        if (pair) ++i;
    }
    m_value.swap(upper);
}
