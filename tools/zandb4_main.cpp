// zandb4: command-line access to a ZanDB4 catalogue.
//
//   zandb4 init ROOT   start the library on ROOT, which makes the folders and
//                      stores of a catalogue, and list what is there
//   zandb4 info ROOT   list the same without creating or changing anything
//   zandb4 ls ROOT [--where KEY=VALUE]...
//                      list the catalogue's files that meet every condition
//
// Exit codes: 0 success; 1 bad usage; 2 ROOT does not exist or holds no
// catalogue; 3 the library refused to start.
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "catalogue_report.h"
#include "file_listing.h"
#include "zandb4.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitUsage = 1;
constexpr int kExitNoCatalogue = 2;
constexpr int kExitLibraryFailed = 3;

void PrintUsage(std::ostream& out) {
    out << "usage: zandb4 COMMAND ROOT [OPTIONS]\n"
           "\n"
           "commands:\n"
           "  init ROOT   make (or open) the catalogue under ROOT and list its folders,\n"
           "              store files and their schema versions\n"
           "  info ROOT   list the same for an existing catalogue, changing nothing\n"
           "  ls ROOT [--where KEY=VALUE]...\n"
           "              list the catalogue's files, oldest first, one per line:\n"
           "              id, shooting date, format, favourite, album, path, name\n"
           "\n"
           "conditions of ls (all must hold):\n"
           "  format=N                     file format N\n"
           "  date=YYYY-MM-DD              shot on that day\n"
           "  date=YYYY-MM-DD..YYYY-MM-DD  shot from the first day to the last\n"
           "  favorite=yes|no              marked as favourite or not\n"
           "  path=PREFIX                  file path starting with PREFIX\n"
           "  album=ID                     in album ID\n"
           "\n"
           "options:\n"
           "  -h, --help  show this text\n"
           "\n"
           "exit codes: 0 success, 1 bad usage, 2 ROOT missing or not a catalogue,\n"
           "            3 the library could not start\n";
}

std::string HexResult(HRESULT result) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(result));
    return text;
}

int RunInit(const std::string& root) {
    std::error_code error;
    if (std::filesystem::exists(root, error) && !std::filesystem::is_directory(root, error)) {
        std::cerr << "zandb4: " << root << " is not a folder\n";
        return kExitNoCatalogue;
    }
    std::filesystem::create_directories(root, error);
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = ZanDB4_Initialize(wideRoot.GetString());
    if (started != S_OK) {
        ZanDB4_Finalize();
        std::cerr << "zandb4: the library could not start on " << root << " (" << HexResult(started) << ")\n";
        return kExitLibraryFailed;
    }
    ZanDB4_Finalize();
    zandb4::tool::ReportCatalogue(root, std::cout);
    return kExitOk;
}

int RunInfo(const std::string& root) {
    std::error_code error;
    if (!std::filesystem::is_directory(root, error)) {
        std::cerr << "zandb4: " << root << " does not exist or is not a folder\n";
        return kExitNoCatalogue;
    }
    if (!zandb4::tool::IsCatalogueRoot(root)) {
        std::cerr << "zandb4: " << root << " holds no catalogue (no \"database\" folder)\n";
        return kExitNoCatalogue;
    }
    zandb4::tool::ReportCatalogue(root, std::cout);
    return kExitOk;
}

// "ls ROOT [--where KEY=VALUE]...": the conditions are checked before the
// catalogue is touched.
int RunList(int argc, char** argv) {
    std::vector<zandb4::tool::Condition> conditions;
    for (int i = 3; i < argc; ++i) {
        std::string option = argv[i];
        std::string condition;
        if (option == "--where" && i + 1 < argc) {
            condition = argv[++i];
        } else if (option.rfind("--where=", 0) == 0) {
            condition = option.substr(8);
        } else {
            std::cerr << "zandb4: ls: unknown option '" << option << "'"
                      << (option == "--where" ? " (it needs KEY=VALUE)" : "") << "\n";
            PrintUsage(std::cerr);
            return kExitUsage;
        }
        zandb4::tool::Condition parsed;
        std::string error;
        if (!zandb4::tool::ParseCondition(condition, parsed, error)) {
            std::cerr << "zandb4: ls: bad condition '" << condition << "': " << error << "\n";
            return kExitUsage;
        }
        conditions.push_back(parsed);
    }
    return zandb4::tool::ListFiles(argv[2], conditions, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        PrintUsage(std::cout);
        return kExitOk;
    }
    if (argc >= 3 && std::strcmp(argv[1], "ls") == 0) return RunList(argc, argv);
    if (argc != 3) {
        PrintUsage(std::cerr);
        return kExitUsage;
    }
    std::string command = argv[1];
    std::string root = argv[2];
    if (command == "init") return RunInit(root);
    if (command == "info") return RunInfo(root);
    std::cerr << "zandb4: unknown command '" << command << "'\n";
    PrintUsage(std::cerr);
    return kExitUsage;
}
