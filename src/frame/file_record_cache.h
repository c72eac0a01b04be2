// FileRecordCache: the process-wide map of file id to the one live file
// record of that id, so that two callers who load the same row share one
// object and one set of loaded fields.
//
// Ownership: every stored record holds one reference of the cache's own. The
// cache object is itself counted: 1 for the registry, plus one for each user
// in flight, so that a user who has found the cache keeps it alive across its
// Unlock while ZanDB4_Finalize runs elsewhere. When the count reaches 0 the
// cache empties itself, frees itself and clears the registry's pointer.
//
// Threading: every operation takes m_lock, the innermost lock of the
// library. A thread holding a store's lock may take it; a thread holding it
// takes no store lock it does not already hold.
//
// The map is a FileIdTable (frame/file_id_table.h) rather than a tree: a
// search that turns ten thousand rows into records adds and later removes
// ten thousand entries, and the table does that without a node to allocate
// and free per entry and without a walk down a deep tree, so the cost per
// row stays the same whatever the number of live records.
//
// The class is a template over the record type only so that tests can use a
// small stand-in record; the library uses FileRecordCache.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame/critical_section.h"
#include "frame/file_id_table.h"
#include "zandb4/records.h"

namespace zandb4 {

template <class Record>
class FileRecordCacheOf {
public:
    // registrySlot: the registry member that points at this cache; cleared
    // when the cache destroys itself.
    explicit FileRecordCacheOf(FileRecordCacheOf** registrySlot) : m_registrySlot(registrySlot) {}
    FileRecordCacheOf(const FileRecordCacheOf&) = delete;
    FileRecordCacheOf& operator=(const FileRecordCacheOf&) = delete;

    // Id 0 answers false at once. Otherwise a stored record gets a new
    // reference for the caller and goes to *out.
    bool Find(uint64_t id, Record** out) {
        if (id == 0) return false;
        CriticalSectionGuard guard(m_lock);
        return FindHeld(id, out);
    }

    // A null record or id 0 stores nothing and answers false. An id already
    // present keeps its old record while the new reference stays held, so
    // callers call Find first under the same lock.
    bool Add(uint64_t id, Record* record) {
        if (id == 0 || record == nullptr) return false;
        CriticalSectionGuard guard(m_lock);
        return AddHeld(id, record);
    }

    // Makes record the live record of id unless one is stored already, which
    // then stays. Answers whether record was stored.
    bool AddUnlessLive(uint64_t id, Record* record) {
        CriticalSectionGuard guard(m_lock);
        Record* live = nullptr;
        if (Find(id, &live)) {
            live->Release();
            return false;
        }
        return Add(id, record);
    }

    // Zeroes the stored record's file id and drops the cache's reference.
    // The map entry goes either way.
    bool Remove(uint64_t id) {
        if (id == 0) return false;
        CriticalSectionGuard guard(m_lock);
        return RemoveHeld(id);
    }

    // Find, Add and Remove for a caller that holds the cache's lock already,
    // as the work that Use runs does: the same, without taking the lock a
    // second time. A search calls them once per row.
    bool FindHeld(uint64_t id, Record** out) {
        if (id == 0) return false;
        Record* found = m_map.Find(id);
        if (found == nullptr) return false;
        found->AddRef();
        *out = found;
        return true;
    }
    bool AddHeld(uint64_t id, Record* record) {
        if (id == 0 || record == nullptr) return false;
        record->AddRef();
        m_map.Insert(id, record);
        return true;
    }
    bool RemoveHeld(uint64_t id) {
        if (id == 0) return false;
        Record* record = m_map.Erase(id);
        if (record == nullptr) return false;
        record->SetFileID(0);
        record->Release();
        return true;
    }

    void Clear() {
        CriticalSectionGuard guard(m_lock);
        // Taken out first: a record released here finds the cache empty.
        FileIdTable<Record> entries;
        entries.Swap(m_map);
        entries.ForEach([](uint64_t, Record* record) {
            record->SetFileID(0);
            record->Release();
        });
    }

    ULONG AddRef() { return static_cast<ULONG>(++m_refCount); }

    ULONG Release() {
        int32_t count = --m_refCount;
        if (count != 0) return static_cast<ULONG>(count);
        // The registry lets go first: records released while the cache
        // empties itself then find no cache, instead of a dying one.
        if (m_registrySlot != nullptr && *m_registrySlot == this) *m_registrySlot = nullptr;
        {
            CriticalSectionGuard guard(m_lock);
            Clear();
        }
        delete this;
        return 0;
    }

    size_t Size() {
        CriticalSectionGuard guard(m_lock);
        return m_map.Size();
    }

    CCriticalSection& Lock() { return m_lock; }

    // The calling pattern of every user: read the registry's pointer (none:
    // skip the cache), take a reference, read the pointer again and, if it
    // still stands, run work under the cache's lock; then let go of the lock
    // and the reference. Answers whether work ran. An exception out of work
    // (a failed allocation) leaves the lock and the reference as well.
    template <class Work>
    static bool Use(FileRecordCacheOf* const& registrySlot, Work&& work) {
        FileRecordCacheOf* cache = registrySlot;
        if (cache == nullptr) return false;
        if (cache->AddRef() == 1) {
            // The count was 0: the cache is on its way out. Leave it be.
            --cache->m_refCount;
            return false;
        }
        struct Reference {
            FileRecordCacheOf* cache;
            ~Reference() { cache->Release(); }
        } reference{cache};
        if (registrySlot == nullptr) return false;
        CriticalSectionGuard guard(cache->m_lock);
        work(*cache);
        return true;
    }

    // The second stage of a file record's Release: its count has fallen to 1,
    // and that last reference may be the cache's. Under the cache's lock the
    // count is read again; if it is still 1 and the cache holds this very
    // record under its id, the cache lets go, which zeroes the id and
    // destroys the record. If a new user found the record meanwhile, or the
    // record never went through the cache, nothing happens here. Answers
    // whether the record was removed (and so destroyed).
    template <class Counter>
    static bool ReleaseIfOnlyCached(FileRecordCacheOf* const& registrySlot, Record* record, uint64_t fileId,
                                    const Counter& currentCount) {
        bool removed = false;
        Use(registrySlot, [&](FileRecordCacheOf& cache) {
            // Only while the cache holds this very record is it sure to be
            // alive; its count is read after that.
            if (cache.m_map.Find(fileId) != record) return;
            if (currentCount() != 1) return;
            removed = cache.RemoveHeld(fileId);
        });
        return removed;
    }

private:
    ~FileRecordCacheOf() = default;

    FileIdTable<Record> m_map;
    CCriticalSection m_lock;
    std::atomic<int32_t> m_refCount{1};
    FileRecordCacheOf** m_registrySlot;
};

using FileRecordCache = FileRecordCacheOf<IZanDB4FileDBRecord>;

// The process's one cache: made by the library's start, let go by its stop,
// null while the library is down. It is the registry's fileRecordCache; the
// slot lives here so that records and stores reach the cache without
// knowing the registry above them.
inline FileRecordCache* g_fileRecordCache = nullptr;

}  // namespace zandb4
