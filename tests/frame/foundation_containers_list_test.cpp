// CList, the caller's doubly linked list: appending at the tail, walking in
// both directions, removal at either end and in the middle, nodes taken from
// a block pool and reused, and emptying in one reset that calls nothing on
// the elements (interface pointers stay the business of their owner).
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <stdexcept>
#include <vector>

#include "frame/foundation_tracked_element.h"
#include "zandb4/foundation.h"

namespace {

using zandb4::testing::FakeObject;

template <class T>
std::vector<T> Forward(const CList<T>& list) {
    std::vector<T> values;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;) values.push_back(list.GetNext(position));
    return values;
}

template <class T>
std::vector<T> Backward(const CList<T>& list) {
    std::vector<T> values;
    for (POSITION position = list.GetTailPosition(); position != nullptr;) values.push_back(list.GetPrev(position));
    return values;
}

uintptr_t Address(POSITION position) { return reinterpret_cast<uintptr_t>(position); }

TEST(List, NewListIsEmpty) {
    CList<uint32_t> list;

    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(list.GetSize(), 0);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    EXPECT_EQ(list.GetTailPosition(), nullptr);
}

TEST(List, AddTailAppendsInOrderAndCounts) {
    CList<uint32_t> list;

    list.AddTail(1);
    list.AddTail(2);
    list.AddTail(3);

    EXPECT_EQ(list.GetCount(), 3);
    EXPECT_FALSE(list.IsEmpty());
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(list.GetHead(), 1u);
    EXPECT_EQ(list.GetTail(), 3u);
}

TEST(List, GetNextEndsWithANullPositionAfterTheTail) {
    CList<uint32_t> list;
    list.AddTail(7);
    POSITION position = list.GetHeadPosition();

    uint32_t value = list.GetNext(position);

    EXPECT_EQ(value, 7u);
    EXPECT_EQ(position, nullptr);
}

TEST(List, GetPrevWalksBackFromTheTail) {
    CList<uint32_t> list;
    for (uint32_t i = 1; i <= 4; ++i) list.AddTail(i);

    EXPECT_EQ(Backward(list), (std::vector<uint32_t>{4, 3, 2, 1}));
}

TEST(List, AddHeadPutsTheElementInFront) {
    CList<uint32_t> list;
    list.AddTail(2);

    list.AddHead(1);

    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(Backward(list), (std::vector<uint32_t>{2, 1}));
}

TEST(List, RemoveHeadAnswersTheFirstElementAndUnlinksIt) {
    CList<uint32_t> list;
    for (uint32_t i = 1; i <= 3; ++i) list.AddTail(i);

    uint32_t removed = list.RemoveHead();

    EXPECT_EQ(removed, 1u);
    EXPECT_EQ(list.GetCount(), 2);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{2, 3}));
    EXPECT_EQ(Backward(list), (std::vector<uint32_t>{3, 2}));
}

TEST(List, RemoveTailAnswersTheLastElementAndUnlinksIt) {
    CList<uint32_t> list;
    for (uint32_t i = 1; i <= 3; ++i) list.AddTail(i);

    uint32_t removed = list.RemoveTail();

    EXPECT_EQ(removed, 3u);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(Backward(list), (std::vector<uint32_t>{2, 1}));
}

TEST(List, RemoveAtInTheMiddleLinksTheNeighbours) {
    CList<uint32_t> list;
    list.AddTail(1);
    POSITION middle = list.AddTail(2);
    list.AddTail(3);

    list.RemoveAt(middle);

    EXPECT_EQ(list.GetCount(), 2);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(Backward(list), (std::vector<uint32_t>{3, 1}));
}

TEST(List, RemoveAtOfTheHeadAndTheTailMovesThem) {
    CList<uint32_t> list;
    POSITION head = list.AddTail(1);
    list.AddTail(2);
    POSITION tail = list.AddTail(3);

    list.RemoveAt(head);
    list.RemoveAt(tail);

    EXPECT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetHead(), 2u);
    EXPECT_EQ(list.GetTail(), 2u);
    EXPECT_EQ(list.GetHeadPosition(), list.GetTailPosition());
}

TEST(List, RemovingTheLastElementLeavesAnEmptyReusableList) {
    CList<uint32_t> list;
    list.AddTail(1);

    EXPECT_EQ(list.RemoveHead(), 1u);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    EXPECT_EQ(list.GetTailPosition(), nullptr);
    list.AddTail(9);

    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{9}));
}

TEST(List, RemoveAllEmptiesTheListAndItCanBeFilledAgain) {
    CList<uint32_t> list;
    for (uint32_t i = 0; i < 25; ++i) list.AddTail(i);

    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    EXPECT_EQ(list.GetTailPosition(), nullptr);
    list.AddTail(100);
    list.AddTail(101);

    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{100, 101}));
}

TEST(List, RemoveAllOfAnEmptyListDoesNothing) {
    CList<uint32_t> list;

    list.RemoveAll();

    EXPECT_TRUE(list.IsEmpty());
}

