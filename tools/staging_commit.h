// The file manager's Commit for the zandb4 tool: moves what is staged into
// the catalogue of the started library and commits, reporting which files
// failed to move.
#pragma once

#include <cstdint>
#include <vector>

#include "zandb4/types.h"

namespace zandb4::tool {

struct StagingCommitOutcome {
    HRESULT result = S_OK;
    std::vector<uint64_t> failed;  // ascending
};

// Runs Commit(flags) of a file manager over the stores of the started
// library.
StagingCommitOutcome CommitStaging(uint32_t flags);

}  // namespace zandb4::tool
