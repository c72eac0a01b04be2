// CZanDB4DBUtility::CheckDeadLinks: counts what points at nothing across
// the catalogue and its shard families: rows of other tables and shards
// whose file, tag, album, person or pet the catalogue no longer has, and,
// when asked, catalogued files that are gone from the disk. Nothing is
// repaired, and only the numbers come back.
//
// Each count puts the whole id list of the catalogue into its statement as
// quoted text (shard_files::NotInList, which cuts a list too long for SQLite
// into runs). An id list whose statement failed stays empty, and a count on
// an empty list counts every row of its table.
#include "albums/album_rows.h"
#include "albums/tag_rows.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "catalogue/file_table.h"
#include "faces/face_rows.h"
#include "faces/individual_rows.h"
#include "frame/com_ptr.h"
#include "maintenance/db_utility.h"
#include "maintenance/dead_link_info.h"
#include "maintenance/dead_link_statements.h"
#include "shards/meta_data_db_factory.h"
#include "shards/shard_files.h"
#include "shards/thumb_db_mgr.h"
#include "storage/statement.h"

namespace statements = dead_link_statements;
using zandb4::ComPtr;
using zandb4::Statement;

namespace {

// The ids the counts look for, each list in its table's order.
struct KnownIds {
    CZanTArray<uint64_t> files;
    CZanTArray<uint64_t> albums;
    CZanTArray<uint64_t> tags;
    CZanTArray<uint64_t> persons;
    CZanTArray<uint64_t> pets;
};

void ReadFileIds(CSQLiteFileBasicDB& catalogue, CZanTArray<uint64_t>& ids) {
    Statement select(catalogue.m_db, file_table::kSelectAllIds);
    if (!select.IsPrepared()) return;
    while (select.Step() == SQLITE_ROW) ids.Add(static_cast<uint64_t>(select.ColumnInt64(0)));
}

void ReadKnownIds(CSQLiteFileBasicDB& catalogue, KnownIds& known) {
    ReadFileIds(catalogue, known.files);
    AlbumRows(catalogue).GetAlbumIDs(known.albums);
    TagRows(catalogue).GetTagIDs(known.tags);
    IndividualRows individuals(catalogue);
    individuals.ListIndividualIDs(CSQLiteFileBasicDB::kPerson, known.persons.Container());
    individuals.ListIndividualIDs(CSQLiteFileBasicDB::kPet, known.pets.Container());
}

// The files of file_table whose folder and name, joined, name nothing on
// disk. Only their number is kept.
uint32_t CountDeadFiles(CSQLiteFileBasicDB& catalogue) {
    CZanTArray<uint64_t> deadFiles;
    FileTableRows(catalogue).ListMissingFiles(deadFiles);
    return static_cast<uint32_t>(deadFiles.GetSize());
}

// A thumbnail family's rows whose id is not in ids; 0 without the family.
uint32_t CountThumbnailOrphans(CSQLiteThumbDBMgr* family, const CZanTArray<uint64_t>& ids) {
    return family != nullptr ? family->CountOrphans(ids) : 0;
}

// The faces whose file, or whose individual, is gone; 0 without a
// catalogue.
uint32_t CountFacesOutsideFiles(CSQLiteFileBasicDB* catalogue, uint32_t type, const CZanTArray<uint64_t>& files) {
    return catalogue != nullptr ? FaceTableRows(*catalogue).CountFacesOutsideFiles(type, files) : 0;
}

uint32_t CountFacesOutsideIndividuals(CSQLiteFileBasicDB* catalogue, uint32_t type,
                                      const CZanTArray<uint64_t>& individuals) {
    return catalogue != nullptr ? FaceTableRows(*catalogue).CountFacesOutsideIndividuals(type, individuals) : 0;
}

}  // namespace

HRESULT CZanDB4DBUtility::CheckDeadLinks(IZanDB4DeadLinkInfo** outInfo, BOOL checkFiles) {
    if (outInfo == nullptr) return E_INVALIDARG;
    *outInfo = nullptr;
    ComPtr<CZanDB4DeadLinkInfo> info = ComPtr<CZanDB4DeadLinkInfo>::Adopt(new CZanDB4DeadLinkInfo());
    DeadLinkCounts& counts = info->Counts();
    CSQLiteFileBasicDB* catalogue = m_stores.fileBasicDB;

    if (checkFiles && catalogue != nullptr) counts.deadFileCount = CountDeadFiles(*catalogue);

    KnownIds known;
    if (catalogue != nullptr) ReadKnownIds(*catalogue, known);

    // The counts in the order of the object's slots. The statements on the
    // catalogue's tables fail, and count 0, without a catalogue.
    sqlite3* db = catalogue != nullptr ? catalogue->m_db : nullptr;
    shard_files::NotInList files(known.files);
    shard_files::NotInList tags(known.tags);
    counts.orphanMetaCount = files.Count(db, statements::kCountOrphanMeta, statements::kCountOrphanMetaInRange);
    if (m_stores.metaFactory != nullptr) counts.orphanLargeMetaCount = m_stores.metaFactory->CountOrphans(known.files);
    counts.orphanTagLinkFileCount =
        files.Count(db, statements::kCountTagLinksWithoutFile, statements::kCountTagLinksWithoutFileInRange);
    counts.orphanTagLinkTagCount =
        tags.Count(db, statements::kCountTagLinksWithoutTag, statements::kCountTagLinksWithoutTagInRange);
    counts.orphanThumbnailCount = CountThumbnailOrphans(m_stores.thumbMgr, known.files);
    counts.orphanImageFileCount =
        files.Count(db, statements::kCountOrphanImageFiles, statements::kCountOrphanImageFilesInRange);
    counts.orphanAlbumThumbnailCount = CountThumbnailOrphans(m_stores.albmThumbMgr, known.albums);
    counts.orphanFaceFileCount = CountFacesOutsideFiles(catalogue, CSQLiteFileBasicDB::kPerson, known.files) +
                                 CountFacesOutsideFiles(catalogue, CSQLiteFileBasicDB::kPet, known.files);
    counts.orphanPersonFaceCount = CountFacesOutsideIndividuals(catalogue, CSQLiteFileBasicDB::kPerson, known.persons);
    counts.orphanPetFaceCount = CountFacesOutsideIndividuals(catalogue, CSQLiteFileBasicDB::kPet, known.pets);
    counts.orphanPsnfCount = CountThumbnailOrphans(m_stores.psnfThumbMgr, known.persons);
    counts.orphanPtfCount = CountThumbnailOrphans(m_stores.ptfThumbMgr, known.pets);
    counts.orphanPsniCount = CountThumbnailOrphans(m_stores.psniThumbMgr, known.persons);
    // The slot of the pet icons counts the pet face thumbnails a second time:
    // the pet icon family is not examined at all. Callers have always read
    // the slot so, and it stays.
    counts.orphanPtiCount = CountThumbnailOrphans(m_stores.ptfThumbMgr, known.pets);

    *outInfo = info.Detach();
    return S_OK;
}
