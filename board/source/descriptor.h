// Ownership of a file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

namespace board {

// Closes its descriptor at the end; -1 is none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }

    int get() const {
        return number_;
    }

  private:
    int number_ = -1;
};

} // namespace board
