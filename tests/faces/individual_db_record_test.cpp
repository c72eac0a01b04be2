// The individual record and the group record: blank records from the factory
// with one reference, accessors that keep any value and refuse null
// pointers, string getters that fail on an empty string after emptying the
// caller's, the lazily loaded group set (read for pets, always empty for
// persons, never read again after a failure or a ClearGroups), and the live
// file count.
#include <gtest/gtest.h>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class IndividualRecord : public FaceStoreTest {};

// ------------------------------------------------------------ the object

TEST_F(IndividualRecord, FactoryMakesABlankIndividualWithOneReference) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    ASSERT_NE(dynamic_cast<CZanDB4IndividualDBRecord*>(individual.Get()), nullptr);
    EXPECT_EQ(RefCountOf(individual.Get()), 1);

    uint64_t id = 99;
    EXPECT_EQ(individual->GetID(&id), kOk);
    EXPECT_EQ(id, 0u);
    uint32_t value = 99;
    EXPECT_EQ(individual->GetIndividualType(&value), kOk);
    EXPECT_EQ(value, 0u);
    value = 99;
    EXPECT_EQ(individual->GetAttributes(&value), kOk);
    EXPECT_EQ(value, 0u);
    value = 99;
    EXPECT_EQ(individual->GetRecommend(&value), kOk);
    EXPECT_EQ(value, 0u);
    SYSTEMTIME birthday = file_record_test::FilledTime();
    EXPECT_EQ(individual->GetBirthday(&birthday), kOk);
    EXPECT_TRUE(file_record_test::IsZeroTime(birthday));
    CZanTString text = W("old");
    EXPECT_EQ(individual->GetName(text), kFail);
    EXPECT_TRUE(text.IsEmpty());
    text = W("old");
    EXPECT_EQ(individual->GetEmail(text), kFail);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(individual->IsGroupSetChanged(), 0);
    EXPECT_EQ(static_cast<CZanDB4IndividualDBRecord*>(individual.Get())->StoredFileCount(), 0u);
}

TEST_F(IndividualRecord, QueryInterfaceAnswersItsOwnIdentifierOnly) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    void* out = nullptr;
    ASSERT_EQ(individual->QueryInterface(IID_IZanDB4IndividualDBRecord, &out), kOk);
    EXPECT_EQ(out, static_cast<void*>(individual.Get()));
    EXPECT_EQ(RefCountOf(individual.Get()), 2);
    static_cast<IZanDB4IndividualDBRecord*>(out)->Release();
    EXPECT_EQ(RefCountOf(individual.Get()), 1);

    const IID unknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    for (const IID* iid : {&IID_IZanDB4IndividualGroupDBRecord, &IID_IZanDB4FaceDBRecord, &unknown}) {
        out = individual.Get();
        EXPECT_EQ(individual->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(individual->QueryInterface(IID_IZanDB4IndividualDBRecord, nullptr), kInvalidArg);
    EXPECT_EQ(RefCountOf(individual.Get()), 1);
}

TEST_F(IndividualRecord, AddRefAndReleaseCountAndTheLastReleaseAnswersZero) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    EXPECT_EQ(individual->AddRef(), 2u);
    EXPECT_EQ(individual->Release(), 1u);
    EXPECT_EQ(individual.Detach()->Release(), 0u);
}

// ------------------------------------------------------ setters and getters

