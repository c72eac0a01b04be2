// The road of a face, end to end and checked on disk at every step: a file
// staged and moved by the file manager; faces detected in it, staged with
// their thumbnails and feature points; the faces moved by Commit; an
// individual named with a reference point and given the faces; the faces
// grouped, which merges their points and takes them out of the working set;
// the group removed; the file deleted through the file manager. Deleting the
// file's row removes its faces at store level first, so the face manager's
// RemoveFacesInFile that follows finds none: the faces' thumbnails, feature
// points and group membership rows stay behind, and their numbers are not
// pooled. Run for persons and pets.
#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

using FaceManagerRoad = FaceMgrTwinFixture;

// The first feature point id of the family is arranged to be 41 while the
// first group id is 1, so that the pooled ids tell the two apart.
constexpr uint64_t kFirstPointId = 41;

TEST_P(FaceManagerRoad, FaceFromDetectionToAnIndividualAndOutWithItsFile) {
    Restart([&] {
        ArrangeOnDisk("FileBasic.db", "INSERT INTO last_id_table (id_type,last_id) VALUES (" +
                                          std::to_string(Names().pointIdType) + "," +
                                          std::to_string(kFirstPointId - 1) + ")");
    });
    const std::string faceId = Names().faceIdColumn;
    const std::string individualColumn = Names().individualColumn;

    // 1. The file, staged and moved into the catalogue.
    uint64_t file = StageFile("party.jpg");
    ASSERT_EQ(m_mgr->Commit(kMoveAndCommit), S_OK);
    ASSERT_EQ(FileRows(file), 1);
    EXPECT_EQ(CountOnDisk("async_file_table", "1", "FileBasicAsync.db"), 0);

    // 2. Three faces detected: staged, each with two thumbnails and a
    // feature point under its face id.
    const RECT rects[3] = {Rect(10, 20, 110, 140), Rect(200, 40, 260, 120), Rect(400, 300, 480, 390)};
    const std::vector<Bytes> points = {BytesOf("point of the first face"), BytesOf("second"), BytesOf("third!")};
    Ids faces;
    for (int index = 0; index < 3; ++index) {
        uint64_t id = AddFace(Type(), file, rects[index]);
        faces.push_back(id);
        Bytes small = BytesOf("small " + std::to_string(id)), large = BytesOf("large " + std::to_string(id));
        ASSERT_EQ(m_faces->AddThumbnail(id, 1, Type(), kFalse, small.data(), static_cast<uint32_t>(small.size())),
                  S_OK);
        ASSERT_EQ(m_faces->AddThumbnail(id, 2, Type(), kFalse, large.data(), static_cast<uint32_t>(large.size())),
                  S_OK);
        ASSERT_EQ(m_faces->SetFaceFeaturePoint(id, Type(), points[index].data(),
                                               static_cast<uint32_t>(points[index].size()), nullptr),
                  S_OK);
    }
    EXPECT_EQ(faces, (Ids{1, 2, 3}));
    EXPECT_EQ(FaceRows(Names()), 0);
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, faces[0]), 0);
    EXPECT_EQ(WorkingIndexRows(Names()), 0);

    // 3, 4. Detection done; Commit moves the faces and writes every store.
    ASSERT_EQ(m_faces->SetFaceDetected(file), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    Rows expectedFaces;
    for (int index = 0; index < 3; ++index)
        expectedFaces.push_back({std::to_string(faces[index]), std::to_string(file), "0",
                                 std::to_string(PackedRect(rects[index]))});
    EXPECT_EQ(Disk("SELECT " + faceId + ", file_id, " + individualColumn + ", rect FROM " + Names().faceTable +
                   " ORDER BY 1"),
              expectedFaces);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
    EXPECT_EQ(StatusRows(Names()), 0);
    EXPECT_EQ(DiskInteger("SELECT did_detect_face FROM file_table WHERE file_id=" + std::to_string(file)), 1);
    for (int index = 0; index < 3; ++index) {
        uint64_t id = faces[index];
        EXPECT_EQ(ThumbnailHex(Names().faceThumbnails, 1, id), Hex(BytesOf("small " + std::to_string(id))));
        EXPECT_EQ(ThumbnailHex(Names().faceThumbnails, 2, id), Hex(BytesOf("large " + std::to_string(id))));
        EXPECT_EQ(WorkingRemoveFlag(Names(), id), 0);
        EXPECT_EQ(WorkingBlobHex(Names(), id), Hex(points[index]));
    }
    EXPECT_EQ(m_faces->GetFaceCount(Type()), 3u);
    CArray<uint64_t> live;
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &live, nullptr, 0, 0), S_OK);
    EXPECT_EQ(IdsOf(live), faces);

    // 6. An individual with its reference point; its file_count stays NULL
    // until a recount.
    uint64_t individual = AddIndividual(Type(), "Ann");
    Bytes reference = BytesOf("reference");
    ASSERT_EQ(m_faces->AddIndividualFeaturePoint(individual, Type(), reference.data(),
                                                 static_cast<uint32_t>(reference.size())),
              S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    const std::string fileCountSql = std::string("SELECT file_count IS NULL, file_count FROM ") +
                                     Names().individualTable + " WHERE " + individualColumn + "=" +
                                     std::to_string(individual);
    EXPECT_EQ(Disk(fileCountSql), (Rows{{"1", "NULL"}}));
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), individual), Hex(reference));

    // The faces given to the individual; file_count is recounted at Commit:
    // one file for a person, 0 for a pet, whose recount never reads a count.
    for (int index = 0; index < 3; ++index) {
        FacePtr named = NewFace(Type(), file, rects[index], individual);
        ASSERT_EQ(m_faces->UpdateFace(faces[index], Type(), named.Get()), S_OK);
    }
    EXPECT_EQ(Disk(fileCountSql), (Rows{{"1", "NULL"}}));
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Disk(fileCountSql), (Rows{{"0", Type() == kPerson ? "1" : "0"}}));
    EXPECT_EQ(FaceRows(Names(), individualColumn + "=" + std::to_string(individual)), 3);
    CArray<IZanDB4FaceDBRecord*> unassigned;
    EXPECT_EQ(m_faces->GetUnassignedFaces(Type(), &unassigned), kFail);

    // 5. The faces grouped: one merged blob of three blocks in the group
    // set, the group rows, and the faces softly out of the working set.
    uint64_t groupId = 0;
    ASSERT_EQ(m_faces->CreateFeaturePointGroup(Type(), faces.data(), 3, &groupId, 3), S_OK);
    EXPECT_EQ(groupId, 1u);
    PointGroupPtr group;
    ASSERT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    uint64_t pointId = 0;
    ASSERT_EQ(group->GetFeaturePointID(&pointId), S_OK);
    EXPECT_EQ(pointId, kFirstPointId);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    const std::string groupText = std::to_string(groupId), pointText = std::to_string(pointId);
    EXPECT_EQ(Disk(std::string("SELECT group_id, feature_point_id, face_id, face_count, create_date>0 FROM ") +
                   Names().groupTable),
              (Rows{{groupText, pointText, std::to_string(faces[0]), "3", "1"}}));
    Rows items;
    for (uint64_t id : faces) items.push_back({std::to_string(id), pointText, groupText});
    EXPECT_EQ(Disk(std::string("SELECT face_id, feature_point_id, group_id FROM ") + Names().groupItemTable +
                   " ORDER BY 1"),
              items);
    EXPECT_EQ(PointHex(GroupSetShard(Names()), pointId), PackedHex(points));
    EXPECT_EQ(Disk("SELECT data_format FROM face_feature_point_table WHERE feature_point_id=" + pointText,
                   GroupSetShard(Names())),
              (Rows{{"1"}}));
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(WorkingRemoveFlag(Names(), faces[index]), 1);
        EXPECT_EQ(WorkingBlobHex(Names(), faces[index]), Hex(points[index])) << "the blob stays";
    }
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &live, nullptr, 0, 0), S_OK);
    EXPECT_TRUE(live.IsEmpty());
    PointPtr merged;
    ASSERT_EQ(group->GetFeaturePoint(merged.Receive()), S_OK);
    EXPECT_EQ(merged->GetBlockCount(), 3u);
    EXPECT_EQ(BlockOf(merged.Get(), 2), points[2]);
    uint32_t faceCount = 0;
    EXPECT_EQ(group->GetFaceCount(&faceCount), S_OK);
    EXPECT_EQ(faceCount, 3u);
    CArray<IZanDB4FaceDBRecord*> members;
    ASSERT_EQ(group->GetFaces(&members, kFalse), S_OK);
    EXPECT_EQ(FaceIdsOf(members), faces);
    merged.Reset();
    group.Reset();

    // The group removed: its row and blob go, the members stay with group 0,
    // and the group id goes to the pools of feature point ids and of group
    // ids; the feature point id does not.
    ASSERT_EQ(m_faces->RemoveFeaturePointGroup(groupId, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk(Names().groupTable, "1"), 0);
    for (Rows::value_type& item : items) item[2] = "0";
    EXPECT_EQ(Disk(std::string("SELECT face_id, feature_point_id, group_id FROM ") + Names().groupItemTable +
                   " ORDER BY 1"),
              items);
    EXPECT_EQ(PointHex(GroupSetShard(Names()), pointId), "");
    EXPECT_EQ(Pooled(Names().pointIdType, groupId), 1);
    EXPECT_EQ(Pooled(Names().pointIdType, pointId), 0);
    EXPECT_EQ(Pooled(Names().groupIdType, groupId), 1);
    EXPECT_EQ(FaceRows(Names(), individualColumn + "=" + std::to_string(individual)), 3);

    // The file deleted through the file manager: the row's delete takes the
    // faces with it, and the face manager then finds no face of the file.
    ASSERT_EQ(m_mgr->DeleteFile(file), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(FileRows(file), 0);
    EXPECT_EQ(Pooled(kFileIdType, file), 1);
    EXPECT_EQ(FaceRows(Names()), 0);
    // The faces' deletes noted the individual for the recount.
    EXPECT_EQ(Disk(fileCountSql), (Rows{{"0", "0"}}));
    // What RemoveFace would have taken stays behind.
    for (int index = 0; index < 3; ++index) {
        uint64_t id = faces[index];
        EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, id), 1);
        EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 2, id), 1);
        EXPECT_EQ(WorkingRemoveFlag(Names(), id), 1);
        EXPECT_EQ(WorkingBlobHex(Names(), id), Hex(points[index]));
        EXPECT_EQ(Pooled(Names().individualIdType, id), 0);
    }
    EXPECT_EQ(Disk(std::string("SELECT face_id, feature_point_id, group_id FROM ") + Names().groupItemTable +
                   " ORDER BY 1"),
              items);
    // The individual and its reference point are untouched.
    EXPECT_EQ(CountOnDisk(Names().individualTable, "1"), 1);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), individual), Hex(reference));
}

