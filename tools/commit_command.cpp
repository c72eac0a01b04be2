// "zandb4 commit ROOT [--flags N]": move what is staged into the catalogue
// and commit, as the file manager's Commit does, and tell how many files
// moved and which failed.
#include <filesystem>
#include <string>

#include "catalogue_report.h"
#include "commands.h"
#include "json_writer.h"
#include "result_names.h"
#include "staging_commit.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--flags", "N", false, "the commit flags, 1 to 7 (default 3: move, then commit the catalogue)"},
    {"--json", "", false, "print the outcome as one JSON object"},
};

constexpr uint32_t kDefaultFlags = 3;
constexpr uint32_t kMoveFlag = 2;

// The files that wait in staging, read before the library starts.
std::optional<int64_t> StagedFiles(const std::string& root) {
    StoreContents staging =
        ReadStore(fs::path(root) / "database" / "FileBasicAsync.db", kBusyMilliseconds, RowCounts::kEveryTable);
    for (const TableRows& table : staging.tables)
        if (table.name == "async_file_table") return table.rows;
    return std::nullopt;
}

int RunCommit(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    uint32_t flags = kDefaultFlags;
    if (invocation.Has("--flags")) {
        const std::string& text = invocation.Values("--flags").front();
        if (text.size() != 1 || text[0] < '1' || text[0] > '7')
            return report.UsageError("bad flags '" + text + "': must be a number from 1 to 7");
        flags = static_cast<uint32_t>(text[0] - '0');
    }
    int readable = RequireReadableCatalogue(root, report);
    if (readable != kExitOk) return readable;

    std::optional<int64_t> staged = StagedFiles(root);
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        ZanDB4_Finalize();
        return report.Fail(kExitLibraryFailed, root, "the library could not start: " + DescribeResult(started));
    }
    StagingCommitOutcome outcome = CommitStaging(flags);
    ZanDB4_Finalize();

    const bool moved = (flags & kMoveFlag) != 0 && (outcome.result == S_OK || outcome.result == S_FALSE);
    int64_t movedFiles = moved && staged ? *staged - static_cast<int64_t>(outcome.failed.size()) : 0;
    if (invocation.Has("--json")) {
        JsonWriter json(invocation.out);
        json.BeginObject();
        json.Key("flags");
        json.Integer(flags);
        json.Key("result");
        json.String(DescribeResult(outcome.result));
        json.Key("moved");
        json.Integer(movedFiles);
        json.Key("failed");
        json.BeginArray();
        for (uint64_t id : outcome.failed) json.String(std::to_string(id));
        json.EndArray();
        json.EndObject();
        json.Finish();
    } else {
        if (flags & kMoveFlag) invocation.out << "moved " << movedFiles << " files into the catalogue\n";
        for (uint64_t id : outcome.failed) invocation.out << "failed to move file " << id << "\n";
        if (!outcome.failed.empty())
            invocation.out << "(failed files are gone from staging; their ids are free again and they must be "
                              "added anew)\n";
    }
    if (outcome.result != S_OK && outcome.result != S_FALSE)
        return report.Fail(kExitLibraryFailed, root, "the commit failed: " + DescribeResult(outcome.result));
    return kExitOk;
}

}  // namespace

const Command& CommitCommand() {
    static const Command command{
        "commit",
        "move the files waiting in staging into the catalogue under ROOT and commit",
        kOperands,
        kOptions,
        "Runs the file manager's Commit on the catalogue under ROOT with the flags given:\n"
        "4 commits the staging store and the thumbnails without moving, 2 moves every\n"
        "staged file into the catalogue and commits staging, 1 commits the catalogue, then\n"
        "the thumbnails and the large metadata. Flags add up; the default is 3. Prints how\n"
        "many files moved and the id of each file that failed to move (for instance\n"
        "because a file of the same path is in the catalogue): such a file is gone from\n"
        "staging and its id is free again. Exit code 3 when a step of the commit failed.",
        RunCommit,
    };
    return command;
}

}  // namespace zandb4::tool
