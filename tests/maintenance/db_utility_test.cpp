// The utility as the factory hands it out: its identifier and reference
// count, GetDBVersion, RepairDeadLinks, and the backup that the last
// ZanDB4_Finalize asks for and never gets.
#include "maintenance/db_utility.h"

#include "catalogue/file_basic_db.h"
#include "maintenance_fixture.h"

namespace maintenance_test {
namespace {

// {00000000-0000-0000-C000-000000000046}
constexpr IID kIUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

class DBUtility : public MaintenanceTest {};

TEST_F(DBUtility, FactoryMakesItWithOneReferenceAndTheRegistrysStores) {
    Start();
    EXPECT_EQ(m_utility->AddRef(), 2u);
    EXPECT_EQ(m_utility->Release(), 1u);
    const DBUtilityStores& stores = static_cast<CZanDB4DBUtility*>(m_utility.Get())->Stores();
    EXPECT_EQ(stores.fileBasicDB, DatabaseRegistry::fileBasicDB);
    EXPECT_EQ(stores.metaFactory, DatabaseRegistry::metaFactory);
    EXPECT_EQ(stores.gpsLogDB, DatabaseRegistry::gpsLogDB);
    EXPECT_EQ(stores.thumbMgr, DatabaseRegistry::thumbMgr);
    EXPECT_EQ(stores.psniThumbMgr, DatabaseRegistry::psniThumbMgr);
    EXPECT_EQ(stores.ptiThumbMgr, DatabaseRegistry::ptiThumbMgr);
    EXPECT_EQ(stores.psnfThumbMgr, DatabaseRegistry::psnfThumbMgr);
    EXPECT_EQ(stores.ptfThumbMgr, DatabaseRegistry::ptfThumbMgr);
    EXPECT_EQ(stores.albmThumbMgr, DatabaseRegistry::albmThumbMgr);
    EXPECT_EQ(stores.grfThumbMgr, DatabaseRegistry::grfThumbMgr);
    EXPECT_EQ(stores.asyncDB, DatabaseRegistry::asyncDB);
    EXPECT_EQ(stores.rfpMgr, DatabaseRegistry::rfpMgr);
    EXPECT_EQ(stores.tfpMgr, DatabaseRegistry::tfpMgr);
    EXPECT_EQ(stores.memDB, DatabaseRegistry::memDB);
    EXPECT_EQ(stores.accessLogDB, DatabaseRegistry::accessLogDB);
    EXPECT_NE(stores.gpsLogDB, nullptr);
}

TEST_F(DBUtility, AnswersItsOwnIdentifierOnly) {
    Start();
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(m_utility->QueryInterface(kIUnknownId, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_utility->QueryInterface(IID_IZanDB4DBUtility, nullptr), E_INVALIDARG);
    ASSERT_EQ(m_utility->QueryInterface(IID_IZanDB4DBUtility, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(m_utility.Get()));
    EXPECT_EQ(m_utility->Release(), 1u);
}

TEST_F(DBUtility, NotMadeWhileTheLibraryIsDown) {
    void* out = reinterpret_cast<void*>(0x5EA7);
    EXPECT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4DBUtility, &out), E_FAIL);
    EXPECT_EQ(out, reinterpret_cast<void*>(0x5EA7));
}

// ------------------------------------------------------------ GetDBVersion

TEST_F(DBUtility, GetDBVersionGivesTheStoredAndTheCurrentVersion) {
    MakeStores();
    ExecOn(Catalogue(), "UPDATE version_info_table SET version=1100");
    Start();
    uint32_t stored = 7, current = 7;
    EXPECT_EQ(m_utility->GetDBVersion(&stored, &current), S_OK);
    EXPECT_EQ(stored, 1100u);
    EXPECT_EQ(current, 1201u);
}

TEST_F(DBUtility, GetDBVersionWithBothOutsNullIsFail) {
    Start();
    EXPECT_EQ(m_utility->GetDBVersion(nullptr, nullptr), E_FAIL);
}

TEST_F(DBUtility, GetDBVersionWithOneOutNullFillsTheOther) {
    Start();
    uint32_t stored = 7;
    EXPECT_EQ(m_utility->GetDBVersion(&stored, nullptr), S_OK);
    EXPECT_EQ(stored, 1201u);
    uint32_t current = 7;
    EXPECT_EQ(m_utility->GetDBVersion(nullptr, &current), S_OK);
    EXPECT_EQ(current, 1201u);
}

TEST_F(DBUtility, GetDBVersionOfACatalogueThatIsNoDatabaseIsZero) {
    fs::create_directories(DatabaseFolder());
    zandb4::testing::WriteFile(Catalogue(), "garbage, not an SQLite file");
    Start();
    uint32_t stored = 7, current = 7;
    EXPECT_EQ(m_utility->GetDBVersion(&stored, &current), S_OK);
    EXPECT_EQ(stored, 0u);
    EXPECT_EQ(current, 1201u);
}

TEST_F(DBUtility, GetDBVersionWithoutACatalogueClearsBothAndFails) {
    CZanDB4DBUtility utility{DBUtilityStores{}};
    uint32_t stored = 7, current = 7;
    EXPECT_EQ(utility.GetDBVersion(&stored, &current), E_FAIL);
    EXPECT_EQ(stored, 0u);
    EXPECT_EQ(current, 0u);
}

TEST_F(DBUtility, GetDBVersionOfAClosedCatalogueIsZeroAndOk) {
    CSQLiteFileBasicDB closed;
    DBUtilityStores stores;
    stores.fileBasicDB = &closed;
    CZanDB4DBUtility utility{stores};
    uint32_t stored = 7, current = 7;
    EXPECT_EQ(utility.GetDBVersion(&stored, &current), S_OK);
    EXPECT_EQ(stored, 0u);
    EXPECT_EQ(current, 1201u);
}

// ------------------------------------------------------------ RepairDeadLinks

TEST_F(DBUtility, RepairDeadLinksIsNotImplementedWhateverItIsGiven) {
    Start();
    EXPECT_EQ(m_utility->RepairDeadLinks(nullptr), E_NOTIMPL);
    IZanDB4DeadLinkInfo* info = nullptr;
    ASSERT_EQ(m_utility->CheckDeadLinks(&info, 0), S_OK);
    EXPECT_EQ(m_utility->RepairDeadLinks(info), E_NOTIMPL);
    // The info is left as it was, with the caller's one reference.
    EXPECT_EQ(info->Release(), 0u);
}

// ------------------------------------------------------------ the stop's backup

TEST_F(DBUtility, TheLastFinalizeAfterACommittedSessionTakesNoBackup) {
    Start();
    ComPtr<IZanDB4TagDBMgr> tags;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TagDBMgr, reinterpret_cast<void**>(tags.Receive())), S_OK);
    ComPtr<IZanDB4TagDBRecord> tag;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4TagDBRecord, reinterpret_cast<void**>(tag.Receive())), S_OK);
    tag->SetName(u"kept");
    uint64_t id = 0;
    ASSERT_EQ(tags->AddTag(tag.Get(), &id), S_OK);
    tags.Reset();
    // The stop commits the catalogue last, and its answer decides whether a
    // backup is asked for: it is.
    ASSERT_EQ(DatabaseRegistry::fileBasicDB->Commit(false), S_OK);
    ASSERT_TRUE(DatabaseRegistry::fileBasicDB->HasCommitted());
    Stop();
    // The stop asks the factory for the utility when the count is already 0,
    // and so never gets one.
    EXPECT_FALSE(fs::exists(m_root / "database-backup"));
    EXPECT_FALSE(fs::exists(m_root / "database-backup2"));
    EXPECT_EQ(FileInteger(Catalogue(), "SELECT COUNT(*) FROM tag_table"), 1);
}

}  // namespace
}  // namespace maintenance_test
