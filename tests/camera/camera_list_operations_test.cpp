// The camera list's own operations on an open manager: the schema of a new
// "TethraDB.db", adding, updating, deleting, finding and listing files, and
// what each leaves in the file on disk.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "camera_list_fixture.h"

namespace zandb4::testing {
namespace {

class CameraListOperations : public CameraListTest {
protected:
    void SetUp() override {
        m_manager = OpenManager();
        ASSERT_TRUE(m_manager);
    }

    IZanDB4TethraImportFileMgr* Manager() { return m_manager.Get(); }

    ManagerHandle m_manager;
};

TEST_F(CameraListOperations, OpenMakesTheStoreWithItsTableAndUniqueIndex) {
    ASSERT_TRUE(std::filesystem::exists(StoreFile()));
    SqliteProbe probe(StoreFile());
    ASSERT_TRUE(probe.IsOpen());

    EXPECT_EQ(probe.Rows("SELECT sql FROM sqlite_master WHERE name='tethra_file'"),
              (std::vector<std::vector<std::string>>{
                  {"CREATE TABLE tethra_file (file_id INTEGER PRIMARY KEY,file_path TEXT, import_date INTEGER, "
                   "atrributes INTEGER)"}}));
    EXPECT_EQ(probe.Rows("SELECT sql FROM sqlite_master WHERE name='tethra_file_uidx'"),
              (std::vector<std::vector<std::string>>{
                  {"CREATE UNIQUE INDEX tethra_file_uidx ON tethra_file (file_path)"}}));
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 1201);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM last_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM pooled_id_table"), 0);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM tethra_file"), 0);
}

TEST_F(CameraListOperations, AddFileWritesPathPackedDateAndAttributes) {
    const SYSTEMTIME date = MakeDate(2023, 7, 14, 9, 5, 33, 5, 250);
    RecordPtr record = MakeRecord(Manager(), u"/media/camera/DCIM/100CAM/IMG_0001.JPG", date, 0x21);
    uint64_t id = 0;

    EXPECT_EQ(Manager()->AddFile(record.Get(), &id), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(id, 1u);
    const int64_t packed = (int64_t{2023} << 40) + (int64_t{7} << 32) + (int64_t{14} << 24) + (int64_t{9} << 16) +
                           (int64_t{5} << 8) + 33;
    EXPECT_EQ(RowsOnDisk(), (std::vector<std::vector<std::string>>{
                                {"1", "/media/camera/DCIM/100CAM/IMG_0001.JPG", std::to_string(packed), "33"}}));
}

TEST_F(CameraListOperations, AddFileDrawsIdsFromOneUpInIdTypeZero) {
    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0001.JPG"), 1u);
    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0002.JPG"), 2u);
    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0003.JPG"), 3u);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    SqliteProbe probe(StoreFile());
    EXPECT_EQ(probe.Rows("SELECT id_type, last_id FROM last_id_table"),
              (std::vector<std::vector<std::string>>{{"0", "3"}}));
    EXPECT_EQ(probe.Rows("SELECT file_id, file_path FROM tethra_file ORDER BY file_id"),
              (std::vector<std::vector<std::string>>{
                  {"1", "/card/IMG_0001.JPG"}, {"2", "/card/IMG_0002.JPG"}, {"3", "/card/IMG_0003.JPG"}}));
}

TEST_F(CameraListOperations, AddFileWithNullOutIdStillAddsTheRow) {
    RecordPtr record = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2024, 5, 6, 7, 8, 9), 2);

    EXPECT_EQ(Manager()->AddFile(record.Get(), nullptr), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(Manager()->HasFileID(1), 1);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file WHERE file_path='/card/IMG_0001.JPG'"), 1);
}

