// Parsing of --where conditions: numbers, flags, path prefixes and calendar
// days.
#include "conditions.h"

#include <tuple>

namespace zandb4::tool {
namespace {

constexpr const char* kMonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                       "July",    "August",   "September", "October", "November", "December"};

bool ParseNumber(const std::string& text, uint64_t maximum, uint64_t& value) {
    if (text.empty() || text.size() > 20) return false;
    value = 0;
    for (char ch : text) {
        if (ch < '0' || ch > '9') return false;
        uint64_t digit = static_cast<uint64_t>(ch - '0');
        if (value > (maximum - digit) / 10) return false;
        value = value * 10 + digit;
    }
    return true;
}

// YYYY-MM-DD naming a day that exists. False with the reason in error.
bool ParseDay(const std::string& text, Day& day, std::string& error) {
    uint64_t year = 0, month = 0, date = 0;
    if (text.size() != 10 || text[4] != '-' || text[7] != '-' || !ParseNumber(text.substr(0, 4), 9999, year) ||
        !ParseNumber(text.substr(5, 2), 99, month) || !ParseNumber(text.substr(8, 2), 99, date)) {
        error = "date takes YYYY-MM-DD or YYYY-MM-DD..YYYY-MM-DD";
        return false;
    }
    if (year == 0) {
        error = "there is no year 0000 (years run from 0001 to 9999)";
        return false;
    }
    if (month < 1 || month > 12) {
        error = "there is no month " + text.substr(5, 2) + " (months run from 01 to 12)";
        return false;
    }
    int days = DaysInMonth(static_cast<int>(year), static_cast<int>(month));
    if (date < 1 || static_cast<int>(date) > days) {
        error = std::string(kMonthNames[month - 1]) + " " + text.substr(0, 4) + " has no day " + text.substr(8, 2) +
                " (it has " + std::to_string(days) + " days)";
        return false;
    }
    day.year = static_cast<uint16_t>(year);
    day.month = static_cast<uint16_t>(month);
    day.day = static_cast<uint16_t>(date);
    return true;
}

bool IsAfter(const Day& a, const Day& b) {
    return std::tie(a.year, a.month, a.day) > std::tie(b.year, b.month, b.day);
}

}  // namespace

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

bool ParseCondition(const std::string& text, Condition& condition, std::string& error) {
    size_t equals = text.find('=');
    if (equals == std::string::npos) {
        error = "expected KEY=VALUE";
        return false;
    }
    std::string key = text.substr(0, equals), value = text.substr(equals + 1);
    condition = Condition{};
    if (key == "format") {
        condition.kind = Condition::Kind::kFormat;
        if (ParseNumber(value, 0xFFFFFFFFu, condition.number)) return true;
        error = "format takes a number from 0 to 4294967295";
    } else if (key == "date") {
        size_t dots = value.find("..");
        if (dots == std::string::npos) {
            condition.kind = Condition::Kind::kDay;
            return ParseDay(value, condition.from, error);
        }
        condition.kind = Condition::Kind::kDayRange;
        std::string first = value.substr(0, dots), last = value.substr(dots + 2);
        if (!ParseDay(first, condition.from, error) || !ParseDay(last, condition.to, error)) return false;
        if (!IsAfter(condition.from, condition.to)) return true;
        error = "the range runs backwards: " + first + " is after " + last;
    } else if (key == "favorite") {
        condition.kind = Condition::Kind::kFavorite;
        if (value == "yes" || value == "no") {
            condition.number = value == "yes" ? 1 : 0;
            return true;
        }
        error = "favorite takes yes or no";
    } else if (key == "path") {
        condition.kind = Condition::Kind::kPathPrefix;
        condition.text = value;
        if (!value.empty()) return true;
        error = "path takes a non-empty prefix";
    } else if (key == "album") {
        condition.kind = Condition::Kind::kAlbum;
        if (value.empty()) {
            error = "album takes an id or a non-empty name";
        } else if (value.find_first_not_of("0123456789") != std::string::npos) {
            condition.kind = Condition::Kind::kAlbumName;
            condition.text = value;
            return true;
        } else if (ParseNumber(value, UINT64_MAX, condition.number)) {
            return true;
        } else {
            error = "album id " + value + " is out of range (ids run up to 18446744073709551615)";
        }
    } else if (key == "tag") {
        condition.kind = Condition::Kind::kTagName;
        condition.text = value;
        if (!value.empty()) return true;
        error = "tag takes a non-empty name";
    } else {
        error = "unknown key '" + key + "' (use format, date, favorite, path, album or tag)";
    }
    return false;
}

}  // namespace zandb4::tool
