// The GPS log manager on track logs of many points: the import of logs and
// their points through IZanDB4GPSLogDBMgr, and GetLogDataInRange for a
// one-hour and a one-month window.
//
// Sizes are (logs, points per log). The default run takes 100 x 1 000 and
// 1 000 x 1 000 points; ZANDB4_BENCH_GPS_FULL=1 adds 1 000 x 10 000 (ten
// million points), which takes several minutes on two cores. One size alone
// runs with --benchmark_filter, e.g. 'BM_Gps.*/100/1000'.
//
// The logs: log i covers ten hours of day i (2021 onwards, 28 days a month,
// no calendar arithmetic), its points evenly spread over them, UTC nine hours
// behind the local time. Import: AddLogFile, AddLogData for every point, and
// the manager's Commit after each log, as an application imports one log
// file after another. Counters: points/s for the import; queries/s and the
// points each query returns (the range selects logs, so a query brings every
// point of each log it touches) for the range queries.
//
// Each size's store is built once, by its import benchmark (or by the first
// query benchmark that needs it), and removed when the next size starts.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/com_ptr.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

using zandb4::ComPtr;
using Clock = std::chrono::steady_clock;

constexpr int64_t kHoursPerLog = 10;
constexpr uint16_t kUtcBehindLocal = 9;

bool WithFullSize() {
    const char* wanted = std::getenv("ZANDB4_BENCH_GPS_FULL");
    return wanted != nullptr && std::string(wanted) == "1";
}

template <class Interface>
ComPtr<Interface> MakeInstance(const IID& iid) {
    ComPtr<Interface> made;
    if (ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(made.Receive())) != S_OK) return {};
    return made;
}

// The day of log number index: 28 days to a month, 12 months to a year.
SYSTEMTIME DayOfLog(int64_t index) {
    SYSTEMTIME day{};
    day.wYear = static_cast<uint16_t>(2021 + index / (28 * 12));
    day.wMonth = static_cast<uint16_t>(1 + (index / 28) % 12);
    day.wDay = static_cast<uint16_t>(1 + index % 28);
    return day;
}

// Seconds after 00:00 of the same day, in local time and in UTC.
SYSTEMTIME At(SYSTEMTIME day, int64_t seconds, bool utc) {
    int64_t hour = seconds / 3600 + (utc ? 0 : kUtcBehindLocal);
    day.wHour = static_cast<uint16_t>(hour);
    day.wMinute = static_cast<uint16_t>((seconds / 60) % 60);
    day.wSecond = static_cast<uint16_t>(seconds % 60);
    return day;
}

// The library started on a fresh root; the GPS manager and, after Import,
// logs x points in its store.
class TrackStore {
public:
    TrackStore(int64_t logs, int64_t pointsPerLog) : m_logs(logs), m_pointsPerLog(pointsPerLog) {
        std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-gps-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_root = pattern;
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        if (!zandb4::bench::StartLibrary(root)) return;
        m_manager = MakeInstance<IZanDB4GPSLogDBMgr>(IID_IZanDB4GPSLogDBMgr);
    }
    ~TrackStore() {
        m_manager = {};
        ZanDB4_Finalize();
        std::filesystem::remove_all(m_root);
    }

    int64_t Logs() const { return m_logs; }
    int64_t PointsPerLog() const { return m_pointsPerLog; }
    bool Imported() const { return m_imported; }
    IZanDB4GPSLogDBMgr* Manager() { return m_manager.Get(); }

    // Every log with its points, committed log by log; false on the first
    // failure.
    bool Import() {
        if (!m_manager) return false;
        const int64_t spacing = kHoursPerLog * 3600 / m_pointsPerLog;
        const int64_t spacingRest = kHoursPerLog * 3600 % m_pointsPerLog;
        ComPtr<IZanDB4GPSLogDBRecord> point = MakeInstance<IZanDB4GPSLogDBRecord>(IID_IZanDB4GPSLogDBRecord);
        if (!point) return false;
        for (int64_t log = 0; log < m_logs; ++log) {
            const SYSTEMTIME day = DayOfLog(log);
            uint64_t logId = 0;
            if (!AddLog(log, day, &logId)) return false;
            point->SetLogFileID(logId);
            for (int64_t index = 0; index < m_pointsPerLog; ++index) {
                // Evenly over ten hours, whatever the count.
                const int64_t seconds = index * spacing + index * spacingRest / m_pointsPerLog;
                const SYSTEMTIME local = At(day, seconds, false), utc = At(day, seconds, true);
                point->SetDate(&local);
                point->SetDateUTC(&utc);
                point->SetLocation(35.0f + static_cast<float>(index) * 1e-5f, 139.0f + static_cast<float>(log) * 1e-3f);
                if (m_manager->AddLogData(point.Get(), nullptr) != S_OK) return false;
            }
            if (m_manager->Commit() != S_OK) return false;
        }
        m_imported = true;
        return true;
    }

private:
    bool AddLog(int64_t log, const SYSTEMTIME& day, uint64_t* outId) {
        ComPtr<IZanDB4GPSLogFileRecord> record = MakeInstance<IZanDB4GPSLogFileRecord>(IID_IZanDB4GPSLogFileRecord);
        if (!record) return false;
        CZanTString path, name;
        path.Format(u"/tracks/%04u/%02u/track-%06lld.gpx", day.wYear, day.wMonth, static_cast<long long>(log));
        name.Format(u"track-%06lld.gpx", static_cast<long long>(log));
        record->SetPath(path);
        record->SetName(name);
        const int64_t last = kHoursPerLog * 3600 - 1;
        const SYSTEMTIME start = At(day, 0, false), end = At(day, last, false);
        const SYSTEMTIME startUTC = At(day, 0, true), endUTC = At(day, last, true);
        record->SetDates(&start, &end);
        record->SetDatesUTC(&startUTC, &endUTC);
        record->SetAttributes(static_cast<uint32_t>(log % 4));
        return m_manager->AddLogFile(record.Get(), outId) == S_OK;
    }

