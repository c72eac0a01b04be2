// The statement helper and sqlite3_exec16: UTF-16 statements on a plain
// SQLite connection, binds and column reads by position, finalize codes, a
// null connection, error messages from SQLite's allocator, and the mapping of
// SQLite outcomes to result codes.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstring>
#include <string>
#include <vector>

#include "storage/result_codes.h"
#include "storage/statement.h"

namespace {

using zandb4::Statement;

// An in-memory SQLite connection of its own for each test.
class StatementTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE t (i INTEGER, big INTEGER, d REAL, s TEXT, b BLOB)", nullptr,
                               nullptr, nullptr),
                  SQLITE_OK);
    }
    void TearDown() override {
        // No statement may outlive the code that ran it.
        EXPECT_EQ(sqlite3_next_stmt(db, nullptr), nullptr);
        EXPECT_EQ(sqlite3_close(db), SQLITE_OK);
    }

    std::string Text(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        std::string value = "<none>";
        if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(statement, 0);
            value = text == nullptr ? "NULL" : reinterpret_cast<const char*>(text);
        }
        sqlite3_finalize(statement);
        return value;
    }

    sqlite3* db = nullptr;
};

int CollectRows(void* context, int columns, char** values, char**) {
    auto* rows = static_cast<std::vector<std::string>*>(context);
    for (int i = 0; i < columns; ++i) rows->push_back(values[i] == nullptr ? "NULL" : values[i]);
    return 0;
}

TEST_F(StatementTest, Exec16RunsAUtf16Statement) {
    EXPECT_EQ(zandb4::sqlite3_exec16(db, u"INSERT INTO t (s) VALUES ('Grüße 日本 😀')", nullptr, nullptr, nullptr),
              SQLITE_OK);

    EXPECT_EQ(Text("SELECT s FROM t"), "Grüße 日本 😀");
    EXPECT_EQ(Text("SELECT length(s) FROM t"), "10");
}

TEST_F(StatementTest, Exec16SuccessLeavesTheMessageNull) {
    char* message = nullptr;

    EXPECT_EQ(zandb4::sqlite3_exec16(db, u"INSERT INTO t (i) VALUES (1)", nullptr, nullptr, &message), SQLITE_OK);

    EXPECT_EQ(message, nullptr);
}

TEST_F(StatementTest, Exec16FailureGivesAMessageFromSqlitesAllocator) {
    char* message = nullptr;

    int code = zandb4::sqlite3_exec16(db, u"SELECT * FROM missing_table", nullptr, nullptr, &message);

    EXPECT_EQ(code, SQLITE_ERROR);
    ASSERT_NE(message, nullptr);
    EXPECT_NE(std::strstr(message, "missing_table"), nullptr) << message;
    // Under the address sanitizer, a message from another allocator fails here.
    EXPECT_GT(sqlite3_msize(message), 0u);
    sqlite3_free(message);
}

TEST_F(StatementTest, Exec16PassesRowsToTheCallback) {
    ASSERT_EQ(sqlite3_exec(db, "INSERT INTO t (i, s) VALUES (1, 'a'), (2, 'b')", nullptr, nullptr, nullptr),
              SQLITE_OK);
    std::vector<std::string> rows;

    EXPECT_EQ(zandb4::sqlite3_exec16(db, u"SELECT i, s FROM t ORDER BY i", &CollectRows, &rows, nullptr), SQLITE_OK);

    EXPECT_EQ(rows, (std::vector<std::string>{"1", "a", "2", "b"}));
}

TEST(StatementNullConnection, Exec16AnswersNonZeroWithAMessageToFree) {
    char* message = nullptr;

    int code = zandb4::sqlite3_exec16(nullptr, u"BEGIN;", nullptr, nullptr, &message);

    EXPECT_EQ(code, SQLITE_MISUSE);
    ASSERT_NE(message, nullptr);
    EXPECT_GT(sqlite3_msize(message), 0u);
    sqlite3_free(message);
}

TEST(StatementNullConnection, Exec16WithoutMessagePlaceAnswersNonZero) {
    EXPECT_EQ(zandb4::sqlite3_exec16(nullptr, u"COMMIT;", nullptr, nullptr, nullptr), SQLITE_MISUSE);
}

TEST(StatementNullConnection, ExecAnswersNonZero) {
    EXPECT_NE(zandb4::Exec(nullptr, u"BEGIN;"), SQLITE_OK);
}

TEST(StatementNullConnection, StatementIsNotPreparedAndFinalizesWithMisuse) {
    Statement statement(nullptr, u"SELECT 1");

    EXPECT_FALSE(statement.IsPrepared());
    EXPECT_EQ(statement.Step(), SQLITE_MISUSE);
    EXPECT_EQ(statement.Finalize(), SQLITE_MISUSE);
}

