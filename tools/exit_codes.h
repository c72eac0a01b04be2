// The exit codes of the zandb4 tool, defined once: every command answers one
// of these, and --help prints the table below, so the code and the help text
// cannot drift apart.
#pragma once

#include <span>

namespace zandb4::tool {

enum ExitCode : int {
    kExitOk = 0,
    kExitUsage = 1,
    kExitNoCatalogue = 2,
    kExitLibraryFailed = 3,
    kExitUnreadable = 4,
    kExitCannotWrite = 5,
    kExitInterrupted = 6,
};

struct ExitCodeMeaning {
    ExitCode code;
    const char* meaning;
};

// Every exit code with its meaning in plain words, in code order.
inline constexpr ExitCodeMeaning kExitCodeMeanings[] = {
    {kExitOk, "success (also an ls that finds no file)"},
    {kExitUsage,
     "bad usage: unknown command or option, missing or bad argument, bad condition; for ls also a tag or "
     "album name that the catalogue does not hold, or an album name that several albums share; for thumb "
     "also no such thumbnail; for gps import also a FILE that was not imported (missing, not GPX, no usable "
     "track point) or a track point skipped as unusable; for check also a store or shard file that is not "
     "sound, a dead link, or a check that could not run"},
    {kExitNoCatalogue,
     "ROOT missing, not a folder, or holding no catalogue (database/FileBasic.db); for import also a FOLDER "
     "missing or not a folder; for stats no usage log (database/UserLog.db); for applog no application log "
     "(information/appcahce.db)"},
    {kExitLibraryFailed,
     "the library could not start; for commit also a step of the commit failed; for import also the "
     "catalogue refused a file or a commit (the open batch is rolled back); for gps import and gps geotag also "
     "the GPS log store or the catalogue refused a write or a commit; for upgrade also a store still behind "
     "afterwards; for compact also a store that failed to compact"},
    {kExitUnreadable,
     "the catalogue cannot be read or made: damaged, not a catalogue, locked by another "
     "process, or of a newer major version (for upgrade, compact and backup also any other store of the "
     "database folder); for thumb the shard file cannot be read; for stats the usage "
     "log (database/UserLog.db) cannot be read; for applog the application log (information/appcahce.db) "
     "cannot be read; for gps ls and gps geotag the GPS log store (database/Location.db) cannot be read"},
    {kExitCannotWrite,
     "the output cannot be written (thumb's -o FILE, or standard output); for backup the backup folder "
     "(a file stands there, or the disk is full or read-only)"},
    {kExitInterrupted,
     "import stopped by Ctrl-C (SIGINT) or SIGTERM: the batches committed before stay, the open batch was "
     "rolled back"},
};

}  // namespace zandb4::tool
