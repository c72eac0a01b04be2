// Tags through IZanDB4TagDBMgr and IZanDB4TagDBRecord: the rows on disk,
// identifiers drawn from and given back to the pool, the unique and
// case-sensitive name, the links of files to tags as the file store writes
// them, and what a refused call leaves behind.
#include <algorithm>

#include "albums_fixture.h"
#include "catalogue/file_db_mgr.h"

namespace albums_test {
namespace {

using TagPtr = ComPtr<IZanDB4TagDBRecord>;

class TagManager : public AlbumsFixture {
protected:
    void SetUp() override {
        AlbumsFixture::SetUp();
        if (HasFatalFailure()) return;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TagDBMgr, reinterpret_cast<void**>(m_manager.Receive())), S_OK);
        ASSERT_TRUE(m_manager);
    }
    void TearDown() override {
        if (m_manager) {
            EXPECT_EQ(m_manager.Detach()->Release(), 0u);
        }
        AlbumsFixture::TearDown();
    }

    TagPtr MakeTag(const std::string& name, uint32_t type = 0) {
        TagPtr tag;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TagDBRecord, reinterpret_cast<void**>(tag.Receive())), S_OK);
        if (!tag) return tag;
        EXPECT_EQ(tag->SetName(W(name)), S_OK);
        EXPECT_EQ(tag->SetType(type), S_OK);
        return tag;
    }

    // Adds a tag and answers its id; 0 if the manager refused it.
    uint64_t Add(const std::string& name, uint32_t type = 0) {
        TagPtr tag = MakeTag(name, type);
        uint64_t id = 0;
        EXPECT_EQ(m_manager->AddTag(tag.Get(), &id), S_OK) << name.substr(0, 40);
        return id;
    }

    void Commit() { ASSERT_EQ(m_manager->Commit(), S_OK); }

    // Committed tags, by id: id, name, type.
    Rows TagsOnDisk() { return Disk("SELECT tag_id, tag_name, tag_type FROM tag_table ORDER BY tag_id"); }
    // Committed links: tag id, file id, in the order they were written.
    Rows LinksOnDisk() { return Disk("SELECT tag_id, file_id FROM tag_file_table ORDER BY rowid"); }

    ComPtr<IZanDB4TagDBMgr> m_manager;
};

// ---- the record ----

TEST_F(TagManager, NewRecordIsBlankWithOneReference) {
    IZanDB4TagDBRecord* tag = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TagDBRecord, reinterpret_cast<void**>(&tag)), S_OK);
    ASSERT_NE(tag, nullptr);
    uint64_t id = 55;
    EXPECT_EQ(tag->GetID(&id), S_OK);
    EXPECT_EQ(id, 0u);
    uint32_t type = 55;
    EXPECT_EQ(tag->GetType(&type), S_OK);
    EXPECT_EQ(type, 0u);
    CZanTString name = W("left over");
    EXPECT_EQ(tag->GetName(name), E_FAIL);
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_EQ(tag->AddRef(), 2u);
    EXPECT_EQ(tag->Release(), 1u);
    EXPECT_EQ(tag->Release(), 0u);
}

TEST_F(TagManager, RecordKeepsWhatItIsGivenAndRefusesNullOuts) {
    TagPtr tag = MakeTag("Beach", 0xFFFFFFFFu);
    EXPECT_EQ(tag->SetID(0x8000000000000001u), S_OK);
    uint64_t id = 0;
    EXPECT_EQ(tag->GetID(&id), S_OK);
    EXPECT_EQ(id, 0x8000000000000001u);
    uint32_t type = 0;
    EXPECT_EQ(tag->GetType(&type), S_OK);
    EXPECT_EQ(type, 0xFFFFFFFFu);
    CZanTString name;
    EXPECT_EQ(tag->GetName(name), S_OK);
    EXPECT_EQ(name.ToUtf8(), "Beach");
    EXPECT_EQ(tag->GetID(nullptr), E_INVALIDARG);
    EXPECT_EQ(tag->GetType(nullptr), E_INVALIDARG);
    // An empty name set later counts as no name.
    EXPECT_EQ(tag->SetName(CZanTString()), S_OK);
    EXPECT_EQ(tag->GetName(name), E_FAIL);
    EXPECT_TRUE(name.IsEmpty());
}

