// The data migration of a GPS log store that comes from the old layout
// (version 1000), where points and logs had their dates in local time only:
// every log is marked with state 1, every point gets its date in UTC, and
// every log with points gets its first and last moment in local time and in
// UTC from its points. Runs through the store's own row operations, in the
// store's one open transaction; the caller sets the version and commits.
//
// Progress: after each point, 50 * i / count (i counted from 1, unsigned
// 32-bit arithmetic) is reported whenever it differs from the last value
// reported (0 at first), so a short list reports in steps larger than 1 and a
// long one reports each value once; then 100 once the logs are done. Each
// report goes to callback (skipped when null) with total and context.
#pragma once

#include <cstdint>

#include "zandb4/maintenance.h"

class CSQLiteGPSLogDB;

namespace gps_date_migration {

// The value the migration of the points reports last.
inline constexpr uint32_t kPointsDone = 50;
// The value reported when the logs are done too.
inline constexpr uint32_t kLogsDone = 100;
// The state a log file gets from the migration.
inline constexpr uint32_t kMigratedState = 1;

// tablesUpgraded: whether UpgradeTables answered S_OK. Without it, and when
// the points cannot be listed (a store with no points among them), only the
// states are written.
void Run(CSQLiteGPSLogDB& store, bool tablesUpgraded, ZanDB4UpgradeProgressCallback callback, uint32_t total,
         void* context);

}  // namespace gps_date_migration
