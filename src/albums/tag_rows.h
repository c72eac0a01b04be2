// TagRows: the statements on tag_table (CSQLiteFileBasicDB's AddTag ...
// GetTags) and the link count of a tag, over the catalogue's connection.
// Made on the stack for a call: it borrows the store and holds nothing.
//
// Writers open the store's transaction; nothing commits until Commit. The
// caller holds the store's lock and has checked the arguments the manager
// documents (records and names).
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/albums.h"

class TagRows {
public:
    explicit TagRows(CSQLiteDBBase& store) : m_store(store) {}

    // A new row under a new id of pool 8. The id goes to *outId (may be
    // null) before the insert runs and back to the pool when the insert
    // fails; a name another tag has fails on the unique index.
    HRESULT AddTag(const CZanTString& name, uint32_t type, uint64_t* outId);
    // Name and type of tagId; an id without a row is S_OK.
    HRESULT UpdateTag(uint64_t tagId, const CZanTString& name, uint32_t type);
    // The tag's links, then the tag; the id is pooled when both went through.
    HRESULT DeleteTag(uint64_t tagId);
    // *outRecord is cleared, then holds a new record; E_FAIL for no row.
    HRESULT GetTag(uint64_t tagId, IZanDB4TagDBRecord** outRecord);
    // 0 also on failure.
    uint32_t GetTagCount();
    // Appended in the table's order; E_FAIL when the array ends empty.
    HRESULT GetTagIDs(CZanTArray<uint64_t>& ids);
    HRESULT GetTags(CZanTArray<IZanDB4TagDBRecord*>& tags);
    // The links of the tag, a file linked twice counted twice; 0 also when
    // the count cannot be read.
    uint32_t CountLinksOfTag(uint64_t tagId);

private:
    CSQLiteDBBase& m_store;
};
