// Opens whatever a name stands for.
#pragma once

#include "source/packetSource.h"

#include <memory>
#include <string>

namespace board {

struct SourceOptions {
    std::string
        interface; // network interface on which multicast groups are joined; empty leaves it to the system
};

// Opens a file, standard input for "-", or a network address ("udp://", "rtp://", "srt://"). Throws
// BoardError when the source is missing, unreadable or no source at all, and when there is no such interface.
std::unique_ptr<PacketSource> openSource(const std::string& name, const SourceOptions& options);

} // namespace board
