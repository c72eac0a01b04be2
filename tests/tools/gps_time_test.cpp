// Moments of the gps commands: calendar arithmetic in seconds, GPX times,
// offsets from UTC and local zones (fixed, by name, the machine's), and the
// position at a moment between two track points.
#include "gps_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "track_timeline.h"

namespace {

using zandb4::tool::CivilFromSeconds;
using zandb4::tool::IsValidDate;
using zandb4::tool::LocalZone;
using zandb4::tool::ParseGpxTime;
using zandb4::tool::ParseUtcOffset;
using zandb4::tool::SecondsFromCivil;
using zandb4::tool::TrackFix;
using zandb4::tool::TrackPoint;
using zandb4::tool::TrackTimeline;
using zandb4::tool::UtcOffsetText;

SYSTEMTIME Date(int year, int month, int day, int hour, int minute, int second) {
    SYSTEMTIME date{};
    date.wYear = static_cast<uint16_t>(year);
    date.wMonth = static_cast<uint16_t>(month);
    date.wDay = static_cast<uint16_t>(day);
    date.wHour = static_cast<uint16_t>(hour);
    date.wMinute = static_cast<uint16_t>(minute);
    date.wSecond = static_cast<uint16_t>(second);
    return date;
}

std::string Text(const SYSTEMTIME& date) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", date.wYear, date.wMonth, date.wDay, date.wHour,
                  date.wMinute, date.wSecond);
    return text;
}

// Sets TZ for one test and puts the former value back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        const char* old = std::getenv("TZ");
        m_had = old != nullptr;
        if (m_had) m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

