// "zandb4 gps import", "gps geotag" and "gps ls" end to end, on GPX files
// and catalogues the tests write: what the log store and the catalogue hold
// afterwards is read back with SQLite alone. Two tracks with a gap between
// them, a point exactly at a shooting date, a date outside every track and a
// camera clock in another zone; files that are not XML or not GPX, points
// without time or out of range, empty tracks, a 50 MB file, a path with an
// apostrophe and a missing file, each named on standard error.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "json_reader.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "tool_test_support.h"

namespace fs = std::filesystem;

namespace {

using zandb4::testing::CatalogueFileRow;
using zandb4::testing::JsonValue;
using zandb4::testing::RunZandb4;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

int64_t Packed(int year, int month, int day, int hour, int minute, int second) {
    return (int64_t{year} << 40) + (int64_t{month} << 32) + (int64_t{day} << 24) + (int64_t{hour} << 16) +
           (int64_t{minute} << 8) + second;
}

std::string Text(int64_t value) {
    return std::to_string(value);
}

struct Point {
    std::string time;  // the text of the time element; empty for none
    std::string latitude;
    std::string longitude;
};
using Track = std::vector<Point>;

const char kGpxHead[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<gpx version=\"1.1\" creator=\"zandb4 tests\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n";

std::string Gpx(const std::vector<Track>& tracks) {
    std::string text = kGpxHead;
    for (const Track& track : tracks) {
        text += "<trk><trkseg>\n";
        for (const Point& point : track) {
            text += "<trkpt lat=\"" + point.latitude + "\" lon=\"" + point.longitude + "\">";
            if (!point.time.empty()) text += "<time>" + point.time + "</time>";
            text += "</trkpt>\n";
        }
        text += "</trkseg></trk>\n";
    }
    return text + "</gpx>\n";
}

// Sets TZ for the tool runs of one test (they inherit it) and puts the
// former value back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        const char* old = std::getenv("TZ");
        m_had = old != nullptr;
        if (m_had) m_old = old;
        setenv("TZ", zone, 1);
    }
    ~ScopedTimeZone() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
    }

private:
    bool m_had = false;
    std::string m_old;
};

// Central European time with its summer time, written out so that it needs
// no zone database: +02:00 in July.
constexpr char kCentralEurope[] = "CET-1CEST,M3.5.0,M10.5.0/3";

// The morning track: three points two minutes apart. Positions are
// fractions of a power of two, which floats hold exactly, so that the
// positions between them are exact too.
const Track kMorning = {{"2021-07-01T10:00:00Z", "48.0", "11.0"},
                        {"2021-07-01T10:02:00Z", "48.25", "11.5"},
                        {"2021-07-01T10:04:00Z", "48.5", "12.0"}};
// The noon track, nearly two hours later, in a file of its own.
const Track kNoon = {{"2021-07-01T12:00:00Z", "49.0", "12.0"}, {"2021-07-01T12:01:40Z", "49.125", "12.25"}};

class GpsCommand : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(m_tracks.Path()); }

    std::string Root() const { return m_root.Utf8(); }
    fs::path Location() const { return m_root / "database" / "Location.db"; }
    fs::path Catalogue() const { return m_root / "database" / "FileBasic.db"; }

    // A catalogue with these files; their positions are 0, 0.
    void MakeCatalogue(const std::vector<CatalogueFileRow>& rows) {
        zandb4::testing::MakeCatalogue(m_root.Path(), rows);
    }

    std::string WriteTrack(const std::string& name, const std::string& text) {
        fs::path file = m_tracks / name;
        zandb4::testing::WriteFile(file, text);
        return file.string();
    }

    int64_t Count(const fs::path& store, const std::string& sql) const {
        SqliteProbe probe(store);
        return probe.Integer(sql);
    }

    std::vector<std::vector<std::string>> Rows(const fs::path& store, const std::string& sql) const {
        SqliteProbe probe(store);
        return probe.Rows(sql);
    }

    // The position of a file in the catalogue.
    std::pair<double, double> PositionOf(uint64_t id) const {
        auto rows =
            Rows(Catalogue(), "SELECT gps_latitude, gps_longitude FROM file_table WHERE file_id=" + std::to_string(id));
        if (rows.size() != 1) return {-999, -999};
        return {std::stod(rows[0][0]), std::stod(rows[0][1])};
    }

    TempFolder m_root;
    TempFolder m_tracks;
};

