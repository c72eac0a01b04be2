// The public file manager against a plain SQLite program that runs the same
// statements, at 10 000, 100 000 and (with ZANDB4_BENCH_MILLION=1) 1 000 000
// files.
//
// Import: AddFile per file, Commit(4) every 1 000 files and Commit(2|1) every
// 10 000. The plain program prepares, binds, steps and finalizes the same
// statements per row, on its own copy of the same empty stores (made by the
// library, so schema and indexes match): the id drawn from the catalogue,
// the staged row, the two thumbnail deletes, the commits, and at the move the
// read of the staged rows into file_table and meta_table. Lookups: GetFile
// by id, FindFileByPath, and ListFiles of one day (a shooting-date node).
//
// Before anything is timed, both sides import a few files with every
// connection traced, and the two statement sequences must be the same text
// in the same order; the plain benchmarks refuse to run otherwise.
//
// Counters: files/s or lookups/s (by the wall clock), lib/raw (the library's
// rate over the plain program's, repetition k of the library against
// repetition k of the plain program that ran just after it), lib/raw_cpu
// (the same by the thread's CPU time, which the other work of a shared
// machine disturbs far less than the wall clock), growth_cpu (CPU time per
// lookup over that at 10 000 files) and, for the library's import,
// peak_rss_MB, the peak resident memory of the process during that import
// alone (the kernel's high-water mark is reset before it; where it cannot
// be, the process's peak so far), and rss_at_start_MB, what the process held
// when it began.
// Every repetition of an import starts again from empty stores, so each one
// imports the whole size; the last one leaves the catalogues the lookups of
// that size use. They are removed when the next size starts.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_table.h"
#include "library/database_registry.h"
#include "records/meta_table.h"
#include "shards/thumb_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "staging/async_file_table.h"
#include "zandb4.h"
#include "library_keeper.h"

namespace {

namespace fs = std::filesystem;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;
using Clock = std::chrono::steady_clock;

constexpr int64_t kSizes[] = {10'000, 100'000, 1'000'000};
// The 1 000 000-file size takes a quarter of an hour on two cores, so the
// default run stops at 100 000; ZANDB4_BENCH_MILLION=1 adds it.
bool WithMillion() {
    const char* wanted = std::getenv("ZANDB4_BENCH_MILLION");
    return wanted != nullptr && std::string(wanted) == "1";
}
constexpr int64_t kStagingCommitEvery = 1'000;
constexpr int64_t kMoveEvery = 10'000;
constexpr int64_t kFilesPerDay = 300;
constexpr uint32_t kDiskVsn = 0x1234;
constexpr uint32_t kIdsPerShard = 10'000;

// ---------------------------------------------------------------------------
// The files: number index always has the same path, name, date and size.

CZanTString PathOf(int64_t index) {
    CZanTString path;
    path.Format(u"/photos/%04lld/IMG_%07lld.JPG", static_cast<long long>(index / 500),
                static_cast<long long>(index));
    return path;
}

CZanTString NameOf(int64_t index) {
    CZanTString name;
    name.Format(u"IMG_%07lld.JPG", static_cast<long long>(index));
    return name;
}

// kFilesPerDay files a day from 1 January 2015, spread over the day.
SYSTEMTIME DateOf(int64_t index) {
    SYSTEMTIME date{};
    std::tm day{};
    day.tm_year = 115;
    day.tm_mday = 1 + static_cast<int>(index / kFilesPerDay);
    day.tm_hour = 12;
    ::timegm(&day);
    date.wYear = static_cast<uint16_t>(day.tm_year + 1900);
    date.wMonth = static_cast<uint16_t>(day.tm_mon + 1);
    date.wDay = static_cast<uint16_t>(day.tm_mday);
    int64_t second = (index % kFilesPerDay) * 86'000 / kFilesPerDay;
    date.wHour = static_cast<uint16_t>(second / 3600);
    date.wMinute = static_cast<uint16_t>(second / 60 % 60);
    date.wSecond = static_cast<uint16_t>(second % 60);
    return date;
}

uint64_t SizeOf(int64_t index) { return 3'000'000 + static_cast<uint64_t>(index); }

std::string MakeTempRoot(const char* what) {
    std::string pattern = (fs::temp_directory_path() / (std::string("zandb4-fm-") + what + "-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
}

// The thread's CPU time in seconds.
double ThreadCpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Sets the kernel's peak resident memory of this process back to what it
// holds now, so that the next reading is the peak of what follows. Memory
// that was freed but that the allocator still holds (the preparation of a
// root opens every thumbnail shard at once, then stops the library) is given
// back first, so that it does not count as the import's. False where the
// kernel does not offer it.
bool ResetPeakResident() {
    ::malloc_trim(0);
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return clear.good();
}

// The peak resident memory since the last reset (VmHWM), or the process's
// peak so far (ru_maxrss) when that cannot be read.
double PeakResidentMegabytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0) return std::strtod(line.c_str() + 6, nullptr) / 1024.0;
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// What the process holds resident now (VmRSS), 0 where it cannot be read.
double ResidentMegabytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::strtod(line.c_str() + 6, nullptr) / 1024.0;
    return 0;
}

// ---------------------------------------------------------------------------
// The library side: one root at a time is started.

std::string g_startedRoot;
IZanDB4FileDBMgr* g_manager = nullptr;

void StopLibrary() {
    if (g_startedRoot.empty()) return;
    if (g_manager != nullptr) g_manager->Release();
    g_manager = nullptr;
    ZanDB4_Finalize();
    g_startedRoot.clear();
}

// Stops the library when a benchmark of this file ends. The benchmarks of
// the other files start it on roots of their own, and a start on a library
// that is up only counts it: they would measure this file's catalogue.
struct LibraryStoppedAtEnd {
    ~LibraryStoppedAtEnd() { StopLibrary(); }
};

bool StartLibrary(const std::string& root) {
    if (g_startedRoot == root) return g_manager != nullptr;
    StopLibrary();
    CZanTString wide = CZanTString::FromUtf8(root.c_str());
    if (!zandb4::bench::StartLibrary(wide)) return false;
    g_startedRoot = root;
    return ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&g_manager)) == S_OK &&
           g_manager != nullptr;
}

