// CZanDB4FileDBMgr: Commit, Rollback and the move of staged files.
//
// The order of a commit is a decision with a price. Staged rows reach the
// catalogue's open transaction before they are deleted from staging and
// staging is committed, and the catalogue commits last: a crash between the
// two commits loses the files moved (their thumbnails stay on disk without
// an owner). Passing flags 2 and 1 together keeps that interval short.
#include <vector>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "frame/critical_section.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "storage/statement.h"

namespace {

constexpr WCHAR kDeleteTagsOfReadyFiles[] =
    u"DELETE FROM async_tag_file_table WHERE EXISTS (SELECT * FROM async_file_table WHERE "
    u"async_file_table.can_commit='1' AND async_file_table.file_id=async_tag_file_table.file_id)";
constexpr WCHAR kDeleteReadyFiles[] = u"DELETE FROM async_file_table WHERE can_commit='1'";

constexpr uint32_t kFileIdType = 1;

}  // namespace

CZanDB4FileDBMgr::CZanDB4FileDBMgr(CSQLiteFileBasicDB* fileBasicDB, CSQLiteAsyncDB* asyncDB,
                                   CSQLiteMetaDataDBFactory* metaFactory, CSQLiteThumbDBMgr* thumbMgr)
    : m_fileBasicDB(fileBasicDB), m_asyncDB(asyncDB), m_metaFactory(metaFactory), m_thumbMgr(thumbMgr) {}

HRESULT CZanDB4FileDBMgr::MoveStagedFiles(std::set<uint64_t>& failed) {
    failed.clear();
    if (m_fileBasicDB == nullptr || m_asyncDB == nullptr) return E_FAIL;
    CriticalSectionGuard guard(m_fileBasicDB->m_lock);
    std::vector<uint64_t> failedList;
    HRESULT moved = m_asyncDB->MoveFiles(*m_fileBasicDB, failedList);

    // The ready rows go from staging whether they moved or not: a file that
    // failed is gone from both stores and reported only here. There is no
    // retry; the client adds it again.
    m_asyncDB->BeginTransaction();
    if (zandb4::RunStatement(m_asyncDB->m_db, kDeleteTagsOfReadyFiles) == S_OK)
        zandb4::RunStatement(m_asyncDB->m_db, kDeleteReadyFiles);

    for (uint64_t fileId : failedList) failed.insert(fileId);
    for (uint64_t fileId : failed) m_fileBasicDB->PoolID(fileId, kFileIdType);
    return moved;
}

HRESULT CZanDB4FileDBMgr::Commit(uint32_t flags) { return Commit(flags, nullptr); }

HRESULT CZanDB4FileDBMgr::Commit(uint32_t flags, std::set<uint64_t>* failedOut) {
    if (failedOut != nullptr) failedOut->clear();
    if (m_fileBasicDB == nullptr) return E_FAIL;
    CriticalSectionGuard guard(m_fileBasicDB->m_lock);
    std::set<uint64_t> failed;
    HRESULT result = S_OK;

    if (flags & kCommitStaging) {
        result = m_asyncDB != nullptr ? m_asyncDB->Commit(false) : E_FAIL;
        if (result == S_OK) result = m_thumbMgr != nullptr ? m_thumbMgr->CommitAll(1, nullptr) : E_FAIL;
    }
    if ((flags & kMoveStaged) && result == S_OK) {
        result = MoveStagedFiles(failed);
        if (result == S_OK) {
            // The thumbnails of the files that failed go with the commit.
            if (m_thumbMgr != nullptr) m_thumbMgr->CommitAll(0, &failed);
            result = m_asyncDB->Commit(false);
        }
        if (!failed.empty()) result = S_FALSE;
        if (failedOut != nullptr) *failedOut = failed;
    }
    const bool bad = result != S_OK && result != S_FALSE;

    if (flags & kCommitCatalogue) {
        // The catalogue commits even after a failure above, so that what
        // reached its transaction is kept.
        HRESULT committed = m_fileBasicDB->Commit(false);
        if (!bad) {
            // S_FALSE is lost here: the answer is that of the last commit.
            result = committed;
            if (result == S_OK) result = m_thumbMgr != nullptr ? m_thumbMgr->CommitAll(1, nullptr) : E_FAIL;
            if (result == S_OK) result = m_metaFactory != nullptr ? m_metaFactory->CommitShards() : E_FAIL;
        }
    }
    return bad ? E_FAIL : result;
}

HRESULT CZanDB4FileDBMgr::Rollback(uint32_t flags) {
    if (m_fileBasicDB == nullptr) return E_FAIL;
    CriticalSectionGuard guard(m_fileBasicDB->m_lock);
    HRESULT result = S_OK;
    if ((flags & kRollbackStaging) && m_asyncDB != nullptr) result = m_asyncDB->Reopen();
    if (flags & kRollbackCatalogue) {
        result = m_fileBasicDB->Reopen();
        if (m_thumbMgr != nullptr) {
            if (CSQLiteThumbDBFactory* kind1 = m_thumbMgr->Factory(1)) kind1->ReopenShards();
            if (CSQLiteThumbDBFactory* kind2 = m_thumbMgr->Factory(2)) kind2->ReopenShards();
        }
        if (m_metaFactory != nullptr) m_metaFactory->ReopenShards();
    }
    return result;
}
