// The factory's answer to a failed allocation: E_OUTOFMEMORY with a null
// out. This program replaces the global operator new so that a test can make
// the next allocations fail; it runs apart from the other frame tests.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "library/database_registry.h"
#include "support/temp_folder.h"
#include "zandb4.h"

namespace {
thread_local bool failAllocations = false;
}

void* operator new(size_t size) {
    if (failAllocations) throw std::bad_alloc();
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return ::operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    if (failAllocations) return nullptr;
    return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept { return ::operator new(size, tag); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace {

class FailingAllocations {
public:
    FailingAllocations() { failAllocations = true; }
    ~FailingAllocations() { failAllocations = false; }
};

TEST(FactoryOutOfMemory, FailedAllocationIsOutOfMemoryWithANullOut) {
    zandb4::testing::TempFolder root;
    ASSERT_EQ(ZanDB4_Initialize(root.Wide().GetString()), S_OK);
    void* out = reinterpret_cast<void*>(0x1);
    HRESULT made;
    {
        FailingAllocations failing;
        made = ZanDB4_CreateInstance(&IID_IZanDB4ImportDBRecord, &out);
    }
    EXPECT_EQ(made, E_OUTOFMEMORY);
    EXPECT_EQ(out, nullptr);

    // With memory back, the same request works.
    ASSERT_EQ(ZanDB4_CreateInstance(&IID_IZanDB4ImportDBMgr, &out), S_OK);
    EXPECT_EQ(static_cast<IZanDB4ImportMgr*>(out)->Release(), 0u);
    EXPECT_EQ(ZanDB4_Finalize(), S_OK);
}

TEST(FactoryOutOfMemory, CameraManagerAllocationFailureIsEFailWithANullOut) {
    IZanDB4TethraImportFileMgr* manager = reinterpret_cast<IZanDB4TethraImportFileMgr*>(0x1);
    HRESULT made;
    {
        FailingAllocations failing;
        made = ZanCamDB_CreateMgrInstance(&manager);
    }
    EXPECT_EQ(made, E_FAIL);
    EXPECT_EQ(manager, nullptr);
}

}  // namespace
