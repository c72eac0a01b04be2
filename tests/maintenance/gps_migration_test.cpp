// The GPS log store's way through UpgradeDatabases: a store of version 1000
// is rebuilt, given its columns, and migrated (UTC dates of points and logs,
// state 1), ending at 1201 with a progress scale of 200; a store from 1100
// on with all columns is left alone; the progress values jump for fewer than
// 50 points and repeat for more; dates convert by the zone's offset at the
// moment of the upgrade.
#include "old_stores.h"

namespace maintenance_test {
namespace {

using Calls = std::vector<std::pair<uint32_t, uint32_t>>;

class GpsMigration : public MaintenanceTest {
protected:
    // Starts on a GPS store made by sql over a current one, upgrades with
    // the progress recorded, and stops.
    void UpgradeGpsStore(const std::string& sql) {
        MakeStores();
        ExecOn(GpsLogs(), sql);
        Start();
        ASSERT_EQ(m_utility->UpgradeDatabases(&ProgressRecorder::Callback, &m_progress), S_OK);
        Stop();
    }
    Rows Points() const {
        return FileRows(GpsLogs(), "SELECT log_id, log_file_id, date, date_utc FROM gps_log_data ORDER BY log_id");
    }
    Rows Logs() const {
        return FileRows(GpsLogs(),
                        "SELECT log_file_id, log_file_path, log_file_name, start_date, end_date, attributes, state, "
                        "start_date_utc, end_date_utc, log_location_name FROM gps_log_file ORDER BY log_file_id");
    }

    ProgressRecorder m_progress;
};

std::string S(int64_t value) {
    return std::to_string(value);
}

// Points one minute apart from 2021-03-04 05:00:00 local, in one log.
std::string ManyPoints(uint32_t count) {
    std::string sql = GpsLogRow(1, "/logs/long.log", "long.log", 0, 0, 0);
    for (uint32_t index = 0; index < count; ++index)
        sql += GpsPointRow(100 + index, 1, Packed(2021, 3, 4, 5 + index / 60, index % 60, 0), 1.0, 2.0);
    return sql;
}

TEST_F(GpsMigration, Version1000IsRebuiltMigratedAndEndsAt1201WithTotal200) {
    LocalZone zone("UTC-9");
    UpgradeGpsStore(OldGpsLogs());
    EXPECT_EQ(m_progress.Values(), (Calls{{16, 200}, {33, 200}, {50, 200}, {100, 200}, {200, 200}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    // Local dates stay; each point has its UTC date, nine hours earlier.
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2020, 7, 1, 10, 0, 0)), S(Packed(2020, 7, 1, 1, 0, 0))},
                              {"11", "1", S(Packed(2020, 7, 1, 8, 30, 0)), S(Packed(2020, 6, 30, 23, 30, 0))},
                              {"12", "1", S(Packed(2020, 7, 1, 23, 59, 59)), S(Packed(2020, 7, 1, 14, 59, 59))}}));
    // The log with points takes its span from them, local and UTC, in place
    // of the dates it had. The log without points keeps its local dates and
    // has no UTC dates. Both are marked with state 1.
    EXPECT_EQ(Logs(), (Rows{{"1", "/logs/walk.log", "walk.log", S(Packed(2020, 7, 1, 8, 30, 0)),
                             S(Packed(2020, 7, 1, 23, 59, 59)), "4", "1", S(Packed(2020, 6, 30, 23, 30, 0)),
                             S(Packed(2020, 7, 1, 14, 59, 59)), ""},
                            {"2", "/logs/empty.log", "empty.log", S(Packed(2019, 5, 5, 5, 5, 5)), S(Packed(2019, 5, 6)),
                             "0", "1", "0", "0", ""}}));
}

TEST_F(GpsMigration, TheRebuiltStoreKeepsNoIndexes) {
    LocalZone zone("UTC-9");
    UpgradeGpsStore(OldGpsLogs());
    EXPECT_EQ(FileInteger(GpsLogs(), "SELECT COUNT(*) FROM sqlite_master WHERE type='index'"), 0);
}

TEST_F(GpsMigration, Version1100WithAllColumnsIsLeftAlone) {
    LocalZone zone("UTC-9");
    std::string sql = SetVersion(1100) +
                      "INSERT INTO gps_log_file VALUES (1, '/logs/a.log', 'a.log', 5, 6, 0, 0, NULL, NULL, NULL);"
                      "INSERT INTO gps_log_data VALUES (10, 1, " +
                      S(Packed(2020, 7, 1, 10)) + ", 1.0, 2.0, NULL);";
    UpgradeGpsStore(sql);
    EXPECT_EQ(m_progress.Values(), (Calls{{100, 100}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1100);
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2020, 7, 1, 10)), "NULL"}}));
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT state, start_date_utc FROM gps_log_file"), (Rows{{"0", "NULL"}}));
    // Its indexes are untouched.
    EXPECT_EQ(FileInteger(GpsLogs(), "SELECT COUNT(*) FROM sqlite_master WHERE type='index'"), 3);
}

