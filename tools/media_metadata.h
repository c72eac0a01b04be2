// What "zandb4 import" reads out of a picture or movie file: shooting date,
// camera model, pixel size, orientation, GPS position and altitude, and the
// smallest embedded JPEG preview. Read with libexiv2, which only the tool
// links (the library never looks into image files).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace zandb4::tool {

// A date and time as the file states it, in the camera's local time.
struct MediaDate {
    uint16_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

struct MediaPreview {
    std::string bytes;  // a whole JPEG image
    uint32_t width = 0, height = 0;
};

struct MediaMetadata {
    std::optional<MediaDate> shootingDate;
    std::string model;                          // empty when the file names none
    uint32_t width = 0, height = 0;             // 0 when unknown
    uint16_t orientation = 0;                   // the EXIF value 1 to 8; 0 when unknown
    std::optional<double> latitude, longitude;  // degrees; south and west negative
    std::optional<double> altitude;             // metres; below sea level negative
    std::optional<MediaPreview> preview;
};

struct MediaRead {
    bool recognised = false;  // the file is an image or movie libexiv2 reads
    MediaMetadata metadata;
    std::string problem;  // why not, when it is not
    // Set for a JPEG picture whose metadata block cannot be read at all:
    // why. Its pixel size then comes from the picture's frame header.
    std::string metadataProblem;
};

// Reads the metadata of the file at path. Never throws: a file libexiv2
// cannot read answers recognised false with the reason. An EXIF block that
// is damaged in part gives what could be read of it; a JPEG whose EXIF block
// cannot be read at all is still a picture when its frame header is whole.
MediaRead ReadMediaMetadata(const std::string& path);

// Keeps libexiv2's own warnings off standard error, where they would break
// into the progress bar; the import reports problems itself.
void SilenceMetadataWarnings();

// The width and height in the frame header (SOF) of a JPEG file, found by
// walking its markers; nothing when the file ends or breaks before one.
std::optional<std::pair<uint32_t, uint32_t>> JpegFrameSize(const std::string& path);

// A date of EXIF's form "YYYY:MM:DD HH:MM:SS" (also with '-' between the
// parts of the day), when it is a real calendar date and time.
std::optional<MediaDate> ParseExifDate(const std::string& text);

}  // namespace zandb4::tool
