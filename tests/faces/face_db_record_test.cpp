// The face record: a plain value made by the factory, answering
// QueryInterface for its own interface only, with setters that keep any
// value and getters that refuse a null pointer. Also the packed rectangle
// of the face tables and the row reader that turns a face row into a
// record.
#include <gtest/gtest.h>

#include "faces/face_rows.h"
#include "../records/file_db_record_fixture.h"
#include "faces/face_db_record.h"
#include "zandb4/faces.h"

namespace face_record_test {
namespace {

using zandb4::ComPtr;
using FacePtr = ComPtr<IZanDB4FaceDBRecord>;

inline int32_t Count(IZanDB4FaceDBRecord* face) { return static_cast<CZanDB4FaceDBRecord*>(face)->RefCount(); }

RECT MakeRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
    RECT rect;
    rect.left = left;
    rect.top = top;
    rect.right = right;
    rect.bottom = bottom;
    return rect;
}

bool SameRect(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

class FaceDBRecord : public file_record_test::FileRecordTest {
protected:
    FacePtr NewFace() {
        FacePtr face;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())), S_OK);
        return face;
    }
};

// ------------------------------------------------------------------ the object

TEST_F(FaceDBRecord, FactoryMakesABlankRecordWithOneReference) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    EXPECT_NE(dynamic_cast<CZanDB4FaceDBRecord*>(face.Get()), nullptr);
    EXPECT_EQ(Count(face.Get()), 1);
    uint64_t value = 99;
    EXPECT_EQ(face->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 0u);
    value = 99;
    EXPECT_EQ(face->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 0u);
    value = 99;
    EXPECT_EQ(face->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 0u);
    uint32_t type = 99;
    EXPECT_EQ(face->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 0u);
    RECT rect = MakeRect(1, 2, 3, 4);
    EXPECT_EQ(face->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, MakeRect(0, 0, 0, 0)));
}

TEST_F(FaceDBRecord, EachFactoryCallMakesANewRecord) {
    FacePtr first = NewFace();
    FacePtr second = NewFace();
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(first.Get(), second.Get());
    ASSERT_EQ(first->SetFaceID(7), S_OK);
    uint64_t id = 99;
    EXPECT_EQ(second->GetFaceID(&id), S_OK);
    EXPECT_EQ(id, 0u);
}

TEST_F(FaceDBRecord, QueryInterfaceAnswersItsOwnIdentifierWithANewReference) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    void* out = nullptr;
    ASSERT_EQ(face->QueryInterface(IID_IZanDB4FaceDBRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(face.Get()));
    EXPECT_EQ(Count(face.Get()), 2);
    static_cast<IZanDB4FaceDBRecord*>(out)->Release();
    EXPECT_EQ(Count(face.Get()), 1);
}

TEST_F(FaceDBRecord, QueryInterfaceRefusesEveryOtherIdentifier) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    for (const IID* iid : {&IID_IZanDB4FileDBRecord, &IID_IZanDB4IndividualDBRecord,
                           &IID_IZanDB4IndividualGroupDBRecord, &IID_IZanDB4FaceDBMgr, &IID_IZanDB4QueryNode}) {
        void* out = face.Get();
        EXPECT_EQ(face->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    // Not even the identifier of IUnknown.
    const IID unknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    void* out = face.Get();
    EXPECT_EQ(face->QueryInterface(unknown, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Count(face.Get()), 1);
}

TEST_F(FaceDBRecord, AddRefAndReleaseCountAndTheLastReleaseAnswersZero) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    EXPECT_EQ(face->AddRef(), 2u);
    EXPECT_EQ(face->AddRef(), 3u);
    EXPECT_EQ(face->Release(), 2u);
    EXPECT_EQ(face->Release(), 1u);
    EXPECT_EQ(face.Detach()->Release(), 0u);
}

// ------------------------------------------------------ setters and getters

TEST_F(FaceDBRecord, SettersKeepTheValuesTheGettersGiveBack) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    EXPECT_EQ(face->SetFaceID(0xFFFFFFFFFFFFFFFEull), S_OK);
    EXPECT_EQ(face->SetIndividualID(0x1122334455667788ull), S_OK);
    EXPECT_EQ(face->SetFileID(0x8000000000000001ull), S_OK);
    const RECT rect = MakeRect(-5, 17, 70000, -2);
    EXPECT_EQ(face->SetRect(&rect), S_OK);
    EXPECT_EQ(face->SetIndividualType(2), S_OK);

    uint64_t value = 0;
    EXPECT_EQ(face->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 0xFFFFFFFFFFFFFFFEull);
    EXPECT_EQ(face->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 0x1122334455667788ull);
    EXPECT_EQ(face->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 0x8000000000000001ull);
    RECT seen{};
    EXPECT_EQ(face->GetRect(&seen), S_OK);
    // The record keeps the sides as given; only the packed form limits them.
    EXPECT_TRUE(SameRect(seen, rect));
    uint32_t type = 0;
    EXPECT_EQ(face->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 2u);
}

