// The catalogue check and the report of a catalogue root.
#include "catalogue_report.h"

#include <algorithm>
#include <system_error>

#include "json_writer.h"
#include "text_output.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr char kCatalogueName[] = "FileBasic.db";

bool HasTable(const StoreContents& contents, const std::string& name) {
    return std::any_of(contents.tables.begin(), contents.tables.end(),
                       [&](const TableRows& table) { return table.name == name; });
}

ReportFolder ReadFolder(const fs::path& root, const std::string& name) {
    ReportFolder folder;
    folder.name = name;
    fs::path path = root / name;
    std::error_code error;
    folder.present = fs::is_directory(path, error);
    if (!folder.present) return folder;
    std::vector<fs::directory_entry> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) entries.push_back(entry);
    std::sort(entries.begin(), entries.end(),
              [](const fs::directory_entry& a, const fs::directory_entry& b) { return a.path() < b.path(); });
    for (const fs::directory_entry& entry : entries) {
        ReportEntry shown;
        shown.shown = name + "/" + entry.path().filename().string();
        if (entry.is_directory(error)) {
            shown.kind = ReportEntry::Kind::kFolder;
        } else if (entry.path().extension() == ".db") {
            shown.kind = ReportEntry::Kind::kStore;
            shown.store = ReadStore(entry.path(), kBusyMilliseconds, RowCounts::kEveryTable);
        }
        folder.entries.push_back(std::move(shown));
    }
    return folder;
}

std::string RowsText(const TableRows& table) {
    if (!table.rows) return "rows cannot be counted";
    return std::to_string(*table.rows) + (*table.rows == 1 ? " row" : " rows");
}

void PrintStoreText(const ReportEntry& entry, std::ostream& out) {
    const StoreContents& store = entry.store;
    out << "  " << EscapeField(entry.shown) << "  ";
    if (store.tables.empty() && store.problem != StoreProblem::kNone) {
        out << store.reason << "\n";
        return;
    }
    if (store.hasVersionTable)
        out << "version " << store.version << (IsNewerMajorVersion(store.version) ? " (newer major version)" : "");
    else
        out << "no version_info_table";
    out << ", page size " << store.pageSize;
    if (store.problem != StoreProblem::kNone) out << ", " << store.reason;
    out << "\n";
    for (const TableRows& table : store.tables)
        out << "    " << EscapeField(table.name) << ": " << RowsText(table) << "\n";
}

const char* StateName(CatalogueState state) {
    switch (state) {
        case CatalogueState::kReadable:
            return "readable";
        case CatalogueState::kMissing:
            return "missing";
        case CatalogueState::kUnreadable:
            return "unreadable";
    }
    return "unreadable";
}

const char* KindName(ReportEntry::Kind kind) {
    switch (kind) {
        case ReportEntry::Kind::kFolder:
            return "folder";
        case ReportEntry::Kind::kStore:
            return "store";
        case ReportEntry::Kind::kFile:
            return "file";
    }
    return "file";
}

void ProblemJson(const std::string& reason, JsonWriter& json) {
    json.Key("problem");
    if (reason.empty())
        json.Null();
    else
        json.String(reason);
}

