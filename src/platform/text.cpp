// UTF-8/UTF-16 conversion, upper-casing and number formatting through a
// private "C.UTF-8" locale object, so that the process locale never leaks in.
#include "platform/text.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <locale.h>
#include <wctype.h>

namespace zandb4::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

locale_t CLocale() {
    // Made once and kept for the life of the process; newlocale is thread-safe.
    static locale_t locale = [] {
        locale_t made = newlocale(LC_ALL_MASK, "C.UTF-8", static_cast<locale_t>(0));
        if (made == static_cast<locale_t>(0)) made = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
        return made;
    }();
    return locale;
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

void AppendUtf16(std::u16string& out, char32_t cp) {
    if (cp < 0x10000) {
        out += static_cast<char16_t>(cp);
    } else {
        cp -= 0x10000;
        out += static_cast<char16_t>(0xD800 + (cp >> 10));
        out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
    }
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            AppendUtf8(out, kReplacement);
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}

std::u16string FromUtf8(std::string_view text) {
    static constexpr char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    std::u16string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        unsigned char lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        int extra = 0;
        char32_t cp = 0;
        if ((lead & 0xE0) == 0xC0) {
            extra = 1;
            cp = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2;
            cp = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3;
            cp = lead & 0x07;
        }
        bool valid = extra > 0 && i + static_cast<size_t>(extra) < text.size();
        for (int k = 1; valid && k <= extra; ++k) {
            unsigned char next = static_cast<unsigned char>(text[i + static_cast<size_t>(k)]);
            valid = (next & 0xC0) == 0x80;
            cp = (cp << 6) | (next & 0x3F);
        }
        if (!valid || cp < kMinimum[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            AppendUtf16(out, kReplacement);
            ++i;
            continue;
        }
        AppendUtf16(out, cp);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

char32_t ToUpper(char32_t codePoint) {
    return static_cast<char32_t>(towupper_l(static_cast<wint_t>(codePoint), CLocale()));
}

std::string FormatInCLocale(const char* conversion, ...) {
    locale_t previous = uselocale(CLocale());
    va_list args;
    va_start(args, conversion);
    va_list copy;
    va_copy(copy, args);
    int needed = std::vsnprintf(nullptr, 0, conversion, copy);
    va_end(copy);
    std::string out;
    if (needed > 0) {
        out.resize(static_cast<size_t>(needed) + 1);
        std::vsnprintf(out.data(), out.size(), conversion, args);
        out.resize(static_cast<size_t>(needed));
    }
    va_end(args);
    uselocale(previous);
    return out;
}

}  // namespace zandb4::platform