TEST_F(TagManager, ObjectsAnswerOnlyToTheirOwnInterface) {
    void* same = nullptr;
    EXPECT_EQ(m_manager->QueryInterface(IID_IZanDB4TagDBMgr, &same), S_OK);
    EXPECT_EQ(same, static_cast<void*>(m_manager.Get()));
    static_cast<IUnknown*>(same)->Release();
    void* other = reinterpret_cast<void*>(1);
    EXPECT_EQ(m_manager->QueryInterface(IID_IZanDB4AlbumDBMgr, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);

    TagPtr tag = MakeTag("x");
    EXPECT_EQ(tag->QueryInterface(IID_IZanDB4TagDBRecord, &same), S_OK);
    EXPECT_EQ(same, static_cast<void*>(tag.Get()));
    static_cast<IUnknown*>(same)->Release();
    other = reinterpret_cast<void*>(1);
    EXPECT_EQ(tag->QueryInterface(IID_IZanDB4TagDBMgr, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

// ---- AddTag ----

TEST_F(TagManager, AddedTagIsOnDiskOnlyAfterCommit) {
    uint64_t id = Add("Beach", 3);
    EXPECT_EQ(id, 1u);
    EXPECT_TRUE(TagsOnDisk().empty());
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "Beach", "3"}}));
}

TEST_F(TagManager, AddTagDoesNotSetTheRecordsOwnId) {
    TagPtr fresh = MakeTag("Fresh");
    uint64_t id = 0;
    ASSERT_EQ(m_manager->AddTag(fresh.Get(), &id), S_OK);
    EXPECT_NE(id, 0u);
    uint64_t recordId = 99;
    EXPECT_EQ(fresh->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);

    // A record that carries an id of its own keeps it; the row gets a new one.
    TagPtr carried = MakeTag("Carried");
    carried->SetID(500);
    uint64_t second = 0;
    ASSERT_EQ(m_manager->AddTag(carried.Get(), &second), S_OK);
    EXPECT_EQ(second, id + 1);
    EXPECT_EQ(carried->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 500u);
    Commit();
    EXPECT_EQ(DiskIds("SELECT tag_id FROM tag_table ORDER BY tag_id"), (Ids{id, second}));
}

TEST_F(TagManager, AddedTagsLeaveNothingInTheIdentifierPool) {
    // Only a failed insert gives its id back; a stored tag keeps its id for
    // itself alone.
    uint64_t a = Add("One");
    uint64_t b = Add("Two");
    Commit();
    EXPECT_EQ(PooledOnDisk(kTagIdType, a), 0);
    EXPECT_EQ(PooledOnDisk(kTagIdType, b), 0);
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=8"), 0);
    EXPECT_EQ(DiskInteger("SELECT last_id FROM last_id_table WHERE id_type=8"), 2);
}

TEST_F(TagManager, AddTagWithoutAnOutIdStillStores) {
    TagPtr tag = MakeTag("No out");
    EXPECT_EQ(m_manager->AddTag(tag.Get(), nullptr), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "No out", "0"}}));
}

TEST_F(TagManager, NullRecordOrEmptyNameIsRefusedWithTheOutIdClearedAndNoIdDrawn) {
    uint64_t id = 77;
    EXPECT_EQ(m_manager->AddTag(nullptr, &id), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    TagPtr unnamed = MakeTag("");
    id = 77;
    EXPECT_EQ(m_manager->AddTag(unnamed.Get(), &id), E_INVALIDARG);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(m_manager->AddTag(nullptr, nullptr), E_INVALIDARG);
    // Nothing was drawn from the counter: the first real tag gets id 1.
    EXPECT_EQ(Add("First"), 1u);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "First", "0"}}));
}

