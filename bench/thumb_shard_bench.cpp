// The cost of thumbnails in shards: writing, then reading, 10 KB thumbnails
// under 1 000, 10 000 and 100 000 identifiers (1 to 10 shards of 10 000),
// with a commit after every 1 000 writes, by three ways side by side:
//
// - Library: CSQLiteThumbDBFactory, AddThumbnail / CommitShards /
//   GetThumbnail, one thread, no contention on its lock.
// - RawSqlite: the same shard files ("%08X.db", the same tables) and the same
//   statement texts run with SQLite directly: BEGIN before the first write of
//   a shard, COMMIT on every open shard per 1 000 writes, prepare, bind, step
//   and finalize per call, the date stamp of each write, and each read copied
//   out of the row. What the library adds on top of this is its own cost.
// - PlainFiles: one file per thumbnail in a folder per 10 000 identifiers;
//   at each commit point every file written since the last one is fsynced,
//   then the folders they lie in. A read opens, sizes, reads and closes.
//
// Reads run on files written once before the timing, so they come from the
// page cache for all three. Every write iteration starts on a fresh folder,
// and the making of shard files and folders counts in it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "shards/thumb_db_factory.h"
#include "shards/thumbnail_table.h"

namespace {

constexpr uint32_t kThumbnailBytes = 10 * 1024;
constexpr uint64_t kWritesPerCommit = 1000;
constexpr uint64_t kIdsPerShard = 10000;

std::filesystem::path MakeTempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
}

// One picture's bytes; the identifier goes into the first eight so that no
// two thumbnails are equal.
class Picture {
public:
    Picture() : m_bytes(kThumbnailBytes) {
        uint32_t state = 12345;
        for (unsigned char& byte : m_bytes) {
            state = state * 1103515245u + 12345u;
            byte = static_cast<unsigned char>(state >> 16);
        }
    }
    const unsigned char* For(uint64_t id) {
        std::memcpy(m_bytes.data(), &id, sizeof id);
        return m_bytes.data();
    }

private:
    std::vector<unsigned char> m_bytes;
};

std::string ShardName(uint64_t shard) {
    char name[16];
    std::snprintf(name, sizeof name, "%08X", static_cast<uint32_t>(shard));
    return name;
}

// ---- the library ----

class LibraryShards {
public:
    explicit LibraryShards(const std::filesystem::path& folder)
        : m_factory(CZanTString::FromUtf8(folder.c_str())) {}

    bool Write(uint64_t id, const unsigned char* data) {
        return m_factory.AddThumbnail(id, data, kThumbnailBytes) == S_OK;
    }
    bool Commit() { return m_factory.CommitShards() == S_OK; }
    // The bytes read, or 0 when the read failed.
    uint32_t Read(uint64_t id) {
        IZanDB4FileCache* cache = nullptr;
        if (m_factory.GetThumbnail(id, &cache) != S_OK) return 0;
        benchmark::DoNotOptimize(cache->GetData());
        uint32_t size = cache->GetSize();
        cache->Release();
        return size;
    }

private:
    CSQLiteThumbDBFactory m_factory;
};

// ---- SQLite alone, the library's statements ----

// The texts the library runs on a shard, kept identical to its own.
constexpr char16_t kInsert[] =
    u"INSERT INTO thumbnail_table (file_id,thumbnail_update_date,thumbnail_data,source_id) VALUES (?,?,?,?)";
constexpr const char* kMakeShard[] = {
    "CREATE TABLE version_info_table (version INTEGER)",
    "INSERT INTO version_info_table VALUES('1201')",
    "CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER)",
    "CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER)",
};

// Now in UTC, packed as every store packs a date.
int64_t NowPacked() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm broken{};
    gmtime_r(&now.tv_sec, &broken);
    return (int64_t{broken.tm_year + 1900} << 40) + (int64_t{broken.tm_mon + 1} << 32) +
           (int64_t{broken.tm_mday} << 24) + (int64_t{broken.tm_hour} << 16) + (int64_t{broken.tm_min} << 8) +
           int64_t{broken.tm_sec};
}

class RawSqliteShards {
public:
    explicit RawSqliteShards(const std::filesystem::path& folder) : m_folder(folder) {}
    ~RawSqliteShards() {
        Commit();
        for (auto& [number, shard] : m_shards) sqlite3_close(shard.db);
    }
    RawSqliteShards(const RawSqliteShards&) = delete;
    RawSqliteShards& operator=(const RawSqliteShards&) = delete;

