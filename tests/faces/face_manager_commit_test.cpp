// The face manager's thumbnails, Commit, Reopen and RemoveAllThumbnails.
// Commit commits staging, moves the staged faces, commits the catalogue
// whatever happened before, and only after three clean answers the
// thumbnail families psni, pti, psnf, ptf, grf and then the two feature
// point families, each only while the one before it worked. Reopen drops
// what no commit wrote, except in the feature point shards. A store refuses
// its commit when its file carries a newer major version, which the tests
// set while the library is stopped.
#include <chrono>
#include <future>

#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

using namespace std::chrono_literals;
using FaceManagerReopen = FaceMgrTwinFixture;
using FaceManagerThumbnails = FaceMgrTwinFixture;
using FaceManagerRemoveAllThumbnails = FaceMgrTwinFixture;

constexpr char kNewerMajorVersion[] = "UPDATE version_info_table SET version=2201";

// One of everything the face manager writes outside staging, none of it
// committed yet.
struct Uncommitted {
    uint64_t person = 0;
    uint64_t pet = 0;
    uint64_t personFace = 0;
    uint64_t petFace = 0;
    uint64_t group = 7;
};

class FaceManagerCommit : public FaceMgrFixture {
protected:
    // Catalogued faces of each type, then individuals, a thumbnail in each
    // of the five families and a feature point in each working and
    // individual set, all in open transactions.
    Uncommitted WriteEverything() {
        Uncommitted written;
        uint64_t file = CatalogueFile("everything.jpg");
        written.personFace = CatalogueFace(kPerson, file);
        written.petFace = CatalogueFace(kPet, file);
        written.person = AddIndividual(kPerson, "Ann");
        written.pet = AddIndividual(kPet, "Rex");
        Bytes bytes = BytesOf("bytes");
        EXPECT_EQ(m_faces->AddThumbnail(written.person, 1, kPerson, kTrue, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->AddThumbnail(written.pet, 1, kPet, kTrue, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->AddThumbnail(written.personFace, 1, kPerson, kFalse, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->AddThumbnail(written.petFace, 2, kPet, kFalse, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->AddGroupThumbnail(written.group, 1, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->SetFaceFeaturePoint(written.personFace, kPerson, bytes.data(), 5, nullptr), S_OK);
        EXPECT_EQ(m_faces->SetFaceFeaturePoint(written.petFace, kPet, bytes.data(), 5, nullptr), S_OK);
        EXPECT_EQ(m_faces->AddIndividualFeaturePoint(written.person, kPerson, bytes.data(), 5), S_OK);
        EXPECT_EQ(m_faces->AddIndividualFeaturePoint(written.pet, kPet, bytes.data(), 5), S_OK);
        return written;
    }

    int64_t IndividualRowsOnDisk() {
        return CountOnDisk("person_table", "1") + CountOnDisk("pet_table", "1");
    }
    int64_t PersonIconOnDisk(const Uncommitted& written) { return ThumbnailRows("psni", 1, written.person); }
    int64_t PetIconOnDisk(const Uncommitted& written) { return ThumbnailRows("pti", 1, written.pet); }
    int64_t PersonFaceThumbnailOnDisk(const Uncommitted& written) {
        return ThumbnailRows("psnf", 1, written.personFace);
    }
    int64_t PetFaceThumbnailOnDisk(const Uncommitted& written) { return ThumbnailRows("ptf", 2, written.petFace); }
    int64_t GroupThumbnailOnDisk(const Uncommitted& written) { return ThumbnailRows("grf", 1, written.group); }
    int64_t PointsOnDisk(const Uncommitted& written) {
        return (WorkingBlobHex(TwinOf(kPerson), written.personFace).empty() ? 0 : 1) +
               (WorkingBlobHex(TwinOf(kPet), written.petFace).empty() ? 0 : 1) +
               (PointHex(IndividualSetShard(TwinOf(kPerson)), written.person).empty() ? 0 : 1) +
               (PointHex(IndividualSetShard(TwinOf(kPet)), written.pet).empty() ? 0 : 1);
    }
};

TEST_F(FaceManagerCommit, CommitWithNoStagedFacesStillCommitsTheCatalogueAndEveryFamily) {
    Uncommitted written = WriteEverything();
    ASSERT_EQ(StagedFaceRows(TwinOf(kPerson)) + StagedFaceRows(TwinOf(kPet)), 0);
    // A second connection sees none of it yet.
    EXPECT_EQ(IndividualRowsOnDisk(), 0);
    EXPECT_EQ(PersonIconOnDisk(written), 0);
    EXPECT_EQ(PetIconOnDisk(written), 0);
    EXPECT_EQ(PersonFaceThumbnailOnDisk(written), 0);
    EXPECT_EQ(PetFaceThumbnailOnDisk(written), 0);
    EXPECT_EQ(GroupThumbnailOnDisk(written), 0);
    EXPECT_EQ(PointsOnDisk(written), 0);

    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(IndividualRowsOnDisk(), 2);
    EXPECT_EQ(PersonIconOnDisk(written), 1);
    EXPECT_EQ(PetIconOnDisk(written), 1);
    EXPECT_EQ(PersonFaceThumbnailOnDisk(written), 1);
    EXPECT_EQ(PetFaceThumbnailOnDisk(written), 1);
    EXPECT_EQ(GroupThumbnailOnDisk(written), 1);
    EXPECT_EQ(PointsOnDisk(written), 4);
}

// Step 4 runs whatever steps 2 and 3 answered; the shards wait for three
// clean answers.
TEST_F(FaceManagerCommit, RefusingStagingStoreFailsTheCommitYetTheCatalogueIsCommitted) {
    uint64_t file = CatalogueFile("a.jpg");
    Restart([&] { ArrangeOnDisk("FileBasicAsync.db", kNewerMajorVersion); });
    uint64_t staged = AddFace(kPerson, file);
    uint64_t person = AddIndividual(kPerson, "Ann");
    Bytes bytes = BytesOf("bytes");
    ASSERT_EQ(m_faces->AddThumbnail(person, 1, kPerson, kTrue, bytes.data(), 5), S_OK);

    EXPECT_EQ(m_faces->Commit(), kFail);

    EXPECT_EQ(CountOnDisk("person_table", "person_id=" + std::to_string(person)), 1);
    EXPECT_EQ(ThumbnailRows("psni", 1, person), 0);
    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(staged, kPerson, found.Receive()), kFail) << "no face moved";
    EXPECT_EQ(FaceRows(TwinOf(kPerson)), 0);
}

TEST_F(FaceManagerCommit, RefusingCatalogueGivesItsFailureAndNoShardIsCommitted) {
    CatalogueFile("a.jpg");
    Restart([&] { ArrangeOnDisk("FileBasic.db", kNewerMajorVersion); });
    uint64_t person = AddIndividual(kPerson, "Ann");
    Bytes bytes = BytesOf("bytes");
    ASSERT_EQ(m_faces->AddThumbnail(person, 1, kPerson, kTrue, bytes.data(), 5), S_OK);

    EXPECT_EQ(m_faces->Commit(), kFail);

    EXPECT_EQ(CountOnDisk("person_table", "1"), 0);
    EXPECT_EQ(ThumbnailRows("psni", 1, person), 0);
}

// The move commits the catalogue and then staging, each whatever the other
// answered: with a catalogue that refuses, the moved faces are gone from the
// staging file and not in the catalogue's file, though this session still
// reads them from the catalogue's open transaction.
TEST_F(FaceManagerCommit, MovedFacesLeaveTheStagingFileEvenWhenTheCatalogueRefuses) {
    uint64_t file = CatalogueFile("a.jpg");
    Restart([&] { ArrangeOnDisk("FileBasic.db", kNewerMajorVersion); });
    uint64_t face = AddFace(kPerson, file);

    EXPECT_EQ(m_faces->Commit(), kFail);

    EXPECT_EQ(StagedFaceRows(TwinOf(kPerson)), 0);
    EXPECT_EQ(StatusRows(TwinOf(kPerson)), 0);
    EXPECT_EQ(FaceRows(TwinOf(kPerson)), 0);
    FacePtr found;
    EXPECT_EQ(m_faces->GetFace(face, kPerson, found.Receive()), S_OK);
}

// InsertFaces goes on past a face that cannot go in and then answers
// E_FAIL: the move deletes and commits nothing, so every staged face waits
// for the next Commit, while the faces that did go in reach the disk with
// the catalogue's commit of step 4, and the shards wait.
TEST_F(FaceManagerCommit, FaceThatCannotMoveKeepsEveryStagedFaceForTheNextCommit) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t blocked = AddFace(kPerson, file);
    uint64_t other = AddFace(kPerson, file);
    Restart([&] {
        ArrangeOnDisk("FileBasic.db", "INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) "
                                      "VALUES (" + std::to_string(blocked) + ", 0, 0, 0)");
    });
    Bytes bytes = BytesOf("bytes");
    ASSERT_EQ(m_faces->AddThumbnail(other, 1, kPerson, kFalse, bytes.data(), 5), S_OK);

    EXPECT_EQ(m_faces->Commit(), kFail);

    const Twin& person = TwinOf(kPerson);
    EXPECT_EQ(StagedFaceRows(person), 2);
    EXPECT_EQ(StatusRows(person), 1);
    EXPECT_EQ(FaceRows(person, "person_face_id=" + std::to_string(other) + " AND file_id=" + std::to_string(file)),
              1);
    EXPECT_EQ(FaceRows(person, "person_face_id=" + std::to_string(blocked) + " AND file_id=0"), 1);
    EXPECT_EQ(ThumbnailRows("psnf", 1, other), 0);

    // The next Commit meets both faces in the catalogue now, and fails again.
    EXPECT_EQ(m_faces->Commit(), kFail);
    EXPECT_EQ(StagedFaceRows(person), 2);
}

// The shard families commit in the order psni, pti, psnf, ptf, grf, then
// the person and the pet feature points, and the first failure ends the
// chain: with psnf refusing, psni and pti reach the disk and nothing after.
TEST_F(FaceManagerCommit, ShardFamiliesCommitInOrderUntilTheFirstFailure) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t early = CatalogueFace(kPerson, file);
    Bytes bytes = BytesOf("bytes");
    ASSERT_EQ(m_faces->AddThumbnail(early, 1, kPerson, kFalse, bytes.data(), 5), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(ThumbnailRows("psnf", 1, early), 1);
    Restart([&] { ArrangeOnDisk(FirstShard("psnf_0s"), kNewerMajorVersion); });

    Uncommitted written = WriteEverything();
    EXPECT_EQ(m_faces->Commit(), kFail);

    EXPECT_EQ(IndividualRowsOnDisk(), 2) << "the catalogue commits before the shards";
    EXPECT_EQ(PersonIconOnDisk(written), 1);
    EXPECT_EQ(PetIconOnDisk(written), 1);
    EXPECT_EQ(PersonFaceThumbnailOnDisk(written), 0);
    EXPECT_EQ(PetFaceThumbnailOnDisk(written), 0);
    EXPECT_EQ(GroupThumbnailOnDisk(written), 0);
    EXPECT_EQ(PointsOnDisk(written), 0);
}

// Reopen drops the open transactions of the catalogue, staging and the
// thumbnail shards; the feature point shards keep theirs for the next
// Commit.
TEST_P(FaceManagerReopen, ReopenDropsUncommittedWorkButKeepsFeaturePoints) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    Bytes point = BytesOf("point"), thumbnail = BytesOf("thumb");
    ASSERT_EQ(m_faces->SetFaceFeaturePoint(face, Type(), point.data(), 5, nullptr), S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(face, 1, Type(), kFalse, thumbnail.data(), 5), S_OK);
    uint64_t individual = AddIndividual(Type(), "Ann");
    uint64_t staged = AddFace(Type(), file);

    ASSERT_EQ(m_faces->Reopen(), S_OK);

    IndividualPtr gone;
    EXPECT_EQ(m_faces->GetIndividual(individual, Type(), gone.Receive()), kFail);
    EXPECT_EQ(m_faces->GetIndividualCount(Type()), 0u);
    CachePtr cache;
    EXPECT_EQ(m_faces->GetThumbnail(face, 1, Type(), kFalse, cache.Receive()), kFail);
    FacePtr record = NewFace(Type(), file, Rect(1, 2, 3, 4));
    EXPECT_EQ(m_faces->UpdateFace(staged, Type(), record.Get()), kFail) << "in neither store";
    // The id counter went back with the catalogue's transaction.
    EXPECT_EQ(AddIndividual(Type(), "Bob"), individual);

    PointPtr kept;
    ASSERT_EQ(m_faces->GetFaceFeaturePoint(face, Type(), kept.Receive()), S_OK);
    EXPECT_EQ(BlockOf(kept.Get(), 0), point);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(WorkingBlobHex(Names(), face), Hex(point));
    EXPECT_EQ(WorkingRemoveFlag(Names(), face), 0);
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, face), 0);
    EXPECT_EQ(StagedFaceRows(Names()), 0);
}

