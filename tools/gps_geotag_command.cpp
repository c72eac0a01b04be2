// "zandb4 gps geotag ROOT [--offset +HH:MM] [--max-gap SECONDS] [--dry-run]
// [--json]": gives the catalogue's files without a position the position of
// the GPS tracks at their shooting date, the way an application does it
// through the public managers: the files come from the file manager's
// ListFiles, the track points from the GPS log manager's GetLogDataInRange,
// and each position goes back with the file manager's UpdateFile, committed
// into the catalogue at the end. A dry run starts the library read-only and
// reads the same points from the log store itself, so that it changes
// nothing on disk.
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "album_listing.h"
#include "catalogue_report.h"
#include "commands.h"
#include "file_listing.h"
#include "frame/com_ptr.h"
#include "gps/gps_log_tables.h"
#include "gps_time.h"
#include "json_writer.h"
#include "library/tool_access.h"
#include "progress_reporter.h"
#include "read_statement.h"
#include "result_names.h"
#include "store_reader.h"
#include "track_timeline.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--offset", "+HH:MM", false, "the camera clock's offset from UTC (default: the machine's zone)"},
    {"--max-gap", "SECONDS", false, "the longest time between two track points to place a file between (300)"},
    {"--dry-run", "", false, "find and list the positions, but write nothing"},
    {"--json", "", false, "print the outcome as one JSON object"},
};

constexpr int64_t kDefaultMaxGap = 300;
constexpr int64_t kMostMaxGap = 7 * 86400;
// The short column list holds what is needed here: id, path, shooting date,
// position and manage.
constexpr uint32_t kLoadShortColumns = 2;
// manage of an ordinary file; item groups (2) stand for several files and
// get no position of their own.
constexpr uint32_t kManagedFile = 1;
// Commit flag of the file manager: commit the catalogue.
constexpr uint32_t kCommitCatalogue = 1;
constexpr uint32_t kRollbackCatalogue = 1;
// Shooting dates closer than this together are looked up in one range
// query; a longer quiet time starts a new query, so that the points of logs
// far from every file are not read.
constexpr int64_t kQueryBreakSeconds = 86400;

template <class T>
HRESULT Make(const IID& id, ComPtr<T>& object) {
    return ZanDB4_CreateInstance(&id, reinterpret_cast<void**>(object.Receive()));
}

// A file that may get a position.
struct Candidate {
    ComPtr<IZanDB4FileDBRecord> record;
    uint64_t id = 0;
    int64_t shot = 0;  // packed shooting date, as the catalogue keeps it
    int64_t utc = 0;   // the same moment in UTC seconds
};

struct Placed {
    uint64_t id = 0;
    std::string path;
    int64_t shot = 0;
    float latitude = 0;
    float longitude = 0;
};

struct OutOfRange {
    uint64_t id = 0;
    std::string path;
    int64_t shot = 0;
    std::string reason;
};

struct Summary {
    uint64_t files = 0;          // ordinary files of the catalogue
    uint64_t alreadyPlaced = 0;  // with a position before
    uint64_t withoutDate = 0;    // without a (valid) shooting date
    std::vector<Placed> placed;  // ordered by shooting date
    std::vector<OutOfRange> outOfRange;
    uint64_t trackPoints = 0;  // points read from the log store
};

std::string PathOf(IZanDB4FileDBRecord* record) {
    CZanTString path;
    uint32_t diskVsn = 0;
    record->GetFilePath(path, &diskVsn);
    return path.ToUtf8();
}

std::string ReasonOf(const TrackFix& fix, int64_t maxGap) {
    switch (fix.outcome) {
        case TrackFix::Outcome::kNoPoints:
            return "no GPS log covers it";
        case TrackFix::Outcome::kBeforeFirst:
            return "before the first track point";
        case TrackFix::Outcome::kAfterLast:
            return "after the last track point";
        case TrackFix::Outcome::kInGap:
            return "in a gap of " + std::to_string(fix.gapSeconds) + " s between track points (more than " +
                   std::to_string(maxGap) + " s)";
        case TrackFix::Outcome::kPositioned:
            break;
    }
    return "";
}

