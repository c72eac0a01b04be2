// Counting the shard files and points of each feature point set.
#include "feature_point_report.h"

#include <system_error>

#include "catalogue_report.h"
#include "read_statement.h"
#include "shard_reader.h"
#include "store_reader.h"
#include "text_output.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

struct SetName {
    const char* family;
    const char* set;
    const char* folder;
    bool working;
};

constexpr SetName kSets[] = {
    {"rfp", "working", "rfpw", true}, {"rfp", "group", "rfpg", false}, {"rfp", "individual", "rfpi", false},
    {"tfp", "working", "tfpw", true}, {"tfp", "group", "tfpg", false}, {"tfp", "individual", "tfpi", false},
};

// The working index marks removed points; the blob table of the other sets
// has only live ones.
constexpr WCHAR kCountLive[] = u"SELECT COUNT(*) FROM face_feature_table WHERE remove=0";
constexpr WCHAR kCountRemoved[] = u"SELECT COUNT(*) FROM face_feature_table WHERE remove!=0";
constexpr WCHAR kCountPoints[] = u"SELECT COUNT(*) FROM face_feature_point_table";

// The one number of a COUNT statement, or false.
bool CountOf(sqlite3* db, const WCHAR* sql, int64_t& count) {
    ReadStatement statement(db, sql);
    if (!statement.IsPrepared() || statement.Step() != SQLITE_ROW) return false;
    count = statement.ColumnInt64(0);
    return statement.Finalize() == SQLITE_OK;
}

void CountShard(const fs::path& file, const std::string& shown, bool working, FeaturePointSetReport& report) {
    ++report.shards;
    // The store's own check first: a file that is no database, damaged or
    // locked is told so in the same words as everywhere in the report.
    StoreContents store = ReadStore(file, kBusyMilliseconds, RowCounts::kEveryTable);
    if (store.problem != StoreProblem::kNone) {
        report.unreadable.push_back({shown, store.reason});
        return;
    }
    ReadOnlyConnection connection(file, kBusyMilliseconds);
    int64_t live = 0;
    int64_t removed = 0;
    bool counted = working ? CountOf(connection.Handle(), kCountLive, live) &&
                                 CountOf(connection.Handle(), kCountRemoved, removed)
                           : CountOf(connection.Handle(), kCountPoints, live);
    if (!counted) {
        report.unreadable.push_back(
            {shown, std::string("not a feature point shard of this folder (it has no ") +
                        (working ? "face_feature_table" : "face_feature_point_table") + ")"});
        return;
    }
    report.live += live;
    report.removed += removed;
}

FeaturePointSetReport ReadSet(const fs::path& database, const SetName& name) {
    FeaturePointSetReport report;
    report.family = name.family;
    report.set = name.set;
    report.shown = std::string("database/") + name.folder;
    fs::path folder = database / name.folder;
    std::error_code error;
    fs::file_status status = fs::status(folder, error);
    if (!fs::exists(status)) return report;
    report.present = true;
    if (!fs::is_directory(status)) {
        report.problem = "is not a folder";
        return report;
    }
    fs::directory_iterator listing(folder, error);
    if (error) {
        report.problem = "cannot be listed (" + error.message() + ")";
        return report;
    }
    for (const std::string& file : ShardFileNames(folder)) {
        // A working shard's blobs lie in its companion "_" + name; the index
        // file counts the points.
        if (name.working && !file.empty() && file[0] == '_') continue;
        CountShard(folder / file, report.shown + "/" + file, name.working, report);
    }
    return report;
}

std::string Counted(int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

std::vector<FeaturePointSetReport> ReadFeaturePointReports(const fs::path& root) {
    fs::path database = root / "database";
    std::vector<FeaturePointSetReport> reports;
    for (const SetName& name : kSets) reports.push_back(ReadSet(database, name));
    return reports;
}

void PrintFeaturePointsText(const std::vector<FeaturePointSetReport>& sets, std::ostream& out) {
    out << "feature point sets\n";
    for (const FeaturePointSetReport& set : sets) {
        out << "  " << EscapeField(set.shown) << "  " << set.family << " " << set.set << ": ";
        if (!set.present) {
            out << "missing\n";
            continue;
        }
        if (!set.problem.empty()) {
            out << set.problem << "\n";
            continue;
        }
        out << Counted(set.shards, "shard file", "shard files") << ", "
            << Counted(set.live, "live point", "live points");
        if (set.set == "working") out << ", " << Counted(set.removed, "removed point", "removed points");
        if (!set.unreadable.empty())
            out << "; " << set.unreadable.size() << " unreadable, "
                << (set.unreadable.size() == 1 ? "its points" : "their points") << " not counted";
        out << "\n";
        PrintUnreadableShardsText(set.unreadable, out);
    }
}

void WriteFeaturePointsJson(const std::vector<FeaturePointSetReport>& sets, JsonWriter& json) {
    json.BeginArray();
    for (const FeaturePointSetReport& set : sets) {
        json.BeginObject();
        json.Key("family");
        json.String(set.family);
        json.Key("set");
        json.String(set.set);
        json.Key("folder");
        json.String(set.shown);
        json.Key("present");
        json.Bool(set.present);
        json.Key("problem");
        if (set.problem.empty())
            json.Null();
        else
            json.String(set.problem);
        // Counts of a folder that could not be listed are unknown, not 0.
        bool counted = set.problem.empty();
        json.Key("shards");
        WriteCountOrNull(counted, set.shards, json);
        json.Key("live");
        WriteCountOrNull(counted, set.live, json);
        json.Key("removed");
        WriteCountOrNull(counted && set.set == "working", set.removed, json);
        json.Key("unreadable");
        WriteUnreadableShardsJson(set.unreadable, json);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace zandb4::tool
