#include "companions/ownerOf.h"

#include "companions/trouble.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace companions {
namespace {

constexpr uid_t root = 0;

std::string nameOf(uid_t user) {
    const passwd* const entry = ::getpwuid(user);
    return "user " + (entry != nullptr ? std::string(entry->pw_name) : std::to_string(user));
}

bool isInGroup(gid_t group) {
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, count)));
    return group == ::getegid() || std::ranges::find(groups, group) != groups.end();
}

Failure stranger(const char* directory, int exitStatus, const struct stat& status, const std::string& why) {
    return {exitStatus,
            {std::string("cannot use the endpoints in ") + directory,
             "a directory of " + nameOf(::geteuid()) + ", of root, or of one of this user's groups",
             "one of " + nameOf(status.st_uid) + why,
             "run as that user, or remove the directory when nothing uses it"}};
}

} // namespace

OwnerOf::OwnerOf(const char* directory, int exitStatus) : mask(::umask(S_IRWXO)) {
    struct stat status {};
    if (::stat(directory, &status) != 0) {
        return;
    }
    if (::geteuid() != root) {
        if (status.st_uid != ::geteuid() && status.st_uid != root && !isInGroup(status.st_gid)) {
            ::umask(mask);
            throw stranger(directory, exitStatus, status, "");
        }
        return;
    }
    const gid_t ownGroup = ::getegid();
    if (::setegid(status.st_gid) == 0) {
        group = ownGroup;
    }
    if (group && ::seteuid(status.st_uid) == 0) {
        user = root;
        return;
    }
    const std::string why = std::string(", for whom root may not act (") + std::strerror(errno) + ')';
    resume();
    throw stranger(directory, exitStatus, status, why);
}

OwnerOf::~OwnerOf() {
    resume();
}

// The user first: only root may take its group back.
void OwnerOf::resume() const {
    if (user) {
        static_cast<void>(::seteuid(*user));
    }
    if (group) {
        static_cast<void>(::setegid(*group));
    }
    ::umask(mask);
}

void openToGroup(const char* endpoint) {
    constexpr std::string_view scheme = "ipc://";
    // Without the right to do so the socket stays as OwnerOf's mask has made it, which is no wider.
    static_cast<void>(::chmod(endpoint + scheme.size(), forUserAndGroup));
}

} // namespace companions
