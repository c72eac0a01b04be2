// The usage log database/UserLog.db read for "zandb4 stats": the launches
// of each month of a range and, for each kind of event with day values in
// it, on how many days each of the 32 bits was set. The file is opened
// read-only with SQLite directly and never made; it is read with the
// library's own statements and month arithmetic (access_log_tables.h), so
// that the numbers are those the library's GetMonthlyLaunchCounts and
// GetBitHistogram give for the whole months.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store_reader.h"

namespace zandb4::tool {

struct YearMonth {
    int year = 0;   // 1 to 9999
    int month = 0;  // 1 to 12
    bool operator==(const YearMonth&) const = default;
};

// "YYYY-MM" with a year from 0001 to 9999 and a month from 01 to 12; none
// for anything else.
std::optional<YearMonth> ParseYearMonth(std::string_view text);
std::string YearMonthText(const YearMonth& month);
// How many months from..to holds, both counted; below 1 when to lies before
// from.
int MonthsFromTo(const YearMonth& from, const YearMonth& to);

// One kind of event over the range: the days it has a value on, and for
// each bit (bit 0 first) the days whose value had it set.
struct KindBits {
    uint32_t type = 0;
    int64_t days = 0;
    std::array<int64_t, 32> bits{};
};

struct UsageStats {
    StoreProblem problem = StoreProblem::kNone;
    std::string reason;  // plain words; empty when the file was read
    int64_t version = 0;
    // Whether there was a range to report: given, or taken from the months
    // the file has launches or day values in. False for a file with neither
    // and no month given.
    bool hasRange = false;
    YearMonth from;
    YearMonth to;
    // Launches per month, from first; none when the file has no launch table
    // (a usage log older than version 1200 that the library has not
    // upgraded).
    std::optional<std::vector<int64_t>> launches;
    // The kinds with day values in the range, by type; none when the file
    // has no table of day values.
    std::optional<std::vector<KindBits>> kinds;
};

// Reads the file for the months from..to. A month not given is the first
// (or last) month the file has a launch or a day value in, or else the
// other month given. The caller has checked that to does not lie before
// from. Waits up to busyMilliseconds for another process's lock.
UsageStats ReadUsageStats(const std::filesystem::path& file, int busyMilliseconds, std::optional<YearMonth> from,
                          std::optional<YearMonth> to);

}  // namespace zandb4::tool
