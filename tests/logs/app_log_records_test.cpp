// The application log's records through IZanDB4AppLogDBMgr: the history,
// appended without limit, and the keyed records, one per log id and type,
// the only writes that open a transaction; their walks, deletes, and the
// manager's Commit, Rollback and Vacuum.
#include "app_log_fixture.h"

namespace logs_test {
namespace {

using AppLogRecords = AppLogTest;

Rows HistoryRows(const std::filesystem::path& file) {
    return SqliteProbe(file).Rows(
        "SELECT id, ver, log_id, log_type, log_size, hex(log_data) FROM applog_history_data_tbl ORDER BY id");
}

Rows InformationRows(const std::filesystem::path& file) {
    return SqliteProbe(file).Rows(
        "SELECT id, ver, log_id, log_type, log_size, hex(log_data) FROM applog_information_tbl ORDER BY id");
}

TEST_F(AppLogRecords, AddHistoryTwiceKeepsTwoRecordsOnDiskAtOnce) {
    EXPECT_EQ(AddHistory(3, 10, 1, "first"), S_OK);
    EXPECT_EQ(AddHistory(4, 10, 1, "second"), S_OK);
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(HistoryRows(AppLogFile()),
              (Rows{{"1", "3", "10", "1", "5", Hex("first")}, {"2", "4", "10", "1", "6", Hex("second")}}));
}

TEST_F(AppLogRecords, SetInformationTwiceKeepsOneRowWithTheLatestBlob) {
    EXPECT_EQ(SetInformation(1, 20, 2, "old blob"), S_OK);
    EXPECT_EQ(SetInformation(2, 20, 2, "new"), S_OK);
    ASSERT_EQ(m_appLog->Commit(), S_OK);
    EXPECT_EQ(InformationRows(AppLogFile()), (Rows{{"1", "2", "20", "2", "3", Hex("new")}}));
}

TEST_F(AppLogRecords, SetInformationKeepsOneRecordPerLogIDAndType) {
    EXPECT_EQ(SetInformation(1, 20, 2, "a"), S_OK);
    EXPECT_EQ(SetInformation(1, 20, 3, "b"), S_OK);
    EXPECT_EQ(SetInformation(1, 21, 2, "c"), S_OK);
    ASSERT_EQ(m_appLog->Commit(), S_OK);
    EXPECT_EQ(InformationRows(AppLogFile()), (Rows{{"1", "1", "20", "2", "1", Hex("a")},
                                                   {"2", "1", "20", "3", "1", Hex("b")},
                                                   {"3", "1", "21", "2", "1", Hex("c")}}));
}

TEST_F(AppLogRecords, SetInformationWaitsInATransactionUntilCommit) {
    ASSERT_EQ(SetInformation(1, 20, 2, "held"), S_OK);
    EXPECT_EQ(Store().m_inTransaction, 1);
    EXPECT_TRUE(InformationRows(AppLogFile()).empty());
    // A later write of another kind joins the open transaction.
    ASSERT_EQ(AddHistory(1, 5, 5, "joined"), S_OK);
    EXPECT_TRUE(HistoryRows(AppLogFile()).empty());
    EXPECT_EQ(m_appLog->Commit(), S_OK);
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(InformationRows(AppLogFile()).size(), 1u);
    EXPECT_EQ(HistoryRows(AppLogFile()).size(), 1u);
}

TEST_F(AppLogRecords, RollbackDropsWhatTheOpenTransactionHolds) {
    ASSERT_EQ(AddHistory(1, 5, 5, "durable"), S_OK);
    ASSERT_EQ(SetInformation(1, 20, 2, "dropped"), S_OK);
    ASSERT_EQ(AddHistory(1, 6, 6, "dropped too"), S_OK);
    ASSERT_EQ(m_appLog->AddCount(7, 7, 7), S_OK);
    EXPECT_EQ(m_appLog->Rollback(), S_OK);
    EXPECT_NE(Store().m_db, nullptr);
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(HistoryRows(AppLogFile()), (Rows{{"1", "1", "5", "5", "7", Hex("durable")}}));
    EXPECT_TRUE(InformationRows(AppLogFile()).empty());
    uint32_t count = 0;
    EXPECT_EQ(m_appLog->GetCount(7, 7, &count), S_FALSE);
    // The store goes on working after the rollback.
    EXPECT_EQ(SetInformation(1, 20, 2, "again"), S_OK);
    EXPECT_EQ(m_appLog->Commit(), S_OK);
    EXPECT_EQ(InformationRows(AppLogFile()).size(), 1u);
}

TEST_F(AppLogRecords, ANullItemIsInvalid) {
    EXPECT_EQ(m_appLog->AddHistory(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_appLog->SetInformation(nullptr), E_INVALIDARG);
    EXPECT_TRUE(HistoryRows(AppLogFile()).empty());
}

TEST_F(AppLogRecords, TheItemIsBorrowedAndReadOnce) {
    FakeAppLogItem item(1, 2, 3, "bytes");
    ASSERT_EQ(m_appLog->AddHistory(&item), S_OK);
    ASSERT_EQ(m_appLog->SetInformation(&item), S_OK);
    EXPECT_EQ(item.RefCount(), 1);
    EXPECT_EQ(item.VersionReads(), 2);
    EXPECT_EQ(item.DataReads(), 2);
}

TEST_F(AppLogRecords, AnItemWithoutBytesStoresANullBlob) {
    ASSERT_EQ(AddHistory(1, 2, 3, ""), S_OK);
    EXPECT_EQ(HistoryRows(AppLogFile()), (Rows{{"1", "1", "2", "3", "0", ""}}));
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &gathered, 0, 0, 0), S_OK);
    ASSERT_EQ(gathered.records.size(), 1u);
    EXPECT_TRUE(gathered.records[0].dataWasNull);
    EXPECT_EQ(gathered.records[0].size, 0u);
}

TEST_F(AppLogRecords, ASizeTooLargeToBindIsInvalid) {
    FakeAppLogItem item(1, 2, 3, "x");
    item.ClaimSize(0x80000000u);
    EXPECT_EQ(m_appLog->AddHistory(&item), E_INVALIDARG);
    EXPECT_EQ(m_appLog->SetInformation(&item), E_INVALIDARG);
    EXPECT_TRUE(HistoryRows(AppLogFile()).empty());
}

TEST_F(AppLogRecords, DeleteHistoryRemovesTheRecordsOfOneLogID) {
    ASSERT_EQ(AddHistory(1, 5, 1, "a"), S_OK);
    ASSERT_EQ(AddHistory(1, 6, 1, "b"), S_OK);
    ASSERT_EQ(AddHistory(1, 5, 2, "c"), S_OK);
    EXPECT_EQ(m_appLog->DeleteHistory(5), S_OK);
    EXPECT_EQ(HistoryRows(AppLogFile()), (Rows{{"2", "1", "6", "1", "1", Hex("b")}}));
    // Deleting what is not there is no failure.
    EXPECT_EQ(m_appLog->DeleteHistory(5), S_OK);
}

TEST_F(AppLogRecords, DeleteInformationRemovesTheRecordsOfOneLogID) {
    ASSERT_EQ(SetInformation(1, 5, 1, "a"), S_OK);
    ASSERT_EQ(SetInformation(1, 5, 2, "b"), S_OK);
    ASSERT_EQ(SetInformation(1, 6, 1, "c"), S_OK);
    EXPECT_EQ(m_appLog->DeleteInformation(5), S_OK);
    EXPECT_EQ(m_appLog->DeleteInformation(9), S_OK);
    ASSERT_EQ(m_appLog->Commit(), S_OK);
    EXPECT_EQ(InformationRows(AppLogFile()), (Rows{{"3", "1", "6", "1", "1", Hex("c")}}));
}

class AppLogRecordWalk : public AppLogTest {
protected:
    void SetUp() override {
        AppLogTest::SetUp();
        for (const SeenRecord& record : kRecords) {
            ASSERT_EQ(AddHistory(record.version, record.logID, record.logType, record.bytes), S_OK);
            ASSERT_EQ(SetInformation(record.version, record.logID, record.logType, record.bytes), S_OK);
        }
    }
    const std::vector<SeenRecord> kRecords = {{1, 7, 1, 1, 3, "one", false},
                                              {2, 8, 2, 1, 3, "two", false},
                                              {3, 9, 1, 2, 5, "three", false},
                                              {4, 1, 3, 1, 4, "four", false}};
};

TEST_F(AppLogRecordWalk, EnumHistoryHandsOverEveryRecordInTheOrderOfID) {
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &gathered, 0, 0, 0), S_OK);
    EXPECT_EQ(gathered.records, kRecords);
}

