// The GPX reader of "zandb4 gps import": track points of GPX 1.0 and 1.1
// with their UTC moments, the points it skips and why, what it says about
// files that are not XML or not GPX, and that it reads a stream in pieces
// of any size without keeping the text it does not need.
#include "gpx_reader.h"

#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <string>
#include <vector>

#include "gps_time.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace {

namespace fs = std::filesystem;
using zandb4::testing::TempFolder;
using zandb4::tool::GpxPoint;
using zandb4::tool::GpxReader;
using zandb4::tool::GpxReadResult;
using zandb4::tool::GpxSink;
using zandb4::tool::GpxSkipReason;
using zandb4::tool::ReadGpxFile;
using zandb4::tool::SecondsFromCivil;
using Outcome = GpxReadResult::Outcome;

struct Skipped {
    GpxSkipReason reason;
    uint64_t line;
    std::string detail;
};

class CollectingSink : public GpxSink {
public:
    bool TakePoint(const GpxPoint& point) override {
        points.push_back(point);
        return stopAfter == 0 || points.size() < stopAfter;
    }
    void SkipPoint(GpxSkipReason reason, uint64_t line, const std::string& detail) override {
        skipped.push_back({reason, line, detail});
    }
    std::vector<GpxPoint> points;
    std::vector<Skipped> skipped;
    size_t stopAfter = 0;  // 0: never stop
};

GpxReadResult ReadText(const std::string& text, CollectingSink& sink, size_t piece = 0) {
    GpxReader reader(sink);
    if (piece == 0) piece = text.size() == 0 ? 1 : text.size();
    for (size_t at = 0; at < text.size(); at += piece)
        if (!reader.Feed(text.data() + at, std::min(piece, text.size() - at))) return reader.Result();
    return reader.Finish();
}

const std::string kGpx11Head =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<gpx version=\"1.1\" creator=\"test\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n";

TEST(GpxReader, ReadsTheTrackPointsOfTwoTracksOfGpx11) {
    const std::string text =
        kGpx11Head +
        "<trk><name>morning</name><trkseg>\n"
        "<trkpt lat=\"52.5\" lon=\"13.25\"><ele>34</ele><time>2021-03-04T05:06:07Z</time></trkpt>\n"
        "<trkpt lat=\"-33.875\" lon=\"-151.5\"><time>2021-03-04T05:07:07.750Z</time></trkpt>\n"
        "</trkseg><trkseg>\n"
        "<trkpt lat=\"+1\" lon=\"2\"><time>2021-03-04T07:00:00+02:00</time></trkpt>\n"
        "</trkseg></trk>\n"
        "<trk><trkseg><trkpt lat=\"0\" lon=\"180\"><time>1999-12-31T23:59:59</time></trkpt>"
        "</trkseg></trk>\n"
        "</gpx>\n";
    CollectingSink sink;
    GpxReadResult result = ReadText(text, sink);
    EXPECT_EQ(result.outcome, Outcome::kRead) << result.reason;
    EXPECT_EQ(result.version, 11);
    EXPECT_EQ(result.tracks, 2u);
    EXPECT_EQ(result.emptyTracks, 0u);
    EXPECT_EQ(result.points, 4u);
    EXPECT_EQ(result.bytes, text.size());
    EXPECT_TRUE(sink.skipped.empty());
    ASSERT_EQ(sink.points.size(), 4u);
    EXPECT_EQ(sink.points[0].utcSeconds, SecondsFromCivil(2021, 3, 4, 5, 6, 7));
    EXPECT_DOUBLE_EQ(sink.points[0].latitude, 52.5);
    EXPECT_DOUBLE_EQ(sink.points[0].longitude, 13.25);
    EXPECT_EQ(sink.points[0].line, 4u);
    // Fractions of a second are dropped.
    EXPECT_EQ(sink.points[1].utcSeconds, SecondsFromCivil(2021, 3, 4, 5, 7, 7));
    EXPECT_DOUBLE_EQ(sink.points[1].latitude, -33.875);
    EXPECT_DOUBLE_EQ(sink.points[1].longitude, -151.5);
    // A time with an offset is brought to UTC.
    EXPECT_EQ(sink.points[2].utcSeconds, SecondsFromCivil(2021, 3, 4, 5, 0, 0));
    EXPECT_DOUBLE_EQ(sink.points[2].latitude, 1.0);
    // A time without a zone is UTC.
    EXPECT_EQ(sink.points[3].utcSeconds, SecondsFromCivil(1999, 12, 31, 23, 59, 59));
    EXPECT_DOUBLE_EQ(sink.points[3].longitude, 180.0);
}

