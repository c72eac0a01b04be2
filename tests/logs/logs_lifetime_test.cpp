// Memory data and the access log over the library's start and stop: both
// files made in the database folder, both stores closed with what their
// open transactions hold, and the managers served by the factory.
#include "catalogue/file_basic_db.h"
#include "logs_fixture.h"

namespace logs_test {
namespace {

namespace fs = std::filesystem;

using LogsLifetime = LogsFilesTest;

TEST_F(LogsLifetime, StartMakesBothFilesBesideTheCatalogue) {
    Start();
    ASSERT_NE(DatabaseRegistry::memDB, nullptr);
    ASSERT_NE(DatabaseRegistry::accessLogDB, nullptr);
    EXPECT_NE(MemoryStore().m_db, nullptr);
    EXPECT_NE(AccessLogStore().m_db, nullptr);
    EXPECT_TRUE(fs::is_regular_file(MemoryFile()));
    EXPECT_TRUE(fs::is_regular_file(UserLogFile()));
    EXPECT_EQ(MemoryStore().m_folder, DatabaseRegistry::fileBasicDB->m_folder);
    EXPECT_EQ(AccessLogStore().m_folder, DatabaseRegistry::fileBasicDB->m_folder);
}

TEST_F(LogsLifetime, StopCommitsAndClosesBothStores) {
    Start();
    ASSERT_EQ(m_memory->AddData(1, u"k", "v", 1, nullptr), S_OK);
    ASSERT_EQ(m_accessLog->AddLaunchCount(3, nullptr), S_OK);
    ASSERT_EQ(m_accessLog->AddEditParamCount(2, 9), S_OK);
    Stop();
    EXPECT_EQ(DatabaseRegistry::memDB, nullptr);
    EXPECT_EQ(DatabaseRegistry::accessLogDB, nullptr);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 1);
    EXPECT_EQ(UserLogInteger("SELECT SUM(log_count) FROM access_launch_data"), 3);
    EXPECT_EQ(UserLogInteger("SELECT log_count FROM access_edit_param_data WHERE log_type=2"), 9);
    EXPECT_FALSE(fs::exists(m_root / "database" / "Memory.db-journal"));
    EXPECT_FALSE(fs::exists(m_root / "database" / "UserLog.db-journal"));
}

TEST_F(LogsLifetime, ASecondStartReadsWhatTheFirstStored) {
    Start();
    ASSERT_EQ(m_memory->AddData(4, u"kept", "abc", 3, nullptr), S_OK);
    const CZanTDateTime day = Date(2024, 2, 29);
    ASSERT_EQ(m_accessLog->SetDailyBits(6, 0x10, &day), S_OK);
    Stop();
    Start();
    EXPECT_TRUE(m_memory->Exists(4, u"kept"));
    uint32_t value = 0;
    ASSERT_EQ(m_accessLog->GetDailyValue(6, &value, &day), S_OK);
    EXPECT_EQ(value, 0x10u);
}

TEST_F(LogsLifetime, ManagersAfterTheStopAreNotMade) {
    Start();
    Stop();
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemoryDataMgr, &out), E_FAIL);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AccessLogDBMgr, &out), E_FAIL);
    EXPECT_EQ(out, reinterpret_cast<void*>(0x5EA7));
}

TEST_F(LogsLifetime, TheFactoryMakesNoMemoryRecord) {
    Start();
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemRecord, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(LogsLifetime, AfterAccessDeniedTheManagersHaveNoStoreAndFail) {
    zandb4::testing::WriteFile(m_root / "database", "a file in the way");
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4MemoryDataMgr, reinterpret_cast<void**>(m_memory.Receive())), S_OK);
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4AccessLogDBMgr, reinterpret_cast<void**>(m_accessLog.Receive())),
              S_OK);
    EXPECT_EQ(m_memory->AddData(1, u"k", "v", 1, nullptr), E_FAIL);
    EXPECT_FALSE(m_memory->Exists(1, u"k"));
    EXPECT_EQ(m_accessLog->AddLaunchCount(1, nullptr), E_FAIL);
    EXPECT_EQ(m_accessLog->Commit(), E_FAIL);
}

}  // namespace
}  // namespace logs_test
