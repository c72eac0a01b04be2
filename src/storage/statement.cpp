// Statement and sqlite3_exec16 over SQLite's C interface.
#include "storage/statement.h"

#include "platform/text.h"
#include "storage/result_codes.h"

namespace zandb4 {

Statement::Statement(sqlite3* db, const WCHAR* sql) {
    if (db == nullptr) {
        m_prepareCode = SQLITE_MISUSE;
        return;
    }
    m_prepareCode = sqlite3_prepare16_v2(db, sql, -1, &m_statement, nullptr);
    if (m_prepareCode != SQLITE_OK) {
        sqlite3_finalize(m_statement);
        m_statement = nullptr;
    }
}

Statement::~Statement() { Finalize(); }

void Statement::BindInt(int index, int32_t value) { sqlite3_bind_int(m_statement, index, value); }
void Statement::BindInt64(int index, int64_t value) {
    sqlite3_bind_int64(m_statement, index, static_cast<sqlite3_int64>(value));
}
void Statement::BindDouble(int index, double value) { sqlite3_bind_double(m_statement, index, value); }
void Statement::BindText(int index, const CZanTString& value) {
    sqlite3_bind_text16(m_statement, index, value.GetString(), static_cast<int>(value.GetLength() * 2),
                        SQLITE_TRANSIENT);
}
void Statement::BindBlob(int index, const void* data, int size) {
    sqlite3_bind_blob(m_statement, index, data, size, SQLITE_TRANSIENT);
}

int Statement::Step() { return m_statement == nullptr ? SQLITE_MISUSE : sqlite3_step(m_statement); }

CZanTString Statement::ColumnText(int column) const {
    const void* text = sqlite3_column_text16(m_statement, column);
    if (text == nullptr) return CZanTString();
    int bytes = sqlite3_column_bytes16(m_statement, column);
    return CZanTString(static_cast<const WCHAR*>(text), static_cast<size_t>(bytes) / 2);
}
const void* Statement::ColumnBlob(int column) const { return sqlite3_column_blob(m_statement, column); }
int Statement::ColumnBytes(int column) const { return sqlite3_column_bytes(m_statement, column); }

int Statement::Finalize() {
    if (m_finalized) return m_finalizeCode;
    m_finalized = true;
    m_finalizeCode = m_statement == nullptr ? m_prepareCode : sqlite3_finalize(m_statement);
    m_statement = nullptr;
    return m_finalizeCode;
}

sqlite3_stmt* Statement::Abandon() {
    sqlite3_stmt* statement = m_statement;
    m_statement = nullptr;
    m_finalized = true;
    m_finalizeCode = SQLITE_OK;
    return statement;
}

namespace {

// Whether the text behind a first command holds another one (or text that
// does not parse). Only whitespace and comments may follow.
bool HoldsAnotherCommand(sqlite3* db, const char* tail) {
    if (tail == nullptr || *tail == 0) return false;
    sqlite3_stmt* second = nullptr;
    int code = sqlite3_prepare_v2(db, tail, -1, &second, nullptr);
    bool found = code != SQLITE_OK || second != nullptr;
    sqlite3_finalize(second);
    return found;
}

void SetMessage(char** errorMessage, const char* text) {
    if (errorMessage != nullptr) *errorMessage = sqlite3_mprintf("%s", text);
}

}  // namespace

int sqlite3_exec16(sqlite3* db, const WCHAR* sql, int (*callback)(void*, int, char**, char**), void* argument,
                   char** errorMessage) {
    if (db == nullptr) {
        SetMessage(errorMessage, sqlite3_errstr(SQLITE_MISUSE));
        return SQLITE_MISUSE;
    }
    std::string text = platform::ToUtf8(sql == nullptr ? std::u16string_view() : std::u16string_view(sql));
    sqlite3_stmt* first = nullptr;
    const char* tail = nullptr;
    int code = sqlite3_prepare_v2(db, text.c_str(), -1, &first, &tail);
    if (code != SQLITE_OK) {
        SetMessage(errorMessage, sqlite3_errmsg(db));
        return code;
    }
    // The generated UPDATEs carry names and paths unescaped. A quote in a
    // name may break the statement, which then fails; it must never let a
    // second command (a DELETE, say) run behind the first. A text with more
    // than one command fails whole and runs nothing.
    if (HoldsAnotherCommand(db, tail)) {
        sqlite3_finalize(first);
        SetMessage(errorMessage, "more than one command in one statement");
        return SQLITE_ERROR;
    }
    if (callback != nullptr) {
        // Rows go to the callback the way sqlite3_exec hands them over.
        sqlite3_finalize(first);
        return sqlite3_exec(db, text.c_str(), callback, argument, errorMessage);
    }
    if (first == nullptr) return SQLITE_OK;  // only whitespace or comments
    while ((code = sqlite3_step(first)) == SQLITE_ROW) {
    }
    int finalized = sqlite3_finalize(first);
    if (code == SQLITE_DONE && finalized == SQLITE_OK) return SQLITE_OK;
    code = finalized != SQLITE_OK ? finalized : code;
    SetMessage(errorMessage, sqlite3_errmsg(db));
    return code;
}

HRESULT RunStatement(sqlite3* db, const WCHAR* sql) {
    char* message = nullptr;
    int code = sqlite3_exec16(db, sql, nullptr, nullptr, &message);
    if (message != nullptr) sqlite3_free(message);
    return ResultOf(code);
}

}  // namespace zandb4

namespace zandb4 {

HRESULT StepToDone(Statement& statement) {
    if (!statement.IsPrepared()) return E_FAIL;
    if (statement.Step() != SQLITE_DONE) return E_FAIL;
    return ResultOf(statement.Finalize());
}

}  // namespace zandb4