// Where the track points come from: the GPS log manager's
// GetLogDataInRange, or, for a dry run, the log store read-only with the
// statement that operation runs, so that a dry run finds the same points and
// changes nothing on disk.
class PointSource {
public:
    virtual ~PointSource() = default;
    // Adds the points of every log whose UTC span overlaps start..end.
    virtual void Read(const SYSTEMTIME& start, const SYSTEMTIME& end, TrackTimeline& timeline) = 0;

protected:
    static void Add(const SYSTEMTIME& utc, float latitude, float longitude, TrackTimeline& timeline) {
        if (IsValidDate(utc))
            timeline.Add({SecondsFromCivil(utc.wYear, utc.wMonth, utc.wDay, utc.wHour, utc.wMinute, utc.wSecond),
                          latitude, longitude});
    }
};

class ManagerPoints : public PointSource {
public:
    explicit ManagerPoints(IZanDB4GPSLogDBMgr* logs) : m_logs(logs) {}

    void Read(const SYSTEMTIME& start, const SYSTEMTIME& end, TrackTimeline& timeline) override {
        CList<IZanDB4GPSLogDBRecord*> points;
        // No log in the range answers E_FAIL with an empty list, as a
        // failure does; either way there is nothing to place the files on.
        m_logs->GetLogDataInRange(&start, &end, &points);
        timeline.Reserve(timeline.Size() + static_cast<size_t>(points.GetCount()));
        for (POSITION position = points.GetHeadPosition(); position != nullptr;) {
            IZanDB4GPSLogDBRecord* point = points.GetNext(position);
            SYSTEMTIME utc{};
            float latitude = 0, longitude = 0;
            if (point->GetDateUTC(&utc) == S_OK && point->GetLocation(&latitude, &longitude) == S_OK)
                Add(utc, latitude, longitude, timeline);
            point->Release();
        }
    }

private:
    IZanDB4GPSLogDBMgr* m_logs;
};

class StorePoints : public PointSource {
public:
    // db may be null: a catalogue without a log store has no points.
    explicit StorePoints(sqlite3* db) : m_db(db) {}

    void Read(const SYSTEMTIME& start, const SYSTEMTIME& end, TrackTimeline& timeline) override {
        if (m_db == nullptr || m_code != SQLITE_OK) return;
        ReadStatement statement(m_db, gps_log_tables::kSelectLogDataInRange);
        statement.BindInt64(1, CZanTDateTime(start).GetPacked());
        statement.BindInt64(2, CZanTDateTime(end).GetPacked());
        int step = SQLITE_ROW;
        while ((step = statement.Step()) == SQLITE_ROW)
            // Positions narrowed to floats, as the point records hold them.
            Add(CZanTDateTime(statement.ColumnInt64(gps_log_tables::kDateUtc)).m_time,
                static_cast<float>(statement.ColumnDouble(gps_log_tables::kLatitude)),
                static_cast<float>(statement.ColumnDouble(gps_log_tables::kLongitude)), timeline);
        int finalized = statement.Finalize();
        // A statement that did not prepare finalizes with the prepare's code.
        m_code = finalized != SQLITE_OK ? finalized : (step == SQLITE_DONE ? SQLITE_OK : step);
    }

    // Whether the store can be read at all, before any range is asked for:
    // SQLite's code of counting its logs.
    int Probe() {
        if (m_db == nullptr) return SQLITE_OK;
        ReadStatement statement(m_db, gps_log_tables::kCountLogFiles);
        int step = statement.Step();
        int finalized = statement.Finalize();
        // A statement that did not prepare finalizes with the prepare's code.
        m_code = finalized != SQLITE_OK ? finalized : (step == SQLITE_ROW ? SQLITE_OK : step);
        return m_code;
    }

