// "zandb4 gps ls ROOT [--json]": lists the GPS logs of the catalogue under
// ROOT with their time spans and point counts, reading the log store
// (database/Location.db) read-only with SQLite, so that listing changes
// nothing on disk.
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "catalogue_report.h"
#include "commands.h"
#include "file_listing.h"
#include "gps/gps_log_tables.h"
#include "json_writer.h"
#include "read_statement.h"
#include "store_reader.h"
#include "text_output.h"

namespace fs = std::filesystem;
namespace tables = gps_log_tables;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print one JSON array of objects instead of lines"},
};

// The points of each log, in one pass over the points.
constexpr WCHAR kCountPointsByLog[] = u"SELECT log_file_id, COUNT(*) FROM gps_log_data GROUP BY log_file_id";
// Both reads see one state of the file.
constexpr WCHAR kBegin[] = u"BEGIN";
constexpr WCHAR kCommit[] = u"COMMIT";
// Earliest UTC start first, as the store orders its logs for matching.
constexpr WCHAR kSelectLogsInOrder[] = u"SELECT * FROM gps_log_file ORDER BY start_date_utc, log_file_id";

struct LogRow {
    uint64_t id = 0;
    std::string path;
    std::string name;
    int64_t start = 0;  // packed, local
    int64_t end = 0;
    int64_t startUtc = 0;
    int64_t endUtc = 0;
    int64_t attributes = 0;
    int64_t state = 0;
    std::string location;
    int64_t points = 0;
};

// SQLite's code of a statement's run from its last step and its finalize:
// a statement that did not prepare finalizes with the prepare's code.
int Outcome(int step, int finalized) {
    return finalized != SQLITE_OK ? finalized : (step == SQLITE_DONE ? SQLITE_OK : step);
}

// Runs a statement that gives no rows; SQLite's code.
int Execute(sqlite3* db, const WCHAR* sql) {
    ReadStatement statement(db, sql);
    int step = statement.Step();
    return Outcome(step, statement.Finalize());
}

// Reads the logs; SQLite's code of the first failure, SQLITE_OK when read.
int ReadLogs(sqlite3* db, std::vector<LogRow>& logs) {
    if (int begun = Execute(db, kBegin); begun != SQLITE_OK) return begun;
    std::map<uint64_t, int64_t> counts;
    int code = SQLITE_OK;
    {
        ReadStatement statement(db, kCountPointsByLog);
        int step = SQLITE_ROW;
        while ((step = statement.Step()) == SQLITE_ROW)
            counts[static_cast<uint64_t>(statement.ColumnInt64(0))] = statement.ColumnInt64(1);
        code = Outcome(step, statement.Finalize());
    }
    if (code == SQLITE_OK) {
        ReadStatement statement(db, kSelectLogsInOrder);
        int step = SQLITE_ROW;
        while ((step = statement.Step()) == SQLITE_ROW) {
            LogRow log;
            log.id = static_cast<uint64_t>(statement.ColumnInt64(tables::kLogFileId));
            log.path = statement.ColumnText(tables::kLogFilePath).ToUtf8();
            log.name = statement.ColumnText(tables::kLogFileName).ToUtf8();
            log.start = statement.ColumnInt64(tables::kStartDate);
            log.end = statement.ColumnInt64(tables::kEndDate);
            log.attributes = statement.ColumnInt64(tables::kAttributes);
            log.state = statement.ColumnInt64(tables::kState);
            log.startUtc = statement.ColumnInt64(tables::kStartDateUtc);
            log.endUtc = statement.ColumnInt64(tables::kEndDateUtc);
            log.location = statement.ColumnText(tables::kLogLocationName).ToUtf8();
            auto counted = counts.find(log.id);
            log.points = counted == counts.end() ? 0 : counted->second;
            logs.push_back(std::move(log));
        }
        code = Outcome(step, statement.Finalize());
    }
    // A read-only transaction ends the same whether the reads worked or not.
    int ended = Execute(db, kCommit);
    return code != SQLITE_OK ? code : ended;
}