bool LibraryAddFile(int64_t index) {
    IZanDB4FileDBRecord* record = nullptr;
    IZanDB4FileMetaDBRecord* meta = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(&record)) != S_OK) return false;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(&meta)) != S_OK) {
        record->Release();
        return false;
    }
    CZanTString path = PathOf(index), name = NameOf(index);
    uint32_t diskVsn = kDiskVsn, manage = 1, format = 1;
    SYSTEMTIME date = DateOf(index);
    record->SetFilePath(path.GetString(), &diskVsn);
    record->SetFileName(name.GetString());
    record->SetManage(&manage);
    record->SetFileFormat(&format);
    record->SetShootingDate(&date);
    meta->SetFileSize(SizeOf(index));
    meta->SetFileUpdateDate(&date);
    meta->SetPixelSize(6000, 4000);
    record->AttachMetaRecord(meta);
    meta->Release();
    uint64_t id = 0;
    HRESULT added = g_manager->AddFile(record, &id);
    record->Release();
    return added == S_OK;
}

// Imports files [first, last) on the started library with the commit rhythm
// of an import of every stagingEvery / moveEvery files.
bool LibraryImport(int64_t first, int64_t last, int64_t stagingEvery, int64_t moveEvery) {
    for (int64_t index = first; index < last; ++index) {
        if (!LibraryAddFile(index)) return false;
        int64_t done = index + 1;
        if (done % moveEvery == 0) {
            if (g_manager->Commit(2 | 1) != S_OK) return false;
        } else if (done % stagingEvery == 0) {
            if (g_manager->Commit(4) != S_OK) return false;
        }
    }
    if (last % moveEvery != 0) return g_manager->Commit(2 | 1) == S_OK;
    return true;
}

// ---------------------------------------------------------------------------
// The plain side: the same stores opened with sqlite3 alone.

// A connection with the library's transaction rule: BEGIN before the first
// write, COMMIT at a commit only when one was begun.
struct Store {
    sqlite3* db = nullptr;
    bool inTransaction = false;

    bool Open(const fs::path& file) {
        return sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK;
    }
    void Close() {
        if (db != nullptr) sqlite3_close_v2(db);
        db = nullptr;
        inTransaction = false;
    }
    void Begin() {
        if (inTransaction) return;
        sqlite3_exec(db, "BEGIN;", nullptr, nullptr, nullptr);
        inTransaction = true;
    }
    void Commit() {
        if (!inTransaction) return;
        sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
        inTransaction = false;
    }
};

void BindText(sqlite3_stmt* statement, int index, const CZanTString& text) {
    sqlite3_bind_text16(statement, index, text.GetString(), static_cast<int>(text.GetLength() * 2),
                        SQLITE_TRANSIENT);
}

CZanTString ColumnText(sqlite3_stmt* statement, int column) {
    const void* text = sqlite3_column_text16(statement, column);
    CZanTString value;
    if (text != nullptr) value = static_cast<const WCHAR*>(text);
    return value;
}

// The values a row of file_table or async_file_table carries, read column
// by column as the library's row readers do.
struct RowValues {
    int64_t numbers[48] = {};
    double reals[2] = {};
    CZanTString texts[4];
};

void ReadFileTableRow(sqlite3_stmt* row, RowValues& values) {
    using namespace file_table;
    int columns = sqlite3_column_count(row);
    for (int column = 0; column < columns && column < 48; ++column) {
        switch (column) {
            case kFilePath: values.texts[0] = ColumnText(row, column); break;
            case kPathKey: break;
            case kFileName: values.texts[1] = ColumnText(row, column); break;
            case kGpsLatitude: values.reals[0] = sqlite3_column_double(row, column); break;
            case kGpsLongitude: values.reals[1] = sqlite3_column_double(row, column); break;
            default: values.numbers[column] = sqlite3_column_int64(row, column); break;
        }
    }
}

class PlainCatalogue {
public:
    explicit PlainCatalogue(const fs::path& root) : m_database(root / "database") {}
    ~PlainCatalogue() { Close(); }

    bool Open() {
        return m_catalogue.Open(m_database / "FileBasic.db") && m_staging.Open(m_database / "FileBasicAsync.db");
    }
    void Close() {
        m_catalogue.Close();
        m_staging.Close();
        for (auto* kind : {&m_thumbs1, &m_thumbs2})
            for (auto& [number, shard] : *kind) shard.Close();
        m_thumbs1.clear();
        m_thumbs2.clear();
    }
    sqlite3* Catalogue() { return m_catalogue.db; }
    void ForEachConnection(void (*use)(sqlite3*, void*), void* context) {
        use(m_catalogue.db, context);
        use(m_staging.db, context);
        for (auto* kind : {&m_thumbs1, &m_thumbs2})
            for (auto& [number, shard] : *kind) use(shard.db, context);
    }

    // AddFile: the id drawn in the catalogue's transaction, the staged row,
    // and the thumbnail deletes of both kinds.
    bool AddFile(int64_t index) {
        uint64_t id = NewId();
        if (id == 0) return false;
        m_staging.Begin();
        {
            sqlite3_stmt* has = Prepare(m_staging.db, async_file_table::kSelectById);
            sqlite3_bind_int64(has, 1, static_cast<int64_t>(id));
            bool staged = sqlite3_step(has) == SQLITE_ROW;
            sqlite3_finalize(has);
            if (staged) return false;
        }
        sqlite3_stmt* insert = Prepare(m_staging.db, kInsertStaged);
        if (insert == nullptr) return false;
        BindStaged(insert, id, index);
        int step = sqlite3_step(insert);
        sqlite3_finalize(insert);
        if (step != SQLITE_DONE) return false;
        DeleteThumbnail(m_thumbs1, u"thumb_0s", id);
        DeleteThumbnail(m_thumbs2, u"thumb_1s", id);
        return true;
    }

    // Commit(4): staging, then the open thumbnail shards.
    void CommitStaging() {
        m_staging.Commit();
        CommitThumbnails();
    }

    // Commit(2|1): the move, staging's commit, then the catalogue's.
    bool MoveAndCommit() {
        bool moved = MoveFiles();
        m_staging.Begin();
        if (RunOnce(m_staging.db, kDeleteTagsOfReadyFiles) == SQLITE_OK)
            RunOnce(m_staging.db, kDeleteReadyFiles);
        CommitThumbnails();
        m_staging.Commit();
        m_catalogue.Commit();
        CommitThumbnails();
        return moved;
    }