    bool Write(uint64_t id, const unsigned char* data) {
        Shard* shard = ShardOf(id);
        if (shard == nullptr) return false;
        if (!shard->inTransaction) {
            sqlite3_exec(shard->db, "BEGIN;", nullptr, nullptr, nullptr);
            shard->inTransaction = true;
        }
        sqlite3_stmt* insert = nullptr;
        if (sqlite3_prepare16_v2(shard->db, kInsert, -1, &insert, nullptr) != SQLITE_OK) return false;
        sqlite3_bind_int64(insert, 1, static_cast<sqlite3_int64>(id));
        sqlite3_bind_int64(insert, 2, NowPacked());
        sqlite3_bind_blob(insert, 3, data, static_cast<int>(kThumbnailBytes), SQLITE_TRANSIENT);
        sqlite3_bind_int64(insert, 4, 0);
        int step = sqlite3_step(insert);
        return sqlite3_finalize(insert) == SQLITE_OK && step == SQLITE_DONE;
    }

    bool Commit() {
        bool ok = true;
        for (auto& [number, shard] : m_shards) {
            if (!shard.inTransaction) continue;
            ok = sqlite3_exec(shard.db, "COMMIT;", nullptr, nullptr, nullptr) == SQLITE_OK && ok;
            shard.inTransaction = false;
        }
        return ok;
    }

    uint32_t Read(uint64_t id) {
        Shard* shard = ShardOf(id);
        if (shard == nullptr) return 0;
        sqlite3_stmt* select = nullptr;
        if (sqlite3_prepare16_v2(shard->db, thumbnail_table::kSelectById, -1, &select, nullptr) != SQLITE_OK) return 0;
        sqlite3_bind_int64(select, 1, static_cast<sqlite3_int64>(id));
        uint32_t size = 0;
        if (sqlite3_step(select) == SQLITE_ROW) {
            // What the library's row reader takes, with the bytes copied out
            // before the statement goes.
            benchmark::DoNotOptimize(sqlite3_column_int64(select, 0));
            benchmark::DoNotOptimize(sqlite3_column_int64(select, 1));
            benchmark::DoNotOptimize(sqlite3_column_int64(select, 3));
            size = static_cast<uint32_t>(sqlite3_column_bytes(select, 2));
            void* copy = std::malloc(size);
            if (copy != nullptr) std::memcpy(copy, sqlite3_column_blob(select, 2), size);
            benchmark::DoNotOptimize(copy);
            std::free(copy);
        }
        sqlite3_finalize(select);
        return size;
    }

private:
    struct Shard {
        sqlite3* db = nullptr;
        bool inTransaction = false;
    };

    // The shard of id, opened on first touch and made with its tables, in
    // one transaction, when the file is not there.
    Shard* ShardOf(uint64_t id) {
        uint64_t number = id / kIdsPerShard;
        auto found = m_shards.find(number);
        if (found != m_shards.end()) return &found->second;
        std::filesystem::path file = m_folder / (ShardName(number) + ".db");
        bool existed = std::filesystem::exists(file);
        std::filesystem::create_directories(m_folder);
        Shard shard;
        if (sqlite3_open(file.c_str(), &shard.db) != SQLITE_OK) {
            sqlite3_close(shard.db);
            return nullptr;
        }
        if (!existed) {
            sqlite3_exec(shard.db, "BEGIN;", nullptr, nullptr, nullptr);
            for (const char* sql : kMakeShard) sqlite3_exec(shard.db, sql, nullptr, nullptr, nullptr);
            sqlite3_stmt* create = nullptr;
            sqlite3_prepare16_v2(shard.db, thumbnail_table::kCreate, -1, &create, nullptr);
            sqlite3_step(create);
            sqlite3_finalize(create);
            sqlite3_exec(shard.db, "COMMIT;", nullptr, nullptr, nullptr);
        }
        return &m_shards.emplace(number, shard).first->second;
    }

    std::filesystem::path m_folder;
    std::map<uint64_t, Shard> m_shards;
};

// ---- one plain file per thumbnail ----

