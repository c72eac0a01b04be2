// Read-only reads of the usage log for "zandb4 stats".
#include "usage_log_reader.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <system_error>

#include "logs/access_log_tables.h"
#include "read_statement.h"

namespace fs = std::filesystem;
namespace tables = access_log_tables;

namespace zandb4::tool {
namespace {

constexpr WCHAR kSelectTableNames[] = u"SELECT name FROM sqlite_master WHERE type='table'";
constexpr WCHAR kSelectVersion[] = u"SELECT version FROM version_info_table";
// The first and last day of the table's rows whose year and month are a
// real year and month: a row another program wrote with a month of 0 or 13
// does not stretch the range it reports.
constexpr WCHAR kSelectLaunchExtremes[] =
    u"SELECT MIN(log_date), MAX(log_date) FROM access_launch_data "
    u"WHERE ((log_date >> 32) & 255) BETWEEN 1 AND 12 AND (log_date >> 40) BETWEEN 1 AND 9999";
constexpr WCHAR kSelectDailyExtremes[] =
    u"SELECT MIN(log_date), MAX(log_date) FROM access_date_log_data "
    u"WHERE ((log_date >> 32) & 255) BETWEEN 1 AND 12 AND (log_date >> 40) BETWEEN 1 AND 9999";
constexpr WCHAR kSelectKindsInRange[] =
    u"SELECT DISTINCT log_type FROM access_date_log_data WHERE log_date>=? AND log_date<=? ORDER BY log_type";

constexpr char kLaunchTable[] = "access_launch_data";
constexpr char kDailyTable[] = "access_date_log_data";
constexpr char kVersionTable[] = "version_info_table";

// The day key of a day, as the library's GetDayKey makes it: the packed
// date with no time of day.
int64_t DayKey(int year, int month, int day) {
    return ((static_cast<int64_t>(year) << 16) + (static_cast<int64_t>(month) << 8) + day) << 24;
}

// The last second of that day, packed.
int64_t EndOfDay(int year, int month, int day) { return DayKey(year, month, day) + (23 << 16) + (59 << 8) + 59; }

int DaysInMonth(const YearMonth& month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (month.year % 4 == 0 && month.year % 100 != 0) || month.year % 400 == 0;
    return month.month == 2 && leap ? 29 : kDays[month.month - 1];
}

YearMonth MonthOf(int64_t packed) {
    return YearMonth{static_cast<int>(packed >> 40), static_cast<int>((packed >> 32) & 0xFF)};
}

bool Before(const YearMonth& a, const YearMonth& b) { return MonthsFromTo(b, a) < 1; }

void SetProblem(UsageStats& stats, int code, int busyMilliseconds) {
    stats.problem = ProblemOfCode(code);
    stats.reason = ReasonOfCode(code, busyMilliseconds);
}

// The first and last month with rows in the table, widening earliest and
// latest. SQLite's code.
int WidenByTable(sqlite3* db, const WCHAR* sql, std::optional<YearMonth>& earliest,
                 std::optional<YearMonth>& latest) {
    return ReadRows(db, sql, {}, [&](const ReadStatement& row) {
        // MIN and MAX of no rows are NULL; the packed date of a real day is
        // never 0.
        const int64_t first = row.ColumnInt64(0);
        const int64_t last = row.ColumnInt64(1);
        if (first == 0 || last == 0) return;
        if (!earliest || Before(MonthOf(first), *earliest)) earliest = MonthOf(first);
        if (!latest || Before(*latest, MonthOf(last))) latest = MonthOf(last);
    });
}

}  // namespace

std::optional<YearMonth> ParseYearMonth(std::string_view text) {
    if (text.size() != 7 || text[4] != '-') return std::nullopt;
    for (size_t i : {0u, 1u, 2u, 3u, 5u, 6u})
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    auto number = [&](size_t from, size_t count) {
        int value = 0;
        for (size_t i = from; i < from + count; ++i) value = value * 10 + (text[i] - '0');
        return value;
    };
    YearMonth month{number(0, 4), number(5, 2)};
    if (month.year < 1 || month.month < 1 || month.month > 12) return std::nullopt;
    return month;
}

std::string YearMonthText(const YearMonth& month) {
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02d", month.year, month.month);
    return text;
}

int MonthsFromTo(const YearMonth& from, const YearMonth& to) {
    // As the library counts them: the month difference plus one, plus
    // twelve for each year.
    return (to.month - from.month + 1) + 12 * (to.year - from.year);
}

UsageStats ReadUsageStats(const fs::path& file, int busyMilliseconds, std::optional<YearMonth> from,
                          std::optional<YearMonth> to) {
    UsageStats stats;
    std::error_code error;
    fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        stats.problem = StoreProblem::kMissing;
        stats.reason = "does not exist";
        return stats;
    }
    if (fs::is_directory(status)) {
        stats.problem = StoreProblem::kCannotOpen;
        stats.reason = "cannot be opened (it is a folder)";
        return stats;
    }
    ReadOnlyConnection connection(file, busyMilliseconds);
    if (connection.OpenCode() != SQLITE_OK) {
        SetProblem(stats, connection.OpenCode(), busyMilliseconds);
        return stats;
    }
    sqlite3* db = connection.Handle();

