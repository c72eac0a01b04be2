// "zandb4 faces ROOT [--person NAME] [--json]": the persons and pets of the
// catalogue with their face and file counts, or the files of one person,
// changing nothing.
#include "catalogue_report.h"
#include "commands.h"
#include "face_reader.h"
#include "file_listing.h"
#include "json_writer.h"
#include "result_names.h"
#include "text_output.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kOperands[] = {"ROOT"};
constexpr OptionSpec kOptions[] = {
    {"--person", "NAME", false, "list the files holding a face of the person(s) named NAME instead"},
    {"--json", "", false, "print JSON instead of lines"},
};

const char* KindOf(uint32_t type) { return type == 1 ? "person" : "pet"; }

void PrintIndividualsText(const FacesResult& read, std::ostream& out) {
    for (const IndividualRow& row : read.individuals)
        WriteRecord(out, {KindOf(row.type), std::to_string(row.id), row.name, std::to_string(row.faces),
                          std::to_string(row.files)});
    WriteRecord(out, {"unassigned", "person", std::to_string(read.unassignedPersonFaces)});
    WriteRecord(out, {"unassigned", "pet", std::to_string(read.unassignedPetFaces)});
}

void PrintIndividualsJson(const FacesResult& read, std::ostream& out) {
    JsonWriter json(out);
    json.BeginObject(false);
    for (uint32_t type : {1u, 2u}) {
        json.Key(type == 1 ? "persons" : "pets");
        json.BeginArray();
        for (const IndividualRow& row : read.individuals) {
            if (row.type != type) continue;
            json.BeginObject(true);
            json.Key("id");
            json.Unsigned(row.id);
            json.Key("name");
            json.String(row.name);
            json.Key("faces");
            json.Integer(row.faces);
            json.Key("files");
            json.Integer(row.files);
            json.EndObject();
        }
        json.EndArray();
    }
    json.Key("unassigned");
    json.BeginObject(true);
    json.Key("persons");
    json.Integer(read.unassignedPersonFaces);
    json.Key("pets");
    json.Integer(read.unassignedPetFaces);
    json.EndObject();
    json.EndObject();
    json.Finish();
}

int RunFaces(const Invocation& invocation) {
    const std::string& root = invocation.operands[0];
    const Reporter& report = invocation.report;
    const bool person = invocation.Has("--person");
    if (person && invocation.Values("--person").front().empty()) return report.UsageError("--person needs a name");
    if (int failed = RequireReadableCatalogue(root, report); failed != kExitOk) return failed;

    FacesResult read = person ? ReadFilesOfPerson(root, invocation.Values("--person").front(), kBusyMilliseconds)
                              : ReadIndividuals(root, kBusyMilliseconds);
    switch (read.outcome) {
        case FacesResult::Outcome::kStartFailed:
            return report.Fail(kExitLibraryFailed, root,
                               "the library could not start read-only: " + DescribeResult(read.result));
        case FacesResult::Outcome::kReadFailed:
            return report.Fail(kExitUnreadable, CatalogueFile(root).string(), read.reason);
        case FacesResult::Outcome::kUnknownName:
            return report.Fail(kExitUsage, CatalogueFile(root).string(), read.reason);
        case FacesResult::Outcome::kRead:
            break;
    }
    const bool json = invocation.Has("--json");
    if (person) {
        json ? PrintFilesJson(read.files, invocation.out) : PrintFilesText(read.files, invocation.out);
        if (read.files.empty()) report.Note("no files");
        return kExitOk;
    }
    json ? PrintIndividualsJson(read, invocation.out) : PrintIndividualsText(read, invocation.out);
    if (read.individuals.empty()) report.Note("no persons or pets");
    return kExitOk;
}

}  // namespace

const Command& FacesCommand() {
    static const Command command{
        "faces",
        "list the persons and pets of the catalogue under ROOT, or the files of one person",
        kOperands,
        kOptions,
        "Lists every person, then every pet, each by name, one line per individual with\n"
        "tab-separated fields:\n"
        "  kind (person or pet), id, name, faces, files\n"
        "where faces is the number of faces given to the individual and files the number\n"
        "of files holding at least one of them (counted now, for pets too). Two lines\n"
        "follow with the faces given to nobody:\n"
        "  unassigned, person, N\n"
        "  unassigned, pet, N\n"
        "Faces still waiting in the staging store are not counted. A tab, newline,\n"
        "carriage return or backslash inside a name is written as \\t, \\n, \\r or \\\\. With\n"
        "--json the output is one object: persons and pets (arrays of objects with id,\n"
        "name, faces and files) and unassigned (persons, pets).\n"
        "\n"
        "With --person NAME the files holding a face of the person named NAME (of every\n"
        "person of that name) are listed instead, newest first, in the lines (or JSON)\n"
        "of 'zandb4 ls'. A name that no person has is a usage error (exit code 1).\n"
        "\n"
        "faces opens the catalogue read-only and changes nothing on disk; another\n"
        "process's lock is waited for up to 2 seconds, then reported.",
        RunFaces,
    };
    return command;
}

}  // namespace zandb4::tool