TEST_F(GpsCommand, ImportStoresOneLogPerFileWithItsPointsInUtcAndInTheZoneGiven) {
    MakeCatalogue({});
    const std::string morning = WriteTrack("morning.gpx", Gpx({kMorning, {{"2021-07-01T10:05:00Z", "48.5", "11.9"}}}));
    const std::string noon = WriteTrack("noon.gpx", Gpx({kNoon}));
    ToolRun run = RunZandb4({"gps", "import", Root(), morning, noon, "--tz", "+02:00"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, morning + ": imported as log 1: 4 points stored, 2021-07-01 10:00:00 to "
                                            "2021-07-01 10:05:00 UTC; skipped 0 without a time, 0 without a "
                                            "valid position, 0 already stored\n"))
        << run.out;
    EXPECT_TRUE(Contains(run.out, noon + ": imported as log 2: 2 points stored")) << run.out;
    EXPECT_TRUE(Contains(run.out, "imported 2 of 2 files: 6 points stored, 0 skipped\n")) << run.out;

    auto logs = Rows(Location(),
                     "SELECT log_file_id, log_file_path, log_file_name, start_date, end_date, attributes, state, "
                     "start_date_utc, end_date_utc, log_location_name FROM gps_log_file ORDER BY log_file_id");
    ASSERT_EQ(logs.size(), 2u);
    EXPECT_EQ(logs[0],
              (std::vector<std::string>{"1", morning, "morning.gpx", Text(Packed(2021, 7, 1, 12, 0, 0)),
                                        Text(Packed(2021, 7, 1, 12, 5, 0)), "0", "1",
                                        Text(Packed(2021, 7, 1, 10, 0, 0)), Text(Packed(2021, 7, 1, 10, 5, 0)), ""}));
    EXPECT_EQ(logs[1][1], noon);
    EXPECT_EQ(logs[1][7], Text(Packed(2021, 7, 1, 12, 0, 0)));
    EXPECT_EQ(logs[1][8], Text(Packed(2021, 7, 1, 12, 1, 40)));
    auto points = Rows(Location(),
                       "SELECT log_file_id, date, date_utc, latitude, longitude FROM gps_log_data "
                       "ORDER BY log_file_id, date_utc");
    ASSERT_EQ(points.size(), 6u);
    EXPECT_EQ(points[1][0], "1");
    EXPECT_EQ(points[1][1], Text(Packed(2021, 7, 1, 12, 2, 0)));
    EXPECT_EQ(points[1][2], Text(Packed(2021, 7, 1, 10, 2, 0)));
    EXPECT_EQ(std::stod(points[1][3]), 48.25);
    EXPECT_EQ(std::stod(points[1][4]), 11.5);
    EXPECT_EQ(points[5][0], "2");
    EXPECT_EQ(points[5][2], Text(Packed(2021, 7, 1, 12, 1, 40)));
}

TEST_F(GpsCommand, LocalTimesAreInTheMachinesZoneWithoutTz) {
    MakeCatalogue({});
    ScopedTimeZone zone(kCentralEurope);
    const std::string file = WriteTrack(
        "winter and summer.gpx", Gpx({{{"2021-01-10T08:00:00Z", "1", "2"}, {"2021-07-10T08:00:00Z", "1", "2"}}}));
    ToolRun run = RunZandb4({"gps", "import", Root(), file});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    auto points = Rows(Location(), "SELECT date, date_utc FROM gps_log_data ORDER BY date_utc");
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0],
              (std::vector<std::string>{Text(Packed(2021, 1, 10, 9, 0, 0)), Text(Packed(2021, 1, 10, 8, 0, 0))}));
    EXPECT_EQ(points[1],
              (std::vector<std::string>{Text(Packed(2021, 7, 10, 10, 0, 0)), Text(Packed(2021, 7, 10, 8, 0, 0))}));
}