TEST_F(FaceDBRecord, SettersReplaceEarlierValues) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    ASSERT_EQ(face->SetIndividualID(5), S_OK);
    ASSERT_EQ(face->SetIndividualID(0), S_OK);
    uint64_t value = 99;
    EXPECT_EQ(face->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 0u);
    const RECT first = MakeRect(1, 2, 3, 4);
    const RECT second = MakeRect(5, 6, 7, 8);
    ASSERT_EQ(face->SetRect(&first), S_OK);
    ASSERT_EQ(face->SetRect(&second), S_OK);
    RECT seen{};
    EXPECT_EQ(face->GetRect(&seen), S_OK);
    EXPECT_TRUE(SameRect(seen, second));
}

TEST_F(FaceDBRecord, AnyIndividualTypeIsAccepted) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    for (uint32_t type : {3u, 0u, 1u, 0xFFFFFFFFu}) {
        EXPECT_EQ(face->SetIndividualType(type), S_OK);
        uint32_t seen = 12345;
        EXPECT_EQ(face->GetIndividualType(&seen), S_OK);
        EXPECT_EQ(seen, type);
    }
}

TEST_F(FaceDBRecord, SetRectWithANullPointerIsInvalidAndKeepsTheRectangle) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    const RECT rect = MakeRect(10, 20, 30, 40);
    ASSERT_EQ(face->SetRect(&rect), S_OK);
    EXPECT_EQ(face->SetRect(nullptr), E_INVALIDARG);
    RECT seen{};
    EXPECT_EQ(face->GetRect(&seen), S_OK);
    EXPECT_TRUE(SameRect(seen, rect));
}