    // SQLite's code of the first failed read; SQLITE_OK when all worked.
    int Code() const { return m_code; }

private:
    sqlite3* m_db;
    int m_code = SQLITE_OK;
};

class Geotagger {
public:
    Geotagger(IZanDB4FileDBMgr* files, PointSource& points, std::optional<int32_t> offset, int64_t maxGap, bool dryRun,
              Summary& summary)
        : m_files(files), m_points(points), m_offset(offset), m_maxGap(maxGap), m_dryRun(dryRun), m_summary(summary) {}

    // The ordinary files without a position and with a shooting date, in
    // order of their moment in UTC.
    // False when the files could not be listed.
    bool CollectCandidates(std::vector<Candidate>& candidates) {
        CList<IZanDB4FileDBRecord*> records;
        // No file at all answers E_FAIL with an empty list, as a failure
        // does: the count tells them apart.
        if (m_files->ListFiles(nullptr, 0, &records, kLoadShortColumns) != S_OK) {
            uint32_t count = 0;
            return m_files->CountFiles(nullptr, &count) == S_OK && count == 0;
        }
        const LocalZone machine = LocalZone::Machine();
        for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
            ComPtr<IZanDB4FileDBRecord> record = ComPtr<IZanDB4FileDBRecord>::Adopt(records.GetNext(position));
            uint32_t manage = 0;
            record->GetManage(&manage);
            if (manage != kManagedFile) continue;
            ++m_summary.files;
            float latitude = 0, longitude = 0;
            record->GetGPS(&latitude, &longitude);
            // The catalogue takes 0, 0 for no position.
            if (latitude != 0.0f || longitude != 0.0f) {
                ++m_summary.alreadyPlaced;
                continue;
            }
            int64_t shot = 0;
            record->GetShootingDateValue(&shot);
            const SYSTEMTIME date = CZanTDateTime(shot).m_time;
            if (shot == 0 || !IsValidDate(date)) {
                ++m_summary.withoutDate;
                continue;
            }
            Candidate candidate;
            record->GetFileID(&candidate.id);
            candidate.shot = shot;
            candidate.utc = m_offset ? SecondsFromCivil(date.wYear, date.wMonth, date.wDay, date.wHour, date.wMinute,
                                                        date.wSecond) -
                                           *m_offset
                                     : machine.ToUtc(date);
            candidate.record = std::move(record);
            candidates.push_back(std::move(candidate));
        }
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](const Candidate& a, const Candidate& b) { return a.utc < b.utc; });
        return true;
    }

    // Places the candidates, one range query for each run of shooting dates
    // without a long quiet time. Answers the first failure of UpdateFile.
    HRESULT Place(std::vector<Candidate>& candidates, ProgressReporter& progress) {
        size_t begin = 0;
        while (begin < candidates.size()) {
            size_t end = begin + 1;
            while (end < candidates.size() && candidates[end].utc - candidates[end - 1].utc <= kQueryBreakSeconds)
                ++end;
            // The points of the logs around the run, give or take the gap.
            TrackTimeline timeline;
            m_points.Read(CivilFromSeconds(candidates[begin].utc - m_maxGap),
                          CivilFromSeconds(candidates[end - 1].utc + m_maxGap), timeline);
            timeline.Seal();
            m_summary.trackPoints += timeline.Size();
            for (size_t i = begin; i < end; ++i) {
                HRESULT placed = PlaceOne(candidates[i], timeline);
                if (placed != S_OK) return placed;
                progress.Update(i + 1);
            }
            begin = end;
        }
        return S_OK;
    }

    uint64_t FailedFile() const { return m_failedFile; }

