// One live record per file across the reads of the file store: two searches
// that find one file hand out one object whose count they share; the last
// client Release lets the cache go; deleting the row zeroes the id of a
// record still held; and a search that finds a record in the cache reads
// the row into it only as far as the record knows none of the requested
// fields, so a client's change survives, and so does a partial record stay
// partial.
#include "catalogue/file_rows.h"
#include "file_store_read_fixture.h"

namespace file_store_read_test {
namespace {

class FileStoreSharedRecord : public FileStoreReadTest {
protected:
    RecordPtr Get(uint64_t fileId) {
        IZanDB4FileDBRecord* raw = nullptr;
        EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(fileId, &raw), S_OK);
        return RecordPtr::Adopt(raw);
    }
};

TEST_F(FileStoreSharedRecord, TwoSearchesThatFindOneFileGiveOneObjectWithASharedCount) {
    InsertFileRow(FileRow{});
    RecordPtr first = Get(10);
    ASSERT_TRUE(first);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    IZanDB4FileDBRecord* second = Entries(files.List())[0];
    EXPECT_EQ(second, first.Get());
    // The cache, the first search and the second.
    EXPECT_EQ(Count(first.Get()), 3);
    EXPECT_EQ(CacheSize(), 1u);

    EXPECT_EQ(second->AddRef(), 4u);
    EXPECT_EQ(Count(first.Get()), 4);
    EXPECT_EQ(second->Release(), 3u);

    // What one holder sets, the other sees.
    const uint32_t manage = 2;
    ASSERT_EQ(second->SetManage(&manage), S_OK);
    uint32_t seen = 0;
    EXPECT_EQ(first->GetManage(&seen), S_OK);
    EXPECT_EQ(seen, 2u);
}

TEST_F(FileStoreSharedRecord, ReleasingTheLastClientReferenceTakesTheRecordOutOfTheCacheAndDestroysIt) {
    InsertFileRow(FileRow{});
    file_record_test::MetaPtr watch = NewMetaRecord();
    ASSERT_TRUE(watch);
    IZanDB4FileDBRecord* first = nullptr;
    ASSERT_EQ(FileTableRows(*m_store).GetFileRecord(10, &first), S_OK);
    ASSERT_NE(first, nullptr);
    // The record holds a reference on the watch until it is destroyed.
    ASSERT_EQ(first->AttachMetaRecord(watch.Get()), S_OK);
    ASSERT_EQ(file_record_test::MetaCount(watch.Get()), 2);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesByDate(file_record_test::MakeTime(2021, 1, 1, 0, 0, 0),
                                       file_record_test::MakeTime(2021, 12, 31, 0, 0, 0), 0, files.List(),
                                       kLoadAll),
              S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    ASSERT_EQ(Entries(files.List())[0], first);
    ASSERT_EQ(Count(first), 3);

    EXPECT_EQ(first->Release(), 2u);
    EXPECT_EQ(CacheSize(), 1u);
    files.Release();
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(CacheFind(10), nullptr);
    EXPECT_EQ(file_record_test::MetaCount(watch.Get()), 1);

    // The next search makes a new record.
    RecordPtr again = Get(10);
    ASSERT_TRUE(again);
    EXPECT_EQ(Count(again.Get()), 2);
    EXPECT_EQ(CacheSize(), 1u);
}

TEST_F(FileStoreSharedRecord, DeletingTheRowZeroesTheIdOfARecordAClientStillHolds) {
    InsertFileRow(FileRow{});
    InsertFileRow(RowOf(11, Packed(2021, 1, 1), "other.jpg"));
    RecordPtr held = Get(10);
    ASSERT_TRUE(held);
    ASSERT_EQ(Count(held.Get()), 2);

    ASSERT_EQ(FileTableRows(*m_store).DeleteFileRow(10), S_OK);
    EXPECT_EQ(IdOf(held.Get()), 0u);
    EXPECT_EQ(Count(held.Get()), 1);
    EXPECT_EQ(CacheSize(), 0u);
    EXPECT_EQ(FileTableRows(*m_store).GetFileRecord(10, nullptr), E_FAIL);

    // The record keeps what it held.
    uint32_t format = 0;
    EXPECT_EQ(held->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);

    held.Reset();
    EXPECT_EQ(CommitAndRead("SELECT file_id FROM file_table ORDER BY file_id"),
              (file_record_test::Rows{std::vector<std::string>{"11"}}));
}

TEST_F(FileStoreSharedRecord, RefreshFromARowKeepsAFieldAClientChangedAndReadsNoOtherField) {
    InsertFileRow(FileRow{});
    RecordPtr held = Get(10);
    ASSERT_TRUE(held);
    const uint32_t manage = 2;
    ASSERT_EQ(held->SetManage(&manage), S_OK);
    Exec("UPDATE file_table SET manage=1, file_format=9 WHERE file_id=10");

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    EXPECT_EQ(Entries(files.List())[0], held.Get());
    uint32_t seen = 0;
    EXPECT_EQ(held->GetManage(&seen), S_OK);
    EXPECT_EQ(seen, 2u);
    EXPECT_EQ(file_record_test::Changed(held.Get()), file_record_test::kManageBit);
    // The record knew every field, so the new format was not read either.
    uint32_t format = 0;
    EXPECT_EQ(held->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
}

TEST_F(FileStoreSharedRecord, ARecordThatKnowsOneFieldIsNotFilledByALaterSearch) {
    InsertFileRow(FileRow{});
    RecordPtr held = RecordFor(10);
    ASSERT_TRUE(held);
    ASSERT_TRUE(CacheAdd(10, held.Get()));
    const uint32_t manage = 2;
    ASSERT_EQ(held->SetManage(&manage), S_OK);
    ASSERT_EQ(Known(held.Get()), file_record_test::kManageBit);

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadAll), S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    EXPECT_EQ(Entries(files.List())[0], held.Get());
    EXPECT_EQ(Count(held.Get()), 3);
    // The wide read was satisfied by the one known field.
    EXPECT_EQ(Known(held.Get()), file_record_test::kManageBit);
    uint8_t didEdit = 9;
    EXPECT_EQ(held->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0);

    // Fields still arrive one by one through their getters.
    uint32_t format = 0;
    EXPECT_EQ(held->GetFileFormat(&format), S_OK);
    EXPECT_EQ(format, 3u);
    EXPECT_EQ(Known(held.Get()), file_record_test::kManageBit | file_record_test::kFormatBit);
    uint32_t seen = 0;
    EXPECT_EQ(held->GetManage(&seen), S_OK);
    EXPECT_EQ(seen, 2u);
}

TEST_F(FileStoreSharedRecord, ARecordReadInTheReducedModeIsNotCompletedByAFullSearch) {
    InsertFileRow(FileRow{});
    OwnedFiles reduced;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, reduced.List(), kLoadShort), S_OK);
    ASSERT_EQ(reduced.List().GetCount(), 1);
    IZanDB4FileDBRecord* record = Entries(reduced.List())[0];
    ASSERT_EQ(Known(record), kReducedKnown);

    OwnedFiles full;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, full.List(), kLoadAll), S_OK);
    ASSERT_EQ(full.List().GetCount(), 1);
    EXPECT_EQ(Entries(full.List())[0], record);
    EXPECT_EQ(Count(record), 3);
    EXPECT_EQ(Known(record), kReducedKnown);
}

