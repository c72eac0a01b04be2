// The catalogue's value objects and its search builder: the file record (one
// row of file_table with its tags and its metadata record), the metadata
// record (one row of meta_table), the holder of a large metadata block, and
// the query manager that turns search terms into WHERE-clause text held by
// query nodes.
//
// Every object here is reference counted and comes with one reference for
// whoever made or received it. None of them is thread-safe on its own: a file
// record takes the catalogue's lock for its setters and reads, the others take
// no lock at all. Query nodes never change once made (but through SetText) and
// may pass between threads.
#pragma once

#include "zandb4/forward.h"
#include "zandb4/foundation.h"

// Called once per metadata record during a walk over meta_table. The record
// is borrowed: the walk releases it after the call, so AddRef it to keep it.
// Answer 0 to go on, anything else to end the walk.
typedef int32_t (*ZanDB4MetaRecordCallback)(IZanDB4FileMetaDBRecord* record, void* context);

// One file of the catalogue: a lazy, change-tracking view of its row. Getters
// read the row on first need; setters write memory only and mark the field
// changed, and the file manager turns the changed fields into an UPDATE. There
// is one live object per file id, shared by every caller that loads it.
//
// Unless a comment says otherwise, an operation answers S_OK, and E_INVALIDARG
// for a null pointer argument with nothing changed. A getter whose row cannot
// be read still answers S_OK with the field's default value.
class IZanDB4FileDBRecord : public IUnknown {
public:
    // ClearFields of every column: empties them (classify id and volume
    // serial keep their values) and marks every column changed.
    virtual HRESULT ClearAll() = 0;
    // A new unsaved record with this one's columns, but without file id,
    // upload flag, classify id, tags and metadata record; every copied column
    // is marked changed, so it saves as a new row. The caller releases it.
    // Answers the factory's failure if the new record cannot be made.
    virtual HRESULT Clone(IZanDB4FileDBRecord** outRecord) = 0;

    // The row's key; 0 for a record that no row stands behind, and after the
    // row was deleted. SetFileID stores the key without marking anything.
    virtual HRESULT GetFileID(uint64_t* outId) = 0;
    virtual HRESULT SetFileID(uint64_t id) = 0;

    virtual HRESULT GetManage(uint32_t* outManage) = 0;
    virtual HRESULT SetManage(const uint32_t* manage) = 0;

    // Path and volume serial. E_FAIL when the path is empty; outDiskVsn may
    // be null. A null diskVsn on the setter leaves the stored serial alone.
    virtual HRESULT GetFilePath(CZanTString& outPath, uint32_t* outDiskVsn) = 0;
    virtual HRESULT SetFilePath(const WCHAR* path, const uint32_t* diskVsn) = 0;
    // E_FAIL when the name is empty.
    virtual HRESULT GetFileName(CZanTString& outName) = 0;
    virtual HRESULT SetFileName(const WCHAR* name) = 0;

    virtual HRESULT SetFileFormat(const uint32_t* format) = 0;
    virtual HRESULT GetFileFormat(uint32_t* outFormat) = 0;

    // The shooting date, either packed or broken down. GetShootingDate writes
    // zeros and answers E_INVALIDARG when the date could not be read at all.
    virtual HRESULT SetShootingDateValue(const int64_t* packedDate) = 0;
    virtual HRESULT SetShootingDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetShootingDate(SYSTEMTIME* outDate) = 0;

    // Thumbnail size. Either pointer may be null, not both; a side left out
    // keeps its value.
    virtual HRESULT SetThumbnailSize(const uint16_t* width, const uint16_t* height) = 0;
    virtual HRESULT GetThumbnailSize(uint32_t* outWidth, uint32_t* outHeight) = 0;
    virtual HRESULT SetThumbnailOrientation(const uint16_t* orientation) = 0;
    virtual HRESULT GetThumbnailOrientation(uint16_t* outOrientation) = 0;

    // Holds record (null drops the one held), gives it this file's id and
    // takes a reference of its own. Always S_OK.
    virtual HRESULT SetMetaRecordRaw(IZanDB4FileMetaDBRecord* record) = 0;
    // The metadata record, loaded from the catalogue if none is held yet, with
    // one reference for the caller. E_FAIL with a null out when there is none.
    virtual HRESULT GetMetaRecord(IZanDB4FileMetaDBRecord** outRecord) = 0;
    // Attach or detach the metadata record and mark it for the next save; a
    // detached record's row is deleted then.
    virtual HRESULT AttachMetaRecord(IZanDB4FileMetaDBRecord* record) = 0;
    virtual HRESULT DetachMetaRecord() = 0;

    // Position. Either pointer may be null, not both. E_INVALIDARG with nothing
    // changed for a latitude outside [-90, 90] or a longitude outside
    // [-180, 180].
    virtual HRESULT SetGPS(const float* latitude, const float* longitude) = 0;
    virtual HRESULT GetGPS(float* outLatitude, float* outLongitude) = 0;

