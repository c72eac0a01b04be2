// The tool's own SQLite helpers: a read-only connection that never makes a
// file and cannot write, and a statement whose codes are those of the
// library's statement helper.
#include "read_statement.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::MakeSqliteFile;
using zandb4::testing::TempFolder;
using zandb4::tool::ReadOnlyConnection;
using zandb4::tool::ReadStatement;

constexpr int kBusyMilliseconds = 100;

TEST(ReadOnlyConnection, AMissingFileIsNotMadeAndTheOpenFails) {
    TempFolder folder;
    ReadOnlyConnection connection(folder / "missing.db", kBusyMilliseconds);
    EXPECT_EQ(connection.OpenCode(), SQLITE_CANTOPEN);
    EXPECT_EQ(connection.Handle(), nullptr);
    EXPECT_FALSE(fs::exists(folder / "missing.db"));
}

TEST(ReadOnlyConnection, ReadsButCannotWrite) {
    TempFolder folder;
    MakeSqliteFile(folder / "store.db", "CREATE TABLE t (name TEXT); INSERT INTO t VALUES ('Ünï');");
    ReadOnlyConnection connection(folder / "store.db", kBusyMilliseconds);
    ASSERT_EQ(connection.OpenCode(), SQLITE_OK);
    ReadStatement select(connection.Handle(), u"SELECT name FROM t");
    ASSERT_EQ(select.Step(), SQLITE_ROW);
    EXPECT_EQ(select.ColumnText(0).ToUtf8(), "Ünï");
    EXPECT_EQ(select.Step(), SQLITE_DONE);
    EXPECT_EQ(select.Finalize(), SQLITE_OK);

    ReadStatement insert(connection.Handle(), u"INSERT INTO t VALUES ('x')");
    ASSERT_TRUE(insert.IsPrepared());
    EXPECT_EQ(insert.Step(), SQLITE_READONLY);
}

TEST(ReadStatement, WithoutAConnectionItIsMisuse) {
    ReadStatement statement(nullptr, u"SELECT 1");
    EXPECT_FALSE(statement.IsPrepared());
    EXPECT_EQ(statement.Step(), SQLITE_MISUSE);
    EXPECT_EQ(statement.Finalize(), SQLITE_MISUSE);
}

TEST(ReadStatement, AStatementThatDoesNotPrepareAnswersThePreparesCodeEveryTime) {
    TempFolder folder;
    MakeSqliteFile(folder / "store.db", "CREATE TABLE t (n INTEGER);");
    ReadOnlyConnection connection(folder / "store.db", kBusyMilliseconds);
    ASSERT_EQ(connection.OpenCode(), SQLITE_OK);
    ReadStatement statement(connection.Handle(), u"SELECT n FROM no_such_table");
    EXPECT_FALSE(statement.IsPrepared());
    EXPECT_EQ(statement.Finalize(), SQLITE_ERROR);
    EXPECT_EQ(statement.Finalize(), SQLITE_ERROR);
}

TEST(ReadStatement, BindsSixtyFourBitIdsAsTheLibraryStoresThem) {
    TempFolder folder;
    // 2^64 - 1 is stored with the same 64 bits, as -1.
    MakeSqliteFile(folder / "store.db",
                   "CREATE TABLE t (id INTEGER PRIMARY KEY, data BLOB); INSERT INTO t VALUES (-1, x'0102');");
    ReadOnlyConnection connection(folder / "store.db", kBusyMilliseconds);
    ReadStatement select(connection.Handle(), u"SELECT id, data FROM t WHERE id=?");
    select.BindInt64(1, static_cast<int64_t>(UINT64_MAX));
    ASSERT_EQ(select.Step(), SQLITE_ROW);
    EXPECT_EQ(static_cast<uint64_t>(select.ColumnInt64(0)), UINT64_MAX);
    ASSERT_EQ(select.ColumnBytes(1), 2);
    EXPECT_EQ(static_cast<const unsigned char*>(select.ColumnBlob(1))[1], 0x02);
}

}  // namespace
