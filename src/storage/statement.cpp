// Statement and sqlite3_exec16 over SQLite's C interface.
#include "storage/statement.h"

#include "platform/text.h"

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

int32_t Statement::ColumnInt(int column) const { return sqlite3_column_int(m_statement, column); }
int64_t Statement::ColumnInt64(int column) const { return sqlite3_column_int64(m_statement, column); }
double Statement::ColumnDouble(int column) const { return sqlite3_column_double(m_statement, column); }
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

int sqlite3_exec16(sqlite3* db, const WCHAR* sql, int (*callback)(void*, int, char**, char**), void* argument,
                   char** errorMessage) {
    if (db == nullptr) {
        if (errorMessage != nullptr) *errorMessage = sqlite3_mprintf("%s", sqlite3_errstr(SQLITE_MISUSE));
        return SQLITE_MISUSE;
    }
    std::string text = platform::ToUtf8(sql == nullptr ? std::u16string_view() : std::u16string_view(sql));
    return sqlite3_exec(db, text.c_str(), callback, argument, errorMessage);
}

}  // namespace zandb4
