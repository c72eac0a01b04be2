// When the camera list's writes reach the file: Commit, Rollback, Close and
// Vacuum, a list opened again after Close, and a list whose folder does not
// exist.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "camera_list_fixture.h"

namespace zandb4::testing {
namespace {

using CameraListTransaction = CameraListTest;

TEST_F(CameraListTransaction, CommitMakesTheRowsDurableWhileTheListStaysOpen) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    // Another connection sees nothing of the open transaction.
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 0);

    EXPECT_EQ(manager->Commit(), S_OK);

    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 1);
    EXPECT_EQ(CountOnDisk("SELECT last_id FROM last_id_table WHERE id_type=0"), 1);
}

TEST_F(CameraListTransaction, CommitWithNothingWrittenIsOk) {
    ManagerHandle manager = OpenManager();

    EXPECT_EQ(manager->Commit(), S_OK);

    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 0);
}

TEST_F(CameraListTransaction, ReopenAfterCloseSeesEverythingCommitted) {
    const SYSTEMTIME date = MakeDate(2022, 2, 28, 23, 1, 2);
    {
        ManagerHandle writer = OpenManager();
        RecordPtr record = MakeRecord(writer.Get(), u"/card/IMG_0001.JPG", date, 5);
        ASSERT_EQ(writer->AddFile(record.Get(), nullptr), S_OK);
        AddPath(writer.Get(), u"/card/IMG_0002.JPG", 6);
        ASSERT_EQ(writer->Commit(), S_OK);
        ASSERT_EQ(writer->Close(), S_OK);
    }
    ManagerHandle reader = OpenManager();

    CList<IZanDB4TethraImportFileRecord*> list;
    EXPECT_EQ(reader->GetAllFiles(&list), S_OK);

    EXPECT_EQ(list.GetCount(), 2);
    ReleaseAll(list);
    RecordPtr found;
    ASSERT_EQ(reader->GetFileByPath(u"/card/IMG_0001.JPG", found.Receive()), S_OK);
    ASSERT_TRUE(found);
    SYSTEMTIME foundDate{};
    uint32_t attributes = 0;
    found->GetDate(&foundDate);
    found->GetAttributes(&attributes);
    EXPECT_EQ(PackedDate(foundDate), PackedDate(date));
    EXPECT_EQ(attributes, 5u);
    // The counter goes on where it stood.
    EXPECT_EQ(AddPath(reader.Get(), u"/card/IMG_0003.JPG"), 3u);
}

TEST_F(CameraListTransaction, RollbackDropsWhatWasNotCommitted) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Commit(), S_OK);
    AddPath(manager.Get(), u"/card/IMG_0002.JPG");
    ASSERT_EQ(manager->DeleteFileByPath(u"/card/IMG_0001.JPG"), S_OK);

    EXPECT_EQ(manager->Rollback(), S_OK);

    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 1);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0002.JPG"), 0);
    // The id drawn in the dropped transaction is drawn again.
    EXPECT_EQ(AddPath(manager.Get(), u"/card/IMG_0003.JPG"), 2u);
    ASSERT_EQ(manager->Commit(), S_OK);
    EXPECT_EQ(RowsOnDisk().size(), 2u);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file WHERE file_path='/card/IMG_0002.JPG'"), 0);
}

TEST_F(CameraListTransaction, RollbackDropsADeleteAllFiles) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    AddPath(manager.Get(), u"/card/IMG_0002.JPG");
    ASSERT_EQ(manager->Commit(), S_OK);
    ASSERT_EQ(manager->DeleteAllFiles(), S_OK);

    EXPECT_EQ(manager->Rollback(), S_OK);

    EXPECT_EQ(manager->HasFileID(1), 1);
    EXPECT_EQ(manager->HasFileID(2), 1);
}

TEST_F(CameraListTransaction, RollbackWithNothingOpenKeepsTheListUsable) {
    ManagerHandle manager = OpenManager();

    EXPECT_EQ(manager->Rollback(), S_OK);

    EXPECT_EQ(AddPath(manager.Get(), u"/card/IMG_0001.JPG"), 1u);
    EXPECT_EQ(manager->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 1);
}

