// The calls of the README's client example (examples/client/client.cpp),
// against a temporary root, with the rows they leave checked on disk. The
// example itself is built against an installed copy and run by the install
// test (tests/install).
#include <gtest/gtest.h>

#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {

TEST(ReadmeExample, RecordsAnImportRunAndFinalizes) {
    zandb4::testing::TempFolder root;
    zandb4::testing::TempFolder cameraFolder;
    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);

    IZanDB4ImportMgr* imports = nullptr;
    IZanDB4ImportDBRecord* run = nullptr;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, reinterpret_cast<void**>(&imports)), S_OK);
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, reinterpret_cast<void**>(&run)), S_OK);
    SYSTEMTIME now = {2026, 11, 0, 21, 9, 30, 0, 0};
    run->SetDate(&now);
    run->SetClass(1);
    EXPECT_EQ(imports->AddImportHistory(run), S_OK);
    EXPECT_EQ(imports->Commit(), S_OK);
    EXPECT_EQ(run->Release(), 0u);
    EXPECT_EQ(imports->Release(), 0u);

    IZanDB4TethraImportFileMgr* camera = nullptr;
    ASSERT_EQ(ZanCamDB_CreateMgrInstance(&camera), S_OK);
    EXPECT_EQ(camera->Open(cameraFolder.Wide().GetString(), false), S_OK);
    EXPECT_EQ(camera->Close(), S_OK);
    EXPECT_EQ(camera->Release(), 0u);

    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
    zandb4::testing::SqliteProbe catalogue(root / "database" / "FileBasic.db");
    EXPECT_EQ(catalogue.Integer("SELECT import_class FROM import_history_table"), 1);
    EXPECT_EQ(catalogue.Integer("SELECT import_date FROM import_history_table"),
              CZanTDateTime(now).GetPacked());
}

}  // namespace
