// The metadata record a file record holds: setting it raw, attaching and
// detaching it (with the mask bits each sets), the one reference the file
// record keeps and gives back, the file id it hands over, and the fetch from
// meta_table that GetMetaRecord makes when none is held. Also Clone, which
// copies the listed columns into a new unsaved record and nothing else.
#include "file_db_record_fixture.h"

namespace file_record_test {
namespace {

using FileRecordMeta = FileRecordTest;

uint64_t MetaFileId(IZanDB4FileMetaDBRecord* meta) {
    uint64_t id = 0xDEAD;
    EXPECT_EQ(meta->GetFileID(&id), S_OK);
    return id;
}

TEST_F(FileRecordMeta, SetMetaRecordRawHoldsTheRecordAndGivesItTheFileId) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(meta->SetFileID(55), S_OK);

    EXPECT_EQ(record->SetMetaRecordRaw(meta.Get()), S_OK);
    EXPECT_EQ(MetaCount(meta.Get()), 2);
    EXPECT_EQ(MetaFileId(meta.Get()), 10u);
    EXPECT_EQ(Changed(record.Get()), kMetaBit);
    EXPECT_EQ(Known(record.Get()), kMetaBit);
}

TEST_F(FileRecordMeta, SetMetaRecordRawWithTheRecordHeldDoesNothing) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(record->SetMetaRecordRaw(meta.Get()), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));
    ASSERT_EQ(meta->SetFileID(77), S_OK);

    EXPECT_EQ(record->SetMetaRecordRaw(meta.Get()), S_OK);
    EXPECT_EQ(MetaCount(meta.Get()), 2);
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_EQ(MetaFileId(meta.Get()), 77u);  // not handed the id again
}

TEST_F(FileRecordMeta, SetMetaRecordRawWithAnotherRecordReleasesTheFirst) {
    RecordPtr record = RecordFor(10);
    MetaPtr first = NewMetaRecord();
    MetaPtr second = NewMetaRecord();
    ASSERT_EQ(record->SetMetaRecordRaw(first.Get()), S_OK);
    EXPECT_EQ(record->SetMetaRecordRaw(second.Get()), S_OK);
    EXPECT_EQ(MetaCount(first.Get()), 1);
    EXPECT_EQ(MetaCount(second.Get()), 2);
    IZanDB4FileMetaDBRecord* held = nullptr;
    EXPECT_EQ(record->GetMetaRecord(&held), S_OK);
    EXPECT_EQ(held, second.Get());
    MetaPtr::Adopt(held);
}

TEST_F(FileRecordMeta, SetMetaRecordRawWithNullReleasesTheHeldRecordAndMarksIt) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(record->SetMetaRecordRaw(meta.Get()), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));

    EXPECT_EQ(record->SetMetaRecordRaw(nullptr), S_OK);
    EXPECT_EQ(MetaCount(meta.Get()), 1);
    EXPECT_EQ(Changed(record.Get()), kMetaBit);
    EXPECT_EQ(Known(record.Get()), kMetaBit);
}

TEST_F(FileRecordMeta, SetMetaRecordRawWithNullOnARecordHoldingNoneDoesNothing) {
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(record->SetMetaRecordRaw(nullptr), S_OK);
    EXPECT_EQ(Changed(record.Get()), 0u);
    EXPECT_EQ(Known(record.Get()), 0u);
}

TEST_F(FileRecordMeta, AttachMarksBothMasksEvenWhenTheRecordIsAlreadyHeld) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    EXPECT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    EXPECT_EQ(MetaCount(meta.Get()), 2);
    EXPECT_EQ(MetaFileId(meta.Get()), 10u);
    ASSERT_FALSE(record->MarkRelationsChanged(0));

    EXPECT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    EXPECT_EQ(Changed(record.Get()), kMetaBit);
    EXPECT_EQ(Known(record.Get()), kMetaBit);
    EXPECT_EQ(MetaCount(meta.Get()), 2);
}

