// CZanDB4FileDBRecord: one row of file_table in memory, with the row's tag set
// and its metadata record. It is lazy and tracks changes: it knows its
// file_id, reads a column from the catalogue the first time a getter needs
// it, remembers which fields it holds (the known mask) and which a client
// changed (the changed mask), and leaves writing to the file store, which
// turns the changed mask into an UPDATE.
//
// One mask bit per field: the low 24 bits stand for columns of file_table,
// 0x20000000 for the tag set and 0x40000000 for the metadata record.
//
// The record holds no SQL: it reads through IFileRowSource, which its
// catalogue implements, and copies values out of FileRowValues.
//
// Threading: setters, the reads and Clone take the lock of the catalogue the
// record points to (one lock for all records and the catalogue). GetFileID,
// SetFileID and the mask getters take none. Release takes only the lock of
// FileRecordCache.
//
// Lifetime: there is one live record per file_id, kept in FileRecordCache,
// which holds a reference of its own. When a Release brings the count to 1
// the record asks the cache to let go, and is destroyed if the cache's was
// the last reference.
#pragma once

#include <mutex>
#include <set>

#include "frame/com_object.h"
#include "frame/critical_section.h"
#include "frame/deliver.h"
#include "records/file_row.h"
#include "records/inline_text.h"
#include "zandb4/identifiers.h"
#include "zandb4/records.h"

class CZanDB4FileDBRecord : public zandb4::ComObject<IZanDB4FileDBRecord, IID_IZanDB4FileDBRecord> {
public:
    // Mask bits.
    static constexpr uint32_t kManage = 0x1;
    static constexpr uint32_t kFilePath = 0x2;
    static constexpr uint32_t kFileName = 0x4;
    static constexpr uint32_t kFileFormat = 0x8;
    static constexpr uint32_t kShootingDate = 0x10;
    static constexpr uint32_t kThumbnailSize = 0x20;
    static constexpr uint32_t kThumbnailOrientation = 0x40;
    static constexpr uint32_t kGps = 0x80;
    static constexpr uint32_t kFileAttributes = 0x100;
    static constexpr uint32_t kDidEdit = 0x200;
    static constexpr uint32_t kIsFavorite = 0x400;
    static constexpr uint32_t kDidDetectFace = 0x800;
    static constexpr uint32_t kParent = 0x4000;
    static constexpr uint32_t kUploadFlag = 0x8000;
    static constexpr uint32_t kAlbumId = 0x10000;
    static constexpr uint32_t kClassifyId = 0x20000;
    static constexpr uint32_t kAllColumns = 0xFFFFFF;
    static constexpr uint32_t kRelations = 0xFF000000;
    static constexpr uint32_t kTagSet = 0x20000000;
    static constexpr uint32_t kMetaRecord = 0x40000000;
    // The reduced read of the file store: every column of the short row but
    // classify_id.
    static constexpr uint32_t kReducedColumns = 0x1C6FB;

    // store: the catalogue open when the record was made, or null.
    explicit CZanDB4FileDBRecord(IFileRowSource* store) : m_store(store) {}

    // Records live in a pool of their own (records/block_pool.h): a search
    // makes and drops them by the hundred thousand.
    static void* operator new(size_t size);
    static void operator delete(void* memory, size_t size);

    // Fills the requested fields it does not hold yet. Nothing is read when
    // any requested bit is known already. With row null the record reads its
    // own row through its catalogue; else row is a row the caller read, which
    // holds the fields of rowFields (a short row lacks some). A field set in
    // memory is never overwritten by the row.
    HRESULT ReadFields(uint32_t mask, const FileRowValues* row, uint32_t rowFields = kAllColumns);
    // The same for a row read in place from a statement; its texts are
    // copied before the call returns.
    HRESULT ReadFields(uint32_t mask, const FileRowView& row, uint32_t rowFields = kAllColumns);
    // The same for a record just made from a row, which no other thread can
    // reach yet (it is in no cache and was handed to nobody): nothing is
    // locked. A search fills a hundred thousand of them under the
    // catalogue's lock, and taking it again for each one is pure cost.
    void FillUnshared(uint32_t mask, const FileRowView& row, uint32_t rowFields = kAllColumns);
    // A writer that has just drawn this record's id knows that no row of it
    // exists yet. While absent is set, ReadFields answers as a read that
    // finds no row does (E_FAIL, nothing filled in) without asking the
    // catalogue; the writer clears it when it is done.
    void SetRowAbsent(bool absent) { m_rowAbsent = absent; }
    // Brings in the tag set (0x20000000) or the metadata record (0x40000000).
    void ReadRelations(uint32_t mask);

    uint32_t KnownMask() const { return m_knownMask; }
    IFileRowSource* Store() const { return m_store; }
    // Whether ReadFields(mask, ...) would find a requested field known and so
    // read nothing; lets a caller skip making a row it would not use.
    bool KnowsAnyOf(uint32_t mask) const { return (m_knownMask & mask) != 0; }

    ULONG Release() override;

