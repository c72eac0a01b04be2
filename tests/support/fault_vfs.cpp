#include "support/fault_vfs.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace zandb4::testing {
namespace {

std::atomic<uint64_t> g_counts[FaultVfs::kKinds];
// The armed fault: the kind (-1 for none), the operation number it starts
// at, the code it answers and whether it keeps failing.
std::atomic<int> g_armedKind{-1};
std::atomic<uint64_t> g_armedAt{0};
std::atomic<int> g_armedCode{SQLITE_IOERR};
std::atomic<bool> g_armedSticky{false};
std::atomic<uint64_t> g_fired{0};

// Counts one operation of kind; answers the code it must fail with, or
// SQLITE_OK to let it through.
int CountAndCheck(FaultVfs::Kind kind) {
    uint64_t number = g_counts[kind].fetch_add(1) + 1;
    if (g_armedKind.load() != kind) return SQLITE_OK;
    uint64_t at = g_armedAt.load();
    if (number == at || (g_armedSticky.load() && number > at)) {
        g_fired.fetch_add(1);
        return g_armedCode.load();
    }
    return SQLITE_OK;
}

sqlite3_vfs* g_real = nullptr;
sqlite3_vfs g_vfs{};

// A file of this VFS: the real file's structure follows it in the same
// allocation, of the size the real VFS asks for.
struct FaultFile {
    sqlite3_file base;
    sqlite3_file* real;
};

sqlite3_file* Real(sqlite3_file* file) { return reinterpret_cast<FaultFile*>(file)->real; }
const sqlite3_io_methods* RealMethods(sqlite3_file* file) { return Real(file)->pMethods; }

int FileClose(sqlite3_file* file) {
    sqlite3_file* real = Real(file);
    return real->pMethods != nullptr ? real->pMethods->xClose(real) : SQLITE_OK;
}
int FileRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    if (int code = CountAndCheck(FaultVfs::kRead); code != SQLITE_OK) return code;
    return RealMethods(file)->xRead(Real(file), buffer, amount, offset);
}
int FileWrite(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    if (int code = CountAndCheck(FaultVfs::kWrite); code != SQLITE_OK) return code;
    return RealMethods(file)->xWrite(Real(file), buffer, amount, offset);
}
int FileTruncate(sqlite3_file* file, sqlite3_int64 size) {
    if (int code = CountAndCheck(FaultVfs::kTruncate); code != SQLITE_OK) return code;
    return RealMethods(file)->xTruncate(Real(file), size);
}
int FileSync(sqlite3_file* file, int flags) {
    if (int code = CountAndCheck(FaultVfs::kSync); code != SQLITE_OK) return code;
    return RealMethods(file)->xSync(Real(file), flags);
}
int FileSize(sqlite3_file* file, sqlite3_int64* size) { return RealMethods(file)->xFileSize(Real(file), size); }
int FileLock(sqlite3_file* file, int level) { return RealMethods(file)->xLock(Real(file), level); }
int FileUnlock(sqlite3_file* file, int level) { return RealMethods(file)->xUnlock(Real(file), level); }
int FileCheckReservedLock(sqlite3_file* file, int* out) {
    return RealMethods(file)->xCheckReservedLock(Real(file), out);
}
int FileControl(sqlite3_file* file, int op, void* argument) {
    return RealMethods(file)->xFileControl(Real(file), op, argument);
}
int FileSectorSize(sqlite3_file* file) { return RealMethods(file)->xSectorSize(Real(file)); }
int FileDeviceCharacteristics(sqlite3_file* file) {
    return RealMethods(file)->xDeviceCharacteristics(Real(file));
}
int FileShmMap(sqlite3_file* file, int region, int size, int extend, void volatile** out) {
    const sqlite3_io_methods* methods = RealMethods(file);
    if (methods->iVersion < 2 || methods->xShmMap == nullptr) return SQLITE_IOERR_SHMMAP;
    return methods->xShmMap(Real(file), region, size, extend, out);
}
int FileShmLock(sqlite3_file* file, int offset, int count, int flags) {
    const sqlite3_io_methods* methods = RealMethods(file);
    if (methods->iVersion < 2 || methods->xShmLock == nullptr) return SQLITE_IOERR_SHMLOCK;
    return methods->xShmLock(Real(file), offset, count, flags);
}
void FileShmBarrier(sqlite3_file* file) {
    const sqlite3_io_methods* methods = RealMethods(file);
    if (methods->iVersion >= 2 && methods->xShmBarrier != nullptr) methods->xShmBarrier(Real(file));
}
int FileShmUnmap(sqlite3_file* file, int deleteFlag) {
    const sqlite3_io_methods* methods = RealMethods(file);
    if (methods->iVersion < 2 || methods->xShmUnmap == nullptr) return SQLITE_OK;
    return methods->xShmUnmap(Real(file), deleteFlag);
}
// No memory-mapped pages are handed out, so that every read of a page goes
// through FileRead and can be counted and failed.
int FileFetch(sqlite3_file*, sqlite3_int64, int, void** out) {
    *out = nullptr;
    return SQLITE_OK;
}
int FileUnfetch(sqlite3_file*, sqlite3_int64, void*) { return SQLITE_OK; }

