// The meta_table operations on catalogues that are not as this build makes
// them: without meta_table every statement fails to prepare and each
// operation answers its failure; without the unique index meta_file_idx (as
// after the rebuild of an old file) a second row of one file_id goes in.
// Each test starts the library on a fresh root of its own and changes the
// schema there.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "records/meta_rows.h"
#include "catalogue_meta_fixture.h"

using namespace catalogue_meta_test;

namespace {

class CatalogueMetaDamaged : public MetaTableTestBase {
protected:
    void SetUp() override {
        ASSERT_EQ(zandb4::DatabaseRegistry::initCount, 0);
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        ASSERT_NE(Store(), nullptr);
        ASSERT_NE(Store()->m_db, nullptr);
    }
    void TearDown() override { ZanDB4_Finalize(); }

    zandb4::testing::TempFolder m_root;
};

class CatalogueMetaWithoutTable : public CatalogueMetaDamaged {
protected:
    void SetUp() override {
        CatalogueMetaDamaged::SetUp();
        if (HasFatalFailure()) return;
        ExecOnStore("DROP TABLE meta_table");
    }
};

int32_t CountCall(IZanDB4FileMetaDBRecord*, void* context) {
    ++*static_cast<int*>(context);
    return 0;
}

TEST_F(CatalogueMetaWithoutTable, FindIsFailWithANullOut) {
    auto* record = reinterpret_cast<IZanDB4FileMetaDBRecord*>(0x5EA7);
    EXPECT_EQ(Store()->FindMetaRecord(&record, 1), E_FAIL);
    EXPECT_EQ(record, nullptr);
}

TEST_F(CatalogueMetaWithoutTable, InsertIsFail) { EXPECT_EQ(Insert(SampleFields(1), 0), E_FAIL); }

TEST_F(CatalogueMetaWithoutTable, InsertWithRetryIsFailToo) { EXPECT_EQ(Insert(SampleFields(1), 1), E_FAIL); }

TEST_F(CatalogueMetaWithoutTable, UpdateIsFail) { EXPECT_EQ(Update(SampleFields(1)), E_FAIL); }

TEST_F(CatalogueMetaWithoutTable, DeleteIsFail) { EXPECT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(1), E_FAIL); }

TEST_F(CatalogueMetaWithoutTable, HasIsFalse) { EXPECT_EQ(MetaTableRows(*Store()).HasMetaRecord(1), 0); }

TEST_F(CatalogueMetaWithoutTable, ListIsFailAndAddsNothing) {
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CatalogueMetaWithoutTable, ModelListIsFailAndAddsNothing) {
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CatalogueMetaWithoutTable, WalkIsFailWithoutACall) {
    int calls = 0;
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(CountCall, &calls), E_FAIL);
    EXPECT_EQ(calls, 0);
}

TEST_F(CatalogueMetaDamaged, WithoutTheUniqueIndexASecondRowOfOneFileIdGoesIn) {
    ExecOnStore("DROP INDEX meta_file_idx");
    MetaFields first = SampleFields(9, 1);
    MetaFields second = SampleFields(9, 2);
    EXPECT_EQ(Insert(first, 0), S_OK);
    EXPECT_EQ(Insert(second, 0), S_OK);
    ASSERT_EQ(Store()->Commit(false), S_OK);

    zandb4::testing::SqliteProbe probe(CatalogueFile(m_root));
    EXPECT_EQ(probe.Rows(std::string(kDiskColumns) + " ORDER BY rowid"),
              (Rows{ExpectedRow(first), ExpectedRow(second)}));
    // Find takes the first row it meets.
    IZanDB4FileMetaDBRecord* found = nullptr;
    EXPECT_EQ(Store()->FindMetaRecord(&found, 9), S_OK);
    ExpectHolds(found, first);
    ReleaseLast(found);
}

TEST_F(CatalogueMetaDamaged, WithoutTheUniqueIndexDeleteRemovesEveryRowOfTheFileId) {
    ExecOnStore("DROP INDEX meta_file_idx");
    ASSERT_EQ(Insert(SampleFields(9, 1), 0), S_OK);
    ASSERT_EQ(Insert(SampleFields(9, 2), 0), S_OK);
    ASSERT_EQ(Insert(SampleFields(10, 3), 0), S_OK);
    EXPECT_EQ(MetaTableRows(*Store()).DeleteMetaRecord(9), S_OK);
    ASSERT_EQ(Store()->Commit(false), S_OK);

    zandb4::testing::SqliteProbe probe(CatalogueFile(m_root));
    EXPECT_EQ(probe.Rows("SELECT file_id FROM meta_table ORDER BY rowid"), (Rows{{"10"}}));
}

}  // namespace
