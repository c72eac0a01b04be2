// The catalogue's walks over meta_table: ListMetaRecords (every row),
// ListModelMetaRecords and ForEachModelMetaRecord (rows with a model name,
// neither empty nor NULL). Lists belong to the caller and carry one
// reference per record; the walk only lends each record to its callback.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "records/meta_rows.h"
#include "catalogue_meta_fixture.h"

using namespace catalogue_meta_test;

namespace {

class CatalogueMetaList : public MetaTableTest {
protected:
    // Rows 30, 10 and 20 in that order, 10 without a model name.
    void InsertThreeRows() {
        MetaFields third = SampleFields(30, 3);
        MetaFields first = SampleFields(10, 1);
        first.modelName.clear();
        MetaFields second = SampleFields(20, 2);
        ASSERT_EQ(Insert(third), S_OK);
        ASSERT_EQ(Insert(first), S_OK);
        ASSERT_EQ(Insert(second), S_OK);
    }

    // A row whose model_name is NULL, written with SQL as older builds left it.
    void InsertRowWithNullModel(uint64_t fileId) {
        ExecOnStore("INSERT INTO meta_table (file_id, file_size, model_name, picture_mode) VALUES (" +
                    std::to_string(fileId) + ", 1, NULL, 0)");
    }
};

// What a walk's callback saw.
struct Walk {
    std::vector<uint64_t> ids;
    std::vector<ULONG> countsAfterAddRef;
    std::vector<void*> contexts;
    size_t stopAtCall = 0;  // 0: never stop
    IZanDB4FileMetaDBRecord* kept = nullptr;
    size_t keepCall = 0;  // 0: keep none
};

int32_t Visit(IZanDB4FileMetaDBRecord* record, void* context) {
    auto* walk = static_cast<Walk*>(context);
    walk->contexts.push_back(context);
    walk->ids.push_back(FileIdOf(record));
    walk->countsAfterAddRef.push_back(record->AddRef());
    record->Release();
    if (walk->ids.size() == walk->keepCall) {
        record->AddRef();
        walk->kept = record;
    }
    return walk->ids.size() == walk->stopAtCall ? 1 : 0;
}

// ---- ListMetaRecords ----

TEST_F(CatalogueMetaList, ListGivesARecordPerRowInRowOrder) {
    InsertThreeRows();
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), S_OK);
    EXPECT_EQ(IdsOf(list), (std::vector<uint64_t>{30, 10, 20}));
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ListedRecordsHoldEveryValueOfTheirRow) {
    MetaFields fields = SampleFields(44, 6);
    fields.altitudeFirst = 3;
    fields.altitudeSecond = 9;
    ASSERT_EQ(Insert(fields), S_OK);
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), S_OK);
    ASSERT_EQ(list.GetCount(), 1);
    ExpectHolds(list.GetHead(), fields);
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ListedRecordsCarryOneReferenceEach) {
    InsertThreeRows();
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    ASSERT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), S_OK);
    ASSERT_EQ(list.GetCount(), 3);
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) {
        IZanDB4FileMetaDBRecord* record = list.GetNext(position);
        EXPECT_EQ(record->AddRef(), 2u);
        EXPECT_EQ(record->Release(), 1u);
    }
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ListOfAnEmptyTableIsFailAndAddsNothing) {
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CatalogueMetaList, ListEmptiesTheCallersListFirstWithoutReleasingWhatWasInIt) {
    ASSERT_EQ(Insert(SampleFields(1)), S_OK);
    IZanDB4FileMetaDBRecord* stale = NewRecord();
    ASSERT_NE(stale, nullptr);
    CList<IZanDB4FileMetaDBRecord*> list;
    list.AddTail(stale);
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);

    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), S_OK);
    std::vector<IZanDB4FileMetaDBRecord*> held;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) held.push_back(list.GetNext(position));
    EXPECT_EQ(held.size(), 1u);
    EXPECT_EQ(std::count(held.begin(), held.end(), stale), 0);
    // The node was dropped, the record not released: the test's reference
    // is still the only one.
    EXPECT_EQ(stale->AddRef(), 2u);
    EXPECT_EQ(stale->Release(), 1u);

    for (IZanDB4FileMetaDBRecord* record : held) {
        if (record != stale) ReleaseLast(record);
    }
    list.RemoveAll();
    EXPECT_EQ(stale->Release(), 0u);
}

// ---- ListModelMetaRecords ----

TEST_F(CatalogueMetaList, ModelListSkipsRowsWithAnEmptyModelName) {
    InsertThreeRows();
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), S_OK);
    EXPECT_EQ(IdsOf(list), (std::vector<uint64_t>{30, 20}));
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ModelListSkipsRowsWithANullModelName) {
    InsertThreeRows();
    InsertRowWithNullModel(40);
    ASSERT_EQ(MetaTableRows(*Store()).HasMetaRecord(40), 1);
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), S_OK);
    EXPECT_EQ(IdsOf(list), (std::vector<uint64_t>{30, 20}));
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ARowWithANullModelNameIsStillListedByTheFullList) {
    InsertRowWithNullModel(40);
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListMetaRecords(wrapper), S_OK);
    ASSERT_EQ(list.GetCount(), 1);
    CZanTString model(u"x");
    uint32_t picture = 9, finishing = 9, artFilter = 9;
    EXPECT_EQ(list.GetHead()->GetModelInfo(model, &picture, &finishing, &artFilter, nullptr, nullptr), S_OK);
    EXPECT_TRUE(model.IsEmpty());
    EXPECT_EQ(FileIdOf(list.GetHead()), 40u);
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ModelListedRecordsHoldTheirRowAndOneReferenceEach) {
    MetaFields fields = SampleFields(55, 5);
    ASSERT_EQ(Insert(fields), S_OK);
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), S_OK);
    ASSERT_EQ(list.GetCount(), 1);
    ExpectHolds(list.GetHead(), fields);
    EXPECT_EQ(list.GetHead()->AddRef(), 2u);
    EXPECT_EQ(list.GetHead()->Release(), 1u);
    ReleaseAll(list);
}

