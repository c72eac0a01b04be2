// An import killed at random moments: a child process imports files through
// the public file manager, committing with Commit(2|1) every few files, and
// notes in a side file (synced to disk) every file whose commit answered
// S_OK. The parent kills it with SIGKILL after a delay drawn from a seeded
// generator, then starts the library on the root and checks what the kill
// left: every store file passes SQLite's integrity check, every noted file
// is in file_table exactly once under its id, no path_key is there twice,
// the catalogue holds the files of one unbroken run of the import order, and
// the next child carries on from there.
//
// The seed is fixed so that a failure can be run again with the same
// delays; ZANDB4_TORTURE_SEED replaces it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

constexpr unsigned kDefaultSeed = 20240917;
constexpr int kKills = 120;
// Files added between two Commit(2|1).
constexpr int kBatch = 16;
// Batches of an uninterrupted run, which sets the span kill delays are
// drawn from. Past the span the child keeps importing, so a delay near its
// end still finds it at work.
constexpr int kCalibrationBatches = 6;
constexpr int kFinalRunFiles = 5 * kBatch;
constexpr uint32_t kDiskVsn = 0x7A11;

// Exit codes of the child, for the parent's message.
enum ChildExit : int {
    kFinished = 0,
    kStartFailed = 10,
    kNoManager = 11,
    kNoRecord = 12,
    kAddFailed = 13,
    kCommitFailed = 14,
    kSideFileFailed = 15,
};

const char* DescribeExit(int code) {
    switch (code) {
        case kFinished: return "finished";
        case kStartFailed: return "ZanDB4_Initialize failed";
        case kNoManager: return "no file manager from the factory";
        case kNoRecord: return "no file record from the factory";
        case kAddFailed: return "AddFile failed";
        case kCommitFailed: return "Commit(2|1) did not answer S_OK";
        case kSideFileFailed: return "the side file could not be written";
        default: return "unknown exit";
    }
}

unsigned SeedFromEnvironment() {
    const char* text = std::getenv("ZANDB4_TORTURE_SEED");
    if (text == nullptr || *text == '\0') return kDefaultSeed;
    return static_cast<unsigned>(std::strtoul(text, nullptr, 0));
}

// The import order: file number index always has the same path, name, date
// and size, so the catalogue can be checked against the numbers alone.
std::string NameOf(int64_t index) {
    char name[32];
    std::snprintf(name, sizeof name, "IMG_%07lld.JPG", static_cast<long long>(index));
    return name;
}

std::string PathOf(int64_t index) {
    char folder[48];
    std::snprintf(folder, sizeof folder, "/torture/%04lld/", static_cast<long long>(index / 500));
    return folder + NameOf(index);
}

SYSTEMTIME DateOf(int64_t index) {
    SYSTEMTIME date{};
    date.wYear = 2023;
    date.wMonth = static_cast<uint16_t>(1 + index % 12);
    date.wDay = static_cast<uint16_t>(1 + index % 28);
    date.wHour = static_cast<uint16_t>(index % 24);
    date.wMinute = static_cast<uint16_t>(index % 60);
    return date;
}

uint64_t SizeOf(int64_t index) { return 1'000'000 + static_cast<uint64_t>(index) * 7; }

template <typename T>
void ReleaseIfSet(T* object) {
    if (object != nullptr) object->Release();
}

