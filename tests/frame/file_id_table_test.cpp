// FileIdTable: the map under FileRecordCache, blocks of 64 neighbouring ids
// behind a Robin Hood hash table of block numbers (KeyedSlots). The removal
// of a Robin Hood table moves later entries of a probe run back into the
// gap, which is where such a table goes wrong, so the tests drive both
// through long runs of colliding keys, growth and shrinking, and check every
// entry against an ordered map after each step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "frame/file_id_table.h"

namespace {

struct Thing {
    int value = 0;
};

using Table = zandb4::FileIdTable<Thing>;

// Every id of the reference is found with its record, and the table holds
// nothing else.
void ExpectSameEntries(const Table& table, const std::map<uint64_t, Thing*>& reference) {
    ASSERT_EQ(table.Size(), reference.size());
    for (const auto& [id, thing] : reference) ASSERT_EQ(table.Find(id), thing) << "id " << id;
    size_t visited = 0;
    table.ForEach([&](uint64_t id, Thing* thing) {
        ++visited;
        auto found = reference.find(id);
        ASSERT_NE(found, reference.end()) << "id " << id;
        EXPECT_EQ(found->second, thing);
    });
    EXPECT_EQ(visited, reference.size());
}

TEST(FileIdTableTest, AnEmptyTableFindsAndErasesNothing) {
    Table table;

    EXPECT_EQ(table.Find(1), nullptr);
    EXPECT_EQ(table.Erase(1), nullptr);
    EXPECT_EQ(table.Size(), 0u);
}

TEST(FileIdTableTest, InsertOfAPresentIdKeepsTheFirstRecord) {
    Table table;
    Thing first, second;

    EXPECT_TRUE(table.Insert(42, &first));
    EXPECT_FALSE(table.Insert(42, &second));

    EXPECT_EQ(table.Find(42), &first);
    EXPECT_EQ(table.Size(), 1u);
}

TEST(FileIdTableTest, EraseAnswersTheRecordAndForgetsTheId) {
    Table table;
    Thing thing;
    table.Insert(7, &thing);

    Thing* erased = table.Erase(7);

    EXPECT_EQ(erased, &thing);
    EXPECT_EQ(table.Find(7), nullptr);
    EXPECT_EQ(table.Erase(7), nullptr);
    EXPECT_EQ(table.Size(), 0u);
}

// Consecutive ids, as the catalogue hands them out, added and then removed
// in another order: the table grows through several sizes and shrinks back.
TEST(FileIdTableTest, ManyConsecutiveIdsGrowAndShrinkTheTableWithoutLosingOne) {
    Table table;
    std::vector<Thing> things(20'000);
    std::map<uint64_t, Thing*> reference;
    for (uint64_t id = 1; id <= things.size(); ++id) {
        ASSERT_TRUE(table.Insert(id, &things[id - 1]));
        reference[id] = &things[id - 1];
    }
    ExpectSameEntries(table, reference);

    std::vector<uint64_t> order;
    for (const auto& entry : reference) order.push_back(entry.first);
    std::shuffle(order.begin(), order.end(), std::mt19937_64(7));
    for (size_t index = 0; index < order.size(); ++index) {
        ASSERT_EQ(table.Erase(order[index]), reference[order[index]]);
        reference.erase(order[index]);
        if (index % 997 == 0) ExpectSameEntries(table, reference);
    }
    ExpectSameEntries(table, reference);
}

// Random inserts and removals over a small range of ids, so that probe runs
// are long and often wrap round the end of the slots; checked after every
// step.
TEST(FileIdTableTest, RandomInsertsAndRemovalsAgreeWithAnOrderedMap) {
    Table table;
    std::vector<Thing> things(300);
    std::map<uint64_t, Thing*> reference;
    std::mt19937_64 random(20240917);
    std::uniform_int_distribution<uint64_t> anyId(1, things.size());
    for (int step = 0; step < 20'000; ++step) {
        uint64_t id = anyId(random);
        if (random() % 3 != 0) {
            bool inserted = table.Insert(id, &things[id - 1]);
            EXPECT_EQ(inserted, reference.count(id) == 0);
            reference.emplace(id, &things[id - 1]);
        } else {
            Thing* expected = reference.count(id) != 0 ? reference[id] : nullptr;
            ASSERT_EQ(table.Erase(id), expected);
            reference.erase(id);
        }
        ExpectSameEntries(table, reference);
        if (testing::Test::HasFatalFailure()) return;
    }
}

// Ids drawn from a wide range, so that most blocks hold a single id and the
// directory of blocks grows, shrinks and has its own runs of collisions.
TEST(FileIdTableTest, ScatteredIdsAgreeWithAnOrderedMap) {
    Table table;
    std::vector<Thing> things(3000);
    std::map<uint64_t, Thing*> reference;
    std::mt19937_64 random(11);
    std::uniform_int_distribution<uint64_t> anyId(1, 1'000'000);
    for (Thing& thing : things) {
        uint64_t id = anyId(random);
        if (table.Insert(id, &thing)) reference[id] = &thing;
    }
    ExpectSameEntries(table, reference);
    std::vector<uint64_t> order;
    for (const auto& entry : reference) order.push_back(entry.first);
    std::shuffle(order.begin(), order.end(), std::mt19937_64(5));
    for (size_t index = 0; index < order.size(); ++index) {
        ASSERT_EQ(table.Erase(order[index]), reference[order[index]]);
        reference.erase(order[index]);
        if (index % 97 == 0) ExpectSameEntries(table, reference);
    }
    ExpectSameEntries(table, reference);
}

// A block emptied and filled again, as an import adds a record and lets it
// go file after file.
TEST(FileIdTableTest, AnIdAddedAndRemovedOverAndOverIsFoundOnlyWhilePresent) {
    Table table;
    Thing thing;
    for (uint64_t id = 1; id <= 500; ++id) {
        ASSERT_TRUE(table.Insert(id, &thing));
        ASSERT_EQ(table.Find(id), &thing);
        ASSERT_EQ(table.Erase(id), &thing);
        ASSERT_EQ(table.Find(id), nullptr);
    }
    EXPECT_EQ(table.Size(), 0u);
}

// Ids that are far apart but whose hashes fall together: large multiples of
// a power of two.
TEST(FileIdTableTest, IdsThatDifferOnlyInTheirHighBitsAreAllKept) {
    Table table;
    std::vector<Thing> things(500);
    std::map<uint64_t, Thing*> reference;
    for (uint64_t index = 0; index < things.size(); ++index) {
        uint64_t id = (index + 1) << 40;
        table.Insert(id, &things[index]);
        reference[id] = &things[index];
    }
    ExpectSameEntries(table, reference);
    for (uint64_t index = 0; index < things.size(); index += 2) {
        uint64_t id = (index + 1) << 40;
        ASSERT_EQ(table.Erase(id), &things[index]);
        reference.erase(id);
    }
    ExpectSameEntries(table, reference);
}

TEST(FileIdTableTest, SwapExchangesTheEntries) {
    Table left, right;
    Thing thing;
    left.Insert(3, &thing);

    left.Swap(right);

    EXPECT_EQ(left.Size(), 0u);
    EXPECT_EQ(left.Find(3), nullptr);
    EXPECT_EQ(right.Find(3), &thing);
}

// The directory on its own: random keys, inserted and erased at random over
// a small range so that probe runs are long and wrap round the end of the
// slots.
TEST(KeyedSlotsTest, RandomInsertsAndRemovalsAgreeWithAnOrderedMap) {
    zandb4::KeyedSlots<Thing> slots;
    std::vector<Thing> things(400);
    std::map<uint64_t, Thing*> reference;
    std::mt19937_64 random(3);
    std::uniform_int_distribution<uint64_t> anyKey(1, things.size());
    for (int step = 0; step < 20'000; ++step) {
        uint64_t key = anyKey(random);
        if (random() % 3 != 0) {
            EXPECT_EQ(slots.Insert(key, &things[key - 1]), reference.count(key) == 0);
            reference.emplace(key, &things[key - 1]);
        } else {
            ASSERT_EQ(slots.Erase(key), reference.count(key) != 0 ? reference[key] : nullptr);
            reference.erase(key);
        }
        ASSERT_EQ(slots.Size(), reference.size());
        for (const auto& [present, thing] : reference) ASSERT_EQ(slots.Find(present), thing) << "key " << present;
    }
}

}  // namespace
