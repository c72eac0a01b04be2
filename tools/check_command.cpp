// "zandb4 check ROOT [--files] [--json]": whether every store and shard file
// under ROOT is sound (SQLite's integrity check), and the references the
// library's dead-link check finds pointing at rows or files that are gone.
// Only reads: files are opened read-only and the library starts read-only.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "catalogue_report.h"
#include "commands.h"
#include "frame/com_ptr.h"
#include "integrity_check.h"
#include "json_writer.h"
#include "library/tool_access.h"
#include "progress_reporter.h"
#include "result_names.h"
#include "zandb4.h"

namespace fs = std::filesystem;

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--files", "", false, "also look on disk for every catalogued file (slow on a large catalogue)"},
    {"--json", "", false, "print the findings as one JSON object"},
};

struct DeadLinkCount {
    const char* key;    // the JSON key
    const char* label;  // the text line
    uint32_t count = 0;
};

// The counts of the library's check, in the order of its info object.
std::vector<DeadLinkCount> ReadCounts(IZanDB4DeadLinkInfo& info, bool filesChecked) {
    uint32_t dead = 0, meta = 0, largeMeta = 0, linkFile = 0, linkTag = 0, thumbnails = 0, imageFiles = 0,
             albumThumbnails = 0, faceFile = 0, facePerson = 0, facePet = 0, psnf = 0, ptf = 0, psni = 0, pti = 0;
    info.GetDeadFileCount(&dead);
    info.GetOrphanMetaCount(&meta);
    info.GetOrphanLargeMetaCount(&largeMeta);
    info.GetOrphanTagLinkCounts(&linkFile, &linkTag);
    info.GetOrphanThumbnailCount(&thumbnails);
    info.GetOrphanImageFileCount(&imageFiles);
    info.GetOrphanAlbumThumbnailCount(&albumThumbnails);
    info.GetOrphanFaceCounts(&faceFile, &facePerson, &facePet);
    info.GetOrphanFaceImageCounts(&psnf, &ptf);
    info.GetOrphanIconCounts(&psni, &pti);
    std::vector<DeadLinkCount> counts;
    if (filesChecked) counts.push_back({"dead_files", "catalogued files missing on disk", dead});
    counts.push_back({"orphan_meta", "metadata rows without their file", meta});
    counts.push_back({"orphan_large_meta", "large metadata rows without their file", largeMeta});
    counts.push_back({"orphan_tag_links_file", "tag links without their file", linkFile});
    counts.push_back({"orphan_tag_links_tag", "tag links without their tag", linkTag});
    counts.push_back({"orphan_thumbnails", "file thumbnails without their file", thumbnails});
    counts.push_back({"orphan_image_files", "edit file entries without their file", imageFiles});
    counts.push_back({"orphan_album_thumbnails", "album thumbnails without their album", albumThumbnails});
    counts.push_back({"orphan_faces_file", "faces without their file", faceFile});
    counts.push_back({"orphan_faces_person", "person faces without their person", facePerson});
    counts.push_back({"orphan_faces_pet", "pet faces without their pet", facePet});
    counts.push_back({"orphan_person_face_thumbnails", "person face thumbnails without their person", psnf});
    counts.push_back({"orphan_pet_face_thumbnails", "pet face thumbnails without their pet", ptf});
    counts.push_back({"orphan_person_icons", "person icons without their person", psni});
    // The library's own slot for pet icons repeats the pet face thumbnail
    // count; pet icons are not examined, so the tool does not show it as a
    // finding of its own.
    (void)pti;
    return counts;
}

struct DeadLinkOutcome {
    bool ran = false;
    std::string problem;  // why the check could not run
    std::vector<DeadLinkCount> counts;
};

DeadLinkOutcome CheckDeadLinks(const std::string& root, bool checkFiles) {
    DeadLinkOutcome outcome;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    HRESULT started = tool_access::StartReadOnly(wideRoot.GetString(), kBusyMilliseconds);
    if (started != S_OK) {
        outcome.problem = "the library could not start on the catalogue: " + DescribeResult(started);
        return outcome;
    }
    {
        tool_access::CatalogueRead read;
        ComPtr<IZanDB4DBUtility> utility;
        ComPtr<IZanDB4DeadLinkInfo> info;
        HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, reinterpret_cast<void**>(utility.Receive()));
        HRESULT checked = made == S_OK ? utility->CheckDeadLinks(info.Receive(), checkFiles ? 1 : 0) : made;
        if (read.BeginCode() != 0 || checked != S_OK || !info) {
            outcome.problem = read.BeginCode() != 0 ? "the catalogue cannot be read"
                                                     : "the dead-link check failed: " + DescribeResult(checked);
        } else {
            outcome.ran = true;
            outcome.counts = ReadCounts(*info.Get(), checkFiles);
        }
    }
    ZanDB4_Finalize();
    return outcome;
}

