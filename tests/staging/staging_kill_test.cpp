// What a crash leaves in each state of a staged file: a child process adds
// two files with thumbnails, goes as far as one state of the commit, and is
// killed with SIGKILL. The root is then opened again and checked against the
// state table: rows in each store, thumbnails on disk, the identifiers
// handed out next, and that the next move takes what was staged. Every store
// passes SQLite's integrity check afterwards.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "records/file_db_record.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace fs = std::filesystem;
using zandb4::ComPtr;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

enum class CrashState {
    kAddedOnly,         // staged and thumbnails written, nothing committed
    kStagingCommitted,  // Commit(4)
    kMovedNotCommitted, // Commit(2)
    kCommitted,         // Commit(2|1)
};

const unsigned char kPicture[] = {1, 2, 3, 4, 5};
constexpr int kFiles = 2;

CZanDB4FileDBMgr RegistryManager() {
    return CZanDB4FileDBMgr(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB, DatabaseRegistry::metaFactory,
                            DatabaseRegistry::thumbMgr);
}

// In the child: start, stage two files with a thumbnail each, reach the
// state, and die without any clean-up.
[[noreturn]] void CrashIn(const fs::path& root, CrashState state) {
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    if (ZanDB4_Initialize(wideRoot.GetString()) != S_OK) ::_exit(2);
    CZanDB4FileDBMgr manager = RegistryManager();
    for (int index = 0; index < kFiles; ++index) {
        uint64_t id = 0;
        if (DatabaseRegistry::fileBasicDB->NewID(1, &id) != S_OK) ::_exit(3);
        ComPtr<IZanDB4FileDBRecord> record =
            ComPtr<IZanDB4FileDBRecord>::Adopt(new CZanDB4FileDBRecord(DatabaseRegistry::fileBasicDB));
        uint32_t diskVsn = 1;
        CZanTString path;
        path.Format(u"/pictures/%d.jpg", index);
        record->SetFilePath(path.GetString(), &diskVsn);
        record->SetFileName(path.GetString() + 10);
        if (DatabaseRegistry::asyncDB->AddFile(id, record.Get(), nullptr, 0) != S_OK) ::_exit(4);
        if (DatabaseRegistry::thumbMgr->Factory(1)->AddThumbnail(id, kPicture, sizeof kPicture) != S_OK) ::_exit(5);
    }
    HRESULT committed = S_OK;
    switch (state) {
        case CrashState::kAddedOnly: break;
        case CrashState::kStagingCommitted: committed = manager.Commit(4); break;
        case CrashState::kMovedNotCommitted: committed = manager.Commit(2); break;
        case CrashState::kCommitted: committed = manager.Commit(2 | 1); break;
    }
    if (committed != S_OK) ::_exit(6);
    ::raise(SIGKILL);
    ::_exit(7);
}

class StagingKill : public ::testing::Test {
protected:
    void Crash(CrashState state) {
        pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) CrashIn(m_root.Path(), state);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "child ended with " << WEXITSTATUS(status);
        ASSERT_EQ(WTERMSIG(status), SIGKILL);
    }

    int64_t Count(const std::string& relative, const std::string& sql) {
        fs::path file = m_root / "database" / relative;
        if (!fs::exists(file)) return 0;
        SqliteProbe probe(file);
        return probe.Integer(sql);
    }
    int64_t Files() { return Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"); }
    int64_t Staged() { return Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table WHERE can_commit=1"); }
    int64_t Thumbnails() { return Count("thumb_0s/00000000.db", "SELECT COUNT(*) FROM thumbnail_table"); }

    // Opens the root again; answers the identifier the catalogue hands out
    // next, then runs a move and a commit as the next session would.
    uint64_t RestartAndMove() {
        EXPECT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        uint64_t next = 0;
        EXPECT_EQ(DatabaseRegistry::fileBasicDB->NewID(1, &next), S_OK);
        DatabaseRegistry::fileBasicDB->PoolID(next, 1);
        EXPECT_EQ(RegistryManager().Commit(2 | 1), S_OK);
        EXPECT_EQ(ZanDB4_Finalize(), S_OK);
        return next;
    }

    void ExpectIntact() {
        for (const char* file : {"FileBasic.db", "FileBasicAsync.db", "thumb_0s/00000000.db"}) {
            fs::path path = m_root / "database" / file;
            if (!fs::exists(path)) continue;
            SqliteProbe probe(path);
            EXPECT_EQ(probe.Rows("PRAGMA integrity_check"), (std::vector<std::vector<std::string>>{{"ok"}})) << file;
        }
    }

    TempFolder m_root;
};

TEST_F(StagingKill, AddedOnlyIsGoneWithItsThumbnailsAndIdentifiers) {
    Crash(CrashState::kAddedOnly);
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Files(), 0);
    EXPECT_EQ(Thumbnails(), 0);
    // The identifiers went back with the catalogue's open transaction.
    EXPECT_EQ(RestartAndMove(), 1u);
    EXPECT_EQ(Files(), 0);
    ExpectIntact();
}

TEST_F(StagingKill, StagingCommittedStaysStagedAndMovesAtTheNextCommit) {
    Crash(CrashState::kStagingCommitted);
    EXPECT_EQ(Staged(), kFiles);
    EXPECT_EQ(Files(), 0);
    EXPECT_EQ(Thumbnails(), kFiles);
    // The catalogue's counter was never committed: the first identifier is
    // handed out again, while the staged files still hold it.
    EXPECT_EQ(RestartAndMove(), 1u);
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Files(), kFiles);
    EXPECT_EQ(Thumbnails(), kFiles);
    ExpectIntact();
}

TEST_F(StagingKill, MovedButNotCommittedIsLostAndLeavesOrphanThumbnails) {
    Crash(CrashState::kMovedNotCommitted);
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Files(), 0);
    EXPECT_EQ(Thumbnails(), kFiles);
    RestartAndMove();
    EXPECT_EQ(Files(), 0);
    ExpectIntact();
}

TEST_F(StagingKill, CommittedIsSafe) {
    Crash(CrashState::kCommitted);
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Files(), kFiles);
    EXPECT_EQ(Thumbnails(), kFiles);
    EXPECT_EQ(RestartAndMove(), 3u);
    EXPECT_EQ(Files(), kFiles);
    ExpectIntact();
}

}  // namespace
