// The lists of individuals, for persons and for pets: the four orders (table
// order, by name, by registration, by the user's own order with the unplaced
// last), the lists in an album, in a face group and in a file, the empty
// list, and the user's order as SetCustomOrder and ClearCustomOrder write it.
#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

constexpr uint32_t kTableOrder = 1;
constexpr uint32_t kByName = 2;
constexpr uint32_t kByRegistration = 3;
constexpr uint32_t kByCustomIndex = 4;

class IndividualLists : public FaceTwinTest {
protected:
    // Three individuals whose table order (by id), name order and
    // registration order all differ:
    //   id 10 "Carol" registered 2021, id 20 "Alice" 2023, id 30 "Bob" 2022.
    void InsertThree() {
        InsertIndividualAt(Type(), 10, "Carol", Moment(2021, 1, 1));
        InsertIndividualAt(Type(), 20, "Alice", Moment(2023, 1, 1));
        InsertIndividualAt(Type(), 30, "Bob", Moment(2022, 1, 1));
    }

    void SetPlace(uint64_t id, int64_t customIndex) {
        Exec("UPDATE " + Table() + " SET custom_index=" + std::to_string(customIndex) + " WHERE " + Column() + "=" +
             S(id));
    }

    // A group item row; pets have one group at most.
    void InsertGroupItem(uint64_t id, uint64_t groupId) {
        Exec("INSERT INTO " + GroupItems() + " (" + Column() + ", face_group_id) VALUES (" + S(id) + ", " + S(groupId) +
             ")");
    }

    Ids List(uint32_t order, HRESULT expected = kOk) {
        CArray<IZanDB4IndividualDBRecord*> list;
        EXPECT_EQ(Individuals().ListIndividuals(Type(), list, order), expected) << "order " << order;
        return IdsOf(list);
    }

    // The custom_index column by id, as the store's connection sees it.
    Rows Places() { return Live("SELECT " + Column() + ", custom_index FROM " + Table() + " ORDER BY " + Column()); }

    // Records of this type standing for the ids, one reference each.
    std::vector<IndividualPtr> RecordsFor(const Ids& ids) {
        std::vector<IndividualPtr> records;
        for (uint64_t id : ids) records.push_back(MakeIndividual(Type(), id));
        return records;
    }
};

