// ProcessLocaleGuard: switches the process locale (LC_ALL) to the first of a
// few candidate names the system knows, and puts the old one back when the
// test ends. Tests use it to show that strings and numbers come out the same
// whatever locale the application runs in.
#pragma once

#include <clocale>
#include <string>
#include <vector>

namespace zandb4::testing {

class ProcessLocaleGuard {
public:
    explicit ProcessLocaleGuard(const std::vector<std::string>& candidates) {
        const char* current = std::setlocale(LC_ALL, nullptr);
        m_previous = current != nullptr ? current : "C";
        for (const std::string& name : candidates) {
            if (const char* set = std::setlocale(LC_ALL, name.c_str())) {
                m_active = set;
                break;
            }
        }
    }
    ~ProcessLocaleGuard() { std::setlocale(LC_ALL, m_previous.c_str()); }
    ProcessLocaleGuard(const ProcessLocaleGuard&) = delete;
    ProcessLocaleGuard& operator=(const ProcessLocaleGuard&) = delete;

    // The name of the locale now in force, empty if no candidate was known.
    const std::string& Active() const { return m_active; }

private:
    std::string m_previous;
    std::string m_active;
};

// Locales whose decimal separator is a comma.
inline const std::vector<std::string> kDecimalCommaLocales = {
    "de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "tr_TR.UTF-8", "tr_TR.utf8", "de_DE", "fr_FR"};
// Locales in which the small dotted i upper-cases to a capital dotted I.
inline const std::vector<std::string> kTurkishLocales = {"tr_TR.UTF-8", "tr_TR.utf8", "az_AZ.UTF-8", "az_AZ.utf8"};

}  // namespace zandb4::testing