    virtual HRESULT SetFileAttributes(const uint32_t* attributes) = 0;
    virtual HRESULT GetFileAttributes(uint32_t* outAttributes) = 0;

    // The 8-bit flags: 0 or 1 as read from the row, any byte as set.
    // GetDidEdit answers the value in memory without reading the row, so it
    // shows the row's value only after another read brought it in.
    virtual HRESULT SetDidEdit(const uint8_t* didEdit) = 0;
    virtual HRESULT GetDidEdit(uint8_t* outDidEdit) = 0;
    virtual HRESULT SetIsFavorite(const uint8_t* isFavorite) = 0;
    virtual HRESULT GetIsFavorite(uint8_t* outIsFavorite) = 0;
    virtual HRESULT SetDidDetectFace(const uint8_t* didDetectFace) = 0;
    virtual HRESULT GetDidDetectFace(uint8_t* outDidDetectFace) = 0;

    // The parent file and its shooting date, set together; neither may be
    // null. outDate may be null on the getter; a record read from a row gives
    // a zero date until SetParent was called on it.
    virtual HRESULT SetParent(const uint64_t* parentId, const SYSTEMTIME* parentDate) = 0;
    virtual HRESULT GetParent(uint64_t* outParentId, SYSTEMTIME* outDate) = 0;

    virtual HRESULT SetUploadFlag(const uint8_t* uploadFlag) = 0;
    virtual HRESULT GetUploadFlag(uint8_t* outUploadFlag) = 0;
    virtual HRESULT SetClassifyID(const uint8_t* classifyId) = 0;
    virtual HRESULT GetClassifyID(uint8_t* outClassifyId) = 0;

    // Moves the file to another album. The new album, and the old one when
    // this object held it, have their counters recounted at the next commit.
    virtual HRESULT SetAlbumID(const uint64_t* albumId) = 0;
    virtual HRESULT GetAlbumID(uint64_t* outAlbumId) = 0;

    // The tag set, written with the record's next save. It holds only what
    // was given to this object: a record read from a row starts with none.
    virtual HRESULT AddTag(const uint64_t* tagId) = 0;
    virtual HRESULT RemoveTag(const uint64_t* tagId) = 0;
    // Empties the set, so that the next save removes every tag of the file.
    virtual HRESULT ClearTags() = 0;
    virtual HRESULT GetTagCount(uint32_t* outCount) = 0;
    // Empties outTags and appends the tag ids in ascending order. E_FAIL when
    // the set is empty.
    virtual HRESULT GetTagList(CArray<uint64_t>* outTags) = 0;

    // Change tracking: the low 24 bits of the mask stand for the columns, the
    // top 8 for tags (0x20000000) and metadata record (0x40000000).
    // IsChanged: with mask 0, whether anything changed; else whether one of
    // mask's fields changed.
    virtual BOOL IsChanged(uint32_t mask) = 0;
    // FALSE marks every column saved; TRUE marks every column changed.
    // Answers its argument.
    virtual BOOL MarkColumnsChanged(BOOL changed) = 0;
    // The whole changed mask into outMask (may be null); TRUE if it is not 0.
    virtual BOOL GetChangedMask(uint32_t* outMask) = 0;
    // FALSE marks tags and metadata saved; TRUE marks the loaded ones
    // changed. Answers its argument.
    virtual BOOL MarkRelationsChanged(BOOL changed) = 0;
    // The tag and metadata bits of the changed mask into outMask (may be
    // null); TRUE if one is set.
    virtual BOOL GetRelationsChangedMask(uint32_t* outMask) = 0;
    // Empties the fields of mask (all but classify id and volume serial) and
    // marks them changed, so that the next save writes them empty. The fields
    // stay loaded: a later read does not bring the row's values back. FALSE
    // for mask 0, else TRUE.
    virtual BOOL ClearFields(uint32_t mask) = 0;

protected:
    virtual ~IZanDB4FileDBRecord() = default;

public:
    // The packed shooting date; 0 with S_OK when it could not be read.
    virtual HRESULT GetShootingDateValue(int64_t* outPackedDate) = 0;
};

// One row of meta_table: what was read out of an image or movie file. A plain
// value holder, filled whole and with no link to a store. The setters from
// SetFilterData to SetFrameRate raise the changed flag; the GPS, area and
// model setters leave it alone. Setters answer S_OK unless a comment says
// otherwise.
class IZanDB4FileMetaDBRecord : public IUnknown {
public:
    // Sets every value to zero or empty, then the changed flag to 1.
    virtual HRESULT ClearAll() = 0;
    // E_INVALIDARG for a null out.
    virtual HRESULT GetFileID(uint64_t* outId) = 0;
    virtual HRESULT SetFileID(uint64_t id) = 0;

