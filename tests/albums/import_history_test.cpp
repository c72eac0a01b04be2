// The import journal through IZanDB4ImportMgr: rows on disk, the order of
// reads, the date-and-class rule of updates and the date-only rule of deletes.
#include <gtest/gtest.h>

#include "catalogue/file_basic_db.h"
#include "library/database_registry.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
namespace DatabaseRegistry = zandb4::DatabaseRegistry;

namespace {

SYSTEMTIME Date(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0) {
    SYSTEMTIME date{};
    date.wYear = year;
    date.wMonth = month;
    date.wDay = day;
    date.wHour = hour;
    return date;
}

class ImportHistory : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&m_manager)), S_OK);
    }
    void TearDown() override {
        if (m_manager) {
            EXPECT_EQ(m_manager->Release(), 0u);
        }
        ZanDB4_Finalize();
    }

    IZanDB4ImportDBRecord* MakeRecord(const SYSTEMTIME& date, uint32_t importClass, uint32_t attribute) {
        IZanDB4ImportDBRecord* record = nullptr;
        EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(&record)), S_OK);
        record->SetDate(&date);
        record->SetClass(importClass);
        record->SetAttribute(attribute);
        return record;
    }

    void Add(const SYSTEMTIME& date, uint32_t importClass, uint32_t attribute) {
        IZanDB4ImportDBRecord* record = MakeRecord(date, importClass, attribute);
        EXPECT_EQ(m_manager->AddImportHistory(record), S_OK);
        record->Release();
    }

    // Rows as committed on disk, oldest first: date, class, attribute.
    std::vector<std::vector<std::string>> RowsOnDisk() {
        SqliteProbe probe(m_root / "database" / "FileBasic.db");
        return probe.Rows(
            "SELECT import_date, import_class, import_attribute FROM import_history_table "
            "ORDER BY import_date, import_class");
    }

    static std::string Packed(const SYSTEMTIME& date) { return std::to_string(CZanTDateTime(date).GetPacked()); }

    TempFolder m_root;
    IZanDB4ImportMgr* m_manager = nullptr;
};

TEST_F(ImportHistory, AddedRowsAreDurableAfterCommitWithTheDateInStoredForm) {
    SYSTEMTIME date = Date(2024, 3, 7, 10);
    Add(date, 2, 0x10);
    EXPECT_TRUE(RowsOnDisk().empty());  // still in the open transaction
    EXPECT_EQ(m_manager->Commit(), S_OK);
    auto rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{Packed(date), "2", "16"}));
}

TEST_F(ImportHistory, RollbackDropsWhatWasNotCommitted) {
    Add(Date(2024, 1, 1), 1, 1);
    ASSERT_EQ(m_manager->Commit(), S_OK);
    Add(Date(2024, 1, 2), 1, 1);
    EXPECT_EQ(m_manager->Rollback(), S_OK);
    EXPECT_EQ(m_manager->Commit(), S_OK);
    EXPECT_EQ(RowsOnDisk().size(), 1u);
}

TEST_F(ImportHistory, TwoRowsOfOneDateMayStandSideBySide) {
    SYSTEMTIME date = Date(2024, 5, 5);
    Add(date, 1, 0);
    Add(date, 1, 0);
    ASSERT_EQ(m_manager->Commit(), S_OK);
    EXPECT_EQ(RowsOnDisk().size(), 2u);
}

TEST_F(ImportHistory, UpdateChangesTheRowOfThatDateAndClassOnly) {
    SYSTEMTIME date = Date(2024, 6, 1);
    Add(date, 1, 100);
    Add(date, 2, 200);
    IZanDB4ImportDBRecord* change = MakeRecord(date, 2, 999);
    EXPECT_EQ(m_manager->UpdateImportHistory(change), S_OK);
    change->Release();
    ASSERT_EQ(m_manager->Commit(), S_OK);
    auto rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][2], "100");
    EXPECT_EQ(rows[1][2], "999");
}

