// Start codes: 00 00 01 in front of every unit of a video stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace board {

// The units of a video stream, one after the other: what stands between a start code and the next, from the
// byte that names the unit on. The last one runs to the end of the data.
class StartCodes {
  public:
    explicit StartCodes(std::span<const std::uint8_t> data) : data_(data), next_(behindStartCode(0)) {}

    // The next unit that is not empty; empty when there are no more.
    std::span<const std::uint8_t> unit() {
        while (next_ < data_.size()) {
            const std::size_t start = next_;
            next_ = behindStartCode(start);
            const std::size_t end = next_ <= data_.size() ? next_ - codeSize : data_.size();
            if (end > start) {
                return data_.subspan(start, end - start);
            }
        }
        return {};
    }

  private:
    static constexpr std::size_t codeSize = 3;

    // The place behind the first start code from a place on; beyond the end where there is none.
    std::size_t behindStartCode(std::size_t from) const {
        for (std::size_t last = from + codeSize - 1; last < data_.size();) {
            if (data_[last] > 1) {
                last += codeSize; // no start code holds this byte
            } else if (data_[last] == 1 && data_[last - 1] == 0 && data_[last - 2] == 0) {
                return last + 1;
            } else {
                ++last;
            }
        }
        return data_.size() + 1;
    }

    std::span<const std::uint8_t> data_;
    std::size_t next_;
};

} // namespace board
