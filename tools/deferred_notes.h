// Messages about single files on standard error during long work. On a
// terminal they wait until the progress bar is done, so that they do not
// break into its line; elsewhere they are written at once.
#pragma once

#include <string>
#include <vector>

#include "command.h"

namespace zandb4::tool {

class DeferredNotes {
public:
    DeferredNotes(const Reporter& report, bool wait) : m_report(report), m_wait(wait) {}
    void Add(const std::string& text) {
        if (m_wait)
            m_waiting.push_back(text);
        else
            m_report.Note(text);
    }
    void Flush() {
        for (const std::string& text : m_waiting) m_report.Note(text);
        m_waiting.clear();
    }

private:
    const Reporter& m_report;
    bool m_wait;
    std::vector<std::string> m_waiting;
};

}  // namespace zandb4::tool