private:
    HRESULT PlaceOne(Candidate& candidate, const TrackTimeline& timeline) {
        const TrackFix fix = timeline.Locate(candidate.utc, m_maxGap);
        const std::string path = PathOf(candidate.record.Get());
        if (fix.outcome != TrackFix::Outcome::kPositioned) {
            m_summary.outOfRange.push_back({candidate.id, path, candidate.shot, ReasonOf(fix, m_maxGap)});
            return S_OK;
        }
        if (!m_dryRun) {
            HRESULT result = candidate.record->SetGPS(&fix.latitude, &fix.longitude);
            if (result == S_OK) result = m_files->UpdateFile(candidate.id, candidate.record.Get());
            if (result != S_OK) {
                m_failedFile = candidate.id;
                return result;
            }
        }
        m_summary.placed.push_back({candidate.id, path, candidate.shot, fix.latitude, fix.longitude});
        return S_OK;
    }

    IZanDB4FileDBMgr* m_files;
    PointSource& m_points;
    std::optional<int32_t> m_offset;
    int64_t m_maxGap;
    bool m_dryRun;
    Summary& m_summary;
    uint64_t m_failedFile = 0;
};

void PrintText(const Summary& summary, bool dryRun, int64_t maxGap, std::ostream& out) {
    out << (dryRun ? "would position " : "positioned ") << summary.placed.size() << " files"
        << (dryRun ? " (dry run: nothing written)" : "") << "\n";
    if (dryRun)
        for (const Placed& file : summary.placed)
            out << "  " << file.path << "\t" << DateText(file.shot) << "\t" << FloatText(file.latitude) << "\t"
                << FloatText(file.longitude) << "\n";
    out << "out of range " << summary.outOfRange.size() << " files (no track points within " << maxGap
        << " s around their shooting date)\n";
    for (const OutOfRange& file : summary.outOfRange)
        out << "  " << file.path << "\t" << DateText(file.shot) << "\t" << file.reason << "\n";
    out << "already with a position " << summary.alreadyPlaced << " files\n";
    out << "without a shooting date " << summary.withoutDate << " files\n";
}

void PrintJson(const std::string& root, const Summary& summary, bool dryRun, const std::string& zone, int64_t maxGap,
               std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject();
    json.Key("root");
    json.String(root);
    json.Key("dry_run");
    json.Bool(dryRun);
    json.Key("zone");
    json.String(zone);
    json.Key("max_gap");
    json.Integer(maxGap);
    json.Key("files");
    json.Unsigned(summary.files);
    json.Key("already_positioned");
    json.Unsigned(summary.alreadyPlaced);
    json.Key("without_date");
    json.Unsigned(summary.withoutDate);
    json.Key("track_points");
    json.Unsigned(summary.trackPoints);
    json.Key("positioned");
    json.BeginArray();
    for (const Placed& file : summary.placed) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(file.id);
        json.Key("path");
        json.String(file.path);
        json.Key("date");
        json.String(DateText(file.shot));
        json.Key("latitude");
        json.Float(file.latitude);
        json.Key("longitude");
        json.Float(file.longitude);
        json.EndObject();
    }
    json.EndArray();
    json.Key("out_of_range");
    json.BeginArray();
    for (const OutOfRange& file : summary.outOfRange) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(file.id);
        json.Key("path");
        json.String(file.path);
        json.Key("date");
        json.String(DateText(file.shot));
        json.Key("reason");
        json.String(file.reason);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    json.Finish();
}

