// Costs of the storage core: drawing ids inside one long transaction (one
// prepare per statement, no statement kept), and adding files to the camera
// list, the cost model every store follows.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "camera/tethra_file_db.h"
#include "camera/tethra_import_file_record.h"
#include "storage/sqlite_db_base.h"

namespace {

std::filesystem::path MakeTempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
}

void BM_NewIdFromCounter(benchmark::State& state) {
    std::filesystem::path folder = MakeTempFolder();
    {
        CSQLiteDBBase store;
        store.m_folder = CZanTString::FromUtf8(folder.c_str());
        store.m_fileName = u"bench.db";
        if (store.Open() != S_OK) state.SkipWithError("open failed");
        uint64_t id = 0;
        for (auto _ : state) {
            store.NewID(1, &id);
            benchmark::DoNotOptimize(id);
        }
        store.Commit(false);
        state.SetItemsProcessed(state.iterations());
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_NewIdFromCounter);

void BM_NewIdFromPool(benchmark::State& state) {
    std::filesystem::path folder = MakeTempFolder();
    {
        CSQLiteDBBase store;
        store.m_folder = CZanTString::FromUtf8(folder.c_str());
        store.m_fileName = u"bench.db";
        if (store.Open() != S_OK) state.SkipWithError("open failed");
        store.BeginTransaction();
        uint64_t id = 0;
        for (auto _ : state) {
            store.PoolID(7, 1);
            store.NewID(1, &id);
            benchmark::DoNotOptimize(id);
        }
        store.Commit(false);
        state.SetItemsProcessed(state.iterations());
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_NewIdFromPool);

void BM_CameraAddFile(benchmark::State& state) {
    std::filesystem::path folder = MakeTempFolder();
    {
        CZanTethraFileDB store;
        store.m_folder = CZanTString::FromUtf8(folder.c_str());
        store.m_fileName = u"TethraDB.db";
        if (store.Open() != S_OK) state.SkipWithError("open failed");
        auto* record = new CZanDB4TethraImportFileRecord();
        SYSTEMTIME date{2024, 3, 0, 7, 10, 20, 30, 0};
        record->SetDate(&date);
        uint64_t counter = 0;
        for (auto _ : state) {
            CZanTString path;
            path.Format(u"/camera/DCIM/IMG_%08llu.JPG", static_cast<unsigned long long>(++counter));
            record->SetPath(path);
            uint64_t id = 0;
            store.AddFile(record, &id);
            benchmark::DoNotOptimize(id);
        }
        store.Commit(false);
        record->Release();
        state.SetItemsProcessed(state.iterations());
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_CameraAddFile);

}  // namespace
