// "zandb4 applog ROOT [--json]": the application log under ROOT, its
// counters, the history and keyed records (without their blobs), and the
// file's size and age, changing nothing.
#include <time.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "app_log_reader.h"
#include "catalogue_report.h"
#include "commands.h"
#include "json_writer.h"
#include "text_output.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print one JSON object instead of the text"},
};

constexpr char kInformationFolder[] = "information";
constexpr char kAppLogName[] = "appcahce.db";

// Seconds since 1970 as "YYYY-MM-DD HH:MM:SS" in UTC.
std::string UtcText(int64_t seconds) {
    const time_t value = static_cast<time_t>(seconds);
    struct tm parts {};
    if (gmtime_r(&value, &parts) == nullptr) return std::to_string(seconds);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

const char* CreatedFrom(const AppLogFileFacts& facts) {
    return facts.createdIsBirthTime ? "birth time" : "modification time";
}

std::string Plural(size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// A table of numbers under a heading line, each column right-aligned to its
// widest cell, two spaces apart and two in from the margin.
void PrintColumns(const std::vector<std::string>& heading, const std::vector<std::vector<int64_t>>& rows,
                  std::ostream& out) {
    std::vector<std::vector<std::string>> cells{heading};
    for (const std::vector<int64_t>& row : rows) {
        std::vector<std::string> texts;
        for (int64_t value : row) texts.push_back(std::to_string(value));
        cells.push_back(std::move(texts));
    }
    std::vector<size_t> widths(heading.size(), 0);
    for (const auto& line : cells)
        for (size_t column = 0; column < line.size(); ++column)
            widths[column] = std::max(widths[column], line[column].size());
    for (const auto& line : cells) {
        std::string text = " ";
        // Appended piece by piece: GCC 12 at -O3 warns wrongly (-Wrestrict)
        // on a string literal joined in front of a temporary string.
        for (size_t column = 0; column < line.size(); ++column) {
            text += ' ';
            text.append(widths[column] - line[column].size(), ' ');
            text += line[column];
            text += ' ';
        }
        while (!text.empty() && text.back() == ' ') text.pop_back();
        out << text << "\n";
    }
}

void PrintCountersText(const AppLogContents& contents, std::ostream& out) {
    if (!contents.counters) {
        out << "counters: (this file has no counter table)\n";
        return;
    }
    out << "counters: " << Plural(contents.counters->size(), "counter", "counters") << "\n";
    if (contents.counters->empty()) return;
    std::vector<std::vector<int64_t>> rows;
    for (const AppLogCounter& counter : *contents.counters)
        rows.push_back({counter.logID, counter.logType, counter.count});
    PrintColumns({"log_id", "log_type", "count"}, rows, out);
}

void PrintRecordsText(const char* title, const char* table, const std::optional<std::vector<AppLogRecord>>& records,
                      std::ostream& out) {
    if (!records) {
        out << title << ": (this file has no " << table << " table)\n";
        return;
    }
    out << title << ": " << Plural(records->size(), "record", "records") << "\n";
    if (records->empty()) return;
    std::vector<std::vector<int64_t>> rows;
    for (const AppLogRecord& record : *records)
        rows.push_back({record.id, record.version, record.logID, record.logType, record.size});
    PrintColumns({"id", "ver", "log_id", "log_type", "size"}, rows, out);
}

void PrintAppLogText(const fs::path& file, const AppLogContents& contents, std::ostream& out) {
    const AppLogFileFacts& facts = contents.facts;
    out << "application log " << EscapeField(file.string()) << "\n";
    out << "version   " << contents.version << "\n";
    out << "size      " << facts.size << (facts.size == 1 ? " byte" : " bytes") << "\n";
    out << "created   " << UtcText(facts.created) << " UTC (" << CreatedFrom(facts) << ")\n";
    out << "age       " << facts.ageDays << (facts.ageDays == 1 || facts.ageDays == -1 ? " day" : " days") << "\n";
    out << "expired   " << (facts.expired ? "yes" : "no") << "\n\n";
    PrintCountersText(contents, out);
    out << "\n";
    PrintRecordsText("history", "history", contents.history, out);
    out << "\n";
    PrintRecordsText("information", "information", contents.information, out);
}

void WriteRecordsJson(const std::optional<std::vector<AppLogRecord>>& records, JsonWriter& json) {
    if (!records) {
        json.Null();
        return;
    }
    json.BeginArray();
    for (const AppLogRecord& record : *records) {
        json.BeginObject(true);
        json.Key("id");
        json.Integer(record.id);
        json.Key("ver");
        json.Integer(record.version);
        json.Key("log_id");
        json.Integer(record.logID);
        json.Key("log_type");
        json.Integer(record.logType);
        json.Key("size");
        json.Integer(record.size);
        json.EndObject();
    }
    json.EndArray();
}

void PrintAppLogJson(const fs::path& file, const AppLogContents& contents, std::ostream& out) {
    const AppLogFileFacts& facts = contents.facts;
    JsonWriter json(out);
    json.BeginObject();
    json.Key("file");
    json.String(file.string());
    json.Key("version");
    json.Integer(contents.version);
    json.Key("size");
    json.Unsigned(facts.size);
    json.Key("created");
    json.String(UtcText(facts.created) + " UTC");
    json.Key("created_from");
    json.String(CreatedFrom(facts));
    json.Key("age_days");
    json.Integer(facts.ageDays);
    json.Key("expired");
    json.Bool(facts.expired);
    json.Key("counters");
    if (contents.counters) {
        json.BeginArray();
        for (const AppLogCounter& counter : *contents.counters) {
            json.BeginObject(true);
            json.Key("log_id");
            json.Integer(counter.logID);
            json.Key("log_type");
            json.Integer(counter.logType);
            json.Key("count");
            json.Integer(counter.count);
            json.EndObject();
        }
        json.EndArray();
    } else {
        json.Null();
    }
    json.Key("history");
    WriteRecordsJson(contents.history, json);
    json.Key("information");
    WriteRecordsJson(contents.information, json);
    json.EndObject();
    json.Finish();
}

int RunAppLog(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (!fs::exists(status)) return report.Fail(kExitNoCatalogue, root, "does not exist");
    if (!fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");
    const fs::path file = fs::path(root) / kInformationFolder / kAppLogName;
    const AppLogContents contents = ReadAppLog(file, kBusyMilliseconds, static_cast<int64_t>(::time(nullptr)));
    if (contents.problem == StoreProblem::kMissing)
        return report.Fail(kExitNoCatalogue, root, "holds no application log (" + file.string() + " does not exist)");
    if (contents.problem != StoreProblem::kNone) return report.Fail(kExitUnreadable, file.string(), contents.reason);
    if (invocation.Has("--json"))
        PrintAppLogJson(file, contents, invocation.out);
    else
        PrintAppLogText(file, contents, invocation.out);
    return kExitOk;
}

}  // namespace

const Command& AppLogCommand() {
    static const Command command{
        "applog",
        "show the counters and records of the application log under ROOT",
        kOperands,
        kOptions,
        "Reads the application's own log information/appcahce.db under ROOT and prints:\n"
        "  the file      its size, when it was made (its birth time, or its modification\n"
        "                time where the file system keeps no birth time), its age in\n"
        "                whole days, and whether the library would take it for expired\n"
        "                when it opens it: older than 180 days or larger than 512 MiB.\n"
        "                (The library counts the age modulo 65536 days.) An expired log\n"
        "                is deleted at the library's stop only if the application asks.\n"
        "  counters      log_id, log_type and count of each counter;\n"
        "  history       id, ver (the layout version of the record), log_id, log_type\n"
        "                and size in bytes of each history record;\n"
        "  information   the same for each keyed record, one per log_id and log_type.\n"
        "Rows are shown in their order on disk. The records' bytes belong to the\n"
        "application and are not shown.\n"
        "\n"
        "With --json the output is one object: file, version, size, created (UTC),\n"
        "created_from (\"birth time\" or \"modification time\"), age_days, expired, and\n"
        "counters, history and information, arrays of the rows (null for a table the\n"
        "file does not have).\n"
        "\n"
        "applog opens the file read-only and changes nothing on disk; it never makes the\n"
        "file, and it does not need the catalogue database/FileBasic.db. A missing ROOT or\n"
        "application log is exit 2; a log that is not a database, damaged, locked by\n"
        "another process past a wait of 2 seconds, or of a newer major version is exit 4.",
        RunAppLog,
    };
    return command;
}

}  // namespace zandb4::tool