int RunGpsGeotag(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::optional<int32_t> offset;
    if (invocation.Has("--offset")) {
        const std::string& text = invocation.Values("--offset").front();
        offset = ParseUtcOffset(text);
        if (!offset)
            return report.UsageError("bad offset '" + text + "': must be +HH:MM or -HH:MM, at most 23:59 either way");
    }
    int64_t maxGap = kDefaultMaxGap;
    if (invocation.Has("--max-gap")) {
        const std::string& text = invocation.Values("--max-gap").front();
        const bool digits =
            !text.empty() && text.size() <= 7 && text.find_first_not_of("0123456789") == std::string::npos;
        maxGap = digits ? std::stoll(text) : -1;
        if (maxGap < 0 || maxGap > kMostMaxGap)
            return report.UsageError("bad gap '" + text + "': must be a number of seconds from 0 to " +
                                     std::to_string(kMostMaxGap));
    }
    const bool dryRun = invocation.Has("--dry-run");
    if (int readable = RequireReadableCatalogue(root, report); readable != kExitOk) return readable;

    // A dry run starts the library read-only, which makes and writes
    // nothing; the full start would at least compact the staging store when
    // it stops.
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = dryRun ? tool_access::StartReadOnly(wideRoot.GetString(), kBusyMilliseconds)
                             : ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        if (!dryRun) ZanDB4_Finalize();
        return report.Fail(
            kExitLibraryFailed, root,
            std::string("the library could not start") + (dryRun ? " read-only: " : ": ") + DescribeResult(started));
    }
    Summary summary;
    HRESULT failure = S_OK;
    std::string failedStep;
    // A read of the catalogue or the log store that failed in a dry run.
    std::string unreadableFile, unreadableReason;
    {
        ComPtr<IZanDB4FileDBMgr> files;
        ComPtr<IZanDB4GPSLogDBMgr> logs;
        HRESULT made = Make(IID_IZanDB4FileDBMgr, files);
        if (made == S_OK && !dryRun) made = Make(IID_IZanDB4GPSLogDBMgr, logs);
        if (made != S_OK) {
            ZanDB4_Finalize();
            return report.Fail(kExitLibraryFailed, root, "no file or GPS log manager: " + DescribeResult(made));
        }
        std::optional<tool_access::CatalogueRead> catalogueRead;
        std::optional<ReadOnlyConnection> logStore;
        std::unique_ptr<PointSource> points;
        if (dryRun) {
            // The files are read in one read transaction, the points from the
            // log store opened for reading only.
            catalogueRead.emplace();
            const fs::path location = fs::path(root) / "database" / "Location.db";
            std::error_code error;
            if (fs::exists(location, error)) logStore.emplace(location, kBusyMilliseconds);
            if (catalogueRead->BeginCode() != SQLITE_OK) {
                unreadableFile = CatalogueFile(root).string();
                unreadableReason = ReasonOfCode(catalogueRead->BeginCode(), kBusyMilliseconds);
            } else if (logStore && logStore->OpenCode() != SQLITE_OK) {
                unreadableFile = location.string();
                unreadableReason = ReasonOfCode(logStore->OpenCode(), kBusyMilliseconds);
            }
            auto store = std::make_unique<StorePoints>(logStore ? logStore->Handle() : nullptr);
            if (unreadableFile.empty()) {
                if (int code = store->Probe(); code != SQLITE_OK) {
                    unreadableFile = location.string();
                    unreadableReason = ReasonOfCode(code, kBusyMilliseconds);
                }
            }
            points = std::move(store);
        } else {
            points = std::make_unique<ManagerPoints>(logs.Get());
        }
        std::vector<Candidate> candidates;
        Geotagger geotagger(files.Get(), *points, offset, maxGap, dryRun, summary);
        if (unreadableFile.empty() && !geotagger.CollectCandidates(candidates)) {
            unreadableFile = CatalogueFile(root).string();
            unreadableReason = "its files cannot be listed";
        }
        // The range query answers E_FAIL for no log as for a failure: a log
        // store that cannot even be counted is a failure.
        uint32_t logPoints = 0;
        if (unreadableFile.empty() && !dryRun && logs->GetLogDataCount(&logPoints) != S_OK) {
            unreadableFile = (fs::path(root) / "database" / "Location.db").string();
            unreadableReason = "the GPS log store cannot be read";
        }
        if (!unreadableFile.empty()) candidates.clear();
        ProgressReporter progress(invocation.err, invocation.errIsTerminal, "gps geotag", candidates.size());
        const auto start = std::chrono::steady_clock::now();
        progress.ShowRate("files", [start] {
            return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        });
        failure = geotagger.Place(candidates, progress);
        if (failure != S_OK)
            failedStep = "the catalogue did not take the position of file " + std::to_string(geotagger.FailedFile());
        if (failure == S_OK && !dryRun && !summary.placed.empty()) {
            failure = files->Commit(kCommitCatalogue);
            if (failure != S_OK) failedStep = "the commit of the positions failed";
        }
        if (failure != S_OK) files->Rollback(kRollbackCatalogue);
        if (dryRun && unreadableFile.empty()) {
            if (int code = static_cast<StorePoints&>(*points).Code(); code != SQLITE_OK) {
                unreadableFile = (fs::path(root) / "database" / "Location.db").string();
                unreadableReason = ReasonOfCode(code, kBusyMilliseconds);
            }
        }
        // Nothing to place is no long work: no progress line for it.
        if (!candidates.empty()) progress.Finish();
        // The records go before the library stops.
        candidates.clear();
    }
    ZanDB4_Finalize();

    if (failure != S_OK)
        return report.Fail(kExitLibraryFailed, CatalogueFile(root).string(),
                           failedStep + ": " + DescribeResult(failure) + "; no position was written");
    if (!unreadableFile.empty()) return report.Fail(kExitUnreadable, unreadableFile, unreadableReason);
    const std::string zone = offset ? "UTC" + UtcOffsetText(*offset) : LocalZone::Machine().Describe();
    if (invocation.Has("--json"))
        PrintJson(root, summary, dryRun, zone, maxGap, invocation.out);
    else
        PrintText(summary, dryRun, maxGap, invocation.out);
    return kExitOk;
}

}  // namespace

