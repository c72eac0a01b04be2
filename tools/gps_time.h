// Moments for the gps commands. A track point carries its moment in UTC; the
// catalogue keeps a file's shooting date as the camera's clock showed it, in
// whatever zone that clock was set to. Both meet here as whole seconds since
// 1970-01-01 00:00:00 UTC, on the proleptic Gregorian calendar, so that
// track points and shooting dates compare as plain integers.
//
// LocalZone turns such seconds into the local dates the GPS store keeps next
// to the UTC ones, and local dates back: in a fixed offset from UTC, in the
// machine's zone, or in a zone of the system's zone database. The last two go
// through the C library's zone rules (localtime_r and mktime), so daylight
// saving time applies at each date. Not thread-safe: a zone by name sets the
// process's TZ for as long as the LocalZone lives.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zandb4/types.h"

namespace zandb4::tool {

// Seconds of the civil date and time taken as UTC. The fields are not
// checked: see IsValidDate.
int64_t SecondsFromCivil(int year, int month, int day, int hour, int minute, int second);
// The civil date and time of the seconds in UTC, with wDayOfWeek set and
// wMilliseconds 0. Years outside 1..9999 are not meant to come here.
SYSTEMTIME CivilFromSeconds(int64_t seconds);
// A date that exists: year 1 to 9999, month 1 to 12, a day of that month,
// hour 0 to 23, minute and second 0 to 59.
bool IsValidDate(const SYSTEMTIME& date);

// The UTC moment of an XML Schema dateTime as GPX files write their times:
// "2021-03-04T05:06:07Z", with optional fractions of a second (dropped, as
// the stores keep whole seconds) and an optional zone "Z", "+HH:MM" or
// "-HH:MM"; a time without a zone is UTC, as GPX prescribes. Leading and
// trailing white space is allowed. Empty for anything else, a date that does
// not exist included.
std::optional<int64_t> ParseGpxTime(std::string_view text);

// An offset from UTC as "+HH:MM", "-HH:MM", "+HHMM" or "+HH" (sign
// required), at most 23:59 either way, in seconds east of UTC.
std::optional<int32_t> ParseUtcOffset(std::string_view text);
// "+02:00", "-05:30", "+00:00".
std::string UtcOffsetText(int32_t seconds);

class LocalZone {
public:
    // The machine's zone, as the C library sees it (TZ or /etc/localtime).
    static LocalZone Machine();
    static LocalZone Fixed(int32_t secondsEastOfUtc);
    // The zone of a --tz option: "UTC" or "Z", an offset as ParseUtcOffset
    // reads it, or a name of the system's zone database such as
    // "Europe/Berlin" (looked for under TZDIR, else /usr/share/zoneinfo).
    // Empty with the reason in problem when it is none of these.
    static std::optional<LocalZone> Named(std::string_view text, std::string& problem);

    LocalZone(LocalZone&&) noexcept;
    LocalZone& operator=(LocalZone&&) noexcept;
    ~LocalZone();

    // The local date and time of a UTC moment.
    SYSTEMTIME ToLocal(int64_t utcSeconds) const;
    // The UTC moment of a local date and time. In a zone with daylight saving
    // time, a local time that occurs twice is taken as the C library's mktime
    // takes it, and one that does not occur moves on by the size of the gap.
    int64_t ToUtc(const SYSTEMTIME& local) const;
    // "UTC+02:00", "Europe/Berlin" or "the machine's zone".
    std::string Describe() const;

private:
    class ScopedTz;
    LocalZone() = default;

    bool m_fixed = false;
    int32_t m_offset = 0;
    std::string m_name;
    std::unique_ptr<ScopedTz> m_tz;  // set for a zone by name
};

}  // namespace zandb4::tool
