// The memory data manager's adds, updates, reads and deletes, checked by the
// result codes and by the rows a separate connection finds in "Memory.db"
// after Commit.
#include <string>

#include "logs/mem_record.h"
#include "logs_fixture.h"

namespace logs_test {
namespace {

class MemoryData : public LogsTest {
protected:
    // AddData with the bytes of a text.
    HRESULT Add(uint32_t type, const CZanTString& condition, const std::string& data, uint64_t* outId = nullptr) {
        return m_memory->AddData(type, condition.GetString(), data.data(), static_cast<uint32_t>(data.size()), outId);
    }
    // The key's data as GetRecord reads it; "<none>" when it fails.
    std::string Read(uint32_t type, const CZanTString& condition) {
        ComPtr<IZanDB4MemRecord> record;
        if (m_memory->GetRecord(type, condition.GetString(), record.Receive()) != S_OK) return "<none>";
        return Bytes(record.Get());
    }
    static ComPtr<IZanDB4MemRecord> Record(uint32_t type, const CZanTString& condition, const std::string& data) {
        ComPtr<IZanDB4MemRecord> record = ComPtr<IZanDB4MemRecord>::Adopt(new CZanDB4MemRecord());
        record->SetType(type);
        record->SetCondition(condition);
        record->SetData(data.data(), static_cast<uint32_t>(data.size()));
        return record;
    }
};

TEST_F(MemoryData, AddDataIsOnDiskAfterCommitOnly) {
    uint64_t id = 0;
    ASSERT_EQ(Add(7, u"window", "w=800;h=600", &id), S_OK);
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 0);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_id, mem_type, mem_condition, hex(mem_date), typeof(mem_date) "
                         "FROM memory_data"),
              (Rows{{"1", "7", "window", Hex("w=800;h=600"), "blob"}}));
    // The id came from id type 0 of this file's own counter.
    EXPECT_EQ(MemoryRows("SELECT id_type, last_id FROM last_id_table"), (Rows{{"0", "1"}}));
}

TEST_F(MemoryData, AddRecordPutsTheNewIdIntoTheRecord) {
    ASSERT_EQ(Add(1, u"first", "x"), S_OK);
    ComPtr<IZanDB4MemRecord> record = Record(2, u"second", "payload");
    ASSERT_EQ(m_memory->AddRecord(record.Get()), S_OK);
    uint64_t id = 0;
    record->GetID(&id);
    EXPECT_EQ(id, 2u);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_type, mem_condition, hex(mem_date) FROM memory_data WHERE mem_id=2"),
              (Rows{{"2", "second", Hex("payload")}}));
}

