// Costs of the feature point shards and of the road of a face.
//
// Feature points: 100 000 working points of 512 bytes over 100 shards of the
// person family: the insert and commit, gets by face id, the full listing of
// the working set (which reads only the index files, so its memory must not
// follow the blob bytes: peak_rss_rise_MB is how far the process's peak rose
// while it ran), and 10 000 feature point groups of 5 faces each.
//
// The road of a face: faces added to staging through the face manager, each
// with an 8 KB thumbnail and a 512-byte feature point, their files marked
// detected, and one Commit that moves them into the catalogue and writes
// every store; faces/s, the seconds spent in each store's calls, and the
// rise of the peak resident memory.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "faces/feature_point_groups.h"
#include "faces/feature_point_mgr.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;
using Clock = std::chrono::steady_clock;

constexpr uint32_t kPointBytes = 512;
constexpr uint32_t kThumbnailBytes = 8 * 1024;

double PeakResidentMegabytes() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The library started on a fresh root, stopped and removed at the end.
class FreshLibrary {
public:
    FreshLibrary() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_root = pattern;
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        m_ok = zandb4::bench::StartLibrary(root) && DatabaseRegistry::rfpMgr != nullptr;
    }
    ~FreshLibrary() {
        ZanDB4_Finalize();
        std::filesystem::remove_all(m_root);
    }
    bool Ok() const { return m_ok; }

private:
    std::filesystem::path m_root;
    bool m_ok = false;
};

std::vector<uint8_t> Bytes(uint32_t size, uint8_t seed) {
    std::vector<uint8_t> bytes(size);
    for (uint32_t index = 0; index < size; ++index) bytes[index] = static_cast<uint8_t>(seed + index * 31);
    return bytes;
}

// Inserts points 1 .. count into the person working set and commits. (A
// point 0 would end every listing of its shard.)
bool InsertWorkingPoints(int64_t count) {
    CSQLiteFaceFeaturePointDBFactory* working = DatabaseRegistry::rfpMgr->Working();
    std::vector<uint8_t> point = Bytes(kPointBytes, 7);
    CriticalSectionGuard guard(working->m_lock);
    for (int64_t id = 1; id <= count; ++id)
        if (working->InsertFeaturePoint(static_cast<uint64_t>(id), point.data(), kPointBytes, 0, 0) != S_OK)
            return false;
    return working->CommitShards() == S_OK;
}