TEST_F(TagManager, SecondTagOfTheSameNameFailsAndItsIdIsReusedByTheNextTag) {
    uint64_t first = Add("Holiday", 1);
    ASSERT_EQ(first, 1u);
    TagPtr again = MakeTag("Holiday", 2);
    uint64_t refused = 0;
    EXPECT_EQ(m_manager->AddTag(again.Get(), &refused), E_FAIL);
    // The out id was filled before the insert and keeps the id given back.
    EXPECT_EQ(refused, 2u);
    EXPECT_EQ(m_manager->GetTagCount(), 1u);

    uint64_t next = Add("Work", 4);
    EXPECT_EQ(next, refused);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "Holiday", "1"}, {"2", "Work", "4"}}));
    // The pool gave the id out again and holds nothing any more.
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=8"), 0);
}

TEST_F(TagManager, RefusedDuplicateLeavesEarlierWorkOfTheTransactionStanding) {
    Add("Keep me");
    uint64_t id = 0;
    TagPtr again = MakeTag("Keep me");
    EXPECT_EQ(m_manager->AddTag(again.Get(), &id), E_FAIL);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "Keep me", "0"}}));
}

TEST_F(TagManager, NamesThatDifferOnlyInCaseAreDistinct) {
    uint64_t lower = Add("beach");
    uint64_t upper = Add("Beach");
    uint64_t shout = Add("BEACH");
    EXPECT_NE(lower, 0u);
    EXPECT_NE(upper, 0u);
    EXPECT_NE(shout, 0u);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{"1", "beach", "0"}, {"2", "Beach", "0"}, {"3", "BEACH", "0"}}));
    EXPECT_EQ(m_manager->GetTagCount(), 3u);
}

TEST_F(TagManager, AwkwardNamesRoundTripExactly) {
    std::vector<std::pair<uint64_t, std::string>> added;
    for (const std::string& name : AwkwardNames()) added.emplace_back(Add(name), name);
    Commit();
    for (const auto& [id, name] : added) {
        SCOPED_TRACE(name.substr(0, 40));
        ASSERT_NE(id, 0u);
        EXPECT_EQ(DiskText("SELECT tag_name FROM tag_table WHERE tag_id=" + std::to_string(id)), name);
        TagPtr read;
        ASSERT_EQ(m_manager->GetTag(id, read.Receive()), S_OK);
        CZanTString got;
        EXPECT_EQ(read->GetName(got), S_OK);
        EXPECT_EQ(got.ToUtf8(), name);
        EXPECT_EQ(got.GetLength(), W(name).GetLength());
    }
    // The tag table survived the name that looks like a statement.
    EXPECT_EQ(m_manager->GetTagCount(), AwkwardNames().size());
}

TEST_F(TagManager, TypeIsStoredAndDeliveredAsGiven) {
    uint64_t id = Add("Typed", 0xFFFFFFFFu);
    Commit();
    TagPtr read;
    ASSERT_EQ(m_manager->GetTag(id, read.Receive()), S_OK);
    uint32_t type = 0;
    EXPECT_EQ(read->GetType(&type), S_OK);
    EXPECT_EQ(type, 0xFFFFFFFFu);
}

TEST_F(TagManager, FailedInsertGivesItsIdBackAndLosesNothingCommitted) {
    uint64_t kept = Add("Kept");
    Commit();
    DropInsideTransaction("tag_table");
    TagPtr tag = MakeTag("Lost");
    uint64_t id = 0;
    EXPECT_EQ(m_manager->AddTag(tag.Get(), &id), E_FAIL);
    // The out id keeps the id that was drawn and given back.
    EXPECT_NE(id, 0u);
    EXPECT_EQ(
        CatalogueInteger("SELECT COUNT(*) FROM pooled_id_table WHERE id_type=8 AND pooled_id=" + std::to_string(id)),
        1);
    uint64_t recordId = 3;
    EXPECT_EQ(tag->GetID(&recordId), S_OK);
    EXPECT_EQ(recordId, 0u);
    EXPECT_EQ(m_manager->GetTagCount(), 0u);
    ASSERT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(kept), "Kept", "0"}}));
}

