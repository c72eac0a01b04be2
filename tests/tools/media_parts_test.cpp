// The parts of "zandb4 import" that need no catalogue: which files it takes,
// how it reads EXIF dates, and the JPEG frame header it falls back on.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "media_files.h"
#include "media_metadata.h"
#include "picture_maker.h"
#include "support/temp_folder.h"

namespace {

using zandb4::testing::TempFolder;
using namespace zandb4::tool;

TEST(MediaFiles, TakenByExtensionWithoutCase) {
    ASSERT_NE(MediaKindOf("a.jpg"), nullptr);
    EXPECT_EQ(MediaKindOf("a.jpg")->format, 1u);
    EXPECT_EQ(MediaKindOf("B.JPEG")->format, 1u);
    EXPECT_EQ(MediaKindOf("scan.TiF")->format, 2u);
    ASSERT_NE(MediaKindOf("clip.MOV"), nullptr);
    EXPECT_TRUE(MediaKindOf("clip.MOV")->movie);
    EXPECT_FALSE(MediaKindOf("clip.MOV")->mustBeRecognised);
    EXPECT_TRUE(MediaKindOf("raw.orf")->mustBeRecognised);
    EXPECT_EQ(MediaKindOf("notes.txt"), nullptr);
    EXPECT_EQ(MediaKindOf("jpg"), nullptr);
    EXPECT_EQ(MediaKindOf(".jpg"), nullptr);
    EXPECT_EQ(MediaKindOf("a.jpg.part"), nullptr);
}

TEST(MediaFiles, WalkSortsTakesEachFileOnceAndEntersSubfoldersOnlyWhenAsked) {
    TempFolder folder;
    std::filesystem::create_directories(folder / "sub");
    for (const char* name : {"b.jpg", "a.JPG", "c.txt", "sub/d.mp4"}) zandb4::testing::WriteFile(folder / name, "x");
    FolderWalk flat = WalkFolders({folder.Utf8(), folder.Utf8()}, false);
    EXPECT_EQ(flat.files, (std::vector<std::string>{(folder / "a.JPG").string(), (folder / "b.jpg").string()}));
    EXPECT_EQ(flat.otherFiles, 2u);  // c.txt, once per folder given
    FolderWalk deep = WalkFolders({folder.Utf8()}, true);
    EXPECT_EQ(deep.files.size(), 3u);
    EXPECT_EQ(deep.files.back(), (folder / "sub" / "d.mp4").string());
    EXPECT_TRUE(deep.unreadable.empty());
}

TEST(MediaMetadata, ExifDatesMustBeRealCalendarDates) {
    std::optional<MediaDate> leap = ParseExifDate("2024:02:29 23:59:59");
    ASSERT_TRUE(leap);
    EXPECT_EQ(leap->year, 2024);
    EXPECT_EQ(leap->month, 2);
    EXPECT_EQ(leap->day, 29);
    EXPECT_EQ(leap->hour, 23);
    EXPECT_EQ(leap->minute, 59);
    EXPECT_EQ(leap->second, 59);
    EXPECT_TRUE(ParseExifDate("2024-05-06T07:08:09"));
    EXPECT_FALSE(ParseExifDate("2023:02:29 00:00:00"));
    EXPECT_FALSE(ParseExifDate("0000:00:00 00:00:00"));  // what some cameras write for none
    EXPECT_FALSE(ParseExifDate("    :  :     :  :  "));
    EXPECT_FALSE(ParseExifDate("2024:13:01 00:00:00"));
    EXPECT_FALSE(ParseExifDate("2024:01:01 24:00:00"));
    EXPECT_FALSE(ParseExifDate("2024:01:01"));
}

TEST(MediaMetadata, FrameSizeOfAJpegAndNothingForOtherBytes) {
    TempFolder folder;
    std::string jpeg = zandb4::pictures::JpegBytes(123, 45, 9);
    zandb4::testing::WriteFile(folder / "a.jpg", jpeg);
    std::optional<std::pair<uint32_t, uint32_t>> size = JpegFrameSize((folder / "a.jpg").string());
    ASSERT_TRUE(size);
    EXPECT_EQ(size->first, 123u);
    EXPECT_EQ(size->second, 45u);
    zandb4::testing::WriteFile(folder / "short.jpg", jpeg.substr(0, 20));
    EXPECT_FALSE(JpegFrameSize((folder / "short.jpg").string()));
    zandb4::testing::WriteFile(folder / "text.jpg", "hello");
    EXPECT_FALSE(JpegFrameSize((folder / "text.jpg").string()));
    EXPECT_FALSE(JpegFrameSize((folder / "missing.jpg").string()));
}

TEST(MediaMetadata, ReadsWhatThePictureMakerWrote) {
    TempFolder folder;
    zandb4::pictures::PictureSpec spec;
    spec.width = 50;
    spec.height = 40;
    spec.dateTimeOriginal = "2020:01:02 03:04:05";
    spec.model = "Zan Test";
    spec.orientation = 8;
    spec.gps = zandb4::pictures::GpsPosition{-33.8568, 151.2153, 4.2};
    spec.thumbnail = zandb4::pictures::JpegBytes(20, 16, 1);
    zandb4::pictures::WritePicture(folder / "p.jpg", spec);
    MediaRead read = ReadMediaMetadata((folder / "p.jpg").string());
    ASSERT_TRUE(read.recognised) << read.problem;
    EXPECT_EQ(read.metadataProblem, "");
    const MediaMetadata& m = read.metadata;
    ASSERT_TRUE(m.shootingDate);
    EXPECT_EQ(m.shootingDate->second, 5);
    EXPECT_EQ(m.model, "Zan Test");
    EXPECT_EQ(m.width, 50u);
    EXPECT_EQ(m.height, 40u);
    EXPECT_EQ(m.orientation, 8);
    ASSERT_TRUE(m.latitude && m.longitude && m.altitude);
    EXPECT_NEAR(*m.latitude, -33.8568, 1e-4);
    EXPECT_NEAR(*m.longitude, 151.2153, 1e-4);
    EXPECT_NEAR(*m.altitude, 4.2, 1e-9);
    ASSERT_TRUE(m.preview);
    EXPECT_EQ(m.preview->bytes, spec.thumbnail);
    EXPECT_EQ(m.preview->width, 20u);
    EXPECT_EQ(m.preview->height, 16u);
}

}  // namespace
