// The application log information/appcahce.db read for "zandb4 applog":
// the file's size and age, whether the library would take it for expired,
// and every row of its three tables (the counters, and the history and
// keyed records without their blobs). The file is opened read-only with
// SQLite directly and never made; its tables are read with the library's
// own statements (app_log_tables.h).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "store_reader.h"

namespace zandb4::tool {

struct AppLogCounter {
    int64_t logID = 0;
    int64_t logType = 0;
    int64_t count = 0;
};

// A history or keyed record, as its row says; the blob itself is not read.
struct AppLogRecord {
    int64_t id = 0;
    int64_t version = 0;
    int64_t logID = 0;
    int64_t logType = 0;
    int64_t size = 0;
};

struct AppLogFileFacts {
    uint64_t size = 0;
    // When the file was made, in seconds since 1970 UTC: the file system's
    // birth time, or the modification time where it keeps none (as the
    // library counts it).
    int64_t created = 0;
    bool createdIsBirthTime = false;
    // Whole days from created to now; negative for a file made after now.
    int64_t ageDays = 0;
    // Whether the library, opening the file now, would take it for expired:
    // older than 180 days (of which only the low 16 bits count, as in the
    // library) or larger than 512 MiB.
    bool expired = false;
};

struct AppLogContents {
    StoreProblem problem = StoreProblem::kNone;
    std::string reason;  // plain words; empty when the file was read
    AppLogFileFacts facts;
    int64_t version = 0;  // the version row; 0 without one
    // Each table's rows in their order on disk; none when the file has no
    // such table.
    std::optional<std::vector<AppLogCounter>> counters;
    std::optional<std::vector<AppLogRecord>> history;
    std::optional<std::vector<AppLogRecord>> information;
};

// The library's rule for an expired file, for a file of that age in seconds
// and size in bytes.
bool IsExpiredAppLog(int64_t ageSeconds, uint64_t size);

// Reads the file with "now" at nowSeconds (seconds since 1970 UTC). Waits up
// to busyMilliseconds for another process's lock.
AppLogContents ReadAppLog(const std::filesystem::path& file, int busyMilliseconds, int64_t nowSeconds);

}  // namespace zandb4::tool
