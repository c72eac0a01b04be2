// Costs of the file store on a catalogue of many files: inserting rows inside
// one long transaction, turning every row of a search into a record (new
// records, then records found live in the cache), and a search by a query
// node that selects a few rows.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/file_rows.h"
#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

std::filesystem::path MakeCatalogueRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
}

FileRowValues RowOf(uint64_t id) {
    FileRowValues row;
    row.fileId = id;
    row.filePath.Format(u"/photos/%llu/IMG_%llu", static_cast<unsigned long long>(id / 100),
                        static_cast<unsigned long long>(id));
    row.fileName.Format(u"IMG_%llu.JPG", static_cast<unsigned long long>(id));
    row.diskVsn = 0x1234;
    row.fileFormat = static_cast<uint32_t>(id % 7);
    row.shootingDate = (int64_t{2024} << 40) + (static_cast<int64_t>(1 + id % 12) << 32) +
                       (static_cast<int64_t>(1 + id % 28) << 24);
    row.manage = 1;
    return row;
}

// The library started on a fresh root with files catalogue rows.
class Catalogue {
public:
    explicit Catalogue(int64_t files) : m_root(MakeCatalogueRoot()) {
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        m_started = zandb4::bench::StartLibrary(root);
        m_store = zandb4::DatabaseRegistry::fileBasicDB;
        if (!m_started || m_store == nullptr) return;
        for (int64_t id = 1; id <= files; ++id) FileTableRows(*m_store).InsertFileRow(RowOf(static_cast<uint64_t>(id)));
        m_store->Commit(false);
    }
    ~Catalogue() {
        ZanDB4_Finalize();
        std::filesystem::remove_all(m_root);
    }
    bool Ok() const { return m_started && m_store != nullptr; }
    CSQLiteFileBasicDB* Store() { return m_store; }

private:
    std::filesystem::path m_root;
    bool m_started = false;
    CSQLiteFileBasicDB* m_store = nullptr;
};

void ReleaseAll(CZanTList<IZanDB4FileDBRecord*>& records) {
    for (POSITION position = records.GetHeadPosition(); position != nullptr;) records.GetNext(position)->Release();
    records.RemoveAll();
}

void BM_InsertFileRow(benchmark::State& state) {
    Catalogue catalogue(0);
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    uint64_t id = 0;
    for (auto _ : state) benchmark::DoNotOptimize(FileTableRows(*catalogue.Store()).InsertFileRow(RowOf(++id)));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_InsertFileRow);

// A record as a client fills it for an add: path, name, date, format and
// manage set, every other field left alone.
zandb4::ComPtr<IZanDB4FileDBRecord> ClientRecord(uint64_t serial) {
    zandb4::ComPtr<IZanDB4FileDBRecord> record;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(record.Receive())) != S_OK)
        return record;
    FileRowValues row = RowOf(serial);
    record->SetFilePath(row.filePath.GetString(), &row.diskVsn);
    record->SetFileName(row.fileName.GetString());
    record->SetShootingDateValue(&row.shootingDate);
    record->SetFileFormat(&row.fileFormat);
    record->SetManage(&row.manage);
    return record;
}

