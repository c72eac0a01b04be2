// "zandb4 import": real JPEG pictures with EXIF, made by the test, are
// imported end to end, and what the catalogue, its metadata and its
// thumbnail shard then hold is read back with SQLite alone. Also: files that
// cannot be read are named and skipped, a second import adds nothing, the
// subfolders with --recursive, the JSON summary, a missing folder, and an
// interrupted import that keeps what it committed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "json_reader.h"
#include "picture_maker.h"
#include "support/sqlite_probe.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"
#include "tool_test_support.h"

namespace fs = std::filesystem;

namespace {

using zandb4::pictures::GpsPosition;
using zandb4::pictures::JpegBytes;
using zandb4::pictures::PictureSpec;
using zandb4::pictures::WritePicture;
using zandb4::testing::JsonValue;
using zandb4::testing::RunZandb4;
using zandb4::testing::SqliteProbe;
using zandb4::testing::TempFolder;
using zandb4::testing::ToolRun;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string ReadBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

int64_t Packed(int year, int month, int day, int hour, int minute, int second) {
    return (int64_t{year} << 40) + (int64_t{month} << 32) + (int64_t{day} << 24) + (int64_t{hour} << 16) +
           (int64_t{minute} << 8) + second;
}

std::string Text(int64_t value) {
    return std::to_string(value);
}

class ImportCommand : public ::testing::Test {
protected:
    void SetUp() override {
        ToolRun init = RunZandb4({"init", Root()});
        ASSERT_EQ(init.exitCode, 0) << init.err;
        fs::create_directories(m_pictures.Path());
    }

    std::string Root() const { return m_root.Utf8(); }
    std::string Pictures() const { return m_pictures.Utf8(); }
    fs::path Database(const std::string& file) const { return m_root / "database" / file; }

    int64_t Count(const std::string& file, const std::string& sql) const {
        SqliteProbe probe(Database(file));
        return probe.Integer(sql);
    }
    int64_t Files() const { return Count("FileBasic.db", "SELECT COUNT(*) FROM file_table"); }
    int64_t Staged() const { return Count("FileBasicAsync.db", "SELECT COUNT(*) FROM async_file_table"); }
    int64_t Thumbnails() const {
        fs::path shard = Database("thumb_0s/00000000.db");
        if (!fs::exists(shard)) return 0;
        SqliteProbe probe(shard);
        return probe.Integer("SELECT COUNT(*) FROM thumbnail_table");
    }
    // The id of the file of that absolute path; -1 when there is none.
    int64_t IdOf(const fs::path& file) const {
        std::vector<std::vector<std::string>> rows =
            Rows("FileBasic.db", "SELECT file_id, file_path FROM file_table ORDER BY file_id");
        for (const auto& row : rows)
            if (row[1] == file.string()) return std::stoll(row[0]);
        return -1;
    }
    std::vector<std::vector<std::string>> Rows(const std::string& file, const std::string& sql) const {
        SqliteProbe probe(Database(file));
        return probe.Rows(sql);
    }

