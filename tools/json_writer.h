// JSON output of the zandb4 tool. JsonWriter writes one document value by
// value and places the commas itself; JsonQuoted makes a JSON string of any
// bytes: quotes, backslashes and control characters are escaped, valid UTF-8
// passes through, and each byte that is not part of valid UTF-8 becomes
// \ufffd, so the output is always valid JSON.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace zandb4::tool {

std::string JsonQuoted(std::string_view text);

// Containers are written one member per line, indented by two spaces per
// level, unless opened as one-line containers (and everything inside those
// is on the same line too). A value inside an object needs its Key first.
// Misuse (a value without a key, an End that does not match) is a bug in
// the caller and is not checked.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : m_out(out) {}

    void BeginObject(bool oneLine = false);
    void EndObject();
    void BeginArray(bool oneLine = false);
    void EndArray();
    void Key(std::string_view name);
    void String(std::string_view text);
    void Integer(int64_t value);
    void Unsigned(uint64_t value);
    // The shortest decimal text that reads back as the same float; null for
    // a value that is not finite.
    void Float(float value);
    void Bool(bool value);
    void Null();
    // Ends the document with a newline.
    void Finish();

private:
    struct Level {
        bool oneLine;
        size_t members = 0;
    };

    // The comma and line break before a member of the open container.
    void BeforeMember();
    void BeforeValue();
    void Begin(char bracket, bool oneLine);
    void End(char bracket);
    void NewLine(size_t depth);

    std::ostream& m_out;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

}  // namespace zandb4::tool
