// CZanDB4FileDBMgr: lists, counts and walks over the catalogue. Each wraps
// the caller's container for the call and hands over to the file store, the
// metadata rows or a count of its own, under the catalogue's lock.
#include "catalogue/file_basic_db.h"
#include "catalogue/file_db_mgr.h"
#include "catalogue/file_rows.h"
#include "faces/face_tables.h"
#include "records/meta_rows.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

// The count of a statement with an optional id into *outCount, written only
// when a row came; always S_OK. The pet twins never prepare and leave the
// count as it was.
HRESULT CountInto(sqlite3* db, const WCHAR* sql, const uint64_t* id, uint32_t* outCount) {
    Statement count(db, sql);
    if (!count.IsPrepared()) return S_OK;
    if (id != nullptr) count.BindInt64(1, static_cast<int64_t>(*id));
    if (count.Step() == SQLITE_ROW) *outCount = static_cast<uint32_t>(count.ColumnInt64(0));
    return S_OK;
}

}  // namespace

HRESULT CZanDB4FileDBMgr::ListFiles(IZanDB4QueryNode* query, BOOL sort, CList<IZanDB4FileDBRecord*>* outList,
                                    uint32_t loadMode) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> records(outList);
        return FileTableRows(catalogue).ListFiles(query, sort ? 1 : 0, records, loadMode);
    });
}

HRESULT CZanDB4FileDBMgr::CountFiles(IZanDB4QueryNode* query, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) { return FileTableRows(catalogue).CountFiles(query, outCount); });
}

HRESULT CZanDB4FileDBMgr::HasFiles(IZanDB4QueryNode* query) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) { return FileTableRows(catalogue).HasFiles(query); });
}

HRESULT CZanDB4FileDBMgr::ListFileFormats(IZanDB4QueryNode* query, CList<uint32_t>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<uint32_t> formats(outList);
        return FileTableRows(catalogue).ListFileFormats(query, formats);
    });
}

HRESULT CZanDB4FileDBMgr::ListManageFlags(IZanDB4QueryNode* query, CList<uint32_t>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<uint32_t> flags(outList);
        return FileTableRows(catalogue).ListManageFlags(query, flags);
    });
}

HRESULT CZanDB4FileDBMgr::GetShootingDateRange(IZanDB4QueryNode* query, SYSTEMTIME* outOldest,
                                               SYSTEMTIME* outLatest) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTDateTime oldest, latest;
        HRESULT result = FileTableRows(catalogue).GetShootingDateRange(query, oldest, latest);
        // The caller's dates are touched only when both were read.
        if (result != S_OK) return result;
        if (outOldest != nullptr) *outOldest = oldest.m_time;
        if (outLatest != nullptr) *outLatest = latest.m_time;
        return S_OK;
    });
}

HRESULT CZanDB4FileDBMgr::ListShootingDates(IZanDB4QueryNode* query, CList<SYSTEMTIME>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<SYSTEMTIME> dates(outList);
        return FileTableRows(catalogue).ListShootingDates(query, &dates);
    });
}

HRESULT CZanDB4FileDBMgr::ListFilesInAlbum(uint64_t albumId, CList<IZanDB4FileDBRecord*>* outList, uint32_t order,
                                           uint32_t loadMode) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> records(outList);
        return FileTableRows(catalogue).ListFilesInAlbum(albumId, order, records, loadMode);
    });
}

HRESULT CZanDB4FileDBMgr::CountFilesInAlbum(uint64_t albumId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return FileTableRows(catalogue).CountFilesInAlbum(albumId, outCount);
    });
}

HRESULT CZanDB4FileDBMgr::ListFilesOfPerson(uint64_t personId, CList<IZanDB4FileDBRecord*>* outList,
                                            uint32_t loadMode, CList<IZanDB4FaceDBRecord*>* outFaces) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> files(outList);
        if (outFaces == nullptr)
            return FileTableRows(catalogue).ListFilesOfIndividual(personId, CSQLiteFileBasicDB::kPerson, files,
                                                                   loadMode, nullptr);
        CZanTList<IZanDB4FaceDBRecord*> faces(outFaces);
        return FileTableRows(catalogue).ListFilesOfIndividual(personId, CSQLiteFileBasicDB::kPerson, files, loadMode,
                                                               &faces);
    });
}

HRESULT CZanDB4FileDBMgr::CountFilesOfPerson(uint64_t personId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return CountInto(catalogue.m_db, face_tables::kCountPersonFiles, &personId, outCount);
    });
}

