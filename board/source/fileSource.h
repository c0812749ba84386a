// Transport streams from files, named pipes and standard input.
#pragma once

#include "source/packetSource.h"

#include <memory>
#include <string>

namespace board {

// Opens a file or a named pipe, or standard input for "-". Throws BoardError when it is missing, may not be
// read, or is a directory.
std::unique_ptr<PacketSource> openFileSource(const std::string& name);

} // namespace board
