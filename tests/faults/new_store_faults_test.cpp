// A new store file built on a disk that fails: every write of the build
// from the Nth on (a full disk), or the Nth alone. Open answers S_OK or
// E_FAIL; what stands under the store's name afterwards is nothing or a
// database SQLite reads as sound, never a torn file; nothing is left under
// the building name; and the next Open on a sound disk gives a working
// store: built whole where nothing stood, or the half-made file as it is.
#include "fault_fixture.h"
#include "storage/sqlite_db_base.h"

namespace faults_test {
namespace {

constexpr char kStoreName[] = "Store.db";
constexpr int kExtraTables = 40;

// A store whose new file is some forty pages long, so that its build writes
// many pages at once.
class StoreWithManyTables : public CSQLiteDBBase {
public:
    HRESULT CreateTables() override {
        if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
        for (int table = 0; table < kExtraTables; ++table) {
            CZanTString sql;
            sql.Format(u"CREATE TABLE extra_%d_table (value INTEGER)", table);
            if (ExecuteStatement(sql.GetString()) != S_OK) return E_FAIL;
        }
        return S_OK;
    }
};

int64_t TableCount(const fs::path& file) {
    return SqliteProbe(file).Integer("SELECT COUNT(*) FROM sqlite_master WHERE type='table'");
}

class NewStoreFaults : public FaultTest {
protected:
    fs::path Folder() const { return m_folder / "store"; }

    HRESULT Build(const FaultPoint* point) {
        StoreWithManyTables store;
        store.m_folder = CZanTString::FromUtf8(Folder().c_str());
        store.m_fileName = CZanTString::FromUtf8(kStoreName);
        FaultVfs::Reset();
        if (point != nullptr) FaultVfs::Arm(point->kind, point->nth, point->code, point->sticky);
        HRESULT opened = store.Open();
        FaultVfs::Disarm();
        store.Close();
        return opened;
    }
};

TEST_F(NewStoreFaults, ABuildOnAFailingDiskLeavesNothingTornUnderTheStoresName) {
    fs::create_directories(Folder());
    ASSERT_EQ(Build(nullptr), S_OK);
    uint64_t writes = FaultVfs::Count(FaultVfs::kWrite);
    ASSERT_GT(writes, 0u);
    ASSERT_EQ(TableCount(Folder() / kStoreName), 3 + kExtraTables);

    std::vector<std::string> problems;
    int tornBuilds = 0;
    int halfMade = 0;
    for (bool sticky : {true, false}) {
        for (uint64_t nth = 1; nth <= writes; ++nth) {
            FaultPoint point{FaultVfs::kWrite, nth, sticky ? SQLITE_FULL : SQLITE_IOERR_WRITE, sticky};
            fs::remove_all(Folder());
            fs::create_directories(Folder());
            RunLog log;
            HRESULT opened = Build(&point);
            log.Expect("Open", opened, {S_OK, E_FAIL});
            if (FaultVfs::Fired() == 0) log.Problem("the fault never fired");
            fs::path file = Folder() / kStoreName;
            if (fs::exists(Folder() / (std::string(kStoreName) + CSQLiteDBBase::kNewFileSuffix)))
                log.Problem("the building file is left behind");
            if (opened == E_FAIL && !fs::exists(file)) ++tornBuilds;
            if (opened == S_OK && !fs::exists(file)) log.Problem("Open answered S_OK with no file in place");
            CheckIntegrity(Folder(), log);

            // On a sound disk the store opens: a file built whole where
            // nothing stood, else the half-made one, which keeps the tables
            // it has.
            bool existed = fs::exists(file);
            int64_t tablesBefore = existed ? TableCount(file) : 0;
            if (Build(nullptr) != S_OK) log.Problem("the next Open fails");
            int64_t tablesAfter = TableCount(file);
            if (!existed && tablesAfter != 3 + kExtraTables)
                log.Problem("the store built again has " + std::to_string(tablesAfter) + " tables");
            if (existed && tablesAfter != tablesBefore) log.Problem("the next Open changed the half-made file");
            if (existed && tablesBefore != 3 + kExtraTables) ++halfMade;
            for (const std::string& problem : log.problems) problems.push_back(point.Describe() + ": " + problem);
        }
    }
    std::printf("new store: %llu writes, %llu fault points; %d builds left nothing, %d a half-made file\n",
                static_cast<unsigned long long>(writes), static_cast<unsigned long long>(2 * writes), tornBuilds,
                halfMade);
    // A full disk in the middle of the build tears the file at least once;
    // without that, this test would not show what it is for.
    EXPECT_GT(tornBuilds, 0);
    ExpectNoProblems(problems);
}

}  // namespace
}  // namespace faults_test
