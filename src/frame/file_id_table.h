// FileIdTable: the map under FileRecordCache, from file id to the pointer of
// the live record of that id.
//
// File ids are handed out by a counter, and a search hands its rows over in
// runs of neighbouring ids, ten thousand or a hundred thousand at a time,
// which the cache adds and, once the client lets go, removes again. So the
// ids are grouped in blocks of 64 neighbours: a block holds the pointers of
// its ids at their low six bits, and a small hash table (KeyedSlots) maps
// block numbers to blocks. A run of neighbouring ids then works within one
// block, in memory it has just touched, with no allocation per entry; the
// directory of blocks stays small enough to sit in the processor's caches.
//
// Not thread-safe: the cache holds its lock around every call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace zandb4 {

// A hash map from non-zero 64-bit keys to pointers, in slots probed linearly
// from the key's home slot and kept in "Robin Hood" order: along a probe
// run, entries stand no closer to their home than the ones before them. A
// search can then stop as soon as it has come further than the entry it
// looks at, and a removal stops moving entries back at the first one that
// is home, so no slot is ever left marked as deleted. Key 0 marks a free
// slot. The table doubles when it is half full and halves when it is an
// eighth full.
template <class Value>
class KeyedSlots {
public:
    // The value stored under key, or null.
    Value* Find(uint64_t key) const {
        size_t at = SlotOf(key);
        return at == kNowhere ? nullptr : m_slots[at].value;
    }

    // Stores value under key unless the key is present, which then keeps its
    // value. Answers whether it was stored.
    bool Insert(uint64_t key, Value* value) {
        if (SlotOf(key) != kNowhere) return false;
        if ((m_count + 1) * 2 > m_slots.size()) Rehash(m_slots.empty() ? kMinimumSlots : m_slots.size() * 2);
        Place(Slot{key, value});
        ++m_count;
        return true;
    }

    // Takes the entry of key out and answers its value, or null when the key
    // is not present.
    Value* Erase(uint64_t key) {
        size_t at = SlotOf(key);
        if (at == kNowhere) return nullptr;
        Value* value = m_slots[at].value;
        // The entries behind it that are away from home each move one slot
        // back; the first free slot or entry at home ends the run.
        for (size_t next = Next(at); m_slots[next].key != 0 && Distance(next) != 0; next = Next(next)) {
            m_slots[at] = m_slots[next];
            at = next;
        }
        m_slots[at] = Slot{};
        --m_count;
        if (m_slots.size() > kMinimumSlots && m_count * 8 < m_slots.size()) {
            // Shrinking is a saving, not a duty: a removal runs inside a
            // record's Release, which must not fail, so without memory for
            // the smaller table the larger one stays.
            try {
                Rehash(m_slots.size() / 2);
            } catch (const std::bad_alloc&) {
            }
        }
        return value;
    }

    size_t Size() const { return m_count; }

    // Calls visit(key, value) for every entry, in no particular order.
    template <class Visit>
    void ForEach(Visit&& visit) const {
        for (const Slot& slot : m_slots)
            if (slot.key != 0) visit(slot.key, slot.value);
    }

    void Swap(KeyedSlots& other) noexcept {
        m_slots.swap(other.m_slots);
        std::swap(m_count, other.m_count);
        std::swap(m_bits, other.m_bits);
    }

private:
    struct Slot {
        uint64_t key = 0;
        Value* value = nullptr;
    };
    static constexpr size_t kMinimumSlots = 64;
    static constexpr size_t kNowhere = SIZE_MAX;

