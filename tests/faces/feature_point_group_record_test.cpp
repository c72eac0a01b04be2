// The feature point group record: a snapshot of its row bound to the
// catalogue and, when read through the group operations, to its family;
// the merged blob read once from the group set and handed out with a new
// reference each time; the member ids and faces read now or from a cache
// loaded once; face_count read live from the row.
#include <set>

#include "faces/face_db_record.h"
#include "feature_point_group_fixture.h"

namespace feature_point_test {
namespace {

using FeaturePointGroupRecord = FeaturePointGroupTest;

int32_t RefCountOf(IZanDB4FaceDBRecord* face) {
    return static_cast<CZanDB4FaceDBRecord*>(face)->RefCount();
}

std::set<uint64_t> IdSet(const CArray<uint64_t>& ids) {
    std::set<uint64_t> set;
    for (ptrdiff_t i = 0; i < ids.GetSize(); ++i) set.insert(ids.GetAt(i));
    return set;
}

// The face ids of the records; releases each and empties the array.
std::set<uint64_t> TakeFaceIds(CArray<IZanDB4FaceDBRecord*>& faces) {
    std::set<uint64_t> ids;
    for (ptrdiff_t i = 0; i < faces.GetSize(); ++i) {
        uint64_t id = 0;
        EXPECT_EQ(faces.GetAt(i)->GetFaceID(&id), S_OK);
        ids.insert(id);
        faces.GetAt(i)->Release();
    }
    faces.RemoveAll();
    return ids;
}

TEST_P(FeaturePointGroupRecord, HoldsTheValuesOfItsRow) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({12, 11});
    GroupPtr group = LoadGroup(groupId);
    ASSERT_TRUE(group);
    uint64_t value = 0;
    EXPECT_EQ(group->GetID(&value), S_OK);
    EXPECT_EQ(value, groupId);
    EXPECT_EQ(group->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 12u);
    EXPECT_EQ(group->GetFeaturePointID(&value), S_OK);
    EXPECT_EQ(value, 1u);
    uint32_t type = 0;
    EXPECT_EQ(group->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, Type());
    SYSTEMTIME created{};
    EXPECT_EQ(group->GetCreateDate(&created), S_OK);
    EXPECT_EQ(PackedDate(created), NowPacked());
    EXPECT_EQ(static_cast<CZanDB4FaceFeaturePointGroup*>(group.Get())->RefCount(), 1);
}

TEST_P(FeaturePointGroupRecord, AccessorsRefuseNullOutsAndQueryInterfaceAnswersItsOwnIdentifier) {
    AddFaceWithPoint(11);
    GroupPtr group = LoadGroup(MakeGroup({11}));
    EXPECT_EQ(group->GetID(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetFaceID(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetFeaturePointID(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetIndividualType(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetCreateDate(nullptr), kInvalidArg);
    EXPECT_EQ(group->SetCreateDate(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetFeaturePoint(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetFaceIDs(nullptr, 1), kInvalidArg);
    EXPECT_EQ(group->GetFaces(nullptr, 1), kInvalidArg);
    EXPECT_EQ(group->GetFaceCount(nullptr), kInvalidArg);
    void* out = nullptr;
    ASSERT_EQ(group->QueryInterface(IID_IZanDB4FaceFeaturePointGroup, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(group.Get()));
    static_cast<IZanDB4FaceFeaturePointGroup*>(out)->Release();
    out = group.Get();
    EXPECT_EQ(group->QueryInterface(IID_IZanDB4FaceFeaturePointData, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_P(FeaturePointGroupRecord, GetFeaturePointReadsOnceAndHandsOutANewReferenceEachTime) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11, 12}));
    DataPtr first;
    ASSERT_EQ(group->GetFeaturePoint(first.Receive()), S_OK);
    // One reference kept by the record, one for the caller.
    EXPECT_EQ(RefCount(first.Get()), 2);
    DataPtr second;
    ASSERT_EQ(group->GetFeaturePoint(second.Receive()), S_OK);
    EXPECT_EQ(second.Get(), first.Get());
    EXPECT_EQ(RefCount(first.Get()), 3);
    second.Reset();
    EXPECT_EQ(group->ReleaseFeaturePoint(), S_OK);
    EXPECT_EQ(RefCount(first.Get()), 1);
    // Read again: a new object.
    DataPtr third;
    ASSERT_EQ(group->GetFeaturePoint(third.Receive()), S_OK);
    EXPECT_NE(third.Get(), first.Get());
    EXPECT_EQ(Block(third.Get(), 1), PointOf(12));
    uint64_t id = 0;
    EXPECT_EQ(third->GetFeaturePointID(&id), S_OK);
    EXPECT_EQ(id, FeaturePointIdOf(group.Get()));
}

TEST_P(FeaturePointGroupRecord, SetFeaturePointIdLetsTheCachedBlobGo) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11}));
    const uint64_t other = FeaturePointIdOf(LoadGroup(MakeGroup({12})).Get());
    DataPtr first;
    ASSERT_EQ(group->GetFeaturePoint(first.Receive()), S_OK);
    ASSERT_EQ(RefCount(first.Get()), 2);
    EXPECT_EQ(group->SetFeaturePointID(other), S_OK);
    EXPECT_EQ(RefCount(first.Get()), 1);
    DataPtr now;
    ASSERT_EQ(group->GetFeaturePoint(now.Receive()), S_OK);
    EXPECT_EQ(Block(now.Get(), 0), PointOf(12));
}

TEST_P(FeaturePointGroupRecord, GetFeaturePointFailsWhenTheRowOutlivedItsBlob) {
    AddFaceWithPoint(11);
    GroupPtr group = LoadGroup(MakeGroup({11}));
    ASSERT_EQ(Group(Type())->RemoveFeaturePoint(FeaturePointIdOf(group.Get())), S_OK);
    auto* junk = reinterpret_cast<IZanDB4FaceFeaturePointData*>(&group);
    IZanDB4FaceFeaturePointData* out = junk;
    EXPECT_EQ(group->GetFeaturePoint(&out), kFail);
    EXPECT_EQ(out, nullptr);
}

TEST_P(FeaturePointGroupRecord, ARecordReadWithoutAFamilyHasNoBlobToRead) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    GroupPtr group;
    {
        CriticalSectionGuard guard(Catalogue()->m_lock);
        ASSERT_EQ(FeaturePointGroupRows(*Catalogue()).LoadFeaturePointGroup(groupId, Type(), group.Receive()), S_OK);
    }
    DataPtr data;
    EXPECT_EQ(group->GetFeaturePoint(data.Receive()), kFail);
    // The rows are there all the same.
    CArray<uint64_t> ids;
    EXPECT_EQ(group->GetFaceIDs(&ids, 0), S_OK);
    EXPECT_EQ(Ids(ids), (std::vector<uint64_t>{11}));
}

TEST_P(FeaturePointGroupRecord, GetFaceIdsEmptiesTheArrayAndReadsNowOrFromItsCache) {
    for (uint64_t face : {11, 12, 13}) AddFaceWithPoint(face);
    const uint64_t groupId = MakeGroup({11, 12, 13});
    GroupPtr group = LoadGroup(groupId);
    CArray<uint64_t> ids;
    ids.Add(999);
    ASSERT_EQ(group->GetFaceIDs(&ids, 1), S_OK);
    EXPECT_EQ(IdSet(ids), (std::set<uint64_t>{11, 12, 13}));
    EXPECT_EQ(ids.GetSize(), 3);

    ASSERT_EQ(Groups().RemoveFaceFeaturePoint(13, Type()), S_OK);
    ASSERT_EQ(group->GetFaceIDs(&ids, 1), S_OK);
    EXPECT_EQ(IdSet(ids), (std::set<uint64_t>{11, 12, 13}));
    ASSERT_EQ(group->GetFaceIDs(&ids, 0), S_OK);
    EXPECT_EQ(IdSet(ids), (std::set<uint64_t>{11, 12}));
    // SetID drops the caches.
    ASSERT_EQ(group->SetID(groupId), S_OK);
    ASSERT_EQ(group->GetFaceIDs(&ids, 1), S_OK);
    EXPECT_EQ(IdSet(ids), (std::set<uint64_t>{11, 12}));
}

TEST_P(FeaturePointGroupRecord, GetFaceIdsOfAGroupWithoutItemsFailsWithAnEmptyArray) {
    AddFaceWithPoint(11);
    GroupPtr group = LoadGroup(MakeGroup({11}));
    ASSERT_EQ(group->SetID(4242), S_OK);
    CArray<uint64_t> ids;
    ids.Add(1);
    EXPECT_EQ(group->GetFaceIDs(&ids, 0), kFail);
    EXPECT_TRUE(ids.IsEmpty());
    ids.Add(1);
    EXPECT_EQ(group->GetFaceIDs(&ids, 1), kFail);
    EXPECT_TRUE(ids.IsEmpty());
}

TEST_P(FeaturePointGroupRecord, AFailedCachedLoadOfTheMembersIsNotRepeated) {
    for (uint64_t face : {11, 12, 21}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11, 12}));
    // Point the record at the id the next group will get: no items yet.
    ASSERT_EQ(group->SetID(2), S_OK);
    CArray<uint64_t> ids;
    CArray<IZanDB4FaceDBRecord*> faces;
    EXPECT_EQ(group->GetFaceIDs(&ids, 1), kFail);
    EXPECT_EQ(group->GetFaces(&faces, 1), kFail);
    ASSERT_EQ(MakeGroup({21}), 2u);
    // The cache counts as loaded: still nothing from it.
    EXPECT_EQ(group->GetFaceIDs(&ids, 1), kFail);
    EXPECT_TRUE(ids.IsEmpty());
    EXPECT_EQ(group->GetFaces(&faces, 1), kFail);
    EXPECT_TRUE(faces.IsEmpty());
    // Read now, the new member is there.
    ASSERT_EQ(group->GetFaceIDs(&ids, 0), S_OK);
    EXPECT_EQ(Ids(ids), (std::vector<uint64_t>{21}));
    ASSERT_EQ(group->GetFaces(&faces, 0), S_OK);
    EXPECT_EQ(TakeFaceIds(faces), (std::set<uint64_t>{21}));
}

