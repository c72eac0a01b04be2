// The memory data manager's ChangeKey with its three steps, QueryRecords with
// each mode, and Exists on a statement that does not prepare.
#include <string>

#include "logs/memory_data_mgr.h"
#include "logs_fixture.h"
#include "storage/statement.h"

namespace logs_test {
namespace {

class MemoryDataKeys : public LogsTest {
protected:
    uint64_t Add(uint32_t type, const WCHAR* condition, const std::string& data) {
        uint64_t id = 0;
        EXPECT_EQ(m_memory->AddData(type, condition, data.data(), static_cast<uint32_t>(data.size()), &id), S_OK);
        return id;
    }
    std::string Read(uint32_t type, const WCHAR* condition) {
        ComPtr<IZanDB4MemRecord> record;
        if (m_memory->GetRecord(type, condition, record.Receive()) != S_OK) return "<none>";
        return Bytes(record.Get());
    }
};

// Releases what a list holds, as a caller must.
void ReleaseAll(CList<IZanDB4MemRecord*>& list) {
    while (!list.IsEmpty()) {
        IZanDB4MemRecord* record = list.RemoveHead();
        if (record != nullptr) record->Release();
    }
}

TEST_F(MemoryDataKeys, ChangeKeyMovesTheEntryAndKeepsItsId) {
    uint64_t id = Add(1, u"old", "data");
    EXPECT_EQ(m_memory->ChangeKey(1, u"old", 2, u"new"), S_OK);
    EXPECT_FALSE(m_memory->Exists(1, u"old"));
    EXPECT_EQ(Read(2, u"new"), "data");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_id, mem_type, mem_condition FROM memory_data"),
              (Rows{{std::to_string(id), "2", "new"}}));
}

TEST_F(MemoryDataKeys, ChangeKeyOntoAnExistingKeyRemovesThatEntryFirst) {
    uint64_t moved = Add(1, u"source", "moving");
    Add(1, u"target", "overwritten");
    EXPECT_EQ(m_memory->ChangeKey(1, u"source", 1, u"target"), S_OK);
    EXPECT_FALSE(m_memory->Exists(1, u"source"));
    EXPECT_EQ(Read(1, u"target"), "moving");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_id, mem_condition, hex(mem_date) FROM memory_data"),
              (Rows{{std::to_string(moved), "target", Hex("moving")}}));
}

TEST_F(MemoryDataKeys, ChangeKeyOfAKeyThatIsNotStoredIsSFalseAndChangesNothing) {
    Add(1, u"target", "stays");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(m_memory->ChangeKey(1, u"missing", 1, u"target"), S_FALSE);
    EXPECT_EQ(S_FALSE, 1);
    EXPECT_EQ(Read(1, u"target"), "stays");
    // Nothing was written: no transaction was opened.
    EXPECT_EQ(MemoryStore().m_inTransaction, 0);
}

TEST_F(MemoryDataKeys, ChangeKeyWithEqualKeysDeletesTheEntryAndFails) {
    Add(3, u"same", "lost");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(m_memory->ChangeKey(3, u"same", 3, u"same"), E_FAIL);
    // Gone in the open transaction ...
    EXPECT_FALSE(m_memory->Exists(3, u"same"));
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 1);
    // ... and on disk once committed.
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 0);
}

TEST_F(MemoryDataKeys, ARollbackBringsBackWhatChangeKeyWithEqualKeysDeleted) {
    Add(3, u"same", "kept");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(m_memory->ChangeKey(3, u"same", 3, u"same"), E_FAIL);
    ASSERT_EQ(m_memory->Rollback(), S_OK);
    EXPECT_EQ(Read(3, u"same"), "kept");
}

TEST_F(MemoryDataKeys, QueryRecordsModeOneAddsNothingThoughGetRecordFindsTheKey) {
    Add(1, u"key", "data");
    CList<IZanDB4MemRecord*> list;
    EXPECT_EQ(m_memory->QueryRecords(1, u"key", 1, &list), S_OK);
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(m_memory->QueryRecords(1, u"absent", 1, &list), S_OK);
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(Read(1, u"key"), "data");
    ReleaseAll(list);
}

TEST_F(MemoryDataKeys, QueryRecordsModeOneLeavesWhatTheListHeld) {
    Add(1, u"key", "data");
    CList<IZanDB4MemRecord*> list;
    ComPtr<IZanDB4MemRecord> held;
    ASSERT_EQ(m_memory->GetRecord(1, u"key", held.Receive()), S_OK);
    list.AddTail(held.Get());
    EXPECT_EQ(m_memory->QueryRecords(1, u"key", 1, &list), S_OK);
    ASSERT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetHead(), held.Get());
}

TEST_F(MemoryDataKeys, QueryRecordsModeTwoFailsWhateverTheTableHolds) {
    CList<IZanDB4MemRecord*> list;
    EXPECT_EQ(m_memory->QueryRecords(1, u"k", 2, &list), E_FAIL);
    Add(1, u"k", "data");
    Add(1, u"kx", "data");
    EXPECT_EQ(m_memory->QueryRecords(1, u"k", 2, &list), E_FAIL);
    EXPECT_EQ(list.GetCount(), 0);
}