    // Opaque filter bytes. The setter copies them (null data or size 0 leave
    // none) and answers E_OUTOFMEMORY when the copy cannot be made. The getter
    // hands out a pointer into the record's own buffer, valid until the next
    // change; either out may be null, not both, and asking for the pointer of
    // an empty record answers E_FAIL.
    virtual HRESULT SetFilterData(const void* data, uint32_t size) = 0;
    virtual HRESULT GetFilterData(const void** outData, uint32_t* outSize) = 0;

    // E_INVALIDARG for a null out, or a null date on the setters.
    virtual HRESULT SetFileSize(uint64_t fileSize) = 0;
    virtual HRESULT GetFileSize(uint64_t* outFileSize) = 0;
    virtual HRESULT SetFileUpdateDate(const SYSTEMTIME* date) = 0;
    virtual HRESULT GetFileUpdateDate(SYSTEMTIME* outDate) = 0;
    // The import date with its class; outClass may be null, the date pointers
    // may not.
    virtual HRESULT SetImportDate(const SYSTEMTIME* date, uint32_t importClass) = 0;
    virtual HRESULT GetImportDate(SYSTEMTIME* outDate, uint32_t* outClass) = 0;
    // Either out of GetPixelSize may be null; both null answers E_FAIL.
    virtual HRESULT SetPixelSize(uint32_t width, uint32_t height) = 0;
    virtual HRESULT GetPixelSize(uint32_t* outWidth, uint32_t* outHeight) = 0;
    virtual HRESULT SetPanoramaNumber(uint32_t number) = 0;
    virtual HRESULT GetPanoramaNumber(uint32_t* outNumber) = 0;
    virtual HRESULT SetDriveNumber(uint32_t number) = 0;
    virtual HRESULT GetDriveNumber(uint32_t* outNumber) = 0;
    virtual HRESULT SetDuration(uint64_t duration) = 0;
    virtual HRESULT GetDuration(uint64_t* outDuration) = 0;
    virtual HRESULT SetFrameRate(uint32_t frameRate) = 0;
    virtual HRESULT GetFrameRate(uint32_t* outFrameRate) = 0;

    // Altitude: two halves of one 64-bit value, high half first; the second
    // half is signed and borrows from the first when negative. Both outs are
    // required.
    virtual HRESULT SetGPSAltitude(int32_t first, int32_t second) = 0;
    virtual HRESULT GetGPSAltitude(int32_t* outFirst, int32_t* outSecond) = 0;
    // Direction: high word and low word of one 64-bit value. Both outs are
    // required.
    virtual HRESULT SetGPSDirection(uint32_t first, uint32_t second) = 0;
    virtual HRESULT GetGPSDirection(uint32_t* outFirst, uint32_t* outSecond) = 0;
    virtual HRESULT GetAreaInfo(CZanTString& outAreaInfo) = 0;
    virtual HRESULT SetAreaInfo(const WCHAR* areaInfo) = 0;
    // The camera model and its settings. The first three number outs are
    // required (E_INVALIDARG with nothing written); focus mode and parameter
    // flag may be null.
    virtual HRESULT GetModelInfo(CZanTString& outModelName, uint32_t* outPictureMode, uint32_t* outFinishingMode,
                                 uint32_t* outArtFilter, uint32_t* outFocusMode, uint32_t* outParamFlag) = 0;
    virtual HRESULT SetModelInfo(const WCHAR* modelName, uint32_t pictureMode, uint32_t finishingMode,
                                 uint32_t artFilter, uint32_t focusMode, uint32_t paramFlag) = 0;

    // The changed flag itself. E_INVALIDARG for a null out.
    virtual HRESULT SetChanged(uint32_t changed) = 0;
    virtual HRESULT GetChanged(uint32_t* outChanged) = 0;

protected:
    virtual ~IZanDB4FileMetaDBRecord() = default;
};

// A block of metadata too large for meta_table, with its type number. The
// bytes are never looked into. A value holder with no link to a store.
class IZanDB4FileLargeMetaData : public IUnknown {
public:
    // The type number of the client. E_INVALIDARG for a null out.
    virtual HRESULT SetType(uint32_t type) = 0;
    virtual HRESULT GetType(uint32_t* outType) = 0;
    // Replaces the bytes with a copy (null data or size 0 leave none).
    // E_OUTOFMEMORY when the copy cannot be made.
    virtual HRESULT SetData(const void* data, uint32_t size) = 0;
    // A pointer into the object's own buffer, valid until the next change.
    // Either out may be null, not both; asking for the pointer of an empty
    // object answers E_FAIL.
    virtual HRESULT GetData(const void** outData, uint32_t* outSize) = 0;
    // Takes over data, a buffer from std::malloc, without a copy; the object
    // frees it with std::free.
    virtual HRESULT AttachData(void* data, uint32_t size) = 0;
    virtual HRESULT SetFileID(uint64_t id) = 0;
    virtual HRESULT GetFileID(uint64_t* outId) = 0;

protected:
    virtual ~IZanDB4FileLargeMetaData() = default;
};

