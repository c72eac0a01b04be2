// BackupDatabases (with the shard folders) into a root that already holds
// one backup, with the Nth file copy failing as on a full disk (part of the
// file written, then ENOSPC), and with each read, write, sync or truncate of
// SQLite failing during the backup. A failed backup answers a failure code,
// the live stores keep every committed file, and the backup before it is
// still whole under the older generation's name; a backup that answered
// S_OK holds every file. The library starts again and backs up whole.
#include <errno.h>

#include <atomic>
#include <fstream>

#include "fault_fixture.h"
#include "platform/files.h"

namespace faults_test {
namespace {

namespace platform = zandb4::platform;

constexpr int kFirstFiles = 8;
constexpr int kLaterFiles = 4;

// The copies of the backup, counted, and the Nth made to fail as a disk
// that fills up on the way: of a file, the first half is written; of a
// folder, every file but the last, which gets its first half. The copy then
// answers ENOSPC.
class CopyFault {
public:
    CopyFault() {
        platform::SetCopyFaultForTesting([this](const std::string& from, const std::string& target) {
            uint64_t number = m_count.fetch_add(1) + 1;
            if (number != m_failAt) return 0;
            ++m_fired;
            std::error_code error;
            if (fs::is_regular_file(from, error)) {
                CopyHalf(from, target);
            } else if (fs::is_directory(from, error)) {
                std::vector<fs::path> sources;
                for (fs::recursive_directory_iterator it(from, error), end; !error && it != end; it.increment(error))
                    if (it->is_regular_file()) sources.push_back(it->path());
                std::sort(sources.begin(), sources.end());
                for (size_t i = 0; i < sources.size(); ++i) {
                    fs::path to = fs::path(target) / fs::relative(sources[i], from);
                    fs::create_directories(to.parent_path(), error);
                    if (i + 1 < sources.size())
                        fs::copy_file(sources[i], to, fs::copy_options::overwrite_existing, error);
                    else
                        CopyHalf(sources[i], to);
                }
            }
            return ENOSPC;
        });
    }
    ~CopyFault() { platform::SetCopyFaultForTesting(nullptr); }
    CopyFault(const CopyFault&) = delete;
    CopyFault& operator=(const CopyFault&) = delete;

    void Reset(uint64_t failAt) {
        m_count = 0;
        m_fired = 0;
        m_failAt = failAt;
    }
    uint64_t Count() const { return m_count; }
    uint64_t Fired() const { return m_fired; }

private:
    static void CopyHalf(const fs::path& from, const fs::path& to) {
        std::ifstream in(from, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::ofstream out(to, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size() / 2));
    }

    std::atomic<uint64_t> m_count{0};
    std::atomic<uint64_t> m_fired{0};
    std::atomic<uint64_t> m_failAt{0};
};

class BackupFaults : public FaultTest {
protected:
    fs::path Backup(const fs::path& root) const { return root / "database-backup"; }
    fs::path OlderBackup(const fs::path& root) const { return root / "database-backup2"; }

    // Imports count files from file number first on and commits them.
    static void ImportFiles(IZanDB4FileDBMgr* manager, int64_t first, int count, std::map<int64_t, uint64_t>& files,
                            RunLog& log) {
        for (int64_t index = first; index < first + count; ++index) {
            IZanDB4FileDBRecord* record = MakeRecord(index);
            uint64_t id = 0;
            HRESULT added = record != nullptr ? manager->AddFile(record, &id) : E_FAIL;
            ReleaseIfSet(record);
            if (added != S_OK) {
                log.Problem("AddFile answered " + Hex(added));
                continue;
            }
            std::string bytes = ThumbnailBytes(id, 1);
            if (manager->AddThumbnail(id, 1, bytes.data(), static_cast<uint32_t>(bytes.size())) != S_OK)
                log.Problem("AddThumbnail failed");
            files[index] = id;
        }
        HRESULT committed = manager->Commit(2 | 1);
        if (committed != S_OK) log.Problem("Commit(2|1) answered " + Hex(committed));
    }

