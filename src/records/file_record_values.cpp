// What the stores take from a file record: its values and the generated
// UPDATE of its changed columns.
#include "records/file_record_values.h"

#include <cstdarg>

#include "records/file_db_record.h"

namespace file_record_values {
namespace {

uint32_t ThumbnailSizeOf(IZanDB4FileDBRecord* record) {
    uint32_t width = 0, height = 0;
    record->GetThumbnailSize(&width, &height);
    return width * 65536u + height;
}

uint32_t Flag(IZanDB4FileDBRecord* record, HRESULT (IZanDB4FileDBRecord::*getter)(uint8_t*)) {
    uint8_t value = 0;
    (record->*getter)(&value);
    return value != 0 ? 1u : 0u;
}

}  // namespace

void ReadDescriptiveValues(IZanDB4FileDBRecord* record, FileRowValues& row) {
    record->GetShootingDateValue(&row.shootingDate);
    float latitude = 0, longitude = 0;
    record->GetGPS(&latitude, &longitude);
    row.latitude = latitude;
    row.longitude = longitude;
    record->GetFileAttributes(&row.fileAttributes);
    row.thumbnailSize = ThumbnailSizeOf(record);
    uint16_t orientation = 0;
    record->GetThumbnailOrientation(&orientation);
    row.thumbnailOrientation = orientation;
    row.didEdit = Flag(record, &IZanDB4FileDBRecord::GetDidEdit) != 0;
    row.isFavorite = Flag(record, &IZanDB4FileDBRecord::GetIsFavorite) != 0;
    row.didDetectFace = Flag(record, &IZanDB4FileDBRecord::GetDidDetectFace) != 0;
    record->GetAlbumID(&row.albumId);
    row.uploadFlag = Flag(record, &IZanDB4FileDBRecord::GetUploadFlag) != 0;
    uint8_t classifyId = 0;
    record->GetClassifyID(&classifyId);
    row.classifyId = classifyId;
}

FileRowValues ValuesOf(IZanDB4FileDBRecord* record) {
    FileRowValues row;
    record->GetFileID(&row.fileId);
    record->GetFilePath(row.filePath, &row.diskVsn);
    record->GetFileName(row.fileName);
    record->GetFileFormat(&row.fileFormat);
    ReadDescriptiveValues(record, row);
    record->GetManage(&row.manage);
    SYSTEMTIME parentDate{};
    record->GetParent(&row.parentId, &parentDate);
    row.parentShootingDate = CZanTDateTime(parentDate).GetPacked();
    return row;
}

SetList::SetList(const WCHAR* table) { m_sql.Format(u"UPDATE %s SET ", table); }

void SetList::Unsigned(const WCHAR* column, uint32_t value) { Add(u"%s='%u'", column, value); }

void SetList::Text(const WCHAR* column, const CZanTString& value) { Add(u"%s='%s'", column, value.GetString()); }

void SetList::Wide(const WCHAR* column, uint64_t value) {
    Add(u"%s='%llu'", column, static_cast<unsigned long long>(value));
}

void SetList::Real(const WCHAR* column, float value) { Add(u"%s='%f'", column, static_cast<double>(value)); }

CZanTString SetList::Finish(uint64_t fileId) {
    m_sql.AppendFormat(u" WHERE %s='%llu'", u"file_id", static_cast<unsigned long long>(fileId));
    return m_sql;
}

void SetList::Add(const WCHAR* format, ...) {
    va_list args;
    va_start(args, format);
    if (!m_first) m_sql += u",";
    m_sql.AppendFormatV(format, args);
    va_end(args);
    m_first = false;
}

CZanTString ColumnUpdateOf(IZanDB4FileDBRecord* record, uint32_t mask, uint64_t fileId, const UpdateRules& rules) {
    SetList set(rules.table);
    if (mask & CZanDB4FileDBRecord::kManage) {
        uint32_t manage = 0;
        record->GetManage(&manage);
        set.Unsigned(u"manage", manage);
    }
    if (mask & CZanDB4FileDBRecord::kFilePath) {
        CZanTString path;
        uint32_t diskVsn = 0;
        record->GetFilePath(path, &diskVsn);
        rules.pathColumns(set, path, diskVsn);
    }
    if (mask & CZanDB4FileDBRecord::kFileName) {
        CZanTString name;
        record->GetFileName(name);
        set.Text(u"file_name", rules.storedName(name));
    }
    if (mask & CZanDB4FileDBRecord::kFileFormat) {
        uint32_t format = 0;
        record->GetFileFormat(&format);
        set.Unsigned(u"file_format", format);
    }
    if (mask & CZanDB4FileDBRecord::kShootingDate) {
        int64_t date = 0;
        record->GetShootingDateValue(&date);
        set.Wide(u"shooting_date", static_cast<uint64_t>(date));
    }
    if (mask & CZanDB4FileDBRecord::kThumbnailSize) set.Unsigned(u"thumbnail_size", ThumbnailSizeOf(record));
    if (mask & CZanDB4FileDBRecord::kThumbnailOrientation) {
        uint16_t orientation = 0;
        record->GetThumbnailOrientation(&orientation);
        set.Unsigned(u"thumbnail_orientation", orientation);
    }
    if (mask & CZanDB4FileDBRecord::kGps) {
        float latitude = 0, longitude = 0;
        record->GetGPS(&latitude, &longitude);
        set.Real(u"gps_latitude", latitude);
        set.Real(u"gps_longitude", longitude);
    }
    if (mask & CZanDB4FileDBRecord::kFileAttributes) {
        uint32_t attributes = 0;
        record->GetFileAttributes(&attributes);
        set.Unsigned(u"file_attributes", attributes);
    }
    if (mask & CZanDB4FileDBRecord::kDidEdit) set.Unsigned(u"did_edit", Flag(record, &IZanDB4FileDBRecord::GetDidEdit));
    if (mask & CZanDB4FileDBRecord::kIsFavorite)
        set.Unsigned(u"is_favorite", Flag(record, &IZanDB4FileDBRecord::GetIsFavorite));
    if (mask & CZanDB4FileDBRecord::kDidDetectFace)
        set.Unsigned(u"did_detect_face", Flag(record, &IZanDB4FileDBRecord::GetDidDetectFace));
    if (mask & CZanDB4FileDBRecord::kAlbumId) {
        uint64_t albumId = 0;
        record->GetAlbumID(&albumId);
        set.Wide(u"album_id", albumId);
    }
    if (mask & CZanDB4FileDBRecord::kParent) {
        uint64_t parentId = 0;
        SYSTEMTIME parentDate{};
        record->GetParent(&parentId, &parentDate);
        int64_t date = CZanTDateTime(parentDate).GetPacked();
        if (parentId == 0 && rules.parentlessTakesOwnDate) record->GetShootingDateValue(&date);
        set.Wide(u"parent_id", parentId);
        set.Wide(u"parent_shooting_date", static_cast<uint64_t>(date));
    }
    if (mask & CZanDB4FileDBRecord::kUploadFlag)
        set.Unsigned(u"upload_flag", Flag(record, &IZanDB4FileDBRecord::GetUploadFlag));
    if (mask & CZanDB4FileDBRecord::kClassifyId) {
        uint8_t classifyId = 0;
        record->GetClassifyID(&classifyId);
        set.Unsigned(u"classify_id", classifyId);
    }
    return set.Finish(fileId);
}

}  // namespace file_record_values
