// Statement: one prepared SQLite statement, prepared in the constructor from
// UTF-16 text and finalized in Finalize or, at the latest, the destructor, so
// that a statement can never outlive the function that runs it. Binds are by
// position from 1; text goes in as UTF-16 with its length in bytes and a
// copying destructor, blobs with a copying destructor.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string_view>

#include "zandb4/foundation.h"

namespace zandb4 {

class Statement {
public:
    Statement(sqlite3* db, const WCHAR* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // False when the prepare failed (or there was no connection).
    bool IsPrepared() const { return m_statement != nullptr; }

    void BindInt(int index, int32_t value);
    void BindInt64(int index, int64_t value);
    void BindDouble(int index, double value);
    void BindText(int index, const CZanTString& value);
    void BindBlob(int index, const void* data, int size);

    // sqlite3_step's answer: SQLITE_ROW (100), SQLITE_DONE (101) or an error.
    int Step();

    // Defined here so that a row reader's twenty column reads a row become
    // direct calls into SQLite.
    int32_t ColumnInt(int column) const { return sqlite3_column_int(m_statement, column); }
    int64_t ColumnInt64(int column) const { return sqlite3_column_int64(m_statement, column); }
    double ColumnDouble(int column) const { return sqlite3_column_double(m_statement, column); }
    CZanTString ColumnText(int column) const;
    // The text of the column where SQLite holds it, without a copy: valid
    // until the statement steps, resets or finalizes. NULL reads as empty.
    // The text and its length are read from the column's value, which takes
    // the connection's mutex once instead of twice. That value is SQLite's
    // "unprotected" kind: the caller must be the only thread on the
    // connection, as a holder of its store's lock is. The search readers of
    // the catalogue use it; ColumnText keeps to the guarded calls.
    std::u16string_view ColumnTextView(int column) const {
        sqlite3_value* value = sqlite3_column_value(m_statement, column);
        const void* text = value == nullptr ? nullptr : sqlite3_value_text16(value);
        if (text == nullptr) return {};
        int bytes = sqlite3_value_bytes16(value);
        return {static_cast<const WCHAR*>(text), static_cast<size_t>(bytes) / 2};
    }
    const void* ColumnBlob(int column) const;
    int ColumnBytes(int column) const;

    // sqlite3_finalize's answer, the same on every later call. A statement
    // that never prepared answers the prepare's error code.
    int Finalize();
    // Gives up the prepared statement without finalizing it; the caller owns
    // it from then on. This object then answers as a finalized one.
    sqlite3_stmt* Abandon();

private:
    sqlite3_stmt* m_statement = nullptr;
    int m_prepareCode = SQLITE_OK;
    bool m_finalized = false;
    int m_finalizeCode = SQLITE_OK;
};

// Runs a prepared statement whose rows are not wanted to its end: S_OK when
// it prepared, the step finished it (SQLITE_DONE) and the finalize is clean,
// else E_FAIL. A write that matched no row is no failure.
HRESULT StepToDone(Statement& statement);

// sqlite3_exec for one UTF-16 statement: converts to UTF-8 and runs it. A
// text holding a second command behind the first fails with SQLITE_ERROR and
// runs nothing. A null
// connection answers SQLITE_MISUSE without touching it. A message, if
// errorMessage is given, comes from SQLite's allocator: free it with
// sqlite3_free.
int sqlite3_exec16(sqlite3* db, const WCHAR* sql, int (*callback)(void*, int, char**, char**), void* argument,
                   char** errorMessage);

// sqlite3_exec16 with no callback and no message, SQLite's code answered.
inline int Exec(sqlite3* db, const WCHAR* sql) { return sqlite3_exec16(db, sql, nullptr, nullptr, nullptr); }

// The statement runner of every store: runs one statement whose rows are not
// wanted, frees any message, and answers S_OK or E_FAIL.
HRESULT RunStatement(sqlite3* db, const WCHAR* sql);

}  // namespace zandb4