void BM_InsertWorkingPoints(benchmark::State& state) {
    const int64_t count = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        auto library = std::make_unique<FreshLibrary>();
        if (!library->Ok()) {
            state.SkipWithError("the library did not start");
            break;
        }
        state.ResumeTiming();
        if (!InsertWorkingPoints(count)) state.SkipWithError("an insert failed");
        state.PauseTiming();
        library.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_InsertWorkingPoints)->Arg(100'000)->Iterations(1)->Unit(benchmark::kMillisecond);

// Gets by face id, spread over the 100 shards; then the full listing.
void BM_GetAndListWorkingPoints(benchmark::State& state) {
    const int64_t count = state.range(0);
    FreshLibrary library;
    if (!library.Ok() || !InsertWorkingPoints(count)) {
        state.SkipWithError("the working set could not be filled");
        return;
    }
    CSQLiteFaceFeaturePointDBFactory* working = DatabaseRegistry::rfpMgr->Working();
    uint64_t id = 1;
    for (auto _ : state) {
        CriticalSectionGuard guard(working->m_lock);
        IZanDB4FaceFeaturePointData* data = nullptr;
        if (working->GetFeaturePoint(id, &data) != S_OK) state.SkipWithError("a get failed");
        if (data != nullptr) data->Release();
        id = (id + 997) % static_cast<uint64_t>(count) + 1;
    }
    state.SetItemsProcessed(state.iterations());

    // The listing, once, with the rise of the peak memory it caused.
    double peakBefore = PeakResidentMegabytes();
    Clock::time_point start = Clock::now();
    CArray<uint64_t> ids;
    CArray<int64_t> dates;
    {
        CriticalSectionGuard guard(working->m_lock);
        working->ListFeaturePoints(&ids, &dates, 0);
    }
    state.counters["listing_ms"] = SecondsSince(start) * 1000.0;
    state.counters["listed"] = static_cast<double>(ids.GetSize());
    state.counters["listing_peak_rss_rise_MB"] = PeakResidentMegabytes() - peakBefore;
}
BENCHMARK(BM_GetAndListWorkingPoints)->Arg(100'000)->Unit(benchmark::kMicrosecond);

// 10 000 groups of 5 faces, each merging its faces' points into the group
// set, with the catalogue's rows, and the commit of both.
void BM_MakeGroups(benchmark::State& state) {
    const int64_t groups = state.range(0);
    constexpr int64_t kFacesPerGroup = 5;
    for (auto _ : state) {
        state.PauseTiming();
        auto library = std::make_unique<FreshLibrary>();
        if (!library->Ok() || !InsertWorkingPoints(groups * kFacesPerGroup)) {
            state.SkipWithError("the working set could not be filled");
            break;
        }
        FeaturePointGroups operations(DatabaseRegistry::fileBasicDB, DatabaseRegistry::rfpMgr,
                                      DatabaseRegistry::tfpMgr, DatabaseRegistry::grfThumbMgr);
        state.ResumeTiming();
        for (int64_t group = 0; group < groups; ++group) {
            uint64_t faces[kFacesPerGroup];
            for (int64_t index = 0; index < kFacesPerGroup; ++index)
                faces[index] = static_cast<uint64_t>(group * kFacesPerGroup + index + 1);
            uint64_t groupId = 0;
            if (operations.CreateFeaturePointGroup(1, faces, kFacesPerGroup, &groupId, kFacesPerGroup) != S_OK)
                state.SkipWithError("a group could not be made");
        }
        DatabaseRegistry::fileBasicDB->Commit(false);
        DatabaseRegistry::rfpMgr->CommitAllShards();
        state.PauseTiming();
        library.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * groups);
}
BENCHMARK(BM_MakeGroups)->Arg(10'000)->Iterations(1)->Unit(benchmark::kMillisecond);

// The road of range(0) faces, two a file, through the face manager.
void BM_StageFacesAndCommit(benchmark::State& state) {
    const int64_t faces = state.range(0);
    std::vector<uint8_t> thumbnail = Bytes(kThumbnailBytes, 3);
    std::vector<uint8_t> point = Bytes(kPointBytes, 5);
    double stagingSeconds = 0, thumbnailSeconds = 0, pointSeconds = 0, detectSeconds = 0, commitSeconds = 0;
    double peakRise = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto library = std::make_unique<FreshLibrary>();
        ComPtr<IZanDB4FaceDBMgr> manager;
        ComPtr<IZanDB4FaceDBRecord> face;
        if (!library->Ok() ||
            ZanDB4_CreateInstance(&IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(manager.Receive())) != S_OK ||
            ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())) != S_OK) {
            state.SkipWithError("the library did not start");
            break;
        }
        double peakBefore = PeakResidentMegabytes();
        state.ResumeTiming();
        face->SetIndividualType(1);
        for (int64_t index = 0; index < faces; ++index) {
            uint64_t fileId = static_cast<uint64_t>(index / 2 + 1);
            RECT rect{static_cast<int32_t>(index % 1000), 20, static_cast<int32_t>(index % 1000) + 100, 120};
            face->SetRect(&rect);
            face->SetFileID(fileId);
            uint64_t faceId = 0;
            Clock::time_point start = Clock::now();
            if (manager->AddFace(face.Get(), &faceId) != S_OK) state.SkipWithError("a face could not be added");
            stagingSeconds += SecondsSince(start);
            start = Clock::now();
            manager->AddThumbnail(faceId, 1, 1, 0, thumbnail.data(), kThumbnailBytes);
            thumbnailSeconds += SecondsSince(start);
            start = Clock::now();
            manager->SetFaceFeaturePoint(faceId, 1, point.data(), kPointBytes, nullptr);
            pointSeconds += SecondsSince(start);
            if (index % 2 == 1) {
                start = Clock::now();
                manager->SetFaceDetected(fileId);
                detectSeconds += SecondsSince(start);
            }
        }
        Clock::time_point start = Clock::now();
        if (manager->Commit() != S_OK) state.SkipWithError("the commit failed");
        commitSeconds += SecondsSince(start);
        state.PauseTiming();
        peakRise = PeakResidentMegabytes() - peakBefore;
        manager = {};
        face = {};
        library.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * faces);
    double runs = static_cast<double>(state.iterations());
    state.counters["staging_s"] = stagingSeconds / runs;
    state.counters["thumbnails_s"] = thumbnailSeconds / runs;
    state.counters["feature_points_s"] = pointSeconds / runs;
    state.counters["detected_s"] = detectSeconds / runs;
    state.counters["commit_s"] = commitSeconds / runs;
    state.counters["peak_rss_rise_MB"] = peakRise;
}
BENCHMARK(BM_StageFacesAndCommit)->Arg(10'000)->Arg(100'000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
