// ZanDB4_CreateInstance and ZanCamDB_CreateMgrInstance: which identifiers
// the factory answers, and how, whether the library is up or down.
#include <gtest/gtest.h>

#include "library/database_registry.h"
#include "support/temp_folder.h"
#include "zandb4.h"

using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kUnknownId = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

class Factory : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(DatabaseRegistry::initCount, 0); }
    void TearDown() override {
        while (DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
        DatabaseRegistry::initCount = 0;
    }
    void Start() { ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK); }

    TempFolder m_root;
};

void* const kSentinel = reinterpret_cast<void*>(0x5EA7);

TEST_F(Factory, WhileDownEveryRequestFailsAndLeavesOutAlone) {
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, &out), E_FAIL);
    EXPECT_EQ(out, kSentinel);
    EXPECT_EQ(ZanDB4_CreateInstance(&kUnknownId, &out), E_FAIL);
    EXPECT_EQ(out, kSentinel);
}

TEST_F(Factory, AfterTheLastFinalizeRequestsFailAgain) {
    Start();
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, &out), E_FAIL);
    EXPECT_EQ(out, kSentinel);
}

TEST_F(Factory, UnknownIdentifierIsNoInterfaceWithANullOut) {
    Start();
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&kUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Factory, IUnknownIsNotAFactoryIdentifier) {
    Start();
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Factory, QueryNodeIsExportedButNotMadeByTheFactory) {
    Start();
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4QueryNode, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Factory, ObjectsHandedOutByOtherObjectsAreNotMadeByTheFactory) {
    Start();
    for (const IID* iid : {&IID_IZanDB4DeadLinkInfo, &IID_IZanDB4FaceFeaturePointData,
                           &IID_IZanDB4FaceFeaturePointGroup, &IID_IZanDB4MemRecord,
                           &IID_IZanDB4TethraImportFileMgr, &IID_IZanDB4TethraImportFileRecord}) {
        void* out = kSentinel;
        EXPECT_EQ(ZanDB4_CreateInstance(iid, &out), E_NOINTERFACE) << std::hex << iid->Data1;
        EXPECT_EQ(out, nullptr);
    }
}

TEST_F(Factory, AfterAccessDeniedTheLibraryCountsAsUp) {
    zandb4::testing::WriteFile(m_root / "database", "a file in the way");
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), E_ACCESSDENIED);
    // The factory no longer answers "down": it looks the identifier up.
    void* out = kSentinel;
    EXPECT_EQ(ZanDB4_CreateInstance(&kUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Factory, CameraManagerNeedsNoStartedLibrary) {
    ASSERT_EQ(DatabaseRegistry::initCount, 0);
    IZanDB4TethraImportFileMgr* manager = nullptr;
    ASSERT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->AddRef(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST_F(Factory, CameraManagerWithANullOutIsInvalid) {
    EXPECT_EQ(ZanCamDB_CreateMgrInstance(nullptr), E_INVALIDARG);
}

TEST_F(Factory, CameraManagerAnswersOnlyItsOwnIdentifier) {
    IZanDB4TethraImportFileMgr* manager = nullptr;
    ASSERT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);
    void* out = kSentinel;
    EXPECT_EQ(manager->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(manager->QueryInterface(IID_IZanDB4TethraImportFileMgr, nullptr), E_INVALIDARG);
    ASSERT_EQ(manager->QueryInterface(IID_IZanDB4TethraImportFileMgr, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(manager));
    // QueryInterface added a reference: two Releases bring it to 0.
    EXPECT_EQ(manager->Release(), 1u);
    EXPECT_EQ(manager->Release(), 0u);
}

}  // namespace
