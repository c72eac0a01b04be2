// Bad input to the face manager: individual types 0 and 3, thumbnail kinds
// 0 and 3, null records, arrays and out pointers, and ids that name
// nothing. Each call answers its own code and never crashes; afterwards a
// Commit still works and what was committed before is all there, with no id
// drawn or pooled by a refused call.
#include <chrono>
#include <future>
#include <utility>

#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

class FaceManagerBadInput : public FaceMgrFixture {
protected:
    // One file with a face of each type, and one individual of each type,
    // all committed.
    void SetUp() override {
        FaceMgrFixture::SetUp();
        m_file = CatalogueFile("a.jpg");
        m_personFace = AddFace(kPerson, m_file);
        m_petFace = AddFace(kPet, m_file);
        m_person = AddIndividual(kPerson, "Ann");
        m_pet = AddIndividual(kPet, "Rex");
        ASSERT_EQ(m_faces->Commit(), S_OK);
        m_before = Snapshot();
    }

    // What the catalogue holds on disk, the id counters and the pool
    // included.
    Rows Snapshot() {
        Rows rows = Disk("SELECT person_face_id, file_id, person_id, rect FROM person_face_table");
        for (const char* sql : {"SELECT pet_face_id, file_id, pet_id, rect FROM pet_face_table",
                                "SELECT person_id, name FROM person_table", "SELECT pet_id, name FROM pet_table",
                                "SELECT id_type, last_id FROM last_id_table ORDER BY id_type",
                                "SELECT id_type, pooled_id FROM pooled_id_table",
                                "SELECT * FROM face_group_table",
                                "SELECT * FROM person_face_feature_point_group_table",
                                "SELECT * FROM pet_face_feature_point_group_table"}) {
            rows.push_back({sql});
            for (auto& row : Disk(sql)) rows.push_back(row);
        }
        return rows;
    }

    // Commits and checks that the catalogue is as it was.
    void ExpectNothingChanged() {
        ASSERT_EQ(m_faces->Commit(), S_OK);
        EXPECT_EQ(Snapshot(), m_before);
        FacePtr face;
        EXPECT_EQ(m_faces->GetFace(m_personFace, kPerson, face.Receive()), S_OK);
        EXPECT_EQ(m_faces->GetFace(m_petFace, kPet, face.Receive()), S_OK);
    }

    uint64_t m_file = 0;
    uint64_t m_personFace = 0;
    uint64_t m_petFace = 0;
    uint64_t m_person = 0;
    uint64_t m_pet = 0;
    Rows m_before;
};

class FaceManagerBadTypes : public FaceManagerBadInput, public ::testing::WithParamInterface<uint32_t> {};

std::string BadTypeName(const ::testing::TestParamInfo<uint32_t>& info) { return "Type" + std::to_string(info.param); }

TEST_P(FaceManagerBadTypes, FaceOperationsRefuseTheType) {
    const uint32_t bad = GetParam();
    // Refused before an id is drawn.
    FacePtr face = NewFace(bad, m_file, Rect(1, 2, 3, 4));
    uint64_t id = 99;
    EXPECT_EQ(m_faces->AddFace(face.Get(), &id), kInvalidArg);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(face->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 0u);

    // The catalogue says no, and staging has no face of such a type.
    FacePtr good = NewFace(kPerson, m_file, Rect(1, 2, 3, 4));
    EXPECT_EQ(m_faces->UpdateFace(m_personFace, bad, good.Get()), kFail);
    // Neither store's delete runs, so nothing is pooled.
    EXPECT_EQ(m_faces->RemoveFace(m_personFace, bad), kFail);

    IZanDB4FaceDBRecord* found = good.Get();
    EXPECT_EQ(m_faces->GetFace(m_personFace, bad, &found), kInvalidArg);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(m_faces->GetFaceCount(bad), 0u);
    CArray<IZanDB4FaceDBRecord*> faces;
    CArray<uint64_t> ids;
    EXPECT_EQ(m_faces->GetFaces(bad, &faces), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceIDs(bad, &ids), kInvalidArg);
    EXPECT_EQ(m_faces->GetFacesInFile(m_file, bad, &faces), kInvalidArg);
    EXPECT_EQ(m_faces->GetUnassignedFaces(bad, &faces), kInvalidArg);
    EXPECT_TRUE(faces.IsEmpty());
    EXPECT_TRUE(ids.IsEmpty());
    ExpectNothingChanged();
}

