// Metadata through libexiv2. The one file of the tool that includes it.
#include "media_metadata.h"

#include <algorithm>
#include <cmath>
#include <exiv2/exiv2.hpp>
#include <fstream>
#include <limits>

namespace zandb4::tool {
namespace {

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The first of the keys that the EXIF block holds, or null.
const Exiv2::Exifdatum* FindFirst(const Exiv2::ExifData& exif, std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        auto found = exif.findKey(Exiv2::ExifKey(key));
        if (found != exif.end() && found->count() > 0) return &*found;
    }
    return nullptr;
}

// A rational of an EXIF value as a number; nothing for a zero denominator.
std::optional<double> RationalAt(const Exiv2::Exifdatum& datum, long index) {
    if (index >= datum.count()) return std::nullopt;
    Exiv2::Rational value = datum.toRational(index);
    if (value.second == 0) return std::nullopt;
    return static_cast<double>(value.first) / static_cast<double>(value.second);
}

// Degrees, minutes and seconds of a GPS coordinate, signed by its reference
// letter (negative is one of negativeRefs); nothing when it is incomplete
// or out of range.
std::optional<double> Coordinate(const Exiv2::ExifData& exif, const char* valueKey, const char* refKey,
                                 char negativeRef, double limit) {
    const Exiv2::Exifdatum* value = FindFirst(exif, {valueKey});
    const Exiv2::Exifdatum* ref = FindFirst(exif, {refKey});
    if (value == nullptr || ref == nullptr || value->count() < 3) return std::nullopt;
    std::optional<double> degrees = RationalAt(*value, 0), minutes = RationalAt(*value, 1),
                          seconds = RationalAt(*value, 2);
    if (!degrees || !minutes || !seconds) return std::nullopt;
    double angle = *degrees + *minutes / 60 + *seconds / 3600;
    std::string letter = ref->toString();
    if (letter.empty()) return std::nullopt;
    if (letter[0] == negativeRef) angle = -angle;
    if (!std::isfinite(angle) || std::fabs(angle) > limit) return std::nullopt;
    return angle;
}

std::optional<double> Altitude(const Exiv2::ExifData& exif) {
    const Exiv2::Exifdatum* value = FindFirst(exif, {"Exif.GPSInfo.GPSAltitude"});
    if (value == nullptr) return std::nullopt;
    std::optional<double> metres = RationalAt(*value, 0);
    if (!metres || !std::isfinite(*metres)) return std::nullopt;
    const Exiv2::Exifdatum* ref = FindFirst(exif, {"Exif.GPSInfo.GPSAltitudeRef"});
    if (ref != nullptr && ref->toLong(0) == 1) return -std::fabs(*metres);
    return *metres;
}

uint32_t PositiveNumber(const Exiv2::Exifdatum* datum) {
    if (datum == nullptr) return 0;
    long value = datum->toLong(0);
    return value > 0 && value <= std::numeric_limits<int32_t>::max() ? static_cast<uint32_t>(value) : 0;
}

// Trailing spaces and NULs that cameras pad ASCII fields with are dropped.
std::string Trimmed(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.pop_back();
    size_t nul = text.find('\0');
    if (nul != std::string::npos) text.resize(nul);
    return text;
}

// The smallest JPEG preview the file embeds (previews come in ascending
// size), if any.
std::optional<MediaPreview> SmallestJpegPreview(Exiv2::Image& image) {
    Exiv2::PreviewManager previews(image);
    for (const Exiv2::PreviewProperties& properties : previews.getPreviewProperties()) {
        if (properties.mimeType_ != "image/jpeg") continue;
        Exiv2::PreviewImage preview = previews.getPreviewImage(properties);
        if (preview.size() == 0) continue;
        MediaPreview found;
        found.bytes.assign(reinterpret_cast<const char*>(preview.pData()), preview.size());
        found.width = preview.width();
        found.height = preview.height();
        return found;
    }
    return std::nullopt;
}

// Everything the import keeps, out of an image whose metadata was read.
void Fill(Exiv2::Image& image, MediaMetadata& metadata) {
    const Exiv2::ExifData& exif = image.exifData();
    if (const Exiv2::Exifdatum* date =
            FindFirst(exif, {"Exif.Photo.DateTimeOriginal", "Exif.Photo.DateTimeDigitized", "Exif.Image.DateTime"}))
        metadata.shootingDate = ParseExifDate(date->toString());
    if (const Exiv2::Exifdatum* model = FindFirst(exif, {"Exif.Image.Model"}))
        metadata.model = Trimmed(model->toString());
    metadata.width = static_cast<uint32_t>(std::max(0, image.pixelWidth()));
    metadata.height = static_cast<uint32_t>(std::max(0, image.pixelHeight()));
    if (metadata.width == 0 || metadata.height == 0) {
        metadata.width = PositiveNumber(FindFirst(exif, {"Exif.Photo.PixelXDimension", "Exif.Image.ImageWidth"}));
        metadata.height = PositiveNumber(FindFirst(exif, {"Exif.Photo.PixelYDimension", "Exif.Image.ImageLength"}));
    }
    if (const Exiv2::Exifdatum* orientation = FindFirst(exif, {"Exif.Image.Orientation"})) {
        long value = orientation->toLong(0);
        if (value >= 1 && value <= 8) metadata.orientation = static_cast<uint16_t>(value);
    }
    std::optional<double> latitude =
        Coordinate(exif, "Exif.GPSInfo.GPSLatitude", "Exif.GPSInfo.GPSLatitudeRef", 'S', 90);
    std::optional<double> longitude =
        Coordinate(exif, "Exif.GPSInfo.GPSLongitude", "Exif.GPSInfo.GPSLongitudeRef", 'W', 180);
    if (latitude && longitude) {
        metadata.latitude = latitude;
        metadata.longitude = longitude;
        metadata.altitude = Altitude(exif);
    }
    metadata.preview = SmallestJpegPreview(image);
}

}  // namespace

