// "zandb4 gps import ROOT FILE... [--tz ZONE] [--json]": stores GPX track
// logs in the catalogue's GPS log store the way an application does, through
// the public GPS log manager: one log file for each GPX file, with every
// usable track point of it, each moment in UTC and in local time. Each FILE
// is its own transaction: committed when it was read whole, rolled back when
// it turned out to be no GPX or broken half-way.
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "catalogue_report.h"
#include "commands.h"
#include "deferred_notes.h"
#include "file_listing.h"
#include "frame/com_ptr.h"
#include "gps_time.h"
#include "gpx_reader.h"
#include "json_writer.h"
#include "progress_reporter.h"
#include "result_names.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT", "FILE..."};
constexpr OptionSpec kOptions[] = {
    {"--tz", "ZONE", false, "zone of the local times: UTC, +HH:MM or a name such as Europe/Berlin"},
    {"--json", "", false, "print the outcome as one JSON object"},
};

// The attribute word is the application's own; the tool sets no bit of it.
constexpr uint32_t kNoAttributes = 0;
// A log's state: 1 says that its dates are kept in UTC too, as a log
// migrated to the UTC columns is marked.
constexpr uint32_t kStateWithUtcDates = 1;
// Skipped points of one file named one by one on standard error; the rest
// are counted.
constexpr uint64_t kMostNamedSkips = 10;

enum class FileStatus { kImported, kAlreadyThere, kFailed };

struct FileOutcome {
    std::string file;  // the absolute path, as the log keeps it
    FileStatus status = FileStatus::kFailed;
    std::string reason;  // for kFailed
    uint64_t logId = 0;  // the log stored, or the one already there
    uint64_t stored = 0;
    uint64_t noTime = 0;      // points without a usable time
    uint64_t noPosition = 0;  // points without a usable position, or out of range
    uint64_t duplicates = 0;  // points the store already held for this log
    uint64_t tracks = 0;
    uint64_t emptyTracks = 0;
    int64_t firstUtc = 0;  // earliest and latest point stored
    int64_t lastUtc = 0;

    uint64_t Unusable() const { return noTime + noPosition; }
};

template <class T>
HRESULT Make(const IID& id, ComPtr<T>& object) {
    return ZanDB4_CreateInstance(&id, reinterpret_cast<void**>(object.Receive()));
}

std::string UtcText(int64_t seconds) {
    return DateText(CZanTDateTime(CivilFromSeconds(seconds)).GetPacked());
}

// Takes the points of one GPX file into the log store: the log file is
// added with the first usable point, every usable point after it, and the
// log's dates are set to its earliest and latest point at the end. A store
// failure stops the reading and is kept in Failure().
class LogWriter : public GpxSink {
public:
    LogWriter(IZanDB4GPSLogDBMgr* manager, const LocalZone& zone, FileOutcome& outcome, DeferredNotes& notes)
        : m_manager(manager), m_zone(zone), m_outcome(outcome), m_notes(notes) {}

    // The records every point and the log go through, made before reading.
    HRESULT Prepare() {
        HRESULT made = Make(IID_IZanDB4GPSLogFileRecord, m_log);
        if (made == S_OK) made = Make(IID_IZanDB4GPSLogDBRecord, m_point);
        return made;
    }

    bool TakePoint(const GpxPoint& point) override {
        const SYSTEMTIME utc = CivilFromSeconds(point.utcSeconds);
        const SYSTEMTIME local = m_zone.ToLocal(point.utcSeconds);
        if (m_outcome.logId == 0 && !AddLog(local, utc)) return false;
        m_point->SetLogFileID(m_outcome.logId);
        m_point->SetDate(&local);
        m_point->SetDateUTC(&utc);
        m_point->SetLocation(static_cast<float>(point.latitude), static_cast<float>(point.longitude));
        // One record serves every point: the store reads it and sets its id,
        // which nothing here reads back.
        const HRESULT added = m_manager->AddLogData(m_point.Get(), nullptr);
        if (added == E_FAIL) {
            // The store keeps a point of a log once per moment and position,
            // and turns a second one away.
            ++m_outcome.duplicates;
            return true;
        }
        if (added != S_OK)
            return Fail(added, "the store did not take a track point (line " + std::to_string(point.line) + ")");
        if (m_outcome.stored == 0 || point.utcSeconds < m_outcome.firstUtc) m_outcome.firstUtc = point.utcSeconds;
        if (m_outcome.stored == 0 || point.utcSeconds > m_outcome.lastUtc) m_outcome.lastUtc = point.utcSeconds;
        ++m_outcome.stored;
        return true;
    }