INSTANTIATE_TEST_SUITE_P(Twins, IndividualLists, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

// ------------------------------------------------------------------- orders

TEST_P(IndividualLists, OrderOneGivesTableOrder) {
    InsertThree();
    EXPECT_EQ(List(kTableOrder), (Ids{10, 20, 30}));
}

TEST_P(IndividualLists, OrderTwoSortsByName) {
    InsertThree();
    EXPECT_EQ(List(kByName), (Ids{20, 30, 10}));
}

TEST_P(IndividualLists, OrderThreeSortsByRegisterDate) {
    InsertThree();
    EXPECT_EQ(List(kByRegistration), (Ids{10, 30, 20}));
}

TEST_P(IndividualLists, AnyOtherOrderGivesTableOrder) {
    InsertThree();
    for (uint32_t order : {0u, 5u, 0xFFFFFFFFu}) EXPECT_EQ(List(order), (Ids{10, 20, 30})) << order;
}

TEST_P(IndividualLists, OrderFourWithCustomIndexesTwoZeroOneGivesOneTwoThenZero) {
    InsertThree();
    SetPlace(10, 2);
    SetPlace(20, 0);
    SetPlace(30, 1);
    EXPECT_EQ(List(kByCustomIndex), (Ids{30, 10, 20}));
}

TEST_P(IndividualLists, OrderFourPutsTheUnplacedLastInRegistrationOrder) {
    InsertIndividualAt(Type(), 1, "Placed second", Moment(2020, 6, 1));
    InsertIndividualAt(Type(), 2, "Unplaced late", Moment(2023, 6, 1));
    InsertIndividualAt(Type(), 3, "Unplaced early", Moment(2019, 6, 1));
    InsertIndividualAt(Type(), 4, "Placed first", Moment(2024, 6, 1));
    SetPlace(1, 2);
    SetPlace(4, 1);
    EXPECT_EQ(List(kByCustomIndex), (Ids{4, 1, 3, 2}));
}

TEST_P(IndividualLists, OrderFourWithNobodyPlacedGivesRegistrationOrder) {
    InsertThree();
    EXPECT_EQ(List(kByCustomIndex), (Ids{10, 30, 20}));
}

TEST_P(IndividualLists, AnEmptyTableFailsWithAnEmptyArray) {
    for (uint32_t order : {kTableOrder, kByName, kByRegistration, kByCustomIndex}) {
        CArray<IZanDB4IndividualDBRecord*> list;
        // What the array held is dropped from it, not released.
        IndividualPtr held = NewIndividual();
        ASSERT_TRUE(held);
        list.Add(held.Get());
        EXPECT_EQ(Individuals().ListIndividuals(Type(), list, order), kFail) << order;
        EXPECT_TRUE(list.IsEmpty());
        EXPECT_EQ(RefCountOf(held.Get()), 1);
    }
}

TEST_P(IndividualLists, ListedRecordsCarryTheirRowsAndType) {
    InsertThree();
    CArray<IZanDB4IndividualDBRecord*> list;
    ASSERT_EQ(Individuals().ListIndividuals(Type(), list, kByName), kOk);
    ASSERT_EQ(list.GetSize(), 3);
    CZanTString name;
    EXPECT_EQ(list.GetAt(0)->GetName(name), kOk);
    EXPECT_EQ(name.ToUtf8(), "Alice");
    uint32_t type = 0;
    EXPECT_EQ(list.GetAt(2)->GetIndividualType(&type), kOk);
    EXPECT_EQ(type, Type());
    EXPECT_EQ(IdsOf(list), (Ids{20, 30, 10}));
}

TEST_P(IndividualLists, TheOtherTwinsRowsAreNotListed) {
    InsertIndividual(Type() == kPerson ? kPet : kPerson, 10, "Elsewhere");
    EXPECT_EQ(List(kTableOrder, kFail), Ids{});
}

TEST_F(FaceStoreTest, ListsOfATypeOtherThanPersonOrPetAreInvalid) {
    InsertIndividual(kPerson, 10, "Carol");
    InsertIndividual(kPet, 10, "Rex");
    CArray<IZanDB4IndividualDBRecord*> list;
    for (uint32_t type : {0u, 3u}) {
        EXPECT_EQ(Individuals().ListIndividuals(type, list, kTableOrder), kInvalidArg) << type;
        EXPECT_EQ(Individuals().ListIndividualsInAlbum(1, type, list, kTableOrder), kInvalidArg) << type;
        EXPECT_EQ(Individuals().ListIndividualsInFaceGroup(1, type, list, kTableOrder), kInvalidArg) << type;
        EXPECT_EQ(Individuals().ListIndividualsInFile(1, type, list, kTableOrder), kInvalidArg) << type;
        EXPECT_TRUE(list.IsEmpty());
    }
}

// ---------------------------------------------------------- narrower lists

TEST_P(IndividualLists, ListInAlbumGivesEachIndividualWithAFaceInTheAlbumOnce) {
    InsertThree();
    InsertFile(1, 5);
    InsertFile(2, 5);
    InsertFile(3, 6);
    InsertFace(Type(), 100, 1, 10);
    InsertFace(Type(), 101, 2, 30);
    InsertFace(Type(), 102, 1, 30);
    InsertFace(Type(), 103, 3, 20);
    CArray<IZanDB4IndividualDBRecord*> list;
    EXPECT_EQ(Individuals().ListIndividualsInAlbum(5, Type(), list, kByName), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{30, 10}));
    EXPECT_EQ(Individuals().ListIndividualsInAlbum(5, Type(), list, kByRegistration), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{10, 30}));
    EXPECT_EQ(Individuals().ListIndividualsInAlbum(6, Type(), list, kTableOrder), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{20}));
    EXPECT_EQ(Individuals().ListIndividualsInAlbum(7, Type(), list, kTableOrder), kFail);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_P(IndividualLists, ListInFaceGroupGivesTheMembersOfTheGroup) {
    InsertThree();
    InsertGroupItem(10, 50);
    InsertGroupItem(20, 50);
    InsertGroupItem(30, 51);
    CArray<IZanDB4IndividualDBRecord*> list;
    EXPECT_EQ(Individuals().ListIndividualsInFaceGroup(50, Type(), list, kByName), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{20, 10}));
    EXPECT_EQ(Individuals().ListIndividualsInFaceGroup(50, Type(), list, kByRegistration), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{10, 20}));
    EXPECT_EQ(Individuals().ListIndividualsInFaceGroup(51, Type(), list, kTableOrder), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{30}));
    EXPECT_EQ(Individuals().ListIndividualsInFaceGroup(52, Type(), list, kTableOrder), kFail);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_P(IndividualLists, ListInFileGivesEachIndividualWithAFaceInTheFileOnce) {
    InsertThree();
    InsertFace(Type(), 100, 1, 10);
    InsertFace(Type(), 101, 1, 30);
    InsertFace(Type(), 102, 1, 30);
    InsertFace(Type(), 103, 2, 20);
    InsertFace(Type(), 104, 1, 0);
    CArray<IZanDB4IndividualDBRecord*> list;
    EXPECT_EQ(Individuals().ListIndividualsInFile(1, Type(), list, kByName), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{30, 10}));
    EXPECT_EQ(Individuals().ListIndividualsInFile(1, Type(), list, kByRegistration), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{10, 30}));
    EXPECT_EQ(Individuals().ListIndividualsInFile(2, Type(), list, kTableOrder), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{20}));
    EXPECT_EQ(Individuals().ListIndividualsInFile(3, Type(), list, kTableOrder), kFail);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_P(IndividualLists, ListInFileInOrderFourPutsTheUnplacedLast) {
    InsertThree();
    InsertFace(Type(), 100, 1, 10);
    InsertFace(Type(), 101, 1, 20);
    InsertFace(Type(), 102, 1, 30);
    SetPlace(20, 1);
    CArray<IZanDB4IndividualDBRecord*> list;
    EXPECT_EQ(Individuals().ListIndividualsInFile(1, Type(), list, kByCustomIndex), kOk);
    EXPECT_EQ(IdsOf(list), (Ids{20, 10, 30}));
}