TEST_P(FeaturePointGroupRecord, TheLastReleaseLetsGoOfTheCachedBlobAndFaces) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11, 12}));
    DataPtr data;
    ASSERT_EQ(group->GetFeaturePoint(data.Receive()), S_OK);
    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(group->GetFaces(&faces, 1), S_OK);
    ASSERT_EQ(faces.GetSize(), 2);
    EXPECT_EQ(RefCount(data.Get()), 2);
    EXPECT_EQ(RefCountOf(faces.GetAt(0)), 2);
    EXPECT_EQ(group.Detach()->Release(), 0u);
    EXPECT_EQ(RefCount(data.Get()), 1);
    EXPECT_EQ(RefCountOf(faces.GetAt(0)), 1);
    EXPECT_EQ(RefCountOf(faces.GetAt(1)), 1);
    EXPECT_EQ(TakeFaceIds(faces), (std::set<uint64_t>{11, 12}));
}

TEST_P(FeaturePointGroupRecord, GetFacesHandsOutRecordsWithTheirOwnReferences) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11, 12}));
    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(group->GetFaces(&faces, 1), S_OK);
    ASSERT_EQ(faces.GetSize(), 2);
    // The cache keeps one reference and the caller has one.
    for (ptrdiff_t i = 0; i < faces.GetSize(); ++i) EXPECT_EQ(RefCountOf(faces.GetAt(i)), 2) << i;
    uint32_t type = 0;
    EXPECT_EQ(faces.GetAt(0)->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, Type());
    EXPECT_EQ(TakeFaceIds(faces), (std::set<uint64_t>{11, 12}));

    // Read now: the caller's reference is the only one.
    ASSERT_EQ(group->GetFaces(&faces, 0), S_OK);
    ASSERT_EQ(faces.GetSize(), 2);
    for (ptrdiff_t i = 0; i < faces.GetSize(); ++i) EXPECT_EQ(RefCountOf(faces.GetAt(i)), 1) << i;
    EXPECT_EQ(TakeFaceIds(faces), (std::set<uint64_t>{11, 12}));
}

