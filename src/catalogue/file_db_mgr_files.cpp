// CZanDB4FileDBMgr: adding, finding, reading, updating and deleting files.
//
// A new file normally enters through staging (AddFile): the id is drawn from
// the catalogue, the row waits in staging and moves at Commit, where a
// duplicate path is turned away. AddFileDirect writes the catalogue at once.
#include <utility>

#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "catalogue/file_rows.h"
#include "catalogue/file_table.h"
#include "frame/com_ptr.h"
#include "frame/critical_section.h"
#include "frame/factory.h"
#include "records/file_db_record.h"
#include "shards/edit_file_cache_rows.h"
#include "shards/meta_data_db_factory.h"
#include "shards/thumb_db_mgr.h"
#include "staging/async_db.h"
#include "storage/statement.h"
#include "zandb4/faces.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr uint32_t kFileIdType = CSQLiteFileBasicDB::kFileIdType;

// What a group row is staged with in place of the record's own values.
constexpr WCHAR kItemGroupPathFormat[] = u"%s%llu";
constexpr WCHAR kItemGroupPathPrefix[] = u":ITEM_GROUP:";
constexpr WCHAR kItemGroupNameFormat[] = u"%llu";
constexpr uint32_t kItemGroupManage = 2;

constexpr WCHAR kSelectByPathKey[] = u"SELECT * FROM file_table WHERE path_key=? LIMIT 1";

// Tells a record of the library, for the time of a write under a freshly
// drawn id, that it has no row to read its unset fields from. Every field a
// client left unset would otherwise cost a SELECT that finds nothing.
class RowAbsentWhileWriting {
public:
    explicit RowAbsentWhileWriting(IZanDB4FileDBRecord* record)
        : m_record(dynamic_cast<CZanDB4FileDBRecord*>(record)) {
        if (m_record != nullptr) m_record->SetRowAbsent(true);
    }
    ~RowAbsentWhileWriting() {
        if (m_record != nullptr) m_record->SetRowAbsent(false);
    }
    RowAbsentWhileWriting(const RowAbsentWhileWriting&) = delete;
    RowAbsentWhileWriting& operator=(const RowAbsentWhileWriting&) = delete;

private:
    CZanDB4FileDBRecord* m_record;
};

// Marks a record that has just been written as saved.
void MarkSaved(IZanDB4FileDBRecord* record) {
    record->MarkColumnsChanged(0);
    record->MarkRelationsChanged(0);
}

}  // namespace

CSQLiteThumbDBFactory* CZanDB4FileDBMgr::ThumbnailFactory(uint32_t kind) const {
    return m_thumbMgr == nullptr ? nullptr : m_thumbMgr->Factory(kind);
}

void CZanDB4FileDBMgr::ForgetThumbnails(uint64_t fileId) {
    for (uint32_t kind : {1u, 2u})
        if (CSQLiteThumbDBFactory* factory = ThumbnailFactory(kind)) {
            CriticalSectionGuard guard(factory->m_lock);
            factory->DeleteThumbnail(fileId);
        }
}

HRESULT CZanDB4FileDBMgr::AddFile(IZanDB4FileDBRecord* record, uint64_t* outId) {
    if (outId != nullptr) *outId = 0;
    if (record == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (m_asyncDB == nullptr) return E_FAIL;
        // The id comes from the catalogue although the row goes to staging.
        uint64_t fileId = 0;
        HRESULT drawn = catalogue.NewID(kFileIdType, &fileId);
        if (drawn != S_OK) return drawn;
        HRESULT staged = m_asyncDB->AddFile(fileId, record, nullptr, 0);
        if (staged != S_OK) {
            catalogue.PoolID(fileId, kFileIdType);
            return staged;
        }
        record->SetFileID(fileId);
        if (outId != nullptr) *outId = fileId;
        MarkSaved(record);
        ForgetThumbnails(fileId);
        return S_OK;
    });
}

