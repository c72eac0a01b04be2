// The GPX reader: expat's callbacks walk the elements with a stack of what
// each open element is, and a track point is judged and handed on when its
// element closes.
#include "gpx_reader.h"

#include <expat.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "gps_time.h"

namespace zandb4::tool {
namespace {

constexpr std::string_view kGpx10Namespace = "http://www.topografix.com/GPX/1/0";
constexpr std::string_view kGpx11Namespace = "http://www.topografix.com/GPX/1/1";
// expat joins a namespace and a local name with this character; URIs hold
// no spaces.
constexpr char kNamespaceSeparator = ' ';
// A dateTime is at most about 35 characters; longer text in a time element
// is kept only this far, for the message, so that a huge one costs nothing.
constexpr size_t kMostTimeText = 64;
constexpr size_t kChunkBytes = 64 * 1024;

enum class Tag { kGpx, kTrack, kSegment, kPoint, kTime, kOther };

struct Name {
    std::string_view space;
    std::string_view local;
};

Name SplitName(const XML_Char* name) {
    std::string_view whole(name);
    size_t separator = whole.find(kNamespaceSeparator);
    if (separator == std::string_view::npos) return {{}, whole};
    return {whole.substr(0, separator), whole.substr(separator + 1)};
}

std::string_view TrimmedView(std::string_view text) {
    auto space = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!text.empty() && space(text.front())) text.remove_prefix(1);
    while (!text.empty() && space(text.back())) text.remove_suffix(1);
    return text;
}

// An XML Schema decimal as GPX writes lat and lon: "52.5", "-13.25", "+7";
// read the same whatever the process locale is.
// False for an attribute that is missing or not such a number.
bool ParseDegrees(const std::optional<std::string>& attribute, double& value) {
    if (!attribute) return false;
    std::string_view text = TrimmedView(*attribute);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    if (text.empty()) return false;
    std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), value);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && std::isfinite(value);
}

}  // namespace

std::string SkipReasonText(GpxSkipReason reason) {
    switch (reason) {
        case GpxSkipReason::kNoTime:
            return "no time";
        case GpxSkipReason::kBadTime:
            return "a time that is not a date and time";
        case GpxSkipReason::kNoPosition:
            return "no latitude or longitude";
        case GpxSkipReason::kOutOfRange:
            return "latitude or longitude out of range";
    }
    return "unusable";
}

class GpxReader::State {
public:
    explicit State(GpxSink& sink) : m_sink(sink), m_parser(XML_ParserCreateNS(nullptr, kNamespaceSeparator)) {
        if (m_parser == nullptr) throw std::bad_alloc();
        XML_SetUserData(m_parser, this);
        XML_SetElementHandler(m_parser, &State::OnStart, &State::OnEnd);
        XML_SetCharacterDataHandler(m_parser, &State::OnText);
    }
    ~State() { XML_ParserFree(m_parser); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool Feed(const char* data, size_t size, bool last) {
        if (m_ended) return false;
        m_result.bytes += size;
        if (last && m_result.bytes == 0) {
            End(GpxReadResult::Outcome::kEmpty, "empty file, not GPX");
            return false;
        }
        // expat takes an int length: feed a large chunk in parts.
        do {
            const size_t part = size > kChunkBytes ? kChunkBytes : size;
            const bool final = last && part == size;
            if (XML_Parse(m_parser, data, static_cast<int>(part), final ? XML_TRUE : XML_FALSE) != XML_STATUS_OK) {
                if (!m_ended) EndOnXmlError();
                return false;
            }
            data += part;
            size -= part;
        } while (size > 0);
        if (last) m_ended = true;
        return true;
    }

    GpxReadResult& Result() { return m_result; }

private:
    // After XML_StopParser expat may still deliver a callback or two (the
    // end of an empty element whose start stopped it): an ended reading
    // takes none.
    static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
        State* state = static_cast<State*>(self);
        if (!state->m_ended) state->Start(name, attributes);
    }
    static void XMLCALL OnEnd(void* self, const XML_Char*) {
        State* state = static_cast<State*>(self);
        if (!state->m_ended) state->EndElement();
    }
    static void XMLCALL OnText(void* self, const XML_Char* text, int length) {
        State* state = static_cast<State*>(self);
        if (!state->m_ended) state->Text(text, length);
    }

