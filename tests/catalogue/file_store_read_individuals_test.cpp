// The reads of the file store by individual: ListFilesOfIndividual, one
// entry per file or, with a face list, one per face (the face records read
// from the columns behind those of file_table), newest file first; and
// CountFilesOfIndividual, the number of distinct files with a face of a
// person (the pet form names a column pet_face_table does not have and so
// always counts 0).
#include "catalogue/file_rows.h"
#include "file_store_read_fixture.h"

namespace file_store_read_test {
namespace {

// left 100, top 50, right 300, bottom 250: left, top, width, height in 16
// bits each from the top.
constexpr int64_t kRectA = 0x0064003200C800C8;
// left 10, top 20, right 40, bottom 60.
constexpr int64_t kRectB = (int64_t{10} << 48) | (int64_t{20} << 32) | (int64_t{30} << 16) | 40;
// left 1, top 2, right 4, bottom 6.
constexpr int64_t kRectC = (int64_t{1} << 48) | (int64_t{2} << 32) | (int64_t{3} << 16) | 4;

struct FaceValues {
    uint64_t faceId = 0;
    uint64_t fileId = 0;
    uint64_t individualId = 0;
    RECT rect{};
    uint32_t type = 0;
};

FaceValues ValuesOf(IZanDB4FaceDBRecord* face) {
    FaceValues values;
    EXPECT_EQ(face->GetFaceID(&values.faceId), S_OK);
    EXPECT_EQ(face->GetFileID(&values.fileId), S_OK);
    EXPECT_EQ(face->GetIndividualID(&values.individualId), S_OK);
    EXPECT_EQ(face->GetRect(&values.rect), S_OK);
    EXPECT_EQ(face->GetIndividualType(&values.type), S_OK);
    return values;
}

void ExpectRect(const RECT& rect, int32_t left, int32_t top, int32_t right, int32_t bottom) {
    EXPECT_EQ(rect.left, left);
    EXPECT_EQ(rect.top, top);
    EXPECT_EQ(rect.right, right);
    EXPECT_EQ(rect.bottom, bottom);
}

class FileStoreReadIndividuals : public FileStoreReadTest {
protected:
    // Files 1 to 4: 2 and 3 shot at the same moment, 3 with the later name.
    void InsertFiles() {
        InsertFileRow(RowOf(1, Packed(2020, 1, 1), "a.jpg"));
        InsertFileRow(RowOf(2, Packed(2021, 1, 1), "a.jpg"));
        InsertFileRow(RowOf(3, Packed(2021, 1, 1), "b.jpg"));
        InsertFileRow(RowOf(4, Packed(2022, 1, 1), "c.jpg"));
    }
};

// -------------------------------------------------------- ListFilesOfIndividual

TEST_F(FileStoreReadIndividuals, PersonFilesComeOncePerFileNewestFirstThenByNameDescending) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPersonFace(101, 2, 5, kRectB);
    InsertPersonFace(102, 2, 5, kRectC);
    InsertPersonFace(103, 3, 5, kRectA);
    InsertPersonFace(104, 4, 6, kRectA);  // another person
    InsertPetFace(200, 4, 5, kRectA);     // a pet with the same id

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, files.List(), kLoadAll, nullptr), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 2, 1}));
    for (IZanDB4FileDBRecord* record : Entries(files.List())) {
        EXPECT_EQ(Known(record), kAllFieldsKnown);
        EXPECT_EQ(Count(record), 2);
    }
    EXPECT_EQ(CacheSize(), 3u);
}

TEST_F(FileStoreReadIndividuals, PetFilesComeFromThePetFaces) {
    InsertFiles();
    InsertPetFace(200, 1, 5, kRectA);
    InsertPetFace(201, 4, 5, kRectB);
    InsertPetFace(202, 4, 5, kRectC);
    InsertPetFace(203, 2, 7, kRectA);     // another pet
    InsertPersonFace(100, 3, 5, kRectA);  // a person with the same id

    OwnedFiles files;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPet, files.List(), kLoadAll, nullptr), S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{4, 1}));
}