    std::filesystem::path m_root;
    int64_t m_logs = 0;
    int64_t m_pointsPerLog = 0;
    bool m_imported = false;
    ComPtr<IZanDB4GPSLogDBMgr> m_manager;
};

std::unique_ptr<TrackStore> g_current;

// The store of that size, started empty when a new size comes.
TrackStore& StoreOf(int64_t logs, int64_t pointsPerLog) {
    if (!g_current || g_current->Logs() != logs || g_current->PointsPerLog() != pointsPerLog) {
        g_current.reset();
        g_current = std::make_unique<TrackStore>(logs, pointsPerLog);
    }
    return *g_current;
}

void BM_GpsImport(benchmark::State& state) {
    const int64_t logs = state.range(0), pointsPerLog = state.range(1);
    // A fresh store for each run of the import.
    g_current.reset();
    bool imported = false;
    double seconds = 0;
    for (auto _ : state) {
        TrackStore& store = StoreOf(logs, pointsPerLog);
        Clock::time_point begin = Clock::now();
        imported = store.Import();
        seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        state.SetIterationTime(seconds);
    }
    if (!imported) return state.SkipWithError("the import failed");
    state.counters["points/s"] = benchmark::Counter(static_cast<double>(logs * pointsPerLog) / seconds);
    state.counters["points"] = static_cast<double>(logs * pointsPerLog);
}

// A window of the given span in UTC: one hour inside the middle log, or the
// 28 days of the middle log's month.
void RangeQuery(benchmark::State& state, bool month) {
    const int64_t logs = state.range(0), pointsPerLog = state.range(1);
    TrackStore& store = StoreOf(logs, pointsPerLog);
    if (!store.Imported() && !store.Import()) return state.SkipWithError("the import failed");
    SYSTEMTIME start = DayOfLog(logs / 2), end = start;
    if (month) {
        start.wDay = 1;
        end.wDay = 28;
        end.wHour = 23;
        end.wMinute = 59;
        end.wSecond = 59;
    } else {
        start.wHour = 3;
        end.wHour = 4;
    }
    int64_t returned = 0;
    Clock::time_point begin = Clock::now();
    for (auto _ : state) {
        CList<IZanDB4GPSLogDBRecord*> list;
        if (store.Manager()->GetLogDataInRange(&start, &end, &list) != S_OK) return state.SkipWithError("no points");
        returned = static_cast<int64_t>(list.GetCount());
        while (!list.IsEmpty()) list.RemoveHead()->Release();
    }
    double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    // The hour touches one log; the month every log of its 28 days that the
    // store holds.
    const int64_t logsInWindow = month ? std::min<int64_t>(28, logs - (logs / 2) / 28 * 28) : 1;
    if (returned != logsInWindow * pointsPerLog) return state.SkipWithError("the window did not bring its logs");
    state.counters["queries/s"] = benchmark::Counter(static_cast<double>(state.iterations()) / seconds);
    state.counters["points_per_query"] = static_cast<double>(returned);
    state.counters["points/s"] =
        benchmark::Counter(static_cast<double>(returned) * static_cast<double>(state.iterations()) / seconds);
}

void BM_GpsRangeOneHour(benchmark::State& state) {
    RangeQuery(state, false);
}
void BM_GpsRangeOneMonth(benchmark::State& state) {
    RangeQuery(state, true);
}

// Size by size: the import builds the store that the queries then read.
int RegisterAll() {
    std::vector<std::pair<int64_t, int64_t>> sizes = {{100, 1'000}, {1'000, 1'000}};
    if (WithFullSize()) sizes.emplace_back(1'000, 10'000);
    for (auto [logs, points] : sizes) {
        benchmark::RegisterBenchmark("BM_GpsImport", BM_GpsImport)
            ->Args({logs, points})
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_GpsRangeOneHour", BM_GpsRangeOneHour)
            ->Args({logs, points})
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("BM_GpsRangeOneMonth", BM_GpsRangeOneMonth)
            ->Args({logs, points})
            ->Unit(benchmark::kMillisecond);
    }
    return 0;
}

const int g_registered = RegisterAll();

}  // namespace
