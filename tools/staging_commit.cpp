// The file manager's Commit over the started library's stores, with the ids
// of the files that failed to move, which only the library's tool door
// (tool_access) reports one by one.
#include "staging_commit.h"

#include "library/tool_access.h"

namespace zandb4::tool {

StagingCommitOutcome CommitStaging(uint32_t flags) {
    StagingCommitOutcome outcome;
    outcome.result = tool_access::CommitWithFailedIds(flags, outcome.failed);
    return outcome;
}

}  // namespace zandb4::tool
