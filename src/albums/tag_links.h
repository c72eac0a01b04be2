// TagFileLinks: the links between files and tags in tag_file_table, as the
// file store writes them from a file record's tag set (CSQLiteFileBasicDB's
// WriteFileTags and ReplaceFileTags), over a store's connection. Made on the
// stack for a call: it borrows the store and holds nothing.
//
// Writers open the store's transaction; the caller holds the store's lock.
#pragma once

#include <set>

#include "storage/sqlite_db_base.h"
#include "zandb4/records.h"

class TagFileLinks {
public:
    explicit TagFileLinks(CSQLiteDBBase& store) : m_store(store) {}

    // Inserts a link for each tag of the record; no tags is S_OK.
    HRESULT WriteFileTags(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Deletes every link of the file, then writes the record's.
    HRESULT ReplaceFileTags(uint64_t fileId, IZanDB4FileDBRecord* record);
    // Deletes every link of the file. S_OK when the delete ran through.
    HRESULT DeleteLinksOfFile(uint64_t fileId);
    // The tag ids linked to the file, added to tagIds.
    void ReadTagsOfFile(uint64_t fileId, std::set<uint64_t>& tagIds);

private:
    CSQLiteDBBase& m_store;
};
