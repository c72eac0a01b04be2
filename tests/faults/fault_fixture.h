// The setting of the fault tests: a scenario runs once without a fault to
// count the reads, writes, syncs and truncates it makes, then again for each
// chosen operation number with that operation failing (once, or from there
// on as a full disk does), each time in a fresh copy of a prepared root.
// After every run the library is stopped and the root is checked with SQLite
// alone and through the library started again.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "library/database_registry.h"
#include "support/fault_vfs.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace faults_test {

namespace fs = std::filesystem;
using zandb4::testing::FaultSqliteMalloc;
using zandb4::testing::FaultVfs;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using Rows = std::vector<std::vector<std::string>>;

constexpr uint32_t kDiskVsn = 0x7A11;

inline std::string Hex(HRESULT code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
    return text;
}

// One operation to fail: the Nth of a kind, with a code, once or from there
// on.
struct FaultPoint {
    FaultVfs::Kind kind;
    uint64_t nth;
    int code;
    bool sticky;

    std::string Describe() const {
        return std::string(FaultVfs::NameOf(kind)) + " #" + std::to_string(nth) + (sticky ? " on" : " once") +
               " (code " + std::to_string(code) + ")";
    }
};

// What a run saw: every answer checked against the codes its call may give,
// and whatever a check found wrong.
struct RunLog {
    std::vector<std::string> problems;

    void Expect(const std::string& call, HRESULT got, std::initializer_list<HRESULT> allowed) {
        if (std::find(allowed.begin(), allowed.end(), got) == allowed.end())
            problems.push_back(call + " answered " + Hex(got) + ", which it may not");
    }
    void Problem(const std::string& text) { problems.push_back(text); }
};

// The operations of a dry run, per kind, and the span of the run that is
// driven at every point whatever the stride (the commit, for an import).
struct OpCounts {
    uint64_t counts[FaultVfs::kKinds] = {};
    uint64_t denseFrom[FaultVfs::kKinds] = {};

    static OpCounts Now() {
        OpCounts now;
        for (int kind = 0; kind < FaultVfs::kKinds; ++kind)
            now.counts[kind] = FaultVfs::Count(static_cast<FaultVfs::Kind>(kind));
        return now;
    }
    std::string Describe() const {
        std::string text;
        for (int kind = 0; kind < FaultVfs::kKinds; ++kind)
            text += std::string(kind == 0 ? "" : ", ") + FaultVfs::NameOf(static_cast<FaultVfs::Kind>(kind)) + " " +
                    std::to_string(counts[kind]);
        return text;
    }
};

// The end of a run with a fault armed: the operation counts so far into
// *end (when asked), a problem when an armed fault never fired, and the VFS
// passing every call through again.
inline void EndFaultedRun(const FaultPoint* point, OpCounts* end, RunLog& log) {
    if (end != nullptr) *end = OpCounts::Now();
    if (point != nullptr && FaultVfs::Fired() == 0) log.Problem("the fault never fired");
    FaultVfs::Disarm();
}

// The operation numbers to fail, 1..count: every one from denseFrom on and
// wherever the count is small, otherwise every stride-th so that about
// sampled numbers come before the dense span; the last is always there.
inline std::vector<uint64_t> Numbers(uint64_t count, uint64_t denseFrom, uint64_t sampled) {
    std::vector<uint64_t> numbers;
    if (count == 0) return numbers;
    if (denseFrom == 0 || denseFrom > count) denseFrom = count + 1;
    uint64_t sparse = denseFrom - 1;
    uint64_t stride = sparse <= sampled ? 1 : (sparse + sampled - 1) / sampled;
    for (uint64_t n = 1; n <= sparse; n += stride) numbers.push_back(n);
    for (uint64_t n = denseFrom; n <= count; ++n) numbers.push_back(n);
    if (numbers.back() != count) numbers.push_back(count);
    return numbers;
}

// The environment variable ZANDB4_FAULT_POINT, as "write 21 on" or
// "sync 3 once", keeps only that point of a plan, to run one again.
inline std::vector<FaultPoint> OnlyChosen(std::vector<FaultPoint> points) {
    const char* text = std::getenv("ZANDB4_FAULT_POINT");
    if (text == nullptr || *text == '\0') return points;
    std::vector<FaultPoint> chosen;
    for (const FaultPoint& point : points) {
        std::string name = std::string(FaultVfs::NameOf(point.kind)) + " " + std::to_string(point.nth) +
                           (point.sticky ? " on" : " once");
        if (name == text) chosen.push_back(point);
    }
    return chosen;
}

