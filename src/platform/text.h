// Text conversions and locale-independent formatting. The library's strings
// are UTF-16; the operating system takes UTF-8. Nothing here depends on the
// locale of the process.
#pragma once

#include <string>
#include <string_view>

namespace zandb4::platform {

// Invalid sequences (lone surrogates, malformed UTF-8) become U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string FromUtf8(std::string_view text);

// Simple one-to-one Unicode upper-case mapping of one code point, from the
// "C.UTF-8" locale's tables, whatever locale the process has set.
char32_t ToUpper(char32_t codePoint);

// snprintf of one conversion (e.g. "%08X", "%.3f") in the "C" locale, so that
// a decimal point is always '.'.
std::string FormatInCLocale(const char* conversion, ...) __attribute__((format(printf, 1, 2)));

}  // namespace zandb4::platform
