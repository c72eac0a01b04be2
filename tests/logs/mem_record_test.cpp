// CZanDB4MemRecord on its own: the accessors, the record's own copy of the
// data, and its one interface.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/com_ptr.h"
#include "logs/mem_record.h"

namespace {

using zandb4::ComPtr;

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

ComPtr<IZanDB4MemRecord> NewRecord() { return ComPtr<IZanDB4MemRecord>::Adopt(new CZanDB4MemRecord()); }

TEST(MemRecord, ANewRecordIsEmpty) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    uint64_t id = 99;
    uint32_t type = 99;
    CZanTString condition(u"left over");
    EXPECT_EQ(record->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(record->GetType(&type), S_OK);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(record->GetCondition(condition), S_OK);
    EXPECT_TRUE(condition.IsEmpty());
    EXPECT_EQ(record->GetData(), nullptr);
    EXPECT_EQ(record->GetDataSize(), 0u);
}

TEST(MemRecord, SettersAlwaysSucceedAndGettersGiveTheValuesBack) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    EXPECT_EQ(record->SetID(0xFFFFFFFFFFFFFFFFull), S_OK);
    EXPECT_EQ(record->SetType(0xFFFFFFFFu), S_OK);
    EXPECT_EQ(record->SetCondition(CZanTString(u"K\u00f6ln's \u5199\u771f")), S_OK);
    uint64_t id = 0;
    uint32_t type = 0;
    CZanTString condition;
    EXPECT_EQ(record->GetID(&id), S_OK);
    EXPECT_EQ(record->GetType(&type), S_OK);
    EXPECT_EQ(record->GetCondition(condition), S_OK);
    EXPECT_EQ(id, 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(type, 0xFFFFFFFFu);
    EXPECT_EQ(condition, CZanTString(u"K\u00f6ln's \u5199\u771f"));
}

TEST(MemRecord, NullOutsOfIdAndTypeAreInvalidNotACrash) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    EXPECT_EQ(record->GetID(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetType(nullptr), E_INVALIDARG);
}

TEST(MemRecord, SetDataCopiesTheBytes) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    char bytes[] = {'a', '\0', 'b', 'c'};
    ASSERT_EQ(record->SetData(bytes, sizeof bytes), S_OK);
    bytes[0] = 'z';
    ASSERT_EQ(record->GetDataSize(), 4u);
    EXPECT_NE(record->GetData(), static_cast<const void*>(bytes));
    EXPECT_EQ(std::memcmp(record->GetData(), "a\0bc", 4), 0);
}

TEST(MemRecord, SetDataWithTheRecordsOwnBufferChangesNothing) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    ASSERT_EQ(record->SetData("abcdef", 6), S_OK);
    const void* held = record->GetData();
    // Even with another size: the buffer held is kept as it is.
    EXPECT_EQ(record->SetData(held, 2), S_OK);
    EXPECT_EQ(record->GetData(), held);
    EXPECT_EQ(record->GetDataSize(), 6u);
    EXPECT_EQ(std::memcmp(record->GetData(), "abcdef", 6), 0);
}

TEST(MemRecord, SetDataWithNullOrZeroSizeEmptiesTheRecord) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    ASSERT_EQ(record->SetData("abc", 3), S_OK);
    EXPECT_EQ(record->SetData(nullptr, 3), S_OK);
    EXPECT_EQ(record->GetData(), nullptr);
    EXPECT_EQ(record->GetDataSize(), 0u);
    ASSERT_EQ(record->SetData("abc", 3), S_OK);
    EXPECT_EQ(record->SetData("xyz", 0), S_OK);
    EXPECT_EQ(record->GetData(), nullptr);
    EXPECT_EQ(record->GetDataSize(), 0u);
}

TEST(MemRecord, SetDataReplacesTheOldBytes) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    ASSERT_EQ(record->SetData("first", 5), S_OK);
    std::string large(100000, 'q');
    ASSERT_EQ(record->SetData(large.data(), static_cast<uint32_t>(large.size())), S_OK);
    ASSERT_EQ(record->GetDataSize(), large.size());
    EXPECT_EQ(std::string(static_cast<const char*>(record->GetData()), large.size()), large);
}

TEST(MemRecord, AnswersItsOwnIdentifierOnly) {
    ComPtr<IZanDB4MemRecord> record = NewRecord();
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(record->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4MemRecord, nullptr), E_INVALIDARG);
    ASSERT_EQ(record->QueryInterface(IID_IZanDB4MemRecord, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(record.Get()));
    EXPECT_EQ(record->Release(), 1u);
}

}  // namespace
