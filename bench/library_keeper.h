// The library runs once per process, and a start while it is up only counts
// it: a benchmark that started it on its own root would then measure
// whatever catalogue another benchmark left up. Some benchmark files keep a
// large catalogue up from one benchmark to the next, because building it
// costs far more than the benchmarks; they register how to stop it, and
// every start here stops such a kept catalogue first.
#pragma once

#include "zandb4.h"

namespace zandb4::bench {

// Stops the catalogue another benchmark keeps up, if one is.
void StopKeptLibrary();

// StopKeptLibrary, then ZanDB4_Initialize on root. True only for a real
// start: S_OK with the library down before.
bool StartLibrary(const CZanTString& root);

// Registers stop as the way to stop the catalogue the caller keeps up after
// its benchmark ends; the next StopKeptLibrary calls it. One at a time.
void KeepLibraryUp(void (*stop)());

// A keeper that stopped its catalogue on its own says so here.
void KeptLibraryStopped();

}  // namespace zandb4::bench
