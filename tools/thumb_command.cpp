// "zandb4 thumb ROOT ID [--kind 1|2] [--family NAME] [-o FILE]": write one
// stored thumbnail's bytes, changing nothing under ROOT.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "catalogue_report.h"
#include "commands.h"
#include "shard_reader.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT", "ID"};
constexpr OptionSpec kOptions[] = {
    {"--kind", "1|2", false, "the kind of thumbnail (default 1)"},
    {"--family", "NAME", false, "thumb, psni, pti, psnf, ptf, albm or grf (default thumb)"},
    {"-o", "FILE", false, "write to FILE ('-': standard output, even a terminal)"},
};
constexpr char kStandardOutput[] = "-";

// A whole decimal number from 0 to 2^64 - 1: digits only, no sign, no blank.
bool ParseId(const std::string& text, uint64_t& id) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return false;
    uint64_t value = 0;
    for (char digit : text) {
        uint64_t figure = static_cast<uint64_t>(digit - '0');
        if (value > (UINT64_MAX - figure) / 10) return false;
        value = value * 10 + figure;
    }
    id = value;
    return true;
}

std::string FamilyList() {
    std::string list;
    for (std::string_view family : kThumbnailFamilies) list += (list.empty() ? "" : ", ") + std::string(family);
    return list;
}

std::string ErrnoText(int error) {
    return std::strerror(error);
}

// Writes all of bytes to the file descriptor; 0 or the errno of the failure.
int WriteAll(int descriptor, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t written = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        done += static_cast<size_t>(written);
    }
    return 0;
}

// The bytes into the file at path, made or emptied first. A file left half
// written by a failure is removed, so that a failure leaves no thumbnail
// that looks whole.
int WriteToFile(const std::string& path, const std::string& bytes, const Reporter& report) {
    std::error_code error;
    if (fs::is_directory(path, error)) return report.Fail(kExitCannotWrite, path, "cannot be written (it is a folder)");
    int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) return report.Fail(kExitCannotWrite, path, "cannot be written (" + ErrnoText(errno) + ")");
    int failure = WriteAll(descriptor, bytes);
    if (::close(descriptor) != 0 && failure == 0) failure = errno;
    if (failure == 0) return kExitOk;
    if (fs::is_regular_file(path, error)) fs::remove(path, error);
    return report.Fail(kExitCannotWrite, path, "cannot be written (" + ErrnoText(failure) + ")");
}

