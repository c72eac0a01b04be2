// Real JPEG files with EXIF, for the tests of "zandb4 import" and for the
// sample run: the pixels are encoded with libjpeg, the metadata and the
// embedded thumbnail are written with libexiv2, as a camera would leave
// them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zandb4::pictures {

// A position as EXIF holds it: degrees north and east (negative for south
// and west) and metres above sea level (negative below).
struct GpsPosition {
    double latitude = 0;
    double longitude = 0;
    std::optional<double> altitude;
};

struct PictureSpec {
    int width = 64;
    int height = 48;
    uint8_t shade = 128;           // the grey of the whole picture
    std::string dateTimeOriginal;  // "YYYY:MM:DD HH:MM:SS"; empty for none
    std::string model;             // empty for none
    uint16_t orientation = 0;      // 0 for none
    std::optional<GpsPosition> gps;
    // The embedded thumbnail's JPEG bytes (see JpegBytes); empty for none.
    std::string thumbnail;
};

// A baseline greyscale JPEG of the size and shade, as bytes.
std::string JpegBytes(int width, int height, uint8_t shade);

// Writes a JPEG picture with the EXIF of spec to path. Throws
// std::runtime_error naming path when it cannot.
void WritePicture(const std::filesystem::path& path, const PictureSpec& spec);

}  // namespace zandb4::pictures