// ---- UpdateTag ----

TEST_F(TagManager, UpdateRewritesNameAndTypeOfTheArgumentsIdNotTheRecords) {
    uint64_t a = Add("Alpha", 1);
    uint64_t b = Add("Beta", 2);
    TagPtr change = MakeTag("Gamma", 7);
    change->SetID(b);
    EXPECT_EQ(m_manager->UpdateTag(a, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Gamma", "7"}, {std::to_string(b), "Beta", "2"}}));
}

TEST_F(TagManager, UpdateToANameAnotherTagHasFailsAndBothRowsStay) {
    uint64_t a = Add("Alpha", 1);
    uint64_t b = Add("Beta", 2);
    Commit();
    TagPtr change = MakeTag("Beta", 9);
    EXPECT_EQ(m_manager->UpdateTag(a, change.Get()), E_FAIL);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Alpha", "1"}, {std::to_string(b), "Beta", "2"}}));
    // The record the caller gave is as it was.
    CZanTString name;
    EXPECT_EQ(change->GetName(name), S_OK);
    EXPECT_EQ(name.ToUtf8(), "Beta");
}

TEST_F(TagManager, UpdateToItsOwnNameChangesTheTypeOnly) {
    uint64_t a = Add("Alpha", 1);
    TagPtr change = MakeTag("Alpha", 5);
    EXPECT_EQ(m_manager->UpdateTag(a, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Alpha", "5"}}));
}

TEST_F(TagManager, UpdateOfAnUnknownIdChangesNothingAndIsOk) {
    uint64_t a = Add("Alpha", 1);
    TagPtr change = MakeTag("Nobody", 3);
    EXPECT_EQ(m_manager->UpdateTag(a + 100, change.Get()), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Alpha", "1"}}));
}

TEST_F(TagManager, UpdateRefusesANullRecordAndAnEmptyName) {
    uint64_t a = Add("Alpha", 1);
    EXPECT_EQ(m_manager->UpdateTag(a, nullptr), E_INVALIDARG);
    TagPtr unnamed = MakeTag("", 4);
    EXPECT_EQ(m_manager->UpdateTag(a, unnamed.Get()), E_INVALIDARG);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Alpha", "1"}}));
}

TEST_F(TagManager, UpdateToAnAwkwardNameRoundTrips) {
    uint64_t a = Add("Plain");
    for (const std::string& name : AwkwardNames()) {
        SCOPED_TRACE(name.substr(0, 40));
        TagPtr change = MakeTag(name, 2);
        ASSERT_EQ(m_manager->UpdateTag(a, change.Get()), S_OK);
        Commit();
        EXPECT_EQ(DiskText("SELECT tag_name FROM tag_table WHERE tag_id=" + std::to_string(a)), name);
    }
}

// ---- GetTag, GetTagCount, GetTagIDs, GetTags ----

TEST_F(TagManager, GetTagDeliversANewRecordWithOneReference) {
    uint64_t id = Add("Snow", 6);
    IZanDB4TagDBRecord* read = nullptr;
    ASSERT_EQ(m_manager->GetTag(id, &read), S_OK);
    ASSERT_NE(read, nullptr);
    CZanTString name;
    uint32_t type = 0;
    uint64_t readId = 0;
    EXPECT_EQ(read->GetName(name), S_OK);
    EXPECT_EQ(read->GetType(&type), S_OK);
    EXPECT_EQ(read->GetID(&readId), S_OK);
    EXPECT_EQ(name.ToUtf8(), "Snow");
    EXPECT_EQ(type, 6u);
    EXPECT_EQ(readId, id);
    EXPECT_EQ(read->Release(), 0u);
}

TEST_F(TagManager, GetTagRefusesANullOutAndClearsTheOutForAnUnknownId) {
    Add("Snow");
    EXPECT_EQ(m_manager->GetTag(1, nullptr), E_INVALIDARG);
    // The caller's pointer is overwritten, not released: the test keeps its
    // own reference to see that.
    TagPtr mine = MakeTag("mine");
    IZanDB4TagDBRecord* out = mine.Get();
    EXPECT_EQ(m_manager->GetTag(999, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(mine->AddRef(), 2u);
    EXPECT_EQ(mine->Release(), 1u);
}

TEST_F(TagManager, EmptyTableHasNoTagsAndCountZero) {
    EXPECT_EQ(m_manager->GetTagCount(), 0u);
    CArray<IZanDB4TagDBRecord*> tags;
    EXPECT_EQ(m_manager->GetTags(&tags), E_FAIL);
    EXPECT_EQ(tags.GetSize(), 0);
    CArray<uint64_t> ids;
    EXPECT_EQ(m_manager->GetTagIDs(&ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);
}

TEST_F(TagManager, ListsRefuseNullArrays) {
    Add("Any");
    EXPECT_EQ(m_manager->GetTags(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetTagIDs(nullptr), E_INVALIDARG);
}

TEST_F(TagManager, ListsEmptyTheArrayFirstEvenWhenTheyFail) {
    CArray<uint64_t> ids;
    ids.Add(1234);
    ids.Add(5678);
    EXPECT_EQ(m_manager->GetTagIDs(&ids), E_FAIL);
    EXPECT_EQ(ids.GetSize(), 0);

    // The array's old elements are dropped without a release: the caller
    // still owns them.
    TagPtr mine = MakeTag("mine");
    CArray<IZanDB4TagDBRecord*> tags;
    tags.Add(mine.Get());
    EXPECT_EQ(m_manager->GetTags(&tags), E_FAIL);
    EXPECT_EQ(tags.GetSize(), 0);
    EXPECT_EQ(mine->AddRef(), 2u);
    EXPECT_EQ(mine->Release(), 1u);

    uint64_t a = Add("A");
    ids.Add(1234);
    ASSERT_EQ(m_manager->GetTagIDs(&ids), S_OK);
    ASSERT_EQ(ids.GetSize(), 1);
    EXPECT_EQ(ids[0], a);
    tags.Add(mine.Get());
    ASSERT_EQ(m_manager->GetTags(&tags), S_OK);
    ASSERT_EQ(tags.GetSize(), 1);
    EXPECT_NE(tags[0], mine.Get());
    EXPECT_EQ(tags[0]->Release(), 0u);
}

TEST_F(TagManager, ListsHoldEveryTagInTheTablesOrderWithOneReferenceEach) {
    uint64_t a = Add("Zeta", 1);
    uint64_t b = Add("Alpha", 2);
    uint64_t c = Add("Mu", 3);
    EXPECT_EQ(m_manager->GetTagCount(), 3u);
    CArray<uint64_t> ids;
    ASSERT_EQ(m_manager->GetTagIDs(&ids), S_OK);
    ASSERT_EQ(ids.GetSize(), 3);
    EXPECT_EQ((Ids{ids[0], ids[1], ids[2]}), (Ids{a, b, c}));

    CArray<IZanDB4TagDBRecord*> tags;
    ASSERT_EQ(m_manager->GetTags(&tags), S_OK);
    ASSERT_EQ(tags.GetSize(), 3);
    const std::vector<std::string> names = {"Zeta", "Alpha", "Mu"};
    for (ptrdiff_t i = 0; i < 3; ++i) {
        uint64_t id = 0;
        uint32_t type = 0;
        CZanTString name;
        EXPECT_EQ(tags[i]->GetID(&id), S_OK);
        EXPECT_EQ(tags[i]->GetType(&type), S_OK);
        EXPECT_EQ(tags[i]->GetName(name), S_OK);
        EXPECT_EQ(id, ids[i]);
        EXPECT_EQ(type, static_cast<uint32_t>(i + 1));
        EXPECT_EQ(name.ToUtf8(), names[static_cast<size_t>(i)]);
        EXPECT_EQ(tags[i]->Release(), 0u);
    }
}

// ---- DeleteTag ----

TEST_F(TagManager, DeleteRemovesEveryLinkOfTheTagAndTheFilesStay) {
    uint64_t sea = Add("Sea");
    uint64_t sky = Add("Sky");
    AddFile(File(10).Tagged({sea, sky}));
    AddFile(File(11).Tagged({sea}));
    AddFile(File(12).Tagged({sky}));
    Commit();
    ASSERT_EQ(DiskInteger("SELECT COUNT(*) FROM tag_file_table WHERE tag_id=" + std::to_string(sea)), 2);

    EXPECT_EQ(m_manager->DeleteTag(sea), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(sky), "Sky", "0"}}));
    EXPECT_EQ(DiskInteger("SELECT COUNT(*) FROM tag_file_table WHERE tag_id=" + std::to_string(sea)), 0);
    EXPECT_EQ(Disk("SELECT tag_id, file_id FROM tag_file_table ORDER BY file_id"),
              (Rows{{std::to_string(sky), "10"}, {std::to_string(sky), "12"}}));
    EXPECT_EQ(DiskIds("SELECT file_id FROM file_table ORDER BY file_id"), (Ids{10, 11, 12}));
}

TEST_F(TagManager, DeletedIdGoesToThePoolAndTheNextTagGetsIt) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    Commit();
    EXPECT_EQ(m_manager->DeleteTag(a), S_OK);
    Commit();
    EXPECT_EQ(PooledOnDisk(kTagIdType, a), 1);
    EXPECT_EQ(Add("C"), a);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "C", "0"}, {std::to_string(b), "B", "0"}}));
}

TEST_F(TagManager, TagWhoseLinksCannotGoStaysAndIsNotPooled) {
    uint64_t a = Add("Stuck");
    Commit();
    const std::string pooled =
        "SELECT COUNT(*) FROM pooled_id_table WHERE id_type=8 AND pooled_id=" + std::to_string(a);
    const int64_t pooledBefore = CatalogueInteger(pooled);
    DropInsideTransaction("tag_file_table");
    EXPECT_EQ(m_manager->DeleteTag(a), E_FAIL);
    EXPECT_EQ(m_manager->GetTagCount(), 1u);
    EXPECT_EQ(CatalogueInteger(pooled), pooledBefore);
    ASSERT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "Stuck", "0"}}));
}

