// JPEG pixels through libjpeg, EXIF and thumbnail through libexiv2.
#include "picture_maker.h"

#include <jpeglib.h>

#include <cmath>
#include <cstdio>
#include <exiv2/exiv2.hpp>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace zandb4::pictures {
namespace {

// An unsigned rational of EXIF's GPS values, with the denominator given.
Exiv2::Rational Fraction(double value, int32_t denominator) {
    return {static_cast<int32_t>(std::lround(value * denominator)), denominator};
}

// Degrees, minutes and seconds (to a hundredth) of an angle's size.
std::string DegreesMinutesSeconds(double angle) {
    angle = std::fabs(angle);
    double degrees = std::floor(angle);
    double minutes = std::floor((angle - degrees) * 60);
    double seconds = ((angle - degrees) * 60 - minutes) * 60;
    Exiv2::Rational d = Fraction(degrees, 1), m = Fraction(minutes, 1), s = Fraction(seconds, 100);
    return std::to_string(d.first) + "/1 " + std::to_string(m.first) + "/1 " + std::to_string(s.first) + "/100";
}

}  // namespace

std::string JpegBytes(int width, int height, uint8_t shade) {
    jpeg_compress_struct compressor{};
    jpeg_error_mgr errors{};
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&compressor, &buffer, &size);
    compressor.image_width = static_cast<JDIMENSION>(width);
    compressor.image_height = static_cast<JDIMENSION>(height);
    compressor.input_components = 1;
    compressor.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, 75, TRUE);
    jpeg_start_compress(&compressor, TRUE);
    std::vector<JSAMPLE> row(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        // A gentle gradient, so that pictures of one shade still differ row by row.
        for (int x = 0; x < width; ++x) row[static_cast<size_t>(x)] = static_cast<JSAMPLE>((shade + x + y) & 0xFF);
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&compressor, rows, 1);
    }
    jpeg_finish_compress(&compressor);
    std::string bytes(reinterpret_cast<const char*>(buffer), size);
    jpeg_destroy_compress(&compressor);
    free(buffer);
    return bytes;
}

void WritePicture(const std::filesystem::path& path, const PictureSpec& spec) {
    std::string pixels = JpegBytes(spec.width, spec.height, spec.shade);
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
        if (!out) throw std::runtime_error(path.string() + ": cannot write");
    }
    try {
        auto image = Exiv2::ImageFactory::open(path.string());
        image->readMetadata();
        Exiv2::ExifData& exif = image->exifData();
        if (!spec.dateTimeOriginal.empty()) {
            exif["Exif.Photo.DateTimeOriginal"] = spec.dateTimeOriginal;
            exif["Exif.Image.DateTime"] = spec.dateTimeOriginal;
        }
        if (!spec.model.empty()) exif["Exif.Image.Model"] = spec.model;
        if (spec.orientation != 0) exif["Exif.Image.Orientation"] = spec.orientation;
        if (spec.gps) {
            exif["Exif.GPSInfo.GPSVersionID"] = "2 3 0 0";
            exif["Exif.GPSInfo.GPSLatitudeRef"] = spec.gps->latitude < 0 ? "S" : "N";
            Exiv2::Value::AutoPtr latitude = Exiv2::Value::create(Exiv2::unsignedRational);
            latitude->read(DegreesMinutesSeconds(spec.gps->latitude));
            exif.add(Exiv2::ExifKey("Exif.GPSInfo.GPSLatitude"), latitude.get());
            exif["Exif.GPSInfo.GPSLongitudeRef"] = spec.gps->longitude < 0 ? "W" : "E";
            Exiv2::Value::AutoPtr longitude = Exiv2::Value::create(Exiv2::unsignedRational);
            longitude->read(DegreesMinutesSeconds(spec.gps->longitude));
            exif.add(Exiv2::ExifKey("Exif.GPSInfo.GPSLongitude"), longitude.get());
            if (spec.gps->altitude) {
                Exiv2::Value::AutoPtr ref = Exiv2::Value::create(Exiv2::unsignedByte);
                ref->read(*spec.gps->altitude < 0 ? "1" : "0");
                exif.add(Exiv2::ExifKey("Exif.GPSInfo.GPSAltitudeRef"), ref.get());
                exif["Exif.GPSInfo.GPSAltitude"] = Fraction(std::fabs(*spec.gps->altitude), 10);
            }
        }
        if (!spec.thumbnail.empty()) {
            Exiv2::ExifThumb thumb(exif);
            thumb.setJpegThumbnail(reinterpret_cast<const Exiv2::byte*>(spec.thumbnail.data()),
                                   static_cast<long>(spec.thumbnail.size()));
        }
        image->writeMetadata();
    } catch (const Exiv2::AnyError& error) {
        throw std::runtime_error(path.string() + ": cannot write its EXIF: " + error.what());
    }
}

}  // namespace zandb4::pictures
