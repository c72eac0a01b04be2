// Points through the manager: add, update, delete, read, the lists of all
// points and of one log's, the pool of type 1, and Rollback.
#include <algorithm>

#include "gps_fixture.h"

namespace gps_test {
namespace {

using GpsPoints = GpsTest;

TEST_F(GpsPoints, AddStoresEveryColumnAndSetsTheIdOnTheRecord) {
    uint64_t log = AddLog("/a.gpx");
    const SYSTEMTIME date = Moment(2024, 5, 1, 9, 15, 30), dateUTC = Moment(2024, 5, 1, 0, 15, 30);
    ComPtr<IZanDB4GPSLogDBRecord> point = NewPoint(log, date, 35.25f, -139.5f, dateUTC);
    uint64_t id = 99;
    ASSERT_EQ(m_gps->AddLogData(point.Get(), &id), S_OK);
    EXPECT_EQ(id, 1u);
    uint64_t recordId = 0;
    point->GetID(&recordId);
    EXPECT_EQ(recordId, 1u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_id, log_file_id, date, latitude, longitude, date_utc FROM gps_log_data"),
              (Rows{{"1", std::to_string(log), std::to_string(Packed(date)), "35.25", "-139.5",
                     std::to_string(Packed(dateUTC))}}));
    EXPECT_EQ(LocationRows("SELECT typeof(latitude), typeof(longitude) FROM gps_log_data"), (Rows{{"real", "real"}}));
    // Points count from their own type, apart from the logs.
    EXPECT_EQ(LocationInteger("SELECT last_id FROM last_id_table WHERE id_type=1"), 1);
}

TEST_F(GpsPoints, NothingTestsThatTheLogExists) {
    EXPECT_EQ(AddPoint(404, Moment(2024, 5, 1, 9)), 1u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT log_file_id FROM gps_log_data"), 404);
}

TEST_F(GpsPoints, ADoubledPointFailsAndItsIdGoesBackToThePool) {
    uint64_t log = AddLog("/a.gpx");
    const SYSTEMTIME date = Moment(2024, 5, 1, 9);
    EXPECT_EQ(AddPoint(log, date, 35.0f, 139.0f), 1u);
    ComPtr<IZanDB4GPSLogDBRecord> twin = NewPoint(log, date, 35.0f, 139.0f, Moment(2030, 1, 1));
    uint64_t id = 99;
    EXPECT_EQ(m_gps->AddLogData(twin.Get(), &id), E_FAIL);
    EXPECT_EQ(id, 0u);
    // The transaction goes on: the first point and the pooled id are there.
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_data"), 1);
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table"), (Rows{{"1", "2"}}));
    // Another position of the same moment is another point, and takes the
    // pooled id.
    EXPECT_EQ(AddPoint(log, date, 35.0f, 139.5f), 2u);
}

TEST_F(GpsPoints, GetLogDataReadsEveryValueIntoANewRecordWithOneReference) {
    const SYSTEMTIME date = Moment(2024, 5, 1, 9, 15, 30), dateUTC = Moment(2024, 5, 1, 0, 15, 30);
    uint64_t id = AddPoint(3, date, 35.25f, -139.5f, dateUTC);
    ComPtr<IZanDB4GPSLogDBRecord> read;
    ASSERT_EQ(m_gps->GetLogData(id, read.Receive()), S_OK);
    EXPECT_EQ(read->AddRef(), 2u);
    EXPECT_EQ(read->Release(), 1u);
    uint64_t value = 0;
    read->GetID(&value);
    EXPECT_EQ(value, id);
    read->GetLogFileID(&value);
    EXPECT_EQ(value, 3u);
    SYSTEMTIME out{};
    read->GetDate(&out);
    EXPECT_TRUE(SameMoment(out, date));
    read->GetDateUTC(&out);
    EXPECT_TRUE(SameMoment(out, dateUTC));
    float latitude = 0, longitude = 0;
    read->GetLocation(&latitude, &longitude);
    EXPECT_EQ(latitude, 35.25f);
    EXPECT_EQ(longitude, -139.5f);
}

TEST_F(GpsPoints, GetLogDataOfAnUnknownIdFailsAndClearsTheOut) {
    ComPtr<IZanDB4GPSLogDBRecord> held = NewPoint(1, Moment(2024, 5, 1), 0, 0);
    IZanDB4GPSLogDBRecord* out = held.Get();
    EXPECT_EQ(m_gps->GetLogData(12, &out), E_FAIL);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(m_gps->GetLogData(12, nullptr), E_INVALIDARG);
}

TEST_F(GpsPoints, UpdateRewritesThePoint) {
    uint64_t id = AddPoint(1, Moment(2024, 5, 1, 9), 1.0f, 2.0f);
    const SYSTEMTIME date = Moment(2024, 5, 3, 8), dateUTC = Moment(2024, 5, 2, 23);
    ComPtr<IZanDB4GPSLogDBRecord> changed = NewPoint(2, date, -3.5f, 4.5f, dateUTC);
    ASSERT_EQ(m_gps->UpdateLogData(id, changed.Get()), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT * FROM gps_log_data"), (Rows{{std::to_string(id), "2", std::to_string(Packed(date)),
                                                                 "-3.5", "4.5", std::to_string(Packed(dateUTC))}}));
}

