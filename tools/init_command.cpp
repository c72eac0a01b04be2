// "zandb4 init ROOT": make (or open) the catalogue under ROOT and report it.
#include <filesystem>
#include <system_error>

#include "catalogue_report.h"
#include "commands.h"
#include "result_names.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print the report as one JSON object"},
};

int RunInit(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (fs::exists(status) && !fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");

    // A catalogue that is there is checked before the library opens it, so
    // that a damaged, locked or newer one is reported and left alone.
    fs::path file = CatalogueFile(root);
    StoreContents existing = ReadStore(file, kBusyMilliseconds, RowCounts::kFileTableOnly);
    if (existing.problem != StoreProblem::kMissing) {
        CatalogueCheck check = CheckCatalogue(existing);
        if (check.state != CatalogueState::kReadable) return report.Fail(kExitUnreadable, file.string(), check.reason);
    }

    fs::create_directories(root, error);
    if (error) return report.Fail(kExitNoCatalogue, root, "cannot be made (" + error.message() + ")");
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    // Finalize undoes the count of Initialize even after a failed start.
    ZanDB4_Finalize();
    if (started != S_OK)
        return report.Fail(kExitLibraryFailed, root, "the library could not start: " + DescribeResult(started));

    CatalogueReport catalogue = ReadCatalogueReport(root);
    if (invocation.Has("--json"))
        PrintReportJson(catalogue, invocation.out);
    else
        PrintReportText(catalogue, invocation.out);
    if (catalogue.catalogue.state != CatalogueState::kReadable)
        return report.Fail(kExitUnreadable, file.string(), "was not made: " + catalogue.catalogue.reason);
    return kExitOk;
}

}  // namespace

const Command& InitCommand() {
    static const Command command{
        "init",
        "make (or open) the catalogue under ROOT and list its folders and stores",
        kOperands,
        kOptions,
        "Makes the catalogue under ROOT when it is not there: the folder ROOT, database/\n"
        "with the catalogue FileBasic.db, and information/. A catalogue that is there is\n"
        "opened as it is. Then lists ROOT's folders and store files as 'zandb4 info' does.\n"
        "A catalogue that cannot be read (damaged, locked by another process past a wait\n"
        "of 2 seconds, or of a newer major version) is reported and left untouched.",
        RunInit,
    };
    return command;
}

}  // namespace zandb4::tool