TEST_F(CatalogueMetaList, ModelListWithoutAnyModelIsFailAndAddsNothing) {
    MetaFields fields = SampleFields(2);
    fields.modelName.clear();
    ASSERT_EQ(Insert(fields), S_OK);
    InsertRowWithNullModel(3);
    CList<IZanDB4FileMetaDBRecord*> list;
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);
    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), E_FAIL);
    EXPECT_TRUE(list.IsEmpty());
}

TEST_F(CatalogueMetaList, ModelListEmptiesTheCallersListFirstWithoutReleasingWhatWasInIt) {
    ASSERT_EQ(Insert(SampleFields(1)), S_OK);
    IZanDB4FileMetaDBRecord* stale = NewRecord();
    ASSERT_NE(stale, nullptr);
    CList<IZanDB4FileMetaDBRecord*> list;
    list.AddTail(stale);
    CZanTList<IZanDB4FileMetaDBRecord*> wrapper(&list);

    EXPECT_EQ(MetaTableRows(*Store()).ListModelMetaRecords(wrapper), S_OK);
    std::vector<IZanDB4FileMetaDBRecord*> held;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) held.push_back(list.GetNext(position));
    EXPECT_EQ(held.size(), 1u);
    EXPECT_EQ(std::count(held.begin(), held.end(), stale), 0);
    EXPECT_EQ(stale->AddRef(), 2u);
    EXPECT_EQ(stale->Release(), 1u);

    for (IZanDB4FileMetaDBRecord* record : held) {
        if (record != stale) ReleaseLast(record);
    }
    list.RemoveAll();
    EXPECT_EQ(stale->Release(), 0u);
}

// ---- ForEachModelMetaRecord ----

TEST_F(CatalogueMetaList, WalkLendsEachRecordWithAModelToTheCallbackWithTheContext) {
    InsertThreeRows();
    InsertRowWithNullModel(40);
    Walk walk;
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(Visit, &walk), S_OK);
    EXPECT_EQ(walk.ids, (std::vector<uint64_t>{30, 20}));
    EXPECT_EQ(walk.contexts, (std::vector<void*>{&walk, &walk}));
    // Inside the callback the walk holds the one reference: the record is lent.
    EXPECT_EQ(walk.countsAfterAddRef, (std::vector<ULONG>{2, 2}));
}

TEST_F(CatalogueMetaList, WalkReleasesEachRecordAfterItsCallback) {
    InsertThreeRows();
    Walk walk;
    walk.keepCall = 1;
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(Visit, &walk), S_OK);
    ASSERT_NE(walk.kept, nullptr);
    EXPECT_EQ(FileIdOf(walk.kept), 30u);
    // The reference taken in the callback is all that is left.
    EXPECT_EQ(walk.kept->Release(), 0u);
}

TEST_F(CatalogueMetaList, WalkStopsAtTheFirstNonZeroAnswer) {
    ASSERT_EQ(Insert(SampleFields(1, 1)), S_OK);
    ASSERT_EQ(Insert(SampleFields(2, 2)), S_OK);
    ASSERT_EQ(Insert(SampleFields(3, 3)), S_OK);
    Walk walk;
    walk.stopAtCall = 2;
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(Visit, &walk), S_OK);
    EXPECT_EQ(walk.ids, (std::vector<uint64_t>{1, 2}));
}

TEST_F(CatalogueMetaList, WalkOverRowsWithoutAModelCallsNothing) {
    MetaFields fields = SampleFields(2);
    fields.modelName.clear();
    ASSERT_EQ(Insert(fields), S_OK);
    InsertRowWithNullModel(3);
    Walk walk;
    MetaTableRows(*Store()).ForEachModelMetaRecord(Visit, &walk);
    EXPECT_TRUE(walk.ids.empty());
}

TEST_F(CatalogueMetaList, WalkLendsRecordsHoldingTheirRow) {
    MetaFields fields = SampleFields(66, 8);
    ASSERT_EQ(Insert(fields), S_OK);
    struct Check {
        MetaFields fields;
        int calls = 0;
    } check{fields};
    auto callback = [](IZanDB4FileMetaDBRecord* record, void* context) -> int32_t {
        auto* c = static_cast<Check*>(context);
        ++c->calls;
        ExpectHolds(record, c->fields);
        return 0;
    };
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(callback, &check), S_OK);
    EXPECT_EQ(check.calls, 1);
}

TEST_F(CatalogueMetaList, WalkWithANullCallbackIsInvalidArg) {
    ASSERT_EQ(Insert(SampleFields(1)), S_OK);
    EXPECT_EQ(MetaTableRows(*Store()).ForEachModelMetaRecord(nullptr, nullptr), E_INVALIDARG);
}

}  // namespace
