// Costs of albums and tags on a catalogue of many files: moving files from
// album to album and the commit that recounts the albums touched, listing
// the files of one tag, and reading every album. The catalogue (files in
// albums of 100 files each, 200 tags, each file linked to one tag) is built
// once per size and process: rows through the file store in one
// transaction, then one commit.
//
// The recount at commit refreshes only the albums whose membership changed,
// and reads their files through the album index of file_table, so its cost
// follows the files of those albums. BM_RecountAfterMove shows it: the same
// albums moved in catalogues of 10 000 to 100 000 files, and more albums
// moved in the largest one.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

#include "albums/tag_links.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "library/database_registry.h"
#include "records/file_db_record.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using zandb4::ComPtr;

constexpr int64_t kFilesPerAlbum = 100;
constexpr int64_t kTags = 200;

template <class Interface>
ComPtr<Interface> MakeInstance(const IID& iid) {
    ComPtr<Interface> made;
    if (ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(made.Receive())) != S_OK) return {};
    return made;
}

// The library started on a fresh root holding files files: file id i is in
// album (i - 1) / 100 and linked to tag i % 200, shot on one of 336 days.
class LabelledCatalogue {
public:
    explicit LabelledCatalogue(int64_t files) : m_files(files) {
        std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_root = pattern;
        CZanTString root = CZanTString::FromUtf8(m_root.c_str());
        if (!zandb4::bench::StartLibrary(root)) return;
        m_store = DatabaseRegistry::fileBasicDB;
        m_albums = MakeInstance<IZanDB4AlbumDBMgr>(IID_IZanDB4AlbumDBMgr);
        ComPtr<IZanDB4TagDBMgr> tags = MakeInstance<IZanDB4TagDBMgr>(IID_IZanDB4TagDBMgr);
        if (m_store == nullptr || !m_albums || !tags) return;
        m_ok = AddTags(tags.Get()) && AddAlbums() && AddFiles() && m_store->Commit(false) == S_OK;
    }
    ~LabelledCatalogue() {
        m_held.clear();
        m_albums = {};
        ZanDB4_Finalize();
        zandb4::bench::KeptLibraryStopped();
        std::filesystem::remove_all(m_root);
    }

    bool Ok() const { return m_ok; }
    int64_t Files() const { return m_files; }
    CSQLiteFileBasicDB* Store() { return m_store; }
    IZanDB4AlbumDBMgr* Albums() { return m_albums.Get(); }
    uint64_t TagId(size_t index) const { return m_tagIds[index]; }

    // Moves the files of the first albums albums to the next as many albums,
    // or back where a file is away already: SetAlbumID on the file's record
    // and the update through the file store, in the store's transaction.
    // The records are read once and then held, as a client holds them.
    void MoveFilesOfAlbums(int64_t albums) {
        int64_t files = albums * kFilesPerAlbum;
        CriticalSectionGuard guard(m_store->m_lock);
        while (static_cast<int64_t>(m_held.size()) < files) {
            ComPtr<IZanDB4FileDBRecord> record;
            FileTableRows(*m_store).GetFileRecord(m_held.size() + 1, record.Receive());
            m_held.push_back(record);
        }
        for (int64_t index = 0; index < files; ++index) {
            IZanDB4FileDBRecord* record = m_held[static_cast<size_t>(index)].Get();
            uint64_t current = 0;
            record->GetAlbumID(&current);
            uint64_t home = m_albumIds[static_cast<size_t>(index / kFilesPerAlbum)];
            uint64_t away = m_albumIds[static_cast<size_t>(index / kFilesPerAlbum + albums)];
            uint64_t target = current == home ? away : home;
            record->SetAlbumID(&target);
            FileTableRows(*m_store).UpdateFileRecord(static_cast<uint64_t>(index + 1), record);
        }
    }

private:
    bool AddTags(IZanDB4TagDBMgr* tags) {
        for (int64_t index = 0; index < kTags; ++index) {
            ComPtr<IZanDB4TagDBRecord> record = MakeInstance<IZanDB4TagDBRecord>(IID_IZanDB4TagDBRecord);
            if (!record) return false;
            CZanTString name;
            name.Format(u"tag %lld", static_cast<long long>(index));
            record->SetName(name);
            record->SetType(static_cast<uint32_t>(index % 4));
            uint64_t id = 0;
            if (tags->AddTag(record.Get(), &id) != S_OK) return false;
            m_tagIds.push_back(id);
        }
        return true;
    }

