// Text and JSON output of the tags and albums of a catalogue, and the run of
// the two commands that print them.
#include "album_listing.h"

#include <charconv>

#include "catalogue_report.h"
#include "file_listing.h"
#include "json_writer.h"
#include "result_names.h"
#include "text_output.h"

namespace zandb4::tool {
namespace {

std::string DateOrDash(int64_t packed) {
    std::string date = DateText(packed);
    return date.empty() ? "-" : date;
}

void DateOrNull(JsonWriter& json, int64_t packed) {
    std::string date = DateText(packed);
    if (date.empty())
        json.Null();
    else
        json.String(date);
}

}  // namespace

std::string FloatText(float value) {
    char text[32];
    std::to_chars_result written = std::to_chars(text, text + sizeof(text), value);
    return std::string(text, static_cast<size_t>(written.ptr - text));
}

void PrintTagsText(const std::vector<TagRow>& tags, std::ostream& out) {
    for (const TagRow& tag : tags)
        WriteRecord(out, {std::to_string(tag.id), tag.name, std::to_string(tag.type), std::to_string(tag.files)});
}

void PrintTagsJson(const std::vector<TagRow>& tags, std::ostream& out) {
    JsonWriter json(out);
    json.BeginArray();
    for (const TagRow& tag : tags) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(tag.id);
        json.Key("name");
        json.String(tag.name);
        json.Key("type");
        json.Unsigned(tag.type);
        json.Key("files");
        json.Integer(tag.files);
        json.EndObject();
    }
    json.EndArray();
    json.Finish();
}

void PrintAlbumsText(const std::vector<AlbumRow>& albums, std::ostream& out) {
    for (const AlbumRow& album : albums)
        WriteRecord(out, {std::to_string(album.id), album.name, std::to_string(album.files), DateOrDash(album.oldest),
                          DateOrDash(album.latest), FloatText(album.latitude), FloatText(album.longitude),
                          album.areaInfo});
}

void PrintAlbumsJson(const std::vector<AlbumRow>& albums, std::ostream& out) {
    JsonWriter json(out);
    json.BeginArray();
    for (const AlbumRow& album : albums) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(album.id);
        json.Key("name");
        json.String(album.name);
        json.Key("files");
        json.Unsigned(album.files);
        json.Key("oldest");
        DateOrNull(json, album.oldest);
        json.Key("latest");
        DateOrNull(json, album.latest);
        json.Key("latitude");
        json.Float(album.latitude);
        json.Key("longitude");
        json.Float(album.longitude);
        json.Key("area");
        json.String(album.areaInfo);
        json.EndObject();
    }
    json.EndArray();
    json.Finish();
}

int RunLabelListing(const Invocation& invocation, bool albums) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    if (int failed = RequireReadableCatalogue(root, report); failed != kExitOk) return failed;

    LabelsResult read = albums ? ReadAlbums(root, kBusyMilliseconds) : ReadTags(root, kBusyMilliseconds);
    switch (read.outcome) {
        case LabelsResult::Outcome::kStartFailed:
            return report.Fail(kExitLibraryFailed, root,
                               "the library could not start read-only: " + DescribeResult(read.result));
        case LabelsResult::Outcome::kReadFailed:
            return report.Fail(kExitUnreadable, CatalogueFile(root).string(), read.reason);
        case LabelsResult::Outcome::kRead:
            break;
    }
    const bool json = invocation.Has("--json");
    if (albums) {
        json ? PrintAlbumsJson(read.albums, invocation.out) : PrintAlbumsText(read.albums, invocation.out);
        if (read.albums.empty()) report.Note("no albums");
    } else {
        json ? PrintTagsJson(read.tags, invocation.out) : PrintTagsText(read.tags, invocation.out);
        if (read.tags.empty()) report.Note("no tags");
    }
    return kExitOk;
}

}  // namespace zandb4::tool
