// The places where the person and the pet forms differ on purpose: the
// group read of a person that answers E_INVALIDARG and leaves its prepared
// statement open on the connection (which must still close), the group read
// of a pet that reads its rows, the two group item tables (no key for
// persons, one group per pet), and the count of assigned faces of the file
// manager, whose pet form never prepares.
#include <gtest/gtest.h>

#include <filesystem>
#include <system_error>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

class FaceTwins : public FaceStoreTest {
protected:
    std::set<uint64_t> Filled() { return {1, 2, 3}; }

    // How many descriptors of this process are open on the catalogue's file.
    int DescriptorsOnCatalogue() {
        std::error_code error;
        const std::filesystem::path file = std::filesystem::canonical(m_root / "database" / "FileBasic.db", error);
        EXPECT_FALSE(error);
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
            std::error_code linkError;
            std::filesystem::path target = std::filesystem::read_symlink(entry.path(), linkError);
            if (!linkError && target == file) ++count;
        }
        return count;
    }
};

// ------------------------------------------------------- person group read

TEST_F(FaceTwins, PersonGroupReadIsInvalidWithAnEmptySetAndLeavesOneStatementOpen) {
    Exec("INSERT INTO person_group_item_table (person_id, face_group_id) VALUES (5, 30)");
    const int openBefore = OpenStatements();
    const size_t leftBefore = Catalogue().StatementsLeftOpen();
    std::set<uint64_t> groups = Filled();
    EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPerson), kInvalidArg);
    EXPECT_TRUE(groups.empty());
    EXPECT_EQ(OpenStatements(), openBefore + 1);
    EXPECT_EQ(Catalogue().StatementsLeftOpen(), leftBefore + 1);

    // Every read leaves one more.
    EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 6, kPerson), kInvalidArg);
    EXPECT_EQ(OpenStatements(), openBefore + 2);
    EXPECT_EQ(Catalogue().StatementsLeftOpen(), leftBefore + 2);
}

TEST_F(FaceTwins, TheStatementLeftOpenIsThePersonGroupItemSelect) {
    const int openBefore = OpenStatements();
    std::set<uint64_t> groups;
    ASSERT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPerson), kInvalidArg);
    ASSERT_EQ(OpenStatements(), openBefore + 1);
    bool found = false;
    for (sqlite3_stmt* statement = sqlite3_next_stmt(Catalogue().m_db, nullptr); statement != nullptr;
         statement = sqlite3_next_stmt(Catalogue().m_db, statement)) {
        const char* sql = sqlite3_sql(statement);
        if (sql != nullptr && std::string(sql) == "SELECT * FROM person_group_item_table WHERE person_id=?") {
            found = true;
            // Prepared and left: never stepped, nothing bound.
            EXPECT_EQ(sqlite3_stmt_busy(statement), 0);
            EXPECT_EQ(sqlite3_sql(statement), std::string(sql));
        }
    }
    EXPECT_TRUE(found);
}

TEST_F(FaceTwins, EachPersonRecordsFirstGroupReadLeavesOneStatementOpen) {
    const int openBefore = OpenStatements();
    IndividualPtr first = MakeIndividual(kPerson, 5);
    IndividualPtr second = MakeIndividual(kPerson, 6);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->GetGroupCount(), 0u);
    EXPECT_EQ(OpenStatements(), openBefore + 1);
    CArray<uint64_t> groups;
    EXPECT_EQ(first->GetGroups(&groups), kFail);
    EXPECT_EQ(first->AddGroup(1), kOk);
    EXPECT_EQ(OpenStatements(), openBefore + 1);
    EXPECT_EQ(second->RemoveGroup(1), kOk);
    EXPECT_EQ(OpenStatements(), openBefore + 2);
}

TEST_F(FaceTwins, TheCatalogueStillCommitsAndClosesWithStatementsLeftOpen) {
    IndividualPtr person = MakeIndividual(kPerson, 5);
    ASSERT_TRUE(person);
    EXPECT_EQ(person->GetGroupCount(), 0u);
    ASSERT_GE(Catalogue().StatementsLeftOpen(), 1u);
    person.Reset();

    InsertIndividual(kPerson, 5, "Committed");
    EXPECT_EQ(Catalogue().Commit(false), kOk);
    EXPECT_EQ(Disk("SELECT name FROM person_table"), (Rows{{"Committed"}}));
    // Left in the open transaction; closing commits it.
    InsertIndividual(kPerson, 6, "Closed in");
    ASSERT_GE(DescriptorsOnCatalogue(), 1);

    Stop();
    EXPECT_EQ(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_EQ(DescriptorsOnCatalogue(), 0);
    EXPECT_EQ(Disk("SELECT person_id, name FROM person_table ORDER BY person_id"),
              (Rows{{"5", "Committed"}, {"6", "Closed in"}}));

    // The file opens again for the next start.
    ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), kOk);
    m_up = true;
    ASSERT_NE(DatabaseRegistry::fileBasicDB, nullptr);
    EXPECT_EQ(DatabaseRegistry::fileBasicDB->StatementsLeftOpen(), 0u);
}