    void SkipPoint(GpxSkipReason reason, uint64_t line, const std::string& detail) override {
        if (reason == GpxSkipReason::kNoTime || reason == GpxSkipReason::kBadTime)
            ++m_outcome.noTime;
        else
            ++m_outcome.noPosition;
        if (m_outcome.Unusable() > kMostNamedSkips) return;
        std::string text =
            m_outcome.file + ": line " + std::to_string(line) + ": track point skipped: " + SkipReasonText(reason);
        if (!detail.empty()) text += " (" + detail + ")";
        m_notes.Add(text);
    }

    // Sets the log's dates to its earliest and latest point stored.
    HRESULT FinishLog() {
        const SYSTEMTIME firstUtc = CivilFromSeconds(m_outcome.firstUtc);
        const SYSTEMTIME lastUtc = CivilFromSeconds(m_outcome.lastUtc);
        const SYSTEMTIME first = m_zone.ToLocal(m_outcome.firstUtc);
        const SYSTEMTIME last = m_zone.ToLocal(m_outcome.lastUtc);
        m_log->SetDates(&first, &last);
        m_log->SetDatesUTC(&firstUtc, &lastUtc);
        HRESULT updated = m_manager->UpdateLogFile(m_outcome.logId, m_log.Get());
        if (updated != S_OK) Fail(updated, "the store did not take the dates of the log");
        return updated;
    }

    HRESULT Failure() const { return m_failure; }
    const std::string& FailedStep() const { return m_failedStep; }

private:
    bool AddLog(const SYSTEMTIME& local, const SYSTEMTIME& utc) {
        const std::string name = fs::path(m_outcome.file).filename().string();
        m_log->SetPath(CZanTString::FromUtf8(m_outcome.file.c_str()));
        m_log->SetName(CZanTString::FromUtf8(name.c_str()));
        m_log->SetAttributes(kNoAttributes);
        m_log->SetState(kStateWithUtcDates);
        // Dates of the first point until the last is known.
        m_log->SetDates(&local, &local);
        m_log->SetDatesUTC(&utc, &utc);
        uint64_t id = 0;
        HRESULT added = m_manager->AddLogFile(m_log.Get(), &id);
        if (added != S_OK) return Fail(added, "the store did not take the log");
        m_outcome.logId = id;
        return true;
    }

    bool Fail(HRESULT failure, std::string step) {
        m_failure = failure;
        m_failedStep = std::move(step);
        return false;
    }

    IZanDB4GPSLogDBMgr* m_manager;
    const LocalZone& m_zone;
    FileOutcome& m_outcome;
    DeferredNotes& m_notes;
    ComPtr<IZanDB4GPSLogFileRecord> m_log;
    ComPtr<IZanDB4GPSLogDBRecord> m_point;
    HRESULT m_failure = S_OK;
    std::string m_failedStep;
};

// The id of the log stored under path, if one is.
std::optional<uint64_t> StoredLogOf(IZanDB4GPSLogDBMgr* manager, const std::string& path) {
    CList<IZanDB4GPSLogFileRecord*> found;
    CZanTString widePath = CZanTString::FromUtf8(path.c_str());
    manager->FindLogFilesByPath(widePath.GetString(), &found);
    std::optional<uint64_t> id;
    for (POSITION position = found.GetHeadPosition(); position != nullptr;) {
        IZanDB4GPSLogFileRecord* record = found.GetNext(position);
        uint64_t recordId = 0;
        if (!id && record->GetID(&recordId) == S_OK) id = recordId;
        record->Release();
    }
    return id;
}

