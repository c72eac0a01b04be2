// The rows of persons and pets: the insert with its register date, no custom
// place and no file count, names with apostrophes, non-ASCII letters or
// nothing at all; the update that goes by the type argument and ignores the
// group set; the row reader; the list of ids; the file count writer; and the
// test of whether an id of each id type is in use.
#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class IndividualRowsTwin : public FaceTwinTest {
protected:
    Rows LiveRow(uint64_t id) {
        return Live(
            "SELECT name, email, birthday, file_count, register_date, custom_index, atrributes, recommend "
            "FROM " +
            Table() + " WHERE " + Column() + "=" + S(id));
    }
};

INSTANTIATE_TEST_SUITE_P(Twins, IndividualRowsTwin, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

// ------------------------------------------------------------------ insert

TEST_P(IndividualRowsTwin, InsertWritesTheRecordWithTheMomentOfTheCallAndNoPlace) {
    IndividualPtr individual = MakeIndividual(Type(), 0, "Alice");
    ASSERT_TRUE(individual);
    const SYSTEMTIME birthday = Moment(1990, 5, 17, 6, 7, 8);
    ASSERT_EQ(individual->SetEmail(W("alice@example.org")), kOk);
    ASSERT_EQ(individual->SetBirthday(&birthday), kOk);
    ASSERT_EQ(individual->SetAttributes(0x55), kOk);
    ASSERT_EQ(individual->SetRecommend(3), kOk);
    ASSERT_EQ(individual->SetFileCount(9), kOk);
    const SYSTEMTIME now = Moment(2024, 2, 29, 23, 59, 58);
    zandb4::platform::SetSystemTimeForTesting(now);

    // The id argument rules, not the record's.
    EXPECT_EQ(Individuals().InsertIndividual(42, individual.Get()), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(
        Disk("SELECT " + Column() +
             ", name, email, birthday, file_count, register_date, custom_index, atrributes, recommend FROM " + Table()),
        (Rows{{"42", "Alice", "alice@example.org", S(Packed(birthday)), "NULL", S(Packed(now)), "0", "85", "3"}}));
    EXPECT_EQ(RefCountOf(individual.Get()), 1);
}

TEST_P(IndividualRowsTwin, InsertKeepsApostrophesAndNonAsciiLetters) {
    InsertIndividual(Type(), 1, "O'Brien");
    InsertIndividual(Type(), 2, "Zoë Ångström");
    InsertIndividual(Type(), 3, "山田 太郎");
    InsertIndividual(Type(), 4, "'; DROP TABLE person_table; --");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(
        Disk("SELECT " + Column() + ", name FROM " + Table() + " ORDER BY " + Column()),
        (Rows{{"1", "O'Brien"}, {"2", "Zoë Ångström"}, {"3", "山田 太郎"}, {"4", "'; DROP TABLE person_table; --"}}));

    IndividualPtr loaded;
    ASSERT_EQ(Individuals().LoadIndividual(3, Type(), loaded.Receive()), kOk);
    ASSERT_TRUE(loaded);
    CZanTString name;
    EXPECT_EQ(loaded->GetName(name), kOk);
    EXPECT_EQ(name.ToUtf8(), "山田 太郎");
}

TEST_P(IndividualRowsTwin, InsertOfAnEmptyNameStoresAnEmptyText) {
    InsertIndividual(Type(), 7, "");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT typeof(name), length(name), typeof(email) FROM " + Table()), (Rows{{"text", "0", "text"}}));

    IndividualPtr loaded;
    ASSERT_EQ(Individuals().LoadIndividual(7, Type(), loaded.Receive()), kOk);
    ASSERT_TRUE(loaded);
    CZanTString name = W("old");
    EXPECT_EQ(loaded->GetName(name), kFail);
    EXPECT_TRUE(name.IsEmpty());
}

TEST_P(IndividualRowsTwin, InsertOfATakenIdFailsAndKeepsTheRow) {
    InsertIndividual(Type(), 7, "First");
    IndividualPtr second = MakeIndividual(Type(), 7, "Second");
    ASSERT_TRUE(second);
    EXPECT_EQ(Individuals().InsertIndividual(7, second.Get()), kFail);
    EXPECT_EQ(Live("SELECT name FROM " + Table()), (Rows{{"First"}}));
}

TEST_P(IndividualRowsTwin, InsertGoesIntoTheTableOfTheRecordsType) {
    InsertIndividual(Type(), 7, "Only here");
    const std::string other = Type() == kPerson ? "pet_table" : "person_table";
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table()), 1);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + other), 0);
}

