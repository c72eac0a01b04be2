// The database utility on large catalogues: CheckDeadLinks over 10 000,
// 100 000 and 200 000 files, each with a metadata row, a tag link, a face and
// a thumbnail (and a few orphans of each), first as the statements run whole
// under this SQLite's limit, then with the limit lowered to a million bytes,
// where the id list is counted in runs; and BackupDatabases of a root of
// 100 000 files, without and with the shard folders. The catalogue is filled
// outside the timing; each run uses a fresh root.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "catalogue/file_basic_db.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "shards/shard_files.h"
#include "shards/thumb_db_mgr.h"
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
        m_started = zandb4::bench::StartLibrary(root) && DatabaseRegistry::fileBasicDB != nullptr &&
                    ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(m_utility.Receive())) == S_OK;
    }
    ~Library() {
        m_utility.Reset();
        ZanDB4_Finalize();
        std::filesystem::remove_all(m_root);
    }
    bool Ok() const { return m_started; }
    IZanDB4DBUtility* Utility() const { return m_utility.Get(); }
    const std::filesystem::path& Root() const { return m_root; }

private:
    std::filesystem::path m_root;
    ComPtr<IZanDB4DBUtility> m_utility;
    bool m_started = false;
};

bool Exec(const std::string& sql) {
    return sqlite3_exec(DatabaseRegistry::fileBasicDB->m_db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

// files rows in file_table with a metadata row, a tag link and a person face
// each, a thumbnail of 256 bytes each, and five orphans of each kind beyond
// the last file. Everything is committed.
bool FillCatalogue(int64_t files) {
    std::string count = std::to_string(files);
    bool ok = Exec("BEGIN") &&
              Exec(
                  "INSERT INTO file_table (file_id, file_path, file_name, path_key) WITH RECURSIVE n(i) AS "
                  "(SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<" +
                  count +
                  ") "
                  "SELECT i, '/pictures/' || (i / 500), 'IMG_' || i || '.JPG', 'K' || i FROM n") &&
              Exec("INSERT INTO person_table (person_id, name) VALUES (1, 'Ann')") &&
              Exec("INSERT INTO tag_table VALUES (1, 'all', 0)") &&
              Exec("INSERT INTO meta_table (file_id) SELECT file_id FROM file_table") &&
              Exec("INSERT INTO tag_file_table SELECT 1, file_id FROM file_table") &&
              Exec("INSERT INTO person_face_table SELECT file_id, file_id, 1, 0 FROM file_table");
    for (int64_t gone = files + 1; ok && gone <= files + 5; ++gone) {
        std::string id = std::to_string(gone);
        ok = Exec("INSERT INTO meta_table (file_id) VALUES (" + id + ")") &&
             Exec("INSERT INTO tag_file_table VALUES (1, " + id + ")") &&
             Exec("INSERT INTO person_face_table VALUES (" + id + ", " + id + ", 1, 0)");
    }
    ok = ok && Exec("COMMIT");
    const std::string thumbnail(256, 't');
    CSQLiteThumbDBFactory* factory = DatabaseRegistry::thumbMgr->Factory(1);
    for (int64_t id = 1; ok && id <= files + 5; ++id)
        ok = factory->AddThumbnail(static_cast<uint64_t>(id), thumbnail.data(),
                                   static_cast<uint32_t>(thumbnail.size())) == S_OK;
    return ok && factory->CommitShards() == S_OK;
}

void CheckDeadLinks(benchmark::State& state, int lengthLimit) {
    Library library;
    if (!library.Ok() || !FillCatalogue(state.range(0))) {
        state.SkipWithError("could not fill the catalogue");
        return;
    }
    shard_files::SetStatementLengthLimitForTesting(lengthLimit);
    for (auto _ : state) {
        IZanDB4DeadLinkInfo* info = nullptr;
        if (library.Utility()->CheckDeadLinks(&info, 0) != S_OK) {
            state.SkipWithError("CheckDeadLinks failed");
            break;
        }
        uint32_t orphans = 0;
        info->GetOrphanThumbnailCount(&orphans);
        state.counters["orphan thumbnails"] = orphans;
        info->Release();
    }
    shard_files::SetStatementLengthLimitForTesting(0);
    state.counters["files"] = static_cast<double>(state.range(0));
}

void BM_CheckDeadLinks(benchmark::State& state) {
    CheckDeadLinks(state, 0);
}
BENCHMARK(BM_CheckDeadLinks)->Arg(10000)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CheckDeadLinksInRunsUnderAMillionBytes(benchmark::State& state) {
    CheckDeadLinks(state, 1000000);
}
BENCHMARK(BM_CheckDeadLinksInRunsUnderAMillionBytes)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// The same with every catalogued file looked for on disk (none is there).
void BM_CheckDeadLinksWithFiles(benchmark::State& state) {
    Library library;
    if (!library.Ok() || !FillCatalogue(state.range(0))) {
        state.SkipWithError("could not fill the catalogue");
        return;
    }
    for (auto _ : state) {
        IZanDB4DeadLinkInfo* info = nullptr;
        if (library.Utility()->CheckDeadLinks(&info, 1) != S_OK) {
            state.SkipWithError("CheckDeadLinks failed");
            break;
        }
        uint32_t dead = 0;
        info->GetDeadFileCount(&dead);
        state.counters["dead files"] = dead;
        info->Release();
    }
}
BENCHMARK(BM_CheckDeadLinksWithFiles)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(2);

// Backups of a root of range(0) files; range(1) is includeFolders. Each
// iteration after the first also rotates the generation before.
void BM_BackupDatabases(benchmark::State& state) {
    Library library;
    if (!library.Ok() || !FillCatalogue(state.range(0))) {
        state.SkipWithError("could not fill the catalogue");
        return;
    }
    for (auto _ : state) {
        if (library.Utility()->BackupDatabases(nullptr, static_cast<BOOL>(state.range(1))) != S_OK) {
            state.SkipWithError("BackupDatabases failed");
            break;
        }
    }
    uintmax_t bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(library.Root() / "database-backup"))
        if (entry.is_regular_file()) bytes += entry.file_size();
    state.counters["backup MB"] = static_cast<double>(bytes) / (1024.0 * 1024.0);
}
BENCHMARK(BM_BackupDatabases)->Args({100000, 0})->Args({100000, 1})->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
