// "zandb4 faces", run as a user runs it on a catalogue whose persons, pets
// and faces the test wrote through the library's face store: the lines and
// JSON of the individuals with their face and file counts (pets counted for
// real, though the library's own pet file count is always 0), the faces
// given to nobody, the files of one person, names that need care, a name no
// person has, and a catalogue the command leaves exactly as it was.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "catalogue/file_basic_db.h"
#include "faces/face_rows.h"
#include "faces/individual_rows.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "json_reader.h"
#include "library/database_registry.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"
#include "zandb4.h"

namespace {

using zandb4::ComPtr;
using zandb4::testing::CatalogueFileRow;
using zandb4::testing::JsonValue;
using zandb4::testing::PackedDate;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

const std::string kZoe = "Zo\xC3\xAB O'Neil";  // Zoë O'Neil

struct Face {
    uint64_t id;
    uint32_t type;
    uint64_t file;
    uint64_t individual;
};

class FacesCommand : public ::testing::Test {
protected:
    void SetUp() override {
        zandb4::testing::MakeCatalogue(m_root.Path(), {
                                                         CatalogueFileRow{1, "/p/a", "A.JPG", 3, PackedDate(2024, 1, 1, 9)},
                                                         CatalogueFileRow{2, "/p/b", "B.JPG", 3, PackedDate(2024, 2, 1, 9)},
                                                         CatalogueFileRow{3, "/p/c", "C.JPG", 3, PackedDate(2024, 3, 1, 9)},
                                                     });
    }

    // Starts the library on the root, writes the individuals (type, id,
    // name) and faces through the face store, commits and stops.
    void AddFaces(const std::vector<std::tuple<uint32_t, uint64_t, std::string>>& individuals,
                  const std::vector<Face>& faces) {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        CSQLiteFileBasicDB* store = zandb4::DatabaseRegistry::fileBasicDB;
        {
            CriticalSectionGuard guard(store->m_lock);
            for (const auto& [type, id, name] : individuals) {
                ComPtr<IZanDB4IndividualDBRecord> record;
                ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4IndividualDBRecord,
                                                reinterpret_cast<void**>(record.Receive())),
                          S_OK);
                record->SetIndividualType(type);
                record->SetName(CZanTString::FromUtf8(name.c_str()));
                ASSERT_EQ(IndividualRows(*store).InsertIndividual(id, record.Get()), S_OK);
            }
            for (const Face& face : faces) {
                ComPtr<IZanDB4FaceDBRecord> record;
                ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(record.Receive())),
                          S_OK);
                RECT rect{10, 10, 50, 50};
                record->SetRect(&rect);
                record->SetFileID(face.file);
                record->SetIndividualID(face.individual);
                ASSERT_EQ(FaceTableRows(*store).InsertFace(face.id, face.type, record.Get()), S_OK);
            }
            ASSERT_EQ(store->Commit(false), S_OK);
        }
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    void AddUsualFaces() {
        AddFaces({{1, 7, "Bob"}, {1, 8, kZoe}, {1, 9, "Bob"}, {2, 4, "Rex"}},
                 {
                     // Bob (7): two faces in file 1, one in file 3.
                     {101, 1, 1, 7},
                     {102, 1, 1, 7},
                     {103, 1, 3, 7},
                     // Zoë: one face in file 2; the other Bob (9): file 2.
                     {104, 1, 2, 8},
                     {105, 1, 2, 9},
                     // Nobody yet.
                     {106, 1, 3, 0},
                     // Rex: files 1 and 2; and a pet face of nobody.
                     {201, 2, 1, 4},
                     {202, 2, 2, 4},
                     {203, 2, 3, 0},
                 });
    }

    TempFolder m_root;
};

