// The progress bar on a terminal and the plain progress lines elsewhere.
#include "progress_reporter.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace zandb4::tool {
namespace {

constexpr int kBarCells = 30;

}  // namespace

bool IsTerminal(int fileDescriptor) {
    return isatty(fileDescriptor) == 1;
}

ProgressReporter::ProgressReporter(std::ostream& out, bool terminal, std::string label, uint64_t total)
    : m_out(out), m_terminal(terminal), m_label(std::move(label)), m_total(total) {}

unsigned ProgressReporter::Percent() const {
    if (m_total == 0) return 100;
    return static_cast<unsigned>(static_cast<double>(m_done) * 100.0 / static_cast<double>(m_total));
}

void ProgressReporter::DrawBar() {
    int cells = m_total == 0 ? kBarCells
                             : static_cast<int>(static_cast<double>(m_done) * kBarCells / static_cast<double>(m_total));
    int percent = static_cast<int>(Percent());
    if (cells == m_drawnCells && percent == m_drawnPercent) return;
    m_drawnCells = cells;
    m_drawnPercent = percent;
    std::string line = "\r" + m_label + " [";
    line.append(static_cast<size_t>(cells), '#');
    line.append(static_cast<size_t>(kBarCells - cells), '.');
    line += "] ";
    std::string number = std::to_string(percent);
    line.append(3 - std::min<size_t>(3, number.size()), ' ');
    line += number + "% " + std::to_string(m_done) + "/" + std::to_string(m_total);
    m_out << line << std::flush;
}

void ProgressReporter::WriteLine() {
    m_writtenDone = static_cast<int64_t>(m_done);
    m_out << m_label << ": " << m_done << "/" << m_total << " (" << Percent() << "%)\n" << std::flush;
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
