// Read-only reads of a store file, with SQLite directly through the tool's
// own statement helper.
#include "store_reader.h"

#include <sqlite3.h>

#include <system_error>

#include "library/tool_access.h"
#include "read_statement.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr WCHAR kSelectTableNames[] = u"SELECT name FROM sqlite_master WHERE type='table' ORDER BY rowid";
constexpr WCHAR kSelectVersion[] = u"SELECT version FROM version_info_table";
constexpr WCHAR kSelectPageSize[] = u"PRAGMA page_size";
constexpr char kFileTable[] = "file_table";
constexpr char kVersionTable[] = "version_info_table";

// An SQL identifier in double quotes, its own double quotes doubled.
CZanTString QuotedIdentifier(const std::string& name) {
    std::string quoted = "\"";
    for (char ch : name) quoted += ch == '"' ? std::string("\"\"") : std::string(1, ch);
    return CZanTString::FromUtf8((quoted + "\"").c_str());
}

void SetProblem(StoreContents& contents, int code, int busyMilliseconds) {
    contents.problem = ProblemOfCode(code);
    contents.reason = ReasonOfCode(code, busyMilliseconds);
}

}  // namespace

StoreProblem ProblemOfCode(int sqliteCode) {
    switch (sqliteCode & 0xFF) {
        case SQLITE_OK:
            return StoreProblem::kNone;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return StoreProblem::kLocked;
        case SQLITE_NOTADB:
            return StoreProblem::kNotADatabase;
        case SQLITE_CORRUPT:
            return StoreProblem::kDamaged;
        case SQLITE_CANTOPEN:
            return StoreProblem::kCannotOpen;
        default:
            return StoreProblem::kCannotRead;
    }
}

std::string ReasonOfCode(int sqliteCode, int busyMilliseconds) {
    switch (ProblemOfCode(sqliteCode)) {
        case StoreProblem::kNone:
            return "";
        case StoreProblem::kLocked:
            return "locked by another process (still locked after waiting " + std::to_string(busyMilliseconds) + " ms)";
        case StoreProblem::kNotADatabase:
            return "not a database (the file is not an SQLite file)";
        case StoreProblem::kDamaged:
            return "damaged (" + std::string(sqlite3_errstr(sqliteCode)) + ")";
        case StoreProblem::kCannotOpen:
            return "cannot be opened (" + std::string(sqlite3_errstr(sqliteCode)) + ")";
        case StoreProblem::kMissing:
            return "does not exist";
        case StoreProblem::kCannotRead:
            break;
    }
    return "cannot be read (" + std::string(sqlite3_errstr(sqliteCode)) + ")";
}

int64_t ReadableMajorVersion() {
    return static_cast<int64_t>(tool_access::StoreVersion() / 1000);
}

bool IsNewerMajorVersion(int64_t version) {
    return version / 1000 > ReadableMajorVersion();
}

StoreContents ReadStore(const fs::path& file, int busyMilliseconds, RowCounts counts) {
    StoreContents contents;
    std::error_code error;
    fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        contents.problem = StoreProblem::kMissing;
        contents.reason = "does not exist";
        return contents;
    }
    if (fs::is_directory(status)) {
        contents.problem = StoreProblem::kCannotOpen;
        contents.reason = "cannot be opened (it is a folder)";
        return contents;
    }
    ReadOnlyConnection connection(file, busyMilliseconds);
    if (connection.OpenCode() != SQLITE_OK) {
        SetProblem(contents, connection.OpenCode(), busyMilliseconds);
        return contents;
    }
    sqlite3* db = connection.Handle();

    // The schema comes first: reading it is what meets a lock or a file
    // that is not a database.
    std::vector<std::string> names;
    int code =
        ReadRows(db, kSelectTableNames, [&](const ReadStatement& row) { names.push_back(row.ColumnText(0).ToUtf8()); });
    if (code != SQLITE_OK) {
        SetProblem(contents, code, busyMilliseconds);
        return contents;
    }
    for (const std::string& name : names) {
        if (name == kVersionTable) contents.hasVersionTable = true;
    }
    if (contents.hasVersionTable) {
        bool first = true;
        code = ReadRows(db, kSelectVersion, [&](const ReadStatement& row) {
            if (first) contents.version = row.ColumnInt64(0);
            first = false;
        });
        if (code != SQLITE_OK) {
            SetProblem(contents, code, busyMilliseconds);
            return contents;
        }
    }
    code = ReadRows(db, kSelectPageSize, [&](const ReadStatement& row) { contents.pageSize = row.ColumnInt64(0); });
    if (code != SQLITE_OK) {
        SetProblem(contents, code, busyMilliseconds);
        return contents;
    }
    for (const std::string& name : names) {
        TableRows table{name, std::nullopt};
        if (counts == RowCounts::kEveryTable || name == kFileTable) {
            CZanTString sql = u"SELECT COUNT(*) FROM ";
            sql += QuotedIdentifier(name);
            code = ReadRows(db, sql.GetString(), [&](const ReadStatement& row) { table.rows = row.ColumnInt64(0); });
            // The first failing count tells the whole store's problem; the
            // other tables are still listed.
            if (code != SQLITE_OK && contents.problem == StoreProblem::kNone)
                SetProblem(contents, code, busyMilliseconds);
        }
        contents.tables.push_back(table);
    }
    return contents;
}

}  // namespace zandb4::tool
