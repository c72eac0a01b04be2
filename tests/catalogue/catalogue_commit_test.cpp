// Commit of the catalogue: the stored counters of persons, pets, albums and
// groups that it recounts from the rows, the recount sets it empties, what it
// does when nothing is pending or the base commit refuses; and Reopen, which
// drops the pending person, pet and album recounts with the transaction.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <string>
#include <vector>

#include "catalogue_test_helpers.h"

namespace {

using catalogue_test::CopyNewCatalogueFile;
using catalogue_test::ExecAll;
using catalogue_test::kCatalogueName;
using catalogue_test::PlaceCatalogue;
using catalogue_test::QueryOn;
using storage_test::Rows;
using storage_test::SqliteTransactionOpen;
using storage_test::StatementTrace;
using storage_test::VolumeSerialOverride;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;

using IdSet = std::set<uint64_t>;

std::string FileRow(int id, int albumId, int manage, int64_t shootingDate, const std::string& name) {
    return "INSERT INTO file_table (file_id, file_name, path_key, shooting_date, album_id, manage) VALUES (" +
           std::to_string(id) + ", '" + name + "', 'key" + std::to_string(id) + "', " + std::to_string(shootingDate) +
           ", " + std::to_string(albumId) + ", " + std::to_string(manage) + ")";
}

std::string AlbumRow(int id, int count, int64_t oldest, int64_t latest) {
    return "INSERT INTO album_table (album_id, album_name, shooting_date_oldest, shooting_date_latest, "
           "album_file_count) VALUES (" +
           std::to_string(id) + ", 'album" + std::to_string(id) + "', " + std::to_string(oldest) + ", " +
           std::to_string(latest) + ", " + std::to_string(count) + ")";
}

// A new catalogue, opened, with no transaction open.
class CatalogueCommit : public ::testing::Test {
protected:
    void SetUp() override {
        CopyNewCatalogueFile(folder);
        PlaceCatalogue(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
    }

    // Rows put in with SQL on the store's connection; outside a transaction
    // they are on disk at once.
    void Insert(const std::vector<std::string>& statements) { ExecAll(store.m_db, statements); }

    Rows OnDisk(const std::string& sql) {
        SqliteProbe probe(folder / kCatalogueName);
        return probe.Rows(sql);
    }

    Rows AlbumsOnDisk() {
        return OnDisk(
            "SELECT album_id, album_file_count, shooting_date_oldest, shooting_date_latest FROM album_table "
            "ORDER BY album_id");
    }

    void ExpectAllSetsEmpty() {
        EXPECT_EQ(store.PersonRecounts(), IdSet{});
        EXPECT_EQ(store.PetRecounts(), IdSet{});
        EXPECT_EQ(store.AlbumRecounts(), IdSet{});
        EXPECT_EQ(store.PersonGroupRecounts(), IdSet{});
        EXPECT_EQ(store.PetGroupRecounts(), IdSet{});
    }

    TempFolder folder;
    CSQLiteFileBasicDB store;
};

TEST_F(CatalogueCommit, PersonFileCountIsTheNumberOfDistinctFilesOfItsFaces) {
    Insert({"INSERT INTO person_table (person_id, name, file_count) VALUES (1, 'a', 0), (2, 'b', 7), (3, 'c', 9)",
            // Person 1: three faces on two files.
            "INSERT INTO person_face_table (person_face_id, file_id, person_id) VALUES (1, 10, 1), (2, 10, 1), "
            "(3, 11, 1), (4, 12, 3), (5, 13, 2)",
            "DELETE FROM person_face_table WHERE person_id=2"});
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteIndividualForRecount(2, CSQLiteFileBasicDB::kPerson);

    EXPECT_EQ(store.Commit(false), S_OK);

    // Person 3 was not to be recounted and keeps its stale count.
    EXPECT_EQ(OnDisk("SELECT person_id, file_count FROM person_table ORDER BY person_id"),
              (Rows{{"1", "2"}, {"2", "0"}, {"3", "9"}}));
}

TEST_F(CatalogueCommit, PetFileCountBecomesZeroWhateverItsFacesSay) {
    Insert({"INSERT INTO pet_table (pet_id, name, file_count) VALUES (1, 'a', 5), (2, 'b', 4)",
            "INSERT INTO pet_face_table (pet_face_id, file_id, pet_id) VALUES (1, 10, 1), (2, 11, 1), (3, 12, 2)"});
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPet);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(OnDisk("SELECT pet_id, file_count FROM pet_table ORDER BY pet_id"), (Rows{{"1", "0"}, {"2", "4"}}));
}

TEST_F(CatalogueCommit, PetRecountDoesNotTouchAPersonOfTheSameId) {
    Insert({"INSERT INTO person_table (person_id, file_count) VALUES (1, 6)",
            "INSERT INTO pet_table (pet_id, file_count) VALUES (1, 5)"});
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPet);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(OnDisk("SELECT file_count FROM person_table"), (Rows{{"6"}}));
    EXPECT_EQ(OnDisk("SELECT file_count FROM pet_table"), (Rows{{"0"}}));
}