int RunThumb(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const std::string& idText = invocation.operands[1];
    const Reporter& report = invocation.report;

    // The command line is checked whole before anything is read.
    uint64_t id = 0;
    if (!ParseId(idText, id))
        return report.UsageError("bad ID '" + idText + "': not a whole number from 0 to 18446744073709551615");
    int kind = 1;
    if (invocation.Has("--kind")) {
        const std::string& kindText = invocation.Values("--kind").front();
        if (kindText != "1" && kindText != "2") return report.UsageError("bad kind '" + kindText + "': must be 1 or 2");
        kind = kindText == "1" ? 1 : 2;
    }
    std::string family = "thumb";
    if (invocation.Has("--family")) {
        family = invocation.Values("--family").front();
        if (!IsThumbnailFamily(family))
            return report.UsageError("unknown family '" + family + "': must be one of " + FamilyList());
    }
    std::string output = kStandardOutput;
    bool outputNamed = invocation.Has("-o");
    if (outputNamed) {
        output = invocation.Values("-o").front();
        if (output.empty()) return report.UsageError("-o needs a FILE name ('-' for standard output)");
    }
    bool toStandardOutput = output == kStandardOutput;
    // An image dumped on a terminal is of no use and can upset it.
    if (toStandardOutput && !outputNamed && invocation.outIsTerminal)
        return report.UsageError(
            "standard output is a terminal: give -o FILE, or -o - to write the bytes to the terminal all the same");

    std::error_code error;
    fs::file_status status = fs::status(root, error);
    if (!fs::exists(status)) return report.Fail(kExitNoCatalogue, root, "does not exist");
    if (!fs::is_directory(status)) return report.Fail(kExitNoCatalogue, root, "is not a folder");
    fs::path catalogue = CatalogueFile(root);
    if (!fs::exists(catalogue, error))
        return report.Fail(kExitNoCatalogue, root, "holds no catalogue (" + catalogue.string() + " does not exist)");

    std::string none = "no thumbnail of kind " + std::to_string(kind) + " for " + std::string(KeyOfFamily(family)) +
                       " " + std::to_string(id);
    fs::path folder = fs::path(root) / "database" / ThumbnailFolderName(family, kind);
    status = fs::status(folder, error);
    if (!fs::exists(status)) return report.Fail(kExitUsage, folder.string(), none + " (the folder does not exist)");
    if (!fs::is_directory(status)) return report.Fail(kExitUnreadable, folder.string(), "is not a folder");
    fs::path shard = folder / ThumbnailShardName(id);
    status = fs::status(shard, error);
    if (!fs::exists(status)) return report.Fail(kExitUsage, shard.string(), none + " (the shard file does not exist)");
    if (fs::is_directory(status))
        return report.Fail(kExitUnreadable, shard.string(), "cannot be opened (it is a folder)");

    ThumbnailRead read = ReadThumbnail(shard, id, kBusyMilliseconds);
    switch (read.outcome) {
        case ThumbnailRead::Outcome::kNoRow:
            return report.Fail(kExitUsage, shard.string(), none);
        case ThumbnailRead::Outcome::kNoData:
            return report.Fail(kExitUnreadable, shard.string(),
                               "the thumbnail of kind " + std::to_string(kind) + " for " +
                                   std::string(KeyOfFamily(family)) + " " + std::to_string(id) +
                                   " holds no bytes (its thumbnail_data is empty)");
        case ThumbnailRead::Outcome::kUnreadable:
            return report.Fail(kExitUnreadable, shard.string(), read.reason);
        case ThumbnailRead::Outcome::kFound:
            break;
    }

    if (!toStandardOutput) return WriteToFile(output, read.bytes, report);
    invocation.out.write(read.bytes.data(), static_cast<std::streamsize>(read.bytes.size()));
    invocation.out.flush();
    if (!invocation.out) return report.Fail(kExitCannotWrite, "standard output", "cannot be written");
    return kExitOk;
}

}  // namespace

const Command& ThumbCommand() {
    static const Command command{
        "thumb",
        "write one stored thumbnail's bytes to a file or standard output",
        kOperands,
        kOptions,
        "Writes the bytes of the thumbnail stored for ID, exactly as they were stored, to\n"
        "standard output or, with -o FILE, to FILE. ID is a whole number from 0 to\n"
        "18446744073709551615: a file id for the family thumb (the default), else the\n"
        "family's own identifier (psni a person, pti a pet, psnf a person's face, ptf a\n"
        "pet's face, albm an album, grf a face group).\n"
        "\n"
        "The thumbnail is looked for where the library keeps it: the shard file of ID in\n"
        "database/<family>_0s (kind 1) or database/<family>_1s (kind 2), named by ID /\n"
        "10000 as eight upper-case hexadecimal digits, as database/thumb_0s/00000000.db\n"
        "for ids 0 to 9999. The shard file is opened read-only: nothing under ROOT is\n"
        "made or changed, and a missing folder or shard file is not made. Another\n"
        "process's lock is waited for up to 2 seconds, then reported.\n"
        "\n"
        "When standard output is a terminal and -o is not given, nothing is written and\n"
        "the exit code is 1: give -o FILE, or -o - to write to the terminal all the same.\n"
        "FILE is written only once the thumbnail has been read, so a failure leaves no\n"
        "file; a file that cannot be written whole is removed.\n"
        "\n"
        "No thumbnail for ID (no row, no shard file, no folder) is exit 1 with the shard\n"
        "file (or the missing folder) named. A shard file that cannot be read (not a database, damaged, locked,\n"
        "without thumbnail_table, or whose row holds no bytes) is exit 4. ROOT must hold\n"
        "a catalogue (database/FileBasic.db); the catalogue itself is not read.",
        RunThumb,
    };
    return command;
}

}  // namespace zandb4::tool
