// DeleteFileRow: the row goes with everything that hangs on it (person and
// pet faces, the metadata row, tag links, the main image cache row), the
// album and the individuals of the faces are noted for their recounts, a
// record still held by a client loses its id, and the id is not given back
// to the pool. The neighbour file's rows must stay untouched throughout.
#include "faces/face_rows.h"
#include "catalogue/file_rows.h"
#include "file_store_write_fixture.h"

namespace file_store_write_test {
namespace {

class FileStoreWriteDelete : public FileStoreWriteTest {
protected:
    void SetUp() override {
        FileStoreWriteTest::SetUp();
        if (HasFatalFailure()) return;
        FileRow doomed;  // file 10, album 42
        InsertFileRow(doomed);
        FileRow neighbour;
        neighbour.fileId = 11;
        neighbour.albumId = 43;
        InsertFileRow(neighbour);
        file_record_test::MetaRow meta;
        InsertMetaRow(meta);
        meta.fileId = 11;
        InsertMetaRow(meta);
        Exec("INSERT INTO tag_file_table (tag_id, file_id) VALUES (5, 10), (6, 10), (5, 11)");
        Exec(
            "INSERT INTO person_face_table (person_face_id, file_id, person_id, rect) VALUES "
            "(100, 10, 7, 1), (101, 10, 8, 2), (102, 11, 9, 3)");
        Exec("INSERT INTO pet_face_table (pet_face_id, file_id, pet_id, rect) VALUES (200, 10, 3, 4), (201, 11, 4, 5)");
        Exec(
            "INSERT INTO main_image_cache_file_table (file_id, file_type, file_path) VALUES "
            "(10, 1, '/cache/10.jpg'), (11, 1, '/cache/11.jpg')");
        CommitStore();
    }

    std::vector<uint64_t> Ids(const std::string& sql) {
        CommitStore();
        return DiskIds(sql);
    }
};

TEST_F(FileStoreWriteDelete, RowAndEverythingOnItGo) {
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(Ids("SELECT file_id FROM file_table ORDER BY file_id"), (std::vector<uint64_t>{11}));
    EXPECT_EQ(Ids("SELECT file_id FROM meta_table ORDER BY file_id"), (std::vector<uint64_t>{11}));
    EXPECT_EQ(Disk("SELECT tag_id, file_id FROM tag_file_table ORDER BY rowid"), (Rows{{"5", "11"}}));
    EXPECT_EQ(Ids("SELECT person_face_id FROM person_face_table ORDER BY 1"), (std::vector<uint64_t>{102}));
    EXPECT_EQ(Ids("SELECT pet_face_id FROM pet_face_table ORDER BY 1"), (std::vector<uint64_t>{201}));
    EXPECT_EQ(Ids("SELECT file_id FROM main_image_cache_file_table ORDER BY 1"), (std::vector<uint64_t>{11}));
}

TEST_F(FileStoreWriteDelete, NeighbourRowIsUnchanged) {
    CommitStore();
    Rows before = Disk("SELECT * FROM file_table WHERE file_id=11");
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT * FROM file_table WHERE file_id=11"), before);
}

TEST_F(FileStoreWriteDelete, AlbumAndIndividualsAreNotedForTheirRecounts) {
    ASSERT_TRUE(AlbumRecount().empty());
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(AlbumRecount(), (std::set<uint64_t>{42}));
    EXPECT_EQ(m_store->PersonRecounts(), (std::set<uint64_t>{7, 8}));
    EXPECT_EQ(m_store->PetRecounts(), (std::set<uint64_t>{3}));
}

TEST_F(FileStoreWriteDelete, RowIsGoneOnlyAfterTheCommit) {
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(Disk("SELECT COUNT(*) FROM file_table"), (Rows{{"2"}}));
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteDelete, UnknownIdSucceedsAndTouchesNothing) {
    int changesBefore = TotalChanges();
    EXPECT_EQ(FileTableRows(*m_store).DeleteFileRow(999), S_OK);
    EXPECT_EQ(TotalChanges(), changesBefore);
    EXPECT_TRUE(AlbumRecount().empty());
    EXPECT_TRUE(m_store->PersonRecounts().empty());
    EXPECT_TRUE(m_store->PetRecounts().empty());
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 2);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM tag_file_table"), 3);
}

TEST_F(FileStoreWriteDelete, FileWithoutAlbumNotesNone) {
    Exec("UPDATE file_table SET album_id=0 WHERE file_id=10");
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_TRUE(AlbumRecount().empty());
}

TEST_F(FileStoreWriteDelete, HeldRecordLosesItsIdAndLeavesTheCache) {
    RecordPtr held;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, held.Receive()), S_OK);
    ASSERT_EQ(CacheSize(), 1u);
    ASSERT_EQ(Count(held.Get()), 2);
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    uint64_t id = 99;
    EXPECT_EQ(held->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(CacheFind(10), nullptr);
    EXPECT_EQ(CacheSize(), 0u);
    // Only the client's reference is left.
    EXPECT_EQ(Count(held.Get()), 1);
}

