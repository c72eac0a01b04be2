// "zandb4 info" on the feature point sets: shard files and live points per
// set, the points a working set removed softly, companions not counted as
// shards, missing sets, a shard that cannot be read, and the JSON member.
#include <gtest/gtest.h>

#include <string>

#include "faces/feature_point_mgr.h"
#include "json_reader.h"
#include "library/database_registry.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"
#include "zandb4.h"

namespace {

using zandb4::testing::JsonValue;
using zandb4::testing::ParseJson;
using zandb4::testing::RunZandb4;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

class InfoFeaturePoints : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ZanDB4_Initialize(m_root.Wide().GetString()), S_OK);
        CSQLiteFaceFeaturePointDBMgr* persons = zandb4::DatabaseRegistry::rfpMgr;
        CSQLiteFaceFeaturePointDBMgr* pets = zandb4::DatabaseRegistry::tfpMgr;
        ASSERT_NE(persons, nullptr);
        ASSERT_NE(pets, nullptr);
        const char blob[] = "points";
        // Working points of faces 1 and 2 (shard 0) and 1500 (shard 1); face 2
        // leaves the working set softly.
        for (uint64_t face : {1u, 2u, 1500u})
            ASSERT_EQ(persons->Working()->InsertFeaturePoint(face, blob, sizeof(blob), 0, 0), S_OK);
        ASSERT_EQ(persons->Working()->RemoveFeaturePoint(2), S_OK);
        // One merged point of a pet group.
        ASSERT_EQ(pets->Group()->InsertFeaturePoint(7, blob, sizeof(blob), 1, 0), S_OK);
        ASSERT_EQ(persons->CommitAllShards(), S_OK);
        ASSERT_EQ(pets->CommitAllShards(), S_OK);
        ASSERT_EQ(ZanDB4_Finalize(), S_OK);
    }

    TempFolder m_root;
};

TEST_F(InfoFeaturePoints, CountsShardsLiveAndSoftlyRemovedPointsPerSet) {
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("feature point sets\n"
                           "  database/rfpw  rfp working: 2 shard files, 2 live points, 1 removed point\n"
                           "  database/rfpg  rfp group: missing\n"
                           "  database/rfpi  rfp individual: missing\n"
                           "  database/tfpw  tfp working: missing\n"
                           "  database/tfpg  tfp group: 1 shard file, 1 live point\n"
                           "  database/tfpi  tfp individual: missing\n"),
              std::string::npos)
        << run.out;
}

TEST_F(InfoFeaturePoints, AShardThatCannotBeReadIsNamedAndItsPointsLeftOut) {
    zandb4::testing::WriteFile(m_root / "database/tfpg/00000005.db", "not a database at all, just some bytes......");
    ToolRun run = RunZandb4({"info", m_root.Utf8()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("  database/tfpg  tfp group: 2 shard files, 1 live point; 1 unreadable, its points not "
                           "counted\n    database/tfpg/00000005.db  "),
              std::string::npos)
        << run.out;
}

TEST_F(InfoFeaturePoints, JsonHasAnObjectPerSet) {
    ToolRun run = RunZandb4({"info", m_root.Utf8(), "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> json = ParseJson(run.out);
    ASSERT_TRUE(json) << run.out;
    const JsonValue* sets = json->Find("feature_points");
    ASSERT_TRUE(sets && sets->items.size() == 6u) << run.out;
    const JsonValue& working = sets->items[0];
    EXPECT_EQ(working.Find("folder")->text, "database/rfpw");
    EXPECT_EQ(working.Find("shards")->Integer(), 2);
    EXPECT_EQ(working.Find("live")->Integer(), 2);
    EXPECT_EQ(working.Find("removed")->Integer(), 1);
    const JsonValue& group = sets->items[4];
    EXPECT_EQ(group.Find("set")->text, "group");
    EXPECT_EQ(group.Find("live")->Integer(), 1);
    EXPECT_EQ(group.Find("removed")->type, JsonValue::Type::kNull);
    EXPECT_FALSE(sets->items[1].Find("present")->boolean);
}

}  // namespace