    bool AddAlbums() {
        for (int64_t index = 0; index < (m_files + kFilesPerAlbum - 1) / kFilesPerAlbum; ++index) {
            ComPtr<IZanDB4AlbumDBRecord> record = MakeInstance<IZanDB4AlbumDBRecord>(IID_IZanDB4AlbumDBRecord);
            if (!record) return false;
            CZanTString name;
            name.Format(u"album %lld", static_cast<long long>(index));
            record->SetName(name);
            float latitude = static_cast<float>(index % 180) - 89.5f, longitude = static_cast<float>(index % 360) - 179.5f;
            record->SetGPS(&latitude, &longitude);
            record->SetAreaInfo(u"somewhere");
            uint64_t id = 0;
            if (m_albums->AddAlbum(record.Get(), &id) != S_OK) return false;
            m_albumIds.push_back(id);
        }
        return true;
    }

    // Rows through the file store and one tag link each through the file
    // store's link writer, from a record that holds that one tag.
    bool AddFiles() {
        std::vector<ComPtr<IZanDB4FileDBRecord>> tagHolders;
        for (uint64_t tagId : m_tagIds) {
            ComPtr<IZanDB4FileDBRecord> holder = ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(nullptr));
            holder->AddTag(&tagId);
            tagHolders.push_back(holder);
        }
        CriticalSectionGuard guard(m_store->m_lock);
        for (int64_t id = 1; id <= m_files; ++id) {
            FileRowValues row;
            row.fileId = static_cast<uint64_t>(id);
            row.filePath.Format(u"/photos/%lld/IMG_%lld", static_cast<long long>(id / 100), static_cast<long long>(id));
            row.fileName.Format(u"IMG_%lld.JPG", static_cast<long long>(id));
            row.diskVsn = 0x1234;
            row.fileFormat = 3;
            row.shootingDate = (int64_t{2024} << 40) + (static_cast<int64_t>(1 + id % 12) << 32) +
                               (static_cast<int64_t>(1 + id % 28) << 24);
            row.albumId = m_albumIds[static_cast<size_t>((id - 1) / kFilesPerAlbum)];
            row.manage = 1;
            if (FileTableRows(*m_store).InsertFileRow(row) != S_OK) return false;
            if (TagFileLinks(*m_store).WriteFileTags(row.fileId, tagHolders[static_cast<size_t>(id % kTags)].Get()) !=
                S_OK)
                return false;
        }
        return true;
    }

    std::filesystem::path m_root;
    int64_t m_files = 0;
    bool m_ok = false;
    CSQLiteFileBasicDB* m_store = nullptr;
    ComPtr<IZanDB4AlbumDBMgr> m_albums;
    std::vector<uint64_t> m_albumIds;
    std::vector<uint64_t> m_tagIds;
    std::vector<ComPtr<IZanDB4FileDBRecord>> m_held;
};

// The catalogue of that many files, built on first use and kept until a
// catalogue of another size is asked for (the library runs once per process).
std::unique_ptr<LabelledCatalogue>& CurrentCatalogue() {
    static std::unique_ptr<LabelledCatalogue> current;
    return current;
}

