// CArray, the caller's growable array: the growth rule (a grow-by of 0 means
// a step of size/8 clamped to [4, 1024], and the new capacity is the larger
// of the requested size and old capacity plus step), default construction of
// new elements, destruction of the surplus, freeing at size 0, and
// std::invalid_argument for a negative size or an index outside the array.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "frame/foundation_tracked_element.h"
#include "zandb4/foundation.h"

namespace {

using zandb4::testing::TrackedElement;

class ArrayOfTracked : public ::testing::Test {
protected:
    void SetUp() override { TrackedElement::ResetCounts(); }
    static zandb4::testing::ElementCounts& Counts() { return TrackedElement::Counts(); }
};

// ---- growth ----

TEST(Array, NewArrayIsEmptyWithNoStorage) {
    CArray<uint32_t> array;

    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_EQ(array.GetCapacity(), 0);
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetData(), nullptr);
}

TEST(Array, FirstGrowthReservesTheSmallestStepOfFour) {
    CArray<uint32_t> array;

    array.SetSize(1);

    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetCapacity(), 4);
}

TEST(Array, StepIsAnEighthOfTheSize) {
    CArray<uint32_t> array;
    array.SetSize(100);
    ASSERT_EQ(array.GetCapacity(), 100);

    array.SetSize(101);

    EXPECT_EQ(array.GetCapacity(), 112);  // 100 + 100/8
}

TEST(Array, StepIsAtLeastFour) {
    CArray<uint32_t> array;
    array.SetSize(20);
    ASSERT_EQ(array.GetCapacity(), 20);

    array.SetSize(21);

    EXPECT_EQ(array.GetCapacity(), 24);  // 20/8 is 2, raised to 4
}

TEST(Array, StepIsAtMostThousandTwentyFour) {
    CArray<uint32_t> array;
    array.SetSize(9000);
    ASSERT_EQ(array.GetCapacity(), 9000);

    array.SetSize(9001);

    EXPECT_EQ(array.GetCapacity(), 10024);  // 9000/8 is 1125, cut to 1024
}

TEST(Array, RequestedSizeBeyondCapacityPlusStepIsTakenWhole) {
    CArray<uint32_t> array;
    array.SetSize(4);

    array.SetSize(500);

    EXPECT_EQ(array.GetCapacity(), 500);
    EXPECT_EQ(array.GetSize(), 500);
}

TEST(Array, AddingOneByOneFollowsTheGrowthRule) {
    CArray<uint32_t> array;
    std::vector<ptrdiff_t> capacities;

    for (uint32_t i = 0; i < 64; ++i) {
        ptrdiff_t before = array.GetCapacity();
        array.Add(i);
        if (array.GetCapacity() != before) capacities.push_back(array.GetCapacity());
    }

    const std::vector<ptrdiff_t> expected = {4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 45, 50, 56, 63, 70};
    EXPECT_EQ(capacities, expected);
    for (uint32_t i = 0; i < 64; ++i) EXPECT_EQ(array.GetAt(i), i);
}

TEST(Array, ExplicitGrowByIsTheStep) {
    CArray<uint32_t> array;

    array.SetSize(1, 10);
    EXPECT_EQ(array.GetCapacity(), 10);
    array.SetSize(11);
    EXPECT_EQ(array.GetCapacity(), 20);
    array.SetSize(50);
    EXPECT_EQ(array.GetCapacity(), 50);
    array.SetSize(51);
    EXPECT_EQ(array.GetCapacity(), 60);
}

TEST(Array, GrowByOfOneGrowsOneElementAtATime) {
    CArray<uint32_t> array;
    array.SetSize(0, 1);

    array.Add(1);
    EXPECT_EQ(array.GetCapacity(), 1);
    array.Add(2);
    EXPECT_EQ(array.GetCapacity(), 2);
    array.Add(3);
    EXPECT_EQ(array.GetCapacity(), 3);
}

TEST(Array, GrowByOfMinusOneKeepsTheCurrentStep) {
    CArray<uint32_t> array;
    array.SetSize(1, 10);

    array.SetSize(11, -1);

    EXPECT_EQ(array.GetCapacity(), 20);
}

