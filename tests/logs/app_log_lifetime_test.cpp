// The application log over the library's start and stop: the file made in
// "information", the store closed by the stop with what its transaction
// holds (and deleted when the application asked), the drop that leaves it,
// a folder that cannot be made, and the manager as the factory serves it.
#include <chrono>
#include <future>

#include "app_log_fixture.h"
#include "catalogue/file_basic_db.h"

namespace logs_test {
namespace {

namespace fs = std::filesystem;

using AppLogLifetime = AppLogTest;

// Tests that lay files under the root first: the library is started only
// when the test calls Start.
class AppLogLifetimeFiles : public AppLogTest {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
};

TEST_F(AppLogLifetime, StartMakesTheFileInInformation) {
    ASSERT_NE(DatabaseRegistry::appLogDB, nullptr);
    EXPECT_NE(Store().m_db, nullptr);
    EXPECT_TRUE(fs::is_regular_file(AppLogFile()));
    EXPECT_EQ(Store().m_fileName, CZanTString(u"appcahce.db"));
    EXPECT_EQ(Store().m_folder, W((m_root / "information").string() + "/"));
    EXPECT_EQ(Store().m_expired, 0u);
    EXPECT_EQ(Store().m_deleteOnClose, 0u);
    EXPECT_EQ(AppLogInteger("SELECT COUNT(*) FROM sqlite_master WHERE name='applog_information_tbl'"), 1);
}

TEST_F(AppLogLifetime, GetFolderGivesTheStoresFolder) {
    CZanTString folder(u"old");
    EXPECT_EQ(m_appLog->GetFolder(folder), S_OK);
    EXPECT_EQ(folder, W((m_root / "information").string() + "/"));
}

TEST_F(AppLogLifetime, GetFolderTakesNoLock) {
    // The store's lock is held here while another thread asks for the
    // folder: it answers without waiting for the lock.
    std::future<HRESULT> answer;
    CZanTString folder;
    {
        CriticalSectionGuard guard(Store().m_lock);
        answer = std::async(std::launch::async, [&] { return m_appLog->GetFolder(folder); });
        EXPECT_EQ(answer.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }
    EXPECT_EQ(answer.get(), S_OK);
    EXPECT_EQ(folder, W((m_root / "information").string() + "/"));
}

TEST_F(AppLogLifetime, AnOperationWaitsForTheStoresLock) {
    std::future<HRESULT> answer;
    {
        CriticalSectionGuard guard(Store().m_lock);
        answer = std::async(std::launch::async, [&] { return m_appLog->AddCount(1, 1, 1); });
        EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
    }
    EXPECT_EQ(answer.get(), S_OK);
    EXPECT_EQ(AppLogInteger("SELECT log_count FROM applog_accumulation_tbl WHERE log_id=1"), 1);
}

TEST_F(AppLogLifetime, TheReservedOperationsAnswerOkAndTouchNothing) {
    EXPECT_EQ(m_appLog->Reserved1(), S_OK);
    EXPECT_EQ(m_appLog->Reserved2(), S_OK);
    EXPECT_EQ(m_appLog->Reserved3(), S_OK);
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(AppLogInteger("SELECT COUNT(*) FROM applog_accumulation_tbl"), 0);
}

TEST_F(AppLogLifetime, TheManagerAnswersItsOwnIdentifierOnly) {
    void* out = reinterpret_cast<void*>(0x5EA7);
    const IID unknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    EXPECT_EQ(m_appLog->QueryInterface(unknown, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_appLog->QueryInterface(IID_IZanDB4AppLogDBMgr, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(m_appLog.Get()));
    EXPECT_EQ(m_appLog->Release(), 1u);
    EXPECT_EQ(m_appLog->QueryInterface(IID_IZanDB4AppLogDBMgr, nullptr), E_INVALIDARG);
}

TEST_F(AppLogLifetime, StopCommitsTheOpenTransactionAndClosesTheStore) {
    ASSERT_EQ(SetInformation(1, 2, 3, "at stop"), S_OK);
    ASSERT_EQ(m_appLog->AddCount(4, 5, 6), S_OK);
    Stop();
    EXPECT_EQ(DatabaseRegistry::appLogDB, nullptr);
    EXPECT_EQ(AppLogRows("SELECT ver, log_id, log_type, hex(log_data) FROM applog_information_tbl"),
              (Rows{{"1", "2", "3", Hex("at stop")}}));
    EXPECT_EQ(AppLogInteger("SELECT log_count FROM applog_accumulation_tbl WHERE log_id=4"), 6);
    EXPECT_FALSE(fs::exists(m_root / "information" / "appcahce.db-journal"));
}

TEST_F(AppLogLifetime, ASecondStartReadsWhatTheFirstStored) {
    ASSERT_EQ(AddHistory(1, 2, 3, "kept"), S_OK);
    Stop();
    Start();
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &gathered, 0, 0, 0), S_OK);
    EXPECT_EQ(gathered.records, (std::vector<SeenRecord>{{1, 1, 2, 3, 4, "kept", false}}));
}

TEST_F(AppLogLifetime, StopDeletesTheFileWhenTheApplicationAskedAndTheNextStartBeginsAnew) {
    ASSERT_EQ(AddHistory(1, 2, 3, "gone"), S_OK);
    EXPECT_EQ(m_appLog->SetDeleteOnClose(1), S_OK);
    Stop();
    EXPECT_FALSE(fs::exists(AppLogFile()));
    EXPECT_TRUE(fs::is_directory(m_root / "information"));
    // The other stores are untouched.
    EXPECT_TRUE(fs::is_regular_file(m_root / "database" / "FileBasic.db"));
    Start();
    EXPECT_TRUE(fs::is_regular_file(AppLogFile()));
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &gathered, 0, 0, 0), S_FALSE);
}

TEST_F(AppLogLifetime, StopKeepsAFreshFileWhenOnlyTheExpiredOneWasToGo) {
    EXPECT_EQ(m_appLog->SetDeleteOnClose(2), S_OK);
    Stop();
    EXPECT_TRUE(fs::is_regular_file(AppLogFile()));
}

TEST_F(AppLogLifetimeFiles, AnExpiredFileFoundAtStartGoesAtTheStopWhenAskedWithTwo) {
    Start();
    ASSERT_EQ(AddHistory(1, 2, 3, "old"), S_OK);
    Stop();
    {
        ClockAt later(UtcMoment(CreationTime(AppLogFile()) + 200 * kDay));
        Start();
    }
    EXPECT_EQ(Store().m_expired, 1u);
    EXPECT_EQ(m_appLog->SetDeleteOnClose(2), S_OK);
    Stop();
    EXPECT_FALSE(fs::exists(AppLogFile()));
}

TEST_F(AppLogLifetime, TheDropLeavesTheApplicationLogAndANewStartFindsIt) {
    ASSERT_EQ(AddHistory(1, 2, 3, "survives"), S_OK);
    Stop();
    EXPECT_EQ(ZanDB4_DropDatabase(m_root.Wide().GetString()), S_OK);
    EXPECT_FALSE(fs::exists(m_root / "database"));
    EXPECT_TRUE(fs::is_regular_file(AppLogFile()));
    Start();
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &gathered, 0, 0, 0), S_OK);
    ASSERT_EQ(gathered.records.size(), 1u);
    EXPECT_EQ(gathered.records[0].bytes, "survives");
}

