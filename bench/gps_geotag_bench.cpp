// Geotagging 100 000 catalogued files, as "zandb4 gps geotag" does it.
//
// The catalogue: 100 000 files without a position over ten days, 10 000 a
// day, one every 6 s from 06:00 UTC; the log store: one log a day, a point
// every 10 s from 06:00 to 23:00 UTC (6 121 points a day, 61 210 in all), so
// that every file lies between two points 10 s apart. Shooting dates are
// stored as a camera set to UTC writes them, and the command runs with
// --offset +00:00.
//
// BM_GeotagCore: the arithmetic alone, on values in memory: the points
//   sorted by time and a position found for each file.
// BM_GeotagDryRun: the whole command in this process with --dry-run: the
//   read-only start, ListFiles, the range queries of the log store and the
//   positions, nothing written.
// BM_Geotag: the whole command: the full start, ListFiles,
//   GetLogDataInRange, SetGPS and UpdateFile for each file, the catalogue's
//   Commit and the stop. Every iteration works on a fresh copy of the
//   catalogue (the copy is not timed), since a file placed once is not
//   placed again.
//
// Counter: files/s. The catalogue and the logs are built once, in a
// temporary folder that goes at the end of the run.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "command.h"
#include "commands.h"
#include "frame/com_ptr.h"
#include "gps_time.h"
#include "library/database_registry.h"
#include "track_timeline.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace fs = std::filesystem;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using zandb4::tool::CivilFromSeconds;
using zandb4::tool::SecondsFromCivil;

constexpr int64_t kDays = 10;
constexpr int64_t kFilesPerDay = 10'000;
constexpr int64_t kFiles = kDays * kFilesPerDay;
constexpr int64_t kSecondsBetweenFiles = 6;
constexpr int64_t kSecondsBetweenPoints = 10;
constexpr int64_t kDayStart = 6 * 3600;
constexpr int64_t kDayEnd = 23 * 3600;

int64_t DayStart(int64_t day) {
    return SecondsFromCivil(2021, 7, 1, 0, 0, 0) + day * 86400;
}

int64_t FileMoment(int64_t file) {
    return DayStart(file / kFilesPerDay) + kDayStart + (file % kFilesPerDay) * kSecondsBetweenFiles;
}

// A position along a day's track: the moment moves it steadily north-east.
float LatitudeAt(int64_t seconds) {
    return 45.0f + static_cast<float>(seconds % 86400) / 86400.0f;
}
float LongitudeAt(int64_t seconds) {
    return 7.0f + static_cast<float>(seconds % 86400) / 43200.0f;
}

template <class Interface>
ComPtr<Interface> MakeInstance(const IID& iid) {
    ComPtr<Interface> made;
    if (ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(made.Receive())) != S_OK) std::abort();
    return made;
}

// The template catalogue with its logs, made once.
class GeotagData {
public:
    static GeotagData& Get() {
        static GeotagData data;
        return data;
    }

    const fs::path& Root() const { return m_root; }
    const fs::path& Work() const { return m_work; }