TEST_F(GpsPoints, UpdateOfAnUnknownIdFails) {
    AddPoint(1, Moment(2024, 5, 1, 9));
    ComPtr<IZanDB4GPSLogDBRecord> changed = NewPoint(2, Moment(2024, 5, 3), 0, 0);
    EXPECT_EQ(m_gps->UpdateLogData(2, changed.Get()), E_FAIL);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_id, log_file_id FROM gps_log_data"), (Rows{{"1", "1"}}));
}

TEST_F(GpsPoints, DeletingALogRemovesItsPointsAndTheirIdsComeBackFromThePool) {
    uint64_t log = AddLog("/a.gpx");
    uint64_t other = AddLog("/b.gpx");
    AddPoint(log, Moment(2024, 5, 1, 9));
    AddPoint(other, Moment(2024, 5, 1, 9));
    AddPoint(log, Moment(2024, 5, 1, 10));
    AddPoint(log, Moment(2024, 5, 1, 11));
    ASSERT_EQ(m_gps->DeleteLogFile(log), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_file_id FROM gps_log_file"), (Rows{{std::to_string(other)}}));
    EXPECT_EQ(LocationRows("SELECT log_id FROM gps_log_data"), (Rows{{"2"}}));
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table ORDER BY id_type, pooled_id"),
              (Rows{{"0", std::to_string(log)}, {"1", "1"}, {"1", "3"}, {"1", "4"}}));

    std::vector<uint64_t> again;
    for (int hour = 12; hour < 16; ++hour) again.push_back(AddPoint(other, Moment(2024, 5, 1, hour)));
    std::sort(again.begin(), again.end());
    // The three pooled ids first, then the counter goes on.
    EXPECT_EQ(again, (std::vector<uint64_t>{1, 3, 4, 5}));
    EXPECT_EQ(AddLog("/c.gpx"), log);
}

TEST_F(GpsPoints, ALogWithoutPointsListsNothingAndFails) {
    uint64_t log = AddLog("/a.gpx");
    AddPoint(log + 1, Moment(2024, 5, 1, 9));
    Points points;
    EXPECT_EQ(m_gps->GetLogDataOfFile(log, points.Out()), E_FAIL);
    EXPECT_EQ(points.Count(), 0);
}

TEST_F(GpsPoints, GetLogDataOfFileListsThePointsByLocalDate) {
    uint64_t log = AddLog("/a.gpx");
    uint64_t late = AddPoint(log, Moment(2024, 5, 1, 11));
    AddPoint(log + 1, Moment(2024, 5, 1, 10));
    uint64_t early = AddPoint(log, Moment(2024, 5, 1, 9));
    Points points;
    ASSERT_EQ(m_gps->GetLogDataOfFile(log, points.Out()), S_OK);
    EXPECT_EQ(points.Ids(), (std::vector<uint64_t>{early, late}));
    for (IZanDB4GPSLogDBRecord* point : points.Items()) {
        EXPECT_EQ(point->AddRef(), 2u);
        EXPECT_EQ(point->Release(), 1u);
    }
}

