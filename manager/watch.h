// A request that is repeated, and shown in place.
#pragma once

#include "commandLine.h"
#include "endpoints.h"
#include "printer.h"

namespace manager {

// Repeats the request of these options until its user, a signal or the reader of its output ends it, and then
// has the service stop the feed. On a terminal it shows a live screen, and waits as long as it takes, saying
// for what; otherwise, or as JSON, the printer shows one document after the other, and standard error says
// why none comes. Throws ManagerError when the live screen cannot be had.
void watch(Endpoints& endpoints, const Options& options, Printer& printer);

} // namespace manager
