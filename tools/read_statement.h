// The tool's own SQLite helpers for looking into store and shard files
// without the library: a connection opened read-only that closes when it
// goes, and one prepared statement that is finalized at the latest when it
// goes. The tool links the shared library, whose statement helper is not
// exported; these do the same few things the same way (UTF-16 SQL, text read
// as UTF-16), so that what the tool reads is what the library would read.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <utility>

#include "zandb4/foundation.h"

namespace zandb4::tool {

// A connection to an existing file, opened for reading only (never made),
// that waits up to busyMilliseconds for another process's lock.
class ReadOnlyConnection {
public:
    ReadOnlyConnection(const std::filesystem::path& file, int busyMilliseconds);
    ~ReadOnlyConnection();
    ReadOnlyConnection(const ReadOnlyConnection&) = delete;
    ReadOnlyConnection& operator=(const ReadOnlyConnection&) = delete;

    // sqlite3_open_v2's answer.
    int OpenCode() const { return m_code; }
    // The connection; null when the open failed.
    sqlite3* Handle() const { return m_code == SQLITE_OK ? m_db : nullptr; }

private:
    sqlite3* m_db = nullptr;
    int m_code = SQLITE_OK;
};

// One statement, prepared in the constructor from UTF-16 text.
class ReadStatement {
public:
    ReadStatement(sqlite3* db, const WCHAR* sql);
    ~ReadStatement();
    ReadStatement(const ReadStatement&) = delete;
    ReadStatement& operator=(const ReadStatement&) = delete;

    // False when the prepare failed (or there was no connection).
    bool IsPrepared() const { return m_statement != nullptr; }

    void BindInt64(int index, int64_t value);

    // sqlite3_step's answer: SQLITE_ROW, SQLITE_DONE or an error;
    // SQLITE_MISUSE when the statement did not prepare.
    int Step();

    int64_t ColumnInt64(int column) const;
    double ColumnDouble(int column) const;
    // The text as UTF-16, as SQLite converts it; empty for NULL.
    CZanTString ColumnText(int column) const;
    const void* ColumnBlob(int column) const;
    int ColumnBytes(int column) const;

    // sqlite3_finalize's answer, the same on every later call. A statement
    // that never prepared answers the prepare's code (SQLITE_MISUSE without
    // a connection).
    int Finalize();

private:
    sqlite3_stmt* m_statement = nullptr;
    int m_prepareCode = SQLITE_OK;
    bool m_finalized = false;
    int m_finalizeCode = SQLITE_OK;
};

// Runs sql with values bound to its parameters in order, handing each row to
// onRow; SQLite's code for the whole run: SQLITE_OK, or the first failure of
// the prepare, a step or the finalize.
template <class OnRow>
int ReadRows(sqlite3* db, const WCHAR* sql, std::initializer_list<int64_t> values, OnRow&& onRow) {
    ReadStatement statement(db, sql);
    if (!statement.IsPrepared()) return statement.Finalize();
    int index = 1;
    for (int64_t value : values) statement.BindInt64(index++, value);
    int step = SQLITE_ROW;
    while ((step = statement.Step()) == SQLITE_ROW) onRow(statement);
    int finalized = statement.Finalize();
    if (step != SQLITE_DONE) return step;
    return finalized;
}

template <class OnRow>
int ReadRows(sqlite3* db, const WCHAR* sql, OnRow&& onRow) {
    return ReadRows(db, sql, {}, std::forward<OnRow>(onRow));
}

}  // namespace zandb4::tool
