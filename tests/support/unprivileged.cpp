#include "support/unprivileged.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandb4::testing {

bool RunUnprivileged(const std::function<bool()>& check) {
    pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) {
        if (::geteuid() == 0) {
            const gid_t nobodyGroup = 65534;
            const uid_t nobody = 65534;
            if (::setgroups(0, nullptr) != 0 || ::setgid(nobodyGroup) != 0 || ::setuid(nobody) != 0) ::_exit(3);
        }
        ::_exit(check() ? 0 : 1);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void OpenToEveryone(const std::filesystem::path& path, const std::filesystem::path& stop) {
    std::error_code error;
    for (std::filesystem::path at = path; !at.empty() && at != stop && at != at.root_path(); at = at.parent_path())
        std::filesystem::permissions(at, std::filesystem::perms::all, std::filesystem::perm_options::add, error);
    std::filesystem::permissions(stop, std::filesystem::perms::all, std::filesystem::perm_options::add, error);
}

}  // namespace zandb4::testing