// One file as an import describes it, made through the factory.
HRESULT MakeRecord(int64_t index, IZanDB4FileDBRecord** out) {
    *out = nullptr;
    IZanDB4FileDBRecord* record = nullptr;
    HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(&record));
    if (made != S_OK || record == nullptr) return E_FAIL;
    IZanDB4FileMetaDBRecord* meta = nullptr;
    made = ZanDB4_CreateInstance(&IID_IZanDB4FileMetaDBRecord, reinterpret_cast<void**>(&meta));
    if (made != S_OK || meta == nullptr) {
        record->Release();
        return E_FAIL;
    }
    CZanTString path = CZanTString::FromUtf8(PathOf(index).c_str());
    CZanTString name = CZanTString::FromUtf8(NameOf(index).c_str());
    uint32_t diskVsn = kDiskVsn, manage = 1, format = 1;
    SYSTEMTIME date = DateOf(index);
    record->SetFilePath(path.GetString(), &diskVsn);
    record->SetFileName(name.GetString());
    record->SetManage(&manage);
    record->SetFileFormat(&format);
    record->SetShootingDate(&date);
    meta->SetFileSize(SizeOf(index));
    meta->SetFileUpdateDate(&date);
    meta->SetPixelSize(4000, 3000);
    record->AttachMetaRecord(meta);
    meta->Release();
    *out = record;
    return S_OK;
}

bool AppendAndSync(const fs::path& sideFile, const std::string& lines) {
    int descriptor = ::open(sideFile.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0) return false;
    // One write per batch: a kill lands before or after it, never inside.
    bool written = ::write(descriptor, lines.data(), lines.size()) == static_cast<ssize_t>(lines.size());
    bool synced = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return written && synced;
}

// In the child: start the library on root and import from file number
// first on, committing every kBatch files; after each commit that answered
// S_OK, note "id index" of its files. With a limit the child stops there
// and ends the library in order; without one it imports until it is killed.
[[noreturn]] void ImportInChild(const fs::path& root, const fs::path& sideFile, int64_t first, int64_t limit) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    if (ZanDB4_Initialize(wideRoot.GetString()) != S_OK) ::_exit(kStartFailed);
    IZanDB4FileDBMgr* manager = nullptr;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) != S_OK ||
        manager == nullptr)
        ::_exit(kNoManager);
    std::string pending;
    int inBatch = 0;
    for (int64_t index = first; limit < 0 || index < first + limit; ++index) {
        IZanDB4FileDBRecord* record = nullptr;
        if (MakeRecord(index, &record) != S_OK) ::_exit(kNoRecord);
        uint64_t id = 0;
        HRESULT added = manager->AddFile(record, &id);
        record->Release();
        if (added != S_OK || id == 0) ::_exit(kAddFailed);
        pending += std::to_string(id) + " " + std::to_string(index) + "\n";
        if (++inBatch < kBatch) continue;
        if (manager->Commit(2 | 1) != S_OK) ::_exit(kCommitFailed);
        if (!AppendAndSync(sideFile, pending)) ::_exit(kSideFileFailed);
        pending.clear();
        inBatch = 0;
    }
    if (inBatch > 0) {
        if (manager->Commit(2 | 1) != S_OK) ::_exit(kCommitFailed);
        if (!AppendAndSync(sideFile, pending)) ::_exit(kSideFileFailed);
    }
    manager->Release();
    ZanDB4_Finalize();
    ::_exit(kFinished);
}

struct ChildEnd {
    bool killed = false;
    int exitCode = -1;
};

// Runs an import in a child. With a delay the child is killed with SIGKILL
// that long after the fork; otherwise it imports limit files and ends.
ChildEnd RunChild(const fs::path& root, const fs::path& sideFile, int64_t first, int64_t limit,
                  const Clock::duration* killAfter) {
    ChildEnd end;
    std::fflush(nullptr);
    pid_t child = ::fork();
    if (child < 0) return end;
    if (child == 0) ImportInChild(root, sideFile, first, killAfter != nullptr ? -1 : limit);
    if (killAfter != nullptr) {
        auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(*killAfter).count();
        struct timespec wait {
            static_cast<time_t>(nanoseconds / 1000000000), static_cast<long>(nanoseconds % 1000000000)
        };
        while (::nanosleep(&wait, &wait) != 0) {
        }
        ::kill(child, SIGKILL);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) return end;
    end.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (WIFEXITED(status)) end.exitCode = WEXITSTATUS(status);
    return end;
}

