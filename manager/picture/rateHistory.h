// What rates have been in the last quarter of an hour.
#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

namespace manager {

// Time as whoever fills the picture tells it; only its differences count.
using PictureTime = std::chrono::milliseconds;

// A rate at a time.
struct RateSample {
    PictureTime time;
    float bitPerSecond;
};

// The newest samples of one rate, at most one a second, none older than a quarter of an hour before the
// newest.
class RateHistory {
  public:
    static constexpr std::chrono::minutes span{15};
    static constexpr std::chrono::milliseconds closest{1000};
    static constexpr std::size_t capacity = std::chrono::seconds(span).count();

    // Times never go back. A sample that comes too soon behind the last takes its place.
    void add(PictureTime time, double bitPerSecond);

    std::size_t size() const {
        return used;
    }
    // From the oldest on.
    const RateSample& operator[](std::size_t index) const {
        return ring[(first + index) % capacity];
    }

    // Of the samples that are numbers; 0 while there are none.
    double least() const;
    double most() const;

  private:
    void dropOlderThan(PictureTime time);

    std::vector<RateSample> ring; // grows to its capacity as it fills
    std::size_t first = 0;
    std::size_t used = 0;
};

} // namespace manager
