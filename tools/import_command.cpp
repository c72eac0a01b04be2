// "zandb4 import ROOT FOLDER... [--recursive] [--batch N] [--json]": adds the
// pictures and movies of folders to the catalogue the way an application
// does, through the public file manager: each file is looked up by path,
// its metadata read, and it is staged with AddFile and its embedded preview
// stored as its thumbnail; every batch of files is then committed into the
// catalogue. Ctrl-C stops after the file at hand and rolls back the batch
// that was not committed yet.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "catalogue_report.h"
#include "commands.h"
#include "deferred_notes.h"
#include "json_writer.h"
#include "media_files.h"
#include "media_metadata.h"
#include "progress_reporter.h"
#include "result_names.h"
#include "staging_commit.h"
#include "volume_serial.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT", "FOLDER..."};
constexpr OptionSpec kOptions[] = {
    {"--recursive", "", false, "also import the files of every subfolder, all the way down"},
    {"--batch", "N", false, "commit after every N files added (default 1000)"},
    {"--json", "", false, "print the summary as one JSON object"},
};

constexpr uint64_t kDefaultBatch = 1000;
constexpr uint64_t kMostBatch = 1000000;
// The import class kept with each file's import date: files taken from
// folders, as opposed to a camera.
constexpr uint32_t kFolderImportClass = 1;
// manage of a file the catalogue looks after (item groups are 2).
constexpr uint32_t kManagedFile = 1;
// Commit flags of the file manager.
constexpr uint32_t kCommitStagingAndThumbnails = 4;
constexpr uint32_t kMoveAndCommitCatalogue = 2 | 1;
constexpr uint32_t kRollbackEverything = 1 | 2;
constexpr uint32_t kThumbnailKind = 1;

volatile std::sig_atomic_t g_stopRequested = 0;

extern "C" void RequestStop(int) {
    g_stopRequested = 1;
}

// Ctrl-C (and SIGTERM) only ask the import to stop for as long as it runs;
// the former handlers come back after it.
class StopOnSignals {
public:
    StopOnSignals() {
        g_stopRequested = 0;
        struct sigaction action {};
        action.sa_handler = RequestStop;
        // Reads under way go on, so the file at hand is read whole and the
        // request is seen after it.
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_oldInterrupt);
        sigaction(SIGTERM, &action, &m_oldTerminate);
    }
    ~StopOnSignals() {
        sigaction(SIGINT, &m_oldInterrupt, nullptr);
        sigaction(SIGTERM, &m_oldTerminate, nullptr);
    }
    StopOnSignals(const StopOnSignals&) = delete;
    StopOnSignals& operator=(const StopOnSignals&) = delete;

private:
    struct sigaction m_oldInterrupt {};
    struct sigaction m_oldTerminate {};
};

// One reference of a library object, given back at the end of its scope.
template <class T>
class Held {
public:
    Held() = default;
    ~Held() {
        if (m_object != nullptr) m_object->Release();
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    // For ZanDB4_CreateInstance's out argument.
    void** Out() { return reinterpret_cast<void**>(&m_object); }

private:
    T* m_object = nullptr;
};

template <class T>
HRESULT Make(const IID& id, Held<T>& object) {
    return ZanDB4_CreateInstance(&id, object.Out());
}

SYSTEMTIME FromMediaDate(const MediaDate& date) {
    SYSTEMTIME time{};
    time.wYear = date.year;
    time.wMonth = date.month;
    time.wDay = date.day;
    time.wHour = date.hour;
    time.wMinute = date.minute;
    time.wSecond = date.second;
    return time;
}

// Local time, as cameras write their dates.
SYSTEMTIME LocalTime(std::time_t seconds) {
    std::tm parts{};
    localtime_r(&seconds, &parts);
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(parts.tm_year + 1900);
    time.wMonth = static_cast<uint16_t>(parts.tm_mon + 1);
    time.wDayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time.wDay = static_cast<uint16_t>(parts.tm_mday);
    time.wHour = static_cast<uint16_t>(parts.tm_hour);
    time.wMinute = static_cast<uint16_t>(parts.tm_min);
    time.wSecond = static_cast<uint16_t>(parts.tm_sec);
    return time;
}

uint16_t Clamp16(uint32_t value) {
    return static_cast<uint16_t>(value > 0xFFFF ? 0xFFFF : value);
}

// The altitude column holds millimetres (negative below sea level) as one
// signed 64-bit value, which the metadata record takes in two halves: the
// low half signed, the high half what is left above it.
void SetAltitude(IZanDB4FileMetaDBRecord* meta, double metres) {
    auto millimetres = static_cast<int64_t>(std::llround(metres * 1000));
    auto low = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(millimetres)));
    auto high = static_cast<int32_t>((millimetres - low) / (int64_t{1} << 32));
    meta->SetGPSAltitude(high, low);
}

