// "zandb4 ls ROOT [--where KEY=VALUE]... [--json]": list the catalogue's
// files that meet every condition, changing nothing.
#include "catalogue_report.h"
#include "catalogue_search.h"
#include "commands.h"
#include "conditions.h"
#include "file_listing.h"
#include "result_names.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--where", "KEY=VALUE", true, "list only files that meet the condition (see above)"},
    {"--json", "", false, "print one JSON array of objects instead of lines"},
};

int RunList(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    // The conditions are checked before the catalogue is touched.
    std::vector<Condition> conditions;
    for (const std::string& text : invocation.Values("--where")) {
        Condition condition;
        std::string error;
        if (!ParseCondition(text, condition, error)) return report.UsageError("bad condition '" + text + "': " + error);
        conditions.push_back(condition);
    }
    if (int failed = RequireReadableCatalogue(root, report); failed != kExitOk) return failed;

    SearchResult search = SearchFiles(root, conditions, kBusyMilliseconds);
    switch (search.outcome) {
        case SearchResult::Outcome::kStartFailed:
            return report.Fail(kExitLibraryFailed, root,
                               "the library could not start read-only: " + DescribeResult(search.result));
        case SearchResult::Outcome::kQueryFailed:
            return report.Fail(kExitLibraryFailed, root,
                               "the search could not be built: " + DescribeResult(search.result));
        case SearchResult::Outcome::kReadFailed:
            return report.Fail(kExitUnreadable, CatalogueFile(root).string(), search.reason);
        case SearchResult::Outcome::kUnknownName:
            // The condition was well formed but names nothing this catalogue
            // holds: a mistake of the command line, told against the file.
            return report.Fail(kExitUsage, CatalogueFile(root).string(), search.reason);
        case SearchResult::Outcome::kFound:
            break;
    }
    if (invocation.Has("--json"))
        PrintFilesJson(search.files, invocation.out);
    else
        PrintFilesText(search.files, invocation.out);
    if (search.files.empty()) report.Note("no files");
    return kExitOk;
}

}  // namespace

const Command& ListCommand() {
    static const Command command{
        "ls",
        "list the files of the catalogue under ROOT, oldest first",
        kOperands,
        kOptions,
        "Lists the catalogue's files that meet every condition, oldest first (by shooting\n"
        "date, then name), one line per file with tab-separated fields:\n"
        "  id, shooting date (YYYY-MM-DD HH:MM:SS, or - for none), format,\n"
        "  favourite (1 or 0), album id, path, name\n"
        "A tab, newline, carriage return or backslash inside a field is written as \\t, \\n,\n"
        "\\r or \\\\, so that each line is one file. With --json the output is one JSON array\n"
        "with an object per file: id, date (null for none), format, favorite (true or\n"
        "false), album, path and name.\n"
        "\n"
        "When no file matches, nothing (or [] with --json) goes to standard output and\n"
        "'no files' to standard error, and the exit code is still 0. ls opens the catalogue\n"
        "read-only and changes nothing on disk; another process's lock is waited for up to\n"
        "2 seconds, then reported.\n"
        "\n"
        "conditions (--where KEY=VALUE, each must hold):\n"
        "  format=N                     file format N\n"
        "  date=YYYY-MM-DD              shot on that day (a real calendar day)\n"
        "  date=YYYY-MM-DD..YYYY-MM-DD  shot from the first day to the last, both whole;\n"
        "                               the first must not be after the last\n"
        "  favorite=yes|no              marked as favourite or not\n"
        "  path=PREFIX                  the stored file path starts with PREFIX exactly:\n"
        "                               case counts, and % _ ' \" are plain characters\n"
        "  album=ID                     in album ID (a value of digits only is an id)\n"
        "  album=NAME                   in the album named NAME exactly (case counts); a\n"
        "                               name that no album has, or that several albums\n"
        "                               share (their ids are listed), is exit 1\n"
        "  tag=NAME                     linked to the tag named NAME exactly (case\n"
        "                               counts); a name that no tag has is exit 1\n"
        "'zandb4 tags ROOT' and 'zandb4 albums ROOT' list the names.",
        RunList,
    };
    return command;
}

}  // namespace zandb4::tool
