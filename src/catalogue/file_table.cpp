// file_table: rows to values and back, and the separator and key rules of
// file_path, file_name and path_key.
#include "catalogue/file_table.h"

#include "storage/statement.h"

using zandb4::Statement;

namespace file_table {
namespace {

constexpr WCHAR kSeparator = u'/';

uint32_t Column32(const Statement& row, int column) { return static_cast<uint32_t>(row.ColumnInt64(column)); }
bool Flag(const Statement& row, int column) { return row.ColumnInt64(column) != 0; }

// A text column as the row form wants it: an owned copy or a view.
template <class Text>
Text TextColumn(const Statement& row, int column);
template <>
CZanTString TextColumn<CZanTString>(const Statement& row, int column) {
    return row.ColumnText(column);
}
template <>
std::u16string_view TextColumn<std::u16string_view>(const Statement& row, int column) {
    return row.ColumnTextView(column);
}

template <class Row>
Row ReadRowAs(const Statement& row, int firstColumn) {
    using Text = decltype(Row::filePath);
    auto at = [firstColumn](Column column) { return firstColumn + column; };
    // Each member is made from its column in place, texts included.
    return Row{
        .fileId = static_cast<uint64_t>(row.ColumnInt64(at(kFileId))),
        .filePath = TextColumn<Text>(row, at(kFilePath)),
        .diskVsn = Column32(row, at(kDiskVsn)),
        .fileName = TextColumn<Text>(row, at(kFileName)),
        .fileFormat = Column32(row, at(kFileFormat)),
        .shootingDate = row.ColumnInt64(at(kShootingDate)),
        .latitude = row.ColumnDouble(at(kGpsLatitude)),
        .longitude = row.ColumnDouble(at(kGpsLongitude)),
        .fileAttributes = Column32(row, at(kFileAttributes)),
        .thumbnailSize = Column32(row, at(kThumbnailSize)),
        .thumbnailOrientation = Column32(row, at(kThumbnailOrientation)),
        .didEdit = Flag(row, at(kDidEdit)),
        .isFavorite = Flag(row, at(kIsFavorite)),
        .didDetectFace = Flag(row, at(kDidDetectFace)),
        .albumId = static_cast<uint64_t>(row.ColumnInt64(at(kAlbumId))),
        .manage = Column32(row, at(kManage)),
        .parentId = static_cast<uint64_t>(row.ColumnInt64(at(kParentId))),
        .parentShootingDate = row.ColumnInt64(at(kParentShootingDate)),
        .uploadFlag = Flag(row, at(kUploadFlag)),
        .classifyId = Column32(row, at(kClassifyId)),
    };
}

template <class Row>
Row ReadShortRowAs(const Statement& row) {
    using Text = decltype(Row::filePath);
    // The fields the short row does not hold stay at their defaults.
    return Row{
        .fileId = static_cast<uint64_t>(row.ColumnInt64(kShortFileId)),
        .filePath = TextColumn<Text>(row, kShortFilePath),
        .diskVsn = Column32(row, kShortDiskVsn),
        .fileName = Text(),
        .fileFormat = Column32(row, kShortFileFormat),
        .shootingDate = row.ColumnInt64(kShortShootingDate),
        .latitude = row.ColumnDouble(kShortGpsLatitude),
        .longitude = row.ColumnDouble(kShortGpsLongitude),
        .fileAttributes = 0,
        .thumbnailSize = Column32(row, kShortThumbnailSize),
        .thumbnailOrientation = Column32(row, kShortThumbnailOrientation),
        .didEdit = Flag(row, kShortDidEdit),
        .isFavorite = Flag(row, kShortIsFavorite),
        .didDetectFace = false,
        .albumId = static_cast<uint64_t>(row.ColumnInt64(kShortAlbumId)),
        .manage = Column32(row, kShortManage),
        .parentId = static_cast<uint64_t>(row.ColumnInt64(kShortParentId)),
        .parentShootingDate = 0,
        .uploadFlag = Flag(row, kShortUploadFlag),
        // The short read keeps only whether there is a class; the full read
        // keeps its low 8 bits. Callers rely on the difference.
        .classifyId = Flag(row, kShortClassifyId) ? 1u : 0u,
    };
}

}  // namespace

FileRowValues ReadRow(const Statement& row, int firstColumn) { return ReadRowAs<FileRowValues>(row, firstColumn); }
FileRowView ReadRowView(const Statement& row, int firstColumn) { return ReadRowAs<FileRowView>(row, firstColumn); }
FileRowValues ReadShortRow(const Statement& row) { return ReadShortRowAs<FileRowValues>(row); }
FileRowView ReadShortRowView(const Statement& row) { return ReadShortRowAs<FileRowView>(row); }

void BindInsert(Statement& insert, const FileRowValues& row) {
    // Positions of kInsert are those of Column, from 1.
    auto at = [](Column column) { return column + 1; };
    insert.BindInt64(at(kFileId), static_cast<int64_t>(row.fileId));
    insert.BindText(at(kFilePath), StoredFilePath(row.filePath));
    insert.BindInt(at(kDiskVsn), static_cast<int32_t>(row.diskVsn));
    insert.BindText(at(kPathKey), PathKeyOf(row.filePath, row.diskVsn));
    insert.BindText(at(kFileName), StoredFileName(row.fileName));
    insert.BindInt(at(kFileFormat), static_cast<int32_t>(row.fileFormat));
    insert.BindInt64(at(kShootingDate), row.shootingDate);
    insert.BindDouble(at(kGpsLatitude), row.latitude);
    insert.BindDouble(at(kGpsLongitude), row.longitude);
    insert.BindInt(at(kFileAttributes), static_cast<int32_t>(row.fileAttributes));
    insert.BindInt(at(kThumbnailSize), static_cast<int32_t>(row.thumbnailSize));
    insert.BindInt(at(kThumbnailOrientation), static_cast<int32_t>(row.thumbnailOrientation));
    insert.BindInt(at(kDidEdit), row.didEdit ? 1 : 0);
    insert.BindInt(at(kIsFavorite), row.isFavorite ? 1 : 0);
    insert.BindInt(at(kDidDetectFace), row.didDetectFace ? 1 : 0);
    insert.BindInt64(at(kAlbumId), static_cast<int64_t>(row.albumId));
    insert.BindInt(at(kManage), static_cast<int32_t>(row.manage));
    insert.BindInt64(at(kParentId), static_cast<int64_t>(row.parentId));
    insert.BindInt64(at(kParentShootingDate), row.parentShootingDate);
    insert.BindInt(at(kUploadFlag), row.uploadFlag ? 1 : 0);
    insert.BindInt(at(kClassifyId), static_cast<int32_t>(row.classifyId));
}

CZanTString StoredFilePath(const CZanTString& path) {
    std::u16string value = path.Value();
    if (!value.empty() && value.back() == kSeparator) value.pop_back();
    CZanTString stored;
    stored = value.c_str();
    return stored;
}

CZanTString StoredFileName(const CZanTString& name) {
    const std::u16string& value = name.Value();
    CZanTString stored;
    stored = (!value.empty() && value.front() == kSeparator) ? value.c_str() + 1 : value.c_str();
    return stored;
}

// Upper-casing does not depend on the process locale, so a key written under
// one locale is found under any other. Two paths that differ only in case are
// one file; the same path on two volumes is two.
CZanTString PathKeyOf(const CZanTString& path, uint32_t diskVsn) {
    CZanTString upper = StoredFilePath(path);
    upper.MakeUpper();
    CZanTString key;
    key.Format(u"%s_%X", upper.GetString(), diskVsn);
    return key;
}

}  // namespace file_table