    void End(GpxReadResult::Outcome outcome, std::string reason) {
        m_ended = true;
        m_result.outcome = outcome;
        m_result.reason = std::move(reason);
    }

    // Ends the parse from inside a callback.
    void Stop(GpxReadResult::Outcome outcome, std::string reason) {
        End(outcome, std::move(reason));
        XML_StopParser(m_parser, XML_FALSE);
    }

    void EndOnXmlError() {
        const std::string where = "line " + std::to_string(XML_GetCurrentLineNumber(m_parser)) + ", column " +
                                  std::to_string(XML_GetCurrentColumnNumber(m_parser));
        const std::string what = XML_ErrorString(XML_GetErrorCode(m_parser));
        if (!m_rootSeen)
            End(GpxReadResult::Outcome::kNotXml, "not XML (" + what + " at " + where + ")");
        else
            End(GpxReadResult::Outcome::kBrokenXml, "broken XML at " + where + ": " + what);
    }

    void Start(const XML_Char* rawName, const XML_Char** attributes) {
        const Name name = SplitName(rawName);
        if (!m_rootSeen) {
            m_rootSeen = true;
            const bool gpxSpace = name.space.empty() || name.space == kGpx10Namespace || name.space == kGpx11Namespace;
            if (name.local != "gpx" || !gpxSpace) {
                std::string root(name.local);
                if (!name.space.empty()) root += " (namespace " + std::string(name.space) + ")";
                Stop(GpxReadResult::Outcome::kNotGpx, "XML, but not GPX: its root element is " + root);
                return;
            }
            m_space = name.space;
            m_result.version = name.space == kGpx10Namespace ? 10 : name.space == kGpx11Namespace ? 11 : 0;
            m_stack.push_back(Tag::kGpx);
            return;
        }
        const Tag parent = m_stack.back();
        Tag tag = Tag::kOther;
        if (name.space == m_space) {
            if (name.local == "trk" && parent == Tag::kGpx) {
                tag = Tag::kTrack;
                ++m_result.tracks;
                m_trackPoints = 0;
            } else if (name.local == "trkseg" && parent == Tag::kTrack) {
                tag = Tag::kSegment;
            } else if (name.local == "trkpt" && parent == Tag::kSegment) {
                tag = Tag::kPoint;
                BeginPoint(attributes);
            } else if (name.local == "time" && parent == Tag::kPoint && !m_point.timeSeen) {
                tag = Tag::kTime;
                m_point.timeSeen = true;
            }
        }
        m_stack.push_back(tag);
    }

    void EndElement() {
        const Tag tag = m_stack.back();
        m_stack.pop_back();
        if (tag == Tag::kPoint) {
            EndPoint();
        } else if (tag == Tag::kTrack && m_trackPoints == 0) {
            ++m_result.emptyTracks;
        }
    }

    void Text(const XML_Char* text, int length) {
        if (m_stack.empty() || m_stack.back() != Tag::kTime) return;
        const size_t room = kMostTimeText - m_point.time.size();
        const size_t size = static_cast<size_t>(length);
        m_point.time.append(text, size < room ? size : room);
        if (size > room) m_point.timeCut = true;
    }

    void BeginPoint(const XML_Char** attributes) {
        ++m_result.points;
        ++m_trackPoints;
        m_point = PendingPoint{};
        m_point.line = XML_GetCurrentLineNumber(m_parser);
        for (size_t i = 0; attributes[i] != nullptr; i += 2) {
            // Attributes without a prefix have no namespace.
            const std::string_view name = attributes[i];
            if (name == "lat")
                m_point.latitude = attributes[i + 1];
            else if (name == "lon")
                m_point.longitude = attributes[i + 1];
        }
    }