TEST(List, EmptyListThrowsOnHeadTailAndRemoval) {
    CList<uint32_t> list;

    EXPECT_THROW(list.GetHead(), std::invalid_argument);
    EXPECT_THROW(list.GetTail(), std::invalid_argument);
    EXPECT_THROW(list.RemoveHead(), std::invalid_argument);
    EXPECT_THROW(list.RemoveTail(), std::invalid_argument);
    EXPECT_THROW(list.RemoveAt(nullptr), std::invalid_argument);
    POSITION none = nullptr;
    EXPECT_THROW(list.GetNext(none), std::invalid_argument);
}

TEST(List, FindIndexWalksFromTheHead) {
    CList<uint32_t> list;
    for (uint32_t i = 10; i < 15; ++i) list.AddTail(i);

    EXPECT_EQ(list.GetAt(list.FindIndex(0)), 10u);
    EXPECT_EQ(list.GetAt(list.FindIndex(4)), 14u);
    EXPECT_EQ(list.FindIndex(5), nullptr);
    EXPECT_EQ(list.FindIndex(-1), nullptr);
}

TEST(List, SetAtReplacesTheElementAtAPosition) {
    CList<uint32_t> list;
    list.AddTail(1);
    POSITION second = list.AddTail(2);

    list.SetAt(second, 20);

    EXPECT_EQ(list.GetAt(second), 20u);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 20}));
}

TEST(List, ManyElementsAcrossManyBlocksKeepTheirOrder) {
    CList<uint64_t> list(10);
    std::vector<uint64_t> expected;

    for (uint64_t i = 0; i < 1000; ++i) {
        list.AddTail(i * 3);
        expected.push_back(i * 3);
    }

    EXPECT_EQ(list.GetCount(), 1000);
    EXPECT_EQ(Forward(list), expected);
}

// ---- the block pool ----

TEST(List, NodesOfOneBlockLieSideBySide) {
    CList<uint64_t> list(8);
    std::vector<uintptr_t> addresses;

    for (uint64_t i = 0; i < 8; ++i) addresses.push_back(Address(list.AddTail(i)));

    const uintptr_t stride = addresses[1] - addresses[0];
    EXPECT_GT(stride, 0u);
    for (size_t i = 1; i < addresses.size(); ++i) EXPECT_EQ(addresses[i] - addresses[i - 1], stride) << "node " << i;
}

TEST(List, RemovedNodeIsReusedByTheNextAdd) {
    CList<uint32_t> list;
    list.AddTail(1);
    POSITION middle = list.AddTail(2);
    list.AddTail(3);
    list.RemoveAt(middle);

    POSITION added = list.AddTail(4);

    EXPECT_EQ(added, middle);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{1, 3, 4}));
}

TEST(List, FreedNodesAreTakenBeforeANewBlock) {
    CList<uint32_t> list(4);
    std::set<POSITION> firstBlock;
    std::vector<POSITION> positions;
    for (uint32_t i = 0; i < 4; ++i) {
        positions.push_back(list.AddTail(i));
        firstBlock.insert(positions.back());
    }
    list.RemoveAt(positions[1]);
    list.RemoveAt(positions[2]);

    POSITION again1 = list.AddTail(10);
    POSITION again2 = list.AddTail(11);

    EXPECT_EQ(firstBlock.count(again1), 1u);
    EXPECT_EQ(firstBlock.count(again2), 1u);
    EXPECT_EQ(Forward(list), (std::vector<uint32_t>{0, 3, 10, 11}));
}

TEST(List, ZeroOrNegativeBlockSizeStillWorks) {
    CList<uint32_t> zero(0);
    CList<uint32_t> negative(-5);

    for (uint32_t i = 0; i < 30; ++i) {
        zero.AddTail(i);
        negative.AddTail(i);
    }

    EXPECT_EQ(zero.GetCount(), 30);
    EXPECT_EQ(negative.GetCount(), 30);
    EXPECT_EQ(Forward(zero), Forward(negative));
}

// ---- elements ----

TEST(List, EmptyingCallsNothingOnInterfacePointers) {
    FakeObject first, second;
    {
        CList<IUnknown*> list;
        list.AddTail(&first);
        list.AddTail(&second);
        list.AddTail(&first);

        list.RemoveAll();
        list.AddTail(&second);
        list.RemoveHead();
        list.AddTail(&first);
    }  // the destructor empties the list once more

    EXPECT_EQ(first.addRefs, 0);
    EXPECT_EQ(first.releases, 0);
    EXPECT_EQ(second.addRefs, 0);
    EXPECT_EQ(second.releases, 0);
}

TEST(List, HoldsDatesAsPlainStructures) {
    CList<SYSTEMTIME> list;
    SYSTEMTIME date{};
    date.wYear = 2021;
    date.wMonth = 3;
    date.wDay = 4;
    date.wMilliseconds = 999;

    list.AddTail(date);
    date.wYear = 1999;

    const SYSTEMTIME& stored = list.GetHead();
    EXPECT_EQ(stored.wYear, 2021);
    EXPECT_EQ(stored.wMonth, 3);
    EXPECT_EQ(stored.wDay, 4);
    EXPECT_EQ(stored.wMilliseconds, 999);
}

}  // namespace
