// Text and JSON output of the files found by "zandb4 ls".
#include "file_listing.h"

#include <cstdio>

#include "json_writer.h"
#include "text_output.h"
#include "zandb4/foundation.h"

namespace zandb4::tool {

std::string DateText(int64_t packed) {
    if (packed == 0) return "";
    SYSTEMTIME date = CZanTDateTime(packed).m_time;
    char text[64];
    std::snprintf(text, sizeof(text), "%04u-%02u-%02u %02u:%02u:%02u", date.wYear, date.wMonth, date.wDay, date.wHour,
                  date.wMinute, date.wSecond);
    return text;
}

void PrintFilesText(const std::vector<FileRow>& files, std::ostream& out) {
    for (const FileRow& file : files) {
        std::string date = DateText(file.shootingDate);
        WriteRecord(out, {std::to_string(file.id), date.empty() ? "-" : date, std::to_string(file.format),
                          file.favorite ? "1" : "0", std::to_string(file.album), file.path, file.name});
    }
}

void PrintFilesJson(const std::vector<FileRow>& files, std::ostream& out) {
    JsonWriter json(out);
    json.BeginArray();
    for (const FileRow& file : files) {
        json.BeginObject(true);
        json.Key("id");
        json.Unsigned(file.id);
        json.Key("date");
        std::string date = DateText(file.shootingDate);
        if (date.empty())
            json.Null();
        else
            json.String(date);
        json.Key("format");
        json.Unsigned(file.format);
        json.Key("favorite");
        json.Bool(file.favorite);
        json.Key("album");
        json.Unsigned(file.album);
        json.Key("path");
        json.String(file.path);
        json.Key("name");
        json.String(file.name);
        json.EndObject();
    }
    json.EndArray();
    json.Finish();
}

}  // namespace zandb4::tool
