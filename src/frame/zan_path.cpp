// The path operations of CZanTString and CZanTArray<CZanTString>: joining,
// making a folder with its parents, deleting a folder tree, listing a folder.
#include "platform/files.h"
#include "zandb4/foundation.h"

void CZanTString::AppendPath(const CZanTString& other) {
    const std::u16string& tail = other.m_value;
    if (tail.empty()) return;
    if (m_value.empty()) {
        m_value = tail;
        return;
    }
    size_t keep = m_value.find_last_not_of(u'/');
    std::u16string joined = keep == std::u16string::npos ? std::u16string() : m_value.substr(0, keep + 1);
    size_t skip = tail.find_first_not_of(u'/');
    joined += u'/';
    if (skip != std::u16string::npos) joined.append(tail, skip, std::u16string::npos);
    m_value.swap(joined);
}

HRESULT CZanTString::MakeFolder() const {
    std::string path = ToUtf8();
    if (path.empty() || path.back() != '/') path += '/';
    return zandb4::platform::MakeSureDirectoryPathExists(path) ? S_OK : E_FAIL;
}

HRESULT CZanTString::DeleteFolder() const {
    namespace platform = zandb4::platform;
    std::string folder = ToUtf8();
    std::vector<platform::FolderEntry> entries;
    if (!platform::ListFolder(folder, entries)) return platform::RemoveDirectory(folder) ? S_OK : E_FAIL;
    HRESULT result = S_OK;
    for (const platform::FolderEntry& entry : entries) {
        CZanTString path(*this);
        path.AppendPath(CZanTString::FromUtf8(entry.name.c_str()));
        if (entry.isFolder)
            result = path.DeleteFolder();
        else if (!platform::DeleteFile(path.ToUtf8()))
            result = E_FAIL;
        // Entries after a failure stay where they are.
        if (result != S_OK) return result;
    }
    return platform::RemoveDirectory(folder) ? S_OK : E_FAIL;
}

template <>
HRESULT CZanTArray<CZanTString>::ListFolder(const CZanTString& folder) {
    m_pContainer->RemoveAll();
    std::vector<zandb4::platform::FolderEntry> entries;
    if (!zandb4::platform::ListFolder(folder.ToUtf8(), entries)) return E_FAIL;
    for (const zandb4::platform::FolderEntry& entry : entries) {
        CZanTString path(folder);
        path.AppendPath(CZanTString::FromUtf8(entry.name.c_str()));
        m_pContainer->Add(path);
    }
    return S_OK;
}
