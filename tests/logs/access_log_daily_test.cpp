// The access log's daily values (bit sets and counters by UTC day), strings,
// launch counts and edit parameter totals, checked by result codes and by
// the rows of "UserLog.db" after Commit.
#include <sqlite3.h>

#include <set>
#include <string>

#include "logs_fixture.h"

namespace logs_test {
namespace {

using AccessLogDaily = LogsTest;

TEST_F(AccessLogDaily, ANewFileHasTheFiveTablesWithTheirUniqueIndexes) {
    EXPECT_EQ(UserLogRows("SELECT name, sql FROM sqlite_master WHERE name LIKE 'access%' ORDER BY rowid"),
              (Rows{{"access_date_log_data",
                     "CREATE TABLE access_date_log_data (log_date INTEGER,log_type INTEGER, log_subtype INTEGER, "
                     "log_data INTEGER, sub_log_data INTEGER)"},
                    {"access_log_data_uidx",
                     "CREATE UNIQUE INDEX access_log_data_uidx ON access_date_log_data (log_date, log_type)"},
                    {"access_string_data", "CREATE TABLE access_string_data (log_type INTEGER, log_string TEXT)"},
                    {"access_string_data_uidx",
                     "CREATE UNIQUE INDEX access_string_data_uidx ON access_string_data (log_type, log_string)"},
                    {"access_launch_data", "CREATE TABLE access_launch_data (log_date INTEGER, log_count INTEGER)"},
                    {"access_launch_data_uidx",
                     "CREATE UNIQUE INDEX access_launch_data_uidx ON access_launch_data (log_date)"},
                    {"access_history_data",
                     "CREATE TABLE access_history_data (log_date INTEGER, log_count INTEGER, log_history TEXT)"},
                    {"access_history_data_uidx",
                     "CREATE UNIQUE INDEX access_history_data_uidx ON access_history_data (log_date)"},
                    {"access_edit_param_data",
                     "CREATE TABLE access_edit_param_data (log_type INTEGER, log_count INTEGER)"},
                    {"access_edit_param_data_uidx",
                     "CREATE UNIQUE INDEX access_edit_param_data_uidx ON access_edit_param_data (log_type)"}}));
    EXPECT_EQ(UserLogInteger("SELECT version FROM version_info_table"), 1201);
}

TEST_F(AccessLogDaily, TheDayKeyIsThePackedDayWithoutItsTime) {
    EXPECT_EQ(AccessLogStore().GetDayKey(Date(2021, 3, 4, 5, 6, 7)), DayKey(2021, 3, 4));
    EXPECT_EQ(AccessLogStore().GetDayKey(Date(2021, 3, 4, 23, 59, 59)), Date(2021, 3, 4).GetPacked());
}

TEST_F(AccessLogDaily, SetDailyBitsTwiceWithTheSameBitsLeavesOneRowAndWritesOnce) {
    const CZanTDateTime day = Date(2024, 5, 1, 9);
    ASSERT_EQ(m_accessLog->SetDailyBits(12, 0x5, &day), S_OK);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    const int changes = sqlite3_total_changes(AccessLogStore().m_db);
    const CZanTDateTime later = Date(2024, 5, 1, 18);
    EXPECT_EQ(m_accessLog->SetDailyBits(12, 0x5, &later), S_OK);
    EXPECT_EQ(m_accessLog->SetDailyBits(12, 0x1, &later), S_OK);
    // Nothing was written, and no transaction was even opened.
    EXPECT_EQ(sqlite3_total_changes(AccessLogStore().m_db), changes);
    EXPECT_EQ(AccessLogStore().m_inTransaction, 0);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_type, log_subtype, log_data, sub_log_data FROM access_date_log_data"),
              (Rows{{std::to_string(DayKey(2024, 5, 1)), "12", "0", "5", "0"}}));
}

TEST_F(AccessLogDaily, SetDailyBitsOrsNewBitsIntoTheDaysValue) {
    const CZanTDateTime day = Date(2024, 5, 1);
    ASSERT_EQ(m_accessLog->SetDailyBits(12, 0x1, &day), S_OK);
    ASSERT_EQ(m_accessLog->SetDailyBits(12, 0x6, &day), S_OK);
    ASSERT_EQ(m_accessLog->SetDailyBits(12, 0x80000000u, &day), S_OK);
    uint32_t value = 0;
    ASSERT_EQ(m_accessLog->GetDailyValue(12, &value, &day), S_OK);
    EXPECT_EQ(value, 0x80000007u);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_data FROM access_date_log_data"), (Rows{{std::to_string(0x80000007u)}}));
}

TEST_F(AccessLogDaily, AddDailyCountWithANullDateUsesTheUtcDayAndGrowsItsRow) {
    ClockAt now(Moment(2024, 3, 7, 23, 30, 0));
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 2, nullptr), S_OK);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 3, nullptr), S_OK);
    uint32_t value = 0;
    const CZanTDateTime morning = Date(2024, 3, 7, 1);
    ASSERT_EQ(m_accessLog->GetDailyValue(5, &value, &morning), S_OK);
    EXPECT_EQ(value, 5u);
    ASSERT_EQ(m_accessLog->GetDailyValue(5, &value, nullptr), S_OK);
    EXPECT_EQ(value, 5u);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_type, log_data FROM access_date_log_data"),
              (Rows{{std::to_string(DayKey(2024, 3, 7)), "5", "5"}}));
}

