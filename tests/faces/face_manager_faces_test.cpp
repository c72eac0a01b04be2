// The face manager's faces: a face is staged by AddFace, becomes visible to
// the reads only once Commit has moved it into the catalogue, is changed in
// whichever store holds it, and leaves both stores on RemoveFace, whose
// number then goes to the pool of the individuals. Run for persons and pets.
#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

using FaceManagerFaces = FaceMgrTwinFixture;

TEST_F(FaceMgrFixture, ManagerFromTheFactoryCarriesOneReference) {
    EXPECT_EQ(m_faces->AddRef(), 2u);
    EXPECT_EQ(m_faces->Release(), 1u);
    IZanDB4FaceDBMgr* same = nullptr;
    ASSERT_EQ(m_faces->QueryInterface(IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(&same)), S_OK);
    EXPECT_EQ(same, m_faces.Get());
    EXPECT_EQ(same->Release(), 1u);
    void* other = &same;
    EXPECT_EQ(m_faces->QueryInterface(IID_IZanDB4FileDBMgr, &other), kNoInterface);
    EXPECT_EQ(other, nullptr);
}

TEST_P(FaceManagerFaces, AddFaceStagesTheFaceAndLeavesTheCallersRecordItsOwn) {
    uint64_t file = CatalogueFile("a.jpg");
    FacePtr face = NewFace(Type(), file, Rect(100, 50, 300, 250));
    uint64_t id = 99;
    ASSERT_EQ(m_faces->AddFace(face.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t onRecord = 0;
    EXPECT_EQ(face->GetFaceID(&onRecord), S_OK);
    EXPECT_EQ(onRecord, id);
    EXPECT_EQ(face->AddRef(), 2u) << "the manager keeps no reference";
    face->Release();

    // A null out id is allowed.
    FacePtr second = NewFace(Type(), file, Rect(1, 2, 3, 4));
    ASSERT_EQ(m_faces->AddFace(second.Get(), nullptr), S_OK);
    EXPECT_EQ(second->GetFaceID(&onRecord), S_OK);
    EXPECT_EQ(onRecord, 2u);

    // Staged: committed to the staging file by the file manager's flag 4,
    // still absent from the catalogue.
    ASSERT_EQ(m_mgr->Commit(4), S_OK);
    Rows staged = Disk(std::string("SELECT ") + Names().stagedFaceIdColumn + ", file_id, " +
                           Names().individualColumn + ", rect FROM " + Names().stagedFaceTable + " ORDER BY 1",
                       "FileBasicAsync.db");
    ASSERT_EQ(staged.size(), 2u);
    EXPECT_EQ(staged[0], (std::vector<std::string>{"1", std::to_string(file), "0",
                                                   std::to_string(PackedRect(Rect(100, 50, 300, 250)))}));
    EXPECT_EQ(CountOnDisk(Names().statusTable, "file_id=" + std::to_string(file) + " AND can_commit=1",
                          "FileBasicAsync.db"),
              1);
    EXPECT_EQ(FaceRows(Names()), 0);
    EXPECT_EQ(m_faces->GetFaceCount(Type()), 0u);
}

// The face counter is set back while the library is stopped, so that the
// next id drawn is that of a face still staged: the staging insert fails,
// and the id goes back to the pool of the faces.
TEST_P(FaceManagerFaces, AddFaceThatStagingRefusesPoolsTheIdAsAFace) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t staged = AddFace(Type(), file);
    Restart([&] {
        ArrangeOnDisk("FileBasic.db", "UPDATE last_id_table SET last_id=0 WHERE id_type=" +
                                          std::to_string(Names().faceIdType));
    });
    FacePtr face = NewFace(Type(), file, Rect(1, 2, 3, 4));
    uint64_t id = 99;
    EXPECT_EQ(m_faces->AddFace(face.Get(), &id), kFail);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(face->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 0u);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().faceIdType, staged), 1);
    EXPECT_EQ(FaceRows(Names()), 1) << "the staged face moved as before";
}

