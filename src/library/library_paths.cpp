// ResolveRoot: the root folder given, or the library file's own folder.
#include "library/library_paths.h"

#include "platform/files.h"

namespace zandb4 {

CZanTString ResolveRoot(const WCHAR* root) {
    if (root != nullptr) return CZanTString(root);
    std::string folder = platform::LibraryFolder();
    return CZanTString::FromUtf8(folder.c_str());
}

}  // namespace zandb4
