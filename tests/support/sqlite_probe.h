// SqliteProbe: opens a store file with SQLite directly, as a test looks at
// what is on disk, independent of the library's own classes.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zandb4::testing {

class SqliteProbe {
public:
    explicit SqliteProbe(const std::filesystem::path& file);
    ~SqliteProbe();
    SqliteProbe(const SqliteProbe&) = delete;
    SqliteProbe& operator=(const SqliteProbe&) = delete;

    bool IsOpen() const { return m_db != nullptr; }
    sqlite3* Handle() { return m_db; }

    // Runs sql and answers every row, each column as text ("NULL" for null).
    std::vector<std::vector<std::string>> Rows(const std::string& sql);
    // The first column of the first row as an integer; -1 when there is none.
    int64_t Integer(const std::string& sql);
    // Runs a statement; the SQLite result code.
    int Exec(const std::string& sql);

private:
    sqlite3* m_db = nullptr;
};

}  // namespace zandb4::testing
