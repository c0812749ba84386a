// The address at which the page is served, and who may name it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/socket.h>

namespace manager {

// An open descriptor, closed with it.
class Descriptor {
  public:
    explicit Descriptor(int descriptor) : number(descriptor) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&&) = delete;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    int get() const {
        return number;
    }
    // Leaves it open, for whoever closes it now.
    int release();

  private:
    int number;
};

class ServedAddress {
  public:
    // "ADDRESS:PORT", where the address is a number, IPv6 in brackets. Throws ManagerError (usage) for
    // others.
    explicit ServedAddress(std::string_view text);

    // Listens there without waiting. A port 0 is a free one, which it then is. Throws ManagerError
    // (noEndpoints) where that fails.
    Descriptor listen();

    // As a browser is told it, for example "http://127.0.0.1:8080/".
    std::string url() const;

    // Whether a Host header names this address: so no page of another host reaches it under a name of its own
    // that leads here. On the loopback interface localhost is as good; where every address is served, any
    // address that is a number is.
    bool isHost(std::string_view host) const;

    // Whether an Origin header is that of a page served here.
    bool isOrigin(std::string_view origin) const;

  private:
    bool isLoopback() const;
    bool isWildcard() const;

    sockaddr_storage address{};
    socklen_t length = 0;
};

} // namespace manager