TEST_F(FaceStoreTest, InsertOfANullRecordIsInvalid) {
    EXPECT_EQ(Individuals().InsertIndividual(7, nullptr), kInvalidArg);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_table"), 0);
}

// ------------------------------------------------------------------ update

TEST_P(IndividualRowsTwin, UpdateRewritesTheFiveFieldsAndLeavesTheRest) {
    InsertIndividualAt(Type(), 7, "Old", Moment(2020, 1, 1));
    Exec("UPDATE " + Table() + " SET file_count=4, custom_index=2 WHERE " + Column() + "=7");

    IndividualPtr changed = MakeIndividual(Type(), 999, "Renée d'Arc");
    ASSERT_TRUE(changed);
    const SYSTEMTIME birthday = Moment(1985, 12, 24);
    ASSERT_EQ(changed->SetEmail(W("renee@example.org")), kOk);
    ASSERT_EQ(changed->SetBirthday(&birthday), kOk);
    ASSERT_EQ(changed->SetAttributes(6), kOk);
    ASSERT_EQ(changed->SetRecommend(1), kOk);
    ASSERT_EQ(changed->SetFileCount(50), kOk);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), Type()), kOk);
    EXPECT_EQ(LiveRow(7), (Rows{{"Renée d'Arc", "renee@example.org", S(Packed(birthday)), "4",
                                 S(Packed(Moment(2020, 1, 1))), "2", "6", "1"}}));
    EXPECT_TRUE(LiveRow(999).empty());
}

TEST_P(IndividualRowsTwin, UpdateGoesByTheTypeArgumentNotTheRecords) {
    InsertIndividual(kPerson, 7, "Person");
    InsertIndividual(kPet, 7, "Pet");
    const uint32_t other = Type() == kPerson ? kPet : kPerson;
    IndividualPtr changed = MakeIndividual(other, 7, "Changed");
    ASSERT_TRUE(changed);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), Type()), kOk);
    EXPECT_EQ(Live("SELECT name FROM " + Table()), (Rows{{"Changed"}}));
    EXPECT_EQ(Live(std::string("SELECT name FROM ") + (Type() == kPerson ? "pet_table" : "person_table")),
              (Rows{{Type() == kPerson ? "Pet" : "Person"}}));
}

TEST_P(IndividualRowsTwin, UpdateOfAnIdWithoutARowIsOkAndMakesNone) {
    IndividualPtr changed = MakeIndividual(Type(), 7, "Ghost");
    ASSERT_TRUE(changed);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), Type()), kOk);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM " + Table()), 0);
}

TEST_P(IndividualRowsTwin, UpdateDoesNotWriteTheGroupSet) {
    InsertIndividual(Type(), 7, "Grouped");
    IndividualPtr changed = MakeIndividual(Type(), 7, "Grouped");
    ASSERT_TRUE(changed);
    ASSERT_EQ(changed->ClearGroups(), kOk);
    ASSERT_EQ(changed->AddGroup(30), kOk);
    ASSERT_EQ(changed->AddGroup(31), kOk);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), Type()), kOk);
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM " + GroupItems()), 0);
}

TEST_F(FaceStoreTest, UpdateRefusesANullRecordAndATypeOtherThanPersonOrPet) {
    InsertIndividual(kPerson, 7, "Kept");
    IndividualPtr changed = MakeIndividual(kPerson, 7, "Changed");
    ASSERT_TRUE(changed);
    EXPECT_EQ(Individuals().UpdateIndividual(7, nullptr, kPerson), kInvalidArg);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), 0), kInvalidArg);
    EXPECT_EQ(Individuals().UpdateIndividual(7, changed.Get(), 3), kInvalidArg);
    EXPECT_EQ(Live("SELECT name FROM person_table"), (Rows{{"Kept"}}));
}

