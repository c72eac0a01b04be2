#include "support/temp_folder.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace zandb4::testing {

TempFolder::TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zandb4-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

TempFolder::~TempFolder() {
    std::error_code error;
    // Folders a test made unreadable are opened up again so they can go.
    for (auto it = std::filesystem::recursive_directory_iterator(
             m_path, std::filesystem::directory_options::skip_permission_denied, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        if (it->is_directory(error) && !it->is_symlink(error))
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, error);
    }
    std::filesystem::remove_all(m_path, error);
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

}  // namespace zandb4::testing
