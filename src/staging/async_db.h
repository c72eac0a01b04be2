// CSQLiteAsyncDB: the staging store, "FileBasicAsync.db" beside the
// catalogue. It takes new files (with their tags and metadata in one row)
// and the faces found in them at once, in one long transaction, until the
// file and face managers move them into the catalogue in one step. Of the
// catalogue only the identifier counter is touched while a file is staged.
//
// Threading: no lock of its own in these paths. The managers hold the
// catalogue's lock around every call, which serialises this store too.
#pragma once

#include "storage/sqlite_db_base.h"

class CSQLiteAsyncDB : public CSQLiteDBBase {
public:
    // The base's tables, then async_file_table, its unique index on name and
    // path, the tag table and the four face tables, each by sqlite3_exec16;
    // the first failure stops with E_FAIL.
    HRESULT CreateTables() override;
    // Brings async_file_table of files from builds before 1200 up to date:
    // the six late columns are added behind can_commit (a table holding only
    // some of them is rebuilt first, losing their values and its index).
    HRESULT UpgradeTables() override;
};
