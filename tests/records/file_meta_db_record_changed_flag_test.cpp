// Which setters of IZanDB4FileMetaDBRecord raise the changed flag. The
// setters of the original columns (filter data to frame rate) set it to 1;
// SetFileID and the setters of the later columns (GPS altitude and
// direction, area, model information) leave it exactly as it was, 0 or 1.
// One test per setter and starting value.
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "file_meta_record_fixture.h"

namespace {

struct Setter {
    const char* name;
    std::function<HRESULT(IZanDB4FileMetaDBRecord*)> call;
};

void PrintTo(const Setter& setter, std::ostream* out) { *out << setter.name; }

const SYSTEMTIME kDate = meta_record_test::MakeTime(2021, 6, 15, 8, 30, 0);
const unsigned char kFilter[] = {1, 2, 3};

const Setter kRaisingSetters[] = {
    {"SetFilterData", [](IZanDB4FileMetaDBRecord* r) { return r->SetFilterData(kFilter, sizeof kFilter); }},
    {"SetFilterDataToNothing", [](IZanDB4FileMetaDBRecord* r) { return r->SetFilterData(nullptr, 0); }},
    {"SetFileSize", [](IZanDB4FileMetaDBRecord* r) { return r->SetFileSize(1234); }},
    {"SetFileUpdateDate", [](IZanDB4FileMetaDBRecord* r) { return r->SetFileUpdateDate(&kDate); }},
    {"SetImportDate", [](IZanDB4FileMetaDBRecord* r) { return r->SetImportDate(&kDate, 3); }},
    {"SetPixelSize", [](IZanDB4FileMetaDBRecord* r) { return r->SetPixelSize(4000, 3000); }},
    {"SetPanoramaNumber", [](IZanDB4FileMetaDBRecord* r) { return r->SetPanoramaNumber(2); }},
    {"SetDriveNumber", [](IZanDB4FileMetaDBRecord* r) { return r->SetDriveNumber(5); }},
    {"SetDuration", [](IZanDB4FileMetaDBRecord* r) { return r->SetDuration(90000); }},
    {"SetFrameRate", [](IZanDB4FileMetaDBRecord* r) { return r->SetFrameRate(60); }},
};

const Setter kQuietSetters[] = {
    {"SetFileID", [](IZanDB4FileMetaDBRecord* r) { return r->SetFileID(77); }},
    {"SetGPSAltitude", [](IZanDB4FileMetaDBRecord* r) { return r->SetGPSAltitude(1, -1); }},
    {"SetGPSDirection", [](IZanDB4FileMetaDBRecord* r) { return r->SetGPSDirection(1, 0xFFFFFFFFu); }},
    {"SetAreaInfo", [](IZanDB4FileMetaDBRecord* r) { return r->SetAreaInfo(u"harbour"); }},
    {"SetModelInfo", [](IZanDB4FileMetaDBRecord* r) { return r->SetModelInfo(u"CAM", 1, 2, 3, 4, 5); }},
};

class FileMetaRecordChangedFlag : public meta_record_test::LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        if (HasFatalFailure()) return;
        m_record = Create<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
        ASSERT_NE(m_record, nullptr);
    }
    void TearDown() override {
        if (m_record != nullptr) {
            EXPECT_EQ(m_record->Release(), 0u);
        }
        LibraryTest::TearDown();
    }

    // The flag after setting it to before and calling the setter once.
    uint32_t FlagAfter(const Setter& setter, uint32_t before) {
        EXPECT_EQ(m_record->SetChanged(before), S_OK);
        EXPECT_EQ(setter.call(m_record), S_OK);
        uint32_t changed = 0xDEAD;
        EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
        return changed;
    }

    IZanDB4FileMetaDBRecord* m_record = nullptr;
};

class FileMetaRecordRaisingSetter : public FileMetaRecordChangedFlag,
                                    public ::testing::WithParamInterface<Setter> {};
class FileMetaRecordQuietSetter : public FileMetaRecordChangedFlag,
                                  public ::testing::WithParamInterface<Setter> {};

std::string NameOf(const ::testing::TestParamInfo<Setter>& info) { return info.param.name; }

TEST_P(FileMetaRecordRaisingSetter, SetsTheClearedFlagToOne) { EXPECT_EQ(FlagAfter(GetParam(), 0), 1u); }

TEST_P(FileMetaRecordRaisingSetter, LeavesARaisedFlagAtOne) { EXPECT_EQ(FlagAfter(GetParam(), 1), 1u); }

TEST_P(FileMetaRecordQuietSetter, LeavesAClearedFlagAtZero) { EXPECT_EQ(FlagAfter(GetParam(), 0), 0u); }

TEST_P(FileMetaRecordQuietSetter, LeavesARaisedFlagAtOne) { EXPECT_EQ(FlagAfter(GetParam(), 1), 1u); }

INSTANTIATE_TEST_SUITE_P(Setter, FileMetaRecordRaisingSetter, ::testing::ValuesIn(kRaisingSetters), NameOf);
INSTANTIATE_TEST_SUITE_P(Setter, FileMetaRecordQuietSetter, ::testing::ValuesIn(kQuietSetters), NameOf);

// The two that are named as the rule's examples, spelled out on their own.
TEST_F(FileMetaRecordChangedFlag, SetGPSAltitudeDoesNotRaiseItButSetPixelSizeDoes) {
    ASSERT_EQ(m_record->SetChanged(0), S_OK);
    EXPECT_EQ(m_record->SetGPSAltitude(100, 5), S_OK);
    uint32_t changed = 9;
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 0u);

    EXPECT_EQ(m_record->SetPixelSize(1920, 1080), S_OK);
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 1u);
}

TEST_F(FileMetaRecordChangedFlag, AFreshRecordStartsUnchanged) {
    uint32_t changed = 9;
    EXPECT_EQ(m_record->GetChanged(&changed), S_OK);
    EXPECT_EQ(changed, 0u);
}

}  // namespace