    bool Import(int64_t first, int64_t last, int64_t stagingEvery, int64_t moveEvery) {
        for (int64_t index = first; index < last; ++index) {
            if (!AddFile(index)) return false;
            int64_t done = index + 1;
            if (done % moveEvery == 0) {
                if (!MoveAndCommit()) return false;
            } else if (done % stagingEvery == 0) {
                CommitStaging();
            }
        }
        if (last % moveEvery != 0) return MoveAndCommit();
        return true;
    }

    // GetFile: the row by id, read whole.
    bool GetFile(uint64_t id, RowValues& values) {
        sqlite3_stmt* select = Prepare(m_catalogue.db, file_table::kSelectById);
        sqlite3_bind_int64(select, 1, static_cast<int64_t>(id));
        bool found = sqlite3_step(select) == SQLITE_ROW;
        if (found) ReadFileTableRow(select, values);
        return sqlite3_finalize(select) == SQLITE_OK && found;
    }

    // FindFileByPath with only the id asked for: the key made from the
    // upper-cased path and the volume, column 0 of the row.
    uint64_t FindFileByPath(const CZanTString& path, uint32_t diskVsn) {
        CZanTString upper = path;
        upper.MakeUpper();
        CZanTString key;
        key.Format(u"%s_%X", upper.GetString(), diskVsn);
        sqlite3_stmt* select = Prepare(m_catalogue.db, kSelectByPathKey);
        BindText(select, 1, key);
        uint64_t id = 0;
        if (sqlite3_step(select) == SQLITE_ROW) id = static_cast<uint64_t>(sqlite3_column_int64(select, 0));
        sqlite3_finalize(select);
        return id;
    }

    // ListFiles: the rows of sql, read whole.
    int64_t ListFiles(const CZanTString& sql, RowValues& values) {
        sqlite3_stmt* select = Prepare(m_catalogue.db, sql.GetString());
        int64_t rows = 0;
        while (sqlite3_step(select) == SQLITE_ROW) {
            ReadFileTableRow(select, values);
            ++rows;
        }
        sqlite3_finalize(select);
        return rows;
    }

private:
    static constexpr WCHAR kSelectPooledId[] =
        u"SELECT id_type,pooled_id FROM pooled_id_table WHERE id_type=? LIMIT 1";
    static constexpr WCHAR kSelectLastId[] = u"SELECT id_type,last_id FROM last_id_table WHERE id_type=? LIMIT 1";
    static constexpr WCHAR kUpdateLastId[] = u"UPDATE last_id_table SET last_id=? WHERE id_type=?";
    static constexpr WCHAR kInsertLastId[] = u"INSERT INTO last_id_table (id_type,last_id) VALUES (?,?)";
    static constexpr WCHAR kInsertStaged[] =
        u"INSERT INTO async_file_table (file_id, file_path, disk_vsn, file_name, file_format, shooting_date, "
        u"gps_latitude, gps_longitude, file_attributes, thumbnail_size, thumbnail_orientation, did_edit, "
        u"is_favorite, did_detect_face, album_id, manage, parent_id, parent_shooting_date, upload_flag, classify_id, "
        u"import_date, import_class, filter_data, file_size, file_update_date, duration, pixel_width, pixel_height, "
        u"panorama_number, drive_number, frame_rate, gps_altitude, gps_direction, gps_areainfo, model_name, "
        u"picture_mode, finishing_mode, art_filter, focus_mode, param_flag, can_commit) VALUES "
        u"(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";
    static constexpr WCHAR kDeleteThumbnail[] = u"DELETE FROM thumbnail_table WHERE file_id=?";
    static constexpr WCHAR kSelectReadyFiles[] = u"SELECT * FROM async_file_table WHERE can_commit='1'";
    static constexpr WCHAR kSelectStagedTags[] = u"SELECT * FROM async_tag_file_table";
    static constexpr WCHAR kDeleteTagsOfReadyFiles[] =
        u"DELETE FROM async_tag_file_table WHERE EXISTS (SELECT * FROM async_file_table WHERE "
        u"async_file_table.can_commit='1' AND async_file_table.file_id=async_tag_file_table.file_id)";
    static constexpr WCHAR kDeleteReadyFiles[] = u"DELETE FROM async_file_table WHERE can_commit='1'";
    static constexpr WCHAR kSelectByPathKey[] = u"SELECT * FROM file_table WHERE path_key=? LIMIT 1";

