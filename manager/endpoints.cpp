#include "endpoints.h"

#include "managerError.h"
#include "tunables.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace manager {
namespace {

std::string holderOf(int descriptor) {
    std::array<char, 16> text{};
    const ssize_t length = pread(descriptor, text.data(), text.size(), 0);
    return length > 0 ? "process " + std::string(text.data(), static_cast<std::size_t>(length))
                      : "another process";
}

[[noreturn]] void refuseToLock(int error) {
    const std::string directory = wire::directory;
    const std::string meaning =
        error == ENOENT   ? "make the directory with \"mkdir -p -m 0770 " + directory + '"'
        : error == EACCES ? "run as the user that owns the directory, or as one of its group"
                          : "see to the directory, then try again";
    throw ManagerError(ExitStatus::noEndpoints,
                       {"cannot use the endpoints in " + directory, "a directory in which files can be made",
                        std::string("the error \"") + std::strerror(error) + '"', meaning});
}

int openLock() {
    umask(S_IRWXO); // the lock and the sockets are for the user and the group, as the directory is
    const int descriptor = open(tunables::lockPath, O_RDWR | O_CREAT | O_CLOEXEC, 0660);
    if (descriptor < 0) {
        refuseToLock(errno);
    }
    return descriptor;
}

void bind(zmq::socket_t& socket, const char* endpoint) {
    try {
        socket.bind(endpoint);
    } catch (const zmq::error_t& error) {
        throw ManagerError(ExitStatus::noEndpoints,
                           {std::string("cannot bind ") + endpoint, "a free path that can be written",
                            std::string("the error \"") + error.what() + '"',
                            "remove what stands there, or run as the user that owns it"});
    }
}

} // namespace

EndpointLock::EndpointLock() : descriptor(openLock()) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const std::string holder = holderOf(descriptor);
        close(descriptor);
        throw ManagerError(ExitStatus::noEndpoints,
                           {"the service already has a media manager",
                            "nobody to hold the lock " + std::string(tunables::lockPath), holder,
                            "wait until it has ended, or stop it"});
    }
    const std::string self = std::to_string(getpid());
    // Who holds the lock is a courtesy to the next one: nothing depends on these two calls.
    if (ftruncate(descriptor, 0) == 0) {
        static_cast<void>(pwrite(descriptor, self.data(), self.size(), 0));
    }
}

EndpointLock::~EndpointLock() {
    close(descriptor);
}

Endpoints::Endpoints()
    : requests(context, zmq::socket_type::req), documents(context, zmq::socket_type::rep),
      services(context, requests) {
    requests.set(zmq::sockopt::linger, 0);
    documents.set(zmq::sockopt::linger, static_cast<int>(tunables::farewell.count()));
    bind(requests, wire::requestEndpoint);
    bind(documents, wire::documentEndpoint);
}

} // namespace manager
