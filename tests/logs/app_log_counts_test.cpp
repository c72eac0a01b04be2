// The application log's counters through IZanDB4AppLogDBMgr: adding with
// saturation, merging a type as a bit set, the lookup by GetCount's rules
// (a log id of 0 takes the first counter of all, a type counts only with a
// log id), and the walk with its callback, limit and offset.
#include "app_log_fixture.h"

namespace logs_test {
namespace {

using AppLogCounts = AppLogTest;

constexpr uint32_t kAllOnes = 0xFFFFFFFFu;

// Every counter on disk, in the table's order.
Rows CountRows(const std::filesystem::path& file) {
    return SqliteProbe(file).Rows("SELECT log_id, log_type, log_count FROM applog_accumulation_tbl ORDER BY rowid");
}

TEST_F(AppLogCounts, AddCountMakesTheCounterThenAddsAndIsOnDiskAtOnce) {
    EXPECT_EQ(m_appLog->AddCount(3, 1, 5), S_OK);
    EXPECT_EQ(m_appLog->AddCount(3, 1, 2), S_OK);
    EXPECT_EQ(m_appLog->AddCount(3, 2, 1), S_OK);
    // No transaction holds them: a separate connection sees them before
    // any Commit.
    EXPECT_EQ(Store().m_inTransaction, 0);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"3", "1", "7"}, {"3", "2", "1"}}));
    uint32_t count = 0;
    EXPECT_EQ(m_appLog->GetCount(3, 1, &count), S_OK);
    EXPECT_EQ(count, 7u);
}

TEST_F(AppLogCounts, AddCountNearTheTopStaysAtAllOnes) {
    ASSERT_EQ(m_appLog->AddCount(1, 1, kAllOnes - 3), S_OK);
    EXPECT_EQ(m_appLog->AddCount(1, 1, 3), S_OK);
    uint32_t count = 0;
    ASSERT_EQ(m_appLog->GetCount(1, 1, &count), S_OK);
    EXPECT_EQ(count, kAllOnes);
    EXPECT_EQ(m_appLog->AddCount(1, 1, 1), S_OK);
    EXPECT_EQ(m_appLog->AddCount(1, 1, kAllOnes), S_OK);
    ASSERT_EQ(m_appLog->GetCount(1, 1, &count), S_OK);
    EXPECT_EQ(count, kAllOnes);
    EXPECT_EQ(AppLogInteger("SELECT log_count FROM applog_accumulation_tbl WHERE log_id=1"), 4294967295);
}

TEST_F(AppLogCounts, AddCountOneBelowTheTopReachesItExactly) {
    ASSERT_EQ(m_appLog->AddCount(1, 1, kAllOnes - 1), S_OK);
    ASSERT_EQ(m_appLog->AddCount(1, 1, 1), S_OK);
    uint32_t count = 0;
    ASSERT_EQ(m_appLog->GetCount(1, 1, &count), S_OK);
    EXPECT_EQ(count, kAllOnes);
}

TEST_F(AppLogCounts, MergeCountOnTypeOneWithBitsTwoLeavesTypeThree) {
    ASSERT_EQ(m_appLog->AddCount(7, 1, 5), S_OK);
    EXPECT_EQ(m_appLog->MergeCount(7, 2, 4), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"7", "3", "9"}}));
    // Bits already there change nothing of the type.
    EXPECT_EQ(m_appLog->MergeCount(7, 1, 1), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"7", "3", "10"}}));
}

TEST_F(AppLogCounts, MergeCountWithoutACounterMakesOneWithTheBitsAsType) {
    EXPECT_EQ(m_appLog->MergeCount(8, 0x30, 2), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"8", "48", "2"}}));
}

TEST_F(AppLogCounts, MergeCountSaturatesAsAddCountDoes) {
    ASSERT_EQ(m_appLog->AddCount(9, 4, kAllOnes - 1), S_OK);
    EXPECT_EQ(m_appLog->MergeCount(9, 1, 10), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"9", "5", "4294967295"}}));
}

TEST_F(AppLogCounts, GetCountWithLogIDZeroReadsTheFirstCounterAndIgnoresTheType) {
    ASSERT_EQ(m_appLog->AddCount(3, 1, 10), S_OK);
    ASSERT_EQ(m_appLog->AddCount(4, 2, 20), S_OK);
    uint32_t count = 0;
    EXPECT_EQ(m_appLog->GetCount(0, 2, &count), S_OK);
    EXPECT_EQ(count, 10u);
    EXPECT_EQ(m_appLog->GetCount(0, 0, &count), S_OK);
    EXPECT_EQ(count, 10u);
}

TEST_F(AppLogCounts, GetCountWithTypeZeroReadsTheFirstCounterOfTheLogID) {
    ASSERT_EQ(m_appLog->AddCount(3, 1, 10), S_OK);
    ASSERT_EQ(m_appLog->AddCount(4, 2, 20), S_OK);
    ASSERT_EQ(m_appLog->AddCount(4, 6, 60), S_OK);
    uint32_t count = 0;
    EXPECT_EQ(m_appLog->GetCount(4, 0, &count), S_OK);
    EXPECT_EQ(count, 20u);
    EXPECT_EQ(m_appLog->GetCount(4, 6, &count), S_OK);
    EXPECT_EQ(count, 60u);
}

TEST_F(AppLogCounts, GetCountOfAnUnknownCounterIsFalseAndClearsTheCount) {
    ASSERT_EQ(m_appLog->AddCount(3, 1, 10), S_OK);
    uint32_t count = 99;
    EXPECT_EQ(m_appLog->GetCount(3, 2, &count), S_FALSE);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_EQ(m_appLog->GetCount(5, 0, &count), S_FALSE);
    EXPECT_EQ(count, 0u);
}