TEST_F(FileStoreReadIndividuals, AnIndividualWithoutFacesFails) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    OwnedFiles files;
    EXPECT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(6, CSQLiteFileBasicDB::kPerson, files.List(), kLoadAll, nullptr),
              E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    OwnedFaces faces;
    EXPECT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPet, files.List(), kLoadAll, &faces.List()),
              E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_TRUE(faces.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadIndividuals, AnotherTypeFails) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPetFace(200, 1, 5, kRectA);
    OwnedFiles files;
    OwnedFaces faces;
    EXPECT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, 3, files.List(), kLoadAll, nullptr), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, 3, files.List(), kLoadAll, &faces.List()), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_TRUE(faces.List().IsEmpty());
    EXPECT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, 0, files.List(), kLoadAll, nullptr), E_FAIL);
    EXPECT_TRUE(files.List().IsEmpty());
    EXPECT_EQ(CacheSize(), 0u);
}

TEST_F(FileStoreReadIndividuals, WithAFaceListEachFaceGivesAnEntryAndAFaceRecord) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPersonFace(101, 2, 5, kRectB);
    InsertPersonFace(102, 2, 5, kRectC);
    InsertPersonFace(104, 4, 6, kRectA);

    OwnedFiles files;
    OwnedFaces faces;
    ASSERT_EQ(
        FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, files.List(), kLoadAll, &faces.List()),
        S_OK);
    std::vector<IZanDB4FileDBRecord*> fileEntries = Entries(files.List());
    std::vector<IZanDB4FaceDBRecord*> faceEntries = Entries(faces.List());
    ASSERT_EQ(fileEntries.size(), 3u);
    ASSERT_EQ(faceEntries.size(), 3u);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 2, 1}));
    // The file with two faces is one object, listed twice: one reference for
    // each entry and one for the cache.
    EXPECT_EQ(fileEntries[0], fileEntries[1]);
    EXPECT_EQ(Count(fileEntries[0]), 3);
    EXPECT_EQ(Count(fileEntries[2]), 2);
    EXPECT_EQ(CacheSize(), 2u);

    // Each face lines up with the file entry of its row.
    std::vector<uint64_t> faceIds;
    for (size_t i = 0; i < faceEntries.size(); ++i) {
        FaceValues values = ValuesOf(faceEntries[i]);
        EXPECT_EQ(values.fileId, IdOf(fileEntries[i]));
        EXPECT_EQ(values.individualId, 5u);
        EXPECT_EQ(values.type, 1u);
        faceIds.push_back(values.faceId);
        switch (values.faceId) {
            case 100: ExpectRect(values.rect, 100, 50, 300, 250); break;
            case 101: ExpectRect(values.rect, 10, 20, 40, 60); break;
            case 102: ExpectRect(values.rect, 1, 2, 4, 6); break;
            default: ADD_FAILURE() << "unexpected face " << values.faceId;
        }
    }
    EXPECT_EQ(faceIds[2], 100u);
    EXPECT_EQ(Sorted(faceIds), (std::vector<uint64_t>{100, 101, 102}));
}

TEST_F(FileStoreReadIndividuals, PetFacesCarryThePetTypeAndTheirRectangles) {
    InsertFiles();
    InsertPetFace(200, 3, 8, kRectA);
    InsertPetFace(201, 1, 8, kRectC);
    InsertPersonFace(100, 4, 8, kRectB);

    OwnedFiles files;
    OwnedFaces faces;
    ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(8, CSQLiteFileBasicDB::kPet, files.List(), kLoadAll, &faces.List()),
              S_OK);
    EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{3, 1}));
    std::vector<IZanDB4FaceDBRecord*> faceEntries = Entries(faces.List());
    ASSERT_EQ(faceEntries.size(), 2u);
    FaceValues first = ValuesOf(faceEntries[0]);
    EXPECT_EQ(first.faceId, 200u);
    EXPECT_EQ(first.fileId, 3u);
    EXPECT_EQ(first.individualId, 8u);
    EXPECT_EQ(first.type, 2u);
    ExpectRect(first.rect, 100, 50, 300, 250);
    FaceValues second = ValuesOf(faceEntries[1]);
    EXPECT_EQ(second.faceId, 201u);
    EXPECT_EQ(second.fileId, 1u);
    EXPECT_EQ(second.individualId, 8u);
    EXPECT_EQ(second.type, 2u);
    ExpectRect(second.rect, 1, 2, 4, 6);
}