TEST_F(FaceDBRecord, GettersWithANullPointerAreInvalidAndChangeNothing) {
    FacePtr face = NewFace();
    ASSERT_TRUE(face);
    ASSERT_EQ(face->SetFaceID(1), S_OK);
    ASSERT_EQ(face->SetIndividualID(2), S_OK);
    ASSERT_EQ(face->SetFileID(3), S_OK);
    const RECT rect = MakeRect(4, 5, 6, 7);
    ASSERT_EQ(face->SetRect(&rect), S_OK);
    ASSERT_EQ(face->SetIndividualType(1), S_OK);

    EXPECT_EQ(face->GetFaceID(nullptr), E_INVALIDARG);
    EXPECT_EQ(face->GetIndividualID(nullptr), E_INVALIDARG);
    EXPECT_EQ(face->GetFileID(nullptr), E_INVALIDARG);
    EXPECT_EQ(face->GetRect(nullptr), E_INVALIDARG);
    EXPECT_EQ(face->GetIndividualType(nullptr), E_INVALIDARG);

    uint64_t value = 0;
    EXPECT_EQ(face->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(face->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 2u);
    EXPECT_EQ(face->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 3u);
    RECT seen{};
    EXPECT_EQ(face->GetRect(&seen), S_OK);
    EXPECT_TRUE(SameRect(seen, rect));
    uint32_t type = 0;
    EXPECT_EQ(face->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 1u);
}

// ---------------------------------------------------------- packed rectangle

TEST_F(FaceDBRecord, RectanglePacksAsLeftTopWidthHeightFromTheTop) {
    const RECT rect = MakeRect(100, 50, 300, 250);
    EXPECT_EQ(static_cast<uint64_t>(FaceTableRows::PackRect(rect)), 0x0064003200C800C8ull);
    EXPECT_TRUE(SameRect(FaceTableRows::UnpackRect(0x0064003200C800C8), rect));
}

TEST_F(FaceDBRecord, RectangleWithRightBelowLeftReadsBackWithLeftAndTopAllOnes) {
    const RECT rect = MakeRect(100, 50, 90, 250);
    int64_t packed = FaceTableRows::PackRect(rect);
    // The negative width spills into every bit above it.
    EXPECT_EQ(static_cast<uint64_t>(packed) >> 32, 0xFFFFFFFFull);
    RECT back = FaceTableRows::UnpackRect(packed);
    EXPECT_EQ(back.left, 65535);
    EXPECT_EQ(back.top, 65535);
    EXPECT_EQ(back.right, 65535 + 0xFFF6);
    EXPECT_EQ(back.bottom, 65535 + 200);
}

// ---------------------------------------------------------------- row reader

TEST_F(FaceDBRecord, LoadFaceReadsTheRowIntoANewRecordOfTheGivenType) {
    Exec("INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) VALUES (100, 10, 5, " +
         std::to_string(0x0064003200C800C8) + ")");
    Exec("INSERT INTO pet_face_table (pet_face_id, file_id, pet_id, rect) VALUES (100, 11, 6, " +
         std::to_string((int64_t{1} << 48) | (int64_t{2} << 32) | (int64_t{3} << 16) | 4) + ")");

    FacePtr person;
    ASSERT_EQ(FaceTableRows(*m_store).LoadFace(100, CSQLiteFileBasicDB::kPerson, person.Receive()), S_OK);
    ASSERT_TRUE(person);
    EXPECT_EQ(Count(person.Get()), 1);
    uint64_t value = 0;
    EXPECT_EQ(person->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 100u);
    EXPECT_EQ(person->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 10u);
    EXPECT_EQ(person->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 5u);
    RECT rect{};
    EXPECT_EQ(person->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, MakeRect(100, 50, 300, 250)));
    uint32_t type = 0;
    EXPECT_EQ(person->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 1u);

    FacePtr pet;
    ASSERT_EQ(FaceTableRows(*m_store).LoadFace(100, CSQLiteFileBasicDB::kPet, pet.Receive()), S_OK);
    ASSERT_TRUE(pet);
    EXPECT_EQ(pet->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 11u);
    EXPECT_EQ(pet->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 6u);
    EXPECT_EQ(pet->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, MakeRect(1, 2, 4, 6)));
    EXPECT_EQ(pet->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 2u);
}

TEST_F(FaceDBRecord, LoadFaceOfAMissingRowFailsWithANullRecord) {
    FacePtr other = NewFace();
    ASSERT_TRUE(other);
    IZanDB4FaceDBRecord* out = other.Get();
    EXPECT_EQ(FaceTableRows(*m_store).LoadFace(100, CSQLiteFileBasicDB::kPerson, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Count(other.Get()), 1);
    EXPECT_EQ(FaceTableRows(*m_store).LoadFace(100, CSQLiteFileBasicDB::kPerson, nullptr), E_INVALIDARG);
}

TEST_F(FaceDBRecord, ReadFaceRowReadsFromTheGivenFirstColumn) {
    Exec("INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) VALUES (100, 10, 5, " +
         std::to_string(0x0064003200C800C8) + ")");
    zandb4::Statement row(m_store->m_db,
                          u"SELECT 'x', 'y', person_face_id, file_id, person_id, rect FROM person_face_table");
    ASSERT_TRUE(row.IsPrepared());
    ASSERT_EQ(row.Step(), SQLITE_ROW);
    FacePtr face;
    ASSERT_EQ(FaceTableRows::ReadFaceRow(face.Receive(), row, 7, 2), S_OK);
    ASSERT_TRUE(face);
    uint64_t value = 0;
    EXPECT_EQ(face->GetFaceID(&value), S_OK);
    EXPECT_EQ(value, 100u);
    EXPECT_EQ(face->GetFileID(&value), S_OK);
    EXPECT_EQ(value, 10u);
    EXPECT_EQ(face->GetIndividualID(&value), S_OK);
    EXPECT_EQ(value, 5u);
    RECT rect{};
    EXPECT_EQ(face->GetRect(&rect), S_OK);
    EXPECT_TRUE(SameRect(rect, MakeRect(100, 50, 300, 250)));
    // The type is the argument, whatever its value.
    uint32_t type = 0;
    EXPECT_EQ(face->GetIndividualType(&type), S_OK);
    EXPECT_EQ(type, 7u);
}

}  // namespace
}  // namespace face_record_test