TEST_F(AccessLogDaily, KindsAndDaysHaveRowsOfTheirOwn) {
    const CZanTDateTime first = Date(2024, 3, 7);
    const CZanTDateTime second = Date(2024, 3, 8);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 1, &first), S_OK);
    ASSERT_EQ(m_accessLog->AddDailyCount(6, 10, &first), S_OK);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 100, &second), S_OK);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_type, log_data FROM access_date_log_data ORDER BY log_date, log_type"),
              (Rows{{std::to_string(DayKey(2024, 3, 7)), "5", "1"},
                    {std::to_string(DayKey(2024, 3, 7)), "6", "10"},
                    {std::to_string(DayKey(2024, 3, 8)), "5", "100"}}));
}

TEST_F(AccessLogDaily, ACounterWrapsAtThirtyTwoBits) {
    const CZanTDateTime day = Date(2024, 3, 7);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 0xFFFFFFFFu, &day), S_OK);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 2, &day), S_OK);
    uint32_t value = 0;
    ASSERT_EQ(m_accessLog->GetDailyValue(5, &value, &day), S_OK);
    EXPECT_EQ(value, 1u);
}

TEST_F(AccessLogDaily, GetDailyValueOfADayWithoutOneFails) {
    const CZanTDateTime day = Date(2024, 3, 7);
    uint32_t value = 42;
    EXPECT_EQ(m_accessLog->GetDailyValue(5, &value, &day), E_FAIL);
    EXPECT_EQ(value, 42u);
    EXPECT_EQ(m_accessLog->GetDailyValue(5, nullptr, &day), E_INVALIDARG);
}

TEST_F(AccessLogDaily, CountDaysWithBitsCountsDaysHavingAllOfThem) {
    const uint32_t values[] = {0x1, 0x3, 0x7, 0x4, 0x3};
    for (uint16_t i = 0; i < 5; ++i) {
        const CZanTDateTime day = Date(2024, 1, static_cast<uint16_t>(i + 1));
        ASSERT_EQ(m_accessLog->SetDailyBits(9, values[i], &day), S_OK);
    }
    const CZanTDateTime other = Date(2024, 1, 1);
    ASSERT_EQ(m_accessLog->SetDailyBits(10, 0x3, &other), S_OK);
    uint32_t count = 99;
    EXPECT_EQ(m_accessLog->CountDaysWithBits(9, 0x3, &count), S_OK);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(m_accessLog->CountDaysWithBits(9, 0x4, &count), S_OK);
    EXPECT_EQ(count, 2u);
    // With no day of the kind the count is cleared, and the answer is S_OK.
    count = 99;
    EXPECT_EQ(m_accessLog->CountDaysWithBits(11, 0x1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_accessLog->CountDaysWithBits(9, 0x1, nullptr), E_INVALIDARG);
}

TEST_F(AccessLogDaily, SumDailyValuesAddsUpTheKindsValues) {
    for (uint16_t day = 1; day <= 4; ++day) {
        const CZanTDateTime date = Date(2024, 2, day);
        ASSERT_EQ(m_accessLog->AddDailyCount(3, day * 10u, &date), S_OK);
    }
    uint32_t sum = 99;
    EXPECT_EQ(m_accessLog->SumDailyValues(3, &sum), S_OK);
    EXPECT_EQ(sum, 100u);
    EXPECT_EQ(m_accessLog->SumDailyValues(4, &sum), S_OK);
    EXPECT_EQ(sum, 0u);
    EXPECT_EQ(m_accessLog->SumDailyValues(3, nullptr), E_INVALIDARG);
}

TEST_F(AccessLogDaily, AStringIsStoredOncePerKind) {
    const std::vector<std::string> texts = {"Grandma's garden", "it''s '; DROP TABLE access_string_data; --",
                                            "K\xC3\xB6ln \xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x93\xB7", ""};
    for (const std::string& text : texts) {
        ASSERT_EQ(m_accessLog->AddString(W(text).GetString(), 4), S_OK) << text;
        ASSERT_EQ(m_accessLog->AddString(W(text).GetString(), 4), S_OK) << text;
    }
    ASSERT_EQ(m_accessLog->AddString(W(texts[0]).GetString(), 5), S_OK);
    CArray<CZanTString> strings;
    strings.Add(CZanTString(u"left over"));
    EXPECT_EQ(m_accessLog->GetStrings(&strings, 4), S_OK);
    // In no promised order: compared as sets.
    std::set<std::string> read;
    for (ptrdiff_t i = 0; i < strings.GetSize(); ++i) read.insert(strings[i].ToUtf8());
    EXPECT_EQ(strings.GetSize(), 4);
    EXPECT_EQ(read, std::set<std::string>(texts.begin(), texts.end()));
    EXPECT_EQ(m_accessLog->GetStrings(&strings, 6), S_OK);
    EXPECT_EQ(strings.GetSize(), 0);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogInteger("SELECT COUNT(*) FROM access_string_data"), 5);
    EXPECT_EQ(UserLogInteger("SELECT COUNT(*) FROM access_string_data WHERE log_type=5"), 1);
}