TEST_F(FileRecordMeta, DetachReleasesTheRecordAndMarksBothMasks) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    ASSERT_FALSE(record->MarkRelationsChanged(0));

    EXPECT_EQ(record->DetachMetaRecord(), S_OK);
    EXPECT_EQ(MetaCount(meta.Get()), 1);
    EXPECT_EQ(Changed(record.Get()), kMetaBit);
    EXPECT_EQ(Known(record.Get()), kMetaBit);
}

TEST_F(FileRecordMeta, DetachOnARecordHoldingNoneStillMarksBothMasks) {
    RecordPtr record = RecordFor(10);
    EXPECT_EQ(record->DetachMetaRecord(), S_OK);
    EXPECT_EQ(Changed(record.Get()), kMetaBit);
    EXPECT_EQ(Known(record.Get()), kMetaBit);
}

TEST_F(FileRecordMeta, HeldRecordIsReleasedWhenTheFileRecordGoes) {
    MetaPtr meta = NewMetaRecord();
    {
        RecordPtr record = RecordFor(10);
        ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
        ASSERT_EQ(MetaCount(meta.Get()), 2);
    }
    EXPECT_EQ(MetaCount(meta.Get()), 1);
}

TEST_F(FileRecordMeta, GetMetaRecordGivesTheHeldRecordWithAReference) {
    RecordPtr record = RecordFor(10);
    MetaPtr meta = NewMetaRecord();
    ASSERT_EQ(record->AttachMetaRecord(meta.Get()), S_OK);
    IZanDB4FileMetaDBRecord* out = nullptr;
    EXPECT_EQ(record->GetMetaRecord(&out), S_OK);
    EXPECT_EQ(out, meta.Get());
    EXPECT_EQ(MetaCount(meta.Get()), 3);
    out->Release();
    EXPECT_EQ(MetaCount(meta.Get()), 2);
}

TEST_F(FileRecordMeta, GetMetaRecordFetchesTheRowOfMetaTable) {
    InsertFileRow(FileRow{});
    MetaRow row;
    InsertMetaRow(row);
    RecordPtr record = RecordFor(10);

    IZanDB4FileMetaDBRecord* out = nullptr;
    ASSERT_EQ(record->GetMetaRecord(&out), S_OK);
    ASSERT_NE(out, nullptr);
    MetaPtr meta = MetaPtr::Adopt(out);
    EXPECT_EQ(MetaCount(meta.Get()), 2);  // the file record's and the caller's
    EXPECT_EQ(MetaFileId(meta.Get()), 10u);
    uint64_t fileSize = 0;
    EXPECT_EQ(meta->GetFileSize(&fileSize), S_OK);
    EXPECT_EQ(fileSize, 123456u);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(meta->GetPixelSize(&width, &height), S_OK);
    EXPECT_EQ(width, 4000u);
    EXPECT_EQ(height, 3000u);
    CZanTString model;
    uint32_t picture = 0, finishing = 0, art = 0;
    EXPECT_EQ(meta->GetModelInfo(model, &picture, &finishing, &art, nullptr, nullptr), S_OK);
    EXPECT_EQ(model.ToUtf8(), "model-x");
    EXPECT_EQ(picture, 11u);

    // What came from the row is known, and is not a change.
    EXPECT_EQ(Known(record.Get()), kMetaBit);
    EXPECT_EQ(Changed(record.Get()), 0u);

    // A second call gives the same record; nothing is fetched again.
    IZanDB4FileMetaDBRecord* again = nullptr;
    EXPECT_EQ(record->GetMetaRecord(&again), S_OK);
    EXPECT_EQ(again, meta.Get());
    EXPECT_EQ(MetaCount(meta.Get()), 3);
    again->Release();
}