TEST_F(ImportHistory, UpdateOfNoMatchingRowIsOk) {
    IZanDB4ImportDBRecord* change = MakeRecord(Date(2030, 1, 1), 7, 1);
    EXPECT_EQ(m_manager->UpdateImportHistory(change), S_OK);
    change->Release();
}

TEST_F(ImportHistory, DeleteRemovesEveryClassOfThatDate) {
    SYSTEMTIME date = Date(2024, 6, 1);
    Add(date, 1, 100);
    Add(date, 2, 200);
    Add(Date(2024, 6, 2), 1, 300);
    IZanDB4ImportDBRecord* which = MakeRecord(date, 1, 0);
    EXPECT_EQ(m_manager->DeleteImportHistory(which), S_OK);
    which->Release();
    ASSERT_EQ(m_manager->Commit(), S_OK);
    auto rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][2], "300");
}

TEST_F(ImportHistory, ClearRemovesEveryRow) {
    Add(Date(2024, 1, 1), 1, 1);
    Add(Date(2024, 1, 2), 1, 1);
    EXPECT_EQ(m_manager->ClearImportHistory(), S_OK);
    ASSERT_EQ(m_manager->Commit(), S_OK);
    EXPECT_TRUE(RowsOnDisk().empty());
}

TEST_F(ImportHistory, LatestOfAnEmptyJournalFails) {
    IZanDB4ImportDBRecord* latest = nullptr;
    EXPECT_EQ(m_manager->GetLatestImportHistory(&latest), E_FAIL);
    EXPECT_EQ(latest, nullptr);
}

TEST_F(ImportHistory, LatestIsTheNewestRowAsANewRecord) {
    Add(Date(2023, 1, 1), 1, 11);
    Add(Date(2025, 2, 2, 3), 4, 44);
    Add(Date(2024, 1, 1), 2, 22);
    IZanDB4ImportDBRecord* latest = nullptr;
    ASSERT_EQ(m_manager->GetLatestImportHistory(&latest), S_OK);
    ASSERT_NE(latest, nullptr);
    SYSTEMTIME date{};
    uint32_t importClass = 0, attribute = 0;
    EXPECT_EQ(latest->GetDate(&date), S_OK);
    EXPECT_EQ(latest->GetClass(&importClass), S_OK);
    EXPECT_EQ(latest->GetAttribute(&attribute), S_OK);
    EXPECT_EQ(CZanTDateTime(date).GetPacked(), CZanTDateTime(Date(2025, 2, 2, 3)).GetPacked());
    EXPECT_EQ(importClass, 4u);
    EXPECT_EQ(attribute, 44u);
    // One reference, the caller's.
    EXPECT_EQ(latest->AddRef(), 2u);
    EXPECT_EQ(latest->Release(), 1u);
    EXPECT_EQ(latest->Release(), 0u);
}

TEST_F(ImportHistory, HistoriesComeOldestFirstBehindWhatTheArrayHolds) {
    Add(Date(2024, 3, 1), 3, 0);
    Add(Date(2024, 1, 1), 1, 0);
    Add(Date(2024, 2, 1), 2, 0);
    IZanDB4ImportDBRecord* already = MakeRecord(Date(1999, 1, 1), 99, 0);
    CArray<IZanDB4ImportDBRecord*> records;
    records.Add(already);

    ASSERT_EQ(m_manager->GetImportHistories(&records), S_OK);
    ASSERT_EQ(records.GetSize(), 4);
    EXPECT_EQ(records[0], already);
    for (ptrdiff_t i = 1; i < 4; ++i) {
        uint32_t importClass = 0;
        records[i]->GetClass(&importClass);
        EXPECT_EQ(importClass, static_cast<uint32_t>(i));
    }
    for (ptrdiff_t i = 0; i < records.GetSize(); ++i) EXPECT_EQ(records[i]->Release(), 0u);
}

