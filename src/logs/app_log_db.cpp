// CSQLiteAppLogDataDB: the file's life cycle (expiry noted at Open, deletion
// at Close), its schema and its upgrade.
#include "logs/app_log_db.h"

#include "logs/app_log_tables.h"
#include "platform/clock.h"
#include "platform/files.h"

namespace platform = zandb4::platform;
namespace tables = app_log_tables;

namespace {

constexpr int64_t kSecondsPerDay = 86400;

// The tables and indexes in the order they are made, for a new file and,
// in their "IF NOT EXISTS" form, for the upgrade.
constexpr const WCHAR* kNewFileStatements[] = {
    tables::kCreateAccumulation, tables::kCreateAccumulationIndex, tables::kCreateHistory,
    tables::kCreateInformation,  tables::kCreateInformationIndex,
};
constexpr const WCHAR* kUpgradeStatements[] = {
    tables::kCreateAccumulationIfMissing, tables::kCreateAccumulationIndexIfMissing, tables::kCreateHistoryIfMissing,
    tables::kCreateInformationIfMissing,  tables::kCreateInformationIndexIfMissing,
};

}  // namespace

HRESULT CSQLiteAppLogDataDB::Open() {
    // An in-memory store has no file whose age or size could count.
    if (!IsInMemory()) {
        platform::FileStatus status;
        if (platform::GetFileStatus(FullPath().ToUtf8(), status)) {
            const int64_t now = platform::SystemTimeToUnixSeconds(platform::GetSystemTime());
            // Only the low 16 bits of the age in days count, as an unsigned
            // number: an age of 65536 + 10 days reads as 10, and a file made
            // a whole day or more after "now" reads as some 65000 days old.
            // Files depend on that arithmetic, and it stays.
            const auto ageInDays = static_cast<uint16_t>((now - status.creationTime) / kSecondsPerDay);
            if (ageInDays > tables::kExpiryDays || status.size > tables::kExpirySize) m_expired = 1;
        }
    }
    // Expired or not, the store is opened and used as normal; m_expired only
    // prepares the deletion at Close, if the application asks for it.
    return CSQLiteDBBase::Open();
}

HRESULT CSQLiteAppLogDataDB::CreateTables() {
    if (CSQLiteDBBase::CreateTables() != S_OK) return E_FAIL;
    for (const WCHAR* statement : kNewFileStatements) {
        if (ExecuteStatement(statement) != S_OK) return E_FAIL;
    }
    return S_OK;
}

HRESULT CSQLiteAppLogDataDB::UpgradeTables() {
    uint32_t version = 0;
    if (GetVersion(&version) != S_OK) return E_FAIL;
    // Only a file of the current version is completed; older and newer files
    // are left exactly as they are.
    if (version != kCurrentVersion) return S_OK;
    HRESULT made = S_OK;
    for (const WCHAR* statement : kUpgradeStatements) {
        made = ExecuteStatement(statement);
        if (made != S_OK) break;
    }
    return made;
}

HRESULT CSQLiteAppLogDataDB::Close() {
    CSQLiteDBBase::Close();
    // The application's log starts anew at the next Open. An in-memory store,
    // or one without a folder, has no file of its own to delete: the bare
    // file name would be taken from the working folder.
    if (m_deleteOnClose && !IsInMemory() && !m_folder.IsEmpty()) platform::DeleteFile(FullPath().ToUtf8());
    return S_OK;
}

HRESULT CSQLiteAppLogDataDB::SetDeleteOnClose(uint32_t mode) {
    // Mode 2 deletes only what has expired, and never takes back a deletion
    // asked for before.
    if (mode == 2)
        m_deleteOnClose = m_deleteOnClose | m_expired;
    else
        m_deleteOnClose = mode;
    return S_OK;
}