    void EndPoint() {
        const std::string_view time = TrimmedView(m_point.time);
        if (time.empty()) return m_sink.SkipPoint(GpxSkipReason::kNoTime, m_point.line, "");
        std::optional<int64_t> moment = m_point.timeCut ? std::nullopt : ParseGpxTime(time);
        if (!moment)
            return m_sink.SkipPoint(GpxSkipReason::kBadTime, m_point.line,
                                    std::string(time) + (m_point.timeCut ? "..." : ""));
        double latitude = 0, longitude = 0;
        const bool numbers = ParseDegrees(m_point.latitude, latitude) && ParseDegrees(m_point.longitude, longitude);
        const std::string position =
            "lat " + (m_point.latitude ? "'" + *m_point.latitude + "'" : std::string("missing")) + ", lon " +
            (m_point.longitude ? "'" + *m_point.longitude + "'" : std::string("missing"));
        if (!numbers) return m_sink.SkipPoint(GpxSkipReason::kNoPosition, m_point.line, position);
        if (latitude < -90.0 || latitude > 90.0 || longitude < -180.0 || longitude > 180.0)
            return m_sink.SkipPoint(GpxSkipReason::kOutOfRange, m_point.line, position);
        GpxPoint point;
        point.utcSeconds = *moment;
        point.latitude = latitude;
        point.longitude = longitude;
        point.line = m_point.line;
        if (!m_sink.TakePoint(point)) Stop(GpxReadResult::Outcome::kStopped, "");
    }

    // The track point whose element is open.
    struct PendingPoint {
        std::optional<std::string> latitude;
        std::optional<std::string> longitude;
        bool timeSeen = false;
        std::string time;
        bool timeCut = false;
        uint64_t line = 0;
    };

    GpxSink& m_sink;
    XML_Parser m_parser;
    GpxReadResult m_result;
    bool m_ended = false;
    bool m_rootSeen = false;
    std::string m_space;  // the namespace of the root, which GPX elements share
    std::vector<Tag> m_stack;
    uint64_t m_trackPoints = 0;  // trkpt elements of the open track
    PendingPoint m_point;
};

GpxReader::GpxReader(GpxSink& sink) : m_state(std::make_unique<State>(sink)) {}
GpxReader::~GpxReader() = default;

bool GpxReader::Feed(const char* data, size_t size) {
    return m_state->Feed(data, size, false);
}

const GpxReadResult& GpxReader::Finish() {
    m_state->Feed(nullptr, 0, true);
    return m_state->Result();
}

const GpxReadResult& GpxReader::Result() const {
    return m_state->Result();
}

GpxReadResult ReadGpxFile(const std::string& path, GpxSink& sink, const std::function<void(uint64_t)>& progress) {
    GpxReadResult failed;
    failed.outcome = GpxReadResult::Outcome::kCannotOpen;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        failed.reason = errno == ENOENT ? "no such file" : std::strerror(errno);
        return failed;
    }
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        failed.reason = S_ISDIR(status.st_mode) ? "is a folder, not a file" : "not a regular file";
        close(descriptor);
        return failed;
    }
    GpxReader reader(sink);
    std::vector<char> buffer(kChunkBytes);
    uint64_t done = 0;
    for (;;) {
        const ssize_t got = read(descriptor, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            failed.reason = std::string("cannot be read: ") + std::strerror(errno);
            close(descriptor);
            return failed;
        }
        if (got == 0) break;
        done += static_cast<uint64_t>(got);
        const bool going = reader.Feed(buffer.data(), static_cast<size_t>(got));
        if (progress) progress(done);
        if (!going) break;
    }
    close(descriptor);
    if (reader.Result().outcome != GpxReadResult::Outcome::kRead) return reader.Result();
    return reader.Finish();
}

}  // namespace zandb4::tool
