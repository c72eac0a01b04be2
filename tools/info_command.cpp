// "zandb4 info ROOT": report the catalogue under ROOT, changing nothing.
#include <filesystem>
#include <system_error>

#include "catalogue_report.h"
#include "commands.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print the report as one JSON object"},
};

int RunInfo(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (!fs::exists(status)) return report.Fail(kExitNoCatalogue, root, "does not exist");
    if (!fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");

    CatalogueReport catalogue = ReadCatalogueReport(root);
    if (catalogue.catalogue.state == CatalogueState::kMissing)
        return report.Fail(kExitNoCatalogue, root,
                           "holds no catalogue (" + catalogue.catalogueFile.string() + " does not exist)");
    // The report is printed whatever the state of the catalogue: it shows
    // what can be read of each store and why the rest cannot.
    if (invocation.Has("--json"))
        PrintReportJson(catalogue, invocation.out);
    else
        PrintReportText(catalogue, invocation.out);
    if (catalogue.catalogue.state == CatalogueState::kUnreadable)
        return report.Fail(kExitUnreadable, catalogue.catalogueFile.string(), catalogue.catalogue.reason);
    return kExitOk;
}

}  // namespace

const Command& InfoCommand() {
    static const Command command{
        "info",
        "list the folders and stores of the catalogue under ROOT, changing nothing",
        kOperands,
        kOptions,
        "Lists the folders database/ and information/ under ROOT: each entry, and for each\n"
        "store file (.db) its schema version, page size and the row count of every table,\n"
        "or the reason it cannot be read (not a database, damaged, locked by another\n"
        "process past a wait of 2 seconds). Store files are opened read-only: nothing on\n"
        "disk is made or changed.\n"
        "\n"
        "Then, under 'shard folders', for each thumbnail family (thumb, psni, pti, psnf,\n"
        "ptf, albm, grf) and kind (1 in <family>_0s, 2 in <family>_1s), and for the large\n"
        "metadata in meta: whether the folder is there, how many shard files (.db) it\n"
        "holds and how many rows they hold together. A shard file that cannot be read is\n"
        "listed below its folder with the reason, and its rows are not counted. In JSON\n"
        "this is the member \"shards\", an object per folder.\n"
        "\n"
        "Then, under 'feature point sets', for each family (rfp for persons, tfp for pets)\n"
        "and set (working in <family>w, group in <family>g, individual in <family>i): how\n"
        "many shard files the folder holds and how many live points they hold, and for a\n"
        "working set how many points were removed softly (kept until the shard is\n"
        "dropped). A working shard's companion file (_00000000.db, holding the blobs) is\n"
        "not counted as a shard. In JSON this is the member \"feature_points\".\n"
        "\n"
        "It ends with what waits in staging ('staged'), the entries of the memory data\n"
        "store database/Memory.db ('memos') and the rows of the usage log\n"
        "database/UserLog.db ('usage': day values, strings, launch days, histories, edit\n"
        "parameters). A store that is not there is reported as missing, never made; a\n"
        "count that cannot be read (an older usage log without that table) is shown as ?.\n"
        "In JSON these are the members \"staged\", \"memory_data\" and \"usage_log\" (null\n"
        "for a count that cannot be read).\n"
        "\n"
        "The report is printed even when the catalogue database/FileBasic.db cannot be\n"
        "read; the reason then goes to standard error and the exit code is 4. In the text\n"
        "report a tab, newline, carriage return or backslash in a name is written as \\t,\n"
        "\\n, \\r or \\\\.",
        RunInfo,
    };
    return command;
}

}  // namespace zandb4::tool