TEST_F(AppLogRecordWalk, EnumInformationHandsOverEveryRecordInTheOrderOfID) {
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &gathered, 0, 0, 0), S_OK);
    EXPECT_EQ(gathered.records, kRecords);
}

TEST_F(AppLogRecordWalk, ALogIDSelectsItsRecords) {
    Gathered history;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &history, 1, 0, 0), S_OK);
    EXPECT_EQ(history.records, (std::vector<SeenRecord>{kRecords[0], kRecords[2]}));
    Gathered information;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &information, 2, 0, 0), S_OK);
    EXPECT_EQ(information.records, (std::vector<SeenRecord>{kRecords[1]}));
}

TEST_F(AppLogRecordWalk, LimitAndOffsetSelectARun) {
    Gathered history;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &history, 0, 2, 1), S_OK);
    EXPECT_EQ(history.records, (std::vector<SeenRecord>{kRecords[1], kRecords[2]}));
    Gathered information;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &information, 1, 1, 1), S_OK);
    EXPECT_EQ(information.records, (std::vector<SeenRecord>{kRecords[2]}));
    Gathered limited;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &limited, 0, 3, 0), S_OK);
    EXPECT_EQ(limited.records.size(), 3u);
    Gathered offsetAlone;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &offsetAlone, 0, 0, 1), E_FAIL);
    EXPECT_TRUE(offsetAlone.records.empty());
}