TEST_F(AppLogCounts, GetCountOnAnEmptyTableIsFalseAlsoForLogIDZero) {
    uint32_t count = 99;
    EXPECT_EQ(m_appLog->GetCount(0, 0, &count), S_FALSE);
    EXPECT_EQ(count, 0u);
}

TEST_F(AppLogCounts, GetCountWithANullOutIsInvalid) {
    EXPECT_EQ(m_appLog->GetCount(1, 1, nullptr), E_INVALIDARG);
}

TEST_F(AppLogCounts, AddCountOfLogIDZeroReadsTheFirstCounterAndWritesNoRow) {
    ASSERT_EQ(m_appLog->AddCount(3, 1, 10), S_OK);
    // The lookup finds (3, 1), so the update names (0, 1), which is not
    // there: nothing is written, and that is no failure.
    EXPECT_EQ(m_appLog->AddCount(0, 1, 5), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"3", "1", "10"}}));
}

TEST_F(AppLogCounts, AddCountOfLogIDZeroOnAnEmptyTableMakesTheCounter) {
    EXPECT_EQ(m_appLog->AddCount(0, 4, 5), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"0", "4", "5"}}));
}

TEST_F(AppLogCounts, LargeIdsAndTypesKeepTheirUnsignedValues) {
    ASSERT_EQ(m_appLog->AddCount(0x80000001u, kAllOnes, 0x90000000u), S_OK);
    EXPECT_EQ(CountRows(AppLogFile()), (Rows{{"2147483649", "4294967295", "2415919104"}}));
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 0x80000001u, kAllOnes, 0, 0), S_OK);
    EXPECT_EQ(gathered.counts, (std::vector<SeenCount>{{0x80000001u, kAllOnes, 0x90000000u}}));
}

class AppLogCountWalk : public AppLogTest {
protected:
    void SetUp() override {
        AppLogTest::SetUp();
        for (const SeenCount& counter : kCounters)
            ASSERT_EQ(m_appLog->AddCount(counter.logID, counter.logType, counter.count), S_OK);
    }
    const std::vector<SeenCount> kCounters = {{1, 1, 10}, {1, 2, 20}, {2, 1, 30}, {3, 2, 40}};
};

TEST_F(AppLogCountWalk, ACallbackReturningZeroForEveryRowGivesOk) {
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 0, 0, 0, 0), S_OK);
    EXPECT_EQ(gathered.counts, kCounters);
}

TEST_F(AppLogCountWalk, AWalkWithoutRowsGivesFalse) {
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 9, 0, 0, 0), S_FALSE);
    EXPECT_TRUE(gathered.counts.empty());
}

TEST_F(AppLogCountWalk, WithLogIDZeroTheTypeIsIgnored) {
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 0, 2, 0, 0), S_OK);
    EXPECT_EQ(gathered.counts, kCounters);
}

TEST_F(AppLogCountWalk, ALogIDSelectsItsCountersAndATypeBehindItNarrowsThem) {
    Gathered byId;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &byId, 1, 0, 0, 0), S_OK);
    EXPECT_EQ(byId.counts, (std::vector<SeenCount>{{1, 1, 10}, {1, 2, 20}}));
    Gathered byIdAndType;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &byIdAndType, 1, 2, 0, 0), S_OK);
    EXPECT_EQ(byIdAndType.counts, (std::vector<SeenCount>{{1, 2, 20}}));
}

TEST_F(AppLogCountWalk, TheFirstNonZeroReturnEndsTheWalkAndIsTheAnswer) {
    Gathered gathered;
    gathered.stopAt = 2;
    gathered.stopAnswer = 42;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 0, 0, 0, 0), 42);
    EXPECT_EQ(gathered.counts.size(), 2u);
    Gathered failing;
    failing.answer = E_FAIL;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &failing, 0, 0, 0, 0), E_FAIL);
    EXPECT_EQ(failing.counts.size(), 1u);
}

TEST_F(AppLogCountWalk, ANullCallbackStopsAfterTheFirstRowWithFalse) {
    EXPECT_EQ(m_appLog->EnumCounts(nullptr, nullptr, 0, 0, 0, 0), S_FALSE);
    EXPECT_EQ(m_appLog->EnumCounts(nullptr, nullptr, 9, 0, 0, 0), S_FALSE);
}

TEST_F(AppLogCountWalk, LimitAndOffsetSelectARun) {
    Gathered limited;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &limited, 0, 0, 2, 0), S_OK);
    EXPECT_EQ(limited.counts, (std::vector<SeenCount>{{1, 1, 10}, {1, 2, 20}}));
    Gathered run;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &run, 0, 0, 2, 1), S_OK);
    EXPECT_EQ(run.counts, (std::vector<SeenCount>{{1, 2, 20}, {2, 1, 30}}));
    Gathered pastTheEnd;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &pastTheEnd, 0, 0, 2, 4), S_FALSE);
    Gathered ofOneId;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &ofOneId, 1, 0, 1, 1), S_OK);
    EXPECT_EQ(ofOneId.counts, (std::vector<SeenCount>{{1, 2, 20}}));
}

TEST_F(AppLogCountWalk, AnOffsetWithoutALimitDoesNotPrepare) {
    // SQLite knows no OFFSET without a LIMIT before it.
    Gathered gathered;
    EXPECT_EQ(m_appLog->EnumCounts(GatherCount, &gathered, 0, 0, 0, 1), E_FAIL);
    EXPECT_TRUE(gathered.counts.empty());
}

}  // namespace
}  // namespace logs_test
