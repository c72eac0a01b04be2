// Bad input to the file manager: every null argument it refuses, refused
// before anything changes; and a manager made while the library failed to
// start, which must answer without touching anything on disk.
#include <fstream>
#include <iterator>

#include "file_db_mgr_fixture.h"

namespace file_mgr_test {
namespace {

class FileMgrBadInput : public FileMgrFixture {};

int32_t AnyMeta(IZanDB4FileMetaDBRecord*, void*) { return 0; }

TEST_F(FileMgrBadInput, NullArgumentsAreRefusedBeforeAnythingChanges) {
    uint64_t outId = 77;
    EXPECT_EQ(m_mgr->AddFile(nullptr, &outId), kInvalidArg);
    EXPECT_EQ(outId, 0u);
    outId = 77;
    EXPECT_EQ(m_mgr->AddFileDirect(nullptr, &outId, nullptr, nullptr, 0, nullptr), kInvalidArg);
    EXPECT_EQ(outId, 0u);
    FilePtr group = MakeFile(Spec("/g", "g"));
    EXPECT_EQ(m_mgr->AddItemGroup(nullptr, nullptr, group.Get()), kInvalidArg);
    EXPECT_EQ(m_mgr->AddItemGroupDirect(nullptr, nullptr, group.Get()), kInvalidArg);
    EXPECT_EQ(m_mgr->FindFileByPath(nullptr, nullptr, 1, u"/x"), kInvalidArg);
    EXPECT_EQ(m_mgr->ListFiles(nullptr, kTrue, nullptr, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->CountFiles(nullptr, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->ListFilesInAlbum(1, nullptr, 0, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->ListFilesOfTag(1, nullptr, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->CountFilesOfTag(1, nullptr), kInvalidArg);
    SYSTEMTIME day = Date(2020, 1, 1);
    EXPECT_EQ(m_mgr->ListFilesByDate(&day, &day, nullptr, kFalse, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->ListFilesByImport(&day, nullptr, nullptr, 0), kInvalidArg);
    EXPECT_EQ(m_mgr->ListMetaRecords(nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->ListModelMetaRecords(nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->ForEachModelMetaRecord(nullptr, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->AddLargeMetaData(1, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->UpdateLargeMetaData(1, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->AddEditFileCache(1, nullptr), kInvalidArg);
    EXPECT_EQ(m_mgr->AddMainImageCache(1, nullptr), kInvalidArg);
    // Nothing was drawn, pooled or written.
    ASSERT_EQ(m_mgr->Commit(1 | 2 | 4), S_OK);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM last_id_table WHERE id_type=1"), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pooled_id_table"), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM file_table"), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM async_file_table", "FileBasicAsync.db"), 0);
    EXPECT_EQ(AddDirect(Spec("/photos/first", "first.jpg")), 1u);
    // The callback walk still works with a real callback.
    EXPECT_EQ(m_mgr->ForEachModelMetaRecord(AnyMeta, nullptr), S_OK);
}

TEST_F(FileMgrBadInput, UnknownIdsAnswerAsDocumented) {
    FilePtr record = MakeFile(Spec("/x", "x.jpg"));
    EXPECT_EQ(m_mgr->GetFile(404, nullptr), kFail);
    EXPECT_EQ(m_mgr->UpdateFile(404, record.Get()), kInvalidArg);
    ComPtr<IZanDB4FileCache> thumb;
    EXPECT_EQ(m_mgr->GetThumbnail(404, 1, thumb.Receive()), kFail);
    EXPECT_FALSE(m_mgr->HasThumbnail(404, 2));
    ComPtr<IZanDB4EditFileCache> edit;
    EXPECT_EQ(m_mgr->GetEditFileCache(404, edit.Receive()), kFail);
    ComPtr<IZanDB4FileLargeMetaData> meta;
    EXPECT_EQ(m_mgr->GetLargeMetaData(404, meta.Receive()), kFail);
    ComPtr<IZanDB4MainImageCache> main;
    EXPECT_EQ(m_mgr->GetMainImageCache(404, main.Receive()), kFail);
    CList<IZanDB4FileDBRecord*> list;
    EXPECT_EQ(m_mgr->ListFilesInAlbum(404, &list, 0, 0), kFail);
    EXPECT_EQ(m_mgr->ListFilesOfTag(404, &list, 0), kFail);
}

TEST_F(FileMgrBadInput, AnEmptyThumbnailArrayAddsTheFileWithoutThumbnails) {
    FilePtr record = MakeFile(Spec("/photos/n", "n.jpg"));
    const uint32_t kinds[] = {1};
    uint64_t id = 0;
    EXPECT_EQ(m_mgr->AddFileDirect(record.Get(), &id, kinds, nullptr, 1, nullptr), S_OK);
    EXPECT_NE(id, 0u);
    EXPECT_FALSE(m_mgr->HasThumbnail(id, 1));
    EXPECT_EQ(m_mgr->GetFile(id, nullptr), S_OK);
}

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A library that failed to start hands out managers without stores. They
// must answer without crashing and leave what an earlier run committed.
TEST(FileMgrNotStarted, FactoryRefusesBeforeTheStart) {
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, &out), kFail);
    EXPECT_EQ(out, reinterpret_cast<void*>(0x1));
}

// Stops the library however the test ends, so that later tests start clean.
struct StopAtEnd {
    ~StopAtEnd() {
        while (zandb4::DatabaseRegistry::initCount > 0) ZanDB4_Finalize();
    }
};

TEST(FileMgrNotStarted, AManagerOfAFailedStartAnswersEFailAndLosesNothing) {
    zandb4::testing::TempFolder good;
    zandb4::testing::TempFolder bad;
    StopAtEnd stop;
    uint64_t id = 0;
    // A first run commits a file with a thumbnail.
    {
        ASSERT_EQ(ZanDB4_Initialize(good.Wide().GetString()), S_OK);
        ComPtr<IZanDB4FileDBMgr> mgr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(mgr.Receive())), S_OK);
        ComPtr<IZanDB4FileDBRecord> record;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
        uint32_t vsn = 1;
        record->SetFilePath(u"/kept/file", &vsn);
        record->SetFileName(u"file.jpg");
        ASSERT_EQ(mgr->AddFileDirect(record.Get(), &id, nullptr, nullptr, 0, nullptr), S_OK);
        ASSERT_EQ(mgr->AddThumbnail(id, 1, "pic", 3), S_OK);
        ASSERT_EQ(mgr->Commit(1), S_OK);
        record.Reset();
        mgr.Reset();
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    zandb4::testing::WriteFile(bad / "database", "not a folder");
    EXPECT_EQ(ZanDB4_Initialize(bad.Wide().GetString()), kAccessDenied);
    {
        ComPtr<IZanDB4FileDBMgr> mgr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(mgr.Receive())), S_OK);
        ASSERT_TRUE(mgr);
        ComPtr<IZanDB4FileDBRecord> record;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(record.Receive())), S_OK);
        uint64_t outId = 5;
        EXPECT_EQ(mgr->AddFile(record.Get(), &outId), kFail);
        EXPECT_EQ(outId, 0u);
        EXPECT_EQ(mgr->AddFileDirect(record.Get(), &outId, nullptr, nullptr, 0, nullptr), kFail);
        CArray<uint64_t> children;
        children.Add(1);
        EXPECT_EQ(mgr->AddItemGroup(&children, &outId, record.Get()), kFail);
        EXPECT_EQ(mgr->AddItemGroupDirect(&children, &outId, record.Get()), kFail);
        EXPECT_EQ(mgr->FindFileByPath(&outId, nullptr, 1, u"/kept/file"), kFail);
        EXPECT_EQ(mgr->GetFile(id, nullptr), kFail);
        EXPECT_EQ(mgr->UpdateFile(id, record.Get()), kFail);
        EXPECT_EQ(mgr->DeleteFile(id), kFail);
        CList<IZanDB4FileDBRecord*> list;
        EXPECT_EQ(mgr->ListFiles(nullptr, kTrue, &list, 0), kFail);
        uint32_t count = 0;
        EXPECT_EQ(mgr->CountFiles(nullptr, &count), kFail);
        EXPECT_EQ(mgr->HasFiles(nullptr), kFail);
        EXPECT_EQ(mgr->CountFilesOfTag(1, &count), kFail);
        EXPECT_EQ(mgr->ForEachFile(nullptr, nullptr), kFail);
        EXPECT_EQ(mgr->AddThumbnail(id, 1, "x", 1), kFail);
        EXPECT_FALSE(mgr->HasThumbnail(id, 1));
        CZanTString folder;
        EXPECT_EQ(mgr->GetThumbnailFolder(1, folder), kFail);
        EXPECT_EQ(mgr->DeleteThumbnailFolders(), S_OK);
        EXPECT_EQ(mgr->DeleteThumbnailFolder(1), S_OK);
        ComPtr<IZanDB4FileLargeMetaData> meta;
        EXPECT_EQ(mgr->GetLargeMetaData(id, meta.Receive()), kFail);
        EXPECT_EQ(mgr->DeleteLargeMetaData(id), kFail);
        EXPECT_EQ(mgr->DeleteEditFileCache(id), kFail);
        EXPECT_EQ(mgr->DeleteMainImageCache(id), kFail);
        EXPECT_EQ(mgr->Commit(1 | 2 | 4), kFail);
        EXPECT_EQ(mgr->Rollback(1 | 2), kFail);
        EXPECT_EQ(mgr->Lock(), S_OK);
        EXPECT_EQ(mgr->Unlock(), S_OK);
        EXPECT_EQ(mgr->ReservedOperation1(), kNotImpl);
        record.Reset();
        EXPECT_EQ(mgr.Detach()->Release(), 0u);
    }
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    EXPECT_EQ(ReadAll(bad / "database"), "not a folder");

    // The next run on the first root finds everything it committed.
    ASSERT_EQ(ZanDB4_Initialize(good.Wide().GetString()), S_OK);
    {
        ComPtr<IZanDB4FileDBMgr> mgr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(mgr.Receive())), S_OK);
        EXPECT_EQ(mgr->GetFile(id, nullptr), S_OK);
        EXPECT_TRUE(mgr->HasThumbnail(id, 1));
        uint64_t found = 0;
        EXPECT_EQ(mgr->FindFileByPath(&found, nullptr, 1, u"/kept/file"), S_OK);
        EXPECT_EQ(found, id);
    }
}

}  // namespace
}  // namespace file_mgr_test