TEST_F(AppLogRecordWalk, AWalkWithoutRowsGivesFalse) {
    Gathered history;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &history, 99, 0, 0), S_FALSE);
    Gathered information;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &information, 0, 1, 9), S_FALSE);
    EXPECT_TRUE(history.records.empty());
    EXPECT_TRUE(information.records.empty());
}

TEST_F(AppLogRecordWalk, TheFirstNonZeroReturnEndsTheWalkAndIsTheAnswer) {
    Gathered history;
    history.stopAt = 3;
    history.stopAnswer = S_FALSE;
    EXPECT_EQ(m_appLog->EnumHistory(GatherRecord, &history, 0, 0, 0), S_FALSE);
    EXPECT_EQ(history.records.size(), 3u);
    Gathered information;
    information.answer = 5;
    EXPECT_EQ(m_appLog->EnumInformation(GatherRecord, &information, 0, 0, 0), 5);
    EXPECT_EQ(information.records.size(), 1u);
}

TEST_F(AppLogRecordWalk, ANullCallbackStopsAfterTheFirstRowWithFalse) {
    EXPECT_EQ(m_appLog->EnumHistory(nullptr, nullptr, 0, 0, 0), S_FALSE);
    EXPECT_EQ(m_appLog->EnumInformation(nullptr, nullptr, 0, 0, 0), S_FALSE);
}

TEST_F(AppLogRecordWalk, VacuumCommitsAndCompacts) {
    ASSERT_EQ(Store().m_inTransaction, 1);
    EXPECT_EQ(m_appLog->Vacuum(), S_OK);
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(InformationRows(AppLogFile()).size(), 4u);
}

}  // namespace
}  // namespace logs_test
