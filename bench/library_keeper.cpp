// The one kept catalogue of the benchmark program; see library_keeper.h.
#include "library_keeper.h"

#include "library/database_registry.h"

namespace zandb4::bench {
namespace {

void (*g_stopKept)() = nullptr;

}  // namespace

void StopKeptLibrary() {
    // Taken out first: the stop ends in KeptLibraryStopped.
    void (*stop)() = g_stopKept;
    g_stopKept = nullptr;
    if (stop != nullptr) stop();
}

bool StartLibrary(const CZanTString& root) {
    StopKeptLibrary();
    bool wasDown = DatabaseRegistry::initCount == 0;
    return ZanDB4_Initialize(root.GetString()) == S_OK && wasDown;
}

void KeepLibraryUp(void (*stop)()) { g_stopKept = stop; }

void KeptLibraryStopped() { g_stopKept = nullptr; }

}  // namespace zandb4::bench
