// The integrity part of "zandb4 check": SQLite's own check of every store and
// shard file under a root, each opened for reading only, so that looking
// changes nothing on disk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace zandb4::tool {

struct FileIntegrity {
    std::string shown;  // "database/thumb_0s/00000000.db", relative to the root
    bool ok = false;
    // Why the file is not sound: SQLite's first complaints, or why it could
    // not be read at all. Empty when ok.
    std::vector<std::string> problems;
};

// The SQLite files under root/database (all folders below it too) and
// root/information: every regular file whose name ends in ".db", sorted by
// their shown path.
std::vector<std::filesystem::path> StoreFilesUnder(const std::filesystem::path& root);

// Runs "PRAGMA integrity_check" on file, opened read-only and waiting up to
// busyMilliseconds for another process's lock; at most maxProblems
// complaints are kept.
FileIntegrity CheckFileIntegrity(const std::filesystem::path& root, const std::filesystem::path& file,
                                 int busyMilliseconds, size_t maxProblems = 5);

}  // namespace zandb4::tool