TEST_P(FaceManagerRoad, DeletedFileLeavesItsFacesThumbnailsAndLiveFeaturePointsBehind) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    Bytes thumbnail = BytesOf("thumbnail"), point = BytesOf("point");
    ASSERT_EQ(m_faces->AddThumbnail(face, 1, Type(), kFalse, thumbnail.data(), 9), S_OK);
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), point.data(), 5, nullptr), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    ASSERT_EQ(m_mgr->DeleteFile(file), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(face, Type(), found.Receive()), kFail);
    EXPECT_EQ(FaceRows(Names()), 0);
    CachePtr cache;
    EXPECT_EQ(m_faces->GetThumbnail(face, 1, Type(), kFalse, cache.Receive()), S_OK);
    CArray<uint64_t> live;
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &live, nullptr, 0, 0), S_OK);
    EXPECT_EQ(IdsOf(live), Ids{face});
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, face), 1);
    EXPECT_EQ(WorkingRemoveFlag(Names(), face), 0);
    EXPECT_EQ(Pooled(Names().individualIdType, face), 0);
}

// DeleteFile reaches the staged file's row but not the faces staged for it,
// whose status row still says ready: the next Commit moves them, pointing at
// a file that no longer exists.
TEST_P(FaceManagerRoad, FacesOfADeletedStagedFileStillMoveAtTheNextCommit) {
    uint64_t file = StageFile("a.jpg");
    uint64_t face = AddFace(Type(), file);
    ASSERT_EQ(m_mgr->DeleteFile(file), S_OK);
    ASSERT_EQ(m_mgr->Commit(kMoveAndCommit), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(FileRows(file), 0);
    EXPECT_EQ(FaceRows(Names(), std::string(Names().faceIdColumn) + "=" + std::to_string(face) +
                                    " AND file_id=" + std::to_string(file)),
              1);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerRoad, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace face_mgr_test