TEST_F(IndividualRecord, SettersKeepTheValuesTheGettersGiveBack) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    // All sixteen bytes are copied, day of week and milliseconds too.
    SYSTEMTIME birthday = file_record_test::MakeTime(1990, 5, 17, 6, 7, 8, 999);
    birthday.wDayOfWeek = 4;
    EXPECT_EQ(individual->SetID(0xFFFFFFFFFFFFFFFEull), kOk);
    EXPECT_EQ(individual->SetIndividualType(2), kOk);
    EXPECT_EQ(individual->SetName(W("Zoë O'Brien 山田")), kOk);
    EXPECT_EQ(individual->SetEmail(W("zoe@example.org")), kOk);
    EXPECT_EQ(individual->SetBirthday(&birthday), kOk);
    EXPECT_EQ(individual->SetAttributes(0xFFFFFFFFu), kOk);
    EXPECT_EQ(individual->SetRecommend(0x80000001u), kOk);
    EXPECT_EQ(individual->SetFileCount(12), kOk);

    uint64_t id = 0;
    EXPECT_EQ(individual->GetID(&id), kOk);
    EXPECT_EQ(id, 0xFFFFFFFFFFFFFFFEull);
    uint32_t value = 0;
    EXPECT_EQ(individual->GetIndividualType(&value), kOk);
    EXPECT_EQ(value, 2u);
    EXPECT_EQ(individual->GetAttributes(&value), kOk);
    EXPECT_EQ(value, 0xFFFFFFFFu);
    EXPECT_EQ(individual->GetRecommend(&value), kOk);
    EXPECT_EQ(value, 0x80000001u);
    CZanTString text;
    EXPECT_EQ(individual->GetName(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "Zoë O'Brien 山田");
    EXPECT_EQ(individual->GetEmail(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "zoe@example.org");
    SYSTEMTIME seen{};
    EXPECT_EQ(individual->GetBirthday(&seen), kOk);
    EXPECT_TRUE(file_record_test::SameTime(seen, birthday));
    // The file count has a setter and no getter; the record keeps it unused.
    EXPECT_EQ(static_cast<CZanDB4IndividualDBRecord*>(individual.Get())->StoredFileCount(), 12u);
}

TEST_F(IndividualRecord, GetNameOfAnEmptyNameFailsAndHandsBackAnEmptyString) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    ASSERT_EQ(individual->SetName(W("Alice")), kOk);
    ASSERT_EQ(individual->SetName(W("")), kOk);
    CZanTString name = W("a name from before");
    EXPECT_EQ(individual->GetName(name), kFail);
    EXPECT_TRUE(name.IsEmpty());

    ASSERT_EQ(individual->SetEmail(W("")), kOk);
    CZanTString email = W("an email from before");
    EXPECT_EQ(individual->GetEmail(email), kFail);
    EXPECT_TRUE(email.IsEmpty());
}

TEST_F(IndividualRecord, NullPointersAreInvalidAndChangeNothing) {
    IndividualPtr individual = MakeIndividual(kPerson, 5, "Alice");
    ASSERT_TRUE(individual);
    const SYSTEMTIME birthday = Moment(1990, 5, 17);
    ASSERT_EQ(individual->SetBirthday(&birthday), kOk);

    EXPECT_EQ(individual->SetBirthday(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetID(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetIndividualType(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetBirthday(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetAttributes(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetRecommend(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetGroups(nullptr), kInvalidArg);
    EXPECT_EQ(individual->GetFileCount(nullptr), kInvalidArg);

    SYSTEMTIME seen{};
    EXPECT_EQ(individual->GetBirthday(&seen), kOk);
    EXPECT_TRUE(file_record_test::SameTime(seen, birthday));
    uint64_t id = 0;
    EXPECT_EQ(individual->GetID(&id), kOk);
    EXPECT_EQ(id, 5u);
}

TEST_F(IndividualRecord, TypeThreeIsKeptByTheRecordAndRefusedByTheFirstStoreOperation) {
    IndividualPtr individual = MakeIndividual(3, 40, "Nobody");
    ASSERT_TRUE(individual);
    uint32_t type = 0;
    EXPECT_EQ(individual->GetIndividualType(&type), kOk);
    EXPECT_EQ(type, 3u);

    EXPECT_EQ(Individuals().InsertIndividual(40, individual.Get()), kInvalidArg);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_table"), 0);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_table"), 0);
    // The record is as it was.
    EXPECT_EQ(individual->GetIndividualType(&type), kOk);
    EXPECT_EQ(type, 3u);
    EXPECT_EQ(RefCountOf(individual.Get()), 1);
}

TEST_F(IndividualRecord, TypeZeroOfABlankRecordIsRefusedByTheStore) {
    IndividualPtr individual = NewIndividual();
    ASSERT_TRUE(individual);
    ASSERT_EQ(individual->SetName(W("Unset")), kOk);
    EXPECT_EQ(Individuals().InsertIndividual(41, individual.Get()), kInvalidArg);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_table"), 0);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM pet_table"), 0);
}

// ------------------------------------------------------------- group set

TEST_F(IndividualRecord, PetGroupSetIsReadFromItsGroupItemRow) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (6, 31)");
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->GetGroupCount(), 1u);
    CArray<uint64_t> groups;
    groups.Add(99);
    EXPECT_EQ(pet->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{30}));
    // Loading is not a change.
    EXPECT_EQ(pet->IsGroupSetChanged(), 0);
}

