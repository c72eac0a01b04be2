// CSQLiteDBBase: open and close, the building of a new file, the version
// row, the base tables, the single long transaction and the volume guard.
#include "storage/sqlite_db_base.h"

#include "platform/files.h"
#include "platform/volume.h"
#include "storage/result_codes.h"
#include "storage/statement.h"

namespace platform = zandb4::platform;
using zandb4::Statement;

namespace {

constexpr WCHAR kInMemory[] = u":memory:";
constexpr WCHAR kSelectVersion[] = u"SELECT * FROM version_info_table";
constexpr WCHAR kUpdateVersion[] = u"UPDATE version_info_table SET version=?";
constexpr WCHAR kCreateVersionTable[] = u"CREATE TABLE version_info_table (version INTEGER)";
constexpr WCHAR kInsertVersionFormat[] = u"INSERT INTO version_info_table VALUES('%u')";
constexpr WCHAR kCreateLastIdTable[] = u"CREATE TABLE last_id_table (id_type INTEGER, last_id INTEGER)";
constexpr WCHAR kCreatePooledIdTable[] = u"CREATE TABLE pooled_id_table (id_type INTEGER, pooled_id INTEGER)";
constexpr WCHAR kBegin[] = u"BEGIN;";
constexpr WCHAR kCommit[] = u"COMMIT;";
constexpr WCHAR kVacuum[] = u"VACUUM;";
constexpr WCHAR kBuildWithoutSync[] = u"PRAGMA synchronous=OFF;";
constexpr WCHAR kBuildWithJournalInMemory[] = u"PRAGMA journal_mode=MEMORY;";

// What SQLite may keep beside a database file: the rollback journal, or the
// write-ahead log and its index.
constexpr const char* kCompanionSuffixes[] = {"-journal", "-wal", "-shm"};

void RemoveCompanionFiles(const std::string& path) {
    for (const char* suffix : kCompanionSuffixes) platform::DeleteFile(path + suffix);
}

constexpr WCHAR kQuickCheck[] = u"PRAGMA quick_check;";
constexpr WCHAR kQuickCheckPassed[] = u"ok";

// Whether SQLite reads the file at path as a sound database: it opens and
// its quick check answers "ok" alone. Any failure on the way counts as not
// sound.
bool IsSoundDatabase(const std::string& path) {
    sqlite3* db = nullptr;
    bool sound = false;
    if (sqlite3_open16(CZanTString::FromUtf8(path.c_str()).GetString(), &db) == SQLITE_OK) {
        Statement check(db, kQuickCheck);
        sound = check.IsPrepared() && check.Step() == SQLITE_ROW &&
                check.ColumnText(0).Compare(kQuickCheckPassed) == 0 && check.Step() == SQLITE_DONE &&
                check.Finalize() == SQLITE_OK;
    }
    sqlite3_close(db);
    return sound;
}

}  // namespace

CSQLiteDBBase::CSQLiteDBBase() = default;

CSQLiteDBBase::~CSQLiteDBBase() {
    if (m_inTransaction) CommitBase(false);
    CloseConnection();
}

bool CSQLiteDBBase::IsInMemory() const { return m_fileName.Compare(kInMemory) == 0; }

CZanTString CSQLiteDBBase::FullPath() const {
    if (IsInMemory()) return m_fileName;
    CZanTString path(m_folder);
    path.AppendPath(m_fileName);
    return path;
}

void CSQLiteDBBase::LeaveStatementOpen(sqlite3_stmt* statement) {
    if (statement != nullptr) m_leftOpen.push_back(statement);
}

void CSQLiteDBBase::CloseConnection() {
    for (sqlite3_stmt* statement : m_leftOpen) sqlite3_finalize(statement);
    m_leftOpen.clear();
    if (m_db != nullptr) sqlite3_close(m_db);
    m_db = nullptr;
}

HRESULT CSQLiteDBBase::ExecuteStatement(const WCHAR* sql) { return zandb4::RunStatement(m_db, sql); }