// -------------------------------------------------------------- row reader

TEST_P(IndividualRowsTwin, LoadReadsTheRowIntoANewRecordBoundToTheCatalogue) {
    Exec("INSERT INTO " + Table() + " VALUES (7, 'Bob', 'bob@example.org', " + S(Packed(Moment(1970, 1, 2))) +
         ", 3, 1000, 2, 17, 4)");
    InsertFace(Type(), 100, 10, 7);
    IndividualPtr loaded;
    ASSERT_EQ(Individuals().LoadIndividual(7, Type(), loaded.Receive()), kOk);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(RefCountOf(loaded.Get()), 1);
    uint64_t id = 0;
    EXPECT_EQ(loaded->GetID(&id), kOk);
    EXPECT_EQ(id, 7u);
    uint32_t value = 0;
    EXPECT_EQ(loaded->GetIndividualType(&value), kOk);
    EXPECT_EQ(value, Type());
    CZanTString text;
    EXPECT_EQ(loaded->GetName(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "Bob");
    EXPECT_EQ(loaded->GetEmail(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "bob@example.org");
    SYSTEMTIME birthday{};
    EXPECT_EQ(loaded->GetBirthday(&birthday), kOk);
    EXPECT_TRUE(file_record_test::SameTime(birthday, Moment(1970, 1, 2)));
    EXPECT_EQ(loaded->GetAttributes(&value), kOk);
    EXPECT_EQ(value, 17u);
    EXPECT_EQ(loaded->GetRecommend(&value), kOk);
    EXPECT_EQ(value, 4u);
    EXPECT_EQ(static_cast<CZanDB4IndividualDBRecord*>(loaded.Get())->StoredFileCount(), 3u);
    // Bound to the open catalogue: the live count answers (1 for a person,
    // 0 for a pet, whose count never prepares).
    EXPECT_EQ(loaded->GetFileCount(&value), kOk);
    EXPECT_EQ(value, Type() == kPerson ? 1u : 0u);
}

TEST_P(IndividualRowsTwin, LoadReadsAFileCountThatIsStillNullAsZero) {
    InsertIndividual(Type(), 7, "New");
    IndividualPtr loaded;
    ASSERT_EQ(Individuals().LoadIndividual(7, Type(), loaded.Receive()), kOk);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(static_cast<CZanDB4IndividualDBRecord*>(loaded.Get())->StoredFileCount(), 0u);
}

TEST_P(IndividualRowsTwin, LoadOfAnUnknownIdFailsWithANullRecord) {
    InsertIndividual(Type(), 7, "Known");
    IndividualPtr held = NewIndividual();
    ASSERT_TRUE(held);
    IZanDB4IndividualDBRecord* out = held.Get();
    EXPECT_EQ(Individuals().LoadIndividual(8, Type(), &out), kFail);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(RefCountOf(held.Get()), 1);
    EXPECT_EQ(Individuals().LoadIndividual(7, Type(), nullptr), kInvalidArg);
}

TEST_F(FaceStoreTest, LoadOfATypeOtherThanPersonOrPetIsInvalidWithANullRecord) {
    InsertIndividual(kPerson, 7, "Known");
    InsertIndividual(kPet, 7, "Known");
    for (uint32_t type : {0u, 3u}) {
        IndividualPtr held = NewIndividual();
        ASSERT_TRUE(held);
        IZanDB4IndividualDBRecord* out = held.Get();
        EXPECT_EQ(Individuals().LoadIndividual(7, type, &out), kInvalidArg) << type;
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(RefCountOf(held.Get()), 1);
    }
}

// --------------------------------------------------------------- id list

TEST_P(IndividualRowsTwin, ListIndividualIDsGivesEveryIdInTableOrder) {
    InsertIndividual(Type(), 30, "c");
    InsertIndividual(Type(), 10, "a");
    InsertIndividual(Type(), 20, "b");
    CArray<uint64_t> ids;
    ids.Add(99);
    EXPECT_EQ(Individuals().ListIndividualIDs(Type(), ids), kOk);
    EXPECT_EQ(ValuesOf(ids), (Ids{10, 20, 30}));
}

TEST_P(IndividualRowsTwin, ListIndividualIDsOfAnEmptyTableFailsWithAnEmptyArray) {
    CArray<uint64_t> ids;
    ids.Add(99);
    EXPECT_EQ(Individuals().ListIndividualIDs(Type(), ids), kFail);
    EXPECT_TRUE(ids.IsEmpty());
}

TEST_F(FaceStoreTest, ListIndividualIDsOfATypeOtherThanPersonOrPetIsInvalid) {
    InsertIndividual(kPerson, 7, "Known");
    CArray<uint64_t> ids;
    EXPECT_EQ(Individuals().ListIndividualIDs(3, ids), kInvalidArg);
    EXPECT_TRUE(ids.IsEmpty());
}

// ------------------------------------------------------------- file count

TEST_P(IndividualRowsTwin, SetIndividualFileCountWritesTheColumnInTheOpenTransaction) {
    InsertIndividual(Type(), 7, "Counted");
    ASSERT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Individuals().SetIndividualFileCount(7, Type(), 12), kOk);
    EXPECT_EQ(Catalogue().m_inTransaction, 1);
    EXPECT_EQ(LiveInteger("SELECT file_count FROM " + Table()), 12);
    EXPECT_EQ(DiskFileCount(T(), 7), "NULL");
}

TEST_F(FaceStoreTest, SetIndividualFileCountOfATypeOtherThanPersonOrPetIsInvalid) {
    InsertIndividual(kPerson, 7, "Counted");
    EXPECT_EQ(Individuals().SetIndividualFileCount(7, 3, 12), kInvalidArg);
    EXPECT_EQ(Live("SELECT file_count FROM person_table"), (Rows{{"NULL"}}));
}

TEST_F(FaceStoreTest, CountFilesOfIndividualOfATypeOtherThanPersonOrPetIsZero) {
    InsertFace(kPerson, 100, 10, 7);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(7, kPerson), 1u);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(7, 0), 0u);
    EXPECT_EQ(Catalogue().CountFilesOfIndividual(7, 3), 0u);
}

