// An import (AddFile, Commit(4), Commit(2|1)) while SQLite's Nth
// allocation fails, once or from there on, through SQLite's own allocator
// seam. Nothing crashes, every answer is one the call may give, every store
// passes the integrity check, the files committed before the failure stay,
// and the library starts again and imports more.
#include "fault_fixture.h"

namespace faults_test {
namespace {

constexpr int kBatches = 2;
constexpr int kBatchSize = 3;

class AllocationFaults : public FaultTest {
protected:
    void SetUp() override {
        FaultTest::SetUp();
        // SQLite takes an allocator only while it is shut down, which puts
        // its own VFS back in front; the fault VFS goes in front again.
        FaultSqliteMalloc::Install();
        FaultVfs::Install();
    }
    void TearDown() override {
        FaultTest::TearDown();
        FaultSqliteMalloc::Uninstall();
        FaultVfs::Install();
    }

    std::map<int64_t, uint64_t> Import(const fs::path& root, const uint64_t* nth, bool sticky, RunLog& log,
                                       uint64_t* count = nullptr) {
        std::map<int64_t, uint64_t> committed;
        IZanDB4FileDBMgr* manager = StartWithFileManager(root, log);
        if (manager == nullptr) return committed;
        // The records are made before the fault is armed: the factory's own
        // failures are another program's subject.
        std::vector<IZanDB4FileDBRecord*> records;
        for (int64_t index = 0; index < kBatches * kBatchSize; ++index) records.push_back(MakeRecord(index));
        FaultSqliteMalloc::Reset();
        if (nth != nullptr) FaultSqliteMalloc::Arm(*nth, sticky);
        int64_t index = 0;
        for (int batch = 0; batch < kBatches; ++batch) {
            std::map<int64_t, uint64_t> pending;
            for (int i = 0; i < kBatchSize; ++i, ++index) {
                uint64_t id = 0;
                HRESULT added = records[index] != nullptr ? manager->AddFile(records[index], &id) : E_FAIL;
                log.Expect("AddFile", added, {S_OK, E_FAIL, E_OUTOFMEMORY});
                if (added == S_OK) pending[index] = id;
            }
            log.Expect("Commit(4)", manager->Commit(4), {S_OK, S_FALSE, E_FAIL, E_OUTOFMEMORY});
            HRESULT moved = manager->Commit(2 | 1);
            log.Expect("Commit(2|1)", moved, {S_OK, S_FALSE, E_FAIL, E_OUTOFMEMORY});
            if (moved == S_OK && FaultSqliteMalloc::Fired() == 0) committed.insert(pending.begin(), pending.end());
        }
        if (count != nullptr) *count = FaultSqliteMalloc::Count();
        if (nth != nullptr && FaultSqliteMalloc::Fired() == 0) log.Problem("the fault never fired");
        FaultSqliteMalloc::Disarm();
        for (IZanDB4FileDBRecord*& record : records) ReleaseIfSet(record);
        manager->Release();
        log.Expect("ZanDB4_Finalize", ZanDB4_Finalize(), {S_OK});
        return committed;
    }
};

TEST_F(AllocationFaults, EveryFailedSqliteAllocationLeavesSoundStoresAndTheFilesCommittedBeforeIt) {
    {
        RunLog log;
        ASSERT_TRUE(Start(Template(), log));
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }
    CopyRoot(Template(), RunRoot());
    RunLog dryLog;
    uint64_t count = 0;
    std::map<int64_t, uint64_t> all = Import(RunRoot(), nullptr, false, dryLog, &count);
    ASSERT_TRUE(dryLog.problems.empty()) << dryLog.problems.front();
    ASSERT_EQ(all.size(), static_cast<size_t>(kBatches * kBatchSize));
    ASSERT_GT(count, 0u);

    std::vector<uint64_t> numbers = Numbers(count, 0, Sampled(250));
    std::printf("allocations: %llu; %zu fault points\n", static_cast<unsigned long long>(count), 2 * numbers.size());
    std::vector<std::string> problems;
    for (bool sticky : {false, true}) {
        for (uint64_t nth : numbers) {
            CopyRoot(Template(), RunRoot());
            RunLog log;
            std::map<int64_t, uint64_t> committed = Import(RunRoot(), &nth, sticky, log);
            CheckIntegrity(RunRoot() / "database", log);
            CheckCommitted(RunRoot() / "database" / "FileBasic.db", committed, log);
            CheckImportsMore(RunRoot(), 800, log);
            for (const std::string& problem : log.problems)
                problems.push_back("allocation #" + std::to_string(nth) + (sticky ? " on: " : " once: ") + problem);
        }
    }
    ExpectNoProblems(problems);
}

}  // namespace
}  // namespace faults_test
