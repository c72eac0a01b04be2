// CCriticalSection: the recursive lock of every store and of the record
// cache. Scoped use goes through CriticalSectionGuard; bare Lock/Unlock pairs
// are for the two public operations that hand the lock to the application.
#pragma once

#include <mutex>

#include "zandb4/types.h"

class CCriticalSection {
public:
    CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    // Always answers true; recursive on the same thread.
    BOOL Lock() {
        m_mutex.lock();
        return 1;
    }
    void Unlock() { m_mutex.unlock(); }

    // For std::lock_guard and friends.
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

using CriticalSectionGuard = std::lock_guard<CCriticalSection>;
