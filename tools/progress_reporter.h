// Progress of long work for the zandb4 tool's commands, written to standard
// error so that standard output keeps only data. On a terminal it redraws one
// line with a bar; anywhere else (a pipe, a file, a CI log) it writes a plain
// line at each tenth of the way, so a log gets at most eleven lines and no
// carriage returns. With ShowRate, each line also tells the speed and the
// time left. Not thread-safe: one thread reports.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

namespace zandb4::tool {

// Whether the file descriptor is a terminal.
bool IsTerminal(int fileDescriptor);

class ProgressReporter {
public:
    // total is the number of steps of the work; 0 means there is nothing to
    // do. Nothing is written until the first Update or Finish.
    ProgressReporter(std::ostream& out, bool terminal, std::string label, uint64_t total);

    // Adds the speed in unit per second ("files" gives "12.5 files/s") and
    // the time left at that speed to every line from now on; seconds answers
    // the seconds since the work began. On a terminal the line is then also
    // redrawn when a quarter of a second has passed since the last drawing.
    void ShowRate(std::string unit, std::function<double()> seconds);

    // done steps of total are finished (more than total counts as total).
    void Update(uint64_t done);
    // The work is over: the last state is shown, and on a terminal the line
    // is ended. Later calls write nothing.
    void Finish();

private:
    unsigned Percent() const;
    // " 12.5 files/s, 0:07 left", or nothing without ShowRate.
    std::string RateText(double seconds) const;
    void DrawBar();
    void WriteLine();

    std::ostream& m_out;
    bool m_terminal;
    std::string m_label;
    uint64_t m_total;
    uint64_t m_done = 0;
    bool m_finished = false;
    // What was last shown: the bar's filled cells and the percentage on a
    // terminal; otherwise the tenth last reached and the count last written.
    // -1 for nothing yet.
    int m_drawnCells = -1;
    int m_drawnPercent = -1;
    int m_writtenTenth = -1;
    int64_t m_writtenDone = -1;
    std::string m_rateUnit;
    std::function<double()> m_seconds;
    double m_drawnAt = -1;
};

}  // namespace zandb4::tool