TEST_F(CatalogueCommit, AlbumCountTakesManagedFilesOnlyWhileTheDateRangeTakesAll) {
    Insert({AlbumRow(1, 0, 0, 0), AlbumRow(2, 8, 8, 8), FileRow(1, 1, 1, 300, "c"), FileRow(2, 1, 0, 100, "a"),
            FileRow(3, 1, 1, 200, "b"), FileRow(4, 1, 0, 400, "d"), FileRow(5, 2, 1, 50, "e")});
    store.NoteAlbumForRecount(1);

    EXPECT_EQ(store.Commit(false), S_OK);

    // Album 2 was not to be recounted.
    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "2", "100", "400"}, {"2", "8", "8", "8"}}));
}

TEST_F(CatalogueCommit, AlbumDateRangePassesOverLeadingZeroDates) {
    Insert({AlbumRow(1, 0, 0, 0), FileRow(1, 1, 1, 0, "a"), FileRow(2, 1, 1, 0, "b"), FileRow(3, 1, 1, 700, "c"),
            FileRow(4, 1, 1, 500, "d")});
    store.NoteAlbumForRecount(1);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "4", "500", "700"}}));
}

TEST_F(CatalogueCommit, AlbumWithOnlyZeroDatesGetsAZeroRange) {
    Insert({AlbumRow(1, 0, 3, 9), FileRow(1, 1, 1, 0, "a"), FileRow(2, 1, 1, 0, "b")});
    store.NoteAlbumForRecount(1);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "2", "0", "0"}}));
}

TEST_F(CatalogueCommit, AlbumWithASingleFileHasItsDateAsBothEnds) {
    Insert({AlbumRow(1, 0, 0, 0), FileRow(1, 1, 0, 1234, "a")});
    store.NoteAlbumForRecount(1);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "0", "1234", "1234"}}));
}

TEST_F(CatalogueCommit, AlbumWhoseLastFileWasDeletedGetsZeroCountAndZeroDates) {
    Insert({AlbumRow(1, 1, 100, 100), FileRow(1, 1, 1, 100, "a")});
    Insert({"DELETE FROM file_table WHERE file_id=1"});
    store.NoteAlbumForRecount(1);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "0", "0", "0"}}));
}

TEST_F(CatalogueCommit, AlbumIdZeroIsSkipped) {
    Insert({AlbumRow(0, 99, 1, 2), AlbumRow(3, 0, 0, 0), FileRow(1, 0, 1, 500, "a"), FileRow(2, 3, 1, 600, "b")});
    store.NoteAlbumForRecount(0);
    store.NoteAlbumForRecount(3);
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"0", "99", "1", "2"}, {"3", "1", "600", "600"}}));
    // One album was recounted: one count, one walk.
    EXPECT_EQ(trace.Count("SELECT COUNT(*) FROM file_table WHERE album_id=? AND file_table.manage=1"), 1u);
    EXPECT_EQ(trace.Count("SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date ASC, file_name ASC"), 1u);
}