    HRESULT ClearAll() override;
    HRESULT Clone(IZanDB4FileDBRecord** outRecord) override;
    HRESULT GetFileID(uint64_t* outId) override;
    HRESULT SetFileID(uint64_t id) override;
    HRESULT GetManage(uint32_t* outManage) override;
    HRESULT SetManage(const uint32_t* manage) override;
    HRESULT GetFilePath(CZanTString& outPath, uint32_t* outDiskVsn) override;
    HRESULT SetFilePath(const WCHAR* path, const uint32_t* diskVsn) override;
    HRESULT GetFileName(CZanTString& outName) override;
    HRESULT SetFileName(const WCHAR* name) override;
    HRESULT SetFileFormat(const uint32_t* format) override;
    HRESULT GetFileFormat(uint32_t* outFormat) override;
    HRESULT SetShootingDateValue(const int64_t* packedDate) override;
    HRESULT SetShootingDate(const SYSTEMTIME* date) override;
    HRESULT GetShootingDate(SYSTEMTIME* outDate) override;
    HRESULT SetThumbnailSize(const uint16_t* width, const uint16_t* height) override;
    HRESULT GetThumbnailSize(uint32_t* outWidth, uint32_t* outHeight) override;
    HRESULT SetThumbnailOrientation(const uint16_t* orientation) override;
    HRESULT GetThumbnailOrientation(uint16_t* outOrientation) override;
    HRESULT SetMetaRecordRaw(IZanDB4FileMetaDBRecord* record) override;
    HRESULT GetMetaRecord(IZanDB4FileMetaDBRecord** outRecord) override;
    HRESULT AttachMetaRecord(IZanDB4FileMetaDBRecord* record) override;
    HRESULT DetachMetaRecord() override;
    HRESULT SetGPS(const float* latitude, const float* longitude) override;
    HRESULT GetGPS(float* outLatitude, float* outLongitude) override;
    HRESULT SetFileAttributes(const uint32_t* attributes) override;
    HRESULT GetFileAttributes(uint32_t* outAttributes) override;
    HRESULT SetDidEdit(const uint8_t* didEdit) override;
    HRESULT GetDidEdit(uint8_t* outDidEdit) override;
    HRESULT SetIsFavorite(const uint8_t* isFavorite) override;
    HRESULT GetIsFavorite(uint8_t* outIsFavorite) override;
    HRESULT SetDidDetectFace(const uint8_t* didDetectFace) override;
    HRESULT GetDidDetectFace(uint8_t* outDidDetectFace) override;
    HRESULT SetParent(const uint64_t* parentId, const SYSTEMTIME* parentDate) override;
    HRESULT GetParent(uint64_t* outParentId, SYSTEMTIME* outDate) override;
    HRESULT SetUploadFlag(const uint8_t* uploadFlag) override;
    HRESULT GetUploadFlag(uint8_t* outUploadFlag) override;
    HRESULT SetClassifyID(const uint8_t* classifyId) override;
    HRESULT GetClassifyID(uint8_t* outClassifyId) override;
    HRESULT SetAlbumID(const uint64_t* albumId) override;
    HRESULT GetAlbumID(uint64_t* outAlbumId) override;
    HRESULT AddTag(const uint64_t* tagId) override;
    HRESULT RemoveTag(const uint64_t* tagId) override;
    HRESULT ClearTags() override;
    HRESULT GetTagCount(uint32_t* outCount) override;
    HRESULT GetTagList(CArray<uint64_t>* outTags) override;
    BOOL IsChanged(uint32_t mask) override;
    BOOL MarkColumnsChanged(BOOL changed) override;
    BOOL GetChangedMask(uint32_t* outMask) override;
    BOOL MarkRelationsChanged(BOOL changed) override;
    BOOL GetRelationsChangedMask(uint32_t* outMask) override;
    BOOL ClearFields(uint32_t mask) override;
    HRESULT GetShootingDateValue(int64_t* outPackedDate) override;

protected:
    ~CZanDB4FileDBRecord() override;

private:
    // The store's lock, or nothing when the record has no store.
    std::unique_lock<CCriticalSection> LockStore();
    // Copies the fields of mask that are not known yet out of row, a
    // FileRowValues or a FileRowView.
    template <class Row>
    void FillFrom(uint32_t mask, const Row& row);
    // A getter that reads its field first: E_INVALIDARG for a null out
    // (nothing read), else the member as the read left it.
    template <class T>
    HRESULT ReadAndDeliver(T* out, uint32_t bit, const T& member) {
        if (out == nullptr) return E_INVALIDARG;
        ReadFields(bit, nullptr);
        return zandb4::Deliver(out, member);
    }
    // A setter of one plain member: E_INVALIDARG for a null value.
    template <class T>
    HRESULT SetValue(uint32_t bit, const T* value, T& member) {
        if (value == nullptr) return E_INVALIDARG;
        return SetField(bit, [&] { member = *value; });
    }
    // Writes a member under the lock and marks its field in both masks.
    template <class Write>
    HRESULT SetField(uint32_t bit, Write&& write) {
        auto lock = LockStore();
        write();
        m_knownMask |= bit;
        m_changedMask |= bit;
        return S_OK;
    }

    IFileRowSource* m_store;
    uint32_t m_changedMask = 0;
    uint32_t m_knownMask = 0;
    bool m_rowAbsent = false;
    uint64_t m_fileId = 0;
    uint32_t m_manage = 0;
    // Room for the path and the name of nearly every file inside the record
    // (80 and 40 UTF-16 units); longer ones go to the heap.
    zandb4::InlineText<80> m_filePath;
    uint32_t m_diskVsn = 0;
    zandb4::InlineText<40> m_fileName;
    uint32_t m_fileFormat = 0;
    int64_t m_shootingDate = 0;
    uint16_t m_thumbnailWidth = 0;
    uint16_t m_thumbnailHeight = 0;
    uint16_t m_thumbnailOrientation = 0;
    float m_latitude = 0;
    float m_longitude = 0;
    uint32_t m_fileAttributes = 0;
    uint8_t m_didEdit = 0;
    uint8_t m_isFavorite = 0;
    uint8_t m_didDetectFace = 0;
    uint8_t m_uploadFlag = 0;
    uint64_t m_parentId = 0;
    int64_t m_parentShootingDate = 0;
    uint64_t m_albumId = 0;
    uint8_t m_classifyId = 0;
    std::set<uint64_t> m_tags;
    IZanDB4FileMetaDBRecord* m_metaRecord = nullptr;
};
