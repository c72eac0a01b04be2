// The reads of "zandb4 faces" through the read-only library.
#include "face_reader.h"

#include <sqlite3.h>

#include "frame/com_ptr.h"
#include "library/tool_access.h"
#include "store_reader.h"
#include "zandb4.h"

namespace zandb4::tool {
namespace {

// Counts beside the manager's lists. The library has no per-individual face
// count of its own, and its pet file count has always been 0, so the tool
// counts both itself, for persons and pets alike.
struct TwinCounts {
    uint32_t type;
    const WCHAR* individuals;
    const WCHAR* facesOf;
    const WCHAR* filesOf;
    const WCHAR* unassigned;
};

constexpr TwinCounts kTwins[] = {
    {1, u"SELECT COUNT(*) FROM person_table", u"SELECT COUNT(*) FROM person_face_table WHERE person_id=?",
     u"SELECT COUNT(DISTINCT file_id) FROM person_face_table WHERE person_id=?",
     u"SELECT COUNT(*) FROM person_face_table WHERE person_id=0"},
    {2, u"SELECT COUNT(*) FROM pet_table", u"SELECT COUNT(*) FROM pet_face_table WHERE pet_id=?",
     u"SELECT COUNT(DISTINCT file_id) FROM pet_face_table WHERE pet_id=?",
     u"SELECT COUNT(*) FROM pet_face_table WHERE pet_id=0"},
};

// The catalogue files the file manager lists for a person: those with a row
// in file_table.
constexpr WCHAR kCountFilesOfPerson[] =
    u"SELECT COUNT(*) FROM file_table WHERE EXISTS (SELECT * FROM person_face_table WHERE "
    u"person_face_table.person_id=? AND person_face_table.file_id=file_table.file_id)";

// Orders of the face manager's lists.
constexpr uint32_t kByName = 2;

// The individuals of one type through the face manager, checked against the
// table's row count. SQLITE_OK or the code of the failed read.
int ReadType(IZanDB4FaceDBMgr* faces, const TwinCounts& twin, int busyMilliseconds, FacesResult& read) {
    int64_t expected = 0;
    int code = tool_access::CountCatalogueRows(twin.individuals, nullptr, expected);
    if (code != SQLITE_OK) {
        read.reason = ReasonOfCode(code, busyMilliseconds);
        return code;
    }
    CArray<IZanDB4IndividualDBRecord*> records;
    // No individual answers E_FAIL as a failure does: the count tells them apart.
    faces->GetIndividuals(twin.type, &records, kByName);
    size_t before = read.individuals.size();
    for (ptrdiff_t index = 0; index < records.GetSize(); ++index) {
        IZanDB4IndividualDBRecord* record = records.GetAt(index);
        IndividualRow row;
        CZanTString name;
        row.type = twin.type;
        record->GetID(&row.id);
        record->GetName(name);
        row.name = name.ToUtf8();
        read.individuals.push_back(row);
        record->Release();
    }
    int64_t listed = static_cast<int64_t>(read.individuals.size() - before);
    if (listed != expected) {
        read.reason = "cannot be read: " + std::to_string(expected) + " individuals are stored, " +
                      std::to_string(listed) + " could be read";
        return SQLITE_ERROR;
    }
    for (size_t index = before; index < read.individuals.size(); ++index) {
        IndividualRow& row = read.individuals[index];
        code = tool_access::CountCatalogueRows(twin.facesOf, &row.id, row.faces);
        if (code == SQLITE_OK) code = tool_access::CountCatalogueRows(twin.filesOf, &row.id, row.files);
        if (code != SQLITE_OK) {
            read.reason = ReasonOfCode(code, busyMilliseconds);
            return code;
        }
    }
    int64_t& unassigned = twin.type == 1 ? read.unassignedPersonFaces : read.unassignedPetFaces;
    code = tool_access::CountCatalogueRows(twin.unassigned, nullptr, unassigned);
    if (code != SQLITE_OK) read.reason = ReasonOfCode(code, busyMilliseconds);
    return code;
}

// The files of each person named name through the file manager, checked
// against their count.
int ReadFilesOfName(IZanDB4FaceDBMgr* faces, const std::string& name, int busyMilliseconds, FacesResult& read) {
    int code = ReadType(faces, kTwins[0], busyMilliseconds, read);
    if (code != SQLITE_OK) return code;
    ComPtr<IZanDB4FileDBMgr> files;
    if (ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(files.Receive())) != S_OK) {
        read.reason = "the library has no file manager";
        return SQLITE_ERROR;
    }
    bool found = false;
    for (const IndividualRow& person : read.individuals) {
        if (person.name != name) continue;
        found = true;
        int64_t expected = 0;
        code = tool_access::CountCatalogueRows(kCountFilesOfPerson, &person.id, expected);
        if (code != SQLITE_OK) {
            read.reason = ReasonOfCode(code, busyMilliseconds);
            return code;
        }
        CList<IZanDB4FileDBRecord*> records;
        files->ListFilesOfPerson(person.id, &records, 0, nullptr);
        int64_t listed = 0;
        for (POSITION position = records.GetHeadPosition(); position != nullptr;) {
            IZanDB4FileDBRecord* record = records.GetNext(position);
            FileRow row = FileRowOf(record);
            record->Release();
            ++listed;
            // A file holding two persons of the same name is listed once.
            bool seen = false;
            for (const FileRow& file : read.files) seen = seen || file.id == row.id;
            if (!seen) read.files.push_back(row);
        }
        if (listed != expected) {
            read.reason = "cannot be read: " + std::to_string(expected) + " files hold the person, " +
                          std::to_string(listed) + " could be read";
            return SQLITE_ERROR;
        }
    }
    if (!found) {
        read.outcome = FacesResult::Outcome::kUnknownName;
        read.reason = "no person is named '" + name + "'";
    }
    return SQLITE_OK;
}

// Starts read-only, runs read inside one read transaction, stops again.
template <class Read>
FacesResult ReadStarted(const std::string& root, int busyMilliseconds, Read&& read) {
    FacesResult result;
    CZanTString wideRoot = CZanTString::FromUtf8(root.c_str());
    result.result = tool_access::StartReadOnly(wideRoot.GetString(), busyMilliseconds);
    if (result.result != S_OK) {
        result.outcome = FacesResult::Outcome::kStartFailed;
        return result;
    }
    int code = SQLITE_ERROR;
    {
        tool_access::CatalogueRead transaction;
        ComPtr<IZanDB4FaceDBMgr> faces;
        if (!transaction.HasCatalogue()) {
            result.reason = "the library holds no catalogue store";
        } else if (transaction.BeginCode() != SQLITE_OK) {
            code = transaction.BeginCode();
            result.reason = ReasonOfCode(code, busyMilliseconds);
        } else if (ZanDB4_CreateInstance(&IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(faces.Receive())) !=
                   S_OK) {
            result.reason = "the library has no face manager";
        } else {
            code = read(faces.Get(), result);
        }
    }
    ZanDB4_Finalize();
    if (code != SQLITE_OK) {
        result.outcome = FacesResult::Outcome::kReadFailed;
        result.individuals.clear();
        result.files.clear();
    }
    return result;
}

}  // namespace

FacesResult ReadIndividuals(const std::string& root, int busyMilliseconds) {
    return ReadStarted(root, busyMilliseconds, [&](IZanDB4FaceDBMgr* faces, FacesResult& read) {
        for (const TwinCounts& twin : kTwins) {
            int code = ReadType(faces, twin, busyMilliseconds, read);
            if (code != SQLITE_OK) return code;
        }
        return SQLITE_OK;
    });
}

FacesResult ReadFilesOfPerson(const std::string& root, const std::string& name, int busyMilliseconds) {
    return ReadStarted(root, busyMilliseconds, [&](IZanDB4FaceDBMgr* faces, FacesResult& read) {
        return ReadFilesOfName(faces, name, busyMilliseconds, read);
    });
}

}  // namespace zandb4::tool