TEST(Array, GrowByOfZeroAfterAnExplicitStepReturnsToTheEighthRule) {
    CArray<uint32_t> array;
    array.SetSize(100, 50);
    ASSERT_EQ(array.GetCapacity(), 100);

    array.SetSize(101, 0);

    EXPECT_EQ(array.GetCapacity(), 112);
}

TEST(Array, ElementsSurviveGrowthPastCapacity) {
    CArray<CZanTString> names;
    CArray<uint64_t> ids;

    for (int i = 0; i < 100; ++i) {
        names.Add(CZanTString::FromUtf8(std::to_string(i).c_str()));
        ids.Add(0xFFFFFFFF00000000ull + static_cast<uint64_t>(i));
    }

    ASSERT_EQ(names.GetSize(), 100);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(names.GetAt(i).ToUtf8(), std::to_string(i));
        EXPECT_EQ(ids.GetAt(i), 0xFFFFFFFF00000000ull + static_cast<uint64_t>(i));
    }
}

// ---- construction and destruction of elements ----

TEST(Array, GrowingWithinCapacityGivesDefaultValuesNotOldOnes) {
    CArray<uint32_t> array;
    array.SetSize(8);
    for (int i = 0; i < 8; ++i) array[i] = 7;
    const ptrdiff_t capacity = array.GetCapacity();
    array.SetSize(2);

    array.SetSize(8);

    EXPECT_EQ(array.GetCapacity(), capacity);
    EXPECT_EQ(array.GetAt(0), 7u);
    EXPECT_EQ(array.GetAt(1), 7u);
    for (int i = 2; i < 8; ++i) EXPECT_EQ(array.GetAt(i), 0u) << "index " << i;
}

TEST_F(ArrayOfTracked, GrowingWithinCapacityDefaultConstructsOnlyTheNewElements) {
    CArray<TrackedElement> array;
    array.SetSize(3, 10);
    ASSERT_EQ(array.GetCapacity(), 10);
    TrackedElement::ResetCounts();

    array.SetSize(7);

    EXPECT_EQ(Counts().defaultMade, 4);
    EXPECT_EQ(Counts().copiedOrMoved, 0);
    EXPECT_EQ(Counts().destroyed, 0);
    EXPECT_EQ(array.GetAt(6).Value(), -1);
}

TEST_F(ArrayOfTracked, ShrinkingDestroysTheSurplusAndKeepsTheCapacity) {
    CArray<TrackedElement> array;
    array.SetSize(10);
    const ptrdiff_t capacity = array.GetCapacity();
    const TrackedElement* data = array.GetData();
    TrackedElement::ResetCounts();

    array.SetSize(3);

    EXPECT_EQ(Counts().destroyed, 7);
    EXPECT_EQ(array.GetSize(), 3);
    EXPECT_EQ(array.GetCapacity(), capacity);
    EXPECT_EQ(array.GetData(), data);
}

TEST_F(ArrayOfTracked, SizeZeroDestroysTheElementsAndFreesTheStorage) {
    CArray<TrackedElement> array;
    array.SetSize(10);
    TrackedElement::ResetCounts();

    array.SetSize(0);

    EXPECT_EQ(Counts().destroyed, 10);
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetCapacity(), 0);
    EXPECT_EQ(array.GetData(), nullptr);
}

TEST_F(ArrayOfTracked, AddIsSetSizeFollowedByAssignment) {
    CArray<TrackedElement> array;
    array.SetSize(0, 8);
    const TrackedElement value(42);
    TrackedElement::ResetCounts();

    ptrdiff_t index = array.Add(value);

    EXPECT_EQ(index, 0);
    EXPECT_EQ(Counts().defaultMade, 1);
    EXPECT_EQ(Counts().assigned, 1);
    EXPECT_EQ(Counts().copiedOrMoved, 0);
    EXPECT_EQ(array.GetAt(0).Value(), 42);
}

TEST_F(ArrayOfTracked, DestructorDestroysEveryElement) {
    {
        CArray<TrackedElement> array;
        array.SetSize(5);
        TrackedElement::ResetCounts();
    }

    EXPECT_EQ(Counts().destroyed, 5);
}

