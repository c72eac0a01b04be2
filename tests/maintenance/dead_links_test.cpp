// CheckDeadLinks and CZanDB4DeadLinkInfo: every count on a catalogue with
// known orphans of each kind, the catalogue without files, the files on
// disk counted only when asked, the pet icon slot that repeats the pet face
// thumbnails, and the getters' rules for null outs.
#include "maintenance/db_utility.h"
#include "maintenance/dead_link_info.h"
#include "maintenance_fixture.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"

namespace maintenance_test {
namespace {

const char kThumbnail[] = "thumbnail bytes";

class DeadLinks : public MaintenanceTest {
protected:
    void SetUp() override {
        MaintenanceTest::SetUp();
        Start();
    }

    void AddFile(uint64_t id, const fs::path& folder, const std::string& name) {
        std::string key = "K" + std::to_string(id);
        ExecOnCatalogue("INSERT INTO file_table (file_id, file_path, file_name, path_key) VALUES (" +
                        std::to_string(id) + ", '" + folder.string() + "', '" + name + "', '" + key + "')");
    }
    static void AddThumbnail(CSQLiteThumbDBMgr* family, uint32_t kind, uint64_t id) {
        ASSERT_EQ(family->Factory(kind)->AddThumbnail(id, kThumbnail, sizeof(kThumbnail)), S_OK);
    }
    static void AddLargeMeta(uint64_t id) {
        ASSERT_EQ(DatabaseRegistry::metaFactory->AddMetaData(id, 1, kThumbnail, sizeof(kThumbnail)), S_OK);
    }

    // A catalogue with two files (the first one on disk), a tag, an album, a
    // person and a pet, and rows pointing at them and at ids that are gone.
    void MakeCatalogueWithOrphans() {
        zandb4::testing::WriteFile(m_root / "a.jpg", "picture");
        AddFile(1, m_root.Path(), "a.jpg");
        AddFile(2, m_root.Path(), "gone.jpg");
        ExecOnCatalogue(
            "INSERT INTO meta_table (file_id) VALUES (1); INSERT INTO meta_table (file_id) VALUES (2);"
            "INSERT INTO meta_table (file_id) VALUES (8); INSERT INTO meta_table (file_id) VALUES (9);"
            "INSERT INTO tag_table VALUES (1, 'kept', 0); INSERT INTO tag_table VALUES (2, 'other', 0);"
            "INSERT INTO tag_file_table VALUES (1, 1); INSERT INTO tag_file_table VALUES (1, 9);"
            "INSERT INTO tag_file_table VALUES (7, 1); INSERT INTO tag_file_table VALUES (7, 9);"
            "INSERT INTO image_file_table (file_id) VALUES (1); INSERT INTO image_file_table (file_id) VALUES (9);"
            "INSERT INTO album_table (album_id, album_name) VALUES (1, 'trip');"
            "INSERT INTO person_table (person_id, name) VALUES (1, 'Ann');"
            "INSERT INTO pet_table (pet_id, name) VALUES (1, 'Rex');"
            "INSERT INTO person_face_table VALUES (1, 1, 1, 0); INSERT INTO person_face_table VALUES (2, 9, 1, 0);"
            "INSERT INTO person_face_table VALUES (3, 1, 5, 0);"
            "INSERT INTO pet_face_table VALUES (1, 9, 1, 0); INSERT INTO pet_face_table VALUES (2, 1, 6, 0);"
            "INSERT INTO pet_face_table VALUES (3, 9, 6, 0);");
        // File thumbnails: one kept, orphans in two shards and in both kinds.
        AddThumbnail(DatabaseRegistry::thumbMgr, 1, 1);
        AddThumbnail(DatabaseRegistry::thumbMgr, 1, 9);
        AddThumbnail(DatabaseRegistry::thumbMgr, 1, 10009);
        AddThumbnail(DatabaseRegistry::thumbMgr, 2, 8);
        AddLargeMeta(1);
        AddLargeMeta(9);
        AddLargeMeta(20005);
        AddThumbnail(DatabaseRegistry::albmThumbMgr, 1, 1);
        AddThumbnail(DatabaseRegistry::albmThumbMgr, 1, 5);
        AddThumbnail(DatabaseRegistry::psnfThumbMgr, 1, 1);
        AddThumbnail(DatabaseRegistry::psnfThumbMgr, 1, 5);
        AddThumbnail(DatabaseRegistry::ptfThumbMgr, 1, 1);
        AddThumbnail(DatabaseRegistry::ptfThumbMgr, 1, 6);
        AddThumbnail(DatabaseRegistry::ptfThumbMgr, 2, 7);
        AddThumbnail(DatabaseRegistry::psniThumbMgr, 1, 1);
        AddThumbnail(DatabaseRegistry::psniThumbMgr, 2, 5);
        // Pet icons of pets that are gone, which nothing counts.
        AddThumbnail(DatabaseRegistry::ptiThumbMgr, 1, 6);
        AddThumbnail(DatabaseRegistry::ptiThumbMgr, 1, 16);
        AddThumbnail(DatabaseRegistry::ptiThumbMgr, 2, 26);
    }