    static sqlite3_stmt* Prepare(sqlite3* db, const WCHAR* sql) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare16_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) {
            sqlite3_finalize(statement);
            return nullptr;
        }
        return statement;
    }
    static int RunOnce(sqlite3* db, const WCHAR* sql) {
        sqlite3_stmt* statement = Prepare(db, sql);
        if (statement == nullptr) return SQLITE_ERROR;
        int step = sqlite3_step(statement);
        int finalized = sqlite3_finalize(statement);
        return step == SQLITE_DONE ? finalized : step;
    }

    // The pool first, then the counter; then the test that no row holds the
    // id already.
    uint64_t NewId() {
        m_catalogue.Begin();
        sqlite3_stmt* pooled = Prepare(m_catalogue.db, kSelectPooledId);
        sqlite3_bind_int(pooled, 1, 1);
        bool hasPooled = sqlite3_step(pooled) == SQLITE_ROW;
        sqlite3_finalize(pooled);
        if (hasPooled) return 0;  // this import never pools an id

        sqlite3_stmt* select = Prepare(m_catalogue.db, kSelectLastId);
        sqlite3_bind_int(select, 1, 1);
        bool haveRow = sqlite3_step(select) == SQLITE_ROW;
        uint64_t lastId = haveRow ? static_cast<uint64_t>(sqlite3_column_int64(select, 1)) : 0;
        sqlite3_finalize(select);
        uint64_t id = haveRow ? lastId + 1 : 1;
        sqlite3_stmt* write = Prepare(m_catalogue.db, haveRow ? kUpdateLastId : kInsertLastId);
        if (haveRow) {
            sqlite3_bind_int64(write, 1, static_cast<int64_t>(id));
            sqlite3_bind_int(write, 2, 1);
        } else {
            sqlite3_bind_int(write, 1, 1);
            sqlite3_bind_int64(write, 2, static_cast<int64_t>(id));
        }
        sqlite3_step(write);
        if (sqlite3_finalize(write) != SQLITE_OK) return 0;

        sqlite3_stmt* taken = Prepare(m_catalogue.db, file_table::kSelectById);
        sqlite3_bind_int64(taken, 1, static_cast<int64_t>(id));
        bool isTaken = sqlite3_step(taken) == SQLITE_ROW;
        sqlite3_finalize(taken);
        return isTaken ? 0 : id;
    }

    void BindStaged(sqlite3_stmt* insert, uint64_t id, int64_t index) {
        SYSTEMTIME date = DateOf(index);
        int64_t packed = CZanTDateTime(date).GetPacked();
        int at = 1;
        sqlite3_bind_int64(insert, at++, static_cast<int64_t>(id));
        BindText(insert, at++, PathOf(index));
        sqlite3_bind_int64(insert, at++, kDiskVsn);
        BindText(insert, at++, NameOf(index));
        sqlite3_bind_int64(insert, at++, 1);       // file_format
        sqlite3_bind_int64(insert, at++, packed);  // shooting_date
        sqlite3_bind_double(insert, at++, 0.0);
        sqlite3_bind_double(insert, at++, 0.0);
        for (int column = 0; column < 3; ++column) sqlite3_bind_int64(insert, at++, 0);  // attributes, thumbnail
        for (int column = 0; column < 3; ++column) sqlite3_bind_int(insert, at++, 0);    // the three flags
        sqlite3_bind_int64(insert, at++, 0);                                              // album_id
        sqlite3_bind_int64(insert, at++, 1);                                              // manage
        sqlite3_bind_int64(insert, at++, 0);                                              // parent_id
        sqlite3_bind_int64(insert, at++, 0);                                              // parent_shooting_date
        sqlite3_bind_int(insert, at++, 0);                                                // upload_flag
        sqlite3_bind_int64(insert, at++, 0);                                              // classify_id
        sqlite3_bind_int64(insert, at++, 0);                                              // import_date
        sqlite3_bind_int64(insert, at++, 0);                                              // import_class
        sqlite3_bind_blob(insert, at++, nullptr, 0, SQLITE_TRANSIENT);                    // filter_data
        sqlite3_bind_int64(insert, at++, static_cast<int64_t>(SizeOf(index)));
        sqlite3_bind_int64(insert, at++, packed);  // file_update_date
        sqlite3_bind_int64(insert, at++, 0);       // duration
        sqlite3_bind_int64(insert, at++, 6000);
        sqlite3_bind_int64(insert, at++, 4000);
        for (int column = 0; column < 5; ++column) sqlite3_bind_int64(insert, at++, 0);
        BindText(insert, at++, CZanTString());  // gps_areainfo
        BindText(insert, at++, CZanTString());  // model_name
        for (int column = 0; column < 5; ++column) sqlite3_bind_int64(insert, at++, 0);
        sqlite3_bind_int(insert, at, 1);  // can_commit
    }

    void DeleteThumbnail(std::map<uint64_t, Store>& shards, const WCHAR* folder, uint64_t id) {
        uint64_t number = id / kIdsPerShard;
        Store& shard = shards[number];
        if (shard.db == nullptr) {
            char name[16];
            std::snprintf(name, sizeof name, "%08X.db", static_cast<uint32_t>(number));
            fs::path file = m_database / CZanTString(folder).ToUtf8() / name;
            if (!shard.Open(file)) return;
        }
        shard.Begin();
        sqlite3_stmt* remove = Prepare(shard.db, kDeleteThumbnail);
        sqlite3_bind_int64(remove, 1, static_cast<int64_t>(id));
        sqlite3_step(remove);
        sqlite3_finalize(remove);
    }

    void CommitThumbnails() {
        for (auto* kind : {&m_thumbs1, &m_thumbs2})
            for (auto& [number, shard] : *kind) shard.Commit();
    }

    // The staged rows into file_table and meta_table, one insert each per
    // row, while the reading statement stays open; then the staged tags.
    bool MoveFiles() {
        using namespace async_file_table;
        sqlite3_stmt* files = Prepare(m_staging.db, kSelectReadyFiles);
        if (files == nullptr) return false;
        bool allMoved = true;
        while (sqlite3_step(files) == SQLITE_ROW) {
            int64_t id = sqlite3_column_int64(files, kFileId);
            CZanTString path = ColumnText(files, kFilePath);
            // Qualified: the files of this benchmark have a kDiskVsn of their own.
            uint32_t diskVsn = static_cast<uint32_t>(sqlite3_column_int64(files, async_file_table::kDiskVsn));
            CZanTString upper = path;
            upper.MakeUpper();
            CZanTString key;
            key.Format(u"%s_%X", upper.GetString(), diskVsn);
            m_catalogue.Begin();
            sqlite3_stmt* insert = Prepare(m_catalogue.db, file_table::kInsert);
            int at = 1;
            sqlite3_bind_int64(insert, at++, id);
            BindText(insert, at++, path);
            sqlite3_bind_int(insert, at++, static_cast<int32_t>(diskVsn));
            BindText(insert, at++, key);
            BindText(insert, at++, ColumnText(files, kFileName));
            sqlite3_bind_int(insert, at++, static_cast<int32_t>(sqlite3_column_int64(files, kFileFormat)));
            sqlite3_bind_int64(insert, at++, sqlite3_column_int64(files, kShootingDate));
            sqlite3_bind_double(insert, at++, sqlite3_column_double(files, kGpsLatitude));
            sqlite3_bind_double(insert, at++, sqlite3_column_double(files, kGpsLongitude));
            for (int column : {kFileAttributes, kThumbnailSize, kThumbnailOrientation, kDidEdit, kIsFavorite,
                               kDidDetectFace})
                sqlite3_bind_int(insert, at++, static_cast<int32_t>(sqlite3_column_int64(files, column)));
            sqlite3_bind_int64(insert, at++, sqlite3_column_int64(files, kAlbumId));
            sqlite3_bind_int(insert, at++, static_cast<int32_t>(sqlite3_column_int64(files, kManage)));
            sqlite3_bind_int64(insert, at++, sqlite3_column_int64(files, kParentId));
            sqlite3_bind_int64(insert, at++, sqlite3_column_int64(files, kParentShootingDate));
            sqlite3_bind_int(insert, at++, static_cast<int32_t>(sqlite3_column_int64(files, kUploadFlag)));
            sqlite3_bind_int(insert, at, static_cast<int32_t>(sqlite3_column_int64(files, kClassifyId)));
            int step = sqlite3_step(insert);
            sqlite3_finalize(insert);
            if (step != SQLITE_DONE) {
                allMoved = false;
                continue;
            }

            sqlite3_stmt* meta = Prepare(m_catalogue.db, meta_table::kInsert);
            auto position = [](meta_table::Column column) { return column + 1; };
            sqlite3_bind_int64(meta, position(meta_table::kFileId), id);
            int filterSize = sqlite3_column_bytes(files, kFilterData);
            sqlite3_bind_blob(meta, position(meta_table::kFilterData),
                              filterSize == 0 ? nullptr : sqlite3_column_blob(files, kFilterData), filterSize,
                              SQLITE_TRANSIENT);
            sqlite3_bind_int64(meta, position(meta_table::kFileSize), sqlite3_column_int64(files, kFileSize));
            sqlite3_bind_int64(meta, position(meta_table::kFileUpdateDate),
                               sqlite3_column_int64(files, kFileUpdateDate));
            sqlite3_bind_int64(meta, position(meta_table::kImportDate), sqlite3_column_int64(files, kImportDate));
            sqlite3_bind_int64(meta, position(meta_table::kDuration), sqlite3_column_int64(files, kDuration));
            for (auto [to, from] : {std::pair{meta_table::kPixelWidth, kPixelWidth},
                                    std::pair{meta_table::kPixelHeight, kPixelHeight},
                                    std::pair{meta_table::kPanoramaNumber, kPanoramaNumber},
                                    std::pair{meta_table::kDriveNumber, kDriveNumber},
                                    std::pair{meta_table::kFrameRate, kFrameRate},
                                    std::pair{meta_table::kImportClass, kImportClass},
                                    std::pair{meta_table::kPictureMode, kPictureMode},
                                    std::pair{meta_table::kFinishingMode, kFinishingMode},
                                    std::pair{meta_table::kArtFilter, kArtFilter},
                                    std::pair{meta_table::kFocusMode, kFocusMode},
                                    std::pair{meta_table::kParamFlag, kParamFlag}})
                sqlite3_bind_int(meta, position(to), static_cast<int32_t>(sqlite3_column_int64(files, from)));
            sqlite3_bind_int64(meta, position(meta_table::kGpsAltitude), sqlite3_column_int64(files, kGpsAltitude));
            sqlite3_bind_int64(meta, position(meta_table::kGpsDirection),
                               sqlite3_column_int64(files, kGpsDirection));
            BindText(meta, position(meta_table::kGpsAreaInfo), ColumnText(files, kGpsAreaInfo));
            BindText(meta, position(meta_table::kModelName), ColumnText(files, kModelName));
            int metaStep = sqlite3_step(meta);
            sqlite3_finalize(meta);
            if (metaStep != SQLITE_DONE) allMoved = false;
        }
        if (sqlite3_finalize(files) != SQLITE_OK) return false;
        sqlite3_stmt* tags = Prepare(m_staging.db, kSelectStagedTags);
        while (sqlite3_step(tags) == SQLITE_ROW) {
        }
        return sqlite3_finalize(tags) == SQLITE_OK && allMoved;
    }

    fs::path m_database;
    Store m_catalogue;
    Store m_staging;
    std::map<uint64_t, Store> m_thumbs1;
    std::map<uint64_t, Store> m_thumbs2;
};