std::string NoPointsReason(const GpxReadResult& read, const FileOutcome& outcome) {
    if (read.tracks == 0) return "no track in the file";
    if (read.points == 0) return "no track point in the file (" + std::to_string(read.tracks) + " tracks, all empty)";
    return "no usable track point: " + std::to_string(outcome.noTime) + " without a time, " +
           std::to_string(outcome.noPosition) + " without a valid position";
}

// The store failed: what it was and where.
struct StoreFailure {
    HRESULT result = S_OK;
    std::string file;
    std::string step;
};

class Importer {
public:
    Importer(IZanDB4GPSLogDBMgr* manager, const LocalZone& zone, DeferredNotes& notes, ProgressReporter& progress)
        : m_manager(manager), m_zone(zone), m_notes(notes), m_progress(progress) {}

    // Imports one file into outcome. False when the store failed (then
    // failure says how); a file that cannot be imported is an outcome.
    bool Import(const std::string& file, uint64_t bytesBefore, FileOutcome& outcome, StoreFailure& failure) {
        outcome.file = file;
        if (std::optional<uint64_t> stored = StoredLogOf(m_manager, file)) {
            outcome.status = FileStatus::kAlreadyThere;
            outcome.logId = *stored;
            return true;
        }
        LogWriter writer(m_manager, m_zone, outcome, m_notes);
        if (HRESULT made = writer.Prepare(); made != S_OK) {
            failure = {made, file, "no GPS log record"};
            return false;
        }
        GpxReadResult read = ReadGpxFile(file, writer, [&](uint64_t done) { m_progress.Update(bytesBefore + done); });
        outcome.tracks = read.tracks;
        outcome.emptyTracks = read.emptyTracks;
        if (writer.Failure() != S_OK) {
            m_manager->Rollback();
            failure = {writer.Failure(), file, writer.FailedStep()};
            return false;
        }
        if (read.outcome != GpxReadResult::Outcome::kRead || outcome.stored == 0) {
            // Whatever the file gave before it went wrong goes with it.
            m_manager->Rollback();
            outcome.status = FileStatus::kFailed;
            outcome.reason =
                read.outcome != GpxReadResult::Outcome::kRead ? read.reason : NoPointsReason(read, outcome);
            outcome.logId = 0;
            outcome.stored = 0;
            return true;
        }
        HRESULT done = writer.FinishLog();
        if (done == S_OK) done = m_manager->Commit();
        if (done != S_OK) {
            m_manager->Rollback();
            failure = {done, file, writer.Failure() != S_OK ? writer.FailedStep() : "the commit of the log failed"};
            return false;
        }
        outcome.status = FileStatus::kImported;
        return true;
    }

private:
    IZanDB4GPSLogDBMgr* m_manager;
    const LocalZone& m_zone;
    DeferredNotes& m_notes;
    ProgressReporter& m_progress;
};

// files: the number of FILE operands, some of which may not have been
// reached after a failure of the store.
void PrintText(const std::vector<FileOutcome>& outcomes, size_t files, std::ostream& out) {
    uint64_t imported = 0, stored = 0, skipped = 0;
    for (const FileOutcome& outcome : outcomes) {
        switch (outcome.status) {
            case FileStatus::kImported:
                ++imported;
                stored += outcome.stored;
                skipped += outcome.Unusable() + outcome.duplicates;
                out << outcome.file << ": imported as log " << outcome.logId << ": " << outcome.stored
                    << " points stored, " << UtcText(outcome.firstUtc) << " to " << UtcText(outcome.lastUtc)
                    << " UTC; skipped " << outcome.noTime << " without a time, " << outcome.noPosition
                    << " without a valid position, " << outcome.duplicates << " already stored\n";
                break;
            case FileStatus::kAlreadyThere:
                out << outcome.file << ": already imported (log " << outcome.logId << ")\n";
                break;
            case FileStatus::kFailed:
                out << outcome.file << ": not imported: " << outcome.reason << "\n";
                break;
        }
    }
    out << "imported " << imported << " of " << files << " files: " << stored << " points stored, " << skipped
        << " skipped\n";
}