bool SyncPath(const std::string& path, int flags) {
    int fd = ::open(path.c_str(), flags);
    if (fd < 0) return false;
    bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

class PlainFiles {
public:
    explicit PlainFiles(const std::filesystem::path& folder) : m_folder(folder) {}
    ~PlainFiles() { Commit(); }
    PlainFiles(const PlainFiles&) = delete;
    PlainFiles& operator=(const PlainFiles&) = delete;

    bool Write(uint64_t id, const unsigned char* data) {
        std::string path = PathOf(id, true);
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) return false;
        bool ok = ::write(fd, data, kThumbnailBytes) == static_cast<ssize_t>(kThumbnailBytes);
        ok = ::close(fd) == 0 && ok;
        m_unsynced.push_back(std::move(path));
        return ok;
    }

    // Every file written since the last commit, then their folders (and the
    // root, when a folder was made), reach the disk.
    bool Commit() {
        bool ok = true;
        for (const std::string& path : m_unsynced) ok = SyncPath(path, O_RDONLY) && ok;
        for (const std::string& folder : m_unsyncedFolders) ok = SyncPath(folder, O_RDONLY | O_DIRECTORY) && ok;
        m_unsynced.clear();
        m_unsyncedFolders.clear();
        return ok;
    }

    uint32_t Read(uint64_t id) {
        std::string path = PathOf(id, false);
        int fd = ::open(path.c_str(), O_RDONLY);
        if (fd < 0) return 0;
        struct stat status {};
        uint32_t size = 0;
        if (::fstat(fd, &status) == 0) {
            void* copy = std::malloc(static_cast<size_t>(status.st_size));
            if (copy != nullptr && ::read(fd, copy, static_cast<size_t>(status.st_size)) == status.st_size)
                size = static_cast<uint32_t>(status.st_size);
            benchmark::DoNotOptimize(copy);
            std::free(copy);
        }
        ::close(fd);
        return size;
    }

private:
    // folder/<shard>/<id>; a writer makes the shard's folder on first touch.
    std::string PathOf(uint64_t id, bool writing) {
        uint64_t number = id / kIdsPerShard;
        std::string folder = (m_folder / ShardName(number)).string();
        if (writing && m_madeFolders.insert(number).second) {
            std::filesystem::create_directories(folder);
            m_unsyncedFolders.insert(m_folder.string());
        }
        if (writing) m_unsyncedFolders.insert(folder);
        return folder + "/" + std::to_string(id);
    }

    std::filesystem::path m_folder;
    std::set<uint64_t> m_madeFolders;
    std::vector<std::string> m_unsynced;
    std::set<std::string> m_unsyncedFolders;
};

// ---- the benchmarks, the same for all three ----

// Writes ids 1..count, committing after every 1 000; false at the first
// failure.
template <class Store>
bool WriteAll(Store& store, uint64_t count, Picture& picture) {
    for (uint64_t id = 1; id <= count; ++id) {
        if (!store.Write(id, picture.For(id))) return false;
        if (id % kWritesPerCommit == 0 && !store.Commit()) return false;
    }
    return store.Commit();
}

template <class Store>
void BM_ThumbnailWrite(benchmark::State& state) {
    const uint64_t count = static_cast<uint64_t>(state.range(0));
    Picture picture;
    for (auto _ : state) {
        state.PauseTiming();
        std::filesystem::path folder = MakeTempFolder();
        state.ResumeTiming();
        {
            Store store(folder / "thumb_0s");
            if (!WriteAll(store, count, picture)) state.SkipWithError("a write or commit failed");
        }
        state.PauseTiming();
        std::filesystem::remove_all(folder);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(count));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(count) * kThumbnailBytes);
}

template <class Store>
void BM_ThumbnailRead(benchmark::State& state) {
    const uint64_t count = static_cast<uint64_t>(state.range(0));
    std::filesystem::path folder = MakeTempFolder();
    {
        Picture picture;
        Store writer(folder / "thumb_0s");
        if (!WriteAll(writer, count, picture)) state.SkipWithError("writing the thumbnails failed");
    }
    {
        Store store(folder / "thumb_0s");
        for (auto _ : state) {
            for (uint64_t id = 1; id <= count; ++id) {
                if (store.Read(id) != kThumbnailBytes) {
                    state.SkipWithError("a read failed");
                    break;
                }
            }
        }
    }
    std::filesystem::remove_all(folder);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(count));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(count) * kThumbnailBytes);
}

// Thumbnails per run: 1, 1 and 10 shards. Writes wait on the disk, so the
// rates are of wall-clock time.
void ThumbnailCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_TEMPLATE(BM_ThumbnailWrite, LibraryShards)->Apply(ThumbnailCounts);
BENCHMARK_TEMPLATE(BM_ThumbnailWrite, RawSqliteShards)->Apply(ThumbnailCounts);
BENCHMARK_TEMPLATE(BM_ThumbnailWrite, PlainFiles)->Apply(ThumbnailCounts);
BENCHMARK_TEMPLATE(BM_ThumbnailRead, LibraryShards)->Apply(ThumbnailCounts);
BENCHMARK_TEMPLATE(BM_ThumbnailRead, RawSqliteShards)->Apply(ThumbnailCounts);
BENCHMARK_TEMPLATE(BM_ThumbnailRead, PlainFiles)->Apply(ThumbnailCounts);

}  // namespace
