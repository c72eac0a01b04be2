// GetLogDataInRange: the logs whose UTC span overlaps a range bring in all
// their points, in track order. The two comparisons stand as they are, so a
// range that touches a log's end includes it, and a range given backwards
// matches the logs that span its gap.
#include <algorithm>

#include "gps_fixture.h"

namespace gps_test {
namespace {

// Three logs of 2024-05-01 in UTC: morning 10:00-12:00 with three points,
// evening 18:00-19:00 with one, and a long one from 05-01 00:00 to 05-03
// 00:00 with one.
class GpsRange : public GpsTest {
protected:
    void SetUp() override {
        GpsTest::SetUp();
        m_morning = AddLog("/morning.gpx", Moment(2024, 5, 1, 10), Moment(2024, 5, 1, 12));
        m_evening = AddLog("/evening.gpx", Moment(2024, 5, 1, 18), Moment(2024, 5, 1, 19));
        m_long = AddLog("/long.gpx", Moment(2024, 5, 1, 0), Moment(2024, 5, 3, 0));
        // Local time is nine hours ahead; added out of order on purpose.
        m_morningNoon = AddPoint(m_morning, Moment(2024, 5, 1, 21), 35.0f, 139.0f, Moment(2024, 5, 1, 12));
        m_morningTen = AddPoint(m_morning, Moment(2024, 5, 1, 19), 35.1f, 139.1f, Moment(2024, 5, 1, 10));
        m_morningEleven = AddPoint(m_morning, Moment(2024, 5, 1, 20), 35.2f, 139.2f, Moment(2024, 5, 1, 11));
        m_eveningPoint = AddPoint(m_evening, Moment(2024, 5, 2, 3, 30), 34.0f, 135.0f, Moment(2024, 5, 1, 18, 30));
        m_longPoint = AddPoint(m_long, Moment(2024, 5, 2, 9), 33.0f, 130.0f, Moment(2024, 5, 2, 0));
    }

    // The ids of the points in range, or the failure.
    std::vector<uint64_t> InRange(const SYSTEMTIME& start, const SYSTEMTIME& end, HRESULT expected = S_OK) {
        Points points;
        EXPECT_EQ(m_gps->GetLogDataInRange(&start, &end, points.Out()), expected);
        return points.Ids();
    }

    uint64_t m_morning = 0, m_evening = 0, m_long = 0;
    uint64_t m_morningNoon = 0, m_morningTen = 0, m_morningEleven = 0, m_eveningPoint = 0, m_longPoint = 0;
};

TEST_F(GpsRange, AnHourInsideALogBringsAllItsPointsInTrackOrder) {
    // Logs by UTC start: the long one (00:00) before the morning (10:00);
    // the morning's points by local date, also those outside the hour.
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 10, 30), Moment(2024, 5, 1, 11, 30)),
              (std::vector<uint64_t>{m_longPoint, m_morningTen, m_morningEleven, m_morningNoon}));
}

TEST_F(GpsRange, ARangeTouchingALogsEndExactlyIncludesThatLog) {
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 12), Moment(2024, 5, 1, 13)),
              (std::vector<uint64_t>{m_longPoint, m_morningTen, m_morningEleven, m_morningNoon}));
    // One second later the morning is out.
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 12, 0, 1), Moment(2024, 5, 1, 13)), std::vector<uint64_t>{m_longPoint});
}

TEST_F(GpsRange, ARangeTouchingALogsStartExactlyIncludesThatLog) {
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 17), Moment(2024, 5, 1, 18)),
              (std::vector<uint64_t>{m_longPoint, m_eveningPoint}));
}

TEST_F(GpsRange, ARangeOutsideEveryLogFindsNothing) {
    EXPECT_TRUE(InRange(Moment(2024, 5, 3, 0, 0, 1), Moment(2024, 5, 4), E_FAIL).empty());
}

TEST_F(GpsRange, AMonthBringsEveryLogThatOverlapsIt) {
    EXPECT_EQ(InRange(Moment(2024, 5, 1), Moment(2024, 5, 31, 23, 59, 59)),
              (std::vector<uint64_t>{m_longPoint, m_morningTen, m_morningEleven, m_morningNoon, m_eveningPoint}));
}

TEST_F(GpsRange, ABackwardRangeMatchesOnlyLogsThatSpanItsGap) {
    // Start 05-02 08:00 after end 05-01 11:00: a log matches when it ends at
    // or after 05-02 08:00 and starts at or before 05-01 11:00, so only the
    // long log, which covers the whole gap. The morning and evening logs lie
    // within the gap and do not match.
    EXPECT_EQ(InRange(Moment(2024, 5, 2, 8), Moment(2024, 5, 1, 11)), std::vector<uint64_t>{m_longPoint});
    // Backwards within the morning: 11:30 to 10:30 is spanned by the morning
    // and the long log.
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 11, 30), Moment(2024, 5, 1, 10, 30)),
              (std::vector<uint64_t>{m_longPoint, m_morningTen, m_morningEleven, m_morningNoon}));
}

TEST_F(GpsRange, PointsOfAnUnknownLogNeverMatch) {
    uint64_t orphan = AddPoint(m_long + 100, Moment(2024, 5, 1, 12), 1.0f, 1.0f, Moment(2024, 5, 1, 3));
    std::vector<uint64_t> all = InRange(Moment(0, 0, 0), Moment(9999, 12, 31, 23, 59, 59));
    EXPECT_EQ(all.size(), 5u);
    EXPECT_EQ(std::count(all.begin(), all.end(), orphan), 0);
}

TEST_F(GpsRange, ATieOnTheUtcStartIsOrderedByLogId) {
    uint64_t twin = AddLog("/twin.gpx", Moment(2024, 5, 1, 10), Moment(2024, 5, 1, 10, 30));
    uint64_t twinPoint = AddPoint(twin, Moment(2024, 5, 1, 19, 5), 1.0f, 1.0f);
    EXPECT_EQ(InRange(Moment(2024, 5, 1, 10, 10), Moment(2024, 5, 1, 10, 20)),
              (std::vector<uint64_t>{m_longPoint, m_morningTen, m_morningEleven, m_morningNoon, twinPoint}));
}

TEST_F(GpsRange, NullArgumentsAreInvalid) {
    const SYSTEMTIME moment = Moment(2024, 5, 1, 11);
    Points points;
    EXPECT_EQ(m_gps->GetLogDataInRange(nullptr, &moment, points.Out()), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogDataInRange(&moment, nullptr, points.Out()), E_INVALIDARG);
    EXPECT_EQ(m_gps->GetLogDataInRange(&moment, &moment, nullptr), E_INVALIDARG);
    EXPECT_EQ(points.Count(), 0);
}

TEST_F(GpsRange, EveryPointComesWithOneReference) {
    const SYSTEMTIME start = Moment(2024, 5, 1), end = Moment(2024, 5, 2);
    Points points;
    ASSERT_EQ(m_gps->GetLogDataInRange(&start, &end, points.Out()), S_OK);
    ASSERT_EQ(points.Count(), 5);
    for (IZanDB4GPSLogDBRecord* point : points.Items()) {
        EXPECT_EQ(point->AddRef(), 2u);
        EXPECT_EQ(point->Release(), 1u);
    }
    float latitude = 0.0f;
    points.Items()[0]->GetLocation(&latitude, nullptr);
    EXPECT_EQ(latitude, 33.0f);
}

}  // namespace
}  // namespace gps_test