template <class WriteRow>
HRESULT CZanDB4FileDBMgr::AddGroup(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record,
                                   bool refuseNullRecord, WriteRow&& writeRow) {
    if (outId != nullptr) *outId = 0;
    if (children == nullptr || children->IsEmpty()) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        uint64_t groupId = 0;
        HRESULT drawn = catalogue.NewID(kFileIdType, &groupId);
        if (drawn != S_OK) return drawn;
        if (refuseNullRecord && record == nullptr) {
            catalogue.PoolID(groupId, kFileIdType);
            return E_INVALIDARG;
        }
        HRESULT written = writeRow(catalogue, groupId);
        if (written != S_OK) {
            catalogue.PoolID(groupId, kFileIdType);
            return written;
        }
        if (outId != nullptr) *outId = groupId;
        ForgetThumbnails(groupId);
        // The children take the group as parent, and its date, wherever they
        // stand; the outcome does not change the answer.
        SYSTEMTIME groupDate{};
        if (record != nullptr) record->GetShootingDate(&groupDate);
        CZanTArray<uint64_t> childIds(children);
        if (m_asyncDB != nullptr) m_asyncDB->SetParentOfFiles(childIds, groupId, groupDate);
        FileTableRows(catalogue).SetParentOfFiles(childIds, groupId, CZanTDateTime(groupDate));
        return S_OK;
    });
}

HRESULT CZanDB4FileDBMgr::AddItemGroup(CArray<uint64_t>* children, uint64_t* outId, IZanDB4FileDBRecord* record) {
    return AddGroup(children, outId, record, true, [&](CSQLiteFileBasicDB&, uint64_t groupId) {
        if (m_asyncDB == nullptr) return E_FAIL;
        ComPtr<IZanDB4FileDBRecord> held = ComPtr<IZanDB4FileDBRecord>::Share(record);
        StagedFileOverrides overrides;
        overrides.mask = StagedFileOverrides::kManage | StagedFileOverrides::kFilePath |
                         StagedFileOverrides::kDiskVsn | StagedFileOverrides::kFileName;
        overrides.manage = kItemGroupManage;
        overrides.filePath.Format(kItemGroupPathFormat, kItemGroupPathPrefix, static_cast<unsigned long long>(groupId));
        overrides.diskVsn = 0;
        overrides.fileName.Format(kItemGroupNameFormat, static_cast<unsigned long long>(groupId));
        return m_asyncDB->AddFile(groupId, record, &overrides, 1);
    });
}

HRESULT CZanDB4FileDBMgr::AddItemGroupDirect(CArray<uint64_t>* children, uint64_t* outId,
                                             IZanDB4FileDBRecord* record) {
    // The catalogue's group insert refuses a null record itself.
    return AddGroup(children, outId, record, false, [&](CSQLiteFileBasicDB& catalogue, uint64_t groupId) {
        return FileTableRows(catalogue).AddItemGroupFile(groupId, record);
    });
}

HRESULT CZanDB4FileDBMgr::FindFileByPath(uint64_t* outId, IZanDB4FileDBRecord** outRecord, uint32_t diskVsn,
                                         const WCHAR* path) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        if (outId != nullptr) *outId = 0;
        if (outRecord != nullptr) *outRecord = nullptr;
        if (outId == nullptr && outRecord == nullptr) return E_INVALIDARG;
        if (path == nullptr || path[0] == 0) return E_FAIL;
        // The key is made from the path as given: unlike the stored key, a
        // trailing separator stays, so such a path finds nothing.
        CZanTString upper = path;
        upper.MakeUpper();
        CZanTString key;
        key.Format(u"%s_%X", upper.GetString(), diskVsn);
        Statement select(catalogue.m_db, kSelectByPathKey);
        if (!select.IsPrepared()) return E_FAIL;
        select.BindText(1, key);
        if (select.Step() != SQLITE_ROW) return E_FAIL;
        if (outRecord != nullptr)
            return FileTableRows(catalogue).RecordFromRow(outId, outRecord, &select, FileTableRows::kLoadAll);
        *outId = static_cast<uint64_t>(select.ColumnInt64(file_table::kFileId));
        return S_OK;
    });
}

