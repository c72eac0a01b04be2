// zandb4_make_pictures FOLDER [COUNT]: writes real JPEG pictures with EXIF
// into FOLDER (made if missing). Without COUNT, a small sample set of four
// pictures of different dates and cameras, one of them with a GPS position
// and one in a subfolder; with COUNT, that many pictures of 640 by 480 with
// embedded thumbnails, for a timing of "zandb4 import".
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "picture_maker.h"

namespace fs = std::filesystem;
using namespace zandb4::pictures;

namespace {

void WriteSample(const fs::path& folder) {
    fs::create_directories(folder / "holiday");
    PictureSpec harbour;
    harbour.width = 320;
    harbour.height = 240;
    harbour.shade = 60;
    harbour.dateTimeOriginal = "2024:03:14 09:26:53";
    harbour.model = "Zan Pocket 7";
    harbour.orientation = 1;
    harbour.gps = GpsPosition{43.2965, 5.3698, 12.5};
    harbour.thumbnail = JpegBytes(160, 120, 60);
    WritePicture(folder / "harbour.jpg", harbour);

    PictureSpec portrait;
    portrait.width = 240;
    portrait.height = 320;
    portrait.shade = 140;
    portrait.dateTimeOriginal = "2024:07:01 18:05:00";
    portrait.model = "Zan Mirror M2";
    portrait.orientation = 6;
    portrait.thumbnail = JpegBytes(120, 160, 140);
    WritePicture(folder / "portrait.jpg", portrait);

    PictureSpec old;
    old.width = 200;
    old.height = 150;
    old.shade = 200;
    old.dateTimeOriginal = "2019:12:24 20:00:00";
    old.model = "Zan Classic";
    WritePicture(folder / "old scan.jpeg", old);

    PictureSpec beach;
    beach.width = 320;
    beach.height = 200;
    beach.shade = 100;
    beach.dateTimeOriginal = "2024:08:15 14:30:10";
    beach.model = "Zan Pocket 7";
    beach.thumbnail = JpegBytes(160, 100, 100);
    WritePicture(folder / "holiday" / "beach.jpg", beach);
}

void WriteMany(const fs::path& folder, unsigned count) {
    fs::create_directories(folder);
    const std::string thumbnail = JpegBytes(160, 120, 90);
    for (unsigned i = 0; i < count; ++i) {
        PictureSpec spec;
        spec.width = 640;
        spec.height = 480;
        spec.shade = static_cast<uint8_t>(i);
        char date[32];
        std::snprintf(date, sizeof date, "2023:%02u:%02u %02u:%02u:%02u", i % 12 + 1, i % 28 + 1, i % 24, i % 60,
                      (i * 7) % 60);
        spec.dateTimeOriginal = date;
        spec.model = "Zan Bench " + std::to_string(i % 3);
        spec.thumbnail = thumbnail;
        char name[32];
        std::snprintf(name, sizeof name, "picture-%05u.jpg", i);
        WritePicture(folder / name, spec);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: zandb4_make_pictures FOLDER [COUNT]\n");
        return 1;
    }
    try {
        if (argc == 3) {
            unsigned long count = std::stoul(argv[2]);
            WriteMany(argv[1], static_cast<unsigned>(count));
        } else {
            WriteSample(argv[1]);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zandb4_make_pictures: %s\n", error.what());
        return 1;
    }
    return 0;
}