    // Fibonacci hashing: the top bits of the key times 2^64 / phi, so that
    // neighbouring keys land far apart. The slot count is a power of two.
    size_t Home(uint64_t key) const { return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> (64 - m_bits)); }
    size_t Next(size_t at) const { return (at + 1) & (m_slots.size() - 1); }
    // How far the entry at a slot stands from its home.
    size_t Distance(size_t at) const { return (at - Home(m_slots[at].key)) & (m_slots.size() - 1); }

    // The slot of key, or kNowhere.
    size_t SlotOf(uint64_t key) const {
        if (m_count == 0) return kNowhere;
        size_t at = Home(key);
        for (size_t distance = 0;; ++distance, at = Next(at)) {
            if (m_slots[at].key == key) return at;
            // A free slot, or an entry nearer its home than the key would be
            // here: the key would have taken this slot.
            if (m_slots[at].key == 0 || Distance(at) < distance) return kNowhere;
        }
    }

    // Puts an entry whose key is not present into the table, which has a
    // free slot: along the way it takes the slot of any entry nearer its
    // home and carries that one on instead.
    void Place(Slot carried) {
        size_t at = Home(carried.key);
        for (size_t distance = 0;; ++distance, at = Next(at)) {
            if (m_slots[at].key == 0) {
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

    // Moves the entries into a table of the given size. When that table
    // cannot be had, std::bad_alloc leaves this one as it was.
    void Rehash(size_t slots) {
        std::vector<Slot> old(slots);
        old.swap(m_slots);
        m_bits = 0;
        for (size_t size = slots; size > 1; size >>= 1) ++m_bits;
        for (const Slot& slot : old)
            if (slot.key != 0) Place(slot);
    }

    std::vector<Slot> m_slots;
    size_t m_count = 0;
    // log2 of the slot count.
    int m_bits = 0;
};

// File id to record pointer; a record pointer is never null.
template <class Record>
class FileIdTable {
public:
    FileIdTable() = default;
    ~FileIdTable() {
        m_blocks.ForEach([](uint64_t, Block* block) { delete block; });
    }
    FileIdTable(const FileIdTable&) = delete;
    FileIdTable& operator=(const FileIdTable&) = delete;

    // The record stored under id, or null.
    Record* Find(uint64_t id) const {
        const Block* block = m_blocks.Find(BlockKey(id));
        return block == nullptr ? nullptr : block->records[id & kBlockMask];
    }

    // Stores record under id unless the id is present, which then keeps its
    // record. Answers whether it was stored.
    bool Insert(uint64_t id, Record* record) {
        Block* block = m_blocks.Find(BlockKey(id));
        if (block == nullptr) {
            // A block that emptied is kept for the next one needed, so that
            // an id added and removed again and again (an import's) does not
            // allocate each time.
            std::unique_ptr<Block> fresh = m_spare ? std::move(m_spare) : std::make_unique<Block>();
            m_blocks.Insert(BlockKey(id), fresh.get());
            block = fresh.release();
        }
        Record*& slot = block->records[id & kBlockMask];
        if (slot != nullptr) return false;
        slot = record;
        ++block->count;
        ++m_count;
        return true;
    }

    // Takes the entry of id out and answers its record, or null when the id
    // is not present.
    Record* Erase(uint64_t id) {
        Block* block = m_blocks.Find(BlockKey(id));
        if (block == nullptr) return nullptr;
        Record*& slot = block->records[id & kBlockMask];
        Record* record = slot;
        if (record == nullptr) return nullptr;
        slot = nullptr;
        --m_count;
        if (--block->count == 0) {
            m_blocks.Erase(BlockKey(id));
            std::unique_ptr<Block> emptied(block);
            if (!m_spare) m_spare = std::move(emptied);
        }
        return record;
    }

    size_t Size() const { return m_count; }

    // Calls visit(id, record) for every entry, in no particular order.
    template <class Visit>
    void ForEach(Visit&& visit) const {
        m_blocks.ForEach([&](uint64_t key, Block* block) {
            uint64_t first = (key - 1) << kBlockBits;
            for (uint64_t offset = 0; offset < kBlockSize; ++offset)
                if (block->records[offset] != nullptr) visit(first + offset, block->records[offset]);
        });
    }

    void Swap(FileIdTable& other) noexcept {
        m_blocks.Swap(other.m_blocks);
        m_spare.swap(other.m_spare);
        std::swap(m_count, other.m_count);
    }

private:
    static constexpr int kBlockBits = 6;
    static constexpr uint64_t kBlockSize = uint64_t{1} << kBlockBits;
    static constexpr uint64_t kBlockMask = kBlockSize - 1;
    struct Block {
        Record* records[kBlockSize] = {};
        uint32_t count = 0;
    };

    // The block number, plus one: key 0 marks a free slot of the directory.
    static uint64_t BlockKey(uint64_t id) { return (id >> kBlockBits) + 1; }

    KeyedSlots<Block> m_blocks;
    std::unique_ptr<Block> m_spare;
    size_t m_count = 0;
};

}  // namespace zandb4