HRESULT CZanDB4FileDBMgr::CountPersonFaces(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return CountInto(catalogue.m_db, face_tables::kCountAssignedPersonFaces, nullptr, outCount);
    });
}

HRESULT CZanDB4FileDBMgr::ListFilesOfPet(uint64_t petId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode,
                                         CList<IZanDB4FaceDBRecord*>* outFaces) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> files(outList);
        if (outFaces == nullptr)
            return FileTableRows(catalogue).ListFilesOfIndividual(petId, CSQLiteFileBasicDB::kPet, files, loadMode,
                                                                   nullptr);
        CZanTList<IZanDB4FaceDBRecord*> faces(outFaces);
        return FileTableRows(catalogue).ListFilesOfIndividual(petId, CSQLiteFileBasicDB::kPet, files, loadMode,
                                                               &faces);
    });
}

HRESULT CZanDB4FileDBMgr::CountFilesOfPet(uint64_t petId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    // The statement names a column pet_face_table does not have: it never
    // prepares, and the count stays as the caller set it.
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return CountInto(catalogue.m_db, face_tables::kCountPetFiles, &petId, outCount);
    });
}

HRESULT CZanDB4FileDBMgr::CountPetFaces(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return CountInto(catalogue.m_db, face_tables::kCountAssignedPetFaces, nullptr, outCount);
    });
}

HRESULT CZanDB4FileDBMgr::ListFilesOfTag(uint64_t tagId, CList<IZanDB4FileDBRecord*>* outList, uint32_t loadMode) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> records(outList);
        return FileTableRows(catalogue).ListFilesOfTag(tagId, records, loadMode);
    });
}

HRESULT CZanDB4FileDBMgr::CountFilesOfTag(uint64_t tagId, uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    // Taken without the lock, as the count has always been: one statement on
    // the catalogue's connection, which SQLite serialises itself.
    if (m_fileBasicDB == nullptr) return E_FAIL;
    return FileTableRows(*m_fileBasicDB).CountFilesOfTag(tagId, outCount);
}

HRESULT CZanDB4FileDBMgr::ListFilesByDate(const SYSTEMTIME* first, const SYSTEMTIME* last,
                                          CList<IZanDB4FileDBRecord*>* outList, BOOL parent, uint32_t loadMode) {
    if (first == nullptr || last == nullptr || outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> records(outList);
        return FileTableRows(catalogue).ListFilesByDate(*first, *last, parent, records, loadMode);
    });
}

// Two entries of the interface share this one function; it has no effect.
static HRESULT ReservedOperation() { return E_NOTIMPL; }

HRESULT CZanDB4FileDBMgr::ReservedOperation1() { return ReservedOperation(); }

HRESULT CZanDB4FileDBMgr::ListFilesByImport(const SYSTEMTIME* importDate, const uint32_t* importClass,
                                            CList<IZanDB4FileDBRecord*>* outList, uint32_t options) {
    if (importDate == nullptr || outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileDBRecord*> records(outList);
        return FileTableRows(catalogue).ListFilesByImport(*importDate, importClass, options, records,
                                                          FileTableRows::kLoadAll);
    });
}

HRESULT CZanDB4FileDBMgr::ReservedOperation2() { return ReservedOperation(); }

HRESULT CZanDB4FileDBMgr::ListMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileMetaDBRecord*> records(outList);
        return MetaTableRows(catalogue).ListMetaRecords(records);
    });
}

HRESULT CZanDB4FileDBMgr::ListModelMetaRecords(CList<IZanDB4FileMetaDBRecord*>* outList) {
    if (outList == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        CZanTList<IZanDB4FileMetaDBRecord*> records(outList);
        return MetaTableRows(catalogue).ListModelMetaRecords(records);
    });
}

HRESULT CZanDB4FileDBMgr::ForEachModelMetaRecord(ZanDB4MetaRecordCallback callback, void* context) {
    if (callback == nullptr) return E_INVALIDARG;
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) {
        return MetaTableRows(catalogue).ForEachModelMetaRecord(callback, context);
    });
}

HRESULT CZanDB4FileDBMgr::ForEachFile(ZanDB4FileWalkCallback callback, void* context) {
    return Locked(E_FAIL, [&](CSQLiteFileBasicDB& catalogue) { return FileTableRows(catalogue).ForEachFile(callback, context); });
}