HRESULT CSQLiteDBBase::Open() {
    m_tooNew = 0;
    bool inMemory = IsInMemory();
    if (m_folder.IsEmpty() && !inMemory) {
        CloseConnection();
        m_volumeSerial = 0;
        return E_FAIL;
    }
    CZanTString path = FullPath();
    std::string narrowPath = path.ToUtf8();
    bool existed = !inMemory && platform::PathFileExists(narrowPath);

    // A connection still open from before would otherwise be lost.
    CloseConnection();
    // A new file is built apart and put in place whole; from here on it is
    // opened as any file that was there.
    if (!existed && !inMemory && MakeNewFile(narrowPath) != S_OK) return E_FAIL;
    if (sqlite3_open16(path.GetString(), &m_db) != SQLITE_OK) {
        CloseConnection();
        return E_FAIL;
    }
    if (inMemory && CreateTables() != S_OK) {
        CloseConnection();
        return E_FAIL;
    }
    if (inMemory) {
        m_volumeSerial = 0;
    } else {
        m_volumeSerial = platform::GetVolumeSerial(narrowPath);
        NoteTooNew();
    }
    m_inTransaction = 0;
    return S_OK;
}

HRESULT CSQLiteDBBase::MakeNewFile(const std::string& path) {
    const std::string building = path + kNewFileSuffix;
    // What a start that died while building left behind goes first. So does
    // a journal or log whose database file is gone: SQLite would take it as
    // hot and play it back into the new file once it stands under that name.
    platform::DeleteFile(building);
    RemoveCompanionFiles(building);
    RemoveCompanionFiles(path);

    if (sqlite3_open16(CZanTString::FromUtf8(building.c_str()).GetString(), &m_db) != SQLITE_OK) {
        CloseConnection();
        platform::DeleteFile(building);
        return E_FAIL;
    }
    // Nothing in this file counts before it is renamed into place, so no
    // statement has to reach the disk on its own, and a journal on disk would
    // only cost time: the whole file is forced to the disk once, below. Both
    // settings end with this connection. If either is refused, building is
    // only slower.
    ExecuteStatement(kBuildWithoutSync);
    ExecuteStatement(kBuildWithJournalInMemory);
    HRESULT made = CreateTables();
    // Work a store's CreateTables left in an open transaction belongs in the
    // file; after a failure it goes with the connection, as it always did. A
    // COMMIT that fails (a full disk) means the tables were not made.
    if (made == S_OK && m_db != nullptr && sqlite3_get_autocommit(m_db) == 0 && ExecuteStatement(kCommit) != S_OK)
        made = E_FAIL;
    CloseConnection();

    // With its journal in memory, SQLite cannot always undo a write that
    // failed half way (a disk that filled up while building), and the file
    // may be torn. Under the final name such a file would fail every read of
    // the store for good; nothing in it counts yet, so it goes, and the next
    // Open builds the store again.
    if (made != S_OK && !IsSoundDatabase(building)) {
        platform::DeleteFile(building);
        RemoveCompanionFiles(building);
        return E_FAIL;
    }
    // A half-made file goes into place too, so that the next Open does not
    // try its tables again; only a crash, or a torn build as above, leaves
    // nothing under the final name.
    if (!platform::SyncFile(building) || !platform::RenameFile(building, path)) {
        platform::DeleteFile(building);
        return E_FAIL;
    }
    // Makes the new name itself durable. A file system that cannot sync a
    // folder is no reason to fail: the file is whole under its name, and if a
    // power loss took the name, the next Open builds the file again.
    platform::SyncFolder(m_folder.ToUtf8());
    return made == S_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteDBBase::OpenReadOnly(int busyMilliseconds) {
    m_tooNew = 0;
    m_inTransaction = 0;
    m_volumeSerial = 0;
    CloseConnection();
    if (IsInMemory() || m_folder.IsEmpty()) return E_FAIL;
    std::string narrowPath = FullPath().ToUtf8();
    if (!platform::PathFileExists(narrowPath)) return E_FAIL;
    if (sqlite3_open_v2(narrowPath.c_str(), &m_db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        CloseConnection();
        return E_FAIL;
    }
    sqlite3_busy_timeout(m_db, busyMilliseconds);
    NoteTooNew();
    return S_OK;
}

void CSQLiteDBBase::NoteTooNew() {
    // Only the major version counts: a newer minor version of the same major
    // gets no flag.
    uint32_t stored = 0;
    GetVersion(&stored);
    if (stored != 0 && stored / 1000 > m_version / 1000) m_tooNew = 1;
}

HRESULT CSQLiteDBBase::GetVersion(uint32_t* outVersion) {
    if (m_db == nullptr) return E_FAIL;
    if (outVersion == nullptr) return E_INVALIDARG;
    Statement select(m_db, kSelectVersion);
    uint32_t version = 0;
    // A file without the table counts as version 0.
    if (select.IsPrepared()) {
        while (select.Step() == SQLITE_ROW) {
            uint32_t value = static_cast<uint32_t>(select.ColumnInt64(0));
            if (version == 0 && value != 0) version = value;
        }
    }
    *outVersion = version;
    return S_OK;
}

HRESULT CSQLiteDBBase::SetVersion(uint32_t version) {
    if (m_db == nullptr) return E_FAIL;
    Statement update(m_db, kUpdateVersion);
    if (!update.IsPrepared()) return E_FAIL;
    update.BindInt64(1, version);
    update.Step();
    return zandb4::ResultOf(update.Finalize());
}

HRESULT CSQLiteDBBase::GetCurrentVersion(uint32_t* outVersion) {
    if (outVersion == nullptr) return E_INVALIDARG;
    *outVersion = m_version;
    return S_OK;
}

HRESULT CSQLiteDBBase::CreateTables() {
    if (m_db == nullptr) return S_OK;
    if (ExecuteStatement(kCreateVersionTable) != S_OK) return E_FAIL;
    uint32_t version = 0;
    GetCurrentVersion(&version);
    CZanTString insertVersion;
    insertVersion.Format(kInsertVersionFormat, version);
    if (ExecuteStatement(insertVersion.GetString()) != S_OK) return E_FAIL;
    if (ExecuteStatement(kCreateLastIdTable) != S_OK) return E_FAIL;
    if (ExecuteStatement(kCreatePooledIdTable) != S_OK) return E_FAIL;
    return S_OK;
}

HRESULT CSQLiteDBBase::UpgradeTables() { return S_OK; }

HRESULT CSQLiteDBBase::Commit(bool force) { return CommitBase(force); }

void CSQLiteDBBase::ReleaseCacheMemory() {
    if (m_db != nullptr) sqlite3_db_release_memory(m_db);
}

HRESULT CSQLiteDBBase::CommitBase(bool force) {
    if ((!IsInMemory() && m_folder.IsEmpty()) || m_tooNew || m_db == nullptr) return E_FAIL;
    if (m_volumeSerial != 0) {
        // A different disk under the same path never gets the transaction; a
        // disk that comes back still can, since it stays open.
        uint32_t serialNow = platform::GetVolumeSerial(FullPath().ToUtf8());
        if (serialNow == 0 || serialNow != m_volumeSerial) return E_FAIL;
    }
    if (m_inTransaction || force) {
        // With force and no transaction SQLite refuses the COMMIT; the store
        // still counts it as committed, and callers rely on S_OK here.
        ExecuteStatement(kCommit);
        m_inTransaction = 0;
        m_hasCommitted = 1;
    }
    return S_OK;
}

HRESULT CSQLiteDBBase::Close() {
    // If the volume guard refuses this commit, closing throws the
    // transaction away.
    if (m_inTransaction) Commit(false);
    CloseConnection();
    m_inTransaction = 0;
    m_volumeSerial = 0;
    return S_OK;
}

HRESULT CSQLiteDBBase::Vacuum() {
    if (m_folder.IsEmpty() || m_tooNew || m_db == nullptr) return E_FAIL;
    Commit(false);
    return ExecuteStatement(kVacuum);
}

HRESULT CSQLiteDBBase::Reopen() {
    // Clearing the flag first keeps Close from committing: the open
    // transaction goes with the connection.
    m_inTransaction = 0;
    Close();
    return Open();
}

BOOL CSQLiteDBBase::HasCommitted() { return m_hasCommitted; }

void CSQLiteDBBase::BeginTransaction() {
    if (m_inTransaction) return;
    // The outcome is not looked at; without a connection the flag is set all
    // the same.
    zandb4::Exec(m_db, kBegin);
    m_inTransaction = 1;
}
