// Read-only looks into one SQLite store file for the zandb4 tool: its
// tables, version row, page size and row counts, or the reason they cannot
// be read. The file is opened for reading only and never made, so looking
// changes nothing on disk; a lock held by another process is waited for up
// to a given time and then reported as such, apart from damage.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zandb4::tool {

// Why a store cannot be read, from the first failure met.
enum class StoreProblem {
    kNone,
    kMissing,       // no file there
    kCannotOpen,    // SQLite cannot open it (a folder, no permission, ...)
    kLocked,        // another process holds a lock past the wait
    kNotADatabase,  // not an SQLite file at all
    kDamaged,       // an SQLite file whose pages are malformed
    kCannotRead,    // any other failure of a read
};

struct TableRows {
    std::string name;
    std::optional<int64_t> rows;  // none when the count failed
};

struct StoreContents {
    StoreProblem problem = StoreProblem::kNone;
    std::string reason;  // plain words; empty when there is no problem
    bool hasVersionTable = false;
    int64_t version = 0;  // the version row; 0 without one
    int64_t pageSize = 0;
    std::vector<TableRows> tables;  // in the order they were made
};

enum class RowCounts { kEveryTable, kFileTableOnly };

// Reads what the store holds. With kFileTableOnly only file_table is
// counted (the check of a catalogue before a search).
StoreContents ReadStore(const std::filesystem::path& file, int busyMilliseconds, RowCounts counts);

// The major version of the stores this build reads and writes (version /
// 1000), and whether a version row belongs to a newer one.
int64_t ReadableMajorVersion();
bool IsNewerMajorVersion(int64_t version);

// The problem an SQLite result code stands for, and its reason in plain
// words; busyMilliseconds is the wait that a lock outlasted.
StoreProblem ProblemOfCode(int sqliteCode);
std::string ReasonOfCode(int sqliteCode, int busyMilliseconds);

}  // namespace zandb4::tool
