// CZanDB4FileDBRecord: reading fields from a row, fetching relations, the
// metadata record, the masks, ClearFields, Clone, and the two-stage Release.
#include <utility>

#include "frame/com_ptr.h"
#include "frame/factory.h"
#include "frame/file_record_cache.h"
#include "records/file_db_record.h"

using zandb4::ComPtr;

namespace {

// The text of a row's column, from either row form.
std::u16string_view TextOf(const CZanTString& text) { return text.Value(); }
std::u16string_view TextOf(std::u16string_view text) { return text; }

}  // namespace

// In the order fields have always been filled in. A path brings its volume
// serial along, a position both coordinates; the parent's date is
// deliberately not taken from the row, only SetParent fills it. The fields
// to fill are worked out once; only they become known.
template <class Row>
void CZanDB4FileDBRecord::FillFrom(uint32_t mask, const Row& row) {
    constexpr uint32_t kFields = kManage | kFilePath | kFileName | kFileFormat | kShootingDate | kThumbnailSize |
                                 kThumbnailOrientation | kGps | kFileAttributes | kDidEdit | kIsFavorite |
                                 kDidDetectFace | kAlbumId | kParent | kUploadFlag | kClassifyId;
    const uint32_t todo = mask & kFields & ~m_knownMask;
    if (todo & kManage) m_manage = row.manage;
    if (todo & kFilePath) {
        m_filePath.Assign(TextOf(row.filePath));
        m_diskVsn = row.diskVsn;
    }
    if (todo & kFileName) m_fileName.Assign(TextOf(row.fileName));
    if (todo & kFileFormat) m_fileFormat = row.fileFormat;
    if (todo & kShootingDate) m_shootingDate = row.shootingDate;
    if (todo & kThumbnailSize) {
        // Width in the high 16 bits, height in the low 16 bits.
        m_thumbnailWidth = static_cast<uint16_t>(row.thumbnailSize >> 16);
        m_thumbnailHeight = static_cast<uint16_t>(row.thumbnailSize);
    }
    if (todo & kThumbnailOrientation) m_thumbnailOrientation = static_cast<uint16_t>(row.thumbnailOrientation);
    if (todo & kGps) {
        m_latitude = static_cast<float>(row.latitude);
        m_longitude = static_cast<float>(row.longitude);
    }
    if (todo & kFileAttributes) m_fileAttributes = row.fileAttributes;
    if (todo & kDidEdit) m_didEdit = row.didEdit ? 1 : 0;
    if (todo & kIsFavorite) m_isFavorite = row.isFavorite ? 1 : 0;
    if (todo & kDidDetectFace) m_didDetectFace = row.didDetectFace ? 1 : 0;
    if (todo & kAlbumId) m_albumId = row.albumId;
    if (todo & kParent) m_parentId = row.parentId;
    if (todo & kUploadFlag) m_uploadFlag = row.uploadFlag ? 1 : 0;
    // Its low 8 bits; a short row has already narrowed it to 0 or 1.
    if (todo & kClassifyId) m_classifyId = static_cast<uint8_t>(row.classifyId);
    m_knownMask |= todo;
}

std::unique_lock<CCriticalSection> CZanDB4FileDBRecord::LockStore() {
    if (m_store == nullptr) return {};
    return std::unique_lock<CCriticalSection>(m_store->RowLock());
}

HRESULT CZanDB4FileDBRecord::ReadFields(uint32_t mask, const FileRowView& row, uint32_t rowFields) {
    if ((mask & m_knownMask) != 0) return S_OK;
    auto lock = LockStore();
    FillFrom(mask & rowFields, row);
    return S_OK;
}

void CZanDB4FileDBRecord::FillUnshared(uint32_t mask, const FileRowView& row, uint32_t rowFields) {
    if ((mask & m_knownMask) != 0) return;
    FillFrom(mask & rowFields, row);
}

HRESULT CZanDB4FileDBRecord::ReadFields(uint32_t mask, const FileRowValues* row, uint32_t rowFields) {
    // "Any", not "all": a partial record is not completed by a wide request.
    if ((mask & m_knownMask) != 0) return S_OK;
    auto lock = LockStore();
    if (row != nullptr) {
        FillFrom(mask & rowFields, *row);
        return S_OK;
    }
    if (m_store == nullptr || m_fileId == 0 || m_rowAbsent) return E_FAIL;
    FileRowValues own;
    if (m_store->ReadFileRow(m_fileId, own) != S_OK) return E_FAIL;
    FillFrom(mask, own);
    return S_OK;
}