TEST_F(CatalogueCommit, PersonGroupCountLandsOnThePersonRowOfTheGroupId) {
    Insert({"INSERT INTO person_table (person_id, file_count) VALUES (3, 0), (4, 7)",
            "INSERT INTO person_face_feature_point_group_item_table (face_id, feature_point_id, group_id) VALUES "
            "(1, 1, 3), (2, 1, 3), (3, 1, 4)"});
    store.NoteGroupForRecount(3, CSQLiteFileBasicDB::kPerson);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(OnDisk("SELECT person_id, file_count FROM person_table ORDER BY person_id"),
              (Rows{{"3", "2"}, {"4", "7"}}));
}

TEST_F(CatalogueCommit, PetGroupCountLandsOnThePetRowOfTheGroupId) {
    Insert({"INSERT INTO pet_table (pet_id, file_count) VALUES (5, 0)",
            "INSERT INTO person_table (person_id, file_count) VALUES (5, 0)",
            "INSERT INTO pet_face_feature_point_group_item_table (face_id, feature_point_id, group_id) VALUES "
            "(1, 1, 5), (2, 1, 5), (3, 1, 5)"});
    store.NoteGroupForRecount(5, CSQLiteFileBasicDB::kPet);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(OnDisk("SELECT pet_id, file_count FROM pet_table"), (Rows{{"5", "3"}}));
    EXPECT_EQ(OnDisk("SELECT person_id, file_count FROM person_table"), (Rows{{"5", "0"}}));
}

TEST_F(CatalogueCommit, RecountsRunInOrderWithTheirOwnStatements) {
    Insert({"INSERT INTO person_table (person_id) VALUES (1)", "INSERT INTO pet_table (pet_id) VALUES (1)",
            AlbumRow(1, 0, 0, 0)});
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPet);
    store.NoteAlbumForRecount(1);
    store.NoteGroupForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteGroupForRecount(1, CSQLiteFileBasicDB::kPet);
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    // The pet count never prepares, so it never runs; its update still does.
    EXPECT_EQ(trace.Statements(),
              (std::vector<std::string>{
                  "SELECT COUNT( DISTINCT person_face_table.file_id ) FROM person_face_table WHERE "
                  "person_face_table.person_id=?",
                  "BEGIN;",
                  "UPDATE person_table SET file_count=? WHERE person_id=?",
                  "UPDATE pet_table SET file_count=? WHERE pet_id=?",
                  "SELECT COUNT(*) FROM file_table WHERE album_id=? AND file_table.manage=1",
                  "UPDATE album_table SET album_file_count=? WHERE album_id=?",
                  "SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date ASC, file_name ASC",
                  "UPDATE album_table SET shooting_date_oldest=?, shooting_date_latest=? WHERE album_id=?",
                  "SELECT COUNT(*) FROM person_face_feature_point_group_item_table WHERE group_id=?",
                  "UPDATE person_table SET file_count=? WHERE person_id=?",
                  "SELECT COUNT(*) FROM pet_face_feature_point_group_item_table WHERE group_id=?",
                  "UPDATE pet_table SET file_count=? WHERE pet_id=?",
                  "COMMIT;",
              }));
}

TEST_F(CatalogueCommit, AllFiveSetsAreEmptyAfterCommit) {
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteIndividualForRecount(2, CSQLiteFileBasicDB::kPerson);
    store.NoteIndividualForRecount(3, CSQLiteFileBasicDB::kPet);
    store.NoteAlbumForRecount(0);
    store.NoteAlbumForRecount(4);
    store.NoteGroupForRecount(5, CSQLiteFileBasicDB::kPerson);
    store.NoteGroupForRecount(6, CSQLiteFileBasicDB::kPet);
    store.NoteGroupForRecount(7, CSQLiteFileBasicDB::kPet);

    EXPECT_EQ(store.Commit(false), S_OK);

    ExpectAllSetsEmpty();
}

