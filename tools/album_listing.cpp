// Text and JSON output of the tags and albums of a catalogue.
#include "album_listing.h"

#include <charconv>

#include "file_listing.h"
#include "json_writer.h"
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

}  // namespace zandb4::tool
