// Read-only reads of the application log for "zandb4 applog".
#include "app_log_reader.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <system_error>

#include "logs/app_log_tables.h"
#include "read_statement.h"

namespace fs = std::filesystem;
namespace tables = app_log_tables;

namespace zandb4::tool {
namespace {

constexpr int64_t kSecondsPerDay = 86400;

constexpr WCHAR kSelectTableNames[] = u"SELECT name FROM sqlite_master WHERE type='table'";
constexpr WCHAR kSelectVersion[] = u"SELECT version FROM version_info_table";

constexpr char kVersionTable[] = "version_info_table";
constexpr char kCountTable[] = "applog_accumulation_tbl";
constexpr char kHistoryTable[] = "applog_history_data_tbl";
constexpr char kInformationTable[] = "applog_information_tbl";

void SetProblem(AppLogContents& contents, int code, int busyMilliseconds) {
    contents.problem = ProblemOfCode(code);
    contents.reason = ReasonOfCode(code, busyMilliseconds);
}

// Size and creation time as the library reads them: the birth time where
// the file system keeps one, else the modification time.
bool ReadFacts(const fs::path& file, AppLogFileFacts& facts) {
    struct statx info {};
    if (::statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME | STATX_MTIME | STATX_SIZE, &info) != 0) return false;
    facts.size = info.stx_size;
    facts.createdIsBirthTime = (info.stx_mask & STATX_BTIME) != 0;
    facts.created = facts.createdIsBirthTime ? info.stx_btime.tv_sec : info.stx_mtime.tv_sec;
    return true;
}

// The rows of a record table, every one of its history or keyed records.
int ReadRecords(sqlite3* db, const WCHAR* selectAll, std::vector<AppLogRecord>& records) {
    return ReadRows(db, selectAll, [&](const ReadStatement& row) {
        AppLogRecord record;
        record.id = row.ColumnInt64(tables::kRecordID);
        record.version = row.ColumnInt64(tables::kRecordVersion);
        record.logID = row.ColumnInt64(tables::kRecordLogID);
        record.logType = row.ColumnInt64(tables::kRecordLogType);
        record.size = row.ColumnInt64(tables::kRecordSize);
        records.push_back(record);
    });
}

}  // namespace

bool IsExpiredAppLog(int64_t ageSeconds, uint64_t size) {
    // As the library counts the age: whole days, of which only the low 16
    // bits count as an unsigned number.
    const auto ageDays = static_cast<uint16_t>(ageSeconds / kSecondsPerDay);
    return ageDays > tables::kExpiryDays || size > tables::kExpirySize;
}

AppLogContents ReadAppLog(const fs::path& file, int busyMilliseconds, int64_t nowSeconds) {
    AppLogContents contents;
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
    if (!ReadFacts(file, contents.facts)) {
        contents.problem = StoreProblem::kCannotOpen;
        contents.reason = "cannot be opened (its status cannot be read)";
        return contents;
    }
    const int64_t ageSeconds = nowSeconds - contents.facts.created;
    contents.facts.ageDays = ageSeconds / kSecondsPerDay;
    contents.facts.expired = IsExpiredAppLog(ageSeconds, contents.facts.size);

    ReadOnlyConnection connection(file, busyMilliseconds);
    if (connection.OpenCode() != SQLITE_OK) {
        SetProblem(contents, connection.OpenCode(), busyMilliseconds);
        return contents;
    }
    sqlite3* db = connection.Handle();

    // The schema first: reading it is what meets a lock or a file that is
    // not a database.
    std::vector<std::string> names;
    int code =
        ReadRows(db, kSelectTableNames, [&](const ReadStatement& row) { names.push_back(row.ColumnText(0).ToUtf8()); });
    if (code != SQLITE_OK) {
        SetProblem(contents, code, busyMilliseconds);
        return contents;
    }
    auto has = [&](const char* name) { return std::find(names.begin(), names.end(), name) != names.end(); };
    if (has(kVersionTable)) {
        bool first = true;
        code = ReadRows(db, kSelectVersion, [&](const ReadStatement& row) {
            if (first) contents.version = row.ColumnInt64(0);
            first = false;
        });
        if (code != SQLITE_OK) {
            SetProblem(contents, code, busyMilliseconds);
            return contents;
        }
        if (IsNewerMajorVersion(contents.version)) {
            contents.problem = StoreProblem::kCannotRead;
            contents.reason = "of a newer major version (version " + std::to_string(contents.version) +
                              "; this build reads major version " + std::to_string(ReadableMajorVersion()) + ")";
            return contents;
        }
    }
    if (has(kCountTable)) {
        std::vector<AppLogCounter> counters;
        code = ReadRows(db, tables::kSelectCounts, [&](const ReadStatement& row) {
            counters.push_back(AppLogCounter{row.ColumnInt64(tables::kCountLogID),
                                             row.ColumnInt64(tables::kCountLogType),
                                             row.ColumnInt64(tables::kCountValue)});
        });
        contents.counters = std::move(counters);
    }
    if (code == SQLITE_OK && has(kHistoryTable)) {
        std::vector<AppLogRecord> history;
        code = ReadRecords(db, tables::kSelectHistory, history);
        contents.history = std::move(history);
    }
    if (code == SQLITE_OK && has(kInformationTable)) {
        std::vector<AppLogRecord> information;
        code = ReadRecords(db, tables::kSelectInformation, information);
        contents.information = std::move(information);
    }
    if (code != SQLITE_OK) SetProblem(contents, code, busyMilliseconds);
    return contents;
}

}  // namespace zandb4::tool
