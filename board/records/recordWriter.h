// Writes what is known of the stream into the nine records.
#pragma once

#include "stream/streamModel.h"
#include "timing/rateMeter.h"

#include "wire/topics.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace board {

// Tells once each what does not fit into a record.
class LimitReport {
  public:
    using Print = std::function<void(const std::string&)>;

    explicit LimitReport(Print print) : print_(std::move(print)) {}

    // count of what are there, only limit of them fit. Prints when count is above limit, once a text.
    void check(const std::string& what, std::size_t count, std::size_t limit);

  private:
    Print print_;
    std::set<std::string> told_;
};

// What the SDT record's `actual` says. The service takes 1 as its own artificial SDT and makes that anew from
// the PAT at every turn, so that a table from the stream needs another value that is not 0 ("Derived").
inline constexpr std::uint16_t actualFromStream = 2;
inline constexpr std::uint16_t actualArtificial = 1;

// Fills every record from scratch; bytes that have no meaning are 0. The fields that the service writes stay
// 0.
//
// The EIT record has room for one service: eventService, or without it the first of the PAT that has events.
void writeRecords(const StreamModel& model, const RateMeter& rates, std::optional<std::uint16_t> eventService,
                  wire::RecordSet& records, LimitReport& limits);

} // namespace board