struct Unreadable {
    std::string file;
    std::string reason;
};

struct Summary {
    uint64_t found = 0;         // files of the kinds taken
    uint64_t looked = 0;        // of them, files gone through
    uint64_t added = 0;         // committed into the catalogue
    uint64_t alreadyThere = 0;  // in the catalogue before (by path and volume)
    uint64_t rolledBack = 0;    // staged but dropped at an interruption
    uint64_t otherFiles = 0;    // not pictures or movies
    std::vector<Unreadable> unreadable;
    bool interrupted = false;
    double seconds = 0;
};

// What a file is, read from the file system and its metadata.
struct FileFacts {
    uint64_t size = 0;
    std::time_t modified = 0;
    MediaMetadata metadata;
    std::string metadataProblem;  // why the metadata could not be read, if so
};


// Opens the file as the import reads it; an empty answer when it can be
// read, else the reason.
std::string ReadFacts(const std::string& path, const MediaKind& kind, FileFacts& facts) {
    int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return std::strerror(errno);
    struct stat status {};
    int statted = fstat(descriptor, &status);
    int statError = errno;
    close(descriptor);
    if (statted != 0) return std::strerror(statError);
    facts.size = static_cast<uint64_t>(status.st_size);
    facts.modified = status.st_mtim.tv_sec;
    MediaRead read = ReadMediaMetadata(path);
    if (read.recognised) {
        facts.metadata = std::move(read.metadata);
        facts.metadataProblem = std::move(read.metadataProblem);
    } else if (kind.mustBeRecognised) {
        return "not a readable " + std::string(kind.extension) + " file (" + read.problem + ")";
    }
    return "";
}

class Importer {
public:
    Importer(IZanDB4FileDBMgr* manager, uint64_t batch, Summary& summary)
        : m_manager(manager), m_batch(batch), m_summary(summary), m_importDate(LocalTime(std::time(nullptr))) {}

    // Takes one file. A failure of the library's stores answers its result;
    // a file that cannot be read is counted and answers S_OK.
    HRESULT Import(const std::string& path, DeferredNotes& notes) {
        const std::string name = fs::path(path).filename().string();
        const MediaKind* kind = MediaKindOf(name);
        if (kind == nullptr) return S_OK;
        const uint32_t diskVsn = VolumeSerialOf(path);
        CZanTString widePath = CZanTString::FromUtf8(path.c_str());
        uint64_t existing = 0;
        if (m_manager->FindFileByPath(&existing, nullptr, diskVsn, widePath.GetString()) == S_OK) {
            ++m_summary.alreadyThere;
            return S_OK;
        }
        FileFacts facts;
        std::string problem = ReadFacts(path, *kind, facts);
        if (!problem.empty()) {
            notes.Add(path + ": skipped: " + problem);
            m_summary.unreadable.push_back({path, problem});
            return S_OK;
        }
        if (!facts.metadataProblem.empty())
            notes.Add(path + ": its metadata cannot be read (" + facts.metadataProblem + "); taken without it");
        return Add(path, widePath, name, diskVsn, *kind, facts);
    }

