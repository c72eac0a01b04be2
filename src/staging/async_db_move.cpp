// CSQLiteAsyncDB: the reading side of the move into the catalogue. The
// reading statement stays open over async_file_table while each row is
// written into the catalogue's connection, so nothing is buffered and a move
// of any size takes the memory of one row.
#include <new>

#include "albums/tag_tables.h"
#include "catalogue/file_basic_db.h"
#include "catalogue/file_rows.h"
#include "faces/face_rows.h"
#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "records/meta_rows.h"
#include "staging/async_db.h"
#include "staging/async_face_tables.h"
#include "staging/async_file_table.h"
#include "storage/statement.h"
#include "zandb4/identifiers.h"

using zandb4::ComPtr;
using zandb4::Statement;

namespace {

constexpr WCHAR kSelectReadyFiles[] = u"SELECT * FROM async_file_table WHERE can_commit='1'";
constexpr WCHAR kSelectTags[] = u"SELECT * FROM async_tag_file_table";
constexpr WCHAR kSelectReadyPersonFaces[] =
    u"SELECT * FROM async_person_face_table WHERE file_id IN ( SELECT file_id FROM async_person_face_status_table "
    u"WHERE can_commit='1')";
constexpr WCHAR kSelectReadyPetFaces[] =
    u"SELECT * FROM async_pet_face_table WHERE file_id IN ( SELECT file_id FROM async_pet_face_status_table WHERE "
    u"can_commit='1')";
constexpr WCHAR kDeletePersonFacesFormat[] = u"DELETE FROM async_person_face_table WHERE async_person_face_id IN %s";
constexpr WCHAR kDeletePetFacesFormat[] = u"DELETE FROM async_pet_face_table WHERE async_pet_face_id IN %s";
constexpr WCHAR kDeletePersonStatus[] = u"DELETE FROM async_person_face_status_table";
constexpr WCHAR kDeletePetStatus[] = u"DELETE FROM async_pet_face_status_table";

// One separator at the end of a staged path or name goes on the way into the
// catalogue: "a/" arrives as "a".
CZanTString WithoutTrailingSeparator(const CZanTString& text) {
    size_t length = text.GetLength();
    if (length == 0 || text.GetAt(length - 1) != u'/') return text;
    return CZanTString(text.GetString(), length - 1);
}

// The file_table values of a staged row, by its SELECT * positions.
FileRowValues FileValuesOf(const Statement& row) {
    using namespace async_file_table;
    FileRowValues values;
    values.fileId = static_cast<uint64_t>(row.ColumnInt64(kFileId));
    values.filePath = WithoutTrailingSeparator(row.ColumnText(kFilePath));
    values.diskVsn = static_cast<uint32_t>(row.ColumnInt64(kDiskVsn));
    values.fileName = WithoutTrailingSeparator(row.ColumnText(kFileName));
    values.fileFormat = static_cast<uint32_t>(row.ColumnInt64(kFileFormat));
    values.shootingDate = row.ColumnInt64(kShootingDate);
    values.latitude = row.ColumnDouble(kGpsLatitude);
    values.longitude = row.ColumnDouble(kGpsLongitude);
    values.fileAttributes = static_cast<uint32_t>(row.ColumnInt64(kFileAttributes));
    // Kept as width * 65536 + height, as file_table keeps it.
    values.thumbnailSize = static_cast<uint32_t>(row.ColumnInt64(kThumbnailSize));
    values.thumbnailOrientation = static_cast<uint32_t>(row.ColumnInt64(kThumbnailOrientation));
    values.didEdit = row.ColumnInt64(kDidEdit) != 0;
    values.isFavorite = row.ColumnInt64(kIsFavorite) != 0;
    values.didDetectFace = row.ColumnInt64(kDidDetectFace) != 0;
    values.albumId = static_cast<uint64_t>(row.ColumnInt64(kAlbumId));
    values.manage = static_cast<uint32_t>(row.ColumnInt64(kManage));
    values.parentId = static_cast<uint64_t>(row.ColumnInt64(kParentId));
    values.parentShootingDate = row.ColumnInt64(kParentShootingDate);
    values.uploadFlag = row.ColumnInt64(kUploadFlag) != 0;
    values.classifyId = static_cast<uint32_t>(row.ColumnInt64(kClassifyId));
    return values;
}

// The meta_table values of a staged row; the filter data points into the
// row and lives until the next step.
MetaRowValues MetaValuesOf(const Statement& row) {
    using namespace async_file_table;
    MetaRowValues values;
    values.filterDataSize = static_cast<uint32_t>(row.ColumnBytes(kFilterData));
    values.filterData = values.filterDataSize == 0 ? nullptr : row.ColumnBlob(kFilterData);
    values.fileSize = row.ColumnInt64(kFileSize);
    values.fileUpdateDate = row.ColumnInt64(kFileUpdateDate);
    values.importDate = row.ColumnInt64(kImportDate);
    values.duration = row.ColumnInt64(kDuration);
    values.pixelWidth = static_cast<uint32_t>(row.ColumnInt64(kPixelWidth));
    values.pixelHeight = static_cast<uint32_t>(row.ColumnInt64(kPixelHeight));
    values.panoramaNumber = static_cast<uint32_t>(row.ColumnInt64(kPanoramaNumber));
    values.driveNumber = static_cast<uint32_t>(row.ColumnInt64(kDriveNumber));
    values.frameRate = static_cast<uint32_t>(row.ColumnInt64(kFrameRate));
    values.importClass = static_cast<uint32_t>(row.ColumnInt64(kImportClass));
    values.gpsAltitude = row.ColumnInt64(kGpsAltitude);
    values.gpsDirection = row.ColumnInt64(kGpsDirection);
    values.gpsAreaInfo = row.ColumnText(kGpsAreaInfo);
    values.modelName = row.ColumnText(kModelName);
    values.pictureMode = static_cast<uint32_t>(row.ColumnInt64(kPictureMode));
    values.finishingMode = static_cast<uint32_t>(row.ColumnInt64(kFinishingMode));
    values.artFilter = static_cast<uint32_t>(row.ColumnInt64(kArtFilter));
    values.focusMode = static_cast<uint32_t>(row.ColumnInt64(kFocusMode));
    values.paramFlag = static_cast<uint32_t>(row.ColumnInt64(kParamFlag));
    return values;
}

}  // namespace