TEST_F(GpsPoints, AListThatHoldsItemsAlreadyGivesSOkFromAQueryThatFindsNothing) {
    uint64_t log = AddLog("/a.gpx");
    uint64_t empty = AddLog("/b.gpx");
    uint64_t point = AddPoint(log, Moment(2024, 5, 1, 9));
    Points points;
    ASSERT_EQ(m_gps->GetLogDataOfFile(log, points.Out()), S_OK);
    EXPECT_EQ(m_gps->GetLogDataOfFile(empty, points.Out()), S_OK);
    const SYSTEMTIME from = Moment(2030, 1, 1), to = Moment(2030, 1, 2);
    EXPECT_EQ(m_gps->GetLogDataInRange(&from, &to, points.Out()), S_OK);
    EXPECT_EQ(points.Ids(), std::vector<uint64_t>{point});
}

TEST_F(GpsPoints, GetAllLogDataJoinedListsPointsOfAnUnknownLogFileFirst) {
    uint64_t first = AddLog("/a.gpx", Moment(2024, 5, 1, 0), Moment(2024, 5, 1, 5));
    uint64_t second = AddLog("/b.gpx", Moment(2024, 6, 1, 0), Moment(2024, 6, 1, 5));
    uint64_t b1 = AddPoint(second, Moment(2024, 6, 1, 9));
    uint64_t a2 = AddPoint(first, Moment(2024, 5, 1, 10));
    uint64_t a1 = AddPoint(first, Moment(2024, 5, 1, 9));
    // A point of a log that does not exist, later than all others.
    uint64_t orphan = AddPoint(second + 10, Moment(2025, 1, 1));

    Points joined;
    ASSERT_EQ(m_gps->GetAllLogData(joined.Out(), true), S_OK);
    EXPECT_EQ(joined.Ids(), (std::vector<uint64_t>{orphan, a1, a2, b1}));
    Points byDate;
    ASSERT_EQ(m_gps->GetAllLogData(byDate.Out(), false), S_OK);
    EXPECT_EQ(byDate.Ids(), (std::vector<uint64_t>{a1, a2, b1, orphan}));
}

TEST_F(GpsPoints, GetAllLogDataOfAStoreWithoutPointsFails) {
    AddLog("/a.gpx");
    Points points;
    EXPECT_EQ(m_gps->GetAllLogData(points.Out(), true), E_FAIL);
    EXPECT_EQ(m_gps->GetAllLogData(points.Out(), false), E_FAIL);
    EXPECT_EQ(points.Count(), 0);
}

TEST_F(GpsPoints, TheStoreTakesOnlyTheLowByteOfTheJoinedFlag) {
    uint64_t log = AddLog("/a.gpx", Moment(2024, 5, 1));
    uint64_t point = AddPoint(log, Moment(2024, 5, 1, 9));
    uint64_t orphan = AddPoint(log + 1, Moment(2025, 1, 1));
    Points byDate;
    ASSERT_EQ(Store().GetAllLogData(byDate.Out(), 0x100), S_OK);
    EXPECT_EQ(byDate.Ids(), (std::vector<uint64_t>{point, orphan}));
    Points joined;
    ASSERT_EQ(Store().GetAllLogData(joined.Out(), 0x101), S_OK);
    EXPECT_EQ(joined.Ids(), (std::vector<uint64_t>{orphan, point}));
}

