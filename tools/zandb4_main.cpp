// zandb4: command-line access to a ZanDB4 catalogue. The command table is
// here; everything the commands share is in command.h, each command in a
// file of its own.
#include <unistd.h>

#include <iostream>

#include "command.h"
#include "commands.h"
#include "progress_reporter.h"

int main(int argc, char** argv) {
    using namespace zandb4::tool;
    const Command* commands[] = {&InitCommand(), &InfoCommand(), &ListCommand(), &ThumbCommand(), &CommitCommand(),
                                 &TagsCommand(), &AlbumsCommand(), &ImportCommand(),
                                 &FacesCommand(), &StatsCommand(), &AppLogCommand(),
                                 &GpsImportCommand(), &GpsGeotagCommand(), &GpsListCommand(), &UpgradeCommand(),
                                 &CompactCommand(), &BackupCommand(), &CheckCommand()};
    std::span<const char* const> arguments(argv + 1, static_cast<size_t>(argc > 0 ? argc - 1 : 0));
    int code = RunTool(commands, arguments, std::cout, std::cerr, IsTerminal(STDERR_FILENO), IsTerminal(STDOUT_FILENO));
    std::cout.flush();
    return code;
}