// ------------------------------------------------------------ custom order

TEST_P(IndividualLists, SetCustomOrderNumbersTheArrayFromOneSkippingNullEntries) {
    InsertThree();
    std::vector<IndividualPtr> records = RecordsFor({30, 10});
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(nullptr);
    array.Add(records[0].Get());
    array.Add(nullptr);
    array.Add(records[1].Get());
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "2"}, {"20", "0"}, {"30", "1"}}));
    EXPECT_EQ(List(kByCustomIndex), (Ids{30, 10, 20}));
    // The array is the caller's, left as it was.
    EXPECT_EQ(array.GetSize(), 4);
    EXPECT_EQ(RefCountOf(records[0].Get()), 1);
}

TEST_P(IndividualLists, SetCustomOrderGivesARecordWithoutARowItsNumberAll) {
    InsertThree();
    // Id 0 and id 99 have no row; their numbers are used all the same,
    // which leaves gaps in the numbers on the rows.
    std::vector<IndividualPtr> records = RecordsFor({20, 0, 99, 10});
    CArray<IZanDB4IndividualDBRecord*> array;
    for (IndividualPtr& record : records) array.Add(record.Get());
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "4"}, {"20", "1"}, {"30", "0"}}));
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table()), 3);
    EXPECT_EQ(List(kByCustomIndex), (Ids{20, 10, 30}));
}

