#include "isolation.h"

#include "wire/endpoints.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testSupport {
namespace {

constexpr const char* lockPath = "/tmp/mpegfe-tests.lock";

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "isolation: %s: %s\n", what, std::strerror(errno));
    std::exit(EXIT_FAILURE);
}

bool writeFile(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

// Keeps the user's own ids, so that files written by the tests (coverage data too) stay the user's.
bool keepOwnIds(uid_t user, gid_t group) {
    const std::string userId = std::to_string(user);
    const std::string groupId = std::to_string(group);
    return writeFile("/proc/self/setgroups", "deny") &&
           writeFile("/proc/self/uid_map", userId + ' ' + userId + " 1") &&
           writeFile("/proc/self/gid_map", groupId + ' ' + groupId + " 1");
}

bool bringLoopbackUp() {
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (control < 0) {
        return false;
    }
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    bool up = ioctl(control, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    up = up && ioctl(control, SIOCSIFFLAGS, &request) == 0;
    close(control);
    return up;
}

// An empty directory of the endpoints: over what /run/shm leads to, or over /run where there is no such
// place.
bool mountEndpointDirectory() {
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return false;
    }
    std::error_code missing;
    const std::filesystem::path target = std::filesystem::canonical("/run/shm", missing);
    const char* mountPoint = missing ? "/run" : target.c_str();
    if (mount("tmpfs", mountPoint, "tmpfs", 0, nullptr) != 0) {
        return false;
    }
    std::error_code failure;
    std::filesystem::create_directories(wire::directory, failure);
    return !failure;
}

// Tries in a child first, because a process that has entered only some of the namespaces cannot go back.
template <typename Attempt>
bool worksInAChild(Attempt attempt) {
    const pid_t child = fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        _exit(attempt() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

bool enterNamespaces() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    return unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0 && keepOwnIds(user, group) &&
           bringLoopbackUp() && mountEndpointDirectory();
}

// Root needs no user namespace, which a process of several threads may not enter: whatever an emulator runs
// is such a process.
bool enterNamespacesAsRoot() {
    return geteuid() == 0 && unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 && bringLoopbackUp() &&
           mountEndpointDirectory();
}

bool enterNamespacesWithUsers() {
    return enterNamespacesAsRoot() && chown(wire::directory, 1, 1) == 0 && chown(wire::directory, 0, 0) == 0;
}

void takeLock() {
    // Never closed: the lock is held as long as the process lives.
    const int lock = open(lockPath, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (lock < 0) {
        giveUp(lockPath);
    }
    while (flock(lock, LOCK_EX) != 0) {
        if (errno != EINTR) {
            giveUp(lockPath);
        }
    }
    std::error_code failure;
    std::filesystem::create_directories(wire::directory, failure);
    if (failure) {
        errno = failure.value();
        giveUp(wire::directory);
    }
}

Isolation isolate() {
    if (worksInAChild(enterNamespaces) && enterNamespaces()) {
        return Isolation::namespaces;
    }
    if (worksInAChild(enterNamespacesAsRoot) && enterNamespacesAsRoot()) {
        return Isolation::namespaces;
    }
    std::fputs("isolation: this machine allows no user namespaces; tests with sockets run one at a time\n",
               stderr);
    takeLock();
    return Isolation::lock;
}

} // namespace

Isolation enterIsolation() {
    static const Isolation isolation = isolate();
    return isolation;
}

bool enterIsolationWithUsers() {
    static const bool entered = worksInAChild(enterNamespacesWithUsers) && enterNamespacesWithUsers();
    return entered;
}

} // namespace testSupport