TEST_F(FileStoreReadIndividuals, FaceRecordsEachCarryOneReferenceForTheCaller) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    OwnedFiles files;
    OwnedFaces faces;
    ASSERT_EQ(
        FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, files.List(), kLoadAll, &faces.List()),
        S_OK);
    std::vector<IZanDB4FaceDBRecord*> faceEntries = Entries(faces.List());
    ASSERT_EQ(faceEntries.size(), 1u);
    faceEntries[0]->AddRef();
    EXPECT_EQ(faceEntries[0]->Release(), 1u);
}

TEST_F(FileStoreReadIndividuals, RecordsAreReadByTheRowModeInBothForms) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPersonFace(101, 2, 5, kRectA);
    {
        OwnedFiles files;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, files.List(), kLoadNothing, nullptr),
                  S_OK);
        EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 1}));
        for (IZanDB4FileDBRecord* record : Entries(files.List())) EXPECT_EQ(Known(record), 0u);
    }
    {
        OwnedFiles files;
        OwnedFaces faces;
        ASSERT_EQ(FileTableRows(*m_store).ListFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson, files.List(), kLoadShort,
                                                 &faces.List()),
                  S_OK);
        EXPECT_EQ(IdsOf(files.List()), (std::vector<uint64_t>{2, 1}));
        for (IZanDB4FileDBRecord* record : Entries(files.List())) EXPECT_EQ(Known(record), kReducedKnown);
        EXPECT_EQ(faces.List().GetCount(), 2);
    }
    EXPECT_EQ(CacheSize(), 0u);
}

// ------------------------------------------------------- CountFilesOfIndividual

TEST_F(FileStoreReadIndividuals, CountOfAPersonIsTheNumberOfDistinctFiles) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPersonFace(101, 2, 5, kRectB);
    InsertPersonFace(102, 2, 5, kRectC);
    InsertPersonFace(103, 3, 6, kRectA);
    EXPECT_EQ(m_store->CountFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson), 2u);
    EXPECT_EQ(m_store->CountFilesOfIndividual(6, CSQLiteFileBasicDB::kPerson), 1u);
    EXPECT_EQ(m_store->CountFilesOfIndividual(7, CSQLiteFileBasicDB::kPerson), 0u);
}

TEST_F(FileStoreReadIndividuals, CountOfAPetIsAlwaysZero) {
    InsertFiles();
    InsertPetFace(200, 1, 5, kRectA);
    InsertPetFace(201, 2, 5, kRectB);
    InsertPersonFace(100, 3, 5, kRectA);
    EXPECT_EQ(m_store->CountFilesOfIndividual(5, CSQLiteFileBasicDB::kPet), 0u);
}

TEST_F(FileStoreReadIndividuals, CountOfAnotherTypeIsZero) {
    InsertFiles();
    InsertPersonFace(100, 1, 5, kRectA);
    InsertPetFace(200, 2, 5, kRectA);
    EXPECT_EQ(m_store->CountFilesOfIndividual(5, 0), 0u);
    EXPECT_EQ(m_store->CountFilesOfIndividual(5, 3), 0u);
    EXPECT_EQ(m_store->CountFilesOfIndividual(5, CSQLiteFileBasicDB::kPerson), 1u);
}

}  // namespace
}  // namespace file_store_read_test
