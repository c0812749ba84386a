// Where the bytes of a transport stream come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace board {

class PacketSource {
  public:
    virtual ~PacketSource() = default;

    // Reads up to buffer.size() bytes. Returns how many; 0 at the end. Throws BoardError when the source
    // cannot be read.
    virtual std::size_t read(std::span<std::uint8_t> buffer) = 0;

    // Starts over at the first byte. Returns false where that is impossible (standard input).
    virtual bool rewind() = 0;
};

// Opens a file, or standard input for "-". Throws BoardError when it is missing, unreadable or a directory.
std::unique_ptr<PacketSource> openSource(const std::string& name);

} // namespace board