TEST_F(TagManager, DeleteOfAnUnknownIdIsOkAndTouchesNoOtherTag) {
    uint64_t a = Add("A");
    AddFile(File(10).Tagged({a}));
    EXPECT_EQ(m_manager->DeleteTag(a + 50), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "A", "0"}}));
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(a), "10"}}));
}

TEST_F(TagManager, ALinkStoredTwiceCountsTwiceAndGoesWithTheTag) {
    // A record's tag list is a set, so the duplicate is written directly.
    uint64_t a = Add("Twice");
    AddFile(File(10).Tagged({a}));
    ExecOnCatalogue("INSERT INTO tag_file_table (tag_id, file_id) VALUES (" + std::to_string(a) + ", 10)");
    Commit();
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(a), "10"}, {std::to_string(a), "10"}}));
    EXPECT_EQ(m_manager->DeleteTag(a), S_OK);
    Commit();
    EXPECT_TRUE(LinksOnDisk().empty());
    EXPECT_EQ(DiskIds("SELECT file_id FROM file_table"), (Ids{10}));
}

TEST_F(TagManager, StagedLinkOfADeletedTagComesOverAtTheStagingCommit) {
    // Staging is left alone by DeleteTag: its link arrives in the catalogue
    // as an orphan, which the catalogue check is there to find.
    uint64_t a = Add("Orphaned");
    Commit();
    StageFile(File(20).Tagged({a}));
    EXPECT_EQ(m_manager->DeleteTag(a), S_OK);
    CZanDB4FileDBMgr files(DatabaseRegistry::fileBasicDB, DatabaseRegistry::asyncDB, DatabaseRegistry::metaFactory,
                           DatabaseRegistry::thumbMgr);
    ASSERT_EQ(files.Commit(CZanDB4FileDBMgr::kMoveStaged | CZanDB4FileDBMgr::kCommitCatalogue), S_OK);
    EXPECT_TRUE(TagsOnDisk().empty());
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(a), "20"}}));
}

