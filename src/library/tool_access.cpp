// The tool's doors into the library (see tool_access.h): the read scope and
// counts on the catalogue, the commit that names the files it could not
// move, and the volume and shard naming rules. The read-only start is in
// read_only_start.cpp.
#include "library/tool_access.h"

#include <set>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "frame/com_ptr.h"
#include "library/database_registry.h"
#include "platform/volume.h"
#include "shards/shard_files.h"
#include "storage/statement.h"
#include "zandb4/exports.h"
#include "zandb4/identifiers.h"

namespace zandb4::tool_access {
namespace {

constexpr WCHAR kBeginRead[] = u"BEGIN";
constexpr WCHAR kEndRead[] = u"COMMIT";

}  // namespace

CatalogueRead::CatalogueRead() : m_catalogue(DatabaseRegistry::fileBasicDB), m_beginCode(SQLITE_MISUSE) {
    if (m_catalogue == nullptr) return;
    // Held until the destructor: this object is the scoped guard of the
    // read, as a std::lock_guard would be of a block.
    m_catalogue->m_lock.Lock();
    if (m_catalogue->m_db != nullptr && sqlite3_db_readonly(m_catalogue->m_db, "main") == 1)
        m_beginCode = Exec(m_catalogue->m_db, kBeginRead);
}

CatalogueRead::~CatalogueRead() {
    if (m_catalogue == nullptr) return;
    // Only a transaction this object began is ended: a COMMIT after a failed
    // BEGIN could end a transaction someone else holds open.
    if (m_beginCode == SQLITE_OK) Exec(m_catalogue->m_db, kEndRead);
    m_catalogue->m_lock.Unlock();
}

int CountCatalogueRows(const WCHAR* sql, const uint64_t* id, int64_t& count) {
    CSQLiteFileBasicDB* catalogue = DatabaseRegistry::fileBasicDB;
    if (catalogue == nullptr) return SQLITE_MISUSE;
    CriticalSectionGuard guard(catalogue->m_lock);
    Statement statement(catalogue->m_db, sql);
    if (id != nullptr) statement.BindInt64(1, static_cast<int64_t>(*id));
    int step = statement.Step();
    int64_t counted = step == SQLITE_ROW ? statement.ColumnInt64(0) : 0;
    int code = statement.Finalize();
    if (code == SQLITE_OK && step != SQLITE_ROW) code = step == SQLITE_DONE ? SQLITE_ERROR : step;
    if (code == SQLITE_OK) count = counted;
    return code;
}

HRESULT CommitWithFailedIds(uint32_t flags, std::vector<uint64_t>& failed) {
    failed.clear();
    ComPtr<IZanDB4FileDBMgr> manager;
    HRESULT made = ZanDB4_CreateInstance(&IID_IZanDB4FileDBMgr, reinterpret_cast<void**>(manager.Receive()));
    if (made != S_OK) return made;
    // The factory makes a CZanDB4FileDBMgr for this identifier; only that
    // class's Commit reports the files one by one.
    std::set<uint64_t> failedSet;
    HRESULT result = static_cast<CZanDB4FileDBMgr*>(manager.Get())->Commit(flags, &failedSet);
    failed.assign(failedSet.begin(), failedSet.end());
    return result;
}

uint32_t VolumeSerialOf(const std::string& path) { return platform::GetVolumeSerial(path); }

CZanTString ThumbnailShardFileName(uint64_t id) {
    uint64_t shard = shard_files::ShardNumberOf(id, shard_files::kIdsPerShard);
    return shard_files::FileNameOf(shard, shard_files::kPaddedNameFormat);
}

std::vector<CZanTString> ShardFileNamesIn(const CZanTString& folder) { return shard_files::ShardFileNamesIn(folder); }

uint32_t StoreVersion() { return CSQLiteDBBase::kCurrentVersion; }

}  // namespace zandb4::tool_access
