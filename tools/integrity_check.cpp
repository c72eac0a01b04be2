#include "integrity_check.h"

#include <sqlite3.h>

#include <algorithm>
#include <system_error>

#include "read_statement.h"
#include "store_reader.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

void CollectDbFiles(const fs::path& folder, std::vector<fs::path>& files) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) return;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code kindError;
        if (entry->is_regular_file(kindError) && entry->path().extension() == ".db") files.push_back(entry->path());
    }
}

}  // namespace

std::vector<fs::path> StoreFilesUnder(const fs::path& root) {
    std::vector<fs::path> files;
    CollectDbFiles(root / "database", files);
    CollectDbFiles(root / "information", files);
    std::sort(files.begin(), files.end());
    return files;
}

FileIntegrity CheckFileIntegrity(const fs::path& root, const fs::path& file, int busyMilliseconds,
                                 size_t maxProblems) {
    FileIntegrity result;
    result.shown = file.lexically_relative(root).generic_string();
    ReadOnlyConnection connection(file, busyMilliseconds);
    if (connection.Handle() == nullptr) {
        result.problems.push_back(ReasonOfCode(connection.OpenCode(), busyMilliseconds));
        return result;
    }
    ReadStatement check(connection.Handle(), u"PRAGMA integrity_check");
    if (!check.IsPrepared()) {
        result.problems.push_back(ReasonOfCode(check.Finalize(), busyMilliseconds));
        return result;
    }
    // A sound file answers one row, "ok"; a damaged one a row per complaint.
    bool sawOk = false;
    size_t complaints = 0;
    int step = SQLITE_ROW;
    while ((step = check.Step()) == SQLITE_ROW) {
        CZanTString text = check.ColumnText(0);
        std::string line = text.ToUtf8();
        if (line == "ok") {
            sawOk = true;
            continue;
        }
        if (++complaints <= maxProblems) result.problems.push_back(line);
    }
    if (complaints > maxProblems)
        result.problems.push_back("... and " + std::to_string(complaints - maxProblems) + " more");
    if (step != SQLITE_DONE) {
        result.problems.push_back(ReasonOfCode(step, busyMilliseconds));
        return result;
    }
    result.ok = sawOk && complaints == 0;
    if (!result.ok && result.problems.empty()) result.problems.push_back("the check answered nothing");
    return result;
}

}  // namespace zandb4::tool
