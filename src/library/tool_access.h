// What the library's own command-line tool, zandb4, needs from the library
// beyond the five exported functions and the interfaces, and what the
// application never needs: a start that makes and writes nothing (a command
// that only reads must not change the disk, and ZanDB4_Initialize makes
// folders and stores), one read transaction around several reads of the
// catalogue with row counts beside them (so that a list cut short by a lock
// or damage shows as a failure), the ids of the files a commit could not
// move (the public Commit only answers S_FALSE), and the library's own rules
// for a file's volume serial and for shard file names, which what the tool
// writes and reads must match exactly.
//
// Not part of the application's interface: this header lives with the
// library's code, never under include/. libzandb4.so exports these symbols
// (src/exports.map) only so that the tool can link the shared library
// instead of carrying a private copy of its code. Each function here is a
// thin door to code that exists for the library anyway.
//
// Threading: like the five exported functions, StartReadOnly must not
// overlap any other call. The rest may be called from any thread while the
// library is up.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zandb4/foundation.h"

class CSQLiteFileBasicDB;

namespace zandb4::tool_access {

// Like ZanDB4_Initialize on root, except that no folder and no store file is
// made, and only the catalogue and what the dead-link check of the database
// utility counts in (the thumbnail families and the large-metadata shards)
// stand in the registry: the catalogue "database/FileBasic.db" must exist,
// and it opens for reading only (a read that meets another process's lock
// waits up to busyMilliseconds). Stop with ZanDB4_Finalize, which then
// commits nothing: no shard is open for it to commit.
//
// S_OK with the library up. E_FAIL when the library is up already, or when
// the catalogue file is missing or SQLite cannot open it; the library is then
// left down. Whether its rows can be read (a damaged or locked file) shows in
// the first read, not here.
ZANDB4_API HRESULT StartReadOnly(const WCHAR* root, int busyMilliseconds);

// One read transaction on the catalogue of the started library, held with
// the catalogue's lock for the life of the object, so that the managers'
// lists and CountCatalogueRows made meanwhile on this thread see one state
// of the file. Only on the read-only start: on a catalogue opened for
// writing the store runs transactions of its own, which one begun here would
// cross, so there it begins none. End it (COMMIT, which writes nothing after
// a read) before ZanDB4_Finalize.
class ZANDB4_API CatalogueRead {
public:
    CatalogueRead();
    ~CatalogueRead();
    CatalogueRead(const CatalogueRead&) = delete;
    CatalogueRead& operator=(const CatalogueRead&) = delete;

    // False while the library is down (no catalogue to read).
    bool HasCatalogue() const { return m_catalogue != nullptr; }
    // SQLite's code for the BEGIN: SQLITE_OK, SQLITE_MISUSE without a
    // catalogue or on one opened for writing, else the code of the failure.
    // SQLite's codes, not result codes, because the tool words its reasons
    // (locked, damaged, not a database) from them.
    int BeginCode() const { return m_beginCode; }

private:
    CSQLiteFileBasicDB* m_catalogue;
    int m_beginCode;
};

// The one number a COUNT statement (UTF-16 SQL) answers on the catalogue's
// connection, under its lock, with id bound to the first parameter when it
// is given. SQLite's code: SQLITE_OK with count set; SQLITE_MISUSE while the
// library is down; SQLITE_ERROR when the statement gives no row; else the
// code of the failed prepare, step or finalize, with count untouched.
ZANDB4_API int CountCatalogueRows(const WCHAR* sql, const uint64_t* id, int64_t& count);

// The file manager's Commit(flags) over the started library's stores, with
// failed set to the ids (ascending) of the staged files that could not move
// into the catalogue: they are gone from staging and their ids are free
// again. The answer is Commit's: S_FALSE when a file failed to move, E_FAIL
// while the library is down (failed then empty).
ZANDB4_API HRESULT CommitWithFailedIds(uint32_t flags, std::vector<uint64_t>& failed);

// The volume serial the stores keep for path (a file's disk_vsn) and check
// an open file against; 0 when nothing can be asked.
ZANDB4_API uint32_t VolumeSerialOf(const std::string& path);

// The name of the thumbnail shard file that holds id: id / 10000 as eight
// upper-case hexadecimal digits and ".db".
ZANDB4_API CZanTString ThumbnailShardFileName(uint64_t id);

// The file names (not paths) of the shard files in folder, in listing order:
// every entry that is not a folder and whose extension is exactly ".db". A
// folder that cannot be listed has none.
ZANDB4_API std::vector<CZanTString> ShardFileNamesIn(const CZanTString& folder);

// The version this build writes into version_info_table; a store whose
// version / 1000 is greater belongs to a newer major version.
ZANDB4_API uint32_t StoreVersion();

}  // namespace zandb4::tool_access
