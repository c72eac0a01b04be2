// CZanTArray and CZanTList: a wrapper made with no argument owns a container
// of its own and destroys it; a wrapper made around the caller's container
// only borrows it and leaves it whole. Neither ever releases the elements:
// interface pointers stay the business of whoever fills and empties them.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

#include "frame/foundation_tracked_element.h"
#include "zandb4/foundation.h"

namespace {

using zandb4::testing::FakeObject;
using zandb4::testing::TrackedElement;

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer's runtime; GCC ships no header that declares it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
constexpr bool kCanCountBytes = true;
// Bytes the sanitizer's allocator has handed out and not yet taken back.
size_t BytesInUse() { return __sanitizer_get_current_allocated_bytes(); }
#else
// The C library keeps freed blocks in per-thread caches that still count as
// in use, so without the sanitizer there is no exact count.
constexpr bool kCanCountBytes = false;
size_t BytesInUse() { return 0; }
#endif

class WrapperOfTracked : public ::testing::Test {
protected:
    void SetUp() override { TrackedElement::ResetCounts(); }
    static zandb4::testing::ElementCounts& Counts() { return TrackedElement::Counts(); }
};

// ---- CZanTArray ----

TEST(ArrayWrapper, MadeWithNoArgumentOwnsANewEmptyArray) {
    CZanTArray<uint32_t> wrapper;

    EXPECT_TRUE(wrapper.IsOwned());
    EXPECT_EQ(wrapper.GetSize(), 0);
    EXPECT_TRUE(wrapper.IsEmpty());
}

TEST(ArrayWrapper, MadeAroundTheCallersArrayBorrowsIt) {
    CArray<uint64_t> callers;

    CZanTArray<uint64_t> wrapper(&callers);

    EXPECT_FALSE(wrapper.IsOwned());
    EXPECT_EQ(&wrapper.Container(), &callers);
}

TEST(ArrayWrapper, AddingThroughABorrowingWrapperFillsTheCallersArray) {
    CArray<uint64_t> callers;
    callers.Add(1);

    CZanTArray<uint64_t> wrapper(&callers);
    wrapper.Add(UINT64_MAX);

    ASSERT_EQ(callers.GetSize(), 2);
    EXPECT_EQ(callers.GetAt(0), 1u);
    EXPECT_EQ(callers.GetAt(1), UINT64_MAX);
    EXPECT_EQ(wrapper.GetSize(), 2);
}

TEST_F(WrapperOfTracked, BorrowingWrapperLeavesTheCallersArrayAndElementsAlive) {
    auto callers = std::make_unique<CArray<TrackedElement>>();
    {
        CZanTArray<TrackedElement> wrapper(callers.get());
        wrapper.Add(TrackedElement(1));
        wrapper.Add(TrackedElement(2));
        wrapper.Add(TrackedElement(3));
        TrackedElement::ResetCounts();
    }

    EXPECT_EQ(Counts().destroyed, 0);
    ASSERT_EQ(callers->GetSize(), 3);
    EXPECT_EQ(callers->GetAt(0).Value(), 1);
    EXPECT_EQ(callers->GetAt(2).Value(), 3);
    callers.reset();
    EXPECT_EQ(Counts().destroyed, 3);
}

TEST_F(WrapperOfTracked, OwningWrapperDestroysItsArrayWithTheElements) {
    {
        CZanTArray<TrackedElement> wrapper;
        wrapper.Add(TrackedElement(1));
        wrapper.Add(TrackedElement(2));
        TrackedElement::ResetCounts();
    }

    EXPECT_EQ(Counts().destroyed, 2);
}

TEST(ArrayWrapper, OwningWrapperFreesItsOwnArray) {
    if (!kCanCountBytes) GTEST_SKIP() << "allocated bytes are counted exactly only in the sanitizer build";
    const size_t before = BytesInUse();
    auto wrapper = std::make_unique<CZanTArray<uint64_t>>();
    for (uint64_t i = 0; i < 100; ++i) wrapper->Add(i);
    ASSERT_GT(BytesInUse(), before);

    wrapper.reset();

    EXPECT_EQ(BytesInUse(), before);
}

TEST(ArrayWrapper, NeverReleasesInterfacePointers) {
    FakeObject first, second;
    CArray<IUnknown*> callers;
    {
        CZanTArray<IUnknown*> owning;
        owning.Add(&first);
        owning.Add(&second);
        owning.RemoveAll();
        owning.Add(&first);
        CZanTArray<IUnknown*> borrowing(&callers);
        borrowing.Add(&second);
    }

    EXPECT_EQ(first.addRefs, 0);
    EXPECT_EQ(first.releases, 0);
    EXPECT_EQ(second.addRefs, 0);
    EXPECT_EQ(second.releases, 0);
    ASSERT_EQ(callers.GetSize(), 1);
    EXPECT_EQ(callers.GetAt(0), &second);
}

TEST(ArrayWrapper, ElementAccessGoesToTheInnerArray) {
    CZanTArray<CZanTString> wrapper;

    EXPECT_EQ(wrapper.Add(CZanTString(u"a")), 0);
    EXPECT_EQ(wrapper.Add(CZanTString(u"b")), 1);
    wrapper[1] += u"!";
    wrapper.GetAt(0) = CZanTString(u"z");

    EXPECT_EQ(wrapper.GetSize(), 2);
    EXPECT_EQ(wrapper.Container().GetAt(0).ToUtf8(), "z");
    const CZanTArray<CZanTString>& constant = wrapper;
    EXPECT_EQ(constant.GetAt(1).ToUtf8(), "b!");
}

TEST(ArrayWrapper, IndexOutsideTheArrayThrows) {
    CZanTArray<uint32_t> wrapper;
    wrapper.Add(1);

    EXPECT_THROW(wrapper.GetAt(1), std::invalid_argument);
    EXPECT_THROW(wrapper[-1], std::invalid_argument);
}

TEST(ArrayWrapper, RemoveAllEmptiesTheInnerArray) {
    CArray<uint32_t> callers;
    CZanTArray<uint32_t> wrapper(&callers);
    wrapper.Add(1);
    wrapper.Add(2);

    wrapper.RemoveAll();

    EXPECT_TRUE(wrapper.IsEmpty());
    EXPECT_EQ(callers.GetSize(), 0);
    EXPECT_EQ(callers.GetCapacity(), 0);
}

TEST(ArrayWrapper, HoldsThirtyTwoBitValues) {
    CZanTArray<uint32_t> wrapper;

    wrapper.Add(0xFFFFFFFFu);
    wrapper.Add(0);

    EXPECT_EQ(wrapper.GetAt(0), 0xFFFFFFFFu);
    EXPECT_EQ(wrapper.GetAt(1), 0u);
}

// ---- CZanTList ----

TEST(ListWrapper, MadeWithNoArgumentOwnsANewEmptyList) {
    CZanTList<uint32_t> wrapper;

    EXPECT_TRUE(wrapper.IsOwned());
    EXPECT_EQ(wrapper.GetCount(), 0);
    EXPECT_TRUE(wrapper.IsEmpty());
    EXPECT_EQ(wrapper.GetHeadPosition(), nullptr);
}

TEST(ListWrapper, MadeAroundTheCallersListBorrowsIt) {
    CList<uint32_t> callers;

    CZanTList<uint32_t> wrapper(&callers);

    EXPECT_FALSE(wrapper.IsOwned());
    EXPECT_EQ(&wrapper.Container(), &callers);
}

TEST(ListWrapper, BorrowingWrapperLeavesTheCallersListAndElementsAlive) {
    auto callers = std::make_unique<CList<uint32_t>>();
    callers->AddTail(1);
    {
        CZanTList<uint32_t> wrapper(callers.get());
        wrapper.AddTail(2);
        wrapper.AddTail(3);
    }

    ASSERT_EQ(callers->GetCount(), 3);
    POSITION position = callers->GetHeadPosition();
    EXPECT_EQ(callers->GetNext(position), 1u);
    EXPECT_EQ(callers->GetNext(position), 2u);
    EXPECT_EQ(callers->GetNext(position), 3u);
    EXPECT_EQ(position, nullptr);
    callers->AddTail(4);  // still a working list after the wrapper is gone
    EXPECT_EQ(callers->GetCount(), 4);
}

TEST(ListWrapper, OwningWrapperFreesItsOwnList) {
    if (!kCanCountBytes) GTEST_SKIP() << "allocated bytes are counted exactly only in the sanitizer build";
    const size_t before = BytesInUse();
    auto wrapper = std::make_unique<CZanTList<uint64_t>>();
    for (uint64_t i = 0; i < 100; ++i) wrapper->AddTail(i);
    ASSERT_TRUE(wrapper->IsOwned());
    ASSERT_GT(BytesInUse(), before);

    wrapper.reset();

    // The wrapper, its inner list and every block of nodes are gone.
    EXPECT_EQ(BytesInUse(), before);
}

TEST(ListWrapper, NeverReleasesInterfacePointers) {
    FakeObject first, second;
    CList<IUnknown*> callers;
    {
        CZanTList<IUnknown*> owning;
        owning.AddTail(&first);
        owning.AddTail(&second);
        owning.RemoveAll();
        owning.AddTail(&first);
        CZanTList<IUnknown*> borrowing(&callers);
        borrowing.AddTail(&second);
    }

    EXPECT_EQ(first.addRefs, 0);
    EXPECT_EQ(first.releases, 0);
    EXPECT_EQ(second.addRefs, 0);
    EXPECT_EQ(second.releases, 0);
    ASSERT_EQ(callers.GetCount(), 1);
    EXPECT_EQ(callers.GetHead(), &second);
}

TEST(ListWrapper, WalksTheElementsInOrderAndEmpties) {
    CZanTList<uint32_t> wrapper;
    wrapper.AddTail(5);
    wrapper.AddTail(6);

    POSITION position = wrapper.GetHeadPosition();
    EXPECT_EQ(wrapper.GetNext(position), 5u);
    EXPECT_EQ(wrapper.GetNext(position), 6u);
    EXPECT_EQ(position, nullptr);
    wrapper.RemoveAll();

    EXPECT_TRUE(wrapper.IsEmpty());
    EXPECT_EQ(wrapper.GetHeadPosition(), nullptr);
}

TEST(ListWrapper, HoldsDatesAsPlainStructures) {
    CZanTList<SYSTEMTIME> wrapper;
    SYSTEMTIME date{};
    date.wYear = 2021;
    date.wSecond = 59;

    wrapper.AddTail(date);

    POSITION position = wrapper.GetHeadPosition();
    const SYSTEMTIME& stored = wrapper.GetNext(position);
    EXPECT_EQ(stored.wYear, 2021);
    EXPECT_EQ(stored.wSecond, 59);
}

}  // namespace