TEST(GpxReader, ReadsGpx10AndAGpxRootWithoutNamespace) {
    const std::string body =
        "<trk><trkseg><trkpt lat=\"10\" lon=\"20\"><time>2004-01-02T03:04:05Z</time></trkpt></trkseg></trk></gpx>";
    CollectingSink old;
    GpxReadResult ten = ReadText("<gpx version=\"1.0\" xmlns=\"http://www.topografix.com/GPX/1/0\">" + body, old);
    EXPECT_EQ(ten.outcome, Outcome::kRead) << ten.reason;
    EXPECT_EQ(ten.version, 10);
    ASSERT_EQ(old.points.size(), 1u);
    EXPECT_EQ(old.points[0].utcSeconds, SecondsFromCivil(2004, 1, 2, 3, 4, 5));

    CollectingSink bare;
    GpxReadResult none = ReadText("<gpx version=\"1.1\">" + body, bare);
    EXPECT_EQ(none.outcome, Outcome::kRead) << none.reason;
    EXPECT_EQ(none.version, 0);
    EXPECT_EQ(bare.points.size(), 1u);
}

TEST(GpxReader, SkipsPointsWithoutUsableTimeOrPositionAndSaysWhereAndWhy) {
    const std::string text = kGpx11Head +
                             "<trk><trkseg>\n"
                             "<trkpt lat=\"1\" lon=\"1\"></trkpt>\n"                                        // 4
                             "<trkpt lat=\"1\" lon=\"1\"><time>  </time></trkpt>\n"                         // 5
                             "<trkpt lat=\"1\" lon=\"1\"><time>yesterday</time></trkpt>\n"                  // 6
                             "<trkpt lat=\"1\" lon=\"1\"><time>2021-02-29T00:00:00Z</time></trkpt>\n"       // 7
                             "<trkpt lat=\"91\" lon=\"1\"><time>2021-03-01T00:00:00Z</time></trkpt>\n"      // 8
                             "<trkpt lat=\"-90.5\" lon=\"1\"><time>2021-03-01T00:00:01Z</time></trkpt>\n"   // 9
                             "<trkpt lat=\"1\" lon=\"180.01\"><time>2021-03-01T00:00:02Z</time></trkpt>\n"  // 10
                             "<trkpt lon=\"1\"><time>2021-03-01T00:00:03Z</time></trkpt>\n"                 // 11
                             "<trkpt lat=\"north\" lon=\"1\"><time>2021-03-01T00:00:04Z</time></trkpt>\n"   // 12
                             "<trkpt lat=\"nan\" lon=\"inf\"><time>2021-03-01T00:00:05Z</time></trkpt>\n"   // 13
                             "<trkpt lat=\"90\" lon=\"-180\"><time>2021-03-01T00:00:06Z</time></trkpt>\n"   // 14
                             "</trkseg></trk></gpx>\n";
    CollectingSink sink;
    GpxReadResult result = ReadText(text, sink);
    EXPECT_EQ(result.outcome, Outcome::kRead) << result.reason;
    EXPECT_EQ(result.points, 11u);
    ASSERT_EQ(sink.points.size(), 1u);
    EXPECT_EQ(sink.points[0].line, 14u);
    EXPECT_DOUBLE_EQ(sink.points[0].latitude, 90.0);
    EXPECT_DOUBLE_EQ(sink.points[0].longitude, -180.0);
    ASSERT_EQ(sink.skipped.size(), 10u);
    const GpxSkipReason expected[] = {
        GpxSkipReason::kNoTime,     GpxSkipReason::kNoTime,     GpxSkipReason::kBadTime,    GpxSkipReason::kBadTime,
        GpxSkipReason::kOutOfRange, GpxSkipReason::kOutOfRange, GpxSkipReason::kOutOfRange, GpxSkipReason::kNoPosition,
        GpxSkipReason::kNoPosition, GpxSkipReason::kNoPosition};
    for (size_t i = 0; i < sink.skipped.size(); ++i) {
        EXPECT_EQ(sink.skipped[i].reason, expected[i]) << i;
        EXPECT_EQ(sink.skipped[i].line, 4 + i) << i;
    }
    EXPECT_EQ(sink.skipped[2].detail, "yesterday");
    EXPECT_EQ(sink.skipped[4].detail, "lat '91', lon '1'");
    EXPECT_EQ(sink.skipped[7].detail, "lat missing, lon '1'");
}

