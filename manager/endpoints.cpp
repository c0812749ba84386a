#include "endpoints.h"

#include "managerError.h"
#include "tunables.h"

#include "companions/ownerOf.h"

#include <cerrno>
#include <cstring>

namespace manager {
namespace {

using companions::Trouble;

constexpr int noEndpoints = static_cast<int>(ExitStatus::noEndpoints);

Trouble lockNotOpened(int error) {
    const std::string directory = wire::directory;
    const std::string meaning =
        error == ENOENT   ? "make the directory with \"mkdir -p -m 0770 " + directory + '"'
        : error == EACCES ? "run as the user that owns the directory, or as one of its group"
                          : "see to the directory, then try again";
    return {"cannot use the endpoints in " + directory, "a directory in which files can be made",
            std::string("the error \"") + std::strerror(error) + '"', meaning};
}

Trouble lockHeld(const std::string& holder) {
    return {"the service already has a media manager",
            "nobody to hold the lock " + std::string(tunables::lockPath), holder,
            "wait until it has ended, or stop it"};
}

constexpr companions::LockWords lockWords{noEndpoints, lockNotOpened, lockHeld};

void bind(zmq::socket_t& socket, const char* endpoint) {
    try {
        socket.bind(endpoint);
        companions::openToGroup(endpoint);
    } catch (const zmq::error_t& error) {
        throw ManagerError(ExitStatus::noEndpoints,
                           {std::string("cannot bind ") + endpoint, "a free path that can be written",
                            std::string("the error \"") + error.what() + '"',
                            "remove what stands there, or run as the user that owns it"});
    }
}

} // namespace

Endpoints::Endpoints()
    : requests(context, zmq::socket_type::req), documents(context, zmq::socket_type::rep),
      services(context, requests) {
    const companions::OwnerOf owner(wire::directory, noEndpoints);
    lock.emplace(tunables::lockPath, lockWords);
    requests.set(zmq::sockopt::linger, 0);
    requests.set(zmq::sockopt::req_relaxed, true); // goes on when a service has gone with a request
    documents.set(zmq::sockopt::linger, static_cast<int>(tunables::farewell.count()));
    bind(requests, wire::requestEndpoint);
    bind(documents, wire::documentEndpoint);
}

} // namespace manager
