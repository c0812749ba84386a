// libzmq's calls answered from memory, for counting instructions: no thread, no kernel, the same every time.
//
// The program is linked with --wrap for the calls, so that the service's own code runs unchanged. A SUB
// socket delivers the messages of a script that it subscribes to, again and again; a REQ socket gets each
// request answered at once, an instruction by two bytes and a document by an "ack".
#pragma once

#include "workloads.h"

#include <vector>

// What SUB sockets deliver from now on.
void replay(std::vector<PublishedRecord> script);

// An open REQ socket for documents.
void* documentSocket();

// An open SUB socket that subscribes to everything.
void* recordSocket();
