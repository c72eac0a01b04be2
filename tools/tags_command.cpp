// "zandb4 tags ROOT [--json]": list the catalogue's tags with the number of
// files linked to each, changing nothing.
#include "album_listing.h"
#include "commands.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--json", "", false, "print one JSON array of objects instead of lines"},
};

int RunTags(const Invocation& invocation) { return RunLabelListing(invocation, false); }

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
