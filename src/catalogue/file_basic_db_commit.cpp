// CSQLiteFileBasicDB: Commit with its recounts, Reopen, and the NewID that
// walks past ids already taken.
#include "catalogue/file_basic_db.h"
#include "storage/statement.h"

using zandb4::Statement;

namespace {

constexpr WCHAR kCountPersonFiles[] =
    u"SELECT COUNT( DISTINCT person_face_table.file_id ) FROM person_face_table WHERE person_face_table.person_id=?";
// pet_face_table has no person_id column, so this never prepares and every
// recounted pet gets a file_count of 0. Catalogues and the application rely
// on the count staying so; the statement must stay as it is.
constexpr WCHAR kCountPetFiles[] =
    u"SELECT COUNT( DISTINCT pet_face_table.file_id ) FROM pet_face_table WHERE pet_face_table.person_id=?";
constexpr WCHAR kUpdatePersonFileCount[] = u"UPDATE person_table SET file_count=? WHERE person_id=?";
constexpr WCHAR kUpdatePetFileCount[] = u"UPDATE pet_table SET file_count=? WHERE pet_id=?";

constexpr WCHAR kCountPersonGroupItems[] =
    u"SELECT COUNT(*) FROM person_face_feature_point_group_item_table WHERE group_id=?";
constexpr WCHAR kCountPetGroupItems[] =
    u"SELECT COUNT(*) FROM pet_face_feature_point_group_item_table WHERE group_id=?";

constexpr WCHAR kCountAlbumFiles[] = u"SELECT COUNT(*) FROM file_table WHERE album_id=? AND file_table.manage=1";
constexpr WCHAR kUpdateAlbumFileCount[] = u"UPDATE album_table SET album_file_count=? WHERE album_id=?";
constexpr WCHAR kSelectAlbumFiles[] =
    u"SELECT * FROM file_table WHERE album_id=? ORDER BY shooting_date ASC, file_name ASC";
constexpr WCHAR kUpdateAlbumDates[] =
    u"UPDATE album_table SET shooting_date_oldest=?, shooting_date_latest=? WHERE album_id=?";
constexpr int kShootingDateColumn = 6;

// Row tests of the id types that have a table of their own.
const WCHAR* IdTakenStatement(uint32_t idType) {
    switch (idType) {
        case 1: return u"SELECT * FROM file_table WHERE file_id=? LIMIT 1";
        case 2: return u"SELECT * FROM album_table WHERE album_id=? LIMIT 1";
        case 3: return u"SELECT * FROM face_group_table WHERE face_group_id=? LIMIT 1";
        case 4: return u"SELECT * FROM person_table WHERE person_id=? LIMIT 1";
        case 5: return u"SELECT * FROM person_face_table WHERE person_face_id=? LIMIT 1";
        case 6: return u"SELECT * FROM pet_table WHERE pet_id=? LIMIT 1";
        case 7: return u"SELECT * FROM pet_face_table WHERE pet_face_id=? LIMIT 1";
        case 8: return u"SELECT * FROM tag_table WHERE tag_id=? LIMIT 1";
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

void CSQLiteFileBasicDB::WriteFileCount(uint32_t individualType, uint64_t id, int64_t count) {
    BeginTransaction();
    Statement update(m_db, individualType == kPet ? kUpdatePetFileCount : kUpdatePersonFileCount);
    if (!update.IsPrepared()) return;
    update.BindInt64(1, count);
    update.BindInt64(2, static_cast<int64_t>(id));
    update.Step();
}

uint32_t CSQLiteFileBasicDB::CountFilesOfIndividual(uint64_t individualId, uint32_t type) {
    if (type != kPerson && type != kPet) return 0;
    return static_cast<uint32_t>(CountFor(m_db, type == kPet ? kCountPetFiles : kCountPersonFiles, individualId));
}

void CSQLiteFileBasicDB::RecountIndividuals(uint32_t individualType, const std::set<uint64_t>& ids) {
    for (uint64_t id : ids) WriteFileCount(individualType, id, CountFilesOfIndividual(id, individualType));
}

void CSQLiteFileBasicDB::RecountGroups(uint32_t individualType, const std::set<uint64_t>& ids) {
    const WCHAR* countSql = individualType == kPet ? kCountPetGroupItems : kCountPersonGroupItems;
    // The group id stands where the individual's id would.
    for (uint64_t id : ids) WriteFileCount(individualType, id, CountFor(m_db, countSql, id));
}

void CSQLiteFileBasicDB::RecountAlbum(uint64_t albumId) {
    int64_t fileCount = CountFor(m_db, kCountAlbumFiles, albumId);
    BeginTransaction();
    {
        Statement update(m_db, kUpdateAlbumFileCount);
        if (update.IsPrepared()) {
            update.BindInt64(1, fileCount);
            update.BindInt64(2, static_cast<int64_t>(albumId));
            update.Step();
        }
    }

    // The date range covers every file of the album, managed or not. Dates
    // of 0 that come first (as they do in ascending order) are passed over.
    int64_t oldest = 0;
    int64_t latest = 0;
    {
        Statement walk(m_db, kSelectAlbumFiles);
        if (walk.IsPrepared()) {
            walk.BindInt64(1, static_cast<int64_t>(albumId));
            while (walk.Step() == SQLITE_ROW) {
                int64_t date = walk.ColumnInt64(kShootingDateColumn);
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
    Statement update(m_db, kUpdateAlbumDates);
    if (!update.IsPrepared()) return;
    update.BindInt64(1, oldest);
    update.BindInt64(2, latest);
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

HRESULT CSQLiteFileBasicDB::Reopen() {
    // The group sets are left as they are.
    m_personRecount.clear();
    m_petRecount.clear();
    m_albumRecount.clear();
    return CSQLiteDBBase::Reopen();
}

bool CSQLiteFileBasicDB::IsIdTaken(uint32_t idType, uint64_t id) {
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
        if (!IsIdTaken(idType, *outId)) return S_OK;
    }
}