void PrintJson(const std::string& root, const LocalZone& zone, const std::vector<FileOutcome>& outcomes,
               std::ostream& out) {
    JsonWriter json(out);
    uint64_t stored = 0, skipped = 0;
    json.BeginObject();
    json.Key("root");
    json.String(root);
    json.Key("zone");
    json.String(zone.Describe());
    json.Key("files");
    json.BeginArray();
    for (const FileOutcome& outcome : outcomes) {
        const bool imported = outcome.status == FileStatus::kImported;
        if (imported) {
            stored += outcome.stored;
            skipped += outcome.Unusable() + outcome.duplicates;
        }
        json.BeginObject(true);
        json.Key("file");
        json.String(outcome.file);
        json.Key("status");
        json.String(imported ? "imported" : outcome.status == FileStatus::kAlreadyThere ? "already" : "failed");
        json.Key("reason");
        if (outcome.status == FileStatus::kFailed)
            json.String(outcome.reason);
        else
            json.Null();
        json.Key("log");
        if (outcome.logId != 0)
            json.Unsigned(outcome.logId);
        else
            json.Null();
        json.Key("stored");
        json.Unsigned(outcome.stored);
        json.Key("no_time");
        json.Unsigned(outcome.noTime);
        json.Key("no_position");
        json.Unsigned(outcome.noPosition);
        json.Key("duplicates");
        json.Unsigned(outcome.duplicates);
        json.Key("tracks");
        json.Unsigned(outcome.tracks);
        json.Key("empty_tracks");
        json.Unsigned(outcome.emptyTracks);
        json.Key("start_utc");
        imported ? json.String(UtcText(outcome.firstUtc)) : json.Null();
        json.Key("end_utc");
        imported ? json.String(UtcText(outcome.lastUtc)) : json.Null();
        json.EndObject();
    }
    json.EndArray();
    json.Key("stored");
    json.Unsigned(stored);
    json.Key("skipped");
    json.Unsigned(skipped);
    json.EndObject();
    json.Finish();
}

// The absolute path of a FILE operand, as the log keeps it.
std::string AbsolutePath(const std::string& operand) {
    std::error_code error;
    fs::path path = fs::absolute(operand, error);
    return (error ? fs::path(operand) : path).lexically_normal().string();
}

