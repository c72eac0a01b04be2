// What "zandb4 faces" reads: the persons and pets of a catalogue with their
// face and file counts and the unassigned faces, or the files of the persons
// of one name. Through the library's read-only start and its face and file
// managers, inside one read transaction, with row counts read beside the
// lists so that a list cut short by a lock or damage shows as a failure.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "catalogue_search.h"
#include "zandb4/types.h"

namespace zandb4::tool {

struct IndividualRow {
    uint32_t type = 0;  // 1 person, 2 pet
    uint64_t id = 0;
    std::string name;   // UTF-8
    int64_t faces = 0;  // faces given to the individual
    int64_t files = 0;  // distinct files holding one of them
};

struct FacesResult {
    enum class Outcome {
        kRead,         // the fields below hold what was read
        kStartFailed,  // the read-only start answered result
        kReadFailed,   // the catalogue could not be read: reason
        kUnknownName,  // no person has the name asked for: reason
    };
    Outcome outcome = Outcome::kRead;
    HRESULT result = S_OK;
    std::string reason;
    // Persons first, then pets, each by name.
    std::vector<IndividualRow> individuals;
    int64_t unassignedPersonFaces = 0;
    int64_t unassignedPetFaces = 0;
    // The files of the persons of the name asked for, newest first.
    std::vector<FileRow> files;
};

// Every person and pet with its counts, and the faces given to nobody.
FacesResult ReadIndividuals(const std::string& root, int busyMilliseconds);
// The files holding a face of a person named name (every person of that
// name), each once, newest first.
FacesResult ReadFilesOfPerson(const std::string& root, const std::string& name, int busyMilliseconds);

}  // namespace zandb4::tool