TEST_F(IndividualRecord, GroupSetOfAPersonIsEmptyAfterALoadUntilTheClientAddsIds) {
    Exec("INSERT INTO person_group_item_table (person_id, face_group_id) VALUES (5, 30)");
    Exec("INSERT INTO person_group_item_table (person_id, face_group_id) VALUES (5, 31)");
    IndividualPtr person = MakeIndividual(kPerson, 5);
    ASSERT_TRUE(person);
    EXPECT_EQ(person->GetGroupCount(), 0u);
    CArray<uint64_t> groups;
    EXPECT_EQ(person->GetGroups(&groups), kFail);
    EXPECT_TRUE(groups.IsEmpty());
    EXPECT_EQ(person->IsGroupSetChanged(), 0);

    EXPECT_EQ(person->AddGroup(7), kOk);
    EXPECT_EQ(person->GetGroupCount(), 1u);
    EXPECT_EQ(person->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{7}));
    EXPECT_EQ(person->IsGroupSetChanged(), 1);
}

TEST_F(IndividualRecord, AddAndRemoveGroupKeepAnAscendingSetOfDistinctIds) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    // AddGroup loads the set first, so the stored 30 is kept.
    EXPECT_EQ(pet->AddGroup(40), kOk);
    EXPECT_EQ(pet->AddGroup(10), kOk);
    EXPECT_EQ(pet->AddGroup(10), kOk);
    CArray<uint64_t> groups;
    EXPECT_EQ(pet->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{10, 30, 40}));
    EXPECT_EQ(pet->GetGroupCount(), 3u);
    EXPECT_EQ(pet->IsGroupSetChanged(), 1);

    EXPECT_EQ(pet->RemoveGroup(30), kOk);
    EXPECT_EQ(pet->RemoveGroup(99), kOk);
    EXPECT_EQ(pet->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{10, 40}));
}

TEST_F(IndividualRecord, RemoveGroupLoadsTheSetFirstAndMarksItChanged) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->RemoveGroup(77), kOk);
    EXPECT_EQ(pet->IsGroupSetChanged(), 1);
    CArray<uint64_t> groups;
    EXPECT_EQ(pet->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{30}));
}

TEST_F(IndividualRecord, ClearGroupsOnAnUnloadedSetReadsNoRows) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->ClearGroups(), kOk);
    EXPECT_EQ(pet->GetGroupCount(), 0u);
    CArray<uint64_t> groups;
    groups.Add(1);
    EXPECT_EQ(pet->GetGroups(&groups), kFail);
    EXPECT_TRUE(groups.IsEmpty());
    EXPECT_EQ(pet->IsGroupSetChanged(), 1);

    // A record of the same pet that did load finds the row.
    IndividualPtr other = MakeIndividual(kPet, 5);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->GetGroupCount(), 1u);
}

TEST_F(IndividualRecord, ClearGroupsOfAPersonLeavesNoStatementOpen) {
    const size_t leftBefore = Catalogue().StatementsLeftOpen();
    const int openBefore = OpenStatements();
    IndividualPtr person = MakeIndividual(kPerson, 5);
    ASSERT_TRUE(person);
    EXPECT_EQ(person->ClearGroups(), kOk);
    EXPECT_EQ(person->GetGroupCount(), 0u);
    EXPECT_EQ(person->AddGroup(3), kOk);
    EXPECT_EQ(person->GetGroupCount(), 1u);
    EXPECT_EQ(Catalogue().StatementsLeftOpen(), leftBefore);
    EXPECT_EQ(OpenStatements(), openBefore);
}