TEST_F(GpsCommand, AFileImportedTwiceIsReportedAsAlreadyThere) {
    MakeCatalogue({});
    const std::string file = WriteTrack("morning.gpx", Gpx({kMorning}));
    ASSERT_EQ(RunZandb4({"gps", "import", Root(), file}).exitCode, 0);
    ToolRun again = RunZandb4({"gps", "import", Root(), file, "--json"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_TRUE(Contains(again.err, file + ": already imported (log 1); left as it is\n")) << again.err;
    std::optional<JsonValue> outcome = zandb4::testing::ParseJson(again.out);
    ASSERT_TRUE(outcome) << again.out;
    const JsonValue& files = *outcome->Find("files");
    ASSERT_EQ(files.items.size(), 1u);
    EXPECT_EQ(files.items[0].Find("status")->text, "already");
    EXPECT_EQ(files.items[0].Find("log")->Integer(), 1);
    EXPECT_EQ(outcome->Find("stored")->Integer(), 0);
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_file"), 1);
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_data"), 3);
}

TEST_F(GpsCommand, UnusablePointsAreSkippedNamedAndCountedAndTheRestIsStored) {
    MakeCatalogue({});
    const std::string file = WriteTrack("rough.gpx", Gpx({{{"2021-07-01T10:00:00Z", "48.0", "11.0"},
                                                           {"", "48.1", "11.1"},
                                                           {"2021-07-01T10:00:20Z", "91", "11.2"},
                                                           {"2021-07-01T10:00:30Z", "48.3", "-180.5"},
                                                           {"noon", "48.4", "11.4"},
                                                           {"2021-07-01T10:00:50Z", "48.5", "11.5"},
                                                           // The same moment and position again.
                                                           {"2021-07-01T10:00:50Z", "48.5", "11.5"}}}));
    ToolRun run = RunZandb4({"gps", "import", Root(), file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Contains(run.err, "zandb4 gps import: " + file + ": line 5: track point skipped: no time\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, file + ": line 6: track point skipped: latitude or longitude out of range "
                                         "(lat '91', lon '11.2')\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, file + ": line 7: track point skipped: latitude or longitude out of range"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, file + ": line 8: track point skipped: a time that is not a date and time "
                                         "(noon)\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.out,
                         "2 points stored, 2021-07-01 10:00:00 to 2021-07-01 10:00:50 UTC; skipped 2 "
                         "without a time, 2 without a valid position, 1 already stored\n"))
        << run.out;
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_data"), 2);
    EXPECT_EQ(Count(Location(), "SELECT end_date_utc FROM gps_log_file"), Packed(2021, 7, 1, 10, 0, 50));
}

TEST_F(GpsCommand, BadFilesAreNamedWithTheReasonAndSkippedWhileTheGoodOnesAreStored) {
    MakeCatalogue({});
    const std::string good = WriteTrack("it's good.gpx", Gpx({kMorning}));
    const std::string prose = WriteTrack("prose.gpx", "Just some words, not XML at all.\n");
    const std::string kml =
        WriteTrack("place.gpx", "<?xml version=\"1.0\"?><kml xmlns=\"http://www.opengis.net/kml/2.2\"></kml>");
    const std::string empty = WriteTrack("empty tracks.gpx", Gpx({{}, {}}));
    // Valid points first, then the file breaks off: none of it may stay.
    const std::string cut = WriteTrack("cut.gpx", Gpx({kNoon}).substr(0, Gpx({kNoon}).size() - 20));
    const std::string timeless = WriteTrack("timeless.gpx", Gpx({{{"", "1", "1"}, {"", "2", "2"}}}));
    const std::string missing = (m_tracks / "no such.gpx").string();
    const std::string later = WriteTrack("later.gpx", Gpx({kNoon}));
    ToolRun run = RunZandb4({"gps", "import", Root(), prose, good, kml, empty, cut, timeless, missing, later});
    EXPECT_EQ(run.exitCode, 1);
    const std::string prefix = "zandb4 gps import: ";
    EXPECT_TRUE(Contains(run.err, prefix + prose + ": not imported: not XML (syntax error at line 1, column 0)\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, prefix + kml +
                                      ": not imported: XML, but not GPX: its root element is kml (namespace "
                                      "http://www.opengis.net/kml/2.2)\n"))
        << run.err;
    EXPECT_TRUE(
        Contains(run.err, prefix + empty + ": not imported: no track point in the file (2 tracks, all empty)\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, prefix + cut + ": not imported: broken XML at line ")) << run.err;
    EXPECT_TRUE(Contains(run.err, prefix + timeless +
                                      ": not imported: no usable track point: 2 without a time, 0 without a "
                                      "valid position\n"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, prefix + missing + ": not imported: no such file\n")) << run.err;
    EXPECT_TRUE(Contains(run.out, "imported 2 of 8 files: 5 points stored, 0 skipped\n")) << run.out;
    auto logs = Rows(Location(), "SELECT log_file_path FROM gps_log_file ORDER BY log_file_id");
    ASSERT_EQ(logs.size(), 2u);
    EXPECT_EQ(logs[0][0], good);
    EXPECT_EQ(logs[1][0], later);
    // Only the points of the two good files; the cut file's are rolled back.
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_data"), 5);
    EXPECT_EQ(Count(Location(),
                    "SELECT COUNT(*) FROM gps_log_data WHERE log_file_id NOT IN "
                    "(SELECT log_file_id FROM gps_log_file)"),
              0);
}

TEST_F(GpsCommand, AMissingRootOrABadZoneIsReportedBeforeAnythingIsRead) {
    const std::string file = WriteTrack("morning.gpx", Gpx({kMorning}));
    ToolRun noRoot = RunZandb4({"gps", "import", (m_root / "nowhere").string(), file});
    EXPECT_EQ(noRoot.exitCode, 2);
    EXPECT_EQ(noRoot.err, "zandb4 gps import: " + (m_root / "nowhere").string() + ": does not exist\n");
    MakeCatalogue({});
    ToolRun badZone = RunZandb4({"gps", "import", Root(), file, "--tz", "Atlantis/Capital"});
    EXPECT_EQ(badZone.exitCode, 1);
    EXPECT_TRUE(Contains(badZone.err, "zandb4 gps import: bad zone 'Atlantis/Capital': not UTC, an offset"))
        << badZone.err;
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_file"), 0);
}

TEST_F(GpsCommand, ALogStoreThatIsNoDatabaseIsNamedByImportAndLs) {
    MakeCatalogue({});
    zandb4::testing::WriteFile(Location(), std::string(8192, 'x'));
    const std::string file = WriteTrack("morning.gpx", Gpx({kMorning}));
    ToolRun import = RunZandb4({"gps", "import", Root(), file});
    EXPECT_EQ(import.exitCode, 3);
    EXPECT_TRUE(Contains(import.err, "zandb4 gps import: " + file + ": the store did not take the log: E_FAIL"))
        << import.err;
    EXPECT_TRUE(Contains(import.out, "imported 0 of 1 files")) << import.out;
    ToolRun listed = RunZandb4({"gps", "ls", Root()});
    EXPECT_EQ(listed.exitCode, 4);
    EXPECT_EQ(listed.out, "");
    EXPECT_EQ(listed.err,
              "zandb4 gps ls: " + Location().string() + ": not a database (the file is not an SQLite file)\n");
    std::ifstream stored(Location(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stored), std::istreambuf_iterator<char>()),
              std::string(8192, 'x'));
}

// The largest resident size in KB of the tool's run, measured in a child
// process of its own so that no other run counts.
long PeakKilobytesOf(const std::vector<std::string>& arguments, int& exitCode) {
    int channel[2];
    if (pipe(channel) != 0) return -1;
    pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        ToolRun run = RunZandb4(arguments);
        struct rusage usage {};
        getrusage(RUSAGE_CHILDREN, &usage);
        long values[2] = {usage.ru_maxrss, run.exitCode};
        ssize_t written = write(channel[1], values, sizeof values);
        _exit(written == sizeof values ? 0 : 1);
    }
    close(channel[1]);
    long values[2] = {-1, -1};
    ssize_t got = read(channel[0], values, sizeof values);
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (got != sizeof values) return -1;
    exitCode = static_cast<int>(values[1]);
    return values[0];
}

// A GPX file of 2,000 points, each with a description of that many bytes,
// written piece by piece.
void WriteManyPoints(const fs::path& file, size_t descriptionBytes) {
    std::ofstream out(file, std::ios::binary);
    out << kGpxHead << "<trk><trkseg>\n";
    const std::string description(descriptionBytes, 'd');
    for (int i = 0; i < 2000; ++i) {
        char time[32];
        std::snprintf(time, sizeof time, "2021-08-01T%02d:%02d:%02dZ", i / 3600, i / 60 % 60, i % 60);
        out << "<trkpt lat=\"45." << i << "\" lon=\"7\"><desc>" << description << "</desc><time>" << time
            << "</time></trkpt>\n";
    }
    out << "</trkseg></trk></gpx>\n";
}

TEST_F(GpsCommand, AFiftyMegabyteFileIsReadAsAStream) {
    MakeCatalogue({});
    // The same 2,000 points twice: with 25 KB of description each, and with
    // none, so that the two runs differ only in the bytes read.
    const fs::path big = m_tracks / "big.gpx";
    const fs::path small = m_tracks / "small.gpx";
    WriteManyPoints(big, 25000);
    WriteManyPoints(small, 0);
    ASSERT_GT(fs::file_size(big), 50u * 1000 * 1000);
    int smallExit = -1, bigExit = -1;
    const long smallPeak = PeakKilobytesOf({"gps", "import", Root(), small.string()}, smallExit);
    const long bigPeak = PeakKilobytesOf({"gps", "import", Root(), big.string()}, bigExit);
    EXPECT_EQ(smallExit, 0);
    EXPECT_EQ(bigExit, 0);
    ASSERT_GT(smallPeak, 0);
    // Holding the file would take 50 MB more than the small import.
    EXPECT_LT(bigPeak - smallPeak, 20 * 1024) << smallPeak << " KB, then " << bigPeak << " KB";
    EXPECT_EQ(Count(Location(), "SELECT COUNT(*) FROM gps_log_data WHERE log_file_id=2"), 2000);
    EXPECT_EQ(Count(Location(), "SELECT end_date_utc FROM gps_log_file WHERE log_file_id=2"),
              Packed(2021, 8, 1, 0, 33, 19));
}

TEST_F(GpsCommand, LsListsTheLogsWithTheirSpansAndPoints) {
    MakeCatalogue({});
    ToolRun none = RunZandb4({"gps", "ls", Root()});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "zandb4 gps ls: no GPS logs\n");
    const std::string noon = WriteTrack("noon\tand more.gpx", Gpx({kNoon}));
    const std::string morning = WriteTrack("morning.gpx", Gpx({kMorning}));
    ASSERT_EQ(RunZandb4({"gps", "import", Root(), noon, morning}).exitCode, 0);
    auto before = zandb4::testing::SnapshotTree(m_root.Path());
    ToolRun listed = RunZandb4({"gps", "ls", Root()});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_EQ(listed.out, "2\t2021-07-01 10:00:00\t2021-07-01 10:04:00\t3\tmorning.gpx\t" + morning + "\n" +
                              "1\t2021-07-01 12:00:00\t2021-07-01 12:01:40\t2\tnoon\\tand more.gpx\t" +
                              (m_tracks / "noon\\tand more.gpx").string() + "\n");
    ToolRun json = RunZandb4({"gps", "ls", Root(), "--json"});
    std::optional<JsonValue> logs = zandb4::testing::ParseJson(json.out);
    ASSERT_TRUE(logs) << json.out;
    ASSERT_EQ(logs->items.size(), 2u);
    EXPECT_EQ(logs->items[1].Find("name")->text, "noon\tand more.gpx");
    EXPECT_EQ(logs->items[1].Find("points")->Integer(), 2);
    EXPECT_EQ(logs->items[1].Find("state")->Integer(), 1);
    EXPECT_EQ(logs->items[0].Find("start_utc")->text, "2021-07-01 10:00:00");
    // Listing changed nothing on disk.
    EXPECT_EQ(zandb4::testing::TreeDifference(before, zandb4::testing::SnapshotTree(m_root.Path())), "");
}

// The files of the geotagging tests. Their shooting dates are as a camera
// set to UTC+02:00 wrote them.
const std::vector<CatalogueFileRow> kShots = {
    {1, "/photos/exact.jpg", "exact.jpg", 1, Packed(2021, 7, 1, 12, 2, 0)},       // at the second point
    {2, "/photos/between.jpg", "between.jpg", 1, Packed(2021, 7, 1, 12, 0, 30)},  // a quarter on to the second
    {3, "/photos/gap.jpg", "gap.jpg", 1, Packed(2021, 7, 1, 13, 0, 0)},           // between the two tracks
    {4, "/photos/new year.jpg", "new year.jpg", 1, Packed(2022, 1, 1, 0, 0, 0)},  // outside every track
    {5, "/photos/noon.jpg", "noon.jpg", 1, Packed(2021, 7, 1, 14, 0, 50)},        // half way on the noon track
    {6, "/photos/placed.jpg", "placed.jpg", 1, Packed(2021, 7, 1, 12, 2, 0)},     // has a position
    {7, "/photos/undated.jpg", "undated.jpg", 1, 0},
};

class GpsGeotag : public GpsCommand {
protected:
    void SetUp() override {
        GpsCommand::SetUp();
        MakeCatalogue(kShots);
        SqliteProbe catalogue(Catalogue());
        ASSERT_EQ(catalogue.Exec("UPDATE file_table SET gps_latitude=1.5, gps_longitude=2.5 WHERE file_id=6"),
                  SQLITE_OK);
        const std::string morning = WriteTrack("morning.gpx", Gpx({kMorning}));
        const std::string noon = WriteTrack("noon.gpx", Gpx({kNoon}));
        ToolRun imported = RunZandb4({"gps", "import", Root(), morning, noon});
        ASSERT_EQ(imported.exitCode, 0) << imported.err;
    }

    void ExpectPosition(uint64_t id, double latitude, double longitude) const {
        std::pair<double, double> position = PositionOf(id);
        EXPECT_NEAR(position.first, latitude, 1e-5) << "file " << id;
        EXPECT_NEAR(position.second, longitude, 1e-5) << "file " << id;
    }
};

TEST_F(GpsGeotag, PlacesFilesOnTheTracksAtTheirShootingDateWithTheCamerasOffset) {
    ToolRun run = RunZandb4({"gps", "geotag", Root(), "--offset", "+02:00"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "positioned 3 files\n"
              "out of range 2 files (no track points within 300 s around their shooting date)\n"
              "  /photos/gap.jpg\t2021-07-01 13:00:00\tin a gap of 6960 s between track points (more than 300 s)\n"
              "  /photos/new year.jpg\t2022-01-01 00:00:00\tno GPS log covers it\n"
              "already with a position 1 files\n"
              "without a shooting date 1 files\n");
    ExpectPosition(1, 48.25, 11.5);
    ExpectPosition(2, 48.0625, 11.125);
    ExpectPosition(3, 0, 0);
    ExpectPosition(4, 0, 0);
    ExpectPosition(5, 49.0625, 12.125);
    ExpectPosition(6, 1.5, 2.5);
    ExpectPosition(7, 0, 0);
    // A second run finds nothing more to do, and leaves the positions.
    ToolRun again = RunZandb4({"gps", "geotag", Root(), "--offset", "+02:00"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(Contains(again.out, "positioned 0 files\n")) << again.out;
    EXPECT_TRUE(Contains(again.out, "already with a position 4 files\n")) << again.out;
    ExpectPosition(1, 48.25, 11.5);
}

TEST_F(GpsGeotag, WithoutAnOffsetTheShootingDateIsInTheMachinesZone) {
    ScopedTimeZone zone(kCentralEurope);
    ToolRun run = RunZandb4({"gps", "geotag", Root()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "positioned 3 files\n")) << run.out;
    ExpectPosition(1, 48.25, 11.5);
    ExpectPosition(5, 49.0625, 12.125);
}

TEST_F(GpsGeotag, AnotherOffsetMovesTheFilesAlongTheTracks) {
    // Taken as UTC, "exact" lies two hours later: after the noon track's
    // last point; "between" lies on the noon track at 12:00:30.
    ToolRun run = RunZandb4({"gps", "geotag", Root(), "--offset", "+00:00", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> outcome = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(outcome) << run.out;
    EXPECT_EQ(outcome->Find("zone")->text, "UTC+00:00");
    EXPECT_FALSE(outcome->Find("dry_run")->boolean);
    const JsonValue& placed = *outcome->Find("positioned");
    ASSERT_EQ(placed.items.size(), 1u);
    EXPECT_EQ(placed.items[0].Find("id")->Integer(), 2);
    EXPECT_EQ(placed.items[0].Find("date")->text, "2021-07-01 12:00:30");
    const JsonValue& outside = *outcome->Find("out_of_range");
    ASSERT_EQ(outside.items.size(), 4u);
    EXPECT_EQ(outside.items[0].Find("path")->text, "/photos/exact.jpg");
    EXPECT_EQ(outside.items[0].Find("reason")->text, "after the last track point");
    ExpectPosition(2, 49.0 + 0.3 * 0.125, 12.0 + 0.3 * 0.25);
    ExpectPosition(1, 0, 0);
}

TEST_F(GpsGeotag, ALongerGapBridgesTheTimeBetweenTheTracks) {
    ToolRun run = RunZandb4({"gps", "geotag", Root(), "--offset=+02:00", "--max-gap", "7000"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "positioned 4 files\n")) << run.out;
    // 11:00 lies 3360 s into the 6960 s from 10:04 (48.5, 12.0) to 12:00 (49.0, 12.0).
    ExpectPosition(3, 48.5 + 0.5 * 3360.0 / 6960.0, 12.0);
}

TEST_F(GpsGeotag, ADryRunReportsThePositionsAndWritesNothing) {
    auto before = zandb4::testing::SnapshotTree(m_root.Path());
    ToolRun run = RunZandb4({"gps", "geotag", Root(), "--offset", "+02:00", "--dry-run"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out,
                         "would position 3 files (dry run: nothing written)\n"
                         "  /photos/between.jpg\t2021-07-01 12:00:30\t48.0625\t11.125\n"
                         "  /photos/exact.jpg\t2021-07-01 12:02:00\t48.25\t11.5\n"
                         "  /photos/noon.jpg\t2021-07-01 14:00:50\t49.0625\t12.125\n"))
        << run.out;
    ExpectPosition(1, 0, 0);
    ExpectPosition(2, 0, 0);
    EXPECT_EQ(zandb4::testing::TreeDifference(before, zandb4::testing::SnapshotTree(m_root.Path())), "");
}

TEST_F(GpsGeotag, ALogStoreThatCannotBeReadIsReportedAndNothingIsWritten) {
    zandb4::testing::WriteFile(Location(), std::string(8192, 'x'));
    for (bool dryRun : {true, false}) {
        std::vector<std::string> arguments = {"gps", "geotag", Root(), "--offset", "+02:00"};
        if (dryRun) arguments.push_back("--dry-run");
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 4) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("zandb4 gps geotag: " + Location().string() + ": ", 0), 0u) << run.err;
        ExpectPosition(1, 0, 0);
    }
}

TEST_F(GpsGeotag, BadOffsetsAndGapsAreUsageErrors) {
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"--offset", "2"}, "zandb4 gps geotag: bad offset '2': must be +HH:MM or -HH:MM"},
        {{"--offset", "+24:00"}, "zandb4 gps geotag: bad offset '+24:00'"},
        {{"--max-gap", "-5"}, "zandb4 gps geotag: bad gap '-5'"},
        {{"--max-gap", "five"}, "zandb4 gps geotag: bad gap 'five'"},
        {{"--max-gap", "604801"}, "zandb4 gps geotag: bad gap '604801': must be a number of seconds from 0 to 604800"},
    };
    for (const Case& usage : cases) {
        std::vector<std::string> arguments = {"gps", "geotag", Root()};
        arguments.insert(arguments.end(), usage.arguments.begin(), usage.arguments.end());
        ToolRun run = RunZandb4(arguments);
        EXPECT_EQ(run.exitCode, 1) << usage.message;
        EXPECT_EQ(run.err.rfind(usage.message, 0), 0u) << run.err;
        EXPECT_EQ(run.out, "");
    }
    ExpectPosition(1, 0, 0);
}

}  // namespace