TEST(GpxReader, TakesOnlyTrackPointsAndTheirOwnTime) {
    const std::string text =
        kGpx11Head +
        "<wpt lat=\"1\" lon=\"1\"><time>2021-03-01T00:00:00Z</time></wpt>\n"
        "<rte><rtept lat=\"1\" lon=\"1\"><time>2021-03-01T00:00:00Z</time></rtept></rte>\n"
        "<trk><trkseg>\n"
        // A time inside extensions, or in another namespace, is not the point's time.
        "<trkpt lat=\"1\" lon=\"1\"><extensions><time>2021-03-01T00:00:00Z</time></extensions></trkpt>\n"
        "<trkpt lat=\"2\" lon=\"2\" xmlns:o=\"urn:other\"><o:time>2021-03-01T00:00:00Z</o:time></trkpt>\n"
        // The first time counts.
        "<trkpt lat=\"3\" lon=\"3\"><time>2021-03-01T00:00:01Z</time><time>2021-03-01T09:00:00Z</time></trkpt>\n"
        "</trkseg></trk>\n"
        // A trkpt outside trk/trkseg is not a track point either.
        "<trkpt lat=\"4\" lon=\"4\"><time>2021-03-01T00:00:02Z</time></trkpt>\n"
        "</gpx>\n";
    CollectingSink sink;
    GpxReadResult result = ReadText(text, sink);
    EXPECT_EQ(result.outcome, Outcome::kRead) << result.reason;
    EXPECT_EQ(result.points, 3u);
    ASSERT_EQ(sink.points.size(), 1u);
    EXPECT_DOUBLE_EQ(sink.points[0].latitude, 3.0);
    EXPECT_EQ(sink.points[0].utcSeconds, SecondsFromCivil(2021, 3, 1, 0, 0, 1));
    ASSERT_EQ(sink.skipped.size(), 2u);
    EXPECT_EQ(sink.skipped[0].reason, GpxSkipReason::kNoTime);
    EXPECT_EQ(sink.skipped[1].reason, GpxSkipReason::kNoTime);
}

TEST(GpxReader, CountsEmptyTracks) {
    CollectingSink sink;
    GpxReadResult result = ReadText(kGpx11Head +
                                        "<trk><name>nothing</name></trk>\n"
                                        "<trk><trkseg></trkseg></trk>\n"
                                        "<trk><trkseg><trkpt lat=\"1\" lon=\"1\"/></trkseg></trk>\n"
                                        "</gpx>",
                                    sink);
    EXPECT_EQ(result.outcome, Outcome::kRead);
    EXPECT_EQ(result.tracks, 3u);
    EXPECT_EQ(result.emptyTracks, 2u);
    EXPECT_EQ(result.points, 1u);
    EXPECT_TRUE(sink.points.empty());
    EXPECT_EQ(sink.skipped.size(), 1u);
}