const sqlite3_io_methods kMethods = {
    3,
    FileClose,
    FileRead,
    FileWrite,
    FileTruncate,
    FileSync,
    FileSize,
    FileLock,
    FileUnlock,
    FileCheckReservedLock,
    FileControl,
    FileSectorSize,
    FileDeviceCharacteristics,
    FileShmMap,
    FileShmLock,
    FileShmBarrier,
    FileShmUnmap,
    FileFetch,
    FileUnfetch,
};

int VfsOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags) {
    FaultFile* wrapper = reinterpret_cast<FaultFile*>(file);
    wrapper->base.pMethods = nullptr;
    wrapper->real = reinterpret_cast<sqlite3_file*>(wrapper + 1);
    std::memset(wrapper->real, 0, static_cast<size_t>(g_real->szOsFile));
    int code = g_real->xOpen(g_real, name, wrapper->real, flags, outFlags);
    // SQLite calls xClose only on a file whose methods are set; a real open
    // that failed but left methods behind is closed here.
    if (code != SQLITE_OK) {
        if (wrapper->real->pMethods != nullptr) wrapper->real->pMethods->xClose(wrapper->real);
        return code;
    }
    wrapper->base.pMethods = &kMethods;
    return SQLITE_OK;
}
int VfsDelete(sqlite3_vfs*, const char* name, int syncFolder) { return g_real->xDelete(g_real, name, syncFolder); }
int VfsAccess(sqlite3_vfs*, const char* name, int flags, int* out) {
    return g_real->xAccess(g_real, name, flags, out);
}
int VfsFullPathname(sqlite3_vfs*, const char* name, int size, char* out) {
    return g_real->xFullPathname(g_real, name, size, out);
}
void* VfsDlOpen(sqlite3_vfs*, const char* name) { return g_real->xDlOpen(g_real, name); }
void VfsDlError(sqlite3_vfs*, int size, char* out) { g_real->xDlError(g_real, size, out); }
void (*VfsDlSym(sqlite3_vfs*, void* handle, const char* symbol))(void) {
    return g_real->xDlSym(g_real, handle, symbol);
}
void VfsDlClose(sqlite3_vfs*, void* handle) { g_real->xDlClose(g_real, handle); }
int VfsRandomness(sqlite3_vfs*, int size, char* out) { return g_real->xRandomness(g_real, size, out); }
int VfsSleep(sqlite3_vfs*, int microseconds) { return g_real->xSleep(g_real, microseconds); }
int VfsCurrentTime(sqlite3_vfs*, double* out) { return g_real->xCurrentTime(g_real, out); }
int VfsGetLastError(sqlite3_vfs*, int size, char* out) { return g_real->xGetLastError(g_real, size, out); }
int VfsCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* out) { return g_real->xCurrentTimeInt64(g_real, out); }

std::mutex g_installLock;

}  // namespace

void FaultVfs::Install() {
    std::lock_guard<std::mutex> guard(g_installLock);
    if (sqlite3_initialize() != SQLITE_OK) throw std::runtime_error("sqlite3_initialize failed");
    if (g_real == nullptr) {
        g_real = sqlite3_vfs_find("unix");
        if (g_real == nullptr || g_real->iVersion < 2) throw std::runtime_error("no unix VFS to wrap");
        g_vfs.iVersion = 2;
        g_vfs.szOsFile = static_cast<int>(sizeof(FaultFile)) + g_real->szOsFile;
        g_vfs.mxPathname = g_real->mxPathname;
        g_vfs.zName = "zandb4-fault";
        g_vfs.xOpen = VfsOpen;
        g_vfs.xDelete = VfsDelete;
        g_vfs.xAccess = VfsAccess;
        g_vfs.xFullPathname = VfsFullPathname;
        g_vfs.xDlOpen = VfsDlOpen;
        g_vfs.xDlError = VfsDlError;
        g_vfs.xDlSym = VfsDlSym;
        g_vfs.xDlClose = VfsDlClose;
        g_vfs.xRandomness = VfsRandomness;
        g_vfs.xSleep = VfsSleep;
        g_vfs.xCurrentTime = VfsCurrentTime;
        g_vfs.xGetLastError = VfsGetLastError;
        g_vfs.xCurrentTimeInt64 = VfsCurrentTimeInt64;
    }
    // Registering again moves it to the front, which makes it the default.
    if (sqlite3_vfs_register(&g_vfs, 1) != SQLITE_OK) throw std::runtime_error("sqlite3_vfs_register failed");
}

