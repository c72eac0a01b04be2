// The commands that work on every store of a root at once, through the
// library's database utility:
//   "zandb4 upgrade ROOT [--json]"                         bring older stores to this build's schema
//   "zandb4 compact ROOT [--catalogue-only] [--json]"      give free pages back to the file system
//   "zandb4 backup ROOT [--with-shards] [--json]"          copy the database folder aside
// Each refuses a root whose catalogue cannot be used, or one of whose stores
// belongs to a newer major version, before the library starts: starting it
// there would have nothing sensible to do.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "catalogue_report.h"
#include "commands.h"
#include "frame/com_ptr.h"
#include "json_writer.h"
#include "progress_reporter.h"
#include "result_names.h"
#include "store_reader.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};

// The single-file stores of the database folder that the utility reaches,
// in the order it upgrades them (the catalogue last).
constexpr const char* kUpgradedStores[] = {"FileBasicAsync.db", "Memory.db", "UserLog.db", "Location.db",
                                           "FileBasic.db"};

struct StoreVersion {
    std::string shown;  // "database/Location.db"
    bool present = false;
    std::optional<int64_t> version;  // none when the store cannot be read
    std::string problem;
};

std::vector<StoreVersion> ReadStoreVersions(const std::string& root) {
    std::vector<StoreVersion> versions;
    for (const char* name : kUpgradedStores) {
        StoreVersion entry;
        entry.shown = std::string("database/") + name;
        const fs::path file = fs::path(root) / "database" / name;
        std::error_code error;
        entry.present = fs::exists(file, error);
        if (entry.present) {
            StoreContents contents = ReadStore(file, kBusyMilliseconds, RowCounts::kFileTableOnly);
            if (contents.problem == StoreProblem::kNone)
                entry.version = contents.version;
            else
                entry.problem = contents.reason;
        }
        versions.push_back(std::move(entry));
    }
    return versions;
}

// The catalogue must be usable, and no store may be of a newer major
// version. Answers the exit code (kExitOk when the root can be worked on).
int RequireWorkableRoot(const std::string& root, const Reporter& report, std::vector<StoreVersion>* versions) {
    int readable = RequireReadableCatalogue(root, report);
    if (readable != kExitOk) return readable;
    std::vector<StoreVersion> read = ReadStoreVersions(root);
    for (const StoreVersion& store : read)
        if (store.version && IsNewerMajorVersion(*store.version))
            return report.Fail(kExitUnreadable, (fs::path(root) / store.shown).string(),
                               "of version " + std::to_string(*store.version) +
                                   ", made by a newer major version of the library than this one");
    if (versions != nullptr) *versions = std::move(read);
    return kExitOk;
}

// The library started for writing on root, stopped again when this goes.
class WritingStart {
public:
    explicit WritingStart(const std::string& root) {
        CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
        m_result = ZanDB4_Initialize(wideRoot.GetString());
    }
    ~WritingStart() { ZanDB4_Finalize(); }
    WritingStart(const WritingStart&) = delete;
    WritingStart& operator=(const WritingStart&) = delete;
    HRESULT Result() const { return m_result; }

private:
    HRESULT m_result;
};

// Starts the library and makes the utility; reports and answers the exit
// code on failure.
int MakeUtility(const std::string& root, const Reporter& report, const WritingStart& start,
                ComPtr<IZanDB4DBUtility>& utility) {
    if (start.Result() != S_OK)
        return report.Fail(kExitLibraryFailed, root, "the library could not start: " + DescribeResult(start.Result()));
    HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(utility.Receive()));
    if (made != S_OK || !utility)
        return report.Fail(kExitLibraryFailed, root, "no database utility: " + DescribeResult(made));
    return kExitOk;
}

void WriteVersionJson(const std::optional<int64_t>& version, JsonWriter& json) {
    if (version)
        json.Integer(*version);
    else
        json.Null();
}

std::string VersionText(const StoreVersion& store) {
    if (!store.present) return "missing";
    if (!store.version) return "unreadable (" + store.problem + ")";
    return std::to_string(*store.version);
}

// ---- upgrade ----

constexpr OptionSpec kUpgradeOptions[] = {
    {"--json", "", false, "print the versions before and after as one JSON object"},
};

// The utility reports on a scale that is not continuous: up to 50 while the
// points of an old GPS log store are migrated, then its total, which is 100,
// or 200 when that store had to be rebuilt first. A new bar starts when the
// total changes.
struct UpgradeProgress {
    std::ostream& err;
    bool terminal;
    std::unique_ptr<ProgressReporter> bar;
    uint32_t total = 0;

    static void Report(uint32_t current, uint32_t total, void* context) {
        auto* self = static_cast<UpgradeProgress*>(context);
        if (!self->bar || total != self->total) {
            if (self->bar) self->bar->Finish();
            self->total = total;
            self->bar = std::make_unique<ProgressReporter>(self->err, self->terminal, "upgrade", total);
        }
        self->bar->Update(current);
    }
    void Finish() {
        if (bar) bar->Finish();
    }
};