std::string DateOrDash(int64_t packed) {
    std::string date = DateText(packed);
    return date.empty() ? "-" : date;
}

void DateOrNull(JsonWriter& json, int64_t packed) {
    std::string date = DateText(packed);
    date.empty() ? json.Null() : json.String(date);
}

void PrintText(const std::vector<LogRow>& logs, std::ostream& out) {
    for (const LogRow& log : logs)
        WriteRecord(out, {std::to_string(log.id), DateOrDash(log.startUtc), DateOrDash(log.endUtc),
                          std::to_string(log.points), log.name, log.path});
}

void PrintJson(const std::vector<LogRow>& logs, std::ostream& out) {
    JsonWriter json(out);
    json.BeginArray();
    for (const LogRow& log : logs) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(log.id);
        json.Key("name");
        json.String(log.name);
        json.Key("path");
        json.String(log.path);
        json.Key("start_utc");
        DateOrNull(json, log.startUtc);
        json.Key("end_utc");
        DateOrNull(json, log.endUtc);
        json.Key("start");
        DateOrNull(json, log.start);
        json.Key("end");
        DateOrNull(json, log.end);
        json.Key("points");
        json.Integer(log.points);
        json.Key("state");
        json.Integer(log.state);
        json.Key("attributes");
        json.Integer(log.attributes);
        json.Key("location");
        json.String(log.location);
        json.EndObject();
    }
    json.EndArray();
    json.Finish();
}

int RunGpsList(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    if (int readable = RequireReadableCatalogue(root, report); readable != kExitOk) return readable;
    const fs::path file = fs::path(root) / "database" / "Location.db";
    const bool json = invocation.Has("--json");
    std::error_code error;
    if (!fs::exists(file, error)) {
        // A catalogue made before the GPS log store existed has no logs.
        if (json) PrintJson({}, invocation.out);
        report.Note("no GPS logs (" + file.string() + " does not exist)");
        return kExitOk;
    }
    std::vector<LogRow> logs;
    ReadOnlyConnection connection(file, kBusyMilliseconds);
    int code = connection.OpenCode();
    if (code == SQLITE_OK) code = ReadLogs(connection.Handle(), logs);
    if (code != SQLITE_OK) return report.Fail(kExitUnreadable, file.string(), ReasonOfCode(code, kBusyMilliseconds));
    json ? PrintJson(logs, invocation.out) : PrintText(logs, invocation.out);
    if (logs.empty()) report.Note("no GPS logs");
    return kExitOk;
}

}  // namespace

const Command& GpsListCommand() {
    static const Command command{
        "gps ls",
        "list the GPS logs of the catalogue under ROOT",
        kOperands,
        kOptions,
        "Lists the GPS logs stored for the catalogue under ROOT (database/Location.db),\n"
        "earliest first, one line per log with tab-separated fields:\n"
        "  id, start (UTC), end (UTC), points, name, path\n"
        "with dates as YYYY-MM-DD HH:MM:SS, or - for a log without UTC dates (an old\n"
        "log that was never migrated; geotagging does not find those). A tab, newline,\n"
        "carriage return or backslash inside a name is written as \\t, \\n, \\r or \\\\.\n"
        "With --json the output is one JSON array with an object per log: id, name,\n"
        "path, start_utc, end_utc, start and end (local time), points, state,\n"
        "attributes and location.\n"
        "\n"
        "When there is no log, nothing (or [] with --json) goes to standard output and\n"
        "'no GPS logs' to standard error, and the exit code is still 0. gps ls opens the\n"
        "log store read-only and changes nothing on disk; another process's lock is\n"
        "waited for up to 2 seconds, then reported.",
        RunGpsList,
    };
    return command;
}

}  // namespace zandb4::tool