TEST_F(AppLogLifetimeFiles, AnInformationFolderThatCannotBeMadeLeavesTheStoreWithoutAConnection) {
    zandb4::testing::WriteFile(m_root / "information", "a file in the way");
    Start();
    ASSERT_NE(DatabaseRegistry::appLogDB, nullptr);
    EXPECT_EQ(Store().m_db, nullptr);
    EXPECT_EQ(m_appLog->AddCount(1, 1, 1), E_FAIL);
    EXPECT_EQ(AddHistory(1, 2, 3, "x"), E_FAIL);
    uint32_t count = 9;
    EXPECT_EQ(m_appLog->GetCount(1, 1, &count), E_FAIL);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, nullptr, 0, 0, 0, 0), E_FAIL);
    EXPECT_EQ(m_appLog->Commit(), E_FAIL);
    EXPECT_EQ(m_appLog->SetDeleteOnClose(1), S_OK);
    CZanTString folder;
    EXPECT_EQ(m_appLog->GetFolder(folder), S_OK);
    EXPECT_EQ(folder, W((m_root / "information").string() + "/"));
    // The rest of the library is up as usual, and the stop deletes nothing.
    EXPECT_NE(DatabaseRegistry::fileBasicDB->m_db, nullptr);
    Stop();
    EXPECT_TRUE(fs::is_regular_file(m_root / "information"));
}

TEST_F(AppLogLifetime, AManagerIsNotMadeAfterTheStop) {
    Stop();
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AppLogDBMgr, &out), E_FAIL);
    EXPECT_EQ(out, reinterpret_cast<void*>(0x5EA7));
}

TEST_F(AppLogLifetimeFiles, AfterAccessDeniedTheManagerHasNoStoreAndFails) {
    zandb4::testing::WriteFile(m_root / "database", "a file in the way");
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    EXPECT_EQ(DatabaseRegistry::appLogDB, nullptr);
    EXPECT_FALSE(fs::exists(m_root / "information"));
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AppLogDBMgr, reinterpret_cast<void**>(m_appLog.Receive())), S_OK);
    ASSERT_TRUE(m_appLog);
    EXPECT_EQ(m_appLog->AddCount(1, 1, 1), E_FAIL);
    EXPECT_EQ(m_appLog->MergeCount(1, 1, 1), E_FAIL);
    uint32_t count = 0;
    EXPECT_EQ(m_appLog->GetCount(1, 1, &count), E_FAIL);
    FakeAppLogItem item(1, 2, 3, "x");
    EXPECT_EQ(m_appLog->AddHistory(&item), E_FAIL);
    EXPECT_EQ(m_appLog->SetInformation(&item), E_FAIL);
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, nullptr, 0, 0, 0), E_FAIL);
    EXPECT_EQ(m_appLog->SetDeleteOnClose(1), E_FAIL);
    CZanTString folder(u"unchanged");
    EXPECT_EQ(m_appLog->GetFolder(folder), E_FAIL);
    EXPECT_EQ(folder, CZanTString(u"unchanged"));
    EXPECT_EQ(m_appLog->Commit(), E_FAIL);
    EXPECT_EQ(m_appLog->Rollback(), E_FAIL);
    EXPECT_EQ(m_appLog->Vacuum(), E_FAIL);
    EXPECT_EQ(m_appLog->Reserved1(), S_OK);
}

}  // namespace
}  // namespace logs_test