TEST_F(GpsMigration, AVersionBetween1100And1200MissingColumnsIsRebuiltAndMigrated) {
    LocalZone zone("UTC-9");
    std::string sql = "ALTER TABLE gps_log_file DROP COLUMN log_location_name;" + SetVersion(1150) +
                      "INSERT INTO gps_log_file VALUES (1, '/logs/a.log', 'a.log', 5, 6, 0, 0, NULL, NULL);"
                      "INSERT INTO gps_log_data VALUES (10, 1, " +
                      S(Packed(2020, 7, 1, 10)) + ", 1.0, 2.0, NULL);";
    UpgradeGpsStore(sql);
    EXPECT_EQ(m_progress.Values(), (Calls{{50, 200}, {100, 200}, {200, 200}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2020, 7, 1, 10)), S(Packed(2020, 7, 1, 1))}}));
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT state, start_date, start_date_utc, end_date_utc FROM gps_log_file"),
              (Rows{{"1", S(Packed(2020, 7, 1, 10)), S(Packed(2020, 7, 1, 1)), S(Packed(2020, 7, 1, 1))}}));
}

TEST_F(GpsMigration, Version1000WithAllColumnsIsMigratedWithoutARebuild) {
    LocalZone zone("UTC-9");
    // A run that added the columns and stopped before the version was set.
    std::string sql = SetVersion(1000) +
                      "INSERT INTO gps_log_file VALUES (1, '/logs/a.log', 'a.log', 5, 6, 0, 0, NULL, NULL, 'x');"
                      "INSERT INTO gps_log_data VALUES (10, 1, " +
                      S(Packed(2020, 7, 1, 10)) + ", 1.0, 2.0, NULL);";
    UpgradeGpsStore(sql);
    EXPECT_EQ(m_progress.Values(), (Calls{{50, 100}, {100, 100}, {100, 100}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2020, 7, 1, 10)), S(Packed(2020, 7, 1, 1))}}));
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT state, log_location_name FROM gps_log_file"), (Rows{{"1", "x"}}));
    EXPECT_EQ(FileInteger(GpsLogs(), "SELECT COUNT(*) FROM sqlite_master WHERE type='index'"), 3);
}

TEST_F(GpsMigration, FewerThan50PointsReportInStepsLargerThanOne) {
    UpgradeGpsStore(GpsTablesOfVersion1000() + ManyPoints(7));
    // 50 * i / 7 for i = 1 .. 7.
    EXPECT_EQ(
        m_progress.Values(),
        (Calls{{7, 200}, {14, 200}, {21, 200}, {28, 200}, {35, 200}, {42, 200}, {50, 200}, {100, 200}, {200, 200}}));
}

TEST_F(GpsMigration, MoreThan50PointsReportEachValueOnce) {
    UpgradeGpsStore(GpsTablesOfVersion1000() + ManyPoints(200));
    Calls expected;
    for (uint32_t value = 1; value <= 50; ++value) expected.emplace_back(value, 200);
    expected.emplace_back(100, 200);
    expected.emplace_back(200, 200);
    EXPECT_EQ(m_progress.Values(), expected);
    EXPECT_EQ(FileInteger(GpsLogs(), "SELECT COUNT(*) FROM gps_log_data WHERE date_utc IS NULL"), 0);
}

TEST_F(GpsMigration, FiftyPointsReportOnceEach) {
    UpgradeGpsStore(GpsTablesOfVersion1000() + ManyPoints(50));
    EXPECT_EQ(m_progress.calls.size(), 52u);
    EXPECT_EQ(m_progress.calls[0].current, 1u);
    EXPECT_EQ(m_progress.calls[49].current, 50u);
}

TEST_F(GpsMigration, DatesConvertByTheOffsetOfTheMomentOfTheUpgradeNotOfTheDate) {
    // Central European time; the upgrade runs in winter (one hour ahead of
    // UTC), and a summer date (two hours ahead then) is converted by the
    // winter offset all the same.
    LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3", Moment(2022, 1, 15, 12));
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "a.log", 0, 0, 0) +
                    GpsPointRow(10, 1, Packed(2021, 7, 1, 12, 0, 0), 1.0, 2.0) +
                    GpsPointRow(11, 1, Packed(2021, 1, 1, 0, 30, 0), 1.0, 2.0));
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2021, 7, 1, 12)), S(Packed(2021, 7, 1, 11))},
                              {"11", "1", S(Packed(2021, 1, 1, 0, 30)), S(Packed(2020, 12, 31, 23, 30))}}));
}

TEST_F(GpsMigration, InSummerTheSameDatesTakeTheSummerOffset) {
    LocalZone zone("CET-1CEST,M3.5.0,M10.5.0/3", Moment(2022, 7, 15, 12));
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "a.log", 0, 0, 0) +
                    GpsPointRow(10, 1, Packed(2021, 7, 1, 12, 0, 0), 1.0, 2.0) +
                    GpsPointRow(11, 1, Packed(2021, 1, 1, 0, 30, 0), 1.0, 2.0));
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2021, 7, 1, 12)), S(Packed(2021, 7, 1, 10))},
                              {"11", "1", S(Packed(2021, 1, 1, 0, 30)), S(Packed(2020, 12, 31, 22, 30))}}));
}

