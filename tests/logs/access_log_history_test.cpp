// The access log's histories: opened at a moment, items appended as text,
// pruned at EndHistory below three items, and the newest kept ones read.
#include <string>

#include "logs_fixture.h"

namespace logs_test {
namespace {

class AccessLogHistory : public LogsTest {
protected:
    // A history at the moment, with the items, ended.
    int64_t History(const CZanTDateTime& moment, std::initializer_list<int32_t> items) {
        int64_t key = 0;
        EXPECT_EQ(m_accessLog->BeginHistory(&key, &moment), S_OK);
        for (int32_t item : items) EXPECT_EQ(m_accessLog->AddHistoryItem(key, item), S_OK);
        EXPECT_EQ(m_accessLog->EndHistory(key), S_OK);
        return key;
    }
};

TEST_F(AccessLogHistory, ItemsFiveSixSevenAreStoredInOrderBehindSlashes) {
    int64_t key = 0;
    const CZanTDateTime moment = Date(2024, 4, 2, 10, 11, 12);
    ASSERT_EQ(m_accessLog->BeginHistory(&key, &moment), S_OK);
    EXPECT_EQ(key, moment.GetPacked());
    ASSERT_EQ(m_accessLog->AddHistoryItem(key, 5), S_OK);
    ASSERT_EQ(m_accessLog->AddHistoryItem(key, 6), S_OK);
    ASSERT_EQ(m_accessLog->AddHistoryItem(key, 7), S_OK);
    uint32_t count = 0;
    CZanTString text;
    ASSERT_EQ(m_accessLog->GetHistory(key, &count, text), S_OK);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(text, CZanTString(u"5/6/7"));
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_count, log_history FROM access_history_data"),
              (Rows{{std::to_string(moment.GetPacked()), "3", "5/6/7"}}));
}

TEST_F(AccessLogHistory, ANewHistoryHasNoItemsAndNoText) {
    int64_t key = 0;
    const CZanTDateTime moment = Date(2024, 4, 2, 10);
    ASSERT_EQ(m_accessLog->BeginHistory(&key, &moment), S_OK);
    uint32_t count = 99;
    CZanTString text(u"left over");
    ASSERT_EQ(m_accessLog->GetHistory(key, &count, text), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(text.IsEmpty());
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_count, log_history FROM access_history_data"), (Rows{{"0", "NULL"}}));
}

TEST_F(AccessLogHistory, NegativeAndLargeItemsAreWrittenAsSignedNumbers) {
    int64_t key = 0;
    const CZanTDateTime moment = Date(2024, 4, 2, 10);
    ASSERT_EQ(m_accessLog->BeginHistory(&key, &moment), S_OK);
    ASSERT_EQ(m_accessLog->AddHistoryItem(key, -1), S_OK);
    ASSERT_EQ(m_accessLog->AddHistoryItem(key, 2147483647), S_OK);
    uint32_t count = 0;
    CZanTString text;
    ASSERT_EQ(m_accessLog->GetHistory(key, &count, text), S_OK);
    EXPECT_EQ(text, CZanTString(u"-1/2147483647"));
    EXPECT_EQ(count, 2u);
}

TEST_F(AccessLogHistory, HistoriesOfTwoItemsAreGoneAfterEndHistoryAndOneOfThreeStays) {
    History(Date(2024, 4, 2, 10), {1, 2});
    History(Date(2024, 4, 2, 11), {3, 4});
    uint32_t count = 99;
    ASSERT_EQ(m_accessLog->GetHistoryCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    const int64_t kept = History(Date(2024, 4, 2, 12), {5, 6, 7});
    ASSERT_EQ(m_accessLog->GetHistoryCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogRows("SELECT log_date, log_history FROM access_history_data"),
              (Rows{{std::to_string(kept), "5/6/7"}}));
}

TEST_F(AccessLogHistory, GetHistoriesWithMaxOneGivesOnlyTheNewest) {
    History(Date(2024, 4, 2, 10), {1, 2, 3});
    History(Date(2024, 4, 3, 10), {4, 5, 6, 7});
    History(Date(2024, 4, 1, 10), {8, 9, 10});
    CArray<CZanTString> histories;
    ASSERT_EQ(m_accessLog->GetHistories(1, &histories), S_OK);
    ASSERT_EQ(histories.GetSize(), 1);
    EXPECT_EQ(histories[0], CZanTString(u"4/5/6/7"));
    ASSERT_EQ(m_accessLog->GetHistories(10, &histories), S_OK);
    ASSERT_EQ(histories.GetSize(), 3);
    EXPECT_EQ(histories[0], CZanTString(u"4/5/6/7"));
    EXPECT_EQ(histories[1], CZanTString(u"1/2/3"));
    EXPECT_EQ(histories[2], CZanTString(u"8/9/10"));
}

TEST_F(AccessLogHistory, GetHistoriesLeavesOutHistoriesStillOpenWithFewItems) {
    int64_t open = 0;
    const CZanTDateTime moment = Date(2024, 4, 9, 10);
    ASSERT_EQ(m_accessLog->BeginHistory(&open, &moment), S_OK);
    ASSERT_EQ(m_accessLog->AddHistoryItem(open, 1), S_OK);
    History(Date(2024, 4, 2, 10), {1, 2, 3});
    CArray<CZanTString> histories;
    ASSERT_EQ(m_accessLog->GetHistories(5, &histories), S_OK);
    ASSERT_EQ(histories.GetSize(), 1);
    EXPECT_EQ(histories[0], CZanTString(u"1/2/3"));
}

TEST_F(AccessLogHistory, GetHistoriesWithoutAnyFailsAndEmptiesTheArray) {
    CArray<CZanTString> histories;
    histories.Add(CZanTString(u"left over"));
    EXPECT_EQ(m_accessLog->GetHistories(5, &histories), E_FAIL);
    EXPECT_EQ(histories.GetSize(), 0);
    EXPECT_EQ(m_accessLog->GetHistories(5, nullptr), E_INVALIDARG);
}

TEST_F(AccessLogHistory, GetHistoriesWithMaxZeroGivesNone) {
    History(Date(2024, 4, 2, 10), {1, 2, 3});
    CArray<CZanTString> histories;
    EXPECT_EQ(m_accessLog->GetHistories(0, &histories), S_OK);
    EXPECT_EQ(histories.GetSize(), 0);
}

TEST_F(AccessLogHistory, ASecondHistoryAtTheSameMomentFailsButItsKeyIsHandedOut) {
    const CZanTDateTime moment = Date(2024, 4, 2, 10, 0, 1);
    int64_t first = 0;
    ASSERT_EQ(m_accessLog->BeginHistory(&first, &moment), S_OK);
    int64_t second = 0;
    EXPECT_EQ(m_accessLog->BeginHistory(&second, &moment), E_FAIL);
    EXPECT_EQ(second, moment.GetPacked());
    uint32_t count = 0;
    ASSERT_EQ(m_accessLog->GetHistoryCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(AccessLogHistory, BeginHistoryWithANullDateTakesTheCurrentMomentInUtc) {
    ClockAt now(Moment(2024, 8, 15, 13, 14, 15));
    int64_t key = 0;
    ASSERT_EQ(m_accessLog->BeginHistory(&key, nullptr), S_OK);
    EXPECT_EQ(key, Date(2024, 8, 15, 13, 14, 15).GetPacked());
    EXPECT_EQ(m_accessLog->BeginHistory(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(AccessLogHistory, AnUnknownKeyIsAFailureExceptForEndAndDelete) {
    const int64_t unknown = Date(2030, 1, 1).GetPacked();
    EXPECT_EQ(m_accessLog->AddHistoryItem(unknown, 1), E_FAIL);
    uint32_t count = 0;
    CZanTString text;
    EXPECT_EQ(m_accessLog->GetHistory(unknown, &count, text), E_FAIL);
    EXPECT_EQ(m_accessLog->GetHistory(unknown, nullptr, text), E_INVALIDARG);
    EXPECT_EQ(m_accessLog->EndHistory(unknown), S_OK);
    EXPECT_EQ(m_accessLog->DeleteHistory(unknown), S_OK);
    ASSERT_EQ(m_accessLog->Commit(), S_OK);
    EXPECT_EQ(UserLogInteger("SELECT COUNT(*) FROM access_history_data"), 0);
}

TEST_F(AccessLogHistory, DeleteHistoryRemovesAKeptHistory) {
    const int64_t key = History(Date(2024, 4, 2, 10), {1, 2, 3});
    ASSERT_EQ(m_accessLog->DeleteHistory(key), S_OK);
    uint32_t count = 99;
    ASSERT_EQ(m_accessLog->GetHistoryCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(m_accessLog->GetHistoryCount(nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace logs_test
