// The statements the face store runs, character for character and in their
// order, for persons and for pets: catalogues written by earlier versions
// and the application's own tools depend on these texts (the misspelt
// atrributes column, the quoted 0, the spacing of the subqueries). The pet
// statements are the person statements with "pet" written for "person".
// The statements of the id pool are left out; they belong to the store
// base.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "face_store_fixture.h"

namespace face_store_test {
namespace {

using Texts = std::vector<std::string>;

class FaceStatements : public FaceTwinTest {
protected:
    // The person text, or its pet form for a pet.
    std::string Sql(std::string text) const {
        if (Type() == kPerson) return text;
        for (size_t at = text.find("person"); at != std::string::npos; at = text.find("person", at))
            text.replace(at, 6, "pet");
        return text;
    }
    Texts Sql(std::initializer_list<std::string> texts) const {
        Texts forms;
        for (const std::string& text : texts) forms.push_back(Sql(text));
        return forms;
    }

    // The statements that the operation stepped on the catalogue's
    // connection, inside an open transaction so that no BEGIN shows.
    Texts Traced(const std::function<void()>& operation) {
        Catalogue().BeginTransaction();
        Texts texts;
        {
            StatementTrace trace(Catalogue().m_db);
            operation();
            texts = trace.Texts();
        }
        Texts kept;
        for (const std::string& text : texts)
            if (text.find("pooled_id_table") == std::string::npos && text.find("last_id_table") == std::string::npos)
                kept.push_back(text);
        return kept;
    }
};

INSTANTIATE_TEST_SUITE_P(Twins, FaceStatements, ::testing::Values(kPersonTwin, kPetTwin), TwinName());

// ------------------------------------------------------------------ faces

TEST_P(FaceStatements, InsertFace) {
    FacePtr face = MakeFace(Type(), 100, 10, 5);
    ASSERT_TRUE(face);
    EXPECT_EQ(Traced([&] { EXPECT_EQ(Faces().InsertFace(100, Type(), face.Get()), kOk); }),
              Sql({"INSERT INTO person_face_table (person_face_id, rect, person_id, file_id) VALUES (?,?,?,?)"}));
}

TEST_P(FaceStatements, UpdateFace) {
    InsertFace(Type(), 100, 10, 5);
    FacePtr face = MakeFace(Type(), 100, 11, 6);
    ASSERT_TRUE(face);
    EXPECT_EQ(Traced([&] { EXPECT_EQ(Faces().UpdateFace(100, Type(), face.Get()), kOk); }),
              Sql({"SELECT person_face_id FROM person_face_table WHERE person_face_id=? LIMIT 1",
                   "SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1",
                   "UPDATE person_face_table SET rect=?, person_id=?, file_id=? WHERE person_face_id=?"}));
}

TEST_P(FaceStatements, DeleteFace) {
    InsertFace(Type(), 100, 10, 5);
    EXPECT_EQ(Traced([&] { EXPECT_EQ(Faces().DeleteFace(100, Type()), kOk); }),
              Sql({"SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1",
                   "DELETE FROM person_face_table WHERE person_face_id=?"}));
}

TEST_P(FaceStatements, FaceReads) {
    InsertFace(Type(), 100, 10, 5);
    EXPECT_EQ(Traced([&] {
                  FacePtr face;
                  EXPECT_EQ(Faces().LoadFace(100, Type(), face.Receive()), kOk);
                  EXPECT_TRUE(Faces().FaceExists(100, Type()));
                  CArray<IZanDB4FaceDBRecord*> faces;
                  EXPECT_EQ(Faces().GetFacesInFile(10, Type(), faces), kOk);
                  IdsOf(faces);
              }),
              Sql({"SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1",
                   "SELECT person_face_id FROM person_face_table WHERE person_face_id=? LIMIT 1",
                   "SELECT * FROM person_face_table WHERE file_id=?"}));
}

// ------------------------------------------------------------ individuals

TEST_P(FaceStatements, InsertAndUpdateIndividual) {
    IndividualPtr individual = MakeIndividual(Type(), 7, "Name");
    ASSERT_TRUE(individual);
    EXPECT_EQ(
        Traced([&] {
            EXPECT_EQ(Individuals().InsertIndividual(7, individual.Get()), kOk);
            EXPECT_EQ(Individuals().UpdateIndividual(7, individual.Get(), Type()), kOk);
        }),
        Sql({"INSERT INTO person_table (person_id, name, email, birthday, register_date, custom_index, "
             "atrributes, recommend) VALUES (?,?,?,?,?,?,?,?)",
             "UPDATE person_table SET name=?, email=?, birthday=?, atrributes=?, recommend=? WHERE person_id=?"}));
}

TEST_P(FaceStatements, DeleteIndividual) {
    InsertIndividual(Type(), 7, "Gone");
    EXPECT_EQ(
        Traced([&] { EXPECT_EQ(Individuals().DeleteIndividual(7, Type()), kOk); }),
        Sql({"UPDATE person_face_table SET person_id='0' WHERE person_id=?",
             "DELETE FROM person_group_item_table WHERE person_id=?", "DELETE FROM person_table WHERE person_id=?"}));
}

TEST_P(FaceStatements, LoadAndListIndividuals) {
    InsertIndividual(Type(), 7, "Listed");
    InsertFace(Type(), 100, 10, 7);
    EXPECT_EQ(
        Traced([&] {
            IndividualPtr loaded;
            EXPECT_EQ(Individuals().LoadIndividual(7, Type(), loaded.Receive()), kOk);
            CArray<IZanDB4IndividualDBRecord*> list;
            EXPECT_EQ(Individuals().ListIndividuals(Type(), list, 1), kOk);
            IdsOf(list);
            EXPECT_EQ(Individuals().ListIndividuals(Type(), list, 2), kOk);
            IdsOf(list);
            EXPECT_EQ(Individuals().ListIndividuals(Type(), list, 3), kOk);
            IdsOf(list);
            EXPECT_EQ(Individuals().ListIndividuals(Type(), list, 4), kOk);
            IdsOf(list);
            EXPECT_EQ(Individuals().ListIndividualsInFile(10, Type(), list, 0), kOk);
            IdsOf(list);
            Individuals().ListIndividualsInAlbum(1, Type(), list, 2);
            Individuals().ListIndividualsInFaceGroup(1, Type(), list, 4);
            CArray<uint64_t> ids;
            EXPECT_EQ(Individuals().ListIndividualIDs(Type(), ids), kOk);
        }),
        Sql({"SELECT * FROM person_table WHERE person_id=? LIMIT 1", "SELECT * FROM person_table",
             "SELECT * FROM person_table ORDER BY name ASC", "SELECT * FROM person_table ORDER BY register_date ASC",
             "SELECT * FROM person_table ORDER BY custom_index ASC, register_date ASC",
             "SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_face_table WHERE "
             "file_id=?)",
             "SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_face_table WHERE "
             "file_id IN ( SELECT file_id FROM file_table WHERE album_id=?) ) ORDER BY name ASC",
             "SELECT * FROM person_table WHERE person_id IN ( SELECT person_id FROM person_group_item_table "
             "WHERE face_group_id=?) ORDER BY custom_index ASC, register_date ASC",
             "SELECT * FROM person_table"}));
}

TEST_P(FaceStatements, FileCountAndCustomOrder) {
    InsertIndividual(Type(), 7, "Placed");
    IndividualPtr record = MakeIndividual(Type(), 7);
    ASSERT_TRUE(record);
    CArray<IZanDB4IndividualDBRecord*> array;
    array.Add(record.Get());
    EXPECT_EQ(
        Traced([&] {
            EXPECT_EQ(Individuals().SetIndividualFileCount(7, Type(), 3), kOk);
            EXPECT_EQ(Individuals().ClearCustomOrder(Type()), kOk);
            EXPECT_EQ(Individuals().SetCustomOrder(Type(), array), kOk);
        }),
        Sql({"UPDATE person_table SET file_count=? WHERE person_id=?", "UPDATE person_table SET custom_index=0",
             "UPDATE person_table SET custom_index=0", "UPDATE person_table SET custom_index=? WHERE person_id=?"}));
}

TEST_P(FaceStatements, TheRecountOfACommit) {
    InsertFace(Type(), 100, 10, 7);
    Texts expected;
    // The pet count never prepares, so it is never run.
    if (Type() == kPerson)
        expected.push_back(
            "SELECT COUNT( DISTINCT person_face_table.file_id ) FROM person_face_table WHERE "
            "person_face_table.person_id=?");
    expected.push_back(Sql("UPDATE person_table SET file_count=? WHERE person_id=?"));
    Texts texts = Traced([&] { EXPECT_EQ(Catalogue().Commit(false), kOk); });
    ASSERT_GE(texts.size(), expected.size());
    texts.resize(expected.size());
    EXPECT_EQ(texts, expected);
}

TEST_F(FaceStoreTest, GroupReadsRunTheirStatements) {
    Exec("INSERT INTO pet_group_item_table (pet_id, face_group_id) VALUES (5, 30)");
    Exec(
        "INSERT INTO face_group_table (face_group_id, face_group_type, face_group_name, face_group_desc) VALUES "
        "(30, 1, 'a', 'b')");
    Texts texts;
    {
        StatementTrace trace(Catalogue().m_db);
        std::set<uint64_t> groups;
        EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPet), kOk);
        GroupPtr group;
        EXPECT_EQ(Individuals().LoadFaceGroup(30, group.Receive()), kOk);
        // Prepared and left, never run: it does not show here.
        EXPECT_EQ(Individuals().LoadIndividualGroupIDs(groups, 5, kPerson), kInvalidArg);
        texts = trace.Texts();
    }
    EXPECT_EQ(texts, (Texts{"SELECT * FROM pet_group_item_table WHERE pet_id=?",
                            "SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1"}));
}

TEST_F(FaceStoreTest, IsIDInUseRunsTheStatementOfEachIdType) {
    Texts texts;
    {
        StatementTrace trace(Catalogue().m_db);
        for (uint32_t idType = 0; idType <= 9; ++idType) Catalogue().IsIDInUse(1, idType);
        texts = trace.Texts();
    }
    EXPECT_EQ(texts, (Texts{"SELECT * FROM file_table WHERE file_id=? LIMIT 1",
                            "SELECT * FROM album_table WHERE album_id=? LIMIT 1",
                            "SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1",
                            "SELECT * FROM person_table WHERE person_id=? LIMIT 1",
                            "SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1",
                            "SELECT * FROM pet_table WHERE pet_id=? LIMIT 1",
                            "SELECT * FROM pet_face_table WHERE pet_face_id=? LIMIT 1",
                            "SELECT * FROM tag_table WHERE tag_id=? LIMIT 1"}));
}

}  // namespace
}  // namespace face_store_test