TEST_F(StatementTest, ExecAnswersSqlitesCode) {
    EXPECT_EQ(zandb4::Exec(db, u"INSERT INTO t (i) VALUES (3)"), SQLITE_OK);
    EXPECT_EQ(zandb4::Exec(db, u"INSERT INTO nowhere VALUES (3)"), SQLITE_ERROR);

    EXPECT_EQ(Text("SELECT count(*) FROM t"), "1");
}

TEST_F(StatementTest, ExecRunsOneCommandAndToleratesATrailingSemicolonOrComment) {
    EXPECT_EQ(zandb4::Exec(db, u"INSERT INTO t (i) VALUES (1);"), SQLITE_OK);
    EXPECT_EQ(zandb4::Exec(db, u"INSERT INTO t (i) VALUES (2); -- a note\n  "), SQLITE_OK);
    EXPECT_EQ(zandb4::Exec(db, u"BEGIN;"), SQLITE_OK);
    EXPECT_EQ(zandb4::Exec(db, u"COMMIT;"), SQLITE_OK);
    EXPECT_EQ(Text("SELECT group_concat(i) FROM t"), "1,2");
}

// Values reach generated statements unescaped: a quote in a name must not
// let a second command run behind the first. Such a text runs nothing.
TEST_F(StatementTest, ExecRefusesASecondCommandAndRunsNeitherOfThem) {
    ASSERT_EQ(zandb4::Exec(db, u"INSERT INTO t (i, s) VALUES (1, 'kept')"), SQLITE_OK);
    char* message = nullptr;
    int code = zandb4::sqlite3_exec16(db, u"UPDATE t SET s='x'; DELETE FROM t; --' WHERE i='1'", nullptr, nullptr,
                                      &message);
    EXPECT_EQ(code, SQLITE_ERROR);
    ASSERT_NE(message, nullptr);
    sqlite3_free(message);
    EXPECT_EQ(Text("SELECT s FROM t WHERE i=1"), "kept");

    // Text behind the first command that does not even parse fails the same
    // way, and the first command does not run either.
    EXPECT_EQ(zandb4::Exec(db, u"UPDATE t SET s='y'; x' WHERE i='1'"), SQLITE_ERROR);
    EXPECT_EQ(Text("SELECT s FROM t WHERE i=1"), "kept");
}

TEST_F(StatementTest, BindsAndColumnsRoundTripByPosition) {
    const unsigned char blob[] = {0x00, 0x01, 0xFE, 0xFF, 0x00};
    {
        Statement insert(db, u"INSERT INTO t (i, big, d, s, b) VALUES (?,?,?,?,?)");
        ASSERT_TRUE(insert.IsPrepared());
        insert.BindInt(1, -7);
        insert.BindInt64(2, 0x7FFFFFFFFFFFFFF0ll);
        insert.BindDouble(3, 2.5);
        insert.BindText(4, CZanTString(u"Ärger 😀"));
        insert.BindBlob(5, blob, sizeof(blob));
        EXPECT_EQ(insert.Step(), SQLITE_DONE);
        EXPECT_EQ(insert.Finalize(), SQLITE_OK);
    }

    Statement select(db, u"SELECT * FROM t");
    ASSERT_EQ(select.Step(), SQLITE_ROW);
    EXPECT_EQ(select.ColumnInt(0), -7);
    EXPECT_EQ(select.ColumnInt64(1), 0x7FFFFFFFFFFFFFF0ll);
    EXPECT_EQ(select.ColumnDouble(2), 2.5);
    EXPECT_EQ(select.ColumnText(3), CZanTString(u"Ärger 😀"));
    ASSERT_EQ(select.ColumnBytes(4), 5);
    EXPECT_EQ(std::memcmp(select.ColumnBlob(4), blob, sizeof(blob)), 0);
    EXPECT_EQ(select.Step(), SQLITE_DONE);
    EXPECT_EQ(select.Finalize(), SQLITE_OK);
}

TEST_F(StatementTest, BoundTextIsStoredWithItsExactLength) {
    {
        Statement insert(db, u"INSERT INTO t (s) VALUES (?)");
        insert.BindText(1, CZanTString(u"abc"));
        EXPECT_EQ(insert.Step(), SQLITE_DONE);
    }

    EXPECT_EQ(Text("SELECT s || '|' || length(s) FROM t"), "abc|3");
}

TEST_F(StatementTest, BoundTextAndBlobAreCopied) {
    {
        Statement insert(db, u"INSERT INTO t (s, b) VALUES (?,?)");
        {
            CZanTString text(u"temporary text");
            std::vector<unsigned char> bytes{'x', 'y', 'z'};
            insert.BindText(1, text);
            insert.BindBlob(2, bytes.data(), static_cast<int>(bytes.size()));
        }
        // Both sources are gone before the step.
        EXPECT_EQ(insert.Step(), SQLITE_DONE);
    }

    EXPECT_EQ(Text("SELECT s || '|' || CAST(b AS TEXT) FROM t"), "temporary text|xyz");
}