// ---- links written by the file store ----

TEST_F(TagManager, FileUpdatedWithAClearedTagListLosesEveryLink) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AddFile(File(10).Tagged({a, b}));
    AddFile(File(11).Tagged({a}));
    Commit();
    FilePtr record = LoadFile(10);
    ASSERT_TRUE(record);
    ASSERT_EQ(record->ClearTags(), S_OK);
    ASSERT_TRUE(record->IsChanged(0x20000000));
    // The file store saves a tag list along with a changed column.
    const uint8_t favourite = 1;
    ASSERT_EQ(record->SetIsFavorite(&favourite), S_OK);
    ASSERT_EQ(FileTableRows(Catalogue()).UpdateFileRecord(10, record.Get()), S_OK);
    Commit();
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(a), "11"}}));
    EXPECT_EQ(DiskIds("SELECT file_id FROM file_table ORDER BY file_id"), (Ids{10, 11}));
    EXPECT_EQ(TagsOnDisk().size(), 2u);
}

TEST_F(TagManager, FileUpdatedWithANewTagListHasItsLinksReplacedWhole) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    uint64_t c = Add("C");
    AddFile(File(10).Tagged({a, b}));
    Commit();
    FilePtr record = LoadFile(10);
    ASSERT_TRUE(record);
    ASSERT_EQ(record->ClearTags(), S_OK);
    ASSERT_EQ(record->AddTag(&c), S_OK);
    const uint8_t favourite = 1;
    ASSERT_EQ(record->SetIsFavorite(&favourite), S_OK);
    ASSERT_EQ(FileTableRows(Catalogue()).UpdateFileRecord(10, record.Get()), S_OK);
    Commit();
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(c), "10"}}));
}