TEST_F(ArrayOfTracked, GrowthPastCapacityKeepsTheValues) {
    CArray<TrackedElement> array;
    for (int i = 0; i < 20; ++i) array.Add(TrackedElement(i));

    for (int i = 0; i < 20; ++i) EXPECT_EQ(array.GetAt(i).Value(), i);
}

// ---- errors ----

TEST(Array, NegativeSizeThrowsAndLeavesTheArrayAsItWas) {
    CArray<uint32_t> array;
    array.Add(5);

    EXPECT_THROW(array.SetSize(-1), std::invalid_argument);

    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetAt(0), 5u);
}

TEST(Array, IndexBelowZeroThrows) {
    CArray<uint32_t> array;
    array.Add(1);

    EXPECT_THROW(array.GetAt(-1), std::invalid_argument);
    EXPECT_THROW(array[-1], std::invalid_argument);
}

TEST(Array, IndexAtOrBeyondTheSizeThrows) {
    CArray<uint32_t> array;
    array.SetSize(3, 10);  // capacity 10: indices 3 to 9 are reserved but not elements

    EXPECT_THROW(array.GetAt(3), std::invalid_argument);
    EXPECT_THROW(array.GetAt(9), std::invalid_argument);
    EXPECT_THROW(array.GetAt(100), std::invalid_argument);
    EXPECT_THROW(array.ElementAt(3), std::invalid_argument);
    EXPECT_THROW(array.SetAt(3, 1), std::invalid_argument);
    const CArray<uint32_t>& constant = array;
    EXPECT_THROW(constant.GetAt(3), std::invalid_argument);
    EXPECT_THROW(constant[3], std::invalid_argument);
}

TEST(Array, AnyIndexOfAnEmptyArrayThrows) {
    CArray<uint64_t> array;

    EXPECT_THROW(array.GetAt(0), std::invalid_argument);
}

// ---- element access and removal ----

TEST(Array, SetAtAndElementAtWriteThrough) {
    CArray<uint32_t> array;
    array.SetSize(3);

    array.SetAt(0, 10);
    array.ElementAt(1) = 11;
    array[2] = 12;

    EXPECT_EQ(array.GetAt(0), 10u);
    EXPECT_EQ(array.GetAt(1), 11u);
    EXPECT_EQ(array.GetAt(2), 12u);
    EXPECT_EQ(array.GetUpperBound(), 2);
}

TEST(Array, RemoveAtShiftsTheFollowingElements) {
    CArray<uint32_t> array;
    for (uint32_t i = 0; i < 6; ++i) array.Add(i);

    array.RemoveAt(1);
    array.RemoveAt(2, 2);

    ASSERT_EQ(array.GetSize(), 3);
    EXPECT_EQ(array.GetAt(0), 0u);
    EXPECT_EQ(array.GetAt(1), 2u);
    EXPECT_EQ(array.GetAt(2), 5u);
}

TEST(Array, RemoveAtOutsideTheArrayThrows) {
    CArray<uint32_t> array;
    array.Add(1);
    array.Add(2);

    EXPECT_THROW(array.RemoveAt(2), std::invalid_argument);
    EXPECT_THROW(array.RemoveAt(-1), std::invalid_argument);
    EXPECT_THROW(array.RemoveAt(1, 2), std::invalid_argument);
    EXPECT_EQ(array.GetSize(), 2);
}

TEST(Array, RemovingTheLastElementFreesTheStorage) {
    CArray<uint32_t> array;
    array.Add(1);

    array.RemoveAt(0);

    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetCapacity(), 0);
}

TEST(Array, RemoveAllFreesTheStorageAndTheArrayIsReusable) {
    CArray<CZanTString> array;
    array.Add(CZanTString(u"a"));
    array.Add(CZanTString(u"b"));

    array.RemoveAll();
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetCapacity(), 0);
    array.Add(CZanTString(u"c"));

    ASSERT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetAt(0).ToUtf8(), "c");
    EXPECT_EQ(array.GetCapacity(), 4);
}

}  // namespace