    ComPtr<IZanDB4DeadLinkInfo> Check(BOOL checkFiles) {
        ComPtr<IZanDB4DeadLinkInfo> info;
        EXPECT_EQ(m_utility->CheckDeadLinks(info.Receive(), checkFiles), S_OK);
        EXPECT_TRUE(info);
        return info;
    }
    // A copy of the counts, which outlives the object.
    static DeadLinkCounts CountsOf(const ComPtr<IZanDB4DeadLinkInfo>& info) {
        return static_cast<CZanDB4DeadLinkInfo*>(info.Get())->Counts();
    }
};

// Every count through the getters, in the order of the object's slots.
std::vector<uint32_t> AllCounts(IZanDB4DeadLinkInfo* info) {
    std::vector<uint32_t> counts(17, 0xFFFFFFFF);
    EXPECT_EQ(info->GetDeadFileCount(&counts[0]), S_OK);
    EXPECT_EQ(info->GetOrphanMetaCount(&counts[1]), S_OK);
    EXPECT_EQ(info->GetOrphanLargeMetaCount(&counts[2]), S_OK);
    EXPECT_EQ(info->GetReservedCounts(&counts[3], &counts[4]), S_OK);
    EXPECT_EQ(info->GetOrphanTagLinkCounts(&counts[5], &counts[6]), S_OK);
    EXPECT_EQ(info->GetOrphanThumbnailCount(&counts[7]), S_OK);
    EXPECT_EQ(info->GetOrphanImageFileCount(&counts[8]), S_OK);
    EXPECT_EQ(info->GetOrphanAlbumThumbnailCount(&counts[9]), S_OK);
    EXPECT_EQ(info->GetOrphanFaceCounts(&counts[10], &counts[11], &counts[12]), S_OK);
    EXPECT_EQ(info->GetOrphanFaceImageCounts(&counts[13], &counts[14]), S_OK);
    EXPECT_EQ(info->GetOrphanIconCounts(&counts[15], &counts[16]), S_OK);
    return counts;
}

TEST_F(DeadLinks, EveryCountFindsItsOrphans) {
    MakeCatalogueWithOrphans();
    ComPtr<IZanDB4DeadLinkInfo> info = Check(1);
    // dead files, meta, large meta, reserved x2, tag links by file and by
    // tag, file thumbnails, edit files, album thumbnails, faces by file,
    // person faces, pet faces, person and pet face thumbnails, person icons,
    // and the pet icon slot with the pet face thumbnails' count again.
    EXPECT_EQ(AllCounts(info.Get()), (std::vector<uint32_t>{1, 2, 2, 0, 0, 2, 2, 3, 1, 1, 3, 1, 2, 1, 2, 1, 2}));
}

TEST_F(DeadLinks, ThePetIconSlotRepeatsThePetFaceThumbnailsAndPetIconsCountNowhere) {
    MakeCatalogueWithOrphans();
    ComPtr<IZanDB4DeadLinkInfo> info = Check(0);
    uint32_t petFaces = 0, petIcons = 0;
    ASSERT_EQ(info->GetOrphanFaceImageCounts(nullptr, &petFaces), S_OK);
    ASSERT_EQ(info->GetOrphanIconCounts(nullptr, &petIcons), S_OK);
    EXPECT_EQ(petFaces, 2u);
    EXPECT_EQ(petIcons, 2u);
    // One more pet face thumbnail orphan moves both; three more pet icon
    // orphans move nothing.
    AddThumbnail(DatabaseRegistry::ptfThumbMgr, 1, 66);
    AddThumbnail(DatabaseRegistry::ptiThumbMgr, 1, 76);
    AddThumbnail(DatabaseRegistry::ptiThumbMgr, 2, 86);
    AddThumbnail(DatabaseRegistry::ptiThumbMgr, 2, 96);
    info = Check(0);
    std::vector<uint32_t> counts = AllCounts(info.Get());
    EXPECT_EQ(counts[14], 3u);
    EXPECT_EQ(counts[16], 3u);
}

TEST_F(DeadLinks, WithoutCheckFilesNoFileIsDeadEvenIfAllAreGone) {
    AddFile(1, m_root.Path(), "gone.jpg");
    AddFile(2, m_root / "nowhere", "gone.jpg");
    EXPECT_EQ(CountsOf(Check(0)).deadFileCount, 0u);
    EXPECT_EQ(CountsOf(Check(1)).deadFileCount, 2u);
}

TEST_F(DeadLinks, AFileWithAnEmptyPathOrNameIsNotTested) {
    ExecOnCatalogue(
        "INSERT INTO file_table (file_id, file_path, file_name, path_key) VALUES (1, '', 'x.jpg', 'A');"
        "INSERT INTO file_table (file_id, file_path, file_name, path_key) VALUES (2, '/nowhere', '', 'B');"
        "INSERT INTO file_table (file_id, file_path, file_name, path_key) VALUES (3, '/nowhere', 'x', 'C');");
    EXPECT_EQ(CountsOf(Check(1)).deadFileCount, 1u);
}

TEST_F(DeadLinks, ACatalogueWithoutFilesCountsEveryRowOfTheFileCounts) {
    ExecOnCatalogue(
        "INSERT INTO meta_table (file_id) VALUES (1); INSERT INTO meta_table (file_id) VALUES (NULL);"
        "INSERT INTO tag_table VALUES (1, 'kept', 0);"
        "INSERT INTO tag_file_table VALUES (1, 3); INSERT INTO tag_file_table VALUES (1, 4);"
        "INSERT INTO image_file_table (file_id) VALUES (5);"
        "INSERT INTO person_face_table VALUES (1, 6, 0, 0); INSERT INTO pet_face_table VALUES (1, 7, 0, 0);");
    AddThumbnail(DatabaseRegistry::thumbMgr, 1, 1);
    AddThumbnail(DatabaseRegistry::thumbMgr, 2, 2);
    AddLargeMeta(3);
    DeadLinkCounts counts = CountsOf(Check(1));
    EXPECT_EQ(counts.deadFileCount, 0u);
    // The empty list leaves "NOT IN ()", which holds for every row, even one
    // without a file id.
    EXPECT_EQ(counts.orphanMetaCount, 2u);
    EXPECT_EQ(counts.orphanLargeMetaCount, 1u);
    EXPECT_EQ(counts.orphanTagLinkFileCount, 2u);
    EXPECT_EQ(counts.orphanTagLinkTagCount, 0u);
    EXPECT_EQ(counts.orphanThumbnailCount, 2u);
    EXPECT_EQ(counts.orphanImageFileCount, 1u);
    EXPECT_EQ(counts.orphanFaceFileCount, 2u);
}

TEST_F(DeadLinks, ARowWithoutAnIdIsNoOrphanOfAListWithIds) {
    AddFile(1, m_root.Path(), "a.jpg");
    ExecOnCatalogue("INSERT INTO meta_table (file_id) VALUES (NULL); INSERT INTO meta_table (file_id) VALUES (2);");
    EXPECT_EQ(CountsOf(Check(0)).orphanMetaCount, 1u);
}

TEST_F(DeadLinks, TagLinksOfARemovedFileAndOfARemovedTagCountApart) {
    AddFile(1, m_root.Path(), "a.jpg");
    AddFile(2, m_root.Path(), "b.jpg");
    ExecOnCatalogue(
        "INSERT INTO tag_table VALUES (1, 'one', 0); INSERT INTO tag_table VALUES (2, 'two', 0);"
        "INSERT INTO tag_file_table VALUES (1, 1); INSERT INTO tag_file_table VALUES (2, 2);");
    ExecOnCatalogue("DELETE FROM file_table WHERE file_id=2");
    ComPtr<IZanDB4DeadLinkInfo> info = Check(0);
    uint32_t byFile = 9, byTag = 9;
    ASSERT_EQ(info->GetOrphanTagLinkCounts(&byFile, &byTag), S_OK);
    EXPECT_EQ(byFile, 1u);
    EXPECT_EQ(byTag, 0u);
    ExecOnCatalogue("DELETE FROM tag_table WHERE tag_id=1");
    info = Check(0);
    ASSERT_EQ(info->GetOrphanTagLinkCounts(&byFile, &byTag), S_OK);
    EXPECT_EQ(byFile, 1u);
    EXPECT_EQ(byTag, 1u);
}

TEST_F(DeadLinks, WhatTheOpenTransactionHoldsIsSeen) {
    AddFile(1, m_root.Path(), "a.jpg");
    DatabaseRegistry::fileBasicDB->BeginTransaction();
    ExecOnCatalogue("INSERT INTO meta_table (file_id) VALUES (3)");
    EXPECT_EQ(CountsOf(Check(0)).orphanMetaCount, 1u);
    // Nothing was committed by the check.
    EXPECT_EQ(FileInteger(Catalogue(), "SELECT COUNT(*) FROM meta_table"), 0);
}

TEST_F(DeadLinks, TheShardCountsCommitAndCloseTheShards) {
    AddThumbnail(DatabaseRegistry::thumbMgr, 1, 4);
    ASSERT_EQ(DatabaseRegistry::thumbMgr->Factory(1)->OpenShardCount(), 1u);
    EXPECT_EQ(CountsOf(Check(0)).orphanThumbnailCount, 1u);
    EXPECT_EQ(DatabaseRegistry::thumbMgr->Factory(1)->OpenShardCount(), 0u);
    EXPECT_EQ(FileInteger(DatabaseFolder() / "thumb_0s" / "00000000.db", "SELECT COUNT(*) FROM thumbnail_table"), 1);
}

TEST_F(DeadLinks, TheCountsAreASnapshot) {
    ExecOnCatalogue("INSERT INTO meta_table (file_id) VALUES (3)");
    ComPtr<IZanDB4DeadLinkInfo> info = Check(0);
    ExecOnCatalogue("INSERT INTO meta_table (file_id) VALUES (4)");
    uint32_t count = 0;
    ASSERT_EQ(info->GetOrphanMetaCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(DeadLinks, ANullOutIsInvalid) {
    EXPECT_EQ(m_utility->CheckDeadLinks(nullptr, 1), E_INVALIDARG);
}

TEST_F(DeadLinks, TheInfoComesWithOneReferenceAndAnswersItsOwnIdentifier) {
    IZanDB4DeadLinkInfo* info = reinterpret_cast<IZanDB4DeadLinkInfo*>(0x5EA7);
    ASSERT_EQ(m_utility->CheckDeadLinks(&info, 0), S_OK);
    ASSERT_NE(info, nullptr);
    void* out = nullptr;
    ASSERT_EQ(info->QueryInterface(IID_IZanDB4DeadLinkInfo, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(info));
    EXPECT_EQ(info->Release(), 1u);
    EXPECT_EQ(info->QueryInterface(IID_IZanDB4DBUtility, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(info->Release(), 0u);
}

TEST_F(DeadLinks, WithoutAnyStoreEveryCountIsZero) {
    CZanDB4DBUtility utility{DBUtilityStores{}};
    ComPtr<IZanDB4DeadLinkInfo> info;
    ASSERT_EQ(utility.CheckDeadLinks(info.Receive(), 1), S_OK);
    EXPECT_EQ(AllCounts(info.Get()), std::vector<uint32_t>(17, 0));
}

TEST_F(DeadLinks, WithoutACatalogueTheEmptyListsCountEveryShardRow) {
    AddThumbnail(DatabaseRegistry::thumbMgr, 1, 4);
    AddThumbnail(DatabaseRegistry::albmThumbMgr, 1, 4);
    AddLargeMeta(4);
    DBUtilityStores stores = static_cast<CZanDB4DBUtility*>(m_utility.Get())->Stores();
    stores.fileBasicDB = nullptr;
    CZanDB4DBUtility utility{stores};
    ComPtr<IZanDB4DeadLinkInfo> info;
    ASSERT_EQ(utility.CheckDeadLinks(info.Receive(), 1), S_OK);
    DeadLinkCounts counts = CountsOf(info);
    EXPECT_EQ(counts.orphanThumbnailCount, 1u);
    EXPECT_EQ(counts.orphanAlbumThumbnailCount, 1u);
    EXPECT_EQ(counts.orphanLargeMetaCount, 1u);
    EXPECT_EQ(counts.orphanMetaCount, 0u);
    EXPECT_EQ(counts.orphanFaceFileCount, 0u);
}

TEST_F(DeadLinks, ACatalogueThatIsNoDatabaseCountsNothingOfItsOwn) {
    AddThumbnail(DatabaseRegistry::thumbMgr, 1, 4);
    Stop();
    zandb4::testing::WriteFile(Catalogue(), "garbage, not an SQLite file");
    Start();
    ComPtr<IZanDB4DeadLinkInfo> info = Check(1);
    DeadLinkCounts counts = CountsOf(info);
    EXPECT_EQ(counts.deadFileCount, 0u);
    EXPECT_EQ(counts.orphanMetaCount, 0u);
    EXPECT_EQ(counts.orphanFaceFileCount, 0u);
    // No file id could be read, so every thumbnail is an orphan.
    EXPECT_EQ(counts.orphanThumbnailCount, 1u);
    EXPECT_EQ(ReadFile(Catalogue()), "garbage, not an SQLite file");
}

// ------------------------------------------------------------ the getters

class DeadLinkInfoGetters : public ::testing::Test {
protected:
    void SetUp() override {
        DeadLinkCounts& counts = m_info->Counts();
        counts.deadFileCount = 1;
        counts.orphanMetaCount = 2;
        counts.orphanLargeMetaCount = 3;
        counts.orphanTagLinkFileCount = 6;
        counts.orphanTagLinkTagCount = 7;
        counts.orphanThumbnailCount = 8;
        counts.orphanImageFileCount = 9;
        counts.orphanAlbumThumbnailCount = 10;
        counts.orphanFaceFileCount = 11;
        counts.orphanPersonFaceCount = 12;
        counts.orphanPetFaceCount = 13;
        counts.orphanPsnfCount = 14;
        counts.orphanPtfCount = 15;
        counts.orphanPsniCount = 16;
        counts.orphanPtiCount = 17;
    }
    void TearDown() override { EXPECT_EQ(m_info->Release(), 0u); }

    CZanDB4DeadLinkInfo* m_info = new CZanDB4DeadLinkInfo();
};

TEST_F(DeadLinkInfoGetters, ANewObjectHoldsZerosOnly) {
    CZanDB4DeadLinkInfo* fresh = new CZanDB4DeadLinkInfo();
    EXPECT_EQ(fresh->RefCount(), 1);
    EXPECT_EQ(AllCounts(fresh), std::vector<uint32_t>(17, 0));
    EXPECT_EQ(fresh->Release(), 0u);
}

TEST_F(DeadLinkInfoGetters, EachSingleGetterRefusesANullOut) {
    EXPECT_EQ(m_info->GetDeadFileCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanMetaCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanLargeMetaCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanThumbnailCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanImageFileCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanAlbumThumbnailCount(nullptr), E_INVALIDARG);
}

TEST_F(DeadLinkInfoGetters, EachGetterGivesItsOwnSlot) {
    EXPECT_EQ(AllCounts(m_info), (std::vector<uint32_t>{1, 2, 3, 0, 0, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}));
}

TEST_F(DeadLinkInfoGetters, ReservedCountsAreZeroAndZero) {
    uint32_t first = 9, second = 9;
    EXPECT_EQ(m_info->GetReservedCounts(&first, &second), S_OK);
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(second, 0u);
    first = 9;
    EXPECT_EQ(m_info->GetReservedCounts(&first, nullptr), S_OK);
    EXPECT_EQ(first, 0u);
    second = 9;
    EXPECT_EQ(m_info->GetReservedCounts(nullptr, &second), S_OK);
    EXPECT_EQ(second, 0u);
    EXPECT_EQ(m_info->GetReservedCounts(nullptr, nullptr), E_INVALIDARG);
}

TEST_F(DeadLinkInfoGetters, FaceCountsWithANullMiddleFillTheFirstAndTheLast) {
    uint32_t byFile = 0, byPet = 0;
    EXPECT_EQ(m_info->GetOrphanFaceCounts(&byFile, nullptr, &byPet), S_OK);
    EXPECT_EQ(byFile, 11u);
    EXPECT_EQ(byPet, 13u);
    uint32_t byPerson = 0;
    EXPECT_EQ(m_info->GetOrphanFaceCounts(nullptr, &byPerson, nullptr), S_OK);
    EXPECT_EQ(byPerson, 12u);
    EXPECT_EQ(m_info->GetOrphanFaceCounts(nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST_F(DeadLinkInfoGetters, PairsFillWhatIsNotNullAndRefuseOnlyTwoNulls) {
    uint32_t value = 0;
    EXPECT_EQ(m_info->GetOrphanTagLinkCounts(nullptr, &value), S_OK);
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(m_info->GetOrphanTagLinkCounts(&value, nullptr), S_OK);
    EXPECT_EQ(value, 6u);
    EXPECT_EQ(m_info->GetOrphanTagLinkCounts(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanFaceImageCounts(&value, nullptr), S_OK);
    EXPECT_EQ(value, 14u);
    EXPECT_EQ(m_info->GetOrphanFaceImageCounts(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_info->GetOrphanIconCounts(nullptr, &value), S_OK);
    EXPECT_EQ(value, 17u);
    EXPECT_EQ(m_info->GetOrphanIconCounts(nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace maintenance_test
