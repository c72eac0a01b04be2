// What the zandb4 tool knows about a catalogue root: whether its catalogue
// can be used, and the report of "init" and "info" (its folders and store
// files, each store with its schema version, page size and row counts, or
// the reason it cannot be read, and the shard files and rows of each shard
// folder), in text or JSON. Everything here only
// reads: store files are opened read-only and nothing is made.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "command.h"
#include "feature_point_report.h"
#include "logs_report.h"
#include "shard_report.h"
#include "store_reader.h"

namespace zandb4::tool {

// How long a command waits for another process's lock on a store before it
// reports the store as locked.
inline constexpr int kBusyMilliseconds = 2000;

// ROOT/database/FileBasic.db
std::filesystem::path CatalogueFile(const std::string& root);

enum class CatalogueState { kReadable, kMissing, kUnreadable };

struct CatalogueCheck {
    CatalogueState state = CatalogueState::kMissing;
    std::string reason;  // plain words; empty when readable
};

// Whether the catalogue read into contents can be used by this build: it is
// there, readable, has version_info_table with a version row and file_table,
// and is of no newer major version.
CatalogueCheck CheckCatalogue(const StoreContents& contents);

// For the commands that read a catalogue: ROOT must be a folder whose
// catalogue is readable. Reports what is not so (naming the folder or file
// and the reason) and answers its exit code; kExitOk when all is well.
int RequireReadableCatalogue(const std::string& root, const Reporter& report);

struct ReportEntry {
    enum class Kind { kFolder, kStore, kFile };
    std::string shown;  // "database/FileBasic.db"
    Kind kind = Kind::kFile;
    StoreContents store;  // for kStore
};

struct ReportFolder {
    std::string name;  // "database"
    bool present = false;
    std::vector<ReportEntry> entries;  // sorted by name
};

// What waits in the staging store (database/FileBasicAsync.db) to move into
// the catalogue: each count is absent when the store or its table cannot be
// read.
struct StagingSummary {
    bool present = false;
    std::string problem;  // plain words; empty when the store was read
    std::optional<int64_t> files;
    std::optional<int64_t> personFaces;
    std::optional<int64_t> petFaces;
};

struct CatalogueReport {
    std::string root;
    std::filesystem::path catalogueFile;
    CatalogueCheck catalogue;
    std::vector<ReportFolder> folders;  // database, information
    std::vector<ShardFolderReport> shards;
    std::vector<FeaturePointSetReport> featurePoints;
    StagingSummary staging;
    MemoryDataSummary memoryData;
    UsageLogSummary usageLog;
};

// Reads root/database and root/information; every ".db" file is read as a
// store, counting the rows of each of its tables. Then counts the shard
// files and rows of every shard folder under root/database, and the shard
// files and points of every feature point set. The staging, memory data and
// usage log summaries come from the stores read.
CatalogueReport ReadCatalogueReport(const std::string& root);

// One line per folder, per entry, and per table of a store; names escaped
// as tab-separated fields are.
void PrintReportText(const CatalogueReport& report, std::ostream& out);
void PrintReportJson(const CatalogueReport& report, std::ostream& out);

}  // namespace zandb4::tool