// -------------------------------------------------------------- id in use

TEST_F(FaceStoreTest, IsIDInUseLooksInTheTableOfEachIdType) {
    InsertFile(101, 0);
    Exec("INSERT INTO album_table (album_id, album_name) VALUES (102, 'Trip')");
    Exec("INSERT INTO face_group_table (face_group_id, face_group_name) VALUES (103, 'Family')");
    InsertIndividual(kPerson, 104, "Person");
    InsertFace(kPerson, 105, 101, 104);
    InsertIndividual(kPet, 106, "Pet");
    InsertFace(kPet, 107, 101, 106);
    Exec("INSERT INTO tag_table (tag_id, tag_name, tag_type) VALUES (108, 'Sea', 0)");

    for (uint32_t idType = 1; idType <= 8; ++idType) {
        for (uint64_t id = 101; id <= 108; ++id)
            EXPECT_EQ(Catalogue().IsIDInUse(id, idType), id == 100 + idType) << "id " << id << ", type " << idType;
        EXPECT_FALSE(Catalogue().IsIDInUse(109, idType)) << idType;
    }
}

TEST_F(FaceStoreTest, IsIDInUseOfAnUnknownIdTypeIsFalse) {
    InsertFile(101, 0);
    InsertIndividual(kPerson, 101, "Person");
    for (uint32_t idType : {0u, 9u, 0xFFFFFFFFu}) EXPECT_FALSE(Catalogue().IsIDInUse(101, idType)) << idType;
}

}  // namespace
}  // namespace face_store_test