int RunUpgrade(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::vector<StoreVersion> before;
    int workable = RequireWorkableRoot(root, report, &before);
    if (workable != kExitOk) return workable;

    uint32_t current = 0;
    {
        WritingStart start(root);
        ComPtr<IZanDB4DBUtility> utility;
        int made = MakeUtility(root, report, start, utility);
        if (made != kExitOk) return made;
        utility->GetDBVersion(nullptr, &current);
        UpgradeProgress progress{invocation.err, invocation.errIsTerminal, nullptr};
        // The utility answers S_OK whatever a store did; what changed shows
        // in the versions read afterwards.
        utility->UpgradeDatabases(&UpgradeProgress::Report, &progress);
        progress.Finish();
    }
    std::vector<StoreVersion> after = ReadStoreVersions(root);

    // A store that is there and still behind after the upgrade is a failure:
    // the memory data store excepted, which the library never upgrades.
    std::vector<std::string> behind;
    for (const StoreVersion& store : after)
        if (store.present && store.shown != "database/Memory.db" &&
            (!store.version || *store.version < static_cast<int64_t>(current)))
            behind.push_back(store.shown);

    if (invocation.Has("--json")) {
        JsonWriter json(invocation.out);
        json.BeginObject();
        json.Key("current_version");
        json.Unsigned(current);
        json.Key("stores");
        json.BeginArray();
        for (size_t i = 0; i < before.size(); ++i) {
            json.BeginObject(true);
            json.Key("store");
            json.String(before[i].shown);
            json.Key("present");
            json.Bool(after[i].present);
            json.Key("before");
            WriteVersionJson(before[i].version, json);
            json.Key("after");
            WriteVersionJson(after[i].version, json);
            json.EndObject();
        }
        json.EndArray();
        json.Key("behind");
        json.BeginArray();
        for (const std::string& shown : behind) json.String(shown);
        json.EndArray();
        json.EndObject();
        json.Finish();
    } else {
        for (size_t i = 0; i < before.size(); ++i) {
            invocation.out << before[i].shown << ": " << VersionText(before[i]);
            if (VersionText(after[i]) != VersionText(before[i])) invocation.out << " -> " << VersionText(after[i]);
            invocation.out << "\n";
        }
        invocation.out << "(this build writes version " << current
                       << "; the memory data store keeps the version it has)\n";
    }
    if (!behind.empty())
        return report.Fail(kExitLibraryFailed, (fs::path(root) / behind.front()).string(),
                           "still behind version " + std::to_string(current) + " after the upgrade");
    return kExitOk;
}

// ---- compact ----

constexpr OptionSpec kCompactOptions[] = {
    {"--catalogue-only", "", false, "compact only the catalogue, not its shard files"},
    {"--json", "", false, "print the sizes before and after as one JSON object"},
};

// The bytes of every file under root/database.
uintmax_t DatabaseBytes(const std::string& root) {
    uintmax_t total = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(fs::path(root) / "database", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code sizeError;
        if (entry->is_regular_file(sizeError)) {
            uintmax_t size = entry->file_size(sizeError);
            if (!sizeError) total += size;
        }
    }
    return total;
}

int RunCompact(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    int workable = RequireWorkableRoot(root, report, nullptr);
    if (workable != kExitOk) return workable;
    const bool all = !invocation.Has("--catalogue-only");
    const uintmax_t bytesBefore = DatabaseBytes(root);
    HRESULT result = E_FAIL;
    {
        WritingStart start(root);
        ComPtr<IZanDB4DBUtility> utility;
        int made = MakeUtility(root, report, start, utility);
        if (made != kExitOk) return made;
        // One call with no progress of its own: a line says what is going on.
        invocation.err << "zandb4 compact: compacting " << (all ? "the catalogue and its shard files" : "the catalogue")
                       << "...\n";
        result = utility->CompactDatabases(all ? 1 : 0);
    }
    const uintmax_t bytesAfter = DatabaseBytes(root);
    if (invocation.Has("--json")) {
        JsonWriter json(invocation.out);
        json.BeginObject();
        json.Key("result");
        json.String(DescribeResult(result));
        json.Key("shards");
        json.Bool(all);
        json.Key("bytes_before");
        json.Unsigned(bytesBefore);
        json.Key("bytes_after");
        json.Unsigned(bytesAfter);
        json.EndObject();
        json.Finish();
    } else {
        invocation.out << "database folder: " << bytesBefore << " bytes before, " << bytesAfter << " bytes after\n";
    }
    if (result != S_OK)
        return report.Fail(kExitLibraryFailed, root,
                           "compacting failed (" + DescribeResult(result) + "); the stores after the failing one "
                           "were left as they were");
    return kExitOk;
}

// ---- backup ----

