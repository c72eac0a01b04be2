// A recursive-descent JSON reader after RFC 8259.
#include "json_reader.h"

#include <string>

#include "platform/text.h"

namespace zandb4::testing {
namespace {

class Reader {
public:
    explicit Reader(const std::string& text) : m_text(text) {}

    std::optional<JsonValue> Document() {
        std::optional<JsonValue> value = Value();
        SkipSpace();
        if (!value || m_at != m_text.size()) return std::nullopt;
        return value;
    }

private:
    void SkipSpace() {
        while (m_at < m_text.size() &&
               (m_text[m_at] == ' ' || m_text[m_at] == '\t' || m_text[m_at] == '\n' || m_text[m_at] == '\r'))
            ++m_at;
    }

    bool Take(char ch) {
        if (m_at < m_text.size() && m_text[m_at] == ch) {
            ++m_at;
            return true;
        }
        return false;
    }

    bool TakeWord(const std::string& word) {
        if (m_text.compare(m_at, word.size(), word) != 0) return false;
        m_at += word.size();
        return true;
    }

    std::optional<JsonValue> Value() {
        if (++m_depth > 64) return std::nullopt;
        SkipSpace();
        std::optional<JsonValue> value;
        JsonValue made;
        if (m_at >= m_text.size()) {
            value = std::nullopt;
        } else if (m_text[m_at] == '{') {
            value = Object();
        } else if (m_text[m_at] == '[') {
            value = Array();
        } else if (m_text[m_at] == '"') {
            made.type = JsonValue::Type::kString;
            if (String(made.text)) value = made;
        } else if (TakeWord("true")) {
            made.type = JsonValue::Type::kBool;
            made.boolean = true;
            value = made;
        } else if (TakeWord("false")) {
            made.type = JsonValue::Type::kBool;
            value = made;
        } else if (TakeWord("null")) {
            value = made;
        } else {
            made.type = JsonValue::Type::kNumber;
            if (Number(made.number)) value = made;
        }
        --m_depth;
        return value;
    }

    std::optional<JsonValue> Object() {
        JsonValue object;
        object.type = JsonValue::Type::kObject;
        ++m_at;
        SkipSpace();
        if (Take('}')) return object;
        while (true) {
            SkipSpace();
            std::string key;
            if (!String(key)) return std::nullopt;
            SkipSpace();
            if (!Take(':')) return std::nullopt;
            std::optional<JsonValue> member = Value();
            if (!member) return std::nullopt;
            object.members.emplace_back(key, *member);
            SkipSpace();
            if (Take('}')) return object;
            if (!Take(',')) return std::nullopt;
        }
    }

    std::optional<JsonValue> Array() {
        JsonValue array;
        array.type = JsonValue::Type::kArray;
        ++m_at;
        SkipSpace();
        if (Take(']')) return array;
        while (true) {
            std::optional<JsonValue> item = Value();
            if (!item) return std::nullopt;
            array.items.push_back(*item);
            SkipSpace();
            if (Take(']')) return array;
            if (!Take(',')) return std::nullopt;
        }
    }

    bool Number(std::string& number) {
        size_t start = m_at;
        Take('-');
        auto digits = [&] {
            size_t from = m_at;
            while (m_at < m_text.size() && m_text[m_at] >= '0' && m_text[m_at] <= '9') ++m_at;
            return m_at - from;
        };
        if (Take('0')) {
        } else if (digits() == 0) {
            return false;
        }
        if (Take('.') && digits() == 0) return false;
        if (Take('e') || Take('E')) {
            if (!Take('+')) Take('-');
            if (digits() == 0) return false;
        }
        number = m_text.substr(start, m_at - start);
        return true;
    }

    bool Hex4(uint32_t& unit) {
        if (m_at + 4 > m_text.size()) return false;
        unit = 0;
        for (int i = 0; i < 4; ++i) {
            char ch = m_text[m_at++];
            unit <<= 4;
            if (ch >= '0' && ch <= '9')
                unit |= static_cast<uint32_t>(ch - '0');
            else if (ch >= 'a' && ch <= 'f')
                unit |= static_cast<uint32_t>(ch - 'a' + 10);
            else if (ch >= 'A' && ch <= 'F')
                unit |= static_cast<uint32_t>(ch - 'A' + 10);
            else
                return false;
        }
        return true;
    }

    bool String(std::string& out) {
        if (!Take('"')) return false;
        while (m_at < m_text.size()) {
            unsigned char ch = static_cast<unsigned char>(m_text[m_at++]);
            if (ch == '"') return true;
            if (ch < 0x20) return false;  // control characters must be escaped
            if (ch != '\\') {
                out += static_cast<char>(ch);
                continue;
            }
            if (m_at >= m_text.size()) return false;
            char escape = m_text[m_at++];
            switch (escape) {
                case '"':
                    out += '"';
                    break;
                case '\\':
                    out += '\\';
                    break;
                case '/':
                    out += '/';
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'u': {
                    // A lone or reversed surrogate is an error here; a valid
                    // character goes through the library's converter.
                    uint32_t unit = 0;
                    if (!Hex4(unit)) return false;
                    std::u16string units(1, static_cast<char16_t>(unit));
                    if (unit >= 0xD800 && unit <= 0xDBFF) {
                        uint32_t low = 0;
                        if (!TakeWord("\\u") || !Hex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
                        units += static_cast<char16_t>(low);
                    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
                        return false;
                    }
                    out += zandb4::platform::ToUtf8(units);
                    break;
                }
                default:
                    return false;
            }
        }
        return false;
    }

    const std::string& m_text;
    size_t m_at = 0;
    int m_depth = 0;
};

}  // namespace

const JsonValue* JsonValue::Find(const std::string& key) const {
    for (const auto& [name, value] : members)
        if (name == key) return &value;
    return nullptr;
}

std::optional<JsonValue> ParseJson(const std::string& text) {
    return Reader(text).Document();
}

}  // namespace zandb4::testing