TEST_F(FileRecordMeta, GetMetaRecordWithoutARowFailsWithNull) {
    InsertFileRow(FileRow{});
    InsertMetaRow(MetaRow{.fileId = 11});
    RecordPtr record = RecordFor(10);
    IZanDB4FileMetaDBRecord* out = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(record->GetMetaRecord(&out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(Known(record.Get()), 0u);
    EXPECT_EQ(Changed(record.Get()), 0u);
}

TEST_F(FileRecordMeta, GetMetaRecordAfterDetachDoesNotFetchTheRow) {
    InsertFileRow(FileRow{});
    InsertMetaRow(MetaRow{});
    RecordPtr record = RecordFor(10);
    ASSERT_EQ(record->DetachMetaRecord(), S_OK);
    IZanDB4FileMetaDBRecord* out = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(record->GetMetaRecord(&out), E_FAIL);
    EXPECT_EQ(out, nullptr);
}

TEST_F(FileRecordMeta, FetchedRecordIsReleasedWhenTheFileRecordGoes) {
    InsertFileRow(FileRow{});
    InsertMetaRow(MetaRow{});
    MetaPtr meta;
    {
        RecordPtr record = RecordFor(10);
        ASSERT_EQ(record->GetMetaRecord(meta.Receive()), S_OK);
        ASSERT_EQ(MetaCount(meta.Get()), 2);
    }
    EXPECT_EQ(MetaCount(meta.Get()), 1);
}

TEST_F(FileRecordMeta, CloneCopiesTheListedColumnsAndMarksThemChanged) {
    InsertFileRow(FileRow{});
    InsertMetaRow(MetaRow{});
    RecordPtr source = RecordFor(10);
    ASSERT_EQ(Impl(source.Get())->ReadFields(kAllColumns, nullptr), S_OK);
    const uint64_t parent = 9;
    const SYSTEMTIME parentDate = MakeTime(2020, 1, 2, 3, 4, 5);
    ASSERT_EQ(source->SetParent(&parent, &parentDate), S_OK);
    const uint64_t tag = 6;
    ASSERT_EQ(source->AddTag(&tag), S_OK);
    MetaPtr meta;
    ASSERT_EQ(source->GetMetaRecord(meta.Receive()), S_OK);
    const uint32_t sourceChanged = Changed(source.Get());
    // Commit empties the recount notes, so that only the clone's show below.
    ASSERT_EQ(m_store->Commit(false), S_OK);

    RecordPtr clone;
    ASSERT_EQ(source->Clone(clone.Receive()), S_OK);
    ASSERT_TRUE(clone);
    EXPECT_NE(clone.Get(), source.Get());
    EXPECT_EQ(Count(clone.Get()), 1);
    EXPECT_EQ(Impl(clone.Get())->Store(), m_store);
    const uint32_t copied = kManageBit | kPathBit | kNameBit | kFormatBit | kDateBit | kThumbSizeBit |
                            kOrientationBit | kGpsBit | kAttributesBit | kDidEditBit | kFavoriteBit | kDetectFaceBit |
                            kAlbumBit | kParentBit;
    EXPECT_EQ(Changed(clone.Get()), copied);
    EXPECT_EQ(Known(clone.Get()), copied);

    uint64_t id = 99;
    EXPECT_EQ(clone->GetFileID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    uint32_t number = 0;
    EXPECT_EQ(clone->GetManage(&number), S_OK);
    EXPECT_EQ(number, 1u);
    CZanTString text;
    uint32_t diskVsn = 0;
    EXPECT_EQ(clone->GetFilePath(text, &diskVsn), S_OK);
    EXPECT_EQ(text.ToUtf8(), FileRow{}.filePath);
    EXPECT_EQ(diskVsn, 0x1234ABCDu);
    EXPECT_EQ(clone->GetFileName(text), S_OK);
    EXPECT_EQ(text.ToUtf8(), FileRow{}.fileName);
    EXPECT_EQ(clone->GetFileFormat(&number), S_OK);
    EXPECT_EQ(number, 3u);
    int64_t packed = 0;
    EXPECT_EQ(clone->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, kShootingPacked);
    uint32_t width = 0, height = 0;
    EXPECT_EQ(clone->GetThumbnailSize(&width, &height), S_OK);
    EXPECT_EQ(width, 640u);
    EXPECT_EQ(height, 480u);
    uint16_t orientation = 0;
    EXPECT_EQ(clone->GetThumbnailOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, 6u);
    float latitude = 0, longitude = 0;
    EXPECT_EQ(clone->GetGPS(&latitude, &longitude), S_OK);
    EXPECT_EQ(latitude, static_cast<float>(FileRow{}.gpsLatitude));
    EXPECT_EQ(longitude, static_cast<float>(FileRow{}.gpsLongitude));
    EXPECT_EQ(clone->GetFileAttributes(&number), S_OK);
    EXPECT_EQ(number, 0x21u);
    uint8_t flag = 0;
    EXPECT_EQ(clone->GetDidEdit(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(clone->GetIsFavorite(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(clone->GetDidDetectFace(&flag), S_OK);
    EXPECT_EQ(flag, 1u);
    EXPECT_EQ(clone->GetAlbumID(&id), S_OK);
    EXPECT_EQ(id, 42u);
    SYSTEMTIME date = FilledTime();
    EXPECT_EQ(clone->GetParent(&id, &date), S_OK);
    EXPECT_EQ(id, 9u);
    EXPECT_TRUE(SameTime(date, parentDate));

    // Left out on purpose: upload flag, class, tags and metadata.
    EXPECT_EQ(clone->GetUploadFlag(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(clone->GetClassifyID(&flag), S_OK);
    EXPECT_EQ(flag, 0u);
    EXPECT_EQ(clone->GetTagCount(&number), S_OK);
    EXPECT_EQ(number, 0u);
    IZanDB4FileMetaDBRecord* cloneMeta = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(clone->GetMetaRecord(&cloneMeta), E_FAIL);
    EXPECT_EQ(cloneMeta, nullptr);
    EXPECT_EQ(MetaCount(meta.Get()), 2);  // still the source's and the test's only

    // The source is as it was; the clone's album setter noted its album.
    EXPECT_EQ(Changed(source.Get()), sourceChanged);
    EXPECT_EQ(m_store->AlbumRecounts(), std::set<uint64_t>{42});
}

TEST_F(FileRecordMeta, CloneReadsWhatTheSourceHasNotReadButDidEditAsItStands) {
    InsertFileRow(FileRow{});  // did_edit 1
    RecordPtr source = RecordFor(10);
    RecordPtr clone;
    ASSERT_EQ(source->Clone(clone.Receive()), S_OK);
    uint32_t manage = 0;
    EXPECT_EQ(clone->GetManage(&manage), S_OK);
    EXPECT_EQ(manage, 1u);
    CZanTString name;
    EXPECT_EQ(clone->GetFileName(name), S_OK);
    EXPECT_EQ(name.ToUtf8(), FileRow{}.fileName);
    // The source's did_edit getter does not read, so 0 is what is copied.
    uint8_t didEdit = 9;
    EXPECT_EQ(clone->GetDidEdit(&didEdit), S_OK);
    EXPECT_EQ(didEdit, 0u);
    EXPECT_EQ(Known(source.Get()) & kDidEditBit, 0u);
}

TEST_F(FileRecordMeta, CloneOfABlankRecordIsABlankRecordWithEveryCopiedFieldMarked) {
    RecordPtr source = NewRecord();
    RecordPtr clone;
    ASSERT_EQ(source->Clone(clone.Receive()), S_OK);
    EXPECT_EQ(Changed(clone.Get()), 0x14FFFu);
    CZanTString path;
    EXPECT_EQ(clone->GetFilePath(path, nullptr), E_FAIL);
    int64_t packed = 99;
    EXPECT_EQ(clone->GetShootingDateValue(&packed), S_OK);
    EXPECT_EQ(packed, 0);
}

TEST_F(FileRecordMeta, CloneWithANullOutIsInvalid) {
    RecordPtr source = RecordFor(10);
    EXPECT_EQ(source->Clone(nullptr), E_INVALIDARG);
    EXPECT_EQ(Known(source.Get()), 0u);
}

}  // namespace
}  // namespace file_record_test