// The fault points of a scenario: writes fail with a full disk (sticky) and
// with a write error (once), reads and syncs with their I/O errors both
// ways, truncates once.
inline std::vector<FaultPoint> PlanPoints(const OpCounts& dry, uint64_t sampled) {
    struct Mode {
        FaultVfs::Kind kind;
        int code;
        bool sticky;
    };
    const Mode modes[] = {
        {FaultVfs::kWrite, SQLITE_FULL, true},
        {FaultVfs::kWrite, SQLITE_IOERR_WRITE, false},
        {FaultVfs::kRead, SQLITE_IOERR_READ, false},
        {FaultVfs::kRead, SQLITE_IOERR_READ, true},
        {FaultVfs::kSync, SQLITE_IOERR_FSYNC, false},
        {FaultVfs::kSync, SQLITE_IOERR_FSYNC, true},
        {FaultVfs::kTruncate, SQLITE_IOERR_TRUNCATE, false},
    };
    std::vector<FaultPoint> points;
    for (const Mode& mode : modes)
        for (uint64_t n : Numbers(dry.counts[mode.kind], dry.denseFrom[mode.kind], sampled))
            points.push_back({mode.kind, n, mode.code, mode.sticky});
    return OnlyChosen(points);
}

// How many operation numbers a scenario samples outside its dense span. The
// environment variable ZANDB4_FAULT_SAMPLES replaces the default, for a
// longer or shorter run.
inline uint64_t Sampled(uint64_t fallback) {
    const char* text = std::getenv("ZANDB4_FAULT_SAMPLES");
    if (text == nullptr || *text == '\0') return fallback;
    uint64_t value = std::strtoull(text, nullptr, 10);
    return value == 0 ? fallback : value;
}

template <typename T>
void ReleaseIfSet(T*& object) {
    if (object != nullptr) object->Release();
    object = nullptr;
}

// File number index of an import always has the same path, name and date.
inline std::string NameOf(int64_t index) {
    char name[32];
    std::snprintf(name, sizeof name, "IMG_%05lld.JPG", static_cast<long long>(index));
    return name;
}
inline std::string PathOf(int64_t index) {
    return "/faults/" + NameOf(index);
}

// A new file record as an import fills it, with its metadata record; null
// if the factory could not make them (as when allocations fail).
inline IZanDB4FileDBRecord* MakeRecord(int64_t index) {
    IZanDB4FileDBRecord* record = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(&record)) != S_OK) return nullptr;
    IZanDB4FileMetaDBRecord* meta = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(&meta)) != S_OK) {
        record->Release();
        return nullptr;
    }
    CZanTString path = CZanTString::FromUtf8(PathOf(index).c_str());
    CZanTString name = CZanTString::FromUtf8(NameOf(index).c_str());
    uint32_t diskVsn = kDiskVsn, manage = 1, format = 1;
    SYSTEMTIME date{};
    date.wYear = 2024;
    date.wMonth = static_cast<uint16_t>(1 + index % 12);
    date.wDay = static_cast<uint16_t>(1 + index % 28);
    record->SetFilePath(path.GetString(), &diskVsn);
    record->SetFileName(name.GetString());
    record->SetManage(&manage);
    record->SetFileFormat(&format);
    record->SetShootingDate(&date);
    meta->SetFileSize(1000 + static_cast<uint64_t>(index));
    meta->SetPixelSize(4000, 3000);
    record->AttachMetaRecord(meta);
    meta->Release();
    return record;
}

// The bytes of a thumbnail of a file and kind, different for each.
inline std::string ThumbnailBytes(uint64_t fileId, uint32_t kind) {
    std::string bytes(1500 + 100 * kind, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 31 + fileId * 7 + kind) & 0xFF);
    return bytes;
}

// Every SQLite file under folder, in order.
inline std::vector<fs::path> StoreFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        if (it->is_regular_file() && it->path().extension() == ".db") files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

// Each store file under folder opens with SQLite and passes its integrity
// check. The library must be down: opening a file whose last transaction
// broke off plays its journal back, as the library's next start would.
inline void CheckIntegrity(const fs::path& folder, RunLog& log) {
    for (const fs::path& file : StoreFiles(folder)) {
        SqliteProbe probe(file);
        std::string name = fs::relative(file, folder).string();
        if (!probe.IsOpen()) {
            log.Problem(name + " does not open");
            continue;
        }
        Rows integrity = probe.Rows("PRAGMA integrity_check");
        if (integrity != Rows{{"ok"}}) {
            std::string text;
            for (const auto& row : integrity)
                for (const auto& cell : row) text += cell + "; ";
            if (integrity.empty()) text = "no answer, SQLite cannot read it";
            log.Problem(name + " fails the integrity check: " + text);
        }
    }
}

// The catalogue's rows of the import's files: file number to the ids under
// which they stand, with every row that is not one of them noted.
inline std::map<int64_t, std::vector<uint64_t>> CataloguedFiles(const fs::path& catalogue, RunLog& log) {
    std::map<int64_t, std::vector<uint64_t>> ids;
    SqliteProbe probe(catalogue);
    if (!probe.IsOpen()) {
        log.Problem("FileBasic.db does not open");
        return ids;
    }
    for (const auto& row : probe.Rows("SELECT file_id, file_name, file_path FROM file_table")) {
        long long index = -1;
        if (std::sscanf(row[1].c_str(), "IMG_%5lld.JPG", &index) != 1 || row[2] != PathOf(index)) {
            log.Problem("unexpected row in file_table: " + row[0] + " " + row[1] + " " + row[2]);
            continue;
        }
        ids[index].push_back(std::stoull(row[0]));
    }
    for (const auto& row :
         probe.Rows("SELECT path_key, COUNT(*) FROM file_table GROUP BY path_key HAVING COUNT(*) > 1"))
        log.Problem("path_key " + row[0] + " is in file_table " + row[1] + " times");
    return ids;
}