TEST_F(CameraListTransaction, CloseCommitsWhatWasAdded) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG", 7);

    EXPECT_EQ(manager->Close(), S_OK);

    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][1], "/card/IMG_0001.JPG");
    EXPECT_EQ(rows[0][3], "7");
}

TEST_F(CameraListTransaction, CloseAfterAnEarlierCommitCommitsTheRestToo) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");
    ASSERT_EQ(manager->Commit(), S_OK);
    AddPath(manager.Get(), u"/card/IMG_0002.JPG");
    ASSERT_EQ(manager->DeleteFileByID(1), S_OK);

    EXPECT_EQ(manager->Close(), S_OK);

    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "2");
    EXPECT_EQ(rows[0][1], "/card/IMG_0002.JPG");
}

TEST_F(CameraListTransaction, VacuumCommitsTheOpenTransaction) {
    ManagerHandle manager = OpenManager();
    AddPath(manager.Get(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(manager->Vacuum(), S_OK);

    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 1);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 1);
}

TEST_F(CameraListTransaction, VacuumGivesBackThePagesOfDeletedRows) {
    ManagerHandle manager = OpenManager();
    const std::u16string padding(200, u'x');
    for (int i = 0; i < 200; ++i) {
        std::u16string path = u"/card/" + padding + u"/" + CZanTString::FromUtf8(std::to_string(i).c_str()).Value();
        AddPath(manager.Get(), path.c_str());
    }
    ASSERT_EQ(manager->Commit(), S_OK);
    ASSERT_EQ(manager->DeleteAllFiles(), S_OK);
    ASSERT_EQ(manager->Commit(), S_OK);
    const int64_t freePagesBefore = CountOnDisk("PRAGMA freelist_count");
    const auto sizeBefore = std::filesystem::file_size(StoreFile());
    ASSERT_GT(freePagesBefore, 0);

    EXPECT_EQ(manager->Vacuum(), S_OK);

    EXPECT_EQ(CountOnDisk("PRAGMA freelist_count"), 0);
    EXPECT_LT(std::filesystem::file_size(StoreFile()), sizeBefore);
    EXPECT_EQ(CountOnDisk("SELECT last_id FROM last_id_table WHERE id_type=0"), 200);
}

TEST_F(CameraListTransaction, OpenOfAFolderThatDoesNotExistFailsAndKeepsTheLockUntilClose) {
    const std::filesystem::path missing = m_storeFolder / "no" / "such" / "folder";
    const CZanTString missingWide = CZanTString::FromUtf8(missing.c_str());
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->Open(missingWide.GetString(), false), E_FAIL);

    EXPECT_FALSE(std::filesystem::exists(missing));
    // The lock is held all the same: nobody else gets the list.
    ManagerHandle other = NewManager();
    EXPECT_EQ(other->Open(Folder(), false), E_FAIL);
    EXPECT_EQ(other->DeleteStore(Folder(), false), E_FAIL);
    // The operations fail at the missing connection.
    RecordPtr record = MakeRecord(manager.Get(), u"/card/IMG_0001.JPG", MakeDate(2024, 1, 1, 0, 0, 0), 0);
    uint64_t id = 9;
    CList<IZanDB4TethraImportFileRecord*> list;
    EXPECT_EQ(manager->AddFile(record.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 9u);
    EXPECT_EQ(manager->HasFilePath(u"/card/IMG_0001.JPG"), 0);
    EXPECT_EQ(manager->HasFileID(1), 0);
    EXPECT_EQ(manager->GetAllFiles(&list), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(manager->Commit(), E_FAIL);
    EXPECT_EQ(manager->Vacuum(), E_FAIL);
    EXPECT_EQ(manager->Rollback(), E_FAIL);

    EXPECT_EQ(manager->Close(), S_OK);
    EXPECT_EQ(other->Open(Folder(), false), S_OK);
}

TEST_F(CameraListTransaction, OpenWithAnEmptyFolderFailsAndKeepsTheLockUntilClose) {
    ManagerHandle manager = NewManager();

    EXPECT_EQ(manager->Open(u"", false), E_FAIL);

    ManagerHandle other = NewManager();
    EXPECT_EQ(other->Open(Folder(), false), E_FAIL);
    EXPECT_EQ(manager->Close(), S_OK);
    EXPECT_EQ(other->Open(Folder(), false), S_OK);
}

}  // namespace
}  // namespace zandb4::testing
