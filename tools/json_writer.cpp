// JSON strings and the JSON writer.
#include "json_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace zandb4::tool {
namespace {

// The length of the valid UTF-8 sequence at text[at], or 0 when the bytes
// there are not one (a stray continuation byte, an overlong form, a
// surrogate, a code point past U+10FFFF or a cut-off sequence).
size_t ValidSequenceLength(std::string_view text, size_t at) {
    unsigned char lead = static_cast<unsigned char>(text[at]);
    size_t length = 0;
    char32_t minimum = 0, codePoint = 0;
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        minimum = 0x80;
        codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        minimum = 0x800;
        codePoint = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        minimum = 0x10000;
        codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (at + length > text.size()) return 0;
    for (size_t i = 1; i < length; ++i) {
        unsigned char next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) return 0;
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) return 0;
    return length;
}

}  // namespace

std::string JsonQuoted(std::string_view text) {
    std::string quoted = "\"";
    quoted.reserve(text.size() + 2);
    size_t at = 0;
    while (at < text.size()) {
        unsigned char ch = static_cast<unsigned char>(text[at]);
        switch (ch) {
            case '"':
                quoted += "\\\"";
                ++at;
                continue;
            case '\\':
                quoted += "\\\\";
                ++at;
                continue;
            case '\b':
                quoted += "\\b";
                ++at;
                continue;
            case '\f':
                quoted += "\\f";
                ++at;
                continue;
            case '\n':
                quoted += "\\n";
                ++at;
                continue;
            case '\r':
                quoted += "\\r";
                ++at;
                continue;
            case '\t':
                quoted += "\\t";
                ++at;
                continue;
            default:
                break;
        }
        if (ch < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", ch);
            quoted += escape;
            ++at;
            continue;
        }
        size_t length = ValidSequenceLength(text, at);
        if (length == 0) {
            quoted += "\\ufffd";
            ++at;
            continue;
        }
        quoted.append(text.substr(at, length));
        at += length;
    }
    quoted += '"';
    return quoted;
}

void JsonWriter::NewLine(size_t depth) {
    m_out << '\n';
    for (size_t i = 0; i < depth; ++i) m_out << "  ";
}

void JsonWriter::BeforeMember() {
    if (m_levels.empty()) return;
    Level& level = m_levels.back();
    if (level.members != 0) m_out << ',';
    if (level.oneLine) {
        if (level.members != 0) m_out << ' ';
    } else {
        NewLine(m_levels.size());
    }
    ++level.members;
}

void JsonWriter::BeforeValue() {
    // A value in an object had its place made by Key.
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    BeforeMember();
}

void JsonWriter::Begin(char bracket, bool oneLine) {
    BeforeValue();
    bool inOneLine = !m_levels.empty() && m_levels.back().oneLine;
    m_out << bracket;
    m_levels.push_back(Level{oneLine || inOneLine});
}

void JsonWriter::End(char bracket) {
    Level level = m_levels.back();
    m_levels.pop_back();
    if (level.members != 0 && !level.oneLine) NewLine(m_levels.size());
    m_out << bracket;
}

void JsonWriter::BeginObject(bool oneLine) {
    Begin('{', oneLine);
}
void JsonWriter::EndObject() {
    End('}');
}
void JsonWriter::BeginArray(bool oneLine) {
    Begin('[', oneLine);
}
void JsonWriter::EndArray() {
    End(']');
}

void JsonWriter::Key(std::string_view name) {
    BeforeMember();
    m_out << JsonQuoted(name) << ": ";
    m_afterKey = true;
}

void JsonWriter::String(std::string_view text) {
    BeforeValue();
    m_out << JsonQuoted(text);
}

void JsonWriter::Integer(int64_t value) {
    BeforeValue();
    m_out << value;
}

void JsonWriter::Unsigned(uint64_t value) {
    BeforeValue();
    m_out << value;
}

void JsonWriter::Float(float value) {
    BeforeValue();
    if (!std::isfinite(value)) {
        m_out << "null";
        return;
    }
    char text[32];
    std::to_chars_result written = std::to_chars(text, text + sizeof(text), value);
    m_out << std::string_view(text, static_cast<size_t>(written.ptr - text));
}

void JsonWriter::Bool(bool value) {
    BeforeValue();
    m_out << (value ? "true" : "false");
}

void JsonWriter::Null() {
    BeforeValue();
    m_out << "null";
}

void JsonWriter::Finish() {
    m_out << '\n';
}

}  // namespace zandb4::tool