    // A root with kFirstFiles committed files with thumbnails, backed up
    // once with its shard folders.
    void MakeTemplate() {
        RunLog log;
        ASSERT_TRUE(Start(Template(), log));
        IZanDB4FileDBMgr* manager = nullptr;
        IZanDB4DBUtility* utility = nullptr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)), S_OK);
        ImportFiles(manager, 0, kFirstFiles, m_firstFiles, log);
        ASSERT_TRUE(log.problems.empty()) << log.problems.front();
        ASSERT_EQ(utility->BackupDatabases(nullptr, 1), S_OK);
        utility->Release();
        manager->Release();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
        ASSERT_TRUE(fs::exists(Backup(Template()) / "thumb_0s" / "00000000.db"));
    }

    // Answers the backup's result, or S_OK with a problem noted if the run
    // could not get that far.
    HRESULT RunBackup(const fs::path& root, const FaultPoint* point, std::map<int64_t, uint64_t>& files, RunLog& log,
                      OpCounts* end = nullptr) {
        files = m_firstFiles;
        if (!Start(root, log)) return S_OK;
        IZanDB4FileDBMgr* manager = nullptr;
        IZanDB4DBUtility* utility = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(&manager)) != S_OK ||
            ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK) {
            log.Problem("no manager or utility");
            ReleaseIfSet(manager);
            ZanDB4_Finalize();
            return S_OK;
        }
        ImportFiles(manager, kFirstFiles, kLaterFiles, files, log);
        FaultVfs::Reset();
        if (point != nullptr) FaultVfs::Arm(point->kind, point->nth, point->code, point->sticky);
        HRESULT backedUp = utility->BackupDatabases(nullptr, 1);
        EndFaultedRun(point, end, log);
        utility->Release();
        manager->Release();
        log.Expect("ZanDB4_Finalize", ZanDB4_Finalize(), {S_OK});
        return backedUp;
    }

    // A backup folder whose stores pass the integrity check and whose
    // catalogue holds exactly files, each once, with a thumbnail shard.
    void CheckBackupWhole(const fs::path& folder, const std::map<int64_t, uint64_t>& files, const std::string& what,
                          RunLog& log) {
        RunLog inner;
        if (!fs::exists(folder / "FileBasic.db") || !fs::exists(folder / "thumb_0s" / "00000000.db")) {
            log.Problem(what + " lacks store files");
            return;
        }
        CheckIntegrity(folder, inner);
        CheckCommitted(folder / "FileBasic.db", files, inner);
        if (SqliteProbe(folder / "FileBasic.db").Integer("SELECT COUNT(*) FROM file_table") !=
            static_cast<int64_t>(files.size()))
            inner.Problem("the catalogue holds other files than those committed");
        for (const std::string& problem : inner.problems) log.Problem(what + ": " + problem);
    }

    // After a run: the live stores, the two generations, and a backup and an
    // import of the library started again.
    void CheckAfter(const fs::path& root, HRESULT backedUp, const std::map<int64_t, uint64_t>& files,
                    uint64_t copyFailures, RunLog& log) {
        CheckIntegrity(root / "database", log);
        CheckCommitted(root / "database" / "FileBasic.db", files, log);
        // The generation before stays whole whatever became of this backup.
        CheckBackupWhole(OlderBackup(root), m_firstFiles, "the older backup", log);
        if (backedUp == S_OK) {
            if (copyFailures != 0) log.Problem("a copy failed and the backup answered S_OK");
            CheckBackupWhole(Backup(root), files, "the backup", log);
        } else {
            log.Expect("BackupDatabases", backedUp, {E_FAIL, E_OUTOFMEMORY, static_cast<HRESULT>(ENOSPC)});
        }

        if (!Start(root, log)) return;
        IZanDB4DBUtility* utility = nullptr;
        if (ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(&utility)) != S_OK) {
            log.Problem("no utility after the restart");
            ZanDB4_Finalize();
            return;
        }
        HRESULT again = utility->BackupDatabases(nullptr, 1);
        utility->Release();
        log.Expect("ZanDB4_Finalize", ZanDB4_Finalize(), {S_OK});
        if (again != S_OK) log.Problem("the backup after the restart answered " + Hex(again));
        CheckBackupWhole(Backup(root), files, "the backup after the restart", log);
        CheckImportsMore(root, 900, log);
    }

    std::map<int64_t, uint64_t> m_firstFiles;
};

