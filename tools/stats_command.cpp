// "zandb4 stats ROOT [--from YYYY-MM] [--to YYYY-MM] [--json]": the
// application's launches per month and, for each kind of event, on how many
// days each bit of its daily value was set, from the usage log, changing
// nothing.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "catalogue_report.h"
#include "commands.h"
#include "json_writer.h"
#include "text_output.h"
#include "usage_log_reader.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--from", "YYYY-MM", false, "the first month (default: the first month with launches or day values)"},
    {"--to", "YYYY-MM", false, "the last month (default: the last month with launches or day values)"},
    {"--json", "", false, "print one JSON object instead of the chart"},
};

constexpr char kUsageLogName[] = "UserLog.db";
// The longest bar of the chart, in characters.
constexpr int64_t kBarWidth = 40;

// A bar of value against the largest value shown: at least one '#' for
// anything above 0.
std::string Bar(int64_t value, int64_t largest) {
    if (value <= 0 || largest <= 0) return "";
    return std::string(static_cast<size_t>((value * kBarWidth + largest - 1) / largest), '#');
}

std::string RightAligned(const std::string& text, size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

// The month index months after from.
YearMonth MonthAfter(const YearMonth& from, int months) {
    const int index = from.month - 1 + months;
    return YearMonth{from.year + index / 12, index % 12 + 1};
}

void PrintLaunchesText(const UsageStats& stats, std::ostream& out) {
    out << "launches per month\n";
    if (!stats.launches) {
        out << "  (this usage log has no launch table: it is of version " << stats.version
            << ", from before launches were counted)\n";
        return;
    }
    const std::vector<int64_t>& launches = *stats.launches;
    const int64_t largest = launches.empty() ? 0 : *std::max_element(launches.begin(), launches.end());
    int64_t total = 0;
    for (size_t index = 0; index < launches.size(); ++index) {
        const std::string count = RightAligned(std::to_string(launches[index]), 8);
        const std::string bar = Bar(launches[index], largest);
        out << "  " << YearMonthText(MonthAfter(stats.from, static_cast<int>(index))) << count
            << (bar.empty() ? "" : "  " + bar) << "\n";
        total += launches[index];
    }
    out << "  total  " << RightAligned(std::to_string(total), 8) << "\n";
}

void PrintKindsText(const UsageStats& stats, std::ostream& out) {
    if (!stats.kinds) {
        out << "days with each bit set\n  (this usage log has no table of day values)\n";
        return;
    }
    if (stats.kinds->empty()) {
        out << "days with each bit set\n  (no day values in these months)\n";
        return;
    }
    for (const KindBits& kind : *stats.kinds) {
        out << "days with each bit set, kind " << kind.type << " (" << kind.days
            << (kind.days == 1 ? " day" : " days") << " with a value)\n";
        const int64_t largest = *std::max_element(kind.bits.begin(), kind.bits.end());
        if (largest == 0) {
            out << "  (no bit set)\n";
            continue;
        }
        for (size_t bit = 0; bit < kind.bits.size(); ++bit) {
            if (kind.bits[bit] == 0) continue;
            out << "  bit " << RightAligned(std::to_string(bit), 2) << RightAligned(std::to_string(kind.bits[bit]), 8)
                << "  " << Bar(kind.bits[bit], largest) << "\n";
        }
    }
}

void PrintStatsText(const fs::path& file, const UsageStats& stats, std::ostream& out) {
    out << "usage log " << EscapeField(file.string()) << "\n";
    out << "months    " << YearMonthText(stats.from) << " to " << YearMonthText(stats.to) << "\n\n";
    PrintLaunchesText(stats, out);
    out << "\n";
    PrintKindsText(stats, out);
}

void PrintStatsJson(const fs::path& file, const UsageStats& stats, std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    json.Key("file");
    json.String(file.string());
    json.Key("version");
    json.Integer(stats.version);
    json.Key("from");
    if (stats.hasRange)
        json.String(YearMonthText(stats.from));
    else
        json.Null();
    json.Key("to");
    if (stats.hasRange)
        json.String(YearMonthText(stats.to));
    else
        json.Null();
    json.Key("launches");
    if (stats.launches) {
        json.BeginArray();
        for (size_t index = 0; index < stats.launches->size(); ++index) {
            json.BeginObject(true);
            json.Key("month");
            json.String(YearMonthText(MonthAfter(stats.from, static_cast<int>(index))));
            json.Key("count");
            json.Integer((*stats.launches)[index]);
            json.EndObject();
        }
        json.EndArray();
    } else {
        json.Null();
    }
    json.Key("kinds");
    if (stats.kinds) {
        json.BeginArray();
        for (const KindBits& kind : *stats.kinds) {
            json.BeginObject();
            json.Key("type");
            json.Unsigned(kind.type);
            json.Key("days");
            json.Integer(kind.days);
            json.Key("bits");
            json.BeginArray(true);
            for (int64_t days : kind.bits) json.Integer(days);
            json.EndArray();
            json.EndObject();
        }
        json.EndArray();
    } else {
        json.Null();
    }
    json.EndObject();
    json.Finish();
}

// The month of an option, or a usage error naming it.
bool ReadMonthOption(const Invocation& invocation, std::string_view option, std::optional<YearMonth>& month,
                     int& failed) {
    if (!invocation.Has(option)) return true;
    const std::string& text = invocation.Values(option).front();
    month = ParseYearMonth(text);
    if (month) return true;
    failed = invocation.report.UsageError(std::string(option) + ": '" + text +
                                          "' is not a month (YYYY-MM, year 0001 to 9999, month 01 to 12)");
    return false;
}

int RunStats(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::optional<YearMonth> from;
    std::optional<YearMonth> to;
    int failed = kExitOk;
    if (!ReadMonthOption(invocation, "--from", from, failed) || !ReadMonthOption(invocation, "--to", to, failed))
        return failed;
    if (from && to && MonthsFromTo(*from, *to) < 1)
        return report.UsageError("--to " + YearMonthText(*to) + " lies before --from " + YearMonthText(*from));

    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (!fs::exists(status)) return report.Fail(kExitNoCatalogue, root, "does not exist");
    if (!fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");
    const fs::path file = fs::path(root) / "database" / kUsageLogName;
    UsageStats stats = ReadUsageStats(file, kBusyMilliseconds, from, to);
    if (stats.problem == StoreProblem::kMissing)
        return report.Fail(kExitNoCatalogue, root, "holds no usage log (" + file.string() + " does not exist)");
    if (stats.problem != StoreProblem::kNone) return report.Fail(kExitUnreadable, file.string(), stats.reason);

    if (!stats.hasRange) {
        // Nothing recorded and no month asked for: nothing to chart.
        if (invocation.Has("--json")) PrintStatsJson(file, stats, invocation.out);
        report.Note("no launches or day values recorded");
        return kExitOk;
    }
    if (invocation.Has("--json"))
        PrintStatsJson(file, stats, invocation.out);
    else
        PrintStatsText(file, stats, invocation.out);
    return kExitOk;
}

}  // namespace

const Command& StatsCommand() {
    static const Command command{
        "stats",
        "chart the launches per month and the daily bits of the usage log under ROOT",
        kOperands,
        kOptions,
        "Reads the application's usage log database/UserLog.db under ROOT and prints, for\n"
        "the months --from to --to (both counted, whole months), a small text chart:\n"
        "  launches per month   one line per month with the number of launches and a bar,\n"
        "                       and the total;\n"
        "  days with each bit set, kind N\n"
        "                       for each kind of event with day values in those months,\n"
        "                       the days it has a value on, and for each bit set on some\n"
        "                       day (bit 0 is the lowest) the number of such days and a\n"
        "                       bar. A kind whose value is a counter rather than a set of\n"
        "                       bits shows the bits of its counts.\n"
        "The numbers are those the library's monthly launch counts and bit histogram give\n"
        "for the same months. Without --from the first month is the first one with a\n"
        "launch or a day value, without --to the last such month; a month is written\n"
        "YYYY-MM, and --to must not lie before --from. The chart is the same whether or\n"
        "not standard output is a terminal.\n"
        "\n"
        "With --json the output is one object: file, version, from and to (null when\n"
        "nothing is recorded and no month was given), launches (an array of month and\n"
        "count, or null for a usage log older than version 1200, which has no launch\n"
        "table) and kinds (an array of type, days and bits, the 32 day counts with bit 0\n"
        "first). When nothing is recorded and no month is given, the text output is\n"
        "empty and 'no launches or day values recorded' goes to standard error; the exit\n"
        "code is still 0.\n"
        "\n"
        "stats opens the usage log read-only and changes nothing on disk; it does not\n"
        "need the catalogue database/FileBasic.db. A missing usage log is exit 2; one that\n"
        "is not a database, damaged, locked by another process past a wait of 2 seconds,\n"
        "or of a newer major version is exit 4.",
        RunStats,
    };
    return command;
}

}  // namespace zandb4::tool
