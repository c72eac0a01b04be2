// The face manager's individuals and user groups: ids drawn from the
// catalogue and tested free, because the pool of the individuals also
// receives the numbers of removed faces and each removed individual twice;
// the counts with their asymmetry on a bad type; the list of ids of a user
// group, whose statement never prepares. Run for persons and pets where both
// apply.
#include "faces/face_manager_fixture.h"

namespace face_mgr_test {
namespace {

using FaceManagerIndividuals = FaceMgrTwinFixture;

TEST_F(FaceMgrFixture, IndividualCountOfABadTypeIsTheInvalidArgumentCodeWhereFaceCountIsZero) {
    AddIndividual(kPerson, "Ann");
    AddIndividual(kPerson, "Bob");
    AddIndividual(kPet, "Rex");
    EXPECT_EQ(m_faces->GetIndividualCount(kPerson), 2u);
    EXPECT_EQ(m_faces->GetIndividualCount(kPet), 1u);

    EXPECT_EQ(m_faces->GetIndividualCount(3), 0x80070057u);
    EXPECT_EQ(m_faces->GetIndividualCount(0), 0x80070057u);
    EXPECT_EQ(m_faces->GetFaceCount(3), 0u);
    EXPECT_EQ(m_faces->GetFaceCount(0), 0u);
}

TEST_P(FaceManagerIndividuals, AddIndividualWritesItsRowUnderANewId) {
    IndividualPtr individual = NewIndividual(Type(), "Ann");
    ASSERT_EQ(individual->SetEmail(W("ann@example.org")), S_OK);
    SYSTEMTIME birthday = file_mgr_test::Date(1990, 4, 5);
    ASSERT_EQ(individual->SetBirthday(&birthday), S_OK);
    ASSERT_EQ(individual->SetAttributes(7), S_OK);
    ASSERT_EQ(individual->SetRecommend(9), S_OK);
    uint64_t id = 99;
    ASSERT_EQ(m_faces->AddIndividual(individual.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t onRecord = 0;
    EXPECT_EQ(individual->GetID(&onRecord), S_OK);
    EXPECT_EQ(onRecord, id);
    EXPECT_EQ(individual->AddRef(), 2u) << "the manager keeps no reference";
    individual->Release();

    IndividualPtr second = NewIndividual(Type(), "Bob");
    ASSERT_EQ(m_faces->AddIndividual(second.Get(), nullptr), S_OK);
    EXPECT_EQ(second->GetID(&onRecord), S_OK);
    EXPECT_EQ(onRecord, 2u);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    Rows rows = Disk(std::string("SELECT ") + Names().individualColumn +
                     ", name, email, birthday, file_count, custom_index, atrributes, recommend FROM " +
                     Names().individualTable + " WHERE " + Names().individualColumn + "=1");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"1", "Ann", "ann@example.org",
                                                 std::to_string(file_mgr_test::Packed(birthday)), "NULL", "0", "7",
                                                 "9"}));
    EXPECT_GT(DiskInteger(std::string("SELECT register_date FROM ") + Names().individualTable), 0);

    IndividualPtr found;
    ASSERT_EQ(m_faces->GetIndividual(id, Type(), found.Receive()), S_OK);
    CZanTString name;
    EXPECT_EQ(found->GetName(name), S_OK);
    EXPECT_EQ(Utf8(name), "Ann");
}

TEST_P(FaceManagerIndividuals, RemovedIndividualLiesTwiceInThePool) {
    uint64_t id = AddIndividual(Type(), "Ann");
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(m_faces->RemoveIndividual(id, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().individualIdType, id), 2);
    EXPECT_EQ(CountOnDisk(Names().individualTable, "1"), 0);
}

// The first draw takes the pooled id, which is free; the second draw takes
// its second copy, finds it in use and draws again, so the copy is gone for
// good.
TEST_P(FaceManagerIndividuals, AddIndividualHandsOutAPooledIdOnceMoreOnlyWhileItIsFree) {
    uint64_t first = AddIndividual(Type(), "Ann");
    uint64_t second = AddIndividual(Type(), "Bob");
    ASSERT_EQ(m_faces->RemoveIndividual(first, Type()), S_OK);

    uint64_t again = AddIndividual(Type(), "Cid");
    EXPECT_EQ(again, first);
    uint64_t next = AddIndividual(Type(), "Dan");
    EXPECT_NE(next, first);
    EXPECT_EQ(next, second + 1);

    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().individualIdType, first), 0);
    Rows rows = Disk(std::string("SELECT ") + Names().individualColumn + ", name FROM " + Names().individualTable +
                     " ORDER BY 1");
    EXPECT_EQ(rows, (Rows{{std::to_string(first), "Cid"}, {std::to_string(second), "Bob"},
                          {std::to_string(next), "Dan"}}));
}

