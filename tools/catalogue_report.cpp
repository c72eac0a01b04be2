// Read-only listing of a catalogue root for the zandb4 tool. Store files are
// opened with SQLite in read-only mode, so that looking never creates or
// changes a file.
#include "catalogue_report.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

// One integer from a statement with no arguments; nullopt when it fails.
std::optional<int64_t> QueryInteger(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    std::optional<int64_t> value;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        value = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return value;
}

std::vector<std::string> TableNames(sqlite3* db) {
    std::vector<std::string> names;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type='table' ORDER BY rowid", -1, &statement,
                           nullptr) == SQLITE_OK) {
        while (sqlite3_step(statement) == SQLITE_ROW)
            names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
    }
    sqlite3_finalize(statement);
    return names;
}

// The version row of a store (or a word on why there is none), its page
// size, and the row count of each of its tables in the order they were made.
void DescribeStore(const fs::path& file, const std::string& shown, std::ostream& out) {
    sqlite3* db = nullptr;
    out << "  " << shown << "  ";
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        out << "cannot be opened\n";
        sqlite3_close(db);
        return;
    }
    std::optional<int64_t> version = QueryInteger(db, "SELECT version FROM version_info_table");
    if (!version && sqlite3_errcode(db) == SQLITE_NOTADB) {
        out << "not a database\n";
        sqlite3_close(db);
        return;
    }
    out << "version " << version.value_or(0);
    if (std::optional<int64_t> pageSize = QueryInteger(db, "PRAGMA page_size")) out << ", page size " << *pageSize;
    out << "\n";
    for (const std::string& table : TableNames(db)) {
        std::optional<int64_t> rows = QueryInteger(db, "SELECT COUNT(*) FROM \"" + table + "\"");
        out << "    " << table << ": " << rows.value_or(-1) << (rows.value_or(-1) == 1 ? " row\n" : " rows\n");
    }
    sqlite3_close(db);
}

void ReportFolder(const fs::path& root, const std::string& name, std::ostream& out) {
    fs::path folder = root / name;
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        out << name << "/  (missing)\n";
        return;
    }
    out << name << "/\n";
    std::vector<fs::directory_entry> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) entries.push_back(entry);
    std::sort(entries.begin(), entries.end(),
              [](const fs::directory_entry& a, const fs::directory_entry& b) { return a.path() < b.path(); });
    for (const fs::directory_entry& entry : entries) {
        std::string shown = name + "/" + entry.path().filename().string();
        if (entry.is_directory(error))
            out << "  " << shown << "/\n";
        else if (entry.path().extension() == ".db")
            DescribeStore(entry.path(), shown, out);
        else
            out << "  " << shown << "\n";
    }
}

}  // namespace

bool IsCatalogueRoot(const std::string& root) {
    std::error_code error;
    return fs::is_directory(fs::path(root) / "database", error);
}

void ReportCatalogue(const std::string& root, std::ostream& out) {
    out << "catalogue root " << root << "\n";
    ReportFolder(root, "database", out);
    ReportFolder(root, "information", out);
}

}  // namespace zandb4::tool