TEST_P(FaceManagerFaces, JustAddedFaceIsNotFoundUntilDetectedAndCommitted) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t id = AddFace(Type(), file, Rect(100, 50, 300, 250));

    IZanDB4FaceDBRecord* found = reinterpret_cast<IZanDB4FaceDBRecord*>(&file);
    EXPECT_EQ(m_faces->GetFace(id, Type(), &found), kFail);
    EXPECT_EQ(found, nullptr);

    ASSERT_EQ(m_faces->SetFaceDetected(file), S_OK);
    EXPECT_EQ(m_faces->GetFace(id, Type(), &found), kFail);
    EXPECT_EQ(found, nullptr);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(m_faces->GetFace(id, Type(), &found), S_OK);
    ASSERT_NE(found, nullptr);
    uint64_t value = 0;
    EXPECT_EQ(found->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, id);
    EXPECT_EQ(found->GetFileID(&value), S_OK);
    EXPECT_EQ(value, file);
    EXPECT_EQ(found->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 0u);
    uint32_t type = 0;
    EXPECT_EQ(found->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, Type());
    RECT rect{};
    EXPECT_EQ(found->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, Rect(100, 50, 300, 250)));
    EXPECT_EQ(found->Release(), 0u);

    EXPECT_EQ(FaceRows(Names(), std::string(Names().faceIdColumn) + "=" + std::to_string(id) + " AND file_id=" +
                                    std::to_string(file) + " AND rect=" +
                                    std::to_string(PackedRect(Rect(100, 50, 300, 250)))),
              1);
}

// AddFace writes the file's status row ready to commit, so Commit moves the
// face even when SetFaceDetected never ran.
TEST_P(FaceManagerFaces, StagedFaceIsReadyToMoveAtOnce) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t id = AddFace(Type(), file);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(id, Type(), found.Receive()), S_OK);
    EXPECT_EQ(FaceRows(Names()), 1);
}

TEST_P(FaceManagerFaces, CommitEmptiesTheStagingTablesOfMovedFaces) {
    uint64_t first = CatalogueFile("a.jpg");
    uint64_t second = CatalogueFile("b.jpg");
    AddFace(Type(), first);
    AddFace(Type(), first);
    AddFace(Type(), second);
    ASSERT_EQ(m_faces->SetFaceDetected(first), S_OK);
    ASSERT_EQ(m_faces->SetFaceDetected(second), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(FaceRows(Names()), 3);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
    EXPECT_EQ(StatusRows(Names()), 0);
}

TEST_P(FaceManagerFaces, UpdateFaceOfAStagedFaceRewritesItsStagingRowAtOnce) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t individual = AddIndividual(Type(), "Ann");
    uint64_t id = AddFace(Type(), file, Rect(1, 2, 3, 4));

    FacePtr changed = NewFace(Type(), file, Rect(100, 50, 300, 250), individual);
    ASSERT_EQ(m_faces->UpdateFace(id, Type(), changed.Get()), S_OK);
    // Still staged: the catalogue has no such face.
    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(id, Type(), found.Receive()), kFail);

    ASSERT_EQ(m_mgr->Commit(4), S_OK);
    Rows staged = Disk(std::string("SELECT file_id, ") + Names().individualColumn + ", rect FROM " +
                           Names().stagedFaceTable + " WHERE " + Names().stagedFaceIdColumn + "=" + std::to_string(id),
                       "FileBasicAsync.db");
    ASSERT_EQ(staged.size(), 1u);
    EXPECT_EQ(staged[0], (std::vector<std::string>{std::to_string(file), std::to_string(individual),
                                                   std::to_string(PackedRect(Rect(100, 50, 300, 250)))}));

    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(m_faces->GetFace(id, Type(), found.Receive()), S_OK);
    uint64_t value = 0;
    EXPECT_EQ(found->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, individual);
    RECT rect{};
    EXPECT_EQ(found->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, Rect(100, 50, 300, 250)));
}