// Files committed before the fault (file number to id) are each in the
// catalogue exactly once under that id.
inline void CheckCommitted(const fs::path& catalogue, const std::map<int64_t, uint64_t>& committed, RunLog& log) {
    auto catalogued = CataloguedFiles(catalogue, log);
    for (const auto& [index, ids] : catalogued)
        if (ids.size() != 1)
            log.Problem("file number " + std::to_string(index) + " is in file_table " + std::to_string(ids.size()) +
                        " times");
    for (const auto& [index, id] : committed) {
        auto found = catalogued.find(index);
        if (found == catalogued.end())
            log.Problem("committed file number " + std::to_string(index) + " (id " + std::to_string(id) +
                        ") is not in file_table");
        else if (found->second.front() != id)
            log.Problem("committed file number " + std::to_string(index) + " was id " + std::to_string(id) +
                        " and is catalogued as id " + std::to_string(found->second.front()));
    }
}

// The library starts again on root, imports one more file with a
// Commit(2|1) that answers S_OK, and the file is catalogued afterwards. With
// expectImport false, only the start and the stop are checked, and the
// import's outcome is answered.
inline bool CheckImportsMore(const fs::path& root, int64_t index, RunLog& log, bool expectImport = true) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        log.Problem("the library does not start again: " + Hex(started));
        ZanDB4_Finalize();
        return false;
    }
    IZanDB4FileDBMgr* manager = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) != S_OK) {
        log.Problem("no file manager after the restart");
        ZanDB4_Finalize();
        return false;
    }
    IZanDB4FileDBRecord* record = MakeRecord(index);
    uint64_t id = 0;
    HRESULT added = record != nullptr ? manager->AddFile(record, &id) : E_FAIL;
    ReleaseIfSet(record);
    HRESULT committed = manager->Commit(2 | 1);
    log.Expect("AddFile after the restart", added, {S_OK, E_FAIL});
    log.Expect("Commit(2|1) after the restart", committed, {S_OK, S_FALSE, E_FAIL});
    IZanDB4FileDBRecord* found = nullptr;
    bool imported = added == S_OK && id != 0 && committed == S_OK && manager->GetFile(id, &found) == S_OK;
    ReleaseIfSet(found);
    if (expectImport && !imported)
        log.Problem("after the restart AddFile answered " + Hex(added) + " and Commit(2|1) " + Hex(committed) +
                    (added == S_OK ? ", and the file is not found" : ""));
    manager->Release();
    if (ZanDB4_Finalize() != S_OK) log.Problem("ZanDB4_Finalize after the restart did not answer S_OK");
    return imported;
}

// Starts the library on root; false (with a problem noted) if it does not.
inline bool Start(const fs::path& root, RunLog& log) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started == S_OK) return true;
    log.Problem("ZanDB4_Initialize answered " + Hex(started));
    ZanDB4_Finalize();
    return false;
}

// Starts the library on root and gets a file manager (one reference for
// the caller); null, with the library stopped and a problem noted, if either
// fails.
inline IZanDB4FileDBMgr* StartWithFileManager(const fs::path& root, RunLog& log) {
    if (!Start(root, log)) return nullptr;
    IZanDB4FileDBMgr* manager = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) == S_OK) return manager;
    log.Problem("no file manager");
    ZanDB4_Finalize();
    return nullptr;
}

// Copies a prepared root to a fresh place for one run.
inline void CopyRoot(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::remove_all(to, error);
    fs::copy(from, to, fs::copy_options::recursive, error);
    if (error) throw std::runtime_error("copying " + from.string() + " failed: " + error.message());
}

class FaultTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(zandb4::DatabaseRegistry::initCount, 0);
        FaultVfs::Install();
        FaultVfs::Reset();
        m_begin = std::chrono::steady_clock::now();
    }
    void TearDown() override {
        FaultVfs::Reset();
        while (zandb4::DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
        std::printf("%s: %.1f s\n", ::testing::UnitTest::GetInstance()->current_test_info()->name(), seconds);
    }

    // Reports the problems of all runs: the count, and the first few in
    // full.
    static void ExpectNoProblems(const std::vector<std::string>& problems) {
        std::string text;
        for (size_t i = 0; i < problems.size() && i < 25; ++i) text += "\n  " + problems[i];
        EXPECT_TRUE(problems.empty()) << problems.size() << " problems:" << text;
    }

    fs::path Template() const { return m_folder / "template"; }
    fs::path RunRoot() const { return m_folder / "run"; }

    TempFolder m_folder;
    std::chrono::steady_clock::time_point m_begin;
};

}  // namespace faults_test