const Command& GpsGeotagCommand() {
    static const Command command{
        "gps geotag",
        "give the files of the catalogue under ROOT without a position the position of the GPS logs",
        kOperands,
        kOptions,
        "For each file of the catalogue under ROOT that has a shooting date and no\n"
        "position (latitude and longitude both 0), finds the position of the GPS logs\n"
        "(see 'zandb4 gps import') at its shooting date and writes it into the catalogue.\n"
        "Item groups, and files still waiting in staging (see 'zandb4 commit'), are not\n"
        "looked at; a file that has a position keeps it.\n"
        "\n"
        "A shooting date is the time the camera's clock showed. --offset gives that\n"
        "clock's offset from UTC, so that UTC = shooting date - offset (a camera set to\n"
        "Berlin summer time: --offset +02:00); without it the shooting date is taken in\n"
        "the machine's zone, with the rules in force at that date. The track points of\n"
        "all logs are then taken together in time order, and the position is the one of\n"
        "a point exactly at that moment, or else the linear interpolation of latitude\n"
        "and longitude between the two points just before and just after it, provided\n"
        "they lie at most --max-gap seconds apart (default 300, at most 604800; 0 takes\n"
        "points exactly at a shooting date only). A file before or after every track\n"
        "point, or in a longer gap (the receiver off, or no log running), is out of\n"
        "range and keeps no position.\n"
        "\n"
        "Standard output tells how many files got a position, lists those out of range\n"
        "with their shooting date and why (tab-separated), and counts the files that\n"
        "had a position and those without a shooting date. With --dry-run the catalogue\n"
        "and the log store are only read (nothing on disk changes) and the positions\n"
        "found are listed as well. With --json the output is one JSON object with every\n"
        "file positioned and every file out of range. The positions are committed into\n"
        "the catalogue at the end; when the catalogue refuses one, nothing is written\n"
        "and the exit code is 3. Progress goes to standard error.",
        RunGpsGeotag,
    };
    return command;
}

}  // namespace zandb4::tool
