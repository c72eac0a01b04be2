// The binary layout the application binds to: sizes and field offsets of the
// plain structures, the values of the identifiers, and the virtual-table
// slots of interface operations, including those placed after a destructor.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "zandb4.h"

namespace {

// With the Itanium C++ ABI a pointer to a virtual member function holds
// 1 + the byte offset of its slot in the virtual table.
template <class MemberFunction>
size_t Slot(MemberFunction function) {
    struct {
        uintptr_t pointer;
        ptrdiff_t adjustment;
    } representation;
    static_assert(sizeof(function) == sizeof(representation));
    std::memcpy(&representation, &function, sizeof(representation));
    EXPECT_EQ(representation.pointer % sizeof(void*), 1u) << "not a virtual function";
    return (representation.pointer - 1) / sizeof(void*);
}

TEST(AbiLayout, ResultCodesHaveTheirValues) {
    EXPECT_EQ(S_OK, 0);
    EXPECT_EQ(S_FALSE, 1);
    EXPECT_EQ(static_cast<uint32_t>(E_NOTIMPL), 0x80004001u);
    EXPECT_EQ(static_cast<uint32_t>(E_NOINTERFACE), 0x80004002u);
    EXPECT_EQ(static_cast<uint32_t>(E_FAIL), 0x80004005u);
    EXPECT_EQ(static_cast<uint32_t>(E_ACCESSDENIED), 0x80070005u);
    EXPECT_EQ(static_cast<uint32_t>(E_OUTOFMEMORY), 0x8007000Eu);
    EXPECT_EQ(static_cast<uint32_t>(E_INVALIDARG), 0x80070057u);
    EXPECT_EQ(sizeof(HRESULT), 4u);
    EXPECT_EQ(sizeof(WCHAR), 2u);
    EXPECT_EQ(sizeof(ULONG), 4u);
}

TEST(AbiLayout, GuidIsSixteenBytesInTheUsualFields) {
    EXPECT_EQ(sizeof(GUID), 16u);
    EXPECT_EQ(offsetof(GUID, Data1), 0u);
    EXPECT_EQ(offsetof(GUID, Data2), 4u);
    EXPECT_EQ(offsetof(GUID, Data3), 6u);
    EXPECT_EQ(offsetof(GUID, Data4), 8u);
}

TEST(AbiLayout, SystemTimeIsEightSixteenBitFieldsInOrder) {
    EXPECT_EQ(sizeof(SYSTEMTIME), 16u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wYear), 0u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wMonth), 2u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wDayOfWeek), 4u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wDay), 6u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wHour), 8u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wMinute), 10u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wSecond), 12u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wMilliseconds), 14u);
}

TEST(AbiLayout, ValueTypesHoldAVirtualTableAndTheirMembers) {
    // One virtual table pointer, then the members.
    EXPECT_EQ(sizeof(CZanTDateTime), sizeof(void*) + sizeof(SYSTEMTIME));
    CZanTDateTime date;
    EXPECT_EQ(reinterpret_cast<char*>(&date.m_time) - reinterpret_cast<char*>(&date),
              static_cast<ptrdiff_t>(sizeof(void*)));
    EXPECT_EQ(sizeof(CZanTArray<uint64_t>), 3 * sizeof(void*));  // table, container, flag padded
    EXPECT_EQ(sizeof(CZanTList<uint32_t>), 3 * sizeof(void*));
}

