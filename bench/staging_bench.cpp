// The fast road of an import against the direct one: files staged (a record
// with the usual fields, two tags and a metadata row) and then moved into the
// catalogue with Commit(2|1), beside the same files inserted straight into
// the catalogue, as a row alone (InsertFileRow) and as a whole record with
// its tags and metadata (InsertFileRecord). Each run uses a fresh root; the
// counters give files per second and, for the move, how far the process's
// peak resident memory rose while it ran.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <filesystem>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "catalogue/file_rows.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "records/file_db_record.h"
#include "records/file_meta_db_record.h"
#include "records/file_record_values.h"
#include "staging/async_db.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;

// The library started on a fresh root, stopped and removed at the end.
class Library {
public:
    Library() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_root = pattern;
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        m_started = zandb4::bench::StartLibrary(root) && DatabaseRegistry::asyncDB != nullptr;
    }
    ~Library() {
        ZanDB4_Finalize();
        std::filesystem::remove_all(m_root);
    }
    bool Ok() const { return m_started; }

private:
    std::filesystem::path m_root;
    bool m_started = false;
};

// A file as an import makes it: path, name, volume, format, date, size of
// the thumbnail, two tags and a metadata record.
ComPtr<IZanDB4FileDBRecord> RecordOf(uint64_t id) {
    ComPtr<IZanDB4FileDBRecord> record =
        ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(DatabaseRegistry::fileBasicDB));
    CZanTString path, name;
    path.Format(u"/photos/%llu/IMG_%llu.JPG", static_cast<unsigned long long>(id / 500),
                static_cast<unsigned long long>(id));
    name.Format(u"IMG_%llu.JPG", static_cast<unsigned long long>(id));
    uint32_t diskVsn = 0x1234, manage = 1, format = 3;
    record->SetFilePath(path.GetString(), &diskVsn);
    record->SetFileName(name.GetString());
    record->SetManage(&manage);
    record->SetFileFormat(&format);
    int64_t date = (int64_t{2024} << 40) + (static_cast<int64_t>(1 + id % 12) << 32) + (int64_t{5} << 24);
    record->SetShootingDateValue(&date);
    uint16_t width = 160, height = 120;
    record->SetThumbnailSize(&width, &height);
    uint64_t tags[] = {1 + id % 20, 100};
    for (uint64_t& tag : tags) record->AddTag(&tag);
    ComPtr<IZanDB4FileMetaDBRecord> meta = ComPtr<IZanDB4FileMetaDBRecord>::Adopt(new CZanDB4FileMetaDBRecord());
    meta->SetFileSize(4'000'000 + id);
    meta->SetPixelSize(6000, 4000);
    meta->SetModelInfo(u"camera", 1, 2, 3, 4, 5);
    record->AttachMetaRecord(meta.Get());
    return record;
}

void Stage(int64_t files) {
    for (int64_t index = 0; index < files; ++index) {
        uint64_t id = 0;
        DatabaseRegistry::fileBasicDB->NewID(1, &id);
        DatabaseRegistry::asyncDB->AddFile(id, RecordOf(id).Get(), nullptr, 0);
    }
}

long PeakResidentKilobytes() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Runs each iteration on a fresh library: prepare (untimed), then work, the
// part timed. Counts range(0) files per iteration.
template <class Prepare, class Work>
void TimeOnFreshLibrary(benchmark::State& state, Prepare&& prepare, Work&& work) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            Library library;
            if (!library.Ok()) {
                state.SkipWithError("the library did not start");
                break;
            }
            prepare();
            state.ResumeTiming();
            work();
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StageFiles(benchmark::State& state) {
    TimeOnFreshLibrary(
        state, [] {},
        [&] {
            Stage(state.range(0));
            DatabaseRegistry::asyncDB->Commit(false);
        });
}
BENCHMARK(BM_StageFiles)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_MoveStagedFiles(benchmark::State& state) {
    long peakBefore = 0;
    TimeOnFreshLibrary(
        state,
        [&] {
            Stage(state.range(0));
            DatabaseRegistry::asyncDB->Commit(false);
            DatabaseRegistry::fileBasicDB->Commit(false);
            peakBefore = PeakResidentKilobytes();
        },
        [] {
            CZanDB4FileDBMgr manager(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB,
                                     DatabaseRegistry::metaFactory, DatabaseRegistry::thumbMgr);
            benchmark::DoNotOptimize(manager.Commit(2 | 1));
        });
    state.counters["peak_rss_growth_kb"] = static_cast<double>(PeakResidentKilobytes() - peakBefore);
}
BENCHMARK(BM_MoveStagedFiles)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);

// The row alone, as InsertFileRow writes it, in one transaction.
void BM_DirectInsertFileRow(benchmark::State& state) {
    TimeOnFreshLibrary(
        state, [] {},
        [&] {
            for (int64_t index = 0; index < state.range(0); ++index) {
                uint64_t id = 0;
                DatabaseRegistry::fileBasicDB->NewID(1, &id);
                FileRowValues row = file_record_values::ValuesOf(RecordOf(id).Get());
                row.fileId = id;
                FileTableRows(*DatabaseRegistry::fileBasicDB).InsertFileRow(row);
            }
            DatabaseRegistry::fileBasicDB->Commit(false);
        });
}
BENCHMARK(BM_DirectInsertFileRow)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);

// The whole file straight into the catalogue: row, tags and metadata.
void BM_DirectInsertFileRecord(benchmark::State& state) {
    TimeOnFreshLibrary(
        state, [] {},
        [&] {
            for (int64_t index = 0; index < state.range(0); ++index) {
                uint64_t id = 0;
                DatabaseRegistry::fileBasicDB->NewID(1, &id);
                ComPtr<IZanDB4FileDBRecord> record = RecordOf(id);
                record->SetFileID(id);
                FileTableRows(*DatabaseRegistry::fileBasicDB).InsertFileRecord(record.Get());
            }
            DatabaseRegistry::fileBasicDB->Commit(false);
        });
}
BENCHMARK(BM_DirectInsertFileRecord)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