TEST_F(CatalogueCommit, NothingToRecountRunsOnlyTheBaseCommit) {
    store.BeginTransaction();
    Insert({AlbumRow(1, 5, 1, 2)});
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(trace.Statements(), (std::vector<std::string>{"COMMIT;"}));
    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "5", "1", "2"}}));
}

TEST_F(CatalogueCommit, IdleCommitWithNothingToRecountRunsNoStatement) {
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_TRUE(trace.Statements().empty());
    EXPECT_EQ(store.HasCommitted(), 0);
}

TEST_F(CatalogueCommit, ForceIsPassedToTheBaseCommit) {
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(true), S_OK);

    EXPECT_EQ(trace.Statements(), (std::vector<std::string>{"COMMIT;"}));
    EXPECT_EQ(store.HasCommitted(), 1);
}

TEST_F(CatalogueCommit, RecountOpensTheTransactionItWritesIn) {
    Insert({AlbumRow(1, 5, 1, 2)});
    store.NoteAlbumForRecount(1);
    ASSERT_EQ(store.m_inTransaction, 0);
    StatementTrace trace(store);

    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(trace.Count("BEGIN;"), 1u);
    EXPECT_EQ(trace.Count("COMMIT;"), 1u);
    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "0", "0", "0"}}));
}

// The base Commit refuses after the volume under the file changed.
class CatalogueCommitOnSwappedVolume : public ::testing::Test {
protected:
    void SetUp() override {
        CopyNewCatalogueFile(folder);
        PlaceCatalogue(store, folder);
        ASSERT_EQ(store.Open(), S_OK);
        ASSERT_EQ(store.m_volumeSerial, 111u);
    }

    VolumeSerialOverride volume{111};
    TempFolder folder;
    CSQLiteFileBasicDB store;
};

TEST_F(CatalogueCommitOnSwappedVolume, RecountsRunAndSetsEmptyWhileTheirUpdatesStayOpen) {
    ExecAll(store.m_db, {AlbumRow(1, 9, 9, 9), FileRow(1, 1, 1, 300, "a"),
                         "INSERT INTO person_table (person_id, file_count) VALUES (1, 0)",
                         "INSERT INTO person_face_table (person_face_id, file_id, person_id) VALUES (1, 1, 1)"});
    store.NoteAlbumForRecount(1);
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteGroupForRecount(8, CSQLiteFileBasicDB::kPerson);
    volume.Set(222);

    EXPECT_EQ(store.Commit(false), E_FAIL);

    EXPECT_EQ(store.PersonRecounts(), IdSet{});
    EXPECT_EQ(store.AlbumRecounts(), IdSet{});
    EXPECT_EQ(store.PersonGroupRecounts(), IdSet{});
    EXPECT_EQ(store.m_inTransaction, 1);
    EXPECT_TRUE(SqliteTransactionOpen(store.m_db));
    // The store's connection sees the recounts, the disk does not yet.
    EXPECT_EQ(QueryOn(store.m_db, "SELECT album_file_count, shooting_date_oldest, shooting_date_latest FROM album_table"),
              (Rows{{"1", "300", "300"}}));
    EXPECT_EQ(QueryOn(store.m_db, "SELECT file_count FROM person_table"), (Rows{{"1"}}));
    {
        SqliteProbe probe(folder / kCatalogueName);
        EXPECT_EQ(probe.Rows("SELECT album_file_count, shooting_date_oldest, shooting_date_latest FROM album_table"),
                  (Rows{{"9", "9", "9"}}));
        EXPECT_EQ(probe.Rows("SELECT file_count FROM person_table"), (Rows{{"0"}}));
    }

    // The disk coming back takes the open transaction.
    volume.Set(111);
    EXPECT_EQ(store.Commit(false), S_OK);
    SqliteProbe probe(folder / kCatalogueName);
    EXPECT_EQ(probe.Rows("SELECT album_file_count, shooting_date_oldest, shooting_date_latest FROM album_table"),
              (Rows{{"1", "300", "300"}}));
    EXPECT_EQ(probe.Rows("SELECT file_count FROM person_table"), (Rows{{"1"}}));
}

