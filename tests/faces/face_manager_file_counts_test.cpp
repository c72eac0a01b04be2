// The file manager's view of faces: the files of a person or pet and the
// counts of files and assigned faces. The person counts read the catalogue;
// the pet statements name a person_id column that pet_face_table does not
// have, never prepare, and leave the count as the caller wrote it, with
// S_OK. Staged faces count nowhere until the face manager's Commit.
#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

class FaceManagerFileCounts : public FaceMgrFixture {
protected:
    // Faces of person Ann: two in a.jpg, one in b.jpg; in b.jpg also one of
    // Bob and one of nobody. Pet Rex: one face in each file.
    void SetUp() override {
        FaceMgrFixture::SetUp();
        m_first = CatalogueFile("a.jpg");
        m_second = CatalogueFile("b.jpg");
        m_ann = AddIndividual(kPerson, "Ann");
        m_bob = AddIndividual(kPerson, "Bob");
        m_rex = AddIndividual(kPet, "Rex");
        m_annFaces = {AddFace(kPerson, m_first, Rect(1, 1, 5, 5), m_ann),
                      AddFace(kPerson, m_first, Rect(9, 9, 15, 15), m_ann),
                      AddFace(kPerson, m_second, Rect(1, 1, 5, 5), m_ann)};
        AddFace(kPerson, m_second, Rect(20, 20, 30, 30), m_bob);
        AddFace(kPerson, m_second, Rect(40, 40, 50, 50), 0);
        m_rexFaces = {AddFace(kPet, m_first, Rect(60, 60, 70, 70), m_rex),
                      AddFace(kPet, m_second, Rect(60, 60, 70, 70), m_rex)};
        ASSERT_EQ(m_faces->Commit(), S_OK);
    }

    uint64_t m_first = 0;
    uint64_t m_second = 0;
    uint64_t m_ann = 0;
    uint64_t m_bob = 0;
    uint64_t m_rex = 0;
    Ids m_annFaces;
    Ids m_rexFaces;
};

TEST_F(FaceManagerFileCounts, PersonCountsReadTheCatalogue) {
    uint32_t count = 77;
    ASSERT_EQ(m_mgr->CountFilesOfPerson(m_ann, &count), S_OK);
    EXPECT_EQ(count, 2u);
    ASSERT_EQ(m_mgr->CountFilesOfPerson(m_bob, &count), S_OK);
    EXPECT_EQ(count, 1u);
    count = 77;
    ASSERT_EQ(m_mgr->CountFilesOfPerson(9999, &count), S_OK);
    EXPECT_EQ(count, 0u) << "the statement gives a row with 0";
    count = 77;
    ASSERT_EQ(m_mgr->CountPersonFaces(&count), S_OK);
    EXPECT_EQ(count, 4u) << "assigned faces only";

    IndividualPtr ann;
    ASSERT_EQ(m_faces->GetIndividual(m_ann, kPerson, ann.Receive()), S_OK);
    ASSERT_EQ(ann->GetFileCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
}

TEST_F(FaceManagerFileCounts, StagedFacesCountOnlyOnceCommitted) {
    AddFace(kPerson, m_second, Rect(70, 70, 80, 80), m_bob);
    uint32_t count = 0;
    ASSERT_EQ(m_mgr->CountFilesOfPerson(m_bob, &count), S_OK);
    EXPECT_EQ(count, 1u);
    ASSERT_EQ(m_mgr->CountPersonFaces(&count), S_OK);
    EXPECT_EQ(count, 4u);

    uint64_t third = CatalogueFile("c.jpg");
    AddFace(kPerson, third, Rect(1, 1, 5, 5), m_bob);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(m_mgr->CountFilesOfPerson(m_bob, &count), S_OK);
    EXPECT_EQ(count, 2u);
    ASSERT_EQ(m_mgr->CountPersonFaces(&count), S_OK);
    EXPECT_EQ(count, 6u);
}

TEST_F(FaceManagerFileCounts, PetCountsNeverReadACountAndAnswerOk) {
    uint32_t count = 0;
    ASSERT_EQ(m_mgr->CountFilesOfPet(m_rex, &count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 77;
    ASSERT_EQ(m_mgr->CountFilesOfPet(m_rex, &count), S_OK);
    EXPECT_EQ(count, 77u) << "left as the caller wrote it";
    count = 0;
    ASSERT_EQ(m_mgr->CountPetFaces(&count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 55;
    ASSERT_EQ(m_mgr->CountPetFaces(&count), S_OK);
    EXPECT_EQ(count, 55u);

    IndividualPtr rex;
    ASSERT_EQ(m_faces->GetIndividual(m_rex, kPet, rex.Receive()), S_OK);
    count = 77;
    ASSERT_EQ(rex->GetFileCount(&count), S_OK);
    EXPECT_EQ(count, 0u) << "a pet's live count never prepares either";
}

TEST_F(FaceManagerFileCounts, NullCountIsRefused) {
    EXPECT_EQ(m_mgr->CountFilesOfPerson(m_ann, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->CountPersonFaces(nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->CountFilesOfPet(m_rex, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->CountPetFaces(nullptr), kInvalidArg);
}

// Newest files first; with shooting dates alike, by name from Z to A. With
// a face list a file comes once per face.
TEST_F(FaceManagerFileCounts, FilesOfAPersonOrPetComeFromTheirFaces) {
    CList<IZanDB4FileDBRecord*> files;
    ASSERT_EQ(m_mgr->ListFilesOfPerson(m_ann, &files, 0, nullptr), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{m_second, m_first}));

    CList<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(m_mgr->ListFilesOfPerson(m_ann, &files, 0, &faces), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{m_second, m_first, m_first}));
    Ids faceIds = FaceIdsOf(faces);
    ASSERT_EQ(faceIds.size(), 3u);
    EXPECT_EQ(faceIds[0], m_annFaces[2]);

    ASSERT_EQ(m_mgr->ListFilesOfPet(m_rex, &files, 0, &faces), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{m_second, m_first}));
    EXPECT_EQ(FaceIdsOf(faces), (Ids{m_rexFaces[1], m_rexFaces[0]}));

    EXPECT_EQ(m_mgr->ListFilesOfPerson(9999, &files, 0, nullptr), kFail);
    EXPECT_TRUE(files.IsEmpty());
}

}  // namespace
}  // namespace face_mgr_test
