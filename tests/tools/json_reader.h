// A strict JSON reader for the tool's tests, so that a test checks the
// tool's --json output as a program reading it would: the whole text must be
// one JSON value, strings must be properly escaped, and \u escapes
// (surrogate pairs included) are decoded to UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zandb4::testing {

struct JsonValue {
    enum class Type { kNull, kBool, kNumber, kString, kArray, kObject };
    Type type = Type::kNull;
    bool boolean = false;
    std::string number;  // the number's text as written
    std::string text;    // a string, decoded
    std::vector<JsonValue> items;
    std::vector<std::pair<std::string, JsonValue>> members;  // in the order written

    // The member of an object with that key; null when there is none.
    const JsonValue* Find(const std::string& key) const;
    // The value of a number without fraction or exponent.
    int64_t Integer() const { return std::stoll(number); }
};

// The value of text, or nothing when text is not exactly one JSON value
// (surrounding whitespace aside).
std::optional<JsonValue> ParseJson(const std::string& text);

}  // namespace zandb4::testing
