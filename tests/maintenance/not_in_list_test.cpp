// The orphan counts' id list (shard_files::NotInList): below SQLite's limit
// on statement length the whole statement runs as it always did; above it
// the list is counted in runs over spans of values, and the runs add up to
// what the whole statement counts, for every kind of value a column may
// hold. The limit is lowered through the test seam, as an SQLite built with
// a smaller limit has it.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "shards/shard_files.h"

namespace {

constexpr WCHAR kCount[] = u"SELECT COUNT(*) FROM t WHERE v NOT IN (%s)";
constexpr WCHAR kCountInRange[] = u"SELECT COUNT(*) FROM t WHERE v NOT IN (%s) AND (? OR v>?) AND (? OR v<=?)";
constexpr WCHAR kCountOfMissingTable[] = u"SELECT COUNT(*) FROM missing WHERE v NOT IN (%s)";
constexpr WCHAR kCountOfMissingTableInRange[] =
    u"SELECT COUNT(*) FROM missing WHERE v NOT IN (%s) AND (? OR v>?) AND (? OR v<=?)";

// Sets the seam for as long as it lives.
class LengthLimit {
public:
    explicit LengthLimit(int bytes) { shard_files::SetStatementLengthLimitForTesting(bytes); }
    ~LengthLimit() { shard_files::SetStatementLengthLimitForTesting(0); }
    LengthLimit(const LengthLimit&) = delete;
    LengthLimit& operator=(const LengthLimit&) = delete;
};

class NotInListCount : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(sqlite3_open(":memory:", &m_db), SQLITE_OK);
        // An integer column holds what it is given: integers, reals that are
        // no integers, text that is no number, blobs, NULL.
        Exec("CREATE TABLE t (v INTEGER)");
        Exec(
            "INSERT INTO t VALUES (NULL), (-5), (0), (1.5), ('abc'), (X'00'), (9223372036854775807), "
            "(1.8446744073709552e19), (-9223372036854775808)");
        for (int value = 1; value <= 300; ++value) Exec("INSERT INTO t VALUES (" + std::to_string(value) + ")");
    }
    void TearDown() override { sqlite3_close(m_db); }

    void Exec(const std::string& sql) {
        ASSERT_EQ(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    }

    // The ids 1 to 300 but each seventh, with the largest integer and the
    // largest unsigned id (which SQLite reads as a real) among them.
    static void FillIds(CZanTArray<uint64_t>& ids) {
        ids.Add(9223372036854775807ull);
        for (uint64_t id = 300; id >= 1; --id)
            if (id % 7 != 0) ids.Add(id);
        ids.Add(18446744073709551615ull);
    }
    // The statement the whole list makes, in bytes.
    static size_t WholeLength(const shard_files::NotInList& list) {
        return std::string("SELECT COUNT(*) FROM t WHERE v NOT IN ()").size() + list.QuotedIds().GetLength();
    }

    sqlite3* m_db = nullptr;
};

// What the whole statement counts: NULL is never counted; -5, 0, 1.5, 'abc',
// X'00', the smallest integer and the 42 multiples of 7 are; the largest
// integer and the real equal to the largest unsigned id are in the list.
constexpr uint32_t kExpected = 6 + 42;

TEST_F(NotInListCount, BelowTheLimitTheWholeStatementRuns) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    shard_files::NotInList list(ids);
    EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kExpected);
    EXPECT_EQ(list.RunCount(), 0u);
}

TEST_F(NotInListCount, AboveTheLimitTheRunsAddUpToTheSameCount) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    shard_files::NotInList list(ids);
    int whole = static_cast<int>(WholeLength(list));
    for (int limit : {whole - 1, whole / 2, 300, 150}) {
        LengthLimit lowered(limit);
        EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kExpected) << limit;
        EXPECT_GT(list.RunCount(), 1u) << limit;
    }
}

TEST_F(NotInListCount, AtTheLimitItRunsWholeAndOneByteBelowInRuns) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    shard_files::NotInList list(ids);
    int whole = static_cast<int>(WholeLength(list));
    {
        LengthLimit atTheLimit(whole);
        EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kExpected);
        EXPECT_EQ(list.RunCount(), 0u);
    }
    {
        LengthLimit below(whole - 1);
        EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kExpected);
        EXPECT_GT(list.RunCount(), 1u);
    }
    // SQLite itself refuses the whole statement one byte below: that is what
    // would have made the count 0.
    CZanTString sql;
    sql.Format(kCount, list.QuotedIds().GetString());
    sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, whole - 1);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare16_v2(m_db, sql.GetString(), -1, &statement, nullptr), SQLITE_TOOBIG);
    sqlite3_finalize(statement);
    sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, whole);
    ASSERT_EQ(sqlite3_prepare16_v2(m_db, sql.GetString(), -1, &statement, nullptr), SQLITE_OK);
    sqlite3_finalize(statement);
}

TEST_F(NotInListCount, TheConnectionKeepsItsOwnLimit) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    int before = sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, -1);
    {
        LengthLimit lowered(300);
        shard_files::NotInList(ids).Count(m_db, kCount, kCountInRange);
    }
    EXPECT_EQ(sqlite3_limit(m_db, SQLITE_LIMIT_SQL_LENGTH, -1), before);
}

TEST_F(NotInListCount, IdsRepeatedAcrossRunsAreCountedOnce) {
    CZanTArray<uint64_t> ids;
    for (int round = 0; round < 20; ++round)
        for (uint64_t id = 1; id <= 10; ++id) ids.Add(id);
    shard_files::NotInList list(ids);
    // Every row but NULL and 1 to 10.
    constexpr uint32_t kOutside = 8 + 290;
    EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kOutside);
    LengthLimit lowered(120);
    EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), kOutside);
    EXPECT_GT(list.RunCount(), 1u);
}

TEST_F(NotInListCount, AnEmptyListCountsEveryRowEvenWithoutAValue) {
    CZanTArray<uint64_t> ids;
    shard_files::NotInList list(ids);
    EXPECT_EQ(list.Count(m_db, kCount, kCountInRange), 309u);
}

TEST_F(NotInListCount, AStatementThatFailsCountsZeroEitherWay) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    shard_files::NotInList list(ids);
    EXPECT_EQ(list.Count(m_db, kCountOfMissingTable, kCountOfMissingTableInRange), 0u);
    LengthLimit lowered(300);
    EXPECT_EQ(list.Count(m_db, kCountOfMissingTable, kCountOfMissingTableInRange), 0u);
    EXPECT_GT(list.RunCount(), 1u);
}

TEST_F(NotInListCount, WithoutAConnectionTheCountIsZero) {
    CZanTArray<uint64_t> ids;
    FillIds(ids);
    EXPECT_EQ(shard_files::NotInList(ids).Count(nullptr, kCount, kCountInRange), 0u);
}

}  // namespace