constexpr OptionSpec kBackupOptions[] = {
    {"--with-shards", "", false, "copy the shard folders too, not only the files of the database folder"},
    {"--json", "", false, "print where the backup went and what it holds as one JSON object"},
};

struct FolderSize {
    uintmax_t files = 0;
    uintmax_t bytes = 0;
};

FolderSize SizeOf(const fs::path& folder) {
    FolderSize size;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code sizeError;
        if (entry->is_regular_file(sizeError)) {
            ++size.files;
            uintmax_t bytes = entry->file_size(sizeError);
            if (!sizeError) size.bytes += bytes;
        }
    }
    return size;
}

int RunBackup(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    int workable = RequireWorkableRoot(root, report, nullptr);
    if (workable != kExitOk) return workable;
    const bool withShards = invocation.Has("--with-shards");
    // The library's own places: "database-backup" beside the database
    // folder, and the generation before it under the same name with "2".
    const fs::path backup = fs::path(root) / "database-backup";
    const fs::path previous = fs::path(root) / "database-backup2";
    std::error_code error;
    if (fs::exists(backup, error) && !fs::is_directory(backup, error))
        return report.Fail(kExitCannotWrite, backup.string(), "is a file, not a folder; move it away first");

    HRESULT result = E_FAIL;
    {
        WritingStart start(root);
        ComPtr<IZanDB4DBUtility> utility;
        int made = MakeUtility(root, report, start, utility);
        if (made != kExitOk) return made;
        invocation.err << "zandb4 backup: copying the database folder" << (withShards ? " with its shard folders" : "")
                       << "...\n";
        result = utility->BackupDatabases(nullptr, withShards ? 1 : 0);
    }
    if (result != S_OK)
        return report.Fail(kExitCannotWrite, backup.string(),
                           "the backup failed (" + DescribeResult(result) + "); what was copied is partial");
    const FolderSize copied = SizeOf(backup);
    const bool hasPrevious = fs::is_directory(previous, error);
    if (invocation.Has("--json")) {
        JsonWriter json(invocation.out);
        json.BeginObject();
        json.Key("backup");
        json.String(backup.string());
        json.Key("files");
        json.Unsigned(copied.files);
        json.Key("bytes");
        json.Unsigned(copied.bytes);
        json.Key("shards");
        json.Bool(withShards);
        json.Key("previous");
        if (hasPrevious)
            json.String(previous.string());
        else
            json.Null();
        json.EndObject();
        json.Finish();
    } else {
        invocation.out << "backup: " << backup.string() << " (" << copied.files << " files, " << copied.bytes
                       << " bytes" << (withShards ? ", shard folders included" : ", without shard folders") << ")\n";
        if (hasPrevious) invocation.out << "the backup before it: " << previous.string() << "\n";
    }
    return kExitOk;
}

}  // namespace

const Command& UpgradeCommand() {
    static const Command command{
        "upgrade",
        "bring every store under ROOT to the schema of this build",
        kOperands,
        kUpgradeOptions,
        "Runs the library's upgrade over the stores under ROOT: staging, the usage log,\n"
        "the GPS log store (whose points of an old layout get their UTC dates on the way)\n"
        "and the catalogue last, each that is behind. Prints each store's version before\n"
        "and after. The memory data store keeps its version: the library never upgrades it.\n"
        "A progress bar shows on a terminal. Refuses a root one of whose stores is of a\n"
        "newer major version (exit code 4). Exit code 3 when a store is still behind\n"
        "afterwards. Running it again on an upgraded root changes nothing.",
        RunUpgrade,
    };
    return command;
}

const Command& CompactCommand() {
    static const Command command{
        "compact",
        "give the free pages of the catalogue and its shard files back to the file system",
        kOperands,
        kCompactOptions,
        "Compacts (VACUUM) the catalogue under ROOT and, unless --catalogue-only, its\n"
        "thumbnail, large metadata and feature point shard files, holding the catalogue's\n"
        "lock. Staging, the GPS, memory data, usage and application logs are not\n"
        "compacted here. Prints the bytes of the database folder before and after. The\n"
        "first failure ends the run (exit code 3); the stores after it stay as they were.",
        RunCompact,
    };
    return command;
}

const Command& BackupCommand() {
    static const Command command{
        "backup",
        "copy the database folder under ROOT aside, keeping the backup before it",
        kOperands,
        kBackupOptions,
        "Copies the files of ROOT/database (the single-file stores and their journals),\n"
        "and with --with-shards also its shard folders, into ROOT/database-backup. A\n"
        "backup already there moves to ROOT/database-backup2 first, replacing the one\n"
        "there: two generations are kept. The stores are copied as they stand on disk,\n"
        "so run it while no application works on ROOT. Exit code 5 when the backup\n"
        "folder cannot be written (it is a file, or the disk is full or read-only); what\n"
        "was copied until then is partial.",
        RunBackup,
    };
    return command;
}

}  // namespace zandb4::tool
