// The camera list's manager as an object: how the exported factory makes it,
// with or without the library started, its reference count and
// QueryInterface, and what a manager that is not open answers.
#include <gtest/gtest.h>

#include "camera_list_fixture.h"

namespace zandb4::testing {
namespace {

const IID kUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Starts the library on a folder of its own and stops it again at the end.
class LibraryUp {
public:
    LibraryUp() : m_result(ZanDB4_Initialize(m_root.Wide().GetString())) {}
    ~LibraryUp() {
        if (m_result == S_OK) ZanDB4_Finalize();
    }
    HRESULT Result() const { return m_result; }

private:
    TempFolder m_root;
    HRESULT m_result;
};

using CameraManager = CameraListTest;

TEST_F(CameraManager, CreateMgrInstanceWorksWithTheLibraryNeverStarted) {
    IZanDB4TethraImportFileMgr* manager = nullptr;

    EXPECT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);

    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->Open(Folder(), false), S_OK);
    EXPECT_EQ(manager->Close(), S_OK);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST_F(CameraManager, CreateMgrInstanceWorksWhileTheLibraryIsUp) {
    LibraryUp library;
    ASSERT_EQ(library.Result(), S_OK);
    IZanDB4TethraImportFileMgr* manager = nullptr;

    EXPECT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);

    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->Open(Folder(), false), S_OK);
    EXPECT_EQ(manager->Close(), S_OK);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST_F(CameraManager, CreateMgrInstanceWithNullOutIsInvalidArg) {
    EXPECT_EQ(ZanCamDB_CreateMgrInstance(nullptr), E_INVALIDARG);
}

TEST_F(CameraManager, CreateMgrInstanceGivesOneReferenceToTheCaller) {
    IZanDB4TethraImportFileMgr* manager = nullptr;
    ASSERT_EQ(ZanCamDB_CreateMgrInstance(&manager), S_OK);
    ASSERT_NE(manager, nullptr);

    EXPECT_EQ(manager->AddRef(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
    EXPECT_EQ(manager->Release(), 0u);
}

TEST_F(CameraManager, EachCallMakesAManagerOfItsOwn) {
    ManagerHandle first = NewManager();
    ManagerHandle second = NewManager();

    EXPECT_NE(first.Get(), second.Get());
}

TEST_F(CameraManager, LibraryFactoryDoesNotMakeTheManagerOrItsRecord) {
    // The camera list has its own door; the library's factory does not know
    // either identifier even while the library is up.
    LibraryUp library;
    ASSERT_EQ(library.Result(), S_OK);
    IZanDB4TethraImportFileMgr* sentinel = NewManager().Detach();
    void* managerOut = sentinel;
    void* recordOut = sentinel;

    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TethraImportFileMgr, &managerOut), E_NOINTERFACE);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TethraImportFileRecord, &recordOut), E_NOINTERFACE);

    EXPECT_EQ(managerOut, nullptr);
    EXPECT_EQ(recordOut, nullptr);
    EXPECT_EQ(sentinel->Release(), 0u);
}

TEST_F(CameraManager, QueryInterfaceForTheManagerIdentifierAddsAReference) {
    ManagerHandle manager = NewManager();
    void* out = nullptr;

    EXPECT_EQ(manager->QueryInterface(IID_IZanDB4TethraImportFileMgr, &out), S_OK);

    EXPECT_EQ(out, static_cast<void*>(manager.Get()));
    EXPECT_EQ(manager->AddRef(), 3u);
    EXPECT_EQ(manager->Release(), 2u);
    EXPECT_EQ(static_cast<IZanDB4TethraImportFileMgr*>(out)->Release(), 1u);
}