TEST_F(CameraListOperations, AddFileLeavesTheRecordsIdAsItWas) {
    RecordPtr record = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2024, 5, 6, 7, 8, 9), 0);
    ASSERT_EQ(record->SetID(77), S_OK);
    uint64_t id = 0;

    EXPECT_EQ(Manager()->AddFile(record.Get(), &id), S_OK);

    uint64_t recordId = 0;
    EXPECT_EQ(record->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 77u);
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(Manager()->HasFileID(77), 0);
}

TEST_F(CameraListOperations, AddFileWithNullRecordIsInvalidArg) {
    uint64_t id = 5;

    EXPECT_EQ(Manager()->AddFile(nullptr, &id), E_INVALIDARG);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(id, 5u);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 0);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM last_id_table"), 0);
}

TEST_F(CameraListOperations, AddFileOfAListedPathFailsAndLeavesTheListUnchanged) {
    const SYSTEMTIME firstDate = MakeDate(2024, 1, 1, 10, 0, 0);
    RecordPtr first = MakeRecord(Manager(), u"/card/IMG_0001.JPG", firstDate, 1);
    ASSERT_EQ(Manager()->AddFile(first.Get(), nullptr), S_OK);
    RecordPtr again = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2025, 2, 2, 11, 0, 0), 9);
    uint64_t id = 42;

    EXPECT_EQ(Manager()->AddFile(again.Get(), &id), E_FAIL);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(id, 42u);
    EXPECT_EQ(RowsOnDisk(), (std::vector<std::vector<std::string>>{
                                {"1", "/card/IMG_0001.JPG", std::to_string(PackedDate(firstDate)), "1"}}));
}

TEST_F(CameraListOperations, IdOfAFailedAddIsNotGivenBack) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    RecordPtr again = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2025, 2, 2, 11, 0, 0), 0);
    ASSERT_EQ(Manager()->AddFile(again.Get(), nullptr), E_FAIL);

    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0002.JPG"), 3u);

    ASSERT_EQ(Manager()->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk("SELECT last_id FROM last_id_table WHERE id_type=0"), 3);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(CameraListOperations, HighBitAttributesAreStoredAsASignedThirtyTwoBitValue) {
    // The attributes are a 32-bit value bound as such: the column holds the
    // signed 32-bit reading of the bits, and the record gets the bits back.
    RecordPtr record = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2024, 1, 1, 0, 0, 0), 0x80000001u);
    ASSERT_EQ(Manager()->AddFile(record.Get(), nullptr), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(CountOnDisk("SELECT atrributes FROM tethra_file WHERE file_id=1"), -2147483647);
    RecordPtr found;
    ASSERT_EQ(Manager()->GetFileByPath(u"/card/IMG_0001.JPG", found.Receive()), S_OK);
    ASSERT_TRUE(found);
    uint32_t attributes = 0;
    EXPECT_EQ(found->GetAttributes(&attributes), S_OK);
    EXPECT_EQ(attributes, 0x80000001u);
}

TEST_F(CameraListOperations, UpdateFileRewritesPathDateAndAttributes) {
    AddPath(Manager(), u"/card/IMG_0001.JPG", 1);
    AddPath(Manager(), u"/card/IMG_0002.JPG", 2);
    const SYSTEMTIME newDate = MakeDate(2030, 12, 24, 18, 45, 59);
    RecordPtr changed = MakeRecord(Manager(), u"/archive/IMG_0001.JPG", newDate, 0x44);

    EXPECT_EQ(Manager()->UpdateFile(1, changed.Get()), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"1", "/archive/IMG_0001.JPG", std::to_string(PackedDate(newDate)),
                                                 "68"}));
    EXPECT_EQ(rows[1][1], "/card/IMG_0002.JPG");
    EXPECT_EQ(rows[1][3], "2");
}