    TempFolder m_root;
    TempFolder m_pictures;
};

TEST_F(ImportCommand, DatesModelPixelSizeGpsAndPreviewLandWhereTheyBelong) {
    PictureSpec harbour;
    harbour.width = 96;
    harbour.height = 64;
    harbour.dateTimeOriginal = "2024:03:14 09:26:53";
    harbour.model = "Zan Pocket 7";
    harbour.orientation = 6;
    harbour.gps = GpsPosition{43.2965, -5.3698, -12.5};
    harbour.thumbnail = JpegBytes(32, 24, 70);
    const fs::path harbourFile = m_pictures / "harbour.jpg";
    WritePicture(harbourFile, harbour);
    PictureSpec plain;
    plain.width = 40;
    plain.height = 30;
    plain.dateTimeOriginal = "2019:12:24 20:00:00";
    plain.model = "Zan Classic";
    const fs::path plainFile = m_pictures / "PLAIN.JPEG";
    WritePicture(plainFile, plain);

    ToolRun run = RunZandb4({"import", Root(), Pictures()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "added 2 files\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "already in the catalogue 0 files\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "unreadable 0 files")) << run.out;
    EXPECT_EQ(Staged(), 0);

    const int64_t harbourId = IdOf(harbourFile), plainId = IdOf(plainFile);
    ASSERT_GT(harbourId, 0) << run.out;
    ASSERT_GT(plainId, 0);
    auto file = Rows("FileBasic.db",
                     "SELECT file_name, file_format, shooting_date, gps_latitude, gps_longitude, "
                     "thumbnail_orientation, manage, disk_vsn FROM file_table WHERE file_id=" +
                         Text(harbourId));
    ASSERT_EQ(file.size(), 1u);
    EXPECT_EQ(file[0][0], "harbour.jpg");
    EXPECT_EQ(file[0][1], "1");
    EXPECT_EQ(file[0][2], Text(Packed(2024, 3, 14, 9, 26, 53)));
    EXPECT_NEAR(std::stod(file[0][3]), 43.2965, 1e-4);
    EXPECT_NEAR(std::stod(file[0][4]), -5.3698, 1e-4);
    EXPECT_EQ(file[0][5], "6");
    EXPECT_EQ(file[0][6], "1");
    struct stat status {};
    ASSERT_EQ(stat(harbourFile.c_str(), &status), 0);
    EXPECT_NE(file[0][7], "");

    auto meta = Rows("FileBasic.db",
                     "SELECT file_size, pixel_width, pixel_height, model_name, gps_altitude, import_class, "
                     "import_date FROM meta_table WHERE file_id=" +
                         Text(harbourId));
    ASSERT_EQ(meta.size(), 1u);
    EXPECT_EQ(meta[0][0], Text(static_cast<int64_t>(fs::file_size(harbourFile))));
    EXPECT_EQ(meta[0][1], "96");
    EXPECT_EQ(meta[0][2], "64");
    EXPECT_EQ(meta[0][3], "Zan Pocket 7");
    EXPECT_EQ(meta[0][4], "-12500");  // millimetres below sea level
    EXPECT_EQ(meta[0][5], "1");
    EXPECT_NE(meta[0][6], "0");

    // The embedded preview, byte for byte, as thumbnail of kind 1.
    SqliteProbe shard(Database("thumb_0s/00000000.db"));
    ASSERT_TRUE(shard.IsOpen());
    sqlite3_stmt* select = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(shard.Handle(), "SELECT thumbnail_data FROM thumbnail_table WHERE file_id=?", -1,
                                 &select, nullptr),
              SQLITE_OK);
    sqlite3_bind_int64(select, 1, harbourId);
    ASSERT_EQ(sqlite3_step(select), SQLITE_ROW);
    std::string stored(static_cast<const char*>(sqlite3_column_blob(select, 0)),
                       static_cast<size_t>(sqlite3_column_bytes(select, 0)));
    sqlite3_finalize(select);
    EXPECT_EQ(stored, harbour.thumbnail);

    // The picture without a preview has no thumbnail, and its own values.
    EXPECT_EQ(shard.Integer("SELECT COUNT(*) FROM thumbnail_table WHERE file_id=" + Text(plainId)), 0);
    EXPECT_EQ(Count("FileBasic.db", "SELECT shooting_date FROM file_table WHERE file_id=" + Text(plainId)),
              Packed(2019, 12, 24, 20, 0, 0));
    EXPECT_EQ(Count("FileBasic.db",
                    "SELECT pixel_width * 1000 + pixel_height FROM meta_table WHERE file_id=" + Text(plainId)),
              40030);
    EXPECT_EQ(Rows("FileBasic.db", "SELECT model_name FROM meta_table WHERE file_id=" + Text(plainId))[0][0],
              "Zan Classic");

    // ls lists them through the library, oldest first.
    ToolRun listed = RunZandb4({"ls", Root()});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_LT(listed.out.find("PLAIN.JPEG"), listed.out.find("harbour.jpg")) << listed.out;
}