TEST_P(FaceManagerBadTypes, IndividualOperationsRefuseTheType) {
    const uint32_t bad = GetParam();
    IndividualPtr individual = NewIndividual(bad, "Zed");
    uint64_t id = 99;
    EXPECT_EQ(m_faces->AddIndividual(individual.Get(), &id), kInvalidArg);
    EXPECT_EQ(id, 0u);

    IndividualPtr good = NewIndividual(kPerson, "Changed");
    EXPECT_EQ(m_faces->UpdateIndividual(m_person, good.Get(), bad), kInvalidArg);
    EXPECT_EQ(m_faces->RemoveIndividual(m_person, bad), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualCount(bad), 0x80070057u);
    IZanDB4IndividualDBRecord* found = good.Get();
    EXPECT_EQ(m_faces->GetIndividual(m_person, bad, &found), kInvalidArg);
    EXPECT_EQ(found, nullptr);
    CArray<IZanDB4IndividualDBRecord*> individuals;
    CArray<uint64_t> ids;
    EXPECT_EQ(m_faces->GetIndividuals(bad, &individuals, 2), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDs(bad, &ids), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInFile(m_file, bad, &individuals, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInAlbum(0, bad, &individuals, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDsInAlbum(0, bad, &ids), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInFaceGroup(0, bad, &individuals, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDsInFaceGroup(0, bad, &ids), kInvalidArg);
    CArray<IZanDB4IndividualDBRecord*> order;
    order.Add(good.Get());
    EXPECT_EQ(m_faces->SetCustomOrder(bad, &order), kInvalidArg);
    EXPECT_EQ(m_faces->ClearCustomOrder(bad), kInvalidArg);
    EXPECT_TRUE(individuals.IsEmpty());
    EXPECT_TRUE(ids.IsEmpty());
    ExpectNothingChanged();
}

TEST_P(FaceManagerBadTypes, ThumbnailOperationsRefuseTheType) {
    const uint32_t bad = GetParam();
    Bytes bytes = BytesOf("bytes");
    CachePtr cache = Thumb(bytes);
    for (BOOL forIndividual : {kFalse, kTrue}) {
        EXPECT_EQ(m_faces->AddThumbnail(m_personFace, 1, bad, forIndividual, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->AddThumbnailFromCache(m_personFace, 1, bad, forIndividual, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_faces->UpdateThumbnail(m_personFace, 1, bad, forIndividual, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->UpdateThumbnailFromCache(m_personFace, 2, bad, forIndividual, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_faces->RemoveThumbnail(m_personFace, 2, bad, forIndividual), kInvalidArg);
        IZanDB4FileCache* out = cache.Get();
        EXPECT_EQ(m_faces->GetThumbnail(m_personFace, 1, bad, forIndividual, &out), kInvalidArg);
        EXPECT_EQ(m_faces->RemoveAllThumbnails(bad, forIndividual), kInvalidArg);
    }
    EXPECT_EQ(cache->AddRef(), 2u) << "no reference kept or handed out";
    cache->Release();
    ExpectNothingChanged();
}

TEST_P(FaceManagerBadTypes, FeaturePointOperationsRefuseTheType) {
    const uint32_t bad = GetParam();
    Bytes bytes = BytesOf("bytes");
    const void* blocks[] = {bytes.data()};
    uint32_t sizes[] = {5};
    EXPECT_EQ(m_faces->SetFaceFeaturePoint(m_personFace, bad, bytes.data(), 5, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->RemoveFaceFeaturePoint(m_personFace, bad), kInvalidArg);
    IZanDB4FaceFeaturePointData* data = reinterpret_cast<IZanDB4FaceFeaturePointData*>(&bytes);
    EXPECT_EQ(m_faces->GetFaceFeaturePoint(m_personFace, bad, &data), kInvalidArg);
    EXPECT_EQ(data, nullptr);
    CArray<uint64_t> ids;
    EXPECT_EQ(m_faces->GetFaceFeaturePointIDs(bad, &ids, nullptr, 0, 0), kInvalidArg);

    const uint64_t faces[] = {m_personFace};
    uint64_t groupId = 99;
    EXPECT_EQ(m_faces->CreateFeaturePointGroup(bad, faces, 1, &groupId, 1), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    // The update operations of the point sets answer E_FAIL for a bad type.
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoints(1, bad, blocks, sizes, 1), kFail);
    EXPECT_EQ(m_faces->UpdateGroupFeaturePoint(1, bad, bytes.data(), 5), kFail);
    // A group that cannot be read counts as removed.
    EXPECT_EQ(m_faces->RemoveFeaturePointGroup(1, bad), S_OK);
    IZanDB4FaceFeaturePointGroup* group = reinterpret_cast<IZanDB4FaceFeaturePointGroup*>(&bytes);
    EXPECT_EQ(m_faces->GetFeaturePointGroup(1, bad, &group, 0), kInvalidArg);
    EXPECT_EQ(group, nullptr);
    CArray<IZanDB4FaceFeaturePointGroup*> groups;
    EXPECT_EQ(m_faces->GetFeaturePointGroupIDs(bad, &ids), kInvalidArg);
    EXPECT_EQ(m_faces->GetFeaturePointGroups(bad, &groups), kInvalidArg);

    EXPECT_EQ(m_faces->AddIndividualFeaturePoints(m_person, bad, blocks, sizes, 1), kFail);
    EXPECT_EQ(m_faces->AddIndividualFeaturePoint(m_person, bad, bytes.data(), 5), kFail);
    EXPECT_EQ(m_faces->UpdateIndividualFeaturePoints(m_person, bad, blocks, sizes, 1), kFail);
    EXPECT_EQ(m_faces->UpdateIndividualFeaturePoint(m_person, bad, bytes.data(), 5), kFail);
    EXPECT_EQ(m_faces->RemoveIndividualFeaturePoint(m_person, bad), kFail);
    data = reinterpret_cast<IZanDB4FaceFeaturePointData*>(&bytes);
    EXPECT_EQ(m_faces->GetIndividualFeaturePoint(m_person, bad, &data), kFail);
    EXPECT_EQ(data, nullptr);
    ExpectNothingChanged();
    EXPECT_EQ(WorkingIndexRows(TwinOf(kPerson)), 0);
}

// AddFace and AddIndividual look at the record and its type before they take
// the lock: while another thread holds it they refuse at once.
TEST_P(FaceManagerBadTypes, AddFaceAndAddIndividualRefuseBeforeTheLock) {
    using namespace std::chrono_literals;
    FacePtr face = NewFace(GetParam(), m_file, Rect(1, 2, 3, 4));
    IndividualPtr individual = NewIndividual(GetParam(), "Zed");
    ASSERT_EQ(m_faces->Lock(), S_OK);
    auto badFace = std::async(std::launch::async, [&] { return m_faces->AddFace(face.Get(), nullptr); });
    auto noFace = std::async(std::launch::async, [&] { return m_faces->AddFace(nullptr, nullptr); });
    auto badIndividual =
        std::async(std::launch::async, [&] { return m_faces->AddIndividual(individual.Get(), nullptr); });
    bool answered = badFace.wait_for(60s) == std::future_status::ready &&
                    noFace.wait_for(60s) == std::future_status::ready &&
                    badIndividual.wait_for(60s) == std::future_status::ready;
    ASSERT_EQ(m_faces->Unlock(), S_OK);
    EXPECT_TRUE(answered);
    EXPECT_EQ(badFace.get(), kInvalidArg);
    EXPECT_EQ(noFace.get(), kInvalidArg);
    EXPECT_EQ(badIndividual.get(), kInvalidArg);
    ExpectNothingChanged();
}

// Only AddFace, AddIndividual, RemoveAllThumbnails and
// CreateFeaturePointGroup check a type before the lock; every other
// operation holds the lock from entry to exit, save its null checks, so
// while another thread holds it even a call with a bad type or kind waits.
TEST_P(FaceManagerBadTypes, OtherOperationsWaitForTheLockBeforeRefusingTheType) {
    using namespace std::chrono_literals;
    const uint32_t bad = GetParam();
    Bytes bytes = BytesOf("bytes");
    CArray<IZanDB4FaceDBRecord*> faces[3];
    CArray<uint64_t> ids[3];
    CachePtr cache;
    ASSERT_EQ(m_faces->Lock(), S_OK);
    std::vector<std::pair<std::string, std::future<HRESULT>>> calls;
    auto call = [&](const std::string& name, auto operation) {
        calls.emplace_back(name, std::async(std::launch::async, operation));
    };
    call("GetFaceCount", [&] { return static_cast<HRESULT>(m_faces->GetFaceCount(bad)); });
    call("GetFaces", [&] { return m_faces->GetFaces(bad, &faces[0]); });
    call("GetFaceIDs", [&] { return m_faces->GetFaceIDs(bad, &ids[0]); });
    call("GetFacesInFile", [&] { return m_faces->GetFacesInFile(m_file, bad, &faces[1]); });
    call("GetUnassignedFaces", [&] { return m_faces->GetUnassignedFaces(bad, &faces[2]); });
    call("GetIndividualCount", [&] { return static_cast<HRESULT>(m_faces->GetIndividualCount(bad)); });
    call("GetIndividualIDsInAlbum", [&] { return m_faces->GetIndividualIDsInAlbum(0, bad, &ids[1]); });
    call("GetIndividualIDsInFaceGroup", [&] { return m_faces->GetIndividualIDsInFaceGroup(0, bad, &ids[2]); });
    // The group thumbnails have a kind and no type.
    call("AddGroupThumbnail", [&] { return m_faces->AddGroupThumbnail(1, bad, bytes.data(), 5); });
    call("UpdateGroupThumbnail", [&] { return m_faces->UpdateGroupThumbnail(1, bad, bytes.data(), 5); });
    call("RemoveGroupThumbnail", [&] { return m_faces->RemoveGroupThumbnail(1, bad); });
    call("GetGroupThumbnail", [&] { return m_faces->GetGroupThumbnail(1, bad, cache.Receive()); });

    // None of them can finish while the lock is held; a moment is long
    // enough for one that does not wait to show it.
    calls.back().second.wait_for(300ms);
    std::vector<std::string> answeredWhileLocked;
    for (auto& [name, future] : calls)
        if (future.wait_for(0s) == std::future_status::ready) answeredWhileLocked.push_back(name);
    ASSERT_EQ(m_faces->Unlock(), S_OK);

    EXPECT_EQ(answeredWhileLocked, std::vector<std::string>{});
    std::vector<HRESULT> answers;
    for (auto& [name, future] : calls) answers.push_back(future.get());
    EXPECT_EQ(answers, (std::vector<HRESULT>{0, kInvalidArg, kInvalidArg, kInvalidArg, kInvalidArg,
                                             static_cast<HRESULT>(0x80070057u), kInvalidArg, kInvalidArg,
                                             kInvalidArg, kInvalidArg, kInvalidArg, kInvalidArg}));
    ExpectNothingChanged();
}

INSTANTIATE_TEST_SUITE_P(ZeroAndThree, FaceManagerBadTypes, ::testing::Values(0u, 3u), BadTypeName);

TEST_F(FaceManagerBadInput, ThumbnailKindsOtherThanOneAndTwoAreRefused) {
    Bytes bytes = BytesOf("bytes");
    CachePtr cache = Thumb(bytes);
    for (uint32_t kind : {0u, 3u}) {
        EXPECT_EQ(m_faces->AddThumbnail(m_personFace, kind, kPerson, kFalse, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->AddThumbnailFromCache(m_person, kind, kPerson, kTrue, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_faces->UpdateThumbnail(m_petFace, kind, kPet, kFalse, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->UpdateThumbnailFromCache(m_pet, kind, kPet, kTrue, cache.Get()), kInvalidArg);
        EXPECT_EQ(m_faces->RemoveThumbnail(m_personFace, kind, kPerson, kFalse), kInvalidArg);
        CachePtr out;
        EXPECT_EQ(m_faces->GetThumbnail(m_personFace, kind, kPerson, kFalse, out.Receive()), kInvalidArg);
        EXPECT_EQ(m_faces->AddGroupThumbnail(1, kind, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->UpdateGroupThumbnail(1, kind, bytes.data(), 5), kInvalidArg);
        EXPECT_EQ(m_faces->RemoveGroupThumbnail(1, kind), kInvalidArg);
        EXPECT_EQ(m_faces->GetGroupThumbnail(1, kind, out.Receive()), kInvalidArg);
    }
    ExpectNothingChanged();
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "psnf_0s"));
    EXPECT_FALSE(fs::exists(DatabaseFolder() / "grf_0s"));
}

TEST_F(FaceManagerBadInput, NullRecordsArraysAndOutPointersAreRefused) {
    uint64_t id = 99;
    EXPECT_EQ(m_faces->AddFace(nullptr, &id), kInvalidArg);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(m_faces->UpdateFace(m_personFace, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateFace(m_petFace, kPet, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFace(m_personFace, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaces(kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceIDs(kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFacesInFile(m_file, kPet, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetUnassignedFaces(kPet, nullptr), kInvalidArg);

    id = 99;
    EXPECT_EQ(m_faces->AddIndividual(nullptr, &id), kInvalidArg);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(m_faces->UpdateIndividual(m_person, nullptr, kPerson), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividual(m_person, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividuals(kPerson, nullptr, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDs(kPet, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInFile(m_file, kPerson, nullptr, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInAlbum(0, kPerson, nullptr, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDsInAlbum(0, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualsInFaceGroup(0, kPet, nullptr, 1), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualIDsInFaceGroup(0, kPet, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->SetCustomOrder(kPerson, nullptr), kInvalidArg);

    id = 99;
    EXPECT_EQ(m_faces->AddFaceGroup(nullptr, &id), kInvalidArg);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(m_faces->UpdateFaceGroup(1, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceGroup(1, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceGroups(nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceGroupIDs(nullptr), kInvalidArg);

    Bytes bytes = BytesOf("bytes");
    EXPECT_EQ(m_faces->AddThumbnailFromCache(m_personFace, 1, kPerson, kFalse, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateThumbnailFromCache(m_personFace, 1, kPerson, kFalse, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->AddThumbnail(m_personFace, 1, kPerson, kFalse, nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->AddThumbnail(m_petFace, 2, kPet, kFalse, bytes.data(), 0), kInvalidArg);
    EXPECT_EQ(m_faces->UpdateThumbnail(m_person, 1, kPerson, kTrue, nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->GetThumbnail(m_personFace, 1, kPerson, kFalse, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->AddGroupThumbnail(1, 1, nullptr, 5), kInvalidArg);
    EXPECT_EQ(m_faces->GetGroupThumbnail(1, 1, nullptr), kInvalidArg);

    EXPECT_EQ(m_faces->GetFaceFeaturePoint(m_personFace, kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFaceFeaturePointIDs(kPerson, nullptr, nullptr, 0, 0), kInvalidArg);
    const uint64_t faces[] = {m_personFace};
    uint64_t groupId = 99;
    EXPECT_EQ(m_faces->CreateFeaturePointGroup(kPerson, nullptr, 1, &groupId, 1), kInvalidArg);
    EXPECT_EQ(groupId, 0u);
    EXPECT_EQ(m_faces->CreateFeaturePointGroup(kPerson, faces, 0, &groupId, 1), kInvalidArg);
    EXPECT_EQ(m_faces->CreateFeaturePointGroup(kPerson, faces, 1, &groupId, 0), kInvalidArg);
    EXPECT_EQ(m_faces->GetFeaturePointGroup(1, kPerson, nullptr, 0), kInvalidArg);
    EXPECT_EQ(m_faces->GetFeaturePointGroupIDs(kPerson, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetFeaturePointGroups(kPet, nullptr), kInvalidArg);
    EXPECT_EQ(m_faces->GetIndividualFeaturePoint(m_person, kPerson, nullptr), kInvalidArg);
    ExpectNothingChanged();
}

// Reads of ids that name nothing fail; writes that find no row do nothing
// and answer as deletes and updates of a missing row do.
TEST_F(FaceManagerBadInput, UnknownIdsNeverCrashAndLoseNothing) {
    for (uint32_t type : {kPerson, kPet}) {
        FacePtr face;
        EXPECT_EQ(m_faces->GetFace(4321, type, face.Receive()), kFail);
        IndividualPtr individual;
        EXPECT_EQ(m_faces->GetIndividual(4321, type, individual.Receive()), kFail);
        IndividualPtr changed = NewIndividual(type, "Nobody");
        EXPECT_EQ(m_faces->UpdateIndividual(4321, changed.Get(), type), S_OK) << "no row, no change";
        CArray<IZanDB4IndividualDBRecord*> individuals;
        EXPECT_EQ(m_faces->GetIndividualsInFile(4321, type, &individuals, 1), kFail);
        EXPECT_EQ(m_faces->GetIndividualsInFaceGroup(4321, type, &individuals, 1), kFail);
        CArray<IZanDB4FaceDBRecord*> faces;
        EXPECT_EQ(m_faces->GetFacesInFile(4321, type, &faces), kFail);

        CachePtr cache;
        EXPECT_EQ(m_faces->GetThumbnail(4321, 1, type, kFalse, cache.Receive()), kFail);
        EXPECT_FALSE(cache);
        Bytes bytes = BytesOf("bytes");
        EXPECT_EQ(m_faces->UpdateThumbnail(4321, 1, type, kTrue, bytes.data(), 5), kFail);
        EXPECT_EQ(m_faces->RemoveThumbnail(4321, 2, type, kTrue), S_OK);

        PointPtr data;
        EXPECT_EQ(m_faces->GetFaceFeaturePoint(4321, type, data.Receive()), kFail);
        EXPECT_EQ(m_faces->RemoveFaceFeaturePoint(4321, type), S_OK);
        EXPECT_EQ(m_faces->GetIndividualFeaturePoint(4321, type, data.Receive()), kFail);
        EXPECT_EQ(m_faces->UpdateIndividualFeaturePoint(4321, type, bytes.data(), 5), kInvalidArg)
            << "there is no point to update";
        EXPECT_EQ(m_faces->RemoveIndividualFeaturePoint(4321, type), S_OK);

        PointGroupPtr group;
        EXPECT_EQ(m_faces->GetFeaturePointGroup(4321, type, group.Receive(), 0), kFail);
        EXPECT_EQ(m_faces->RemoveFeaturePointGroup(4321, type), S_OK);
    }
    GroupPtr group;
    EXPECT_EQ(m_faces->GetFaceGroup(4321, group.Receive()), kFail);
    EXPECT_EQ(m_faces->ReservedFaceOperation(), S_OK);
    ExpectNothingChanged();
}

}  // namespace
}  // namespace face_mgr_test