TEST_P(FeaturePointGroupRecord, GetFacesLeavesOutFacesGoneFromTheCatalogue) {
    for (uint64_t face : {11, 12}) AddFaceWithPoint(face);
    GroupPtr group = LoadGroup(MakeGroup({11, 12}));
    {
        CriticalSectionGuard guard(Catalogue()->m_lock);
        ASSERT_EQ(FaceTableRows(*Catalogue()).DeleteFace(12, Type()), S_OK);
    }
    CArray<IZanDB4FaceDBRecord*> faces;
    ASSERT_EQ(group->GetFaces(&faces, 0), S_OK);
    EXPECT_EQ(TakeFaceIds(faces), (std::set<uint64_t>{11}));
    // The item row is still there.
    CArray<uint64_t> ids;
    ASSERT_EQ(group->GetFaceIDs(&ids, 0), S_OK);
    EXPECT_EQ(IdSet(ids), (std::set<uint64_t>{11, 12}));
    {
        CriticalSectionGuard guard(Catalogue()->m_lock);
        ASSERT_EQ(FaceTableRows(*Catalogue()).DeleteFace(11, Type()), S_OK);
    }
    faces.Add(nullptr);
    EXPECT_EQ(group->GetFaces(&faces, 0), kFail);
    EXPECT_TRUE(faces.IsEmpty());
}

TEST_P(FeaturePointGroupRecord, GetFaceCountIsZeroWithSuccessWhenItCannotBeRead) {
    AddFaceWithPoint(11);
    const uint64_t groupId = MakeGroup({11});
    GroupPtr group = LoadGroup(groupId);
    uint32_t count = 9;
    ASSERT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    // A bad type in the record.
    ASSERT_EQ(group->SetIndividualType(3), S_OK);
    count = 9;
    EXPECT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    ASSERT_EQ(group->SetIndividualType(Type()), S_OK);
    // The row gone.
    ASSERT_EQ(Groups().RemoveFeaturePointGroup(groupId, Type()), S_OK);
    count = 9;
    EXPECT_EQ(group->GetFaceCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FeaturePointGroupRecord, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace feature_point_test
