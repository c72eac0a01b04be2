// The file manager's Commit over the started library's stores. One of the
// files of the tool that include the library's internal headers.
#include "staging_commit.h"

#include <set>

#include "catalogue/file_db_mgr.h"
#include "library/database_registry.h"

namespace zandb4::tool {

StagingCommitOutcome CommitStaging(uint32_t flags) {
    namespace registry = zandb4::DatabaseRegistry;
    CZanDB4FileDBMgr manager(registry::fileBasicDB, registry::asyncDB, registry::metaFactory, registry::thumbMgr);
    std::set<uint64_t> failed;
    StagingCommitOutcome outcome;
    outcome.result = manager.Commit(flags, &failed);
    outcome.failed.assign(failed.begin(), failed.end());
    return outcome;
}

}  // namespace zandb4::tool
