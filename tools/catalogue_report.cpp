// Read-only listing of a catalogue root for the zandb4 tool. Store files are
// opened with SQLite in read-only mode, so that looking never creates or
// changes a file.
#include "catalogue_report.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

// The version row of a store, or a word on why there is none.
std::string DescribeStore(const fs::path& file) {
    sqlite3* db = nullptr;
    std::string description;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        description = "cannot be opened";
    } else {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT version FROM version_info_table", -1, &statement, nullptr) != SQLITE_OK) {
            description = sqlite3_errcode(db) == SQLITE_NOTADB ? "not a database" : "no version row (version 0)";
        } else if (sqlite3_step(statement) == SQLITE_ROW) {
            description = "version " + std::to_string(sqlite3_column_int64(statement, 0));
        } else {
            description = "empty version table (version 0)";
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return description;
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
            out << "  " << shown << "  " << DescribeStore(entry.path()) << "\n";
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