TEST_F(GpsPoints, DeleteLogDataOfAnUnknownIdIsSOkAndPoolsIt) {
    AddPoint(1, Moment(2024, 5, 1, 9));
    EXPECT_EQ(m_gps->DeleteLogData(77), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM gps_log_data"), 1);
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table"), (Rows{{"1", "77"}}));
    EXPECT_EQ(AddPoint(1, Moment(2024, 5, 1, 10)), 77u);
}

TEST_F(GpsPoints, DeletingAPointTwicePoolsItsIdTwiceAndOneTakeClearsBoth) {
    // Nothing stops an id from going to the pool twice. Taking it from the
    // pool deletes every row of that id, so it comes out once and the
    // counter goes on after it.
    uint64_t point = AddPoint(1, Moment(2024, 5, 1, 9));
    ASSERT_EQ(m_gps->DeleteLogData(point), S_OK);
    ASSERT_EQ(m_gps->DeleteLogData(point), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT id_type, pooled_id FROM pooled_id_table"),
              (Rows{{"1", std::to_string(point)}, {"1", std::to_string(point)}}));
    EXPECT_EQ(AddPoint(1, Moment(2024, 5, 1, 10)), point);
    EXPECT_EQ(AddPoint(1, Moment(2024, 5, 1, 11)), point + 1);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(GpsPoints, DeleteLogDataRemovesThePointAndLeavesTheLogsDates) {
    const SYSTEMTIME startUTC = Moment(2024, 5, 1, 0), endUTC = Moment(2024, 5, 1, 2);
    uint64_t log = AddLog("/a.gpx", startUTC, endUTC);
    uint64_t kept = AddPoint(log, Moment(2024, 5, 1, 9));
    uint64_t gone = AddPoint(log, Moment(2024, 5, 1, 11));
    ASSERT_EQ(m_gps->DeleteLogData(gone), S_OK);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationRows("SELECT log_id FROM gps_log_data"), (Rows{{std::to_string(kept)}}));
    EXPECT_EQ(LocationRows("SELECT start_date_utc, end_date_utc FROM gps_log_file"),
              (Rows{{std::to_string(Packed(startUTC)), std::to_string(Packed(endUTC))}}));
    EXPECT_EQ(AddPoint(log, Moment(2024, 5, 1, 12)), gone);
}

TEST_F(GpsPoints, AfterRollbackTheIdsPooledInThatTransactionAreNotPooledAnyMore) {
    uint64_t log = AddLog("/a.gpx");
    uint64_t kept = AddPoint(log, Moment(2024, 5, 1, 9));
    uint64_t second = AddPoint(log, Moment(2024, 5, 1, 10));
    ASSERT_EQ(m_gps->Commit(), S_OK);

    ASSERT_EQ(m_gps->DeleteLogData(second), S_OK);
    ASSERT_EQ(m_gps->DeleteLogData(kept), S_OK);
    ASSERT_EQ(m_gps->Rollback(), S_OK);

    // Both points are back, the pool is empty again, and a new point takes
    // the next id of the counter.
    Points points;
    ASSERT_EQ(m_gps->GetLogDataOfFile(log, points.Out()), S_OK);
    EXPECT_EQ(points.Ids(), (std::vector<uint64_t>{kept, second}));
    uint64_t next = AddPoint(log, Moment(2024, 5, 1, 11));
    EXPECT_EQ(next, 3u);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM pooled_id_table"), 0);
}

TEST_F(GpsPoints, RollbackDropsTheOpenAddsAndTheirIds) {
    uint64_t log = AddLog("/a.gpx");
    ASSERT_EQ(m_gps->Commit(), S_OK);
    AddPoint(log, Moment(2024, 5, 1, 9));
    AddLog("/b.gpx");
    ASSERT_EQ(m_gps->Rollback(), S_OK);
    uint32_t count = 99;
    ASSERT_EQ(m_gps->GetLogDataCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    ASSERT_EQ(m_gps->GetLogFileCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    // The counters went back with the rest.
    EXPECT_EQ(AddPoint(log, Moment(2024, 5, 1, 9)), 1u);
    EXPECT_EQ(AddLog("/b.gpx"), 2u);
}

TEST_F(GpsPoints, GetLogDataCountCountsPointsWithALogFileId) {
    uint32_t count = 99;
    ASSERT_EQ(m_gps->GetLogDataCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    AddPoint(1, Moment(2024, 5, 1, 9));
    AddPoint(2, Moment(2024, 5, 1, 9));
    ASSERT_EQ(m_gps->GetLogDataCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
    // A point whose log file id is NULL is a row, but COUNT(log_file_id)
    // leaves it out.
    ASSERT_EQ(m_gps->Commit(), S_OK);
    ASSERT_EQ(SqliteProbe(LocationFile()).Exec("UPDATE gps_log_data SET log_file_id=NULL WHERE log_id=2"), SQLITE_OK);
    ASSERT_EQ(m_gps->GetLogDataCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(GpsPoints, NullArgumentsAreInvalid) {
    uint64_t id = 5;
    EXPECT_EQ(m_gps->AddLogData(nullptr, &id), E_INVALIDARG);
    EXPECT_EQ(m_gps->UpdateLogData(1, nullptr), E_INVALIDARG);
    Points points;
    EXPECT_EQ(m_gps->GetAllLogData(nullptr, true), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogDataOfFile(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogDataOfFile(0, points.Out()), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogDataCount(nullptr), E_INVALIDARG);
    ASSERT_EQ(m_gps->Commit(), S_OK);
    EXPECT_EQ(LocationInteger("SELECT COUNT(*) FROM last_id_table"), 0);
}

}  // namespace
}  // namespace gps_test
