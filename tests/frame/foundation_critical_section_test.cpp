// CCriticalSection, the recursive lock of every store and of the record
// cache: Lock always answers true, the same thread may take it again, and
// other threads are kept out until every Lock of the holder is undone.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "frame/critical_section.h"

namespace {

TEST(CriticalSection, LockAnswersTrue) {
    CCriticalSection section;

    BOOL locked = section.Lock();

    EXPECT_EQ(locked, 1);
    section.Unlock();
}

TEST(CriticalSection, SameThreadTakesItAgain) {
    CCriticalSection section;

    EXPECT_EQ(section.Lock(), 1);
    EXPECT_EQ(section.Lock(), 1);
    {
        CriticalSectionGuard guard(section);  // a third level, through the scoped guard
    }
    section.Unlock();
    section.Unlock();
}

TEST(CriticalSection, OtherThreadsAreKeptOutUntilEveryLevelIsUndone) {
    // Each thread adds to a plain counter by reading, giving up its time
    // slice and writing back, at two levels of the lock. Without mutual
    // exclusion the updates of different threads would overwrite each other.
    CCriticalSection section;
    long counter = 0;
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;

    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                section.Lock();
                {
                    CriticalSectionGuard inner(section);
                    long seen = counter;
                    std::this_thread::yield();
                    counter = seen + 1;
                }
                // Still held at the outer level: the second half of the
                // update must not be interleaved either.
                long seen = counter;
                std::this_thread::yield();
                counter = seen + 1;
                section.Unlock();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(counter, 2L * kThreads * kRounds);
}

}  // namespace