int RunCheck(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    std::error_code error;
    if (!fs::is_directory(root, error)) return report.Fail(kExitNoCatalogue, root, "no such folder");
    if (!fs::exists(CatalogueFile(root), error))
        return report.Fail(kExitNoCatalogue, CatalogueFile(root).string(), "no catalogue here");

    const std::vector<fs::path> files = StoreFilesUnder(root);
    std::vector<FileIntegrity> checked;
    checked.reserve(files.size());
    {
        ProgressReporter progress(invocation.err, invocation.errIsTerminal, "check", files.size());
        const auto begin = std::chrono::steady_clock::now();
        progress.ShowRate("files", [begin] {
            return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        });
        for (const fs::path& file : files) {
            checked.push_back(CheckFileIntegrity(root, file, kBusyMilliseconds));
            progress.Update(checked.size());
        }
        progress.Finish();
    }
    bool catalogueSound = false;
    size_t unsound = 0;
    for (const FileIntegrity& file : checked) {
        if (!file.ok) ++unsound;
        if (file.shown == "database/FileBasic.db") catalogueSound = file.ok;
    }
    // Counting over a damaged catalogue would count nonsense.
    DeadLinkOutcome deadLinks;
    if (catalogueSound)
        deadLinks = CheckDeadLinks(root, invocation.Has("--files"));
    else
        deadLinks.problem = "not counted: the catalogue is not sound";
    uint64_t deadLinkTotal = 0;
    for (const DeadLinkCount& count : deadLinks.counts) deadLinkTotal += count.count;

    if (invocation.Has("--json")) {
        JsonWriter json(invocation.out);
        json.BeginObject();
        json.Key("files_checked");
        json.Unsigned(checked.size());
        json.Key("unsound");
        json.BeginArray();
        for (const FileIntegrity& file : checked) {
            if (file.ok) continue;
            json.BeginObject(true);
            json.Key("file");
            json.String(file.shown);
            json.Key("problems");
            json.BeginArray(true);
            for (const std::string& problem : file.problems) json.String(problem);
            json.EndArray();
            json.EndObject();
        }
        json.EndArray();
        json.Key("dead_links");
        if (deadLinks.ran) {
            json.BeginObject();
            for (const DeadLinkCount& count : deadLinks.counts) {
                json.Key(count.key);
                json.Unsigned(count.count);
            }
            json.EndObject();
        } else {
            json.Null();
        }
        json.Key("dead_links_problem");
        if (deadLinks.ran)
            json.Null();
        else
            json.String(deadLinks.problem);
        json.Key("sound");
        json.Bool(unsound == 0 && deadLinks.ran && deadLinkTotal == 0);
        json.EndObject();
        json.Finish();
    } else {
        invocation.out << checked.size() << " store and shard files checked, " << unsound << " not sound\n";
        for (const FileIntegrity& file : checked) {
            if (file.ok) continue;
            invocation.out << file.shown << ": not sound\n";
            for (const std::string& problem : file.problems) invocation.out << "  " << problem << "\n";
        }
        if (deadLinks.ran) {
            invocation.out << "dead links: " << deadLinkTotal << "\n";
            for (const DeadLinkCount& count : deadLinks.counts)
                invocation.out << "  " << count.label << ": " << count.count << "\n";
        } else {
            invocation.out << "dead links: " << deadLinks.problem << "\n";
        }
    }
    // Each unsound file is named on standard error as well, so that a script
    // that keeps only the exit code and the errors still learns which.
    for (const FileIntegrity& file : checked)
        if (!file.ok)
            report.Fail(kExitUsage, (fs::path(root) / file.shown).string(),
                        file.problems.empty() ? "not sound" : "not sound: " + file.problems.front());
    if (!deadLinks.ran && catalogueSound)
        report.Fail(kExitUsage, CatalogueFile(root).string(), deadLinks.problem);
    if (unsound > 0 || !deadLinks.ran || deadLinkTotal > 0) return kExitUsage;
    return kExitOk;
}

}  // namespace

const Command& CheckCommand() {
    static const Command command{
        "check",
        "check every store and shard file under ROOT and count the dead links",
        kOperands,
        kOptions,
        "Runs SQLite's integrity check on every store and shard file under ROOT/database\n"
        "and ROOT/information, then the library's dead-link check on the catalogue:\n"
        "metadata, tag links, thumbnails, faces and face images whose file, tag, album,\n"
        "person or pet is gone; with --files also the catalogued files missing on disk.\n"
        "Only reads: nothing under ROOT changes. Each file that is not sound is named on\n"
        "standard error. Exit code 1 when anything is wrong (a file not sound, a dead\n"
        "link, or the check could not run), so that scripts can use it; 0 when all is well.",
        RunCheck,
    };
    return command;
}

}  // namespace zandb4::tool
