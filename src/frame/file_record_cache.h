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
// The map is an open-addressing hash table rather than a tree: a search
// that turns ten thousand rows into records adds and later removes ten
// thousand entries, and a table does that without a node to allocate and
// free per entry and without a walk down a deep tree, so the cost per row
// stays the same whatever the number of live records.
//
// The class is a template over the record type only so that tests can use a
// small stand-in record; the library uses FileRecordCache.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "frame/critical_section.h"
#include "zandb4/records.h"

namespace zandb4 {

// The cache's map: file id to record pointer, in slots probed linearly from
// the id's home slot, kept in "Robin Hood" order: along a probe run, entries
// stand no closer to their home than the ones before them. That lets a
// search stop as soon as it has come further than the entry it looks at,
// and lets a removal stop moving entries back at the first one that is
// home. Id 0 marks a free slot, which the cache can afford since it never
// stores id 0; no slot is ever left marked as deleted. The table doubles
// when it is half full and halves when it is an eighth full, so a burst of
// records leaves no large table behind. Not thread-safe: the cache holds its
// lock.
template <class Record>
class FileIdTable {
public:
    // The record stored under id, or null.
    Record* Find(uint64_t id) const {
        size_t at = SlotOf(id);
        return at == kNowhere ? nullptr : m_slots[at].record;
    }

    // Stores record under id unless the id is present, which then keeps its
    // record. Answers whether it was stored.
    bool Insert(uint64_t id, Record* record) {
        if (SlotOf(id) != kNowhere) return false;
        if ((m_count + 1) * 2 > m_slots.size()) Rehash(m_slots.empty() ? kMinimumSlots : m_slots.size() * 2);
        Place(Slot{id, record});
        ++m_count;
        return true;
    }

    // Takes the entry of id out and answers its record, or null when the id
    // is not present.
    Record* Erase(uint64_t id) {
        size_t at = SlotOf(id);
        if (at == kNowhere) return nullptr;
        Record* record = m_slots[at].record;
        // The entries behind it that are away from home each move one slot
        // back; the first free slot or entry at home ends the run.
        for (size_t next = Next(at); m_slots[next].id != 0 && Distance(next) != 0; next = Next(next)) {
            m_slots[at] = m_slots[next];
            at = next;
        }
        m_slots[at] = Slot{};
        --m_count;
        if (m_slots.size() > kMinimumSlots && m_count * 8 < m_slots.size()) Rehash(m_slots.size() / 2);
        return record;
    }

    size_t Size() const { return m_count; }

    // Calls visit(id, record) for every entry, in no particular order.
    template <class Visit>
    void ForEach(Visit&& visit) const {
        for (const Slot& slot : m_slots)
            if (slot.id != 0) visit(slot.id, slot.record);
    }

    void Swap(FileIdTable& other) noexcept {
        m_slots.swap(other.m_slots);
        std::swap(m_count, other.m_count);
        std::swap(m_bits, other.m_bits);
    }

private:
    struct Slot {
        uint64_t id = 0;
        Record* record = nullptr;
    };
    static constexpr size_t kMinimumSlots = 64;
    static constexpr int kRunBits = 3;
    static constexpr size_t kNowhere = SIZE_MAX;

    // Eight neighbouring ids share a run of eight slots, and the runs
    // are spread over the table by a multiplicative hash of the rest of the
    // id. Ids are handed out by a counter and a search gives them in runs of
    // neighbours, so a search walks the table a run at a time instead of
    // missing the cache once per row, while ranges of ids that lie a
    // multiple of the table's size apart do not pile up on the same slots.
    size_t Home(uint64_t id) const {
        uint64_t run = ((id >> kRunBits) * 0x9E3779B97F4A7C15ull) >> (64 - (m_bits - kRunBits));
        return static_cast<size_t>((run << kRunBits) | (id & ((uint64_t{1} << kRunBits) - 1)));
    }
    size_t Next(size_t at) const { return (at + 1) & (m_slots.size() - 1); }
    // How far the entry at a slot stands from its home.
    size_t Distance(size_t at) const { return (at - Home(m_slots[at].id)) & (m_slots.size() - 1); }

    // The slot of id, or kNowhere.
    size_t SlotOf(uint64_t id) const {
        if (m_count == 0) return kNowhere;
        size_t at = Home(id);
        for (size_t distance = 0;; ++distance, at = Next(at)) {
            if (m_slots[at].id == id) return at;
            // A free slot, or an entry nearer its home than the id would be
            // here: the id would have taken this slot.
            if (m_slots[at].id == 0 || Distance(at) < distance) return kNowhere;
        }
    }

    // Puts an entry whose id is not present into the table, which has a free
    // slot: along the way it takes the slot of any entry nearer its home and
    // carries that one on instead.
    void Place(Slot carried) {
        size_t at = Home(carried.id);
        for (size_t distance = 0;; ++distance, at = Next(at)) {
            if (m_slots[at].id == 0) {
                m_slots[at] = carried;
                return;
            }
            size_t resident = Distance(at);
            if (resident < distance) {
                std::swap(m_slots[at], carried);
                distance = resident;
            }
        }
    }

    void Rehash(size_t slots) {
        std::vector<Slot> old(slots);
        old.swap(m_slots);
        m_bits = 0;
        for (size_t size = slots; size > 1; size >>= 1) ++m_bits;
        for (const Slot& slot : old)
            if (slot.id != 0) Place(slot);
    }

    std::vector<Slot> m_slots;
    size_t m_count = 0;
    // log2 of the slot count.
    int m_bits = 0;
};

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
    // and the reference. Answers whether work ran.
    template <class Work>
    static bool Use(FileRecordCacheOf* const& registrySlot, Work&& work) {
        FileRecordCacheOf* cache = registrySlot;
        if (cache == nullptr) return false;
        if (cache->AddRef() == 1) {
            // The count was 0: the cache is on its way out. Leave it be.
            --cache->m_refCount;
            return false;
        }
        bool ran = false;
        if (registrySlot != nullptr) {
            CriticalSectionGuard guard(cache->m_lock);
            work(*cache);
            ran = true;
        }
        cache->Release();
        return ran;
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