TEST_F(ImportHistory, HistoriesOfAnEmptyJournalFailIntoAnEmptyArrayButNotIntoAFullOne) {
    CArray<IZanDB4ImportDBRecord*> records;
    EXPECT_EQ(m_manager->GetImportHistories(&records), E_FAIL);
    EXPECT_EQ(records.GetSize(), 0);

    IZanDB4ImportDBRecord* already = MakeRecord(Date(1999, 1, 1), 1, 0);
    records.Add(already);
    EXPECT_EQ(m_manager->GetImportHistories(&records), S_OK);
    EXPECT_EQ(records.GetSize(), 1);
    already->Release();
}

TEST_F(ImportHistory, ClearedDateIsStoredAsZero) {
    IZanDB4ImportDBRecord* record = MakeRecord(Date(2024, 1, 1), 5, 6);
    EXPECT_EQ(record->SetDate(nullptr), S_OK);
    SYSTEMTIME date = Date(1, 1, 1);
    EXPECT_EQ(record->GetDate(&date), S_OK);
    EXPECT_EQ(date.wYear, 0);
    EXPECT_EQ(date.wMonth, 0);
    EXPECT_EQ(m_manager->AddImportHistory(record), S_OK);
    record->Release();
    ASSERT_EQ(m_manager->Commit(), S_OK);
    auto rows = RowsOnDisk();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "0");
}

TEST_F(ImportHistory, NullArgumentsAreInvalid) {
    EXPECT_EQ(m_manager->AddImportHistory(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->UpdateImportHistory(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->DeleteImportHistory(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetLatestImportHistory(nullptr), E_INVALIDARG);
    EXPECT_EQ(m_manager->GetImportHistories(nullptr), E_INVALIDARG);
}

TEST_F(ImportHistory, RecordGettersRefuseNullAndSettersAlwaysSucceed) {
    IZanDB4ImportDBRecord* record = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(&record)), S_OK);
    EXPECT_EQ(record->GetDate(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetClass(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->GetAttribute(nullptr), E_INVALIDARG);
    EXPECT_EQ(record->SetClass(0xFFFFFFFFu), S_OK);
    EXPECT_EQ(record->SetAttribute(0), S_OK);
    uint32_t importClass = 0;
    EXPECT_EQ(record->GetClass(&importClass), S_OK);
    EXPECT_EQ(importClass, 0xFFFFFFFFu);
    // A new record is blank.
    uint32_t attribute = 7;
    EXPECT_EQ(record->GetAttribute(&attribute), S_OK);
    EXPECT_EQ(attribute, 0u);
    void* same = nullptr;
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4ImportDBRecord, &same), S_OK);
    EXPECT_EQ(same, static_cast<void*>(record));
    EXPECT_EQ(record->QueryInterface(IID_IZanDB4ImportDBMgr, &same), E_NOINTERFACE);
    EXPECT_EQ(same, nullptr);
    EXPECT_EQ(record->Release(), 1u);
    EXPECT_EQ(record->Release(), 0u);
}

TEST_F(ImportHistory, ManagerOfALibraryWithoutCatalogueFails) {
    // A start that was refused leaves no catalogue; the factory still makes
    // managers, which must not crash when used.
    ZanDB4_Finalize();
    TempFolder blocked;
    zandb4::testing::WriteFile(blocked / "database", "in the way");
    ASSERT_EQ(ZanDB4_Initialize(blocked.Wide().GetString()), E_ACCESSDENIED);
    IZanDB4ImportMgr* orphan = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&orphan)), S_OK);
    ASSERT_NE(orphan, nullptr);
    EXPECT_EQ(orphan->ClearImportHistory(), E_FAIL);
    EXPECT_EQ(orphan->Commit(), E_FAIL);
    EXPECT_EQ(orphan->Release(), 0u);
    ZanDB4_Finalize();
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
}

}  // namespace