// Makes the empty stores of a root with the library, and opens the
// thumbnail shards that ids up to files will need, so that the plain side
// finds the same files the library makes for itself.
bool PrepareEmptyRoot(const std::string& root, int64_t files) {
    StopLibrary();
    CZanTString wide = CZanTString::FromUtf8(root.c_str());
    if (!zandb4::bench::StartLibrary(wide)) return false;
    bool made = DatabaseRegistry::thumbMgr != nullptr;
    for (uint32_t kind : {1u, 2u}) {
        CSQLiteThumbDBFactory* factory = made ? DatabaseRegistry::thumbMgr->Factory(kind) : nullptr;
        if (factory == nullptr) {
            made = false;
            continue;
        }
        for (uint64_t id = 1; id <= static_cast<uint64_t>(files) + kIdsPerShard; id += kIdsPerShard) {
            CSQLiteThumbDB* shard = nullptr;
            if (factory->GetShard(&shard, id) != S_OK) made = false;
        }
    }
    ZanDB4_Finalize();
    return made;
}

// ---------------------------------------------------------------------------
// The statement sequences of both sides, compared before anything is timed.

using Trace = std::vector<std::string>;

int RecordStatement(unsigned type, void* context, void* statement, void* sql) {
    if (type != SQLITE_TRACE_STMT) return 0;
    sqlite3* db = sqlite3_db_handle(static_cast<sqlite3_stmt*>(statement));
    fs::path file = sqlite3_db_filename(db, "main");
    std::string text = static_cast<const char*>(sql);
    // A statement started by another (a trigger) is marked "--"; only the
    // client's own statements count.
    if (text.rfind("--", 0) == 0) return 0;
    static_cast<Trace*>(context)->push_back(file.parent_path().filename().string() + "/" +
                                            file.filename().string() + ": " + text);
    return 0;
}

void TraceConnection(sqlite3* db, void* trace) {
    if (db != nullptr) sqlite3_trace_v2(db, trace == nullptr ? 0 : SQLITE_TRACE_STMT, RecordStatement, trace);
}

void TraceLibrary(Trace* trace) {
    TraceConnection(DatabaseRegistry::fileBasicDB->m_db, trace);
    TraceConnection(DatabaseRegistry::asyncDB->m_db, trace);
    for (uint32_t kind : {1u, 2u})
        for (auto& [number, shard] : DatabaseRegistry::thumbMgr->Factory(kind)->m_shards)
            TraceConnection(shard->m_db, trace);
}

struct SequenceCheck {
    bool done = false;
    bool same = false;
    size_t statements = 0;
    std::string difference;
};

SequenceCheck g_sequence;

// Every row of file_table and meta_table, as text.
std::string CatalogueRows(const std::string& root) {
    std::string text;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2((fs::path(root) / "database" / "FileBasic.db").c_str(), &db, SQLITE_OPEN_READONLY,
                        nullptr) == SQLITE_OK) {
        for (const char* sql : {"SELECT * FROM file_table ORDER BY file_id", "SELECT * FROM meta_table ORDER BY file_id"}) {
            sqlite3_stmt* select = nullptr;
            sqlite3_prepare_v2(db, sql, -1, &select, nullptr);
            while (select != nullptr && sqlite3_step(select) == SQLITE_ROW)
                for (int column = 0; column < sqlite3_column_count(select); ++column) {
                    const unsigned char* value = sqlite3_column_text(select, column);
                    text += value != nullptr ? reinterpret_cast<const char*>(value) : "NULL";
                    text += column + 1 < sqlite3_column_count(select) ? "|" : "\n";
                }
            sqlite3_finalize(select);
        }
    }
    sqlite3_close_v2(db);
    return text;
}

