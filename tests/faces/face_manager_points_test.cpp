// The face manager's feature points: a face's point lives in the working set
// under the face id, for a face known to either store; an individual's
// reference points live in the individual set, and so does what
// UpdateGroupFeaturePoint writes, whatever its name says. Empty blobs are
// refused and write nothing. Run for persons and pets.
#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

using FaceManagerPoints = FaceMgrTwinFixture;

TEST_P(FaceManagerPoints, SetFaceFeaturePointForAFaceInNeitherStoreIsInvalid) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t other = Type() == kPerson ? kPet : kPerson;
    uint64_t faceOfTheOtherType = CatalogueFace(static_cast<uint32_t>(other), file);
    Bytes point = BytesOf("point");

    EXPECT_EQ(m_faces->SetFaceFeaturePoint(999, Type(), point.data(), 5, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->SetFaceFeaturePoint(faceOfTheOtherType, Type(), point.data(), 5, nullptr), kInvalidArg);
    PointPtr data;
    EXPECT_EQ(m_faces->GetFaceFeaturePoint(999, Type(), data.Receive()), kFail);
    EXPECT_FALSE(data);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(WorkingIndexRows(Names()), 0);
}

TEST_P(FaceManagerPoints, StagedFacesPointIsKeptUnderTheFaceIdWithTheDateGiven) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = AddFace(Type(), file);
    Bytes first = BytesOf("first"), second = BytesOf("second point");
    SYSTEMTIME date = file_mgr_test::Date(2020, 1, 2, 3, 4, 5);
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), first.data(), 5, &date), S_OK);
    // A second call replaces the point.
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), second.data(), 12, &date), S_OK);

    PointPtr data;
    ASSERT_EQ(m_faces->GetFaceFeaturePoint(face, Type(), data.Receive()), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(data->GetFeaturePointID(&id), S_OK);
    EXPECT_EQ(id, face);
    EXPECT_EQ(data->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, face);
    uint32_t value = 0;
    EXPECT_EQ(data->GetIndividualType(&value), S_OK);
    EXPECT_EQ(value, Type());
    EXPECT_EQ(data->GetDataFormat(&value), S_OK);
    EXPECT_EQ(value, 0u);
    SYSTEMTIME stored{};
    EXPECT_EQ(data->GetUpdateDate(&stored), S_OK);
    EXPECT_TRUE(file_mgr_test::SameDay(stored, date));
    EXPECT_EQ(BlockOf(data.Get(), 0), second);
    EXPECT_EQ(data.Get()->AddRef(), 2u);
    data.Get()->Release();

    CArray<uint64_t> ids;
    CArray<uint64_t> dates;
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &ids, &dates, 0, 0), S_OK);
    EXPECT_EQ(IdsOf(ids), Ids{face});
    EXPECT_EQ(IdsOf(dates), Ids{static_cast<uint64_t>(file_mgr_test::Packed(date))});

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(WorkingIndexRows(Names(), "feature_point_id=" + std::to_string(face) +
                                            " AND remove=0 AND update_date=" +
                                            std::to_string(file_mgr_test::Packed(date))),
              1);
    EXPECT_EQ(WorkingBlobHex(Names(), face), Hex(second));
}

TEST_P(FaceManagerPoints, FeaturePointIdsStopAtTheLimit) {
    uint64_t file = CatalogueFile("a.jpg");
    Bytes point = BytesOf("point");
    for (int face = 0; face < 3; ++face)
        ASSERT_EQ(m_faces->SetFaceFeaturePoint(AddFace(Type(), file), Type(), point.data(), 5, nullptr), S_OK);
    CArray<uint64_t> ids;
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &ids, nullptr, 12345, 2), S_OK);
    EXPECT_EQ(ids.GetSize(), 2);
    ASSERT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &ids, nullptr, 0, 0), S_OK);
    EXPECT_EQ(ids.GetSize(), 3) << "emptied first, then all";
}