// Staged faces move by the status row of their file, which AddFace writes.
// A staged face given another file that has no staged face of its own has
// no status row to go by, and stays in staging.
TEST_P(FaceManagerFaces, StagedFaceMovedToAFileWithoutStagedFacesStaysStaged) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t other = CatalogueFile("b.jpg");
    uint64_t id = AddFace(Type(), file);
    FacePtr changed = NewFace(Type(), other, Rect(1, 2, 3, 4));
    ASSERT_EQ(m_faces->UpdateFace(id, Type(), changed.Get()), S_OK);
    ASSERT_EQ(m_faces->SetFaceDetected(other), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(id, Type(), found.Receive()), kFail);
    EXPECT_EQ(StagedFaceRows(Names()), 1);
    // With nothing read, nothing is deleted: the status row of the first
    // file stays as well.
    EXPECT_EQ(StatusRows(Names()), 1);
}

TEST_P(FaceManagerFaces, UpdateFaceOfACataloguedFaceRewritesItsRowAndRecountsAtCommit) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t individual = AddIndividual(Type(), "Ann");
    uint64_t id = CatalogueFace(Type(), file, Rect(1, 2, 3, 4));
    EXPECT_EQ(CountOnDisk(Names().individualTable, "file_count IS NULL"), 1);

    FacePtr changed = NewFace(Type(), file, Rect(5, 6, 70, 80), individual);
    ASSERT_EQ(m_faces->UpdateFace(id, Type(), changed.Get()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(FaceRows(Names(), std::string(Names().individualColumn) + "=" + std::to_string(individual) +
                                    " AND rect=" + std::to_string(PackedRect(Rect(5, 6, 70, 80)))),
              1);
    // A person's file_count is the number of files showing it; a pet's
    // recount statement never prepares and writes 0.
    int64_t expected = Type() == kPerson ? 1 : 0;
    EXPECT_EQ(DiskInteger(std::string("SELECT file_count FROM ") + Names().individualTable + " WHERE " +
                          Names().individualColumn + "=" + std::to_string(individual)),
              expected);
}

TEST_P(FaceManagerFaces, UpdateFaceOfAFaceInNeitherStoreFails) {
    uint64_t file = CatalogueFile("a.jpg");
    FacePtr face = NewFace(Type(), file, Rect(1, 2, 3, 4));
    EXPECT_EQ(m_faces->UpdateFace(4321, Type(), face.Get()), kFail);
    // The record is looked at only once the catalogue has said no.
    EXPECT_EQ(m_faces->UpdateFace(4321, Type(), nullptr), kInvalidArg);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(FaceRows(Names()), 0);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
}

TEST_P(FaceManagerFaces, FaceCountCountsCataloguedFacesOnly) {
    uint64_t file = CatalogueFile("a.jpg");
    AddFace(Type(), file);
    AddFace(Type(), file);
    EXPECT_EQ(m_faces->GetFaceCount(Type()), 0u);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(m_faces->GetFaceCount(Type()), 2u);
    EXPECT_EQ(m_faces->GetFaceCount(Type() == kPerson ? kPet : kPerson), 0u);
}

TEST_P(FaceManagerFaces, GetFacesListsCataloguedFacesOnly) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = CatalogueFace(Type(), file);
    AddFace(Type(), file);  // staged, not listed

    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(m_faces->GetFaces(Type(), &faces), S_OK);
    EXPECT_EQ(FaceIdsOf(faces), Ids{first});
}

TEST_F(FaceMgrFixture, PetFaceIdsAlwaysFailWhilePetFacesList) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t pet = AddFace(kPet, file);
    uint64_t person = AddFace(kPerson, file);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    CArray<uint64_t> ids;
    ids.Add(77);
    EXPECT_EQ(m_faces->GetFaceIDs(kPet, &ids), kFail);
    EXPECT_TRUE(ids.IsEmpty()) << "emptied first, and nothing read";

    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(m_faces->GetFaces(kPet, &faces), S_OK);
    EXPECT_EQ(FaceIdsOf(faces), Ids{pet});

    ASSERT_EQ(m_faces->GetFaceIDs(kPerson, &ids), S_OK);
    EXPECT_EQ(IdsOf(ids), Ids{person});
}