TEST_F(FileStoreSharedRecord, ARecordMadeInModeOneIsFilledByALaterFullSearch) {
    InsertFileRow(FileRow{});
    OwnedFiles bare;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, bare.List(), kLoadNothing), S_OK);
    ASSERT_EQ(bare.List().GetCount(), 1);
    IZanDB4FileDBRecord* record = Entries(bare.List())[0];
    ASSERT_EQ(Known(record), 0u);

    RecordPtr full = Get(10);
    ASSERT_TRUE(full);
    EXPECT_EQ(full.Get(), record);
    EXPECT_EQ(Count(record), 3);
    EXPECT_EQ(Known(record), kAllFieldsKnown);
    uint8_t didEdit = 0;
    EXPECT_EQ(record->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 1);
}

TEST_F(FileStoreSharedRecord, AModeOneSearchHandsOutTheLiveRecordAsItStands) {
    InsertFileRow(FileRow{});
    RecordPtr held = Get(10);
    ASSERT_TRUE(held);
    const uint32_t format = 12;
    ASSERT_EQ(held->SetFileFormat(&format), S_OK);
    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, files.List(), kLoadNothing), S_OK);
    ASSERT_EQ(files.List().GetCount(), 1);
    EXPECT_EQ(Entries(files.List())[0], held.Get());
    EXPECT_EQ(Known(held.Get()), kAllFieldsKnown);
    uint32_t seen = 0;
    EXPECT_EQ(held->GetFileFormat(&seen), S_OK);
    EXPECT_EQ(seen, 12u);
}

TEST_F(FileStoreSharedRecord, EveryListOfOneSearchHoldsItsOwnReference) {
    InsertFileRow(FileRow{});
    InsertPersonFace(100, 10, 5, 0);
    OwnedFiles byIndividual;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, byIndividual.List(), kLoadAll, nullptr),
              S_OK);
    OwnedFiles all;
    ASSERT_EQ(FileTableRows(*m_store).ListFiles(nullptr, 0, all.List(), kLoadShort), S_OK);
    ASSERT_EQ(byIndividual.List().GetCount(), 1);
    ASSERT_EQ(all.List().GetCount(), 1);
    IZanDB4FileDBRecord* record = Entries(all.List())[0];
    EXPECT_EQ(Entries(byIndividual.List())[0], record);
    EXPECT_EQ(Count(record), 3);
    byIndividual.Release();
    EXPECT_EQ(Count(record), 2);
    EXPECT_EQ(CacheSize(), 1u);
    all.Release();
    EXPECT_EQ(CacheSize(), 0u);
}

}  // namespace
}  // namespace file_store_read_test
