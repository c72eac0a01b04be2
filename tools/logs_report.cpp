// The memory data and usage log lines of the catalogue report.
#include "logs_report.h"

namespace zandb4::tool {
namespace {

std::optional<int64_t> RowsOf(const StoreContents& store, const std::string& table) {
    for (const TableRows& rows : store.tables)
        if (rows.name == table) return rows.rows;
    return std::nullopt;
}

std::string CountText(const std::optional<int64_t>& count, const std::string& one, const std::string& many) {
    if (!count) return "? " + many;
    return std::to_string(*count) + " " + (*count == 1 ? one : many);
}

void CountJson(const std::string& key, const std::optional<int64_t>& count, JsonWriter& json) {
    json.Key(key);
    if (count)
        json.Integer(*count);
    else
        json.Null();
}

void PresenceJson(bool present, const std::string& problem, JsonWriter& json) {
    json.Key("present");
    json.Bool(present);
    json.Key("problem");
    if (problem.empty())
        json.Null();
    else
        json.String(problem);
}

}  // namespace

MemoryDataSummary SummariseMemoryData(const StoreContents* store) {
    MemoryDataSummary summary;
    if (store == nullptr) return summary;
    summary.present = true;
    summary.problem = store->reason;
    summary.entries = RowsOf(*store, "memory_data");
    return summary;
}

UsageLogSummary SummariseUsageLog(const StoreContents* store) {
    UsageLogSummary summary;
    if (store == nullptr) return summary;
    summary.present = true;
    summary.problem = store->reason;
    summary.dayValues = RowsOf(*store, "access_date_log_data");
    summary.strings = RowsOf(*store, "access_string_data");
    summary.launchDays = RowsOf(*store, "access_launch_data");
    summary.histories = RowsOf(*store, "access_history_data");
    summary.editParameters = RowsOf(*store, "access_edit_param_data");
    return summary;
}

void PrintLogsText(const MemoryDataSummary& memory, const UsageLogSummary& usage, std::ostream& out) {
    out << "memos   ";
    if (!memory.present)
        out << "(database/Memory.db missing)\n";
    else if (!memory.problem.empty())
        out << "(" << memory.problem << ")\n";
    else
        out << CountText(memory.entries, "entry", "entries") << "\n";
    out << "usage   ";
    if (!usage.present) {
        out << "(database/UserLog.db missing)\n";
    } else if (!usage.problem.empty()) {
        out << "(" << usage.problem << ")\n";
    } else {
        out << CountText(usage.dayValues, "day value", "day values") << ", "
            << CountText(usage.strings, "string", "strings") << ", "
            << CountText(usage.launchDays, "launch day", "launch days") << ", "
            << CountText(usage.histories, "history", "histories") << ", "
            << CountText(usage.editParameters, "edit parameter", "edit parameters") << "\n";
    }
}

void WriteMemoryDataJson(const MemoryDataSummary& memory, JsonWriter& json) {
    json.BeginObject();
    PresenceJson(memory.present, memory.problem, json);
    CountJson("entries", memory.entries, json);
    json.EndObject();
}

void WriteUsageLogJson(const UsageLogSummary& usage, JsonWriter& json) {
    json.BeginObject();
    PresenceJson(usage.present, usage.problem, json);
    CountJson("day_values", usage.dayValues, json);
    CountJson("strings", usage.strings, json);
    CountJson("launch_days", usage.launchDays, json);
    CountJson("histories", usage.histories, json);
    CountJson("edit_parameters", usage.editParameters, json);
    json.EndObject();
}

}  // namespace zandb4::tool