HRESULT CZanDB4FileDBMgr::GetFile(uint64_t fileId, IZanDB4FileDBRecord** outRecord) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return FileTableRows(catalogue).GetFileRecord(fileId, outRecord);
    });
}

HRESULT CZanDB4FileDBMgr::UpdateFile(uint64_t fileId, IZanDB4FileDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        FileTableRows rows(catalogue);
        if (rows.GetFileRecord(fileId, nullptr) == S_OK) return rows.UpdateFileRecord(fileId, record);
        if (m_asyncDB != nullptr && m_asyncDB->HasFile(fileId)) return m_asyncDB->UpdateFile(fileId, record);
        return E_INVALIDARG;
    });
}

HRESULT CZanDB4FileDBMgr::DeleteFile(uint64_t fileId) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        // Both stores, always, in this order: a file may stand in either.
        HRESULT fromCatalogue = FileTableRows(catalogue).DeleteFileRow(fileId);
        HRESULT fromStaging = m_asyncDB != nullptr ? m_asyncDB->DeleteFile(fileId) : E_FAIL;
        if (fromCatalogue != S_OK && fromStaging != S_OK) return E_FAIL;
        // The id is pooled whether or not a row was there.
        catalogue.PoolID(fileId, kFileIdType);
        ForgetThumbnails(fileId);
        if (m_metaFactory != nullptr) m_metaFactory->DeleteMetaData(fileId);
        // The edited image goes with the file, so that a reused id never
        // finds the edit of the file it had before.
        EditFileCacheRows(catalogue).DeleteEditFileCache(fileId);
        // Then the face manager's removal of the file's faces. The row's
        // delete above has taken the catalogue's faces of the file already,
        // so it finds none: their thumbnails and feature points stay behind
        // for the dead-link check to count, as they always have.
        ComPtr<IZanDB4FaceDBMgr> faces;
        if (zandb4::CreateInstance(IID_IZanDB4FaceDBMgr, reinterpret_cast<void**>(faces.Receive())) == S_OK)
            faces->RemoveFacesInFile(fileId);
        return S_OK;
    });
}

HRESULT CZanDB4FileDBMgr::AddFileDirect(IZanDB4FileDBRecord* record, uint64_t* outId, const uint32_t* kinds,
                                        IZanDB4FileCache** caches, uint32_t count, IZanDB4EditFileCache* editCache) {
    if (outId != nullptr) *outId = 0;
    if (record == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        uint64_t fileId = 0;
        HRESULT drawn = catalogue.NewID(kFileIdType, &fileId);
        if (drawn != S_OK) return drawn;
        record->SetFileID(fileId);
        if (outId != nullptr) *outId = fileId;
        // NewID passes over ids that have a row, so this one has none.
        HRESULT result = S_OK;
        {
            RowAbsentWhileWriting noRowYet(record);
            result = FileTableRows(catalogue).InsertFileRecord(record);
        }
        if (result == S_OK) {
            MarkSaved(record);
            if (kinds != nullptr && caches != nullptr) {
                // The first thumbnail that fails ends the loop; those written
                // before it stay.
                for (uint32_t index = 0; index < count && result == S_OK; ++index) {
                    CSQLiteThumbDBFactory* factory = ThumbnailFactory(kinds[index]);
                    if (factory == nullptr) {
                        result = E_INVALIDARG;
                        break;
                    }
                    CriticalSectionGuard guard(factory->m_lock);
                    result = factory->AddThumbnailFromCache(fileId, caches[index]);
                }
            }
        }
        if (result != S_OK) {
            catalogue.PoolID(fileId, kFileIdType);
            return result;
        }
        if (editCache == nullptr) return S_OK;
        return EditFileCacheRows(catalogue).AddEditFileCache(fileId, editCache);
    });
}
