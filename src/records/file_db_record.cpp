// CZanDB4FileDBRecord: where records live, and the field accessors. Getters
// read their field first (ignoring the read's outcome: an unread field gives
// its default), setters write under the store's lock and mark the field in
// both masks. A null pointer to a setter or getter is E_INVALIDARG with
// nothing changed.
#include "records/file_db_record.h"

#include <new>

#include "records/block_pool.h"

namespace {

// Never destroyed: a record may be let go after every static object is gone.
zandb4::BlockPool& RecordPool() {
    static zandb4::BlockPool* const pool = new zandb4::BlockPool(sizeof(CZanDB4FileDBRecord));
    return *pool;
}

CZanTString CopyOf(std::u16string_view text) { return CZanTString(text.data(), text.size()); }

}  // namespace

static_assert(alignof(CZanDB4FileDBRecord) <= zandb4::BlockPool::kAlignment);

void* CZanDB4FileDBRecord::operator new(size_t size) {
    // A class derived from this one (none is) would not fit the pool's blocks.
    return size == sizeof(CZanDB4FileDBRecord) ? RecordPool().Allocate() : ::operator new(size);
}

void CZanDB4FileDBRecord::operator delete(void* memory, size_t size) {
    if (size == sizeof(CZanDB4FileDBRecord))
        RecordPool().Free(memory);
    else
        ::operator delete(memory);
}