TEST_F(TagManager, NewFileWithAnEmptyTagListWritesNoLink) {
    Add("A");
    AddFile(File(10));
    Commit();
    EXPECT_TRUE(LinksOnDisk().empty());
    EXPECT_EQ(DiskIds("SELECT file_id FROM file_table"), (Ids{10}));
}

// ---- files of a tag through the file store ----

TEST_F(TagManager, FilesOfATagAreListedAndItsLinksCounted) {
    uint64_t a = Add("A");
    uint64_t b = Add("B");
    AddFile(File(10).Tagged({a, b}));
    AddFile(File(11).Tagged({b}));
    AddFile(File(12).Tagged({a}));
    AddFile(File(13));
    CZanTList<IZanDB4FileDBRecord*> files;
    ASSERT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a, files, FileTableRows::kLoadAll), S_OK);
    Ids found = IdsOf(files);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (Ids{10, 12}));
    uint32_t count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(b, &count), S_OK);
    EXPECT_EQ(count, 2u);
    // The list holds records read from the rows.
    ASSERT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(b, files, FileTableRows::kLoadAll), S_OK);
    ASSERT_EQ(files.GetCount(), 2);
    CZanTString name;
    EXPECT_EQ(files.Container().GetHead()->GetFileName(name), S_OK);
    EXPECT_EQ(name.ToUtf8().substr(0, 4), "IMG_");
    IdsOf(files);
}