TEST_F(ImportCommand, FilesThatCannotBeReadAreNamedAndSkipped) {
    PictureSpec good;
    good.dateTimeOriginal = "2022:02:02 02:02:02";
    good.model = "Zan Good";
    good.thumbnail = JpegBytes(16, 12, 10);
    WritePicture(m_pictures / "good.jpg", good);

    // Not a picture at all, under a picture's name; and a text file, which is
    // not taken.
    zandb4::testing::WriteFile(m_pictures / "letter.jpg", "Dear reader, this is no picture.\n");
    zandb4::testing::WriteFile(m_pictures / "notes.txt", "notes\n");

    // A JPEG cut off inside its EXIF block.
    PictureSpec whole = good;
    WritePicture(m_pictures / "whole.tmp", whole);
    std::string bytes = ReadBytes(m_pictures / "whole.tmp");
    fs::remove(m_pictures / "whole.tmp");
    WriteBytes(m_pictures / "cut-in-exif.jpg", bytes.substr(0, 60));

    // A JPEG cut off inside its pixels: its header and metadata are whole,
    // so it is taken (an application shows what there is of it).
    PictureSpec cut;
    cut.width = 200;
    cut.height = 150;
    cut.model = "Zan Cut";
    WritePicture(m_pictures / "cut.tmp", cut);
    bytes = ReadBytes(m_pictures / "cut.tmp");
    fs::remove(m_pictures / "cut.tmp");
    ASSERT_GT(bytes.size(), 1000u);
    WriteBytes(m_pictures / "cut-in-pixels.jpg", bytes.substr(0, bytes.size() - 400));

    // A JPEG whose EXIF block is garbage: the APP1 segment is there with its
    // "Exif" mark, but what follows is no TIFF structure.
    std::string pixels = JpegBytes(24, 16, 50);
    std::string garbage = "Exif";
    garbage.append(2, '\0');
    for (int i = 0; i < 200; ++i) garbage += static_cast<char>((i * 37 + 11) & 0xFF);
    std::string segment = "\xFF\xE1";
    segment += static_cast<char>(((garbage.size() + 2) >> 8) & 0xFF);
    segment += static_cast<char>((garbage.size() + 2) & 0xFF);
    segment += garbage;
    WriteBytes(m_pictures / "garbage-exif.jpg", pixels.substr(0, 2) + segment + pixels.substr(2));

    ToolRun run = RunZandb4({"import", Root(), Pictures()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // The picture that is not one, and the one cut inside its header, are
    // named with a reason on standard error and in the summary.
    EXPECT_TRUE(Contains(run.err, (m_pictures / "letter.jpg").string() + ": skipped: not a readable jpg file"))
        << run.err;
    EXPECT_TRUE(Contains(run.err, (m_pictures / "cut-in-exif.jpg").string() + ": skipped: ")) << run.err;
    EXPECT_TRUE(Contains(run.out, "unreadable 2 files (skipped)\n")) << run.out;
    EXPECT_TRUE(Contains(run.out, "  " + (m_pictures / "letter.jpg").string() + ": ")) << run.out;
    EXPECT_TRUE(Contains(run.out, "not pictures or movies 1 files (not taken)\n")) << run.out;
    // The garbage EXIF is not fatal: the picture is taken with what its
    // frame header tells, dated by its last change, and the problem named.
    EXPECT_TRUE(Contains(run.out, "added 3 files\n")) << run.out;
    EXPECT_TRUE(Contains(run.err, (m_pictures / "garbage-exif.jpg").string() +
                                      ": its metadata cannot be read (This does not look like a TIFF image); taken "
                                      "without it\n"))
        << run.err;
    const int64_t garbageId = IdOf(m_pictures / "garbage-exif.jpg");
    ASSERT_GT(garbageId, 0);
    EXPECT_EQ(Count("FileBasic.db", "SELECT pixel_width FROM meta_table WHERE file_id=" + Text(garbageId)), 24);
    EXPECT_EQ(Count("FileBasic.db", "SELECT pixel_height FROM meta_table WHERE file_id=" + Text(garbageId)), 16);
    struct stat status {};
    ASSERT_EQ(stat((m_pictures / "garbage-exif.jpg").c_str(), &status), 0);
    std::tm local{};
    localtime_r(&status.st_mtim.tv_sec, &local);
    EXPECT_EQ(Count("FileBasic.db", "SELECT shooting_date FROM file_table WHERE file_id=" + Text(garbageId)),
              Packed(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec));
    EXPECT_GT(IdOf(m_pictures / "good.jpg"), 0);
    const int64_t cutId = IdOf(m_pictures / "cut-in-pixels.jpg");
    ASSERT_GT(cutId, 0);
    EXPECT_EQ(Rows("FileBasic.db", "SELECT model_name, pixel_width FROM meta_table WHERE file_id=" + Text(cutId)),
              (std::vector<std::vector<std::string>>{{"Zan Cut", "200"}}));
    EXPECT_EQ(Files(), 3);
    EXPECT_EQ(Thumbnails(), 1);
}

// Whether every folder above the file, and the file, may be entered and run
// by others: the unprivileged child must reach the tool.
bool ReachableByOthers(const fs::path& file) {
    for (fs::path at = file; !at.empty(); at = at.parent_path()) {
        std::error_code error;
        fs::perms perms = fs::status(at, error).permissions();
        if (error || (perms & fs::perms::others_exec) == fs::perms::none) return false;
        if (at == at.root_path()) break;
    }
    return true;
}

TEST_F(ImportCommand, AFileWithoutReadPermissionIsNamedAndSkipped) {
    // Run as an unprivileged user (root reads any file), into a catalogue of
    // that user's own.
    if (geteuid() == 0 && !ReachableByOthers(ZANDB4_TOOL_PATH))
        GTEST_SKIP() << "the tool is out of reach of an unprivileged user: " << ZANDB4_TOOL_PATH;
    WritePicture(m_pictures / "open.jpg", PictureSpec{});
    WritePicture(m_pictures / "closed.jpg", PictureSpec{});
    ASSERT_EQ(chmod((m_pictures / "closed.jpg").c_str(), 0), 0);
    TempFolder shared;
    zandb4::testing::OpenToEveryone(shared.Path(), shared.Path());
    zandb4::testing::OpenToEveryone(m_pictures.Path(), m_pictures.Path());
    ASSERT_EQ(chmod((m_pictures / "open.jpg").c_str(), 0644), 0);
    const std::string root = (shared / "catalogue").string();
    const std::string closed = (m_pictures / "closed.jpg").string();
    bool held = zandb4::testing::RunUnprivileged([&] {
        if (RunZandb4({"init", root}).exitCode != 0) return false;
        ToolRun run = RunZandb4({"import", root, Pictures()});
        return run.exitCode == 0 && Contains(run.err, closed + ": skipped: Permission denied\n") &&
               Contains(run.out, "added 1 files\n") && Contains(run.out, "unreadable 1 files (skipped)\n  " + closed);
    });
    EXPECT_TRUE(held);
    SqliteProbe catalogue(shared / "catalogue" / "database" / "FileBasic.db");
    EXPECT_EQ(catalogue.Integer("SELECT COUNT(*) FROM file_table"), 1);
    EXPECT_EQ(catalogue.Integer("SELECT COUNT(*) FROM file_table WHERE file_name='open.jpg'"), 1);
}

TEST_F(ImportCommand, NamesWithAnApostropheAndLettersBeyondAsciiAreKeptAsTheyAre) {
    const fs::path odd = m_pictures / "l'été à Zürich – İstanbul.jpg";
    PictureSpec spec;
    spec.dateTimeOriginal = "2021:06:21 12:00:00";
    spec.model = "Zan O'Brien";
    WritePicture(odd, spec);
    ToolRun run = RunZandb4({"import", Root(), Pictures()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    auto rows = Rows("FileBasic.db",
                     "SELECT file_path, file_name, model_name FROM file_table JOIN meta_table USING "
                     "(file_id)");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], odd.string());
    EXPECT_EQ(rows[0][1], "l'été à Zürich – İstanbul.jpg");
    EXPECT_EQ(rows[0][2], "Zan O'Brien");
    // Found again by path on the second run.
    ToolRun again = RunZandb4({"import", Root(), Pictures()});
    EXPECT_TRUE(Contains(again.out, "added 0 files\nalready in the catalogue 1 files\n")) << again.out;
}

TEST_F(ImportCommand, ASecondImportOfTheSameFolderAddsNothing) {
    for (int i = 0; i < 5; ++i) {
        PictureSpec spec;
        spec.shade = static_cast<uint8_t>(i * 40);
        spec.thumbnail = JpegBytes(16, 12, static_cast<uint8_t>(i));
        WritePicture(m_pictures / ("p" + std::to_string(i) + ".jpg"), spec);
    }
    ToolRun first = RunZandb4({"import", Root(), Pictures(), "--batch", "2"});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_TRUE(Contains(first.out, "added 5 files\n")) << first.out;
    auto before = Rows("FileBasic.db", "SELECT * FROM file_table ORDER BY file_id");

    ToolRun second = RunZandb4({"import", Root(), Pictures(), "--batch", "2"});
    ASSERT_EQ(second.exitCode, 0) << second.err;
    EXPECT_TRUE(Contains(second.out, "added 0 files\nalready in the catalogue 5 files\n")) << second.out;
    EXPECT_EQ(Rows("FileBasic.db", "SELECT * FROM file_table ORDER BY file_id"), before);
    EXPECT_EQ(Thumbnails(), 5);
    EXPECT_EQ(Staged(), 0);
}

TEST_F(ImportCommand, TwoNamesOfOneFileInOneRunAddItOnce) {
    // The catalogue does not tell paths apart by case: the second of these
    // is turned away when its batch moves into the catalogue.
    WritePicture(m_pictures / "Same.jpg", PictureSpec{});
    WritePicture(m_pictures / "SAME.jpg", PictureSpec{});
    ToolRun run = RunZandb4({"import", Root(), Pictures()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Contains(run.out, "added 1 files\nalready in the catalogue 1 files\n")) << run.out;
    EXPECT_EQ(Files(), 1);
    EXPECT_EQ(Staged(), 0);
}

TEST_F(ImportCommand, SubfoldersOnlyWithRecursive) {
    fs::create_directories(m_pictures / "2024" / "summer");
    WritePicture(m_pictures / "top.jpg", PictureSpec{});
    WritePicture(m_pictures / "2024" / "middle.jpg", PictureSpec{});
    WritePicture(m_pictures / "2024" / "summer" / "deep.jpg", PictureSpec{});

    ToolRun flat = RunZandb4({"import", Root(), Pictures()});
    ASSERT_EQ(flat.exitCode, 0) << flat.err;
    EXPECT_TRUE(Contains(flat.out, "added 1 files\n")) << flat.out;
    EXPECT_GT(IdOf(m_pictures / "top.jpg"), 0);
    EXPECT_EQ(IdOf(m_pictures / "2024" / "middle.jpg"), -1);

    ToolRun deep = RunZandb4({"import", "--recursive", Root(), Pictures()});
    ASSERT_EQ(deep.exitCode, 0) << deep.err;
    EXPECT_TRUE(Contains(deep.out, "added 2 files\nalready in the catalogue 1 files\n")) << deep.out;
    EXPECT_GT(IdOf(m_pictures / "2024" / "middle.jpg"), 0);
    EXPECT_GT(IdOf(m_pictures / "2024" / "summer" / "deep.jpg"), 0);
}

TEST_F(ImportCommand, JsonSummary) {
    WritePicture(m_pictures / "a.jpg", PictureSpec{});
    zandb4::testing::WriteFile(m_pictures / "b.jpg", "not a picture");
    ToolRun run = RunZandb4({"import", Root(), "--json", Pictures()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::optional<JsonValue> summary = zandb4::testing::ParseJson(run.out);
    ASSERT_TRUE(summary) << run.out;
    EXPECT_EQ(summary->Find("root")->text, Root());
    EXPECT_EQ(summary->Find("found")->Integer(), 2);
    EXPECT_EQ(summary->Find("added")->Integer(), 1);
    EXPECT_EQ(summary->Find("already")->Integer(), 0);
    const JsonValue* unreadable = summary->Find("unreadable");
    ASSERT_NE(unreadable, nullptr);
    ASSERT_EQ(unreadable->items.size(), 1u);
    EXPECT_EQ(unreadable->items[0].Find("file")->text, (m_pictures / "b.jpg").string());
    EXPECT_TRUE(Contains(unreadable->items[0].Find("reason")->text, "not a readable jpg file"));
    EXPECT_FALSE(summary->Find("interrupted")->boolean);
    EXPECT_EQ(summary->Find("rolled_back")->Integer(), 0);
}

TEST_F(ImportCommand, AFolderThatDoesNotExistIsNamedAndNothingIsImported) {
    WritePicture(m_pictures / "a.jpg", PictureSpec{});
    const std::string missing = (m_pictures / "no such folder").string();
    ToolRun run = RunZandb4({"import", Root(), Pictures(), missing});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zandb4 import: " + missing + ": no such folder\n");
    EXPECT_EQ(Files(), 0);

    ToolRun file = RunZandb4({"import", Root(), (m_pictures / "a.jpg").string()});
    EXPECT_EQ(file.exitCode, 2);
    EXPECT_TRUE(Contains(file.err, "a.jpg: not a folder")) << file.err;

    TempFolder empty;
    ToolRun noCatalogue = RunZandb4({"import", empty.Utf8(), Pictures()});
    EXPECT_EQ(noCatalogue.exitCode, 2);
    EXPECT_FALSE(fs::exists(empty / "database"));
}

// A thumbnail the catalogue cannot store (its folder is a plain file) stops
// the import with exit 3: the batch committed before stays, the open one is
// rolled back.
TEST_F(ImportCommand, AFileTheCatalogueRefusesStopsTheImportAndKeepsWhatWasCommitted) {
    WritePicture(m_pictures / "a.jpg", PictureSpec{});  // no preview: no thumbnail to store
    PictureSpec withPreview;
    withPreview.thumbnail = JpegBytes(16, 12, 1);
    WritePicture(m_pictures / "b.jpg", withPreview);
    WritePicture(m_pictures / "c.jpg", PictureSpec{});
    fs::remove_all(Database("thumb_0s"));
    zandb4::testing::WriteFile(Database("thumb_0s"), "in the way");

    ToolRun run = RunZandb4({"import", Root(), Pictures(), "--batch", "1"});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_TRUE(Contains(
        run.err, "zandb4 import: " + (m_pictures / "b.jpg").string() + ": the catalogue did not take it: E_FAIL"))
        << run.err;
    EXPECT_TRUE(Contains(run.out, "added 1 files\n")) << run.out;
    EXPECT_GT(IdOf(m_pictures / "a.jpg"), 0);
    EXPECT_EQ(Files(), 1);
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM meta_table"), 1);
}

// Ctrl-C part-way: the batches committed before stay, the open one is rolled
// back whole (no staged row, no thumbnail without its file), the exit code
// says so, and a second import adds exactly the rest.
TEST_F(ImportCommand, InterruptedImportKeepsWhatItCommittedAndNothingElse) {
    constexpr int kPictures = 400, kBatch = 25;
    const std::string thumbnail = JpegBytes(16, 12, 3);
    for (int i = 0; i < kPictures; ++i) {
        PictureSpec spec;
        spec.width = 32;
        spec.height = 24;
        spec.thumbnail = thumbnail;
        char name[32];
        std::snprintf(name, sizeof name, "p%04d.jpg", i);
        WritePicture(m_pictures / name, spec);
    }
    int errPipe[2];
    ASSERT_EQ(pipe(errPipe), 0);
    TempFolder capture;
    const fs::path outFile = capture / "out.txt";
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        close(errPipe[0]);
        execl(ZANDB4_TOOL_PATH, "zandb4", "import", Root().c_str(), Pictures().c_str(), "--batch",
              std::to_string(kBatch).c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(errPipe[1]);
    // Standard error is a pipe, so progress comes as plain lines, the first
    // at a tenth of the way; the import is then stopped.
    std::string err;
    char buffer[256];
    bool signalled = false;
    for (ssize_t got; (got = read(errPipe[0], buffer, sizeof buffer)) > 0;) {
        err.append(buffer, static_cast<size_t>(got));
        if (!signalled && Contains(err, "import: ")) {
            kill(child, SIGINT);
            signalled = true;
        }
    }
    close(errPipe[0]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(signalled) << err;
    ASSERT_TRUE(WIFEXITED(status)) << err;
    ASSERT_EQ(WEXITSTATUS(status), 6) << err << ReadBytes(outFile);
    const std::string out = ReadBytes(outFile);
    EXPECT_TRUE(Contains(out, "interrupted after ")) << out;
    EXPECT_TRUE(Contains(err, "interrupted: the files committed before stay in the catalogue")) << err;

    const int64_t kept = Files();
    EXPECT_GE(kept, kPictures / 10 - kBatch) << out;
    EXPECT_LT(kept, kPictures) << out;
    EXPECT_EQ(kept % kBatch, 0) << out;
    EXPECT_TRUE(Contains(out, "added " + std::to_string(kept) + " files\n")) << out;
    EXPECT_EQ(Staged(), 0);
    EXPECT_EQ(Thumbnails(), kept);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(*) FROM meta_table"), kept);

    ToolRun rest = RunZandb4({"import", Root(), Pictures(), "--batch", std::to_string(kBatch)});
    ASSERT_EQ(rest.exitCode, 0) << rest.err;
    EXPECT_TRUE(Contains(rest.out, "added " + std::to_string(kPictures - kept) + " files\nalready in the catalogue " +
                                       std::to_string(kept) + " files\n"))
        << rest.out;
    EXPECT_EQ(Files(), kPictures);
    EXPECT_EQ(Thumbnails(), kPictures);
    EXPECT_EQ(Count("FileBasic.db", "SELECT COUNT(DISTINCT file_id) FROM meta_table"), kPictures);
}

}  // namespace
