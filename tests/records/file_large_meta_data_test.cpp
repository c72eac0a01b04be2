// IZanDB4FileLargeMetaData from the factory: its reference counting, type
// and file id, the copying SetData, the getter's answers for each choice of
// outs, and AttachData, which takes a malloc'd buffer over without a copy.
// Under AddressSanitizer every buffer the object takes or replaces must be
// freed exactly once: a leak or a double free fails the run.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "file_meta_record_fixture.h"

namespace {

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

class FileLargeMetaData : public meta_record_test::LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        if (HasFatalFailure()) return;
        m_data = Create<IZanDB4FileLargeMetaData>(IID_IZanDB4FileLargeMetaData);
        ASSERT_NE(m_data, nullptr);
    }
    void TearDown() override {
        if (m_data != nullptr) {
            EXPECT_EQ(m_data->Release(), 0u);
        }
        LibraryTest::TearDown();
    }

    std::vector<unsigned char> Bytes() {
        const void* data = nullptr;
        uint32_t size = 0;
        if (m_data->GetData(&data, &size) != S_OK) return {};
        const auto* bytes = static_cast<const unsigned char*>(data);
        return std::vector<unsigned char>(bytes, bytes + size);
    }

    // A buffer from malloc holding size bytes of value.
    static void* HeapBuffer(uint32_t size, unsigned char value) {
        void* buffer = std::malloc(size);
        std::memset(buffer, value, size);
        return buffer;
    }

    IZanDB4FileLargeMetaData* m_data = nullptr;
};

// ---- object conventions ----

TEST_F(FileLargeMetaData, FactoryHandsOutTheObjectWithOneReference) {
    EXPECT_EQ(m_data->AddRef(), 2u);
    EXPECT_EQ(m_data->Release(), 1u);
}