LabelledCatalogue& CatalogueOf(int64_t files) {
    std::unique_ptr<LabelledCatalogue>& current = CurrentCatalogue();
    if (!current || current->Files() != files) {
        current.reset();
        current = std::make_unique<LabelledCatalogue>(files);
        zandb4::bench::KeepLibraryUp([] { CurrentCatalogue().reset(); });
    }
    return *current;
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// 10 000 files (100 albums) move to 100 other albums and the commit recounts
// the 200 albums; commit_ms is the commit's share.
void BM_MoveFilesAndCommit(benchmark::State& state) {
    LabelledCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    const int64_t albums = state.range(0) / kFilesPerAlbum;
    double commitMilliseconds = 0;
    for (auto _ : state) {
        catalogue.MoveFilesOfAlbums(albums);
        auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(catalogue.Store()->Commit(false));
        commitMilliseconds += MillisecondsSince(start);
    }
    state.counters["commit_ms"] = benchmark::Counter(commitMilliseconds, benchmark::Counter::kAvgIterations);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_MoveFilesAndCommit)->Arg(10'000)->Unit(benchmark::kMillisecond);

// The files of one tag: 500 of 100 000.
void BM_ListFilesOfTag(benchmark::State& state) {
    LabelledCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    CZanTList<IZanDB4FileDBRecord*> records;
    size_t listed = 0;
    for (auto _ : state) {
        CriticalSectionGuard guard(catalogue.Store()->m_lock);
        FileTableRows(*catalogue.Store())
            .ListFilesOfTag(catalogue.TagId(7), records, static_cast<uint32_t>(state.range(0)));
        listed = static_cast<size_t>(records.GetCount());
        for (POSITION position = records.GetHeadPosition(); position != nullptr;)
            records.GetNext(position)->Release();
        records.RemoveAll();
    }
    if (listed != static_cast<size_t>(100'000 / kTags)) state.SkipWithError("the tag did not list its 500 files");
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(listed));
}
// Load mode: 0 every column, 2 the short list.
BENCHMARK(BM_ListFilesOfTag)->Arg(0)->Arg(2)->Unit(benchmark::kMicrosecond);

// Every album of 1 000 as records; with range(0) 1 each record's file count
// is read as well, which reads the album's row again.
void BM_GetAlbums(benchmark::State& state) {
    LabelledCatalogue& catalogue = CatalogueOf(100'000);
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    CArray<IZanDB4AlbumDBRecord*> albums;
    uint64_t counted = 0;
    for (auto _ : state) {
        catalogue.Albums()->GetAlbums(&albums);
        for (ptrdiff_t index = 0; index < albums.GetSize(); ++index) {
            if (state.range(0) == 1) {
                uint32_t count = 0;
                albums.GetAt(index)->GetFileCount(&count);
                counted += count;
            }
            albums.GetAt(index)->Release();
        }
        if (albums.GetSize() != 1000) state.SkipWithError("not 1 000 albums");
        albums.SetSize(0);
    }
    benchmark::DoNotOptimize(counted);
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_GetAlbums)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// The commit alone after the files of range(1) albums moved to as many
// others, in a catalogue of range(0) files. The moves are not timed.
void BM_RecountAfterMove(benchmark::State& state) {
    LabelledCatalogue& catalogue = CatalogueOf(state.range(0));
    if (!catalogue.Ok()) {
        state.SkipWithError("the catalogue could not be built");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        catalogue.MoveFilesOfAlbums(state.range(1));
        state.ResumeTiming();
        benchmark::DoNotOptimize(catalogue.Store()->Commit(false));
    }
    state.counters["catalogue_files"] = static_cast<double>(state.range(0));
    state.counters["albums_touched"] = static_cast<double>(2 * state.range(1));
}
// The largest catalogue first, as the benchmarks above left it.
BENCHMARK(BM_RecountAfterMove)
    ->Args({100'000, 10})
    ->Args({100'000, 50})
    ->Args({100'000, 100})
    ->Args({10'000, 10})
    ->Args({25'000, 10})
    ->Args({50'000, 10})
    ->Unit(benchmark::kMillisecond);

}  // namespace
