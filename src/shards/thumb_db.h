// CSQLiteThumbDB: a thumbnail shard, one SQLite file holding the thumbnails of
// ten thousand consecutive identifiers of one family and kind, in
// thumbnail_table. It adds that table to the base's tables and the row
// operations on it. The file lies in its factory's folder under the name
// "%08X.db" of its shard number.
//
// Threading: not thread-safe. Callers hold the factory's lock (and, through
// the managers, the catalogue's lock before it).
#pragma once

#include "storage/sqlite_db_base.h"
#include "zandb4/caches.h"

class CSQLiteThumbDB : public CSQLiteDBBase {
public:
    // The base's tables, then thumbnail_table. E_FAIL if either fails.
    HRESULT CreateTables() override;

    // Writes a new row stamped with the current UTC time, the bytes copied.
    // E_INVALIDARG for null data or size 0; E_FAIL when the row exists
    // already or the statement fails. Opens the shard's transaction.
    HRESULT InsertThumbnail(uint64_t id, const void* data, uint32_t size, uint64_t sourceId);
    // Replaces the bytes of an existing row and stamps it; sourceId null
    // leaves the row's source_id as it stands. E_INVALIDARG for null data or
    // size 0; E_FAIL when there is no such row or the statement fails.
    HRESULT UpdateThumbnail(uint64_t id, const void* data, uint32_t size, const uint64_t* sourceId);
    // Whether a row with that identifier exists.
    BOOL Exists(uint64_t id);
    // A new cache object filled from the row, with one reference for the
    // caller. E_INVALIDARG for a null out; E_FAIL without a row, or when the
    // object cannot be made or filled (out stays null then).
    HRESULT GetThumbnail(uint64_t id, IZanDB4FileCache** outCache);
    // Deletes the row; no row is S_OK. E_FAIL when the statement fails.
    HRESULT DeleteThumbnail(uint64_t id);
    // Deletes the rows of every identifier in idList, a comma-separated list
    // of decimal numbers. E_FAIL when the statement fails.
    HRESULT DeleteThumbnails(const CZanTString& idList);
    // Deletes every row. E_FAIL when the statement fails.
    HRESULT DeleteAllRows();
};