void StoreJson(const StoreContents& store, JsonWriter& json) {
    json.Key("version");
    if (store.hasVersionTable && !(store.tables.empty() && store.problem != StoreProblem::kNone))
        json.Integer(store.version);
    else
        json.Null();
    json.Key("page_size");
    if (store.pageSize != 0)
        json.Integer(store.pageSize);
    else
        json.Null();
    ProblemJson(store.reason, json);
    json.Key("tables");
    json.BeginArray();
    for (const TableRows& table : store.tables) {
        json.BeginObject(true);
        json.Key("name");
        json.String(table.name);
        json.Key("rows");
        if (table.rows)
            json.Integer(*table.rows);
        else
            json.Null();
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

fs::path CatalogueFile(const std::string& root) {
    return fs::path(root) / "database" / kCatalogueName;
}

CatalogueCheck CheckCatalogue(const StoreContents& contents) {
    CatalogueCheck check;
    check.state = CatalogueState::kUnreadable;
    if (contents.problem == StoreProblem::kMissing) {
        check.state = CatalogueState::kMissing;
        check.reason = contents.reason;
    } else if (contents.problem != StoreProblem::kNone) {
        check.reason = contents.reason;
    } else if (!contents.hasVersionTable) {
        check.reason = "not a catalogue (it has no version_info_table)";
    } else if (!HasTable(contents, "file_table")) {
        check.reason = "not a catalogue (it has no file_table)";
    } else if (contents.version == 0) {
        check.reason = "not a catalogue (its version_info_table has no version)";
    } else if (IsNewerMajorVersion(contents.version)) {
        check.reason = "of a newer major version (version " + std::to_string(contents.version) +
                       "; this build reads major version " + std::to_string(ReadableMajorVersion()) + ")";
    } else {
        check.state = CatalogueState::kReadable;
    }
    return check;
}

int RequireReadableCatalogue(const std::string& root, const Reporter& report) {
    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (!fs::exists(status)) return report.Fail(kExitNoCatalogue, root, "does not exist");
    if (!fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");
    fs::path file = CatalogueFile(root);
    CatalogueCheck check = CheckCatalogue(ReadStore(file, kBusyMilliseconds, RowCounts::kFileTableOnly));
    switch (check.state) {
        case CatalogueState::kReadable:
            return kExitOk;
        case CatalogueState::kMissing:
            return report.Fail(kExitNoCatalogue, root, "holds no catalogue (" + file.string() + " does not exist)");
        case CatalogueState::kUnreadable:
            break;
    }
    return report.Fail(kExitUnreadable, file.string(), check.reason);
}

namespace {

constexpr char kStagingName[] = "FileBasicAsync.db";
constexpr char kMemoryDataName[] = "Memory.db";
constexpr char kUsageLogName[] = "UserLog.db";

// The contents read of database/NAME: the store the folder's listing read,
// or, for an entry that is a folder, why it cannot be read (into held).
// Null when there is no such entry.
const StoreContents* FindStore(const ReportFolder& database, const std::string& root, const std::string& name,
                               StoreContents& held) {
    for (const ReportEntry& entry : database.entries) {
        if (entry.shown != "database/" + name) continue;
        if (entry.kind == ReportEntry::Kind::kStore) return &entry.store;
        held = ReadStore(fs::path(root) / "database" / name, kBusyMilliseconds, RowCounts::kEveryTable);
        return &held;
    }
    return nullptr;
}

std::optional<int64_t> RowsOf(const StoreContents& store, const std::string& table) {
    for (const TableRows& rows : store.tables)
        if (rows.name == table) return rows.rows;
    return std::nullopt;
}

StagingSummary SummariseStaging(const ReportFolder& database) {
    StagingSummary summary;
    for (const ReportEntry& entry : database.entries) {
        if (entry.kind != ReportEntry::Kind::kStore || entry.shown != std::string("database/") + kStagingName)
            continue;
        summary.present = true;
        summary.problem = entry.store.reason;
        summary.files = RowsOf(entry.store, "async_file_table");
        summary.personFaces = RowsOf(entry.store, "async_person_face_table");
        summary.petFaces = RowsOf(entry.store, "async_pet_face_table");
    }
    return summary;
}

std::string CountText(const std::optional<int64_t>& count) { return count ? std::to_string(*count) : "?"; }

void PrintStagingText(const StagingSummary& staging, std::ostream& out) {
    if (!staging.present) {
        out << "staged  (no staging store)\n";
        return;
    }
    if (!staging.problem.empty()) {
        out << "staged  (" << staging.problem << ")\n";
        return;
    }
    out << "staged  " << CountText(staging.files) << " files, " << CountText(staging.personFaces)
        << " person faces, " << CountText(staging.petFaces) << " pet faces\n";
}

void CountJson(const std::optional<int64_t>& count, JsonWriter& json) {
    if (count)
        json.Integer(*count);
    else
        json.Null();
}

void StagingJson(const StagingSummary& staging, JsonWriter& json) {
    json.BeginObject();
    json.Key("present");
    json.Bool(staging.present);
    ProblemJson(staging.problem, json);
    json.Key("files");
    CountJson(staging.files, json);
    json.Key("person_faces");
    CountJson(staging.personFaces, json);
    json.Key("pet_faces");
    CountJson(staging.petFaces, json);
    json.EndObject();
}

}  // namespace

CatalogueReport ReadCatalogueReport(const std::string& root) {
    CatalogueReport report;
    report.root = root;
    report.catalogueFile = CatalogueFile(root);
    report.folders.push_back(ReadFolder(root, "database"));
    report.folders.push_back(ReadFolder(root, "information"));
    report.shards = ReadShardReports(root);
    report.featurePoints = ReadFeaturePointReports(root);
    report.staging = SummariseStaging(report.folders[0]);
    StoreContents memoryData;
    StoreContents usageLog;
    report.memoryData = SummariseMemoryData(FindStore(report.folders[0], root, kMemoryDataName, memoryData));
    report.usageLog = SummariseUsageLog(FindStore(report.folders[0], root, kUsageLogName, usageLog));
    const ReportEntry* catalogue = nullptr;
    for (const ReportEntry& entry : report.folders[0].entries) {
        if (entry.kind == ReportEntry::Kind::kStore && entry.shown == std::string("database/") + kCatalogueName)
            catalogue = &entry;
    }
    // A catalogue that is missing or a folder is not among the stores read.
    report.catalogue = CheckCatalogue(catalogue != nullptr
                                          ? catalogue->store
                                          : ReadStore(report.catalogueFile, kBusyMilliseconds, RowCounts::kEveryTable));
    return report;
}

void PrintReportText(const CatalogueReport& report, std::ostream& out) {
    out << "catalogue root " << EscapeField(report.root) << "\n";
    for (const ReportFolder& folder : report.folders) {
        if (!folder.present) {
            out << folder.name << "/  (missing)\n";
            continue;
        }
        out << folder.name << "/\n";
        for (const ReportEntry& entry : folder.entries) {
            switch (entry.kind) {
                case ReportEntry::Kind::kFolder:
                    out << "  " << EscapeField(entry.shown) << "/\n";
                    break;
                case ReportEntry::Kind::kStore:
                    PrintStoreText(entry, out);
                    break;
                case ReportEntry::Kind::kFile:
                    out << "  " << EscapeField(entry.shown) << "\n";
                    break;
            }
        }
    }
    PrintShardsText(report.shards, out);
    PrintFeaturePointsText(report.featurePoints, out);
    PrintStagingText(report.staging, out);
    PrintLogsText(report.memoryData, report.usageLog, out);
}

void PrintReportJson(const CatalogueReport& report, std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    json.Key("root");
    json.String(report.root);
    json.Key("catalogue");
    json.BeginObject();
    json.Key("file");
    json.String(report.catalogueFile.string());
    json.Key("state");
    json.String(StateName(report.catalogue.state));
    ProblemJson(report.catalogue.reason, json);
    json.EndObject();
    json.Key("folders");
    json.BeginArray();
    for (const ReportFolder& folder : report.folders) {
        json.BeginObject();
        json.Key("name");
        json.String(folder.name);
        json.Key("present");
        json.Bool(folder.present);
        json.Key("entries");
        json.BeginArray();
        for (const ReportEntry& entry : folder.entries) {
            json.BeginObject();
            json.Key("name");
            json.String(entry.shown);
            json.Key("kind");
            json.String(KindName(entry.kind));
            if (entry.kind == ReportEntry::Kind::kStore) StoreJson(entry.store, json);
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
    json.Key("shards");
    WriteShardsJson(report.shards, json);
    json.Key("feature_points");
    WriteFeaturePointsJson(report.featurePoints, json);
    json.Key("staged");
    StagingJson(report.staging, json);
    json.Key("memory_data");
    WriteMemoryDataJson(report.memoryData, json);
    json.Key("usage_log");
    WriteUsageLogJson(report.usageLog, json);
    json.EndObject();
    json.Finish();
}

}  // namespace zandb4::tool
