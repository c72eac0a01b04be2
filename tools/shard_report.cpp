// Counting the shard files and rows of each shard folder.
#include "shard_report.h"

#include <algorithm>
#include <system_error>

#include "catalogue_report.h"
#include "shard_reader.h"
#include "store_reader.h"
#include "text_output.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr char kDatabaseFolder[] = "database";

// Adds one shard file to its folder's report: its rows, or why they cannot
// be counted.
void CountShard(const fs::path& file, const std::string& shown, ShardFolderReport& report) {
    ++report.files;
    StoreContents store = ReadStore(file, kBusyMilliseconds, RowCounts::kEveryTable);
    auto table = std::find_if(store.tables.begin(), store.tables.end(),
                              [&](const TableRows& rows) { return rows.name == report.table; });
    std::string reason;
    if (table != store.tables.end() && table->rows)
        report.rows += *table->rows;
    else if (store.problem != StoreProblem::kNone)
        reason = store.reason;
    else if (table == store.tables.end())
        reason = "not a shard of this folder (it has no " + report.table + ")";
    else
        reason = "its rows cannot be counted";
    if (!reason.empty()) report.unreadable.push_back({shown, reason});
}

ShardFolderReport ReadShardFolder(const fs::path& database, const std::string& family, int kind,
                                  const std::string& folderName, std::string_view table) {
    ShardFolderReport report;
    report.family = family;
    report.kind = kind;
    report.shown = std::string(kDatabaseFolder) + "/" + folderName;
    report.table = std::string(table);
    fs::path folder = database / folderName;
    std::error_code error;
    fs::file_status status = fs::status(folder, error);
    if (!fs::exists(status)) return report;
    report.present = true;
    if (!fs::is_directory(status)) {
        report.problem = "is not a folder";
        return report;
    }
    // The library's listing has nothing for a folder it cannot list, which
    // would show as an empty folder: that is found out here first.
    fs::directory_iterator listing(folder, error);
    if (error) {
        report.problem = "cannot be listed (" + error.message() + ")";
        return report;
    }
    for (const std::string& name : ShardFileNames(folder)) CountShard(folder / name, report.shown + "/" + name, report);
    return report;
}

std::string Counted(int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

std::vector<ShardFolderReport> ReadShardReports(const fs::path& root) {
    fs::path database = root / kDatabaseFolder;
    std::vector<ShardFolderReport> reports;
    for (std::string_view family : kThumbnailFamilies) {
        for (int kind : {1, 2})
            reports.push_back(ReadShardFolder(database, std::string(family), kind, ThumbnailFolderName(family, kind),
                                              kThumbnailTable));
    }
    reports.push_back(
        ReadShardFolder(database, std::string(kMetaDataFolder), 0, std::string(kMetaDataFolder), kMetaDataTable));
    return reports;
}

void PrintUnreadableShardsText(const std::vector<UnreadableShard>& unreadable, std::ostream& out) {
    for (const UnreadableShard& shard : unreadable)
        out << "    " << EscapeField(shard.shown) << "  " << shard.reason << "\n";
}

void WriteUnreadableShardsJson(const std::vector<UnreadableShard>& unreadable, JsonWriter& json) {
    json.BeginArray();
    for (const UnreadableShard& shard : unreadable) {
        json.BeginObject(true);
        json.Key("name");
        json.String(shard.shown);
        json.Key("problem");
        json.String(shard.reason);
        json.EndObject();
    }
    json.EndArray();
}

void WriteCountOrNull(bool counted, int64_t count, JsonWriter& json) {
    if (counted)
        json.Integer(count);
    else
        json.Null();
}

void PrintShardsText(const std::vector<ShardFolderReport>& shards, std::ostream& out) {
    out << "shard folders\n";
    for (const ShardFolderReport& folder : shards) {
        out << "  " << EscapeField(folder.shown) << "  ";
        bool meta = folder.kind == 0;
        if (meta)
            out << "large metadata: ";
        else
            out << folder.family << " kind " << folder.kind << ": ";
        if (!folder.present) {
            out << "missing\n";
            continue;
        }
        if (!folder.problem.empty()) {
            out << folder.problem << "\n";
            continue;
        }
        out << Counted(folder.files, "shard file", "shard files") << ", "
            << (meta ? Counted(folder.rows, "metadata block", "metadata blocks")
                     : Counted(folder.rows, "thumbnail", "thumbnails"));
        if (!folder.unreadable.empty())
            out << "; " << folder.unreadable.size() << " unreadable, "
                << (folder.unreadable.size() == 1 ? "its rows" : "their rows") << " not counted";
        out << "\n";
        PrintUnreadableShardsText(folder.unreadable, out);
    }
}

void WriteShardsJson(const std::vector<ShardFolderReport>& shards, JsonWriter& json) {
    json.BeginArray();
    for (const ShardFolderReport& folder : shards) {
        json.BeginObject();
        json.Key("family");
        json.String(folder.family);
        json.Key("kind");
        if (folder.kind == 0)
            json.Null();
        else
            json.Integer(folder.kind);
        json.Key("folder");
        json.String(folder.shown);
        json.Key("table");
        json.String(folder.table);
        json.Key("present");
        json.Bool(folder.present);
        json.Key("problem");
        if (folder.problem.empty())
            json.Null();
        else
            json.String(folder.problem);
        // Counts of a folder that could not be listed are unknown, not 0.
        bool counted = folder.problem.empty();
        json.Key("files");
        WriteCountOrNull(counted, folder.files, json);
        json.Key("rows");
        WriteCountOrNull(counted, folder.rows, json);
        json.Key("unreadable");
        WriteUnreadableShardsJson(folder.unreadable, json);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace zandb4::tool