// A few files through both sides with the commit rhythm scaled down; the
// first file and its move open every store before the trace starts.
void CheckSequences() {
    if (g_sequence.done) return;
    g_sequence.done = true;
    constexpr int64_t kFiles = 47, kStaging = 5, kMove = 20;
    std::string libraryRoot = MakeTempRoot("check-lib"), plainRoot = MakeTempRoot("check-raw");
    Trace library, plain;
    if (!PrepareEmptyRoot(plainRoot, kFiles) || !PrepareEmptyRoot(libraryRoot, kFiles) ||
        !StartLibrary(libraryRoot)) {
        g_sequence.difference = "the stores could not be made";
    } else {
        bool libraryRan = LibraryImport(0, 1, kStaging, 1);
        TraceLibrary(&library);
        libraryRan = libraryRan && LibraryImport(1, kFiles, kStaging, kMove);
        TraceLibrary(nullptr);
        StopLibrary();

        PlainCatalogue raw(plainRoot);
        bool plainRan = raw.Open() && raw.Import(0, 1, kStaging, 1);
        raw.ForEachConnection(TraceConnection, &plain);
        plainRan = plainRan && raw.Import(1, kFiles, kStaging, kMove);
        raw.ForEachConnection(TraceConnection, nullptr);
        raw.Close();

        g_sequence.statements = library.size();
        if (!libraryRan || !plainRan) {
            g_sequence.difference = libraryRan ? "the plain import failed" : "the library's import failed";
        } else {
            size_t at = 0;
            while (at < library.size() && at < plain.size() && library[at] == plain[at]) ++at;
            if (at == library.size() && at == plain.size()) {
                g_sequence.same = true;
            } else {
                g_sequence.difference = "statement " + std::to_string(at) + ": library \"" +
                                        (at < library.size() ? library[at] : "(end)") + "\", plain \"" +
                                        (at < plain.size() ? plain[at] : "(end)") + "\"";
            }
        }
    }
    // The same statements must also have written the same rows.
    if (g_sequence.same && CatalogueRows(libraryRoot) != CatalogueRows(plainRoot)) {
        g_sequence.same = false;
        g_sequence.difference = "the catalogues hold different rows";
    }
    fs::remove_all(libraryRoot);
    fs::remove_all(plainRoot);
    if (!g_sequence.same) std::fprintf(stderr, "statement sequences differ: %s\n", g_sequence.difference.c_str());
}

// ---------------------------------------------------------------------------
// The catalogues of each size and the benchmarks.

struct Catalogues {
    int64_t files = 0;
    std::string libraryRoot;
    std::string plainRoot;
    bool libraryBuilt = false;
    bool plainBuilt = false;
    std::unique_ptr<PlainCatalogue> plain;
};

Catalogues g_current;
// Seconds per operation, wall clock and CPU, of each repetition of the
// library's runs, for lib/raw; the plain program's repetitions count off
// against them in order. And CPU seconds per lookup of each repetition at
// the smallest size, for growth.
struct Timing {
    double wall = 0;
    double cpu = 0;
};
std::map<std::string, std::vector<Timing>> g_librarySeconds;
std::map<std::string, size_t> g_plainRepetitions;
std::map<std::string, std::vector<double>> g_smallestCpuSeconds;
std::map<std::string, size_t> g_growthRepetitions;

void RemoveCatalogues() {
    StopLibrary();
    g_current.plain.reset();
    if (!g_current.libraryRoot.empty()) fs::remove_all(g_current.libraryRoot);
    if (!g_current.plainRoot.empty()) fs::remove_all(g_current.plainRoot);
    g_current = Catalogues();
}


// Makes the empty stores of both sides for a new size; nothing of this is
// timed.
bool SwitchTo(int64_t files) {
    if (g_current.files == files) return true;
    // The last size's catalogues go when the process ends, before the
    // library's own statics do.
    static const bool removeAtExit = std::atexit(RemoveCatalogues) == 0;
    (void)removeAtExit;
    RemoveCatalogues();
    g_current.files = files;
    g_current.libraryRoot = MakeTempRoot("lib");
    g_current.plainRoot = MakeTempRoot("raw");
    return PrepareEmptyRoot(g_current.libraryRoot, files) && PrepareEmptyRoot(g_current.plainRoot, files);
}

// Throws away the built catalogue of one side of the current size and makes
// its stores empty again, for another repetition of its import.
bool RemakeSide(bool library) {
    StopLibrary();
    std::string& root = library ? g_current.libraryRoot : g_current.plainRoot;
    if (!library) g_current.plain.reset();
    fs::remove_all(root);
    root = MakeTempRoot(library ? "lib" : "raw");
    (library ? g_current.libraryBuilt : g_current.plainBuilt) = false;
    return PrepareEmptyRoot(root, g_current.files);
}

bool EnsureLibraryCatalogue(int64_t files) {
    if (!SwitchTo(files)) return false;
    if (!StartLibrary(g_current.libraryRoot)) return false;
    if (!g_current.libraryBuilt)
        g_current.libraryBuilt = LibraryImport(0, files, kStagingCommitEvery, kMoveEvery);
    return g_current.libraryBuilt;
}

bool EnsurePlainCatalogue(int64_t files) {
    if (!SwitchTo(files)) return false;
    if (!g_current.plain) {
        g_current.plain = std::make_unique<PlainCatalogue>(g_current.plainRoot);
        if (!g_current.plain->Open()) return false;
    }
    if (!g_current.plainBuilt)
        g_current.plainBuilt = g_current.plain->Import(0, files, kStagingCommitEvery, kMoveEvery);
    return g_current.plainBuilt;
}

