// CSQLiteDBBase: the base of every store. It owns one SQLite connection to
// one file, the version row, the open and close sequence, the single long
// transaction, the guard against a swapped volume, the identifiers with their
// pool, and m_lock, the store's one lock.
//
// Threading: nothing here locks. Managers hold m_lock around whole
// operations; statement functions assume it is held.
//
// Transactions: the first write opens one with BeginTransaction and it stays
// open across many operations until Commit. There is no nesting and no
// rollback statement: Reopen closes the connection without committing.
//
// New files: a store file appears whole or not at all. When Open finds no
// file, it builds one under the name of the file plus kNewFileSuffix
// ("FileBasic.db.creating") in the same folder, runs CreateTables there with
// no sync per statement and the journal in memory, closes it, forces it to
// the disk, renames it into place and forces the folder. Only then does it
// open the file under its own name, as for a file that was there. A crash
// while building leaves only the temporary file (and perhaps a journal of
// it), which the next Open of the store removes before it builds again; a
// file under the temporary name is never opened as the store. A file whose
// CreateTables failed still goes into place, so that the next Open does not
// try its tables again.
#pragma once

#include <vector>

#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "frame/critical_section.h"
#include "zandb4/foundation.h"

class CSQLiteDBBase {
public:
    // The schema version this build writes, in every store: major 1, minor 201.
    static constexpr uint32_t kCurrentVersion = 1201;
    // Added to the file name while a new file is being built.
    static constexpr char kNewFileSuffix[] = ".creating";

    CSQLiteDBBase();
    CSQLiteDBBase(const CSQLiteDBBase&) = delete;
    CSQLiteDBBase& operator=(const CSQLiteDBBase&) = delete;

    // Commits an open transaction and closes the connection.
    virtual ~CSQLiteDBBase();

    // Opens m_folder/m_fileName (or ":memory:"), making the file and its
    // tables when it did not exist (see "New files" above). Never upgrades. A
    // file from a newer major version opens, but Commit and Vacuum refuse it.
    // S_OK or E_FAIL; E_FAIL also when CreateTables failed on a new file,
    // which is then left in place without a connection.
    virtual HRESULT Open();
    // The version row, or 0 for a file without one. E_FAIL with no connection.
    virtual HRESULT GetVersion(uint32_t* outVersion);
    virtual HRESULT SetVersion(uint32_t version);
    // kCurrentVersion; E_INVALIDARG for a null out.
    virtual HRESULT GetCurrentVersion(uint32_t* outVersion);
    // The three tables every store has; stores add theirs after calling this.
    virtual HRESULT CreateTables();
    // The base has nothing to upgrade.
    virtual HRESULT UpgradeTables();
    // Ends the open transaction (or, with force, runs COMMIT regardless).
    // E_FAIL without a store path, for a file that is too new, without a
    // connection, or when the volume under the file changed.
    virtual HRESULT Commit(bool force);
    // Gives back the memory of the connection's page cache that no open
    // statement holds. A store of many shards calls it after committing them:
    // every shard keeps its connection open until the library stops, and an
    // idle connection would otherwise keep its page cache, so that memory
    // would grow with the number of shards (one per 10 000 ids and kind).
    // The pages are read from the file again when next needed.
    void ReleaseCacheMemory();
    // Commits an open transaction and closes. Always S_OK.
    virtual HRESULT Close();
    virtual HRESULT Vacuum();
    // The library's rollback: closes without committing and opens again.
    virtual HRESULT Reopen();
    // Whether a COMMIT ever ran on this store object.
    virtual BOOL HasCommitted();
    // The next id of idType: a pooled one first, else the counter.
    virtual HRESULT NewID(uint32_t idType, uint64_t* outId);
    // Gives an id back to the pool of its type.
    virtual HRESULT PoolID(uint64_t id, uint32_t idType);
    // Runs "BEGIN;" unless a transaction is open already.
    virtual void BeginTransaction();
    // Takes one id from the pool without touching the counter. S_FALSE and
    // 0 for an empty pool; E_INVALIDARG for a null out.
    virtual HRESULT TakePooledID(uint32_t idType, uint64_t* outId);

    // Opens the file that is there for reading only, for tools that look
    // into a catalogue: the file is never made, its tables never created and
    // nothing upgraded, and every write then fails in SQLite. A read that
    // meets another process's lock waits up to busyMilliseconds. Reads the
    // version and sets m_tooNew as Open does, with no volume guard (nothing
    // is ever committed). E_FAIL when the file is missing or SQLite cannot
    // open it; the store then has no connection.
    HRESULT OpenReadOnly(int busyMilliseconds);

    // Takes over a statement that an operation leaves open on purpose (the
    // person group read keeps its prepared statement unfinalized). It stays
    // open on the connection until the connection closes, where it is
    // finalized first: an open statement would keep sqlite3_close from
    // closing the file at all.
    void LeaveStatementOpen(sqlite3_stmt* statement);
    // How many statements have been left open on the current connection.
    size_t StatementsLeftOpen() const { return m_leftOpen.size(); }

    // m_folder joined with m_fileName, or ":memory:" alone.
    CZanTString FullPath() const;
    bool IsInMemory() const;

    sqlite3* m_db = nullptr;
    uint32_t m_version = kCurrentVersion;
    int32_t m_tooNew = 0;
    int32_t m_inTransaction = 0;
    uint32_t m_volumeSerial = 0;
    CZanTString m_folder;
    CZanTString m_fileName;
    CCriticalSection m_lock;
    int32_t m_hasCommitted = 0;

protected:
    // Runs one statement with sqlite3_exec16, freeing any message; S_OK or E_FAIL.
    HRESULT ExecuteStatement(const WCHAR* sql);

private:
    // Finalizes the statements left open, then closes the connection.
    void CloseConnection();
    // Sets m_tooNew when the stored version is of a newer major version.
    void NoteTooNew();
    // Builds the new file path under its temporary name and renames it into
    // place; leaves no connection open. S_OK when the file is in place with
    // its tables; E_FAIL when CreateTables failed (the file is in place all
    // the same) or the file could not be made (nothing is left).
    HRESULT MakeNewFile(const std::string& path);
    // The Commit of this class alone, which the destructor runs whatever a
    // derived class made of Commit.
    HRESULT CommitBase(bool force);

    std::vector<sqlite3_stmt*> m_leftOpen;
};