    // Commits the files staged since the last commit: staging and their
    // thumbnails first, then the move into the catalogue, which turns away
    // a file whose path the catalogue holds by then.
    HRESULT CommitBatch() {
        if (m_staged == 0) return S_OK;
        HRESULT staged = m_manager->Commit(kCommitStagingAndThumbnails);
        if (staged != S_OK) return staged;
        StagingCommitOutcome moved = CommitStaging(kMoveAndCommitCatalogue);
        if (moved.result != S_OK && moved.result != S_FALSE) return moved.result;
        m_summary.alreadyThere += moved.failed.size();
        m_summary.added += m_staged - moved.failed.size();
        m_staged = 0;
        return S_OK;
    }

    // Drops what was staged since the last commit.
    HRESULT RollBack() {
        m_summary.rolledBack += m_staged;
        m_staged = 0;
        return m_manager->Rollback(kRollbackEverything);
    }

    bool BatchFull() const { return m_staged >= m_batch; }

private:
    HRESULT Add(const std::string& path, const CZanTString& widePath, const std::string& name, uint32_t diskVsn,
                const MediaKind& kind, const FileFacts& facts) {
        Held<IZanDB4FileDBRecord> record;
        Held<IZanDB4FileMetaDBRecord> meta;
        HRESULT made = Make(IID_IZanDB4FileDBRecord, record);
        if (made == S_OK) made = Make(IID_IZanDB4FileMetaDBRecord, meta);
        if (made != S_OK) return made;
        const MediaMetadata& metadata = facts.metadata;
        const SYSTEMTIME modified = LocalTime(facts.modified);
        // A file that states no shooting date is dated by its last change.
        const SYSTEMTIME shot = metadata.shootingDate ? FromMediaDate(*metadata.shootingDate) : modified;
        CZanTString wideName = CZanTString::FromUtf8(name.c_str());
        record->SetFilePath(widePath.GetString(), &diskVsn);
        record->SetFileName(wideName.GetString());
        record->SetFileFormat(&kind.format);
        record->SetShootingDate(&shot);
        record->SetManage(&kManagedFile);
        if (metadata.latitude && metadata.longitude) {
            float latitude = static_cast<float>(*metadata.latitude);
            float longitude = static_cast<float>(*metadata.longitude);
            record->SetGPS(&latitude, &longitude);
        }
        if (metadata.orientation != 0) record->SetThumbnailOrientation(&metadata.orientation);
        if (metadata.preview) {
            uint16_t width = Clamp16(metadata.preview->width), height = Clamp16(metadata.preview->height);
            record->SetThumbnailSize(&width, &height);
        }
        meta->SetFileSize(facts.size);
        meta->SetFileUpdateDate(&modified);
        meta->SetImportDate(&m_importDate, kFolderImportClass);
        meta->SetPixelSize(metadata.width, metadata.height);
        if (!metadata.model.empty()) {
            CZanTString model = CZanTString::FromUtf8(metadata.model.c_str());
            meta->SetModelInfo(model.GetString(), 0, 0, 0, 0, 0);
        }
        if (metadata.altitude) SetAltitude(meta.Get(), *metadata.altitude);
        record->AttachMetaRecord(meta.Get());

        uint64_t fileId = 0;
        HRESULT added = m_manager->AddFile(record.Get(), &fileId);
        if (added != S_OK) return added;
        ++m_staged;
        if (metadata.preview) {
            const std::string& bytes = metadata.preview->bytes;
            HRESULT stored =
                m_manager->AddThumbnail(fileId, kThumbnailKind, bytes.data(), static_cast<uint32_t>(bytes.size()));
            if (stored != S_OK) return stored;
        }
        return S_OK;
    }

    IZanDB4FileDBMgr* m_manager;
    uint64_t m_batch;
    Summary& m_summary;
    SYSTEMTIME m_importDate;
    uint64_t m_staged = 0;  // staged since the last commit
};