void ReportRate(benchmark::State& state, const std::string& name, bool library, const char* unit, double count,
                Timing seconds) {
    Timing perOperation{seconds.wall / count, seconds.cpu / count};
    state.counters[unit] = benchmark::Counter(count / seconds.wall);
    std::string key = name + "/" + std::to_string(state.range(0));
    if (library) {
        g_librarySeconds[key].push_back(perOperation);
    } else if (g_librarySeconds.count(key) != 0) {
        const std::vector<Timing>& runs = g_librarySeconds[key];
        const Timing& paired = runs[std::min(g_plainRepetitions[key]++, runs.size() - 1)];
        state.counters["lib/raw"] = perOperation.wall / paired.wall;
        state.counters["lib/raw_cpu"] = perOperation.cpu / paired.cpu;
    }
    if (std::string(unit) == "lookups/s") {
        std::string side = name + (library ? "/lib" : "/raw");
        std::vector<double>& smallest = g_smallestCpuSeconds[side];
        if (state.range(0) == kSizes[0]) smallest.push_back(perOperation.cpu);
        if (!smallest.empty()) {
            size_t repetition = g_growthRepetitions[side + "/" + std::to_string(state.range(0))]++;
            state.counters["growth_cpu"] = perOperation.cpu / smallest[std::min(repetition, smallest.size() - 1)];
        }
    }
}

void BM_StatementSequences(benchmark::State& state) {
    for (auto _ : state) CheckSequences();
    state.counters["statements"] = static_cast<double>(g_sequence.statements);
    if (!g_sequence.same) state.SkipWithError(("the sequences differ: " + g_sequence.difference).c_str());
}

void BM_Import(benchmark::State& state, bool library) {
    LibraryStoppedAtEnd stopped;
    CheckSequences();
    if (!library && !g_sequence.same) return state.SkipWithError("the plain program does not match the library");
    int64_t files = state.range(0);
    Timing seconds;
    bool peakReset = false;
    double residentAtStart = 0;
    for (auto _ : state) {
        // The stores are made and opened before the clock starts: only the
        // import is timed.
        if (!SwitchTo(files)) return state.SkipWithError("the stores could not be made");
        if ((library ? g_current.libraryBuilt : g_current.plainBuilt) && !RemakeSide(library))
            return state.SkipWithError("the stores could not be made again");
        if (library && !StartLibrary(g_current.libraryRoot)) return state.SkipWithError("the library does not start");
        if (!library && !g_current.plain) {
            g_current.plain = std::make_unique<PlainCatalogue>(g_current.plainRoot);
            if (!g_current.plain->Open()) return state.SkipWithError("the stores do not open");
        }
        if (library) {
            peakReset = ResetPeakResident();
            residentAtStart = ResidentMegabytes();
        }
        Clock::time_point begin = Clock::now();
        double cpuBegin = ThreadCpuSeconds();
        bool built = library ? EnsureLibraryCatalogue(files) : EnsurePlainCatalogue(files);
        seconds.cpu = ThreadCpuSeconds() - cpuBegin;
        seconds.wall = std::chrono::duration<double>(Clock::now() - begin).count();
        state.SetIterationTime(seconds.wall);
        if (!built) return state.SkipWithError("the import failed");
    }
    ReportRate(state, "import", library, "files/s", static_cast<double>(files), seconds);
    if (library) {
        state.counters["peak_rss_MB"] = PeakResidentMegabytes();
        state.counters["rss_at_start_MB"] = residentAtStart;
        if (!peakReset) state.SetLabel("peak since the process began");
    }
}

// Lookups of files drawn with a fixed seed.
std::vector<int64_t> DrawnFiles(int64_t files) {
    std::mt19937_64 random(20240917);
    std::uniform_int_distribution<int64_t> within(0, files - 1);
    std::vector<int64_t> drawn(4096);
    for (int64_t& index : drawn) index = within(random);
    return drawn;
}

void BM_GetFile(benchmark::State& state, bool library) {
    LibraryStoppedAtEnd stopped;
    int64_t files = state.range(0);
    if (!(library ? EnsureLibraryCatalogue(files) : EnsurePlainCatalogue(files)))
        return state.SkipWithError("no catalogue");
    // Ids are handed out from 1 in import order.
    std::vector<int64_t> drawn = DrawnFiles(files);
    RowValues values;
    size_t next = 0;
    int64_t missing = 0;
    Clock::time_point begin = Clock::now();
    double cpuBegin = ThreadCpuSeconds();
    for (auto _ : state) {
        uint64_t id = static_cast<uint64_t>(drawn[next++ % drawn.size()]) + 1;
        if (library) {
            IZanDB4FileDBRecord* record = nullptr;
            if (g_manager->GetFile(id, &record) != S_OK || record == nullptr) ++missing;
            if (record != nullptr) record->Release();
        } else if (!g_current.plain->GetFile(id, values)) {
            ++missing;
        }
    }
    Timing seconds{std::chrono::duration<double>(Clock::now() - begin).count(), ThreadCpuSeconds() - cpuBegin};
    if (missing != 0) return state.SkipWithError("a file was not found");
    ReportRate(state, "getfile", library, "lookups/s", static_cast<double>(state.iterations()), seconds);
}

void BM_FindFileByPath(benchmark::State& state, bool library) {
    LibraryStoppedAtEnd stopped;
    int64_t files = state.range(0);
    if (!(library ? EnsureLibraryCatalogue(files) : EnsurePlainCatalogue(files)))
        return state.SkipWithError("no catalogue");
    std::vector<CZanTString> paths;
    for (int64_t index : DrawnFiles(files)) paths.push_back(PathOf(index));
    size_t next = 0;
    int64_t missing = 0;
    Clock::time_point begin = Clock::now();
    double cpuBegin = ThreadCpuSeconds();
    for (auto _ : state) {
        const CZanTString& path = paths[next++ % paths.size()];
        uint64_t id = 0;
        if (library) {
            g_manager->FindFileByPath(&id, nullptr, kDiskVsn, path.GetString());
        } else {
            id = g_current.plain->FindFileByPath(path, kDiskVsn);
        }
        if (id == 0) ++missing;
    }
    Timing seconds{std::chrono::duration<double>(Clock::now() - begin).count(), ThreadCpuSeconds() - cpuBegin};
    if (missing != 0) return state.SkipWithError("a path was not found");
    ReportRate(state, "findbypath", library, "lookups/s", static_cast<double>(state.iterations()), seconds);
}