TEST_F(CatalogueCommit, DestructorCommitsTheOpenTransactionWithoutRecounting) {
    {
        CSQLiteFileBasicDB other;
        PlaceCatalogue(other, folder);
        ASSERT_EQ(store.Close(), S_OK);
        ASSERT_EQ(other.Open(), S_OK);
        ExecAll(other.m_db, {AlbumRow(1, 5, 1, 2), FileRow(1, 1, 1, 300, "a")});
        other.BeginTransaction();
        ExecAll(other.m_db, {FileRow(2, 1, 1, 400, "b")});
        other.NoteAlbumForRecount(1);
    }

    EXPECT_EQ(OnDisk("SELECT file_id FROM file_table ORDER BY file_id"), (Rows{{"1"}, {"2"}}));
    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "5", "1", "2"}}));
}

// Reopen: the library's rollback.
using CatalogueReopen = CatalogueCommit;

TEST_F(CatalogueReopen, EmptiesThePersonPetAndAlbumSetsButNotTheGroupSets) {
    store.NoteIndividualForRecount(1, CSQLiteFileBasicDB::kPerson);
    store.NoteIndividualForRecount(2, CSQLiteFileBasicDB::kPet);
    store.NoteAlbumForRecount(3);
    store.NoteGroupForRecount(4, CSQLiteFileBasicDB::kPerson);
    store.NoteGroupForRecount(5, CSQLiteFileBasicDB::kPet);
    store.NoteGroupForRecount(6, CSQLiteFileBasicDB::kPet);

    EXPECT_EQ(store.Reopen(), S_OK);

    EXPECT_EQ(store.PersonRecounts(), IdSet{});
    EXPECT_EQ(store.PetRecounts(), IdSet{});
    EXPECT_EQ(store.AlbumRecounts(), IdSet{});
    EXPECT_EQ(store.PersonGroupRecounts(), IdSet{4});
    EXPECT_EQ(store.PetGroupRecounts(), (IdSet{5, 6}));
}

TEST_F(CatalogueReopen, DropsTheOpenTransaction) {
    Insert({AlbumRow(1, 5, 1, 2)});
    store.BeginTransaction();
    Insert({AlbumRow(2, 6, 3, 4), "UPDATE album_table SET album_file_count=50 WHERE album_id=1"});

    EXPECT_EQ(store.Reopen(), S_OK);

    EXPECT_EQ(store.m_inTransaction, 0);
    EXPECT_FALSE(SqliteTransactionOpen(store.m_db));
    EXPECT_EQ(QueryOn(store.m_db, "SELECT album_id, album_file_count FROM album_table"), (Rows{{"1", "5"}}));
    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "5", "1", "2"}}));
}

TEST_F(CatalogueReopen, DroppedAlbumRecountLeavesTheCounterStale) {
    Insert({AlbumRow(1, 5, 1, 2), FileRow(1, 1, 1, 300, "a")});
    store.NoteAlbumForRecount(1);

    ASSERT_EQ(store.Reopen(), S_OK);
    EXPECT_EQ(store.Commit(true), S_OK);

    EXPECT_EQ(AlbumsOnDisk(), (Rows{{"1", "5", "1", "2"}}));
}

TEST_F(CatalogueReopen, GroupSetsKeptAcrossReopenAreRecountedAtTheNextCommit) {
    Insert({"INSERT INTO person_table (person_id, file_count) VALUES (4, 0)",
            "INSERT INTO person_face_feature_point_group_item_table (face_id, feature_point_id, group_id) VALUES "
            "(1, 1, 4)"});
    store.NoteGroupForRecount(4, CSQLiteFileBasicDB::kPerson);

    ASSERT_EQ(store.Reopen(), S_OK);
    EXPECT_EQ(store.Commit(false), S_OK);

    EXPECT_EQ(OnDisk("SELECT person_id, file_count FROM person_table"), (Rows{{"4", "1"}}));
    ExpectAllSetsEmpty();
}

}  // namespace
