#include "support/sqlite_probe.h"

namespace zandb4::testing {

SqliteProbe::SqliteProbe(const std::filesystem::path& file) {
    if (sqlite3_open_v2(file.c_str(), &m_db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        sqlite3_close(m_db);
        m_db = nullptr;
    }
}

SqliteProbe::~SqliteProbe() { sqlite3_close(m_db); }

std::vector<std::vector<std::string>> SqliteProbe::Rows(const std::string& sql) {
    std::vector<std::vector<std::string>> rows;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) return rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const unsigned char* text = sqlite3_column_text(statement, i);
            row.push_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

int64_t SqliteProbe::Integer(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    int64_t value = -1;
    if (sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        value = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return value;
}

int SqliteProbe::Exec(const std::string& sql) { return sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr); }

}  // namespace zandb4::testing