TEST_P(FaceManagerPoints, EmptyFeaturePointBlobsAreRefusedAndWriteNothing) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    uint64_t individual = AddIndividual(Type(), "Ann");
    Bytes point = BytesOf("point");
    const void* blocks[] = {point.data()};
    uint32_t sizes[] = {5};

    EXPECT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), nullptr, 5, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), point.data(), 0, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoint(individual, Type(), nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoint(individual, Type(), point.data(), 0), kInvalidArg);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoints(individual, Type(), nullptr, sizes, 1), kInvalidArg);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoints(individual, Type(), blocks, nullptr, 1), kInvalidArg);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoints(individual, Type(), blocks, sizes, 0), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateIndividualFeaturePoint(individual, Type(), nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateIndividualFeaturePoint(individual, Type(), point.data(), 0), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateIndividualFeaturePoints(individual, Type(), blocks, sizes, 0), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoint(individual, Type(), nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoints(individual, Type(), nullptr, sizes, 1), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoints(individual, Type(), blocks, sizes, 0), kInvalidArg);

    PointPtr data;
    EXPECT_EQ(m_faces->GetFaceFeaturePoint(face, Type(), data.Receive()), kFail);
    EXPECT_EQ(m_faces->GetIndividualFeaturePoint(individual, Type(), data.Receive()), kFail);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(WorkingIndexRows(Names()), 0);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), individual), "");
}

TEST_P(FaceManagerPoints, IndividualPointsLiveInTheIndividualSet) {
    uint64_t individual = AddIndividual(Type(), "Ann");
    Bytes one = BytesOf("one"), two = BytesOf("two!");
    const void* blocks[] = {one.data(), two.data()};
    uint32_t sizes[] = {3, 4};
    ASSERT_EQ(m_faces->AddIndividualFeaturePoints(individual, Type(), blocks, sizes, 2), S_OK);

    PointPtr data;
    ASSERT_EQ(m_faces->GetIndividualFeaturePoint(individual, Type(), data.Receive()), S_OK);
    uint32_t format = 9;
    EXPECT_EQ(data->GetDataFormat(&format), S_OK);
    EXPECT_EQ(format, 1u);
    EXPECT_EQ(data->GetBlockCount(), 2u);
    EXPECT_EQ(BlockOf(data.Get(), 1), two);

    Bytes replaced = BytesOf("replaced");
    ASSERT_EQ(m_faces->UpdateIndividualFeaturePoint(individual, Type(), replaced.data(), 8), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), individual), Hex(replaced));

    ASSERT_EQ(m_faces->RemoveIndividualFeaturePoint(individual, Type()), S_OK);
    EXPECT_EQ(m_faces->GetIndividualFeaturePoint(individual, Type(), data.Receive()), kFail);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), individual), "");
}