TEST(AbiLayout, IdentifiersHaveTheirValuesInMemory) {
    // 916E8525-8076-4F89-926E-386A4D0AC23B, little endian in its first three fields.
    const unsigned char expected[16] = {0x25, 0x85, 0x6E, 0x91, 0x76, 0x80, 0x89, 0x4F,
                                        0x92, 0x6E, 0x38, 0x6A, 0x4D, 0x0A, 0xC2, 0x3B};
    EXPECT_EQ(std::memcmp(&IID_IZanDB4FileDBMgr, expected, 16), 0);
    // The import manager's identifier is exported under another name.
    EXPECT_EQ(IID_IZanDB4ImportDBMgr.Data1, 0x8EECBE40u);
    EXPECT_EQ(IID_IZanDB4ImportDBMgr.Data2, 0x8F1Cu);
    EXPECT_EQ(IID_IZanDB4ImportDBMgr.Data4[7], 0x22u);
    EXPECT_EQ(IID_IZanDB4AppLogDBMgr.Data1, 0x9ED2A5B5u);
    EXPECT_EQ(IID_IZanDB4TethraImportFileMgr.Data1, 0x56390D8Eu);
    EXPECT_EQ(IID_IZanDB4TethraImportFileRecord.Data3, 0x458Cu);
    EXPECT_EQ(IID_IZanDB4MemRecord.Data4[0], 0xA5u);
}

TEST(AbiLayout, IUnknownOperationsComeFirst) {
    EXPECT_EQ(Slot(&IUnknown::QueryInterface), 0u);
    EXPECT_EQ(Slot(&IUnknown::AddRef), 1u);
    EXPECT_EQ(Slot(&IUnknown::Release), 2u);
}

TEST(AbiLayout, FileManagerSlotsFollowItsTable) {
    EXPECT_EQ(Slot(&IZanDB4FileDBMgr::AddFile), 3u);
    EXPECT_EQ(Slot(&IZanDB4FileDBMgr::ListFilesByDate), 28u);
    EXPECT_EQ(Slot(&IZanDB4FileDBMgr::ReservedOperation1), 29u);
    EXPECT_EQ(Slot(&IZanDB4FileDBMgr::ReservedOperation2), 31u);
    EXPECT_EQ(Slot(&IZanDB4FileDBMgr::Unlock), 61u);
}

TEST(AbiLayout, OperationsAfterADestructorSitBehindItsTwoSlots) {
    EXPECT_EQ(Slot(&IZanDB4FileDBRecord::ClearAll), 3u);
    // Four rows of its table (favourite, face detection, upload flag, classify
    // id) each name a setter and a getter.
    EXPECT_EQ(Slot(&IZanDB4FileDBRecord::ClearFields), 54u);
    EXPECT_EQ(Slot(&IZanDB4FileDBRecord::GetShootingDateValue), 57u);

    EXPECT_EQ(Slot(&IZanDB4FileCache::SetData), 3u);
    EXPECT_EQ(Slot(&IZanDB4FileCache::GetSourceID), 8u);
    EXPECT_EQ(Slot(&IZanDB4FileCache::SetUpdateDate), 11u);

    EXPECT_EQ(Slot(&IZanDB4IndividualDBRecord::GetFileCount), 23u);
    EXPECT_EQ(Slot(&IZanDB4IndividualDBRecord::SetFileCount), 26u);

    EXPECT_EQ(Slot(&IZanDB4FaceFeaturePointData::GetUpdateDate), 13u);
    EXPECT_EQ(Slot(&IZanDB4FaceFeaturePointData::SetDataFormat), 16u);
    EXPECT_EQ(Slot(&IZanDB4FaceFeaturePointData::GetDataFormat), 17u);

    EXPECT_EQ(Slot(&IZanDB4AppLogDBMgr::AddCount), 3u);
    EXPECT_EQ(Slot(&IZanDB4AppLogDBMgr::Commit), 20u);
    EXPECT_EQ(Slot(&IZanDB4AppLogDBMgr::Vacuum), 22u);
}

TEST(AbiLayout, CameraInterfacesFollowTheirTables) {
    EXPECT_EQ(Slot(&IZanDB4TethraImportFileMgr::Open), 3u);
    EXPECT_EQ(Slot(&IZanDB4TethraImportFileMgr::AddFile), 7u);
    EXPECT_EQ(Slot(&IZanDB4TethraImportFileMgr::Vacuum), 18u);
    EXPECT_EQ(Slot(&IZanDB4TethraImportFileRecord::GetID), 3u);
    EXPECT_EQ(Slot(&IZanDB4TethraImportFileRecord::GetAttributes), 10u);
}

}  // namespace