// RemoveFace gives a face's number to the pool of the individuals: the next
// individual gets the number of the removed face.
TEST_P(FaceManagerIndividuals, RemovedFacesNumberBecomesTheNextIndividualsId) {
    ASSERT_EQ(m_faces->RemoveFace(50, Type()), S_OK);
    EXPECT_EQ(AddIndividual(Type(), "Ann"), 50u);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().individualIdType, 50), 0);
    EXPECT_EQ(CountOnDisk(Names().individualTable, std::string(Names().individualColumn) + "=50"), 1);
}

// Face ids and individual ids are counted apart, so a face's number is often
// that of a living individual; such a pooled number is tested, dropped and
// never handed out twice.
TEST_P(FaceManagerIndividuals, RemovedFacesNumberIsNotHandedOutWhileAnIndividualHasIt) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t face = CatalogueFace(Type(), file);
    uint64_t individual = AddIndividual(Type(), "Ann");
    ASSERT_EQ(face, individual) << "both counters start at 1";

    ASSERT_EQ(m_faces->RemoveFace(face, Type()), S_OK);
    uint64_t next = AddIndividual(Type(), "Bob");
    EXPECT_NE(next, individual);
    EXPECT_EQ(next, individual + 1);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Pooled(Names().individualIdType, individual), 0);
    EXPECT_EQ(CountOnDisk(Names().individualTable, "1"), 2);
}

