// The camera list's record: a plain value holder made by the manager's
// CreateRecord, with its accessors, their answers to null pointers, its
// reference count and its QueryInterface.
#include <gtest/gtest.h>

#include <cstring>

#include "camera_list_fixture.h"

namespace zandb4::testing {
namespace {

class CameraRecord : public CameraListTest {
protected:
    void SetUp() override {
        m_manager = NewManager();
        ASSERT_TRUE(m_manager);
        ASSERT_EQ(m_manager->CreateRecord(m_record.Receive()), S_OK);
        ASSERT_TRUE(m_record);
    }

    ManagerHandle m_manager;
    RecordPtr m_record;
};

TEST_F(CameraRecord, CreateRecordOnAClosedManagerGivesABlankRecord) {
    uint64_t id = 99;
    CZanTString path(u"left over");
    SYSTEMTIME date = MakeDate(1999, 1, 2, 3, 4, 5, 6, 7);
    uint32_t attributes = 99;

    EXPECT_EQ(m_record->GetID(&id), S_OK);
    EXPECT_EQ(m_record->GetPath(path), S_OK);
    EXPECT_EQ(m_record->GetDate(&date), S_OK);
    EXPECT_EQ(m_record->GetAttributes(&attributes), S_OK);

    EXPECT_EQ(id, 0u);
    EXPECT_TRUE(path.IsEmpty());
    const SYSTEMTIME zero{};
    EXPECT_EQ(std::memcmp(&date, &zero, sizeof(SYSTEMTIME)), 0);
    EXPECT_EQ(attributes, 0u);
}

TEST_F(CameraRecord, CreateRecordGivesOneReferenceToTheCaller) {
    IZanDB4TethraImportFileRecord* record = nullptr;
    ASSERT_EQ(m_manager->CreateRecord(&record), S_OK);
    ASSERT_NE(record, nullptr);

    EXPECT_EQ(record->AddRef(), 2u);
    EXPECT_EQ(record->Release(), 1u);
    EXPECT_EQ(record->Release(), 0u);
}

TEST_F(CameraRecord, CreateRecordGivesADistinctRecordEachTime) {
    RecordPtr second;
    ASSERT_EQ(m_manager->CreateRecord(second.Receive()), S_OK);
    ASSERT_TRUE(second);
    EXPECT_NE(second.Get(), m_record.Get());

    EXPECT_EQ(second->SetID(5), S_OK);
    uint64_t id = 1;
    EXPECT_EQ(m_record->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
}

TEST_F(CameraRecord, CreateRecordWithNullOutIsInvalidArg) {
    EXPECT_EQ(m_manager->CreateRecord(nullptr), E_INVALIDARG);
}

TEST_F(CameraRecord, IdRoundTripsAllSixtyFourBits) {
    uint64_t id = 0;

    EXPECT_EQ(m_record->SetID(0xFEDCBA9876543210ull), S_OK);
    EXPECT_EQ(m_record->GetID(&id), S_OK);

    EXPECT_EQ(id, 0xFEDCBA9876543210ull);
}

TEST_F(CameraRecord, GetIdWithNullOutIsInvalidArg) {
    m_record->SetID(7);
    EXPECT_EQ(m_record->GetID(nullptr), E_INVALIDARG);
}

TEST_F(CameraRecord, PathIsCopiedInAndOut) {
    CZanTString source(u"/media/camera/DCIM/100CAM/IMG_0001.JPG");
    ASSERT_EQ(m_record->SetPath(source), S_OK);
    source = u"/changed/afterwards.JPG";

    CZanTString first;
    EXPECT_EQ(m_record->GetPath(first), S_OK);
    first += u"-tail";
    CZanTString second;
    EXPECT_EQ(m_record->GetPath(second), S_OK);

    EXPECT_EQ(second.ToUtf8(), "/media/camera/DCIM/100CAM/IMG_0001.JPG");
}

TEST_F(CameraRecord, PathKeepsCharactersBeyondAscii) {
    ASSERT_EQ(m_record->SetPath(CZanTString(u"/Karte/Straße/Ärger_\u65e5\u672c.NEF")), S_OK);

    CZanTString path;
    EXPECT_EQ(m_record->GetPath(path), S_OK);

    EXPECT_EQ(path.Value(), std::u16string(u"/Karte/Straße/Ärger_\u65e5\u672c.NEF"));
}

TEST_F(CameraRecord, GetPathOfAnEmptyPathIsStillOk) {
    CZanTString path(u"something the caller had");

    EXPECT_EQ(m_record->GetPath(path), S_OK);

    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(CameraRecord, SetPathToEmptyClearsThePath) {
    m_record->SetPath(CZanTString(u"/a.JPG"));

    EXPECT_EQ(m_record->SetPath(CZanTString()), S_OK);

    CZanTString path(u"x");
    EXPECT_EQ(m_record->GetPath(path), S_OK);
    EXPECT_TRUE(path.IsEmpty());
}

TEST_F(CameraRecord, DateRoundTripsAllSixteenBytes) {
    // Day of week and milliseconds are held by the record, though the store
    // drops them.
    const SYSTEMTIME date = MakeDate(2023, 7, 14, 9, 5, 33, 5, 250);
    SYSTEMTIME out = MakeDate(1, 1, 1, 1, 1, 1, 1, 1);

    EXPECT_EQ(m_record->SetDate(&date), S_OK);
    EXPECT_EQ(m_record->GetDate(&out), S_OK);

    EXPECT_EQ(std::memcmp(&out, &date, sizeof(SYSTEMTIME)), 0);
}

TEST_F(CameraRecord, SetDateCopiesSoTheCallersStructMayChange) {
    SYSTEMTIME date = MakeDate(2022, 12, 31, 23, 59, 58);
    ASSERT_EQ(m_record->SetDate(&date), S_OK);
    date.wYear = 1980;

    SYSTEMTIME out{};
    EXPECT_EQ(m_record->GetDate(&out), S_OK);

    EXPECT_EQ(out.wYear, 2022u);
    EXPECT_EQ(out.wSecond, 58u);
}

TEST_F(CameraRecord, SetDateWithNullIsInvalidArgAndKeepsTheDate) {
    const SYSTEMTIME date = MakeDate(2021, 4, 5, 6, 7, 8);
    ASSERT_EQ(m_record->SetDate(&date), S_OK);

    EXPECT_EQ(m_record->SetDate(nullptr), E_INVALIDARG);

    SYSTEMTIME out{};
    EXPECT_EQ(m_record->GetDate(&out), S_OK);
    EXPECT_EQ(std::memcmp(&out, &date, sizeof(SYSTEMTIME)), 0);
}

TEST_F(CameraRecord, GetDateWithNullIsInvalidArg) {
    EXPECT_EQ(m_record->GetDate(nullptr), E_INVALIDARG);
}

TEST_F(CameraRecord, AttributesRoundTripAllThirtyTwoBits) {
    uint32_t attributes = 0;

    EXPECT_EQ(m_record->SetAttributes(0xFFFFFFFFu), S_OK);
    EXPECT_EQ(m_record->GetAttributes(&attributes), S_OK);

    EXPECT_EQ(attributes, 0xFFFFFFFFu);
}

TEST_F(CameraRecord, GetAttributesWithNullOutIsInvalidArg) {
    m_record->SetAttributes(3);
    EXPECT_EQ(m_record->GetAttributes(nullptr), E_INVALIDARG);
}

TEST_F(CameraRecord, QueryInterfaceForItsOwnIdentifierAddsAReference) {
    void* out = nullptr;

    EXPECT_EQ(m_record->QueryInterface(IID_IZanDB4TethraImportFileRecord, &out), S_OK);

    EXPECT_EQ(out, static_cast<void*>(m_record.Get()));
    // The caller's reference and the one QueryInterface gave.
    EXPECT_EQ(m_record->AddRef(), 3u);
    EXPECT_EQ(m_record->Release(), 2u);
    EXPECT_EQ(static_cast<IZanDB4TethraImportFileRecord*>(out)->Release(), 1u);
}

TEST_F(CameraRecord, QueryInterfaceForIUnknownIsNoInterfaceWithANullOut) {
    const IID unknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    void* out = m_record.Get();

    EXPECT_EQ(m_record->QueryInterface(unknownId, &out), E_NOINTERFACE);

    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_record->AddRef(), 2u);
    EXPECT_EQ(m_record->Release(), 1u);
}

TEST_F(CameraRecord, QueryInterfaceForTheManagerIdentifierIsNoInterface) {
    void* out = m_record.Get();

    EXPECT_EQ(m_record->QueryInterface(IID_IZanDB4TethraImportFileMgr, &out), E_NOINTERFACE);

    EXPECT_EQ(out, nullptr);
}

TEST_F(CameraRecord, QueryInterfaceWithNullOutIsInvalidArg) {
    EXPECT_EQ(m_record->QueryInterface(IID_IZanDB4TethraImportFileRecord, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_record->AddRef(), 2u);
    EXPECT_EQ(m_record->Release(), 1u);
}

}  // namespace
}  // namespace zandb4::testing
