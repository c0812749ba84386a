// Where the bytes of a transport stream come from: a file, standard input, or a network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace board {

class PacketSource {
  public:
    // What one read brought. No bytes and no end: nothing has arrived yet.
    struct Arrival {
        std::size_t bytes;
        bool ended;
    };

    virtual ~PacketSource() = default;

    // Reads up to buffer.size() bytes without waiting for more than there are. Throws BoardError when the
    // source cannot be read.
    virtual Arrival read(std::span<std::uint8_t> buffer) = 0;

    // Starts over at the first byte. Returns false where that is impossible.
    virtual bool rewind() = 0;

    // Becomes readable when there is something to read, where the last read brought less than it could have;
    // -1 where there always is something.
    virtual int descriptor() const = 0;

    // Whether the source itself keeps the time, as a network does; else it is paced by its PCR.
    virtual bool live() const = 0;
};

} // namespace board