TEST_F(TagManager, ATagWithoutFilesListsNothingAndCountsZero) {
    uint64_t a = Add("Lonely");
    AddFile(File(10));
    CZanTList<IZanDB4FileDBRecord*> files;
    EXPECT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a, files, FileTableRows::kLoadAll), E_FAIL);
    EXPECT_TRUE(files.IsEmpty());
    uint32_t count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(a, &count), S_OK);
    EXPECT_EQ(count, 0u);
    count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(a + 1000, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(a, nullptr), E_INVALIDARG);
}

TEST_F(TagManager, AFileLinkedTwiceCountsTwiceButIsListedOnce) {
    uint64_t a = Add("Twice");
    AddFile(File(10).Tagged({a}));
    ExecOnCatalogue("INSERT INTO tag_file_table (tag_id, file_id) VALUES (" + std::to_string(a) + ", 10)");
    uint32_t count = 0;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(a, &count), S_OK);
    EXPECT_EQ(count, 2u);
    CZanTList<IZanDB4FileDBRecord*> files;
    ASSERT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a, files, FileTableRows::kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{10}));
}

TEST_F(TagManager, ListOfTagFilesIsEmptiedFirst) {
    uint64_t a = Add("A");
    AddFile(File(10).Tagged({a}));
    FilePtr stranger = MakeFile(File(99));
    CZanTList<IZanDB4FileDBRecord*> files;
    files.AddTail(stranger.Get());
    EXPECT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a, files, FileTableRows::kLoadAll), S_OK);
    EXPECT_EQ(IdsOf(files), (Ids{10}));
    files.AddTail(stranger.Get());
    EXPECT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a + 1000, files, FileTableRows::kLoadAll), E_FAIL);
    EXPECT_TRUE(files.IsEmpty());
}

TEST_F(TagManager, DeletedTagHasNoFilesLeftToList) {
    uint64_t a = Add("A");
    AddFile(File(10).Tagged({a}));
    AddFile(File(11).Tagged({a}));
    ASSERT_EQ(m_manager->DeleteTag(a), S_OK);
    CZanTList<IZanDB4FileDBRecord*> files;
    EXPECT_EQ(FileTableRows(Catalogue()).ListFilesOfTag(a, files, FileTableRows::kLoadAll), E_FAIL);
    uint32_t count = 99;
    EXPECT_EQ(FileTableRows(Catalogue()).CountFilesOfTag(a, &count), S_OK);
    EXPECT_EQ(count, 0u);
    // The files themselves are still listed by a query over everything.
    ASSERT_EQ(FileTableRows(Catalogue()).ListFiles(nullptr, 0, files, FileTableRows::kLoadAll), S_OK);
    Ids all = IdsOf(files);
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, (Ids{10, 11}));
}

// ---- Commit and Rollback ----

TEST_F(TagManager, RollbackDropsUncommittedTagsAndTheirIds) {
    uint64_t kept = Add("Kept");
    Commit();
    uint64_t dropped = Add("Dropped");
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(kept), "Kept", "0"}}));
    // The counter went back with the transaction: the id is drawn again.
    EXPECT_EQ(Add("Again"), dropped);
}

TEST_F(TagManager, RollbackBringsBackADeletedTagWithItsLinks) {
    uint64_t a = Add("A");
    AddFile(File(10).Tagged({a}));
    Commit();
    EXPECT_EQ(m_manager->DeleteTag(a), S_OK);
    EXPECT_EQ(m_manager->GetTagCount(), 0u);
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    EXPECT_EQ(m_manager->GetTagCount(), 1u);
    Commit();
    EXPECT_EQ(TagsOnDisk(), (Rows{{std::to_string(a), "A", "0"}}));
    EXPECT_EQ(LinksOnDisk(), (Rows{{std::to_string(a), "10"}}));
    EXPECT_EQ(PooledOnDisk(kTagIdType, a), 0);
}

}  // namespace
}  // namespace albums_test