TEST_F(IndividualRecord, GetGroupsOfAnIndividualWithoutGroupsFailsWithTheArrayEmptied) {
    for (uint32_t type : {kPerson, kPet}) {
        IndividualPtr individual = MakeIndividual(type, 8);
        ASSERT_TRUE(individual);
        CArray<uint64_t> groups;
        groups.Add(99);
        groups.Add(98);
        EXPECT_EQ(individual->GetGroups(&groups), kFail) << type;
        EXPECT_TRUE(groups.IsEmpty()) << type;
        EXPECT_EQ(individual->GetGroupCount(), 0u) << type;
    }
}

TEST_F(IndividualRecord, AFailedGroupReadIsNotTriedAgain) {
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->GetGroupCount(), 0u);
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    EXPECT_EQ(pet->GetGroupCount(), 0u);
    CArray<uint64_t> groups;
    EXPECT_EQ(pet->GetGroups(&groups), kFail);

    IndividualPtr fresh = MakeIndividual(kPet, 5);
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->GetGroupCount(), 1u);
}

TEST_F(IndividualRecord, TheGroupSetIsReadOnceOnly) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->GetGroupCount(), 1u);
    Exec("UPDATE pet_group_item_table SET face_group_id=31 WHERE pet_id=5");
    CArray<uint64_t> groups;
    EXPECT_EQ(pet->GetGroups(&groups), kOk);
    EXPECT_EQ(ValuesOf(groups), (Ids{30}));
}

TEST_F(IndividualRecord, GroupSetOfAnIndividualOfTypeThreeLoadsEmpty) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    const int openBefore = OpenStatements();
    IndividualPtr odd = MakeIndividual(3, 5);
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->GetGroupCount(), 0u);
    EXPECT_EQ(OpenStatements(), openBefore);
}

// ------------------------------------------------------------ file count

TEST_F(IndividualRecord, GetFileCountOfAPersonIsTheLiveCountOfDistinctFiles) {
    InsertIndividual(kPerson, 5, "Alice");
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPerson, 101, 10, 5);
    InsertFace(kPerson, 102, 11, 5);
    InsertFace(kPerson, 103, 12, 6);
    Exec("UPDATE person_table SET file_count=7 WHERE person_id=5");

    IndividualPtr loaded;
    ASSERT_EQ(Individuals().LoadIndividual(5, kPerson, loaded.Receive()), kOk);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(static_cast<CZanDB4IndividualDBRecord*>(loaded.Get())->StoredFileCount(), 7u);
    uint32_t count = 99;
    EXPECT_EQ(loaded->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 2u);

    // A client's record counts the same: it reads no member.
    IndividualPtr made = MakeIndividual(kPerson, 5);
    ASSERT_TRUE(made);
    ASSERT_EQ(made->SetFileCount(40), kOk);
    count = 99;
    EXPECT_EQ(made->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 2u);
}

TEST_F(IndividualRecord, GetFileCountOfAPetIsZero) {
    InsertIndividual(kPet, 5, "Rex");
    InsertFace(kPet, 100, 10, 5);
    InsertFace(kPet, 101, 11, 5);
    ASSERT_EQ(LiveInteger("SELECT COUNT(DISTINCT file_id) FROM pet_face_table WHERE pet_id=5"), 2);
    IndividualPtr pet = MakeIndividual(kPet, 5);
    ASSERT_TRUE(pet);
    uint32_t count = 99;
    EXPECT_EQ(pet->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 0u);
}

TEST_F(IndividualRecord, GetFileCountOfAnIndividualWithoutFacesIsZero) {
    IndividualPtr person = MakeIndividual(kPerson, 77);
    ASSERT_TRUE(person);
    uint32_t count = 99;
    EXPECT_EQ(person->GetFileCount(&count), kOk);
    EXPECT_EQ(count, 0u);
}

// ----------------------------------------------------------- group record

class GroupRecord : public FaceStoreTest {};

TEST_F(GroupRecord, FactoryMakesABlankGroupWithOneReference) {
    GroupPtr group = NewGroup();
    ASSERT_TRUE(group);
    ASSERT_NE(dynamic_cast<CZanDB4IndividualGroupDBRecord*>(group.Get()), nullptr);
    EXPECT_EQ(RefCountOf(group.Get()), 1);
    uint64_t id = 99;
    EXPECT_EQ(group->GetID(&id), kOk);
    EXPECT_EQ(id, 0u);
    uint32_t type = 99;
    EXPECT_EQ(group->GetType(&type), kOk);
    EXPECT_EQ(type, 0u);
    CZanTString text = W("old");
    EXPECT_EQ(group->GetName(text), kFail);
    EXPECT_TRUE(text.IsEmpty());
    text = W("old");
    EXPECT_EQ(group->GetDescription(text), kFail);
    EXPECT_TRUE(text.IsEmpty());

    EXPECT_EQ(group->AddRef(), 2u);
    EXPECT_EQ(group->Release(), 1u);
}

