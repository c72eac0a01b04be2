// The in-memory form of one file_table row, and what a file record asks of
// the catalogue it belongs to.
//
// The catalogue turns its rows into FileRowValues and back (the column
// layout is its own business); a file record only copies values in and out.
// That keeps SQL out of the records and lets the catalogue build records
// without the records knowing the catalogue.
#pragma once

#include <cstdint>
#include <set>
#include <string_view>

#include "frame/critical_section.h"
#include "zandb4/foundation.h"
#include "zandb4/records.h"

// The columns of a file_table row. Paths stand as the caller has them; the
// catalogue applies its separator rules and derives path_key on the way in.
// Text is the type of the two texts: an owned string, or a view.
template <class Text>
struct FileRowOf {
    uint64_t fileId = 0;
    Text filePath;
    uint32_t diskVsn = 0;
    Text fileName;
    uint32_t fileFormat = 0;
    int64_t shootingDate = 0;
    double latitude = 0;
    double longitude = 0;
    uint32_t fileAttributes = 0;
    uint32_t thumbnailSize = 0;  // width * 65536 + height
    uint32_t thumbnailOrientation = 0;
    bool didEdit = false;
    bool isFavorite = false;
    bool didDetectFace = false;
    uint64_t albumId = 0;
    uint32_t manage = 0;
    uint64_t parentId = 0;
    int64_t parentShootingDate = 0;
    bool uploadFlag = false;
    uint32_t classifyId = 0;
};

// A row that owns its values: what is written, and what a record reads of
// its own row.
using FileRowValues = FileRowOf<CZanTString>;
// A row read in place: its texts point into the statement's current row and
// stay valid only until the statement steps again. A search fills records
// from these, so no string is made per row only to be copied and dropped.
using FileRowView = FileRowOf<std::u16string_view>;

// The catalogue as a file record sees it. CSQLiteFileBasicDB implements it.
// Every operation but RowLock expects the caller to hold RowLock.
class IFileRowSource {
public:
    // The catalogue's lock, which also guards every record of the catalogue.
    virtual CCriticalSection& RowLock() = 0;
    // Every column of the row of fileId. E_FAIL when there is no such row or
    // it cannot be read.
    virtual HRESULT ReadFileRow(uint64_t fileId, FileRowValues& row) = 0;
    // The ids of the tags linked to the file; empty when there are none or
    // they cannot be read.
    virtual void ReadFileTags(uint64_t fileId, std::set<uint64_t>& tagIds) = 0;
    // The metadata row of the file as a new record (one reference for the
    // caller); E_FAIL and a null out when there is none.
    virtual HRESULT FindMetaRecord(IZanDB4FileMetaDBRecord** outRecord, uint64_t fileId) = 0;
    // An album whose file count and date range the next Commit recounts.
    virtual void NoteAlbumForRecount(uint64_t albumId) = 0;

protected:
    ~IFileRowSource() = default;
};