// The shooting-date node of the day in the middle of the catalogue, made by
// the query manager with the library up, and the statement text the library
// builds from it, which the plain program runs.
bool MakeDayQuery(int64_t files, IZanDB4QueryNode** outNode, CZanTString& sql) {
    IZanDB4QueryMgr* queries = nullptr;
    SYSTEMTIME day = DateOf(files / 2);
    if (ZanDB4_CreateInstance(&IID_IZanDB4QueryMgr, reinterpret_cast<void**>(&queries)) != S_OK) return false;
    HRESULT made = queries->CreateShootingDateNode(outNode, 3, &day, nullptr);
    queries->Release();
    if (made != S_OK || *outNode == nullptr) return false;
    CZanTString condition;
    (*outNode)->GetText(condition);
    sql = file_table::kSelectAll;
    sql += u" WHERE ";
    sql += condition;
    sql += file_table::kOrderByDateAndName;
    return true;
}

void BM_ListFilesOfDay(benchmark::State& state, bool library) {
    LibraryStoppedAtEnd stopped;
    int64_t files = state.range(0);
    if (!(library ? EnsureLibraryCatalogue(files) : EnsurePlainCatalogue(files)))
        return state.SkipWithError("no catalogue");
    if (!StartLibrary(g_current.libraryRoot)) return state.SkipWithError("the library does not start");
    IZanDB4QueryNode* node = nullptr;
    CZanTString sql;
    if (!MakeDayQuery(files, &node, sql)) return state.SkipWithError("no query node");
    RowValues values;
    int64_t rows = 0;
    Clock::time_point begin = Clock::now();
    double cpuBegin = ThreadCpuSeconds();
    for (auto _ : state) {
        if (library) {
            CList<IZanDB4FileDBRecord*> list;
            if (g_manager->ListFiles(node, 1, &list, 0) == S_OK) rows = static_cast<int64_t>(list.GetCount());
            while (!list.IsEmpty()) list.RemoveHead()->Release();
        } else {
            rows = g_current.plain->ListFiles(sql, values);
        }
    }
    Timing seconds{std::chrono::duration<double>(Clock::now() - begin).count(), ThreadCpuSeconds() - cpuBegin};
    node->Release();
    if (rows != kFilesPerDay) return state.SkipWithError("the day does not hold its files");
    state.counters["files_in_day"] = static_cast<double>(rows);
    ReportRate(state, "listday", library, "lookups/s", static_cast<double>(state.iterations()), seconds);
}

// The same day listed by both sides in turns within every iteration, each
// turn timed by the thread's CPU time. The two benchmarks above run one
// after the other, and on a shared machine the load can change between
// them by more than the difference being measured; taking turns puts both
// sides under the same load, and the fastest turn of each side is the one
// least disturbed. Counters: lib_us and raw_us (fastest turns), lib/raw_time
// (their ratio, time over time: below 1 the library is faster) and
// lib/raw_time_median (the median of the per-iteration ratios).
// One turn of each side, kept out of line so that a profiler can tell them
// apart (callgrind --toggle-collect='*DayTurn*').
[[gnu::noinline]] int64_t LibraryDayTurn(IZanDB4QueryNode* node) {
    CList<IZanDB4FileDBRecord*> list;
    int64_t rows = g_manager->ListFiles(node, 1, &list, 0) == S_OK ? static_cast<int64_t>(list.GetCount()) : 0;
    while (!list.IsEmpty()) list.RemoveHead()->Release();
    return rows;
}
[[gnu::noinline]] int64_t PlainDayTurn(const CZanTString& sql, RowValues& values) {
    return g_current.plain->ListFiles(sql, values);
}

void BM_ListFilesOfDayInTurns(benchmark::State& state) {
    LibraryStoppedAtEnd stopped;
    int64_t files = state.range(0);
    if (!EnsureLibraryCatalogue(files) || !EnsurePlainCatalogue(files)) return state.SkipWithError("no catalogue");
    if (!StartLibrary(g_current.libraryRoot)) return state.SkipWithError("the library does not start");
    IZanDB4QueryNode* node = nullptr;
    CZanTString sql;
    if (!MakeDayQuery(files, &node, sql)) return state.SkipWithError("no query node");
    RowValues values;
    std::vector<double> library, plain, ratios;
    int64_t libraryRows = 0, plainRows = 0;
    for (auto _ : state) {
        double begin = ThreadCpuSeconds();
        libraryRows = LibraryDayTurn(node);
        double middle = ThreadCpuSeconds();
        plainRows = PlainDayTurn(sql, values);
        double end = ThreadCpuSeconds();
        library.push_back(middle - begin);
        plain.push_back(end - middle);
        ratios.push_back((middle - begin) / (end - middle));
    }
    node->Release();
    if (libraryRows != kFilesPerDay || plainRows != kFilesPerDay)
        return state.SkipWithError("the day does not hold its files on both sides");
    std::sort(ratios.begin(), ratios.end());
    double fastestLibrary = *std::min_element(library.begin(), library.end());
    double fastestPlain = *std::min_element(plain.begin(), plain.end());
    state.counters["lib_us"] = fastestLibrary * 1e6;
    state.counters["raw_us"] = fastestPlain * 1e6;
    state.counters["lib/raw_time"] = fastestLibrary / fastestPlain;
    state.counters["lib/raw_time_median"] = ratios[ratios.size() / 2];
}

// Registered size by size, library before plain program, so that each size's
// catalogues are built once and lib/raw compares neighbours.
int RegisterAll() {
    benchmark::RegisterBenchmark("BM_FileManager_StatementSequences", BM_StatementSequences)->Iterations(1);
    for (int64_t files : kSizes) {
        if (files == 1'000'000 && !WithMillion()) continue;
        for (bool library : {true, false}) {
            const char* side = library ? "lib" : "raw";
            benchmark::RegisterBenchmark((std::string("BM_FileManager_Import/") + side).c_str(), BM_Import, library)
                ->Arg(files)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
        using Lookup = void (*)(benchmark::State&, bool);
        for (auto [name, function] : {std::pair<const char*, Lookup>{"GetFile", BM_GetFile},
                                      std::pair<const char*, Lookup>{"FindFileByPath", BM_FindFileByPath},
                                      std::pair<const char*, Lookup>{"ListFilesOfDay", BM_ListFilesOfDay}})
            for (bool library : {true, false})
                benchmark::RegisterBenchmark(
                    (std::string("BM_FileManager_") + name + "/" + (library ? "lib" : "raw")).c_str(), function,
                    library)
                    ->Arg(files)
                    ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("BM_FileManager_ListFilesOfDay/turns", BM_ListFilesOfDayInTurns)
            ->Arg(files)
            ->Unit(benchmark::kMicrosecond);
    }
    return 0;
}

const int g_registered = RegisterAll();

}  // namespace
