// The progress bar on a terminal and the plain progress lines elsewhere.
#include "progress_reporter.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace zandb4::tool {
namespace {

constexpr int kBarCells = 30;
// How often a terminal line that shows a rate is redrawn at most, when
// neither the bar nor the percentage changed.
constexpr double kRedrawSeconds = 0.25;

// "0:07", "12:30", "1:02:03".
std::string Duration(double seconds) {
    auto whole = static_cast<uint64_t>(std::llround(seconds));
    uint64_t hours = whole / 3600, minutes = whole / 60 % 60, rest = whole % 60;
    char text[48];
    if (hours > 0)
        std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", static_cast<unsigned long long>(hours),
                      static_cast<unsigned long long>(minutes), static_cast<unsigned long long>(rest));
    else
        std::snprintf(text, sizeof text, "%llu:%02llu", static_cast<unsigned long long>(minutes),
                      static_cast<unsigned long long>(rest));
    return text;
}

}  // namespace

bool IsTerminal(int fileDescriptor) {
    return isatty(fileDescriptor) == 1;
}

ProgressReporter::ProgressReporter(std::ostream& out, bool terminal, std::string label, uint64_t total)
    : m_out(out), m_terminal(terminal), m_label(std::move(label)), m_total(total) {}

void ProgressReporter::ShowRate(std::string unit, std::function<double()> seconds) {
    m_rateUnit = std::move(unit);
    m_seconds = std::move(seconds);
}

std::string ProgressReporter::RateText(double seconds) const {
    if (!m_seconds) return "";
    if (seconds <= 0 || m_done == 0) return " -- " + m_rateUnit + "/s";
    double rate = static_cast<double>(m_done) / seconds;
    char text[64];
    std::snprintf(text, sizeof text, " %.1f ", rate);
    std::string line = text + m_rateUnit + "/s";
    if (m_done < m_total) line += ", " + Duration(static_cast<double>(m_total - m_done) / rate) + " left";
    return line;
}

unsigned ProgressReporter::Percent() const {
    if (m_total == 0) return 100;
    return static_cast<unsigned>(static_cast<double>(m_done) * 100.0 / static_cast<double>(m_total));
}

void ProgressReporter::DrawBar() {
    int cells = m_total == 0 ? kBarCells
                             : static_cast<int>(static_cast<double>(m_done) * kBarCells / static_cast<double>(m_total));
    int percent = static_cast<int>(Percent());
    double now = m_seconds ? m_seconds() : 0;
    bool same = cells == m_drawnCells && percent == m_drawnPercent;
    if (same && (!m_seconds || (now - m_drawnAt < kRedrawSeconds && !m_finished))) return;
    m_drawnAt = now;
    m_drawnCells = cells;
    m_drawnPercent = percent;
    std::string line = "\r" + m_label + " [";
    line.append(static_cast<size_t>(cells), '#');
    line.append(static_cast<size_t>(kBarCells - cells), '.');
    line += "] ";
    std::string number = std::to_string(percent);
    line.append(3 - std::min<size_t>(3, number.size()), ' ');
    line += number + "% " + std::to_string(m_done) + "/" + std::to_string(m_total);
    if (m_seconds) {
        // Spaces wipe what a longer earlier line left behind.
        line += RateText(now) + "   ";
    }
    m_out << line << std::flush;
}

void ProgressReporter::WriteLine() {
    m_writtenDone = static_cast<int64_t>(m_done);
    m_out << m_label << ": " << m_done << "/" << m_total << " (" << Percent() << "%)"
          << RateText(m_seconds ? m_seconds() : 0) << "\n"
          << std::flush;
}

void ProgressReporter::Update(uint64_t done) {
    if (m_finished) return;
    m_done = done > m_total ? m_total : done;
    if (m_terminal) {
        DrawBar();
        return;
    }
    int tenth = static_cast<int>(Percent() / 10);
    if (tenth <= m_writtenTenth || tenth == 0) return;
    m_writtenTenth = tenth;
    WriteLine();
}

void ProgressReporter::Finish() {
    if (m_finished) return;
    m_finished = true;
    if (m_terminal) {
        DrawBar();
        m_out << '\n' << std::flush;
        return;
    }
    if (m_writtenDone != static_cast<int64_t>(m_done)) WriteLine();
}

}  // namespace zandb4::tool
