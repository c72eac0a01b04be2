// The filter bytes of IZanDB4FileMetaDBRecord: the setter copies into a
// buffer the record owns (so the caller's buffer may change or go), the
// record's own pointer may be passed back in, a null pointer or size 0 leaves
// no data, and the getter's answer depends on which outs are asked for.
// Under AddressSanitizer these tests also show that every replaced buffer is
// freed exactly once.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "file_meta_record_fixture.h"

namespace {

class FileMetaRecordFilter : public meta_record_test::LibraryTest {
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

    // The record's bytes, or an empty vector when it has none.
    std::vector<unsigned char> Bytes() {
        const void* data = nullptr;
        uint32_t size = 0;
        if (m_record->GetFilterData(&data, &size) != S_OK) return {};
        const auto* bytes = static_cast<const unsigned char*>(data);
        return std::vector<unsigned char>(bytes, bytes + size);
    }

    IZanDB4FileMetaDBRecord* m_record = nullptr;
};

TEST_F(FileMetaRecordFilter, PointerAskedOfAnEmptyRecordIsFail) {
    const void* data = reinterpret_cast<const void*>(0x1);
    EXPECT_EQ(m_record->GetFilterData(&data, nullptr), E_FAIL);
    EXPECT_EQ(data, nullptr);
}

TEST_F(FileMetaRecordFilter, SizeAloneAskedOfAnEmptyRecordIsOkAndZero) {
    uint32_t size = 123;
    EXPECT_EQ(m_record->GetFilterData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileMetaRecordFilter, PointerAndSizeAskedOfAnEmptyRecordIsFailWithSizeZero) {
    const void* data = reinterpret_cast<const void*>(0x1);
    uint32_t size = 123;
    EXPECT_EQ(m_record->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileMetaRecordFilter, BothOutsNullIsInvalidArg) {
    EXPECT_EQ(m_record->GetFilterData(nullptr, nullptr), E_INVALIDARG);
    const unsigned char source[] = {1};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    EXPECT_EQ(m_record->GetFilterData(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(FileMetaRecordFilter, SetCopiesTheBytesSoTheSourceMayChangeAfterwards) {
    std::vector<unsigned char> source = {0x00, 0xFF, 0x10, 0x20, 0x00, 0x7F};
    const std::vector<unsigned char> original = source;
    EXPECT_EQ(m_record->SetFilterData(source.data(), static_cast<uint32_t>(source.size())), S_OK);
    std::memset(source.data(), 0xAA, source.size());

    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(m_record->GetFilterData(&data, &size), S_OK);
    EXPECT_NE(data, static_cast<const void*>(source.data()));
    EXPECT_EQ(size, original.size());
    EXPECT_EQ(Bytes(), original);
}

TEST_F(FileMetaRecordFilter, SetCopiesSoTheSourceMayBeFreedAfterwards) {
    auto* source = new unsigned char[3]{7, 8, 9};
    EXPECT_EQ(m_record->SetFilterData(source, 3), S_OK);
    delete[] source;
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{7, 8, 9}));
}

TEST_F(FileMetaRecordFilter, PointerAloneIsOkOnceThereIsData) {
    const unsigned char source[] = {5, 6};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    const void* data = nullptr;
    EXPECT_EQ(m_record->GetFilterData(&data, nullptr), S_OK);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(static_cast<const unsigned char*>(data)[0], 5);
    EXPECT_EQ(static_cast<const unsigned char*>(data)[1], 6);
}

TEST_F(FileMetaRecordFilter, SizeAloneGivesTheLengthOfTheData) {
    std::vector<unsigned char> source(1000, 0x5A);
    ASSERT_EQ(m_record->SetFilterData(source.data(), 1000), S_OK);
    uint32_t size = 0;
    EXPECT_EQ(m_record->GetFilterData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 1000u);
}

TEST_F(FileMetaRecordFilter, GetterHandsOutTheRecordsOwnBufferEachTime) {
    const unsigned char source[] = {1, 2, 3};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    const void* first = nullptr;
    const void* second = nullptr;
    EXPECT_EQ(m_record->GetFilterData(&first, nullptr), S_OK);
    EXPECT_EQ(m_record->GetFilterData(&second, nullptr), S_OK);
    EXPECT_EQ(first, second);
}

TEST_F(FileMetaRecordFilter, SetReplacesEarlierData) {
    const unsigned char first[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const unsigned char second[] = {9, 10};
    ASSERT_EQ(m_record->SetFilterData(first, sizeof first), S_OK);
    EXPECT_EQ(m_record->SetFilterData(second, sizeof second), S_OK);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{9, 10}));
}

TEST_F(FileMetaRecordFilter, TheRecordsOwnPointerMayBePassedBackIn) {
    const unsigned char source[] = {11, 22, 33, 44};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    const void* own = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(m_record->GetFilterData(&own, &size), S_OK);

    EXPECT_EQ(m_record->SetFilterData(own, size), S_OK);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{11, 22, 33, 44}));
}

TEST_F(FileMetaRecordFilter, TheRecordsOwnPointerWithAShorterSizeKeepsThePrefix) {
    const unsigned char source[] = {11, 22, 33, 44};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    const void* own = nullptr;
    ASSERT_EQ(m_record->GetFilterData(&own, nullptr), S_OK);

    EXPECT_EQ(m_record->SetFilterData(own, 2), S_OK);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{11, 22}));
}

TEST_F(FileMetaRecordFilter, ANullPointerLeavesNoDataWhateverTheSize) {
    const unsigned char source[] = {1, 2, 3};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    EXPECT_EQ(m_record->SetFilterData(nullptr, 3), S_OK);
    const void* data = source;
    uint32_t size = 99;
    EXPECT_EQ(m_record->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileMetaRecordFilter, SizeZeroLeavesNoDataWhateverThePointer) {
    const unsigned char source[] = {1, 2, 3};
    ASSERT_EQ(m_record->SetFilterData(source, sizeof source), S_OK);
    EXPECT_EQ(m_record->SetFilterData(source, 0), S_OK);
    const void* data = source;
    uint32_t size = 99;
    EXPECT_EQ(m_record->GetFilterData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileMetaRecordFilter, ReleasingARecordWithDataFreesIt) {
    // A second record, filled and released: AddressSanitizer's leak check at
    // the end of the program fails the run if its buffer stays allocated.
    IZanDB4FileMetaDBRecord* other = Create<IZanDB4FileMetaDBRecord>(IID_IZanDB4FileMetaDBRecord);
    ASSERT_NE(other, nullptr);
    std::vector<unsigned char> source(4096, 0x33);
    ASSERT_EQ(other->SetFilterData(source.data(), 4096), S_OK);
    EXPECT_EQ(other->Release(), 0u);
}

}  // namespace
