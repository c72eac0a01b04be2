// CSQLiteFileBasicDB: the recount notes, Commit with its recounts, Reopen,
// and the NewID that walks past ids already taken.
#include "albums/album_table.h"
#include "albums/tag_tables.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_table.h"
#include "faces/face_tables.h"
#include "faces/feature_point_group_tables.h"
#include "faces/individual_rows.h"
#include "faces/individual_tables.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

// Row tests of the id types that have a table of their own.
const WCHAR* IdTakenStatement(uint32_t idType) {
    switch (idType) {
        case CSQLiteFileBasicDB::kFileIdType: return file_table::kSelectById;
        case CSQLiteFileBasicDB::kAlbumIdType: return album_table::kSelectById;
        case CSQLiteFileBasicDB::kFaceGroupIdType: return individual_tables::kSelectFaceGroupById;
        case CSQLiteFileBasicDB::kPersonIdType: return individual_tables::kSelectPersonById;
        case CSQLiteFileBasicDB::kPersonFaceIdType: return face_tables::kSelectPersonFaceById;
        case CSQLiteFileBasicDB::kPetIdType: return individual_tables::kSelectPetById;
        case CSQLiteFileBasicDB::kPetFaceIdType: return face_tables::kSelectPetFaceById;
        case CSQLiteFileBasicDB::kTagIdType: return tag_tables::kSelectTagById;
        default: return nullptr;
    }
}

// The first column of the one row a count gives, bound to id; 0 on any failure.
int64_t CountFor(sqlite3* db, const WCHAR* sql, uint64_t id) {
    Statement count(db, sql);
    if (!count.IsPrepared()) return 0;
    count.BindInt64(1, static_cast<int64_t>(id));
    return count.Step() == SQLITE_ROW ? count.ColumnInt64(0) : 0;
}

}  // namespace

CSQLiteFileBasicDB::~CSQLiteFileBasicDB() = default;

void CSQLiteFileBasicDB::NoteIndividualForRecount(uint64_t individualId, uint32_t type) {
    if (type == kPerson) m_personRecount.insert(individualId);
    if (type == kPet) m_petRecount.insert(individualId);
}

void CSQLiteFileBasicDB::ForgetIndividualRecount(uint64_t individualId, uint32_t type) {
    if (type == kPerson) m_personRecount.erase(individualId);
    if (type == kPet) m_petRecount.erase(individualId);
}

void CSQLiteFileBasicDB::NoteAlbumForRecount(uint64_t albumId) { m_albumRecount.insert(albumId); }

void CSQLiteFileBasicDB::NoteGroupForRecount(uint64_t groupId, uint32_t type) {
    if (type == kPerson) m_personGroupRecount.insert(groupId);
    if (type == kPet) m_petGroupRecount.insert(groupId);
}

void CSQLiteFileBasicDB::WriteFileCount(uint32_t individualType, uint64_t id, int64_t count) {
    IndividualRows(*this).SetIndividualFileCount(id, individualType, static_cast<uint32_t>(count));
}

uint32_t CSQLiteFileBasicDB::CountFilesOfIndividual(uint64_t individualId, uint32_t type) {
    if (type != kPerson && type != kPet) return 0;
    return static_cast<uint32_t>(CountFor(m_db, type == kPet ? face_tables::kCountPetFiles : face_tables::kCountPersonFiles, individualId));
}

void CSQLiteFileBasicDB::RecountIndividuals(uint32_t individualType, const std::set<uint64_t>& ids) {
    for (uint64_t id : ids) WriteFileCount(individualType, id, CountFilesOfIndividual(id, individualType));
}

void CSQLiteFileBasicDB::RecountGroups(uint32_t individualType, const std::set<uint64_t>& ids) {
    const WCHAR* countSql = individualType == kPet ? feature_point_group_tables::kCountPetGroupItems
                                                   : feature_point_group_tables::kCountPersonGroupItems;
    // The group id stands where the individual's id would.
    for (uint64_t id : ids) WriteFileCount(individualType, id, CountFor(m_db, countSql, id));
}

void CSQLiteFileBasicDB::RecountAlbum(uint64_t albumId) {
    int64_t fileCount = CountFor(m_db, album_table::kCountFiles, albumId);
    BeginTransaction();
    {
        Statement update(m_db, album_table::kUpdateFileCount);
        if (update.IsPrepared()) {
            update.BindInt64(1, fileCount);
            update.BindInt64(2, static_cast<int64_t>(albumId));
            update.Step();
        }
    }

    // The date range covers every file of the album, managed or not. Dates
    // of 0 that come first (as they do in ascending order) are passed over.
    // Compared as unsigned values, as the range has always been kept.
    uint64_t oldest = 0;
    uint64_t latest = 0;
    {
        Statement walk(m_db, album_table::kSelectFiles);
        if (walk.IsPrepared()) {
            walk.BindInt64(1, static_cast<int64_t>(albumId));
            while (walk.Step() == SQLITE_ROW) {
                uint64_t date = static_cast<uint64_t>(walk.ColumnInt64(file_table::kShootingDate));
                if (oldest == 0 && latest == 0) {
                    oldest = latest = date;
                    continue;
                }
                if (date < oldest) oldest = date;
                if (date > latest) latest = date;
            }
        }
    }
    BeginTransaction();
    Statement update(m_db, album_table::kUpdateDates);
    if (!update.IsPrepared()) return;
    update.BindInt64(1, static_cast<int64_t>(oldest));
    update.BindInt64(2, static_cast<int64_t>(latest));
    update.BindInt64(3, static_cast<int64_t>(albumId));
    update.Step();
}

HRESULT CSQLiteFileBasicDB::Commit(bool force) {
    // Copies: a recount must not see the sets change under it.
    const std::set<uint64_t> persons = m_personRecount;
    const std::set<uint64_t> pets = m_petRecount;
    const std::set<uint64_t> albums = m_albumRecount;
    const std::set<uint64_t> personGroups = m_personGroupRecount;
    const std::set<uint64_t> petGroups = m_petGroupRecount;

    RecountIndividuals(kPerson, persons);
    RecountIndividuals(kPet, pets);
    for (uint64_t albumId : albums)
        if (albumId != 0) RecountAlbum(albumId);
    RecountGroups(kPerson, personGroups);
    RecountGroups(kPet, petGroups);

    m_personRecount.clear();
    m_petRecount.clear();
    m_albumRecount.clear();
    m_personGroupRecount.clear();
    m_petGroupRecount.clear();
    return CSQLiteDBBase::Commit(force);
}

void CSQLiteFileBasicDB::ForgetRecounts() {
    // The group sets are left as they are.
    m_personRecount.clear();
    m_petRecount.clear();
    m_albumRecount.clear();
}

HRESULT CSQLiteFileBasicDB::Reopen() {
    ForgetRecounts();
    return CSQLiteDBBase::Reopen();
}

bool CSQLiteFileBasicDB::IsIDInUse(uint64_t id, uint32_t idType) {
    const WCHAR* sql = IdTakenStatement(idType);
    if (sql == nullptr) return false;
    Statement select(m_db, sql);
    if (!select.IsPrepared()) return false;
    select.BindInt64(1, static_cast<int64_t>(id));
    return select.Step() == SQLITE_ROW;
}

HRESULT CSQLiteFileBasicDB::NewID(uint32_t idType, uint64_t* outId) {
    for (;;) {
        HRESULT drawn = CSQLiteDBBase::NewID(idType, outId);
        if (drawn != S_OK) return drawn;
        // A pooled id that turned out to be taken is dropped for good.
        if (!IsIDInUse(*outId, idType)) return S_OK;
    }
}
