// "zandb4 tags ROOT [--json]": list the catalogue's tags with the number of
// files linked to each, changing nothing.
#include "album_listing.h"
#include "album_tag_reader.h"
#include "catalogue_report.h"
#include "commands.h"
#include "result_names.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print one JSON array of objects instead of lines"},
};

int RunTags(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    if (int failed = RequireReadableCatalogue(root, report); failed != kExitOk) return failed;

    LabelsResult read = ReadTags(root, kBusyMilliseconds);
    switch (read.outcome) {
        case LabelsResult::Outcome::kStartFailed:
            return report.Fail(kExitLibraryFailed, root,
                               "the library could not start read-only: " + DescribeResult(read.result));
        case LabelsResult::Outcome::kReadFailed:
            return report.Fail(kExitUnreadable, CatalogueFile(root).string(), read.reason);
        case LabelsResult::Outcome::kRead:
            break;
    }
    if (invocation.Has("--json"))
        PrintTagsJson(read.tags, invocation.out);
    else
        PrintTagsText(read.tags, invocation.out);
    if (read.tags.empty()) report.Note("no tags");
    return kExitOk;
}

}  // namespace

const Command& TagsCommand() {
    static const Command command{
        "tags",
        "list the tags of the catalogue under ROOT with their file counts",
        kOperands,
        kOptions,
        "Lists every tag of the catalogue in the order the catalogue keeps them, one line\n"
        "per tag with tab-separated fields:\n"
        "  id, name, type, files\n"
        "where files is the number of links from files to the tag (a file linked twice\n"
        "counts twice). A tab, newline, carriage return or backslash inside a name is\n"
        "written as \\t, \\n, \\r or \\\\. With --json the output is one JSON array with an\n"
        "object per tag: id, name, type and files.\n"
        "\n"
        "When the catalogue has no tag, nothing (or [] with --json) goes to standard\n"
        "output and 'no tags' to standard error, and the exit code is still 0. tags opens\n"
        "the catalogue read-only and changes nothing on disk; another process's lock is\n"
        "waited for up to 2 seconds, then reported. 'zandb4 ls ROOT --where tag=NAME'\n"
        "lists the files of a tag.",
        RunTags,
    };
    return command;
}

}  // namespace zandb4::tool