TEST_F(MemoryDataKeys, QueryRecordsOfAnyOtherModeIsSOkWithTheListUnchanged) {
    Add(1, u"k", "data");
    CList<IZanDB4MemRecord*> list;
    for (uint32_t mode : {0u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(m_memory->QueryRecords(1, u"k", mode, &list), S_OK) << mode;
        EXPECT_EQ(list.GetCount(), 0) << mode;
    }
}

TEST_F(MemoryDataKeys, ExistsIsFalseWhenItsStatementDoesNotPrepare) {
    Add(1, u"k", "data");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    // A memory data store with no connection: every prepare fails.
    CSQLiteMemDB unopened;
    ComPtr<IZanDB4MemoryDataMgr> manager = ComPtr<IZanDB4MemoryDataMgr>::Adopt(new CZanDB4MemoryDataMgr(&unopened));
    EXPECT_FALSE(manager->Exists(1, u"k"));
    // And in a file whose table is gone, in a transaction that is dropped
    // again.
    MemoryStore().BeginTransaction();
    ASSERT_EQ(zandb4::RunStatement(MemoryStore().m_db, u"DROP TABLE memory_data"), S_OK);
    EXPECT_FALSE(m_memory->Exists(1, u"k"));
    EXPECT_EQ(m_memory->ChangeKey(1, u"k", 2, u"k"), S_FALSE);
    ASSERT_EQ(m_memory->Rollback(), S_OK);
    EXPECT_TRUE(m_memory->Exists(1, u"k"));
}

TEST_F(MemoryDataKeys, AStoreWithoutAConnectionFailsEveryOperation) {
    CSQLiteMemDB unopened;
    ComPtr<IZanDB4MemoryDataMgr> manager = ComPtr<IZanDB4MemoryDataMgr>::Adopt(new CZanDB4MemoryDataMgr(&unopened));
    uint64_t id = 0;
    EXPECT_EQ(manager->AddData(1, u"k", "x", 1, &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(manager->UpdateData(1, u"k", "x", 1), E_FAIL);
    EXPECT_EQ(manager->UpdateDataByID(1, "x", 1), E_FAIL);
    EXPECT_EQ(manager->DeleteByID(1), E_FAIL);
    EXPECT_EQ(manager->DeleteData(1, u"k"), E_FAIL);
    EXPECT_EQ(manager->DeleteByType(1), E_FAIL);
    EXPECT_EQ(manager->DeleteAll(), E_FAIL);
    IZanDB4MemRecord* record = nullptr;
    EXPECT_EQ(manager->GetRecord(1, u"k", &record), E_FAIL);
    EXPECT_EQ(record, nullptr);
    CList<IZanDB4MemRecord*> list;
    EXPECT_EQ(manager->QueryRecords(1, u"k", 1, &list), E_FAIL);
    EXPECT_EQ(manager->ChangeKey(1, u"k", 2, u"k"), S_FALSE);
    EXPECT_EQ(manager->Commit(), E_FAIL);
    EXPECT_EQ(manager->Vacuum(), E_FAIL);
}

TEST_F(MemoryDataKeys, AManagerMadeWithoutAStoreFailsEveryOperation) {
    ComPtr<IZanDB4MemoryDataMgr> manager = ComPtr<IZanDB4MemoryDataMgr>::Adopt(new CZanDB4MemoryDataMgr(nullptr));
    EXPECT_EQ(manager->AddData(1, u"k", "x", 1, nullptr), E_FAIL);
    EXPECT_FALSE(manager->Exists(1, u"k"));
    EXPECT_EQ(manager->ChangeKey(1, u"k", 2, u"k"), E_FAIL);
    EXPECT_EQ(manager->Commit(), E_FAIL);
    EXPECT_EQ(manager->Rollback(), E_FAIL);
    EXPECT_EQ(manager->Vacuum(), E_FAIL);
}

TEST_F(MemoryDataKeys, NullArgumentsAreInvalidNotACrash) {
    Add(1, u"k", "data");
    EXPECT_EQ(m_memory->AddRecord(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateRecord(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->AddData(1, nullptr, "x", 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateData(1, nullptr, "x", 1), E_INVALIDARG);
    EXPECT_EQ(m_memory->DeleteData(1, nullptr), E_INVALIDARG);
    IZanDB4MemRecord* record = reinterpret_cast<IZanDB4MemRecord*>(0x5EA7);
    EXPECT_EQ(m_memory->GetRecord(1, nullptr, &record), E_INVALIDARG);
    EXPECT_EQ(record, nullptr);
    CList<IZanDB4MemRecord*> list;
    EXPECT_EQ(m_memory->QueryRecords(1, nullptr, 1, &list), E_INVALIDARG);
    EXPECT_EQ(m_memory->QueryRecords(1, u"k", 1, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->ChangeKey(1, nullptr, 2, u"k"), E_INVALIDARG);
    EXPECT_EQ(m_memory->ChangeKey(1, u"k", 2, nullptr), E_INVALIDARG);
    EXPECT_FALSE(m_memory->Exists(1, nullptr));
    // Nothing committed was lost on the way.
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 1);
}

}  // namespace
}  // namespace logs_test
