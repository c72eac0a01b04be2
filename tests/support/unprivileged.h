// RunUnprivileged: runs a check as a user for whom folder permissions count.
// As root (as in CI) the check runs in a forked child that has dropped to the
// user "nobody"; otherwise it runs in a child as it is. The child only
// reports whether every check held, so use plain comparisons inside and
// assert on the answer outside.
#pragma once

#include <filesystem>
#include <functional>

namespace zandb4::testing {

// True when check answered true in the child. Folders the child must reach
// need permissions for others (see OpenToEveryone).
bool RunUnprivileged(const std::function<bool()>& check);

// Gives everyone full access to path and its parents up to (not including)
// stop, so that the unprivileged child can reach it.
void OpenToEveryone(const std::filesystem::path& path, const std::filesystem::path& stop);

}  // namespace zandb4::testing