HRESULT CSQLiteAsyncDB::MoveFiles(CSQLiteFileBasicDB& catalogue, std::vector<uint64_t>& failed) {
    {
        Statement files(m_db, kSelectReadyFiles);
        if (!files.IsPrepared()) return E_FAIL;
        while (files.Step() == SQLITE_ROW) {
            FileRowValues row = FileValuesOf(files);
            // The file row notes its album for the next recount. A metadata
            // row of an old file of this id is replaced.
            HRESULT moved = FileTableRows(catalogue).InsertFileRow(row);
            if (moved == S_OK) moved = MetaTableRows(catalogue).InsertMetaRow(row.fileId, MetaValuesOf(files), 1);
            // A file row that went in stays when only its metadata failed;
            // the file is reported as failed all the same.
            if (moved != S_OK) failed.push_back(row.fileId);
        }
        if (files.Finalize() != SQLITE_OK) return E_FAIL;
    }
    // Every tag link goes over, whatever became of its file: links of a
    // failed file, or to a tag deleted meanwhile, arrive all the same.
    Statement tags(m_db, kSelectTags);
    if (!tags.IsPrepared()) return E_FAIL;
    while (tags.Step() == SQLITE_ROW) {
        catalogue.BeginTransaction();
        Statement insert(catalogue.m_db, tag_tables::kInsertLink);
        insert.BindInt64(1, tags.ColumnInt64(0));
        insert.BindInt64(2, tags.ColumnInt64(1));
        insert.Step();
    }
    return tags.Finalize() == SQLITE_OK ? S_OK : E_FAIL;
}

HRESULT CSQLiteAsyncDB::ReadFaces(std::vector<IZanDB4FaceDBRecord*>& faces, std::set<uint64_t>& faceIds) {
    faces.clear();
    faceIds.clear();
    struct Twin {
        const WCHAR* select;
        uint32_t type;
    };
    for (const Twin& twin : {Twin{kSelectReadyPersonFaces, 1}, Twin{kSelectReadyPetFaces, 2}}) {
        Statement select(m_db, twin.select);
        if (!select.IsPrepared()) continue;
        while (select.Step() == SQLITE_ROW) {
            ComPtr<IZanDB4FaceDBRecord> face;
            if (zandb4::CreateInstance(IID_IZanDB4FaceDBRecord, reinterpret_cast<void**>(face.Receive())) != S_OK ||
                !face)
                continue;
            uint64_t faceId = static_cast<uint64_t>(select.ColumnInt64(async_face_tables::kFaceId));
            face->SetFaceID(faceId);
            face->SetFileID(static_cast<uint64_t>(select.ColumnInt64(async_face_tables::kFileId)));
            face->SetIndividualID(static_cast<uint64_t>(select.ColumnInt64(async_face_tables::kIndividualId)));
            face->SetIndividualType(twin.type);
            RECT rect = FaceTableRows::UnpackRect(select.ColumnInt64(async_face_tables::kRect));
            face->SetRect(&rect);
            faces.push_back(face.Detach());
            faceIds.insert(faceId);
        }
    }
    return faces.empty() ? E_FAIL : S_OK;
}

HRESULT CSQLiteAsyncDB::DeleteFaces(const std::set<uint64_t>& faceIds, uint32_t type) {
    if (faceIds.empty()) return S_OK;
    if (type != 1 && type != 2) return E_INVALIDARG;
    CZanTString list(u"(");
    for (uint64_t id : faceIds) list.AppendFormat(u"%llu,", static_cast<unsigned long long>(id));
    // The last comma becomes the closing parenthesis.
    list = CZanTString(list.GetString(), list.GetLength() - 1);
    list += u")";
    CZanTString sql;
    sql.Format(type == 1 ? kDeletePersonFacesFormat : kDeletePetFacesFormat, list.GetString());
    BeginTransaction();
    if (ExecuteStatement(sql.GetString()) != S_OK) return E_FAIL;
    // The whole status table goes: every file's faces have been read.
    ExecuteStatement(type == 1 ? kDeletePersonStatus : kDeletePetStatus);
    return S_OK;
}
