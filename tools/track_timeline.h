// The positions of GPS tracks along time, for "zandb4 gps geotag": every
// track point of the logs that matter, sorted by their UTC moment, and the
// position at a given moment, interpolated between the two points around it.
//
// The points of all logs are taken together, so a moment between the end of
// one log and the start of the next is placed between those two points like
// any other, as long as they lie close enough in time. The longest time
// between the two points around a moment (the gap) is the caller's: where a
// track has a longer gap (the receiver was off, or no log was running), the
// moment counts as out of range, since a straight line over it would be a
// guess. A point exactly at the moment gives its own position whatever lies
// around it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zandb4::tool {

struct TrackPoint {
    int64_t utcSeconds = 0;
    float latitude = 0;
    float longitude = 0;
};

struct TrackFix {
    enum class Outcome {
        kPositioned,   // latitude and longitude hold the position
        kNoPoints,     // no track point at all
        kBeforeFirst,  // earlier than every point
        kAfterLast,    // later than every point
        kInGap,        // between two points that lie more than the gap apart
    };
    Outcome outcome = Outcome::kNoPoints;
    float latitude = 0;
    float longitude = 0;
    // For kInGap, the seconds between the two points around the moment.
    int64_t gapSeconds = 0;
};

class TrackTimeline {
public:
    void Reserve(size_t points) { m_points.reserve(points); }
    void Add(const TrackPoint& point) { m_points.push_back(point); }
    // Sorts the points by time; call after the last Add and before Locate.
    // Points of one moment keep the order they were added in.
    void Seal();
    size_t Size() const { return m_points.size(); }

    // The position at utcSeconds, linear between the two points around it in
    // latitude and in longitude (across the 180th meridian the short way),
    // when they lie at most maxGapSeconds apart.
    TrackFix Locate(int64_t utcSeconds, int64_t maxGapSeconds) const;

private:
    std::vector<TrackPoint> m_points;
};

}  // namespace zandb4::tool