TEST_F(MemoryData, AnEmptyBlobIsRefusedByEveryAddAndUpdate) {
    uint64_t id = 0;
    ASSERT_EQ(Add(1, u"kept", "abc", &id), S_OK);
    const char bytes[] = "xyz";
    EXPECT_EQ(m_memory->AddData(1, u"new", bytes, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->AddData(1, u"new", nullptr, 3, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_memory->AddRecord(Record(1, u"new", "").Get()), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateData(1, u"kept", bytes, 0), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateData(1, u"kept", nullptr, 3), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateDataByID(id, bytes, 0), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateDataByID(id, nullptr, 3), E_INVALIDARG);
    EXPECT_EQ(m_memory->UpdateRecord(Record(1, u"kept", "").Get()), E_INVALIDARG);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_condition, hex(mem_date) FROM memory_data"), (Rows{{"kept", Hex("abc")}}));
    // No id was drawn for the refusals.
    EXPECT_EQ(MemoryInteger("SELECT last_id FROM last_id_table WHERE id_type=0"), 1);
}

TEST_F(MemoryData, ARecordReadBackAlwaysHasData) {
    ASSERT_EQ(Add(3, u"one byte", std::string(1, '\0')), S_OK);
    ComPtr<IZanDB4MemRecord> record;
    ASSERT_EQ(m_memory->GetRecord(3, u"one byte", record.Receive()), S_OK);
    ASSERT_NE(record->GetData(), nullptr);
    EXPECT_EQ(record->GetDataSize(), 1u);
    uint64_t id = 0;
    uint32_t type = 0;
    CZanTString condition;
    record->GetID(&id);
    record->GetType(&type);
    record->GetCondition(condition);
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(type, 3u);
    EXPECT_EQ(condition, CZanTString(u"one byte"));
}

TEST_F(MemoryData, EqualConditionsOfDifferentTypesCoexist) {
    ASSERT_EQ(Add(1, u"layout", "for one"), S_OK);
    ASSERT_EQ(Add(2, u"layout", "for two"), S_OK);
    EXPECT_EQ(Read(1, u"layout"), "for one");
    EXPECT_EQ(Read(2, u"layout"), "for two");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data WHERE mem_condition='layout'"), 2);
}

TEST_F(MemoryData, ASecondAddOfAKeyFailsAndUpdateDataThenChangesTheFirst) {
    uint64_t first = 0;
    ASSERT_EQ(Add(5, u"k", "old", &first), S_OK);
    uint64_t second = 0;
    EXPECT_EQ(Add(5, u"k", "other", &second), E_FAIL);
    // The refused insert did not finalize cleanly, so no id was handed out.
    EXPECT_EQ(second, 0u);
    EXPECT_EQ(m_memory->UpdateData(5, u"k", "new", 3), S_OK);
    EXPECT_EQ(Read(5, u"k"), "new");
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_id, hex(mem_date) FROM memory_data"),
              (Rows{{std::to_string(first), Hex("new")}}));
    // The id the refused add drew is used up: ids are never given back.
    uint64_t third = 0;
    ASSERT_EQ(Add(5, u"k2", "x", &third), S_OK);
    EXPECT_EQ(third, first + 2);
}

TEST_F(MemoryData, AddRecordRefusedOnItsKeyLeavesTheRecordsId) {
    ASSERT_EQ(Add(5, u"k", "old"), S_OK);
    ComPtr<IZanDB4MemRecord> record = Record(5, u"k", "dup");
    record->SetID(77);
    EXPECT_EQ(m_memory->AddRecord(record.Get()), E_FAIL);
    uint64_t id = 0;
    record->GetID(&id);
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(Read(5, u"k"), "old");
}

TEST_F(MemoryData, KeysWithApostrophesAndLettersOutsideAsciiRoundTrip) {
    const std::vector<std::string> conditions = {
        "Grandma's garden", "it''s '; DROP TABLE memory_data; --", "100% done_%",
        "K\xC3\xB6ln \xC3\xA9t\xC3\xA9 \xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x93\xB7", "", std::string(5000, 'x') + "\xC3\xA9"};
    for (size_t i = 0; i < conditions.size(); ++i)
        ASSERT_EQ(Add(9, W(conditions[i]), "data " + std::to_string(i)), S_OK) << conditions[i];
    for (size_t i = 0; i < conditions.size(); ++i) {
        EXPECT_TRUE(m_memory->Exists(9, W(conditions[i]).GetString())) << conditions[i];
        EXPECT_EQ(Read(9, W(conditions[i])), "data " + std::to_string(i)) << conditions[i];
        ComPtr<IZanDB4MemRecord> record;
        ASSERT_EQ(m_memory->GetRecord(9, W(conditions[i]).GetString(), record.Receive()), S_OK);
        CZanTString condition;
        record->GetCondition(condition);
        EXPECT_EQ(condition.ToUtf8(), conditions[i]);
    }
    // A prefix of a key is another key.
    EXPECT_FALSE(m_memory->Exists(9, u"Grandma"));
    ASSERT_EQ(m_memory->Commit(), S_OK);
    SqliteProbe probe(MemoryFile());
    for (const std::string& condition : conditions) {
        sqlite3_stmt* statement = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(probe.Handle(), "SELECT COUNT(*) FROM memory_data WHERE mem_condition=?", -1,
                                     &statement, nullptr),
                  SQLITE_OK);
        sqlite3_bind_text(statement, 1, condition.data(), static_cast<int>(condition.size()), SQLITE_TRANSIENT);
        ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
        EXPECT_EQ(sqlite3_column_int(statement, 0), 1) << condition;
        sqlite3_finalize(statement);
    }
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), static_cast<int64_t>(conditions.size()));
}

TEST_F(MemoryData, UpdateDataByIDReplacesTheBlobOfThatRow) {
    uint64_t id = 0;
    ASSERT_EQ(Add(4, u"a", "before", &id), S_OK);
    EXPECT_EQ(m_memory->UpdateDataByID(id, "after!", 6), S_OK);
    EXPECT_EQ(Read(4, u"a"), "after!");
    EXPECT_EQ(m_memory->UpdateDataByID(id + 100, "x", 1), E_FAIL);
    EXPECT_EQ(m_memory->UpdateDataByID(0, "x", 1), E_INVALIDARG);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT hex(mem_date) FROM memory_data"), (Rows{{Hex("after!")}}));
}

TEST_F(MemoryData, UpdateOfAKeyThatIsNotStoredFails) {
    EXPECT_EQ(m_memory->UpdateData(4, u"missing", "x", 1), E_FAIL);
    EXPECT_EQ(m_memory->UpdateRecord(Record(4, u"missing", "x").Get()), E_FAIL);
    EXPECT_FALSE(m_memory->Exists(4, u"missing"));
}