TEST_P(FaceManagerFaces, FacesInFileAndUnassignedFacesComeFromTheCatalogue) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t other = CatalogueFile("b.jpg");
    uint64_t individual = AddIndividual(Type(), "Ann");
    uint64_t named = AddFace(Type(), file, Rect(1, 2, 3, 4), individual);
    uint64_t unnamed = AddFace(Type(), file);
    uint64_t elsewhere = AddFace(Type(), other);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(m_faces->GetFacesInFile(file, Type(), &faces), S_OK);
    EXPECT_EQ(FaceIdsOf(faces), (Ids{named, unnamed}));
    ASSERT_EQ(m_faces->GetUnassignedFaces(Type(), &faces), S_OK);
    EXPECT_EQ(FaceIdsOf(faces), (Ids{unnamed, elsewhere}));

    uint64_t empty = CatalogueFile("c.jpg");
    EXPECT_EQ(m_faces->GetFacesInFile(empty, Type(), &faces), kFail);
    EXPECT_TRUE(faces.IsEmpty());
}

TEST_P(FaceManagerFaces, RemoveFaceOfAnUnknownIdAnswersOkAndPoolsItsNumberAsAnIndividual) {
    ASSERT_EQ(m_faces->RemoveFace(777, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().individualIdType, 777), 1);
    EXPECT_EQ(Pooled(Names().faceIdType, 777), 0);
}

TEST_P(FaceManagerFaces, RemoveFaceOfACataloguedFaceTakesItsRowThumbnailsAndFeaturePoint) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t id = CatalogueFace(Type(), file);
    Bytes small = BytesOf("small"), large = BytesOf("large"), point = BytesOf("point");
    ASSERT_EQ(m_faces->AddThumbnail(id, 1, Type(), kFalse, small.data(), 5), S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(id, 2, Type(), kFalse, large.data(), 5), S_OK);
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(id, Type(), point.data(), 5, nullptr), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(ThumbnailRows(Names().faceThumbnails, 1, id), 1);
    ASSERT_EQ(ThumbnailRows(Names().faceThumbnails, 2, id), 1);
    ASSERT_EQ(WorkingRemoveFlag(Names(), id), 0);

    ASSERT_EQ(m_faces->RemoveFace(id, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(FaceRows(Names()), 0);
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, id), 0);
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 2, id), 0);
    // Removed softly from the working set: the row stays, marked, with its
    // blob.
    EXPECT_EQ(WorkingRemoveFlag(Names(), id), 1);
    EXPECT_EQ(WorkingBlobHex(Names(), id), Hex(point));
    EXPECT_EQ(Pooled(Names().individualIdType, id), 1);
    EXPECT_EQ(Pooled(Names().faceIdType, id), 0);
    CArray<uint64_t> live;
    EXPECT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &live, nullptr, 0, 0), S_OK);
    EXPECT_TRUE(live.IsEmpty());
}