TEST_P(FaceManagerIndividuals, RemoveIndividualTakesItsFeaturePointAndIconsAndFreesItsFaces) {
    uint64_t file = CatalogueFile("a.jpg");
    uint64_t id = AddIndividual(Type(), "Ann");
    uint64_t face = CatalogueFace(Type(), file, Rect(1, 2, 3, 4), id);
    Bytes point = BytesOf("reference"), small = BytesOf("icon-s"), large = BytesOf("icon-l");
    ASSERT_EQ(m_faces->AddIndividualFeaturePoint(id, Type(), point.data(), static_cast<uint32_t>(point.size())),
              S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(id, 1, Type(), kTrue, small.data(), static_cast<uint32_t>(small.size())), S_OK);
    ASSERT_EQ(m_faces->AddThumbnail(id, 2, Type(), kTrue, large.data(), static_cast<uint32_t>(large.size())), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    ASSERT_EQ(PointHex(IndividualSetShard(Names()), id), Hex(point));
    ASSERT_EQ(ThumbnailHex(Names().icons, 1, id), Hex(small));
    ASSERT_EQ(ThumbnailHex(Names().icons, 2, id), Hex(large));

    ASSERT_EQ(m_faces->RemoveIndividual(id, Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    EXPECT_EQ(CountOnDisk(Names().individualTable, "1"), 0);
    EXPECT_EQ(PointHex(IndividualSetShard(Names()), id), "");
    EXPECT_EQ(ThumbnailRows(Names().icons, 1, id), 0);
    EXPECT_EQ(ThumbnailRows(Names().icons, 2, id), 0);
    // The face stays, given back to nobody.
    EXPECT_EQ(FaceRows(Names(), std::string(Names().faceIdColumn) + "=" + std::to_string(face) + " AND " +
                                    Names().individualColumn + "=0"),
              1);
    CArray<IZanDB4FaceDBRecord*> unassigned;
    ASSERT_EQ(m_faces->GetUnassignedFaces(Type(), &unassigned), S_OK);
    EXPECT_EQ(FaceIdsOf(unassigned), Ids{face});
}

TEST_P(FaceManagerIndividuals, IndividualsOfAFileAndOfAnAlbumComeFromTheirFaces) {
    file_mgr_test::FileSpec inAlbum = Spec("/photos/a.jpg", "a.jpg");
    inAlbum.albumId = 5;
    uint64_t file = AddStaged(inAlbum);
    uint64_t other = CatalogueFile("b.jpg");
    uint64_t ann = AddIndividual(Type(), "Ann");
    uint64_t bob = AddIndividual(Type(), "Bob");
    AddIndividual(Type(), "Cid");
    AddFace(Type(), file, Rect(1, 1, 5, 5), bob);
    AddFace(Type(), file, Rect(9, 9, 15, 15), ann);
    AddFace(Type(), other, Rect(1, 1, 5, 5), ann);
    ASSERT_EQ(m_faces->Commit(), S_OK);

    CArray<IZanDB4IndividualDBRecord*> individuals;
    ASSERT_EQ(m_faces->GetIndividualsInFile(file, Type(), &individuals, 2), S_OK);
    EXPECT_EQ(IndividualIdsOf(individuals), (Ids{ann, bob})) << "by name";
    ASSERT_EQ(m_faces->GetIndividualsInAlbum(5, Type(), &individuals, 1), S_OK);
    EXPECT_EQ(IndividualIdsOf(individuals), (Ids{ann, bob}));
    CArray<uint64_t> ids;
    ASSERT_EQ(m_faces->GetIndividualIDsInAlbum(5, Type(), &ids), S_OK);
    EXPECT_EQ(IdsOf(ids), (Ids{ann, bob}));
    EXPECT_EQ(m_faces->GetIndividualIDsInAlbum(6, Type(), &ids), kFail);
    EXPECT_TRUE(ids.IsEmpty());
}

TEST_P(FaceManagerIndividuals, CustomOrderPlacesTheIndividualsGivenAndTheRestAfter) {
    uint64_t ann = AddIndividual(Type(), "Ann");
    uint64_t bob = AddIndividual(Type(), "Bob");
    uint64_t cid = AddIndividual(Type(), "Cid");
    IndividualPtr first, second;
    ASSERT_EQ(m_faces->GetIndividual(cid, Type(), first.Receive()), S_OK);
    ASSERT_EQ(m_faces->GetIndividual(ann, Type(), second.Receive()), S_OK);
    CArray<IZanDB4IndividualDBRecord*> order;
    order.Add(first.Get());
    order.Add(nullptr);
    order.Add(second.Get());
    ASSERT_EQ(m_faces->SetCustomOrder(Type(), &order), S_OK);
    EXPECT_EQ(order.GetSize(), 3) << "the caller's array is left as it was";

    CArray<IZanDB4IndividualDBRecord*> individuals;
    ASSERT_EQ(m_faces->GetIndividuals(Type(), &individuals, 4), S_OK);
    EXPECT_EQ(IndividualIdsOf(individuals), (Ids{cid, ann, bob}));
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Disk(std::string("SELECT ") + Names().individualColumn + ", custom_index FROM " +
                   Names().individualTable + " ORDER BY 1"),
              (Rows{{std::to_string(ann), "2"}, {std::to_string(bob), "0"}, {std::to_string(cid), "1"}}));

    ASSERT_EQ(m_faces->ClearCustomOrder(Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk(Names().individualTable, "custom_index=0"), 3);
}

// The type argument picks the table, not the record's type; the record's
// group set is not written.
TEST_P(FaceManagerIndividuals, UpdateIndividualWritesTheTableOfTheTypeGiven) {
    uint64_t id = AddIndividual(Type(), "Ann");
    uint32_t otherType = Type() == kPerson ? kPet : kPerson;
    IndividualPtr changed = NewIndividual(otherType, "Anna");
    ASSERT_EQ(changed->SetEmail(W("anna@example.org")), S_OK);
    ASSERT_EQ(changed->AddGroup(3), S_OK);
    ASSERT_EQ(m_faces->UpdateIndividual(id, changed.Get(), Type()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Disk(std::string("SELECT name, email FROM ") + Names().individualTable),
              (Rows{{"Anna", "anna@example.org"}}));
    EXPECT_EQ(CountOnDisk(TwinOf(otherType).individualTable, "1"), 0);
    EXPECT_EQ(CountOnDisk(Names().groupMemberTable, "1"), 0);
}

// The list of ids has a statement with one parenthesis too many, which never
// prepares; the list of records has a sound one. A membership row is put on
// disk while the library is stopped, since no operation writes one.
TEST_P(FaceManagerIndividuals, IndividualIdsInAFaceGroupAlwaysFail) {
    uint64_t id = AddIndividual(Type(), "Ann");
    GroupPtr group = Make<IZanDB4IndividualGroupDBRecord>(IID_IZanDB4IndividualGroupDBRecord);
    ASSERT_EQ(group->SetName(W("Family")), S_OK);
    uint64_t groupId = 0;
    ASSERT_EQ(m_faces->AddFaceGroup(group.Get(), &groupId), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    Restart([&] {
        ArrangeOnDisk("FileBasic.db", std::string("INSERT INTO ") + Names().groupMemberTable + " (" +
                                          Names().individualColumn + ", face_group_id) VALUES (" +
                                          std::to_string(id) + ", " + std::to_string(groupId) + ")");
    });

    CArray<IZanDB4IndividualDBRecord*> members;
    ASSERT_EQ(m_faces->GetIndividualsInFaceGroup(groupId, Type(), &members, 1), S_OK);
    EXPECT_EQ(IndividualIdsOf(members), Ids{id});

    CArray<uint64_t> ids;
    ids.Add(77);
    EXPECT_EQ(m_faces->GetIndividualIDsInFaceGroup(groupId, Type(), &ids), kFail);
    EXPECT_TRUE(ids.IsEmpty());
    EXPECT_EQ(m_faces->GetIndividualIDsInFaceGroup(0, Type(), &ids), kFail);
}

TEST_F(FaceMgrFixture, FaceGroupsTakeIdsOfType3AndGiveThemBack) {
    GroupPtr group = Make<IZanDB4IndividualGroupDBRecord>(IID_IZanDB4IndividualGroupDBRecord);
    ASSERT_EQ(group->SetName(W("Family")), S_OK);
    ASSERT_EQ(group->SetDescription(W("at home")), S_OK);
    ASSERT_EQ(group->SetType(5), S_OK);
    uint64_t id = 99;
    ASSERT_EQ(m_faces->AddFaceGroup(group.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t onRecord = 0;
    EXPECT_EQ(group->GetID(&onRecord), S_OK);
    EXPECT_EQ(onRecord, id);
    EXPECT_EQ(m_faces->GetFaceGroupCount(), 1u);

    ASSERT_EQ(group->SetName(W("Friends")), S_OK);
    ASSERT_EQ(m_faces->UpdateFaceGroup(id, group.Get()), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(Disk("SELECT * FROM face_group_table"), (Rows{{"1", "5", "Friends", "at home"}}));

    ASSERT_EQ(m_faces->RemoveFaceGroup(id), S_OK);
    // A group that is not there is removed all the same, and its id pooled.
    ASSERT_EQ(m_faces->RemoveFaceGroup(40), S_OK);
    ASSERT_EQ(m_faces->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk("face_group_table", "1"), 0);
    EXPECT_EQ(Pooled(kFaceGroupIdType, id), 1);
    EXPECT_EQ(Pooled(kFaceGroupIdType, 40), 1);
    EXPECT_EQ(m_faces->GetFaceGroupCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(PersonsAndPets, FaceManagerIndividuals, ::testing::Values(kPerson, kPet), TypeName);

}  // namespace
}  // namespace face_mgr_test