TEST_F(MemoryData, UpdateRecordWritesTheRecordsDataUnderItsKey) {
    ASSERT_EQ(Add(4, u"a", "before"), S_OK);
    ComPtr<IZanDB4MemRecord> record;
    ASSERT_EQ(m_memory->GetRecord(4, u"a", record.Receive()), S_OK);
    record->SetData("changed", 7);
    EXPECT_EQ(m_memory->UpdateRecord(record.Get()), S_OK);
    EXPECT_EQ(Read(4, u"a"), "changed");
}

TEST_F(MemoryData, GetRecordOfAKeyThatIsNotStoredFailsAndClearsTheOut) {
    IZanDB4MemRecord* record = reinterpret_cast<IZanDB4MemRecord*>(0x5EA7);
    EXPECT_EQ(m_memory->GetRecord(1, u"nothing", &record), E_FAIL);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(m_memory->GetRecord(1, u"nothing", nullptr), E_INVALIDARG);
}

TEST_F(MemoryData, DeletesByIdKeyTypeAndAll) {
    uint64_t byId = 0;
    ASSERT_EQ(Add(1, u"a", "1", &byId), S_OK);
    ASSERT_EQ(Add(1, u"b", "2"), S_OK);
    ASSERT_EQ(Add(2, u"c", "3"), S_OK);
    ASSERT_EQ(Add(2, u"d", "4"), S_OK);
    ASSERT_EQ(Add(3, u"e", "5"), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);

    EXPECT_EQ(m_memory->DeleteByID(byId), S_OK);
    EXPECT_EQ(m_memory->DeleteData(1, u"b"), S_OK);
    EXPECT_EQ(m_memory->DeleteByType(2), S_OK);
    // Deleting what is not there is no failure.
    EXPECT_EQ(m_memory->DeleteByID(byId), S_OK);
    EXPECT_EQ(m_memory->DeleteData(1, u"b"), S_OK);
    EXPECT_EQ(m_memory->DeleteByType(42), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryRows("SELECT mem_type, mem_condition FROM memory_data"), (Rows{{"3", "e"}}));

    EXPECT_EQ(m_memory->DeleteAll(), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM memory_data"), 0);
}

TEST_F(MemoryData, DeletedIdsAreNotUsedAgain) {
    uint64_t first = 0;
    ASSERT_EQ(Add(1, u"a", "1", &first), S_OK);
    ASSERT_EQ(m_memory->DeleteByID(first), S_OK);
    uint64_t second = 0;
    ASSERT_EQ(Add(1, u"a", "1", &second), S_OK);
    EXPECT_EQ(second, first + 1);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(MemoryInteger("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(MemoryData, RollbackDropsWhatWasNotCommitted) {
    ASSERT_EQ(Add(1, u"kept", "1"), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    ASSERT_EQ(Add(1, u"dropped", "2"), S_OK);
    ASSERT_EQ(m_memory->DeleteData(1, u"kept"), S_OK);
    EXPECT_EQ(m_memory->Rollback(), S_OK);
    EXPECT_TRUE(m_memory->Exists(1, u"kept"));
    EXPECT_FALSE(m_memory->Exists(1, u"dropped"));
    // The id drawn in the dropped transaction is drawn again.
    uint64_t id = 0;
    ASSERT_EQ(Add(1, u"again", "3", &id), S_OK);
    EXPECT_EQ(id, 2u);
}

TEST_F(MemoryData, ALargeBlobRoundTripsByteForByte) {
    std::string blob(3 * 1024 * 1024 + 7, '\0');
    for (size_t i = 0; i < blob.size(); ++i) blob[i] = static_cast<char>((i * 131) & 0xFF);
    ASSERT_EQ(Add(1, u"big", blob), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    EXPECT_EQ(Read(1, u"big"), blob);
    EXPECT_EQ(MemoryInteger("SELECT length(mem_date) FROM memory_data"), static_cast<int64_t>(blob.size()));
}

TEST_F(MemoryData, VacuumCompactsTheFileAndKeepsTheEntries) {
    std::string blob(200000, 'v');
    for (int i = 0; i < 10; ++i) ASSERT_EQ(Add(1, W("k" + std::to_string(i)), blob), S_OK);
    ASSERT_EQ(m_memory->Commit(), S_OK);
    ASSERT_EQ(m_memory->DeleteByType(1), S_OK);
    ASSERT_EQ(Add(2, u"left", "x"), S_OK);
    EXPECT_EQ(m_memory->Vacuum(), S_OK);
    EXPECT_EQ(MemoryInteger("PRAGMA freelist_count"), 0);
    EXPECT_EQ(MemoryRows("SELECT mem_condition FROM memory_data"), (Rows{{"left"}}));
}

}  // namespace
}  // namespace logs_test