void FaultVfs::Reset() {
    Disarm();
    g_fired.store(0);
    for (auto& count : g_counts) count.store(0);
}

uint64_t FaultVfs::Count(Kind kind) { return g_counts[kind].load(); }

void FaultVfs::Arm(Kind kind, uint64_t nth, int code, bool sticky) {
    g_armedKind.store(-1);
    g_fired.store(0);
    g_armedAt.store(nth);
    g_armedCode.store(code);
    g_armedSticky.store(sticky);
    g_armedKind.store(kind);
}

void FaultVfs::Disarm() { g_armedKind.store(-1); }

uint64_t FaultVfs::Fired() { return g_fired.load(); }

const char* FaultVfs::NameOf(Kind kind) {
    switch (kind) {
        case kRead: return "read";
        case kWrite: return "write";
        case kSync: return "sync";
        case kTruncate: return "truncate";
        default: return "?";
    }
}

namespace {

std::atomic<uint64_t> g_mallocCount{0};
std::atomic<bool> g_mallocArmed{false};
std::atomic<uint64_t> g_mallocAt{0};
std::atomic<bool> g_mallocSticky{false};
std::atomic<uint64_t> g_mallocFired{0};
sqlite3_mem_methods g_realMalloc{};
bool g_mallocInstalled = false;

bool FailThisAllocation() {
    uint64_t number = g_mallocCount.fetch_add(1) + 1;
    if (!g_mallocArmed.load()) return false;
    uint64_t at = g_mallocAt.load();
    if (number == at || (g_mallocSticky.load() && number > at)) {
        g_mallocFired.fetch_add(1);
        return true;
    }
    return false;
}

void* FaultMalloc(int size) { return FailThisAllocation() ? nullptr : g_realMalloc.xMalloc(size); }
void FaultFree(void* memory) { g_realMalloc.xFree(memory); }
void* FaultRealloc(void* memory, int size) {
    return FailThisAllocation() ? nullptr : g_realMalloc.xRealloc(memory, size);
}
int FaultSize(void* memory) { return g_realMalloc.xSize(memory); }
int FaultRoundup(int size) { return g_realMalloc.xRoundup(size); }
int FaultInit(void* data) { return g_realMalloc.xInit(data); }
void FaultShutdown(void* data) { g_realMalloc.xShutdown(data); }

const sqlite3_mem_methods kFaultMalloc = {FaultMalloc, FaultFree,  FaultRealloc,  FaultSize,
                                          FaultRoundup, FaultInit, FaultShutdown, nullptr};

void Restart(const char* what) {
    if (sqlite3_shutdown() != SQLITE_OK) throw std::runtime_error(std::string("sqlite3_shutdown failed: ") + what);
}

}  // namespace

void FaultSqliteMalloc::Install() {
    std::lock_guard<std::mutex> guard(g_installLock);
    if (g_mallocInstalled) return;
    Restart("install");
    if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_realMalloc) != SQLITE_OK)
        throw std::runtime_error("SQLITE_CONFIG_GETMALLOC failed");
    if (sqlite3_config(SQLITE_CONFIG_MALLOC, &kFaultMalloc) != SQLITE_OK)
        throw std::runtime_error("SQLITE_CONFIG_MALLOC failed");
    g_mallocInstalled = true;
}

void FaultSqliteMalloc::Uninstall() {
    std::lock_guard<std::mutex> guard(g_installLock);
    if (!g_mallocInstalled) return;
    Disarm();
    Restart("uninstall");
    if (sqlite3_config(SQLITE_CONFIG_MALLOC, &g_realMalloc) != SQLITE_OK)
        throw std::runtime_error("SQLITE_CONFIG_MALLOC failed");
    g_mallocInstalled = false;
}

void FaultSqliteMalloc::Reset() {
    Disarm();
    g_mallocFired.store(0);
    g_mallocCount.store(0);
}
uint64_t FaultSqliteMalloc::Count() { return g_mallocCount.load(); }
void FaultSqliteMalloc::Arm(uint64_t nth, bool sticky) {
    g_mallocArmed.store(false);
    g_mallocFired.store(0);
    g_mallocAt.store(nth);
    g_mallocSticky.store(sticky);
    g_mallocArmed.store(true);
}
void FaultSqliteMalloc::Disarm() { g_mallocArmed.store(false); }
uint64_t FaultSqliteMalloc::Fired() { return g_mallocFired.load(); }

}  // namespace zandb4::testing