TEST_F(GpsMigration, APointWithoutAValidDateGetsNoUtcDate) {
    LocalZone zone("UTC-9");
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "a.log", 0, 0, 0) +
                    GpsPointRow(10, 1, 0, 1.0, 2.0) + GpsPointRow(11, 1, Packed(2021, 2, 30, 1, 0, 0), 1.0, 2.0) +
                    GpsPointRow(12, 1, Packed(2021, 2, 28, 1, 0, 0), 1.0, 2.0));
    EXPECT_EQ(Points(), (Rows{{"10", "1", "0", "0"},
                              {"11", "1", S(Packed(2021, 2, 30, 1)), "0"},
                              {"12", "1", S(Packed(2021, 2, 28, 1)), S(Packed(2021, 2, 27, 16))}}));
}

TEST_F(GpsMigration, TheUtcSpanComesFromThePointsOfTheLocalSpan) {
    LocalZone zone("UTC-9");
    // The latest local date is no valid moment and has no UTC date: the
    // log's UTC end is taken from that point all the same, not from the
    // latest UTC date.
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "a.log", 0, 0, 0) +
                    GpsPointRow(10, 1, Packed(2021, 2, 28, 1), 1.0, 2.0) +
                    GpsPointRow(11, 1, Packed(2021, 2, 30, 1), 1.0, 2.0));
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT start_date, end_date, start_date_utc, end_date_utc FROM gps_log_file"),
              (Rows{{S(Packed(2021, 2, 28, 1)), S(Packed(2021, 2, 30, 1)), S(Packed(2021, 2, 27, 16)), "0"}}));
}

TEST_F(GpsMigration, ALogThatCannotBeWrittenIsPassedOver) {
    LocalZone zone("UTC-9");
    // A log without a name cannot be updated; the other log and the points
    // go on.
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "", 7, 8, 0) +
                    GpsLogRow(2, "/b.log", "b.log", 0, 0, 0) + GpsPointRow(10, 1, Packed(2021, 1, 1, 12), 1.0, 2.0) +
                    GpsPointRow(11, 2, Packed(2021, 1, 2, 12), 1.0, 2.0));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    EXPECT_EQ(FileRows(GpsLogs(),
                       "SELECT log_file_id, start_date, state, start_date_utc FROM gps_log_file "
                       "ORDER BY log_file_id"),
              (Rows{{"1", "7", "NULL", "NULL"}, {"2", S(Packed(2021, 1, 2, 12)), "1", S(Packed(2021, 1, 2, 3))}}));
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2021, 1, 1, 12)), S(Packed(2021, 1, 1, 3))},
                              {"11", "2", S(Packed(2021, 1, 2, 12)), S(Packed(2021, 1, 2, 3))}}));
}

TEST_F(GpsMigration, AStoreWithoutPointsGetsOnlyItsStates) {
    UpgradeGpsStore(GpsTablesOfVersion1000() + GpsLogRow(1, "/a.log", "a.log", 7, 8, 0));
    // Listing the points fails on an empty store, and the migration stops
    // after the states: no progress of its own.
    EXPECT_EQ(m_progress.Values(), (Calls{{200, 200}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT start_date, end_date, state, start_date_utc FROM gps_log_file"),
              (Rows{{"7", "8", "1", "0"}}));
}

TEST_F(GpsMigration, WhenTheColumnsCouldNotAllBeAddedOnlyTheStatesAreWritten) {
    LocalZone zone("UTC-9");
    // gps_log_file has one later column, and a table in the way keeps the
    // rebuild from taking it away; adding it again fails, and so does the
    // upgrade of the tables.
    std::string sql = GpsTablesOfVersion1000() + "ALTER TABLE gps_log_file ADD COLUMN log_location_name TEXT;" +
                      "CREATE TABLE tmp_table_2 (x INTEGER);" +
                      "INSERT INTO gps_log_file VALUES (1, '/a.log', 'a.log', 7, 8, 0, 'place');" +
                      GpsPointRow(10, 1, Packed(2021, 1, 1, 12), 1.0, 2.0);
    UpgradeGpsStore(sql);
    // gps_log_data was rebuilt, so the scale is 200.
    EXPECT_EQ(m_progress.Values(), (Calls{{200, 200}}));
    EXPECT_EQ(VersionOf(GpsLogs()), 1201);
    EXPECT_EQ(FileRows(GpsLogs(), "SELECT log_file_id, log_file_path, state FROM gps_log_file"),
              (Rows{{"1", "/a.log", "1"}}));
    EXPECT_EQ(Points(), (Rows{{"10", "1", S(Packed(2021, 1, 1, 12)), "NULL"}}));
}

}  // namespace
}  // namespace maintenance_test