TEST(GpsTime, SecondsAndCivilDatesAgreeWithTheCLibrary) {
    EXPECT_EQ(SecondsFromCivil(1970, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(SecondsFromCivil(2021, 3, 4, 5, 6, 7), 1614834367);
    EXPECT_EQ(SecondsFromCivil(1969, 12, 31, 23, 59, 59), -1);
    // Every day from 1900 to 2100 against timegm, at a moment of that day.
    for (int64_t seconds = -2208988800LL; seconds < 4102444800LL; seconds += 86400 + 3607) {
        std::time_t asTime = static_cast<std::time_t>(seconds);
        std::tm parts{};
        gmtime_r(&asTime, &parts);
        SYSTEMTIME date = CivilFromSeconds(seconds);
        ASSERT_EQ(date.wYear, parts.tm_year + 1900) << seconds;
        ASSERT_EQ(date.wMonth, parts.tm_mon + 1) << seconds;
        ASSERT_EQ(date.wDay, parts.tm_mday) << seconds;
        ASSERT_EQ(date.wDayOfWeek, parts.tm_wday) << seconds;
        ASSERT_EQ(date.wHour, parts.tm_hour) << seconds;
        ASSERT_EQ(date.wSecond, parts.tm_sec) << seconds;
        ASSERT_EQ(SecondsFromCivil(date.wYear, date.wMonth, date.wDay, date.wHour, date.wMinute, date.wSecond),
                  seconds);
    }
}

TEST(GpsTime, ValidDatesAreDatesThatExist) {
    EXPECT_TRUE(IsValidDate(Date(2024, 2, 29, 23, 59, 59)));
    EXPECT_TRUE(IsValidDate(Date(2000, 2, 29, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2100, 2, 29, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 2, 29, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 4, 31, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 13, 1, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 0, 1, 0, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 1, 1, 24, 0, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 1, 1, 0, 60, 0)));
    EXPECT_FALSE(IsValidDate(Date(2023, 1, 1, 0, 0, 60)));
    EXPECT_FALSE(IsValidDate(Date(0, 1, 1, 0, 0, 0)));
}

TEST(GpsTime, GpxTimesInTheirFormsAndWhatIsNotOne) {
    const int64_t moment = SecondsFromCivil(2021, 3, 4, 5, 6, 7);
    EXPECT_EQ(ParseGpxTime("2021-03-04T05:06:07Z"), moment);
    EXPECT_EQ(ParseGpxTime("2021-03-04T05:06:07"), moment);
    EXPECT_EQ(ParseGpxTime("  2021-03-04T05:06:07.999Z\n"), moment);
    EXPECT_EQ(ParseGpxTime("2021-03-04T07:36:07+02:30"), moment);
    EXPECT_EQ(ParseGpxTime("2021-03-03T23:06:07-06:00"), moment);
    EXPECT_EQ(ParseGpxTime("2021-03-04T05:06:07+00:00"), moment);
    for (const char* bad :
         {"", "2021-03-04", "2021-03-04 05:06:07Z", "2021-3-4T05:06:07Z", "2021-03-04T05:06:07.Z",
          "2021-03-04T05:06:07z", "2021-03-04T05:06:07+0200", "2021-03-04T05:06:07+15:00", "2021-03-04T24:00:00Z",
          "2021-02-30T00:00:00Z", "2021-03-04T05:06:07Z trailing", "yesterday"})
        EXPECT_EQ(ParseGpxTime(bad), std::nullopt) << bad;
}

TEST(GpsTime, OffsetsFromUtc) {
    EXPECT_EQ(ParseUtcOffset("+02:00"), 7200);
    EXPECT_EQ(ParseUtcOffset("-05:30"), -19800);
    EXPECT_EQ(ParseUtcOffset("+0545"), 20700);
    EXPECT_EQ(ParseUtcOffset("-09"), -32400);
    EXPECT_EQ(ParseUtcOffset("+23:59"), 86340);
    EXPECT_EQ(ParseUtcOffset("+00:00"), 0);
    for (const char* bad : {"", "02:00", "+2", "+2:00", "+24:00", "+02:60", "+02:00:00", "UTC", "-", "+ab:cd"})
        EXPECT_EQ(ParseUtcOffset(bad), std::nullopt) << bad;
    EXPECT_EQ(UtcOffsetText(7200), "+02:00");
    EXPECT_EQ(UtcOffsetText(-19800), "-05:30");
    EXPECT_EQ(UtcOffsetText(0), "+00:00");
}

TEST(GpsTime, AFixedZoneShiftsByItsOffset) {
    std::string problem;
    std::optional<LocalZone> zone = LocalZone::Named("+05:30", problem);
    ASSERT_TRUE(zone) << problem;
    const int64_t moment = SecondsFromCivil(2021, 12, 31, 20, 0, 0);
    EXPECT_EQ(Text(zone->ToLocal(moment)), "2022-01-01 01:30:00");
    EXPECT_EQ(zone->ToUtc(Date(2022, 1, 1, 1, 30, 0)), moment);
    EXPECT_EQ(zone->Describe(), "UTC+05:30");
    std::optional<LocalZone> utc = LocalZone::Named("UTC", problem);
    ASSERT_TRUE(utc);
    EXPECT_EQ(Text(utc->ToLocal(moment)), "2021-12-31 20:00:00");
}

TEST(GpsTime, AZoneByNameFollowsItsSummerTimeAndPutsTzBack) {
    ScopedTimeZone machine("UTC0");
    std::string problem;
    {
        std::optional<LocalZone> berlin = LocalZone::Named("Europe/Berlin", problem);
        if (!berlin) GTEST_SKIP() << "no zone database: " << problem;
        EXPECT_EQ(berlin->Describe(), "Europe/Berlin");
        EXPECT_EQ(Text(berlin->ToLocal(SecondsFromCivil(2021, 1, 15, 12, 0, 0))), "2021-01-15 13:00:00");
        EXPECT_EQ(Text(berlin->ToLocal(SecondsFromCivil(2021, 7, 15, 12, 0, 0))), "2021-07-15 14:00:00");
        EXPECT_EQ(berlin->ToUtc(Date(2021, 7, 15, 14, 0, 0)), SecondsFromCivil(2021, 7, 15, 12, 0, 0));
    }
    // The machine's zone is as it was.
    EXPECT_STREQ(std::getenv("TZ"), "UTC0");
    EXPECT_EQ(Text(LocalZone::Machine().ToLocal(SecondsFromCivil(2021, 7, 15, 12, 0, 0))), "2021-07-15 12:00:00");
}

TEST(GpsTime, ZoneNamesThatAreNotZonesAreRefused) {
    for (const char* bad : {"Mars/Olympus", "../../etc/passwd", "Europe", "", "+25:00", "Europe//Berlin"}) {
        std::string problem;
        EXPECT_FALSE(LocalZone::Named(bad, problem)) << bad;
        EXPECT_FALSE(problem.empty()) << bad;
    }
}

TEST(GpsTime, TheMachinesZoneIsTheProcessZone) {
    ScopedTimeZone machine("CET-1CEST,M3.5.0,M10.5.0/3");
    LocalZone zone = LocalZone::Machine();
    EXPECT_EQ(zone.Describe(), "the machine's zone");
    EXPECT_EQ(zone.ToUtc(Date(2021, 1, 15, 13, 0, 0)), SecondsFromCivil(2021, 1, 15, 12, 0, 0));
    EXPECT_EQ(zone.ToUtc(Date(2021, 7, 15, 14, 0, 0)), SecondsFromCivil(2021, 7, 15, 12, 0, 0));
    EXPECT_EQ(Text(zone.ToLocal(SecondsFromCivil(2021, 7, 15, 12, 0, 0))), "2021-07-15 14:00:00");
}

TrackTimeline Timeline(std::initializer_list<TrackPoint> points) {
    TrackTimeline timeline;
    for (const TrackPoint& point : points) timeline.Add(point);
    timeline.Seal();
    return timeline;
}

TEST(TrackTimeline, APointAtTheMomentGivesItsPosition) {
    // Even between two points far apart.
    TrackTimeline timeline = Timeline({{1000, 10.0f, 20.0f}, {5000, 11.0f, 21.0f}, {90000, 12.0f, 22.0f}});
    TrackFix fix = timeline.Locate(5000, 300);
    EXPECT_EQ(fix.outcome, TrackFix::Outcome::kPositioned);
    EXPECT_EQ(fix.latitude, 11.0f);
    EXPECT_EQ(fix.longitude, 21.0f);
    EXPECT_EQ(timeline.Locate(1000, 0).outcome, TrackFix::Outcome::kPositioned);
    EXPECT_EQ(timeline.Locate(90000, 0).outcome, TrackFix::Outcome::kPositioned);
}

TEST(TrackTimeline, BetweenTwoPointsThePositionIsOnTheLineBetweenThem) {
    // Added out of order: Seal sorts.
    TrackTimeline timeline = Timeline({{1100, 51.0f, -1.0f}, {1000, 50.0f, 1.0f}});
    TrackFix quarter = timeline.Locate(1025, 300);
    EXPECT_EQ(quarter.outcome, TrackFix::Outcome::kPositioned);
    EXPECT_FLOAT_EQ(quarter.latitude, 50.25f);
    EXPECT_FLOAT_EQ(quarter.longitude, 0.5f);
    EXPECT_EQ(timeline.Locate(1099, 100).outcome, TrackFix::Outcome::kPositioned);
}

TEST(TrackTimeline, AGapLongerThanAllowedIsOutOfRange) {
    TrackTimeline timeline = Timeline({{1000, 1.0f, 1.0f}, {1301, 2.0f, 2.0f}});
    TrackFix fix = timeline.Locate(1100, 300);
    EXPECT_EQ(fix.outcome, TrackFix::Outcome::kInGap);
    EXPECT_EQ(fix.gapSeconds, 301);
    EXPECT_EQ(timeline.Locate(1100, 301).outcome, TrackFix::Outcome::kPositioned);
}

TEST(TrackTimeline, BeforeTheFirstAndAfterTheLastPointAndWithoutPoints) {
    TrackTimeline timeline = Timeline({{1000, 1.0f, 1.0f}, {1010, 2.0f, 2.0f}});
    EXPECT_EQ(timeline.Locate(999, 300).outcome, TrackFix::Outcome::kBeforeFirst);
    EXPECT_EQ(timeline.Locate(1011, 300).outcome, TrackFix::Outcome::kAfterLast);
    EXPECT_EQ(TrackTimeline().Locate(1000, 300).outcome, TrackFix::Outcome::kNoPoints);
}

TEST(TrackTimeline, TheLineCrossesTheDateLineTheShortWay) {
    TrackTimeline timeline = Timeline({{0, -17.0f, 179.0f}, {100, -17.0f, -179.0f}});
    TrackFix quarter = timeline.Locate(25, 300);
    EXPECT_FLOAT_EQ(quarter.longitude, 179.5f);
    TrackFix threeQuarters = timeline.Locate(75, 300);
    EXPECT_FLOAT_EQ(threeQuarters.longitude, -179.5f);
    TrackTimeline back = Timeline({{0, 0.0f, -179.0f}, {100, 0.0f, 179.0f}});
    EXPECT_FLOAT_EQ(back.Locate(25, 300).longitude, -179.5f);
}

}  // namespace
