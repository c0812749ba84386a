// What is wrong with the stream: the indicators of ETSI TR 101 290 (clause 5.2), in sum and by PID.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace board {

// Those of first priority, without which nothing can be decoded, and of second, which are worth watching all
// the time. 1.3.a and 1.5.a contain what 1.3 and 1.5 say; 2.3 is 2.3.a and 2.3.b together.
enum class Indicator {
    syncLoss,
    syncByte,
    pat,
    continuity,
    pmt,
    pid,
    transport,
    crc,
    pcrRepetition,
    pcrDiscontinuity,
    pcrAccuracy,
    pts,
    cat
};

struct IndicatorRow {
    Indicator indicator;
    const char* name;
    int priority;
    const char* clause;
};

inline constexpr std::array<IndicatorRow, 13> indicatorRows{{
    {Indicator::syncLoss, "TS_sync_loss", 1, "1.1"},
    {Indicator::syncByte, "Sync_byte_error", 1, "1.2"},
    {Indicator::pat, "PAT_error_2", 1, "1.3.a"},
    {Indicator::continuity, "Continuity_count_error", 1, "1.4"},
    {Indicator::pmt, "PMT_error_2", 1, "1.5.a"},
    {Indicator::pid, "PID_error", 1, "1.6"},
    {Indicator::transport, "Transport_error", 2, "2.1"},
    {Indicator::crc, "CRC_error", 2, "2.2"},
    {Indicator::pcrRepetition, "PCR_repetition_error", 2, "2.3.a"},
    {Indicator::pcrDiscontinuity, "PCR_discontinuity_indicator_error", 2, "2.3.b"},
    {Indicator::pcrAccuracy, "PCR_accuracy_error", 2, "2.4"},
    {Indicator::pts, "PTS_error", 2, "2.5"},
    {Indicator::cat, "CAT_error", 2, "2.6"},
}};

// How often each indicator has shown an error.
class IndicatorCounts {
  public:
    std::uint64_t& operator[](Indicator indicator) {
        return counts_[static_cast<std::size_t>(indicator)];
    }
    std::uint64_t operator[](Indicator indicator) const {
        return counts_[static_cast<std::size_t>(indicator)];
    }

    // Whether any indicator of this priority, or of a higher one, has shown an error.
    bool any(int priority) const {
        return std::ranges::any_of(indicatorRows, [&](const IndicatorRow& row) {
            return row.priority <= priority && (*this)[row.indicator] > 0;
        });
    }

  private:
    std::array<std::uint64_t, indicatorRows.size()> counts_{};
};

// What is wrong with the packets of one PID, and with what they should have brought.
struct PidErrors {
    IndicatorCounts indicators;
    std::uint64_t badSections = 0;

    bool any() const {
        return badSections > 0 || indicators.any(indicatorRows.back().priority);
    }
};

struct StreamErrors {
    IndicatorCounts indicators;
    std::uint64_t badSections = 0;          // with a wrong CRC or impossible lengths
    std::set<std::uint16_t> measuredClocks; // PIDs whose PCRs' accuracy is measured; the others have no count

    // Whether Indicator::pcrAccuracy says anything: of this stream, or of one before.
    bool accuracyMeasured() const {
        return !measuredClocks.empty() || indicators[Indicator::pcrAccuracy] > 0;
    }

    // By PID, since the stream began that there is now; those alone that have any. Its sync and the packets
    // of PIDs that have never been there are nobody's.
    std::map<std::uint16_t, PidErrors> pids;

    // So many errors of a PID.
    void count(Indicator indicator, std::uint16_t pid, std::uint64_t errors = 1) {
        if (errors > 0) {
            indicators[indicator] += errors;
            pids[pid].indicators[indicator] += errors;
        }
    }

    // One of no PID.
    void count(Indicator indicator) {
        ++indicators[indicator];
    }

    // What is told as sums.
    void countSync(std::uint64_t bytes, std::uint64_t losses) {
        indicators[Indicator::syncByte] = bytes;
        indicators[Indicator::syncLoss] = losses;
    }

    // A section with a wrong CRC or impossible lengths.
    void countBadSection(std::uint16_t pid) {
        ++badSections;
        ++pids[pid].badSections;
    }

    // Those of a PID were none.
    void takeBack(Indicator indicator, std::uint16_t pid) {
        if (const auto found = pids.find(pid); found != pids.end()) {
            indicators[indicator] -= std::exchange(found->second.indicators[indicator], 0);
        }
    }

    // Whether anything is wrong at all.
    bool any() const {
        return badSections > 0 || indicators.any(indicatorRows.back().priority);
    }
};

} // namespace board