TEST_F(CameraListOperations, UpdateFileOfAnUnknownIdFails) {
    AddPath(Manager(), u"/card/IMG_0001.JPG", 1);
    RecordPtr changed = MakeRecord(Manager(), u"/archive/IMG_0009.JPG", MakeDate(2030, 1, 1, 0, 0, 0), 9);

    EXPECT_EQ(Manager()->UpdateFile(9, changed.Get()), E_FAIL);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][1], "/card/IMG_0001.JPG");
    EXPECT_EQ(Manager()->HasFileID(9), 0);
}

TEST_F(CameraListOperations, UpdateFileWithNullRecordIsInvalidArg) {
    AddPath(Manager(), u"/card/IMG_0001.JPG", 1);

    EXPECT_EQ(Manager()->UpdateFile(1, nullptr), E_INVALIDARG);

    EXPECT_EQ(Manager()->HasFilePath(u"/card/IMG_0001.JPG"), 1);
}

TEST_F(CameraListOperations, UpdateFileToAPathListedUnderAnotherIdFails) {
    AddPath(Manager(), u"/card/IMG_0001.JPG", 1);
    AddPath(Manager(), u"/card/IMG_0002.JPG", 2);
    RecordPtr clash = MakeRecord(Manager(), u"/card/IMG_0001.JPG", MakeDate(2030, 1, 1, 0, 0, 0), 7);

    EXPECT_EQ(Manager()->UpdateFile(2, clash.Get()), E_FAIL);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1][1], "/card/IMG_0002.JPG");
    EXPECT_EQ(rows[1][3], "2");
}

TEST_F(CameraListOperations, DeleteFileByPathRemovesOnlyThatRow) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    AddPath(Manager(), u"/card/IMG_0002.JPG");

    EXPECT_EQ(Manager()->DeleteFileByPath(u"/card/IMG_0001.JPG"), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(Manager()->HasFilePath(u"/card/IMG_0001.JPG"), 0);
    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "2");
}

TEST_F(CameraListOperations, DeleteFileByPathOfAnUnlistedPathIsOk) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->DeleteFileByPath(u"/card/IMG_9999.JPG"), S_OK);

    EXPECT_EQ(Manager()->HasFilePath(u"/card/IMG_0001.JPG"), 1);
}

TEST_F(CameraListOperations, DeleteFileByIdRemovesOnlyThatRow) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    AddPath(Manager(), u"/card/IMG_0002.JPG");

    EXPECT_EQ(Manager()->DeleteFileByID(2), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(Manager()->HasFileID(2), 0);
    std::vector<std::vector<std::string>> rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][1], "/card/IMG_0001.JPG");
}

TEST_F(CameraListOperations, DeleteFileByIdOfAnUnknownIdIsOk) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->DeleteFileByID(12345), S_OK);

    EXPECT_EQ(Manager()->HasFileID(1), 1);
}

TEST_F(CameraListOperations, DeletedIdsAreNotPooled) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    AddPath(Manager(), u"/card/IMG_0002.JPG");
    ASSERT_EQ(Manager()->DeleteFileByID(1), S_OK);
    ASSERT_EQ(Manager()->DeleteFileByPath(u"/card/IMG_0002.JPG"), S_OK);

    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0003.JPG"), 3u);

    ASSERT_EQ(Manager()->Commit(), S_OK);
    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(CameraListOperations, HasFilePathAnswersOneOnlyForListedPaths) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->HasFilePath(u"/card/IMG_0001.JPG"), 1);
    EXPECT_EQ(Manager()->HasFilePath(u"/card/img_0001.jpg"), 0);
    EXPECT_EQ(Manager()->HasFilePath(u"/card/IMG_0002.JPG"), 0);
    EXPECT_EQ(Manager()->HasFilePath(u""), 0);
    EXPECT_EQ(Manager()->HasFilePath(nullptr), 0);
}

TEST_F(CameraListOperations, HasFileIdAnswersOneOnlyForListedIds) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->HasFileID(1), 1);
    EXPECT_EQ(Manager()->HasFileID(0), 0);
    EXPECT_EQ(Manager()->HasFileID(2), 0);
}

