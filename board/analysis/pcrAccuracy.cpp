#include "analysis/pcrAccuracy.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace board {

namespace {

constexpr double accuracyLimit = tunables::pcrAccuracyLimit.count();
constexpr auto accuracyWindow = static_cast<double>(tunables::accuracyWindow.count());
constexpr auto steadyDeviation = static_cast<double>(tunables::steadyDeviation.count());

} // namespace

std::optional<PcrAccuracy::Finding> PcrAccuracy::pcr(Ticks step, std::uint64_t packet) {
    if (points_.empty()) {
        firstPacket_ = packet;
        elapsed_ = 0;
    } else {
        elapsed_ += static_cast<double>(step.count());
    }
    points_.push_back({static_cast<double>(packet - firstPacket_), elapsed_, true});
    const bool full = (elapsed_ >= accuracyWindow && points_.size() >= tunables::fewestAccuracyPcrs) ||
                      points_.size() >= tunables::mostAccuracyPcrs;
    if (!full) {
        return std::nullopt;
    }
    const Finding finding = judge();
    points_.clear();
    firstPacket_ = packet; // the last of this window is the first of the next
    elapsed_ = 0;
    points_.push_back({0, 0, true});
    return finding;
}

void PcrAccuracy::restart() {
    points_.clear();
    newest_ = 0;
}

PcrAccuracy::Finding PcrAccuracy::judge() {
    Line line = fit();
    const auto beyond = [&](const Point& point) { return distance(point, line) > accuracyLimit; };
    if (std::ranges::any_of(points_, beyond)) {
        line = fitWithoutOutliers();
    }
    const double before = std::exchange(slopeBefore_, line.slope);
    const bool agrees = before == 0 || std::abs(line.slope / before - 1) <= tunables::steadyRate;
    if (!agrees || line.slope <= 0 || medianDistance(line) > steadyDeviation) {
        windows_ = 0;
        inaccurate_ = newest_ = 0;
        return {false, true, 0};
    }
    // The first belongs to the window before as well.
    const auto inaccurate = std::count_if(points_.begin() + 1, points_.end(), beyond);
    inaccurate_ += std::exchange(newest_, static_cast<std::uint64_t>(inaccurate));
    if (++windows_ < tunables::steadyWindows) {
        return {};
    }
    return {true, false, std::exchange(inaccurate_, 0)};
}

// The line of least squares through the points that count.
PcrAccuracy::Line PcrAccuracy::fit() const {
    double count = 0;
    double meanX = 0;
    double meanY = 0;
    for (const Point& point : points_) {
        if (point.counts) {
            ++count;
            meanX += point.packets;
            meanY += point.ticks;
        }
    }
    if (count == 0) {
        return {};
    }
    meanX /= count;
    meanY /= count;
    double across = 0;
    double squares = 0;
    for (const Point& point : points_) {
        if (point.counts) {
            across += (point.packets - meanX) * (point.ticks - meanY);
            squares += (point.packets - meanX) * (point.packets - meanX);
        }
    }
    const double slope = squares > 0 ? across / squares : 0;
    return {meanY - slope * meanX, slope};
}

// A few PCRs that are far off must not draw the line away from the others.
PcrAccuracy::Line PcrAccuracy::fitWithoutOutliers() {
    constexpr int rounds = 4;
    constexpr double tolerance = 3; // times what most of them are off
    Line line = fit();
    for (int round = 0; round < rounds; ++round) {
        const double most = std::max(accuracyLimit / tolerance, medianDistance(line)) * tolerance;
        for (Point& point : points_) {
            point.counts = distance(point, line) <= most;
        }
        line = fit();
    }
    return line;
}

double PcrAccuracy::distance(const Point& point, const Line& line) {
    return std::abs(point.ticks - line.start - line.slope * point.packets);
}

double PcrAccuracy::medianDistance(const Line& line) const {
    std::vector<double> distances;
    distances.reserve(points_.size());
    for (const Point& point : points_) {
        distances.push_back(distance(point, line));
    }
    const auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::ranges::nth_element(distances, middle);
    return *middle;
}

} // namespace board