TEST_F(FacesCommand, ListsPersonsThenPetsByNameWithLiveCounts) {
    AddUsualFaces();
    ToolRun run = RunZandb4({"faces", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "person\t7\tBob\t3\t2\n"
              "person\t9\tBob\t1\t1\n"
              "person\t8\t" + kZoe + "\t1\t1\n"
              // The pet's files are counted by the tool: the library's own
              // pet file count is always 0.
              "pet\t4\tRex\t2\t2\n"
              "unassigned\tperson\t1\n"
              "unassigned\tpet\t1\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(FacesCommand, JsonHoldsPersonsPetsAndUnassignedFaces) {
    AddUsualFaces();
    ToolRun run = RunZandb4({"faces", m_root.Utf8(), "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    const JsonValue* persons = json->Find("persons");
    const JsonValue* pets = json->Find("pets");
    const JsonValue* unassigned = json->Find("unassigned");
    ASSERT_TRUE(persons && pets && unassigned) << run.out;
    ASSERT_EQ(persons->items.size(), 3u);
    EXPECT_EQ(persons->items[2].Find("name")->text, kZoe);
    EXPECT_EQ(persons->items[2].Find("id")->Integer(), 8);
    EXPECT_EQ(persons->items[0].Find("faces")->Integer(), 3);
    EXPECT_EQ(persons->items[0].Find("files")->Integer(), 2);
    ASSERT_EQ(pets->items.size(), 1u);
    EXPECT_EQ(pets->items[0].Find("name")->text, "Rex");
    EXPECT_EQ(pets->items[0].Find("files")->Integer(), 2);
    EXPECT_EQ(unassigned->Find("persons")->Integer(), 1);
    EXPECT_EQ(unassigned->Find("pets")->Integer(), 1);
}

TEST_F(FacesCommand, PersonListsTheFilesOfEveryoneOfThatNameOnceNewestFirst) {
    AddUsualFaces();
    ToolRun run = RunZandb4({"faces", m_root.Utf8(), "--person", "Bob"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // Bob 7 holds files 3 and 1 (two faces in 1, listed once); Bob 9 file 2.
    EXPECT_EQ(run.out,
              "3\t2024-03-01 09:00:00\t3\t0\t0\t/p/c\tC.JPG\n"
              "1\t2024-01-01 09:00:00\t3\t0\t0\t/p/a\tA.JPG\n"
              "2\t2024-02-01 09:00:00\t3\t0\t0\t/p/b\tB.JPG\n");

    ToolRun zoe = RunZandb4({"faces", m_root.Utf8(), "--person", kZoe, "--json"});
    ASSERT_EQ(zoe.exitCode, 0) << zoe.err;
    std::optional<JsonValue> json = ParseJson(zoe.out);
    ASSERT_TRUE(json && json->type == JsonValue::Type::kArray) << zoe.out;
    ASSERT_EQ(json->items.size(), 1u);
    EXPECT_EQ(json->items[0].Find("id")->Integer(), 2);
}

TEST_F(FacesCommand, PersonWithoutFilesSaysSoAndSucceeds) {
    AddFaces({{1, 5, "Nobody's"}}, {});
    ToolRun run = RunZandb4({"faces", m_root.Utf8(), "--person", "Nobody's"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 faces: no files\n");
}

TEST_F(FacesCommand, ANameNoPersonHasIsAUsageErrorNamingTheCatalogue) {
    AddUsualFaces();
    // A pet's name is no person's name.
    ToolRun run = RunZandb4({"faces", m_root.Utf8(), "--person", "Rex"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("FileBasic.db: no person is named 'Rex'"), std::string::npos) << run.err;
}

TEST_F(FacesCommand, ACatalogueWithoutFacesListsOnlyTheUnassignedCounts) {
    ToolRun run = RunZandb4({"faces", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "unassigned\tperson\t0\nunassigned\tpet\t0\n");
    EXPECT_EQ(run.err, "zandb4 faces: no persons or pets\n");
}

TEST_F(FacesCommand, ATabInANameIsEscaped) {
    AddFaces({{2, 3, "Tab\tby"}}, {{301, 2, 1, 3}});
    ToolRun run = RunZandb4({"faces", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "pet\t3\tTab\\tby\t1\t1\nunassigned\tperson\t0\nunassigned\tpet\t0\n");
}

TEST_F(FacesCommand, ChangesNothingOnDisk) {
    AddUsualFaces();
    zandb4::testing::TreeSnapshot before = zandb4::testing::SnapshotTree(m_root.Path());
    ASSERT_EQ(RunZandb4({"faces", m_root.Utf8()}).exitCode, 0);
    ASSERT_EQ(RunZandb4({"faces", m_root.Utf8(), "--person", "Bob", "--json"}).exitCode, 0);
    EXPECT_EQ(zandb4::testing::TreeDifference(before, zandb4::testing::SnapshotTree(m_root.Path())), "");
}

TEST_F(FacesCommand, AFolderWithoutCatalogueIsExitCodeTwo) {
    TempFolder empty;
    ToolRun run = RunZandb4({"faces", empty.Utf8()});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find(empty.Utf8()), std::string::npos) << run.err;
}

TEST_F(FacesCommand, AnEmptyPersonNameIsAUsageError) {
    ToolRun run = RunZandb4({"faces", m_root.Utf8(), "--person", ""});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("--person needs a name"), std::string::npos) << run.err;
}

}  // namespace