void CZanDB4FileDBRecord::ReadRelations(uint32_t mask) {
    if ((mask & m_knownMask) != 0) return;
    if ((mask & kTagSet) != 0) {
        auto lock = LockStore();
        // The set is read only when the bit is set by now, which the test
        // above has already excluded: a record's tags are not fetched from
        // the row this way, and a tag set starts empty unless it was given
        // its tags. Callers depend on this; it stays as it is.
        if ((m_knownMask & kTagSet) != 0 && m_store != nullptr) {
            m_tags.clear();
            m_store->ReadFileTags(m_fileId, m_tags);
            if (!m_tags.empty()) m_knownMask |= kTagSet;
        }
    }
    if ((mask & kMetaRecord) != 0 && (m_knownMask & kMetaRecord) == 0) {
        auto lock = LockStore();
        if (m_metaRecord != nullptr || m_store == nullptr) return;
        ComPtr<IZanDB4FileMetaDBRecord> found;
        if (m_store->FindMetaRecord(found.Receive(), m_fileId) != S_OK) return;
        SetMetaRecordRaw(found.Get());
        // What was read from the row is not a change.
        m_changedMask &= ~kMetaRecord;
    }
}

HRESULT CZanDB4FileDBRecord::SetMetaRecordRaw(IZanDB4FileMetaDBRecord* record) {
    auto lock = LockStore();
    if (record == m_metaRecord) return S_OK;
    if (m_metaRecord != nullptr) m_metaRecord->Release();
    m_metaRecord = nullptr;
    if (record != nullptr) {
        record->SetFileID(m_fileId);
        record->AddRef();
        m_metaRecord = record;
    }
    m_knownMask |= kMetaRecord;
    m_changedMask |= kMetaRecord;
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::GetMetaRecord(IZanDB4FileMetaDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    ReadRelations(kMetaRecord);
    auto lock = LockStore();
    *outRecord = m_metaRecord;
    if (m_metaRecord == nullptr) return E_FAIL;
    m_metaRecord->AddRef();
    return S_OK;
}

HRESULT CZanDB4FileDBRecord::AttachMetaRecord(IZanDB4FileMetaDBRecord* record) {
    if (record == nullptr) return E_INVALIDARG;
    // The bits are set even when the record held is the same one.
    return SetField(kMetaRecord, [&] { SetMetaRecordRaw(record); });
}

HRESULT CZanDB4FileDBRecord::DetachMetaRecord() {
    return SetField(kMetaRecord, [&] { SetMetaRecordRaw(nullptr); });
}

BOOL CZanDB4FileDBRecord::IsChanged(uint32_t mask) {
    return mask == 0 ? m_changedMask != 0 : (m_changedMask & mask) != 0;
}

BOOL CZanDB4FileDBRecord::MarkColumnsChanged(BOOL changed) {
    auto lock = LockStore();
    if (changed) {
        m_changedMask |= kAllColumns;
        m_knownMask |= kAllColumns;
    } else {
        m_changedMask &= ~kAllColumns;
    }
    return changed;
}

BOOL CZanDB4FileDBRecord::GetChangedMask(uint32_t* outMask) {
    uint32_t mask = m_changedMask;
    if (outMask != nullptr) *outMask = mask;
    return mask != 0;
}

BOOL CZanDB4FileDBRecord::MarkRelationsChanged(BOOL changed) {
    auto lock = LockStore();
    if (changed)
        m_changedMask |= m_knownMask & kRelations;
    else
        m_changedMask &= ~kRelations;
    return changed;
}

BOOL CZanDB4FileDBRecord::GetRelationsChangedMask(uint32_t* outMask) {
    uint32_t mask = m_changedMask & kRelations;
    if (outMask != nullptr) *outMask = mask;
    return mask != 0;
}

BOOL CZanDB4FileDBRecord::ClearFields(uint32_t mask) {
    if (mask == 0) return 0;
    auto lock = LockStore();
    m_changedMask |= mask;
    // The known mask stays: a cleared field is known to be empty, and a
    // later read does not bring the row's value back. disk_vsn and
    // classify_id are not cleared; classify_id's bit only reaches the
    // changed mask.
    if (mask & kManage) m_manage = 0;
    if (mask & kFilePath) m_filePath.Empty();
    if (mask & kFileName) m_fileName.Empty();
    if (mask & kFileFormat) m_fileFormat = 0;
    if (mask & kShootingDate) m_shootingDate = 0;
    if (mask & kThumbnailSize) m_thumbnailWidth = m_thumbnailHeight = 0;
    if (mask & kThumbnailOrientation) m_thumbnailOrientation = 0;
    if (mask & kGps) m_latitude = m_longitude = 0;
    if (mask & kFileAttributes) m_fileAttributes = 0;
    if (mask & kDidEdit) m_didEdit = 0;
    if (mask & kIsFavorite) m_isFavorite = 0;
    if (mask & kDidDetectFace) m_didDetectFace = 0;
    if (mask & kParent) {
        m_parentId = 0;
        m_parentShootingDate = 0;
    }
    if (mask & kUploadFlag) m_uploadFlag = 0;
    if (mask & kAlbumId) m_albumId = 0;
    return 1;
}

HRESULT CZanDB4FileDBRecord::Clone(IZanDB4FileDBRecord** outRecord) {
    if (outRecord == nullptr) return E_INVALIDARG;
    auto lock = LockStore();
    ComPtr<IZanDB4FileDBRecord> clone;
    HRESULT made = zandb4::CreateInstance(IID_IZanDB4FileDBRecord, reinterpret_cast<void**>(clone.Receive()));
    if (made != S_OK) return made;

    // Through the getters and setters, so the clone's changed mask names
    // every copied field and it saves as a new row. No file_id, and on
    // purpose no upload flag, class, tags or metadata record.
    uint32_t number = 0;
    GetManage(&number);
    clone->SetManage(&number);
    CZanTString text;
    uint32_t diskVsn = 0;
    GetFilePath(text, &diskVsn);
    clone->SetFilePath(text.GetString(), &diskVsn);
    GetFileName(text);
    clone->SetFileName(text.GetString());
    GetFileFormat(&number);
    clone->SetFileFormat(&number);
    int64_t date = 0;
    GetShootingDateValue(&date);
    clone->SetShootingDateValue(&date);
    uint32_t width = 0, height = 0;
    GetThumbnailSize(&width, &height);
    uint16_t width16 = static_cast<uint16_t>(width), height16 = static_cast<uint16_t>(height);
    clone->SetThumbnailSize(&width16, &height16);
    uint16_t orientation = 0;
    GetThumbnailOrientation(&orientation);
    clone->SetThumbnailOrientation(&orientation);
    float latitude = 0, longitude = 0;
    GetGPS(&latitude, &longitude);
    clone->SetGPS(&latitude, &longitude);
    GetFileAttributes(&number);
    clone->SetFileAttributes(&number);
    uint8_t flag = 0;
    GetDidEdit(&flag);
    clone->SetDidEdit(&flag);
    GetIsFavorite(&flag);
    clone->SetIsFavorite(&flag);
    GetDidDetectFace(&flag);
    clone->SetDidDetectFace(&flag);
    uint64_t id = 0;
    GetAlbumID(&id);
    clone->SetAlbumID(&id);
    SYSTEMTIME parentDate{};
    GetParent(&id, &parentDate);
    clone->SetParent(&id, &parentDate);

    *outRecord = clone.Detach();
    return S_OK;
}

ULONG CZanDB4FileDBRecord::Release() {
    // The id is read while this reference still keeps the record alive.
    uint64_t fileId = m_fileId;
    int32_t count = --m_refCount;
    if (count == 0) {
        delete this;
        return 0;
    }
    if (count != 1) return static_cast<ULONG>(count);
    // The one reference left may be the cache's: if so, the cache lets go
    // and the record is gone.
    bool removed = zandb4::FileRecordCache::ReleaseIfOnlyCached(zandb4::g_fileRecordCache, this,
                                                                fileId, [this] { return m_refCount.load(); });
    return removed ? 0 : 1;
}

CZanDB4FileDBRecord::~CZanDB4FileDBRecord() {
    if (m_metaRecord != nullptr) m_metaRecord->Release();
}