TEST_P(IndividualLists, SetCustomOrderClearsThePlacesOfThoseNotInTheArray) {
    InsertThree();
    SetPlace(10, 5);
    SetPlace(20, 6);
    std::vector<IndividualPtr> records = RecordsFor({30});
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(records[0].Get());
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "0"}, {"20", "0"}, {"30", "1"}}));
}

TEST_P(IndividualLists, SetCustomOrderWithAnEmptyArrayClearsEveryPlace) {
    InsertThree();
    SetPlace(10, 1);
    SetPlace(20, 2);
    SetPlace(30, 3);
    CArray<IZanDB4IndividualDBRecord*> empty;
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), empty), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "0"}, {"20", "0"}, {"30", "0"}}));
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + Table() + " WHERE custom_index=0"), 3);
}

TEST_P(IndividualLists, SetCustomOrderTouchesOnlyTheTableOfTheType) {
    InsertThree();
    const uint32_t other = Type() == kPerson ? kPet : kPerson;
    const std::string otherTable = other == kPerson ? "person_table" : "pet_table";
    InsertIndividual(other, 10, "Twin");
    Exec("UPDATE " + otherTable + " SET custom_index=7");
    // A record of the other type in the array: the type argument rules.
    IndividualPtr record = MakeIndividual(other, 10);
    ASSERT_TRUE(record);
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(record.Get());
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "1"}, {"20", "0"}, {"30", "0"}}));
    EXPECT_EQ(LiveInteger("SELECT custom_index FROM " + otherTable), 7);
}

TEST_P(IndividualLists, ClearCustomOrderUnplacesEveryIndividualOfTheType) {
    InsertThree();
    SetPlace(10, 1);
    SetPlace(30, 2);
    EXPECT_EQ(Individuals().ClearCustomOrder(Type()), kOk);
    EXPECT_EQ(Places(), (Rows{{"10", "0"}, {"20", "0"}, {"30", "0"}}));
}

TEST_P(IndividualLists, TheCustomOrderIsWrittenIntoTheOpenTransaction) {
    InsertThree();
    SetPlace(10, 1);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    ASSERT_EQ(Catalogue().m_inTransaction, 0);
    EXPECT_EQ(Individuals().ClearCustomOrder(Type()), kOk);
    EXPECT_EQ(Catalogue().m_inTransaction, 1);
    EXPECT_EQ(DiskInteger("SELECT custom_index FROM " + Table() + " WHERE " + Column() + "=10"), 1);

    std::vector<IndividualPtr> records = RecordsFor({20});
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(records[0].Get());
    EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
    EXPECT_EQ(DiskInteger("SELECT custom_index FROM " + Table() + " WHERE " + Column() + "=20"), 0);
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT " + Column() + ", custom_index FROM " + Table() + " ORDER BY " + Column()),
              (Rows{{"10", "0"}, {"20", "1"}, {"30", "0"}}));
}

TEST_F(FaceStoreTest, CustomOrderOfATypeOtherThanPersonOrPetIsInvalidAndChangesNothing) {
    InsertIndividual(kPerson, 10, "Carol");
    InsertIndividual(kPet, 10, "Rex");
    Exec("UPDATE person_table SET custom_index=3");
    Exec("UPDATE pet_table SET custom_index=4");
    IndividualPtr record = MakeIndividual(kPerson, 10);
    ASSERT_TRUE(record);
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(record.Get());
    CArray<IZanDB4IndividualDBRecord*> empty;
    for (uint32_t type : {0u, 3u}) {
        EXPECT_EQ(Individuals().SetCustomOrder(type, array), kInvalidArg) << type;
        EXPECT_EQ(Individuals().SetCustomOrder(type, empty), kInvalidArg) << type;
        EXPECT_EQ(Individuals().ClearCustomOrder(type), kInvalidArg) << type;
    }
    EXPECT_EQ(LiveInteger("SELECT custom_index FROM person_table"), 3);
    EXPECT_EQ(LiveInteger("SELECT custom_index FROM pet_table"), 4);
}

}  // namespace
}  // namespace face_store_test