TEST_F(CameraListOperations, GetFileByPathReadsEveryColumnIntoANewRecord) {
    const SYSTEMTIME date = MakeDate(2023, 7, 14, 9, 5, 33, 5, 250);
    RecordPtr added = MakeRecord(Manager(), u"/Karte/Straße/IMG_0001.JPG", date, 0x1234);
    ASSERT_EQ(Manager()->AddFile(added.Get(), nullptr), S_OK);
    AddPath(Manager(), u"/card/IMG_0002.JPG");
    IZanDB4TethraImportFileRecord* found = nullptr;

    EXPECT_EQ(Manager()->GetFileByPath(u"/Karte/Straße/IMG_0001.JPG", &found), S_OK);

    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, added.Get());
    uint64_t id = 0;
    CZanTString path;
    SYSTEMTIME foundDate{};
    uint32_t attributes = 0;
    EXPECT_EQ(found->GetID(&id), S_OK);
    EXPECT_EQ(found->GetPath(path), S_OK);
    EXPECT_EQ(found->GetDate(&foundDate), S_OK);
    EXPECT_EQ(found->GetAttributes(&attributes), S_OK);
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(path.Value(), std::u16string(u"/Karte/Straße/IMG_0001.JPG"));
    // The stored form drops day of week and milliseconds.
    const SYSTEMTIME stored = MakeDate(2023, 7, 14, 9, 5, 33, 0, 0);
    EXPECT_EQ(std::memcmp(&foundDate, &stored, sizeof(SYSTEMTIME)), 0);
    EXPECT_EQ(attributes, 0x1234u);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CameraListOperations, GetFileByPathGivesOneReferenceToTheCaller) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    IZanDB4TethraImportFileRecord* found = nullptr;
    ASSERT_EQ(Manager()->GetFileByPath(u"/card/IMG_0001.JPG", &found), S_OK);
    ASSERT_NE(found, nullptr);

    EXPECT_EQ(found->AddRef(), 2u);
    EXPECT_EQ(found->Release(), 1u);
    EXPECT_EQ(found->Release(), 0u);
}

TEST_F(CameraListOperations, GetFileByPathOfAnUnlistedPathLeavesOutAsItWas) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    RecordPtr held = MakeRecord(Manager(), u"/mine.JPG", MakeDate(2024, 1, 1, 0, 0, 0), 3);
    IZanDB4TethraImportFileRecord* out = held.Get();

    EXPECT_EQ(Manager()->GetFileByPath(u"/card/IMG_9999.JPG", &out), S_OK);

    EXPECT_EQ(out, held.Get());
    // Nothing was taken from or added to the record that stood there.
    EXPECT_EQ(held->AddRef(), 2u);
    EXPECT_EQ(held->Release(), 1u);
    CZanTString path;
    held->GetPath(path);
    EXPECT_EQ(path.ToUtf8(), "/mine.JPG");
}

TEST_F(CameraListOperations, GetFileByPathOfAnUnlistedPathLeavesANullOutNull) {
    IZanDB4TethraImportFileRecord* out = nullptr;

    EXPECT_EQ(Manager()->GetFileByPath(u"/card/IMG_9999.JPG", &out), S_OK);

    EXPECT_EQ(out, nullptr);
}

TEST_F(CameraListOperations, GetFileByPathWithNullOutForAListedPathIsInvalidArg) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->GetFileByPath(u"/card/IMG_0001.JPG", nullptr), E_INVALIDARG);
}