// A search condition: the finished text of a WHERE clause, without the word
// WHERE. Made by IZanDB4QueryMgr.
class IZanDB4QueryNode : public IUnknown {
public:
    // Does nothing; S_OK.
    virtual HRESULT Reset() = 0;
    // Copies the text out. E_FAIL when it is empty.
    virtual HRESULT GetText(CZanTString& outText) = 0;
    // Replaces the text.
    virtual HRESULT SetText(const WCHAR* text) = 0;

protected:
    virtual ~IZanDB4QueryNode() = default;
};

// Builds search conditions on file_table, one operation per searchable
// column. Stateless. Each operation writes a new node with one reference for
// the caller to outNode, or null on failure: E_INVALIDARG for a null out, an
// unknown operator, combination code or date mode, or a value out of range;
// E_FAIL when a node cannot be made.
//
// Operator codes: 0 "=", 1 "!=", 2 "<", 3 "<=", 4 ">", 5 ">=", 6 prefix match,
// 7 suffix match, 8 substring match, 9 LIKE pattern, 10 bit test "&".
// Values go into the text unescaped: a quote in a path or area text breaks
// the statement it ends up in.
class IZanDB4QueryMgr : public IUnknown {
public:
    // Joins the texts of left and right: code 0 "AND", 1 "OR", 2 "NOT(left OR
    // right)"; parentheses puts the whole in parentheses. E_FAIL when either
    // text is empty. The children stay the caller's.
    virtual HRESULT CombineNodes(IZanDB4QueryNode** outNode, IZanDB4QueryNode* left, IZanDB4QueryNode* right,
                                 uint32_t code, BOOL parentheses) = 0;
    virtual HRESULT CreateFileFormatNode(IZanDB4QueryNode** outNode, uint32_t format) = 0;
    // A shooting date range, either end first. Mode 1: whole days from first
    // to second; mode 2: first to second exactly; mode 3: the whole day of
    // first (second may be null).
    virtual HRESULT CreateShootingDateNode(IZanDB4QueryNode** outNode, uint32_t mode, const SYSTEMTIME* first,
                                           const SYSTEMTIME* second) = 0;
    // Inclusive coordinate ranges; lower must not be above upper, and both
    // must lie within [-90, 90] or [-180, 180].
    virtual HRESULT CreateLatitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) = 0;
    virtual HRESULT CreateLongitudeNode(IZanDB4QueryNode** outNode, float lower, float upper) = 0;
    // Equality, or with pattern set a LIKE with text as the whole pattern.
    // file_table has no area column: a file search on this node alone fails.
    virtual HRESULT CreateAreaInfoNode(IZanDB4QueryNode** outNode, BOOL pattern, const WCHAR* text) = 0;
    virtual HRESULT CreateDidEditNode(IZanDB4QueryNode** outNode, BOOL didEdit) = 0;
    virtual HRESULT CreateIsFavoriteNode(IZanDB4QueryNode** outNode, BOOL isFavorite) = 0;
    virtual HRESULT CreateDidDetectFaceNode(IZanDB4QueryNode** outNode, BOOL didDetectFace) = 0;
    virtual HRESULT CreateManageNode(IZanDB4QueryNode** outNode, uint32_t op, uint32_t manage) = 0;
    virtual HRESULT CreateParentIDNode(IZanDB4QueryNode** outNode, uint32_t op, uint64_t parentId) = 0;
    virtual HRESULT CreateUploadFlagNode(IZanDB4QueryNode** outNode, BOOL uploadFlag) = 0;
    virtual HRESULT CreateClassifyIDNode(IZanDB4QueryNode** outNode, uint16_t classifyId) = 0;
    // Equality, or with prefix set every path that starts with path.
    virtual HRESULT CreateFilePathNode(IZanDB4QueryNode** outNode, const WCHAR* path, BOOL prefix) = 0;
    // True for files that share any bit with attributes; unused is ignored.
    virtual HRESULT CreateFileAttributesNode(IZanDB4QueryNode** outNode, uint32_t unused, uint32_t attributes) = 0;
    // Files with a position other than 0.0, 0.0.
    virtual HRESULT CreateHasGPSNode(IZanDB4QueryNode** outNode) = 0;
    virtual HRESULT CreateDiskVsnNode(IZanDB4QueryNode** outNode, int32_t diskVsn) = 0;
    virtual HRESULT CreateAlbumIDNode(IZanDB4QueryNode** outNode, uint64_t albumId) = 0;

protected:
    virtual ~IZanDB4QueryMgr() = default;
};
