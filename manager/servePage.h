// The page and its interface, until somebody ends it.
#pragma once

#include "endpoints.h"

#include <functional>
#include <string>
#include <string_view>

namespace manager {

// Serves at this address until SIGINT, SIGTERM or SIGHUP, and asks the service while somebody looks. Says
// where it serves, and what is wrong with the services. Throws ManagerError where it cannot serve.
void servePage(Endpoints& endpoints, const std::string& address,
               const std::function<void(std::string_view line)>& say,
               const std::function<void()>& tellSharing);

} // namespace manager
