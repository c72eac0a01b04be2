// "zandb4 albums ROOT [--json]": list the catalogue's albums, oldest first,
// changing nothing.
#include "album_listing.h"
#include "commands.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print one JSON array of objects instead of lines"},
};

int RunAlbums(const Invocation& invocation) { return RunLabelListing(invocation, true); }

}  // namespace

const Command& AlbumsCommand() {
    static const Command command{
        "albums",
        "list the albums of the catalogue under ROOT, oldest first",
        kOperands,
        kOptions,
        "Lists every album of the catalogue, oldest first (by the shooting date of its\n"
        "oldest file), one line per album with tab-separated fields:\n"
        "  id, name, files, oldest date, latest date (YYYY-MM-DD HH:MM:SS, or - for\n"
        "  none), latitude, longitude, area info\n"
        "files counts the album's managed files, and the dates span all its files; the\n"
        "catalogue keeps these three as of its last commit. A tab, newline, carriage\n"
        "return or backslash inside a name is written as \\t, \\n, \\r or \\\\. With --json\n"
        "the output is one JSON array with an object per album: id, name, files, oldest\n"
        "and latest (null for none), latitude, longitude and area.\n"
        "\n"
        "When the catalogue has no album, nothing (or [] with --json) goes to standard\n"
        "output and 'no albums' to standard error, and the exit code is still 0. albums\n"
        "opens the catalogue read-only and changes nothing on disk; another process's\n"
        "lock is waited for up to 2 seconds, then reported. 'zandb4 ls ROOT --where\n"
        "album=ID' (or album=NAME) lists the files of an album.",
        RunAlbums,
    };
    return command;
}

}  // namespace zandb4::tool