// The side file: file number to the id its commit answered S_OK for. Only
// whole lines count.
std::map<int64_t, uint64_t> ReadNoted(const fs::path& sideFile, std::vector<std::string>& problems) {
    std::map<int64_t, uint64_t> noted;
    std::ifstream in(sideFile);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) break;
        std::istringstream line(text.substr(start, end - start));
        unsigned long long id = 0;
        long long index = -1;
        if (!(line >> id >> index) || index < 0) {
            problems.push_back("unreadable side file line: " + text.substr(start, end - start));
        } else if (!noted.emplace(index, id).second) {
            problems.push_back("file number " + std::to_string(index) + " noted twice");
        }
        start = end + 1;
    }
    return noted;
}

std::vector<fs::path> StoreFiles(const fs::path& database) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator it(database, error), end; !error && it != end; it.increment(error))
        if (it->is_regular_file() && it->path().extension() == ".db") files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

int64_t IndexOfName(const std::string& name) {
    long long index = -1;
    char tail[8] = {};
    if (std::sscanf(name.c_str(), "IMG_%7lld.%3s", &index, tail) != 2 || std::string(tail) != "JPG") return -1;
    return index;
}

class ImportKill : public ::testing::Test {
protected:
    fs::path Root() const { return m_folder / "root"; }
    fs::path Database() const { return Root() / "database"; }
    fs::path SideFile() const { return m_folder / "committed.txt"; }

    void SetUp() override { fs::create_directory(Root()); }

    // The checks on the files alone, with the library down. Answers the
    // number of files in the catalogue, or -1 when it cannot be read.
    int64_t CheckStoreFiles(const std::map<int64_t, uint64_t>& noted, std::vector<std::string>& problems) {
        for (const fs::path& file : StoreFiles(Database())) {
            SqliteProbe probe(file);
            std::string relative = fs::relative(file, Database()).string();
            if (!probe.IsOpen()) {
                problems.push_back(relative + " does not open");
                continue;
            }
            auto integrity = probe.Rows("PRAGMA integrity_check");
            if (integrity != std::vector<std::vector<std::string>>{{"ok"}}) {
                std::string text;
                for (const auto& row : integrity)
                    for (const auto& cell : row) text += cell + "; ";
                problems.push_back(relative + " fails the integrity check: " + text);
            }
        }
        if (!fs::exists(Database() / "FileBasic.db")) {
            if (!noted.empty()) problems.push_back("FileBasic.db is gone while files were committed");
            return noted.empty() ? 0 : -1;
        }
        SqliteProbe catalogue(Database() / "FileBasic.db");
        if (!catalogue.IsOpen()) return -1;

        auto twice = catalogue.Rows("SELECT path_key, COUNT(*) FROM file_table GROUP BY path_key HAVING COUNT(*) > 1");
        for (const auto& row : twice) problems.push_back("path_key " + row[0] + " is in file_table " + row[1] + " times");

        // Every row: its file number, from the name, must match its path, and
        // the numbers must run from 0 without a gap, as commits are whole
        // batches in import order and every child starts where the
        // catalogue ends.
        std::map<int64_t, std::vector<uint64_t>> idsOfIndex;
        auto rows = catalogue.Rows("SELECT file_id, file_name, file_path, disk_vsn FROM file_table");
        for (const auto& row : rows) {
            int64_t index = IndexOfName(row[1]);
            if (index < 0 || row[2] != PathOf(index) || row[3] != std::to_string(kDiskVsn)) {
                problems.push_back("unexpected row " + row[0] + " " + row[1] + " " + row[2] + " " + row[3]);
                continue;
            }
            idsOfIndex[index].push_back(std::stoull(row[0]));
        }
        int64_t count = static_cast<int64_t>(rows.size());
        for (const auto& [index, ids] : idsOfIndex) {
            if (ids.size() != 1)
                problems.push_back("file number " + std::to_string(index) + " is in file_table " +
                                   std::to_string(ids.size()) + " times");
            if (index >= count)
                problems.push_back("file number " + std::to_string(index) + " is catalogued while only " +
                                   std::to_string(count) + " files are: the import order has a gap");
        }
        for (const auto& [index, id] : noted) {
            auto found = idsOfIndex.find(index);
            if (found == idsOfIndex.end()) {
                problems.push_back("committed file number " + std::to_string(index) + " (id " + std::to_string(id) +
                                   ") is not in file_table");
            } else if (found->second.size() == 1 && found->second.front() != id) {
                problems.push_back("committed file number " + std::to_string(index) + " was noted as id " +
                                   std::to_string(id) + " and is catalogued as id " +
                                   std::to_string(found->second.front()));
            }
        }
        return count;
    }