TEST(GpxReader, TellsNotXmlFromXmlThatIsNotGpx) {
    struct Case {
        std::string text;
        Outcome outcome;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {"", Outcome::kEmpty, "empty file, not GPX"},
        {"hello, world\n", Outcome::kNotXml, "not XML (syntax error at line 1, column 0)"},
        {std::string("\x89PNG\r\n\x1a\n\0\0\0", 11), Outcome::kNotXml, "not XML ("},
        {"<gpx", Outcome::kNotXml, "not XML (unclosed token at line 1, column 0)"},
        {"<kml xmlns=\"http://www.opengis.net/kml/2.2\"><Document/></kml>", Outcome::kNotGpx,
         "XML, but not GPX: its root element is kml (namespace http://www.opengis.net/kml/2.2)"},
        {"<gpx xmlns=\"urn:something:else\"/>", Outcome::kNotGpx,
         "XML, but not GPX: its root element is gpx (namespace urn:something:else)"},
        {"<html><body>a page</body></html>", Outcome::kNotGpx, "XML, but not GPX: its root element is html"},
        {kGpx11Head + "<trk><trkseg><trkpt lat=\"1\" lon=\"1\">", Outcome::kBrokenXml, "broken XML at line 3"},
        {kGpx11Head + "<trk></trkseg></gpx>", Outcome::kBrokenXml, "broken XML at line 3, column 7: mismatched tag"},
    };
    for (const Case& test : cases) {
        CollectingSink sink;
        GpxReadResult result = ReadText(test.text, sink);
        EXPECT_EQ(result.outcome, test.outcome) << test.text;
        EXPECT_EQ(result.reason.rfind(test.reason, 0), 0u) << result.reason;
        EXPECT_TRUE(sink.points.empty());
    }
}

TEST(GpxReader, ThePiecesTheTextComesInDoNotMatter) {
    std::string text = kGpx11Head + "<trk><trkseg>\n";
    for (int i = 0; i < 50; ++i)
        text += "<trkpt lat=\"" + std::to_string(i) + ".5\" lon=\"-" + std::to_string(i) +
                "\"><time>2020-06-01T10:" + (i < 10 ? "0" : "") + std::to_string(i) + ":00Z</time></trkpt>\n";
    text += "</trkseg></trk></gpx>\n";
    CollectingSink whole, bytes, sevens;
    ReadText(text, whole);
    ReadText(text, bytes, 1);
    ReadText(text, sevens, 7);
    ASSERT_EQ(whole.points.size(), 50u);
    ASSERT_EQ(bytes.points.size(), 50u);
    ASSERT_EQ(sevens.points.size(), 50u);
    for (size_t i = 0; i < 50; ++i) {
        EXPECT_EQ(bytes.points[i].utcSeconds, whole.points[i].utcSeconds);
        EXPECT_EQ(sevens.points[i].latitude, whole.points[i].latitude);
        EXPECT_EQ(bytes.points[i].line, whole.points[i].line);
    }
}

TEST(GpxReader, AStreamOfFiftyMegabytesIsReadPieceByPiece) {
    // 2,500 points, each with 20 KB of description and a time element of
    // 1,000 characters after every hundredth point: 50 MB that never exist
    // as a whole, fed in 64 KB pieces as a file would be.
    CollectingSink sink;
    GpxReader reader(sink);
    uint64_t fed = 0;
    auto feed = [&](const std::string& text) {
        fed += text.size();
        return reader.Feed(text.data(), text.size());
    };
    ASSERT_TRUE(feed(kGpx11Head + "<trk><trkseg>\n"));
    const std::string description(20000, 'x');
    const std::string longTime(1000, '9');
    for (int i = 0; i < 2500; ++i) {
        const std::string time = i % 100 == 99 ? longTime : "2022-01-01T00:00:00Z";
        ASSERT_TRUE(feed("<trkpt lat=\"45\" lon=\"" + std::to_string(i % 180) + "\"><desc>" + description +
                         "</desc><time>" + time + "</time></trkpt>\n"));
    }
    ASSERT_TRUE(feed("</trkseg></trk></gpx>\n"));
    const GpxReadResult& result = reader.Finish();
    EXPECT_GT(fed, 50000000u);
    EXPECT_EQ(result.outcome, Outcome::kRead) << result.reason;
    EXPECT_EQ(result.bytes, fed);
    EXPECT_EQ(result.points, 2500u);
    EXPECT_EQ(sink.points.size(), 2475u);
    ASSERT_EQ(sink.skipped.size(), 25u);
    // The over-long time is kept only as far as the message needs.
    EXPECT_EQ(sink.skipped[0].reason, GpxSkipReason::kBadTime);
    EXPECT_EQ(sink.skipped[0].detail, std::string(64, '9') + "...");
}