void PrintSummaryText(const Summary& summary, std::ostream& out) {
    out << "added " << summary.added << " files\n";
    out << "already in the catalogue " << summary.alreadyThere << " files\n";
    out << "unreadable " << summary.unreadable.size() << " files (skipped)\n";
    for (const Unreadable& file : summary.unreadable) out << "  " << file.file << ": " << file.reason << "\n";
    if (summary.otherFiles > 0) out << "not pictures or movies " << summary.otherFiles << " files (not taken)\n";
    if (summary.interrupted)
        out << "interrupted after " << summary.looked << " of " << summary.found << " files; " << summary.rolledBack
            << " files not yet committed were rolled back\n";
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.1f", summary.seconds > 0 ? summary.looked / summary.seconds : 0.0);
    out << summary.looked << " files in " << std::to_string(static_cast<int64_t>(summary.seconds * 1000)) << " ms ("
        << rate << " files/s)\n";
}

void PrintSummaryJson(const std::string& root, const Summary& summary, std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    json.Key("root");
    json.String(root);
    json.Key("found");
    json.Unsigned(summary.found);
    json.Key("added");
    json.Unsigned(summary.added);
    json.Key("already");
    json.Unsigned(summary.alreadyThere);
    json.Key("unreadable");
    json.BeginArray();
    for (const Unreadable& file : summary.unreadable) {
        json.BeginObject(true);
        json.Key("file");
        json.String(file.file);
        json.Key("reason");
        json.String(file.reason);
        json.EndObject();
    }
    json.EndArray();
    json.Key("other");
    json.Unsigned(summary.otherFiles);
    json.Key("interrupted");
    json.Bool(summary.interrupted);
    json.Key("rolled_back");
    json.Unsigned(summary.rolledBack);
    json.Key("milliseconds");
    json.Unsigned(static_cast<uint64_t>(summary.seconds * 1000));
    json.EndObject();
    json.Finish();
}

// The folder as an absolute path without a trailing separator, or the
// reason it cannot be imported from.
std::string CheckFolder(const std::string& operand, std::string& absolute) {
    std::error_code error;
    fs::path path = fs::absolute(operand, error).lexically_normal();
    if (error) return error.message();
    std::string text = path.string();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    absolute = text;
    fs::file_status status = fs::status(text, error);
    if (error || !fs::exists(status)) return "no such folder";
    if (!fs::is_directory(status)) return "not a folder";
    return "";
}