    // The schema first: reading it is what meets a lock or a file that is
    // not a database.
    std::vector<std::string> names;
    int code = ReadRows(db, kSelectTableNames, {},
                   [&](const ReadStatement& row) { names.push_back(row.ColumnText(0).ToUtf8()); });
    if (code != SQLITE_OK) {
        SetProblem(stats, code, busyMilliseconds);
        return stats;
    }
    auto has = [&](const char* name) { return std::find(names.begin(), names.end(), name) != names.end(); };
    if (has(kVersionTable)) {
        bool first = true;
        code = ReadRows(db, kSelectVersion, {}, [&](const ReadStatement& row) {
            if (first) stats.version = row.ColumnInt64(0);
            first = false;
        });
        if (code != SQLITE_OK) {
            SetProblem(stats, code, busyMilliseconds);
            return stats;
        }
        if (IsNewerMajorVersion(stats.version)) {
            stats.problem = StoreProblem::kCannotRead;
            stats.reason = "of a newer major version (version " + std::to_string(stats.version) +
                           "; this build reads major version " + std::to_string(ReadableMajorVersion()) + ")";
            return stats;
        }
    }
    const bool hasLaunches = has(kLaunchTable);
    const bool hasDaily = has(kDailyTable);
    // Empty, not absent, where the table is there: a range without rows.
    if (hasLaunches) stats.launches.emplace();
    if (hasDaily) stats.kinds.emplace();

    if (!from || !to) {
        std::optional<YearMonth> earliest;
        std::optional<YearMonth> latest;
        if (hasLaunches) code = WidenByTable(db, kSelectLaunchExtremes, earliest, latest);
        if (code == SQLITE_OK && hasDaily) code = WidenByTable(db, kSelectDailyExtremes, earliest, latest);
        if (code != SQLITE_OK) {
            SetProblem(stats, code, busyMilliseconds);
            return stats;
        }
        // A month given stays; the other comes from the rows, unless they lie
        // all on the wrong side of it.
        if (!from) from = earliest && (!to || !Before(*to, *earliest)) ? earliest : to;
        if (!to) to = latest && from && !Before(*latest, *from) ? latest : from;
    }
    if (!from || !to) return stats;
    stats.hasRange = true;
    stats.from = *from;
    stats.to = *to;
    const int months = MonthsFromTo(*from, *to);
    if (months < 1) return stats;

    // Whole months: the launch table's rows are day keys, compared with the
    // first and last day's keys; day values are compared with moments, from
    // the first day's start to the last day's last second.
    const int lastDay = DaysInMonth(*to);
    const int64_t firstDayKey = DayKey(from->year, from->month, 1);
    const int64_t lastDayKey = DayKey(to->year, to->month, lastDay);
    const int64_t lastMoment = EndOfDay(to->year, to->month, lastDay);

    if (hasLaunches) {
        std::vector<int64_t> launches(static_cast<size_t>(months), 0);
        code = ReadRows(db, tables::kSelectLaunchesInRange, {firstDayKey, lastDayKey}, [&](const ReadStatement& row) {
            const YearMonth month = MonthOf(row.ColumnInt64(tables::kLaunchDate));
            const int64_t index = static_cast<int64_t>(month.year - from->year) * 12 - from->month + month.month;
            if (index >= 0 && index < months)
                launches[static_cast<size_t>(index)] += static_cast<uint32_t>(row.ColumnInt64(tables::kLaunchCount));
        });
        if (code != SQLITE_OK) {
            SetProblem(stats, code, busyMilliseconds);
            return stats;
        }
        stats.launches = std::move(launches);
    }
    if (hasDaily) {
        std::vector<KindBits> kinds;
        code = ReadRows(db, kSelectKindsInRange, {firstDayKey, lastMoment}, [&](const ReadStatement& row) {
            KindBits kind;
            kind.type = static_cast<uint32_t>(row.ColumnInt64(0));
            kinds.push_back(kind);
        });
        for (KindBits& kind : kinds) {
            if (code != SQLITE_OK) break;
            code = ReadRows(db, tables::kSelectDailyValuesOfTypeInRange, {static_cast<int64_t>(kind.type), firstDayKey,
                                                                     lastMoment},
                       [&](const ReadStatement& row) {
                           const uint32_t value = static_cast<uint32_t>(row.ColumnInt64(tables::kDailyData));
                           ++kind.days;
                           for (size_t bit = 0; bit < kind.bits.size(); ++bit)
                               if ((value >> bit) & 1u) ++kind.bits[bit];
                       });
        }
        if (code != SQLITE_OK) {
            SetProblem(stats, code, busyMilliseconds);
            return stats;
        }
        stats.kinds = std::move(kinds);
    }
    return stats;
}

}  // namespace zandb4::tool