TEST_F(BackupFaults, AFailedCopyAnswersItsCodeAndLeavesTheOlderBackupAndTheStoresWhole) {
    CopyFault copies;
    MakeTemplate();

    CopyRoot(Template(), RunRoot());
    RunLog dryLog;
    std::map<int64_t, uint64_t> files;
    copies.Reset(0);
    HRESULT backedUp = RunBackup(RunRoot(), nullptr, files, dryLog);
    uint64_t copyCount = copies.Count();
    ASSERT_EQ(backedUp, S_OK);
    ASSERT_EQ(files.size(), static_cast<size_t>(kFirstFiles + kLaterFiles));
    CheckAfter(RunRoot(), backedUp, files, 0, dryLog);
    ASSERT_TRUE(dryLog.problems.empty()) << dryLog.problems.front();
    // The five single-file stores and the shard folders at least.
    ASSERT_GT(copyCount, 5u);

    std::printf("backup: %llu copies; %llu fault points\n", static_cast<unsigned long long>(copyCount),
                static_cast<unsigned long long>(copyCount));
    std::vector<std::string> problems;
    for (uint64_t nth = 1; nth <= copyCount; ++nth) {
        CopyRoot(Template(), RunRoot());
        RunLog log;
        copies.Reset(nth);
        HRESULT result = RunBackup(RunRoot(), nullptr, files, log);
        uint64_t fired = copies.Fired();
        copies.Reset(0);
        if (fired != 1) log.Problem("the copy fault fired " + std::to_string(fired) + " times");
        if (result != static_cast<HRESULT>(ENOSPC))
            log.Problem("the backup answered " + Hex(result) + " for a copy that failed with ENOSPC");
        CheckAfter(RunRoot(), result, files, fired, log);
        for (const std::string& problem : log.problems)
            problems.push_back("copy #" + std::to_string(nth) + ": " + problem);
    }
    ExpectNoProblems(problems);
}

TEST_F(BackupFaults, SqliteFaultsDuringABackupLeaveTheStoresAndBothGenerationsWhole) {
    MakeTemplate();

    CopyRoot(Template(), RunRoot());
    RunLog dryLog;
    std::map<int64_t, uint64_t> files;
    OpCounts dry;
    HRESULT backedUp = RunBackup(RunRoot(), nullptr, files, dryLog, &dry);
    ASSERT_EQ(backedUp, S_OK);
    CheckAfter(RunRoot(), backedUp, files, 0, dryLog);
    ASSERT_TRUE(dryLog.problems.empty()) << dryLog.problems.front();

    // The backup copies the files outside SQLite; whatever SQLite does on
    // the way is driven here, which may be nothing at all.
    std::vector<FaultPoint> points = PlanPoints(dry, Sampled(40));
    std::printf("backup: %s through SQLite; %zu fault points\n", dry.Describe().c_str(), points.size());
    std::vector<std::string> problems;
    for (const FaultPoint& point : points) {
        CopyRoot(Template(), RunRoot());
        RunLog log;
        HRESULT result = RunBackup(RunRoot(), &point, files, log);
        CheckAfter(RunRoot(), result, files, 0, log);
        for (const std::string& problem : log.problems) problems.push_back(point.Describe() + ": " + problem);
    }
    ExpectNoProblems(problems);
}

}  // namespace
}  // namespace faults_test