TEST_F(GroupRecord, QueryInterfaceAnswersItsOwnIdentifierOnly) {
    GroupPtr group = NewGroup();
    ASSERT_TRUE(group);
    void* out = nullptr;
    ASSERT_EQ(group->QueryInterface(IID_IZanDB4IndividualGroupDBRecord, &out), kOk);
    EXPECT_EQ(out, static_cast<void*>(group.Get()));
    EXPECT_EQ(RefCountOf(group.Get()), 2);
    static_cast<IZanDB4IndividualGroupDBRecord*>(out)->Release();
    out = group.Get();
    EXPECT_EQ(group->QueryInterface(IID_IZanDB4IndividualDBRecord, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(RefCountOf(group.Get()), 1);
}

TEST_F(GroupRecord, SettersKeepTheValuesAndEmptyStringsFail) {
    GroupPtr group = NewGroup();
    ASSERT_TRUE(group);
    EXPECT_EQ(group->SetID(0x8000000000000001ull), kOk);
    EXPECT_EQ(group->SetType(0xFFFFFFFFu), kOk);
    EXPECT_EQ(group->SetName(W("Família d'Anjou")), kOk);
    EXPECT_EQ(group->SetDescription(W("家族")), kOk);
    uint64_t id = 0;
    EXPECT_EQ(group->GetID(&id), kOk);
    EXPECT_EQ(id, 0x8000000000000001ull);
    uint32_t type = 0;
    EXPECT_EQ(group->GetType(&type), kOk);
    EXPECT_EQ(type, 0xFFFFFFFFu);
    CZanTString text;
    EXPECT_EQ(group->GetName(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "Família d'Anjou");
    EXPECT_EQ(group->GetDescription(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "家族");

    EXPECT_EQ(group->SetName(W("")), kOk);
    text = W("kept?");
    EXPECT_EQ(group->GetName(text), kFail);
    EXPECT_TRUE(text.IsEmpty());

    EXPECT_EQ(group->GetID(nullptr), kInvalidArg);
    EXPECT_EQ(group->GetType(nullptr), kInvalidArg);
}

TEST_F(GroupRecord, LoadFaceGroupReadsTheRowIntoANewRecord) {
    Exec(
        "INSERT INTO face_group_table (face_group_id, face_group_type, face_group_name, face_group_desc) "
        "VALUES (12, 3, 'O''Neil family', 'Ferien in Zürich')");
    GroupPtr group;
    ASSERT_EQ(Individuals().LoadFaceGroup(12, group.Receive()), kOk);
    ASSERT_TRUE(group);
    EXPECT_EQ(RefCountOf(group.Get()), 1);
    uint64_t id = 0;
    EXPECT_EQ(group->GetID(&id), kOk);
    EXPECT_EQ(id, 12u);
    uint32_t type = 0;
    EXPECT_EQ(group->GetType(&type), kOk);
    EXPECT_EQ(type, 3u);
    CZanTString text;
    EXPECT_EQ(group->GetName(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "O'Neil family");
    EXPECT_EQ(group->GetDescription(text), kOk);
    EXPECT_EQ(text.ToUtf8(), "Ferien in Zürich");
}

TEST_F(GroupRecord, LoadFaceGroupOfAMissingRowFailsWithANullRecord) {
    GroupPtr other = NewGroup();
    ASSERT_TRUE(other);
    IZanDB4IndividualGroupDBRecord* out = other.Get();
    EXPECT_EQ(Individuals().LoadFaceGroup(12, &out), kFail);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(RefCountOf(other.Get()), 1);
    EXPECT_EQ(Individuals().LoadFaceGroup(12, nullptr), kInvalidArg);
}

}  // namespace
}  // namespace face_store_test
