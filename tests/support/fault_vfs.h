// FaultVfs: a SQLite VFS for tests that wraps the real one and makes the Nth
// read, write, sync or truncate of any store file fail with a chosen code,
// as a full or failing disk would. Installed as the default VFS, it sees
// every file the library opens without any change to the library.
//
// Counting runs all the time; a fault is armed for one kind of operation at
// a time. A one-shot fault fails only the Nth operation; a sticky one fails
// the Nth and every later one of that kind, as a disk that has filled up
// does. The counters and the fault are atomics, so that threads of the code
// under test may go through the VFS together.
#pragma once

#include <sqlite3.h>

#include <cstdint>

namespace zandb4::testing {

class FaultVfs {
public:
    enum Kind : int { kRead = 0, kWrite, kSync, kTruncate, kKinds };

    // Registers the VFS as SQLite's default, wrapping the "unix" VFS; again
    // after sqlite3_shutdown and sqlite3_initialize, which put "unix" back in
    // front. Safe to call any number of times.
    static void Install();

    // Zeroes the counters and the count of failed operations, and disarms.
    static void Reset();
    // How many operations of this kind went through since the last Reset.
    static uint64_t Count(Kind kind);

    // From the next operation on, the operation of this kind that brings its
    // count (since the last Reset) to nth fails with code, and with sticky
    // every later one of that kind too. nth counts from 1.
    static void Arm(Kind kind, uint64_t nth, int code, bool sticky);
    static void Disarm();
    // How many operations the armed fault has failed so far.
    static uint64_t Fired();

    static const char* NameOf(Kind kind);
};

// Makes SQLite's own allocations fail: the Nth (counted from 1) and, with
// sticky, every later one. SQLite takes its allocator only before it is
// initialized, so Install shuts SQLite down and starts it again; no
// connection may be open then. Uninstall puts SQLite's allocator back the
// same way.
class FaultSqliteMalloc {
public:
    static void Install();
    static void Uninstall();

    static void Reset();
    static uint64_t Count();
    static void Arm(uint64_t nth, bool sticky);
    static void Disarm();
    static uint64_t Fired();
};

}  // namespace zandb4::testing
