// Reading GPX track logs (versions 1.0 and 1.1) for "zandb4 gps import".
// The file is parsed by expat as a stream, in chunks, and every track point
// (trkpt in trk/trkseg) goes to a GpxSink the moment its element ends: the
// reader keeps nothing of the file but the point at hand, so a log of any
// size is read in constant memory.
//
// A point has its moment from its time element and its position from the
// lat and lon attributes. One without a usable time or position goes to the
// sink as skipped, with the reason and its line. Waypoints (wpt) and route
// points (rtept) are not track points and are not read; neither is anything
// in extensions.
//
// What the root must be: an element gpx, in the GPX 1.0 or 1.1 namespace or
// in none (some writers leave the namespace out). Anything else is XML that
// is not GPX.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zandb4::tool {

struct GpxPoint {
    int64_t utcSeconds = 0;  // whole seconds since 1970 UTC (see gps_time.h)
    double latitude = 0;
    double longitude = 0;
    uint64_t line = 0;  // where the point starts in the file
};

enum class GpxSkipReason {
    kNoTime,      // no time element, or an empty one
    kBadTime,     // a time that is not an XML Schema dateTime of a real date
    kNoPosition,  // lat or lon missing or not a number
    kOutOfRange,  // latitude outside [-90, 90] or longitude outside [-180, 180]
};

// "no time", "time '...' not understood", ...: the reason in words.
std::string SkipReasonText(GpxSkipReason reason);

class GpxSink {
public:
    virtual ~GpxSink() = default;
    // A usable point. Answer false to stop the reading (the reader then
    // answers kStopped).
    virtual bool TakePoint(const GpxPoint& point) = 0;
    // A point that cannot be used; detail is the offending text, if any.
    virtual void SkipPoint(GpxSkipReason reason, uint64_t line, const std::string& detail) = 0;
};

struct GpxReadResult {
    enum class Outcome {
        kRead,        // the whole file was read
        kCannotOpen,  // missing, a folder, not readable
        kEmpty,       // no bytes at all
        kNotXml,      // not well-formed XML from its first element on
        kNotGpx,      // XML whose root is not gpx
        kBrokenXml,   // a GPX file that stops being well-formed XML later on
        kStopped,     // the sink said to stop
    };
    Outcome outcome = Outcome::kRead;
    std::string reason;  // in words, for every outcome but kRead and kStopped
    int version = 0;     // 10 or 11 from the namespace; 0 without one
    uint64_t tracks = 0;
    uint64_t emptyTracks = 0;  // tracks without any trkpt
    uint64_t points = 0;       // trkpt elements met, usable or not
    uint64_t bytes = 0;        // bytes read
};

// Parses GPX handed in chunk by chunk. Feed each chunk in order, then Finish.
class GpxReader {
public:
    explicit GpxReader(GpxSink& sink);
    ~GpxReader();
    GpxReader(const GpxReader&) = delete;
    GpxReader& operator=(const GpxReader&) = delete;

    // False once the reading has ended (a failure or a stop); Result then
    // tells why, and further chunks are not looked at.
    bool Feed(const char* data, size_t size);
    // The end of the input.
    const GpxReadResult& Finish();
    const GpxReadResult& Result() const;

private:
    class State;
    std::unique_ptr<State> m_state;
};

// Reads the file through a GpxReader in chunks of 64 KiB. progress, when
// given, is called with the bytes read so far after every chunk.
GpxReadResult ReadGpxFile(const std::string& path, GpxSink& sink,
                          const std::function<void(uint64_t)>& progress = nullptr);

}  // namespace zandb4::tool