TEST(GpxReader, StopsWhenTheSinkSaysSo) {
    std::string text = kGpx11Head + "<trk><trkseg>\n";
    for (int i = 0; i < 10; ++i)
        text += "<trkpt lat=\"1\" lon=\"" + std::to_string(i) + "\"><time>2020-06-01T10:00:00Z</time></trkpt>\n";
    text += "</trkseg></trk></gpx>\n";
    CollectingSink sink;
    sink.stopAfter = 3;
    GpxReadResult result = ReadText(text, sink);
    EXPECT_EQ(result.outcome, Outcome::kStopped);
    EXPECT_EQ(sink.points.size(), 3u);
}

TEST(GpxReader, NumbersDoNotDependOnTheLocale) {
    // A locale with a decimal comma; installed by scripts/install-deps.sh.
    const std::string before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE.UTF-8 locale";
    CollectingSink sink;
    GpxReadResult result = ReadText(
        kGpx11Head +
            "<trk><trkseg><trkpt lat=\"48.125\" lon=\"11.5\"><time>2020-06-01T10:00:00Z</time></trkpt>"
            "<trkpt lat=\"48,125\" lon=\"11,5\"><time>2020-06-01T10:00:01Z</time></trkpt></trkseg></trk></gpx>",
        sink);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(result.outcome, Outcome::kRead);
    ASSERT_EQ(sink.points.size(), 1u);
    EXPECT_DOUBLE_EQ(sink.points[0].latitude, 48.125);
    EXPECT_DOUBLE_EQ(sink.points[0].longitude, 11.5);
    ASSERT_EQ(sink.skipped.size(), 1u);
    EXPECT_EQ(sink.skipped[0].reason, GpxSkipReason::kNoPosition);
}

TEST(GpxReader, ReadsAFileAndSaysWhyAFileCannotBeRead) {
    TempFolder folder;
    const fs::path file = folder / "it's a track.gpx";
    zandb4::testing::WriteFile(file,
                               kGpx11Head +
                                   "<trk><trkseg><trkpt lat=\"1\" lon=\"2\"><time>2020-06-01T10:00:00Z</time></trkpt>"
                                   "</trkseg></trk></gpx>");
    CollectingSink sink;
    std::vector<uint64_t> progress;
    GpxReadResult read = ReadGpxFile(file.string(), sink, [&](uint64_t done) { progress.push_back(done); });
    EXPECT_EQ(read.outcome, Outcome::kRead) << read.reason;
    EXPECT_EQ(sink.points.size(), 1u);
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back(), fs::file_size(file));

    GpxReadResult missing = ReadGpxFile((folder / "missing.gpx").string(), sink);
    EXPECT_EQ(missing.outcome, Outcome::kCannotOpen);
    EXPECT_EQ(missing.reason, "no such file");
    GpxReadResult isFolder = ReadGpxFile(folder.Path().string(), sink);
    EXPECT_EQ(isFolder.outcome, Outcome::kCannotOpen);
    EXPECT_EQ(isFolder.reason, "is a folder, not a file");
    zandb4::testing::WriteFile(folder / "empty.gpx", "");
    GpxReadResult empty = ReadGpxFile((folder / "empty.gpx").string(), sink);
    EXPECT_EQ(empty.outcome, Outcome::kEmpty);
    EXPECT_EQ(sink.points.size(), 1u);
}

}  // namespace
