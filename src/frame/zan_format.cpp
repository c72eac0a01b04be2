// CZanTString::Format and AppendFormat: printf rules over UTF-16 format
// strings. %s takes a UTF-16 string and %c a UTF-16 unit; numbers are
// formatted by the C library in the "C" locale, one conversion at a time, so
// that "%f" always writes a '.' whatever locale the process runs in.
#include <cstdarg>
#include <string>

#include "platform/text.h"
#include "zandb4/foundation.h"

namespace {

struct Conversion {
    std::string flags;
    int width = -1;
    int precision = -1;
    std::string length;  // "", "hh", "h", "l", "ll", "z", "j", "L"
    char kind = 0;
};

void Pad(std::u16string& out, const std::u16string& body, const Conversion& c) {
    size_t width = c.width > 0 ? static_cast<size_t>(c.width) : 0;
    bool left = c.flags.find('-') != std::string::npos;
    if (!left && body.size() < width) out.append(width - body.size(), u' ');
    out += body;
    if (left && body.size() < width) out.append(width - body.size(), u' ');
}

std::string NarrowSpec(const Conversion& c, const char* length) {
    std::string spec(1, '%');
    spec.append(c.flags);
    if (c.width >= 0) spec.append(std::to_string(c.width));
    if (c.precision >= 0) {
        spec.push_back('.');
        spec.append(std::to_string(c.precision));
    }
    spec.append(length);
    spec.push_back(c.kind);
    return spec;
}

std::u16string Widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

std::u16string FormatInteger(const Conversion& c, va_list& args) {
    bool isSigned = c.kind == 'd' || c.kind == 'i';
    const std::string& l = c.length;
    // Every integer is widened to 64 bits and printed with "ll", after being
    // cut to the width its length modifier names, as printf would.
    long long value;
    if (l == "ll" || l == "j" || l == "L") {
        value = va_arg(args, long long);
    } else if (l == "l" || l == "z") {
        value = va_arg(args, long);
    } else {
        value = va_arg(args, int);
    }
    // Each branch converts on its own: a conditional expression would give
    // both sides one (unsigned) type and lose the sign.
    if (l == "hh") {
        if (isSigned) value = static_cast<signed char>(value);
        else value = static_cast<unsigned char>(value);
    } else if (l == "h") {
        if (isSigned) value = static_cast<short>(value);
        else value = static_cast<unsigned short>(value);
    } else if (l.empty()) {
        if (isSigned) value = static_cast<int>(value);
        else value = static_cast<unsigned int>(value);
    }
    std::string spec = NarrowSpec(c, "ll");
    return Widen(isSigned ? zandb4::platform::FormatInCLocale(spec.c_str(), value)
                          : zandb4::platform::FormatInCLocale(spec.c_str(), static_cast<unsigned long long>(value)));
}

std::u16string FormatFloating(const Conversion& c, va_list& args) {
    std::string spec;
    if (c.length == "L") {
        long double value = va_arg(args, long double);
        spec = NarrowSpec(c, "L");
        return Widen(zandb4::platform::FormatInCLocale(spec.c_str(), value));
    }
    double value = va_arg(args, double);
    spec = NarrowSpec(c, "");
    return Widen(zandb4::platform::FormatInCLocale(spec.c_str(), value));
}

void FormatInto(std::u16string& out, const WCHAR* format, va_list args) {
    if (format == nullptr) return;
    va_list work;
    va_copy(work, args);
    for (const WCHAR* p = format; *p != 0; ++p) {
        if (*p != u'%') {
            out += *p;
            continue;
        }
        ++p;
        if (*p == u'%') {
            out += u'%';
            continue;
        }
        Conversion c;
        while (*p == u'-' || *p == u'+' || *p == u' ' || *p == u'#' || *p == u'0') c.flags += static_cast<char>(*p++);
        if (*p == u'*') {
            c.width = va_arg(work, int);
            if (c.width < 0) {
                c.flags += '-';
                c.width = -c.width;
            }
            ++p;
        } else {
            for (; *p >= u'0' && *p <= u'9'; ++p) c.width = (c.width < 0 ? 0 : c.width * 10) + (*p - u'0');
        }
        if (*p == u'.') {
            ++p;
            c.precision = 0;
            if (*p == u'*') {
                c.precision = va_arg(work, int);
                ++p;
            } else {
                for (; *p >= u'0' && *p <= u'9'; ++p) c.precision = c.precision * 10 + (*p - u'0');
            }
        }
        if (*p == u'I' && p[1] == u'6' && p[2] == u'4') {
            c.length = "ll";
            p += 3;
        } else if ((*p == u'h' || *p == u'l') && p[1] == *p) {
            c.length = std::string(2, static_cast<char>(*p));
            p += 2;
        } else if (*p == u'h' || *p == u'l' || *p == u'z' || *p == u'j' || *p == u'L') {
            c.length = std::string(1, static_cast<char>(*p++));
        }
        if (*p == 0) break;
        c.kind = static_cast<char>(*p);
        switch (*p) {
            case u'd': case u'i': case u'u': case u'x': case u'X': case u'o':
                out += FormatInteger(c, work);
                break;
            case u'f': case u'F': case u'e': case u'E': case u'g': case u'G':
                out += FormatFloating(c, work);
                break;
            case u'c': {
                Pad(out, std::u16string(1, static_cast<char16_t>(va_arg(work, int))), c);
                break;
            }
            case u's': {
                const WCHAR* text = va_arg(work, const WCHAR*);
                std::u16string body = text == nullptr ? std::u16string(u"(null)") : std::u16string(text);
                if (c.precision >= 0 && body.size() > static_cast<size_t>(c.precision)) body.resize(static_cast<size_t>(c.precision));
                Pad(out, body, c);
                break;
            }
            case u'p': {
                std::string spec = "%p";
                out += Widen(zandb4::platform::FormatInCLocale(spec.c_str(), va_arg(work, void*)));
                break;
            }
            default:
                // An unknown conversion is copied as it stands.
                out += u'%';
                out += *p;
                break;
        }
    }
    va_end(work);
}

}  // namespace

void CZanTString::FormatV(const WCHAR* format, va_list args) {
    std::u16string formatted;
    FormatInto(formatted, format, args);
    m_value.swap(formatted);
}

void CZanTString::AppendFormatV(const WCHAR* format, va_list args) { FormatInto(m_value, format, args); }

void CZanTString::Format(const WCHAR* format, ...) {
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
}

void CZanTString::AppendFormat(const WCHAR* format, ...) {
    va_list args;
    va_start(args, format);
    AppendFormatV(format, args);
    va_end(args);
}