    // The checks through the public interface with the library up: the
    // files committed since the last check are found by id and by path,
    // and the manager counts what the file holds.
    void CheckThroughLibrary(const std::map<int64_t, uint64_t>& noted, int64_t fromIndex, int64_t count,
                             std::vector<std::string>& problems) {
        CZanTString wideRoot = CZanTString::FromUtf8(Root().c_str());
        if (ZanDB4_Initialize(wideRoot.GetString()) != S_OK) {
            problems.push_back("the library does not start on the root");
            ZanDB4_Finalize();
            return;
        }
        IZanDB4FileDBMgr* manager = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) != S_OK ||
            manager == nullptr) {
            problems.push_back("no file manager from the factory");
            ZanDB4_Finalize();
            return;
        }
        uint32_t counted = 0;
        if (manager->CountFiles(nullptr, &counted) != S_OK || counted != static_cast<uint64_t>(count))
            problems.push_back("CountFiles answers " + std::to_string(counted) + " for " + std::to_string(count) +
                               " rows");
        for (auto it = noted.lower_bound(fromIndex); it != noted.end(); ++it) {
            auto [index, id] = *it;
            IZanDB4FileDBRecord* record = nullptr;
            if (manager->GetFile(id, &record) != S_OK || record == nullptr) {
                problems.push_back("GetFile(" + std::to_string(id) + ") of a committed file fails");
            } else {
                CZanTString path;
                uint32_t diskVsn = 0;
                record->GetFilePath(path, &diskVsn);
                if (path.ToUtf8() != PathOf(index) || diskVsn != kDiskVsn)
                    problems.push_back("GetFile(" + std::to_string(id) + ") gives " + path.ToUtf8());
            }
            ReleaseIfSet(record);
            uint64_t foundId = 0;
            CZanTString path = CZanTString::FromUtf8(PathOf(index).c_str());
            if (manager->FindFileByPath(&foundId, nullptr, kDiskVsn, path.GetString()) != S_OK || foundId != id)
                problems.push_back("FindFileByPath of committed " + PathOf(index) + " gives id " +
                                   std::to_string(foundId) + " instead of " + std::to_string(id));
        }
        manager->Release();
        ZanDB4_Finalize();
    }

    TempFolder m_folder;
};

