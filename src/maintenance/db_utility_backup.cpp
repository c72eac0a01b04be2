// CZanDB4DBUtility::BackupDatabases: a copy of the files of the database
// folder (and, when asked, of its shard folders) into a backup folder, with
// one older generation kept beside it under the same name with "2" appended.
// Nothing is committed or closed first: the copy holds what the files hold.
#include <new>
#include <string>

#include "catalogue/file_basic_db.h"
#include "maintenance/db_utility.h"
#include "platform/files.h"

namespace platform = zandb4::platform;

namespace {

// Removes what stands at path: a folder with everything in it, else a file.
// A path that does not exist answers all ones, which has the directory bit,
// and so goes the folder's way, which finds nothing to remove. The outcome
// is not looked at.
void RemovePath(const CZanTString& path) {
    if ((platform::GetFileAttributes(path.ToUtf8()) & platform::kAttributeDirectory) != 0)
        path.DeleteFolder();
    else
        platform::DeleteFile(path.ToUtf8());
}

// The default backup folder: "database-backup" beside the catalogue's
// folder.
CZanTString DefaultBackupPath(const CZanTString& databaseFolder) {
    std::string folder = databaseFolder.ToUtf8();
    // One trailing separator is cut, so that the last component is the
    // database folder itself.
    if (!folder.empty() && folder.back() == '/') folder.pop_back();
    CZanTString path = CZanTString::FromUtf8(platform::RemoveFileSpec(folder).c_str());
    path.AppendPath(CZanDB4DBUtility::kBackupFolderName);
    return path;
}

}  // namespace

HRESULT CZanDB4DBUtility::BackupDatabases(const WCHAR* folder, BOOL includeFolders) {
    CSQLiteFileBasicDB* catalogue = m_stores.fileBasicDB;
    if (catalogue == nullptr) return E_FAIL;
    CriticalSectionGuard guard(catalogue->m_lock);

    CZanTString backupPath;
    CZanTString oldGenerationPath;
    if (folder != nullptr) {
        backupPath = folder;
        oldGenerationPath = backupPath + kOldGenerationSuffix;
    }
    if (backupPath.IsEmpty()) {
        backupPath = DefaultBackupPath(catalogue->m_folder);
        oldGenerationPath = backupPath + kOldGenerationSuffix;
    }

    // The backup there becomes the older generation, and the one before it
    // goes. Whether the move worked is not looked at: the copy below goes
    // into the backup folder either way.
    if (platform::PathFileExists(backupPath.ToUtf8())) {
        if (platform::PathFileExists(oldGenerationPath.ToUtf8())) RemovePath(oldGenerationPath);
        platform::ShellRename(backupPath.ToUtf8(), oldGenerationPath.ToUtf8());
    }

    // A folder that cannot be listed has no entries, and nothing is made.
    CZanTArray<CZanTString> entries;
    entries.ListFolder(catalogue->m_folder);
    for (ptrdiff_t index = 0; index < entries.GetSize(); ++index) {
        const CZanTString& source = entries.GetAt(index);
        bool isFolder = (platform::GetFileAttributes(source.ToUtf8()) & platform::kAttributeDirectory) != 0;
        if (isFolder && !includeFolders) continue;

        CZanTString target(backupPath);
        target.AppendPath(CZanTString::FromUtf8(platform::FindFileName(source.ToUtf8()).c_str()));
        RemovePath(target);
        if (source.IsEmpty() || backupPath.IsEmpty()) return E_FAIL;

        std::string from;
        std::string to;
        try {
            from = source.ToUtf8();
            to = backupPath.ToUtf8();
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        // The outcome is not looked at: the copy tells.
        platform::MakeSureDirectoryPathExists(to + '/');
        // A failed copy ends the walk with its code; the backup is then
        // partial, and neither it nor the older generation is touched again.
        int copied = platform::ShellCopy(from, to);
        if (copied != 0) return static_cast<HRESULT>(copied);
    }
    return S_OK;
}
