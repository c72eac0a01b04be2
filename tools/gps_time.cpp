// Calendar arithmetic in whole seconds, the dateTime form of GPX files, UTC
// offsets and local zones for the gps commands.
#include "gps_time.h"

#include <sys/stat.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace zandb4::tool {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int32_t kMostOffset = 23 * 3600 + 59 * 60;

// Days from 1970-01-01 to the date on the proleptic Gregorian calendar,
// counted in eras of 400 years so that the leap rules fall out of the
// arithmetic.
int64_t DaysFromCivil(int64_t year, int64_t month, int64_t day) {
    year -= month <= 2 ? 1 : 0;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Reads exactly count digits at text[at] into value.
bool Digits(std::string_view text, size_t at, size_t count, int& value) {
    if (at + count > text.size()) return false;
    value = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + (text[i] - '0');
    }
    return true;
}

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

SYSTEMTIME FromTm(const std::tm& parts) {
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(parts.tm_year + 1900);
    time.wMonth = static_cast<uint16_t>(parts.tm_mon + 1);
    time.wDayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time.wDay = static_cast<uint16_t>(parts.tm_mday);
    time.wHour = static_cast<uint16_t>(parts.tm_hour);
    time.wMinute = static_cast<uint16_t>(parts.tm_min);
    time.wSecond = static_cast<uint16_t>(parts.tm_sec);
    return time;
}

// Where the system keeps its zone files.
std::string ZoneFolder() {
    const char* folder = std::getenv("TZDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/usr/share/zoneinfo";
}

// A name as the zone database spells them: letters, digits and "/_-+",
// no empty part and no "." or ".." part, so that it cannot leave the
// zone folder.
bool LooksLikeZoneName(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.back() == '/') return false;
    size_t partStart = 0;
    for (size_t i = 0; i <= name.size(); ++i) {
        if (i == name.size() || name[i] == '/') {
            std::string_view part = name.substr(partStart, i - partStart);
            if (part.empty() || part == "." || part == "..") return false;
            partStart = i + 1;
            continue;
        }
        const unsigned char c = static_cast<unsigned char>(name[i]);
        if (!std::isalnum(c) && c != '_' && c != '-' && c != '+' && c != '.') return false;
    }
    return true;
}

}  // namespace

int64_t SecondsFromCivil(int year, int month, int day, int hour, int minute, int second) {
    return DaysFromCivil(year, month, day) * kSecondsPerDay + hour * 3600 + minute * 60 + second;
}

SYSTEMTIME CivilFromSeconds(int64_t seconds) {
    int64_t days = seconds / kSecondsPerDay;
    int64_t rest = seconds % kSecondsPerDay;
    if (rest < 0) {
        rest += kSecondsPerDay;
        --days;
    }
    // The inverse of DaysFromCivil.
    const int64_t shifted = days + 719468;
    const int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const int64_t dayOfEra = shifted - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    const int64_t day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
    const int64_t month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    const int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(year);
    time.wMonth = static_cast<uint16_t>(month);
    time.wDay = static_cast<uint16_t>(day);
    // 1970-01-01 was a Thursday (4).
    int64_t weekday = (days % 7 + 7 + 4) % 7;
    time.wDayOfWeek = static_cast<uint16_t>(weekday);
    time.wHour = static_cast<uint16_t>(rest / 3600);
    time.wMinute = static_cast<uint16_t>(rest / 60 % 60);
    time.wSecond = static_cast<uint16_t>(rest % 60);
    return time;
}

bool IsValidDate(const SYSTEMTIME& date) {
    return date.wYear >= 1 && date.wYear <= 9999 && date.wMonth >= 1 && date.wMonth <= 12 && date.wDay >= 1 &&
           date.wDay <= DaysInMonth(date.wYear, date.wMonth) && date.wHour <= 23 && date.wMinute <= 59 &&
           date.wSecond <= 59;
}

std::optional<int64_t> ParseGpxTime(std::string_view text) {
    text = Trimmed(text);
    // YYYY-MM-DDThh:mm:ss is 19 characters.
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!Digits(text, 0, 4, year) || text.size() < 19 || text[4] != '-' || !Digits(text, 5, 2, month) ||
        text[7] != '-' || !Digits(text, 8, 2, day) || text[10] != 'T' || !Digits(text, 11, 2, hour) ||
        text[13] != ':' || !Digits(text, 14, 2, minute) || text[16] != ':' || !Digits(text, 17, 2, second))
        return std::nullopt;
    size_t at = 19;
    if (at < text.size() && text[at] == '.') {
        size_t digits = at + 1;
        while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
        if (digits == at + 1) return std::nullopt;
        at = digits;
    }
    int32_t offset = 0;
    std::string_view zone = text.substr(at);
    if (zone == "Z") {
        offset = 0;
    } else if (!zone.empty()) {
        int zoneHours = 0, zoneMinutes = 0;
        if (zone.size() != 6 || (zone[0] != '+' && zone[0] != '-') || !Digits(zone, 1, 2, zoneHours) ||
            zone[3] != ':' || !Digits(zone, 4, 2, zoneMinutes) || zoneHours > 14 || zoneMinutes > 59)
            return std::nullopt;
        offset = (zoneHours * 3600 + zoneMinutes * 60) * (zone[0] == '-' ? -1 : 1);
    }
    SYSTEMTIME date{};
    date.wYear = static_cast<uint16_t>(year);
    date.wMonth = static_cast<uint16_t>(month);
    date.wDay = static_cast<uint16_t>(day);
    date.wHour = static_cast<uint16_t>(hour);
    date.wMinute = static_cast<uint16_t>(minute);
    date.wSecond = static_cast<uint16_t>(second);
    if (!IsValidDate(date)) return std::nullopt;
    return SecondsFromCivil(year, month, day, hour, minute, second) - offset;
}

