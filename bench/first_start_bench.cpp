// The cost of a first start: ZanDB4_Initialize on a root that holds nothing
// yet, so that every store file is made with its tables, then
// ZanDB4_Finalize. Dominated by what making the files costs on disk.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "zandb4.h"
#include "library_keeper.h"

namespace {

std::filesystem::path MakeEmptyRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
}

void BM_FirstStart(benchmark::State& state) {
    // A start on a library that another benchmark keeps up would only count.
    zandb4::bench::StopKeptLibrary();
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::path root = MakeEmptyRoot();
        CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
        state.ResumeTiming();

        if (ZanDB4_Initialize(wideRoot.GetString()) != S_OK) state.SkipWithError("start failed");
        ZanDB4_Finalize();

        state.PauseTiming();
        std::filesystem::remove_all(root);
        state.ResumeTiming();
    }
}
// Each iteration makes files on disk, so a few are enough to see the cost.
BENCHMARK(BM_FirstStart)->Unit(benchmark::kMillisecond)->Iterations(10)->Repetitions(3)->ReportAggregatesOnly(true);

}  // namespace