TEST_F(StatementTest, NullTextColumnReadsAsEmptyString) {
    ASSERT_EQ(sqlite3_exec(db, "INSERT INTO t (i) VALUES (1)", nullptr, nullptr, nullptr), SQLITE_OK);
    Statement select(db, u"SELECT s FROM t");
    ASSERT_EQ(select.Step(), SQLITE_ROW);

    EXPECT_TRUE(select.ColumnText(0).IsEmpty());
}

TEST_F(StatementTest, TextViewReadsWhatColumnTextReadsNullNumbersAndInnerNulIncluded) {
    ASSERT_EQ(sqlite3_exec(db,
                           "INSERT INTO t (i, s) VALUES (1, NULL);"
                           "INSERT INTO t (i, s) VALUES (2, 'a' || char(0) || 'b');"
                           "INSERT INTO t (i, s) VALUES (3, 42);"
                           "INSERT INTO t (i, s) VALUES (4, '\xC3\x84rger \xF0\x9F\x98\x80');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    Statement select(db, u"SELECT i, s FROM t ORDER BY i");
    const std::u16string expected[] = {u"", std::u16string(u"a\0b", 3), u"42", u"Ärger 😀"};
    for (const std::u16string& text : expected) {
        ASSERT_EQ(select.Step(), SQLITE_ROW);
        std::u16string_view view = select.ColumnTextView(1);
        EXPECT_EQ(view, text);
        EXPECT_EQ(select.ColumnText(1).Value(), text);
        // The view stays valid while other columns of the row are read.
        select.ColumnInt64(0);
        EXPECT_EQ(view, text);
    }
    EXPECT_EQ(select.Step(), SQLITE_DONE);
}

TEST_F(StatementTest, FailedPrepareIsNotPreparedAndFinalizesWithThePrepareCode) {
    Statement statement(db, u"SELECT * FROM missing_table");

    EXPECT_FALSE(statement.IsPrepared());
    EXPECT_EQ(statement.Step(), SQLITE_MISUSE);
    EXPECT_EQ(statement.Finalize(), SQLITE_ERROR);
    EXPECT_EQ(statement.Finalize(), SQLITE_ERROR);
}

TEST_F(StatementTest, FinalizeAnswersTheCodeOfAFailedStep) {
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE u (k INTEGER UNIQUE); INSERT INTO u VALUES (1)", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    Statement insert(db, u"INSERT INTO u VALUES (1)");
    ASSERT_TRUE(insert.IsPrepared());

    EXPECT_EQ(insert.Step(), SQLITE_CONSTRAINT);

    EXPECT_EQ(insert.Finalize(), SQLITE_CONSTRAINT);
    EXPECT_EQ(insert.Finalize(), SQLITE_CONSTRAINT);
    EXPECT_FALSE(insert.IsPrepared());
}

TEST_F(StatementTest, DestructorFinalizesAStatementLeftOpen) {
    ASSERT_EQ(sqlite3_exec(db, "INSERT INTO t (i) VALUES (1), (2)", nullptr, nullptr, nullptr), SQLITE_OK);
    {
        Statement select(db, u"SELECT i FROM t");
        ASSERT_EQ(select.Step(), SQLITE_ROW);
        EXPECT_NE(sqlite3_next_stmt(db, nullptr), nullptr);
    }

    EXPECT_EQ(sqlite3_next_stmt(db, nullptr), nullptr);
}

TEST(ResultCodes, OnlySqliteOkIsSuccess) {
    EXPECT_EQ(zandb4::ResultOf(SQLITE_OK), S_OK);
    EXPECT_EQ(zandb4::ResultOf(SQLITE_ERROR), E_FAIL);
    EXPECT_EQ(zandb4::ResultOf(SQLITE_CONSTRAINT), E_FAIL);
    EXPECT_EQ(zandb4::ResultOf(SQLITE_ROW), E_FAIL);
    EXPECT_EQ(zandb4::ResultOf(SQLITE_DONE), E_FAIL);
}

TEST(ResultCodes, OnlyADoneStepIsAFinishedStep) {
    EXPECT_EQ(zandb4::ResultOfDoneStep(SQLITE_DONE), S_OK);
    EXPECT_EQ(zandb4::ResultOfDoneStep(SQLITE_ROW), E_FAIL);
    EXPECT_EQ(zandb4::ResultOfDoneStep(SQLITE_OK), E_FAIL);
    EXPECT_EQ(zandb4::ResultOfDoneStep(SQLITE_CONSTRAINT), E_FAIL);
}

}  // namespace