std::optional<int32_t> ParseUtcOffset(std::string_view text) {
    if (text.size() < 3 || (text[0] != '+' && text[0] != '-')) return std::nullopt;
    int hours = 0, minutes = 0;
    if (!Digits(text, 1, 2, hours)) return std::nullopt;
    if (text.size() == 6) {
        if (text[3] != ':' || !Digits(text, 4, 2, minutes)) return std::nullopt;
    } else if (text.size() == 5) {
        if (!Digits(text, 3, 2, minutes)) return std::nullopt;
    } else if (text.size() != 3) {
        return std::nullopt;
    }
    if (minutes > 59) return std::nullopt;
    const int32_t seconds = hours * 3600 + minutes * 60;
    if (seconds > kMostOffset) return std::nullopt;
    return text[0] == '-' ? -seconds : seconds;
}

std::string UtcOffsetText(int32_t seconds) {
    const int32_t magnitude = seconds < 0 ? -seconds : seconds;
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d:%02d", seconds < 0 ? '-' : '+', magnitude / 3600, magnitude / 60 % 60);
    return text;
}

// Sets the process's TZ for its lifetime and puts the former value back.
class LocalZone::ScopedTz {
public:
    explicit ScopedTz(const std::string& name) {
        const char* old = std::getenv("TZ");
        m_hadOld = old != nullptr;
        if (m_hadOld) m_old = old;
        setenv("TZ", name.c_str(), 1);
        tzset();
    }
    ~ScopedTz() {
        if (m_hadOld)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTz(const ScopedTz&) = delete;
    ScopedTz& operator=(const ScopedTz&) = delete;

private:
    bool m_hadOld = false;
    std::string m_old;
};

LocalZone LocalZone::Machine() {
    return LocalZone();
}

LocalZone LocalZone::Fixed(int32_t secondsEastOfUtc) {
    LocalZone zone;
    zone.m_fixed = true;
    zone.m_offset = secondsEastOfUtc;
    return zone;
}

std::optional<LocalZone> LocalZone::Named(std::string_view text, std::string& problem) {
    if (text == "UTC" || text == "Z") return Fixed(0);
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        std::optional<int32_t> offset = ParseUtcOffset(text);
        if (!offset) {
            problem = "not an offset from UTC such as +02:00 (at most 23:59 either way)";
            return std::nullopt;
        }
        return Fixed(*offset);
    }
    struct stat status {};
    const std::string file = ZoneFolder() + "/" + std::string(text);
    if (!LooksLikeZoneName(text) || stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        problem = "not UTC, an offset such as +02:00, or a zone of the zone database (" + ZoneFolder() +
                  ") such as Europe/Berlin";
        return std::nullopt;
    }
    LocalZone zone;
    zone.m_name = text;
    // The C library reads a zone from a file when TZ starts with ':'.
    zone.m_tz = std::make_unique<ScopedTz>(":" + file);
    return zone;
}

LocalZone::LocalZone(LocalZone&&) noexcept = default;
LocalZone& LocalZone::operator=(LocalZone&&) noexcept = default;
LocalZone::~LocalZone() = default;

SYSTEMTIME LocalZone::ToLocal(int64_t utcSeconds) const {
    if (m_fixed) return CivilFromSeconds(utcSeconds + m_offset);
    const std::time_t seconds = static_cast<std::time_t>(utcSeconds);
    std::tm parts{};
    if (localtime_r(&seconds, &parts) == nullptr) return CivilFromSeconds(utcSeconds);
    return FromTm(parts);
}

int64_t LocalZone::ToUtc(const SYSTEMTIME& local) const {
    if (m_fixed)
        return SecondsFromCivil(local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond) -
               m_offset;
    std::tm parts{};
    parts.tm_year = local.wYear - 1900;
    parts.tm_mon = local.wMonth - 1;
    parts.tm_mday = local.wDay;
    parts.tm_hour = local.wHour;
    parts.tm_min = local.wMinute;
    parts.tm_sec = local.wSecond;
    parts.tm_isdst = -1;  // let the zone's rules say whether summer time applies
    // With a 64-bit time_t every year from 1 to 9999 is in mktime's range.
    return static_cast<int64_t>(std::mktime(&parts));
}

std::string LocalZone::Describe() const {
    if (m_fixed) return "UTC" + UtcOffsetText(m_offset);
    if (!m_name.empty()) return m_name;
    return "the machine's zone";
}

}  // namespace zandb4::tool