    ~GeotagData() {
        std::error_code error;
        fs::remove_all(m_base, error);
    }

private:
    GeotagData() {
        std::string pattern = (fs::temp_directory_path() / "zandb4-geotag-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_base = pattern;
        m_root = m_base / "template";
        m_work = m_base / "work";
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        if (!zandb4::bench::StartLibrary(root)) std::abort();
        AddFiles();
        AddLogs();
        if (ZanDB4_Finalize() != S_OK) std::abort();
    }

    void AddFiles() {
        FileTableRows rows(*DatabaseRegistry::fileBasicDB);
        for (int64_t file = 0; file < kFiles; ++file) {
            FileRowValues row;
            row.fileId = static_cast<uint64_t>(file + 1);
            const std::string name = "IMG_" + std::to_string(file) + ".JPG";
            row.filePath = CZanTString::FromUtf8(("/photos/" + name).c_str());
            row.fileName = CZanTString::FromUtf8(name.c_str());
            row.diskVsn = 0x2A;
            row.fileFormat = 1;
            row.shootingDate = CZanTDateTime(CivilFromSeconds(FileMoment(file))).GetPacked();
            row.manage = 1;
            if (rows.InsertFileRow(row) != S_OK) std::abort();
        }
    }

    void AddLogs() {
        ComPtr<IZanDB4GPSLogDBMgr> logs = MakeInstance<IZanDB4GPSLogDBMgr>(IID_IZanDB4GPSLogDBMgr);
        ComPtr<IZanDB4GPSLogDBRecord> point = MakeInstance<IZanDB4GPSLogDBRecord>(IID_IZanDB4GPSLogDBRecord);
        for (int64_t day = 0; day < kDays; ++day) {
            ComPtr<IZanDB4GPSLogFileRecord> log = MakeInstance<IZanDB4GPSLogFileRecord>(IID_IZanDB4GPSLogFileRecord);
            const std::string name = "day" + std::to_string(day) + ".gpx";
            log->SetPath(CZanTString::FromUtf8(("/tracks/" + name).c_str()));
            log->SetName(CZanTString::FromUtf8(name.c_str()));
            log->SetState(1);
            const SYSTEMTIME start = CivilFromSeconds(DayStart(day) + kDayStart);
            const SYSTEMTIME end = CivilFromSeconds(DayStart(day) + kDayEnd);
            log->SetDates(&start, &end);
            log->SetDatesUTC(&start, &end);
            uint64_t logId = 0;
            if (logs->AddLogFile(log.Get(), &logId) != S_OK) std::abort();
            for (int64_t at = DayStart(day) + kDayStart; at <= DayStart(day) + kDayEnd; at += kSecondsBetweenPoints) {
                const SYSTEMTIME moment = CivilFromSeconds(at);
                point->SetLogFileID(logId);
                point->SetDate(&moment);
                point->SetDateUTC(&moment);
                point->SetLocation(LatitudeAt(at), LongitudeAt(at));
                if (logs->AddLogData(point.Get(), nullptr) != S_OK) std::abort();
            }
            if (logs->Commit() != S_OK) std::abort();
        }
    }

    fs::path m_base;
    fs::path m_root;
    fs::path m_work;
};

// Runs the tool's command line in this process; its exit code.
int RunTool(const std::vector<std::string>& arguments, std::string& out) {
    using namespace zandb4::tool;
    const Command* commands[] = {&GpsGeotagCommand()};
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
    std::ostringstream outText, errText;
    int code = zandb4::tool::RunTool(commands, pointers, outText, errText, false, false);
    out = outText.str();
    if (code != 0) std::cerr << errText.str();
    return code;
}

void BM_GeotagCore(benchmark::State& state) {
    std::vector<zandb4::tool::TrackPoint> points;
    for (int64_t day = 0; day < kDays; ++day)
        for (int64_t at = DayStart(day) + kDayStart; at <= DayStart(day) + kDayEnd; at += kSecondsBetweenPoints)
            points.push_back({at, LatitudeAt(at), LongitudeAt(at)});
    for (auto _ : state) {
        zandb4::tool::TrackTimeline timeline;
        timeline.Reserve(points.size());
        for (const zandb4::tool::TrackPoint& point : points) timeline.Add(point);
        timeline.Seal();
        int64_t placed = 0;
        for (int64_t file = 0; file < kFiles; ++file)
            placed += timeline.Locate(FileMoment(file), 300).outcome == zandb4::tool::TrackFix::Outcome::kPositioned;
        if (placed != kFiles) state.SkipWithError("not every file was placed");
        benchmark::DoNotOptimize(placed);
    }
    state.counters["files/s"] =
        benchmark::Counter(static_cast<double>(kFiles), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_GeotagCore)->Unit(benchmark::kMillisecond);

void BM_GeotagDryRun(benchmark::State& state) {
    const GeotagData& data = GeotagData::Get();
    for (auto _ : state) {
        std::string out;
        if (RunTool({"gps", "geotag", data.Root().string(), "--offset", "+00:00", "--dry-run"}, out) != 0 ||
            out.find("would position " + std::to_string(kFiles) + " files") == std::string::npos)
            state.SkipWithError("the dry run did not place every file");
    }
    state.counters["files/s"] =
        benchmark::Counter(static_cast<double>(kFiles), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_GeotagDryRun)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_Geotag(benchmark::State& state) {
    const GeotagData& data = GeotagData::Get();
    for (auto _ : state) {
        state.PauseTiming();
        std::error_code error;
        fs::remove_all(data.Work(), error);
        fs::copy(data.Root(), data.Work(), fs::copy_options::recursive);
        state.ResumeTiming();
        std::string out;
        if (RunTool({"gps", "geotag", data.Work().string(), "--offset", "+00:00"}, out) != 0 ||
            out.find("positioned " + std::to_string(kFiles) + " files") == std::string::npos)
            state.SkipWithError("the run did not place every file");
    }
    state.counters["files/s"] =
        benchmark::Counter(static_cast<double>(kFiles), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Geotag)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
