// Sorting track points by time and placing a moment between two of them.
#include "track_timeline.h"

#include <algorithm>

namespace zandb4::tool {

void TrackTimeline::Seal() {
    std::stable_sort(m_points.begin(), m_points.end(),
                     [](const TrackPoint& a, const TrackPoint& b) { return a.utcSeconds < b.utcSeconds; });
}

TrackFix TrackTimeline::Locate(int64_t utcSeconds, int64_t maxGapSeconds) const {
    TrackFix fix;
    if (m_points.empty()) return fix;
    auto after = std::lower_bound(m_points.begin(), m_points.end(), utcSeconds,
                                  [](const TrackPoint& point, int64_t moment) { return point.utcSeconds < moment; });
    if (after != m_points.end() && after->utcSeconds == utcSeconds) {
        fix.outcome = TrackFix::Outcome::kPositioned;
        fix.latitude = after->latitude;
        fix.longitude = after->longitude;
        return fix;
    }
    if (after == m_points.begin()) {
        fix.outcome = TrackFix::Outcome::kBeforeFirst;
        return fix;
    }
    if (after == m_points.end()) {
        fix.outcome = TrackFix::Outcome::kAfterLast;
        return fix;
    }
    const TrackPoint& before = *(after - 1);
    const int64_t span = after->utcSeconds - before.utcSeconds;
    if (span > maxGapSeconds) {
        fix.outcome = TrackFix::Outcome::kInGap;
        fix.gapSeconds = span;
        return fix;
    }
    const double share = static_cast<double>(utcSeconds - before.utcSeconds) / static_cast<double>(span);
    const double latitude = before.latitude + share * (static_cast<double>(after->latitude) - before.latitude);
    // Two points on either side of the 180th meridian are joined the short
    // way, over the meridian, and the result is brought back into range.
    double endLongitude = after->longitude;
    if (endLongitude - before.longitude > 180.0) endLongitude -= 360.0;
    if (endLongitude - before.longitude < -180.0) endLongitude += 360.0;
    double longitude = before.longitude + share * (endLongitude - before.longitude);
    if (longitude > 180.0) longitude -= 360.0;
    if (longitude < -180.0) longitude += 360.0;
    fix.outcome = TrackFix::Outcome::kPositioned;
    fix.latitude = static_cast<float>(latitude);
    fix.longitude = static_cast<float>(longitude);
    return fix;
}

}  // namespace zandb4::tool