// RemoveFace takes the face out of its feature point group; the group stays
// while it has a member and goes, with its blob and thumbnails, with the
// last.
TEST_P(FaceManagerFaces, RemovingTheLastFaceOfAGroupRemovesTheGroup) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = CatalogueFace(Type(), file);
    uint64_t second = CatalogueFace(Type(), file);
    Bytes point = BytesOf("point"), thumbnail = BytesOf("thumbnail");
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(first, Type(), point.data(), 5, nullptr), S_OK);
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(second, Type(), point.data(), 5, nullptr), S_OK);
    const uint64_t members[] = {first, second};
    uint64_t groupId = 0;
    ASSERT_EQ(m_faces->CreateFeaturePointGroup(Type(), members, 2, &groupId, 2), S_OK);
    ASSERT_EQ(m_faces->AddGroupThumbnail(groupId, 1, thumbnail.data(), 9), S_OK);
    PointGroupPtr group;
    ASSERT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    uint64_t pointId = 0;
    ASSERT_EQ(group->GetFeaturePointID(&pointId), S_OK);
    group.Reset();
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_FALSE(PointHex(GroupSetShard(Names()), pointId).empty());

    ASSERT_EQ(m_faces->RemoveFace(first, Type()), S_OK);
    ASSERT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    uint32_t faceCount = 0;
    EXPECT_EQ(group->GetFaceCount(&faceCount), S_OK);
    EXPECT_EQ(faceCount, 2u) << "the count of the making";
    CArray<uint64_t> ids;
    ASSERT_EQ(group->GetFaceIDs(&ids, kFalse), S_OK);
    EXPECT_EQ(IdsOf(ids), Ids{second});
    group.Reset();

    ASSERT_EQ(m_faces->RemoveFace(second, Type()), S_OK);
    EXPECT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), kFail);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk(Names().groupTable, "1"), 0);
    EXPECT_EQ(CountOnDisk(Names().groupItemTable, "1"), 0);
    EXPECT_EQ(PointHex(GroupSetShard(Names()), pointId), "");
    EXPECT_EQ(ThumbnailRows("grf", 1, groupId), 0);
}

TEST_P(FaceManagerFaces, RemoveFaceOfAStagedFaceTakesItsStagingRow) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t id = AddFace(Type(), file);
    ASSERT_EQ(m_faces->RemoveFace(id, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(FaceRows(Names()), 0);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(id, Type(), found.Receive()), kFail);
    EXPECT_EQ(Pooled(Names().individualIdType, id), 1);
}

TEST_P(FaceManagerFaces, RemoveFacesInFileOnAFileWithoutFacesAnswersOkAndPoolsNothing) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t elsewhere = CatalogueFace(Type(), CatalogueFile("b.jpg"));
    EXPECT_EQ(m_faces->RemoveFacesInFile(file), S_OK);
    EXPECT_EQ(m_faces->RemoveFacesInFile(9999), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk("pooled_id_table", "id_type IN (4, 6)"), 0);
    EXPECT_EQ(FaceRows(Names(), std::string(Names().faceIdColumn) + "=" + std::to_string(elsewhere)), 1);
}

TEST_P(FaceManagerFaces, RemoveFacesInFileRemovesCataloguedFacesAndLeavesStagedOnes) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = AddFace(Type(), file);
    uint64_t second = AddFace(Type(), file);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    uint64_t staged = AddFace(Type(), file);

    ASSERT_EQ(m_faces->RemoveFacesInFile(file), S_OK);
    CArray<IZanDB4FaceDBRecord*> faces;
    EXPECT_EQ(m_faces->GetFacesInFile(file, Type(), &faces), kFail);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(m_faces->GetFacesInFile(file, Type(), &faces), S_OK);
    EXPECT_EQ(FaceIdsOf(faces), Ids{staged});
    EXPECT_EQ(Pooled(Names().individualIdType, first), 1);
    EXPECT_EQ(Pooled(Names().individualIdType, second), 1);
    EXPECT_EQ(Pooled(Names().individualIdType, staged), 0);
}

TEST_P(FaceManagerFaces, SetFaceDetectedMarksTheFileWhereverItStands) {
    uint64_t catalogued = CatalogueFile("a.jpg");
    uint64_t staged = StageFile("b.jpg");
    EXPECT_EQ(m_faces->SetFaceDetected(catalogued), S_OK);
    EXPECT_EQ(m_faces->SetFaceDetected(staged), S_OK);
    ASSERT_EQ(m_mgr->Commit(kMoveAndCommit), S_OK);
    EXPECT_EQ(CountOnDisk("file_table", "did_detect_face=1"), 2);

    // The staging part does not look at what its updates touched, so an id
    // known to neither store still answers S_OK.
    EXPECT_EQ(m_faces->SetFaceDetected(9999), S_OK);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerFaces, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace face_mgr_test