TEST_F(FaceTwins, ReopenFinalizesTheStatementsLeftOpen) {
    std::set<uint64_t> groups;
    ASSERT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPerson), kInvalidArg);
    ASSERT_EQ(Catalogue().StatementsLeftOpen(), 1u);
    EXPECT_EQ(Catalogue().Reopen(), kOk);
    EXPECT_EQ(Catalogue().StatementsLeftOpen(), 0u);
    EXPECT_EQ(OpenStatements(), 0);
}

// ---------------------------------------------------------- pet group read

TEST_F(FaceTwins, PetGroupReadGivesTheGroupOfItsRow) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (6, 31)");
    const int openBefore = OpenStatements();
    std::set<uint64_t> groups = Filled();
    EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPet), kOk);
    EXPECT_EQ(groups, (std::set<uint64_t>{30}));
    EXPECT_EQ(OpenStatements(), openBefore);
}

TEST_F(FaceTwins, PetGroupReadOfAPetWithoutGroupsFailsWithAnEmptySet) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (6, 31)");
    const int openBefore = OpenStatements();
    std::set<uint64_t> groups = Filled();
    EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPet), kFail);
    EXPECT_TRUE(groups.empty());
    EXPECT_EQ(OpenStatements(), openBefore);
}

TEST_F(FaceTwins, GroupReadOfATypeOtherThanPersonOrPetIsInvalidWithAnEmptySet) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    const int openBefore = OpenStatements();
    for (uint32_t type : {0u, 3u}) {
        std::set<uint64_t> groups = Filled();
        EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, type), kInvalidArg) << type;
        EXPECT_TRUE(groups.empty());
    }
    EXPECT_EQ(OpenStatements(), openBefore);
    EXPECT_EQ(Catalogue().StatementsLeftOpen(), 0u);
}

// ------------------------------------------------------- group item tables

TEST_F(FaceTwins, APersonMayBeInManyGroupsAndAPetInOne) {
    EXPECT_EQ(sqlite3_exec(Catalogue().m_db,
                           "INSERT INTO person_group_item_table (person_id, face_group_id) VALUES (5, 30), (5, 31)",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(Catalogue().m_db, "INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(Catalogue().m_db, "INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 31)",
                           nullptr, nullptr, nullptr),
              SQLITE_CONSTRAINT);
    EXPECT_EQ(LiveInteger("SELECT COUNT(*) FROM person_group_item_table WHERE person_id=5"), 2);
    EXPECT_EQ(Live("SELECT face_group_id FROM pet_group_item_table WHERE pet_id=5"), (Rows{{"30"}}));
}

TEST_F(FaceTwins, TheGroupItemTablesHaveTheirOwnColumnTypesAndKeys) {
    // name, declared type, primary key position
    EXPECT_EQ(Disk("SELECT name, type, pk FROM pragma_table_info('person_group_item_table') ORDER BY cid"),
              (Rows{{"person_id", "INTEGER", "0"}, {"face_group_id", "", "0"}}));
    EXPECT_EQ(Disk("SELECT name, type, pk FROM pragma_table_info('pet_group_item_table') ORDER BY cid"),
              (Rows{{"pet_id", "INTEGER", "1"}, {"face_group_id", "INTEGER", "0"}}));
}

TEST_F(FaceTwins, ThePetFaceTableHasNoPersonColumn) {
    EXPECT_EQ(Disk("SELECT name FROM pragma_table_info('pet_face_table') ORDER BY cid"),
              (Rows{{"pet_face_id"}, {"file_id"}, {"pet_id"}, {"rect"}}));
    EXPECT_EQ(Disk("SELECT name FROM pragma_table_info('person_face_table') ORDER BY cid"),
              (Rows{{"person_face_id"}, {"file_id"}, {"person_id"}, {"rect"}}));
}

// --------------------------------------------- assigned faces, file manager

TEST_F(FaceTwins, CountOfAssignedFacesCountsPersonsAndLeavesThePetCountAsItWas) {
    InsertFace(kPerson, 100, 10, 5);
    InsertFace(kPerson, 101, 10, 0);
    InsertFace(kPerson, 102, 11, 6);
    InsertFace(kPet, 200, 10, 7);
    InsertFace(kPet, 201, 10, 8);
    ComPtr<IZanDB4FileDBMgr> manager;
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(manager.Receive())), kOk);
    ASSERT_TRUE(manager);
    uint32_t count = 99;
    EXPECT_EQ(manager->CountPersonFaces(&count), kOk);
    EXPECT_EQ(count, 2u);
    count = 99;
    EXPECT_EQ(manager->CountPetFaces(&count), kOk);
    EXPECT_EQ(count, 99u);
}

}  // namespace
}  // namespace face_store_test