TEST_F(FileStoreWriteDelete, ANewRowUnderTheSameIdGetsANewRecord) {
    RecordPtr held;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, held.Receive()), S_OK);
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    InsertFileRow(FileRow{});
    RecordPtr fresh;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, fresh.Receive()), S_OK);
    EXPECT_NE(fresh.Get(), held.Get());
}

TEST_F(FileStoreWriteDelete, IdIsNotPooled) {
    CommitStore();
    Rows pooled = Disk("SELECT id_type, pooled_id FROM pooled_id_table ORDER BY rowid");
    Rows last = Disk("SELECT id_type, last_id FROM last_id_table ORDER BY rowid");
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    CommitStore();
    EXPECT_EQ(Disk("SELECT id_type, pooled_id FROM pooled_id_table ORDER BY rowid"), pooled);
    EXPECT_EQ(Disk("SELECT id_type, last_id FROM last_id_table ORDER BY rowid"), last);
    EXPECT_EQ(Disk("SELECT COUNT(*) FROM pooled_id_table WHERE pooled_id=10"), (Rows{{"0"}}));
}

TEST_F(FileStoreWriteDelete, SecondDeleteOfTheSameIdIsHarmless) {
    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table"), 1);
}

TEST_F(FileStoreWriteDelete, MissingTagTableFailsAndKeepsTheRow) {
    // The tag links decide: when they cannot be deleted, the row stays.
    Exec("ALTER TABLE tag_file_table RENAME TO tag_file_table_away");
    RecordPtr held;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, held.Receive()), S_OK);
    EXPECT_EQ(FileTableRows(*m_store).DeleteFileRow(10), E_FAIL);
    uint64_t id = 0;
    held->GetFileID(&id);
    EXPECT_EQ(id, 10u);
    EXPECT_EQ(CacheSize(), 1u);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM file_table WHERE file_id=10"), 1);
}

// ---- the face deletes it relies on ----

using FileStoreWriteDeleteFaces = FileStoreWriteDelete;

TEST_F(FileStoreWriteDeleteFaces, DeleteFaceNotesItsIndividual) {
    EXPECT_EQ(FaceTableRows(*m_store).DeleteFace(101, CSQLiteFileBasicDB::kPerson), S_OK);
    EXPECT_EQ(m_store->PersonRecounts(), (std::set<uint64_t>{8}));
    EXPECT_TRUE(m_store->PetRecounts().empty());
    EXPECT_EQ(Ids("SELECT person_face_id FROM person_face_table ORDER BY 1"), (std::vector<uint64_t>{100, 102}));
}

TEST_F(FileStoreWriteDeleteFaces, DeleteOfAMissingFaceSucceedsAndNotesNothing) {
    EXPECT_EQ(FaceTableRows(*m_store).DeleteFace(555, CSQLiteFileBasicDB::kPet), S_OK);
    EXPECT_TRUE(m_store->PetRecounts().empty());
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM pet_face_table"), 2);
}

TEST_F(FileStoreWriteDeleteFaces, DeleteFaceRefusesAnotherType) {
    EXPECT_EQ(FaceTableRows(*m_store).DeleteFace(100, 3), E_INVALIDARG);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM person_face_table"), 3);
}

TEST_F(FileStoreWriteDeleteFaces, FacesOfAFileGoForBothTypes) {
    EXPECT_EQ(FaceTableRows(*m_store).DeleteFacesOfFile(11), S_OK);
    EXPECT_EQ(m_store->PersonRecounts(), (std::set<uint64_t>{9}));
    EXPECT_EQ(m_store->PetRecounts(), (std::set<uint64_t>{4}));
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM person_face_table WHERE file_id=11"), 0);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM pet_face_table WHERE file_id=11"), 0);
    EXPECT_EQ(CommittedCount("SELECT COUNT(*) FROM person_face_table WHERE file_id=10"), 2);
}

}  // namespace
}  // namespace file_store_write_test
