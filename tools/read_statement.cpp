// ReadOnlyConnection and ReadStatement over SQLite's C interface.
#include "read_statement.h"

namespace zandb4::tool {

ReadOnlyConnection::ReadOnlyConnection(const std::filesystem::path& file, int busyMilliseconds) {
    m_code = sqlite3_open_v2(file.c_str(), &m_db, SQLITE_OPEN_READONLY, nullptr);
    if (m_code == SQLITE_OK) sqlite3_busy_timeout(m_db, busyMilliseconds);
}

// SQLite may hand out a connection even when the open fails; it is closed
// all the same.
ReadOnlyConnection::~ReadOnlyConnection() { sqlite3_close(m_db); }

ReadStatement::ReadStatement(sqlite3* db, const WCHAR* sql) {
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

ReadStatement::~ReadStatement() { Finalize(); }

void ReadStatement::BindInt64(int index, int64_t value) {
    sqlite3_bind_int64(m_statement, index, static_cast<sqlite3_int64>(value));
}

int ReadStatement::Step() { return m_statement == nullptr ? SQLITE_MISUSE : sqlite3_step(m_statement); }

int64_t ReadStatement::ColumnInt64(int column) const { return sqlite3_column_int64(m_statement, column); }

double ReadStatement::ColumnDouble(int column) const { return sqlite3_column_double(m_statement, column); }

CZanTString ReadStatement::ColumnText(int column) const {
    const void* text = sqlite3_column_text16(m_statement, column);
    if (text == nullptr) return CZanTString();
    int bytes = sqlite3_column_bytes16(m_statement, column);
    return CZanTString(static_cast<const WCHAR*>(text), static_cast<size_t>(bytes) / 2);
}

const void* ReadStatement::ColumnBlob(int column) const { return sqlite3_column_blob(m_statement, column); }

int ReadStatement::ColumnBytes(int column) const { return sqlite3_column_bytes(m_statement, column); }

int ReadStatement::Finalize() {
    if (m_finalized) return m_finalizeCode;
    m_finalized = true;
    m_finalizeCode = m_statement == nullptr ? m_prepareCode : sqlite3_finalize(m_statement);
    m_statement = nullptr;
    return m_finalizeCode;
}

}  // namespace zandb4::tool
