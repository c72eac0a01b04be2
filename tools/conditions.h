// The --where conditions of "zandb4 ls", parsed and checked before the
// catalogue is touched.
#pragma once

#include <cstdint>
#include <string>

namespace zandb4::tool {

// A calendar day.
struct Day {
    uint16_t year = 0;
    uint16_t month = 0;
    uint16_t day = 0;
};

// One condition, checked and parsed.
struct Condition {
    enum class Kind { kFormat, kDay, kDayRange, kFavorite, kPathPrefix, kAlbum, kAlbumName, kTagName };
    Kind kind = Kind::kFormat;
    uint64_t number = 0;  // format or album id; favourite as 0 or 1
    Day from;             // the day, or the first day of a range
    Day to;               // the last day of a range
    std::string text;     // path prefix, album name or tag name, as given (UTF-8)
};

// Parses "KEY=VALUE": format=N, date=YYYY-MM-DD, date=YYYY-MM-DD..YYYY-MM-DD,
// favorite=yes|no, path=PREFIX, album=ID, album=NAME, tag=NAME. Dates must be
// real calendar days (leap years counted) of the years 0001 to 9999, and a
// range must not run backwards. An album value of digits only is an id
// (kAlbum), any other non-empty value a name (kAlbumName); whether a name
// exists is for the search to find out. False, with the reason in error, for
// anything else.
bool ParseCondition(const std::string& text, Condition& condition, std::string& error);

// The days of month in year of the Gregorian calendar.
int DaysInMonth(int year, int month);

}  // namespace zandb4::tool
