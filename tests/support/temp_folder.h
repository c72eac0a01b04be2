// TempFolder: a fresh folder under the system's temporary folder for one
// test, removed with everything in it when the test ends.
#pragma once

#include <filesystem>
#include <string>

#include "zandb4/foundation.h"

namespace zandb4::testing {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string Utf8() const { return m_path.string(); }
    CZanTString Wide() const { return CZanTString::FromUtf8(m_path.c_str()); }
    // The path of name inside this folder.
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

// Writes text to path, making the file.
void WriteFile(const std::filesystem::path& path, const std::string& text);

}  // namespace zandb4::testing
