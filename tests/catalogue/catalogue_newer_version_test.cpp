// A catalogue written by a build of a newer major version: the library
// starts on it and reads it, but nothing written becomes durable, and what
// the file held stays as it was.
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

TEST(CatalogueNewerVersion, OpensReadsAndRefusesToCommit) {
    TempFolder root;
    // A catalogue made by this build, with one committed row, then stamped
    // as written by major version 2.
    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
    {
        IZanDB4ImportMgr* imports = nullptr;
        IZanDB4ImportDBRecord* run = nullptr;
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&imports)), S_OK);
        ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(&run)), S_OK);
        SYSTEMTIME date = {2024, 1, 0, 2, 3, 4, 5, 0};
        run->SetDate(&date);
        run->SetClass(7);
        ASSERT_EQ(imports->AddImportHistory(run), S_OK);
        ASSERT_EQ(imports->Commit(), S_OK);
        run->Release();
        imports->Release();
    }
    ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    {
        SqliteProbe probe(root / "database" / "FileBasic.db");
        ASSERT_EQ(probe.Exec("UPDATE version_info_table SET version=2000"), SQLITE_OK);
    }

    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
    CSQLiteFileBasicDB* catalogue = DatabaseRegistry::fileBasicDB;
    ASSERT_NE(catalogue, nullptr);
    EXPECT_EQ(catalogue->m_tooNew, 1);

    IZanDB4ImportMgr* imports = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&imports)), S_OK);
    // Reading works.
    IZanDB4ImportDBRecord* latest = nullptr;
    ASSERT_EQ(imports->GetLatestImportHistory(&latest), S_OK);
    uint32_t importClass = 0;
    latest->GetClass(&importClass);
    EXPECT_EQ(importClass, 7u);
    // Writing goes into the open transaction, but no commit takes it.
    EXPECT_EQ(imports->ClearImportHistory(), S_OK);
    EXPECT_EQ(imports->Commit(), E_FAIL);
    EXPECT_EQ(catalogue->Vacuum(), E_FAIL);
    latest->Release();
    imports->Release();
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);

    SqliteProbe probe(root / "database" / "FileBasic.db");
    EXPECT_EQ(probe.Integer("SELECT version FROM version_info_table"), 2000);
    EXPECT_EQ(probe.Integer("SELECT COUNT(*) FROM import_history_table"), 1);
    EXPECT_EQ(probe.Integer("SELECT import_class FROM import_history_table"), 7);
}

}  // namespace