TEST_F(FileLargeMetaData, QueryInterfaceAnswersItsOwnIdentifierOnly) {
    void* out = nullptr;
    EXPECT_EQ(m_data->QueryInterface(IID_IZanDB4FileLargeMetaData, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(m_data));
    EXPECT_EQ(m_data->Release(), 1u);

    out = m_data;
    EXPECT_EQ(m_data->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    out = m_data;
    EXPECT_EQ(m_data->QueryInterface(IID_IZanDB4FileMetaDBRecord, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(FileLargeMetaData, QueryInterfaceWithANullOutIsInvalidArg) {
    EXPECT_EQ(m_data->QueryInterface(IID_IZanDB4FileLargeMetaData, nullptr), E_INVALIDARG);
}

// ---- type and file id ----

TEST_F(FileLargeMetaData, FreshObjectHasTypeAndFileIdZero) {
    uint32_t type = 9;
    uint64_t id = 9;
    EXPECT_EQ(m_data->GetType(&type), S_OK);
    EXPECT_EQ(m_data->GetFileID(&id), S_OK);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(id, 0u);
}

TEST_F(FileLargeMetaData, TypeComesBackAsSet) {
    EXPECT_EQ(m_data->SetType(0xABCD0123u), S_OK);
    uint32_t type = 0;
    EXPECT_EQ(m_data->GetType(&type), S_OK);
    EXPECT_EQ(type, 0xABCD0123u);
}

TEST_F(FileLargeMetaData, GetTypeWithANullOutIsInvalidArg) { EXPECT_EQ(m_data->GetType(nullptr), E_INVALIDARG); }

TEST_F(FileLargeMetaData, FileIdKeepsAllSixtyFourBits) {
    EXPECT_EQ(m_data->SetFileID(0x123456789ABCDEF0ull), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(m_data->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0x123456789ABCDEF0ull);
}

TEST_F(FileLargeMetaData, GetFileIdWithANullOutIsInvalidArg) { EXPECT_EQ(m_data->GetFileID(nullptr), E_INVALIDARG); }

// ---- GetData on an empty object ----

TEST_F(FileLargeMetaData, PointerAskedOfAnEmptyObjectIsFail) {
    const void* data = reinterpret_cast<const void*>(0x1);
    uint32_t size = 5;
    EXPECT_EQ(m_data->GetData(&data, &size), E_FAIL);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileLargeMetaData, SizeAloneAskedOfAnEmptyObjectIsOkAndZero) {
    uint32_t size = 5;
    EXPECT_EQ(m_data->GetData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileLargeMetaData, GetDataWithBothOutsNullIsInvalidArg) {
    EXPECT_EQ(m_data->GetData(nullptr, nullptr), E_INVALIDARG);
}

// ---- SetData ----

TEST_F(FileLargeMetaData, SetDataCopiesSoTheSourceMayChangeAfterwards) {
    std::vector<unsigned char> source = {1, 0, 2, 0, 3};
    EXPECT_EQ(m_data->SetData(source.data(), 5), S_OK);
    std::memset(source.data(), 0xEE, source.size());

    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(m_data->GetData(&data, &size), S_OK);
    EXPECT_NE(data, static_cast<const void*>(source.data()));
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{1, 0, 2, 0, 3}));
}

TEST_F(FileLargeMetaData, SetDataReplacesEarlierBytes) {
    std::vector<unsigned char> first(300, 0x11);
    ASSERT_EQ(m_data->SetData(first.data(), 300), S_OK);
    const unsigned char second[] = {0x22, 0x33};
    EXPECT_EQ(m_data->SetData(second, sizeof second), S_OK);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{0x22, 0x33}));
}

TEST_F(FileLargeMetaData, SetDataWithANullPointerLeavesItEmpty) {
    const unsigned char source[] = {1, 2, 3};
    ASSERT_EQ(m_data->SetData(source, sizeof source), S_OK);
    EXPECT_EQ(m_data->SetData(nullptr, 3), S_OK);
    uint32_t size = 9;
    EXPECT_EQ(m_data->GetData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 0u);
    const void* data = nullptr;
    EXPECT_EQ(m_data->GetData(&data, nullptr), E_FAIL);
}

TEST_F(FileLargeMetaData, SetDataWithSizeZeroLeavesItEmpty) {
    const unsigned char source[] = {1, 2, 3};
    ASSERT_EQ(m_data->SetData(source, sizeof source), S_OK);
    EXPECT_EQ(m_data->SetData(source, 0), S_OK);
    uint32_t size = 9;
    EXPECT_EQ(m_data->GetData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 0u);
    const void* data = nullptr;
    EXPECT_EQ(m_data->GetData(&data, nullptr), E_FAIL);
}

TEST_F(FileLargeMetaData, PointerAloneIsOkOnceThereIsData) {
    const unsigned char source[] = {42};
    ASSERT_EQ(m_data->SetData(source, 1), S_OK);
    const void* data = nullptr;
    EXPECT_EQ(m_data->GetData(&data, nullptr), S_OK);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(*static_cast<const unsigned char*>(data), 42);
}

TEST_F(FileLargeMetaData, SetDataTakesSeveralMegabytes) {
    std::vector<unsigned char> source(6u << 20);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 131 + (i >> 16));
    EXPECT_EQ(m_data->SetData(source.data(), static_cast<uint32_t>(source.size())), S_OK);
    EXPECT_EQ(Bytes(), source);
}

// ---- AttachData ----

TEST_F(FileLargeMetaData, AttachDataTakesTheBufferWithoutACopy) {
    void* buffer = HeapBuffer(64, 0x4C);
    EXPECT_EQ(m_data->AttachData(buffer, 64), S_OK);
    const void* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(m_data->GetData(&data, &size), S_OK);
    EXPECT_EQ(data, buffer);
    EXPECT_EQ(size, 64u);
    // The buffer is the object's now: its release frees it (checked by the
    // leak and double-free detection of the sanitizer build).
}

TEST_F(FileLargeMetaData, AttachDataFreesTheCopiedBytesItReplaces) {
    std::vector<unsigned char> first(128, 0x01);
    ASSERT_EQ(m_data->SetData(first.data(), 128), S_OK);
    void* buffer = HeapBuffer(16, 0x02);
    EXPECT_EQ(m_data->AttachData(buffer, 16), S_OK);
    EXPECT_EQ(Bytes(), std::vector<unsigned char>(16, 0x02));
}

TEST_F(FileLargeMetaData, AttachDataFreesAnAttachedBufferItReplaces) {
    void* first = HeapBuffer(32, 0x0A);
    void* second = HeapBuffer(8, 0x0B);
    ASSERT_EQ(m_data->AttachData(first, 32), S_OK);
    EXPECT_EQ(m_data->AttachData(second, 8), S_OK);
    const void* data = nullptr;
    EXPECT_EQ(m_data->GetData(&data, nullptr), S_OK);
    EXPECT_EQ(data, second);
    EXPECT_EQ(Bytes(), std::vector<unsigned char>(8, 0x0B));
}

TEST_F(FileLargeMetaData, SetDataAfterAttachDataFreesTheAttachedBuffer) {
    void* buffer = HeapBuffer(32, 0x0C);
    ASSERT_EQ(m_data->AttachData(buffer, 32), S_OK);
    const unsigned char source[] = {9, 9};
    EXPECT_EQ(m_data->SetData(source, sizeof source), S_OK);
    EXPECT_EQ(Bytes(), (std::vector<unsigned char>{9, 9}));
}

TEST_F(FileLargeMetaData, AttachingNothingEmptiesTheObject) {
    void* buffer = HeapBuffer(32, 0x0D);
    ASSERT_EQ(m_data->AttachData(buffer, 32), S_OK);
    EXPECT_EQ(m_data->AttachData(nullptr, 0), S_OK);
    const void* data = nullptr;
    uint32_t size = 9;
    EXPECT_EQ(m_data->GetData(&data, &size), E_FAIL);
    EXPECT_EQ(size, 0u);
}

TEST_F(FileLargeMetaData, ReleasingASecondObjectFreesItsAttachedBuffer) {
    IZanDB4FileLargeMetaData* other = Create<IZanDB4FileLargeMetaData>(IID_IZanDB4FileLargeMetaData);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->AttachData(HeapBuffer(1 << 20, 0x7E), 1 << 20), S_OK);
    uint32_t size = 0;
    EXPECT_EQ(other->GetData(nullptr, &size), S_OK);
    EXPECT_EQ(size, 1u << 20);
    EXPECT_EQ(other->Release(), 0u);
}

}  // namespace