TEST_F(CameraListOperations, GetAllFilesOnAnEmptyListIsOk) {
    CList<IZanDB4TethraImportFileRecord*> list;

    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);

    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CameraListOperations, GetAllFilesGivesEveryRowWithOneReferenceEach) {
    AddPath(Manager(), u"/card/IMG_0001.JPG", 1);
    AddPath(Manager(), u"/card/IMG_0002.JPG", 2);
    AddPath(Manager(), u"/card/IMG_0003.JPG", 3);
    CList<IZanDB4TethraImportFileRecord*> list;

    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);

    ASSERT_EQ(list.GetCount(), 3);
    std::vector<std::pair<uint64_t, std::string>> seen;
    POSITION position = list.GetHeadPosition();
    while (position != nullptr) {
        IZanDB4TethraImportFileRecord* record = list.GetNext(position);
        uint64_t id = 0;
        CZanTString path;
        uint32_t attributes = 0;
        record->GetID(&id);
        record->GetPath(path);
        record->GetAttributes(&attributes);
        EXPECT_EQ(attributes, id);
        seen.emplace_back(id, path.ToUtf8());
        EXPECT_EQ(record->AddRef(), 2u);
        EXPECT_EQ(record->Release(), 1u);
        EXPECT_EQ(record->Release(), 0u);
    }
    list.RemoveAll();
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::pair<uint64_t, std::string>>{
                        {1, "/card/IMG_0001.JPG"}, {2, "/card/IMG_0002.JPG"}, {3, "/card/IMG_0003.JPG"}}));
}

TEST_F(CameraListOperations, GetAllFilesEmptiesTheCallersListFirstWithoutReleasingIt) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    AddPath(Manager(), u"/card/IMG_0002.JPG");
    RecordPtr mine = MakeRecord(Manager(), u"/mine.JPG", MakeDate(2024, 1, 1, 0, 0, 0), 0);
    CList<IZanDB4TethraImportFileRecord*> list;
    list.AddTail(mine.Get());

    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);

    // The node was dropped, the record it pointed to kept its reference.
    ASSERT_EQ(list.GetCount(), 2);
    EXPECT_NE(list.GetHead(), mine.Get());
    EXPECT_NE(list.GetTail(), mine.Get());
    EXPECT_EQ(mine->AddRef(), 2u);
    EXPECT_EQ(mine->Release(), 1u);
    ReleaseAll(list);
}

TEST_F(CameraListOperations, GetAllFilesCalledTwiceHoldsTheRowsOnce) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    CList<IZanDB4TethraImportFileRecord*> list;

    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);
    IZanDB4TethraImportFileRecord* first = list.GetHead();
    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);

    // The caller releases what the first call gave before passing the list
    // again; the second call starts from an empty list.
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_NE(list.GetHead(), first);
    EXPECT_EQ(first->Release(), 0u);
    ReleaseAll(list);
}

TEST_F(CameraListOperations, GetAllFilesWithNullListIsInvalidArg) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");

    EXPECT_EQ(Manager()->GetAllFiles(nullptr), E_INVALIDARG);
}

TEST_F(CameraListOperations, DeleteAllFilesEmptiesTheListAndKeepsTheCounter) {
    AddPath(Manager(), u"/card/IMG_0001.JPG");
    AddPath(Manager(), u"/card/IMG_0002.JPG");

    EXPECT_EQ(Manager()->DeleteAllFiles(), S_OK);
    ASSERT_EQ(Manager()->Commit(), S_OK);

    EXPECT_EQ(CountOnDisk("SELECT COUNT(*) FROM tethra_file"), 0);
    EXPECT_EQ(CountOnDisk("SELECT last_id FROM last_id_table WHERE id_type=0"), 2);
    EXPECT_EQ(AddPath(Manager(), u"/card/IMG_0001.JPG"), 3u);
}

TEST_F(CameraListOperations, DeleteAllFilesOnAnEmptyListIsOk) {
    EXPECT_EQ(Manager()->DeleteAllFiles(), S_OK);

    CList<IZanDB4TethraImportFileRecord*> list;
    EXPECT_EQ(Manager()->GetAllFiles(&list), S_OK);
    EXPECT_TRUE(list.IsEmpty());
}

}  // namespace
}  // namespace zandb4::testing