// One add through the public file manager, staged (range 0: AddFile) or
// written to the catalogue at once (range 1: AddFileDirect), inside the open
// transactions; the commit is not part of the timing.
void BM_ManagerAdd(benchmark::State& state) {
    Catalogue catalogue(0);
    zandb4::ComPtr<IZanDB4FileDBMgr> files;
    if (!catalogue.Ok() ||
        ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(files.Receive())) != S_OK) {
        state.SkipWithError("the library did not start");
        return;
    }
    const bool direct = state.range(0) == 1;
    uint64_t serial = 0;
    for (auto _ : state) {
        state.PauseTiming();
        zandb4::ComPtr<IZanDB4FileDBRecord> record = ClientRecord(++serial);
        state.ResumeTiming();
        uint64_t id = 0;
        HRESULT added = direct ? files->AddFileDirect(record.Get(), &id, nullptr, nullptr, 0, nullptr)
                               : files->AddFile(record.Get(), &id);
        if (added != S_OK) {
            state.SkipWithError("an add failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(direct ? "AddFileDirect" : "AddFile");
}
BENCHMARK(BM_ManagerAdd)->Arg(0)->Arg(1);

// Every search makes a new record per row: nobody holds the last search's.
void BM_ListFilesNewRecords(benchmark::State& state) {
    Catalogue catalogue(state.range(0));
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    CZanTList<IZanDB4FileDBRecord*> records;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FileTableRows(*catalogue.Store()).ListFiles(nullptr, static_cast<uint32_t>(state.range(2)), records,
                                     static_cast<uint32_t>(state.range(1)));
        ReleaseAll(records);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
// Files, load mode (0 all columns, 2 the short list), sort flag.
BENCHMARK(BM_ListFilesNewRecords)->Args({10000, 0, 0})->Args({10000, 2, 0})->Args({10000, 0, 1});

// The plain SQLite loop that BM_ListFilesNewRecords is measured against: the
// same statement, every column the record keeps read into values of the
// same types (texts as UTF-16 strings), no record and no cache.
struct PlainRow {
    uint64_t fileId;
    std::u16string filePath;
    uint32_t diskVsn;
    std::u16string fileName;
    uint32_t fileFormat;
    int64_t shootingDate;
    double latitude, longitude;
    uint32_t fileAttributes, thumbnailSize, thumbnailOrientation;
    bool didEdit, isFavorite, didDetectFace;
    uint64_t albumId;
    uint32_t manage;
    uint64_t parentId;
    int64_t parentShootingDate;
    bool uploadFlag;
    uint32_t classifyId;
};

std::u16string TextOf(sqlite3_stmt* statement, int column) {
    const void* text = sqlite3_column_text16(statement, column);
    int bytes = sqlite3_column_bytes16(statement, column);
    return text == nullptr ? std::u16string() : std::u16string(static_cast<const char16_t*>(text), bytes / 2);
}

int64_t ListPlain(sqlite3* db, std::vector<PlainRow>& rows) {
    rows.clear();
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare16_v2(db, u"SELECT * FROM file_table", -1, &select, nullptr);
    while (sqlite3_step(select) == SQLITE_ROW) {
        PlainRow row;
        row.fileId = static_cast<uint64_t>(sqlite3_column_int64(select, 0));
        row.filePath = TextOf(select, 1);
        row.diskVsn = static_cast<uint32_t>(sqlite3_column_int(select, 2));
        row.fileName = TextOf(select, 4);
        row.fileFormat = static_cast<uint32_t>(sqlite3_column_int(select, 5));
        row.shootingDate = sqlite3_column_int64(select, 6);
        row.latitude = sqlite3_column_double(select, 7);
        row.longitude = sqlite3_column_double(select, 8);
        row.fileAttributes = static_cast<uint32_t>(sqlite3_column_int(select, 9));
        row.thumbnailSize = static_cast<uint32_t>(sqlite3_column_int(select, 10));
        row.thumbnailOrientation = static_cast<uint32_t>(sqlite3_column_int(select, 11));
        row.didEdit = sqlite3_column_int(select, 12) != 0;
        row.isFavorite = sqlite3_column_int(select, 13) != 0;
        row.didDetectFace = sqlite3_column_int(select, 14) != 0;
        row.albumId = static_cast<uint64_t>(sqlite3_column_int64(select, 15));
        row.manage = static_cast<uint32_t>(sqlite3_column_int(select, 16));
        row.parentId = static_cast<uint64_t>(sqlite3_column_int64(select, 17));
        row.parentShootingDate = sqlite3_column_int64(select, 18);
        row.uploadFlag = sqlite3_column_int(select, 19) != 0;
        row.classifyId = static_cast<uint32_t>(sqlite3_column_int(select, 20));
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(select);
    return static_cast<int64_t>(rows.size());
}

// Range 0: files; range 1: 0 the library's search (new records, every
// column), 1 the plain loop. Run one after the other for the ratio.
void BM_ListFilesAgainstPlain(benchmark::State& state) {
    Catalogue catalogue(state.range(0));
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    const bool plain = state.range(1) == 1;
    CZanTList<IZanDB4FileDBRecord*> records;
    std::vector<PlainRow> rows;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        if (plain) {
            benchmark::DoNotOptimize(ListPlain(catalogue.Store()->m_db, rows));
        } else {
            FileTableRows(*catalogue.Store()).ListFiles(nullptr, 0, records, 0);
            ReleaseAll(records);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetLabel(plain ? "plain SQLite" : "library");
}
BENCHMARK(BM_ListFilesAgainstPlain)
    ->Args({10000, 0})
    ->Args({10000, 1})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->Unit(benchmark::kMillisecond);

double ThreadCpuMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

// The C library's allocator merges the small blocks freed since its last
// large request only at its next one, whoever makes it. Each turn below ends
// with one, so that each side pays for merging what it freed itself instead
// of the side that comes after it.
void SettleAllocator() {
    void* large = std::malloc(4096);
    benchmark::DoNotOptimize(large);
    std::free(large);
}

// The same comparison on one catalogue, the two sides taking turns within
// every iteration, each timed by the thread's CPU time. On a machine shared
// with other work the load changes from one benchmark to the next; taking
// turns puts both sides under the same load, and the fastest turn of each
// side is the one least disturbed. Counters: lib_ms and raw_ms (fastest
// turns), lib/raw (their ratio, time over time) and lib/raw_median (the
// median of the per-iteration ratios).
void BM_ListFilesLibraryOverPlain(benchmark::State& state) {
    Catalogue catalogue(state.range(0));
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    CZanTList<IZanDB4FileDBRecord*> records;
    std::vector<PlainRow> rows;
    std::vector<double> library, plain, ratios;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        double begin = ThreadCpuMilliseconds();
        FileTableRows(*catalogue.Store()).ListFiles(nullptr, 0, records, 0);
        ReleaseAll(records);
        SettleAllocator();
        double middle = ThreadCpuMilliseconds();
        benchmark::DoNotOptimize(ListPlain(catalogue.Store()->m_db, rows));
        SettleAllocator();
        double end = ThreadCpuMilliseconds();
        library.push_back(middle - begin);
        plain.push_back(end - middle);
        ratios.push_back((middle - begin) / (end - middle));
    }
    if (ratios.empty()) return;
    std::sort(ratios.begin(), ratios.end());
    double fastestLibrary = *std::min_element(library.begin(), library.end());
    double fastestPlain = *std::min_element(plain.begin(), plain.end());
    state.counters["lib_ms"] = fastestLibrary;
    state.counters["raw_ms"] = fastestPlain;
    state.counters["lib/raw"] = fastestLibrary / fastestPlain;
    state.counters["lib/raw_median"] = ratios[ratios.size() / 2];
}
BENCHMARK(BM_ListFilesLibraryOverPlain)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// A client holds every record, so each search finds them live in the cache.
void BM_ListFilesCachedRecords(benchmark::State& state) {
    Catalogue catalogue(state.range(0));
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    CZanTList<IZanDB4FileDBRecord*> held, records;
    {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FileTableRows(*catalogue.Store()).ListFiles(nullptr, 0, held, 0);
    }
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FileTableRows(*catalogue.Store()).ListFiles(nullptr, 0, records, 0);
        ReleaseAll(records);
    }
    ReleaseAll(held);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListFilesCachedRecords)->Arg(10000);

// A day of shooting out of many files: the search scans the table, as
// shooting_date has no index of its own.
void BM_ListFilesOfOneDay(benchmark::State& state) {
    Catalogue catalogue(state.range(0));
    if (!catalogue.Ok()) state.SkipWithError("the library did not start");
    IZanDB4QueryMgr* queries = nullptr;
    IZanDB4QueryNode* day = nullptr;
    SYSTEMTIME date{};
    date.wYear = 2024;
    date.wMonth = 3;
    date.wDay = 7;
    if (ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(&queries)) != S_OK ||
        queries->CreateShootingDateNode(&day, 3, &date, nullptr) != S_OK)
        state.SkipWithError("no query node");
    CZanTList<IZanDB4FileDBRecord*> records;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FileTableRows(*catalogue.Store()).ListFiles(day, 1, records, 0);
        ReleaseAll(records);
    }
    if (day != nullptr) day->Release();
    if (queries != nullptr) queries->Release();
}
BENCHMARK(BM_ListFilesOfOneDay)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