TEST_F(CameraManager, QueryInterfaceForIUnknownIsNoInterfaceWithANullOut) {
    ManagerHandle manager = NewManager();
    void* out = manager.Get();

    EXPECT_EQ(manager->QueryInterface(kUnknownId, &out), E_NOINTERFACE);

    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(manager->AddRef(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
}

TEST_F(CameraManager, QueryInterfaceForTheRecordIdentifierIsNoInterface) {
    ManagerHandle manager = NewManager();
    void* out = manager.Get();

    EXPECT_EQ(manager->QueryInterface(IID_IZanDB4TethraImportFileRecord, &out), E_NOINTERFACE);

    EXPECT_EQ(out, nullptr);
}

TEST_F(CameraManager, QueryInterfaceWithNullOutIsInvalidArg) {
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->QueryInterface(IID_IZanDB4TethraImportFileMgr, nullptr), E_INVALIDARG);

    EXPECT_EQ(manager->AddRef(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
}

TEST_F(CameraManager, NeverOpenedManagerFailsEveryListOperation) {
    ManagerHandle manager = NewManager();
    RecordPtr record = MakeRecord(manager.Get(), u"/card/IMG_0001.JPG", MakeDate(2024, 1, 2, 3, 4, 5), 1);
    RecordPtr sentinel = MakeRecord(manager.Get(), u"/sentinel.JPG", MakeDate(2024, 1, 2, 3, 4, 5), 1);
    uint64_t id = 77;
    IZanDB4TethraImportFileRecord* found = sentinel.Get();
    CList<IZanDB4TethraImportFileRecord*> list;

    EXPECT_EQ(manager->AddFile(record.Get(), &id), E_FAIL);
    EXPECT_EQ(manager->UpdateFile(1, record.Get()), E_FAIL);
    EXPECT_EQ(manager->DeleteFileByPath(u"/card/IMG_0001.JPG"), E_FAIL);
    EXPECT_EQ(manager->DeleteFileByID(1), E_FAIL);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 0);
    EXPECT_EQ(manager->HasFileID(1), 0);
    EXPECT_EQ(manager->GetFileByPath(u"/card/IMG_0001.JPG", &found), E_FAIL);
    EXPECT_EQ(manager->GetAllFiles(&list), E_FAIL);
    EXPECT_EQ(manager->DeleteAllFiles(), E_FAIL);
    EXPECT_EQ(manager->Commit(), E_FAIL);
    EXPECT_EQ(manager->Rollback(), E_FAIL);
    EXPECT_EQ(manager->Vacuum(), E_FAIL);

    EXPECT_EQ(id, 77u);
    EXPECT_EQ(found, sentinel.Get());
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(StoreFile()));
}

TEST_F(CameraManager, NeverOpenedManagerAnswersOkToClose) {
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->Close(), S_OK);
    EXPECT_EQ(manager->Close(), S_OK);

    // Closing a manager that held nothing takes nothing either.
    ManagerHandle other = NewManager();
    EXPECT_EQ(other->Open(Folder(), false), S_OK);
}

TEST_F(CameraManager, NeverOpenedManagerTakesNoLock) {
    ManagerHandle idle = NewManager();
    RecordPtr record = MakeRecord(idle.Get(), u"/a.JPG", MakeDate(2024, 1, 2, 3, 4, 5), 0);
    idle->AddFile(record.Get(), nullptr);
    idle->HasFilePath(u"/a.JPG");

    ManagerHandle other = NewManager();
    EXPECT_EQ(other->Open(Folder(), false), S_OK);
}

TEST_F(CameraManager, ClosedManagerFailsListOperationsAgain) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Commit(), S_OK);

    EXPECT_EQ(manager->Close(), S_OK);

    RecordPtr record = MakeRecord(manager.Get(), u"/card/IMG_0002.JPG", MakeDate(2024, 1, 2, 3, 4, 5), 0);
    CList<IZanDB4TethraImportFileRecord*> list;
    EXPECT_EQ(manager->AddFile(record.Get(), nullptr), E_FAIL);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 0);
    EXPECT_EQ(manager->HasFileID(1), 0);
    EXPECT_EQ(manager->GetAllFiles(&list), E_FAIL);
    EXPECT_EQ(manager->DeleteAllFiles(), E_FAIL);
    EXPECT_EQ(manager->Commit(), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
    // The row committed before Close is still there, untouched.
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 1);
}

TEST_F(CameraManager, ClosedManagerCanBeOpenedAgain) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Close(), S_OK);

    EXPECT_EQ(manager->Open(Folder(), false), S_OK);

    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 1);
    EXPECT_EQ(AddPath(manager.Get(), u"/card/IMG_0002.JPG"), 2u);
}

}  // namespace
}  // namespace zandb4::testing
