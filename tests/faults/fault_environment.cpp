// The roots of the fault tests go to memory when the machine offers a
// tmpfs: the faults are made by the test VFS, not by a disk, and every run
// syncs its stores many times, which a tmpfs does at no cost. TMPDIR set by
// the caller is left as it is.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

class MemoryRoots : public ::testing::Environment {
public:
    void SetUp() override {
        const char* chosen = ::getenv("TMPDIR");
        if ((chosen == nullptr || *chosen == '\0') && ::access("/dev/shm", W_OK | X_OK) == 0)
            ::setenv("TMPDIR", "/dev/shm", 1);
    }
};

[[maybe_unused]] ::testing::Environment* const kMemoryRoots = ::testing::AddGlobalTestEnvironment(new MemoryRoots);

}  // namespace