int RunImport(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    uint64_t batch = kDefaultBatch;
    if (invocation.Has("--batch")) {
        const std::string& text = invocation.Values("--batch").front();
        bool digits = !text.empty() && text.size() <= 7 && text.find_first_not_of("0123456789") == std::string::npos;
        batch = digits ? std::stoull(text) : 0;
        if (batch == 0 || batch > kMostBatch)
            return report.UsageError("bad batch size '" + text + "': must be a number from 1 to " +
                                     std::to_string(kMostBatch));
    }
    std::vector<std::string> folders;
    for (size_t i = 1; i < invocation.operands.size(); ++i) {
        std::string absolute;
        std::string problem = CheckFolder(invocation.operands[i], absolute);
        if (!problem.empty()) return report.Fail(kExitNoCatalogue, invocation.operands[i], problem);
        folders.push_back(absolute);
    }
    int readable = RequireReadableCatalogue(root, report);
    if (readable != kExitOk) return readable;

    Summary summary;
    FolderWalk walk = WalkFolders(folders, invocation.Has("--recursive"));
    summary.found = walk.files.size();
    summary.otherFiles = walk.otherFiles;
    DeferredNotes notes(report, invocation.errIsTerminal);
    for (auto& [place, reason] : walk.unreadable) {
        notes.Add(place + ": skipped: " + reason);
        summary.unreadable.push_back({place, reason});
    }

    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        ZanDB4_Finalize();
        return report.Fail(kExitLibraryFailed, root, "the library could not start: " + DescribeResult(started));
    }
    SilenceMetadataWarnings();
    // Speed and time left count from here: the files themselves.
    const auto start = std::chrono::steady_clock::now();
    auto seconds = [start] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
    HRESULT failure = S_OK;
    // What the catalogue refused: the file added, or a commit.
    std::string failedAt, failedStep;
    {
        Held<IZanDB4FileDBMgr> manager;
        HRESULT made = Make(IID_IZanDB4FileDBMgr, manager);
        if (made != S_OK) {
            ZanDB4_Finalize();
            return report.Fail(kExitLibraryFailed, root, "no file manager: " + DescribeResult(made));
        }
        StopOnSignals stopOnSignals;
        Importer importer(manager.Get(), batch, summary);
        ProgressReporter progress(invocation.err, invocation.errIsTerminal, "import", summary.found);
        progress.ShowRate("files", seconds);
        for (const std::string& file : walk.files) {
            if (g_stopRequested) break;
            failure = importer.Import(file, notes);
            if (failure == S_OK) {
                ++summary.looked;
                if (importer.BatchFull()) failure = importer.CommitBatch();
                if (failure != S_OK) {
                    failedAt = CatalogueFile(root).string();
                    failedStep = "the commit of a batch failed";
                }
            } else {
                failedAt = file;
                failedStep = "the catalogue did not take it";
            }
            if (failure != S_OK) break;
            progress.Update(summary.looked);
        }
        summary.interrupted = g_stopRequested != 0 && failure == S_OK && summary.looked < summary.found;
        if (failure == S_OK && !summary.interrupted) {
            failure = importer.CommitBatch();
            if (failure != S_OK) {
                failedAt = CatalogueFile(root).string();
                failedStep = "the last commit failed";
            }
        }
        if (failure != S_OK || summary.interrupted) importer.RollBack();
        progress.Finish();
        notes.Flush();
    }
    ZanDB4_Finalize();
    summary.seconds = seconds();

    if (invocation.Has("--json"))
        PrintSummaryJson(root, summary, invocation.out);
    else
        PrintSummaryText(summary, invocation.out);
    if (failure != S_OK)
        return report.Fail(kExitLibraryFailed, failedAt,
                           failedStep + ": " + DescribeResult(failure) +
                               "; what was committed before stays, the rest was rolled back");
    if (summary.interrupted) {
        report.Note("interrupted: the files committed before stay in the catalogue; the " +
                    std::to_string(summary.rolledBack) + " files of the open batch were rolled back");
        return kExitInterrupted;
    }
    return kExitOk;
}

}  // namespace

const Command& ImportCommand() {
    static const std::string description =
        "Adds the pictures and movies in each FOLDER (with --recursive, also in its\n"
        "subfolders) to the catalogue under ROOT, which must exist (see 'zandb4 init').\n"
        "Files are taken by extension. For each one the shooting date, camera model,\n"
        "pixel size, orientation, GPS position and altitude are read from its metadata,\n"
        "and the smallest JPEG preview it embeds is stored as its thumbnail of kind 1.\n"
        "A file without a shooting date is dated by its last change. The catalogue keeps\n"
        "each file by its absolute path and the serial of its volume; a file already\n"
        "there is counted and left alone, so importing a folder again adds nothing.\n"
        "File formats: " +
        FormatNumbers() +
        ".\n"
        "The altitude is kept in millimetres. A file that cannot be read, or a picture\n"
        "that is not what its extension says, is named on standard error and skipped.\n"
        "Files are committed every N files added (--batch) and at the end. Ctrl-C stops\n"
        "after the file at hand: batches committed stay, the open batch is rolled back,\n"
        "and the exit code is 6. Progress goes to standard error (a bar on a terminal);\n"
        "the summary goes to standard output.";
    static const Command command{
        "import",    "add the pictures and movies of folders to the catalogue under ROOT",
        kOperands,   kOptions,
        description, RunImport,
    };
    return command;
}

}  // namespace zandb4::tool