int RunGpsImport(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::optional<LocalZone> zone = LocalZone::Machine();
    if (invocation.Has("--tz")) {
        const std::string& text = invocation.Values("--tz").front();
        std::string problem;
        zone = LocalZone::Named(text, problem);
        if (!zone) return report.UsageError("bad zone '" + text + "': " + problem);
    }
    if (int readable = RequireReadableCatalogue(root, report); readable != kExitOk) return readable;

    std::vector<std::string> files;
    uint64_t totalBytes = 0;
    for (size_t i = 1; i < invocation.operands.size(); ++i) {
        files.push_back(AbsolutePath(invocation.operands[i]));
        struct stat status {};
        if (stat(files.back().c_str(), &status) == 0 && S_ISREG(status.st_mode))
            totalBytes += static_cast<uint64_t>(status.st_size);
    }

    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        ZanDB4_Finalize();
        return report.Fail(kExitLibraryFailed, root, "the library could not start: " + DescribeResult(started));
    }
    std::vector<FileOutcome> outcomes;
    StoreFailure failure;
    DeferredNotes notes(report, invocation.errIsTerminal);
    {
        ComPtr<IZanDB4GPSLogDBMgr> manager;
        if (HRESULT made = Make(IID_IZanDB4GPSLogDBMgr, manager); made != S_OK) {
            ZanDB4_Finalize();
            return report.Fail(kExitLibraryFailed, root, "no GPS log manager: " + DescribeResult(made));
        }
        ProgressReporter progress(invocation.err, invocation.errIsTerminal, "gps import (bytes read)", totalBytes);
        Importer importer(manager.Get(), *zone, notes, progress);
        uint64_t bytesBefore = 0;
        for (const std::string& file : files) {
            FileOutcome outcome;
            const bool going = importer.Import(file, bytesBefore, outcome, failure);
            struct stat status {};
            if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode))
                bytesBefore += static_cast<uint64_t>(status.st_size);
            progress.Update(bytesBefore);
            if (!going) break;
            if (outcome.status == FileStatus::kFailed) notes.Add(outcome.file + ": not imported: " + outcome.reason);
            if (outcome.status == FileStatus::kAlreadyThere)
                notes.Add(outcome.file + ": already imported (log " + std::to_string(outcome.logId) +
                          "); left as it is");
            if (outcome.status == FileStatus::kImported && outcome.Unusable() > kMostNamedSkips)
                notes.Add(outcome.file + ": " + std::to_string(outcome.Unusable()) +
                          " track points skipped in all (the first " + std::to_string(kMostNamedSkips) +
                          " are named above)");
            outcomes.push_back(std::move(outcome));
        }
        // No file to read (all missing) is no work: no progress line for it.
        if (totalBytes > 0) progress.Finish();
        notes.Flush();
    }
    ZanDB4_Finalize();

    if (invocation.Has("--json"))
        PrintJson(root, *zone, outcomes, invocation.out);
    else
        PrintText(outcomes, files.size(), invocation.out);
    if (failure.result != S_OK)
        return report.Fail(kExitLibraryFailed, failure.file,
                           failure.step + ": " + DescribeResult(failure.result) +
                               "; the logs committed before stay, this file's points were rolled back and the "
                               "files after it were not read");
    for (const FileOutcome& outcome : outcomes)
        if (outcome.status == FileStatus::kFailed || outcome.Unusable() > 0) return kExitUsage;
    return kExitOk;
}

}  // namespace

const Command& GpsImportCommand() {
    static const Command command{
        "gps import",
        "store GPX track logs in the GPS log store of the catalogue under ROOT",
        kOperands,
        kOptions,
        "Reads each FILE as a GPX track log (GPX 1.0 or 1.1) and stores it in the GPS log\n"
        "store of the catalogue under ROOT (database/Location.db), which must exist (see\n"
        "'zandb4 init'). Each FILE becomes one log, named by its file name and kept by its\n"
        "absolute path, with every track point (trkpt) of all its tracks; waypoints and\n"
        "route points are not track points. A point's moment is its time element, in UTC\n"
        "(a time without a zone is UTC); the store keeps it also in local time, in the\n"
        "zone of --tz (UTC, an offset such as +02:00, or a name of the system's zone\n"
        "database such as Europe/Berlin) or else the machine's zone at that moment, with\n"
        "summer time where the zone has it. The log's start and end are its earliest and\n"
        "latest point; its state is 1 (dates kept in UTC as well), its attribute word 0\n"
        "and its location name empty. The file is read as a stream, so its size does not\n"
        "matter.\n"
        "\n"
        "A point without a time (or with one that is not a date and time), or without a\n"
        "valid position (latitude from -90 to 90, longitude from -180 to 180), is\n"
        "skipped: the first ten of a file are named with their line on standard error,\n"
        "and all are counted. A point the log holds already (same moment and position)\n"
        "is counted as already stored. A FILE whose path is stored already is reported\n"
        "as already imported and left as it is.\n"
        "\n"
        "Each FILE is committed on its own once it was read whole. A FILE that is\n"
        "missing, not XML, XML but not GPX, broken part-way, or without any usable\n"
        "track point (an empty track, say) is named on standard error with the reason\n"
        "and skipped, and what it gave is rolled back; the other files are imported all\n"
        "the same. The exit code is then 1, as it is when any point was skipped as\n"
        "unusable; the logs imported stay. A failure of the store (exit code 3) stops\n"
        "the import: the files committed before stay, the file at hand is rolled back.\n"
        "Standard output gets one line per FILE and a summary (or one JSON object with\n"
        "--json); progress goes to standard error.",
        RunGpsImport,
    };
    return command;
}

}  // namespace zandb4::tool