TEST_F(ImportKill, CommittedFilesSurviveEveryKillAndTheImportCarriesOn) {
    const unsigned seed = SeedFromEnvironment();
    SCOPED_TRACE("seed " + std::to_string(seed) + " (run again with ZANDB4_TORTURE_SEED=" + std::to_string(seed) +
                 ")");
    std::printf("import kill torture: seed %u\n", seed);

    // An uninterrupted run first: it must commit all it imports, and its
    // length is the span the kill delays are drawn from.
    Clock::time_point begin = Clock::now();
    ChildEnd calibration = RunChild(Root(), SideFile(), 0, kCalibrationBatches * kBatch, nullptr);
    Clock::duration span = Clock::now() - begin;
    ASSERT_EQ(calibration.exitCode, kFinished) << DescribeExit(calibration.exitCode);
    std::vector<std::string> problems;
    std::map<int64_t, uint64_t> noted = ReadNoted(SideFile(), problems);
    ASSERT_EQ(noted.size(), static_cast<size_t>(kCalibrationBatches * kBatch));
    int64_t catalogued = CheckStoreFiles(noted, problems);
    ASSERT_EQ(catalogued, kCalibrationBatches * kBatch);
    ASSERT_TRUE(problems.empty()) << problems.front();

    std::mt19937 random(seed);
    std::uniform_int_distribution<Clock::rep> within(0, span.count());
    int killed = 0;
    int unnotedBatches = 0;
    int64_t unnotedBefore = 0;
    int64_t checkedUpTo = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        Clock::duration delay(within(random));
        std::string which = "kill " + std::to_string(kill) + " after " +
                            std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(delay).count()) +
                            " us, import from file number " + std::to_string(catalogued) + ": ";
        ChildEnd end = RunChild(Root(), SideFile(), catalogued, -1, &delay);
        ASSERT_TRUE(end.killed) << which << "the child ended by itself: " << DescribeExit(end.exitCode);
        ++killed;

        std::vector<std::string> found;
        size_t notedBefore = noted.size();
        noted = ReadNoted(SideFile(), found);
        if (noted.size() < notedBefore) found.push_back("the side file lost lines");
        int64_t count = CheckStoreFiles(noted, found);
        if (count < 0) found.push_back("the catalogue cannot be read");
        if (count >= 0 && count < catalogued)
            found.push_back("the catalogue shrank from " + std::to_string(catalogued) + " to " +
                            std::to_string(count) + " files");
        // A child killed between a commit's answer and its note leaves one
        // batch in the catalogue without lines; never more than that.
        int64_t unnoted = count - static_cast<int64_t>(noted.size());
        if (unnoted > unnotedBefore + kBatch)
            found.push_back(std::to_string(unnoted - unnotedBefore) +
                            " files are catalogued without a note after one kill, more than a batch");
        if (unnoted > unnotedBefore) ++unnotedBatches;
        CheckThroughLibrary(noted, checkedUpTo, count, found);
        // The library started and stopped: the files must still be whole.
        std::vector<std::string> afterStart;
        if (CheckStoreFiles(noted, afterStart) != count) afterStart.push_back("the count moved at a restart");
        for (const std::string& problem : afterStart) found.push_back("after a restart: " + problem);

        for (const std::string& problem : found) ADD_FAILURE() << which << problem;
        if (!found.empty()) return;
        checkedUpTo = noted.empty() ? 0 : noted.rbegin()->first + 1;
        catalogued = count;
        unnotedBefore = unnoted;
    }

    // A last uninterrupted run carries on from where the kills left the
    // catalogue and commits every file it imports.
    int64_t before = catalogued;
    ChildEnd last = RunChild(Root(), SideFile(), before, kFinalRunFiles, nullptr);
    ASSERT_EQ(last.exitCode, kFinished) << DescribeExit(last.exitCode);
    noted = ReadNoted(SideFile(), problems);
    int64_t count = CheckStoreFiles(noted, problems);
    EXPECT_EQ(count, before + kFinalRunFiles);
    for (int64_t index = before; index < before + kFinalRunFiles; ++index)
        EXPECT_EQ(noted.count(index), 1u) << "file number " << index << " of the last run is not noted";
    CheckThroughLibrary(noted, checkedUpTo, count, problems);
    for (const std::string& problem : problems) ADD_FAILURE() << "last run: " << problem;

    std::printf(
        "%d kills over a span of %lld us: %lld files catalogued, %zu noted as committed, %d times a "
        "committed batch was not yet noted\n",
        killed, static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(span).count()),
        static_cast<long long>(count), noted.size(), unnotedBatches);
    // The kills must not have stalled the import: most runs commit something.
    EXPECT_GT(before, static_cast<int64_t>(kCalibrationBatches * kBatch) + kKills);
}

}  // namespace