// forIndividual picks the face or the individual family, the type the
// person or pet one, the kind its folder ending _0s or _1s.
TEST_P(FaceManagerThumbnails, GoToTheFamilyOfTheirIdTypeAndKind) {
    Bytes bytes = BytesOf("bytes"), other = BytesOf("other");
    CachePtr cache = Thumb(bytes, 9);
    ASSERT_EQ(m_faces->AddThumbnailFromCache(5, 1, Type(), kFalse, cache.Get()), S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(5, 2, Type(), kTrue, other.data(), 5), S_OK);
    EXPECT_EQ(m_faces->AddThumbnail(5, 1, Type(), kFalse, other.data(), 5), kFail) << "one is there already";
    EXPECT_EQ(m_faces->UpdateThumbnail(6, 1, Type(), kFalse, other.data(), 5), kFail) << "none to update";
    ASSERT_EQ(m_faces->UpdateThumbnail(5, 1, Type(), kFalse, other.data(), 5), S_OK);

    CachePtr found;
    ASSERT_EQ(m_faces->GetThumbnail(5, 1, Type(), kFalse, found.Receive()), S_OK);
    ASSERT_EQ(found->GetSize(), 5u);
    EXPECT_EQ(Bytes(static_cast<const uint8_t*>(found->GetData()), static_cast<const uint8_t*>(found->GetData()) + 5),
              other);
    uint64_t source = 0;
    EXPECT_EQ(found->GetSourceID(&source), S_OK);
    EXPECT_EQ(source, 9u) << "raw bytes keep the source id";
    EXPECT_EQ(m_faces->GetThumbnail(5, 2, Type(), kFalse, found.Receive()), kFail);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(ThumbnailHex(Names().faceThumbnails, 1, 5), Hex(other));
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 2, 5), 0);
    EXPECT_EQ(ThumbnailHex(Names().icons, 2, 5), Hex(other));
    EXPECT_EQ(ThumbnailRows(Names().icons, 1, 5), 0);
    const Twin& twin = TwinOf(Type() == kPerson ? kPet : kPerson);
    EXPECT_EQ(ThumbnailRows(twin.faceThumbnails, 1, 5), 0);
    EXPECT_EQ(ThumbnailRows(twin.icons, 2, 5), 0);

    ASSERT_EQ(m_faces->RemoveThumbnail(5, 2, Type(), kTrue), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(ThumbnailRows(Names().icons, 2, 5), 0);
}