HRESULT CZanDB4FileDBRecord::ClearAll() {
    ClearFields(kAllColumns);
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::GetFileID(uint64_t* outId) { return zandb4::Deliver(outId, m_fileId); }

HRESULT CZanDB4FileDBRecord::SetFileID(uint64_t id) {
    // The key alone: no lock, no mask.
    m_fileId = id;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::GetManage(uint32_t* outManage) { return ReadAndDeliver(outManage, kManage, m_manage); }

HRESULT CZanDB4FileDBRecord::SetManage(const uint32_t* manage) { return SetValue(kManage, manage, m_manage); }

HRESULT CZanDB4FileDBRecord::GetFilePath(CZanTString& outPath, uint32_t* outDiskVsn) {
    ReadFields(kFilePath, nullptr);
    outPath = CopyOf(m_filePath.View());
    if (outDiskVsn != nullptr) *outDiskVsn = m_diskVsn;
    return m_filePath.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4FileDBRecord::SetFilePath(const WCHAR* path, const uint32_t* diskVsn) {
    if (path == nullptr) return E_INVALIDARG;
    return SetField(kFilePath, [&] {
        m_filePath.Assign(path);
        if (diskVsn != nullptr) m_diskVsn = *diskVsn;
    });
}

HRESULT CZanDB4FileDBRecord::GetFileName(CZanTString& outName) {
    ReadFields(kFileName, nullptr);
    outName = CopyOf(m_fileName.View());
    return m_fileName.IsEmpty() ? E_FAIL : S_OK;
}

HRESULT CZanDB4FileDBRecord::SetFileName(const WCHAR* name) {
    if (name == nullptr) return E_INVALIDARG;
    return SetField(kFileName, [&] { m_fileName.Assign(name); });
}

HRESULT CZanDB4FileDBRecord::SetFileFormat(const uint32_t* format) { return SetValue(kFileFormat, format, m_fileFormat); }

HRESULT CZanDB4FileDBRecord::GetFileFormat(uint32_t* outFormat) { return ReadAndDeliver(outFormat, kFileFormat, m_fileFormat); }

HRESULT CZanDB4FileDBRecord::SetShootingDateValue(const int64_t* packedDate) { return SetValue(kShootingDate, packedDate, m_shootingDate); }

HRESULT CZanDB4FileDBRecord::SetShootingDate(const SYSTEMTIME* date) {
    if (date == nullptr) return E_INVALIDARG;
    return SetField(kShootingDate, [&] { m_shootingDate = CZanTDateTime(*date).GetPacked(); });
}

HRESULT CZanDB4FileDBRecord::GetShootingDate(SYSTEMTIME* outDate) {
    if (outDate == nullptr) return E_INVALIDARG;
    ReadFields(kShootingDate, nullptr);
    // A field that stays unknown answers E_INVALIDARG with a zero date:
    // callers tell "no row" from "no date" by it.
    if ((m_knownMask & kShootingDate) == 0) {
        *outDate = SYSTEMTIME{};
        return E_INVALIDARG;
    }
    *outDate = CZanTDateTime(m_shootingDate).m_time;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::GetShootingDateValue(int64_t* outPackedDate) {
    if (outPackedDate == nullptr) return E_INVALIDARG;
    ReadFields(kShootingDate, nullptr);
    *outPackedDate = (m_knownMask & kShootingDate) != 0 ? m_shootingDate : 0;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::SetThumbnailSize(const uint16_t* width, const uint16_t* height) {
    if (width == nullptr && height == nullptr) return E_INVALIDARG;
    // Read first, so that the side left out keeps the row's value.
    ReadFields(kThumbnailSize, nullptr);
    return SetField(kThumbnailSize, [&] {
        if (width != nullptr) m_thumbnailWidth = *width;
        if (height != nullptr) m_thumbnailHeight = *height;
    });
}

HRESULT CZanDB4FileDBRecord::GetThumbnailSize(uint32_t* outWidth, uint32_t* outHeight) {
    if (outWidth == nullptr && outHeight == nullptr) return E_INVALIDARG;
    ReadFields(kThumbnailSize, nullptr);
    if (outWidth != nullptr) *outWidth = m_thumbnailWidth;
    if (outHeight != nullptr) *outHeight = m_thumbnailHeight;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::SetThumbnailOrientation(const uint16_t* orientation) { return SetValue(kThumbnailOrientation, orientation, m_thumbnailOrientation); }

HRESULT CZanDB4FileDBRecord::GetThumbnailOrientation(uint16_t* outOrientation) { return ReadAndDeliver(outOrientation, kThumbnailOrientation, m_thumbnailOrientation); }

HRESULT CZanDB4FileDBRecord::SetGPS(const float* latitude, const float* longitude) {
    if (latitude == nullptr && longitude == nullptr) return E_INVALIDARG;
    // A missing side counts as 0.0 for the range test only.
    float testLatitude = latitude != nullptr ? *latitude : 0.0f;
    float testLongitude = longitude != nullptr ? *longitude : 0.0f;
    if (!(testLatitude >= -90.0f && testLatitude <= 90.0f) || !(testLongitude >= -180.0f && testLongitude <= 180.0f))
        return E_INVALIDARG;
    ReadFields(kGps, nullptr);
    return SetField(kGps, [&] {
        if (latitude != nullptr) m_latitude = *latitude;
        if (longitude != nullptr) m_longitude = *longitude;
    });
}

HRESULT CZanDB4FileDBRecord::GetGPS(float* outLatitude, float* outLongitude) {
    if (outLatitude == nullptr && outLongitude == nullptr) return E_INVALIDARG;
    ReadFields(kGps, nullptr);
    if (outLatitude != nullptr) *outLatitude = m_latitude;
    if (outLongitude != nullptr) *outLongitude = m_longitude;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::SetFileAttributes(const uint32_t* attributes) { return SetValue(kFileAttributes, attributes, m_fileAttributes); }

HRESULT CZanDB4FileDBRecord::GetFileAttributes(uint32_t* outAttributes) { return ReadAndDeliver(outAttributes, kFileAttributes, m_fileAttributes); }

HRESULT CZanDB4FileDBRecord::SetDidEdit(const uint8_t* didEdit) { return SetValue(kDidEdit, didEdit, m_didEdit); }

HRESULT CZanDB4FileDBRecord::GetDidEdit(uint8_t* outDidEdit) {
    // Deliberately no read: a client sees did_edit only after some other
    // read brought it in.
    return zandb4::Deliver(outDidEdit, m_didEdit);
}

HRESULT CZanDB4FileDBRecord::SetIsFavorite(const uint8_t* isFavorite) { return SetValue(kIsFavorite, isFavorite, m_isFavorite); }

HRESULT CZanDB4FileDBRecord::GetIsFavorite(uint8_t* outIsFavorite) { return ReadAndDeliver(outIsFavorite, kIsFavorite, m_isFavorite); }

HRESULT CZanDB4FileDBRecord::SetDidDetectFace(const uint8_t* didDetectFace) { return SetValue(kDidDetectFace, didDetectFace, m_didDetectFace); }

HRESULT CZanDB4FileDBRecord::GetDidDetectFace(uint8_t* outDidDetectFace) { return ReadAndDeliver(outDidDetectFace, kDidDetectFace, m_didDetectFace); }

HRESULT CZanDB4FileDBRecord::SetParent(const uint64_t* parentId, const SYSTEMTIME* parentDate) {
    if (parentId == nullptr || parentDate == nullptr) return E_INVALIDARG;
    return SetField(kParent, [&] {
        m_parentId = *parentId;
        m_parentShootingDate = CZanTDateTime(*parentDate).GetPacked();
    });
}

HRESULT CZanDB4FileDBRecord::GetParent(uint64_t* outParentId, SYSTEMTIME* outDate) {
    if (outParentId == nullptr) return E_INVALIDARG;
    // The read brings in parent_id alone; the date is the member as it
    // stands, which only SetParent in this object's life fills.
    ReadFields(kParent, nullptr);
    *outParentId = m_parentId;
    if (outDate != nullptr) *outDate = CZanTDateTime(m_parentShootingDate).m_time;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::SetUploadFlag(const uint8_t* uploadFlag) { return SetValue(kUploadFlag, uploadFlag, m_uploadFlag); }

HRESULT CZanDB4FileDBRecord::GetUploadFlag(uint8_t* outUploadFlag) { return ReadAndDeliver(outUploadFlag, kUploadFlag, m_uploadFlag); }

HRESULT CZanDB4FileDBRecord::SetClassifyID(const uint8_t* classifyId) { return SetValue(kClassifyId, classifyId, m_classifyId); }

HRESULT CZanDB4FileDBRecord::GetClassifyID(uint8_t* outClassifyId) { return ReadAndDeliver(outClassifyId, kClassifyId, m_classifyId); }

HRESULT CZanDB4FileDBRecord::SetAlbumID(const uint64_t* albumId) {
    if (albumId == nullptr) return E_INVALIDARG;
    return SetField(kAlbumId, [&] {
        // Both the album left and the album joined are recounted at the
        // store's next Commit. The old value is not read first: a record
        // that never read album_id notes nothing for its old album.
        if (m_store != nullptr) {
            if (m_albumId != 0) m_store->NoteAlbumForRecount(m_albumId);
            if (*albumId != 0) m_store->NoteAlbumForRecount(*albumId);
        }
        m_albumId = *albumId;
    });
}

HRESULT CZanDB4FileDBRecord::GetAlbumID(uint64_t* outAlbumId) { return ReadAndDeliver(outAlbumId, kAlbumId, m_albumId); }

HRESULT CZanDB4FileDBRecord::AddTag(const uint64_t* tagId) {
    if (tagId == nullptr) return E_INVALIDARG;
    ReadRelations(kTagSet);
    return SetField(kTagSet, [&] { m_tags.insert(*tagId); });
}

HRESULT CZanDB4FileDBRecord::RemoveTag(const uint64_t* tagId) {
    if (tagId == nullptr) return E_INVALIDARG;
    ReadRelations(kTagSet);
    return SetField(kTagSet, [&] { m_tags.erase(*tagId); });
}

HRESULT CZanDB4FileDBRecord::ClearTags() {
    // No fetch: the next save deletes the row's tags whether or not they
    // were ever read.
    return SetField(kTagSet, [&] { m_tags.clear(); });
}

HRESULT CZanDB4FileDBRecord::GetTagCount(uint32_t* outCount) {
    if (outCount == nullptr) return E_INVALIDARG;
    ReadRelations(kTagSet);
    *outCount = static_cast<uint32_t>(m_tags.size());
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::GetTagList(CArray<uint64_t>* outTags) {
    if (outTags == nullptr) return E_INVALIDARG;
    ReadRelations(kTagSet);
    CZanTArray<uint64_t> tags(outTags);
    tags.RemoveAll();
    for (uint64_t tag : m_tags) tags.Add(tag);
    return m_tags.empty() ? E_FAIL : S_OK;
}