std::optional<MediaDate> ParseExifDate(const std::string& text) {
    // "YYYY:MM:DD HH:MM:SS": 19 characters, digits apart from the separators.
    if (text.size() < 19) return std::nullopt;
    for (size_t i = 0; i < 19; ++i) {
        char c = text[i];
        bool fits = false;
        if (i == 4 || i == 7)
            fits = c == ':' || c == '-';
        else if (i == 10)
            fits = c == ' ' || c == 'T';
        else if (i == 13 || i == 16)
            fits = c == ':';
        else
            fits = c >= '0' && c <= '9';
        if (!fits) return std::nullopt;
    }
    auto number = [&](size_t at, size_t length) {
        int value = 0;
        for (size_t i = at; i < at + length; ++i) value = value * 10 + (text[i] - '0');
        return value;
    };
    int year = number(0, 4), month = number(5, 2), day = number(8, 2);
    int hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
    if (year < 1601 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || hour > 23 ||
        minute > 59 || second > 59)
        return std::nullopt;
    return MediaDate{static_cast<uint16_t>(year), static_cast<uint16_t>(month),  static_cast<uint16_t>(day),
                     static_cast<uint16_t>(hour), static_cast<uint16_t>(minute), static_cast<uint16_t>(second)};
}

void SilenceMetadataWarnings() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
}

std::optional<std::pair<uint32_t, uint32_t>> JpegFrameSize(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    auto next = [&in]() -> int { return in.get(); };
    if (next() != 0xFF || next() != 0xD8) return std::nullopt;
    while (in) {
        int byte = next();
        if (byte != 0xFF) return std::nullopt;
        int marker = next();
        while (marker == 0xFF) marker = next();                                   // fill bytes
        if (marker < 0 || marker == 0xD9 || marker == 0xDA) return std::nullopt;  // end, or scan before a frame
        if ((marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) continue;       // no length
        int high = next(), low = next();
        if (high < 0 || low < 0) return std::nullopt;
        int length = (high << 8) | low;
        if (length < 2) return std::nullopt;
        const bool frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (frame) {
            int precision = next(), h1 = next(), h0 = next(), w1 = next(), w0 = next();
            if (precision < 0 || w0 < 0) return std::nullopt;
            uint32_t height = static_cast<uint32_t>((h1 << 8) | h0), width = static_cast<uint32_t>((w1 << 8) | w0);
            if (width == 0 || height == 0) return std::nullopt;
            return std::make_pair(width, height);
        }
        in.seekg(length - 2, std::ios::cur);
    }
    return std::nullopt;
}

MediaRead ReadMediaMetadata(const std::string& path) {
    MediaRead read;
    try {
        auto image = Exiv2::ImageFactory::open(path);
        if (image.get() == nullptr) {
            read.problem = "not an image or movie that can be read";
            return read;
        }
        try {
            image->readMetadata();
        } catch (const Exiv2::AnyError& error) {
            // The metadata block is beyond reading, but the picture may be
            // whole: a JPEG with a frame header is taken without metadata.
            if (image->mimeType() != "image/jpeg") throw;
            std::optional<std::pair<uint32_t, uint32_t>> size = JpegFrameSize(path);
            if (!size) throw;
            read.recognised = true;
            read.metadata.width = size->first;
            read.metadata.height = size->second;
            read.metadataProblem = error.what();
            return read;
        }
        read.recognised = true;
        Fill(*image, read.metadata);
    } catch (const Exiv2::AnyError& error) {
        read.recognised = false;
        read.metadata = MediaMetadata{};
        read.problem = error.what();
    } catch (const std::exception& error) {
        // libexiv2 also throws the standard library's exceptions on some
        // damaged files (a length past the end, an allocation too large).
        read.recognised = false;
        read.metadata = MediaMetadata{};
        read.problem = error.what();
    }
    return read;
}

}  // namespace zandb4::tool