TEST_P(FaceManagerRemoveAllThumbnails, EmptiesBothKindsOfOneFamilyAndNoOther) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t first = CatalogueFace(Type(), file);
    uint64_t second = CatalogueFace(Type(), file);
    uint64_t individual = AddIndividual(Type(), "Ann");
    Bytes bytes = BytesOf("bytes");
    for (uint64_t face : {first, second})
        for (uint32_t kind : {1u, 2u})
            ASSERT_EQ(m_faces->AddThumbnail(face, kind, Type(), kFalse, bytes.data(), 5), S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(individual, 1, Type(), kTrue, bytes.data(), 5), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    ASSERT_EQ(m_faces->RemoveAllThumbnails(Type(), kFalse), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    for (uint64_t face : {first, second})
        for (uint32_t kind : {1u, 2u}) EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, kind, face), 0);
    EXPECT_EQ(ThumbnailRows(Names().icons, 1, individual), 1);
}

// Only open shards are emptied: after a restart nothing has opened them.
TEST_P(FaceManagerRemoveAllThumbnails, LeavesShardsThatAreNotOpen) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    Bytes bytes = BytesOf("bytes");
    ASSERT_EQ(m_faces->AddThumbnail(face, 1, Type(), kFalse, bytes.data(), 5), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    Restart();

    ASSERT_EQ(m_faces->RemoveAllThumbnails(Type(), kFalse), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(ThumbnailRows(Names().faceThumbnails, 1, face), 1);
}

// While another thread holds the catalogue's lock, RemoveAllThumbnails with
// a bad type answers at once, since it checks type and family before taking
// the lock; with a good type it waits, and so does AddThumbnail, which
// selects its factory under the lock.
TEST_F(FaceMgrFixture, RemoveAllThumbnailsChecksTypeAndFamilyBeforeTheLock) {
    ASSERT_EQ(m_faces->Lock(), S_OK);
    Bytes bytes = BytesOf("bytes");
    auto badType = std::async(std::launch::async, [&] { return m_faces->RemoveAllThumbnails(3, kFalse); });
    auto noType = std::async(std::launch::async, [&] { return m_faces->RemoveAllThumbnails(0, kTrue); });
    auto goodType = std::async(std::launch::async, [&] { return m_faces->RemoveAllThumbnails(kPerson, kFalse); });
    auto badThumbnail =
        std::async(std::launch::async, [&] { return m_faces->AddThumbnail(1, 1, 3, kFalse, bytes.data(), 5); });

    bool badAnswered = badType.wait_for(60s) == std::future_status::ready;
    bool noAnswered = noType.wait_for(60s) == std::future_status::ready;
    // These can only finish once the lock is free.
    bool goodWaited = goodType.wait_for(200ms) == std::future_status::timeout;
    bool thumbnailWaited = badThumbnail.wait_for(1ms) == std::future_status::timeout;
    ASSERT_EQ(m_faces->Unlock(), S_OK);

    EXPECT_TRUE(badAnswered);
    EXPECT_TRUE(noAnswered);
    EXPECT_TRUE(goodWaited);
    EXPECT_TRUE(thumbnailWaited);
    EXPECT_EQ(badType.get(), kInvalidArg);
    EXPECT_EQ(noType.get(), kInvalidArg);
    EXPECT_EQ(goodType.get(), S_OK);
    EXPECT_EQ(badThumbnail.get(), kInvalidArg);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerReopen, ::testing::Values(kPerson, kPet), TypeName);
INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerThumbnails, ::testing::Values(kPerson, kPet), TypeName);
INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerRemoveAllThumbnails, ::testing::Values(kPerson, kPet),
                         TypeName);

}  // namespace
}  // namespace face_mgr_test