// UpdateGroupFeaturePoint is UpdateIndividualFeaturePoint: the bytes go to
// the individual set under the number given, which must hold a point
// already; the group's merged blob stays as it was. UpdateGroupFeaturePoints
// is the one that writes to the group set.
TEST_P(FaceManagerPoints, UpdateGroupFeaturePointWritesToTheIndividualSet) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = CatalogueFace(Type(), file);
    uint64_t second = CatalogueFace(Type(), file);
    Bytes one = BytesOf("one"), two = BytesOf("two!");
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(first, Type(), one.data(), 3, nullptr), S_OK);
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(second, Type(), two.data(), 4, nullptr), S_OK);
    const uint64_t faces[] = {first, second};
    uint64_t groupId = 0;
    ASSERT_EQ(m_faces->CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), S_OK);
    PointGroupPtr group;
    ASSERT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    uint64_t pointId = 0;
    ASSERT_EQ(group->GetFeaturePointID(&pointId), S_OK);
    ASSERT_NE(pointId, 0u);

    Bytes fresh = BytesOf("fresh");
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 5), kInvalidArg)
        << "no individual point of that number to update";
    Bytes old = BytesOf("old");
    ASSERT_EQ(m_faces->AddIndividualFeaturePoint(pointId, Type(), old.data(), 3), S_OK);
    ASSERT_EQ(m_faces->UpdateGroupFeaturePoint(pointId, Type(), fresh.data(), 5), S_OK);

    PointPtr individualPoint;
    ASSERT_EQ(m_faces->GetIndividualFeaturePoint(pointId, Type(), individualPoint.Receive()), S_OK);
    EXPECT_EQ(BlockOf(individualPoint.Get(), 0), fresh);
    PointPtr merged;
    ASSERT_EQ(group->GetFeaturePoint(merged.Receive()), S_OK);
    EXPECT_EQ(merged->GetBlockCount(), 2u);
    EXPECT_EQ(BlockOf(merged.Get(), 0), one);
    EXPECT_EQ(BlockOf(merged.Get(), 1), two);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), pointId), Hex(fresh));
    EXPECT_EQ(PointHex(GroupSetShard(Names()), pointId), "02000000" "03000000" + Hex(one) + "04000000" + Hex(two));

    Bytes x = BytesOf("x"), y = BytesOf("yy");
    const void* blocks[] = {x.data(), y.data()};
    uint32_t sizes[] = {1, 2};
    ASSERT_EQ(m_faces->UpdateGroupFeaturePoints(pointId, Type(), blocks, sizes, 2), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(PointHex(GroupSetShard(Names()), pointId), "02000000" "01000000" + Hex(x) + "02000000" + Hex(y));
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), pointId), Hex(fresh));
}

// A face without a point stops the merge and the partial blob is dropped; a
// merge without a blob draws no id and answers S_OK, so the group is made
// all the same, with feature point 0, and its faces leave the working set.
TEST_P(FaceManagerPoints, GroupOfAFaceWithoutAPointIsMadeWithFeaturePointZero) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = CatalogueFace(Type(), file);
    uint64_t second = CatalogueFace(Type(), file);
    Bytes one = BytesOf("one");
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(first, Type(), one.data(), 3, nullptr), S_OK);
    const uint64_t faces[] = {first, second};
    uint64_t groupId = 0;
    ASSERT_EQ(m_faces->CreateFeaturePointGroup(Type(), faces, 2, &groupId, 2), S_OK);
    ASSERT_NE(groupId, 0u);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk(Names().groupTable, "group_id=" + std::to_string(groupId) + " AND feature_point_id=0"),
              1);
    EXPECT_EQ(CountOnDisk(Names().groupItemTable, "feature_point_id=0 AND group_id=" + std::to_string(groupId)), 2);
    EXPECT_EQ(CountOnDisk("last_id_table", "id_type=" + std::to_string(Names().pointIdType)), 0)
        << "no feature point id drawn";
    EXPECT_EQ(WorkingRemoveFlag(Names(), first), 1);
    PointGroupPtr group;
    ASSERT_EQ(m_faces->GetFeaturePointGroup(groupId, Type(), group.Receive(), 0), S_OK);
    PointPtr merged;
    EXPECT_EQ(group->GetFeaturePoint(merged.Receive()), kFail);
}

TEST_P(FaceManagerPoints, RemoveAllFaceFeaturePointsDeletesTheWorkingShards) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    Bytes point = BytesOf("point");
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), point.data(), 5, nullptr), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    fs::path index = DatabaseFolder() / FirstShard(std::string(Names().points) + "w");
    fs::path blobs = DatabaseFolder() / (std::string(Names().points) + "w/_00000000.db");
    ASSERT_TRUE(fs::exists(index));
    ASSERT_TRUE(fs::exists(blobs));

    ASSERT_EQ(m_faces->RemoveAllFaceFeaturePoints(), S_OK);
    EXPECT_FALSE(fs::exists(index));
    EXPECT_FALSE(fs::exists(blobs));
    CArray<uint64_t> ids;
    EXPECT_EQ(m_faces->GetFaceFeaturePointIDs(Type(), &ids, nullptr, 0, 0), kFail) << "no working shard open";
    EXPECT_TRUE(ids.IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerPoints, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace face_mgr_test