TEST_F(AccessLogDaily, LaunchCountsGoByTheUtcDay) {
    ClockAt now(Moment(2024, 6, 30, 22, 0, 0));
    ASSERT_EQ(m_accessLog->AddLaunchCount(1, nullptr), S_OK);
    ASSERT_EQ(m_accessLog->AddLaunchCount(2, nullptr), S_OK);
    const CZanTDateTime nextDay = Date(2024, 7, 1, 0, 30);
    ASSERT_EQ(m_accessLog->AddLaunchCount(5, &nextDay), S_OK);
    uint32_t count = 0;
    ASSERT_EQ(m_accessLog->GetLaunchCount(&count, nullptr), S_OK);
    EXPECT_EQ(count, 3u);
    ASSERT_EQ(m_accessLog->GetLaunchCount(&count, &nextDay), S_OK);
    EXPECT_EQ(count, 5u);
    const CZanTDateTime noLaunch = Date(2024, 7, 2);
    EXPECT_EQ(m_accessLog->GetLaunchCount(&count, &noLaunch), E_FAIL);
    EXPECT_EQ(m_accessLog->GetLaunchCount(nullptr, nullptr), E_INVALIDARG);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_count FROM access_launch_data ORDER BY log_date"),
              (Rows{{std::to_string(DayKey(2024, 6, 30)), "3"}, {std::to_string(DayKey(2024, 7, 1)), "5"}}));
}

TEST_F(AccessLogDaily, EditParameterTotalsGrow) {
    ASSERT_EQ(m_accessLog->AddEditParamCount(31, 2), S_OK);
    ASSERT_EQ(m_accessLog->AddEditParamCount(31, 5), S_OK);
    ASSERT_EQ(m_accessLog->AddEditParamCount(32, 1), S_OK);
    uint32_t count = 0;
    ASSERT_EQ(m_accessLog->GetEditParamCount(31, &count), S_OK);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(m_accessLog->GetEditParamCount(33, &count), E_FAIL);
    EXPECT_EQ(m_accessLog->GetEditParamCount(31, nullptr), E_INVALIDARG);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_type, log_count FROM access_edit_param_data ORDER BY log_type"),
              (Rows{{"31", "7"}, {"32", "1"}}));
}

TEST_F(AccessLogDaily, RollbackDropsWhatWasNotCommitted) {
    const CZanTDateTime day = Date(2024, 3, 7);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 1, &day), S_OK);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    ASSERT_EQ(m_accessLog->AddDailyCount(5, 1, &day), S_OK);
    ASSERT_EQ(m_accessLog->AddString(u"dropped", 1), S_OK);
    ASSERT_EQ(m_accessLog->Rollback(), S_OK);
    uint32_t value = 0;
    ASSERT_EQ(m_accessLog->GetDailyValue(5, &value, &day), S_OK);
    EXPECT_EQ(value, 1u);
    CArray<CZanTString> strings;
    EXPECT_EQ(m_accessLog->GetStrings(&strings, 1), S_OK);
    EXPECT_EQ(strings.GetSize(), 0);
    EXPECT_EQ(m_accessLog->Vacuum(), S_OK);
}

}  // namespace
}  // namespace logs_test
